// The material blocks of the kernel input: [soilmodeldata] and the 200 places of
// [soilparameters] in the units of the file, for every model.

#include "MaterialTestSupport.h"

#include "materials/HardeningSoilCap.h"
#include "materials/SoilUserDefinedModels.h"

#include <gmock/gmock.h>

#include <cmath>

using namespace tw;
using namespace tw::testing;
using ::testing::HasSubstr;
using ::testing::StrEq;
using ::testing::ThrowsMessage;

namespace {

TRecordingLineWriter Write(const TKovSoilMaterialX& material) {
    TRecordingLineWriter file;
    KernelMaterialWriter()->WriteMaterialBlocks(file, material);
    return file;
}

} // namespace

TEST(KernelMaterialWriter, MohrCoulombBlocksInTheUnitsOfTheFile) {
    auto mc = MakeSoil(mxsmmMohrCoulomb);
    SetUser(*mc, "nu", 0.3);
    SetUser(*mc, "GRef", 10000e3);
    SetUser(*mc, "phi", 30.0);
    SetUser(*mc, "cRef", 5e3);
    SetUser(*mc, "psi", 0.0);
    SetUser(*mc, "GammaInputMethod", mxsgimDirect);
    SetUser(*mc, "gammaUnsat", 17e3);
    SetUser(*mc, "DrainageType", mxsdtUndrainedA);
    const TRecordingLineWriter file = Write(*mc);

    ASSERT_EQ(file.Lines.size(), 1u + 3 + 6 + 1 + 200);
    EXPECT_EQ(file.Lines[0], "[soilmodeldata]");
    EXPECT_EQ(file.Lines[1], "2\t=soil model type Mohr-Coulomb");
    EXPECT_EQ(file.Lines[2], "");
    EXPECT_EQ(file.Lines[3], "1\t=drainage");
    for (int i = 4; i < 10; ++i)
        EXPECT_EQ(file.Lines[size_t(i)], "");
    EXPECT_EQ(file.Lines[10], "[soilparameters]");
    EXPECT_EQ(file.Lines[11], "10000"); // G in kN/m2
    EXPECT_EQ(file.Lines[13], "0.5");   // sin 30 degrees
    EXPECT_EQ(file.Place(3), 5.0);
    EXPECT_EQ(file.Place(8), 17.0);  // kN/m3
    EXPECT_EQ(file.Place(14), 1.0);  // tension cut-off
    EXPECT_EQ(file.Place(98), 1.0);  // Biot's alpha
    EXPECT_EQ(file.Place(100), 0.5); // K0
    EXPECT_EQ(file.Place(102), 1.0); // OCR
    EXPECT_EQ(file.Place(199), 0.0); // no provider: 0 and a line all the same
    EXPECT_NEAR(file.Place(19), 1.0 / 3.0, 1e-14);
    EXPECT_NEAR(file.Place(99), UserValue(*mc, "Kw") / 1000.0, 1e-9);
}

TEST(KernelMaterialWriter, HardeningSoilCapValues) {
    auto hs = MakeSoil(mxsmmHardeningSoil);
    SetUser(*hs, "E50Ref", 30000e3);
    // Without friction the cap has no shape to fit: M and Ks/Kc are 1.
    TRecordingLineWriter frictionless = Write(*hs);
    EXPECT_EQ(frictionless.Place(30), 1.0);
    EXPECT_EQ(frictionless.Place(31), 1.0);

    SetUser(*hs, "phi", 30.0);
    SetUser(*hs, "EOedRef", 24000e3);
    const TRecordingLineWriter file = Write(*hs);
    const THSCapIterResult cap =
        RunHSCapIter(30.0, 30000e3, 24000e3, 0.2, 0.9, UserValue(*hs, "HSK0nc"), 90000e3, 0.5);
    EXPECT_EQ(file.Lines[1], "6\t=soil model type Hardening Soil");
    EXPECT_NEAR(file.Place(30), cap.M, 1e-12);
    EXPECT_NEAR(file.Place(31), cap.KsKc, 1e-12);
    EXPECT_NEAR(file.Place(35), 30000.0 / 2.4, 1e-9);
    EXPECT_EQ(file.Place(37), 24000.0);
    EXPECT_EQ(file.Place(39), 30000.0);
    EXPECT_EQ(file.Place(34), 100.0);
    EXPECT_NEAR(file.Place(38), 0.5, 1e-14);
    EXPECT_NEAR(file.Place(21), 999.0 / 1000.0, 1e-14); // e_max as porosity
    // The lab's preconsolidation takes the same cap.
    EXPECT_NEAR(HSCapAlphaFunction()(*hs, UserValue(*hs, "HSK0nc")), cap.M, 1e-12);

    SetUser(*hs, "EOedRef", 1e12); // stiffer than elastic: no cap, and the text says why
    EXPECT_THAT([&] { Write(*hs); },
                ThrowsMessage<EMaterialXDataProvider>(HasSubstr("Unable to calculate M")));
}

