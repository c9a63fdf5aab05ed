#include "commands/KovInterpreter.h"

#include "commands/KovTaskController.h"
#include "commands/KovTokenExpressions.h"
#include "commands/ObjectAccessors.h"
#include "objects/IntrinsicPropertyDeclarationList.h"
#include "objects/IntrinsicPropertyDerivedKinds.h"
#include "objects/ObjectManager.h"
#include "services/Format.h"
#include "services/Localisation.h"
#include "services/RuntimeSettings.h"
#include "services/Strings.h"

#include <chrono>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <unistd.h>

#ifndef TW_PROGRAM_VERSION
#define TW_PROGRAM_VERSION ""
#endif

namespace tw {

namespace {

std::atomic<bool> MemoryMonitoringOn{false};

std::mutex TickCountMutex;
std::function<uint32_t()> TickCountFunction;

uint32_t TickCount() {
    {
        std::lock_guard lock(TickCountMutex);
        if (TickCountFunction)
            return TickCountFunction();
    }
    return static_cast<uint32_t>(std::chrono::duration_cast<std::chrono::milliseconds>(
                                     std::chrono::steady_clock::now().time_since_epoch())
                                     .count());
}

std::mutex ProgramVersionMutex;
std::string ProgramVersion = TW_PROGRAM_VERSION;

std::string ProgramFileName() {
    std::error_code error;
    const auto path = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::string("tarnwick") : path.filename().string();
}

// The memory the process holds privately: resident anonymous pages, else the whole resident set.
int64_t CurrentMemoryBytes() {
    std::ifstream status("/proc/self/status");
    std::string line;
    int64_t resident = 0;
    while (std::getline(status, line)) {
        const bool anonymous = line.rfind("RssAnon:", 0) == 0;
        if (anonymous || line.rfind("VmRSS:", 0) == 0) {
            const int64_t kilobytes = std::atoll(line.c_str() + line.find(':') + 1);
            if (anonymous)
                return kilobytes * 1024;
            resident = kilobytes * 1024;
        }
    }
    return resident;
}

// Watches the memory of the process every 10 ms while a line runs.
class TMemMonitorTask : public TKovTask {
public:
    TMemMonitorTask() : TKovTask("Memory monitor", tppIdle) {}
    int64_t MaxMemUseBytes() const { return FMaxMemUseBytes.load(); }
    void RequestStop() { FStop = true; }

protected:
    void Execute() override {
        SetActivity("Watching memory", tafCanStop);
        while (!FStop && !Stopped()) {
            FMaxMemUseBytes = std::max(FMaxMemUseBytes.load(), CurrentMemoryBytes());
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
            NotifyProgress();
        }
        FMaxMemUseBytes = std::max(FMaxMemUseBytes.load(), CurrentMemoryBytes());
    }

private:
    std::atomic<int64_t> FMaxMemUseBytes{0};
    std::atomic<bool> FStop{false};
};

constexpr const char* UnknownObjectText =
    "Unknown object. Check the spelling and ensure the object exists before trying to access it.";
constexpr const char* VariableMissingText =
    "Variable does not exist. Check the spelling and "
    "ensure the variable is assigned before referencing it.";

bool IsOperandWord(const TTokenData& data, const char* word) {
    const auto* operand = dynamic_cast<const TTokenDataOperand*>(&data);
    return operand && LowerCase(operand->GetValue()) == word;
}

} // namespace

// ---------------------------------------------------------------------------------------------
// The outer frame

TKovInterpreter_Virtual::~TKovInterpreter_Virtual() {
    StopMemoryMonitor();
}

void TKovInterpreter_Virtual::SetMemoryMonitoring(bool on) {
    MemoryMonitoringOn = on;
}

bool TKovInterpreter_Virtual::MemoryMonitoring() {
    return MemoryMonitoringOn;
}

void TKovInterpreter_Virtual::SetTickCountFunction(std::function<uint32_t()> tickCount) {
    std::lock_guard lock(TickCountMutex);
    TickCountFunction = std::move(tickCount);
}

void TKovInterpreter_Virtual::StartMemoryMonitor() {
    if (FMemMonitorTask.load())
        return; // a nested line: the outer one's watch goes on
    auto* task = new TMemMonitorTask();
    FMemMonitorTask = task;
    // On the worker, as the task ends: the figure, then the task is let go. The interpreter
    // frees it once this has run, so that nothing here touches a freed task.
    task->SetOnFinished([this](TKovTask* finished) {
        if (finished != FMemMonitorTask.load())
            throw EKovTaskError("Unexpected task!");
        auto* monitor = static_cast<TMemMonitorTask*>(finished);
        FLastRunMaxMemUseBytes = monitor->MaxMemUseBytes();
        std::exception_ptr failure = TKovTask::ExtractFatalException(*monitor);
        FMemMonitorTask = nullptr;
        if (failure)
            std::rethrow_exception(failure);
    });
    TKovTaskController::ExecuteAsync(*task, true);
}

void TKovInterpreter_Virtual::StopMemoryMonitor() {
    auto* task = static_cast<TMemMonitorTask*>(FMemMonitorTask.load());
    if (!task)
        return;
    task->RequestStop();
    while (FMemMonitorTask.load())
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    delete task;
}

bool TKovInterpreter_Virtual::Interpret(const std::string& text) {
    int32_t errorPos;
    std::string errorText, additionalText;
    return Interpret(text, errorPos, errorText, additionalText);
}

bool TKovInterpreter_Virtual::Interpret(const std::string& text, int32_t& errorPos,
                                        std::string& errorText, std::string& additionalText) {
    errorPos = -1;
    errorText.clear();
    additionalText.clear();
    FLastRunMilliSeconds = 0;
    if (++FInterpretingCount == 1)
        FActivityObservable.NotifyObservers(this);
    const bool outermost = FInterpretingCount == 1;
    if (outermost)
        FLastRunMaxMemUseBytes = 0;
    if (outermost && MemoryMonitoring())
        StartMemoryMonitor();

    auto close = [&](bool success) {
        if (outermost)
            StopMemoryMonitor();
        AfterInterpret(text, success, errorPos, errorText, additionalText);
        if (--FInterpretingCount == 0)
            FActivityObservable.NotifyObservers(this);
    };
    const uint32_t start = TickCount();
    bool success = false;
    try {
        success = InterpretImplementation(text, errorPos, errorText, additionalText);
    } catch (const std::exception& e) {
        const uint32_t end = TickCount();
        FLastRunMilliSeconds = end < start ? 0x7FFFFFFF : end - start;
        errorText = e.what();
        close(false);
        throw;
    } catch (...) {
        close(false);
        throw;
    }
    const uint32_t end = TickCount();
    FLastRunMilliSeconds = end < start ? 0x7FFFFFFF : end - start;
    close(success);
    return success;
}

std::string TKovInterpreter_Virtual::ObjectToCommandText(const TKovObject* object) const {
    return AnyToCommandText(object);
}

std::string TKovInterpreter_Virtual::AnyToCommandText(const TKovObject* object) const {
    if (!object)
        throw ECommandError(Format("Cannot handle objects of class %s", "nil"));
    const auto* accessor = TObjectAccessors::Instance().GetAccessorFor(object);
    return accessor ? accessor->GetCommandsCompatibleObjectName(*object) : object->Name();
}

std::string TKovInterpreter_Virtual::VarRecToCommandText(const TVarRec& value) const {
    return std::visit(
        [this](const auto& v) -> std::string {
            using T = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<T, bool>)
                return v ? "True" : "False";
            else if constexpr (std::is_same_v<T, int32_t>)
                return std::to_string(v);
            else if constexpr (std::is_same_v<T, std::string>)
                return QuoteCommandText(v);
            else if constexpr (std::is_same_v<T, double>) {
                const double rounded = std::round(v);
                if (std::isfinite(v) && std::fabs(v - rounded) < 1e-12 && v != -1.0)
                    return Format("%.0f", rounded);
                return NumberToCommandText(v);
            } else
                return ObjectToCommandText(v);
        },
        value);
}

