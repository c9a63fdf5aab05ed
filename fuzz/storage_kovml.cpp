// Reads arbitrary bytes as a kovml file, then uses the tree as a program would.

#include "StorageFuzzing.h"

TW_KOV_CLASS_IMPL(tw::fuzzing::TFuzzThing, tw::TKovObservableObject,
                  &tw::fuzzing::TFuzzThing::DeclareProperties)

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    tw::THSKovBinaryXML root("");
    try {
        tw::TReadOnlyMemoryStream stream(data, size);
        root.LoadFromStream(stream, "fuzz.kovml");
    } catch (const tw::EKovException&) {
        return 0;
    }
    tw::fuzzing::Exercise(root);
    return 0;
}
