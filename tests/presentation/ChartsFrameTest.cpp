#include "PresentationTestSupport.h"

#include "labtest/QBPropertyNames.h"
#include "presentation/ChartsFrame.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace tw;
using namespace tw::testing;

namespace {

TChart* ChartOf(const TChartsFrame& frame, TQBChartType type) {
    for (int i = 0; i < frame.ChartCount(); ++i)
        if (frame.Chart(i).ChartType() == type)
            return &frame.Chart(i);
    return nullptr;
}

std::vector<TQBChartType> ChartTypes(const TChartsFrame& frame) {
    std::vector<TQBChartType> types;
    for (int i = 0; i < frame.ChartCount(); ++i)
        types.push_back(frame.Chart(i).ChartType());
    return types;
}

std::vector<const TChartSeries*> SeriesOfKind(const TChart& chart, TChartSeriesKind kind) {
    std::vector<const TChartSeries*> series;
    for (const TChartSeries& s : chart.Series())
        if (s.Kind == kind)
            series.push_back(&s);
    return series;
}

// Counts the frame's notifications by code.
struct TChangeCounter {
    int Rebuilt = 0, Updated = 0;
    TObserver Observer{TObserver::TOnNotifyExtended([this](TNotifySender, int code) {
        if (code == TChartsFrame::fcChartsRebuilt)
            ++Rebuilt;
        else if (code == TChartsFrame::fcSeriesUpdated)
            ++Updated;
    })};
};

} // namespace

using ChartsFrame = PresentationFixture;

TEST_F(ChartsFrame, DefaultChartsOfEachTestInTheirOrder) {
    TChartsFrame triaxial(*Project, ttTriaxial);
    // The suction, saturation and temperature charts are in the list but not shown without
    // suction and thermal; the others stand in the order of their sort values.
    EXPECT_EQ(Triaxial().ChartSettings().Count(), 9);
    EXPECT_EQ(ChartTypes(triaxial),
              (std::vector<TQBChartType>{ctEyyDS, ctE1Pw, ctS3S1, ctPQ, ctMohr, ctEyyEv}));
    Triaxial().Property(ip::SuctionCondition).SetValue(true);
    EXPECT_EQ(ChartTypes(triaxial), (std::vector<TQBChartType>{ctEyyDS, ctE1Pw, ctS3S1, ctPQ,
                                                               ctMohr, ctEyyEv, ctE1Suc, ctE1Sat}));
    Triaxial().Property(ip::ThermalCondition).SetValue(true);
    EXPECT_EQ(triaxial.ChartCount(), 9);
    EXPECT_EQ(ChartTypes(triaxial).back(), ctEvTemp);

    // The oedometer and the CRS test both draw the vertical stress flipped: more compression
    // higher up, more compressive strain further right.
    for (TQBTestType type : {ttOedometer, ttCRS}) {
        TChartsFrame frame(*Project, type);
        EXPECT_EQ(ChartTypes(frame),
                  (std::vector<TQBChartType>{ctEyySyy, ctSxxSyy, ctPQ, ctMohr, ctTEyy}));
        SetResults(*frame.MainTest(), 5, [](int i) {
            return TStressPoint{-50e3 * i, -100e3 * i, -50e3 * i, 0, -0.01 * i, 0};
        });
        const TChart& chart = *ChartOf(frame, ctEyySyy);
        EXPECT_TRUE(chart.XAxis().Flipped);
        EXPECT_TRUE(chart.YAxis().Flipped);
        TAxisMapping x, y;
        chart.PlotMappings(0, 0, 400, 300, x, y);
        EXPECT_LT(y.ToPixel(-400.0), y.ToPixel(0.0)) << TestTypeName(type);
        EXPECT_GT(x.ToPixel(-0.04), x.ToPixel(0.0)) << TestTypeName(type);
        // The values themselves are not turned: the last row is the most compressed.
        EXPECT_DOUBLE_EQ(chart.Series()[0].Y.back(), -400.0);
    }

    // The cyclic triaxial test: its charts follow the behaviour, and the first names the
    // damping ratio once there are results.
    TChartsFrame cyclic(*Project, ttCycTriaxial);
    EXPECT_EQ(ChartTypes(cyclic),
              (std::vector<TQBChartType>{ctEyySyy, ctPQ, ctMohr, ctTEyy, ctQ3Q1, ctEyyEv}));
    cyclic.MainTest()->Property(ip::Behaviour).SetValue(qbbhUndrained);
    EXPECT_EQ(ChartTypes(cyclic).back(), ctEyyPw);
    EXPECT_EQ(cyclic.Chart(0).Title(), "EyySyy");
    SetResults(*cyclic.MainTest(), 9, [](int i) {
        return TStressPoint{-100e3, -100e3 - 10e3 * std::sin(i * M_PI / 4), -100e3,
                            0,      -0.001 * std::sin(i * M_PI / 4 + 0.3),  0};
    });
    EXPECT_EQ(cyclic.Chart(0).Title().rfind("EyySyy  [ Damping ratio: ", 0), 0u)
        << cyclic.Chart(0).Title();

    // A 3D project has no pressuremeter: its page has no charts and no tests.
    Manager.LockRevert();
    TQBProject project3D(&Manager, std::make_unique<TFakeMaterial>(), tm3D);
    Manager.UnlockRevert();
    TChartsFrame pressuremeter(project3D, ttPressuremeter);
    EXPECT_EQ(pressuremeter.MainTest(), nullptr);
    EXPECT_EQ(pressuremeter.ChartCount(), 0);
    EXPECT_TRUE(pressuremeter.ShownTests().empty());
}