std::string TKovInterpreter_Virtual::MakeCommandText(const std::string& command,
                                                     const std::vector<TVarRec>& values) const {
    std::string text = StartsText("_", command) ? command : "_" + command;
    for (const auto& value : values) {
        text += GetParameterSeparator();
        text += VarRecToCommandText(value);
    }
    return text;
}

// ---------------------------------------------------------------------------------------------
// Environment

const TTokenData* TUserVariables::GetVarData(const std::string& name) const {
    auto it = FVars.find(LowerCase(Trim(name)));
    return it == FVars.end() ? nullptr : it->second.FTokenData.get();
}

void TUserVariables::SetVarData(const std::string& name, const TTokenData& data) {
    FVars[LowerCase(Trim(name))] = {name, data.Clone()};
}

int TObjectCommandList::GetIndexOfCommand(const TKovCommand* command) const {
    for (size_t i = 0; i < size(); ++i)
        if ((*this)[i].Command == command)
            return static_cast<int>(i);
    return -1;
}

void TInterpreterEnvironment::Reinitialize(TKovObjectManager* nameSpace,
                                           std::vector<TKovObject*> defaultObjects) {
    FObjectNamespaceRef = nameSpace;
    FDefaultObjects = std::move(defaultObjects);
}

void TInterpreterEnvironment::AddDefaultObject(TKovObject* object) {
    if (object && !HasDefaultObject(object))
        FDefaultObjects.push_back(object);
}

