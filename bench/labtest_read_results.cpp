// Reading a kernel result file of 100,000 rows of 19 columns and computing the derived results:
// what follows every run of a long test.

#include "labtest/QBRFile.h"
#include "labtest/QBTestBase.h"
#include "services/Format.h"

#include <benchmark/benchmark.h>

#include <charconv>
#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace tw {
namespace {

constexpr int Rows = 100'000;

std::string WriteResultFile() {
    const std::string path = (std::filesystem::temp_directory_path() /
                              ("tw_bench_" + std::to_string(::getpid()) + ".qbr"))
                                 .string();
    std::ofstream out(path, std::ios::binary);
    out << "[kernelinfo]\n1\t=kernel version\n\n[testresults]\n";
    for (int i = 0; i < Rows; ++i) {
        const double t = i * 0.01, e = -1e-6 * i, s = -100.0 - 0.002 * i;
        out << FloatToStr(t) << '\t' << FloatToStr(-0.3 * e) << '\t' << FloatToStr(e) << '\t'
            << FloatToStr(-0.3 * e) << "\t0\t0\t0\t-100\t" << FloatToStr(s) << "\t-100\t0\t0\t0\t"
            << FloatToStr(0.001 * i) << '\t' << FloatToStr(0.001 * i) << "\t1\t1\t293.15\t1\n";
    }
    return path;
}

void ReadResults(benchmark::State& state) {
    const std::string path = WriteResultFile();
    const auto bytes = std::filesystem::file_size(path);
    TSystemOfUnits units;
    units.SetUnitsOfNewProject();
    auto test = CreateTest(ttTriaxial, nullptr, tm3D);
    for (auto _ : state) {
        test->Results().ClearRows();
        TQBRFile(units, path).LoadTest(*test);
        benchmark::DoNotOptimize(test->Results().RowCount());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
    state.counters["rows"] = test->Results().RowCount();
    std::filesystem::remove(path);
}
BENCHMARK(ReadResults)->Unit(benchmark::kMillisecond)->UseRealTime();

// The floor of the read: the same file read into memory and every number parsed with
// std::from_chars, with nothing stored, converted or derived.
void ParseNumbersOnly(benchmark::State& state) {
    const std::string path = WriteResultFile();
    const auto bytes = std::filesystem::file_size(path);
    for (auto _ : state) {
        std::ifstream in(path, std::ios::binary);
        std::string text(bytes, '\0');
        in.read(text.data(), static_cast<std::streamsize>(bytes));
        const char* p = text.data() + text.find("[testresults]\n") + 14;
        const char* end = text.data() + text.size();
        double sum = 0.0;
        long count = 0;
        while (p < end) {
            double value;
            auto parsed = std::from_chars(p, end, value);
            if (parsed.ec == std::errc()) {
                sum += value;
                ++count;
            }
            p = parsed.ptr + 1; // the tab or line end behind the number
        }
        benchmark::DoNotOptimize(sum);
        state.counters["numbers"] = static_cast<double>(count);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
    std::filesystem::remove(path);
}
BENCHMARK(ParseNumbersOnly)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
} // namespace tw
