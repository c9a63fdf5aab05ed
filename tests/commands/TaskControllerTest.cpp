#include "TaskTestSupport.h"

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

using namespace tw;
using namespace tw::testing;
using ::testing::AllOf;
using ::testing::Eq;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using ::testing::StrEq;
using ::testing::Throws;
using ::testing::ThrowsMessage;

TW_DECLARE_EXCEPTION(EKernelTestFailure, EKovException)

// Outside any anonymous namespace and never inlined, so that its name stands in the stack that
// travels with the failure.
[[gnu::noinline]] void ThrowKernelTestFailure(const std::string& text) {
    throw EKernelTestFailure(text);
}

namespace {

// A message that a rethrow has not extended a second time.
MATCHER_P(ContainsOnce, part,
          std::string(negation ? "does not contain" : "contains") + " \"" + part +
              "\" exactly once") {
    const std::string text = arg;
    return text.find(part) != std::string::npos && text.find(part) == text.rfind(part);
}

class TFreedTask : public TPTProcedureRunner {
public:
    TFreedTask(TProcReference procedure, std::atomic<bool>& freed)
        : TPTProcedureRunner("Freed", std::move(procedure)), FFreed(freed) {}
    ~TFreedTask() override { FFreed = true; }

private:
    std::atomic<bool>& FFreed;
};

int NiceOfThisThread() {
    return getpriority(PRIO_PROCESS, static_cast<id_t>(gettid()));
}

} // namespace

class TaskController : public TaskTest {};

TEST_F(TaskController, FailureReachesTheCallerWithItsTypeAndTheStackOfItsThrow) {
    TPTProcedureRunner task("Calculating...", [] { ThrowKernelTestFailure("kernel failed"); });
    EXPECT_THAT([&] { TKovTaskController::ExecuteThreaded(task); },
                ThrowsMessage<EKernelTestFailure>(
                    AllOf(StartsWith("kernel failed\r\nOriginal call stack:\r\n"),
                          HasSubstr("ThrowKernelTestFailure"))));
    EXPECT_EQ(task.State(), tsFinished);
    EXPECT_FALSE(task.HasFatalException());

    // A throw inside the C++ library is recorded as well, and the type is kept.
    TPTProcedureRunner library("Library", [] { (void)std::vector<int>().at(3); });
    EXPECT_THAT([&] { TKovTaskController::ExecuteThreaded(library); },
                ThrowsMessage<std::out_of_range>(HasSubstr("\r\nOriginal call stack:\r\n")));
}

TEST_F(TaskController, AnExceptionThatIsNoStdExceptionPassesUnchanged) {
    TPTProcedureRunner odd("Odd", [] { throw 42; });
    EXPECT_THAT([&] { TKovTaskController::ExecuteThreaded(odd); }, Throws<int>(Eq(42)));
}

// Of several failures the first in array order is raised, whatever failed first in time; the
// others stay in their tasks.
TEST_F(TaskController, OfSeveralFailuresTheFirstInArrayOrderIsRaised) {
    TSignal secondFailed;
    TPTProcedureRunner first("First", [&] {
        EXPECT_TRUE(secondFailed.Wait());
        throw EKovException("first");
    });
    TPTProcedureRunner second("Second", [&] {
        struct TSetOnExit {
            TSignal& Signal;
            ~TSetOnExit() { Signal.Set(); }
        } setOnExit{secondFailed};
        throw EKovException("second");
    });
    TPTProcedureRunner fine("Fine", [] {});
    EXPECT_THAT(
        [&] {
            TKovTaskController::ExecuteThreaded({&fine, &first, &second});
        },
        ThrowsMessage<EKovException>(StartsWith("first")));
    EXPECT_FALSE(first.HasFatalException());
    ASSERT_TRUE(second.HasFatalException());
    EXPECT_THAT([&] { std::rethrow_exception(TKovTask::ExtractFatalException(second)); },
                ThrowsMessage<EKovException>(StrEq("second")));
    EXPECT_FALSE(second.HasFatalException());
    for (auto* task : {&fine, &first, &second})
        EXPECT_EQ(task->State(), tsFinished);
}

