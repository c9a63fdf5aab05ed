#include "commands/KovTasks.h"

#include "commands/ExceptionCallStack.h"
#include "commands/KovRunningTasksProgressMonitor.h"
#include "commands/KovTaskController.h"
#include "services/Format.h"
#include "services/Localisation.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace tw {

namespace {

using namespace std::chrono_literals;

// The task whose Execute runs on this thread, innermost first for inline runs.
thread_local TKovTask* tCurrentTask = nullptr;
// Set for the whole life of a worker thread, finished event included.
thread_local bool tOnTaskThread = false;

class TCurrentTaskScope {
public:
    explicit TCurrentTaskScope(TKovTask* task) : FPrevious(tCurrentTask) { tCurrentTask = task; }
    ~TCurrentTaskScope() { tCurrentTask = FPrevious; }
    TCurrentTaskScope(const TCurrentTaskScope&) = delete;
    TCurrentTaskScope& operator=(const TCurrentTaskScope&) = delete;

private:
    TKovTask* FPrevious;
    // A failure inside the task is reported with the stack of its throw.
    TThrowStackRecording FRecording;
};

// Days between 30 December 1899 and 1 January 1970.
constexpr double UnixEpochInDays = 25569.0;

// The priorities as nice values relative to the process's own. Lowering always works; raising
// needs a privilege that a desktop program normally lacks, and then the thread keeps the nice
// value it inherited.
void ApplyThreadPriority(TKovTaskPriority priority) {
    static const int processNice = [] {
        errno = 0;
        int nice = getpriority(PRIO_PROCESS, static_cast<id_t>(getpid()));
        return errno == 0 ? nice : 0;
    }();
    static constexpr int Offsets[] = {19, 10, 5, 0, -5, -10};
    int nice = std::clamp(processNice + Offsets[priority], -20, 19);
    (void)setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), nice);
}

// UTF-8 decoding that never fails: a broken sequence gives U+FFFD and consumes one byte.
char32_t DecodeUtf8(std::string_view text, std::size_t& pos) {
    auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    unsigned char lead = byte(pos);
    if (lead < 0x80) {
        ++pos;
        return lead;
    }
    int length = lead >= 0xF0 && lead <= 0xF4 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC2 ? 2 : 0;
    if (length == 0 || lead >= 0xF5 || pos + static_cast<std::size_t>(length) > text.size()) {
        ++pos;
        return U'\uFFFD';
    }
    char32_t cp = lead & (0xFF >> (length + 1));
    for (int i = 1; i < length; ++i) {
        unsigned char next = byte(pos + static_cast<std::size_t>(i));
        if ((next & 0xC0) != 0x80) {
            ++pos;
            return U'\uFFFD';
        }
        cp = (cp << 6) | (next & 0x3F);
    }
    static constexpr char32_t Minimum[] = {0, 0, 0x80, 0x800, 0x10000};
    if (cp < Minimum[length] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
        ++pos;
        return U'\uFFFD';
    }
    pos += static_cast<std::size_t>(length);
    return cp;
}

void AppendUtf8(std::string& out, char32_t cp) {
    if (cp < 0x80) {
        out += static_cast<char>(cp);
    } else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (cp >> 18));
        out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
}

} // namespace

double TaskClockNow() {
    using namespace std::chrono;
    double seconds = duration<double>(system_clock::now().time_since_epoch()).count();
    return UnixEpochInDays + seconds / 86400.0;
}

// --- TKovTaskInfo ---------------------------------------------------------------------------

void TKovTaskInfo::StoreText(char16_t (&target)[TextCapacity], std::string_view text) {
    std::size_t count = 0;
    std::size_t pos = 0;
    while (pos < text.size() && count < TextCapacity) {
        char32_t cp = DecodeUtf8(text, pos);
        if (cp < 0x10000) {
            target[count++] = static_cast<char16_t>(cp);
        } else {
            if (count + 2 > TextCapacity)
                break;
            cp -= 0x10000;
            target[count++] = static_cast<char16_t>(0xD800 + (cp >> 10));
            target[count++] = static_cast<char16_t>(0xDC00 + (cp & 0x3FF));
        }
    }
    std::fill(target + count, target + TextCapacity, u'\0');
}

std::string TKovTaskInfo::ReadText(const char16_t (&source)[TextCapacity]) {
    std::string out;
    for (std::size_t i = 0; i < TextCapacity && source[i] != 0; ++i) {
        char32_t unit = source[i];
        if (unit >= 0xD800 && unit <= 0xDBFF && i + 1 < TextCapacity && source[i + 1] >= 0xDC00 &&
            source[i + 1] <= 0xDFFF) {
            AppendUtf8(out, 0x10000 + ((unit - 0xD800) << 10) + (source[i + 1] - 0xDC00));
            ++i;
        } else if (unit >= 0xD800 && unit <= 0xDFFF) {
            AppendUtf8(out, U'\uFFFD');
        } else {
            AppendUtf8(out, unit);
        }
    }
    return out;
}

std::string TKovTaskInfo::NameText() const {
    return ReadText(Name);
}

