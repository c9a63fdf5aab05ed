// Hardening Soil and HS small against closed forms: the hyperbola of drained primary loading and
// unloading with Eur (Schanz, Vermeer and Bonnier 1999), one-dimensional loading on the fitted
// cap, the dilatancy of Rowe at failure, the small-strain law and its Masing damping (Benz 2007).

#include "HardeningSoil.h"
#include "Kernel.h"
#include "KernelFile.h"
#include "materials/HardeningSoilCap.h"

#include <Eigen/Geometry>
#include <gtest/gtest.h>

#include <cmath>

using namespace tw::kernel;
using namespace tw::kernel::testing;

namespace {

constexpr double Pi = 3.14159265358979323846;

std::vector<TResultRow> Rows(const TKernelFile& file) {
    const TComputedTest test = ComputeTest(ParseKernelInput("hs.qbc", file.Text()));
    EXPECT_TRUE(test.Outcome.Completed) << test.Outcome.Message;
    return test.Rows;
}

double Axial(const TResultRow& r) {
    return -r[rcEpsXX + 1];
}
double Deviator(const TResultRow& r) {
    return r[rcSigXX] - r[rcSigXX + 1];
}
double Volume(const TResultRow& r) {
    return r[rcEpsXX] + r[rcEpsXX + 1] + r[rcEpsXX + 2];
}

TKernelFile Triaxial(const THardeningSoilMaterial& m, double cell, double preconsolidation) {
    TKernelFile file;
    file.HardeningSoil(m);
    file.InitialStress << -cell, -cell, -cell, 0, 0, 0;
    file.Preconsolidation = preconsolidation;
    file.Error = 1e-10; // stress-controlled components exact, for the closed forms
    return file;
}

// E50 at a minor principal stress (c = 0), and qf, qa of a triaxial test at that cell pressure.
struct THyperbola {
    double Ei, Eur, Qf, Qa;
    THyperbola(const THardeningSoilMaterial& m, double cell) {
        const double s = std::sin(m.Phi * Pi / 180);
        const double f = std::pow(cell / m.PRef, m.PowerM);
        Ei = 2 * m.E50 * f / (2 - m.Rf);
        Eur = m.Eur * f;
        Qf = 2 * s * cell / (1 - s);
        Qa = Qf / m.Rf;
    }
    // eps1 = q / (Ei (1 - q / qa)), solved for q.
    double Q(double eps1) const { return eps1 * Ei / (1 + eps1 * Ei / Qa); }
};

// A medium dense sand: E50 = Eoed = 20 MPa, Eur = 60 MPa, phi = 30, psi = 5, c = 2.
THardeningSoilParameters Sand() {
    THardeningSoilParameters p;
    p.EurRef = 60000;
    p.E50Ref = 20000;
    p.SinPhi = 0.5;
    p.Cohesion = 2;
    p.SinPsi = std::sin(5 * Pi / 180);
    p.TensionCutOff = true;
    p.CapM = 1.15921555110421; // the cap of K0nc = 0.5, Eoed = E50
    p.KsKc = 1.81233313806532;
    return p;
}

// A Voigt vector turned by q; shear = 2 for engineering shear strains.
Vec6 Turned(const Mat3& q, const Vec6& v, double shear) {
    Mat3 m;
    m << v(0), v(3) / shear, v(5) / shear, v(3) / shear, v(1), v(4) / shear, v(5) / shear,
        v(4) / shear, v(2);
    const Mat3 r = q * m * q.transpose();
    return (Vec6() << r(0, 0), r(1, 1), r(2, 2), shear * r(0, 1), shear * r(1, 2), shear * r(2, 0))
        .finished();
}

} // namespace

