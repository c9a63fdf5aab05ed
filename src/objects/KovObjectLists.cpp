#include "objects/KovObjectLists.h"

#include "objects/ObjectManager.h"
#include "services/Strings.h"

#include <algorithm>

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
        for (auto it = items.rbegin(); it != items.rend(); ++it)
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
    std::vector<TKovObject*> seen;
    for (int i = 0; i < Count(); ++i) {
        if (std::find(seen.begin(), seen.end(), FItems[i]) != seen.end()) {
            TUndoSnapshot snapshot(*this, Format("Delete %d", i));
            FItems.erase(FItems.begin() + i); // the same object stays in the list: not freed
            --i;
            ListChanged();
        } else {
            seen.push_back(FItems[i]);
        }
    }
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
