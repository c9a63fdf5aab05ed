// The kernel's result file as the lab reads it after a run: whatever the bytes, the read gives
// results or a clean error, and a failed read leaves no rows.

#include "labtest/QBRFile.h"
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
            ("tw_fuzz_result_" + std::to_string(::getpid()) + ".qbr"))
        .string();
}
void WriteInput(const std::string& path, const std::uint8_t* data, std::size_t size) {
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (!file)
        std::abort();
    std::fwrite(data, 1, size, file);
    std::fclose(file);
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
    // The reading tasks run inline: a thread per input would only slow the search.
    tw::TCommandLine::SetProgram(tw::TCommandLine({"fuzz", "-TASKS_FORCE_SINGLE_THREAD"}));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tw;
    static const std::string path = InputPath();
    static TSystemOfUnits units;
    static const bool unitsSet = (units.SetUnitsOfNewProject(), true);
    (void)unitsSet;
    static std::unique_ptr<TQBTestBase> test = CreateTest(ttTriaxial, nullptr, tm3D);
    WriteInput(path, data, size);
    try {
        TQBRFile(units, path).LoadTest(*test);
    } catch (const EKovException&) {
        if (test->Results().RowCount() != 0)
            std::abort(); // a failed read must leave no rows
    }
    std::remove(path.c_str());
    return 0;
}
