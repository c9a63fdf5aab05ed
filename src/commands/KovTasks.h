#pragma once
// Tasks: pieces of work that must not run on the user-interface thread (a kernel run, reading
// result files, highlighting, a memory watch). A task is a TKovTask; TKovTaskController (see
// KovTaskController.h) runs it on a worker thread and carries the user's pause, resume and stop
// requests to it through the progress monitor.
//
// Threads and ownership. A task object belongs to whoever created it; the controller never frees
// a task, except through the finished event HandleAsyncFinished_Free. While a task runs, its own
// fields belong to its worker thread: the task's code changes its record through SetActivity and
// friends, and publishes it with NotifyProgress. Other threads look at the task only through the
// monitor's snapshots (TKovTaskController::GetThreadedTaskStates), through State() and Stopped(),
// which are safe from any thread, and through the stop action (SetStopAction, OnStopRequested).
//
// Pause and stop are requests. PauseTask, ResumeTask and StopTask only mark the task in the
// monitor; the worker learns of them at its next NotifyProgress. A paused task waits inside that
// NotifyProgress until it is resumed or stopped. A stopped task has Stopped() set and is expected
// to leave Execute by itself; threads are never killed. A task that blocks where it cannot call
// NotifyProgress (a wait for a child process, say) registers a stop action: StopTask runs it on
// the requesting thread, so that it can end the child and thus the wait.

#include "services/KovException.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <initializer_list>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <type_traits>
#include <typeinfo>
#include <vector>

namespace tw {

// Programming errors of the task layer: double start, a bad wanted state, setting the wait hook
// during a run.
TW_DECLARE_EXCEPTION(EKovTaskError, EKovException)
// A worker thread could not be created; the message carries the system's reason.
TW_DECLARE_EXCEPTION(EThread, EKovException)

enum TTaskState : std::uint8_t {
    tsNotStarted,
    tsRunning,
    tsPaused,
    tsFinished,
    // Only in snapshots: a pause has been requested and the worker has not reached it yet.
    tsWaitingToPause,
    tsWaitingToFinish
};

enum TKovTaskPriority : std::uint8_t {
    tppIdle,
    tppLowest,
    tppBelowNormal,
    tppNormal,
    tppAboveNormal,
    tppHighest
};

// Bits of SetActivity's flags.
enum TTaskActivityFlag : unsigned {
    tafCanPause = 1u << 0,
    tafCanStop = 1u << 1,
    tafHasProgress = 1u << 2,
    tafConfirmStop = 1u << 3
};

class TKovTask;
class TKovRunningTasksProgressMonitor;

// The wall-clock time in days since 30 December 1899, the unit of TKovTaskInfo::StartTime.
double TaskClockNow();

// What the world may know of a task, as a plain value of fixed size: it holds no pointer into the
// heap but the task's own address, so it is copied between threads by plain assignment, without
// allocation, and kept in arrays. Texts are stored as UTF-16 code units, cut at TextCapacity and
// zero-filled; the accessors convert from and to UTF-8.
struct TKovTaskInfo {
    static constexpr std::size_t TextCapacity = 2001;

    // Identity of the task: the key by which every list is searched.
    TKovTask* Task = nullptr;
    // Class of the task, taken when the record is bound to it (the task is registered for a run).
    const std::type_info* TaskClass = nullptr;
    char16_t Name[TextCapacity] = {};
    // What the task does at the moment; empty between steps.
    char16_t CurrentActivity[TextCapacity] = {};
    // When Execute was entered, in days (TaskClockNow).
    double StartTime = 0.0;
    bool CanPause = false;
    bool CanStop = false;
    bool ConfirmStop = false;
    TTaskState State = tsNotStarted;
    // Whether the progress values mean something; otherwise a display shows a marquee.
    bool HasProgress = false;
    double CurrentProgress = 0.0;
    double MaxProgress = 0.0;

