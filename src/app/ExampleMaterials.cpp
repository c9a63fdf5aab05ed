#include "app/ExampleMaterials.h"

#include "labtest/QBPersisters.h"
#include "materials/MaterialXFactory.h"
#include "materials/MaterialXTools.h"
#include "materials/SoilMaterialXRegistration.h"

#include <filesystem>

namespace tw {

namespace {

// Every example sits in a project of standard gravity and fresh water. The thermal expansions
// are volumetric for pore water (2.1e-4 per K at about 20 °C; Kell 1975, J. Chem. Eng. Data 20)
// and linear for ice near 0 °C (5e-5 per K), as the host hands them over.
constexpr double Gravity = 9.81;    // m/s2
constexpr double RhoWater = 1000.0; // kg/m3
constexpr double IceExpansion = 5e-5;
constexpr double WaterExpansion = 2.1e-4;

constexpr double kPa = 1e3, MPa = 1e6, kNm3 = 1e3;

class TExampleBuilder {
public:
    TExampleBuilder(const char* identification, TMXSoil_MaterialModel model)
        : FMaterial(
              TMaterialXFactory::CreateSoilMaterialX(nullptr, identification, model, nullptr)) {}
    // A user value, in base units (pascal, N/m3, m/s, degrees).
    TExampleBuilder& Set(const char* name, double value) {
        TMaterialXTools::SetUserPropertyValueFrom(*FMaterial, name, value);
        return *this;
    }
    TExampleBuilder& Comment(const std::string& text) {
        if (auto* comments = dynamic_cast<TIPText*>(FMaterial->FindUserProperty("MXComments")))
            comments->SetValue(text);
        return *this;
    }
    TExampleMaterial Input(const char* fileName, const char* force, const char* length,
                           const char* time) {
        auto input = Make<TTarnwickInput>(nullptr);
        input->SetMaterialXCopy(*FMaterial);
        input->SetGravityAndRhoWater(Gravity, RhoWater);
        input->SetThermalExpansions(IceExpansion, WaterExpansion);
        TSystemOfUnits units;
        units.SetUnitsOfNewProject();
        units.SetForcePresentationUnit(force);
        units.Length.SetPresentationUnit(length);
        units.Time.SetPresentationUnit(time);
        input->SetSystemOfUnits(units);
        return {fileName, std::move(input)};
    }

private:
    std::unique_ptr<TKovSoilMaterialX> FMaterial;
};

} // namespace

std::vector<TExampleMaterial> ExampleMaterials() {
    TMaterialXRegisters_Soil::EnsureRegistered();
    std::vector<TExampleMaterial> examples;

    // Medium dense sand, Hardening Soil. Stiffnesses at the reference pressure of 100 kPa as
    // Schanz, Vermeer and Bonnier (1999, Beyond 2000 in Computational Geotechnics) and Obrzud
    // and Truty (2012, The hardening soil model - a practical guidebook, table for sands) give
    // them for medium dense sand: E50 = Eoed = 30 MPa, Eur = 3 E50, stress exponent 0.5 (Janbu
    // 1963). Friction angle 33°, dilatancy after Bolton (1986): psi = phi' - 30°. A cohesion of
    // 1 kPa keeps the apex off the origin. Permeability of a medium sand after Hazen, 1e-4 m/s.
    examples.push_back(
        TExampleBuilder("Medium dense sand", mxsmmHardeningSoil)
            .Set("GammaInputMethod", mxsgimDirect)
            .Set("gammaUnsat", 17 * kNm3)
            .Set("gammaSat", 20 * kNm3)
            .Set("eInit", 0.6)
            .Set("E50Ref", 30 * MPa)
            .Set("EOedRef", 30 * MPa)
            .Set("EURRef", 90 * MPa)
            .Set("PowerM", 0.5)
            .Set("nuUR", 0.2)
            .Set("pRef", 100 * kPa)
            .Set("cRef", 1 * kPa)
            .Set("phi", 33)
            .Set("psi", 3)
            .Set("PermHorizontalPrimary", 1e-4)
            .Set("PermVertical", 1e-4)
            .Set("PermHorizontalSecondary", 1e-4)
            .Comment("Hardening Soil, after Schanz et al. (1999) and Obrzud and Truty (2012)")
            .Input("medium_dense_sand_hardening_soil.xml", "kN", "m", "day"));

    // Soft clay, Soft Soil Creep (Vermeer and Neher 1999, Beyond 2000 in Computational
    // Geotechnics). A marine clay of Cc = 0.6, Cs = Cc / 6 and e0 = 1.5 gives the modified
    // indices lambda* = Cc / (2.3 (1 + e0)) = 0.104 and kappa* ~ 2 Cs / (2.3 (1 + e0)) = 0.035;
    // the creep index from Calpha / Cc = 0.04 (Mesri and Godlewski 1977): mu* = 0.0042, with the
    // reference time of a day of the oedometer's load steps. Aged to OCR 1.2 (Bjerrum 1967).
    // phi' 25°, c' 1 kPa, nu_ur 0.15, permeability 1e-9 m/s.
    examples.push_back(TExampleBuilder("Soft clay", mxsmmSoftSoilCreep)
                           .Set("GammaInputMethod", mxsgimDirect)
                           .Set("gammaUnsat", 15 * kNm3)
                           .Set("gammaSat", 16 * kNm3)
                           .Set("eInit", 1.5)
                           .Set("IndexMethod", mxsirmStandard)
                           .Set("lambdaModified", 0.104)
                           .Set("kappaModified", 0.035)
                           .Set("muModified", 0.0042)
                           .Set("SSTauDirect", 86400)
                           .Set("nuUR", 0.15)
                           .Set("cRef", 1 * kPa)
                           .Set("phi", 25)
                           .Set("psi", 0)
                           .Set("OCRPOPMethod", mxspomOCR)
                           .Set("OCR", 1.2)
                           .Set("PermHorizontalPrimary", 1e-9)
                           .Set("PermVertical", 1e-9)
                           .Set("PermHorizontalSecondary", 1e-9)
                           .Comment("Soft Soil Creep, after Vermeer and Neher (1999)")
                           .Input("soft_clay_soft_soil_creep.xml", "kN", "m", "day"));

    // Stiff overconsolidated clay (London Clay), HS small (Benz 2007, thesis, Universität
    // Stuttgart). Strength after Skempton (1977): phi' 24°, c' 10 kPa. E50 40 MPa, Eoed 0.8 E50,
    // Eur 3 E50, exponent 0.8 (between a sand's 0.5 and a normally consolidated clay's 1).
    // Small-strain stiffness G0 = 150 MPa at 100 kPa (Viggiani and Atkinson 1995,
    // Geotechnique 45) and gamma_0.7 = 2e-4 for a plasticity index of about 30 (Vucetic and
    // Dobry 1991). OCR 3, permeability 1e-10 m/s.
    examples.push_back(TExampleBuilder("Stiff overconsolidated clay", mxsmmHardeningSoilSmall)
                           .Set("GammaInputMethod", mxsgimDirect)
                           .Set("gammaUnsat", 19 * kNm3)
                           .Set("gammaSat", 20 * kNm3)
                           .Set("eInit", 0.7)
                           .Set("E50Ref", 40 * MPa)
                           .Set("EOedRef", 32 * MPa)
                           .Set("EURRef", 120 * MPa)
                           .Set("PowerM", 0.8)
                           .Set("G0Ref", 150 * MPa)
                           .Set("gamma07", 2e-4)
                           .Set("nuUR", 0.2)
                           .Set("pRef", 100 * kPa)
                           .Set("cRef", 10 * kPa)
                           .Set("phi", 24)
                           .Set("psi", 0)
                           .Set("OCRPOPMethod", mxspomOCR)
                           .Set("OCR", 3)
                           .Set("PermHorizontalPrimary", 1e-10)
                           .Set("PermVertical", 1e-10)
                           .Set("PermHorizontalSecondary", 1e-10)
                           .Comment("HS small, after Benz (2007), Viggiani and Atkinson (1995)")
                           .Input("stiff_clay_hs_small.xml", "kN", "m", "h"));

    // Sandstone rock mass, Mohr-Coulomb: the Mohr-Coulomb fit of Hoek, Carranza-Torres and
    // Corkum (2002) to the Hoek-Brown criterion of an undisturbed mass (D = 0) of GSI 55 with
    // sigma_ci = 60 MPa and m_i = 17, over confining stresses up to 2 MPa: phi' = 52.8°,
    // c' = 1.07 MPa, tensile strength s sigma_ci / m_b = 0.12 MPa. Deformation modulus after
    // Hoek and Diederichs (2006): 14 GPa; nu' 0.25. Dilatancy phi' / 8 for a rock mass of
    // average quality (Hoek and Brown 1997). Porosity 10 %, fissure permeability 1e-7 m/s.
    examples.push_back(TExampleBuilder("Sandstone rock mass", mxsmmMohrCoulomb)
                           .Set("GammaInputMethod", mxsgimDirect)
                           .Set("gammaUnsat", 24.5 * kNm3)
                           .Set("gammaSat", 25 * kNm3)
                           .Set("eInit", 0.11)
                           .Set("ERef", 14000 * MPa)
                           .Set("nu", 0.25)
                           .Set("cRef", 1.07 * MPa)
                           .Set("phi", 52.8)
                           .Set("psi", 6.6)
                           .Set("TensionCutOff", 1)
                           .Set("TensileStrength", 0.12 * MPa)
                           .Set("PermHorizontalPrimary", 1e-7)
                           .Set("PermVertical", 1e-7)
                           .Set("PermHorizontalSecondary", 1e-7)
                           .Comment("Mohr-Coulomb fit to Hoek-Brown, after Hoek et al. (2002)")
                           .Input("sandstone_rock_mohr_coulomb.xml", "MN", "m", "day"));

    // The medium dense sand of the main job, in Mohr-Coulomb, which our kernel computes:
    // E' 30 MPa (the sand's secant stiffness at 100 kPa, as above), nu' 0.3, c' 1 kPa,
    // phi' 32° and psi 2° (Bolton 1986).
    examples.push_back(TExampleBuilder("Medium dense sand", mxsmmMohrCoulomb)
                           .Set("GammaInputMethod", mxsgimDirect)
                           .Set("gammaUnsat", 17 * kNm3)
                           .Set("gammaSat", 20 * kNm3)
                           .Set("eInit", 0.6)
                           .Set("nu", 0.3)
                           .Set("ERef", 30 * MPa)
                           .Set("cRef", 1 * kPa)
                           .Set("phi", 32)
                           .Set("psi", 2)
                           .Comment("Mohr-Coulomb, secant stiffness at 100 kPa")
                           .Input("medium_dense_sand_mohr_coulomb.xml", "kN", "m", "day"));
    return examples;
}

std::vector<std::string> WriteExampleMaterials(const std::string& folder) {
    RegisterTarnwickPersistence();
    const bool anonymous = THierarchicPersisters::AnonymousMode();
    THierarchicPersisters::SetAnonymousMode(true);
    std::vector<std::string> written;
    try {
        for (TExampleMaterial& example : ExampleMaterials()) {
            const std::string path = (std::filesystem::path(folder) / example.FileName).string();
            WriteTarnwickInput(*example.Input, path);
            written.push_back(path);
        }
    } catch (...) {
        THierarchicPersisters::SetAnonymousMode(anonymous);
        throw;
    }
    THierarchicPersisters::SetAnonymousMode(anonymous);
    return written;
}

} // namespace tw
