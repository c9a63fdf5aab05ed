#pragma once
// Undo and redo by mementos. Before an object changes, a copy of its state (an instance of the
// same class flagged CreatedForRevert) goes into the open snapshot. Undo swaps the state of the
// live object and its memento, so the same entry serves for redo. An object created or deleted in
// a step stays alive in the entry, so its identity and the references to it come back with it.

#include "services/KovException.h"

#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "objects/UniqueID.h"

namespace tw {

class TKovObject;

TW_DECLARE_EXCEPTION(ERevertStackException, EKovException)

// One entry of a snapshot. With both objects set, FOldObject is the memento of FNewObject; with
// only FNewObject, the object was created; with only FOldObject, it was deleted and the entry
// keeps it. The entry owns FOldObject.
class TKovRevertObjectMap_Memento {
public:
    TKovRevertObjectMap_Memento(TKovObject* newObject, TKovObject* oldObject);
    ~TKovRevertObjectMap_Memento();
    TKovRevertObjectMap_Memento(const TKovRevertObjectMap_Memento&) = delete;
    TKovRevertObjectMap_Memento& operator=(const TKovRevertObjectMap_Memento&) = delete;

    // Swaps the live state and the stored one (three cases, see the class comment).
    void Invert();
    TKovObject* NewObject() const { return FNewObject; }
    TKovObject* OldObject() const { return FOldObject; }
    void SetOnFreedOldObject(std::function<void()> handler) {
        FOnFreedOldObject = std::move(handler);
    }
    void SetOnFreedNewObject(std::function<void()> handler) {
        FOnFreedNewObject = std::move(handler);
    }

private:
    void Watch(TKovObject* object, int& handle);
    void Unwatch(TKovObject* object, int& handle);
    void ObjectDestroyed(TKovObject* object);

    TKovObject* FNewObject;
    TKovObject* FOldObject;
    int FNewHandle = 0;
    int FOldHandle = 0;
    std::function<void()> FOnFreedOldObject;
    std::function<void()> FOnFreedNewObject;
};

enum TRevertStackCleanMode { rscmBackwards, rscmForwards };

// One snapshot: a named group of entries, one user action. Counts per GUID of the objects that
// stand as new and as old in its entries answer "is it backed up already" in constant time.
class TKovRevertObjectMapList_Memento {
public:
    explicit TKovRevertObjectMapList_Memento(std::string name) : FName(std::move(name)) {}
    ~TKovRevertObjectMapList_Memento() { Clear(rscmBackwards); }

    const std::string& Name() const { return FName; }
    int Count() const { return static_cast<int>(FEntries.size()); }
    TKovRevertObjectMap_Memento& operator[](int index) { return *FEntries[index]; }
    void Add(std::unique_ptr<TKovRevertObjectMap_Memento> entry);
    // Deletes the entries one at a time: from the last (backwards) or from the first (forwards).
    void Clear(TRevertStackCleanMode mode);
    void Reverse();

    bool NewCacheHas(const TUniqueID& id) const { return FCacheNewObject.count(id) != 0; }
    bool OldCacheHas(const TUniqueID& id) const { return FCacheOldObject.count(id) != 0; }

private:
    std::string FName;
    std::vector<std::unique_ptr<TKovRevertObjectMap_Memento>> FEntries;
    std::unordered_map<TUniqueID, int, TUniqueIDHash> FCacheNewObject;
    std::unordered_map<TUniqueID, int, TUniqueIDHash> FCacheOldObject;
};

class TKovRevertStack_Memento {
public:
    explicit TKovRevertStack_Memento(std::string name) : FName(std::move(name)) {}

    const std::string& Name() const { return FName; }
    int Count() const { return static_cast<int>(FSnapshots.size()); }
    int MaxSize() const { return FMaxSize; }
    void SetMaxSize(int size) { FMaxSize = size < 0 ? 0 : size; }
    int SnapshotLevel() const { return FSnapshotLevel; }
    bool IsRevertLocked() const { return FRevertLockedLevel > 0; }
    void Lock() { ++FRevertLockedLevel; }
    void Unlock();

