#include "LabTestSupport.h"

#include "labtest/QBProject.h"
#include "labtest/QBTestDSS.h"
#include "labtest/QBTestGeneral.h"
#include "labtest/QBTestPressuremeter.h"
#include "objects/ObjectManager.h"

#include <gtest/gtest.h>

#include <vector>

using namespace tw;
using namespace tw::testing;

namespace {

std::unique_ptr<TQBProject> MakeProject(TKovObjectManager& manager,
                                        std::unique_ptr<TFakeMaterial> material,
                                        TQBTestMethod method) {
    manager.LockRevert();
    auto project = Make<TQBProject>(&manager, std::move(material), method);
    manager.UnlockRevert();
    manager.ClearRevertStacks();
    return project;
}

std::vector<TQBChartType> ChartTypes(const TQBTestBase& test) {
    std::vector<TQBChartType> types;
    for (int i = 0; i < test.ChartSettings().Count(); ++i)
        types.push_back(test.ChartSettings().GetItems(i)->ChartType());
    return types;
}

std::vector<TQBChartType> WithCommonCharts(std::vector<TQBChartType> own) {
    own.insert(own.begin(), {ctE1Suc, ctE1Sat, ctEvTemp});
    return own;
}

// A material whose effective saturation is 1 at any suction (no unsaturated range), so that
// effective = total - s.
std::unique_ptr<TFakeMaterial> FullySaturating() {
    auto material = std::make_unique<TFakeMaterial>();
    material->Numbers = {{"GenuchtenGa", 1},          {"GenuchtenGn", 2},
                         {"GravityAcceleration", 10}, {"GwPsiUnsat", 0},
                         {"rhoPoreFluid", 1000},      {"SaturationSaturated", 1},
                         {"SaturationResidual", 0}};
    return material;
}

constexpr TQBBoundaryConditionType E = bcFixedStrain;
constexpr TQBBoundaryConditionType S = bcFixedStress;

} // namespace

TEST(TestTypes, FreshTestsHaveTheirDefaultPhaseAndCharts) {
    struct TExpected {
        TQBTestType Type;
        double Duration;
        TQBBoundaryConditions Conditions;
        std::vector<TQBChartType> Charts;
    };
    const std::vector<TExpected> expected{
        {ttOedometer,
         86400,
         {E, S, E, S, E, E},
         WithCommonCharts({ctSxxSyy, ctPQ, ctMohr, ctEyySyy, ctTEyy})},
        {ttCRS,
         86400,
         {E, E, E, S, E, E},
         WithCommonCharts({ctSxxSyy, ctPQ, ctMohr, ctEyySyy, ctTEyy})},
        {ttDSS,
         86400,
         {E, S, E, E, E, E},
         WithCommonCharts({ctS3S1, ctPQ, ctMohr, ctTxyGxy, ctGxyPw})},
        {ttGeneral, 86400, {E, E, E, E, E, E}, WithCommonCharts({ctS3S1, ctPQ, ctMohr})},
        {ttTriaxial,
         86400,
         {S, E, S, S, E, E},
         WithCommonCharts({ctS3S1, ctPQ, ctMohr, ctEyyDS, ctEyyEv, ctE1Pw})},
        {ttPressuremeter, 86400, {E, S, S, S, E, E}, WithCommonCharts({ctExxSxx, ctEvSxx})},
    };
    for (const TExpected& e : expected) {
        auto test = CreateTest(e.Type, nullptr, tm2D);
        SCOPED_TRACE(test->Caption());
        ASSERT_EQ(test->Phases().Count(), 1);
        const TQBPhase& phase = test->Phases()[0];
        EXPECT_EQ(phase.Steps(), 100);
        EXPECT_EQ(phase.Duration(), e.Duration);
        EXPECT_EQ(phase.BoundaryConditions(), e.Conditions);
        EXPECT_EQ(phase.StressIncrements(), TQBLoadDirectionDoubleArray{});
        EXPECT_EQ(test->Behavior(), qbbhDrained);
        EXPECT_EQ(ChartTypes(*test), e.Charts);
    }

    // The oedometer asks for the flipped stress axis; the Mohr chart alone is orthonormal.
    auto oedometer = CreateTest(ttOedometer, nullptr, tm3D);
    const TQBChartSettings& eyySyy = *oedometer->ChartSettings().ByChartType(ctEyySyy);
    EXPECT_TRUE(eyySyy.YAxis().FlipAxis());
    EXPECT_EQ(eyySyy.XAxis().ResultType(), rtEpsYY);
    EXPECT_EQ(eyySyy.YAxis().ResultType(), rtSigYY);
    EXPECT_EQ(eyySyy.SortIndex(), 40);
    EXPECT_TRUE(oedometer->ChartSettings().ByChartType(ctMohr)->Orthonormal());
    EXPECT_FALSE(oedometer->ChartSettings().ByChartType(ctPQ)->Orthonormal());
    EXPECT_EQ(oedometer->ChartSettings().ByChartType(ctS3S1), nullptr);

    // A user's chart goes with a reset; the defaults come back.
    oedometer->ChartSettings().RemoveChartType(ctMohr);
    oedometer->ChartSettings().AddDefault(ctCustom);
    EXPECT_FALSE(oedometer->ChartSettings().ByChartType(ctCustom)->IsDefault());
    oedometer->ResetChartSettings();
    EXPECT_EQ(ChartTypes(*oedometer), WithCommonCharts({ctSxxSyy, ctPQ, ctMohr, ctEyySyy, ctTEyy}));
}

