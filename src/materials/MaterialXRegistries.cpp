#include "materials/MaterialXRegistries.h"

#include "materials/KovMaterialX.h"
#include "materials/MaterialXClient.h"
#include "objects/IntrinsicPropertyRegistries.h"
#include "objects/NameTools.h"
#include "services/Format.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <tuple>

namespace tw {

namespace {

using TGroup = TMXAssociatedParameterGroup;

struct TRelation {
    TMXParameterRelationType Kind;
    const TGroup* Group;
    std::string Parameter, Other;
};

// What a model's closure of groups answers, computed once per root and geometry.
struct TRootCache {
    std::vector<const TGroup*> Groups;
    std::vector<TIPConfigurationFunctor> Functors;
    std::map<const TMXPropertyCollectionClass*, std::vector<TMXPlacedParameter>> Placed;
    std::set<std::string> Structural;
    std::map<std::string, const TKovIntrinsicPropertyDeclaration*> Declarations[2];
};

struct TState {
    std::vector<std::unique_ptr<TGroup>> Groups;
    std::map<std::string, const TGroup*> GroupsByName;
    std::map<const TKovClass*, std::vector<std::pair<TMXRootSelector, const TGroup*>>> Roots;
    std::map<const TGroup*, const TKovClass*> MaterialClassOfRoot;
    std::map<const TKovClass*, const TMaterialXFactoryFunctions*> FactoryFunctions;
    std::map<std::string, const TMXPropertyCollectionClass*> Collections;
    std::map<const TMXPropertyCollectionClass*, std::vector<const TMXPropertyCollectionClass*>>
        Children;
    std::map<std::tuple<const TKovClass*, std::string, int>, const TMXPropertyCollectionClass*>
        CollectionsByName;
    std::map<std::pair<const TGroup*, int>, std::unique_ptr<TMXParametersConstructor>> Constructors;
    std::map<std::pair<const TGroup*, int>, std::unique_ptr<TMXAssociatedParameterGroupOrganizer>>
        Organizers;
    std::map<const TGroup*, std::unique_ptr<TMXIPConfigurationGroup>> Configurations;
    std::map<const TGroup*, std::vector<const TGroup*>> Additional;
    std::vector<TRelation> Relations;
    std::set<std::tuple<int, std::string, std::string>> RelationKeys;
    std::map<std::string, std::string> MasterOf;               // clean alias -> master
    std::map<std::string, std::vector<std::string>> AliasesOf; // clean master -> aliases
    std::map<std::string, std::string> OriginalNames;          // clean -> as registered
    std::mutex CacheMutex;
    std::map<std::pair<const TGroup*, int>, std::unique_ptr<TRootCache>> Caches;
};

TState& State() {
    static TState state;
    return state;
}

int GeometryKey() {
    return TMaterialXClient_Abstract::IsInstantiated()
               ? int(TMaterialXClient_Abstract::Instance().GeometryType())
               : -1;
}

const char* TypeText(TMXParameterConstructorType type) {
    return type == mxpctPersistent ? "persistent" : "derived";
}

// A group takes part unless it is specific to one dimension and the client has the other.
bool TakesPart(const TGroup& group) {
    if (group.EnabledIn2D() && group.EnabledIn3D())
        return true;
    return TMaterialXClient_Abstract::IsInstantiated() && group.IsEnabled();
}

void Visit(const TGroup& group, std::set<const TGroup*>& seen,
           const std::function<void(const TGroup&)>& callback, bool includeSelf) {
    if (!seen.insert(&group).second)
        return;
    if (includeSelf) {
        if (!TakesPart(group))
            return;
        callback(group);
    }
    group.DoEnumAPGDependencies(
        [&](const TGroup& dependency) { Visit(dependency, seen, callback, true); });
    auto it = State().Additional.find(&group);
    if (it != State().Additional.end())
        for (const TGroup* other : it->second)
            Visit(*other, seen, callback, true);
}

TRootCache& CacheOf(const TGroup& root) {
    TState& s = State();
    std::lock_guard<std::mutex> lock(s.CacheMutex);
    auto key = std::make_pair(&root, GeometryKey());
    auto& slot = s.Caches[key];
    if (slot)
        return *slot;
    auto cache = std::make_unique<TRootCache>();
    std::set<const TGroup*> seen;
    Visit(
        root, seen, [&](const TGroup& group) { cache->Groups.push_back(&group); }, true);

    const TKovClass* materialClass = nullptr;
    if (auto it = s.MaterialClassOfRoot.find(&root); it != s.MaterialClassOfRoot.end())
        materialClass = it->second;

    std::map<std::string, size_t> functorIndex;
    auto functorFor = [&](const std::string& name) -> TIPConfigurationFunctor& {
        const std::string clean = CleanName(name);
        auto it = functorIndex.find(clean);
        if (it == functorIndex.end()) {
            it = functorIndex.emplace(clean, cache->Functors.size()).first;
            cache->Functors.push_back({name, nullptr, nullptr, nullptr});
        }
        return cache->Functors[it->second];
    };
    for (const TGroup* group : cache->Groups) {
        for (int type = 0; type < 2; ++type) {
            if (auto it = s.Constructors.find({group, type}); it != s.Constructors.end())
                for (const TKovIntrinsicPropertyDeclaration& declaration :
                     it->second->Declarations().Enumerate())
                    cache->Declarations[type].emplace(declaration.CleanName(), &declaration);
            auto it = s.Organizers.find({group, type});
            if (it == s.Organizers.end())
                continue;
            it->second->EnumerateStructuralChangingParameters(
                [&](const std::string& name) { cache->Structural.insert(name); });
            if (!materialClass)
                continue;
            it->second->EnumerateRegisteredParameters([&](const std::string& collection,
                                                          const std::string& property, bool,
                                                          const TMXDefaultValueFunction& value) {
                const TMXPropertyCollectionClass* cls = TMaterialXRegistries::FindCollectionClass(
                    *materialClass, collection, TMXParameterConstructorType(type));
                if (!cls)
                    throw EMaterialXRegistries(
                        Format("Cannot find the %s collection \"%s\" for parameter \"%s\" of "
                               "\"%s\"",
                               TypeText(TMXParameterConstructorType(type)), collection, property,
                               group->ClassName()));
                cache->Placed[cls].push_back({property, group, value, nullptr});
            });
        }
        if (auto it = s.Configurations.find(group); it != s.Configurations.end()) {
            const std::string& groupName = group->ClassName();
            it->second->EnumVisibilityFunctions(
                [&](const std::string& name, const TMXVisibilityFunction& function) {
                    auto& functor = functorFor(name);
                    if (functor.FVisibilityGetter)
                        throw EConfiguratorException(
                            Format("Cannot register visibility function for %s. Duplicate entries "
                                   "are not allowed in MaterialX IP Configuration Registry",
                                   name));
                    functor.FVisibilityGetter = function;
                });
            it->second->EnumMutabilityFunctions(
                [&](const std::string& name, const TMXMutabilityFunction& function) {
                    auto& functor = functorFor(name);
                    if (functor.FMutabilityGetter)
                        throw EConfiguratorException(
                            Format("Cannot register mutability function for %s. Duplicate entries "
                                   "are not allowed in MaterialX IP Configuration Registry",
                                   name));
                    functor.FMutabilityGetter = function;
                });
            it->second->EnumValidEnumsFunctions(
                [&](const std::string& name, const TMXValidEnumsFunction& function) {
                    auto& functor = functorFor(name);
                    if (functor.FValidEnumsGetter)
                        throw EConfiguratorException(
                            Format("Cannot register valid enumeration function for %s. Duplicate "
                                   "entries are not allowed in MaterialX IP Configuration Registry",
                                   name));
                    functor.FValidEnumsGetter = function;
                });
            (void)groupName;
        }
    }
    // Declarations resolve once every constructor of the model is known.
    for (auto& [cls, placed] : cache->Placed) {
        const int type = int(cls->ConstructorType());
        for (TMXPlacedParameter& parameter : placed) {
            if (auto it = s.Constructors.find({parameter.Group, type}); it != s.Constructors.end())
                parameter.Declaration = it->second->FindIPDeclarationFor(parameter.Property);
            if (!parameter.Declaration) {
                auto found = cache->Declarations[type].find(CleanName(parameter.Property));
                if (found != cache->Declarations[type].end())
                    parameter.Declaration = found->second;
            }
        }
    }
    slot = std::move(cache);
    return *slot;
}

void AddRelation(TMXParameterRelationType kind, const TGroup& group, const std::string& parameter,
                 const std::vector<std::string>& others, bool asAlias) {
    TState& s = State();
    for (const std::string& other : others) {
        if (CleanName(other) == CleanName(parameter))
            throw EMaterialXRegistries(Format(
                "Cannot add self relation for parameter \"%s\". Self relation is not allowed.",
                parameter));
        auto key = std::make_tuple(int(kind), CleanName(parameter), CleanName(other));
        if (!s.RelationKeys.insert(key).second)
            throw EMaterialXRegistries(
                Format("Cannot add relation between parameters \"%s\" and \"%s\", is already "
                       "defined.",
                       parameter, other));
        s.Relations.push_back({kind, &group, parameter, other});
        if (asAlias)
            TMaterialXRegistries::RegisterAlias(other, parameter);
    }
    TMaterialXRegistries::ClearCaches();
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Roots and groups

void TMaterialXRegistries::RegisterMXRootParameterGroup(const TKovClass& materialClass,
                                                        TMXRootSelector selector,
                                                        const TMXAssociatedParameterGroup& root) {
    State().Roots[&materialClass].emplace_back(std::move(selector), &root);
    State().MaterialClassOfRoot[&root] = &materialClass;
    ClearCaches();
}

const TMXAssociatedParameterGroup*
TMaterialXRegistries::TryGetRootAPGFor(const TKovClass& materialClass, int modelValue) {
    for (const TKovClass* cls = &materialClass; cls; cls = cls->Parent()) {
        auto it = State().Roots.find(cls);
        if (it == State().Roots.end())
            continue;
        for (const auto& [selector, root] : it->second)
            if (selector(modelValue))
                return root;
    }
    return nullptr;
}

const TMXAssociatedParameterGroup&
TMaterialXRegistries::GetRootAPGFor(const TKovClass& materialClass, int modelValue) {
    if (const TGroup* root = TryGetRootAPGFor(materialClass, modelValue))
        return *root;
    throw EMaterialXRegistries(
        Format("Cannot find the registered root associated parameter group for \"%s\"",
               std::to_string(modelValue)));
}

int TMaterialXRegistries::ModelValueOfRoot(const TKovClass& materialClass,
                                           const TMXAssociatedParameterGroup& root) {
    auto it = State().Roots.find(&materialClass);
    if (it == State().Roots.end())
        return -1;
    for (int value = 0; value <= 1000; ++value)
        for (const auto& [selector, group] : it->second)
            if (group == &root && selector(value))
                return value;
    return -1;
}

const TMXAssociatedParameterGroup&
TMaterialXRegistries::RegisterAPG(std::unique_ptr<TMXAssociatedParameterGroup> group) {
    TState& s = State();
    if (s.GroupsByName.count(group->ClassName()))
        throw EMaterialXRegistries(
            Format("The group \"%s\" is registered already", group->ClassName()));
    const TGroup& result = *group;
    s.GroupsByName[group->ClassName()] = group.get();
    s.Groups.push_back(std::move(group));
    return result;
}

const TMXAssociatedParameterGroup* TMaterialXRegistries::FindAPG(const std::string& className) {
    auto it = State().GroupsByName.find(className);
    return it == State().GroupsByName.end() ? nullptr : it->second;
}

void TMaterialXRegistries::RegisterFactoryFunctions(const TKovClass& materialClass,
                                                    const TMaterialXFactoryFunctions& functions) {
    State().FactoryFunctions[&materialClass] = &functions;
}

const TMaterialXFactoryFunctions&
TMaterialXRegistries::GetFactoryFunctionsFor(const TKovClass& materialClass) {
    for (const TKovClass* cls = &materialClass; cls; cls = cls->Parent()) {
        auto it = State().FactoryFunctions.find(cls);
        if (it != State().FactoryFunctions.end())
            return *it->second;
    }
    throw EMaterialXRegistries(Format("Cannot find the factory functions for material class \"%s\"",
                                      materialClass.Name()));
}

// ---------------------------------------------------------------------------------------------
// Collections

void TMaterialXRegistries::RegisterMXPropertyCollection(const TMXPropertyCollectionClass& cls) {
    TState& s = State();
    if (s.Collections.count(cls.ClassName()))
        return;
    if (const TMXPropertyCollectionClass* parent = cls.ParentCollectionClass())
        RegisterMXPropertyCollection(*parent);
    s.Collections[cls.ClassName()] = &cls;
    if (cls.ParentCollectionClass())
        s.Children[cls.ParentCollectionClass()].push_back(&cls);
    if (const TKovClass* materialClass = cls.GetMaterialXClass())
        s.CollectionsByName.emplace(
            std::make_tuple(materialClass, cls.CollectionName(), int(cls.ConstructorType())), &cls);
    ClearCaches();
}

void TMaterialXRegistries::EnumerateRegisteredMXPropertySubCollections(
    const TMXPropertyCollectionClass& parent,
    const std::function<void(const TMXPropertyCollectionClass&)>& callback) {
    auto it = State().Children.find(&parent);
    if (it == State().Children.end())
        return;
    for (const TMXPropertyCollectionClass* child : it->second)
        callback(*child);
}

TMXParameterConstructorType
TMaterialXRegistries::GetConstructorTypeFor(const TMXPropertyCollectionClass& cls) {
    return cls.ConstructorType();
}

const TMXPropertyCollectionClass*
TMaterialXRegistries::FindCollectionClass(const TKovClass& materialClass, const std::string& name,
                                          TMXParameterConstructorType type) {
    for (const TKovClass* cls = &materialClass; cls; cls = cls->Parent()) {
        auto it = State().CollectionsByName.find(std::make_tuple(cls, name, int(type)));
        if (it != State().CollectionsByName.end())
            return it->second;
    }
    return nullptr;
}

// ---------------------------------------------------------------------------------------------
// Declarations per group

void TMaterialXRegistries::RegisterMXParametersConstructor(
    const TMXAssociatedParameterGroup& group, TMXParameterConstructorType type,
    std::unique_ptr<TMXParametersConstructor> instance) {
    State().Constructors[{&group, int(type)}] = std::move(instance);
    ClearCaches();
}

const TMXParametersConstructor*
TMaterialXRegistries::FindParametersConstructor(const TMXAssociatedParameterGroup& group,
                                                TMXParameterConstructorType type) {
    auto it = State().Constructors.find({&group, int(type)});
    return it == State().Constructors.end() ? nullptr : it->second.get();
}

const TMXParametersConstructor&
TMaterialXRegistries::GetParametersConstructor(const TKovClass& materialClass,
                                               const TMXAssociatedParameterGroup& group,
                                               TMXParameterConstructorType type) {
    if (const TMXParametersConstructor* constructor = FindParametersConstructor(group, type))
        return *constructor;
    throw EMaterialXRegistries(Format(
        "Cannot find parameter constructor for material of class \"%s\", parameter group \"%s\"",
        materialClass.Name(), group.ClassName()));
}

void TMaterialXRegistries::RegisterMXParametersOrganizer(
    const TMXAssociatedParameterGroup& group, TMXParameterConstructorType type,
    std::unique_ptr<TMXAssociatedParameterGroupOrganizer> organizer) {
    State().Organizers[{&group, int(type)}] = std::move(organizer);
    ClearCaches();
}

const TMXAssociatedParameterGroupOrganizer&
TMaterialXRegistries::GetParametersOrganizer(const TKovClass& materialClass,
                                             const TMXAssociatedParameterGroup& group,
                                             TMXParameterConstructorType type) {
    auto it = State().Organizers.find({&group, int(type)});
    if (it != State().Organizers.end())
        return *it->second;
    throw EMaterialXRegistries(Format(
        "Cannot find parameter organizer for material of class \"%s\", parameter group \"%s\"",
        materialClass.Name(), group.ClassName()));
}

void TMaterialXRegistries::RegisterMXIPConfigurationFunctions(
    const TMXAssociatedParameterGroup& group, std::unique_ptr<TMXIPConfigurationGroup> cfg) {
    State().Configurations[&group] = std::move(cfg);
    ClearCaches();
}

const TMXIPConfigurationGroup*
TMaterialXRegistries::TryGetMXIPConfigurationRegistryFor(const TMXAssociatedParameterGroup& group) {
    auto it = State().Configurations.find(&group);
    return it == State().Configurations.end() ? nullptr : it->second.get();
}

void TMaterialXRegistries::RegisterAdditionalAPGRelation(const TMXAssociatedParameterGroup& from,
                                                         const TMXAssociatedParameterGroup& to) {
    State().Additional[&from].push_back(&to);
    ClearCaches();
}

const TMXAssociatedParameterGroup& TMaterialXRegistries::GetAssociatedParameterGroupClassOf(
    const TMXParametersConstructor& constructor) {
    for (const auto& [key, instance] : State().Constructors)
        if (instance.get() == &constructor)
            return *key.first;
    throw EMaterialXRegistries(
        Format("APG for constructor \"%s\" could not be found.", constructor.ClassName()));
}

const TMXAssociatedParameterGroup& TMaterialXRegistries::GetAssociatedParameterGroupClassOf(
    const TMXAssociatedParameterGroupOrganizer& organizer) {
    for (const auto& [key, instance] : State().Organizers)
        if (instance.get() == &organizer)
            return *key.first;
    throw EMaterialXRegistries(
        Format("APG for organizer \"%s\" could not be found.", organizer.ClassName()));
}

// ---------------------------------------------------------------------------------------------
// Relations

void TMaterialXRegistries::RegisterAPGParameterGetRelation(const TMXAssociatedParameterGroup& group,
                                                           const std::string& parameter,
                                                           const std::vector<std::string>& others) {
    AddRelation(mxprtGet, group, parameter, others, false);
}

void TMaterialXRegistries::RegisterAPGParameterSetRelation(const TMXAssociatedParameterGroup& group,
                                                           const std::string& parameter,
                                                           const std::vector<std::string>& others) {
    AddRelation(mxprtSet, group, parameter, others, false);
}

void TMaterialXRegistries::RegisterAPGParameterConfigRelation(
    const TMXAssociatedParameterGroup& group, const std::string& parameter,
    const std::vector<std::string>& others) {
    AddRelation(mxprtConfig, group, parameter, others, false);
}

void TMaterialXRegistries::RegisterAPGParameterGetAndSetRelation(
    const TMXAssociatedParameterGroup& group, const std::string& parameter,
    const std::vector<std::string>& others) {
    AddRelation(mxprtGet, group, parameter, others, false);
    AddRelation(mxprtSet, group, parameter, others, false);
}

void TMaterialXRegistries::RegisterAPGParameterRelations(const TMXAssociatedParameterGroup& group,
                                                         const std::string& parameter,
                                                         const std::vector<std::string>& gets,
                                                         const std::vector<std::string>& sets,
                                                         const std::vector<std::string>& configs) {
    AddRelation(mxprtGet, group, parameter, gets, false);
    AddRelation(mxprtSet, group, parameter, sets, false);
    AddRelation(mxprtConfig, group, parameter, configs, false);
}

void TMaterialXRegistries::RegisterAPGParameterGetRelation_AsAlias(
    const TMXAssociatedParameterGroup& group, const std::string& parameter,
    const std::vector<std::string>& others) {
    AddRelation(mxprtGet, group, parameter, others, true);
}

void TMaterialXRegistries::RegisterAPGParameterSetRelation_AsAlias(
    const TMXAssociatedParameterGroup& group, const std::string& parameter,
    const std::vector<std::string>& others) {
    AddRelation(mxprtSet, group, parameter, others, true);
}

void TMaterialXRegistries::RegisterAPGParameterConfigRelation_AsAlias(
    const TMXAssociatedParameterGroup& group, const std::string& parameter,
    const std::vector<std::string>& others) {
    AddRelation(mxprtConfig, group, parameter, others, true);
}

void TMaterialXRegistries::RegisterAPGParameterGetAndSetRelation_AsAlias(
    const TMXAssociatedParameterGroup& group, const std::string& parameter,
    const std::vector<std::string>& others) {
    AddRelation(mxprtGet, group, parameter, others, true);
    AddRelation(mxprtSet, group, parameter, others, false);
}

void TMaterialXRegistries::EnumInterAPGParameterRelations(
    TMXParameterRelationType kind,
    const std::function<void(const TMXAssociatedParameterGroup&, const std::string&,
                             const std::string&)>& callback) {
    for (const TRelation& relation : State().Relations)
        if (relation.Kind == kind)
            callback(*relation.Group, relation.Parameter, relation.Other);
}

// ---------------------------------------------------------------------------------------------
// Aliases

void TMaterialXRegistries::RegisterAlias(const std::string& master, const std::string& alias) {
    TState& s = State();
    const std::string m = CleanName(master), a = CleanName(alias);
    if (m == a)
        return;
    if (auto it = s.MasterOf.find(a); it != s.MasterOf.end()) {
        if (it->second == m)
            return;
        throw EMaterialXRegistries("NYI: Master/alias group merging");
    }
    if (s.MasterOf.count(m))
        throw EMaterialXRegistries(
            Format("Aliasing has too many levels: \"%s\" is both an alias and a master.", master));
    if (s.AliasesOf.count(a))
        throw EMaterialXRegistries(
            Format("Aliasing has too many levels: \"%s\" is both an alias and a master.", alias));
    s.MasterOf[a] = m;
    s.AliasesOf[m].push_back(a);
    s.OriginalNames.emplace(m, master);
    s.OriginalNames.emplace(a, alias);
}

void TMaterialXRegistries::EnumerateAliasesOf(
    const std::string& name, const std::function<void(const std::string&)>& callback) {
    for (const std::string& alias : AliasesOf(name))
        callback(alias);
}

std::vector<std::string> TMaterialXRegistries::AliasesOf(const std::string& name) {
    TState& s = State();
    if (s.MasterOf.empty())
        return {};
    const std::string clean = CleanName(name);
    std::string master = clean;
    if (auto it = s.MasterOf.find(clean); it != s.MasterOf.end())
        master = it->second;
    auto group = s.AliasesOf.find(master);
    if (group == s.AliasesOf.end())
        return {};
    std::vector<std::string> result;
    auto original = [&](const std::string& c) {
        auto it = s.OriginalNames.find(c);
        return it == s.OriginalNames.end() ? c : it->second;
    };
    if (master != clean)
        result.push_back(original(master));
    for (const std::string& alias : group->second)
        if (alias != clean)
            result.push_back(original(alias));
    return result;
}

void TMaterialXRegistries::TransferAliasesToIPRegistry() {
    TState& s = State();
    for (const auto& [alias, master] : s.MasterOf)
        TIPAliasRegistry::Instance().RegisterAlias(TMXPropertyCollection::StaticClass(),
                                                   s.OriginalNames[master], s.OriginalNames[alias]);
}

// ---------------------------------------------------------------------------------------------
// Enumerations of a model

void TMaterialXRegistries::EnumerateAssociatedParameterGroups(
    const TMXAssociatedParameterGroup& root,
    const std::function<void(const TMXAssociatedParameterGroup&)>& callback) {
    for (const TGroup* group : AssociatedParameterGroupsOf(root))
        callback(*group);
}

const std::vector<const TMXAssociatedParameterGroup*>&
TMaterialXRegistries::AssociatedParameterGroupsOf(const TMXAssociatedParameterGroup& root) {
    return CacheOf(root).Groups;
}

void TMaterialXRegistries::EnumerateAPGDependencies(
    const TMXAssociatedParameterGroup& group,
    const std::function<void(const TMXAssociatedParameterGroup&)>& callback) {
    std::set<const TGroup*> seen;
    Visit(group, seen, callback, false);
}

void TMaterialXRegistries::EnumerateParametersConstructorsFor(
    const TMXAssociatedParameterGroup& root, TMXParameterConstructorType type,
    const std::function<void(const TMXParametersConstructor&)>& callback) {
    for (const TGroup* group : AssociatedParameterGroupsOf(root))
        if (const TMXParametersConstructor* constructor = FindParametersConstructor(*group, type))
            callback(*constructor);
}

void TMaterialXRegistries::EnumerateParametersOrganizersFor(
    const TMXAssociatedParameterGroup& root, TMXParameterConstructorType type,
    const std::function<void(const TMXAssociatedParameterGroupOrganizer&)>& callback) {
    for (const TGroup* group : AssociatedParameterGroupsOf(root))
        if (auto it = State().Organizers.find({group, int(type)}); it != State().Organizers.end())
            callback(*it->second);
}

void TMaterialXRegistries::EnumerateMXIPConfigurationFunctionsFor(
    const TMXAssociatedParameterGroup& root,
    const std::function<void(const TIPConfigurationFunctor&)>& callback) {
    for (const TIPConfigurationFunctor& functor : ConfigurationFunctorsOf(root))
        callback(functor);
}

const std::vector<TIPConfigurationFunctor>&
TMaterialXRegistries::ConfigurationFunctorsOf(const TMXAssociatedParameterGroup& root) {
    return CacheOf(root).Functors;
}

const std::vector<TMXPlacedParameter>&
TMaterialXRegistries::PlacedParametersOf(const TMXAssociatedParameterGroup& root,
                                         const TMXPropertyCollectionClass& cls) {
    static const std::vector<TMXPlacedParameter> none;
    const TRootCache& cache = CacheOf(root);
    auto it = cache.Placed.find(&cls);
    return it == cache.Placed.end() ? none : it->second;
}

const TKovIntrinsicPropertyDeclaration*
TMaterialXRegistries::FindDeclaration(const TMXAssociatedParameterGroup& root,
                                      TMXParameterConstructorType type, const std::string& name) {
    const auto& declarations = CacheOf(root).Declarations[type];
    auto it = declarations.find(CleanName(name));
    return it == declarations.end() ? nullptr : it->second;
}

const std::set<std::string>&
TMaterialXRegistries::StructuralChangingPropertiesOf(const TMXAssociatedParameterGroup& root) {
    return CacheOf(root).Structural;
}

void TMaterialXRegistries::PopulateWithStructuralChangingProperties(std::set<std::string>& names,
                                                                    const TKovMaterialX& material) {
    if (const TGroup* root = material.RootAPGClass())
        for (const std::string& name : StructuralChangingPropertiesOf(*root))
            names.insert(name);
}

void TMaterialXRegistries::ClearCaches() {
    TState& s = State();
    std::lock_guard<std::mutex> lock(s.CacheMutex);
    s.Caches.clear();
}

void TMaterialXRegistries::ClearRegistries() {
    TState& s = State();
    ClearCaches();
    s.Roots.clear();
    s.MaterialClassOfRoot.clear();
    s.FactoryFunctions.clear();
    s.Collections.clear();
    s.Children.clear();
    s.CollectionsByName.clear();
    s.Constructors.clear();
    s.Organizers.clear();
    s.Configurations.clear();
    s.Additional.clear();
    s.Relations.clear();
    s.RelationKeys.clear();
    s.MasterOf.clear();
    s.AliasesOf.clear();
    s.OriginalNames.clear();
    s.GroupsByName.clear();
    s.Groups.clear();
}

} // namespace tw
