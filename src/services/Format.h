#pragma once
// printf-style formatting of message texts. The message catalogue holds printf formats, so the
// formats are kept as they stand and filled by fmt's sprintf.

#include <fmt/printf.h>
#include <string>

namespace tw {

template <typename... Args> std::string Format(const std::string& format, const Args&... args) {
    return fmt::sprintf(format, args...);
}

// The general float-to-text rule of the files and captions: up to 15 significant digits, "." as
// decimal separator whatever the locale, no trailing zeros.
std::string FloatToStr(double value, int significantDigits = 15);

} // namespace tw
