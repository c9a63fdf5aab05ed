#pragma once
// The project's unit properties "UnitLength", "UnitForce" and "UnitTime": enumerations whose
// values are unit texts, kept in step with the project's system of units.
//
// How a project wires them:
//   - DeclareProperties: after "Version", call DeclareProjectUnitProperties(list); it declares
//     the three enumerations in the order length, force, time.
//   - After construction, and whenever the system of units changes (observe it), call
//     ProjectUnitPropertiesFromSystem(units, *this). An equal value writes nothing, so this is
//     cheap and makes no undo step when nothing changed.
//   - In PropertyChanged(property), call ApplyProjectUnitProperty(property, units): a changed
//     unit property, also one restored by undo, sets the system's unit. Force goes through
//     SetForcePresentationUnit, so the mass unit follows it.
//   - Reading an old file that stores the three values: set the properties; PropertyChanged
//     applies them to the system.
// The two directions settle at once: the system ignores a unit equal to its own, and a property
// ignores an equal value.
//
// Stored files hold the ordinals, so the lists never change order. The default ordinals name the
// units of a new project: "m", "kN", "day". An enumeration property starts at ordinal 0 until it
// is written, which is why the project sets the three from its system after construction.

#include "units/SystemOfUnits.h"

#include <string>
#include <vector>

namespace tw {

class TKovIntrinsicProperty;
class TKovIntrinsicPropertyDeclarationList;
class TKovObservableObject;

enum TProjectUnitKind { pukLength, pukForce, pukTime };
constexpr int ProjectUnitKindCount = 3;

struct TProjectUnitList {
    std::string PropertyName;             // "UnitLength", "UnitForce", "UnitTime"
    std::vector<std::string> Strings;     // the enumeration's values, in ordinal order
    std::vector<std::string> VisualOrder; // the order in which a chooser lists them
    int DefaultOrdinal;                   // the unit of a new project
};

// Length: "mm" "cm" "km" "in" "ft" "yd" "m" (default 6, "m").
// Force:  "N" "MN" "lbf" "kip" "kN"          (default 4, "kN").
// Time:   "s" "min" "h" "day"                (default 3, "day").
// Every value is a key of the conversion table or the base text of its unit.
const TProjectUnitList& ProjectUnitList(TProjectUnitKind kind);

// The system's unit that a kind sets: Length, Force or Time.
const TSimpleUnit& ProjectUnitOf(const TSystemOfUnits& units, TProjectUnitKind kind);

// The ordinal of the system's current unit of that kind, or -1 when the unit is not in the list
// (a length shown in a unit of another quantity's table, for instance).
int ProjectUnitOrdinal(const TSystemOfUnits& units, TProjectUnitKind kind);

// Sets the system's unit of that kind from an ordinal of its list; the force also sets the mass
// unit that goes with it. Raises EUnitException for an ordinal outside the list.
void SetProjectUnit(TSystemOfUnits& units, TProjectUnitKind kind, int ordinal);

// Declares the three enumerations, length, force, time, with their visual order.
void DeclareProjectUnitProperties(TKovIntrinsicPropertyDeclarationList& list);

// Writes each of the owner's three properties from the system; a unit outside its list leaves its
// property as it is.
void ProjectUnitPropertiesFromSystem(const TSystemOfUnits& units, TKovObservableObject& owner);

// When `property` is one of the three unit properties, sets the system's unit from its value and
// answers true; any other property is left alone and answers false.
bool ApplyProjectUnitProperty(const TKovIntrinsicProperty& property, TSystemOfUnits& units);

} // namespace tw
