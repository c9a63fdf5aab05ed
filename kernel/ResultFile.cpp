#include "ResultFile.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string_view>

namespace tw::kernel {

namespace {

// Writes digits and exponent as the general format does: trailing zeros dropped, scientific
// below 1E-4 and from 1E<precision>, exponents as "E-5".
void AppendGeneral(std::string& text, bool negative, const char* digits, int count, int exponent,
                   int precision) {
    while (count > 1 && digits[count - 1] == '0')
        --count;
    // Written in place: copying a small buffer costs as much as the digits themselves.
    const size_t start = text.size();
    text.resize(start + size_t(count) + 32);
    char* out = text.data() + start;
    int n = 0;
    if (negative)
        out[n++] = '-';
    if (exponent < -4 || exponent >= precision) {
        out[n++] = digits[0];
        if (count > 1) {
            out[n++] = '.';
            for (int i = 1; i < count; ++i)
                out[n++] = digits[i];
        }
        out[n++] = 'E';
        if (exponent < 0) {
            out[n++] = '-';
            exponent = -exponent;
        }
        char e[4];
        int k = 0;
        do {
            e[k++] = char('0' + exponent % 10);
            exponent /= 10;
        } while (exponent > 0);
        while (k > 0)
            out[n++] = e[--k];
    } else if (exponent < 0) {
        out[n++] = '0';
        out[n++] = '.';
        for (int i = -1; i > exponent; --i)
            out[n++] = '0';
        for (int i = 0; i < count; ++i)
            out[n++] = digits[i];
    } else {
        for (int i = 0; i <= exponent; ++i)
            out[n++] = i < count ? digits[i] : '0';
        if (count > exponent + 1) {
            out[n++] = '.';
            for (int i = exponent + 1; i < count; ++i)
                out[n++] = digits[i];
        }
    }
    text.resize(start + size_t(n));
}

// Powers of ten as double-double numbers (hi + lo), exact to about 30 digits: built by
// multiplying and dividing by ten, each step exact to the square of the double's precision.
struct TPowers {
    static constexpr int Low = -340, High = 340;
    double Hi[High - Low + 1];
    double Lo[High - Low + 1];
    TPowers() {
        Hi[-Low] = 1.0;
        Lo[-Low] = 0.0;
        for (int k = 1; k <= High; ++k) {
            const double h = Hi[k - 1 - Low], l = Lo[k - 1 - Low];
            const double p = h * 10.0;
            const double e = std::fma(h, 10.0, -p) + l * 10.0;
            Hi[k - Low] = p + e;
            Lo[k - Low] = e - (Hi[k - Low] - p);
        }
        for (int k = -1; k >= Low; --k) {
            const double h = Hi[k + 1 - Low], l = Lo[k + 1 - Low];
            const double q = h / 10.0;
            const double r = std::fma(-q, 10.0, h) + l; // what is left of h + l - 10 q
            const double e = r / 10.0;
            Hi[k - Low] = q + e;
            Lo[k - Low] = e - (Hi[k - Low] - q);
        }
    }
};
const TPowers Power10;

// The value times 10^k, rounded to an integer (ties to even): the product is taken exactly as a
// double-double, so the digits are those of the exact value, as the library's formatting with a
// precision gives them, at a fraction of its cost (the result rows spend most time here).
double ScaledDigits(double a, int k) {
    const int i = k - TPowers::Low;
    const double hi = a * Power10.Hi[i];
    const double error = std::fma(a, Power10.Hi[i], -hi) + a * Power10.Lo[i];
    // Rounded to the nearest integer, ties to even, without a library call: below 2^52 adding
    // and taking away 2^52 rounds; from there on a double is an integer.
    constexpr double Shift = 4503599627370496.0;
    double m = hi < Shift ? (hi + Shift) - Shift : hi;
    const double fraction = (hi - m) + error;
    if (fraction > 0.5)
        m += 1.0;
    else if (fraction < -0.5)
        m -= 1.0;
    return m;
}

void AppendFifteen(std::string& text, double value) {
    const bool negative = value < 0;
    const double a = std::fabs(value);
    // An estimate of the decimal exponent from the binary one, off by at most one (the digits
    // tell): floor(e log10 2) is (e 78913) >> 18 for the exponents of a double.
    std::uint64_t bits = 0;
    std::memcpy(&bits, &a, sizeof bits);
    const int binary = static_cast<int>((bits >> 52) & 0x7FF) - 1023;
    int exponent = (binary * 78913) >> 18;
    double m = ScaledDigits(a, 14 - exponent);
    if (m >= 1e15) {
        ++exponent;
        m = ScaledDigits(a, 14 - exponent);
    } else if (m < 1e14) {
        --exponent;
        m = ScaledDigits(a, 14 - exponent);
    }
    if (m >= 1e15) { // 9.999...95 rounded up to the next power
        m = 1e14;
        ++exponent;
    }
    // Two halves of the digits, two at a time: short chains of dependent divisions.
    static constexpr char Pairs[] = "000102030405060708091011121314151617181920212223242526272829"
                                    "303132333435363738394041424344454647484950515253545556575859"
                                    "606162636465666768697071727374757677787980818283848586878889"
                                    "90919293949596979899";
    const auto mantissa = static_cast<std::uint64_t>(m);
    auto high = static_cast<std::uint32_t>(mantissa / 100000000u); // 7 digits
    auto low = static_cast<std::uint32_t>(mantissa % 100000000u);  // 8 digits
    char digits[16];
    for (int i = 6; i >= 0; i -= 2) {
        const std::uint32_t pairLow = low % 100u;
        low /= 100u;
        digits[7 + i] = Pairs[2 * pairLow];
        digits[8 + i] = Pairs[2 * pairLow + 1];
    }
    for (int i = 6; i >= 2; i -= 2) {
        const std::uint32_t pairHigh = high % 100u;
        high /= 100u;
        digits[i - 1] = Pairs[2 * pairHigh];
        digits[i] = Pairs[2 * pairHigh + 1];
    }
    digits[0] = char('0' + high);
    AppendGeneral(text, negative, digits, 15, exponent, 15);
}

} // namespace

void AppendNumber(std::string& text, double value, int significantDigits) {
    if (std::isnan(value)) {
        text += "NAN";
        return;
    }
    if (std::isinf(value)) {
        text += value > 0 ? "INF" : "-INF";
        return;
    }
    if (value == 0.0) {
        text += '0';
        return;
    }
    if (significantDigits == 15 && std::fabs(value) >= 1e-290 && std::fabs(value) < 1e290) {
        AppendFifteen(text, value);
        return;
    }
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value,
                                      std::chars_format::scientific, significantDigits - 1);
    // "d.ddde-05": the digits without the point, and the exponent.
    const std::string_view s(buffer, result.ptr - buffer);
    const bool negative = s.front() == '-';
    const auto e = s.find('e');
    char digits[40];
    int count = 0;
    for (size_t i = negative ? 1 : 0; i < e; ++i)
        if (s[i] != '.')
            digits[count++] = s[i];
    int exponent = 0;
    std::from_chars(s.data() + e + 1 + (s[e + 1] == '+' ? 1 : 0), s.data() + s.size(), exponent);
    AppendGeneral(text, negative, digits, count, exponent, significantDigits);
}

