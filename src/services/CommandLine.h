#pragma once
// The program's command line: positional parameters and named ones. A named parameter is written
// "-Name", "-Name=value" or with two dashes; names compare without regard to case. Everything
// else is positional, in order (a path on Linux starts with "/", so "/" marks no switch here).

#include <optional>
#include <string>
#include <vector>

namespace tw {

class TCommandLine {
public:
    TCommandLine() = default;
    TCommandLine(int argc, const char* const* argv);
    explicit TCommandLine(const std::vector<std::string>& arguments);

    // Positional parameter at a one-based position, empty when there is none.
    std::string Positional(size_t position) const;
    size_t PositionalCount() const { return FPositional.size(); }

    bool HasNamed(const std::string& name) const;
    // The value of a named parameter; an empty string for a bare switch, nullopt when absent.
    std::optional<std::string> Named(const std::string& name) const;
    // The boolean value of a named parameter: a bare switch is true; "0", "false", "no" and "off"
    // are false. nullopt when absent.
    std::optional<bool> NamedBool(const std::string& name) const;

    // The program's own command line, set once by main.
    static const TCommandLine& Program();
    static void SetProgram(TCommandLine commandLine);

private:
    std::vector<std::string> FPositional;
    std::vector<std::pair<std::string, std::string>> FNamed; // lower-case name, value
};

// Parses a boolean text as the switches do; nullopt for anything else.
std::optional<bool> ParseBool(const std::string& text);

} // namespace tw
