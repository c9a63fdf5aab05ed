#pragma once
// Persisters move objects to and from the hierarchic storage. A persister is a stateless object
// for one class (and, unless a closer one is registered, its descendants); classes know nothing
// of files. THierarchicPersisters finds the best persister for a class: the one registered for
// the nearest ancestor.
//
// Loading is all or nothing. THierarchicPersisters reads a file into new objects: LoadNewObject
// answers a new object, LoadObject reads into a twin of the given object and moves the twin's
// state into it only when the whole read succeeded. Whatever has to wait until the whole tree is
// read waits in the THPLoadSession: the stored identities (GUIDs) of the objects, their stored
// names, parents and the items of lists that do not own them, and the post-load hooks. A read that
// fails, or that records an error of severity hresError, leaves the model as it was.
//
// Persisters are registered at start-up, on the main thread, and used by one thread at a time.

#include "objects/KovBaseClasses.h"
#include "storage/HPReadErrors.h"
#include "storage/HierarchicStorage.h"

#include <functional>
#include <memory>
#include <string>
#include <typeinfo>
#include <unordered_map>
#include <vector>

namespace tw {

class THPObject;
class THPCustomObject;
class TKovObjectList;
class TKovParentableObject;
class TKovObjectManager;

// A read that recorded an error of severity hresError: the caller abandons the file.
TW_DECLARE_EXCEPTION(EHPReadAbandoned, EHierarchicPersisterException)

// A date and time as a number of days since 30 December 1899, the fraction being the time of day.
struct TDateTime {
    double Days = 0;
    friend bool operator==(const TDateTime&, const TDateTime&) = default;
};

// One child that a persister wants handled: the object, its persister and the node's name.
class TAdditionalPersister {
public:
    // Raises "Unknown persister for object at %d" (with `index`) when no persister serves the
    // object's class.
    TAdditionalPersister(const std::string& storageName, TKovObject* object, bool ownsObject,
                         int index = 0);
    TAdditionalPersister(const TAdditionalPersister&) = delete;
    TAdditionalPersister& operator=(const TAdditionalPersister&) = delete;
    ~TAdditionalPersister();

    std::string FStorageName;
    // Older names of the node, tried in order on reading when FStorageName is missing.
    std::vector<std::string> FAlternativeStorageNames;
    bool FOwnsObject;
    TKovObject* FObject;
    THPObject* FPersister;
    // Not written at all: an empty value, whose absence on reading is normal.
    bool FIsEmptyAndShouldNotBeWritten = false;
};

// The class-to-text functions of a class-valued simple value.
using TClassToText = std::function<std::string(const TKovClass*)>;
using TTextToClass = std::function<const TKovClass*(const std::string&)>;

// The children a persister wants handled, in order; owns its entries.
class TAdditionalPersistObjects {
public:
    int Count() const { return static_cast<int>(FItems.size()); }
    TAdditionalPersister& operator[](int index) const { return *FItems.at(index); }

    // Simple values, read and written in the variable that `value` refers to, which must outlive
    // the list.
    TAdditionalPersister& Add(const std::string& storageName, std::string& value);
    TAdditionalPersister& Add(const std::string& storageName, bool& value);
    TAdditionalPersister& Add(const std::string& storageName, uint8_t& value);
    TAdditionalPersister& Add(const std::string& storageName, int32_t& value);
    TAdditionalPersister& Add(const std::string& storageName, int64_t& value);
    TAdditionalPersister& Add(const std::string& storageName, double& value);
    TAdditionalPersister& Add(const std::string& storageName, const TKovClass*& value,
                              TClassToText toText, TTextToClass toClass);
    TAdditionalPersister& Add(const std::string& storageName, TUniqueID& value);
    TAdditionalPersister& Add(const std::string& storageName, TDateTime& value);
    // An object with its own persister.
    TAdditionalPersister& Add(const std::string& storageName, TKovObject* object,
                              bool ownsObject = false, bool isEmpty = false);

    TAdditionalPersister* GetByStorageName(const std::string& storageName) const;
    void RemoveObject(const TKovObject* object);
    void RemoveByStorageName(const std::string& storageName);

private:
    TAdditionalPersister& AddOwned(const std::string& storageName, TKovObject* object);
    std::vector<std::unique_ptr<TAdditionalPersister>> FItems;
};

// The base of all persisters.
class THPObject {
public:
    virtual ~THPObject() = default;

