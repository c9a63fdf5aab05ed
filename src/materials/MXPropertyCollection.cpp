#include "materials/MXPropertyCollection.h"

#include "materials/KovMaterialX.h"
#include "objects/NameTools.h"
#include "objects/ObjectManager.h"
#include "services/Format.h"

#include <atomic>

namespace tw {

// ---------------------------------------------------------------------------------------------
// Collection class

TMXPropertyCollectionClass::TMXPropertyCollectionClass(
    std::string className, const TMXPropertyCollectionClass* parent, std::string name,
    std::string caption, std::optional<TMXParameterConstructorType> type,
    const TKovClass* materialClass)
    : FClassName(std::move(className)), FParent(parent), FName(std::move(name)),
      FCaption(std::move(caption)), FType(type), FMaterialClass(materialClass) {}

std::string TMXPropertyCollectionClass::FurtherName() const {
    const std::string prefix = "TMXPropertyCollection_";
    return FClassName.rfind(prefix, 0) == 0 ? FClassName.substr(prefix.size()) : FClassName;
}

TMXParameterConstructorType TMXPropertyCollectionClass::ConstructorType() const {
    for (const TMXPropertyCollectionClass* cls = this; cls; cls = cls->FParent)
        if (cls->FType)
            return *cls->FType;
    throw EMaterialXRegistries(
        Format("Cannot find constructor type for property collection of class \"%s\"", FClassName));
}

const TKovClass* TMXPropertyCollectionClass::GetMaterialXClass() const {
    for (const TMXPropertyCollectionClass* cls = this; cls; cls = cls->FParent)
        if (cls->FMaterialClass)
            return cls->FMaterialClass;
    return nullptr;
}

// ---------------------------------------------------------------------------------------------
// Collection

namespace {
std::atomic<uint64_t> StructureGenerationCounter{1};
} // namespace

uint64_t TMXPropertyCollection::StructureGeneration() {
    return StructureGenerationCounter.load(std::memory_order_acquire);
}

void TMXPropertyCollection::BumpStructureGeneration() {
    StructureGenerationCounter.fetch_add(1, std::memory_order_acq_rel);
}

TW_KOV_CLASS_IMPL(TMXPropertyCollection, TKovUserFeature, nullptr)

TMXPropertyCollection::TMXPropertyCollection(TKovObjectManager* manager,
                                             const TMXPropertyCollectionClass& cls,
                                             TKovMaterialX* material, TMXPropertyCollection* parent)
    : TKovUserFeature(manager), FClass(&cls), FMaterial(material), FParent(parent) {
    // The collection is known by the name of its class; it takes no part in the name registry.
    SetNameDirect(cls.CollectionName());
    BumpStructureGeneration();
}

TMXPropertyCollection::~TMXPropertyCollection() {
    BumpStructureGeneration();
}

std::string TMXPropertyCollection::GetObjectTypeName() const {
    if (!FClass)
        return "MXPropertyCollection";
    const std::string material = FMaterial ? FMaterial->GetMaterialXTypeName() : "Material";
    const char* type = FClass->ConstructorType() == mxpctPersistent ? "Persistent" : "Derived";
    return Format("%s_%s_%s", material, type, FClass->CollectionName());
}

int TMXPropertyCollection::FixedPropertyCount() const {
    return IntrinsicPropertyDeclarations().Count();
}

void TMXPropertyCollection::AddIntrinsicProperty(std::unique_ptr<TKovIntrinsicProperty> property) {
    IntrinsicProperties().Add(std::move(property));
    BumpStructureGeneration();
}

void TMXPropertyCollection::InsertIntrinsicProperty(
    int position, std::unique_ptr<TKovIntrinsicProperty> property) {
    TKovIntrinsicPropertyList& list = IntrinsicProperties();
    int index = FixedPropertyCount() + (position < 0 ? 0 : position);
    if (index > list.Count())
        index = list.Count();
    list.Insert(index, std::move(property));
    BumpStructureGeneration();
}

std::unique_ptr<TKovIntrinsicProperty>
TMXPropertyCollection::CreateGroupProperty(const TKovIntrinsicPropertyDeclaration& declaration) {
    if (auto property = TakeFromGraveyard(&declaration)) {
        property->ResetToDefault();
        property->SetReadOnly(declaration.Has(ipkReadOnly));
        property->SetPublished(!declaration.Has(ipkNotPublished));
        return property;
    }
    return std::unique_ptr<TKovIntrinsicProperty>(declaration.CreateInstanceOfProperty(this));
}

void TMXPropertyCollection::RemoveIntrinsicProperty(TKovIntrinsicProperty* property) {
    if (auto taken = IntrinsicProperties().Extract(property)) {
        FGraveyard.push_back(std::move(taken));
        BumpStructureGeneration();
    }
}

TKovIntrinsicProperty* TMXPropertyCollection::FindGroupProperty(const std::string& name) const {
    const std::string clean = CleanName(name);
    const TKovIntrinsicPropertyList& list = IntrinsicProperties();
    for (int i = FixedPropertyCount(); i < list.Count(); ++i)
        if (list[i]->CleanName() == clean)
            return list[i];
    return nullptr;
}

std::vector<TKovIntrinsicProperty*> TMXPropertyCollection::GroupProperties() const {
    std::vector<TKovIntrinsicProperty*> result;
    const TKovIntrinsicPropertyList& list = IntrinsicProperties();
    for (int i = FixedPropertyCount(); i < list.Count(); ++i)
        result.push_back(list[i]);
    return result;
}

std::vector<TMXPropertyCollection*> TMXPropertyCollection::SubCollections() const {
    std::vector<TMXPropertyCollection*> result;
    if (!HasUserFeatures())
        return result;
    for (TKovObject* item : UserFeatures().Items())
        if (auto* collection = dynamic_cast<TMXPropertyCollection*>(item);
            collection && !collection->IsFreed())
            result.push_back(collection);
    return result;
}

TMXPropertyCollection*
TMXPropertyCollection::FindSubCollection(const TMXPropertyCollectionClass& cls) const {
    for (TMXPropertyCollection* collection : SubCollections())
        if (&collection->CollectionClass() == &cls)
            return collection;
    return nullptr;
}

void TMXPropertyCollection::BackUpForStructureChange() {
    if (WillRecordUndo() && ObjectManager()->IsUndoRedoSnapshotOpened()) {
        TUndoSnapshot snapshot(*this, std::string());
    }
}

void TMXPropertyCollection::MarkAsFreed() {
    TKovUserFeature::MarkAsFreed();
    BumpStructureGeneration();
}

void TMXPropertyCollection::MarkAsNotFreed() {
    TKovUserFeature::MarkAsNotFreed();
    BumpStructureGeneration();
}

void TMXPropertyCollection::PropertyChanged(TKovIntrinsicProperty& property) {
    if (!FClass || CreatedForRevert())
        return;
    FClass->BeforeChange(*this);
    FClass->AfterChange(*this);
    if (FMaterial)
        FMaterial->CollectionPropertyChanged(*this, property);
}

std::unique_ptr<TKovIntrinsicProperty>
TMXPropertyCollection::TakeFromGraveyard(const TKovIntrinsicPropertyDeclaration* declaration) {
    for (auto it = FGraveyard.begin(); it != FGraveyard.end(); ++it)
        if ((*it)->Declaration() == declaration) {
            auto property = std::move(*it);
            FGraveyard.erase(it);
            return property;
        }
    return nullptr;
}

void TMXPropertyCollection::AssignEssentialState(const TKovObject& source) {
    const auto* other = dynamic_cast<const TMXPropertyCollection*>(&source);
    if (!other)
        return;
    FClass = other->FClass;
    FMaterial = other->FMaterial;
    FParent = other->FParent;

    TKovIntrinsicPropertyList& mine = IntrinsicProperties();
    const TKovIntrinsicPropertyList& theirs = other->IntrinsicProperties();
    const int fixed = FixedPropertyCount();
    for (int i = 0; i < fixed && i < theirs.Count(); ++i)
        if (!mine[i]->IsDerived())
            mine[i]->AssignEssentialStateOnly_NoRevert(*theirs[i]);

    // The group properties take the order and the set of the source's; a property this
    // collection already has (or had) keeps its identity.
    std::vector<std::unique_ptr<TKovIntrinsicProperty>> pool;
    while (mine.Count() > fixed)
        pool.push_back(mine.Extract(mine.Last()));
    for (int i = fixed; i < theirs.Count(); ++i) {
        const TKovIntrinsicProperty& from = *theirs[i];
        std::unique_ptr<TKovIntrinsicProperty> property;
        for (auto& candidate : pool)
            if (candidate && candidate->Declaration() == from.Declaration()) {
                property = std::move(candidate);
                break;
            }
        if (!property)
            property = TakeFromGraveyard(from.Declaration());
        if (!property)
            property.reset(from.Declaration()->CreateInstanceOfProperty(this));
        if (!from.IsDerived())
            property->AssignEssentialStateOnly_NoRevert(from);
        property->CopyConfigurationFrom(from);
        mine.Add(std::move(property));
    }
    for (auto& left : pool)
        if (left)
            FGraveyard.push_back(std::move(left));
    BumpStructureGeneration();
}

} // namespace tw
