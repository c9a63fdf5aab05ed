// The headless command runner on the project started from an example input file: what it prints,
// where it stops, and the example scripts run through the program as a user runs them.

#include "ProgramSupport.h"

#include "app/CommandReference.h"
#include "app/CommandRunner.h"
#include "app/Startup.h"
#include "labtest/QBProject.h"
#include "labtest/QBProjectCommands.h"
#include "labtest/TarnwickResults.h"
#include "materials/SoilMaterialXEnumeratedTypes.h"
#include "objects/ObjectManager.h"
#include "services/RuntimeSettings.h"
#include "services/Strings.h"
#include "services/UserMessages.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

using namespace tw;
using namespace tw::testing;
namespace fs = std::filesystem;

namespace {

// Messages of the project (a failed run) are kept, not printed.
class TQuietMessages : public IUserMessages {
public:
    std::vector<std::string> Texts;
    TQuietMessages() : FPrevious(SetUserMessages(this)) {}
    ~TQuietMessages() override { SetUserMessages(FPrevious); }
    void ShowMessage(const std::string& text, const std::string&) override {
        Texts.push_back(text);
    }
    bool AskQuestion(const std::string& text, const std::string&) override {
        Texts.push_back(text);
        return true;
    }

private:
    IUserMessages* FPrevious;
};

// The project the program starts from the example input file of a Mohr-Coulomb sand (E' 30000
// kN/m2, nu' 0.3, c' 1 kN/m2, phi' 32 and psi 2 degrees), running its tests through our kernel.
std::unique_ptr<TQBProject> SandProject(TKovObjectManager& manager) {
    TStartupOutcome start = StartUp(
        TCommandLine({std::string(TW_EXAMPLES) + "/materials/medium_dense_sand_mohr_coulomb.xml"}),
        manager);
    if (!start.Started())
        throw std::runtime_error(start.Message);
    start.Project->SetApplicationDirectory(fs::path(TW_QBABC_3D).parent_path().string());
    return std::move(start.Project);
}

struct Runner : ::testing::Test {
    TKovObjectManager Manager;
    TQuietMessages Messages;
    std::unique_ptr<TQBProject> Project;
    std::ostringstream Output, Errors;

    Runner() {
        TRuntimeSettings::Set("NO_LOG_VERSION_COMMENT", true);
        Project = SandProject(Manager);
    }
    ~Runner() override { Project.reset(); }

    TCommandRunner::TExitCode RunScript(const std::string& script) {
        TCommandRunner runner(*Project, Output, Errors);
        std::istringstream input(script);
        return runner.Run(input, "script");
    }
    double CellPressure() const {
        return Project->TriaxialTest()->Property<TIPDoubleWithUnit>("CellPressure").Value();
    }
};

} // namespace

TEST_F(Runner, RunsEachCommandAndPassesOverBlankAndCommentLines) {
    // A byte order mark, CR LF line ends, blank lines, comment lines and a comment behind a
    // command; a "#" inside quotes is text.
    const std::string script = "\xEF\xBB\xBF# set up the triaxial test\r\n"
                               "\r\n"
                               "   \t\r\n"
                               "set Triaxial_1.CellPressure 200   # kN/m2, as shown\r\n"
                               "  # indented comment\r\n"
                               "setmetadata Triaxial_1 \"note\" \"sample #3\"\r\n"
                               "echo Triaxial_1.CellPressure";
    EXPECT_EQ(RunScript(script), TCommandRunner::ecSuccess) << Errors.str();
    EXPECT_EQ(Output.str(), "> set Triaxial_1.CellPressure 200   # kN/m2, as shown\n"
                            "> setmetadata Triaxial_1 \"note\" \"sample #3\"\n"
                            "> echo Triaxial_1.CellPressure\n"
                            "CellPressure: 200 kN/m²\n");
    EXPECT_EQ(Errors.str(), "");
    EXPECT_DOUBLE_EQ(CellPressure(), 200e3);
    EXPECT_EQ(Project->TriaxialTest()->GetMetadata("note"), "sample #3");
    // Every command stands in the history, as typed.
    EXPECT_EQ(Project->Commands().SuccessfulCommands().Count(), 3);

    EXPECT_TRUE(TCommandRunner::IsBlankOrComment(""));
    EXPECT_TRUE(TCommandRunner::IsBlankOrComment("  # \"unclosed"));
    EXPECT_FALSE(TCommandRunner::IsBlankOrComment("\"unclosed # text"));
    EXPECT_FALSE(TCommandRunner::IsBlankOrComment("undo # one step"));
}