TEST(KernelMaterialWriter, HSSmallWritesTheCapAndVoidRatioLimitsOfHardeningSoil) {
    // The small-strain model shares Hardening Soil's cap and places, and adds G0 and gamma0.7;
    // the void ratio limits go to the kernel as porosities e / (1 + e).
    auto hs = MakeSoil(mxsmmHardeningSoil);
    auto hss = MakeSoil(mxsmmHardeningSoilSmall);
    for (auto* material : {hs.get(), hss.get()}) {
        SetUser(*material, "phi", 32.0);
        SetUser(*material, "E50Ref", 25e6);
        SetUser(*material, "EOedRef", 20e6);
        SetUser(*material, "EURRef", 80e6);
        SetUser(*material, "DilatancyCutOff", 1);
        SetUser(*material, "eMin", 0.5);
        SetUser(*material, "eMax", 1.0);
    }
    SetUser(*hss, "G0Ref", 120e6);
    const TRecordingLineWriter small = Write(*hss), plain = Write(*hs);
    EXPECT_EQ(small.Lines[1], "19\t=soil model type HS small");
    for (int place : {0, 1, 20, 21, 30, 31, 35, 36, 37, 38, 39})
        EXPECT_EQ(small.Place(place), plain.Place(place)) << "place " << place;
    EXPECT_NEAR(small.Place(20), 0.5 / 1.5, 1e-14);
    EXPECT_NEAR(small.Place(21), 0.5, 1e-14);
    EXPECT_EQ(small.Place(48), 120000.0);
    EXPECT_EQ(plain.Place(48), 0.0);
    const THSCapIterResult cap = RunHSCapIter(
        32.0, 25e6, 20e6, 0.2, 0.9, 1 - std::sin(32.0 * 3.14159265358979323846 / 180.0), 80e6, 0.5);
    EXPECT_NEAR(small.Place(30), cap.M, 1e-12);
    EXPECT_NEAR(small.Place(31), cap.KsKc, 1e-12);
}

TEST(KernelMaterialWriter, UserDefinedModelsWriteTheirLibrary) {
    TUserDLLs::RegisterLibrary("example64.dll", {{"Tresca", 0, {}},
                                                 {"DuncanChang",
                                                  2,
                                                  {{"E_i", "E_i#", qtPressure, 20000e3, 0},
                                                   {"Rf", "R_f#", qtDummy, 0.9, 5}}}});
    auto ud = MakeSoil(mxsmmUserDefined);
    TMaterialXTools::SetUserPropertyValueFrom(*ud, "DllFile",
                                              TVarRec(std::string("example64.dll")));
    TMaterialXTools::SetUserPropertyValueFrom(*ud, "ModelInDll",
                                              TVarRec(std::string("DuncanChang")));
    ASSERT_NE(ud->FindUserProperty("E_i"), nullptr);
    SetUser(*ud, "Rf", 0.85);
    const TRecordingLineWriter file = Write(*ud);
    EXPECT_EQ(file.Lines[1], "23\t=soil model type User-defined");
    EXPECT_EQ(file.Lines[2], "example64.dll\t=dll name");
    EXPECT_EQ(file.Place(0), 20000.0);
    EXPECT_EQ(file.Place(5), 0.85);

    // A copy has the library's parameters with their values; another soil model has none.
    auto copy = TMaterialXFactory::CreateCopy(nullptr, *ud);
    ASSERT_NE(copy->FindUserProperty("Rf"), nullptr);
    EXPECT_EQ(UserValue(*copy, "Rf"), 0.85);
    SetUser(*copy, "SoilModel", mxsmmMohrCoulomb);
    EXPECT_EQ(copy->FindInternalPropertyExact("E_i"), nullptr);
    SetUser(*copy, "SoilModel", mxsmmUserDefined);
    EXPECT_EQ(copy->FindInternalPropertyExact("E_i"), nullptr); // the library was not kept

    // Another model of the library takes the other's parameters away.
    TMaterialXTools::SetUserPropertyValueFrom(*ud, "ModelInDll", TVarRec(std::string("Tresca")));
    EXPECT_EQ(ud->FindUserProperty("E_i"), nullptr);
    EXPECT_EQ(Write(*ud).Lines[1], "21\t=soil model type User-defined");
    TMaterialXTools::SetUserPropertyValueFrom(*ud, "ModelInDll", TVarRec(std::string("Unknown")));
    EXPECT_THAT([&] { Write(*ud); },
                ThrowsMessage<EMXWriterQueryFunctionsException>(StrEq(
                    "Cannot convert unexpected soil model \"User-defined\" to integer value.")));
    TUserDLLs::UnregisterLibrary("example64.dll");
}

