#include "LabTestSupport.h"

#include "labtest/QBProject.h"
#include "labtest/QBTestList.h"
#include "labtest/QBTestTriaxial.h"
#include "objects/ObjectManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

using namespace tw;
using namespace tw::testing;
using ::testing::StrEq;
using ::testing::ThrowsMessage;

namespace {
TQBTestTriaxial& Triaxial(TQBProject& project) {
    return static_cast<TQBTestTriaxial&>(*project.TriaxialTest());
}

std::unique_ptr<TQBProject> MakeProject(TKovObjectManager& manager,
                                        std::unique_ptr<ITestMaterial> material,
                                        TQBTestMethod method = tm3D) {
    manager.LockRevert();
    auto project = Make<TQBProject>(&manager, std::move(material), method);
    manager.UnlockRevert();
    manager.ClearRevertStacks();
    return project;
}
} // namespace

TEST(Triaxial, FreshTestHasTheDefaultsAUserExpects) {
    auto test = Make<TQBTestTriaxial>(nullptr, tm3D);
    EXPECT_EQ(test->Behavior(), qbbhDrained);
    EXPECT_EQ(test->Consolidation(), qbcIsotropic);
    EXPECT_EQ(test->K0(), 1.0);
    EXPECT_TRUE(test->GetIntrinsicPropertyByName("K0")->ReadOnly());
    EXPECT_DOUBLE_EQ(test->CellPressure(), 1e5);
    for (TQBLoadDirection d : {ldXX, ldYY, ldZZ})
        EXPECT_DOUBLE_EQ(test->GetInitialEffectiveStress(d), -1e5);
    EXPECT_EQ(test->Error(), 0.01);
    EXPECT_EQ(test->Relax(), 1.0);
    EXPECT_EQ(test->MaxIter(), 50);
    EXPECT_DOUBLE_EQ(test->InitialTemperature(), 293.15);
    EXPECT_EQ(test->Direction(), qbdCompression);
    EXPECT_TRUE(test->Visible());
    EXPECT_EQ(test->Caption(), "Triaxial");
    EXPECT_TRUE(test->GetIntrinsicPropertyByName("Behaviour")->IsPublished());

    ASSERT_EQ(test->Phases().Count(), 1);
    const TQBPhase& phase = test->Phases()[0];
    EXPECT_EQ(phase.Steps(), 100);
    EXPECT_EQ(phase.Duration(), 86400.0);
    EXPECT_EQ(phase.Parent(), test.get());
    const TQBLoadDirectionDoubleArray strains = phase.StrainIncrements();
    EXPECT_EQ(strains, (TQBLoadDirectionDoubleArray{0, -10, 0, 0, 0, 0}));
    EXPECT_EQ(phase.BoundaryConditions(),
              (TQBBoundaryConditions{bcFixedStress, bcFixedStrain, bcFixedStress, bcFixedStress,
                                     bcFixedStrain, bcFixedStrain}));
    EXPECT_EQ(test->MaximumStrain(), 10.0);
    EXPECT_EQ(test->Steps(), 100);
    EXPECT_EQ(test->ToString().substr(0, 50), "Bhvr=0/PreconsPress=0.000000/MoblShearStrength=0.0");
}

TEST(Triaxial, ConsolidationK0AndCellPressureWorkTogether) {
    auto test = Make<TQBTestTriaxial>(nullptr, tm3D);
    test->Property<TIPEnumeration>("Consolidation").SetIntValue(qbcK0);
    EXPECT_FALSE(test->GetIntrinsicPropertyByName("K0")->ReadOnly());
    test->Property<TIPDouble>("K0").SetValue(0.5);
    // The cell pressure is the input: the vertical stress follows it.
    EXPECT_DOUBLE_EQ(test->GetInitialEffectiveStress(ldXX), -1e5);
    EXPECT_DOUBLE_EQ(test->GetInitialEffectiveStress(ldYY), -2e5);
    test->Property<TIPDouble>("CellPressure").SetValue(50000);
    EXPECT_DOUBLE_EQ(test->GetInitialEffectiveStress(ldZZ), -5e4);
    EXPECT_DOUBLE_EQ(test->GetInitialEffectiveStress(ldYY), -1e5);

    // Back to isotropic: the user's K0 is overwritten with 1.
    test->Property<TIPEnumeration>("Consolidation").SetIntValue(qbcIsotropic);
    EXPECT_EQ(test->K0(), 1.0);
    EXPECT_TRUE(test->GetIntrinsicPropertyByName("K0")->ReadOnly());
    EXPECT_DOUBLE_EQ(test->GetInitialEffectiveStress(ldYY), -5e4);
    test->Property<TIPDouble>("K0").SetValue(0.0); // clamped to its floor
    EXPECT_EQ(test->K0(), 1e-10);
}

