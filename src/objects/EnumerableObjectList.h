#pragma once
// A list of non-owned pointers whose walks survive insertions and removals made during the walk,
// also from inside the callbacks of the walk itself. Each walk registers its cursor with the list;
// the list moves the cursors when items are inserted or removed before them, so a walk neither
// skips an item nor visits a removed one. Guarded by a mutex: attach and detach may come from any
// thread.

#include "services/KovException.h"

#include <algorithm>
#include <mutex>
#include <vector>

namespace tw {

TW_DECLARE_EXCEPTION(EEnumerableObjectList, EKovException)

template <typename T> class TEnumerableObjectList {
public:
    // Nested walks of one list beyond this many mean a notification loop.
    static constexpr size_t MaxConcurrentListeners = 256;

    // Appends `item` unless it is there already; answers whether it was added.
    bool AddUnique(T* item) {
        std::lock_guard lock(FMutex);
        if (std::find(FItems.begin(), FItems.end(), item) != FItems.end())
            return false;
        FItems.push_back(item);
        return true;
    }

    // Removes `item`; answers whether it was there.
    bool Remove(T* item) {
        std::lock_guard lock(FMutex);
        auto it = std::find(FItems.begin(), FItems.end(), item);
        if (it == FItems.end())
            return false;
        size_t index = static_cast<size_t>(it - FItems.begin());
        FItems.erase(it);
        for (size_t* cursor : FCursors)
            if (*cursor > index)
                --*cursor;
        return true;
    }

    bool Contains(T* item) const {
        std::lock_guard lock(FMutex);
        return std::find(FItems.begin(), FItems.end(), item) != FItems.end();
    }

    size_t Count() const {
        std::lock_guard lock(FMutex);
        return FItems.size();
    }

    T* Last() const {
        std::lock_guard lock(FMutex);
        return FItems.empty() ? nullptr : FItems.back();
    }

    std::vector<T*> Snapshot() const {
        std::lock_guard lock(FMutex);
        return FItems;
    }

    // Calls `visit(item)` for each item in order. Items added during the walk are visited when
    // they land behind the cursor; removed ones are not visited any more.
    template <typename F> void ForEach(F&& visit) {
        size_t cursor = 0;
        {
            std::lock_guard lock(FMutex);
            if (FCursors.size() >= MaxConcurrentListeners)
                throw EEnumerableObjectList(
                    "Too many concurrent listeners. Perhaps infinite recursion?");
            FCursors.push_back(&cursor);
        }
        struct TUnregister {
            TEnumerableObjectList* List;
            size_t* Cursor;
            ~TUnregister() {
                std::lock_guard lock(List->FMutex);
                List->FCursors.erase(
                    std::find(List->FCursors.begin(), List->FCursors.end(), Cursor));
            }
        } unregister{this, &cursor};
        for (;;) {
            T* item;
            {
                std::lock_guard lock(FMutex);
                if (cursor >= FItems.size())
                    return;
                item = FItems[cursor++];
            }
            visit(item);
        }
    }

private:
    mutable std::mutex FMutex;
    std::vector<T*> FItems;
    std::vector<size_t*> FCursors;
};

} // namespace tw
