#include "services/RuntimeSettings.h"

#include "services/CommandLine.h"

#include <map>
#include <mutex>
#include <optional>

namespace tw {

namespace {
struct TSwitchCache {
    std::mutex Lock;
    std::map<std::string, bool> Values;
    std::optional<std::filesystem::path> TogglesFolder;
};
TSwitchCache& Cache() {
    static TSwitchCache cache;
    return cache;
}
} // namespace

bool TRuntimeSettings::Get(const std::string& name) {
    auto& cache = Cache();
    std::lock_guard lock(cache.Lock);
    if (auto it = cache.Values.find(name); it != cache.Values.end())
        return it->second;
    bool value;
    if (auto named = TCommandLine::Program().NamedBool(name))
        value = *named;
    else {
        auto folder = cache.TogglesFolder
                          ? *cache.TogglesFolder
                          : std::filesystem::path(ApplicationDirectory()) / "Toggles";
        std::error_code ec;
        value = std::filesystem::exists(folder / name, ec);
    }
    cache.Values.emplace(name, value);
    return value;
}

void TRuntimeSettings::Set(const std::string& name, bool value) {
    auto& cache = Cache();
    std::lock_guard lock(cache.Lock);
    cache.Values[name] = value;
}

void TRuntimeSettings::ClearCache() {
    auto& cache = Cache();
    std::lock_guard lock(cache.Lock);
    cache.Values.clear();
}

std::filesystem::path TRuntimeSettings::TogglesFolder() {
    auto& cache = Cache();
    std::lock_guard lock(cache.Lock);
    return cache.TogglesFolder ? *cache.TogglesFolder
                               : std::filesystem::path(ApplicationDirectory()) / "Toggles";
}

void TRuntimeSettings::SetTogglesFolder(const std::filesystem::path& folder) {
    auto& cache = Cache();
    std::lock_guard lock(cache.Lock);
    cache.TogglesFolder = folder;
    cache.Values.clear();
}

std::string ApplicationDirectory() {
    std::error_code ec;
    auto exe = std::filesystem::read_symlink("/proc/self/exe", ec);
    std::string dir = ec ? std::filesystem::current_path().string() : exe.parent_path().string();
    if (dir.empty() || dir.back() != '/')
        dir += '/';
    return dir;
}

} // namespace tw
