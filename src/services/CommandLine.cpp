#include "services/CommandLine.h"

#include "services/Strings.h"

namespace tw {

TCommandLine::TCommandLine(int argc, const char* const* argv) {
    std::vector<std::string> arguments;
    for (int i = 1; i < argc; ++i)
        arguments.emplace_back(argv[i]);
    *this = TCommandLine(arguments);
}

TCommandLine::TCommandLine(const std::vector<std::string>& arguments) {
    for (const auto& argument : arguments) {
        if (argument.size() > 1 && argument[0] == '-') {
            std::string body = argument.substr(argument[1] == '-' ? 2 : 1);
            auto eq = body.find('=');
            std::string name = eq == std::string::npos ? body : body.substr(0, eq);
            std::string value = eq == std::string::npos ? std::string() : body.substr(eq + 1);
            FNamed.emplace_back(LowerCase(name), value);
        } else {
            FPositional.push_back(argument);
        }
    }
}

std::string TCommandLine::Positional(size_t position) const {
    return position >= 1 && position <= FPositional.size() ? FPositional[position - 1]
                                                           : std::string();
}

bool TCommandLine::HasNamed(const std::string& name) const {
    return Named(name).has_value();
}

std::optional<std::string> TCommandLine::Named(const std::string& name) const {
    const std::string key = LowerCase(name);
    for (const auto& [n, v] : FNamed)
        if (n == key)
            return v;
    return std::nullopt;
}

std::optional<bool> TCommandLine::NamedBool(const std::string& name) const {
    auto value = Named(name);
    if (!value)
        return std::nullopt;
    if (value->empty())
        return true;
    return ParseBool(*value).value_or(true);
}

namespace {
TCommandLine& ProgramCommandLine() {
    static TCommandLine commandLine;
    return commandLine;
}
} // namespace

const TCommandLine& TCommandLine::Program() {
    return ProgramCommandLine();
}
void TCommandLine::SetProgram(TCommandLine commandLine) {
    ProgramCommandLine() = std::move(commandLine);
}

std::optional<bool> ParseBool(const std::string& text) {
    const std::string t = LowerCase(Trim(text));
    if (t == "1" || t == "true" || t == "yes" || t == "on")
        return true;
    if (t == "0" || t == "false" || t == "no" || t == "off")
        return false;
    return std::nullopt;
}

} // namespace tw
