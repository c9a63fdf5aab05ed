#pragma once
// Failures that cannot be raised, because they happen where raising would end the program (a
// destructor, a rollback during unwinding), are logged instead: to standard error unless another
// sink is installed (tests record them). Thread-safe.

#include <functional>
#include <string>

namespace tw {

using TLogSink = std::function<void(const std::string& message)>;

void LogError(const std::string& message);
// Installs a sink and answers the one it replaces; an empty sink restores standard error.
TLogSink SetLogSink(TLogSink sink);

} // namespace tw