    std::string NameText() const;
    void SetNameText(std::string_view text);
    std::string CurrentActivityText() const;
    void SetCurrentActivityText(std::string_view text);
    // The diagnostic line: name, activity, state, progress.
    std::string AsText() const;

    // Stores a UTF-8 text into a fixed array: cut at TextCapacity code units (never inside a
    // surrogate pair), the rest zero-filled.
    static void StoreText(char16_t (&target)[TextCapacity], std::string_view text);
    static std::string ReadText(const char16_t (&source)[TextCapacity]);
};

static_assert(std::is_trivially_copyable_v<TKovTaskInfo>,
              "task records are copied between threads by plain assignment");

class TTaskInfoList : public std::vector<TKovTaskInfo> {
public:
    using std::vector<TKovTaskInfo>::vector;
    // Each record's AsText, each line closed by "\r\n".
    std::string AsText() const;
};

// Called on the worker at every NotifyProgress with the task's record; may set the state the
// task is wanted in (tsRunning, tsPaused or tsFinished).
using TTaskProgressNotification = std::function<void(const TKovTaskInfo&, TTaskState& wanted)>;
// The same without the answer: what a display hears.
using TTaskProgressNotificationNoFeedback = std::function<void(const TKovTaskInfo&)>;
// Called on the worker thread once the task has finished (or on the calling thread for a task run
// inline); it may free the task.
using TOnTaskFinishedEvent = std::function<void(TKovTask*)>;

class TKovTask {
public:
    explicit TKovTask(std::string_view name = {}, TKovTaskPriority priority = tppNormal);
    // Waits for the worker thread to end (it has finished its task by then) or, when called from
    // the finished event on the worker itself, lets the thread go. Destroying a task that is in a
    // run (its state neither tsNotStarted nor tsFinished, or registered and about to start) is a
    // programming error that would leave a thread working on freed memory: it reports "Cannot
    // destroy a task that has state: %d" on standard error and aborts the process.
    virtual ~TKovTask();
    TKovTask(const TKovTask&) = delete;
    TKovTask& operator=(const TKovTask&) = delete;

    std::string Name() const;
    // Before the run: displays read the name from other threads.
    void SetName(std::string_view name);
    // Any thread.
    TTaskState State() const { return FState.load(std::memory_order_acquire); }
    TKovTaskPriority Priority() const { return FPriority; }
    void SetPriority(TKovTaskPriority priority) { FPriority = priority; }
    // The task's own record; read it on the worker, or after the run.
    const TKovTaskInfo& TaskInfo() const { return FTaskInfo; }
    // The kernel's thread id of the worker, 0 before the run and for a task run inline.
    std::int32_t ThreadID() const { return FThreadID.load(std::memory_order_acquire); }
    std::thread::native_handle_type ThreadHandle() { return FThread.native_handle(); }

    // A notification of the task's own besides the monitor's; it is called after the monitor's
    // handler and may change the wanted state further. Set it before the run.
    const TTaskProgressNotification& OnProgress() const { return FOnProgress; }
    void SetOnProgress(TTaskProgressNotification handler) { FOnProgress = std::move(handler); }
    void SetOnFinished(TOnTaskFinishedEvent handler) { FOnFinished = std::move(handler); }

    // Set on the worker when a stop request reached it; the task's loop polls it. Any thread.
    bool Stopped() const { return FStopped.load(std::memory_order_acquire); }

    // Hands the failure stored by the worker over to the caller and clears it.
    static std::exception_ptr ExtractFatalException(TKovTask& task);
    bool HasFatalException() const { return static_cast<bool>(FFatalException); }
    // The frames of the stored failure's throw, one per line; may be empty.
    const std::string& FatalExceptionCallStack() const { return FFatalExceptionCallStack; }

    // The question to ask before a stop: empty unless the task wants a stop confirmed, else the
    // translated "Stop \"%s\"?" with `name`, or with the task's name when `name` is empty.
    virtual std::string GetConfirmStopString(const std::string& name = {}) const;

