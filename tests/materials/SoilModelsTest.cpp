// The soil formulas against closed forms and published relations.

#include "MaterialTestSupport.h"

#include "services/RuntimeSettings.h"

#include <gmock/gmock.h>

#include <cmath>

using namespace tw;
using namespace tw::testing;
using ::testing::StrEq;
using ::testing::ThrowsMessage;

namespace {
constexpr double Pi = 3.14159265358979323846;
constexpr double Ln10 = 2.302585092994046;
} // namespace

TEST(SoilModels, HardeningSoilStiffnessesFollowE50WhereNoneIsGiven) {
    auto hs = MakeSoil(mxsmmHardeningSoil);
    SetUser(*hs, "E50Ref", 30000.0);
    EXPECT_DOUBLE_EQ(UserValue(*hs, "EOedRef"), 30000.0);
    EXPECT_DOUBLE_EQ(UserValue(*hs, "EURRef"), 90000.0);
    // The unloading stiffness gives K and G with nu_ur 0.2.
    EXPECT_DOUBLE_EQ(UserValue(*hs, "KRef"), 90000.0 / (3 * 0.6));
    EXPECT_DOUBLE_EQ(UserValue(*hs, "GRef"), 90000.0 / 2.4);
    EXPECT_DOUBLE_EQ(UserValue(*hs, "RF"), 0.9);
    EXPECT_DOUBLE_EQ(UserValue(*hs, "PowerM"), 0.5);
    // Jaky: K0nc = 1 - sin(phi).
    SetUser(*hs, "phi", 30.0);
    EXPECT_NEAR(UserValue(*hs, "HSK0nc"), 0.5, 1e-12);
    EXPECT_TRUE(hs->FindUserProperty("HSK0nc")->ReadOnly());
}

TEST(SoilModels, HardeningSoilIndicesAndStiffnessesAreOneAnother) {
    // Eoed = ln10 (1 + e) p / Cc is the tangent of a one-dimensional line of slope Cc in
    // e - log10(sigma'); E50 = 1.25 Eoed where the stiffness comes from Cc.
    auto hs = MakeSoil(mxsmmHardeningSoil);
    SetUser(*hs, "eInit", 0.6);
    SetUser(*hs, "phi", 30.0);
    SetUser(*hs, "E50Ref", 25000.0);
    SetUser(*hs, "EOedRef", 20000.0);
    SetUser(*hs, "EURRef", 60000.0);
    const double cc = Ln10 * 1.6 * 100000.0 / 20000.0;
    const double k0nc = 0.5, nu = 0.2;
    const double cs = Ln10 * 1.6 * (1 + nu) * (1 - 2 * nu) * 100000.0 / ((1 - nu) * 60000.0 * k0nc);
    EXPECT_NEAR(UserValue(*hs, "HSCc"), cc, 1e-9);
    EXPECT_NEAR(UserValue(*hs, "HSCs"), cs, 1e-9);

    SetUser(*hs, "UseAlternatives", 1);
    EXPECT_NEAR(UserValue(*hs, "EOedRef"), 20000.0, 1e-6);
    EXPECT_NEAR(UserValue(*hs, "EURRef"), 60000.0, 1e-6);
    EXPECT_NEAR(UserValue(*hs, "E50Ref"), 25000.0, 1e-6);
    EXPECT_DOUBLE_EQ(UserValue(*hs, "PowerM"), 1.0);
    SetUser(*hs, "UseAlternatives", 0);
    EXPECT_NEAR(UserValue(*hs, "EOedRef"), 20000.0, 1e-6);
    EXPECT_DOUBLE_EQ(UserValue(*hs, "PowerM"), 0.5);
}

TEST(SoilModels, VoidRatioLimitsAndPorosity) {
    auto hs = MakeSoil(mxsmmHardeningSoil);
    TMaterialXTools::SetInternalPropertyValueFrom(*hs, "eMaxDirect", 1.2);
    EXPECT_DOUBLE_EQ(UserValue(*hs, "eMax"), 999.0);
    EXPECT_DOUBLE_EQ(UserValue(*hs, "eMin"), 1e-9);
    SetUser(*hs, "DilatancyCutOff", 1);
    EXPECT_DOUBLE_EQ(UserValue(*hs, "eMax"), 1.2);

    SetUser(*hs, "eInit", 1.0);
    EXPECT_DOUBLE_EQ(UserValue(*hs, "nInit"), 0.5);
    SetUser(*hs, "nInit", 0.25);
    EXPECT_NEAR(UserValue(*hs, "eInit"), 1.0 / 3.0, 1e-15);
    SetUser(*hs, "nInit", 1.0);
    EXPECT_NEAR(UserValue(*hs, "eInit"), 1.0 / 3.0, 1e-15);
}

TEST(SoilModels, UnitWeightsFromDensities) {
    // gamma_sat = ((1 - n) rho_s + n rho_w) g; water of 9.81 kN/m3 at g = 9.81 is 1000 kg/m3.
    auto mc = TMaterialXFactory::CreateSoilMaterialX(nullptr, "Clay", mxsmmMohrCoulomb,
                                                     ProjectQuery(9.81, 9810.0));
    SetUser(*mc, "GammaInputMethod", mxsgimDerived);
    SetUser(*mc, "eInit", 1.0);
    EXPECT_NEAR(UserValue(*mc, "RhoWater"), 1000.0, 1e-9);
    EXPECT_NEAR(UserValue(*mc, "gammaSat"), 17658.0, 1e-9);
    SetUser(*mc, "SaturationAssumed", 50.0);
    EXPECT_NEAR(UserValue(*mc, "gammaUnsat"), (0.5 * 2600 + 0.5 * 0.5 * 1000) * 9.81, 1e-9);
    // Undrained (C) and non-porous materials weigh the same saturated or not.
    SetUser(*mc, "DrainageType", mxsdtNonPorous);
    EXPECT_DOUBLE_EQ(UserValue(*mc, "gammaSat"), UserValue(*mc, "gammaUnsat"));

    SetUser(*mc, "rhoS", 0.0);
    EXPECT_EQ(UserValue(*mc, "SaturationAssumed"), 0.0);
    auto dry = TMaterialXFactory::CreateSoilMaterialX(nullptr, "Dry", mxsmmMohrCoulomb,
                                                      ProjectQuery(9.81, 0.0));
    EXPECT_EQ(UserValue(*dry, "SaturationAssumed"), 100.0);
    auto orphan =
        TMaterialXFactory::CreateSoilMaterialX(nullptr, "Orphan", mxsmmMohrCoulomb, nullptr);
    EXPECT_THAT(
        [&] { UserValue(*orphan, "RhoWater"); },
        ThrowsMessage<EMaterialXException>(StrEq("Water density from project is not accessible")));
}