TEST(KernelMaterialWriter, AModelWithoutProviderWritesNothing) {
    auto mc = MakeSoil(mxsmmMohrCoulomb);
    const auto collection = TMaterialXDataProviderTools::GetDataProviderCollectionFor(*mc);
    TMaterialXDataProviderRegistry::UnregisterDataProviderCollection(mxsmmMohrCoulomb);
    TRecordingLineWriter file;
    EXPECT_THAT([&] { KernelMaterialWriter()->WriteMaterialBlocks(file, *mc); },
                ThrowsMessage<EMaterialXDataProvider>(
                    StrEq("No data provider was registered for this material")));
    EXPECT_TRUE(file.Lines.empty());
    TMaterialXDataProviderRegistry::RegisterDataProviderCollection(mxsmmMohrCoulomb, collection);

    auto none = MakeSoil(mxsmmNone);
    EXPECT_THAT([&] { Write(*none); },
                ThrowsMessage<EMXWriterQueryFunctionsException>(
                    StrEq("Cannot convert unexpected soil model \"None\" to integer value.")));
    EXPECT_THROW(GetHSCapIterValueFunction(THSCapIterParameterType(3)), EMaterialXDataProvider);
}

TEST(KernelMaterialWriter, TheRecordGoesBackIntoAMaterial) {
    auto source = MakeSoil(mxsmmMohrCoulomb);
    SetUser(*source, "nu", 0.3);
    SetUser(*source, "GRef", 8000e3);
    SetUser(*source, "phi", 33.0);
    SetUser(*source, "cRef", 2e3);
    const TRecordingLineWriter file = Write(*source);
    const std::vector<double> values = file.Record();
    auto target = MakeSoil(mxsmmMohrCoulomb);
    TMaterialXDataProviderTools::ApplyProlaysRValuesToMaterialX(*target, values,
                                                                file.StorageSystemOfUnits());
    EXPECT_NEAR(UserValue(*target, "GRef"), 8000e3, 1e-6);
    EXPECT_NEAR(UserValue(*target, "phi"), 33.0, 1e-9);
    EXPECT_NEAR(UserValue(*target, "cRef"), 2e3, 1e-9);
    EXPECT_NEAR(UserValue(*target, "nu"), 0.3, 1e-12);
}

TEST(KernelMaterialWriter, ASwitchInTheRecordOpensTheValuesItGates) {
    // Hoek-Brown's tensile strength is the user's only with the tension cut-off, and both travel
    // in the record: a record that turns the cut-off on brings its strength along.
    auto source = MakeSoil(mxsmmHoekBrown);
    SetUser(*source, "TensionCutOff", 1);
    SetUser(*source, "TensileStrength", 150e3);
    const TRecordingLineWriter file = Write(*source);
    const std::vector<double> values = file.Record();
    auto target = MakeSoil(mxsmmHoekBrown);
    ASSERT_TRUE(target->FindUserProperty("TensileStrength")->ReadOnly());
    TMaterialXDataProviderTools::ApplyProlaysRValuesToMaterialX(*target, values,
                                                                file.StorageSystemOfUnits());
    EXPECT_TRUE(TMaterialXTools::GetUserBooleanFrom(*target, "TensionCutOff"));
    EXPECT_NEAR(UserValue(*target, "TensileStrength"), 150e3, 1e-6);
    EXPECT_FALSE(target->FindUserProperty("TensileStrength")->ReadOnly());
}

