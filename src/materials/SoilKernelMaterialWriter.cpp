#include "materials/SoilKernelMaterialWriter.h"

#include "materials/HardeningSoilCap.h"
#include "materials/MaterialXTools.h"
#include "materials/SoilMaterialXGroups.h"
#include "materials/SoilMaterialXRegistration.h"
#include "materials/SoilUserDefinedModels.h"
#include "services/Format.h"
#include "units/SystemOfUnits.h"

#include <mutex>
#include <stdexcept>

namespace tw {

namespace {

using F = TMaterialXDataProviderFunctions;
using TEntries = TMaterialXDataProviderSoil::TEntries;

TMXValueFunction User(const char* name) {
    return F::GetUserIntrinsicPropertyFunction(name);
}
TMXValueFunction SinUser(const char* name) {
    return F::GetSinOfUserIntrinsicPropertyFunction(name);
}

std::shared_ptr<const TMaterialXDataProvider> Provider(const char* name, TEntries real,
                                                       TEntries text = {}) {
    return std::make_shared<TMaterialXDataProviderSoil>(name, std::move(real), std::move(text));
}

// Places shared by all soil models (TMaterialXDataProviderSoil_Common).
std::shared_ptr<const TMaterialXDataProvider> Common() {
    return Provider("TMaterialXDataProviderSoil_Common",
                    {{8, User("gammaUnsat")},
                     {9, User("gammaSat")},
                     {10, User("PermHorizontalPrimary")},
                     {11, User("PermVertical")},
                     {13, User("PermHorizontalSecondary")},
                     {19, User("nInit")},
                     {24, User("RayleighAlpha")},
                     {25, User("RayleighBeta")},
                     {26, User("cK")},
                     {100, User("K0Primary")},
                     {101, User("K0Secondary")},
                     {102, User("OCR")},
                     {103, User("POP")},
                     // The K0 assumption: 1 when the user gives K0, 0 when the model computes it.
                     {104, F::Computed([](const TKovMaterialX& m) {
                          return double(TMaterialXTools::GetUserOrdinalFrom(m, "K0Determination") ==
                                        mxsamManual);
                      })},
                     {105, User("GroundwaterPsiK")},
                     {106, User("GroundwaterPsiS")},
                     {109, User("GwPsiUnsat")},
                     {110, User("SaturationSaturated")},
                     {111, User("SaturationResidual")},
                     {112, User("GenuchtenGa")},
                     {113, User("GenuchtenGn")},
                     {114, User("GenuchtenGl")},
                     {116, User("GroundwaterModel")},
                     {117, User("GroundwaterDataSet")},
                     {181, User("ThCs")},
                     {182, User("ThLambdaS")},
                     {183, User("rhoS")},
                     {184, User("ThAlphaSX")},
                     {185, User("ThAlphaSY")},
                     {186, User("ThAlphaSZ")},
                     {187, User("Dv")},
                     {188, User("fTv")},
                     {189, User("Rthermal")},
                     {190, User("ClayFraction")},
                     {191, User("SiltFraction")},
                     {192, User("SandFraction")}});
}

std::shared_ptr<const TMaterialXDataProvider> InterfacesStrength() {
    return Provider("TMaterialXDataProviderSoil_Interfaces_StrengthParameters",
                    {{12, User("Rinter")}, {90, User("RinterResidual")}});
}

std::shared_ptr<const TMaterialXDataProvider> Elastic() {
    return Provider("TMaterialXDataProviderSoil_Elastic_HB_LE_MC",
                    {{0, User("GRef")}, {1, User("nu")}});
}

// Places 14 and 15 (tension cut-off and tensile strength) follow the team's kernel contract.
std::shared_ptr<const TMaterialXDataProvider> MCFailure() {
    return Provider("TMaterialXDataProviderSoil_MCFailureCriteria",
                    {{2, SinUser("phi")},
                     {3, User("cRef")},
                     {4, SinUser("psi")},
                     {14, User("TensionCutOff")},
                     {15, User("TensileStrength")}});
}

std::shared_ptr<const TMaterialXDataProvider> Undrained() {
    return Provider("TMaterialXDataProviderSoil_UndrainedBehaviour",
                    {{27, User("nuUEquivalent")}, {98, User("alphaBiot")}, {99, User("Kw")}});
}

TMXValueFunction AsPorosity(double (*voidRatio)(const TKovMaterialX&)) {
    return F::Computed([voidRatio](const TKovMaterialX& m) {
        const double e = voidRatio(m);
        return e / (1.0 + e);
    });
}

std::shared_ptr<const TMaterialXDataProvider> HardeningSoil() {
    return Provider("TMaterialXDataProviderSoil_HS_HSS",
                    {{0, User("GRef")},
                     {1, User("HSNuUr")},
                     {20, AsPorosity(soil::HardeningSoilEMin)},
                     {21, AsPorosity(soil::HardeningSoilEMax)},
                     {30, GetHSCapIterValueFunction(hscM)},
                     {31, GetHSCapIterValueFunction(hscKsKc)},
                     {32, User("DeltaInter")},
                     {33, User("PowerM")},
                     {34, User("HSPRef")},
                     {35, GetHSCapIterValueFunction(hscG50Ref)},
                     {36, User("RF")},
                     {37, User("EOedRef")},
                     {38, User("HSK0nc")},
                     {39, User("E50Ref")}});
}

std::shared_ptr<const TMaterialXDataProvider> HSSmall() {
    return Provider("TMaterialXDataProviderSoil_HSS", {{48, User("G0Ref")}, {49, User("gamma07")}});
}

std::shared_ptr<const TMaterialXDataProvider> SoftSoilCommon() {
    return Provider("TMaterialXDataProviderSoil_SOI_SOV_SS_SSC",
                    {{31, User("lambdaModifiedkappaModifiedRatio")},
                     {34, User("SSSOPRef")},
                     {37, User("kappaModified")},
                     {38, User("lambdaModified")}});
}

std::shared_ptr<const TMaterialXDataProvider> SoftSoil() {
    return Provider("TMaterialXDataProviderSoil_SS_SSC",
                    {{1, User("SSNuUr")}, {30, User("SSM")}, {36, User("SSK0nc")}});
}

// Places 40 and 41 of Soft Soil Creep follow the team's kernel contract.
std::shared_ptr<const TMaterialXDataProvider> SoftSoilCreep() {
    return Provider("TMaterialXDataProviderSoil_SSC",
                    {{40, User("muModified")}, {41, User("SSTauDirect")}});
}

std::shared_ptr<const TMaterialXDataProvider> SekiguchiOhta() {
    return Provider("TMaterialXDataProviderSoil_SOI_SOV", {{1, User("SONuUr")},
                                                           {2, SinUser("PhiInter")},
                                                           {3, User("CInter")},
                                                           {4, SinUser("PsiInter")},
                                                           {30, User("SOMCsl")},
                                                           {36, User("SOK0nc")}});
}

std::shared_ptr<const TMaterialXDataProvider> SekiguchiOhtaViscid() {
    return Provider("TMaterialXDataProviderSoil_SOV",
                    {{40, User("alphaStar")}, {41, User("v0Dot")}});
}

// Modified Cam-Clay's kappa* and lambda* in ln p': the indices over 1 + e_init.
std::shared_ptr<const TMaterialXDataProvider> ModifiedCamClay() {
    auto modified = [](const char* index) {
        return F::Computed([index](const TKovMaterialX& m) {
            return TMaterialXTools::GetInternalPropertyValueFrom(m, index) /
                   (1.0 + TMaterialXTools::GetInternalPropertyValueFrom(m, "eInit"));
        });
    };
    return Provider("TMaterialXDataProviderSoil_MCC", {{1, User("MCCNuUr")},
                                                       {2, SinUser("PhiInter")},
                                                       {3, User("CInter")},
                                                       {4, SinUser("PsiInter")},
                                                       {30, User("MCCMCsl")},
                                                       {31, User("lambdakappaRatio")},
                                                       {36, User("MCCK0nc")},
                                                       {37, modified("kappa")},
                                                       {38, modified("lambda")}});
}

// Place 14 carries Hoek-Brown's tension cut-off switch as it carries Mohr-Coulomb's: our kernel
// reads it there for both, with the tensile strength at place 48.
std::shared_ptr<const TMaterialXDataProvider> HoekBrown() {
    return Provider("TMaterialXDataProviderSoil_HB", {{14, User("TensionCutOff")},
                                                      {30, User("AbsSigmaCI")},
                                                      {31, User("mi")},
                                                      {32, User("GSI")},
                                                      {35, User("Disturbance")},
                                                      {36, User("psiMax")},
                                                      {37, User("sigmaPsi")},
                                                      {44, User("mb")},
                                                      {45, User("s")},
                                                      {46, User("alpha")},
                                                      {48, User("TensileStrength")}});
}

std::shared_ptr<const TMaterialXDataProvider> JointedRock() {
    return Provider("TMaterialXDataProviderSoil_JR", {{0, User("GT")},
                                                      {1, User("nuNT")},
                                                      {2, SinUser("phi1")},
                                                      {3, User("c1")},
                                                      {4, SinUser("psi1")},
                                                      {31, User("EN")},
                                                      {32, User("nuTS")},
                                                      {33, User("GNT")},
                                                      {34, User("alpha11")},
                                                      {36, User("c2")},
                                                      {37, User("phi2")},
                                                      {38, User("psi2")},
                                                      {39, User("alpha12")},
                                                      {41, User("c3")},
                                                      {42, User("phi3")},
                                                      {43, User("psi3")},
                                                      {44, User("alpha13")}});
}

std::shared_ptr<const TMaterialXDataProvider> NGIADP() {
    return Provider("TMaterialXDataProviderSoil_NGIADP",
                    {{0, User("NGIGref")},
                     {1, User("NGINuU")},
                     {27, User("NGINuU")},
                     {3, User("sUARef")},
                     {6, User("sUAInc")},
                     {17, User("VerticalInclination")},
                     {18, User("VerticalRef")},
                     {30, User("GURsUARatio")},
                     {31, User("sUCTxsUARatio")},
                     {35, User("sUDSSsUARatio")},
                     {36, User("sUPsUARatio")},
                     {37, User("tau0sUARatio")},
                     {38, User("eps1FCTx")},
                     {39, User("gammaFDSS")},
                     {40, User("eps1FETx")},
                     {43, User("AdvancedParameterDivFailureStrainTriaxBiax")}});
}

std::shared_ptr<const TMaterialXDataProvider> UBC3DPLM() {
    TEntries entries;
    int place = 30;
    for (const char* name :
         {"N160", "KBeModified", "KGeModified", "KGpModified", "me", "ne", "UBCSNP", "phiCv",
          "phiP", "c", "sigT", "FDens", "FEPost", "UBCPRef", "UBCRF"})
        entries.push_back({place++, User(name)});
    return Provider("TMaterialXDataProviderSoil_UBC3DPLM", std::move(entries));
}

std::shared_ptr<const TMaterialXDataProvider> Concrete() {
    TEntries entries{{1, User("ConcreteNu")}};
    int place = 30;
    for (const char* name : {"E28",      "fC28",           "fC0N",       "fCFN",
                             "fCUN",     "GC28",           "phiMax",     "ConcretePsi",
                             "gammatFC", "fT28",           "fTUN",       "GT28",
                             "gammaFT",  "tHyd",           "E1E28Ratio", "StrengthFunction",
                             "epsPCP1H", "epsPCP8H",       "epsPCP24H",  "aDuct",
                             "epsCPP",   "epsInfiniteShr", "tShr50",     "phiCr",
                             "tCr50"})
        entries.push_back({place++, User(name)});
    return Provider("TMaterialXDataProviderSoil_Concrete", std::move(entries));
}

// The user-defined model: the interface's reference pressure, the library's parameters at the
// places their library declares, and the library's name.
class TUserDefinedProvider : public TMaterialXDataProvider {
public:
    TUserDefinedProvider() : TMaterialXDataProvider("TMaterialXDataProviderSoil_UDSM") {
        Initialize();
    }

protected:
    void RegisterRealRecord() override {
        RegisterInternalData(mxdpdtProlaysR, 27, User("UDPRefInter"));
        // The library's parameters may take any place: each place looks its parameter up.
        for (int place = 0; place < MXRealRecordLength; ++place) {
            if (place == 27)
                continue;
            TMXValueFunction function;
            function.Evaluate = [place](const TKovMaterialX& material) -> TMXDataValue {
                const TUserModel* model = TMXSoilUDSMFunctions::ModelOf(material);
                if (model)
                    for (const TUserModelParameter& parameter : model->Parameters)
                        if (parameter.Place == place &&
                            material.FindInternalPropertyExact(parameter.Name))
                            return {TMaterialXTools::GetInternalPropertyValueFrom(material,
                                                                                  parameter.Name),
                                    parameter.Quantity};
                return {0.0, qtDummy};
            };
            RegisterInternalData(mxdpdtProlaysR, place, function);
        }
    }
    void RegisterExtraValues() override {
        TMXValueFunction name;
        name.Evaluate = [](const TKovMaterialX& material) {
            const auto* text = dynamic_cast<const TIPText*>(material.FindUserProperty("DllFile"));
            return TMXDataValue{text ? text->Value() : std::string(), qtDummy};
        };
        RegisterInternalData(mxdpdtDLLNAME_T, 0, name);
        RegisterInternalData(mxdpdtDLLNAME_B, 0, name);
        TMXValueFunction model;
        model.Evaluate = [](const TKovMaterialX& material) {
            const auto* text =
                dynamic_cast<const TIPText*>(material.FindUserProperty("ModelInDll"));
            return TMXDataValue{text ? text->Value() : std::string(), qtDummy};
        };
        RegisterInternalData(mxdpdtSMODNAM_T, 0, model);
        RegisterInternalData(mxdpdtSMODNAM_B, 0, model);
    }
};

void RegisterCollection(
    int model, const char* className,
    std::initializer_list<std::shared_ptr<const TMaterialXDataProvider>> providers) {
    auto collection = std::make_shared<TMaterialXDataProviderCollection>(className);
    for (const auto& provider : providers)
        collection->Add(provider);
    TMaterialXDataProviderRegistry::RegisterDataProviderCollection(model, std::move(collection));
}

std::once_flag ProvidersOnce;

} // namespace

TMXValueFunction GetHSCapIterValueFunction(THSCapIterParameterType type) {
    if (type != hscM && type != hscKsKc && type != hscG50Ref)
        throw EMaterialXDataProvider(
            Format("Invalid HS CapIter parameter type: %s", std::to_string(int(type))));
    return F::Computed(
        [type](const TKovMaterialX& m) {
            auto u = [&](const char* name) {
                return TMaterialXTools::GetUserPropertyValueFrom(m, name);
            };
            THSCapIterResult result{};
            try {
                result = RunHSCapIter(u("phi"), u("E50Ref"), u("EOedRef"), u("HSNuUr"), u("RF"),
                                      u("HSK0nc"), u("EURRef"), u("PowerM"));
            } catch (const std::domain_error& e) {
                throw EMaterialXDataProvider(e.what());
            }
            switch (type) {
            case hscM:
                return result.M;
            case hscKsKc:
                return result.KsKc;
            default:
                return result.G50Ref;
            }
        },
        type == hscG50Ref ? qtPressure : qtDummy);
}

void RegisterSoilDataProviders() {
    std::call_once(ProvidersOnce, [] {
        const auto common = Common(), interfaces = InterfacesStrength(), elastic = Elastic(),
                   failure = MCFailure(), undrained = Undrained(), hs = HardeningSoil(),
                   softCommon = SoftSoilCommon(), ngi = NGIADP();
        RegisterCollection(mxsmmNone, "TMaterialXDataProviderCollectionSoil_NoMaterialModel",
                           {common});
        RegisterCollection(mxsmmLinearElastic, "TMaterialXDataProviderCollectionSoil_LinearElastic",
                           {common, interfaces, elastic, undrained});
        RegisterCollection(mxsmmMohrCoulomb, "TMaterialXDataProviderCollectionSoil_MohrCoulomb",
                           {common, interfaces, elastic, failure, undrained});
        RegisterCollection(mxsmmHardeningSoil, "TMaterialXDataProviderCollectionSoil_HardeningSoil",
                           {common, interfaces, failure, undrained, hs});
        RegisterCollection(mxsmmHardeningSoilSmall, "TMaterialXDataProviderCollectionSoil_HSSmall",
                           {common, interfaces, failure, undrained, hs, HSSmall()});
        RegisterCollection(mxsmmSoftSoil, "TMaterialXDataProviderCollectionSoil_SoftSoil",
                           {common, interfaces, failure, undrained, softCommon, SoftSoil()});
        RegisterCollection(
            mxsmmSoftSoilCreep, "TMaterialXDataProviderCollectionSoil_SoftSoilCreep",
            {common, interfaces, failure, undrained, softCommon, SoftSoil(), SoftSoilCreep()});
        RegisterCollection(mxsmmJointedRock, "TMaterialXDataProviderCollectionSoil_JR",
                           {common, interfaces, undrained, JointedRock()});
        RegisterCollection(mxsmmModifiedCamClay,
                           "TMaterialXDataProviderCollectionSoil_ModifiedCamClay",
                           {common, undrained, ModifiedCamClay()});
        RegisterCollection(mxsmmNGIADP, "TMaterialXDataProviderCollectionSoil_NGIADP",
                           {common, interfaces, ngi});
        RegisterCollection(mxsmmHoekBrown, "TMaterialXDataProviderCollectionSoil_HoekBrown",
                           {common, interfaces, elastic, HoekBrown()});
        RegisterCollection(mxsmmSOInviscid, "TMaterialXDataProviderCollectionSoil_SOInviscid",
                           {common, undrained, softCommon, SekiguchiOhta()});
        RegisterCollection(mxsmmSOViscid, "TMaterialXDataProviderCollectionSoil_SOViscid",
                           {common, undrained, softCommon, SekiguchiOhta(), SekiguchiOhtaViscid()});
        RegisterCollection(mxsmmConcrete, "TMaterialXDataProviderCollectionSoil_Concrete",
                           {common, interfaces, Concrete()});
        RegisterCollection(mxsmmUBC3DPLM, "TMaterialXDataProviderCollectionSoil_UBC3DPLM",
                           {common, interfaces, undrained, UBC3DPLM()});
        RegisterCollection(mxsmmUDCAMSimplified, "TMaterialXDataProviderCollectionSoil_UDCAMS",
                           {common, interfaces, ngi});
        RegisterCollection(mxsmmUserDefined, "TMaterialXDataProviderCollectionSoil_UserDefined",
                           {common, std::make_shared<TUserDefinedProvider>()});
    });
}

void TSoilKernelMaterialWriter::WriteMaterialBlocks(IKernelFileLineWriter& file,
                                                    const ITestMaterial& testMaterial) {
    // Another kind of material brings its blocks itself, or goes without them.
    const auto* material = dynamic_cast<const TKovSoilMaterialX*>(&testMaterial);
    if (!material)
        return;
    RegisterSoilDataProviders();
    // Everything first: a material the kernel can't take writes no line.
    const auto providers = TMaterialXDataProviderTools::GetDataProviderCollectionFor(*material);
    const int number = TMXWriterQueryFunctions::GetSoilTypeIntegerValue(*material);
    const TMXSoil_MaterialModel model = material->GetSoilModel();
    std::string library;
    if (model == mxsmmUserDefined)
        if (const TMXValueFunction* name = providers->TryGetFunctionForIndex(mxdpdtDLLNAME_T, 0)) {
            const TMXDataValue value = (*name)(*material);
            if (const std::string* text = value.Text())
                library = *text;
        }
    const int drainage = TMXWriterQueryFunctions::GetSoilDrainageTypeQueryFunction(*material);
    const std::map<int, double> record =
        TMaterialXDataProviderTools::EvaluateRealRecord(*material, file.StorageSystemOfUnits());

    file.WriteSection("[soilmodeldata]");
    file.WriteInteger(number, "soil model type " + MaterialModelCaption(model));
    if (model == mxsmmUserDefined)
        file.WriteString(library, "dll name");
    else
        file.WriteBlankLine();
    file.WriteInteger(drainage, "drainage");
    for (int i = 0; i < 6; ++i)
        file.WriteBlankLine();
    file.WriteSection("[soilparameters]");
    for (int place = 0; place < MXRealRecordLength; ++place) {
        auto it = record.find(place);
        file.WriteDouble(it == record.end() ? 0.0 : it->second);
    }
}

void RegisterSoilKernelMaterialWriter() {
    TMaterialXRegisters_Soil::EnsureRegistered();
    RegisterSoilDataProviders();
    static TSoilKernelMaterialWriter writer;
    SetKernelMaterialWriter(&writer);
    // The cap of any material that has the Hardening Soil values by name.
    SetHSCapAlphaFunction([](const ITestMaterial& material, double k0nc) {
        auto u = [&](const char* name) {
            const std::optional<double> value = material.GetNumber(name);
            if (!value)
                throw EMaterialXDataProvider(Format("The material \"%s\" has no value \"%s\"",
                                                    material.Identification(), name));
            return *value;
        };
        try {
            return RunHSCapIter(u("phi"), u("E50Ref"), u("EOedRef"), u("HSNuUr"), u("RF"), k0nc,
                                u("EURRef"), u("PowerM"))
                .M;
        } catch (const std::domain_error& e) {
            throw EMaterialXDataProvider(e.what());
        }
    });
}

} // namespace tw
