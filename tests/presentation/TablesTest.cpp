#include "PresentationTestSupport.h"

#include "labtest/QBPhase.h"
#include "labtest/QBTestWithPhaseView.h"
#include "presentation/ChartsFrame.h"
#include "presentation/PhaseViewTable.h"
#include "presentation/TableModels.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <sstream>

using namespace tw;
using namespace tw::testing;

namespace {

struct TResetCounter {
    int Resets = 0;
    TObserver Observer{TObserver::TOnNotifyExtended([this](TNotifySender, int code) {
        if (code == TPresentationTable::tcReset)
            ++Resets;
    })};
};

} // namespace

using Tables = PresentationFixture;

TEST_F(Tables, ResultsTableFollowsTheAxesOfItsChart) {
    SetTriaxialResults(Triaxial(), 11);
    TQBChartSettings& settings = *Triaxial().ChartSettings().ByChartType(ctEyyDS);
    TQBResultsTable table(settings, &Project->SystemOfUnits());
    EXPECT_EQ(table.RowCount(), 0);
    TResetCounter counter;
    table.Observable().AttachObserver(&counter.Observer);
    table.SetTableData(&Triaxial().Results());
    EXPECT_EQ(counter.Resets, 1);
    ASSERT_EQ(table.RowCount(), 11);
    ASSERT_EQ(table.ColumnCount(), 2);
    EXPECT_EQ(table.HeaderText(0), "ε_yy");
    EXPECT_EQ(table.HeaderText(1), "|σ_1 - σ_3| [kN/m²]");
    EXPECT_EQ(table.HeaderCaption(1), "|@s#_1# - @s#_3#|");
    EXPECT_EQ(table.CellText(5, 0), "-0.05");
    EXPECT_EQ(table.CellText(5, 1), "100");
    EXPECT_FALSE(table.IsCellEditable(5, 1));

    // A change of axis rewrites the table from the same data.
    settings.YAxis().SetResultType(rtQ);
    settings.XAxis().SetInvertSign(true);
    EXPECT_EQ(counter.Resets, 3);
    EXPECT_EQ(table.HeaderText(1), "q [kN/m²]");
    EXPECT_EQ(table.CellText(10, 1), "200");
    EXPECT_EQ(table.CellText(10, 0), "0.1");
    settings.YAxis().SetTitle("deviator q");
    EXPECT_EQ(table.HeaderText(1), "deviator q [kN/m²]");
    // And a new run rewrites it too.
    SetTriaxialResults(Triaxial(), 21);
    EXPECT_EQ(table.RowCount(), 21);

    // The rows of one phase only.
    table.SetRowRange(20, 5);
    EXPECT_EQ(table.RowCount(), 1);
    EXPECT_EQ(table.ResultRow(0), 20);
    table.ClearRowRange();
    EXPECT_EQ(table.RowCount(), 21);

    // Selected points mark their rows.
    table.SetSelectedRows({7, 3, 7});
    EXPECT_TRUE(table.HasSelection());
    EXPECT_TRUE(table.IsObjectSelected(3));
    EXPECT_TRUE(table.IsRowSelected(7));
    EXPECT_FALSE(table.IsRowSelected(4));
    table.SetTableData(nullptr);
    EXPECT_EQ(table.RowCount(), 0);
    EXPECT_FALSE(table.HasSelection());
    table.Observable().DetachObserver(&counter.Observer);
}

