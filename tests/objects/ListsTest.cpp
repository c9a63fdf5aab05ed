#include "TestThing.h"

#include "objects/ClassObjectAssociations.h"
#include "objects/RadixTree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace tw;
using namespace tw::testing;
using ::testing::StrEq;
using ::testing::ThrowsMessage;

namespace {
struct Lists : ::testing::Test {
    TKovObjectManager Manager;
    // Made outside any step, as a project makes its objects on load.
    template <typename T, typename... Args> std::unique_ptr<T> Quietly(Args&&... args) {
        TRevertLock lock(&Manager);
        return Make<T>(std::forward<Args>(args)...);
    }
    TTestThing* Named(const std::string& name) {
        TRevertLock lock(&Manager);
        auto thing = Make<TTestThing>(&Manager);
        thing->SetName(name);
        return thing.release();
    }
};
} // namespace

TEST_F(Lists, DeletingFromAnOwningListIsUndoneInPlaceWithTheSameObject) {
    auto list = Quietly<TKovObservableObjectList>(&Manager, true);
    TTestThing* a = Named("A");
    TTestThing* b = Named("B");
    TTestThing* c = Named("C");
    {
        TRevertLock lock(&Manager);
        list->Extend({a, b, c});
    }
    const TUniqueID id = b->UniqueID();
    const int destroyed = TTestThing::Destroyed;
    TCountingObserver observer;
    list->AttachObserver(&observer);

    list->Delete(1);
    EXPECT_EQ(Manager.GetUndoName(0), "Delete 1");
    EXPECT_EQ(list->NamesAsCommaText(), "A,C");
    EXPECT_TRUE(b->IsFreed()); // kept by the step, out of the model
    EXPECT_EQ(Manager.ObjectRegistry().GetObject("B"), nullptr);
    EXPECT_EQ(TTestThing::Destroyed, destroyed);

    Manager.Undo();
    EXPECT_EQ(list->IndexOf(b), 1);
    EXPECT_EQ(b->UniqueID(), id);
    EXPECT_FALSE(b->IsFreed());
    EXPECT_EQ(Manager.ObjectRegistry().GetObject("b"), b);
    EXPECT_GE(observer.Count, 2);
    Manager.Redo();
    EXPECT_EQ(list->NamesAsCommaText(), "A,C");
    EXPECT_TRUE(b->IsFreed());
    // When the step goes, so does the object: exactly once.
    Manager.ClearRevertStacks();
    EXPECT_EQ(TTestThing::Destroyed, destroyed + 1);
    list->DetachObserver(&observer);
}

TEST_F(Lists, EveryChangeIsAStepWithItsCaption) {
    auto list = Quietly<TKovObjectList>(&Manager, true);
    TTestThing* x = Named("X");
    TTestThing* y = Named("Y");
    list->Add(x);
    EXPECT_EQ(Manager.GetUndoName(0), "Add X");
    list->Insert(0, y);
    EXPECT_EQ(Manager.GetUndoName(0), "Insert \"Y\" at position 0");
    list->SortByName();
    EXPECT_EQ(Manager.GetUndoName(0), "Sort");
    EXPECT_EQ(list->NamesAsCommaText(), "X,Y");
    TKovObject* extracted = list->Extract(x);
    EXPECT_EQ(Manager.GetUndoName(0), "Extract \"X\"");
    EXPECT_FALSE(x->IsFreed()); // extracted, not deleted: the caller owns it
    std::unique_ptr<TKovObject> owned(extracted);
    list->Add(y); // the same object twice
    list->RemoveDuplicates();
    EXPECT_EQ(Manager.GetUndoName(0), "Remove duplicates");
    EXPECT_EQ(list->Count(), 1);
    EXPECT_FALSE(y->IsFreed());
    list->Clear();
    EXPECT_EQ(Manager.GetUndoName(0), "Clear");
    EXPECT_TRUE(y->IsFreed());
    EXPECT_THROW(list->GetItem(0), EKovListException);
    Manager.Undo();
    EXPECT_EQ(list->First(), y);
    EXPECT_FALSE(y->IsFreed());
    Manager.Undo();
    EXPECT_EQ(list->Count(), 2); // the duplicate is back too
}

