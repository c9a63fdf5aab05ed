// Building the charts of a triaxial test page whose test has 100,000 result rows: what the page
// does after a long run (goal: under 100 ms), and the refill of the same charts alone.

#include "materials/SimpleTestMaterial.h"
#include "objects/ObjectManager.h"
#include "presentation/ChartExport.h"
#include "presentation/ChartsFrame.h"

#include <benchmark/benchmark.h>

namespace tw {
namespace {

constexpr int Rows = 100'000;

struct TTriaxialProject {
    TKovObjectManager Manager;
    std::unique_ptr<TQBProject> Project;

    TTriaxialProject() {
        auto material =
            std::make_unique<TSimpleTestMaterial>("Sand", mxsmmMohrCoulomb, mxsdtDrained);
        material->SetNumber("cRef", 10e3);
        material->SetNumber("phi", 30.0);
        Manager.LockRevert();
        Project = Make<TQBProject>(&Manager, std::move(material), tm3D);
        Manager.UnlockRevert();
        // A drained compression path as the kernel writes it, in base units.
        TQBResults& results = Project->TriaxialTest()->Results();
        const int first = results.AddNewRows(Rows);
        for (int i = 0; i < Rows; ++i) {
            const double t = static_cast<double>(i) / (Rows - 1);
            const int row = first + i;
            const double values[] = {60.0 * i, 0.03 * t, -0.1 * t,
                                     0.03 * t, 0,        0,
                                     0,        -100e3,   -100e3 - 200e3 * t * (2 - t),
                                     -100e3,   0,        0,
                                     0,        0,        0};
            for (int c = 0; c < 15; ++c)
                results.SetValueByIndex(row, c, values[c]);
        }
        results.CalculateDerivedResults();
    }
};

// A new page on the test: every chart made from its setting and filled, with the envelopes.
void BM_BuildTriaxialCharts(benchmark::State& state) {
    TTriaxialProject project;
    int charts = 0;
    for (auto _ : state) {
        TChartsFrame frame(*project.Project, ttTriaxial);
        charts = frame.ChartCount();
        benchmark::DoNotOptimize(frame.Chart(0).Series().data());
    }
    state.counters["charts"] = charts;
    state.counters["rows"] = Rows;
}
BENCHMARK(BM_BuildTriaxialCharts)->Unit(benchmark::kMillisecond);

// The end of a run on an open page: the same charts refilled.
void BM_UpdateTriaxialCharts(benchmark::State& state) {
    TTriaxialProject project;
    TChartsFrame frame(*project.Project, ttTriaxial);
    for (auto _ : state) {
        frame.UpdateCharts();
        benchmark::DoNotOptimize(frame.Chart(0).Series().data());
    }
}
BENCHMARK(BM_UpdateTriaxialCharts)->Unit(benchmark::kMillisecond);

// One of those charts as an SVG picture of 100,000 points.
void BM_TriaxialChartToSvg(benchmark::State& state) {
    TTriaxialProject project;
    TChartsFrame frame(*project.Project, ttTriaxial);
    size_t bytes = 0;
    for (auto _ : state) {
        const std::string svg = ChartToSvg(frame.Chart(0));
        bytes = svg.size();
        benchmark::DoNotOptimize(svg.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
}
BENCHMARK(BM_TriaxialChartToSvg)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace tw
