#pragma once
// printf-style formatting of message texts. The message catalogue holds printf formats, so the
// formats are kept as they stand and filled by fmt's sprintf. The arguments travel type-erased,
// so this header, which most of the system includes, doesn't pull in the formatting library.

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>

namespace tw {

// One argument of Format: an integer, a number or a text (viewed, not copied: it lives as long as
// the call).
struct TFormatArg {
    enum TKind { fakSigned, fakUnsigned, fakDouble, fakText } Kind;
    union {
        long long Signed;
        unsigned long long Unsigned;
        double Double;
    };
    std::string_view Text;

    template <typename T>
    requires(std::is_integral_v<T> || std::is_enum_v<T>) TFormatArg(T value) {
        if constexpr (std::is_enum_v<T>)
            Set(static_cast<std::underlying_type_t<T>>(value));
        else
            Set(value);
    }
    TFormatArg(double value) : Kind(fakDouble), Double(value) {}
    TFormatArg(float value) : Kind(fakDouble), Double(value) {}
    TFormatArg(const char* text) : Kind(fakText), Signed(0), Text(text ? text : "") {}
    TFormatArg(const std::string& text) : Kind(fakText), Signed(0), Text(text) {}
    TFormatArg(std::string_view text) : Kind(fakText), Signed(0), Text(text) {}

private:
    template <typename I> void Set(I value) {
        if constexpr (std::is_same_v<I, bool>) {
            Kind = fakSigned;
            Signed = value ? 1 : 0;
        } else if constexpr (std::is_signed_v<I>) {
            Kind = fakSigned;
            Signed = value;
        } else {
            Kind = fakUnsigned;
            Unsigned = value;
        }
    }
};

std::string FormatArgs(std::string_view format, std::initializer_list<TFormatArg> args);

template <typename... Args> std::string Format(std::string_view format, const Args&... args) {
    return FormatArgs(format, {TFormatArg(args)...});
}

// The general float-to-text rule of the files and captions: up to 15 significant digits, "." as
// decimal separator whatever the locale, no trailing zeros.
std::string FloatToStr(double value, int significantDigits = 15);

} // namespace tw