TEST(ListsWithoutManager, DestroyAtOnce) {
    auto list = Make<TKovObjectList>(nullptr, true);
    const int destroyed = TTestThing::Destroyed;
    list->Add(Make<TTestThing>(nullptr).release());
    list->Add(Make<TTestThing>(nullptr).release());
    list->Delete(0);
    EXPECT_EQ(TTestThing::Destroyed, destroyed + 1);
    list->Clear();
    EXPECT_EQ(TTestThing::Destroyed, destroyed + 2);
    list->Add(nullptr);
    list->Pack();
    EXPECT_EQ(list->Count(), 0);
    EXPECT_EQ(list->ObjectManager(), nullptr);
}

TEST_F(Lists, AReferenceListResolvesStoredGuidsWhenTheTargetsRegister) {
    auto references = Quietly<TKovReferenceList>(&Manager);
    const TUniqueID first = TUniqueID::New(), second = TUniqueID::New();
    std::vector<std::unique_ptr<TTestThing>> loaded;
    TCountingObserver observer;
    references->AttachObserver(&observer);
    references->SetPersistedGuids({first, second});
    EXPECT_EQ(references->Count(), 0);
    EXPECT_TRUE(references->HasUnresolvedGuids());

    // The file's second object is read first: it takes its place at once.
    loaded.push_back(Quietly<TTestThing>(&Manager, Manager.UIDRegister(), second));
    EXPECT_EQ(references->Count(), 1);
    EXPECT_EQ(references->GetItem(0), loaded[0].get());
    loaded.push_back(Quietly<TTestThing>(&Manager, Manager.UIDRegister(), first));
    ASSERT_EQ(references->Count(), 2);
    EXPECT_EQ(references->GetItem(0), loaded[1].get()); // the order of the file
    EXPECT_FALSE(references->HasUnresolvedGuids());
    EXPECT_EQ(observer.Count, 2);
    EXPECT_EQ(Manager.UndoCount(), 0); // reading is no step
    references->DetachObserver(&observer);

    // Removing a reference deletes nothing; undo brings the reference back.
    references->Remove(loaded[1].get());
    EXPECT_FALSE(loaded[1]->IsFreed());
    Manager.Undo();
    EXPECT_EQ(references->Count(), 2);
    // A target destroyed for good leaves the list, and undo never brings back a dangling one.
    references->Remove(loaded[0].get());
    loaded[0].reset();
    EXPECT_EQ(references->Count(), 1);
    Manager.Undo();
    EXPECT_EQ(references->Count(), 1);
    EXPECT_EQ(references->GetItem(0), loaded[1].get());
}

TEST_F(Lists, ObservableListsReportItemChangesAndWatchLaterItems) {
    auto list = Quietly<TKovObservableObjectList>(&Manager, true);
    TTestThing* a = Named("A");
    {
        TRevertLock lock(&Manager);
        list->Add(a);
    }
    TCountingObserver listObserver, contentObserver;
    list->AttachObserver(&listObserver);
    a->Number().SetValue(1);
    EXPECT_EQ(listObserver.Count, 0);
    list->SetNotifyOnItemChange(true);
    a->Number().SetValue(2);
    EXPECT_EQ(listObserver.Count, 1);
    list->AttachObserverToAllContents(&contentObserver);
    TTestThing* b = Named("B");
    list->Add(b);
    b->Number().SetValue(3);
    EXPECT_EQ(contentObserver.Count, 1); // later items are watched too
    EXPECT_THAT([&] { list->NotifyItem(a, 7); },
                ThrowsMessage<EKovListException>(StrEq("Unexpected list action: 7")));
    EXPECT_EQ(list->GetItemAs<TTestThing>(1), b);
    list->DetachObserverFromAllContents(&contentObserver);
    list->DetachObserver(&listObserver);
}

