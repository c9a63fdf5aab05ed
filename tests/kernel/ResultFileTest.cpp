// The result file's numbers and its writer, which streams rows through a temporary file.

#include "ResultFile.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <charconv>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

using namespace tw::kernel;
namespace fs = std::filesystem;

TEST(ResultFile, NumbersHaveFifteenDigitsInTheGeneralFormat) {
    EXPECT_EQ(FormatNumber(0.0), "0");
    EXPECT_EQ(FormatNumber(-0.0), "0");
    EXPECT_EQ(FormatNumber(100), "100");
    EXPECT_EQ(FormatNumber(-1234.5), "-1234.5");
    EXPECT_EQ(FormatNumber(1.0 / 3), "0.333333333333333");
    EXPECT_EQ(FormatNumber(2.0 / 3), "0.666666666666667");
    EXPECT_EQ(FormatNumber(0.0001), "0.0001");
    EXPECT_EQ(FormatNumber(0.00001), "1E-5");
    EXPECT_EQ(FormatNumber(-2.5e-12), "-2.5E-12");
    EXPECT_EQ(FormatNumber(123456789012345.0), "123456789012345");
    EXPECT_EQ(FormatNumber(1e15), "1E15");
    EXPECT_EQ(FormatNumber(0.9999999999999999), "1");
    EXPECT_EQ(FormatNumber(9.9999999999999995e-5), "0.0001"); // rounds up into the fixed form
    EXPECT_EQ(FormatNumber(1e300), "1E300");
    EXPECT_EQ(FormatNumber(4.9e-324), "4.94065645841247E-324");
    EXPECT_EQ(FormatNumber(0.123456789, 6), "0.123457");

    // The digits are those of the value rounded to 15 digits: within half a unit of the 15th
    // digit, and the library's own rounding but where the value lies within 1e-4 units of a tie.
    std::mt19937_64 random(3);
    std::normal_distribution<double> normal;
    int differences = 0;
    for (int i = 0; i < 100000; ++i) {
        const double value = normal(random) * std::pow(10.0, int(random() % 60) - 30);
        char buffer[64];
        const auto end =
            std::to_chars(buffer, buffer + 64, value, std::chars_format::scientific, 14).ptr;
        const std::string text = FormatNumber(value);
        double back = 0;
        std::from_chars(text.data(), text.data() + text.size(), back);
        const double unit = std::pow(10.0, std::floor(std::log10(std::abs(value))) - 14);
        const double parse = 4e-16 * std::abs(value); // reading the text back rounds too
        ASSERT_LE(std::abs(back - value), 0.5 * unit + parse) << text << " of " << value;
        double expected = 0;
        std::from_chars(buffer, end, expected);
        differences += back != expected;
    }
    EXPECT_LT(differences, 20);
}

TEST(ResultFile, CleanLinesAreOneLineOfValidUtf8) {
    EXPECT_EQ(CleanLine("2\t=soil model type Mohr-Coulomb"), "2\t=soil model type Mohr-Coulomb");
    EXPECT_EQ(CleanLine("a\rb\nc\x01"), "a b c ");
    EXPECT_EQ(CleanLine("Sand \xC3\xA9t\xC3\xA9 \xE2\x80\x93 \xF0\x9F\x98\x80"),
              "Sand \xC3\xA9t\xC3\xA9 \xE2\x80\x93 \xF0\x9F\x98\x80");
    // A lone continuation byte, a cut sequence, an overlong form and a surrogate.
    EXPECT_EQ(CleanLine("x\x80y"), "x\xEF\xBF\xBDy");
    EXPECT_EQ(CleanLine("x\xE2\x80"), "x\xEF\xBF\xBD\xEF\xBF\xBD");
    EXPECT_EQ(CleanLine("\xC0\xAF"), "\xEF\xBF\xBD\xEF\xBF\xBD");
    EXPECT_EQ(CleanLine("\xED\xA0\x80"), "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST(ResultFile, RowsSpilledOnTheWayGiveTheSameFile) {
    const fs::path folder = fs::temp_directory_path() / ("tw_result_" + std::to_string(getpid()));
    fs::create_directories(folder);
    std::vector<TResultRow> rows(500);
    for (size_t i = 0; i < rows.size(); ++i)
        for (int c = 0; c < ResultColumnCount; ++c)
            rows[i][c] = c < 7 ? std::sin(double(i * 19 + c)) : 1.0;
    auto write = [&](const std::string& name, size_t limit) {
        TResultWriter writer((folder / name).string(), limit);
        for (const auto& row : rows)
            writer.AddRow(row);
        writer.Finish({"kernel line"});
        std::ifstream stream(folder / name, std::ios::binary);
        std::ostringstream text;
        text << stream.rdbuf();
        return text.str();
    };
    const std::string whole = write("whole.qbr", size_t(1) << 30);
    const std::string spilled = write("spilled.qbr", 100);
    EXPECT_EQ(spilled, whole);
    EXPECT_EQ(whole.substr(0, 40), "[kernelinfo]\nkernel line\n\n[testresults]\n");
    EXPECT_EQ(std::count(whole.begin(), whole.end(), '\n'), 4 + 500);
    // Nothing is left beside the result.
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 2);

    // A writer that is not finished leaves neither the result nor its temporary files.
    {
        TResultWriter writer((folder / "unfinished.qbr").string(), 100);
        for (const auto& row : rows)
            writer.AddRow(row);
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 2);
    fs::remove_all(folder);
}
