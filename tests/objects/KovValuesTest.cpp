#include "objects/KovValues.h"
#include "objects/ObjectManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace tw;
using ::testing::StrEq;
using ::testing::ThrowsMessage;

TEST(KovValues, ElementsAndSlicesIncludeBothBounds) {
    auto values = Make<TKovValuesWithUnit>(nullptr, qtPressure, std::vector<double>{1, 2.5, -3, 4});
    EXPECT_EQ(values->GetElement(3), 4.0);
    EXPECT_THROW(values->GetElement(4), EKovValuesException);
    EXPECT_THROW(values->GetElement(-1), EKovValuesException);
    EXPECT_TRUE(values->IsValidSlice(1, 1));
    EXPECT_FALSE(values->IsValidSlice(2, 1));
    EXPECT_FALSE(values->IsValidSlice(0, 4));
    EXPECT_FALSE(values->IsValidSliceIndex(-1));

    auto slice = values->Slice(1, 2);
    EXPECT_EQ(slice->Values(), (std::vector<double>{2.5, -3}));
    ASSERT_NE(dynamic_cast<TKovValuesWithUnit*>(slice.get()), nullptr);
    EXPECT_EQ(static_cast<TKovValuesWithUnit&>(*slice).QuantityType(), qtPressure);
    EXPECT_EQ(slice->ToString(), "[2.5, -3] Pressure");
    EXPECT_THROW(values->Slice(3, 2), EKovValuesException);
    EXPECT_EQ(Make<TKovValues>(nullptr)->ToString(), "[]");
}

TEST(KovValues, TheListOfAManagerExistsBetweenInitializeAndUninitialize) {
    TKovObjectManager manager;
    TKovObjectManager other;
    EXPECT_THAT([&] { TKovValuesList::GetInstance(&manager); },
                ThrowsMessage<EKovValuesException>(
                    StrEq("Instance does not exist. Use InitializeInstance before GetInstance.")))
        << "no list yet";
    TKovValuesList::InitializeInstance(&manager);
    TKovValuesList& list = TKovValuesList::GetInstance(&manager);
    TKovValuesList::InitializeInstance(&manager); // keeps the list and what it holds
    EXPECT_EQ(&TKovValuesList::GetInstance(&manager), &list);
    EXPECT_THROW(TKovValuesList::GetInstance(&other), EKovValuesException);

    TKovValues& column = list.CreateValuesWithUnit(qtTime, {0, 60, 120});
    EXPECT_EQ(column.ObjectManager(), &manager);
    TKovValues& slice = list.AddValues(column.Slice(1, 2));
    EXPECT_EQ(list.Count(), 2);
    EXPECT_THROW(list.AddValues(Make<TKovValues>(&other)), EKovValuesException);
    list.DestroyValues(&column);
    EXPECT_EQ(list.Count(), 1);
    EXPECT_EQ(&list[0], &slice);
    EXPECT_THROW(list.DestroyValues(&column), EKovValuesException);

    TKovValuesList::UninitializeInstance(&manager);
    EXPECT_THROW(TKovValuesList::GetInstance(&manager), EKovValuesException);
    TKovValuesList::UninitializeInstance(&manager); // twice is harmless
}

TEST(KovValues, ReplacingTheValuesIsOneUndoStep) {
    TKovObjectManager manager;
    auto values = Make<TKovValues>(&manager, std::vector<double>{1, 2});
    manager.ClearRevertStacks();
    values->SetValues({3, 4, 5});
    values->SetValues({3, 4, 5});
    EXPECT_EQ(manager.UndoCount(), 1);
    manager.Undo();
    EXPECT_EQ(values->Values(), (std::vector<double>{1, 2}));
    manager.Redo();
    EXPECT_EQ(values->Count(), 3);
}
