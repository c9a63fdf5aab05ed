#include "LabTestSupport.h"

#include "labtest/QBCyclicTestHelper.h"
#include "labtest/QBProject.h"
#include "labtest/QBTestCDSS.h"
#include "labtest/QBTestCycTriaxial.h"
#include "labtest/QBTestDSS.h"
#include "labtest/QBTestGeneral.h"
#include "objects/ObjectManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <vector>

using namespace tw;
using namespace tw::testing;
using ::testing::StrEq;
using ::testing::ThrowsMessage;

namespace {

std::unique_ptr<TQBProject> MakeProject(TKovObjectManager& manager, TQBTestMethod method = tm3D) {
    manager.LockRevert();
    auto project = Make<TQBProject>(&manager, std::make_unique<TFakeMaterial>(), method);
    manager.UnlockRevert();
    manager.ClearRevertStacks();
    return project;
}

std::vector<int> Steps(const TQBTestBase& test) {
    std::vector<int> steps;
    for (int i = 0; i < test.Phases().Count(); ++i)
        steps.push_back(test.Phases()[i].Steps());
    return steps;
}

std::vector<double> Increments(const TQBTestBase& test, TQBLoadDirection d, bool strain) {
    std::vector<double> values;
    for (int i = 0; i < test.Phases().Count(); ++i)
        values.push_back(strain ? test.Phases()[i].GetStrainIncrement(d)
                                : test.Phases()[i].GetStressIncrement(d));
    return values;
}

std::vector<TQBChartType> ChartTypes(const TQBTestBase& test) {
    std::vector<TQBChartType> types;
    for (int i = 0; i < test.ChartSettings().Count(); ++i)
        types.push_back(test.ChartSettings().GetItems(i)->ChartType());
    return types;
}

bool HasChart(const TQBTestBase& test, TQBChartType type) {
    return test.ChartSettings().ByChartType(type) != nullptr;
}

// Appends rows of a loop to the results: x and y in the given columns.
void AddRows(TQBResults& results, TQBResultType xType, TQBResultType yType,
             const std::vector<std::pair<double, double>>& points) {
    for (const auto& [x, y] : points) {
        const int row = results.AddNewRow();
        results.SetValueByType(row, xType, x);
        results.SetValueByType(row, yType, y);
    }
}

// A closed ellipse of n rows, x = a sin t and y = b sin(t + lag): its area is pi a b sin(lag)
// and its damping ratio sin(lag) / 2.
std::vector<std::pair<double, double>> Ellipse(int n, double a, double b, double lag) {
    std::vector<std::pair<double, double>> points;
    for (int k = 0; k < n; ++k) {
        const double t = 2.0 * std::numbers::pi * k / (n - 1);
        points.emplace_back(a * std::sin(t), b * std::sin(t + lag));
    }
    return points;
}

} // namespace

