#pragma once
// The shared picture of what runs: the tasks of the running runs with their latest records, and
// the requests of the user that wait for a task's next NotifyProgress. The process has two of
// them, one for blocking (threaded) runs and one for asynchronous tasks (see TKovTaskController).
//
// Threads. Everything here is guarded by one lock. Workers come in only through HandleProgress,
// called from their NotifyProgress; displays and request senders come in from any thread. Records
// are copied by value, so a snapshot needs no lock once taken. Under the lock runs no user code but
// the progress notification, which must therefore not call back into the monitor.
//
// Invariant: FCachedTaskInfos[i] is the latest record of FRunningTasksList[i]; both change together
// under the lock. The three waiting lists hold only tasks of the running list.

#include "commands/KovTasks.h"

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <span>

namespace tw {

class TKovRunningTasksProgressMonitor {
public:
    TKovRunningTasksProgressMonitor() = default;
    TKovRunningTasksProgressMonitor(const TKovRunningTasksProgressMonitor&) = delete;
    TKovRunningTasksProgressMonitor& operator=(const TKovRunningTasksProgressMonitor&) = delete;

    // Registers the tasks of a run, in order: each joins the running list, its record (bound to
    // the task's class) the cache, and the task is bound to this monitor. A task that is already
    // listed, here or in the other monitor, or that appears twice, raises "Cannot execute one
    // thread more than once: %s @ %d" and nothing is registered. With `claimTopLevel`, the run
    // takes the top-level flag if it is clear, and answers whether it did.
    bool AddTasks(std::span<TKovTask* const> tasks, bool claimTopLevel = false);
    // Clears the top-level flag claimed by AddTasks.
    void EndTopLevelRun();
    // Takes back registered tasks that were never started.
    void RemoveTasks(std::span<TKovTask* const> tasks);

    // The handler of a task's NotifyProgress, on the worker: stores the record, tells the
    // display, settles the requests the record answers, and sets `wanted` from what is still
    // requested. A finished task leaves every list here (after any stop action that is running
    // for it has returned).
    void HandleProgress(const TKovTaskInfo& info, TTaskState& wanted);

    // Requests, by the record's Task; any thread; they return at once. Each answers whether the
    // task was in the running list (a task that is not is ignored without an error).
    bool PauseTask(const TKovTaskInfo& info);
    bool ResumeTask(const TKovTaskInfo& info);
    // Also runs the task's stop actions on the calling thread at the first accepted request.
    bool StopTask(const TKovTaskInfo& info);

    // A copy of the cache, each state showing a pending request: tsWaitingToFinish for a stop,
    // else tsWaitingToPause for a pause, else tsRunning for a resume.
    void GetTaskStates(TTaskInfoList& list) const;
    bool IsEmpty() const;
    std::size_t Count() const;
    bool IsWaitingToPause(const TKovTask* task) const;
    bool IsWaitingToResume(const TKovTask* task) const;
    bool IsWaitingToStop(const TKovTask* task) const;

    // Called under the lock, on the worker, for every record of a listed task.
    void SetOnThreadedTaskProgressNotification(TTaskProgressNotificationNoFeedback handler);

private:
    void RemoveAt(std::size_t index);

    mutable std::mutex FCriticalSection;
    std::condition_variable FStopActionsDone;
    TTaskInfoList FCachedTaskInfos;
    TKovTaskList FRunningTasksList;
    TKovTaskList FTasksWaitingToPauseList;
    TKovTaskList FTasksWaitingToResumeList;
    TKovTaskList FTasksWaitingToStopList;
    TTaskProgressNotificationNoFeedback FOnTaskProgressNotification;
    bool FInTopLevelRun = false;
};

} // namespace tw
