#pragma once
// One test page: the test's input frame (its published properties, the phase table of the tests
// that have one, the cyclic definitions of the general test, and Run), the list of the loaded
// tests of the page's type with their colours, the charts and the results panel beside them.

#include "gui/ChartsArea.h"
#include "gui/GuiCommands.h"
#include "presentation/ChartsFrame.h"
#include "presentation/PhaseViewTable.h"

#include <QWidget>

#include <functional>
#include <memory>

class QGroupBox;
class QListWidget;
class QPushButton;
class QTableView;

namespace tw {

class TConfigurationButton;
class TConfigurationStore;
class TPresentationTableModel;
class TPropertyForm;
class TPropertyGridModel;

// The input frame of a test (TFrTestCfgBase and its kinds).
class TTestConfigFrame : public QWidget {
    Q_OBJECT
public:
    // `configurations` keeps the saved configurations of every test type.
    TTestConfigFrame(TGuiCommands& commands, TQBTestBase& test, TConfigurationStore& configurations,
                     QWidget* parent = nullptr);
    ~TTestConfigFrame() override;

    TQBTestBase& Test() const { return FTest; }
    TPropertyForm& Form() const { return *FForm; }
    // The phase table (oedometer, CRS) or the phase grid (general test); nullptr for others.
    QTableView* PhaseTable() const { return FPhaseTable; }
    QPushButton& RunButton() const { return *FRun; }
    TConfigurationButton& ConfigurationButton() const { return *FConfigurations; }
    // The group caption: " Input (compression is negative) ", " Input", " Input (drained) ".
    static const char* GroupCaption(TQBTestType type);

    // The frame's own check before a run; shows "The test data for the %s test is not valid."
    // and answers false when the test can't run.
    bool PrepareTestForRunning();

    void AddPhase();
    void InsertPhase();
    void RemovePhase();

signals:
    void RunRequested();

private:
    QWidget* MakePhaseTable();
    QWidget* MakeCyclicPhases();
    void FillCyclicPhases();
    int CurrentPhaseRow() const;

    TGuiCommands& FCommands;
    TQBTestBase& FTest;
    TPropertyForm* FForm;
    QPushButton* FRun;
    TConfigurationButton* FConfigurations;
    QTableView* FPhaseTable = nullptr;
    std::unique_ptr<TPhaseViewTable> FPhaseView;
    TPresentationTableModel* FPhaseViewModel = nullptr;
    TPropertyGridModel* FPhaseGrid = nullptr;
    QListWidget* FCyclic = nullptr;
    TObserver FCyclicObserver;
};

// The tests loaded for comparison that the page shows (TFrLoadedTests): each with its colour and
// a box to show or hide its curves.
class TLoadedTestsList : public QWidget {
    Q_OBJECT
public:
    TLoadedTestsList(TChartsFrame& frame, QWidget* parent = nullptr);
    ~TLoadedTestsList() override;
    QListWidget& List() const { return *FList; }
    void Refresh();

private:
    TChartsFrame& FFrame;
    QListWidget* FList;
    bool FRefreshing = false;
    TObserver FObserver;
};

class TTestPage : public QWidget {
    Q_OBJECT
public:
    TTestPage(TGuiCommands& commands, TQBTestType type, TConfigurationStore& configurations,
              QWidget* parent = nullptr);
    ~TTestPage() override;

    TQBTestType TestType() const { return FType; }
    // The main test of the page; nullptr for the pressuremeter page of a 3D project.
    TQBTestBase* Test() const { return FFrame->MainTest(); }
    TChartsFrame& ChartsFrame() const { return *FFrame; }
    TChartsArea& Charts() const { return *FCharts; }
    TTestConfigFrame* ConfigFrame() const { return FConfig; }
    TResultsPanel& ResultsPanel() const { return *FResults; }
    TLoadedTestsList& LoadedTests() const { return *FLoaded; }

    // The Run of the page: the frame's check, then the calculation. Answers whether the test
    // has results afterwards.
    bool RunTest();
    // How a run is carried out; by default the `calculate` command on the test.
    using TRunner = std::function<bool(TQBTestBase& test)>;
    void SetRunner(TRunner runner) { FRunner = std::move(runner); }

signals:
    // After every Run of the page, from the menu or the frame's button: whether the test has
    // results.
    void RunEnded(bool done);

private:
    TGuiCommands& FCommands;
    TQBTestType FType;
    std::unique_ptr<TChartsFrame> FFrame;
    TTestConfigFrame* FConfig = nullptr;
    TLoadedTestsList* FLoaded;
    TChartsArea* FCharts;
    TResultsPanel* FResults;
    TRunner FRunner;
};

} // namespace tw
