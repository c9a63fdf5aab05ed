#include "TestThing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace tw;
using namespace tw::testing;
using ::testing::StrEq;
using ::testing::ThrowsMessage;

TEST(Properties, LimitsDefaultsAndInitialisation) {
    auto thing = Make<TTestThing>(nullptr);
    auto& unlimited00 = thing->Property<TIPInteger>("Unlimited00");
    auto& unlimited51 = thing->Property<TIPInteger>("Unlimited51");
    auto& bounded = thing->Property<TIPDouble>("Bounded");

    // 0..0 and 5..1 mean no limit.
    unlimited00.SetValue(-7);
    unlimited51.SetValue(-100);
    EXPECT_EQ(unlimited00.Value(), -7);
    EXPECT_EQ(unlimited51.Value(), -100);

    // A range that excludes 0 starts at its bound, and is not initialised before a write.
    EXPECT_EQ(bounded.Value(), 1.0);
    EXPECT_FALSE(bounded.Initialized());
    bounded.SetValue(20);
    EXPECT_EQ(bounded.Value(), 10.0);
    bounded.SetValue(-3);
    EXPECT_EQ(bounded.Value(), 1.0);
    EXPECT_TRUE(bounded.Initialized());
}

TEST(Properties, EqualWritesAndUpdateBracketsNotifyAsUsersExpect) {
    TKovObjectManager manager;
    auto thing = Make<TTestThing>(&manager);
    manager.ClearRevertStacks(); // the creation step
    TCountingObserver observer;
    thing->AttachObserver(&observer);
    auto& number = thing->Number();

    number.SetValue(0.0); // equal to the default
    EXPECT_TRUE(number.Initialized());
    EXPECT_EQ(observer.Count, 0);
    EXPECT_EQ(manager.UndoCount(), 0);

    // -0.0 is another value than 0.0: its sign byte differs.
    number.SetValue(-0.0);
    EXPECT_EQ(observer.Count, 1);

    thing->BeginUpdate();
    for (int i = 1; i <= 10; ++i)
        number.SetValue(i);
    thing->EndUpdate();
    EXPECT_EQ(observer.Count, 2);

    // A property's own bracket queues its notification; the no-notification end drops it.
    number.BeginUpdate();
    number.SetValue(42);
    number.EndUpdateNoNotification();
    EXPECT_EQ(observer.Count, 2);
    number.BeginUpdate();
    number.SetValue(43);
    number.EndUpdate();
    EXPECT_EQ(observer.Count, 3);
    EXPECT_EQ(thing->Reactions.back(), "Number");
    thing->DetachObserver(&observer);
}

TEST(Properties, ReadOnlyIsAdviceButAPermanentlyReadOnlyOwnerRefuses) {
    auto thing = Make<TTestThing>(nullptr);
    thing->Number().SetReadOnly(true);
    thing->Number().SetValue(3); // read-only is for editors and commands
    EXPECT_EQ(thing->Number().Value(), 3);

    thing->SetName("Owner");
    thing->SetPermanentlyReadOnly(true);
    EXPECT_THAT([&] { thing->Number().SetValue(4); },
                ThrowsMessage<EIntrinsicPropertyAssignError>(
                    StrEq("Cannot modify Number while owner Owner is marked as read-only")))
        << "expected a refusal";
    EXPECT_EQ(thing->Number().Value(), 3);
    EXPECT_THAT([&] { thing->SetPermanentlyReadOnly(false); },
                ThrowsMessage<EKovException>(
                    StrEq("Object Owner is marked as permanently read-only, cannot modify "
                          "back to non-readonly")));
}

TEST(Properties, EnumerationsMatchOrdinalsAndCompactTexts) {
    TKovObjectManager manager;
    auto thing = Make<TTestThing>(&manager);
    auto& choice = thing->Choice();
    choice.SetStrValue("2");
    EXPECT_EQ(choice.IntValue(), 2);
    choice.SetStrValue(" alpha ");
    EXPECT_EQ(choice.IntValue(), 0);
    choice.SetStrValue("Gamma-Ray");
    EXPECT_EQ(choice.StrValueCompact(), "gammaray");
    EXPECT_EQ(choice.ValueCaption(), "γ");
    EXPECT_THAT([&] { choice.SetStrValue("Delta"); },
                ThrowsMessage<EIntrinsicPropertyAssignError>(
                    StrEq("Invalid value: \"Delta\". Allowed values are: \"alpha\", "
                          "\"beta\", \"gammaray\" or ordinal value.")));
    EXPECT_THROW(choice.SetIntValue(3), EIntrinsicPropertyAssignError);

    // Visibility changes need a snapshot of their own.
    EXPECT_THROW(choice.DisableIntValue(1), EIntrinsicPropertyException);
    {
        TUndoSnapshot snapshot(*thing, "Disable Beta");
        choice.DisableIntValue(1);
    }
    EXPECT_EQ(choice.AllowedStringValues(), "\"alpha\", \"gammaray\"");
    EXPECT_EQ(choice.GetStrValueAsIndexIfValid("beta", true), -1);
    EXPECT_EQ(choice.GetStrValueAsIndexIfValid("beta", false), 1);
    EXPECT_THAT([&] { choice.SetIntValue(1); },
                ThrowsMessage<EIntrinsicPropertyAssignError>(
                    StrEq("Invalid value 1 for Choice, value is disabled")));
    // While the stacks are locked (a revert, a load) any earlier value can come back.
    manager.LockRevert();
    choice.SetIntValue(1);
    manager.UnlockRevert();
    EXPECT_EQ(choice.IntValue(), 1);
}

