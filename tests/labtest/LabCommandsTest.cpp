// The lab's command surface on a project on a Mohr-Coulomb sand: what each command does, what it
// refuses, and that a refused line changes nothing.

#include "LabCommandsSupport.h"
#include "TemporaryFiles.h"
#include "labtest/TestConfigurationSelector.h"

#include "labtest/OAQBAdvancedOption.h"
#include "labtest/OAQBProject.h"
#include "labtest/QBProjectCommands.h"
#include "labtest/QBResultsTools.h"
#include "labtest/QBTestGeneral.h"
#include "materials/MaterialXTools.h"
#include "objects/KovValues.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using namespace tw;
using namespace tw::testing;

namespace {

double UserValue(const TKovMaterialX& material, const char* name) {
    return TMaterialXTools::GetUserPropertyValueFrom(material, name);
}

} // namespace

TEST_F(LabCommands, TheProjectAndItsHelpersAreTheDefaultObjectsInTheirOrder) {
    std::vector<std::string> names;
    for (TKovObject* object : Interpreter().Environment().DefaultObjects())
        names.push_back(object->GetObjectTypeName());
    EXPECT_EQ(names, (std::vector<std::string>{"QBProject", "QBCalculationTools", "QBSaveTools",
                                               "QBMaterialTools", "GroupInfoGetter",
                                               "TabulateHelper", "Listifier", "GroupMetadataSetter",
                                               "SimpleValueGroupSetter"}));
    // The project's command listing holds the commands a user types without a target.
    TCommandPatternMapper mapper;
    static_cast<const TCustomObjectAccessor*>(
        TObjectAccessors::Instance().GetAccessorFor(Project.get()))
        ->FillCommandPatternMapper(Project.get(), mapper, false);
    for (const char* command : {"undo", "calculate", "validate", "tabulate", "listify"})
        EXPECT_GE(mapper.IndexOf(command), 0) << command;
    EXPECT_LT(mapper.IndexOf("__kill"), 0); // diagnostics stay hidden

    // The tools have neither `set` nor `rename`.
    EXPECT_EQ(RunFailing("set QBCalculationTools 5").ErrorText,
              "Command \"set\" is not available for object QBCalculationTools");
    EXPECT_EQ(RunFailing("rename QBMaterialTools \"Tools\"").ErrorText,
              "Command \"rename\" is not available for object QBMaterialTools");
}

TEST_F(LabCommands, SetTakesValuesAsTheUserSeesThem) {
    // A test's pressure in kN/m², a material's stiffness in kN/m² and its angle in degrees.
    Ok("set Triaxial_1.CellPressure 150");
    EXPECT_DOUBLE_EQ(Project->TriaxialTest()->GetInitialEffectiveStress(ldXX), -150e3);
    Ok("set Material.ERef 45000");
    EXPECT_DOUBLE_EQ(UserValue(Material(), "ERef"), 45000e3);
    // A parameter is reached through its collections as well.
    Ok("set Material.User.Mechanical.Strength.Shear.phi 30");
    EXPECT_DOUBLE_EQ(UserValue(Material(), "phi"), 30.0);
    // An enumeration by its caption or its ordinal, an integer, a boolean.
    Ok("set Triaxial_1.Direction \"Extension\"");
    EXPECT_DOUBLE_EQ(Project->TriaxialTest()->Phases()[0].GetStrainIncrement(ldYY), 10.0);
    Ok("set Triaxial_1.Behaviour 1");
    Ok("set Triaxial_1.Steps 40");
    EXPECT_EQ(Project->TriaxialTest()->Phases()[0].Steps(), 40);
    Ok("set Material.TensionCutOff False");
    EXPECT_FALSE(TMaterialXTools::GetUserBooleanFrom(Material(), "TensionCutOff"));
    // A model switch keeps the values both models share.
    Ok("set Material.SoilModel \"HardeningSoil\"");
    EXPECT_EQ(Material().GetSoilModel(), mxsmmHardeningSoil);
    EXPECT_DOUBLE_EQ(UserValue(Material(), "phi"), 30.0);
    Ok("undo");
    EXPECT_EQ(Material().GetSoilModel(), mxsmmMohrCoulomb);

    // Other presentation units: with forces in N, pressures are N/m².
    Ok("set QBProject_1.UnitForce \"N\"");
    Ok("set Triaxial_1.CellPressure 120000");
    EXPECT_DOUBLE_EQ(Project->TriaxialTest()->GetInitialEffectiveStress(ldXX), -120e3);
    EXPECT_EQ(Ok("echo Material.ERef"), "ERef: 45000000 N/m²");

    EXPECT_EQ(RunFailing("set Material.phi 91").ErrorText,
              "Material.User.Mechanical.Strength.Shear.phi must be between 0 and 90 °");
    EXPECT_EQ(RunFailing("set Triaxial_1.Error 0.1").ErrorText,
              "Cannot set read-only property Triaxial_1.Error");
    EXPECT_EQ(RunFailing("set Triaxial_1.Behaviour \"Wet\"").ErrorText,
              "Invalid value: \"Wet\". Allowed values are: \"qbbhdrained\", \"qbbhundrained\" or "
              "ordinal value.");
    EXPECT_EQ(RunFailing("set Triaxial_1.Steps -1").ErrorText,
              "Triaxial_1.Steps must be between 0 and 2147483647");
    // A test owns its phases and results: no command makes it refer to another's.
    EXPECT_EQ(RunFailing("set Triaxial_1.Results Oedometer_1.Results").ErrorText,
              "Command \"set\" is not available for object QBResults_1");
}

