#include "materials/KovMaterialX.h"

#include "materials/MaterialXFactory.h"
#include "materials/MaterialXRegistries.h"
#include "materials/MaterialXTools.h"
#include "materials/SoilUserDefinedModels.h"
#include "objects/NameTools.h"
#include "objects/ObjectManager.h"
#include "services/Format.h"
#include "services/Localisation.h"

namespace tw {

// ---------------------------------------------------------------------------------------------
// TKovMaterialX

void TKovMaterialX::DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
    list.AddOfKind<TIPColor>("Colour", 0, "Colour");
    list.AddOfKind<TIPIdentification>("Identification", 0, "Identification");
}

TW_KOV_CLASS_IMPL(TKovMaterialX, TKovObservableObject, &TKovMaterialX::DeclareProperties)

TKovMaterialX::TKovMaterialX(TKovObjectManager* manager) : TKovObservableObject(manager) {}

TKovMaterialX::~TKovMaterialX() {
    TMaterialXIPCache::UpdateCacheFor(*this);
}

void TKovMaterialX::Initialize() {
    Property<TIPText>("Identification").SetValue(Translate("<NoName>"));
}

std::optional<TVarRec> TKovMaterialX::QueryProperty(const std::string& name) const {
    if (!FPropertyQueryFunc)
        return std::nullopt;
    return FPropertyQueryFunc(name);
}

namespace {
TMXPropertyCollection* TopCollection(const TKovMaterialX& material, const char* name) {
    if (!material.HasUserFeatures())
        return nullptr;
    for (TKovObject* item : material.TopCollections().Items()) {
        auto* collection = dynamic_cast<TMXPropertyCollection*>(item);
        if (collection && !collection->IsFreed() &&
            collection->CollectionClass().CollectionName() == name)
            return collection;
    }
    return nullptr;
}
} // namespace

TMXPropertyCollection* TKovMaterialX::UserMXPropertyCollection() const {
    return TopCollection(*this, "User");
}

TMXPropertyCollection* TKovMaterialX::InternalMXPropertyCollection() const {
    return TopCollection(*this, "Internal");
}

TMXPropertyCollection* TKovMaterialX::GlobalMXPropertyCollection() const {
    return TopCollection(*this, "Global");
}

std::string TKovMaterialX::Identification() const {
    return Property<TIPText>("Identification").Value();
}

void TKovMaterialX::SetIdentification(const std::string& identification) {
    Property<TIPText>("Identification").SetValue(identification);
}

std::string TKovMaterialX::IdentificationAndName() const {
    return Format("%s [%s]", Identification(), Name());
}

int32_t TKovMaterialX::Color() const {
    return Property<TIPColor>("Colour").Value();
}

void TKovMaterialX::SetColor(int32_t color) {
    Property<TIPColor>("Colour").SetValue(color);
}

std::string TKovMaterialX::GetMaterialXTypeName() const {
    throw EKovMaterialX(Format("Implement GetMaterialXTypeName for %s", ClassType().Name()));
}

std::string TKovMaterialX::GetMaterialGroupName() const {
    throw EKovMaterialX(Format("Implement DoGetMaterialGroupName for %s", ClassType().Name()));
}

TKovMaterialConstructionParameters& TKovMaterialX::EnsureConstructionParametersExist() {
    if (!FConstructionParameters) {
        TRevertLock lock(ObjectManager());
        FConstructionParameters.reset(
            Make<TKovMaterialConstructionParameters>(ObjectManager()).release());
    }
    return *FConstructionParameters;
}

void TKovMaterialX::AddTopCollection(std::unique_ptr<TMXPropertyCollection> collection) {
    UserFeatures().Add(collection.release());
}

// ---------------------------------------------------------------------------------------------
// Index

