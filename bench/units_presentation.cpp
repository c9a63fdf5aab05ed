// Converting a million base values to presentation units, the work of filling a result table or
// a chart series: through the system as IQuantityPresenter (unit looked up per value), through
// a unit found once, with an offset (temperature), and through a number-with-unit property.

#include "objects/IntrinsicPropertyDeclarationList.h"
#include "objects/IntrinsicPropertyDerivedKinds.h"
#include "units/SystemOfUnits.h"

#include <benchmark/benchmark.h>

#include <vector>

namespace {

using namespace tw;

constexpr size_t ValueCount = 1'000'000;

std::vector<double> BaseValues() {
    std::vector<double> values(ValueCount);
    for (size_t i = 0; i < ValueCount; ++i)
        values[i] = -1000.0 * static_cast<double>(i % 997) - 0.5; // stresses in Pa
    return values;
}

// The units of a new project, with temperatures in °C.
struct TBenchUnits : TSystemOfUnits {
    TBenchUnits() {
        SetUnitsOfNewProject();
        Temperature.SetPresentationUnit("°C");
    }
};

const TSystemOfUnits& Units() {
    static const TBenchUnits units;
    return units;
}

void Report(benchmark::State& state) {
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * ValueCount));
}

void BM_PresenterToPresentation(benchmark::State& state) {
    const IQuantityPresenter& presenter = Units();
    const std::vector<double> in = BaseValues();
    std::vector<double> out(ValueCount);
    for (auto _ : state) {
        for (size_t i = 0; i < ValueCount; ++i)
            out[i] = presenter.ToPresentation(qtPressure, in[i]);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    Report(state);
}
BENCHMARK(BM_PresenterToPresentation)->Unit(benchmark::kMillisecond);

void BM_UnitToPresentation(benchmark::State& state) {
    const TUnit_Abstract& unit = Units().GetUnit(qtPressure);
    const std::vector<double> in = BaseValues();
    std::vector<double> out(ValueCount);
    for (auto _ : state) {
        for (size_t i = 0; i < ValueCount; ++i)
            out[i] = unit.ToPresentation(in[i]);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    Report(state);
}
BENCHMARK(BM_UnitToPresentation)->Unit(benchmark::kMillisecond);

void BM_TemperatureToPresentation(benchmark::State& state) {
    const IQuantityPresenter& presenter = Units();
    std::vector<double> in = BaseValues();
    for (double& v : in)
        v = 273.15 - v * 1e-5; // kelvin
    std::vector<double> out(ValueCount);
    for (auto _ : state) {
        for (size_t i = 0; i < ValueCount; ++i)
            out[i] = presenter.ToPresentation(qtTemperature, in[i]);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    Report(state);
}
BENCHMARK(BM_TemperatureToPresentation)->Unit(benchmark::kMillisecond);

void BM_PropertyPresentationValue(benchmark::State& state) {
    TIPDoubleWithUnitDeclaration declaration("CellPressure", TIPDoubleWithUnit::StaticClass(),
                                             nullptr);
    declaration.QuantityType = qtPressure;
    TIPDoubleWithUnit property(nullptr, &declaration);
    property.SetValue(-100000.0);
    const TSystemOfUnits& units = Units();
    for (auto _ : state) {
        double sum = 0;
        for (size_t i = 0; i < ValueCount; ++i)
            sum += property.GetPresentationValue(&units);
        benchmark::DoNotOptimize(sum);
    }
    Report(state);
}
BENCHMARK(BM_PropertyPresentationValue)->Unit(benchmark::kMillisecond);

} // namespace
