#include "objects/KovObjectLists.h"
#include "objects/IntrinsicPropertyDerivedKinds.h"
#include "objects/RevertStacks.h"

#include "objects/ObjectManager.h"
#include "services/Strings.h"

#include <algorithm>
#include <unordered_set>

namespace tw {

// ---------------------------------------------------------------------------------------------
// TKovObjectList

TW_KOV_CLASS_IMPL(TKovObjectList, TKovObject, nullptr)

TKovObjectList::TKovObjectList(TKovObjectManager* manager, bool ownsObjects)
    : TKovObject(manager), FOwnsObjects(ownsObjects) {}

TKovObjectList::~TKovObjectList() {
    FIsBeingPermanentlyDestroyed = true;
    // A memento holds the pointers of the live list and owns none of them.
    if (FOwnsObjects && !FCreatedForRevert) {
        auto items = std::move(FItems);
        FItems.clear();
        // An object that stands in the list twice is still deleted once.
        std::unordered_set<TKovObject*> deleted;
        for (auto it = items.rbegin(); it != items.rend(); ++it)
            if (*it && deleted.insert(*it).second)
                delete *it;
    }
}

TKovObject* TKovObjectList::GetItem(int index) const {
    if (index < 0 || index >= Count())
        throw EKovListException(Format("List index out of bounds (%d)", index));
    return FItems[index];
}

TKovObject* TKovObjectList::GetItemOrNull(int index) const {
    return index >= 0 && index < Count() ? FItems[index] : nullptr;
}

int TKovObjectList::IndexOf(const TKovObject* item) const {
    auto it = std::find(FItems.begin(), FItems.end(), item);
    return it == FItems.end() ? -1 : static_cast<int>(it - FItems.begin());
}

int TKovObjectList::IndexOfID(const TUniqueID& id) const {
    for (int i = 0; i < Count(); ++i)
        if (FItems[i] && FItems[i]->UniqueID() == id)
            return i;
    return -1;
}

std::string TKovObjectList::NamesAsCommaText() const {
    std::vector<std::string> names;
    for (const TKovObject* item : FItems)
        names.push_back(item ? item->Name() : "<not assigned>");
    return Join(names, ",");
}

void TKovObjectList::Add(TKovObject* item) {
    TUndoSnapshot snapshot(*this, Format("Add %s", item ? item->Name() : std::string("nil")));
    FItems.push_back(item);
    ItemNotify(item, TListAction::Added);
    ListChanged();
}

void TKovObjectList::Extend(const std::vector<TKovObject*>& items) {
    TUndoSnapshot snapshot(*this, Format("Add %s", std::to_string(items.size()) + " items"));
    for (TKovObject* item : items) {
        FItems.push_back(item);
        ItemNotify(item, TListAction::Added);
    }
    ListChanged();
}

void TKovObjectList::Insert(int index, TKovObject* item) {
    if (index < 0 || index > Count())
        throw EKovListException(Format("List index out of bounds (%d)", index));
    TUndoSnapshot snapshot(*this, Format("Insert \"%s\" at position %d",
                                         item ? item->Name() : std::string("nil"), index));
    FItems.insert(FItems.begin() + index, item);
    ItemNotify(item, TListAction::Added);
    ListChanged();
}

void TKovObjectList::SetItem(int index, TKovObject* item) {
    TKovObject* old = GetItem(index);
    if (old == item)
        return;
    TUndoSnapshot snapshot(*this, Format("Set \"%s\" at position %d",
                                         item ? item->Name() : std::string("nil"), index));
    FItems[index] = item;
    ItemNotify(old, TListAction::Removed);
    ItemNotify(item, TListAction::Added);
    ListChanged();
}

void TKovObjectList::RemoveAt(int index, bool free) {
    TKovObject* item = FItems[index];
    FItems.erase(FItems.begin() + index);
    const bool owned = FOwnsObjects;
    if (!free)
        FOwnsObjects = false; // an extracted item goes to the caller
    ItemNotify(item, TListAction::Removed);
    FOwnsObjects = owned;
}

void TKovObjectList::Delete(int index) {
    GetItem(index);
    TUndoSnapshot snapshot(*this, Format("Delete %d", index));
    RemoveAt(index, true);
    ListChanged();
}

void TKovObjectList::Remove(TKovObject* item) {
    int index = IndexOf(item);
    if (index < 0)
        return;
    TUndoSnapshot snapshot(*this,
                           Format("Remove \"%s\"", item ? item->Name() : std::string("nil")));
    RemoveAt(index, true);
    ListChanged();
}

void TKovObjectList::Clear() {
    if (FItems.empty())
        return;
    TUndoSnapshot snapshot(*this, "Clear");
    while (!FItems.empty())
        RemoveAt(Count() - 1, true);
    ListChanged();
}

TKovObject* TKovObjectList::Extract(TKovObject* item) {
    int index = IndexOf(item);
    if (index < 0)
        return nullptr;
    TUndoSnapshot snapshot(*this,
                           Format("Extract \"%s\"", item ? item->Name() : std::string("nil")));
    RemoveAt(index, false);
    ListChanged();
    return item;
}

void TKovObjectList::Exchange(int a, int b) {
    GetItem(a);
    GetItem(b);
    if (a == b)
        return;
    TUndoSnapshot snapshot(*this, "Sort");
    std::swap(FItems[a], FItems[b]);
    ListChanged();
}

void TKovObjectList::Sort(const std::function<bool(const TKovObject*, const TKovObject*)>& less) {
    if (std::is_sorted(FItems.begin(), FItems.end(), less))
        return;
    TUndoSnapshot snapshot(*this, "Sort");
    std::stable_sort(FItems.begin(), FItems.end(), less);
    ListChanged();
}

void TKovObjectList::SortByName() {
    Sort([](const TKovObject* a, const TKovObject* b) {
        return (a ? LowerCase(a->Name()) : "") < (b ? LowerCase(b->Name()) : "");
    });
}

void TKovObjectList::RemoveDuplicates() {
    std::vector<TKovObject*> unique;
    for (TKovObject* item : FItems)
        if (std::find(unique.begin(), unique.end(), item) == unique.end())
            unique.push_back(item);
    if (unique.size() == FItems.size())
        return;
    // One step for the whole clean-up. The removed slots held objects that stay in the list, so
    // nothing is freed.
    TUndoSnapshot snapshot(*this, "Remove duplicates");
    FItems = std::move(unique);
    ListChanged();
}

void TKovObjectList::Pack() {
    if (std::find(FItems.begin(), FItems.end(), nullptr) == FItems.end())
        return;
    TUndoSnapshot snapshot(*this, "Pack");
    FItems.erase(std::remove(FItems.begin(), FItems.end(), nullptr), FItems.end());
    ListChanged();
}

void TKovObjectList::MigrateWithContentsToOtherManager(TKovObjectManager* manager,
                                                       bool renameIfNeeded) {
    MigrateToOtherManager(manager, renameIfNeeded);
    for (TKovObject* item : FItems)
        if (item)
            item->MigrateToOtherManager(manager, renameIfNeeded);
}

void TKovObjectList::ItemNotify(TKovObject* item, TListAction action) {
    if (!item || action != TListAction::Removed || !FOwnsObjects)
        return;
    if (FIsBeingPermanentlyDestroyed) {
        delete item;
        return;
    }
    if (FLocked || item->IsBeingFreedWithUndo())
        return;
    item->FreeWithUndo();
}

void TKovObjectList::AssignEssentialState(const TKovObject& source) {
    if (const auto* list = dynamic_cast<const TKovObjectList*>(&source))
        FItems = list->FItems;
}

// ---------------------------------------------------------------------------------------------
// TKovObservableObjectList

TW_KOV_CLASS_IMPL(TKovObservableObjectList, TKovObjectList, nullptr)

TKovObservableObjectList::TKovObservableObjectList(TKovObjectManager* manager, bool ownsObjects)
    : TKovObjectList(manager, ownsObjects), FObservable(this) {
    FItemObserver.SetOnNotify([this](TNotifySender) {
        if (FNotifyOnItemChange)
            NotifyObservers();
    });
}

TKovObservableObjectList::~TKovObservableObjectList() {
    FItemObserver.DetachFromAll();
    FObservable.NotifyObserversDestroy();
}

namespace {
TObservable* ObservableOf(TKovObject* item) {
    if (auto* observable = dynamic_cast<TKovObservableObject*>(item))
        return &observable->Observable();
    if (auto* list = dynamic_cast<TKovObservableObjectList*>(item))
        return &list->Observable();
    return nullptr;
}
} // namespace

void TKovObservableObjectList::Watch(TKovObject* item) {
    if (FCreatedForRevert)
        return;
    if (TObservable* observable = ObservableOf(item)) {
        observable->AttachObserver(&FItemObserver);
        for (TObserver* observer : FContentObservers)
            observable->AttachObserver(observer);
    }
}

void TKovObservableObjectList::Unwatch(TKovObject* item) {
    if (FCreatedForRevert)
        return;
    if (TObservable* observable = ObservableOf(item)) {
        observable->DetachObserver(&FItemObserver);
        for (TObserver* observer : FContentObservers)
            observable->DetachObserver(observer);
    }
}

void TKovObservableObjectList::ItemNotify(TKovObject* item, TListAction action) {
    if (action != TListAction::Added && action != TListAction::Removed)
        throw EKovListException(Format("Unexpected list action: %d", static_cast<int>(action)));
    if (item) {
        if (action == TListAction::Added)
            Watch(item);
        else if (!FIsBeingPermanentlyDestroyed)
            Unwatch(item);
    }
    TKovObjectList::ItemNotify(item, action);
}

void TKovObservableObjectList::AssignEssentialState(const TKovObject& source) {
    for (TKovObject* item : FItems)
        if (item)
            Unwatch(item);
    TKovObjectList::AssignEssentialState(source);
    for (TKovObject* item : FItems)
        if (item)
            Watch(item);
}

void TKovObservableObjectList::AttachObserverToAllContents(TObserver* observer) {
    FContentObservers.push_back(observer);
    for (TKovObject* item : FItems)
        if (TObservable* observable = ObservableOf(item))
            observable->AttachObserver(observer);
}

void TKovObservableObjectList::DetachObserverFromAllContents(TObserver* observer) {
    FContentObservers.erase(
        std::remove(FContentObservers.begin(), FContentObservers.end(), observer),
        FContentObservers.end());
    for (TKovObject* item : FItems)
        if (TObservable* observable = ObservableOf(item))
            observable->DetachObserver(observer);
}

void TKovObservableObjectList::MarkAsNotFreed() {
    TKovObjectList::MarkAsNotFreed();
    NotifyObservers();
}

// ---------------------------------------------------------------------------------------------
// TKovReferenceList

TW_KOV_CLASS_IMPL(TKovReferenceList, TKovObservableObjectList, nullptr)

TKovReferenceList::TKovReferenceList(TKovObjectManager* manager)
    : TKovObservableObjectList(manager, false) {}

TKovReferenceList::~TKovReferenceList() {
    Unsubscribe();
    for (auto& [item, handle] : FDestroyHandles)
        item->RemovePermanentDestroyCallback(handle);
}

std::vector<TUniqueID> TKovReferenceList::ItemIDs() const {
    std::vector<TUniqueID> ids;
    ids.reserve(FItems.size());
    for (const TKovObject* item : FItems)
        ids.push_back(GetGUIDOrEmptyGUID(item));
    return ids;
}

void TKovReferenceList::WatchDestruction(TKovObject* item) {
    const int handle = item->AddPermanentDestroyCallback([this](TKovObject* destroyed) {
        // A target destroyed for good leaves the list; that is no change a user made, so it is
        // no undo step.
        FItems.erase(std::remove(FItems.begin(), FItems.end(), destroyed), FItems.end());
        FDestroyHandles.erase(std::remove_if(FDestroyHandles.begin(), FDestroyHandles.end(),
                                             [destroyed](const std::pair<TKovObject*, int>& h) {
                                                 return h.first == destroyed;
                                             }),
                              FDestroyHandles.end());
        if (!IsBeingDestroyed())
            NotifyObservers();
    });
    FDestroyHandles.emplace_back(item, handle);
}

void TKovReferenceList::UnwatchDestruction(TKovObject* item) {
    auto it =
        std::find_if(FDestroyHandles.begin(), FDestroyHandles.end(),
                     [item](const std::pair<TKovObject*, int>& h) { return h.first == item; });
    if (it == FDestroyHandles.end())
        return;
    item->RemovePermanentDestroyCallback(it->second);
    FDestroyHandles.erase(it);
}

void TKovReferenceList::ItemNotify(TKovObject* item, TListAction action) {
    TKovObservableObjectList::ItemNotify(item, action);
    if (!item || FCreatedForRevert)
        return;
    if (action == TListAction::Added)
        WatchDestruction(item);
    else
        UnwatchDestruction(item);
}

void TKovReferenceList::AssignEssentialState(const TKovObject& source) {
    const auto* list = dynamic_cast<const TKovReferenceList*>(&source);
    if (!list) {
        TKovObservableObjectList::AssignEssentialState(source);
        return;
    }
    std::vector<TUniqueID> ids = list->FCreatedForRevert ? list->FMementoIDs : list->ItemIDs();
    FPersistedGuidList = list->FPersistedGuidList;
    if (FCreatedForRevert) {
        FMementoIDs = std::move(ids);
        return;
    }
    // Resolve the GUIDs again: what was destroyed in the meantime is gone from the register.
    for (TKovObject* item : FItems)
        if (item) {
            Unwatch(item);
            UnwatchDestruction(item);
        }
    FItems.clear();
    for (const TUniqueID& id : ids)
        if (TKovObject* item = UIDRegister().Get(id))
            FItems.push_back(item);
    for (TKovObject* item : FItems) {
        Watch(item);
        WatchDestruction(item);
    }
    if (FPersistedGuidList.empty())
        Unsubscribe();
    else
        Subscribe();
}

void TKovReferenceList::SetPersistedGuids(const std::vector<TUniqueID>& ids) {
    FPersistedGuidList = ids;
    ResolvePersistedGuids();
}

bool TKovReferenceList::ResolvePersistedGuids() {
    if (FPersistedGuidList.empty())
        return true;
    std::vector<TKovObject*> resolved;
    bool all = true;
    for (const TUniqueID& id : FPersistedGuidList) {
        TKovObject* target = UIDRegister().Get(id);
        if (target)
            resolved.push_back(target);
        else
            all = false;
    }
    if (resolved != FItems) {
        // Reading a file is no user action: the stored order is filled in without undo.
        for (TKovObject* item : FItems)
            if (item) {
                Unwatch(item);
                UnwatchDestruction(item);
            }
        FItems = std::move(resolved);
        for (TKovObject* item : FItems) {
            Watch(item);
            WatchDestruction(item);
        }
        NotifyObservers();
    }
    if (all) {
        FPersistedGuidList.clear();
        Unsubscribe();
    } else {
        Subscribe();
    }
    return all;
}

void TKovReferenceList::Subscribe() {
    if (FRegistryHandle || !ObjectManager() || FCreatedForRevert)
        return;
    TKovObjectRegistry::TObserver observer;
    observer.OnRegister = [this](TKovObject* object) {
        if (std::find(FPersistedGuidList.begin(), FPersistedGuidList.end(), object->UniqueID()) !=
            FPersistedGuidList.end())
            ResolvePersistedGuids();
    };
    FRegistryHandle = ObjectManager()->ObjectRegistry().SubscribeToNotifications(observer);
}

void TKovReferenceList::Unsubscribe() {
    if (FRegistryHandle && ObjectManager())
        ObjectManager()->ObjectRegistry().UnsubscribeFromNotifications(FRegistryHandle);
    FRegistryHandle = 0;
}

// ---------------------------------------------------------------------------------------------
// TKovReferenceableObservableObject, user features

TW_KOV_CLASS_IMPL(TKovReferenceableObservableObject, TKovObservableObject, nullptr)

std::string TKovReferenceableObservableObject::GetObjectNameText() const {
    return FOwner ? Format("%s.%s", FOwner->Name(), FReferencingName) : Name();
}

TW_KOV_CLASS_IMPL(TKovUserFeature, TKovObservableObject, nullptr)
TW_KOV_CLASS_IMPL(TKovUserFeatureList, TKovObservableObjectList, nullptr)

TKovUserFeature* TKovUserFeatureList::FindByClass(const TKovClass& cls) const {
    for (TKovObject* item : FItems)
        if (item && &item->ClassType() == &cls)
            return static_cast<TKovUserFeature*>(item);
    return nullptr;
}

// ---------------------------------------------------------------------------------------------
// TKovParentableObject

TW_KOV_CLASS_IMPL(TKovParentableObject, TKovObservableObject, nullptr)

TKovObject* TKovParentableObject::Parent() const {
    TKovObject* parent = UIDRegister().Get(FParentID);
    return parent && !parent->IsFreedOrBeingDestroyed() ? parent : nullptr;
}

void TKovParentableObject::SetParent(TKovObject* parent) {
    const TUniqueID id = GetGUIDOrEmptyGUID(parent);
    if (id == FParentID)
        return;
    TUndoSnapshot snapshot(*this, "Set parent");
    FParentID = id;
}

void TKovParentableObject::AssignEssentialState(const TKovObject& source) {
    TKovObservableObject::AssignEssentialState(source);
    if (const auto* other = dynamic_cast<const TKovParentableObject*>(&source))
        FParentID = other->FParentID;
}

} // namespace tw