TEST_F(Tables, DerivedValuesOfTheSelectedPointAndThePanelContent) {
    SetTriaxialResults(Triaxial(), 11);
    TChartsFrame frame(*Project, ttTriaxial);
    TChart& chart = frame.Chart(0);
    ASSERT_EQ(chart.ChartType(), ctEyyDS);
    TQBChartTablePanelExt panel(chart.Settings(), &Project->SystemOfUnits());
    TQBDerivedValuesTable& derived = panel.DerivedParams();
    EXPECT_EQ(derived.CellText(0, 0), "Tangent");
    EXPECT_EQ(derived.CellText(1, 0), "Secant");
    EXPECT_EQ(derived.CellText(0, 1), ""); // nothing selected yet
    EXPECT_FALSE(derived.IsTangentAssigned());

    // The last point: the tangent takes the last pair; both are -2000 kN/m² per unit strain.
    chart.Selection().Click({0, 10}, TSelectModifier::None);
    panel.ShowSelection(chart);
    EXPECT_TRUE(derived.IsTangentAssigned());
    EXPECT_EQ(derived.CellText(0, 1), "-2000");
    EXPECT_EQ(derived.CellText(1, 1), "-2000");
    EXPECT_EQ(panel.Table().TableData(), &Triaxial().Results());
    EXPECT_TRUE(panel.Table().IsObjectSelected(10));
    // The first point: x = 0, no secant.
    chart.Selection().Click({0, 2}, TSelectModifier::Shift);
    chart.Selection().Click({0, 0}, TSelectModifier::Shift);
    panel.ShowSelection(chart);
    EXPECT_EQ(derived.CellText(1, 1), "NaN");
    EXPECT_EQ(FormatCellValue(-0.0), "0");
    EXPECT_TRUE(panel.Table().IsObjectSelected(2));
    EXPECT_TRUE(panel.Table().IsObjectSelected(0));
    EXPECT_FALSE(panel.Table().IsObjectSelected(10));
    chart.Selection().Clear();
    panel.ShowSelection(chart);
    EXPECT_EQ(derived.CellText(0, 1), "");
    EXPECT_FALSE(panel.Table().HasSelection());

    // Content given in chart coordinates is kept in base units and dumped back as it came.
    const std::vector<double> x{-0.01, -0.02, -0.04}, y{15.5, 31.25, 40.0};
    TQBResults& content = panel.AddContent(x, y);
    EXPECT_EQ(panel.LastAddedContent(), &content);
    EXPECT_DOUBLE_EQ(content.GetValueByType(1, rtSig1MinSig3), 31250.0); // pascal
    EXPECT_EQ(panel.Table().TableData(), &content);
    EXPECT_EQ(panel.Table().CellText(2, 1), "40");
    panel.AddContentFrom(Triaxial());
    std::istringstream dump(panel.DumpContentValues());
    std::string line;
    std::vector<std::pair<double, double>> points;
    while (std::getline(dump, line)) {
        double a, b;
        ASSERT_EQ(std::sscanf(line.c_str(), "%lf\t%lf", &a, &b), 2) << line;
        points.emplace_back(a, b);
    }
    ASSERT_EQ(points.size(), 3u + 11u);
    EXPECT_NEAR(points[1].first, -0.02, 1e-9);
    EXPECT_NEAR(points[1].second, 31.25, 1e-9);
    EXPECT_NEAR(points.back().second, 200.0, 1e-9);
    EXPECT_THROW(panel.AddContent(x, std::vector<double>{1.0}), EKovException);

    // Content drawn on the chart after the tests' curves, with the next fill.
    chart.SetContentSeries(panel.ContentSeries());
    frame.UpdateCharts();
    ASSERT_EQ(chart.Series().size(), 3u);
    EXPECT_EQ(chart.Series()[1].Kind, TChartSeriesKind::Content);
    EXPECT_EQ(chart.Series()[1].Y, y);

    // The phase selector.
    TPhaseSelector& phases = panel.PhaseSelector();
    EXPECT_EQ(TPhaseSelector::Caption(), "Selected phase");
    EXPECT_EQ(panel.PhaseIndex(), -1);
    panel.SetPhasesCount(3);
    EXPECT_EQ(phases.Entries(), (std::vector<std::string>{"Phase 1", "Phase 2", "Phase 3"}));
    EXPECT_EQ(panel.PhaseIndex(), 0);
    phases.SetPhaseIndex(2);
    panel.SetPhasesCount(4);
    EXPECT_EQ(panel.PhaseIndex(), 2);
    panel.SetPhasesCount(2);
    EXPECT_EQ(panel.PhaseIndex(), 0);
    EXPECT_THROW(phases.SetPhaseIndex(2), EKovException);
}

TEST_F(Tables, RowsOfAPhaseAsTheKernelWritesThem) {
    TQBTestBase& general = *Project->GeneralTest();
    general.Phases()[0].SetSteps(10);
    for (int steps : {5, 7, 3}) {
        general.AddNewPhase();
        general.Phases()[general.Phases().Count() - 1].SetSteps(steps);
    }
    // Phases 2 and 3 three times: 10, 5, 7, 5, 7, 5, 7, 3 steps as written.
    general.MarkPhasesCyclic(1, 2, 3);
    ASSERT_EQ(general.PhaseCountIncludingCycles(), 8);
    auto rows = [&](int phase) { return PhaseRows(general, phase); };
    EXPECT_EQ(rows(0)->First, 0);
    EXPECT_EQ(rows(0)->Count, 11);
    EXPECT_EQ(rows(1)->First, 10);
    EXPECT_EQ(rows(1)->Count, 6);
    EXPECT_EQ(rows(4)->First, 10 + 5 + 7 + 5);
    EXPECT_EQ(rows(4)->Count, 8);
    // The last phase ends at the last row: one initial row and one per step.
    EXPECT_EQ(rows(7)->First + rows(7)->Count, 1 + 10 + 3 * 12 + 3);
    EXPECT_FALSE(rows(8));
    EXPECT_FALSE(rows(-1));
}