    // The one point where the task meets the monitor: publishes the record and takes the wanted
    // state. A pause request holds the worker here until a resume or a stop; a stop request sets
    // Stopped. Call it regularly from Execute; only on the worker.
    virtual void NotifyProgress();

    // For the task's own code, on the worker. `flags` are TTaskActivityFlag bits; a progress
    // argument of -1 keeps the stored value. Ends in NotifyProgress.
    void SetActivity(std::string_view currentActivity, unsigned flags, double currentProgress = -1,
                     double maxProgress = -1);
    // Keeps HasProgress and clears the other flags. Ends in NotifyProgress.
    void SetActivityKeepingFlags(std::string_view currentActivity, double currentProgress = -1,
                                 double maxProgress = -1);
    // Stores the value; the next NotifyProgress publishes it.
    void SetCurrentProgress(double value) { FTaskInfo.CurrentProgress = value; }

    // Registers what to do when a stop is requested, for a task that blocks where it cannot call
    // NotifyProgress (for example a worker in waitpid registers "kill the child"). The action runs
    // on the thread that calls StopTask, at the first stop request, while the task is guaranteed
    // to be alive; if a stop was requested before the action is registered, it runs at once on
    // the calling thread. An empty action removes it; removal waits for an action that is
    // running, so after SetStopAction({}) returns the action will not run again (a child's pid
    // can then be reaped safely). The action must be short and must not call SetStopAction; an
    // exception from it reaches the caller of StopTask. Offer the stop with tafCanStop, or
    // StopTask ignores the task.
    void SetStopAction(std::function<void()> action);
    // Whether a stop has been requested through StopTask; any thread. Unlike Stopped, this is set
    // on the requesting thread, before the worker has reached NotifyProgress.
    bool StopRequested() const { return FStopRequested.load(std::memory_order_acquire); }

    // The task whose Execute runs on the calling thread (the innermost one for inline runs), or
    // nullptr: how a procedure or loop body reaches its task to report progress or to register a
    // stop action.
    static TKovTask* Current();

protected:
    // The work; runs on the worker thread. An exception leaving it is kept and raised again for
    // the caller (see TKovTaskController).
    virtual void Execute() = 0;
    // Called on the thread that requests a stop, at the first request, before the registered stop
    // action; the same rules hold. The default does nothing.
    virtual void OnStopRequested() {}
    // The stop routine of the worker: the state becomes tsWaitingToFinish and Stopped is set.
    void Stop();

    // The block of work the task is in, for subclasses that report progress block by block;
    // both are -1 when no block is open, as at the start of every run.
    double FCurrentWorkblockStart = -1.0;
    double FCurrentWorkblockSize = -1.0;

private:
    friend class TKovRunningTasksProgressMonitor;
    friend class TKovTaskController;
    friend class TKovTaskRunner;

    void SetState(TTaskState state);
    void Pause();
    void Resume();
    // What the worker does, on its own thread or inline: the run (unless already run), the
    // failure kept, the finish. Touches nothing of the task after the finished event.
    void RunAndFinish(bool onOwnThread);
    void Run();
    void StoreCurrentFailure();
    void ThreadMain();
    // Starts the worker thread; the thread waits until its handle is stored.
    void StartThread();
    void BeginRun();
    void SignalDone();
    // Waits until the worker has finished the task (its finished event may still run).
    bool WaitForDone(std::chrono::steady_clock::time_point deadline);
    void WaitForDone();
    // Joins the worker thread unless it is the calling one.
    void JoinThread();
    // Whether the calling thread is a worker, or runs a task inline: its runs are nested.
    static bool CallerIsTask();
    // Called by the monitor, on the requesting thread.
    void RunStopActions();
    // Ends a pause wait early; called by the monitor under its lock.
    void WakeUp();