TEST(SoilModels, IsotropicElasticityAndWaveSpeeds) {
    auto mc = MakeSoil(mxsmmMohrCoulomb);
    SetUser(*mc, "nu", 0.25);
    SetUser(*mc, "GRef", 10000e3);
    EXPECT_DOUBLE_EQ(UserValue(*mc, "ERef"), 25000e3);
    EXPECT_DOUBLE_EQ(UserValue(*mc, "EOed"), 2 * 10000e3 * 0.75 / 0.5);
    EXPECT_DOUBLE_EQ(UserValue(*mc, "KRef"), 25000e3 / (3 * 0.5));
    // A new Poisson's ratio keeps Young's modulus.
    SetUser(*mc, "nu", 0.3);
    EXPECT_NEAR(UserValue(*mc, "ERef"), 25000e3, 1e-6);
    SetUser(*mc, "gammaUnsat", 20000.0);
    const double rho = 20000.0 / 9.81, g = 25000e3 / 2.6;
    EXPECT_NEAR(UserValue(*mc, "Vs"), std::sqrt(g / rho), 1e-9);
    EXPECT_NEAR(UserValue(*mc, "Vp"), std::sqrt(2 * g * 0.7 / 0.4 / rho), 1e-9);
    SetUser(*mc, "Vs", 100.0);
    EXPECT_NEAR(UserValue(*mc, "GRef"), 100.0 * 100.0 * rho, 1e-6);
}

TEST(SoilModels, UndrainedBehaviourOfBiotAndOfTheUndrainedPoissonsRatioAgree) {
    // Skempton's B from nu_u (alpha = 1): B = 3 (nu_u - nu) / ((1 - 2 nu)(1 + nu_u)), and from
    // Biot's fluid modulus B = (Ku - K) / Ku with Ku - K = Kw / n (Wang 2000).
    auto mc = MakeSoil(mxsmmMohrCoulomb);
    SetUser(*mc, "nu", 0.3);
    SetUser(*mc, "GRef", 4000e3);
    SetUser(*mc, "DrainageType", mxsdtUndrainedA);
    const double nuU = 0.495, nu = 0.3;
    const double b = 3 * (nuU - nu) / ((1 - 2 * nu) * (1 + nuU));
    EXPECT_NEAR(UserValue(*mc, "SkemptonB"), b, 1e-12);
    const double kwn = 2 * 4000e3 / 3 * ((1 + nuU) / (1 - 2 * nuU) - (1 + nu) / (1 - 2 * nu));
    EXPECT_NEAR(UserValue(*mc, "Kwn"), kwn, 1e-3);
    const double kw = UserValue(*mc, "Kw");
    EXPECT_NEAR(kw, kwn * UserValue(*mc, "nInit"), 1e-3);

    SetUser(*mc, "ExcessPorePressureDetermination", mxsubBiotEffectiveStress);
    SetUser(*mc, "Kw", kw);
    EXPECT_NEAR(UserValue(*mc, "SkemptonB"), b, 1e-9);
    EXPECT_NEAR(UserValue(*mc, "nuUEquivalent"), nuU, 1e-9);
    SetUser(*mc, "Kw", 0.0);
    EXPECT_EQ(UserValue(*mc, "SkemptonB"), 0.0);
}

TEST(SoilModels, InitialK0ByModel) {
    auto mc = MakeSoil(mxsmmMohrCoulomb);
    SetUser(*mc, "phi", 30.0);
    EXPECT_NEAR(UserValue(*mc, "K0Primary"), 0.5, 1e-12);
    SetUser(*mc, "OCR", 4.0);
    EXPECT_NEAR(UserValue(*mc, "K0Primary"), 0.5, 1e-12); // OCR takes no part by default
    TRuntimeSettings::Set("ENABLE_ENHANCED_POP", true);
    // Mayne and Kulhawy (1982): K0 = (1 - sin phi) OCR^sin(phi).
    EXPECT_NEAR(UserValue(*mc, "K0Primary"), 0.5 * 2.0, 1e-12);
    TRuntimeSettings::Set("ENABLE_ENHANCED_POP", false);
    EXPECT_THROW(SetUser(*mc, "K0Primary", 0.7), EMaterialXTools); // automatic: not the user's
    SetUser(*mc, "K0Determination", mxsamManual);
    SetUser(*mc, "K0Primary", 0.7);
    EXPECT_EQ(TMaterialXTools::GetUserOrdinalFrom(*mc, "K0Determination"), mxsamManual);
    EXPECT_DOUBLE_EQ(UserValue(*mc, "K0Primary"), 0.7);
    EXPECT_DOUBLE_EQ(UserValue(*mc, "K0Secondary"), 0.7);

    // Unloading from K0nc along the elastic line: K0 = K0nc OCR - (OCR - 1) nu_ur / (1 - nu_ur).
    auto hs = MakeSoil(mxsmmHardeningSoil);
    SetUser(*hs, "phi", 30.0);
    SetUser(*hs, "OCR", 2.0);
    EXPECT_NEAR(UserValue(*hs, "K0Primary"), 0.5 * 2 - 0.2 / 0.8, 1e-12);
    auto ngi = MakeSoil(mxsmmNGIADP);
    EXPECT_EQ(UserValue(*ngi, "K0Primary"), 1.0);
}

TEST(SoilModels, SoftSoilCapSlopeGivesK0ncInOneDimensionalLoading) {
    // The cap p + q^2 / (M^2 p) of Soft Soil with associated flow, in oedometric primary loading
    // at eta = q / p = 3 (1 - K0) / (1 + 2 K0): the volumetric strain is lambda* dp/p and the
    // deviatoric one the elastic q / (3 G) part plus the plastic 2 eta / (M^2 - eta^2) share of
    // (lambda* - kappa*) dp/p; one-dimensional means eps_q = 2/3 eps_v (Brinkgreve 1994).
    for (double phi : {20.0, 25.0, 32.0})
        for (double ratio : {3.0, 5.0, 10.0}) {
            auto ss = MakeSoil(mxsmmSoftSoil);
            SetUser(*ss, "phi", phi);
            SetUser(*ss, "kappaModified", 0.01);
            SetUser(*ss, "lambdaModified", 0.01 * ratio);
            const double m = UserValue(*ss, "SSM");
            const double k0 = 1 - std::sin(phi * Pi / 180), nu = 0.15;
            const double lambda = 0.01 * ratio, kappa = 0.01;
            const double eta = 3 * (1 - k0) / (1 + 2 * k0);
            const double elastic = 2 * (1 + nu) * kappa * eta / (9 * (1 - 2 * nu));
            const double plastic = (lambda - kappa) * 2 * eta / (m * m - eta * eta);
            EXPECT_NEAR((elastic + plastic) / lambda, 2.0 / 3.0, 1e-12) << phi << " " << ratio;
        }
}

