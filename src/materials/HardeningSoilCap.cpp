#include "materials/HardeningSoilCap.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace tw {

namespace {

constexpr double Pi = 3.14159265358979323846;

double Divide(double numerator, double divisor, const char* name) {
    if (divisor == 0.0)
        throw std::domain_error(std::string("Unable to calculate ") + name +
                                " due to division by 0 error.");
    return numerator / divisor;
}

[[noreturn]] void NoFit(const char* name, const std::string& reason) {
    throw std::domain_error(std::string("Unable to calculate ") + name + ": " + reason);
}

} // namespace

THSCapIterResult RunHSCapIter(double phiDegrees, double e50Ref, double eOedRef, double nuUr,
                              double rf, double k0nc, double eurRef, double powerM) {
    THSCapIterResult result{1.0, 1.0, Divide(e50Ref, 2.0 * (1.0 + nuUr), "G50Ref")};
    if (!(phiDegrees > 0.0))
        return result;

    // Everything per unit of p_ref: the fit does not depend on it (see the header).
    const double k = k0nc;
    const double m = powerM;
    const double sinPhi = std::sin(phiDegrees * Pi / 180.0);
    const double q = 1.0 - k;
    const double p = (1.0 + 2.0 * k) / 3.0;
    if (!(k > 0.0 && k < 1.0))
        NoFit("M", "K0nc must lie above 0 and below 1");

    // Elastic strains of the K0nc state, whose stiffness is that of s3 = K0nc p_ref.
    const double eur = eurRef * std::pow(k, m);
    const double e1 = Divide(1.0 - 2.0 * nuUr * k, eur, "Eur");
    const double e3 = Divide(k - nuUr * (1.0 + k), eur, "Eur");

    // The shear mechanism: the hardening parameter follows the yield function along the path.
    const double qf = Divide(2.0 * sinPhi * k, 1.0 - sinPhi, "qf");
    const double r = Divide(q * rf, qf, "qa");
    if (!(r < rf))
        NoFit("M", "the K0nc state lies on or beyond the failure line");
    const double shearCompliance =
        Divide(2.0 - rf, e50Ref * (1.0 - r), "E50") - Divide(2.0, eurRef, "Eur");
    const double a = q * shearCompliance * std::pow(k, -m);
    const double shear = std::max(a * (1.0 - m), 0.0);

    // The cap: two equations linear in u = l_c and w = l_c / M^2.
    const double b3 = shear / 4.0 - e3;
    const double b1 = Divide(1.0, eOedRef, "EOed") - e1 - shear / 2.0;
    const double u = (2.0 * b3 + b1) / (2.0 * p);
    const double w = (b1 - b3) / (3.0 * q);
    if (!(u > 0.0))
        NoFit("M", "EOedRef is stiffer than the elastic volumetric stiffness of the K0nc state");
    if (!(w > 0.0))
        NoFit("M", "EOedRef is too stiff for the shear strains of the K0nc state");
    const double x = w / u; // 1 / M^2
    result.M = std::sqrt(Divide(1.0, x, "M"));

    const double capP = std::sqrt(q * q * x + p * p);
    const double h = std::pow(capP, 1.0 - m) / (2.0 * p * u);
    const double ks = Divide(eurRef, 3.0 * (1.0 - 2.0 * nuUr), "Ks");
    result.KsKc = 1.0 + Divide(ks, h, "KsKc");
    return result;
}

} // namespace tw
