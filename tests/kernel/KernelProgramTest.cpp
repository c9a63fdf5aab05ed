// The kernel as the lab meets it: a program that reads an input file and leaves a result file
// beside it, or none and a message.

#include "KernelFile.h"
#include "ResultFile.h"

#include <gtest/gtest.h>

#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>

extern char** environ;

using namespace tw::kernel;
using namespace tw::kernel::testing;
namespace fs = std::filesystem;

namespace {

struct TRun {
    int ExitCode = -1;
    std::string Out;
    std::string Err;
};

std::string ReadText(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

std::vector<std::string> SplitLines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

class KernelProgram : public ::testing::Test {
protected:
    void SetUp() override {
        FFolder = fs::temp_directory_path() /
                  ("tw_kernel_" + std::to_string(::getpid()) + "_" +
                   ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(FFolder);
        fs::create_directories(FFolder);
    }
    void TearDown() override { fs::remove_all(FFolder); }

    fs::path Write(const std::string& name, const std::string& text) {
        const fs::path path = FFolder / name;
        std::ofstream(path, std::ios::binary) << text;
        return path;
    }

    TRun Run(const std::string& program, const std::string& arguments) {
        const fs::path out = FFolder / "stdout.txt";
        const fs::path err = FFolder / "stderr.txt";
        const std::string command =
            program + " " + arguments + " >" + out.string() + " 2>" + err.string() + " </dev/null";
        const int status = std::system(command.c_str());
        TRun run;
        run.ExitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        run.Out = ReadText(out);
        run.Err = ReadText(err);
        return run;
    }

    static TKernelFile Triaxial(int steps) {
        TKernelFile file;
        file.MohrCoulomb(5000, 0.3, 5, 30, 5, true, 0);
        file.InitialStress << -100, -100, -100, 0, 0, 0;
        file.Phases = {TriaxialPhase(steps, -0.1)};
        file.Phases[0].Duration = 2.5;
        return file;
    }

    fs::path FFolder;
};

} // namespace

TEST_F(KernelProgram, WritesTheResultFileBesideItsInput) {
    const fs::path input = Write("tokernel.qbc", Triaxial(40).Text());
    const TRun run = Run(TW_QBABC_3D, input.string());
    EXPECT_EQ(run.ExitCode, 0) << run.Err;
    EXPECT_EQ(run.Err, "");
    EXPECT_EQ(run.Out, "");
    const fs::path result = FFolder / "tokernel.qbr";
    ASSERT_TRUE(fs::exists(result));
    EXPECT_FALSE(fs::exists(FFolder / "tokernel.qbr.tmp"));

    const auto lines = SplitLines(ReadText(result));
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines[0], "[kernelinfo]");
    EXPECT_EQ(lines[1], "qbabc_3d\t=kernel");
    EXPECT_NE(std::find(lines.begin(), lines.end(), "completed\t=status"), lines.end());
    const auto head = std::find(lines.begin(), lines.end(), "[testresults]");
    ASSERT_NE(head, lines.end());
    const std::vector<std::string> rows(head + 1, lines.end());
    ASSERT_EQ(rows.size(), 41u);
    for (const auto& row : rows) {
        // 19 numbers, tab-separated, "." as decimal separator, nothing else.
        int fields = 0;
        std::istringstream stream(row);
        for (std::string field; std::getline(stream, field, '\t'); ++fields) {
            double value = 0;
            const auto parsed = std::from_chars(field.data(), field.data() + field.size(), value);
            EXPECT_TRUE(parsed.ec == std::errc() && parsed.ptr == field.data() + field.size())
                << field;
            EXPECT_LE(field.size(), 22u) << field;
        }
        EXPECT_EQ(fields, 19) << row;
    }
    EXPECT_EQ(rows[0].substr(0, 16), "0\t0\t0\t0\t0\t0\t0\t-1");
    EXPECT_EQ(rows[40].substr(0, 4), "2.5\t");

    // The 2D kernel computes the same rows.
    fs::rename(result, FFolder / "from3d.qbr");
    EXPECT_EQ(Run(TW_QBABC_2D, input.string()).ExitCode, 0);
    const auto rows2d = SplitLines(ReadText(result));
    EXPECT_EQ(rows2d[1], "qbabc_2d\t=kernel");
    EXPECT_EQ(std::vector<std::string>(rows2d.begin() + 2, rows2d.end()),
              std::vector<std::string>(lines.begin() + 2, lines.end()));

    // The summary of the main command.
    const TRun summary = Run(TW_QBABC_3D, "--summary " + input.string());
    EXPECT_EQ(summary.ExitCode, 0);
    EXPECT_NE(summary.Out.find("peak deviatoric stress q = "), std::string::npos) << summary.Out;
    EXPECT_NE(summary.Out.find(" kN/m2\n"), std::string::npos);
    EXPECT_NE(summary.Out.find("final volumetric strain  = "), std::string::npos);
}

TEST_F(KernelProgram, BadInputLeavesNoResultAndNamesFileAndLine) {
    auto lines = Triaxial(10).Lines();
    const int line = LineOf(lines, "=maxiter");
    lines[line - 1] = "fifty\t=maxiter";
    const fs::path input = Write("bad.qbc", Join(lines));
    // A result of an earlier run must not pass for this one's.
    Write("bad.qbr", "[kernelinfo]\n\n[testresults]\n0\n");
    const TRun run = Run(TW_QBABC_3D, input.string());
    EXPECT_EQ(run.ExitCode, 2);
    EXPECT_EQ(run.Err, "qbabc_3d: " + input.string() + ":" + std::to_string(line) +
                           ": expected an integer for \"maxiter\", found \"fifty\"\n");
    EXPECT_FALSE(fs::exists(FFolder / "bad.qbr"));

    const TRun missing = Run(TW_QBABC_3D, (FFolder / "none.qbc").string());
    EXPECT_EQ(missing.ExitCode, 2);
    EXPECT_NE(missing.Err.find("none.qbc: cannot open the input file"), std::string::npos);

    const TRun usage = Run(TW_QBABC_3D, "");
    EXPECT_EQ(usage.ExitCode, 2);
    EXPECT_NE(usage.Err.find("usage: qbabc_3d"), std::string::npos);

    const TRun folder = Run(TW_QBABC_3D, FFolder.string());
    EXPECT_EQ(folder.ExitCode, 2);
}

TEST_F(KernelProgram, SaysWhatItDoesNotSupport) {
    TKernelFile file = Triaxial(10);
    file.Model = 12;
    file.ModelCaption = "NGI-ADP";
    const fs::path input = Write("ngi.qbc", file.Text());
    const TRun run = Run(TW_QBABC_2D, input.string());
    EXPECT_EQ(run.ExitCode, 3);
    EXPECT_NE(run.Err.find("soil model type 12 (NGI-ADP) is not supported by this kernel"),
              std::string::npos)
        << run.Err;
    EXPECT_FALSE(fs::exists(FFolder / "ngi.qbr"));
}

TEST_F(KernelProgram, KeepsTheRowsWhenItStopsWithoutConvergence) {
    TKernelFile file = Triaxial(10);
    file.Phases[0].Strain.setZero();
    file.Phases[0].Stress(1) = -1000;
    file.Phases[0].Conditions = {1, 1, 1, 1, 0, 0};
    const fs::path input = Write("stress.qbc", file.Text());
    const TRun run = Run(TW_QBABC_3D, input.string());
    EXPECT_EQ(run.ExitCode, 1);
    EXPECT_NE(run.Err.find("stopped: no convergence in phase 1, step 3 of 10"), std::string::npos)
        << run.Err;
    const auto lines = SplitLines(ReadText(FFolder / "stress.qbr"));
    EXPECT_NE(std::find(lines.begin(), lines.end(), "stopped\t=status"), lines.end());
    EXPECT_NE(std::find_if(lines.begin(), lines.end(),
                           [](const std::string& line) {
                               return line.rfind("no convergence in phase 1, step 3 of 10, after "
                                                 "splitting it into 1024 parts",
                                                 0) == 0;
                           }),
              lines.end());
    const auto head = std::find(lines.begin(), lines.end(), "[testresults]");
    EXPECT_EQ(lines.end() - head - 1, 3); // the initial state and two steps
}

TEST_F(KernelProgram, NeverWritesANumberThatIsNotFinite) {
    // Inputs that can only overflow are refused at their place; those that overflow on the way
    // stop the run. Either way no row holds NAN or INF.
    struct TCase {
        const char* What;
        std::function<void(TKernelFile&)> Change;
        int ExitCode;
        const char* Message;
    };
    const TCase cases[] = {
        {"water bulk modulus", [](TKernelFile& f) { f.Undrained(1, 1e308, 0.4); }, 2,
         "place 99: the pore fluid's stiffness"},
        {"Biot alpha", [](TKernelFile& f) { f.Undrained(1, 0, 0.4, 0.49, 1e-300); }, 2,
         "place 98: the pore fluid's stiffness"},
        {"huge shear modulus", [](TKernelFile& f) { f.Parameters[0] = 1e308; }, 2,
         "place 0: the shear modulus must be above 0 and its stiffness finite"},
        {"tiny shear modulus",
         [](TKernelFile& f) {
             f.Parameters[0] = 2.2e-308;
             f.Phases[0].Stress(0) = -50;
         },
         1, "not finite"},
        {"durations",
         [](TKernelFile& f) {
             f.Phases.push_back(f.Phases[0]);
             f.Phases[0].Duration = 1e308;
             f.Phases[1].Duration = 1e308;
         },
         2, "the phase durations up to phase 2 add up beyond the largest number"},
    };
    for (const auto& c : cases) {
        TKernelFile file = Triaxial(10);
        c.Change(file);
        const fs::path input = Write("finite.qbc", file.Text());
        const TRun run = Run(TW_QBABC_3D, input.string());
        EXPECT_EQ(run.ExitCode, c.ExitCode) << c.What << ": " << run.Err;
        EXPECT_NE(run.Err.find(c.Message), std::string::npos) << c.What << ": " << run.Err;
        const fs::path result = FFolder / "finite.qbr";
        if (fs::exists(result)) {
            const std::string text = ReadText(result);
            EXPECT_EQ(text.find("NAN"), std::string::npos) << c.What;
            EXPECT_EQ(text.find("INF"), std::string::npos) << c.What;
            EXPECT_NE(text.find("stopped\t=status"), std::string::npos) << c.What;
        }
    }
}

TEST_F(KernelProgram, CopiesLabelsIntoTheResultAsCleanLines) {
    TKernelFile file = Triaxial(10);
    file.ModelCaption = "Mohr\rCoulomb \xff\xfe";
    TPhaseEntry empty;
    empty.Steps = 0;
    empty.Name = "phase \xc3(2)";
    file.Phases.push_back(empty);
    const fs::path input = Write("labels.qbc", file.Text());
    const TRun run = Run(TW_QBABC_3D, input.string());
    ASSERT_EQ(run.ExitCode, 0) << run.Err;
    const auto lines = SplitLines(ReadText(FFolder / "labels.qbr"));
    EXPECT_NE(std::find(lines.begin(), lines.end(),
                        "2\t=soil model type Mohr Coulomb \xEF\xBF\xBD\xEF\xBF\xBD"),
              lines.end());
    EXPECT_NE(std::find(lines.begin(), lines.end(),
                        "phase \xEF\xBF\xBD(2) has no steps; it applies nothing"),
              lines.end());
    for (const auto& line : lines)
        EXPECT_EQ(line.find('\r'), std::string::npos);
}

TEST_F(KernelProgram, ConvergesWithTheLargestRelaxationInPlasticFlow) {
    TKernelFile file = Triaxial(20);
    const fs::path plain = Write("plain.qbc", file.Text());
    file.Relax = 2;
    const fs::path relaxed = Write("relaxed.qbc", file.Text());
    ASSERT_EQ(Run(TW_QBABC_3D, plain.string()).ExitCode, 0);
    const TRun run = Run(TW_QBABC_3D, relaxed.string());
    ASSERT_EQ(run.ExitCode, 0) << run.Err;
    const auto a = SplitLines(ReadText(FFolder / "plain.qbr"));
    const auto b = SplitLines(ReadText(FFolder / "relaxed.qbr"));
    ASSERT_EQ(a.size(), b.size());
    // The last row's axial stress agrees within the tolerance of the iteration.
    auto axial = [](const std::string& row) {
        std::istringstream stream(row);
        std::string field;
        for (int i = 0; i <= rcSigXX + 1; ++i)
            std::getline(stream, field, '\t');
        return std::stod(field);
    };
    EXPECT_NEAR(axial(a.back()), axial(b.back()), 1e-6 * std::abs(axial(a.back())));
    // Without splitting a step: a factor of 2 alone swings about the answer for ever.
    EXPECT_NE(std::find(b.begin(), b.end(), "0\t=step splits"), b.end());
}

// The rows go to the file as they are computed: the memory of a run does not grow with its
// steps.
TEST_F(KernelProgram, MemoryStaysFlatWhateverTheNumberOfSteps) {
    auto peakMemory = [&](int steps) {
        TKernelFile file = Triaxial(steps);
        file.LinearElastic(5000, 0.3);
        const fs::path input = Write("long.qbc", file.Text());
        const std::string program = TW_QBABC_3D;
        const std::string path = input.string();
        char* argv[] = {const_cast<char*>(program.c_str()), const_cast<char*>(path.c_str()),
                        nullptr};
        pid_t pid = 0;
        EXPECT_EQ(posix_spawn(&pid, program.c_str(), nullptr, nullptr, argv, environ), 0);
        int status = 0;
        rusage usage{};
        EXPECT_EQ(wait4(pid, &status, 0, &usage), pid);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
        EXPECT_EQ(fs::file_size(FFolder / "long.qbr") > size_t(steps) * 19, true);
        fs::remove(FFolder / "long.qbr");
        return usage.ru_maxrss; // kilobytes
    };
    const long small = peakMemory(1000);
    const long large = peakMemory(200000);
    EXPECT_LT(large - small, 4 * 1024)
        << small << " kB for 1,000 steps, " << large << " kB for 200,000";
}
