#include "commands/KovCommands.h"

#include "services/Strings.h"

namespace tw {

std::string TKovParameterPattern::AsText() const {
    return FExpectedParameterClasses.Count() == 0 ? "no parameters"
                                                  : FExpectedParameterClasses.AsText();
}

bool TKovParameterPattern::Execute(TKovObject*, const TCommandParameterList&,
                                   TCommandOutput& output) {
    output.InitializeAsError(cecPatternNotImplemented);
    return false;
}

bool TKovParameterPattern::PredictExecuteMaySucceed(TKovObject*, const TCommandParameterList&,
                                                    TCommandOutput&) {
    return true;
}

bool TKovParameterPattern::Matches(const TCommandParameterList& parameters) const {
    if (parameters.Empty())
        return FExpectedParameterClasses.Count() == 0;
    int position = 0;
    int matched = 0;
    return FExpectedParameterClasses.Matches(parameters, position, matched) &&
           position == parameters.Count();
}

std::vector<TCommandParameterList>
TKovParameterPattern::Split(const TCommandParameterList& parameters) const {
    std::vector<TCommandParameterList> groups;
    int position = 0;
    if (FExpectedParameterClasses.Count() == 0 && parameters.Empty())
        return groups;
    if (!FExpectedParameterClasses.Collect(parameters, position, groups) ||
        position != parameters.Count())
        throw ECommandError("Command Pattern Execute called for an unsupported parameter set!");
    return groups;
}

bool TPatternClassMethod::Execute(TKovObject* object, const TCommandParameterList& parameters,
                                  TCommandOutput& output) {
    if (!Matches(parameters))
        throw ECommandError("Command Pattern Execute called for an unsupported parameter set!");
    output.InitializeAsOK();
    if (FRunnerWithPrediction)
        FRunnerWithPrediction(object, parameters, output, false);
    else
        FRunner(object, parameters, output);
    return !output.HasError();
}

bool TPatternClassMethod::PredictExecuteMaySucceed(TKovObject* object,
                                                   const TCommandParameterList& parameters,
                                                   TCommandOutput& output) {
    if (!FRunnerWithPrediction)
        return true;
    output.InitializeAsOK();
    FRunnerWithPrediction(object, parameters, output, true);
    return !output.HasError();
}

// ---------------------------------------------------------------------------------------------

TKovCommand::TKovCommand(const std::string& name, const std::string& shortName,
                         const std::string& caption) {
    SetName(name);
    SetShortName(shortName);
    SetCaption(caption);
}

void TKovCommand::SetName(const std::string& name) {
    FName = Trim(name);
    FLowerName = LowerCase(FName);
}

void TKovCommand::SetShortName(const std::string& shortName) {
    FShortName = Trim(shortName);
    FLowerShortName = LowerCase(FShortName);
}

void TKovCommand::SetCaption(const std::string& caption) {
    FCaption = Trim(caption);
}

void TKovCommand::Assign(const TKovCommand& source) {
    SetName(source.FName);
    SetShortName(source.FShortName);
    SetCaption(source.FCaption);
    FRunsOutsideUndoSnapshot = source.FRunsOutsideUndoSnapshot;
}

std::string TKovCommand::PatternLine(int index) const {
    std::string line = FName;
    if (!FShortName.empty())
        line += " (" + FShortName + ")";
    return line + " " + GetSupportedPattern(index).AsText();
}

bool TKovCommand::Matches(const std::string& name) const {
    const std::string lower = LowerCase(Trim(name));
    return !lower.empty() && (lower == FLowerName || lower == FLowerShortName);
}

TKovParameterPattern* TKovCommand::ChoosePattern(const TCommandParameterList& parameters,
                                                 TCommandErrorCode& code) const {
    TKovParameterPattern* found = nullptr;
    int count = 0;
    for (int i = 0; i < GetSupportedPatternCount(); ++i)
        if (GetSupportedPattern(i).Matches(parameters)) {
            found = &GetSupportedPattern(i);
            ++count;
        }
    code = count == 0 ? cecZeroPatternMatches : count > 1 ? cecMultiplePatternMatches : cecNoError;
    return count == 1 ? found : nullptr;
}

bool TKovCommand::Run(TKovObject* object, const TCommandParameterList& parameters,
                      TCommandOutput& output, bool predict) {
    TCommandErrorCode code;
    TKovParameterPattern* pattern = ChoosePattern(parameters, code);
    if (!pattern) {
        output.InitializeAsError(code);
        return false;
    }
    return predict ? pattern->PredictExecuteMaySucceed(object, parameters, output)
                   : pattern->Execute(object, parameters, output);
}

bool TKovCommand::Execute(TKovObject* object, const TCommandParameterList& parameters,
                          TCommandOutput& output) {
    return Run(object, parameters, output, false);
}

bool TKovCommand::PredictExecuteMaySucceed(TKovObject* object,
                                           const TCommandParameterList& parameters,
                                           TCommandOutput& output) {
    return Run(object, parameters, output, true);
}

bool TKovCommand::PredictExecuteMaySucceed(TKovObject* object,
                                           const TCommandParameterList& parameters) {
    TCommandOutput output;
    return PredictExecuteMaySucceed(object, parameters, output);
}

bool TKovCommand::HasPatternThatMatches(const TCommandParameterList& parameters) const {
    for (int i = 0; i < GetSupportedPatternCount(); ++i)
        if (GetSupportedPattern(i).Matches(parameters))
            return true;
    return false;
}

bool TKovCommand::HasPatternThatMatchesExactly(const TKovCommand& command,
                                               const TCommandParameterList& parameters) {
    for (int i = 0; i < command.GetSupportedPatternCount(); ++i) {
        const auto& classes = command.GetSupportedPattern(i).ExpectedParameterClasses();
        if (classes.Count() != parameters.Count())
            continue;
        bool exact = true;
        for (int k = 0; k < classes.Count() && exact; ++k)
            exact = &classes.GetItem(k) == &parameters[k]->ParamClass();
        if (exact)
            return true;
    }
    return false;
}

TKovParameterPattern&
TKovCommandWithInternalPatterns::AddPattern(std::unique_ptr<TKovParameterPattern> pattern) {
    FSupportedPatterns.push_back(std::move(pattern));
    return *FSupportedPatterns.back();
}

TKovParameterPattern& TCommandExternal::AddPattern(TCommandParameterClassList classes,
                                                   TCommandClassMethod runner) {
    return AddPattern(std::make_unique<TPatternClassMethod>(std::move(classes), std::move(runner)));
}

TKovParameterPattern& TCommandExternal::AddPattern(TCommandParameterClassList classes,
                                                   TCommandClassMethodWithPrediction runner) {
    return AddPattern(std::make_unique<TPatternClassMethod>(std::move(classes), std::move(runner)));
}

TKovParameterPattern& TCommandStandalone::AddPattern(TCommandParameterClassList classes) {
    return TKovCommandWithInternalPatterns::AddPattern(std::make_unique<TPatternClassMethod>(
        std::move(classes), TCommandClassMethodWithPrediction(
                                [this](TKovObject* object, const TCommandParameterList& parameters,
                                       TCommandOutput& output, bool predict) {
                                    Run(object, parameters, output, predict);
                                })));
}

// ---------------------------------------------------------------------------------------------

TKovCommand& TKovCommandList::Add(std::unique_ptr<TKovCommand> command) {
    if (!FAllowDuplicateNames)
        for (const auto& existing : FItems)
            if (existing->Matches(command->Name()) ||
                (!command->ShortName().empty() && existing->Matches(command->ShortName())))
                throw ECommandError(Format("Adding command \"%s\" to command list leads to clash "
                                           "with already existing \"%s\"",
                                           command->Name(), existing->Name()));
    FItems.push_back(std::move(command));
    Notify(laAdded);
    return *FItems.back();
}

TKovCommand& TKovCommandList::AddOrReplace(std::unique_ptr<TKovCommand> command) {
    RemoveByName(command->Name());
    if (!command->ShortName().empty())
        RemoveByName(command->ShortName());
    return Add(std::move(command));
}

TKovCommand* TKovCommandList::GetByName(const std::string& name, TCommandErrorCode& code) const {
    std::lock_guard lock(FCacheMutex);
    if (const TCacheEntry* cached = _FNameCache.Find(name)) {
        code = cached->Code;
        return cached->Command;
    }
    TKovCommand* found = nullptr;
    int count = 0;
    for (const auto& command : FItems)
        if (command->Matches(name)) {
            found = command.get();
            ++count;
        }
    code = count == 0 ? cecZeroCommandMatches : count > 1 ? cecMultipleCommandMatches : cecNoError;
    if (count != 1)
        found = nullptr;
    if (_FNameCache.Count() >= MaxCachedNames)
        _FNameCache.Clear();
    _FNameCache.AddOrSet(name, {found, code});
    return found;
}

int TKovCommandList::GetIndexOfName(const std::string& name) const {
    for (int i = 0; i < Count(); ++i)
        if (FItems[i]->Matches(name))
            return i;
    return -1;
}

bool TKovCommandList::RemoveByName(const std::string& name) {
    const size_t before = FItems.size();
    std::erase_if(FItems, [&](const std::unique_ptr<TKovCommand>& c) { return c->Matches(name); });
    if (FItems.size() == before)
        return false;
    Notify(laRemoved);
    return true;
}

size_t TKovCommandList::CachedNameCount() const {
    std::lock_guard lock(FCacheMutex);
    return _FNameCache.Count();
}

void TKovCommandList::Notify(int action) {
    if (action != laAdded && action != laRemoved)
        throw ECommandError(Format("Unexpected action: %d", action));
    std::lock_guard lock(FCacheMutex);
    _FNameCache.Clear();
}

namespace {
template <typename Runner>
std::unique_ptr<TCommandExternal> MakeExternal(const TCommandNameRecord& names,
                                               TCommandParameterClassList classes, Runner runner) {
    auto command = std::make_unique<TCommandExternal>(names.Name, names.ShortName, names.Caption);
    command->AddPattern(std::move(classes), std::move(runner));
    return command;
}
} // namespace

TCommandExternal& TEasyCommandList::AddExternal(const TCommandNameRecord& names,
                                                TCommandParameterClassList classes,
                                                TCommandClassMethod runner) {
    return static_cast<TCommandExternal&>(
        Add(MakeExternal(names, std::move(classes), std::move(runner))));
}

TCommandExternal& TEasyCommandList::AddExternal(const TCommandNameRecord& names,
                                                TCommandParameterClassList classes,
                                                TCommandClassMethodWithPrediction runner) {
    return static_cast<TCommandExternal&>(
        Add(MakeExternal(names, std::move(classes), std::move(runner))));
}

} // namespace tw
