// Hoek-Brown against its criterion (Hoek, Carranza-Torres and Corkum 2002): triaxial failure at
// sigma1 = sigma3 + sigma_ci (mb sigma3 / sigma_ci + s)^a and the unconfined strength
// sigma_ci s^a; the dilatancy of Benz et al. (2008) at failure, and the tension cut-off.

#include "HoekBrown.h"
#include "Kernel.h"
#include "KernelFile.h"

#include <Eigen/Geometry>

#include <gtest/gtest.h>

#include <cmath>

using namespace tw::kernel;
using namespace tw::kernel::testing;

namespace {

constexpr double Pi = 3.14159265358979323846;
constexpr double SigmaCi = 50000, Mb = 2, S = 0.004, A = 0.51;

std::vector<TResultRow> Rows(const TKernelFile& file) {
    const TComputedTest test = ComputeTest(ParseKernelInput("hb.qbc", file.Text()));
    EXPECT_TRUE(test.Outcome.Completed) << test.Outcome.Message;
    return test.Rows;
}

double Volume(const TResultRow& r) {
    return r[rcEpsXX] + r[rcEpsXX + 1] + r[rcEpsXX + 2];
}

} // namespace

TEST(HoekBrown, TriaxialFailureFollowsTheCriterion) {
    for (double cell : {0.0, 500.0, 2000.0, 10000.0}) {
        TKernelFile file;
        file.HoekBrown(1e6, 0.25, SigmaCi, Mb, S, A, 15, 5000);
        file.InitialStress << -cell, -cell, -cell, 0, 0, 0;
        file.Error = 1e-10;
        file.Phases = {TriaxialPhase(200, -0.05)};
        const auto rows = Rows(file);
        const double strength = SigmaCi * std::pow(Mb * cell / SigmaCi + S, A);
        const auto& last = rows.back();
        EXPECT_NEAR(last[rcSigXX] - last[rcSigXX + 1], strength, 1e-6 * strength)
            << "cell " << cell;
        if (cell == 0.0) {
            EXPECT_NEAR(-last[rcSigXX + 1], SigmaCi * std::pow(S, A), 1e-6 * SigmaCi);
        }
        // Dilatancy at failure: d eps_v / d eps1 = -2 sin psi / (1 - sin psi), psi falling from
        // 15 degrees at no confinement to 0 at sigma_psi = 5000.
        const double psi = 15 * std::max(0.0, (5000 - cell) / 5000) * Pi / 180;
        const size_t n = rows.size();
        const double slope = (Volume(rows[n - 1]) - Volume(rows[n - 11])) /
                             (rows[n - 1][rcEpsXX + 1] - rows[n - 11][rcEpsXX + 1]);
        EXPECT_NEAR(slope, -2 * std::sin(psi) / (1 - std::sin(psi)), 1e-6) << "cell " << cell;
    }
}

TEST(HoekBrown, TensionCutOffBoundsUniaxialTension) {
    for (double tensile : {40.0, 1000.0}) {
        TKernelFile file;
        file.HoekBrown(1e6, 0.25, SigmaCi, Mb, S, A, 0, 0, true, tensile);
        TPhaseEntry pull;
        pull.Steps = 100;
        pull.Strain(0) = 0.001;
        pull.Conditions = {0, 1, 1, 1, 0, 0};
        file.Phases = {pull};
        file.Error = 1e-10;
        const auto rows = Rows(file);
        // The criterion's own uniaxial tensile strength (sigma1 = 0): about 100 here; a cut-off
        // above it does not act.
        double lo = -200, hi = 0;
        for (int i = 0; i < 200; ++i) {
            const double mid = 0.5 * (lo + hi);
            const double f = -mid - SigmaCi * std::pow(std::max(Mb * mid / SigmaCi + S, 0.0), A);
            (f > 0 ? lo : hi) = mid;
        }
        const double expected = std::min(tensile, -hi);
        EXPECT_NEAR(rows.back()[rcSigXX], expected, 1e-6 * expected) << "tensile " << tensile;
    }
}

// A perfectly plastic surface has no hardening to take up drift: the end of every update at
// failure lies on the criterion to the drift band of the substeps (Sloan, Abbo and Sheng 2001),
// also for the last substep of an update, whose end is settled without an evaluation of its own.
// Long increments of a shear in general directions (not along the axes), so that each update
// takes several substeps along the curved criterion.
TEST(HoekBrown, UpdatesAtFailureEndOnTheCriterion) {
    THoekBrownParameters p;
    p.G = 4e5;
    p.Nu = 0.25;
    p.SigmaCi = SigmaCi;
    p.Mb = Mb;
    p.S = S;
    p.A = A;
    p.SinPsiMax = std::sin(15 * Pi / 180);
    p.SigmaPsi = 5000;
    const THoekBrown hoekBrown(p);
    const TSoilModel& model = hoekBrown;
    // Principal axes turned by a fixed rotation: compress one, stretch another.
    const Mat3 q = Eigen::Quaterniond(0.7, -0.3, 0.5, 0.2).normalized().toRotationMatrix();
    auto turned = [&](const Vec3& principal, double shear) {
        const Mat3 m = q * principal.asDiagonal() * q.transpose();
        Vec6 v;
        v << m(0, 0), m(1, 1), m(2, 2), shear * m(0, 1), shear * m(1, 2), shear * m(2, 0);
        return v;
    };
    TModelPoint point;
    point.Stress = turned(Vec3(-2000, -2000, -2000), 1.0);
    model.Initialise(point);
    int atFailure = 0;
    for (int step = 0; step < 40; ++step) {
        TModelPoint end;
        ASSERT_TRUE(
            model.Integrate(point, turned(Vec3(-2e-3, 5e-4, 1e-3), 2.0), 0.0, end, nullptr));
        const double band = 2e-10 * (end.Stress.cwiseAbs().maxCoeff() + SigmaCi);
        const double f = model.YieldValue(end.Stress);
        EXPECT_LE(f, band) << step;
        if (f > -1e-3 * SigmaCi) {
            ++atFailure;
            EXPECT_GE(f, -band) << step;
        }
        point = end;
    }
    EXPECT_GT(atFailure, 20);
}
