// Units on their own: the conversion table, conversions with offsets, setting a presentation,
// and the texts of compound units.

#include "UnitsThing.h"
#include "services/Localisation.h"
#include "units/SystemOfUnits.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include <map>

using namespace tw;
using namespace tw::testing;
using ::testing::StrEq;
using ::testing::ThrowsMessage;

TEST(UnitConversionDictionary, HoldsEveryKeyWithItsFactorAndOffset) {
    // clang-format off
    const std::map<std::string, double> expected = {
        {"N", 1}, {"kN", 1000}, {"MN", 1000000}, {"lbf", 4.448221615}, {"kip", 4448.221615},
        {"s", 1}, {"min", 60}, {"h", 3600}, {"day", 86400},
        {"°C", 1}, {"°F", 0.5555556},
        {"mm", 0.001}, {"cm", 0.01}, {"m", 1}, {"km", 1000}, {"in", 0.0254}, {"ft", 0.3048},
        {"yd", 0.9144},
        {"kg", 1}, {"t", 1000}, {"kt", 1000000}, {"lb", 0.45359237}, {"klb", 453.59237},
        {"deg", 1}, {"radian", 1}, {"rad", 57.29577951308232}, {"°", 0.017453292519943295},
        {"J", 1}, {"kJ", 1000}, {"MJ", 1000000},
        {"W", 1}, {"kW", 1000}, {"MW", 1000000},
        {"%", 0.01}};
    // clang-format on
    TUnitConversionDictionary dictionary;
    EXPECT_EQ(dictionary.Factors(), expected);
    EXPECT_EQ(dictionary.Offsets(),
              (std::map<std::string, double>{{"°C", 273.15}, {"°F", 459.67}}));

    // Keys are exact: "mN" would be a millinewton, not a meganewton.
    EXPECT_FALSE(dictionary.Contains("mN"));
    EXPECT_FALSE(dictionary.Contains("KN"));
    EXPECT_THAT([&] { dictionary.GetFactor("furlong"); },
                ThrowsMessage<EUnknownProjectUnit>(StrEq("Unknown project unit: furlong")));
    // An offset is asked for known and unknown texts alike.
    EXPECT_EQ(dictionary.GetOffset("furlong"), 0.0);
    EXPECT_EQ(dictionary.GetOffset("kN"), 0.0);
}

TEST(Unit, TemperatureConvertsWithOffsetAndItsIntervalWithout) {
    TSystemOfUnits units;
    TComplexUnit& temperature = units.Temperature;
    TSimpleUnit& interval = units.TemperatureInterval;

    temperature.SetPresentationUnit("°C");
    EXPECT_DOUBLE_EQ(temperature.ToSI(20), 293.15);
    EXPECT_DOUBLE_EQ(temperature.ToPresentation(273.15), 0.0);
    EXPECT_DOUBLE_EQ(temperature.ToPresentation(0.0), -273.15);

    // The rounded Fahrenheit factor puts the freezing point a little above 273.15 K.
    temperature.SetPresentationUnit("°F");
    EXPECT_DOUBLE_EQ(temperature.ToSI(32), 0.5555556 * 491.67);
    EXPECT_GT(temperature.ToSI(32), 273.15);
    EXPECT_NEAR(temperature.ToSI(32), 273.15, 1e-4);
    EXPECT_DOUBLE_EQ(temperature.ToPresentation(0.0), -459.67);

    // Back to the base: factor 1 and offset 0 again.
    temperature.SetPresentationUnit("K");
    EXPECT_EQ(temperature.Factor(), 1.0);
    EXPECT_EQ(temperature.Offset(), 0.0);
    EXPECT_EQ(temperature.ToSI(20), 20.0);

    // An interval of 20 °C is 20 K: the offset of the table does not apply to a simple unit.
    interval.SetPresentationUnit("°C");
    EXPECT_EQ(interval.Offset(), 0.0);
    EXPECT_DOUBLE_EQ(interval.ToSI(20), 20.0);
    interval.SetPresentationUnit("°F");
    EXPECT_DOUBLE_EQ(interval.ToSI(9), 9 * 0.5555556);
    // "K" is not in the table, yet it is the interval's base text.
    interval.SetPresentationUnit("K");
    EXPECT_EQ(interval.PresentationUnit(), "K");
    EXPECT_EQ(interval.Factor(), 1.0);

    // A conductivity per degree uses the size of the degree, never its zero point.
    temperature.SetPresentationUnit("°C");
    EXPECT_EQ(units.ThermalConductivity.Offset(), 0.0);
    EXPECT_DOUBLE_EQ(units.ThermalConductivity.ToSI(2.0), 2.0);
    EXPECT_EQ(units.ThermalConductivity.PresentationUnit(), "W/m/°C");
}