TEST(Triaxial, MaximumStrainTakesTheSignOfTheDirection) {
    auto test = Make<TQBTestTriaxial>(nullptr, tm3D);
    auto& maximum = test->Property<TIPDouble>("MaximumStrain");
    maximum.SetValue(5);
    EXPECT_EQ(test->Phases()[0].GetStrainIncrement(ldYY), -5.0);
    test->Property<TIPEnumeration>("Direction").SetIntValue(qbdExtension);
    EXPECT_EQ(test->Phases()[0].GetStrainIncrement(ldYY), 5.0);
    maximum.SetValue(-7); // clamped at 0..: a maximum strain has no sign
    EXPECT_EQ(test->Phases()[0].GetStrainIncrement(ldYY), 0.0);
    maximum.SetValue(7);
    EXPECT_EQ(maximum.Value(), 7.0);
    EXPECT_EQ(test->Phases()[0].GetStrainIncrement(ldYY), 7.0);
    test->Property<TIPInteger>("Steps").SetValue(250);
    EXPECT_EQ(test->Phases()[0].Steps(), 250);
}

TEST(Triaxial, MaterialDecidesTimeBehaviourAndSuction) {
    TKovObjectManager manager;
    auto material = std::make_unique<TFakeMaterial>();
    TFakeMaterial* sand = material.get();
    auto project = MakeProject(manager, std::move(material));
    auto& test = Triaxial(*project);
    // Mohr-Coulomb has no time dependence: the duration is 0 and hidden.
    EXPECT_EQ(test.Phases()[0].Duration(), 0.0);
    EXPECT_FALSE(test.GetIntrinsicPropertyByName("Duration")->IsPublished());
    EXPECT_FALSE(test.GetIntrinsicPropertyByName("PreconsolidationPressure")->IsPublished());

    sand->Model = mxsmmSoftSoilCreep;
    sand->Changed();
    EXPECT_EQ(test.Phases()[0].Duration(), 86400.0);
    EXPECT_TRUE(test.GetIntrinsicPropertyByName("Duration")->IsPublished());
    EXPECT_TRUE(test.GetIntrinsicPropertyByName("PreconsolidationPressure")->IsPublished());
    EXPECT_FALSE(test.MaterialInSyncWithTest());

    sand->Model = mxsmmHardeningSoil;
    sand->Changed();
    auto& apply = test.Property<TIPBoolean>("ApplyMobilisedShearStrength");
    EXPECT_TRUE(apply.IsPublished());
    apply.SetValue(true);
    EXPECT_FALSE(test.GetIntrinsicPropertyByName("MobilisedShearStrength")->ReadOnly());
    apply.SetValue(false);
    EXPECT_TRUE(test.GetIntrinsicPropertyByName("MobilisedShearStrength")->ReadOnly());
}

TEST(Triaxial, NonPorousMaterialForbidsUndrained) {
    TKovObjectManager manager;
    auto material = std::make_unique<TFakeMaterial>();
    TFakeMaterial* rock = material.get();
    auto project = MakeProject(manager, std::move(material));
    auto& test = Triaxial(*project);
    auto& behaviour = test.Property<TIPEnumeration>("Behaviour");
    behaviour.SetIntValue(qbbhUndrained);

    rock->Drainage = mxsdtNonPorous;
    for (int i = 0; i < project->MainTests().Count(); ++i)
        project->MainTests().GetItems(i)->UpdateAllowedBehaviors();
    EXPECT_EQ(test.Behavior(), qbbhDrained);
    EXPECT_THROW(behaviour.SetIntValue(qbbhUndrained), EIntrinsicPropertyAssignError);
    EXPECT_FALSE(test.CanHaveSuctionEnabled());

    // A loaded copy has no manager: its behaviour stays what it was calculated with.
    auto copy = Make<TQBTestTriaxial>(nullptr, tm3D);
    copy->Property<TIPEnumeration>("Behaviour").SetIntValue(qbbhUndrained);
    copy->SetOwnedMaterial(rock->CreateStaticCopy());
    EXPECT_EQ(copy->Behavior(), qbbhUndrained);
}

