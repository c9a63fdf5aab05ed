#include "labtest/OAQBTools.h"

#include "labtest/QBPersisters.h"
#include "labtest/QBProject.h"
#include "labtest/QBProjectTools.h"
#include "labtest/QBTestBase.h"
#include "labtest/QBTestFileHandler.h"
#include "labtest/TarnwickResults.h"
#include "labtest/TestConfigurationSelector.h"
#include "materials/KovMaterialX.h"
#include "services/Format.h"
#include "services/Localisation.h"
#include "services/Strings.h"
#include "services/UserMessages.h"
#include "storage/HierarchicStorage.h"

#include <filesystem>

namespace tw {

namespace {

const TCommandNameRecord CalculateCommand{"calculate", "&Calculate", "ca"};
const TCommandNameRecord SaveCommand{"save", "&Save", "sv"};
const TCommandNameRecord LoadConfigurationCommand{"loadconfiguration", "&Load configuration",
                                                  "lcf"};
const TCommandNameRecord ValidateCommand{"validate", "&Validate", "val"};

std::string ObjectName(const TKovObject* object) {
    if (!object)
        return "<not assigned>";
    const auto* accessor = TObjectAccessors::Instance().GetAccessorFor(object);
    return accessor ? accessor->GetCommandsCompatibleObjectName(*object) : object->Name();
}

// The test a tool command names first; nullptr, with the command's error, when it names none.
TQBTestBase* TestParameter(const TCommandParameterList& parameters, TCommandOutput& output) {
    TKovObject* target = TComParOrIPKovObject::GetObject(*parameters[0]);
    auto* test = dynamic_cast<TQBTestBase*>(target);
    if (!test)
        output.InitializeAsError(cecExecutionFailed,
                                 Format(Translate("%s is not a test object"), ObjectName(target)));
    return test;
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
    TQBTestBase* test = TestParameter(parameters, output);
    if (!test)
        return;
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
        if (!project->LastKernelMessage().empty())
            output.AddAdditionalInfoLine(project->LastKernelMessage());
        return;
    }
    for (const auto& finding : findings)
        output.AddAdditionalInfoLine(TQBValidation::FindingLine(finding));
    if (!project->LastKernelMessage().empty())
        output.AddAdditionalInfoLine(project->LastKernelMessage());
    output.AddAdditionalInfoLine(Format(Translate("Calculated %s: %d result rows"),
                                        ObjectName(test), test->Results().RowCount()));
    output.AddResultObject(test);
}

// ---------------------------------------------------------------------------------------------

TOAQBSaveTools::TOAQBSaveTools() : TOAKovObject(TQBSaveTools::StaticClass()) {
    RemoveCommand("set");
    RemoveCommand("rename");
    AddCommand(SaveCommand, {{TComParOrIPKovObject::Class(), TComParOrIPText::Class()}},
               &TOAQBSaveTools::ComSave);
    AddCommand(LoadConfigurationCommand,
               {{TComParOrIPKovObject::Class(), TComParOrIPText::Class()}},
               &TOAQBSaveTools::ComLoadConfiguration);
}

std::string TOAQBSaveTools::TestFileName(const std::string& name) {
    RegisterTarnwickPersistence(); // the storage formats among them
    return THierarchicStorageRegistry::Instance().GetStorageByExtension(name) ? name
                                                                              : name + ".twt.kovml";
}

void TOAQBSaveTools::ComSave(TKovObject*, const TCommandParameterList& parameters,
                             TCommandOutput& output, bool predict) const {
    TQBTestBase* test = TestParameter(parameters, output);
    if (!test)
        return;
    if (!test->HasResults()) {
        output.InitializeAsError(cecExecutionFailed, Translate("There is no testdata to save."));
        return;
    }
    const std::string name = Trim(TComParOrIPText::GetValue(*parameters[1]));
    if (name.empty()) {
        output.InitializeAsError(cecExecutionFailed, Translate("Could not write to:") + " \"\"");
        return;
    }
    if (predict)
        return;
    const std::string fileName = TestFileName(name);
    // The file is written through a temporary file beside it and put in place at the end, so a
    // failed write leaves an old file as it was. The test itself is only read.
    TQBTestFileHandler handler(Translate("Saving"), fileName, [test](TQBTestFileHandler& self) {
        WriteTestResultsFile(*test, self.FileName());
    });
    if (!handler.Run()) {
        output.InitializeAsError(cecExecutionFailed,
                                 Translate("Could not write to:") + " " + fileName);
        output.AddAdditionalInfoLine(handler.ErrorMessage());
        return;
    }
    if (!test->MaterialInSyncWithTest())
        output.AddAdditionalInfoLine(
            Translate("Warning: Test results are possibly out of sync with material data."));
    output.AddAdditionalInfoLine(Format(Translate("Saved %s to %s"), ObjectName(test), fileName));
    output.AddResultObject(test);
}

void TOAQBSaveTools::ComLoadConfiguration(TKovObject* object,
                                          const TCommandParameterList& parameters,
                                          TCommandOutput& output, bool predict) const {
    TQBTestBase* test = TestParameter(parameters, output);
    if (!test)
        return;
    const std::string fileName = Trim(TComParOrIPText::GetValue(*parameters[1]));
    std::error_code error;
    if (!std::filesystem::is_regular_file(fileName, error)) {
        output.InitializeAsError(cecExecutionFailed,
                                 Format(Translate("File %s was not found."), fileName));
        return;
    }
    if (predict)
        return;
    TQBProject* project = static_cast<TQBSaveTools&>(*object).ParentProject();
    if (!project) {
        output.InitializeAsError(cecExecutionFailed, Translate("Global helpers not initialized."));
        return;
    }
    // The test takes the configuration's setup and keeps its results and material; a file that
    // can't be read, or one of another test type, leaves it as it was. The interpreter makes the
    // change one undo step.
    const TConfigurationStore::TLoadReport report =
        TConfigurationStore::Read(*test, fileName, project->SystemOfUnits());
    if (!report.Loaded()) {
        output.InitializeAsError(cecExecutionFailed, report.Message);
        return;
    }
    // Options the test can't have were dropped: the user is told, as when the window loads it.
    if (!report.Warning.empty())
        UserMessages().ShowMessage(report.Warning, "Tarnwick");
    output.AddAdditionalInfoLine(
        Format(Translate("Loaded %s from %s"), ObjectName(test), fileName));
    output.AddResultObject(test);
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
