#pragma once
// Small string tools shared by all subsystems. Texts are UTF-8; case mapping is ASCII only,
// which is what names and keys use.

#include <string>
#include <string_view>
#include <vector>

namespace tw {

std::string LowerCase(std::string_view text);
std::string UpperCase(std::string_view text);
// Removes blanks and control characters (code points up to 32) at both ends.
std::string Trim(std::string_view text);
// The same without a copy: a view into `text`.
std::string_view TrimView(std::string_view text);
std::string TrimRight(std::string_view text);
bool SameText(std::string_view a, std::string_view b);
bool StartsText(std::string_view prefix, std::string_view text);
std::vector<std::string> Split(std::string_view text, char separator);
std::string Join(const std::vector<std::string>& parts, std::string_view separator);
// Replaces every occurrence of `from` by `to`.
std::string ReplaceAll(std::string text, std::string_view from, std::string_view to);
// Parses a whole text as a decimal 32-bit integer, with optional sign; false if it is not one.
bool TryStrToInt(std::string_view text, int& value);
// Parses a whole text as a number with "." as decimal separator.
bool TryStrToFloat(std::string_view text, double& value);
// Number of UTF-16 code units of a UTF-8 text: positions shown to users count these.
size_t Utf16Length(std::string_view text);

} // namespace tw
