#include "TaskTestSupport.h"

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <exception>
#include <string>
#include <vector>

extern char** environ;

using namespace tw;
using namespace tw::testing;

namespace {

// A blocking run on a thread of its own, as the main thread would do it, so that the test thread
// can act as the user who sends requests.
class TBackgroundRun {
public:
    explicit TBackgroundRun(std::function<void()> run)
        : FThread([this, run = std::move(run)] {
              try {
                  run();
              } catch (...) {
                  FFailure = std::current_exception();
              }
              FDone.Set();
          }) {}
    ~TBackgroundRun() {
        if (FThread.joinable())
            FThread.join();
    }
    bool Done() { return FDone.IsSet(); }
    // Waits for the run to end and rethrows its failure.
    void Finish() {
        ASSERT_TRUE(FDone.Wait());
        FThread.join();
        if (FFailure)
            std::rethrow_exception(FFailure);
    }

private:
    TSignal FDone;
    std::exception_ptr FFailure;
    std::thread FThread;
};

TKovRunningTasksProgressMonitor& Monitor() {
    return TKovTaskController::ThreadedMonitor();
}

// A task that only reacts to a stop through its own hook: it blocks where it cannot call
// NotifyProgress.
class TBlockedTask : public TKovTask {
public:
    TBlockedTask() : TKovTask("Blocked") {}
    TSignal Started;
    TSignal Unblock;
    std::thread::id HookThread;
    bool ActionSawHook = false;

protected:
    void Execute() override {
        SetActivity("waiting", tafCanStop);
        SetStopAction([this] { ActionSawHook = HookThread != std::thread::id(); });
        Started.Set();
        EXPECT_TRUE(Unblock.Wait());
        SetStopAction({});
    }
    void OnStopRequested() override {
        HookThread = std::this_thread::get_id();
        Unblock.Set();
    }
};

} // namespace

class TaskRequests : public TaskTest {};

TEST_F(TaskRequests, PauseThenResumeBeforeNotifyProgressLeavesBothListsEmpty) {
    TSignal atWork, requestsSent;
    bool everPaused = false;
    TPTProcedureRunner task("Pausable", [&] {
        TKovTask::Current()->SetActivity("step 1", tafCanPause);
        atWork.Set();
        EXPECT_TRUE(requestsSent.Wait());
        TKovTask::Current()->NotifyProgress();
        TKovTask::Current()->SetActivity("step 2", tafCanPause);
    });
    task.SetOnProgress([&](const TKovTaskInfo& info, TTaskState& wanted) {
        if (info.State == tsPaused) {
            everPaused = true;
            wanted = tsFinished; // leave the pause, so that a fault fails instead of hanging
        }
    });
    TBackgroundRun run([&] { TKovTaskController::ExecuteThreaded(task); });
    ASSERT_TRUE(atWork.Wait());

    TKovTaskController::PauseTask(*SnapshotOf(&task));
    EXPECT_TRUE(Monitor().IsWaitingToPause(&task));
    EXPECT_TRUE(SnapshotStateIs(&task, tsWaitingToPause));
    TKovTaskController::ResumeTask(*SnapshotOf(&task));
    EXPECT_FALSE(Monitor().IsWaitingToPause(&task));
    EXPECT_FALSE(Monitor().IsWaitingToResume(&task));
    EXPECT_TRUE(SnapshotStateIs(&task, tsRunning));

    requestsSent.Set();
    run.Finish();
    EXPECT_FALSE(everPaused);
    EXPECT_FALSE(task.Stopped());
    EXPECT_EQ(task.State(), tsFinished);
}

TEST_F(TaskRequests, PauseHoldsTheWorkerAtNotifyProgressUntilResumed) {
    std::atomic<int> steps{0};
    std::atomic<bool> finish{false};
    TPTProcedureRunner task("Loop", [&] {
        TKovTask* self = TKovTask::Current();
        self->SetActivity("looping", tafCanPause | tafHasProgress, 0, 100);
        while (!finish) {
            ++steps;
            self->SetCurrentProgress(steps % 100);
            self->NotifyProgress();
            std::this_thread::yield();
        }
    });
    TBackgroundRun run([&] { TKovTaskController::ExecuteThreaded(task); });
    ASSERT_TRUE(WaitUntil([&] { return steps > 0; }));

    TKovTaskController::PauseTask(task);
    ASSERT_TRUE(WaitUntil([&] { return SnapshotStateIs(&task, tsPaused); }));
    EXPECT_EQ(task.State(), tsPaused);
    EXPECT_FALSE(Monitor().IsWaitingToPause(&task));
    int before = steps;
    std::this_thread::sleep_for(30ms);
    EXPECT_EQ(steps, before) << "a paused task went on working";

    // A second pause while paused changes nothing; the resume shows at once (the worker, woken
    // by it, may have taken it already).
    TKovTaskController::PauseTask(task);
    EXPECT_FALSE(Monitor().IsWaitingToPause(&task));
    TKovTaskController::ResumeTask(task);
    EXPECT_TRUE(SnapshotStateIs(&task, tsRunning));
    ASSERT_TRUE(WaitUntil([&] { return steps > before; }));
    ASSERT_TRUE(WaitUntil([&] { return !Monitor().IsWaitingToResume(&task); }));
    EXPECT_EQ(task.State(), tsRunning);

    finish = true;
    run.Finish();
    EXPECT_EQ(task.State(), tsFinished);
    // Requests for a task that is no longer listed are ignored.
    TKovTaskController::PauseTask(task);
    TKovTaskController::StopTask(task);
    EXPECT_FALSE(Monitor().IsWaitingToPause(&task));
}