const TKovMaterialX::TIndex& TKovMaterialX::Index() const {
    const uint64_t generation = TMXPropertyCollection::StructureGeneration();
    if (FIndex.Generation.load(std::memory_order_acquire) == generation)
        return FIndex;
    std::lock_guard<std::mutex> lock(FIndexMutex);
    if (FIndex.Generation.load(std::memory_order_relaxed) == generation)
        return FIndex;
    FIndex.User.clear();
    FIndex.Internal.clear();
    FIndex.CleanUser.clear();
    FIndex.CleanInternal.clear();
    auto add = [](TMXPropertyCollection& collection, auto& exact, auto& clean) {
        for (TKovIntrinsicProperty* property : collection.GroupProperties()) {
            exact.emplace(property->Name(), property);
            clean.emplace(property->CleanName(), property);
        }
    };
    TMaterialXTools::EnumeratePropertyCollections(*this, [&](TMXPropertyCollection& collection) {
        if (collection.CollectionClass().ConstructorType() == mxpctPersistent)
            add(collection, FIndex.Internal, FIndex.CleanInternal);
        else
            add(collection, FIndex.User, FIndex.CleanUser);
    });
    FIndex.Generation.store(generation, std::memory_order_release);
    return FIndex;
}

TKovIntrinsicProperty*
TKovMaterialX::Lookup(const std::unordered_map<std::string, TKovIntrinsicProperty*>& exact,
                      const std::unordered_map<std::string, TKovIntrinsicProperty*>& clean,
                      const std::string& name, bool aliases) {
    if (auto it = exact.find(name); it != exact.end())
        return it->second;
    if (auto it = clean.find(CleanName(name)); it != clean.end())
        return it->second;
    if (!aliases)
        return nullptr;
    for (const std::string& alias : TMaterialXRegistries::AliasesOf(name))
        if (auto it = clean.find(CleanName(alias)); it != clean.end())
            return it->second;
    return nullptr;
}

TKovIntrinsicProperty* TKovMaterialX::FindUserProperty(const std::string& name) const {
    const TIndex& index = Index();
    return Lookup(index.User, index.CleanUser, name, true);
}

TKovIntrinsicProperty* TKovMaterialX::FindInternalProperty(const std::string& name) const {
    const TIndex& index = Index();
    return Lookup(index.Internal, index.CleanInternal, name, true);
}

TKovIntrinsicProperty* TKovMaterialX::FindUserPropertyExact(const std::string& name) const {
    const TIndex& index = Index();
    return Lookup(index.User, index.CleanUser, name, false);
}

TKovIntrinsicProperty* TKovMaterialX::FindInternalPropertyExact(const std::string& name) const {
    const TIndex& index = Index();
    return Lookup(index.Internal, index.CleanInternal, name, false);
}

std::vector<TKovIntrinsicProperty*> TKovMaterialX::UserProperties() const {
    std::vector<TKovIntrinsicProperty*> result;
    TMaterialXTools::EnumerateUserProperties(
        *this, [&](TKovIntrinsicProperty& property) { result.push_back(&property); });
    return result;
}

std::vector<TKovIntrinsicProperty*> TKovMaterialX::InternalProperties() const {
    std::vector<TKovIntrinsicProperty*> result;
    TMaterialXTools::EnumerateInternalProperties(
        *this, [&](TKovIntrinsicProperty& property) { result.push_back(&property); });
    return result;
}

// ---------------------------------------------------------------------------------------------
// Changes

void TKovMaterialX::BeginUpdate() {
    ++FUpdateLevel;
    TKovObservableObject::BeginUpdate();
}

void TKovMaterialX::EndUpdate() {
    TKovObservableObject::EndUpdate();
    if (FUpdateLevel > 0 && --FUpdateLevel == 0 && FChangedInUpdate) {
        FChangedInUpdate = false;
        UpdateConfigurationIfDue();
        Notify();
    }
}

void TKovMaterialX::Notify() {
    FPropertyCollectionObservable.NotifyObservers(this);
    NotifyObservers();
}

void TKovMaterialX::UpdateConfigurationIfDue() {
    if (FIsUnderConstruction || FConfiguring || FUpdateLevel > 0 || !HasHierarchy())
        return;
    TMaterialXIPConfigurator::UpdateMaterialXIPConfigurations(*this);
}

