#pragma once
// Suggestions for the token at the caret of a command line: at the start of a line the commands
// that need no object and the names of the objects; after a dot the members of what the chain
// before it names (resolved without running anything: properties, sub-objects, the object's
// commands); elsewhere the names of objects. Candidates that start with the typed text come
// first (case ignored), then those that hold its letters in order; a leading "_" (a global
// command written as such) is kept. Names are read from the interpreter's namespace at each
// search, so a renamed or deleted object is never offered. Main thread only.

#include <string>
#include <vector>

namespace tw {

class TKovInterpreter;

struct TAutoCompleteResults {
    std::string LeftText;  // the line before the token at the caret
    std::string RightText; // the line after the caret's token
    std::string FixedText; // the part of the token before the caret, what is searched for
    bool IsCaretAtEndOfToken = true;
    std::vector<std::string> Matches; // the suggestions, best first
    std::vector<std::string> Infos;   // beside Matches: what each is ("command", a type name)
    int Count() const { return static_cast<int>(Matches.size()); }
    // The line with suggestion `index` in place of the caret's token, and where the caret goes.
    std::string Apply(int index, int& caret) const;
};

class TAutoCompleter {
public:
    // `interpreter` must outlive this object.
    explicit TAutoCompleter(const TKovInterpreter& interpreter) : FInterpreter(interpreter) {}

    // The suggestions for `line` with the caret before character `caret` (0 to the length).
    TAutoCompleteResults Search(const std::string& line, int caret) const;

    // How many suggestions a search gives at most.
    static constexpr int MaxMatches = 50;

private:
    const TKovInterpreter& FInterpreter;
};

} // namespace tw
