#include "labtest/QBTestDSBase.h"
#include "labtest/QBPropertyNames.h"

#include "labtest/QBCyclicTestHelper.h"

#include <cfloat>
#include <cmath>

namespace tw {

// ---------------------------------------------------------------------------------------------
// TQBTestDSBase

TW_KOV_ABSTRACT_CLASS_IMPL(TQBTestDSBase, TQBTestWithConsolidation,
                           &TQBTestDSBase::DeclareProperties)

void TQBTestDSBase::DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
    AddDerivedAdvancedEffectiveStressDeclarations(list, ipkReadOnly | ipkNotPublished);
    // Magnitudes: a value of either sign makes the vertical stress compressive.
    TQBTestHelper::AddDerivedInitialStress(
        list, ip::AbsSigyyinit.Name, "Initial effective stress |@s#'_yy#|", -DBL_MAX, DBL_MAX);
    list.AddDerivedDoubleWithUnit(ip::AbsSigyyTotinit.Name, qtPressure,
                                  ByOwner(&TQBTestDSBase::TotalInitialStressValue,
                                          &TQBTestDSBase::SetTotalInitialStressValue),
                                  ipkReadOnly | ipkNotPublished, "Initial total stress |@s#_yy#|",
                                  -DBL_MAX, DBL_MAX);
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
    Property(ip::AbsSigyyinit).SetValue(std::fabs(-pascal - SeInit() * InitialSuction()));
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
    GetIntrinsicPropertyByName(ip::Behaviour)->SetPublishedAndEditable(true);
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
    if (ip::SuctionCondition.Is(property)) {
        // With suction the total stress is the input, and the effective one follows.
        const bool suction = IsSuctionEnabled();
        GetIntrinsicPropertyByName(ip::AbsSigyyTotinit)->SetPublishedAndEditable(suction);
        GetIntrinsicPropertyByName(ip::AbsSigyyinit)->SetReadOnly(suction);
    }
}

void TQBTestDSBase::AddDefaultPhase(double duration, const TQBBoundaryConditions& conditions) {
    Phases().AddWithSettings(this, DefaultPhaseSteps, duration, TQBLoadDirectionDoubleArray{},
                             TQBLoadDirectionDoubleArray{}, conditions);
}

} // namespace tw
