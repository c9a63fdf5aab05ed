// The legacy test files (.qbs configurations and .qbt tests with results) as the lab reads them:
// whatever the bytes, the read fills the test or raises a clean error. The first byte picks the
// kind of file and the type of test.

#include "labtest/QBExtendedFile.h"
#include "labtest/QBTestList.h"
#include "services/CommandLine.h"
#include "services/UserMessages.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>

namespace {
std::string InputPath() {
    return (std::filesystem::temp_directory_path() /
            ("tw_fuzz_test_" + std::to_string(::getpid()) + ".qbt"))
        .string();
}
} // namespace

namespace {
// Warnings of a read (a newer file version) are no fault; they go nowhere.
class TSilentMessages : public tw::IUserMessages {
public:
    void ShowMessage(const std::string&, const std::string&) override {}
    bool AskQuestion(const std::string&, const std::string&) override { return true; }
};
} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    static TSilentMessages silent;
    tw::SetUserMessages(&silent);
    tw::TCommandLine::SetProgram(tw::TCommandLine({"fuzz", "-TASKS_FORCE_SINGLE_THREAD"}));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tw;
    if (size == 0)
        return 0;
    static const std::string path = InputPath();
    static TSystemOfUnits units;
    static const bool unitsSet = (units.SetUnitsOfNewProject(), true);
    (void)unitsSet;
    const auto type = static_cast<TQBTestType>(data[0] % QBTestTypeCount);
    const bool configuration = (data[0] & 0x80) != 0;
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (!file)
        std::abort();
    std::fwrite(data + 1, 1, size - 1, file);
    std::fclose(file);
    auto test = CreateTest(type, nullptr, tm3D);
    try {
        if (configuration) {
            TQBSFile reader(&units, path);
            reader.SetDisplayErrorBox(false);
            reader.LoadTest(*test);
        } else {
            TQBTFile reader(&units, path);
            reader.SetDisplayErrorBox(false);
            reader.LoadTest(*test);
        }
    } catch (const EKovException&) {
    }
    std::remove(path.c_str());
    return 0;
}