    TKovTaskInfo FTaskInfo{};
    std::atomic<TTaskState> FState{tsNotStarted};
    std::atomic<bool> FStopped{false};
    std::atomic<bool> FStopRequested{false};
    // FTaskInfo.ConfirmStop for GetConfirmStopString, which a display calls from its thread.
    std::atomic<bool> FConfirmStop{false};
    std::atomic<std::int32_t> FThreadID{0};
    TKovTaskPriority FPriority;
    TTaskProgressNotification FOnProgress;
    TOnTaskFinishedEvent FOnFinished;
    std::exception_ptr FFatalException;
    std::string FFatalExceptionCallStack;

    // Bound by the controller for a run; never freed (the monitors live as long as the process).
    TKovRunningTasksProgressMonitor* FMonitor = nullptr;
    // Claimed by a monitor's AddTasks, released when the task leaves its running list: a task
    // runs in one run at a time, whichever monitor holds it.
    std::atomic<bool> FListed{false};
    // Guarded by the monitor's lock: stop actions running on requesting threads. The worker's
    // finish waits until it is zero, so that a stop action never meets a freed task.
    int FPendingStopActions = 0;
    // Guarded by the monitor's lock: the worker has been answered tsPaused and has not published
    // a record since, so it is about to pause whatever the lists say now.
    bool FPauseHandedOut = false;

    std::thread FThread;
    // Held by the starter while it stores FThread: the new thread waits for it before it runs.
    std::mutex FThreadLock;

    std::mutex FDoneLock;
    std::condition_variable FDoneChanged;
    bool FDone = false;

    std::mutex FWakeLock;
    std::condition_variable FWakeChanged;
    bool FWakeRequested = false;

    std::mutex FStopActionLock;
    std::function<void()> FStopAction;
};

// A non-owning list of tasks.
class TKovTaskList {
public:
    TKovTaskList() = default;
    TKovTaskList(std::initializer_list<TKovTask*> tasks) : FItems(tasks) {}

    std::size_t Count() const { return FItems.size(); }
    bool Empty() const { return FItems.empty(); }
    TKovTask* GetItem(std::size_t index) const { return FItems.at(index); }
    void SetItem(std::size_t index, TKovTask* task) { FItems.at(index) = task; }
    TKovTask* operator[](std::size_t index) const { return FItems[index]; }
    void Add(TKovTask* task) { FItems.push_back(task); }
    // The index of the task, or -1.
    int IndexOf(const TKovTask* task) const;
    bool Contains(const TKovTask* task) const { return IndexOf(task) >= 0; }
    void Delete(std::size_t index) { FItems.erase(FItems.begin() + static_cast<long>(index)); }
    // Removes the task if listed; answers its former index or -1.
    int Remove(const TKovTask* task);
    void Clear() { FItems.clear(); }
    const std::vector<TKovTask*>& Items() const { return FItems; }
    auto begin() const { return FItems.begin(); }
    auto end() const { return FItems.end(); }

private:
    std::vector<TKovTask*> FItems;
};

using TProcReference = std::function<void()>;
// A loop body over the indices start, start + increment, ... up to and including endIndex.
using TLoopProcReference = std::function<void(int startIndex, int increment, int endIndex)>;

// Runs a procedure as a task.
class TPTProcedureRunner : public TKovTask {
public:
    TPTProcedureRunner(std::string_view name, TProcReference procedure,
                       TKovTaskPriority priority = tppNormal);

protected:
    void Execute() override;

private:
    TProcReference FProcedure;
};

// Runs one share of a loop as a task. The activity is the task's name from the start, so that a
// display names every share.
class TPTLoopProcRunner : public TKovTask {
public:
    TPTLoopProcRunner(std::string_view name, TLoopProcReference loopProc, int startIndex,
                      int increment, int endIndex, TKovTaskPriority priority = tppNormal);
    int StartIndex() const { return FStartIndex; }
    int Increment() const { return FIncrement; }
    int EndIndex() const { return FEndIndex; }

protected:
    void Execute() override;

private:
    TLoopProcReference FLoopProc;
    int FStartIndex;
    int FIncrement;
    int FEndIndex;
};

} // namespace tw
