#include "LabTestSupport.h"

#include "labtest/QBKernelRun.h"
#include "labtest/QBProject.h"
#include "objects/ObjectManager.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <thread>

#include "commands/KovTaskController.h"

using namespace tw;
using namespace tw::testing;
namespace fs = std::filesystem;

namespace {

// A project on a fake material with the kernels in a temporary application folder.
struct ProjectFixture : ::testing::Test {
    TKovObjectManager Manager;
    std::unique_ptr<TQBProject> Project;
    TMessageRecorder Messages;
    fs::path AppDir;
    int EndCalculations = 0;
    TObserver EndObserver{[this](TNotifySender) { ++EndCalculations; }};

    void SetUp() override {
        AppDir = fs::temp_directory_path() /
                 ("tw app dir " + std::to_string(::getpid()) + " " +
                  ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::create_directories(AppDir);
        Manager.LockRevert();
        Project = Make<TQBProject>(&Manager, std::make_unique<TFakeMaterial>(), tm3D);
        Manager.UnlockRevert();
        Project->SetApplicationDirectory(AppDir.string());
        Project->TriaxialTest()->EndCalculationObservable().AttachObserver(&EndObserver);
    }
    void TearDown() override {
        Project->TriaxialTest()->EndCalculationObservable().DetachObserver(&EndObserver);
        Project.reset();
        fs::remove_all(AppDir);
    }
    // A kernel made of a shell script body; $1 is the input file.
    void Kernel(const std::string& body, const std::string& name = "qbabc_3d") {
        const fs::path path = AppDir / name;
        std::ofstream(path) << "#!/bin/sh\n" << body << "\n";
        fs::permissions(path, fs::perms::owner_all);
    }
    std::string ResultFile() const { return KernelWorkingDirectory() + "tokernel.qbr"; }
};

// Two rows in the project's units (kN, m, day): the isotropic start and a triaxial state.
const char* const WritesTwoRows = R"(out="${1%.qbc}.qbr"
printf '[kernelinfo]\nversion=1\n[testresults]\n' > "$out"
printf '0\t0\t0\t0\t0\t0\t0\t-100\t-100\t-100\t0\t0\t0\t0\t0\t1\t1\t293.15\t1\n' >> "$out"
printf '1\t0.001\t-0.002\t0.001\t0\t0\t0\t-100\t-200\t-100\t0\t0\t0\t0\t0\t1\t1\t293.15\t1\n' >> "$out")";

} // namespace

TEST_F(ProjectFixture, ARunReadsTheRowsTheKernelWrote) {
    Kernel(WritesTwoRows);
    EXPECT_TRUE(Project->DoTest(ttTriaxial));
    TQBTestBase& test = *Project->TriaxialTest();
    EXPECT_EQ(test.Results().RowCount(), 2);
    // Times come in the project's unit (days) and are held in seconds, stresses in pascal.
    EXPECT_EQ(test.Results().GetValueByType(1, rtT), 86400.0);
    EXPECT_EQ(test.Results().GetValueByType(1, rtSigYY), -2e5);
    // Derived in the project's units: the triaxial state gives p' = -133.33 and q = 100.
    EXPECT_NEAR(test.ResultValueInProjectUnits(1, rtP, &Project->SystemOfUnits()), -133.3333333,
                1e-6);
    EXPECT_NEAR(test.ResultValueInProjectUnits(1, rtQ, &Project->SystemOfUnits()), 100, 1e-9);
    EXPECT_NEAR(test.ResultValueInProjectUnits(1, rtEpsV, &Project->SystemOfUnits()), 0, 1e-15);
    EXPECT_TRUE(test.MaterialInSyncWithTest());
    EXPECT_EQ(EndCalculations, 1);
    EXPECT_TRUE(Messages.Messages.empty());
    EXPECT_TRUE(fs::exists(KernelWorkingDirectory() + "tokernel.qbc"));
}

