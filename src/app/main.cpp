// The headless Tarnwick program: `tarnwick FILE` starts as the host starts the lab, on the input
// file it hands over (the material, the units, the thermal expansions); without one it refuses.
// Its job for now: the triaxial and oedometer tests of the new project run through the
// calculation kernel beside this program, and a short summary of their curves in the project's
// units. Read problems of the input file go to standard error, most severe first.
//
// `tarnwick FILE --run SCRIPT` (or `--run -` for standard input) runs a file of command lines on
// the project instead, through the command runner (CommandRunner.h): each command with what it
// answered on standard output, the first failing one on standard error with its line and
// position. Exit codes: 0 done, 1 a command failed, 2 the program could not start, 3 a fault of
// the program.

#include "app/CommandRunner.h"
#include "app/Startup.h"
#include "labtest/QBProject.h"
#include "materials/MaterialXTools.h"
#include "objects/ObjectManager.h"
#include "services/CommandLine.h"
#include "services/Format.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <numbers>

using namespace tw;

namespace {

// An oedometer test from 10 kPa vertical at K0 = 1 - sin(phi): loading to 400 kPa in 100 steps,
// unloading to 100 kPa in 50.
void SetUpOedometer(TQBTestBase& test, double k0) {
    test.SetInitialEffectiveStress(ldYY, -10e3);
    test.SetInitialEffectiveStress(ldXX, -10e3 * k0);
    test.SetInitialEffectiveStress(ldZZ, -10e3 * k0);
    TQBPhase& loading = test.Phases()[0];
    loading.SetSteps(100);
    loading.SetStressIncrement(ldYY, -390e3);
    test.AddNewPhase();
    TQBPhase& unloading = test.Phases()[1];
    unloading.SetSteps(50);
    unloading.SetBoundaryConditions(loading.BoundaryConditions());
    unloading.SetStressIncrement(ldYY, 300e3);
}

double Value(const TQBResults& results, int row, TQBResultType type) {
    return results.GetValueByType(row, type);
}

int PrintTriaxial(const TQBProject& project, const TKovSoilMaterialX& sand) {
    const TQBResults& results = project.TriaxialTest()->Results();
    const TSystemOfUnits& units = project.SystemOfUnits();
    if (results.RowCount() == 0) {
        std::cout << "Triaxial test: no results\n";
        return 1;
    }
    const std::string kPa = units.PresentationUnitText(qtPressure);
    auto pressure = [&](double pascal) { return units.ToPresentation(qtPressure, pascal); };
    int peak = 0;
    for (int row = 1; row < results.RowCount(); ++row)
        if (Value(results, row, rtQ) > Value(results, peak, rtQ))
            peak = row;
    const int last = results.RowCount() - 1;
    const double phi =
        TMaterialXTools::GetUserPropertyValueFrom(sand, "phi") * std::numbers::pi / 180.0;
    const double c = TMaterialXTools::GetUserPropertyValueFrom(sand, "cRef");
    const double sigma3 = -Value(results, 0, rtSigXX);
    // Drained compression ends on the Mohr-Coulomb line: q_f = 2 (c cos phi + s3 sin phi) /
    // (1 - sin phi).
    const double qf = 2 * (c * std::cos(phi) + sigma3 * std::sin(phi)) / (1 - std::sin(phi));
    std::cout << Format("Triaxial test, drained, cell pressure %.0f %s: %d steps\n",
                        pressure(sigma3), kPa, last)
              << Format("  peak deviatoric stress  q = %.1f %s at axial strain %.2f %%\n",
                        pressure(Value(results, peak, rtQ)), kPa,
                        -100 * Value(results, peak, rtEpsYY))
              << Format("  Mohr-Coulomb strength   q_f = %.1f %s\n", pressure(qf), kPa)
              << Format("  at the end: axial strain %.2f %%, volumetric strain %.3f %% (%s)\n",
                        -100 * Value(results, last, rtEpsYY),
                        std::fabs(100 * Value(results, last, rtEpsV)),
                        Value(results, last, rtEpsV) > 0 ? "expansion" : "compression");
    return 0;
}

int PrintOedometer(const TQBProject& project) {
    const TQBResults& results = project.OedometerTest()->Results();
    const TSystemOfUnits& units = project.SystemOfUnits();
    if (results.RowCount() < 3) {
        std::cout << "Oedometer test: no results\n";
        return 1;
    }
    const std::string kPa = units.PresentationUnitText(qtPressure);
    auto pressure = [&](double pascal) { return units.ToPresentation(qtPressure, pascal); };
    int loaded = 0;
    for (int row = 1; row < results.RowCount(); ++row)
        if (Value(results, row, rtSigYY) < Value(results, loaded, rtSigYY))
            loaded = row;
    const int last = results.RowCount() - 1;
    auto tangent = [&](int row) {
        return (Value(results, row, rtSigYY) - Value(results, row - 1, rtSigYY)) /
               (Value(results, row, rtEpsYY) - Value(results, row - 1, rtEpsYY));
    };
    std::cout << Format("Oedometer test, loading from %.0f to %.0f %s and unloading to %.0f %s: "
                        "%d steps\n",
                        -pressure(Value(results, 0, rtSigYY)),
                        -pressure(Value(results, loaded, rtSigYY)), kPa,
                        -pressure(Value(results, last, rtSigYY)), kPa, last)
              << Format("  vertical strain at the largest load %.3f %%, after unloading %.3f %%\n",
                        -100 * Value(results, loaded, rtEpsYY),
                        -100 * Value(results, last, rtEpsYY))
              << Format("  constrained modulus: loading %.0f %s, unloading %.0f %s\n",
                        pressure(tangent(loaded)), kPa, pressure(tangent(last)), kPa)
              << Format("  horizontal stress at the largest load %.1f %s (K = %.3f)\n",
                        -pressure(Value(results, loaded, rtSigXX)), kPa,
                        Value(results, loaded, rtSigXX) / Value(results, loaded, rtSigYY));
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    std::vector<std::string> arguments(argv + 1, argv + argc);
    std::string script, error;
    const bool runScript = TCommandRunner::ExtractRunOption(arguments, script, error);
    if (!error.empty()) {
        std::cerr << "tarnwick: " << error << std::endl;
        return 2;
    }
    TCommandLine::SetProgram(TCommandLine(arguments));
    try {
        TKovObjectManager manager;
        TStartupOutcome start = StartUp(TCommandLine::Program(), manager);
        for (const std::string& line : ReadFeedbackLines(start.ReadErrors))
            std::cerr << line << "\n";
        if (!start.Started()) {
            std::cerr << start.Title << ": " << start.Message << std::endl;
            return 2;
        }
        if (!start.KernelMessage.empty())
            std::cerr << start.KernelMessage << "\n";
        std::unique_ptr<TQBProject> project = std::move(start.Project);
        if (runScript) {
            TCommandRunner runner(*project, std::cout, std::cerr);
            return script == "-" ? runner.Run(std::cin, "-") : runner.RunFile(script);
        }
        const TKovSoilMaterialX& sand = *project->MainMaterialX();
        const TSystemOfUnits& units = project->SystemOfUnits();
        auto value = [&](const char* name) {
            const TKovIntrinsicProperty* property = sand.FindUserProperty(name);
            return property
                       ? FloatToStr(TMaterialXTools::GetPropertyPresentationValue(*property, units),
                                    6)
                       : std::string("-");
        };
        const std::string kPa = units.PresentationUnitText(qtPressure);
        std::cout << "Tarnwick: a laboratory for soil models\n\n"
                  << Format("Material \"%s\" (%s, %s): E' %s %s, nu' %s, c' %s %s, phi' %s "
                            "degrees, psi %s degrees\n\n",
                            sand.Identification(), sand.GetSoilModelName(),
                            DrainageTypeCaptions()[sand.DrainageType()], value("ERef"), kPa,
                            value("nu"), value("cRef"), kPa, value("phi"), value("psi"));

        // Jaky's K0 of a normally consolidated soil, 1 - sin phi'.
        const double k0 = 1 - std::sin(TMaterialXTools::GetUserPropertyValueFrom(sand, "phi") *
                                       std::numbers::pi / 180.0);
        SetUpOedometer(*project->OedometerTest(), k0);
        int failures = 0;
        for (TQBTestType type : {ttTriaxial, ttOedometer})
            if (!project->DoTest(type))
                ++failures;
        failures += PrintTriaxial(*project, sand);
        std::cout << "\n";
        failures += PrintOedometer(*project);
        return failures == 0 ? 0 : 1;
    } catch (const std::exception& e) {
        std::cerr << "tarnwick: " << e.what() << std::endl;
        return 1;
    }
}
