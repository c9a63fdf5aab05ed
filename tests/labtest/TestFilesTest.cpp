// Test files (".twt.kovml", and the same through XML), the whole project (".qbo.xml"), and what
// files that are not what they claim do to a project: nothing.

#include "TestFileSupport.h"

#include "labtest/QBTestFileHandler.h"
#include "labtest/QBTestList.h"
#include "services/Strings.h"
#include "storage/HSNativeXML.h"

#include <csignal>
#include <sys/resource.h>

using namespace tw;
using namespace tw::testing;

namespace {

struct TestFilesFixture : ::testing::Test {
    TKovObjectManager Manager;
    TMessageRecorder Messages;
    std::unique_ptr<TQBProject> Project;
    TTemporaryFolder Folder;

    void SetUp() override { Project = MakeProject(Manager, HardeningSoilSand()); }

    static std::unique_ptr<TQBProject> MakeProject(TKovObjectManager& manager,
                                                   std::unique_ptr<TKovSoilMaterialX> material) {
        manager.LockRevert();
        auto project = Make<TQBProject>(&manager, std::move(material), tm3D);
        manager.UnlockRevert();
        manager.ClearRevertStacks();
        return project;
    }
    TQBTestBase& Triaxial() const { return *Project->TriaxialTest(); }
};

bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

std::string Message(const std::function<void()>& action) {
    try {
        action();
    } catch (const std::exception& e) {
        return e.what();
    }
    return "(nothing raised)";
}

} // namespace

TEST_F(TestFilesFixture, ATestFileReadsBackAsALoadedTestWithItsMaterialAndResults) {
    SetUpTriaxial(Triaxial());
    FillResults(Triaxial().Results(), 2000);
    for (const char* extension : {".twt.kovml", ".twt.xml"}) {
        SCOPED_TRACE(extension);
        const std::string file = Folder.File(std::string("triaxial") + extension);
        Project->WriteTestResultsXML(file, ttTriaxial);
        THPReadErrorList errors;
        TQBTestBase& loaded = Project->ReadTestResultsXML(file, &errors);
        EXPECT_FALSE(errors.HasErrorOfSeverity(hresWarning)) << errors.AsText();
        ExpectSameTest(Triaxial(), loaded);
        EXPECT_EQ(loaded.Behavior(), qbbhUndrained);

        // The loaded test owns a static copy of the material it was calculated with: a later
        // change of the project's material leaves it alone.
        ASSERT_TRUE(loaded.OwnsMaterial());
        auto* material = dynamic_cast<TKovSoilMaterialX*>(loaded.Material());
        ASSERT_NE(material, nullptr);
        EXPECT_NE(material, Project->MainMaterialX());
        EXPECT_EQ(material->GetSoilModel(), mxsmmHardeningSoil);
        EXPECT_EQ(StoredValues(*material), StoredValues(*Project->MainMaterialX()));
        EXPECT_DOUBLE_EQ(*material->GetNumber("E50Ref"), 40e6);
        SetUser(*Project->MainMaterialX(), "E50Ref", 20e6);
        EXPECT_DOUBLE_EQ(*material->GetNumber("E50Ref"), 40e6);
        SetUser(*Project->MainMaterialX(), "E50Ref", 40e6);
        EXPECT_EQ(loaded.Title(), "Dense sand (sig3 = 75.0, eps;max = 1.000e+01)");
    }

    // The same file read twice gives two tests, each with phases of its own: the cyclic phases
    // of each refer to its own phases.
    const std::string file = Folder.File("triaxial.twt.kovml");
    TQBTestBase& first = Project->ReadTestResultsXML(file);
    TQBTestBase& second = Project->ReadTestResultsXML(file);
    EXPECT_EQ(Project->LoadedTests().Count(), 4);
    EXPECT_EQ(first.CyclicPhases().GetItems(0)->FirstPhase(), &first.Phases()[1]);
    EXPECT_EQ(second.CyclicPhases().GetItems(0)->FirstPhase(), &second.Phases()[1]);
    EXPECT_EQ(second.CyclicPhases().GetItems(0)->LastPhase(), &second.Phases()[2]);
}

