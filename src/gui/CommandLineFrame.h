#pragma once
// The window's command line: a line typed and sent with Return (or Run) goes to the project's
// interpreter like every action of the window, so it stands in the command history and in one
// undo step. The session view above lists each line with its running number and what it
// answered; a failing line stays in the editor with the caret where the interpreter stopped, and
// its error stands in the session, not in a message box. Up and Down walk the lines typed in this
// session. The lines the window sends for its menus and fields stand in the session as well
// (marked "·"), so the user sees what each click wrote in the language. While typing, a list of
// suggestions for the word at the caret (commands, objects, members after a dot) drops down when
// autocompletion is on; choosing one puts it in place. Main thread only.

#include "commands/AutoComplete.h"
#include "objects/Observer.h"

#include <QWidget>

#include <string>
#include <vector>

class QCompleter;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QStringListModel;

namespace tw {

class TGuiCommands;

class TCommandLineFrame : public QWidget {
    Q_OBJECT
public:
    // `commands` must outlive the frame.
    explicit TCommandLineFrame(TGuiCommands& commands, QWidget* parent = nullptr);

    QLineEdit& Editor() const { return *FEditor; }
    QPlainTextEdit& Session() const { return *FSession; }
    // Sends the editor's line; answers whether it succeeded (an empty line does nothing).
    bool RunLine();

    bool IsAutoCompleteEnabled() const { return FAutoCompleteEnabled; }
    void SetAutoCompleteEnabled(bool enabled);
    // The suggestions shown for the editor's text at its caret (empty when none are shown), and
    // taking one of them into the line.
    const TAutoCompleteResults& Suggestions() const { return FSuggestions; }
    bool IsSuggesting() const;
    void AcceptSuggestion(int index);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void Recall(int step);
    void Suggest();

    TGuiCommands& FCommands;
    QPlainTextEdit* FSession;
    QLineEdit* FEditor;
    QPushButton* FRun;
    int FSessionCommandNr = 0;
    std::vector<std::string> FTyped; // this session's lines, oldest first
    int FRecalled = -1;              // index into FTyped while walking it, -1 otherwise
    TAutoCompleter FAutoCompleter;
    TAutoCompleteResults FSuggestions;
    QCompleter* FCompleter;
    QStringListModel* FSuggestionModel;
    bool FAutoCompleteEnabled = true;
    bool FRunningTyped = false; // a typed line is running: the history's news is ours
    int FHistorySeen = 0;       // entries of the history of all lines shown or passed
    TObserver FHistoryObserver;
};

} // namespace tw