TEST(SoilModels, CompressionIndicesOfTheSoftSoils) {
    auto ss = MakeSoil(mxsmmSoftSoil);
    SetUser(*ss, "eInit", 1.5);
    SetUser(*ss, "IndexMethod", mxsirmStandard);
    SetUser(*ss, "lambdaModified", 0.08);
    SetUser(*ss, "kappaModified", 0.016);
    EXPECT_NEAR(UserValue(*ss, "SSSOCc"), Ln10 * 0.08 * 2.5, 1e-12);
    EXPECT_NEAR(UserValue(*ss, "SSSOCs"), Ln10 * 0.5 * 0.016 * 2.5, 1e-12);
    EXPECT_NEAR(UserValue(*ss, "lambdaModifiedkappaModifiedRatio"), 5.0, 1e-12);
    SetUser(*ss, "UseAlternatives", 1);
    EXPECT_NEAR(UserValue(*ss, "lambdaModified"), 0.08, 1e-12);
    EXPECT_NEAR(UserValue(*ss, "kappaModified"), 0.016, 1e-12);

    // Sekiguchi-Ohta and Modified Cam-Clay: M from the friction angle, and K0nc from M.
    auto so = MakeSoil(mxsmmSOInviscid);
    SetUser(*so, "SOMCsl", 1.2);
    EXPECT_NEAR(UserValue(*so, "SOK0nc"), 0.5, 1e-12);
    SetUser(*so, "PeakPhi", 30.0);
    SetUser(*so, "SOMCslMethod", mxsfsimFromSoilIntrinsics);
    EXPECT_NEAR(UserValue(*so, "SOMCsl"), 1.2, 1e-12);
    auto mcc = MakeSoil(mxsmmModifiedCamClay);
    SetUser(*mcc, "MCCMCsl", 1.2);
    SetUser(*mcc, "lambda", 0.2);
    SetUser(*mcc, "kappa", 0.04);
    EXPECT_NEAR(UserValue(*mcc, "MCCK0nc"), 0.5, 1e-12);
    EXPECT_NEAR(UserValue(*mcc, "lambdakappaRatio"), 5.0, 1e-12);
}

TEST(SoilModels, HoekBrownAndOtherModels) {
    // Hoek, Carranza-Torres and Corkum (2002), GSI 50, mi 10, D 0.
    auto hb = MakeSoil(mxsmmHoekBrown);
    SetUser(*hb, "GSI", 50.0);
    SetUser(*hb, "mi", 10.0);
    SetUser(*hb, "AbsSigmaCI", 50e6);
    const double mb = 10 * std::exp(-50.0 / 28), s = std::exp(-50.0 / 9),
                 a = 0.5 + (std::exp(-50.0 / 15) - std::exp(-20.0 / 3)) / 6;
    EXPECT_NEAR(UserValue(*hb, "mb"), mb, 1e-12);
    EXPECT_NEAR(UserValue(*hb, "s"), s, 1e-15);
    EXPECT_NEAR(UserValue(*hb, "alpha"), a, 1e-15);
    EXPECT_NEAR(UserValue(*hb, "SigmaC"), 50e6 * std::pow(s, a), 1e-6);
    EXPECT_NEAR(UserValue(*hb, "SigmaT"), s * 50e6 / mb, 1e-6);

    auto ngi = MakeSoil(mxsmmNGIADP);
    SetUser(*ngi, "GURsUARatio", 500.0);
    SetUser(*ngi, "sUARef", 40e3);
    SetUser(*ngi, "gammaFC", 6.0);
    EXPECT_DOUBLE_EQ(UserValue(*ngi, "NGIGref"), 20e6);
    EXPECT_DOUBLE_EQ(UserValue(*ngi, "eps1FCTx"), 4.0);

    auto ubc = MakeSoil(mxsmmUBC3DPLM);
    SetUser(*ubc, "KBeModified", 700.0);
    SetUser(*ubc, "KGeModified", 1000.0);
    EXPECT_DOUBLE_EQ(UserValue(*ubc, "nu"), (3 * 700.0 - 2000.0) / (2 * (2100.0 + 1000.0)));
    EXPECT_DOUBLE_EQ(UserValue(*ubc, "KRef"), 700.0 * 100000.0);
    SetUser(*ubc, "KBeModified", 1e6);
    EXPECT_DOUBLE_EQ(UserValue(*ubc, "nu"), 0.45);

    // CEB-FIP 1990: beta_cc(1 day) = exp(0.25 (1 - sqrt(28))), E ratio its square root.
    auto concrete = MakeSoil(mxsmmConcrete);
    EXPECT_DOUBLE_EQ(UserValue(*concrete, "fC1fC28Ratio"), 1.0);
    SetUser(*concrete, "TimeDependentMechanicalProperties", 1);
    EXPECT_NEAR(UserValue(*concrete, "fC1fC28Ratio"), std::exp(0.25 * (1 - std::sqrt(28.0))),
                1e-15);
    EXPECT_NEAR(UserValue(*concrete, "E1E28Ratio"),
                std::sqrt(std::exp(0.25 * (1 - std::sqrt(28.0)))), 1e-15);
    SetUser(*concrete, "epsCPP", -0.002);
    EXPECT_DOUBLE_EQ(UserValue(*concrete, "epsPCP8H"), -0.002);

    auto rock = MakeSoil(mxsmmJointedRock);
    SetUser(*rock, "ET", 26000.0);
    SetUser(*rock, "nuNT", 0.3);
    EXPECT_DOUBLE_EQ(UserValue(*rock, "GT"), 10000.0);
    EXPECT_FALSE(rock->FindUserProperty("c2")->IsPublished());
    SetUser(*rock, "NumberOfPlanes", mxsjrp2Plane);
    EXPECT_TRUE(rock->FindUserProperty("c2")->IsPublished());
    EXPECT_FALSE(rock->FindUserProperty("c3")->IsPublished());
}

