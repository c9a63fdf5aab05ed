#include "labtest/QBKernelRun.h"

#include "services/Localisation.h"
#include "services/Strings.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace tw {

namespace {
struct TWorkingDirectory {
    std::once_flag Once;
    std::string Path;
    ~TWorkingDirectory() { Delete(); }
    void Delete() {
        if (Path.empty())
            return;
        std::error_code ec;
        std::filesystem::remove_all(Path, ec);
    }
};
TWorkingDirectory& WorkingDirectory() {
    static TWorkingDirectory directory;
    return directory;
}
} // namespace

std::string KernelWorkingDirectory() {
    auto& directory = WorkingDirectory();
    std::call_once(directory.Once, [&] {
        const char* tmp = std::getenv("TMPDIR");
        std::string base = tmp && *tmp ? tmp : "/tmp";
        if (base.back() != '/')
            base += '/';
        directory.Path = base + "QB_" + std::to_string(getpid()) + "/";
    });
    std::error_code ec;
    std::filesystem::create_directories(directory.Path, ec);
    return directory.Path;
}

void DeleteKernelWorkingDirectory() {
    WorkingDirectory().Delete();
}

std::string KernelLogFile() {
    return KernelWorkingDirectory() + "kernel.log";
}

std::uintmax_t KernelLogSize() {
    std::error_code ec;
    const std::uintmax_t size = std::filesystem::file_size(KernelLogFile(), ec);
    return ec ? 0 : size;
}

std::string KernelLogSince(std::uintmax_t offset) {
    std::ifstream log(KernelLogFile(), std::ios::binary);
    log.seekg(static_cast<std::streamoff>(offset));
    return Trim(std::string(std::istreambuf_iterator<char>(log), {}));
}

std::string BuildKernelCommandLine(const std::string& kernelPath, const std::string& inputPath) {
    std::string line;
    for (const std::string& part : {kernelPath, inputPath})
        line += (part.find(' ') != std::string::npos ? "\"" + part + "\"" : part) + " ";
    return Trim(line);
}

int RunKernelProcess(const std::string& kernelPath, const std::string& inputPath,
                     const std::function<void(int pid)>& onStarted,
                     const std::function<void()>& beforeReap) {
    const std::string log = KernelLogFile();
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, log.c_str(),
                                     O_WRONLY | O_CREAT | O_APPEND, 0644);
    posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    // A process group of its own, so that stopping the run ends everything the kernel started.
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
    posix_spawnattr_setpgroup(&attributes, 0);

    std::string program = kernelPath, argument = inputPath;
    char* argv[] = {program.data(), argument.data(), nullptr};
    pid_t pid = -1;
    const int error = posix_spawn(&pid, program.c_str(), &actions, &attributes, argv, environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    if (error != 0)
        return -1;
    if (onStarted)
        onStarted(pid);
    // Wait without reaping, so the id can't be reused while someone may still signal it.
    siginfo_t info{};
    while (waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT) < 0 && errno == EINTR) {
    }
    if (beforeReap)
        beforeReap();
    int status = 0;
    while (waitpid(pid, &status, 0) < 0)
        if (errno != EINTR)
            return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::unique_ptr<TKovTask> CreateKernelTask(const std::string& kernelPath,
                                           const std::string& inputPath) {
    auto run = [kernelPath, inputPath] {
        TKovTask* task = TKovTask::Current();
        task->SetActivity(Translate("Running calculation..."), tafCanStop);
        RunKernelProcess(
            kernelPath, inputPath,
            [task](int pid) {
                // The whole process group: the kernel and anything it started.
                task->SetStopAction([pid] { ::kill(-pid, SIGKILL); });
            },
            [task] { task->SetStopAction({}); });
    };
    return std::make_unique<TPTProcedureRunner>(Translate("Running calculation..."), run,
                                                tppBelowNormal);
}

} // namespace tw
