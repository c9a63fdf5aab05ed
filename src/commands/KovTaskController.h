#pragma once
// Runs tasks on worker threads. Every operation is a class operation on the process's two
// monitors: one for the blocking runs (ExecuteThreaded and the loops), one for the asynchronous
// tasks.
//
// A blocking run registers its tasks, starts one thread each (priority applied where the system
// allows it), and waits: the top-level run of the process calls the OnWaitFor hook with its tasks,
// where the window program shows its progress window after a second; a run started while another
// goes on, or from a task's own thread, is nested and waits plainly, as do the NoProgress
// variants. After the wait the first failure in array order is raised again on the calling thread,
// its type kept, its message extended by "\r\nOriginal call stack:\r\n" and the frames of its
// throw (when they are known); the others stay in their tasks. The caller keeps its tasks, which
// are tsFinished on return.
//
// With the runtime switch TASKS_FORCE_SINGLE_THREAD on, the tasks run one after the other on the
// calling thread instead, and no wait hook is called.
//
// Pause, resume and stop are requests that act at the task's next NotifyProgress (see KovTasks.h).

#include "commands/KovRunningTasksProgressMonitor.h"
#include "commands/KovTasks.h"

#include <chrono>
#include <exception>
#include <functional>
#include <initializer_list>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace tw {

// Called on the blocked thread with the tasks of a top-level run; it returns when they have all
// ended, typically through TKovTaskController::WaitForTasks. Should it return early or raise, the
// run still waits for its threads before anything else happens.
using TWaitForTasksEvent = std::function<void(std::span<TKovTask* const> tasks)>;

class TKovTaskController {
public:
    TKovTaskController() = delete;

    // Blocking runs; see the top of this header.
    static void ExecuteThreaded(TKovTask& task);
    static void ExecuteThreaded(std::span<TKovTask* const> tasks);
    static void ExecuteThreaded(std::initializer_list<TKovTask*> tasks);
    static void ExecuteThreaded(const TKovTaskList& tasks);
    // Runs the procedure as a TPTProcedureRunner, freed also after a failure.
    static void ExecuteThreaded(const std::string& name, TProcReference procedure,
                                TKovTaskPriority priority = tppNormal);
    static void ExecuteThreaded(const std::string& name, TProcReference procedure,
                                TTaskProgressNotification onProgress,
                                TKovTaskPriority priority = tppNormal);
    // The common core: `waitFor` is the hook for the variants that show progress, empty for the
    // plain wait.
    static void ExecuteThreaded_Inner(std::span<TKovTask* const> tasks,
                                      const TWaitForTasksEvent& waitFor);

    // Registers the task with the asynchronous monitor, starts its thread and returns at once.
    // When `forceThread` is false and TASKS_FORCE_SINGLE_THREAD is on, the task runs inline
    // instead and is finished on return (its finished event has run, on this thread). The task's
    // failure goes to its finished event; an exception that leaves a finished event on a worker
    // thread goes to the async failure handler (SetOnAsyncFailure).
    static void ExecuteAsync(TKovTask& task, bool forceThread = false);
    // Creates a TPTProcedureRunner and runs it asynchronously. `onFinished` receives the task and
    // owns it from then on; the overloads without one use HandleAsyncFinished_Free.
    static void ExecuteAsync(const std::string& name, TProcReference procedure,
                             TOnTaskFinishedEvent onFinished,
                             TKovTaskPriority priority = tppNormal);
    static void ExecuteAsync(const std::string& name, TProcReference procedure,
                             TKovTaskPriority priority = tppNormal);
    static void ExecuteAsync(const std::string& name, TProcReference procedure,
                             TTaskProgressNotification onProgress, TOnTaskFinishedEvent onFinished,
                             TKovTaskPriority priority = tppNormal);
    static void ExecuteAsync(const std::string& name, TProcReference procedure,
                             TTaskProgressNotification onProgress,
                             TKovTaskPriority priority = tppNormal);

