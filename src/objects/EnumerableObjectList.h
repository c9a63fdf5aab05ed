#pragma once
// A list of non-owned pointers whose walks survive insertions and removals made during the walk,
// also from inside the callbacks of the walk itself. Each walk registers its cursor with the list;
// the list moves the cursors when items are inserted or removed before them, so a walk neither
// skips an item nor visits a removed one. Guarded by a mutex: attach and detach may come from any
// thread.

#include "services/KovException.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <vector>

namespace tw {

TW_DECLARE_EXCEPTION(EEnumerableObjectList, EKovException)

template <typename T> class TEnumerableObjectList;

// Told by a list about each insertion and removal, with the list's lock held.
class TEnumerableObjectListListener {
public:
    virtual ~TEnumerableObjectListListener() = default;
    virtual void ItemInserted(size_t index) = 0;
    virtual void ItemRemoved(size_t index) = 0;
};

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
        for (TEnumerableObjectListListener* listener : FListeners)
            listener->ItemInserted(FItems.size() - 1);
        return true;
    }

    // Inserts `item` at `index` (clamped to the end) unless it is there already.
    bool InsertUnique(size_t index, T* item) {
        std::lock_guard lock(FMutex);
        if (std::find(FItems.begin(), FItems.end(), item) != FItems.end())
            return false;
        index = std::min(index, FItems.size());
        FItems.insert(FItems.begin() + static_cast<long>(index), item);
        for (TEnumerableObjectListListener* listener : FListeners)
            listener->ItemInserted(index);
        return true;
    }

    // Removes `item`; answers whether it was there.
    bool Remove(T* item) {
        std::lock_guard lock(FMutex);
        auto it = std::find(FItems.begin(), FItems.end(), item);
        if (it == FItems.end())
            return false;
        const size_t index = static_cast<size_t>(it - FItems.begin());
        FItems.erase(it);
        for (TEnumerableObjectListListener* listener : FListeners)
            listener->ItemRemoved(index);
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

    // Registers a walk; raises when too many walks of this list are under way.
    void AddListener(TEnumerableObjectListListener* listener) {
        std::lock_guard lock(FMutex);
        if (FListeners.size() >= MaxConcurrentListeners)
            throw EEnumerableObjectList(
                "Too many concurrent listeners. Perhaps infinite recursion?");
        FListeners.push_back(listener);
    }
    void RemoveListener(TEnumerableObjectListListener* listener) {
        std::lock_guard lock(FMutex);
        auto it = std::find(FListeners.begin(), FListeners.end(), listener);
        if (it != FListeners.end())
            FListeners.erase(it);
    }
    size_t ListenerCount() const {
        std::lock_guard lock(FMutex);
        return FListeners.size();
    }

    // Calls `visit(item)` for each item in order. Items added during the walk are visited when
    // they land behind the cursor; removed ones are not visited any more.
    template <typename F> void ForEach(F&& visit);

private:
    template <typename U> friend class TObjectListGenerator;
    mutable std::mutex FMutex;
    std::vector<T*> FItems;
    std::vector<TEnumerableObjectListListener*> FListeners;
};

// A walk over an enumerable list. It starts from a copy of the list and, as the list's listener,
// keeps the copy in step with insertions and removals made during the walk: an item removed
// before it is reached is not visited, one inserted behind the cursor is.
template <typename T> class TObjectListGenerator : private TEnumerableObjectListListener {
public:
    explicit TObjectListGenerator(TEnumerableObjectList<T>* list) : FList(list) {
        if (!FList)
            return;
        FList->AddListener(this);
        std::lock_guard lock(FList->FMutex);
        FGeneratedList = std::make_unique<std::vector<T*>>(FList->FItems);
    }
    ~TObjectListGenerator() override {
        if (FList)
            FList->RemoveListener(this);
    }
    TObjectListGenerator(const TObjectListGenerator&) = delete;
    TObjectListGenerator& operator=(const TObjectListGenerator&) = delete;

    // Moves to the next item; false at the end.
    bool Next() {
        if (!FList)
            throw EEnumerableObjectList("Unassigned TObjectListGenerator.FGeneratedList");
        std::lock_guard lock(FList->FMutex);
        if (FCursor >= FGeneratedList->size()) {
            FCurrent = nullptr;
            return false;
        }
        FCurrent = (*FGeneratedList)[FCursor++];
        return true;
    }
    // The item Next moved to; raises before the first Next or after the end.
    T* Current() const {
        if (!FCurrent)
            throw EEnumerableObjectList("Unassigned TObjectListGenerator");
        return FCurrent;
    }

private:
    // Called with the list's lock held.
    void ItemInserted(size_t index) override {
        FGeneratedList->insert(FGeneratedList->begin() + static_cast<long>(index),
                               FList->FItems[index]);
        if (index < FCursor)
            ++FCursor;
    }
    void ItemRemoved(size_t index) override {
        FGeneratedList->erase(FGeneratedList->begin() + static_cast<long>(index));
        if (index < FCursor)
            --FCursor;
    }

    TEnumerableObjectList<T>* FList;
    std::unique_ptr<std::vector<T*>> FGeneratedList;
    size_t FCursor = 0;
    T* FCurrent = nullptr;
};

template <typename T> template <typename F> void TEnumerableObjectList<T>::ForEach(F&& visit) {
    // The walk of every notification: a cursor on the live list, moved by the list when items
    // are inserted or removed before it, so nothing is copied and nothing allocated.
    struct TCursor : TEnumerableObjectListListener {
        size_t Position = 0;
        void ItemInserted(size_t index) override {
            if (index < Position)
                ++Position;
        }
        void ItemRemoved(size_t index) override {
            if (index < Position)
                --Position;
        }
    } cursor;
    {
        std::lock_guard lock(FMutex);
        if (FItems.empty())
            return; // most objects are written with nobody listening
        if (FListeners.size() >= MaxConcurrentListeners)
            throw EEnumerableObjectList(
                "Too many concurrent listeners. Perhaps infinite recursion?");
        FListeners.push_back(&cursor);
    }
    struct TUnregister {
        TEnumerableObjectList& List;
        TEnumerableObjectListListener* Cursor;
        ~TUnregister() { List.RemoveListener(Cursor); }
    } unregister{*this, &cursor};
    for (;;) {
        T* item;
        {
            std::lock_guard lock(FMutex);
            if (cursor.Position >= FItems.size())
                return;
            item = FItems[cursor.Position++];
        }
        visit(item);
    }
}

} // namespace tw
