#pragma once
// The cyclic triaxial test: after an initial phase under the cell pressure, the axial direction
// (yy) is cycled with a strain or a stress amplitude. The cyclic phases are generated from the
// number of cycles, the steps per quarter cycle, the duration per cycle and the amplitude of the
// current control; after a run the damping ratio of the last cycle is derived from the axial
// strain and stress.

#include "labtest/QBTestBase.h"
#include "labtest/QBTestHelper.h"

namespace tw {

class TQBTestCycTriaxial : public TQBTestTriaxialBase, public ICyclicTest {
    TW_KOV_CLASS(TQBTestCycTriaxial, TQBTestTriaxialBase)
public:
    using TQBTestTriaxialBase::TQBTestTriaxialBase;
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list);
    TQBTestType TestType() const override { return ttCycTriaxial; }

    // ICyclicTest. The amplitude properties are "AxialStrainAmplitude" and
    // "AxialStressAmplitude"; the cycles are (phase count - 2) / 2 by integer division.
    double StoredStrainAmplitude() const override;
    void SetStoredStrainAmplitude(double percent) override;
    double StoredStressAmplitude() const override;
    void SetStoredStressAmplitude(double pascal) override;
    TIPDouble& StrainAmplitudeIP() const override;
    TIPDouble& StressAmplitudeIP() const override;
    bool IsStrainTestControl() const override;
    TQBLoadDirection CyclicDirection() const override { return ldYY; }
    TQBBoundaryConditions CyclicBoundaryConditions() const override;
    int NumberOfCycles() const override;
    double DampingRatio() const override { return FDampingRatio; }

    // The initial phase has the normal stresses and xy given, yz and zx fixed.
    static TQBBoundaryConditions InitialBoundaryConditions();
    // The title of the first chart: with results, the damping ratio is added.
    std::string FirstChartTitle(const std::string& title) const;

    // Strain control shows time against axial strain, stress control time against axial
    // stress; drained tests show the volumetric strain, undrained ones the excess pore pressure.
    void UpdateChartsSettings(bool isStrainControl) override;
    // The damping ratio of the last cycle, from the axial strain and stress.
    void DoAfterLoadResults() override;
    // The stored amplitude, the shown amplitude and the charts follow the phases and the control.
    void DoAfterLoadPhases() override;
    std::string ToString() const override;

protected:
    void Initialize() override;
    void AddDefaultChartSettings() override;
    void SetDefaultValues(bool clearResults) override;
    void PropertyChanged(TKovIntrinsicProperty& property) override;

private:
    double FDampingRatio = 0.0;
};

} // namespace tw
