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
    for (int i = 0; i < Phases().Count(); ++i) {
        TQBPhase& phase = Phases()[i];
        phase.SetStepsReadOnly(false);
        phase.SetDurationReadOnly(false);
        if (TestType() == ttCRS)
            phase.SetStrainIPReadOnly(ldYY, false);
        else
            phase.SetStressIPReadOnly(ldYY, false);
    }
}

std::string TQBTestWithPhaseView::ToString() const {
    return Format("%s%s%s", TQBTestBase::ToString(), "/", Phases().ToString());
}

} // namespace tw