TEST(HardeningSoil, DrainedPrimaryLoadingFollowsTheHyperbolaAndUnloadingEur) {
    for (double m : {0.0, 0.5, 1.0}) {
        THardeningSoilMaterial soil;
        soil.PowerM = m;
        const double cell = 150;
        const THyperbola h(soil, cell);
        // The cap stays out of reach: preconsolidated far beyond the test. Within a step the
        // strains grow in proportion while the cell pressure is held only at its end; that
        // deviation of the path costs (1/steps)^2, 2e-5 of qf here.
        TKernelFile file = Triaxial(soil, cell, 5000);
        file.Phases = {TriaxialPhase(400, -0.12)};
        const auto rows = Rows(file);
        double worst = 0;
        for (const auto& r : rows) {
            if (Deviator(r) > 0.999 * h.Qf)
                break;
            worst = std::max(worst, std::abs(Deviator(r) - h.Q(Axial(r))) / h.Qf);
        }
        EXPECT_LT(worst, 5e-5) << "m " << m;
        // The end lies on the failure line, and with psi = 0 the volume changes elastically only.
        EXPECT_NEAR(Deviator(rows.back()), h.Qf, 1e-6 * h.Qf);
        const double k = h.Eur / (3 * (1 - 2 * soil.NuUr));
        EXPECT_NEAR(Volume(rows.back()), -h.Qf / 3 / k, 1e-4 * h.Qf / k);

        // Unloading from half the failure deviator and reloading to it: elastic with Eur.
        file.Phases = {TriaxialPhase(50, -0.004), TriaxialPhase(20, 0.0005),
                       TriaxialPhase(20, -0.0005)};
        const auto cycle = Rows(file);
        const auto& top = cycle[50];
        const auto& bottom = cycle[70];
        EXPECT_NEAR((Deviator(top) - Deviator(bottom)) / (Axial(top) - Axial(bottom)), h.Eur,
                    1e-6 * h.Eur);
        EXPECT_NEAR(Deviator(cycle[90]), Deviator(top), 1e-6 * h.Qf);
    }
}

// The check of the cap: for a range of phi, K0nc, Eoed/E50 and m, one-dimensional
// primary loading from a K0nc state keeps K0nc and has the tangent stiffness EOedRef at
// sigma1' = p_ref, Eoed = EOedRef (sigma1' / p_ref)^m, so eps1 = p_ref^m (s^(1-m) - s0^(1-m)) /
// ((1 - m) EOedRef) (ln for m = 1).
TEST(HardeningSoil, OneDimensionalLoadingOnTheFittedCapGivesK0ncAndEOedRef) {
    for (double phi : {20.0, 30.0, 40.0})
        for (double k0Factor : {1.0, 1.2})
            for (double eoedRatio : {0.5, 1.0})
                for (double m : {0.0, 0.5, 1.0}) {
                    THardeningSoilMaterial soil;
                    soil.Phi = phi;
                    soil.PowerM = m;
                    soil.EOed = eoedRatio * soil.E50;
                    soil.K0nc = k0Factor * (1 - std::sin(phi * Pi / 180));
                    TKernelFile file;
                    file.HardeningSoil(soil);
                    file.TestType = 1;
                    const double s0 = 50;
                    file.InitialStress << -soil.K0nc * s0, -s0, -soil.K0nc * s0, 0, 0, 0;
                    TPhaseEntry load;
                    load.Steps = 30;
                    load.Stress(1) = -150;
                    load.Conditions = OedometerConditions;
                    file.Phases = {load};
                    file.Error = 1e-10;
                    const auto rows = Rows(file);
                    const std::string where =
                        "phi " + std::to_string(phi) + ", K0nc " + std::to_string(soil.K0nc) +
                        ", Eoed/E50 " + std::to_string(eoedRatio) + ", m " + std::to_string(m);
                    for (const auto& r : rows) {
                        const double s = -r[rcSigXX + 1];
                        EXPECT_NEAR(r[rcSigXX] / r[rcSigXX + 1], soil.K0nc, 1e-6 * soil.K0nc)
                            << where;
                        const double p = soil.PRef;
                        const double expected =
                            m == 1.0 ? p / soil.EOed * std::log(s / s0)
                                     : std::pow(p, m) * (std::pow(s, 1 - m) - std::pow(s0, 1 - m)) /
                                           ((1 - m) * soil.EOed);
                        EXPECT_NEAR(-r[rcEpsXX + 1], expected, 1e-6 * expected + 1e-15) << where;
                    }
                }
}

