#include "presentation/ChartExport.h"

#include "presentation/CaptionMarkup.h"
#include "services/Format.h"

#include <atomic>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace tw {

namespace {
std::string CsvField(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos)
        return text;
    std::string quoted = "\"";
    for (char c : text) {
        if (c == '"')
            quoted += '"';
        quoted += c;
    }
    return quoted + '"';
}

std::string CsvNumber(double value) {
    if (std::isnan(value))
        return "NaN";
    if (std::isinf(value))
        return value > 0 ? "INF" : "-INF";
    return FloatToStr(value);
}
} // namespace

std::string ChartToCsv(const TChart& chart) {
    const std::vector<TChartSeries>& series = chart.Series();
    std::string csv;
    size_t rows = 0;
    for (size_t s = 0; s < series.size(); ++s) {
        if (s > 0)
            csv += ',';
        csv += CsvField(series[s].Caption + ": " + chart.XAxis().Label()) + ',' +
               CsvField(series[s].Caption + ": " + chart.YAxis().Label());
        rows = std::max(rows, series[s].PointCount());
    }
    csv += "\r\n";
    for (size_t row = 0; row < rows; ++row) {
        for (size_t s = 0; s < series.size(); ++s) {
            if (s > 0)
                csv += ',';
            if (row < series[s].PointCount())
                csv += CsvNumber(series[s].X[row]) + ',' + CsvNumber(series[s].Y[row]);
            else
                csv += ',';
        }
        csv += "\r\n";
    }
    return csv;
}

// ---------------------------------------------------------------------------------------------
// SVG

namespace {
const char* KindName(TChartSeriesKind kind) {
    switch (kind) {
    case TChartSeriesKind::Data:
        return "data";
    case TChartSeriesKind::MohrCircle:
        return "mohr-circle";
    case TChartSeriesKind::FailureLine:
        return "failure-line";
    case TChartSeriesKind::Content:
        return "content";
    case TChartSeriesKind::Tangent:
        return "tangent";
    case TChartSeriesKind::Secant:
        return "secant";
    }
    return "data";
}

std::string Px(double value) {
    return Format("%.2f", value);
}

// Caption markup as SVG text content: subscripts and superscripts are smaller and shifted.
std::string SvgCaption(const std::string& markup) {
    std::string text;
    for (const TCaptionRun& run : ParseCaptionMarkup(markup)) {
        if (run.Subscript)
            text += "<tspan baseline-shift=\"sub\" font-size=\"75%\">" + EscapeXml(run.Text) +
                    "</tspan>";
        else if (run.Superscript)
            text += "<tspan baseline-shift=\"super\" font-size=\"75%\">" + EscapeXml(run.Text) +
                    "</tspan>";
        else
            text += "<tspan>" + EscapeXml(run.Text) + "</tspan>";
    }
    return text;
}

// An axis title in markup, then " [unit]".
std::string SvgAxisTitle(const TChartAxis& axis) {
    std::string text = SvgCaption(axis.Title);
    if (!axis.UnitText.empty())
        text += "<tspan> [" + EscapeXml(axis.UnitText) + "]</tspan>";
    return text;
}
} // namespace

TPlotArea SvgPlotArea(const TSvgOptions& options) {
    return {options.Left, options.Top, options.Width - options.Right,
            options.Height - options.Bottom};
}

