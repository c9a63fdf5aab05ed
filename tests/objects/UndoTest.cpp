#include "TestThing.h"

#include "objects/RevertStacks.h"
#include "services/Log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

using namespace tw;
using namespace tw::testing;
using ::testing::StartsWith;
using ::testing::StrEq;
using ::testing::ThrowsMessage;

namespace {
// A project-like fixture: a manager whose construction work is not an undo step.
struct UndoFixture : ::testing::Test {
    TKovObjectManager Manager;
    std::unique_ptr<TTestThing> Make() {
        Manager.LockRevert();
        auto thing = tw::Make<TTestThing>(&Manager);
        Manager.UnlockRevert();
        return thing;
    }
};
} // namespace

TEST_F(UndoFixture, PropertyWritesUndoAndRedoWithCaptions) {
    auto thing = Make();
    thing->SetName("Thing");
    Manager.ClearRevertStacks();
    TCountingObserver observer;
    thing->AttachObserver(&observer);

    thing->Number().SetValue(1.5);
    thing->Choice().SetIntValue(2);
    EXPECT_EQ(Manager.UndoCount(), 2);
    EXPECT_EQ(Manager.GetUndoName(0), "Set Thing.Choice to \"Gamma Ray(2)\"");
    EXPECT_EQ(Manager.GetUndoName(1), "Set Thing.Number to \"1.5\"");

    Manager.Undo();
    EXPECT_EQ(thing->Choice().IntValue(), 0);
    Manager.Undo();
    EXPECT_EQ(thing->Number().Value(), 0.0);
    EXPECT_GE(observer.Count, 4); // observers hear undo as any change
    Manager.Undo();               // empty stack: nothing
    EXPECT_EQ(Manager.RedoCount(), 2);

    Manager.Redo();
    EXPECT_EQ(thing->Number().Value(), 1.5);
    // A change after an undo forfeits redo.
    thing->Number().SetValue(7);
    EXPECT_EQ(Manager.RedoCount(), 0);
    thing->DetachObserver(&observer);
}

TEST_F(UndoFixture, OneSnapshotKeepsTheFirstValueAndEmptyOnesVanish) {
    auto thing = Make();
    thing->Number().SetValue(1);
    {
        TUndoSnapshot snapshot(*thing, "Twice");
        thing->Number().SetValue(2);
        thing->Number().SetValue(3);
    }
    EXPECT_EQ(Manager.UndoCount(), 2);
    EXPECT_EQ(Manager.GetUndoName(0), "Twice");
    Manager.Undo();
    EXPECT_EQ(thing->Number().Value(), 1);

    const int redo = Manager.RedoCount();
    Manager.UndoBeginSnapshot("Nothing");
    Manager.UndoEndSnapshot();
    EXPECT_EQ(Manager.UndoCount(), 1);
    EXPECT_EQ(Manager.RedoCount(), redo);

    EXPECT_THAT(
        [&] { Manager.UndoEndSnapshot(); },
        ThrowsMessage<ERevertStackException>(StartsWith(
            "Unbalanced call to TKovUndoStack.EndSnapshot for undo stack named \"Undo stack of")));
    Manager.UndoBeginSnapshot("Open");
    EXPECT_THROW(Manager.ClearRevertStacks(), EKovException);
    Manager.UndoEndSnapshot();
}

TEST_F(UndoFixture, RollbackUndoesPartialWorkAndLeavesNoRedo) {
    auto thing = Make();
    thing->Number().SetValue(1);
    const int undo = Manager.UndoCount();
    try {
        TUndoSnapshot snapshot(*thing, "Failing action");
        thing->Number().SetValue(2);
        thing->Property<TIPText>("Text").SetValue("partial");
        throw std::runtime_error("fails half-way");
    } catch (const std::runtime_error&) {
    }
    EXPECT_EQ(thing->Number().Value(), 1);
    EXPECT_EQ(thing->Property<TIPText>("Text").Value(), "");
    EXPECT_EQ(Manager.UndoCount(), undo);
    EXPECT_EQ(Manager.RedoCount(), 0);
    EXPECT_FALSE(Manager.IsReverting());
}

