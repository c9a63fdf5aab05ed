// The system of units as a whole: finding units, copying and comparing systems, the force and mass
// pair, rounding, the query registry and the quantity classes.

#include "units/SystemOfUnits.h"
#include "UnitsThing.h"
#include "services/Strings.h"
#include "units/QuantityTypeClasses.h"
#include "units/SystemOfUnitsQueryFunctionsRegistry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>

using namespace tw;
using namespace tw::testing;
using ::testing::StrEq;
using ::testing::ThrowsMessage;

TEST(SystemOfUnits, StartsInBaseUnitsExceptAtomicAngle) {
    TSystemOfUnits units;
    for (const TSimpleUnit* unit : units.SimpleUnits()) {
        if (unit == &units.AtomicAngle)
            continue;
        EXPECT_EQ(unit->PresentationUnit(), unit->SIUnit()) << unit->Name();
        EXPECT_EQ(unit->Factor(), 1.0) << unit->Name();
    }
    // Held in radians, shown in degrees.
    EXPECT_EQ(units.AtomicAngle.SIUnit(), "radian");
    EXPECT_EQ(units.AtomicAngle.PresentationUnit(), "°");
    EXPECT_NEAR(units.AtomicAngle.ToPresentation(3.141592653589793), 180.0, 1e-12);
    // Angle is held in degrees: radians convert to it.
    units.Angle.SetPresentationUnit("rad");
    EXPECT_NEAR(units.Angle.ToSI(3.141592653589793), 180.0, 1e-12);
    EXPECT_EQ(units.Pressure.PresentationUnit(), "N/m²");
}

TEST(SystemOfUnits, GetUnitFindsTheUnitOfEveryQuantity) {
    TSystemOfUnits units;
    const std::map<TQuantityType, std::string> renamed = {
        {qtDummy, ""},
        {qtSurface, "Area"},
        {qtRotationalSpeedAlwaysPerSecond, "RotationalSpeedPerSecond"},
        {qtRotationalAccelerationAlwaysPerSecondSquare, "RotationalAccelerationPerSecondSquare"},
    };
    for (int q = 0; q < QuantityTypeCount; ++q) {
        const auto quantity = static_cast<TQuantityType>(q);
        auto it = renamed.find(quantity);
        const std::string expected = it != renamed.end() ? it->second : QuantityTypeName(quantity);
        // "LinLoadPerLength" is the unit of qtLinloadPerLength.
        EXPECT_TRUE(SameText(units.GetUnit(quantity).Name(), expected)) << expected;
    }
    EXPECT_EQ(&units.GetUnit(qtSurface), &units.Surface());
    EXPECT_EQ(&units.GetUnit(qtDummy), &units.Dummy);

    for (int outside : {-1, QuantityTypeCount}) {
        EXPECT_THAT([&] { units.GetUnit(static_cast<TQuantityType>(outside)); },
                    ThrowsMessage<EUnknownUnit>(StrEq("Unknown unit: " + std::to_string(outside))));
    }
}

TEST(SystemOfUnits, ForceBringsItsMassInOneNotification) {
    TSystemOfUnits units;
    TCountingObserver observer;
    units.AttachObserver(&observer);
    const std::pair<const char*, const char*> pairs[] = {
        {"kN", "t"}, {"MN", "kt"}, {"lbf", "lb"}, {"kip", "klb"}, {"N.", "kg"}};
    int expected = 0;
    for (const auto& [force, mass] : pairs) {
        units.SetForcePresentationUnit(force);
        EXPECT_EQ(units.Mass.PresentationUnit(), mass) << force;
        EXPECT_EQ(observer.Count, ++expected) << force;
    }
    EXPECT_EQ(units.Force.PresentationUnit(), "N");

    // A force the pairs don't know keeps the mass; a failing one changes nothing.
    units.SetForcePresentationUnit("kip");
    units.SetForcePresentationUnit("MJ");
    EXPECT_EQ(units.Force.PresentationUnit(), "MJ");
    EXPECT_EQ(units.Mass.PresentationUnit(), "klb");
    EXPECT_THROW(units.SetForcePresentationUnit("ton-force"), EUnknownProjectUnit);
    EXPECT_EQ(units.Force.PresentationUnit(), "MJ");
    EXPECT_EQ(units.Mass.PresentationUnit(), "klb");
    EXPECT_EQ(units.Observable().LockLevel(), 0);
}

