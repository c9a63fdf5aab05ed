#include "TestThing.h"

#include "objects/NameTools.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

using namespace tw;
using namespace tw::testing;

TEST(Registry, UniqueNamesReuseTheLowestFreeIndex) {
    TKovObjectManager manager;
    auto& registry = manager.ObjectRegistry();
    std::vector<std::unique_ptr<TTestThing>> things;
    auto named = [&](const std::string& name) {
        things.push_back(Make<TTestThing>(&manager));
        things.back()->SetName(registry.GetUniqueName(name));
        return things.back()->Name();
    };
    EXPECT_EQ(named("Test"), "Test");
    EXPECT_EQ(named("Test"), "Test_1");
    EXPECT_EQ(named("Test"), "Test_2");
    EXPECT_EQ(named("Test"), "Test_3");
    // Deleting Test_2 frees its index; the next "Test" takes it again.
    things[2].reset();
    EXPECT_EQ(registry.GetObject("test_2"), nullptr);
    EXPECT_EQ(named("Test"), "Test_2");
    EXPECT_EQ(named("Test"), "Test_4");
    // A taken name with an index steps past it.
    EXPECT_EQ(named("Test_3"), "Test_5");
    EXPECT_EQ(named("Phase_7"), "Phase_7");
    EXPECT_EQ(named("Phase_7"), "Phase_8");
}

TEST(Registry, NamesOfObjects) {
    TKovObjectManager manager;
    auto a = Make<TTestThing>(&manager);
    auto b = Make<TTestThing>(&manager);
    EXPECT_EQ(a->Name(), "TestThing_1");
    EXPECT_EQ(b->Name(), "TestThing_2");

    a->SetName("test");
    a->SetName(" Test "); // same clean form: set in place, no index, no undo step
    EXPECT_EQ(a->Name(), "Test");
    EXPECT_EQ(manager.ObjectRegistry().GetObject("TEST"), a.get());

    b->SetName("test"); // taken by another object: refused silently
    EXPECT_EQ(b->Name(), "TestThing_2");
    b->SetName("not valid!");
    EXPECT_EQ(b->Name(), "TestThing_2");

    auto loose = Make<TTestThing>(nullptr);
    EXPECT_EQ(loose->Name(), "TestThing_1");

    int index;
    std::string root;
    EXPECT_FALSE(SplitInRootAndIndex("123", index, root));
    EXPECT_TRUE(SplitInRootAndIndex("Phase_12", index, root));
    EXPECT_EQ(index, 12);
    EXPECT_EQ(root, "Phase_");
    EXPECT_EQ(MakeValidName(" 2nd test-case "), "_2nd_test_case");
    EXPECT_EQ(CompactName(" Gamma (Ray) - x"), "gammarayx");
    EXPECT_EQ(TypeNameFromClassName("TQBTestTriaxial"), "QBTestTriaxial");
    EXPECT_EQ(TypeNameFromClassName("Number"), "Number");
}

TEST(Registry, GuidRegisterUnderConcurrentReadersAndWriters) {
    TUniqueIDRegister uidRegister;
    auto thing = Make<TTestThing>(nullptr);
    EXPECT_EQ(uidRegister.Get(TUniqueID::Empty()), nullptr);
    uidRegister.Add(thing.get(), TUniqueID::Empty());
    EXPECT_EQ(uidRegister.Get(TUniqueID::Empty()), nullptr);
    uidRegister.Clear();

    constexpr int PerWriter = 2000;
    std::vector<TUniqueID> stable(500);
    for (auto& id : stable)
        id = uidRegister.Add(thing.get());
    std::atomic<bool> wrong{false};
    std::vector<std::thread> threads;
    for (int w = 0; w < 2; ++w)
        threads.emplace_back([&] {
            for (int i = 0; i < PerWriter; ++i) {
                TUniqueID id = uidRegister.Add(thing.get());
                if (uidRegister.Get(id) != thing.get())
                    wrong = true;
                uidRegister.Delete(id);
            }
        });
    for (int r = 0; r < 2; ++r)
        threads.emplace_back([&] {
            for (int round = 0; round < 20; ++round)
                for (const auto& id : stable)
                    if (uidRegister.Get(id) != thing.get())
                        wrong = true;
        });
    for (auto& t : threads)
        t.join();
    EXPECT_FALSE(wrong);
    EXPECT_EQ(uidRegister.Count(), stable.size());

    TUniqueID parsed;
    ASSERT_TRUE(TUniqueID::TryParse(stable[0].ToString(), parsed));
    EXPECT_EQ(parsed, stable[0]);
    EXPECT_FALSE(TUniqueID::TryParse("{not-a-guid}", parsed));
}

TEST(Registry, GlobalStatesOnePerClass) {
    TKovObjectManager manager;
    auto a = Make<TTestThing>(nullptr);
    auto b = Make<TTestThing>(nullptr);
    manager.AddGlobalState(a.get());
    EXPECT_THROW(manager.AddGlobalState(b.get()), EKovObjectRegistryException);
    EXPECT_EQ(manager.GetGlobalState(TTestThing::StaticClass()), a.get());
    EXPECT_EQ(manager.ExtractGlobalState(TTestThing::StaticClass()), a.get());
    EXPECT_EQ(manager.GetGlobalState(TTestThing::StaticClass()), nullptr);
}

TEST(Registry, HighPerformanceModeRecordsNothingAndKeepsOtherThreadsOut) {
    TKovObjectManager manager;
    auto thing = Make<TTestThing>(&manager);
    manager.ClearRevertStacks();
    manager.BeginHighPerformanceMode();
    thing->Number().SetValue(3);
    EXPECT_EQ(manager.UndoCount(), 0);
    std::atomic<bool> entered{false};
    std::thread other([&] {
        manager.BeginHighPerformanceMode();
        entered = true;
        manager.EndHighPerformanceMode();
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_FALSE(entered); // the bracket is held here
    manager.EndHighPerformanceMode();
    other.join();
    EXPECT_TRUE(entered);
    thing->Number().SetValue(4);
    EXPECT_EQ(manager.UndoCount(), 1);
}
