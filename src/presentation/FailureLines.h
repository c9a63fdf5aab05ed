#pragma once
// The Mohr-Coulomb failure envelope in the planes of the charts, and the Mohr circles. Stresses
// carry the kernel's sign: compression is negative, so the envelope lies on the negative side of
// the stress axes. All stresses here are in one unit, the presentation unit of the chart.
//
// With c the cohesion and phi the friction angle (Coulomb 1776; the forms below as in Craig's
// Soil Mechanics, ch. 4, and Wood, Soil Behaviour and Critical State Soil Mechanics, ch. 4):
//   Mohr plane:   tau = c + (-sigma) tan(phi)
//   sigma3-sigma1 plane:  -sigma1 = K (-sigma3) + a, K = (1 + sin phi) / (1 - sin phi),
//                         a = 2 c cos phi / (1 - sin phi)
//   p-q plane:    q = q0 + M (-p), compression: M = 6 sin phi / (3 - sin phi),
//                 q0 = 6 c cos phi / (3 - sin phi); extension: the same with 3 + sin phi.
// With phi = 0 each is a line of constant shear strength (tau = c, q = 2c) and no formula
// divides by sin phi.

#include "materials/TestMaterial.h"
#include "objects/QuantityType.h"

#include <optional>
#include <vector>

namespace tw {

struct TMohrCoulombStrength {
    double Cohesion = 0.0;   // in the chart's pressure unit
    double PhiDegrees = 0.0; // friction angle
};

// The material's "cRef" (a pressure in pascal, converted by `units`; stored value without) and
// "phi" (degrees); nothing when the material lacks either or is absent.
std::optional<TMohrCoulombStrength> MohrCoulombStrengthOf(const ITestMaterial* material,
                                                          const IQuantityPresenter* units);

struct TLinePoints {
    std::vector<double> X, Y;
};

// Whether a state is nearer triaxial compression than extension: the most compressive principal
// stress sigma1 lies farther from the mean stress p than sigma3 does (sigma2 = sigma3 in
// compression, sigma2 = sigma1 in extension). Ties count as compression.
bool IsCompressionState(double p, double sigma1, double sigma3);

// The envelope in the p-q plane over the stresses p of the test (most and least compressive).
// From the apex p = c cot(phi), q = 0 (with phi = 0, from the least compressive p, or 0) to 1.05
// times the most compressive p.
TLinePoints PQFailureLine(const TMohrCoulombStrength& strength, bool compression, double pMin,
                          double pMax);

// The envelope in the sigma3-sigma1 plane (x sigma3, y sigma1): from (0, -a) to the farther of
// the two ends set by 1.05 times the most compressive sigma3 and 1.05 times the most compressive
// sigma1 of the test, the other coordinate on the line.
TLinePoints S3S1FailureLine(const TMohrCoulombStrength& strength, double sigma3Min,
                            double sigma1Min);

// The envelope in the Mohr plane (x sigma, y tau) over circles that reach from `sigmaMin` (most
// compressive) to `sigmaMax`: from the apex sigma = c cot(phi), tau = 0 (with phi = 0, from the
// least compressive stress, or 0) to 1.05 times `sigmaMin`.
TLinePoints MohrFailureLine(const TMohrCoulombStrength& strength, double sigmaMin, double sigmaMax);

// The upper half of the Mohr circle of the principal stresses sigma1 and sigma3: centre
// (sigma1 + sigma3) / 2, radius |sigma1 - sigma3| / 2, `points` angles evenly from 0 to pi
// (at least 2), and with a friction angle the points at pi/2 - phi and pi/2 + phi as well, so that
// a circle at failure touches the envelope at a point of its own (pi/2 - phi with compression
// negative). Angles run from the tensile side (theta 0 at the larger stress).
TLinePoints MohrCircle(double sigma1, double sigma3, int points,
                       std::optional<double> phiDegrees = std::nullopt);

} // namespace tw
