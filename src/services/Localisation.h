#pragma once
// The translation function for texts shown to users. Until message catalogues are loaded it
// answers the English text itself.

#include <functional>
#include <string>

namespace tw {

using TTranslator = std::function<std::string(const std::string&)>;

// Answers the translation of an English text in the current language.
std::string Translate(const std::string& text);

// Installs the translator (for example gettext's lookup); an empty function restores the
// identity. Called once at start-up, on the main thread.
void SetTranslator(TTranslator translator);

} // namespace tw
