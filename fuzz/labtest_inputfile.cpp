// The host's input file (a TTarnwickInput in XML) as the start-up reads it: whatever the bytes,
// the read gives an input with a soil material, or raises a clean error and leaves nothing
// behind. An input read is written again and read back, as the program's own files are.

#include "LabtestFuzzing.h"

#include "labtest/TarnwickPersistence.h"
#include "materials/MaterialXTools.h"
#include "storage/HSNativeXML.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    tw::fuzzing::QuietSingleThreadedLabWithMaterials();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tw;
    const std::string& path = fuzzing::WriteInput(data, size, ".xml");
    std::unique_ptr<TTarnwickInput> input;
    THPReadErrorList errors;
    try {
        input = ReadTarnwickInput(path, &errors);
    } catch (const EKovException&) {
    }
    std::remove(path.c_str());
    if (!input)
        return 0;
    // A successful read holds a soil material with a model, and no error of its own.
    if (!input->SoilMaterialX() || !input->MaterialX()->RootAPGClass() ||
        errors.HasErrorOfSeverity(hresError))
        std::abort();
    errors.SortByDecreasingSeverity();
    (void)errors.AsText();
    // What a user's screen shows of it: every value, some of which may not compute.
    for (TKovIntrinsicProperty* property : input->MaterialX()->UserProperties()) {
        try {
            (void)property->GetStaticEquivalent()->ValueAsText();
        } catch (const EKovException&) {
        }
    }
    THSNativeXML tree(input->GetObjectTypeName());
    THierarchicPersisters::Instance().PersistObject(*input, tree);
    THPReadErrorList again;
    auto reread = THierarchicPersisters::Instance().LoadNewObject(TTarnwickInput::StaticClass(),
                                                                  nullptr, tree, &again);
    if (!reread)
        std::abort();
    return 0;
}