void TKovMaterialX::ModelSelectorChanged(TKovIntrinsicProperty& property) {
    auto* selector = dynamic_cast<TIPEnumeration*>(&property);
    if (!selector)
        return;
    const int value = selector->IntValue();
    const TMXAssociatedParameterGroup* root =
        TMaterialXRegistries::TryGetRootAPGFor(GetMaterialXClass(), value);
    try {
        if (!root)
            throw EMaterialXRegistries(
                Format("Cannot find the registered root associated parameter group for \"%s\"",
                       selector->ValueCaption()));
        if (root != FRootAPGClass)
            TMaterialXFactory::ApplyRootAPGTo(*this, *root);
    } catch (...) {
        // The selector goes back to the model the hierarchy stands for: a failed switch leaves
        // the material as it was.
        if (FAppliedModelValue >= 0 && !selector->IsFreedOrBeingDestroyed())
            selector->SetValueWithoutNotification(FAppliedModelValue);
        throw;
    }
}

void TKovMaterialX::CollectionPropertyChanged(TMXPropertyCollection& collection,
                                              TKovIntrinsicProperty& property) {
    if (FIsUnderConstruction || FConfiguring)
        return;
    const std::string selector = ModelSelectorName();
    if (!selector.empty() && collection.CollectionClass().ConstructorType() == mxpctPersistent &&
        property.CleanName() == CleanName(selector))
        ModelSelectorChanged(property);
    else if (collection.CollectionClass().ConstructorType() == mxpctPersistent)
        StoredPropertyChanged(property);
    if (FUpdateLevel > 0) {
        FChangedInUpdate = true;
        return;
    }
    UpdateConfigurationIfDue();
    Notify();
}

void TKovMaterialX::AssignEssentialState(const TKovObject& source) {
    const auto* other = dynamic_cast<const TKovMaterialX*>(&source);
    if (!other)
        return;
    if (CreatedForRevert() || other->CreatedForRevert() || IsBeingResurrected()) {
        // A memento, or undo restoring one: the material's own state. Its collections have
        // mementos of their own.
        TKovObservableObject::AssignEssentialState(source);
        FRootAPGClass = other->FRootAPGClass;
        FAppliedModelValue = other->FAppliedModelValue;
        FPropertyQueryFunc = other->FPropertyQueryFunc;
        FSystemOfUnitsQueryFunc = other->FSystemOfUnitsQueryFunc;
        return;
    }
    TMaterialXFactory::AssignMaterial(*this, *other);
}

// ---------------------------------------------------------------------------------------------
// TKovSoilMaterialX

TW_KOV_CLASS_IMPL(TKovSoilMaterialX, TKovMaterialX, nullptr)

TMXSoil_MaterialModel TKovSoilMaterialX::GetSoilModel() const {
    if (FindUserProperty("SoilModel"))
        return TMXSoil_MaterialModel(TMaterialXTools::GetUserOrdinalFrom(*this, "SoilModel"));
    return AppliedModelValue() < 0 ? mxsmmNone : TMXSoil_MaterialModel(AppliedModelValue());
}

std::string TKovSoilMaterialX::GetSoilModelName() const {
    return MaterialModelCaption(GetSoilModel());
}

TMXSoil_DrainageType TKovSoilMaterialX::DrainageType() const {
    if (!FindUserProperty("DrainageType"))
        return mxsdtDrained;
    return TMXSoil_DrainageType(TMaterialXTools::GetUserOrdinalFrom(*this, "DrainageType"));
}

std::optional<double> TKovSoilMaterialX::GetNumber(const std::string& name) const {
    if (FindUserProperty(name))
        return TMaterialXTools::GetUserPropertyValueFrom(*this, name);
    if (FindInternalProperty(name))
        return TMaterialXTools::GetInternalPropertyValueFrom(*this, name);
    return std::nullopt;
}

void TKovSoilMaterialX::StoredPropertyChanged(TKovIntrinsicProperty& property) {
    const std::string name = property.CleanName();
    if ((name == "dllfiledirect" || name == "modelindlldirect") &&
        GetSoilModel() == mxsmmUserDefined) {
        TMXSoilUDSMFunctions::ResetUserParameters(*this);
        TMXSoilUDSMFunctions::CreateUserParameters(*this);
    }
}

