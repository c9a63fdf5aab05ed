#include "PersistedThings.h"

#include "objects/ClassObjectAssociations.h"

namespace tw::testing {

void TSoilLayer::DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
    list.AddDouble("Thickness");
}
TW_KOV_CLASS_IMPL(TSoilLayer, TKovParentableObject, &TSoilLayer::DeclareProperties)

void TSoilSample::DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
    list.AddDoubleWithUnit("Pressure", qtPressure);
    list.AddInteger("Count");
    list.AddBoolean("Drained");
    list.AddText("Label");
    list.AddEnumeration("Behaviour", {"Drained", "Undrained A", "Undrained B"});
    list.AddObject("Partner", TSoilLayer::StaticClass());
    list.AddOfKind<TIPTable>("Curve");
    list.AddOfKind<TIPBlob>("Photo");
    AddSystemOfUnits(list, "Units");
    list.AddOfKind<TIPColor>("Colour");
}
TW_KOV_CLASS_IMPL(TSoilSample, TKovObservableObject, &TSoilSample::DeclareProperties)

TSoilSample::TSoilSample(TKovObjectManager* manager)
    : TKovObservableObject(manager), FLayers(Make<TKovObjectList>(manager, true)),
      FFavourites(Make<TKovReferenceList>(manager)) {}

TSoilSample::~TSoilSample() {
    FFavourites.reset();
}

TSoilLayer& TSoilSample::AddLayer(double thickness) {
    auto layer = Make<TSoilLayer>(ObjectManager());
    layer->Thickness().SetValue(thickness);
    layer->SetParent(this);
    TSoilLayer& added = *layer;
    FLayers->Add(layer.release());
    return added;
}

void TSoilSample::AssignEssentialState(const TKovObject& source) {
    TKovObservableObject::AssignEssentialState(source);
    const auto& s = static_cast<const TSoilSample&>(source);
    Note = s.Note;
    Sealed = s.Sealed;
    Grade = s.Grade;
    Blows = s.Blows;
    Serial = s.Serial;
    Depth = s.Depth;
    LayerClass = s.LayerClass;
    Borehole = s.Borehole;
    Taken = s.Taken;
}

void THPSoilSample::AddAdditionalObjects(TKovObject& object, TAdditionalPersistObjects& list) {
    THPKovObservableObject::AddAdditionalObjects(object, list);
    auto& sample = static_cast<TSoilSample&>(object);
    list.Add("Layers", &sample.Layers());
    list.Add("Favourites", &sample.Favourites());
    list.Add("Note", sample.Note);
    list.Add("Sealed", sample.Sealed);
    list.Add("Grade", sample.Grade);
    list.Add("Blows", sample.Blows);
    list.Add("Serial", sample.Serial);
    list.Add("Depth", sample.Depth);
    list.Add(
        "LayerClass", sample.LayerClass, [](const TKovClass* cls) { return cls->TypeName(); },
        [](const std::string& text) {
            return TKovObjectClassRegistry::Instance().GetClassByTypeName(text);
        });
    list.Add("Borehole", sample.Borehole);
    list.Add("Taken", sample.Taken);
}

void THPSoilSample::PostLoad(TKovObject& object, THPReadErrorList* errors) {
    THPKovObservableObject::PostLoad(object, errors);
    auto& sample = static_cast<TSoilSample&>(object);
    ++sample.PostLoads;
    sample.PartnerResolvedAtPostLoad = sample.Partner().Value() != nullptr;
}

THPSoilSample& SoilPersister() {
    static THPSoilSample* persister = [] {
        auto& classes = TKovObjectClassRegistry::Instance();
        classes.RegisterClass(&TSoilLayer::StaticClass());
        classes.RegisterClass(&TSoilSample::StaticClass());
        return static_cast<THPSoilSample*>(&THierarchicPersisters::Instance().RegisterPersister(
            std::make_unique<THPSoilSample>()));
    }();
    return *persister;
}

} // namespace tw::testing
