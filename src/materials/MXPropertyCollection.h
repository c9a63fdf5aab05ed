#pragma once
// The collections of a material: a tree of user features, one class per node, holding intrinsic
// properties made at run time from the declarations of the material's groups.
//
// A collection class is a descriptor (TMXPropertyCollectionClass) registered once at start-up:
// its name, caption, parent class and constructor type. Every collection object points at its
// class, at its parent collection and at the material at the root of its tree (none of them
// owned: the parent's user-feature list owns the collection, the material owns the top ones).
//
// Undo: a collection backs itself up before its set of properties changes, and its memento holds
// copies of all its properties. A property that leaves the collection is kept aside (not
// destroyed) while the collection lives, so that undo and redo bring back the same property
// objects and the undo entries of their own writes stay valid.

#include "materials/MaterialXDeclarations.h"
#include "objects/KovObjectLists.h"

#include <optional>
#include <string>
#include <vector>

namespace tw {

class TKovMaterialX;

class TMXPropertyCollectionClass {
public:
    // `type` empty: the parent's. `materialClass` empty: the parent's.
    TMXPropertyCollectionClass(std::string className, const TMXPropertyCollectionClass* parent,
                               std::string name, std::string caption = "",
                               std::optional<TMXParameterConstructorType> type = std::nullopt,
                               const TKovClass* materialClass = nullptr);
    TMXPropertyCollectionClass(const TMXPropertyCollectionClass&) = delete;
    TMXPropertyCollectionClass& operator=(const TMXPropertyCollectionClass&) = delete;
    virtual ~TMXPropertyCollectionClass() = default;

    // "TMXPropertyCollection_Soil_Persistent_Stiffness".
    const std::string& ClassName() const { return FClassName; }
    const TMXPropertyCollectionClass* ParentCollectionClass() const { return FParent; }
    const std::string& CollectionName() const { return FName; }
    // The caption, or the name where none was given.
    const std::string& CollectionCaption() const { return FCaption.empty() ? FName : FCaption; }
    // A further name: the class name's part after the material type ("Soil_Persistent_...").
    std::string FurtherName() const;
    // Raises EMaterialXRegistries ("Cannot find constructor type for property collection of
    // class \"%s\"") for a class without type and without parent.
    TMXParameterConstructorType ConstructorType() const;
    const TKovClass* GetMaterialXClass() const;

    bool HasAlternativeCaption() const { return !FAlternativeCaption.empty(); }
    const std::string& AlternativeCaption() const { return FAlternativeCaption; }
    bool HasShortName() const { return !FShortName.empty(); }
    const std::string& ShortName() const { return FShortName; }
    bool HasAlternativeName() const { return !FAlternativeName.empty(); }
    const std::string& AlternativeName() const { return FAlternativeName; }
    void SetAlternativeCaption(std::string caption) { FAlternativeCaption = std::move(caption); }
    void SetShortName(std::string name) { FShortName = std::move(name); }
    void SetAlternativeName(std::string name) { FAlternativeName = std::move(name); }

    // Run around every change of a property of a collection of this class.
    virtual void BeforeChange(class TMXPropertyCollection& /*collection*/) const {}
    virtual void AfterChange(class TMXPropertyCollection& /*collection*/) const {}

private:
    std::string FClassName;
    const TMXPropertyCollectionClass* FParent;
    std::string FName, FCaption;
    std::optional<TMXParameterConstructorType> FType;
    const TKovClass* FMaterialClass;
    std::string FAlternativeCaption, FShortName, FAlternativeName;
};

class TMXPropertyCollection : public TKovUserFeature {
    TW_KOV_CLASS(TMXPropertyCollection, TKovUserFeature)
public:
    // `parent` is nullptr for a top collection.
    TMXPropertyCollection(TKovObjectManager* manager, const TMXPropertyCollectionClass& cls,
                          TKovMaterialX* material, TMXPropertyCollection* parent);
    ~TMXPropertyCollection() override;

    const TMXPropertyCollectionClass& CollectionClass() const { return *FClass; }
    TKovMaterialX* RootMaterial() const { return FMaterial; }
    TMXPropertyCollection* ParentCollection() const { return FParent; }
    // "%s_%s_%s": the material type, the constructor type and the collection name.
    std::string GetObjectTypeName() const override;
    std::string Caption() const override { return FClass ? FClass->CollectionCaption() : Name(); }

    // The properties of the class (name, comments, ...) come first; the properties of the
    // material's groups follow them.
    int FixedPropertyCount() const;
    void AddIntrinsicProperty(std::unique_ptr<TKovIntrinsicProperty> property);
    // `position` counts among the group properties; a position past the end appends.
    void InsertIntrinsicProperty(int position, std::unique_ptr<TKovIntrinsicProperty> property);
    // A property of a declaration for this collection: the one it had before, if any (reset to
    // its default), else a new one. The caller inserts it.
    std::unique_ptr<TKovIntrinsicProperty>
    CreateGroupProperty(const TKovIntrinsicPropertyDeclaration& declaration);
    // Takes a group property out (it is kept aside while the collection lives).
    void RemoveIntrinsicProperty(TKovIntrinsicProperty* property);
    // A group property by name (clean form), or nullptr.
    TKovIntrinsicProperty* FindGroupProperty(const std::string& name) const;
    // The group properties in order.
    std::vector<TKovIntrinsicProperty*> GroupProperties() const;

    std::vector<TMXPropertyCollection*> SubCollections() const;
    TMXPropertyCollection* FindSubCollection(const TMXPropertyCollectionClass& cls) const;

    // Backs the collection up in the open undo snapshot before its set of properties changes.
    void BackUpForStructureChange();

    void MarkAsFreed() override;
    void MarkAsNotFreed() override;

    // Raised whenever the set of collections or properties of any material changes: the
    // materials' name indexes compare against it.
    static uint64_t StructureGeneration();
    static void BumpStructureGeneration();

protected:
    void PropertyChanged(TKovIntrinsicProperty& property) override;
    void AssignEssentialState(const TKovObject& source) override;
    bool UsesNameRegistry() const override { return false; }

private:
    std::unique_ptr<TKovIntrinsicProperty>
    TakeFromGraveyard(const TKovIntrinsicPropertyDeclaration* declaration);

    const TMXPropertyCollectionClass* FClass = nullptr;
    TKovMaterialX* FMaterial = nullptr;
    TMXPropertyCollection* FParent = nullptr;
    std::vector<std::unique_ptr<TKovIntrinsicProperty>> FGraveyard;
};

} // namespace tw