// At failure the flow is that of Mohr-Coulomb with the mobilised dilatancy of Rowe, which there
// is psi: d eps_v / d eps1 = -2 sin psi / (1 - sin psi) on the compression edge. Once the void
// ratio reaches e_max the soil dilates no more.
TEST(HardeningSoil, DilatesWithPsiAtFailureUntilTheCutOff) {
    THardeningSoilMaterial soil;
    soil.Psi = 10;
    TKernelFile file = Triaxial(soil, 100, 5000);
    file.Phases = {TriaxialPhase(400, -0.2)};
    auto rows = Rows(file);
    const double sinPsi = std::sin(soil.Psi * Pi / 180);
    const size_t n = rows.size();
    const double slope = (Volume(rows[n - 1]) - Volume(rows[n - 11])) /
                         (rows[n - 1][rcEpsXX + 1] - rows[n - 11][rcEpsXX + 1]);
    EXPECT_NEAR(slope, -2 * sinPsi / (1 - sinPsi), 1e-6);

    // Porosity 0.4 (e = 0.667) and at most 0.41 (e = 0.695): the cut-off at eps_v = 0.0171.
    soil.InitialPorosity = 0.4;
    soil.MaxPorosity = 0.41;
    file = Triaxial(soil, 100, 5000);
    file.Phases = {TriaxialPhase(400, -0.2)};
    rows = Rows(file);
    const double e0 = 0.4 / 0.6, eMax = 0.41 / 0.59;
    const double limit = (eMax - e0) / (1 + e0);
    EXPECT_NEAR(Volume(rows.back()), limit, 1e-4 * limit);
    EXPECT_NEAR(Volume(rows.back()), Volume(rows[rows.size() - 50]), 1e-6 * limit);
}

// Peak and final values do not depend on the number of steps.
TEST(HardeningSoil, TenAndAThousandStepsGiveTheSamePeakAndFinalValues) {
    THardeningSoilMaterial soil;
    soil.Psi = 8;
    soil.Cohesion = 5;
    auto run = [&](int steps, bool undrained) {
        TKernelFile file = Triaxial(soil, 100, 0); // normally consolidated: the cap acts
        file.Error = 0.01;
        if (undrained)
            file.Undrained(0, 2e6, 0.4);
        file.Phases = {TriaxialPhase(steps, -0.1)};
        const TComputedTest test = ComputeTest(ParseKernelInput("hs.qbc", file.Text()));
        EXPECT_TRUE(test.Outcome.Completed) << test.Outcome.Message;
        return test;
    };
    for (bool undrained : {false, true}) {
        const auto coarse = run(10, undrained);
        const auto fine = run(1000, undrained);
        EXPECT_NEAR(coarse.PeakDeviatoricStress, fine.PeakDeviatoricStress,
                    0.01 * fine.PeakDeviatoricStress)
            << (undrained ? "undrained" : "drained");
        const int column = undrained ? rcPExcess : rcEpsXX;
        const double a = undrained ? coarse.LastRow[column] : Volume(coarse.LastRow);
        const double b = undrained ? fine.LastRow[column] : Volume(fine.LastRow);
        EXPECT_NEAR(a, b, 0.01 * std::abs(b)) << (undrained ? "undrained" : "drained");
    }
}

