#pragma once
// The notification pair. An observable tells its observers that it changed; observers hold no
// ownership of observables and vice versa. Attach and detach may come from any thread (they lock
// the observer list first, then the observer's own list); notifications run on the calling
// thread, which for model objects is the main thread.

#include "objects/EnumerableObjectList.h"

#include <climits>
#include <functional>
#include <mutex>
#include <vector>

namespace tw {

class TObserver;

// The sender of a notification: whatever the observable names as its parent, or the observable
// itself.
using TNotifySender = const void*;

// The default notification code, used when no code is given.
constexpr int DefaultNotificationCode = INT_MAX;
inline bool IsDefaultNotification(int code) {
    return code == DefaultNotificationCode;
}

class TObservable {
public:
    explicit TObservable(const void* parentObject = nullptr) : FParentObject(parentObject) {}
    TObservable(const TObservable&) = delete;
    TObservable& operator=(const TObservable&) = delete;
    // Detaches every observer, from the last to the first.
    virtual ~TObservable();

    void AttachObserver(TObserver* observer);
    void DetachObserver(TObserver* observer);

    void NotifyObservers();
    void NotifyObservers(TNotifySender sender);
    void NotifyObservers(TNotifySender sender, int code);
    // A normal notification, then this observable leaves every observer's list without the
    // observer list itself being touched.
    void NotifyObserversDestroy();

    void BeginUpdate();
    void EndUpdate();
    int LockLevel() const { return FLockLevel; }

    size_t ObserverCount() const { return FObservers.Count(); }
    bool HasObserver(TObserver* observer) const { return FObservers.Contains(observer); }
    const void* ParentObject() const { return FParentObject; }

private:
    friend class TObserver;
    TEnumerableObjectList<TObserver> FObservers;
    int FLockLevel = 0;
    const void* FParentObject;
    bool FNotifyCalledWhileLocked = false;
};

class TObserver {
public:
    using TOnNotify = std::function<void(TNotifySender sender)>;
    using TOnNotifyExtended = std::function<void(TNotifySender sender, int code)>;

    TObserver() = default;
    explicit TObserver(TOnNotify onNotify) : FOnNotify(std::move(onNotify)) {}
    explicit TObserver(TOnNotifyExtended onNotifyExtended)
        : FOnNotifyExtended(std::move(onNotifyExtended)) {}
    TObserver(const TObserver&) = delete;
    TObserver& operator=(const TObserver&) = delete;
    virtual ~TObserver() { DetachFromAll(); }

    // Setting only one of the two events makes the other form forward to it, so an observer
    // always hears both forms.
    void SetOnNotify(TOnNotify onNotify) { FOnNotify = std::move(onNotify); }
    void SetOnNotifyExtended(TOnNotifyExtended onNotify) {
        FOnNotifyExtended = std::move(onNotify);
    }
    bool HasEvent() const { return FOnNotify || FOnNotifyExtended; }

    bool Enabled() const { return FEnabled; }
    void SetEnabled(bool enabled) { FEnabled = enabled; }

    virtual void Notify(TNotifySender sender);
    virtual void Notify(TNotifySender sender, int code);

    // Leaves every observable, taking them from the end of the list.
    void DetachFromAll();
    size_t ObservableCount() const;

private:
    friend class TObservable;
    bool FEnabled = true;
    TOnNotify FOnNotify;
    TOnNotifyExtended FOnNotifyExtended;
    mutable std::mutex FMutex;
    std::vector<TObservable*> FObservables;
};

} // namespace tw
