#include "labtest/QBTestDSS.h"

#include <cfloat>

namespace tw {

TW_KOV_CLASS_IMPL(TQBTestDSS, TQBTestDSBase, &TQBTestDSS::DeclareProperties)

void TQBTestDSS::DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
    list.AddDerivedDoubleWithUnit(
        "MaximumShearStrain", qtPercentage,
        ByOwner(&TQBTestDSS::MaximumShearStrain, &TQBTestDSS::SetMaximumShearStrain), 0,
        "Maximum shear strain @g#_xy#", -DBL_MAX, DBL_MAX);
    TQBTestHelper::AddDerivedFirstPhaseSteps(list);
}

double TQBTestDSS::MaximumShearStrain() const {
    const TQBPhase* first = FirstPhase();
    return first ? first->GetStrainIncrement(ldXY) : 0.0;
}

void TQBTestDSS::SetMaximumShearStrain(double percent) {
    if (TQBPhase* first = FirstPhase())
        first->SetStrainIncrement(ldXY, percent);
}

int TQBTestDSS::Steps() const {
    const TQBPhase* first = FirstPhase();
    return first ? first->Steps() : 0;
}

void TQBTestDSS::SetDefaultValues(bool clearResults) {
    TQBTestDSBase::SetDefaultValues(clearResults);
    AddDefaultPhase(OneDay, {bcFixedStrain, bcFixedStress, bcFixedStrain, bcFixedStrain,
                             bcFixedStrain, bcFixedStrain});
}

std::string TQBTestDSS::ToString() const {
    std::string text = TQBTestDSBase::ToString();
    text = Format("%s%sK0=%f", text, "/", K0());
    text = Format("%s%sVerticalStress=%f", text, "/", InitialStressValue());
    return Format("%s%s%s", text, "/", Phases().ToString());
}

} // namespace tw
