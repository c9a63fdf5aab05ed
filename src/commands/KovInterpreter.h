#pragma once
// The interpreter: the one gate through which the command line, macros, scripts and the remote
// server change the project. It takes one line, runs it against the objects of its namespace,
// and answers success, an error position (one-based, in 16-bit characters; -1 for none), an
// error text and additional text; the full outcome stands in LastOutput. It can also predict,
// without changing anything, whether a line may succeed.
//
// Each command runs inside one undo snapshot of the namespace, captioned with the line; a command
// that fails leaves nothing behind (its snapshot is rolled back), so a failed line changes
// nothing. Every user mistake is returned, never raised; an exception from a command's code is a
// program fault and passes to the caller after the snapshot has been rolled back.
//
// The interpreter belongs to the main thread. Only LastOutput is kept per thread. A command may
// run further lines (nested calls): Interpreting tells others that a line is in progress, and the
// activity observers hear only the outermost begin and end.

#include "commands/CommandHistory.h"
#include "commands/CommandOutput.h"
#include "commands/CommandParameters.h"
#include "commands/KovTokenizer.h"
#include "objects/Observer.h"
#include "objects/VarRec.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace tw {

class TKovCommand;
class TKovObjectManager;
class TKovTask;
class TKovTokenExpressionAtom;

class TKovInterpreter_Virtual {
public:
    TKovInterpreter_Virtual() = default;
    virtual ~TKovInterpreter_Virtual();
    TKovInterpreter_Virtual(const TKovInterpreter_Virtual&) = delete;
    TKovInterpreter_Virtual& operator=(const TKovInterpreter_Virtual&) = delete;

    // The outer frame around one line: activity, time and memory figures, AfterInterpret.
    bool Interpret(const std::string& text);
    bool Interpret(const std::string& text, int32_t& errorPos, std::string& errorText,
                   std::string& additionalText);

    bool Interpreting() const { return FInterpretingCount > 0; }
    // The duration of the last line in milliseconds (0x7FFFFFFF when the clock wrapped), and the
    // peak memory seen during it while memory monitoring is on (0 otherwise).
    uint32_t LastRunMilliSeconds() const { return FLastRunMilliSeconds; }
    int64_t LastRunMaxMemUseBytes() const { return FLastRunMaxMemUseBytes; }

    // Observers hear the first line begin and the last line end; the sender is the interpreter.
    void AttachActivityObserver(TObserver* observer) {
        FActivityObservable.AttachObserver(observer);
    }
    void DetachActivityObserver(TObserver* observer) {
        FActivityObservable.DetachObserver(observer);
    }

    // The text of an object inside a command.
    virtual std::string ObjectToCommandText(const TKovObject* object) const;
    // As ObjectToCommandText, for an intrinsic property or a feature too.
    virtual std::string AnyToCommandText(const TKovObject* object) const;
    // One argument: "True"/"False", digits, a quoted text, a number (a value within 1e-12 of an
    // integer as that integer), an object's command text.
    virtual std::string VarRecToCommandText(const TVarRec& value) const;
    virtual std::string GetParameterSeparator() const { return " "; }
    // The command name with a "_" in front (unless it has one), then each value.
    virtual std::string MakeCommandText(const std::string& command,
                                        const std::vector<TVarRec>& values) const;

    // The process-wide switch of the memory watch of each line.
    static void SetMemoryMonitoring(bool on);
    static bool MemoryMonitoring();
    // The millisecond clock; tests replace it to make it wrap. Empty restores the system's.
    static void SetTickCountFunction(std::function<uint32_t()> tickCount);

protected:
    virtual bool InterpretImplementation(const std::string& text, int32_t& errorPos,
                                         std::string& errorText, std::string& additionalText) = 0;
    virtual bool PredictImplementation(const std::string& text, int32_t& errorPos,
                                       std::string& errorText, std::string& additionalText) = 0;
    virtual void AfterInterpret(const std::string& /*text*/, bool /*success*/, int32_t /*errorPos*/,
                                const std::string& /*errorText*/,
                                const std::string& /*additionalText*/) {}

private:
    void StartMemoryMonitor();
    void StopMemoryMonitor();

