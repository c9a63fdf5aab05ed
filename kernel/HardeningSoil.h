#pragma once
// Hardening Soil after Schanz, Vermeer and Bonnier (1999), "The hardening soil model:
// formulation and verification", Beyond 2000 in Computational Geotechnics, Balkema, and its
// small-strain overlay HS small after Benz (2007), "Small-strain stiffness of soils and its
// numerical consequences", PhD thesis, Universitaet Stuttgart.
//
// Compression positive inside the model, principal effective stresses s1 >= s2 >= s3:
// - stiffness E = E_ref F(s3), F = ((c cos phi + s3 sin phi) / (c cos phi + p_ref sin phi))^m,
//   not below E_ref (1/100)^m nor below its value where s3 + c cot phi is the pressure floor;
//   unloading and reloading with Eur and nu_ur;
// - shear hardening f = (2 / Ei) q / (1 - q / qa) - 2 q / Eur - gamma_p for each pair of principal
//   stresses (q = s_i - s_j, qa = qf(s_j) / Rf, the stiffnesses at F(s_j), which is F(s3) for the
//   pair that governs), Ei = 2 E50 / (2 - Rf), so that drained primary
//   loading follows the hyperbola eps1 = q / (Ei (1 - q / qa)); gamma_p grows by the multiplier
//   of every shear mechanism (in triaxial compression that is eps1 - eps2 - eps3 of the plastic
//   strains), flow with the mobilised dilatancy after Rowe, sin psi_m = (sin phi_m - sin phi_cv) /
//   (1 - sin phi_m sin phi_cv), not below 0 when psi >= 0, and 0 once the void ratio reaches
//   e_max (the dilatancy cut-off);
// - the cap fc = qt^2 / M^2 + p^2 - pp^2, qt = s1 + (d - 1) s2 - d s3, d = (3 + sin phi) /
//   (3 - sin phi), associated, hardening d pp = H (pp / p_ref)^m d eps_v^pc with
//   H = Ks / (Ks/Kc - 1), Ks = Eur_ref / (3 (1 - 2 nu_ur)) (M and Ks/Kc as the material's cap
//   iteration fits them to K0nc and EOedRef);
// - Mohr-Coulomb failure with the same dilatancy, and the tension cut-off.
// HS small replaces the elastic shear modulus by the tangent of the hyperbolic small-strain law
// G = G0 / (1 + 0.385 gamma / gamma07)^2 (so that the secant is G0 / (1 + 0.385 gamma /
// gamma07)), not below Gur, with gamma the shear strain since the last reversal of the strain
// path and, after a reversal, gamma07 doubled (Masing's rule).

#include "ExplicitModel.h"

namespace tw::kernel {

struct THardeningSoilParameters {
    double EurRef = 0.0; // pressure unit
    double NuUr = 0.2;
    double E50Ref = 0.0;
    double PowerM = 0.5;
    double PRef = 100.0;
    double Rf = 0.9;
    double SinPhi = 0.0;
    double Cohesion = 0.0;
    double SinPsi = 0.0;
    bool TensionCutOff = false;
    double TensileStrength = 0.0;
    double CapM = 1.0; // alpha of the cap
    double KsKc = 2.0;
    double K0nc = 0.5;
    double InitialVoidRatio = 0.0;
    double MaxVoidRatio = 0.0; // 0: no dilatancy cut-off
    bool SmallStrain = false;  // HS small
    double G0Ref = 0.0;
    double Gamma07 = 0.0;
    // The smallest pressure of the stiffness law (s3 + c cot phi, or s3 without friction) and of
    // the initial cap, pressure unit (1 kPa of the file's unit, chosen where the model is read):
    // a sample at zero stress starts with the stiffness and the normally consolidated cap of
    // this pressure.
    double PressureFloor = 1.0;
};

class THardeningSoil final : public TExplicitModel, public ICapModel {
public:
    explicit THardeningSoil(const THardeningSoilParameters& parameters);

    // Places of the history.
    enum {
        hGammaP = 0,     // shear hardening parameter
        hCapPressure,    // pp
        hVolume,         // volumetric strain since the start (tension positive)
        hReversalStrain, // HS small: 6 places, the deviatoric strain since the last reversal
        hBranch = hReversalStrain + 6 // HS small: 1 on the virgin path, 2 after a reversal
    };

    void Initialise(TModelPoint& point) const override;
    double YieldValue(const Vec6& stress) const override;
    double StrengthScale() const override;
    double ShearModulus() const override;
    double CapPressure(const Vec6& stress) const override;
    double K0nc() const override { return FP.K0nc; }

    // The shear hardening function f-bar of the pair (i, j) at principal stresses s (compression
    // positive): the value that gamma_p takes on the surface through them.
    double ShearFunction(const Vec3& s, int i, int j) const;
    // sin psi_m of the mobilised dilatancy at principal stresses s and a void ratio.
    double MobilisedDilatancy(const Vec3& s, double voidRatio) const;
    // The stiffness factor F(s3).
    double StiffnessFactor(double s3, double* derivative = nullptr) const;

protected:
    const char* Elasticity(const TModelPoint& point, TEigenCache& cache,
                           TModuli& moduli) const override;
    int Mechanisms(const TModelPoint& point, const Vec6* loading, TEigenCache& cache,
                   TMechanism* mechanisms) const override;
    std::array<int, MaxHardening> HardeningPlaces() const override {
        return {hGammaP, hCapPressure};
    }
    void BeginIncrement(THistory& history, const Vec6& strainIncrement) const override;
    void AddStrain(THistory& history, const Vec6& strainIncrement) const override;
    double StressScale() const override { return FP.PRef; }
    THardening HardeningScale() const override { return THardening(1.0, FP.PRef); }

private:
    THardeningSoilParameters FP;
    double FCosPhi;
    double FSinPhiCv;
    double FDelta;
    double FEiRef;
    double FH;            // cap hardening modulus
    double FSmallestBase; // of the stiffness law
    double FSmallestCap;
    // Of the shear hardening: qf = (s3 sin phi + c cos phi) FFailureFactor, qa = qf FInverseRf,
    // d qa / d s3 = FAsymptoteSlope, and 1 / Eur_ref.
    double FFailureFactor;
    double FInverseRf;
    double FAsymptoteSlope;
    double FEurRefInverse;
    // F(s3) = ((offset + s3 slope) / scale)^m, not below FSmallestStiffness (worked out once: it
    // is evaluated many times a step).
    double FStiffnessOffset;
    double FStiffnessSlope;
    double FStiffnessScale;
    double FSmallestStiffness;
    // d qt / d s of the cap in each ordering of the principal stresses (worked out once: the
    // mechanisms are evaluated many times a step).
    Vec3 FCapDirection[6];
};

} // namespace tw::kernel