TEST(Triaxial, SuctionSwitchesStressesBetweenTotalAndEffective) {
    TKovObjectManager manager;
    auto material = std::make_unique<TFakeMaterial>();
    // A silt: van Genuchten ga = 1.5 1/m, gn = 1.4; saturated 1, residual 0.1.
    material->Numbers = {{"GenuchtenGa", 1.5},        {"GenuchtenGn", 1.4},
                         {"GravityAcceleration", 10}, {"GwPsiUnsat", 10000},
                         {"rhoPoreFluid", 1000},      {"SaturationSaturated", 1.0},
                         {"SaturationResidual", 0.1}};
    auto project = MakeProject(manager, std::move(material));
    auto& test = Triaxial(*project);
    test.Property<TIPDouble>("SuctionInit").SetValue(20000); // 20 kPa, a head of 2 m
    const double s = 1.0 / std::pow(1.0 + std::pow(1.5 * 2.0, 1.4), 0.4 / 1.4);
    const double expectedSe = (0.1 + 0.9 * s - 0.1) / 0.9;
    EXPECT_NEAR(test.SeInit(), expectedSe, 1e-12);

    project->SetIsSuctionEnabled(true);
    EXPECT_TRUE(test.IsSuctionEnabled());
    EXPECT_TRUE(test.GetIntrinsicPropertyByName("SuctionInit")->IsPublished());
    EXPECT_TRUE(test.GetIntrinsicPropertyByName("SeInit")->IsPublished());
    EXPECT_TRUE(test.GetIntrinsicPropertyByName("TotalCellPressure")->IsPublished());
    EXPECT_TRUE(test.GetIntrinsicPropertyByName("CellPressure")->ReadOnly());
    EXPECT_EQ(manager.GetUndoName(0), "Switch suction on");

    // The stored totals stay; the effective cell pressure now includes Se * s.
    EXPECT_NEAR(test.CellPressure(), 1e5 + expectedSe * 20000, 1e-6);
    test.Property<TIPDouble>("TotalCellPressure").SetValue(80000);
    EXPECT_NEAR(test.TotalCellPressure(), 80000, 1e-6);
    EXPECT_NEAR(test.GetInitialTotalStress(ldYY), -80000, 1e-6);
    EXPECT_NEAR(test.CellPressure(), 80000 + expectedSe * 20000, 1e-6);

    // Without pore-fluid suction (psi >= 0) the soil is saturated.
    test.Property<TIPDouble>("SuctionInit").SetValue(0);
    EXPECT_NEAR(test.SeInit(), 1.0, 1e-12);
}

TEST(Triaxial, ThermalIsFor2DOnly) {
    TKovObjectManager manager;
    auto project3D = MakeProject(manager, std::make_unique<TFakeMaterial>(), tm3D);
    EXPECT_EQ(project3D->MainTests().Count(), 7);
    EXPECT_EQ(project3D->PressuremeterTest(), nullptr);
    project3D->SetIsThermalEnabled(true);
    EXPECT_FALSE(project3D->IsThermalEnabled());
    EXPECT_FALSE(Triaxial(*project3D).CanHaveThermalEnabled());

    TKovObjectManager manager2D;
    auto project2D = MakeProject(manager2D, std::make_unique<TFakeMaterial>(), tm2D);
    EXPECT_EQ(project2D->MainTests().Count(), 8);
    ASSERT_NE(project2D->PressuremeterTest(), nullptr);
    project2D->SetIsThermalEnabled(true);
    auto& test = Triaxial(*project2D);
    EXPECT_TRUE(test.IsThermalEnabled());
    EXPECT_TRUE(test.GetIntrinsicPropertyByName("TempInit")->IsPublished());
    EXPECT_FALSE(test.GetIntrinsicPropertyByName("TempInit")->ReadOnly());
}

