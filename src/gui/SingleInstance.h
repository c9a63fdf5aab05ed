#pragma once
// The rule of one running window program per user: the first start holds a lock file until it
// ends, a second start finds it held. A lock left by a program that died is taken over (the file
// names its process).

#include <memory>
#include <string>

class QLockFile;

namespace tw {

class TSingleInstance {
public:
    // Tries to take the lock at `lockFile`; "" takes the user's own lock of the program.
    explicit TSingleInstance(const std::string& lockFile = {});
    ~TSingleInstance();
    TSingleInstance(const TSingleInstance&) = delete;
    TSingleInstance& operator=(const TSingleInstance&) = delete;

    // Whether this start holds the lock: no other instance runs.
    bool IsFirst() const { return FFirst; }
    // The lock of the user: in the runtime folder of the session ($XDG_RUNTIME_DIR), else the
    // temporary folder.
    static std::string DefaultLockFile();

private:
    std::unique_ptr<QLockFile> FLock;
    bool FFirst = false;
};

} // namespace tw
