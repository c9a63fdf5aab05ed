// The material blocks of the kernel input: [soilmodeldata] and the 200 places of
// [soilparameters] in the units of the file, for every model.

#include "MaterialTestSupport.h"

#include "materials/HardeningSoilCap.h"
#include "materials/SoilUserDefinedModels.h"

#include <cmath>

using namespace tw;
using namespace tw::testing;

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
    try {
        Write(*hs);
        FAIL();
    } catch (const EMaterialXDataProvider& e) {
        EXPECT_NE(std::string(e.what()).find("Unable to calculate M"), std::string::npos);
    }
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

    // Another model of the library takes the other's parameters away.
    TMaterialXTools::SetUserPropertyValueFrom(*ud, "ModelInDll", TVarRec(std::string("Tresca")));
    EXPECT_EQ(ud->FindUserProperty("E_i"), nullptr);
    EXPECT_EQ(Write(*ud).Lines[1], "21\t=soil model type User-defined");
    TMaterialXTools::SetUserPropertyValueFrom(*ud, "ModelInDll", TVarRec(std::string("Unknown")));
    try {
        Write(*ud);
        FAIL();
    } catch (const EMXWriterQueryFunctionsException& e) {
        EXPECT_STREQ(e.what(),
                     "Cannot convert unexpected soil model \"User-defined\" to integer value.");
    }
    TUserDLLs::UnregisterLibrary("example64.dll");
}

TEST(KernelMaterialWriter, AModelWithoutProviderWritesNothing) {
    auto mc = MakeSoil(mxsmmMohrCoulomb);
    const auto collection = TMaterialXDataProviderTools::GetDataProviderCollectionFor(*mc);
    TMaterialXDataProviderRegistry::UnregisterDataProviderCollection(mxsmmMohrCoulomb);
    TRecordingLineWriter file;
    try {
        KernelMaterialWriter()->WriteMaterialBlocks(file, *mc);
        FAIL();
    } catch (const EMaterialXDataProvider& e) {
        EXPECT_STREQ(e.what(), "No data provider was registered for this material");
    }
    EXPECT_TRUE(file.Lines.empty());
    TMaterialXDataProviderRegistry::RegisterDataProviderCollection(mxsmmMohrCoulomb, collection);

    auto none = MakeSoil(mxsmmNone);
    try {
        Write(*none);
        FAIL();
    } catch (const EMXWriterQueryFunctionsException& e) {
        EXPECT_STREQ(e.what(), "Cannot convert unexpected soil model \"None\" to integer value.");
    }
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
