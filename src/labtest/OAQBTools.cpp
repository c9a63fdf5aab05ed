#include "labtest/OAQBTools.h"

#include "labtest/QBProject.h"
#include "labtest/QBProjectTools.h"
#include "labtest/QBTestBase.h"
#include "materials/KovMaterialX.h"
#include "services/Format.h"
#include "services/Localisation.h"

#include <filesystem>

namespace tw {

namespace {

const TCommandNameRecord CalculateCommand{"calculate", "&Calculate", "ca"};
const TCommandNameRecord ValidateCommand{"validate", "&Validate", "val"};

std::string ObjectName(const TKovObject* object) {
    if (!object)
        return "<not assigned>";
    const auto* accessor = TObjectAccessors::Instance().GetAccessorFor(object);
    return accessor ? accessor->GetCommandsCompatibleObjectName(*object) : object->Name();
}

} // namespace

// ---------------------------------------------------------------------------------------------

TOAQBCalculationTools::TOAQBCalculationTools() : TOAKovObject(TQBCalculationTools::StaticClass()) {
    RemoveCommand("set");
    RemoveCommand("rename");
    AddCommand(CalculateCommand, {{TComParOrIPKovObject::Class()}},
               &TOAQBCalculationTools::ComCalculate);
}

void TOAQBCalculationTools::ComCalculate(TKovObject* object,
                                         const TCommandParameterList& parameters,
                                         TCommandOutput& output, bool predict) const {
    TKovObject* target = TComParOrIPKovObject::GetObject(*parameters[0]);
    auto* test = dynamic_cast<TQBTestBase*>(target);
    if (!test) {
        output.InitializeAsError(cecExecutionFailed,
                                 Format(Translate("%s is not a test object"), ObjectName(target)));
        return;
    }
    if (predict)
        return;
    TQBProject* project = static_cast<TQBCalculationTools&>(*object).ParentProject();
    if (!project || project->MainTests().ByTestType(test->TestType()) != test) {
        output.InitializeAsError(
            cecExecutionFailed,
            Format(Translate("%s is not a main test of the project"), ObjectName(test)));
        return;
    }
    TQBValidationFindings findings;
    if (const TKovMaterialX* material = project->MainMaterialX())
        TQBValidation::ValidateMaterial(*material, &project->SystemOfUnits(), findings);
    TQBValidation::ValidateTest(*test, findings);
    if (TQBValidation::ContainsErrors(findings)) {
        output.InitializeAsError(cecExecutionFailed,
                                 Format(Translate("%s cannot be calculated"), ObjectName(test)));
        for (TQBValidationSeverity severity : {qvsError, qvsWarning})
            for (const auto& finding : findings)
                if (finding.Severity == severity)
                    output.AddAdditionalInfoLine(TQBValidation::FindingLine(finding));
        return;
    }
    // Without its kernel the project would only tell the user; a command must fail, so that a
    // script stops here.
    if (!std::filesystem::exists(project->ApplicationDirectory() +
                                 project->KernelExecutableName())) {
        output.InitializeAsError(cecExecutionFailed, Translate("Test kernel not available."));
        return;
    }
    if (!project->DoTest(test->TestType())) {
        output.InitializeAsError(cecExecutionFailed,
                                 Translate("Error reading (a part of) the test results."));
        return;
    }
    for (const auto& finding : findings)
        output.AddAdditionalInfoLine(TQBValidation::FindingLine(finding));
    output.AddAdditionalInfoLine(Format(Translate("Calculated %s: %d result rows"),
                                        ObjectName(test), test->Results().RowCount()));
    output.AddResultObject(test);
}

// ---------------------------------------------------------------------------------------------

TOAQBSaveTools::TOAQBSaveTools() : TOAKovObject(TQBSaveTools::StaticClass()) {
    RemoveCommand("set");
    RemoveCommand("rename");
}

// ---------------------------------------------------------------------------------------------

TOAQBMaterialTools::TOAQBMaterialTools() : TOAKovObject(TQBMaterialTools::StaticClass()) {
    RemoveCommand("set");
    RemoveCommand("rename");
    auto& validate = AddCommand(ValidateCommand, {{TComParOrIPKovObject::Class()}},
                                &TOAQBMaterialTools::ComValidate);
    AddPattern(validate, {{TComParOrIPKovObject::Class(), FilterClass()}},
               &TOAQBMaterialTools::ComValidate);
}

const TComParClassRef& TOAQBMaterialTools::FilterClass() {
    // In the order of TQBValidationFilter.
    static const TComParClassRef cls = std::make_shared<TComParEnumeration>(
        std::vector<std::string>{"Errors", "Warnings", "All"}, "TComParValidateFeedbackFilter");
    return cls;
}

void TOAQBMaterialTools::ComValidate(TKovObject*, const TCommandParameterList& parameters,
                                     TCommandOutput& output, bool predict) const {
    int filter = qvfAll;
    if (parameters.Count() > 1)
        filter = static_cast<const TComParEnumeration&>(*FilterClass())
                     .TextToEnumIndex(static_cast<const TComParText&>(*parameters[1]).Value());
    ValidateMaterialCommand(TComParOrIPKovObject::GetObject(*parameters[0]), filter, output,
                            predict);
}

void ValidateMaterialCommand(TKovObject* object, int filter, TCommandOutput& output, bool predict) {
    const auto* material = dynamic_cast<const TKovMaterialX*>(object);
    if (!material) {
        output.InitializeAsError(cecExecutionFailed,
                                 Format(Translate("%s is not a material"), ObjectName(object)));
        return;
    }
    if (predict)
        return;
    TQBValidationFindings findings;
    TQBValidation::ValidateMaterial(*material, PresenterFor(material), findings);
    auto json = std::make_unique<TCDArray>();
    int shown = 0;
    for (TQBValidationSeverity severity : {qvsError, qvsWarning})
        for (const auto& finding : findings)
            if (finding.Severity == severity &&
                TQBValidation::PassesFilter(finding, static_cast<TQBValidationFilter>(filter))) {
                output.AddAdditionalInfoLine(TQBValidation::FindingLine(finding));
                json->AddSimpleValue(TQBValidation::FindingLine(finding));
                ++shown;
            }
    if (shown == 0)
        output.AddAdditionalInfoLine(Translate("No problems found."));
    output.SetJSONObject(std::move(json));
    output.AddResultObject(object);
}

} // namespace tw