TEST(Unit, ConvertsBetweenTwoPresentationUnits) {
    TSystemOfUnits celsius;
    TSystemOfUnits fahrenheit;
    celsius.Temperature.SetPresentationUnit("°C");
    fahrenheit.Temperature.SetPresentationUnit("°F");
    // 100 °C in °F, through kelvin; the rounded factor costs a few parts in a million.
    EXPECT_NEAR(fahrenheit.Temperature.SourceToPresentation(100, &celsius.Temperature), 212, 1e-3);
    EXPECT_NEAR(celsius.Temperature.PresentationToTarget(100, &fahrenheit.Temperature), 212, 1e-3);
    // Without a source the value is a base value, without a target the answer is one.
    EXPECT_DOUBLE_EQ(celsius.Temperature.SourceToPresentation(300, nullptr), 300 - 273.15);
    EXPECT_DOUBLE_EQ(celsius.Temperature.PresentationToTarget(20, nullptr), 293.15);

    TSystemOfUnits metric;
    TSystemOfUnits imperial;
    metric.SetUnitsOfNewProject();
    imperial.SetForcePresentationUnit("kip");
    imperial.Length.SetPresentationUnit("ft");
    // 100 kN/m² is 2.0885 kip/ft².
    EXPECT_NEAR(imperial.Pressure.SourceToPresentation(100, &metric.Pressure), 2.08854, 1e-5);
    EXPECT_NEAR(metric.Pressure.PresentationToTarget(100, &imperial.Pressure), 2.08854, 1e-5);
}

TEST(Unit, EveryUnitTakesAValueToItsBaseAndBack) {
    TSystemOfUnits units;
    units.SetForcePresentationUnit("lbf");
    units.Length.SetPresentationUnit("in");
    units.Time.SetPresentationUnit("min");
    units.Temperature.SetPresentationUnit("°F");
    units.TemperatureInterval.SetPresentationUnit("°F");
    units.Power.SetPresentationUnit("kW");
    units.Energy.SetPresentationUnit("MJ");
    units.Angle.SetPresentationUnit("rad");
    units.AngleRad.SetPresentationUnit("°");
    for (int q = 0; q < QuantityTypeCount; ++q) {
        const TUnit_Abstract& unit = units.GetUnit(static_cast<TQuantityType>(q));
        for (double x : {-1234.5, -1e-3, 0.0, 0.7, 98765.0}) {
            const double back = unit.ToPresentation(unit.ToSI(x));
            EXPECT_NEAR(back, x, 1e-9 * (1 + std::fabs(x))) << QuantityTypeName(TQuantityType(q));
        }
    }
}