TEST_F(TaskController, NestedRunWaitsPlainlyAndRaisesOnTheOuterWorker) {
    // The shape of a calculation run: an outer task on a worker, a nested one for the process.
    std::vector<std::vector<TKovTask*>> hookCalls;
    TKovTaskController::SetOnWaitFor([&](std::span<TKovTask* const> tasks) {
        hookCalls.emplace_back(tasks.begin(), tasks.end());
        TKovTaskController::WaitForTasks(tasks);
    });

    std::size_t listedDuringNestedRun = 0;
    std::thread::id outerThread, raisedOnThread;
    std::string raisedMessage;
    TPTProcedureRunner outer("Calculating...", [&] {
        outerThread = std::this_thread::get_id();
        TPTProcedureRunner inner(
            "Running calculation...",
            [&] {
                TTaskInfoList list;
                TKovTaskController::GetThreadedTaskStates(list);
                listedDuringNestedRun = list.size();
                ThrowKernelTestFailure("no result file");
            },
            tppBelowNormal);
        try {
            TKovTaskController::ExecuteThreaded(inner);
        } catch (const EKernelTestFailure& e) {
            raisedOnThread = std::this_thread::get_id();
            raisedMessage = e.what();
            throw;
        }
    });
    // Raised again by the outer run, the message is not extended a second time.
    EXPECT_THAT([&] { TKovTaskController::ExecuteThreaded(outer); },
                ThrowsMessage<EKernelTestFailure>(
                    AllOf(StartsWith("no result file\r\nOriginal call stack:\r\n"),
                          ContainsOnce("Original call stack:"))));
    EXPECT_EQ(raisedOnThread, outerThread);
    EXPECT_NE(raisedOnThread, std::this_thread::get_id());
    EXPECT_THAT(raisedMessage, StartsWith("no result file"));
    EXPECT_EQ(listedDuringNestedRun, 2u);
    ASSERT_EQ(hookCalls.size(), 1u);
    EXPECT_EQ(hookCalls[0], std::vector<TKovTask*>{&outer});

    // The top-level flag was given back: the next run waits through the hook again, while the
    // variants without progress never do.
    TKovTaskController::ExecuteThreaded("Again", [] {});
    EXPECT_EQ(hookCalls.size(), 2u);
    TKovTaskController::ExecuteThreadedLoopNoProgress([](int, int, int) {}, 8);
    EXPECT_EQ(hookCalls.size(), 2u);
}

TEST_F(TaskController, ProgrammingErrorsAreRaisedWithTheirTexts) {
    // A task that starts itself again from its own worker.
    TKovTask* selfPointer = nullptr;
    TPTProcedureRunner self("Self", [&] { TKovTaskController::ExecuteThreaded(*selfPointer); });
    selfPointer = &self;
    EXPECT_THAT([&] { TKovTaskController::ExecuteThreaded(self); },
                ThrowsMessage<EKovTaskError>(
                    StartsWith("Cannot execute one thread more than once: Self @ " +
                               std::to_string(reinterpret_cast<std::intptr_t>(&self)))));

    // Twice in one run: refused before anything starts.
    bool ran = false;
    TPTProcedureRunner twice("Twice", [&] { ran = true; });
    EXPECT_THROW(TKovTaskController::ExecuteThreaded({&twice, &twice}), EKovTaskError);
    EXPECT_FALSE(ran);
    EXPECT_EQ(twice.State(), tsNotStarted);
    EXPECT_FALSE(TKovTaskController::IsRunningTasks());
    // Refused, it can still run.
    TKovTaskController::ExecuteThreaded(twice);
    EXPECT_TRUE(ran);

    // The wait hook cannot change during a run.
    EXPECT_THAT(
        [] {
            TKovTaskController::ExecuteThreaded("Hook",
                                                [] { TKovTaskController::SetOnWaitFor({}); });
        },
        ThrowsMessage<EKovTaskError>(
            StartsWith("Cannot set OnWaitFor event while tasks are running!")));

    // A progress handler that wants a state a task cannot be put in.
    bool bodyRan = false;
    std::vector<TTaskState> seen;
    EXPECT_THAT(
        [&] {
            TKovTaskController::ExecuteThreaded(
                "Wanted", [&] { bodyRan = true; },
                [&](const TKovTaskInfo& info, TTaskState& wanted) {
                    seen.push_back(info.State);
                    if (info.State == tsRunning)
                        wanted = tsNotStarted;
                });
        },
        ThrowsMessage<EKovTaskError>(StartsWith("Unexpected wanted task state: 0")));
    EXPECT_FALSE(bodyRan);
    EXPECT_EQ(seen, (std::vector<TTaskState>{tsRunning, tsFinished}));

    TKovTaskController::ExecuteThreaded(std::span<TKovTask* const>());
    TKovTaskController::ExecuteThreaded(TKovTaskList());
}

