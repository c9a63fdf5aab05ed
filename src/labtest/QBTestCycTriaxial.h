#pragma once
// The cyclic triaxial test: after an initial phase under the cell pressure, the axial direction
// (yy) is cycled with a strain or a stress amplitude (see QBCyclicTest.h).

#include "labtest/QBCyclicTest.h"

namespace tw {

class TQBTestCycTriaxial : public TQBCyclicTest<TQBTestTriaxialBase> {
    TW_KOV_CLASS(TQBTestCycTriaxial, TQBCyclicTest<TQBTestTriaxialBase>)
public:
    using TQBCyclicTest::TQBCyclicTest;
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list);
    TQBTestType TestType() const override { return ttCycTriaxial; }
    // The cycles are (phase count - 2) / 2 by integer division.
    const TQBCyclicTestKind& CyclicKind() const override;

    // Strain control shows time against axial strain, stress control time against axial
    // stress; drained tests show the volumetric strain, undrained ones the excess pore pressure.
    void UpdateChartsSettings(bool isStrainControl) override;
    std::string ToString() const override;

protected:
    void AddDefaultChartSettings() override;
    void SetDefaultValues(bool clearResults) override;
    void UpdateCyclicCharts() override { UpdateChartsSettings(IsStrainTestControl()); }
};

} // namespace tw
