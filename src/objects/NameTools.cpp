#include "objects/NameTools.h"

#include "services/Strings.h"

#include <charconv>

namespace tw {

std::string CleanName(std::string_view name) {
    return LowerCase(Trim(name));
}

std::string CompactName(std::string_view name) {
    std::string result;
    for (char c : CleanName(name))
        if (c != ' ' && c != '-' && c != '{' && c != '}' && c != '(' && c != ')')
            result += c;
    return result;
}

namespace {
bool IsIdentStart(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}
bool IsIdentChar(char c) {
    return IsIdentStart(c) || (c >= '0' && c <= '9');
}
} // namespace

bool IsValidName(std::string_view name) {
    if (name.empty() || !IsIdentStart(name[0]))
        return false;
    for (char c : name)
        if (!IsIdentChar(c))
            return false;
    return true;
}

std::string MakeValidName(std::string_view text) {
    std::string trimmed = Trim(text);
    std::string result;
    for (size_t i = 0; i < trimmed.size();) {
        unsigned char c = static_cast<unsigned char>(trimmed[i]);
        // A multi-byte UTF-8 character becomes one "_".
        size_t length = c < 0x80 ? 1 : c < 0xE0 ? 2 : c < 0xF0 ? 3 : 4;
        result += length == 1 && IsIdentChar(trimmed[i]) ? trimmed[i] : '_';
        i += length;
    }
    if (result.empty())
        return "_";
    if (!IsIdentStart(result[0]))
        result.insert(result.begin(), '_');
    return result;
}

std::string TypeNameFromClassName(std::string_view className) {
    if (className.size() > 1 && className[0] == 'T')
        className.remove_prefix(1);
    return MakeValidName(className);
}

bool SplitInRootAndIndex(std::string_view name, int& index, std::string& root) {
    size_t end = name.size(), start = end;
    while (start > 0 && name[start - 1] >= '0' && name[start - 1] <= '9')
        --start;
    root = std::string(name.substr(0, start));
    index = 0;
    if (start == end || start == 0)
        return false;
    auto digits = name.substr(start);
    auto result = std::from_chars(digits.data(), digits.data() + digits.size(), index);
    if (result.ec != std::errc())
        return false; // too long to be an index
    return true;
}

} // namespace tw