TEST(Properties, EnumerationDeclarationsAreCheckedWhenMade) {
    auto make = [](std::vector<std::string> strings, std::vector<std::string> captions = {}) {
        TKovIntrinsicPropertyDeclarationList list;
        list.AddEnumeration("E", std::move(strings), 0, "", std::move(captions));
    };
    EXPECT_THROW(make({}), EIntrinsicPropertyDeclarationError);
    EXPECT_THAT(
        [&] {
            make({"a", "12"});
        },
        ThrowsMessage<EIntrinsicPropertyDeclarationError>(
            StrEq("Enumeration E is not allowed to have string values that look as "
                  "integer, but found value \"12\" at position 1")));
    EXPECT_THROW(make({"Gamma Ray", "gamma-ray"}), EIntrinsicPropertyDeclarationError);
    EXPECT_THROW(make({"a", "b"}, {"A"}), EIntrinsicPropertyDeclarationError);
    TKovIntrinsicPropertyDeclarationList list;
    list.AddDouble("Name");
    list.AddDouble(" name ");
    EXPECT_THROW(list.CheckUnique(), EIntrinsicPropertyDeclarationError);
}

TEST(Properties, BooleanDisablingAndTextCleaning) {
    auto thing = Make<TTestThing>(nullptr);
    auto& flag = thing->Property<TIPBoolean>("Flag");
    flag.SetValue(true);
    flag.SetTrueDisabled(true);
    EXPECT_FALSE(flag.Value());
    flag.SetValue(true); // ignored
    flag.SetTrueDisabled(false);
    EXPECT_TRUE(flag.Value());

    auto& text = thing->Property<TIPText>("Text");
    text.SetValue("  one\r\ntwo\tthree\n ");
    EXPECT_EQ(text.Value(), "one two three");
    auto& free = thing->Property<TIPText>("Free");
    free.SetValue(" a\r\nb\t");
    EXPECT_EQ(free.Value(), " a\r\nb\t");
    EXPECT_THROW(text.LoadValue(TVarRec(int32_t(3))), EIntrinsicPropertyAssignError);
}

TEST(Properties, TwoToleranceRulesForNumbers) {
    auto a = Make<TTestThing>(nullptr);
    auto b = Make<TTestThing>(nullptr);
    const auto& number = a->Number();
    EXPECT_EQ(number.CompareValues(1.0, 1.0 + 1e-16), 0);
    EXPECT_EQ(number.CompareValues(0.0, 1e-31), 0);
    EXPECT_EQ(number.CompareValues(1.0, 1.0 + 1e-12), 1);
    EXPECT_EQ(number.CompareValues(2.0, 1.0), -1);
    EXPECT_EQ(number.CompareValues(std::string("x"), 1.0), 0);

    a->Number().SetValue(1.0);
    b->Number().SetValue(1.0 + 0.9e-12);
    EXPECT_TRUE(a->Number().HasSameValueAs(b->Number()));
    b->Number().SetValue(1.0 + 2e-12);
    EXPECT_FALSE(a->Number().HasSameValueAs(b->Number()));
    EXPECT_FALSE(a->Number().HasSameValueAs(b->Choice()));
    EXPECT_FALSE(a->HasSameIntrinsicPropertyValues(*b));
    b->Number().SetValue(1.0);
    EXPECT_TRUE(a->HasSameIntrinsicPropertyValues(*b));
}

TEST(Properties, DerivedValuesLiveInTheOwnerAndAreNotCopied) {
    TKovObjectManager manager;
    auto a = Make<TTestThing>(&manager);
    auto& twice = a->Property<TIPDouble>("Twice");
    twice.SetValue(8);
    EXPECT_EQ(a->Number().Value(), 4);
    EXPECT_TRUE(twice.IsDerived());
    manager.Undo();
    EXPECT_EQ(a->Number().Value(), 0);
    EXPECT_EQ(twice.Value(), 0);

    auto b = Make<TTestThing>(&manager);
    b->Number().SetValue(5);
    b->Property<TIPText>("Text").SetValue("copied");
    b->Property<TIPBoolean>("Flag").SetReadOnly(true);
    b->Property<TIPBoolean>("Flag").SetValue(true);
    a->CopyIntrinsicPropertiesFrom(*b);
    EXPECT_EQ(a->Number().Value(), 5);
    EXPECT_EQ(a->Property<TIPText>("Text").Value(), "copied");
    EXPECT_EQ(a->GetObjectTypeName(), "TestThing");
    EXPECT_EQ(manager.GetUndoName(0), "Copy intrinsic properties");
    manager.Undo();
    EXPECT_EQ(a->Number().Value(), 0);
    EXPECT_EQ(a->Property<TIPText>("Text").Value(), "");
}
