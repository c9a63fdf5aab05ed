#include "commands/MultiObjectCommands.h"

#include "commands/KovGroup.h"
#include "commands/ObjectAccessors.h"
#include "services/Localisation.h"

namespace tw {

bool TMultiObjectParamCommandHandler::Execute(const std::vector<TKovObject*>& objects,
                                              const std::string& commandName,
                                              const TCommandParameterList& parameters,
                                              TCommandOutput& output, bool predict) {
    for (const TKovObject* object : objects)
        if (object && objects.front() &&
            object->ObjectManager() != objects.front()->ObjectManager()) {
            output.InitializeAsError(
                cecExecutionFailed,
                Translate("Not all target objects have the same object manager"));
            return false;
        }
    output.InitializeAsOK();
    for (TKovObject* object : objects) {
        if (!object)
            continue;
        const auto* accessor = TObjectAccessors::Instance().GetAccessorFor(object);
        TCommandErrorCode code = cecZeroCommandMatches;
        TKovCommand* command = accessor ? accessor->GetCommandByName(commandName, code) : nullptr;
        TCommandOutput one;
        const bool success =
            command && (predict ? command->PredictExecuteMaySucceed(object, parameters, one)
                                : command->Execute(object, parameters, one));
        if (!command)
            one.InitializeAsError(
                code,
                CommandErrorCodeText(code, commandName,
                                     accessor ? accessor->ObjectToText(object) : object->Name()));
        else if (!success && one.AdditionalInfo().empty())
            one.SetAdditionalInfo(
                CommandErrorCodeText(one.ErrorCode(), commandName, accessor->ObjectToText(object)));
        if (!success) {
            // The run is rolled back: only the failure stands.
            output = one;
            return false;
        }
        output.UpdateFromFollowupCommand(one);
    }
    return true;
}

bool TGroupCommandHandler::Execute(const TKovGroup& group, const std::string& commandName,
                                   const TCommandParameterList& parameters, TCommandOutput& output,
                                   bool predict) {
    return TMultiObjectParamCommandHandler::Execute(group.Items(), commandName, parameters, output,
                                                    predict);
}

bool TExecuteEventHelper::Execute(TKovObject* object, TKovCommand& command,
                                  const TCommandParameterList& parameters, TCommandOutput& output,
                                  bool predict) const {
    if (FBefore)
        FBefore(object, command);
    bool success = false;
    try {
        success = predict ? command.PredictExecuteMaySucceed(object, parameters, output)
                          : command.Execute(object, parameters, output);
    } catch (...) {
        if (FAfter)
            FAfter(object, command, false);
        throw;
    }
    if (FAfter)
        FAfter(object, command, success);
    return success;
}

} // namespace tw
