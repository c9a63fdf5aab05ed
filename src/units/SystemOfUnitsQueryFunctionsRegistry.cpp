#include "units/SystemOfUnitsQueryFunctionsRegistry.h"

#include <algorithm>
#include <deque>
#include <mutex>

namespace tw {

namespace {

struct TEntry {
    int Number;
    TSystemOfUnitsQueryFunctionsRegistry::TQueryFunction Function;
};

// Ordered by number: the front has the lowest number, the highest priority.
struct TRegistry {
    std::mutex Mutex;
    std::deque<TEntry> Entries;
};

TRegistry& Registry() {
    static TRegistry registry;
    return registry;
}

void CheckFunction(const TSystemOfUnitsQueryFunctionsRegistry::TQueryFunction& function) {
    if (!function)
        throw EUnitException("A system of units query function must be given");
}

} // namespace

int TSystemOfUnitsQueryFunctionsRegistry::AddQueryFunctionWithHighestPriority(
    TQueryFunction function) {
    CheckFunction(function);
    TRegistry& registry = Registry();
    std::lock_guard lock(registry.Mutex);
    const int number = registry.Entries.empty() ? 0 : registry.Entries.front().Number - 1;
    registry.Entries.push_front({number, std::move(function)});
    return number;
}

int TSystemOfUnitsQueryFunctionsRegistry::AddQueryFunctionWithLowestPriority(
    TQueryFunction function) {
    CheckFunction(function);
    TRegistry& registry = Registry();
    std::lock_guard lock(registry.Mutex);
    const int number = registry.Entries.empty() ? 0 : registry.Entries.back().Number + 1;
    registry.Entries.push_back({number, std::move(function)});
    return number;
}

void TSystemOfUnitsQueryFunctionsRegistry::RemoveQueryFunction(int number) {
    TRegistry& registry = Registry();
    std::lock_guard lock(registry.Mutex);
    auto& entries = registry.Entries;
    auto it = std::find_if(entries.begin(), entries.end(),
                           [number](const TEntry& entry) { return entry.Number == number; });
    if (it != entries.end())
        entries.erase(it);
}

TSystemOfUnits*
TSystemOfUnitsQueryFunctionsRegistry::GetUnsafeSystemOfUnits(const TKovObject* object) {
    std::deque<TEntry> entries;
    {
        TRegistry& registry = Registry();
        std::lock_guard lock(registry.Mutex);
        entries = registry.Entries;
    }
    for (const TEntry& entry : entries)
        if (TSystemOfUnits* units = entry.Function(object))
            return units;
    return nullptr;
}

TSystemOfUnits& TSystemOfUnitsQueryFunctionsRegistry::GetSystemOfUnits(const TKovObject* object) {
    TSystemOfUnits* units = GetUnsafeSystemOfUnits(object);
    if (!units)
        throw ENoSystemOfUnits("No system of units was found.");
    return *units;
}

size_t TSystemOfUnitsQueryFunctionsRegistry::Count() {
    TRegistry& registry = Registry();
    std::lock_guard lock(registry.Mutex);
    return registry.Entries.size();
}

} // namespace tw
