#include "services/LineCursor.h"

#include "services/Strings.h"

#include <cstring>

namespace tw {

namespace {
constexpr std::string_view ByteOrderMark = "\xEF\xBB\xBF";
} // namespace

TLineCursor::TLineCursor(std::string_view text) : FText(text) {
    if (FText.substr(0, ByteOrderMark.size()) == ByteOrderMark)
        FText.remove_prefix(ByteOrderMark.size());
}

std::string_view TLineCursor::Next() {
    if (AtEnd())
        return {};
    const char* start = FText.data() + FOffset;
    const size_t left = FText.size() - FOffset;
    const auto* end = static_cast<const char*>(std::memchr(start, '\n', left));
    const size_t length = end ? size_t(end - start) : left;
    FOffset += end ? length + 1 : length;
    ++FLineNumber;
    std::string_view line(start, length);
    if (!line.empty() && line.back() == '\r')
        line.remove_suffix(1);
    return line;
}

bool TLineCursor::FindSection(std::string_view name) {
    Rewind();
    const std::string_view head = TrimView(name);
    while (!AtEnd()) {
        const std::string_view line = Next();
        if (line.find('[') != std::string_view::npos && SameText(TrimView(line), head))
            return true;
    }
    return false;
}

size_t TLineCursor::RemainingLineCount() const {
    if (AtEnd())
        return 0;
    size_t count = 0;
    const char* p = FText.data() + FOffset;
    const char* const end = FText.data() + FText.size();
    while (const auto* line = static_cast<const char*>(std::memchr(p, '\n', size_t(end - p)))) {
        ++count;
        p = line + 1;
    }
    return p < end ? count + 1 : count;
}

} // namespace tw
