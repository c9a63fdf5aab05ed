#pragma once
// Running a calculation kernel as a process: the per-process working directory, the command
// line and the launch.

#include "commands/KovTasks.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace tw {

// $TMPDIR (else /tmp) joined with "QB_" and the process id, made on each request, with a
// trailing "/". Built once per process; deleted with its contents when the program ends.
std::string KernelWorkingDirectory();
// Deletes the working directory now, if it exists (the program's end does it too).
void DeleteKernelWorkingDirectory();

// The log in the working directory that takes the kernels' standard output and error; it grows
// over the session. Its size now in bytes (0 when there is none), and what was written to it
// after `offset`, trimmed: the reason of a run that failed.
std::string KernelLogFile();
std::uintmax_t KernelLogSize();
std::string KernelLogSince(std::uintmax_t offset);

// The command line as shown to users: each part quoted when it holds a blank, followed by one
// blank, and the whole trimmed.
std::string BuildKernelCommandLine(const std::string& kernelPath, const std::string& inputPath);

// Starts the kernel with the input path as its only argument, in a process group of its own,
// with standard input from /dev/null and its output appended to the kernel log, and waits for it
// without limit. `onStarted` gets the process id once it runs; `beforeReap` is called after it
// ended but while its id is still taken, so that whoever could signal it can let go first. Answers
// the exit status, -1 when it could not be started or did not exit normally. The caller looks at
// nothing but the result file.
int RunKernelProcess(const std::string& kernelPath, const std::string& inputPath,
                     const std::function<void(int pid)>& onStarted = nullptr,
                     const std::function<void()>& beforeReap = nullptr);

// The task that runs the kernel ("Running calculation...", below normal priority). It can be
// stopped: a stop ends the kernel and everything it started.
std::unique_ptr<TKovTask> CreateKernelTask(const std::string& kernelPath,
                                           const std::string& inputPath);

} // namespace tw
