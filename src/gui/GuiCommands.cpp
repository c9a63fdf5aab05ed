#include "gui/GuiCommands.h"

#include "gui/QtText.h"

#include "objects/ObjectManager.h"
#include "services/UserMessages.h"

namespace tw {

namespace {

// Passes messages and questions on, counting them: a command that has told the user of its
// failure (a run whose kernel failed) isn't told of again.
class TCountedMessages : public IUserMessages {
public:
    explicit TCountedMessages(IUserMessages& inner) : FInner(inner) {}
    void ShowMessage(const std::string& text, const std::string& title) override {
        ++Count;
        FInner.ShowMessage(text, title);
    }
    void ShowDetailedMessage(const std::string& text, const std::string& title,
                             const std::string& details) override {
        ++Count;
        FInner.ShowDetailedMessage(text, title, details);
    }
    bool AskQuestion(const std::string& text, const std::string& title) override {
        ++Count;
        return FInner.AskQuestion(text, title);
    }
    int Count = 0;

private:
    IUserMessages& FInner;
};

} // namespace

TGuiCommands::TGuiCommands(TQBProject& project) : FProject(project) {}

TGuiCommands::TOutcome TGuiCommands::Interpret(const std::string& line, bool& told) {
    FLastError.clear();
    TOutcome outcome;
    TCountedMessages counted(UserMessages());
    IUserMessages* previous = SetUserMessages(&counted);
    try {
        std::string error, additional;
        outcome.Success = Interpreter().Interpret(line, outcome.ErrorPosition, error, additional);
        if (outcome.Success) {
            outcome.Text = additional;
        } else {
            FLastError = error.empty() ? additional : error;
            if (!error.empty() && !additional.empty() && additional != error)
                FLastError += "\n" + additional;
            outcome.Text = FLastError;
        }
    } catch (const std::exception& e) {
        FLastError = outcome.Text = e.what();
    }
    SetUserMessages(previous);
    told = counted.Count > 0;
    FObservable.NotifyObservers(this);
    return outcome;
}

bool TGuiCommands::Run(const std::string& line) {
    bool told = false;
    const TOutcome outcome = Interpret(line, told);
    if (!outcome.Success && !told)
        UserMessages().ShowMessage(FLastError, MessageTitle);
    return outcome.Success;
}

TGuiCommands::TOutcome TGuiCommands::RunTyped(const std::string& line) {
    bool told = false;
    return Interpret(line, told);
}

bool TGuiCommands::Run(const std::string& command, const std::vector<TVarRec>& values) {
    return Run(Interpreter().MakeCommandText(command, values));
}

bool TGuiCommands::Set(TKovIntrinsicProperty& property, const TVarRec& value) {
    return Run("set", {&property, value});
}

std::string TGuiCommands::CommandText(const TKovObject& object) const {
    return Interpreter().AnyToCommandText(&object);
}

bool TGuiCommands::CanUndo() const {
    const TKovObjectManager* manager = FProject.ObjectManager();
    return manager && manager->UndoCount() > 0;
}

bool TGuiCommands::CanRedo() const {
    const TKovObjectManager* manager = FProject.ObjectManager();
    return manager && manager->RedoCount() > 0;
}

std::string TGuiCommands::UndoCaption() const {
    const TKovObjectManager* manager = FProject.ObjectManager();
    return CanUndo() ? manager->GetUndoName(0) : std::string();
}

std::string TGuiCommands::RedoCaption() const {
    const TKovObjectManager* manager = FProject.ObjectManager();
    return CanRedo() ? manager->GetRedoName(0) : std::string();
}

bool TGuiCommands::Undo() {
    return CanUndo() && Run("undo");
}

bool TGuiCommands::Redo() {
    return CanRedo() && Run("redo");
}

} // namespace tw
