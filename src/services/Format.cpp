#include "services/Format.h"

#include <charconv>
#include <cmath>

namespace tw {

std::string FloatToStr(double value, int significantDigits) {
    if (std::isnan(value))
        return "NAN";
    if (std::isinf(value))
        return value > 0 ? "INF" : "-INF";
    if (value == 0.0)
        return "0";
    char buffer[64];
    auto result = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general,
                                significantDigits);
    std::string text(buffer, result.ptr);
    // to_chars writes exponents as "e-05"; the Pascal rule writes "E-5".
    auto e = text.find('e');
    if (e != std::string::npos) {
        std::string mantissa = text.substr(0, e);
        int exponent = std::stoi(text.substr(e + 1));
        text = mantissa + "E" + std::to_string(exponent);
    }
    return text;
}

} // namespace tw
