// The memory one memento of a number property costs in an open snapshot: the memento itself, its
// entry and its place in the GUID-count cache. A write backs up the property, not its owner, so
// this is the price of every first change of a property within one user action.
//
// Bytes are counted by replacing the global allocation functions of this program: live bytes are
// the usable sizes of what is allocated and not yet freed.

#include "objects/IntrinsicPropertyDeclarationList.h"
#include "objects/IntrinsicPropertyDerivedKinds.h"
#include "objects/ObjectManager.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdlib>
#include <malloc.h>
#include <new>

namespace {
std::atomic<long long> LiveBytes{0};
void Release(void* p) noexcept {
    if (p)
        LiveBytes -= static_cast<long long>(malloc_usable_size(p));
    std::free(p);
}
} // namespace

void* operator new(std::size_t size) {
    void* p = std::malloc(size ? size : 1);
    if (!p)
        throw std::bad_alloc();
    LiveBytes += static_cast<long long>(malloc_usable_size(p));
    return p;
}
void operator delete(void* p) noexcept {
    Release(p);
}
void operator delete(void* p, std::size_t) noexcept {
    Release(p);
}

namespace tw {

class TBenchMementoThing : public TKovObservableObject {
    TW_KOV_CLASS(TBenchMementoThing, TKovObservableObject)
public:
    using TKovObservableObject::TKovObservableObject;
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
        list.AddDouble("Number");
    }
};
TW_KOV_CLASS_IMPL(TBenchMementoThing, TKovObservableObject, &TBenchMementoThing::DeclareProperties)

namespace {

constexpr int Properties = 10'000;

void MementoOfANumberProperty(benchmark::State& state) {
    TKovObjectManager manager;
    std::vector<std::unique_ptr<TBenchMementoThing>> things;
    {
        TRevertLock lock(&manager);
        for (int i = 0; i < Properties; ++i) {
            things.push_back(Make<TBenchMementoThing>(&manager));
            things.back()->IntrinsicPropertiesCount();
        }
    }
    double bytesPerMemento = 0;
    double value = 0;
    for (auto _ : state) {
        manager.UndoBeginSnapshot("Bulk edit");
        const long long before = LiveBytes.load();
        value += 1; // a new value each round, so every write makes a memento
        for (auto& thing : things)
            thing->Property<TIPDouble>("Number").SetValue(value);
        bytesPerMemento = static_cast<double>(LiveBytes.load() - before) / Properties;
        manager.UndoEndSnapshot();
        state.PauseTiming();
        manager.ClearRevertStacks();
        state.ResumeTiming();
    }
    state.counters["bytes_per_memento"] = bytesPerMemento;
    state.counters["sizeof_TIPDouble"] = sizeof(TIPDouble);
}
BENCHMARK(MementoOfANumberProperty)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace tw
