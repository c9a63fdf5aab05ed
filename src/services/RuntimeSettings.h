#pragma once
// Named boolean feature switches, each resolved once and cached for the rest of the process:
// a named command-line parameter of that name first, else the existence of a file of that name
// in the folder "Toggles" beside the executable. Thread-safe.

#include <filesystem>
#include <string>

namespace tw {

class TRuntimeSettings {
public:
    static bool Get(const std::string& name);
    // Fixes a switch's value, as if resolved (used by start-up code and tests).
    static void Set(const std::string& name, bool value);
    // Forgets every cached value (tests).
    static void ClearCache();
    // The toggles folder; by default "Toggles" beside the executable.
    static std::filesystem::path TogglesFolder();
    static void SetTogglesFolder(const std::filesystem::path& folder);
};

// The folder of the running executable, with a trailing separator.
std::string ApplicationDirectory();

} // namespace tw
