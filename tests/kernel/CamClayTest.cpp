// The critical-state models against closed forms: isotropic compression and swelling in ln p'
// with lambda* and kappa*, the critical states of undrained and drained triaxial tests on
// Modified Cam-Clay (Roscoe and Burland 1968; see Wood 1990, Soil Behaviour and Critical State
// Soil Mechanics), the creep of Soft Soil Creep in ln t and the effect of the strain rate
// (Vermeer and Neher 1999).

#include "Kernel.h"
#include "KernelFile.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace tw::kernel;
using namespace tw::kernel::testing;

namespace {

std::vector<TResultRow> Rows(const TKernelFile& file) {
    const TComputedTest test = ComputeTest(ParseKernelInput("cc.qbc", file.Text()));
    EXPECT_TRUE(test.Outcome.Completed) << test.Outcome.Message;
    return test.Rows;
}

double Volume(const TResultRow& r) {
    return r[rcEpsXX] + r[rcEpsXX + 1] + r[rcEpsXX + 2];
}
double MeanStress(const TResultRow& r) {
    return -(r[rcSigXX] + r[rcSigXX + 1] + r[rcSigXX + 2]) / 3;
}
double Deviator(const TResultRow& r) {
    return r[rcSigXX] - r[rcSigXX + 1];
}

// Isotropic stress control: the three normal stresses given, no shear.
TPhaseEntry Isotropic(int steps, double change, double duration = 0) {
    TPhaseEntry phase;
    phase.Steps = steps;
    phase.Duration = duration;
    phase.Stress << change, change, change, 0, 0, 0;
    phase.Conditions = {1, 1, 1, 0, 0, 0};
    return phase;
}

TKernelFile Sample(int model, double p0) {
    TKernelFile file;
    file.CamClay(model, 0.1, 0.02, 1.2, 0.2, 0.6);
    file.TestType = 5;
    file.InitialStress << -p0, -p0, -p0, 0, 0, 0;
    file.Error = 1e-10;
    return file;
}

} // namespace

// Normally consolidated compression follows lambda* in ln p', unloading and reloading kappa*.
TEST(CamClay, IsotropicCompressionAndSwellingLines) {
    for (int model : {5, 4}) {
        TKernelFile file = Sample(model, 100);
        if (model == 4)
            file.MohrCoulomb(0, 0, 2, 25, 0); // Soft Soil's failure, far from these states
        file.CamClay(model, 0.1, 0.02, 1.2, 0.2, 0.6);
        file.Phases = {Isotropic(50, -300), Isotropic(50, 200), Isotropic(50, -200)};
        const auto rows = Rows(file);
        const std::string name = model == 5 ? "Modified Cam-Clay" : "Soft Soil";
        for (size_t i = 1; i <= 50; ++i)
            EXPECT_NEAR(-Volume(rows[i]), 0.1 * std::log(MeanStress(rows[i]) / 100), 1e-7) << name;
        for (size_t i = 51; i <= 150; ++i)
            EXPECT_NEAR(Volume(rows[i]) - Volume(rows[50]),
                        0.02 * std::log(400 / MeanStress(rows[i])), 1e-7)
                << name;
    }
}

// Undrained triaxial on a normally consolidated sample ends on the critical state line at
// p'f / p'0 = (1/2)^((lambda - kappa) / lambda), q = M p'f; drained at constant cell pressure at
// q = M p'f, p'f = 3 p'0 / (3 - M).
TEST(CamClay, TriaxialTestsEndOnTheCriticalStateLine) {
    const double p0 = 100, m = 1.2;
    TKernelFile undrained = Sample(5, p0);
    undrained.TestType = 0;
    undrained.Undrained(0, 2e8, 0.5); // the fluid 10^5 times stiffer than the skeleton
    undrained.Phases = {TriaxialPhase(400, -0.3)};
    auto rows = Rows(undrained);
    const double pf = p0 * std::pow(0.5, (0.1 - 0.02) / 0.1);
    EXPECT_NEAR(MeanStress(rows.back()), pf, 1e-4 * pf);
    EXPECT_NEAR(Deviator(rows.back()), m * pf, 1e-4 * m * pf);

    TKernelFile drained = Sample(5, p0);
    drained.TestType = 0;
    // The drained path nears the critical state slowly: far on in strain (the kernel's strain
    // is a small-strain measure, so any size will do).
    drained.Phases = {TriaxialPhase(400, -2)};
    rows = Rows(drained);
    const double pd = 3 * p0 / (3 - m);
    EXPECT_NEAR(MeanStress(rows.back()), pd, 1e-4 * pd);
    EXPECT_NEAR(Deviator(rows.back()), m * pd, 1e-4 * m * pd);
}

