#pragma once
// The simple shear tests: a sample consolidated under a vertical stress (isotropic or K0) and
// sheared in xy. The direct simple shear test shears monotonically to a maximum shear strain;
// the cyclic one cycles the shear strain or stress around an initial static shear, and after a
// run derives the damping ratio of the last cycle from the shear strain and stress.

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

class TQBTestCDSS : public TQBTestDSBase, public ICyclicTest {
    TW_KOV_CLASS(TQBTestCDSS, TQBTestDSBase)
public:
    using TQBTestDSBase::TQBTestDSBase;
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list);
    TQBTestType TestType() const override { return ttCDSS; }

    // ICyclicTest. The amplitude properties are "ShearStrainAmplitude" and
    // "ShearStressAmplitude"; the cycles are (phase count - 2) / 2, rounded.
    double StoredStrainAmplitude() const override;
    void SetStoredStrainAmplitude(double percent) override;
    double StoredStressAmplitude() const override;
    void SetStoredStressAmplitude(double pascal) override;
    TIPDouble& StrainAmplitudeIP() const override;
    TIPDouble& StressAmplitudeIP() const override;
    bool IsStrainTestControl() const override;
    TQBLoadDirection CyclicDirection() const override { return ldXY; }
    TQBBoundaryConditions CyclicBoundaryConditions() const override;
    int NumberOfCycles() const override;
    double DampingRatio() const override { return FDampingRatio; }

    // The initial phase has yy and xy stresses given (the static shear), the rest fixed.
    static TQBBoundaryConditions InitialBoundaryConditions();
    // The title of the first chart: with results, the damping ratio is added.
    std::string FirstChartTitle(const std::string& title) const;

    // The damping ratio of the last cycle, from the shear strain and stress.
    void DoAfterLoadResults() override;
    // The stored amplitude and the shown amplitude follow the phases and the control.
    void DoAfterLoadPhases() override;
    std::string ToString() const override;

protected:
    void Initialize() override;
    void SetDefaultValues(bool clearResults) override;
    void PropertyChanged(TKovIntrinsicProperty& property) override;

private:
    double FDampingRatio = 0.0;
};

} // namespace tw
