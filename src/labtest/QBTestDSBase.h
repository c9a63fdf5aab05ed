#pragma once
// The base of the simple shear tests: a sample consolidated under a vertical stress (isotropic or
// K0) and sheared in xy.

#include "labtest/QBTestBase.h"
#include "labtest/QBTestHelper.h"

namespace tw {

class TQBTestDSBase : public TQBTestWithConsolidation, public ITestWithInitialStress {
    TW_KOV_CLASS(TQBTestDSBase, TQBTestWithConsolidation)
public:
    using TQBTestWithConsolidation::TQBTestWithConsolidation;
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list);

    // |effective yy| in pascal ("AbsSigyyinit"); setting it sets yy to minus the value and the
    // horizontal stresses from K0.
    double InitialStressValue() const override;
    void SetInitialStressValue(double pascal) override;
    // |total yy| in pascal ("AbsSigyyTotinit"); total = effective + Se * s.
    double TotalInitialStressValue() const;
    void SetTotalInitialStressValue(double pascal);
    // The duration of the first phase, in seconds.
    double TestTime() const;
    void SetTestTime(double seconds);

protected:
    void Initialize() override;
    void AddDefaultChartSettings() override;
    void UpdatePropertyAvailability() override;
    void PropertyChanged(TKovIntrinsicProperty& property) override;
    // The one phase of a fresh test: 100 steps, no increments.
    void AddDefaultPhase(double duration, const TQBBoundaryConditions& conditions);
};

} // namespace tw
