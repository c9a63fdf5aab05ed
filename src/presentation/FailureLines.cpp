#include "presentation/FailureLines.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace tw {

namespace {
double Radians(double degrees) {
    return degrees * std::numbers::pi / 180.0;
}
// A friction angle that counts as none: the envelope is flat.
bool NoFriction(double phiDegrees) {
    return std::fabs(std::sin(Radians(phiDegrees))) < 1e-12;
}
} // namespace

std::optional<TMohrCoulombStrength> MohrCoulombStrengthOf(const ITestMaterial* material,
                                                          const IQuantityPresenter* units) {
    if (!material)
        return std::nullopt;
    const std::optional<double> c = material->GetNumber("cRef");
    const std::optional<double> phi = material->GetNumber("phi");
    if (!c || !phi || !std::isfinite(*c) || !std::isfinite(*phi))
        return std::nullopt;
    return TMohrCoulombStrength{units ? units->ToPresentation(qtPressure, *c) : *c, *phi};
}

bool IsCompressionState(double p, double sigma1, double sigma3) {
    return p - sigma1 >= sigma3 - p;
}

TLinePoints PQFailureLine(const TMohrCoulombStrength& strength, bool compression, double pMin,
                          double pMax) {
    const double c = strength.Cohesion;
    const double end = 1.05 * std::min(pMin, 0.0);
    if (NoFriction(strength.PhiDegrees)) {
        const double start = std::max(pMax, 0.0);
        return {{start, end}, {2.0 * c, 2.0 * c}};
    }
    const double phi = Radians(strength.PhiDegrees);
    const double denominator = compression ? 3.0 - std::sin(phi) : 3.0 + std::sin(phi);
    const double intercept = 6.0 * c * std::cos(phi) / denominator;
    const double slope = 6.0 * std::sin(phi) / denominator;
    const double apex = c / std::tan(phi); // p where q = 0, on the tensile side
    return {{apex, end}, {0.0, intercept - slope * end}};
}

TLinePoints S3S1FailureLine(const TMohrCoulombStrength& strength, double sigma3Min,
                            double sigma1Min) {
    const double phi = Radians(strength.PhiDegrees);
    const double sine = NoFriction(strength.PhiDegrees) ? 0.0 : std::sin(phi);
    if (1.0 - sine < 1e-12)
        return {}; // a friction angle of 90 degrees has no such line
    const double a = 2.0 * strength.Cohesion * std::cos(phi) / (1.0 - sine);
    const double k = (1.0 + sine) / (1.0 - sine);
    // One end by sigma3, one by sigma1; along a straight line from x = 0 the farther is the one
    // of larger |x|.
    const double x3 = 1.05 * sigma3Min;
    const double y1 = 1.05 * sigma1Min;
    const double x1 = (y1 + a) / k;
    const double x = std::fabs(x3) >= std::fabs(x1) ? x3 : x1;
    return {{0.0, x}, {-a, k * x - a}};
}

TLinePoints MohrFailureLine(const TMohrCoulombStrength& strength, double sigmaMin,
                            double sigmaMax) {
    const double c = strength.Cohesion;
    const double end = 1.05 * std::min(sigmaMin, 0.0);
    if (NoFriction(strength.PhiDegrees)) {
        const double start = std::max(sigmaMax, 0.0);
        return {{start, end}, {c, c}};
    }
    const double tanPhi = std::tan(Radians(strength.PhiDegrees));
    return {{c / tanPhi, end}, {0.0, c - end * tanPhi}};
}

TLinePoints MohrCircle(double sigma1, double sigma3, int points, std::optional<double> phiDegrees) {
    points = std::max(points, 2);
    std::vector<double> angles;
    angles.reserve(points + 2);
    for (int i = 0; i < points; ++i)
        angles.push_back(std::numbers::pi * i / (points - 1));
    if (phiDegrees && !NoFriction(*phiDegrees)) {
        const double phi = Radians(std::fabs(*phiDegrees));
        for (double contact : {0.5 * std::numbers::pi - phi, 0.5 * std::numbers::pi + phi})
            if (contact > 0.0 && contact < std::numbers::pi)
                angles.push_back(contact);
        std::sort(angles.begin(), angles.end());
        angles.erase(std::unique(angles.begin(), angles.end(),
                                 [](double a, double b) { return std::fabs(a - b) < 1e-12; }),
                     angles.end());
    }
    const double centre = 0.5 * (sigma1 + sigma3);
    const double radius = 0.5 * std::fabs(sigma1 - sigma3);
    TLinePoints circle;
    circle.X.reserve(angles.size());
    circle.Y.reserve(angles.size());
    for (double angle : angles) {
        circle.X.push_back(centre + radius * std::cos(angle));
        circle.Y.push_back(radius * std::sin(angle));
    }
    return circle;
}

} // namespace tw