TEST_F(Runner, StopsAtTheFirstFailingCommandWithItsLineAndPosition) {
    const std::string script = "set Triaxial_1.CellPressure 150\n"
                               "\n"
                               "deletephase Oedometer_1 4\n"
                               "set Triaxial_1.CellPressure 300\n";
    EXPECT_EQ(RunScript(script), TCommandRunner::ecCommandFailed);
    EXPECT_EQ(Errors.str(), "script:3:1: error: Specified delete index 4 is invalid\n"
                            "  Valid delete range is from 0 to 0\n");
    // The lines before it ran; none after.
    EXPECT_EQ(Output.str(), "> set Triaxial_1.CellPressure 150\n> deletephase Oedometer_1 4\n");
    EXPECT_DOUBLE_EQ(CellPressure(), 150e3);

    // The position is that of the fault in the line: here an unknown object in a chain.
    Output.str("");
    Errors.str("");
    EXPECT_EQ(RunScript("echo Triaxial_1\n  set Triaxial_1.Cell 5\n"),
              TCommandRunner::ecCommandFailed);
    EXPECT_EQ(Errors.str(), "script:2:18: error: Unknown object. Check the spelling and ensure "
                            "the object exists before trying to access it.\n");

    // A tokenizer's fault, and a value out of range.
    Errors.str("");
    EXPECT_EQ(RunScript("set Triaxial_1.CellPressure 3-5"), TCommandRunner::ecCommandFailed);
    EXPECT_EQ(Errors.str(), "script:1:30: error: Number must be followed by space or operand\n");
    Errors.str("");
    EXPECT_EQ(RunScript("set Material.phi 91"), TCommandRunner::ecCommandFailed);
    EXPECT_EQ(Errors.str(), "script:1:1: error: Material.User.Mechanical.Strength.Shear.phi must "
                            "be between 0 and 90 °\n");
    EXPECT_DOUBLE_EQ(CellPressure(), 150e3);
}

TEST_F(Runner, CloseEndsTheRunAsASuccess) {
    EXPECT_EQ(RunScript("set Triaxial_1.CellPressure 120\nclose\nset Triaxial_1.CellPressure 9\n"),
              TCommandRunner::ecSuccess);
    EXPECT_DOUBLE_EQ(CellPressure(), 120e3);
    EXPECT_EQ(Output.str(), "> set Triaxial_1.CellPressure 120\n> close\n");
}

TEST_F(Runner, AFileThatCannotBeOpenedFails) {
    TCommandRunner runner(*Project, Output, Errors);
    EXPECT_EQ(runner.RunFile("/nonexistent/commands.txt"), TCommandRunner::ecCommandFailed);
    EXPECT_EQ(Errors.str(), "/nonexistent/commands.txt: error: cannot open the command file\n");
    Errors.str("");
    EXPECT_EQ(runner.RunFile(TW_EXAMPLES), TCommandRunner::ecCommandFailed); // a folder
    EXPECT_EQ(Errors.str(), std::string(TW_EXAMPLES) + ": error: cannot open the command file\n");
}

TEST(RunOption, IsTakenOutOfTheProgramsArguments) {
    std::vector<std::string> arguments{"input.xml", "--run", "script.commands", "2"};
    std::string script, error;
    EXPECT_TRUE(TCommandRunner::ExtractRunOption(arguments, script, error));
    EXPECT_EQ(script, "script.commands");
    EXPECT_EQ(error, "");
    // The rest is the host's command line: "2" stays the 2D kernel's position.
    EXPECT_EQ(arguments, (std::vector<std::string>{"input.xml", "2"}));

    arguments = {"-RUN=-", "input.xml"};
    EXPECT_TRUE(TCommandRunner::ExtractRunOption(arguments, script, error));
    EXPECT_EQ(script, "-");
    EXPECT_EQ(arguments, std::vector<std::string>{"input.xml"});

    arguments = {"input.xml", "-AppServerPort=4000", "-runner"};
    EXPECT_FALSE(TCommandRunner::ExtractRunOption(arguments, script, error));
    EXPECT_EQ(arguments.size(), 3u);

    for (const std::vector<std::string>& bad : std::vector<std::vector<std::string>>{
             {"input.xml", "--run"}, {"--run=", "input.xml"}, {"--run", "a", "--run", "b"}}) {
        arguments = bad;
        error.clear();
        EXPECT_TRUE(TCommandRunner::ExtractRunOption(arguments, script, error));
        EXPECT_FALSE(error.empty()) << bad.back();
    }
}

