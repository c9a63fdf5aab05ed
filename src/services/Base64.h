#pragma once
// Base 64 (RFC 4648, with padding) for bytes that travel in text: blobs in XML files, binary
// content in the server's JSON.

#include <optional>
#include <string>
#include <string_view>

namespace tw {

std::string EncodeBase64(std::string_view bytes);
// The bytes of a base 64 text; white space between the characters is skipped (XML wraps long
// texts). nullopt for a text that isn't base 64: a foreign character, padding that isn't at the
// end, or a length (with padding) that isn't a multiple of 4.
std::optional<std::string> DecodeBase64(std::string_view text);

} // namespace tw
