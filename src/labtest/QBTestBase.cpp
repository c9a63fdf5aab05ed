#include "labtest/QBTestBase.h"
#include "labtest/QBPropertyNames.h"
#include "objects/UpdateBracket.h"

#include "objects/ObjectManager.h"
#include "services/Strings.h"

#include <algorithm>
#include <cfloat>
#include <climits>
#include <cmath>

namespace tw {

namespace {
constexpr double RoomTemperature = 293.15; // kelvin

std::string TotalStressName(TQBLoadDirection d) {
    return std::string("Sig") + LoadDirectionSuffix(d) + "TotInit";
}
std::string EffectiveStressName(TQBLoadDirection d) {
    return std::string("Sig") + LoadDirectionSuffix(d) + "init";
}
bool IsNormal(TQBLoadDirection d) {
    return d <= ldZZ;
}

} // namespace

// ---------------------------------------------------------------------------------------------
// TQBTestBase

TW_KOV_ABSTRACT_CLASS_IMPL(TQBTestBase, TKovObservableObject, &TQBTestBase::DeclareProperties)

void TQBTestBase::DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
    list.AddText(ip::Caption.Name, ipkReadOnly);
    list.AddDouble(ip::Error.Name, ipkReadOnly);
    list.AddDouble(ip::Relax.Name, ipkReadOnly);
    list.AddInteger(ip::Iteration.Name, ipkReadOnly);
    list.AddBoolean(ip::ArcLength.Name, ipkReadOnly);
    for (TQBLoadDirection d : AllLoadDirections)
        list.AddDoubleWithUnit(TotalStressName(d), qtPressure, ipkReadOnly | ipkNotPublished);
    // The effective initial stresses of each family are inserted here, before "Behaviour".
    list.AddTypedEnumeration<TQBBehavior>(ip::Behaviour.Name, BehaviorStrings(),
                                          ipkReadOnly | ipkNotPublished, "", BehaviorCaptions());
    list.AddTypedEnumeration<TTestControlType>(ip::TestControlType.Name, TestControlTypeStrings(),
                                               ipkReadOnly | ipkNotPublished, "Test control",
                                               TestControlTypeCaptions());
    list.AddBoolean(ip::ApplyMobilisedShearStrength.Name, ipkReadOnly | ipkNotPublished,
                    "Apply mob. rel. shear strength");
    list.AddDouble(ip::MobilisedShearStrength.Name, ipkReadOnly | ipkNotPublished,
                   "Mob. rel. shear strength", 0.0, 1.0);
    list.AddDoubleWithUnit(ip::PreconsolidationPressure.Name, qtPressure,
                           ipkReadOnly | ipkNotPublished, "|Vertical precons. stress|");
    list.AddBoolean(ip::SuctionCondition.Name, ipkReadOnly | ipkNotPublished, "Suction");
    list.AddBoolean(ip::ThermalCondition.Name, ipkReadOnly | ipkNotPublished, "Thermal");
    list.AddDoubleWithUnit(ip::TempInit.Name, qtTemperature, ipkReadOnly | ipkNotPublished,
                           "Initial temperature T");
    list.AddDoubleWithUnit(ip::SuctionInit.Name, qtPressure, ipkReadOnly | ipkNotPublished,
                           "Initial suction s");
    list.AddBoolean(ip::Selected.Name, ipkReadOnly | ipkNotPublished);
    list.AddBoolean(ip::Visible.Name, ipkReadOnly | ipkNotPublished);
    list.AddObject(ip::Phases.Name, TQBPhaseList::StaticClass());
    list.AddObject(ip::CyclicPhases.Name, TQBCyclicPhasesList::StaticClass(), ipkNotPublished,
                   "Cyclic phases");
    list.AddObject(ip::Results.Name, TQBResults::StaticClass());
    list.AddDerivedDouble(ip::SeInit.Name, ByOwner(&TQBTestBase::SeInit),
                          ipkReadOnly | ipkNotPublished, "Initial effective saturation S_e#");
}