TEST_F(Tables, PhaseViewTablesMirrorThePhases) {
    auto& oedometer = static_cast<TQBTestWithPhaseView&>(*Project->OedometerTest());
    std::unique_ptr<TPhaseViewTable> table =
        CreatePhaseViewTable(oedometer, &Project->SystemOfUnits());
    ASSERT_TRUE(table);
    EXPECT_FALSE(CreatePhaseViewTable(Triaxial(), nullptr));
    TResetCounter counter;
    table->Observable().AttachObserver(&counter.Observer);
    EXPECT_EQ(table->RowCount(), 1);
    EXPECT_EQ(table->ColumnName(2), "Siginc");
    EXPECT_EQ(table->HeaderText(2), "Stress inc. [kN/m²]");
    EXPECT_EQ(table->HeaderText(1), "Duration [day]");
    EXPECT_EQ(table->HeaderText(0), "Number of steps");
    EXPECT_EQ(table->CellText(0, 0), "100");
    EXPECT_EQ(table->CellText(0, 1), "1"); // one day

    // The table leads: a row added adds a phase, and the phase's notice adds no second row.
    table->AddRow();
    EXPECT_EQ(oedometer.Phases().Count(), 2);
    EXPECT_EQ(table->RowCount(), 2);
    table->InsertRow(0);
    EXPECT_EQ(oedometer.Phases().Count(), 3);
    EXPECT_EQ(table->RowCount(), 3);
    EXPECT_EQ(table->CellText(0, 0), "0"); // a blank phase at the top
    EXPECT_THROW(table->InsertRow(5), EKovException);
    // The test leads: the rows follow.
    oedometer.AddNewPhase();
    EXPECT_EQ(table->RowCount(), 4);
    oedometer.DeletePhase(0);
    EXPECT_EQ(table->RowCount(), 3);
    table->DeleteRow(2);
    EXPECT_EQ(oedometer.Phases().Count(), 2);
    EXPECT_THROW(table->DeleteRow(2), EKovException);
    EXPECT_GT(counter.Resets, 0);

    // Editing: values in presentation units go to the phase in base units.
    EXPECT_TRUE(table->IsCellEditable(1, 2));
    EXPECT_FALSE(table->IsCellEditable(1, 1)); // the duration needs time dependence
    EXPECT_EQ(table->SetCellText(1, 2, " -50 "), "");
    EXPECT_DOUBLE_EQ(oedometer.Phases()[1].GetStressIncrement(ldYY), -50000.0);
    EXPECT_EQ(table->CellText(1, 2), "-50");
    EXPECT_EQ(table->SetCellText(1, 0, "25"), "");
    EXPECT_EQ(oedometer.Phases()[1].Steps(), 25);
    EXPECT_NE(table->SetCellText(1, 0, "2.5"), "");
    EXPECT_NE(table->SetCellText(1, 2, "lots"), "");
    EXPECT_NE(table->SetCellText(1, 1, "3"), "");
    EXPECT_EQ(oedometer.Phases()[1].Steps(), 25);
    EXPECT_DOUBLE_EQ(oedometer.Phases()[1].GetStressIncrement(ldYY), -50000.0);
    // A value refused is reported, and the old one stays.
    EXPECT_EQ(table->SetCellText(1, 0, "-4"), "The number of steps can't be negative.");
    EXPECT_EQ(oedometer.Phases()[1].Steps(), 25);
    // Undo of an edit and of a row come back into the table.
    Manager.Undo();
    EXPECT_EQ(oedometer.Phases()[1].Steps(), 100);
    EXPECT_EQ(table->CellText(1, 0), "100");
    table->AddRow();
    EXPECT_EQ(table->RowCount(), 3);
    Manager.Undo();
    EXPECT_EQ(oedometer.Phases().Count(), 2);
    EXPECT_EQ(table->RowCount(), 2);
    Manager.Redo();
    EXPECT_EQ(table->RowCount(), 3);
    table->DeleteRow(2);
    // A change made elsewhere comes into the table.
    counter.Resets = 0;
    oedometer.Phases()[1].SetSteps(30);
    EXPECT_GE(counter.Resets, 1);
    EXPECT_EQ(table->CellText(1, 0), "30");

    // Deleting the last rows leaves what the test allows, and the table shows it.
    table->DeleteRow(0);
    table->DeleteRow(0);
    EXPECT_EQ(table->RowCount(), oedometer.Phases().Count());
    // Without a test nothing happens.
    table->SetTest(nullptr);
    table->Synchronize();
    EXPECT_EQ(table->RowCount(), 0);
    EXPECT_EQ(table->CellText(0, 0), "");
    table->Observable().DetachObserver(&counter.Observer);

    // The CRS test shows its strain increments.
    auto& crs = static_cast<TQBTestWithPhaseView&>(*Project->CRSTest());
    TPhaseViewTable_CRS crsTable(&crs, &Project->SystemOfUnits());
    EXPECT_EQ(crsTable.ColumnName(2), "Epsinc");
    EXPECT_EQ(crsTable.HeaderText(2), "Strain inc. [%]");
    EXPECT_EQ(crsTable.SetCellText(0, 2, "-5"), "");
    EXPECT_DOUBLE_EQ(crs.Phases()[0].GetStrainIncrement(ldYY), -5.0);
}