// HS small in simple shear, elastic throughout (cap far away, E50 = Eur leaves the shear
// hardening elastic up to half the failure deviator, m = 0): the secant shear modulus is G0 at
// small strain and G0 / (1 + 0.385) = 0.722 G0 at gamma07; beyond the cut-off the tangent is Gur.
// A closed cycle between +-gamma_c has the Masing damping of the hyperbola tau = G0 gamma / (1 +
// gamma / gamma_r), gamma_r = gamma07 / 0.385: D = 4 (1 + x) (x - ln(1 + x)) / (pi x^2) - 2 / pi,
// x = gamma_c / gamma_r (Benz 2007).
TEST(HardeningSoil, SmallStrainStiffnessAndMasingDamping) {
    THardeningSoilMaterial soil;
    soil.PowerM = 0;
    soil.E50 = soil.Eur = 60000;
    soil.EOed = 40000;
    soil.G0 = 100000; // four times Gur = 25000
    soil.Gamma07 = 1e-4;
    const double gur = soil.Eur / (2 * (1 + soil.NuUr));
    TKernelFile file;
    file.HardeningSoil(soil);
    file.TestType = 3;
    file.InitialStress << -100, -100, -100, 0, 0, 0;
    file.Preconsolidation = 2000;
    file.Error = 1e-10;
    auto shear = [](int steps, double gamma) {
        TPhaseEntry phase;
        phase.Steps = steps;
        phase.Strain(3) = gamma;
        phase.Conditions = DssConditions;
        return phase;
    };
    file.Phases = {shear(1000, 5 * soil.Gamma07)};
    const auto rows = Rows(file);
    auto tau = [](const TResultRow& r) { return r[rcSigXX + 3]; };
    auto gamma = [](const TResultRow& r) { return r[rcEpsXX + 3]; };
    // The secant of the hyperbolic law to 1e-5: the substeps' error bound is relative to the
    // whole stress (about 100 kPa here), of which the shear stress is a small part.
    const double small = gamma(rows[1]); // 5e-7: the secant is G0 to 0.2 %
    EXPECT_NEAR(tau(rows[1]) / small, soil.G0 / (1 + 0.385 * small / soil.Gamma07), 1e-5 * soil.G0);
    EXPECT_NEAR(tau(rows[1]) / small, soil.G0, 2e-3 * soil.G0);
    EXPECT_NEAR(tau(rows[200]) / gamma(rows[200]), soil.G0 / 1.385, 1e-5 * soil.G0);
    EXPECT_NEAR((tau(rows[1000]) - tau(rows[999])) / (gamma(rows[1000]) - gamma(rows[999])), gur,
                1e-6 * gur);

    const double gc = soil.Gamma07;
    file.Phases = {shear(400, gc), shear(800, -2 * gc), shear(800, 2 * gc)};
    const auto cycle = Rows(file);
    double area = 0;
    for (size_t i = 401; i < cycle.size(); ++i)
        area += 0.5 * (tau(cycle[i]) + tau(cycle[i - 1])) * (gamma(cycle[i]) - gamma(cycle[i - 1]));
    const double tauC = tau(cycle[400]);
    const double damping = std::abs(area) / (2 * Pi * tauC * gc);
    const double x = gc * 0.385 / soil.Gamma07;
    const double masing = 4 * (1 + x) * (x - std::log(1 + x)) / (Pi * x * x) - 2 / Pi;
    EXPECT_NEAR(damping, masing, 1e-4 * masing);
    EXPECT_NEAR(tau(cycle.back()), tauC, 1e-6 * tauC); // the loop closes
}

// The model is isotropic: an update at a triaxial edge (s2 = s3, where the shear pairs and caps
// of both orderings meet) gives in any frame the rotated stress of the update in the principal
// frame, and the tangent along the increment turned likewise.
TEST(HardeningSoil, AnUpdateAtAnEdgeDoesNotDependOnTheFrame) {
    const THardeningSoilParameters p = Sand();
    const THardeningSoil hardeningSoil(p);
    const TSoilModel& model = hardeningSoil;
    // Axial compression with equal lateral strains from an isotropic state: the stress stays on
    // the edge, and the shear surface and the cap both act.
    TModelPoint point;
    point.Stress << -100, -100, -100, 0, 0, 0;
    model.Initialise(point);
    const Vec6 increment = (Vec6() << 2e-5, -1e-4, 2e-5, 0, 0, 0).finished();
    for (int i = 0; i < 30; ++i) {
        TModelPoint next;
        ASSERT_TRUE(model.Integrate(point, increment, 0.0, next, nullptr));
        point = next;
    }
    TModelPoint end;
    Mat6 tangent;
    ASSERT_TRUE(model.Integrate(point, increment, 0.0, end, &tangent));
    ASSERT_EQ(end.Stress(0), end.Stress(2));
    ASSERT_GT((end.Stress - point.Stress - model.ElasticTangent(point) * increment).norm(),
              1e-2 * (end.Stress - point.Stress).norm())
        << "plastic";

    const Mat3 q = Eigen::Quaterniond(0.3, -0.5, 0.7, 0.2).normalized().toRotationMatrix();
    auto turn = [&](const Vec6& v, double shear) { return Turned(q, v, shear); };
    TModelPoint turned = point;
    turned.Stress = turn(point.Stress, 1.0);
    TModelPoint turnedEnd;
    Mat6 turnedTangent;
    ASSERT_TRUE(model.Integrate(turned, turn(increment, 2.0), 0.0, turnedEnd, &turnedTangent));
    const double size = end.Stress.norm();
    EXPECT_LT((turnedEnd.Stress - turn(end.Stress, 1.0)).norm(), 1e-9 * size);
    for (int i = 0; i < HistorySize; ++i)
        EXPECT_NEAR(turnedEnd.History[i], end.History[i], 1e-9 * (1 + std::abs(end.History[i])));
    // The tangent along the loading: what the element test's iteration uses. (Across the edge,
    // where the loading would break the equality, the continuum tangent of one side is not the
    // derivative.)
    const Vec6 expected = turn(tangent * increment, 1.0);
    EXPECT_LT((turnedTangent * turn(increment, 2.0) - expected).norm(), 1e-6 * expected.norm());
}

