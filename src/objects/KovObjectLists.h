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

private:
    void Watch(TKovObject* item);
    void Unwatch(TKovObject* item);

    TObservable FObservable;
    TObserver FItemObserver;
    std::vector<TObserver*> FContentObservers;
    bool FNotifyOnItemChange = false;
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
