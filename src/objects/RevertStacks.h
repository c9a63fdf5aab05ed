#pragma once
// Undo and redo by mementos. Before an object changes, a copy of its state (an instance of the
// same class flagged CreatedForRevert) goes into the open snapshot. Undo swaps the state of the
// live object and its memento, so the same entry serves for redo. An object created or deleted in
// a step stays alive in the entry, so its identity and the references to it come back with it.

#include "objects/UniqueID.h"
#include "services/KovException.h"

#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace tw {

class TKovObject;

TW_DECLARE_EXCEPTION(ERevertStackException, EKovException)

// The abstract entry of a snapshot: something that can swap the live state with the stored one.
// The handlers are told when an object of the entry is destroyed for good, before the entry lets
// go of it.
class TKovRevertObjectMap_Virtual {
public:
    using TOnFreed = std::function<void(TKovObject* freed)>;
    virtual ~TKovRevertObjectMap_Virtual() = default;
    virtual void Invert() = 0;
    void SetOnFreedOldObject(TOnFreed handler) { FOnFreedOldObject = std::move(handler); }
    void SetOnFreedNewObject(TOnFreed handler) { FOnFreedNewObject = std::move(handler); }

protected:
    TOnFreed FOnFreedOldObject;
    TOnFreed FOnFreedNewObject;
};

// One entry of a snapshot. With both objects set, FOldObject is the memento of FNewObject; with
// only FNewObject, the object was created; with only FOldObject, it was deleted and the entry
// keeps it. The entry owns FOldObject.
//
// When FNewObject is destroyed for good (its owner went), a memento has nothing left to restore:
// the entry frees it and becomes empty, and inverting an empty entry does nothing.
class TKovRevertObjectMap_Memento : public TKovRevertObjectMap_Virtual {
public:
    TKovRevertObjectMap_Memento(TKovObject* newObject, TKovObject* oldObject);
    ~TKovRevertObjectMap_Memento() override;
    TKovRevertObjectMap_Memento(const TKovRevertObjectMap_Memento&) = delete;
    TKovRevertObjectMap_Memento& operator=(const TKovRevertObjectMap_Memento&) = delete;

    // Swaps the live state and the stored one (three cases, see the class comment).
    void Invert() override;
    TKovObject* NewObject() const { return FNewObject; }
    TKovObject* OldObject() const { return FOldObject; }
    bool IsEmpty() const { return !FNewObject && !FOldObject; }

    // The destroy event of an object of this entry; raises for any other object.
    void OnObjectDestroyed(TKovObject* object);

private:
    void Watch(TKovObject* object, int& handle);
    void Unwatch(TKovObject* object, int& handle);

    TKovObject* FNewObject;
    TKovObject* FOldObject;
    int FNewHandle = 0;
    int FOldHandle = 0;
};

enum TRevertStackCleanMode { rscmBackwards, rscmForwards };

// One snapshot: a named group of entries, one user action; owns them. Counts per GUID of the
// objects that stand as new and as old in its entries answer "is it backed up already" in
// constant time; they follow every entry added, removed or emptied.
class TKovRevertObjectMapList_Memento {
public:
    enum TEntryAction { eaAdded, eaRemoved };

    explicit TKovRevertObjectMapList_Memento(std::string name);
    ~TKovRevertObjectMapList_Memento() { Clear(rscmBackwards); }
    TKovRevertObjectMapList_Memento(const TKovRevertObjectMapList_Memento&) = delete;
    TKovRevertObjectMapList_Memento& operator=(const TKovRevertObjectMapList_Memento&) = delete;

    const std::string& Name() const { return FName; }
    int Count() const { return static_cast<int>(FEntries.size()); }
    TKovRevertObjectMap_Memento& operator[](int index) { return *FEntries[index]; }
    void Add(std::unique_ptr<TKovRevertObjectMap_Memento> entry);
    // Deletes the entries one at a time: from the last (backwards) or from the first (forwards).
    void Clear(TRevertStackCleanMode mode);
    void Reverse();
    // After an inversion the objects have changed their roles: count again.
    void RebuildCaches();
    // Raises the counts of an added entry, lowers those of a removed one; any other action
    // raises.
    void EntryNotify(const TKovRevertObjectMap_Memento& entry, int action);

