#pragma once
// The general test: a stress and strain path of the user's own, phase by phase, with a boundary
// condition per direction that holds for all phases, and cyclic definitions over stretches of
// phases. Its active directions are all six in 3D, and xx, yy, zz and xy in 2D (plane strain):
// what belongs to a closed direction stays read-only.

#include "labtest/QBTestBase.h"

namespace tw {

class TQBTestGeneral : public TQBTestBase {
    TW_KOV_CLASS(TQBTestGeneral, TQBTestBase)
public:
    using TQBTestBase::TQBTestBase;
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list);
    TQBTestType TestType() const override { return ttGeneral; }

    bool IsActiveDirection(TQBLoadDirection direction) const;
    // "BoundaryConditionxx" ... "BoundaryConditionzx": read from the first phase (fixed strain
    // without phases); setting one sets that direction on all phases.
    TQBBoundaryConditionType GetBoundaryConditionType(TQBLoadDirection direction) const;
    void SetBoundaryConditionType(TQBLoadDirection direction, TQBBoundaryConditionType type);
    TIPEnumeration& GetBoundaryConditionTypeIP(TQBLoadDirection direction) const;
    std::string ToString() const override;

protected:
    void Initialize() override;
    void AddDefaultChartSettings() override;
    void SetDefaultValues(bool clearResults) override;
    // Opens duration, steps and the increments of the active directions of every phase.
    void UpdateAfterPhasesChanged() override;
    void PropertyChanged(TKovIntrinsicProperty& property) override;

private:
    // Temperature and suction increments of all phases shown as the test allows them.
    void UpdatePhaseIncrementVisibility();
};

} // namespace tw
