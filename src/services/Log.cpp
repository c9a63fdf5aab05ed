#include "services/Log.h"

#include <cstdio>
#include <mutex>
#include <utility>

namespace tw {

namespace {
std::mutex& SinkMutex() {
    static std::mutex mutex;
    return mutex;
}
TLogSink& Sink() {
    static TLogSink sink;
    return sink;
}
} // namespace

void LogError(const std::string& message) {
    std::lock_guard lock(SinkMutex());
    if (Sink())
        Sink()(message);
    else
        std::fprintf(stderr, "tarnwick: %s\n", message.c_str());
}

TLogSink SetLogSink(TLogSink sink) {
    std::lock_guard lock(SinkMutex());
    return std::exchange(Sink(), std::move(sink));
}

} // namespace tw
