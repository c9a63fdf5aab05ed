// The main window as a user drives it: a run on the triaxial page through our kernel, an edit
// typed into the input frame and its undo and redo, the option menus of the selected test, a
// missing kernel, and the progress window of a run that takes long.

#include "GuiTestSupport.h"

#include "gui/ChartsArea.h"
#include "gui/CommandLineFrame.h"
#include "gui/MaterialPanel.h"
#include "gui/ProgressWindow.h"
#include "gui/PropertyEditors.h"
#include "gui/TestPage.h"
#include "labtest/TarnwickSettings.h"
#include "materials/MaterialXTools.h"

#include <QAction>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QLineSeries>
#include <QPushButton>
#include <QTabWidget>
#include <QTableView>
#include <QTest>
#include <QTimer>

#include <cmath>
#include <fstream>
#include <numbers>

using namespace tw;
using namespace tw::testing;

namespace {

// The largest y of a chart's data series of the main test.
double LargestY(const TChart& chart) {
    double largest = -INFINITY;
    for (const TChartSeries& series : chart.Series())
        if (series.Kind == TChartSeriesKind::Data && series.TestIndex == 0)
            for (double y : series.Y)
                largest = std::max(largest, y);
    return largest;
}

int IndexOfChart(const TChartsArea& area, TQBChartType type) {
    for (int i = 0; i < area.ViewCount(); ++i)
        if (area.View(i).Chart().ChartType() == type)
            return i;
    return -1;
}

QLineEdit& LineEditOf(TTestPage& page, const std::string& property) {
    auto* edit = qobject_cast<QLineEdit*>(page.ConfigFrame()->Form().EditorOf(property));
    EXPECT_NE(edit, nullptr) << property;
    return *edit;
}

void TypeInto(QLineEdit& edit, const QString& text) {
    edit.setFocus();
    edit.selectAll();
    QTest::keyClicks(&edit, text);
    QTest::keyClick(&edit, Qt::Key_Return);
}

} // namespace

TEST_F(GuiFixture, RunOnTheTriaxialPageFillsItsChartsAndTablesFromOurKernel) {
    TMainWindow& window = OpenWindow();
    EXPECT_TRUE(Messages.Messages.empty());
    ASSERT_EQ(window.Pages().count(), 8);
    EXPECT_EQ(window.Pages().tabText(0), "Triaxial");
    EXPECT_EQ(window.Pages().tabText(6), "PMT");
    TTestPage& page = window.Page(0);
    ASSERT_NE(page.ConfigFrame(), nullptr);
    TChartsArea& charts = page.Charts();
    ASSERT_GT(charts.ViewCount(), 0);
    // Before the run the charts stand with their axes and no curve.
    EXPECT_EQ(page.ResultsPanel().ResultsTable().model()->rowCount(), 0);

    QTest::mouseClick(&page.ConfigFrame()->RunButton(), Qt::LeftButton);
    ASSERT_TRUE(Messages.Messages.empty()) << Messages.Messages.front();
    const TQBTestBase& test = *Project->TriaxialTest();
    ASSERT_EQ(test.ResultCount(), 101); // the initial state and 100 steps
    EXPECT_EQ(window.statusBar()->currentMessage(), "Calculated Triaxial_1: 101 result rows");
    // The run is a command of the history: scripts and the window go one way.
    const TCommandHistory& history = window.Commands().SuccessfulCommands();
    ASSERT_GT(history.Count(), 0);
    EXPECT_NE(history.GetCommand(history.Count() - 1).find("calculate Triaxial_1"),
              std::string::npos)
        << history.GetCommand(history.Count() - 1);

    // Each data series holds every result row, and Qt draws them all.
    const int e1ds = IndexOfChart(charts, ctEyyDS);
    ASSERT_GE(e1ds, 0);
    TChartView& view = charts.View(e1ds);
    const auto lines = view.chart()->series();
    ASSERT_FALSE(lines.isEmpty());
    auto* curve = qobject_cast<QLineSeries*>(lines.front());
    ASSERT_NE(curve, nullptr);
    EXPECT_EQ(curve->count(), 101);
    EXPECT_EQ(curve->pen().color(), QColor(0x1f, 0x77, 0xb4));
    // Drained compression of a Mohr-Coulomb sand ends on its strength (Mohr-Coulomb in principal
    // stresses): q_f = 2 (c cos phi + s3 sin phi) / (1 - sin phi), s3 = 100 kN/m2.
    const double phi = 32.0 * std::numbers::pi / 180.0;
    const double qf = 2 * (1.0 * std::cos(phi) + 100.0 * std::sin(phi)) / (1 - std::sin(phi));
    EXPECT_NEAR(LargestY(view.Chart()), qf, 0.01 * qf);
    // The strain axis is drawn flipped: compression, negative, grows to the right.
    EXPECT_TRUE(view.chart()->axes(Qt::Horizontal).front()->isReverse());

    // The results panel shows the current chart's numbers, one row per result row.
    charts.SetCurrentView(&view);
    EXPECT_EQ(page.ResultsPanel().ResultsTable().model()->rowCount(), 101);
    EXPECT_EQ(page.ResultsPanel().ResultsTable().model()->columnCount(), 2);

    // The Mohr chart keeps its circle round: a unit is as long on both axes.
    TChartView& mohr = charts.View(IndexOfChart(charts, ctMohr));
    QTest::qWait(20);
    const QRectF plot = mohr.PlotArea();
    const double xScale = plot.width() / mohr.XRange().Span();
    const double yScale = plot.height() / mohr.YRange().Span();
    EXPECT_NEAR(xScale / yScale, 1.0, 0.01);
}

