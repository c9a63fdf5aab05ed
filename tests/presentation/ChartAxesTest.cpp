#include "presentation/ChartAxes.h"
#include "presentation/CaptionMarkup.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace tw;

TEST(CaptionMarkup, GreekLettersSubscriptsSuperscriptsAndBars) {
    EXPECT_EQ(CaptionToPlainText("@s#'_1#"), "σ'_1");
    EXPECT_EQ(CaptionToPlainText("|@s#_1# - @s#_3#|"), "|σ_1 - σ_3|");
    EXPECT_EQ(CaptionToPlainText("@D@e#_yy#"), "Δε_yy");
    EXPECT_EQ(CaptionToPlainText("|@e_xx#|"), "|ε_xx|");
    EXPECT_EQ(CaptionToPlainText("p_PMT# u_x# / R_0#"), "p_PMT u_x / R_0");
    EXPECT_EQ(CaptionToHtml("S_unfrozen water#"), "S<sub>unfrozen water</sub>");
    EXPECT_EQ(CaptionToHtml("q < p & @t#_mob#"), "q &lt; p &amp; τ<sub>mob</sub>");
    // A superscript beside a subscript, and "^" inside a subscript is text.
    EXPECT_EQ(CaptionToHtml("K_0#^nc# method"), "K<sub>0</sub><sup>nc</sup> method");
    EXPECT_EQ(CaptionToPlainText("K_0#^nc#"), "K_0^nc");
    EXPECT_EQ(CaptionToPlainText("@g#_f#^C#"), "γ_f^C");
    EXPECT_EQ(CaptionToPlainText("a_x^2#"), "a_x^2");
    // A caption that ends inside a subscript, or on "@", still gives all its text.
    const std::vector<TCaptionRun> runs = ParseCaptionMarkup("p_excess");
    ASSERT_EQ(runs.size(), 2u);
    EXPECT_EQ(runs[1], (TCaptionRun{"excess", true}));
    EXPECT_EQ(CaptionToPlainText("a@"), "a@");
    // Control characters have no place in XML.
    EXPECT_EQ(EscapeXml("a\x01<b\t"), "a&lt;b\t");
}

TEST(ChartAxes, AutomaticRanges) {
    TAxisExtent extent;
    extent.Add(std::vector<double>{-300.0, -100.0, std::nan("")}, false);
    TAxisRange range = AutoRange(extent, false);
    EXPECT_DOUBLE_EQ(range.Min, -310.0);
    // Data that stop short of 0 on one side don't get a margin across it.
    EXPECT_DOUBLE_EQ(range.Max, -90.0);
    TAxisExtent fromZero;
    fromZero.Add(std::vector<double>{0.0, 50.0}, false);
    EXPECT_EQ(AutoRange(fromZero, false), (TAxisRange{0.0, 52.5}));
    // One value, and none.
    TAxisExtent single;
    single.Add(-20.0, false);
    EXPECT_EQ(AutoRange(single, false), (TAxisRange{-22.0, -18.0}));
    EXPECT_EQ(AutoRange(TAxisExtent(), false), (TAxisRange{0.0, 1.0}));

    // Logarithmic: values at or below 0 can't be drawn and don't count; whole decades.
    TAxisExtent log;
    log.Add(std::vector<double>{-5.0, 0.0, 0.03, 250.0}, true);
    EXPECT_EQ(AutoRange(log, true), (TAxisRange{0.01, 1000.0}));
    TAxisExtent onlyNegative;
    onlyNegative.Add(std::vector<double>{-1.0, 0.0}, true);
    EXPECT_TRUE(onlyNegative.Empty());
    EXPECT_EQ(AutoRange(onlyNegative, true), (TAxisRange{1.0, 10.0}));
    TAxisExtent oneDecade;
    oneDecade.Add(100.0, true);
    EXPECT_EQ(AutoRange(oneDecade, true), (TAxisRange{100.0, 1000.0}));
}

