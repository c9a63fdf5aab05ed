#include "TestThing.h"

#include "objects/ComparisonUtils.h"
#include "objects/IntrinsicPropertyKinds.h"
#include "objects/IntrinsicPropertyList.h"
#include "objects/IntrinsicPropertyTools.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>

using namespace tw;
using namespace tw::testing;
using ::testing::StrEq;
using ::testing::ThrowsMessage;

namespace {
double One(const TKovIntrinsicProperty&) {
    return 1;
}
} // namespace

TEST(PropertyTools, APropertyKnowsItsIndexInItsOwnerAndItsRootObject) {
    auto thing = Make<TKindsThing>(nullptr);
    auto child = Make<TKindsThing>(nullptr);
    child->SetParent(thing.get());
    EXPECT_EQ(TIntrinsicPropertyTools::GetIndexInOwner(thing->Property<TIPTable>("Table")),
              thing->IntrinsicPropertyDeclarations().GetIndexOfDeclarationFor("Table"));
    EXPECT_EQ(TIntrinsicPropertyTools::GetRootObject(&child->Property<TIPColor>("Colour")),
              thing.get());
}

TEST(PropertyTools, ValuesAsTValueComeFromTheGetterOfTheKindOrOfItsAncestor) {
    auto thing = Make<TKindsThing>(nullptr);
    auto& table = thing->Property<TIPTable>("Table");
    table.SetColCount(2);
    table.SetValues({1, 2, 3, 4});
    const TValue rows = TIntrinsicPropertyTools::GetValueAsTValue(table);
    ASSERT_TRUE(rows.IsArray());
    EXPECT_EQ(rows.As<TValue::TArray>()[1].As<TValue::TArray>()[0].As<double>(), 3.0);
    // A colour is an integer, found through the ancestor's getter.
    EXPECT_EQ(TIntrinsicPropertyTools::GetValueAsTValue(thing->Property<TIPColor>("Colour"))
                  .As<int64_t>(),
              0);
    EXPECT_EQ(TIntrinsicPropertyTools::GetDefaultValueAsTValue(table).As<TValue::TArray>().size(),
              0u);
}

TEST(PropertyTools, AKindWithoutAGetterIsRefusedUntilOneIsRegistered) {
    TKovIntrinsicPropertyDeclarationList list;
    list.AddOfKind<TIPStaged>("Staged");
    std::unique_ptr<TKovIntrinsicProperty> staged(list[0].CreateInstanceOfProperty(nullptr));
    EXPECT_THAT([&] { TIntrinsicPropertyTools::GetValueAsTValue(*staged); },
                ThrowsMessage<EIntrinsicPropertyException>(
                    StrEq("Unable to get the value of intrinsic property Staged of type "
                          "TIPStaged as TValue!. The TValue getter for this type or its "
                          "ancesstor(s) is not registered!")));
    TIntrinsicPropertyTools::RegisterTValueGetterFunctionForClasses(
        {&TIPStaged::StaticClass()}, [](const TKovIntrinsicProperty&) { return TValue("staged"); });
    EXPECT_EQ(TIntrinsicPropertyTools::GetValueAsTValue(*staged).As<std::string>(), "staged");
}

TEST(PropertyTools, VarRecArraysTakeSingleValuesButNoTables) {
    auto thing = Make<TKindsThing>(nullptr);
    auto& table = thing->Property<TIPTable>("Table");
    table.SetColCount(2);
    table.SetValues({1, 2, 3, 4});
    std::vector<TVarRec> records;
    TIntrinsicPropertyTools::AppendIPValueToVarRecArray(thing->Property<TIPColor>("Colour"),
                                                        records);
    EXPECT_EQ(records.size(), 1u);
    EXPECT_THAT([&] { TIntrinsicPropertyTools::AppendIPValueToVarRecArray(table, records); },
                ThrowsMessage<EIntrinsicPropertyException>(
                    StrEq("Unable to save the value of intrinsic property Table")));
}

TEST(PropertyTools, PropertyValuesCompareOnlyWithValuesOfTheirKind) {
    auto a = Make<TTestThing>(nullptr), b = Make<TTestThing>(nullptr);
    a->Number().SetValue(1);
    b->Number().SetValue(2);
    EXPECT_EQ(TIntrinsicPropertyTools::CompareIPValue(a->Number(), b->Number()), -1);
    b->Number().SetValue(1 + 1e-16);
    EXPECT_EQ(TIntrinsicPropertyTools::CompareIPValue(a->Number(), b->Number()), 0);
    a->Property<TIPText>("Text").SetValue("b");
    b->Property<TIPText>("Text").SetValue("a");
    EXPECT_EQ(TIntrinsicPropertyTools::CompareIPValue(a->Property<TIPText>("Text"),
                                                      b->Property<TIPText>("Text")),
              1);
    EXPECT_THAT(
        [&] { TIntrinsicPropertyTools::CompareIPValue(a->Number(), a->Choice()); },
        ThrowsMessage<EIntrinsicPropertyException>(StrEq("Type mismatch between IP values")));
}

TEST(PropertyTools, TValuesCompareNumbersAcrossTypesAndArraysElementByElement) {
    using A = TValue::TArray;
    EXPECT_EQ(TIntrinsicPropertyTools::CompareTValues(int32_t(2), 2.0), 0);
    EXPECT_EQ(TIntrinsicPropertyTools::CompareTValues(A{1.0, 2.0}, A{1.0, 3.0}), -1);
    EXPECT_EQ(TIntrinsicPropertyTools::CompareTValues(A{1.0, 2.0}, A{1.0}), 1);
    EXPECT_THAT(
        [&] { TIntrinsicPropertyTools::CompareTValues(A{1.0}, 1.0); },
        ThrowsMessage<EIntrinsicPropertyException>(StrEq("Cannot compare arrays to non-arrays.")));
}

TEST(Comparers, DoubleEqualityNeedsAnEvaluationFunctionForTheQuantity) {
    TDoubleEqualityEvaluator evaluator;
    EXPECT_THAT([&] { evaluator.Evaluate(1, 2.5, "pressure"); },
                ThrowsMessage<EComparisonException>(StrEq(
                    "Unable to compare the values 1 and 2.5, no evaluation function is defined!")));
    evaluator.AddEvaluationFunction("pressure",
                                    [](double x, double y) { return std::fabs(x - y) < 1; });
    EXPECT_TRUE(evaluator.Evaluate(1, 1.5, "pressure"));
}

TEST(Comparers, CaseInsensitiveStringsCompareAndHashAlike) {
    EXPECT_TRUE(TCaseInsensitiveStringComparer::Equals("Phase_1", "PHASE_1"));
    EXPECT_FALSE(TCaseInsensitiveStringComparer::Equals("Phase_1", "Phase_10"));
    EXPECT_EQ(TCaseInsensitiveStringComparer::Hash("AbC"),
              TCaseInsensitiveStringComparer::Hash("aBc"));
}

TEST(Comparers, FunctionsAreEqualWhenTheyCallTheSameTarget) {
    std::function<double(const TKovIntrinsicProperty&)> f = &One, g = &One, empty;
    EXPECT_TRUE(TAnonymousFunctionComparer::AreEqual(f, g));
    EXPECT_FALSE(TAnonymousFunctionComparer::AreEqual(f, empty));
}
