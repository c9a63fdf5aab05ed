#pragma once
// Walks the lines of a text held in memory, as the line files of the lab and the kernel are read:
// a leading UTF-8 byte order mark is skipped, a line ends in "\n", and a "\r" before it (a file
// from Windows) is dropped. A section head is found from the top of the text: the first line that
// holds "[" and equals the head after trimming, without regard to case. The cursor doesn't own
// the text, which must outlive it.

#include <cstddef>
#include <string_view>

namespace tw {

class TLineCursor {
public:
    explicit TLineCursor(std::string_view text = {});

    bool AtEnd() const { return FOffset >= FText.size(); }
    // The next line without its end; the cursor moves past it. At the end: an empty line, and the
    // cursor stays.
    std::string_view Next();
    // The number of lines taken since the top.
    int LineNumber() const { return FLineNumber; }
    void Rewind() {
        FOffset = 0;
        FLineNumber = 0;
    }
    // Moves from the top to the line behind the head `name` ("[testresults]"); false, at the
    // end, when there is none.
    bool FindSection(std::string_view name);
    // The number of lines left, counted without walking them one by one: an upper bound for what
    // a reader of rows has to make room for.
    size_t RemainingLineCount() const;

private:
    std::string_view FText;
    size_t FOffset = 0;
    int FLineNumber = 0;
};

} // namespace tw
