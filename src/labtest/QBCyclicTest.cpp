#include "labtest/QBCyclicTest.h"

#include "labtest/QBCyclicTestHelper.h"
#include "labtest/QBPropertyNames.h"

namespace tw {

template <typename Base>
void TQBCyclicTest<Base>::DeclareCyclicProperties(TKovIntrinsicPropertyDeclarationList& list,
                                                  const TQBCyclicTestKind& kind) {
    TQBTestHelper::AddDerivedNumberOfCycles(list);
    TQBTestHelper::AddDerivedNumberOfStepsPerQuarterCycle(list);
    TQBTestHelper::AddDerivedDurationPerCycle(list);
    TQBTestHelper::AddStoredAmplitudes(list);
    TQBTestHelper::AddDerivedStrainAmplitude(list, kind.StrainAmplitudeName,
                                             kind.StrainAmplitudeCaption);
    TQBTestHelper::AddDerivedStressAmplitude(list, kind.StressAmplitudeName,
                                             kind.StressAmplitudeCaption);
    TQBTestHelper::AddDerivedInitialStressIncrement(list, kind.InitialStressIncrementName,
                                                    kind.InitialStressIncrementCaption);
}

template <typename Base> double TQBCyclicTest<Base>::StoredStrainAmplitude() const {
    return this->Property(ip::StoredShearStrainAmplitude).Value();
}
template <typename Base> void TQBCyclicTest<Base>::SetStoredStrainAmplitude(double percent) {
    this->Property(ip::StoredShearStrainAmplitude).SetValue(percent);
}
template <typename Base> double TQBCyclicTest<Base>::StoredStressAmplitude() const {
    return this->Property(ip::StoredShearStressAmplitude).Value();
}
template <typename Base> void TQBCyclicTest<Base>::SetStoredStressAmplitude(double pascal) {
    this->Property(ip::StoredShearStressAmplitude).SetValue(pascal);
}
template <typename Base> TIPDouble& TQBCyclicTest<Base>::StrainAmplitudeIP() const {
    return this->template Property<TIPDouble>(CyclicKind().StrainAmplitudeName);
}
template <typename Base> TIPDouble& TQBCyclicTest<Base>::StressAmplitudeIP() const {
    return this->template Property<TIPDouble>(CyclicKind().StressAmplitudeName);
}
template <typename Base> bool TQBCyclicTest<Base>::IsStrainTestControl() const {
    return this->TestControlType() == tctStrain;
}

template <typename Base>
TQBBoundaryConditions TQBCyclicTest<Base>::CyclicBoundaryConditions() const {
    TQBBoundaryConditions conditions = CyclicKind().InitialBoundaryConditions;
    if (IsStrainTestControl())
        conditions[CyclicKind().Direction] = bcFixedStrain;
    return conditions;
}

template <typename Base> int TQBCyclicTest<Base>::NumberOfCycles() const {
    return this->CreatedForRevert() ? 0 : CyclicKind().CountCycles(this->Phases().Count());
}

template <typename Base>
std::string TQBCyclicTest<Base>::FirstChartTitle(const std::string& title) const {
    return TQBCyclicTestHelper::TitleWithDampingRatio(*this, *this, title);
}

template <typename Base> void TQBCyclicTest<Base>::DoAfterLoadResults() {
    FDampingRatio = TQBCyclicTestHelper::DampingRatioOfResults(
        *this, *this, CyclicKind().StrainColumn, CyclicKind().StressColumn);
}

template <typename Base> void TQBCyclicTest<Base>::DoAfterLoadPhases() {
    TQBCyclicTestHelper::TakeAmplitudeFromPhases(*this, *this);
    TQBCyclicTestHelper::UpdateAmplitudeVisibility(*this);
    UpdateCyclicCharts();
}

template <typename Base> void TQBCyclicTest<Base>::Initialize() {
    Base::Initialize();
    this->GetIntrinsicPropertyByName(ip::TestControlType)->SetPublishedAndEditable(true);
}

template <typename Base> void TQBCyclicTest<Base>::SetDefaultValues(bool clearResults) {
    Base::SetDefaultValues(clearResults);
    TQBCyclicTestHelper::InitializeCyclicProperties(*this);
    UpdateCyclicCharts();
}

template <typename Base>
void TQBCyclicTest<Base>::PropertyChanged(TKovIntrinsicProperty& property) {
    Base::PropertyChanged(property);
    if (ip::TestControlType.Is(property)) {
        // Undo brings the values back itself; only what it doesn't keep is redone here.
        if (this->RevertOperationInProgress())
            TQBCyclicTestHelper::UpdateAmplitudeVisibility(*this);
        else
            TQBCyclicTestHelper::HandleTestControlTypeChange(this->TestControlType(), *this);
        UpdateCyclicCharts();
    } else if (ip::Behaviour.Is(property)) {
        UpdateCyclicCharts();
    }
}

template <typename Base> std::string TQBCyclicTest<Base>::CyclicToString(std::string text) const {
    text = Format("%s%sControl=%d", text, "/", static_cast<int>(this->TestControlType()));
    text = Format("%s%sCycles=%d", text, "/", NumberOfCycles());
    text = Format("%s%sStrainAmplitude=%f", text, "/", StoredStrainAmplitude());
    text = Format("%s%sStressAmplitude=%f", text, "/", StoredStressAmplitude());
    return Format("%s%s%s", text, "/", this->Phases().ToString());
}

template class TQBCyclicTest<TQBTestTriaxialBase>;
template class TQBCyclicTest<TQBTestDSBase>;

} // namespace tw
