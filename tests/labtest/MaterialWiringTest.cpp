// The project on a framework soil material: it owns the material, its tests follow it, and a run
// sends the whole material to our kernel.

#include "Golden.h"
#include "LabTestSupport.h"

#include "labtest/QBExtendedFile.h"
#include "labtest/QBProject.h"
#include "labtest/QBTestTriaxial.h"
#include "materials/MaterialXFactory.h"
#include "materials/MaterialXTools.h"
#include "materials/SoilMaterialXRegistration.h"
#include "objects/ObjectManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <numbers>

using ::testing::HasSubstr;
using namespace tw;
using namespace tw::testing;
namespace fs = std::filesystem;

namespace {

void Set(TKovMaterialX& material, const char* name, double value) {
    TMaterialXTools::SetUserPropertyValueFrom(material, name, value);
}

// A medium dense sand as a user gives it in kN/m2 (stored in pascal).
std::unique_ptr<TKovSoilMaterialX> MohrCoulombSand() {
    auto sand = TMaterialXFactory::CreateSoilMaterialX(nullptr, "Sand", mxsmmMohrCoulomb, nullptr);
    Set(*sand, "nu", 0.3);
    Set(*sand, "ERef", 30000e3);
    Set(*sand, "cRef", 1e3);
    Set(*sand, "phi", 32.0);
    Set(*sand, "psi", 2.0);
    return sand;
}

struct WiringFixture : ::testing::Test {
    TKovObjectManager Manager;
    TMessageRecorder Messages;
    std::unique_ptr<TQBProject> Project;

    void MakeProject(std::unique_ptr<TKovSoilMaterialX> material) {
        Manager.LockRevert();
        Project = Make<TQBProject>(&Manager, std::move(material), tm3D);
        Manager.UnlockRevert();
        Manager.ClearRevertStacks();
    }
    TKovSoilMaterialX& Material() const { return *Project->MainMaterialX(); }
};

} // namespace

TEST_F(WiringFixture, TheProjectOwnsItsMaterialAndItsTestsFollowIt) {
    MakeProject(MohrCoulombSand());
    ASSERT_NE(Project->MainMaterialXList(), nullptr);
    EXPECT_EQ(Project->MainMaterialXList()->Name(), "Materials");
    EXPECT_EQ(Project->MainMaterialXList()->Count(), 1);
    EXPECT_EQ(Material().Name(), "Material");
    EXPECT_EQ(Project->MainMaterial(), static_cast<ITestMaterial*>(&Material()));
    // Tests are known by the type names of their classes.
    EXPECT_EQ(Project->TriaxialTest()->Caption(), "Triaxial");
    EXPECT_EQ(Project->TriaxialTest()->Name(), "Triaxial_1");
    EXPECT_EQ(Project->OedometerTest()->Name(), "Oedometer_1");
    EXPECT_EQ(Project->CycTriaxialTest()->Caption(), "CycTriaxial");
    EXPECT_EQ(Project->GeneralTest()->Name(), "General_1");

    TQBTestBase& triaxial = *Project->TriaxialTest();
    triaxial.SetMaterialInSyncWithTest(true);
    EXPECT_FALSE(triaxial.IsPreconsolidationEnabled());
    EXPECT_FALSE(triaxial.GetIntrinsicPropertyByName("PreconsolidationPressure")->IsPublished());
    Set(Material(), "SoilModel", mxsmmHardeningSoil);
    EXPECT_FALSE(triaxial.MaterialInSyncWithTest());
    EXPECT_TRUE(triaxial.GetIntrinsicPropertyByName("PreconsolidationPressure")->IsPublished());
    EXPECT_FALSE(triaxial.GetIntrinsicPropertyByName("Duration")->IsPublished());
    Set(Material(), "SoilModel", mxsmmSoftSoilCreep);
    EXPECT_TRUE(triaxial.GetIntrinsicPropertyByName("Duration")->IsPublished());
    EXPECT_EQ(triaxial.Phases()[0].Duration(), 86400.0);
    // The drainage of the material decides what behaviour a test may have.
    Set(Material(), "SoilModel", mxsmmMohrCoulomb);
    triaxial.Property<TIPEnumeration>("Behaviour").SetIntValue(qbbhUndrained);
    Set(Material(), "DrainageType", mxsdtNonPorous);
    triaxial.UpdateAllowedBehaviors();
    EXPECT_EQ(triaxial.Property<TIPEnumeration>("Behaviour").IntValue(), qbbhDrained);
}

