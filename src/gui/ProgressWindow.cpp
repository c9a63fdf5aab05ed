#include "gui/ProgressWindow.h"

#include "commands/KovTaskController.h"
#include "gui/QtText.h"
#include "services/Format.h"
#include "services/Localisation.h"
#include "services/UserMessages.h"

#include <QCloseEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

#include <cmath>
#include <thread>

namespace tw {

namespace {

std::string& Heading() {
    static std::string heading;
    return heading;
}

TTaskProgressWindow*& ShowingWindow() {
    static TTaskProgressWindow* window = nullptr;
    return window;
}

// The poll interval: 250 ms on one processor, shorter with more, never below 50 ms.
int PollInterval() {
    const int processors = std::max(1, TKovTaskController::ProcessorCount());
    return std::max(50, static_cast<int>(std::pow(0.75, processors - 1) * 250.0));
}

} // namespace

TTaskProgressWindow::TTaskProgressWindow(QWidget* parent)
    : QDialog(parent), FHeading(new QLabel(this)), FCount(new QLabel(this)),
      FDetails(new QLabel(this)), FRowsLayout(new QVBoxLayout()), FTimer(new QTimer(this)) {
    setWindowTitle(Tr("Progress"));
    setModal(true);
    setMinimumWidth(420);
    auto* layout = new QVBoxLayout(this);
    FHeading->setTextFormat(Qt::PlainText);
    FHeading->setText(ToQ(Heading()));
    QFont bold = FHeading->font();
    bold.setBold(true);
    FHeading->setFont(bold);
    layout->addWidget(FHeading);
    auto* counts = new QHBoxLayout();
    counts->addWidget(FCount, 1);
    FDetails->setTextFormat(Qt::RichText);
    FDetails->setVisible(false);
    connect(FDetails, &QLabel::linkActivated, this, [this] {
        FShowAllTasks = !FShowAllTasks;
        Poll();
    });
    counts->addWidget(FDetails);
    layout->addLayout(counts);
    layout->addLayout(FRowsLayout);
    auto* minimize = new QPushButton(Tr("Minimize"), this);
    connect(minimize, &QPushButton::clicked, this, [this] {
        if (parentWidget())
            parentWidget()->window()->showMinimized();
        showMinimized();
    });
    auto* buttons = new QHBoxLayout();
    buttons->addStretch(1);
    buttons->addWidget(minimize);
    layout->addLayout(buttons);
    FTimer->setInterval(PollInterval());
    connect(FTimer, &QTimer::timeout, this, &TTaskProgressWindow::Poll);
    FTimer->start();
    ShowingWindow() = this;
}

TTaskProgressWindow::~TTaskProgressWindow() {
    if (ShowingWindow() == this)
        ShowingWindow() = nullptr;
}

void TTaskProgressWindow::Install(QWidget* owner) {
    QPointer<QWidget> guarded(owner);
    TKovTaskController::SetOnWaitFor(
        TKovTaskController::MakeDelayedWaitFor(Delay, [guarded](std::span<TKovTask* const>) {
            QWidget* parent = guarded ? guarded->window() : nullptr;
            const bool enabled = parent ? parent->isEnabled() : true;
            {
                TTaskProgressWindow window(parent);
                window.Poll();
                if (!window.FAllowClose)
                    window.exec();
            }
            if (parent)
                parent->setEnabled(enabled);
        }));
}

void TTaskProgressWindow::Uninstall() {
    TKovTaskController::SetOnWaitFor({});
}

void TTaskProgressWindow::SetHeading(const std::string& heading) {
    Heading() = heading;
}

TTaskProgressWindow* TTaskProgressWindow::Showing() {
    return ShowingWindow();
}

TTaskProgressWindow::TRow TTaskProgressWindow::MakeRow() {
    TRow row;
    row.Frame = new QWidget(this);
    auto* layout = new QVBoxLayout(row.Frame);
    layout->setContentsMargins(0, 4, 0, 4);
    row.Name = new QLabel(row.Frame);
    row.Activity = new QLabel(row.Frame);
    layout->addWidget(row.Name);
    layout->addWidget(row.Activity);
    auto* line = new QHBoxLayout();
    row.Bar = new QProgressBar(row.Frame);
    row.Bar->setTextVisible(false);
    line->addWidget(row.Bar, 1);
    row.Pause = new QPushButton(Tr("Pause"), row.Frame);
    row.Stop = new QPushButton(Tr("Stop"), row.Frame);
    line->addWidget(row.Pause);
    line->addWidget(row.Stop);
    layout->addLayout(line);
    const int index = static_cast<int>(FRows.size());
    connect(row.Stop, &QPushButton::clicked, this, [this, index] { StopClicked(index); });
    connect(row.Pause, &QPushButton::clicked, this, [this, index] { PauseClicked(index); });
    FRowsLayout->addWidget(row.Frame);
    return row;
}

void TTaskProgressWindow::Poll() {
    FTimer->stop();
    TTaskInfoList tasks;
    TKovTaskController::GetThreadedTaskStates(tasks);
    if (tasks.empty()) {
        FAllowClose = true;
        accept();
        return;
    }
    const double now = TaskClockNow();
    for (size_t i = tasks.size(); i-- > 0;)
        if ((now - tasks[i].StartTime) * 86400.0 < MinimumAgeSeconds)
            tasks.erase(tasks.begin() + static_cast<std::ptrdiff_t>(i));
    const size_t count = tasks.size();
    FCount->setText(count == 1 ? Tr("1 task running")
                               : ToQ(Format(Translate("%d tasks running"), int(count))));
    FDetails->setVisible(count > 1);
    FDetails->setText(QStringLiteral("<a href=\"#\">%1</a>")
                          .arg(FShowAllTasks ? Tr("(hide details)") : Tr("(show details)")));
    if (!FShowAllTasks && count > 1)
        tasks.resize(1);
    while (FRows.size() < tasks.size())
        FRows.push_back(MakeRow());
    while (FRows.size() > tasks.size()) {
        delete FRows.back().Frame;
        FRows.pop_back();
    }
    for (size_t i = 0; i < tasks.size(); ++i) {
        const TKovTaskInfo& info = tasks[i];
        TRow& row = FRows[i];
        if (row.Task != info.Task)
            row.StopSent = false;
        row.Task = info.Task;
        const QString name = ToQ(info.NameText());
        row.Name->setText(tasks.size() > 1 ? QStringLiteral("%1. %2").arg(i + 1).arg(name) : name);
        row.Activity->setText(ToQ(info.CurrentActivityText()));
        row.Frame->setToolTip(name + QStringLiteral("\n") + ToQ(info.CurrentActivityText()));
        if (info.HasProgress && info.MaxProgress > 0) {
            row.Bar->setRange(0, 1000);
            row.Bar->setValue(static_cast<int>(info.CurrentProgress / info.MaxProgress * 1000));
        } else {
            row.Bar->setRange(0, 0); // a marquee
        }
        QPalette palette = row.Bar->palette();
        if (info.State == tsWaitingToFinish)
            palette.setColor(QPalette::Highlight, QColor(0xc0, 0x30, 0x30));
        else if (info.State == tsPaused)
            palette.setColor(QPalette::Highlight, QColor(0xd0, 0xa0, 0x20));
        else
            palette = QPalette();
        row.Bar->setPalette(palette);
        row.Stop->setEnabled(info.CanStop && !row.StopSent && info.State != tsWaitingToFinish);
        const bool paused = info.State == tsPaused || info.State == tsWaitingToPause;
        row.Pause->setVisible(info.CanPause || paused);
        row.Pause->setText(paused ? Tr("Resume") : Tr("Pause"));
    }
    FTimer->start();
}

QPushButton* TTaskProgressWindow::StopButton(int row) const {
    return row >= 0 && row < RowCount() ? FRows[row].Stop : nullptr;
}

QString TTaskProgressWindow::RowText(int row) const {
    if (row < 0 || row >= RowCount())
        return {};
    return FRows[row].Name->text() + QStringLiteral(": ") + FRows[row].Activity->text();
}

void TTaskProgressWindow::StopClicked(int index) {
    if (index >= RowCount())
        return;
    TTaskInfoList tasks;
    TKovTaskController::GetThreadedTaskStates(tasks);
    for (const TKovTaskInfo& info : tasks) {
        if (info.Task != FRows[index].Task)
            continue;
        const std::string question = info.Task->GetConfirmStopString();
        if (!question.empty() && !UserMessages().AskQuestion(question, "ORVANE"))
            return;
        TKovTaskController::StopTask(info);
        FRows[index].StopSent = true;
        FRows[index].Stop->setEnabled(false);
        return;
    }
}

void TTaskProgressWindow::PauseClicked(int index) {
    if (index >= RowCount())
        return;
    TTaskInfoList tasks;
    TKovTaskController::GetThreadedTaskStates(tasks);
    for (const TKovTaskInfo& info : tasks)
        if (info.Task == FRows[index].Task) {
            if (info.State == tsPaused || info.State == tsWaitingToPause)
                TKovTaskController::ResumeTask(info);
            else
                TKovTaskController::PauseTask(info);
            return;
        }
}

void TTaskProgressWindow::reject() {
    if (FAllowClose)
        QDialog::reject();
}

void TTaskProgressWindow::closeEvent(QCloseEvent* event) {
    if (FAllowClose)
        event->accept();
    else
        event->ignore();
}

} // namespace tw
