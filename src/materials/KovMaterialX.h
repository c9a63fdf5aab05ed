#pragma once
// The framework material: a model choice (its root group) and three trees of property
// collections built from the declarations of the groups of that model:
//
// - "Internal": what is stored, the persistent parameters;
// - "User": what users see and commands touch, derived properties reading and writing the stored
//   ones;
// - "Global": values not tied to a model (the project's gravity and water density).
//
// Derived values hold nothing; each read computes from stored values looked up by name through
// the material's index, so a value is never stale. What changes with a change is configuration:
// visibility, mutability and the valid values of enumerations, updated after every change (see
// TMaterialXIPConfigurator). A material belongs to the main thread; reading values from another
// thread is safe while nothing writes.

#include "materials/MXPropertyCollection.h"
#include "materials/TestMaterial.h"
#include "objects/VarRec.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>

namespace tw {

class TSystemOfUnits;
class TKovMaterialConstructionParameters;

// Answers a named question about the surrounding project: "Gravity", "WaterWeight",
// "IdentificationNumber". Empty for a name it doesn't know.
using TPropertyQueryFunc = std::function<std::optional<TVarRec>(const std::string& name)>;
// The presentation units in force; nullptr when there are none.
using TSystemOfUnitsQueryFunc = std::function<const TSystemOfUnits*()>;

class TKovMaterialX : public TKovObservableObject {
    TW_KOV_CLASS(TKovMaterialX, TKovObservableObject)
public:
    explicit TKovMaterialX(TKovObjectManager* manager);
    ~TKovMaterialX() override;
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list);

    const TMXAssociatedParameterGroup* RootAPGClass() const { return FRootAPGClass; }
    // Fired when any value of the material changes (once per outermost update).
    TObservable& PropertyCollectionObservable() { return FPropertyCollectionObservable; }

    const TPropertyQueryFunc& PropertyQueryFunc() const { return FPropertyQueryFunc; }
    void SetPropertyQueryFunc(TPropertyQueryFunc function) {
        FPropertyQueryFunc = std::move(function);
    }
    const TSystemOfUnitsQueryFunc& SystemOfUnitsQueryFunc() const {
        return FSystemOfUnitsQueryFunc;
    }
    void SetSystemOfUnitsQueryFunc(TSystemOfUnitsQueryFunc function) {
        FSystemOfUnitsQueryFunc = std::move(function);
    }
    // The project's answer, or empty.
    std::optional<TVarRec> QueryProperty(const std::string& name) const;

    TMXPropertyCollection* UserMXPropertyCollection() const;
    TMXPropertyCollection* InternalMXPropertyCollection() const;
    TMXPropertyCollection* GlobalMXPropertyCollection() const;
    bool HasHierarchy() const { return InternalMXPropertyCollection() != nullptr; }

    std::string Identification() const;
    void SetIdentification(const std::string& identification);
    // "%s [%s]" of identification and name.
    std::string IdentificationAndName() const;
    int32_t Color() const;
    void SetColor(int32_t color);
    bool IsUnderConstruction() const { return FIsUnderConstruction; }

    // Class-level operations, in this order.
    virtual std::string DescriptiveTypeName() const { return GetObjectTypeName(); }
    // Raise "Implement GetMaterialXTypeName for %s" and "Implement DoGetMaterialGroupName for %s"
    // in the base.
    virtual std::string GetMaterialXTypeName() const;
    virtual std::string GetMaterialGroupName() const;
    virtual const TKovClass& GetMaterialXClass() const { return ClassType(); }
    static bool GlobalNameShowsInAutocompletion() { return true; }

    TKovMaterialConstructionParameters* ConstructionParameters() const {
        return FConstructionParameters.get();
    }
    TKovMaterialConstructionParameters& EnsureConstructionParametersExist();

    // Look-ups by name (clean form; aliases followed): the user properties include those of the
    // global collection. nullptr when the material has none.
    TKovIntrinsicProperty* FindUserProperty(const std::string& name) const;
    TKovIntrinsicProperty* FindInternalProperty(const std::string& name) const;
    // As above by the name alone (clean form), without aliases.
    TKovIntrinsicProperty* FindUserPropertyExact(const std::string& name) const;
    TKovIntrinsicProperty* FindInternalPropertyExact(const std::string& name) const;
    // Every user property (user and global collections), and every internal one, in tree order.
    std::vector<TKovIntrinsicProperty*> UserProperties() const;
    std::vector<TKovIntrinsicProperty*> InternalProperties() const;

    // Update brackets: configuration updates and notifications wait for the outermost end.
    void BeginUpdate() override;
    void EndUpdate() override;
    bool IsUpdating() const { return FUpdateLevel > 0; }

    // Called by a collection of this material after one of its properties changed.
    void CollectionPropertyChanged(TMXPropertyCollection& collection,
                                   TKovIntrinsicProperty& property);
    // Runs the configuration update unless under construction or in an update bracket.
    void UpdateConfigurationIfDue();

    // Hooks of the material class: after a stored value changed (not during construction), and
    // after the hierarchy of a model was built or rebuilt.
    virtual void StoredPropertyChanged(TKovIntrinsicProperty& /*property*/) {}
    virtual void AfterHierarchyBuilt() {}
    // The name of the stored enumeration that selects the model ("SoilModel" for soil); empty
    // for a material class without one.
    virtual std::string ModelSelectorName() const { return std::string(); }

