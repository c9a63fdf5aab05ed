#pragma once
// The direct simple shear test: after consolidation the sample is sheared monotonically in xy to
// a maximum shear strain.

#include "labtest/QBTestDSBase.h"

namespace tw {

class TQBTestDSS : public TQBTestDSBase {
    TW_KOV_CLASS(TQBTestDSS, TQBTestDSBase)
public:
    using TQBTestDSBase::TQBTestDSBase;
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list);
    TQBTestType TestType() const override { return ttDSS; }

    // The xy strain increment of the first phase (an engineering shear strain), in percent.
    double MaximumShearStrain() const;
    void SetMaximumShearStrain(double percent);
    int Steps() const;
    std::string ToString() const override;

protected:
    void SetDefaultValues(bool clearResults) override;
};

} // namespace tw
