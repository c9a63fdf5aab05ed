#pragma once
// Where an exception was thrown, for the report of a failed task. The stack at the throw is gone
// by the time a worker's catch block runs, so it is recorded at the throw itself: the library
// hooks the C++ runtime's throw entry, and on a thread that has switched recording on (a thread
// that runs a task) keeps the frames of the latest throw. Everywhere else the hook only passes
// the exception on.

#include <string>

namespace tw {

// Switches the recording of throw stacks on for the current thread while it lives. Nests.
class TThrowStackRecording {
public:
    TThrowStackRecording();
    ~TThrowStackRecording();
    TThrowStackRecording(const TThrowStackRecording&) = delete;
    TThrowStackRecording& operator=(const TThrowStackRecording&) = delete;
};

// The symbolised frames recorded for the latest throw on this thread, one line per frame joined
// by "\r\n", innermost first, when that throw threw `thrownObject` (the address of the complete
// exception object); nullptr accepts the latest throw whatever it threw. Empty when nothing
// matching was recorded. The record is consumed.
std::string TakeThrowCallStack(const void* thrownObject);

} // namespace tw