// The drift of every substep is corrected onto the surfaces that acted in it (Sloan, Abbo and
// Sheng 2001): after each update of a loading that hardens the shear surface and the cap, in
// general directions, gamma_p is the shear function of the stress (Schanz, Vermeer and Bonnier
// 1999) and pp the cap through it, to the drift band; a surface that did not harden is not
// crossed.
TEST(HardeningSoil, UpdatesEndOnTheSurfacesThatActed) {
    const THardeningSoilParameters p = Sand();
    const THardeningSoil hardeningSoil(p);
    const TSoilModel& model = hardeningSoil;
    const Mat3 q = Eigen::Quaterniond(0.6, 0.2, -0.4, 0.5).normalized().toRotationMatrix();
    auto turn = [&](const Vec6& v, double shear) { return Turned(q, v, shear); };
    TModelPoint point;
    point.Stress = turn((Vec6() << -100, -100, -100, 0, 0, 0).finished(), 1.0);
    model.Initialise(point);
    // Compression with some volume change, and the same with a lateral stretch (shear first).
    const Vec6 increments[2] = {(Vec6() << -1e-4, 1e-5, 2e-5, 0, 0, 0).finished(),
                                (Vec6() << -1e-4, 4e-5, 3e-5, 0, 0, 0).finished()};
    int shearActed = 0, capActed = 0;
    for (const Vec6& increment : increments) {
        TModelPoint state = point;
        for (int step = 0; step < 40; ++step) {
            TModelPoint end;
            ASSERT_TRUE(model.Integrate(state, turn(increment, 2.0), 0.0, end, nullptr));
            if (model.YieldValue(end.Stress) > -1e-3 * p.PRef)
                break; // at failure the shear hyperbola is cut off
            const Vec3 s = TPrincipalStress(end.Stress).S;
            const double gammaP = end.History[THardeningSoil::hGammaP];
            const double pp = end.History[THardeningSoil::hCapPressure];
            // The band of the functions (in stress units; the shear function is gamma_p times
            // Eur), with room for rounding.
            const double band = 2e-10 * (end.Stress.cwiseAbs().maxCoeff() + p.PRef);
            const double shearBand = band / (p.EurRef * hardeningSoil.StiffnessFactor(s(2)));
            const double shear = hardeningSoil.ShearFunction(s, 0, 2);
            const double cap = hardeningSoil.CapPressure(end.Stress);
            EXPECT_LE(shear, gammaP + shearBand) << step;
            EXPECT_LE(cap, pp + band) << step;
            if (gammaP > state.History[THardeningSoil::hGammaP]) {
                ++shearActed;
                EXPECT_NEAR(shear, gammaP, shearBand) << step;
            }
            if (pp > state.History[THardeningSoil::hCapPressure]) {
                ++capActed;
                EXPECT_NEAR(cap, pp, band) << step;
            }
            state = end;
        }
    }
    EXPECT_GT(shearActed, 20);
    EXPECT_GT(capActed, 10);
}
