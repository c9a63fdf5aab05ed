// Undo on a large scale: many writes inside one open snapshot, and undo and redo of a snapshot
// of many entries. A write inside a snapshot asks "is this property backed up already?"; the
// GUID-keyed count caches answer that without scanning, so the time per write must stay flat as
// the snapshot grows.

#include "objects/IntrinsicPropertyDeclarationList.h"
#include "objects/IntrinsicPropertyDerivedKinds.h"
#include "objects/ObjectManager.h"

#include <benchmark/benchmark.h>

#include <chrono>

namespace tw {

// An object with many number properties, so a million distinct properties fit in 10,000 objects.
class TBenchUndoThing : public TKovObservableObject {
    TW_KOV_CLASS(TBenchUndoThing, TKovObservableObject)
public:
    static constexpr int Numbers = 100;
    using TKovObservableObject::TKovObservableObject;
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
        for (int i = 0; i < Numbers; ++i)
            list.AddDouble(Format("N%d", i));
    }
};
TW_KOV_CLASS_IMPL(TBenchUndoThing, TKovObservableObject, &TBenchUndoThing::DeclareProperties)

namespace {

using TClock = std::chrono::steady_clock;

// The number properties of `objects` fresh objects, made outside any step.
std::vector<TIPDouble*> MakeProperties(TKovObjectManager& manager, int objects,
                                       std::vector<std::unique_ptr<TBenchUndoThing>>& owner) {
    TRevertLock lock(&manager);
    std::vector<TIPDouble*> numbers;
    numbers.reserve(static_cast<size_t>(objects) * TBenchUndoThing::Numbers);
    for (int i = 0; i < objects; ++i) {
        owner.push_back(Make<TBenchUndoThing>(&manager));
        std::vector<TKovIntrinsicProperty*> all;
        owner.back()->GetIntrinsicProperties(all);
        for (TKovIntrinsicProperty* p : all)
            if (auto* number = dynamic_cast<TIPDouble*>(p))
                numbers.push_back(number);
    }
    return numbers;
}

// One million writes to one million distinct properties inside one snapshot: each write backs
// its property up, so the snapshot grows to a million entries. The time per write of the first
// tenth and of the last tenth must be alike.
void MillionWritesInOneSnapshot(benchmark::State& state) {
    TKovObjectManager manager;
    std::vector<std::unique_ptr<TBenchUndoThing>> things;
    const std::vector<TIPDouble*> numbers = MakeProperties(manager, 10'000, things);
    const size_t tenth = numbers.size() / 10;
    double first = 0, last = 0, all = 0, value = 0;
    for (auto _ : state) {
        value += 1;
        manager.UndoBeginSnapshot("Bulk edit");
        const auto start = TClock::now();
        auto mark = start;
        for (size_t part = 0; part < 10; ++part) {
            for (size_t i = part * tenth; i < (part + 1) * tenth; ++i)
                numbers[i]->SetValue(value);
            const auto now = TClock::now();
            const double ns = std::chrono::duration<double, std::nano>(now - mark).count() / tenth;
            if (part == 0)
                first = ns;
            if (part == 9)
                last = ns;
            mark = now;
        }
        all = std::chrono::duration<double, std::nano>(mark - start).count() / (10 * tenth);
        state.SetIterationTime(all * 1e-9 * 10 * tenth);
        manager.UndoEndSnapshot();
        manager.ClearRevertStacks();
    }
    state.counters["writes"] = static_cast<double>(10 * tenth);
    state.counters["ns_per_write"] = all;
    state.counters["ns_first_tenth"] = first;
    state.counters["ns_last_tenth"] = last;
}
BENCHMARK(MillionWritesInOneSnapshot)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

// One million writes to the same 1,000 properties (the first ten objects, so the memory touched
// is alike in every case), which the snapshot holds already among `range(0)` entries: the
// look-up of the backup must not depend on the snapshot's size.
void RewritesInsideALargeSnapshot(benchmark::State& state) {
    const int entries = static_cast<int>(state.range(0));
    TKovObjectManager manager;
    std::vector<std::unique_ptr<TBenchUndoThing>> things;
    const std::vector<TIPDouble*> numbers =
        MakeProperties(manager, entries / TBenchUndoThing::Numbers, things);
    manager.UndoBeginSnapshot("Bulk edit");
    for (TIPDouble* number : numbers)
        number->SetValue(-1);
    constexpr int Writes = 1'000'000, Hot = 1'000;
    double value = 0;
    for (auto _ : state)
        for (int i = 0; i < Writes; ++i)
            numbers[static_cast<size_t>(i % Hot)]->SetValue(++value);
    manager.UndoEndSnapshot();
    state.SetItemsProcessed(state.iterations() * Writes);
    state.counters["entries"] = static_cast<double>(numbers.size());
}
BENCHMARK(RewritesInsideALargeSnapshot)
    ->ArgName("entries")
    ->Arg(1'000)
    ->Arg(100'000)
    ->Arg(1'000'000)
    ->Unit(benchmark::kMillisecond);

// Undo, then redo, of one snapshot of 10,000 entries (one memento per property).
void UndoRedoOfASnapshot(benchmark::State& state) {
    const bool undo = state.range(0) == 0;
    TKovObjectManager manager;
    std::vector<std::unique_ptr<TBenchUndoThing>> things;
    const std::vector<TIPDouble*> numbers = MakeProperties(manager, 100, things);
    manager.UndoBeginSnapshot("Bulk edit");
    for (TIPDouble* number : numbers)
        number->SetValue(1.5);
    manager.UndoEndSnapshot();
    for (auto _ : state) {
        if (undo) {
            manager.Undo();
            state.PauseTiming();
            manager.Redo();
            state.ResumeTiming();
        } else {
            state.PauseTiming();
            manager.Undo();
            state.ResumeTiming();
            manager.Redo();
        }
    }
    if (numbers.front()->Value() != 1.5 || numbers.size() != 10'000)
        state.SkipWithError("undo and redo did not restore the values");
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(numbers.size()));
}
BENCHMARK(UndoRedoOfASnapshot)->ArgName("redo")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace tw
