#pragma once
// The home of one project's objects: the name registry that keeps names unique, the register from
// GUID to object, the undo and redo stacks, and the global state objects. The registry and the
// stacks belong to the main thread; only the GUID register is thread-safe.

#include "objects/IntrinsicProperty.h"
#include "objects/KovBaseClasses.h"
#include "objects/RevertStacks.h"

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

namespace tw {

TW_DECLARE_EXCEPTION(EKovObjectRegistryException, EKovException)

// Registered objects by clean name (trimmed, lower case).
class TObjectNamesContainer {
public:
    void AddObject(const std::string& cleanName, TKovObject* object);
    void DeleteObjectByName(const std::string& cleanName);
    TKovObject* GetObjectByName(const std::string& cleanName) const;
    bool HasObjectByName(const std::string& cleanName) const;
    void Clear() { FDictionary.clear(); }
    size_t Count() const { return FDictionary.size(); }
    std::string ReportContents() const;
    const std::unordered_map<std::string, TKovObject*>& Items() const { return FDictionary; }

private:
    std::unordered_map<std::string, TKovObject*> FDictionary;
};

class TKovObjectRegistry {
public:
    struct TObserver {
        std::function<void(TKovObject*)> OnRegister;
        std::function<void(TKovObject*)> OnUnregister;
    };

    // The object registered under `name` (any case), or nullptr.
    TKovObject* GetObject(const std::string& name) const;
    // A name not yet taken, made from `name`: the name itself when free (and startIndex is -1),
    // else its root with "_" and the lowest index not known to be taken.
    std::string GetUniqueName(const std::string& name, int startIndex = -1);
    // False when another object holds the name.
    bool RegisterObject(TKovObject* object);
    void UnregisterObject(TKovObject* object);
    int SubscribeToNotifications(TObserver observer);
    void UnsubscribeFromNotifications(int handle);
    std::string ReportContents() const { return FObjectNames.ReportContents(); }
    size_t Count() const { return FObjectNames.Count(); }
    const std::unordered_map<std::string, TKovObject*>& Items() const {
        return FObjectNames.Items();
    }

private:
    void Notify(TKovObject* object, bool registered);

    TObjectNamesContainer FObjectNames;
    std::unordered_map<std::string, int> FLastKnownUnusedRootIndices;
    std::map<int, TObserver> FObservers;
    int FNextObserverHandle = 1;
};

class TKovObjectManager {
public:
    // Uses `uidRegister`, or the process-wide default register.
    explicit TKovObjectManager(TUniqueIDRegister* uidRegister = nullptr);
    TKovObjectManager(const TKovObjectManager&) = delete;
    TKovObjectManager& operator=(const TKovObjectManager&) = delete;
    // Clears the stacks first (which destroys objects deleted with undo), then the registry.
    ~TKovObjectManager();

    TKovObjectRegistry& ObjectRegistry() { return FRegistry; }
    TUniqueIDRegister& UIDRegister() const { return *FUIDRegister; }

    // Undo and redo.
    TKovRevertStacksManager& RevertStacks() { return FRevertStacks; }
    bool IsUndoRedoSnapshotOpened() const { return FRevertStacks.IsSnapshotOpened(); }
    bool IsReverting() const { return FRevertStacks.IsReverting(); }
    bool IsRevertingOrLocked() const { return FRevertStacks.IsRevertingOrLocked(); }
    bool RevertEnabled() const { return FRevertStacks.RevertEnabled(); }
    int MaxRevertStack() const { return FRevertStacks.MaxRevertStack(); }
    void SetMaxRevertStack(int size) { FRevertStacks.SetMaxRevertStack(size); }
    int UndoCount() const { return FRevertStacks.UndoCount(); }
    int RedoCount() const { return FRevertStacks.RedoCount(); }
    std::string GetUndoName(int index) const { return FRevertStacks.GetUndoName(index); }
    std::string GetRedoName(int index) const { return FRevertStacks.GetRedoName(index); }
    void SetOnRevertStackChange(std::function<void()> handler) {
        FRevertStacks.SetOnRevertStackChange(std::move(handler));
    }
    bool UndoSnapshotAlreadyContainsBackupOf(const TKovObject* object) const {
        return FRevertStacks.UndoSnapshotAlreadyContainsBackupOf(object);
    }
    void ClearRevertStacks() { FRevertStacks.ClearRevertStacks(); }
    void ClearRedoStack() { FRevertStacks.ClearRedoStack(); }
    void UndoBeginSnapshot(const std::string& caption) { FRevertStacks.BeginSnapshot(caption); }
    template <typename... Args> void UndoBeginSnapshot(const char* format, const Args&... args) {
        FRevertStacks.BeginSnapshot(Format(format, args...));
    }
    void UndoEndSnapshot() { FRevertStacks.EndSnapshot(); }
    void UndoEndSnapshotWithRollback() { FRevertStacks.EndSnapshotWithRollback(false); }
    void UndoEndSnapshotWithRollbackIfEmpty() { FRevertStacks.EndSnapshotWithRollback(true); }
    // Records a change: `newObject` alone was created, `oldObject` alone was deleted (the stack
    // takes ownership), both: `oldObject` is the memento of `newObject` (the stack takes it).
    // Answers whether an entry was added; when not, a memento has been deleted and a deleted
    // object is left to the caller.
    bool UndoAdd(TKovObject* newObject, TKovObject* oldObject, const std::string& caption) {
        return FRevertStacks.Add(newObject, oldObject, caption);
    }
    void Undo() { FRevertStacks.Undo(); }
    void Redo() { FRevertStacks.Redo(); }
    void LockRevert() { FRevertStacks.LockRevert(); }
    void UnlockRevert() { FRevertStacks.UnlockRevert(); }

    // Bulk work without undo records; the mutex lets another thread take the bracket. Prefer
    // THighPerformanceMode, which closes the bracket however its scope ends.
    void BeginHighPerformanceMode();
    void EndHighPerformanceMode();

    // At most one global state object per class; not owned.
    void AddGlobalState(TKovObject* object);
    void CopyGlobalStatesFrom(const TKovObjectManager& other);
    TKovObject* GetGlobalState(const TKovClass& cls) const;
    TKovObject* ExtractGlobalState(const TKovClass& cls);

private:
    std::recursive_mutex FMutex;
    TKovObjectRegistry FRegistry;
    TUniqueIDRegister* FUIDRegister;
    std::vector<TKovObject*> FGlobalStates;
    TKovRevertStacksManager FRevertStacks;
};

// Locks the revert stacks of a manager (if any) for the life of a scope.
class TRevertLock {
public:
    explicit TRevertLock(TKovObjectManager* manager) : FManager(manager) {
        if (FManager)
            FManager->LockRevert();
    }
    ~TRevertLock() {
        if (FManager)
            FManager->UnlockRevert();
    }
    TRevertLock(const TRevertLock&) = delete;
    TRevertLock& operator=(const TRevertLock&) = delete;

private:
    TKovObjectManager* FManager;
};

// Holds a manager in high-performance mode for the life of a scope; a null manager holds nothing.
class THighPerformanceMode {
public:
    explicit THighPerformanceMode(TKovObjectManager* manager) : FManager(manager) {
        if (FManager)
            FManager->BeginHighPerformanceMode();
    }
    THighPerformanceMode(const THighPerformanceMode&) = delete;
    THighPerformanceMode& operator=(const THighPerformanceMode&) = delete;
    ~THighPerformanceMode() {
        if (FManager)
            FManager->EndHighPerformanceMode();
    }

private:
    TKovObjectManager* FManager;
};

} // namespace tw
