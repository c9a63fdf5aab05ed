#include "commands/CommandOutput.h"

#include "services/Localisation.h"

namespace tw {

std::string CommandErrorCodeText(TCommandErrorCode code, const std::string& commandName,
                                 const std::string& objectText) {
    switch (code) {
    case cecNoError:
        return Translate("No error?! This indicates incorrect internal state.");
    case cecZeroCommandMatches:
        return Format(Translate("Command \"%s\" is not available for object %s"), commandName,
                      objectText);
    case cecZeroPatternMatches:
    case cecInvalidParameters:
        return Translate("Invalid parameters. Make sure that the specified parameters match the "
                         "ones that are expected.");
    case cecMultipleCommandMatches:
        return Format(Translate("Command \"%s\" has ambiguous meaning for object %s. Try using its "
                                "alternative name."),
                      commandName, objectText);
    case cecMultiplePatternMatches:
        return Translate("Parameter pattern is ambiguous. Try calling the command with a "
                         "different configuration of parameters.");
    case cecExecutionFailed:
        return Translate("Tried executing, but failed");
    case cecCouldNotExecute:
    case cecPatternNotImplemented:
        break;
    }
    return Format(Translate("Unknown error code (%d)"), static_cast<int>(code));
}

void TCommandOutput::InitializeAsOK() {
    FResultObjects.clear();
    FResultValues.clear();
    FJSONObject.reset();
    FAdditionalComments.clear();
    FErrorCode = cecNoError;
    FAdditionalInfo.clear();
}

void TCommandOutput::InitializeAsOK(const std::string& info) {
    InitializeAsOK();
    FAdditionalInfo = info;
}

void TCommandOutput::InitializeAsError(TCommandErrorCode code) {
    InitializeAsOK();
    FErrorCode = code;
}

void TCommandOutput::InitializeAsError(TCommandErrorCode code, const std::string& info) {
    InitializeAsError(code);
    FAdditionalInfo = info;
}

void TCommandOutput::AddAdditionalInfoLine(const std::string& line) {
    if (!FAdditionalInfo.empty())
        FAdditionalInfo += CommandLineBreak;
    FAdditionalInfo += line;
}

void TCommandOutput::AddResultObjectsFrom(const TCommandOutput& other) {
    FResultObjects.insert(FResultObjects.end(), other.FResultObjects.begin(),
                          other.FResultObjects.end());
}

void TCommandOutput::CopyResultObjectsFrom(const TCommandOutput& other) {
    FResultObjects = other.FResultObjects;
}

void TCommandOutput::Assign(const TCommandOutput& other) {
    FResultObjects = other.FResultObjects;
    FResultValues = other.FResultValues;
    FJSONObject = other.FJSONObject ? other.FJSONObject->Clone() : nullptr;
    FAdditionalComments = other.FAdditionalComments;
    FErrorCode = other.FErrorCode;
    FAdditionalInfo = other.FAdditionalInfo;
}

void TCommandOutput::UpdateFromFollowupCommand(const TCommandOutput& followup) {
    if (followup.HasError())
        FErrorCode = followup.FErrorCode;
    if (!followup.FAdditionalInfo.empty())
        AddAdditionalInfoLine(followup.FAdditionalInfo);
    FAdditionalComments.insert(FAdditionalComments.end(), followup.FAdditionalComments.begin(),
                               followup.FAdditionalComments.end());
    AddResultObjectsFrom(followup);
    FResultValues.insert(FResultValues.end(), followup.FResultValues.begin(),
                         followup.FResultValues.end());
    if (followup.FJSONObject)
        FJSONObject = followup.FJSONObject->Clone();
}

} // namespace tw
