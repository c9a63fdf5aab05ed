// The material panel and the test pages' own editors: material values through `set` commands,
// refused values, a model switch that brings other groups and other test properties, the phase
// tables of the oedometer and the general test, and a run of every test type from its page.

#include "GuiTestSupport.h"

#include "gui/ConfigurationSelector.h"
#include "gui/MaterialPanel.h"
#include "gui/PropertyEditors.h"
#include "gui/TestPage.h"
#include "materials/MaterialXTools.h"

#include <QAction>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTableView>
#include <QTest>
#include <QTreeView>

using namespace tw;
using namespace tw::testing;

namespace {

QPushButton* ButtonOf(QWidget& parent, const QString& text) {
    for (QPushButton* button : parent.findChildren<QPushButton*>())
        if (button->text() == text)
            return button;
    return nullptr;
}

std::string LastCommand(const TMainWindow& window) {
    const TCommandHistory& history = window.Commands().SuccessfulCommands();
    return history.Count() ? history.GetCommand(history.Count() - 1) : std::string();
}

} // namespace

TEST_F(GuiFixture, TheMaterialPanelEditsTheMaterialThroughCommands) {
    TMainWindow& window = OpenWindow();
    TMaterialTreeModel& model = window.MaterialPanel().Model();
    TKovSoilMaterialX& sand = *Project->MainMaterialX();
    // A drained material shows its effective friction angle.
    const QModelIndex phi = model.ValueIndexOf("PhiDrainedUndrainedA");
    ASSERT_TRUE(phi.isValid());
    EXPECT_EQ(model.data(phi, Qt::DisplayRole).toString(), "32");
    EXPECT_EQ(
        model
            .data(model.index(phi.row(), TMaterialTreeModel::mcUnit, phi.parent()), Qt::DisplayRole)
            .toString(),
        QString::fromUtf8("°"));
    // The group it stands in carries its caption.
    EXPECT_EQ(model.data(phi.parent(), Qt::DisplayRole).toString(), "Shear");

    ASSERT_TRUE(model.setData(phi, "35", Qt::EditRole));
    EXPECT_DOUBLE_EQ(TMaterialXTools::GetUserPropertyValueFrom(sand, "phi"), 35.0);
    // The line names the parameter by its path in the material's collections.
    const std::string line = LastCommand(window);
    EXPECT_EQ(line.rfind("_set Material.", 0), 0u) << line;
    EXPECT_TRUE(line.ends_with(".PhiDrainedUndrainedA 35")) << line;
    // The title follows the material, and the charts' envelope with it; undo takes it back.
    window.Action("actUndo")->trigger();
    EXPECT_DOUBLE_EQ(TMaterialXTools::GetUserPropertyValueFrom(sand, "phi"), 32.0);
    EXPECT_EQ(model.data(model.ValueIndexOf("PhiDrainedUndrainedA"), Qt::DisplayRole).toString(),
              "32");

    // A stiffness in the presentation unit: 40000 kN/m2 is stored in pascal.
    ASSERT_TRUE(model.setData(model.ValueIndexOf("ERef"), "40000", Qt::EditRole));
    EXPECT_DOUBLE_EQ(TMaterialXTools::GetUserPropertyValueFrom(sand, "ERef"), 40000e3);
    // Derived values follow live: the shear modulus G = E / 2 (1 + nu).
    EXPECT_EQ(model.data(model.ValueIndexOf("GRef"), Qt::DisplayRole).toString(), "15384.61538");

    // A value out of range is refused with the property's message and the old value stays.
    EXPECT_FALSE(model.setData(phi, "95", Qt::EditRole));
    ASSERT_EQ(Messages.Messages.size(), 1u);
    EXPECT_NE(Messages.Messages[0].find("must be between 0 and 90"), std::string::npos)
        << Messages.Messages[0];
    EXPECT_DOUBLE_EQ(TMaterialXTools::GetUserPropertyValueFrom(sand, "phi"), 32.0);

    // A read-only value can't be edited.
    const QModelIndex sinPhi = model.ValueIndexOf("sinPhi");
    ASSERT_TRUE(sinPhi.isValid());
    EXPECT_FALSE(model.flags(sinPhi) & Qt::ItemIsEditable);
}

