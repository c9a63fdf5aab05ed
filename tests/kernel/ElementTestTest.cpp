// Element tests against closed-form solutions, through the whole kernel but the process: a file
// is written as the lab writes it, read, and computed.

#include "Kernel.h"
#include "KernelFile.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace tw::kernel;
using namespace tw::kernel::testing;

namespace {

constexpr double Pi = 3.14159265358979323846;

TComputedTest Compute(const TKernelFile& file) {
    return ComputeTest(ParseKernelInput("test.qbc", file.Text()));
}

Vec6 Stress(const TResultRow& row) {
    return Vec6(&row[rcSigXX]);
}
Vec6 Strain(const TResultRow& row) {
    return Vec6(&row[rcEpsXX]);
}
double Volumetric(const TResultRow& row) {
    return row[rcEpsXX] + row[rcEpsXX + 1] + row[rcEpsXX + 2];
}
double MeanStress(const TResultRow& row) {
    return (row[rcSigXX] + row[rcSigXX + 1] + row[rcSigXX + 2]) / 3.0;
}
// Deviatoric stress of a triaxial state: cell minus axial.
double TriaxialQ(const TResultRow& row) {
    return row[rcSigXX] - row[rcSigXX + 1];
}

TKernelFile Isotropic(double pressure) {
    TKernelFile file;
    file.InitialStress << pressure, pressure, pressure, 0, 0, 0;
    return file;
}

} // namespace

TEST(ElementTest, LinearElasticTriaxialOedometerSimpleShearAndIsotropicCompression) {
    const double g = 5000, nu = 0.25;
    const double e = 2 * g * (1 + nu), k = BulkModulus(g, nu);
    const double oed = 2 * g * (1 - nu) / (1 - 2 * nu);
    const double tol = 1e-9;

    TKernelFile file = Isotropic(-100);
    file.LinearElastic(g, nu);
    file.Phases = {TriaxialPhase(10, -0.01)};
    auto rows = Compute(file).Rows;
    ASSERT_EQ(rows.size(), 11u);
    EXPECT_NEAR(rows[10][rcSigXX + 1], -100 - e * 0.01, tol * e);
    EXPECT_NEAR(rows[10][rcSigXX], -100, tol * e);
    EXPECT_NEAR(rows[10][rcSigXX + 2], -100, tol * e);
    EXPECT_NEAR(rows[10][rcEpsXX], nu * 0.01, tol);
    EXPECT_NEAR(rows[5][rcEpsXX + 1], -0.005, tol);

    // Oedometer: vertical stress given, lateral strain held.
    file.TestType = 1;
    TPhaseEntry oedometer;
    oedometer.Steps = 8;
    oedometer.Stress(1) = -200;
    oedometer.Conditions = OedometerConditions;
    file.Phases = {oedometer};
    rows = Compute(file).Rows;
    EXPECT_NEAR(rows.back()[rcEpsXX + 1], -200 / oed, tol);
    EXPECT_NEAR(rows.back()[rcEpsXX], 0, tol);
    EXPECT_NEAR(rows.back()[rcSigXX], -100 - nu / (1 - nu) * 200, tol * e);
    EXPECT_NEAR(rows.back()[rcSigXX + 1], -300, tol * e);

    // Simple shear: vertical stress held, shear strain given.
    file.TestType = 3;
    TPhaseEntry shear;
    shear.Steps = 5;
    shear.Strain(3) = 0.02;
    shear.Conditions = DssConditions;
    file.Phases = {shear};
    rows = Compute(file).Rows;
    EXPECT_NEAR(rows.back()[rcSigXX + 3], g * 0.02, tol * e);
    EXPECT_NEAR(rows.back()[rcEpsXX + 1], 0, tol);
    EXPECT_NEAR(rows.back()[rcSigXX + 1], -100, tol * e);

    // All six stress-controlled: the strains are the compliance's.
    file.TestType = 5;
    TPhaseEntry isotropic;
    isotropic.Steps = 4;
    isotropic.Stress << -50, -50, -50, 0, 0, 0;
    isotropic.Conditions = {1, 1, 1, 1, 1, 1};
    file.Phases = {isotropic};
    rows = Compute(file).Rows;
    EXPECT_NEAR(Volumetric(rows.back()), -50 / k, tol);
    EXPECT_NEAR(rows.back()[rcEpsXX + 3], 0, tol);
}

