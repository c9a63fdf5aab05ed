#include "presentation/Chart.h"

#include "presentation/CaptionMarkup.h"
#include "presentation/FailureLines.h"
#include "services/Localisation.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tw {

std::string TChartAxis::Label() const {
    const std::string title = CaptionToPlainText(Title);
    return UnitText.empty() ? title : title + " [" + UnitText + "]";
}

void ChartColumn(const TQBResults& results, TQBResultType type, const IQuantityPresenter* units,
                 bool invertSign, std::vector<double>& values) {
    const std::span<const double> column = results.Column(type);
    const int rows = results.RowCount();
    values.resize(rows);
    const TQBResultTypeInfo& info = ResultTypeInfo(type);
    const double sign = invertSign ? -1.0 : 1.0;
    // A column may be shorter than the table when its last rows were never written: those read 0.
    const int stored = std::min<int>(rows, static_cast<int>(column.size()));
    if (units && info.HasQuantity)
        for (int row = 0; row < stored; ++row)
            values[row] = sign * units->ToPresentation(info.Quantity, column[row]);
    else
        for (int row = 0; row < stored; ++row)
            values[row] = sign * column[row];
    const double zero = units && info.HasQuantity ? units->ToPresentation(info.Quantity, 0.0) : 0;
    std::fill(values.begin() + stored, values.end(), sign * zero);
}

double ChartValue(const TQBResults& results, int row, TQBResultType type,
                  const IQuantityPresenter* units, bool invertSign) {
    const double value = results.GetPresentationValueByType(row, type, units);
    return invertSign ? -value : value;
}

std::string TestCurveCaption(const TQBTestBase& test) {
    return test.Title().empty() ? test.Caption() : test.Title();
}

const TSystemOfUnits& DefaultResultUnits() {
    return GetDefaultOASystemOfUnits();
}

std::optional<TTangentAndSecant> TangentAndSecantAt(const TChart& chart,
                                                    const TChartPointRef& point,
                                                    const IQuantityPresenter* units) {
    if (point.Series < 0 || point.Series >= static_cast<int>(chart.Series().size()))
        return std::nullopt;
    const TChartSeries& series = chart.Series()[point.Series];
    if (series.Kind != TChartSeriesKind::Data || !series.Test)
        return std::nullopt;
    const TQBResults& results = series.Test->Results();
    const int rows = results.RowCount();
    if (point.Point < 0 || point.Point >= rows)
        return std::nullopt;
    const TChartAxis& xAxis = chart.XAxis();
    const TChartAxis& yAxis = chart.YAxis();
    auto x = [&](int row) {
        return ChartValue(results, row, xAxis.ResultType, units, xAxis.InvertSign);
    };
    auto y = [&](int row) {
        return ChartValue(results, row, yAxis.ResultType, units, yAxis.InvertSign);
    };
    // The same rules as on whole curves, on the two or three points they need.
    TTangentAndSecant values{point.Point, std::nan(""), std::nan("")};
    const double xs[1] = {x(point.Point)}, ys[1] = {y(point.Point)};
    values.Secant = SecantAt(xs, ys, 0);
    const int first = TangentPairStart(point.Point, rows);
    if (first >= 0) {
        const double xt[2] = {x(first), x(first + 1)}, yt[2] = {y(first), y(first + 1)};
        values.Tangent = TangentAt(xt, yt, 0);
    }
    return values;
}

namespace {
TChartAxis AxisOf(const TQBAxisSettings& settings, const IQuantityPresenter* units) {
    TChartAxis axis;
    axis.ResultType = settings.ResultType();
    const TQBResultTypeInfo& info = ResultTypeInfo(axis.ResultType);
    const std::string title = settings.Title();
    axis.Title = Translate(title.empty() ? std::string(info.Caption ? info.Caption : "") : title);
    if (units && info.HasQuantity)
        axis.UnitText = units->PresentationUnitText(info.Quantity);
    axis.Flipped = settings.FlipAxis();
    axis.Logarithmic = settings.Logarithmic();
    axis.InvertSign = settings.InvertSign();
    return axis;
}

// The charts that show a failure envelope, as long as their axes are still those of their type.
bool HasFailureLine(TQBChartType type, const TChartAxis& x, const TChartAxis& y) {
    if (type != ctPQ && type != ctS3S1 && type != ctMohr)
        return false;
    const TQBChartTypeInfo& info = ChartTypeInfo(type);
    return x.ResultType == info.X && y.ResultType == info.Y;
}

void ApplySigns(TLinePoints& line, const TChartAxis& x, const TChartAxis& y) {
    if (x.InvertSign)
        for (double& value : line.X)
            value = -value;
    if (y.InvertSign)
        for (double& value : line.Y)
            value = -value;
}

// The smallest and largest value of a column in presentation units.
TAxisExtent ColumnExtent(const TQBResults& results, TQBResultType type,
                         const IQuantityPresenter* units) {
    TAxisExtent extent;
    for (int row = 0; row < results.RowCount(); ++row)
        extent.Add(results.GetPresentationValueByType(row, type, units), false);
    return extent;
}

// The principal stresses of a test's last row, in presentation units.
void LastPrincipalStresses(const TQBTestBase& test, const IQuantityPresenter* units, double& sigma1,
                           double& sigma3) {
    const int last = test.ResultCount() - 1;
    sigma1 = test.Results().GetPresentationValueByType(last, rtSig1, units);
    sigma3 = test.Results().GetPresentationValueByType(last, rtSig3, units);
}
} // namespace

