#include "labtest/QBTestCycTriaxial.h"

#include "labtest/QBCyclicTestHelper.h"

namespace tw {

TW_KOV_CLASS_IMPL(TQBTestCycTriaxial, TQBTestTriaxialBase, &TQBTestCycTriaxial::DeclareProperties)

void TQBTestCycTriaxial::DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
    TQBTestHelper::AddDerivedNumberOfCycles(list);
    TQBTestHelper::AddDerivedNumberOfStepsPerQuarterCycle(list);
    TQBTestHelper::AddDerivedDurationPerCycle(list);
    TQBTestHelper::AddStoredAmplitudes(list);
    TQBTestHelper::AddDerivedStrainAmplitude(list, "AxialStrainAmplitude",
                                             "Axial strain amplitude @D@e#_yy#");
    TQBTestHelper::AddDerivedStressAmplitude(list, "AxialStressAmplitude",
                                             "Axial stress amplitude @D@s#_yy#");
    TQBTestHelper::AddDerivedInitialStressIncrement(list, "InitialAxialStressinc",
                                                    "Initial axial stress increment @D@s#_yy#");
}

double TQBTestCycTriaxial::StoredStrainAmplitude() const {
    return Property<TIPDouble>("StoredShearStrainAmplitude").Value();
}
void TQBTestCycTriaxial::SetStoredStrainAmplitude(double percent) {
    Property<TIPDouble>("StoredShearStrainAmplitude").SetValue(percent);
}
double TQBTestCycTriaxial::StoredStressAmplitude() const {
    return Property<TIPDouble>("StoredShearStressAmplitude").Value();
}
void TQBTestCycTriaxial::SetStoredStressAmplitude(double pascal) {
    Property<TIPDouble>("StoredShearStressAmplitude").SetValue(pascal);
}
TIPDouble& TQBTestCycTriaxial::StrainAmplitudeIP() const {
    return Property<TIPDouble>("AxialStrainAmplitude");
}
TIPDouble& TQBTestCycTriaxial::StressAmplitudeIP() const {
    return Property<TIPDouble>("AxialStressAmplitude");
}
bool TQBTestCycTriaxial::IsStrainTestControl() const {
    return TestControlType() == tctStrain;
}

TQBBoundaryConditions TQBTestCycTriaxial::InitialBoundaryConditions() {
    return {bcFixedStress, bcFixedStress, bcFixedStress,
            bcFixedStress, bcFixedStrain, bcFixedStrain};
}

TQBBoundaryConditions TQBTestCycTriaxial::CyclicBoundaryConditions() const {
    TQBBoundaryConditions conditions = InitialBoundaryConditions();
    if (IsStrainTestControl())
        conditions[ldYY] = bcFixedStrain;
    return conditions;
}

int TQBTestCycTriaxial::NumberOfCycles() const {
    return CreatedForRevert() ? 0 : TQBCyclicTestHelper::CyclesByDivision(Phases().Count());
}

std::string TQBTestCycTriaxial::FirstChartTitle(const std::string& title) const {
    return TQBCyclicTestHelper::TitleWithDampingRatio(*this, *this, title);
}

void TQBTestCycTriaxial::Initialize() {
    TQBTestTriaxialBase::Initialize();
    GetIntrinsicPropertyByName("TestControlType")->SetPublishedAndEditable(true);
}

void TQBTestCycTriaxial::AddDefaultChartSettings() {
    TQBTestTriaxialBase::AddDefaultChartSettings();
    for (TQBChartType type : {ctEyySyy, ctPQ, ctMohr, ctQ3Q1})
        ChartSettings().AddDefault(type);
    UpdateChartsSettings(IsStrainTestControl());
}

void TQBTestCycTriaxial::UpdateChartsSettings(bool isStrainControl) {
    TQBChartSettingsList& charts = ChartSettings();
    charts.EnsureChartType(ctTEyy, isStrainControl);
    charts.EnsureChartType(ctTQyy, !isStrainControl);
    const bool drained = Behavior() == qbbhDrained;
    charts.EnsureChartType(ctEyyEv, drained);
    charts.EnsureChartType(ctEyyPw, !drained);
}

void TQBTestCycTriaxial::SetDefaultValues(bool clearResults) {
    TQBTestTriaxialBase::SetDefaultValues(clearResults);
    // The triaxial default phase becomes the initial phase: no strain, no duration, the axial
    // stress given.
    if (TQBPhase* first = FirstPhase()) {
        first->SetDuration(0.0);
        first->SetStrainIncrements(TQBLoadDirectionDoubleArray{});
        first->SetBoundaryConditions(InitialBoundaryConditions());
    }
    TQBCyclicTestHelper::InitializeCyclicProperties(*this);
    UpdateChartsSettings(IsStrainTestControl());
}

void TQBTestCycTriaxial::PropertyChanged(TKovIntrinsicProperty& property) {
    TQBTestTriaxialBase::PropertyChanged(property);
    const std::string& name = property.CleanName();
    if (name == "testcontroltype") {
        // Undo brings the values back itself; only what it doesn't keep is redone here.
        if (RevertOperationInProgress())
            TQBCyclicTestHelper::UpdateAmplitudeVisibility(*this);
        else
            TQBCyclicTestHelper::HandleTestControlTypeChange(TestControlType(), *this);
        UpdateChartsSettings(IsStrainTestControl());
    } else if (name == "behaviour") {
        UpdateChartsSettings(IsStrainTestControl());
    }
}

void TQBTestCycTriaxial::DoAfterLoadResults() {
    FDampingRatio = TQBCyclicTestHelper::DampingRatioOfResults(*this, *this, rtEpsYY, rtSigYY);
}

void TQBTestCycTriaxial::DoAfterLoadPhases() {
    TQBCyclicTestHelper::TakeAmplitudeFromPhases(*this, *this);
    TQBCyclicTestHelper::UpdateAmplitudeVisibility(*this);
    UpdateChartsSettings(IsStrainTestControl());
}

std::string TQBTestCycTriaxial::ToString() const {
    std::string text = TQBTestTriaxialBase::ToString();
    text = Format("%s%sK0=%f", text, "/", K0());
    text = Format("%s%sCellPressure=%f", text, "/", CellPressure());
    text = Format("%s%sControl=%d", text, "/", static_cast<int>(TestControlType()));
    text = Format("%s%sCycles=%d", text, "/", NumberOfCycles());
    text = Format("%s%sStrainAmplitude=%f", text, "/", StoredStrainAmplitude());
    text = Format("%s%sStressAmplitude=%f", text, "/", StoredStressAmplitude());
    return Format("%s%s%s", text, "/", Phases().ToString());
}

} // namespace tw