TEST(ElementTest, MohrCoulombDrainedTriaxialFailureAndDilatancy) {
    const double c = 10, s = 0.5, cosPhi = std::sqrt(0.75);
    const double sp = std::sin(10 * Pi / 180);
    const double cell = -100;
    TKernelFile file = Isotropic(cell);
    file.MohrCoulomb(5000, 0.25, c, 30, 10);

    // Compression: the axial stress is the most compressive and the cell the two others.
    file.Phases = {TriaxialPhase(100, -0.05)};
    auto rows = Compute(file).Rows;
    const double compression = (cell * (1 + s) - 2 * c * cosPhi) / (1 - s);
    double peak = 0;
    for (const auto& row : rows)
        peak = std::min(peak, row[rcSigXX + 1]);
    EXPECT_NEAR(peak, compression, 1e-9 * 100);
    EXPECT_NEAR(rows.back()[rcSigXX + 1], compression, 1e-9 * 100);
    EXPECT_NEAR(rows.back()[rcSigXX], cell, 1e-6);
    EXPECT_NEAR(rows.back()[rcSigXX + 2], cell, 1e-6);
    EXPECT_NEAR(rows.back()[rcEpsXX], rows.back()[rcEpsXX + 2], 1e-12);
    // After failure the stress stands still and all strain is plastic.
    const auto& a = rows[80];
    const auto& b = rows[100];
    EXPECT_NEAR((Volumetric(b) - Volumetric(a)) / (b[rcEpsXX + 1] - a[rcEpsXX + 1]),
                -2 * sp / (1 - sp), 1e-9);

    // A loose tolerance lets the cell pressure slip in the step that reaches failure; the
    // targets run from the start of the phase, so later steps take the slip back.
    TKernelFile loose = file;
    loose.Error = 0.5;
    const auto looseRows = Compute(loose).Rows;
    EXPECT_NEAR(looseRows.back()[rcSigXX], cell, 1e-6);
    EXPECT_NEAR(looseRows.back()[rcSigXX + 1], compression, 1e-6);

    // Extension: the axial stress is the most tensile.
    file.Phases = {TriaxialPhase(100, 0.05)};
    rows = Compute(file).Rows;
    const double extension = (cell * (1 - s) + 2 * c * cosPhi) / (1 + s);
    EXPECT_NEAR(rows.back()[rcSigXX + 1], extension, 1e-9 * 100);
    EXPECT_NEAR(rows.back()[rcSigXX], cell, 1e-6);
    EXPECT_NEAR((Volumetric(rows[100]) - Volumetric(rows[80])) /
                    (rows[100][rcEpsXX + 1] - rows[80][rcEpsXX + 1]),
                2 * sp / (1 + sp), 1e-9);
}

TEST(ElementTest, TensionCutOffLimitsTheTensileStress) {
    // Pulled in xx with the other normal stresses held: the Mohr-Coulomb limit in extension
    // would be 19.76; the cut-off holds the stress at its tensile strength of 2.
    TKernelFile file = Isotropic(-10);
    file.TestType = 5;
    file.MohrCoulomb(5000, 0.25, 20, 30, 0, true, 2);
    TPhaseEntry pull;
    pull.Steps = 50;
    pull.Strain(0) = 0.01;
    pull.Conditions = {0, 1, 1, 0, 0, 0};
    file.Phases = {pull};
    auto rows = Compute(file).Rows;
    EXPECT_NEAR(rows.back()[rcSigXX], 2, 1e-9);
    EXPECT_NEAR(rows.back()[rcSigXX + 1], -10, 1e-6);
    // Flow normal to the cut-off: no lateral strain once it acts.
    EXPECT_NEAR(rows[50][rcEpsXX + 1], rows[30][rcEpsXX + 1], 1e-12);
    EXPECT_GT(rows[30][rcEpsXX], rows[20][rcEpsXX]);

    file.Parameters[14] = 0;
    rows = Compute(file).Rows;
    EXPECT_NEAR(rows.back()[rcSigXX], (-10 * 0.5 + 2 * 20 * std::sqrt(0.75)) / 1.5, 1e-9);
}

