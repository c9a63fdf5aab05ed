#pragma once
// Name forms of objects and enumerated values. The clean form (trimmed, lower case) decides
// whether two names are the same; the compact form (clean, without " -{}()") matches what a user
// types for an enumerated value. A valid name is an identifier: a letter or "_" first, then
// letters, digits and "_".

#include <string>
#include <string_view>

namespace tw {

std::string CleanName(std::string_view name);
std::string CompactName(std::string_view name);
bool IsValidName(std::string_view name);
// Trims the text and replaces each character an identifier can't hold by "_"; a leading digit
// gets a "_" in front; an empty text gives "_".
std::string MakeValidName(std::string_view text);
// The type name of a class: its name without the leading "T", made valid. A name that doesn't
// begin with "T" stays whole.
std::string TypeNameFromClassName(std::string_view className);
// Splits a name into the text before its trailing digits and their value. True when there is a
// run of digits and something before it.
bool SplitInRootAndIndex(std::string_view name, int& index, std::string& root);

} // namespace tw