TEST(CyclicTests, FreshTestsHaveOneInitialPhaseAndTheStrainAmplitudeShown) {
    auto triaxial = Make<TQBTestCycTriaxial>(nullptr, tm3D);
    ASSERT_EQ(triaxial->Phases().Count(), 1);
    const TQBPhase& initial = triaxial->Phases()[0];
    EXPECT_EQ(initial.Steps(), 100);
    EXPECT_EQ(initial.Duration(), 0.0);
    EXPECT_EQ(initial.StrainIncrements(), TQBLoadDirectionDoubleArray{});
    EXPECT_EQ(initial.BoundaryConditions(),
              (TQBBoundaryConditions{bcFixedStress, bcFixedStress, bcFixedStress, bcFixedStress,
                                     bcFixedStrain, bcFixedStrain}));
    EXPECT_DOUBLE_EQ(triaxial->CellPressure(), 1e5);
    EXPECT_EQ(triaxial->Property<TIPInteger>("NumberOfCycles").Value(), 0);
    EXPECT_EQ(triaxial->Property<TIPInteger>("NumberOfStepsPerQuarterCycle").Value(), 100);
    EXPECT_EQ(triaxial->Property<TIPDouble>("DurationPerCycle").Value(), 0.0);
    EXPECT_TRUE(triaxial->IsStrainTestControl());
    for (const char* name : {"Behaviour", "TestControlType", "AxialStrainAmplitude"}) {
        EXPECT_TRUE(triaxial->GetIntrinsicPropertyByName(name)->IsPublished()) << name;
        EXPECT_FALSE(triaxial->GetIntrinsicPropertyByName(name)->ReadOnly()) << name;
    }
    EXPECT_FALSE(triaxial->GetIntrinsicPropertyByName("AxialStressAmplitude")->IsPublished());
    EXPECT_FALSE(triaxial->GetIntrinsicPropertyByName("StoredShearStrainAmplitude")->IsPublished());
    // Strain control and drained: time against axial strain, and the volumetric strain.
    EXPECT_EQ(ChartTypes(*triaxial),
              (std::vector<TQBChartType>{ctE1Suc, ctE1Sat, ctEvTemp, ctEyySyy, ctPQ, ctMohr, ctQ3Q1,
                                         ctTEyy, ctEyyEv}));

    auto cdss = Make<TQBTestCDSS>(nullptr, tm3D);
    ASSERT_EQ(cdss->Phases().Count(), 1);
    EXPECT_EQ(cdss->Phases()[0].Duration(), 0.0);
    EXPECT_EQ(cdss->Phases()[0].BoundaryConditions(),
              (TQBBoundaryConditions{bcFixedStrain, bcFixedStress, bcFixedStrain, bcFixedStress,
                                     bcFixedStrain, bcFixedStrain}));
    EXPECT_TRUE(cdss->GetIntrinsicPropertyByName("ShearStrainAmplitude")->IsPublished());
    EXPECT_FALSE(cdss->GetIntrinsicPropertyByName("ShearStressAmplitude")->IsPublished());
    EXPECT_TRUE(cdss->GetIntrinsicPropertyByName("TestControlType")->IsPublished());
    EXPECT_EQ(ChartTypes(*cdss), (std::vector<TQBChartType>{ctE1Suc, ctE1Sat, ctEvTemp, ctS3S1,
                                                            ctPQ, ctMohr, ctTxyGxy, ctGxyPw}));
}

