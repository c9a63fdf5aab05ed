// The window program's start as the host makes it, on Qt's offscreen platform: refused without
// an input file and for one that isn't there, one instance per user unless the switch allows
// more, the window on an example input with the host in its title, the 2D kernel's extra test
// and option, and a missing kernel that leaves the window without Run.

#include "app/WindowStart.h"
#include "gui/OffscreenApplication.h"
#include "gui/TestPage.h"
#include "labtest/QBProject.h"
#include "services/RuntimeSettings.h"
#include "services/UserMessages.h"

#include <QAction>

#include <gtest/gtest.h>

#include <filesystem>

using namespace tw;
namespace fs = std::filesystem;

namespace {

class TRecordedMessages : public IUserMessages {
public:
    void ShowMessage(const std::string& text, const std::string& title) override {
        Messages.push_back(text);
        Titles.push_back(title);
    }
    bool AskQuestion(const std::string&, const std::string&) override { return false; }
    std::vector<std::string> Messages, Titles;
};

struct WindowStartFixture : ::testing::Test {
    void SetUp() override {
        OffscreenApplication();
        FPrevious = SetUserMessages(&Messages);
        TRuntimeSettings::Set("ALLOW_MULTIPLE_INSTANCES", false);
        Options.LockFile = (Folder / "tarnwick.lock").string();
        Options.ApplicationDirectory = TW_KERNEL_DIR;
        fs::create_directories(Folder);
    }
    void TearDown() override {
        SetUserMessages(FPrevious);
        TRuntimeSettings::ClearCache();
        fs::remove_all(Folder);
    }
    static std::string Sand() {
        return std::string(TW_EXAMPLES) + "/materials/medium_dense_sand_mohr_coulomb.xml";
    }

    TRecordedMessages Messages;
    TWindowStartOptions Options;
    fs::path Folder = fs::temp_directory_path() /
                      ("tw_window_start_" + std::to_string(::getpid()) + "_" +
                       ::testing::UnitTest::GetInstance()->current_test_info()->name());

private:
    IUserMessages* FPrevious = nullptr;
};

} // namespace

TEST_F(WindowStartFixture, RefusedWithoutAnInputFileAndForOneThatIsNotThere) {
    {
        TWindowStart start(TCommandLine(std::vector<std::string>{}), Options);
        EXPECT_FALSE(start.Started());
        EXPECT_EQ(start.Window(), nullptr);
    }
    ASSERT_EQ(Messages.Messages.size(), 1u);
    EXPECT_EQ(Messages.Messages[0], "Orvane Tarnwick cannot run as a standalone application.\n"
                                    "Please run it from within the Orvane.");
    EXPECT_EQ(Messages.Titles[0], "Tarnwick");

    const std::string missing = (Folder / "missing.xml").string();
    TWindowStart start(TCommandLine(std::vector<std::string>{missing}), Options);
    EXPECT_FALSE(start.Started());
    ASSERT_EQ(Messages.Messages.size(), 2u);
    EXPECT_EQ(Messages.Messages[1], "File " + missing + " was not found.");
    EXPECT_EQ(Messages.Titles[1], "Tarnwick");
}

TEST_F(WindowStartFixture, TheWindowOnAnInputFileWithTheHostInItsTitle) {
    TWindowStart start(TCommandLine(std::vector<std::string>{Sand(), "3", "Orvane 2026.1"}),
                       Options);
    ASSERT_TRUE(start.Started());
    EXPECT_TRUE(Messages.Messages.empty()) << Messages.Messages.front();
    TMainWindow& window = *start.Window();
    EXPECT_EQ(window.windowTitle().toStdString(),
              "ORVANE Tarnwick [Orvane 2026.1 version] - " +
                  start.Project()->MainMaterialIdentification());
    EXPECT_EQ(start.Project()->TestMethod(), tm3D);
    EXPECT_EQ(window.Page(6).Test(), nullptr); // no pressuremeter with the 3D kernel
    EXPECT_EQ(window.ThermalOption(), nullptr);
    EXPECT_TRUE(window.Action("actTERun")->isEnabled());
    EXPECT_TRUE(window.Action("mnuUse3D")->isChecked());
    // The page runs through our kernel.
    EXPECT_TRUE(window.RunSelectedTest());
    EXPECT_EQ(start.Project()->TriaxialTest()->ResultCount(), 101);

    // "2" asks for the 2D kernel: the pressuremeter test and the thermal option are there.
    TRuntimeSettings::Set("ALLOW_MULTIPLE_INSTANCES", true);
    TWindowStart twoD(TCommandLine(std::vector<std::string>{Sand(), "2"}), Options);
    ASSERT_TRUE(twoD.Started());
    EXPECT_EQ(twoD.Project()->TestMethod(), tm2D);
    EXPECT_EQ(twoD.Project()->MainTests().Count(), 8);
    EXPECT_NE(twoD.Window()->Page(6).Test(), nullptr);
    EXPECT_NE(twoD.Window()->ThermalOption(), nullptr);
    EXPECT_EQ(twoD.Window()->windowTitle().toStdString(),
              "ORVANE Tarnwick - " + twoD.Project()->MainMaterialIdentification());
}

TEST_F(WindowStartFixture, OneInstancePerUserUnlessTheSwitchAllowsMore) {
    TWindowStart first(TCommandLine(std::vector<std::string>{Sand()}), Options);
    ASSERT_TRUE(first.Started());
    {
        TWindowStart second(TCommandLine(std::vector<std::string>{Sand()}), Options);
        EXPECT_FALSE(second.Started());
        ASSERT_EQ(Messages.Messages.size(), 1u);
        EXPECT_EQ(Messages.Messages[0],
                  "Cannot start Tarnwick, because there is an already running instance!");
        EXPECT_EQ(Messages.Titles[0], "Error");
    }
    TRuntimeSettings::Set("ALLOW_MULTIPLE_INSTANCES", true);
    TWindowStart third(TCommandLine(std::vector<std::string>{Sand()}), Options);
    EXPECT_TRUE(third.Started());
    EXPECT_EQ(Messages.Messages.size(), 1u);
}

TEST_F(WindowStartFixture, AMissingKernelIsToldOnceAndTheWindowCannotRun) {
    Options.ApplicationDirectory = Folder.string(); // no kernel in it
    TWindowStart start(TCommandLine(std::vector<std::string>{Sand()}), Options);
    ASSERT_TRUE(start.Started());
    ASSERT_EQ(Messages.Messages.size(), 1u);
    EXPECT_EQ(Messages.Messages[0], "Kernel file is missing and tests can not be performed: " +
                                        Folder.string() + "/qbabc_3d");
    EXPECT_EQ(Messages.Titles[0], "Tarnwick");
    TMainWindow& window = *start.Window();
    EXPECT_FALSE(window.Action("mnuUse2D")->isEnabled());
    EXPECT_FALSE(window.Action("mnuUse3D")->isEnabled());
    EXPECT_FALSE(window.Action("actTERun")->isEnabled());
    EXPECT_FALSE(window.RunSelectedTest());
}