void TChart::Build(std::span<const TShownTest> tests, const TChartBuildOptions& options) {
    const IQuantityPresenter* units = options.Units;
    FTitle = Translate(FSettings->Title());
    FXAxis = AxisOf(FSettings->XAxis(), units);
    FYAxis = AxisOf(FSettings->YAxis(), units);
    FOrthonormal = FSettings->Orthonormal();
    FSeries.clear();
    FSelection.Clear();

    // On the Mohr chart a test shows its Mohr circle; its columns rtSig and rtTau hold the same
    // circle, one point per row, which is too coarse for few rows.
    const bool mohrCircles =
        ChartType() == ctMohr && FXAxis.ResultType == rtSig && FYAxis.ResultType == rtTau;
    double circleMin = 0.0, circleMax = 0.0; // extent of the circles, for the envelope
    bool anyCircle = false;
    for (const TShownTest& shown : tests) {
        const TQBTestBase& test = *shown.Test;
        TChartSeries series;
        series.Caption = TestCurveCaption(test);
        series.Color = ChartColor(shown.Index);
        series.PenWidth = 1.5;
        series.Test = &test;
        series.TestIndex = shown.Index;
        if (mohrCircles) {
            series.Kind = TChartSeriesKind::MohrCircle;
            if (test.HasResults()) {
                double sigma1, sigma3;
                LastPrincipalStresses(test, units, sigma1, sigma3);
                std::optional<double> phi;
                if (auto strength = MohrCoulombStrengthOf(test.Material(), units))
                    phi = strength->PhiDegrees;
                TLinePoints circle = MohrCircle(sigma1, sigma3, options.MohrCirclePoints, phi);
                const double low = std::min(sigma1, sigma3), high = std::max(sigma1, sigma3);
                circleMin = anyCircle ? std::min(circleMin, low) : low;
                circleMax = anyCircle ? std::max(circleMax, high) : high;
                anyCircle = true;
                ApplySigns(circle, FXAxis, FYAxis);
                series.X = std::move(circle.X);
                series.Y = std::move(circle.Y);
            }
        } else {
            ChartColumn(test.Results(), FXAxis.ResultType, units, FXAxis.InvertSign, series.X);
            ChartColumn(test.Results(), FYAxis.ResultType, units, FYAxis.InvertSign, series.Y);
        }
        FSeries.push_back(std::move(series));
    }
    FSeries.insert(FSeries.end(), FContentSeries.begin(), FContentSeries.end());

    if (options.FailureLines == adNone || !HasFailureLine(ChartType(), FXAxis, FYAxis))
        return;
    for (const TShownTest& shown : tests) {
        const TQBTestBase& test = *shown.Test;
        if ((options.FailureLines == adCurrent && shown.Index != 0) || !test.HasResults())
            continue;
        const std::optional<TMohrCoulombStrength> strength =
            MohrCoulombStrengthOf(test.Material(), units);
        if (!strength)
            continue;
        TLinePoints line;
        const TQBResults& results = test.Results();
        switch (ChartType()) {
        case ctPQ: {
            double sigma1, sigma3;
            LastPrincipalStresses(test, units, sigma1, sigma3);
            const double p = results.GetPresentationValueByType(test.ResultCount() - 1, rtP, units);
            const TAxisExtent pExtent = ColumnExtent(results, rtP, units);
            line = PQFailureLine(*strength, IsCompressionState(p, sigma1, sigma3), pExtent.Min(),
                                 pExtent.Max());
            break;
        }
        case ctS3S1:
            line = S3S1FailureLine(*strength, test.GetSig3MinInPresentationUnit(units),
                                   test.GetSig1MinInPresentationUnit(units));
            break;
        default: // ctMohr
            if (!anyCircle)
                continue;
            line = MohrFailureLine(*strength, circleMin, circleMax);
            break;
        }
        if (line.X.empty())
            continue;
        ApplySigns(line, FXAxis, FYAxis);
        TChartSeries series;
        series.Caption = Translate("failure line");
        series.Kind = TChartSeriesKind::FailureLine;
        series.Color = ChartColor(shown.Index);
        series.PenWidth = 3.0;
        series.InLegend = false;
        series.Test = &test;
        series.TestIndex = shown.Index;
        series.X = std::move(line.X);
        series.Y = std::move(line.Y);
        FSeries.push_back(std::move(series));
    }
}

