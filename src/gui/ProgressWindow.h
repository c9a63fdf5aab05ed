#pragma once
// The progress window of blocking runs. A top-level run that lasts longer than a second shows it
// modally until its tasks have ended; meanwhile Qt's event loop keeps the program's windows
// painted. The window polls the task monitor (no worker ever touches it) and shows what runs: a
// heading (what the user started, "Triaxial_1"), per task its name, what it does at the moment and
// a bar, and the buttons to stop, pause and resume it.

#include "commands/KovTasks.h"

#include <QDialog>

#include <chrono>
#include <vector>

class QLabel;
class QProgressBar;
class QPushButton;
class QTimer;
class QVBoxLayout;

namespace tw {

class TTaskProgressWindow : public QDialog {
    Q_OBJECT
public:
    // How long a blocking run waits before the window shows.
    static constexpr std::chrono::milliseconds Delay{1000};
    // Tasks younger than this aren't listed, so that a short one never flashes.
    static constexpr double MinimumAgeSeconds = 0.9;

    explicit TTaskProgressWindow(QWidget* parent = nullptr);
    ~TTaskProgressWindow() override;

    // Installs the wait of top-level blocking runs: after Delay the window shows over `owner`.
    static void Install(QWidget* owner);
    static void Uninstall();
    // The heading of the next windows: what the user started.
    static void SetHeading(const std::string& heading);
    // The window that shows now, or nullptr (tests).
    static TTaskProgressWindow* Showing();

    // One poll of the monitor (the timer's work).
    void Poll();
    QPushButton* StopButton(int row) const;
    QLabel& CountLabel() const { return *FCount; }
    // The rows shown.
    int RowCount() const { return static_cast<int>(FRows.size()); }
    // The text of a row: name and what the task does.
    QString RowText(int row) const;

    void reject() override; // only the end of the tasks closes the window
    void closeEvent(QCloseEvent* event) override;

private:
    struct TRow {
        QWidget* Frame = nullptr;
        QLabel* Name = nullptr;
        QLabel* Activity = nullptr;
        QProgressBar* Bar = nullptr;
        QPushButton* Stop = nullptr;
        QPushButton* Pause = nullptr;
        TKovTask* Task = nullptr;
        bool StopSent = false;
    };
    TRow MakeRow();
    void StopClicked(int row);
    void PauseClicked(int row);

    QLabel* FHeading;
    QLabel* FCount;
    QLabel* FDetails;
    QVBoxLayout* FRowsLayout;
    QTimer* FTimer;
    std::vector<TRow> FRows;
    // A run's tasks are shown together: the kernel's, which can be stopped, is not the first.
    bool FShowAllTasks = true;
    bool FAllowClose = false;
};

} // namespace tw
