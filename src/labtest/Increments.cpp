#include "labtest/Increments.h"

#include "objects/IntrinsicPropertyDeclarationList.h"
#include "objects/IntrinsicPropertyDerivedKinds.h"

#include "services/Format.h"
#include "services/Strings.h"

namespace tw {

namespace {
// The six fields of a stored text; raises when there are not exactly six.
std::vector<std::string> SixFields(const std::string& text, const char* what) {
    std::vector<std::string> fields = Split(text, '\t');
    // A trailing tab leaves an empty last field; it isn't a value.
    if (fields.size() == QBLoadDirectionCount + 1 && Trim(fields.back()).empty())
        fields.pop_back();
    if (fields.size() != QBLoadDirectionCount)
        throw EIncrementsException(
            Format("Expected six %s separated by tabs, found \"%s\"", what, text));
    return fields;
}
} // namespace

// ---------------------------------------------------------------------------------------------
// TIncrements

TW_KOV_CLASS_IMPL(TIncrements, TKovObservableObject, nullptr)
TW_KOV_CLASS_IMPL(TStressIncrements, TIncrements, nullptr)
TW_KOV_CLASS_IMPL(TStrainIncrements, TIncrements, nullptr)

std::string TIncrements::ToString() const {
    std::vector<std::string> parts;
    for (double value : FIncrements)
        parts.push_back(FloatToStr(value));
    return Join(parts, "\t");
}

void TIncrements::LoadFromString(const std::string& text) {
    const std::vector<std::string> fields = SixFields(text, "numbers");
    TQBLoadDirectionDoubleArray values{};
    for (TQBLoadDirection d : AllLoadDirections)
        if (!TryStrToFloat(Trim(fields[d]), values[d]))
            throw EIncrementsException(
                Format("Expected six numbers separated by tabs, found \"%s\"", text));
    SetAll(values);
}

void TIncrements::SetIncrementValue(TQBLoadDirection direction, double value) {
    if (FIncrements[direction] == value)
        return;
    TUndoSnapshot snapshot(*this, "Set increment");
    FIncrements[direction] = value;
    NotifyObservers();
}

void TIncrements::SetAll(const TQBLoadDirectionDoubleArray& values) {
    if (FIncrements == values)
        return;
    TUndoSnapshot snapshot(*this, "Set increments");
    FIncrements = values;
    NotifyObservers();
}

void TIncrements::AssignEssentialState(const TKovObject& source) {
    TKovObservableObject::AssignEssentialState(source);
    if (const auto* other = dynamic_cast<const TIncrements*>(&source))
        FIncrements = other->FIncrements;
}

// ---------------------------------------------------------------------------------------------
// TBoundaryConditions

TW_KOV_CLASS_IMPL(TBoundaryConditions, TKovObservableObject, nullptr)

void TBoundaryConditions::SetBoundaryCondition(TQBLoadDirection direction,
                                               TQBBoundaryConditionType condition) {
    if (FBoundaryConditions[direction] == condition)
        return;
    TUndoSnapshot snapshot(*this, "Set boundary condition");
    FBoundaryConditions[direction] = condition;
    NotifyObservers();
}

void TBoundaryConditions::SetQBBoundaryConditions(const TQBBoundaryConditions& conditions) {
    if (FBoundaryConditions == conditions)
        return;
    TUndoSnapshot snapshot(*this, "Set boundary conditions");
    FBoundaryConditions = conditions;
    NotifyObservers();
}

std::string TBoundaryConditions::ToString() const {
    std::vector<std::string> parts;
    for (TQBBoundaryConditionType condition : FBoundaryConditions)
        parts.push_back(std::to_string(static_cast<int>(condition)));
    return Join(parts, "\t");
}

void TBoundaryConditions::LoadFromString(const std::string& text) {
    const std::vector<std::string> fields = SixFields(text, "boundary conditions");
    TQBBoundaryConditions conditions{};
    for (TQBLoadDirection d : AllLoadDirections) {
        int ordinal = -1;
        if (!TryStrToInt(Trim(fields[d]), ordinal) ||
            (ordinal != bcFixedStrain && ordinal != bcFixedStress))
            throw EIncrementsException(
                Format("Expected six boundary conditions (0 strain, 1 stress) separated by tabs, "
                       "found \"%s\"",
                       text));
        conditions[d] = static_cast<TQBBoundaryConditionType>(ordinal);
    }
    SetQBBoundaryConditions(conditions);
}

void TBoundaryConditions::AssignEssentialState(const TKovObject& source) {
    TKovObservableObject::AssignEssentialState(source);
    if (const auto* other = dynamic_cast<const TBoundaryConditions*>(&source))
        FBoundaryConditions = other->FBoundaryConditions;
}

} // namespace tw
