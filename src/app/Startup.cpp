#include "app/Startup.h"

#include "labtest/TarnwickPersistence.h"
#include "objects/ObjectManager.h"
#include "services/Format.h"
#include "services/Localisation.h"

#include <filesystem>

namespace tw {

namespace {
const char* const ProductName = "Tarnwick";

TStartupOutcome Refused(const std::string& message) {
    TStartupOutcome outcome;
    outcome.Message = message;
    outcome.Title = ProductName;
    return outcome;
}
} // namespace

TStartupOutcome StartUp(const TCommandLine& commandLine, TKovObjectManager& manager) {
    const std::string fileName = commandLine.Positional(1);
    if (fileName.empty())
        return Refused(Format(Translate("Orvane %s cannot run as a standalone application.\n"
                                        "Please run it from within the Orvane."),
                              ProductName));
    std::error_code error;
    if (!std::filesystem::is_regular_file(fileName, error))
        return Refused(Format(Translate("File %s was not found."), fileName));
    const TQBTestMethod method = commandLine.Positional(2) == "2" ? tm2D : tm3D;

    THighPerformanceMode highPerformance(&manager);
    TStartupOutcome outcome;
    std::unique_ptr<TTarnwickInput> input;
    try {
        const std::string path = std::filesystem::absolute(fileName, error).string();
        input = ReadTarnwickInput(path.empty() ? fileName : path, &outcome.ReadErrors);
    } catch (const std::exception& e) {
        TStartupOutcome refused =
            Refused(Translate("Unexpected data format while reading material from file.\n"
                              "Tarnwick will be closed.") +
                    "\n\n" + e.what());
        refused.ReadErrors = std::move(outcome.ReadErrors);
        refused.ReadErrors.SortByDecreasingSeverity();
        return refused;
    }
    outcome.ReadErrors.SortByDecreasingSeverity();

    std::unique_ptr<TKovMaterialX> material = input->ExtractMaterialX();
    std::unique_ptr<TKovSoilMaterialX> soil(dynamic_cast<TKovSoilMaterialX*>(material.get()));
    if (!soil)
        return Refused(Translate("Unexpected data format while reading material from file.\n"
                                 "Tarnwick will be closed."));
    material.release();
    {
        TRevertLock lock(&manager);
        outcome.Project =
            Make<TQBProject>(&manager, std::move(soil), method, &input->SystemOfUnits());
        outcome.Project->SetName("Project");
        outcome.Project->SetGravityAndWaterWeight(input->Gravity(),
                                                  input->RhoWater() * input->Gravity());
        outcome.Project->SetIceThermalExpansion(input->IceThermalExpansion());
        outcome.Project->SetLiquidThermalExpansion(input->LiquidThermalExpansion());
    }
    manager.ClearRevertStacks();
    const std::string kernel =
        outcome.Project->ApplicationDirectory() + outcome.Project->KernelExecutableName();
    if (!std::filesystem::exists(kernel, error))
        outcome.KernelMessage =
            Format(Translate("Kernel file is missing and tests can not be performed: %s"), kernel);
    return outcome;
}

std::vector<std::string> ReadFeedbackLines(const THPReadErrorList& errors) {
    std::vector<std::string> lines;
    for (int i = 0; i < errors.Count(); ++i) {
        const THPReadError& error = errors.GetError(i);
        const char* label;
        switch (error.Severity()) {
        case hresInfo:
            label = "Hint";
            break;
        case hresWarning:
            label = "Warning";
            break;
        case hresError:
            label = "Error";
            break;
        default:
            throw EKovException(
                Format("Unexpected error severity: %d", static_cast<int>(error.Severity())));
        }
        std::string line = Translate(label) + ": " + error.Error();
        if (error.TargetObjectsCount() > 0)
            line += " (" + error.TargetObjectNamesCommaSeparated() + ")";
        lines.push_back(line);
    }
    return lines;
}

} // namespace tw
