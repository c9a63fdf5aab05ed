#include "Models.h"

#include "CamClay.h"
#include "HardeningSoil.h"
#include "HoekBrown.h"
#include "Kernel.h"
#include "MohrCoulomb.h"
#include "ResultFile.h"

#include <cmath>

namespace tw::kernel {

namespace {

struct TModelName {
    int Number;
    const char* Name;
};
constexpr TModelName Supported[] = {
    {mnLinearElastic, "Linear Elastic"}, {mnMohrCoulomb, "Mohr-Coulomb"},
    {mnSoftSoil, "Soft Soil"},           {mnModifiedCamClay, "Modified Cam-Clay"},
    {mnHardeningSoil, "Hardening Soil"}, {mnSoftSoilCreep, "Soft Soil Creep"},
    {mnHoekBrown, "Hoek-Brown"},         {mnHSSmall, "HS small"},
};

// The places of the models' own parameters.
namespace hsplace {
// (20, the smallest porosity, and 37, EOedRef, carried by the cap at 30 and 31, are not read.)
constexpr int MaxPorosity = 21, CapM = 30, KsKc = 31, PowerM = 33, PRef = 34, Rf = 36, K0nc = 38,
              E50Ref = 39, G0Ref = 48, Gamma07 = 49;
} // namespace hsplace

// Checks shared by the models: a value must lie in its range, or the file is refused at its
// place.
class TPlaces {
public:
    TPlaces(const TKernelInput& input) : FInput(input) {}
    double operator[](int index) const { return FInput.Parameters[index]; }
    double Require(int index, bool valid, const char* reason) const {
        if (!valid)
            FailParameter(FInput, index, reason);
        return FInput.Parameters[index];
    }
    double Positive(int index, const char* what) const {
        const double v = FInput.Parameters[index];
        if (!(v > 0.0))
            FailParameter(FInput, index, std::string(what) + " must be above 0");
        return v;
    }
    bool Switch(int index, const char* what) const {
        const double v = FInput.Parameters[index];
        if (v != 0.0 && v != 1.0)
            FailParameter(FInput, index, std::string(what) + " must be 1 (on) or 0 (off)");
        return v == 1.0;
    }

private:
    const TKernelInput& FInput;
};

// Elasticity of places 0 and 1: a shear modulus above 0 whose stiffness is finite, and a
// Poisson's ratio above -1 and below 0.5.
void ReadElasticity(const TPlaces& p, double& g, double& nu) {
    g = p[place::ShearModulus];
    nu = p[place::PoissonRatio];
    p.Require(place::PoissonRatio, nu > -1.0 && nu < 0.5,
              "Poisson's ratio must lie above -1 and below 0.5");
    p.Require(place::ShearModulus, g > 0.0 && ElasticStiffness(g, nu).allFinite(),
              "the shear modulus must be above 0 and its stiffness finite");
}

// The strength of places 2 to 4 and the tension cut-off of places 14 and 15, as Mohr-Coulomb
// reads them.
struct TStrength {
    double SinPhi, Cohesion, SinPsi;
    bool TensionCutOff;
    double TensileStrength;
};
TStrength ReadStrength(const TPlaces& p) {
    TStrength s;
    s.SinPhi = p.Require(place::SinPhi, p[place::SinPhi] >= 0.0 && p[place::SinPhi] < 1.0,
                         "the sine of the friction angle must lie from 0 to below 1");
    s.Cohesion =
        p.Require(place::Cohesion, p[place::Cohesion] >= 0.0, "the cohesion must not be negative");
    s.SinPsi = p.Require(place::SinPsi, p[place::SinPsi] > -1.0 && p[place::SinPsi] < 1.0,
                         "the sine of the dilatancy angle must lie above -1 and below 1");
    s.TensionCutOff = p.Switch(place::TensionCutOff, "the tension cut-off");
    s.TensileStrength = p.Require(place::TensileStrength, p[place::TensileStrength] >= 0.0,
                                  "the tensile strength must not be negative");
    return s;
}

std::unique_ptr<TSoilModel> CreateMohrCoulomb(const TPlaces& p,
                                              std::vector<std::string>& warnings) {
    TMohrCoulombParameters mc;
    ReadElasticity(p, mc.G, mc.Nu);
    const TStrength strength = ReadStrength(p);
    mc.SinPhi = strength.SinPhi;
    mc.Cohesion = strength.Cohesion;
    mc.SinPsi = strength.SinPsi;
    mc.TensionCutOff = strength.TensionCutOff;
    mc.TensileStrength = strength.TensileStrength;
    if (mc.SinPhi == 0.0 && mc.Cohesion == 0.0)
        warnings.push_back("friction angle and cohesion are both zero: the soil has no strength");
    if (mc.SinPsi > mc.SinPhi)
        warnings.push_back("the dilatancy angle exceeds the friction angle");
    return std::make_unique<TMohrCoulomb>(mc);
}

// The smallest pressure that the stress-dependent stiffness and the caps of Hardening Soil, HS
// small, Soft Soil, Soft Soil Creep and Modified Cam-Clay take, in the pressure unit of the file.
// Their stiffness grows with a power of the pressure, so a sample at zero stress has none, and the
// cap of a normally consolidated sample there has no size: neither could start, yet the
// oedometer, CRS and DSS tests start at zero stress. A laboratory sample is never entirely
// unloaded; below the floor the laws take the floor instead. 1 kPa lies below any stress that a
// laboratory test reports, and leaves every result above it unchanged.
double PressureFloor(const TKernelInput& input, std::vector<std::string>& warnings) {
    constexpr double FloorKiloPascal = 1.0;
    if (const double kiloPascal = input.KiloPascal(); kiloPascal > 0.0)
        return FloorKiloPascal * kiloPascal;
    warnings.push_back("the pressure unit " + input.PressureUnit() +
                       " is not known: the smallest pressure of the stress-dependent stiffness "
                       "is taken as 1 " +
                       input.PressureUnit());
    return FloorKiloPascal;
}

std::unique_ptr<TSoilModel> CreateHardeningSoil(const TKernelInput& input, const TPlaces& p,
                                                bool smallStrain,
                                                std::vector<std::string>& warnings) {
    THardeningSoilParameters parameters;
    auto& hs = parameters;
    hs.PressureFloor = PressureFloor(input, warnings);
    double gur = 0.0;
    ReadElasticity(p, gur, hs.NuUr);
    hs.EurRef = 2.0 * gur * (1.0 + hs.NuUr);
    hs.E50Ref = p.Positive(hsplace::E50Ref, "E50ref");
    hs.PowerM = p.Require(hsplace::PowerM, p[hsplace::PowerM] >= 0.0 && p[hsplace::PowerM] <= 1.0,
                          "the power m must lie from 0 to 1");
    hs.PRef = p.Positive(hsplace::PRef, "the reference pressure p_ref");
    hs.Rf = p.Require(hsplace::Rf, p[hsplace::Rf] > 0.0 && p[hsplace::Rf] <= 1.0,
                      "the failure ratio Rf must lie above 0 and at most 1");
    const TStrength strength = ReadStrength(p);
    hs.SinPhi = strength.SinPhi;
    hs.Cohesion = strength.Cohesion;
    hs.SinPsi = strength.SinPsi;
    hs.TensionCutOff = strength.TensionCutOff;
    hs.TensileStrength = strength.TensileStrength;
    hs.CapM = p.Positive(hsplace::CapM, "the cap parameter M (alpha)");
    hs.KsKc = p.Require(hsplace::KsKc, p[hsplace::KsKc] > 1.0,
                        "the cap parameter Ks/Kc must be above 1 (a cap softer than unloading)");
    hs.K0nc = p.Positive(hsplace::K0nc, "K0nc");
    // The dilatancy cut-off: porosities at places 19 (initial) and 21 (largest); a largest
    // porosity of 0 (no value) leaves it off.
    const double n = p[place::Porosity];
    const double nMax = p[hsplace::MaxPorosity];
    if (nMax > 0.0) {
        p.Require(hsplace::MaxPorosity, nMax < 1.0, "the largest porosity must lie below 1");
        p.Require(place::Porosity, n >= 0.0 && n < 1.0,
                  "the initial porosity must lie from 0 to below 1");
        hs.InitialVoidRatio = n / (1.0 - n);
        hs.MaxVoidRatio = nMax / (1.0 - nMax);
        if (hs.InitialVoidRatio > hs.MaxVoidRatio)
            warnings.push_back("the initial void ratio lies above the largest: the soil dilates "
                               "no more");
    }
    hs.SmallStrain = smallStrain;
    if (smallStrain) {
        hs.G0Ref = p.Positive(hsplace::G0Ref, "G0ref");
        hs.Gamma07 = p.Positive(hsplace::Gamma07, "gamma0.7");
        if (hs.G0Ref < gur)
            warnings.push_back("G0ref lies below Gur: the small-strain stiffness never acts");
    }
    if (hs.SinPhi == 0.0 && hs.Cohesion == 0.0)
        warnings.push_back("friction angle and cohesion are both zero: the soil has no strength");
    return std::make_unique<THardeningSoil>(parameters);
}

// The cap of the sample's preconsolidation: the test's isotropic preconsolidation stress when it
// is not 0, else the K0nc state at OCR or POP over the initial vertical stress, else none (the
// sample starts normally consolidated at its initial stress).
void SetPreconsolidation(const TKernelInput& input, ICapModel& model) {
    const double given = input.PreconsolidationStress;
    if (given < 0.0)
        throw EKernelInput(input.FileName, 0,
                           "the isotropic preconsolidation stress must not be negative");
    if (given > 0.0) {
        model.SetPreconsolidation(given);
        return;
    }
    const double vertical = std::max(-input.InitialStress(1), 0.0);
    const double ocr = input.Parameters[place::Ocr];
    const double pop = input.Parameters[place::Pop];
    double preconsolidation = 0.0;
    if (ocr > 1.0)
        preconsolidation = ocr * vertical;
    else if (pop > 0.0)
        preconsolidation = vertical + pop;
    if (!(preconsolidation > 0.0) || !std::isfinite(preconsolidation))
        return;
    Vec6 state = Vec6::Zero();
    state(1) = -preconsolidation;
    state(0) = state(2) = -model.K0nc() * preconsolidation;
    model.SetPreconsolidation(model.CapPressure(state));
}

// The critical-state models: M (30), K0nc (36), kappa* (37), lambda* (38), nu_ur (1); Soft Soil
// also the strength of places 2 to 4 and the cut-off, Soft Soil Creep also mu* (40) and tau0
// (41).
namespace ccplace {
constexpr int M = 30, K0nc = 36, KappaStar = 37, LambdaStar = 38, MuStar = 40, Tau = 41;
}

std::unique_ptr<TSoilModel> CreateCamClay(const TKernelInput& input, const TPlaces& p,
                                          TCamClayParameters::TKind kind,
                                          std::vector<std::string>& warnings) {
    TCamClayParameters cc;
    cc.Kind = kind;
    cc.PressureFloor = PressureFloor(input, warnings);
    cc.NuUr = p.Require(place::PoissonRatio,
                        p[place::PoissonRatio] > -1.0 && p[place::PoissonRatio] < 0.5,
                        "Poisson's ratio nu_ur must lie above -1 and below 0.5");
    cc.KappaStar = p.Positive(ccplace::KappaStar, "the modified swelling index kappa*");
    cc.LambdaStar = p.Require(ccplace::LambdaStar, p[ccplace::LambdaStar] > cc.KappaStar,
                              "the modified compression index lambda* must exceed kappa*");
    cc.M = p.Positive(ccplace::M, "the slope M of the critical state line");
    cc.K0nc = p.Positive(ccplace::K0nc, "K0nc");
    if (kind != TCamClayParameters::ModifiedCamClay) {
        const TStrength strength = ReadStrength(p);
        cc.SinPhi = strength.SinPhi;
        cc.Cohesion = strength.Cohesion;
        cc.SinPsi = strength.SinPsi;
        cc.TensionCutOff = strength.TensionCutOff;
        cc.TensileStrength = strength.TensileStrength;
    }
    if (kind == TCamClayParameters::SoftSoilCreep) {
        cc.MuStar = p.Positive(ccplace::MuStar, "the modified creep index mu*");
        cc.Tau = p.Positive(ccplace::Tau, "the reference time tau0");
    }
    // A stress scale for the tolerances of the integration: a hundredth of the test's stresses,
    // or the floor of the pressure for a sample that starts at zero stress.
    const double scale = std::max({input.InitialStress.cwiseAbs().maxCoeff(),
                                   input.PreconsolidationStress, cc.Cohesion, cc.TensileStrength});
    cc.StressScale = scale > 0.0 ? 0.01 * scale : cc.PressureFloor;
    return std::make_unique<TCamClay>(cc);
}

// Hoek-Brown: sigma_ci (30), psi_max in degrees (36), sigma_psi (37), mb (44), s (45), a (46),
// the tensile strength (48) with the cut-off switch of place 14.
namespace hbplace {
constexpr int SigmaCi = 30, PsiMax = 36, SigmaPsi = 37, Mb = 44, S = 45, A = 46,
              TensileStrength = 48;
}

std::unique_ptr<TSoilModel> CreateHoekBrown(const TPlaces& p) {
    THoekBrownParameters hb;
    ReadElasticity(p, hb.G, hb.Nu);
    hb.SigmaCi = p.Positive(hbplace::SigmaCi, "the uniaxial compressive strength sigma_ci");
    hb.Mb = p.Positive(hbplace::Mb, "mb");
    hb.S = p.Require(hbplace::S, p[hbplace::S] > 0.0 && p[hbplace::S] <= 1.0,
                     "s must lie above 0 and at most 1");
    hb.A = p.Require(hbplace::A, p[hbplace::A] > 0.0 && p[hbplace::A] < 1.0,
                     "a must lie above 0 and below 1");
    const double psiMax =
        p.Require(hbplace::PsiMax, p[hbplace::PsiMax] >= 0.0 && p[hbplace::PsiMax] < 90.0,
                  "psi_max must lie from 0 to below 90 degrees");
    hb.SinPsiMax = std::sin(psiMax * 3.14159265358979323846 / 180.0);
    hb.SigmaPsi =
        p.Require(hbplace::SigmaPsi, p[hbplace::SigmaPsi] >= 0.0, "sigma_psi must not be negative");
    hb.TensionCutOff = p.Switch(place::TensionCutOff, "the tension cut-off");
    hb.TensileStrength = p.Require(hbplace::TensileStrength, p[hbplace::TensileStrength] >= 0.0,
                                   "the tensile strength must not be negative");
    return std::make_unique<THoekBrown>(hb);
}

} // namespace

bool IsSupportedModel(int modelNumber) {
    for (const auto& m : Supported)
        if (m.Number == modelNumber)
            return true;
    return false;
}

std::string SupportedModels() {
    std::string text;
    for (const auto& m : Supported) {
        if (!text.empty())
            text += ", ";
        text += std::string(m.Name) + " (" + std::to_string(m.Number) + ")";
    }
    return text;
}

std::unique_ptr<TSoilModel> CreateSoilModel(const TKernelInput& input,
                                            std::vector<std::string>& warnings) {
    const TPlaces p(input);
    switch (input.ModelNumber) {
    case mnLinearElastic: {
        double g = 0.0, nu = 0.0;
        ReadElasticity(p, g, nu);
        return std::make_unique<TLinearElastic>(g, nu);
    }
    case mnMohrCoulomb:
        return CreateMohrCoulomb(p, warnings);
    case mnHardeningSoil:
    case mnHSSmall: {
        auto model = CreateHardeningSoil(input, p, input.ModelNumber == mnHSSmall, warnings);
        SetPreconsolidation(input, dynamic_cast<ICapModel&>(*model));
        return model;
    }
    case mnHoekBrown:
        return CreateHoekBrown(p);
    case mnModifiedCamClay:
    case mnSoftSoil:
    case mnSoftSoilCreep: {
        const auto kind = input.ModelNumber == mnModifiedCamClay
                              ? TCamClayParameters::ModifiedCamClay
                          : input.ModelNumber == mnSoftSoil ? TCamClayParameters::SoftSoil
                                                            : TCamClayParameters::SoftSoilCreep;
        auto model = CreateCamClay(input, p, kind, warnings);
        SetPreconsolidation(input, dynamic_cast<ICapModel&>(*model));
        return model;
    }
    default:
        throw EKernelNotSupported(input.FileName, input.ModelLine,
                                  "soil model type " + std::to_string(input.ModelNumber) +
                                      " is not supported by this kernel");
    }
}

} // namespace tw::kernel
