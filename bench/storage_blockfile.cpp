// A block file of 1,000,000 doubles (8 MB of data, as a material's state might hold): written to
// a temporary file, flushed to disk and renamed, with and without zlib at level 1; and read back
// whole. Files are in the page cache when read.

#include "storage/BinaryFile.h"

#include <benchmark/benchmark.h>
#include <cmath>
#include <filesystem>
#include <unistd.h>

using namespace tw;

namespace {

constexpr int Values = 1000000;

std::string FileName(bool compressed) {
    return (std::filesystem::temp_directory_path() /
            ("tw_bench_blockfile_" + std::to_string(::getpid()) + (compressed ? "z" : "") + ".bin"))
        .string();
}

// Stresses of a smooth loading path, in pascal.
const std::vector<double>& Data() {
    static const std::vector<double> values = [] {
        std::vector<double> v(Values);
        for (int i = 0; i < Values; ++i)
            v[static_cast<size_t>(i)] = -100e3 * (1 + std::sin(i * 1e-4)) - 1e-3 * i;
        return v;
    }();
    return values;
}

void Write(bool compressed) {
    TBinaryFile file;
    file.SetHeader("Tarnwick benchmark");
    auto& block = static_cast<TDoubleBlock&>(file.AddFloatBlock("STRESS"));
    block.SetValues(Data().data(), Values);
    file.SaveAsBinary(FileName(compressed), compressed);
}

void BM_BlockFileSave(benchmark::State& state) {
    const bool compressed = state.range(0) != 0;
    Data();
    for (auto _ : state)
        Write(compressed);
    state.SetBytesProcessed(state.iterations() * int64_t(Values) * 8);
    state.counters["file_MB"] = double(std::filesystem::file_size(FileName(compressed))) / 1e6;
}

void BM_BlockFileRead(benchmark::State& state) {
    const bool compressed = state.range(0) != 0;
    Write(compressed);
    std::vector<double> values(Values);
    for (auto _ : state) {
        TBinaryFile file(FileName(compressed), true, cmCacheOnDemand, imIndexOnDemand);
        auto* block = static_cast<TDoubleBlock*>(file.GetByName("STRESS"));
        block->CopyValuesToBuffer(values.data(), 0, block->Count());
        benchmark::DoNotOptimize(values.data());
    }
    state.SetBytesProcessed(state.iterations() * int64_t(Values) * 8);
    std::filesystem::remove(FileName(compressed));
}

} // namespace

// Argument: compressed (1) or not (0).
BENCHMARK(BM_BlockFileSave)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BlockFileRead)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