TEST_F(LabCommands, SetPropertiesChecksEveryPairFirstAndWritesInDependencyOrder) {
    // G = E / (2 (1 + nu)): written after nu, the shear modulus given stands.
    Ok("sps Material (\"GRef\" 10000 \"nu\" 0.25)");
    EXPECT_NEAR(UserValue(Material(), "GRef"), 10000e3, 1e-6);
    EXPECT_DOUBLE_EQ(UserValue(Material(), "nu"), 0.25);
    EXPECT_NEAR(UserValue(Material(), "ERef"), 2 * 1.25 * 10000e3, 1e-6);
    EXPECT_EQ(Manager.UndoCount(), 1);

    // A bad second pair changes nothing, the first included.
    EXPECT_EQ(RunFailing("sps Material (\"cRef\" 5 \"phi\" 120)").ErrorText,
              "Incorrect new value for: phi");
    EXPECT_EQ(RunFailing("sps Triaxial_1 (\"CellPressure\" 50 \"Nope\" 1)").ErrorText,
              "Unknown property: Nope");
    EXPECT_EQ(RunFailing("sps Triaxial_1 (\"CellPressure\" 50 \"Error\" 1)").ErrorText,
              "Cannot set a read-only property: Error");
    EXPECT_EQ(RunFailing("sps Triaxial_1 \"CellPressure\" 50 \"cellpressure\" 60").ErrorText,
              "Cannot set a property more than once: CellPressure");
}

TEST_F(LabCommands, PhaseCommands) {
    TQBTestBase& oedometer = *Project->OedometerTest();
    EXPECT_EQ(Ok("addphase Oedometer_1"), "Added Oedometer_1.Phases[1]");
    EXPECT_EQ(Ok("ip Oedometer_1 0"), "Added Oedometer_1.Phases[0]");
    ASSERT_EQ(oedometer.Phases().Count(), 3);
    EXPECT_EQ(oedometer.Phases()[0].Steps(), 0); // at 0 a blank phase, else a copy
    EXPECT_EQ(oedometer.Phases()[2].Steps(), 100);
    // The table's cells are open to commands: steps and the vertical stress increment; the
    // duration only with a time-dependent material.
    Ok("set Oedometer_1.Phases[1].Sigyyinc -150");
    EXPECT_DOUBLE_EQ(oedometer.Phases()[1].GetStressIncrement(ldYY), -150e3);
    Ok("set Oedometer_1.Phases[0].Steps 10");
    EXPECT_EQ(RunFailing("set Oedometer_1.Phases[0].Duration 2").ErrorText,
              "Cannot set read-only property Oedometer_1.Phases[0].Duration");
    EXPECT_EQ(RunFailing("set CRS_1.Phases[0].Sigyyinc -10").ErrorText,
              "Cannot set read-only property CRS_1.Phases[0].Sigyyinc");
    Ok("set CRS_1.Phases[0].Epsyyinc -5");

    EXPECT_EQ(Ok("dp Oedometer_1 1"), "Deleted Oedometer_1.Phases[1]");
    EXPECT_EQ(oedometer.Phases().Count(), 2);
    EXPECT_EQ(RunFailing("insertphase Oedometer_1 3").ErrorText,
              "Specified insert index 3 is invalid\r\nValid insert range is from 0 to 2");
    EXPECT_EQ(RunFailing("deletephase Oedometer_1 -1").ErrorText,
              "Specified delete index -1 is invalid\r\nValid delete range is from 0 to 1");
    EXPECT_EQ(RunFailing("deletephase Triaxial_1 0").ErrorText,
              "Triaxial_1 must keep at least one phase");
    // Each is one step.
    Ok("undo 2");
    EXPECT_EQ(oedometer.Phases().Count(), 3);
    EXPECT_DOUBLE_EQ(oedometer.Phases()[1].GetStressIncrement(ldYY), -150e3);
}

