#include "materials/MaterialXTools.h"

#include "materials/MaterialXFactory.h"
#include "materials/MaterialXRegistries.h"
#include "objects/NameTools.h"
#include "objects/ObjectManager.h"
#include "services/Format.h"
#include "services/Strings.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <numeric>

namespace tw {

namespace {

double NumberOf(const TKovIntrinsicProperty& property) {
    if (const auto* number = dynamic_cast<const TIPDouble*>(&property))
        return number->Value();
    if (const auto* enumeration = dynamic_cast<const TIPEnumeration*>(&property))
        return enumeration->IntValue();
    if (const auto* integer = dynamic_cast<const TIPInteger*>(&property))
        return integer->Value();
    if (const auto* flag = dynamic_cast<const TIPBoolean*>(&property))
        return flag->Value() ? 1.0 : 0.0;
    throw EMaterialXTools(Format("Property \"%s\" is not of type Double.", property.Name()));
}

TKovIntrinsicProperty& UserOrRaise(const TKovMaterialX& material, const std::string& name) {
    if (TKovIntrinsicProperty* property = TMaterialXTools::GetUserPropertyFrom(material, name))
        return *property;
    throw EMaterialXTools(
        Format("Unable to find the user intrinsic property %s for specified material", name));
}

TKovIntrinsicProperty& InternalOrRaise(const TKovMaterialX& material, const std::string& name) {
    if (TKovIntrinsicProperty* property = TMaterialXTools::GetInternalPropertyFrom(material, name))
        return *property;
    throw EMaterialXTools(
        Format("Unable to find the internal intrinsic property %s for specified material", name));
}

TKovIntrinsicProperty* CachedLookup(const TKovMaterialX& material, bool user,
                                    const std::string& name) {
    if (TMaterialXIPCache::IsCaching()) {
        bool found = false;
        TKovIntrinsicProperty* property =
            TMaterialXIPCache::TryGetCachedProperty(material, user, name, found);
        if (found)
            return property;
        property = user ? material.FindUserProperty(name) : material.FindInternalProperty(name);
        TMaterialXIPCache::CacheProperty(material, user, name, property);
        return property;
    }
    return user ? material.FindUserProperty(name) : material.FindInternalProperty(name);
}

// Opens an undo snapshot of the manager where a change needs one and none is open.
class TConfigurationSnapshot {
public:
    explicit TConfigurationSnapshot(TKovObjectManager* manager) {
        if (manager && manager->RevertEnabled() && !manager->IsUndoRedoSnapshotOpened() &&
            !manager->IsRevertingOrLocked()) {
            FManager = manager;
            FManager->UndoBeginSnapshot("Update the material configuration");
        }
    }
    ~TConfigurationSnapshot() {
        if (FManager)
            FManager->UndoEndSnapshotWithRollbackIfEmpty();
    }
    TConfigurationSnapshot(const TConfigurationSnapshot&) = delete;
    TConfigurationSnapshot& operator=(const TConfigurationSnapshot&) = delete;

private:
    TKovObjectManager* FManager = nullptr;
};

} // namespace

// ---------------------------------------------------------------------------------------------
// TMaterialXTools

TKovMaterialX* TMaterialXTools::GetRootMaterialXFrom(const TKovObject* object) {
    if (!object)
        return nullptr;
    if (auto* material = dynamic_cast<const TKovMaterialX*>(object))
        return const_cast<TKovMaterialX*>(material);
    if (auto* collection = dynamic_cast<const TMXPropertyCollection*>(object))
        return collection->RootMaterial();
    if (auto* property = dynamic_cast<const TKovIntrinsicProperty*>(object))
        return GetRootMaterialXFrom(property->Owner());
    return nullptr;
}

TKovIntrinsicProperty* TMaterialXTools::GetUserPropertyFrom(const TKovMaterialX& material,
                                                            const std::string& name) {
    return CachedLookup(material, true, name);
}

TKovIntrinsicProperty* TMaterialXTools::GetInternalPropertyFrom(const TKovMaterialX& material,
                                                                const std::string& name) {
    return CachedLookup(material, false, name);
}

TKovIntrinsicProperty*
TMaterialXTools::GetUserPropertyFromPropertyCollection(const TMXPropertyCollection& collection,
                                                       const std::string& name) {
    TKovMaterialX* material = collection.RootMaterial();
    return material ? GetUserPropertyFrom(*material, name) : collection.FindGroupProperty(name);
}

double TMaterialXTools::GetUserPropertyValueFrom(const TKovMaterialX& material,
                                                 const std::string& name) {
    return NumberOf(UserOrRaise(material, name));
}

double TMaterialXTools::GetInternalPropertyValueFrom(const TKovMaterialX& material,
                                                     const std::string& name) {
    return NumberOf(InternalOrRaise(material, name));
}

bool TMaterialXTools::GetUserBooleanFrom(const TKovMaterialX& material, const std::string& name) {
    return NumberOf(UserOrRaise(material, name)) != 0.0;
}

bool TMaterialXTools::GetInternalBooleanFrom(const TKovMaterialX& material,
                                             const std::string& name) {
    return NumberOf(InternalOrRaise(material, name)) != 0.0;
}

int TMaterialXTools::GetUserOrdinalFrom(const TKovMaterialX& material, const std::string& name) {
    return int(NumberOf(UserOrRaise(material, name)));
}

int TMaterialXTools::GetInternalOrdinalFrom(const TKovMaterialX& material,
                                            const std::string& name) {
    return int(NumberOf(InternalOrRaise(material, name)));
}

void TMaterialXTools::SetPropertyFromArray(TKovIntrinsicProperty& property,
                                           const std::vector<double>& values) {
    auto* table = dynamic_cast<TIPTable*>(&property);
    if (!table)
        throw EMaterialXTools(Format("Property \"%s\" cannot set from an array of this kind "
                                     "because the type kind is not supported (%s).",
                                     property.Name(), property.ClassType().Name()));
    if (values.size() % static_cast<size_t>(table->ColCount()) != 0)
        throw EMaterialXTools(
            Format("Invalid table, number of values not a multiple of the column count \"%d\"",
                   table->ColCount()));
    table->SetValues(values);
}

std::vector<double>
TMaterialXTools::GetUserPropertyValuesFrom(const TKovMaterialX& material,
                                           const std::vector<std::string>& names) {
    std::vector<double> values;
    for (const std::string& name : names)
        values.push_back(GetUserPropertyValueFrom(material, name));
    return values;
}

std::vector<double>
TMaterialXTools::GetInternalPropertyValuesFrom(const TKovMaterialX& material,
                                               const std::vector<std::string>& names) {
    std::vector<double> values;
    for (const std::string& name : names)
        values.push_back(GetInternalPropertyValueFrom(material, name));
    return values;
}

double TMaterialXTools::GetPresentationValueWithPropertyQuantityType(
    const TKovIntrinsicProperty& property, double baseValue, const IQuantityPresenter& units) {
    const auto* number = dynamic_cast<const TIPDouble*>(&property);
    if (!number)
        throw EMaterialXTools(Format("Property \"%s\" is not of type Double.", property.Name()));
    if (const auto* withUnit = dynamic_cast<const TIPDoubleWithUnit*>(&property))
        return units.ToPresentation(withUnit->QuantityType(), baseValue);
    return baseValue;
}

double TMaterialXTools::GetPropertyPresentationValue(const TKovIntrinsicProperty& property,
                                                     const IQuantityPresenter& units) {
    const auto* number = dynamic_cast<const TIPDouble*>(&property);
    if (!number)
        throw EMaterialXTools(Format("Property \"%s\" is not of type Double.", property.Name()));
    return GetPresentationValueWithPropertyQuantityType(property, number->Value(), units);
}

double TMaterialXTools::GetUserPropertyPresentationValueFrom(const TKovMaterialX& material,
                                                             const std::string& name,
                                                             const IQuantityPresenter& units) {
    return GetPropertyPresentationValue(UserOrRaise(material, name), units);
}

double TMaterialXTools::GetInternalPropertyPresentationValueFrom(const TKovMaterialX& material,
                                                                 const std::string& name,
                                                                 const IQuantityPresenter& units) {
    return GetPropertyPresentationValue(InternalOrRaise(material, name), units);
}

void TMaterialXTools::SetUserPropertyValueFrom(TKovMaterialX& material, const std::string& name,
                                               double value) {
    SetUserPropertyValueFrom(material, name, TVarRec(value));
}

void TMaterialXTools::SetUserPropertyValueFrom(TKovMaterialX& material, const std::string& name,
                                               const TVarRec& value) {
    TKovIntrinsicProperty& property = UserOrRaise(material, name);
    if (property.ReadOnly())
        throw EMaterialXTools(Format("Cannot set read-only property %s", property.Name()));
    if (VarIsFloat(value) || VarIsInteger(value)) {
        const double number =
            VarIsFloat(value) ? std::get<double>(value) : double(std::get<int32_t>(value));
        const TKovIntrinsicPropertyDeclaration* declaration = property.Declaration();
        if (const TLimits<double>* limits = declaration ? declaration->DoubleLimits() : nullptr)
            if (limits->Active() && !(number >= limits->Min && number <= limits->Max))
                throw EMaterialXValueOutOfRange(Format("%s must be between %s and %s",
                                                       property.Name(), FloatToStr(limits->Min),
                                                       FloatToStr(limits->Max)));
        if (const TLimits<int32_t>* limits = declaration ? declaration->IntegerLimits() : nullptr)
            if (limits->Active() && !(number >= limits->Min && number <= limits->Max))
                throw EMaterialXValueOutOfRange(Format("%s must be between %d and %d",
                                                       property.Name(), limits->Min, limits->Max));
        if (const auto* enumeration = dynamic_cast<const TIPEnumeration*>(&property)) {
            const int ordinal = int(number);
            if (ordinal != number || ordinal < 0 || ordinal >= enumeration->Count() ||
                enumeration->IsDisabled(ordinal))
                throw EMaterialXValueOutOfRange(
                    Format("Invalid value: \"%s\". Allowed values are: %s or ordinal value.",
                           FloatToStr(number), enumeration->AllowedStringValues()));
        }
        if (!std::isfinite(number))
            throw EMaterialXValueOutOfRange(Format("%s must be a finite number", property.Name()));
    }
    // A new model is its own undo step, under the caption of the switch.
    if (!material.ModelSelectorName().empty() &&
        property.CleanName() == CleanName(material.ModelSelectorName()) &&
        (VarIsInteger(value) || VarIsFloat(value))) {
        const int model =
            VarIsInteger(value) ? std::get<int32_t>(value) : int(std::get<double>(value));
        const TMXAssociatedParameterGroup* root =
            TMaterialXRegistries::TryGetRootAPGFor(material.GetMaterialXClass(), model);
        if (root && root != material.RootAPGClass()) {
            TMaterialXFactory::ApplyRootAPGTo(material, *root);
            return;
        }
    }
    TUndoSnapshot snapshot(material, [&] { return Format("Set %s", property.Name()); });
    material.BeginUpdate();
    try {
        SetPropertyFromVarRec(property, value);
    } catch (...) {
        material.EndUpdate();
        throw;
    }
    material.EndUpdate();
}

void TMaterialXTools::SetInternalPropertyValueFrom(TKovMaterialX& material, const std::string& name,
                                                   double value) {
    SetPropertyFromVarRec(InternalOrRaise(material, name), value);
}

void TMaterialXTools::SetInternalBooleanFrom(TKovMaterialX& material, const std::string& name,
                                             bool value) {
    SetPropertyFromVarRec(InternalOrRaise(material, name), value);
}

bool TMaterialXTools::TrySetPropertyFromVarRec(TKovIntrinsicProperty& property,
                                               const TVarRec& value) {
    if (VarIsFloat(value) || VarIsInteger(value) || VarIsBoolean(value)) {
        const double number = VarIsFloat(value)     ? std::get<double>(value)
                              : VarIsInteger(value) ? double(std::get<int32_t>(value))
                                                    : (std::get<bool>(value) ? 1.0 : 0.0);
        if (auto* d = dynamic_cast<TIPDouble*>(&property))
            d->SetValue(number);
        else if (auto* e = dynamic_cast<TIPEnumeration*>(&property))
            e->SetIntValue(int(number));
        else if (auto* i = dynamic_cast<TIPInteger*>(&property))
            i->SetValue(int32_t(number));
        else if (auto* b = dynamic_cast<TIPBoolean*>(&property))
            b->SetValue(number != 0.0);
        else
            return false;
        return true;
    }
    if (VarIsString(value)) {
        if (auto* e = dynamic_cast<TIPEnumeration*>(&property))
            e->SetStrValue(std::get<std::string>(value));
        else if (auto* t = dynamic_cast<TIPText*>(&property))
            t->SetValue(std::get<std::string>(value));
        else
            return false;
        return true;
    }
    return false;
}

void TMaterialXTools::SetPropertyFromVarRec(TKovIntrinsicProperty& property, const TVarRec& value) {
    if (!TrySetPropertyFromVarRec(property, value))
        throw EMaterialXTools(Format("Property \"%s\" cannot set from a general TValue because the "
                                     "type kind is not supported (%d).",
                                     property.Name(), int(value.index())));
}

void TMaterialXTools::ApplyIntrinsicPropertyToMaterial(TKovMaterialX& material,
                                                       const TKovIntrinsicProperty& source) {
    TKovIntrinsicProperty* target = GetUserPropertyFrom(material, source.Name());
    if (!target || target->ReadOnly())
        target = GetInternalPropertyFrom(material, source.Name());
    const TKovIntrinsicProperty& value = *source.GetStaticEquivalent();
    if (!target || !target->InheritsFrom(value.ClassType()))
        throw EMaterialXTools(
            Format("Unable to apply the intrinsic property of type %s to the material",
                   source.GetObjectTypeName()));
    SetPropertyFromVarRec(*target, value.GetValueRecord());
}

TMXPropertyCollection*
TMaterialXTools::GetPropertyCollectionByType(const TKovMaterialX& material,
                                             const TMXPropertyCollectionClass& cls) {
    TMXPropertyCollection* found = nullptr;
    EnumeratePropertyCollections(material, [&](TMXPropertyCollection& collection) {
        if (!found && &collection.CollectionClass() == &cls)
            found = &collection;
    });
    return found;
}

int TMaterialXTools::FindPositionOfIntrinsicPropertyOrAlias(const TMXPropertyCollection& collection,
                                                            const std::string& name) {
    std::vector<std::string> names{name};
    for (const std::string& alias : TMaterialXRegistries::AliasesOf(name))
        names.push_back(alias);
    const TKovIntrinsicPropertyList& list = collection.IntrinsicProperties();
    for (const std::string& candidate : names) {
        const std::string clean = CleanName(candidate);
        for (int i = 0; i < list.Count(); ++i)
            if (list[i]->CleanName() == clean)
                return i;
    }
    return -1;
}

void TMaterialXTools::EnumeratePropertyCollections(
    const TKovMaterialX& material, const std::function<void(TMXPropertyCollection&)>& callback) {
    if (!material.HasUserFeatures())
        return;
    std::function<void(TMXPropertyCollection&)> walk = [&](TMXPropertyCollection& collection) {
        callback(collection);
        for (TMXPropertyCollection* sub : collection.SubCollections())
            walk(*sub);
    };
    for (TKovObject* item : material.TopCollections().Items())
        if (auto* collection = dynamic_cast<TMXPropertyCollection*>(item);
            collection && !collection->IsFreed())
            walk(*collection);
}

void TMaterialXTools::EnumerateUserPropertiesInCollection(
    const TMXPropertyCollection& collection,
    const std::function<void(TKovIntrinsicProperty&)>& callback) {
    for (TKovIntrinsicProperty* property : collection.GroupProperties())
        callback(*property);
    for (TMXPropertyCollection* sub : collection.SubCollections())
        EnumerateUserPropertiesInCollection(*sub, callback);
}

void TMaterialXTools::EnumerateUserProperties(
    const TKovMaterialX& material, const std::function<void(TKovIntrinsicProperty&)>& callback) {
    EnumeratePropertyCollections(material, [&](TMXPropertyCollection& collection) {
        if (collection.CollectionClass().ConstructorType() == mxpctDerived)
            for (TKovIntrinsicProperty* property : collection.GroupProperties())
                callback(*property);
    });
}

void TMaterialXTools::EnumerateInternalProperties(
    const TKovMaterialX& material, const std::function<void(TKovIntrinsicProperty&)>& callback) {
    EnumeratePropertyCollections(material, [&](TMXPropertyCollection& collection) {
        if (collection.CollectionClass().ConstructorType() == mxpctPersistent)
            for (TKovIntrinsicProperty* property : collection.GroupProperties())
                callback(*property);
    });
}

void TMaterialXTools::EnumerateDependentAPGs(
    const TKovMaterialX& material,
    const std::function<void(const TMXAssociatedParameterGroup&)>& callback) {
    if (material.RootAPGClass())
        TMaterialXRegistries::EnumerateAssociatedParameterGroups(*material.RootAPGClass(),
                                                                 callback);
}

bool TMaterialXTools::IsDerivedPropertyCollectionEmpty(const TMXPropertyCollection& collection) {
    if (!collection.GroupProperties().empty())
        return false;
    for (TMXPropertyCollection* sub : collection.SubCollections())
        if (!IsDerivedPropertyCollectionEmpty(*sub))
            return false;
    return true;
}

double TMaterialXTools::Divide(double numerator, double denominator) {
    if (std::fabs(denominator) < 1e-12)
        throw EMaterialXDivisionByZero("Calculation failed due to division by zero.");
    return numerator / denominator;
}

// ---------------------------------------------------------------------------------------------
// TMaterialXIPCache

namespace {
struct TIPCacheState {
    std::mutex Mutex;
    int Count = 0;
    std::atomic<bool> On{false}; // Count > 0, read without the lock on every look-up
    struct TMaps {
        std::unordered_map<std::string, TKovIntrinsicProperty*> Maps[2];
    };
    std::unordered_map<TUniqueID, TMaps, TUniqueIDHash> Materials;
};

TIPCacheState& CacheState() {
    static TIPCacheState state;
    return state;
}
} // namespace

void TMaterialXIPCache::EnableCaching() {
    std::lock_guard<std::mutex> lock(CacheState().Mutex);
    ++CacheState().Count;
    CacheState().On.store(true, std::memory_order_release);
}

void TMaterialXIPCache::DisableCaching() {
    std::lock_guard<std::mutex> lock(CacheState().Mutex);
    if (CacheState().Count > 0 && --CacheState().Count == 0) {
        CacheState().Materials.clear();
        CacheState().On.store(false, std::memory_order_release);
    }
}

bool TMaterialXIPCache::IsCaching() {
    return CacheState().On.load(std::memory_order_acquire);
}

TKovIntrinsicProperty* TMaterialXIPCache::TryGetCachedProperty(const TKovMaterialX& material,
                                                               bool user, const std::string& name,
                                                               bool& found) {
    std::lock_guard<std::mutex> lock(CacheState().Mutex);
    found = false;
    auto it = CacheState().Materials.find(material.UniqueID());
    if (it == CacheState().Materials.end())
        return nullptr;
    auto& map = it->second.Maps[user ? 1 : 0];
    auto entry = map.find(name);
    if (entry == map.end())
        return nullptr;
    found = true;
    return entry->second;
}

void TMaterialXIPCache::CacheProperty(const TKovMaterialX& material, bool user,
                                      const std::string& name, TKovIntrinsicProperty* property) {
    std::lock_guard<std::mutex> lock(CacheState().Mutex);
    if (CacheState().Count == 0)
        return;
    CacheState().Materials[material.UniqueID()].Maps[user ? 1 : 0][name] = property;
}

void TMaterialXIPCache::UpdateCacheFor(const TKovMaterialX& material) {
    std::lock_guard<std::mutex> lock(CacheState().Mutex);
    CacheState().Materials.erase(material.UniqueID());
}

// ---------------------------------------------------------------------------------------------
// TMaterialXIPConfigurator

void TMaterialXIPConfigurator::UpdateMaterialXIPConfigurations(TKovMaterialX& material) {
    if (!material.RootAPGClass() || !material.HasHierarchy() || material.IsConfiguring())
        return;
    struct TGuard {
        TKovMaterialX& Material;
        explicit TGuard(TKovMaterialX& m) : Material(m) {
            Material.SetConfiguring(true);
            Material.BeginUpdate();
            TMaterialXIPCache::EnableCaching();
        }
        ~TGuard() {
            TMaterialXIPCache::DisableCaching();
            Material.EndUpdate();
            Material.SetConfiguring(false);
        }
    } guard(material);
    // A value an enumeration may no longer take (the drainage of a model switched to one that
    // lacks it) gives way to the first it may; what depends on that value is configured again in
    // a further pass. A replacement only ever moves to a valid value, so two passes settle it.
    for (int pass = 0; pass < 3; ++pass)
        if (!ConfigureOnce(material))
            break;
}

bool TMaterialXIPConfigurator::ConfigureOnce(TKovMaterialX& material) {
    const TKovObjectManager* manager = material.ObjectManager();
    const bool reverting = manager && manager->IsRevertingOrLocked();
    bool replaced = false;
    for (const TIPConfigurationFunctor& functor :
         TMaterialXRegistries::ConfigurationFunctorsOf(*material.RootAPGClass())) {
        TKovIntrinsicProperty* property =
            TMaterialXTools::GetUserPropertyFrom(material, functor.FIPName);
        if (!property)
            continue;
        if (functor.FVisibilityGetter)
            property->SetPublished(functor.FVisibilityGetter(material) == mxvVisible);
        if (functor.FMutabilityGetter) {
            bool writable = functor.FMutabilityGetter(material) == mxmMutable;
            // A derived value without setter stays read-only whatever the rule says.
            if (const auto* derived =
                    dynamic_cast<const TKovIntrinsicProperty_DerivedExternalDeclaration_Abstract*>(
                        property->Declaration()))
                writable = writable && derived->HasSetterFunction();
            property->SetReadOnly(!writable);
        }
        if (functor.FValidEnumsGetter) {
            auto* enumeration = dynamic_cast<TIPEnumeration*>(property);
            if (!enumeration)
                throw EConfiguratorException(
                    Format("Cannot retrieve valid enumeration values for %s, because it is not a "
                           "TIPEnumeration.",
                           functor.FIPName));
            std::vector<int> valid = functor.FValidEnumsGetter(material);
            bool same = true;
            for (int value = 0; value < enumeration->Count() && same; ++value) {
                const bool wanted = std::find(valid.begin(), valid.end(), value) != valid.end();
                same = wanted != enumeration->IsDisabled(value);
            }
            if (!same) {
                TConfigurationSnapshot snapshot(material.ObjectManager());
                enumeration->EnableValuesExclusively(valid);
            }
            // Undo and redo put back values that were valid together: while they restore them
            // one by one, a value may look invalid for a moment and is left alone.
            if (!reverting && !valid.empty() && enumeration->IsDisabled(enumeration->IntValue())) {
                enumeration->SetIntValue(valid.front());
                replaced = true;
            }
        }
    }
    return replaced;
}

// ---------------------------------------------------------------------------------------------
// TNameGraph

TNameGraph::TNode& TNameGraph::AddNode(const std::string& name) {
    auto it = FNodes.find(name);
    if (it == FNodes.end())
        it = FNodes.emplace(name, TNode{name}).first;
    return it->second;
}

void TNameGraph::AddEdge(const std::string& from, const std::string& to) {
    AddNode(from);
    AddNode(to);
    if (!FEdges.insert({from, to}).second)
        return;
    FEdgesFrom[from][to] = true;
    FEdgesTo[to][from] = true;
}

void TNameGraph::RemoveEdge(const std::string& from, const std::string& to) {
    if (!FEdges.erase({from, to}))
        return;
    FEdgesFrom[from].erase(to);
    FEdgesTo[to].erase(from);
}

bool TNameGraph::HasEdge(const std::string& from, const std::string& to) const {
    return FEdges.count({from, to}) != 0;
}

void TNameGraph::CreateNodesFromSet(const std::set<std::string>& names) {
    for (const std::string& name : names)
        AddNode(name);
}

std::set<std::string> TNameGraph::CreateNodesToSet() const {
    std::set<std::string> names;
    for (const auto& [name, node] : FNodes)
        names.insert(name);
    return names;
}

std::string TNameGraph::SaveAsDOT() const {
    std::string text = "digraph \"\" {\n";
    for (const auto& [name, node] : FNodes)
        text += Format("%s [label=\"%s\", shape=\"box\"]\n", name, node.Name);
    for (const auto& [from, to] : FEdges)
        text += Format("%s -> %s\n", from, to);
    return text + "}\n";
}

std::vector<std::string> TNameGraph::Flattened(const TComparer& comparer) const {
    const TComparer less = comparer ? comparer : TComparer(std::less<std::string>());
    // Connected components by merging the sets of the two ends of every edge.
    std::map<std::string, std::string> parent;
    for (const auto& [name, node] : FNodes)
        parent[name] = name;
    std::function<const std::string&(const std::string&)> find =
        [&](const std::string& name) -> const std::string& {
        std::string& p = parent[name];
        if (p != name)
            p = find(p);
        return p;
    };
    for (const auto& [from, to] : FEdges) {
        const std::string a = find(from), b = find(to);
        if (a != b)
            parent[a] = b;
    }
    std::map<std::string, std::vector<std::string>> components;
    for (const auto& [name, node] : FNodes)
        components[find(name)].push_back(name);
    std::vector<std::vector<std::string>> sets;
    for (auto& [root, names] : components) {
        std::sort(names.begin(), names.end(), less);
        sets.push_back(std::move(names));
    }
    std::sort(sets.begin(), sets.end(),
              [&](const auto& a, const auto& b) { return less(a.front(), b.front()); });

    std::vector<std::string> result;
    for (const std::vector<std::string>& names : sets) {
        std::map<std::string, int> incoming;
        std::set<std::string> remaining(names.begin(), names.end());
        for (const std::string& name : names) {
            int count = 0;
            if (auto it = FEdgesTo.find(name); it != FEdgesTo.end())
                for (const auto& [from, present] : it->second)
                    count += remaining.count(from) ? 1 : 0;
            incoming[name] = count;
        }
        int pass = 0;
        while (!remaining.empty()) {
            if (++pass > 250) {
                if (getenv("TW_DEBUG_CYCLE"))
                    for (const std::string& name : remaining)
                        if (incoming[name] > 0) {
                            fprintf(stderr, "%s <-", name.c_str());
                            for (const auto& [from, present] : FEdgesTo.at(name))
                                if (remaining.count(from))
                                    fprintf(stderr, " %s", from.c_str());
                            fprintf(stderr, "\n");
                        }
                throw EMaterialXIPDependencyEvaluatorException(
                    "Cycle detected in MaterialX dependencies.");
            }
            std::vector<std::string> layer;
            for (const std::string& name : remaining)
                if (incoming[name] == 0)
                    layer.push_back(name);
            std::sort(layer.begin(), layer.end(), less);
            for (const std::string& name : layer) {
                result.push_back(name);
                remaining.erase(name);
                if (auto it = FEdgesFrom.find(name); it != FEdgesFrom.end())
                    for (const auto& [to, present] : it->second)
                        --incoming[to];
            }
        }
    }
    return result;
}

// ---------------------------------------------------------------------------------------------
// TMaterialXIPDependencyEvaluator

namespace {

struct TDependencyState {
    std::mutex Mutex;
    std::map<std::string, std::vector<std::string>> Orders;
    std::map<const TMXAssociatedParameterGroup*, std::map<std::string, std::set<std::string>>>
        Modifiers;
};

TDependencyState& DependencyState() {
    static TDependencyState state;
    return state;
}

// The canonical form of a name: the clean master of its alias group.
std::string Canonical(const std::string& name) {
    const std::vector<std::string> aliases = TMaterialXRegistries::AliasesOf(name);
    std::string best = CleanName(name);
    for (const std::string& alias : aliases)
        best = std::min(best, CleanName(alias));
    return best;
}

bool InClosure(const TMXAssociatedParameterGroup& root, const TMXAssociatedParameterGroup& group) {
    const auto& groups = TMaterialXRegistries::AssociatedParameterGroupsOf(root);
    return std::find(groups.begin(), groups.end(), &group) != groups.end();
}

std::string StructuralValueText(const TKovMaterialX& material, const std::string& name) {
    const TKovIntrinsicProperty* property = material.FindInternalProperty(name);
    return property ? property->ValueAsText() : std::string();
}

} // namespace

std::string TMaterialXIPDependencyEvaluator::DependencyKeyOf(const TKovMaterialX& material) {
    if (!material.RootAPGClass())
        return std::string();
    std::string key = material.RootAPGClass()->ClassName();
    for (const std::string& name :
         TMaterialXRegistries::StructuralChangingPropertiesOf(*material.RootAPGClass()))
        key += ": " + name + "=" + StructuralValueText(material, name) + ", ";
    return key;
}

bool TMaterialXIPDependencyEvaluator::IsDependencyOrderCached(const std::string& key) {
    std::lock_guard<std::mutex> lock(DependencyState().Mutex);
    return DependencyState().Orders.count(key) != 0;
}

std::vector<std::string> TMaterialXIPDependencyEvaluator::DependencyOrderedMaterialProperties(
    const TKovMaterialX& material) {
    if (!material.RootAPGClass())
        return {};
    const std::string key = DependencyKeyOf(material);
    {
        std::lock_guard<std::mutex> lock(DependencyState().Mutex);
        if (auto it = DependencyState().Orders.find(key); it != DependencyState().Orders.end())
            return it->second;
    }
    const TMXAssociatedParameterGroup& root = *material.RootAPGClass();
    std::set<std::string> skipped{"name",     "parent",   "userfeatures",       "typename",
                                  "metadata", "rhowater", "gravityacceleration"};
    for (const std::string& name : TMaterialXRegistries::StructuralChangingPropertiesOf(root))
        skipped.insert(CleanName(name));

    TNameGraph graph;
    std::map<std::string, std::vector<std::string>> namesOf; // canonical -> names as declared
    auto node = [&](const std::string& name) {
        const std::string canonical = Canonical(name);
        auto& names = namesOf[canonical];
        if (std::find(names.begin(), names.end(), name) == names.end())
            names.push_back(name);
        graph.AddNode(canonical);
        return canonical;
    };
    for (const TMXAssociatedParameterGroup* group :
         TMaterialXRegistries::AssociatedParameterGroupsOf(root))
        for (int type = 0; type < 2; ++type)
            if (const TMXParametersConstructor* constructor =
                    TMaterialXRegistries::FindParametersConstructor(
                        *group, TMXParameterConstructorType(type)))
                constructor->EnumerateIntrinsicPropertyNames(
                    [&](const std::string& name) { node(name); });
    // A parameter that reads and writes the same name treats it as its own value (an interface
    // of a stored value): that pair adds no edge, as a relation within an alias set adds none.
    std::set<std::pair<std::string, std::string>> reads;
    TMaterialXRegistries::EnumInterAPGParameterRelations(
        mxprtGet, [&](const TMXAssociatedParameterGroup& group, const std::string& parameter,
                      const std::string& other) {
            if (InClosure(root, group))
                reads.insert({Canonical(parameter), Canonical(other)});
        });
    auto addRelations = [&](TMXParameterRelationType kind) {
        TMaterialXRegistries::EnumInterAPGParameterRelations(
            kind, [&](const TMXAssociatedParameterGroup& group, const std::string& parameter,
                      const std::string& other) {
                if (!InClosure(root, group))
                    return;
                const std::string p = node(parameter), o = node(other);
                if (p == o)
                    return;
                if (kind == mxprtSet) {
                    if (!reads.count({p, o}))
                        graph.AddEdge(p, o);
                } else {
                    graph.AddEdge(o, p);
                }
            });
    };
    addRelations(mxprtGet);
    addRelations(mxprtSet);
    addRelations(mxprtConfig);

    std::vector<std::string> order;
    std::set<std::string> emitted;
    for (const std::string& canonical : graph.Flattened()) {
        std::vector<std::string> names = namesOf[canonical];
        for (const std::string& alias : TMaterialXRegistries::AliasesOf(canonical))
            names.push_back(alias);
        for (const std::string& name : names) {
            const std::string clean = CleanName(name);
            if (skipped.count(clean) || emitted.count(clean))
                continue;
            if (TKovIntrinsicProperty* property = material.FindUserProperty(name);
                property && property->CleanName() == clean) {
                order.push_back(property->Name());
                emitted.insert(clean);
            }
        }
    }
    std::lock_guard<std::mutex> lock(DependencyState().Mutex);
    DependencyState().Orders[key] = order;
    return order;
}

void TMaterialXIPDependencyEvaluator::EnumerateDependencyOrderedMaterialProperties(
    const TKovMaterialX& material, const std::function<void(const std::string&)>& callback) {
    for (const std::string& name : DependencyOrderedMaterialProperties(material))
        callback(name);
}

std::vector<std::string> TMaterialXIPDependencyEvaluator::GetIPModifierListForIntrinsicProperty(
    const TKovMaterialX& material, const std::string& name) {
    if (!material.RootAPGClass())
        return {};
    const TMXAssociatedParameterGroup& root = *material.RootAPGClass();
    std::map<std::string, std::set<std::string>>* table = nullptr;
    {
        std::lock_guard<std::mutex> lock(DependencyState().Mutex);
        auto it = DependencyState().Modifiers.find(&root);
        if (it != DependencyState().Modifiers.end())
            table = &it->second;
    }
    if (!table) {
        std::map<std::string, std::set<std::string>> built;
        auto add = [&](const std::string& changed, const std::string& modifier) {
            std::vector<std::string> targets{changed}, sources{modifier};
            for (const std::string& a : TMaterialXRegistries::AliasesOf(changed))
                targets.push_back(a);
            for (const std::string& a : TMaterialXRegistries::AliasesOf(modifier))
                sources.push_back(a);
            for (const std::string& t : targets)
                for (const std::string& s : sources)
                    if (CleanName(t) != CleanName(s))
                        built[CleanName(t)].insert(s);
        };
        TMaterialXRegistries::EnumInterAPGParameterRelations(
            mxprtGet, [&](const TMXAssociatedParameterGroup& group, const std::string& parameter,
                          const std::string& other) {
                if (InClosure(root, group))
                    add(parameter, other); // the value of `parameter` follows `other`
            });
        TMaterialXRegistries::EnumInterAPGParameterRelations(
            mxprtSet, [&](const TMXAssociatedParameterGroup& group, const std::string& parameter,
                          const std::string& other) {
                if (InClosure(root, group))
                    add(other, parameter); // writing `parameter` changes `other`
            });
        std::lock_guard<std::mutex> lock(DependencyState().Mutex);
        table = &(DependencyState().Modifiers[&root] = std::move(built));
    }
    // Everything that reaches the name, directly or through others.
    std::vector<std::string> result;
    std::set<std::string> seen{CleanName(name)};
    std::vector<std::string> queue{name};
    while (!queue.empty()) {
        const std::string current = queue.back();
        queue.pop_back();
        auto it = table->find(CleanName(current));
        if (it == table->end())
            continue;
        for (const std::string& modifier : it->second)
            if (seen.insert(CleanName(modifier)).second) {
                result.push_back(modifier);
                queue.push_back(modifier);
            }
    }
    return result;
}

std::vector<std::string> TMaterialXIPDependencyEvaluator::GetUserIPModifierListForIntrinsicProperty(
    const TKovMaterialX& material, const std::string& name) {
    std::vector<std::string> result;
    if (TKovIntrinsicProperty* property = material.FindUserProperty(name))
        result.push_back(property->Name());
    for (const std::string& modifier : GetIPModifierListForIntrinsicProperty(material, name))
        if (TKovIntrinsicProperty* property = material.FindUserProperty(modifier))
            if (std::find(result.begin(), result.end(), property->Name()) == result.end())
                result.push_back(property->Name());
    return result;
}

void TMaterialXIPDependencyEvaluator::ClearCaches() {
    std::lock_guard<std::mutex> lock(DependencyState().Mutex);
    DependencyState().Orders.clear();
    DependencyState().Modifiers.clear();
}

} // namespace tw
