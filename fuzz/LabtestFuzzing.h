#pragma once
// What the lab's fuzz targets share: a quiet, single-threaded lab, the units of a new project, and
// the input written to a temporary file, since the lab's readers read files by name.

#include "FuzzFiles.h"

#include "materials/MaterialXClient.h"
#include "services/CommandLine.h"
#include "services/UserMessages.h"
#include "units/SystemOfUnits.h"

#include <cstdint>
#include <memory>
#include <string>

namespace tw::fuzzing {

// Warnings of a read (a newer file version) are no fault; they go nowhere.
class TSilentMessages : public IUserMessages {
public:
    void ShowMessage(const std::string&, const std::string&) override {}
    bool AskQuestion(const std::string&, const std::string&) override { return true; }
};

// For LLVMFuzzerInitialize: no message boxes, and the reading tasks run inline (a thread per
// input would only slow the search).
inline void QuietSingleThreadedLab() {
    static TSilentMessages silent;
    SetUserMessages(&silent);
    TCommandLine::SetProgram(TCommandLine({"fuzz", "-TASKS_FORCE_SINGLE_THREAD"}));
}

// The same for readers of files that hold materials: those ask the material client, as the
// program's start-up sets it, how to build them.
inline void QuietSingleThreadedLabWithMaterials() {
    QuietSingleThreadedLab();
    TMaterialXClient_Abstract::SetInstance(std::make_unique<TMaterialXClientTarnwick>(mxcgt3D));
}

inline const TSystemOfUnits& NewProjectUnits() {
    static TSystemOfUnits units;
    static const bool set = (units.SetUnitsOfNewProject(), true);
    (void)set;
    return units;
}

// Writes the input to a file of this process in the temporary folder and answers its path (the
// ending of the first call names the file: a target reads one kind of file).
inline const std::string& WriteInput(const std::uint8_t* data, std::size_t size,
                                     const char* ending) {
    static const TFuzzFile file(ending);
    file.Write(data, size);
    return file.Path;
}

} // namespace tw::fuzzing