TEST_F(LabCommands, CyclicPhasesOnlyOnTheGeneralTestAndCheckedInOrder) {
    // Refused before any index is looked at.
    EXPECT_EQ(RunFailing("markphasescyclic Triaxial_1 -5 99 0").ErrorText,
              "Phases can only be marked as cyclic for the general test");
    Ok("ap General_1");
    Ok("ap General_1");
    Ok("ap General_1"); // four phases
    const std::pair<const char*, const char*> refused[] = {
        {"mpc General_1 4 1 2",
         "Specified first cyclic phase index 4 is invalid\r\nValid insert range is from 0 to 3"},
        {"mpc General_1 1 -1 2", "Specified last cyclic phase index -1 is invalid\r\nValid last "
                                 "cyclic phase range is from 0 to 3"},
        {"mpc General_1 2 1 2",
         "The last cyclic phase index cannot be lower than the first cyclic phase index 2"},
        {"mpc General_1 1 2 0",
         "Specified number of cycles 0 is invalid\r\nNumber of cycles must be a positive number"},
        {"dcp General_1 0", "General test does not have cyclic phase definitions"},
    };
    for (const auto& [line, message] : refused)
        EXPECT_EQ(RunFailing(line).ErrorText, message);

    EXPECT_EQ(Ok("mpc General_1 1 2 3"), "Phases 1 to 2 of General_1 repeat 3 times");
    auto& general = static_cast<TQBTestGeneral&>(*Project->GeneralTest());
    EXPECT_EQ(general.PhaseCountIncludingCycles(), 4 + 2 * 2);
    const std::string name = general.CyclicPhases().GetItems(0)->Name();
    EXPECT_EQ(RunFailing("mpc General_1 2 3 2").ErrorText,
              "The specified cyclic phases would overlap with existing cyclic phases \"" + name +
                  "\", with first phase index 1 and last phase index 2");
    EXPECT_EQ(RunFailing("dcp General_1 1").ErrorText,
              "Specified delete index 1 is invalid\r\nValid delete range is from 0 to 0");
    // Deleting the first phase of a definition takes the definition with it.
    Ok("dp General_1 1");
    EXPECT_EQ(general.CyclicPhases().Count(), 0);
    Ok("undo");
    EXPECT_EQ(general.CyclicPhases().Count(), 1);
    Ok("dcp General_1 0");
    EXPECT_EQ(general.CyclicPhases().Count(), 0);
    EXPECT_EQ(general.Phases().Count(), 4);
}

