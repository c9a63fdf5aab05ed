// Soft Soil, Soft Soil Creep, the Sekiguchi-Ohta models and Modified Cam-Clay.
//
// The modified indices of a compression line in ln p': lambda* = Cc / (ln10 (1 + e)) and the
// swelling one kappa* = 2 Cs / (ln10 (1 + e)) (the factor 2 takes the isotropic swelling from
// the one-dimensional index, Brinkgreve 1994), the creep index mu* = C_alpha / (ln10 (1 + e))
// (Vermeer and Neher 1999). Modified Cam-Clay (Roscoe and Burland 1968) works with lambda and
// kappa of the e - ln p' plane and the slope M of the critical state line.

#include "materials/SoilMaterialXGroups.h"
#include "services/Format.h"

#include <algorithm>
#include <cmath>

namespace tw::soil {

namespace {

using F = TMXIPConfigurationFunctions;

int Origin(TMaterial m) {
    return DetermineCsCcOrigin(m, "IndexMethod");
}
double OnePlusE(TMaterial m) {
    return 1.0 + VoidRatio(m);
}

double SSSOCc(TMaterial m);
double SSSOCs(TMaterial m);
double CAlpha(TMaterial m);

double LambdaStar(TMaterial m) {
    if (Origin(m) != 0)
        return NamedDivide(SSSOCc(m), Ln10 * OnePlusE(m), "λ^*# (lambda*)");
    return I(m, "LambdaStarDirect");
}

double KappaStar(TMaterial m) {
    if (Origin(m) != 0)
        return NamedDivide(2.0 * SSSOCs(m), Ln10 * OnePlusE(m), "κ^*# (kappa*)");
    return I(m, "KappaStarDirect");
}

double SSSOCc(TMaterial m) {
    switch (Origin(m)) {
    case 0:
        return Ln10 * I(m, "LambdaStarDirect") * OnePlusE(m);
    case 1:
        return I(m, "SSSOCcDirect");
    default:
        return U(m, "IntrinsicCC");
    }
}

double SSSOCs(TMaterial m) {
    switch (Origin(m)) {
    case 0:
        return Ln10 * 0.5 * I(m, "KappaStarDirect") * OnePlusE(m);
    case 1:
        return I(m, "SSSOCsDirect");
    default:
        return U(m, "IntrinsicCS");
    }
}

// The creep index behind C_alpha: mu* of Soft Soil Creep, alpha* of Sekiguchi-Ohta viscid.
const char* CreepDirectName(TMaterial m) {
    return HasUser(m, "muModified") ? "MuStarDirect" : "AlphaStarDirect";
}

double CAlpha(TMaterial m) {
    switch (Origin(m)) {
    case 0:
        return Ln10 * I(m, CreepDirectName(m)) * OnePlusE(m);
    case 1:
        return I(m, "CAlphaDirect");
    default:
        return U(m, "IntrinsicCAlpha");
    }
}

double CreepIndex(TMaterial m, const char* direct, const char* caption) {
    if (Origin(m) != 0)
        return NamedDivide(CAlpha(m), Ln10 * OnePlusE(m), caption);
    return I(m, direct);
}

void SetStarred(TKovMaterialX& m, const char* direct, double value) {
    SetI(m, "IndexMethod", mxsirmStandard);
    SetI(m, direct, value);
}

void SetUseAlternatives(TKovMaterialX& m, bool alternatives) {
    const int origin = Origin(m);
    if (origin < 0 || origin > 2)
        throw ESoilMaterialXDerivedParametersConstructor(
            Format("Unexpected Cs/Cc/Cα origin: %d", origin));
    if (alternatives) {
        const double cc = SSSOCc(m), cs = SSSOCs(m);
        const bool creep = HasUser(m, "CAlpha");
        const double cAlpha = creep ? CAlpha(m) : 0.0;
        SetI(m, "SSSOCcDirect", cc);
        SetI(m, "SSSOCsDirect", cs);
        if (creep)
            SetI(m, "CAlphaDirect", cAlpha);
        SetI(m, "IndexMethod", mxsirmAlternatives);
    } else {
        const double lambda = LambdaStar(m), kappa = KappaStar(m);
        const bool creep = HasUser(m, "CAlpha");
        const char* creepDirect = CreepDirectName(m);
        const double creepIndex = creep ? CreepIndex(m, creepDirect, "μ^*#") : 0.0;
        SetI(m, "LambdaStarDirect", lambda);
        SetI(m, "KappaStarDirect", kappa);
        if (creep)
            SetI(m, creepDirect, creepIndex);
        SetI(m, "IndexMethod", mxsirmStandard);
    }
}

// The slope M of the Soft Soil cap for K0nc, lambda*, kappa* and nu_ur: the cap's associated
// flow in one-dimensional primary loading gives K0nc (Brinkgreve 1994; Neher, Wehnert and Bonnier
// 2001).
double SSM(TMaterial m) {
    const double k0 = U(m, "SSK0nc"), nu = I(m, "SSNuUr");
    const double ratio = NamedDivide(LambdaStar(m), KappaStar(m), "M");
    const double a = (1.0 - k0) / (1.0 + 2.0 * k0);
    const double denominator =
        (1.0 + 2.0 * k0) * (1.0 - 2.0 * nu) * ratio - (1.0 - k0) * (1.0 + nu);
    const double radicand =
        a * a + NamedDivide((1.0 - k0) * (1.0 - 2.0 * nu) * (ratio - 1.0), denominator, "M");
    if (radicand < 0.0)
        throw ESoilMaterialXDerivedParametersConstructor(
            "Cannot get M because of a division by zero.");
    return 3.0 * std::sqrt(radicand);
}

double CslFromMethod(TMaterial m, const char* method, const char* direct) {
    return IO(m, method) == mxsfsimFromSoilIntrinsics ? MFromPhi(I(m, "PeakPhi")) : I(m, direct);
}

double SOMCsl(TMaterial m) {
    return CslFromMethod(m, "SOMCslMethod", "SOMCslDirect");
}

double MCCMCsl(TMaterial m) {
    return CslFromMethod(m, "MCCMCslMethod", "MCCMCslDirect");
}

} // namespace

void RegisterSoftSoilGroups() {
    {
        TGroupBuilder g("SOI_SOV_SS_SSC");
        g.Double("LambdaStarDirect", "λ^*# (direct)", 0.0, Max, qtDummy, "Stiffness")
            .Double("KappaStarDirect", "κ^*# (direct)", 0.0, Max, qtDummy, "Stiffness")
            .Enumeration("IndexMethod", "Index method", IntrinsicsRelatedMethodCaptions(),
                         "Stiffness")
            .Double("SSSOCcDirect", "SS/SO C_c# (direct)", 0.0, Max, qtDummy, "Alternatives")
            .Double("SSSOCsDirect", "SS/SO C_s# (direct)", 0.0, Max, qtDummy, "Alternatives")
            .Interface("IndexMethod", "Stiffness")
            .Derived("lambdaModified", "λ^*# (lambda*)", 0.0, Max, qtDummy, "Stiffness", LambdaStar,
                     [](TKovMaterialX& m, double v) { SetStarred(m, "LambdaStarDirect", v); })
            .Derived("kappaModified", "κ^*# (kappa*)", 0.0, Max, qtDummy, "Stiffness", KappaStar,
                     [](TKovMaterialX& m, double v) { SetStarred(m, "KappaStarDirect", v); })
            .Derived("SSSOCc", "C_c#", 0.0, Max, qtDummy, "Alternatives", SSSOCc,
                     Store("SSSOCcDirect"))
            .Derived("SSSOCs", "C_s#", 0.0, Max, qtDummy, "Alternatives", SSSOCs,
                     Store("SSSOCsDirect"))
            .DerivedBoolean(
                "UseAlternatives", "Use alternatives", "Alternatives",
                [](TMaterial m) { return IO(m, "IndexMethod") == mxsirmAlternatives; },
                SetUseAlternatives)
            .Derived(
                "lambdaModifiedkappaModifiedRatio", "λ^*#/κ^*#", 0.0, Max, qtDummy, "Stiffness",
                [](TMaterial m) { return NamedDivide(LambdaStar(m), KappaStar(m), "λ^*#/κ^*#"); })
            // The reference pressure of the elastic stiffness these models quote.
            .Derived("SSSOPRef", "p_ref#", 0.0, Max, qtPressure, "Stiffness",
                     [](TMaterial) { return 100000.0; })
            .Copy("SSSOPRef", "pRef", "p_ref#", "Stiffness", ipkNotPublished)
            .Copy("SSSOCc", "CC", "C_c#", "Alternatives", ipkNotPublished)
            .Copy("SSSOCs", "CS", "C_s#", "Alternatives", ipkNotPublished)
            .Alias("pRef", "SSSOPRef")
            .Alias("CC", "SSSOCc")
            .Alias("CS", "SSSOCs");
        for (const char* name : {"lambdaModified", "kappaModified"})
            g.Mutability(name, F::GetEnumerationSetMutabilityGetter(
                                   "IndexMethod", {mxsirmStandard, mxsirmFromSoilIntrinsics}));
        for (const char* name : {"SSSOCc", "SSSOCs", "CC", "CS"})
            g.Mutability(name,
                         F::GetEnumerationSetMutabilityGetter("IndexMethod", {mxsirmAlternatives}));
        g.Gets("lambdaModified",
               {"IndexMethod", "LambdaStarDirect", "SSSOCc", "eInit", "IntrinsicCSCCMethod"})
            .Gets("kappaModified",
                  {"IndexMethod", "KappaStarDirect", "SSSOCs", "eInit", "IntrinsicCSCCMethod"})
            .Gets("SSSOCc", {"IndexMethod", "SSSOCcDirect", "IntrinsicCC"})
            .Gets("SSSOCs", {"IndexMethod", "SSSOCsDirect", "IntrinsicCS"})
            .Gets("UseAlternatives", {"IndexMethod"})
            .Gets("lambdaModifiedkappaModifiedRatio", {"lambdaModified", "kappaModified"})
            .DependsOn({"GeneralPropertiesVoidRatio", "Intrinsic", "User_Stiffness",
                        "User_StiffnessAlternatives"});
    }
    {
        TGroupBuilder g("SS_SSC");
        g.Boolean("SSUseDefault", "Use defaults", "Miscellaneous", true)
            .Double("SSNuUr", "SS ν_ur#", 0.0, 0.499, qtDummy, "Stiffness", 0.15)
            .Double("SSK0ncDirect", "SS K_0#^nc# (direct)", 0.0, Max, qtDummy, "Miscellaneous", 1.0)
            .Interface("SSUseDefault", "Miscellaneous", ipkNotPublished)
            .Copy("SSUseDefault", "UseDefaults", "Use defaults", "Miscellaneous")
            .Interface("SSNuUr", "Stiffness", ipkNotPublished)
            .Copy("SSNuUr", "nuUR", "ν_ur#", "Stiffness")
            .Derived(
                "SSK0nc", "K_0#^nc#", 0.0, Max, qtDummy, "Miscellaneous",
                [](TMaterial m) {
                    return IB(m, "SSUseDefault") ? 1.0 - SinDegrees(U(m, "phi"))
                                                 : I(m, "SSK0ncDirect");
                },
                Store("SSK0ncDirect"))
            .Copy("SSK0nc", "K0NC", "K_0#^nc#", "Miscellaneous", ipkNotPublished)
            .Derived("SSM", "M", 0.0, Max, qtDummy, "Miscellaneous", SSM)
            .Alias("nuUR", "SSNuUr")
            .Alias("K0NC", "SSK0nc")
            .Alias("UseDefaults", "SSUseDefault");
        for (const char* name : {"SSK0nc", "K0NC"})
            g.Mutability(name, F::GetBooleanMutabilityGetter("SSUseDefault", false));
        g.Gets("SSK0nc", {"SSUseDefault", "SSK0ncDirect", "phi"})
            .Gets("SSM", {"SSK0nc", "lambdaModified", "kappaModified", "SSNuUr"})
            .DependsOn({"Initial", "MCFailureCriteria", "SOI_SOV_SS_SSC", "UndrainedBehaviour",
                        "User_NuUR", "User_Strength", "User_Miscellaneous",
                        "User_MiscellaneousDefaults"});
    }
    {
        TGroupBuilder g("SoftSoilCreep");
        g.Double("MuStarDirect", "μ^*# (direct)", 0.0, Max, qtDummy, "Stiffness")
            .Double("SSTauDirect", "τ0 (direct)", 0.0, Max, qtTime, "Mechanical", 86400.0)
            .Derived(
                "muModified", "μ^*# (mu*)", 0.0, Max, qtDummy, "Stiffness",
                [](TMaterial m) { return CreepIndex(m, "MuStarDirect", "μ^*# (mu*)"); },
                [](TKovMaterialX& m, double v) { SetStarred(m, "MuStarDirect", v); })
            .Interface("SSTauDirect", "Mechanical")
            .Mutability("muModified",
                        F::GetEnumerationSetMutabilityGetter(
                            "IndexMethod", {mxsirmStandard, mxsirmFromSoilIntrinsics}))
            .Gets("muModified", {"IndexMethod", "MuStarDirect", "CAlpha", "eInit"});
    }
    {
        TGroupBuilder g("SOV_SSC");
        g.Double("CAlphaDirect", "SS C_α# (direct)", 0.0, Max, qtDummy, "Alternatives")
            .Derived("CAlpha", "C_α#", 0.0, Max, qtDummy, "Alternatives", CAlpha,
                     Store("CAlphaDirect"))
            .Mutability("CAlpha",
                        F::GetEnumerationSetMutabilityGetter("IndexMethod", {mxsirmAlternatives}))
            .Gets("CAlpha", {"IndexMethod", "CAlphaDirect", "IntrinsicCAlpha", "eInit"});
    }
    {
        TGroupBuilder g("SOI_SOV");
        g.Boolean("SOUseDefault", "Use defaults", "Miscellaneous", true)
            .Enumeration("SOMCslMethod", "M method", FromSoilIntrinsicsMethodCaptions(), "Strength")
            .Double("SOMCslDirect", "M (direct)", 0.0, Max, qtDummy, "Strength")
            .Double("SONuUr", "SO ν_ur#", 0.0, 0.499, qtDummy, "Stiffness", 0.15)
            .Double("SOK0ncDirect", "SO K_0#^nc# (direct)", 0.001, Max, qtDummy, "Miscellaneous",
                    1.0)
            .Interface("SOUseDefault", "Miscellaneous", ipkNotPublished)
            .Copy("SOUseDefault", "UseDefaults", "Use defaults", "Miscellaneous")
            .Interface("SOMCslMethod", "Strength")
            .MethodDerived("SOMCsl", "M", 0.0, Max, qtDummy, "Strength", SOMCsl, "SOMCslMethod",
                           mxsfsimDirect, "SOMCslDirect")
            .Copy("SOMCsl", "M", "M", "Strength", ipkNotPublished)
            .Interface("SONuUr", "Stiffness", ipkNotPublished)
            .Copy("SONuUr", "nuUR", "ν_ur#", "Stiffness")
            .Derived(
                "SOK0nc", "K_0#^nc#", 0.001, Max, qtDummy, "Miscellaneous",
                [](TMaterial m) {
                    if (IB(m, "SOUseDefault"))
                        return std::max(K0ncFromCsl(SOMCsl(m)), 0.001);
                    return I(m, "SOK0ncDirect");
                },
                Store("SOK0ncDirect"))
            .Copy("SOK0nc", "K0NC", "K_0#^nc#", "Miscellaneous", ipkNotPublished)
            .Alias("M", "SOMCsl")
            .Alias("nuUR", "SONuUr")
            .Alias("K0NC", "SOK0nc")
            .Alias("UseDefaults", "SOUseDefault");
        for (const char* name : {"SOK0nc", "K0NC"})
            g.Mutability(name, F::GetBooleanMutabilityGetter("SOUseDefault", false));
        g.Gets("SOMCsl", {"SOMCslMethod", "SOMCslDirect", "PeakPhi"})
            .Gets("SOK0nc", {"SOUseDefault", "SOK0ncDirect", "SOMCsl"})
            .DependsOn({"Initial", "Intrinsic", "SOI_SOV_SS_SSC", "UndrainedBehaviour", "User_NuUR",
                        "User_Strength", "User_Miscellaneous", "User_MiscellaneousDefaults"});
    }
    {
        TGroupBuilder g("SOViscid");
        g.Double("AlphaStarDirect", "α^*# (direct)", 0.0, Max, qtDummy, "CreepDeformation")
            .Double("v0Dot", "v̇_0#", 0.0, Max, qtPerTime, "CreepDeformation")
            .Double("SOTauDirect", "τ0 (direct)", 0.0, Max, qtTime, "CreepDeformation", 86400.0)
            .Derived(
                "alphaStar", "α^*#", 0.0, Max, qtDummy, "CreepDeformation",
                [](TMaterial m) { return CreepIndex(m, "AlphaStarDirect", "α^*#"); },
                [](TKovMaterialX& m, double v) { SetStarred(m, "AlphaStarDirect", v); })
            .Interface("v0Dot", "CreepDeformation")
            .Interface("SOTauDirect", "CreepDeformation")
            .Gets("alphaStar", {"IndexMethod", "AlphaStarDirect", "CAlpha", "eInit"});
    }
    {
        TGroupBuilder g("ModifiedCamClay");
        g.Double("lambda", "λ (lambda)", 1e-9, Max, qtDummy, "Stiffness")
            .Double("kappa", "κ (kappa)", 1e-9, Max, qtDummy, "Stiffness")
            .Double("MCCNuUr", "MCC ν_ur#", 0.0, 0.499, qtDummy, "Stiffness", 0.15)
            .Enumeration("MCCMCslMethod", "M method", FromSoilIntrinsicsMethodCaptions(),
                         "Strength")
            .Double("MCCMCslDirect", "M (direct)", 0.0, Max, qtDummy, "Strength")
            .Interface("lambda", "Stiffness")
            .Interface("kappa", "Stiffness")
            .Derived("lambdakappaRatio", "λ/κ", 0.0, Max, qtDummy, "Stiffness",
                     [](TMaterial m) { return NamedDivide(I(m, "lambda"), I(m, "kappa"), "λ/κ"); })
            .Interface("MCCMCslMethod", "Strength")
            .MethodDerived("MCCMCsl", "M", 0.0, Max, qtDummy, "Strength", MCCMCsl, "MCCMCslMethod",
                           mxsfsimDirect, "MCCMCslDirect")
            .Copy("MCCMCsl", "M", "M", "Strength", ipkNotPublished)
            // K0nc on the critical state line of slope M: Jaky's 1 - sin phi with the friction
            // angle of M, as Sekiguchi-Ohta's default.
            .Derived("MCCK0nc", "K_0#^nc#", 0.0, Max, qtDummy, "Miscellaneous",
                     [](TMaterial m) { return std::max(K0ncFromCsl(MCCMCsl(m)), 0.001); })
            .Copy("MCCK0nc", "K0NC", "K_0#^nc#", "Miscellaneous", ipkNotPublished)
            .Interface("MCCNuUr", "Stiffness", ipkNotPublished)
            .Copy("MCCNuUr", "nuUR", "ν_ur#", "Stiffness")
            .Alias("M", "MCCMCsl")
            .Alias("nuUR", "MCCNuUr")
            .Alias("K0NC", "MCCK0nc")
            .Gets("lambdakappaRatio", {"lambda", "kappa"})
            .Gets("MCCMCsl", {"MCCMCslMethod", "MCCMCslDirect", "PeakPhi"})
            .Gets("MCCK0nc", {"MCCMCsl"})
            .DependsOn({"Initial", "Intrinsic", "UndrainedBehaviour", "User_NuUR", "User_Strength",
                        "User_Miscellaneous"});
    }
}

} // namespace tw::soil
