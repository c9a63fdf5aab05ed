#include "services/Base64.h"

#include <cstdint>

namespace tw {

namespace {
constexpr char Alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

int ValueOf(char c) {
    if (c >= 'A' && c <= 'Z')
        return c - 'A';
    if (c >= 'a' && c <= 'z')
        return c - 'a' + 26;
    if (c >= '0' && c <= '9')
        return c - '0' + 52;
    if (c == '+')
        return 62;
    if (c == '/')
        return 63;
    return -1;
}

bool IsWhiteSpace(char c) {
    return c == ' ' || c == '\n' || c == '\r' || c == '\t';
}
} // namespace

std::string EncodeBase64(std::string_view bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (size_t i = 0; i < bytes.size(); i += 3) {
        const uint32_t b0 = static_cast<uint8_t>(bytes[i]);
        const uint32_t b1 = i + 1 < bytes.size() ? static_cast<uint8_t>(bytes[i + 1]) : 0;
        const uint32_t b2 = i + 2 < bytes.size() ? static_cast<uint8_t>(bytes[i + 2]) : 0;
        const uint32_t triple = (b0 << 16) | (b1 << 8) | b2;
        text += Alphabet[(triple >> 18) & 63];
        text += Alphabet[(triple >> 12) & 63];
        text += i + 1 < bytes.size() ? Alphabet[(triple >> 6) & 63] : '=';
        text += i + 2 < bytes.size() ? Alphabet[triple & 63] : '=';
    }
    return text;
}

std::optional<std::string> DecodeBase64(std::string_view text) {
    std::string bytes;
    bytes.reserve(text.size() / 4 * 3);
    uint32_t bits = 0;
    int count = 0, padding = 0;
    for (char c : text) {
        if (IsWhiteSpace(c))
            continue;
        if (c == '=') {
            ++padding;
            continue;
        }
        const int value = ValueOf(c);
        if (value < 0 || padding > 0)
            return std::nullopt;
        bits = (bits << 6) | uint32_t(value);
        if (++count == 4) {
            bytes += char(bits >> 16);
            bytes += char((bits >> 8) & 0xFF);
            bytes += char(bits & 0xFF);
            bits = 0;
            count = 0;
        }
    }
    // What is left of the last group must be filled up by the padding exactly.
    if (count == 0 ? padding != 0 : count == 1 || count + padding != 4)
        return std::nullopt;
    if (count == 2) {
        bytes += char(bits >> 4);
    } else if (count == 3) {
        bytes += char(bits >> 10);
        bytes += char((bits >> 2) & 0xFF);
    }
    return bytes;
}

} // namespace tw
