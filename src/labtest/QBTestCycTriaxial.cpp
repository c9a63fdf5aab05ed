#include "labtest/QBTestCycTriaxial.h"

#include "labtest/QBCyclicTestHelper.h"

namespace tw {

TW_KOV_CLASS_IMPL(TQBTestCycTriaxial, TQBCyclicTest<TQBTestTriaxialBase>,
                  &TQBTestCycTriaxial::DeclareProperties)

namespace {
// The initial phase has the normal stresses and xy given, yz and zx fixed.
const TQBCyclicTestKind CycTriaxialKind{
    "AxialStrainAmplitude",
    "Axial strain amplitude @D@e#_yy#",
    "AxialStressAmplitude",
    "Axial stress amplitude @D@s#_yy#",
    "InitialAxialStressinc",
    "Initial axial stress increment @D@s#_yy#",
    ldYY,
    {bcFixedStress, bcFixedStress, bcFixedStress, bcFixedStress, bcFixedStrain, bcFixedStrain},
    &TQBCyclicTestHelper::CyclesByDivision,
    rtEpsYY,
    rtSigYY,
};
} // namespace

void TQBTestCycTriaxial::DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
    DeclareCyclicProperties(list, CycTriaxialKind);
}

const TQBCyclicTestKind& TQBTestCycTriaxial::CyclicKind() const {
    return CycTriaxialKind;
}

void TQBTestCycTriaxial::AddDefaultChartSettings() {
    TQBCyclicTest::AddDefaultChartSettings();
    for (TQBChartType type : {ctEyySyy, ctPQ, ctMohr, ctQ3Q1})
        ChartSettings().AddDefault(type);
    UpdateChartsSettings(IsStrainTestControl());
}

void TQBTestCycTriaxial::UpdateChartsSettings(bool isStrainControl) {
    TQBChartSettingsList& charts = ChartSettings();
    charts.EnsureChartType(ctTEyy, isStrainControl);
    charts.EnsureChartType(ctTQyy, !isStrainControl);
    const bool drained = Behavior() == qbbhDrained;
    charts.EnsureChartType(ctEyyEv, drained);
    charts.EnsureChartType(ctEyyPw, !drained);
}

void TQBTestCycTriaxial::SetDefaultValues(bool clearResults) {
    TQBCyclicTest::SetDefaultValues(clearResults);
    // The triaxial default phase becomes the initial phase: no strain, no duration, the axial
    // stress given.
    if (TQBPhase* first = FirstPhase()) {
        first->SetDuration(0.0);
        first->SetStrainIncrements(TQBLoadDirectionDoubleArray{});
        first->SetBoundaryConditions(CycTriaxialKind.InitialBoundaryConditions);
    }
}

std::string TQBTestCycTriaxial::ToString() const {
    std::string text = TQBCyclicTest::ToString();
    text = Format("%s%sK0=%f", text, "/", K0());
    text = Format("%s%sCellPressure=%f", text, "/", CellPressure());
    return CyclicToString(text);
}

} // namespace tw