TEST_F(TaskController, DisplayHearsEveryRecordAndCannotUnsettleTheLists) {
    auto& monitor = TKovTaskController::ThreadedMonitor();
    std::mutex lock;
    std::vector<std::pair<std::string, TTaskState>> heard;
    monitor.SetOnThreadedTaskProgressNotification([&](const TKovTaskInfo& info) {
        std::lock_guard guard(lock);
        heard.emplace_back(info.CurrentActivityText(), info.State);
    });
    TKovTaskController::ExecuteThreaded(
        "Heard", [] { TKovTask::Current()->SetActivity("reading", tafHasProgress, 1, 2); });
    EXPECT_EQ(heard, (std::vector<std::pair<std::string, TTaskState>>{
                         {"", tsRunning}, {"reading", tsRunning}, {"", tsFinished}}));

    // A display that fails: the task fails with its message, and leaves the monitor all the same.
    monitor.SetOnThreadedTaskProgressNotification([](const TKovTaskInfo& info) {
        if (info.State == tsFinished)
            throw EKovException("display failed");
    });
    TPTProcedureRunner task("Displayed", [] {});
    EXPECT_THAT([&] { TKovTaskController::ExecuteThreaded(task); },
                ThrowsMessage<EKovException>(StartsWith("display failed")));
    EXPECT_TRUE(monitor.IsEmpty());
    EXPECT_EQ(task.State(), tsFinished);
}

TEST_F(TaskController, RunWaitsForItsThreadsWhateverTheHookDoes) {
    // A hook that does not wait: the run still returns only with all tasks finished.
    TSignal hookCalled;
    TKovTaskController::SetOnWaitFor([&](std::span<TKovTask* const>) { hookCalled.Set(); });
    TPTProcedureRunner slow("Slow", [&] { EXPECT_TRUE(hookCalled.Wait()); });
    TPTProcedureRunner quick("Quick", [] {});
    TKovTaskList list{&slow, &quick};
    TKovTaskController::ExecuteThreaded(list);
    EXPECT_EQ(slow.State(), tsFinished);
    EXPECT_EQ(quick.State(), tsFinished);

    // A hook that raises: the tasks have ended before the caller sees its exception.
    TKovTaskController::SetOnWaitFor(
        [](std::span<TKovTask* const>) { throw std::runtime_error("window failed"); });
    TPTProcedureRunner blocked("Blocked", [] { std::this_thread::sleep_for(50ms); });
    EXPECT_THROW(TKovTaskController::ExecuteThreaded(blocked), std::runtime_error);
    EXPECT_EQ(blocked.State(), tsFinished);
    EXPECT_FALSE(TKovTaskController::IsRunningTasks());
}

TEST_F(TaskController, DelayedWaitShowsProgressOnlyForALongRun) {
    std::vector<std::size_t> shown;
    TSignal release;
    auto show = [&](std::span<TKovTask* const> tasks) {
        shown.push_back(tasks.size());
        EXPECT_TRUE(TKovTaskController::IsRunningTasks());
        // The window closes when the tasks are done; here it ends them itself.
        release.Set();
    };

    // The delay is long but a quick run doesn't wait it out.
    TKovTaskController::SetOnWaitFor(TKovTaskController::MakeDelayedWaitFor(10s, show));
    auto start = std::chrono::steady_clock::now();
    TKovTaskController::ExecuteThreaded("Quick", [] {});
    EXPECT_TRUE(shown.empty());
    EXPECT_LT(std::chrono::steady_clock::now() - start, 10s);

    TKovTaskController::SetOnWaitFor(TKovTaskController::MakeDelayedWaitFor(20ms, show));
    TPTProcedureRunner one("One", [&] { EXPECT_TRUE(release.Wait()); });
    TPTProcedureRunner two("Two", [] {});
    TKovTaskController::ExecuteThreaded({&one, &two});
    EXPECT_EQ(shown, std::vector<std::size_t>{2});
    EXPECT_EQ(one.State(), tsFinished);
}