std::string ChartToSvg(const TChart& chart, const TSvgOptions& options) {
    const TPlotArea area = SvgPlotArea(options);
    TAxisMapping x, y;
    chart.PlotMappings(area.Left, area.Top, area.Right, area.Bottom, x, y);
    const double font = options.FontSize;

    std::string svg;
    svg += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    svg += Format("<svg xmlns=\"http://www.w3.org/2000/svg\" version=\"1.1\" width=\"%s\" "
                  "height=\"%s\" viewBox=\"0 0 %s %s\" font-family=\"sans-serif\" "
                  "font-size=\"%s\">\n",
                  Px(options.Width), Px(options.Height), Px(options.Width), Px(options.Height),
                  Px(font));
    svg += Format("<rect width=\"%s\" height=\"%s\" fill=\"white\"/>\n", Px(options.Width),
                  Px(options.Height));
    svg +=
        Format("<defs><clipPath id=\"plot\"><rect x=\"%s\" y=\"%s\" width=\"%s\" "
               "height=\"%s\"/></clipPath></defs>\n",
               Px(area.Left), Px(area.Top), Px(area.Right - area.Left), Px(area.Bottom - area.Top));
    svg += Format("<text class=\"title\" x=\"%s\" y=\"%s\" text-anchor=\"middle\" "
                  "font-size=\"%s\">%s</text>\n",
                  Px(0.5 * (area.Left + area.Right)), Px(0.5 * area.Top + 0.4 * font),
                  Px(1.25 * font), SvgCaption(chart.Title()));

    // Grid, ticks and labels.
    svg += "<g class=\"axes\" stroke=\"black\">\n";
    for (double tick : AxisTicks(x.Range, x.Logarithmic)) {
        const double px = x.ToPixel(tick);
        if (!std::isfinite(px))
            continue;
        svg += Format("<line class=\"grid\" x1=\"%s\" y1=\"%s\" x2=\"%s\" y2=\"%s\" "
                      "stroke=\"#dddddd\"/>\n",
                      Px(px), Px(area.Top), Px(px), Px(area.Bottom));
        svg += Format("<line class=\"tick\" x1=\"%s\" y1=\"%s\" x2=\"%s\" y2=\"%s\"/>\n", Px(px),
                      Px(area.Bottom), Px(px), Px(area.Bottom + 5));
        svg += Format("<text class=\"tick-label x\" x=\"%s\" y=\"%s\" text-anchor=\"middle\" "
                      "stroke=\"none\" data-value=\"%s\">%s</text>\n",
                      Px(px), Px(area.Bottom + 7 + font), FloatToStr(tick), FormatAxisLabel(tick));
    }
    for (double tick : AxisTicks(y.Range, y.Logarithmic)) {
        const double py = y.ToPixel(tick);
        if (!std::isfinite(py))
            continue;
        svg += Format("<line class=\"grid\" x1=\"%s\" y1=\"%s\" x2=\"%s\" y2=\"%s\" "
                      "stroke=\"#dddddd\"/>\n",
                      Px(area.Left), Px(py), Px(area.Right), Px(py));
        svg += Format("<line class=\"tick\" x1=\"%s\" y1=\"%s\" x2=\"%s\" y2=\"%s\"/>\n",
                      Px(area.Left - 5), Px(py), Px(area.Left), Px(py));
        svg += Format("<text class=\"tick-label y\" x=\"%s\" y=\"%s\" text-anchor=\"end\" "
                      "dominant-baseline=\"central\" stroke=\"none\" data-value=\"%s\">%s"
                      "</text>\n",
                      Px(area.Left - 7), Px(py), FloatToStr(tick), FormatAxisLabel(tick));
    }
    svg +=
        Format("<rect class=\"frame\" x=\"%s\" y=\"%s\" width=\"%s\" height=\"%s\" "
               "fill=\"none\"/>\n",
               Px(area.Left), Px(area.Top), Px(area.Right - area.Left), Px(area.Bottom - area.Top));
    svg += "</g>\n";
    svg += Format("<text class=\"axis-title x\" x=\"%s\" y=\"%s\" text-anchor=\"middle\">%s"
                  "</text>\n",
                  Px(0.5 * (area.Left + area.Right)), Px(options.Height - 0.6 * font),
                  SvgAxisTitle(chart.XAxis()));
    const double titleX = 1.2 * font, titleY = 0.5 * (area.Top + area.Bottom);
    svg += Format("<text class=\"axis-title y\" x=\"%s\" y=\"%s\" text-anchor=\"middle\" "
                  "transform=\"rotate(-90 %s %s)\">%s</text>\n",
                  Px(titleX), Px(titleY), Px(titleX), Px(titleY), SvgAxisTitle(chart.YAxis()));

    // The curves, each broken where a point can't be drawn.
    for (const TChartSeries& series : chart.Series()) {
        const std::string color = ColorToHex(series.Color);
        svg += Format("<g class=\"series\" data-kind=\"%s\" data-caption=\"%s\" stroke=\"%s\" "
                      "stroke-width=\"%s\" fill=\"none\" clip-path=\"url(#plot)\">\n",
                      KindName(series.Kind), EscapeXml(series.Caption), color, Px(series.PenWidth));
        std::string points;
        auto flush = [&] {
            if (!points.empty())
                svg += "<polyline points=\"" + points + "\"/>\n";
            points.clear();
        };
        for (size_t i = 0; i < series.PointCount(); ++i) {
            const double px = x.ToPixel(series.X[i]);
            const double py = y.ToPixel(series.Y[i]);
            if (!std::isfinite(px) || !std::isfinite(py)) {
                flush();
                continue;
            }
            if (!points.empty())
                points += ' ';
            points += Px(px) + ',' + Px(py);
        }
        flush();
        svg += "</g>\n";
    }

    // The legend, in the top right corner of the plot area.
    double row = area.Top + 1.2 * font;
    svg += "<g class=\"legend\">\n";
    for (const TChartSeries& series : chart.Series()) {
        if (!series.InLegend)
            continue;
        const double right = area.Right - 0.5 * font;
        svg += Format("<line x1=\"%s\" y1=\"%s\" x2=\"%s\" y2=\"%s\" stroke=\"%s\" "
                      "stroke-width=\"2\"/>\n",
                      Px(right - 2 * font), Px(row - 0.35 * font), Px(right), Px(row - 0.35 * font),
                      ColorToHex(series.Color));
        svg += Format("<text class=\"legend-entry\" x=\"%s\" y=\"%s\" text-anchor=\"end\">%s"
                      "</text>\n",
                      Px(right - 2.5 * font), Px(row), EscapeXml(series.Caption));
        row += 1.4 * font;
    }
    svg += "</g>\n</svg>\n";
    return svg;
}

// ---------------------------------------------------------------------------------------------
// Files

void SaveTextFile(const std::string& fileName, const std::string& text) {
    static std::atomic<unsigned> counter{0};
    const std::string temporary =
        fileName + ".tmp-" + std::to_string(::getpid()) + "-" + std::to_string(++counter);
    auto fail = [&](int error) {
        std::remove(temporary.c_str());
        throw EChartExportException(
            Format("%s\n%s (%s)", "Could not write to:", fileName, std::strerror(error)));
    };
    std::FILE* file = std::fopen(temporary.c_str(), "wbx");
    if (!file)
        fail(errno);
    const bool written = std::fwrite(text.data(), 1, text.size(), file) == text.size();
    const int writeError = written ? 0 : errno;
    const bool closed = std::fclose(file) == 0; // a full disk may show only here
    const int closeError = closed ? 0 : errno;
    if (!written)
        fail(writeError ? writeError : EIO);
    if (!closed)
        fail(closeError ? closeError : EIO);
    if (std::rename(temporary.c_str(), fileName.c_str()) != 0)
        fail(errno);
}

void SaveChartCsv(const TChart& chart, const std::string& fileName) {
    SaveTextFile(fileName, ChartToCsv(chart));
}

void SaveChartSvg(const TChart& chart, const std::string& fileName, const TSvgOptions& options) {
    SaveTextFile(fileName, ChartToSvg(chart, options));
}

} // namespace tw
