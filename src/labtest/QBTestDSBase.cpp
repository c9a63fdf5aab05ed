#include "labtest/QBTestDSBase.h"

#include "labtest/QBCyclicTestHelper.h"

#include <cfloat>
#include <cmath>

namespace tw {

namespace {
constexpr double OneDay = 86400.0; // seconds
constexpr int DefaultSteps = 100;
} // namespace

// ---------------------------------------------------------------------------------------------
// TQBTestDSBase

TW_KOV_ABSTRACT_CLASS_IMPL(TQBTestDSBase, TQBTestWithConsolidation,
                           &TQBTestDSBase::DeclareProperties)

void TQBTestDSBase::DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
    AddDerivedAdvancedEffectiveStressDeclarations(list, ipkReadOnly | ipkNotPublished);
    // Magnitudes: a value of either sign makes the vertical stress compressive.
    TQBTestHelper::AddDerivedInitialStress(
        list, "AbsSigyyinit", "Initial effective stress |@s#'_yy#|", -DBL_MAX, DBL_MAX);
    list.AddDerivedDoubleWithUnit(
        "AbsSigyyTotinit", qtPressure,
        {[](const TKovIntrinsicProperty& p) {
             return static_cast<const TQBTestDSBase&>(*p.Owner()).TotalInitialStressValue();
         },
         [](TKovIntrinsicProperty& p, const double& v) {
             static_cast<TQBTestDSBase&>(*p.Owner()).SetTotalInitialStressValue(v);
         }},
        ipkReadOnly | ipkNotPublished, "Initial total stress |@s#_yy#|", -DBL_MAX, DBL_MAX);
    TQBTestHelper::AddDerivedFirstPhaseDuration(list);
}

double TQBTestDSBase::InitialStressValue() const {
    return std::fabs(GetInitialEffectiveStress(ldYY));
}

void TQBTestDSBase::SetInitialStressValue(double pascal) {
    SetInitialEffectiveStress(ldYY, -std::fabs(pascal));
    UpdateStressesFromK0();
}

double TQBTestDSBase::TotalInitialStressValue() const {
    return std::fabs(GetInitialTotalStress(ldYY));
}

void TQBTestDSBase::SetTotalInitialStressValue(double pascal) {
    // The total stress is -value; the effective one follows from it through Se * s.
    Property<TIPDouble>("AbsSigyyinit").SetValue(std::fabs(-pascal - SeInit() * InitialSuction()));
}

double TQBTestDSBase::TestTime() const {
    const TQBPhase* first = FirstPhase();
    return first ? first->Duration() : 0.0;
}

void TQBTestDSBase::SetTestTime(double seconds) {
    if (TQBPhase* first = FirstPhase())
        first->SetDuration(seconds);
}

void TQBTestDSBase::Initialize() {
    TQBTestWithConsolidation::Initialize();
    GetIntrinsicPropertyByName("Behaviour")->SetPublishedAndEditable(true);
}

void TQBTestDSBase::AddDefaultChartSettings() {
    TQBTestWithConsolidation::AddDefaultChartSettings();
    for (TQBChartType type : {ctS3S1, ctPQ, ctMohr, ctTxyGxy, ctGxyPw})
        ChartSettings().AddDefault(type);
}

void TQBTestDSBase::UpdatePropertyAvailability() {
    TQBTestWithConsolidation::UpdatePropertyAvailability();
    UpdateDurationAvailability();
}

void TQBTestDSBase::PropertyChanged(TKovIntrinsicProperty& property) {
    TQBTestWithConsolidation::PropertyChanged(property);
    if (property.CleanName() == "suctioncondition") {
        // With suction the total stress is the input, and the effective one follows.
        const bool suction = IsSuctionEnabled();
        GetIntrinsicPropertyByName("AbsSigyyTotinit")->SetPublishedAndEditable(suction);
        GetIntrinsicPropertyByName("AbsSigyyinit")->SetReadOnly(suction);
    }
}

void TQBTestDSBase::AddDefaultPhase(double duration, const TQBBoundaryConditions& conditions) {
    Phases().AddWithSettings(this, DefaultSteps, duration, TQBLoadDirectionDoubleArray{},
                             TQBLoadDirectionDoubleArray{}, conditions);
}

// ---------------------------------------------------------------------------------------------
// TQBTestDSS

TW_KOV_CLASS_IMPL(TQBTestDSS, TQBTestDSBase, &TQBTestDSS::DeclareProperties)

void TQBTestDSS::DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
    list.AddDerivedDoubleWithUnit(
        "MaximumShearStrain", qtPercentage,
        {[](const TKovIntrinsicProperty& p) {
             return static_cast<const TQBTestDSS&>(*p.Owner()).MaximumShearStrain();
         },
         [](TKovIntrinsicProperty& p, const double& v) {
             static_cast<TQBTestDSS&>(*p.Owner()).SetMaximumShearStrain(v);
         }},
        0, "Maximum shear strain @g#_xy#", -DBL_MAX, DBL_MAX);
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

