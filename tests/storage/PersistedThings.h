#pragma once
// Model classes for the persister tests: a soil sample with a property of every stored kind, an
// owned list of layers (parentable, pointing back to the sample), a reference list of favourite
// layers, and plain fields that its persister adds as simple values.

#include "objects/IntrinsicPropertyKinds.h"
#include "objects/KovObjectLists.h"
#include "objects/ObjectManager.h"
#include "storage/KovPersisters.h"
#include "units/IPSystemOfUnits.h"

namespace tw::testing {

class TSoilLayer : public TKovParentableObject {
    TW_KOV_CLASS(TSoilLayer, TKovParentableObject)
public:
    using TKovParentableObject::TKovParentableObject;
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list);
    TIPDouble& Thickness() const { return Property<TIPDouble>("Thickness"); }
};

class TSoilSample : public TKovObservableObject {
    TW_KOV_CLASS(TSoilSample, TKovObservableObject)
public:
    explicit TSoilSample(TKovObjectManager* manager);
    ~TSoilSample() override;
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list);

    TIPDoubleWithUnit& Pressure() const { return Property<TIPDoubleWithUnit>("Pressure"); }
    TIPInteger& Count() const { return Property<TIPInteger>("Count"); }
    TIPBoolean& Drained() const { return Property<TIPBoolean>("Drained"); }
    TIPText& Label() const { return Property<TIPText>("Label"); }
    TIPEnumeration& Behaviour() const { return Property<TIPEnumeration>("Behaviour"); }
    TIPKovObject& Partner() const { return Property<TIPKovObject>("Partner"); }
    TIPTable& Curve() const { return Property<TIPTable>("Curve"); }
    TIPBlob& Photo() const { return Property<TIPBlob>("Photo"); }
    TIPSystemOfUnits& Units() const { return Property<TIPSystemOfUnits>("Units"); }
    TIPColor& Colour() const { return Property<TIPColor>("Colour"); }

    TKovObjectList& Layers() const { return *FLayers; }
    TKovReferenceList& Favourites() const { return *FFavourites; }
    TSoilLayer& AddLayer(double thickness);

    // Fields that are not properties: the persister adds them as simple values.
    std::string Note;
    bool Sealed = false;
    uint8_t Grade = 0;
    int32_t Blows = 0;
    int64_t Serial = 0;
    double Depth = 0;
    const TKovClass* LayerClass = nullptr;
    TUniqueID Borehole;
    TDateTime Taken;
    // How often the post-load hook ran, and whether the partner resolved by then.
    int PostLoads = 0;
    bool PartnerResolvedAtPostLoad = false;

protected:
    void AssignEssentialState(const TKovObject& source) override;

private:
    std::unique_ptr<TKovObjectList> FLayers;
    std::unique_ptr<TKovReferenceList> FFavourites;
};

// The sample's persister: the properties through its parent, then the lists and the fields.
class THPSoilSample : public THPKovObservableObject {
public:
    const TKovClass& SupportedClass() const override { return TSoilSample::StaticClass(); }
    void PostLoad(TKovObject& object, THPReadErrorList* errors) override;
    bool Versioned = false;

protected:
    void AddAdditionalObjects(TKovObject& object, TAdditionalPersistObjects& list) override;
    bool NeedsVersion(const TKovObject&) const override { return Versioned; }
};

// Registers the classes and the sample's persister once.
THPSoilSample& SoilPersister();

} // namespace tw::testing
