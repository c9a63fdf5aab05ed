#include "TestThing.h"

#include <gtest/gtest.h>

using namespace tw;
using namespace tw::testing;

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

    try {
        Manager.UndoEndSnapshot();
        FAIL();
    } catch (const ERevertStackException& e) {
        EXPECT_TRUE(std::string(e.what()).starts_with(
            "Unbalanced call to TKovUndoStack.EndSnapshot for undo stack named \"Undo stack of"));
    }
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
