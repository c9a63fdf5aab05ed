#pragma once
// The base of the tests whose phases the user edits in a table: the oedometer test and the
// constant rate of strain test.

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
    // Opens, on every phase, what the phase table edits: the steps, the duration and the
    // vertical increment that drives the phase (stress on the oedometer, strain on CRS).
    void UpdateAfterPhasesChanged() override;
};

} // namespace tw