TEST_F(GuiFixture, AnEditTypedIntoTheInputFrameIsOneCommandThatUndoAndRedoWalk) {
    TMainWindow& window = OpenWindow();
    TTestPage& page = window.Page(0);
    TQBTestBase& test = *Project->TriaxialTest();
    QAction* undo = window.Action("actUndo");
    QAction* redo = window.Action("actRedo");
    EXPECT_FALSE(undo->isEnabled());
    EXPECT_EQ(undo->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_Z));
    EXPECT_EQ(redo->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_Y));

    QLineEdit& cell = LineEditOf(page, "CellPressure");
    EXPECT_EQ(cell.text(), "100");
    TypeInto(cell, "250");
    EXPECT_DOUBLE_EQ(test.GetInitialEffectiveStress(ldXX), -250e3);
    const TCommandHistory& history = window.Commands().SuccessfulCommands();
    ASSERT_GT(history.Count(), 0);
    EXPECT_EQ(history.GetCommand(history.Count() - 1), "_set Triaxial_1.CellPressure 250");
    ASSERT_TRUE(undo->isEnabled());
    EXPECT_TRUE(undo->text().contains("CellPressure 250"));

    undo->trigger();
    EXPECT_DOUBLE_EQ(test.GetInitialEffectiveStress(ldXX), -100e3);
    EXPECT_EQ(cell.text(), "100");
    EXPECT_TRUE(redo->isEnabled());
    redo->trigger();
    EXPECT_DOUBLE_EQ(test.GetInitialEffectiveStress(ldXX), -250e3);
    EXPECT_EQ(cell.text(), "250");

    // A value the property refuses is refused where it is typed, with the property's message;
    // the old value stays, and nothing is added to undo.
    QLineEdit& steps = LineEditOf(page, "Steps");
    const int undoSteps = Manager.UndoCount();
    TypeInto(steps, "-5");
    ASSERT_EQ(Messages.Messages.size(), 1u);
    EXPECT_NE(Messages.Messages[0].find("must be between 0 and"), std::string::npos)
        << Messages.Messages[0];
    EXPECT_EQ(Messages.Titles[0], "Tarnwick");
    EXPECT_EQ(steps.text(), "100");
    EXPECT_EQ(test.Phases()[0].Steps(), 100);
    EXPECT_EQ(Manager.UndoCount(), undoSteps);
    // So is a text that is no number.
    TypeInto(steps, "many");
    ASSERT_EQ(Messages.Messages.size(), 2u);
    EXPECT_EQ(steps.text(), "100");

    // A choice goes the same way: the direction's combo box, then undo.
    auto* direction = qobject_cast<QComboBox*>(page.ConfigFrame()->Form().EditorOf("Direction"));
    ASSERT_NE(direction, nullptr);
    EXPECT_EQ(direction->currentText(), "Compression");
    direction->setCurrentIndex(direction->findText("Extension"));
    emit direction->activated(direction->currentIndex());
    EXPECT_GT(test.Phases()[0].GetStrainIncrement(ldYY), 0.0);
    undo->trigger();
    EXPECT_LT(test.Phases()[0].GetStrainIncrement(ldYY), 0.0);
    EXPECT_EQ(direction->currentText(), "Compression");
}

