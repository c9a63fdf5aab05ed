// The model-dependent part of the soil formulas: which Poisson's ratio, which shear modulus and
// which K0 a model has. The group formulas ask here instead of knowing every model.

#include "materials/SoilMaterialXGroups.h"
#include "services/RuntimeSettings.h"

#include <algorithm>
#include <cmath>

namespace tw::soil {

TMXSoil_MaterialModel ModelOf(TMaterial m) {
    if (const auto* soil = dynamic_cast<const TKovSoilMaterialX*>(&m))
        return soil->GetSoilModel();
    return HasUser(m, "SoilModel") ? TMXSoil_MaterialModel(UO(m, "SoilModel")) : mxsmmNone;
}

TMXSoil_DrainageType DrainageOf(TMaterial m) {
    return HasUser(m, "DrainageType") ? TMXSoil_DrainageType(UO(m, "DrainageType")) : mxsdtDrained;
}

double VoidRatio(TMaterial m) {
    return I(m, "eInit");
}

double Porosity(TMaterial m) {
    const double e = VoidRatio(m);
    return NamedDivide(e, 1.0 + e, "n_init#");
}

double BulkModulus(double g, double nu, const std::string& caption) {
    return NamedDivide(2.0 * g * (1.0 + nu), 3.0 * (1.0 - 2.0 * nu), caption);
}

double MFromPhi(double phiDegrees) {
    const double s = SinDegrees(phiDegrees);
    return 6.0 * s / (3.0 - s);
}

double K0ncFromCsl(double m) {
    return 1.0 - 3.0 * m / (m + 6.0);
}

namespace {

// UBC3D-PLM: nu from the elastic bulk and shear numbers, kept between 0 and 0.45.
double UBCNu(TMaterial m) {
    const double k = I(m, "KBeModified"), g = I(m, "KGeModified");
    const double denominator = 2.0 * (3.0 * k + g);
    if (IsZero(denominator))
        return 0.0;
    return std::clamp((3.0 * k - 2.0 * g) / denominator, 0.0, 0.45);
}

double UBCPRef(TMaterial m) {
    return IB(m, "SetToDefaultValues") ? 100000.0 : I(m, "UBCPRefDirect");
}

} // namespace

double ModelNu(TMaterial m) {
    switch (ModelOf(m)) {
    case mxsmmLinearElastic:
    case mxsmmMohrCoulomb:
    case mxsmmHoekBrown:
        return I(m, "ElasticNu");
    case mxsmmHardeningSoil:
    case mxsmmHardeningSoilSmall:
        return I(m, "HSNuUr");
    case mxsmmSoftSoil:
    case mxsmmSoftSoilCreep:
        return I(m, "SSNuUr");
    case mxsmmSOInviscid:
    case mxsmmSOViscid:
        return I(m, "SONuUr");
    case mxsmmModifiedCamClay:
        return I(m, "MCCNuUr");
    case mxsmmJointedRock:
        return I(m, "nuNT");
    case mxsmmNGIADP:
    case mxsmmUDCAMSimplified:
        return I(m, "NGINuU");
    case mxsmmUBC3DPLM:
        return UBCNu(m);
    case mxsmmConcrete:
        return I(m, "ConcreteNu");
    default:
        return 0.0;
    }
}

double ModelGRef(TMaterial m) {
    const double nu = ModelNu(m);
    switch (ModelOf(m)) {
    case mxsmmLinearElastic:
    case mxsmmMohrCoulomb:
    case mxsmmHoekBrown:
        return I(m, "GRef");
    case mxsmmHardeningSoil:
    case mxsmmHardeningSoilSmall:
        return U(m, "EURRef") / (2.0 * (1.0 + nu));
    case mxsmmSoftSoil:
    case mxsmmSoftSoilCreep:
    case mxsmmSOInviscid:
    case mxsmmSOViscid: {
        const double kappa = U(m, "kappaModified");
        if (IsZero(kappa))
            return 0.0;
        return 3.0 * (1.0 - 2.0 * nu) * (U(m, "SSSOPRef") / kappa) / 2.0 / (1.0 + nu);
    }
    case mxsmmModifiedCamClay: {
        // The elastic shear stiffness at p' = 300 kPa of the swelling line kappa / (1 + e).
        const double kappa = I(m, "kappa") / (1.0 + VoidRatio(m));
        return 300000.0 * (1.0 - 2.0 * nu) / (2.0 * kappa * (1.0 + nu));
    }
    case mxsmmJointedRock:
        return U(m, "GT");
    case mxsmmNGIADP:
    case mxsmmUDCAMSimplified:
        return U(m, "NGIGref");
    case mxsmmUBC3DPLM:
        return I(m, "KGeModified") * UBCPRef(m);
    case mxsmmConcrete:
        return I(m, "E28") / (2.0 * (1.0 + nu));
    default:
        return 0.0;
    }
}

int DetermineCsCcOrigin(TMaterial m, const std::string& methodName) {
    const int method = IO(m, methodName);
    if (method == mxsirmStandard)
        return 0;
    if (IO(m, "IntrinsicCSCCMethod") == mxsamManual)
        return 2;
    if (method == mxsirmAlternatives)
        return 1;
    return 0;
}

bool UseCsCcRelatedValuesFromDirect(TMaterial m, const std::string& methodName) {
    return DetermineCsCcOrigin(m, methodName) == 0;
}

bool SupportsPOPAndOCR(int model) {
    return HasPreconsolidation(model);
}

bool ShouldCalculateK0FromPOP(TMaterial m) {
    return SupportsPOPAndOCR(ModelOf(m)) && !IsZero(U(m, "POP")) &&
           IO(m, "K0Determination") != mxsamManual;
}

namespace {

double ModelK0nc(TMaterial m) {
    switch (ModelOf(m)) {
    case mxsmmHardeningSoil:
    case mxsmmHardeningSoilSmall:
        return U(m, "HSK0nc");
    case mxsmmSoftSoil:
    case mxsmmSoftSoilCreep:
        return U(m, "SSK0nc");
    case mxsmmSOInviscid:
    case mxsmmSOViscid:
        return U(m, "SOK0nc");
    case mxsmmModifiedCamClay:
        return U(m, "MCCK0nc");
    default:
        return 0.5;
    }
}

// Jaky's K0 of a friction angle for the drainages of effective strength, with the optional
// Mayne and Kulhawy factor OCR^sin(phi).
double FrictionK0(TMaterial m, double phiDegrees) {
    const TMXSoil_DrainageType drainage = DrainageOf(m);
    if (drainage != mxsdtDrained && drainage != mxsdtUndrainedA && drainage != mxsdtNonPorous)
        return 0.5;
    const double s = SinDegrees(phiDegrees);
    if (IsZero(s))
        return 0.5;
    if (TRuntimeSettings::Get("ENABLE_ENHANCED_POP"))
        return (1.0 - s) * std::pow(U(m, "OCR"), s);
    return 1.0 - s;
}

} // namespace

double DefaultK0Primary(TMaterial m) {
    const TMXSoil_MaterialModel model = ModelOf(m);
    const bool enhanced = TRuntimeSettings::Get("ENABLE_ENHANCED_POP");
    switch (model) {
    case mxsmmHardeningSoil:
    case mxsmmHardeningSoilSmall:
    case mxsmmSoftSoil:
    case mxsmmSoftSoilCreep:
    case mxsmmSOInviscid:
    case mxsmmSOViscid:
    case mxsmmModifiedCamClay: {
        const double k0nc = ModelK0nc(m);
        if (ShouldCalculateK0FromPOP(m))
            return k0nc; // the kernel raises it with the POP at its own stress
        // Unloading from the normally consolidated state along the elastic line.
        const double nu = ModelNu(m), ocr = U(m, "OCR");
        return k0nc * ocr - (ocr - 1.0) * NamedDivide(nu, 1.0 - nu, "K_0,x#");
    }
    case mxsmmMohrCoulomb:
        if (!IsZero(U(m, "POP")))
            return I(m, "K0PrimaryDirect");
        return FrictionK0(m, U(m, "phi"));
    case mxsmmConcrete:
        if (!IsZero(U(m, "POP")))
            return I(m, "K0PrimaryDirect");
        return FrictionK0(m, I(m, "phiMax"));
    case mxsmmUBC3DPLM:
        if (!IsZero(U(m, "POP")))
            return I(m, "K0PrimaryDirect");
        return FrictionK0(m, I(m, "phiP"));
    case mxsmmNGIADP:
    case mxsmmUDCAMSimplified:
        // Total-stress models of undrained clay. NGI-ADP (Grimstad, Andresen and Jostad 2012,
        // "NGI-ADP: Anisotropic shear strength model for clay", IJNAMG 36(4)) takes the initial
        // shear stress as an input of its own, tau0 / su^A, which sets the centre of its yield
        // surface; the total stresses it starts from are therefore isotropic, K0 = 1, and the
        // anisotropy of the in-situ state lives in tau0 alone.
        return 1.0;
    default:
        return enhanced ? 0.5 * std::sqrt(U(m, "OCR")) : 0.5;
    }
}

} // namespace tw::soil
