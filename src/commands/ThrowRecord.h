#pragma once
// The per-thread record of the latest throw, shared by the throw hook (ThrowHook.cpp) and the
// stack report (ExceptionCallStack.cpp). Plain data without C++ library headers: the hook writes it
// while the runtime is in the middle of a throw, and its file must not declare the runtime's throw
// entry the way those headers do.

namespace tw::detail {

constexpr int MaxThrowFrames = 64;

struct TThrowRecord {
    // The complete exception object of the throw.
    const void* Object;
    int FrameCount;
    void* Frames[MaxThrowFrames];
};

// This thread's record of its latest recorded throw.
TThrowRecord& LatestThrow();
// Above zero while this thread records throws.
int& RecordingDepth();

} // namespace tw::detail