void TKovTaskInfo::SetNameText(std::string_view text) {
    StoreText(Name, text);
}

std::string TKovTaskInfo::CurrentActivityText() const {
    return ReadText(CurrentActivity);
}

void TKovTaskInfo::SetCurrentActivityText(std::string_view text) {
    StoreText(CurrentActivity, text);
}

std::string TKovTaskInfo::AsText() const {
    return Format("Name: \"%s\"; CurrentActivity: \"%s\"; State: %d; HasProgress: %s; "
                  "CurrentProgress: %.4g; MaxProgress: %.4g",
                  NameText(), CurrentActivityText(), static_cast<int>(State),
                  HasProgress ? "True" : "False", CurrentProgress, MaxProgress);
}

std::string TTaskInfoList::AsText() const {
    std::string text;
    for (const auto& info : *this)
        text += info.AsText() + "\r\n";
    return text;
}

// --- TKovTask -------------------------------------------------------------------------------

TKovTask::TKovTask(std::string_view name, TKovTaskPriority priority) : FPriority(priority) {
    FTaskInfo.Task = this;
    FTaskInfo.SetNameText(name);
}

TKovTask::~TKovTask() {
    TTaskState state = State();
    if ((state != tsNotStarted && state != tsFinished) || FListed.load()) {
        // Going on would leave the worker on freed memory.
        std::fprintf(
            stderr, "%s\n",
            Format("Cannot destroy a task that has state: %d", static_cast<int>(state)).c_str());
        std::abort();
    }
    if (FThread.joinable()) {
        if (FThread.get_id() == std::this_thread::get_id())
            FThread.detach(); // freed by its own finished event; the thread ends right after
        else
            FThread.join();
    }
}

std::string TKovTask::Name() const {
    return FTaskInfo.NameText();
}

void TKovTask::SetName(std::string_view name) {
    FTaskInfo.SetNameText(name);
}

std::exception_ptr TKovTask::ExtractFatalException(TKovTask& task) {
    std::exception_ptr failure;
    std::swap(failure, task.FFatalException);
    return failure;
}

std::string TKovTask::GetConfirmStopString(const std::string& name) const {
    if (!FConfirmStop.load(std::memory_order_acquire))
        return {};
    return Format(Translate("Stop \"%s\"?"), name.empty() ? Name() : name);
}

TKovTask* TKovTask::Current() {
    return tCurrentTask;
}

bool TKovTask::CallerIsTask() {
    return tOnTaskThread || tCurrentTask != nullptr;
}

void TKovTask::SetState(TTaskState state) {
    FTaskInfo.State = state;
    FState.store(state, std::memory_order_release);
}

void TKovTask::NotifyProgress() {
    TTaskState wanted = FTaskInfo.State;
    if (FMonitor)
        FMonitor->HandleProgress(FTaskInfo, wanted);
    if (FOnProgress)
        FOnProgress(FTaskInfo, wanted);
    if (wanted == FTaskInfo.State)
        return;
    switch (wanted) {
    case tsRunning:
        Resume();
        break;
    case tsPaused:
        Pause();
        break;
    case tsFinished:
        Stop();
        break;
    default:
        throw EKovTaskError(Format("Unexpected wanted task state: %d", static_cast<int>(wanted)));
    }
}

void TKovTask::Pause() {
    if (!FTaskInfo.CanPause || FTaskInfo.State != tsRunning)
        return;
    SetState(tsPaused);
    // The worker stays here, publishing its paused record, until a resume or a stop arrives.
    // A request wakes it at once; the timeout keeps it going should a wake-up be missed.
    for (;;) {
        NotifyProgress();
        if (FTaskInfo.State == tsRunning || FTaskInfo.State == tsWaitingToFinish)
            return;
        std::unique_lock lock(FWakeLock);
        FWakeChanged.wait_for(lock, 100ms, [this] { return FWakeRequested; });
        FWakeRequested = false;
    }
}

void TKovTask::Resume() {
    if (FTaskInfo.State == tsPaused)
        SetState(tsRunning);
}

void TKovTask::Stop() {
    SetState(tsWaitingToFinish);
    FStopped.store(true, std::memory_order_release);
}

void TKovTask::WakeUp() {
    std::lock_guard lock(FWakeLock);
    FWakeRequested = true;
    FWakeChanged.notify_all();
}

void TKovTask::SetActivity(std::string_view currentActivity, unsigned flags, double currentProgress,
                           double maxProgress) {
    FTaskInfo.SetCurrentActivityText(currentActivity);
    FTaskInfo.CanPause = (flags & tafCanPause) != 0;
    FTaskInfo.CanStop = (flags & tafCanStop) != 0;
    FTaskInfo.HasProgress = (flags & tafHasProgress) != 0;
    FTaskInfo.ConfirmStop = (flags & tafConfirmStop) != 0;
    FConfirmStop.store(FTaskInfo.ConfirmStop, std::memory_order_release);
    if (currentProgress != -1)
        FTaskInfo.CurrentProgress = currentProgress;
    if (maxProgress != -1)
        FTaskInfo.MaxProgress = maxProgress;
    NotifyProgress();
}

