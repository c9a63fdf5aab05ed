#include "ResultFile.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <stdexcept>

namespace tw::kernel {

std::string FormatNumber(double value, int significantDigits) {
    if (std::isnan(value))
        return "NAN";
    if (std::isinf(value))
        return value > 0 ? "INF" : "-INF";
    if (value == 0.0)
        return "0";
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value,
                                      std::chars_format::general, significantDigits);
    std::string text(buffer, result.ptr);
    const auto e = text.find('e');
    if (e != std::string::npos) {
        int exponent = 0;
        const char* digits = text.c_str() + e + 1;
        if (*digits == '+')
            ++digits;
        std::from_chars(digits, text.c_str() + text.size(), exponent);
        text = text.substr(0, e) + "E" + std::to_string(exponent);
    }
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
            text += FormatNumber(row[i]);
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
