#include "commands/KovTaskController.h"

#include "services/Format.h"
#include "services/RuntimeSettings.h"

#include <algorithm>
#include <cstdio>
#include <mutex>
#include <stdexcept>
#include <system_error>

namespace tw {

namespace {

const std::string SingleThreadSwitch = "TASKS_FORCE_SINGLE_THREAD";

struct THooks {
    std::mutex Lock;
    TWaitForTasksEvent OnWaitFor;
    std::function<void(std::exception_ptr)> OnAsyncFailure;
};

// Created on first use and never destroyed: worker threads of asynchronous tasks may still
// report to them while the process's statics are torn down.
THooks& Hooks() {
    static auto* hooks = new THooks;
    return *hooks;
}

// Clears the process-wide top-level flag when the run that claimed it ends, however it ends.
class TTopLevelRun {
public:
    explicit TTopLevelRun(bool claimed) : FClaimed(claimed) {}
    ~TTopLevelRun() {
        if (FClaimed)
            TKovTaskController::ThreadedMonitor().EndTopLevelRun();
    }
    TTopLevelRun(const TTopLevelRun&) = delete;
    TTopLevelRun& operator=(const TTopLevelRun&) = delete;
    bool Claimed() const { return FClaimed; }

private:
    bool FClaimed;
};

std::vector<TKovTask*> Pointers(const std::vector<std::unique_ptr<TPTLoopProcRunner>>& tasks) {
    std::vector<TKovTask*> pointers;
    pointers.reserve(tasks.size());
    for (const auto& task : tasks)
        pointers.push_back(task.get());
    return pointers;
}

} // namespace

// The friend of TKovTask that starts and joins its threads.
class TKovTaskRunner {
public:
    static void BeginRun(TKovTask& task) { task.BeginRun(); }
    static void RunInline(TKovTask& task) { task.RunAndFinish(false); }
    static void StartThread(TKovTask& task) { task.StartThread(); }
    static void Join(TKovTask& task) { task.JoinThread(); }
    static bool CallerIsTask() { return TKovTask::CallerIsTask(); }
};

namespace {

void JoinAll(std::span<TKovTask* const> tasks) {
    for (TKovTask* task : tasks)
        TKovTaskRunner::Join(*task);
}

// Starts one thread per task. Should the system refuse a thread, the tasks not started leave the
// monitor, the started ones are waited for, and the run fails with the system's reason.
void StartThreads(std::span<TKovTask* const> tasks, TKovRunningTasksProgressMonitor& monitor) {
    std::size_t started = 0;
    try {
        for (; started < tasks.size(); ++started) {
            TKovTaskRunner::BeginRun(*tasks[started]);
            TKovTaskRunner::StartThread(*tasks[started]);
        }
    } catch (const std::system_error& e) {
        monitor.RemoveTasks(tasks.subspan(started));
        JoinAll(tasks.first(started));
        throw EThread(Format("Thread creation error: %s", e.what()));
    }
}

} // namespace

TKovRunningTasksProgressMonitor& TKovTaskController::ThreadedMonitor() {
    static auto* monitor = new TKovRunningTasksProgressMonitor;
    return *monitor;
}

TKovRunningTasksProgressMonitor& TKovTaskController::AsyncMonitor() {
    static auto* monitor = new TKovRunningTasksProgressMonitor;
    return *monitor;
}

int TKovTaskController::ProcessorCount() {
    unsigned count = std::thread::hardware_concurrency();
    return count == 0 ? 1 : static_cast<int>(count);
}

// --- Blocking runs --------------------------------------------------------------------------

void TKovTaskController::ExecuteThreaded(TKovTask& task) {
    TKovTask* tasks[] = {&task};
    ExecuteThreaded_Inner(tasks, OnWaitFor());
}

void TKovTaskController::ExecuteThreaded(std::span<TKovTask* const> tasks) {
    ExecuteThreaded_Inner(tasks, OnWaitFor());
}

void TKovTaskController::ExecuteThreaded(std::initializer_list<TKovTask*> tasks) {
    ExecuteThreaded_Inner(std::span<TKovTask* const>(tasks.begin(), tasks.size()), OnWaitFor());
}

void TKovTaskController::ExecuteThreaded(const TKovTaskList& tasks) {
    std::vector<TKovTask*> copy = tasks.Items();
    ExecuteThreaded_Inner(copy, OnWaitFor());
}

void TKovTaskController::ExecuteThreaded(const std::string& name, TProcReference procedure,
                                         TKovTaskPriority priority) {
    TPTProcedureRunner runner(name, std::move(procedure), priority);
    ExecuteThreaded(runner);
}

void TKovTaskController::ExecuteThreaded(const std::string& name, TProcReference procedure,
                                         TTaskProgressNotification onProgress,
                                         TKovTaskPriority priority) {
    TPTProcedureRunner runner(name, std::move(procedure), priority);
    runner.SetOnProgress(std::move(onProgress));
    ExecuteThreaded(runner);
}

void TKovTaskController::ExecuteThreaded_Inner(std::span<TKovTask* const> tasks,
                                               const TWaitForTasksEvent& waitFor) {
    if (tasks.empty())
        return;
    auto& monitor = ThreadedMonitor();
    // A run from a worker (or from a task run inline) is nested: it never waits through the hook,
    // which may open a window and belongs to the thread that started the outermost run.
    TTopLevelRun run(monitor.AddTasks(tasks, !TKovTaskRunner::CallerIsTask()));

    if (TRuntimeSettings::Get(SingleThreadSwitch)) {
        for (std::size_t i = 0; i < tasks.size(); ++i) {
            try {
                TKovTaskRunner::BeginRun(*tasks[i]);
                TKovTaskRunner::RunInline(*tasks[i]);
            } catch (...) {
                // Only a finished event raises here; the tasks not run leave the monitor.
                monitor.RemoveTasks(tasks.subspan(i + 1));
                throw;
            }
        }
    } else {
        StartThreads(tasks, monitor);
        try {
            if (run.Claimed() && waitFor)
                waitFor(tasks);
        } catch (...) {
            // The caller owns the tasks: they must have ended before it sees the exception.
            JoinAll(tasks);
            throw;
        }
        JoinAll(tasks);
    }

    for (TKovTask* task : tasks) {
        if (task->HasFatalException())
            RaiseTaskFailure(TKovTask::ExtractFatalException(*task),
                             task->FatalExceptionCallStack());
    }
}

void TKovTaskController::RaiseTaskFailure(std::exception_ptr failure,
                                          const std::string& callStack) {
    // The exception object keeps its type, so that callers catch what the task threw; only the
    // message of the standard exception classes can be extended.
    if (!callStack.empty()) {
        auto extend = [&](const char* message) {
            return Format("%s\r\n%s\r\n%s", message, "Original call stack:", callStack);
        };
        try {
            std::rethrow_exception(failure);
        } catch (std::runtime_error& e) {
            e = std::runtime_error(extend(e.what()));
        } catch (std::logic_error& e) {
            e = std::logic_error(extend(e.what()));
        } catch (...) {
        }
    }
    std::rethrow_exception(failure);
}

// --- Asynchronous runs ----------------------------------------------------------------------

namespace {

// Answers in `started` whether the task ran (or runs), so that a caller that made the task knows
// whether its finished event has taken it over.
void StartAsync(TKovTask& task, bool forceThread, bool& started) {
    started = false;
    auto& monitor = TKovTaskController::AsyncMonitor();
    TKovTask* tasks[] = {&task};
    monitor.AddTasks(tasks);
    TKovTaskRunner::BeginRun(task);
    if (!forceThread && TRuntimeSettings::Get(SingleThreadSwitch)) {
        started = true;
        TKovTaskRunner::RunInline(task);
        return;
    }
    try {
        TKovTaskRunner::StartThread(task);
    } catch (const std::system_error& e) {
        monitor.RemoveTasks(tasks);
        throw EThread(Format("Thread creation error: %s", e.what()));
    }
    started = true;
}

void StartOwnedAsync(std::unique_ptr<TKovTask> task) {
    bool started = false;
    try {
        StartAsync(*task, false, started);
    } catch (...) {
        if (started)
            task.release(); // its finished event owned it
        throw;
    }
    task.release(); // owned by its finished event from now on
}

} // namespace

void TKovTaskController::ExecuteAsync(TKovTask& task, bool forceThread) {
    bool started = false;
    StartAsync(task, forceThread, started);
}

void TKovTaskController::ExecuteAsync(const std::string& name, TProcReference procedure,
                                      TOnTaskFinishedEvent onFinished, TKovTaskPriority priority) {
    auto task = std::make_unique<TPTProcedureRunner>(name, std::move(procedure), priority);
    task->SetOnFinished(std::move(onFinished));
    StartOwnedAsync(std::move(task));
}

void TKovTaskController::ExecuteAsync(const std::string& name, TProcReference procedure,
                                      TKovTaskPriority priority) {
    ExecuteAsync(name, std::move(procedure), TOnTaskFinishedEvent(HandleAsyncFinished_Free),
                 priority);
}

void TKovTaskController::ExecuteAsync(const std::string& name, TProcReference procedure,
                                      TTaskProgressNotification onProgress,
                                      TOnTaskFinishedEvent onFinished, TKovTaskPriority priority) {
    auto task = std::make_unique<TPTProcedureRunner>(name, std::move(procedure), priority);
    task->SetOnProgress(std::move(onProgress));
    task->SetOnFinished(std::move(onFinished));
    StartOwnedAsync(std::move(task));
}

void TKovTaskController::ExecuteAsync(const std::string& name, TProcReference procedure,
                                      TTaskProgressNotification onProgress,
                                      TKovTaskPriority priority) {
    ExecuteAsync(name, std::move(procedure), std::move(onProgress),
                 TOnTaskFinishedEvent(HandleAsyncFinished_Free), priority);
}

void TKovTaskController::HandleAsyncFinished_Free(TKovTask* task) {
    std::unique_ptr<TKovTask> owner(task);
    if (!task || !task->HasFatalException())
        return;
    std::string callStack = task->FatalExceptionCallStack();
    std::exception_ptr failure = TKovTask::ExtractFatalException(*task);
    owner.reset();
    RaiseTaskFailure(failure, callStack);
}

void TKovTaskController::HandleAsyncFinished_Nothing(TKovTask*) {}

void TKovTaskController::SetOnAsyncFailure(std::function<void(std::exception_ptr)> handler) {
    auto& hooks = Hooks();
    std::lock_guard lock(hooks.Lock);
    hooks.OnAsyncFailure = std::move(handler);
}

void TKovTaskController::ReportAsyncFailure(std::exception_ptr failure) {
    std::function<void(std::exception_ptr)> handler;
    {
        auto& hooks = Hooks();
        std::lock_guard lock(hooks.Lock);
        handler = hooks.OnAsyncFailure;
    }
    if (handler) {
        handler(failure);
        return;
    }
    std::string message = "unknown exception";
    try {
        std::rethrow_exception(failure);
    } catch (const std::exception& e) {
        message = e.what();
    } catch (...) {
    }
    std::fprintf(stderr, "Failure of an asynchronous task: %s\n", message.c_str());
}

// --- Loops ----------------------------------------------------------------------------------

std::vector<std::unique_ptr<TPTLoopProcRunner>> TKovTaskController::MakeThreadedLoopTasks(
    const std::string& name, TLoopProcReference loopProc, int count, int minIterationsPerThread,
    TKovTaskPriority priority, bool interleaved, int maxThreads) {
    std::vector<std::unique_ptr<TPTLoopProcRunner>> tasks;
    if (count < 1)
        return tasks;
    int threads = maxThreads >= 1 ? maxThreads : ProcessorCount();
    if (TRuntimeSettings::Get(SingleThreadSwitch))
        threads = 1;
    threads = std::max(threads, 1);
    if (minIterationsPerThread > 0) {
        while (count / threads < minIterationsPerThread && threads >= 2)
            --threads;
    }
    // A share without iterations would cost a thread and hand its body an empty range.
    threads = std::min(threads, count);

    tasks.reserve(static_cast<std::size_t>(threads));
    int share = count / threads;
    int longer = count % threads;
    int start = 0;
    for (int i = 0; i < threads; ++i) {
        std::string taskName = Format("%s (%d/%d)", name, i + 1, threads);
        if (interleaved) {
            int last = i + ((count - 1 - i) / threads) * threads;
            tasks.push_back(std::make_unique<TPTLoopProcRunner>(taskName, loopProc, i, threads,
                                                                last, priority));
        } else {
            int size = share + (i < longer ? 1 : 0);
            tasks.push_back(std::make_unique<TPTLoopProcRunner>(taskName, loopProc, start, 1,
                                                                start + size - 1, priority));
            start += size;
        }
    }
    return tasks;
}

void TKovTaskController::RunLoop(const std::string& name, TLoopProcReference loopProc, int count,
                                 int minIterationsPerThread, TKovTaskPriority priority,
                                 bool interleaved, bool showProgress) {
    // The shares are freed when this returns, after the run has waited for their threads, also
    // when it raises.
    auto tasks = MakeThreadedLoopTasks(name, std::move(loopProc), count, minIterationsPerThread,
                                       priority, interleaved, 0);
    auto pointers = Pointers(tasks);
    ExecuteThreaded_Inner(pointers, showProgress ? OnWaitFor() : TWaitForTasksEvent());
}

void TKovTaskController::ExecuteThreadedLoop(const std::string& name, TLoopProcReference loopProc,
                                             int count, int minIterationsPerThread,
                                             TKovTaskPriority priority, bool interleaved) {
    RunLoop(name, std::move(loopProc), count, minIterationsPerThread, priority, interleaved, true);
}

void TKovTaskController::ExecuteThreadedLoop(TLoopProcReference loopProc, int count,
                                             int minIterationsPerThread, TKovTaskPriority priority,
                                             bool interleaved) {
    RunLoop({}, std::move(loopProc), count, minIterationsPerThread, priority, interleaved, true);
}

void TKovTaskController::ExecuteThreadedLoopNoProgress(const std::string& name,
                                                       TLoopProcReference loopProc, int count,
                                                       int minIterationsPerThread,
                                                       TKovTaskPriority priority,
                                                       bool interleaved) {
    RunLoop(name, std::move(loopProc), count, minIterationsPerThread, priority, interleaved, false);
}

void TKovTaskController::ExecuteThreadedLoopNoProgress(TLoopProcReference loopProc, int count,
                                                       int minIterationsPerThread,
                                                       TKovTaskPriority priority,
                                                       bool interleaved) {
    RunLoop({}, std::move(loopProc), count, minIterationsPerThread, priority, interleaved, false);
}

// --- State and requests ---------------------------------------------------------------------

bool TKovTaskController::IsRunningTasks() {
    return !ThreadedMonitor().IsEmpty();
}

bool TKovTaskController::IsRunningAsyncTasks() {
    return !AsyncMonitor().IsEmpty();
}

void TKovTaskController::GetThreadedTaskStates(TTaskInfoList& list) {
    ThreadedMonitor().GetTaskStates(list);
}

void TKovTaskController::PauseTask(const TKovTaskInfo& info) {
    if (!ThreadedMonitor().PauseTask(info))
        AsyncMonitor().PauseTask(info);
}

void TKovTaskController::ResumeTask(const TKovTaskInfo& info) {
    if (!ThreadedMonitor().ResumeTask(info))
        AsyncMonitor().ResumeTask(info);
}

void TKovTaskController::StopTask(const TKovTaskInfo& info) {
    if (!ThreadedMonitor().StopTask(info))
        AsyncMonitor().StopTask(info);
}

namespace {
// Requests look a task up by the record's Task only.
TKovTaskInfo KeyOf(TKovTask& task) {
    TKovTaskInfo key;
    key.Task = &task;
    return key;
}
} // namespace

void TKovTaskController::PauseTask(TKovTask& task) {
    PauseTask(KeyOf(task));
}

void TKovTaskController::ResumeTask(TKovTask& task) {
    ResumeTask(KeyOf(task));
}

void TKovTaskController::StopTask(TKovTask& task) {
    StopTask(KeyOf(task));
}

// --- Waiting --------------------------------------------------------------------------------

void TKovTaskController::SetOnWaitFor(TWaitForTasksEvent handler) {
    if (IsRunningTasks())
        throw EKovTaskError("Cannot set OnWaitFor event while tasks are running!");
    auto& hooks = Hooks();
    std::lock_guard lock(hooks.Lock);
    hooks.OnWaitFor = std::move(handler);
}

TWaitForTasksEvent TKovTaskController::OnWaitFor() {
    auto& hooks = Hooks();
    std::lock_guard lock(hooks.Lock);
    return hooks.OnWaitFor;
}

bool TKovTaskController::WaitForTasks(std::span<TKovTask* const> tasks,
                                      std::chrono::milliseconds timeout) {
    auto deadline = std::chrono::steady_clock::now() + timeout;
    for (TKovTask* task : tasks) {
        if (!task->WaitForDone(deadline))
            return false;
    }
    return true;
}

void TKovTaskController::WaitForTasks(std::span<TKovTask* const> tasks) {
    for (TKovTask* task : tasks)
        task->WaitForDone();
}

TWaitForTasksEvent TKovTaskController::MakeDelayedWaitFor(
    std::chrono::milliseconds delay,
    std::function<void(std::span<TKovTask* const> tasks)> showProgress) {
    return [delay, showProgress = std::move(showProgress)](std::span<TKovTask* const> tasks) {
        if (WaitForTasks(tasks, delay))
            return;
        if (showProgress)
            showProgress(tasks);
        WaitForTasks(tasks);
    };
}

} // namespace tw