void TQBTestBase::AddDerivedAdvancedEffectiveStressDeclarations(
    TKovIntrinsicPropertyDeclarationList& list, TKovIntrinsicPropertyConfig config) {
    int at = list.GetIndexOfDeclarationFor("Behaviour");
    for (TQBLoadDirection d : AllLoadDirections) {
        TKovIntrinsicPropertyDeclarationList single;
        single.AddDerivedDoubleWithUnit(
            EffectiveStressName(d), qtPressure,
            {[d](const TKovIntrinsicProperty& p) {
                 return OwnerOf<TQBTestBase>(p).GetInitialEffectiveStress(d);
             },
             [d](TKovIntrinsicProperty& p, const double& v) {
                 OwnerOf<TQBTestBase>(p).SetInitialEffectiveStress(d, v);
             }},
            config, "Initial effective stress " + StressSymbol(d, true));
        list.Insert(at++, single.Extract(EffectiveStressName(d)));
    }
}

void TQBTestBase::AddDerivedBasicEffectiveStressDeclarations(
    TKovIntrinsicPropertyDeclarationList& list, TKovIntrinsicPropertyConfig config) {
    int at = list.GetIndexOfDeclarationFor("Behaviour");
    for (TQBLoadDirection d : AllLoadDirections) {
        TKovIntrinsicPropertyDeclarationList single;
        single.AddDerivedDoubleWithUnit(EffectiveStressName(d), qtPressure,
                                        {[d](const TKovIntrinsicProperty& p) {
                                             return OwnerOf<TQBTestBase>(p).GetInitialTotalStress(
                                                 d);
                                         },
                                         [d](TKovIntrinsicProperty& p, const double& v) {
                                             OwnerOf<TQBTestBase>(p).SetInitialTotalStress(d, v);
                                         }},
                                        config, "Initial stress " + StressSymbol(d, false));
        list.Insert(at++, single.Extract(EffectiveStressName(d)));
    }
}

TQBTestBase::TQBTestBase(TKovObjectManager* manager, TQBTestMethod testMethod)
    : TKovObservableObject(manager), FTestMethod(testMethod) {
    SetUpOwnedObjects();
}

TQBTestBase::~TQBTestBase() {
    if (FPhases)
        FPhases->DetachObserver(&FPhasesObserver);
}

void TQBTestBase::SetUpOwnedObjects() {
    TKovObjectManager* manager = ObjectManager();
    // The test owns these for its whole life: their creation is no step a user could undo.
    TRevertLock lock(manager);
    FResults = Make<TQBResults>(manager);
    FPhases = Make<TQBPhaseList>(manager);
    FCyclicPhases = Make<TQBCyclicPhasesList>(manager);
    // Chart settings are a view of the test: no manager, no undo.
    FChartSettings = Make<TQBChartSettingsList>(nullptr);
    FLoadedChartSettings = Make<TQBChartSettingsList>(nullptr);
    FPhases->SetOnDeletePhase([this](int index) { OnDeletePhase(index); });
    FPhasesObserver.SetOnNotify([this](TNotifySender) {
        if (FPhases->Observable().LockLevel() == 0) {
            UpdateAfterPhasesChanged();
            NotifyObservers();
        }
    });
    FPhases->AttachObserver(&FPhasesObserver);
}

void TQBTestBase::Initialize() {
    AddDefaultChartSettings();
    Property(ip::Phases).SetValue(FPhases.get());
    Property(ip::CyclicPhases).SetValue(FCyclicPhases.get());
    Property(ip::Results).SetValue(FResults.get());
    Property(ip::Caption).SetValue(GetObjectTypeName());
    Property(ip::Visible).SetValue(true);
    ResetToDefault(true);
}

void TQBTestBase::AddDefaultChartSettings() {
    FChartSettings->AddDefault(ctE1Suc);
    FChartSettings->AddDefault(ctE1Sat);
    FChartSettings->AddDefault(ctEvTemp);
}

void TQBTestBase::ResetChartSettings() {
    FChartSettings->Clear();
    AddDefaultChartSettings();
}

void TQBTestBase::ResetToDefault(bool clearResults) {
    TUpdateBracket update(*this);
    SetDefaultValues(clearResults);
    update.Close();
}