std::string FormatNumber(double value, int significantDigits) {
    std::string text;
    AppendNumber(text, value, significantDigits);
    return text;
}

std::string ResultFileName(const std::string& inputFileName) {
    return std::filesystem::path(inputFileName).replace_extension(".qbr").string();
}

std::string CleanLine(const std::string& text) {
    static const char replacement[] = "\xEF\xBF\xBD";
    std::string clean;
    clean.reserve(text.size());
    const auto* s = reinterpret_cast<const unsigned char*>(text.data());
    const size_t n = text.size();
    for (size_t i = 0; i < n;) {
        const unsigned char c = s[i];
        if (c < 0x80) {
            clean += ((c < 0x20 && c != '\t') || c == 0x7F) ? ' ' : char(c);
            ++i;
            continue;
        }
        // The length of a well-formed sequence, with the ranges of its second byte that rule out
        // overlong forms, surrogates and values beyond U+10FFFF.
        int length = 0;
        unsigned char low = 0x80, high = 0xBF;
        if (c >= 0xC2 && c <= 0xDF) {
            length = 2;
        } else if (c >= 0xE0 && c <= 0xEF) {
            length = 3;
            if (c == 0xE0)
                low = 0xA0;
            if (c == 0xED)
                high = 0x9F;
        } else if (c >= 0xF0 && c <= 0xF4) {
            length = 4;
            if (c == 0xF0)
                low = 0x90;
            if (c == 0xF4)
                high = 0x8F;
        }
        bool valid = length > 0 && i + size_t(length) <= n && s[i + 1] >= low && s[i + 1] <= high;
        for (int k = 2; valid && k < length; ++k)
            valid = s[i + size_t(k)] >= 0x80 && s[i + size_t(k)] <= 0xBF;
        if (valid) {
            clean.append(text, i, size_t(length));
            i += size_t(length);
        } else {
            clean += replacement;
            ++i;
        }
    }
    return clean;
}

