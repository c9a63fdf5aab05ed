#include "services/Base64.h"
#include "services/CommandLine.h"
#include "services/Format.h"
#include "services/RuntimeSettings.h"
#include "services/Strings.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <locale>

using namespace tw;

TEST(CommandLine, SplitsPositionalAndNamedParameters) {
    TCommandLine line(std::vector<std::string>{"/tmp/in put.xml", "2", "-AppServerPort=8001",
                                               "--USE_LEGACY_MATERIALS", "-Flag=off", "Host 1.0"});
    EXPECT_EQ(line.PositionalCount(), 3u);
    EXPECT_EQ(line.Positional(1), "/tmp/in put.xml");
    EXPECT_EQ(line.Positional(3), "Host 1.0");
    EXPECT_EQ(line.Positional(4), "");
    EXPECT_EQ(line.Named("appserverport").value(), "8001");
    EXPECT_EQ(line.NamedBool("USE_LEGACY_MATERIALS"), std::optional<bool>(true));
    EXPECT_EQ(line.NamedBool("Flag"), std::optional<bool>(false));
    EXPECT_FALSE(line.NamedBool("Missing").has_value());
}

TEST(RuntimeSettings, CommandLineFirstThenTogglesFileAndCached) {
    auto folder = std::filesystem::temp_directory_path() / "tw_toggles_test";
    std::filesystem::create_directories(folder);
    std::ofstream(folder / "FROM_FILE").put('x');
    std::ofstream(folder / "OVERRIDDEN").put('x');
    TCommandLine::SetProgram(TCommandLine(std::vector<std::string>{"-OVERRIDDEN=false"}));
    TRuntimeSettings::SetTogglesFolder(folder);

    EXPECT_TRUE(TRuntimeSettings::Get("FROM_FILE"));
    EXPECT_FALSE(TRuntimeSettings::Get("OVERRIDDEN"));
    EXPECT_FALSE(TRuntimeSettings::Get("ABSENT"));
    // Resolved once: a file that appears later changes nothing.
    std::ofstream(folder / "ABSENT").put('x');
    EXPECT_FALSE(TRuntimeSettings::Get("ABSENT"));
    TRuntimeSettings::ClearCache();
    EXPECT_TRUE(TRuntimeSettings::Get("ABSENT"));

    std::filesystem::remove_all(folder);
    TCommandLine::SetProgram(TCommandLine());
}

TEST(Strings, NumbersAndTrimming) {
    int i = 0;
    EXPECT_TRUE(TryStrToInt("-12", i));
    EXPECT_EQ(i, -12);
    EXPECT_FALSE(TryStrToInt("12a", i));
    EXPECT_FALSE(TryStrToInt("", i));
    EXPECT_EQ(Trim(" \t a b \r\n"), "a b");
    EXPECT_EQ(FloatToStr(0.1), "0.1");
    EXPECT_EQ(FloatToStr(-100000.0), "-100000");
    EXPECT_EQ(FloatToStr(1e-20), "1E-20");
    EXPECT_EQ(FloatToStr(1.0 / 3.0), "0.333333333333333");
    EXPECT_EQ(Utf16Length("kN/m²"), 5u);
}

namespace {
// A numeric punctuation with a decimal comma, as a German locale has.
struct CommaDecimal : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
};
} // namespace

TEST(Format, FloatToStrSwitchesToExponentsWhereTheFilesExpectIt) {
    // Fixed notation from 1E-4 up to 15 digits before the point, counted after rounding.
    EXPECT_EQ(FloatToStr(0.0001), "0.0001");
    EXPECT_EQ(FloatToStr(0.00001), "1E-5");
    EXPECT_EQ(FloatToStr(0.000099999999999999995), "0.0001");
    EXPECT_EQ(FloatToStr(-1.5e-7), "-1.5E-7");
    EXPECT_EQ(FloatToStr(1e14), "100000000000000");
    EXPECT_EQ(FloatToStr(99999999999999.95), "100000000000000");
    EXPECT_EQ(FloatToStr(1e15), "1E15");
    EXPECT_EQ(FloatToStr(1.5e300), "1.5E300");
    // 15 significant digits, rounded; no trailing zeros; no negative zero.
    EXPECT_EQ(FloatToStr(123456789012345.6), "123456789012346");
    EXPECT_EQ(FloatToStr(0.1 + 0.2), "0.3");
    EXPECT_EQ(FloatToStr(-10 * 0.01), "-0.1");
    EXPECT_EQ(FloatToStr(-0.0), "0");
    EXPECT_EQ(FloatToStr(2.0), "2");
    EXPECT_EQ(FloatToStr(1.0 / 0.0), "INF");
}

TEST(Format, FloatToStrWritesAPointWhateverTheLocale) {
    const std::locale previous =
        std::locale::global(std::locale(std::locale::classic(), new CommaDecimal));
    const std::string text = FloatToStr(7692.307692307692);
    std::locale::global(previous);
    EXPECT_EQ(text, "7692.30769230769");
}

TEST(Base64, RoundTripsEveryTailAndRefusesWhatIsNotBase64) {
    // RFC 4648, section 10.
    EXPECT_EQ(EncodeBase64(""), "");
    EXPECT_EQ(EncodeBase64("f"), "Zg==");
    EXPECT_EQ(EncodeBase64("fo"), "Zm8=");
    EXPECT_EQ(EncodeBase64("foo"), "Zm9v");
    EXPECT_EQ(EncodeBase64("foobar"), "Zm9vYmFy");
    std::string bytes;
    for (int i = 0; i < 7; ++i) {
        EXPECT_EQ(DecodeBase64(EncodeBase64(bytes)), bytes);
        bytes += static_cast<char>(250 + i); // bytes above 127 too
    }
    EXPECT_EQ(DecodeBase64("Zm9v\n YmFy"), "foobar"); // XML wraps long texts
    for (const char* bad : {"abc", "Zg=", "Zg===", "TW=E", "Zm9v!", "Z", "=Zg="})
        EXPECT_EQ(DecodeBase64(bad), std::nullopt) << bad;
}
