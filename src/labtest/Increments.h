#pragma once
// The six numbers of a phase in their stored form: stress increments in pascal, strain increments
// in percent (compression negative, shear strains as engineering strains), and the boundary
// condition of each direction. A phase keeps the same numbers as intrinsic properties; these
// objects carry them to and from files, where each set is one text of six values separated by
// tabs.

#include "labtest/QBDatatypes.h"
#include "objects/KovBaseClasses.h"

#include <string>

namespace tw {

TW_DECLARE_EXCEPTION(EIncrementsException, EKovException)

class TIncrements : public TKovObservableObject {
    TW_KOV_CLASS(TIncrements, TKovObservableObject)
public:
    using TKovObservableObject::TKovObservableObject;

    const TQBLoadDirectionDoubleArray& Increments() const { return FIncrements; }
    // The stored form: the six values in direction order, joined by tabs.
    std::string ToString() const;
    // Takes the stored form; raises EIncrementsException for anything but six numbers.
    void LoadFromString(const std::string& text);

protected:
    // One undo step when the value differs.
    void SetIncrementValue(TQBLoadDirection direction, double value);
    void SetAll(const TQBLoadDirectionDoubleArray& values);
    void AssignEssentialState(const TKovObject& source) override;

    TQBLoadDirectionDoubleArray FIncrements{};
};

class TStressIncrements : public TIncrements {
    TW_KOV_CLASS(TStressIncrements, TIncrements)
public:
    using TIncrements::TIncrements;
    // Pascal, compression negative.
    double GetIncrement(TQBLoadDirection direction) const { return FIncrements[direction]; }
    void SetIncrement(TQBLoadDirection direction, double pascal) {
        SetIncrementValue(direction, pascal);
    }
    const TQBLoadDirectionDoubleArray& QBStresses() const { return FIncrements; }
    void SetQBStresses(const TQBLoadDirectionDoubleArray& values) { SetAll(values); }
};

class TStrainIncrements : public TIncrements {
    TW_KOV_CLASS(TStrainIncrements, TIncrements)
public:
    using TIncrements::TIncrements;
    // Percent, compression negative.
    double GetIncrement(TQBLoadDirection direction) const { return FIncrements[direction]; }
    void SetIncrement(TQBLoadDirection direction, double percent) {
        SetIncrementValue(direction, percent);
    }
    const TQBLoadDirectionDoubleArray& QBStrains() const { return FIncrements; }
    void SetQBStrains(const TQBLoadDirectionDoubleArray& values) { SetAll(values); }
};

class TBoundaryConditions : public TKovObservableObject {
    TW_KOV_CLASS(TBoundaryConditions, TKovObservableObject)
public:
    using TKovObservableObject::TKovObservableObject;

    TQBBoundaryConditionType GetBoundaryCondition(TQBLoadDirection direction) const {
        return FBoundaryConditions[direction];
    }
    void SetBoundaryCondition(TQBLoadDirection direction, TQBBoundaryConditionType condition);
    const TQBBoundaryConditions& QBBoundaryConditions() const { return FBoundaryConditions; }
    void SetQBBoundaryConditions(const TQBBoundaryConditions& conditions);
    // The stored form: the six ordinals (0 strain, 1 stress) joined by tabs.
    std::string ToString() const;
    // Takes the stored form; raises EIncrementsException for anything but six ordinals 0 or 1.
    void LoadFromString(const std::string& text);

protected:
    void AssignEssentialState(const TKovObject& source) override;

private:
    TQBBoundaryConditions FBoundaryConditions{};
};

} // namespace tw