    // The snapshot at `index`, 0 being the newest.
    TKovRevertObjectMapList_Memento& Snapshot(int index) {
        return *FSnapshots[FSnapshots.size() - 1 - index];
    }
    void PushNewest(std::unique_ptr<TKovRevertObjectMapList_Memento> snapshot) {
        FSnapshots.push_back(std::move(snapshot));
    }
    std::unique_ptr<TKovRevertObjectMapList_Memento> ExtractNewest();
    // Deletes the oldest snapshots until no more than MaxSize remain.
    void TrimToMaxSize();
    void Clear(TRevertStackCleanMode mode);

    int FSnapshotLevel = 0;

private:
    std::string FName;
    int FRevertLockedLevel = 0;
    int FMaxSize = 50;
    std::vector<std::unique_ptr<TKovRevertObjectMapList_Memento>> FSnapshots; // oldest first
};

class TKovRevertStacksManager {
public:
    TKovRevertStacksManager();
    ~TKovRevertStacksManager();

    bool IsSnapshotOpened() const { return FUndoStack->SnapshotLevel() > 0; }
    bool IsUndoing() const { return FIsUndoing; }
    bool IsRedoing() const { return FIsRedoing; }
    bool IsReverting() const { return FIsUndoing || FIsRedoing; }
    bool IsRevertingOrLocked() const;
    bool RevertEnabled() const;
    int MaxRevertStack() const { return FUndoStack->MaxSize(); }
    void SetMaxRevertStack(int size) { FUndoStack->SetMaxSize(size); }
    int UndoCount() const { return FUndoStack->Count(); }
    int RedoCount() const { return FRedoStack->Count(); }
    std::string GetUndoName(int index) const { return FUndoStack->Snapshot(index).Name(); }
    std::string GetRedoName(int index) const { return FRedoStack->Snapshot(index).Name(); }
    void SetOnRevertStackChange(std::function<void()> handler) {
        FOnRevertStackChange = std::move(handler);
    }

    void BeginSnapshot(const std::string& caption);
    void EndSnapshot();
    // Ends a snapshot; at the outermost level it is applied backwards at once and dropped,
    // leaving no redo. With `onlyIfEmpty`, that happens only to an empty snapshot.
    void EndSnapshotWithRollback(bool onlyIfEmpty);
    bool Add(TKovObject* newObject, TKovObject* oldObject, const std::string& caption);
    bool UndoSnapshotAlreadyContainsBackupOf(const TKovObject* object) const;
    void Undo();
    void Redo();
    void LockRevert();
    void UnlockRevert();
    void ClearRevertStacks();
    void ClearRedoStack();

private:
    bool AlreadyContainsObject(const TKovObject* newObject, const TKovObject* oldObject) const;
    void Revert(TKovRevertStack_Memento& from, TKovRevertStack_Memento* to);
    void Changed();

    std::unique_ptr<TKovRevertStack_Memento> FUndoStack;
    std::unique_ptr<TKovRevertStack_Memento> FRedoStack;
    bool FIsUndoing = false;
    bool FIsRedoing = false;
    bool FIsClearingRedoStack = false;
    std::function<void()> FOnRevertStackChange;
};

// Records the counts of both stacks before an operation that must leave them as they were, and
// reports a difference afterwards. Holds one level.
class TProjectRevertStackDiagnosis {
public:
    void PushCurrentStackState(const class TKovObjectManager* manager);
    // Answers whether the counts still match; a mismatch also goes to standard error with
    // `context`.
    bool PopAndVerifyCurrentStackState(const std::string& context);
    void PopWithoutVerification() { FManager = nullptr; }

private:
    const class TKovObjectManager* FManager = nullptr;
    int FUndoStackLevel = 0;
    int FRedoStackLevel = 0;
};

} // namespace tw
