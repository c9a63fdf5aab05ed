#include "presentation/ChartsFrame.h"

#include "labtest/QBCyclicTestHelper.h"
#include "labtest/QBPropertyNames.h"
#include "services/Format.h"

#include <algorithm>

namespace tw {

TChartsFrame::TChartsFrame(TQBProject& project, TQBTestType displayMode)
    : FProject(project), FDisplayMode(displayMode),
      FMainTest(project.MainTests().ByTestType(displayMode)), FUnits(&project.SystemOfUnits()),
      FChartTypeShown(&TChartsFrame::DefaultChartTypeShown) {
    FOptions.Units = FUnits;
    FEndCalculationObserver.SetOnNotify([this](TNotifySender) { UpdateCharts(); });
    FConditionObserver.SetOnNotify([this](TNotifySender) { RebuildCharts(); });
    FSettingsObserver.SetOnNotify([this](TNotifySender sender) {
        // A setting or axis being deleted tells its observers as it goes; the list's own
        // notification follows once the list is whole again, and that one rebuilds.
        if (!FMainTest)
            return;
        const TQBChartSettingsList& list = FMainTest->ChartSettings();
        bool live = sender == &list;
        for (int i = 0; i < list.Count() && !live; ++i) {
            const TQBChartSettings* settings = list.GetItems(i);
            live =
                sender == settings || sender == &settings->XAxis() || sender == &settings->YAxis();
        }
        if (!live)
            return;
        if (FHoldRebuild > 0)
            FRebuildPending = true;
        else
            RebuildCharts();
    });
    FLoadedListObserver.SetOnNotify([this](TNotifySender) {
        FindTests();
        UpdateCharts();
    });
    FLoadedTestObserver.SetOnNotify([this](TNotifySender) {
        // A loaded test shown or hidden, or one going (it tells before the list does).
        FindTests();
        std::vector<const TQBTestBase*> shown;
        for (const TShownTest& test : ShownTests())
            shown.push_back(test.Test);
        if (shown != FShownBefore)
            UpdateCharts();
    });
    FMainTestObserver.SetOnNotify([this](TNotifySender) {
        if (AttachMaterialObserver())
            UpdateCharts();
    });
    FMaterialObserver.SetOnNotify([this](TNotifySender) { UpdateCharts(); });
    FUnitsObserver.SetOnNotify([this](TNotifySender) { UpdateCharts(); });

    FUnits->AttachObserver(&FUnitsObserver);
    FProject.LoadedTests().AttachObserver(&FLoadedListObserver);
    if (FMainTest) {
        FMainTest->EndCalculationObservable().AttachObserver(&FEndCalculationObserver);
        FMainTest->SuctionConditionObservable().AttachObserver(&FConditionObserver);
        FMainTest->ThermalConditionObservable().AttachObserver(&FConditionObserver);
        FMainTest->AttachObserver(&FMainTestObserver);
        AttachMaterialObserver();
    }
    FindTests();
    RebuildCharts();
}

TChartsFrame::~TChartsFrame() = default;

bool TChartsFrame::DefaultChartTypeShown(const TQBTestBase& test, TQBChartType type) {
    switch (type) {
    case ctE1Suc:
    case ctE1Sat:
        return test.IsSuctionEnabled();
    case ctEvTemp:
        return test.IsThermalEnabled();
    default:
        return true;
    }
}

void TChartsFrame::SetChartTypeShown(TChartTypeShown shown) {
    FChartTypeShown = shown ? std::move(shown) : TChartTypeShown(&DefaultChartTypeShown);
    RebuildCharts();
}

void TChartsFrame::FindTests() {
    FTests.clear();
    // Attaching twice is attaching once. No detaching here: this runs inside a loaded test's
    // notification, and an observer detached and attached again would be met again by the same
    // walk. A test that has left the list may still call; the callback looks at the list.
    if (!FMainTest)
        return;
    FTests.push_back(FMainTest);
    const TQBTestList& loaded = FProject.LoadedTests();
    for (int i = 0; i < loaded.Count(); ++i) {
        TQBTestBase* test = loaded.GetItems(i);
        if (test && test->TestType() == FDisplayMode) {
            FTests.push_back(test);
            test->AttachObserver(&FLoadedTestObserver);
        }
    }
}

bool TChartsFrame::AttachMaterialObserver() {
    const ITestMaterial* material = FMainTest ? FMainTest->Material() : nullptr;
    // A material that was deleted has left the observer: then even the same address is new.
    if (material == FObservedMaterial && (FMaterialObserver.ObservableCount() > 0 || !material))
        return false;
    FMaterialObserver.DetachFromAll();
    FObservedMaterial = material;
    if (material)
        const_cast<ITestMaterial*>(material)->MaterialObservable().AttachObserver(
            &FMaterialObserver);
    return true;
}

std::vector<TShownTest> TChartsFrame::ShownTests() const {
    std::vector<TShownTest> shown;
    for (size_t i = 0; i < FTests.size(); ++i)
        if (i == 0 || FTests[i]->Visible())
            shown.push_back({FTests[i], static_cast<int>(i)});
    return shown;
}

void TChartsFrame::SetTestVisible(TQBTestBase& test, bool visible) {
    if (&test == FMainTest)
        return; // the main test is always drawn
    test.Property(ip::Visible).SetValue(visible);
}

void TChartsFrame::SetPresentationUnits(TSystemOfUnits& units) {
    FUnits->DetachObserver(&FUnitsObserver);
    FUnits = &units;
    FOptions.Units = FUnits;
    FUnits->AttachObserver(&FUnitsObserver);
    UpdateCharts();
}

void TChartsFrame::SetFailureLines(TQBAdditionalLines lines) {
    if (lines == FOptions.FailureLines)
        return;
    FOptions.FailureLines = lines;
    UpdateCharts();
}

int TChartsFrame::IndexOfChart(const TQBChartSettings& settings) const {
    for (size_t i = 0; i < FCharts.size(); ++i)
        if (&FCharts[i]->Settings() == &settings)
            return static_cast<int>(i);
    return -1;
}

void TChartsFrame::NotifyChange(TChange change) {
    FObservable.NotifyObservers(this, change);
}

void TChartsFrame::FillSeries() {
    const std::vector<TShownTest> shown = ShownTests();
    for (auto& chart : FCharts)
        chart->Build(shown, FOptions);
    // A cyclic test names its damping ratio in the title of its first chart.
    if (!FCharts.empty())
        if (const auto* cyclic = dynamic_cast<const ICyclicTest*>(FMainTest))
            FCharts.front()->SetTitle(TQBCyclicTestHelper::TitleWithDampingRatio(
                *FMainTest, *cyclic, FCharts.front()->Title()));
    FShownBefore.clear();
    for (const TShownTest& test : shown)
        FShownBefore.push_back(test.Test);
}

void TChartsFrame::UpdateCharts() {
    FillSeries();
    NotifyChange(fcSeriesUpdated);
}

void TChartsFrame::RebuildCharts() {
    FRebuildPending = false;
    FCharts.clear();
    // As with the loaded tests, the observer only ever attaches (see FindTests): settings that
    // left the list are told apart by the callback.
    if (FMainTest) {
        TQBChartSettingsList& list = FMainTest->ChartSettings();
        list.AttachObserver(&FSettingsObserver);
        for (int i = 0; i < list.Count(); ++i) {
            TQBChartSettings& settings = *list.GetItems(i);
            settings.AttachObserver(&FSettingsObserver);
            settings.XAxis().AttachObserver(&FSettingsObserver);
            settings.YAxis().AttachObserver(&FSettingsObserver);
            if (settings.Visible() && FChartTypeShown(*FMainTest, settings.ChartType()))
                FCharts.push_back(std::make_unique<TChart>(settings));
        }
        std::stable_sort(FCharts.begin(), FCharts.end(), [](const auto& a, const auto& b) {
            return a->SortIndex() < b->SortIndex();
        });
    }
    FillSeries();
    NotifyChange(fcChartsRebuilt);
}

void TChartsFrame::HideChart(int index) {
    const_cast<TQBChartSettings&>(FCharts.at(index)->Settings()).SetVisible(false);
}

void TChartsFrame::ToggleChartVisible(int settingIndex) {
    if (!FMainTest)
        return;
    TQBChartSettings* settings = FMainTest->ChartSettings().GetItems(settingIndex);
    if (!settings)
        throw EKovException(Format("There is no chart setting %d", settingIndex));
    settings->SetVisible(!settings->Visible());
}

std::unique_ptr<TChartDialogModel> TChartsFrame::NewChartDialog() const {
    // The template: a custom setting as the chart type describes it, titled "Custom".
    TQBChartSettingsList scratch(nullptr);
    const TQBChartSettings& custom = scratch.AddDefault(ctCustom);
    return std::make_unique<TChartDialogModel>(custom, nullptr,
                                               FMainTest ? &FMainTest->Results() : nullptr);
}

std::unique_ptr<TChartDialogModel> TChartsFrame::EditChartDialog(int index) const {
    TChart& chart = Chart(index);
    return std::make_unique<TChartDialogModel>(chart.Settings(),
                                               const_cast<TQBChartSettings*>(&chart.Settings()),
                                               FMainTest ? &FMainTest->Results() : nullptr);
}

TQBChartSettings& TChartsFrame::ApplyChartDialog(const TChartDialogModel& dialog) {
    if (!FMainTest)
        throw EKovException("This page has no test to add a chart to");
    // The setting, its axes and the list each tell their change: the charts are made once.
    ++FHoldRebuild;
    TQBChartSettings* settings = dialog.Target();
    try {
        if (!settings) {
            TQBChartSettingsList& list = FMainTest->ChartSettings();
            int last = 0;
            for (int i = 0; i < list.Count(); ++i)
                last = std::max(last, list.GetItems(i)->SortIndex());
            settings = &list.AddDefault(ctCustom);
            settings->SetSortIndex(last + 1);
        }
        dialog.ApplyTo(*settings);
    } catch (...) {
        --FHoldRebuild;
        if (FRebuildPending)
            RebuildCharts();
        throw;
    }
    --FHoldRebuild;
    if (FRebuildPending)
        RebuildCharts();
    return *settings;
}

bool TChartsFrame::CanDeleteChart(int index) const {
    return index >= 0 && index < ChartCount() && !Chart(index).Settings().IsDefault();
}

void TChartsFrame::DeleteChart(int index) {
    if (!CanDeleteChart(index))
        throw EKovException("Only a custom chart can be deleted");
    TQBChartSettings* settings = const_cast<TQBChartSettings*>(&Chart(index).Settings());
    FMainTest->ChartSettings().Remove(settings);
}

} // namespace tw