TEST_F(LabCommands, TangentAndSecantOnResults) {
    // Without results, in words.
    EXPECT_EQ(RunFailing("tangent Triaxial_1.Results \"Epsyy\" \"DeviatoricStress\" 0 0").ErrorText,
              "There are no results for this test.");
    UseOurKernel();
    EXPECT_EQ(Ok("calculate Triaxial_1"), "Calculated Triaxial_1: 101 result rows");
    EXPECT_EQ(RunFailing("tgt Triaxial_1.Results \"Epsyy\" \"Suction\" 0 0").ErrorText,
              "Required result type \"Suction\" is not available");
    EXPECT_EQ(RunFailing("sct Triaxial_1.Results \"Nothing\" \"SigyyE\" 0 0").ErrorText,
              "Required result type \"Nothing\" is not available");

    // Drained triaxial compression at constant cell pressure is elastic at first:
    // dq / d(eps_a) = E' (Hooke's law), compression negative in the strains.
    EXPECT_EQ(Ok("tangent Triaxial_1.Results \"Epsyy\" \"DeviatoricStress\" 0 0"),
              "Closest point found on curve: (0 ; 0)\r\nTangent : -30000");
    EXPECT_DOUBLE_EQ(Interpreter().LastOutput()->GetResultValue(0), -30000.0);
    // On the plateau q = 2 (c cos phi + s3 sin phi) / (1 - sin phi); the last point takes the last
    // pair: a slope of 0.
    Ok("tangent Triaxial_1.Results \"Epsyy\" \"DeviatoricStress\" -0.1 229");
    EXPECT_NEAR(Interpreter().LastOutput()->GetResultValue(0), 0.0, 1e-6);
    // A secant where x is 0 is not a number.
    EXPECT_EQ(Ok("secant Triaxial_1.Results \"Epsyy\" \"DeviatoricStress\" 0 0"),
              "Closest point found on curve: (0 ; 0)\r\nSecant: nan");

    // Taken in the units of a new project, whatever the project shows.
    Ok("set QBProject_1.UnitForce \"N\"");
    EXPECT_EQ(Ok("secant Triaxial_1.Results \"Epsyy\" \"DeviatoricStress\" -0.002 60"),
              "Closest point found on curve: (-0.002 ; 60)\r\nSecant: -30000");

    // The columns are value arrays for the list commands; they follow a new run.
    EXPECT_EQ(Ok("count Triaxial_1.Results.DeviatoricStress"), "101");
    EXPECT_EQ(Ok("index Triaxial_1.Results.Epsyy 100"), "-0.1");
    TKovObject* column = Interpreter().ResolveObject(
        Interpreter().ResolveObject(Project->TriaxialTest(), "Results"), "Epsyy");
    Ok("set Triaxial_1.MaximumStrain 5");
    Ok("calculate Triaxial_1");
    EXPECT_EQ(Ok("index Triaxial_1.Results.Epsyy 100"), "-0.05");
    EXPECT_EQ(Interpreter().ResolveObject(
                  Interpreter().ResolveObject(Project->TriaxialTest(), "Results"), "Epsyy"),
              column);
    EXPECT_EQ(RunFailing("count Triaxial_1.Results.Suction").ErrorPos, 26);
}

TEST_F(LabCommands, CalculateValidatesAndReportsAFailedRun) {
    EXPECT_EQ(RunFailing("calculate Material").ErrorText, "Material is not a test object");
    // Without the kernel nothing runs, and the command says so.
    Project->SetApplicationDirectory("/nonexistent");
    EXPECT_EQ(RunFailing("calculate Triaxial_1").ErrorText, "Test kernel not available.");
    UseOurKernel();
    // A test without steps is not sent to the kernel.
    Ok("set Triaxial_1.Steps 0");
    EXPECT_EQ(RunFailing("calculate Triaxial_1").ErrorText,
              "Triaxial_1 cannot be calculated\r\nError: Triaxial_1 has no steps to calculate. "
              "Give at least one phase a number of steps.");
    Ok("set Triaxial_1.Steps 20");
    ASSERT_EQ(Ok("ca Triaxial_1"), "Calculated Triaxial_1: 21 result rows");
    EXPECT_TRUE(Project->TriaxialTest()->MaterialInSyncWithTest());
    // A run is no step to undo: the results are no part of the model's history.
    ASSERT_EQ(Manager.UndoCount(), 2);
    EXPECT_EQ(Manager.GetUndoName(0), "set Triaxial_1.Steps 20");

    // A model our kernel does not compute: it writes no results, and the command fails.
    Ok("set Material.SoilModel 7"); // jointed rock
    const TLine failed = Run("calculate Triaxial_1");
    EXPECT_FALSE(failed.Success);
    // The kernel's own reason comes with it on a line of its own, and only this run's.
    EXPECT_THAT(failed.ErrorText,
                StartsWith("Error reading (a part of) the test results.\r\nqbabc_3d: "));
    EXPECT_THAT(failed.ErrorText, HasSubstr("(Jointed Rock) is not supported by this kernel"));
    EXPECT_EQ(failed.ErrorText.find("qbabc"), failed.ErrorText.rfind("qbabc"));
    EXPECT_EQ(Project->TriaxialTest()->Results().RowCount(), 0);
    ASSERT_FALSE(Messages.Messages.empty());
    EXPECT_EQ(Messages.Messages.back().Text,
              "There was an error during the execution of the test.");
    // Back on the sand, a run leaves no reason behind.
    Ok("undo");
    ASSERT_EQ(Ok("calculate Triaxial_1"), "Calculated Triaxial_1: 21 result rows");
    EXPECT_EQ(Project->LastKernelMessage(), "");
}

