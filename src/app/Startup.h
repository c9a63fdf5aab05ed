#pragma once
// The start-up of every Tarnwick program from its command line: the host names an input file
// (position 1) that carries the material, the units and the thermal expansions; "2" at position
// 2 asks for the 2D kernel. Without an input file the program refuses to start.
//
// StartUp answers a project, or the message and title the program shows before it ends. The
// window program shows them in boxes, the headless one on standard error.

#include "labtest/QBProject.h"
#include "services/CommandLine.h"
#include "storage/HPReadErrors.h"

#include <memory>
#include <string>
#include <vector>

namespace tw {

class TKovObjectManager;

struct TStartupOutcome {
    // The project, named "Project", in the manager given; nullptr when the start was refused.
    std::unique_ptr<TQBProject> Project;
    // Why the start was refused, and the title to show it under.
    std::string Message;
    std::string Title;
    // What the read of the input file found that did not stop it, most severe first.
    THPReadErrorList ReadErrors;
    // Set when the kernel of the chosen method is missing: the project starts, but can't run
    // tests ("Kernel file is missing and tests can not be performed: %s").
    std::string KernelMessage;

    bool Started() const { return Project != nullptr; }
};

// Reads the input file named on the command line into a project in `manager`, which must
// outlive it. Every failure comes back in the outcome; nothing raises for bad input.
TStartupOutcome StartUp(const TCommandLine& commandLine, TKovObjectManager& manager);

// The read problems as the user reads them: one line each, "Hint: ", "Warning: " or "Error: "
// and the text, most severe first. Raises "Unexpected error severity: %d" for another severity.
std::vector<std::string> ReadFeedbackLines(const THPReadErrorList& errors);

} // namespace tw
