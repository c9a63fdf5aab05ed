#pragma once
// The critical-state family, in the modified indices lambda* and kappa* of ln p' (isotropic
// compression eps_v = lambda* ln(p' / p'0), swelling kappa*), with compression positive inside:
// - Modified Cam-Clay after Roscoe and Burland (1968), "On the generalized stress-strain
//   behaviour of 'wet' clay": the ellipse f = q^2 / M^2 + p (p - pc), associated flow, hardening
//   d pc / pc = d eps_v^p / (lambda* - kappa*), elasticity K = p / kappa* with nu_ur;
// - Soft Soil: the same cap (with p + c cot phi in the deviatoric term), bounded by Mohr-Coulomb
//   failure with dilatancy psi and the tension cut-off;
// - Soft Soil Creep after Vermeer and Neher (1999), "A soft soil model that accounts for
//   creep", Beyond 2000 in Computational Geotechnics: no cap, all irreversible volume is creep,
//   d eps_v^c / dt = mu* / tau (p_eq / p_p)^((lambda* - kappa*) / mu*), with p_eq the ellipse
//   through the stress and p_p hardened by the creep volume as pc is by the plastic one; flow
//   normal to the ellipse; the same failure and cut-off as Soft Soil.

#include "ExplicitModel.h"

namespace tw::kernel {

struct TCamClayParameters {
    enum TKind { ModifiedCamClay, SoftSoil, SoftSoilCreep };
    TKind Kind = ModifiedCamClay;
    double LambdaStar = 0.0;
    double KappaStar = 0.0;
    double M = 1.0;
    double NuUr = 0.15;
    double K0nc = 0.5;
    // Soft Soil and Soft Soil Creep
    double SinPhi = 0.0;
    double Cohesion = 0.0;
    double SinPsi = 0.0;
    bool TensionCutOff = false;
    double TensileStrength = 0.0;
    // Soft Soil Creep
    double MuStar = 0.0;
    double Tau = 1.0; // reference time, time unit of the file
    double StressScale = 1.0;
    // The smallest mean stress of the stiffness and of the initial cap, pressure unit (1 kPa of
    // the file's unit, chosen where the model is read): a sample at zero stress starts with the
    // stiffness and the normally consolidated cap of this pressure.
    double PressureFloor = 1.0;
};

class TCamClay final : public TExplicitModel, public ICapModel {
public:
    explicit TCamClay(const TCamClayParameters& parameters);

    enum { hCapPressure = 0 }; // pc, or p_p of creep

    void Initialise(TModelPoint& point) const override;
    double YieldValue(const Vec6& stress) const override;
    double StrengthScale() const override;
    double ShearModulus() const override;
    bool IsTimeDependent() const override { return FP.Kind == TCamClayParameters::SoftSoilCreep; }
    double CapPressure(const Vec6& stress) const override;
    double K0nc() const override { return FP.K0nc; }
    const char* InitialStateFault(const Vec6& stress) const override;

protected:
    const char* Elasticity(const TModelPoint& point, TEigenCache& cache,
                           TModuli& moduli) const override;
    int Mechanisms(const TModelPoint& point, const Vec6* loading, TEigenCache& cache,
                   TMechanism* mechanisms) const override;
    std::array<int, MaxHardening> HardeningPlaces() const override { return {hCapPressure, -1}; }
    bool Creep(const TModelPoint& point, double timeIncrement, Vec6& strain,
               THardening& hardening) const override;
    void CreepTangent(const TModelPoint& point, double timeIncrement, const TModuli& moduli,
                      Mat6& tangent) const override;
    double StressScale() const override { return FP.StressScale; }
    THardening HardeningScale() const override { return THardening(FP.StressScale, 1.0); }

private:
    // The ellipse through a stress: p_eq = p + q^2 / (M^2 (p + c cot phi)), with its gradient
    // with respect to the Voigt stress and d p_eq / d p.
    double EquivalentPressure(const TInvariants& invariants, Vec6* gradient = nullptr,
                              double* dp = nullptr) const;

    // The creep of Soft Soil Creep at a point: the volumetric rate r (compression positive,
    // per time unit), the direction of the creep strain per unit of r (normal to the ellipse),
    // p_eq with its gradient, and the exponent beta = (lambda* - kappa*) / mu*. False where the
    // mean stress leaves no ellipse.
    struct TCreepRate {
        double Rate, EquivalentPressure, Beta;
        Vec6 Direction, Gradient;
    };
    bool CreepRate(const TModelPoint& point, TCreepRate& creep) const;

    TCamClayParameters FP;
    double FShift; // c cot phi, where the cap's deviatoric term counts from
    double FCosPhi;
};

} // namespace tw::kernel
