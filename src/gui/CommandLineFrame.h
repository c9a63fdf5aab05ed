#pragma once
// The window's command line: a line typed and sent with Return (or Run) goes to the project's
// interpreter like every action of the window, so it stands in the command history and in one
// undo step. The session view above lists each line with its running number and what it
// answered; a failing line stays in the editor with the caret where the interpreter stopped, and
// its error stands in the session, not in a message box. Up and Down walk the lines typed in this
// session. Main thread only.

#include <QWidget>

#include <string>
#include <vector>

class QLineEdit;
class QPlainTextEdit;
class QPushButton;

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

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void Recall(int step);

    TGuiCommands& FCommands;
    QPlainTextEdit* FSession;
    QLineEdit* FEditor;
    QPushButton* FRun;
    int FSessionCommandNr = 0;
    std::vector<std::string> FTyped; // this session's lines, oldest first
    int FRecalled = -1;              // index into FTyped while walking it, -1 otherwise
};

} // namespace tw
