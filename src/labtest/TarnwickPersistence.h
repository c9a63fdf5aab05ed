#pragma once
// The carriers of a framework material in files, and the persister of the material itself.
//
// TTarnwickMaterialContainer holds one material with the project values it was made in: the
// gravity (m/s2) and the density of water (kg/m3), which the material asks for through its query
// function. TTarnwickInput is what the host hands over at start: a container with the host's
// presentation units and the two thermal expansions of pore water and ice (per kelvin).
//
// The material is stored as its node with its own properties, "RootAPG" (the class name of its
// model's root group), "ConstructionParameters" when it has them, and "Internal": one child per
// stored value, named as the value. Reading builds the model from the root group, takes the
// values it finds, and gives every stored value the file lacks (a parameter added since) its
// organizer default, with a message of severity hresInfo; a value the model no longer has is a
// warning.

#include "materials/KovMaterialX.h"
#include "storage/KovPersisters.h"
#include "units/IPSystemOfUnits.h"

#include <memory>
#include <string>

namespace tw {

class TTarnwickMaterialContainer : public TKovObservableObject {
    TW_KOV_CLASS(TTarnwickMaterialContainer, TKovObservableObject)
public:
    explicit TTarnwickMaterialContainer(TKovObjectManager* manager);
    ~TTarnwickMaterialContainer() override;
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list);

    TKovMaterialX* MaterialX() const { return FMaterialX.get(); }
    // The soil material, or nullptr for none or another kind.
    TKovSoilMaterialX* SoilMaterialX() const;
    // Takes a copy of `material` (in this container's manager) with the gravity and water
    // density it answers; the copy asks this container from now on.
    void SetMaterialXCopy(const TKovMaterialX& material);
    // Takes `material`, which asks this container from now on.
    void TakeMaterialX(std::unique_ptr<TKovMaterialX> material);
    // Gives the material up; it keeps answering the values this container has now.
    std::unique_ptr<TKovMaterialX> ExtractMaterialX();
    // The material, made without model when there is none yet (as a read needs it).
    TKovMaterialX& EnsureMaterialX();

    // m/s2 and kg/m3.
    double Gravity() const;
    double RhoWater() const;
    void SetGravityAndRhoWater(double gravity, double rhoWater);
    // Answers "Gravity", "WaterWeight" (RhoWater times gravity) and "IdentificationNumber" from
    // this container's values, also after the container is gone; any other name with 0.
    TPropertyQueryFunc MaterialQueryFunction() const;

protected:
    void Initialize() override;
    void PropertyChanged(TKovIntrinsicProperty& property) override;
    void AssignEssentialState(const TKovObject& source) override;

private:
    struct TConstants {
        double Gravity = 9.81;    // m/s2
        double RhoWater = 1000.0; // kg/m3
        int32_t IdentificationNumber = 12345;
    };
    std::shared_ptr<TConstants> FConstants = std::make_shared<TConstants>();
    std::unique_ptr<TKovMaterialX> FMaterialX;
};

class TTarnwickInput : public TTarnwickMaterialContainer {
    TW_KOV_CLASS(TTarnwickInput, TTarnwickMaterialContainer)
public:
    using TTarnwickMaterialContainer::TTarnwickMaterialContainer;
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list);

    // The host's presentation units.
    const TSystemOfUnits& SystemOfUnits() const;
    void SetSystemOfUnits(const TSystemOfUnits& units);
    // Per kelvin; 5e-05 (ice) and 0.00021 (water) until set.
    double IceThermalExpansion() const;
    double LiquidThermalExpansion() const;
    void SetThermalExpansions(double ice, double liquid);

protected:
    void Initialize() override;
};

// A framework material; see the top of this header.
class THPKovMaterialX : public THPKovObservableObject {
public:
    const TKovClass& SupportedClass() const override;

protected:
    void AddAdditionalObjects(TKovObject& object, TAdditionalPersistObjects& list) override;
    // The named values "Gravity" (m/s2) and "RhoWater" (kg/m3) the material answers.
    void DoPersistObject(TKovObject& object, THierarchicStorage& storage) override;
    void PersistAdditionalObjects(TKovObject& object, THierarchicStorage& storage) override;
    void LoadAdditionalObjects(TKovObject& object, THierarchicStorage& storage,
                               THPReadErrorList* errors) override;
    // The material read is assigned; the target keeps its own query functions.
    void DoCommitLoadedObject(TKovObject& target, TKovObject& loaded) override;
};

// The container: its properties, then "MaterialX". Old files stored "WaterWeight" (N/m3) in place
// of "RhoWater"; it is taken over.
class THPTarnwickMaterialContainer : public THPKovObservableObject {
public:
    const TKovClass& SupportedClass() const override;
    // Moves the material read into the target.
    void CommitLoadedObject(TKovObject& target, TKovObject& loaded) override;

protected:
    void AddAdditionalObjects(TKovObject& object, TAdditionalPersistObjects& list) override;
    void BeforeLoad(TKovObject& object, THierarchicStorage& storage,
                    THPReadErrorList* errors) override;
    void HandleNotFoundAdditionalObjectsSubStorageFor(TKovObject& object,
                                                      TAdditionalPersister& entry,
                                                      THierarchicStorage& storage,
                                                      THPReadErrorList* errors) override;
    bool NeedsVersion(const TKovObject&) const override { return true; }
};

// Reads the input file the host hands over (XML): the new input, or an exception whose message
// names the file and what is wrong; problems that don't stop the read go into `errors`.
std::unique_ptr<TTarnwickInput> ReadTarnwickInput(const std::string& fileName,
                                                  THPReadErrorList* errors);
// Writes an input file, by its extension, through a temporary file beside it.
void WriteTarnwickInput(TTarnwickInput& input, const std::string& fileName);

} // namespace tw