    // Used by the factory.
    void SetRootAPGClass(const TMXAssociatedParameterGroup* root) { FRootAPGClass = root; }
    void SetUnderConstruction(bool flag) { FIsUnderConstruction = flag; }
    // Adds a top collection (owned by the material's user features).
    void AddTopCollection(std::unique_ptr<TMXPropertyCollection> collection);
    // The user features of the material (the top collections).
    TKovUserFeatureList& TopCollections() const { return UserFeatures(); }
    // Set by the configurator while it runs: its own changes cause no further update.
    bool IsConfiguring() const { return FConfiguring; }
    void SetConfiguring(bool flag) { FConfiguring = flag; }
    // The model value the hierarchy was built for (soil: "SoilModel"); -1 before.
    int AppliedModelValue() const { return FAppliedModelValue; }
    void SetAppliedModelValue(int value) { FAppliedModelValue = value; }

protected:
    void Initialize() override;
    // A memento copies only the material's own state; a copy between live materials copies the
    // whole material (see Assign).
    void AssignEssentialState(const TKovObject& source) override;

private:
    // Properties by exact name and by clean name.
    struct TIndex {
        std::atomic<uint64_t> Generation{0};
        std::unordered_map<std::string, TKovIntrinsicProperty*> User, Internal, CleanUser,
            CleanInternal;
    };
    const TIndex& Index() const;
    void ModelSelectorChanged(TKovIntrinsicProperty& property);
    static TKovIntrinsicProperty*
    Lookup(const std::unordered_map<std::string, TKovIntrinsicProperty*>& exact,
           const std::unordered_map<std::string, TKovIntrinsicProperty*>& clean,
           const std::string& name, bool aliases);
    void Notify();

    TPropertyQueryFunc FPropertyQueryFunc;
    TSystemOfUnitsQueryFunc FSystemOfUnitsQueryFunc;
    TObservable FPropertyCollectionObservable{this};
    bool FIsUnderConstruction = false;
    const TMXAssociatedParameterGroup* FRootAPGClass = nullptr;
    std::unique_ptr<TKovMaterialConstructionParameters> FConstructionParameters;
    int FAppliedModelValue = -1;
    int FUpdateLevel = 0;
    bool FChangedInUpdate = false;
    mutable TIndex FIndex;
    mutable std::mutex FIndexMutex;
    bool FConfiguring = false;
};

// The soil material: object type name "SoilMat", type name "Soil", group "Soil and interfaces".
// It is the material a laboratory test runs on.
class TKovSoilMaterialX : public TKovMaterialX, public ITestMaterial {
    TW_KOV_CLASS(TKovSoilMaterialX, TKovMaterialX)
public:
    using TKovMaterialX::TKovMaterialX;
    std::string GetObjectTypeName() const override { return "SoilMat"; }
    std::string GetMaterialXTypeName() const override { return "Soil"; }
    std::string GetMaterialGroupName() const override { return "Soil and interfaces"; }

    // The user property "SoilModel".
    TMXSoil_MaterialModel GetSoilModel() const;
    std::string GetSoilModelName() const;

    // ITestMaterial: numbers are user values (else stored ones) in base units.
    TMXSoil_MaterialModel SoilModel() const override { return GetSoilModel(); }
    TMXSoil_DrainageType DrainageType() const override;
    std::optional<double> GetNumber(const std::string& name) const override;
    std::string Identification() const override { return TKovMaterialX::Identification(); }
    TObservable& MaterialObservable() override { return PropertyCollectionObservable(); }
    // A copy without manager whose derived properties are plain values.
    std::unique_ptr<ITestMaterial> CreateStaticCopy() const override;
    std::string ModelSelectorName() const override { return "SoilModel"; }
    // A new library or model of a user-defined material brings that model's parameters.
    void StoredPropertyChanged(TKovIntrinsicProperty& property) override;
    void AfterHierarchyBuilt() override;
};

// A list of framework materials: object type name "Materials".
class TKovMaterialXList : public TKovObservableObjectList {
    TW_KOV_CLASS(TKovMaterialXList, TKovObservableObjectList)
public:
    explicit TKovMaterialXList(TKovObjectManager* manager, bool ownsObjects = true)
        : TKovObservableObjectList(manager, ownsObjects) {}
    std::string GetObjectTypeName() const override { return "Materials"; }

    TKovMaterialX* Get(int index) const { return GetItemAs<TKovMaterialX>(index); }
    void Set(int index, TKovMaterialX* material) { SetItem(index, material); }
    TKovMaterialX* GetMaterialByUniqueID(const TUniqueID& id) const;
    // The index among the materials of the same class only; -1 when absent.
    int IndexOfTypedMaterial(const TKovMaterialX* material) const;
    // Removes without deleting; the caller owns the material.
    std::unique_ptr<TKovMaterialX> ExtractMaterial(TKovMaterialX* material);

    auto begin() const { return Items().begin(); }
    auto end() const { return Items().end(); }
};

// A read-only image of how a material was made, for commands that rebuild it: the text
// "materialclass" (the create-command name) and one property per value that differs from the
// model's defaults, made from the user property of the same name.
class TKovMaterialConstructionParameters : public TKovObservableObject {
    TW_KOV_CLASS(TKovMaterialConstructionParameters, TKovObservableObject)
public:
    explicit TKovMaterialConstructionParameters(TKovObjectManager* manager);
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list);

    std::string MaterialClass() const;
    void SetMaterialClass(const std::string& name);
    // Replaces the value properties by read-only copies of the given user properties.
    void SetFromProperties(const std::vector<const TKovIntrinsicProperty*>& properties);
    std::vector<const TKovIntrinsicProperty*> ValueProperties() const;

protected:
    void AssignEssentialState(const TKovObject& source) override;

private:
    std::vector<std::unique_ptr<TKovIntrinsicProperty>> FValues;
};

} // namespace tw