TEST_F(UndoFixture, ReferenceToADeletedObjectComesBackWithItsIdentity) {
    auto holder = Make();
    auto target = Make();
    target->SetName("Target");
    holder->Ref().SetValue(target.get());
    const TUniqueID id = target->UniqueID();

    TTestThing* raw = target.release();
    raw->FreeWithUndo(); // the stack owns it now
    EXPECT_EQ(holder->Ref().Value(), nullptr);
    EXPECT_FALSE(holder->Ref().IsEmpty());
    EXPECT_EQ(Manager.ObjectRegistry().GetObject("Target"), nullptr);
    EXPECT_EQ(Manager.GetUndoName(0), "Delete");

    Manager.Undo();
    EXPECT_EQ(holder->Ref().Value(), raw);
    EXPECT_EQ(raw->UniqueID(), id);
    EXPECT_EQ(Manager.ObjectRegistry().GetObject("target"), raw);
    target.reset(raw); // back in the model: ours again
}

TEST_F(UndoFixture, FiftyStepsAndTheOldestDeletedObjectGoesForGood) {
    auto thing = Make();
    TTestThing* doomed = Make().release();
    const int destroyedBefore = TTestThing::Destroyed;
    doomed->FreeWithUndo();
    for (int i = 1; i <= 49; ++i)
        thing->Number().SetValue(i);
    EXPECT_EQ(Manager.UndoCount(), 50);
    EXPECT_EQ(TTestThing::Destroyed, destroyedBefore);
    thing->Number().SetValue(50); // the fifty-first action
    EXPECT_EQ(Manager.UndoCount(), 50);
    EXPECT_EQ(TTestThing::Destroyed, destroyedBefore + 1);
}

TEST_F(UndoFixture, UndoingADeletionFreesANewcomerWithItsName) {
    auto first = Make();
    first->SetName("Shared");
    TTestThing* raw = first.release();
    raw->FreeWithUndo();
    // A newcomer takes the name without an undo record (a load, say).
    Manager.LockRevert();
    auto newcomer = tw::Make<TTestThing>(&Manager);
    newcomer->SetName("Shared");
    Manager.UnlockRevert();
    EXPECT_EQ(newcomer->Name(), "Shared");

    Manager.Undo();
    EXPECT_TRUE(newcomer->IsFreed());
    EXPECT_EQ(Manager.ObjectRegistry().GetObject("Shared"), raw);
    first.reset(raw);
}

TEST_F(UndoFixture, RenamesAndCreationsAreSteps) {
    auto thing = Make();
    thing->SetName("Before");
    Manager.ClearRevertStacks();
    thing->SetName("After");
    EXPECT_EQ(Manager.GetUndoName(0), "Rename");
    Manager.Undo();
    EXPECT_EQ(thing->Name(), "Before");
    EXPECT_EQ(Manager.ObjectRegistry().GetObject("before"), thing.get());
    EXPECT_EQ(Manager.ObjectRegistry().GetObject("after"), nullptr);
    Manager.Redo();
    EXPECT_EQ(thing->Name(), "After");

    // Undoing a creation takes the object out of the model; redo brings it back.
    auto created = tw::Make<TTestThing>(&Manager);
    const std::string name = created->Name();
    Manager.Undo();
    EXPECT_TRUE(created->IsFreed());
    EXPECT_EQ(Manager.ObjectRegistry().GetObject(name), nullptr);
    Manager.Redo();
    EXPECT_FALSE(created->IsFreed());
    EXPECT_EQ(Manager.ObjectRegistry().GetObject(name), created.get());
}

