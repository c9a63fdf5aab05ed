#pragma once
// Running one command on several objects: the members of a group, the items of a list, the
// objects a sequence parameter matched. The objects must share one object manager, so that the
// whole run is one undo step; the first failure ends the run, and the interpreter then rolls the
// step back.

#include "commands/KovCommands.h"

#include <functional>
#include <string>
#include <vector>

namespace tw {

class TKovGroup;

class TMultiObjectParamCommandHandler {
public:
    // Runs `commandName` with `parameters` on each object through its accessor; the outputs add
    // up in `output`. Fails with "Not all target objects have the same object manager" before
    // anything runs when the objects live in different managers.
    static bool Execute(const std::vector<TKovObject*>& objects, const std::string& commandName,
                        const TCommandParameterList& parameters, TCommandOutput& output,
                        bool predict);
};

class TGroupCommandHandler {
public:
    // As above, on the members of a group.
    static bool Execute(const TKovGroup& group, const std::string& commandName,
                        const TCommandParameterList& parameters, TCommandOutput& output,
                        bool predict);
};

// Calls back around one command: before it runs, and after, with its outcome.
class TExecuteEventHelper {
public:
    using TBefore = std::function<void(TKovObject* object, const TKovCommand& command)>;
    using TAfter =
        std::function<void(TKovObject* object, const TKovCommand& command, bool success)>;
    TExecuteEventHelper(TBefore before, TAfter after)
        : FBefore(std::move(before)), FAfter(std::move(after)) {}
    // The after call comes also when the command raises, with success false.
    bool Execute(TKovObject* object, TKovCommand& command, const TCommandParameterList& parameters,
                 TCommandOutput& output, bool predict) const;

private:
    TBefore FBefore;
    TAfter FAfter;
};

} // namespace tw