TEST_F(TaskRequests, ResumeAfterThePauseWasHandedOutIsNotLost) {
    // The worker has been told to pause but has not paused yet when the resume comes: the resume
    // must still reach it, or it would stay paused with nobody having asked for it.
    std::atomic<int> steps{0};
    std::atomic<bool> finish{false};
    TSignal handedOut, resumeSent;
    TPTProcedureRunner task("Loop", [&] {
        TKovTask* self = TKovTask::Current();
        self->SetActivity("looping", tafCanPause | tafCanStop);
        while (!finish && !self->Stopped()) {
            ++steps;
            self->NotifyProgress();
            std::this_thread::yield();
        }
    });
    task.SetOnProgress([&](const TKovTaskInfo& info, TTaskState& wanted) {
        if (info.State == tsRunning && wanted == tsPaused && !handedOut.IsSet()) {
            handedOut.Set();
            EXPECT_TRUE(resumeSent.Wait());
        }
    });
    TBackgroundRun run([&] { TKovTaskController::ExecuteThreaded(task); });
    ASSERT_TRUE(WaitUntil([&] { return SnapshotStateIs(&task, tsRunning); }));

    TKovTaskController::PauseTask(task);
    ASSERT_TRUE(handedOut.Wait());
    TKovTaskController::ResumeTask(task);
    EXPECT_TRUE(SnapshotStateIs(&task, tsRunning));
    int before = steps;
    resumeSent.Set();
    bool wentOn = WaitUntil([&] { return steps > before + 10; }, 5s);
    EXPECT_TRUE(wentOn) << "the resume was lost";
    if (!wentOn)
        TKovTaskController::StopTask(task);
    EXPECT_TRUE(WaitUntil([&] { return !Monitor().IsWaitingToResume(&task); }));
    EXPECT_FALSE(Monitor().IsWaitingToPause(&task));

    finish = true;
    run.Finish();
    EXPECT_EQ(task.State(), tsFinished);
}

TEST_F(TaskRequests, StopEndsAPauseAndRequestsNeedTheirFlags) {
    TSignal leftLoop, mayFinish;
    TPTProcedureRunner task("Stoppable", [&] {
        TKovTask* self = TKovTask::Current();
        self->SetActivity("working", tafCanPause | tafCanStop);
        while (!self->Stopped())
            self->NotifyProgress();
        leftLoop.Set();
        EXPECT_TRUE(mayFinish.Wait());
    });
    TSignal unflaggedAtWork, unflaggedMayFinish;
    TPTProcedureRunner unflagged("Unflagged", [&] {
        TKovTask::Current()->SetActivity("working", 0);
        unflaggedAtWork.Set();
        EXPECT_TRUE(unflaggedMayFinish.Wait());
        TKovTask::Current()->NotifyProgress();
    });
    TBackgroundRun run([&] { TKovTaskController::ExecuteThreaded({&task, &unflagged}); });

    // Without CanPause and CanStop the requests are ignored.
    ASSERT_TRUE(unflaggedAtWork.Wait());
    TKovTaskController::PauseTask(unflagged);
    TKovTaskController::StopTask(unflagged);
    EXPECT_FALSE(Monitor().IsWaitingToPause(&unflagged));
    EXPECT_FALSE(Monitor().IsWaitingToStop(&unflagged));
    EXPECT_FALSE(unflagged.StopRequested());
    unflaggedMayFinish.Set();

    ASSERT_TRUE(WaitUntil([&] { return SnapshotStateIs(&task, tsRunning); }));
    TKovTaskController::PauseTask(task);
    ASSERT_TRUE(WaitUntil([&] { return SnapshotStateIs(&task, tsPaused); }));

    TKovTaskController::StopTask(task);
    EXPECT_TRUE(task.StopRequested());
    EXPECT_TRUE(SnapshotStateIs(&task, tsWaitingToFinish));
    ASSERT_TRUE(leftLoop.Wait());
    EXPECT_TRUE(task.Stopped());
    EXPECT_EQ(task.State(), tsWaitingToFinish);
    EXPECT_TRUE(SnapshotStateIs(&task, tsWaitingToFinish));
    // Nothing more to do for a task that is finishing.
    TKovTaskController::StopTask(task);
    TKovTaskController::PauseTask(task);
    EXPECT_FALSE(Monitor().IsWaitingToPause(&task));

    mayFinish.Set();
    run.Finish();
    EXPECT_EQ(task.State(), tsFinished);
    EXPECT_EQ(unflagged.State(), tsFinished);
    EXPECT_FALSE(unflagged.Stopped());
}