TEST(CyclicTests, CyclesStepsDurationAndAmplitudeRebuildThePhases) {
    auto test = Make<TQBTestCycTriaxial>(nullptr, tm3D);
    test->Property<TIPDouble>("InitialAxialStressinc").SetValue(-20000);
    test->Property<TIPDouble>("AxialStrainAmplitude").SetValue(0.5);
    EXPECT_EQ(test->Phases().Count(), 1); // no cycle yet: the amplitude is kept for later
    test->Property<TIPInteger>("NumberOfStepsPerQuarterCycle").SetValue(5);
    test->Property<TIPInteger>("NumberOfCycles").SetValue(2);

    // 2 cycles of 5 steps per quarter: 5, 10, 10, 10, 5 behind the initial phase, which shares
    // the step count.
    EXPECT_EQ(Steps(*test), (std::vector<int>{5, 5, 10, 10, 10, 5}));
    EXPECT_EQ(test->Property<TIPInteger>("NumberOfCycles").Value(), 2);
    EXPECT_EQ(test->Property<TIPInteger>("NumberOfStepsPerQuarterCycle").Value(), 5);
    EXPECT_EQ(Increments(*test, ldYY, true), (std::vector<double>{0, 0.5, -1.0, 1.0, -1.0, 0.5}));
    EXPECT_EQ(test->Phases()[0].GetStressIncrement(ldYY), -20000);
    EXPECT_EQ(test->Phases()[0].GetBoundaryCondition(ldYY), bcFixedStress);
    for (int i = 1; i < test->Phases().Count(); ++i) {
        EXPECT_EQ(test->Phases()[i].GetBoundaryCondition(ldYY), bcFixedStrain);
        EXPECT_EQ(test->Phases()[i].GetBoundaryCondition(ldXX), bcFixedStress);
        EXPECT_EQ(test->Phases()[i].GetStrainIncrement(ldXX), 0.0);
        EXPECT_EQ(test->Phases()[i].Parent(), test.get());
    }

    test->Property<TIPDouble>("DurationPerCycle").SetValue(400);
    EXPECT_EQ(test->Phases()[1].Duration(), 100);
    EXPECT_EQ(test->Phases()[2].Duration(), 200);
    EXPECT_EQ(test->Property<TIPDouble>("DurationPerCycle").Value(), 400);
    EXPECT_EQ(test->Phases()[0].Duration(), 0.0);

    // Three cycles keep steps, duration and amplitude: factors 1, -2, 2, -2, 2, -2, 1.
    test->Property<TIPInteger>("NumberOfCycles").SetValue(3);
    EXPECT_EQ(Increments(*test, ldYY, true), (std::vector<double>{0, 0.5, -1, 1, -1, 1, -1, 0.5}));
    EXPECT_EQ(test->Phases()[7].Duration(), 100);
    EXPECT_EQ(test->PhaseCountIncludingCycles(), 8);

    // No cycle: only the initial phase; the amplitude stays for the next cycles.
    test->Property<TIPInteger>("NumberOfCycles").SetValue(0);
    EXPECT_EQ(test->Phases().Count(), 1);
    EXPECT_EQ(test->Property<TIPDouble>("DurationPerCycle").Value(), 0.0);
    EXPECT_EQ(test->Property<TIPDouble>("AxialStrainAmplitude").Value(), 0.5);
    test->Property<TIPInteger>("NumberOfCycles").SetValue(1);
    EXPECT_EQ(Increments(*test, ldYY, true), (std::vector<double>{0, 0.5, -1.0, 0.5}));
    EXPECT_EQ(test->Phases()[0].GetStressIncrement(ldYY), -20000);

    // The stress amplitude is not the control: stored, but the phases keep theirs.
    test->Property<TIPDouble>("AxialStressAmplitude").SetValue(30000);
    EXPECT_EQ(test->StoredStressAmplitude(), 30000);
    EXPECT_EQ(Increments(*test, ldYY, false), (std::vector<double>{-20000, 0, 0, 0}));
}

TEST(CyclicTests, CyclesAreReadBackByDivisionOnTriaxialAndRoundedOnSimpleShear) {
    // Phase lists of any length, as a file may bring them.
    auto triaxial = Make<TQBTestCycTriaxial>(nullptr, tm3D);
    auto cdss = Make<TQBTestCDSS>(nullptr, tm3D);
    const std::vector<int> byDivision{0, 0, 1, 1, 2, 2, 3, 3};
    const std::vector<int> byRounding{0, 0, 1, 2, 2, 2, 3, 4};
    for (int count = 2; count <= 9; ++count) {
        for (TQBTestBase* test :
             {static_cast<TQBTestBase*>(triaxial.get()), static_cast<TQBTestBase*>(cdss.get())})
            test->Phases().AddWithSettings(test, 1, 0, {}, {}, {});
        EXPECT_EQ(triaxial->NumberOfCycles(), byDivision[count - 2]) << count << " phases";
        EXPECT_EQ(cdss->NumberOfCycles(), byRounding[count - 2]) << count << " phases";
    }
    triaxial->ClipPhases(0);
    cdss->ClipPhases(1);
    EXPECT_EQ(triaxial->Property<TIPInteger>("NumberOfCycles").Value(), 0);
    EXPECT_EQ(cdss->Property<TIPInteger>("NumberOfCycles").Value(), 0);
    EXPECT_EQ(triaxial->Property<TIPInteger>("NumberOfStepsPerQuarterCycle").Value(), 0);
}

