#include "KernelInput.h"
#include "KernelFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

using namespace tw::kernel;
using namespace tw::kernel::testing;
using ::testing::AllOf;
using ::testing::Property;
using ::testing::StrEq;
using ::testing::Throws;

namespace {

TKernelFile TwoPhaseFile() {
    TKernelFile file;
    file.MohrCoulomb(5000.0, 0.25, 3.0, 30.0, 5.0, true, 1.5);
    file.Drainage = 2;
    file.Parameters[199] = -7.25;
    file.UseUnfrozenWaterContent = 1;
    file.UnfrozenWaterRows = 2;
    file.UnfrozenWaterCells = {273.15, 1.0, 263.15, 0.25};
    file.TestType = 5;
    file.Behaviour = 1;
    file.Error = 0.005;
    file.Relax = 0.8;
    file.MaxIter = 77;
    file.InitialStress << -10, -20, -30, 1, 2, 3;
    file.InitialTemperature = 0;
    TPhaseEntry first = TriaxialPhase(12, -0.05, -2.5);
    first.Duration = 3.5;
    TPhaseEntry second;
    second.Name = "phase 2, cycle 1";
    second.Steps = 4;
    second.Strain << 0, 0, 0, 0.01, 0, 0;
    second.Conditions = {1, 1, 1, 0, 0, 0};
    file.Phases = {first, second};
    return file;
}

// Runs the reader on text and answers the fault it raises.
std::optional<EKernelInput> FaultOf(const std::string& text) {
    try {
        ParseKernelInput("in.qbc", text);
    } catch (const EKernelInput& e) {
        return e;
    }
    return std::nullopt;
}

} // namespace

TEST(KernelInput, ReadsEverySectionOfVersion9) {
    const auto input = ParseKernelInput("in.qbc", TwoPhaseFile().Text());
    EXPECT_EQ(input.Version, 9);
    EXPECT_EQ(input.MaterialName, "test soil");
    EXPECT_EQ(input.ForceUnit, "kN");
    EXPECT_EQ(input.LengthUnit, "m");
    EXPECT_EQ(input.TimeUnit, "day");
    EXPECT_EQ(input.TemperatureUnit, "K");
    EXPECT_EQ(input.PressureUnit(), "kN/m2");
    EXPECT_DOUBLE_EQ(input.WaterWeight, 9.81);
    EXPECT_EQ(input.ModelNumber, 2);
    EXPECT_EQ(input.ModelCaption, "Mohr-Coulomb");
    EXPECT_EQ(input.LibraryName, "");
    EXPECT_EQ(input.Drainage, TDrainage::UndrainedB);
    EXPECT_DOUBLE_EQ(input.Parameters[0], 5000.0);
    EXPECT_DOUBLE_EQ(input.Parameters[2], 0.5);
    EXPECT_DOUBLE_EQ(input.Parameters[14], 1.0);
    EXPECT_DOUBLE_EQ(input.Parameters[15], 1.5);
    EXPECT_DOUBLE_EQ(input.Parameters[199], -7.25);
    EXPECT_EQ(input.ParameterLine(0), 22);
    ASSERT_TRUE(input.HasExtraParameters);
    EXPECT_DOUBLE_EQ(input.MassUnitConversion, 1.0);
    EXPECT_EQ(input.UnfrozenWaterRows, 2);
    EXPECT_EQ(input.UnfrozenWaterCells, (std::vector<double>{273.15, 1.0, 263.15, 0.25}));
    EXPECT_EQ(input.TestType, TTestType::General);
    EXPECT_TRUE(input.Undrained);
    EXPECT_FALSE(input.Unsaturated);
    EXPECT_FALSE(input.Thermal);
    EXPECT_DOUBLE_EQ(input.Tolerance, 0.005);
    EXPECT_DOUBLE_EQ(input.Relaxation, 0.8);
    EXPECT_EQ(input.MaxIterations, 77);
    EXPECT_FALSE(input.ArcLength);
    EXPECT_DOUBLE_EQ(input.MobilisedShearStrength, -1.0);
    EXPECT_EQ(input.InitialStress, (Vec6() << -10, -20, -30, 1, 2, 3).finished());
    ASSERT_EQ(input.Phases.size(), 2u);
    EXPECT_EQ(input.TotalSteps, 16);
    const auto& first = input.Phases[0];
    EXPECT_EQ(first.Name, "phase 1");
    EXPECT_EQ(first.Steps, 12);
    EXPECT_DOUBLE_EQ(first.Duration, 3.5);
    EXPECT_DOUBLE_EQ(first.StrainIncrements(1), -0.05);
    EXPECT_DOUBLE_EQ(first.StressIncrements(0), -2.5);
    EXPECT_DOUBLE_EQ(first.StressIncrements(2), -2.5);
    EXPECT_EQ(first.FixedStress, (std::array<bool, 6>{true, false, true, true, false, false}));
    const auto& second = input.Phases[1];
    EXPECT_EQ(second.Name, "phase 2, cycle 1");
    EXPECT_DOUBLE_EQ(second.StrainIncrements(3), 0.01);
    EXPECT_EQ(second.FixedStress, (std::array<bool, 6>{true, true, true, false, false, false}));
}

