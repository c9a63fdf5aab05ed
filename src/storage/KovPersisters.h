#pragma once
// The persisters of the object framework: objects with identity and name, lists, observable
// objects with their declared intrinsic properties, parentable objects, user features, reference
// lists, each kind of property, and the system of units.
//
// An observable object is stored as its node with "ID" and "Name", and one child per persisted
// property, named by the property's clean name: so a new model class is saved and read without a
// persister of its own. A property with an empty value is not written. A property renamed since
// older files keeps reading them when its class maps the old name to the new one.

#include "storage/HierarchicPersisters.h"

#include <map>
#include <string>
#include <vector>

namespace tw {

class TKovIntrinsicProperty;
class TSystemOfUnits;

// Old property names per class, tried on reading when the property's own node is missing.
class THPPropertyNameMappings {
public:
    static THPPropertyNameMappings& Instance();
    // Raises "Cannot add two mappings for the same OldName: %s" when the class has that old name
    // already.
    void Add(const TKovClass& cls, const std::string& oldName, const std::string& newName);
    void Remove(const TKovClass& cls);
    // The old names of a property of `cls` (or of its ancestors), in the order they were added.
    std::vector<std::string> OldNamesOf(const TKovClass& cls, const std::string& newName) const;

private:
    std::map<const TKovClass*, std::vector<std::pair<std::string, std::string>>> FMappings;
};

// Identity and name: the named values "ID" and "Name", and "Version" for classes that have one.
class THPKovObject : public THPCustomObject {
public:
    const TKovClass& SupportedClass() const override;

protected:
    void DoLoadObject(TKovObject& object, THierarchicStorage& storage,
                      THPReadErrorList* errors) override;
    void DoPersistObject(TKovObject& object, THierarchicStorage& storage) override;
    // Whether objects of this persister record the version of the program that wrote them, and
    // refuse to load when it is newer than the running one.
    virtual bool NeedsVersion(const TKovObject& /*object*/) const { return false; }
    virtual bool LoadsName() const { return true; }
};

// Serves any object when nothing closer does.
class THPKovFallbackPersister : public THPKovObject {
public:
    int GetSupportLevel(const TKovClass& cls) const override;
};

// A list: its own values, then one child per item. An owned item is written by its persister,
// under its type name ("__nil__" for an empty slot); an item owned elsewhere as "ItemID" with its
// GUID, resolved once the whole tree is read.
class THPKovObjectList : public THPKovObject {
public:
    const TKovClass& SupportedClass() const override;

protected:
    void DoLoadObject(TKovObject& object, THierarchicStorage& storage,
                      THPReadErrorList* errors) override;
    void DoPersistObject(TKovObject& object, THierarchicStorage& storage) override;
    // An owning list takes the items of the one read; the old items go.
    void DoCommitLoadedObject(TKovObject& target, TKovObject& loaded) override;
};

class THPKovReferenceList : public THPKovObjectList {
public:
    const TKovClass& SupportedClass() const override;
};

class THPKovUserFeatureList : public THPKovObjectList {
public:
    const TKovClass& SupportedClass() const override;
};

// Every declared property for which PersistThisProperty holds, in declaration order, then the
// user features. A property without a node keeps its default, with an hresInfo when the list
// of read errors is given.
class THPKovObservableObject : public THPKovObject {
public:
    const TKovClass& SupportedClass() const override;
    // Re-links parentable user features to their object.
    void PostLoad(TKovObject& object, THPReadErrorList* errors) override;

protected:
    void AddAdditionalObjects(TKovObject& object, TAdditionalPersistObjects& list) override;
    void HandleNotFoundAdditionalObjectsSubStorageFor(TKovObject& object,
                                                      TAdditionalPersister& entry,
                                                      THierarchicStorage& storage,
                                                      THPReadErrorList* errors) override;
    // The object's own state, as a memento takes it (property values, fields of the class).
    void DoCommitLoadedObject(TKovObject& target, TKovObject& loaded) override;
    // Stored values only: a derived property's value lives in its owner.
    virtual bool PersistThisProperty(const TKovIntrinsicProperty& property) const;
};

// Adds the named value "ParentId", the parent's GUID.
class THPKovParentableObject : public THPKovObservableObject {
public:
    const TKovClass& SupportedClass() const override;

protected:
    void DoLoadObject(TKovObject& object, THierarchicStorage& storage,
                      THPReadErrorList* errors) override;
    void DoPersistObject(TKovObject& object, THierarchicStorage& storage) override;
};

// A property: "ID" and "Name" like an object, then the value. The base class moves any kind
// through its tagged record (SaveValue, LoadValue); the kinds below store typed values.
class THPIntrinsicProperty : public THPKovObject {
public:
    const TKovClass& SupportedClass() const override;

protected:
    void DoLoadObject(TKovObject& object, THierarchicStorage& storage,
                      THPReadErrorList* errors) override;
    void DoPersistObject(TKovObject& object, THierarchicStorage& storage) override;
    void DoCommitLoadedObject(TKovObject& target, TKovObject& loaded) override;
    bool LoadsName() const override { return false; }
    // `property` is the static equivalent of the one persisted.
    virtual void WriteValue(const TKovIntrinsicProperty& property, THierarchicStorage& storage);
    virtual void ReadValue(TKovIntrinsicProperty& property, THierarchicStorage& storage,
                           THPReadErrorList* errors);
    // A value that can't be taken: a warning with a list, else raised.
    static void Report(THPReadErrorList* errors, TKovIntrinsicProperty& property,
                       const std::string& text);
};

#define TW_PROPERTY_PERSISTER(Class, Base)                                                         \
    class Class : public Base {                                                                    \
    public:                                                                                        \
        const TKovClass& SupportedClass() const override;                                          \
                                                                                                   \
    protected:                                                                                     \
        void WriteValue(const TKovIntrinsicProperty& property,                                     \
                        THierarchicStorage& storage) override;                                     \
        void ReadValue(TKovIntrinsicProperty& property, THierarchicStorage& storage,               \
                       THPReadErrorList* errors) override;                                         \
    };

TW_PROPERTY_PERSISTER(THPIPBoolean, THPIntrinsicProperty)
TW_PROPERTY_PERSISTER(THPIPInteger, THPIntrinsicProperty)
TW_PROPERTY_PERSISTER(THPIPDouble, THPIntrinsicProperty)
TW_PROPERTY_PERSISTER(THPIPText, THPIntrinsicProperty)
// The target's GUID as text, empty for none; read back without looking for the target, which
// may not exist yet.
TW_PROPERTY_PERSISTER(THPIPKovObject, THPIntrinsicProperty)
// Two children, "IntegerValue" and "TextValue": the text wins when the property still knows it,
// so the order of the values may change between versions.
TW_PROPERTY_PERSISTER(THPIPEnumeration, THPIntrinsicProperty)
// "ColCount" as named value; the numbers row by row, as a blob of doubles where the back-end likes
// blobs, else as text.
TW_PROPERTY_PERSISTER(THPIPTable, THPIntrinsicProperty)
TW_PROPERTY_PERSISTER(THPIPBlob, THPIntrinsicProperty)
// The fourteen simple units, each a child named after it with its presentation text.
TW_PROPERTY_PERSISTER(THPSystemOfUnits, THPIntrinsicProperty)

#undef TW_PROPERTY_PERSISTER

// Reads numbers with units of old files, which hold them in the file's own presentation units,
// and converts them to base units. Registered for the duration of such a read.
class THPLegacyConversionIPDoubleWithUnit : public THPIPDouble {
public:
    explicit THPLegacyConversionIPDoubleWithUnit(const TSystemOfUnits& units)
        : FSystemOfUnits(&units) {}
    const TKovClass& SupportedClass() const override;

protected:
    void ReadValue(TKovIntrinsicProperty& property, THierarchicStorage& storage,
                   THPReadErrorList* errors) override;

private:
    const TSystemOfUnits* FSystemOfUnits;
};

// Registers the persisters above (the registry does so on first use).
void RegisterKovPersisters(THierarchicPersisters& persisters);

} // namespace tw
