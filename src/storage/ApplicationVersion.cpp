#include "storage/ApplicationVersion.h"

#include "services/Format.h"
#include "services/Strings.h"

#include <ctime>
#include <filesystem>
#include <mutex>

#ifndef TW_VERSION_MAJOR
#define TW_VERSION_MAJOR 0
#define TW_VERSION_MINOR 0
#define TW_VERSION_PATCH 0
#endif

namespace tw {

namespace {
std::mutex VersionMutex;
TApplicationVersion RunningVersion{TW_VERSION_MAJOR, TW_VERSION_MINOR, TW_VERSION_PATCH, 0};
} // namespace

std::string TApplicationVersion::ToString() const {
    return Format("%d.%d.%d.%d", Major, Minor, Release, Build);
}

bool TApplicationVersion::Parse(const std::string& text, TApplicationVersion& version) {
    const std::vector<std::string> parts = Split(Trim(text), '.');
    if (parts.size() != 4)
        return false;
    int numbers[4];
    for (int i = 0; i < 4; ++i)
        if (!TryStrToInt(parts[i], numbers[i]) || numbers[i] < 0)
            return false;
    version = {numbers[0], numbers[1], numbers[2], numbers[3]};
    return true;
}

TApplicationVersion TApplicationVersion::Running() {
    std::lock_guard lock(VersionMutex);
    return RunningVersion;
}

void TApplicationVersion::SetRunning(const TApplicationVersion& version) {
    std::lock_guard lock(VersionMutex);
    RunningVersion = version;
}

std::string ApplicationName() {
    std::error_code error;
    const auto path = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? "" : path.filename().string();
}

std::string LocalDateTimeText() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
    return text;
}

} // namespace tw