void TKovTask::SetActivityKeepingFlags(std::string_view currentActivity, double currentProgress,
                                       double maxProgress) {
    SetActivity(currentActivity, FTaskInfo.HasProgress ? tafHasProgress : 0u, currentProgress,
                maxProgress);
}

void TKovTask::SetStopAction(std::function<void()> action) {
    std::lock_guard lock(FStopActionLock);
    FStopAction = std::move(action);
    if (FStopAction && FStopRequested.load(std::memory_order_acquire))
        FStopAction();
}

void TKovTask::RunStopActions() {
    std::lock_guard lock(FStopActionLock);
    FStopRequested.store(true, std::memory_order_release);
    OnStopRequested();
    if (FStopAction)
        FStopAction();
}

void TKovTask::Run() {
    FCurrentWorkblockStart = -1.0;
    FCurrentWorkblockSize = -1.0;
    SetState(tsRunning);
    FTaskInfo.StartTime = TaskClockNow();
    NotifyProgress();
    Execute();
    FTaskInfo.SetCurrentActivityText({});
}

void TKovTask::StoreCurrentFailure() {
    FFatalException = std::current_exception();
    const void* thrown = nullptr;
    try {
        throw;
    } catch (const std::exception& e) {
        thrown = dynamic_cast<const void*>(&e);
    } catch (...) {
    }
    FFatalExceptionCallStack = TakeThrowCallStack(thrown);
}

void TKovTask::BeginRun() {
    std::lock_guard lock(FDoneLock);
    FDone = false;
}

void TKovTask::RunAndFinish(bool onOwnThread) {
    {
        TCurrentTaskScope scope(this);
        if (State() == tsNotStarted) {
            try {
                Run();
            } catch (...) {
                StoreCurrentFailure();
            }
        }
        SetState(tsFinished);
        try {
            NotifyProgress();
        } catch (...) {
            if (!FFatalException)
                StoreCurrentFailure();
        }
    }
    SignalDone();
    // The finished event may free the task: nothing of it is touched afterwards.
    TOnTaskFinishedEvent onFinished = FOnFinished;
    if (!onFinished)
        return;
    if (!onOwnThread) {
        onFinished(this);
        return;
    }
    try {
        onFinished(this);
    } catch (...) {
        TKovTaskController::ReportAsyncFailure(std::current_exception());
    }
}

void TKovTask::ThreadMain() {
    // Created "suspended": run only once the starter has stored the thread's handle.
    { std::lock_guard gate(FThreadLock); }
    tOnTaskThread = true;
    FThreadID.store(static_cast<std::int32_t>(gettid()), std::memory_order_release);
    ApplyThreadPriority(FPriority);
    RunAndFinish(true);
}

void TKovTask::StartThread() {
    // The thread of an earlier run may still be in its finished event.
    if (FThread.joinable()) {
        if (FThread.get_id() == std::this_thread::get_id())
            FThread.detach();
        else
            FThread.join();
    }
    std::lock_guard gate(FThreadLock);
    FThread = std::thread([this] { ThreadMain(); });
}

void TKovTask::SignalDone() {
    std::lock_guard lock(FDoneLock);
    FDone = true;
    FDoneChanged.notify_all();
}

bool TKovTask::WaitForDone(std::chrono::steady_clock::time_point deadline) {
    std::unique_lock lock(FDoneLock);
    return FDoneChanged.wait_until(lock, deadline, [this] { return FDone; });
}

void TKovTask::WaitForDone() {
    std::unique_lock lock(FDoneLock);
    FDoneChanged.wait(lock, [this] { return FDone; });
}

void TKovTask::JoinThread() {
    if (FThread.joinable() && FThread.get_id() != std::this_thread::get_id())
        FThread.join();
}

// --- TKovTaskList ---------------------------------------------------------------------------

int TKovTaskList::IndexOf(const TKovTask* task) const {
    auto it = std::find(FItems.begin(), FItems.end(), task);
    return it == FItems.end() ? -1 : static_cast<int>(it - FItems.begin());
}

int TKovTaskList::Remove(const TKovTask* task) {
    int index = IndexOf(task);
    if (index >= 0)
        Delete(static_cast<std::size_t>(index));
    return index;
}

// --- Runners --------------------------------------------------------------------------------

TPTProcedureRunner::TPTProcedureRunner(std::string_view name, TProcReference procedure,
                                       TKovTaskPriority priority)
    : TKovTask(name, priority), FProcedure(std::move(procedure)) {}

void TPTProcedureRunner::Execute() {
    if (FProcedure)
        FProcedure();
}

TPTLoopProcRunner::TPTLoopProcRunner(std::string_view name, TLoopProcReference loopProc,
                                     int startIndex, int increment, int endIndex,
                                     TKovTaskPriority priority)
    : TKovTask(name, priority), FLoopProc(std::move(loopProc)), FStartIndex(startIndex),
      FIncrement(increment), FEndIndex(endIndex) {}

void TPTLoopProcRunner::Execute() {
    SetActivity(Name(), 0, -1, -1);
    if (FLoopProc)
        FLoopProc(FStartIndex, FIncrement, FEndIndex);
}

} // namespace tw