TEST(SoilModels, K0OfBothHorizontalDirections) {
    auto mc = MakeSoil(mxsmmMohrCoulomb);
    SetUser(*mc, "phi", 30.0);
    SetUser(*mc, "K0Determination", mxsamManual);
    SetUser(*mc, "K0Primary", 0.6);
    EXPECT_DOUBLE_EQ(UserValue(*mc, "K0Secondary3D"), 0.6); // equal by default
    SetUser(*mc, "K0PrimaryIsK0Secondary3D", 0);
    SetUser(*mc, "K0Secondary3D", 0.8);
    EXPECT_DOUBLE_EQ(UserValue(*mc, "K0Primary"), 0.6);
    EXPECT_DOUBLE_EQ(UserValue(*mc, "K0Secondary"), 0.8);
    // Back to automatic: both follow the model again.
    SetUser(*mc, "K0Determination", mxsamAutomatic);
    EXPECT_NEAR(UserValue(*mc, "K0Secondary"), 0.5, 1e-12);
    // A preconsolidation by POP leaves Hardening Soil's K0 at K0nc: the kernel raises it at its
    // own stress.
    auto hs = MakeSoil(mxsmmHardeningSoil);
    SetUser(*hs, "phi", 30.0);
    SetUser(*hs, "POP", 50e3);
    EXPECT_NEAR(UserValue(*hs, "K0Primary"), 0.5, 1e-12);
    EXPECT_EQ(UserValue(*hs, "OCR"), 1.0);
    SetUser(*hs, "OCR", 1.5);
    EXPECT_EQ(UserValue(*hs, "POP"), 0.0); // one or the other
    // Mohr-Coulomb with a POP takes the user's K0.
    SetUser(*mc, "POP", 20e3);
    TMaterialXTools::SetInternalPropertyValueFrom(*mc, "K0PrimaryDirect", 0.7);
    EXPECT_DOUBLE_EQ(UserValue(*mc, "K0Primary"), 0.7);
}

TEST(SoilModels, IndicesFromTheSoilIntrinsics) {
    // The automatic intrinsic indices (Azzouz et al. 1976, Kulhawy and Mayne 1990, Mesri and
    // Godlewski 1977) and what takes them: a manual choice sends the models to their direct
    // intrinsic values.
    auto ss = MakeSoil(mxsmmSoftSoil);
    SetUser(*ss, "Wn", 60.0);
    EXPECT_NEAR(UserValue(*ss, "IntrinsicCC"), 0.6, 1e-12);
    EXPECT_NEAR(UserValue(*ss, "IntrinsicCS"), 0.12, 1e-12);
    EXPECT_NEAR(UserValue(*ss, "IntrinsicCAlpha"), 0.024, 1e-12);
    SetUser(*ss, "IntrinsicCSCCMethod", mxsamManual);
    SetUser(*ss, "IntrinsicCC", 0.5);
    SetUser(*ss, "IntrinsicCS", 0.05);
    SetUser(*ss, "eInit", 1.0);
    // Origin 2: lambda* = Cc / (ln10 (1 + e)), kappa* = 2 Cs / (ln10 (1 + e)).
    EXPECT_NEAR(UserValue(*ss, "lambdaModified"), 0.5 / (Ln10 * 2), 1e-12);
    EXPECT_NEAR(UserValue(*ss, "kappaModified"), 0.1 / (Ln10 * 2), 1e-12);
    auto hs = MakeSoil(mxsmmHardeningSoil);
    SetUser(*hs, "IntrinsicCSCCMethod", mxsamManual);
    SetUser(*hs, "IntrinsicCC", 0.2);
    SetUser(*hs, "ModulusMethod", mxsirmFromSoilIntrinsics);
    EXPECT_NEAR(UserValue(*hs, "EOedRef"), Ln10 * 1.5 * 100000.0 / 0.2, 1e-6);
    EXPECT_NEAR(UserValue(*hs, "E50Ref"), 1.25 * Ln10 * 1.5 * 100000.0 / 0.2, 1e-6);
    // Jaky's K0nc from the peak friction angle.
    SetUser(*hs, "PeakPhi", 30.0);
    SetUser(*hs, "IntrinsicK0NCMethod", mxsfsimFromSoilIntrinsics);
    EXPECT_NEAR(UserValue(*hs, "IntrinsicK0NC"), 0.5, 1e-12);

    // Soft Soil Creep keeps its creep index through the alternatives.
    auto ssc = MakeSoil(mxsmmSoftSoilCreep);
    SetUser(*ssc, "IndexMethod", mxsirmStandard);
    SetUser(*ssc, "eInit", 1.0);
    SetUser(*ssc, "muModified", 0.005);
    EXPECT_NEAR(UserValue(*ssc, "CAlpha"), Ln10 * 0.005 * 2, 1e-12);
    SetUser(*ssc, "UseAlternatives", 1);
    EXPECT_NEAR(UserValue(*ssc, "muModified"), 0.005, 1e-12);
}

TEST(SoilModels, MethodsDecideWhatAWriteStores) {
    auto mc = MakeSoil(mxsmmMohrCoulomb);
    // Unit weights are the user's only in the direct method.
    SetUser(*mc, "GammaInputMethod", mxsgimDerived);
    EXPECT_TRUE(mc->FindUserProperty("gammaUnsat")->ReadOnly());
    EXPECT_THROW(SetUser(*mc, "gammaUnsat", 18e3), EMaterialXTools);
    // A rigid interface has R_inter 1; the manual strength takes the user's.
    EXPECT_EQ(UserValue(*mc, "Rinter"), 1.0);
    EXPECT_TRUE(mc->FindUserProperty("Rinter")->ReadOnly());
    SetUser(*mc, "InterfaceStrengthDetermination", mxsismManual);
    SetUser(*mc, "Rinter", 0.7);
    EXPECT_EQ(UserValue(*mc, "RinterResidual"), 0.7);
    SetUser(*mc, "InterfaceStrengthDetermination", mxsismManualWithResidualStrength);
    SetUser(*mc, "RinterResidual", 0.5);
    EXPECT_EQ(UserValue(*mc, "Rinter"), 0.7);
    EXPECT_EQ(UserValue(*mc, "RinterResidual"), 0.5);
    // Undrained (C) takes the undrained Poisson's ratio from nu itself.
    SetUser(*mc, "nu", 0.45);
    SetUser(*mc, "DrainageType", mxsdtUndrainedC);
    EXPECT_DOUBLE_EQ(UserValue(*mc, "nuUEquivalent"), 0.45);
    // Wave speeds can't be written without a unit weight: G stays.
    SetUser(*mc, "DrainageType", mxsdtDrained);
    SetUser(*mc, "GammaInputMethod", mxsgimDirect);
    SetUser(*mc, "GRef", 1e6);
    SetUser(*mc, "Vs", 300.0);
    EXPECT_EQ(UserValue(*mc, "GRef"), 1e6);
    // The constrained modulus writes G back.
    SetUser(*mc, "EOed", 3e6);
    EXPECT_NEAR(UserValue(*mc, "EOed"), 3e6, 1e-6);

    // Hoek-Brown's direct parameters.
    auto hb = MakeSoil(mxsmmHoekBrown);
    SetUser(*hb, "mb", 2.5);
    EXPECT_EQ(TMaterialXTools::GetUserOrdinalFrom(*hb, "HoekBrownParameterDetermination"),
              mxshbpdDirect);
    EXPECT_EQ(UserValue(*hb, "mb"), 2.5);
    // UBC3D-PLM's own values once the defaults are off.
    auto ubc = MakeSoil(mxsmmUBC3DPLM);
    EXPECT_TRUE(ubc->FindUserProperty("UBCRF")->ReadOnly());
    SetUser(*ubc, "SetToDefaultValues", 0);
    SetUser(*ubc, "UBCRF", 0.8);
    EXPECT_EQ(UserValue(*ubc, "UBCRF"), 0.8);
    // The concrete's time-dependent values show only with time dependency.
    auto concrete = MakeSoil(mxsmmConcrete);
    EXPECT_FALSE(concrete->FindUserProperty("tHyd")->IsPublished());
    EXPECT_TRUE(concrete->FindUserProperty("epsCPP")->IsPublished());
    SetUser(*concrete, "TimeDependentMechanicalProperties", 1);
    EXPECT_TRUE(concrete->FindUserProperty("tHyd")->IsPublished());
    EXPECT_FALSE(concrete->FindUserProperty("epsCPP")->IsPublished());
}