bool TInterpreterEnvironment::HasDefaultObject(const TKovObject* object) const {
    return std::find(FDefaultObjects.begin(), FDefaultObjects.end(), object) !=
           FDefaultObjects.end();
}

void TInterpreterEnvironment::GetDefaultObjectsSupportingCommand(const std::string& name,
                                                                 TObjectCommandList& list) const {
    list.clear();
    for (TKovObject* object : FDefaultObjects) {
        const auto* accessor = TObjectAccessors::Instance().GetAccessorFor(object);
        TCommandErrorCode code;
        if (TKovCommand* command = accessor ? accessor->GetCommandByName(name, code) : nullptr)
            list.Add(object, command);
    }
}

void TInterpreterEnvironment::GetDefaultCommandsCompatibleWith(
    const std::string& name, const TCommandParameterList& parameters,
    TObjectCommandList& list) const {
    TObjectCommandList supporting;
    GetDefaultObjectsSupportingCommand(name, supporting);
    list.clear();
    for (const auto& pair : supporting)
        if (pair.Command->HasPatternThatMatches(parameters))
            list.push_back(pair);
}

void TInterpreterEnvironment::Assign(const TInterpreterEnvironment& source) {
    if (source.FUserVariables.Count() > 0)
        throw ECommandError("Prediction failed because user variables are present!");
    FObjectNamespaceRef = source.FObjectNamespaceRef;
    FDefaultObjects = source.FDefaultObjects;
}

// ---------------------------------------------------------------------------------------------
// Evaluating a line

class TLineEvaluator {
public:
    TLineEvaluator(TKovInterpreter& interpreter, bool predict)
        : FInterpreter(interpreter), FPredict(predict) {}

    bool Run(const TKovTokenExpressionMultiple& root, const std::string& line,
             std::string& additional);
    int32_t ErrorPos = -1;
    std::string ErrorText;

private:
    // The variables a variable may pass through before it must hold a value.
    static constexpr int MaxVariableDepth = 16;

    bool Fail(const TKovToken* token, const std::string& text) {
        ErrorPos = token ? token->OriginalPosition() : 1;
        ErrorText = Translate(text);
        return false;
    }
    bool Evaluate(const TKovTokenExpressionAtom& atom, TCommandParameterRef& result);
    bool EvaluateData(const TTokenData& data, const TKovToken* token, TCommandParameterRef& result,
                      int depth);
    bool EvaluateChain(const TKovTokenExpressionMultiple_ClassifierSeparated& chain,
                       TKovObject*& result);
    bool EvaluateIndexer(const TKovTokenExpressionMultiple_ArrayIndexer& indexer,
                         TKovObject*& result);
    bool Execute(TKovObject* target, TKovCommand& command, const std::string& name,
                 const TCommandParameterList& parameters, const std::string& line,
                 const TKovToken* nameToken, std::string& additional);

    TKovInterpreter& FInterpreter;
    bool FPredict;
};

bool TLineEvaluator::Evaluate(const TKovTokenExpressionAtom& atom, TCommandParameterRef& result) {
    if (const auto* single = dynamic_cast<const TKovTokenExpressionSingle*>(&atom))
        return EvaluateData(single->Token()->Data(), single->Token(), result, 0);
    if (const auto* chain =
            dynamic_cast<const TKovTokenExpressionMultiple_ClassifierSeparated*>(&atom)) {
        TKovObject* object = nullptr;
        if (!EvaluateChain(*chain, object))
            return false;
        result = std::make_shared<TComParObject>(object);
        return true;
    }
    if (const auto* indexer =
            dynamic_cast<const TKovTokenExpressionMultiple_ArrayIndexer*>(&atom)) {
        TKovObject* object = nullptr;
        if (!EvaluateIndexer(*indexer, object))
            return false;
        result = std::make_shared<TComParObject>(object);
        return true;
    }
    if (const auto* brackets = dynamic_cast<const TKovTokenExpressionMultiple_Brackets*>(&atom)) {
        if (brackets->BracketType() == btCurly)
            return Fail(brackets->FirstToken(), "Command name expected");
        const int count = brackets->AtomCountExcludingAnyBrackets();
        if (brackets->BracketType() == btSquare && count == 1)
            return Evaluate(*brackets->GetAtomExcludingAnyBrackets(0), result);
        auto set = std::make_shared<TComParSetOfParameters_Input>();
        for (int i = 0; i < count; ++i) {
            TCommandParameterRef item;
            if (!Evaluate(*brackets->GetAtomExcludingAnyBrackets(i), item))
                return false;
            set->Items().Add(std::move(item));
        }
        result = std::move(set);
        return true;
    }
    throw ECommandError(Format("Unexpected atom type: %s", typeid(atom).name()));
}

