#include "MohrCoulomb.h"

#include <Eigen/Eigenvalues>
#include <Eigen/Geometry>
#include <gtest/gtest.h>

#include <cmath>
#include <random>

using namespace tw::kernel;

namespace {

constexpr double Pi = 3.14159265358979323846;

TMohrCoulombParameters Soil(double phi, double psi, bool cutOff, double tensile,
                            double cohesion = 10.0) {
    TMohrCoulombParameters p;
    p.G = 1000.0;
    p.Nu = 0.3;
    p.Cohesion = cohesion;
    p.SinPhi = std::sin(phi * Pi / 180.0);
    p.SinPsi = std::sin(psi * Pi / 180.0);
    p.TensionCutOff = cutOff;
    p.TensileStrength = tensile;
    return p;
}

// The elastic stiffness in principal space times a flow direction: the direction in which a
// plastic multiplier moves the trial stress.
Vec3 Corrector(const TMohrCoulombParameters& p, const Vec3& flow) {
    return ElasticStiffness(p.G, p.Nu).topLeftCorner<3, 3>() * flow;
}

Vec6 Voigt(const Mat3& s) {
    Vec6 v;
    v << s(0, 0), s(1, 1), s(2, 2), s(0, 1), s(1, 2), s(2, 0);
    return v;
}

// Principal values of a Voigt stress, most tensile first.
Vec3 Principal(const Vec6& v) {
    Mat3 s;
    s << v(0), v(3), v(5), v(3), v(1), v(4), v(5), v(4), v(2);
    return Eigen::SelfAdjointEigenSolver<Mat3>(s).eigenvalues().reverse();
}

Mat3 Rotation(std::mt19937& random) {
    std::normal_distribution<double> normal;
    return Eigen::Quaterniond(normal(random), normal(random), normal(random), normal(random))
        .normalized()
        .toRotationMatrix();
}

// Central differences of the stress update by the strain increment.
Mat6 NumericTangent(const TSoilModel& model, const Vec6& stress, const Vec6& increment, double h) {
    Mat6 tangent;
    for (int j = 0; j < 6; ++j) {
        Vec6 plus = increment;
        Vec6 minus = increment;
        plus(j) += h;
        minus(j) -= h;
        TModelPoint start, sPlus, sMinus;
        start.Stress = stress;
        EXPECT_TRUE(model.Integrate(start, plus, 0.0, sPlus, nullptr));
        EXPECT_TRUE(model.Integrate(start, minus, 0.0, sMinus, nullptr));
        tangent.col(j) = (sPlus.Stress - sMinus.Stress) / (2.0 * h);
    }
    return tangent;
}

struct TFeatureCase {
    const char* Feature;
    Vec3 Point;                                 // on the feature, most tensile first
    std::vector<std::pair<Vec3, double>> Flows; // flow direction and its multiplier
};

} // namespace

// Every feature of the surface is reached from trial stresses that lie on it plus a positive
// combination of the correctors of its planes; the return must give back exactly that point, in
// the trial's own principal directions, with a tangent equal to finite differences.
TEST(MohrCoulomb, ReturnsExactlyToPlanesEdgesAndApexesWithConsistentTangent) {
    const double s = 0.5;
    const double sp = std::sin(10.0 * Pi / 180.0);
    const double k = 2.0 * 10.0 * std::sqrt(0.75);
    const double t = 5.0;
    const Vec3 b1(1 + sp, 0, -(1 - sp));
    const Vec3 b2(0, 1 + sp, -(1 - sp));
    const Vec3 b3(1 + sp, -(1 - sp), 0);
    const Vec3 t1 = Vec3::Unit(0), t2 = Vec3::Unit(1), t3 = Vec3::Unit(2);
    // Compressive principal value on plane 1 for a given tensile one.
    auto onPlane = [&](double x0) { return ((1 + s) * x0 - k) / (1 - s); };
    const double apex = k / (2 * s);

    const auto cutOff = Soil(30, 10, true, t);
    const auto noCutOff = Soil(30, 10, false, 0);
    const std::vector<std::pair<TMohrCoulombParameters, TFeatureCase>> cases = {
        {cutOff, {"plane", Vec3(-20, -50, onPlane(-20)), {{b1, 0.02}}}},
        {cutOff, {"compression edge", Vec3(-20, -20, onPlane(-20)), {{b1, 0.03}, {b2, 0.01}}}},
        {cutOff,
         {"extension edge", Vec3(-20, onPlane(-20), onPlane(-20)), {{b1, 0.03}, {b3, 0.01}}}},
        // Equal multipliers keep two trial values equal, as in a triaxial test: their
        // directions are free and the tangent takes the limit of the rotation term.
        {cutOff, {"compression edge", Vec3(-20, -20, onPlane(-20)), {{b1, 0.02}, {b2, 0.02}}}},
        {cutOff,
         {"extension edge", Vec3(-20, onPlane(-20), onPlane(-20)), {{b1, 0.02}, {b3, 0.02}}}},
        {noCutOff, {"apex", Vec3(apex, apex, apex), {{b1, 0.03}, {b2, 0.02}, {b3, 0.01}}}},
        {cutOff, {"tension plane", Vec3(t, -10, -15), {{t1, 0.02}}}},
        {cutOff, {"tension edge", Vec3(t, -10, onPlane(t)), {{b1, 0.01}, {t1, 0.02}}}},
        {cutOff, {"biaxial tension edge", Vec3(t, t, -10), {{t1, 0.03}, {t2, 0.01}}}},
        {cutOff,
         {"extension tension corner",
          Vec3(t, onPlane(t), onPlane(t)),
          {{b1, 0.03}, {b3, 0.01}, {t1, 0.02}}}},
        {cutOff,
         {"compression tension corner",
          Vec3(t, t, onPlane(t)),
          {{b1, 0.03}, {b2, 0.01}, {t1, 0.02}, {t2, 0.005}}}},
        {cutOff, {"tension apex", Vec3(t, t, t), {{t1, 0.03}, {t2, 0.02}, {t3, 0.01}}}},
    };
    std::mt19937 random(7);
    for (const auto& [parameters, c] : cases) {
        SCOPED_TRACE(c.Feature);
        const TMohrCoulomb model(parameters);
        Vec3 trial = c.Point;
        for (const auto& [flow, multiplier] : c.Flows)
            trial += multiplier * Corrector(parameters, flow);
        ASSERT_GE(trial(0), trial(1));
        ASSERT_GE(trial(1), trial(2));

        TMohrCoulomb::TPrincipalReturn back;
        ASSERT_TRUE(model.ReturnPrincipal(trial, back));
        EXPECT_STREQ(back.Feature, c.Feature);
        EXPECT_LT((back.Stress - c.Point).norm(), 1e-10 * c.Point.norm());

        // The same in six components, once in general directions and once along the axes,
        // where equal principal values leave the directions free.
        for (bool rotated : {true, false}) {
            const Mat3 q = rotated ? Rotation(random) : Mat3::Identity();
            const Vec6 trialStress = Voigt(q * trial.asDiagonal() * q.transpose());
            Vec6 stress;
            Mat6 tangent;
            ASSERT_TRUE(model.Update(trialStress, Vec6::Zero(), stress, &tangent));
            const Vec6 expected = Voigt(q * c.Point.asDiagonal() * q.transpose());
            EXPECT_LT((stress - expected).norm(), 1e-10 * expected.norm());
            EXPECT_LT(model.YieldValue(stress), 1e-9 * k);
            const Mat6 numeric = NumericTangent(model, trialStress, Vec6::Zero(), 1e-7);
            EXPECT_LT((tangent - numeric).cwiseAbs().maxCoeff(), 1e-5 * model.Elastic().norm())
                << "rotated " << rotated << "\nconsistent\n"
                << tangent << "\nnumeric\n"
                << numeric;
        }
    }
}