TEST(SoilModels, StiffnessOfTheCriticalStateModels) {
    // Modified Cam-Clay's quoted shear stiffness at 300 kPa: p (1 - 2 nu) / (2 kappa* (1 + nu))
    // with kappa* = kappa / (1 + e); a third of 3 K (1 - 2 nu) / (2 (1 + nu)) with the swelling
    // line's K = p / kappa*, as the value has always been quoted.
    auto mcc = MakeSoil(mxsmmModifiedCamClay);
    SetUser(*mcc, "eInit", 1.0);
    SetUser(*mcc, "kappa", 0.04);
    SetUser(*mcc, "lambda", 0.2);
    SetUser(*mcc, "MCCMCsl", 1.2);
    SetUser(*mcc, "DrainageType", mxsdtUndrainedA);
    const double nu = 0.15, k = 300000.0 * 2.0 / 0.04;
    const double g = k * (1 - 2 * nu) / (2 * (1 + nu));
    // Kwn = (2G/3)(...) holds G: its value shows the modulus.
    const double nuU = 0.495;
    EXPECT_NEAR(UserValue(*mcc, "Kwn"),
                2 * g / 3 * ((1 + nuU) / (1 - 2 * nuU) - (1 + nu) / (1 - 2 * nu)), 1e-3);
    // Soft Soil at the reference pressure of 100 kPa.
    auto ss = MakeSoil(mxsmmSoftSoil);
    SetUser(*ss, "IndexMethod", mxsirmStandard);
    SetUser(*ss, "kappaModified", 0.02);
    SetUser(*ss, "lambdaModified", 0.1);
    SetUser(*ss, "DrainageType", mxsdtUndrainedA);
    const double gss = 3 * (1 - 2 * nu) * (100000.0 / 0.02) / 2 / (1 + nu);
    EXPECT_NEAR(UserValue(*ss, "Kwn"),
                2 * gss / 3 * ((1 + nuU) / (1 - 2 * nuU) - (1 + nu) / (1 - 2 * nu)), 1e-3);
    // A value that can't be computed stays derived in a static copy, and raises there too.
    auto broken = MakeSoil(mxsmmSoftSoil);
    auto frozen = TMaterialXFactory::CreateStaticCopy(nullptr, *broken);
    EXPECT_TRUE(frozen->FindUserProperty("SSM")->IsDerived());
    EXPECT_THROW(UserValue(*frozen, "SSM"), ESoilMaterialXDerivedParametersConstructor);
    EXPECT_FALSE(frozen->FindUserProperty("SSK0nc")->IsDerived());
}

TEST(SoilModels, SoilFractionsAndRelativeDensity) {
    auto hs = MakeSoil(mxsmmHardeningSoil);
    SetUser(*hs, "ClayFraction", 20.0);
    SetUser(*hs, "SiltFraction", 30.0);
    SetUser(*hs, "SandFraction", 50.0);
    const double ssa =
        3.89 * std::pow(std::exp(0.01 * (20 * std::log(0.001) + 30 * std::log(0.026) +
                                         50 * std::log(1.025))),
                        -0.905);
    EXPECT_NEAR(UserValue(*hs, "SpecificSurfaceArea"), ssa, 1e-12);
    SetUser(*hs, "DilatancyCutOff", 1);
    SetUser(*hs, "eMin", 0.4);
    SetUser(*hs, "eMax", 0.9);
    SetUser(*hs, "eInit", 0.65);
    EXPECT_NEAR(UserValue(*hs, "RelativeDensity"), 50.0, 1e-12);
    SetUser(*hs, "eInit", 0.9);
    EXPECT_EQ(UserValue(*hs, "RelativeDensity"), 0.0);
}