bool TLineEvaluator::EvaluateData(const TTokenData& data, const TKovToken* token,
                                  TCommandParameterRef& result, int depth) {
    if (const auto* integer = dynamic_cast<const TTokenDataInteger*>(&data)) {
        result = std::make_shared<TComParInteger>(integer->Value());
    } else if (const auto* number = dynamic_cast<const TTokenDataDouble*>(&data)) {
        result = std::make_shared<TComParDouble>(number->Value());
    } else if (const auto* text = dynamic_cast<const TTokenDataText*>(&data)) {
        result = std::make_shared<TComParText>(text->GetValue());
    } else if (const auto* identifier = dynamic_cast<const TTokenDataIdentifier*>(&data)) {
        TKovObject* object = FInterpreter.ResolveObject(nullptr, identifier->GetValue());
        if (!object)
            return Fail(token, UnknownObjectText);
        result = std::make_shared<TComParObject>(object);
    } else if (const auto* variable = dynamic_cast<const TTokenDataUserVar*>(&data)) {
        const TTokenData* value =
            FInterpreter.FEnvironment.UserVariables().GetVarData(variable->GetValue());
        if (!value || depth >= MaxVariableDepth)
            return Fail(token, VariableMissingText);
        return EvaluateData(*value, token, result, depth + 1);
    } else if (IsOperandWord(data, "true") || IsOperandWord(data, "false")) {
        result = std::make_shared<TComParBoolean>(IsOperandWord(data, "true"));
    } else {
        return Fail(token, "Invalid token. Check the spelling.");
    }
    return true;
}

bool TLineEvaluator::EvaluateChain(const TKovTokenExpressionMultiple_ClassifierSeparated& chain,
                                   TKovObject*& result) {
    const TKovTokenExpressionAtom* first = chain.GetAtom(0);
    TKovObject* object = nullptr;
    if (const auto* indexer =
            dynamic_cast<const TKovTokenExpressionMultiple_ArrayIndexer*>(first)) {
        if (!EvaluateIndexer(*indexer, object))
            return false;
    } else if (const auto* single = dynamic_cast<const TKovTokenExpressionSingle*>(first)) {
        std::string name;
        if (const auto* identifier = single->DataAs<TTokenDataIdentifier>()) {
            name = identifier->GetValue();
        } else if (const auto* variable = single->DataAs<TTokenDataUserVar>()) {
            const TTokenData* value =
                FInterpreter.FEnvironment.UserVariables().GetVarData(variable->GetValue());
            if (!value)
                return Fail(single->Token(), VariableMissingText);
            const auto* held = dynamic_cast<const TTokenDataIdentifier*>(value);
            if (!held)
                return Fail(single->Token(),
                            Format("%s expected, but %s found", "Identifier", value->TypeName()));
            name = held->GetValue();
        } else {
            throw ECommandError(
                "Expected identifier or user var at start of classifier-separated expression");
        }
        object = FInterpreter.ResolveObject(nullptr, name);
        if (!object)
            return Fail(single->Token(), UnknownObjectText);
    } else {
        throw ECommandError(
            "Expected identifier or user var at start of classifier-separated expression");
    }
    for (int i = 1; i < chain.AtomCount(); ++i) {
        const auto* single = dynamic_cast<const TKovTokenExpressionSingle*>(chain.GetAtom(i));
        const auto* identifier = single ? single->DataAs<TTokenDataIdentifier>() : nullptr;
        if (!identifier)
            throw ECommandError("Expected identifier in class-separated expression");
        object = FInterpreter.ResolveObject(object, identifier->GetValue());
        if (!object)
            return Fail(single->Token(), UnknownObjectText);
    }
    result = object;
    return true;
}