    int32_t FInterpretingCount = 0;
    uint32_t FLastRunMilliSeconds = 0;
    std::atomic<int64_t> FLastRunMaxMemUseBytes{0};
    TObservable FActivityObservable{this};
    std::atomic<TKovTask*> FMemMonitorTask{nullptr};
};

// The user's variables: token values by name, compared without regard to case.
class TUserVariables {
public:
    void Clear() { FVars.clear(); }
    // The value of a variable, or nullptr.
    const TTokenData* GetVarData(const std::string& name) const;
    void SetVarData(const std::string& name, const TTokenData& data);
    int Count() const { return static_cast<int>(FVars.size()); }

private:
    struct TUserVariable {
        std::string FOriginalName;
        std::unique_ptr<TTokenData> FTokenData;
    };
    std::map<std::string, TUserVariable> FVars; // by lower-case name
};

// An object with one of its accessor's commands.
struct TObjectCommand {
    TKovObject* Object;
    TKovCommand* Command;
};

class TObjectCommandList : public std::vector<TObjectCommand> {
public:
    void Add(TKovObject* object, TKovCommand* command) { push_back({object, command}); }
    // The index of the pair with that command, or -1.
    int GetIndexOfCommand(const TKovCommand* command) const;
};

// What the interpreter resolves names in: the namespace (an object manager), the default objects
// (the targets of commands that name no object, in order; not owned) and the user variables.
class TInterpreterEnvironment {
public:
    TKovObjectManager* NameSpace() const { return FObjectNamespaceRef; }
    const std::vector<TKovObject*>& DefaultObjects() const { return FDefaultObjects; }
    TUserVariables& UserVariables() { return FUserVariables; }
    const TUserVariables& UserVariables() const { return FUserVariables; }

    void Reinitialize(TKovObjectManager* nameSpace, std::vector<TKovObject*> defaultObjects);
    void AddDefaultObject(TKovObject* object);
    bool HasDefaultObject(const TKovObject* object) const;
    // The default objects whose accessor has a command of that name, in order, with it.
    void GetDefaultObjectsSupportingCommand(const std::string& name,
                                            TObjectCommandList& list) const;
    // As above, limited to the commands that have a pattern for `parameters`.
    void GetDefaultCommandsCompatibleWith(const std::string& name,
                                          const TCommandParameterList& parameters,
                                          TObjectCommandList& list) const;
    // Takes the namespace and default objects of `source`; refuses one with user variables
    // ("Prediction failed because user variables are present!").
    void Assign(const TInterpreterEnvironment& source);

private:
    TKovObjectManager* FObjectNamespaceRef = nullptr;
    std::vector<TKovObject*> FDefaultObjects;
    TUserVariables FUserVariables;
};

// Another program's command language, reached by "/name command" as the whole line.
class TExternalInterpreter {
public:
    virtual ~TExternalInterpreter() = default;
    virtual std::string GetName() const = 0;
    virtual std::string GetShortName() const = 0;
    // The error position counts in the external command.
    virtual bool InterpretOrPredict(const std::string& command, int32_t& errorPos,
                                    std::string& errorText, std::string& additionalText,
                                    bool predict) = 0;
};

enum TKovInterpretState { pisBeforeExecution, pisAfterExecution };

class TKovInterpreter;
using TExecuteNotify = std::function<void(
    TKovInterpreter& interpreter, TKovObject* object, const std::string& commandName,
    const TCommandParameterList& parameters, TKovInterpretState state, const std::string& errorText,
    const std::string& additionalText, bool success)>;

class TKovInterpreter : public TKovInterpreter_Virtual {
public:
    // The histories are not owned and may be nullptr.
    TKovInterpreter(TKovObjectManager* nameSpace, std::vector<TKovObject*> defaultObjects = {},
                    TCommandHistory* successfulCommands = nullptr,
                    TCommandHistory* allCommands = nullptr);
    ~TKovInterpreter() override;