TEST(Unit, SettingAPresentationCleansComparesAndFailsWithoutHarm) {
    TSystemOfUnits units;
    TCountingObserver systemObserver;
    TCountingObserver forceObserver;
    units.AttachObserver(&systemObserver);
    units.Force.AttachObserver(&forceObserver);

    // Stops and separators are removed, blanks trimmed.
    units.Force.SetPresentationUnit(" k.N;= ");
    EXPECT_EQ(units.Force.PresentationUnit(), "kN");
    EXPECT_EQ(units.Force.Factor(), 1000.0);
    EXPECT_EQ(forceObserver.Count, 1);
    EXPECT_EQ(systemObserver.Count, 1);

    // The same unit in another case changes nothing and tells nobody.
    units.Force.SetPresentationUnit("KN");
    EXPECT_EQ(units.Force.PresentationUnit(), "kN");
    EXPECT_EQ(forceObserver.Count, 1);
    EXPECT_EQ(systemObserver.Count, 1);

    // The base text in any case is stored as the base is spelled.
    units.Force.SetPresentationUnit("n");
    EXPECT_EQ(units.Force.PresentationUnit(), "N");
    EXPECT_EQ(units.Force.Factor(), 1.0);
    EXPECT_EQ(forceObserver.Count, 2);

    // An unknown text raises and leaves the unit, its compounds and the observers alone.
    units.Length.SetPresentationUnit("ft");
    const int notified = systemObserver.Count;
    for (const char* text : {"furlong", "mN"}) {
        EXPECT_THAT(
            [&] { units.Length.SetPresentationUnit(text); },
            ThrowsMessage<EUnknownProjectUnit>(StrEq(std::string("Unknown project unit: ") + text)))
            << text;
    }
    units.Length.SetPresentationUnit("FT"); // the same unit: no change, no error
    EXPECT_EQ(units.Length.PresentationUnit(), "ft");
    EXPECT_EQ(units.Length.Factor(), 0.3048);
    EXPECT_EQ(units.Pressure.PresentationUnit(), "N/ft²");
    EXPECT_EQ(systemObserver.Count, notified);

    // Nothing left after cleaning is a text that no table knows.
    EXPECT_THAT([&] { units.Length.SetPresentationUnit(" .,; "); },
                ThrowsMessage<EUnknownProjectUnit>(StrEq("Unknown project unit: <<invalid>>")));
    EXPECT_EQ(units.Length.PresentationUnit(), "ft");

    units.Force.DetachObserver(&forceObserver);
}

TEST(Unit, ChangingLengthRefreshesEveryCompoundAndNotifiesTheSystemOnce) {
    TSystemOfUnits units;
    units.SetUnitsOfNewProject();
    TCountingObserver systemObserver;
    TCountingObserver pressureObserver;
    units.AttachObserver(&systemObserver);
    units.Pressure.AttachObserver(&pressureObserver);

    units.Length.SetPresentationUnit("ft");
    EXPECT_EQ(units.Pressure.PresentationUnit(), "kN/ft²");
    EXPECT_DOUBLE_EQ(units.Pressure.Factor(), 1000 / (0.3048 * 0.3048));
    EXPECT_EQ(units.Volume.PresentationUnit(), "ft³");
    EXPECT_DOUBLE_EQ(units.Volume.Factor(), 0.3048 * 0.3048 * 0.3048);
    EXPECT_EQ(units.SpeedAlwaysPerSecond.PresentationUnit(), "ft/s");
    EXPECT_EQ(pressureObserver.Count, 1);
    EXPECT_EQ(systemObserver.Count, 1);

    // A time change leaves length-only compounds alone.
    pressureObserver.Count = 0;
    units.Time.SetPresentationUnit("h");
    EXPECT_EQ(pressureObserver.Count, 0);
    EXPECT_EQ(units.Speed.PresentationUnit(), "ft/h");
    EXPECT_EQ(systemObserver.Count, 2);

    units.Pressure.DetachObserver(&pressureObserver);
}