namespace {

const std::string Sand = std::string(TW_EXAMPLES) + "/materials/medium_dense_sand_mohr_coulomb.xml";

std::string Script(const char* name) {
    return std::string(TW_EXAMPLES) + "/scripts/" + name;
}

} // namespace

TEST(Program, RunsTheExampleScriptsOnAnExampleInputFile) {
    // Every script a user finds beside the program runs to its end on the sand of the examples
    // (E' 30000 kN/m², nu' 0.3, c' 1 kN/m², phi' 32°, psi 2°), through our kernel.
    int scripts = 0;
    for (const auto& entry : fs::directory_iterator(fs::path(TW_EXAMPLES) / "scripts")) {
        if (entry.path().extension() != ".commands")
            continue;
        TTemporaryFolder folder;
        const TProgramRun run = RunProgramIn(folder, {Sand, "--run", entry.path().string()});
        EXPECT_EQ(run.ExitCode, 0) << entry.path() << "\n" << run.Output << run.Errors;
        EXPECT_TRUE(Contains(run.Output, "Calculated ")) << entry.path();
        ++scripts;
    }
    EXPECT_GE(scripts, 4);

    // The numbers are the soil's. Drained triaxial compression ends on the Mohr-Coulomb line,
    // q_f = 2 (c cos phi + s3 sin phi) / (1 - sin phi): 116.34, 229.07 and 454.53 kN/m² at cell
    // pressures of 50, 100 and 200 kN/m².
    TTemporaryFolder folder;
    const TProgramRun saved =
        RunProgramIn(folder, {Sand, "--run", Script("save_results.commands")});
    ASSERT_EQ(saved.ExitCode, 0) << saved.Errors;
    for (const char* strength : {"116.3375", "229.0669", "454.5257"})
        EXPECT_TRUE(Contains(saved.Output, strength)) << saved.Output;
    // The saved tests read back as the window program opens them, each as it was calculated.
    const std::pair<const char*, double> files[] = {{"triaxial_50kPa.twt.kovml", -50e3},
                                                    {"triaxial_100kPa.twt.kovml", -100e3},
                                                    {"triaxial_200kPa.twt.kovml", -200e3}};
    for (const auto& [file, sigma3] : files) {
        SCOPED_TRACE(file);
        std::unique_ptr<TQBTestBase> test = ReadTestResultsFile(folder.File(file), nullptr);
        ASSERT_EQ(test->Results().RowCount(), 101);
        EXPECT_DOUBLE_EQ(test->Results().GetValueByType(0, rtSigXX), sigma3);
        EXPECT_TRUE(test->MaterialInSyncWithTest());
    }
    std::unique_ptr<TQBTestBase> oedometer =
        ReadTestResultsFile(folder.File("oedometer_400kPa.twt.kovml"), nullptr);
    EXPECT_EQ(oedometer->Results().RowCount(), 201);

    // Moduli: loading far from failure is elastic. The triaxial test's initial tangent is E'
    // (strains negative in compression); the oedometer's the constrained modulus
    // E' (1 - nu') / ((1 + nu') (1 - 2 nu')) = 40385 kN/m² (Hooke's law).
    const TProgramRun moduli = RunProgramIn(folder, {Sand, "--run", Script("moduli.commands")});
    EXPECT_TRUE(Contains(moduli.Output, "Tangent : -30000\n")) << moduli.Output;
    EXPECT_TRUE(Contains(moduli.Output, "Tangent : 40384.6")) << moduli.Output;
}

