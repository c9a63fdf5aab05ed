#include "labtest/QBTestFileHandler.h"

#include "commands/KovTaskController.h"
#include "labtest/TarnwickResults.h"
#include "services/Format.h"
#include "services/Localisation.h"

#include <filesystem>

namespace tw {

TQBTestFileHandler::TQBTestFileHandler(std::string taskTitle, std::string fileName,
                                       TOnHandleFile onHandleFile)
    : TKovTask(taskTitle), FFileName(std::move(fileName)), FOnHandleFile(std::move(onHandleFile)),
      FTaskTitle(std::move(taskTitle)) {}

void TQBTestFileHandler::Execute() {
    SetActivity(FFileName, tafHasProgress, 0, 1);
    try {
        FOnHandleFile(*this);
    } catch (const std::exception& e) {
        FHasError = true;
        FErrorMessage = e.what();
    }
    SetActivityKeepingFlags(FFileName, 1, 1);
}

bool TQBTestFileHandler::Run() {
    TKovTaskController::ExecuteThreaded(*this);
    return !FHasError;
}

namespace {
// The identification a loaded test shows: the file's name. The material's comments say it too.
void Identify(TQBTestBase& test, const std::string& identification) {
    auto* material = dynamic_cast<TKovMaterialX*>(test.Material());
    if (!material)
        return;
    for (TKovIntrinsicProperty* property :
         {material->FindUserProperty("MXComments"), material->FindInternalProperty("MXComments")})
        if (auto* text = dynamic_cast<TIPText*>(property))
            text->SetValue(identification);
}
} // namespace

TOpenTestFilesReport OpenTestResultFiles(TQBProject& project,
                                         const std::vector<std::string>& fileNames) {
    TOpenTestFilesReport report;
    const int count = static_cast<int>(fileNames.size());
    for (int i = 0; i < count; ++i) {
        const std::string& fileName = fileNames[i];
        std::unique_ptr<TQBTestBase> test;
        THPReadErrorList errors;
        TQBTestFileHandler handler(
            Format(Translate("Loading file %d of %d"), i + 1, count), fileName,
            [&](TQBTestFileHandler&) { test = ReadTestResultsFile(fileName, &errors); });
        if (!handler.Run() || !test) {
            report.Messages.push_back(
                Format(Translate("Unexpected data format while loading file %s."), fileName) +
                "\n" + handler.ErrorMessage());
            continue;
        }
        for (int k = 0; k < errors.Count(); ++k) {
            const THPReadError& error = errors.GetError(k);
            report.ReadErrors.AddError(error.Severity(), Format("%s: %s", fileName, error.Error()),
                                       error.TargetObjectNamesCommaSeparated());
        }
        const std::string identification = std::filesystem::path(fileName).filename().string();
        Identify(*test, identification);
        project.AddLoadedTest(std::move(test), identification);
        ++report.Loaded;
    }
    report.ReadErrors.SortByDecreasingSeverity();
    return report;
}

std::string SaveTestResultFile(TQBProject& project, TQBTestType testType,
                               const std::string& fileName) {
    TQBTestFileHandler handler(Translate("Saving"), fileName, [&](TQBTestFileHandler&) {
        project.WriteTestResultsXML(fileName, testType);
    });
    handler.Run();
    return handler.HasError() ? handler.ErrorMessage() : std::string();
}

} // namespace tw