TEST_F(TestFilesFixture, ATestOf100000RowsOfEveryColumnReadsBackExactly) {
    FillResults(Triaxial().Results(), 100000);
    const std::string file = Folder.File("long.twt.kovml");
    Project->WriteTestResultsXML(file, ttTriaxial);
    std::unique_ptr<TQBTestBase> loaded = ReadTestResultsFile(file, nullptr);
    ExpectSameResults(Triaxial().Results(), loaded->Results());
    EXPECT_EQ(loaded->Results().RowCount(), 100000);
}

TEST_F(TestFilesFixture, AProjectWithMainAndLoadedTestsReadsBackIntoAnotherProject) {
    SetUpTriaxial(Triaxial());
    FillResults(Triaxial().Results(), 500);
    Project->OedometerTest()->Phases()[0].SetStressIncrement(ldYY, -390e3);
    Project->SystemOfUnits().Length.SetPresentationUnit("ft");
    const std::string testFile = Folder.File("triaxial.twt.kovml");
    Project->WriteTestResultsXML(testFile, ttTriaxial);
    Project->ReadTestResultsXML(testFile);
    for (const char* name : {"project.qbo.xml", "project.qbo.kovml"}) {
        SCOPED_TRACE(name);
        const std::string file = Folder.File(name);
        ASSERT_TRUE(Project->WriteQBO(file));

        // Another project on another material takes the tests and units of the file; its main
        // tests run on its own material, the loaded one keeps the material of its file. (A
        // process holds one project; this second one keeps its identities apart, as a second
        // process would.)
        TUniqueIDRegister identities;
        TKovObjectManager manager(&identities);
        auto other = MakeProject(manager, TMaterialXFactory::CreateSoilMaterialX(
                                              nullptr, "Clay", mxsmmMohrCoulomb, nullptr));
        THPReadErrorList errors;
        ASSERT_TRUE(other->ReadQBO(file, &errors));
        EXPECT_FALSE(errors.HasErrorOfSeverity(hresWarning)) << errors.AsText();
        EXPECT_EQ(other->SystemOfUnits().PresentationUnitText(qtLength), "ft");
        ASSERT_EQ(other->MainTests().Count(), Project->MainTests().Count());
        for (int i = 0; i < other->MainTests().Count(); ++i) {
            ExpectSameTest(*Project->MainTests().GetItems(i), *other->MainTests().GetItems(i));
            EXPECT_EQ(other->MainTests().GetItems(i)->Material(), other->MainMaterialX());
        }
        ASSERT_EQ(other->LoadedTests().Count(), 1);
        const TQBTestBase& loaded = *other->LoadedTests().GetItems(0);
        ExpectSameTest(Triaxial(), loaded);
        ASSERT_TRUE(loaded.OwnsMaterial());
        EXPECT_EQ(StoredValues(*dynamic_cast<TKovMaterialX*>(loaded.Material())),
                  StoredValues(*Project->MainMaterialX()));
        EXPECT_EQ(loaded.Title(), Project->LoadedTests().GetItems(0)->Title());
        // The read is no step a user could undo.
        EXPECT_EQ(manager.UndoCount(), 0);
    }
}

