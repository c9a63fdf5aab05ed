// The C++ runtime's throw entry, interposed for ExceptionCallStack: every `throw` expression of
// the program (and of the C++ library) arrives here. The recorder returns at once on threads that
// have not switched recording on, so code outside tasks pays next to nothing; the real entry is
// found once with dlsym.
//
// This file includes no C++ library header and throws nothing: the compiler declares __cxa_throw
// implicitly, with a type of its own, wherever a throw expression is compiled.

#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>

namespace tw::detail {
void RecordThrow(void* thrownObject);
extern const bool ThrowHookLinked = true;
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
    tw::detail::RecordThrow(thrownException);
    RealThrowEntry()(thrownException, type, destructor);
    __builtin_unreachable();
}