TEST(SoilModels, HardeningSoilDefaultsAndTheirFrozenValues) {
    auto hs = MakeSoil(mxsmmHardeningSoil);
    SetUser(*hs, "phi", 30.0);
    // A new nu_ur freezes Jaky's K0nc of the moment: leaving the defaults keeps it, and a later
    // friction angle no longer moves it.
    SetUser(*hs, "nuUR", 0.25);
    EXPECT_DOUBLE_EQ(TMaterialXTools::GetInternalPropertyValueFrom(*hs, "HSNuUr"), 0.25);
    SetUser(*hs, "UseDefaults", 0);
    EXPECT_NEAR(UserValue(*hs, "HSK0nc"), 0.5, 1e-12);
    SetUser(*hs, "phi", 40.0);
    EXPECT_NEAR(UserValue(*hs, "K0NC"), 0.5, 1e-12);
    // Writing K0nc keeps nu_ur.
    SetUser(*hs, "HSK0nc", 0.6);
    EXPECT_DOUBLE_EQ(UserValue(*hs, "HSK0nc"), 0.6);
    EXPECT_DOUBLE_EQ(UserValue(*hs, "nuUR"), 0.25);
    // The failure ratio is the user's only without the defaults.
    SetUser(*hs, "RF", 0.8);
    EXPECT_DOUBLE_EQ(UserValue(*hs, "RF"), 0.8);
    SetUser(*hs, "UseDefaults", 1);
    EXPECT_DOUBLE_EQ(UserValue(*hs, "RF"), 0.9);
    EXPECT_NEAR(UserValue(*hs, "HSK0nc"), 1 - std::sin(40 * Pi / 180), 1e-12);
    EXPECT_THROW(SetUser(*hs, "RF", 0.7), EMaterialXTools);
    EXPECT_THROW(SetUser(*hs, "K0NC", 0.7), EMaterialXTools);
    EXPECT_DOUBLE_EQ(TMaterialXTools::GetInternalPropertyValueFrom(*hs, "RfDirect"), 0.8);

    // The stiffnesses are the user's only in the standard method; writing one from there keeps
    // the method, and the indices are the user's only with the alternatives.
    SetUser(*hs, "ModulusMethod", mxsirmFromSoilIntrinsics);
    EXPECT_THROW(SetUser(*hs, "E50Ref", 20000.0), EMaterialXTools);
    EXPECT_THROW(SetUser(*hs, "PowerM", 0.7), EMaterialXTools);
    EXPECT_THROW(SetUser(*hs, "CC", 0.1), EMaterialXTools);
    SetUser(*hs, "ModulusMethod", mxsirmStandard);
    SetUser(*hs, "EURRef", 75000.0);
    EXPECT_EQ(TMaterialXTools::GetUserOrdinalFrom(*hs, "ModulusMethod"), mxsirmStandard);
    EXPECT_DOUBLE_EQ(TMaterialXTools::GetInternalPropertyValueFrom(*hs, "EurRefDirect"), 75000.0);
    // G and K of the unloading stiffness with nu_ur 0.25.
    EXPECT_DOUBLE_EQ(UserValue(*hs, "GRef"), 75000.0 / 2.5);
    EXPECT_DOUBLE_EQ(UserValue(*hs, "KRef"), 75000.0 / 1.5);
    SetUser(*hs, "pRef", 50e3);
    EXPECT_DOUBLE_EQ(TMaterialXTools::GetInternalPropertyValueFrom(*hs, "HSPRef"), 50e3);
    // The interface thickness and the void ratio limits act only with the dilatancy cut-off.
    TMaterialXTools::SetInternalPropertyValueFrom(*hs, "DeltaInterDirect", 0.02);
    EXPECT_EQ(UserValue(*hs, "DeltaInter"), 0.0);
    EXPECT_THROW(SetUser(*hs, "DeltaInter", 0.03), EMaterialXTools);
    SetUser(*hs, "DilatancyCutOff", 1);
    EXPECT_DOUBLE_EQ(UserValue(*hs, "DeltaInter"), 0.02);
}

TEST(SoilModels, InitialK0OfTheOtherModels) {
    // Jaky's 1 - sin(phi) of each model's own friction angle, 0.5 where a model has none or the
    // drainage has no effective strength.
    auto concrete = MakeSoil(mxsmmConcrete);
    SetUser(*concrete, "phiMax", 30.0);
    EXPECT_NEAR(UserValue(*concrete, "K0Primary"), 0.5, 1e-12);
    SetUser(*concrete, "phiMax", 40.0);
    EXPECT_NEAR(UserValue(*concrete, "K0Primary"), 1 - std::sin(40 * Pi / 180), 1e-12);
    auto ubc = MakeSoil(mxsmmUBC3DPLM);
    SetUser(*ubc, "phiP", 35.0);
    EXPECT_NEAR(UserValue(*ubc, "K0Primary"), 1 - std::sin(35 * Pi / 180), 1e-12);
    auto mc = MakeSoil(mxsmmMohrCoulomb);
    EXPECT_EQ(UserValue(*mc, "K0Primary"), 0.5); // phi 0
    SetUser(*mc, "phi", 40.0);
    SetUser(*mc, "DrainageType", mxsdtUndrainedB);
    EXPECT_EQ(UserValue(*mc, "K0Primary"), 0.5);
    SetUser(*mc, "DrainageType", mxsdtNonPorous);
    EXPECT_NEAR(UserValue(*mc, "K0Primary"), 1 - std::sin(40 * Pi / 180), 1e-12);

    // Soft Soil unloads from its K0nc along the elastic line with nu_ur 0.15.
    auto ss = MakeSoil(mxsmmSoftSoil);
    SetUser(*ss, "phi", 30.0);
    SetUser(*ss, "OCR", 2.0);
    EXPECT_NEAR(UserValue(*ss, "K0Primary"), 0.5 * 2 - 0.15 / 0.85, 1e-12);
    EXPECT_NEAR(UserValue(*ss, "K0Secondary"), 0.5 * 2 - 0.15 / 0.85, 1e-12);

    // Models without a friction angle: 0.5, or 0.5 sqrt(OCR) with the enhanced preconsolidation.
    for (TMXSoil_MaterialModel model :
         {mxsmmLinearElastic, mxsmmHoekBrown, mxsmmJointedRock, mxsmmUserDefined}) {
        auto material = MakeSoil(model);
        SetUser(*material, "OCR", 4.0);
        EXPECT_EQ(UserValue(*material, "K0Primary"), 0.5) << model;
        TRuntimeSettings::Set("ENABLE_ENHANCED_POP", true);
        EXPECT_EQ(UserValue(*material, "K0Primary"), 1.0) << model;
        TRuntimeSettings::Set("ENABLE_ENHANCED_POP", false);
    }
}

TEST(SoilModels, UndrainedBehaviourByTheSkemptonBAndTheSolidsStiffness) {
    auto mc = MakeSoil(mxsmmMohrCoulomb);
    SetUser(*mc, "nu", 0.3);
    SetUser(*mc, "GRef", 4000e3);
    SetUser(*mc, "DrainageType", mxsdtUndrainedA);
    // By nu_u the solids are taken as stiff as they have always been taken.
    EXPECT_EQ(UserValue(*mc, "Ks"), 3.8e7);
    // B is the user's only in its own method; nu_u follows it:
    // nu_u = (3 nu + alpha B (1 - 2 nu)) / (3 - alpha B (1 - 2 nu)) (Skempton 1954, Wang 2000).
    EXPECT_THROW(SetUser(*mc, "SkemptonB", 0.9), EMaterialXTools);
    SetUser(*mc, "UndrainedNuDefinitionMethod", mxsundSkemptonBBased);
    SetUser(*mc, "SkemptonB", 0.9);
    EXPECT_DOUBLE_EQ(UserValue(*mc, "SkemptonB"), 0.9);
    EXPECT_NEAR(UserValue(*mc, "nuUEquivalent"), (0.9 + 0.9 * 0.4) / (3 - 0.9 * 0.4), 1e-12);
    EXPECT_THROW(SetUser(*mc, "nuUEquivalent", 0.45), EMaterialXTools);
    // Biot: the solids' modulus from the skeleton's, K / (1 - alpha).
    SetUser(*mc, "ExcessPorePressureDetermination", mxsubBiotEffectiveStress);
    const double k = 2 * 4000e3 * 1.3 / (3 * 0.4);
    SetUser(*mc, "alphaBiot", 0.5);
    EXPECT_NEAR(UserValue(*mc, "Ks"), k / 0.5, 1e-3);
    SetUser(*mc, "alphaBiot", 1.0); // incompressible solids: a very large modulus, no error
    EXPECT_NEAR(UserValue(*mc, "Ks") / (k / 1e-12), 1.0, 1e-12);
}

