#pragma once
// The constant rate of strain test: the vertical strain is driven phase by phase at a constant
// rate, and the sample cannot strain sideways.

#include "labtest/QBTestWithPhaseView.h"

namespace tw {

class TQBTestCRS : public TQBTestWithPhaseView {
    TW_KOV_CLASS(TQBTestCRS, TQBTestWithPhaseView)
public:
    using TQBTestWithPhaseView::TQBTestWithPhaseView;
    TQBTestType TestType() const override { return ttCRS; }

protected:
    void AddDefaultChartSettings() override;
    void SetDefaultValues(bool clearResults) override;
    bool DrivesVerticalStress() const override { return false; }
};

} // namespace tw