TEST(TestTypes, EachTypeHasItsEffectiveStressRule) {
    // With suction on, effective = total - Se * s for all but the pressuremeter, which reads
    // and writes the total stress directly.
    for (int type = 0; type < QBTestTypeCount; ++type) {
        auto test = CreateTest(static_cast<TQBTestType>(type), nullptr, tm2D);
        SCOPED_TRACE(test->Caption());
        test->SetOwnedMaterial(FullySaturating());
        test->Property<TIPBoolean>("SuctionCondition").SetValue(true);
        test->Property<TIPDouble>("SuctionInit").SetValue(20000);
        test->SetInitialTotalStress(ldYY, -1e5);
        test->SetInitialTotalStress(ldXY, 5000);
        const bool basic = type == ttPressuremeter;
        EXPECT_DOUBLE_EQ(test->Property<TIPDouble>("Sigyyinit").Value(), basic ? -1e5 : -1.2e5);
        EXPECT_DOUBLE_EQ(test->Property<TIPDouble>("Sigxyinit").Value(), 5000); // shear: as is
        test->Property<TIPDouble>("Sigyyinit").SetValue(-50000);
        EXPECT_DOUBLE_EQ(test->GetInitialTotalStress(ldYY), basic ? -50000 : -30000);
    }
}

TEST(TestTypes, SimpleShearInitialStressFollowsK0AndSuction) {
    TKovObjectManager manager;
    auto project = MakeProject(manager, FullySaturating(), tm3D);
    auto& dss = static_cast<TQBTestDSS&>(*project->DSSTest());
    EXPECT_TRUE(dss.GetIntrinsicPropertyByName("Behaviour")->IsPublished());
    // Mohr-Coulomb has no time dependence: duration 0, hidden.
    EXPECT_EQ(dss.Phases()[0].Duration(), 0.0);
    EXPECT_FALSE(dss.GetIntrinsicPropertyByName("Duration")->IsPublished());

    dss.Property<TIPDouble>("AbsSigyyinit").SetValue(50000);
    for (TQBLoadDirection d : {ldXX, ldYY, ldZZ})
        EXPECT_DOUBLE_EQ(dss.GetInitialEffectiveStress(d), -5e4);
    dss.Property<TIPEnumeration>("Consolidation").SetIntValue(qbcK0);
    dss.Property<TIPDouble>("K0").SetValue(0.5);
    EXPECT_DOUBLE_EQ(dss.GetInitialEffectiveStress(ldXX), -2.5e4);
    EXPECT_DOUBLE_EQ(dss.GetInitialEffectiveStress(ldYY), -5e4);
    dss.Property<TIPDouble>("AbsSigyyinit").SetValue(-80000); // a magnitude: compression
    EXPECT_DOUBLE_EQ(dss.GetInitialEffectiveStress(ldYY), -8e4);
    EXPECT_DOUBLE_EQ(dss.GetInitialEffectiveStress(ldZZ), -4e4);
    dss.Property<TIPDouble>("MaximumShearStrain").SetValue(-15);
    EXPECT_EQ(dss.Phases()[0].GetStrainIncrement(ldXY), -15);
    EXPECT_EQ(dss.Phases()[0].GetStrainIncrement(ldYY), 0);
    const int undoSteps = manager.UndoCount();

    // With suction the total stress becomes the input.
    project->SetIsSuctionEnabled(true);
    dss.Property<TIPDouble>("SuctionInit").SetValue(20000);
    auto& total = *dss.GetIntrinsicPropertyByName("AbsSigyyTotinit");
    EXPECT_TRUE(total.IsPublished());
    EXPECT_FALSE(total.ReadOnly());
    EXPECT_TRUE(dss.GetIntrinsicPropertyByName("AbsSigyyinit")->ReadOnly());
    dss.Property<TIPDouble>("AbsSigyyTotinit").SetValue(100000);
    EXPECT_DOUBLE_EQ(dss.GetInitialTotalStress(ldYY), -1e5);
    EXPECT_DOUBLE_EQ(dss.InitialStressValue(), 1.2e5);
    EXPECT_DOUBLE_EQ(dss.GetInitialEffectiveStress(ldXX), -6e4); // K0 0.5 on the effective
    EXPECT_EQ(manager.UndoCount(), undoSteps + 3);
    manager.Undo();
    // The totals are back; the effective stresses count the suction.
    EXPECT_DOUBLE_EQ(dss.GetInitialTotalStress(ldXX), -4e4);
    EXPECT_DOUBLE_EQ(dss.InitialStressValue(), 8e4 + 20000);

    project->SetIsSuctionEnabled(false);
    EXPECT_FALSE(total.IsPublished());
    EXPECT_FALSE(dss.GetIntrinsicPropertyByName("AbsSigyyinit")->ReadOnly());
}

