#pragma once
// A chart's data as CSV, and the chart itself as an SVG picture drawn from its series: frame,
// grid, ticks with their labels, axis titles, the curves as polylines in their colours, and the
// legend. Pictures made of pixels are the window's business.

#include "presentation/Chart.h"

#include <string>

namespace tw {

TW_DECLARE_EXCEPTION(EChartExportException, EKovException)

// Two columns per series, x then y, headed "<series>: <axis label>"; a shorter series leaves its
// cells empty below its end. Numbers with up to 15 significant digits and "." as decimal
// separator; RFC 4180 quoting and CRLF line ends.
std::string ChartToCsv(const TChart& chart);

struct TSvgOptions {
    double Width = 800.0;
    double Height = 600.0;
    double FontSize = 12.0;
    // The margins around the plot area, in pixels.
    double Left = 90.0, Top = 40.0, Right = 20.0, Bottom = 60.0;
};

// The plot area of a picture: left, top, right and bottom pixels.
struct TPlotArea {
    double Left, Top, Right, Bottom;
};
TPlotArea SvgPlotArea(const TSvgOptions& options);

// An SVG 1.1 document. Each curve is a group of class "series" (with data-kind "data",
// "mohr-circle", "failure-line", "content", "tangent" or "secant") holding one polyline per run
// of drawable points: a point that a logarithmic axis can't show breaks the curve.
std::string ChartToSvg(const TChart& chart, const TSvgOptions& options = {});

// Writes text to a file through a temporary file beside it, put in place when complete; a
// failure leaves an existing file as it was and raises EChartExportException ("Could not write
// to:" and the name).
void SaveTextFile(const std::string& fileName, const std::string& text);

void SaveChartCsv(const TChart& chart, const std::string& fileName);
void SaveChartSvg(const TChart& chart, const std::string& fileName,
                  const TSvgOptions& options = {});

} // namespace tw