TEST(SystemOfUnits, CopyAndCompareTheFourteenSimpleUnits) {
    TSystemOfUnits source;
    source.SetUnitsOfNewProject();
    source.Temperature.SetPresentationUnit("°C");
    source.Angle.SetPresentationUnit("rad");
    source.Percentage.SetPresentationUnit("%");

    TSystemOfUnits target;
    EXPECT_FALSE(target.IsEqualTo(source));
    TCountingObserver observer;
    target.AttachObserver(&observer);
    target.CopyUnitsFrom(source);
    EXPECT_EQ(observer.Count, 1);
    EXPECT_TRUE(target.IsEqualTo(source));
    EXPECT_TRUE(source.IsEqualTo(target));
    EXPECT_EQ(target.Pressure.PresentationUnit(), "kN/m²");
    EXPECT_DOUBLE_EQ(target.Temperature.ToSI(20), 293.15);

    // The copy constructor copies the units but not the observers.
    TCountingObserver sourceObserver;
    source.AttachObserver(&sourceObserver);
    TSystemOfUnits copy(source);
    EXPECT_TRUE(copy.IsEqualTo(source));
    copy.Length.SetPresentationUnit("cm");
    EXPECT_EQ(sourceObserver.Count, 0);
    EXPECT_FALSE(copy.IsEqualTo(source));

    // Each of the fourteen counts, the atomic angle too.
    TSystemOfUnits other(source);
    other.AtomicAngle.SetPresentationUnit("radian");
    EXPECT_FALSE(other.IsEqualTo(source));
    TSystemOfUnits frequency(source);
    frequency.FrequencyHertz.SetPresentationUnit("%");
    EXPECT_FALSE(frequency.IsEqualTo(source));
}

TEST(SystemOfUnits, RoundInvariantUnitZeroesPressuresBelowOnePascal) {
    TSystemOfUnits units;
    units.SetUnitsOfNewProject(); // 1 Pa is 0.001 kN/m²
    EXPECT_EQ(units.Round_InvariantUnit(1e-7, qtPressure), 0.0);
    EXPECT_EQ(units.Round_InvariantUnit(-0.000999, qtPressure), 0.0);
    EXPECT_EQ(units.Round_InvariantUnit(0.001, qtPressure), 0.001);
    EXPECT_EQ(units.Round_InvariantUnit(-12.5, qtPressure), -12.5);
    // Only pressures are rounded.
    EXPECT_EQ(units.Round_InvariantUnit(0.5, qtLength), 0.5);
    EXPECT_EQ(units.Round_InvariantUnit(1e-7, qtLength), 1e-7);
    EXPECT_EQ(units.Round_InvariantUnit(1e-7, qtPerPressure), 1e-7);
    // The threshold moves with the unit: in Pa it is 1.
    units.Force.SetPresentationUnit("N");
    EXPECT_EQ(units.Round_InvariantUnit(0.5, qtPressure), 0.0);
    EXPECT_EQ(units.Round_InvariantUnit(1.5, qtPressure), 1.5);
}

TEST(SystemOfUnits, PresentsNumbersWithAUnitAndClampsInBaseUnits) {
    TSystemOfUnits units;
    units.SetUnitsOfNewProject();
    units.Temperature.SetPresentationUnit("°C");
    auto thing = Make<TUnitsThing>(nullptr);
    TIPDoubleWithUnit& pressure = thing->CellPressure();

    pressure.SetPresentationValue(&units, -100); // kN/m²
    EXPECT_DOUBLE_EQ(pressure.Value(), -100000.0);
    EXPECT_DOUBLE_EQ(pressure.GetPresentationValue(&units), -100.0);
    // Without a system the stored value is the presented one.
    EXPECT_DOUBLE_EQ(pressure.GetPresentationValue(nullptr), -100000.0);

    // The bounds are in Pa; a presented value beyond them is converted, then clamped.
    pressure.SetPresentationValue(&units, -2500);
    EXPECT_DOUBLE_EQ(pressure.Value(), -1e6);
    EXPECT_DOUBLE_EQ(pressure.GetPresentationValue(&units), -1000.0);
    pressure.SetPresentationValue(&units, 0.5);
    EXPECT_EQ(pressure.Value(), 0.0);
    // Just inside the bound stays as given.
    pressure.SetPresentationValue(&units, -999);
    EXPECT_DOUBLE_EQ(pressure.Value(), -999000.0);
    // In psf the same bound reads differently.
    units.SetForcePresentationUnit("lbf");
    units.Length.SetPresentationUnit("ft");
    pressure.SetPresentationValue(&units, -1e9);
    EXPECT_NEAR(pressure.GetPresentationValue(&units), -1e6 / (4.448221615 / (0.3048 * 0.3048)),
                1e-6);

    thing->Temperature().SetPresentationValue(&units, 20);
    EXPECT_DOUBLE_EQ(thing->Temperature().Value(), 293.15);
    EXPECT_DOUBLE_EQ(thing->Temperature().GetPresentationValue(&units), 20.0);
    EXPECT_EQ(units.PresentationUnitText(qtPressure), "lbf/ft²");
}

