// The elastic groups (Linear Elastic, Mohr-Coulomb and the elastic part of Hoek-Brown) and the
// Mohr-Coulomb failure criterion shared by many models.
//
// Isotropic elasticity (any textbook, e.g. Timoshenko and Goodier): E = 2 G (1 + nu),
// K = E / (3 (1 - 2 nu)), E_oed = 2 G (1 - nu) / (1 - 2 nu); wave speeds V_s = sqrt(G / rho),
// V_p = sqrt(E_oed / rho) with rho = gamma / g.

#include "materials/SoilMaterialXGroups.h"

#include <cmath>

namespace tw::soil {

namespace {

using F = TMXIPConfigurationFunctions;

double G(TMaterial m) {
    return I(m, "GRef");
}
double Nu(TMaterial m) {
    return I(m, "ElasticNu");
}

double ERef(TMaterial m) {
    return 2.0 * G(m) * (1.0 + Nu(m));
}

void SetERef(TKovMaterialX& m, double e) {
    SetI(m, "GRef", NamedDivide(e, 2.0 * (1.0 + Nu(m)), "E'_ref#"));
}

double EOed(TMaterial m) {
    const double nu = Nu(m);
    return TMaterialXTools::Divide(2.0 * G(m) * (1.0 - nu), 1.0 - 2.0 * nu);
}

void SetEOed(TKovMaterialX& m, double eOed) {
    const double nu = Nu(m);
    if (!IsZero(nu - 1.0))
        SetI(m, "GRef", eOed * (1.0 - 2.0 * nu) / (2.0 * (1.0 - nu)));
}

// A new Poisson's ratio keeps Young's modulus: G follows.
void SetNu(TKovMaterialX& m, double nu) {
    const double old = Nu(m);
    if (IsZero(nu - old))
        return;
    const double g = G(m);
    SetI(m, "ElasticNu", nu);
    SetI(m, "GRef", g * (1.0 + old) / (1.0 + nu));
}

double KRef(TMaterial m) {
    return BulkModulus(G(m), Nu(m), "K_ref#");
}

double Vs(TMaterial m) {
    const double gammaUnsat = U(m, "gammaUnsat");
    if (IsZero(gammaUnsat))
        return 0.0;
    const double radicand = G(m) * U(m, "GravityAcceleration") / gammaUnsat;
    if (IsZero(radicand))
        return 0.0;
    if (radicand < 0.0)
        throw ESoilMaterialXDerivedParametersConstructor(
            "Cannot get V_s# because of a division by zero.");
    return std::sqrt(radicand);
}

void SetVs(TKovMaterialX& m, double vs) {
    const double g = U(m, "GravityAcceleration"), gammaUnsat = U(m, "gammaUnsat");
    if (IsZero(g) || IsZero(gammaUnsat))
        return;
    SetI(m, "GRef", vs * vs * gammaUnsat / g);
}

double Vp(TMaterial m) {
    const double gammaUnsat = U(m, "gammaUnsat");
    if (IsZero(gammaUnsat))
        return 0.0;
    const double nu = Nu(m);
    const double radicand = NamedDivide(2.0 * G(m) * (1.0 - nu) * U(m, "GravityAcceleration"),
                                        (1.0 - 2.0 * nu) * gammaUnsat, "V_p#");
    if (IsZero(radicand))
        return 0.0;
    if (radicand < 0.0)
        throw ESoilMaterialXDerivedParametersConstructor(
            "Cannot get V_p# because of a division by zero.");
    return std::sqrt(radicand);
}

void SetVp(TKovMaterialX& m, double vp) {
    const double g = U(m, "GravityAcceleration"), gammaUnsat = U(m, "gammaUnsat");
    const double nu = Nu(m);
    if (IsZero(g * (1.0 - nu)) || IsZero(gammaUnsat))
        return;
    SetI(m, "GRef", vp * vp * (1.0 - 2.0 * nu) * gammaUnsat / (2.0 * g * (1.0 - nu)));
}

double EInc(TMaterial m) {
    return 2.0 * I(m, "GInc") * (1.0 + Nu(m));
}

void SetEInc(TKovMaterialX& m, double e) {
    SetI(m, "GInc", NamedDivide(e, 2.0 * (1.0 + Nu(m)), "E'_inc#"));
}

double Phi(TMaterial m) {
    return IO(m, "PhiMethod") == mxsfsimFromSoilIntrinsics ? I(m, "PeakPhi") : I(m, "PhiDirect");
}

double Psi(TMaterial m) {
    return IO(m, "PsiMethod") == mxsfsimFromSoilIntrinsics ? I(m, "PeakPsi") : I(m, "PsiDirect");
}

// The drainage-dependent names of one value: the effective one, the undrained (C) one and the
// non-porous one, each visible for its own drainages.
void DrainageCopies(TGroupBuilder& g, const std::string& plain, const std::string& undrainedC,
                    const std::string& nonPorous) {
    g.Visibility(plain,
                 F::GetHiddenInSpecificDrainageTypesGetter({mxsdtUndrainedC, mxsdtNonPorous}))
        .Visibility(undrainedC, F::GetVisibleInSpecificDrainageTypesGetter({mxsdtUndrainedC}))
        .Visibility(nonPorous, F::GetVisibleInSpecificDrainageTypesGetter({mxsdtNonPorous}));
}

} // namespace

void RegisterElasticAndMohrCoulombGroups() {
    {
        TGroupBuilder g("Elastic_HB_LE_MC");
        g.Double("GRef", "G_ref#", 0.0, Max, qtPressure, "Alternatives")
            .Double("ElasticNu", "ν (nu)", 0.0, 0.499, qtDummy, "Stiffness")
            .Interface("GRef", "Alternatives")
            .Interface("ElasticNu", "Stiffness", ipkNotPublished)
            .Derived("nu", "ν' (nu)", 0.0, 0.499, qtDummy, "Stiffness", Nu, SetNu)
            .Copy("nu", "nuUndrainedC", "ν_u# (nu)", "Stiffness")
            .Derived(
                "nuU", "ν_u# (nu)", 0.0, 0.499, qtDummy, "Stiffness",
                [](TMaterial m) { return U(m, "nuUEquivalent"); },
                [](TKovMaterialX& m, double value) { SetU(m, "nuUEquivalent", value); },
                ipkNotPublished)
            .Derived("KRef", "K'_ref#", 0.0, Max, qtPressure, "Alternatives", KRef)
            .Visibility("nu", F::GetHiddenInSpecificDrainageTypesGetter({mxsdtUndrainedC}))
            .Visibility("nuUndrainedC",
                        F::GetVisibleInSpecificDrainageTypesGetter({mxsdtUndrainedC}))
            .Gets("nu", {"ElasticNu"})
            .Sets("nu", {"ElasticNu", "GRef"})
            .Gets("KRef", {"GRef", "ElasticNu"})
            .Gets("nuU", {"nuUEquivalent"})
            .Sets("nuU", {"nuUEquivalent"})
            .DependsOn({"MaterialSet", "UndrainedBehaviour", "User_Nu", "User_NuU"});
    }
    {
        TGroupBuilder g("Elastic_LE_MC_Stiffness");
        g.Derived("ERef", "E'_ref#", 0.0, Max, qtPressure, "Stiffness", ERef, SetERef)
            .Copy("ERef", "ERefNonPorous", "E_ref#", "Stiffness")
            .Copy("ERef", "ERefUndrainedC", "E_u,ref#", "Stiffness")
            .Gets("ERef", {"GRef", "ElasticNu"})
            .Sets("ERef", {"GRef"});
        DrainageCopies(g, "ERef", "ERefUndrainedC", "ERefNonPorous");
    }
    {
        TGroupBuilder g("ElasticInc");
        g.Double("GInc", "G_inc#", -Max, Max, qtPressurePerLength, "Mechanical")
            .Interface("GInc", "StiffnessDepthDependency")
            .Derived("EInc", "E'_inc#", -Max, Max, qtPressurePerLength, "StiffnessDepthDependency",
                     EInc, SetEInc)
            .Copy("EInc", "EIncUndrainedC", "E_u,inc#", "StiffnessDepthDependency")
            .Copy("EInc", "EIncNonPorous", "E_inc#", "StiffnessDepthDependency")
            .Gets("EInc", {"GInc", "ElasticNu"})
            .Sets("EInc", {"GInc"});
        DrainageCopies(g, "EInc", "EIncUndrainedC", "EIncNonPorous");
    }
    {
        TGroupBuilder g("Elastic");
        g.Derived("EOed", "E_oed#", 0.0, Max, qtPressure, "Alternatives", EOed, SetEOed)
            .Gets("EOed", {"GRef", "ElasticNu"})
            .Sets("EOed", {"GRef"});
    }
    {
        TGroupBuilder g("WaveVelocities");
        g.Derived("Vs", "V_s#", 0.0, Max, qtSpeedAlwaysPerSecond, "WaveVelocities", Vs, SetVs)
            .Derived("Vp", "V_p#", 0.0, Max, qtSpeedAlwaysPerSecond, "WaveVelocities", Vp, SetVp)
            .Gets("Vs", {"GRef", "gammaUnsat"})
            .Sets("Vs", {"GRef"})
            .Gets("Vp", {"GRef", "ElasticNu", "gammaUnsat"})
            .Sets("Vp", {"GRef"})
            .DependsOn({"Elastic_HB_LE_MC", "GeneralProperties"});
    }
    {
        TGroupBuilder g("MCFailureCriteria");
        g.Double("cRef", "c_ref#", 0.0, Max, qtPressure, "Strength")
            .Enumeration("PhiMethod", "φ method", FromSoilIntrinsicsMethodCaptions(), "Strength")
            .Double("PhiDirect", "φ (direct)", 0.0, 90.0, qtAngle, "Strength")
            .Enumeration("PsiMethod", "ψ method", FromSoilIntrinsicsMethodCaptions(), "Strength")
            .Double("PsiDirect", "ψ (direct)", -90.0, 90.0, qtAngle, "Strength")
            .Boolean("TensionCutOff", "Tension cut-off", "Tension", true)
            .Double("TensileStrength", "Tensile strength", 0.0, Max, qtPressure, "Strength", 0.0)
            .Interface("cRef", "Shear")
            .Copy("cRef", "CRefDrainedUndrainedA", "c'_ref#", "Shear")
            .Copy("cRef", "sURef", "s_u,ref#", "Shear")
            .Interface("PhiMethod", "Shear")
            .MethodDerived("phi", "φ (phi)", 0.0, 90.0, qtAngle, "Shear", Phi, "PhiMethod",
                           mxsfsimDirect, "PhiDirect")
            .Copy("phi", "PhiDrainedUndrainedA", "φ' (phi)", "Shear")
            .Copy("phi", "phiU", "φ_u# (phi)", "Shear")
            .Interface("PsiMethod", "Shear")
            .MethodDerived("psi", "ψ (psi)", -90.0, 90.0, qtAngle, "Shear", Psi, "PsiMethod",
                           mxsfsimDirect, "PsiDirect")
            .Copy("psi", "MCPsi", "ψ (psi)", "Shear", ipkNotPublished)
            .Derived("sinPhi", "sin φ", -1.0, 1.0, qtDummy, "Shear",
                     [](TMaterial m) { return SinDegrees(Phi(m)); })
            .Derived("sinPsi", "sin ψ", -1.0, 1.0, qtDummy, "Shear",
                     [](TMaterial m) { return SinDegrees(Psi(m)); })
            .Interface("TensionCutOff", "Tension")
            .Interface("TensileStrength", "Tension")
            .Copy("cRef", "zzzCRefOutput", "c_ref#", "Shear", ipkNotPublished)
            .Mutability("TensileStrength", F::GetBooleanMutabilityGetter("TensionCutOff"))
            .Gets("phi", {"PhiMethod", "PhiDirect", "PeakPhi"})
            .Sets("phi", {"PhiMethod", "PhiDirect"})
            .Gets("psi", {"PsiMethod", "PsiDirect", "PeakPsi"})
            .Sets("psi", {"PsiMethod", "PsiDirect"})
            .Gets("sinPhi", {"phi"})
            .Gets("sinPsi", {"psi"})
            .ConfiguredBy("TensileStrength", {"TensionCutOff"})
            .DependsOn({"Tension", "Intrinsic", "MaterialSet", "User_Psi"});
        // The strength names by drainage: effective for drained and undrained (A), undrained
        // strength for (B) and (C), the plain names for a non-porous material.
        for (const auto& [plain, effective, undrained] :
             {std::tuple<const char*, const char*, const char*>{"cRef", "CRefDrainedUndrainedA",
                                                                "sURef"},
              {"phi", "PhiDrainedUndrainedA", "phiU"}}) {
            g.Visibility(plain, F::GetVisibleInSpecificDrainageTypesGetter({mxsdtNonPorous}))
                .Visibility(effective, F::GetVisibleInSpecificDrainageTypesGetter(
                                           {mxsdtDrained, mxsdtUndrainedA}))
                .Visibility(undrained, F::GetVisibleInSpecificDrainageTypesGetter(
                                           {mxsdtUndrainedB, mxsdtUndrainedC}));
        }
    }
    {
        TGroupBuilder g("Strength_HS_HSS_MC");
        g.Double("cInc", "c_inc#", -Max, Max, qtPressurePerLength, "ShearStrengthDepthDependency")
            .Interface("cInc", "ShearStrengthDepthDependency")
            .Copy("cInc", "CIncDrainedUndrainedA", "c'_inc#", "ShearStrengthDepthDependency")
            .Copy("cInc", "sUInc", "s_u,inc#", "ShearStrengthDepthDependency")
            .Copy("cInc", "zzzCIncOutput", "c_inc#", "ShearStrengthDepthDependency",
                  ipkNotPublished)
            .Visibility("cInc", F::GetVisibleInSpecificDrainageTypesGetter({mxsdtNonPorous}))
            .Visibility("CIncDrainedUndrainedA",
                        F::GetVisibleInSpecificDrainageTypesGetter({mxsdtDrained, mxsdtUndrainedA}))
            .Visibility("sUInc", F::GetVisibleInSpecificDrainageTypesGetter(
                                     {mxsdtUndrainedB, mxsdtUndrainedC}));
    }
    {
        TGroupBuilder g("HB_Stiffness");
        g.Derived("Erm", "E_rm#", 0.0, Max, qtPressure, "Stiffness", ERef, SetERef)
            .Gets("Erm", {"GRef", "ElasticNu"})
            .Sets("Erm", {"GRef"});
    }
}

} // namespace tw::soil