bool TLineEvaluator::EvaluateIndexer(const TKovTokenExpressionMultiple_ArrayIndexer& indexer,
                                     TKovObject*& result) {
    TCommandParameterRef left;
    if (!Evaluate(*indexer.Indexed(), left))
        return false;
    const auto* leftObject = dynamic_cast<const TComParObject*>(left.get());
    TKovObject* object = leftObject ? leftObject->Object() : nullptr;
    if (const auto* reference = dynamic_cast<const TIPKovObject*>(object))
        object = reference->Value();
    const TObjectToListConverter* converter =
        object ? TObjectToListConverters::Instance().GetConverterFor(*object) : nullptr;
    auto* observable = dynamic_cast<TKovObservableObject*>(object);
    const auto* brackets = indexer.Brackets();
    const TKovToken* innerToken = brackets->FirstTokenExcludingAnyBrackets();
    if (!innerToken)
        innerToken = brackets->FirstToken();
    if (!converter && !observable)
        return Fail(indexer.FirstToken(),
                    "Indexer only applicable to listables or objects with properties.");
    if (brackets->AtomCountExcludingAnyBrackets() != 1)
        return Fail(innerToken, "Indexer must be either an integer or a string");
    TCommandParameterRef inner;
    if (!Evaluate(*brackets->GetAtomExcludingAnyBrackets(0), inner))
        return false;
    if (const auto* integer = dynamic_cast<const TComParInteger*>(inner.get())) {
        if (!converter)
            return Fail(innerToken, "Integer indexer only applicable to listable objects");
        result = converter->GetItem(*object, integer->Value());
        if (result)
            return true;
        const int count = converter->GetCount(*object);
        if (count > 0)
            return Fail(innerToken,
                        Format(Translate("Cannot access item %d of \"%s\" (valid indices are %d to "
                                         "%d)"),
                               integer->Value(), object->Name(), 0, count - 1));
        return Fail(innerToken,
                    Format(Translate("Listable \"%s\" contains no items"), object->Name()));
    }
    if (const auto* text = dynamic_cast<const TComParText*>(inner.get())) {
        if (!observable)
            return Fail(innerToken, "String indexer only applicable to objects with properties");
        const auto* accessor = TObjectAccessors::Instance().GetAccessorFor(object);
        result = accessor ? accessor->FindMember(*object, text->Value()) : nullptr;
        if (!result)
            result = observable->GetIntrinsicPropertyByName(text->Value());
        if (!result)
            return Fail(innerToken,
                        Format(Translate("Invalid indexer \"%s\" for object \"%s\" (check "
                                         "spelling)"),
                               text->Value(), object->Name()));
        return true;
    }
    return Fail(innerToken, "Indexer must be either an integer or a string");
}

bool TLineEvaluator::Run(const TKovTokenExpressionMultiple& root, const std::string& line,
                         std::string& additional) {
    if (root.AtomCount() == 0)
        throw ECommandError("Multiple expression cannot have zero size!");
    TCommandParameterList parameters;
    for (int i = 1; i < root.AtomCount(); ++i) {
        TCommandParameterRef parameter;
        if (!Evaluate(*root.GetAtom(i), parameter))
            return false;
        parameters.Add(std::move(parameter));
    }
    const auto* first = dynamic_cast<const TKovTokenExpressionSingle*>(root.GetAtom(0));
    const auto* identifier = first ? first->DataAs<TTokenDataIdentifier>() : nullptr;
    if (!identifier)
        return Fail(root.GetAtom(0)->FirstToken(), "Command name expected");
    const TKovToken* nameToken = first->Token();
    std::string name = identifier->GetValue();
    if (name.size() > 1 && name[0] == '_' && name[1] != '_')
        name.erase(0, 1);

    const TObjectAccessors& accessors = TObjectAccessors::Instance();
    TKovObject* target = nullptr;
    TKovCommand* command = nullptr;
    TCommandParameterList arguments;
    bool candidate = false;
    TKovObject* firstObject = nullptr;
    TCommandErrorCode firstObjectCode = cecNoError;

    // The first parameter may be the object the command is addressed to.
    if (const auto* object =
            parameters.Empty() ? nullptr : dynamic_cast<const TComParObject*>(parameters[0]);
        object && object->Object()) {
        firstObject = object->Object();
        TKovObject* candidateObject = firstObject;
        const auto* accessor = accessors.GetAccessorFor(candidateObject);
        TKovCommand* found = accessor ? accessor->GetCommandByName(name, firstObjectCode) : nullptr;
        if (!accessor)
            firstObjectCode = cecZeroCommandMatches;
        if (!found) {
            if (const auto* reference = dynamic_cast<const TIPKovObject*>(candidateObject);
                reference && reference->Value()) {
                candidateObject = reference->Value();
                const auto* valueAccessor = accessors.GetAccessorFor(candidateObject);
                TCommandErrorCode code;
                found = valueAccessor ? valueAccessor->GetCommandByName(name, code) : nullptr;
            }
        }
        if (found) {
            candidate = true;
            TCommandParameterList rest(parameters);
            rest.Delete(0);
            if (found->HasPatternThatMatches(rest)) {
                target = candidateObject;
                command = found;
                arguments = std::move(rest);
            }
        }
    }
    // Otherwise the first default object whose command takes the whole list.
    TObjectCommandList supporting;
    if (!target) {
        FInterpreter.FEnvironment.GetDefaultObjectsSupportingCommand(name, supporting);
        for (const auto& pair : supporting)
            if (pair.Command->HasPatternThatMatches(parameters)) {
                target = pair.Object;
                command = pair.Command;
                arguments = parameters;
                break;
            }
    }
    if (!target) {
        if (firstObject && !candidate)
            return Fail(nameToken,
                        CommandErrorCodeText(firstObjectCode, name,
                                             FInterpreter.ObjectToCommandText(firstObject)));
        if (supporting.empty() && !candidate)
            return Fail(nameToken,
                        Format(Translate("Command \"%s\" is not recognized as a global command. "
                                         "Check the spelling or try specifying a target object."),
                               name));
        return Fail(nameToken, "Invalid parameters. Make sure that the specified parameters match "
                               "the ones that are expected.");
    }
    return Execute(target, *command, name, arguments, line, nameToken, additional);
}