namespace {

struct TPlaceCase {
    TMXSoil_MaterialModel Model;
    std::vector<std::pair<const char*, double>> Values; // user values, base units
    std::vector<std::pair<int, double>> Places;         // expected, in kN, m, day
};

} // namespace

TEST(KernelMaterialWriter, EachModelPutsItsValuesInItsPlaces) {
    const double sin30 = 0.5, sin20 = std::sin(20.0 * 3.14159265358979323846 / 180.0);
    const std::vector<TPlaceCase> cases{
        {mxsmmSoftSoil,
         {{"phi", 30.0},
          {"cRef", 2e3},
          {"IndexMethod", mxsirmStandard},
          {"lambdaModified", 0.1},
          {"kappaModified", 0.02},
          {"SSNuUr", 0.15}},
         {{1, 0.15},
          {2, sin30},
          {3, 2.0},
          {31, 5.0},
          {34, 100.0},
          {37, 0.02},
          {38, 0.1},
          {36, 0.5}}},
        {mxsmmSoftSoilCreep,
         {{"IndexMethod", mxsirmStandard},
          {"lambdaModified", 0.1},
          {"kappaModified", 0.02},
          {"muModified", 0.004},
          {"SSTauDirect", 2 * 86400.0}},
         {{40, 0.004}, {41, 2.0}}}, // tau0 in days
        {mxsmmModifiedCamClay,
         {{"eInit", 1.0},
          {"lambda", 0.2},
          {"kappa", 0.04},
          {"MCCMCsl", 1.2},
          {"PhiInter", 30.0},
          {"CInter", 3e3}},
         {{2, sin30}, {3, 3.0}, {30, 1.2}, {31, 5.0}, {36, 0.5}, {37, 0.02}, {38, 0.1}}},
        {mxsmmSOInviscid,
         {{"SOMCsl", 1.2},
          {"SONuUr", 0.2},
          {"PsiInter", 20.0},
          {"IndexMethod", mxsirmStandard},
          {"lambdaModified", 0.1},
          {"kappaModified", 0.02}},
         {{1, 0.2}, {4, sin20}, {30, 1.2}, {36, 0.5}}},
        {mxsmmSOViscid,
         {{"IndexMethod", mxsirmStandard},
          {"lambdaModified", 0.1},
          {"kappaModified", 0.02},
          {"alphaStar", 0.003},
          {"v0Dot", 1e-5 / 86400}},
         {{40, 0.003}, {41, 1e-5}}},
        {mxsmmHardeningSoilSmall,
         {{"E50Ref", 30e6}, {"G0Ref", 100e6}, {"gamma07", 1.5e-4}},
         {{48, 100000.0}, {49, 1.5e-4}, {39, 30000.0}}},
        {mxsmmNGIADP,
         {{"GURsUARatio", 500.0},
          {"sUARef", 40e3},
          {"gammaFC", 6.0},
          {"gammaFE", 9.0},
          {"VerticalRef", 2.0}},
         {{0, 20000.0},
          {1, 0.495},
          {27, 0.495},
          {3, 40.0},
          {18, 2.0},
          {30, 500.0},
          {31, 0.99},
          {37, 0.7},
          {38, 4.0},
          {40, 6.0}}},
        {mxsmmUDCAMSimplified, {{"tauCRef", 30e3}}, {{3, 30.0}}},
        {mxsmmHoekBrown,
         {{"AbsSigmaCI", 50e6},
          {"mi", 10.0},
          {"GSI", 100.0},
          {"HBTensileStrengthDirect", 0.0},
          {"HBTensionCutOffDirect", 1.0}},
         {{14, 1.0}, {30, 50000.0}, {31, 10.0}, {32, 100.0}, {44, 10.0}, {45, 1.0}}},
        {mxsmmJointedRock,
         {{"ET", 26e6},
          {"nuNT", 0.3},
          {"phi1", 30.0},
          {"c1", 5e3},
          {"phi2", 25.0},
          {"alpha12", 45.0}},
         {{0, 10000.0}, {1, 0.3}, {2, sin30}, {3, 5.0}, {37, 25.0}, {39, 45.0}}},
        {mxsmmUBC3DPLM,
         {{"N160", 12.0}, {"phiP", 33.0}},
         {{30, 12.0}, {38, 33.0}, {41, 1.0}, {43, 100.0}, {44, 0.9}}},
        {mxsmmConcrete,
         {{"E28", 15e9}, {"nu", 0.2}, {"StrengthFunction", mxssfClassJ2}, {"tHyd", 3 * 86400.0}},
         {{1, 0.2}, {30, 15e6}, {43, 3.0}, {45, 2.0}}},
        {mxsmmLinearElastic, {{"nu", 0.25}, {"ERef", 10e6}}, {{0, 4000.0}, {1, 0.25}, {2, 0.0}}},
    };
    for (const TPlaceCase& c : cases) {
        SCOPED_TRACE(MaterialModelCaption(c.Model));
        auto material = MakeSoil(c.Model);
        for (const auto& [name, value] : c.Values)
            if (material->FindUserProperty(name) && !material->FindUserProperty(name)->ReadOnly())
                SetUser(*material, name, value);
            else
                TMaterialXTools::SetInternalPropertyValueFrom(*material, name, value);
        const TRecordingLineWriter file = Write(*material);
        for (const auto& [place, value] : c.Places)
            EXPECT_NEAR(file.Place(place), value, 1e-12 * std::max(1.0, std::fabs(value)))
                << "place " << place;
    }
}

