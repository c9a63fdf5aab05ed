// A test file as the user saves and opens it: a triaxial test with 100,000 result rows of every
// column and the Hardening Soil material it ran on, written by WriteTestResultsFile (clone of the
// test, static copy of the material, temporary file flushed and renamed) and read back by
// ReadTestResultsFile into a loaded test of its own. The same through the XML back-end for
// comparison. Files are in the page cache when they are read: the figures are the cost of the
// lab's persistence, not of the disk.
//
// Figures: bytes_per_second counts the double data of the results (rows x columns x 8 bytes).

#include "labtest/QBPersisters.h"
#include "labtest/QBProject.h"
#include "labtest/QBPropertyNames.h"
#include "labtest/TarnwickPersistence.h"
#include "labtest/TarnwickResults.h"
#include "materials/MaterialXClient.h"
#include "materials/MaterialXFactory.h"
#include "materials/MaterialXTools.h"
#include "materials/SoilMaterialXRegistration.h"
#include "objects/ObjectManager.h"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <filesystem>
#include <unistd.h>

using namespace tw;

namespace {

constexpr int Rows = 100000;

struct TSetUp {
    TKovObjectManager Manager;
    std::unique_ptr<TQBProject> Project;

    TSetUp() {
        TMaterialXClient_Abstract::SetInstance(std::make_unique<TMaterialXClientTarnwick>(mxcgt3D));
        TMaterialXRegisters_Soil::EnsureRegistered();
        RegisterTarnwickPersistence();
        auto sand = TMaterialXFactory::CreateSoilMaterialX(nullptr, "Dense sand",
                                                           mxsmmHardeningSoil, nullptr);
        TMaterialXTools::SetUserPropertyValueFrom(*sand, "phi", 35.0);
        TMaterialXTools::SetUserPropertyValueFrom(*sand, "E50Ref", 40e6);
        Manager.LockRevert();
        Project = Make<TQBProject>(&Manager, std::move(sand), tm3D);
        Manager.UnlockRevert();
        // Strains growing to 20 %, stresses on a hyperbola, time; every column set.
        TQBResults& results = Project->TriaxialTest()->Results();
        results.AddNewRows(Rows);
        for (int c = 0; c < QBResultTypeCount; ++c)
            for (int r = 0; r < Rows; ++r) {
                const double strain = -0.2 * r / Rows;
                results.SetValueByType(r, static_cast<TQBResultType>(c),
                                       -1e5 - 3e5 * strain / (0.01 - strain) * (1 + 0.01 * c));
            }
    }
    const TQBTestBase& Test() const { return *Project->TriaxialTest(); }
};

TSetUp& SetUp() {
    static TSetUp setUp;
    return setUp;
}

std::string FileName(const char* extension) {
    return (std::filesystem::temp_directory_path() /
            ("tw_bench_testfile_" + std::to_string(::getpid()) + extension))
        .string();
}

void SetBytes(benchmark::State& state) {
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * Rows * QBResultTypeCount *
                            static_cast<int64_t>(sizeof(double)));
}

void BM_TestFileSave(benchmark::State& state, const char* extension) {
    const TQBTestBase& test = SetUp().Test();
    const std::string file = FileName(extension);
    for (auto _ : state)
        WriteTestResultsFile(test, file);
    state.counters["file_MB"] = static_cast<double>(std::filesystem::file_size(file)) / 1e6;
    SetBytes(state);
    std::remove(file.c_str());
}

void BM_TestFileOpen(benchmark::State& state, const char* extension) {
    const std::string file = FileName(extension);
    WriteTestResultsFile(SetUp().Test(), file);
    for (auto _ : state) {
        std::unique_ptr<TQBTestBase> loaded = ReadTestResultsFile(file, nullptr);
        if (loaded->Results().RowCount() != Rows)
            state.SkipWithError("the rows did not come back");
        benchmark::DoNotOptimize(loaded);
    }
    SetBytes(state);
    std::remove(file.c_str());
}

BENCHMARK_CAPTURE(BM_TestFileSave, kovml, ".twt.kovml")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_TestFileOpen, kovml, ".twt.kovml")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_TestFileSave, xml, ".twt.xml")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_TestFileOpen, xml, ".twt.xml")->Unit(benchmark::kMillisecond);

} // namespace
