#include "labtest/QBPhase.h"
#include "labtest/QBPropertyNames.h"

#include "objects/ObjectManager.h"

#include <cfloat>
#include <climits>

namespace tw {

// ---------------------------------------------------------------------------------------------
// TQBPhase

TW_KOV_CLASS_IMPL(TQBPhase, TKovParentableObject, &TQBPhase::DeclareProperties)

std::string TQBPhase::StressIncrementName(TQBLoadDirection direction) {
    return std::string("Sig") + LoadDirectionSuffix(direction) + "inc";
}

std::string TQBPhase::StrainIncrementName(TQBLoadDirection direction) {
    // Shear strains are engineering strains, named gamma.
    const char* prefix = direction <= ldZZ ? "Eps" : "Gam";
    return std::string(prefix) + LoadDirectionSuffix(direction) + "inc";
}

std::string TQBPhase::BoundaryConditionName(TQBLoadDirection direction) {
    return std::string("BoundaryCondition") + LoadDirectionSuffix(direction);
}

void TQBPhase::DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
    list.AddInteger(ip::Steps.Name, ipkReadOnly, "Number of steps");
    list.AddDoubleWithUnit(ip::Duration.Name, qtTime, ipkReadOnly, "", 0.0, DBL_MAX);
    for (TQBLoadDirection d : AllLoadDirections) {
        list.AddDoubleWithUnit(StressIncrementName(d), qtPressure, ipkReadOnly,
                               "@D" + StressSymbol(d, false));
        list.AddDoubleWithUnit(StrainIncrementName(d), qtPercentage, ipkReadOnly,
                               "@D" + StrainSymbol(d));
        list.AddInteger(BoundaryConditionName(d), ipkReadOnly);
    }
    list.AddDoubleWithUnit(ip::SuctionInc.Name, qtPressure, ipkReadOnly | ipkNotPublished, "@D#s",
                           -DBL_MAX, DBL_MAX);
    list.AddDoubleWithUnit(ip::TempInc.Name, qtTemperatureInterval, ipkReadOnly | ipkNotPublished,
                           "@D#T", -DBL_MAX, DBL_MAX);
}

std::unique_ptr<TQBPhase> TQBPhase::Clone() const {
    auto phase = Make<TQBPhase>(ObjectManager());
    phase->SetParent(Parent());
    phase->CopyIntrinsicPropertiesFrom(*this, cipoIncludeReadonly);
    return phase;
}

TKovIntrinsicProperty& TQBPhase::GetIncrementIP(int kind, TQBLoadDirection direction) const {
    switch (kind) {
    case 0:
        return Property<TIPDoubleWithUnit>(StressIncrementName(direction));
    case 1:
        return Property<TIPDoubleWithUnit>(StrainIncrementName(direction));
    case 4:
        return Property<TIPInteger>(BoundaryConditionName(direction));
    default:
        throw EKovException(Format("Increment type is not implemented with direction: %d", kind));
    }
}

TKovIntrinsicProperty& TQBPhase::GetIncrementIP(int kind) const {
    switch (kind) {
    case 2:
        return Property(ip::SuctionInc);
    case 3:
        return Property(ip::TempInc);
    default:
        throw EKovException(
            Format("Increment type is not implemented without direction: %d", kind));
    }
}

namespace {
// The declaration indices of a phase's properties, found once from the class's declarations.
struct TPhasePropertyIndices {
    int Steps, Duration, Suction, Temperature;
    int Stress[QBLoadDirectionCount], Strain[QBLoadDirectionCount], Condition[QBLoadDirectionCount];
};

const TPhasePropertyIndices& Indices() {
    static const TPhasePropertyIndices indices = [] {
        const TKovIntrinsicPropertyDeclarationList& list = TQBPhase::StaticClass().Declarations();
        auto at = [&](const std::string& name) {
            const int index = list.GetIndexOfDeclarationFor(name);
            if (index < 0)
                throw EKovException("QBPhase declares no property " + name);
            return index;
        };
        TPhasePropertyIndices result{
            at("Steps"), at("Duration"), at("SuctionInc"), at("TempInc"), {}, {}, {}};
        for (TQBLoadDirection d : AllLoadDirections) {
            result.Stress[d] = at(TQBPhase::StressIncrementName(d));
            result.Strain[d] = at(TQBPhase::StrainIncrementName(d));
            result.Condition[d] = at(TQBPhase::BoundaryConditionName(d));
        }
        return result;
    }();
    return indices;
}
} // namespace

int TQBPhase::Steps() const {
    return OwnProperty<TIPInteger>(Indices().Steps, [] { return "Steps"; }).Value();
}
void TQBPhase::SetSteps(int steps) {
    OwnProperty<TIPInteger>(Indices().Steps, [] { return "Steps"; }).SetValue(steps);
}
double TQBPhase::Duration() const {
    return OwnProperty<TIPDouble>(Indices().Duration, [] { return "Duration"; }).Value();
}
void TQBPhase::SetDuration(double seconds) {
    OwnProperty<TIPDouble>(Indices().Duration, [] { return "Duration"; }).SetValue(seconds);
}

