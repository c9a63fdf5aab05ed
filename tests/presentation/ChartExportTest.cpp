#include "PresentationTestSupport.h"

#include "presentation/ChartExport.h"
#include "presentation/ChartsFrame.h"

#include <gtest/gtest.h>
#include <pugixml.hpp>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

using namespace tw;
using namespace tw::testing;
namespace fs = std::filesystem;

namespace {

// RFC 4180: fields separated by commas, records by CRLF, quoted fields with doubled quotes.
std::vector<std::vector<std::string>> ParseCsv(const std::string& text) {
    std::vector<std::vector<std::string>> records(1);
    std::string field;
    bool quoted = false, fieldStarted = false;
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (quoted) {
            if (c == '"' && i + 1 < text.size() && text[i + 1] == '"') {
                field += '"';
                ++i;
            } else if (c == '"') {
                quoted = false;
            } else {
                field += c;
            }
        } else if (c == '"' && !fieldStarted) {
            quoted = fieldStarted = true;
        } else if (c == ',') {
            records.back().push_back(field);
            field.clear();
            fieldStarted = false;
        } else if (c == '\r' && i + 1 < text.size() && text[i + 1] == '\n') {
            records.back().push_back(field);
            field.clear();
            fieldStarted = false;
            records.emplace_back();
            ++i;
        } else {
            field += c;
            fieldStarted = true;
        }
    }
    EXPECT_TRUE(records.back().empty() && field.empty()) << "the last record has no line end";
    records.pop_back();
    return records;
}

TChart& ChartOf(TChartsFrame& frame, TQBChartType type) {
    for (int i = 0; i < frame.ChartCount(); ++i)
        if (frame.Chart(i).ChartType() == type)
            return frame.Chart(i);
    throw std::runtime_error("no such chart");
}

// The tick labels of one axis: pixel position against the value the label reads.
std::vector<std::pair<double, double>> Ticks(const pugi::xml_document& svg, const char* axis) {
    std::vector<std::pair<double, double>> ticks;
    const std::string cls = std::string("tick-label ") + axis;
    for (const pugi::xpath_node& node : svg.select_nodes(("//*[@class='" + cls + "']").c_str())) {
        const pugi::xml_node text = node.node();
        const double position = text.attribute(axis[0] == 'x' ? "x" : "y").as_double();
        ticks.emplace_back(position, std::stod(text.child_value()));
    }
    return ticks;
}

// The linear map from pixel to value that two tick labels give.
struct TPixelToValue {
    double P0, V0, Slope;
    double operator()(double pixel) const { return V0 + (pixel - P0) * Slope; }
};
TPixelToValue FromTicks(const std::vector<std::pair<double, double>>& ticks) {
    EXPECT_GE(ticks.size(), 2u);
    const auto& a = ticks.front();
    const auto& b = ticks.back();
    return {a.first, a.second, (b.second - a.second) / (b.first - a.first)};
}

// The points of every polyline of the series groups of a kind.
std::vector<std::vector<std::pair<double, double>>> Polylines(const pugi::xml_document& svg,
                                                              const char* kind) {
    std::vector<std::vector<std::pair<double, double>>> lines;
    for (const pugi::xpath_node& group :
         svg.select_nodes((std::string("//*[@class='series'][@data-kind='") + kind + "']").c_str()))
        for (pugi::xml_node polyline : group.node().children("polyline")) {
            std::vector<std::pair<double, double>> points;
            std::istringstream in(polyline.attribute("points").value());
            std::string pair;
            while (in >> pair) {
                const size_t comma = pair.find(',');
                points.emplace_back(std::stod(pair.substr(0, comma)),
                                    std::stod(pair.substr(comma + 1)));
            }
            lines.push_back(std::move(points));
        }
    return lines;
}

std::string AllText(pugi::xml_node node) {
    std::string text;
    for (pugi::xml_node child : node.children())
        text += child.type() == pugi::node_pcdata ? child.value() : AllText(child);
    return text;
}

} // namespace

using ChartExport = PresentationFixture;

