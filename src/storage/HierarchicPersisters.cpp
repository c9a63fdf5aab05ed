#include "storage/HierarchicPersisters.h"

#include "objects/KovObjectLists.h"
#include "objects/ObjectManager.h"
#include "services/Format.h"
#include "services/Strings.h"
#include "storage/KovPersisters.h"
#include "storage/SimpleValuePersisters.h"

#include <atomic>
#include <optional>
#include <unordered_map>

namespace tw {

// ---------------------------------------------------------------------------------------------
// TAdditionalPersister, TAdditionalPersistObjects

TAdditionalPersister::TAdditionalPersister(const std::string& storageName, TKovObject* object,
                                           bool ownsObject, int index)
    : FStorageName(storageName), FOwnsObject(ownsObject), FObject(object),
      FPersister(THierarchicPersisters::Instance().GetPersisterFor(object)) {
    if (!FPersister) {
        if (FOwnsObject)
            delete FObject;
        throw EHierarchicPersisterException(Format("Unknown persister for object at %d", index));
    }
}

TAdditionalPersister::~TAdditionalPersister() {
    if (FOwnsObject)
        delete FObject;
}

TAdditionalPersister& TAdditionalPersistObjects::AddOwned(const std::string& storageName,
                                                          TKovObject* object) {
    FItems.push_back(std::make_unique<TAdditionalPersister>(storageName, object, true, Count()));
    return *FItems.back();
}

TAdditionalPersister& TAdditionalPersistObjects::Add(const std::string& name, std::string& value) {
    return AddOwned(name, new TSVOString(&value));
}
TAdditionalPersister& TAdditionalPersistObjects::Add(const std::string& name, bool& value) {
    return AddOwned(name, new TSVOBoolean(&value));
}
TAdditionalPersister& TAdditionalPersistObjects::Add(const std::string& name, uint8_t& value) {
    return AddOwned(name, new TSVOByte(&value));
}
TAdditionalPersister& TAdditionalPersistObjects::Add(const std::string& name, int32_t& value) {
    return AddOwned(name, new TSVOInteger(&value));
}
TAdditionalPersister& TAdditionalPersistObjects::Add(const std::string& name, int64_t& value) {
    return AddOwned(name, new TSVOInt64(&value));
}
TAdditionalPersister& TAdditionalPersistObjects::Add(const std::string& name, double& value) {
    return AddOwned(name, new TSVODouble(&value));
}
TAdditionalPersister& TAdditionalPersistObjects::Add(const std::string& name,
                                                     const TKovClass*& value, TClassToText toText,
                                                     TTextToClass toClass) {
    return AddOwned(name, new TSVOClass(&value, std::move(toText), std::move(toClass)));
}
TAdditionalPersister& TAdditionalPersistObjects::Add(const std::string& name, TUniqueID& value) {
    return AddOwned(name, new TSVOUniqueID(&value));
}
TAdditionalPersister& TAdditionalPersistObjects::Add(const std::string& name, TDateTime& value) {
    return AddOwned(name, new TSVODateTime(&value));
}

TAdditionalPersister& TAdditionalPersistObjects::Add(const std::string& storageName,
                                                     TKovObject* object, bool ownsObject,
                                                     bool isEmpty) {
    FItems.push_back(
        std::make_unique<TAdditionalPersister>(storageName, object, ownsObject, Count()));
    FItems.back()->FIsEmptyAndShouldNotBeWritten = isEmpty;
    return *FItems.back();
}

TAdditionalPersister*
TAdditionalPersistObjects::GetByStorageName(const std::string& storageName) const {
    for (const auto& item : FItems)
        if (SameText(item->FStorageName, storageName))
            return item.get();
    return nullptr;
}

void TAdditionalPersistObjects::RemoveObject(const TKovObject* object) {
    std::erase_if(FItems, [&](const auto& item) { return item->FObject == object; });
}

void TAdditionalPersistObjects::RemoveByStorageName(const std::string& storageName) {
    std::erase_if(FItems,
                  [&](const auto& item) { return SameText(item->FStorageName, storageName); });
}

// ---------------------------------------------------------------------------------------------
// THPLoadSession

namespace {
thread_local THPLoadSession* CurrentSession = nullptr;
} // namespace

struct THPLoadSession::TRecord {
    TKovObject* Object = nullptr;
    int Handle = 0;
    bool HasIdentity = false;
    TUniqueID Identity;
    bool HasName = false;
    std::string Name;
    bool HasParent = false;
    TUniqueID Parent;
    bool HasItems = false;
    std::vector<TUniqueID> Items;
    std::vector<THPObject*> PostLoads;
};

THPLoadSession::THPLoadSession(TKovObjectManager* manager)
    : FOuter(CurrentSession), FManager(manager) {
    CurrentSession = this;
    if (FManager)
        FManager->LockRevert();
}

THPLoadSession::~THPLoadSession() {
    for (const auto& record : FRecords)
        if (record->Object)
            record->Object->RemovePermanentDestroyCallback(record->Handle);
    CurrentSession = FOuter;
    if (FManager)
        FManager->UnlockRevert();
}

THPLoadSession* THPLoadSession::Current() {
    return CurrentSession;
}

THPLoadSession::TRecord& THPLoadSession::RecordOf(TKovObject& object) {
    if (auto it = FIndex.find(&object); it != FIndex.end())
        return *it->second;
    auto record = std::make_unique<TRecord>();
    record->Object = &object;
    record->Handle = object.AddPermanentDestroyCallback([this](TKovObject* gone) { Forget(gone); });
    FRecords.push_back(std::move(record));
    FIndex.emplace(&object, FRecords.back().get());
    return *FRecords.back();
}

void THPLoadSession::Forget(TKovObject* object) {
    if (auto it = FIndex.find(object); it != FIndex.end()) {
        it->second->Object = nullptr;
        FIndex.erase(it);
    }
}

void THPLoadSession::SetIdentity(TKovObject& object, const TUniqueID& id) {
    TRecord& record = RecordOf(object);
    record.HasIdentity = true;
    record.Identity = id;
}

void THPLoadSession::SetName(TKovObject& object, const std::string& name) {
    TRecord& record = RecordOf(object);
    record.HasName = true;
    record.Name = name;
    object.SetName(name);
}

void THPLoadSession::SetParent(TKovParentableObject& object, const TUniqueID& parent) {
    TRecord& record = RecordOf(object);
    record.HasParent = true;
    record.Parent = parent;
}

void THPLoadSession::SetListItems(TKovObjectList& list, std::vector<TUniqueID> items) {
    TRecord& record = RecordOf(list);
    record.HasItems = true;
    record.Items = std::move(items);
}

void THPLoadSession::AddPostLoad(THPObject& persister, TKovObject& object) {
    RecordOf(object).PostLoads.push_back(&persister);
}

void THPLoadSession::Retarget(TKovObject& from, TKovObject& to) {
    auto it = FIndex.find(&from);
    if (&from == &to || it == FIndex.end())
        return;
    TRecord* record = it->second;
    FIndex.erase(it);
    from.RemovePermanentDestroyCallback(record->Handle);
    if (auto existing = FIndex.find(&to); existing != FIndex.end()) {
        // `to` has a record of its own: it takes what `from` had, and the other record ends.
        TRecord* into = existing->second;
        if (record->HasIdentity)
            into->HasIdentity = true, into->Identity = record->Identity;
        if (record->HasName)
            into->HasName = true, into->Name = record->Name;
        if (record->HasParent)
            into->HasParent = true, into->Parent = record->Parent;
        if (record->HasItems)
            into->HasItems = true, into->Items = record->Items;
        into->PostLoads.insert(into->PostLoads.end(), record->PostLoads.begin(),
                               record->PostLoads.end());
        record->Object = nullptr;
        return;
    }
    record->Object = &to;
    record->Handle = to.AddPermanentDestroyCallback([this](TKovObject* gone) { Forget(gone); });
    FIndex.emplace(&to, record);
}

void THPLoadSession::Commit(THPReadErrorList* errors) {
    FCommitted = true;
    // Identities first: names, parents and lists resolve through them.
    for (const auto& record : FRecords)
        if (record->Object && record->HasIdentity)
            record->Object->SetUniqueID(record->Identity);
    for (const auto& record : FRecords)
        if (record->Object && record->HasName && record->Object->Name() != record->Name)
            record->Object->SetName(record->Name);
    for (const auto& record : FRecords)
        if (record->Object && record->HasParent)
            if (auto* parentable = dynamic_cast<TKovParentableObject*>(record->Object))
                parentable->SetParent(parentable->UIDRegister().Get(record->Parent));
    for (const auto& record : FRecords) {
        if (!record->Object || !record->HasItems)
            continue;
        if (auto* references = dynamic_cast<TKovReferenceList*>(record->Object)) {
            references->SetPersistedGuids(record->Items);
        } else if (auto* list = dynamic_cast<TKovObjectList*>(record->Object)) {
            // Unknown identities are skipped; the others keep their order.
            list->Clear();
            for (const TUniqueID& id : record->Items)
                if (TKovObject* item = list->UIDRegister().Get(id))
                    list->Add(item);
        }
    }
    // A hook may load or free objects: walk by index, over the records there are now.
    for (size_t i = 0; i < FRecords.size(); ++i) {
        const std::vector<THPObject*> hooks = FRecords[i]->PostLoads;
        for (THPObject* persister : hooks)
            if (TKovObject* object = FRecords[i]->Object)
                persister->PostLoad(*object, errors);
    }
}

// ---------------------------------------------------------------------------------------------
// THPCustomObject

int THPCustomObject::GetSupportLevel(const TKovClass& cls) const {
    return cls.InheritanceDistance(SupportedClass());
}

std::string THPCustomObject::GetDefaultStorageName(const TKovObject* object) const {
    return object ? object->GetObjectTypeName() : SupportedClass().TypeName();
}

void THPCustomObject::LoadObjectDirectlyFromStorage(TKovObject& object, THierarchicStorage& storage,
                                                    THPReadErrorList* errors) {
    std::optional<THPLoadSession> own;
    if (!THPLoadSession::Current())
        own.emplace(object.ObjectManager());
    BeforeLoad(object, storage, errors);
    DoLoadObject(object, storage, errors);
    LoadAdditionalObjects(object, storage, errors);
    AfterLoad(object, storage, errors);
    if (RecordsPostLoad())
        THPLoadSession::Current()->AddPostLoad(*this, object);
    if (own)
        own->Commit(errors);
}

void THPCustomObject::LoadObjectFromSubStorage(TKovObject& object,
                                               THierarchicStorage& parentStorage,
                                               THPReadErrorList* errors) {
    const std::string name = GetDefaultStorageName(&object);
    THierarchicStorage* child = parentStorage.GetChildByName(name);
    if (!child)
        throw EHierarchicPersisterException(
            Format("Expected to find substorage \"%s\" in \"%s\", but it's missing!", name,
                   parentStorage.Name()));
    LoadObjectDirectlyFromStorage(object, *child, errors);
}

std::unique_ptr<THierarchicStorage>
THPCustomObject::BuildStorageFor(TKovObject& object, const THierarchicStorageClass& storageClass) {
    auto storage = storageClass.Create(GetDefaultStorageName(&object));
    PersistObjectDirectlyInStorage(object, *storage);
    return storage;
}

void THPCustomObject::PersistObjectDirectlyInStorage(TKovObject& object,
                                                     THierarchicStorage& storage) {
    DoPersistObject(object, storage);
    PersistAdditionalObjects(object, storage);
}

void THPCustomObject::PersistObjectInSubStorage(TKovObject& object,
                                                THierarchicStorage& parentStorage) {
    PersistObjectDirectlyInStorage(object, parentStorage.AddChild(GetDefaultStorageName(&object)));
}

void THPCustomObject::LoadAdditionalObjects(TKovObject& object, THierarchicStorage& storage,
                                            THPReadErrorList* errors) {
    TAdditionalPersistObjects list;
    AddAdditionalObjects(object, list);
    for (int i = 0; i < list.Count(); ++i) {
        TAdditionalPersister& entry = list[i];
        THierarchicStorage* child = storage.GetChildByName(entry.FStorageName);
        for (size_t k = 0; !child && k < entry.FAlternativeStorageNames.size(); ++k)
            child = storage.GetChildByName(entry.FAlternativeStorageNames[k]);
        if (!child) {
            HandleNotFoundAdditionalObjectsSubStorageFor(object, entry, storage, errors);
            continue;
        }
        BeforeLoadAdditional(object, entry, *child, errors);
        entry.FPersister->LoadObjectDirectlyFromStorage(*entry.FObject, *child, errors);
        AfterLoadAdditional(object, entry, *child, errors);
    }
}

void THPCustomObject::PersistAdditionalObjects(TKovObject& object, THierarchicStorage& storage) {
    TAdditionalPersistObjects list;
    AddAdditionalObjects(object, list);
    for (int i = 0; i < list.Count(); ++i) {
        TAdditionalPersister& entry = list[i];
        if (entry.FIsEmptyAndShouldNotBeWritten)
            continue;
        entry.FPersister->PersistObjectDirectlyInStorage(*entry.FObject,
                                                         storage.AddChild(entry.FStorageName));
    }
}

void THPCustomObject::CommitLoadedObject(TKovObject& target, TKovObject& loaded) {
    if (THPLoadSession* session = THPLoadSession::Current())
        session->Retarget(loaded, target);
    DoCommitLoadedObject(target, loaded);
    TAdditionalPersistObjects targets, sources;
    AddAdditionalObjects(target, targets);
    AddAdditionalObjects(loaded, sources);
    for (int i = 0; i < sources.Count(); ++i) {
        TAdditionalPersister& source = sources[i];
        TAdditionalPersister* into = targets.GetByStorageName(source.FStorageName);
        if (into && into->FObject && source.FObject)
            source.FPersister->CommitLoadedObject(*into->FObject, *source.FObject);
    }
}

// ---------------------------------------------------------------------------------------------
// THierarchicPersisters

namespace {
std::atomic<bool> Anonymous{false};

// Raises when the load recorded an error of severity hresError since `before` errors.
void ThrowIfAbandoned(THPReadErrorList* errors, int before) {
    if (!errors)
        return;
    for (int i = before; i < errors->Count(); ++i)
        if (errors->GetError(i).Severity() == hresError)
            throw EHPReadAbandoned(errors->GetError(i).Error());
}

std::string ReadingMessage(const std::string& fileName, const std::exception& e) {
    const std::string text = e.what();
    const std::string prefix = Format("Error reading \"%s\": ", fileName);
    return StartsText(prefix, text) ? text : prefix + text;
}

// The file's root must be the node of an object of the type expected.
void CheckRoot(const THierarchicStorage& storage, const std::string& expected) {
    if (!SameText(storage.Name(), expected))
        throw EStorageIncompatibleFile(Format("Could not find node: %s", expected));
}
} // namespace

THierarchicPersisters::THierarchicPersisters() = default;

THierarchicPersisters& THierarchicPersisters::Instance() {
    static THierarchicPersisters* persisters = [] {
        static THierarchicPersisters instance;
        RegisterKovPersisters(instance);
        RegisterSimpleValuePersisters(instance);
        return &instance;
    }();
    return *persisters;
}

THPObject& THierarchicPersisters::RegisterPersister(std::unique_ptr<THPObject> persister) {
    FPersisters.push_back(std::move(persister));
    return *FPersisters.back();
}

void THierarchicPersisters::UnregisterPersister(const THPObject* persister) {
    std::erase_if(FPersisters, [&](const auto& p) { return p.get() == persister; });
}

void THierarchicPersisters::UnregisterPersister(const std::type_info& persisterClass) {
    std::erase_if(FPersisters, [&](const auto& p) { return typeid(*p) == persisterClass; });
}

THPObject* THierarchicPersisters::GetPersisterFor(const TKovClass& cls) const {
    THPObject* best = nullptr;
    int bestLevel = -1;
    for (const auto& persister : FPersisters) {
        const int level = persister->GetSupportLevel(cls);
        if (level >= 0 && (bestLevel < 0 || level <= bestLevel)) {
            best = persister.get();
            bestLevel = level;
        }
    }
    return best;
}

THPObject* THierarchicPersisters::GetPersisterFor(const TKovObject* object) const {
    return object ? GetPersisterFor(object->ClassType()) : nullptr;
}

THPObject& THierarchicPersisters::PersisterFor(const TKovObject& object) const {
    THPObject* persister = GetPersisterFor(&object);
    if (!persister)
        throw EHierarchicPersisterException(
            Format("No persister for objects of type %s", object.GetObjectTypeName()));
    return *persister;
}

void THierarchicPersisters::LoadObject(TKovObject& object, THierarchicStorage& storage,
                                       THPReadErrorList* errors) {
    THPObject& persister = PersisterFor(object);
    const int before = errors ? errors->Count() : 0;
    THPLoadSession session(object.ObjectManager());
    const TKovClass& cls = object.ClassType();
    if (!cls.CanCreate()) {
        // Without a twin the object itself is read: a failure can leave it half-read.
        persister.LoadObjectDirectlyFromStorage(object, storage, errors);
        ThrowIfAbandoned(errors, before);
        session.Commit(errors);
        return;
    }
    std::unique_ptr<TKovObject> twin = cls.Create(object.ObjectManager());
    persister.LoadObjectDirectlyFromStorage(*twin, storage, errors);
    ThrowIfAbandoned(errors, before);
    persister.CommitLoadedObject(object, *twin);
    session.Commit(errors);
}

void THierarchicPersisters::LoadObject(TKovObject& object, const std::string& fileName,
                                       THPReadErrorList* errors) {
    const std::string rootName = PersisterFor(object).GetDefaultStorageName(&object);
    auto storage = CreateStorageForFile(fileName, rootName);
    storage->LoadFromFile(fileName);
    try {
        CheckRoot(*storage, rootName);
        LoadObject(object, *storage, errors);
    } catch (const EHPReadAbandoned& e) {
        throw EHPReadAbandoned(ReadingMessage(fileName, e));
    } catch (const std::exception& e) {
        throw EHierarchicPersisterException(ReadingMessage(fileName, e));
    }
}

std::unique_ptr<TKovObject>
THierarchicPersisters::LoadNewObjectWithSession(const TKovClass& cls, TKovObjectManager* manager,
                                                THierarchicStorage& storage,
                                                THPReadErrorList* errors) {
    if (!cls.CanCreate())
        throw EHierarchicPersisterException(
            Format("Cannot create an object of type %s to read", cls.TypeName()));
    const int before = errors ? errors->Count() : 0;
    THPLoadSession session(manager);
    std::unique_ptr<TKovObject> object = cls.Create(manager);
    PersisterFor(*object).LoadObjectDirectlyFromStorage(*object, storage, errors);
    ThrowIfAbandoned(errors, before);
    session.Commit(errors);
    return object;
}

std::unique_ptr<TKovObject> THierarchicPersisters::LoadNewObject(const TKovClass& cls,
                                                                 TKovObjectManager* manager,
                                                                 THierarchicStorage& storage,
                                                                 THPReadErrorList* errors) {
    return LoadNewObjectWithSession(cls, manager, storage, errors);
}

std::unique_ptr<TKovObject> THierarchicPersisters::LoadNewObject(const TKovClass& cls,
                                                                 TKovObjectManager* manager,
                                                                 const std::string& fileName,
                                                                 THPReadErrorList* errors) {
    auto storage = CreateStorageForFile(fileName, cls.TypeName());
    storage->LoadFromFile(fileName);
    try {
        CheckRoot(*storage, cls.TypeName());
        return LoadNewObjectWithSession(cls, manager, *storage, errors);
    } catch (const EHPReadAbandoned& e) {
        throw EHPReadAbandoned(ReadingMessage(fileName, e));
    } catch (const std::exception& e) {
        throw EHierarchicPersisterException(ReadingMessage(fileName, e));
    }
}

void THierarchicPersisters::PersistObject(TKovObject& object, THierarchicStorage& storage) {
    PersisterFor(object).PersistObjectDirectlyInStorage(object, storage);
}

void THierarchicPersisters::PersistObject(TKovObject& object, const std::string& fileName) {
    const THierarchicStorageClass& cls =
        THierarchicStorageRegistry::Instance().GetStorageForFile(fileName);
    PersisterFor(object).BuildStorageFor(object, cls)->SaveToFile(fileName, true);
}

bool THierarchicPersisters::AnonymousMode() {
    return Anonymous;
}

void THierarchicPersisters::SetAnonymousMode(bool anonymous) {
    Anonymous = anonymous;
}

} // namespace tw
