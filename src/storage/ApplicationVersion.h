#pragma once
// The four-number version of the running program, as files record it ("%d.%d.%d.%d"), and what
// files record about the program that wrote them.

#include <compare>
#include <string>

namespace tw {

struct TApplicationVersion {
    int Major = 0;
    int Minor = 0;
    int Release = 0;
    int Build = 0;

    std::string ToString() const;
    // Parses "a.b.c.d"; false for any other text.
    static bool Parse(const std::string& text, TApplicationVersion& version);
    // The version of this program; start-up code and tests may set another.
    static TApplicationVersion Running();
    static void SetRunning(const TApplicationVersion& version);

    friend auto operator<=>(const TApplicationVersion&, const TApplicationVersion&) = default;
};

// The executable's file name without folder, and its folder with a trailing separator.
std::string ApplicationName();
// The local date and time as "YYYY-MM-DD HH:MM:SS".
std::string LocalDateTimeText();

} // namespace tw
