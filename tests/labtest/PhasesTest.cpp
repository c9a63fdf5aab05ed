#include "LabTestSupport.h"

#include "labtest/Increments.h"
#include "labtest/QBProject.h"
#include "objects/ObjectManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace tw;
using namespace tw::testing;
using ::testing::StrEq;
using ::testing::ThrowsMessage;

namespace {

// A project whose tests record undo; the stacks start empty.
struct PhasesFixture : ::testing::Test {
    TKovObjectManager Manager;
    std::unique_ptr<TQBProject> Project;

    void SetUp() override {
        Manager.LockRevert();
        Project = Make<TQBProject>(&Manager, std::make_unique<TFakeMaterial>(), tm3D);
        Project->GeneralTest()->ClipPhases(0); // the tests build their own phases
        Manager.UnlockRevert();
        Manager.ClearRevertStacks();
    }
    TQBTestBase& General() { return *Project->GeneralTest(); }
    TQBTestBase& Triaxial() { return *Project->TriaxialTest(); }
    TQBTestBase& CycTriaxial() { return *Project->CycTriaxialTest(); }
};

// Gives the general test `count` phases with steps 10, 20, ... to tell them apart.
void AddPhases(TQBTestBase& test, int count) {
    for (int i = 0; i < count; ++i) {
        test.AddNewPhase();
        test.Phases()[test.Phases().Count() - 1].SetSteps(10 * test.Phases().Count());
    }
}

std::vector<TQBPhase*> PhasePointers(const TQBTestBase& test) {
    std::vector<TQBPhase*> phases;
    for (int i = 0; i < test.Phases().Count(); ++i)
        phases.push_back(&test.Phases()[i]);
    return phases;
}

} // namespace

TEST_F(PhasesFixture, InsertMakesABlankPhaseAtTheStartAndACopyElsewhere) {
    TQBTestBase& test = Triaxial(); // one phase: 100 steps, -10 % in yy, stress-driven xx zz xy
    test.InsertPhase(1);
    ASSERT_EQ(test.Phases().Count(), 2);
    const TQBPhase& copy = test.Phases()[1];
    EXPECT_NE(&copy, &test.Phases()[0]);
    EXPECT_EQ(copy.Steps(), 100);
    EXPECT_EQ(copy.GetStrainIncrement(ldYY), -10.0);
    EXPECT_EQ(copy.BoundaryConditions(), test.Phases()[0].BoundaryConditions());
    EXPECT_EQ(copy.Parent(), &test);

    test.InsertPhase(0);
    ASSERT_EQ(test.Phases().Count(), 3);
    const TQBPhase& blank = test.Phases()[0];
    EXPECT_EQ(blank.Steps(), 0);
    EXPECT_EQ(blank.Duration(), 0.0);
    EXPECT_EQ(blank.StrainIncrements(), TQBLoadDirectionDoubleArray{});
    for (TQBLoadDirection d : AllLoadDirections)
        EXPECT_EQ(blank.GetBoundaryCondition(d), bcFixedStrain);
    EXPECT_EQ(blank.Parent(), &test);

    test.AddNewPhase(); // a copy of the last one
    EXPECT_EQ(test.Phases()[3].Steps(), 100);
    EXPECT_THROW(test.InsertPhase(5), EKovListException);
    EXPECT_THROW(test.InsertPhase(-1), EKovListException);
    EXPECT_EQ(test.Phases().Count(), 4);

    EXPECT_EQ(Manager.UndoCount(), 3);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(Manager.GetUndoName(i), "Inserting phase");
}

TEST_F(PhasesFixture, UndoOfInsertAndDeleteBringsTheSamePhaseBackInItsPlace) {
    TQBTestBase& test = General();
    AddPhases(test, 3);
    Manager.ClearRevertStacks();
    const std::vector<TQBPhase*> before = PhasePointers(test);

    test.DeletePhase(1);
    EXPECT_EQ(Manager.UndoCount(), 1);
    EXPECT_EQ(Manager.GetUndoName(0), "Deleting phase");
    EXPECT_EQ(PhasePointers(test), (std::vector<TQBPhase*>{before[0], before[2]}));
    Manager.Undo();
    EXPECT_EQ(PhasePointers(test), before);
    EXPECT_EQ(test.Phases()[1].Steps(), 20);
    EXPECT_EQ(test.Phases()[1].Parent(), &test);
    Manager.Redo();
    EXPECT_EQ(PhasePointers(test), (std::vector<TQBPhase*>{before[0], before[2]}));
    Manager.Undo();

    test.InsertPhase(2);
    TQBPhase* inserted = &test.Phases()[2];
    EXPECT_EQ(inserted->Steps(), 20);
    Manager.Undo();
    EXPECT_EQ(PhasePointers(test), before);
    Manager.Redo();
    EXPECT_EQ(&test.Phases()[2], inserted);
    EXPECT_EQ(test.Phases().Count(), 4);
}