TEST_F(WiringFixture, ANewMainMaterialIsTheSameObjectAssignedAsOneUndoStep) {
    MakeProject(MohrCoulombSand());
    TKovSoilMaterialX* material = &Material();
    auto clay = TMaterialXFactory::CreateSoilMaterialX(nullptr, "Clay", mxsmmHardeningSoil,
                                                       Project->MaterialQueryFunction());
    Set(*clay, "E50Ref", 8000e3);
    int deleted = 0;
    Project->AddMXDeleteCallback([&](TKovMaterialX* m) { deleted += m == material; });
    Project->TriaxialTest()->SetMaterialInSyncWithTest(true);
    const int steps = Manager.UndoCount();

    Project->SetMainMaterialX(*clay);
    EXPECT_EQ(&Material(), material);
    EXPECT_EQ(deleted, 1);
    EXPECT_EQ(Material().GetSoilModel(), mxsmmHardeningSoil);
    EXPECT_EQ(Material().Identification(), "Clay");
    EXPECT_EQ(Material().Name(), "Material");
    EXPECT_DOUBLE_EQ(TMaterialXTools::GetUserPropertyValueFrom(Material(), "E50Ref"), 8000e3);
    EXPECT_FALSE(Project->TriaxialTest()->MaterialInSyncWithTest());
    EXPECT_TRUE(Project->TriaxialTest()->IsPreconsolidationEnabled());
    EXPECT_EQ(Manager.UndoCount(), steps + 1);
    EXPECT_EQ(Manager.GetUndoName(0), "Set the main material");

    Manager.Undo();
    EXPECT_EQ(Material().GetSoilModel(), mxsmmMohrCoulomb);
    EXPECT_DOUBLE_EQ(TMaterialXTools::GetUserPropertyValueFrom(Material(), "phi"), 32.0);
}

TEST_F(WiringFixture, ARunSendsTheMaterialToOurKernel) {
    MakeProject(MohrCoulombSand());
    Project->SetApplicationDirectory(fs::path(TW_QBABC_3D).parent_path().string());
    // The header's water comes from the project: 1000 kg/m3 at 9.81 m/s2.
    const std::string input = ReadBytes(Project->WriteQBC(ttTriaxial));
    EXPECT_NE(input.find("9.81\t=water weight"), std::string::npos);
    EXPECT_NE(input.find("2\t=soil model type Mohr-Coulomb"), std::string::npos);

    ASSERT_TRUE(Project->DoTest(ttTriaxial));
    EXPECT_TRUE(Messages.Messages.empty());
    const TQBResults& results = Project->TriaxialTest()->Results();
    ASSERT_EQ(results.RowCount(), 101);
    // Drained triaxial compression at 100 kPa ends on the Mohr-Coulomb line:
    // q_f = 2 (c cos phi + sigma3 sin phi) / (1 - sin phi).
    const double phi = 32.0 * std::numbers::pi / 180.0;
    const double qf = 2 * (1e3 * std::cos(phi) + 100e3 * std::sin(phi)) / (1 - std::sin(phi));
    EXPECT_NEAR(results.GetValueByType(100, rtQ), qf, 1e-3 * qf);
    // Dilatancy at psi 2 degrees: the sample expands in the end.
    EXPECT_GT(results.GetValueByType(100, rtEpsV) - results.GetValueByType(99, rtEpsV), 0.0);
    EXPECT_TRUE(Project->TriaxialTest()->MaterialInSyncWithTest());

    // A model our kernel doesn't compute (the jointed rock model is written, then refused): the
    // run ends with the message and no results.
    Set(Material(), "SoilModel", mxsmmJointedRock);
    EXPECT_FALSE(Project->DoTest(ttTriaxial));
    EXPECT_EQ(Project->TriaxialTest()->Results().RowCount(), 0);
    EXPECT_THAT(Project->LastKernelMessage(), HasSubstr("is not supported by this kernel"));
    // The user reads the kernel's reason beside the message.
    ASSERT_EQ(Messages.Messages.size(), 1u);
    EXPECT_EQ(Messages.Messages[0].Text, "There was an error during the execution of the test.");
    EXPECT_EQ(Messages.Messages[0].Details, Project->LastKernelMessage());
}

TEST_F(WiringFixture, AHardeningSoilTriaxialTestGoesToTheKernelAsItsGoldenFile) {
    auto sand =
        TMaterialXFactory::CreateSoilMaterialX(nullptr, "Dense sand", mxsmmHardeningSoil, nullptr);
    Set(*sand, "eInit", 0.6);
    Set(*sand, "E50Ref", 25000e3);
    Set(*sand, "EOedRef", 25000e3);
    Set(*sand, "EURRef", 75000e3);
    Set(*sand, "cRef", 1e3);
    Set(*sand, "phi", 32.0);
    Set(*sand, "psi", 2.0);
    Set(*sand, "gammaUnsat", 17e3);
    Set(*sand, "gammaSat", 20e3);
    MakeProject(std::move(sand));
    TQBTestBase& test = *Project->TriaxialTest();
    test.Property<TIPDouble>("PreconsolidationPressure").SetValue(150e3);
    const std::string path = Project->WriteQBC(ttTriaxial);
    ExpectGolden(path, "triaxial_hardeningsoil.qbc");

    // The isotropic preconsolidation stress is on the cap through the vertical 150 kPa.
    const double k0nc = 1 - std::sin(32.0 * std::numbers::pi / 180.0);
    const double p = (2 * k0nc + 1) / 3 * 150, q = (1 - k0nc) * 150;
    const double alpha = HSCapAlphaFunction()(Material(), k0nc);
    EXPECT_NEAR(IsotropicPreconsolidationStress(&Material(), 150e3, Project->SystemOfUnits()),
                std::sqrt(p * p + q * q / (alpha * alpha)), 1e-9);
    EXPECT_TRUE(TQBBaseFile::HasValidKeywords(path));
}