TEST(CyclicTests, ChangingTheControlResetsTheNewAmplitudeAndIsOneUndoStep) {
    TKovObjectManager manager;
    auto project = MakeProject(manager);
    auto& cdss = static_cast<TQBTestCDSS&>(*project->CDSSTest());
    cdss.Property<TIPInteger>("NumberOfStepsPerQuarterCycle").SetValue(10);
    cdss.Property<TIPInteger>("NumberOfCycles").SetValue(1);
    cdss.Property<TIPDouble>("ShearStrainAmplitude").SetValue(1.0);
    cdss.Property<TIPDouble>("ShearStressAmplitude").SetValue(5000); // hidden, kept
    EXPECT_EQ(manager.UndoCount(), 4);

    cdss.Property<TIPEnumeration>("TestControlType").SetIntValue(tctStress);
    EXPECT_EQ(manager.UndoCount(), 5);
    auto& stress = *cdss.GetIntrinsicPropertyByName("ShearStressAmplitude");
    auto& strain = *cdss.GetIntrinsicPropertyByName("ShearStrainAmplitude");
    EXPECT_TRUE(stress.IsPublished());
    EXPECT_FALSE(stress.ReadOnly());
    EXPECT_FALSE(strain.IsPublished());
    EXPECT_EQ(cdss.StoredStressAmplitude(), 0.0);
    ASSERT_EQ(cdss.Phases().Count(), 4);
    EXPECT_EQ(cdss.Phases()[0].GetBoundaryCondition(ldXY), bcFixedStress);
    for (int i = 1; i < 4; ++i) {
        EXPECT_EQ(cdss.Phases()[i].GetBoundaryCondition(ldXY), bcFixedStress);
        EXPECT_EQ(cdss.Phases()[i].GetStressIncrement(ldXY), 0.0);
        EXPECT_EQ(cdss.Phases()[i].Steps(), i == 2 ? 20 : 10);
    }

    // Undo brings back the control, the amplitude, the phases and what is shown.
    manager.Undo();
    EXPECT_EQ(cdss.TestControlType(), tctStrain);
    EXPECT_EQ(cdss.StoredStressAmplitude(), 5000);
    EXPECT_TRUE(strain.IsPublished());
    EXPECT_FALSE(stress.IsPublished());
    ASSERT_EQ(cdss.Phases().Count(), 4);
    EXPECT_EQ(cdss.Phases()[1].GetBoundaryCondition(ldXY), bcFixedStrain);
    EXPECT_EQ(cdss.Phases()[1].GetStrainIncrement(ldXY), 1.0);
    manager.Redo();
    EXPECT_EQ(cdss.TestControlType(), tctStress);
    EXPECT_TRUE(stress.IsPublished());
    EXPECT_EQ(cdss.Phases()[2].GetBoundaryCondition(ldXY), bcFixedStress);

    // Each of the four settings was one step.
    manager.Undo();
    for (int i = 0; i < 4; ++i)
        manager.Undo();
    EXPECT_EQ(cdss.Phases().Count(), 1);
    EXPECT_EQ(cdss.Phases()[0].Steps(), 100);
    EXPECT_EQ(cdss.StoredStrainAmplitude(), 0.0);
    EXPECT_EQ(cdss.StoredStressAmplitude(), 0.0);
}

TEST(CyclicTests, TriaxialChartsFollowControlAndBehaviourAlsoOnUndo) {
    TKovObjectManager manager;
    auto project = MakeProject(manager);
    auto& test = static_cast<TQBTestCycTriaxial&>(*project->CycTriaxialTest());
    test.Property<TIPEnumeration>("TestControlType").SetIntValue(tctStress);
    EXPECT_TRUE(HasChart(test, ctTQyy));
    EXPECT_FALSE(HasChart(test, ctTEyy));
    test.Property<TIPEnumeration>("Behaviour").SetIntValue(qbbhUndrained);
    EXPECT_TRUE(HasChart(test, ctEyyPw));
    EXPECT_FALSE(HasChart(test, ctEyyEv));
    EXPECT_EQ(test.ChartSettings().Count(), 9);

    manager.Undo();
    EXPECT_TRUE(HasChart(test, ctEyyEv));
    EXPECT_FALSE(HasChart(test, ctEyyPw));
    manager.Undo();
    EXPECT_TRUE(HasChart(test, ctTEyy));
    EXPECT_FALSE(HasChart(test, ctTQyy));
    EXPECT_TRUE(test.GetIntrinsicPropertyByName("AxialStrainAmplitude")->IsPublished());

    // A setting the user removed comes back when the charts are brought in line.
    test.ChartSettings().RemoveChartType(ctTEyy);
    EXPECT_EQ(test.ChartSettings().ByChartType(ctTEyy), nullptr);
    test.UpdateChartsSettings(true);
    EXPECT_NE(test.ChartSettings().ByChartType(ctTEyy), nullptr);
    // And after phases were read, from the control of the test.
    test.ChartSettings().RemoveChartType(ctTEyy);
    test.DoAfterLoadPhases();
    EXPECT_TRUE(HasChart(test, ctTEyy));
}