// An unconfined sand loaded far beyond its strength by stress: the kernel stops in the first
// step. The rows it wrote count as the run's results, and the command says why they end there.
TEST_F(LabCommands, AKernelThatStopsPartWayLeavesItsRowsAndItsReason) {
    UseOurKernel();
    for (const char* direction : {"xx", "yy", "zz"})
        Ok(std::string("set General_1.BoundaryCondition") + direction + " 1"); // fixed stress
    Ok("set General_1.Phases[0].Sigyyinc -1000");
    Ok("set General_1.Phases[0].Steps 10");
    const TLine run = Run("calculate General_1");
    ASSERT_TRUE(run.Success) << run.ErrorText;
    EXPECT_THAT(run.Info, HasSubstr("stopped: no convergence in phase 1, step 1 of 10"));
    EXPECT_THAT(run.Info, EndsWith("Calculated General_1: 1 result rows"));
    EXPECT_THAT(Project->LastKernelMessage(), HasSubstr("no convergence"));
    EXPECT_EQ(Project->GeneralTest()->Results().RowCount(), 1);
}

// A saved configuration goes into a test by command, as one step to undo; a file that isn't
// there or belongs to another test type leaves the test as it was.
TEST_F(LabCommands, LoadConfigurationTakesASavedSetupAsOneStep) {
    TTemporaryFolder folder;
    TConfigurationStore store(folder.Path().string());
    Ok("set Triaxial_1.CellPressure 50");
    const std::string triaxial = (folder.Path() / "loose.tws.kovml").string();
    store.Write(*Project->TriaxialTest(), triaxial, Project->SystemOfUnits());
    const std::string oedometer = (folder.Path() / "oed.tws.kovml").string();
    store.Write(*Project->OedometerTest(), oedometer, Project->SystemOfUnits());
    Ok("set Triaxial_1.CellPressure 250");
    const int undoBefore = Manager.UndoCount();

    EXPECT_EQ(Ok("loadconfiguration Triaxial_1 \"" + triaxial + "\""),
              "Loaded Triaxial_1 from " + triaxial);
    EXPECT_DOUBLE_EQ(Project->TriaxialTest()->GetInitialEffectiveStress(ldXX), -50e3);
    EXPECT_EQ(Manager.UndoCount(), undoBefore + 1);
    Ok("undo");
    EXPECT_DOUBLE_EQ(Project->TriaxialTest()->GetInitialEffectiveStress(ldXX), -250e3);

    EXPECT_EQ(RunFailing("lcf Triaxial_1 \"" + triaxial + ".gone\"").ErrorText,
              "File " + triaxial + ".gone was not found.");
    EXPECT_THAT(RunFailing("lcf Triaxial_1 \"" + oedometer + "\"").ErrorText,
                StartsWith("Error reading Triaxial test configuration from file " + oedometer));
    EXPECT_EQ(RunFailing("lcf Material \"" + triaxial + "\"").ErrorText,
              "Material is not a test object");
    EXPECT_DOUBLE_EQ(Project->TriaxialTest()->GetInitialEffectiveStress(ldXX), -250e3);
}