TEST_F(PhasesFixture, DeletingAnEndOfACyclicDefinitionRemovesItAndUndoRestoresIt) {
    TQBTestBase& test = General();
    AddPhases(test, 5);
    test.MarkPhasesCyclic(1, 3, 2);
    EXPECT_EQ(Manager.GetUndoName(0), "Mark phases as cyclic");
    ASSERT_EQ(test.CyclicPhases().Count(), 1);
    TQBCyclicPhases* definition = test.CyclicPhases().GetItems(0);
    EXPECT_EQ(definition->Parent(), &test);

    // A phase inside the stretch: the definition stays and now spans one phase less.
    test.DeletePhase(2);
    ASSERT_EQ(test.CyclicPhases().Count(), 1);
    EXPECT_EQ(test.PhaseCountIncludingCycles(), 4 + 2);

    // Its last phase: the definition goes with it; undo brings both back.
    test.DeletePhase(2);
    EXPECT_EQ(test.CyclicPhases().Count(), 0);
    EXPECT_EQ(test.PhaseCountIncludingCycles(), 3);
    Manager.Undo();
    ASSERT_EQ(test.CyclicPhases().Count(), 1);
    EXPECT_EQ(test.CyclicPhases().GetItems(0), definition);
    EXPECT_EQ(definition->LastPhase(), &test.Phases()[2]);
    EXPECT_EQ(test.PhaseCountIncludingCycles(), 6);

    // Its first phase, and the clipping that goes the same way.
    test.DeletePhase(1);
    EXPECT_EQ(test.CyclicPhases().Count(), 0);
    Manager.Undo();
    test.ClipPhases(2);
    EXPECT_EQ(test.Phases().Count(), 2);
    EXPECT_EQ(test.CyclicPhases().Count(), 0);
}

TEST_F(PhasesFixture, CyclicDefinitionsAreFoundByTheirEndsAndCountedWithTheirRepetitions) {
    TQBTestBase& test = General();
    AddPhases(test, 6);
    test.MarkPhasesCyclic(1, 2, 3);
    test.MarkPhasesCyclic(4, 4, 5); // one phase: counted, but never started
    TQBCyclicPhases* stretch = test.CyclicPhases().GetItems(0);
    TQBCyclicPhases* single = test.CyclicPhases().GetItems(1);

    EXPECT_EQ(test.GetCyclicPhasesForStartPhase(&test.Phases()[1]), stretch);
    EXPECT_EQ(test.GetCyclicPhasesForStartPhase(&test.Phases()[2]), std::nullopt);
    EXPECT_EQ(test.GetCyclicPhasesWithReferenceTo(&test.Phases()[2]), stretch);
    EXPECT_EQ(test.GetCyclicPhasesWithReferenceTo(&test.Phases()[4]), single);
    EXPECT_EQ(test.GetCyclicPhasesForStartPhase(&test.Phases()[4]), std::nullopt);
    EXPECT_EQ(test.GetCyclicPhasesWithReferenceTo(&test.Phases()[0]), std::nullopt);
    EXPECT_EQ(test.GetCyclicPhasesWithReferenceTo(nullptr), std::nullopt);
    EXPECT_EQ(test.PhaseCountIncludingCycles(), 6 + 2 * 2 + 1 * 4);

    // A definition whose phase has left the list counts for nothing.
    auto stray = Make<TQBPhase>(&Manager);
    single->SetLastPhase(stray.get());
    EXPECT_EQ(test.PhaseCountIncludingCycles(), 6 + 2 * 2);
    // Nor does one that runs backwards.
    single->SetFirstPhase(&test.Phases()[5]);
    single->SetLastPhase(&test.Phases()[3]);
    EXPECT_EQ(test.PhaseCountIncludingCycles(), 6 + 2 * 2);

    test.DeleteCyclicPhasesDefinition(0);
    EXPECT_EQ(Manager.GetUndoName(0), "Remove cyclic phases definition");
    EXPECT_EQ(test.Phases().Count(), 6);
    EXPECT_EQ(test.CyclicPhases().Count(), 1);
    EXPECT_THROW(test.DeleteCyclicPhasesDefinition(1), EKovListException);
}

