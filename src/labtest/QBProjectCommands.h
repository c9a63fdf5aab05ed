#pragma once
// The command language of a project: its interpreter, the histories of all lines and of the lines
// that succeeded, and its global helpers. The project and its helpers are the interpreter's
// default objects, in this order: the project (undo, redo), the calculation, save and material
// tools, the group info getter, the tabulate helper, the listifier, the group metadata setter and
// the simple value group setter. Every change a user makes to the project goes as one line
// through this interpreter, so that it stands in the histories and in one undo step.
//
// Making the first one registers the accessors of the lab's objects and the factories of its
// helpers. Main thread only, like the project.

#include "commands/CommandHistory.h"
#include "commands/GlobalHelpers.h"
#include "commands/KovInterpreter.h"

#include <memory>

namespace tw {

class TQBProject;

class TQBProjectCommands {
public:
    explicit TQBProjectCommands(TQBProject& project);
    ~TQBProjectCommands();
    TQBProjectCommands(const TQBProjectCommands&) = delete;
    TQBProjectCommands& operator=(const TQBProjectCommands&) = delete;

    TKovInterpreter& Interpreter() const { return *FInterpreter; }
    TCommandHistory& SuccessfulCommands() { return FSuccessfulCommands; }
    TCommandHistory& AllCommands() { return FAllCommands; }
    const TGlobalHelpers& GlobalHelpers() const { return FGlobalHelpers; }

private:
    TQBProject& FProject;
    TCommandHistory FSuccessfulCommands;
    TCommandHistory FAllCommands;
    TGlobalHelpers FGlobalHelpers;
    std::unique_ptr<TKovInterpreter> FInterpreter;
    bool FOwnsValuesList = false;
};

// Registers the accessors of the lab's objects and the factories of the project's global
// helpers, once per process.
void RegisterLabTestCommands();

} // namespace tw