TEST(ElementTest, UndrainedLinearElasticPorePressure) {
    const double g = 5000, nu = 0.25, n = 0.4, kw = 2e6;
    const double k = BulkModulus(g, nu), lambda = k - 2 * g / 3;
    const double axial = -0.01;
    // Triaxial with the total cell pressure held: the lateral strain and the pore pressure.
    auto expected = [&](double alpha, double modulus) {
        const double stiff = lambda + alpha * alpha * modulus;
        const double lateral = -stiff * axial / (2 * stiff + 2 * g);
        return alpha * modulus * (2 * lateral + axial);
    };
    TKernelFile file = Isotropic(-100);
    file.LinearElastic(g, nu);
    file.Phases = {TriaxialPhase(10, axial)};

    file.Undrained(1, kw, n);
    auto rows = Compute(file).Rows;
    const double u = expected(1.0, kw / n);
    EXPECT_NEAR(rows.back()[rcPExcess], u, 1e-9 * std::abs(u));
    EXPECT_NEAR(rows.back()[rcPw], u, 1e-9 * std::abs(u));
    EXPECT_NEAR(rows.back()[rcSigXX] + u, -100, 1e-6);
    EXPECT_LT(u, 0); // compression builds pressure: negative like compressive stress

    // Biot's alpha below 1: the grains' own compressibility enters. The load comes in two
    // phases, so the second starts from a total stress that holds pore pressure.
    file.Undrained(2, kw, n, 0.495, 0.8);
    file.Phases = {TriaxialPhase(4, axial / 2), TriaxialPhase(6, axial / 2)};
    rows = Compute(file).Rows;
    const double biot = 1 / (n / kw + (0.8 - n) * (1 - 0.8) / k);
    const double uBiot = expected(0.8, biot);
    EXPECT_NEAR(rows.back()[rcPExcess], uBiot, 1e-9 * std::abs(uBiot));
    EXPECT_NEAR(rows.back()[rcSigXX] + 0.8 * uBiot, -100, 1e-6);
    file.Phases = {TriaxialPhase(10, axial)};

    // No pore fluid modulus: the undrained Poisson's ratio gives it.
    file.Undrained(1, 0, 0, 0.49);
    rows = Compute(file).Rows;
    const double uNu = expected(1.0, BulkModulus(g, 0.49) - k);
    EXPECT_NEAR(rows.back()[rcPExcess], uNu, 1e-9 * std::abs(uNu));

    // Undrained C is a total stress analysis, and a drained test builds no pressure at all.
    TKernelFile drained = file;
    drained.Behaviour = 0;
    drained.Drainage = 1;
    file.Undrained(3, kw, n);
    for (const auto& f : {file, drained}) {
        rows = Compute(f).Rows;
        EXPECT_EQ(rows.back()[rcPExcess], 0);
        EXPECT_NEAR(rows.back()[rcSigXX + 1], -100 + 2 * g * (1 + nu) * axial, 1e-6);
    }
}

