#pragma once
// One chart of a test page, as data: the chart's setting, its two axes, its series in chart
// coordinates, and the user's selection of points. A window draws it as it stands; nothing here
// draws.
//
// Chart coordinates are result values in the presentation units of the frame, with the sign
// inverted where the axis says so. Flipping and the logarithmic scale are how an axis is drawn:
// they don't touch the values.

#include "labtest/QBChartSettings.h"
#include "labtest/QBTestBase.h"
#include "presentation/ChartAxes.h"
#include "presentation/ChartColors.h"
#include "presentation/ChartTools.h"
#include "units/SystemOfUnits.h"

#include <span>
#include <string>
#include <vector>

namespace tw {

enum class TChartSeriesKind {
    Data,        // a test's result rows, one point per row
    MohrCircle,  // a test's Mohr circle at its last row
    FailureLine, // the envelope of a test's material
    Content,     // a further curve of the chart (measured data, ...)
    Tangent,     // the tangent at the selected point
    Secant,      // the secant at the selected point
};

struct TChartSeries {
    std::string Caption;
    TChartSeriesKind Kind = TChartSeriesKind::Data;
    TChartColor Color = 0;
    double PenWidth = 1.0;
    bool InLegend = true;
    // The test the series belongs to, and its index in the frame; nullptr and -1 for none.
    const TQBTestBase* Test = nullptr;
    int TestIndex = -1;
    std::vector<double> X, Y;

    size_t PointCount() const { return std::min(X.size(), Y.size()); }
};

struct TChartAxis {
    TQBResultType ResultType = rtEps1;
    // The axis setting's own title, else the caption of the result column; in caption markup.
    std::string Title;
    // The presentation unit of the result column; empty for a quantity without unit.
    std::string UnitText;
    bool Flipped = false;
    bool Logarithmic = false;
    bool InvertSign = false;

    // "Title [unit]" as plain text ("q [kN/m²]"), without brackets when there is no unit.
    std::string Label() const;
};

// The tests a chart shows, with the index each has in the frame (0 the main test); the index
// picks the colour.
struct TShownTest {
    const TQBTestBase* Test = nullptr;
    int Index = 0;
};

struct TChartBuildOptions {
    // The presentation units; nullptr shows stored values.
    const IQuantityPresenter* Units = nullptr;
    // Whose failure envelope is drawn: the main test's (adCurrent), every shown test's (adAll),
    // or none (adNone).
    TQBAdditionalLines FailureLines = adCurrent;
    // Points of a Mohr circle over its half turn.
    int MohrCirclePoints = 181;
};

class TChart {
public:
    // A chart of `settings`, which must outlive it; the axes and title are read by Build.
    explicit TChart(const TQBChartSettings& settings) : FSettings(&settings) {}

    const TQBChartSettings& Settings() const { return *FSettings; }
    TQBChartType ChartType() const { return FSettings->ChartType(); }
    int SortIndex() const { return FSettings->SortIndex(); }

    // The title in caption markup, translated; the frame may add to it (the damping ratio).
    const std::string& Title() const { return FTitle; }
    void SetTitle(std::string title) { FTitle = std::move(title); }
    const TChartAxis& XAxis() const { return FXAxis; }
    const TChartAxis& YAxis() const { return FYAxis; }
    bool Orthonormal() const { return FOrthonormal; }

    // Further curves drawn after the tests' (measured data, ...); kept across Build.
    void SetContentSeries(std::vector<TChartSeries> series) { FContentSeries = std::move(series); }

    std::vector<TChartSeries>& Series() { return FSeries; }
    const std::vector<TChartSeries>& Series() const { return FSeries; }

    // Reads title and axes from the setting and fills the series for the shown tests, in their
    // order: each test's curve (on the Mohr chart its Mohr circle), the content series, then
    // the failure lines.
    // Clears the selection and the tangent and secant lines.
    void Build(std::span<const TShownTest> tests, const TChartBuildOptions& options);

    // The ranges over every series, by AutoRange, and for a plot area of `width` by `height`
    // pixels with equal scales on an orthonormal chart (when neither axis is logarithmic).
    TAxisRange AutoXRange() const;
    TAxisRange AutoYRange() const;
    void PlotRanges(double width, double height, TAxisRange& x, TAxisRange& y) const;
    // The mappings of a plot area whose left, top, right and bottom pixels are given.
    void PlotMappings(double left, double top, double right, double bottom, TAxisMapping& x,
                      TAxisMapping& y) const;

    // The selection: a click at a pixel picks the nearest point of any test's curve (measured in
    // pixels through the mappings); answers the point, or nothing when there is no curve.
    std::optional<TChartPointRef> ClickAt(double pixelX, double pixelY, TSelectModifier modifier,
                                          const TAxisMapping& x, const TAxisMapping& y);
    TPointSelection& Selection() { return FSelection; }
    const TPointSelection& Selection() const { return FSelection; }

    // The tangent and the secant at the latest selected point, in chart coordinates, as series
    // of two points across the x extent of the curve (a vertical segment where the slope is not
    // finite); any earlier ones are replaced. Answers false, and draws nothing, without a
    // selected point.
    bool ShowTangentAndSecant();
    void HideTangentAndSecant();

private:
    void RemoveSeries(TChartSeriesKind kind);

    const TQBChartSettings* FSettings;
    std::string FTitle;
    TChartAxis FXAxis, FYAxis;
    bool FOrthonormal = false;
    std::vector<TChartSeries> FSeries;
    std::vector<TChartSeries> FContentSeries;
    TPointSelection FSelection;
};

// A column of results in chart coordinates: presentation units, sign inverted when asked.
// Values not set read 0, as the results answer them.
void ChartColumn(const TQBResults& results, TQBResultType type, const IQuantityPresenter* units,
                 bool invertSign, std::vector<double>& values);
// One value of that column.
double ChartValue(const TQBResults& results, int row, TQBResultType type,
                  const IQuantityPresenter* units, bool invertSign);

// The caption of a test's curve: a loaded test's title, else the test's caption.
std::string TestCurveCaption(const TQBTestBase& test);

// The units of tangents and secants handed to the user: those of a new project (kN, m, day),
// whatever the chart shows, so that a value read off a chart is the value a command gives.
const TSystemOfUnits& DefaultResultUnits();

// The tangent and secant of a test's curve at one of its points, from the test's results in
// `units` with the axes' signs; nothing for a point of another kind of series.
struct TTangentAndSecant {
    int Row = -1;
    double Tangent = 0.0;
    double Secant = 0.0;
};
std::optional<TTangentAndSecant> TangentAndSecantAt(const TChart& chart,
                                                    const TChartPointRef& point,
                                                    const IQuantityPresenter* units);

} // namespace tw
