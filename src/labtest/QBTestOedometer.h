#pragma once
// The oedometer test: the vertical stress is driven phase by phase, and the sample cannot strain
// sideways.

#include "labtest/QBTestWithPhaseView.h"

namespace tw {

class TQBTestOedometer : public TQBTestWithPhaseView {
    TW_KOV_CLASS(TQBTestOedometer, TQBTestWithPhaseView)
public:
    using TQBTestWithPhaseView::TQBTestWithPhaseView;
    TQBTestType TestType() const override { return ttOedometer; }

protected:
    void AddDefaultChartSettings() override;
    void SetDefaultValues(bool clearResults) override;
    bool DrivesVerticalStress() const override { return true; }
};

} // namespace tw