TEST(Unit, CompoundTextsInEveryForm) {
    TSystemOfUnits units;
    units.SetUnitsOfNewProject();

    struct TCase {
        const TUnit_Abstract& Unit;
        const char* Presentation;
        const char* Symbolic;
        const char* SI;
    };
    const TCase cases[] = {
        {units.Pressure, "kN/m²", "kN/m²", "N/m²"},
        {units.PerPressure, "m²/kN", "m²/kN", "m²/N"},
        {units.Linload, "kN/m", "kN/m", "N/m"},
        {units.BendingMoment, "kN·m", "kN m", "N·m"},
        {units.PerTime, "1/day", "1/day", "1/s"},
        {units.PerLength, "1/m", "1/m", "1/m"},
        {units.Length4, "m4", "m^4#", "m4"},
        {units.SpeedPerLength, "m/day/m", "m/day/m", "m/s/m"},
        {units.DynamicViscosity, "kN·day/m²", "kN day/m²", "N·s/m²"},
        {units.ThermalInsulance, "m²·K/kW", "m² K/kW", "m²·K/W"},
        {units.HeatInteraction, "kW/m²/K", "kW/m²/K", "W/m²/K"},
        {units.LinLoadPerLengthPerLength, "kN/m/m/m", "kN/m/m/m", "N/m/m/m"},
        {units.MassDensity, "t/m³", "t/m³", "kg/m³"},
        {units.ThermalConductivity, "kW/m/K", "kW/m/K", "W/m/K"},
        {units.SpecificHeat, "kJ/t/K", "kJ/t/K", "J/kg/K"},
        // Fixed text around the members, or on its own.
        {units.SpeedAlwaysPerSecond, "m/s", "m/s", "m/s"},
        {units.Gravity, "m/s²", "m/s²", "m/s²"},
        {units.RotationalSpeedPerSecond, "°/s", "°/s", "°/s"},
        {units.RotationalSpeedRadAlwaysPerSecond, "rad/s", "rad/s", "rad/s"},
        {units.SpecificSurfaceArea, "m²/g", "m²/g", "m²/g"},
        {units.LengthAlwaysMM, "mm", "mm", "mm"},
        {units.TemperatureAlwaysKelvin, "K", "K", "K"},
        {units.Dummy, "", "", ""},
    };
    for (const TCase& c : cases) {
        EXPECT_EQ(c.Unit.PresentationUnit(), c.Presentation) << c.Unit.Name();
        EXPECT_EQ(c.Unit.SymbolicPresentationUnit(), c.Symbolic) << c.Unit.Name();
        EXPECT_EQ(c.Unit.SIUnit(), c.SI) << c.Unit.Name();
        EXPECT_EQ(c.Unit.TranslatedPresentationUnit(), c.Presentation) << c.Unit.Name();
    }

    // Factors follow the members; fixed units without members keep 1, whatever the user's units.
    EXPECT_DOUBLE_EQ(units.PerTime.Factor(), 1.0 / 86400);
    EXPECT_DOUBLE_EQ(units.PerTime.ToPresentation(1.0), 86400.0);
    EXPECT_DOUBLE_EQ(units.BendingMoment.Factor(), 1000.0);
    EXPECT_DOUBLE_EQ(units.MassDensity.Factor(), 1000.0);
    units.Length.SetPresentationUnit("mm");
    EXPECT_EQ(units.LengthAlwaysMM.Factor(), 1.0);
    EXPECT_EQ(units.SpecificSurfaceArea.Factor(), 1.0);
    EXPECT_DOUBLE_EQ(units.SpeedAlwaysPerSecond.Factor(), 0.001);
    EXPECT_EQ(units.Length4.SymbolicPresentationUnit(), "mm^4#");
    EXPECT_DOUBLE_EQ(units.Length4.ToSI(1e12), 1.0);
}

