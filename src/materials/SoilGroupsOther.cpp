// NGI-ADP and UDCAM-S, Hoek-Brown, Jointed Rock, UBC3D-PLM and the concrete (shotcrete) model.

#include "materials/SoilMaterialXGroups.h"

#include <cmath>

namespace tw::soil {

namespace {

using F = TMXIPConfigurationFunctions;

double ByMethod(TMaterial m, const char* method, const char* direct, const char* intrinsic) {
    return IO(m, method) == mxsfsimFromSoilIntrinsics ? I(m, intrinsic) : I(m, direct);
}

// --- Hoek-Brown: Hoek, Carranza-Torres and Corkum (2002), "Hoek-Brown failure criterion - 2002
// edition": mb = mi exp((GSI - 100) / (28 - 14 D)), s = exp((GSI - 100) / (9 - 3 D)),
// a = 1/2 + (exp(-GSI/15) - exp(-20/3)) / 6; the rock mass's uniaxial compressive strength
// sigma_c = sigma_ci s^a and its tensile strength sigma_t = s sigma_ci / mb (both magnitudes).

bool HBDerived(TMaterial m) {
    return IO(m, "HoekBrownParameterDetermination") == mxshbpdDerived;
}

double HBmb(TMaterial m) {
    if (!HBDerived(m))
        return I(m, "mbDirect");
    return I(m, "mi") * std::exp((I(m, "GSI") - 100.0) / (28.0 - 14.0 * I(m, "Disturbance")));
}

double HBs(TMaterial m) {
    if (!HBDerived(m))
        return I(m, "sDirect");
    return std::exp((I(m, "GSI") - 100.0) / (9.0 - 3.0 * I(m, "Disturbance")));
}

double HBa(TMaterial m) {
    if (!HBDerived(m))
        return I(m, "aDirect");
    return 0.5 + (std::exp(-I(m, "GSI") / 15.0) - std::exp(-20.0 / 3.0)) / 6.0;
}

void SetHB(TKovMaterialX& m, const char* direct, double value) {
    SetI(m, "HoekBrownParameterDetermination", mxshbpdDirect);
    SetI(m, direct, value);
}

// --- UBC3D-PLM (Petalas and Galavi 2013): defaults of the advanced numbers.

double UBCDefaulted(TMaterial m, const char* direct, double defaultValue) {
    return IB(m, "SetToDefaultValues") ? defaultValue : I(m, direct);
}

// --- Concrete (Schaedlich and Schweiger 2014, shotcrete model).

bool TimeDependent(TMaterial m) {
    return IB(m, "TimeDependentMechanicalProperties");
}

// The strength after one day relative to 28 days: the CEB-FIP model code 1990 function
// beta_cc(t) = exp(s (1 - sqrt(28 / t))) at t = 1 day with s = 0.25 (normally hardening
// cement); the early strength classes take the user's ratio.
double Fc1Fc28Ratio(TMaterial m) {
    if (!TimeDependent(m))
        return 1.0;
    if (IO(m, "StrengthFunction") == mxssfCEBFIP)
        return std::exp(0.25 * (1.0 - std::sqrt(28.0)));
    return I(m, "Fc1Fc28RatioDirect");
}

// The stiffness after one day relative to 28 days: CEB-FIP 1990 takes it as the square root of
// the strength ratio.
double E1E28Ratio(TMaterial m) {
    if (!TimeDependent(m))
        return 1.0;
    if (IO(m, "StrengthFunction") == mxssfCEBFIP)
        return std::sqrt(Fc1Fc28Ratio(m));
    return I(m, "E1E28RationDirect");
}

} // namespace

void RegisterOtherModelGroups() {
    {
        TGroupBuilder g("NGIADP");
        g.Double("GURsUARatio", "G_ur# / s_u#^A#", 0.0, Max, qtDummy, "Stiffness")
            .Double("gammaFC", "γ_f#^C#", 0.0, 75.0, qtPercentage, "FailurePlasticStrains", 0.1)
            .Double("gammaFE", "γ_f#^E#", 0.0, 150.0, qtPercentage, "FailurePlasticStrains", 0.2)
            .Double("gammaFDSS", "γ_f#^DSS#", 0.0, 150.0, qtPercentage, "FailurePlasticStrains",
                    0.1)
            .Double("sUARef", "s_u#^A#_ref#", 0.0, Max, qtPressure, "ActiveUndrainedShear")
            .Double("sUCTxsUARatio", "s_u#^C,TX# / s_u#^A#", 0.0, Max, qtDummy, "StrengthRatio",
                    0.99)
            .Double("sUAInc", "s_u#^A#_inc#", -Max, Max, qtPressurePerLength,
                    "ActiveUndrainedShearDepthDependency")
            .Double("sUPsUARatio", "s_u#^P# / s_u#^A#", 0.0, 1.0, qtDummy, "StrengthRatio")
            .Double("sUDSSsUARatio", "s_u#^DSS# / s_u#^A#", 0.0, 1.0, qtDummy, "StrengthRatio")
            .Double("tau0sUARatio", "τ_0# / s_u#^A#", 0.0, 1.0, qtDummy, "Miscellaneous", 0.7)
            .Double("NGINuU", "ν_u# (nu)", 0.0, 0.499, qtDummy, "Stiffness", 0.495)
            .Double("VerticalInclination", "Vertical inclination", -Max, Max, qtDummy,
                    "ActiveUndrainedShearDepthDependency")
            .Double("AdvancedParameterDivFailureStrainTriaxBiax", "a_2#", 0.0, 1.0, qtDummy,
                    "FailurePlasticStrains");
        for (const char* name : {"GURsUARatio", "NGINuU"})
            g.Interface(name, "Stiffness");
        for (const char* name :
             {"gammaFC", "gammaFE", "gammaFDSS", "AdvancedParameterDivFailureStrainTriaxBiax"})
            g.Interface(name, "FailurePlasticStrains");
        g.Interface("sUARef", "ActiveUndrainedShear");
        for (const char* name : {"sUCTxsUARatio", "sUPsUARatio", "sUDSSsUARatio"})
            g.Interface(name, "StrengthRatio");
        g.Interface("sUAInc", "ActiveUndrainedShearDepthDependency")
            .Interface("VerticalInclination", "ActiveUndrainedShearDepthDependency")
            .Interface("tau0sUARatio", "Miscellaneous")
            .Derived("nuU", "ν_u# (nu)", 0.0, 0.499, qtDummy, "Stiffness", Stored("NGINuU"),
                     Store("NGINuU"), ipkNotPublished)
            .Derived("NGIGref", "G_ref#", 0.0, Max, qtPressure, "Stiffness",
                     [](TMaterial m) { return I(m, "GURsUARatio") * I(m, "sUARef"); })
            // Undrained triaxial shear strains over axial strains: gamma = 3/2 eps1.
            .Derived("eps1FCTx", "ε_1,f#^C,TX#", 0.0, Max, qtPercentage, "FailurePlasticStrains",
                     [](TMaterial m) { return 2.0 / 3.0 * I(m, "gammaFC"); })
            .Derived("eps1FETx", "ε_1,f#^E,TX#", 0.0, Max, qtPercentage, "FailurePlasticStrains",
                     [](TMaterial m) { return 2.0 / 3.0 * I(m, "gammaFE"); })
            .Derived("NGIYRef", "y_ref#", -Max, Max, qtLength,
                     "ActiveUndrainedShearDepthDependency", Stored("VerticalRef"),
                     Store("VerticalRef"))
            .Derived("NGIZRef", "z_ref#", -Max, Max, qtLength,
                     "ActiveUndrainedShearDepthDependency", Stored("VerticalRef"),
                     Store("VerticalRef"))
            .Visibility("NGIYRef", F::Get2DSpecificVisibilityFunction())
            .Visibility("NGIZRef", F::Get3DSpecificVisibilityFunction())
            .Gets("NGIGref", {"GURsUARatio", "sUARef"})
            .Gets("eps1FCTx", {"gammaFC"})
            .Gets("eps1FETx", {"gammaFE"})
            .Gets("NGIYRef", {"VerticalRef"})
            .Gets("NGIZRef", {"VerticalRef"})
            .DependsOn({"ClientGeometry", "Initial", "RefLevel", "User_NuU"});
    }
    {
        // UDCAM-S names the NGI-ADP values after its cyclic contour diagrams.
        TGroupBuilder g("UDCAMS");
        for (const auto& [name, stored, caption, collection] :
             {std::tuple<const char*, const char*, const char*, const char*>{
                  "GMaxtauCRatio", "GURsUARatio", "G_max# / τ_C#", "Stiffness"},
              {"tauCRef", "sUARef", "τ_C,ref#", "ActiveUndrainedShear"},
              {"tauCInc", "sUAInc", "τ_C,inc#", "ActiveUndrainedShearDepthDependency"},
              {"tauEtauCRatio", "sUPsUARatio", "τ_E# / τ_C#", "StrengthRatio"},
              {"tau0tauCRatio", "tau0sUARatio", "τ_0# / τ_C#", "Miscellaneous"},
              {"tauDSStauCRatio", "sUDSSsUARatio", "τ_DSS# / τ_C#", "StrengthRatio"}})
            g.Derived(name, caption, -Max, Max, qtDummy, collection, Stored(stored), Store(stored));
    }
    {
        TGroupBuilder g("HoekBrown");
        g.Double("AbsSigmaCI", "|σ_ci#|", 0.0, Max, qtPressure,
                 "UniaxialCompressiveStrengthOfIntactRock")
            .Double("mi", "m_i#", 0.0, Max, qtDummy, "HoekBrownParameters")
            .Double("GSI", "GSI", 0.0, 100.0, qtDummy, "HoekBrownParameters", 5.0)
            .Double("Disturbance", "D", 0.0, 1.0, qtDummy, "HoekBrownParameters")
            .Enumeration("psiMaxMethod", "ψ_max# method", FromSoilIntrinsicsMethodCaptions(),
                         "Dilatancy")
            .Double("PsiMaxDirect", "ψ_max# (direct)", 0.0, 90.0, qtAngle, "Dilatancy")
            .Double("sigmaPsi", "σ_ψ#", 0.0, Max, qtPressure, "Dilatancy")
            .Double("SigmaT", "σ_t#", -Max, Max, qtPressure, "RockMassParameters")
            .Double("SigmaC", "σ_c#", -Max, Max, qtPressure, "RockMassParameters")
            .Enumeration("HoekBrownParameterDetermination", "Determination",
                         HoekBrownParameterDeterminationCaptions(), "HoekBrownParameters")
            .Double("mbDirect", "mb (Direct)", 0.0, 1000.0, qtDummy, "HoekBrownParameters")
            .Double("sDirect", "s (Direct)", 1e-9, 1.0, qtDummy, "HoekBrownParameters")
            .Double("aDirect", "a (Direct)", 0.1, 1.0, qtDummy, "HoekBrownParameters")
            .Boolean("HBTensionCutOffDirect", "Tension cut-off", "Tension", false)
            .Double("HBTensileStrengthDirect", "Tensile strength (direct)", 0.0, Max, qtPressure,
                    "Tension", 0.0)
            .Interface("AbsSigmaCI", "UniaxialCompressiveStrengthOfIntactRock");
        for (const char* name : {"mi", "GSI", "Disturbance", "HoekBrownParameterDetermination"})
            g.Interface(name, "HoekBrownParameters");
        g.Interface("psiMaxMethod", "Dilatancy")
            .MethodDerived(
                "psiMax", "ψ_max#", 0.0, 90.0, qtAngle, "Dilatancy",
                [](TMaterial m) { return ByMethod(m, "psiMaxMethod", "PsiMaxDirect", "PeakPsi"); },
                "psiMaxMethod", mxsfsimDirect, "PsiMaxDirect")
            .Interface("sigmaPsi", "Dilatancy")
            .Derived("mb", "m_b#", 0.0, 1000.0, qtDummy, "HoekBrownParameters", HBmb,
                     [](TKovMaterialX& m, double v) { SetHB(m, "mbDirect", v); })
            .Derived("s", "s", 1e-9, 1.0, qtDummy, "HoekBrownParameters", HBs,
                     [](TKovMaterialX& m, double v) { SetHB(m, "sDirect", v); })
            .Derived("alpha", "a", 0.1, 1.0, qtDummy, "HoekBrownParameters", HBa,
                     [](TKovMaterialX& m, double v) { SetHB(m, "aDirect", v); })
            .DerivedBoolean(
                "TensionCutOff", "Tension cut-off", "Tension",
                TMXParametersConstructor::GetBooleanInternalGetter("HBTensionCutOffDirect"),
                TMXParametersConstructor::GetBooleanInternalSetter("HBTensionCutOffDirect"))
            .Derived("TensileStrength", "Tensile strength", 0.0, Max, qtPressure, "Tension",
                     Stored("HBTensileStrengthDirect"), Store("HBTensileStrengthDirect"))
            .Derived("SigmaT", "σ_t#", -Max, Max, qtPressure, "RockMassParameters",
                     [](TMaterial m) {
                         return NamedDivide(HBs(m) * I(m, "AbsSigmaCI"), HBmb(m), "σ_t#");
                     })
            .Derived("SigmaC", "σ_c#", -Max, Max, qtPressure, "RockMassParameters",
                     [](TMaterial m) { return I(m, "AbsSigmaCI") * std::pow(HBs(m), HBa(m)); })
            .Mutability("TensileStrength", F::GetBooleanMutabilityGetter("TensionCutOff"))
            .Gets("mb", {"HoekBrownParameterDetermination", "mi", "GSI", "Disturbance", "mbDirect"})
            .Gets("s", {"HoekBrownParameterDetermination", "GSI", "Disturbance", "sDirect"})
            .Gets("alpha", {"HoekBrownParameterDetermination", "GSI", "aDirect"})
            .Gets("SigmaT", {"mb", "s", "AbsSigmaCI"})
            .Gets("SigmaC", {"s", "alpha", "AbsSigmaCI"})
            .Gets("psiMax", {"psiMaxMethod", "PsiMaxDirect", "PeakPsi"})
            .DependsOn({"Initial", "Intrinsic", "Tension"});
    }
    {
        TGroupBuilder g("JointedRock");
        g.Double("ET", "E_t#", 0.0, Max, qtPressure, "Stiffness")
            .Double("EN", "E_n#", 0.0, Max, qtPressure, "Stiffness")
            .Double("GNT", "G_nt#", 0.0, Max, qtPressure, "Stiffness")
            .Double("nuNT", "v_nt#", 0.0, 0.499, qtDummy, "Stiffness")
            .Double("nuTS", "v_ts#", 0.0, 0.499, qtDummy, "Stiffness")
            .Enumeration("NumberOfPlanes", "Number of planes", JRPlanesCaptions(), "PlaneStrength");
        for (const char* name : {"ET", "EN", "GNT", "nuNT", "nuTS"})
            g.Interface(name, "Stiffness");
        g.Interface("NumberOfPlanes", "PlaneStrength");
        for (int plane = 1; plane <= 3; ++plane) {
            const std::string p = std::to_string(plane);
            const std::string shear = "Plane" + p + "ShearStrength";
            const std::string orientation = "Plane" + p + "Orientation";
            const std::string tensile = "Plane" + p + "TensileStrength";
            g.Double("c" + p, "c_" + p + "#", 0.0, Max, qtPressure, shear)
                .Enumeration("JRPhi" + p + "Method", "φ_" + p + "# method",
                             FromSoilIntrinsicsMethodCaptions(), shear)
                .Double("JRPhi" + p + "Direct", "φ_" + p + "# (direct)", 0.0, 90.0, qtAngle, shear)
                .Enumeration("JRPsi" + p + "Method", "ψ_" + p + "# method",
                             FromSoilIntrinsicsMethodCaptions(), shear)
                .Double("JRPsi" + p + "Direct", "ψ_" + p + "# (direct)", 0.0, 90.0, qtAngle, shear)
                .Double("alpha1" + p, "α_1" + p + "# (alpha 1)", -180.0, 180.0, qtAngle,
                        orientation)
                .Double("alpha2" + p, "α_2" + p + "# (alpha 2)", -180.0, 180.0, qtAngle,
                        orientation, 90.0)
                .Boolean("TensionCutOff" + p, "Tension cut-off_" + p + "#", tensile, true)
                .Double("TensileStrength" + p, "Tensile strength_" + p + "#", 0.0, Max, qtPressure,
                        tensile, 0.0)
                .Interface("c" + p, shear)
                .Interface("JRPhi" + p + "Method", shear)
                .MethodDerived(
                    "phi" + p, "φ_" + p + "#", 0.0, 90.0, qtAngle, shear,
                    [p](TMaterial m) {
                        return ByMethod(m, ("JRPhi" + p + "Method").c_str(),
                                        ("JRPhi" + p + "Direct").c_str(), "PeakPhi");
                    },
                    "JRPhi" + p + "Method", mxsfsimDirect, "JRPhi" + p + "Direct")
                .Interface("JRPsi" + p + "Method", shear)
                .MethodDerived(
                    "psi" + p, "ψ_" + p + "#", 0.0, 90.0, qtAngle, shear,
                    [p](TMaterial m) {
                        return ByMethod(m, ("JRPsi" + p + "Method").c_str(),
                                        ("JRPsi" + p + "Direct").c_str(), "PeakPsi");
                    },
                    "JRPsi" + p + "Method", mxsfsimDirect, "JRPsi" + p + "Direct")
                .Interface("alpha1" + p, orientation)
                .Interface("alpha2" + p, orientation)
                .Interface("TensionCutOff" + p, tensile)
                .Interface("TensileStrength" + p, tensile)
                .Gets("phi" + p, {"JRPhi" + p + "Method", "JRPhi" + p + "Direct", "PeakPhi"})
                .Gets("psi" + p, {"JRPsi" + p + "Method", "JRPsi" + p + "Direct", "PeakPsi"});
            if (plane > 1) {
                // A plane takes part from the number of planes that includes it.
                std::vector<int> shown;
                for (int count = plane; count <= 3; ++count)
                    shown.push_back(count - 1);
                for (const std::string& name :
                     {"c" + p, "JRPhi" + p + "Method", "phi" + p, "JRPsi" + p + "Method", "psi" + p,
                      "alpha1" + p, "alpha2" + p, "TensionCutOff" + p, "TensileStrength" + p})
                    g.Visibility(name,
                                 F::GetEnumerationSetVisibilityGetter("NumberOfPlanes", shown));
            }
        }
        g.Derived("GT", "G_t#", 0.0, Max, qtPressure, "Stiffness",
                  [](TMaterial m) { return I(m, "ET") / (2.0 * (1.0 + I(m, "nuNT"))); })
            .Derived("KRef", "K_ref#", 0.0, Max, qtPressure, "Stiffness",
                     [](TMaterial m) {
                         return NamedDivide(I(m, "ET"), 3.0 * (1.0 - 2.0 * I(m, "nuNT")), "K_ref#");
                     })
            .Gets("GT", {"ET", "nuNT"})
            .Gets("KRef", {"ET", "nuNT"})
            .DependsOn({"ClientGeometry", "Initial", "Intrinsic", "UndrainedBehaviour"});
    }
    {
        TGroupBuilder g("UBC3DPLM");
        g.Double("KBeModified", "k^*#_B#^e#", 0.0, Max, qtDummy, "Stiffness")
            .Double("KGeModified", "k^*#_G#^e#", 0.0, Max, qtDummy, "Stiffness")
            .Double("KGpModified", "k^*#_G#^p#", 0.0, Max, qtDummy, "Stiffness")
            .Double("me", "m_e#", 0.0, 1.0, qtDummy, "Stiffness")
            .Double("ne", "n_e#", 0.0, 1.0, qtDummy, "Stiffness")
            .Double("UBCSNP", "n_p#", 0.0, 1.0, qtDummy, "Stiffness")
            .Double("phiCv", "φ_cv#", 0.0, 90.0, qtAngle, "Shear")
            .Double("phiP", "φ_p#", 0.0, 90.0, qtAngle, "Shear")
            .Double("c", "c", 0.0, Max, qtPressure, "Shear")
            .Double("sigT", "σ_t#", 0.0, Max, qtPressure, "Tension")
            .Double("N160", "(N_1#)_60#", 0.0, Max, qtDummy, "FieldData")
            .Boolean("SetToDefaultValues", "Use defaults", "AdvancedMechanical", true)
            .Double("FDensDirect", "f_dens# (direct)", 0.0, Max, qtDummy,
                    "AdvancedMechanicalStiffness", 1.0)
            .Double("FEPostDirect", "f_Epost# (direct)", 0.0, Max, qtDummy,
                    "AdvancedMechanicalStiffness", 1.0)
            .Double("UBCPRefDirect", "p_ref# (direct)", 0.0, Max, qtPressure, "Stiffness", 100000.0)
            .Double("UBCRFDirect", "R_f# (direct)", 0.001, 1.0, qtDummy,
                    "AdvancedMechanicalStrength", 0.9);
        for (const char* name : {"KBeModified", "KGeModified", "KGpModified", "me", "ne", "UBCSNP"})
            g.Interface(name, "Stiffness");
        for (const char* name : {"phiCv", "phiP", "c"})
            g.Interface(name, "Shear");
        g.Interface("sigT", "Tension")
            .Interface("N160", "FieldData")
            .Interface("SetToDefaultValues", "AdvancedMechanical")
            .Copy("SetToDefaultValues", "UseDefaults", "Use defaults", "AdvancedMechanical",
                  ipkNotPublished)
            .Alias("UseDefaults", "SetToDefaultValues")
            .Derived(
                "FDens", "f_dens#", 0.0, Max, qtDummy, "AdvancedMechanicalStiffness",
                [](TMaterial m) { return UBCDefaulted(m, "FDensDirect", 1.0); },
                Store("FDensDirect"))
            .Derived(
                "FEPost", "f_Epost#", 0.0, Max, qtDummy, "AdvancedMechanicalStiffness",
                [](TMaterial m) { return UBCDefaulted(m, "FEPostDirect", 1.0); },
                Store("FEPostDirect"))
            .Derived(
                "UBCPRef", "p_ref#", 0.0, Max, qtPressure, "Stiffness",
                [](TMaterial m) { return UBCDefaulted(m, "UBCPRefDirect", 100000.0); },
                Store("UBCPRefDirect"))
            .Derived(
                "UBCRF", "R_f#", 0.001, 1.0, qtDummy, "AdvancedMechanicalStrength",
                [](TMaterial m) { return UBCDefaulted(m, "UBCRFDirect", 0.9); },
                Store("UBCRFDirect"))
            .Derived("KRef", "K_ref#", 0.0, Max, qtPressure, "Stiffness",
                     [](TMaterial m) { return I(m, "KBeModified") * U(m, "UBCPRef"); })
            .Derived("nu", "ν (nu)", 0.0, 0.45, qtDummy, "Stiffness", ModelNu);
        for (const char* name : {"FDens", "FEPost", "UBCPRef", "UBCRF"})
            g.Mutability(name, F::GetBooleanMutabilityGetter("SetToDefaultValues", false))
                .Gets(name, {"SetToDefaultValues"});
        g.Gets("KRef", {"KBeModified", "UBCPRef"})
            .Gets("nu", {"KBeModified", "KGeModified"})
            .DependsOn(
                {"Initial", "UndrainedBehaviour", "User_MiscellaneousDefaults", "User_Stiffness"});
    }
    {
        TGroupBuilder g("Concrete");
        g.Double("E28", "E_28", 0.0, Max, qtPressure, "Stiffness")
            .Double("ConcreteNu", "ν (nu)", 0.0, 0.499, qtDummy, "Stiffness")
            .Double("fC28", "f_c,28#", 0.0, Max, qtPressure, "Compression")
            .Double("fC0N", "f_c0n#", 0.0, 1.0, qtDummy, "Compression")
            .Double("fCFN", "f_cfn#", 0.05, 1.0, qtDummy, "Compression")
            .Double("fCUN", "f_cun#", 0.05, 1.0, qtDummy, "Compression")
            .Double("GC28", "G_c,28#", 0.0, Max, qtLinload, "Compression")
            .Double("phiMax", "φ_max#", 0.0, 90.0, qtAngle, "Compression")
            .Double("ConcretePsi", "ψ", 0.0, 90.0, qtAngle, "Compression")
            .Double("gammatFC", "γ_fc#", 1.0, Max, qtDummy, "Compression")
            .Double("fT28", "f_t,28#", 0.0, Max, qtPressure, "Tension")
            .Double("fTUN", "f_tun#", 0.001, 1.0, qtDummy, "Tension")
            .Double("GT28", "G_t,28#", 0.0, Max, qtLinload, "Tension")
            .Double("gammaFT", "γ_ft#", 1.0, Max, qtDummy, "Tension")
            .Boolean("TimeDependentMechanicalProperties", "Time-dependent mechanical properties",
                     "TimeDependency", false)
            .Double("ThydDirect", "t_hyd# (direct)", 95040.0, Max, qtTime, "TimeDependency",
                    2.4192e6)
            .Double("E1E28RationDirect", "E_1# / E_28# (direct)", 0.0, 1.0, qtDummy,
                    "TimeDependencyStiffness", 1.0)
            .Enumeration("StrengthFunction", "Strength function", StrengthFunctionCaptions(),
                         "TimeDependencyStrength")
            .Double("Fc1Fc28RatioDirect", "f_c,1# / f_c,28# (direct)", 0.0, 1.0, qtDummy,
                    "TimeDependencyStrength", 1.0)
            .Double("EpsCpPDirect", "ε^p#_cp# (direct)", -Max, 0.0, qtDummy, "Ductility")
            .Double("aDuct", "a_duct#", 0.0, Max, qtDummy, "Ductility")
            .Double("EpsCp1hPDirect", "ε^p#_cp,1h# (direct)", -Max, 0.0, qtDummy,
                    "TimeDependencyDuctility")
            .Double("EpsCp8hPDirect", "ε^p#_cp,8h# (direct)", -Max, 0.0, qtDummy,
                    "TimeDependencyDuctility")
            .Double("EpsCp24hPDirect", "ε^p#_cp,24h# (direct)", -Max, 0.0, qtDummy,
                    "TimeDependencyDuctility")
            .Boolean("IncludeShrinkage", "Include shrinkage", "TimeDependencyShrinkage", false)
            .Double("EpsInfiniteShrDirect", "ε^shr#_∞# (direct)", -Max, 0.0, qtDummy,
                    "TimeDependencyShrinkage")
            .Double("T50ShrPDirect", "t^shr#_50# (direct)", 0.0, Max, qtTime,
                    "TimeDependencyShrinkage")
            .Boolean("IncludeCreep", "Include creep", "TimeDependencyCreep", false)
            .Double("PhiCrDirect", "φ^cr# (direct)", 0.0, Max, qtDummy, "TimeDependencyCreep")
            .Double("T50CrDirect", "t^cr#_50# (direct)", 0.0, Max, qtTime, "TimeDependencyCreep");
        g.Interface("E28", "Stiffness")
            .Interface("ConcreteNu", "Stiffness", ipkNotPublished)
            .Interface("ConcretePsi", "Compression", ipkNotPublished);
        for (const char* name : {"fC28", "fC0N", "fCFN", "fCUN", "GC28", "phiMax", "gammatFC"})
            g.Interface(name, "Compression");
        for (const char* name : {"fT28", "fTUN", "GT28", "gammaFT"})
            g.Interface(name, "Tension");
        g.Interface("TimeDependentMechanicalProperties", "TimeDependency")
            .Interface("StrengthFunction", "TimeDependencyStrength")
            .Interface("aDuct", "Ductility")
            .Interface("IncludeShrinkage", "TimeDependencyShrinkage")
            .Interface("IncludeCreep", "TimeDependencyCreep")
            .Derived("nu", "ν (nu)", 0.0, 0.499, qtDummy, "Stiffness", Stored("ConcreteNu"),
                     Store("ConcreteNu"))
            .Derived("psi", "ψ", 0.0, 90.0, qtAngle, "Compression", Stored("ConcretePsi"),
                     Store("ConcretePsi"))
            .Derived("tHyd", "t_hyd#", 95040.0, Max, qtTime, "TimeDependency", Stored("ThydDirect"),
                     Store("ThydDirect"))
            .Derived("E1E28Ratio", "E_1# / E_28#", 0.0, 1.0, qtDummy, "TimeDependencyStiffness",
                     E1E28Ratio, Store("E1E28RationDirect"))
            .Derived("fC1fC28Ratio", "f_c,1# / f_c,28#", 0.0, 1.0, qtDummy,
                     "TimeDependencyStrength", Fc1Fc28Ratio, Store("Fc1Fc28RatioDirect"))
            .Derived("epsCPP", "ε^p#_cp#", -Max, 0.0, qtDummy, "Ductility", Stored("EpsCpPDirect"),
                     [](TKovMaterialX& m, double value) {
                         for (const char* name : {"EpsCpPDirect", "EpsCp1hPDirect",
                                                  "EpsCp8hPDirect", "EpsCp24hPDirect"})
                             SetI(m, name, value);
                     })
            .Derived("epsPCP1H", "ε^p#_cp,1h#", -Max, 0.0, qtDummy, "TimeDependencyDuctility",
                     Stored("EpsCp1hPDirect"), Store("EpsCp1hPDirect"))
            .Derived("epsPCP8H", "ε^p#_cp,8h#", -Max, 0.0, qtDummy, "TimeDependencyDuctility",
                     Stored("EpsCp8hPDirect"), Store("EpsCp8hPDirect"))
            .Derived("epsPCP24H", "ε^p#_cp,24h#", -Max, 0.0, qtDummy, "TimeDependencyDuctility",
                     Stored("EpsCp24hPDirect"), Store("EpsCp24hPDirect"))
            .Derived("epsInfiniteShr", "ε^shr#_∞#", -Max, 0.0, qtDummy, "TimeDependencyShrinkage",
                     Stored("EpsInfiniteShrDirect"), Store("EpsInfiniteShrDirect"))
            .Derived("tShr50", "t^shr#_50#", 0.0, Max, qtTime, "TimeDependencyShrinkage",
                     Stored("T50ShrPDirect"), Store("T50ShrPDirect"))
            .Derived("phiCr", "φ^cr#", 0.0, Max, qtDummy, "TimeDependencyCreep",
                     Stored("PhiCrDirect"), Store("PhiCrDirect"))
            .Derived("tCr50", "t^cr#_50#", 0.0, Max, qtTime, "TimeDependencyCreep",
                     Stored("T50CrDirect"), Store("T50CrDirect"))
            .Derived("KRef", "K_ref#", 0.0, Max, qtPressure, "Stiffness", [](TMaterial m) {
                return NamedDivide(I(m, "E28"), 3.0 * (1.0 - 2.0 * I(m, "ConcreteNu")), "K_ref#");
            });
        for (const char* name :
             {"tHyd", "StrengthFunction", "epsPCP1H", "epsPCP8H", "epsPCP24H", "fC1fC28Ratio"})
            g.Visibility(name, F::GetBooleanVisibilityGetter("TimeDependentMechanicalProperties"));
        g.Visibility("epsCPP",
                     F::GetBooleanVisibilityGetter("TimeDependentMechanicalProperties", false));
        for (const char* name : {"epsInfiniteShr", "tShr50"})
            g.Visibility(name, F::GetBooleanVisibilityGetter("IncludeShrinkage"));
        for (const char* name : {"phiCr", "tCr50"})
            g.Visibility(name, F::GetBooleanVisibilityGetter("IncludeCreep"));
        g.Mutability("fC1fC28Ratio",
                     F::GetEnumerationSetMutabilityGetter(
                         "StrengthFunction", {mxssfClassJ1, mxssfClassJ2, mxssfClassJ3}))
            .Mutability("E1E28Ratio",
                        F::GetEnumerationSetMutabilityGetter(
                            "StrengthFunction", {mxssfClassJ1, mxssfClassJ2, mxssfClassJ3}))
            .Gets("fC1fC28Ratio",
                  {"TimeDependentMechanicalProperties", "StrengthFunction", "Fc1Fc28RatioDirect"})
            .Gets("E1E28Ratio", {"TimeDependentMechanicalProperties", "StrengthFunction",
                                 "E1E28RationDirect", "fC1fC28Ratio"})
            .Gets("KRef", {"E28", "ConcreteNu"})
            .DependsOn({"Initial", "User_Psi", "User_Nu"});
    }
}

} // namespace tw::soil
