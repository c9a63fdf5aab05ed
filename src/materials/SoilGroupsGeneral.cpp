// The groups every soil material has: the material set (model and drainage), unit weights and
// void ratio, damping, soil intrinsics, the project's parameters, groundwater and thermal
// values, interfaces, the initial stress (K0, OCR, POP) and the undrained behaviour.

#include "materials/SoilMaterialXGroups.h"
#include "services/Format.h"

#include <algorithm>
#include <cmath>

namespace tw::soil {

namespace {

using F = TMXIPConfigurationFunctions;

// The drainages a model offers: undrained (B) needs the undrained strength of the model,
// undrained (C) a total-stress stiffness.
std::vector<int> ValidDrainages(int model) {
    switch (model) {
    case mxsmmLinearElastic:
        return {mxsdtDrained, mxsdtUndrainedA, mxsdtUndrainedC, mxsdtNonPorous};
    case mxsmmHardeningSoil:
    case mxsmmHardeningSoilSmall:
    case mxsmmJointedRock:
        return {mxsdtDrained, mxsdtUndrainedA, mxsdtUndrainedB, mxsdtNonPorous};
    case mxsmmSoftSoil:
    case mxsmmSoftSoilCreep:
    case mxsmmModifiedCamClay:
    case mxsmmSOInviscid:
    case mxsmmSOViscid:
    case mxsmmHoekBrown:
    case mxsmmUBC3DPLM:
        return {mxsdtDrained, mxsdtUndrainedA, mxsdtNonPorous};
    case mxsmmNGIADP:
    case mxsmmUDCAMSimplified:
        return {mxsdtDrained, mxsdtUndrainedC, mxsdtNonPorous};
    case mxsmmConcrete:
        return {mxsdtDrained, mxsdtNonPorous};
    default:
        return {mxsdtDrained, mxsdtUndrainedA, mxsdtUndrainedB, mxsdtUndrainedC, mxsdtNonPorous};
    }
}

double Gravity(TMaterial m) {
    const std::optional<TVarRec> gravity = m.QueryProperty("Gravity");
    if (!gravity || !(VarIsFloat(*gravity) || VarIsInteger(*gravity)))
        throw ESoilMaterialXDerivedParametersConstructor(
            "Gravity acceleration from project is not accessible");
    return VarIsFloat(*gravity) ? std::get<double>(*gravity) : std::get<int32_t>(*gravity);
}

double WaterDensity(TMaterial m) {
    const std::optional<TVarRec> gravity = m.QueryProperty("Gravity");
    const std::optional<TVarRec> weight = m.QueryProperty("WaterWeight");
    auto number = [](const std::optional<TVarRec>& value, double& out) {
        if (!value)
            return false;
        if (VarIsFloat(*value))
            out = std::get<double>(*value);
        else if (VarIsInteger(*value))
            out = std::get<int32_t>(*value);
        else
            return false;
        return true;
    };
    double g = 0.0, w = 0.0;
    if (!number(gravity, g) || !number(weight, w) || IsZero(g))
        throw ESoilMaterialXDerivedParametersConstructor(
            "Water density from project is not accessible");
    return w / g;
}

double GammaUnsat(TMaterial m) {
    if (IO(m, "GammaInputMethod") == mxsgimDirect)
        return I(m, "GammaUnsatDirect");
    const double n = Porosity(m), s = I(m, "SaturationAssumedDirect");
    return ((1.0 - n) * I(m, "rhoS") + n * (s / 100.0) * U(m, "rhoPoreFluid")) *
           U(m, "GravityAcceleration");
}

double GammaSat(TMaterial m) {
    switch (DrainageOf(m)) {
    case mxsdtDrained:
    case mxsdtUndrainedA:
    case mxsdtUndrainedB: {
        if (IO(m, "GammaInputMethod") == mxsgimDirect)
            return I(m, "GammaSatDirect");
        const double n = Porosity(m);
        return ((1.0 - n) * I(m, "rhoS") + n * U(m, "rhoPoreFluid")) * U(m, "GravityAcceleration");
    }
    case mxsdtUndrainedC:
    case mxsdtNonPorous:
        return GammaUnsat(m);
    default:
        throw ESoilMaterialXDerivedParametersConstructor(
            Format("Undefined drainage type type: %d", int(DrainageOf(m))));
    }
}

// The degree of saturation the unsaturated weight stands for. The last expression is a fraction
// while its two fallbacks are percentages; this is how the value has always been read.
double SaturationAssumed(TMaterial m) {
    const double rhoS = I(m, "rhoS");
    if (IsZero(rhoS))
        return 0.0;
    const double n = Porosity(m), rhoPore = U(m, "rhoPoreFluid");
    if (IsZero(n * rhoPore))
        return 100.0;
    return (GammaUnsat(m) / U(m, "GravityAcceleration") - (1.0 - n) * rhoS) / (n * rhoPore);
}

double IntrinsicCc(TMaterial m) {
    if (IO(m, "IntrinsicCSCCMethod") == mxsamManual)
        return I(m, "IntrinsicCcDirect");
    // Azzouz, Krizek and Corotis (1976): Cc = 0.01 wn, wn in percent.
    return 0.01 * I(m, "Wn");
}

double IntrinsicCs(TMaterial m) {
    if (IO(m, "IntrinsicCSCCMethod") == mxsamManual)
        return I(m, "IntrinsicCsDirect");
    // The swelling index as a fifth of the compression index (Kulhawy and Mayne 1990).
    return IntrinsicCc(m) / 5.0;
}

double IntrinsicCAlpha(TMaterial m) {
    if (IO(m, "IntrinsicCSCCMethod") == mxsamManual)
        return I(m, "IntrinsicCAlphaDirect");
    // Mesri and Godlewski (1977): C_alpha / Cc = 0.04 for inorganic clays.
    return 0.04 * IntrinsicCc(m);
}

// Specific surface area from the fractions of clay, silt and sand in percent.
double SpecificSurfaceArea(TMaterial m) {
    const double clay = I(m, "ClayFraction"), silt = I(m, "SiltFraction"),
                 sand = I(m, "SandFraction");
    return 3.89 * std::pow(std::exp(0.01 * (clay * std::log(0.001) + silt * std::log(0.026) +
                                            sand * std::log(1.025))),
                           -0.905);
}

// --- Undrained behaviour ------------------------------------------------------------------

double Alpha(TMaterial m) {
    return I(m, "alphaBiotDirect");
}

double SkemptonB(TMaterial m);

double NuUEquivalent(TMaterial m) {
    if (DrainageOf(m) == mxsdtUndrainedC)
        return HasUser(m, "nu") ? U(m, "nu") : ModelNu(m);
    double value;
    if (IO(m, "ExcessPorePressureDetermination") == mxsubNuUDefinition &&
        IO(m, "UndrainedNuDefinitionMethod") == mxsundDirect) {
        value = I(m, "nuUEquivalentDirect");
    } else {
        const double nu = ModelNu(m), ab = Alpha(m) * SkemptonB(m);
        value =
            NamedDivide(3.0 * nu + ab * (1.0 - 2.0 * nu), 3.0 - ab * (1.0 - 2.0 * nu), "ν_u# (nu)");
    }
    return std::clamp(value, 0.0, 0.499);
}

void SetNuUEquivalent(TKovMaterialX& m, double value) {
    if (IO(m, "ExcessPorePressureDetermination") == mxsubNuUDefinition &&
        IO(m, "UndrainedNuDefinitionMethod") == mxsundDirect)
        SetI(m, "nuUEquivalentDirect", value);
}

double Kw(TMaterial m);

double SkemptonB(TMaterial m) {
    const double nu = ModelNu(m), alpha = Alpha(m);
    if (IO(m, "ExcessPorePressureDetermination") == mxsubNuUDefinition) {
        if (IO(m, "UndrainedNuDefinitionMethod") == mxsundSkemptonBBased)
            return I(m, "SkemptonBDirect");
        const double nuU = I(m, "nuUEquivalentDirect");
        const double denominator = alpha * (1.0 - 2.0 * nu) * (1.0 + nuU);
        return IsZero(denominator) ? 0.0 : 3.0 * (nuU - nu) / denominator;
    }
    const double kw = Kw(m);
    if (IsZero(kw))
        return 0.0;
    const double k = BulkModulus(ModelGRef(m), nu, "SkemptonB");
    const double denominator = alpha + Porosity(m) * (k / kw + alpha - 1.0);
    return IsZero(denominator) ? 0.0 : alpha / denominator;
}

void SetSkemptonB(TKovMaterialX& m, double value) {
    if (IO(m, "ExcessPorePressureDetermination") == mxsubNuUDefinition &&
        IO(m, "UndrainedNuDefinitionMethod") == mxsundSkemptonBBased)
        SetI(m, "SkemptonBDirect", value);
}

// The bulk modulus of the pore fluid over the porosity: what undrained loading adds to the
// skeleton's bulk modulus.
double Kwn(TMaterial m) {
    if (IO(m, "ExcessPorePressureDetermination") == mxsubNuUDefinition) {
        const double g = ModelGRef(m), nu = ModelNu(m), nuU = NuUEquivalent(m);
        if (IsZero(nuU - 0.5) || IsZero(nu - 0.5))
            throw ESoilMaterialXDerivedParametersConstructor(
                "Cannot get Kwn because of a division by zero.");
        return 2.0 * g / 3.0 * ((1.0 + nuU) / (1.0 - 2.0 * nuU) - (1.0 + nu) / (1.0 - 2.0 * nu));
    }
    const double n = Porosity(m);
    return IsZero(n) ? 0.0 : Kw(m) / n;
}

double Kw(TMaterial m) {
    if (IO(m, "ExcessPorePressureDetermination") == mxsubBiotEffectiveStress)
        return I(m, "KwDirect");
    return Kwn(m) * Porosity(m);
}

double Ks(TMaterial m) {
    switch (IO(m, "ExcessPorePressureDetermination")) {
    case mxsubNuUDefinition:
        return 3.8e7;
    case mxsubBiotEffectiveStress: {
        double oneMinusAlpha = 1.0 - Alpha(m);
        if (IsZero(oneMinusAlpha))
            oneMinusAlpha = 1e-12;
        return BulkModulus(ModelGRef(m), ModelNu(m), "K_s#") / oneMinusAlpha;
    }
    default:
        throw ESoilMaterialXDerivedParametersConstructor(
            Format("Invalid undrained behaviour ordinal encountered: %d",
                   IO(m, "ExcessPorePressureDetermination")));
    }
}

// --- Initial stress ------------------------------------------------------------------------

bool K0Manual(TMaterial m) {
    return IO(m, "K0Determination") == mxsamManual;
}

double K0Primary(TMaterial m) {
    return K0Manual(m) ? I(m, "K0PrimaryDirect") : DefaultK0Primary(m);
}

double K0Secondary(TMaterial m) {
    if (IB(m, "K0PrimaryIsK0Secondary") || !K0Manual(m))
        return K0Primary(m);
    return I(m, "K0SecondaryDirect");
}

void SetK0Primary(TKovMaterialX& m, double value) {
    const double secondary = K0Secondary(m);
    SetI(m, "K0PrimaryDirect", value);
    SetI(m, "K0SecondaryDirect", secondary);
    SetI(m, "K0Determination", mxsamManual);
}

void SetK0Secondary(TKovMaterialX& m, double value) {
    const double primary = K0Primary(m);
    SetI(m, "K0PrimaryDirect", primary);
    SetI(m, "K0SecondaryDirect", value);
    SetI(m, "K0PrimaryIsK0Secondary", false);
    SetI(m, "K0Determination", mxsamManual);
}

std::vector<int> EnabledModels() {
    std::vector<int> models;
    for (int model = 0; model <= mxsmmUDCAMSimplified; ++model)
        models.push_back(model);
    models.push_back(mxsmmUserDefined);
    return models;
}

} // namespace

void RegisterGeneralGroups() {
    {
        TGroupBuilder g("MaterialSet");
        g.Enumeration("SoilModel", "Material model", MaterialModelCaptions(), "MaterialSet")
            .Enumeration("DrainageType", "Drainage type", DrainageTypeCaptions(), "MaterialSet")
            .Text("MXComments", "Comments", "MaterialSet")
            .Interface("SoilModel", "MaterialSet")
            .Interface("DrainageType", "MaterialSet")
            .Interface("MXComments", "MaterialSet")
            .Structural("SoilModel")
            .ValidEnums("SoilModel", [](TMaterial) { return EnabledModels(); })
            .ValidEnums("DrainageType", [](TMaterial m) { return ValidDrainages(ModelOf(m)); })
            .ConfiguredBy("DrainageType", {"SoilModel"});
    }
    {
        TGroupBuilder g("GeneralProperties");
        g.Enumeration("GammaInputMethod", "γ input method", GammaInputMethodCaptions(),
                      "UnitWeights")
            .Double("GammaUnsatDirect", "γ_unsat# (direct)", 0.0, Max, qtVolumetricWeight,
                    "UnitWeights")
            .Double("GammaSatDirect", "γ_sat# (direct)", 0.0, Max, qtVolumetricWeight,
                    "UnitWeights")
            .Double("SaturationAssumedDirect", "Assumed degree of saturation (direct)", 0.0, 100.0,
                    qtPercentage, "UnitWeights")
            .Derived("rhoPoreFluid", "ρ_pore fluid#", 0.0, Max, qtMassDensity, "UnitWeights",
                     [](TMaterial m) { return U(m, "RhoWater"); })
            .Interface("GammaInputMethod", "UnitWeights")
            .Derived("SaturationAssumed", "Assumed degree of saturation", 0.0, 100.0, qtPercentage,
                     "UnitWeights", SaturationAssumed,
                     [](TKovMaterialX& m, double s) {
                         SetI(m, "SaturationAssumedDirect", s);
                         const double rhoS = I(m, "rhoS");
                         if (!IsZero(rhoS))
                             SetI(m, "Wn", s * VoidRatio(m) * U(m, "rhoPoreFluid") / rhoS);
                     })
            .Derived("gammaUnsat", "γ_unsat#", 0.0, Max, qtVolumetricWeight, "UnitWeights",
                     GammaUnsat,
                     [](TKovMaterialX& m, double value) {
                         if (IO(m, "GammaInputMethod") == mxsgimDirect)
                             SetI(m, "GammaUnsatDirect", value);
                     })
            .Derived("gammaSat", "γ_sat#", 0.0, Max, qtVolumetricWeight, "UnitWeights", GammaSat,
                     [](TKovMaterialX& m, double value) {
                         if (IO(m, "GammaInputMethod") == mxsgimDirect)
                             SetI(m, "GammaSatDirect", value);
                     })
            .Mutability("gammaUnsat",
                        F::GetEnumerationSetMutabilityGetter("GammaInputMethod", {mxsgimDirect}))
            .Mutability("gammaSat",
                        F::GetEnumerationSetMutabilityGetter("GammaInputMethod", {mxsgimDirect}))
            .Gets("gammaUnsat", {"GammaInputMethod", "GammaUnsatDirect", "eInit", "rhoS",
                                 "rhoPoreFluid", "SaturationAssumedDirect"})
            .Gets("gammaSat", {"GammaInputMethod", "GammaSatDirect", "eInit", "rhoS",
                               "rhoPoreFluid", "DrainageType"})
            .Gets("SaturationAssumed", {"gammaUnsat", "rhoS", "eInit", "rhoPoreFluid"})
            .Sets("SaturationAssumed", {"Wn"})
            .DependsOn(
                {"GeneralPropertiesVoidRatio", "ProjectParameters", "Intrinsic", "MaterialSet"});
    }
    {
        TGroupBuilder g("GeneralPropertiesDamping");
        g.Double("RayleighAlpha", "Rayleigh α", 0.0, Max, qtDummy, "RayleighDamping")
            .Double("RayleighBeta", "Rayleigh β", 0.0, Max, qtDummy, "RayleighDamping")
            .Interface("RayleighAlpha", "RayleighDamping")
            .Interface("RayleighBeta", "RayleighDamping");
    }
    {
        TGroupBuilder g("GeneralPropertiesVoidRatio");
        g.Double("eInit", "e_init#", 1e-9, Max, qtDummy, "VoidRatio", 0.5)
            .Interface("eInit", "VoidRatio")
            .Derived("nInit", "n_init#", 0.0, 1.0, qtDummy, "VoidRatio", Porosity,
                     [](TKovMaterialX& m, double n) {
                         if (!IsZero(n - 1.0))
                             SetI(m, "eInit", n / (1.0 - n));
                     })
            .Gets("nInit", {"eInit"})
            .Sets("nInit", {"eInit"});
    }
    {
        TGroupBuilder g("Alias_Einit");
        g.Derived("einitAlternatives", "e_init#", 1e-9, Max, qtDummy, "Alternatives",
                  Stored("eInit"), Store("eInit"))
            .Gets("einitAlternatives", {"eInit"})
            .Sets("einitAlternatives", {"eInit"});
    }
    {
        TGroupBuilder g("Intrinsic");
        g.Double("rhoS", "ρ_s#", 0.0, Max, qtMassDensity, "ThermalDiffusion", 2600.0)
            .Double("Wn", "W_n#", 0.0, Max, qtPercentage, "SoilIntrinsicParameters")
            .Double("PeakPhi", "φ_max#", 0.0, 90.0, qtAngle, "SoilIntrinsicParameters")
            .Double("PeakPsi", "ψ_max#", 0.0, 90.0, qtAngle, "SoilIntrinsicParameters")
            .Enumeration("IntrinsicK0NCMethod", "K_0#^nc# method",
                         FromSoilIntrinsicsMethodCaptions(), "SoilIntrinsicParameters")
            .Double("IntrinsicK0ncDirect", "K_0#^nc# (direct)", 0.0, 1.0, qtDummy,
                    "SoilIntrinsicParameters")
            .Enumeration("IntrinsicCSCCMethod", "C_s#/C_c#/C_α# method",
                         AutoOrManualMethodCaptions(), "SoilIntrinsicParameters")
            .Double("IntrinsicCsDirect", "C_s# (direct)", 0.0, Max, qtDummy,
                    "SoilIntrinsicParameters")
            .Double("IntrinsicCcDirect", "C_c# (direct)", 0.0, Max, qtDummy,
                    "SoilIntrinsicParameters")
            .Double("IntrinsicCAlphaDirect", "C_α# (direct)", 0.0, Max, qtDummy,
                    "SoilIntrinsicParameters")
            .Interface("rhoS", "ThermalDiffusion")
            .Interface("Wn", "SoilIntrinsicParameters")
            .Interface("PeakPhi", "SoilIntrinsicParameters")
            .Interface("PeakPsi", "SoilIntrinsicParameters")
            .Interface("IntrinsicK0NCMethod", "SoilIntrinsicParameters")
            .Interface("IntrinsicCSCCMethod", "SoilIntrinsicParameters")
            .Derived(
                "IntrinsicK0NC", "K_0#^nc#", 0.0, 1.0, qtDummy, "SoilIntrinsicParameters",
                [](TMaterial m) {
                    // Jaky (1944): K0nc = 1 - sin(phi) of the peak friction angle.
                    if (IO(m, "IntrinsicK0NCMethod") == mxsfsimFromSoilIntrinsics)
                        return 1.0 - SinDegrees(I(m, "PeakPhi"));
                    return I(m, "IntrinsicK0ncDirect");
                },
                [](TKovMaterialX& m, double value) {
                    SetI(m, "IntrinsicK0NCMethod", mxsfsimDirect);
                    SetI(m, "IntrinsicK0ncDirect", value);
                })
            .Derived("IntrinsicCS", "C_s#", 0.0, Max, qtDummy, "SoilIntrinsicParameters",
                     IntrinsicCs, Store("IntrinsicCsDirect"))
            .Derived("IntrinsicCC", "C_c#", 0.0, Max, qtDummy, "SoilIntrinsicParameters",
                     IntrinsicCc, Store("IntrinsicCcDirect"))
            .Derived("IntrinsicCAlpha", "C_α#", 0.0, Max, qtDummy, "SoilIntrinsicParameters",
                     IntrinsicCAlpha, Store("IntrinsicCAlphaDirect"))
            .Mutability("IntrinsicCS",
                        F::GetEnumerationSetMutabilityGetter("IntrinsicCSCCMethod", {mxsamManual}))
            .Mutability("IntrinsicCC",
                        F::GetEnumerationSetMutabilityGetter("IntrinsicCSCCMethod", {mxsamManual}))
            .Mutability("IntrinsicCAlpha",
                        F::GetEnumerationSetMutabilityGetter("IntrinsicCSCCMethod", {mxsamManual}))
            .Gets("IntrinsicK0NC", {"IntrinsicK0NCMethod", "PeakPhi", "IntrinsicK0ncDirect"})
            .Sets("IntrinsicK0NC", {"IntrinsicK0NCMethod", "IntrinsicK0ncDirect"})
            .Gets("IntrinsicCC", {"IntrinsicCSCCMethod", "IntrinsicCcDirect", "Wn"})
            .Gets("IntrinsicCS", {"IntrinsicCSCCMethod", "IntrinsicCsDirect", "IntrinsicCC"})
            .Gets("IntrinsicCAlpha",
                  {"IntrinsicCSCCMethod", "IntrinsicCAlphaDirect", "IntrinsicCC"});
    }
    {
        TGroupBuilder g("ProjectParameters");
        g.Derived("GravityAcceleration", "g", 0.0, Max, qtAcceleration, "ProjectParameters",
                  Gravity)
            .Derived("RhoWater", "ρ_water#", 0.0, Max, qtMassDensity, "ProjectParameters",
                     WaterDensity);
    }
    {
        TGroupBuilder g("Groundwater");
        // Van Genuchten's defaults are those of a loam (Carsel and Parrish 1988: alpha 3.6/m,
        // n 1.56, residual saturation 0.078 / 0.43); the pressure head limit is the usual
        // 10 km, which never acts in a laboratory test.
        g.Enumeration("GroundwaterModel", "Model", GroundwaterModelCaptions(), "Model")
            .Enumeration("GroundwaterDataSet", "Data set", GroundwaterDataSetCaptions(), "Model")
            .Double("PermHorizontalPrimary", "k_x#", 0.0, Max, qtSpeed, "Permeabilities")
            .Double("PermVertical", "k_y#", 0.0, Max, qtSpeed, "Permeabilities")
            .Double("PermHorizontalSecondary", "k_z#", 0.0, Max, qtSpeed, "Permeabilities")
            .Double("cK", "c_k#", 0.0, Max, qtDummy, "FlowParameters", 1e15)
            .Double("GroundwaterPsiK", "ψ_k#", -Max, Max, qtLength, "UnsaturatedZone")
            .Double("GroundwaterPsiS", "ψ_s#", -Max, Max, qtLength, "UnsaturatedZone")
            .Double("GwPsiUnsat", "ψ_unsat#", 0.0, Max, qtLength, "UnsaturatedZone", 10000.0)
            .Double("SaturationSaturated", "S_sat#", 0.0, 1.0, qtDummy, "ModelParameters", 1.0)
            .Double("SaturationResidual", "S_res#", 0.0, 1.0, qtDummy, "ModelParameters", 0.181)
            .Double("GenuchtenGa", "g_a#", 0.0, Max, qtPerLength, "ModelParameters", 3.6)
            .Double("GenuchtenGn", "g_n#", 1.0, Max, qtDummy, "ModelParameters", 1.56)
            .Double("GenuchtenGl", "g_l#", -Max, Max, qtDummy, "ModelParameters", 0.5)
            .Double("ClayFraction", "Clay", 0.0, 100.0, qtPercentage, "Soil", 10.0)
            .Double("SiltFraction", "Silt", 0.0, 100.0, qtPercentage, "Soil", 13.0)
            .Double("SandFraction", "Sand", 0.0, 100.0, qtPercentage, "Soil", 77.0)
            .Interface("GroundwaterModel", "Model")
            .Interface("GroundwaterDataSet", "Model");
        for (const char* name :
             {"PermHorizontalPrimary", "PermVertical", "PermHorizontalSecondary"})
            g.Interface(name, "Permeabilities");
        g.Interface("cK", "FlowParameters");
        for (const char* name : {"GroundwaterPsiK", "GroundwaterPsiS", "GwPsiUnsat"})
            g.Interface(name, "UnsaturatedZone");
        for (const char* name : {"SaturationSaturated", "SaturationResidual", "GenuchtenGa",
                                 "GenuchtenGn", "GenuchtenGl"})
            g.Interface(name, "ModelParameters");
        for (const char* name : {"ClayFraction", "SiltFraction", "SandFraction"})
            g.Interface(name, "Soil");
        g.Derived("SpecificSurfaceArea", "SSA", 0.0, Max, qtSpecificSurfaceArea, "Soil",
                  SpecificSurfaceArea)
            .ValidEnums("GroundwaterModel",
                        [](TMaterial m) -> std::vector<int> {
                            if (DrainageOf(m) == mxsdtNonPorous)
                                return {mxsgmSaturated};
                            return {mxsgmVanGenuchten, mxsgmApproxVanGenuchten, mxsgmSaturated};
                        })
            .ValidEnums("GroundwaterDataSet",
                        [](TMaterial) -> std::vector<int> {
                            return {mxsgdsStandard, mxsgdsHypres, mxsgdsUSDA, mxsgdsStaringsreeks,
                                    mxsgdsUserDefined};
                        })
            .Gets("SpecificSurfaceArea", {"ClayFraction", "SiltFraction", "SandFraction"});
    }
    {
        TGroupBuilder g("Thermal");
        g.Double("ThCs", "c_s#", 0.0, Max, qtSpecificHeatCapacity, "ThermalDiffusion")
            .Double("ThLambdaS", "λ_s#", 0.0, Max, qtThermalConductivity, "ThermalDiffusion")
            .Double("ThAlphaSX", "α_s,x#", -Max, Max, qtPerTemperature, "ThermalStrain")
            .Double("ThAlphaSY", "α_s,y#", -Max, Max, qtPerTemperature, "ThermalStrain")
            .Double("ThAlphaSZ", "α_s,z#", -Max, Max, qtPerTemperature, "ThermalStrain")
            .Double("Dv", "D_v#", 0.0, Max, qtVapourDiffusion, "VapourDiffusion")
            .Double("fTv", "f_Tv#", 0.0, Max, qtDummy, "VapourDiffusion")
            .Double("Rthermal", "R_thermal#", 0.0, Max, qtThermalInsulance, "FreezingThawing");
        g.Interface("ThCs", "ThermalDiffusion").Interface("ThLambdaS", "ThermalDiffusion");
        for (const char* name : {"ThAlphaSX", "ThAlphaSY", "ThAlphaSZ"})
            g.Interface(name, "ThermalStrain");
        g.Interface("Dv", "VapourDiffusion")
            .Interface("fTv", "VapourDiffusion")
            .Interface("Rthermal", "FreezingThawing");
    }
    {
        TGroupBuilder g("Interfaces");
        g.Enumeration("InterfacesStiffnessMethod", "Stiffness determination",
                      InterfacesStiffnessMethodCaptions(), "InterfacesStiffness")
            .Interface("InterfacesStiffnessMethod", "InterfacesStiffness")
            // An interface's stiffness can follow the soil's oedometer modulus only where the
            // model has one (the elastic E_oed, or Hardening Soil's E_oed^ref).
            .ValidEnums("InterfacesStiffnessMethod", [](TMaterial m) -> std::vector<int> {
                if (HasUser(m, "EOed") || HasUser(m, "EOedRef"))
                    return {mxsistDerived, mxsistDirect, mxsistFromEoed};
                return {mxsistDerived, mxsistDirect};
            });
    }
    {
        TGroupBuilder g("Interfaces_StrengthParameters");
        g.Enumeration("InterfaceStrengthDetermination", "Strength determination",
                      InterfacesStrengthMethodCaptions(), "InterfacesStrength")
            .Double("Rinter_direct", "R_inter# (direct)", 0.01, 1.0, qtDummy, "InterfacesStrength",
                    1.0)
            .Double("RInterResidualDirect", "R_inter,residual# (direct)", 0.01, 1.0, qtDummy,
                    "InterfacesStrength", 1.0)
            .Interface("InterfaceStrengthDetermination", "InterfacesStrength")
            .Derived(
                "Rinter", "R_inter#", 0.01, 1.0, qtDummy, "InterfacesStrength",
                [](TMaterial m) {
                    return IO(m, "InterfaceStrengthDetermination") == mxsismRigid
                               ? 1.0
                               : I(m, "Rinter_direct");
                },
                Store("Rinter_direct"))
            .Derived(
                "RinterResidual", "R_inter,residual#", 0.01, 1.0, qtDummy, "InterfacesStrength",
                [](TMaterial m) {
                    switch (IO(m, "InterfaceStrengthDetermination")) {
                    case mxsismManualWithResidualStrength:
                        return I(m, "RInterResidualDirect");
                    case mxsismManual:
                        return I(m, "Rinter_direct");
                    default:
                        return 1.0;
                    }
                },
                Store("RInterResidualDirect"))
            .Mutability("Rinter", F::GetEnumerationSetMutabilityGetter(
                                      "InterfaceStrengthDetermination",
                                      {mxsismManual, mxsismManualWithResidualStrength}))
            .Mutability("RinterResidual",
                        F::GetEnumerationSetMutabilityGetter("InterfaceStrengthDetermination",
                                                             {mxsismManualWithResidualStrength}))
            .Gets("Rinter", {"InterfaceStrengthDetermination", "Rinter_direct"})
            .Gets("RinterResidual",
                  {"InterfaceStrengthDetermination", "RInterResidualDirect", "Rinter_direct"});
    }
    {
        TGroupBuilder g("MCFailureCriteriaInterfaces");
        g.Double("CInter", "c_ref,inter#", 0.0, Max, qtPressure, "InterfacesStrength")
            .Double("PhiInter", "φ_inter# (phi)", 0.0, 90.0, qtAngle, "InterfacesStrength")
            .Double("PsiInter", "ψ_inter# (psi)", 0.0, 90.0, qtAngle, "InterfacesStrength")
            .Interface("CInter", "InterfacesStrength")
            .Interface("PhiInter", "InterfacesStrength")
            .Interface("PsiInter", "InterfacesStrength");
    }
    {
        TGroupBuilder g("Initial");
        g.Enumeration("K0Determination", "K_0# determination", AutoOrManualMethodCaptions(),
                      "K0Settings")
            .Boolean("K0PrimaryIsK0Secondary", "K_0,primary# = K_0,secondary#", "K0Settings", true)
            .Double("K0PrimaryDirect", "K_0,x# (direct)", 0.0, Max, qtDummy, "K0Settings", 0.5)
            .Double("K0SecondaryDirect", "K_0,z# (direct)", 0.0, Max, qtDummy, "K0Settings", 0.5)
            .Enumeration("OCRPOPMethod", "OCR-POP method", POPOCRMethodCaptions(),
                         "Overconsolidation")
            .Double("POPDirect", "POP (direct)", 0.0, Max, qtPressure, "Overconsolidation")
            .Double("OCRDirect", "OCR (direct)", 1.0, Max, qtDummy, "Overconsolidation", 1.0)
            .Interface("K0Determination", "K0Settings")
            .Interface("K0PrimaryIsK0Secondary", "K0Settings", ipkNotPublished)
            .DerivedBoolean(
                "K0PrimaryIsK0Secondary2D", "K_0,primary# = K_0,secondary#", "K0Settings",
                TMXParametersConstructor::GetBooleanInternalGetter("K0PrimaryIsK0Secondary"),
                TMXParametersConstructor::GetBooleanInternalSetter("K0PrimaryIsK0Secondary"))
            .DerivedBoolean(
                "K0PrimaryIsK0Secondary3D", "K_0,primary# = K_0,secondary#", "K0Settings",
                TMXParametersConstructor::GetBooleanInternalGetter("K0PrimaryIsK0Secondary"),
                TMXParametersConstructor::GetBooleanInternalSetter("K0PrimaryIsK0Secondary"))
            .Derived("K0Primary", "K_0,x#", 0.0, Max, qtDummy, "K0Settings", K0Primary,
                     SetK0Primary)
            .Derived("K0Secondary", "K_0,z#", 0.0, Max, qtDummy, "K0Settings", K0Secondary,
                     SetK0Secondary, ipkNotPublished)
            .Copy("K0Secondary", "K0Secondary2D", "K_0,z#", "K0Settings")
            .Copy("K0Secondary", "K0Secondary3D", "K_0,y#", "K0Settings")
            .Interface("OCRPOPMethod", "Overconsolidation")
            .Derived(
                "POP", "POP", 0.0, Max, qtPressure, "Overconsolidation",
                [](TMaterial m) {
                    return IO(m, "OCRPOPMethod") == mxspomPOP ? I(m, "POPDirect") : 0.0;
                },
                [](TKovMaterialX& m, double value) {
                    SetI(m, "OCRPOPMethod", mxspomPOP);
                    SetI(m, "POPDirect", value);
                })
            .Derived(
                "OCR", "OCR", 1.0, Max, qtDummy, "Overconsolidation",
                [](TMaterial m) {
                    return IO(m, "OCRPOPMethod") == mxspomOCR ? I(m, "OCRDirect") : 1.0;
                },
                [](TKovMaterialX& m, double value) {
                    SetI(m, "OCRPOPMethod", mxspomOCR);
                    SetI(m, "OCRDirect", value);
                });
        for (const char* name : {"K0Primary", "K0Secondary", "K0Secondary2D", "K0Secondary3D"})
            g.Mutability(name,
                         F::GetEnumerationSetMutabilityGetter("K0Determination", {mxsamManual}));
        g.Visibility("K0Secondary2D", F::Get2DSpecificVisibilityFunction())
            .Visibility("K0Secondary3D", F::Get3DSpecificVisibilityFunction())
            .Visibility("K0PrimaryIsK0Secondary2D", F::Get2DSpecificVisibilityFunction())
            .Visibility("K0PrimaryIsK0Secondary3D", F::Get3DSpecificVisibilityFunction())
            .Gets("K0Primary", {"K0Determination", "K0PrimaryDirect", "OCR", "POP"})
            .Sets("K0Primary", {"K0PrimaryDirect", "K0SecondaryDirect"})
            .Gets("K0Secondary", {"K0Primary", "K0PrimaryIsK0Secondary", "K0SecondaryDirect"})
            .Sets("K0Secondary", {"K0SecondaryDirect"})
            .Gets("POP", {"OCRPOPMethod", "POPDirect"})
            .Sets("POP", {"OCRPOPMethod", "POPDirect"})
            .Gets("OCR", {"OCRPOPMethod", "OCRDirect"})
            .Sets("OCR", {"OCRPOPMethod", "OCRDirect"})
            .ConfiguredBy("K0Primary", {"K0Determination"});
    }
    {
        TGroupBuilder g("UndrainedBehaviour");
        g.Enumeration("ExcessPorePressureDetermination", "Undrained behaviour",
                      UndrainedBehaviourMethodCaptions(), "ExcessPorePressureCalculation")
            .Enumeration("UndrainedNuDefinitionMethod", "ν_u# determination",
                         UndrainedNuDefinitionMethodCaptions(), "ExcessPorePressureCalculation")
            .Double("KwDirect", "K_w# (direct)", 0.0, Max, qtPressure,
                    "ExcessPorePressureCalculation", 5e8)
            .Double("alphaBiotDirect", "α_Biot# (direct)", 0.0, 1.0, qtDummy,
                    "ExcessPorePressureCalculation", 1.0)
            .Double("nuUEquivalentDirect", "ν_u# (direct)", 0.0, 0.499, qtDummy,
                    "ExcessPorePressureCalculation", 0.495)
            .Double("SkemptonBDirect", "Skempton-B (direct)", 0.0, 1.0, qtDummy,
                    "ExcessPorePressureCalculation", 0.978261)
            .Interface("ExcessPorePressureDetermination", "ExcessPorePressureCalculation")
            .Interface("UndrainedNuDefinitionMethod", "ExcessPorePressureCalculation")
            .Derived("KAir", "K_air#", 0.0, Max, qtPressure, "ExcessPorePressureCalculation",
                     [](TMaterial) { return 100000.0; })
            .Derived("Kw0", "K_w,ref#", 0.0, Max, qtPressure, "ExcessPorePressureCalculation",
                     [](TMaterial) { return 2e9; })
            .Derived("Kw", "K_w#", 0.0, Max, qtPressure, "ExcessPorePressureCalculation", Kw,
                     Store("KwDirect"))
            .Derived("alphaBiot", "α_Biot#", 0.0, 1.0, qtDummy, "ExcessPorePressureCalculation",
                     Stored("alphaBiotDirect"), Store("alphaBiotDirect"))
            .Derived("Ks", "K_s#", 0.0, Max, qtPressure, "ExcessPorePressureCalculation", Ks)
            .Derived("SkemptonB", "Skempton-B", 0.0, 1.0, qtDummy, "ExcessPorePressureCalculation",
                     SkemptonB, SetSkemptonB)
            .Derived("nuUEquivalent", "ν_u#", 0.0, 0.499, qtDummy, "ExcessPorePressureCalculation",
                     NuUEquivalent, SetNuUEquivalent)
            .Derived("Kwn", "K_w,ref# / n", 0.0, Max, qtPressure, "ExcessPorePressureCalculation",
                     Kwn)
            .Mutability("Kw", F::GetEnumerationSetMutabilityGetter(
                                  "ExcessPorePressureDetermination", {mxsubBiotEffectiveStress}))
            .Mutability("nuUEquivalent",
                        [](TMaterial m) {
                            return IO(m, "ExcessPorePressureDetermination") == mxsubNuUDefinition &&
                                           IO(m, "UndrainedNuDefinitionMethod") == mxsundDirect
                                       ? mxmMutable
                                       : mxmReadOnly;
                        })
            .Mutability("SkemptonB",
                        [](TMaterial m) {
                            return IO(m, "ExcessPorePressureDetermination") == mxsubNuUDefinition &&
                                           IO(m, "UndrainedNuDefinitionMethod") ==
                                               mxsundSkemptonBBased
                                       ? mxmMutable
                                       : mxmReadOnly;
                        })
            .Gets("SkemptonB",
                  {"ExcessPorePressureDetermination", "UndrainedNuDefinitionMethod",
                   "SkemptonBDirect", "nuUEquivalentDirect", "alphaBiot", "KwDirect", "eInit"})
            .Sets("SkemptonB", {"SkemptonBDirect"})
            .Gets("nuUEquivalent",
                  {"ExcessPorePressureDetermination", "UndrainedNuDefinitionMethod",
                   "nuUEquivalentDirect", "SkemptonB", "alphaBiot", "DrainageType"})
            .Sets("nuUEquivalent", {"nuUEquivalentDirect"})
            .Gets("Kwn", {"ExcessPorePressureDetermination", "nuUEquivalent", "eInit"})
            .Gets("Kw", {"ExcessPorePressureDetermination", "KwDirect", "Kwn", "eInit"})
            .Sets("Kw", {"KwDirect"})
            .Gets("alphaBiot", {"alphaBiotDirect"})
            .Sets("alphaBiot", {"alphaBiotDirect"})
            .Gets("Ks", {"ExcessPorePressureDetermination", "alphaBiot"})
            .DependsOn({"GeneralPropertiesVoidRatio", "MaterialSet"});
        for (const char* name :
             {"ExcessPorePressureDetermination", "UndrainedNuDefinitionMethod", "KAir", "Kw0", "Kw",
              "alphaBiot", "Ks", "SkemptonB", "nuUEquivalent", "Kwn"})
            g.Visibility(name, F::GetUndrainedBehaviourCheckerForVisibility());
    }
    // Groups that mark what a model has, and declare nothing of their own.
    for (const char* marker : {"ClientGeometry", "NoMaterialDummy", "RefLevel_Stiffness",
                               "RefLevel_Strength", "Tension", "User_Nu", "User_NuU", "User_NuUR",
                               "User_Psi", "User_Stiffness", "User_StiffnessAlternatives",
                               "User_Strength", "User_Miscellaneous", "User_MiscellaneousDefaults",
                               "LinearElastic", "MC", "SoftSoil", "SOI_SS", "SOInviscid"}) {
        TGroupBuilder g(marker);
    }
    {
        TGroupBuilder g("RefLevel");
        g.Double("VerticalRef", "Ref level", -Max, Max, qtLength, "StiffnessDepthDependency")
            .Interface("VerticalRef", "StiffnessDepthDependency");
    }
    {
        TGroupBuilder g("AllSoilMaterials");
        g.DependsOn({"MaterialSet", "GeneralProperties", "GeneralPropertiesDamping",
                     "GeneralPropertiesVoidRatio", "Groundwater", "Thermal", "Interfaces",
                     "Initial", "ProjectParameters", "ClientGeometry"});
    }
}

} // namespace tw::soil
