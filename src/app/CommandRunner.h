#pragma once
// The headless command runner: runs a file of command lines, one by one, through a project's
// interpreter, so that the lab can be scripted from a shell (`tarnwick INPUT --run FILE`, or
// `--run -` for standard input).
//
// Each command is echoed to the output as "> line", followed by what it answered. Blank lines
// and lines of nothing but a comment ("#" to the end of the line, outside quotes) are passed
// over; a comment behind a command belongs to that command. The first command that fails ends
// the run: the error goes to the error stream as "FILE:LINE:POS: error: message" (the position
// counted from 1 in 16-bit characters of the line, as the command line editor counts), with the
// further lines of the message indented below it. A failed command has changed nothing.
//
// `close` and `__kill` end the run after their line, as a success.

#include <iosfwd>
#include <string>
#include <vector>

namespace tw {

class TQBProject;

class TCommandRunner {
public:
    // What a run answers to the shell.
    enum TExitCode {
        ecSuccess = 0,
        ecCommandFailed = 1, // a command failed, or the input could not be read
        ecProgramFault = 3,  // a command met a fault of the program
    };

    TCommandRunner(TQBProject& project, std::ostream& output, std::ostream& errors);
    ~TCommandRunner();
    TCommandRunner(const TCommandRunner&) = delete;
    TCommandRunner& operator=(const TCommandRunner&) = delete;

    // Runs every line of `input`; `sourceName` names it in messages ("-" for standard input).
    TExitCode Run(std::istream& input, const std::string& sourceName);
    // Runs the file of that name; one that cannot be opened fails with a message.
    TExitCode RunFile(const std::string& fileName);

    // The number of the last line run (1-based), and how many commands ran.
    int LastLine() const { return FLastLine; }
    int CommandCount() const { return FCommandCount; }

    // Whether a line holds no command: blank, or a comment only.
    static bool IsBlankOrComment(const std::string& line);

    // Takes the option "--run FILE" (also "--run=FILE", one dash, any case) out of a program's
    // arguments, so that the rest reads as the host's command line; FILE "-" stands for standard
    // input. Answers whether it was there; `error` tells when it lacks its file or comes twice.
    static bool ExtractRunOption(std::vector<std::string>& arguments, std::string& script,
                                 std::string& error);

private:
    TQBProject& FProject;
    std::ostream& FOutput;
    std::ostream& FErrors;
    int FLastLine = 0;
    int FCommandCount = 0;
    bool FStopRequested = false;
};

} // namespace tw