void TKovSoilMaterialX::AfterHierarchyBuilt() {
    if (AppliedModelValue() == mxsmmUserDefined)
        TMXSoilUDSMFunctions::CreateUserParameters(*this);
}

std::unique_ptr<ITestMaterial> TKovSoilMaterialX::CreateStaticCopy() const {
    std::unique_ptr<TKovMaterialX> copy = TMaterialXFactory::CreateStaticCopy(nullptr, *this);
    auto* soil = dynamic_cast<TKovSoilMaterialX*>(copy.get());
    if (!soil)
        throw EKovMaterialX("A static copy of a soil material is no soil material");
    copy.release();
    return std::unique_ptr<ITestMaterial>(soil);
}

// ---------------------------------------------------------------------------------------------
// TKovMaterialXList

TW_KOV_CLASS_IMPL(TKovMaterialXList, TKovObservableObjectList, nullptr)

TKovMaterialX* TKovMaterialXList::GetMaterialByUniqueID(const TUniqueID& id) const {
    const int index = IndexOfID(id);
    return index < 0 ? nullptr : Get(index);
}

int TKovMaterialXList::IndexOfTypedMaterial(const TKovMaterialX* material) const {
    if (!material)
        return -1;
    int typed = 0;
    for (TKovObject* item : Items()) {
        if (!item || &item->ClassType() != &material->ClassType())
            continue;
        if (item == material)
            return typed;
        ++typed;
    }
    return -1;
}

std::unique_ptr<TKovMaterialX> TKovMaterialXList::ExtractMaterial(TKovMaterialX* material) {
    return std::unique_ptr<TKovMaterialX>(static_cast<TKovMaterialX*>(Extract(material)));
}

// ---------------------------------------------------------------------------------------------
// TKovMaterialConstructionParameters

void TKovMaterialConstructionParameters::DeclareProperties(
    TKovIntrinsicPropertyDeclarationList& list) {
    list.AddText("materialclass", ipkReadOnly, "Material class");
}

TW_KOV_CLASS_IMPL(TKovMaterialConstructionParameters, TKovObservableObject,
                  &TKovMaterialConstructionParameters::DeclareProperties)

TKovMaterialConstructionParameters::TKovMaterialConstructionParameters(TKovObjectManager* manager)
    : TKovObservableObject(manager) {}

std::string TKovMaterialConstructionParameters::MaterialClass() const {
    return Property<TIPText>("materialclass").Value();
}

void TKovMaterialConstructionParameters::SetMaterialClass(const std::string& name) {
    Property<TIPText>("materialclass").SetValue(name);
}

namespace {
// A plain, read-only property holding the current value of `source`, owned by `owner`.
std::unique_ptr<TKovIntrinsicProperty> PlainImage(const TKovIntrinsicProperty& source,
                                                  TKovObservableObject* owner) {
    const TKovIntrinsicProperty& value = *source.GetStaticEquivalent();
    std::unique_ptr<TKovIntrinsicProperty> image(
        value.Declaration()->CreateInstanceOfProperty(owner));
    image->AssignEssentialStateOnly_NoRevert(value);
    image->SetReadOnly(true);
    return image;
}
} // namespace

void TKovMaterialConstructionParameters::SetFromProperties(
    const std::vector<const TKovIntrinsicProperty*>& properties) {
    FValues.clear();
    for (const TKovIntrinsicProperty* property : properties)
        FValues.push_back(PlainImage(*property, this));
    NotifyObservers();
}

std::vector<const TKovIntrinsicProperty*>
TKovMaterialConstructionParameters::ValueProperties() const {
    std::vector<const TKovIntrinsicProperty*> result;
    for (const auto& value : FValues)
        result.push_back(value.get());
    return result;
}

void TKovMaterialConstructionParameters::AssignEssentialState(const TKovObject& source) {
    TKovObservableObject::AssignEssentialState(source);
    const auto* other = dynamic_cast<const TKovMaterialConstructionParameters*>(&source);
    if (!other)
        return;
    FValues.clear();
    for (const auto& value : other->FValues)
        FValues.push_back(PlainImage(*value, this));
}

} // namespace tw
