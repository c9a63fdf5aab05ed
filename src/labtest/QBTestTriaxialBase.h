#pragma once
// The base of the triaxial tests: a cylindrical sample under a cell pressure (xx and zz) and an
// axial load (yy), consolidated isotropically or along K0 before it is sheared.

#include "labtest/QBTestBase.h"

namespace tw {

class TQBTestTriaxialBase : public TQBTestWithConsolidation {
    TW_KOV_CLASS(TQBTestTriaxialBase, TQBTestWithConsolidation)
public:
    using TQBTestWithConsolidation::TQBTestWithConsolidation;
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list);

    // |effective xx|, in pascal.
    double CellPressure() const;
    // Sets the effective xx and zz stresses to -value, then the vertical one from K0.
    void SetCellPressure(double value);
    double TotalCellPressure() const;
    void SetTotalCellPressure(double value);
    double Duration() const;
    void SetDuration(double seconds);
    // The vertical stress follows the cell pressure: yy := xx / K0 (xx when K0 is about 0).
    void UpdateStressesFromK0() override;
    // Brings the charts that depend on the kind of loading in line with it; nothing here.
    virtual void UpdateChartsSettings(bool /*isStrainControl*/) {}

protected:
    void Initialize() override;
    void SetDefaultValues(bool clearResults) override;
    void UpdatePropertyAvailability() override;
    void PropertyChanged(TKovIntrinsicProperty& property) override;
};

} // namespace tw
