#include "units/UnitConversionDictionary.h"

#include "services/Format.h"

namespace tw {

TUnitConversionDictionary::TUnitConversionDictionary()
    : FUnitFactorDict{
          // Force, base N
          {"N", 1},
          {"kN", 1000},
          {"MN", 1000000},
          {"lbf", 4.448221615},
          {"kip", 4448.221615},
          // Time, base s
          {"s", 1},
          {"min", 60},
          {"h", 3600},
          {"day", 86400},
          // Temperature, base K. The Fahrenheit factor is the rounded 5/9 that files and
          // results of earlier versions were made with; 32 °F comes out a little above
          // 273.15 K, and that stays so for the numbers to agree.
          {"°C", 1},
          {"°F", 0.5555556},
          // Length, base m
          {"mm", 0.001},
          {"cm", 0.01},
          {"m", 1},
          {"km", 1000},
          {"in", 0.0254},
          {"ft", 0.3048},
          {"yd", 0.9144},
          // Mass, base kg
          {"kg", 1},
          {"t", 1000},
          {"kt", 1000000},
          {"lb", 0.45359237},
          {"klb", 453.59237},
          // Angle: "rad" in degrees (for a base of "°"), "°" in radians (for a base of "rad"
          // or "radian"); "deg" and "radian" are the two bases themselves.
          {"deg", 1},
          {"radian", 1},
          {"rad", 57.29577951308232},
          {"°", 0.017453292519943295},
          // Energy, base J
          {"J", 1},
          {"kJ", 1000},
          {"MJ", 1000000},
          // Power, base W
          {"W", 1},
          {"kW", 1000},
          {"MW", 1000000},
          // Ratio, base 1
          {"%", 0.01},
      },
      // Presented value + offset = value on a scale that starts at absolute zero.
      FUnitOffsetDict{{"°C", 273.15}, {"°F", 459.67}} {}

double TUnitConversionDictionary::GetFactor(const std::string& unit) const {
    auto it = FUnitFactorDict.find(unit);
    if (it == FUnitFactorDict.end())
        throw EUnknownProjectUnit(Format("Unknown project unit: %s", unit));
    return it->second;
}

double TUnitConversionDictionary::GetOffset(const std::string& unit) const {
    auto it = FUnitOffsetDict.find(unit);
    return it == FUnitOffsetDict.end() ? 0.0 : it->second;
}

} // namespace tw