// Soft Soil Creep at constant isotropic stress from a normally consolidated state creeps as
// eps_v = mu* ln(1 + t / tau) (the creep rate mu* / tau exp(-eps_v / mu*)); in an oedometer the
// creep strain grows by mu* per unit of ln t once the initial transient has passed.
TEST(SoftSoilCreep, CreepsWithMuStarPerUnitOfLnT) {
    const double mu = 0.004, tau = 1;
    TKernelFile file = Sample(8, 100);
    file.CamClay(8, 0.1, 0.02, 1.2, 0.2, 0.6, mu, tau);
    file.MohrCoulomb(0, 0, 2, 30, 0);
    file.CamClay(8, 0.1, 0.02, 1.2, 0.2, 0.6, mu, tau);
    file.Phases = {Isotropic(100, 0, 1), Isotropic(100, 0, 9), Isotropic(100, 0, 90)};
    auto rows = Rows(file);
    for (size_t i = 1; i < rows.size(); ++i) {
        const double t = rows[i][rcTime];
        // Within a step the strain grows in proportion while the stress is held at its end
        // only: with the steep creep law that costs about 1e-4 of the creep here.
        EXPECT_NEAR(-Volume(rows[i]), mu * std::log(1 + t / tau), 1e-3 * mu) << "t " << t;
    }

    // Oedometer: the K0 state, then four decades of time at constant vertical stress.
    file.TestType = 1;
    file.InitialStress << -60, -100, -60, 0, 0, 0;
    auto hold = [](double duration) {
        TPhaseEntry phase;
        phase.Steps = 40;
        phase.Duration = duration;
        phase.Conditions = OedometerConditions;
        return phase;
    };
    file.Phases = {hold(1), hold(9), hold(90), hold(900), hold(9000)};
    rows = Rows(file);
    auto at = [&](double t) {
        for (const auto& r : rows)
            if (std::abs(r[rcTime] - t) < 1e-9 * t)
                return -r[rcEpsXX + 1];
        ADD_FAILURE() << "no row at t = " << t;
        return 0.0;
    };
    for (double decade : {1000.0, 10000.0}) {
        const double slope = (at(decade) - at(decade / 10)) / std::log(10.0);
        EXPECT_NEAR(slope, mu, 0.02 * mu) << "up to t = " << decade;
    }
}

// The strain rate shifts the compression line of Soft Soil Creep: at steady state the creep
// rate is (lambda* - kappa*) / lambda* of the applied one, so at equal strain the stress of a
// ten times faster test is 10^(mu* / lambda*) times higher.
TEST(SoftSoilCreep, TheRateOfACrsTestChangesTheCurve) {
    const double mu = 0.004, lambda = 0.1;
    auto run = [&](double duration) {
        TKernelFile file = Sample(8, 100);
        file.MohrCoulomb(0, 0, 2, 30, 0);
        file.CamClay(8, lambda, 0.02, 1.2, 0.2, 0.6, mu, 1);
        file.TestType = 2;
        TPhaseEntry phase;
        phase.Steps = 200;
        phase.Duration = duration;
        phase.Strain << -0.1, -0.1, -0.1, 0, 0, 0; // isotropic, eps_v = -0.3
        file.Phases = {phase};
        return Rows(file);
    };
    const auto slow = run(1000);
    const auto fast = run(100);
    const double ratio = MeanStress(fast.back()) / MeanStress(slow.back());
    EXPECT_NEAR(ratio, std::pow(10.0, mu / lambda), 1e-3);
}