TEST(CyclicTests, AfterPhasesAreReadTheAmplitudeComesFromThem) {
    auto test = Make<TQBTestCDSS>(nullptr, tm3D);
    test->Property<TIPEnumeration>("TestControlType").SetIntValue(tctStress);
    // A file's phases: initial, +A, -2A, +A with a stress amplitude of 12 kPa.
    for (double factor : {1.0, -2.0, 1.0}) {
        TQBLoadDirectionDoubleArray stresses{};
        stresses[ldXY] = factor * 12000;
        test->Phases().AddWithSettings(test.get(), 10, 0, {}, stresses, {});
    }
    test->DoAfterLoadPhases();
    EXPECT_EQ(test->Property<TIPDouble>("ShearStressAmplitude").Value(), 12000);
    EXPECT_EQ(test->Property<TIPInteger>("NumberOfCycles").Value(), 1);
}

TEST(CyclicTests, DampingRatioOfKnownLoops) {
    auto results = Make<TQBResults>(nullptr);
    const TQBCyclicTestHelper helper(*results, rtEpsYY, rtSigYY);
    EXPECT_EQ(helper.CalculateDampingRatio(8), 0.0); // no rows

    // Rows before the last loop would widen the ranges: only the last N rows count.
    AddRows(*results, rtEpsYY, rtSigYY, {{-50, 900}, {40, -700}});
    // A 2 x 2 square, clockwise: area 4, W = 2 * 0.5 * 2 = 2.
    AddRows(*results, rtEpsYY, rtSigYY,
            {{0, 0}, {0, 1}, {0, 2}, {1, 2}, {2, 2}, {2, 1}, {2, 0}, {0, 0}});
    EXPECT_NEAR(helper.CalculateDampingRatio(8), 4.0 / (2.0 * std::numbers::pi), 1e-15);
    // Turned the other way round the area counts negative.
    auto reversed = Make<TQBResults>(nullptr);
    AddRows(*reversed, rtEpsYY, rtSigYY,
            {{0, 0}, {2, 0}, {2, 1}, {2, 2}, {1, 2}, {0, 2}, {0, 1}, {0, 0}});
    EXPECT_NEAR(TQBCyclicTestHelper(*reversed, rtEpsYY, rtSigYY).CalculateDampingRatio(8),
                -4.0 / (2.0 * std::numbers::pi), 1e-15);
    // Asking for more rows than there are takes them all, the outliers included.
    const double all = helper.CalculateDampingRatio(1000);
    EXPECT_NE(all, helper.CalculateDampingRatio(8));
    EXPECT_EQ(all, helper.CalculateDampingRatio(10));

    // A lagging ellipse of strains as fractions and stresses in pascal: sin(lag) / 2.
    auto ellipse = Make<TQBResults>(nullptr);
    AddRows(*ellipse, rtGamXY, rtTauXY, Ellipse(1000, 0.002, 40000, 0.3));
    EXPECT_NEAR(TQBCyclicTestHelper(*ellipse, rtGamXY, rtTauXY).CalculateDampingRatio(1000),
                std::sin(0.3) / 2.0, 1e-4);

    // A flat loop has no y range: 0, not a division by zero.
    auto flat = Make<TQBResults>(nullptr);
    AddRows(*flat, rtEpsYY, rtSigYY, {{0, -100}, {1, -100}, {2, -100}, {0, -100}});
    EXPECT_EQ(TQBCyclicTestHelper(*flat, rtEpsYY, rtSigYY).CalculateDampingRatio(4), 0.0);
}

