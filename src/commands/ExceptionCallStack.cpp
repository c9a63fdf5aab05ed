#include "commands/ExceptionCallStack.h"

#include "commands/ThrowRecord.h"

#include <cxxabi.h>
#include <execinfo.h>

#include <cstdlib>
#include <memory>

namespace tw {

namespace {

// "module(mangled+0x1c) [0x...]" as backtrace_symbols gives it becomes "function+0x1c (module)"
// with the function demangled. A frame without a known symbol (a local function, or the cold part
// of one) becomes "module+0x2703f": the offset into the module, for addr2line.
std::string FormatFrame(const char* symbol) {
    std::string line(symbol);
    auto open = line.find('(');
    auto close = line.find(')', open == std::string::npos ? 0 : open);
    if (open == std::string::npos || close == std::string::npos)
        return line;
    std::string module = line.substr(0, open);
    std::string inside = line.substr(open + 1, close - open - 1);
    auto plus = inside.find('+');
    std::string mangled = inside.substr(0, plus);
    std::string offset = plus == std::string::npos ? std::string() : inside.substr(plus);
    std::string function = mangled;
    if (!mangled.empty()) {
        int status = 0;
        std::unique_ptr<char, void (*)(void*)> demangled(
            abi::__cxa_demangle(mangled.c_str(), nullptr, nullptr, &status), std::free);
        if (status == 0 && demangled)
            function = demangled.get();
    }
    if (function.empty())
        return module + offset;
    return function + offset + " (" + module + ")";
}

} // namespace

// The hook's per-thread state lives beside the hook (ThrowHook.cpp); reaching it through these
// functions also makes sure that every program which reports stacks links the hook, even where a
// shared library (a sanitizer's runtime) already defines the throw entry.
TThrowStackRecording::TThrowStackRecording() {
    ++detail::RecordingDepth();
}

TThrowStackRecording::~TThrowStackRecording() {
    --detail::RecordingDepth();
}

std::string TakeThrowCallStack(const void* thrownObject) {
    detail::TThrowRecord& record = detail::LatestThrow();
    if (record.FrameCount <= 0 || (thrownObject && record.Object != thrownObject))
        return {};
    int count = record.FrameCount;
    record.FrameCount = 0;
    record.Object = nullptr;
    std::unique_ptr<char*, void (*)(void*)> symbols(backtrace_symbols(record.Frames, count),
                                                    std::free);
    if (!symbols)
        return {};
    std::string text;
    // Frame 0 is the throw hook.
    for (int i = 1; i < count; ++i) {
        if (!text.empty())
            text += "\r\n";
        text += FormatFrame(symbols.get()[i]);
    }
    return text;
}

} // namespace tw
