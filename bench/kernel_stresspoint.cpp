// Stress-point updates of the kernel's models in plastic flow. Mohr-Coulomb: each update starts
// on the yield surface and its strain increment carries the trial stress out of it, so every one
// is a return; the states lie in general directions, on a plane or on the compression edge.
// Hardening Soil: the states and increments of a drained 10,000-step triaxial test from a
// normally consolidated state, from its plastic part (shear hardening and cap, then failure),
// each turned into general directions.

#include "HardeningSoil.h"
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

// Hardening Soil of a medium dense sand: E50 = Eoed = 20 MPa, Eur = 60 MPa, m = 0.5,
// phi = 30, psi = 5, c = 2, with the cap the material side fits to K0nc = 0.5.
THardeningSoilParameters HardeningSoil() {
    THardeningSoilParameters p;
    p.EurRef = 60000;
    p.NuUr = 0.2;
    p.E50Ref = 20000;
    p.PowerM = 0.5;
    p.PRef = 100;
    p.Rf = 0.9;
    p.SinPhi = 0.5;
    p.Cohesion = 2;
    p.SinPsi = std::sin(5 * M_PI / 180);
    p.TensionCutOff = true;
    p.CapM = 1.15921555110421;
    p.KsKc = 1.81233313806532;
    p.K0nc = 0.5;
    return p;
}

struct THardeningCase {
    TModelPoint Start;
    Vec6 Increment;
};

// A drained triaxial path (cell pressure 100) in axial strain steps of 1e-5 with the lateral
// strains of the path (d eps_lateral from the stresses held), recorded where it is plastic, and
// turned into random directions.
std::vector<THardeningCase> HardeningCases(const TSoilModel& model) {
    std::vector<THardeningCase> path;
    TModelPoint point;
    point.Stress << -100, -100, -100, 0, 0, 0;
    model.Initialise(point);
    for (int step = 0; step < 10000; ++step) {
        // The lateral strain that keeps the cell pressure, by the tangent.
        Vec6 increment = Vec6::Zero();
        increment(1) = -1e-5;
        TModelPoint end;
        Mat6 tangent;
        for (int iteration = 0; iteration < 10; ++iteration) {
            model.Integrate(point, increment, 0.0, end, &tangent);
            const double residual = end.Stress(0) + 100;
            if (std::abs(residual) < 1e-9)
                break;
            increment(0) -= residual / (tangent(0, 0) + tangent(0, 2));
            increment(2) = increment(0);
        }
        if (step % 39 == 0)
            path.push_back({point, increment});
        point = end;
    }
    std::mt19937 random(2);
    std::normal_distribution<double> normal;
    std::vector<THardeningCase> cases;
    for (const auto& c : path) {
        const Mat3 q =
            Eigen::Quaterniond(normal(random), normal(random), normal(random), normal(random))
                .normalized()
                .toRotationMatrix();
        auto turn = [&](const Vec6& v, double shear) {
            Mat3 m;
            m << v(0), v(3) / shear, v(5) / shear, v(3) / shear, v(1), v(4) / shear, v(5) / shear,
                v(4) / shear, v(2);
            const Mat3 r = q * m * q.transpose();
            Vec6 out;
            out << r(0, 0), r(1, 1), r(2, 2), shear * r(0, 1), shear * r(1, 2), shear * r(2, 0);
            return out;
        };
        THardeningCase turned = c;
        turned.Start.Stress = turn(c.Start.Stress, 1.0);
        turned.Increment = turn(c.Increment, 2.0);
        cases.push_back(turned);
    }
    return cases;
}

void BM_KernelHardeningSoilPlasticWithTangent(benchmark::State& state) {
    const THardeningSoil hardeningSoil(HardeningSoil());
    const TSoilModel& model = hardeningSoil;
    const auto cases = HardeningCases(model);
    TModelPoint end;
    Mat6 tangent;
    size_t i = 0;
    for (auto _ : state) {
        const auto& c = cases[i++ % cases.size()];
        const bool ok = model.Integrate(c.Start, c.Increment, 0.0, end, &tangent);
        benchmark::DoNotOptimize(ok);
        benchmark::DoNotOptimize(end.Stress.data());
        benchmark::DoNotOptimize(tangent.data());
    }
    state.SetItemsProcessed(state.iterations());
}

} // namespace

BENCHMARK(BM_KernelMohrCoulombPlaneWithTangent);
BENCHMARK(BM_KernelMohrCoulombEdgeWithTangent);
BENCHMARK(BM_KernelMohrCoulombPlaneStressOnly);
BENCHMARK(BM_KernelHardeningSoilPlasticWithTangent);
BENCHMARK_MAIN();