TEST(Triaxial, EveryChangeIsOneUndoStep) {
    TKovObjectManager manager;
    auto project = MakeProject(manager, std::make_unique<TFakeMaterial>());
    auto& test = Triaxial(*project);
    test.Property<TIPDouble>("CellPressure").SetValue(250000);
    test.Property<TIPDouble>("MaximumStrain").SetValue(15);
    test.Property<TIPEnumeration>("Direction").SetIntValue(qbdExtension);
    EXPECT_EQ(manager.UndoCount(), 3);
    EXPECT_EQ(test.Phases()[0].GetStrainIncrement(ldYY), 15.0);

    manager.Undo();
    EXPECT_EQ(test.Direction(), qbdCompression);
    EXPECT_EQ(test.Phases()[0].GetStrainIncrement(ldYY), -15.0);
    manager.Undo();
    EXPECT_EQ(test.MaximumStrain(), 10.0);
    manager.Undo();
    EXPECT_DOUBLE_EQ(test.CellPressure(), 1e5);
    EXPECT_DOUBLE_EQ(test.GetInitialEffectiveStress(ldYY), -1e5);
    manager.Redo();
    EXPECT_DOUBLE_EQ(test.CellPressure(), 2.5e5);
    EXPECT_DOUBLE_EQ(test.GetInitialEffectiveStress(ldZZ), -2.5e5);
}

TEST(Triaxial, FactoryAndCloneAndListLookups) {
    EXPECT_THROW(CreateTest(static_cast<TQBTestType>(9), nullptr, tm3D), EQBTestException);
    EXPECT_THAT([] { CreateTest(static_cast<TQBTestType>(9), nullptr, tm3D); },
                ThrowsMessage<EQBTestException>(StrEq("Unknown test type: 9")));
    for (int type = 0; type < QBTestTypeCount; ++type)
        EXPECT_EQ(CreateTest(static_cast<TQBTestType>(type), nullptr, tm2D)->TestType(), type);

    TKovObjectManager manager;
    auto project = MakeProject(manager, std::make_unique<TFakeMaterial>());
    auto& test = Triaxial(*project);
    test.Property<TIPDouble>("CellPressure").SetValue(300000);
    auto clone = test.Clone();
    EXPECT_EQ(clone->ObjectManager(), nullptr);
    EXPECT_TRUE(clone->OwnsMaterial());
    EXPECT_EQ(clone->Phases().Count(), 1);
    EXPECT_NE(&clone->Phases()[0], &test.Phases()[0]);
    EXPECT_EQ(clone->Phases()[0].Parent(), clone.get());
    EXPECT_DOUBLE_EQ(static_cast<TQBTestTriaxial&>(*clone).CellPressure(), 3e5);
    EXPECT_EQ(clone->Property<TIPKovObject>("Phases").Value(), &clone->Phases());
    EXPECT_EQ(project->MainTests().GetItems(-1), nullptr);
    EXPECT_EQ(project->MainTests().GetItems(7), nullptr);
}

TEST(Triaxial, UndoingTheCreationOfATestLeavesItsOwnPartsToIt) {
    // A test made and put into a list in one step: undoing that and forfeiting the redo destroys
    // the test, which takes its phases and results along. Had their creation been steps of
    // their own, the stack would have destroyed them a second time.
    TKovObjectManager manager;
    manager.LockRevert();
    auto list = Make<TQBTestList>(&manager);
    manager.UnlockRevert();
    manager.UndoBeginSnapshot("Add test");
    list->Add(CreateTest(ttTriaxial, &manager, tm3D).release());
    manager.UndoEndSnapshot();
    list->GetItems(0)->Phases()[0].SetSteps(7);
    EXPECT_EQ(manager.UndoCount(), 2);
    manager.Undo();
    manager.Undo();
    EXPECT_EQ(list->Count(), 0);
    manager.Redo();
    ASSERT_EQ(list->Count(), 1);
    EXPECT_EQ(list->GetItems(0)->Phases()[0].Steps(), 100);
    EXPECT_EQ(list->GetItems(0)->Property<TIPKovObject>("Results").Value(),
              &list->GetItems(0)->Results());
    manager.Undo();
    list->SetName("Tests"); // a new step forfeits the redo: the test goes for good
    EXPECT_EQ(manager.RedoCount(), 0);
    list.reset();
}