double TQBPhase::GetStrainIncrement(TQBLoadDirection direction) const {
    return OwnProperty<TIPDouble>(Indices().Strain[direction],
                                  [&] { return StrainIncrementName(direction); })
        .Value();
}
void TQBPhase::SetStrainIncrement(TQBLoadDirection direction, double percent) {
    OwnProperty<TIPDouble>(Indices().Strain[direction], [&] {
        return StrainIncrementName(direction);
    }).SetValue(percent);
}
double TQBPhase::GetStressIncrement(TQBLoadDirection direction) const {
    return OwnProperty<TIPDouble>(Indices().Stress[direction],
                                  [&] { return StressIncrementName(direction); })
        .Value();
}
void TQBPhase::SetStressIncrement(TQBLoadDirection direction, double pascal) {
    OwnProperty<TIPDouble>(Indices().Stress[direction], [&] {
        return StressIncrementName(direction);
    }).SetValue(pascal);
}
TQBBoundaryConditionType TQBPhase::GetBoundaryCondition(TQBLoadDirection direction) const {
    return static_cast<TQBBoundaryConditionType>(
        OwnProperty<TIPInteger>(Indices().Condition[direction], [&] {
            return BoundaryConditionName(direction);
        }).Value());
}
void TQBPhase::SetBoundaryCondition(TQBLoadDirection direction,
                                    TQBBoundaryConditionType condition) {
    OwnProperty<TIPInteger>(Indices().Condition[direction], [&] {
        return BoundaryConditionName(direction);
    }).SetValue(condition);
}
double TQBPhase::SuctionIncrement() const {
    return OwnProperty<TIPDouble>(Indices().Suction, [] { return "SuctionInc"; }).Value();
}
void TQBPhase::SetSuctionIncrement(double pascal) {
    OwnProperty<TIPDouble>(Indices().Suction, [] { return "SuctionInc"; }).SetValue(pascal);
}
double TQBPhase::TemperatureIncrement() const {
    return OwnProperty<TIPDouble>(Indices().Temperature, [] { return "TempInc"; }).Value();
}
void TQBPhase::SetTemperatureIncrement(double kelvin) {
    OwnProperty<TIPDouble>(Indices().Temperature, [] { return "TempInc"; }).SetValue(kelvin);
}

TQBLoadDirectionDoubleArray TQBPhase::StrainIncrements() const {
    TQBLoadDirectionDoubleArray values;
    for (TQBLoadDirection d : AllLoadDirections)
        values[d] = GetStrainIncrement(d);
    return values;
}
void TQBPhase::SetStrainIncrements(const TQBLoadDirectionDoubleArray& values) {
    for (TQBLoadDirection d : AllLoadDirections)
        SetStrainIncrement(d, values[d]);
}
TQBLoadDirectionDoubleArray TQBPhase::StressIncrements() const {
    TQBLoadDirectionDoubleArray values;
    for (TQBLoadDirection d : AllLoadDirections)
        values[d] = GetStressIncrement(d);
    return values;
}
void TQBPhase::SetStressIncrements(const TQBLoadDirectionDoubleArray& values) {
    for (TQBLoadDirection d : AllLoadDirections)
        SetStressIncrement(d, values[d]);
}
TQBBoundaryConditions TQBPhase::BoundaryConditions() const {
    TQBBoundaryConditions values;
    for (TQBLoadDirection d : AllLoadDirections)
        values[d] = GetBoundaryCondition(d);
    return values;
}
void TQBPhase::SetBoundaryConditions(const TQBBoundaryConditions& values) {
    for (TQBLoadDirection d : AllLoadDirections)
        SetBoundaryCondition(d, values[d]);
}

void TQBPhase::SetStressIPReadOnly(TQBLoadDirection direction, bool readOnly) {
    GetIncrementIP(0, direction).SetReadOnly(readOnly);
}
void TQBPhase::SetStrainIPReadOnly(TQBLoadDirection direction, bool readOnly) {
    GetIncrementIP(1, direction).SetReadOnly(readOnly);
}
void TQBPhase::SetBoundaryConditionsIPReadOnly(TQBLoadDirection direction, bool readOnly) {
    GetIncrementIP(4, direction).SetReadOnly(readOnly);
}
void TQBPhase::SetDurationReadOnly(bool readOnly) {
    GetIntrinsicPropertyByName(ip::Duration)->SetReadOnly(readOnly);
}
void TQBPhase::SetStepsReadOnly(bool readOnly) {
    GetIntrinsicPropertyByName(ip::Steps)->SetReadOnly(readOnly);
}
void TQBPhase::SetTemperatureVisibility(bool visible) {
    GetIncrementIP(3).SetPublishedAndEditable(visible);
}
void TQBPhase::SetSuctionVisibility(bool visible) {
    GetIncrementIP(2).SetPublishedAndEditable(visible);
}
void TQBPhase::UpdateTimeDependentProperties(bool enabled) {
    GetIntrinsicPropertyByName(ip::Duration)->SetPublished(enabled);
    NotifyObservers();
}