TEST(KernelInput, ReadsVersion8WithoutTheLinesOfVersion9) {
    TKernelFile file = TwoPhaseFile();
    file.Version = 8;
    file.WriteExtraParameters = false;
    const auto lines = file.Lines();
    EXPECT_EQ(LineOf(lines, "unit of temperature"), 0);
    EXPECT_EQ(LineOf(lines, "initial suction"), 0);
    const auto input = ParseKernelInput("in.qbc", Join(lines));
    EXPECT_EQ(input.Version, 8);
    EXPECT_EQ(input.TemperatureUnit, "");
    EXPECT_FALSE(input.HasExtraParameters);
    EXPECT_DOUBLE_EQ(input.Tolerance, 0.005);
    ASSERT_EQ(input.Phases.size(), 2u);
    EXPECT_EQ(input.Phases[1].Steps, 4);

    // Version 9 may not leave the section out.
    file.Version = 9;
    const auto fault = FaultOf(file.Text());
    ASSERT_TRUE(fault);
    EXPECT_EQ(fault->Reason(), "section [extraparameters] is missing");
}

TEST(KernelInput, AcceptsWindowsLineEndsMixedCaseHeadsAndANewerVersion) {
    TKernelFile file = TwoPhaseFile();
    file.MaterialName = "[A] clay";
    auto lines = file.Lines();
    lines[0] = "  [HEADER]  ";
    lines[LineOf(lines, "file version number") - 1] = "10\t=file version number";
    std::string text;
    for (const auto& line : lines)
        text += line + "\r\n";
    const auto input = ParseKernelInput("in.qbc", text);
    EXPECT_EQ(input.Version, 10);
    EXPECT_EQ(input.MaterialName, "[A] clay");
    ASSERT_EQ(input.Warnings.size(), 1u);
    EXPECT_NE(input.Warnings[0].find("newer"), std::string::npos);
    EXPECT_EQ(input.Phases.size(), 2u);
}

TEST(KernelInput, APhaseOfNoStepsIsReadWithAWarning) {
    // A blank phase a user inserted reaches the kernel with 0 steps: it applies nothing.
    TKernelFile file = TwoPhaseFile();
    file.Phases[1].Steps = 0;
    const auto input = ParseKernelInput("in.qbc", file.Text());
    ASSERT_EQ(input.Phases.size(), 2u);
    EXPECT_EQ(input.Phases[1].Steps, 0);
    ASSERT_EQ(input.Warnings.size(), 1u);
    EXPECT_EQ(input.Warnings[0], "phase 2, cycle 1 has no steps; it applies nothing");
}