TEST_F(PhasesFixture, MarkingPhasesCyclicRefusesWhatTheKernelFileCouldNotHold) {
    TQBTestBase& test = General();
    AddPhases(test, 5);
    test.MarkPhasesCyclic(1, 2, 2);
    Manager.ClearRevertStacks();
    EXPECT_THAT(
        [&] { test.MarkPhasesCyclic(5, 5, 2); },
        ThrowsMessage<std::exception>(StrEq("Specified first cyclic phase index 5 is invalid")));
    EXPECT_THAT(
        [&] { test.MarkPhasesCyclic(0, -1, 2); },
        ThrowsMessage<std::exception>(StrEq("Specified last cyclic phase index -1 is invalid")));
    EXPECT_THAT(
        [&] { test.MarkPhasesCyclic(4, 3, 2); },
        ThrowsMessage<std::exception>(StrEq(
            "The last cyclic phase index cannot be lower than the first cyclic phase index 4")));
    const std::string name = test.CyclicPhases().GetItems(0)->Name();
    EXPECT_THAT([&] { test.MarkPhasesCyclic(2, 4, 2); },
                ThrowsMessage<std::exception>(StrEq(
                    "The specified cyclic phases would overlap with existing cyclic phases \"" +
                    name + "\", with first phase index 1 and last phase index 2")));
    EXPECT_THROW(test.MarkPhasesCyclic(0, 3, 2), EQBTestException); // encloses it
    EXPECT_EQ(Manager.UndoCount(), 0);
    test.MarkPhasesCyclic(3, 4, 0); // cycles are at least 1
    EXPECT_EQ(test.CyclicPhases().GetItems(1)->Cycles(), 1);
}

TEST_F(PhasesFixture, RebuildingCyclicPhasesKeepsTheInitialPhaseAndIsOneUndoStep) {
    TQBTestBase& test = CycTriaxial();
    TQBPhase* initial = &test.Phases()[0];
    const TQBBoundaryConditions conditions{bcFixedStress, bcFixedStrain, bcFixedStress,
                                           bcFixedStress, bcFixedStrain, bcFixedStrain};
    // 3 cycles, 5 steps a quarter, 40 s a cycle; 20 kPa or 0.5 % in yy.
    test.RebuildCyclicTestPhases(3, 5, 40.0, 20000.0, 0.5, ldYY, conditions);
    EXPECT_EQ(Manager.UndoCount(), 1);
    EXPECT_EQ(Manager.GetUndoName(0), "Changing phases");
    ASSERT_EQ(test.Phases().Count(), 8);
    EXPECT_EQ(&test.Phases()[0], initial);
    const double factors[] = {1, -2, 2, -2, 2, -2, 1};
    for (int i = 1; i < 8; ++i) {
        const TQBPhase& phase = test.Phases()[i];
        const bool quarter = i == 1 || i == 7;
        SCOPED_TRACE(i);
        EXPECT_EQ(phase.Steps(), quarter ? 5 : 10);
        EXPECT_EQ(phase.Duration(), quarter ? 10.0 : 20.0);
        EXPECT_EQ(phase.GetStressIncrement(ldYY), factors[i - 1] * 20000.0);
        EXPECT_EQ(phase.GetStrainIncrement(ldYY), factors[i - 1] * 0.5);
        EXPECT_EQ(phase.GetStrainIncrement(ldXX), 0.0);
        EXPECT_EQ(phase.GetStressIncrement(ldXY), 0.0);
        EXPECT_EQ(phase.BoundaryConditions(), conditions);
        EXPECT_EQ(phase.Parent(), &test);
    }

    // One cycle in shear: initial, +A, -2A, +A.
    test.RebuildCyclicTestPhases(1, 4, 8.0, 1000.0, 0.1, ldXY, conditions);
    ASSERT_EQ(test.Phases().Count(), 4);
    EXPECT_EQ(test.Phases()[2].GetStrainIncrement(ldXY), -0.2);
    EXPECT_EQ(test.Phases()[2].GetStrainIncrement(ldYY), 0.0);

    const std::vector<TQBPhase*> rebuilt = PhasePointers(test);
    test.RebuildCyclicTestPhases(0, 4, 8.0, 1000.0, 0.1, ldXY, conditions);
    EXPECT_EQ(PhasePointers(test), std::vector<TQBPhase*>{initial});
    Manager.Undo();
    EXPECT_EQ(PhasePointers(test), rebuilt);
    Manager.Undo();
    EXPECT_EQ(test.Phases().Count(), 8);
    EXPECT_EQ(test.Phases()[3].GetStressIncrement(ldYY), 40000.0);
    Manager.Undo();
    EXPECT_EQ(PhasePointers(test), std::vector<TQBPhase*>{initial});
    EXPECT_EQ(initial->Steps(), 100);
}

TEST_F(PhasesFixture, AnOperationRunsInOneUpdateOfTheTest) {
    TQBTestBase& test = CycTriaxial();
    int notifications = 0;
    TObserver observer([&](TNotifySender) { ++notifications; });
    test.AttachObserver(&observer);
    test.RebuildCyclicTestPhases(5, 5, 40.0, 20000.0, 0.5, ldYY, TQBBoundaryConditions{});
    test.DetachObserver(&observer);
    EXPECT_EQ(notifications, 1);
}

