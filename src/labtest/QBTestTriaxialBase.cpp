#include "labtest/QBTestTriaxialBase.h"
#include "labtest/QBPropertyNames.h"

#include <cfloat>
#include <cmath>

namespace tw {

namespace {
constexpr double DefaultCellPressure = -1e5; // pascal, compression negative
} // namespace

TW_KOV_ABSTRACT_CLASS_IMPL(TQBTestTriaxialBase, TQBTestWithConsolidation,
                           &TQBTestTriaxialBase::DeclareProperties)

void TQBTestTriaxialBase::DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
    AddDerivedAdvancedEffectiveStressDeclarations(list, ipkReadOnly | ipkNotPublished);
    list.AddDerivedDoubleWithUnit(
        ip::CellPressure.Name, qtPressure,
        ByOwner(&TQBTestTriaxialBase::CellPressure, &TQBTestTriaxialBase::SetCellPressure), 0,
        "Initial effective cell pressure |@s#'_xx#|");
    list.AddDerivedDoubleWithUnit(ip::TotalCellPressure.Name, qtPressure,
                                  ByOwner(&TQBTestTriaxialBase::TotalCellPressure,
                                          &TQBTestTriaxialBase::SetTotalCellPressure),
                                  ipkReadOnly | ipkNotPublished,
                                  "Initial total cell pressure |@s#_xx#|");
    list.AddDerivedDoubleWithUnit(
        ip::Duration.Name, qtTime,
        ByOwner(&TQBTestTriaxialBase::Duration, &TQBTestTriaxialBase::SetDuration), 0, "Duration",
        0.0, DBL_MAX);
}

double TQBTestTriaxialBase::CellPressure() const {
    return std::fabs(GetInitialEffectiveStress(ldXX));
}

void TQBTestTriaxialBase::SetCellPressure(double value) {
    SetInitialEffectiveStress(ldXX, -value);
    SetInitialEffectiveStress(ldZZ, -value);
    UpdateStressesFromK0();
}

double TQBTestTriaxialBase::TotalCellPressure() const {
    return std::fabs(GetInitialTotalStress(ldXX));
}

void TQBTestTriaxialBase::SetTotalCellPressure(double value) {
    Property(ip::CellPressure).SetValue(std::fabs(-value - SeInit() * InitialSuction()));
}

double TQBTestTriaxialBase::Duration() const {
    const TQBPhase* first = FirstPhase();
    return first ? first->Duration() : 0.0;
}

void TQBTestTriaxialBase::SetDuration(double seconds) {
    if (TQBPhase* first = FirstPhase())
        first->SetDuration(seconds);
}

void TQBTestTriaxialBase::UpdateStressesFromK0() {
    const double k0 = K0();
    const double horizontal = GetInitialEffectiveStress(ldXX);
    SetInitialEffectiveStress(ldYY, std::fabs(k0) < QBTolerance ? horizontal : horizontal / k0);
}

void TQBTestTriaxialBase::Initialize() {
    TQBTestWithConsolidation::Initialize();
    GetIntrinsicPropertyByName(ip::Behaviour)->SetPublishedAndEditable(true);
}

void TQBTestTriaxialBase::SetDefaultValues(bool clearResults) {
    TQBTestWithConsolidation::SetDefaultValues(clearResults);
    SetInitialEffectiveStress(ldXX, DefaultCellPressure);
    SetInitialEffectiveStress(ldZZ, DefaultCellPressure);
    UpdateStressesFromK0();
    TQBLoadDirectionDoubleArray strains{};
    strains[ldYY] = -10.0;
    TQBBoundaryConditions conditions{};
    conditions.fill(bcFixedStrain);
    conditions[ldXX] = conditions[ldZZ] = conditions[ldXY] = bcFixedStress;
    Phases().AddWithSettings(this, DefaultPhaseSteps, OneDay, strains,
                             TQBLoadDirectionDoubleArray{}, conditions);
}

void TQBTestTriaxialBase::UpdatePropertyAvailability() {
    TQBTestWithConsolidation::UpdatePropertyAvailability();
    UpdateDurationAvailability();
}

void TQBTestTriaxialBase::PropertyChanged(TKovIntrinsicProperty& property) {
    TQBTestWithConsolidation::PropertyChanged(property);
    if (ip::SuctionCondition.Is(property)) {
        const bool suction = IsSuctionEnabled();
        GetIntrinsicPropertyByName(ip::TotalCellPressure)->SetPublishedAndEditable(suction);
        GetIntrinsicPropertyByName(ip::CellPressure)->SetReadOnly(suction);
    }
}

} // namespace tw