    bool NewCacheHas(const TUniqueID& id) const { return FCacheNewObject.count(id) != 0; }
    // As NewCacheHas for the object's GUID, answered from the object's stamp. Exact for the open
    // snapshot, the only one asked: its serial is never reused, and an object leaves its entries
    // only by being destroyed or by the snapshot being reverted.
    bool HoldsAsNew(const TKovObject& object) const;
    uint64_t Serial() const { return FSerial; }
    bool OldCacheHas(const TUniqueID& id) const { return FCacheOldObject.count(id) != 0; }
    // The number of distinct objects counted as new; for tests and diagnostics.
    size_t NewCacheSize() const { return FCacheNewObject.size(); }

private:
    using TCache = std::unordered_map<TUniqueID, int, TUniqueIDHash>;
    static void Raise(TCache& cache, const TKovObject* object);
    static void Lower(TCache& cache, const TKovObject* object);

    std::string FName;
    uint64_t FSerial;
    std::vector<std::unique_ptr<TKovRevertObjectMap_Memento>> FEntries;
    TCache FCacheNewObject;
    TCache FCacheOldObject;
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

// The counts of both stacks of a manager at one moment.
struct TRevertStackLevels {
    const class TKovObjectManager* FObjectManager = nullptr;
    int FUndoStackLevel = 0;
    int FRedoStackLevel = 0;
    static TRevertStackLevels Of(const class TKovObjectManager* manager);
    bool Match(const TRevertStackLevels& other) const {
        return FObjectManager == other.FObjectManager && FUndoStackLevel == other.FUndoStackLevel &&
               FRedoStackLevel == other.FRedoStackLevel;
    }
};

// A self-check for operations that must leave the stacks as they were (a read, a validation, a
// calculation): records the counts before and complains if they differ afterwards. Holds one
// level and changes nothing.
class TProjectRevertStackDiagnosis {
public:
    using TReport = std::function<void(const std::string& message)>;

    // Where mismatches go; standard error when not set.
    void SetOnMismatch(TReport report) { FOnMismatch = std::move(report); }
    void PushCurrentStackState(const class TKovObjectManager* manager);
    // Answers whether the counts still match, and reports a mismatch with `context`. Without a
    // pushed state it answers true.
    bool PopAndVerifyCurrentStackState(const std::string& context);
    void PopWithoutVerification() { FPushed = false; }
    bool HasPushedState() const { return FPushed; }

private:
    TRevertStackLevels FLevels;
    bool FPushed = false;
    TReport FOnMismatch;
};

// Where the stacks leave their traces ("+++ Revert stacks cleared!"). Discarded unless set.
void SetRevertTrace(std::function<void(const std::string&)> trace);

// Opens an undo snapshot on an object for the life of a scope. A scope that ends normally
// closes it with Close(), or leaves that to the destructor; a scope left by an exception rolls
// the snapshot back, so a failed action leaves no partial step.
//
// Only Close() raises. The destructor never does: a rollback during unwinding that fails (an
// object that cannot take its old state back) is logged, the rest of the snapshot is still rolled
// back and the stack is left closed, since raising there would end the program.
class TUndoSnapshot {
public:
    TUndoSnapshot(TKovObject& object, const std::string& caption);
    // The caption is made only when the snapshot is the outermost one.
    TUndoSnapshot(TKovObject& object, const std::function<std::string()>& caption);
    TUndoSnapshot(const TUndoSnapshot&) = delete;
    TUndoSnapshot& operator=(const TUndoSnapshot&) = delete;
    ~TUndoSnapshot();

    // Ends the snapshot: the step is complete.
    void Close();

private:
    TKovObject& FObject;
    bool FOpened;
    int FExceptions;
};

} // namespace tw