TEST(ElementTest, UndrainedMohrCoulombWithoutDilatancyReachesTheUndrainedStrength) {
    const double c = 10, s = 0.5, cosPhi = std::sqrt(0.75), p0 = -100;
    const double g = 5000, nu = 0.25, n = 0.4, kw = 2e6;
    const double k = BulkModulus(g, nu);
    const double beta = k / (k + kw / n); // share of the total mean stress the skeleton takes
    TKernelFile file = Isotropic(p0);
    file.MohrCoulomb(g, nu, c, 30, 0);
    file.Undrained(1, kw, n);
    file.Phases = {TriaxialPhase(100, -0.05)};
    const auto rows = Compute(file).Rows;
    // Elastic: p' = p0 - beta q / 3; it meets the compression line there, and stays.
    const double failure = (6 * c * cosPhi - 6 * s * p0) / (3 - s - 2 * s * beta);
    double peak = 0;
    for (const auto& row : rows) {
        peak = std::max(peak, TriaxialQ(row));
        EXPECT_NEAR(MeanStress(row), p0 - beta * TriaxialQ(row) / 3, 1e-6);
        EXPECT_LT(std::abs(MeanStress(row) - p0), 0.001 * std::abs(p0)); // p' nearly constant
    }
    EXPECT_NEAR(peak, failure, 1e-7 * failure);
    EXPECT_NEAR(TriaxialQ(rows.back()), failure, 1e-7 * failure);
    EXPECT_NEAR(TriaxialQ(rows[60]), failure, 1e-7 * failure);

    // Undrained B: undrained strength as cohesion without friction; q tops at twice it.
    file.Drainage = 2;
    file.MohrCoulomb(g, nu, 40, 0, 0);
    const auto strength = Compute(file).Rows;
    EXPECT_NEAR(TriaxialQ(strength.back()), 80, 1e-7 * 80);
}

TEST(ElementTest, CyclicPhasesReturnToTheStartOnAnElasticMaterial) {
    // The phases of a cyclic triaxial test as the lab lays them out: a quarter up, half cycles
    // down and up, a quarter back to the start.
    auto cyclic = [](bool strainControl, double amplitude) {
        std::vector<TPhaseEntry> phases;
        const double factors[] = {1, -2, 2, -2, 2, -2, 1};
        int index = 2;
        for (double f : factors) {
            TPhaseEntry p;
            p.Steps = std::abs(f) > 1 ? 20 : 10;
            p.Duration = std::abs(f) > 1 ? 0.5 : 0.25;
            p.Conditions = {1, strainControl ? 0 : 1, 1, 1, 0, 0};
            (strainControl ? p.Strain(1) : p.Stress(1)) = f * amplitude;
            p.Name = "phase " + std::to_string(index++);
            phases.push_back(p);
        }
        return phases;
    };
    for (int model : {1, 2}) {
        SCOPED_TRACE(model == 1 ? "Linear Elastic" : "Mohr-Coulomb");
        TKernelFile file = Isotropic(-100);
        file.TestType = 7;
        if (model == 1)
            file.LinearElastic(5000, 0.3);
        else
            file.MohrCoulomb(5000, 0.3, 5, 30, 0);

        file.Phases = cyclic(true, -0.004);
        auto result = Compute(file);
        ASSERT_TRUE(result.Outcome.Completed);
        ASSERT_EQ(result.Rows.size(), 1u + 10 + 20 * 5 + 10);
        EXPECT_LT((Stress(result.Rows.back()) - Stress(result.Rows.front())).norm(), 1e-9);
        EXPECT_NEAR(result.Rows[10][rcSigXX + 1], -100 - 2 * 5000 * 1.3 * 0.004, 1e-9);
        EXPECT_DOUBLE_EQ(result.Rows.back()[rcTime], 3.0);
        EXPECT_DOUBLE_EQ(result.Rows[20][rcTime], 0.5);

        file.Phases = cyclic(false, -40);
        result = Compute(file);
        EXPECT_LT(Strain(result.Rows.back()).norm(), 1e-12);
        EXPECT_NEAR(result.Rows[10][rcSigXX + 1], -140, 1e-6);
    }
}

