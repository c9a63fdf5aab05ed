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
#include "objects/IntrinsicProperty.h"

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

    // Defaults, as after construction; clears the results when asked.
    void ResetToDefault(bool clearResults);
    void BeginUpdate() override;
    void EndUpdate() override;

    // The material: the owned one if any, else the one the project hands out.
    ITestMaterial* Material() const;
    using TGetMaterial = std::function<ITestMaterial*()>;
    void SetOnGetMaterial(TGetMaterial onGetMaterial);
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
    // The number of phases, each cyclic stretch counted with its repetitions.
    int PhaseCountIncludingCycles() const;
    // Deletes phases from index `count` upward until `count` remain.
    void ClipPhases(int count);
    // Removes the cyclic definitions that begin or end at the phase about to be deleted.
    void OnDeletePhase(int index);
    std::optional<TQBCyclicPhases*> GetCyclicPhasesWithReferenceTo(const TQBPhase* phase) const;
    std::optional<TQBCyclicPhases*> GetCyclicPhasesForStartPhase(const TQBPhase* phase) const;

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

    // ---------------------------------------------------------------------------------------
    // Generated cyclic phases (the cyclic triaxial and cyclic simple shear tests).
public:
    // Keeps the first phase (the initial phase of the test) and replaces the others by a
    // quarter phase, then per cycle a half phase down and, but for the last cycle, one up, then
    // a quarter phase: 2 * cycles + 2 phases in all, and the driven quantity goes 0, +A, -A,
    // +A, ..., -A, 0. A quarter has `stepsPerQuarter` steps and a quarter of the duration per
    // cycle; a half, twice the steps and half the duration. Only `direction` has increments:
    // the amplitudes times the factor of the phase (1, -2, 2, ..., -2, 1). Strains in percent,
    // stresses in pascal, durations in seconds. One undo step, "Changing phases".
    void RebuildCyclicTestPhases(int cycles, int stepsPerQuarter, double durationPerCycle,
                                 double stressAmplitude, double strainAmplitude,
                                 TQBLoadDirection direction,
                                 const TQBBoundaryConditions& boundaryConditions);
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

class TQBTestTriaxialBase : public TQBTestWithConsolidation {
    TW_KOV_CLASS(TQBTestTriaxialBase, TQBTestWithConsolidation)
public:
    using TQBTestWithConsolidation::TQBTestWithConsolidation;
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list);

    // |effective xx|, in pascal.
    double CellPressure() const;
    // Sets the effective xx and zz stresses to -value, then the vertical one from K0.
    void SetCellPressure(double value);
    double TotalCellPressure() const;
    void SetTotalCellPressure(double value);
    double Duration() const;
    void SetDuration(double seconds);
    // The vertical stress follows the cell pressure: yy := xx / K0 (xx when K0 is about 0).
    void UpdateStressesFromK0() override;
    // Brings the charts that depend on the kind of loading in line with it; nothing here.
    virtual void UpdateChartsSettings(bool /*isStrainControl*/) {}

protected:
    void Initialize() override;
    void SetDefaultValues(bool clearResults) override;
    void UpdatePropertyAvailability() override;
    void PropertyChanged(TKovIntrinsicProperty& property) override;
};

class TQBTestTriaxial : public TQBTestTriaxialBase {
    TW_KOV_CLASS(TQBTestTriaxial, TQBTestTriaxialBase)
public:
    using TQBTestTriaxialBase::TQBTestTriaxialBase;
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list);
    TQBTestType TestType() const override { return ttTriaxial; }

    TQBDirection Direction() const;
    // |strain increment yy| of the first phase, in percent.
    double MaximumStrain() const;
    void SetMaximumStrain(double percent);
    int Steps() const;
    std::string ToString() const override;

protected:
    void AddDefaultChartSettings() override;
    void SetDefaultValues(bool clearResults) override;
    void PropertyChanged(TKovIntrinsicProperty& property) override;
    void UpdateFromInitialStresses() override;
};

// Makes the test class of a type; raises "Unknown test type: %d" for any other value. Defined
// with the test list, which knows every type.
std::unique_ptr<TQBTestBase> CreateTest(TQBTestType type, TKovObjectManager* manager,
                                        TQBTestMethod testMethod);

} // namespace tw
