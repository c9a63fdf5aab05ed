// The material framework's costs: making a Hardening Soil material, switching it to
// Mohr-Coulomb and back, one configuration update, and reading every derived user value once.

#include "materials/MaterialXClient.h"
#include "materials/MaterialXFactory.h"
#include "materials/MaterialXTools.h"
#include "materials/SoilMaterialXRegistration.h"
#include "objects/ObjectManager.h"

#include <benchmark/benchmark.h>

using namespace tw;

namespace {

TPropertyQueryFunc Project() {
    return [](const std::string& name) -> std::optional<TVarRec> {
        if (name == "Gravity")
            return TVarRec(9.81);
        if (name == "WaterWeight")
            return TVarRec(10000.0);
        return std::nullopt;
    };
}

void Setup() {
    static const bool done = [] {
        TMaterialXClient_Abstract::SetInstance(std::make_unique<TMaterialXClientTarnwick>(mxcgt3D));
        TMaterialXRegisters_Soil::EnsureRegistered();
        // The first material builds the declarations and the registry's answers once.
        TMaterialXFactory::CreateSoilMaterialX(nullptr, "Warm", mxsmmHardeningSoil, Project());
        TMaterialXFactory::CreateSoilMaterialX(nullptr, "Warm", mxsmmMohrCoulomb, Project());
        return true;
    }();
    (void)done;
}

std::unique_ptr<TKovSoilMaterialX> HardeningSoil(TKovObjectManager* manager) {
    auto material =
        TMaterialXFactory::CreateSoilMaterialX(manager, "Sand", mxsmmHardeningSoil, Project());
    TMaterialXTools::SetUserPropertyValueFrom(*material, "E50Ref", 30e6);
    TMaterialXTools::SetUserPropertyValueFrom(*material, "phi", 32.0);
    return material;
}

// Without an object manager, as tools and copies make them.
void BM_CreateHardeningSoil(benchmark::State& state) {
    Setup();
    for (auto _ : state)
        benchmark::DoNotOptimize(
            TMaterialXFactory::CreateSoilMaterialX(nullptr, "Sand", mxsmmHardeningSoil, Project()));
}
BENCHMARK(BM_CreateHardeningSoil)->Unit(benchmark::kMicrosecond);

// In a project's manager, as one undo step; the step falls off a short stack.
void BM_CreateHardeningSoilWithUndo(benchmark::State& state) {
    Setup();
    TKovObjectManager manager;
    manager.SetMaxRevertStack(4);
    std::vector<std::unique_ptr<TKovSoilMaterialX>> made;
    for (auto _ : state) {
        made.push_back(TMaterialXFactory::CreateSoilMaterialX(&manager, "Sand", mxsmmHardeningSoil,
                                                              Project()));
        state.PauseTiming();
        if (made.size() > 64) {
            manager.ClearRevertStacks();
            made.clear();
        }
        state.ResumeTiming();
    }
    manager.ClearRevertStacks();
}
BENCHMARK(BM_CreateHardeningSoilWithUndo)->Unit(benchmark::kMicrosecond);

void BM_SwitchHardeningSoilToMohrCoulombAndBack(benchmark::State& state) {
    Setup();
    auto material = HardeningSoil(nullptr);
    for (auto _ : state) {
        TMaterialXTools::SetUserPropertyValueFrom(*material, "SoilModel", mxsmmMohrCoulomb);
        TMaterialXTools::SetUserPropertyValueFrom(*material, "SoilModel", mxsmmHardeningSoil);
    }
}
BENCHMARK(BM_SwitchHardeningSoilToMohrCoulombAndBack)->Unit(benchmark::kMicrosecond);

void BM_ConfigurationUpdate(benchmark::State& state) {
    Setup();
    auto material = HardeningSoil(nullptr);
    for (auto _ : state)
        TMaterialXIPConfigurator::UpdateMaterialXIPConfigurations(*material);
}
BENCHMARK(BM_ConfigurationUpdate)->Unit(benchmark::kMicrosecond);

void BM_ReadEveryDerivedUserValue(benchmark::State& state) {
    Setup();
    auto material = HardeningSoil(nullptr);
    std::vector<TIPDouble*> numbers;
    for (TKovIntrinsicProperty* property : material->UserProperties())
        if (auto* number = dynamic_cast<TIPDouble*>(property); number && number->IsDerived())
            numbers.push_back(number);
    state.counters["values"] = double(numbers.size());
    for (auto _ : state)
        for (TIPDouble* number : numbers)
            benchmark::DoNotOptimize(number->Value());
}
BENCHMARK(BM_ReadEveryDerivedUserValue)->Unit(benchmark::kMicrosecond);

} // namespace