void TQBTestBase::SetDefaultValues(bool clearResults) {
    Property(ip::Behaviour).SetIntValue(qbbhDrained);
    Property(ip::Relax).SetValue(1.0);
    Property(ip::Error).SetValue(0.01);
    Property(ip::Iteration).SetValue(50);
    Property(ip::ArcLength).SetValue(false);
    Property(ip::PreconsolidationPressure).SetValue(0.0);
    Property(ip::MobilisedShearStrength).SetValue(0.0);
    Property(ip::ApplyMobilisedShearStrength).SetValue(false);
    GetIntrinsicPropertyByName(ip::MobilisedShearStrength)->SetReadOnly(true);
    Property(ip::SuctionCondition).SetValue(false);
    Property(ip::ThermalCondition).SetValue(false);
    Property(ip::TestControlType).SetIntValue(tctStrain);
    for (TQBLoadDirection d : AllLoadDirections)
        SetInitialTotalStress(d, 0.0);
    Property(ip::TempInit).SetValue(RoomTemperature);
    FPhases->Clear();
    FCyclicPhases->Clear();
    if (clearResults)
        FResults->ClearRows();
}

void TQBTestBase::BeginUpdate() {
    TKovObservableObject::BeginUpdate();
    FPhases->BeginUpdate();
}

void TQBTestBase::EndUpdate() {
    FPhases->EndUpdate();
    TKovObservableObject::EndUpdate();
}

ITestMaterial* TQBTestBase::Material() const {
    if (FOwnedMaterial)
        return FOwnedMaterial.get();
    return FOnGetMaterial ? FOnGetMaterial() : nullptr;
}

void TQBTestBase::SetOnGetMaterial(TGetMaterial onGetMaterial) {
    FOnGetMaterial = std::move(onGetMaterial);
    UpdateAllowedBehaviors();
}

void TQBTestBase::SetOwnedMaterial(std::unique_ptr<ITestMaterial> material) {
    FOwnedMaterial = std::move(material);
    UpdateAllowedBehaviors();
}

std::string TQBTestBase::MaterialIdentification() const {
    ITestMaterial* material = Material();
    return material ? material->Identification() : std::string();
}

double TQBTestBase::Error() const {
    return Property(ip::Error).Value();
}
double TQBTestBase::Relax() const {
    return Property(ip::Relax).Value();
}
int TQBTestBase::MaxIter() const {
    return Property(ip::Iteration).Value();
}
bool TQBTestBase::ArcLength() const {
    return Property(ip::ArcLength).Value();
}
TQBBehavior TQBTestBase::Behavior() const {
    return static_cast<TQBBehavior>(Property(ip::Behaviour).IntValue());
}
TTestControlType TQBTestBase::TestControlType() const {
    return static_cast<TTestControlType>(Property(ip::TestControlType).IntValue());
}
bool TQBTestBase::ApplyMobShearStrength() const {
    return Property(ip::ApplyMobilisedShearStrength).Value();
}
double TQBTestBase::MobilisedShearStrength() const {
    return Property(ip::MobilisedShearStrength).Value();
}
double TQBTestBase::PreconsolidationPressure() const {
    return Property(ip::PreconsolidationPressure).Value();
}
std::string TQBTestBase::Caption() const {
    return Property(ip::Caption).Value();
}
bool TQBTestBase::Selected() const {
    return Property(ip::Selected).Value();
}
bool TQBTestBase::Visible() const {
    return Property(ip::Visible).Value();
}

namespace {
TMXSoil_MaterialModel ModelOf(const ITestMaterial* material) {
    return material ? material->SoilModel() : mxsmmNone;
}
} // namespace

bool TQBTestBase::IsTimeEnabled() const {
    switch (ModelOf(Material())) {
    case mxsmmSoftSoilCreep:
    case mxsmmSOViscid:
    case mxsmmConcrete:
        return true;
    default:
        return false;
    }
}

bool TQBTestBase::IsPreconsolidationEnabled() const {
    return HasPreconsolidation(ModelOf(Material()));
}

bool TQBTestBase::IsMobShearStrengthEnabled() const {
    const auto model = ModelOf(Material());
    return model == mxsmmHardeningSoil || model == mxsmmHardeningSoilSmall;
}

