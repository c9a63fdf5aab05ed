// Unique names among many objects of one root: the registry keeps the lowest index not known to
// be taken per root, so asking for "Test" among 100,000 tests doesn't try 100,000 names.

#include "objects/IntrinsicPropertyDeclarationList.h"
#include "objects/IntrinsicPropertyDerivedKinds.h"
#include "objects/ObjectManager.h"

#include <benchmark/benchmark.h>

namespace tw {

class TBenchNamed : public TKovObservableObject {
    TW_KOV_CLASS(TBenchNamed, TKovObservableObject)
public:
    using TKovObservableObject::TKovObservableObject;
};
TW_KOV_CLASS_IMPL(TBenchNamed, TKovObservableObject, nullptr)

namespace {

constexpr int Objects = 100'000;

// `range(0)`: 0 asks for the root itself, 1 for a name with a taken index ("Test_7"), 2 for the
// root after a hole was made low in the range (the lowest free index is found again).
void GetUniqueName(benchmark::State& state) {
    TKovObjectManager manager;
    TRevertLock lock(&manager);
    std::vector<std::unique_ptr<TBenchNamed>> objects;
    objects.reserve(Objects);
    auto& registry = manager.ObjectRegistry();
    for (int i = 0; i < Objects; ++i) {
        objects.push_back(Make<TBenchNamed>(&manager));
        objects.back()->SetName(registry.GetUniqueName("Test"));
    }
    const std::string asked = state.range(0) == 1 ? "Test_7" : "Test";
    if (state.range(0) == 2)
        objects[500].reset(); // "Test_500" is free again
    std::string answer;
    for (auto _ : state) {
        answer = registry.GetUniqueName(asked);
        benchmark::DoNotOptimize(answer);
    }
    state.SetLabel(asked + " -> " + answer);
    state.counters["objects"] = static_cast<double>(registry.Count());
}
BENCHMARK(GetUniqueName)->ArgName("case")->Arg(0)->Arg(1)->Arg(2);

} // namespace
} // namespace tw