// The Settings dialog's failure envelope choice reaches every page at once and is the user's
// choice at the next start, from the user's settings file; a damaged file starts with the default.
TEST_F(GuiFixture, TheFailureEnvelopeChoiceIsKeptBetweenSessions) {
    TMainWindow& first = OpenWindow();
    EXPECT_EQ(first.Page(0).ChartsFrame().FailureLines(), adCurrent);
    first.SetFailureEnvelopes(adAll);
    for (int i = 0; i < first.PageCount(); ++i)
        EXPECT_EQ(first.Page(i).ChartsFrame().FailureLines(), adAll);
    Window.reset();
    TMainWindow& second = OpenWindow();
    EXPECT_EQ(second.Page(2).ChartsFrame().FailureLines(), adAll);
    const std::string file = second.Settings().FileName();
    EXPECT_EQ(std::filesystem::path(file).parent_path(),
              UserFolders.Path() / "config" / "tarnwick");
    Window.reset();
    std::ofstream(file) << "<Settings><broken";
    EXPECT_EQ(OpenWindow().Page(0).ChartsFrame().FailureLines(), adCurrent);
}

// The command line: a typed line runs as a command of the history and one undo step, its answer
// stands in the session; a failing line shows no box, stays in the editor with the caret where
// the interpreter stopped; Up and Down walk the lines typed.
TEST_F(GuiFixture, TheCommandLineRunsTypedLinesAndKeepsAFailingOneForMending) {
    TMainWindow& window = OpenWindow();
    TCommandLineFrame& line = window.CommandLine();
    ASSERT_NE(window.Action("actCommandLine"), nullptr);
    QTest::keyClicks(&line.Editor(), "set Triaxial_1.CellPressure 150");
    QTest::keyClick(&line.Editor(), Qt::Key_Return);
    EXPECT_DOUBLE_EQ(Project->TriaxialTest()->GetInitialEffectiveStress(ldXX), -150e3);
    EXPECT_TRUE(line.Editor().text().isEmpty());
    EXPECT_EQ(window.Commands().SuccessfulCommands().GetCommand(
                  window.Commands().SuccessfulCommands().Count() - 1),
              "set Triaxial_1.CellPressure 150");
    // The frame's input field follows, and the line is one step to undo.
    EXPECT_EQ(
        qobject_cast<QLineEdit*>(window.Page(0).ConfigFrame()->Form().EditorOf("CellPressure"))
            ->text(),
        "150");
    EXPECT_TRUE(window.Action("actUndo")->isEnabled());

    // A line the window sends for a field stands in the session too, marked; a typed one once.
    ASSERT_TRUE(window.Commands().Run("set Triaxial_1.Steps 50"));
    EXPECT_NE(line.Session().toPlainText().indexOf("· set Triaxial_1.Steps 50"), -1);
    EXPECT_EQ(line.Session().toPlainText().count("set Triaxial_1.CellPressure 150"), 1);

    line.Editor().setText("echo Triaxial_1.CellPressure");
    EXPECT_TRUE(line.RunLine());
    EXPECT_NE(line.Session().toPlainText().indexOf("2> echo Triaxial_1.CellPressure"), -1);
    EXPECT_NE(line.Session().toPlainText().indexOf("150"), -1);

    line.Editor().setText("set Triaxial_1.CellPresure 20");
    EXPECT_FALSE(line.RunLine());
    EXPECT_TRUE(Messages.Messages.empty()) << Messages.Messages.front();
    EXPECT_EQ(line.Editor().text(), "set Triaxial_1.CellPresure 20");
    EXPECT_GT(line.Editor().cursorPosition(), 3);
    EXPECT_NE(line.Session().toPlainText().indexOf("Error: "), -1);
    EXPECT_DOUBLE_EQ(Project->TriaxialTest()->GetInitialEffectiveStress(ldXX), -150e3);

    line.Editor().clear();
    QTest::keyClick(&line.Editor(), Qt::Key_Up);
    EXPECT_EQ(line.Editor().text(), "set Triaxial_1.CellPresure 20");
    QTest::keyClick(&line.Editor(), Qt::Key_Up);
    QTest::keyClick(&line.Editor(), Qt::Key_Up);
    QTest::keyClick(&line.Editor(), Qt::Key_Up); // stops at the oldest
    EXPECT_EQ(line.Editor().text(), "set Triaxial_1.CellPressure 150");
    QTest::keyClick(&line.Editor(), Qt::Key_Down);
    EXPECT_EQ(line.Editor().text(), "echo Triaxial_1.CellPressure");
    QTest::keyClick(&line.Editor(), Qt::Key_Down);
    QTest::keyClick(&line.Editor(), Qt::Key_Down);
    EXPECT_TRUE(line.Editor().text().isEmpty());
}

