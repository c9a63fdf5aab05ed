#pragma once
// The triaxial test: after consolidation the sample is sheared in one phase to a maximum axial
// strain, in compression or extension, drained or undrained.

#include "labtest/QBTestTriaxialBase.h"

namespace tw {

class TQBTestTriaxial : public TQBTestTriaxialBase {
    TW_KOV_CLASS(TQBTestTriaxial, TQBTestTriaxialBase)
public:
    using TQBTestTriaxialBase::TQBTestTriaxialBase;
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list);
    TQBTestType TestType() const override { return ttTriaxial; }

    TQBDirection Direction() const;
    // |strain increment yy| of the first phase, in percent.
    double MaximumStrain() const;
    void SetMaximumStrain(double percent);
    int Steps() const;
    std::string ToString() const override;

protected:
    void AddDefaultChartSettings() override;
    void SetDefaultValues(bool clearResults) override;
    void PropertyChanged(TKovIntrinsicProperty& property) override;
    void UpdateFromInitialStresses() override;
};

} // namespace tw
