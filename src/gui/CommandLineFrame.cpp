#include "gui/CommandLineFrame.h"

#include "gui/GuiCommands.h"
#include "gui/QtText.h"
#include "services/Strings.h"

#include <QFontDatabase>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

namespace tw {

TCommandLineFrame::TCommandLineFrame(TGuiCommands& commands, QWidget* parent)
    : QWidget(parent), FCommands(commands), FSession(new QPlainTextEdit(this)),
      FEditor(new QLineEdit(this)), FRun(new QPushButton(Tr("Run"), this)) {
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
    connect(FEditor, &QLineEdit::returnPressed, this, [this] { RunLine(); });
    connect(FRun, &QPushButton::clicked, this, [this] { RunLine(); });
}

bool TCommandLineFrame::RunLine() {
    const std::string line = FromQ(FEditor->text());
    if (Trim(line).empty())
        return false;
    if (FTyped.empty() || FTyped.back() != line)
        FTyped.push_back(line);
    FRecalled = -1;
    const TGuiCommands::TOutcome outcome = FCommands.RunTyped(line);
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
        if (key == Qt::Key_Up || key == Qt::Key_Down) {
            Recall(key == Qt::Key_Up ? -1 : 1);
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace tw
