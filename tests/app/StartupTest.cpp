// The start-up from the host's input file, the example input files as committed, and the
// headless program run as a user runs it.

#include "ProgramSupport.h"

#include "app/ExampleMaterials.h"
#include "app/Startup.h"
#include "labtest/QBPersisters.h"
#include "materials/MaterialXClient.h"
#include "materials/MaterialXTools.h"
#include "objects/ObjectManager.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>

using namespace tw;
using namespace tw::testing;
namespace fs = std::filesystem;

namespace {

std::string Example(const std::string& name) {
    return std::string(TW_EXAMPLES) + "/materials/" + name;
}

TCommandLine Line(const std::vector<std::string>& arguments) {
    return TCommandLine(arguments);
}

std::map<std::string, std::string> StoredValues(const TKovMaterialX& material) {
    std::map<std::string, std::string> values;
    for (TKovIntrinsicProperty* property : material.InternalProperties())
        if (!property->IsDerived())
            values[property->Name()] = property->ValueAsText();
    return values;
}

double User(const TKovMaterialX& material, const char* name) {
    return TMaterialXTools::GetUserPropertyValueFrom(material, name);
}

struct StartupFixture : ::testing::Test {
    TKovObjectManager Manager;
    static void SetUpTestSuite() {
        TMaterialXClient_Abstract::SetInstance(std::make_unique<TMaterialXClientTarnwick>(mxcgt3D));
    }
};

} // namespace

TEST_F(StartupFixture, EveryExampleStartsAProjectWithWhatItsFileHolds) {
    std::vector<TExampleMaterial> examples = ExampleMaterials();
    ASSERT_GE(examples.size(), 4u);
    for (TExampleMaterial& example : examples) {
        SCOPED_TRACE(example.FileName);
        TKovObjectManager manager;
        TStartupOutcome start = StartUp(Line({Example(example.FileName)}), manager);
        ASSERT_TRUE(start.Started()) << start.Message;
        // A committed example reads without a word: it holds every value the program stores
        // now (else: remake it with make_example_materials), and the ones its source gives.
        EXPECT_EQ(start.ReadErrors.Count(), 0) << start.ReadErrors.AsText();
        const TQBProject& project = *start.Project;
        EXPECT_EQ(project.Name(), "Project");
        const TKovSoilMaterialX& material = *project.MainMaterialX();
        const TKovSoilMaterialX& made = *example.Input->SoilMaterialX();
        EXPECT_EQ(material.GetSoilModel(), made.GetSoilModel());
        EXPECT_EQ(material.Identification(), made.Identification());
        EXPECT_EQ(StoredValues(material), StoredValues(made));
        EXPECT_TRUE(project.SystemOfUnits().IsEqualTo(example.Input->SystemOfUnits()));
        EXPECT_EQ(project.LiquidThermalExpansion(), 2.1e-4);
        EXPECT_EQ(project.IceThermalExpansion(), 5e-5);
        EXPECT_DOUBLE_EQ(project.Gravity(), 9.81);
        EXPECT_DOUBLE_EQ(*material.GetNumber("RhoWater"), 1000.0);
        EXPECT_EQ(project.MainTests().Count(), 7); // 3D: no pressuremeter
    }

    // What each file was made to be.
    auto material = [&](const char* file, TKovObjectManager& manager) {
        return StartUp(Line({Example(file)}), manager);
    };
    TKovObjectManager a, b, c, d;
    auto sand = material("medium_dense_sand_hardening_soil.xml", a);
    EXPECT_EQ(sand.Project->MainMaterialX()->GetSoilModel(), mxsmmHardeningSoil);
    EXPECT_DOUBLE_EQ(User(*sand.Project->MainMaterialX(), "E50Ref"), 30e6);
    EXPECT_DOUBLE_EQ(User(*sand.Project->MainMaterialX(), "phi"), 33.0);
    auto clay = material("soft_clay_soft_soil_creep.xml", b);
    EXPECT_EQ(clay.Project->MainMaterialX()->GetSoilModel(), mxsmmSoftSoilCreep);
    EXPECT_DOUBLE_EQ(User(*clay.Project->MainMaterialX(), "lambdaModified"), 0.104);
    EXPECT_DOUBLE_EQ(User(*clay.Project->MainMaterialX(), "muModified"), 0.0042);
    auto stiff = material("stiff_clay_hs_small.xml", c);
    EXPECT_EQ(stiff.Project->MainMaterialX()->GetSoilModel(), mxsmmHardeningSoilSmall);
    EXPECT_DOUBLE_EQ(User(*stiff.Project->MainMaterialX(), "gamma07"), 2e-4);
    EXPECT_EQ(stiff.Project->SystemOfUnits().PresentationUnitText(qtTime), "h");
    auto rock = material("sandstone_rock_mohr_coulomb.xml", d);
    EXPECT_EQ(rock.Project->MainMaterialX()->GetSoilModel(), mxsmmMohrCoulomb);
    EXPECT_DOUBLE_EQ(User(*rock.Project->MainMaterialX(), "cRef"), 1.07e6);
    EXPECT_EQ(rock.Project->SystemOfUnits().PresentationUnitText(qtPressure), "MN/m²");
}