namespace {

// One place of the real record: the user value at `place`, as a sine where `sine`.
struct TPlace {
    int Place;
    const char* Name;
    bool Sine = false;
};

const std::vector<TPlace>& CommonPlaces() {
    static const std::vector<TPlace> places{{8, "gammaUnsat"},
                                            {9, "gammaSat"},
                                            {10, "PermHorizontalPrimary"},
                                            {11, "PermVertical"},
                                            {13, "PermHorizontalSecondary"},
                                            {19, "nInit"},
                                            {24, "RayleighAlpha"},
                                            {25, "RayleighBeta"},
                                            {26, "cK"},
                                            {100, "K0Primary"},
                                            {101, "K0Secondary"},
                                            {102, "OCR"},
                                            {103, "POP"},
                                            {105, "GroundwaterPsiK"},
                                            {106, "GroundwaterPsiS"},
                                            {109, "GwPsiUnsat"},
                                            {110, "SaturationSaturated"},
                                            {111, "SaturationResidual"},
                                            {112, "GenuchtenGa"},
                                            {113, "GenuchtenGn"},
                                            {114, "GenuchtenGl"},
                                            {181, "ThCs"},
                                            {182, "ThLambdaS"},
                                            {183, "rhoS"},
                                            {184, "ThAlphaSX"},
                                            {185, "ThAlphaSY"},
                                            {186, "ThAlphaSZ"},
                                            {187, "Dv"},
                                            {188, "fTv"},
                                            {189, "Rthermal"},
                                            {190, "ClayFraction"},
                                            {191, "SiltFraction"},
                                            {192, "SandFraction"}};
    return places;
}

} // namespace

