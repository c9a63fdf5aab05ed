#pragma once
// Tests whose phases the user edits in a table: the oedometer test (vertical stress driven, no
// lateral strain) and the constant rate of strain test (vertical strain driven).

#include "labtest/QBTestBase.h"

namespace tw {

class TQBTestWithPhaseView : public TQBTestBase {
    TW_KOV_CLASS(TQBTestWithPhaseView, TQBTestBase)
public:
    using TQBTestBase::TQBTestBase;
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list);
    std::string ToString() const override;

protected:
    // The one phase of a fresh test: 100 steps over a day, no increments.
    void AddDefaultPhase(const TQBBoundaryConditions& conditions);
};

class TQBTestOedometer : public TQBTestWithPhaseView {
    TW_KOV_CLASS(TQBTestOedometer, TQBTestWithPhaseView)
public:
    using TQBTestWithPhaseView::TQBTestWithPhaseView;
    TQBTestType TestType() const override { return ttOedometer; }

protected:
    void AddDefaultChartSettings() override;
    void SetDefaultValues(bool clearResults) override;
};

class TQBTestCRS : public TQBTestWithPhaseView {
    TW_KOV_CLASS(TQBTestCRS, TQBTestWithPhaseView)
public:
    using TQBTestWithPhaseView::TQBTestWithPhaseView;
    TQBTestType TestType() const override { return ttCRS; }

protected:
    void AddDefaultChartSettings() override;
    void SetDefaultValues(bool clearResults) override;
};

} // namespace tw
