// Writes of a number property: the path every edit, command and load takes.

#include "objects/IntrinsicPropertyDeclarationList.h"
#include "objects/IntrinsicPropertyDerivedKinds.h"
#include "objects/ObjectManager.h"

#include <benchmark/benchmark.h>

namespace tw {

class TBenchThing : public TKovObservableObject {
    TW_KOV_CLASS(TBenchThing, TKovObservableObject)
public:
    using TKovObservableObject::TKovObservableObject;
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
        list.AddDouble("Number");
    }
};
TW_KOV_CLASS_IMPL(TBenchThing, TKovObservableObject, &TBenchThing::DeclareProperties)

namespace {

constexpr int Writes = 1'000'000;

// One million writes of distinct values; arguments: observer attached, inside an update bracket.
void PropertyWrites(benchmark::State& state) {
    const bool observed = state.range(0) != 0, bracketed = state.range(1) != 0;
    auto thing = Make<TBenchThing>(nullptr);
    auto& number = thing->Property<TIPDouble>("Number");
    int notifications = 0;
    TObserver observer([&](TNotifySender) { ++notifications; });
    if (observed)
        thing->AttachObserver(&observer);
    for (auto _ : state) {
        if (bracketed)
            thing->BeginUpdate();
        for (int i = 0; i < Writes; ++i)
            number.SetValue(i);
        if (bracketed)
            thing->EndUpdate();
        number.SetValue(-1);
    }
    benchmark::DoNotOptimize(notifications);
    state.SetItemsProcessed(state.iterations() * Writes);
    thing->DetachObserver(&observer);
}
BENCHMARK(PropertyWrites)
    ->ArgNames({"observer", "bracket"})
    ->Args({0, 0})
    ->Args({1, 0})
    ->Args({0, 1})
    ->Args({1, 1})
    ->Unit(benchmark::kMillisecond);

} // namespace
} // namespace tw
