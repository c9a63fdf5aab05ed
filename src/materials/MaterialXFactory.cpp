#include "materials/MaterialXFactory.h"

#include "materials/MaterialXRegistries.h"
#include "materials/MaterialXTools.h"
#include "materials/SoilMaterialXRegistration.h"
#include "objects/NameTools.h"
#include "objects/ObjectManager.h"
#include "services/Format.h"

#include <exception>

namespace tw {

namespace {

// Marks a material under construction for the life of a scope (restoring what it was).
class TUnderConstruction {
public:
    explicit TUnderConstruction(TKovMaterialX& material)
        : FMaterial(material), FWas(material.IsUnderConstruction()) {
        FMaterial.SetUnderConstruction(true);
    }
    ~TUnderConstruction() { FMaterial.SetUnderConstruction(FWas); }
    TUnderConstruction(const TUnderConstruction&) = delete;
    TUnderConstruction& operator=(const TUnderConstruction&) = delete;

private:
    TKovMaterialX& FMaterial;
    bool FWas;
};

// An undo snapshot of a manager (no object to back up yet), closed with a rollback when the
// scope is left by an exception.
class TManagerSnapshot {
public:
    TManagerSnapshot(TKovObjectManager* manager, const std::function<std::string()>& caption)
        : FManager(manager && manager->RevertEnabled() ? manager : nullptr),
          FExceptions(std::uncaught_exceptions()) {
        if (FManager)
            FManager->UndoBeginSnapshot(caption());
    }
    ~TManagerSnapshot() noexcept(false) {
        if (!FManager)
            return;
        if (std::uncaught_exceptions() > FExceptions)
            FManager->UndoEndSnapshotWithRollback();
        else
            FManager->UndoEndSnapshot();
    }
    TManagerSnapshot(const TManagerSnapshot&) = delete;
    TManagerSnapshot& operator=(const TManagerSnapshot&) = delete;

private:
    TKovObjectManager* FManager;
    int FExceptions;
};

TMXPropertyCollection* TopCollectionOfClass(const TKovMaterialX& material,
                                            const TMXPropertyCollectionClass& cls) {
    if (!material.HasUserFeatures())
        return nullptr;
    for (TKovObject* item : material.TopCollections().Items())
        if (auto* collection = dynamic_cast<TMXPropertyCollection*>(item);
            collection && !collection->IsFreed() && &collection->CollectionClass() == &cls)
            return collection;
    return nullptr;
}

// Writes a stored value as one undoable change without telling anybody; the caller notifies.
void CopyValue(TKovIntrinsicProperty& target, const TKovIntrinsicProperty& source) {
    if (target.HasSameValueAs(source))
        return;
    target.Assign(source);
}

// Sets the model selector of a material to the value of its root, while under construction.
void SetSelectorToRoot(TKovMaterialX& material, const TMXAssociatedParameterGroup& root) {
    const std::string selector = material.ModelSelectorName();
    if (selector.empty())
        return;
    const int value = TMaterialXRegistries::ModelValueOfRoot(material.GetMaterialXClass(), root);
    auto* property = dynamic_cast<TIPEnumeration*>(material.FindInternalProperty(selector));
    if (property && value >= 0 && property->IntValue() != value)
        property->SetIntValue(value);
    material.SetAppliedModelValue(value);
}

bool IsStructural(const std::set<std::string>& structural, const std::string& name) {
    for (const std::string& s : structural)
        if (CleanName(s) == CleanName(name))
            return true;
    return false;
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Factory functions

void TMaterialXFactoryFunctions::CreateUserCollection(TKovMaterialX& material) const {
    CreatePropertyCollectionRecursively(material, nullptr, *FUser);
}

void TMaterialXFactoryFunctions::CreateInternalCollection(TKovMaterialX& material) const {
    CreatePropertyCollectionRecursively(material, nullptr, *FInternal);
}

void TMaterialXFactoryFunctions::CreateGlobalCollection(TKovMaterialX& material) const {
    CreatePropertyCollectionRecursively(material, nullptr, *FGlobal);
}

void TMaterialXFactoryFunctions::InitializeHierarchy(TKovMaterialX& material) const {
    CreateInternalCollection(material);
    CreateGlobalCollection(material);
    CreateUserCollection(material);
    TMaterialXIPCache::UpdateCacheFor(material);
}

void TMaterialXFactoryFunctions::ClearHierarchy(TKovMaterialX& material) const {
    if (!material.HasUserFeatures())
        return;
    TKovUserFeatureList& tops = material.TopCollections();
    for (int i = tops.Count() - 1; i >= 0; --i)
        if (dynamic_cast<TMXPropertyCollection*>(tops.GetItemOrNull(i)))
            tops.Delete(i);
    TMaterialXIPCache::UpdateCacheFor(material);
}

TMXPropertyCollection& TMaterialXFactoryFunctions::CreatePropertyCollectionRecursively(
    TKovMaterialX& material, TMXPropertyCollection* parent,
    const TMXPropertyCollectionClass& cls) const {
    TMXPropertyCollection* collection =
        parent ? parent->FindSubCollection(cls) : TopCollectionOfClass(material, cls);
    if (collection) {
        RemoveObsoleteIPsFrom(*collection);
        RemoveObsoleteUFsFrom(*collection);
    } else {
        auto made = Make<TMXPropertyCollection>(material.ObjectManager(), cls, &material, parent);
        collection = made.get();
        if (parent)
            parent->UserFeatures().Add(made.release());
        else
            material.AddTopCollection(std::move(made));
    }
    TMaterialXRegistries::EnumerateRegisteredMXPropertySubCollections(
        cls, [&](const TMXPropertyCollectionClass& sub) {
            CreatePropertyCollectionRecursively(material, collection, sub);
        });
    PopulatePropertyCollection(*collection, ncrOverwriteDerived);
    return *collection;
}

void TMaterialXFactoryFunctions::PopulatePropertyCollection(TMXPropertyCollection& collection,
                                                            TNameConflictResolution mode) const {
    if (mode != ncrRaiseError && mode != ncrOverwriteAll && mode != ncrOverwriteDerived &&
        mode != ncrIgnore)
        throw EMaterialXFactoryFunctions(
            Format("Unexpected NameConflictResolution enumeration encountered: %d", int(mode)));
    if (TKovIntrinsicProperty* name = collection.GetIntrinsicPropertyByName("Name"))
        name->SetReadOnly(true);
    TKovMaterialX* material = collection.RootMaterial();
    if (!material || !material->RootAPGClass())
        return;
    const TMXAssociatedParameterGroup& root = *material->RootAPGClass();
    const std::set<std::string>* structural = nullptr;
    if (mode == ncrOverwriteAll || mode == ncrOverwriteDerived)
        structural = &TMaterialXRegistries::StructuralChangingPropertiesOf(root);

    bool backedUp = false;
    auto backUp = [&] {
        if (!backedUp)
            collection.BackUpForStructureChange();
        backedUp = true;
    };
    int position = -1;
    for (const TMXPlacedParameter& placed :
         TMaterialXRegistries::PlacedParametersOf(root, collection.CollectionClass())) {
        ++position;
        const TKovIntrinsicPropertyDeclaration* declaration = placed.Declaration;
        if (!declaration)
            continue;
        if (TKovIntrinsicProperty* existing = collection.FindGroupProperty(placed.Property)) {
            if (structural && IsStructural(*structural, placed.Property))
                continue;
            switch (mode) {
            case ncrRaiseError:
                throw EMaterialXFactoryFunctions(
                    Format("Cannot create property named \"%s\" in \"%s\", because it already "
                           "exists!",
                           placed.Property, collection.Name()));
            case ncrOverwriteAll:
                break;
            case ncrOverwriteDerived:
                // A derived property of the same declaration would be replaced by its equal.
                if (!existing->IsDerived() || existing->Declaration() == declaration)
                    continue;
                break;
            case ncrIgnore:
                continue;
            }
            backUp();
            collection.RemoveIntrinsicProperty(existing);
        }
        backUp();
        std::unique_ptr<TKovIntrinsicProperty> property =
            collection.CreateGroupProperty(*declaration);
        TKovIntrinsicProperty& made = *property;
        collection.InsertIntrinsicProperty(position, std::move(property));
        if (placed.Default) {
            if (declaration->IsDerivedDeclaration())
                throw EMaterialXFactoryFunctions(
                    "Default initialization procedures are not allowed for derived properties");
            // A new property's first value is no change of anybody's: no undo, no notification.
            const bool locked = made.Locked();
            made.SetLocked(true);
            made.BeginUpdate();
            try {
                placed.Default(made);
            } catch (...) {
                made.EndUpdateNoNotification();
                made.SetLocked(locked);
                throw;
            }
            made.EndUpdateNoNotification();
            made.SetLocked(locked);
        }
    }
}

void TMaterialXFactoryFunctions::PopulateAllCollections(TKovMaterialX& material,
                                                        TNameConflictResolution mode) const {
    TMaterialXTools::EnumeratePropertyCollections(material, [&](TMXPropertyCollection& collection) {
        PopulatePropertyCollection(collection, mode);
    });
    TMaterialXIPCache::UpdateCacheFor(material);
}

void TMaterialXFactoryFunctions::RemoveObsoleteIPsFrom(TMXPropertyCollection& collection) const {
    TKovMaterialX* material = collection.RootMaterial();
    if (!material || !material->RootAPGClass())
        return;
    const std::vector<TMXPlacedParameter>& placed = TMaterialXRegistries::PlacedParametersOf(
        *material->RootAPGClass(), collection.CollectionClass());
    bool backedUp = false;
    for (TKovIntrinsicProperty* property : collection.GroupProperties()) {
        bool keep = false;
        for (const TMXPlacedParameter& p : placed)
            if (p.Declaration == property->Declaration()) {
                keep = true;
                break;
            }
        if (keep || KeepsUnplacedProperty(collection, *property))
            continue;
        if (!backedUp)
            collection.BackUpForStructureChange();
        backedUp = true;
        collection.RemoveIntrinsicProperty(property);
    }
}

void TMaterialXFactoryFunctions::RemoveObsoleteUFsFrom(TMXPropertyCollection& collection) const {
    if (!collection.HasUserFeatures())
        return;
    TKovUserFeatureList& features = collection.UserFeatures();
    for (int i = features.Count() - 1; i >= 0; --i) {
        auto* sub = dynamic_cast<TMXPropertyCollection*>(features.GetItemOrNull(i));
        if (!sub)
            continue;
        bool registered = false;
        TMaterialXRegistries::EnumerateRegisteredMXPropertySubCollections(
            collection.CollectionClass(), [&](const TMXPropertyCollectionClass& cls) {
                registered = registered || &cls == &sub->CollectionClass();
            });
        if (!registered)
            features.Delete(i);
    }
}

// ---------------------------------------------------------------------------------------------
// Factory

std::unique_ptr<TKovMaterialX> TMaterialXFactory::CreateMaterialXOfClass(
    TKovObjectManager* manager, const std::string& name, const TKovClass& materialClass,
    const TMXAssociatedParameterGroup& root, TPropertyQueryFunc queryFunction) {
    TManagerSnapshot snapshot(manager, [&] {
        return Format("Create %s based on APG %s", materialClass.Name(), root.ClassName());
    });
    std::unique_ptr<TKovObject> object = materialClass.Create(manager);
    auto* material = dynamic_cast<TKovMaterialX*>(object.get());
    if (!material)
        throw EMaterialXFactory(
            Format("The class \"%s\" makes no framework material", materialClass.Name()));
    object.release();
    std::unique_ptr<TKovMaterialX> result(material);
    result->SetPropertyQueryFunc(std::move(queryFunction));
    ApplyRootAPGTo(*result, root);
    if (!name.empty()) {
        result->SetNameBasedOnString(name);
        result->SetIdentification(name);
    }
    TMaterialXIPConfigurator::UpdateMaterialXIPConfigurations(*result);
    return result;
}

std::unique_ptr<TKovSoilMaterialX>
TMaterialXFactory::CreateSoilMaterialX(TKovObjectManager* manager, const std::string& name,
                                       const TMXAssociatedParameterGroup& root,
                                       TPropertyQueryFunc queryFunction) {
    std::unique_ptr<TKovMaterialX> material = CreateMaterialXOfClass(
        manager, name, TKovSoilMaterialX::StaticClass(), root, std::move(queryFunction));
    return std::unique_ptr<TKovSoilMaterialX>(static_cast<TKovSoilMaterialX*>(material.release()));
}

std::unique_ptr<TKovSoilMaterialX>
TMaterialXFactory::CreateSoilMaterialX(TKovObjectManager* manager, const std::string& name,
                                       TMXSoil_MaterialModel model,
                                       TPropertyQueryFunc queryFunction) {
    TMaterialXRegisters_Soil::EnsureRegistered();
    return CreateSoilMaterialX(
        manager, name, TMaterialXRegistries::GetRootAPGFor(TKovSoilMaterialX::StaticClass(), model),
        std::move(queryFunction));
}

void TMaterialXFactory::ApplyRootAPGTo(TKovMaterialX& material,
                                       const TMXAssociatedParameterGroup& root) {
    if (material.IsUnderConstruction())
        return;
    if (material.HasHierarchy() && material.RootAPGClass() == &root)
        return;
    const TMXAssociatedParameterGroup* old = material.RootAPGClass();
    TUndoSnapshot snapshot(material, [&] {
        return Format("Switch root APG from %s to %s", old ? old->ClassName() : std::string(),
                      root.ClassName());
    });
    const TMaterialXFactoryFunctions& functions =
        TMaterialXRegistries::GetFactoryFunctionsFor(material.GetMaterialXClass());
    {
        TUnderConstruction construction(material);
        if (material.HasHierarchy()) {
            // A stored value survives exactly when the new model has a stored value of the same
            // name and kind. The rebuild keeps the properties both models declare alike; the
            // others come new with their defaults and take the old value here. (This is what
            // building the new model on a material of its own and copying the shared values over
            // gives, without the cost of a second material.)
            struct TSaved {
                std::string Name;
                const TKovClass* Class;
                TVarRec Value;
                const TKovIntrinsicProperty* Property;
            };
            const std::set<std::string>& structural =
                TMaterialXRegistries::StructuralChangingPropertiesOf(root);
            std::vector<TSaved> saved;
            for (TKovIntrinsicProperty* from : material.InternalProperties())
                if (!from->IsDerived() && !IsStructural(structural, from->Name()))
                    saved.push_back(
                        {from->Name(), &from->ClassType(), from->GetValueRecord(), from});
            material.SetRootAPGClass(&root);
            functions.InitializeHierarchy(material);
            for (const TSaved& value : saved) {
                TKovIntrinsicProperty* to = material.FindInternalPropertyExact(value.Name);
                if (to && to != value.Property && !to->IsDerived() &&
                    &to->ClassType() == value.Class && to->GetValueRecord() != value.Value)
                    TMaterialXTools::SetPropertyFromVarRec(*to, value.Value);
            }
        } else {
            material.SetRootAPGClass(&root);
            functions.ClearHierarchy(material);
            functions.InitializeHierarchy(material);
        }
        SetSelectorToRoot(material, root);
        material.AfterHierarchyBuilt();
    }
    TMaterialXIPCache::UpdateCacheFor(material);
    TMaterialXIPConfigurator::UpdateMaterialXIPConfigurations(material);
    material.PropertyCollectionObservable().NotifyObservers(&material);
}

std::unique_ptr<TKovMaterialX>
TMaterialXFactory::CreateTemplateMaterialX(TKovObjectManager* manager, const std::string& name,
                                           const TKovMaterialX& material) {
    if (!material.RootAPGClass())
        throw EMaterialXFactory("Cannot make a template of a material without model");
    auto result = CreateMaterialXOfClass(manager, name, material.ClassType(),
                                         *material.RootAPGClass(), material.PropertyQueryFunc());
    result->SetSystemOfUnitsQueryFunc(material.SystemOfUnitsQueryFunc());
    if (!material.ModelSelectorName().empty())
        AssignStructuralValues(*result, material);
    return result;
}

void TMaterialXFactory::AssignStructuralValues(TKovMaterialX& target, const TKovMaterialX& source) {
    if (!source.RootAPGClass())
        return;
    for (const std::string& name :
         TMaterialXRegistries::StructuralChangingPropertiesOf(*source.RootAPGClass())) {
        const TKovIntrinsicProperty* from = source.FindInternalPropertyExact(name);
        TKovIntrinsicProperty* to = target.FindInternalPropertyExact(name);
        if (!from || !to) {
            from = source.FindUserPropertyExact(name);
            to = target.FindUserPropertyExact(name);
        }
        if (from && to && !to->HasSameValueAs(*from))
            TMaterialXTools::SetPropertyFromVarRec(*to, from->GetValueRecord());
    }
}

std::unique_ptr<TKovMaterialX> TMaterialXFactory::CreateCopy(TKovObjectManager* manager,
                                                             const TKovMaterialX& material) {
    TManagerSnapshot snapshot(manager, [&] { return Format("Copy %s", material.Name()); });
    std::unique_ptr<TKovObject> object = material.ClassType().Create(manager);
    std::unique_ptr<TKovMaterialX> copy(static_cast<TKovMaterialX*>(object.release()));
    AssignMaterial(*copy, material);
    return copy;
}

std::unique_ptr<TKovMaterialX> TMaterialXFactory::CreateStaticCopy(TKovObjectManager* manager,
                                                                   const TKovMaterialX& material) {
    std::unique_ptr<TKovMaterialX> copy = CreateCopy(manager, material);
    if (manager)
        manager->BeginHighPerformanceMode();
    try {
        TUnderConstruction construction(*copy);
        TMaterialXTools::EnumeratePropertyCollections(
            *copy, [&](TMXPropertyCollection& collection) {
                const std::vector<TKovIntrinsicProperty*> properties = collection.GroupProperties();
                for (size_t i = 0; i < properties.size(); ++i) {
                    TKovIntrinsicProperty* derived = properties[i];
                    if (!derived->IsDerived())
                        continue;
                    const TKovIntrinsicProperty* value = nullptr;
                    try {
                        value = derived->GetStaticEquivalent();
                    } catch (const EMaterialXException&) {
                        continue; // a value that can't be computed stays derived, and raises again
                    }
                    std::unique_ptr<TKovIntrinsicProperty> plain(
                        value->Declaration()->CreateInstanceOfProperty(&collection));
                    plain->AssignEssentialStateOnly_NoRevert(*value);
                    plain->CopyConfigurationFrom(*derived);
                    collection.RemoveIntrinsicProperty(derived);
                    collection.InsertIntrinsicProperty(int(i), std::move(plain));
                }
            });
    } catch (...) {
        if (manager)
            manager->EndHighPerformanceMode();
        throw;
    }
    if (manager)
        manager->EndHighPerformanceMode();
    TMaterialXIPCache::UpdateCacheFor(*copy);
    return copy;
}

TMXPropertyCollection&
TMaterialXFactory::MergeDerivedCollectionCopy(const TMXPropertyCollection* reference,
                                              TMXPropertyCollection* parent) {
    if (!reference)
        throw EMaterialXFactory("Cannot make a copy of unassigned reference collection!");
    if (!parent)
        throw EMaterialXFactory("Cannot add a collection copy to unassigned parent!");
    auto made = Make<TMXPropertyCollection>(parent->ObjectManager(), reference->CollectionClass(),
                                            parent->RootMaterial(), parent);
    TMXPropertyCollection& copy = *made;
    parent->UserFeatures().Add(made.release());
    for (TKovIntrinsicProperty* property : reference->GroupProperties()) {
        const TKovIntrinsicProperty& value = *property->GetStaticEquivalent();
        std::unique_ptr<TKovIntrinsicProperty> plain(
            value.Declaration()->CreateInstanceOfProperty(&copy));
        plain->AssignEssentialStateOnly_NoRevert(value);
        plain->CopyConfigurationFrom(*property);
        copy.AddIntrinsicProperty(std::move(plain));
    }
    for (TMXPropertyCollection* sub : reference->SubCollections())
        MergeDerivedCollectionCopy(sub, &copy);
    return copy;
}

void TMaterialXFactory::AssignMaterial(TKovMaterialX& target, const TKovMaterialX& source) {
    if (&target == &source)
        return;
    TUndoSnapshot snapshot(target, [&] { return Format("Assign %s", source.Name()); });
    target.SetPropertyQueryFunc(source.PropertyQueryFunc());
    target.SetSystemOfUnitsQueryFunc(source.SystemOfUnitsQueryFunc());
    if (const TKovMaterialConstructionParameters* parameters = source.ConstructionParameters()) {
        TKovMaterialConstructionParameters& mine = target.EnsureConstructionParametersExist();
        mine.SetMaterialClass(parameters->MaterialClass());
        mine.SetFromProperties(parameters->ValueProperties());
    }
    if (source.RootAPGClass() &&
        (!target.HasHierarchy() || target.RootAPGClass() != source.RootAPGClass()))
        ApplyRootAPGTo(target, *source.RootAPGClass());
    target.BeginUpdate();
    try {
        // The structural values first, so that the hierarchy has its final shape before the
        // ordinary values arrive.
        AssignStructuralValues(target, source);
        const std::set<std::string> structural =
            source.RootAPGClass()
                ? TMaterialXRegistries::StructuralChangingPropertiesOf(*source.RootAPGClass())
                : std::set<std::string>();
        for (TKovIntrinsicProperty* from : source.InternalProperties()) {
            if (IsStructural(structural, from->Name()) || from->IsDerived())
                continue;
            TKovIntrinsicProperty* to = target.FindInternalPropertyExact(from->Name());
            if (to && !to->IsDerived() && &to->ClassType() == &from->ClassType())
                CopyValue(*to, *from);
        }
        const TKovIntrinsicPropertyList& own = source.IntrinsicProperties();
        for (int i = 0; i < own.Count(); ++i) {
            const TKovIntrinsicProperty& from = *own[i];
            TKovIntrinsicProperty* to = target.GetIntrinsicPropertyByName(from.Name());
            if (to && !to->IsDerived() && !from.IsDerived() && to->CleanName() != "name")
                CopyValue(*to, from);
        }
    } catch (...) {
        target.EndUpdate();
        throw;
    }
    target.EndUpdate();
    TMaterialXIPCache::UpdateCacheFor(target);
    TMaterialXIPConfigurator::UpdateMaterialXIPConfigurations(target);
    target.PropertyCollectionObservable().NotifyObservers(&target);
}

} // namespace tw