    // Splits the loop over 0 .. count - 1 (MakeThreadedLoopTasks with as many threads as
    // processors), runs the shares as a blocking run and frees them, also after a failure. A
    // count below 1 does nothing.
    static void ExecuteThreadedLoop(const std::string& name, TLoopProcReference loopProc, int count,
                                    int minIterationsPerThread = 0,
                                    TKovTaskPriority priority = tppNormal,
                                    bool interleaved = false);
    static void ExecuteThreadedLoop(TLoopProcReference loopProc, int count,
                                    int minIterationsPerThread = 0,
                                    TKovTaskPriority priority = tppNormal,
                                    bool interleaved = false);
    // The same with the plain wait: never a progress window.
    static void ExecuteThreadedLoopNoProgress(const std::string& name, TLoopProcReference loopProc,
                                              int count, int minIterationsPerThread = 0,
                                              TKovTaskPriority priority = tppNormal,
                                              bool interleaved = false);
    static void ExecuteThreadedLoopNoProgress(TLoopProcReference loopProc, int count,
                                              int minIterationsPerThread = 0,
                                              TKovTaskPriority priority = tppNormal,
                                              bool interleaved = false);

    // Builds the shares of a loop over 0 .. count - 1 without running them. Threads: `maxThreads`
    // when at least 1, else the number of processors; 1 with TASKS_FORCE_SINGLE_THREAD on; with a
    // minimum of iterations per thread above 0, fewer threads until each gets that many (or one is
    // left); never more threads than iterations. Share i of n is named "%s (%d/%d)" with i
    // counted from 1. Blocked: consecutive indices, the first count mod n shares one more.
    // Interleaved: share i takes i, i + n, i + 2n, ... A count below 1 gives no tasks.
    static std::vector<std::unique_ptr<TPTLoopProcRunner>>
    MakeThreadedLoopTasks(const std::string& name, TLoopProcReference loopProc, int count,
                          int minIterationsPerThread, TKovTaskPriority priority, bool interleaved,
                          int maxThreads);

    // Whether the threaded monitor lists a task.
    static bool IsRunningTasks();
    // Whether the asynchronous monitor lists a task.
    static bool IsRunningAsyncTasks();
    // The threaded monitor's snapshot with pending requests shown (see GetTaskStates).
    static void GetThreadedTaskStates(TTaskInfoList& list);

    // Requests by the record's Task, sent to the monitor that lists the task; they return at
    // once and ignore a task that is no longer listed. StopTask runs the task's stop actions on
    // the calling thread (see TKovTask::SetStopAction).
    static void PauseTask(const TKovTaskInfo& info);
    static void ResumeTask(const TKovTaskInfo& info);
    static void StopTask(const TKovTaskInfo& info);
    static void PauseTask(TKovTask& task);
    static void ResumeTask(TKovTask& task);
    static void StopTask(TKovTask& task);

    // Finished events for ExecuteAsync. Free re-raises a stored failure (as a blocking run would)
    // and frees the task in any case.
    static void HandleAsyncFinished_Free(TKovTask* task);
    static void HandleAsyncFinished_Nothing(TKovTask* task);

    // The wait of top-level blocking runs. Setting it while the threaded monitor lists a task
    // raises "Cannot set OnWaitFor event while tasks are running!". Empty means the plain wait.
    static void SetOnWaitFor(TWaitForTasksEvent handler);
    static TWaitForTasksEvent OnWaitFor();
    // What a wait hook needs: whether all tasks have finished within the timeout, and the wait
    // without limit.
    static bool WaitForTasks(std::span<TKovTask* const> tasks, std::chrono::milliseconds timeout);
    static void WaitForTasks(std::span<TKovTask* const> tasks);
    // The hook of a progress window: waits `delay`; if the tasks have not all ended by then, calls
    // `showProgress` (which shows the window modally and returns when it closes), then waits for
    // the tasks without limit.
    static TWaitForTasksEvent
    MakeDelayedWaitFor(std::chrono::milliseconds delay,
                       std::function<void(std::span<TKovTask* const> tasks)> showProgress);

    // Receives an exception that left a finished event on a worker thread, where no caller could
    // catch it; called on that thread. The default writes its message to standard error.
    static void SetOnAsyncFailure(std::function<void(std::exception_ptr)> handler);

    static TKovRunningTasksProgressMonitor& ThreadedMonitor();
    static TKovRunningTasksProgressMonitor& AsyncMonitor();
    static int ProcessorCount();

private:
    friend class TKovTask;
    static void ReportAsyncFailure(std::exception_ptr failure);
    // Raises the task's failure, its message extended by the stored call stack.
    [[noreturn]] static void RaiseTaskFailure(std::exception_ptr failure,
                                              const std::string& callStack);
    static void RunLoop(const std::string& name, TLoopProcReference loopProc, int count,
                        int minIterationsPerThread, TKovTaskPriority priority, bool interleaved,
                        bool showProgress);
};

} // namespace tw