TEST_F(ChartsFrame, SeriesFromTheResultColumnsOfTheAxes) {
    TChartsFrame frame(*Project, ttTriaxial);
    TChangeCounter counter;
    frame.Observable().AttachObserver(&counter.Observer);
    // Before a run the charts show their axes and no points.
    ASSERT_NE(ChartOf(frame, ctEyyDS), nullptr);
    EXPECT_EQ(ChartOf(frame, ctEyyDS)->Series().size(), 1u);
    EXPECT_EQ(ChartOf(frame, ctEyyDS)->Series()[0].PointCount(), 0u);

    SetTriaxialResults(Triaxial());
    EXPECT_EQ(counter.Updated, 1); // the end of the run
    EXPECT_EQ(counter.Rebuilt, 0);
    const TChart& deviator = *ChartOf(frame, ctEyyDS);
    const TChartSeries& curve = deviator.Series()[0];
    EXPECT_EQ(curve.Caption, Triaxial().Caption()); // a main test is named by its caption
    EXPECT_EQ(curve.Color, ChartColors[0]);
    ASSERT_EQ(curve.PointCount(), 11u);
    // Strains as the kernel's fractions, stresses in the project's kN/m².
    EXPECT_DOUBLE_EQ(curve.X.back(), -0.1);
    EXPECT_NEAR(curve.Y.back(), 200.0, 1e-9);
    EXPECT_NEAR(curve.Y[5], 100.0, 1e-9);
    EXPECT_EQ(deviator.XAxis().Label(), "ε_yy");
    EXPECT_EQ(deviator.YAxis().Label(), "|σ_1 - σ_3| [kN/m²]");
    EXPECT_TRUE(deviator.XAxis().Flipped);

    // An inverted sign negates the values; the chart follows its setting at once.
    Triaxial().ChartSettings().ByChartType(ctEyyDS)->XAxis().SetInvertSign(true);
    EXPECT_EQ(counter.Rebuilt, 1);
    EXPECT_DOUBLE_EQ(ChartOf(frame, ctEyyDS)->Series()[0].X.back(), 0.1);

    // The project's units: a pressure in N/m² is a thousand times the number.
    Project->SystemOfUnits().SetForcePresentationUnit("N");
    EXPECT_NEAR(ChartOf(frame, ctEyyDS)->Series()[0].Y.back(), 200000.0, 1e-6);
    EXPECT_EQ(ChartOf(frame, ctEyyDS)->YAxis().UnitText, "N/m²");
    frame.Observable().DetachObserver(&counter.Observer);
}