TEST(TestTypes, PressuremeterIsDrainedStrainControlledAndWithoutSuctionOrThermal) {
    TKovObjectManager manager;
    auto project = MakeProject(manager, std::make_unique<TFakeMaterial>(), tm2D);
    auto& test = static_cast<TQBTestPressuremeter&>(*project->PressuremeterTest());
    EXPECT_EQ(test.TestControlType(), tctStrain);
    EXPECT_TRUE(test.GetIntrinsicPropertyByName("TestControlType")->ReadOnly());
    EXPECT_FALSE(test.GetIntrinsicPropertyByName("Behaviour")->IsPublished());
    EXPECT_EQ(test.InnerRadius(), 1.0);
    for (TQBLoadDirection d : {ldXX, ldYY, ldZZ})
        EXPECT_DOUBLE_EQ(test.GetInitialEffectiveStress(d), -1e5);
    EXPECT_EQ(test.Phases()[0].GetStrainIncrement(ldXX), 10.0);
    EXPECT_EQ(test.MaxRadialStrain(), 10.0);

    project->SetIsThermalEnabled(true);
    project->SetIsSuctionEnabled(true);
    EXPECT_TRUE(project->TriaxialTest()->IsThermalEnabled());
    EXPECT_TRUE(project->TriaxialTest()->IsSuctionEnabled());
    EXPECT_FALSE(test.IsThermalEnabled());
    EXPECT_FALSE(test.IsSuctionEnabled());

    // The xx increment is the displacement of the borehole wall: radial strain times R0.
    test.Property<TIPDouble>("InnerRadius").SetValue(0.05);
    EXPECT_DOUBLE_EQ(test.Property<TIPDouble>("MaximumRadialStrain").Value(), 200.0);
    test.Property<TIPDouble>("MaximumRadialStrain").SetValue(5.0);
    EXPECT_DOUBLE_EQ(test.Phases()[0].GetStrainIncrement(ldXX), 0.25);
    test.Property<TIPDouble>("AbsSigyyEinit").SetValue(0.0); // at least 1e-10
    EXPECT_EQ(test.InitialStressValue(), 1e-10);
    test.Property<TIPDouble>("AbsSigyyEinit").SetValue(60000);
    EXPECT_DOUBLE_EQ(test.GetInitialEffectiveStress(ldZZ), -6e4);

    const TQBChartSettings& displacement = *test.ChartSettings().ByChartType(ctExxSxx);
    EXPECT_EQ(displacement.XAxis().Title(), "u_x# / R_0#");
    EXPECT_EQ(displacement.YAxis().Title(), "p_PMT#");
    EXPECT_EQ(displacement.YAxis().ResultType(), rtSigXXTotal);
    EXPECT_EQ(test.ChartSettings().ByChartType(ctEvSxx)->XAxis().Title(), "ΔV / V_0#");
    // A copy takes the settings as they stand, a user's chart with them.
    test.ChartSettings().ByChartType(ctEvSxx)->XAxis().SetTitle("V");
    test.ChartSettings().AddDefault(ctCustom).YAxis().SetLogarithmic(true);
    auto clone = test.Clone();
    EXPECT_EQ(clone->ChartSettings().ByChartType(ctEvSxx)->XAxis().Title(), "V");
    ASSERT_NE(clone->ChartSettings().ByChartType(ctCustom), nullptr);
    EXPECT_TRUE(clone->ChartSettings().ByChartType(ctCustom)->YAxis().Logarithmic());
    EXPECT_EQ(clone->ChartSettings().ByChartType(ctCustom)->SortIndex(), 130);
    EXPECT_EQ(ChartTypes(*clone), ChartTypes(test));
}