bool TQBTestBase::CanHaveSuctionEnabled() const {
    // A test without material counts as drainage 0 (drained).
    const ITestMaterial* material = Material();
    return !material || material->DrainageType() != mxsdtNonPorous;
}

bool TQBTestBase::CanHaveThermalEnabled() const {
    return FTestMethod == tm2D;
}

bool TQBTestBase::IsSuctionEnabled() const {
    return Property(ip::SuctionCondition).Value();
}
bool TQBTestBase::IsThermalEnabled() const {
    return Property(ip::ThermalCondition).Value();
}
bool TQBTestBase::IsSuctionIncrementEnabled() const {
    return IsSuctionEnabled() && Behavior() == qbbhDrained;
}

double TQBTestBase::InitialTemperature() const {
    return Property(ip::TempInit).Value();
}
double TQBTestBase::InitialSuction() const {
    return Property(ip::SuctionInit).Value();
}

double TQBTestBase::SeInit() const {
    const ITestMaterial* material = Material();
    if (!material)
        return 0.0;
    auto number = [&](const char* name) { return material->GetNumber(name).value_or(0.0); };
    const double ga = number("GenuchtenGa");
    const double gn = number("GenuchtenGn");
    const double gravity = number("GravityAcceleration");
    const double psiUnsat = number("GwPsiUnsat");
    const double rho = number("rhoPoreFluid");
    const double sSat = number("SaturationSaturated");
    const double sRes = number("SaturationResidual");
    const double s = InitialSuction();
    // Pressure head in metres; a fluid without weight gives no head.
    const double weight = rho * gravity;
    const double psi = std::fabs(weight) < QBTolerance ? 0.0 : -s / weight;
    double saturation;
    if (psi >= 0.0) {
        saturation = 1.0;
    } else {
        double h = std::fabs(psi);
        if (h >= std::fabs(psiUnsat))
            h = std::fabs(psiUnsat);
        saturation = sRes + (sSat - sRes) * std::pow(1.0 + std::pow(ga * h, gn), (1.0 - gn) / gn);
    }
    const double divisor = sSat - sRes;
    return divisor < QBTolerance ? 0.0 : (saturation - sRes) / divisor;
}

double TQBTestBase::GetInitialTotalStress(TQBLoadDirection direction) const {
    return Property<TIPDouble>(TotalStressName(direction)).Value();
}

void TQBTestBase::SetInitialTotalStress(TQBLoadDirection direction, double pascal) {
    Property<TIPDouble>(TotalStressName(direction)).SetValue(pascal);
}

namespace {
// The part of the suction that acts on the normal stresses, Se * s; zero with suction off.
double SuctionStress(const TQBTestBase& test, TQBLoadDirection direction) {
    if (!IsNormal(direction) || !test.IsSuctionEnabled())
        return 0.0;
    return test.SeInit() * test.InitialSuction();
}
} // namespace

double TQBTestBase::GetInitialEffectiveStress(TQBLoadDirection direction) const {
    return GetInitialTotalStress(direction) - SuctionStress(*this, direction);
}

void TQBTestBase::SetInitialEffectiveStress(TQBLoadDirection direction, double pascal) {
    SetInitialTotalStress(direction, pascal + SuctionStress(*this, direction));
}

TQBLoadDirectionDoubleArray TQBTestBase::InitialEffectiveStresses() const {
    TQBLoadDirectionDoubleArray stresses;
    for (TQBLoadDirection d : AllLoadDirections)
        stresses[d] = GetInitialEffectiveStress(d);
    return stresses;
}

int TQBTestBase::PhaseCountIncludingCycles() const {
    int count = FPhases->Count();
    for (int i = 0; i < FCyclicPhases->Count(); ++i) {
        const TQBCyclicPhases& definition = *FCyclicPhases->GetItems(i);
        const int first = FPhases->IndexOf(definition.FirstPhase());
        const int last = FPhases->IndexOf(definition.LastPhase());
        if (first >= 0 && last >= first)
            count += (last + 1 - first) * (definition.Cycles() - 1);
    }
    return count;
}

