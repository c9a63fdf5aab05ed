#pragma once
// The cyclic tests, the cyclic triaxial test and the cyclic direct simple shear test, are one
// implementation. After an initial phase, one direction is cycled with a strain or a stress
// amplitude, as the test control says; the cyclic phases are generated from the number of cycles,
// the steps per quarter cycle, the duration per cycle and the amplitude of the current control;
// after a run the damping ratio of the last cycle is derived from the driven strain and the
// answering stress. What tells the two apart is data: TQBCyclicTestKind.

#include "labtest/QBTestDSBase.h"
#include "labtest/QBTestHelper.h"
#include "labtest/QBTestTriaxialBase.h"

#include <string>

namespace tw {

struct TQBCyclicTestKind {
    // The user's amplitudes, shown one at a time by the control, and the stress increment of the
    // initial phase in the cyclic direction: property names and captions.
    const char* StrainAmplitudeName;
    const char* StrainAmplitudeCaption;
    const char* StressAmplitudeName;
    const char* StressAmplitudeCaption;
    const char* InitialStressIncrementName;
    const char* InitialStressIncrementCaption;
    // The direction the cycles drive.
    TQBLoadDirection Direction;
    // The boundary conditions of the initial phase; the cyclic phases fix the strain of the
    // cyclic direction under strain control and take these otherwise.
    TQBBoundaryConditions InitialBoundaryConditions;
    // The cycles as read back from the phase count (2 * cycles + 2).
    int (*CountCycles)(int phaseCount);
    // The loop of the damping ratio: the driven strain and the answering stress.
    TQBResultType StrainColumn;
    TQBResultType StressColumn;
};

// `Base` is the family of the test (triaxial or simple shear); the test class names its kind.
template <typename Base> class TQBCyclicTest : public Base, public ICyclicTest {
public:
    using Base::Base;
    explicit TQBCyclicTest(TForRevert tag) : Base(tag) {}

    virtual const TQBCyclicTestKind& CyclicKind() const = 0;
    // The properties of a cyclic test of `kind`, for the test class's own declarations.
    static void DeclareCyclicProperties(TKovIntrinsicPropertyDeclarationList& list,
                                        const TQBCyclicTestKind& kind);

    // ICyclicTest. Both tests keep their amplitudes in the stored properties
    // "StoredShearStrainAmplitude" and "StoredShearStressAmplitude": they are named after the
    // cyclic simple shear test, which had them first, and the cyclic triaxial test keeps its
    // axial amplitude under the same names so that one set of rules, files and commands serves
    // both.
    double StoredStrainAmplitude() const override;
    void SetStoredStrainAmplitude(double percent) override;
    double StoredStressAmplitude() const override;
    void SetStoredStressAmplitude(double pascal) override;
    TIPDouble& StrainAmplitudeIP() const override;
    TIPDouble& StressAmplitudeIP() const override;
    bool IsStrainTestControl() const override;
    TQBLoadDirection CyclicDirection() const override { return CyclicKind().Direction; }
    TQBBoundaryConditions CyclicBoundaryConditions() const override;
    int NumberOfCycles() const override;
    double DampingRatio() const override { return FDampingRatio; }

    // The title of the first chart: with results, the damping ratio is added.
    std::string FirstChartTitle(const std::string& title) const;
    // The damping ratio of the last cycle.
    void DoAfterLoadResults() override;
    // The stored amplitude, the shown amplitude and the charts follow the phases and the control.
    void DoAfterLoadPhases() override;

protected:
    void Initialize() override;
    void PropertyChanged(TKovIntrinsicProperty& property) override;
    // After the default values of the family: the initial phase and the amplitudes.
    void SetDefaultValues(bool clearResults) override;
    // Brings the charts that follow the control and the behaviour in line; none here.
    virtual void UpdateCyclicCharts() {}
    // `text` with the control, the cycles, the amplitudes and the phases.
    std::string CyclicToString(std::string text) const;

private:
    double FDampingRatio = 0.0;
};

extern template class TQBCyclicTest<TQBTestTriaxialBase>;
extern template class TQBCyclicTest<TQBTestDSBase>;

} // namespace tw