TEST(Program, RunsCommandsFromStandardInputAndStopsAtTheFirstFailure) {
    TTemporaryFolder folder;
    const TProgramRun run = RunProgramIn(
        folder, {Sand, "--run", "-"},
        "set Triaxial_1.CellPressure 80\necho Triaxial_1.CellPressure\n"
        "\n# the next one names no test\nset Triaxial_7.CellPressure 90\necho Material\n");
    EXPECT_EQ(run.ExitCode, 1);
    EXPECT_EQ(run.Output, "> set Triaxial_1.CellPressure 80\n> echo Triaxial_1.CellPressure\n"
                          "CellPressure: 80 kN/m²\n> set Triaxial_7.CellPressure 90\n");
    EXPECT_EQ(run.Errors, "-:5:5: error: Unknown object. Check the spelling and ensure the "
                          "object exists before trying to access it.\n");

    // Without an input file the program does not start, and runs nothing.
    const TProgramRun none = RunProgramIn(folder, {"--run", "-"}, "echo Material\n");
    EXPECT_EQ(none.ExitCode, 2);
    EXPECT_EQ(none.Output, "");
    EXPECT_TRUE(Contains(none.Errors, "cannot run as a standalone application")) << none.Errors;
    const TProgramRun missing = RunProgramIn(folder, {Sand, "--run", "nothing.commands"});
    EXPECT_EQ(missing.ExitCode, 1);
    EXPECT_EQ(missing.Errors, "nothing.commands: error: cannot open the command file\n");
    EXPECT_EQ(RunProgramIn(folder, {Sand, "--run"}).ExitCode, 2);
}

// The help's command reference is made from the registries; what it shows must be what the
// interpreter takes. Every writable number it lists for the project's objects is set back to the
// value shown, through the command runner: a wrong name, object path, unit or value text fails.
TEST_F(Runner, TheCommandReferenceShowsWhatTheInterpreterTakes) {
    const std::string html = CommandReferenceHtml(*Project);
    const size_t models = html.find("id=\"material-models\"");
    ASSERT_NE(models, std::string::npos);
    EXPECT_NE(html.find("<code>calculate (ca) &lt;KovObject&gt;</code>"), std::string::npos);
    EXPECT_NE(html.find("<code>save (sv) &lt;KovObject&gt; &lt;Text&gt;</code>"),
              std::string::npos);
    EXPECT_EQ(html.find("__"), std::string::npos) << "diagnostic commands are not for users";
    // The cell pressure in the project's units, with its unit.
    EXPECT_NE(html.find("<td><code>CellPressure</code></td><td>Initial effective cell pressure "
                        "|σ&apos;<sub>xx</sub>|</td><td>100</td><td>kN/m²</td><td>set</td>"),
              std::string::npos);
    for (const TMXSoil_MaterialModel model : AllSoilMaterialModels()) {
        if (model != mxsmmNone) {
            EXPECT_NE(html.find(">" + MaterialModelCaption(model) + "</h3>"), std::string::npos)
                << MaterialModelCaption(model);
        }
    }

    const std::regex section(R"(<h3 id="[^"]*">([^ <]+) \()");
    const std::regex row(R"(<tr><td><code>(\w+)</code></td><td>.*?</td><td>([^<]*)</td>)"
                         R"(<td>[^<]*</td><td>set</td></tr>)");
    std::string script, object;
    int lines = 0;
    std::istringstream text(html.substr(0, models));
    for (std::string line; std::getline(text, line);) {
        std::smatch match;
        if (std::regex_search(line, match, section))
            object = match[1];
        else if (std::regex_search(line, match, row) && !object.empty()) {
            double value = 0;
            // The assumed saturation is computed from the unsaturated weight while that is given
            // directly (the example's case); a value written to it is kept for the derived input
            // method and the command reports the unchanged value as refused.
            if (TryStrToFloat(match[2].str(), value) && match[1] != "SaturationAssumed") {
                script += "set " + object + "." + match[1].str() + " " + match[2].str() + "\n";
                ++lines;
            }
        }
    }
    EXPECT_GT(lines, 60);
    EXPECT_EQ(RunScript(script), TCommandRunner::ecSuccess) << Errors.str();
    EXPECT_EQ(CellPressure(), 100e3);
}
