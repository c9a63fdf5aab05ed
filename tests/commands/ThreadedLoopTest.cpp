#include "TaskTestSupport.h"

#include <atomic>
#include <gmock/gmock.h>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <tuple>
#include <vector>

using namespace tw;
using namespace tw::testing;
using ::testing::StartsWith;
using ::testing::ThrowsMessage;

namespace {

using TShare = std::tuple<int, int, int>; // start, increment, end

std::vector<TShare> Shares(const std::vector<std::unique_ptr<TPTLoopProcRunner>>& tasks) {
    std::vector<TShare> shares;
    for (const auto& task : tasks)
        shares.emplace_back(task->StartIndex(), task->Increment(), task->EndIndex());
    return shares;
}

std::vector<TShare> Split(int count, int minimum, bool interleaved, int maxThreads) {
    return Shares(TKovTaskController::MakeThreadedLoopTasks("Loop", {}, count, minimum, tppNormal,
                                                            interleaved, maxThreads));
}

} // namespace

class ThreadedLoop : public TaskTest {};

TEST_F(ThreadedLoop, SplitsBlockedAndInterleaved) {
    EXPECT_EQ(Split(10, 0, false, 4),
              (std::vector<TShare>{{0, 1, 2}, {3, 1, 5}, {6, 1, 7}, {8, 1, 9}}));
    EXPECT_EQ(Split(10, 0, true, 4),
              (std::vector<TShare>{{0, 4, 8}, {1, 4, 9}, {2, 4, 6}, {3, 4, 7}}));

    // A minimum per thread takes threads away until each share is big enough.
    EXPECT_EQ(Split(10, 5, false, 4), (std::vector<TShare>{{0, 1, 4}, {5, 1, 9}}));
    EXPECT_EQ(Split(10, 5, true, 4), (std::vector<TShare>{{0, 2, 8}, {1, 2, 9}}));
    EXPECT_EQ(Split(10, 20, false, 4), (std::vector<TShare>{{0, 1, 9}}));

    // Fewer iterations than threads: one share per iteration, none empty.
    EXPECT_EQ(Split(3, 0, false, 4), (std::vector<TShare>{{0, 1, 0}, {1, 1, 1}, {2, 1, 2}}));
    EXPECT_EQ(Split(3, 0, true, 4), (std::vector<TShare>{{0, 3, 0}, {1, 3, 1}, {2, 3, 2}}));
    EXPECT_EQ(Split(1, 0, true, 4), (std::vector<TShare>{{0, 1, 0}}));

    EXPECT_TRUE(Split(0, 0, false, 4).empty());
    EXPECT_TRUE(Split(-5, 0, true, 4).empty());

    // Without a maximum, as many threads as processors.
    int processors = TKovTaskController::ProcessorCount();
    EXPECT_EQ(Split(1000, 0, false, 0).size(), static_cast<std::size_t>(processors));

    auto tasks =
        TKovTaskController::MakeThreadedLoopTasks("Stress", {}, 10, 0, tppLowest, false, 4);
    ASSERT_EQ(tasks.size(), 4u);
    EXPECT_EQ(tasks[0]->Name(), "Stress (1/4)");
    EXPECT_EQ(tasks[3]->Name(), "Stress (4/4)");
    EXPECT_EQ(tasks[3]->Priority(), tppLowest);

    TRuntimeSettings::Set("TASKS_FORCE_SINGLE_THREAD", true);
    auto single =
        TKovTaskController::MakeThreadedLoopTasks("Stress", {}, 100, 0, tppNormal, true, 8);
    ASSERT_EQ(single.size(), 1u);
    EXPECT_EQ(single[0]->Name(), "Stress (1/1)");
    EXPECT_EQ(Shares(single), (std::vector<TShare>{{0, 1, 99}}));
}

