#include "labtest/QBTestCDSS.h"

#include "labtest/QBCyclicTestHelper.h"

namespace tw {

TW_KOV_CLASS_IMPL(TQBTestCDSS, TQBCyclicTest<TQBTestDSBase>, &TQBTestCDSS::DeclareProperties)

namespace {
// The initial phase has yy and xy stresses given (the static shear), the rest fixed.
const TQBCyclicTestKind CDSSKind{
    "ShearStrainAmplitude",
    "Shear strain amplitude @D@g#_xy#",
    "ShearStressAmplitude",
    "Shear stress amplitude @D@s#_xy#",
    "InitialStaticShear",
    "Initial static shear @s#_xy#",
    ldXY,
    {bcFixedStrain, bcFixedStress, bcFixedStrain, bcFixedStress, bcFixedStrain, bcFixedStrain},
    &TQBCyclicTestHelper::CyclesByRounding,
    rtGamXY,
    rtTauXY,
};
} // namespace

void TQBTestCDSS::DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
    DeclareCyclicProperties(list, CDSSKind);
}

const TQBCyclicTestKind& TQBTestCDSS::CyclicKind() const {
    return CDSSKind;
}

void TQBTestCDSS::SetDefaultValues(bool clearResults) {
    TQBCyclicTest::SetDefaultValues(clearResults);
    AddDefaultPhase(0.0, CDSSKind.InitialBoundaryConditions);
}

std::string TQBTestCDSS::ToString() const {
    std::string text = TQBCyclicTest::ToString();
    text = Format("%s%sK0=%f", text, "/", K0());
    text = Format("%s%sVerticalStress=%f", text, "/", InitialStressValue());
    return CyclicToString(text);
}

} // namespace tw
