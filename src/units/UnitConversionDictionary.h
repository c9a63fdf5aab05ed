#pragma once
// The table of unit texts a user may choose, with the factor that takes one of the unit to its
// base unit, and the offset of the units whose zero point differs from the base unit's.
//
// A key's factor is relative to the base unit of the quantity it is used for, so one text can
// mean different things for different bases: "rad" converts to degrees (for a base of "°"),
// and "°" converts to radians (for a base of "rad" or "radian"). The table does not know which
// quantity asks; a unit whose base text is given takes factor 1 without asking the table.
//
// Keys are compared exactly, case included: "MN" (meganewton) is not "mN".

#include "services/KovException.h"

#include <map>
#include <string>

namespace tw {

TW_DECLARE_EXCEPTION(EUnitException, EKovException)
// A unit text that the table does not know.
TW_DECLARE_EXCEPTION(EUnknownProjectUnit, EUnitException)

class TUnitConversionDictionary {
public:
    // Filled with the standard table.
    TUnitConversionDictionary();

    // 1 of `unit` in its base unit; raises EUnknownProjectUnit for a text not in the table.
    double GetFactor(const std::string& unit) const;
    // The offset added to a presented value before the factor applies ("°C": 273.15);
    // 0 for a text without offset, known or not.
    double GetOffset(const std::string& unit) const;
    bool Contains(const std::string& unit) const { return FUnitFactorDict.count(unit) != 0; }

    const std::map<std::string, double>& Factors() const { return FUnitFactorDict; }
    const std::map<std::string, double>& Offsets() const { return FUnitOffsetDict; }

private:
    std::map<std::string, double> FUnitFactorDict;
    std::map<std::string, double> FUnitOffsetDict;
};

} // namespace tw