TEST(TestTypes, GeneralTestClosesTheDirectionsOf2D) {
    for (TQBTestMethod method : {tm2D, tm3D}) {
        TKovObjectManager manager;
        auto project = MakeProject(manager, std::make_unique<TFakeMaterial>(), method);
        auto& test = static_cast<TQBTestGeneral&>(*project->GeneralTest());
        SCOPED_TRACE(method == tm2D ? "2D" : "3D");
        // A phase added later opens the same way.
        test.Phases().AddWithSettings(&test, 10, 0, {}, {}, {});
        ASSERT_EQ(test.Phases().Count(), 2);
        for (TQBLoadDirection d : AllLoadDirections) {
            const bool closed = method == tm2D && (d == ldYZ || d == ldZX);
            EXPECT_EQ(test.IsActiveDirection(d), !closed);
            for (int i = 0; i < 2; ++i) {
                EXPECT_EQ(test.Phases()[i].GetIncrementIP(0, d).ReadOnly(), closed) << d;
                EXPECT_EQ(test.Phases()[i].GetIncrementIP(1, d).ReadOnly(), closed) << d;
            }
            EXPECT_EQ(test.GetBoundaryConditionTypeIP(d).ReadOnly(), closed);
            auto& stress = *test.GetIntrinsicPropertyByName(std::string("Sig") +
                                                            LoadDirectionSuffix(d) + "init");
            EXPECT_TRUE(stress.IsPublished());
            EXPECT_EQ(stress.ReadOnly(), closed);
        }
        for (int i = 0; i < 2; ++i) {
            EXPECT_FALSE(test.Phases()[i].GetIntrinsicPropertyByName("Duration")->ReadOnly());
            EXPECT_FALSE(test.Phases()[i].GetIntrinsicPropertyByName("Steps")->ReadOnly());
        }
        EXPECT_TRUE(test.GetIntrinsicPropertyByName("Behaviour")->IsPublished());
        EXPECT_TRUE(test.GetIntrinsicPropertyByName("CyclicPhases")->IsPublished());
        EXPECT_FALSE(
            project->TriaxialTest()->GetIntrinsicPropertyByName("CyclicPhases")->IsPublished());
    }
}

TEST(TestTypes, GeneralTestSetsBoundaryConditionsAndIncrementVisibilityOnAllPhases) {
    TKovObjectManager manager;
    auto project = MakeProject(manager, std::make_unique<TFakeMaterial>(), tm2D);
    auto& test = static_cast<TQBTestGeneral&>(*project->GeneralTest());
    manager.LockRevert();
    test.Phases().AddWithSettings(&test, 10, 0, {}, {}, {});
    test.Phases().AddWithSettings(&test, 10, 0, {}, {}, {});
    manager.UnlockRevert();

    test.GetBoundaryConditionTypeIP(ldYY).SetIntValue(bcFixedStress);
    EXPECT_EQ(manager.UndoCount(), 1);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(test.Phases()[i].GetBoundaryCondition(ldYY), bcFixedStress);
    EXPECT_EQ(test.GetBoundaryConditionType(ldYY), bcFixedStress);
    manager.Undo();
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(test.Phases()[i].GetBoundaryCondition(ldYY), bcFixedStrain);

    auto published = [&](int kind) {
        int count = 0;
        for (int i = 0; i < 3; ++i)
            count += test.Phases()[i].GetIncrementIP(kind).IsPublished() ? 1 : 0;
        return count;
    };
    project->SetIsThermalEnabled(true);
    EXPECT_EQ(published(3), 3);
    EXPECT_FALSE(test.Phases()[2].GetIncrementIP(3).ReadOnly());
    EXPECT_TRUE(test.GetIntrinsicPropertyByName("TempInit")->IsPublished());
    project->SetIsSuctionEnabled(true);
    EXPECT_EQ(published(2), 3);
    // Undrained: suction can't be driven.
    test.Property<TIPEnumeration>("Behaviour").SetIntValue(qbbhUndrained);
    EXPECT_EQ(published(2), 0);
    // Undoing the behaviour shows the suction increments again.
    manager.Undo();
    EXPECT_EQ(published(2), 3);
    project->SetIsThermalEnabled(false);
    EXPECT_EQ(published(3), 0);
}