TEST_F(LabCommands, ValidateSaysWhatTheObjectsCanTell) {
    EXPECT_EQ(Ok("validate Material"), "No problems found.");
    EXPECT_EQ(Ok("val Material \"Warnings\""), "No problems found.");
    EXPECT_EQ(RunFailing("validate Triaxial_1").ErrorText, "Triaxial_1 is not a material");
    EXPECT_EQ(RunFailing("validate Material \"Hints\"").ErrorText,
              "Invalid parameters. Make sure that the specified parameters match the ones that "
              "are expected.");
    // A material without a model.
    Ok("set Material.SoilModel 0");
    EXPECT_EQ(Ok("validate Material \"Errors\""),
              "Error: The value for SoilModel is not set. Please specify a valid value.");
    EXPECT_EQ(Ok("validate Material \"Warnings\""), "No problems found.");
    // Such a material goes to no kernel.
    UseOurKernel();
    EXPECT_EQ(RunFailing("calculate Triaxial_1").ErrorText,
              "Triaxial_1 cannot be calculated\r\nError: The value for SoilModel is not set. "
              "Please specify a valid value.");
}

TEST_F(LabCommands, CommandsOnManyObjects) {
    EXPECT_EQ(Ok("listify \"Shearing\" Triaxial_1 DSS_1"), "Added Shearing");
    Ok("smd Shearing \"source\" \"lab 3\"");
    EXPECT_EQ(Project->DSSTest()->GetMetadata("source"), "lab 3");
    Ok("set (Triaxial_1.CellPressure DSS_1.AbsSigyyinit) 80");
    EXPECT_DOUBLE_EQ(Project->DSSTest()->GetInitialEffectiveStress(ldYY), -80e3);
    EXPECT_DOUBLE_EQ(Project->TriaxialTest()->GetInitialEffectiveStress(ldXX), -80e3);
    // The second refuses: the first keeps its value too.
    EXPECT_EQ(RunFailing("set (Triaxial_1.CellPressure Triaxial_1.Error) 90").ErrorText,
              "Cannot set read-only property Triaxial_1.Error");
    const std::string info = Ok("info (Triaxial_1 DSS_1)");
    EXPECT_NE(info.find("CellPressure: 80 kN/m²"), std::string::npos);
    EXPECT_NE(info.find("AbsSigyyinit: 80 kN/m²"), std::string::npos);

    EXPECT_EQ(Ok("tabulate Oedometer_1.Phases \"Steps\" \"Sigyyinc\""),
              "Item\tSteps\tSigyyinc [kN/m²]\r\n0\t100\t0");
    EXPECT_EQ(RunFailing("tabulate Oedometer_1.Phases \"Steps\" \"Nope\"").ErrorText,
              "Unknown property: Nope");
    EXPECT_EQ(RunFailing("tabulate Triaxial_1.Results \"Epsyy\"").ErrorText,
              "Required result type \"Epsyy\" is not available");
    EXPECT_EQ(RunFailing("listify \"Shearing\" Oedometer_1").ErrorText,
              "This name is already used by an object (Group named \"Shearing\")");
    EXPECT_EQ(RunFailing("listify \"9lives\" Oedometer_1").ErrorText,
              "Could not set the name because it starts with an invalid character");
    // A group is a step of its own.
    Ok("undo 3");
    EXPECT_EQ(RunFailing("echo Shearing").ErrorPos, 6);
}

TEST_F(LabCommands, BadLinesChangeNothingAndSayWhere) {
    Ok("set Material.phi 31");
    Ok("ap Oedometer_1");
    const std::tuple<const char*, int, const char*> cases[] = {
        {"set Triaxial_1.CellPressure 3-5", 30, "Number must be followed by space or operand"},
        {"frobnicate Triaxial_1", 1,
         "Command \"frobnicate\" is not available for object Triaxial_1"},
        {"frobnicate 5", 1,
         "Command \"frobnicate\" is not recognized as a global command. Check the spelling or "
         "try specifying a target object."},
        {"addphase Triaxial_1 2", 1,
         "Invalid parameters. Make sure that the specified parameters match the ones that are "
         "expected."},
        {"set Triaxial_2.CellPressure 5", 5,
         "Unknown object. Check the spelling and ensure the object exists before trying to "
         "access it."},
        {"set Oedometer_1.Phases[7].Steps 5", 24,
         "Cannot access item 7 of \"QBPhaseList_1\" (valid indices are 0 to 1)"},
        {"set Triaxial_1.CellPressure (1 2", 29, "Unbalanced parenthesis"},
    };
    for (const auto& [line, position, message] : cases) {
        const TLine outcome = RunFailing(line);
        EXPECT_EQ(outcome.ErrorPos, position) << line;
        EXPECT_EQ(outcome.ErrorText, message) << line;
    }
}

