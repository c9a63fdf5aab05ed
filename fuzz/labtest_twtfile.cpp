// A test file (".twt.kovml") as Open reads it: whatever the bytes, the read gives a test that owns
// a static copy of its material, with results whose columns all hold one value a row, or raises
// a clean error.

#include "LabtestFuzzing.h"

#include "labtest/TarnwickResults.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    tw::fuzzing::QuietSingleThreadedLabWithMaterials();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tw;
    const std::string& path = fuzzing::WriteInput(data, size, ".twt.kovml");
    std::unique_ptr<TQBTestBase> test;
    THPReadErrorList errors;
    try {
        test = ReadTestResultsFile(path, &errors);
    } catch (const EKovException&) {
    }
    std::remove(path.c_str());
    if (!test)
        return 0;
    if (!test->OwnsMaterial() || errors.HasErrorOfSeverity(hresError))
        std::abort();
    const TQBResults& results = test->Results();
    for (int c = 0; c < QBResultTypeCount; ++c) {
        const auto type = static_cast<TQBResultType>(c);
        if (results.Column(type).size() != static_cast<size_t>(results.RowCount()) ||
            results.IsSetColumn(type).size() != static_cast<size_t>(results.RowCount()))
            std::abort();
    }
    // What a page shows of a loaded test.
    (void)test->PhaseCountIncludingCycles();
    (void)test->ToString();
    (void)test->MaterialIdentification();
    for (int i = 0; i < test->CyclicPhases().Count(); ++i) {
        const TQBCyclicPhases* cyclic = test->CyclicPhases().GetItems(i);
        (void)cyclic->FirstPhase();
        (void)cyclic->LastPhase();
    }
    return 0;
}
