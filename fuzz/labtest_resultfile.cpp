// The kernel's result file as the lab reads it after a run: whatever the bytes, the read gives
// results or a clean error, and a failed read leaves no rows.

#include "LabtestFuzzing.h"

#include "labtest/QBRFile.h"
#include "labtest/QBTestList.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    tw::fuzzing::QuietSingleThreadedLab();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tw;
    static std::unique_ptr<TQBTestBase> test = CreateTest(ttTriaxial, nullptr, tm3D);
    const std::string& path = fuzzing::WriteInput(data, size, ".qbr");
    try {
        TQBRFile(fuzzing::NewProjectUnits(), path).LoadTest(*test);
    } catch (const EKovException&) {
        if (test->Results().RowCount() != 0)
            std::abort(); // a failed read must leave no rows
    }
    std::remove(path.c_str());
    return 0;
}
