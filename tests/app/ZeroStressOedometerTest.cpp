// The oedometer of a new project starts at zero stress: with every example material, and with
// the soft clay as Soft Soil and as Modified Cam-Clay, the lab's round trip through our kernel
// loads it to 100 kN/m2 and back to 50 and reads every row back. The curve does not depend on
// how the load is cut into steps (the kernel's integration is controlled by its own error), so
// 10 and 1000 steps a phase agree within 1 % at the peak and at the end.

#include "ProgramSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <sstream>

using namespace tw::testing;
namespace fs = std::filesystem;

namespace {

struct TOedometerRun {
    bool Calculated = false;
    double Peak = NAN, End = NAN; // vertical strain, compression negative
};

// Runs the oedometer of the material's project from zero stress with `steps` steps a phase, after
// the commands of `setup` (which may change the soil model).
TOedometerRun RunOedometer(const fs::path& material, const std::string& setup, int steps,
                           std::string& log) {
    const std::string n = std::to_string(steps);
    const std::string script = setup +
                               "set Oedometer_1.Phases[0].Sigyyinc -100\n"
                               "set Oedometer_1.Phases[0].Steps " +
                               n +
                               "\n"
                               "addphase Oedometer_1\n"
                               "set Oedometer_1.Phases[1].Sigyyinc 50\n"
                               "calculate Oedometer_1\n"
                               "index Oedometer_1.Results.Epsyy " +
                               n + "\nindex Oedometer_1.Results.Epsyy " +
                               std::to_string(2 * steps) + "\n";
    TTemporaryFolder folder;
    const TProgramRun run = RunProgramIn(folder, {material.string(), "--run", "-"}, script);
    log = run.Output + run.Errors;
    TOedometerRun result;
    result.Calculated =
        run.ExitCode == 0 &&
        Contains(run.Output,
                 "Calculated Oedometer_1: " + std::to_string(2 * steps + 1) + " result rows\n");
    // The two values follow their commands' echo lines.
    std::istringstream lines(run.Output);
    std::string line;
    std::vector<double> values;
    while (std::getline(lines, line))
        if (line.rfind("> index ", 0) == 0 && std::getline(lines, line))
            values.push_back(std::strtod(line.c_str(), nullptr));
    if (values.size() == 2) {
        result.Peak = values[0];
        result.End = values[1];
    }
    return result;
}

} // namespace

TEST(ZeroStressOedometer, EveryMaterialCalculatesAllRowsAndTheStepsDoNotMatter) {
    struct TCase {
        fs::path Material;
        std::string Setup, Name;
    };
    std::vector<TCase> cases;
    for (const auto& entry : fs::directory_iterator(fs::path(TW_EXAMPLES) / "materials"))
        if (entry.path().extension() == ".xml")
            cases.push_back({entry.path(), "", entry.path().filename().string()});
    ASSERT_GE(cases.size(), 5u);
    const fs::path clay = fs::path(TW_EXAMPLES) / "materials" / "soft_clay_soft_soil_creep.xml";
    cases.push_back({clay, "set Material.SoilModel \"SoftSoil\"\n", "soft clay as Soft Soil"});
    cases.push_back({clay,
                     "set Material.SoilModel \"ModifiedCamClay\"\nset Material.lambda 0.2\n"
                     "set Material.kappa 0.03\nset Material.M 1.2\n",
                     "soft clay as Modified Cam-Clay"});

    for (const TCase& c : cases) {
        SCOPED_TRACE(c.Name);
        std::string coarseLog, fineLog;
        const TOedometerRun coarse = RunOedometer(c.Material, c.Setup, 10, coarseLog);
        const TOedometerRun fine = RunOedometer(c.Material, c.Setup, 1000, fineLog);
        ASSERT_TRUE(coarse.Calculated) << coarseLog;
        ASSERT_TRUE(fine.Calculated) << fineLog;
        ASSERT_TRUE(std::isfinite(fine.Peak) && std::isfinite(fine.End)) << fineLog;
        EXPECT_LT(fine.Peak, 0.0);
        EXPECT_LT(fine.Peak, fine.End); // unloading swells
        EXPECT_NEAR(coarse.Peak, fine.Peak, 0.01 * std::abs(fine.Peak)) << coarseLog << fineLog;
        EXPECT_NEAR(coarse.End, fine.End, 0.01 * std::abs(fine.End)) << coarseLog << fineLog;
    }
}