// A walk of an enumerable list: removals ahead are skipped, insertions visited.
TEST(ObjectListGenerator, SkipsRemovalsAheadAndVisitsInsertionsAtTheEnd) {
    TEnumerableObjectList<int> numbers;
    int one = 1, two = 2, three = 3, four = 4;
    numbers.AddUnique(&one);
    numbers.AddUnique(&two);
    numbers.AddUnique(&three);
    std::vector<int> seen;
    {
        TObjectListGenerator<int> walk(&numbers);
        EXPECT_THROW(walk.Current(), EEnumerableObjectList); // before the first Next
        while (walk.Next()) {
            seen.push_back(*walk.Current());
            if (*walk.Current() == 1) {
                numbers.InsertUnique(0, &four); // before the cursor: not visited
                numbers.Remove(&one);           // the current one
                numbers.Remove(&three);         // ahead: not visited here
                numbers.AddUnique(&three);      // at the end again: visited
            }
        }
        EXPECT_EQ(numbers.ListenerCount(), 1u);
    }
    EXPECT_EQ(seen, (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(numbers.ListenerCount(), 0u);
}

TEST(ObjectListGenerator, RefusesToWalkWithoutAList) {
    TObjectListGenerator<int> unassigned(nullptr);
    EXPECT_THAT([&] { unassigned.Next(); }, ThrowsMessage<EEnumerableObjectList>(StrEq(
                                                "Unassigned TObjectListGenerator.FGeneratedList")));
}

TEST(RadixTree, SplitsAndFindsKeysSharingPrefixes) {
    TRadixTree<int> tree;
    tree.AddOrSet("sigxxinit", 1);
    tree.AddOrSet("sigxxtotinit", 2);
    tree.AddOrSet("sig", 3);
    tree.AddOrSet("s", 4);
    tree.AddOrSet("sigxxinit", 5); // replaced, not added
    EXPECT_EQ(tree.Count(), 4u);
    EXPECT_EQ(*tree.Find("sigxxinit"), 5);
    EXPECT_EQ(*tree.Find("sig"), 3);
    EXPECT_EQ(tree.Find("sigxx"), nullptr); // an inner node without value
    EXPECT_EQ(tree.Find("sigxxinitx"), nullptr);
    EXPECT_EQ(tree.Find(""), nullptr);
    EXPECT_EQ(tree.KeysWithPrefix("sigxx"),
              (std::vector<std::string>{"sigxxinit", "sigxxtotinit"}));
    EXPECT_EQ(tree.KeysWithPrefix("sigx").size(), 2u);
    EXPECT_TRUE(tree.Remove("sig"));
    EXPECT_FALSE(tree.Remove("sig"));
    EXPECT_EQ(*tree.Find("sigxxtotinit"), 2);
    EXPECT_EQ(tree.Count(), 3u);
}

TEST(ClassAssociations, TheNearestRegisteredClassWins) {
    TClassObjectAssociations<std::string> associations;
    associations.Register(TKovObservableObject::StaticClass(), "observable");
    associations.Register(TTestThing::StaticClass(), "thing only", false);
    int level = -1;
    EXPECT_EQ(*associations.Find(TTestThing::StaticClass(), &level), "thing only");
    EXPECT_EQ(level, 0);
    // Not for descendants: the subclass falls back to the observable's association.
    EXPECT_EQ(*associations.Find(TTestSubThing::StaticClass(), &level), "observable");
    EXPECT_EQ(level, 2);
    EXPECT_EQ(associations.Find(TKovObject::StaticClass()), nullptr);
    associations.Register(TTestThing::StaticClass(), "thing and subclasses");
    EXPECT_EQ(*associations.Find(TTestSubThing::StaticClass()), "thing and subclasses");
    EXPECT_EQ(*associations.Find(TTestThing::StaticClass()), "thing and subclasses"); // later wins
    EXPECT_TRUE(associations.Unregister(TTestThing::StaticClass()));
    EXPECT_EQ(*associations.Find(TTestThing::StaticClass()), "observable");

    struct TPair : TTOARClass {
        using TTOARClass::TTOARClass;
    };
    TTOARObject<TPair> pairs;
    auto& general = pairs.Register(std::make_unique<TPair>(TKovObservableObject::StaticClass(),
                                                           TKovObservableObject::StaticClass()));
    auto& special = pairs.Register(
        std::make_unique<TPair>(TTestThing::StaticClass(), TKovObservableObject::StaticClass()));
    auto thing = Make<TTestThing>(nullptr);
    auto kinds = Make<TKindsThing>(nullptr);
    EXPECT_EQ(pairs.GetBestFor(*thing, *kinds, &level), &special);
    EXPECT_EQ(level, 2); // 0 for the thing, 2 for the parentable object
    EXPECT_EQ(pairs.GetBestFor(*kinds, *thing), &general);
    EXPECT_EQ(pairs.GetBest(TKovObject::StaticClass(), TTestThing::StaticClass()), nullptr);
}
