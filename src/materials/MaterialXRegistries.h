#pragma once
// The registry of the material framework: root groups and their selectors, the factory functions
// per material class, the collection classes, the constructors, organizers and configuration
// groups per group, the relations between parameters and the aliases of names.
//
// Registration runs once at start-up on the main thread; afterwards the registry is read without
// locks. Answers derived from it per root group (the group closure, the organizer entries per
// collection, the configuration functions) are computed on first use and cached; registering
// anything drops the caches.

#include "materials/MXPropertyCollection.h"
#include "materials/MaterialXDeclarations.h"

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace tw {

class TMaterialXFactoryFunctions;

// Decides whether a model value belongs to a root group.
using TMXRootSelector = std::function<bool(int modelValue)>;

// A parameter of a collection, as the organizers of a model place it.
struct TMXPlacedParameter {
    std::string Property;
    const TMXAssociatedParameterGroup* Group;
    TMXDefaultValueFunction Default;
    // The declaration of the group's own constructor, else of the first constructor of the
    // model that declares the name; nullptr for none.
    const TKovIntrinsicPropertyDeclaration* Declaration;
};

class TMaterialXRegistries {
public:
    // Roots, in registration order per material class.
    static void RegisterMXRootParameterGroup(const TKovClass& materialClass,
                                             TMXRootSelector selector,
                                             const TMXAssociatedParameterGroup& root);
    // Raises "Cannot find the registered root associated parameter group for \"%s\"".
    static const TMXAssociatedParameterGroup& GetRootAPGFor(const TKovClass& materialClass,
                                                            int modelValue);
    static const TMXAssociatedParameterGroup* TryGetRootAPGFor(const TKovClass& materialClass,
                                                               int modelValue);
    // The first model value 0 .. 1000 whose selector gives `root`; -1 for none.
    static int ModelValueOfRoot(const TKovClass& materialClass,
                                const TMXAssociatedParameterGroup& root);

    // The registry owns the groups it is given.
    static const TMXAssociatedParameterGroup&
    RegisterAPG(std::unique_ptr<TMXAssociatedParameterGroup> group);
    static const TMXAssociatedParameterGroup* FindAPG(const std::string& className);

    static void RegisterFactoryFunctions(const TKovClass& materialClass,
                                         const TMaterialXFactoryFunctions& functions);
    static const TMaterialXFactoryFunctions& GetFactoryFunctionsFor(const TKovClass& materialClass);

    // Idempotent: the parent first, then the class joins its parent's children.
    static void RegisterMXPropertyCollection(const TMXPropertyCollectionClass& cls);
    static void EnumerateRegisteredMXPropertySubCollections(
        const TMXPropertyCollectionClass& parent,
        const std::function<void(const TMXPropertyCollectionClass&)>& callback);
    static TMXParameterConstructorType GetConstructorTypeFor(const TMXPropertyCollectionClass& cls);
    // The collection class of a material class with that name and constructor type, or nullptr.
    static const TMXPropertyCollectionClass* FindCollectionClass(const TKovClass& materialClass,
                                                                 const std::string& name,
                                                                 TMXParameterConstructorType type);

    static void RegisterMXParametersConstructor(const TMXAssociatedParameterGroup& group,
                                                TMXParameterConstructorType type,
                                                std::unique_ptr<TMXParametersConstructor> instance);
    static const TMXParametersConstructor*
    FindParametersConstructor(const TMXAssociatedParameterGroup& group,
                              TMXParameterConstructorType type);
    // Raise "Cannot find parameter constructor for material of class \"%s\", parameter group
    // \"%s\"" and the organizer twin.
    static const TMXParametersConstructor&
    GetParametersConstructor(const TKovClass& materialClass,
                             const TMXAssociatedParameterGroup& group,
                             TMXParameterConstructorType type);
    static void
    RegisterMXParametersOrganizer(const TMXAssociatedParameterGroup& group,
                                  TMXParameterConstructorType type,
                                  std::unique_ptr<TMXAssociatedParameterGroupOrganizer> organizer);
    static const TMXAssociatedParameterGroupOrganizer&
    GetParametersOrganizer(const TKovClass& materialClass, const TMXAssociatedParameterGroup& group,
                           TMXParameterConstructorType type);
    static void RegisterMXIPConfigurationFunctions(const TMXAssociatedParameterGroup& group,
                                                   std::unique_ptr<TMXIPConfigurationGroup> cfg);
    static const TMXIPConfigurationGroup*
    TryGetMXIPConfigurationRegistryFor(const TMXAssociatedParameterGroup& group);
    static void RegisterAdditionalAPGRelation(const TMXAssociatedParameterGroup& from,
                                              const TMXAssociatedParameterGroup& to);

    // Raise "APG for constructor \"%s\" could not be found." and the organizer twin.
    static const TMXAssociatedParameterGroup&
    GetAssociatedParameterGroupClassOf(const TMXParametersConstructor& constructor);
    static const TMXAssociatedParameterGroup&
    GetAssociatedParameterGroupClassOf(const TMXAssociatedParameterGroupOrganizer& organizer);

    // Relations: `parameter` of `group` reads (Get), writes (Set) or is configured by (Config)
    // each of `others`. A relation to itself and a repeated one raise.
    static void RegisterAPGParameterGetRelation(const TMXAssociatedParameterGroup& group,
                                                const std::string& parameter,
                                                const std::vector<std::string>& others);
    static void RegisterAPGParameterSetRelation(const TMXAssociatedParameterGroup& group,
                                                const std::string& parameter,
                                                const std::vector<std::string>& others);
    static void RegisterAPGParameterConfigRelation(const TMXAssociatedParameterGroup& group,
                                                   const std::string& parameter,
                                                   const std::vector<std::string>& others);
    static void RegisterAPGParameterGetAndSetRelation(const TMXAssociatedParameterGroup& group,
                                                      const std::string& parameter,
                                                      const std::vector<std::string>& others);
    static void RegisterAPGParameterRelations(const TMXAssociatedParameterGroup& group,
                                              const std::string& parameter,
                                              const std::vector<std::string>& gets,
                                              const std::vector<std::string>& sets,
                                              const std::vector<std::string>& configs);
    // The _AsAlias forms also register `parameter` as an alias of each other name.
    static void RegisterAPGParameterGetRelation_AsAlias(const TMXAssociatedParameterGroup& group,
                                                        const std::string& parameter,
                                                        const std::vector<std::string>& others);
    static void RegisterAPGParameterSetRelation_AsAlias(const TMXAssociatedParameterGroup& group,
                                                        const std::string& parameter,
                                                        const std::vector<std::string>& others);
    static void RegisterAPGParameterConfigRelation_AsAlias(const TMXAssociatedParameterGroup& group,
                                                           const std::string& parameter,
                                                           const std::vector<std::string>& others);
    static void
    RegisterAPGParameterGetAndSetRelation_AsAlias(const TMXAssociatedParameterGroup& group,
                                                  const std::string& parameter,
                                                  const std::vector<std::string>& others);
    static void EnumInterAPGParameterRelations(
        TMXParameterRelationType kind,
        const std::function<void(const TMXAssociatedParameterGroup&, const std::string& parameter,
                                 const std::string& other)>& callback);

    // Aliases: a name is in one group, as master or as alias. Chains raise "Aliasing has too many
    // levels: \"%s\" is both an alias and a master."; joining two groups raises "NYI:
    // Master/alias group merging".
    static void RegisterAlias(const std::string& master, const std::string& alias);
    // The other names of the group of `name` (its master and the master's other aliases, or its
    // aliases).
    static void EnumerateAliasesOf(const std::string& name,
                                   const std::function<void(const std::string&)>& callback);
    static std::vector<std::string> AliasesOf(const std::string& name);
    // Registers the aliases with the property alias registry, for the collections' class.
    static void TransferAliasesToIPRegistry();

    // The groups of a model, depth-first from the root, each once; disabled groups are left out.
    static void EnumerateAssociatedParameterGroups(
        const TMXAssociatedParameterGroup& root,
        const std::function<void(const TMXAssociatedParameterGroup&)>& callback);
    static const std::vector<const TMXAssociatedParameterGroup*>&
    AssociatedParameterGroupsOf(const TMXAssociatedParameterGroup& root);
    // The dependencies of one group, depth-first, each once, the group itself excluded.
    static void EnumerateAPGDependencies(
        const TMXAssociatedParameterGroup& group,
        const std::function<void(const TMXAssociatedParameterGroup&)>& callback);
    static void EnumerateParametersConstructorsFor(
        const TMXAssociatedParameterGroup& root, TMXParameterConstructorType type,
        const std::function<void(const TMXParametersConstructor&)>& callback);
    static void EnumerateParametersOrganizersFor(
        const TMXAssociatedParameterGroup& root, TMXParameterConstructorType type,
        const std::function<void(const TMXAssociatedParameterGroupOrganizer&)>& callback);
    static void EnumerateMXIPConfigurationFunctionsFor(
        const TMXAssociatedParameterGroup& root,
        const std::function<void(const TIPConfigurationFunctor&)>& callback);
    static const std::vector<TIPConfigurationFunctor>&
    ConfigurationFunctorsOf(const TMXAssociatedParameterGroup& root);

    // The parameters the organizers of a model place in the collection of a class, in order.
    static const std::vector<TMXPlacedParameter>&
    PlacedParametersOf(const TMXAssociatedParameterGroup& root,
                       const TMXPropertyCollectionClass& cls);
    // The declaration of a name by the constructors of a model of that type; nullptr for none.
    static const TKovIntrinsicPropertyDeclaration*
    FindDeclaration(const TMXAssociatedParameterGroup& root, TMXParameterConstructorType type,
                    const std::string& name);

    // The structural-changing parameters of a model.
    static const std::set<std::string>&
    StructuralChangingPropertiesOf(const TMXAssociatedParameterGroup& root);
    static void PopulateWithStructuralChangingProperties(std::set<std::string>& names,
                                                         const TKovMaterialX& material);

    static void ClearRegistries();
    // Drops the answers computed per root group.
    static void ClearCaches();
};

} // namespace tw
