#pragma once
// Hoek-Brown rock after the generalised criterion of Hoek, Carranza-Torres and Corkum (2002),
// "Hoek-Brown failure criterion - 2002 edition", NARMS-TAC: with compression positive and any
// two principal stresses s_i >= s_j, f = s_i - s_j - sigma_ci (mb s_j / sigma_ci + s)^a, perfectly
// plastic on linear elasticity. The flow is that of a Mohr-Coulomb potential with the dilatancy
// mobilised by the minor stress after Benz, Schwab, Kauther and Vermeer (2008), "A Hoek-Brown
// criterion with intrinsic material strength factorization", Int. J. Rock Mech. Min. Sci. 45:
// psi_max in tension, falling linearly to 0 at s_j = sigma_psi. A tension cut-off bounds every
// principal stress at the tensile strength, and never beyond the criterion's own isotropic
// tensile strength s sigma_ci / mb.

#include "ExplicitModel.h"

namespace tw::kernel {

struct THoekBrownParameters {
    double G = 0.0;
    double Nu = 0.0;
    double SigmaCi = 0.0; // uniaxial compressive strength of the intact rock
    double Mb = 0.0;
    double S = 1.0;
    double A = 0.5;
    double SinPsiMax = 0.0;
    double SigmaPsi = 0.0;
    bool TensionCutOff = false;
    double TensileStrength = 0.0;
};

class THoekBrown final : public TExplicitModel {
public:
    explicit THoekBrown(const THoekBrownParameters& parameters);

    double YieldValue(const Vec6& stress) const override;
    double StrengthScale() const override { return FP.SigmaCi; }
    double ShearModulus() const override { return FP.G; }
    // The major principal stress at failure for a minor one (compression positive).
    double Strength(double minor) const;

protected:
    const char* Elasticity(const TModelPoint& point, TEigenCache& cache,
                           TModuli& moduli) const override;
    int Mechanisms(const TModelPoint& point, const Vec6* loading, TEigenCache& cache,
                   TMechanism* mechanisms) const override;
    std::array<int, MaxHardening> HardeningPlaces() const override { return {-1, -1}; }
    double StressScale() const override { return FP.SigmaCi; }
    THardening HardeningScale() const override { return THardening(1.0, 1.0); }

private:
    double SinPsi(double minor) const;

    THoekBrownParameters FP;
    double FTension; // the cut-off that acts, as a tensile stress
    double FK;
};

} // namespace tw::kernel