namespace {
// The automatic range over one coordinate of the series. Tangent and secant lines lie across the
// curve; they don't set the ranges.
TAxisRange SeriesRange(const std::vector<TChartSeries>& all,
                       std::vector<double> TChartSeries::*coordinate, bool logarithmic) {
    TAxisExtent extent;
    for (const TChartSeries& series : all)
        if (series.Kind != TChartSeriesKind::Tangent && series.Kind != TChartSeriesKind::Secant)
            extent.Add(series.*coordinate, logarithmic);
    return AutoRange(extent, logarithmic);
}
} // namespace

TAxisRange TChart::AutoXRange() const {
    return SeriesRange(FSeries, &TChartSeries::X, FXAxis.Logarithmic);
}

TAxisRange TChart::AutoYRange() const {
    return SeriesRange(FSeries, &TChartSeries::Y, FYAxis.Logarithmic);
}

void TChart::PlotRanges(double width, double height, TAxisRange& x, TAxisRange& y) const {
    x = AutoXRange();
    y = AutoYRange();
    if (FOrthonormal && !FXAxis.Logarithmic && !FYAxis.Logarithmic)
        EqualScaleRanges(x, y, width, height);
}

void TChart::PlotMappings(double left, double top, double right, double bottom, TAxisMapping& x,
                          TAxisMapping& y) const {
    TAxisRange xRange, yRange;
    PlotRanges(right - left, bottom - top, xRange, yRange);
    x = {xRange, left, right, FXAxis.Flipped, FXAxis.Logarithmic};
    y = {yRange, bottom, top, FYAxis.Flipped, FYAxis.Logarithmic};
}

std::optional<TChartPointRef> TChart::ClickAt(double pixelX, double pixelY,
                                              TSelectModifier modifier, const TAxisMapping& x,
                                              const TAxisMapping& y) {
    TChartPointRef best;
    double bestDistance = std::numeric_limits<double>::max();
    for (size_t s = 0; s < FSeries.size(); ++s) {
        const TChartSeries& series = FSeries[s];
        if (series.Kind != TChartSeriesKind::Data)
            continue;
        for (size_t i = 0; i < series.PointCount(); ++i) {
            const double dx = x.ToPixel(series.X[i]) - pixelX;
            const double dy = y.ToPixel(series.Y[i]) - pixelY;
            const double distance = dx * dx + dy * dy;
            if (distance < bestDistance) { // false for NaN: a point off a logarithmic axis
                bestDistance = distance;
                best = {static_cast<int>(s), static_cast<int>(i)};
            }
        }
    }
    if (best.Series < 0)
        return std::nullopt;
    FSelection.Click(best, modifier);
    return best;
}

void TChart::RemoveSeries(TChartSeriesKind kind) {
    std::erase_if(FSeries, [kind](const TChartSeries& series) { return series.Kind == kind; });
}

void TChart::HideTangentAndSecant() {
    RemoveSeries(TChartSeriesKind::Tangent);
    RemoveSeries(TChartSeriesKind::Secant);
}

bool TChart::ShowTangentAndSecant() {
    HideTangentAndSecant();
    const std::optional<TChartPointRef> point = FSelection.Latest();
    if (!point || point->Series < 0 || point->Series >= static_cast<int>(FSeries.size()))
        return false;
    const TChartSeries& curve = FSeries[point->Series];
    const int i = point->Point;
    if (i < 0 || i >= static_cast<int>(curve.PointCount()))
        return false;
    TAxisExtent xExtent, yExtent;
    xExtent.Add(curve.X, false);
    yExtent.Add(curve.Y, false);
    const double xi = curve.X[i], yi = curve.Y[i];

    // Both lines are made before either joins the series, which may move `curve`.
    auto line = [&](TChartSeriesKind kind, const char* caption, std::vector<double> x,
                    std::vector<double> y) {
        TChartSeries series;
        series.Caption = Translate(caption);
        series.Kind = kind;
        series.Color = curve.Color;
        series.InLegend = false;
        series.Test = curve.Test;
        series.TestIndex = curve.TestIndex;
        series.X = std::move(x);
        series.Y = std::move(y);
        return series;
    };
    const double tangent = TangentAt(curve.X, curve.Y, i);
    TChartSeries tangentLine =
        std::isfinite(tangent)
            ? line(TChartSeriesKind::Tangent, "Tangent", {xExtent.Min(), xExtent.Max()},
                   {yi + tangent * (xExtent.Min() - xi), yi + tangent * (xExtent.Max() - xi)})
            : line(TChartSeriesKind::Tangent, "Tangent", {xi, xi}, {yExtent.Min(), yExtent.Max()});
    const double secant = SecantAt(curve.X, curve.Y, i);
    const double end = xi > 0.0 ? std::max(xExtent.Max(), 0.0) : std::min(xExtent.Min(), 0.0);
    TChartSeries secantLine =
        std::isfinite(secant)
            ? line(TChartSeriesKind::Secant, "Secant", {0.0, end}, {0.0, secant * end})
            : line(TChartSeriesKind::Secant, "Secant", {0.0, 0.0}, {0.0, yi});
    FSeries.push_back(std::move(tangentLine));
    FSeries.push_back(std::move(secantLine));
    return true;
}

} // namespace tw
