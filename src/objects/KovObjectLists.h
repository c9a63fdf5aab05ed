#pragma once
// Lists of model objects. Every change is one undo step: opening the snapshot backs up the list
// (a copy of its item pointers), so undo restores order and contents by a swap of state. A list
// that owns its items never destroys one that undo could bring back: a removed item is deleted
// with undo, and only destroyed for good when the step falls off the stack.

#include "objects/KovBaseClasses.h"

#include <functional>
#include <vector>

namespace tw {

TW_DECLARE_EXCEPTION(EKovListException, EKovException)

enum class TListAction { Added, Removed };

class TKovObjectList : public TKovObject {
    TW_KOV_CLASS(TKovObjectList, TKovObject)
public:
    TKovObjectList(TKovObjectManager* manager, bool ownsObjects);
    ~TKovObjectList() override;

    int Count() const { return static_cast<int>(FItems.size()); }
    bool OwnsObjects() const { return FOwnsObjects; }
    // Raises for an index outside the list.
    TKovObject* GetItem(int index) const;
    // nullptr for an index outside the list.
    TKovObject* GetItemOrNull(int index) const;
    // The item at `index` as a T (nullptr for an item of another class or an empty slot).
    template <typename T> T* GetItemAs(int index) const { return dynamic_cast<T*>(GetItem(index)); }
    TKovObject* First() const { return GetItem(0); }
    TKovObject* Last() const { return GetItem(Count() - 1); }
    int IndexOf(const TKovObject* item) const;
    int IndexOfID(const TUniqueID& id) const;
    bool Contains(const TKovObject* item) const { return IndexOf(item) >= 0; }
    // The names joined by commas, "<not assigned>" for an empty slot.
    std::string NamesAsCommaText() const;
    const std::vector<TKovObject*>& Items() const { return FItems; }

    // Changes, each an undo step. An owning list takes ownership of what is added.
    void Add(TKovObject* item);
    void Extend(const std::vector<TKovObject*>& items);
    void Insert(int index, TKovObject* item);
    void SetItem(int index, TKovObject* item);
    // Removes and, in an owning list, deletes (with undo).
    void Delete(int index);
    void Remove(TKovObject* item);
    virtual void Clear();
    // Removes without deleting; the caller takes ownership.
    TKovObject* Extract(TKovObject* item);
    void Exchange(int a, int b);
    void Sort(const std::function<bool(const TKovObject*, const TKovObject*)>& less);
    void SortByName();
    void RemoveDuplicates();
    // Removes empty slots.
    virtual void Pack();
    // Calls the item-notify operation as the list does on a change; for a notification of an
    // action the list doesn't know, it raises.
    void NotifyItem(TKovObject* item, int action) { ItemNotify(item, TListAction(action)); }
    void MigrateWithContentsToOtherManager(TKovObjectManager* manager, bool renameIfNeeded);

protected:
    // Called for each item that enters or leaves the list.
    virtual void ItemNotify(TKovObject* item, TListAction action);
    // Called once after a change of the contents (after the item notifications).
    virtual void ListChanged() {}
    void AssignEssentialState(const TKovObject& source) override;
    bool UsesNameRegistry() const override { return false; }

    std::vector<TKovObject*> FItems;
    bool FOwnsObjects = true;
    bool FIsBeingPermanentlyDestroyed = false;

private:
    void RemoveAt(int index, bool free);
};

// A list with observers: they hear every change of the list and, with NotifyOnItemChange, every
// change of an item.
class TKovObservableObjectList : public TKovObjectList {
    TW_KOV_CLASS(TKovObservableObjectList, TKovObjectList)
public:
    TKovObservableObjectList(TKovObjectManager* manager, bool ownsObjects);
    ~TKovObservableObjectList() override;

    void AttachObserver(TObserver* observer) { FObservable.AttachObserver(observer); }
    void DetachObserver(TObserver* observer) { FObservable.DetachObserver(observer); }
    // Attaches `observer` to every item now in the list and to every later one.
    void AttachObserverToAllContents(TObserver* observer);
    void DetachObserverFromAllContents(TObserver* observer);
    void BeginUpdate() { FObservable.BeginUpdate(); }
    void EndUpdate() { FObservable.EndUpdate(); }
    void NotifyObservers() { FObservable.NotifyObservers(this); }
    TObservable& Observable() { return FObservable; }
    bool NotifyOnItemChange() const { return FNotifyOnItemChange; }
    void SetNotifyOnItemChange(bool notify) { FNotifyOnItemChange = notify; }
    bool IsBeingDeleted() const { return IsBeingDestroyed(); }