TEST_F(ChartsFrame, LoadedTestsShownAndHiddenKeepTheirColours) {
    SetTriaxialResults(Triaxial());
    TQBTestBase& first = LoadCopyOf(Triaxial());
    TChartsFrame frame(*Project, ttTriaxial);
    // A loaded test of another type stays on its own page.
    LoadCopyOf(*Project->OedometerTest());
    ASSERT_EQ(frame.Tests().size(), 2u);
    TQBTestBase& second = LoadCopyOf(Triaxial());
    ASSERT_EQ(frame.Tests().size(), 3u);

    const TChart& pq = *ChartOf(frame, ctPQ);
    auto curves = SeriesOfKind(pq, TChartSeriesKind::Data);
    ASSERT_EQ(curves.size(), 3u);
    EXPECT_EQ(curves[1]->Caption, first.Title());
    EXPECT_NE(first.Title(), "");
    EXPECT_EQ(curves[1]->Color, ChartColors[1]);
    EXPECT_EQ(curves[2]->Color, ChartColors[2]);
    EXPECT_EQ(curves[2]->X, curves[0]->X);

    // Hiding the first loaded test drops its curve; the second keeps its colour.
    TChangeCounter counter;
    frame.Observable().AttachObserver(&counter.Observer);
    frame.SetTestVisible(first, false);
    EXPECT_EQ(counter.Updated, 1);
    curves = SeriesOfKind(*ChartOf(frame, ctPQ), TChartSeriesKind::Data);
    ASSERT_EQ(curves.size(), 2u);
    EXPECT_EQ(curves[1]->Test, &second);
    EXPECT_EQ(curves[1]->Color, ChartColors[2]);
    // The main test can't be hidden.
    frame.SetTestVisible(Triaxial(), false);
    EXPECT_EQ(frame.ShownTests().size(), 2u);
    frame.SetTestVisible(first, true);
    EXPECT_EQ(SeriesOfKind(*ChartOf(frame, ctPQ), TChartSeriesKind::Data).size(), 3u);

    // Deleting the loaded tests' material takes their curves away.
    const ITestMaterial* loadedMaterial = first.Material();
    ASSERT_NE(loadedMaterial, Project->MainMaterial());
    Project->DeleteMaterial(const_cast<ITestMaterial*>(loadedMaterial));
    EXPECT_EQ(frame.Tests().size(), 2u);
    EXPECT_EQ(SeriesOfKind(*ChartOf(frame, ctPQ), TChartSeriesKind::Data).size(), 2u);
    frame.Observable().DetachObserver(&counter.Observer);
}

TEST_F(ChartsFrame, HideShowAddEditAndDeleteCharts) {
    SetTriaxialResults(Triaxial());
    TChartsFrame frame(*Project, ttTriaxial);
    const int defaults = frame.ChartCount();

    // Hide a chart, and show it again from the list of charts.
    const int pq = frame.IndexOfChart(*Triaxial().ChartSettings().ByChartType(ctPQ));
    frame.HideChart(pq);
    EXPECT_EQ(frame.ChartCount(), defaults - 1);
    EXPECT_EQ(ChartOf(frame, ctPQ), nullptr);
    EXPECT_FALSE(Triaxial().ChartSettings().ByChartType(ctPQ)->Visible());
    frame.ToggleChartVisible(
        Triaxial().ChartSettings().IndexOf(Triaxial().ChartSettings().ByChartType(ctPQ)));
    EXPECT_NE(ChartOf(frame, ctPQ), nullptr);

    // A custom chart: the dialog offers only the columns the results have.
    std::unique_ptr<TChartDialogModel> dialog = frame.NewChartDialog();
    EXPECT_EQ(dialog->ChartType(), ctCustom);
    EXPECT_EQ(dialog->Title, "Custom");
    TAxisDialogModel& y = dialog->YAxis();
    const std::vector<TQBAxisCategory> categories = y.Categories();
    EXPECT_EQ(categories, (std::vector<TQBAxisCategory>{acStrain, acStress, acTime}));
    const auto& stresses = y.Items(acStress);
    EXPECT_NE(std::find(stresses.begin(), stresses.end(), rtQ), stresses.end());
    EXPECT_EQ(std::find(stresses.begin(), stresses.end(), rtPActive), stresses.end());
    EXPECT_FALSE(y.SelectType(rtTemperature));
    ASSERT_TRUE(y.SelectType(rtQ));
    EXPECT_EQ(y.Category(), acStress);
    EXPECT_EQ(y.ItemCaptions(acStress)[y.ItemIndex()], "q");
    y.Logarithmic = true;
    dialog->XAxis().SelectType(rtEpsQ);
    dialog->Title = "q against deviatoric strain";
    EXPECT_THROW(y.Select(acTemperature, 0), EKovException);

    TQBChartSettings& custom = frame.ApplyChartDialog(*dialog);
    ASSERT_EQ(frame.ChartCount(), defaults + 1);
    // After all others, and the setting holds the dialog's choice.
    const TChart& last = frame.Chart(frame.ChartCount() - 1);
    EXPECT_EQ(&last.Settings(), &custom);
    EXPECT_EQ(custom.Title(), "q against deviatoric strain");
    EXPECT_EQ(custom.YAxis().ResultType(), rtQ);
    EXPECT_TRUE(custom.YAxis().Logarithmic());
    EXPECT_EQ(custom.YAxis().StressSelection(), y.ItemIndex());
    EXPECT_EQ(last.Series()[0].Y.back(), ChartOf(frame, ctPQ)->Series()[0].Y.back());
    EXPECT_TRUE(last.YAxis().Logarithmic);

    // Deleting is for custom charts only.
    const int customIndex = frame.IndexOfChart(custom);
    EXPECT_TRUE(frame.CanDeleteChart(customIndex));
    EXPECT_FALSE(
        frame.CanDeleteChart(frame.IndexOfChart(*Triaxial().ChartSettings().ByChartType(ctMohr))));
    EXPECT_THROW(frame.DeleteChart(0), EKovException);
    frame.DeleteChart(customIndex);
    EXPECT_EQ(frame.ChartCount(), defaults);
    EXPECT_EQ(Triaxial().ChartSettings().ByChartType(ctCustom), nullptr);

    // Editing the axes of the p-q chart: no longer p and q, so no envelope either.
    const TChart* pqChart = ChartOf(frame, ctPQ);
    EXPECT_EQ(SeriesOfKind(*pqChart, TChartSeriesKind::FailureLine).size(), 1u);
    std::unique_ptr<TChartDialogModel> edit =
        frame.EditChartDialog(frame.IndexOfChart(pqChart->Settings()));
    ASSERT_TRUE(edit->YAxis().SelectType(rtSig1));
    edit->YAxis().InvertSign = true;
    frame.ApplyChartDialog(*edit);
    pqChart = ChartOf(frame, ctPQ);
    EXPECT_TRUE(SeriesOfKind(*pqChart, TChartSeriesKind::FailureLine).empty());
    EXPECT_NEAR(pqChart->Series()[0].Y.back(), 300.0, 1e-9);

    // Resetting the settings list brings the defaults back in one go.
    Triaxial().ResetChartSettings();
    EXPECT_EQ(frame.ChartCount(), defaults);
}

