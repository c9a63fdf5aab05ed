// Open and Save of the main window with the file dialogs replaced: a test without results opens
// no dialog, a test whose material changed after its run is asked about, a saved test opens
// again as a loaded test beside the main one (a bad file before it doesn't stop it), and a save
// that fails is reported and leaves what stood there.

#include "GuiTestSupport.h"

#include "gui/ChartsArea.h"
#include "gui/TestPage.h"
#include "materials/MaterialXTools.h"

#include <QAction>
#include <QListWidget>

#include <fstream>
#include <sstream>

using namespace tw;
using namespace tw::testing;

namespace {

std::string ReadAll(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

// The data series of a chart drawn for the test of a colour index (0 the main test).
const TChartSeries* CurveOf(const TChart& chart, int testIndex) {
    for (const TChartSeries& series : chart.Series())
        if (series.Kind == TChartSeriesKind::Data && series.TestIndex == testIndex)
            return &series;
    return nullptr;
}

class FilesFixture : public GuiFixture {
protected:
    TMainWindow& Open() {
        TMainWindow& window = OpenWindow();
        window.SetFileDialogs(
            [this] {
                ++OpenDialogs;
                return OpenChoice;
            },
            [this](const std::string& proposal) {
                ++SaveDialogs;
                Proposals.push_back(proposal);
                return SaveChoice;
            });
        return window;
    }

    int OpenDialogs = 0;
    int SaveDialogs = 0;
    std::vector<std::string> OpenChoice;
    std::string SaveChoice;
    std::vector<std::string> Proposals;
    TTempFolder Folder;
};

} // namespace

TEST_F(FilesFixture, SaveRefusesATestWithoutResultsBeforeAnyDialog) {
    TMainWindow& window = Open();
    window.Action("actSave")->trigger();
    EXPECT_EQ(SaveDialogs, 0);
    ASSERT_EQ(Messages.Messages.size(), 1u);
    EXPECT_EQ(Messages.Messages[0], "There is no testdata to save.");
    EXPECT_EQ(Messages.Titles[0], "Tarnwick");

    // After a run the dialog proposes the test's name; the extension is added to a name
    // without it, and a cancelled dialog writes nothing.
    ASSERT_TRUE(window.RunSelectedTest());
    EXPECT_FALSE(window.SaveSelectedTest());
    EXPECT_EQ(SaveDialogs, 1);
    EXPECT_EQ(Proposals.back(), "Triaxial_1");
    SaveChoice = (Folder.Path() / "sand").string();
    EXPECT_TRUE(window.SaveSelectedTest());
    EXPECT_TRUE(std::filesystem::exists(Folder.Path() / "sand.twt.kovml"));
    // The save is a command of the history.
    const TCommandHistory& history = window.Commands().SuccessfulCommands();
    EXPECT_NE(history.GetCommand(history.Count() - 1).find("save Triaxial_1"), std::string::npos)
        << history.GetCommand(history.Count() - 1);
    SaveChoice = (Folder.Path() / "named.twt.kovml").string();
    EXPECT_TRUE(window.SaveSelectedTest());
    EXPECT_TRUE(std::filesystem::exists(Folder.Path() / "named.twt.kovml"));
    EXPECT_FALSE(std::filesystem::exists(Folder.Path() / "named.twt.kovml.twt.kovml"));
    EXPECT_EQ(Messages.Messages.size(), 1u);
}

TEST_F(FilesFixture, SaveAsksWhenTheMaterialChangedAfterTheRun) {
    TMainWindow& window = Open();
    ASSERT_TRUE(window.RunSelectedTest());
    ASSERT_TRUE(window.Commands().Run("set Material.ERef 40000"));
    SaveChoice = (Folder.Path() / "changed").string();
    Messages.Answer = false;
    EXPECT_FALSE(window.SaveSelectedTest());
    ASSERT_EQ(Messages.Questions.size(), 1u);
    EXPECT_EQ(Messages.Questions[0],
              "Test results are possibly out of sync with material data.\nContinue saving?");
    EXPECT_EQ(SaveDialogs, 0);
    Messages.Answer = true;
    EXPECT_TRUE(window.SaveSelectedTest());
    EXPECT_EQ(SaveDialogs, 1);
}

TEST_F(FilesFixture, OpenLoadsEveryGoodFileBesideTheMainTestAndReportsTheBadOne) {
    TMainWindow& window = Open();
    ASSERT_TRUE(window.RunSelectedTest());
    const std::string good = (Folder.Path() / "sand.twt.kovml").string();
    SaveChoice = good;
    ASSERT_TRUE(window.SaveSelectedTest());
    const std::string bad = (Folder.Path() / "bad.twt.kovml").string();
    std::ofstream(bad) << "no test in here";

    OpenChoice = {bad, good};
    window.Action("actOpen")->trigger();
    EXPECT_EQ(OpenDialogs, 1);
    ASSERT_EQ(Messages.Messages.size(), 1u);
    EXPECT_EQ(Messages.Messages[0].rfind("Unexpected data format while loading file " + bad, 0), 0u)
        << Messages.Messages[0];
    EXPECT_EQ(Messages.Titles[0], "Tarnwick");
    ASSERT_EQ(Project->LoadedTests().Count(), 1);

    // The triaxial page draws the loaded test in the second colour, its curve as the main
    // test's; its list offers it to hide. Other pages show nothing of it.
    TTestPage& triaxial = window.Page(0);
    const TChart& chart = triaxial.Charts().View(0).Chart();
    const TChartSeries* main = CurveOf(chart, 0);
    const TChartSeries* loaded = CurveOf(chart, 1);
    ASSERT_NE(main, nullptr);
    ASSERT_NE(loaded, nullptr);
    EXPECT_EQ(loaded->Color, ChartColor(1));
    EXPECT_EQ(loaded->Y, main->Y);
    EXPECT_TRUE(triaxial.LoadedTests().isVisibleTo(&window));
    ASSERT_EQ(triaxial.LoadedTests().List().count(), 1);
    triaxial.LoadedTests().List().item(0)->setCheckState(Qt::Unchecked);
    EXPECT_EQ(CurveOf(triaxial.Charts().View(0).Chart(), 1), nullptr);
    EXPECT_EQ(window.Page(2).LoadedTests().List().count(), 0);
    EXPECT_EQ(CurveOf(window.Page(2).Charts().View(0).Chart(), 1), nullptr);

    // Cancelling the dialog loads nothing.
    OpenChoice.clear();
    window.Action("actOpen")->trigger();
    EXPECT_EQ(Project->LoadedTests().Count(), 1);
}

TEST_F(FilesFixture, AFailedSaveIsReportedAndTheOldFileStays) {
    TMainWindow& window = Open();
    ASSERT_TRUE(window.RunSelectedTest());
    // The file's place is taken by a folder with something in it: the new file can't be put
    // there, and what stood there stays.
    const std::filesystem::path place = Folder.Path() / "kept.twt.kovml";
    std::filesystem::create_directory(place);
    std::ofstream(place / "old") << "the old content";
    SaveChoice = place.string();
    EXPECT_FALSE(window.SaveSelectedTest());
    ASSERT_EQ(Messages.Messages.size(), 1u);
    EXPECT_NE(Messages.Messages[0].find("kept.twt.kovml"), std::string::npos)
        << Messages.Messages[0];
    EXPECT_EQ(ReadAll(place / "old"), "the old content");
    // Nothing is left beside it.
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(Folder.Path()),
                            std::filesystem::directory_iterator()),
              1);
}
