#include "HardeningSoil.h"

#include <algorithm>
#include <cmath>

namespace tw::kernel {

namespace {

// The stiffness does not fall below this share of the reference (to the power m): a sample at
// no stress, or in tension, still has stiffness.
constexpr double SmallestStiffnessBase = 0.01;
// Hardin-Drnevich constant of the small-strain law: the secant modulus at gamma07 is
// G0 / (1 + 0.385) = 0.722 G0 (Benz 2007).
constexpr double SmallStrainA = 0.385;
constexpr double Inactive = -HUGE_VAL;

// The mechanisms of the shear surface, the cap and the failure surface are taken for every
// ordering of the principal stresses, not only the sorted one: where two or three principal
// stresses are equal (an edge, the hydrostatic axis) their directions are arbitrary, and only the
// orderings of all of them let Koiter's rule pick what the loading makes act. An ordering against
// the sorted one lies inside the surface.
// The shear pairs are the ordered pairs (PairMajor, PairMinor); the cap's qt takes the
// orderings (major, intermediate, minor) in the same order.
constexpr int CapMiddle[6] = {1, 2, 0, 2, 0, 1};
// Where each family stands in the list of mechanisms.
constexpr int ShearFirst = 0, CapFirst = 6, FailureFirst = 12, Count = 21;

// A gradient or flow of principal components in Voigt form. The pair taken alike is summed
// first, so that the orderings that differ only by swapping it give the same vector to the last
// bit: then they count as one mechanism, not as two that make the system of multipliers
// singular.
Vec6 Voigt(const TPrincipalStress& p, const Vec3& v) {
    const auto& d = p.Derivative;
    if (p.Alike == 0)
        return (v(0) * d[0] + v(1) * d[1]) + v(2) * d[2];
    return v(0) * d[0] + (v(1) * d[1] + v(2) * d[2]);
}

// The deviatoric part of a Voigt strain (engineering shears) and the shear strain measure
// gamma = sqrt(2 e:e), which is the engineering shear strain of simple shear.
Vec6 Deviatoric(const Vec6& strain) {
    const double mean = (strain(0) + strain(1) + strain(2)) / 3.0;
    Vec6 e = strain;
    for (int i = 0; i < 3; ++i)
        e(i) -= mean;
    return e;
}
double ShearStrain(const Vec6& e) {
    const double normal = e(0) * e(0) + e(1) * e(1) + e(2) * e(2);
    const double shear = e(3) * e(3) + e(4) * e(4) + e(5) * e(5);
    return std::sqrt(2.0 * normal + shear);
}

// x^m, with the usual powers of soils taken without pow (it is evaluated many times a step).
double Power(double x, double m) {
    if (m == 0.5)
        return std::sqrt(x);
    if (m == 1.0)
        return x;
    if (m == 0.0)
        return 1.0;
    return std::pow(x, m);
}

} // namespace

THardeningSoil::THardeningSoil(const THardeningSoilParameters& p) : FP(p) {
    FCosPhi = std::sqrt(std::max(0.0, 1.0 - p.SinPhi * p.SinPhi));
    FSinPhiCv = (p.SinPhi - p.SinPsi) / (1.0 - p.SinPhi * p.SinPsi);
    FDelta = (3.0 + p.SinPhi) / (3.0 - p.SinPhi);
    FEiRef = 2.0 * p.E50Ref / (2.0 - p.Rf);
    const double ks = p.EurRef / (3.0 * (1.0 - 2.0 * p.NuUr));
    FH = ks / (p.KsKc - 1.0);
    FFailureFactor = 2.0 / (1.0 - p.SinPhi);
    FInverseRf = 1.0 / p.Rf;
    FAsymptoteSlope = 2.0 * p.SinPhi / ((1.0 - p.SinPhi) * p.Rf);
    FEurRefInverse = 1.0 / p.EurRef;
    // Without strength the stiffness follows s3 itself.
    const double cc = p.Cohesion * FCosPhi;
    const double reference = cc + p.PRef * p.SinPhi;
    FStiffnessOffset = reference > 0.0 ? cc : 0.0;
    FStiffnessSlope = reference > 0.0 ? p.SinPhi : 1.0;
    FStiffnessScale = reference > 0.0 ? reference : p.PRef;
    // The stiffness law's pressure s3 + c cot phi (s3 itself without friction) does not fall
    // below the floor, and a normally consolidated sample at zero stress starts with the cap of
    // the floor: a cap of almost no size hardens almost not at all (H (pp / p_ref)^m), and the
    // first load from zero stress would take endless substeps to grow it.
    const double floorBase =
        reference > 0.0 ? p.PressureFloor * p.SinPhi / reference : p.PressureFloor / p.PRef;
    FSmallestBase = std::max(SmallestStiffnessBase, floorBase);
    FSmallestStiffness = Power(FSmallestBase, p.PowerM);
    FSmallestCap = p.PressureFloor;
    for (int k = 0; k < 6; ++k) {
        FCapDirection[k] = Vec3::Zero();
        FCapDirection[k](PairMajor[k]) = 1.0;
        FCapDirection[k](CapMiddle[k]) = FDelta - 1.0;
        FCapDirection[k](PairMinor[k]) = -FDelta;
    }
}

double THardeningSoil::StiffnessFactor(double s3, double* derivative) const {
    if (derivative)
        *derivative = 0.0;
    if (FP.PowerM == 0.0)
        return 1.0;
    const double base = (FStiffnessOffset + s3 * FStiffnessSlope) / FStiffnessScale;
    if (base <= FSmallestBase)
        return FSmallestStiffness;
    const double f = Power(base, FP.PowerM);
    if (derivative)
        *derivative = FP.PowerM * f / base * FStiffnessSlope / FStiffnessScale;
    return f;
}

double THardeningSoil::ShearFunction(const Vec3& s, int i, int j) const {
    const double qf = 2.0 * (s(j) * FP.SinPhi + FP.Cohesion * FCosPhi) / (1.0 - FP.SinPhi);
    if (!(qf > 0.0) || s(i) < s(j))
        return 0.0;
    const double qa = qf / FP.Rf;
    const double x = std::min({s(i) - s(j), qf, 0.999 * qa});
    const double f3 = StiffnessFactor(s(j));
    return (2.0 * x / (FEiRef * (1.0 - x / qa)) - 2.0 * x / FP.EurRef) / f3;
}

double THardeningSoil::MobilisedDilatancy(const Vec3& s, double voidRatio) const {
    if (!(FP.SinPhi > 0.0))
        return 0.0;
    const double denominator = s(0) + s(2) + 2.0 * FP.Cohesion * FCosPhi / FP.SinPhi;
    const double sinPhiM =
        denominator > 0.0 ? std::clamp((s(0) - s(2)) / denominator, 0.0, FP.SinPhi) : FP.SinPhi;
    double sinPsiM = (sinPhiM - FSinPhiCv) / (1.0 - sinPhiM * FSinPhiCv);
    if (FP.SinPsi >= 0.0)
        sinPsiM = std::max(sinPsiM, 0.0);
    // At the loosest state the soil dilates no more.
    if (FP.MaxVoidRatio > 0.0 && voidRatio >= FP.MaxVoidRatio)
        sinPsiM = std::min(sinPsiM, 0.0);
    return std::clamp(sinPsiM, -0.99, 0.99);
}

const char* THardeningSoil::Elasticity(const TModelPoint& point, TEigenCache& cache,
                                       TModuli& moduli) const {
    cache.Compute(point.Stress);
    const double f3 = StiffnessFactor(-cache.Values(2)); // the minor principal stress
    const double gur = FP.EurRef / (2.0 * (1.0 + FP.NuUr)) * f3;
    double g = gur;
    if (FP.SmallStrain) {
        Vec6 e;
        for (int i = 0; i < 6; ++i)
            e(i) = point.History[hReversalStrain + i];
        const double gamma = ShearStrain(e);
        const double branch = std::max(point.History[hBranch], 1.0);
        const double ratio = 1.0 + SmallStrainA * gamma / (branch * FP.Gamma07);
        g = std::max(FP.G0Ref * f3 / (ratio * ratio), gur);
    }
    moduli.G = g;
    moduli.K = 2.0 * g * (1.0 + FP.NuUr) / (3.0 * (1.0 - 2.0 * FP.NuUr));
    return nullptr;
}

int THardeningSoil::Mechanisms(const TModelPoint& point, const Vec6* loading, TEigenCache& cache,
                               TMechanism* m) const {
    const TPrincipalStress principal(point.Stress, loading, &cache);
    const Vec3& s = principal.S;
    const double gammaP = point.History[hGammaP];
    const double pp = std::max(point.History[hCapPressure], FSmallestCap);
    const double voidRatio =
        FP.InitialVoidRatio + (1.0 + FP.InitialVoidRatio) * point.History[hVolume];
    const double sinPsiM = MobilisedDilatancy(s, voidRatio);
    const double sinPhi = FP.SinPhi;
    const double cc = FP.Cohesion * FCosPhi;
    // The stiffness factor of each principal stress, and the cap's hardening, once.
    double stiffness[3], slope[3];
    for (int i = 0; i < 3; ++i)
        stiffness[i] = StiffnessFactor(s(i), &slope[i]);
    const double capHardening = FH * Power(pp / FP.PRef, FP.PowerM);
    // Mechanisms this far inside cannot act within an increment's tolerance: their gradients
    // are not worked out (they are evaluated many times a step).
    const double far = -1e-3 * (s.cwiseAbs().maxCoeff() + FP.PRef);

    for (int k = 0; k < 6; ++k) {
        // An ordering that swaps the pair taken alike of one before: the same mechanisms.
        if (const int twin = principal.SwappedPair(k); twin < k) {
            m[ShearFirst + k] = m[ShearFirst + twin];
            m[CapFirst + k] = m[CapFirst + twin];
            continue;
        }
        const int i = PairMajor[k], j = PairMinor[k];
        // The flow of a shear pair: d gamma_p is its multiplier.
        Vec3 b = Vec3::Zero();
        b(i) = 0.5 * (1.0 - sinPsiM);
        b(j) = -0.5 * (1.0 + sinPsiM);

        // Shear hardening, scaled by Eur to stress units.
        TMechanism& shear = m[ShearFirst + k];
        // The stiffness of a pair follows its minor stress, so that the pairs of an edge
        // (s2 = s3) are alike whatever principal directions the edge is given.
        const double df3 = slope[j];
        const double f3 = stiffness[j];
        const double eur = FP.EurRef * f3;
        const double ei = FEiRef * f3;
        const double qf = (s(j) * sinPhi + cc) * FFailureFactor;
        // A pair in the order against its stresses (q < 0) does not act: its hyperbola is not
        // defined there.
        if (qf > 0.0 && s(i) >= s(j)) {
            // (Divisions are few here: the mechanisms are evaluated many times a step.)
            const double qa = qf * FInverseRf;
            const double dqa = FAsymptoteSlope;
            const double q = s(i) - s(j);
            const double limit = std::min(qf, 0.999 * qa);
            const bool clamped = q > limit;
            const double x = clamped ? limit : q;
            const double r = 1.0 - x / qa;
            const double eiR = 1.0 / (ei * r); // 1 / (Ei r)
            const double eurInverse = FEurRefInverse / f3;
            const double fbar = 2.0 * x * (eiR - eurInverse);
            const double dx = 2.0 * (eiR / r - eurInverse);
            const double xOverQa = x / qa;
            const double dqaTerm = -2.0 * xOverQa * xOverQa * eiR / r;
            Vec3 a = Vec3::Zero();
            if (clamped) {
                const double dlimit = qf < 0.999 * qa ? dqa * FP.Rf : 0.999 * dqa;
                a(j) += dx * dlimit;
            } else {
                a(i) += dx;
                a(j) -= dx;
            }
            a(j) += dqaTerm * dqa;
            a(j) += -fbar / f3 * df3;
            // Where f-bar falls as q grows (Ei above Eur, near q = 0) the surface is met only at
            // q = 0 and any shearing from there is elastic: the pair does not act.
            const double f = !clamped && dx <= 0.0 ? Inactive : (fbar - gammaP) * eur;
            if (f < far) {
                shear.SetInactive();
            } else {
                shear.A = Voigt(principal, eur * a);
                shear.B = Voigt(principal, b);
                shear.DFDH = THardening(-eur, 0.0);
                shear.Rate = THardening(1.0, 0.0);
            }
            shear.F = f;
        } else {
            // At the apex of the cone (zero stress without cohesion) the surface has no size:
            // its function stays finite, a floor's pressure inside, so that a substep from here
            // cuts where the surface starts to act.
            shear.SetInactive();
            shear.F = -FP.PressureFloor;
        }

        // The cap in this ordering.
        TMechanism& cap = m[CapFirst + k];
        const int ma = PairMajor[k], mi = CapMiddle[k], mn = PairMinor[k];
        // An ordering against the sorted one may give qt below 0; it counts as 0 there (the
        // cap's deviatoric measure of that ordering is not reached).
        const double qt = std::max(s(ma) + (FDelta - 1.0) * s(mi) - FDelta * s(mn), 0.0);
        const double p = (s(0) + s(1) + s(2)) / 3.0;
        const double alpha2 = FP.CapM * FP.CapM;
        const double p2 = qt * qt / alpha2 + p * p;
        const Vec3 dqt = qt > 0.0 ? FCapDirection[k] : Vec3::Zero();
        const Vec3 ac = (qt / alpha2 * dqt + Vec3::Constant(p / 3.0)) / pp;
        cap.F = 0.5 * (p2 / pp - pp);
        if (cap.F < far) {
            const double f = cap.F;
            cap.SetInactive();
            cap.F = f;
            continue;
        }
        cap.A = Voigt(principal, ac);
        cap.B = cap.A;
        cap.DFDH = THardening(0.0, -0.5 * p2 / (pp * pp) - 0.5);
        cap.Rate = THardening(0.0, capHardening * p / pp);
    }
    // Mohr-Coulomb failure, with the same flow and feeding the same gamma_p, and the cut-off.
    MohrCoulombMechanisms(principal, sinPhi, FP.Cohesion, sinPsiM, FP.TensionCutOff,
                          FP.TensileStrength, THardening(1.0, 0.0), m + FailureFirst, far);
    return Count;
}

void THardeningSoil::BeginIncrement(THistory& history, const Vec6& strainIncrement) const {
    if (!FP.SmallStrain)
        return;
    // A reversal: the increment turns back against the strain since the last one.
    const Vec6 de = Deviatoric(strainIncrement);
    double dot = 0.0;
    for (int i = 0; i < 3; ++i)
        dot += de(i) * history[hReversalStrain + i];
    for (int i = 3; i < 6; ++i)
        dot += 0.5 * de(i) * history[hReversalStrain + i];
    if (dot < 0.0) {
        for (int i = 0; i < 6; ++i)
            history[hReversalStrain + i] = 0.0;
        history[hBranch] = 2.0;
    }
}

void THardeningSoil::AddStrain(THistory& history, const Vec6& strainIncrement) const {
    history[hVolume] += strainIncrement(0) + strainIncrement(1) + strainIncrement(2);
    if (!FP.SmallStrain)
        return;
    const Vec6 de = Deviatoric(strainIncrement);
    for (int i = 0; i < 6; ++i)
        history[hReversalStrain + i] += de(i);
}

double THardeningSoil::CapPressure(const Vec6& stress) const {
    const Vec3 s = TPrincipalStress(stress).S;
    const double qt = s(0) + (FDelta - 1.0) * s(1) - FDelta * s(2);
    const double p = (s(0) + s(1) + s(2)) / 3.0;
    return std::sqrt(qt * qt / (FP.CapM * FP.CapM) + p * p);
}

void THardeningSoil::Initialise(TModelPoint& point) const {
    point.History.fill(0.0);
    const Vec3 s = TPrincipalStress(point.Stress).S;
    // The shear surface and the cap pass through the initial stress, or lie where the
    // preconsolidation put the cap.
    double gammaP = 0.0;
    for (int k = 0; k < 6; ++k)
        gammaP = std::max(gammaP, ShearFunction(s, PairMajor[k], PairMinor[k]));
    point.History[hGammaP] = gammaP;
    point.History[hCapPressure] =
        std::max({Preconsolidation(), CapPressure(point.Stress), FSmallestCap});
    point.History[hBranch] = 1.0;
}

double THardeningSoil::YieldValue(const Vec6& stress) const {
    return MohrCoulombYield(TPrincipalStress(stress).S, FP.SinPhi, FP.Cohesion, FP.TensionCutOff,
                            FP.TensileStrength);
}

double THardeningSoil::StrengthScale() const {
    return FP.Cohesion + FP.TensileStrength;
}

double THardeningSoil::ShearModulus() const {
    return FP.SmallStrain ? FP.G0Ref : FP.EurRef / (2.0 * (1.0 + FP.NuUr));
}

} // namespace tw::kernel
