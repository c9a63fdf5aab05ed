// The window program's figures, on Qt's offscreen platform (raster painting, no display): the
// start from the example input to the window painted (goal: under 1 s), the charts of the
// triaxial page after a run of 100,000 result rows, refilled and painted (goal: under 100 ms),
// and a switch to another page with its charts and tables painted (goal: under 50 ms).

#include "app/WindowStart.h"
#include "gui/ChartsArea.h"
#include "gui/OffscreenApplication.h"
#include "gui/TestPage.h"
#include "objects/ObjectManager.h"
#include "services/RuntimeSettings.h"

#include <QApplication>
#include <QTabWidget>

#include <benchmark/benchmark.h>

namespace tw {
namespace {

constexpr int Rows = 100'000;

TCommandLine ExampleLine() {
    return TCommandLine(std::vector<std::string>{std::string(TW_EXAMPLES) +
                                                 "/materials/medium_dense_sand_mohr_coulomb.xml"});
}

TWindowStartOptions Options() {
    TWindowStartOptions options;
    options.ApplicationDirectory = TW_KERNEL_DIR;
    return options;
}

// The window program on the example input, at the size of the README's picture, shown.
std::unique_ptr<TWindowStart> OpenWindow() {
    OffscreenApplication();
    TRuntimeSettings::Set("ALLOW_MULTIPLE_INSTANCES", true);
    auto start = std::make_unique<TWindowStart>(ExampleLine(), Options());
    if (start->Started()) {
        start->Window()->resize(1800, 1000);
        start->Window()->show();
    }
    return start;
}

// Draws what the event loop would draw next, now.
void Paint(QWidget& widget) {
    widget.repaint();
    QApplication::processEvents();
}

// Start-up in the program: the input file read into a project, the window with its eight pages
// made, shown and painted. Loading Qt and the program itself is not in it (see README for the
// figure of the whole process).
void BM_StartToWindowShown(benchmark::State& state) {
    std::unique_ptr<TWindowStart> start;
    for (auto _ : state) {
        state.PauseTiming(); // closing isn't starting
        start.reset();
        state.ResumeTiming();
        start = OpenWindow();
        if (!start->Started()) {
            state.SkipWithError("the window did not start");
            return;
        }
        Paint(*start->Window());
    }
}

// A drained compression path of 100,000 rows as the kernel writes it, in base units.
void FillTriaxialResults(TQBTestBase& test) {
    TQBResults& results = test.Results();
    results.ClearRows();
    const int first = results.AddNewRows(Rows);
    for (int i = 0; i < Rows; ++i) {
        const double t = static_cast<double>(i) / (Rows - 1);
        const double values[] = {
            60.0 * i, 0.03 * t, -0.1 * t, 0.03 * t, 0, 0, 0, -100e3, -100e3 - 200e3 * t * (2 - t),
            -100e3,   0,        0,        0,        0, 0};
        for (int c = 0; c < 15; ++c)
            results.SetValueByIndex(first + i, c, values[c]);
    }
    results.CalculateDerivedResults();
}

// The end of a run on the open triaxial page: its charts refilled from 100,000 rows, the Qt
// series replaced, the results table beside them, and the page painted.
void BM_TriaxialChartsOf100000Rows(benchmark::State& state) {
    const std::unique_ptr<TWindowStart> start = OpenWindow();
    if (!start->Started()) {
        state.SkipWithError("the window did not start");
        return;
    }
    TMainWindow& window = *start->Window();
    TQBTestBase& test = *start->Project()->TriaxialTest();
    FillTriaxialResults(test);
    for (auto _ : state) {
        test.EndCalculationObservable().NotifyObservers(&test);
        Paint(window);
    }
    state.counters["charts"] = window.Page(0).Charts().ViewCount();
    state.counters["rows"] = test.ResultCount();
}

// Switching between the triaxial and the oedometer page, both with the results of a run
// through our kernel: the page shown and painted.
void BM_SwitchPages(benchmark::State& state) {
    const std::unique_ptr<TWindowStart> start = OpenWindow();
    if (!start->Started()) {
        state.SkipWithError("the window did not start");
        return;
    }
    TMainWindow& window = *start->Window();
    // An oedometer test loaded to 100 kN/m2 in its one phase.
    start->Project()->OedometerTest()->Phases()[0].SetStressIncrement(ldYY, -100e3);
    for (int page : {2, 0}) {
        window.SelectPage(page);
        if (!window.RunSelectedTest()) {
            state.SkipWithError("a run failed");
            return;
        }
        Paint(window);
    }
    int page = 0;
    for (auto _ : state) {
        page = page == 0 ? 2 : 0;
        window.SelectPage(page);
        Paint(window);
    }
}

} // namespace
} // namespace tw

BENCHMARK(tw::BM_StartToWindowShown)->Unit(benchmark::kMillisecond);
BENCHMARK(tw::BM_TriaxialChartsOf100000Rows)->Unit(benchmark::kMillisecond);
BENCHMARK(tw::BM_SwitchPages)->Unit(benchmark::kMillisecond);
