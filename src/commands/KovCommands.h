#pragma once
// Commands and their parameter patterns. A command is a name (and a short name that stands for it
// in a line) with a list of patterns; a pattern is a list of parameter classes and a runner.
// Overload resolution is matching: exactly one pattern must take all the parameters; none is
// preferred over another, so two patterns that can take the same list are a declaration fault
// that shows as "ambiguous".
//
// A runner reports a user's mistake in the output's error code and returns; it raises only for
// program faults. A runner with prediction is called with `predict` set to check without
// changing anything.

#include "commands/CommandOutput.h"
#include "commands/CommandParameters.h"
#include "objects/RadixTree.h"

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace tw {

using TCommandClassMethod = std::function<void(
    TKovObject* object, const TCommandParameterList& parameters, TCommandOutput& output)>;
using TCommandClassMethodWithPrediction =
    std::function<void(TKovObject* object, const TCommandParameterList& parameters,
                       TCommandOutput& output, bool predict)>;

class TKovParameterPattern {
public:
    explicit TKovParameterPattern(TCommandParameterClassList classes = {})
        : FExpectedParameterClasses(std::move(classes)) {}
    virtual ~TKovParameterPattern() = default;

    void CopyExpectedParameterClassesFrom(const TKovParameterPattern& other) {
        FExpectedParameterClasses = other.FExpectedParameterClasses;
    }
    // "<Integer> <Text>", or "no parameters".
    std::string AsText() const;
    // Sets the output and answers success; the base has no runner (cecPatternNotImplemented).
    virtual bool Execute(TKovObject* object, const TCommandParameterList& parameters,
                         TCommandOutput& output);
    // Checks without changing anything; a pattern without prediction counts as a success.
    virtual bool PredictExecuteMaySucceed(TKovObject* object,
                                          const TCommandParameterList& parameters,
                                          TCommandOutput& output);
    // An empty list matches only a pattern without classes; otherwise the classes must take the
    // whole list.
    bool Matches(const TCommandParameterList& parameters) const;
    // What each class of a matching pattern takes, one list per class; raises ECommandError for
    // a list the pattern doesn't match.
    std::vector<TCommandParameterList> Split(const TCommandParameterList& parameters) const;
    const TCommandParameterClassList& ExpectedParameterClasses() const {
        return FExpectedParameterClasses;
    }

private:
    TCommandParameterClassList FExpectedParameterClasses;
};

class TPatternClassMethod : public TKovParameterPattern {
public:
    TPatternClassMethod(TCommandParameterClassList classes, TCommandClassMethod runner)
        : TKovParameterPattern(std::move(classes)), FRunner(std::move(runner)) {}
    TPatternClassMethod(TCommandParameterClassList classes,
                        TCommandClassMethodWithPrediction runner)
        : TKovParameterPattern(std::move(classes)), FRunnerWithPrediction(std::move(runner)) {}
    // Raises ECommandError "Command Pattern Execute called for an unsupported parameter set!" for
    // parameters the pattern doesn't match.
    bool Execute(TKovObject* object, const TCommandParameterList& parameters,
                 TCommandOutput& output) override;
    bool PredictExecuteMaySucceed(TKovObject* object, const TCommandParameterList& parameters,
                                  TCommandOutput& output) override;

private:
    TCommandClassMethod FRunner;
    TCommandClassMethodWithPrediction FRunnerWithPrediction;
};

class TKovCommand {
public:
    TKovCommand(const std::string& name, const std::string& shortName = "",
                const std::string& caption = "");
    virtual ~TKovCommand() = default;
    TKovCommand(const TKovCommand&) = delete;
    TKovCommand& operator=(const TKovCommand&) = delete;

    const std::string& Name() const { return FName; }
    // Commands whose names begin with "__" serve the developers (dumps, observers, ending the
    // program): lists for users leave them out.
    bool IsDiagnostic() const { return FName.starts_with("__"); }
    const std::string& ShortName() const { return FShortName; }
    // The menu caption, with its access key ("&Undo").
    const std::string& Caption() const { return FCaption; }
    void SetName(const std::string& name);
    void SetShortName(const std::string& shortName);
    void SetCaption(const std::string& caption);
    // Copies names and flags (not the patterns).
    virtual void Assign(const TKovCommand& source);

    virtual int GetSupportedPatternCount() const = 0;
    virtual TKovParameterPattern& GetSupportedPattern(int index) const = 0;
    // One pattern as users read it: "calculate (ca) <KovObject>".
    std::string PatternLine(int index) const;

    // Runs the one pattern that matches; no match gives cecZeroPatternMatches, more than one
    // cecMultiplePatternMatches. Answers success.
    virtual bool Execute(TKovObject* object, const TCommandParameterList& parameters,
                         TCommandOutput& output);
    virtual bool PredictExecuteMaySucceed(TKovObject* object,
                                          const TCommandParameterList& parameters,
                                          TCommandOutput& output);
    bool PredictExecuteMaySucceed(TKovObject* object, const TCommandParameterList& parameters);
    // The trimmed, lowered name against the name and the short name.
    bool Matches(const std::string& name) const;
    bool HasPatternThatMatches(const TCommandParameterList& parameters) const;
    // A pattern with as many classes as parameters, each parameter of exactly that class.
    static bool HasPatternThatMatchesExactly(const TKovCommand& command,
                                             const TCommandParameterList& parameters);

    // The interpreter runs each command inside one undo snapshot; the commands that walk the
    // stacks themselves (undo, redo) must run outside it.
    bool RunsOutsideUndoSnapshot() const { return FRunsOutsideUndoSnapshot; }
    void SetRunsOutsideUndoSnapshot(bool outside) { FRunsOutsideUndoSnapshot = outside; }

protected:
    TKovParameterPattern* ChoosePattern(const TCommandParameterList& parameters,
                                        TCommandErrorCode& code) const;

private:
    // Runs or predicts the one pattern that matches.
    bool Run(TKovObject* object, const TCommandParameterList& parameters, TCommandOutput& output,
             bool predict);

    std::string FCaption;
    std::string FName;
    std::string FShortName;
    std::string FLowerName;
    std::string FLowerShortName;
    bool FRunsOutsideUndoSnapshot = false;
};

class TKovCommandWithInternalPatterns : public TKovCommand {
public:
    using TKovCommand::TKovCommand;
    int GetSupportedPatternCount() const override {
        return static_cast<int>(FSupportedPatterns.size());
    }
    TKovParameterPattern& GetSupportedPattern(int index) const override {
        return *FSupportedPatterns.at(index);
    }
    TKovParameterPattern& AddPattern(std::unique_ptr<TKovParameterPattern> pattern);

protected:
    std::vector<std::unique_ptr<TKovParameterPattern>> FSupportedPatterns;
};

// A command whose patterns each carry their own runner.
class TCommandExternal : public TKovCommandWithInternalPatterns {
public:
    using TKovCommandWithInternalPatterns::AddPattern;
    using TKovCommandWithInternalPatterns::TKovCommandWithInternalPatterns;
    TKovParameterPattern& AddPattern(TCommandParameterClassList classes,
                                     TCommandClassMethod runner);
    TKovParameterPattern& AddPattern(TCommandParameterClassList classes,
                                     TCommandClassMethodWithPrediction runner);
};

// A command whose patterns all go to one run operation of the class.
class TCommandStandalone : public TKovCommandWithInternalPatterns {
public:
    using TKovCommandWithInternalPatterns::TKovCommandWithInternalPatterns;
    TKovParameterPattern& AddPattern(TCommandParameterClassList classes);

protected:
    virtual void Run(TKovObject* object, const TCommandParameterList& parameters,
                     TCommandOutput& output, bool predict) = 0;
};

// The constant record of a command's names: name, menu caption with its access key, short name.
struct TCommandNameRecord {
    const char* Name;
    const char* Caption;
    const char* ShortName;
};

class TKovCommandList {
public:
    // The name cache is emptied when it reaches this many entries.
    static constexpr size_t MaxCachedNames = 10001;

    TKovCommandList() = default;
    TKovCommandList(const TKovCommandList&) = delete;
    TKovCommandList& operator=(const TKovCommandList&) = delete;
    virtual ~TKovCommandList() = default;

    bool AllowDuplicateNames() const { return FAllowDuplicateNames; }
    void SetAllowDuplicateNames(bool allow) { FAllowDuplicateNames = allow; }
    int Count() const { return static_cast<int>(FItems.size()); }
    TKovCommand& GetItem(int index) const { return *FItems.at(index); }

    // Raises "Adding command \"%s\" to command list leads to clash with already existing \"%s\""
    // when a name or short name is taken, unless duplicates are allowed.
    TKovCommand& Add(std::unique_ptr<TKovCommand> command);
    // Adds, first removing every command whose name or short name the new one uses.
    TKovCommand& AddOrReplace(std::unique_ptr<TKovCommand> command);
    // The one command of that name or short name; nullptr with cecZeroCommandMatches or
    // cecMultipleCommandMatches otherwise. Answers are cached per typed name.
    TKovCommand* GetByName(const std::string& name, TCommandErrorCode& code) const;
    TKovCommand* GetByName(const std::string& name) const {
        TCommandErrorCode code;
        return GetByName(name, code);
    }
    // The index of the first command of that name or short name, or -1.
    int GetIndexOfName(const std::string& name) const;
    // Removes every command of that name or short name; answers whether there was one.
    bool RemoveByName(const std::string& name);
    size_t CachedNameCount() const;

protected:
    enum TListAction { laAdded, laRemoved };
    // Any change of the list empties the name cache.
    void Notify(int action);

private:
    struct TCacheEntry {
        TKovCommand* Command;
        TCommandErrorCode Code;
    };
    std::vector<std::unique_ptr<TKovCommand>> FItems;
    bool FAllowDuplicateNames = false;
    mutable std::mutex FCacheMutex;
    mutable TRadixTree<TCacheEntry> _FNameCache;
};

class TEasyCommandList : public TKovCommandList {
public:
    // A command with one pattern.
    TCommandExternal& AddExternal(const TCommandNameRecord& names,
                                  TCommandParameterClassList classes, TCommandClassMethod runner);
    TCommandExternal& AddExternal(const TCommandNameRecord& names,
                                  TCommandParameterClassList classes,
                                  TCommandClassMethodWithPrediction runner);
};

} // namespace tw
