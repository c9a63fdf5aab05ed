// The results of a test in a storage file: 43 columns of doubles, stored as one blob each under
// "BulkResults" as the test files keep them, with a flag per column and the row count. Saving
// (to a temporary file, flushed to disk and renamed), opening, and reading every value back,
// through kovml with and without blob compression, and through XML for comparison. Files are in
// the page cache when they are read: the figures are the cost of the format, not of the disk.
//
// Figures: bytes_per_second counts the double data (rows x 43 x 8 bytes), not the file.

#include "storage/HSKovBinaryXML.h"
#include "storage/HSNativeXML.h"

#include <benchmark/benchmark.h>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <unistd.h>

using namespace tw;

namespace {

constexpr int Columns = 43;

// A column of a drained triaxial test on a hardening soil: time, strains growing linearly,
// stresses on a hyperbola; a quarter of the columns (saturations, temperature, unused ones) hold
// one value throughout, as in real result files.
std::vector<double> Column(int column, int rows) {
    std::vector<double> values(static_cast<size_t>(rows));
    for (int i = 0; i < rows; ++i) {
        const double strain = -0.2 * i / rows; // 20 % axial strain at the end, compression < 0
        double value;
        switch (column % 4) {
        case 0:
            value = column == 16 ? 293.15 : column == 12 ? 1.0 : 0.0;
            break;
        case 1:
            value = strain * (1 + 0.1 * column);
            break;
        case 2:
            value = -100e3 - 300e3 * strain / (0.01 - strain) * (1 + 0.01 * column);
            break;
        default:
            value = 3600.0 * i / rows * column;
            break;
        }
        values[static_cast<size_t>(i)] = value;
    }
    return values;
}

const std::vector<std::vector<double>>& Data(int rows) {
    static std::map<int, std::vector<std::vector<double>>> cache;
    auto& data = cache[rows];
    if (data.empty())
        for (int c = 0; c < Columns; ++c)
            data.push_back(Column(c, rows));
    return data;
}

std::string ColumnName(int c) {
    return "Column" + std::to_string(c);
}

void Fill(THierarchicStorage& root, int rows) {
    auto& results = root.AddChild("BulkResults");
    for (int c = 0; c < Columns; ++c) {
        const auto& values = Data(rows)[static_cast<size_t>(c)];
        results.AddChild("ResultColumn-" + ColumnName(c))
            .SetValueAsBlobBuffer(values.data(), values.size() * sizeof(double));
        results.AddChild("ResultIsSet-" + ColumnName(c)).SetValueAsBoolean(true);
    }
    results.AddChild("ResultRowCount").SetValueAsInt32(rows);
}

// Removes the files of this run at the end of the program.
struct TCleanUp {
    ~TCleanUp() {
        const std::string prefix = "tw_bench_results_" + std::to_string(::getpid()) + "_";
        std::error_code ignored;
        for (const auto& entry :
             std::filesystem::directory_iterator(std::filesystem::temp_directory_path(), ignored))
            if (entry.path().filename().string().rfind(prefix, 0) == 0)
                std::filesystem::remove(entry.path(), ignored);
    }
} CleanUp;

std::string FileName(const char* extension, int rows, bool compressed) {
    return (std::filesystem::temp_directory_path() /
            ("tw_bench_results_" + std::to_string(::getpid()) + "_" + std::to_string(rows) +
             (compressed ? "z" : "") + extension))
        .string();
}

struct TCompression {
    explicit TCompression(bool on) {
        if (on)
            ::unsetenv("BLOB_COMPRESSION_DISABLED");
        else
            ::setenv("BLOB_COMPRESSION_DISABLED", "1", 1);
    }
    ~TCompression() { ::unsetenv("BLOB_COMPRESSION_DISABLED"); }
};

template <typename Storage> void Save(benchmark::State& state, const char* extension) {
    const int rows = static_cast<int>(state.range(0));
    const bool compressed = state.range(1) != 0;
    TCompression compression(compressed);
    Data(rows);
    const std::string file = FileName(extension, rows, compressed);
    for (auto _ : state) {
        Storage root("TarnwickResults");
        Fill(root, rows);
        root.SaveToFile(file);
    }
    state.SetBytesProcessed(state.iterations() * int64_t(rows) * Columns * 8);
    state.counters["file_MB"] = double(std::filesystem::file_size(file)) / 1e6;
}

template <typename Storage> void ReadAll(benchmark::State& state, const char* extension) {
    const int rows = static_cast<int>(state.range(0));
    const bool compressed = state.range(1) != 0;
    const std::string file = FileName(extension, rows, compressed);
    if (!std::filesystem::exists(file)) {
        TCompression compression(compressed);
        Storage root("TarnwickResults");
        Fill(root, rows);
        root.SaveToFile(file);
    }
    std::vector<double> column(static_cast<size_t>(rows));
    for (auto _ : state) {
        Storage root("");
        root.LoadFromFile(file);
        const THierarchicStorage* results = root.GetChildByName("BulkResults");
        for (int c = 0; c < Columns; ++c) {
            const THierarchicStorage* node =
                results->GetChildByName("ResultColumn-" + ColumnName(c));
            node->GetValueAsBlobBuffer(column.data(), column.size() * sizeof(double));
            benchmark::DoNotOptimize(column.data());
        }
    }
    state.SetBytesProcessed(state.iterations() * int64_t(rows) * Columns * 8);
}

void BM_KovmlSave(benchmark::State& state) {
    Save<THSKovBinaryXML>(state, ".kovml");
}

// Opening maps the file and rebuilds the nodes from the hierarchy: no value is read.
void BM_KovmlOpen(benchmark::State& state) {
    const int rows = static_cast<int>(state.range(0));
    const bool compressed = state.range(1) != 0;
    const std::string file = FileName(".kovml", rows, compressed);
    {
        TCompression compression(compressed);
        THSKovBinaryXML root("TarnwickResults");
        Fill(root, rows);
        root.SaveToFile(file);
    }
    for (auto _ : state) {
        THSKovBinaryXML root("");
        root.LoadFromFile(file);
        benchmark::DoNotOptimize(root.ChildCount());
    }
    state.counters["file_MB"] = double(std::filesystem::file_size(file)) / 1e6;
}

void BM_KovmlOpenAndReadAll(benchmark::State& state) {
    ReadAll<THSKovBinaryXML>(state, ".kovml");
}

void BM_XMLSave(benchmark::State& state) {
    Save<THSNativeXML>(state, ".xml");
}

void BM_XMLOpenAndReadAll(benchmark::State& state) {
    ReadAll<THSNativeXML>(state, ".xml");
}

} // namespace

// Arguments: rows, compressed (1) or not (0).
BENCHMARK(BM_KovmlSave)->Args({100000, 1})->Args({100000, 0})->Unit(benchmark::kMillisecond);
BENCHMARK(BM_KovmlOpen)
    ->Args({100000, 1})
    ->Args({100000, 0})
    ->Args({1000000, 0})
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_KovmlOpenAndReadAll)
    ->Args({100000, 1})
    ->Args({100000, 0})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_XMLSave)->Args({100000, 1})->Unit(benchmark::kMillisecond);
BENCHMARK(BM_XMLOpenAndReadAll)->Args({100000, 1})->Unit(benchmark::kMillisecond);