// Typing drops down the suggestions for the word at the caret; one taken goes in place of the
// word. Options -> Enable autocomplete turns them off, and the choice holds at the next start.
TEST_F(GuiFixture, TheCommandLineSuggestsWhileTypingUnlessTheUserTurnsItOff) {
    TMainWindow& window = OpenWindow();
    TCommandLineFrame& line = window.CommandLine();
    QAction* toggle = window.Action("actDisableAutocomplete");
    ASSERT_NE(toggle, nullptr) << "on by default";
    EXPECT_EQ(toggle->text(), "Enable autocomplete");
    EXPECT_TRUE(toggle->isChecked());
    line.Editor().setFocus();
    QTest::keyClicks(&line.Editor(), "set Triaxial_1.Cell");
    ASSERT_TRUE(line.IsSuggesting());
    EXPECT_EQ(line.Suggestions().Matches.front(), "CellPressure");
    line.AcceptSuggestion(0);
    EXPECT_EQ(line.Editor().text(), "set Triaxial_1.CellPressure");
    EXPECT_EQ(line.Editor().cursorPosition(), 27);
    EXPECT_FALSE(line.IsSuggesting());

    toggle->trigger();
    EXPECT_EQ(window.Action("actEnableAutocomplete"), toggle);
    line.Editor().clear();
    QTest::keyClicks(&line.Editor(), "set Triaxial_1.Cell");
    EXPECT_FALSE(line.IsSuggesting());
    Window.reset();
    TMainWindow& second = OpenWindow();
    ASSERT_NE(second.Action("actEnableAutocomplete"), nullptr);
    EXPECT_FALSE(second.Action("actEnableAutocomplete")->isChecked());
    EXPECT_FALSE(second.CommandLine().IsAutoCompleteEnabled());
}