TEST_F(ProjectFixture, AMissingKernelIsReportedAndTheResultsStay) {
    Kernel(WritesTwoRows);
    ASSERT_TRUE(Project->DoTest(ttTriaxial));
    fs::remove(AppDir / "qbabc_3d");
    EXPECT_TRUE(Project->DoTest(ttTriaxial)); // true, though nothing ran: the user was told
    ASSERT_EQ(Messages.Messages.size(), 1u);
    EXPECT_EQ(Messages.Messages[0].Text, "Test kernel not available.");
    EXPECT_EQ(Messages.Messages[0].Title, "Tarnwick");
    EXPECT_EQ(Project->TriaxialTest()->Results().RowCount(), 2);
    EXPECT_EQ(EndCalculations, 1);
}

TEST_F(ProjectFixture, AKernelThatWritesNothingLeavesNoResultsAndNoStaleFile) {
    // A result file of an earlier run lies in the working directory.
    Kernel(WritesTwoRows);
    ASSERT_TRUE(Project->DoTest(ttTriaxial));
    ASSERT_TRUE(fs::exists(ResultFile()));
    Kernel("exit 3");
    EXPECT_FALSE(Project->DoTest(ttTriaxial));
    TQBTestBase& test = *Project->TriaxialTest();
    EXPECT_EQ(test.Results().RowCount(), 0);
    ASSERT_EQ(Messages.Messages.size(), 1u);
    EXPECT_EQ(Messages.Messages[0].Text, "There was an error during the execution of the test.");
    EXPECT_TRUE(test.MaterialInSyncWithTest());
    EXPECT_EQ(EndCalculations, 2);
}

TEST_F(ProjectFixture, AResultFileThatBreaksOffClearsTheRows) {
    Kernel(R"(out="${1%.qbc}.qbr"
printf '[testresults]\n0\t1\n1\tgarbage\n' > "$out")");
    EXPECT_FALSE(Project->DoTest(ttTriaxial));
    EXPECT_EQ(Project->TriaxialTest()->Results().RowCount(), 0);
}