TEST_F(TaskController, AsyncFailureGoesToTheFinishedEvent) {
    TSignal finished;
    std::string finishedWith;
    std::thread::id finishedOn;
    TPTProcedureRunner task("Async", [] { ThrowKernelTestFailure("async failed"); });
    task.SetOnFinished([&](TKovTask* done) {
        finishedOn = std::this_thread::get_id();
        try {
            std::rethrow_exception(TKovTask::ExtractFatalException(*done));
        } catch (const std::exception& e) {
            finishedWith = e.what();
        }
        finished.Set();
    });
    TKovTaskController::ExecuteAsync(task);
    ASSERT_TRUE(finished.Wait());
    EXPECT_EQ(finishedWith, "async failed");
    TKovTask* tasks[] = {&task};
    TKovTaskController::WaitForTasks(tasks);
    EXPECT_EQ(task.State(), tsFinished);
    EXPECT_NE(finishedOn, std::this_thread::get_id());

    // The freeing event raises the failure where no caller can catch it: it goes to the async
    // failure handler, extended like a blocking run's, and the task is freed.
    TSignal reported;
    std::string reportedWith;
    TKovTaskController::SetOnAsyncFailure([&](std::exception_ptr failure) {
        try {
            std::rethrow_exception(failure);
        } catch (const EKernelTestFailure& e) {
            reportedWith = e.what();
        } catch (...) {
            reportedWith = "wrong type";
        }
        reported.Set();
    });
    std::atomic<bool> freed{false};
    auto* owned = new TFreedTask([] { ThrowKernelTestFailure("freed and failed"); }, freed);
    owned->SetOnFinished(TKovTaskController::HandleAsyncFinished_Free);
    TKovTaskController::ExecuteAsync(*owned);
    ASSERT_TRUE(reported.Wait());
    EXPECT_THAT(reportedWith, StartsWith("freed and failed\r\nOriginal call stack:\r\n"));
    EXPECT_TRUE(WaitUntil([&] { return freed.load(); }));
    EXPECT_TRUE(WaitUntil([] { return !TKovTaskController::IsRunningAsyncTasks(); }));

    // The procedure overloads free their runner themselves.
    std::atomic<int> ran{0};
    TSignal lastRan;
    for (int i = 0; i < 3; ++i)
        TKovTaskController::ExecuteAsync("Procedure", [&] {
            if (++ran == 3)
                lastRan.Set();
        });
    ASSERT_TRUE(lastRan.Wait());
    EXPECT_TRUE(WaitUntil([] { return !TKovTaskController::IsRunningAsyncTasks(); }));
}

TEST_F(TaskController, WorkerRunsWithItsPriorityAndThreadId) {
    int processNice = getpriority(PRIO_PROCESS, static_cast<id_t>(getpid()));
    int belowNormal = 0, idle = 0;
    std::int32_t tid = 0;
    TPTProcedureRunner low(
        "Low",
        [&] {
            belowNormal = NiceOfThisThread();
            tid = static_cast<std::int32_t>(gettid());
        },
        tppBelowNormal);
    TPTProcedureRunner lowest(
        "Idle", [&] { idle = NiceOfThisThread(); }, tppIdle);
    TKovTaskController::ExecuteThreaded({&low, &lowest});
    EXPECT_EQ(belowNormal, std::min(processNice + 5, 19));
    EXPECT_EQ(idle, 19);
    EXPECT_EQ(low.ThreadID(), tid);
    EXPECT_NE(tid, static_cast<std::int32_t>(gettid()));
    // The caller's own priority is untouched.
    EXPECT_EQ(NiceOfThisThread(), processNice);
}

using TaskControllerDeathTest = TaskController;

TEST_F(TaskControllerDeathTest, DestroyingARunningTaskEndsTheProcess) {
    ::testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_DEATH(
        {
            TSignal never;
            auto* task = new TPTProcedureRunner("Running", [&] { never.Wait(); });
            TKovTaskController::ExecuteAsync(*task);
            WaitUntil([&] { return task->State() == tsRunning; });
            delete task;
        },
        "Cannot destroy a task that has state: 1");
}
