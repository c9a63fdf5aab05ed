#pragma once
// The start of the window program, in the order the host expects: one instance per user (unless
// ALLOW_MULTIPLE_INSTANCES), the input file from the command line read into a project
// (StartUp), its read problems listed by severity, and the main window on the project, which
// checks the kernels itself. Every message of a refused start goes through UserMessages() with
// its title; the program then ends.

#include "gui/MainWindow.h"
#include "gui/SingleInstance.h"
#include "services/CommandLine.h"

#include <memory>
#include <string>

namespace tw {

class TKovObjectManager;

struct TWindowStartOptions {
    // The lock of the single instance; "" for the user's own.
    std::string LockFile;
    // Where the kernels are; "" for the program's folder.
    std::string ApplicationDirectory;
};

class TWindowStart {
public:
    // Position 1 the input file, 2 "2" for the 2D kernel, 3 the host's name and version.
    explicit TWindowStart(const TCommandLine& commandLine, const TWindowStartOptions& options = {});
    ~TWindowStart();
    TWindowStart(const TWindowStart&) = delete;
    TWindowStart& operator=(const TWindowStart&) = delete;

    bool Started() const { return FWindow != nullptr; }
    // nullptr unless started.
    TMainWindow* Window() const { return FWindow.get(); }
    TQBProject* Project() const { return FProject.get(); }

private:
    std::unique_ptr<TSingleInstance> FInstance;
    std::unique_ptr<TKovObjectManager> FManager;
    std::unique_ptr<TQBProject> FProject;
    std::unique_ptr<TMainWindow> FWindow;
};

} // namespace tw