TResultWriter::TResultWriter(std::string fileName, size_t bufferLimit)
    : FFileName(std::move(fileName)), FSpillName(FFileName + ".rows.tmp"),
      FBufferLimit(bufferLimit) {
    // The whole buffer at once: growing it would copy what it holds, time and again.
    FBuffer.reserve(bufferLimit + 1024);
}

TResultWriter::~TResultWriter() {
    if (FSpill) {
        std::fclose(FSpill);
        std::remove(FSpillName.c_str());
    }
}

void TResultWriter::AddRow(const TResultRow& row) {
    // A number that stands in the column of the last row, or in the column before (the equal
    // lateral strains and stresses of a triaxial test), is copied rather than formatted.
    for (int i = 0; i < ResultColumnCount; ++i) {
        if (i > 0)
            FBuffer += '\t';
        if (FHasLast && row[i] == FLast[i]) {
            FBuffer += FLastText[i];
            continue;
        }
        if (i > 1 && row[i] == row[i - 2] && !FLastText[i - 2].empty()) {
            // xx and zz stand two columns apart.
            FLastText[i] = FLastText[i - 2];
            FBuffer += FLastText[i];
            continue;
        }
        const size_t start = FBuffer.size();
        AppendNumber(FBuffer, row[i]);
        FLastText[i].assign(FBuffer, start, std::string::npos);
    }
    FBuffer += '\n';
    FLast = row;
    FHasLast = true;
    if (FBuffer.size() >= FBufferLimit)
        Spill();
}

void TResultWriter::Spill() {
    if (!FSpill && !FSpillFailed) {
        FSpill = std::fopen(FSpillName.c_str(), "w+b");
        FSpillFailed = FSpill == nullptr;
    }
    if (FSpill && std::fwrite(FBuffer.data(), 1, FBuffer.size(), FSpill) != FBuffer.size())
        FSpillFailed = true;
    FBuffer.clear();
}

void TResultWriter::Finish(const std::vector<std::string>& kernelInfo) {
    if (FSpillFailed)
        throw std::runtime_error("cannot write " + FSpillName + ": " + std::strerror(errno));
    std::string head = "[kernelinfo]\n";
    for (const auto& line : kernelInfo)
        head += CleanLine(line) + "\n";
    head += "\n[testresults]\n";

    const std::string temporary = FFileName + ".tmp";
    std::FILE* file = std::fopen(temporary.c_str(), "wb");
    if (!file)
        throw std::runtime_error("cannot write " + temporary + ": " + std::strerror(errno));
    bool written = std::fwrite(head.data(), 1, head.size(), file) == head.size();
    if (FSpill && written) {
        written = std::fflush(FSpill) == 0 && std::fseek(FSpill, 0, SEEK_SET) == 0;
        std::string chunk(1 << 20, '\0');
        while (written) {
            const size_t got = std::fread(chunk.data(), 1, chunk.size(), FSpill);
            if (got == 0) {
                written = !std::ferror(FSpill);
                break;
            }
            written = std::fwrite(chunk.data(), 1, got, file) == got;
        }
    }
    written = written && std::fwrite(FBuffer.data(), 1, FBuffer.size(), file) == FBuffer.size();
    const bool closed = std::fclose(file) == 0;
    if (!written || !closed) {
        std::remove(temporary.c_str());
        throw std::runtime_error("cannot write " + temporary);
    }
    std::error_code error;
    std::filesystem::rename(temporary, FFileName, error);
    if (error) {
        std::remove(temporary.c_str());
        throw std::runtime_error("cannot rename " + temporary + " to " + FFileName + ": " +
                                 error.message());
    }
}

void WriteResultFile(const std::string& fileName, const std::vector<std::string>& kernelInfo,
                     const std::vector<TResultRow>& rows) {
    TResultWriter writer(fileName);
    for (const auto& row : rows)
        writer.AddRow(row);
    writer.Finish(kernelInfo);
}

} // namespace tw::kernel
