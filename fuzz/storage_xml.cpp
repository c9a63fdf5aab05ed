// Reads arbitrary bytes as an XML storage file, then uses the tree as a program would.

#include "StorageFuzzing.h"

TW_KOV_CLASS_IMPL(tw::fuzzing::TFuzzThing, tw::TKovObservableObject,
                  &tw::fuzzing::TFuzzThing::DeclareProperties)

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    tw::THSNativeXML root("");
    try {
        tw::TReadOnlyMemoryStream stream(data, size);
        root.LoadFromStream(stream, "fuzz.xml");
    } catch (const tw::EKovException&) {
        return 0;
    }
    tw::fuzzing::Exercise(root);
    return 0;
}
