#include "objects/Observer.h"

#include <algorithm>

namespace tw {

TObservable::~TObservable() {
    while (TObserver* observer = FObservers.Last())
        DetachObserver(observer);
}

void TObservable::AttachObserver(TObserver* observer) {
    if (!observer)
        return;
    if (FObservers.AddUnique(observer)) {
        std::lock_guard lock(observer->FMutex);
        observer->FObservables.push_back(this);
    }
}

void TObservable::DetachObserver(TObserver* observer) {
    if (!observer)
        return;
    if (FObservers.Remove(observer)) {
        std::lock_guard lock(observer->FMutex);
        auto& list = observer->FObservables;
        auto it = std::find(list.begin(), list.end(), this);
        if (it != list.end())
            list.erase(it);
    }
}

void TObservable::NotifyObservers() {
    NotifyObservers(FParentObject ? FParentObject : this, DefaultNotificationCode);
}

void TObservable::NotifyObservers(TNotifySender sender) {
    NotifyObservers(sender, DefaultNotificationCode);
}

void TObservable::NotifyObservers(TNotifySender sender, int code) {
    if (FLockLevel > 0) {
        FNotifyCalledWhileLocked = true;
        return;
    }
    FObservers.ForEach([&](TObserver* observer) {
        if (observer->Enabled() && observer->HasEvent())
            observer->Notify(sender, code);
    });
}

void TObservable::NotifyObserversDestroy() {
    NotifyObservers();
    for (TObserver* observer : FObservers.Snapshot()) {
        std::lock_guard lock(observer->FMutex);
        auto& list = observer->FObservables;
        auto it = std::find(list.begin(), list.end(), this);
        if (it != list.end())
            list.erase(it);
    }
}

void TObservable::BeginUpdate() {
    if (FLockLevel == 0)
        FNotifyCalledWhileLocked = false;
    ++FLockLevel;
}

void TObservable::EndUpdate() {
    if (FLockLevel == 0)
        return;
    if (--FLockLevel == 0 && FNotifyCalledWhileLocked) {
        FNotifyCalledWhileLocked = false;
        NotifyObservers();
    }
}

void TObserver::Notify(TNotifySender sender) {
    if (FOnNotify)
        FOnNotify(sender);
    else if (FOnNotifyExtended)
        FOnNotifyExtended(sender, DefaultNotificationCode);
}

void TObserver::Notify(TNotifySender sender, int code) {
    if (FOnNotifyExtended)
        FOnNotifyExtended(sender, code);
    else if (FOnNotify)
        FOnNotify(sender);
}

void TObserver::DetachFromAll() {
    for (;;) {
        TObservable* observable;
        {
            std::lock_guard lock(FMutex);
            if (FObservables.empty())
                return;
            observable = FObservables.back();
        }
        // An observable that was told of its destruction has left our list already; one that
        // does not know us any more must still leave it.
        if (observable->FObservers.Contains(this))
            observable->DetachObserver(this);
        else {
            std::lock_guard lock(FMutex);
            FObservables.pop_back();
        }
    }
}

size_t TObserver::ObservableCount() const {
    std::lock_guard lock(FMutex);
    return FObservables.size();
}

} // namespace tw
