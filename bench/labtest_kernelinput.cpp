// Writing the kernel input file of a long test, the work DoTest does before every run: a general
// test of 10,000 phases, and a test of 100 phases repeated 100 times by one cyclic definition
// (10,000 phases in the file as well). Each iteration writes the whole file to a temporary file
// and puts it in place, as WriteQBC does.

#include "labtest/QBExtendedFile.h"
#include "labtest/QBTestGeneral.h"
#include "materials/SimpleTestMaterial.h"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <unistd.h>

namespace {

using namespace tw;

// A general test without object manager, as a loaded test is: no undo to record while it is
// built. Phases alternate loading and unloading with stresses and strains of a few digits.
std::unique_ptr<TQBTestBase> LongTest(int phases) {
    auto test = Make<TQBTestGeneral>(nullptr, tm3D);
    auto material = std::make_unique<TSimpleTestMaterial>("Sand", mxsmmMohrCoulomb, mxsdtDrained);
    material->SetNumber("RhoWater", 1000);
    material->SetNumber("GravityAcceleration", 9.81);
    test->SetOwnedMaterial(std::move(material));
    const TQBBoundaryConditions conditions{bcFixedStress, bcFixedStrain, bcFixedStress,
                                           bcFixedStress, bcFixedStrain, bcFixedStrain};
    for (int i = 0; i < phases; ++i) {
        const double sign = i % 2 == 0 ? -1.0 : 1.0;
        TQBLoadDirectionDoubleArray strains{};
        strains[ldYY] = sign * 0.125 * (1 + i % 5); // percent
        TQBLoadDirectionDoubleArray stresses{};
        stresses[ldXX] = stresses[ldZZ] = sign * 12345.5 * (i % 7); // pascal
        test->Phases().AddWithSettings(test.get(), 20 + i % 50, 900.0 * (1 + i % 3), strains,
                                       stresses, conditions);
    }
    return test;
}

std::string OutputPath() {
    return (std::filesystem::temp_directory_path() /
            ("tw_bench_tokernel_" + std::to_string(::getpid()) + ".qbc"))
        .string();
}

void WriteRepeatedly(benchmark::State& state, const TQBTestBase& test) {
    TSystemOfUnits units;
    units.SetUnitsOfNewProject();
    const std::string path = OutputPath();
    for (auto _ : state) {
        TQBCFile file(&units, path);
        file.WriteAll(test, test.Material(), 5e-5, 2.1e-4);
        file.Close();
    }
    const auto bytes = static_cast<int64_t>(std::filesystem::file_size(path));
    state.SetBytesProcessed(state.iterations() * bytes);
    state.counters["file_bytes"] = static_cast<double>(bytes);
    state.counters["written_phases"] = test.PhaseCountIncludingCycles();
    std::filesystem::remove(path);
}

void BM_KernelInput_10000Phases(benchmark::State& state) {
    const auto test = LongTest(10'000);
    WriteRepeatedly(state, *test);
}
BENCHMARK(BM_KernelInput_10000Phases)->Unit(benchmark::kMillisecond);

void BM_KernelInput_100PhasesTimes100Cycles(benchmark::State& state) {
    const auto test = LongTest(100);
    auto& cyclic =
        test->CyclicPhases().AddCyclicPhasesObject(&test->Phases()[0], &test->Phases()[99], 100);
    cyclic.SetParent(test.get());
    WriteRepeatedly(state, *test);
}
BENCHMARK(BM_KernelInput_100PhasesTimes100Cycles)->Unit(benchmark::kMillisecond);

} // namespace
