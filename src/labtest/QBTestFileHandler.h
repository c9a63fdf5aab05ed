#pragma once
// Reading and writing test files as tasks: the user-interface thread stays free (the window
// program shows its progress window), and a failure comes back as HasError with its message
// instead of an exception.
//
// OpenTestResultFiles is the Open of the shell without a window: each file is read in a task of
// its own ("Loading file %d of %d"); a file that cannot be read is reported and the next one
// goes on; each test read joins the project's loaded tests, with the file's name (without folder)
// as its identification.

#include "commands/KovTasks.h"
#include "labtest/QBProject.h"
#include "storage/HPReadErrors.h"

#include <functional>
#include <string>
#include <vector>

namespace tw {

class TQBTestFileHandler : public TKovTask {
public:
    // Runs on the worker thread with the handler, whose file it reads or writes.
    using TOnHandleFile = std::function<void(TQBTestFileHandler& handler)>;
    TQBTestFileHandler(std::string taskTitle, std::string fileName, TOnHandleFile onHandleFile);

    const std::string& FileName() const { return FFileName; }
    const std::string& TaskTitle() const { return FTaskTitle; }
    // After the run.
    bool HasError() const { return FHasError; }
    const std::string& ErrorMessage() const { return FErrorMessage; }
    // A blocking run of the task controller; answers !HasError().
    bool Run();

protected:
    void Execute() override;

private:
    std::string FFileName;
    bool FHasError = false;
    std::string FErrorMessage;
    TOnHandleFile FOnHandleFile;
    std::string FTaskTitle;
};

struct TOpenTestFilesReport {
    int Loaded = 0;
    // One per file that could not be read: "Unexpected data format while loading file %s.", a
    // line break and the reason. A window shows each with the title "Tarnwick".
    std::vector<std::string> Messages;
    // What did not stop a read, for all files; most severe first.
    THPReadErrorList ReadErrors;
};

TOpenTestFilesReport OpenTestResultFiles(TQBProject& project,
                                         const std::vector<std::string>& fileNames);

// Writes the main test of a type as a test file in a task; answers the message of a failure, or
// an empty text. The old file stays when the write fails.
std::string SaveTestResultFile(TQBProject& project, TQBTestType testType,
                               const std::string& fileName);

} // namespace tw
