#include "services/Strings.h"

#include <charconv>

namespace tw {

std::string LowerCase(std::string_view text) {
    std::string result(text);
    for (char& c : result)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return result;
}

std::string UpperCase(std::string_view text) {
    std::string result(text);
    for (char& c : result)
        if (c >= 'a' && c <= 'z')
            c = static_cast<char>(c - 'a' + 'A');
    return result;
}

namespace {
bool IsTrimmed(char c) {
    return static_cast<unsigned char>(c) <= ' ';
}
} // namespace

std::string_view TrimView(std::string_view text) {
    size_t begin = 0, end = text.size();
    while (begin < end && IsTrimmed(text[begin]))
        ++begin;
    while (end > begin && IsTrimmed(text[end - 1]))
        --end;
    return text.substr(begin, end - begin);
}

std::string Trim(std::string_view text) {
    return std::string(TrimView(text));
}

std::string TrimRight(std::string_view text) {
    size_t end = text.size();
    while (end > 0 && IsTrimmed(text[end - 1]))
        --end;
    return std::string(text.substr(0, end));
}

bool SameText(std::string_view a, std::string_view b) {
    if (a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i) {
        char x = a[i], y = b[i];
        if (x >= 'A' && x <= 'Z')
            x = static_cast<char>(x - 'A' + 'a');
        if (y >= 'A' && y <= 'Z')
            y = static_cast<char>(y - 'A' + 'a');
        if (x != y)
            return false;
    }
    return true;
}

bool StartsText(std::string_view prefix, std::string_view text) {
    return text.size() >= prefix.size() && SameText(prefix, text.substr(0, prefix.size()));
}

std::vector<std::string> Split(std::string_view text, char separator) {
    std::vector<std::string> parts;
    size_t start = 0;
    for (;;) {
        size_t pos = text.find(separator, start);
        if (pos == std::string_view::npos) {
            parts.emplace_back(text.substr(start));
            return parts;
        }
        parts.emplace_back(text.substr(start, pos - start));
        start = pos + 1;
    }
}

std::string Join(const std::vector<std::string>& parts, std::string_view separator) {
    std::string result;
    for (size_t i = 0; i < parts.size(); ++i) {
        if (i)
            result += separator;
        result += parts[i];
    }
    return result;
}

std::string ReplaceAll(std::string text, std::string_view from, std::string_view to) {
    if (from.empty())
        return text;
    size_t pos = 0;
    while ((pos = text.find(from, pos)) != std::string::npos) {
        text.replace(pos, from.size(), to);
        pos += to.size();
    }
    return text;
}

namespace {
// The whole text as a number of type T, with an optional "+" that from_chars doesn't take.
template <typename T> bool TryParseWhole(std::string_view text, T& value) {
    if (!text.empty() && text[0] == '+')
        text.remove_prefix(1);
    if (text.empty())
        return false;
    auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    return result.ec == std::errc() && result.ptr == text.data() + text.size();
}
} // namespace

bool TryStrToInt(std::string_view text, int& value) {
    return TryParseWhole(text, value);
}

bool TryStrToFloat(std::string_view text, double& value) {
    return TryParseWhole(text, value);
}

size_t Utf16Length(std::string_view text) {
    size_t units = 0;
    for (size_t i = 0; i < text.size();) {
        unsigned char c = static_cast<unsigned char>(text[i]);
        size_t length = c < 0x80 ? 1 : c < 0xE0 ? 2 : c < 0xF0 ? 3 : 4;
        units += length == 4 ? 2 : 1;
        i += length;
    }
    return units;
}

} // namespace tw
