#include "services/Format.h"

#include <fmt/args.h>
#include <fmt/printf.h>

#include <charconv>
#include <cmath>

namespace tw {

std::string FormatArgs(std::string_view format, std::initializer_list<TFormatArg> args) {
    fmt::dynamic_format_arg_store<fmt::printf_context> store;
    store.reserve(args.size(), 0);
    for (const TFormatArg& arg : args) {
        switch (arg.Kind) {
        case TFormatArg::fakSigned:
            store.push_back(arg.Signed);
            break;
        case TFormatArg::fakUnsigned:
            store.push_back(arg.Unsigned);
            break;
        case TFormatArg::fakDouble:
            store.push_back(arg.Double);
            break;
        case TFormatArg::fakText:
            store.push_back(arg.Text);
            break;
        }
    }
    return fmt::vsprintf(fmt::string_view(format.data(), format.size()),
                         fmt::basic_format_args<fmt::printf_context>(store));
}

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
