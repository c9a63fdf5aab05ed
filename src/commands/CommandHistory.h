#pragma once
// The memory of the command line: every line run, with its outcome, and (in a second history)
// the successful ones alone, which is the project's replayable log. A logger keeps a file in step
// with a history. Both belong to the main thread.

#include <cstdint>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace tw {

struct TCommandResult {
    bool FResult = false;
    int32_t FErrorPos = -1;
    std::string FAdditionalInfo;
    std::string FAdditionalComments;
};

// Answers false to keep a line out of the history.
using TCommandAddAllowEvent = std::function<bool(const std::string& command)>;

// A subscriber: told the index of each new entry, and of each line about to run.
struct TCommandNotifyObject {
    std::function<void(int index)> OnAdded;
    std::function<void(const std::string& command)> OnPreview;
};

class TCommandHistory {
public:
    TCommandHistory() = default;
    TCommandHistory(const TCommandHistory&) = delete;
    TCommandHistory& operator=(const TCommandHistory&) = delete;
    virtual ~TCommandHistory() = default;

    // Adds at the end, unless vetoed, and tells the subscribers the new index.
    void AddCommand(const std::string& text);
    void AddCommand(const std::string& text, bool result, int32_t errorPos, const std::string& info,
                    const std::string& comments);
    // Adds each line of a text file; answers false when the file can't be read.
    bool AddFromFile(const std::string& fileName);
    // The last line, or "".
    std::string Last() const;
    // Tells the subscribers of a line about to run.
    void PreviewCommand(const std::string& text);
    // Whether the veto event refuses the line.
    bool VetoedAdding(const std::string& text) const;
    void Clear();
    int SubscribeToNotifications(TCommandNotifyObject subscriber);
    void UnsubscribeFromNotifications(int handle);
    // Writes the lines, one a line, to a temporary file beside `fileName` and puts it in place;
    // answers false when it could not be written (the old file then stays).
    bool ExportTo(const std::string& fileName) const;
    const std::string& GetCommand(int index) const { return FCommands.at(index).Text; }
    // nullptr for a line added without outcome.
    const TCommandResult* GetCommandResult(int index) const {
        return FCommands.at(index).Result.get();
    }
    int Count() const { return static_cast<int>(FCommands.size()); }
    void SetOnBeforeCommandAdd(TCommandAddAllowEvent handler) {
        FOnBeforeCommandAdd = std::move(handler);
    }
    // Copies the lines and outcomes of a history of the same kind; raises
    // "Assigning only works between objects of same type, not between %s and %s" otherwise.
    virtual void Assign(const TCommandHistory& source);
    virtual std::string KindName() const { return "TCommandHistory"; }

private:
    struct TEntry {
        std::string Text;
        std::shared_ptr<TCommandResult> Result;
    };
    void Add(TEntry entry);

    std::vector<TEntry> FCommands;
    std::map<int, TCommandNotifyObject> FObservers;
    int FNextHandle = 1;
    TCommandAddAllowEvent FOnBeforeCommandAdd;
};

// Appends each new entry of a history to a file, flushed at once. While locked it holds the lines
// back and writes them in order on the last unlock.
class TCommandHistoryLogger {
public:
    // Opens `fileName` for appending; FCanWrite tells whether that worked.
    TCommandHistoryLogger(TCommandHistory& history, const std::string& fileName);
    ~TCommandHistoryLogger();
    TCommandHistoryLogger(const TCommandHistoryLogger&) = delete;
    TCommandHistoryLogger& operator=(const TCommandHistoryLogger&) = delete;

    bool Active() const { return FActive; }
    bool CanWrite() const { return FCanWrite; }
    const std::string& FileName() const { return FFileName; }
    void CloseLog();
    // Goes on writing to the same file, or to `fileName` when given.
    void ReopenLog(const std::string& fileName = "");
    // Rewrites the file from the whole history.
    void ReinitializeFromHistory();
    void Lock() { ++FLockCount; }
    void Unlock();

private:
    void Open(bool truncate);
    void WriteBacklog();

    TCommandHistory& FHistory;
    std::string FFileName;
    int FLastLogged = -1;
    std::ofstream FFile;
    bool FActive = false;
    bool FCanWrite = false;
    int FLockCount = 0;
    int FSubscription = 0;
};

} // namespace tw
