#include "Golden.h"
#include "LabTestSupport.h"

#include "labtest/QBExtendedFile.h"
#include "labtest/QBKernelRun.h"
#include "labtest/QBProject.h"
#include "labtest/QBTestGeneral.h"
#include "labtest/QBTestTriaxial.h"
#include "objects/ObjectManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <numbers>
#include <sstream>
#include <unistd.h>

using namespace tw;
using namespace tw::testing;
using ::testing::StrEq;
using ::testing::ThrowsMessage;
namespace fs = std::filesystem;

namespace {

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

// The lines of `text` whose label starts with `prefix`, as "value" or the label behind it.
std::vector<std::string> LabelsStartingWith(const std::string& text, const std::string& prefix) {
    std::vector<std::string> labels;
    for (const std::string& line : Lines(text)) {
        const size_t at = line.find("\t=" + prefix);
        if (at != std::string::npos)
            labels.push_back(line.substr(at + 2 + prefix.size()));
    }
    return labels;
}

// The line with that label, whole.
std::string LineLabelled(const std::string& text, const std::string& label) {
    for (const std::string& line : Lines(text))
        if (line.size() >= label.size() + 2 &&
            line.compare(line.size() - label.size() - 2, std::string::npos, "\t=" + label) == 0)
            return line;
    return "<no line labelled " + label + ">";
}

// Every property of `b` has the value of that of `a`, numbers to the 15 digits of the files;
// the references to the owned lists are left out.
void ExpectSameProperties(const TKovObservableObject& a, const TKovObservableObject& b) {
    for (int i = 0; i < a.IntrinsicPropertiesCount(); ++i) {
        const TKovIntrinsicProperty& pa = *a.GetIntrinsicProperty(i);
        if (dynamic_cast<const TIPKovObject*>(&pa))
            continue;
        const TKovIntrinsicProperty* pb = b.GetIntrinsicPropertyByName(pa.Name());
        ASSERT_NE(pb, nullptr) << pa.Name();
        if (const auto* da = dynamic_cast<const TIPDouble*>(&pa)) {
            const double x = da->Value();
            const double y = static_cast<const TIPDouble*>(pb)->Value();
            EXPECT_NEAR(x, y, 1e-14 * std::max(std::fabs(x), std::fabs(y)) + 1e-30) << pa.Name();
        } else {
            EXPECT_TRUE(pa.HasSameValueAs(*pb))
                << pa.Name() << ": " << pa.ValueAsText() << " against " << pb->ValueAsText();
        }
    }
}

// The material blocks of a Mohr-Coulomb sand as our kernel reads them: G 10 MPa, nu 0.3,
// phi 30 degrees, c 5 kPa, no dilatancy, tension cut-off on.
struct MohrCoulombBlocks : IKernelMaterialWriter {
    IKernelMaterialWriter* Previous = SetKernelMaterialWriter(this);
    ~MohrCoulombBlocks() override { SetKernelMaterialWriter(Previous); }
    void WriteMaterialBlocks(IKernelFileLineWriter& file, const ITestMaterial& material) override {
        const TSystemOfUnits& units = file.StorageSystemOfUnits();
        file.WriteSection("[soilmodeldata]");
        file.WriteInteger(2, "soil model type Mohr-Coulomb");
        file.WriteBlankLine();
        file.WriteInteger(material.DrainageType(), "drainage");
        for (int i = 0; i < 6; ++i)
            file.WriteBlankLine();
        file.WriteSection("[soilparameters]");
        double places[200] = {};
        places[0] = units.Pressure.ToPresentation(1e7);
        places[1] = 0.3;
        places[2] = 0.5;
        places[3] = units.Pressure.ToPresentation(5000);
        places[14] = 1;
        for (double value : places)
            file.WriteDouble(value);
    }
};

const TQBBoundaryConditions CyclicTriaxialConditions{bcFixedStress, bcFixedStrain, bcFixedStress,
                                                     bcFixedStress, bcFixedStrain, bcFixedStrain};

struct KernelFileFixture : ::testing::Test {
    TKovObjectManager Manager;
    std::unique_ptr<TQBProject> Project;
    TFakeMaterial* Material = nullptr; // the project's
    fs::path Dir;
    TMessageRecorder Messages;
    // These tests run on a fake material, without the soil models' seams (which a framework
    // project of another test may have filled: they are process-wide).
    IKernelMaterialWriter* RegisteredWriter = SetKernelMaterialWriter(nullptr);
    THSCapAlphaFunction RegisteredCap = SetHSCapAlphaFunction(nullptr);

