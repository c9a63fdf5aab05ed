#include "commands/KovRunningTasksProgressMonitor.h"

#include "services/Format.h"

#include <cstdint>
#include <exception>

namespace tw {

bool TKovRunningTasksProgressMonitor::AddTasks(std::span<TKovTask* const> tasks,
                                               bool claimTopLevel) {
    std::lock_guard lock(FCriticalSection);
    // Claim every task first, so that a refused run has registered and started nothing.
    std::size_t claimed = 0;
    for (; claimed < tasks.size(); ++claimed) {
        bool expected = false;
        if (!tasks[claimed]->FListed.compare_exchange_strong(expected, true))
            break;
    }
    if (claimed < tasks.size()) {
        for (std::size_t i = 0; i < claimed; ++i)
            tasks[i]->FListed.store(false);
        TKovTask* task = tasks[claimed];
        throw EKovTaskError(Format("Cannot execute one thread more than once: %s @ %d",
                                   task->Name(), reinterpret_cast<std::intptr_t>(task)));
    }
    for (TKovTask* task : tasks) {
        task->FTaskInfo.Task = task;
        task->FTaskInfo.TaskClass = &typeid(*task);
        task->FMonitor = this;
        task->FPendingStopActions = 0;
        task->FPauseHandedOut = false;
        FRunningTasksList.Add(task);
        FCachedTaskInfos.push_back(task->FTaskInfo);
    }
    if (claimTopLevel && !FInTopLevelRun) {
        FInTopLevelRun = true;
        return true;
    }
    return false;
}

void TKovRunningTasksProgressMonitor::EndTopLevelRun() {
    std::lock_guard lock(FCriticalSection);
    FInTopLevelRun = false;
}

void TKovRunningTasksProgressMonitor::RemoveTasks(std::span<TKovTask* const> tasks) {
    std::unique_lock lock(FCriticalSection);
    for (TKovTask* task : tasks) {
        int index = FRunningTasksList.IndexOf(task);
        if (index < 0)
            continue;
        RemoveAt(static_cast<std::size_t>(index));
        FStopActionsDone.wait(lock, [task] { return task->FPendingStopActions == 0; });
        task->FListed.store(false);
    }
}

void TKovRunningTasksProgressMonitor::RemoveAt(std::size_t index) {
    TKovTask* task = FRunningTasksList[index];
    FRunningTasksList.Delete(index);
    FCachedTaskInfos.erase(FCachedTaskInfos.begin() + static_cast<long>(index));
    FTasksWaitingToPauseList.Remove(task);
    FTasksWaitingToResumeList.Remove(task);
    FTasksWaitingToStopList.Remove(task);
}

void TKovRunningTasksProgressMonitor::HandleProgress(const TKovTaskInfo& info, TTaskState& wanted) {
    std::unique_lock lock(FCriticalSection);
    wanted = info.State;
    int found = FRunningTasksList.IndexOf(info.Task);
    if (found < 0)
        return;
    auto index = static_cast<std::size_t>(found);
    FCachedTaskInfos[index] = info;
    // A failing display must not leave the lists unsettled (a finished task listed for good):
    // its exception goes to the worker once they are.
    std::exception_ptr notificationFailure;
    if (FOnTaskProgressNotification) {
        try {
            FOnTaskProgressNotification(info);
        } catch (...) {
            notificationFailure = std::current_exception();
        }
    }

    TKovTask* task = info.Task;
    // A pause handed out before has now reached the worker, or will not be taken.
    task->FPauseHandedOut = false;
    switch (info.State) {
    case tsPaused:
        FTasksWaitingToPauseList.Remove(task);
        break;
    case tsRunning:
        FTasksWaitingToResumeList.Remove(task);
        break;
    case tsFinished:
        RemoveAt(index);
        // A stop action may still run on a requesting thread; the task must outlive it.
        FStopActionsDone.wait(lock, [task] { return task->FPendingStopActions == 0; });
        task->FListed.store(false);
        if (notificationFailure)
            std::rethrow_exception(notificationFailure);
        return;
    default:
        break;
    }

    if (FTasksWaitingToStopList.Contains(task))
        wanted = tsFinished;
    else if (FTasksWaitingToPauseList.Contains(task)) {
        wanted = tsPaused;
        task->FPauseHandedOut = true;
    } else if (FTasksWaitingToResumeList.Contains(task))
        wanted = tsRunning;
    if (notificationFailure)
        std::rethrow_exception(notificationFailure);
}

bool TKovRunningTasksProgressMonitor::PauseTask(const TKovTaskInfo& info) {
    std::lock_guard lock(FCriticalSection);
    int index = FRunningTasksList.IndexOf(info.Task);
    if (index < 0)
        return false;
    const TKovTaskInfo& cached = FCachedTaskInfos[static_cast<std::size_t>(index)];
    if (!cached.CanPause || cached.State != tsRunning)
        return true;
    // The latest request wins: a resume still pending (for a pause the worker is about to take)
    // is dropped.
    FTasksWaitingToResumeList.Remove(info.Task);
    if (!FTasksWaitingToPauseList.Contains(info.Task))
        FTasksWaitingToPauseList.Add(info.Task);
    return true;
}

bool TKovRunningTasksProgressMonitor::ResumeTask(const TKovTaskInfo& info) {
    std::lock_guard lock(FCriticalSection);
    int index = FRunningTasksList.IndexOf(info.Task);
    if (index < 0)
        return false;
    // A pause that the worker has not been told of yet is simply cancelled. One that it has been
    // told of, but not yet published, is answered by a resume that waits for its paused record.
    bool cancelled = FTasksWaitingToPauseList.Remove(info.Task) >= 0;
    if (cancelled && !info.Task->FPauseHandedOut)
        return true;
    bool paused = FCachedTaskInfos[static_cast<std::size_t>(index)].State == tsPaused ||
                  info.Task->FPauseHandedOut;
    if (paused && !FTasksWaitingToResumeList.Contains(info.Task)) {
        FTasksWaitingToResumeList.Add(info.Task);
        info.Task->WakeUp();
    }
    return true;
}

bool TKovRunningTasksProgressMonitor::StopTask(const TKovTaskInfo& info) {
    TKovTask* task = info.Task;
    {
        std::lock_guard lock(FCriticalSection);
        int index = FRunningTasksList.IndexOf(task);
        if (index < 0)
            return false;
        const TKovTaskInfo& cached = FCachedTaskInfos[static_cast<std::size_t>(index)];
        if (!cached.CanStop || cached.State == tsFinished || cached.State == tsWaitingToFinish ||
            FTasksWaitingToStopList.Contains(task))
            return true;
        FTasksWaitingToStopList.Add(task);
        task->WakeUp();
        // Keeps the task alive until its stop actions have run outside the lock.
        ++task->FPendingStopActions;
    }
    struct TPendingRelease {
        TKovRunningTasksProgressMonitor* Monitor;
        TKovTask* Task;
        ~TPendingRelease() {
            std::lock_guard lock(Monitor->FCriticalSection);
            --Task->FPendingStopActions;
            Monitor->FStopActionsDone.notify_all();
        }
    } release{this, task};
    task->RunStopActions();
    return true;
}

void TKovRunningTasksProgressMonitor::GetTaskStates(TTaskInfoList& list) const {
    std::lock_guard lock(FCriticalSection);
    list = FCachedTaskInfos;
    for (auto& info : list) {
        if (FTasksWaitingToStopList.Contains(info.Task))
            info.State = tsWaitingToFinish;
        else if (FTasksWaitingToPauseList.Contains(info.Task))
            info.State = tsWaitingToPause;
        else if (FTasksWaitingToResumeList.Contains(info.Task))
            info.State = tsRunning;
    }
}

bool TKovRunningTasksProgressMonitor::IsEmpty() const {
    std::lock_guard lock(FCriticalSection);
    return FRunningTasksList.Empty();
}

std::size_t TKovRunningTasksProgressMonitor::Count() const {
    std::lock_guard lock(FCriticalSection);
    return FRunningTasksList.Count();
}

bool TKovRunningTasksProgressMonitor::IsWaitingToPause(const TKovTask* task) const {
    std::lock_guard lock(FCriticalSection);
    return FTasksWaitingToPauseList.Contains(task);
}

bool TKovRunningTasksProgressMonitor::IsWaitingToResume(const TKovTask* task) const {
    std::lock_guard lock(FCriticalSection);
    return FTasksWaitingToResumeList.Contains(task);
}

bool TKovRunningTasksProgressMonitor::IsWaitingToStop(const TKovTask* task) const {
    std::lock_guard lock(FCriticalSection);
    return FTasksWaitingToStopList.Contains(task);
}

void TKovRunningTasksProgressMonitor::SetOnThreadedTaskProgressNotification(
    TTaskProgressNotificationNoFeedback handler) {
    std::lock_guard lock(FCriticalSection);
    FOnTaskProgressNotification = std::move(handler);
}

} // namespace tw