TEST_F(GuiFixture, TheOptionMenusFollowTheSelectedTest) {
    MakeProject(tm2D);
    TMainWindow& window = OpenWindow();
    QAction* suction = window.Action("actEnableSuction");
    QAction* thermal = window.Action("actEnableThermal");
    ASSERT_NE(suction, nullptr);
    ASSERT_NE(thermal, nullptr);
    EXPECT_TRUE(suction->isEnabled());
    EXPECT_TRUE(thermal->isEnabled());
    EXPECT_FALSE(suction->isChecked());

    // The menu sends a command on the option object; the tests follow, and the input frame
    // shows the initial suction.
    TTestPage& triaxial = window.Page(0);
    EXPECT_FALSE(triaxial.ConfigFrame()->Form().IsRowShown("SuctionInit"));
    suction->trigger();
    EXPECT_EQ(window.Commands().SuccessfulCommands().GetCommand(
                  window.Commands().SuccessfulCommands().Count() - 1),
              "set Suction True");
    EXPECT_TRUE(Project->TriaxialTest()->IsSuctionEnabled());
    EXPECT_TRUE(suction->isChecked());
    EXPECT_TRUE(triaxial.ConfigFrame()->Form().IsRowShown("SuctionInit"));

    // The pressuremeter test can have neither: both entries are disabled on its page.
    window.SelectPage(6);
    ASSERT_EQ(window.CurrentPage().TestType(), ttPressuremeter);
    EXPECT_FALSE(suction->isEnabled());
    EXPECT_FALSE(thermal->isEnabled());
    EXPECT_FALSE(suction->isChecked());
    window.SelectPage(0);
    EXPECT_TRUE(suction->isEnabled());
    EXPECT_TRUE(suction->isChecked());

    // Undo takes the whole switch back, and the menu follows.
    window.Action("actUndo")->trigger();
    EXPECT_FALSE(Project->TriaxialTest()->IsSuctionEnabled());
    EXPECT_FALSE(suction->isChecked());

    // A non-porous material can't have suction: the entry goes grey.
    TMaterialTreeModel& material = window.MaterialPanel().Model();
    const QModelIndex drainage = material.ValueIndexOf("DrainageType");
    ASSERT_TRUE(drainage.isValid());
    ASSERT_TRUE(material.setData(drainage, static_cast<int>(mxsdtNonPorous), Qt::EditRole));
    EXPECT_FALSE(suction->isEnabled());
}

TEST_F(GuiFixture, AThreeDimensionalProjectHasNoThermalOptionAndNoPressuremeterTest) {
    TMainWindow& window = OpenWindow();
    EXPECT_EQ(window.Action("actEnableThermal"), nullptr);
    EXPECT_EQ(window.Page(6).Test(), nullptr);
    window.SelectPage(6);
    EXPECT_FALSE(window.Action("actTERun")->isEnabled());
    EXPECT_FALSE(window.Action("actEnableSuction")->isEnabled());
    window.SelectPage(7);
    EXPECT_TRUE(window.Action("actTERun")->isEnabled());
    EXPECT_TRUE(window.Action("mnuUse3D")->isChecked());
}

TEST_F(GuiFixture, AMissingKernelIsReportedAndLeavesTheWindowWithoutRun) {
    TTempFolder empty;
    MakeProject(tm3D, empty.Folder());
    TMainWindow& window = OpenWindow();
    ASSERT_EQ(Messages.Messages.size(), 1u);
    EXPECT_EQ(Messages.Messages[0], "Kernel file is missing and tests can not be performed: " +
                                        empty.Folder() + "qbabc_3d");
    EXPECT_EQ(Messages.Titles[0], "Tarnwick");
    EXPECT_FALSE(window.Action("mnuUse2D")->isEnabled());
    EXPECT_FALSE(window.Action("mnuUse3D")->isEnabled());
    EXPECT_FALSE(window.Action("actTERun")->isEnabled());
    EXPECT_FALSE(window.RunSelectedTest());
    EXPECT_FALSE(Project->TriaxialTest()->HasResults());

    // With only the 2D kernel there, the user can switch to it and run.
    std::filesystem::copy_file(std::string(TW_KERNEL_DIR) + "qbabc_2d", empty.Path() / "qbabc_2d");
    Messages.Messages.clear();
    EXPECT_FALSE(window.CheckKernels());
    EXPECT_TRUE(window.Action("mnuUse2D")->isEnabled());
    window.Action("mnuUse2D")->trigger();
    EXPECT_EQ(Project->TestMethod(), tm2D);
    EXPECT_TRUE(window.Action("actTERun")->isEnabled());
    EXPECT_TRUE(window.RunSelectedTest());
    EXPECT_EQ(Project->TriaxialTest()->ResultCount(), 101);
}