TEST(TestTypes, PhaseViewTestsOpenWhatTheirPhaseTableEdits) {
    TKovObjectManager manager;
    auto project = MakeProject(manager, std::make_unique<TFakeMaterial>(), tm3D);
    for (TQBTestType type : {ttOedometer, ttCRS}) {
        TQBTestBase& test = *project->MainTests().ByTestType(type);
        test.AddNewPhase();
        const int driving = type == ttCRS ? 1 : 0; // strain or stress increment
        for (int i = 0; i < test.Phases().Count(); ++i) {
            const TQBPhase& phase = test.Phases()[i];
            EXPECT_FALSE(phase.GetIntrinsicPropertyByName("Steps")->ReadOnly()) << type;
            // The duration only where time counts: a time-dependent material.
            EXPECT_EQ(phase.GetIntrinsicPropertyByName("Duration")->ReadOnly(),
                      !test.IsTimeEnabled())
                << type;
            EXPECT_FALSE(phase.GetIncrementIP(driving, ldYY).ReadOnly()) << type << " " << i;
            // The other increments stay closed: the test's boundary conditions hold them.
            EXPECT_TRUE(phase.GetIncrementIP(1 - driving, ldYY).ReadOnly()) << type;
            EXPECT_TRUE(phase.GetIncrementIP(driving, ldXX).ReadOnly()) << type;
        }
    }
}

TEST(TestTypes, FreshProjectTestsFollowTheMaterialsTimeDependence) {
    for (TMXSoil_MaterialModel model : {mxsmmMohrCoulomb, mxsmmSoftSoilCreep}) {
        TKovObjectManager manager;
        auto material = std::make_unique<TFakeMaterial>();
        material->Model = model;
        auto project = MakeProject(manager, std::move(material), tm2D);
        const bool time = model == mxsmmSoftSoilCreep;
        // The triaxial, simple shear and pressuremeter families run a day only with time.
        for (TQBTestType type : {ttCycTriaxial, ttDSS, ttCDSS, ttPressuremeter}) {
            const TQBTestBase& test = *project->MainTests().ByTestType(type);
            EXPECT_EQ(test.Phases()[0].Duration(), time ? 86400.0 : 0.0) << test.Caption();
            EXPECT_EQ(test.GetIntrinsicPropertyByName("Duration")->IsPublished(), time);
        }
        // The others keep their day.
        for (TQBTestType type : {ttOedometer, ttCRS, ttGeneral})
            EXPECT_EQ(project->MainTests().ByTestType(type)->Phases()[0].Duration(), 86400.0);
    }
}

TEST(TestTypes, BlankInstancesForUndoReadEveryPropertyWithoutOwnedObjects) {
    // Undo keeps the state of a test in a blank instance, which has no phases, results or
    // charts of its own; whatever reads it must not reach for them.
    for (int type = 0; type < QBTestTypeCount; ++type) {
        auto test = CreateTest(static_cast<TQBTestType>(type), nullptr, tm2D);
        std::unique_ptr<TKovObject> blank(test->ClassType().CreateBlank());
        auto& memento = dynamic_cast<TQBTestBase&>(*blank);
        SCOPED_TRACE(test->Caption());
        EXPECT_EQ(memento.IntrinsicPropertiesCount(), test->IntrinsicPropertiesCount());
        for (int i = 0; i < memento.IntrinsicPropertiesCount(); ++i)
            EXPECT_NO_THROW(memento.GetIntrinsicProperty(i)->ValueAsText())
                << memento.GetIntrinsicProperty(i)->Name();
        blank->Assign(*test);
        EXPECT_EQ(memento.GetInitialTotalStress(ldYY), test->GetInitialTotalStress(ldYY));
    }
}