TEST(Undo, WithoutManagerNothingIsRecordedAndNothingElseChanges) {
    auto thing = Make<TTestThing>(nullptr);
    TCountingObserver observer;
    thing->AttachObserver(&observer);
    EXPECT_FALSE(thing->RevertEnabled());
    EXPECT_FALSE(thing->BeginUndoSnapshot("x"));
    thing->Number().SetValue(2);
    EXPECT_EQ(thing->Number().Value(), 2);
    EXPECT_EQ(observer.Count, 1);
    const int destroyed = TTestThing::Destroyed;
    thing.release()->FreeWithUndo(); // destroyed at once
    EXPECT_EQ(TTestThing::Destroyed, destroyed + 1);
}

namespace {
// A test-like class: stored stresses, a derived cell pressure that writes them and the first
// phase of its own phase list, as the lab's tests do.
class TMiniTest : public TKovObservableObject {
    TW_KOV_CLASS(TMiniTest, TKovObservableObject)
public:
    explicit TMiniTest(TKovObjectManager* manager)
        : TKovObservableObject(manager), FPhases(Make<TKovObservableObjectList>(manager, true)) {}
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
        list.AddDouble("SigxxTotInit");
        list.AddDerivedDouble("CellPressure",
                              {[](const TKovIntrinsicProperty& p) {
                                   return -static_cast<TMiniTest*>(p.Owner())
                                               ->Property<TIPDouble>("SigxxTotInit")
                                               .Value();
                               },
                               [](TKovIntrinsicProperty& p, const double& v) {
                                   auto& test = *static_cast<TMiniTest*>(p.Owner());
                                   test.Property<TIPDouble>("SigxxTotInit").SetValue(-v);
                                   if (test.Phases().Count() > 0)
                                       test.Phases().GetItemAs<TTestThing>(0)->Number().SetValue(v);
                               }});
    }
    TKovObservableObjectList& Phases() const { return *FPhases; }

private:
    std::unique_ptr<TKovObservableObjectList> FPhases;
};
TW_KOV_CLASS_IMPL(TMiniTest, TKovObservableObject, &TMiniTest::DeclareProperties)
} // namespace

TEST(UndoOfTests, AMainTestWriteIsOneStepAndALoadedTestRecordsNothing) {
    TKovObjectManager manager;
    std::unique_ptr<TMiniTest> main;
    {
        TRevertLock lock(&manager);
        main = Make<TMiniTest>(&manager);
        main->SetName("Main");
        main->Phases().Add(Make<TTestThing>(&manager).release());
    }
    main->Property<TIPDouble>("CellPressure").SetValue(250000);
    ASSERT_EQ(manager.UndoCount(), 1);
    EXPECT_EQ(manager.GetUndoName(0), "Set Main.CellPressure to \"250000\"");
    auto& phase = *main->Phases().GetItemAs<TTestThing>(0);
    EXPECT_EQ(phase.Number().Value(), 250000);
    manager.Undo();
    EXPECT_EQ(main->Property<TIPDouble>("SigxxTotInit").Value(), 0);
    EXPECT_EQ(phase.Number().Value(), 0);
    manager.Redo();
    EXPECT_EQ(main->Property<TIPDouble>("CellPressure").Value(), 250000);

    // A loaded test has no manager: it changes, but records nothing anywhere.
    auto loaded = Make<TMiniTest>(nullptr);
    loaded->Phases().Add(Make<TTestThing>(nullptr).release());
    loaded->Property<TIPDouble>("CellPressure").SetValue(1e5);
    loaded->Phases().Delete(0);
    EXPECT_EQ(loaded->Property<TIPDouble>("SigxxTotInit").Value(), -1e5);
    EXPECT_EQ(manager.UndoCount(), 1);
    EXPECT_EQ(manager.RedoCount(), 0);
    EXPECT_FALSE(loaded->Property<TIPDouble>("SigxxTotInit").RevertEnabled());
}

