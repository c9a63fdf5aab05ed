#include "Kernel.h"

#include "Cavity.h"
#include "Models.h"

#include <cmath>
#include <filesystem>
#include <ostream>

#ifndef TW_KERNEL_VERSION
#define TW_KERNEL_VERSION "0"
#endif

namespace tw::kernel {

namespace {

double DeviatoricStress(const Vec6& s) {
    const double a = s(0) - s(1);
    const double b = s(1) - s(2);
    const double c = s(2) - s(0);
    return std::sqrt(0.5 * (a * a + b * b + c * c) +
                     3.0 * (s(3) * s(3) + s(4) * s(4) + s(5) * s(5)));
}

std::string ModelText(const TKernelInput& input) {
    std::string text = std::to_string(input.ModelNumber);
    if (!input.ModelCaption.empty())
        text += " (" + input.ModelCaption + ")";
    return text;
}

} // namespace

void FailParameter(const TKernelInput& input, int placeIndex, const std::string& reason) {
    throw EKernelInput(input.FileName, input.ParameterLine(placeIndex),
                       "place " + std::to_string(placeIndex) + ": " + reason + ", found " +
                           FormatNumber(input.Parameters[placeIndex]));
}

void CheckSupported(const TKernelInput& input) {
    if (!IsSupportedModel(input.ModelNumber))
        throw EKernelNotSupported(input.FileName, input.ModelLine,
                                  "soil model type " + ModelText(input) +
                                      " is not supported by this kernel; it computes " +
                                      SupportedModels());
    if (input.TestType == TTestType::Pressuremeter && !(input.InnerRadius > 0.0))
        throw EKernelInput(input.FileName, input.InnerRadiusLine,
                           "the pressuremeter test needs an inner radius above 0");
    if (input.Unsaturated)
        throw EKernelNotSupported(input.FileName, input.UnsaturatedLine,
                                  "suction (unsaturated) is not supported by this kernel");
    if (input.Thermal)
        throw EKernelNotSupported(input.FileName, input.ThermalLine,
                                  "thermal calculation is not supported by this kernel");
}

TPoreFluid CreatePoreFluid(const TKernelInput& input, std::vector<std::string>& warnings) {
    TPoreFluid fluid;
    const bool effectiveStress = input.Drainage == TDrainage::Drained ||
                                 input.Drainage == TDrainage::UndrainedA ||
                                 input.Drainage == TDrainage::UndrainedB;
    if (!input.Undrained || !effectiveStress)
        return fluid;
    const auto& p = input.Parameters;
    // The skeleton's bulk modulus, where the fluid's stiffness needs it: from places 0 and 1
    // (for stress-dependent models the reference values the material writes there).
    auto skeletonModulus = [&]() {
        const double g = p[place::ShearModulus];
        const double nu = p[place::PoissonRatio];
        if (!(g > 0.0))
            FailParameter(input, place::ShearModulus,
                          "the pore fluid's stiffness takes the skeleton's from the shear "
                          "modulus, which must be above 0");
        if (!(nu > -1.0 && nu < 0.5))
            FailParameter(input, place::PoissonRatio,
                          "Poisson's ratio must lie above -1 and below 0.5");
        return BulkModulus(g, nu);
    };
    double alpha = p[place::BiotAlpha];
    if (alpha == 0.0) {
        // A place without value is written as 0; no coupling at all would make the undrained
        // test a drained one, which nobody means.
        alpha = 1.0;
        warnings.push_back("place 98 (Biot's alpha) holds 0; 1 is used");
    }
    if (!(alpha > 0.0 && alpha <= 1.0))
        FailParameter(input, place::BiotAlpha, "Biot's alpha must lie above 0 and at most 1");
    const double water = p[place::WaterBulkModulus];
    if (water < 0.0)
        FailParameter(input, place::WaterBulkModulus,
                      "the bulk modulus of the pore fluid must not be negative");
    double modulus = 0.0;
    int source = place::WaterBulkModulus;
    if (water > 0.0) {
        // Biot: 1/M = n/K_w + (alpha - n)/K_s, with the grains' modulus K_s = K'/(1 - alpha).
        const double n = p[place::Porosity];
        if (!(n > 0.0 && n < 1.0))
            FailParameter(input, place::Porosity,
                          "with the bulk modulus of the pore fluid at place 99 the porosity must "
                          "lie above 0 and below 1");
        const double compliance =
            n / water + (alpha < 1.0 ? (alpha - n) * (1.0 - alpha) / skeletonModulus() : 0.0);
        if (!(compliance > 0.0))
            FailParameter(input, place::BiotAlpha,
                          "Biot's alpha is below the porosity so far that the pore fluid would "
                          "have no stiffness");
        modulus = 1.0 / compliance;
    } else {
        // No pore fluid modulus: take the stiffness the undrained Poisson's ratio implies,
        // alpha^2 M = K_u - K'.
        const double skeleton = skeletonModulus();
        const double nu = p[place::PoissonRatio];
        const double nuU = p[place::UndrainedPoissonRatio];
        if (!(nuU > nu && nuU < 0.5))
            FailParameter(input, place::UndrainedPoissonRatio,
                          "place 99 holds no bulk modulus of the pore fluid, so the undrained "
                          "Poisson's ratio must lie above Poisson's ratio (" +
                              FormatNumber(nu) + ") and below 0.5");
        modulus = (BulkModulus(p[place::ShearModulus], nuU) - skeleton) / (alpha * alpha);
        source = place::UndrainedPoissonRatio;
    }
    fluid.Active = true;
    fluid.Alpha = alpha;
    fluid.Modulus = modulus;
    // A fluid whose stiffness overflows or vanishes into nothing can only give numbers that are
    // not finite: refuse it where it comes from.
    if (!std::isfinite(modulus) || !std::isfinite(fluid.PressurePerStrain()) ||
        !(fluid.BulkStiffness() > 0.0))
        FailParameter(
            input, alpha < 1e-100 ? place::BiotAlpha : source,
            "the pore fluid's stiffness alpha^2 M = " + FormatNumber(fluid.BulkStiffness(), 6) +
                " is not a finite positive number");
    return fluid;
}

namespace {

// A row of the stress point: the strains and effective stresses, the pore pressure, and the
// constant columns.
struct TRowBuilder {
    double Saturation;
    double Temperature;
    TResultRow operator()(const TStressPointState& state) const {
        TResultRow r{};
        r[rcTime] = state.Time;
        for (int i = 0; i < 6; ++i) {
            r[rcEpsXX + i] = state.Strain(i);
            r[rcSigXX + i] = state.Stress(i);
        }
        r[rcPExcess] = state.PExcess;
        r[rcPw] = state.PExcess;
        r[rcSaturationEffective] = Saturation;
        r[rcSaturation] = Saturation;
        r[rcTemperature] = Temperature;
        r[rcSaturationUnfrozenWater] = Saturation;
        return r;
    }
};

} // namespace

TComputedTest ComputeTest(const TKernelInput& input, const TRowSink& sink,
                          const TComputeLimits& limits) {
    CheckSupported(input);
    TComputedTest result;
    auto& warnings = result.Warnings;
    warnings = input.Warnings;
    const auto model = CreateSoilModel(input, warnings);
    model->LimitSubsteps(limits.MaxSubsteps);
    const TPoreFluid fluid = CreatePoreFluid(input, warnings);
    result.PorePressure = fluid.Active;

    if (const char* fault = model->InitialStateFault(input.InitialStress))
        throw EKernelInput(input.FileName, input.InitialStressLine, fault);
    const double yield = model->YieldValue(input.InitialStress);
    if (yield > 1e-9 * (input.InitialStress.cwiseAbs().maxCoeff() + model->StrengthScale()))
        throw EKernelInput(input.FileName, input.InitialStressLine,
                           "the initial stresses lie outside the yield surface of the material "
                           "(yield function " +
                               FormatNumber(yield, 6) + " " + input.PressureUnit() + ")");

    TIterationControl control;
    control.Tolerance = input.Tolerance;
    control.Relaxation = input.Relaxation;
    control.MaxIterations = std::min({input.MaxIterations, MaxIterationsCap, limits.MaxIterations});
    control.MaxSplits = limits.MaxSplits;
    if (input.MaxIterations > MaxIterationsCap)
        warnings.push_back("maxiter " + std::to_string(input.MaxIterations) + " is cut to " +
                           std::to_string(MaxIterationsCap));
    if (input.ArcLength)
        warnings.push_back("arc-length control has no effect on a stress point; the steps run as "
                           "the file gives them");

    // Without suction the pores are full: saturation 1, all water unfrozen; a non-porous
    // material has no pore water at all.
    const TRowBuilder row{input.Drainage == TDrainage::NonPorous ? 0.0 : 1.0,
                          input.InitialTemperature};
    auto emit = [&](const TResultRow& r) {
        ++result.RowCount;
        result.PeakDeviatoricStress =
            std::max(result.PeakDeviatoricStress, DeviatoricStress(Vec6(&r[rcSigXX])));
        result.LastRow = r;
        if (sink)
            sink(r);
        else
            result.Rows.push_back(r);
    };

    if (!sink)
        result.Rows.reserve(static_cast<size_t>(input.TotalSteps) + 1);
    if (input.TestType == TTestType::Pressuremeter) {
        for (const auto& phase : input.Phases) {
            Vec6 others = phase.StrainIncrements;
            others(0) = 0.0;
            if (others.any() || phase.StressIncrements.any())
                warnings.push_back(phase.Name +
                                   ": the pressuremeter applies only the xx strain increment, the "
                                   "displacement of the cavity wall; the other increments are not "
                                   "applied");
        }
        TCavityTest cavity(*model, fluid, control, input.InnerRadius, limits.CavityElements);
        auto wallRow = [&](const TCavityTest::TWall& wall) {
            TStressPointState state;
            state.Time = wall.Time;
            state.Strain(0) = state.Strain(2) = wall.Displacement / input.InnerRadius;
            state.Stress = wall.Stress;
            state.PExcess = wall.PExcess;
            return row(state);
        };
        emit(wallRow(cavity.Start(input.InitialStress)));
        result.Outcome =
            cavity.Run(input.Phases, [&](const TCavityTest::TWall& wall) { emit(wallRow(wall)); });
        return result;
    }
    TStressPointState state;
    state.Stress = input.InitialStress;
    model->Initialise(state);
    emit(row(state));
    TElementTest test(*model, fluid, control);
    result.Outcome =
        test.Run(state, input.Phases, [&](const TStressPointState& s) { emit(row(s)); });
    return result;
}

std::vector<std::string> KernelInfo(const TKernelInput& input, const TKernelOptions& options,
                                    const TComputedTest& test) {
    const auto& outcome = test.Outcome;
    std::vector<std::string> info = {
        options.ProgramName + "\t=kernel",
        std::string(TW_KERNEL_VERSION) + "\t=kernel version",
        std::to_string(input.Version) + "\t=file version number",
        std::to_string(input.ModelNumber) + "\t=soil model type " + input.ModelCaption,
        std::to_string(static_cast<int>(input.Drainage)) + "\t=drainage " +
            DrainageName(input.Drainage),
        std::to_string(static_cast<int>(input.TestType)) + "\t=" + TestTypeName(input.TestType),
        std::string(input.Undrained ? "1" : "0") + "\t=behavior",
        std::string(test.PorePressure ? "1" : "0") + "\t=excess pore pressure",
        std::string(outcome.Completed ? "completed" : "stopped") + "\t=status",
        std::to_string(outcome.Steps) + "\t=steps",
        std::to_string(outcome.Iterations) + "\t=iterations",
        std::to_string(outcome.Splits) + "\t=step splits",
    };
    std::vector<std::string> messages = test.Warnings;
    if (!outcome.Completed)
        messages.push_back(outcome.Message);
    info.push_back(std::to_string(messages.size()) + "\t=number of messages");
    info.insert(info.end(), messages.begin(), messages.end());
    // Labels come from the input file: keep carriage returns and broken bytes out of the lab's
    // reader. (The value and its tab stay: they are the kernel's own.)
    for (auto& line : info)
        line = CleanLine(line);
    return info;
}

namespace {

void PrintSummary(const TKernelInput& input, const std::string& resultName,
                  const TComputedTest& test, std::ostream& out) {
    const auto& last = test.LastRow;
    const double volumetric = last[rcEpsXX] + last[rcEpsXX + 1] + last[rcEpsXX + 2];
    out << resultName << ": " << test.RowCount << " rows, "
        << (test.Outcome.Completed ? "completed" : "stopped") << "\n"
        << "  peak deviatoric stress q = " << FormatNumber(test.PeakDeviatoricStress, 6) << " "
        << input.PressureUnit() << "\n"
        << "  final volumetric strain  = " << FormatNumber(volumetric, 6) << "\n";
    if (test.PorePressure)
        out << "  final excess pore pressure = " << FormatNumber(last[rcPExcess], 6) << " "
            << input.PressureUnit() << "\n";
}

} // namespace

int RunKernel(const std::string& inputFileName, const TKernelOptions& options, std::ostream& out,
              std::ostream& err) {
    const std::string program = options.ProgramName + ": ";
    try {
        const std::string resultName = ResultFileName(inputFileName);
        // A result left from an earlier run must not pass for the result of this one.
        std::error_code ignored;
        std::filesystem::remove(resultName, ignored);
        if (std::filesystem::is_directory(inputFileName, ignored))
            throw EKernelInput(inputFileName, 0, "is a folder, not an input file");

        const TKernelInput input = ReadKernelInput(inputFileName);
        TResultWriter writer(resultName);
        const TComputedTest test =
            ComputeTest(input, [&](const TResultRow& row) { writer.AddRow(row); });
        for (const auto& warning : test.Warnings)
            err << program << "warning: " << CleanLine(warning) << "\n";
        try {
            writer.Finish(KernelInfo(input, options, test));
        } catch (const std::exception& e) {
            err << program << e.what() << "\n";
            return ecFailure;
        }
        if (options.Summary)
            PrintSummary(input, resultName, test, out);
        if (!test.Outcome.Completed) {
            err << program << inputFileName << ": stopped: " << CleanLine(test.Outcome.Message)
                << "\n";
            return ecStopped;
        }
        return ecSuccess;
    } catch (const EKernelNotSupported& e) {
        err << program << CleanLine(e.what()) << "\n";
        return ecNotSupported;
    } catch (const EKernelInput& e) {
        err << program << CleanLine(e.what()) << "\n";
        return ecBadInput;
    } catch (const std::exception& e) {
        err << program << "internal error: " << e.what() << "\n";
        return ecFailure;
    } catch (...) {
        err << program << "internal error\n";
        return ecFailure;
    }
}

} // namespace tw::kernel
