#include "app/CommandRunner.h"

#include "commands/KovTokenizer.h"
#include "labtest/OAQBProject.h"
#include "labtest/QBProject.h"
#include "services/Format.h"
#include "services/Strings.h"

#include <filesystem>
#include <fstream>
#include <iostream>

namespace tw {

namespace {

// The lines of a text whose lines end in CR LF (as a command's output does) or LF.
std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    size_t start = 0;
    while (start <= text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos)
            end = text.size();
        std::string line = text.substr(start, end - start);
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        lines.push_back(std::move(line));
        start = end + 1;
    }
    return lines;
}

} // namespace

TCommandRunner::TCommandRunner(TQBProject& project, std::ostream& output, std::ostream& errors)
    : FProject(project), FOutput(output), FErrors(errors) {
    FProject.SetOnCloseProject([this] { FStopRequested = true; });
    TOAQBProject::SetKillHandler([this] { FStopRequested = true; });
}

TCommandRunner::~TCommandRunner() {
    FProject.SetOnCloseProject(nullptr);
    TOAQBProject::SetKillHandler(nullptr);
}

bool TCommandRunner::IsBlankOrComment(const std::string& line) {
    if (Trim(line).empty())
        return true;
    TKovTokenizer tokenizer(line);
    if (tokenizer.HasError())
        return false;
    for (int i = 0; i < tokenizer.TokenCount(); ++i)
        if (!tokenizer.GetToken(i)->DataAs<TTokenDataComment>())
            return false;
    return true;
}

bool TCommandRunner::ExtractRunOption(std::vector<std::string>& arguments, std::string& script,
                                      std::string& error) {
    bool found = false;
    for (size_t i = 0; i < arguments.size();) {
        const std::string& argument = arguments[i];
        const size_t dashes = argument.rfind("--", 0) == 0  ? 2
                              : argument.rfind('-', 0) == 0 ? 1
                                                            : 0;
        const std::string body = LowerCase(argument.substr(dashes));
        if (dashes == 0 || (body != "run" && body.rfind("run=", 0) != 0)) {
            ++i;
            continue;
        }
        if (found) {
            error = "--run may be given once";
            return true;
        }
        found = true;
        if (body == "run") {
            if (i + 1 >= arguments.size() || arguments[i + 1].empty()) {
                error = "--run needs a command file, or - for standard input";
                return true;
            }
            script = arguments[i + 1];
            arguments.erase(arguments.begin() + i, arguments.begin() + i + 2);
        } else {
            script = argument.substr(dashes + 4);
            if (script.empty()) {
                error = "--run needs a command file, or - for standard input";
                return true;
            }
            arguments.erase(arguments.begin() + i);
        }
    }
    return found;
}

TCommandRunner::TExitCode TCommandRunner::RunFile(const std::string& fileName) {
    std::error_code ignored;
    std::ifstream file(fileName, std::ios::binary);
    if (!file || std::filesystem::is_directory(fileName, ignored)) {
        FErrors << Format("%s: error: cannot open the command file", fileName) << std::endl;
        return ecCommandFailed;
    }
    return Run(file, fileName);
}

TCommandRunner::TExitCode TCommandRunner::Run(std::istream& input, const std::string& sourceName) {
    TKovInterpreter& interpreter = FProject.Commands().Interpreter();
    std::string line;
    int number = 0;
    while (std::getline(input, line)) {
        ++number;
        if (number == 1 && line.rfind("\xEF\xBB\xBF", 0) == 0)
            line.erase(0, 3); // a byte order mark
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (IsBlankOrComment(line))
            continue;
        FLastLine = number;
        FOutput << "> " << line << "\n";
        int32_t position = -1;
        std::string errorText, info;
        bool success = false;
        try {
            success = interpreter.Interpret(line, position, errorText, info);
        } catch (const std::exception& e) {
            FOutput.flush();
            FErrors << Format("%s:%d: program fault: %s", sourceName, number, e.what())
                    << std::endl;
            return ecProgramFault;
        }
        ++FCommandCount;
        if (!success) {
            FOutput.flush();
            const std::vector<std::string> message =
                Lines(errorText.empty() ? std::string("The command failed") : errorText);
            FErrors << (position >= 1 ? Format("%s:%d:%d: error: %s", sourceName, number,
                                               static_cast<int>(position), message[0])
                                      : Format("%s:%d: error: %s", sourceName, number, message[0]))
                    << "\n";
            for (size_t i = 1; i < message.size(); ++i)
                if (!message[i].empty())
                    FErrors << "  " << message[i] << "\n";
            FErrors.flush();
            return ecCommandFailed;
        }
        if (!info.empty())
            for (const std::string& text : Lines(info))
                FOutput << text << "\n";
        FOutput.flush();
        if (FStopRequested)
            return ecSuccess;
    }
    if (input.bad()) {
        FErrors << Format("%s:%d: error: the commands could not be read", sourceName, number + 1)
                << std::endl;
        return ecCommandFailed;
    }
    return ecSuccess;
}

} // namespace tw