TEST_F(ProjectFixture, KernelGetsItsInputPathAndTheMethodChoosesIt) {
    // The application folder has blanks in its name; the kernel still gets one argument.
    Kernel(R"(printf '[testresults]\n0\t%s\n' "$#" > "${1%.qbc}.qbr")");
    ASSERT_TRUE(Project->DoTest(ttTriaxial));
    EXPECT_EQ(Project->TriaxialTest()->Results().GetValueByIndex(0, 1), 1.0);
    EXPECT_EQ(Project->KernelExecutableName(), "qbabc_3d");
    EXPECT_EQ(BuildKernelCommandLine("/a b/qbabc_3d", "/tmp/x.qbc"),
              "\"/a b/qbabc_3d\" /tmp/x.qbc");
    EXPECT_EQ(BuildKernelCommandLine("/k", "/in put"), "/k \"/in put\"");
    // The working directory is the same for every run of the process.
    EXPECT_EQ(KernelWorkingDirectory(), KernelWorkingDirectory());
    EXPECT_NE(KernelWorkingDirectory().find("QB_" + std::to_string(::getpid())), std::string::npos);
}

TEST_F(ProjectFixture, DeletingAMaterialRemovesItsLoadedTestsAfterTheCallbacks) {
    auto loadedMaterial = std::make_unique<TFakeMaterial>();
    loadedMaterial->Id = "Clay";
    auto loaded = CreateTest(ttTriaxial, nullptr, tm3D);
    loaded->SetOwnedMaterial(std::move(loadedMaterial));
    ITestMaterial* clay = loaded->Material();
    Project->AddLoadedTest(std::move(loaded));
    Project->AddLoadedTest(CreateTest(ttOedometer, nullptr, tm3D));
    EXPECT_EQ(Project->LoadedTests().GetItems(0)->Title(),
              "Clay (sig3 = 100.0, eps;max = 1.000e+01)");
    EXPECT_EQ(Project->LoadedTests().GetItems(1)->Title(), " (Oedometer)");

    std::vector<std::string> order;
    Project->AddDeleteCallback([&](ITestMaterial* m) {
        order.push_back("first");
        EXPECT_EQ(Project->LoadedTests().Count(), 2); // tests still there
        EXPECT_EQ(m, clay);
    });
    Project->AddDeleteCallback([&](ITestMaterial*) { order.push_back("second"); });
    Project->DeleteMaterial(clay);
    EXPECT_EQ(order, (std::vector<std::string>{"first", "second"}));
    EXPECT_EQ(Project->LoadedTests().Count(), 1);
    EXPECT_EQ(Project->MainTests().Count(), 7);
}

TEST_F(ProjectFixture, ANewMainMaterialPutsTheTestsOutOfSync) {
    Kernel(WritesTwoRows);
    ASSERT_TRUE(Project->DoTest(ttTriaxial));
    int newMaterials = 0;
    Project->SetOnNewMainMaterial([&] { ++newMaterials; });
    auto clay = std::make_unique<TFakeMaterial>();
    clay->Model = mxsmmSoftSoilCreep;
    Project->SetMainMaterial(std::move(clay));
    EXPECT_EQ(newMaterials, 1);
    EXPECT_FALSE(Project->TriaxialTest()->MaterialInSyncWithTest());
    EXPECT_TRUE(Project->TriaxialTest()->IsTimeEnabled());
    EXPECT_EQ(Project->Version(), 8);
}

TEST_F(ProjectFixture, StoppingARunEndsTheKernelAndReportsAFailure) {
    const std::string pidFile = (AppDir / "kernel.pid").string();
    // The kernel hangs in a child process before it writes anything.
    Kernel("echo $$ > '" + pidFile + R"('
sleep 30
printf '[testresults]\n0\t1\n' > "${1%.qbc}.qbr")");
    std::thread stopper([&] {
        for (int attempt = 0; attempt < 1000; ++attempt) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
            if (!fs::exists(pidFile) || fs::file_size(pidFile) == 0)
                continue; // the kernel is not running yet
            TTaskInfoList states;
            TKovTaskController::GetThreadedTaskStates(states);
            for (const TKovTaskInfo& info : states)
                if (info.NameText() == "Running calculation..." && info.CanStop) {
                    TKovTaskController::StopTask(info);
                    return;
                }
        }
    });
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(Project->DoTest(ttTriaxial));
    stopper.join();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    // The kernel is gone, and the run failed as any run without a result file.
    int pid = 0;
    std::ifstream(pidFile) >> pid;
    ASSERT_GT(pid, 0);
    EXPECT_NE(::kill(pid, 0), 0);
    EXPECT_EQ(Project->TriaxialTest()->Results().RowCount(), 0);
    ASSERT_EQ(Messages.Messages.size(), 1u);
    EXPECT_EQ(Messages.Messages[0].Text, "There was an error during the execution of the test.");
    EXPECT_EQ(EndCalculations, 1);
}

TEST_F(ProjectFixture, UnitPropertiesAndTheSystemOfUnitsFollowEachOther) {
    TSystemOfUnits& units = Project->SystemOfUnits();
    auto& force = Project->Property<TIPEnumeration>("UnitForce");
    auto& length = Project->Property<TIPEnumeration>("UnitLength");
    EXPECT_EQ(force.StrValueOriginal(), "kN");
    EXPECT_EQ(length.StrValueOriginal(), "m");
    EXPECT_EQ(Project->Property<TIPEnumeration>("UnitTime").StrValueOriginal(), "day");
    EXPECT_EQ(units.PresentationUnitText(qtPressure), "kN/m²");

    Manager.ClearRevertStacks();
    force.SetStrValue("N");
    EXPECT_EQ(units.PresentationUnitText(qtPressure), "N/m²");
    EXPECT_DOUBLE_EQ(Project->PressureInProjectUnits(-1e5), -1e5);
    Manager.Undo();
    EXPECT_EQ(units.PresentationUnitText(qtPressure), "kN/m²");

    // Setting the system directly moves the property along.
    units.Length.SetPresentationUnit("ft");
    EXPECT_EQ(length.StrValueOriginal(), "ft");
    EXPECT_EQ(units.PresentationUnitText(qtPressure), "kN/ft²");
}