bool TLineEvaluator::Execute(TKovObject* target, TKovCommand& command, const std::string& name,
                             const TCommandParameterList& parameters, const std::string& line,
                             const TKovToken* nameToken, std::string& additional) {
    if (!FPredict)
        FInterpreter.Notify(target, name, parameters, pisBeforeExecution, "", "", true);
    auto output = std::make_unique<TCommandOutput>();
    TKovObjectManager* manager = FInterpreter.FEnvironment.NameSpace();
    // One undo step per command, rolled back when the command fails.
    const bool snapshot = !FPredict && manager && !command.RunsOutsideUndoSnapshot();
    bool success = false;
    try {
        if (snapshot)
            manager->UndoBeginSnapshot(Trim(line));
        success = FPredict ? command.PredictExecuteMaySucceed(target, parameters, *output)
                           : command.Execute(target, parameters, *output);
    } catch (const std::exception& e) {
        if (snapshot)
            manager->UndoEndSnapshotWithRollback();
        if (!FPredict)
            FInterpreter.Notify(target, name, parameters, pisAfterExecution, e.what(), "", false);
        throw;
    }
    if (snapshot) {
        if (success)
            manager->UndoEndSnapshot();
        else
            manager->UndoEndSnapshotWithRollback();
    }

    additional = output->AdditionalInfo();
    if (!FPredict && success && output->ResultObjectsCount() > 0 && output->GetResultObject(0))
        FInterpreter.FLastObjectName = output->GetResultObject(0)->Name();
    if (!success && additional.empty())
        additional = CommandErrorCodeText(output->ErrorCode(), name,
                                          FInterpreter.ObjectToCommandText(target));
    if (!output->AdditionalComments().empty()) {
        const std::string comments = Join(output->AdditionalComments(), CommandLineBreak);
        additional = additional.empty() ? comments : additional + CommandLineBreak + comments;
    }
    if (!success) {
        ErrorPos = nameToken->OriginalPosition();
        ErrorText = additional;
    }
    if (!FPredict) {
        FInterpreter.SetLastOutput(std::move(output));
        FInterpreter.Notify(target, name, parameters, pisAfterExecution, ErrorText, additional,
                            success);
    }
    return success;
}

// ---------------------------------------------------------------------------------------------
// The interpreter

TKovInterpreter::TKovInterpreter(TKovObjectManager* nameSpace,
                                 std::vector<TKovObject*> defaultObjects,
                                 TCommandHistory* successfulCommands, TCommandHistory* allCommands)
    : FSuccessfulCommands(successfulCommands), FAllCommands(allCommands) {
    FEnvironment.Reinitialize(nameSpace, std::move(defaultObjects));
}

TKovInterpreter::~TKovInterpreter() = default;

void TKovInterpreter::SetProgramVersion(const std::string& version) {
    std::lock_guard lock(ProgramVersionMutex);
    ProgramVersion = version;
}

bool TKovInterpreter::Interpret(const std::string& command, const std::vector<TVarRec>& values) {
    return TKovInterpreter_Virtual::Interpret(MakeCommandText(command, values));
}