TEST(KernelMaterialWriter, EveryPlaceOfEveryModelCarriesItsOwnValue) {
    // The kernel's numbers of the models.
    const std::map<TMXSoil_MaterialModel, int> KernelNumbers{{mxsmmLinearElastic, 1},
                                                             {mxsmmMohrCoulomb, 2},
                                                             {mxsmmSoftSoil, 4},
                                                             {mxsmmModifiedCamClay, 5},
                                                             {mxsmmHardeningSoil, 6},
                                                             {mxsmmSoftSoilCreep, 8},
                                                             {mxsmmConcrete, 33},
                                                             {mxsmmNGIADP, 12},
                                                             {mxsmmHoekBrown, 15},
                                                             {mxsmmJointedRock, 18},
                                                             {mxsmmHardeningSoilSmall, 19},
                                                             {mxsmmSOInviscid, 31},
                                                             {mxsmmSOViscid, 32},
                                                             {mxsmmUBC3DPLM, 34},
                                                             {mxsmmUDCAMSimplified, 35}};
    // Each stored number gets a value of its own, so that two places swapped, a place taken by
    // the wrong name or a value in the wrong unit shows.
    const std::vector<TPlace> elastic{{0, "GRef"}, {1, "nu"}};
    const std::vector<TPlace> failure{{2, "phi", true}, {3, "cRef"}, {4, "psi", true}};
    const std::vector<TPlace> interfaces{{12, "Rinter"}, {90, "RinterResidual"}};
    const std::vector<TPlace> undrained{{27, "nuUEquivalent"}, {98, "alphaBiot"}, {99, "Kw"}};
    const std::vector<TPlace> hs{{0, "GRef"},     {1, "HSNuUr"},  {32, "DeltaInter"},
                                 {33, "PowerM"},  {34, "HSPRef"}, {36, "RF"},
                                 {37, "EOedRef"}, {38, "HSK0nc"}, {39, "E50Ref"}};
    const std::vector<TPlace> softCommon{{31, "lambdaModifiedkappaModifiedRatio"},
                                         {34, "SSSOPRef"},
                                         {37, "kappaModified"},
                                         {38, "lambdaModified"}};
    const std::vector<TPlace> soft{{1, "SSNuUr"}, {30, "SSM"}, {36, "SSK0nc"}};
    const std::vector<TPlace> interfaceStrength{
        {2, "PhiInter", true}, {3, "CInter"}, {4, "PsiInter", true}};
    const std::vector<TPlace> so{{1, "SONuUr"}, {30, "SOMCsl"}, {36, "SOK0nc"}};
    const std::vector<TPlace> mcc{
        {1, "MCCNuUr"}, {30, "MCCMCsl"}, {31, "lambdakappaRatio"}, {36, "MCCK0nc"}};
    const std::vector<TPlace> hb{
        {30, "AbsSigmaCI"}, {31, "mi"}, {32, "GSI"}, {35, "Disturbance"}, {36, "psiMax"},
        {37, "sigmaPsi"},   {44, "mb"}, {45, "s"},   {46, "alpha"},       {48, "TensileStrength"}};
    const std::vector<TPlace> jr{{0, "GT"},         {1, "nuNT"}, {2, "phi1", true}, {3, "c1"},
                                 {4, "psi1", true}, {31, "EN"},  {32, "nuTS"},      {33, "GNT"},
                                 {34, "alpha11"},   {36, "c2"},  {37, "phi2"},      {38, "psi2"},
                                 {39, "alpha12"},   {41, "c3"},  {42, "phi3"},      {43, "psi3"},
                                 {44, "alpha13"}};
    const std::vector<TPlace> ngi{
        {0, "NGIGref"},        {1, "NGINuU"},
        {27, "NGINuU"},        {3, "sUARef"},
        {6, "sUAInc"},         {17, "VerticalInclination"},
        {18, "VerticalRef"},   {30, "GURsUARatio"},
        {31, "sUCTxsUARatio"}, {35, "sUDSSsUARatio"},
        {36, "sUPsUARatio"},   {37, "tau0sUARatio"},
        {38, "eps1FCTx"},      {39, "gammaFDSS"},
        {40, "eps1FETx"},      {43, "AdvancedParameterDivFailureStrainTriaxBiax"}};
    std::vector<TPlace> ubc, concrete{{1, "ConcreteNu"}};
    int place = 30;
    for (const char* name :
         {"N160", "KBeModified", "KGeModified", "KGpModified", "me", "ne", "UBCSNP", "phiCv",
          "phiP", "c", "sigT", "FDens", "FEPost", "UBCPRef", "UBCRF"})
        ubc.push_back({place++, name});
    place = 30;
    for (const char* name : {"E28",      "fC28",           "fC0N",       "fCFN",
                             "fCUN",     "GC28",           "phiMax",     "ConcretePsi",
                             "gammatFC", "fT28",           "fTUN",       "GT28",
                             "gammaFT",  "tHyd",           "E1E28Ratio", "StrengthFunction",
                             "epsPCP1H", "epsPCP8H",       "epsPCP24H",  "aDuct",
                             "epsCPP",   "epsInfiniteShr", "tShr50",     "phiCr",
                             "tCr50"})
        concrete.push_back({place++, name});

    auto join = [](std::initializer_list<std::vector<TPlace>> parts) {
        std::vector<TPlace> all = CommonPlaces();
        for (const auto& part : parts)
            all.insert(all.end(), part.begin(), part.end());
        return all;
    };
    const std::vector<std::pair<TMXSoil_MaterialModel, std::vector<TPlace>>> models{
        {mxsmmLinearElastic, join({elastic, interfaces, undrained})},
        {mxsmmMohrCoulomb, join({elastic, failure, interfaces, undrained})},
        {mxsmmHardeningSoil, join({failure, interfaces, undrained, hs})},
        {mxsmmHardeningSoilSmall,
         join({failure, interfaces, undrained, hs, {{48, "G0Ref"}, {49, "gamma07"}}})},
        {mxsmmSoftSoil, join({failure, interfaces, undrained, softCommon, soft})},
        {mxsmmSoftSoilCreep, join({failure, interfaces, undrained, softCommon, soft})},
        {mxsmmJointedRock, join({interfaces, undrained, jr})},
        {mxsmmModifiedCamClay, join({undrained, interfaceStrength, mcc})},
        {mxsmmNGIADP, join({interfaces, ngi})},
        {mxsmmHoekBrown, join({elastic, interfaces, hb})},
        {mxsmmSOInviscid, join({undrained, softCommon, interfaceStrength, so})},
        {mxsmmSOViscid,
         join({undrained, softCommon, interfaceStrength, so, {{40, "alphaStar"}, {41, "v0Dot"}}})},
        {mxsmmConcrete, join({interfaces, concrete})},
        {mxsmmUBC3DPLM, join({interfaces, undrained, ubc})},
        {mxsmmUDCAMSimplified, join({interfaces, ngi})}};
    for (const auto& [model, places] : models) {
        SCOPED_TRACE(MaterialModelCaption(model));
        auto material = MakeSoil(model);
        ScrambleStoredNumbers(*material);
        for (const char* method : {"IndexMethod", "ModulusMethod"})
            if (material->FindUserProperty(method))
                SetUser(*material, method, mxsirmStandard);
        if (material->FindUserProperty("lambdaModified")) {
            // A Soft Soil cap needs lambda* well above kappa*.
            SetUser(*material, "lambdaModified", 0.1);
            SetUser(*material, "kappaModified", 0.02);
        }
        if (model == mxsmmHardeningSoil || model == mxsmmHardeningSoilSmall) {
            // A cap exists only for a soil whose oedometer stiffness is below the elastic one.
            SetUser(*material, "phi", 30.0);
            SetUser(*material, "E50Ref", 30e6);
            SetUser(*material, "EOedRef", 30e6);
            SetUser(*material, "EURRef", 90e6);
        }
        const TRecordingLineWriter file = Write(*material);
        const TSystemOfUnits& units = file.StorageSystemOfUnits();
        EXPECT_EQ(file.Lines[1], std::to_string(KernelNumbers.at(model)) + "\t=soil model type " +
                                     MaterialModelCaption(model));
        for (const TPlace& entry : places) {
            const TKovIntrinsicProperty* property = material->FindUserProperty(entry.Name);
            ASSERT_NE(property, nullptr) << entry.Name;
            const double value = UserValue(*material, entry.Name);
            double expected = value;
            if (entry.Sine)
                expected = std::sin(value * 3.14159265358979323846 / 180.0);
            else if (const auto* number = dynamic_cast<const TIPDoubleWithUnit*>(property))
                expected = units.ToPresentation(number->QuantityType(), value);
            EXPECT_NEAR(file.Place(entry.Place), expected,
                        1e-9 * std::max(1.0, std::fabs(expected)))
                << "place " << entry.Place << " " << entry.Name;
        }
    }
}