TEST(Unit, PowersAndTheirOrderOnAFreeCompound) {
    TSimpleUnit length(nullptr, "Length", "m", 1e-9);
    TSimpleUnit time(nullptr, "Time", "s", 1e-5);
    length.SetPresentationUnit("cm");

    TCompoundUnit five(nullptr, "Five", {{&length, 5}});
    EXPECT_EQ(five.PresentationUnit(), "cm5");
    EXPECT_EQ(five.SymbolicPresentationUnit(), "cm^5#");
    EXPECT_DOUBLE_EQ(five.Factor(), 1e-10);
    // Powers beyond 9 have no text; the factor still counts them.
    TCompoundUnit ten(nullptr, "Ten", {{&length, -10}});
    EXPECT_EQ(ten.PresentationUnit(), "1/cm");
    EXPECT_DOUBLE_EQ(ten.Factor(), 1e20);

    // A positive power cannot follow a power of -1: "1/s·cm" would read as a speed.
    TCompoundUnit odd(nullptr, "Odd", {{&time, -1}});
    TCountingObserver observer;
    odd.AttachObserver(&observer);
    EXPECT_THAT([&] { odd.AddUnit(&length, 1); },
                ThrowsMessage<EUnitPowerOrder>(
                    StrEq("Did not expect positive power after negative power in unit")));
    EXPECT_EQ(odd.Members().size(), 1u);
    EXPECT_EQ(odd.PresentationUnit(), "1/s");
    EXPECT_EQ(observer.Count, 0);
    // The failed member was never registered: changing it doesn't touch the compound.
    length.SetPresentationUnit("m");
    EXPECT_EQ(observer.Count, 0);

    odd.Reset();
    EXPECT_EQ(odd.PresentationUnit(), "");
    EXPECT_EQ(odd.Factor(), 1.0);
    EXPECT_EQ(observer.Count, 1);
    time.SetPresentationUnit("h");
    EXPECT_EQ(observer.Count, 1);

    // A member that goes away first leaves the compound empty instead of dangling.
    auto shortLived = std::make_unique<TSimpleUnit>(nullptr, "Mass", "kg", 1e-6);
    TCompoundUnit density(nullptr, "Density", {{shortLived.get(), 1}, {&length, -3}});
    EXPECT_EQ(density.PresentationUnit(), "kg/m³");
    shortLived.reset();
    EXPECT_TRUE(density.Members().empty());
    EXPECT_EQ(density.PresentationUnit(), "");
    length.SetPresentationUnit("mm"); // no longer registered with the density
    EXPECT_EQ(density.PresentationUnit(), "");
}

TEST(Unit, TranslatedTextsFollowTheTranslatorAndMembers) {
    SetTranslator([](const std::string& text) {
        if (text == "m")
            return std::string("米");
        if (text == "kN")
            return std::string("千牛");
        return text;
    });
    struct TRestore {
        ~TRestore() { SetTranslator(nullptr); }
    } restore;

    TSystemOfUnits units;
    units.SetUnitsOfNewProject();
    EXPECT_EQ(units.Pressure.PresentationUnit(), "kN/m²");
    EXPECT_EQ(units.Pressure.TranslatedPresentationUnit(), "千牛/米²");
    EXPECT_EQ(units.Length4.TranslatedSymbolicPresentationUnit(), "米^4#");
    EXPECT_EQ(units.Pressure.TranslatedSIUnit(), "N/米²");
    EXPECT_EQ(units.SpeedAlwaysPerSecond.TranslatedPresentationUnit(), "米/s");
    // Users read the translated text.
    EXPECT_EQ(units.PresentationUnitText(qtLinload), "千牛/米");
}

TEST(Unit, ToleranceIsInPresentationUnitsOnSimpleUnitsOnly) {
    TSystemOfUnits units;
    units.Length.SetPresentationUnit("mm");
    EXPECT_DOUBLE_EQ(units.Length.Tolerance(), 1e-6);
    units.Force.SetPresentationUnit("kN");
    EXPECT_DOUBLE_EQ(units.Force.Tolerance(), 1e-9);
    EXPECT_EQ(units.Pressure.Tolerance(), 0.0);
    EXPECT_DOUBLE_EQ(units.Temperature.Tolerance(), 0.001);
}
