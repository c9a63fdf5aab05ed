#include "labtest/QBTestWithPhaseView.h"

namespace tw {

// ---------------------------------------------------------------------------------------------
// TQBTestWithPhaseView

TW_KOV_ABSTRACT_CLASS_IMPL(TQBTestWithPhaseView, TQBTestBase,
                           &TQBTestWithPhaseView::DeclareProperties)

void TQBTestWithPhaseView::DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
    AddDerivedAdvancedEffectiveStressDeclarations(list, ipkReadOnly | ipkNotPublished);
}

void TQBTestWithPhaseView::AddDefaultPhase(const TQBBoundaryConditions& conditions) {
    Phases().AddWithSettings(this, DefaultPhaseSteps, OneDay, TQBLoadDirectionDoubleArray{},
                             TQBLoadDirectionDoubleArray{}, conditions);
}

void TQBTestWithPhaseView::UpdateAfterPhasesChanged() {
    TQBTestBase::UpdateAfterPhasesChanged();
    OpenPhaseTableCells();
}

void TQBTestWithPhaseView::UpdatePropertyAvailability() {
    TQBTestBase::UpdatePropertyAvailability();
    OpenPhaseTableCells();
}

void TQBTestWithPhaseView::OpenPhaseTableCells() {
    const bool stress = DrivesVerticalStress();
    const bool time = IsTimeEnabled();
    for (int i = 0; i < Phases().Count(); ++i) {
        TQBPhase& phase = Phases()[i];
        phase.SetStepsReadOnly(false);
        phase.SetDurationReadOnly(!time);
        phase.SetStressIPReadOnly(ldYY, !stress);
        phase.SetStrainIPReadOnly(ldYY, stress);
    }
}

std::string TQBTestWithPhaseView::ToString() const {
    return Format("%s%s%s", TQBTestBase::ToString(), "/", Phases().ToString());
}

} // namespace tw
