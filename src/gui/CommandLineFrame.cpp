#include "gui/CommandLineFrame.h"

#include "gui/GuiCommands.h"
#include "gui/QtText.h"
#include "services/Strings.h"

#include <QAbstractItemView>
#include <QCompleter>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QStringListModel>
#include <QVBoxLayout>

#include <algorithm>

namespace tw {

TCommandLineFrame::TCommandLineFrame(TGuiCommands& commands, QWidget* parent)
    : QWidget(parent), FCommands(commands), FSession(new QPlainTextEdit(this)),
      FEditor(new QLineEdit(this)), FRun(new QPushButton(Tr("Run"), this)),
      FAutoCompleter(commands.Interpreter()), FCompleter(new QCompleter(this)),
      FSuggestionModel(new QStringListModel(this)) {
    const QFont fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    FSession->setReadOnly(true);
    FSession->setFont(fixed);
    FSession->setMaximumBlockCount(10000); // a long session keeps its last lines
    FEditor->setFont(fixed);
    FEditor->setPlaceholderText(Tr("Type a command, e.g. set Triaxial_1.CellPressure 150"));
    FEditor->installEventFilter(this);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(2, 2, 2, 2);
    layout->addWidget(FSession, 1);
    auto* line = new QHBoxLayout();
    line->addWidget(FEditor, 1);
    line->addWidget(FRun);
    layout->addLayout(line);
    // The completer only shows the list; which word it replaces is ours to say (the word at the
    // caret, not the whole line).
    FCompleter->setModel(FSuggestionModel);
    FCompleter->setWidget(FEditor);
    FCompleter->setCompletionMode(QCompleter::UnfilteredPopupCompletion);
    FCompleter->setMaxVisibleItems(12);
    connect(FCompleter, qOverload<const QModelIndex&>(&QCompleter::activated), this,
            [this](const QModelIndex& index) { AcceptSuggestion(index.row()); });
    connect(FEditor, &QLineEdit::textEdited, this, [this] { Suggest(); });
    // The window's own lines, in the session beside the typed ones.
    FHistorySeen = FCommands.AllCommands().Count();
    FHistoryObserver.SetOnNotify([this](TNotifySender) {
        const TCommandHistory& all = FCommands.AllCommands();
        for (; FHistorySeen < all.Count(); ++FHistorySeen) {
            // Typed lines stand there already; comment lines (the log's version line) say nothing.
            if (FRunningTyped ||
                TKovInterpreter::IsSkippableCommentLine(all.GetCommand(FHistorySeen)))
                continue;
            const TCommandResult* result = all.GetCommandResult(FHistorySeen);
            const bool failed = result && !result->FResult;
            FSession->appendPlainText(
                ToQ(std::string(failed ? "· (failed) " : "· ") + all.GetCommand(FHistorySeen)));
        }
    });
    FCommands.Observable().AttachObserver(&FHistoryObserver);
    connect(FEditor, &QLineEdit::returnPressed, this, [this] {
        if (!IsSuggesting())
            RunLine();
    });
    connect(FRun, &QPushButton::clicked, this, [this] { RunLine(); });
}

bool TCommandLineFrame::RunLine() {
    const std::string line = FromQ(FEditor->text());
    if (Trim(line).empty())
        return false;
    if (FTyped.empty() || FTyped.back() != line)
        FTyped.push_back(line);
    FRecalled = -1;
    FRunningTyped = true;
    const TGuiCommands::TOutcome outcome = FCommands.RunTyped(line);
    FRunningTyped = false;
    FSession->appendPlainText(ToQ(std::to_string(++FSessionCommandNr) + "> " + line));
    const QString text = ToQ(outcome.Text).trimmed();
    if (outcome.Success) {
        if (!text.isEmpty())
            FSession->appendPlainText(text);
        FEditor->clear();
    } else {
        FSession->appendHtml(QStringLiteral("<span style=\"color:#b00000\">%1</span>")
                                 .arg(Tr("Error: ") + text.toHtmlEscaped())
                                 .replace('\n', QStringLiteral("<br>")));
        // The caret where the interpreter stopped reading, so the mistake is mended in place.
        if (outcome.ErrorPosition >= 1)
            FEditor->setCursorPosition(outcome.ErrorPosition - 1);
    }
    FEditor->setFocus();
    return outcome.Success;
}

void TCommandLineFrame::SetAutoCompleteEnabled(bool enabled) {
    FAutoCompleteEnabled = enabled;
    if (!enabled) {
        FSuggestions = {};
        FCompleter->popup()->hide();
    }
}

bool TCommandLineFrame::IsSuggesting() const {
    return FCompleter->popup()->isVisible();
}

void TCommandLineFrame::Suggest() {
    FSuggestions = {};
    if (FAutoCompleteEnabled) {
        TAutoCompleteResults results =
            FAutoCompleter.Search(FromQ(FEditor->text()), FEditor->cursorPosition());
        // Suggestions for a word begun, or for the members right after a dot.
        const bool begun = !results.FixedText.empty() || results.LeftText.ends_with('.');
        // A word typed out in full needs no list (Return then runs the line).
        const bool complete = results.Count() == 1 && results.Matches[0] == results.FixedText;
        if (begun && !complete && results.Count() > 0)
            FSuggestions = std::move(results);
    }
    if (FSuggestions.Count() == 0) {
        FCompleter->popup()->hide();
        return;
    }
    QStringList list;
    for (const std::string& match : FSuggestions.Matches)
        list << ToQ(match);
    FSuggestionModel->setStringList(list);
    FCompleter->complete();
    FCompleter->popup()->setCurrentIndex(FSuggestionModel->index(0, 0));
}

void TCommandLineFrame::AcceptSuggestion(int index) {
    if (index < 0 || index >= FSuggestions.Count())
        return;
    int caret = 0;
    FEditor->setText(ToQ(FSuggestions.Apply(index, caret)));
    FEditor->setCursorPosition(caret);
    FSuggestions = {};
    FCompleter->popup()->hide();
}

void TCommandLineFrame::Recall(int step) {
    // Up from the editor goes to the newest line and stops at the oldest; Down past the newest
    // gives an empty editor again.
    const int last = static_cast<int>(FTyped.size()) - 1;
    if (last < 0 || (step > 0 && FRecalled < 0))
        return;
    FRecalled = step < 0 ? (FRecalled < 0 ? last : std::max(0, FRecalled - 1)) : FRecalled + 1;
    if (FRecalled > last) {
        FRecalled = -1;
        FEditor->clear();
        return;
    }
    FEditor->setText(ToQ(FTyped[static_cast<size_t>(FRecalled)]));
}

bool TCommandLineFrame::eventFilter(QObject* watched, QEvent* event) {
    if (watched == FEditor && event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if ((key == Qt::Key_Up || key == Qt::Key_Down) && !IsSuggesting()) {
            Recall(key == Qt::Key_Up ? -1 : 1);
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace tw