TEST_F(ThreadedLoop, VisitsEveryIndexExactlyOnce) {
    for (bool interleaved : {false, true}) {
        for (int minimum : {0, 3}) {
            for (int count : {1, 2, 3, 7, 100, 1001}) {
                std::vector<std::atomic<int>> visits(static_cast<std::size_t>(count));
                std::atomic<int> bodies{0};
                TKovTaskController::ExecuteThreadedLoop(
                    "Loop",
                    [&](int start, int increment, int end) {
                        ++bodies;
                        for (int i = start; i <= end; i += increment)
                            ++visits[static_cast<std::size_t>(i)];
                    },
                    count, minimum, tppNormal, interleaved);
                for (int i = 0; i < count; ++i)
                    ASSERT_EQ(visits[static_cast<std::size_t>(i)].load(), 1)
                        << "index " << i << " of " << count << (interleaved ? " interleaved" : "")
                        << " minimum " << minimum;
                EXPECT_LE(bodies.load(), TKovTaskController::ProcessorCount());
            }
        }
    }

    bool called = false;
    TKovTaskController::ExecuteThreadedLoop([&](int, int, int) { called = true; }, 0);
    TKovTaskController::ExecuteThreadedLoopNoProgress([&](int, int, int) { called = true; }, -1);
    EXPECT_FALSE(called);
}

TEST_F(ThreadedLoop, ShareShowsItsNameAndFailsLikeAnyTask) {
    std::mutex lock;
    std::set<std::string> activities;
    TKovTaskController::ExecuteThreadedLoopNoProgress(
        "Derived results",
        [&](int, int, int) {
            std::lock_guard guard(lock);
            activities.insert(TKovTask::Current()->TaskInfo().CurrentActivityText());
        },
        2, 0, tppNormal, false);
    EXPECT_EQ(activities,
              (std::set<std::string>{"Derived results (1/2)", "Derived results (2/2)"}));

    // A failing share reaches the caller; the shares are freed and nothing stays listed.
    EXPECT_THAT(
        [] {
            TKovTaskController::ExecuteThreadedLoop(
                "Failing",
                [](int start, int, int) {
                    if (start == 0)
                        throw EKovException("share 0 failed");
                },
                4, 0, tppNormal, true);
        },
        ThrowsMessage<EKovException>(StartsWith("share 0 failed")));
}

TEST_F(ThreadedLoop, SingleThreadSwitchRunsOneShareOnTheCaller) {
    TRuntimeSettings::Set("TASKS_FORCE_SINGLE_THREAD", true);
    int waits = 0;
    TKovTaskController::SetOnWaitFor([&](std::span<TKovTask* const>) { ++waits; });

    std::vector<TShare> calls;
    std::string name;
    std::thread::id bodyThread;
    TKovTaskController::ExecuteThreadedLoop(
        "Reading",
        [&](int start, int increment, int end) {
            calls.emplace_back(start, increment, end);
            name = TKovTask::Current()->Name();
            bodyThread = std::this_thread::get_id();
        },
        100, 0, tppNormal, true);
    EXPECT_EQ(calls, (std::vector<TShare>{{0, 1, 99}}));
    EXPECT_EQ(name, "Reading (1/1)");
    EXPECT_EQ(bodyThread, std::this_thread::get_id());
    EXPECT_EQ(waits, 0);

    // A single task runs inline too, and fails the same way.
    TPTProcedureRunner task("Inline", [&] {
        bodyThread = std::this_thread::get_id();
        throw EKovException("inline failure");
    });
    EXPECT_THROW(TKovTaskController::ExecuteThreaded(task), EKovException);
    EXPECT_EQ(bodyThread, std::this_thread::get_id());
    EXPECT_EQ(task.State(), tsFinished);
    EXPECT_EQ(waits, 0);

    // Asynchronous: inline and finished on return, unless a thread is forced.
    std::atomic<bool> finished{false};
    TPTProcedureRunner async("Async", [&] { bodyThread = std::this_thread::get_id(); });
    async.SetOnFinished([&](TKovTask*) { finished = true; });
    TKovTaskController::ExecuteAsync(async);
    EXPECT_TRUE(finished);
    EXPECT_EQ(async.State(), tsFinished);
    EXPECT_EQ(bodyThread, std::this_thread::get_id());
    EXPECT_FALSE(TKovTaskController::IsRunningAsyncTasks());

    TSignal done;
    TPTProcedureRunner forced("Forced", [&] { bodyThread = std::this_thread::get_id(); });
    forced.SetOnFinished([&](TKovTask*) { done.Set(); });
    TKovTaskController::ExecuteAsync(forced, true);
    ASSERT_TRUE(done.Wait());
    TKovTask* forcedTasks[] = {&forced};
    TKovTaskController::WaitForTasks(forcedTasks);
    EXPECT_NE(bodyThread, std::this_thread::get_id());
}