    void SetUp() override {
        Dir = fs::temp_directory_path() /
              ("tw kernel files " + std::to_string(::getpid()) + " " +
               ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(Dir);
        fs::create_directories(Dir);
        MakeProject(tm3D);
    }
    void TearDown() override {
        Project.reset();
        fs::remove_all(Dir);
        SetKernelMaterialWriter(RegisteredWriter);
        SetHSCapAlphaFunction(RegisteredCap);
    }
    void MakeProject(TQBTestMethod method) {
        Project.reset();
        auto material = std::make_unique<TFakeMaterial>();
        Material = material.get();
        Manager.LockRevert();
        Project = Make<TQBProject>(&Manager, std::move(material), method);
        Manager.UnlockRevert();
        Manager.ClearRevertStacks();
    }
    std::string Path(const std::string& name) const { return (Dir / name).string(); }

    // A general test of four phases whose second and third repeat three times: an isotropic
    // load under suction and heat, then shear back and forth, then half way back.
    TQBTestBase& CyclicGeneralTest(bool suctionAndHeat) {
        TQBTestBase& test = *Project->GeneralTest();
        test.ClipPhases(0); // instead of the default phase
        if (suctionAndHeat) {
            Project->SetIsSuctionEnabled(true);
            Project->SetIsThermalEnabled(true);
            test.Property<TIPDouble>("SuctionInit").SetValue(20000);
            test.Property<TIPDouble>("TempInit").SetValue(283.15);
            test.Property<TIPEnumeration>("Behaviour").SetIntValue(qbbhUndrained);
            test.Property<TIPBoolean>("ArcLength").SetValue(true);
        }
        test.Property<TIPDouble>("Error").SetValue(0.005);
        test.Property<TIPInteger>("Iteration").SetValue(80);
        test.Property<TIPBoolean>("ApplyMobilisedShearStrength").SetValue(true);
        test.Property<TIPDouble>("MobilisedShearStrength").SetValue(0.8);
        for (TQBLoadDirection d : {ldXX, ldYY, ldZZ})
            test.SetInitialEffectiveStress(d, -100000);
        test.SetInitialEffectiveStress(ldXY, 5000);
        for (int i = 0; i < 4; ++i)
            test.AddNewPhase();
        const TQBBoundaryConditions normalStress{bcFixedStress, bcFixedStress, bcFixedStress,
                                                 bcFixedStrain, bcFixedStrain, bcFixedStrain};
        TQBPhase& load = test.Phases()[0];
        load.SetSteps(20);
        load.SetDuration(86400);
        load.SetBoundaryConditions(normalStress);
        load.SetStressIncrements({-50000, -50000, -50000, 0, 0, 0});
        load.SetSuctionIncrement(-5000);
        load.SetTemperatureIncrement(10);
        const double shear[] = {0, 0.5, -1.0, 0.5};
        const double durations[] = {0, 3600, 3600, 7200};
        for (int i = 1; i < 4; ++i) {
            TQBPhase& phase = test.Phases()[i];
            phase.SetSteps(10);
            phase.SetDuration(durations[i]);
            phase.SetBoundaryConditions(normalStress);
            phase.SetStrainIncrement(ldXY, shear[i]);
        }
        test.MarkPhasesCyclic(1, 2, 3);
        return test;
    }
    // Two cycles of 20 kPa on the cyclic triaxial test, 5 steps a quarter, an hour a cycle.
    TQBTestBase& RebuiltCyclicTriaxialTest() {
        TQBTestBase& test = *Project->CycTriaxialTest();
        test.RebuildCyclicTestPhases(2, 5, 3600, 20000, 0.5, ldYY, CyclicTriaxialConditions);
        return test;
    }
};

} // namespace

TEST_F(KernelFileFixture, TheDefaultTriaxialTestGoesToTheKernelAsItsGoldenFile) {
    const std::string path = Project->WriteQBC(ttTriaxial);
    EXPECT_EQ(path, KernelWorkingDirectory() + "tokernel.qbc");
    ExpectGolden(path, "triaxial_default.qbc");

    const std::string text = ReadBytes(path);
    EXPECT_EQ(text.substr(0, 12), "\xEF\xBB\xBF[header]\n");
    // Without suction and heat their values are the integer 0; a shear strength not applied is -1.
    EXPECT_EQ(LineLabelled(text, "initial suction"), "0\t=initial suction");
    EXPECT_EQ(LineLabelled(text, "initial temperature"), "0\t=initial temperature");
    EXPECT_EQ(LineLabelled(text, "mob. rel. shear strength"), "-1\t=mob. rel. shear strength");
    // -10 % of strain is the fraction -0.1; a list of six values has six tabs.
    EXPECT_EQ(LineLabelled(text, "strain increments for phase 1"),
              "0\t-0.1\t0\t0\t0\t0\t=strain increments for phase 1");
    EXPECT_EQ(LineLabelled(text, "initial stresses"),
              "-100\t-100\t-100\t0\t0\t0\t=initial stresses");
    EXPECT_EQ(LineLabelled(text, "boundary conditions"), "1\t0\t1\t1\t0\t0\t=boundary conditions");
    EXPECT_EQ(text.substr(text.size() - 2), "\n\n"); // a blank line ends the test parameters
}

TEST_F(KernelFileFixture, ACyclicDefinitionIsWrittenWithAllItsCycles) {
    MakeProject(tm2D);
    TQBTestBase& test = CyclicGeneralTest(true);
    TQBCFile file(&Project->SystemOfUnits(), Path("general.qbc"));
    file.WriteAll(test, Material, 5e-5, 2.1e-4);
    file.Close();
    ExpectGolden(Path("general.qbc"), "general_cyclic.qbc");

    const std::string text = ReadBytes(Path("general.qbc"));
    EXPECT_EQ(LineLabelled(text, "number of phases"), "8\t=number of phases");
    EXPECT_EQ(LabelsStartingWith(text, "number of steps in "),
              (std::vector<std::string>{"phase 1", "phase 2, cycle 1", "phase 3, cycle 1",
                                        "phase 2, cycle 2", "phase 3, cycle 2", "phase 2, cycle 3",
                                        "phase 3, cycle 3", "phase 4"}));
    EXPECT_EQ(LineLabelled(text, "unsaturated"), "1\t=unsaturated");
    EXPECT_EQ(LineLabelled(text, "initial suction"), "20\t=initial suction");
    EXPECT_EQ(LineLabelled(text, "suction increment for phase 1"),
              "-5\t=suction increment for phase 1");
    EXPECT_EQ(LineLabelled(text, "arclength on"), "1\t=arclength on");
    EXPECT_EQ(LineLabelled(text, "phase duration for phase 2, cycle 3"),
              "0.0416666666666667\t=phase duration for phase 2, cycle 3");

    // A definition of one phase is counted with its cycles but written once, as the phase table
    // keeps users from making one; our kernel refuses such a file (it announces too many phases).
    test.MarkPhasesCyclic(3, 3, 2);
    file.WriteAll(test, Material, 0, 0);
    file.Close();
    const std::string single = ReadBytes(Path("general.qbc"));
    EXPECT_EQ(LineLabelled(single, "number of phases"), "9\t=number of phases");
    EXPECT_EQ(LabelsStartingWith(single, "number of steps in ").size(), 8u);
    test.DeleteCyclicPhasesDefinition(1);

    // A definition of one cycle still names its cycle.
    test.CyclicPhases().GetItems(0)->SetCycles(1);
    file.WriteAll(test, Material, 0, 0);
    file.Close();
    EXPECT_EQ(
        LabelsStartingWith(ReadBytes(Path("general.qbc")), "number of steps in "),
        (std::vector<std::string>{"phase 1", "phase 2, cycle 1", "phase 3, cycle 1", "phase 4"}));
}

TEST_F(KernelFileFixture, ARebuiltCyclicTriaxialTestGoesToTheKernelAsItsGoldenFile) {
    TQBTestBase& test = RebuiltCyclicTriaxialTest();
    ExpectGolden(Project->WriteQBC(ttCycTriaxial), "cyctriaxial_rebuilt.qbc");
    EXPECT_EQ(test.Phases().Count(), 6);
}

TEST_F(KernelFileFixture, OurKernelRunsWhatTheLabWrites) {
    // The kernel stands in the build's bin folder; the material writer of the test stands in for
    // the real one, which comes with the soil models.
    MohrCoulombBlocks blocks;
    Project->SetApplicationDirectory(fs::path(TW_QBABC_3D).parent_path().string());
    CyclicGeneralTest(false);
    RebuiltCyclicTriaxialTest();
    // The steps of every written phase, and where the driven strain ends (a fraction): the
    // triaxial test at -10 % in yy; the cyclic one back at its start (its initial phase is
    // stress-controlled) after its cycles; the general one
    // at 3 * (0.5 - 1) + 0.5 = -1 % of shear.
    struct TRun {
        TQBTestType Type;
        int Steps;
        TQBResultType Strain;
        double Final;
    };
    const TRun runs[] = {{ttTriaxial, 100, rtEpsYY, -0.1},
                         {ttCycTriaxial, 100 + 5 + 10 + 10 + 10 + 5, rtEpsYY, 0.0},
                         {ttGeneral, 20 + 3 * 20 + 10, rtGamXY, -0.01}};
    for (const TRun& run : runs) {
        SCOPED_TRACE(TestTypeName(run.Type));
        EXPECT_TRUE(TQBBaseFile::HasValidKeywords(Project->WriteQBC(run.Type)));
        ASSERT_TRUE(Project->DoTest(run.Type));
        const TQBResults& results = Project->MainTests().ByTestType(run.Type)->Results();
        // One row for the initial state and one for each step.
        ASSERT_EQ(results.RowCount(), run.Steps + 1);
        EXPECT_NEAR(results.GetValueByType(run.Steps, run.Strain), run.Final, 1e-12);
        // The cell pressure holds where the stress is the boundary condition.
        EXPECT_NEAR(results.GetValueByType(run.Steps, rtSigXX),
                    run.Type == ttGeneral ? -150000 : -100000, 1000);
    }
    EXPECT_TRUE(Messages.Messages.empty());
}

TEST_F(KernelFileFixture, TheIsotropicPreconsolidationStressFollowsTheSoilModel) {
    TSystemOfUnits& units = Project->SystemOfUnits(); // kN and m
    TFakeMaterial clay;
    // Soft Soil: K0nc 0.6, M 1.2, c 10 kPa, phi 30 degrees; 100 kPa vertical.
    clay.Model = mxsmmSoftSoil;
    clay.Numbers = {{"SSK0nc", 0.6}, {"SSM", 1.2}, {"cRef", 10000}, {"phi", 30}};
    const double p = (2 * 0.6 + 1) / 3 * 100, q = (1 - 0.6) * 100;
    const double cohesion = 10 / std::tan(std::numbers::pi / 6);
    EXPECT_NEAR(IsotropicPreconsolidationStress(&clay, 100000, units),
                p + q * q / 1.44 / (p + cohesion), 1e-12);
    clay.Model = mxsmmSoftSoilCreep;
    clay.Numbers["cRef"] = 0; // without cohesion no friction angle is needed
    clay.Numbers["phi"] = 0;
    EXPECT_NEAR(IsotropicPreconsolidationStress(&clay, 100000, units), p + q * q / 1.44 / p, 1e-12);

    clay.Model = mxsmmModifiedCamClay;
    clay.Numbers = {{"MCCK0nc", 0.5}, {"MCCMCsl", 1.0}};
    EXPECT_NEAR(IsotropicPreconsolidationStress(&clay, 300000, units),
                150.0 * 150.0 / 1.0 / 200.0 + 200.0, 1e-12);
    clay.Numbers["MCCK0nc"] = -0.5; // p = 0
    EXPECT_EQ(IsotropicPreconsolidationStress(&clay, 300000, units), 1.0);
    clay.Numbers["MCCMCsl"] = 0;
    EXPECT_THAT([&] { IsotropicPreconsolidationStress(&clay, 300000, units); },
                ThrowsMessage<std::exception>(StrEq(
                    "The isotropic preconsolidation stress of material \"Sand\" can't be computed: "
                    "\"MCCMCsl\" is 0")));

    clay.Model = mxsmmHardeningSoil;
    clay.Numbers = {{"HSK0nc", 0.5}};
    EXPECT_THAT([&] { IsotropicPreconsolidationStress(&clay, 300000, units); },
                ThrowsMessage<std::exception>(StrEq("Unexpected soil model: Hardening Soil")));
    THSCapAlphaFunction previous = SetHSCapAlphaFunction(
        [](const ITestMaterial&, double k0nc) { return k0nc == 0.5 ? 2.0 : 0.0; });
    EXPECT_NEAR(IsotropicPreconsolidationStress(&clay, 300000, units),
                std::sqrt(200.0 * 200.0 + 75.0 * 75.0), 1e-12);
    clay.Numbers["HSK0nc"] = 0.4; // alpha 0
    EXPECT_EQ(IsotropicPreconsolidationStress(&clay, 300000, units), 0.0);
    SetHSCapAlphaFunction(previous);

    clay.Model = mxsmmSOInviscid;
    EXPECT_THAT(
        [&] { IsotropicPreconsolidationStress(&clay, 300000, units); },
        ThrowsMessage<std::exception>(StrEq("Unexpected soil model: Sekiguchi-Ohta Inviscid")));
    EXPECT_EQ(IsotropicPreconsolidationStress(&clay, 0.0, units), 0.0); // no pressure, no model
    clay.Model = mxsmmMohrCoulomb;
    EXPECT_EQ(IsotropicPreconsolidationStress(&clay, 300000, units), 0.0);

    // In a file: the kernel input converts, the test files keep the user's value.
    TQBTestBase& test = *Project->TriaxialTest();
    Material->Model = mxsmmModifiedCamClay;
    Material->Numbers["MCCK0nc"] = 0.5;
    Material->Numbers["MCCMCsl"] = 1.0;
    test.Property<TIPDouble>("PreconsolidationPressure").SetValue(300000);
    EXPECT_EQ(
        LineLabelled(ReadBytes(Project->WriteQBC(ttTriaxial)), "isotropic preconsolidation stress"),
        "312.5\t=isotropic preconsolidation stress");
    TQBSFile configuration(&units, Path("test.qbs"));
    configuration.WriteTest(test);
    configuration.Close();
    EXPECT_EQ(LineLabelled(ReadBytes(Path("test.qbs")), "isotropic preconsolidation stress"),
              "300\t=isotropic preconsolidation stress");
}

TEST_F(KernelFileFixture, ExtraParametersInTheUnitsOfTheFile) {
    TSystemOfUnits units;
    units.SetUnitsOfNewProject();
    units.Temperature.SetPresentationUnit("°F");
    TQBTestBase& test = *Project->TriaxialTest();
    Material->Numbers["UnfrozenWaterSaturationMethod"] = 1;
    Material->Tables["UnfrozenWaterSaturationTable"] = {{qtTemperature, qtDummy},
                                                        {{263.15, 0.05}, {273.15, 1.0}}};
    TQBCFile file(&units, Path("extra.qbc"));
    file.WriteAll(test, Material, 5.4e-5, 2.1e-4);
    file.Close();
    const std::vector<std::string> lines = Lines(ReadBytes(Path("extra.qbc")));
    const auto head = std::find(lines.begin(), lines.end(), "[extraparameters]");
    ASSERT_NE(head, lines.end());
    // Per kelvin becomes per degree Fahrenheit; the mass unit t is 1000 kg. The table stands
    // one cell a line, row by row, and the next section follows directly.
    EXPECT_EQ(std::vector<std::string>(head + 1, head + 11),
              (std::vector<std::string>{"0.000116666676\t=water thermal expansion",
                                        "3.00000024E-5\t=ice thermal expansion",
                                        "1000\t=mass unit conversion", "1\t=useUWC",
                                        "2\t=number of rows", "13.999962106403", "0.05",
                                        "31.9999606664031", "1", "[testparameters]"}));
    const std::string text = ReadBytes(Path("extra.qbc"));
    EXPECT_EQ(LineLabelled(text, "unit of temperature"), "°F\t=unit of temperature");
}

TEST_F(KernelFileFixture, AFailedKernelInputLeavesNoStaleInputBehind) {
    TQBTestBase& test = *Project->TriaxialTest();
    const std::string path = Project->WriteQBC(ttTriaxial);
    ASSERT_TRUE(fs::exists(path));
    // Hardening Soil can't be converted until its cap iteration is registered.
    Material->Model = mxsmmHardeningSoil;
    Material->Numbers["HSK0nc"] = 0.5;
    test.Property<TIPDouble>("PreconsolidationPressure").SetValue(100000);
    EXPECT_THAT([&] { Project->WriteQBC(ttTriaxial); },
                ThrowsMessage<std::exception>(StrEq("Unexpected soil model: Hardening Soil")));
    EXPECT_FALSE(fs::exists(path));
    for (const auto& entry : fs::directory_iterator(fs::path(path).parent_path()))
        EXPECT_EQ(entry.path().filename().string().find("tokernel.qbc.tmp"), std::string::npos);
}

TEST_F(KernelFileFixture, AConfigurationWrittenAndReadBackGivesAnEqualTest) {
    auto& test = static_cast<TQBTestTriaxial&>(*Project->TriaxialTest());
    test.Property<TIPDouble>("CellPressure").SetValue(150000);
    test.Property<TIPEnumeration>("Direction").SetIntValue(qbdExtension);
    test.Property<TIPDouble>("MaximumStrain").SetValue(12.5);
    test.Property<TIPInteger>("Steps").SetValue(250);
    test.Property<TIPDouble>("Error").SetValue(0.02);
    test.Property<TIPDouble>("Relax").SetValue(0.9);
    test.Property<TIPInteger>("Iteration").SetValue(75);
    test.Property<TIPBoolean>("ArcLength").SetValue(true);
    test.Property<TIPDouble>("PreconsolidationPressure").SetValue(212500);
    test.Property<TIPBoolean>("ApplyMobilisedShearStrength").SetValue(true);
    test.Property<TIPDouble>("MobilisedShearStrength").SetValue(0.75);
    test.Property<TIPEnumeration>("TestControlType").SetIntValue(tctStress);
    test.InsertPhase(1);
    test.Phases()[1].SetStrainIncrement(ldXY, -2.5);
    test.Phases()[1].SetStressIncrement(ldZZ, -12345.678);

    TQBSFile out(&Project->SystemOfUnits(), Path("triaxial.qbs"));
    out.WriteTest(test);
    out.Close();
    const std::string text = ReadBytes(Path("triaxial.qbs"));
    EXPECT_EQ(text.substr(0, 35), "\xEF\xBB\xBF[header]\n8\t=file version number\n");
    EXPECT_EQ(LineLabelled(text, "number of charts"), "0\t=number of charts");

    // Into the triaxial test of another project, in other units.
    TKovObjectManager manager;
    TSystemOfUnits imperial;
    imperial.SetForcePresentationUnit("kip");
    imperial.Length.SetPresentationUnit("ft");
    manager.LockRevert();
    auto other = Make<TQBProject>(&manager, std::make_unique<TFakeMaterial>(), tm3D, &imperial);
    manager.UnlockRevert();
    manager.ClearRevertStacks();
    TQBTestBase& loaded = *other->TriaxialTest();
    TQBSFile in(&other->SystemOfUnits(), Path("triaxial.qbs"));
    in.LoadTest(loaded);
    EXPECT_EQ(manager.UndoCount(), 1);
    EXPECT_EQ(manager.GetUndoName(0), "Read test from file");
    ExpectSameProperties(test, loaded);
    ASSERT_EQ(loaded.Phases().Count(), 2);
    for (int i = 0; i < 2; ++i) {
        ExpectSameProperties(test.Phases()[i], loaded.Phases()[i]);
        EXPECT_EQ(loaded.Phases()[i].Parent(), &loaded);
    }
    EXPECT_EQ(static_cast<TQBTestTriaxial&>(loaded).Direction(), qbdExtension);

    // A configuration of another test type is refused, and the test stays as it was.
    TQBSFile oedometer(&other->SystemOfUnits(), Path("oedometer.qbs"));
    oedometer.WriteTest(*other->OedometerTest());
    oedometer.Close();
    TQBSFile wrong(nullptr, Path("oedometer.qbs"));
    EXPECT_THAT(
        [&] { wrong.LoadTest(loaded); },
        ThrowsMessage<std::exception>(StrEq("Test type in file doesn't match type of test.")));
    EXPECT_EQ(loaded.Phases().Count(), 2);
    ExpectSameProperties(test, loaded);
    EXPECT_EQ(manager.UndoCount(), 1);
}

TEST_F(KernelFileFixture, ATestFileKeepsTheResults) {
    TQBTestBase& test = *Project->TriaxialTest();
    // The columns of a kernel result up to the excess pore pressure: time in s, strains as
    // fractions, stresses in Pa; the rest not set.
    const TQBResultType types[] = {rtT,     rtEpsXX, rtEpsYY, rtEpsZZ, rtGamXY, rtGamYZ, rtGamZX,
                                   rtSigXX, rtSigYY, rtSigZZ, rtTauXY, rtTauYZ, rtTauZX, rtPExcess};
    test.Results().AddValuesInNewRow(
        types, std::vector<double>{0, 0, 0, 0, 0, 0, 0, -100000, -100000, -100000, 0, 0, 0, 0});
    test.Results().AddValuesInNewRow(types,
                                     std::vector<double>{86400, 0.01, -0.1, 0.01, 0, 0, 0, -100000,
                                                         -250000, -100000, 0, 0, 0, 0});
    {
        TQBTFile file(&Project->SystemOfUnits(), Path("triaxial.qbt"));
        file.WriteHeader(Material, 8);
        file.WriteTest(test);
        file.Close();
    }
    const std::string text = ReadBytes(Path("triaxial.qbt"));
    const std::vector<std::string> lines = Lines(text);
    ASSERT_GE(lines.size(), 3u);
    EXPECT_EQ(lines[lines.size() - 3], "[testresults]");
    // All 42 columns of a result file, empty where not set.
    EXPECT_EQ(lines.back(),
              "1\t0.01\t-0.1\t0.01\t0\t0\t0\t-100\t-250\t-100\t0\t0\t0\t0" + std::string(28, '\t'));
    EXPECT_EQ(LineLabelled(text, "strain increments for phase 1"),
              "0\t-0.1\t0\t0\t0\t0\t=strain increments for phase 1");

    auto loaded = Make<TQBTestTriaxial>(nullptr, tm3D);
    loaded->SetOwnedMaterial(Material->CreateStaticCopy());
    TQBTFile file(nullptr, Path("triaxial.qbt"));
    file.LoadTest(*loaded);
    EXPECT_EQ(file.MaterialName(), "Sand");
    ExpectSameProperties(test, *loaded);
    const TQBResults& results = loaded->Results();
    ASSERT_EQ(results.RowCount(), 2);
    EXPECT_DOUBLE_EQ(results.GetValueByType(1, rtSigYY), -250000);
    EXPECT_DOUBLE_EQ(results.GetValueByType(1, rtT), 86400);
    EXPECT_FALSE(results.GetIsSetByType(1, rtPw));
    EXPECT_DOUBLE_EQ(results.GetValueByType(1, rtSig1), -250000); // derived on reading
}

// Version 5: the old general test ordinal, no inner radius or control type, and one set of
// boundary conditions for all phases.
TEST_F(KernelFileFixture, ATestFileOfVersion5ReadsAsAGeneralTest) {
    std::ofstream(Path("old.qbt"), std::ios::binary)
        << "[header]\n5\t=file version number\nOld clay\t=materialname\nkN\t=unit of force\n"
           "m\t=unit of length\ns\t=unit of time\n\n\n\n\n[testparameters]\n4\t=general\n"
           "1\t=behavior\n0.01\t=error1\n1\t=relax\n50\t=maxiter\n0\t=arclength off\n"
           "0\t=isotropic preconsolidation stress\n0\t=mob. rel. shear strength\n"
           "-50\t-50\t-50\t0\t0\t0\t=initial stresses\n1\t1\t1\t0\t0\t0\t=boundary conditions\n"
           "2\t=number of phases\n10\t=number of steps in phase 1\n60\t=phase duration for "
           "phase 1\n0\t0\t0\t0\t0\t0\t=strain increments for phase 1\n-10\t-10\t-10\t0\t0\t0\t="
           "stress increments for phase 1\n20\t=number of steps in phase 2\n0\t=phase duration "
           "for phase 2\n0\t0\t0\t0.02\t0\t0\t=strain increments for phase 2\n0\t0\t0\t0\t0\t0\t"
           "=stress increments for phase 2\n\n[testresults]\n0\t0\n";
    auto general = Make<TQBTestGeneral>(nullptr, tm3D);
    TQBTFile old(nullptr, Path("old.qbt"));
    old.LoadTest(*general);
    EXPECT_EQ(general->Behavior(), qbbhUndrained);
    EXPECT_EQ(general->GetInitialEffectiveStress(ldYY), -50000);
    ASSERT_EQ(general->Phases().Count(), 2);
    EXPECT_EQ(general->Phases()[1].Steps(), 20);
    EXPECT_EQ(general->Phases()[0].Duration(), 60);
    EXPECT_EQ(general->Phases()[1].GetStrainIncrement(ldXY), 2.0);
    EXPECT_EQ(general->Phases()[1].GetBoundaryCondition(ldZZ), bcFixedStress);
    EXPECT_FALSE(general->ApplyMobShearStrength());
    EXPECT_EQ(general->Results().RowCount(), 1);
}

TEST_F(KernelFileFixture, TheTestParametersOfAKernelInputAreNotReadAsATestFile) {
    auto loaded = Make<TQBTestTriaxial>(nullptr, tm3D);
    loaded->SetOwnedMaterial(Material->CreateStaticCopy());
    TQBTFile kernelInput(nullptr, Project->WriteQBC(ttTriaxial));
    EXPECT_THAT([&] { kernelInput.LoadTest(*loaded); },
                ThrowsMessage<std::exception>(
                    StrEq("The test parameters of a file of version 9 can't be read: " +
                          KernelWorkingDirectory() + "tokernel.qbc")));
}