TEST_F(ChartExport, CsvHoldsEverySeriesNumberForNumber) {
    SetTriaxialResults(Triaxial(), 11);
    TQBTestBase& loaded = LoadCopyOf(Triaxial());
    // A shorter curve, and a title with a comma and quotes, which the CSV must quote.
    SetResults(loaded, 4, [](int i) {
        return TStressPoint{-100e3, -100e3 - 1e3 / 3.0 * i, -100e3, 0, -0.01 * i, 0};
    });
    loaded.SetTitle("Sand, \"loose\"");
    TChartsFrame frame(*Project, ttTriaxial);
    frame.UpdateCharts();
    const TChart& chart = ChartOf(frame, ctEyyDS);
    const auto records = ParseCsv(ChartToCsv(chart));

    ASSERT_EQ(records.size(), 12u); // the header and the longest curve
    ASSERT_EQ(records[0].size(), 2 * chart.Series().size());
    EXPECT_EQ(records[0][0], Triaxial().Caption() + ": ε_yy");
    EXPECT_EQ(records[0][1], Triaxial().Caption() + ": |σ_1 - σ_3| [kN/m²]");
    EXPECT_EQ(records[0][2], "Sand, \"loose\": ε_yy");
    for (size_t s = 0; s < chart.Series().size(); ++s) {
        const TChartSeries& series = chart.Series()[s];
        for (size_t row = 1; row < records.size(); ++row) {
            ASSERT_EQ(records[row].size(), records[0].size());
            const std::string& x = records[row][2 * s];
            const std::string& y = records[row][2 * s + 1];
            if (row - 1 >= series.PointCount()) {
                EXPECT_EQ(x, "");
                EXPECT_EQ(y, "");
                continue;
            }
            // Fifteen significant digits: as near as the numbers allow.
            EXPECT_NEAR(std::stod(x), series.X[row - 1], 1e-14 * std::fabs(series.X[row - 1]));
            EXPECT_NEAR(std::stod(y), series.Y[row - 1], 1e-14 * std::fabs(series.Y[row - 1]));
        }
    }
    // -0.1 * 0.2 is -0.020000000000000004 in doubles: 15 digits write what was meant.
    EXPECT_EQ(records[3][0], "-0.02");
    EXPECT_EQ(records[3][1], "40");

    // Saved through a temporary file; a folder that doesn't exist leaves nothing behind.
    const fs::path dir = fs::temp_directory_path() / ("tw_csv_" + std::to_string(::getpid()));
    fs::create_directories(dir);
    const std::string file = (dir / "chart.csv").string();
    SaveChartCsv(chart, file);
    EXPECT_EQ(ReadBytes(file), ChartToCsv(chart));
    EXPECT_THROW(SaveChartCsv(chart, (dir / "missing" / "chart.csv").string()),
                 EChartExportException);
    // A failed save keeps the old file.
    fs::permissions(dir, fs::perms::owner_read | fs::perms::owner_exec);
    if (::access(dir.c_str(), W_OK) != 0) { // root may write anyway
        EXPECT_THROW(SaveTextFile(file, "new"), EChartExportException);
        EXPECT_EQ(ReadBytes(file), ChartToCsv(chart));
    }
    fs::permissions(dir, fs::perms::owner_all);
    EXPECT_EQ(std::distance(fs::directory_iterator(dir), fs::directory_iterator()), 1);
    fs::remove_all(dir);
}

