// The pressuremeter test against closed forms: the elastic expansion of a cylindrical cavity,
// p - p0 = 2 G u / R0, and the undrained limit curve of Gibson and Anderson (1961), "In situ
// measurement of soil properties with the pressuremeter", Civil Engineering and Public Works
// Review 56: p = p0 + cu (1 + ln(G / cu dV / V)) for a Tresca material, with dV / V = 2 u / R0 in
// small strain; and the independence of the mesh.

#include "Cavity.h"
#include "Kernel.h"
#include "KernelFile.h"
#include "MohrCoulomb.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace tw::kernel;
using namespace tw::kernel::testing;

namespace {

TKernelFile Pressuremeter(double p0, double wallDisplacement, int steps) {
    TKernelFile file;
    file.TestType = 6;
    file.InnerRadius = 0.05;
    file.InitialStress << -p0, -p0, -p0, 0, 0, 0;
    TPhaseEntry phase;
    phase.Steps = steps;
    phase.Strain(0) = wallDisplacement;
    phase.Conditions = {0, 1, 1, 1, 0, 0};
    file.Phases = {phase};
    return file;
}

std::vector<TResultRow> Rows(const TKernelFile& file) {
    const TComputedTest test = ComputeTest(ParseKernelInput("pmt.qbc", file.Text()));
    EXPECT_TRUE(test.Outcome.Completed) << test.Outcome.Message;
    return test.Rows;
}

} // namespace

TEST(Pressuremeter, ElasticExpansion) {
    const double g = 8000, p0 = 150;
    TKernelFile file = Pressuremeter(p0, 0.0005, 10);
    file.LinearElastic(g, 0.3);
    const auto rows = Rows(file);
    ASSERT_EQ(rows.size(), 11u);
    for (const auto& r : rows) {
        const double strain = r[rcEpsXX];
        EXPECT_NEAR(-r[rcSigXX] - p0, 2 * g * strain, 2e-5 * 2 * g * 0.01) << strain;
        EXPECT_EQ(r[rcEpsXX + 2], strain); // hoop
        EXPECT_EQ(r[rcEpsXX + 1], 0.0);
    }
    EXPECT_NEAR(rows.back()[rcEpsXX], 0.01, 1e-15);
}

TEST(Pressuremeter, UndrainedLimitCurveOfGibsonAndAnderson) {
    const double g = 6000, cu = 40, p0 = 200;
    TKernelFile file = Pressuremeter(p0, 0.005, 100); // u / R0 up to 0.1
    file.MohrCoulomb(g, 0.495, cu, 0, 0);
    file.Drainage = 3; // undrained C: a total stress analysis
    file.Error = 1e-8;
    const auto rows = Rows(file);
    for (const auto& r : rows) {
        const double strain = r[rcEpsXX];
        const double expected = 2 * g * strain <= cu
                                    ? p0 + 2 * g * strain
                                    : p0 + cu * (1 + std::log(g / cu * 2 * strain));
        EXPECT_NEAR(-r[rcSigXX], expected, 0.005 * (expected - p0) + 1e-9) << strain;
    }
}

TEST(Pressuremeter, ResultsDoNotDependOnTheMesh) {
    TMohrCoulombParameters soil;
    soil.G = 6000;
    soil.Nu = 0.3;
    soil.Cohesion = 5;
    soil.SinPhi = 0.5;
    soil.SinPsi = 0.1;
    const TMohrCoulomb model(soil);
    TIterationControl control;
    control.Tolerance = 1e-8;
    TPhaseInput phase;
    phase.Name = "phase 1";
    phase.Steps = 50;
    phase.StrainIncrements(0) = 0.01; // R0 = 0.1: u / R0 up to 0.1
    auto pressure = [&](int elements) {
        TCavityTest cavity(model, TPoreFluid(), control, 0.1, elements);
        cavity.Start((Vec6() << -100, -100, -100, 0, 0, 0).finished());
        double last = 0;
        const auto outcome =
            cavity.Run({phase}, [&](const TCavityTest::TWall& w) { last = -w.Stress(0); });
        EXPECT_TRUE(outcome.Completed) << outcome.Message;
        return last;
    };
    const double coarse = pressure(50), medium = pressure(100), fine = pressure(200);
    EXPECT_NEAR(medium, fine, 0.01 * (fine - 100));
    EXPECT_NEAR(coarse, medium, 0.01 * (medium - 100));
    EXPECT_GT(fine, 300); // well into the plastic range
}
