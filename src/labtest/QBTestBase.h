#pragma once
// A laboratory test: everything that defines one simulated test on one material (behaviour,
// consolidation, initial stresses, phases, calculation control) and, after a run, its results.
//
// Stored values are in base units: stresses in pascal with compression negative, strains in
// percent with compression negative, time in seconds, temperature in kelvin. Initial stresses are
// stored as total stresses; the effective ones are derived through the initial suction.

#include "labtest/QBChartSettings.h"
#include "labtest/QBDatatypes.h"
#include "labtest/QBPhase.h"
#include "labtest/QBResults.h"
#include "materials/TestMaterial.h"
#include "objects/IntrinsicPropertyDeclarationList.h"
#include "objects/IntrinsicPropertyDerivedKinds.h"

#include <functional>
#include <memory>
#include <optional>

namespace tw {

TW_DECLARE_EXCEPTION(EQBTestException, EKovException)

class TQBTestBase : public TKovObservableObject {
    TW_KOV_CLASS(TQBTestBase, TKovObservableObject)
public:
    TQBTestBase(TKovObjectManager* manager, TQBTestMethod testMethod = tm3D);
    ~TQBTestBase() override;
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list);

    virtual TQBTestType TestType() const = 0;
    TQBTestMethod TestMethod() const { return FTestMethod; }
    // The type name of the test's class ("Triaxial", "Oedometer", ...).
    std::string GetObjectTypeName() const override { return TestClassTypeName(TestType()); }

    // Defaults, as after construction; clears the results when asked.
    void ResetToDefault(bool clearResults);
    void BeginUpdate() override;
    void EndUpdate() override;

    // The material: the owned one if any, else the one the project hands out.
    ITestMaterial* Material() const;
    using TGetMaterial = std::function<ITestMaterial*()>;
    void SetOnGetMaterial(TGetMaterial onGetMaterial);
    const TGetMaterial& OnGetMaterial() const { return FOnGetMaterial; }
    // Takes ownership of a material of its own (loaded and cloned tests).
    void SetOwnedMaterial(std::unique_ptr<ITestMaterial> material);
    bool OwnsMaterial() const { return FOwnedMaterial != nullptr; }
    std::string MaterialIdentification() const;
    bool MaterialInSyncWithTest() const { return FMaterialInSyncWithTest; }
    void SetMaterialInSyncWithTest(bool inSync) { FMaterialInSyncWithTest = inSync; }

    // Calculation control.
    double Error() const;
    double Relax() const;
    int MaxIter() const;
    bool ArcLength() const;
    TQBBehavior Behavior() const;
    TTestControlType TestControlType() const;
    bool ApplyMobShearStrength() const;
    double MobilisedShearStrength() const;
    double PreconsolidationPressure() const;
    std::string Caption() const override;
    bool Selected() const;
    bool Visible() const;

    // What the material allows.
    bool IsTimeEnabled() const;
    bool IsPreconsolidationEnabled() const;
    bool IsMobShearStrengthEnabled() const;
    virtual bool CanHaveSuctionEnabled() const;
    virtual bool CanHaveThermalEnabled() const;
    bool IsSuctionEnabled() const;
    bool IsThermalEnabled() const;
    bool IsSuctionIncrementEnabled() const;

    // Initial state. Temperature in kelvin, suction in pascal.
    double InitialTemperature() const;
    double InitialSuction() const;
    // The initial effective saturation by the van Genuchten rule; 0 without material.
    double SeInit() const;
    double GetInitialTotalStress(TQBLoadDirection direction) const;
    void SetInitialTotalStress(TQBLoadDirection direction, double pascal);
    // Effective = total - Se * s on the normal directions.
    double GetInitialEffectiveStress(TQBLoadDirection direction) const;
    void SetInitialEffectiveStress(TQBLoadDirection direction, double pascal);
    TQBLoadDirectionDoubleArray InitialEffectiveStresses() const;