TEST_F(TaskRequests, StopActionEndsAChildProcessThatTheWorkerWaitsFor) {
    TSignal started;
    pid_t child = 0;
    int status = 0;
    std::thread::id actionThread;
    TPTProcedureRunner task("Running calculation...", [&] {
        TKovTask* self = TKovTask::Current();
        self->SetActivity("Running calculation...", tafCanStop);
        char program[] = "sleep";
        char seconds[] = "30";
        char* argv[] = {program, seconds, nullptr};
        ASSERT_EQ(posix_spawnp(&child, "sleep", nullptr, nullptr, argv, environ), 0);
        self->SetStopAction([&, pid = child] {
            actionThread = std::this_thread::get_id();
            kill(pid, SIGTERM);
        });
        started.Set();
        waitpid(child, &status, 0);
        // From here on the pid may belong to another process: no more kills.
        self->SetStopAction({});
    });
    TBackgroundRun run([&] { TKovTaskController::ExecuteThreaded(task); });
    ASSERT_TRUE(started.Wait());
    TKovTaskController::StopTask(task);
    run.Finish();
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGTERM);
    EXPECT_EQ(actionThread, std::this_thread::get_id());

    // The virtual hook runs first, on the requesting thread.
    TBlockedTask blocked;
    TBackgroundRun blockedRun([&] { TKovTaskController::ExecuteThreaded(blocked); });
    ASSERT_TRUE(blocked.Started.Wait());
    TKovTaskController::StopTask(blocked);
    blockedRun.Finish();
    EXPECT_EQ(blocked.HookThread, std::this_thread::get_id());
    EXPECT_TRUE(blocked.ActionSawHook);

    // A stop that came before the action was registered runs it at once, on the worker.
    TSignal atWork, stopSent;
    std::thread::id workerThread, lateActionThread;
    TPTProcedureRunner late("Late", [&] {
        TKovTask* self = TKovTask::Current();
        workerThread = std::this_thread::get_id();
        self->SetActivity("", tafCanStop);
        atWork.Set();
        EXPECT_TRUE(stopSent.Wait());
        self->SetStopAction([&] { lateActionThread = std::this_thread::get_id(); });
        self->SetStopAction({});
    });
    TBackgroundRun lateRun([&] { TKovTaskController::ExecuteThreaded(late); });
    ASSERT_TRUE(atWork.Wait());
    TKovTaskController::StopTask(late);
    stopSent.Set();
    lateRun.Finish();
    EXPECT_EQ(lateActionThread, workerThread);
}

TEST_F(TaskRequests, RequestsFromAnotherThreadRaceTheEndOfRuns) {
    // The user's thread sends requests while tasks come and go; a stop action must never meet a
    // freed task, and no request may leave a task paused for good (the stop ends any pause).
    class TCountingTask : public TKovTask {
    public:
        TCountingTask() : TKovTask("Counting") {}
        std::atomic<int> Requests{0};
        std::atomic<int> Actions{0};

    protected:
        void Execute() override {
            SetActivity("", tafCanPause | tafCanStop);
            SetStopAction([this] { ++Actions; });
            for (int i = 0; i < 200 && !Stopped(); ++i) {
                NotifyProgress();
                std::this_thread::yield();
            }
            SetStopAction({});
        }
        void OnStopRequested() override { ++Requests; }
    };

    std::atomic<TKovTask*> current{nullptr};
    std::atomic<bool> over{false};
    std::thread user([&] {
        while (!over) {
            TKovTask* task = current.load();
            std::this_thread::yield();
            if (!task)
                continue;
            TKovTaskInfo key;
            key.Task = task;
            TKovTaskController::PauseTask(key);
            TKovTaskController::ResumeTask(key);
            TKovTaskController::PauseTask(key);
            TKovTaskController::StopTask(key);
        }
    });
    int stopped = 0;
    for (int i = 0; i < 200; ++i) {
        auto task = std::make_unique<TCountingTask>();
        current = task.get();
        TKovTaskController::ExecuteThreaded(*task);
        current = nullptr;
        EXPECT_EQ(task->State(), tsFinished);
        // However many requests came, the stop hooks ran at most once.
        EXPECT_LE(task->Requests, 1);
        EXPECT_LE(task->Actions, task->Requests);
        stopped += task->Requests;
    }
    over = true;
    user.join();
    EXPECT_FALSE(TKovTaskController::IsRunningTasks());
    EXPECT_TRUE(Monitor().IsEmpty());
    RecordProperty("StoppedRuns", stopped);
}
