#include "HoekBrown.h"

#include <algorithm>
#include <cmath>

namespace tw::kernel {

THoekBrown::THoekBrown(const THoekBrownParameters& p) : FP(p) {
    const double own = p.S * p.SigmaCi / p.Mb;
    FTension = p.TensionCutOff ? std::min(p.TensileStrength, own) : own;
    FK = BulkModulus(p.G, p.Nu);
}

double THoekBrown::Strength(double minor) const {
    const double argument = std::max(FP.Mb * minor / FP.SigmaCi + FP.S, 0.0);
    return minor + FP.SigmaCi * std::pow(argument, FP.A);
}

double THoekBrown::SinPsi(double minor) const {
    if (minor <= 0.0)
        return FP.SinPsiMax;
    if (minor >= FP.SigmaPsi)
        return 0.0;
    // The angle falls linearly with the minor stress.
    const double psiMax = std::asin(FP.SinPsiMax);
    return std::sin(psiMax * (FP.SigmaPsi - minor) / FP.SigmaPsi);
}

const char* THoekBrown::Elasticity(const TModelPoint&, TEigenCache&, TModuli& moduli) const {
    moduli.G = FP.G;
    moduli.K = FK;
    return nullptr;
}

int THoekBrown::Mechanisms(const TModelPoint& point, const Vec6* loading, TEigenCache& cache,
                           TMechanism* m) const {
    const TPrincipalStress principal(point.Stress, loading, &cache);
    const Vec3& s = principal.S;
    // Near the criterion's apex its gradient grows without bound; the cut-off acts there.
    const double smallest = 1e-12 * std::max(FP.S, 1e-9);
    for (int k = 0; k < 6; ++k) {
        const int i = PairMajor[k], j = PairMinor[k];
        const double argument = std::max(FP.Mb * s(j) / FP.SigmaCi + FP.S, smallest);
        const double power = std::pow(argument, FP.A);
        TMechanism& mech = m[k];
        mech.F = s(i) - s(j) - FP.SigmaCi * power;
        const double dj = -1.0 - FP.A * FP.Mb * power / argument;
        mech.A = principal.Derivative[i] + dj * principal.Derivative[j];
        const double sinPsi = SinPsi(s(j));
        mech.B =
            principal.Derivative[i] - (1.0 + sinPsi) / (1.0 - sinPsi) * principal.Derivative[j];
        mech.DFDH.setZero();
        mech.Rate.setZero();
    }
    for (int k = 0; k < 3; ++k) {
        TMechanism& t = m[6 + k];
        t.F = -s(k) - FTension;
        t.A = -principal.Derivative[k];
        t.B = t.A;
        t.DFDH.setZero();
        t.Rate.setZero();
    }
    return 9;
}

double THoekBrown::YieldValue(const Vec6& stress) const {
    const Vec3 s = TPrincipalStress(stress).S;
    const double major = s.maxCoeff(), minor = s.minCoeff();
    return std::max(major - Strength(minor), -minor - FTension);
}

} // namespace tw::kernel
