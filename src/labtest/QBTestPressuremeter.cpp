#include "labtest/QBTestPressuremeter.h"
#include "labtest/QBPropertyNames.h"

#include <cfloat>
#include <cmath>

namespace tw {

namespace {
constexpr double DefaultInitialStress = -1e5; // pascal, compression negative
constexpr double DefaultRadialStrain = 10.0;  // percent
} // namespace

TW_KOV_CLASS_IMPL(TQBTestPressuremeter, TQBTestWithConsolidation,
                  &TQBTestPressuremeter::DeclareProperties)

void TQBTestPressuremeter::DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
    AddDerivedBasicEffectiveStressDeclarations(list, ipkReadOnly | ipkNotPublished);
    list.AddDoubleWithUnit(ip::InnerRadius.Name, qtLength, ipkReadOnly | ipkNotPublished,
                           "Inner radius R_0#", 1e-10, 1e20);
    TQBTestHelper::AddDerivedInitialStress(list, "AbsSigyyEinit",
                                           "Initial effective stress |@s#'_yy#|", 1e-10, DBL_MAX);
    list.AddDerivedDoubleWithUnit(
        "MaximumRadialStrain", qtPercentage,
        ByOwner(&TQBTestPressuremeter::MaxRadialStrain, &TQBTestPressuremeter::SetMaxRadialStrain),
        0, "Maximum radial strain |@e_xx#|", 0.0, DBL_MAX);
    TQBTestHelper::AddDerivedFirstPhaseDuration(list);
    TQBTestHelper::AddDerivedFirstPhaseSteps(list);
}

double TQBTestPressuremeter::InitialStressValue() const {
    return std::fabs(GetInitialEffectiveStress(ldYY));
}

void TQBTestPressuremeter::SetInitialStressValue(double pascal) {
    SetInitialEffectiveStress(ldYY, -std::fabs(pascal));
    UpdateStressesFromK0();
}

double TQBTestPressuremeter::Duration() const {
    const TQBPhase* first = FirstPhase();
    return first ? first->Duration() : 0.0;
}

int TQBTestPressuremeter::NumSteps() const {
    const TQBPhase* first = FirstPhase();
    return first ? first->Steps() : 0;
}

double TQBTestPressuremeter::InnerRadius() const {
    return Property(ip::InnerRadius).Value();
}

double TQBTestPressuremeter::MaxRadialStrain() const {
    const TQBPhase* first = FirstPhase();
    return first ? std::fabs(first->GetStrainIncrement(ldXX) / InnerRadius()) : 0.0;
}

void TQBTestPressuremeter::SetMaxRadialStrain(double percent) {
    SetDisplacementIncrement(percent);
}

void TQBTestPressuremeter::SetDisplacementIncrement(double radialStrain) {
    if (TQBPhase* first = FirstPhase())
        first->SetStrainIncrement(ldXX, std::fabs(radialStrain) * InnerRadius());
}

void TQBTestPressuremeter::AddDefaultChartSettings() {
    TQBTestWithConsolidation::AddDefaultChartSettings();
    TQBChartSettings& displacement = ChartSettings().AddDefault(ctExxSxx);
    displacement.XAxis().SetTitle("u_x# / R_0#");
    displacement.YAxis().SetTitle("p_PMT#");
    TQBChartSettings& volume = ChartSettings().AddDefault(ctEvSxx);
    volume.XAxis().SetTitle("ΔV / V_0#");
    volume.YAxis().SetTitle("p_PMT#");
}

void TQBTestPressuremeter::SetDefaultValues(bool clearResults) {
    TQBTestWithConsolidation::SetDefaultValues(clearResults);
    // The probe drives a displacement: the control is by strain and can't be changed.
    auto& control = Property(ip::TestControlType);
    control.SetIntValue(tctStrain);
    control.SetReadOnly(true);
    Property(ip::InnerRadius).SetValue(1.0);
    SetInitialStressValue(DefaultInitialStress);
    Phases().AddWithSettings(
        this, DefaultPhaseSteps, OneDay, TQBLoadDirectionDoubleArray{},
        TQBLoadDirectionDoubleArray{},
        {bcFixedStrain, bcFixedStress, bcFixedStress, bcFixedStress, bcFixedStrain, bcFixedStrain});
    SetDisplacementIncrement(DefaultRadialStrain);
}

void TQBTestPressuremeter::UpdatePropertyAvailability() {
    TQBTestWithConsolidation::UpdatePropertyAvailability();
    UpdateDurationAvailability();
}

std::string TQBTestPressuremeter::ToString() const {
    std::string text = TQBTestWithConsolidation::ToString();
    text = Format("%s%sK0=%f", text, "/", K0());
    text = Format("%s%sVerticalStress=%f", text, "/", InitialStressValue());
    text = Format("%s%sInnerRadius=%f", text, "/", InnerRadius());
    return Format("%s%s%s", text, "/", Phases().ToString());
}

} // namespace tw