    using TKovInterpreter_Virtual::Interpret;
    // Builds the text by MakeCommandText and runs it.
    bool Interpret(const std::string& command, const std::vector<TVarRec>& values);
    bool Interpret(const std::string& command, TKovObject* object,
                   const std::vector<TVarRec>& values);
    // Parses and matches, and asks the pattern's prediction; runs nothing, records nothing.
    bool PredictExecuteMaySucceed(const std::string& text);
    bool PredictExecuteMaySucceed(const std::string& text, int32_t& errorPos,
                                  std::string& errorText, std::string& additionalText);

    using TKovInterpreter_Virtual::MakeCommandText;
    // With an object first, left out when it is the only default object with this command.
    std::string MakeCommandText(const std::string& command, TKovObject* object,
                                const std::vector<TVarRec>& values) const;
    std::string MakeCommandText(const std::string& command, TKovObject* object,
                                const TCommandParameterList& values) const;
    std::string ObjectToCommandText(const TKovObject* object) const override;

    void PreviewCommand(const std::string& text);
    // A name in the environment (`context` nullptr): the registry, then the default objects by
    // their commands-compatible name. In an object: its member; in an object-valued property:
    // the member of its value. nullptr when nothing has the name.
    TKovObject* ResolveObject(TKovObject* context, const std::string& name) const;
    // A trimmed line that begins with "##~": a comment that a replay passes over.
    static bool IsSkippableCommentLine(const std::string& line);

    // Owned.
    void AddExternalInterpreter(std::unique_ptr<TExternalInterpreter> external);
    void RemoveExternalInterpreter(const TExternalInterpreter* external);
    // Answers a handle for UnsubscribeFromNotifications.
    int SubscribeToNotifications(TExecuteNotify notify);
    void UnsubscribeFromNotifications(int handle);

    TCommandHistory* AllCommands() const { return FAllCommands; }
    TCommandHistory* SuccessfulCommands() const { return FSuccessfulCommands; }
    // The output of the last line run on the calling thread, or nullptr.
    const TCommandOutput* LastOutput() const;
    const std::string& LastObjectName() const { return FLastObjectName; }
    TInterpreterEnvironment& Environment() { return FEnvironment; }
    const TInterpreterEnvironment& Environment() const { return FEnvironment; }

    // The program's name and version in the first line of a run's log.
    static void SetProgramVersion(const std::string& version);

protected:
    bool InterpretImplementation(const std::string& text, int32_t& errorPos, std::string& errorText,
                                 std::string& additionalText) override;
    bool PredictImplementation(const std::string& text, int32_t& errorPos, std::string& errorText,
                               std::string& additionalText) override;
    void AfterInterpret(const std::string& text, bool success, int32_t errorPos,
                        const std::string& errorText, const std::string& additionalText) override;

private:
    friend class TLineEvaluator;
    bool CommonCore(const std::string& text, bool predict, int32_t& errorPos,
                    std::string& errorText, std::string& additionalText);
    void SetLastOutput(std::unique_ptr<TCommandOutput> output);
    void Notify(TKovObject* object, const std::string& commandName,
                const TCommandParameterList& parameters, TKovInterpretState state,
                const std::string& errorText, const std::string& additionalText, bool success);

    TInterpreterEnvironment FEnvironment;
    TCommandHistory* FSuccessfulCommands;
    TCommandHistory* FAllCommands;
    std::map<int, TExecuteNotify> FObservers;
    int FNextObserverHandle = 1;
    std::vector<std::unique_ptr<TExternalInterpreter>> FExternals;
    std::string FLastObjectName;
    bool FIsFirstCommandInRun = true;
    mutable std::mutex FLastOutputMutex;
    std::map<std::thread::id, std::unique_ptr<TCommandOutput>> FLastOutputs;
};

} // namespace tw
