#pragma once
// The window's road into the project: every change a user makes in a window becomes one line of
// the command language, run by the project's interpreter, so that it stands in the project's
// command histories and in one undo step. A line that fails (a user's mistake) changes nothing
// and is shown in one message box, unless what ran has told the user already. Main thread only.

#include "commands/CommandHistory.h"
#include "commands/KovInterpreter.h"
#include "labtest/QBProject.h"
#include "objects/VarRec.h"

#include <string>
#include <vector>

namespace tw {

class TGuiCommands {
public:
    // The project must outlive this object.
    explicit TGuiCommands(TQBProject& project);

    TQBProject& Project() const { return FProject; }
    TKovInterpreter& Interpreter() const { return FProject.Commands().Interpreter(); }
    const TCommandHistory& SuccessfulCommands() const {
        return FProject.Commands().SuccessfulCommands();
    }
    const TCommandHistory& AllCommands() const { return FProject.Commands().AllCommands(); }

    // Runs one line. A failure is shown (title "Tarnwick") with the command's further lines,
    // unless the command has shown a message itself, and answers false; an exception of the
    // command's code is shown the same way.
    bool Run(const std::string& line);
    // A line the user typed on the command line: its failure is not shown in a box but comes
    // back with the rest of the outcome, for the command line to show.
    struct TOutcome {
        bool Success = false;
        int32_t ErrorPosition = -1; // in the line, from 1; -1 where the command gives none
        std::string Text;           // what the command answered, or why it failed
    };
    TOutcome RunTyped(const std::string& line);
    // A command by name with its parameters written by the interpreter.
    bool Run(const std::string& command, const std::vector<TVarRec>& values);
    // `set` on a property: numbers with a unit in the project's presentation units, enumerations
    // by ordinal.
    bool Set(TKovIntrinsicProperty& property, const TVarRec& value);
    // The name that stands for an object in a command line.
    std::string CommandText(const TKovObject& object) const;

    // The project's revert stacks: the last step and the step undone last.
    bool CanUndo() const;
    bool CanRedo() const;
    std::string UndoCaption() const;
    std::string RedoCaption() const;
    bool Undo();
    bool Redo();

    // The message of the last line that failed ("" after a line that succeeded).
    const std::string& LastError() const { return FLastError; }

    // Told after every line, whatever its outcome; the sender is this object.
    TObservable& Observable() { return FObservable; }

private:
    // Runs a line; `told` says whether the command showed the user a message itself.
    TOutcome Interpret(const std::string& line, bool& told);

    TQBProject& FProject;
    std::string FLastError;
    TObservable FObservable{this};
};

} // namespace tw