TEST_F(TestFilesFixture, AFileThatIsNotWhatItClaimsLeavesTheProjectAsItWas) {
    SetUpTriaxial(Triaxial());
    FillResults(Triaxial().Results(), 300);
    const std::string good = Folder.File("good.twt.kovml");
    Project->WriteTestResultsXML(good, ttTriaxial);
    const std::string goodXml = Folder.File("good.twt.xml");
    Project->WriteTestResultsXML(goodXml, ttTriaxial);
    const std::string bytes = ReadBytes(good), xml = ReadBytes(goodXml);

    int editions = 0;
    auto edited = [&](const std::function<void(THierarchicStorage&)>& edit) {
        auto tree = LoadStorageFromFile(goodXml);
        edit(*tree);
        const std::string file = Folder.File("edited" + std::to_string(++editions) + ".twt.xml");
        tree->SaveToFile(file);
        return file;
    };
    auto test = [](THierarchicStorage& root) -> THierarchicStorage& {
        return *root.GetChildByName("Test");
    };
    struct TCase {
        const char* Name;
        std::string File;
        const char* Expected;
    };
    std::vector<TCase> cases;
    auto write = [&](const char* name, const std::string& contents) {
        const std::string file = Folder.File(name);
        WriteBytes(file, contents);
        return file;
    };
    cases.push_back({"truncated", write("truncated.twt.kovml", bytes.substr(0, bytes.size() / 2)),
                     "truncated.twt.kovml"});
    std::string magic = bytes;
    magic[0] = 'X';
    cases.push_back({"wrong magic", write("magic.twt.kovml", magic), "magic.twt.kovml"});
    cases.push_back({"not well formed", write("broken.twt.xml", xml.substr(0, xml.size() - 40)),
                     "broken.twt.xml"});
    cases.push_back({"empty", write("empty.twt.kovml", ""), "empty.twt.kovml"});
    cases.push_back({"unknown test type", edited([&](THierarchicStorage& root) {
                         root.GetChildByName("TestType")->SetValueAsString("Bogus");
                     }),
                     "Could not find a class for type name Bogus!"});
    cases.push_back({"a column shorter than the rows", edited([&](THierarchicStorage& root) {
                         test(root)
                             .GetChildByName("BulkResults")
                             ->GetChildByName("ResultRowCount")
                             ->SetValueAsInt32(301);
                     }),
                     "does not hold 301 numbers"});
    cases.push_back({"rows without any column", edited([&](THierarchicStorage& root) {
                         THierarchicStorage& results = *test(root).GetChildByName("BulkResults");
                         for (int c = 0; c < QBResultTypeCount; ++c)
                             results.RemoveChildByName(
                                 std::string("ResultColumn-") +
                                 ResultTypeInfo(static_cast<TQBResultType>(c)).PropertyName);
                         results.GetChildByName("ResultRowCount")->SetValueAsInt32(2000000000);
                     }),
                     "2000000000 rows without values"});
    cases.push_back({"no material",
                     edited([&](THierarchicStorage& root) { root.RemoveChildByName("MaterialX"); }),
                     "The file holds no material"});
    cases.push_back({"an unknown model", edited([&](THierarchicStorage& root) {
                         root.GetChildByName("MaterialX")
                             ->GetChildByName("RootAPG")
                             ->SetValueAsString("TSoilMX_RootAPG_Nothing");
                     }),
                     "Unknown model \"TSoilMX_RootAPG_Nothing\""});
    // The host's input file is no test file.
    auto input = Make<TTarnwickInput>(nullptr);
    input->SetMaterialXCopy(*Project->MainMaterialX());
    const std::string inputFile = Folder.File("input.twt.xml");
    WriteTarnwickInput(*input, inputFile);
    cases.push_back({"another kind of file", inputFile, "Could not find node"});

    const auto before = PropertyTexts(Triaxial());
    for (const TCase& c : cases) {
        SCOPED_TRACE(c.Name);
        THPReadErrorList errors;
        const std::string message = Message([&] { Project->ReadTestResultsXML(c.File, &errors); });
        EXPECT_TRUE(Contains(message, c.File)) << message;
        EXPECT_TRUE(Contains(message, c.Expected)) << message;
        EXPECT_EQ(Project->LoadedTests().Count(), 0);
    }
    EXPECT_EQ(PropertyTexts(Triaxial()), before);

    // A project file that can't be read leaves the tests where they were, with their values.
    const std::string qbo = Folder.File("project.qbo.xml");
    Project->WriteQBO(qbo);
    const std::string project = ReadBytes(qbo);
    WriteBytes(qbo, project.substr(0, project.size() / 3));
    TQBTestBase* triaxial = &Triaxial();
    const std::string message = Message([&] { Project->ReadQBO(qbo); });
    EXPECT_TRUE(Contains(message, qbo)) << message;
    EXPECT_EQ(&Triaxial(), triaxial);
    EXPECT_EQ(PropertyTexts(Triaxial()), before);
    EXPECT_EQ(Triaxial().Results().RowCount(), 300);
}

