#include "Models.h"

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
    {mnLinearElastic, "Linear Elastic"},
    {mnMohrCoulomb, "Mohr-Coulomb"},
};

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

std::unique_ptr<TSoilModel> CreateMohrCoulomb(const TPlaces& p,
                                              std::vector<std::string>& warnings) {
    TMohrCoulombParameters mc;
    ReadElasticity(p, mc.G, mc.Nu);
    mc.SinPhi = p.Require(place::SinPhi, p[place::SinPhi] >= 0.0 && p[place::SinPhi] < 1.0,
                          "the sine of the friction angle must lie from 0 to below 1");
    mc.Cohesion =
        p.Require(place::Cohesion, p[place::Cohesion] >= 0.0, "the cohesion must not be negative");
    mc.SinPsi = p.Require(place::SinPsi, p[place::SinPsi] > -1.0 && p[place::SinPsi] < 1.0,
                          "the sine of the dilatancy angle must lie above -1 and below 1");
    mc.TensionCutOff = p.Switch(place::TensionCutOff, "the tension cut-off");
    mc.TensileStrength = p.Require(place::TensileStrength, p[place::TensileStrength] >= 0.0,
                                   "the tensile strength must not be negative");
    if (mc.SinPhi == 0.0 && mc.Cohesion == 0.0)
        warnings.push_back("friction angle and cohesion are both zero: the soil has no strength");
    if (mc.SinPsi > mc.SinPhi)
        warnings.push_back("the dilatancy angle exceeds the friction angle");
    return std::make_unique<TMohrCoulomb>(mc);
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
    default:
        throw EKernelNotSupported(input.FileName, input.ModelLine,
                                  "soil model type " + std::to_string(input.ModelNumber) +
                                      " is not supported by this kernel");
    }
}

} // namespace tw::kernel