namespace {
TSystemOfUnits* Nobody(const TKovObject*) {
    return nullptr;
}
} // namespace

TEST(SystemOfUnitsQueryFunctionsRegistry, RunsFunctionsInPriorityOrder) {
    using R = TSystemOfUnitsQueryFunctionsRegistry;
    ASSERT_EQ(R::Count(), 0u); // process-wide: each test leaves it empty
    TSystemOfUnits first;
    TSystemOfUnits second;
    auto thing = Make<TUnitsThing>(nullptr);
    const TKovObject* known = thing.get();

    EXPECT_THAT([&] { R::GetSystemOfUnits(known); },
                ThrowsMessage<ENoSystemOfUnits>(StrEq("No system of units was found.")));

    const int low = R::AddQueryFunctionWithLowestPriority(
        [&](const TKovObject* object) { return object == known ? &second : nullptr; });
    EXPECT_EQ(low, 0);
    EXPECT_EQ(&R::GetSystemOfUnits(known), &second);
    EXPECT_EQ(R::GetUnsafeSystemOfUnits(nullptr), nullptr);

    const int high = R::AddQueryFunctionWithHighestPriority(
        [&](const TKovObject* object) { return object == known ? &first : nullptr; });
    EXPECT_EQ(high, -1);
    EXPECT_EQ(&R::GetSystemOfUnits(known), &first);
    // One that knows nobody is passed over.
    const int none = R::AddQueryFunctionWithHighestPriority(&Nobody);
    EXPECT_EQ(none, -2);
    EXPECT_EQ(R::AddQueryFunctionWithLowestPriority(&Nobody), 1);
    EXPECT_EQ(&R::GetSystemOfUnits(known), &first);

    R::RemoveQueryFunction(high);
    EXPECT_EQ(&R::GetSystemOfUnits(known), &second);
    R::RemoveQueryFunction(high); // gone already: ignored
    EXPECT_EQ(R::Count(), 3u);
    // Numbers keep counting from the ends.
    const int higher = R::AddQueryFunctionWithHighestPriority(&Nobody);
    EXPECT_EQ(higher, -3);
    for (int number : {low, none, 1, higher})
        R::RemoveQueryFunction(number);
    EXPECT_EQ(R::Count(), 0u);
    EXPECT_EQ(R::GetUnsafeSystemOfUnits(known), nullptr);
    EXPECT_EQ(R::AddQueryFunctionWithLowestPriority(&Nobody), 0);
    R::RemoveQueryFunction(0);

    EXPECT_THROW(R::AddQueryFunctionWithLowestPriority(nullptr), EUnitException);
}

namespace {
template <size_t... I> void CheckQuantityClasses(std::index_sequence<I...>) {
    (
        [] {
            using C = std::tuple_element_t<I, TAllQuantityTypeClasses>;
            static_assert(QuantityTypeClass<C>);
            const auto quantity = C::GetQuantityType();
            EXPECT_EQ(static_cast<size_t>(quantity), I) << C::ClassName();
            const std::string name =
                quantity == qtFlowratePerLength ? "FlowRatePerLength" : QuantityTypeName(quantity);
            EXPECT_EQ(C::ClassName(), "TQuantityTypeClass_" + name);
        }(),
        ...);
}
} // namespace

TEST(QuantityTypeClasses, OnePerQuantityInOrderButAtomicAngle) {
    constexpr size_t count = std::tuple_size_v<TAllQuantityTypeClasses>;
    static_assert(count == QuantityTypeCount - 1);
    CheckQuantityClasses(std::make_index_sequence<count>());
    static_assert(TQuantityTypeClass_FlowRatePerLength::GetQuantityType() == qtFlowratePerLength);
    static_assert(TQuantityTypeClass_Pressure::GetQuantityType() == qtPressure);
    static_assert(!QuantityTypeClass<int>);
}