    void MarkAsNotFreed() override;

protected:
    void ItemNotify(TKovObject* item, TListAction action) override;
    void ListChanged() override { NotifyObservers(); }
    void AssignEssentialState(const TKovObject& source) override;
    // Attaches the list's item observer and the content observers to an item, and detaches them.
    void Watch(TKovObject* item);
    void Unwatch(TKovObject* item);

private:
    TObservable FObservable;
    TObserver FItemObserver;
    std::vector<TObserver*> FContentObservers;
    bool FNotifyOnItemChange = false;
};

// A list of references to objects owned elsewhere. Removing an item never deletes it, and an item
// destroyed for good leaves the list by itself. A list read from a file holds the stored GUIDs
// until their targets are registered: each target then takes its place in the order of the file.
// The list's mementos keep GUIDs, so undo never brings back a pointer to a destroyed object.
class TKovReferenceList : public TKovObservableObjectList {
    TW_KOV_CLASS(TKovReferenceList, TKovObservableObjectList)
public:
    explicit TKovReferenceList(TKovObjectManager* manager);
    ~TKovReferenceList() override;

    // The GUIDs as read from a file, in order. Those already registered resolve at once; the
    // others when their targets register with the manager (or on ResolvePersistedGuids).
    void SetPersistedGuids(const std::vector<TUniqueID>& ids);
    const std::vector<TUniqueID>& PersistedGuids() const { return FPersistedGuidList; }
    bool HasUnresolvedGuids() const { return !FPersistedGuidList.empty(); }
    // Resolves what the register knows now; answers whether nothing is left unresolved.
    bool ResolvePersistedGuids();
    std::vector<TUniqueID> ItemIDs() const;

protected:
    void ItemNotify(TKovObject* item, TListAction action) override;
    void AssignEssentialState(const TKovObject& source) override;

private:
    void WatchDestruction(TKovObject* item);
    void UnwatchDestruction(TKovObject* item);
    void Subscribe();
    void Unsubscribe();

    std::vector<TUniqueID> FPersistedGuidList; // the whole stored order, while any is pending
    std::vector<TUniqueID> FMementoIDs;        // a memento's contents
    std::vector<std::pair<TKovObject*, int>> FDestroyHandles;
    int FRegistryHandle = 0;
};

// An observable object with a parent, held as a GUID like any reference.
class TKovParentableObject : public TKovObservableObject {
    TW_KOV_CLASS(TKovParentableObject, TKovObservableObject)
public:
    using TKovObservableObject::TKovObservableObject;
    TKovObject* Parent() const;
    void SetParent(TKovObject* parent);
    const TUniqueID& ParentID() const { return FParentID; }
    void CopyParentFrom(const TKovParentableObject& source) { FParentID = source.FParentID; }

protected:
    void AssignEssentialState(const TKovObject& source) override;

private:
    TUniqueID FParentID;
};

} // namespace tw

namespace tw {

// An observable object that another object holds under a name of its own ("Owner.Name").
class TKovReferenceableObservableObject : public TKovObservableObject {
    TW_KOV_CLASS(TKovReferenceableObservableObject, TKovObservableObject)
public:
    using TKovObservableObject::TKovObservableObject;
    TKovObservableObject* Owner() const { return FOwner; }
    void SetOwner(TKovObservableObject* owner, const std::string& referencingName) {
        FOwner = owner;
        FReferencingName = referencingName;
    }
    const std::string& ReferencingName() const { return FReferencingName; }
    // "%s.%s" of the owner's name and the referencing name; the own name without an owner.
    std::string GetObjectNameText() const;

private:
    TKovObservableObject* FOwner = nullptr;
    std::string FReferencingName;
};

// A feature a user attaches to a model object; its values are its intrinsic properties.
class TKovUserFeature : public TKovObservableObject {
    TW_KOV_CLASS(TKovUserFeature, TKovObservableObject)
public:
    using TKovObservableObject::TKovObservableObject;
};

// The features of one object; owns them.
class TKovUserFeatureList : public TKovObservableObjectList {
    TW_KOV_CLASS(TKovUserFeatureList, TKovObservableObjectList)
public:
    explicit TKovUserFeatureList(TKovObjectManager* manager)
        : TKovObservableObjectList(manager, true) {}
    // The first feature of exactly that class, or nullptr.
    TKovUserFeature* FindByClass(const TKovClass& cls) const;
};

} // namespace tw
