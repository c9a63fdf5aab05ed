#pragma once
// Shared pieces of the task tests: a signal with bounded waits, polling with a limit, and a fixture
// that resets the process-wide task state and ends the process when a test hangs, so that a fault
// in the thread code fails the run instead of blocking it.

#include "commands/KovTaskController.h"
#include "services/RuntimeSettings.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <optional>
#include <ostream>
#include <thread>

namespace tw {
// Test messages show states as numbers rather than as characters.
inline void PrintTo(TTaskState state, std::ostream* os) {
    *os << static_cast<int>(state);
}
} // namespace tw

namespace tw::testing {

using namespace std::chrono_literals;

// Generous: only a hang ever reaches it, also under helgrind or the thread sanitizer.
constexpr auto WaitLimit = 20s;

class TSignal {
public:
    void Set() {
        std::lock_guard lock(FLock);
        FSet = true;
        FChanged.notify_all();
    }
    bool IsSet() {
        std::lock_guard lock(FLock);
        return FSet;
    }
    // False when the limit passed first.
    bool Wait(std::chrono::milliseconds limit = WaitLimit) {
        std::unique_lock lock(FLock);
        return FChanged.wait_for(lock, limit, [this] { return FSet; });
    }

private:
    std::mutex FLock;
    std::condition_variable FChanged;
    bool FSet = false;
};

// Polls until the condition holds; false when the limit passed first.
inline bool WaitUntil(const std::function<bool()>& condition,
                      std::chrono::milliseconds limit = WaitLimit) {
    auto deadline = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

// The threaded monitor's snapshot record of a task, if listed.
inline std::optional<TKovTaskInfo> SnapshotOf(const TKovTask* task) {
    TTaskInfoList list;
    TKovTaskController::GetThreadedTaskStates(list);
    for (const auto& info : list)
        if (info.Task == task)
            return info;
    return std::nullopt;
}

inline bool SnapshotStateIs(const TKovTask* task, TTaskState state) {
    auto info = SnapshotOf(task);
    return info && info->State == state;
}

class TaskTest : public ::testing::Test {
protected:
    void SetUp() override {
        TRuntimeSettings::Set("TASKS_FORCE_SINGLE_THREAD", false);
        TKovTaskController::SetOnWaitFor({});
        TKovTaskController::SetOnAsyncFailure({});
        TKovTaskController::ThreadedMonitor().SetOnThreadedTaskProgressNotification({});
        FWatchdog = std::thread([this] {
            std::unique_lock lock(FWatchdogLock);
            if (!FWatchdogChanged.wait_for(lock, 2 * WaitLimit, [this] { return FTestEnded; })) {
                std::fprintf(stderr, "task test hung; ending the process\n");
                std::_Exit(3);
            }
        });
    }

    void TearDown() override {
        {
            std::lock_guard lock(FWatchdogLock);
            FTestEnded = true;
            FWatchdogChanged.notify_all();
        }
        FWatchdog.join();
        EXPECT_FALSE(TKovTaskController::IsRunningTasks());
        TRuntimeSettings::Set("TASKS_FORCE_SINGLE_THREAD", false);
        TKovTaskController::SetOnWaitFor({});
        TKovTaskController::SetOnAsyncFailure({});
        TKovTaskController::ThreadedMonitor().SetOnThreadedTaskProgressNotification({});
    }

private:
    std::thread FWatchdog;
    std::mutex FWatchdogLock;
    std::condition_variable FWatchdogChanged;
    bool FTestEnded = false;
};

} // namespace tw::testing
