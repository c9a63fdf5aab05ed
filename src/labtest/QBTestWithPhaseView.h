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
    // Whether the table drives a phase by its vertical stress increment (the oedometer test) or
    // by its vertical strain increment (the CRS test).
    virtual bool DrivesVerticalStress() const = 0;
    // The phases' cells of the table are open to the user, and so to commands: the steps, the
    // driven increment and, with a time-dependent material, the duration.
    void UpdateAfterPhasesChanged() override;
    void UpdatePropertyAvailability() override;

private:
    void OpenPhaseTableCells();
};

} // namespace tw