TEST_F(UndoFixture, CreatedAndDeletedInOneStepIsDestroyedOnceWhenTheStepGoes) {
    auto list = tw::Make<TKovObjectList>(nullptr, false); // a plain holder, no manager
    const int destroyed = TTestThing::Destroyed;
    Manager.UndoBeginSnapshot("Make and drop");
    TTestThing* temporary = tw::Make<TTestThing>(&Manager).release();
    temporary->Number().SetValue(3); // no memento: the creation entry covers it
    EXPECT_TRUE(Manager.UndoSnapshotAlreadyContainsBackupOf(temporary));
    temporary->FreeWithUndo();
    Manager.UndoEndSnapshot();
    EXPECT_EQ(Manager.UndoCount(), 1);
    EXPECT_TRUE(temporary->IsFreed());
    Manager.Undo(); // back before its creation: still out of the model
    EXPECT_TRUE(temporary->IsFreed());
    Manager.Redo();
    EXPECT_TRUE(temporary->IsFreed());
    EXPECT_EQ(TTestThing::Destroyed, destroyed);
    Manager.ClearRevertStacks();
    EXPECT_EQ(TTestThing::Destroyed, destroyed + 1);
}

TEST_F(UndoFixture, AStepWhoseObjectIsGoneUndoesTheRestSafely) {
    auto keeper = Make();
    auto gone = Make();
    {
        TUndoSnapshot snapshot(*keeper, "Both");
        keeper->Number().SetValue(1);
        gone->Number().SetValue(2);
    }
    gone.reset(); // its owner destroys it for good; the step keeps no memento of it
    Manager.Undo();
    EXPECT_EQ(keeper->Number().Value(), 0);
    Manager.Redo();
    EXPECT_EQ(keeper->Number().Value(), 1);

    // A rolled-back creation inside an owning list destroys the new object.
    auto list = tw::Make<TKovObservableObjectList>(&Manager, true);
    Manager.ClearRevertStacks();
    const int destroyed = TTestThing::Destroyed;
    try {
        TUndoSnapshot snapshot(*list, "Add one");
        list->Add(tw::Make<TTestThing>(&Manager).release());
        throw std::runtime_error("refused");
    } catch (const std::runtime_error&) {
    }
    EXPECT_EQ(list->Count(), 0);
    EXPECT_EQ(TTestThing::Destroyed, destroyed + 1);
    EXPECT_EQ(Manager.UndoCount(), 0);
    EXPECT_EQ(Manager.RedoCount(), 0);
}

TEST_F(UndoFixture, DiagnosisReportsStacksThatChangedDuringARead) {
    auto thing = Make();
    TProjectRevertStackDiagnosis diagnosis;
    std::string report;
    diagnosis.SetOnMismatch([&](const std::string& message) { report = message; });
    EXPECT_TRUE(diagnosis.PopAndVerifyCurrentStackState("nothing pushed"));
    diagnosis.PushCurrentStackState(&Manager);
    thing->Number().SetValue(1);
    EXPECT_FALSE(diagnosis.PopAndVerifyCurrentStackState("a read"));
    EXPECT_EQ(report, "Revert stacks changed during a read: undo 0 -> 1, redo 0 -> 0");
    diagnosis.PushCurrentStackState(&Manager);
    EXPECT_TRUE(diagnosis.PopAndVerifyCurrentStackState("nothing"));
}

TEST_F(UndoFixture, ClearingTheStacksIsTraced) {
    auto thing = Make();
    thing->Number().SetValue(1);
    std::vector<std::string> traces;
    SetRevertTrace([&](const std::string& text) { traces.push_back(text); });
    Manager.ClearRevertStacks();
    SetRevertTrace(nullptr);
    EXPECT_EQ(traces, (std::vector<std::string>{"+++ Revert stacks cleared!"}));
    EXPECT_EQ(Manager.UndoCount(), 0);
}

TEST_F(UndoFixture, ANegativeStackSizeKeepsNoSteps) {
    auto thing = Make();
    Manager.SetMaxRevertStack(-3);
    EXPECT_EQ(Manager.MaxRevertStack(), 0);
    thing->Number().SetValue(2); // a stack of no steps keeps nothing
    EXPECT_EQ(Manager.UndoCount(), 0);
    EXPECT_EQ(thing->Number().Value(), 2);
}