void TQBTestBase::ClipPhases(int count) {
    while (FPhases->Count() > count)
        FPhases->DeletePhase(count);
}

void TQBTestBase::OnDeletePhase(int index) {
    const TQBPhase* phase = FPhases->GetItems(index);
    if (!phase)
        return;
    for (int i = FCyclicPhases->Count() - 1; i >= 0; --i) {
        const TQBCyclicPhases& definition = *FCyclicPhases->GetItems(i);
        if (definition.FirstPhase() == phase || definition.LastPhase() == phase)
            FCyclicPhases->Delete(i);
    }
}

std::optional<TQBCyclicPhases*>
TQBTestBase::GetCyclicPhasesWithReferenceTo(const TQBPhase* phase) const {
    if (!phase)
        return std::nullopt;
    for (int i = 0; i < FCyclicPhases->Count(); ++i) {
        TQBCyclicPhases* definition = FCyclicPhases->GetItems(i);
        if (definition->FirstPhase() == phase || definition->LastPhase() == phase)
            return definition;
    }
    return std::nullopt;
}

std::optional<TQBCyclicPhases*>
TQBTestBase::GetCyclicPhasesForStartPhase(const TQBPhase* phase) const {
    auto definition = GetCyclicPhasesWithReferenceTo(phase);
    if (definition && (*definition)->LastPhase() == phase)
        return std::nullopt;
    return definition;
}

namespace {
// One user operation on the phases: one undo step of the test around one update bracket. The
// step closes after the bracket, and is rolled back when the operation fails.
template <typename Action>
void PhaseOperation(TQBTestBase& test, const std::string& caption, Action&& action) {
    TUndoSnapshot snapshot(test, caption);
    TUpdateBracket update(test);
    action();
    update.Close();
    snapshot.Close();
}
} // namespace

void TQBTestBase::AddNewPhase() {
    PhaseOperation(*this, "Inserting phase", [&] { InsertPhase(FPhases->Count()); });
}

void TQBTestBase::InsertPhase(int index) {
    if (index < 0 || index > FPhases->Count())
        throw EKovListException(Format("List index out of bounds (%d)", index));
    PhaseOperation(*this, "Inserting phase", [&] {
        std::unique_ptr<TQBPhase> phase;
        if (index < 1) {
            phase = Make<TQBPhase>(ObjectManager());
            phase->SetParent(this);
        } else {
            phase = (*FPhases)[index - 1].Clone();
        }
        FPhases->Insert(index, phase.get());
        phase.release();
    });
}

void TQBTestBase::DeletePhase(int index) {
    FPhases->GetItem(index); // raises for an index outside the list
    PhaseOperation(*this, "Deleting phase", [&] { FPhases->DeletePhase(index); });
}

void TQBTestBase::MarkPhasesCyclic(int first, int last, int cycles) {
    if (!FPhases->GetItems(first))
        throw EQBTestException(Format("Specified first cyclic phase index %d is invalid", first));
    if (!FPhases->GetItems(last))
        throw EQBTestException(Format("Specified last cyclic phase index %d is invalid", last));
    if (last < first)
        throw EQBTestException(Format(
            "The last cyclic phase index cannot be lower than the first cyclic phase index %d",
            first));
    // Overlapping stretches would be written twice over and counted apart: the kernel file would
    // announce more phases than it holds.
    for (int i = 0; i < FCyclicPhases->Count(); ++i) {
        const TQBCyclicPhases& other = *FCyclicPhases->GetItems(i);
        const int otherFirst = FPhases->IndexOf(other.FirstPhase());
        const int otherLast = FPhases->IndexOf(other.LastPhase());
        if (otherFirst >= 0 && otherLast >= 0 && first <= otherLast && otherFirst <= last)
            throw EQBTestException(
                Format("The specified cyclic phases would overlap with existing cyclic phases "
                       "\"%s\", with first phase index %d and last phase index %d",
                       other.Name(), otherFirst, otherLast));
    }
    PhaseOperation(*this, "Mark phases as cyclic", [&] {
        TQBCyclicPhases& definition =
            FCyclicPhases->AddCyclicPhasesObject(&(*FPhases)[first], &(*FPhases)[last], cycles);
        definition.SetParent(this);
    });
}

