// The headless command runner on a project made here: what it prints, where it stops, and the
// example scripts run as a user runs them.

#include "app/CommandRunner.h"
#include "labtest/QBProject.h"
#include "labtest/QBProjectCommands.h"
#include "materials/MaterialXFactory.h"
#include "materials/MaterialXTools.h"
#include "objects/ObjectManager.h"
#include "services/RuntimeSettings.h"
#include "services/UserMessages.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

using namespace tw;
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

// A project on a Mohr-Coulomb sand (E' 30000 kN/m2, nu' 0.3, c' 1 kN/m2, phi' 32 and psi 2
// degrees) that runs its tests through our kernel.
std::unique_ptr<TQBProject> SandProject(TKovObjectManager& manager) {
    auto sand = TMaterialXFactory::CreateSoilMaterialX(nullptr, "Sand", mxsmmMohrCoulomb, nullptr);
    for (const auto& [name, value] : std::initializer_list<std::pair<const char*, double>>{
             {"nu", 0.3}, {"ERef", 30000e3}, {"cRef", 1e3}, {"phi", 32.0}, {"psi", 2.0}})
        TMaterialXTools::SetUserPropertyValueFrom(*sand, name, value);
    manager.LockRevert();
    auto project = Make<TQBProject>(&manager, std::move(sand), tm3D);
    manager.UnlockRevert();
    manager.ClearRevertStacks();
    project->SetApplicationDirectory(fs::path(TW_QBABC_3D).parent_path().string());
    return project;
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
}

TEST_F(Runner, RunsTheExampleScripts) {
    // Every script a user finds beside the program runs to its end on a sand, through our kernel,
    // each on a project of its own.
    Project.reset();
    int scripts = 0;
    for (const auto& entry : fs::directory_iterator(fs::path(TW_EXAMPLES) / "scripts")) {
        if (entry.path().extension() != ".commands")
            continue;
        TKovObjectManager manager;
        auto project = SandProject(manager);
        std::ostringstream output, errors;
        TCommandRunner runner(*project, output, errors);
        EXPECT_EQ(runner.RunFile(entry.path().string()), TCommandRunner::ecSuccess)
            << entry.path() << "\n"
            << output.str() << errors.str();
        EXPECT_GT(runner.CommandCount(), 0) << entry.path();
        ++scripts;
    }
    EXPECT_GE(scripts, 3);
}