TEST_F(UndoFixture, MisuseOfTheMementosAndOfTheLockIsRefusedWithItsMessage) {
    auto thing = Make();
    TKovRevertObjectMapList_Memento snapshot("x");
    EXPECT_THAT([&] { snapshot.Clear(static_cast<TRevertStackCleanMode>(5)); },
                ThrowsMessage<ERevertStackException>(StrEq("Unexpected clean mode: 5")));
    TKovRevertObjectMap_Memento entry(thing.get(), nullptr);
    EXPECT_THAT([&] { snapshot.EntryNotify(entry, 9); },
                ThrowsMessage<ERevertStackException>(StrEq("Unexpected aciont: 9")));
    auto stranger = Make();
    EXPECT_THAT([&] { entry.OnObjectDestroyed(stranger.get()); },
                ThrowsMessage<ERevertStackException>(
                    StrEq("Expected destroy event only from own old or new object!")));
    Manager.LockRevert();
    Manager.UnlockRevert();
    EXPECT_THAT([&] { Manager.UnlockRevert(); }, ThrowsMessage<ERevertStackException>(StrEq(
                                                     "Did not expect to get revert lock < 0!")));
}

namespace {
// A thing whose state can be made to refuse copying: a memento that cannot be put back.
class TFragileThing : public TTestThing {
    TW_KOV_CLASS(TFragileThing, TTestThing)
public:
    using TTestThing::TTestThing;
    static inline bool FailAssign = false;

protected:
    void AssignEssentialState(const TKovObject& source) override {
        if (FailAssign)
            throw std::runtime_error("state refuses to be copied");
        TTestThing::AssignEssentialState(source);
    }
};
TW_KOV_CLASS_IMPL(TFragileThing, TTestThing, nullptr)
} // namespace

TEST_F(UndoFixture, ARollbackThatFailsDuringUnwindingIsLoggedAndTheModelStaysUsable) {
    Manager.LockRevert();
    auto thing = tw::Make<TFragileThing>(&Manager);
    Manager.UnlockRevert();
    thing->SetName("Fragile");
    thing->Number().SetValue(1);
    const int steps = Manager.UndoCount();
    std::vector<std::string> logged;
    TLogSink previous = SetLogSink([&](const std::string& message) { logged.push_back(message); });

    // The action fails, and so does putting the thing's own state back: the action's exception
    // comes through (no second exception ends the program), the failure of the rollback is
    // logged, and the rest of the step is still rolled back.
    EXPECT_THROW(
        {
            TUndoSnapshot snapshot(*thing, "Failing action");
            thing->Number().SetValue(2);
            thing->SetName("Renamed");
            TFragileThing::FailAssign = true;
            throw std::logic_error("the action fails");
        },
        std::logic_error);
    TFragileThing::FailAssign = false;
    SetLogSink(previous);

    ASSERT_EQ(logged.size(), 1u);
    EXPECT_NE(logged[0].find("rolling back an undo step failed: state refuses to be copied"),
              std::string::npos);
    EXPECT_EQ(thing->Number().Value(), 1.0); // its own entry went back
    EXPECT_FALSE(thing->IsFreed());
    // Registered under the one name it holds, whichever it is after the failed copy.
    EXPECT_EQ(Manager.ObjectRegistry().GetObject(thing->Name()), thing.get());
    EXPECT_FALSE(Manager.IsUndoRedoSnapshotOpened());
    EXPECT_EQ(Manager.UndoCount(), steps);

    // The model goes on: a new step records and undoes.
    thing->Number().SetValue(5);
    EXPECT_EQ(Manager.UndoCount(), steps + 1);
    Manager.Undo();
    EXPECT_EQ(thing->Number().Value(), 1.0);
}

TEST_F(UndoFixture, AFailedCloseOfAnUnbalancedStepRaisesOnlyFromClose) {
    auto thing = Make();
    TUndoSnapshot snapshot(*thing, "Outer");
    thing->Number().SetValue(3);
    Manager.UndoEndSnapshot(); // someone else closes the step under the snapshot's feet
    EXPECT_THROW(snapshot.Close(), ERevertStackException);
}