TEST(SoilModels, TheAssumedSaturationWritesTheWaterContent) {
    // Wn = S e rho_w / rho_s: the water content of the pores filled to S (S as a fraction).
    auto mc = MakeSoil(mxsmmMohrCoulomb);
    SetUser(*mc, "eInit", 0.8);
    const double rhoW = UserValue(*mc, "rhoPoreFluid");
    SetUser(*mc, "SaturationAssumed", 0.5);
    EXPECT_NEAR(UserValue(*mc, "Wn"), 0.5 * 0.8 * rhoW / 2600.0, 1e-12);
    EXPECT_DOUBLE_EQ(TMaterialXTools::GetInternalPropertyValueFrom(*mc, "SaturationAssumedDirect"),
                     0.5);
    // Without solids' density the water content stays.
    SetUser(*mc, "rhoS", 0.0);
    SetUser(*mc, "SaturationAssumed", 0.9);
    EXPECT_NEAR(UserValue(*mc, "Wn"), 0.5 * 0.8 * rhoW / 2600.0, 1e-12);
}

TEST(SoilModels, WhatTheOtherModelsShowAndLetBeWritten) {
    auto published = [](const TKovMaterialX& m, const char* name) {
        return m.FindUserProperty(name)->IsPublished();
    };
    auto readOnly = [](const TKovMaterialX& m, const char* name) {
        return m.FindUserProperty(name)->ReadOnly();
    };

    // The concrete: shrinkage and creep show when included; the early strength classes take the
    // user's ratios, CEB-FIP computes them.
    auto concrete = MakeSoil(mxsmmConcrete);
    EXPECT_FALSE(published(*concrete, "epsInfiniteShr"));
    EXPECT_FALSE(published(*concrete, "tCr50"));
    SetUser(*concrete, "IncludeShrinkage", 1);
    EXPECT_TRUE(published(*concrete, "epsInfiniteShr"));
    EXPECT_TRUE(published(*concrete, "tShr50"));
    EXPECT_FALSE(published(*concrete, "phiCr"));
    SetUser(*concrete, "IncludeCreep", 1);
    EXPECT_TRUE(published(*concrete, "phiCr"));
    SetUser(*concrete, "TimeDependentMechanicalProperties", 1);
    EXPECT_TRUE(readOnly(*concrete, "fC1fC28Ratio"));
    EXPECT_THROW(SetUser(*concrete, "fC1fC28Ratio", 0.4), EMaterialXTools);
    SetUser(*concrete, "StrengthFunction", mxssfClassJ2);
    SetUser(*concrete, "fC1fC28Ratio", 0.4);
    SetUser(*concrete, "E1E28Ratio", 0.6);
    EXPECT_EQ(UserValue(*concrete, "fC1fC28Ratio"), 0.4);
    EXPECT_EQ(UserValue(*concrete, "E1E28Ratio"), 0.6);
    SetUser(*concrete, "StrengthFunction", mxssfCEBFIP);
    EXPECT_NEAR(UserValue(*concrete, "fC1fC28Ratio"), std::exp(0.25 * (1 - std::sqrt(28.0))),
                1e-15);
    // Only drained and non-porous: a concrete has no undrained behaviour of its own.
    auto& drainage = static_cast<TIPEnumeration&>(*concrete->FindUserProperty("DrainageType"));
    EXPECT_TRUE(drainage.IsDisabled(mxsdtUndrainedA));
    EXPECT_FALSE(drainage.IsDisabled(mxsdtNonPorous));

    // Hoek-Brown: the tensile strength is the user's only with the cut-off; the dilatancy can come
    // from the soil intrinsics; a rock mass without mb has no tensile strength to show.
    auto hb = MakeSoil(mxsmmHoekBrown);
    EXPECT_TRUE(readOnly(*hb, "TensileStrength"));
    SetUser(*hb, "TensionCutOff", 1);
    SetUser(*hb, "TensileStrength", 100e3);
    EXPECT_EQ(TMaterialXTools::GetInternalPropertyValueFrom(*hb, "HBTensileStrengthDirect"), 100e3);
    SetUser(*hb, "PeakPsi", 12.0);
    SetUser(*hb, "psiMaxMethod", mxsfsimFromSoilIntrinsics);
    EXPECT_EQ(UserValue(*hb, "psiMax"), 12.0);
    SetUser(*hb, "psiMax", 5.0);
    EXPECT_EQ(TMaterialXTools::GetUserOrdinalFrom(*hb, "psiMaxMethod"), mxsfsimDirect);
    EXPECT_EQ(UserValue(*hb, "psiMax"), 5.0);
    SetUser(*hb, "AbsSigmaCI", 50e6);
    const auto before = AllUserValues(*hb);
    EXPECT_THAT([&] { UserValue(*hb, "SigmaT"); },
                ThrowsMessage<ESoilMaterialXDerivedParametersConstructor>(
                    StrEq("Cannot get σ_t# because of a division by zero."))); // mi 0: mb 0
    EXPECT_EQ(AllUserValues(*hb), before);

    // Jointed Rock: the third plane takes part with three planes only, and a plane's friction
    // angle can come from the soil intrinsics.
    auto rock = MakeSoil(mxsmmJointedRock);
    SetUser(*rock, "NumberOfPlanes", mxsjrp2Plane);
    EXPECT_FALSE(published(*rock, "phi3"));
    SetUser(*rock, "NumberOfPlanes", mxsjrp3Plane);
    EXPECT_TRUE(published(*rock, "phi3"));
    EXPECT_TRUE(published(*rock, "TensileStrength3"));
    SetUser(*rock, "PeakPhi", 28.0);
    SetUser(*rock, "JRPhi2Method", mxsfsimFromSoilIntrinsics);
    EXPECT_EQ(UserValue(*rock, "phi2"), 28.0);
    EXPECT_EQ(UserValue(*rock, "phi1"), 0.0);

    // NGI-ADP: the reference level under the name of the dimension (this binary is 3D); UDCAM-S
    // writes the same stored values under its own names.
    auto ngi = MakeSoil(mxsmmNGIADP);
    EXPECT_FALSE(published(*ngi, "NGIYRef"));
    EXPECT_TRUE(published(*ngi, "NGIZRef"));
    SetUser(*ngi, "NGIZRef", -3.0);
    EXPECT_EQ(UserValue(*ngi, "VerticalRef"), -3.0);
    auto udcam = MakeSoil(mxsmmUDCAMSimplified);
    SetUser(*udcam, "tauCRef", 35e3);
    SetUser(*udcam, "GMaxtauCRatio", 800.0);
    EXPECT_EQ(UserValue(*udcam, "sUARef"), 35e3);
    EXPECT_EQ(UserValue(*udcam, "NGIGref"), 800.0 * 35e3);
}

