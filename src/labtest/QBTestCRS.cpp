#include "labtest/QBTestCRS.h"

namespace tw {

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
