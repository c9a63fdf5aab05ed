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
    std::vector<double> values;
    for (int place = 0; place < 200; ++place)
        values.push_back(file.Place(place));
    auto target = MakeSoil(mxsmmMohrCoulomb);
    TMaterialXDataProviderTools::ApplyProlaysRValuesToMaterialX(*target, values,
                                                                file.StorageSystemOfUnits());
    EXPECT_NEAR(UserValue(*target, "GRef"), 8000e3, 1e-6);
    EXPECT_NEAR(UserValue(*target, "phi"), 33.0, 1e-9);
    EXPECT_NEAR(UserValue(*target, "cRef"), 2e3, 1e-9);
    EXPECT_NEAR(UserValue(*target, "nu"), 0.3, 1e-12);
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
