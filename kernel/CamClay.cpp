#include "CamClay.h"

#include <algorithm>
#include <cmath>

namespace tw::kernel {

namespace {

const char* const NoMeanStress = "the mean effective stress has reached tension beyond c' "
                                 "cot(phi') (any tension without cohesion), which this model "
                                 "cannot take";
// Where the normal of the ellipse turns upright (at the critical state line) the creep volume
// of Vermeer and Neher has no direction; d p_eq / d p is kept from falling below this there,
// so the creep stays finite (failure normally bounds the stress first).
constexpr double SmallestVolumetricNormal = 0.05;

} // namespace

TCamClay::TCamClay(const TCamClayParameters& p) : FP(p) {
    FCosPhi = std::sqrt(std::max(0.0, 1.0 - p.SinPhi * p.SinPhi));
    FShift = p.Kind != TCamClayParameters::ModifiedCamClay && p.SinPhi > 0.0
                 ? p.Cohesion * FCosPhi / p.SinPhi
                 : 0.0;
}

double TCamClay::EquivalentPressure(const TInvariants& v, Vec6* gradient, double* dp) const {
    const double pc = v.P + FShift;
    const double m2 = FP.M * FP.M;
    const double peq = v.P + v.Q * v.Q / (m2 * pc);
    const double dpeq = 1.0 - v.Q * v.Q / (m2 * pc * pc);
    if (gradient)
        *gradient = dpeq * v.DP + 2.0 * v.Q / (m2 * pc) * v.DQ;
    if (dp)
        *dp = dpeq;
    return peq;
}

const char* TCamClay::Elasticity(const TModelPoint& point, TEigenCache&, TModuli& moduli) const {
    const double p = -(point.Stress(0) + point.Stress(1) + point.Stress(2)) / 3.0;
    if (!(p + FShift >= 0.0))
        return NoMeanStress;
    // Below the floor (at zero stress, or in the tension the cohesion carries) the stiffness is
    // that of the floor: K = p / kappa* has none at zero.
    moduli.K = std::max(p, FP.PressureFloor) / FP.KappaStar;
    moduli.G = 1.5 * moduli.K * (1.0 - 2.0 * FP.NuUr) / (1.0 + FP.NuUr);
    return nullptr;
}

int TCamClay::Mechanisms(const TModelPoint& point, const Vec6* loading, TEigenCache& cache,
                         TMechanism* m) const {
    int count = 0;
    if (FP.Kind != TCamClayParameters::SoftSoilCreep) {
        const TInvariants v(point.Stress);
        TMechanism& cap = m[count++];
        const double pc = point.History[hCapPressure];
        if (v.P + FShift > 0.0) {
            double dp = 0.0;
            cap.F = EquivalentPressure(v, &cap.A, &dp) - pc;
            cap.B = cap.A;
            cap.DFDH = THardening(-1.0, 0.0);
            // d pc = pc / (lambda* - kappa*) d eps_v^p, and d eps_v^p = dp per multiplier.
            cap.Rate = THardening(pc / (FP.LambdaStar - FP.KappaStar) * dp, 0.0);
        } else {
            // At the apex of the ellipse's deviatoric term (zero stress for Modified Cam-Clay)
            // the cap is not reached, but its function stays finite, -pc as at p = q = 0: a
            // substep from here cuts where the cap starts to act, as from any stress inside.
            cap.SetInactive();
            cap.F = -pc;
        }
    }
    if (FP.Kind != TCamClayParameters::ModifiedCamClay) {
        const TPrincipalStress principal(point.Stress, loading, &cache);
        MohrCoulombMechanisms(principal, FP.SinPhi, FP.Cohesion, FP.SinPsi, FP.TensionCutOff,
                              FP.TensileStrength, THardening::Zero(), m + count);
        count += 9;
    }
    return count;
}

bool TCamClay::CreepRate(const TModelPoint& point, TCreepRate& creep) const {
    const TInvariants v(point.Stress);
    if (!(v.P + FShift > 0.0))
        return false;
    double dp = 0.0;
    creep.EquivalentPressure = EquivalentPressure(v, &creep.Gradient, &dp);
    creep.Direction = creep.Gradient / std::max(dp, SmallestVolumetricNormal);
    const double pp = point.History[hCapPressure];
    creep.Beta = (FP.LambdaStar - FP.KappaStar) / FP.MuStar;
    creep.Rate = FP.MuStar / FP.Tau * std::pow(creep.EquivalentPressure / pp, creep.Beta);
    return true;
}

bool TCamClay::Creep(const TModelPoint& point, double dt, Vec6& strain,
                     THardening& hardening) const {
    if (FP.Kind != TCamClayParameters::SoftSoilCreep)
        return false;
    TCreepRate creep;
    if (!CreepRate(point, creep)) {
        strain.setZero();
        hardening.setZero();
        return true;
    }
    const double volume = creep.Rate * dt; // compression positive
    strain = volume * creep.Direction;
    hardening =
        THardening(point.History[hCapPressure] / (FP.LambdaStar - FP.KappaStar) * volume, 0.0);
    return true;
}

void TCamClay::CreepTangent(const TModelPoint& point, double dt, const TModuli&,
                            Mat6& tangent) const {
    if (FP.Kind != TCamClayParameters::SoftSoilCreep)
        return;
    // Over the increment the creep rate r grows with p_eq (to the power beta) and falls as
    // p_p hardens: linearised, d(creep) = dt m dr, dr = w.d(sigma) / (1 + r dt / mu*),
    // w = r beta / p_eq grad(p_eq), so the tangent loses the rank-one part
    // (T m)(w^T T) dt / (1 + r dt / mu* + dt w.T m).
    TCreepRate creep;
    if (!CreepRate(point, creep))
        return;
    const double r = creep.Rate;
    const Vec6& m = creep.Direction;
    const Vec6 w = r * creep.Beta / creep.EquivalentPressure * creep.Gradient;
    const Vec6 tm = tangent * m;
    const Eigen::Matrix<double, 1, 6> wt = w.transpose() * tangent;
    const double denominator = 1.0 + r * dt / FP.MuStar + dt * w.dot(tm);
    if (std::isfinite(denominator) && denominator > 0.0)
        tangent -= (dt / denominator) * tm * wt;
}

double TCamClay::CapPressure(const Vec6& stress) const {
    const TInvariants v(stress);
    if (!(v.P + FShift > 0.0))
        return 0.0;
    return EquivalentPressure(v);
}

const char* TCamClay::InitialStateFault(const Vec6& stress) const {
    // Zero stress is a start (the stiffness and the cap take the floor there); tension only as
    // far as c' cot(phi') reaches, which Modified Cam-Clay has none of.
    const double p = -(stress(0) + stress(1) + stress(2)) / 3.0;
    if (p + FShift >= 0.0)
        return nullptr;
    return FShift > 0.0 ? "the initial mean effective stress is tensile beyond c' cot(phi'), "
                          "which this model cannot take"
                        : "the initial mean effective stress must not be tensile (below 0) for "
                          "this model";
}

void TCamClay::Initialise(TModelPoint& point) const {
    point.History.fill(0.0);
    // A normally consolidated sample at a mean stress below the floor starts with the cap (or
    // the p_p of creep) of the floor.
    point.History[hCapPressure] =
        std::max({Preconsolidation(), CapPressure(point.Stress), FP.PressureFloor});
}

double TCamClay::YieldValue(const Vec6& stress) const {
    if (FP.Kind == TCamClayParameters::ModifiedCamClay)
        return -1.0;
    return MohrCoulombYield(TPrincipalStress(stress).S, FP.SinPhi, FP.Cohesion, FP.TensionCutOff,
                            FP.TensileStrength);
}

double TCamClay::StrengthScale() const {
    return FP.Cohesion + FP.TensileStrength;
}

double TCamClay::ShearModulus() const {
    // At the stress scale: the stiffness grows with the mean stress.
    const double k = FP.StressScale / FP.KappaStar;
    return 1.5 * k * (1.0 - 2.0 * FP.NuUr) / (1.0 + FP.NuUr);
}

} // namespace tw::kernel
