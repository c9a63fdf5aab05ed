#pragma once
// Making materials: the factory (create, switch the model, copy, template, static copy) and the
// factory functions per material class, which build the trees of collections from the registry.

#include "materials/KovMaterialX.h"

#include <memory>
#include <set>
#include <string>

namespace tw {

class TMaterialXFactoryFunctions {
public:
    enum TNameConflictResolution { ncrRaiseError, ncrOverwriteAll, ncrOverwriteDerived, ncrIgnore };

    TMaterialXFactoryFunctions(const TMXPropertyCollectionClass& user,
                               const TMXPropertyCollectionClass& internal,
                               const TMXPropertyCollectionClass& global)
        : FUser(&user), FInternal(&internal), FGlobal(&global) {}
    virtual ~TMaterialXFactoryFunctions() = default;

    // The three top collections, in slot order user, internal, global.
    virtual void CreateUserCollection(TKovMaterialX& material) const;
    virtual void CreateInternalCollection(TKovMaterialX& material) const;
    virtual void CreateGlobalCollection(TKovMaterialX& material) const;
    const TMXPropertyCollectionClass& UserClass() const { return *FUser; }
    const TMXPropertyCollectionClass& InternalClass() const { return *FInternal; }
    const TMXPropertyCollectionClass& GlobalClass() const { return *FGlobal; }

    // Creates (or, where they exist, rebuilds) internal, global and user, in this order.
    void InitializeHierarchy(TKovMaterialX& material) const;
    // Frees the top collections, with undo.
    void ClearHierarchy(TKovMaterialX& material) const;
    // The collection of `cls` under `parent` (nullptr: a top collection of the material): made,
    // or cleaned of what its model no longer has; then its sub-collections, then its properties.
    TMXPropertyCollection&
    CreatePropertyCollectionRecursively(TKovMaterialX& material, TMXPropertyCollection* parent,
                                        const TMXPropertyCollectionClass& cls) const;
    void PopulatePropertyCollection(TMXPropertyCollection& collection,
                                    TNameConflictResolution mode) const;
    // Every collection of the material, with ncrIgnore: what a material read from an older file
    // needs, so that properties added since exist with their defaults.
    void PopulateAllCollections(TKovMaterialX& material, TNameConflictResolution mode) const;
    void RemoveObsoleteIPsFrom(TMXPropertyCollection& collection) const;
    // Whether a property that no organizer places stays in its collection all the same (the
    // parameters a user-defined model's library declares).
    virtual bool KeepsUnplacedProperty(const TMXPropertyCollection& /*collection*/,
                                       const TKovIntrinsicProperty& /*property*/) const {
        return false;
    }
    void RemoveObsoleteUFsFrom(TMXPropertyCollection& collection) const;

private:
    const TMXPropertyCollectionClass* FUser;
    const TMXPropertyCollectionClass* FInternal;
    const TMXPropertyCollectionClass* FGlobal;
};

class TMaterialXFactory {
public:
    // Creates a material of `materialClass` on `root`. With a manager the creation is one undo
    // step "Create %s based on APG %s". A non-empty name becomes the object name and the
    // identification.
    static std::unique_ptr<TKovMaterialX>
    CreateMaterialXOfClass(TKovObjectManager* manager, const std::string& name,
                           const TKovClass& materialClass, const TMXAssociatedParameterGroup& root,
                           TPropertyQueryFunc queryFunction);
    static std::unique_ptr<TKovSoilMaterialX>
    CreateSoilMaterialX(TKovObjectManager* manager, const std::string& name,
                        const TMXAssociatedParameterGroup& root, TPropertyQueryFunc queryFunction);
    // The soil material of a model value.
    static std::unique_ptr<TKovSoilMaterialX> CreateSoilMaterialX(TKovObjectManager* manager,
                                                                  const std::string& name,
                                                                  TMXSoil_MaterialModel model,
                                                                  TPropertyQueryFunc queryFunction);

    // Switches the model, keeping every stored value whose name both models share; one undo step
    // "Switch root APG from %s to %s". Nothing happens while the material is under construction
    // or when the root is the one in force.
    static void ApplyRootAPGTo(TKovMaterialX& material, const TMXAssociatedParameterGroup& root);

    // A fresh material with the query function and the model of `material`: its defaults.
    static std::unique_ptr<TKovMaterialX> CreateTemplateMaterialX(TKovObjectManager* manager,
                                                                  const std::string& name,
                                                                  const TKovMaterialX& material);
    // A new material of the same class, assigned from `material`.
    static std::unique_ptr<TKovMaterialX> CreateCopy(TKovObjectManager* manager,
                                                     const TKovMaterialX& material);
    // A copy whose derived properties are replaced by plain ones holding their current values.
    static std::unique_ptr<TKovMaterialX> CreateStaticCopy(TKovObjectManager* manager,
                                                           const TKovMaterialX& material);
    // Adds under `parent` a copy of the derived collection `reference` (and its sub-collections)
    // with plain properties holding the current values. Raises "Cannot make a copy of unassigned
    // reference collection!" and "Cannot add a collection copy to unassigned parent!".
    static TMXPropertyCollection& MergeDerivedCollectionCopy(const TMXPropertyCollection* reference,
                                                             TMXPropertyCollection* parent);

    // Copies `source` into `target` as Assign does: the root first, then the structural values,
    // then every other stored value and the material's own properties. One undo step.
    static void AssignMaterial(TKovMaterialX& target, const TKovMaterialX& source);
    // Writes the structural values (the model selector and the like) of `source` into `target`.
    static void AssignStructuralValues(TKovMaterialX& target, const TKovMaterialX& source);
};

} // namespace tw
