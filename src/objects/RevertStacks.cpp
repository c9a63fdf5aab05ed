#include "objects/RevertStacks.h"

#include "objects/KovBaseClasses.h"
#include "objects/ObjectManager.h"
#include "services/Format.h"
#include "services/Log.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <iostream>
#include <utility>

namespace tw {

namespace {
std::function<void(const std::string&)>& TraceSink() {
    static std::function<void(const std::string&)> sink;
    return sink;
}
void RevertTrace(const std::string& text) {
    if (TraceSink())
        TraceSink()(text);
}
} // namespace

void SetRevertTrace(std::function<void(const std::string&)> trace) {
    TraceSink() = std::move(trace);
}

// ---------------------------------------------------------------------------------------------
// Entry

TKovRevertObjectMap_Memento::TKovRevertObjectMap_Memento(TKovObject* newObject,
                                                         TKovObject* oldObject)
    : FNewObject(newObject), FOldObject(oldObject) {
    Watch(FNewObject, FNewHandle);
    // A memento belongs to this entry alone and can't be destroyed behind its back: watching it
    // would cost a callback record per memento for nothing. A deleted object is watched.
    if (FOldObject && !FOldObject->CreatedForRevert())
        Watch(FOldObject, FOldHandle);
}

TKovRevertObjectMap_Memento::~TKovRevertObjectMap_Memento() {
    Unwatch(FNewObject, FNewHandle);
    Unwatch(FOldObject, FOldHandle);
    delete FOldObject;
}

void TKovRevertObjectMap_Memento::Watch(TKovObject* object, int& handle) {
    handle = object ? object->AddPermanentDestroyCallback(
                          [this](TKovObject* destroyed) { OnObjectDestroyed(destroyed); })
                    : 0;
}

void TKovRevertObjectMap_Memento::Unwatch(TKovObject* object, int& handle) {
    if (object && handle)
        object->RemovePermanentDestroyCallback(handle);
    handle = 0;
}

void TKovRevertObjectMap_Memento::OnObjectDestroyed(TKovObject* object) {
    if (!object || (object != FOldObject && object != FNewObject))
        throw ERevertStackException("Expected destroy event only from own old or new object!");
    if (object == FOldObject) {
        if (FOnFreedOldObject)
            FOnFreedOldObject(object);
        FOldObject = nullptr;
        FOldHandle = 0;
        return;
    }
    if (FOnFreedNewObject)
        FOnFreedNewObject(object);
    FNewObject = nullptr;
    FNewHandle = 0;
    if (FOldObject && FOldObject->CreatedForRevert()) {
        // A memento of an object that is gone restores nothing any more.
        TKovObject* memento = FOldObject;
        if (FOnFreedOldObject)
            FOnFreedOldObject(memento);
        Unwatch(FOldObject, FOldHandle);
        FOldObject = nullptr;
        delete memento;
    }
}

void TKovRevertObjectMap_Memento::Invert() {
    if (FNewObject && FOldObject) {
        // A changed object: swap the live state and the memento's, through a temporary.
        const bool newLocked = FNewObject->Locked(), oldLocked = FOldObject->Locked();
        FNewObject->SetLocked(true);
        FOldObject->SetLocked(true);
        // The live object is back in its manager and both lock states are as they were, also
        // when a state fails to copy.
        struct TRestore {
            TKovObject* New;
            TKovObject* Old;
            bool NewLocked, OldLocked;
            ~TRestore() {
                New->EndResurrecting();
                New->SetLocked(NewLocked);
                Old->SetLocked(OldLocked);
            }
        } restore{FNewObject, FOldObject, newLocked, oldLocked};
        FNewObject->MarkResurrecting();
        FNewObject->MarkAsFreed();
        std::unique_ptr<TKovObject> temporary(FOldObject->CreateBlankForRevert());
        temporary->Assign(*FOldObject);
        FOldObject->Assign(*FNewObject);
        FNewObject->Assign(*temporary);
    } else if (FOldObject) {
        // Undoing a deletion: the object comes back to life, and the entry lets go of it. A
        // newer object that took its name in the meantime is marked freed.
        TKovObject* object = FOldObject;
        std::swap(FNewHandle, FOldHandle);
        FNewObject = object;
        FOldObject = nullptr;
        if (TKovObjectManager* manager = object->ObjectManager()) {
            TKovObject* other = manager->ObjectRegistry().GetObject(object->Name());
            if (other && other != object)
                other->MarkAsFreed();
        }
        object->MarkResurrecting();
        object->EndResurrecting();
    } else if (FNewObject) {
        // Undoing a creation: the object leaves the model and the entry keeps it.
        TKovObject* object = FNewObject;
        const bool locked = object->Locked();
        object->SetLocked(true);
        object->MarkAsFreed();
        object->SetLocked(locked);
        std::swap(FNewHandle, FOldHandle);
        FOldObject = object;
        FNewObject = nullptr;
    }
}

// ---------------------------------------------------------------------------------------------
// Snapshot

TKovRevertObjectMapList_Memento::TKovRevertObjectMapList_Memento(std::string name)
    : FName(std::move(name)) {
    static std::atomic<uint64_t> serials{0};
    FSerial = ++serials;
}

bool TKovRevertObjectMapList_Memento::HoldsAsNew(const TKovObject& object) const {
    return object.BackupSnapshotSerial() == FSerial;
}

void TKovRevertObjectMapList_Memento::Raise(TCache& cache, const TKovObject* object) {
    if (object && !object->UniqueID().IsEmpty())
        ++cache[object->UniqueID()];
}

void TKovRevertObjectMapList_Memento::Lower(TCache& cache, const TKovObject* object) {
    if (!object || object->UniqueID().IsEmpty())
        return;
    auto it = cache.find(object->UniqueID());
    if (it != cache.end() && --it->second <= 0)
        cache.erase(it);
}

void TKovRevertObjectMapList_Memento::EntryNotify(const TKovRevertObjectMap_Memento& entry,
                                                  int action) {
    switch (action) {
    case eaAdded:
        Raise(FCacheNewObject, entry.NewObject());
        Raise(FCacheOldObject, entry.OldObject());
        break;
    case eaRemoved:
        Lower(FCacheNewObject, entry.NewObject());
        Lower(FCacheOldObject, entry.OldObject());
        break;
    default:
        throw ERevertStackException(Format("Unexpected aciont: %d", action));
    }
}

void TKovRevertObjectMapList_Memento::Add(std::unique_ptr<TKovRevertObjectMap_Memento> entry) {
    EntryNotify(*entry, eaAdded);
    if (entry->NewObject())
        entry->NewObject()->SetBackupSnapshotSerial(FSerial);
    // An object of the entry destroyed for good leaves the counts with it.
    entry->SetOnFreedNewObject([this](TKovObject* freed) { Lower(FCacheNewObject, freed); });
    entry->SetOnFreedOldObject([this](TKovObject* freed) { Lower(FCacheOldObject, freed); });
    FEntries.push_back(std::move(entry));
}

void TKovRevertObjectMapList_Memento::Clear(TRevertStackCleanMode mode) {
    switch (mode) {
    case rscmBackwards:
        while (!FEntries.empty()) {
            auto entry = std::move(FEntries.back());
            FEntries.pop_back();
            EntryNotify(*entry, eaRemoved);
            entry.reset();
        }
        break;
    case rscmForwards:
        for (auto& entry : FEntries) {
            EntryNotify(*entry, eaRemoved);
            entry.reset();
        }
        FEntries.clear();
        break;
    default:
        throw ERevertStackException(Format("Unexpected clean mode: %d", static_cast<int>(mode)));
    }
    FCacheNewObject.clear();
    FCacheOldObject.clear();
}

void TKovRevertObjectMapList_Memento::Reverse() {
    std::reverse(FEntries.begin(), FEntries.end());
}

void TKovRevertObjectMapList_Memento::RebuildCaches() {
    FCacheNewObject.clear();
    FCacheOldObject.clear();
    for (const auto& entry : FEntries)
        EntryNotify(*entry, eaAdded);
}

// ---------------------------------------------------------------------------------------------
// Stack

void TKovRevertStack_Memento::Unlock() {
    if (--FRevertLockedLevel < 0) {
        FRevertLockedLevel = 0;
        throw ERevertStackException("Did not expect to get revert lock < 0!");
    }
}

std::unique_ptr<TKovRevertObjectMapList_Memento> TKovRevertStack_Memento::ExtractNewest() {
    auto snapshot = std::move(FSnapshots.back());
    FSnapshots.pop_back();
    return snapshot;
}

void TKovRevertStack_Memento::TrimToMaxSize() {
    if (Count() <= FMaxSize)
        return;
    const size_t excess = FSnapshots.size() - static_cast<size_t>(FMaxSize);
    std::vector<std::unique_ptr<TKovRevertObjectMapList_Memento>> dropped(
        std::make_move_iterator(FSnapshots.begin()),
        std::make_move_iterator(FSnapshots.begin() + static_cast<long>(excess)));
    FSnapshots.erase(FSnapshots.begin(), FSnapshots.begin() + static_cast<long>(excess));
    for (auto& snapshot : dropped)
        snapshot->Clear(rscmBackwards);
}

void TKovRevertStack_Memento::Clear(TRevertStackCleanMode mode) {
    auto snapshots = std::move(FSnapshots);
    FSnapshots.clear();
    if (mode == rscmForwards)
        std::reverse(snapshots.begin(), snapshots.end()); // newest first
    for (auto& snapshot : snapshots)
        snapshot->Clear(mode);
}

// ---------------------------------------------------------------------------------------------
// Manager of the two stacks

TKovRevertStacksManager::TKovRevertStacksManager() {
    const auto address = static_cast<long long>(reinterpret_cast<uintptr_t>(this));
    FUndoStack = std::make_unique<TKovRevertStack_Memento>(Format("Undo stack of \"%d\"", address));
    FRedoStack = std::make_unique<TKovRevertStack_Memento>(Format("Redo stack of \"%d\"", address));
}

TKovRevertStacksManager::~TKovRevertStacksManager() {
    FRedoStack->Clear(rscmBackwards);
    FUndoStack->Clear(rscmForwards);
}

bool TKovRevertStacksManager::IsRevertingOrLocked() const {
    return IsReverting() || FUndoStack->IsRevertLocked() || FRedoStack->IsRevertLocked();
}

bool TKovRevertStacksManager::RevertEnabled() const {
    return !FUndoStack->IsRevertLocked() && !FRedoStack->IsRevertLocked();
}

void TKovRevertStacksManager::Changed() {
    if (FOnRevertStackChange && FUndoStack->SnapshotLevel() == 0)
        FOnRevertStackChange();
}

void TKovRevertStacksManager::BeginSnapshot(const std::string& caption) {
    if (FUndoStack->IsRevertLocked())
        return;
    if (FUndoStack->FSnapshotLevel++ == 0)
        FUndoStack->PushNewest(std::make_unique<TKovRevertObjectMapList_Memento>(caption));
}

void TKovRevertStacksManager::EndSnapshot() {
    auto& stack = *FUndoStack;
    if (stack.IsRevertLocked())
        return;
    if (--stack.FSnapshotLevel < 0) {
        stack.FSnapshotLevel = 0;
        throw ERevertStackException(
            Format("Unbalanced call to TKovUndoStack.EndSnapshot for undo stack named \"%s\"",
                   stack.Name()));
    }
    if (stack.FSnapshotLevel > 0 || stack.Count() == 0)
        return;
    stack.Lock();
    if (stack.Snapshot(0).Count() == 0) {
        // Nothing changed: no step for the user, and redo stays available.
        stack.ExtractNewest();
        stack.Unlock();
        return;
    }
    stack.TrimToMaxSize();
    stack.Unlock();
    ClearRedoStack();
    Changed();
}

void TKovRevertStacksManager::EndSnapshotWithRollback(bool onlyIfEmpty) {
    auto& stack = *FUndoStack;
    if (stack.IsRevertLocked())
        return;
    if (stack.FSnapshotLevel - 1 > 0 || stack.Count() == 0) {
        EndSnapshot();
        return;
    }
    if (onlyIfEmpty && stack.Snapshot(0).Count() > 0) {
        EndSnapshot();
        return;
    }
    stack.FSnapshotLevel = 0;
    FIsUndoing = true;
    try {
        Revert(stack, nullptr);
    } catch (...) {
        FIsUndoing = false;
        throw;
    }
    FIsUndoing = false;
    Changed();
}

bool TKovRevertStacksManager::Add(TKovObject* newObject, TKovObject* oldObject,
                                  const std::string& caption) {
    auto& stack = *FUndoStack;
    if (stack.IsRevertLocked()) {
        if (newObject && oldObject)
            delete oldObject; // a memento nobody will use
        return false;
    }
    if (stack.SnapshotLevel() == 0) {
        BeginSnapshot(caption);
        bool added = Add(newObject, oldObject, caption);
        EndSnapshot();
        return added;
    }
    // Redo is forfeited when the snapshot ends with changes (EndSnapshot), not here: a snapshot
    // that is rolled back must leave the redo stack as it found it.
    const bool rename = newObject && oldObject && newObject->Name() != oldObject->Name();
    if (!rename && AlreadyContainsObject(newObject, oldObject)) {
        if (newObject && oldObject)
            delete oldObject;
        return false;
    }
    stack.Snapshot(0).Add(std::make_unique<TKovRevertObjectMap_Memento>(newObject, oldObject));
    Changed();
    return true;
}

bool TKovRevertStacksManager::AlreadyContainsObject(const TKovObject* newObject,
                                                    const TKovObject* oldObject) const {
    auto& snapshot = FUndoStack->Snapshot(0);
    if (!newObject && oldObject)
        return snapshot.OldCacheHas(oldObject->UniqueID()) &&
               snapshot.NewCacheHas(oldObject->UniqueID());
    if (newObject && !oldObject)
        return snapshot.HoldsAsNew(*newObject) && !snapshot.OldCacheHas(newObject->UniqueID());
    if (newObject && oldObject)
        return snapshot.HoldsAsNew(*newObject) ||
               (newObject == oldObject && snapshot.OldCacheHas(oldObject->UniqueID()));
    return false;
}

bool TKovRevertStacksManager::UndoSnapshotAlreadyContainsBackupOf(const TKovObject* object) const {
    if (!object || FUndoStack->SnapshotLevel() == 0 || FUndoStack->Count() == 0)
        return false;
    return FUndoStack->Snapshot(0).HoldsAsNew(*object);
}

void TKovRevertStacksManager::Revert(TKovRevertStack_Memento& from, TKovRevertStack_Memento* to) {
    if (&from == to)
        throw ERevertStackException("Reverting cannot be performed on a single revert stack - two "
                                    "separate stacks are necessary");
    if (from.Count() == 0)
        return;
    from.Lock();
    if (to)
        to->Lock();
    // Every entry is inverted even when one fails, so that the step is taken out of the stack
    // whole and the model is as near its old state as it can be; the first failure is raised
    // after.
    auto snapshot = from.ExtractNewest();
    std::exception_ptr failure;
    for (int i = snapshot->Count() - 1; i >= 0; --i) {
        try {
            (*snapshot)[i].Invert();
        } catch (...) {
            if (!failure)
                failure = std::current_exception();
        }
    }
    snapshot->RebuildCaches();
    if (to) {
        snapshot->Reverse();
        to->PushNewest(std::move(snapshot));
    } else {
        snapshot->Clear(rscmBackwards);
    }
    if (to)
        to->Unlock();
    from.Unlock();
    if (failure)
        std::rethrow_exception(failure);
}

void TKovRevertStacksManager::Undo() {
    if (FUndoStack->SnapshotLevel() > 0)
        return; // an action is under way; its own step isn't complete yet
    FIsUndoing = true;
    try {
        Revert(*FUndoStack, FRedoStack.get());
    } catch (...) {
        FIsUndoing = false;
        throw;
    }
    FIsUndoing = false;
    if (FOnRevertStackChange)
        FOnRevertStackChange();
}

void TKovRevertStacksManager::Redo() {
    if (FUndoStack->SnapshotLevel() > 0)
        return;
    FIsRedoing = true;
    try {
        Revert(*FRedoStack, FUndoStack.get());
    } catch (...) {
        FIsRedoing = false;
        throw;
    }
    FIsRedoing = false;
    if (FOnRevertStackChange)
        FOnRevertStackChange();
}

void TKovRevertStacksManager::LockRevert() {
    FUndoStack->Lock();
    FRedoStack->Lock();
}

void TKovRevertStacksManager::UnlockRevert() {
    FRedoStack->Unlock();
    FUndoStack->Unlock();
}

void TKovRevertStacksManager::ClearRevertStacks() {
    if (IsSnapshotOpened())
        throw EKovException("Trying to clear revert stacks while in a snapshot state");
    LockRevert();
    FRedoStack->Clear(rscmBackwards);
    FUndoStack->Clear(rscmForwards);
    UnlockRevert();
    RevertTrace("+++ Revert stacks cleared!");
    if (FOnRevertStackChange)
        FOnRevertStackChange();
}

void TKovRevertStacksManager::ClearRedoStack() {
    if (FIsClearingRedoStack || FRedoStack->Count() == 0)
        return;
    FIsClearingRedoStack = true;
    FRedoStack->Lock();
    FRedoStack->Clear(rscmBackwards);
    FRedoStack->Unlock();
    FIsClearingRedoStack = false;
}

// ---------------------------------------------------------------------------------------------

TRevertStackLevels TRevertStackLevels::Of(const TKovObjectManager* manager) {
    TRevertStackLevels levels;
    levels.FObjectManager = manager;
    levels.FUndoStackLevel = manager ? manager->UndoCount() : 0;
    levels.FRedoStackLevel = manager ? manager->RedoCount() : 0;
    return levels;
}

void TProjectRevertStackDiagnosis::PushCurrentStackState(const TKovObjectManager* manager) {
    FLevels = TRevertStackLevels::Of(manager);
    FPushed = true;
}

bool TProjectRevertStackDiagnosis::PopAndVerifyCurrentStackState(const std::string& context) {
    if (!FPushed)
        return true;
    FPushed = false;
    const TRevertStackLevels now = TRevertStackLevels::Of(FLevels.FObjectManager);
    if (FLevels.Match(now))
        return true;
    const std::string message = Format(
        "Revert stacks changed during %s: undo %d -> %d, redo %d -> %d", context,
        FLevels.FUndoStackLevel, now.FUndoStackLevel, FLevels.FRedoStackLevel, now.FRedoStackLevel);
    if (FOnMismatch)
        FOnMismatch(message);
    else
        std::cerr << message << std::endl;
    return false;
}

// ---------------------------------------------------------------------------------------------

TUndoSnapshot::TUndoSnapshot(TKovObject& object, const std::string& caption)
    : FObject(object), FOpened(object.BeginUndoSnapshot(caption)),
      FExceptions(std::uncaught_exceptions()) {}

TUndoSnapshot::TUndoSnapshot(TKovObject& object, const std::function<std::string()>& caption)
    : FObject(object), FOpened(object.BeginUndoSnapshotLazy(caption)),
      FExceptions(std::uncaught_exceptions()) {}

void TUndoSnapshot::Close() {
    if (std::exchange(FOpened, false))
        FObject.EndUndoSnapshot();
}

TUndoSnapshot::~TUndoSnapshot() {
    if (!FOpened)
        return;
    const bool unwinding = std::uncaught_exceptions() > FExceptions;
    try {
        if (unwinding)
            FObject.EndUndoSnapshotWithRollback();
        else
            FObject.EndUndoSnapshot();
    } catch (const std::exception& e) {
        LogError(Format(unwinding ? "rolling back an undo step failed: %s"
                                  : "closing an undo step failed: %s",
                        e.what()));
    } catch (...) {
        LogError(unwinding ? "rolling back an undo step failed" : "closing an undo step failed");
    }
}

} // namespace tw