TEST(ElementTest, StopsWhereStressControlAsksForMoreThanTheStrength) {
    // The axial stress is driven past the compression limit of -334.64 in the twelfth step.
    TKernelFile file = Isotropic(-100);
    file.MohrCoulomb(5000, 0.25, 10, 30, 0);
    TPhaseEntry load = TriaxialPhase(20, 0);
    load.Stress(1) = -400;
    load.Conditions = {1, 1, 1, 1, 0, 0};
    file.Phases = {TriaxialPhase(2, -0.001), load};
    const auto result = Compute(file);
    EXPECT_FALSE(result.Outcome.Completed);
    EXPECT_EQ(result.Outcome.Message,
              "no convergence in phase 2, step 12 of 20, after splitting it into 1024 parts");
    ASSERT_EQ(result.Rows.size(), 1u + 2 + 11);
    EXPECT_NEAR(result.Rows.back()[rcSigXX + 1], -100 - 12500 * 0.001 - 11 * 20, 1e-6);
    EXPECT_EQ(result.Outcome.Steps, 13);
}

TEST(ElementTest, RefusesWhatItCannotComputeAndNamesTheLine) {
    auto reason = [](const TKernelFile& file) -> std::pair<int, std::string> {
        try {
            Compute(file);
        } catch (const EKernelInput& e) {
            return {e.Line(), e.Reason()};
        }
        return {-1, ""};
    };
    auto notSupported = [](const TKernelFile& file) {
        try {
            Compute(file);
        } catch (const EKernelNotSupported&) {
            return true;
        } catch (...) {
        }
        return false;
    };
    const TKernelFile base = [] {
        TKernelFile f = Isotropic(-100);
        f.MohrCoulomb(5000, 0.3, 10, 30, 0);
        f.Phases = {TriaxialPhase(5, -0.01)};
        return f;
    }();
    const auto lines = base.Lines();
    const int firstPlace = LineOf(lines, "[soilparameters]") + 1;

    TKernelFile f = base;
    f.Model = 12;
    f.ModelCaption = "NGI-ADP";
    EXPECT_TRUE(notSupported(f));
    EXPECT_EQ(reason(f).first, LineOf(lines, "=soil model type"));
    EXPECT_EQ(reason(f).second.rfind("soil model type 12 (NGI-ADP) is not supported by this "
                                     "kernel; it computes Linear Elastic (1), Mohr-Coulomb (2)",
                                     0),
              0u)
        << reason(f).second;
    f = base;
    // A pressuremeter needs the cavity's radius.
    f.TestType = 6;
    EXPECT_EQ(reason(f), std::make_pair(LineOf(lines, "=inner radius"),
                                        std::string("the pressuremeter test needs an inner "
                                                    "radius above 0")));
    f = base;
    f.Unsaturated = 1;
    EXPECT_TRUE(notSupported(f));
    EXPECT_EQ(reason(f).first, LineOf(lines, "=unsaturated"));
    f = base;
    f.Thermal = 1;
    EXPECT_TRUE(notSupported(f));

    struct TCase {
        int Place;
        double Value;
        const char* Reason;
    };
    const TCase places[] = {
        {0, 0, "place 0: the shear modulus must be above 0 and its stiffness finite, found 0"},
        {1, 0.5, "place 1: Poisson's ratio must lie above -1 and below 0.5, found 0.5"},
        {2, 1, "place 2: the sine of the friction angle must lie from 0 to below 1, found 1"},
        {3, -1, "place 3: the cohesion must not be negative, found -1"},
        {14, 0.5, "place 14: the tension cut-off must be 1 (on) or 0 (off), found 0.5"},
        {15, -2, "place 15: the tensile strength must not be negative, found -2"},
    };
    for (const auto& c : places) {
        f = base;
        f.Parameters[c.Place] = c.Value;
        EXPECT_EQ(reason(f), std::make_pair(firstPlace + c.Place, std::string(c.Reason)));
    }

    f = base;
    f.Undrained(1, 0, 0.4, 0.2);
    EXPECT_EQ(reason(f).first, firstPlace + 27);
    f.Undrained(1, 2e6, 0);
    EXPECT_EQ(reason(f).first, firstPlace + 19);

    // Tension beyond what a cohesionless soil carries.
    f = base;
    f.MohrCoulomb(5000, 0.3, 0, 30, 0);
    f.InitialStress << 10, -100, -100, 0, 0, 0;
    EXPECT_EQ(reason(f).first, LineOf(lines, "=initial stresses"));
}