void TQBTestBase::DeleteCyclicPhasesDefinition(int index) {
    FCyclicPhases->GetItem(index); // raises for an index outside the list
    PhaseOperation(*this, "Remove cyclic phases definition", [&] { FCyclicPhases->Delete(index); });
}

void TQBTestBase::RebuildCyclicTestPhases(int cycles, int stepsPerQuarter, double durationPerCycle,
                                          double stressAmplitude, double strainAmplitude,
                                          TQBLoadDirection direction,
                                          const TQBBoundaryConditions& conditions) {
    PhaseOperation(*this, "Changing phases", [&] {
        for (int i = FPhases->Count() - 1; i >= 1; --i)
            FPhases->DeletePhase(i);
        if (cycles <= 0)
            return;
        auto add = [&](int steps, double duration, double factor) {
            TQBLoadDirectionDoubleArray strains{};
            TQBLoadDirectionDoubleArray stresses{};
            strains[direction] = factor * strainAmplitude;
            stresses[direction] = factor * stressAmplitude;
            FPhases->AddWithSettings(this, steps, duration, strains, stresses, conditions);
        };
        auto quarter = [&](double factor) { add(stepsPerQuarter, durationPerCycle / 4, factor); };
        auto half = [&](double factor) { add(2 * stepsPerQuarter, durationPerCycle / 2, factor); };
        quarter(1.0);
        for (int i = 0; i < cycles; ++i) {
            half(-2.0);
            if (i < cycles - 1)
                half(2.0);
        }
        quarter(1.0);
    });
}

void TQBTestBase::UpdateMaterialDependentProperties() {
    TUpdateBracket update(*this);
    UpdatePropertyAvailability();
    update.Close();
    NotifyObservers();
}

void TQBTestBase::UpdatePropertyAvailability() {
    GetIntrinsicPropertyByName(ip::PreconsolidationPressure)
        ->SetPublishedAndEditable(IsPreconsolidationEnabled());
    GetIntrinsicPropertyByName(ip::ApplyMobilisedShearStrength)
        ->SetPublishedAndEditable(IsMobShearStrengthEnabled());
    GetIntrinsicPropertyByName(ip::MobilisedShearStrength)
        ->SetPublished(IsMobShearStrengthEnabled());
}

void TQBTestBase::UpdateDurationAvailability() {
    const bool timeEnabled = IsTimeEnabled();
    if (TKovIntrinsicProperty* duration = GetIntrinsicPropertyByName(ip::Duration))
        duration->SetPublishedAndEditable(timeEnabled);
    // A model without time dependence runs with duration 0; a user's value is not kept.
    if (TQBPhase* first = FirstPhase())
        first->SetDuration(timeEnabled ? OneDay : 0.0);
}

void TQBTestBase::UpdateAllowedBehaviors() {
    TKovObjectManager* manager = ObjectManager();
    if (!manager)
        return;
    const ITestMaterial* material = Material();
    const bool nonPorous = material && material->DrainageType() == mxsdtNonPorous;
    auto& behaviour = Property(ip::Behaviour);
    manager->UndoBeginSnapshot("Allowed behaviours");
    try {
        if (nonPorous) {
            if (behaviour.IntValue() == qbbhUndrained)
                behaviour.SetIntValue(qbbhDrained);
            if (!behaviour.IsDisabled(qbbhUndrained))
                behaviour.DisableIntValue(qbbhUndrained);
        } else if (behaviour.IsDisabled(qbbhUndrained)) {
            behaviour.EnableIntValue(qbbhUndrained);
        }
    } catch (...) {
        manager->UndoEndSnapshotWithRollback();
        throw;
    }
    manager->UndoEndSnapshot();
}

void TQBTestBase::EnableAllBehaviors() {
    TKovObjectManager* manager = ObjectManager();
    if (manager)
        manager->UndoBeginSnapshot("Enable all behaviours");
    Property(ip::Behaviour).EnableAllValues();
    if (manager)
        manager->UndoEndSnapshot();
}