// A run the kernel refuses: one box with the run's message, and the kernel's reason below it so
// that the user knows what to change; the test's settings stay.
TEST_F(GuiFixture, AFailedRunShowsTheKernelsReasonBelowItsMessage) {
    MakeProject();
    TMainWindow& window = OpenWindow();
    ASSERT_TRUE(window.Commands().Run("set Material.SoilModel \"Jointed Rock\""));
    const double cellPressure = Project->TriaxialTest()->GetInitialEffectiveStress(ldXX);
    Messages.Messages.clear();
    Messages.Details.clear();
    EXPECT_FALSE(window.RunSelectedTest());
    ASSERT_EQ(Messages.Messages.size(), 1u);
    EXPECT_EQ(Messages.Messages[0], "There was an error during the execution of the test.");
    EXPECT_NE(Messages.Details[0].find("is not supported by this kernel"), std::string::npos)
        << Messages.Details[0];
    EXPECT_EQ(Project->TriaxialTest()->GetInitialEffectiveStress(ldXX), cellPressure);

    // Back on the sand, an unconfined sample loaded far beyond its strength by stress: the
    // kernel stops in the first step, the row it wrote stands, and the status bar says why.
    ASSERT_TRUE(window.Commands().Run("undo"));
    for (const char* direction : {"xx", "yy", "zz"})
        ASSERT_TRUE(window.Commands().Run(std::string("set General_1.BoundaryCondition") +
                                          direction + " 1"));
    ASSERT_TRUE(window.Commands().Run("set General_1.Phases[0].Sigyyinc -1000"));
    window.SelectPage(7);
    Messages.Messages.clear();
    EXPECT_TRUE(window.RunSelectedTest());
    EXPECT_TRUE(Messages.Messages.empty());
    EXPECT_EQ(Project->GeneralTest()->ResultCount(), 1);
    EXPECT_TRUE(window.statusBar()->currentMessage().startsWith(
        "The kernel stopped before the end of the test: "))
        << window.statusBar()->currentMessage().toStdString();
    EXPECT_NE(window.statusBar()->currentMessage().indexOf("no convergence"), -1);
}

TEST_F(GuiFixture, ALongRunShowsTheProgressWindowWhoseStopEndsTheKernel) {
    // A kernel that would run for half a minute and writes nothing.
    TTempFolder folder;
    const std::filesystem::path kernel = folder.Path() / "qbabc_3d";
    {
        std::ofstream script(kernel);
        script << "#!/bin/sh\nexec sleep 30\n";
    }
    std::filesystem::permissions(kernel, std::filesystem::perms::owner_all);
    MakeProject(tm3D, folder.Folder());
    TMainWindow& window = OpenWindow();

    bool shown = false, stopped = false;
    int repaints = 0;
    QString row, heading;
    QTimer watch;
    watch.setInterval(50);
    QObject::connect(&watch, &QTimer::timeout, [&] {
        TTaskProgressWindow* progress = TTaskProgressWindow::Showing();
        if (!progress || !progress->isVisible())
            return;
        shown = true;
        // The window keeps the program painted while the kernel runs.
        window.repaint();
        ++repaints;
        if (progress->RowCount() == 0 || stopped)
            return;
        heading = progress->findChild<QLabel*>()->text();
        // The run's task and the kernel's below it; only the kernel's can be stopped.
        for (int i = 0; i < progress->RowCount(); ++i) {
            QPushButton* stop = progress->StopButton(i);
            if (stop && stop->isEnabled()) {
                row = progress->RowText(i);
                stop->click();
                stopped = true;
                return;
            }
        }
    });
    watch.start();
    QElapsedTimer clock;
    clock.start();
    EXPECT_FALSE(window.RunSelectedTest());
    const qint64 elapsed = clock.elapsed();
    watch.stop();
    EXPECT_TRUE(shown);
    EXPECT_TRUE(stopped);
    EXPECT_GT(repaints, 0);
    EXPECT_GE(elapsed, 1000);
    EXPECT_LT(elapsed, 15000);
    EXPECT_NE(row.indexOf("Running calculation..."), -1) << row.toStdString();
    EXPECT_EQ(heading, "Running the triaxial test");
    // The stopped run wrote nothing: the user is told once (the run's own message, not the
    // failed command's besides), and the test has no results.
    ASSERT_EQ(Messages.Messages.size(), 1u);
    EXPECT_EQ(Messages.Messages.back(), "There was an error during the execution of the test.");
    EXPECT_FALSE(Project->TriaxialTest()->HasResults());
    EXPECT_EQ(TTaskProgressWindow::Showing(), nullptr);
}