TEST(CyclicTests, ARunWithCyclesGivesTheDampingRatioOfTheLastCycle) {
    auto test = Make<TQBTestCycTriaxial>(nullptr, tm3D);
    test->Property<TIPInteger>("NumberOfStepsPerQuarterCycle").SetValue(250);
    // Without cycles nothing is derived, whatever the rows.
    AddRows(test->Results(), rtEpsYY, rtSigYY, Ellipse(1000, 0.01, 50000, 0.2));
    test->DoAfterLoadResults();
    EXPECT_EQ(test->DampingRatio(), 0.0);

    test->Property<TIPInteger>("NumberOfCycles").SetValue(2);
    // An earlier cycle with another lag, then the last cycle of 4 * 250 rows.
    test->Results().ClearRows();
    AddRows(test->Results(), rtEpsYY, rtSigYY, Ellipse(1000, 0.01, 50000, 0.6));
    AddRows(test->Results(), rtEpsYY, rtSigYY, Ellipse(1000, 0.01, 50000, 0.2));
    test->DoAfterLoadResults();
    EXPECT_NEAR(test->DampingRatio(), std::sin(0.2) / 2.0, 1e-4);
    EXPECT_EQ(test->FirstChartTitle("EyySyy"),
              Format("EyySyy  [ Damping ratio: %f ]", test->DampingRatio()));

    // A copy carries the ratio with its results.
    auto clone = test->Clone();
    EXPECT_EQ(static_cast<TQBTestCycTriaxial&>(*clone).DampingRatio(), test->DampingRatio());

    test->Results().ClearRows();
    EXPECT_EQ(test->FirstChartTitle("EyySyy"), "EyySyy");
}

TEST(CyclicTests, CyclicPropertiesNeedACyclicTest) {
    TKovIntrinsicPropertyDeclarationList dss(&TQBTestDSS::StaticClass());
    EXPECT_THAT([&] { TQBTestHelper::AddDerivedNumberOfCycles(dss); },
                ThrowsMessage<EQBTestException>(StrEq(
                    "This derived property can only be added to tests implementing ICyclicTest")))
        << "declared on a test without cycles";
    EXPECT_THROW(TQBTestHelper::AddDerivedStrainAmplitude(dss, "A", ""), EQBTestException);
    TKovIntrinsicPropertyDeclarationList general(&TQBTestGeneral::StaticClass());
    EXPECT_THAT([&] { TQBTestHelper::AddDerivedInitialStress(general, "S", "", 0, 1); },
                ThrowsMessage<EQBTestException>(
                    StrEq("This derived property can only be added to tests implementing "
                          "ITestWithInitialStress")))
        << "declared on a test without an initial stress value";
    TKovIntrinsicPropertyDeclarationList cdss(&TQBTestCDSS::StaticClass());
    EXPECT_NO_THROW(TQBTestHelper::AddDerivedNumberOfCycles(cdss));
    EXPECT_EQ(dss.Count(), 0);
    EXPECT_EQ(cdss.Count(), 1);
}

TEST(CyclicTests, ResetBringsAChangedTestBackToItsDefaults) {
    auto test = Make<TQBTestCDSS>(nullptr, tm3D);
    test->Property<TIPInteger>("NumberOfCycles").SetValue(2);
    test->Property<TIPEnumeration>("TestControlType").SetIntValue(tctStress);
    test->Property<TIPDouble>("ShearStressAmplitude").SetValue(8000);
    test->Property<TIPDouble>("InitialStaticShear").SetValue(3000);
    test->ResetToDefault(true);
    ASSERT_EQ(test->Phases().Count(), 1);
    EXPECT_EQ(test->Phases()[0].GetStressIncrement(ldXY), 0.0);
    EXPECT_EQ(test->Phases()[0].BoundaryConditions(), test->CyclicKind().InitialBoundaryConditions);
    EXPECT_EQ(test->TestControlType(), tctStrain);
    EXPECT_EQ(test->StoredStressAmplitude(), 0.0);
    EXPECT_TRUE(test->GetIntrinsicPropertyByName("ShearStrainAmplitude")->IsPublished());
    EXPECT_FALSE(test->GetIntrinsicPropertyByName("ShearStressAmplitude")->IsPublished());
}
