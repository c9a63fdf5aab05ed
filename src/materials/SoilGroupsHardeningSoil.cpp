// Hardening Soil and HS small.
//
// Schanz, Vermeer and Bonnier (1999), "The hardening soil model: formulation and verification":
// stiffnesses E50ref, Eoedref and Eurref at the reference pressure pref, the power m, the
// unloading Poisson's ratio nu_ur, K0nc (Jaky, 1 - sin phi by default) and the failure ratio Rf
// (0.9 by default). The compression indices follow from the oedometer stiffnesses in one
// dimension: a primary loading line of slope Cc in e - log10(sigma') has the tangent
// Eoed = ln10 (1 + e) sigma' / Cc, and an unloading line of slope Cs the bulk-to-constrained
// relation of nu_ur and K0nc, Eur = ln10 (1 + e) (1 + nu_ur) (1 - 2 nu_ur) pref /
// ((1 - nu_ur) Cs K0nc). E50 from Cc takes Eoed = 0.8 E50 (E50 = 1.25 Eoed).
// HS small adds G0ref and gamma0.7 (Benz 2007).

#include "materials/SoilMaterialXGroups.h"

namespace tw::soil {

namespace {

using F = TMXIPConfigurationFunctions;

int Origin(TMaterial m) {
    return DetermineCsCcOrigin(m, "ModulusMethod");
}
double E(TMaterial m) {
    return VoidRatio(m);
}
double PRef(TMaterial m) {
    return I(m, "HSPRef");
}
double NuUr(TMaterial m) {
    return I(m, "HSNuUr");
}

double HSK0nc(TMaterial m) {
    return IB(m, "HSUseDefault") ? 1.0 - SinDegrees(U(m, "phi")) : I(m, "HSK0ncDirect");
}

double HSCc(TMaterial m);
double HSCs(TMaterial m);
double EOedRef(TMaterial m);
double EURRef(TMaterial m);

double EOedRef(TMaterial m) {
    double value = Origin(m) != 0
                       ? NamedDivide(Ln10 * (1.0 + E(m)) * PRef(m), HSCc(m), "E_oed#^ref#")
                       : I(m, "EoedRefDirect");
    if (IsZero(value))
        value = 1.0 * I(m, "E50RefDirect");
    return value;
}

double EURRef(TMaterial m) {
    double value;
    if (Origin(m) != 0) {
        const double nu = NuUr(m);
        const double denominator = (1.0 - nu) * HSCs(m) * HSK0nc(m);
        value = IsZero(denominator)
                    ? 0.0
                    : Ln10 * (1.0 + E(m)) * (1.0 + nu) * (1.0 - 2.0 * nu) * PRef(m) / denominator;
    } else {
        value = I(m, "EurRefDirect");
    }
    if (IsZero(value))
        value = 3.0 * I(m, "E50RefDirect");
    return value;
}

double E50Ref(TMaterial m) {
    if (Origin(m) == 0)
        return I(m, "E50RefDirect");
    return NamedDivide(1.25 * Ln10 * (1.0 + E(m)) * PRef(m), HSCc(m), "E_50#^ref#");
}

double HSCc(TMaterial m) {
    switch (Origin(m)) {
    case 0: {
        const double eOed = EOedRef(m);
        return IsZero(eOed) ? 1e10 : Ln10 * (1.0 + E(m)) * PRef(m) / eOed;
    }
    case 1:
        return I(m, "HSCcDirect");
    default:
        return U(m, "IntrinsicCC");
    }
}

double HSCs(TMaterial m) {
    switch (Origin(m)) {
    case 0: {
        const double eur = EURRef(m);
        const double k0nc = HSK0nc(m), nu = NuUr(m);
        if (IsZero(eur) || IsZero(k0nc))
            return 1e10;
        return Ln10 * (1.0 + E(m)) * (1.0 + nu) * (1.0 - 2.0 * nu) * PRef(m) /
               ((1.0 - nu) * eur * k0nc);
    }
    case 1:
        return I(m, "HSCsDirect");
    default:
        return U(m, "IntrinsicCS");
    }
}

void SetStiffness(TKovMaterialX& m, const char* direct, double value) {
    SetI(m, "ModulusMethod", mxsirmStandard);
    SetI(m, direct, value);
}

void SetUseAlternatives(TKovMaterialX& m, bool alternatives) {
    if (alternatives) {
        const double cs = HSCs(m), cc = HSCc(m);
        SetI(m, "HSCsDirect", cs);
        SetI(m, "HSCcDirect", cc);
        SetI(m, "ModulusMethod", mxsirmAlternatives);
    } else {
        const double eOed = EOedRef(m), eUr = EURRef(m);
        SetI(m, "EoedRefDirect", eOed);
        SetI(m, "EurRefDirect", eUr);
        SetI(m, "ModulusMethod", mxsirmStandard);
    }
}

void SetHSK0nc(TKovMaterialX& m, double value) {
    if (IsZero(value - HSK0nc(m)))
        return;
    SetI(m, "HSK0ncDirect", value);
    SetI(m, "HSNuUr", NuUr(m));
}

void SetHSNuUr(TKovMaterialX& m, double value) {
    if (IsZero(value - NuUr(m)))
        return;
    SetI(m, "HSK0ncDirect", HSK0nc(m));
    SetI(m, "HSNuUr", value);
}

} // namespace

double HardeningSoilEMin(TMaterial m) {
    return IB(m, "DilatancyCutOff") ? I(m, "eMinDirect") : 1e-9;
}

double HardeningSoilEMax(TMaterial m) {
    return IB(m, "DilatancyCutOff") ? I(m, "eMaxDirect") : 999.0;
}

void RegisterHardeningSoilGroups() {
    {
        TGroupBuilder g("HardeningSoil");
        g.Enumeration("ModulusMethod", "Modulus method", IntrinsicsRelatedMethodCaptions(),
                      "Mechanical", mxsirmStandard)
            .Double("E50RefDirect", "E_50#^ref# (direct)", 0.0, Max, qtPressure, "Stiffness")
            .Double("EoedRefDirect", "E_oed#^ref# (direct)", 0.0, Max, qtPressure, "Stiffness")
            .Double("EurRefDirect", "E_ur#^ref# (direct)", 0.0, Max, qtPressure, "Stiffness")
            .Double("HSNuUr", "HS ν_ur#", 0.0, 0.499, qtDummy, "Miscellaneous", 0.2)
            .Double("HSPRef", "p_ref#", 0.0, Max, qtPressure, "Miscellaneous", 100000.0)
            .Double("PowerMDirect", "power (m) (direct)", 0.0, 1.0, qtDummy, "StressDependency",
                    0.5)
            .Double("HSCcDirect", "HS C_c# (direct)", 0.0, Max, qtDummy, "Alternatives", 1.0)
            .Double("HSCsDirect", "HS C_s# (direct)", 0.0, Max, qtDummy, "Alternatives", 1.0)
            .Boolean("HSUseDefault", "Use defaults", "Miscellaneous", true)
            .Double("HSK0ncDirect", "HS K_0#^nc# (direct)", 0.0, 1.0, qtDummy, "Miscellaneous", 1.0)
            .Double("RfDirect", "R_f# (direct)", 0.0, 1.0, qtDummy, "Miscellaneous", 0.9)
            .Double("DeltaInterDirect", "δ_inter# (direct)", 0.0, Max, qtLength,
                    "InterfacesThickness", 0.0)
            .Double("eMinDirect", "e_min# (direct)", 1e-9, Max, qtDummy, "DilatancyCutoff")
            .Double("eMaxDirect", "e_max# (direct)", 1e-9, Max, qtDummy, "DilatancyCutoff", 999.0)
            .Boolean("DilatancyCutOff", "Dilatancy cut-off", "DilatancyCutoff");

        g.Interface("ModulusMethod", "Mechanical")
            .Derived("E50Ref", "E_50#^ref#", 0.0, Max, qtPressure, "Stiffness", E50Ref,
                     [](TKovMaterialX& m, double v) { SetStiffness(m, "E50RefDirect", v); })
            .Derived("EOedRef", "E_oed#^ref#", 0.0, Max, qtPressure, "Stiffness", EOedRef,
                     [](TKovMaterialX& m, double v) { SetStiffness(m, "EoedRefDirect", v); })
            .Derived("EURRef", "E_ur#^ref#", 0.0, Max, qtPressure, "Stiffness", EURRef,
                     [](TKovMaterialX& m, double v) { SetStiffness(m, "EurRefDirect", v); })
            .DerivedBoolean(
                "UseAlternatives", "Use alternatives", "Alternatives",
                [](TMaterial m) { return IO(m, "ModulusMethod") == mxsirmAlternatives; },
                SetUseAlternatives)
            .Derived(
                "PowerM", "power (m)", 0.0, 1.0, qtDummy, "StressDependency",
                [](TMaterial m) {
                    return IO(m, "ModulusMethod") == mxsirmAlternatives ? 1.0
                                                                        : I(m, "PowerMDirect");
                },
                Store("PowerMDirect"))
            .Derived("HSCc", "C_c#", 0.0, Max, qtDummy, "Alternatives", HSCc, Store("HSCcDirect"))
            .Derived("HSCs", "C_s#", 0.0, Max, qtDummy, "Alternatives", HSCs, Store("HSCsDirect"))
            .Derived("HSNuUr", "HS ν_ur#", 0.0, 0.499, qtDummy, "Miscellaneous", Stored("HSNuUr"),
                     SetHSNuUr, ipkNotPublished)
            .Derived("HSK0nc", "K_0#^nc#", 0.0, 1.0, qtDummy, "Miscellaneous", HSK0nc, SetHSK0nc)
            .Derived(
                "RF", "R_f#", 0.0, 1.0, qtDummy, "Miscellaneous",
                [](TMaterial m) { return IB(m, "HSUseDefault") ? 0.9 : I(m, "RfDirect"); },
                Store("RfDirect"))
            .Derived("KRef", "K_ref#", 0.0, Max, qtPressure, "Stiffness",
                     [](TMaterial m) {
                         return NamedDivide(EURRef(m), 3.0 * (1.0 - 2.0 * NuUr(m)), "K_ref#");
                     })
            .Derived("GRef", "G_ref#", 0.0, Max, qtPressure, "Stiffness",
                     [](TMaterial m) { return EURRef(m) / (2.0 * (1.0 + NuUr(m))); })
            .Copy("HSNuUr", "nuUR", "ν_ur#", "Miscellaneous")
            .Interface("HSPRef", "Miscellaneous", ipkNotPublished)
            .Copy("HSPRef", "pRef", "p_ref#", "Miscellaneous")
            .Copy("HSCc", "CC", "C_c#", "Alternatives", ipkNotPublished)
            .Copy("HSCs", "CS", "C_s#", "Alternatives", ipkNotPublished)
            .Copy("HSK0nc", "K0NC", "K_0#^nc#", "Miscellaneous", ipkNotPublished)
            .Interface("HSUseDefault", "Miscellaneous", ipkNotPublished)
            .Copy("HSUseDefault", "UseDefaults", "Use defaults", "Miscellaneous")
            .Derived("DeltaInter", "δ_inter#", 0.0, Max, qtLength, "InterfacesThickness",
                     TMXParametersConstructor::GetBooleanDependentGetter("DilatancyCutOff",
                                                                         "DeltaInterDirect", 0.0),
                     Store("DeltaInterDirect"))
            .Interface("DilatancyCutOff", "DilatancyCutoff")
            .Derived("eMin", "e_min#", 1e-9, Max, qtDummy, "DilatancyCutoff", HardeningSoilEMin,
                     Store("eMinDirect"))
            .Derived("eMax", "e_max#", 1e-9, Max, qtDummy, "DilatancyCutoff", HardeningSoilEMax,
                     Store("eMaxDirect"))
            .Derived("RelativeDensity", "R_D#", -Max, Max, qtPercentage, "DilatancyCutoff",
                     [](TMaterial m) {
                         const double eMax = HardeningSoilEMax(m), eMin = HardeningSoilEMin(m);
                         const double e = E(m);
                         if (IsZero(eMax - e) || IsZero(eMax - eMin))
                             return 0.0;
                         return (eMax - e) * 100.0 / (eMax - eMin);
                     })
            .Alias("nuUR", "HSNuUr")
            .Alias("pRef", "HSPRef")
            .Alias("CC", "HSCc")
            .Alias("CS", "HSCs")
            .Alias("K0NC", "HSK0nc")
            .Alias("UseDefaults", "HSUseDefault");
        for (const char* name : {"eMin", "eMax", "DeltaInter"})
            g.Mutability(name, F::GetBooleanMutabilityGetter("DilatancyCutOff"));
        for (const char* name : {"HSK0nc", "K0NC", "RF"})
            g.Mutability(name, F::GetBooleanMutabilityGetter("HSUseDefault", false));
        for (const char* name : {"E50Ref", "EOedRef", "EURRef", "PowerM"})
            g.Mutability(name,
                         F::GetEnumerationSetMutabilityGetter("ModulusMethod", {mxsirmStandard}));
        for (const char* name : {"HSCc", "HSCs", "CC", "CS"})
            g.Mutability(
                name, F::GetEnumerationSetMutabilityGetter("ModulusMethod", {mxsirmAlternatives}));
        g.Gets("E50Ref",
               {"ModulusMethod", "eInit", "HSPRef", "HSCc", "E50RefDirect", "IntrinsicCSCCMethod"})
            .Gets("EOedRef", {"ModulusMethod", "eInit", "HSPRef", "HSCc", "EoedRefDirect",
                              "E50RefDirect", "IntrinsicCSCCMethod"})
            .Gets("EURRef", {"ModulusMethod", "eInit", "HSPRef", "HSCs", "HSK0nc", "HSNuUr",
                             "EurRefDirect", "E50RefDirect", "IntrinsicCSCCMethod"})
            .Gets("HSCc", {"ModulusMethod", "eInit", "HSPRef", "HSCcDirect", "IntrinsicCC"})
            .Gets("HSCs",
                  {"ModulusMethod", "eInit", "HSPRef", "HSCsDirect", "HSNuUr", "IntrinsicCS"})
            .Gets("HSK0nc", {"HSUseDefault", "HSK0ncDirect", "phi"})
            .Gets("RF", {"HSUseDefault", "RfDirect"})
            .Gets("PowerM", {"ModulusMethod", "PowerMDirect"})
            .Gets("UseAlternatives", {"ModulusMethod"})
            .Gets("KRef", {"EURRef", "HSNuUr"})
            .Gets("GRef", {"EURRef", "HSNuUr"})
            .Gets("DeltaInter", {"DilatancyCutOff", "DeltaInterDirect"})
            .Gets("eMin", {"DilatancyCutOff", "eMinDirect"})
            .Gets("eMax", {"DilatancyCutOff", "eMaxDirect"})
            .Gets("RelativeDensity", {"eMin", "eMax", "eInit"})
            .DependsOn({"MCFailureCriteria", "Initial", "GeneralPropertiesVoidRatio",
                        "UndrainedBehaviour", "User_NuUR", "User_Stiffness",
                        "User_StiffnessAlternatives", "User_Miscellaneous",
                        "User_MiscellaneousDefaults"});
    }
    {
        TGroupBuilder g("HSSmall");
        g.Double("G0Ref", "G_0#^ref#", 0.0, Max, qtPressure, "StrainDependencySmallStrain")
            .Double("gamma07", "γ_0.7#", 0.0, 1.0, qtDummy, "StrainDependencySmallStrain")
            .Interface("G0Ref", "StrainDependencySmallStrain")
            .Interface("gamma07", "StrainDependencySmallStrain");
    }
}

} // namespace tw::soil
