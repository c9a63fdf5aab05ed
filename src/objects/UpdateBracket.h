#pragma once
// Holds a target in an update for the life of the bracket, so that its observers hear one
// notification for all the changes made meanwhile. A target is anything with BeginUpdate and
// EndUpdate: an observable, an observable object, a list, a property. A null target makes no
// bracket.
//
// EndUpdate notifies the observers, and an observer may raise. Close() ends the update and lets
// that through, so a scope that ends normally closes its bracket; the destructor ends an update
// still open (a scope left by an exception) without raising and logs what fails, since raising
// there would end the program.

#include "services/Log.h"

#include <exception>
#include <utility>

namespace tw {

template <typename T> class TUpdateBracket {
public:
    explicit TUpdateBracket(T& target) : TUpdateBracket(&target) {}
    explicit TUpdateBracket(T* target) : FTarget(target) {
        if (FTarget)
            FTarget->BeginUpdate();
    }
    TUpdateBracket(const TUpdateBracket&) = delete;
    TUpdateBracket& operator=(const TUpdateBracket&) = delete;
    ~TUpdateBracket() {
        if (!FTarget)
            return;
        try {
            FTarget->EndUpdate();
        } catch (const std::exception& e) {
            LogError(std::string("ending an update failed: ") + e.what());
        } catch (...) {
            LogError("ending an update failed");
        }
    }

    // Ends the update now; the notification and what an observer raises come through here.
    void Close() {
        if (T* target = std::exchange(FTarget, nullptr))
            target->EndUpdate();
    }

private:
    T* FTarget;
};

// A pointer names the target, not a target of pointer type.
template <typename T> TUpdateBracket(T*) -> TUpdateBracket<T>;

} // namespace tw