    // -1 for a class this persister does not serve; else lower is a closer fit.
    virtual int GetSupportLevel(const TKovClass& cls) const = 0;
    virtual std::string GetDefaultStorageName(const TKovObject* object) const = 0;
    virtual void LoadObjectDirectlyFromStorage(TKovObject& object, THierarchicStorage& storage,
                                               THPReadErrorList* errors) = 0;
    virtual void LoadObjectFromSubStorage(TKovObject& object, THierarchicStorage& parentStorage,
                                          THPReadErrorList* errors) = 0;
    virtual std::unique_ptr<THierarchicStorage>
    BuildStorageFor(TKovObject& object, const THierarchicStorageClass& storageClass) = 0;
    virtual void PersistObjectDirectlyInStorage(TKovObject& object,
                                                THierarchicStorage& storage) = 0;
    virtual void PersistObjectInSubStorage(TKovObject& object,
                                           THierarchicStorage& parentStorage) = 0;
    // Moves the state of `loaded`, a twin read from a file, into `target`, an object of the same
    // class that the model holds; `loaded` is discarded afterwards.
    virtual void CommitLoadedObject(TKovObject& target, TKovObject& loaded) = 0;
    // Runs once the whole tree is read, its identities in place and its references resolved.
    virtual void PostLoad(TKovObject& /*object*/, THPReadErrorList* /*errors*/) {}
    // Whether objects read by this persister live on after the read, to be named in the session
    // for PostLoad; the simple values are discarded at once.
    virtual bool RecordsPostLoad() const { return true; }
};

// What a load defers until the whole tree is read; see the top of this file. One session is
// current per thread; a persister used outside one opens its own for the subtree it reads.
class THPLoadSession {
public:
    // Locks the revert stacks of `manager` (if any): a load is no undo step.
    explicit THPLoadSession(TKovObjectManager* manager);
    THPLoadSession(const THPLoadSession&) = delete;
    THPLoadSession& operator=(const THPLoadSession&) = delete;
    ~THPLoadSession();
    static THPLoadSession* Current();

    void SetIdentity(TKovObject& object, const TUniqueID& id);
    // The name is set at once too; the commit sets it again in case another object held it then.
    void SetName(TKovObject& object, const std::string& name);
    void SetParent(TKovParentableObject& object, const TUniqueID& parent);
    // The stored items of a list that does not own them.
    void SetListItems(TKovObjectList& list, std::vector<TUniqueID> items);
    void AddPostLoad(THPObject& persister, TKovObject& object);
    // What was recorded for `from` now concerns `to`.
    void Retarget(TKovObject& from, TKovObject& to);
    // Identities, names, parents, list items, then the post-load hooks in the order of reading.
    void Commit(THPReadErrorList* errors);

private:
    struct TRecord;
    TRecord& RecordOf(TKovObject& object);
    void Forget(TKovObject* object);

    std::vector<std::unique_ptr<TRecord>> FRecords; // in the order of reading
    std::unordered_map<TKovObject*, TRecord*> FIndex;
    THPLoadSession* FOuter;
    TKovObjectManager* FManager;
    bool FCommitted = false;
};

// The base of the concrete persisters: loading and persisting in the order of the framework,
// with children handled through the additional-objects list.
class THPCustomObject : public THPObject {
public:
    int GetSupportLevel(const TKovClass& cls) const override;
    // The object's type name; the supported class's without an object.
    std::string GetDefaultStorageName(const TKovObject* object) const override;
    // Before-load hook, DoLoadObject, the additional objects, after-load hook.
    void LoadObjectDirectlyFromStorage(TKovObject& object, THierarchicStorage& storage,
                                       THPReadErrorList* errors) override;
    // Raises "Expected to find substorage \"%s\" in \"%s\", but it's missing!".
    void LoadObjectFromSubStorage(TKovObject& object, THierarchicStorage& parentStorage,
                                  THPReadErrorList* errors) override;
    std::unique_ptr<THierarchicStorage>
    BuildStorageFor(TKovObject& object, const THierarchicStorageClass& storageClass) override;
    // DoPersistObject, then the additional objects.
    void PersistObjectDirectlyInStorage(TKovObject& object, THierarchicStorage& storage) override;
    void PersistObjectInSubStorage(TKovObject& object, THierarchicStorage& parentStorage) override;
    // The session's records, the object's own state (DoCommitLoadedObject), then each additional
    // object with the one of the same storage name.
    void CommitLoadedObject(TKovObject& target, TKovObject& loaded) override;

