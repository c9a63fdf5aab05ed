// The C++ runtime's throw entry, interposed for ExceptionCallStack: every `throw` expression of
// the program (and of the C++ library) arrives here. On a thread that does not record, the hook
// costs a thread-local test; the real entry is found once with dlsym.
//
// This file includes no C++ library header and throws nothing: the compiler declares __cxa_throw
// implicitly, with a type of its own, wherever a throw expression is compiled.

#include "commands/ThrowRecord.h"

#include <dlfcn.h>
#include <execinfo.h>
#include <stdio.h>
#include <stdlib.h>

namespace tw::detail {

namespace {
thread_local int tRecordingDepth = 0;
thread_local TThrowRecord tLatestThrow{};
} // namespace

TThrowRecord& LatestThrow() {
    return tLatestThrow;
}

int& RecordingDepth() {
    return tRecordingDepth;
}

} // namespace tw::detail

namespace {
using TThrowEntry = void (*)(void*, void*, void (*)(void*));

TThrowEntry RealThrowEntry() {
    static const TThrowEntry entry = [] {
        auto found = reinterpret_cast<TThrowEntry>(dlsym(RTLD_NEXT, "__cxa_throw"));
        if (!found) {
            fputs("Tarnwick: the C++ runtime's __cxa_throw was not found\n", stderr);
            abort();
        }
        return found;
    }();
    return entry;
}
} // namespace

extern "C" [[noreturn]] void __cxa_throw(void* thrownException, void* type,
                                         void (*destructor)(void*)) {
    if (tw::detail::tRecordingDepth > 0) {
        tw::detail::tLatestThrow.Object = thrownException;
        // Frame 0 is this hook.
        tw::detail::tLatestThrow.FrameCount =
            backtrace(tw::detail::tLatestThrow.Frames, tw::detail::MaxThrowFrames);
    }
    RealThrowEntry()(thrownException, type, destructor);
    __builtin_unreachable();
}