TEST_F(PhasesFixture, AClonedTestHasPhasesOfItsOwn) {
    TQBTestBase& test = General();
    AddPhases(test, 3);
    test.MarkPhasesCyclic(0, 1, 4);
    auto clone = test.Clone();
    ASSERT_EQ(clone->Phases().Count(), 3);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(clone->Phases()[i].ObjectManager(), nullptr);
        EXPECT_EQ(clone->Phases()[i].Parent(), clone.get());
        EXPECT_EQ(clone->Phases()[i].Steps(), test.Phases()[i].Steps());
    }
    ASSERT_EQ(clone->CyclicPhases().Count(), 1);
    EXPECT_EQ(clone->CyclicPhases().GetItems(0)->LastPhase(), &clone->Phases()[1]);
    EXPECT_EQ(clone->PhaseCountIncludingCycles(), 9);
    // The clone's making left no step in the project's undo.
    EXPECT_EQ(Manager.GetUndoName(0), "Mark phases as cyclic");
}

TEST(Phase, IncrementPropertiesByKindAndDirection) {
    auto phase = Make<TQBPhase>(nullptr);
    phase->SetStrainIncrement(ldZX, 1.5);
    phase->SetStressIncrement(ldXY, -2.0);
    phase->SetBoundaryCondition(ldYZ, bcFixedStress);
    EXPECT_EQ(static_cast<TIPDouble&>(phase->GetIncrementIP(1, ldZX)).Value(), 1.5);
    EXPECT_EQ(phase->GetIncrementIP(1, ldZX).Name(), "Gamzxinc");
    EXPECT_EQ(static_cast<TIPDouble&>(phase->GetIncrementIP(0, ldXY)).Value(), -2.0);
    EXPECT_EQ(static_cast<TIPInteger&>(phase->GetIncrementIP(4, ldYZ)).Value(), bcFixedStress);
    EXPECT_EQ(phase->GetIncrementIP(2).Name(), "SuctionInc");
    EXPECT_EQ(phase->GetIncrementIP(3).Name(), "TempInc");
    EXPECT_THAT([&] { phase->GetIncrementIP(2, ldXX); },
                ThrowsMessage<std::exception>(
                    StrEq("Increment type is not implemented with direction: 2")));
    EXPECT_THAT([&] { phase->GetIncrementIP(4); },
                ThrowsMessage<std::exception>(
                    StrEq("Increment type is not implemented without direction: 4")));
}

TEST(Increments, StoredFormRoundTripsAndRefusesWhatIsNotSixValues) {
    auto stresses = Make<TStressIncrements>(nullptr);
    stresses->SetQBStresses({-100000, 0.25, 1e-7, 0, 0, 12.5});
    EXPECT_EQ(stresses->ToString(), "-100000\t0.25\t1E-7\t0\t0\t12.5");
    auto strains = Make<TStrainIncrements>(nullptr);
    strains->LoadFromString(stresses->ToString() + "\t"); // a trailing tab is no seventh value
    EXPECT_EQ(strains->QBStrains(), stresses->QBStresses());
    EXPECT_THROW(strains->LoadFromString("1\t2\t3\t4\t5"), EIncrementsException);
    EXPECT_THROW(strains->LoadFromString("1\t2\t3\t4\t5\tx"), EIncrementsException);
    EXPECT_THROW(strains->LoadFromString("1 2 3 4 5 6"), EIncrementsException);
    EXPECT_EQ(strains->GetIncrement(ldZX), 12.5); // unchanged by the failures

    auto conditions = Make<TBoundaryConditions>(nullptr);
    conditions->SetBoundaryCondition(ldYY, bcFixedStress);
    EXPECT_EQ(conditions->ToString(), "0\t1\t0\t0\t0\t0");
    conditions->LoadFromString("1\t0\t1\t1\t0\t0");
    EXPECT_EQ(conditions->GetBoundaryCondition(ldXY), bcFixedStress);
    EXPECT_THROW(conditions->LoadFromString("1\t0\t2\t1\t0\t0"), EIncrementsException);
}

TEST(Increments, ChangesAreUndoneWithTheirValues) {
    TKovObjectManager manager;
    auto strains = Make<TStrainIncrements>(&manager);
    manager.ClearRevertStacks();
    strains->SetIncrement(ldYY, -10.0);
    strains->SetQBStrains({1, 2, 3, 4, 5, 6});
    strains->SetQBStrains({1, 2, 3, 4, 5, 6}); // equal: no step
    EXPECT_EQ(manager.UndoCount(), 2);
    manager.Undo();
    EXPECT_EQ(strains->QBStrains(), (TQBLoadDirectionDoubleArray{0, -10, 0, 0, 0, 0}));
    manager.Undo();
    EXPECT_EQ(strains->QBStrains(), TQBLoadDirectionDoubleArray{});
}
