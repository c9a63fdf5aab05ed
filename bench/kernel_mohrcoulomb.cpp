// Stress-point updates of Mohr-Coulomb in plastic flow: each update starts on the yield surface
// and its strain increment carries the trial stress out of it, so every one is a return. The
// states lie in general directions, on a plane or on the compression edge.

#include "MohrCoulomb.h"

#include <Eigen/Geometry>
#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

using namespace tw::kernel;

namespace {

struct TPlasticCase {
    Vec6 Stress;
    Vec6 Increment;
};

TMohrCoulombParameters Soil() {
    TMohrCoulombParameters p;
    p.G = 5000;
    p.Nu = 0.3;
    p.Cohesion = 10;
    p.SinPhi = 0.5;
    p.SinPsi = std::sin(5 * M_PI / 180);
    p.TensionCutOff = true;
    p.TensileStrength = 0;
    return p;
}

std::vector<TPlasticCase> PlasticCases(const TMohrCoulomb& model, bool onEdge) {
    std::mt19937 random(1);
    std::normal_distribution<double> normal;
    std::vector<TPlasticCase> cases;
    while (cases.size() < 256) {
        // Principal stresses on the compression edge (two equal) or in general, rotated.
        const double cell = -50 - 100 * std::abs(normal(random));
        const Eigen::Vector3d principal = onEdge ? Eigen::Vector3d(cell, cell, 4 * cell)
                                                 : Eigen::Vector3d(cell, 2 * cell, 4 * cell);
        const Mat3 q =
            Eigen::Quaterniond(normal(random), normal(random), normal(random), normal(random))
                .normalized()
                .toRotationMatrix();
        const Mat3 s = q * principal.asDiagonal() * q.transpose();
        Vec6 trial;
        trial << s(0, 0), s(1, 1), s(2, 2), s(0, 1), s(1, 2), s(2, 0);
        Vec6 stress;
        if (!model.Update(trial, Vec6::Zero(), stress, nullptr))
            continue;
        // Keep shearing in the principal frame: stretch the most tensile direction (both equal
        // ones on the edge) and compress the most compressive, which drives the stress out of
        // the surface. (Compressing one direction alone would unload: it confines the others.)
        const Eigen::Vector3d shear =
            onEdge ? Eigen::Vector3d(1e-3, 1e-3, -2e-3) : Eigen::Vector3d(1e-3, 0.0, -1e-3);
        const Mat3 e = q * shear.asDiagonal() * q.transpose();
        Vec6 increment;
        increment << e(0, 0), e(1, 1), e(2, 2), 2 * e(0, 1), 2 * e(1, 2), 2 * e(2, 0);
        // Only returns count: the update must leave the elastic trial.
        const Vec6 elastic = stress + model.Elastic() * increment;
        Vec6 updated;
        if (model.Update(stress, increment, updated, nullptr) &&
            (updated - elastic).norm() > 1e-6 * elastic.norm())
            cases.push_back({stress, increment});
    }
    return cases;
}

void Run(benchmark::State& state, bool onEdge, bool withTangent) {
    const TMohrCoulomb model(Soil());
    const auto cases = PlasticCases(model, onEdge);
    Vec6 stress;
    Mat6 tangent;
    size_t i = 0;
    for (auto _ : state) {
        const auto& c = cases[i++ & 255];
        const bool ok =
            model.Update(c.Stress, c.Increment, stress, withTangent ? &tangent : nullptr);
        benchmark::DoNotOptimize(ok);
        benchmark::DoNotOptimize(stress.data());
        benchmark::DoNotOptimize(tangent.data());
    }
    state.SetItemsProcessed(state.iterations());
}

void BM_KernelMohrCoulombPlaneWithTangent(benchmark::State& state) {
    Run(state, false, true);
}
void BM_KernelMohrCoulombEdgeWithTangent(benchmark::State& state) {
    Run(state, true, true);
}
void BM_KernelMohrCoulombPlaneStressOnly(benchmark::State& state) {
    Run(state, false, false);
}

} // namespace

BENCHMARK(BM_KernelMohrCoulombPlaneWithTangent);
BENCHMARK(BM_KernelMohrCoulombEdgeWithTangent);
BENCHMARK(BM_KernelMohrCoulombPlaneStressOnly);
BENCHMARK_MAIN();