TEST_F(LabCommands, UndoAndRedoOfTheProjectAndOfATest) {
    EXPECT_EQ(RunFailing("undo").ErrorText, "Nothing to undo");
    Ok("set Triaxial_1.CellPressure 50");
    Ok("ap Oedometer_1");
    EXPECT_EQ(Ok("undo Oedometer_1"), "Undone: ap Oedometer_1");
    EXPECT_EQ(Ok("u 1"), "Undone: set Triaxial_1.CellPressure 50");
    EXPECT_EQ(Ok("r 2"), "Redone: set Triaxial_1.CellPressure 50\r\nRedone: ap Oedometer_1");
    EXPECT_EQ(RunFailing("redo").ErrorText, "Nothing to redo");
    EXPECT_EQ(RunFailing("undo 0").ErrorText, "Invalid number of steps: 0");
}

TEST(ResultsTools, TangentAndSecantOfResultColumnsInTheirUnits) {
    TQBResults results(nullptr);
    const TQBResultType types[] = {rtEpsYY, rtSigYY};
    // A curve of vertical stress against strain: 0, -100, -300 kPa at 0, -0.1 %, -0.2 %.
    const double rows[][2] = {{0, 0}, {-0.001, -100e3}, {-0.002, -300e3}};
    for (const auto& row : rows)
        results.AddValuesInNewRow(types, row);
    const IQuantityPresenter* kN = &GetDefaultOASystemOfUnits();
    // Nearest in the curve's units (kN/m² and fractions): the stress decides.
    TTangentOrSecant value = TangentOfResults(results, rtEpsYY, rtSigYY, 0, -110, kN);
    EXPECT_EQ(value.Point, 1);
    EXPECT_DOUBLE_EQ(value.X, -0.001);
    EXPECT_DOUBLE_EQ(value.Y, -100);
    EXPECT_DOUBLE_EQ(value.Value, 200000); // (-300 + 100) / (-0.002 + 0.001)
    EXPECT_DOUBLE_EQ(SecantOfResults(results, rtEpsYY, rtSigYY, 0, -110, kN).Value, 100000);
    // The last point takes the last pair; in base units the stress is in pascal.
    EXPECT_DOUBLE_EQ(TangentOfResults(results, rtEpsYY, rtSigYY, 0, -1e9, nullptr).Value, 200e6);
    EXPECT_TRUE(std::isnan(SecantOfResults(results, rtEpsYY, rtSigYY, 0, 0, kN).Value));
    TQBResults empty(nullptr);
    EXPECT_EQ(TangentOfResults(empty, rtEpsYY, rtSigYY, 0, 0, kN).Point, -1);
}

TEST_F(LabCommands, TheAdvancedOptionsSwitchEveryTestThatCanHaveTheCondition) {
    TQBProjectOptions options(*Project);
    EXPECT_EQ(options.Thermal(), nullptr); // a 3D project
    EXPECT_EQ(Ok("set Suction True"), "Suction: True");
    EXPECT_TRUE(Project->TriaxialTest()->IsSuctionEnabled());
    EXPECT_TRUE(Project->OedometerTest()->IsSuctionEnabled());
    EXPECT_EQ(Ok("echo Suction"), "Suction: True");
    Ok("undo");
    EXPECT_FALSE(Project->TriaxialTest()->IsSuctionEnabled());
    EXPECT_EQ(RunFailing("set Suction 2").ErrorText,
              "Invalid parameters. Make sure that the specified parameters match the ones that "
              "are expected.");
    EXPECT_EQ(RunFailing("rename Suction \"Wet\"").ErrorText,
              "Command \"rename\" is not available for object Suction");
    // A material without pores has no suction.
    Ok("set Material.DrainageType \"Non-porous\"");
    EXPECT_EQ(RunFailing("set Suction True").ErrorText, "Cannot set read-only option Suction");
}