TEST_F(TestFilesFixture, ASaveThatFailsHalfWayLeavesTheOldFileAndNoOther) {
    FillResults(Triaxial().Results(), 100000);
    const std::string file = Folder.File("test.twt.kovml");
    WriteBytes(file, "the old contents");
    {
        TFileSizeLimit limit(1 << 20);
        const std::string message =
            Message([&] { Project->WriteTestResultsXML(file, ttTriaxial); });
        EXPECT_NE(message, "(nothing raised)");
    }
    EXPECT_EQ(ReadBytes(file), "the old contents");
    EXPECT_EQ(Folder.FileCount(), 1u);
    // Through the task, the failure comes back as a message.
    {
        TFileSizeLimit limit(1 << 20);
        EXPECT_FALSE(SaveTestResultFile(*Project, ttTriaxial, file).empty());
    }
    EXPECT_EQ(ReadBytes(file), "the old contents");
    EXPECT_TRUE(SaveTestResultFile(*Project, ttTriaxial, file).empty());
    EXPECT_EQ(ReadTestResultsFile(file, nullptr)->Results().RowCount(), 100000);
}

TEST_F(TestFilesFixture, OpeningSeveralFilesLoadsEachThatCanBeReadAndReportsTheOthers) {
    SetUpTriaxial(Triaxial());
    FillResults(Triaxial().Results(), 50);
    FillResults(Project->OedometerTest()->Results(), 40);
    const std::string triaxial = Folder.File("first.twt.kovml");
    const std::string oedometer = Folder.File("third.twt.kovml");
    const std::string broken = Folder.File("second.twt.kovml");
    Project->WriteTestResultsXML(triaxial, ttTriaxial);
    Project->WriteTestResultsXML(oedometer, ttOedometer);
    WriteBytes(broken, "KOVML? no");

    TOpenTestFilesReport report = OpenTestResultFiles(
        *Project, {broken, triaxial, Folder.File("missing.twt.kovml"), oedometer});
    EXPECT_EQ(report.Loaded, 2);
    ASSERT_EQ(report.Messages.size(), 2u);
    EXPECT_TRUE(
        StartsText("Unexpected data format while loading file " + broken + ".", report.Messages[0]))
        << report.Messages[0];
    EXPECT_TRUE(Contains(report.Messages[1], "missing.twt.kovml")) << report.Messages[1];
    ASSERT_EQ(Project->LoadedTests().Count(), 2);
    const TQBTestBase& first = *Project->LoadedTests().GetItems(0);
    const TQBTestBase& second = *Project->LoadedTests().GetItems(1);
    EXPECT_EQ(first.TestType(), ttTriaxial);
    EXPECT_EQ(second.TestType(), ttOedometer);
    // Each is known by its file's name.
    EXPECT_TRUE(StartsText("first.twt.kovml (sig3 = 75.0", first.Title())) << first.Title();
    EXPECT_EQ(second.Title(), "third.twt.kovml (Oedometer)");
    auto* material = dynamic_cast<TKovMaterialX*>(second.Material());
    ASSERT_NE(material, nullptr);
    EXPECT_EQ(material->FindUserProperty("MXComments")->ValueAsText(), "third.twt.kovml");
    ExpectSameResults(second.Results(), Project->OedometerTest()->Results());
}
