// The legacy test files (.qbs configurations and .qbt tests with results) as the lab reads them:
// whatever the bytes, the read fills the test or raises a clean error. The first byte picks the
// kind of file and the type of test.

#include "LabtestFuzzing.h"

#include "labtest/QBExtendedFile.h"
#include "labtest/QBTestList.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    tw::fuzzing::QuietSingleThreadedLab();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tw;
    if (size == 0)
        return 0;
    const auto type = static_cast<TQBTestType>(data[0] % QBTestTypeCount);
    const bool configuration = (data[0] & 0x80) != 0;
    const std::string& path = fuzzing::WriteInput(data + 1, size - 1, ".qbt");
    auto test = CreateTest(type, nullptr, tm3D);
    const TSystemOfUnits* units = &fuzzing::NewProjectUnits();
    try {
        if (configuration) {
            TQBSFile reader(units, path);
            reader.SetDisplayErrorBox(false);
            reader.LoadTest(*test);
        } else {
            TQBTFile reader(units, path);
            reader.SetDisplayErrorBox(false);
            reader.LoadTest(*test);
        }
    } catch (const EKovException&) {
    }
    std::remove(path.c_str());
    return 0;
}
