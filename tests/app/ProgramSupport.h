#pragma once
// What the tests of the programs share: a temporary folder, and the headless program run as a
// user runs it from a shell.

#include "TemporaryFiles.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace tw::testing {

struct TProgramRun {
    int ExitCode;
    std::string Output, Errors;
};

// Runs `tarnwick` with `arguments` in `folder` (its current folder), with `input` on standard
// input; standard output and error land in files there.
inline TProgramRun RunProgramIn(const TTemporaryFolder& folder,
                                const std::vector<std::string>& arguments,
                                const std::string& input = "") {
    auto quoted = [](const std::string& text) { return "'" + text + "'"; };
    std::ofstream(folder.File("stdin")) << input;
    std::string command = "cd " + quoted(folder.Path().string()) + " && " + quoted(TW_TARNWICK);
    for (const std::string& argument : arguments)
        command += " " + quoted(argument);
    command += " <stdin >stdout 2>stderr";
    const int status = std::system(command.c_str());
    auto read = [&](const char* name) {
        std::ifstream in(folder.File(name));
        return std::string(std::istreambuf_iterator<char>(in), {});
    };
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read("stdout"), read("stderr")};
}

// The same in a folder of its own.
inline TProgramRun RunProgram(const std::vector<std::string>& arguments) {
    TTemporaryFolder folder;
    return RunProgramIn(folder, arguments);
}

inline bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

} // namespace tw::testing