std::string TQBPhase::ToString() const {
    std::string body = Format("Steps=%d%sDuration=%f", Steps(), "/", Duration());
    for (TQBLoadDirection d : AllLoadDirections)
        body += Format("StrnInc=%f%sStrssInc=%f%s", GetStrainIncrement(d), "/",
                       GetStressIncrement(d), "/");
    return Format("%s[%s]", Name(), body);
}

// ---------------------------------------------------------------------------------------------
// TQBPhaseList

TW_KOV_CLASS_IMPL(TQBPhaseList, TKovObservableObjectList, nullptr)

TQBPhase& TQBPhaseList::AddWithSettings(TKovObject* parent, int steps, double duration,
                                        const TQBLoadDirectionDoubleArray& strainIncrements,
                                        const TQBLoadDirectionDoubleArray& stressIncrements,
                                        const TQBBoundaryConditions& boundaryConditions) {
    auto phase = Make<TQBPhase>(ObjectManager());
    phase->SetParent(parent);
    phase->SetSteps(steps);
    phase->SetDuration(duration);
    phase->SetStrainIncrements(strainIncrements);
    phase->SetStressIncrements(stressIncrements);
    phase->SetBoundaryConditions(boundaryConditions);
    TQBPhase* added = phase.release();
    Add(added);
    return *added;
}

void TQBPhaseList::CopyFrom(const TQBPhaseList& source) {
    Clear();
    for (int i = 0; i < source.Count(); ++i) {
        // A clone made in this list's manager: the source may live in another one (a test cloned
        // for comparison has none), and a phase must not be registered where its list isn't.
        const TQBPhase& original = source[i];
        auto phase = Make<TQBPhase>(ObjectManager());
        phase->CopyParentFrom(original);
        phase->CopyIntrinsicPropertiesFrom(original, TKovObservableObject::cipoIncludeReadonly);
        Add(phase.release());
    }
}

void TQBPhaseList::DeletePhase(int index) {
    if (FOnDeletePhase)
        FOnDeletePhase(index);
    Delete(index);
}

std::string TQBPhaseList::ToString() const {
    std::string body;
    for (int i = 0; i < Count(); ++i)
        body = Format("%s%s", body, (*this)[i].ToString());
    return Format("%s[%s]", Name(), body);
}

// ---------------------------------------------------------------------------------------------
// Cyclic definitions

TW_KOV_CLASS_IMPL(TQBCyclicPhases, TKovParentableObject, &TQBCyclicPhases::DeclareProperties)

void TQBCyclicPhases::DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
    list.AddInteger(ip::Cycles.Name, 0, "Cycles", 1, INT_MAX);
    list.AddObject(ip::FirstPhase.Name, TQBPhase::StaticClass(), ipkReadOnly, "First phase");
    list.AddObject(ip::LastPhase.Name, TQBPhase::StaticClass(), ipkReadOnly, "Last phase");
}

int TQBCyclicPhases::Cycles() const {
    return Property(ip::Cycles).Value();
}
void TQBCyclicPhases::SetCycles(int cycles) {
    Property(ip::Cycles).SetValue(cycles);
}
TQBPhase* TQBCyclicPhases::FirstPhase() const {
    return static_cast<TQBPhase*>(Property(ip::FirstPhase).Value());
}
void TQBCyclicPhases::SetFirstPhase(TQBPhase* phase) {
    Property(ip::FirstPhase).SetValue(phase);
}
TQBPhase* TQBCyclicPhases::LastPhase() const {
    return static_cast<TQBPhase*>(Property(ip::LastPhase).Value());
}
void TQBCyclicPhases::SetLastPhase(TQBPhase* phase) {
    Property(ip::LastPhase).SetValue(phase);
}

TW_KOV_CLASS_IMPL(TQBCyclicPhasesList, TKovObservableObjectList, nullptr)

TQBCyclicPhases& TQBCyclicPhasesList::AddCyclicPhasesObject(TQBPhase* firstPhase,
                                                            TQBPhase* lastPhase, int cycles) {
    auto definition = Make<TQBCyclicPhases>(ObjectManager());
    definition->SetFirstPhase(firstPhase);
    definition->SetLastPhase(lastPhase);
    definition->SetCycles(cycles);
    TQBCyclicPhases* added = definition.release();
    Add(added);
    return *added;
}

void TQBCyclicPhasesList::CopyFrom(const TQBCyclicPhasesList& source,
                                   const TQBPhaseList& sourcePhases, const TQBPhaseList& phases) {
    Clear();
    for (int i = 0; i < source.Count(); ++i) {
        const TQBCyclicPhases& definition = *source.GetItems(i);
        TQBPhase* first = phases.GetItems(sourcePhases.IndexOf(definition.FirstPhase()));
        TQBPhase* last = phases.GetItems(sourcePhases.IndexOf(definition.LastPhase()));
        AddCyclicPhasesObject(first, last, definition.Cycles());
    }
}

} // namespace tw