// ---------------------------------------------------------------------------------------------
// TQBTestCDSS

TW_KOV_CLASS_IMPL(TQBTestCDSS, TQBTestDSBase, &TQBTestCDSS::DeclareProperties)

void TQBTestCDSS::DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
    TQBTestHelper::AddDerivedNumberOfCycles(list);
    TQBTestHelper::AddDerivedNumberOfStepsPerQuarterCycle(list);
    TQBTestHelper::AddDerivedDurationPerCycle(list);
    TQBTestHelper::AddStoredAmplitudes(list);
    TQBTestHelper::AddDerivedStrainAmplitude(list, "ShearStrainAmplitude",
                                             "Shear strain amplitude @D@g#_xy#");
    TQBTestHelper::AddDerivedStressAmplitude(list, "ShearStressAmplitude",
                                             "Shear stress amplitude @D@s#_xy#");
    TQBTestHelper::AddDerivedInitialStressIncrement(list, "InitialStaticShear",
                                                    "Initial static shear @s#_xy#");
}

double TQBTestCDSS::StoredStrainAmplitude() const {
    return Property<TIPDouble>("StoredShearStrainAmplitude").Value();
}
void TQBTestCDSS::SetStoredStrainAmplitude(double percent) {
    Property<TIPDouble>("StoredShearStrainAmplitude").SetValue(percent);
}
double TQBTestCDSS::StoredStressAmplitude() const {
    return Property<TIPDouble>("StoredShearStressAmplitude").Value();
}
void TQBTestCDSS::SetStoredStressAmplitude(double pascal) {
    Property<TIPDouble>("StoredShearStressAmplitude").SetValue(pascal);
}
TIPDouble& TQBTestCDSS::StrainAmplitudeIP() const {
    return Property<TIPDouble>("ShearStrainAmplitude");
}
TIPDouble& TQBTestCDSS::StressAmplitudeIP() const {
    return Property<TIPDouble>("ShearStressAmplitude");
}
bool TQBTestCDSS::IsStrainTestControl() const {
    return TestControlType() == tctStrain;
}

TQBBoundaryConditions TQBTestCDSS::InitialBoundaryConditions() {
    return {bcFixedStrain, bcFixedStress, bcFixedStrain,
            bcFixedStress, bcFixedStrain, bcFixedStrain};
}

TQBBoundaryConditions TQBTestCDSS::CyclicBoundaryConditions() const {
    TQBBoundaryConditions conditions = InitialBoundaryConditions();
    if (IsStrainTestControl())
        conditions[ldXY] = bcFixedStrain;
    return conditions;
}

int TQBTestCDSS::NumberOfCycles() const {
    return CreatedForRevert() ? 0 : TQBCyclicTestHelper::CyclesByRounding(Phases().Count());
}

std::string TQBTestCDSS::FirstChartTitle(const std::string& title) const {
    return TQBCyclicTestHelper::TitleWithDampingRatio(*this, *this, title);
}

void TQBTestCDSS::Initialize() {
    TQBTestDSBase::Initialize();
    GetIntrinsicPropertyByName("TestControlType")->SetPublishedAndEditable(true);
}

void TQBTestCDSS::SetDefaultValues(bool clearResults) {
    TQBTestDSBase::SetDefaultValues(clearResults);
    AddDefaultPhase(0.0, InitialBoundaryConditions());
    TQBCyclicTestHelper::InitializeCyclicProperties(*this);
}

void TQBTestCDSS::PropertyChanged(TKovIntrinsicProperty& property) {
    TQBTestDSBase::PropertyChanged(property);
    if (property.CleanName() == "testcontroltype") {
        // Undo brings the values back itself; only what it doesn't keep is redone here.
        if (RevertOperationInProgress())
            TQBCyclicTestHelper::UpdateAmplitudeVisibility(*this);
        else
            TQBCyclicTestHelper::HandleTestControlTypeChange(TestControlType(), *this);
    }
}

void TQBTestCDSS::DoAfterLoadResults() {
    FDampingRatio = TQBCyclicTestHelper::DampingRatioOfResults(*this, *this, rtGamXY, rtTauXY);
}

void TQBTestCDSS::DoAfterLoadPhases() {
    TQBCyclicTestHelper::TakeAmplitudeFromPhases(*this, *this);
    TQBCyclicTestHelper::UpdateAmplitudeVisibility(*this);
}

std::string TQBTestCDSS::ToString() const {
    std::string text = TQBTestDSBase::ToString();
    text = Format("%s%sK0=%f", text, "/", K0());
    text = Format("%s%sVerticalStress=%f", text, "/", InitialStressValue());
    text = Format("%s%sControl=%d", text, "/", static_cast<int>(TestControlType()));
    text = Format("%s%sCycles=%d", text, "/", NumberOfCycles());
    text = Format("%s%sStrainAmplitude=%f", text, "/", StoredStrainAmplitude());
    text = Format("%s%sStressAmplitude=%f", text, "/", StoredStressAmplitude());
    return Format("%s%s%s", text, "/", Phases().ToString());
}

} // namespace tw