TEST_F(StartupFixture, WithoutAReadableInputFileTheProgramRefusesToStart) {
    TStartupOutcome none = StartUp(Line({}), Manager);
    EXPECT_FALSE(none.Started());
    EXPECT_EQ(none.Message, "Orvane Tarnwick cannot run as a standalone application.\n"
                            "Please run it from within the Orvane.");
    EXPECT_EQ(none.Title, "Tarnwick");

    TStartupOutcome missing = StartUp(Line({"/no/such/input.xml"}), Manager);
    EXPECT_EQ(missing.Message, "File /no/such/input.xml was not found.");
    EXPECT_EQ(missing.Title, "Tarnwick");

    TTemporaryFolder folder;
    for (const auto& [name, contents] : std::vector<std::pair<std::string, std::string>>{
             {"broken.xml", "<tarnwickinput"}, {"other.xml", "<project/>"}, {"empty.xml", ""}}) {
        SCOPED_TRACE(name);
        const std::string file = folder.File(name);
        std::ofstream(file) << contents;
        TStartupOutcome bad = StartUp(Line({file}), Manager);
        EXPECT_FALSE(bad.Started());
        EXPECT_EQ(bad.Message.rfind("Unexpected data format while reading material from file.\n"
                                    "Tarnwick will be closed.",
                                    0),
                  0u)
            << bad.Message;
        EXPECT_TRUE(Contains(bad.Message, file)) << bad.Message;
    }
}

TEST_F(StartupFixture, ReadProblemsReachTheUserMostSevereFirst) {
    // An input whose material holds a value its model doesn't know (a warning) and lacks one
    // (a hint).
    TTemporaryFolder folder;
    const std::string file = folder.File("input.xml");
    fs::copy_file(Example("medium_dense_sand_mohr_coulomb.xml"), file);
    auto tree = LoadStorageFromFile(file);
    THierarchicStorage& internal = *tree->GetChildByName("MaterialX")->GetChildByName("Internal");
    ASSERT_TRUE(internal.RemoveChildByName("GenuchtenGl"));
    internal.AddChild("RetiredParameter").SetValueAsDouble(1.0);
    tree->SaveToFile(file);

    TStartupOutcome start = StartUp(Line({file, "2"}), Manager);
    ASSERT_TRUE(start.Started()) << start.Message;
    EXPECT_EQ(start.Project->MainTests().Count(), 8); // "2": the 2D kernel, with a pressuremeter
    const std::vector<std::string> lines = ReadFeedbackLines(start.ReadErrors);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].rfind("Warning: The material", 0), 0u) << lines[0];
    EXPECT_TRUE(Contains(lines[0], "RetiredParameter")) << lines[0];
    EXPECT_EQ(lines[1].rfind("Hint: Data for new property \"GenuchtenGl\" not found.", 0), 0u)
        << lines[1];

    // The program says so on standard error, and runs.
    const TProgramRun run = RunProgram({file});
    EXPECT_TRUE(Contains(run.Errors, "Warning: The material")) << run.Errors;
    EXPECT_LT(run.Errors.find("Warning:"), run.Errors.find("Hint:")) << run.Errors;
}

TEST_F(StartupFixture, AMissingKernelIsReportedAndTheProjectStartsAllTheSame) {
    TStartupOutcome start = StartUp(Line({Example("medium_dense_sand_mohr_coulomb.xml")}), Manager);
    ASSERT_TRUE(start.Started());
    // The test program stands without kernels beside it.
    if (fs::exists(start.Project->ApplicationDirectory() + "qbabc_3d"))
        GTEST_SKIP() << "a kernel stands beside the test program";
    EXPECT_EQ(start.KernelMessage, "Kernel file is missing and tests can not be performed: " +
                                       start.Project->ApplicationDirectory() + "qbabc_3d");
}

TEST(HeadlessProgram, RunsTheMainJobOnAnExampleAndRefusesWithoutInput) {
    const TProgramRun job = RunProgram({Example("medium_dense_sand_mohr_coulomb.xml")});
    EXPECT_EQ(job.ExitCode, 0) << job.Errors;
    EXPECT_TRUE(Contains(job.Output, "Material \"Medium dense sand\" (Mohr-Coulomb, Drained)"))
        << job.Output;
    EXPECT_TRUE(Contains(job.Output, "Mohr-Coulomb strength   q_f = 229.1 kN/m²")) << job.Output;

    const TProgramRun none = RunProgram({});
    EXPECT_NE(none.ExitCode, 0);
    EXPECT_TRUE(Contains(none.Errors, "cannot run as a standalone application")) << none.Errors;
    EXPECT_TRUE(none.Output.empty());
    const TProgramRun missing = RunProgram({"no-such-file.xml"});
    EXPECT_NE(missing.ExitCode, 0);
    EXPECT_TRUE(Contains(missing.Errors, "File no-such-file.xml was not found.")) << missing.Errors;
}
