#pragma once
// Runs an action inside BeginUpdate/EndUpdate of an observable, so its observers hear one
// notification for all the changes the action makes. The bracket is closed also when the action
// raises; the notification then still goes out for what was changed before.

#include "objects/Observer.h"

namespace tw {

template <typename Action> void InUpdateOf(TObservable* observable, Action&& action) {
    if (!observable) {
        action();
        return;
    }
    observable->BeginUpdate();
    try {
        action();
    } catch (...) {
        observable->EndUpdate();
        throw;
    }
    observable->EndUpdate();
}

} // namespace tw