void TQBTestBase::MakePropertiesReadOnly() {
    for (int i = 0; i < IntrinsicPropertiesCount(); ++i)
        GetIntrinsicProperty(i)->SetReadOnly(true);
    NotifyObservers();
}

void TQBTestBase::DoAfterLoadFromStorage() {
    TUpdateBracket update(*this);
    UpdateMaterialDependentProperties();
    UpdateFromInitialStresses();
    update.Close();
}

void TQBTestBase::UpdateAdvancedResultsVisibility() {
    FResults->UpdateAdvancedResultsVisibility(IsSuctionEnabled(), IsThermalEnabled());
}

double TQBTestBase::ResultValueInProjectUnits(int row, TQBResultType type,
                                              const IQuantityPresenter* units) const {
    if (!HasResults())
        return 0.0;
    return FResults->GetPresentationValueByType(row, type, units);
}

namespace {
// Extremes of a stress column in presentation units. The maximum starts at the smallest positive
// normal double, not at the most negative number: with compression in every row it stays near 0,
// which the chart scaling expects.
double ColumnExtreme(const TQBResults& results, TQBResultType type, const IQuantityPresenter* units,
                     bool maximum) {
    double extreme = maximum ? 2.2250738585072014e-308 : 1.7976931348623157e308;
    for (int row = 0; row < results.RowCount(); ++row) {
        const double value = results.GetPresentationValueByType(row, type, units);
        extreme = maximum ? std::max(extreme, value) : std::min(extreme, value);
    }
    return extreme;
}
} // namespace

double TQBTestBase::GetSig1MinInPresentationUnit(const IQuantityPresenter* units) const {
    return ColumnExtreme(*FResults, rtSig1, units, false);
}
double TQBTestBase::GetSig1MaxInPresentationUnit(const IQuantityPresenter* units) const {
    return ColumnExtreme(*FResults, rtSig1, units, true);
}
double TQBTestBase::GetSig3MinInPresentationUnit(const IQuantityPresenter* units) const {
    return ColumnExtreme(*FResults, rtSig3, units, false);
}
double TQBTestBase::GetSig3MaxInPresentationUnit(const IQuantityPresenter* units) const {
    return ColumnExtreme(*FResults, rtSig3, units, true);
}

void TQBTestBase::PropertyChanged(TKovIntrinsicProperty& property) {
    if (ip::ApplyMobilisedShearStrength.Is(property)) {
        GetIntrinsicPropertyByName(ip::MobilisedShearStrength)
            ->SetReadOnly(!ApplyMobShearStrength());
        NotifyObservers();
    } else if (ip::SuctionCondition.Is(property)) {
        FSuctionConditionObservable.NotifyObservers(this);
        if (!HasResults())
            UpdateAdvancedResultsVisibility();
    } else if (ip::ThermalCondition.Is(property)) {
        FThermalConditionObservable.NotifyObservers(this);
        if (!HasResults())
            UpdateAdvancedResultsVisibility();
    } else if (ip::Behaviour.Is(property)) {
        FBehaviorObservable.NotifyObservers(this);
    }
    // The second reaction, on every test.
    if (ip::ThermalCondition.Is(property)) {
        GetIntrinsicPropertyByName(ip::TempInit)->SetPublishedAndEditable(IsThermalEnabled());
    } else if (ip::SuctionCondition.Is(property)) {
        GetIntrinsicPropertyByName(ip::SuctionInit)->SetPublishedAndEditable(IsSuctionEnabled());
        GetIntrinsicPropertyByName(ip::SeInit)->SetPublished(IsSuctionEnabled());
    }
}