TEST_F(ChartExport, SvgDrawsTheSeriesWhereTheAxesSay) {
    SetTriaxialResults(Triaxial(), 11);
    LoadCopyOf(Triaxial());
    TChartsFrame frame(*Project, ttTriaxial);
    const TChart& chart = ChartOf(frame, ctS3S1);
    const std::string text = ChartToSvg(chart);
    pugi::xml_document svg;
    const pugi::xml_parse_result parsed = svg.load_string(text.c_str());
    ASSERT_TRUE(parsed) << parsed.description();
    const pugi::xml_node root = svg.child("svg");
    EXPECT_STREQ(root.attribute("xmlns").value(), "http://www.w3.org/2000/svg");
    EXPECT_EQ(root.attribute("width").as_double(), 800.0);

    // Titles, with the caption markup turned into text and subscripts.
    EXPECT_EQ(AllText(svg.select_node("//*[@class='title']").node()), "S3S1");
    EXPECT_EQ(AllText(svg.select_node("//*[@class='axis-title x']").node()), "σ'3 [kN/m²]");
    EXPECT_EQ(AllText(svg.select_node("//*[@class='axis-title y']").node()), "σ'1 [kN/m²]");
    EXPECT_TRUE(svg.select_node("//*[@class='axis-title y']//*[@baseline-shift='sub']"));

    // Both axes are flipped on this chart: the labels fall from left to right and from bottom
    // to top. Each point, read back through two tick labels, is where the series has it.
    const TPixelToValue x = FromTicks(Ticks(svg, "x"));
    const TPixelToValue y = FromTicks(Ticks(svg, "y"));
    EXPECT_LT(x.Slope, 0.0);
    EXPECT_GT(y.Slope, 0.0); // pixels grow downwards, so a flipped y axis grows with them
    const auto curves = Polylines(svg, "data");
    ASSERT_EQ(curves.size(), 2u);
    const TChartSeries& main = chart.Series()[0];
    ASSERT_EQ(curves[0].size(), main.PointCount());
    const double xTolerance = std::fabs(x.Slope) * 0.006; // two decimals of a pixel
    const double yTolerance = std::fabs(y.Slope) * 0.006;
    for (size_t i = 0; i < main.PointCount(); ++i) {
        EXPECT_NEAR(x(curves[0][i].first), main.X[i], xTolerance);
        EXPECT_NEAR(y(curves[0][i].second), main.Y[i], yTolerance);
    }
    // The envelope, in its colour and width, and the legend without it.
    const auto envelope = Polylines(svg, "failure-line");
    ASSERT_EQ(envelope.size(), 1u);
    const TChartSeries* line = nullptr;
    for (const TChartSeries& series : chart.Series())
        if (series.Kind == TChartSeriesKind::FailureLine)
            line = &series;
    ASSERT_NE(line, nullptr);
    EXPECT_NEAR(y(envelope[0][0].second), line->Y[0], yTolerance);
    const pugi::xml_node group = svg.select_node("//*[@data-kind='failure-line']").node();
    EXPECT_STREQ(group.attribute("stroke-width").value(), "3.00");
    const pugi::xml_node first = svg.select_node("//*[@data-kind='data']").node();
    EXPECT_STREQ(first.attribute("stroke").value(), "#1f77b4");
    EXPECT_EQ(svg.select_nodes("//*[@class='legend-entry']").size(), 2u);
}

TEST_F(ChartExport, SvgBreaksCurvesOnLogarithmicAxesAndKeepsMohrCirclesRound) {
    // A curve through 0: -1, 0, 1, 2 of deviatoric stress on a logarithmic axis loses the first
    // two points, so the polyline starts at the third.
    SetResults(Triaxial(), 6, [](int i) {
        const double syy[] = {-100e3, -110e3, -100e3, -90e3, -100e3, -120e3};
        return TStressPoint{-100e3, syy[i], -100e3, 0, -0.01 * (i + 1), 0};
    });
    Triaxial().ChartSettings().ByChartType(ctEyyDS)->YAxis().SetLogarithmic(true);
    TChartsFrame frame(*Project, ttTriaxial);
    pugi::xml_document svg;
    ASSERT_TRUE(svg.load_string(ChartToSvg(ChartOf(frame, ctEyyDS)).c_str()));
    // |sigma1 - sigma3| is 0 at rows 0, 2 and 4: three runs of drawable points.
    const auto runs = Polylines(svg, "data");
    ASSERT_EQ(runs.size(), 3u);
    EXPECT_EQ(runs[0].size(), 1u);
    EXPECT_EQ(runs[1].size(), 1u);
    EXPECT_EQ(runs[2].size(), 1u);
    // Decades on the axis, read back as labels.
    const auto ticks = Ticks(svg, "y");
    ASSERT_GE(ticks.size(), 2u);
    EXPECT_DOUBLE_EQ(ticks.front().second, 10.0);
    EXPECT_DOUBLE_EQ(ticks.back().second, 100.0);

    // The Mohr circle in a picture of another shape: as wide as it is high, in pixels.
    SetTriaxialResults(Triaxial(), 11);
    TSvgOptions wide;
    wide.Width = 1000;
    wide.Height = 400;
    pugi::xml_document mohr;
    ASSERT_TRUE(mohr.load_string(ChartToSvg(ChartOf(frame, ctMohr), wide).c_str()));
    const auto circle = Polylines(mohr, "mohr-circle");
    ASSERT_EQ(circle.size(), 1u);
    double left = 1e9, right = -1e9, top = 1e9, bottom = -1e9;
    for (auto [px, py] : circle[0]) {
        left = std::min(left, px);
        right = std::max(right, px);
        top = std::min(top, py);
        bottom = std::max(bottom, py);
    }
    EXPECT_NEAR(right - left, 2.0 * (bottom - top), 0.02);
    const TPixelToValue x = FromTicks(Ticks(mohr, "x"));
    const TPixelToValue y = FromTicks(Ticks(mohr, "y"));
    EXPECT_NEAR(std::fabs(x.Slope) / std::fabs(y.Slope), 1.0, 1e-4); // labels at 0.01 pixel
}