TEST(ChartAxes, TicksAndLabels) {
    const std::vector<double> ticks = AxisTicks({-310.0, -90.0}, false);
    ASSERT_FALSE(ticks.empty());
    EXPECT_DOUBLE_EQ(ticks.front(), -300.0);
    EXPECT_DOUBLE_EQ(ticks.back(), -100.0);
    EXPECT_LE(ticks.size(), 9u);
    // A tick at 0 is exactly 0 although the steps add up in floating point.
    const std::vector<double> aroundZero = AxisTicks({-0.3, 0.25}, false);
    EXPECT_NE(std::find(aroundZero.begin(), aroundZero.end(), 0.0), aroundZero.end());
    for (double tick : aroundZero)
        EXPECT_TRUE(tick == 0.0 || std::fabs(tick) >= 0.05 - 1e-12) << tick;
    EXPECT_EQ(AxisTicks({0.01, 1000.0}, true), (std::vector<double>{0.01, 0.1, 1, 10, 100, 1000}));
    EXPECT_TRUE(AxisTicks({1.0, 1.0}, false).empty());

    EXPECT_EQ(FormatAxisLabel(-300.0), "-300");
    EXPECT_EQ(FormatAxisLabel(0.1 + 0.2), "0.3");
    EXPECT_EQ(FormatAxisLabel(-1e-13), "0");
    EXPECT_EQ(FormatAxisLabel(0.00012345678901), "0.00012345679");
    EXPECT_EQ(FormatAxisLabel(2.5e7), "25000000");
}

TEST(ChartAxes, MappingWithFlipAndLogarithm) {
    // x from pixel 100 to 500 over -300 .. -100.
    TAxisMapping x{{-300.0, -100.0}, 100.0, 500.0, false, false};
    EXPECT_DOUBLE_EQ(x.ToPixel(-300.0), 100.0);
    EXPECT_DOUBLE_EQ(x.ToPixel(-200.0), 300.0);
    x.Flipped = true; // compression grows to the right
    EXPECT_DOUBLE_EQ(x.ToPixel(-300.0), 500.0);
    EXPECT_DOUBLE_EQ(x.FromPixel(400.0), -250.0);
    EXPECT_TRUE(x.ContainsPixel(500.0));
    EXPECT_FALSE(x.ContainsPixel(501.0));
    // y runs upwards: pixel 400 is the bottom.
    TAxisMapping y{{1.0, 1000.0}, 400.0, 100.0, false, true};
    EXPECT_DOUBLE_EQ(y.ToPixel(10.0), 300.0);
    EXPECT_NEAR(y.FromPixel(200.0), 100.0, 1e-9);
    EXPECT_TRUE(std::isnan(y.ToPixel(0.0)));
    EXPECT_TRUE(std::isnan(y.ToPixel(-3.0)));
    EXPECT_TRUE(y.ContainsPixel(250.0));
}

TEST(ChartAxes, EqualScalesContainBothRanges) {
    // 400 x 200 pixels: x has 1 unit per pixel, y 0.25; y is widened from its 0 end.
    TAxisRange x{-400.0, 0.0}, y{0.0, 50.0};
    EqualScaleRanges(x, y, 400.0, 200.0);
    EXPECT_EQ(x, (TAxisRange{-400.0, 0.0}));
    EXPECT_EQ(y, (TAxisRange{0.0, 200.0}));
    // The other way round, widened about the middle.
    TAxisRange x2{-10.0, 10.0}, y2{-100.0, 300.0};
    EqualScaleRanges(x2, y2, 100.0, 100.0);
    EXPECT_DOUBLE_EQ(x2.Span() / 100.0, y2.Span() / 100.0);
    EXPECT_DOUBLE_EQ(x2.Min, -200.0);
    EXPECT_DOUBLE_EQ(x2.Max, 200.0);
    EXPECT_EQ(y2, (TAxisRange{-100.0, 300.0}));
    // No plot area: nothing to equal.
    TAxisRange x3{0.0, 1.0}, y3{0.0, 5.0};
    EqualScaleRanges(x3, y3, 0.0, 100.0);
    EXPECT_EQ(x3, (TAxisRange{0.0, 1.0}));
}