TEST_F(GuiFixture, TheSoilModelOffersItsValidValuesAndASwitchReachesTheTestPages) {
    TMainWindow& window = OpenWindow();
    TMaterialTreeModel& model = window.MaterialPanel().Model();
    const QModelIndex soilModel = model.ValueIndexOf("SoilModel");
    ASSERT_TRUE(soilModel.isValid());
    const QVariantList choices = model.data(soilModel, TMaterialTreeModel::ChoicesRole).toList();
    const QStringList captions =
        model.data(soilModel, TMaterialTreeModel::ChoiceCaptionsRole).toStringList();
    EXPECT_TRUE(captions.contains("Hardening Soil"));
    EXPECT_FALSE(captions.join(' ').contains("Unused"));
    EXPECT_FALSE(choices.contains(16)); // a disabled value

    TTestPage& triaxial = window.Page(0);
    EXPECT_FALSE(triaxial.ConfigFrame()->Form().IsRowShown("PreconsolidationPressure"));
    QSignalSpy structure(&model, &TMaterialTreeModel::StructureChanged);
    ASSERT_TRUE(model.setData(soilModel, static_cast<int>(mxsmmHardeningSoil), Qt::EditRole));
    EXPECT_EQ(Project->MainMaterialX()->GetSoilModel(), mxsmmHardeningSoil);
    EXPECT_EQ(structure.count(), 1);
    EXPECT_TRUE(model.ValueIndexOf("E50Ref").isValid());
    EXPECT_FALSE(model.ValueIndexOf("ERef").isValid());
    // The triaxial test of a Hardening Soil material has a preconsolidation pressure: its row
    // shows in the input frame, and the title names the model's material.
    EXPECT_TRUE(triaxial.ConfigFrame()->Form().IsRowShown("PreconsolidationPressure"));
    EXPECT_NE(window.windowTitle().indexOf("Medium dense sand"), -1);

    window.Action("actUndo")->trigger();
    EXPECT_EQ(Project->MainMaterialX()->GetSoilModel(), mxsmmMohrCoulomb);
    EXPECT_TRUE(model.ValueIndexOf("ERef").isValid());
    EXPECT_FALSE(triaxial.ConfigFrame()->Form().IsRowShown("PreconsolidationPressure"));
}

TEST_F(GuiFixture, PhaseTablesAddEditAndRemovePhases) {
    TMainWindow& window = OpenWindow();
    TTestPage& oedometer = window.Page(2);
    ASSERT_EQ(oedometer.TestType(), ttOedometer);
    TQBTestBase& test = *Project->OedometerTest();
    QTableView* table = oedometer.ConfigFrame()->PhaseTable();
    ASSERT_NE(table, nullptr);
    QAbstractItemModel& rows = *table->model();
    ASSERT_EQ(rows.rowCount(), 1);
    ASSERT_EQ(rows.columnCount(), 3);
    EXPECT_EQ(rows.headerData(2, Qt::Horizontal, Qt::DisplayRole).toString(),
              QString::fromUtf8("Stress inc. [kN/m²]"));

    QPushButton* add = ButtonOf(*oedometer.ConfigFrame(), "&Add");
    ASSERT_NE(add, nullptr);
    QTest::mouseClick(add, Qt::LeftButton);
    ASSERT_EQ(test.Phases().Count(), 2);
    ASSERT_EQ(rows.rowCount(), 2);
    EXPECT_NE(LastCommand(window).find("addphase Oedometer_1"), std::string::npos)
        << LastCommand(window);
    // A typed cell is a command: the vertical stress increment of the second phase, in kN/m2.
    ASSERT_TRUE(rows.setData(rows.index(1, 2), "-200", Qt::EditRole));
    EXPECT_DOUBLE_EQ(test.Phases()[1].GetStressIncrement(ldYY), -200e3);
    EXPECT_NE(LastCommand(window).find("-200"), std::string::npos) << LastCommand(window);
    window.Action("actUndo")->trigger();
    EXPECT_DOUBLE_EQ(test.Phases()[1].GetStressIncrement(ldYY), 0.0);
    // The table follows the test when undo takes the phase away.
    window.Action("actUndo")->trigger();
    EXPECT_EQ(test.Phases().Count(), 1);
    EXPECT_EQ(rows.rowCount(), 1);
    // The first phase stays: Remove on a test of one phase changes nothing.
    QTest::mouseClick(ButtonOf(*oedometer.ConfigFrame(), "&Remove"), Qt::LeftButton);
    EXPECT_EQ(test.Phases().Count(), 1);
    // Insert at the selected row copies the phase before it; Remove takes the selected row.
    QTest::mouseClick(add, Qt::LeftButton);
    ASSERT_TRUE(rows.setData(rows.index(1, 0), "40", Qt::EditRole));
    table->setCurrentIndex(rows.index(1, 0));
    QTest::mouseClick(ButtonOf(*oedometer.ConfigFrame(), "&Insert"), Qt::LeftButton);
    ASSERT_EQ(test.Phases().Count(), 3);
    EXPECT_EQ(test.Phases()[1].Steps(), test.Phases()[0].Steps());
    EXPECT_EQ(test.Phases()[2].Steps(), 40);
    EXPECT_NE(LastCommand(window).find("insertphase Oedometer_1 1"), std::string::npos)
        << LastCommand(window);
    table->setCurrentIndex(rows.index(2, 0));
    QTest::mouseClick(ButtonOf(*oedometer.ConfigFrame(), "&Remove"), Qt::LeftButton);
    ASSERT_EQ(test.Phases().Count(), 2);
    EXPECT_NE(test.Phases()[1].Steps(), 40); // the selected one went
    EXPECT_NE(LastCommand(window).find("deletephase Oedometer_1 2"), std::string::npos)
        << LastCommand(window);

    // The general test shows its phases in a grid of their values, without the boundary
    // conditions (set for all phases by the test's own choices).
    TTestPage& general = window.Page(7);
    QTableView* grid = general.ConfigFrame()->PhaseTable();
    ASSERT_NE(grid, nullptr);
    QAbstractItemModel& cells = *grid->model();
    EXPECT_EQ(cells.headerData(0, Qt::Horizontal, Qt::DisplayRole).toString(), "Number of steps");
    ASSERT_TRUE(cells.setData(cells.index(0, 0), "250", Qt::EditRole));
    EXPECT_EQ(Project->GeneralTest()->Phases()[0].Steps(), 250);
    EXPECT_FALSE(cells.setData(cells.index(0, 0), "-1", Qt::EditRole));
    EXPECT_EQ(Project->GeneralTest()->Phases()[0].Steps(), 250);
    // Suction increments show only with suction on.
    const int suction = cells.columnCount() - 2;
    EXPECT_TRUE(grid->isColumnHidden(suction));
    EXPECT_FALSE(grid->isColumnHidden(0));
}