TEST_F(ChartsFrame, FollowsTheMaterialAndTheEnvelopeSetting) {
    SetTriaxialResults(Triaxial());
    TQBTestBase& loaded = LoadCopyOf(Triaxial());
    TChartsFrame frame(*Project, ttTriaxial);
    auto lines = [&] {
        return SeriesOfKind(*ChartOf(frame, ctS3S1), TChartSeriesKind::FailureLine);
    };
    ASSERT_EQ(lines().size(), 1u); // the main test's only
    EXPECT_EQ(lines()[0]->Caption, "failure line");
    EXPECT_FALSE(lines()[0]->InLegend);
    EXPECT_EQ(lines()[0]->PenWidth, 3.0);
    frame.SetFailureLines(adAll);
    ASSERT_EQ(lines().size(), 2u);
    EXPECT_EQ(lines()[1]->Test, &loaded);
    frame.SetFailureLines(adNone);
    EXPECT_TRUE(lines().empty());
    frame.SetFailureLines(adCurrent);

    // A change of the material's strength redraws the envelope: sigma1 = K sigma3 - a starts
    // at -a = -2 c cos(phi) / (1 - sin(phi)).
    EXPECT_NEAR(lines()[0]->Y[0], -2 * 10 * std::cos(M_PI / 6) / 0.5, 1e-9);
    Material->Numbers["cRef"] = 20e3;
    Material->Changed();
    EXPECT_NEAR(lines()[0]->Y[0], -2 * 20 * std::cos(M_PI / 6) / 0.5, 1e-9);
    // Without a strength there is no envelope.
    Material->Numbers.erase("phi");
    Material->Changed();
    EXPECT_TRUE(lines().empty());

    // A new material under test is followed too.
    auto stiff = std::make_unique<TFakeMaterial>();
    stiff->Numbers["cRef"] = 0.0;
    stiff->Numbers["phi"] = 40.0;
    TFakeMaterial* newMaterial = stiff.get();
    Project->SetMainMaterial(std::move(stiff));
    ASSERT_EQ(lines().size(), 1u);
    EXPECT_NEAR(lines()[0]->Y[0], 0.0, 1e-12);
    newMaterial->Numbers["cRef"] = 5e3;
    newMaterial->Changed();
    EXPECT_LT(lines()[0]->Y[0], 0.0);
}