void TQBTestBase::CopyFrom(const TQBTestBase& source) {
    TUndoSnapshot snapshot(*this, "Copy test");
    TUpdateBracket update(*this);
    CopyIntrinsicPropertiesFrom(source, cipoIncludeReadonly);
    // The references to the owned lists stay ours.
    Property(ip::Phases).SetValue(FPhases.get());
    Property(ip::CyclicPhases).SetValue(FCyclicPhases.get());
    Property(ip::Results).SetValue(FResults.get());
    if (source.FOwnedMaterial) {
        const ITestMaterial* material = source.FOwnedMaterial.get();
        FOnGetMaterial = [material] { return const_cast<ITestMaterial*>(material); };
    } else {
        FOnGetMaterial = source.FOnGetMaterial;
    }
    FPhases->CopyFrom(*source.FPhases);
    for (int i = 0; i < FPhases->Count(); ++i)
        (*FPhases)[i].SetParent(this);
    FCyclicPhases->CopyFrom(*source.FCyclicPhases, *source.FPhases, *FPhases);
    FChartSettings->CopyFrom(*source.FChartSettings);
    FLoadedChartSettings->CopyFrom(*source.FLoadedChartSettings);
    update.Close();
    snapshot.Close();
}

std::unique_ptr<TQBTestBase> TQBTestBase::Clone() const {
    auto clone = CreateTest(TestType(), nullptr, FTestMethod);
    clone->CopyFrom(*this);
    if (const ITestMaterial* material = Material())
        clone->SetOwnedMaterial(material->CreateStaticCopy());
    else
        clone->SetOnGetMaterial(nullptr);
    clone->FResults->CopyFrom(*FResults);
    clone->FTitle = FTitle;
    clone->FColor = FColor;
    clone->FMaterialInSyncWithTest = FMaterialInSyncWithTest;
    // The clone's own values derived from its results (the damping ratio of a cyclic test).
    if (clone->HasResults())
        clone->DoAfterLoadResults();
    return clone;
}

std::string TQBTestBase::ToString() const {
    std::string text = Format("%s%sBhvr=%d", "", "", static_cast<int>(Behavior()));
    text = Format("%s%sPreconsPress=%f", text, "/", PreconsolidationPressure());
    text = Format("%s%sMoblShearStrength=%f", text, "/", MobilisedShearStrength());
    return text;
}

// ---------------------------------------------------------------------------------------------
// TQBTestWithConsolidation

TW_KOV_ABSTRACT_CLASS_IMPL(TQBTestWithConsolidation, TQBTestBase,
                           &TQBTestWithConsolidation::DeclareProperties)

void TQBTestWithConsolidation::DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
    list.AddTypedEnumeration<TQBConsolidation>(ip::Consolidation.Name, ConsolidationStrings(), 0,
                                               "", ConsolidationCaptions());
    list.AddDouble(ip::K0.Name, 0, "", 1e-10, DBL_MAX);
}

TQBConsolidation TQBTestWithConsolidation::Consolidation() const {
    return static_cast<TQBConsolidation>(Property(ip::Consolidation).IntValue());
}

double TQBTestWithConsolidation::K0() const {
    return Property(ip::K0).Value();
}

void TQBTestWithConsolidation::SetDefaultValues(bool clearResults) {
    TQBTestBase::SetDefaultValues(clearResults);
    Property(ip::Consolidation).SetIntValue(qbcIsotropic);
    Property(ip::K0).SetValue(1.0);
    GetIntrinsicPropertyByName(ip::K0)->SetReadOnly(true);
}

void TQBTestWithConsolidation::UpdateStressesFromK0() {
    const double vertical = GetInitialEffectiveStress(ldYY);
    SetInitialEffectiveStress(ldXX, K0() * vertical);
    SetInitialEffectiveStress(ldZZ, K0() * vertical);
}

void TQBTestWithConsolidation::PropertyChanged(TKovIntrinsicProperty& property) {
    TQBTestBase::PropertyChanged(property);
    if (ip::Consolidation.Is(property)) {
        auto& k0 = Property(ip::K0);
        if (Consolidation() == qbcK0) {
            k0.SetReadOnly(false);
        } else {
            TUpdateBracket update(k0);
            k0.SetValue(1.0);
            k0.SetReadOnly(true);
            update.Close();
        }
    } else if (ip::K0.Is(property)) {
        UpdateStressesFromK0();
    }
}

void TQBTestWithConsolidation::UpdateFromInitialStresses() {
    const double vertical = GetInitialEffectiveStress(ldYY);
    Property(ip::K0).SetValue(
        std::fabs(vertical) < QBTolerance ? 1.0 : GetInitialEffectiveStress(ldXX) / vertical);
}

} // namespace tw
