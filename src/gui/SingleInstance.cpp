#include "gui/SingleInstance.h"

#include "gui/QtText.h"

#include <QDir>
#include <QLockFile>

#include <unistd.h>

namespace tw {

TSingleInstance::TSingleInstance(const std::string& lockFile)
    : FLock(std::make_unique<QLockFile>(ToQ(lockFile.empty() ? DefaultLockFile() : lockFile))) {
    // A held lock is never stale while its program lives; one of a dead program is taken over
    // by QLockFile at once.
    FLock->setStaleLockTime(0);
    FFirst = FLock->tryLock(0);
}

TSingleInstance::~TSingleInstance() = default;

std::string TSingleInstance::DefaultLockFile() {
    QString folder = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (folder.isEmpty() || !QDir(folder).exists())
        folder = QDir::tempPath();
    return FromQ(folder) + "/tarnwick-" + std::to_string(::getuid()) + ".lock";
}

} // namespace tw
