#pragma once
// Phases drive a test: how many steps the kernel takes, how long the phase lasts, and for each of
// the six load directions whether it is driven by a strain or a stress increment. Increments are
// totals for the phase, in base units: stresses in pascal, strains in percent, compression
// negative.

#include "labtest/QBDatatypes.h"
#include "objects/IntrinsicPropertyDeclarationList.h"
#include "objects/IntrinsicPropertyDerivedKinds.h"
#include "objects/KovObjectLists.h"

#include <functional>
#include <optional>

namespace tw {

class TQBPhase : public TKovParentableObject {
    TW_KOV_CLASS(TQBPhase, TKovParentableObject)
public:
    using TKovParentableObject::TKovParentableObject;
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list);

    // A new phase with the same manager and parent, all properties copied.
    std::unique_ptr<TQBPhase> Clone() const;

    // Kind 0 stress, 1 strain, 4 boundary condition.
    TKovIntrinsicProperty& GetIncrementIP(int kind, TQBLoadDirection direction) const;
    // Kind 2 suction, 3 temperature.
    TKovIntrinsicProperty& GetIncrementIP(int kind) const;

    int Steps() const;
    void SetSteps(int steps);
    double Duration() const;
    void SetDuration(double seconds);
    double GetStrainIncrement(TQBLoadDirection direction) const;
    void SetStrainIncrement(TQBLoadDirection direction, double percent);
    double GetStressIncrement(TQBLoadDirection direction) const;
    void SetStressIncrement(TQBLoadDirection direction, double pascal);
    TQBBoundaryConditionType GetBoundaryCondition(TQBLoadDirection direction) const;
    void SetBoundaryCondition(TQBLoadDirection direction, TQBBoundaryConditionType condition);
    double SuctionIncrement() const;
    void SetSuctionIncrement(double pascal);
    double TemperatureIncrement() const;
    void SetTemperatureIncrement(double kelvin);

    TQBLoadDirectionDoubleArray StrainIncrements() const;
    void SetStrainIncrements(const TQBLoadDirectionDoubleArray& values);
    TQBLoadDirectionDoubleArray StressIncrements() const;
    void SetStressIncrements(const TQBLoadDirectionDoubleArray& values);
    TQBBoundaryConditions BoundaryConditions() const;
    void SetBoundaryConditions(const TQBBoundaryConditions& values);

    void SetStressIPReadOnly(TQBLoadDirection direction, bool readOnly);
    void SetStrainIPReadOnly(TQBLoadDirection direction, bool readOnly);
    void SetBoundaryConditionsIPReadOnly(TQBLoadDirection direction, bool readOnly);
    void SetDurationReadOnly(bool readOnly);
    void SetStepsReadOnly(bool readOnly);
    // Publishes and opens the increment, or hides and closes it.
    void SetTemperatureVisibility(bool visible);
    void SetSuctionVisibility(bool visible);
    void UpdateTimeDependentProperties(bool enabled);

    std::string ToString() const;

    // Property names by direction.
    static std::string StressIncrementName(TQBLoadDirection direction);
    static std::string StrainIncrementName(TQBLoadDirection direction);
    static std::string BoundaryConditionName(TQBLoadDirection direction);

private:
    // One of the phase's own properties, by its declaration index in this class (the kernel file
    // reads 22 numbers a phase, and a lookup by name costs a name cleaning and a hash each); by
    // name in a class that may have declared others before it.
    template <typename P, typename Name> P& OwnProperty(int index, Name&& name) const {
        if (&ClassType() == &StaticClass())
            return static_cast<P&>(*GetIntrinsicProperty(index));
        return Property<P>(name());
    }
};

class TQBPhaseList : public TKovObservableObjectList {
    TW_KOV_CLASS(TQBPhaseList, TKovObservableObjectList)
public:
    explicit TQBPhaseList(TKovObjectManager* manager) : TKovObservableObjectList(manager, true) {}

    using TOnDeletePhase = std::function<void(int index)>;
    void SetOnDeletePhase(TOnDeletePhase handler) { FOnDeletePhase = std::move(handler); }

    TQBPhase* GetItems(int index) const { return static_cast<TQBPhase*>(GetItemOrNull(index)); }
    TQBPhase& operator[](int index) const { return *static_cast<TQBPhase*>(GetItem(index)); }
    TQBPhase& AddWithSettings(TKovObject* parent, int steps, double duration,
                              const TQBLoadDirectionDoubleArray& strainIncrements,
                              const TQBLoadDirectionDoubleArray& stressIncrements,
                              const TQBBoundaryConditions& boundaryConditions);
    // Clears, then adds a clone of each phase of `source`, made in this list's manager.
    void CopyFrom(const TQBPhaseList& source);
    // Tells the handler, then deletes the phase.
    void DeletePhase(int index);
    std::string ToString() const;

private:
    TOnDeletePhase FOnDeletePhase;
};

// A stretch of the phase list repeated `Cycles` times. It refers to the phases; it doesn't own
// them.
class TQBCyclicPhases : public TKovParentableObject {
    TW_KOV_CLASS(TQBCyclicPhases, TKovParentableObject)
public:
    using TKovParentableObject::TKovParentableObject;
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list);

    int Cycles() const;
    void SetCycles(int cycles);
    TQBPhase* FirstPhase() const;
    void SetFirstPhase(TQBPhase* phase);
    TQBPhase* LastPhase() const;
    void SetLastPhase(TQBPhase* phase);
};

class TQBCyclicPhasesList : public TKovObservableObjectList {
    TW_KOV_CLASS(TQBCyclicPhasesList, TKovObservableObjectList)
public:
    explicit TQBCyclicPhasesList(TKovObjectManager* manager)
        : TKovObservableObjectList(manager, true) {}

    TQBCyclicPhases* GetItems(int index) const {
        return static_cast<TQBCyclicPhases*>(GetItemOrNull(index));
    }
    TQBCyclicPhases& AddCyclicPhasesObject(TQBPhase* firstPhase, TQBPhase* lastPhase, int cycles);
    // Clears, then adds a copy of each definition of `source`, with its phases mapped by index
    // from `sourcePhases` to `phases`.
    void CopyFrom(const TQBCyclicPhasesList& source, const TQBPhaseList& sourcePhases,
                  const TQBPhaseList& phases);
};

} // namespace tw