TEST_F(GuiFixture, EveryTestTypeRunsFromItsPage) {
    MakeProject(tm2D);
    TMainWindow& window = OpenWindow();
    for (int i = 0; i < window.PageCount(); ++i) {
        TTestPage& page = window.Page(i);
        window.SelectPage(i);
        Messages.Messages.clear();
        const bool done = window.RunSelectedTest();
        const TQBTestBase& test = *page.Test();
        EXPECT_TRUE(done) << TestTypeName(page.TestType());
        EXPECT_TRUE(Messages.Messages.empty()) << Messages.Messages.front();
        EXPECT_GT(test.ResultCount(), 1) << TestTypeName(page.TestType());
        // Each chart of the page has the test's curve.
        for (int c = 0; c < page.Charts().ViewCount(); ++c) {
            const TChart& chart = page.Charts().View(c).Chart();
            bool hasCurve = false;
            for (const TChartSeries& series : chart.Series())
                hasCurve = hasCurve || (series.Test == &test && series.PointCount() > 1);
            EXPECT_TRUE(hasCurve) << TestTypeName(page.TestType()) << " " << chart.Title();
        }
    }
}

TEST_F(GuiFixture, ATestConfigurationIsSavedAndLoadedFromTheFramesMenu) {
    TMainWindow& window = OpenWindow();
    TTestPage& page = window.Page(0);
    TConfigurationButton& button = page.ConfigFrame()->ConfigurationButton();
    EXPECT_EQ(button.text(), "Test configurations");
    TQBTestBase& test = *Project->TriaxialTest();
    ASSERT_TRUE(window.Commands().Run("set Triaxial_1.CellPressure 50"));
    button.Selector().AskConfigurationName = [](TSaveConfigurationDialog& dialog) {
        dialog.Name = "loose";
        dialog.SaveAsDefault = true;
        return true;
    };
    button.FillMenu();
    ASSERT_GE(button.menu()->actions().size(), 1);
    button.menu()->actions()[0]->trigger(); // Save
    EXPECT_TRUE(Messages.Messages.empty()) << Messages.Messages.front();

    ASSERT_TRUE(window.Commands().Run("set Triaxial_1.CellPressure 250"));
    button.FillMenu();
    QAction* loose = nullptr;
    for (QAction* action : button.menu()->actions())
        if (action->text() == "loose [Default]")
            loose = action;
    ASSERT_NE(loose, nullptr);
    EXPECT_TRUE(loose->isChecked()); // the active one
    loose->trigger();
    EXPECT_DOUBLE_EQ(test.GetInitialEffectiveStress(ldXX), -50e3);
    // It went as a command: the history can repeat it.
    const TCommandHistory& history = window.Commands().SuccessfulCommands();
    EXPECT_EQ(history.GetCommand(history.Count() - 1).rfind("_loadconfiguration Triaxial_1 \"", 0),
              0u)
        << history.GetCommand(history.Count() - 1);
    // The input frame follows, and the load is one step to undo.
    EXPECT_EQ(qobject_cast<QLineEdit*>(page.ConfigFrame()->Form().EditorOf("CellPressure"))->text(),
              "50");
    window.Action("actUndo")->trigger();
    EXPECT_DOUBLE_EQ(test.GetInitialEffectiveStress(ldXX), -250e3);
    // Another type's page doesn't offer it.
    TConfigurationButton& oedometer = window.Page(2).ConfigFrame()->ConfigurationButton();
    oedometer.FillMenu();
    EXPECT_EQ(oedometer.menu()->actions().size(), 2); // Save and Manage
}
