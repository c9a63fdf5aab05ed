#include "labtest/QBTestOedometer.h"

namespace tw {

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

} // namespace tw