    // Phases and results.
    TQBPhaseList& Phases() const { return *FPhases; }
    TQBCyclicPhasesList& CyclicPhases() const { return *FCyclicPhases; }
    TQBResults& Results() const { return *FResults; }
    bool HasResults() const { return FResults->RowCount() > 0; }
    int ResultCount() const { return FResults->RowCount(); }
    // A result value in presentation units; 0 when the test has no results.
    double ResultValueInProjectUnits(int row, TQBResultType type,
                                     const IQuantityPresenter* units) const;
    // Extremes of the principal stresses over all rows, in the pressure unit of `units`.
    double GetSig1MinInPresentationUnit(const IQuantityPresenter* units) const;
    double GetSig1MaxInPresentationUnit(const IQuantityPresenter* units) const;
    double GetSig3MinInPresentationUnit(const IQuantityPresenter* units) const;
    double GetSig3MaxInPresentationUnit(const IQuantityPresenter* units) const;
    // The number of phases, each cyclic stretch counted with its repetitions. A definition whose
    // first or last phase is not in the list, or whose last phase stands before its first, is
    // left out, as the kernel file writes its phases once.
    int PhaseCountIncludingCycles() const;
    // Deletes phases from index `count` upward until `count` remain.
    void ClipPhases(int count);
    // Removes the cyclic definitions that begin or end at the phase about to be deleted.
    void OnDeletePhase(int index);
    // The first cyclic definition that begins or ends at the phase; empty for nullptr or none.
    std::optional<TQBCyclicPhases*> GetCyclicPhasesWithReferenceTo(const TQBPhase* phase) const;
    // As above, but a definition that ends at the phase answers empty: the phase starts no
    // repetition. A definition of one phase is therefore never started.
    std::optional<TQBCyclicPhases*> GetCyclicPhasesForStartPhase(const TQBPhase* phase) const;

    // The user's operations on the phases. Each is one undo step with the caption named, and runs
    // inside one update bracket of the test.
    // "Inserting phase": InsertPhase(PhaseCount).
    void AddNewPhase();
    // "Inserting phase": at index 0 a blank phase, at any other index a copy of the phase before
    // it. Raises EKovListException for an index outside 0 .. PhaseCount.
    void InsertPhase(int index);
    // "Deleting phase": the cyclic definitions that begin or end at the phase go with it.
    void DeletePhase(int index);
    // "Mark phases as cyclic": repeats the phases `first` to `last` (indices, both included)
    // `cycles` times (clamped to at least 1). Raises EQBTestException for an index outside the
    // phases, a last phase before the first, or a stretch that overlaps an existing definition.
    void MarkPhasesCyclic(int first, int last, int cycles);
    // "Remove cyclic phases definition": the phases stay.
    void DeleteCyclicPhasesDefinition(int index);
    // "Changing phases": keeps the first phase (the initial phase of the test) and builds behind
    // it a quarter cycle (factor 1), then per cycle a half cycle down (-2) and, but after the last
    // cycle, a half cycle up (2), and a closing quarter (1): 2 * cycles + 2 phases in all, so the
    // driven quantity runs 0, +A, -A, +A, ..., -A, 0. A quarter has `stepsPerQuarter` steps and
    // lasts durationPerCycle / 4; a half twice the steps and durationPerCycle / 2. The increment
    // at `direction` is the factor times the amplitude (stress in pascal, strain in percent); all
    // other increments are 0, and every phase takes `conditions`. With 0 cycles only the first
    // phase stays.
    void RebuildCyclicTestPhases(int cycles, int stepsPerQuarter, double durationPerCycle,
                                 double stressAmplitude, double strainAmplitude,
                                 TQBLoadDirection direction,
                                 const TQBBoundaryConditions& conditions);

    // Chart settings of the test, and those read from a file with it. Owned, without manager.
    TQBChartSettingsList& ChartSettings() const { return *FChartSettings; }
    TQBChartSettingsList& LoadedChartSettings() const { return *FLoadedChartSettings; }
    // Clears the chart settings and refills them with the test's defaults.
    void ResetChartSettings();

    // Observables fired at the end of a run and on changes of suction, thermal and behaviour.
    TObservable& EndCalculationObservable() { return FEndCalculationObservable; }
    TObservable& SuctionConditionObservable() { return FSuctionConditionObservable; }
    TObservable& ThermalConditionObservable() { return FThermalConditionObservable; }
    TObservable& BehaviorObservable() { return FBehaviorObservable; }

    // Loaded tests.
    const std::string& Title() const { return FTitle; }
    void SetTitle(const std::string& title) { FTitle = title; }
    int Color() const { return FColor; }
    void SetColor(int color) { FColor = color; }