TEST(SoilModels, SoftSoilFamilyDefaultsAndCreepIndices) {
    // Soft Soil's K0nc is Jaky's under the defaults and the user's without them.
    auto ss = MakeSoil(mxsmmSoftSoil);
    SetUser(*ss, "phi", 25.0);
    EXPECT_NEAR(UserValue(*ss, "K0NC"), 1 - std::sin(25 * Pi / 180), 1e-12);
    EXPECT_THROW(SetUser(*ss, "SSK0nc", 0.6), EMaterialXTools);
    SetUser(*ss, "UseDefaults", 0);
    EXPECT_EQ(UserValue(*ss, "SSK0nc"), 1.0);
    SetUser(*ss, "K0NC", 0.6);
    EXPECT_EQ(TMaterialXTools::GetInternalPropertyValueFrom(*ss, "SSK0ncDirect"), 0.6);
    SetUser(*ss, "nuUR", 0.2);
    EXPECT_EQ(TMaterialXTools::GetInternalPropertyValueFrom(*ss, "SSNuUr"), 0.2);

    // The creep indices from C_alpha in the alternatives: mu* = alpha* = C_alpha / (ln10 (1 + e))
    // (Vermeer and Neher 1999).
    for (TMXSoil_MaterialModel model : {mxsmmSoftSoilCreep, mxsmmSOViscid}) {
        SCOPED_TRACE(MaterialModelCaption(model));
        auto creep = MakeSoil(model);
        const char* index = model == mxsmmSoftSoilCreep ? "muModified" : "alphaStar";
        SetUser(*creep, "eInit", 1.0);
        SetUser(*creep, "IndexMethod", mxsirmStandard);
        SetUser(*creep, "lambdaModified", 0.1);
        SetUser(*creep, "kappaModified", 0.02);
        SetUser(*creep, index, 0.004);
        SetUser(*creep, "UseAlternatives", 1);
        EXPECT_NEAR(UserValue(*creep, "CAlpha"), Ln10 * 0.004 * 2, 1e-12);
        SetUser(*creep, "CAlpha", 0.023);
        EXPECT_NEAR(UserValue(*creep, index), 0.023 / (Ln10 * 2), 1e-12);
        EXPECT_NEAR(UserValue(*creep, "lambdaModified"), 0.1, 1e-12);
        // Back to the starred values: what the indices gave is kept.
        SetUser(*creep, "UseAlternatives", 0);
        EXPECT_NEAR(UserValue(*creep, index), 0.023 / (Ln10 * 2), 1e-12);
        EXPECT_FALSE(creep->FindUserProperty(index)->ReadOnly());
    }

    // Sekiguchi-Ohta's K0nc from M keeps above 0.001 however steep the critical state line;
    // Modified Cam-Clay's M can come from the peak friction angle, 6 sin phi / (3 - sin phi).
    auto so = MakeSoil(mxsmmSOInviscid);
    SetUser(*so, "SOMCsl", 6.0);
    EXPECT_EQ(UserValue(*so, "SOK0nc"), 0.001);
    auto mcc = MakeSoil(mxsmmModifiedCamClay);
    SetUser(*mcc, "PeakPhi", 25.0);
    SetUser(*mcc, "MCCMCslMethod", mxsfsimFromSoilIntrinsics);
    const double s = std::sin(25 * Pi / 180);
    EXPECT_NEAR(UserValue(*mcc, "M"), 6 * s / (3 - s), 1e-12);
    // Jaky's K0nc is recovered from that M.
    EXPECT_NEAR(UserValue(*mcc, "MCCK0nc"), 1 - s, 1e-12);
}

TEST(SoilModels, AnInterfaceFollowsTheOedometerModulusOnlyWhereThereIsOne) {
    for (TMXSoil_MaterialModel model :
         {mxsmmLinearElastic, mxsmmMohrCoulomb, mxsmmHardeningSoil, mxsmmHardeningSoilSmall}) {
        auto material = MakeSoil(model);
        SetUser(*material, "InterfacesStiffnessMethod", mxsistFromEoed);
        EXPECT_EQ(TMaterialXTools::GetUserOrdinalFrom(*material, "InterfacesStiffnessMethod"),
                  mxsistFromEoed);
        // A model without one takes the stiffness otherwise, and a switch to it leaves the
        // choice to the user again.
        SetUser(*material, "SoilModel", mxsmmSoftSoil);
        auto& method =
            static_cast<TIPEnumeration&>(*material->FindUserProperty("InterfacesStiffnessMethod"));
        EXPECT_TRUE(method.IsDisabled(mxsistFromEoed)) << MaterialModelCaption(model);
        EXPECT_THROW(SetUser(*material, "InterfacesStiffnessMethod", mxsistFromEoed),
                     EMaterialXValueOutOfRange);
        SetUser(*material, "InterfacesStiffnessMethod", mxsistDirect);
    }
}

TEST(SoilModels, AChoiceTheNewModelLacksGivesWayToItsFirstValidOne) {
    // Mohr-Coulomb undrained (C) switched to Hardening Soil, which has no undrained (C): the
    // material becomes drained rather than carry a drainage its model can't take to the kernel,
    // what depends on the drainage follows, and undo brings the old pair back.
    TKovObjectManager manager;
    auto material = MakeSoil(mxsmmMohrCoulomb, &manager);
    SetUser(*material, "DrainageType", mxsdtUndrainedC);
    SetUser(*material, "InterfacesStiffnessMethod", mxsistFromEoed);
    const auto before = AllUserValues(*material);
    SetUser(*material, "SoilModel", mxsmmHardeningSoil);
    EXPECT_EQ(TMaterialXTools::GetUserOrdinalFrom(*material, "DrainageType"), mxsdtDrained);
    EXPECT_TRUE(material->FindUserProperty("CRefDrainedUndrainedA")->IsPublished());
    EXPECT_FALSE(material->FindUserProperty("sURef")->IsPublished());
    EXPECT_EQ(TMaterialXTools::GetUserOrdinalFrom(*material, "InterfacesStiffnessMethod"),
              mxsistFromEoed); // Hardening Soil has an oedometer modulus
    SetUser(*material, "SoilModel", mxsmmSoftSoil);
    EXPECT_EQ(TMaterialXTools::GetUserOrdinalFrom(*material, "InterfacesStiffnessMethod"),
              mxsistDerived);
    manager.Undo();
    manager.Undo();
    EXPECT_EQ(AllUserValues(*material), before);
}