TEST(KernelInput, NamesTheFileAndLineOfEveryFault) {
    struct TCase {
        const char* Name;
        const char* Label; // line to change, found by its text
        std::function<void(std::vector<std::string>&, int)> Change;
        int LineShift; // the fault's line relative to the changed one
        const char* Reason;
    };
    auto set = [](const char* text) {
        return [text](std::vector<std::string>& l, int i) { l[i] = text; };
    };
    auto erasePrevious = [](std::vector<std::string>& l, int i) { l.erase(l.begin() + i - 1); };
    const TCase cases[] = {
        {"decimal comma", "=error1", set("0,01\t=error1"), 0,
         "expected a number for \"error1\", found \"0,01\""},
        {"not a number", "=relax", set("nan\t=relax"), 0,
         "expected a number for \"relax\", found \"nan\""},
        {"float for an integer", "=maxiter", set("50.5\t=maxiter"), 0,
         "expected an integer for \"maxiter\", found \"50.5\""},
        {"five initial stresses", "=initial stresses", set("-1\t-2\t-3\t0\t0\t=initial stresses"),
         0, "expected 6 values for \"initial stresses\", found 5"},
        {"boundary condition 2", "=boundary conditions",
         set("1\t0\t2\t1\t0\t0\t=boundary conditions"), 0,
         "boundary condition 3 of phase 1 is 2; it must be 0 (strain) or 1 (stress)"},
        {"unknown test type", "=general", set("9\t=general"), 0, "Unknown test type: 9"},
        {"old version", "=file version number", set("7\t=file version number"), 0,
         "file version 7: this kernel reads versions 8 and 9"},
        {"negative steps", "=number of steps in phase 2",
         set("-1\t=number of steps in phase 2, cycle 1"), 0,
         "\"number of steps in phase 2, cycle 1\" is -1; a phase takes no steps or more"},
        {"too few parameters", "[extraparameters]", erasePrevious, -1,
         "[soilparameters] holds 199 values; it must hold 200"},
        {"too many parameters", "[extraparameters]", set("0"), 0,
         "[soilparameters] holds more than 200 values"},
        {"more phases announced", "=number of phases", set("3\t=number of phases"), 0,
         "\"number of phases\" is 3, but the section ends after 2"},
        {"fewer phases announced", "=number of phases", set("1\t=number of phases"), 8,
         "[testparameters] goes on behind the 1 phases that \"number of phases\" announces"},
        {"drainage out of range", "=drainage", set("5\t=drainage"), 0,
         "\"drainage\" is 5; it must be 0 to 4"},
        {"table cells", "=number of rows", set("3\t=number of rows"), 0,
         "the unfrozen water content table has 3 rows but 4 cells"},
        {"section head inside", "=relax", set("[testresults]"), 0,
         "found the section head \"[testresults]\" where \"relax\" was expected"},
        {"empty unit", "=unit of length", set("\t=unit of length"), 0,
         "\"unit of length\" is empty"},
        {"negative duration", "=phase duration for phase 1", set("-1\t=phase duration for phase 1"),
         0, "\"phase duration for phase 1\" is negative"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.Name);
        auto lines = TwoPhaseFile().Lines();
        const int index = LineOf(lines, c.Label) - 1;
        ASSERT_GE(index, 0);
        c.Change(lines, index);
        const auto fault = FaultOf(Join(lines));
        ASSERT_TRUE(fault);
        EXPECT_EQ(fault->FileName(), "in.qbc");
        EXPECT_EQ(fault->Line(), index + 1 + c.LineShift);
        EXPECT_EQ(fault->Reason(), c.Reason);
        EXPECT_EQ(std::string(fault->what()),
                  "in.qbc:" + std::to_string(index + 1 + c.LineShift) + ": " + c.Reason);
    }
}

TEST(KernelInput, FaultsOfTheWholeFile) {
    auto lines = TwoPhaseFile().Lines();
    lines[LineOf(lines, "[soilmodeldata]") - 1] = "[soil model data]";
    auto fault = FaultOf(Join(lines));
    ASSERT_TRUE(fault);
    EXPECT_EQ(fault->Line(), 0);
    EXPECT_EQ(fault->Reason(), "section [soilmodeldata] is missing");

    // Cut inside the last phase: the end of the file is named as the line behind the last one.
    lines = TwoPhaseFile().Lines();
    lines.resize(LineOf(lines, "=strain increments for phase 2"));
    fault = FaultOf(Join(lines));
    ASSERT_TRUE(fault);
    EXPECT_EQ(fault->Line(), static_cast<int>(lines.size()) + 1);
    EXPECT_EQ(fault->Reason(),
              "the file ends where \"stress increments for phase 2, cycle 1\" was expected");

    EXPECT_THAT([] { ReadKernelInput("/nonexistent/folder/tokernel.qbc"); },
                Throws<EKernelInput>(AllOf(
                    Property(&EKernelInput::Line, 0),
                    Property(&EKernelInput::Reason,
                             StrEq("cannot open the input file: No such file or directory")))))
        << "a missing file must raise";
}

TEST(KernelInput, RefusesTestsOfMoreStepsThanItComputes) {
    TKernelFile file = TwoPhaseFile();
    file.Phases[0].Steps = static_cast<int>(MaxTotalSteps);
    const auto fault = FaultOf(file.Text());
    ASSERT_TRUE(fault);
    EXPECT_EQ(fault->Line(), LineOf(file.Lines(), "=number of steps in phase 2"));
    EXPECT_NE(fault->Reason().find("more than 1000000 steps"), std::string::npos);
}