bool TKovInterpreter::Interpret(const std::string& command, TKovObject* object,
                                const std::vector<TVarRec>& values) {
    return TKovInterpreter_Virtual::Interpret(MakeCommandText(command, object, values));
}

bool TKovInterpreter::PredictExecuteMaySucceed(const std::string& text) {
    int32_t errorPos;
    std::string errorText, additionalText;
    return PredictExecuteMaySucceed(text, errorPos, errorText, additionalText);
}

bool TKovInterpreter::PredictExecuteMaySucceed(const std::string& text, int32_t& errorPos,
                                               std::string& errorText,
                                               std::string& additionalText) {
    return PredictImplementation(text, errorPos, errorText, additionalText);
}

std::string TKovInterpreter::MakeCommandText(const std::string& command, TKovObject* object,
                                             const std::vector<TVarRec>& values) const {
    std::vector<TVarRec> all;
    if (object) {
        TObjectCommandList supporting;
        FEnvironment.GetDefaultObjectsSupportingCommand(
            StartsText("_", command) ? command.substr(1) : command, supporting);
        const bool implied = FEnvironment.HasDefaultObject(object) && supporting.size() == 1 &&
                             supporting[0].Object == object;
        if (!implied)
            all.push_back(object);
    }
    all.insert(all.end(), values.begin(), values.end());
    return MakeCommandText(command, all);
}

std::string TKovInterpreter::MakeCommandText(const std::string& command, TKovObject* object,
                                             const TCommandParameterList& values) const {
    std::string text = MakeCommandText(command, object, std::vector<TVarRec>{});
    for (int i = 0; i < values.Count(); ++i) {
        text += GetParameterSeparator();
        if (const auto* set = dynamic_cast<const TComParSetOfParameters_Input*>(values[i])) {
            std::string inner;
            for (int k = 0; k < set->Count(); ++k) {
                if (k > 0)
                    inner += GetParameterSeparator();
                inner += set->GetItem(k)->AsText();
            }
            text += Format("(%s)", inner);
        } else if (const auto* object = dynamic_cast<const TComParObject*>(values[i])) {
            text += ObjectToCommandText(object->Object());
        } else {
            text += values[i]->AsText();
        }
    }
    return text;
}

std::string TKovInterpreter::ObjectToCommandText(const TKovObject* object) const {
    return AnyToCommandText(object);
}

void TKovInterpreter::PreviewCommand(const std::string& text) {
    if (FAllCommands)
        FAllCommands->PreviewCommand(text);
}

TKovObject* TKovInterpreter::ResolveObject(TKovObject* context, const std::string& name) const {
    if (!context) {
        TKovObjectManager* manager = FEnvironment.NameSpace();
        TKovObject* object = manager ? manager->ObjectRegistry().GetObject(name) : nullptr;
        if (object)
            return object;
        for (TKovObject* candidate : FEnvironment.DefaultObjects())
            if (SameText(CommandsCompatibleName(candidate->Name()), name))
                return candidate;
        return nullptr;
    }
    TKovObject* member = nullptr;
    if (dynamic_cast<TKovObservableObject*>(context)) {
        const auto* accessor = TObjectAccessors::Instance().GetAccessorFor(context);
        member = accessor ? accessor->FindMember(*context, name) : nullptr;
    }
    if (!member)
        if (const auto* reference = dynamic_cast<const TIPKovObject*>(context);
            reference && reference->Value())
            member = ResolveObject(reference->Value(), name);
    return member;
}

bool TKovInterpreter::IsSkippableCommentLine(const std::string& line) {
    return StartsText("##~", Trim(line));
}

void TKovInterpreter::AddExternalInterpreter(std::unique_ptr<TExternalInterpreter> external) {
    FExternals.push_back(std::move(external));
}

void TKovInterpreter::RemoveExternalInterpreter(const TExternalInterpreter* external) {
    std::erase_if(FExternals, [&](const auto& e) { return e.get() == external; });
}

int TKovInterpreter::SubscribeToNotifications(TExecuteNotify notify) {
    FObservers.emplace(FNextObserverHandle, std::move(notify));
    return FNextObserverHandle++;
}

void TKovInterpreter::UnsubscribeFromNotifications(int handle) {
    FObservers.erase(handle);
}

void TKovInterpreter::Notify(TKovObject* object, const std::string& commandName,
                             const TCommandParameterList& parameters, TKovInterpretState state,
                             const std::string& errorText, const std::string& additionalText,
                             bool success) {
    const auto observers = FObservers;
    for (const auto& [handle, notify] : observers)
        notify(*this, object, commandName, parameters, state, errorText, additionalText, success);
}

