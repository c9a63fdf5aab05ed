// Whole tests as the lab runs them, each as a process from start to exit: a drained triaxial
// test of 10,000 steps on Mohr-Coulomb (also inside this process, to show what the computation
// itself costs) and on Hardening Soil, and a pressuremeter test of 1,000 steps on the kernel's
// cavity of 100 elements, on Mohr-Coulomb and on Hardening Soil.

#include "Kernel.h"

#include <benchmark/benchmark.h>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

extern char** environ;

namespace {

namespace fs = std::filesystem;

enum TMaterial { MohrCoulomb, HardeningSoil };

// A drained triaxial test (test type 0; cell pressure 100, axial strain 10 %) or a pressuremeter
// test (test type 6; R0 = 1, K0 state of vertical stress 100, wall displacement 0.1).
std::string Input(TMaterial material, int testType, int steps) {
    std::ostringstream f;
    const bool hs = material == HardeningSoil;
    f << "[header]\n9\t=file version number\nbenchmark sand\t=materialname\nkN\t=unit of force\n"
         "m\t=unit of length\nday\t=unit of time\nK\t=unit of temperature\n9.81\t=water weight\n"
         "\n\n[soilmodeldata]\n"
      << (hs ? "6\t=soil model type Hardening Soil" : "2\t=soil model type Mohr-Coulomb")
      << "\n\n0\t=drainage\n\n\n\n\n\n\n[soilparameters]\n";
    double places[200] = {};
    places[2] = 0.5;                // phi = 30
    places[4] = 0.0871557427476582; // psi = 5
    places[14] = 1;                 // tension cut-off
    if (hs) {
        // E50 = Eoed = 20000, Eur = 60000, nu_ur = 0.2, m = 0.5, c = 2, and the cap that the
        // material side fits to K0nc = 0.5.
        places[0] = 25000;
        places[1] = 0.2;
        places[3] = 2;
        places[30] = 1.15921555110421;
        places[31] = 1.81233313806532;
        places[33] = 0.5;
        places[34] = 100;
        places[35] = 8333.33333333333;
        places[36] = 0.9;
        places[37] = 20000;
        places[38] = 0.5;
        places[39] = 20000;
    } else {
        places[0] = 7692.30769230769; // G of E = 20000, nu = 0.3
        places[1] = 0.3;
        places[3] = 5;
    }
    for (double p : places)
        f << p << "\n";
    const bool cavity = testType == 6;
    f << "[extraparameters]\n0\t=water thermal expansion\n0\t=ice thermal expansion\n"
         "1\t=mass unit conversion\n0\t=useUWC\n[testparameters]\n"
      << testType
      << "\t=test type\n0\t=behavior\n0\t=unsaturated\n0\t=thermal\n"
         "0.01\t=error1\n1\t=relax\n50\t=maxiter\n0\t=arclength off\n"
         "0\t=isotropic preconsolidation stress\n-1\t=mob. rel. shear strength\n"
      << (cavity ? 1 : 0) << "\t=inner radius\n0\t=test control type\n"
      << (cavity ? "-50\t-100\t-50" : "-100\t-100\t-100")
      << "\t0\t0\t0\t=initial stresses\n0\t=initial suction\n"
         "0\t=initial temperature\n1\t=number of phases\n"
      << steps << "\t=number of steps in phase 1\n1\t=phase duration for phase 1\n"
      << (cavity ? "0.1\t0" : "0\t-0.1")
      << "\t0\t0\t0\t0\t=strain increments for phase 1\n"
         "0\t0\t0\t0\t0\t0\t=stress increments for phase 1\n"
      << (cavity ? "0\t1\t1\t1" : "1\t0\t1\t1")
      << "\t0\t0\t=boundary conditions\n"
         "0\t=suction increment for phase 1\n0\t=temperature increment for phase 1\n\n";
    return f.str();
}

std::string TriaxialInput(int steps) {
    return Input(MohrCoulomb, 0, steps);
}

fs::path WriteInput(const std::string& text) {
    const fs::path folder = fs::temp_directory_path() / ("tw_bench_" + std::to_string(getpid()));
    fs::create_directories(folder);
    const fs::path input = folder / "tokernel.qbc";
    std::ofstream(input) << text;
    return input;
}

void RunAsProcess(benchmark::State& state, const std::string& text) {
    const fs::path input = WriteInput(text);
    const std::string program = TW_QBABC_3D;
    const std::string path = input.string();
    char* argv[] = {const_cast<char*>(program.c_str()), const_cast<char*>(path.c_str()), nullptr};
    for (auto _ : state) {
        pid_t pid = 0;
        if (posix_spawn(&pid, program.c_str(), nullptr, nullptr, argv, environ) != 0) {
            state.SkipWithError("cannot start the kernel");
            break;
        }
        int status = 0;
        waitpid(pid, &status, 0);
        if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
            state.SkipWithError("the kernel failed");
            break;
        }
    }
    fs::remove_all(input.parent_path());
}

void BM_KernelTriaxial10000StepsAsProcess(benchmark::State& state) {
    RunAsProcess(state, TriaxialInput(10000));
}

void BM_KernelHardeningSoilTriaxial10000StepsAsProcess(benchmark::State& state) {
    RunAsProcess(state, Input(HardeningSoil, 0, 10000));
}

void BM_KernelPressuremeter1000StepsAsProcess(benchmark::State& state) {
    RunAsProcess(state, Input(MohrCoulomb, 6, 1000));
}

void BM_KernelHardeningSoilPressuremeter1000StepsAsProcess(benchmark::State& state) {
    RunAsProcess(state, Input(HardeningSoil, 6, 1000));
}

void BM_KernelTriaxial10000StepsInProcess(benchmark::State& state) {
    const auto input = tw::kernel::ParseKernelInput("tokernel.qbc", TriaxialInput(10000));
    for (auto _ : state) {
        const auto result = tw::kernel::ComputeTest(input);
        benchmark::DoNotOptimize(result.Rows.data());
    }
    state.SetItemsProcessed(state.iterations() * 10000);
}

} // namespace

BENCHMARK(BM_KernelTriaxial10000StepsAsProcess)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_KernelHardeningSoilTriaxial10000StepsAsProcess)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(BM_KernelPressuremeter1000StepsAsProcess)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_KernelHardeningSoilPressuremeter1000StepsAsProcess)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(BM_KernelTriaxial10000StepsInProcess)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
