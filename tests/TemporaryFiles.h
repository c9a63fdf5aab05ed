#pragma once
// What tests of files share, whatever their library: a temporary folder of their own, a limit
// on the size of the files this process may write, which makes a write fail as on a full disk,
// and an environment variable set for a while (the user's folders).

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <sys/resource.h>
#include <unistd.h>

namespace tw::testing {

// Sets an environment variable for the life of the object (nullptr: unsets it), and puts the
// old value back at the end.
class TEnvironment {
public:
    TEnvironment(const char* name, const char* value) : FName(name) {
        if (const char* old = std::getenv(name))
            FOld = old;
        if (value)
            ::setenv(name, value, 1);
        else
            ::unsetenv(name);
    }
    TEnvironment(const char* name, const std::string& value) : TEnvironment(name, value.c_str()) {}
    ~TEnvironment() {
        if (FOld)
            ::setenv(FName, FOld->c_str(), 1);
        else
            ::unsetenv(FName);
    }
    TEnvironment(const TEnvironment&) = delete;
    TEnvironment& operator=(const TEnvironment&) = delete;

private:
    const char* FName;
    std::optional<std::string> FOld;
};

// A fresh folder under the temporary folder, removed with its contents at the end of a test.
class TTemporaryFolder {
public:
    TTemporaryFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "tw_test_XXXXXX").string();
        if (!::mkdtemp(pattern.data()))
            throw std::runtime_error("mkdtemp failed");
        FPath = pattern;
    }
    ~TTemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(FPath, ignored);
    }
    TTemporaryFolder(const TTemporaryFolder&) = delete;
    TTemporaryFolder& operator=(const TTemporaryFolder&) = delete;

    std::string File(const std::string& name) const { return (FPath / name).string(); }
    const std::filesystem::path& Path() const { return FPath; }
    size_t FileCount() const {
        size_t count = 0;
        for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(FPath))
            ++count;
        return count;
    }

private:
    std::filesystem::path FPath;
};

// Lowers the largest file size this process may write, for the life of the object: a write
// beyond it fails as on a full disk (SIGXFSZ is ignored meanwhile, so the write only fails).
class TFileSizeLimit {
public:
    explicit TFileSizeLimit(rlim_t bytes) {
        ::getrlimit(RLIMIT_FSIZE, &FOld);
        FOldHandler = std::signal(SIGXFSZ, SIG_IGN);
        rlimit limit = FOld;
        limit.rlim_cur = bytes;
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~TFileSizeLimit() {
        ::setrlimit(RLIMIT_FSIZE, &FOld);
        std::signal(SIGXFSZ, FOldHandler);
    }
    TFileSizeLimit(const TFileSizeLimit&) = delete;
    TFileSizeLimit& operator=(const TFileSizeLimit&) = delete;

private:
    rlimit FOld{};
    void (*FOldHandler)(int) = nullptr;
};

} // namespace tw::testing