const TCommandOutput* TKovInterpreter::LastOutput() const {
    std::lock_guard lock(FLastOutputMutex);
    auto it = FLastOutputs.find(std::this_thread::get_id());
    return it == FLastOutputs.end() ? nullptr : it->second.get();
}

void TKovInterpreter::SetLastOutput(std::unique_ptr<TCommandOutput> output) {
    std::lock_guard lock(FLastOutputMutex);
    if (output)
        FLastOutputs[std::this_thread::get_id()] = std::move(output);
    else
        FLastOutputs.erase(std::this_thread::get_id());
}

bool TKovInterpreter::InterpretImplementation(const std::string& text, int32_t& errorPos,
                                              std::string& errorText, std::string& additionalText) {
    if (FIsFirstCommandInRun) {
        FIsFirstCommandInRun = false;
        if (!TRuntimeSettings::Get("NO_LOG_VERSION_COMMENT")) {
            std::string version;
            {
                std::lock_guard lock(ProgramVersionMutex);
                version = ProgramVersion;
            }
            TKovInterpreter_Virtual::Interpret(
                Format("%s running %s %s", "##~", ProgramFileName(), version));
        }
    }
    return CommonCore(text, false, errorPos, errorText, additionalText);
}

bool TKovInterpreter::PredictImplementation(const std::string& text, int32_t& errorPos,
                                            std::string& errorText, std::string& additionalText) {
    return CommonCore(text, true, errorPos, errorText, additionalText);
}

bool TKovInterpreter::CommonCore(const std::string& text, bool predict, int32_t& errorPos,
                                 std::string& errorText, std::string& additionalText) {
    errorPos = -1;
    errorText.clear();
    additionalText.clear();
    TKovTokenizer tokenizer(text);

    if (tokenizer.TokenCount() == 1) {
        if (const auto* external = tokenizer.GetToken(0)->DataAs<TTokenDataExternalInterpreter>()) {
            TExternalInterpreter* found = nullptr;
            for (const auto& candidate : FExternals)
                if (SameText(candidate->GetName(), external->InterpreterName()) ||
                    SameText(candidate->GetShortName(), external->InterpreterName())) {
                    found = candidate.get();
                    break;
                }
            if (!found) {
                errorPos = tokenizer.GetToken(0)->OriginalPosition();
                errorText = Format(Translate("No external application named \"%s\" was found."),
                                   external->InterpreterName());
                return false;
            }
            int32_t position = -1;
            std::string externalError, externalAdditional;
            const bool success = found->InterpretOrPredict(
                external->ExternalCommand(), position, externalError, externalAdditional, predict);
            if (success || !externalError.empty()) {
                errorPos =
                    position == -1
                        ? -1
                        : position +
                              static_cast<int32_t>(Utf16Length(external->InterpreterName())) + 2;
                errorText = externalError;
                additionalText = externalAdditional;
                return success;
            }
        }
    }

    if (!predict)
        SetLastOutput(nullptr);
    if (tokenizer.HasError()) {
        errorPos = tokenizer.ErrorPos();
        errorText = tokenizer.ErrorMessage().empty()
                        ? Translate("Invalid token. Check the spelling.")
                        : tokenizer.ErrorMessage();
        return false;
    }
    if (tokenizer.TokenCount() == 0)
        return false;
    TKovTokenExpressionTool tool(tokenizer);
    if (tool.ErrorCount() > 0) {
        errorText = tool.GetErrorString(0);
        errorPos = tokenizer.TokenNrToTextPos(tool.GetErrorTokenNr(0));
        return false;
    }
    // A line of comments only.
    if (tool.RootExpression().AtomCount() == 0)
        return true;
    TLineEvaluator evaluator(*this, predict);
    const bool success = evaluator.Run(tool.RootExpression(), text, additionalText);
    errorPos = evaluator.ErrorPos;
    errorText = evaluator.ErrorText;
    return success;
}

void TKovInterpreter::AfterInterpret(const std::string& text, bool success, int32_t errorPos,
                                     const std::string& errorText,
                                     const std::string& additionalText) {
    const TCommandOutput* output = LastOutput();
    const std::string comments =
        output ? Join(output->AdditionalComments(), CommandLineBreak) : std::string();
    const std::string& info = success ? additionalText : errorText;
    if (FAllCommands)
        FAllCommands->AddCommand(text, success, errorPos, info, comments);
    if (FSuccessfulCommands && success)
        FSuccessfulCommands->AddCommand(text, success, errorPos, info, comments);
}

} // namespace tw