    virtual const TKovClass& SupportedClass() const = 0;

protected:
    virtual void AddAdditionalObjects(TKovObject& /*object*/, TAdditionalPersistObjects& /*list*/) {
    }
    virtual void DoLoadObject(TKovObject& /*object*/, THierarchicStorage& /*storage*/,
                              THPReadErrorList* /*errors*/) {}
    virtual void DoPersistObject(TKovObject& /*object*/, THierarchicStorage& /*storage*/) {}
    virtual void BeforeLoad(TKovObject& /*object*/, THierarchicStorage& /*storage*/,
                            THPReadErrorList* /*errors*/) {}
    virtual void AfterLoad(TKovObject& /*object*/, THierarchicStorage& /*storage*/,
                           THPReadErrorList* /*errors*/) {}
    virtual void BeforeLoadAdditional(TKovObject& /*object*/, TAdditionalPersister& /*entry*/,
                                      THierarchicStorage& /*child*/, THPReadErrorList* /*errors*/) {
    }
    virtual void AfterLoadAdditional(TKovObject& /*object*/, TAdditionalPersister& /*entry*/,
                                     THierarchicStorage& /*child*/, THPReadErrorList* /*errors*/) {}
    virtual void LoadAdditionalObjects(TKovObject& object, THierarchicStorage& storage,
                                       THPReadErrorList* errors);
    virtual void PersistAdditionalObjects(TKovObject& object, THierarchicStorage& storage);
    // No node of the entry's name or any of its older names.
    virtual void HandleNotFoundAdditionalObjectsSubStorageFor(TKovObject& /*object*/,
                                                              TAdditionalPersister& /*entry*/,
                                                              THierarchicStorage& /*storage*/,
                                                              THPReadErrorList* /*errors*/) {}
    // The object's own state, without its additional objects.
    virtual void DoCommitLoadedObject(TKovObject& /*target*/, TKovObject& /*loaded*/) {}
};

// The registry of persisters, and the entry points of whole loads and saves.
class THierarchicPersisters {
public:
    // The framework's persisters are registered on first use.
    static THierarchicPersisters& Instance();

    THPObject& RegisterPersister(std::unique_ptr<THPObject> persister);
    void UnregisterPersister(const THPObject* persister);
    // Every persister of that C++ class.
    void UnregisterPersister(const std::type_info& persisterClass);
    // The registered persister with the best (lowest) support level, the later one among
    // equals; nullptr when none serves the class (or for no object).
    THPObject* GetPersisterFor(const TKovClass& cls) const;
    THPObject* GetPersisterFor(const TKovObject* object) const;
    // As above, raising when there is none.
    THPObject& PersisterFor(const TKovObject& object) const;

    // Reads the tree of `storage` (the object's own node) into `object`, all or nothing; raises
    // on failure and EHPReadAbandoned when an error of severity hresError was recorded.
    void LoadObject(TKovObject& object, THierarchicStorage& storage, THPReadErrorList* errors);
    // As above from a file, by its extension; failures read "Error reading \"%s\": %s".
    void LoadObject(TKovObject& object, const std::string& fileName, THPReadErrorList* errors);
    // A new object of `cls` in `manager`, read from `storage`, or nothing at all.
    std::unique_ptr<TKovObject> LoadNewObject(const TKovClass& cls, TKovObjectManager* manager,
                                              THierarchicStorage& storage,
                                              THPReadErrorList* errors);
    std::unique_ptr<TKovObject> LoadNewObject(const TKovClass& cls, TKovObjectManager* manager,
                                              const std::string& fileName,
                                              THPReadErrorList* errors);
    template <typename T>
    std::unique_ptr<T> LoadNew(TKovObjectManager* manager, const std::string& fileName,
                               THPReadErrorList* errors) {
        return std::unique_ptr<T>(
            static_cast<T*>(LoadNewObject(T::StaticClass(), manager, fileName, errors).release()));
    }

    // Writes `object` into `storage`, which becomes its node.
    void PersistObject(TKovObject& object, THierarchicStorage& storage);
    // Writes `object` to a file of the back-end of its extension ("Unkown file format: %s" for
    // none), through a temporary file beside it.
    void PersistObject(TKovObject& object, const std::string& fileName);

    // With anonymous mode on, identities are written as "{}".
    static bool AnonymousMode();
    static void SetAnonymousMode(bool anonymous);

private:
    THierarchicPersisters();
    std::unique_ptr<TKovObject> LoadNewObjectWithSession(const TKovClass& cls,
                                                         TKovObjectManager* manager,
                                                         THierarchicStorage& storage,
                                                         THPReadErrorList* errors);

    std::vector<std::unique_ptr<THPObject>> FPersisters;
};

// Registers a persister for the life of a scope (a read of old files, say).
class TScopedPersister {
public:
    explicit TScopedPersister(std::unique_ptr<THPObject> persister)
        : FPersister(&THierarchicPersisters::Instance().RegisterPersister(std::move(persister))) {}
    ~TScopedPersister() { THierarchicPersisters::Instance().UnregisterPersister(FPersister); }
    TScopedPersister(const TScopedPersister&) = delete;
    TScopedPersister& operator=(const TScopedPersister&) = delete;

private:
    THPObject* FPersister;
};

} // namespace tw
