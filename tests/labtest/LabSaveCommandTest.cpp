// `save` of the project's save tools: a test with its results and material to a test file, read
// back as the window program opens it; what it refuses, and that a refused or failed save
// changes neither the project nor an old file.

#include "LabCommandsSupport.h"
#include "TestFileSupport.h"

#include "labtest/OAQBTools.h"

#include <gtest/gtest.h>

#include <fstream>

using namespace tw;
using namespace tw::testing;

namespace {

std::string Contents(const std::string& fileName) {
    std::ifstream in(fileName, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

} // namespace

TEST_F(LabCommands, SaveWritesATestFileAndAFailedSaveChangesNothing) {
    TTemporaryFolder folder;
    const std::string file = folder.File("triaxial");
    const std::string quoted = " \"" + file + "\"";

    EXPECT_EQ(RunFailing("save Material" + quoted).ErrorText, "Material is not a test object");
    EXPECT_EQ(RunFailing("save Triaxial_1" + quoted).ErrorText, "There is no testdata to save.");
    EXPECT_EQ(folder.FileCount(), 0u);

    UseOurKernel();
    Ok("set Triaxial_1.CellPressure 200");
    Ok("calculate Triaxial_1");
    const int undo = Manager.UndoCount();
    const std::string state = ProjectState(*Project);
    // Predicted, it checks and writes nothing.
    EXPECT_TRUE(Interpreter().PredictExecuteMaySucceed("sv Triaxial_1" + quoted));
    EXPECT_EQ(folder.FileCount(), 0u);
    // A name without a storage format's extension gets the test file's.
    EXPECT_EQ(Ok("save Triaxial_1" + quoted), "Saved Triaxial_1 to " + file + ".twt.kovml");
    EXPECT_EQ(folder.FileCount(), 1u); // no temporary file left
    EXPECT_EQ(TOAQBSaveTools::TestFileName("a.XML"), "a.XML");
    EXPECT_EQ(TOAQBSaveTools::TestFileName("a.txt"), "a.txt.twt.kovml");
    // Saving is no step and changes nothing.
    EXPECT_EQ(Manager.UndoCount(), undo);
    EXPECT_EQ(ProjectState(*Project), state);

    // The file holds the test as calculated: its results, its cell pressure and the material.
    std::unique_ptr<TQBTestBase> read = ReadTestResultsFile(file + ".twt.kovml", nullptr);
    const TQBResults& results = Project->TriaxialTest()->Results();
    ASSERT_EQ(read->Results().RowCount(), results.RowCount());
    for (TQBResultType type : {rtEpsYY, rtQ, rtSigXX})
        EXPECT_EQ(read->Results().GetValueByType(results.RowCount() - 1, type),
                  results.GetValueByType(results.RowCount() - 1, type));
    EXPECT_EQ(read->GetInitialEffectiveStress(ldXX), -200e3);
    EXPECT_DOUBLE_EQ(TMaterialXTools::GetUserPropertyValueFrom(
                         *dynamic_cast<TKovMaterialX*>(read->Material()), "phi"),
                     32.0);

    // After a change of the material the results are possibly stale: saved with a warning.
    Ok("set Material.phi 35");
    EXPECT_EQ(Ok("save Triaxial_1 \"" + file + ".xml\""),
              "Warning: Test results are possibly out of sync with material data.\r\nSaved "
              "Triaxial_1 to " +
                  file + ".xml");

    // A write that fails leaves the old file as it was, and the project too. Here the file's name
    // is as long as a name may be, so that the temporary file beside it can't be made.
    const std::string longName = folder.File(std::string(245, 'x') + ".twt.kovml");
    std::ofstream(longName) << "an old file";
    const TLine failed = RunFailing("save Triaxial_1 \"" + longName + "\"");
    EXPECT_EQ(failed.ErrorText.substr(0, failed.ErrorText.find("\r\n")),
              "Could not write to: " + longName);
    EXPECT_NE(failed.ErrorText.find("\r\n"), std::string::npos) << "the reason follows";
    EXPECT_EQ(Contents(longName), "an old file");
    // A name that is a folder's.
    std::filesystem::create_directory(folder.File("results.twt.kovml"));
    EXPECT_EQ(
        RunFailing("save Triaxial_1 \"" + folder.File("results") + "\"").ErrorText.substr(0, 20),
        "Could not write to: ");
    EXPECT_TRUE(std::filesystem::is_empty(folder.File("results.twt.kovml")));
    EXPECT_EQ(RunFailing("save Triaxial_1 \"  \"").ErrorText, "Could not write to: \"\"");
    EXPECT_EQ(folder.FileCount(), 4u);
}
