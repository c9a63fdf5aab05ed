#pragma once
// Running a calculation kernel as a process: the per-process working directory, the command
// line and the launch.

#include <string>

namespace tw {

// $TMPDIR (else /tmp) joined with "QB_" and the process id, made on each request, with a
// trailing "/". Built once per process; deleted with its contents when the program ends.
std::string KernelWorkingDirectory();
// Deletes the working directory now, if it exists (the program's end does it too).
void DeleteKernelWorkingDirectory();

// The command line as shown to users: each part quoted when it holds a blank, followed by one
// blank, and the whole trimmed.
std::string BuildKernelCommandLine(const std::string& kernelPath, const std::string& inputPath);

// Starts the kernel with the input path as its only argument, standard input from /dev/null and
// its output appended to "kernel.log" in the working directory, and waits for it without limit.
// Answers the process id through `onStarted` (so it can be stopped) and the exit status; -1 when
// it could not be started. The caller looks at nothing but the result file.
int RunKernelProcess(const std::string& kernelPath, const std::string& inputPath,
                     void (*onStarted)(int pid, void* context) = nullptr, void* context = nullptr);

} // namespace tw
