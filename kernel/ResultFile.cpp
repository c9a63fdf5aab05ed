#include "ResultFile.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string_view>

namespace tw::kernel {

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
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value,
                                      std::chars_format::general, significantDigits);
    const std::string_view digits(buffer, result.ptr - buffer);
    const auto e = digits.find('e');
    if (e == std::string_view::npos) {
        text += digits;
        return;
    }
    // to_chars writes "e-05"; the files write "E-5".
    text += digits.substr(0, e);
    text += 'E';
    auto exponent = digits.substr(e + 1);
    if (exponent.front() == '+') {
        exponent.remove_prefix(1);
    } else if (exponent.front() == '-') {
        text += '-';
        exponent.remove_prefix(1);
    }
    while (exponent.size() > 1 && exponent.front() == '0')
        exponent.remove_prefix(1);
    text += exponent;
}

std::string FormatNumber(double value, int significantDigits) {
    std::string text;
    AppendNumber(text, value, significantDigits);
    return text;
}

std::string ResultFileName(const std::string& inputFileName) {
    return std::filesystem::path(inputFileName).replace_extension(".qbr").string();
}

void WriteResultFile(const std::string& fileName, const std::vector<std::string>& kernelInfo,
                     const std::vector<TResultRow>& rows) {
    std::string text = "[kernelinfo]\n";
    for (const auto& line : kernelInfo)
        text += line + "\n";
    text += "\n[testresults]\n";
    text.reserve(text.size() + rows.size() * ResultColumnCount * 20);
    for (const auto& row : rows) {
        for (int i = 0; i < ResultColumnCount; ++i) {
            if (i > 0)
                text += '\t';
            AppendNumber(text, row[i]);
        }
        text += '\n';
    }
    const std::string temporary = fileName + ".tmp";
    std::FILE* file = std::fopen(temporary.c_str(), "wb");
    if (!file)
        throw std::runtime_error("cannot write " + temporary + ": " + std::strerror(errno));
    const bool written = std::fwrite(text.data(), 1, text.size(), file) == text.size();
    const bool closed = std::fclose(file) == 0;
    if (!written || !closed) {
        std::remove(temporary.c_str());
        throw std::runtime_error("cannot write " + temporary);
    }
    std::error_code error;
    std::filesystem::rename(temporary, fileName, error);
    if (error) {
        std::remove(temporary.c_str());
        throw std::runtime_error("cannot rename " + temporary + " to " + fileName + ": " +
                                 error.message());
    }
}

} // namespace tw::kernel