TEST(MohrCoulomb, StaysElasticInsideAndKnowsWhenTheCutOffActs) {
    const TMohrCoulomb model(Soil(30, 0, true, 5));
    const Vec6 stress = (Vec6() << -100, -120, -90, 10, -5, 3).finished();
    const Vec6 increment = (Vec6() << 1e-4, -2e-4, 0, 1e-4, 0, 0).finished();
    Vec6 result;
    Mat6 tangent;
    ASSERT_TRUE(model.Update(stress, increment, result, &tangent));
    EXPECT_LT((result - (stress + model.Elastic() * increment)).norm(), 1e-12);
    EXPECT_EQ(tangent, model.Elastic());
    EXPECT_LT(model.YieldValue(stress), 0.0);
    EXPECT_TRUE(model.TensionActive());

    // A cut-off at or above the apex of the cone (c cot phi = 17.3) never acts; neither does
    // one of a cohesionless soil.
    EXPECT_FALSE(TMohrCoulomb(Soil(30, 0, true, 17.33)).TensionActive());
    EXPECT_FALSE(TMohrCoulomb(Soil(30, 0, true, 0.0, 0.0)).TensionActive());
    EXPECT_FALSE(TMohrCoulomb(Soil(30, 0, false, 5)).TensionActive());
    EXPECT_TRUE(TMohrCoulomb(Soil(0, 0, true, 1000)).TensionActive());
}

// Random trial stresses over all regions: the return is admissible and continuous, which a wrong
// choice of region would break with a jump.
TEST(MohrCoulomb, ReturnIsAdmissibleAndContinuousEverywhere) {
    const std::vector<TMohrCoulombParameters> soils = {
        Soil(30, 10, true, 5), Soil(30, 10, false, 0), Soil(30, 0, false, 0),
        Soil(0, 0, true, 3),   Soil(35, 35, true, 2),  Soil(25, -5, false, 0, 0.0),
        Soil(25, -5, true, 2)};
    std::mt19937 random(11);
    std::uniform_real_distribution<double> value(-150.0, 60.0);
    std::normal_distribution<double> normal;
    for (const auto& p : soils) {
        const TMohrCoulomb model(p);
        int plastic = 0;
        int apex = 0;
        for (int n = 0; n < 4000; ++n) {
            Vec6 trial;
            for (int i = 0; i < 6; ++i)
                trial(i) = i < 3 ? value(random) : 0.3 * value(random);
            Vec6 stress;
            ASSERT_TRUE(model.Update(trial, Vec6::Zero(), stress, nullptr)) << trial.transpose();
            TMohrCoulomb::TPrincipalReturn back;
            ASSERT_TRUE(model.ReturnPrincipal(Principal(trial), back));
            apex += std::string(back.Feature) == "apex";
            EXPECT_LT(model.YieldValue(stress), 1e-8 * 200);
            plastic += (stress - trial).norm() > 1e-9;
            Vec6 nudge;
            for (int i = 0; i < 6; ++i)
                nudge(i) = 1e-4 * normal(random);
            Vec6 nearby;
            ASSERT_TRUE(model.Update(trial + nudge, Vec6::Zero(), nearby, nullptr));
            EXPECT_LT((nearby - stress).norm(), 20.0 * nudge.norm())
                << "trial " << trial.transpose() << "\nstress " << stress.transpose() << "\nnearby "
                << nearby.transpose();
        }
        EXPECT_GT(plastic, 1000);
        if (!model.TensionActive() && p.SinPhi > 0.0) {
            EXPECT_GT(apex, 10);
        }
    }
}
