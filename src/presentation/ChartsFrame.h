#pragma once
// The charts of one test page, without a window: which charts exist, in which order, and their
// series for the main test and the loaded tests of the page's type. A window shows the charts
// as they stand here and follows the frame's observable.
//
// The frame follows the model by itself: the end of a run of the main test, the loaded tests
// coming and going or being shown and hidden, the chart settings of the main test, the suction and
// thermal switches (which decide whether their charts are shown), the material under test, and the
// project's units. Main thread only, like the model; during a run nothing is touched, since the
// run fires its end only when the results are complete.

#include "labtest/QBProject.h"
#include "presentation/Chart.h"
#include "presentation/ChartDialog.h"

#include <functional>
#include <memory>
#include <vector>

namespace tw {

class TChartsFrame {
public:
    // Codes of the frame's notifications.
    enum TChange : int {
        // The charts were made anew: their number, order or axes may differ. Charts held by a
        // view are gone.
        fcChartsRebuilt = 1,
        // The same charts have new series.
        fcSeriesUpdated = 2,
    };

    // A frame of the page of `displayMode` in `project`, which must outlive it. Shows the
    // project's units.
    TChartsFrame(TQBProject& project, TQBTestType displayMode);
    ~TChartsFrame();
    TChartsFrame(const TChartsFrame&) = delete;
    TChartsFrame& operator=(const TChartsFrame&) = delete;

    TQBProject& Project() const { return FProject; }
    TQBTestType DisplayMode() const { return FDisplayMode; }
    // The project's main test of the page's type; nullptr when the project has none (the
    // pressuremeter in 3D), and then the frame has no charts.
    TQBTestBase* MainTest() const { return FMainTest; }

    // The main test and then the loaded tests of the page's type, in the order of the project's
    // list; the index in this list picks a test's colour, so hiding a test doesn't recolour the
    // others.
    const std::vector<TQBTestBase*>& Tests() const { return FTests; }
    // Those of them that are drawn: the main test and the loaded tests that are visible.
    std::vector<TShownTest> ShownTests() const;
    // Shows or hides a loaded test (its "Visible" property); the charts follow.
    void SetTestVisible(TQBTestBase& test, bool visible);

    // The units the charts are drawn in; the project's until set. `units` must outlive the frame.
    const TSystemOfUnits& PresentationUnits() const { return *FUnits; }
    void SetPresentationUnits(TSystemOfUnits& units);

    // Whose failure envelopes are drawn (the settings' "Show failure envelope for").
    TQBAdditionalLines FailureLines() const { return FOptions.FailureLines; }
    void SetFailureLines(TQBAdditionalLines lines);

    // The test page's answer whether a chart type is shown for its test. The default shows the
    // suction charts only with suction on and the temperature chart only with thermal on.
    using TChartTypeShown = std::function<bool(const TQBTestBase& test, TQBChartType type)>;
    void SetChartTypeShown(TChartTypeShown shown);
    static bool DefaultChartTypeShown(const TQBTestBase& test, TQBChartType type);

    // The charts, ordered by their settings' sort values (equal values in the order of the
    // list).
    int ChartCount() const { return static_cast<int>(FCharts.size()); }
    TChart& Chart(int index) const { return *FCharts.at(index); }
    // The chart of a setting, or -1.
    int IndexOfChart(const TQBChartSettings& settings) const;

    // Fills the series of every chart anew (UpdateCharts).
    void UpdateCharts();
    // Makes the charts anew from the settings, then fills them.
    void RebuildCharts();

    // acHideChart: the chart's setting is no longer visible.
    void HideChart(int index);
    // ChartVisibleClick: toggles a setting of the main test's list (by its index there).
    void ToggleChartVisible(int settingIndex);
    // acAddChart: a dialog on a new custom setting titled "Custom".
    std::unique_ptr<TChartDialogModel> NewChartDialog() const;
    // acEditChart: a dialog on the chart's setting.
    std::unique_ptr<TChartDialogModel> EditChartDialog(int index) const;
    // OK of either dialog: a new chart is added to the main test's settings with a sort value
    // after all others; an edited one is written back. Answers the setting.
    TQBChartSettings& ApplyChartDialog(const TChartDialogModel& dialog);
    // acDeleteChart is allowed only on a custom chart.
    bool CanDeleteChart(int index) const;
    // Raises EKovException for a chart that isn't custom.
    void DeleteChart(int index);

    // Notifications, with the codes above and the frame as sender.
    TObservable& Observable() { return FObservable; }

private:
    void FindTests();
    // Follows the material of the main test; answers whether it is another than before.
    bool AttachMaterialObserver();
    void FillSeries();
    void NotifyChange(TChange change);

    TQBProject& FProject;
    TQBTestType FDisplayMode;
    TQBTestBase* FMainTest = nullptr;
    TSystemOfUnits* FUnits;
    TChartBuildOptions FOptions;
    TChartTypeShown FChartTypeShown;
    std::vector<TQBTestBase*> FTests;
    std::vector<const TQBTestBase*> FShownBefore; // the tests drawn at the last fill
    std::vector<std::unique_ptr<TChart>> FCharts;
    const ITestMaterial* FObservedMaterial = nullptr;
    // While above 0, a change of the settings only marks the charts to be made anew.
    int FHoldRebuild = 0;
    bool FRebuildPending = false;
    TObservable FObservable{this};

    TObserver FEndCalculationObserver;
    TObserver FConditionObserver;
    TObserver FSettingsObserver;
    TObserver FLoadedListObserver;
    TObserver FLoadedTestObserver;
    TObserver FMainTestObserver;
    TObserver FMaterialObserver;
    TObserver FUnitsObserver;
};

} // namespace tw
