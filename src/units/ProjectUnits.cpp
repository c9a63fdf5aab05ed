#include "units/ProjectUnits.h"

#include "objects/IntrinsicPropertyDeclarationList.h"
#include "objects/IntrinsicPropertyDerivedKinds.h"
#include "objects/NameTools.h"
#include "services/Format.h"

#include <array>

namespace tw {

namespace {

// The ordinals are what files store; the defaults stand where earlier versions had them, so the
// rest of each list is in table order around them.
const std::array<TProjectUnitList, ProjectUnitKindCount>& Lists() {
    static const std::array<TProjectUnitList, ProjectUnitKindCount> lists{{
        {"UnitLength",
         {"mm", "cm", "km", "in", "ft", "yd", "m"},
         {"mm", "cm", "m", "km", "in", "ft", "yd"},
         6},
        {"UnitForce", {"N", "MN", "lbf", "kip", "kN"}, {"N", "kN", "MN", "lbf", "kip"}, 4},
        {"UnitTime", {"s", "min", "h", "day"}, {"s", "min", "h", "day"}, 3},
    }};
    return lists;
}

// Property names compare in clean form, as the framework finds properties.
int FindKind(const std::string& cleanPropertyName) {
    for (int kind = 0; kind < ProjectUnitKindCount; ++kind)
        if (CleanName(Lists()[kind].PropertyName) == cleanPropertyName)
            return kind;
    return -1;
}

} // namespace

const TProjectUnitList& ProjectUnitList(TProjectUnitKind kind) {
    return Lists().at(static_cast<size_t>(kind));
}

const TSimpleUnit& ProjectUnitOf(const TSystemOfUnits& units, TProjectUnitKind kind) {
    switch (kind) {
    case pukLength:
        return units.Length;
    case pukForce:
        return units.Force;
    case pukTime:
        return units.Time;
    }
    throw EUnitException(Format("Unknown project unit kind: %d", static_cast<int>(kind)));
}

int ProjectUnitOrdinal(const TSystemOfUnits& units, TProjectUnitKind kind) {
    const std::string& text = ProjectUnitOf(units, kind).PresentationUnit();
    const auto& strings = ProjectUnitList(kind).Strings;
    for (size_t i = 0; i < strings.size(); ++i)
        if (strings[i] == text)
            return static_cast<int>(i);
    return -1;
}

void SetProjectUnit(TSystemOfUnits& units, TProjectUnitKind kind, int ordinal) {
    const TProjectUnitList& list = ProjectUnitList(kind);
    if (ordinal < 0 || ordinal >= static_cast<int>(list.Strings.size()))
        throw EUnitException(Format("Invalid value %d for %s, value from 0 to %d expected", ordinal,
                                    list.PropertyName, static_cast<int>(list.Strings.size()) - 1));
    const std::string& text = list.Strings[ordinal];
    switch (kind) {
    case pukLength:
        units.Length.SetPresentationUnit(text);
        break;
    case pukForce:
        units.SetForcePresentationUnit(text);
        break;
    case pukTime:
        units.Time.SetPresentationUnit(text);
        break;
    }
}

void DeclareProjectUnitProperties(TKovIntrinsicPropertyDeclarationList& list) {
    for (const TProjectUnitList& unitList : Lists()) {
        TIPEnumerationDeclaration& declaration =
            list.AddEnumeration(unitList.PropertyName, unitList.Strings);
        declaration.VisualOrderStrings = unitList.VisualOrder;
    }
}

void ProjectUnitPropertiesFromSystem(const TSystemOfUnits& units, TKovObservableObject& owner) {
    for (int kind = 0; kind < ProjectUnitKindCount; ++kind) {
        const int ordinal = ProjectUnitOrdinal(units, static_cast<TProjectUnitKind>(kind));
        if (ordinal >= 0)
            owner.Property<TIPEnumeration>(Lists()[kind].PropertyName).SetIntValue(ordinal);
    }
}

bool ApplyProjectUnitProperty(const TKovIntrinsicProperty& property, TSystemOfUnits& units) {
    const auto* enumeration = dynamic_cast<const TIPEnumeration*>(&property);
    if (!enumeration)
        return false;
    const int kind = FindKind(property.CleanName());
    if (kind < 0)
        return false;
    SetProjectUnit(units, static_cast<TProjectUnitKind>(kind), enumeration->IntValue());
    return true;
}

} // namespace tw
