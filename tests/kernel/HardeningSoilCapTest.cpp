// The cap fit on its own: the one-dimensional response of the model's three mechanisms at
// s1 = p_ref, worked out here by finite differences of the yield functions (not by the fit's
// algebra), must hold no lateral strain at K0nc and have the tangent stiffness EOedRef.

#include "materials/HardeningSoilCap.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>

using ::testing::StrEq;
using ::testing::ThrowsMessage;

namespace {

constexpr double Pi = 3.14159265358979323846;

struct TSoil {
    double Phi, E50, EOed, Eur, Nu, Rf, K0nc, M;
};

// Strains per unit of vertical stress increment for the lateral increment x (compression
// positive, c = 0, p_ref = 1), with both orderings of the equal lateral stresses acting alike.
void Strains(const TSoil& soil, const tw::THSCapIterResult& cap, double x, double& e1, double& e3) {
    const double s = std::sin(soil.Phi * Pi / 180), k = soil.K0nc, m = soil.M;
    const double alpha = cap.M;
    const double h = soil.Eur / (3 * (1 - 2 * soil.Nu)) / (cap.KsKc - 1);
    auto shear = [&](double s1, double s3) {
        const double f = std::pow(s3, m);
        const double ei = 2 * soil.E50 * f / (2 - soil.Rf);
        const double qa = 2 * s * s3 / (1 - s) / soil.Rf, q = s1 - s3;
        return 2 / ei * q / (1 - q / qa) - 2 * q / (soil.Eur * f);
    };
    auto capPressure = [&](double s1, double s3) {
        const double q = s1 - s3, p = (s1 + 2 * s3) / 3;
        return std::sqrt(q * q / (alpha * alpha) + p * p);
    };
    const double d = 1e-7;
    const double eur = soil.Eur * std::pow(k, m);
    e1 = (1 - 2 * soil.Nu * x) / eur;
    e3 = (x - soil.Nu * (1 + x)) / eur;
    const double gamma = std::max(0.0, (shear(1 + d, k + d * x) - shear(1, k)) / d);
    e1 += gamma / 2;
    e3 -= gamma / 4;
    const double pp = capPressure(1, k);
    const double volume = (capPressure(1 + d, k + d * x) - pp) / d / (h * std::pow(pp, m));
    const double q = 1 - k, p = (1 + 2 * k) / 3, lc = volume / (2 * p);
    e1 += lc * (2 * q / (alpha * alpha) + 2 * p / 3);
    e3 += lc * (-q / (alpha * alpha) + 2 * p / 3);
}

} // namespace

TEST(HardeningSoilCap, OneDimensionalLoadingGivesK0ncAndEOedRef) {
    for (double phi : {20.0, 30.0, 40.0})
        for (double k0Factor : {1.0, 1.2})
            for (double eoedRatio : {0.5, 0.75, 1.0})
                for (double m : {0.0, 0.5, 1.0}) {
                    const double k0nc = k0Factor * (1 - std::sin(phi * Pi / 180));
                    const TSoil soil{phi, 20000, 20000 * eoedRatio, 60000, 0.2, 0.9, k0nc, m};
                    const auto cap = tw::RunHSCapIter(phi, soil.E50, soil.EOed, soil.Nu, soil.Rf,
                                                      soil.K0nc, soil.Eur, m);
                    // The lateral increment that keeps the lateral strain zero, by bisection.
                    double lo = 0, hi = 1;
                    for (int i = 0; i < 100; ++i) {
                        double e1 = 0, e3 = 0;
                        Strains(soil, cap, (lo + hi) / 2, e1, e3);
                        (e3 > 0 ? hi : lo) = (lo + hi) / 2;
                    }
                    double e1 = 0, e3 = 0;
                    Strains(soil, cap, lo, e1, e3);
                    const std::string where =
                        "phi " + std::to_string(phi) + ", K0nc " + std::to_string(k0nc) +
                        ", Eoed/E50 " + std::to_string(eoedRatio) + ", m " + std::to_string(m);
                    EXPECT_NEAR(lo, k0nc, 1e-6) << where;
                    EXPECT_NEAR(1 / e1 / soil.EOed, 1, 1e-5) << where;
                    EXPECT_NEAR(cap.G50Ref, 20000 / 2.4, 1e-9);
                }
}

TEST(HardeningSoilCap, RefusesWhatHasNoCap) {
    const auto frictionless = tw::RunHSCapIter(0, 20000, 20000, 0.2, 0.9, 0.5, 60000, 0.5);
    EXPECT_EQ(frictionless.M, 1.0);
    EXPECT_EQ(frictionless.KsKc, 1.0);
    EXPECT_THAT([] { tw::RunHSCapIter(30, 20000, 0, 0.2, 0.9, 0.5, 60000, 0.5); },
                ThrowsMessage<std::domain_error>(
                    StrEq("Unable to calculate EOed due to division by 0 error.")))
        << "no oedometer stiffness";
    // An oedometer stiffness above the elastic one, and a K0nc beyond failure, have no cap.
    EXPECT_THROW(tw::RunHSCapIter(30, 20000, 1e6, 0.2, 0.9, 0.5, 60000, 0.5), std::domain_error);
    EXPECT_THROW(tw::RunHSCapIter(30, 20000, 20000, 0.2, 0.9, 0.2, 60000, 0.5), std::domain_error);
}
