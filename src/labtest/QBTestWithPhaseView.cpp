#include "labtest/QBTestWithPhaseView.h"

namespace tw {

namespace {
constexpr double OneDay = 86400.0; // seconds
constexpr int DefaultSteps = 100;
} // namespace

// ---------------------------------------------------------------------------------------------
// TQBTestWithPhaseView

TW_KOV_ABSTRACT_CLASS_IMPL(TQBTestWithPhaseView, TQBTestBase,
                           &TQBTestWithPhaseView::DeclareProperties)

void TQBTestWithPhaseView::DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
    AddDerivedAdvancedEffectiveStressDeclarations(list, ipkReadOnly | ipkNotPublished);
}

void TQBTestWithPhaseView::AddDefaultPhase(const TQBBoundaryConditions& conditions) {
    Phases().AddWithSettings(this, DefaultSteps, OneDay, TQBLoadDirectionDoubleArray{},
                             TQBLoadDirectionDoubleArray{}, conditions);
}

std::string TQBTestWithPhaseView::ToString() const {
    return Format("%s%s%s", TQBTestBase::ToString(), "/", Phases().ToString());
}

// ---------------------------------------------------------------------------------------------
// TQBTestOedometer

TW_KOV_CLASS_IMPL(TQBTestOedometer, TQBTestWithPhaseView, nullptr)

void TQBTestOedometer::AddDefaultChartSettings() {
    TQBTestWithPhaseView::AddDefaultChartSettings();
    ChartSettings().AddDefault(ctSxxSyy);
    ChartSettings().AddDefault(ctPQ);
    ChartSettings().AddDefault(ctMohr);
    ChartSettings().AddDefault(ctEyySyy).YAxis().SetFlipAxis(true);
    ChartSettings().AddDefault(ctTEyy);
}

void TQBTestOedometer::SetDefaultValues(bool clearResults) {
    TQBTestWithPhaseView::SetDefaultValues(clearResults);
    // The vertical stress and xy are given; the sample can't strain sideways.
    AddDefaultPhase(
        {bcFixedStrain, bcFixedStress, bcFixedStrain, bcFixedStress, bcFixedStrain, bcFixedStrain});
}

// ---------------------------------------------------------------------------------------------
// TQBTestCRS

TW_KOV_CLASS_IMPL(TQBTestCRS, TQBTestWithPhaseView, nullptr)

void TQBTestCRS::AddDefaultChartSettings() {
    TQBTestWithPhaseView::AddDefaultChartSettings();
    for (TQBChartType type : {ctSxxSyy, ctPQ, ctMohr, ctEyySyy, ctTEyy})
        ChartSettings().AddDefault(type);
}

void TQBTestCRS::SetDefaultValues(bool clearResults) {
    TQBTestWithPhaseView::SetDefaultValues(clearResults);
    // Only xy is stress-given: the vertical strain is driven at a constant rate.
    AddDefaultPhase(
        {bcFixedStrain, bcFixedStrain, bcFixedStrain, bcFixedStress, bcFixedStrain, bcFixedStrain});
}

} // namespace tw
