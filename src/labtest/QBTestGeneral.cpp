#include "labtest/QBTestGeneral.h"
#include "labtest/QBPropertyNames.h"

#include "labtest/QBTestHelper.h"

namespace tw {

namespace {

std::string EffectiveStressName(TQBLoadDirection d) {
    return std::string("Sig") + LoadDirectionSuffix(d) + "init";
}
} // namespace

TW_KOV_CLASS_IMPL(TQBTestGeneral, TQBTestBase, &TQBTestGeneral::DeclareProperties)

void TQBTestGeneral::DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
    AddDerivedAdvancedEffectiveStressDeclarations(list, ipkReadOnly | ipkNotPublished);
    for (TQBLoadDirection d : AllLoadDirections)
        TQBTestHelper::AddDerivedBoundaryCondition(
            list, TQBPhase::BoundaryConditionName(d),
            {[d](const TKovIntrinsicProperty& p) {
                 return static_cast<int>(
                     static_cast<const TQBTestGeneral&>(*p.Owner()).GetBoundaryConditionType(d));
             },
             [d](TKovIntrinsicProperty& p, const int& v) {
                 static_cast<TQBTestGeneral&>(*p.Owner())
                     .SetBoundaryConditionType(d, static_cast<TQBBoundaryConditionType>(v));
             }},
            0, std::string("Boundary condition ") + LoadDirectionSuffix(d));
    // Only this test offers the user's own cyclic definitions.
    list.GetDeclarationFor("CyclicPhases")->SetConfiguration(0);
}

bool TQBTestGeneral::IsActiveDirection(TQBLoadDirection direction) const {
    return TestMethod() == tm3D || direction <= ldXY;
}

TQBBoundaryConditionType
TQBTestGeneral::GetBoundaryConditionType(TQBLoadDirection direction) const {
    const TQBPhase* first = FirstPhase();
    return first ? first->GetBoundaryCondition(direction) : bcFixedStrain;
}

void TQBTestGeneral::SetBoundaryConditionType(TQBLoadDirection direction,
                                              TQBBoundaryConditionType type) {
    for (int i = 0; i < Phases().Count(); ++i)
        Phases()[i].SetBoundaryCondition(direction, type);
}

TIPEnumeration& TQBTestGeneral::GetBoundaryConditionTypeIP(TQBLoadDirection direction) const {
    return Property<TIPEnumeration>(TQBPhase::BoundaryConditionName(direction));
}

void TQBTestGeneral::Initialize() {
    TQBTestBase::Initialize();
    GetIntrinsicPropertyByName(ip::Behaviour)->SetPublishedAndEditable(true);
    for (TQBLoadDirection d : AllLoadDirections) {
        TKovIntrinsicProperty& stress = *GetIntrinsicPropertyByName(EffectiveStressName(d));
        stress.SetPublished(true);
        stress.SetReadOnly(!IsActiveDirection(d));
        GetBoundaryConditionTypeIP(d).SetReadOnly(!IsActiveDirection(d));
    }
}

void TQBTestGeneral::AddDefaultChartSettings() {
    TQBTestBase::AddDefaultChartSettings();
    for (TQBChartType type : {ctS3S1, ctPQ, ctMohr})
        ChartSettings().AddDefault(type);
}

void TQBTestGeneral::SetDefaultValues(bool clearResults) {
    TQBTestBase::SetDefaultValues(clearResults);
    TQBBoundaryConditions conditions;
    conditions.fill(bcFixedStrain);
    Phases().AddWithSettings(this, DefaultPhaseSteps, OneDay, TQBLoadDirectionDoubleArray{},
                             TQBLoadDirectionDoubleArray{}, conditions);
    for (TQBLoadDirection d : AllLoadDirections)
        SetBoundaryConditionType(d, bcFixedStrain);
}

void TQBTestGeneral::UpdateAfterPhasesChanged() {
    for (int i = 0; i < Phases().Count(); ++i) {
        TQBPhase& phase = Phases()[i];
        phase.SetDurationReadOnly(false);
        phase.SetStepsReadOnly(false);
        for (TQBLoadDirection d : AllLoadDirections) {
            phase.SetStressIPReadOnly(d, !IsActiveDirection(d));
            phase.SetStrainIPReadOnly(d, !IsActiveDirection(d));
        }
    }
    UpdatePhaseIncrementVisibility();
}

void TQBTestGeneral::UpdatePhaseIncrementVisibility() {
    const bool thermal = IsThermalEnabled();
    const bool suction = IsSuctionIncrementEnabled();
    for (int i = 0; i < Phases().Count(); ++i) {
        Phases()[i].SetTemperatureVisibility(thermal);
        Phases()[i].SetSuctionVisibility(suction);
    }
}

void TQBTestGeneral::PropertyChanged(TKovIntrinsicProperty& property) {
    TQBTestBase::PropertyChanged(property);
    if (ip::SuctionCondition.Is(property) || ip::ThermalCondition.Is(property) ||
        ip::Behaviour.Is(property))
        UpdatePhaseIncrementVisibility();
}

std::string TQBTestGeneral::ToString() const {
    std::string text = TQBTestBase::ToString();
    for (TQBLoadDirection d : AllLoadDirections)
        text = Format("%s%sBC%s=%d", text, "/", LoadDirectionSuffix(d),
                      static_cast<int>(GetBoundaryConditionType(d)));
    return Format("%s%s%s", text, "/", Phases().ToString());
}

} // namespace tw