    // Material-dependent availability of properties, then a notification.
    void UpdateMaterialDependentProperties();
    // Undrained is disabled (and an undrained test made drained) for a non-porous material.
    void UpdateAllowedBehaviors();
    void EnableAllBehaviors();
    // Sets every property read-only: tests shown for comparison.
    void MakePropertiesReadOnly();
    void DoAfterLoadFromStorage();
    // After results were read; the cyclic tests derive values from them.
    virtual void DoAfterLoadResults() {}
    virtual void DoAfterLoadPhases() {}
    // The visibility of the advanced result columns (suction, temperature).
    void UpdateAdvancedResultsVisibility();

    // Copies properties, material reference, phases, cyclic phases and chart settings of
    // `source`.
    void CopyFrom(const TQBTestBase& source);
    // A new test of the same class and method, without manager, with its own static copy of
    // nothing but the values: properties, results and phases.
    std::unique_ptr<TQBTestBase> Clone() const;

    virtual std::string ToString() const;

protected:
    void Initialize() override;
    void PropertyChanged(TKovIntrinsicProperty& property) override;

    // The virtual operations of the family, called in this order where the family needs them.
    // The default charts: those of every test first (suction, saturation, temperature), then
    // the type's own.
    virtual void AddDefaultChartSettings();
    virtual void SetDefaultValues(bool clearResults);
    virtual void UpdatePropertyAvailability();
    virtual void UpdateAfterPhasesChanged() {}
    virtual void UpdateFromInitialStresses() {}
    // Sets the duration of the first phase from the material's time dependence.
    void UpdateDurationAvailability();

    // Declarations of the derived effective initial stresses ("Sigxxinit" ...), inserted before
    // "Behaviour". The advanced kind applies the suction rule; the basic kind reads and writes
    // the total stress directly.
    static void
    AddDerivedAdvancedEffectiveStressDeclarations(TKovIntrinsicPropertyDeclarationList& list,
                                                  TKovIntrinsicPropertyConfig config);
    static void
    AddDerivedBasicEffectiveStressDeclarations(TKovIntrinsicPropertyDeclarationList& list,
                                               TKovIntrinsicPropertyConfig config);

    // nullptr without phases, and in a blank instance made for undo.
    TQBPhase* FirstPhase() const { return FPhases ? FPhases->GetItems(0) : nullptr; }

private:
    void SetUpOwnedObjects();

    TQBTestMethod FTestMethod = tm3D;
    std::string FTitle;
    int FColor = 0;
    TGetMaterial FOnGetMaterial;
    std::unique_ptr<ITestMaterial> FOwnedMaterial;
    bool FMaterialInSyncWithTest = false;
    TObservable FEndCalculationObservable;
    TObservable FSuctionConditionObservable;
    TObservable FThermalConditionObservable;
    TObservable FBehaviorObservable;
    TObserver FPhasesObserver;
    std::unique_ptr<TQBResults> FResults;
    std::unique_ptr<TQBPhaseList> FPhases;
    std::unique_ptr<TQBCyclicPhasesList> FCyclicPhases;
    std::unique_ptr<TQBChartSettingsList> FChartSettings;
    std::unique_ptr<TQBChartSettingsList> FLoadedChartSettings;
};

// Tests with a consolidation stage: isotropic, or K0 with the horizontal stresses K0 times the
// vertical one.
class TQBTestWithConsolidation : public TQBTestBase {
    TW_KOV_CLASS(TQBTestWithConsolidation, TQBTestBase)
public:
    using TQBTestBase::TQBTestBase;
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list);

    TQBConsolidation Consolidation() const;
    double K0() const;
    // Horizontal effective stresses := K0 times the vertical one.
    virtual void UpdateStressesFromK0();

protected:
    void SetDefaultValues(bool clearResults) override;
    void PropertyChanged(TKovIntrinsicProperty& property) override;
    void UpdateFromInitialStresses() override;
};

// Makes the test class of a type; raises "Unknown test type: %d" for any other value. Defined
// with the test list, which knows every type.
std::unique_ptr<TQBTestBase> CreateTest(TQBTestType type, TKovObjectManager* manager,
                                        TQBTestMethod testMethod);

} // namespace tw
