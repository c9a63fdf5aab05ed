#include "presentation/ChartAxes.h"

#include "services/Format.h"

#include <algorithm>
#include <cmath>

namespace tw {

bool IsDrawable(double value, bool logarithmic) {
    return std::isfinite(value) && (!logarithmic || value > 0.0);
}

void TAxisExtent::Add(std::span<const double> values, bool logarithmic) {
    for (double value : values)
        Add(value, logarithmic);
}

TAxisRange AutoRange(const TAxisExtent& extent, bool logarithmic, double marginFactor) {
    if (logarithmic) {
        if (extent.Empty())
            return {1.0, 10.0};
        double low = std::floor(std::log10(extent.Min()));
        double high = std::ceil(std::log10(extent.Max()));
        if (high <= low)
            high = low + 1.0;
        return {std::pow(10.0, low), std::pow(10.0, high)};
    }
    if (extent.Empty())
        return {0.0, 1.0};
    double min = extent.Min();
    double max = extent.Max();
    if (max - min <= 1e-12 * std::max(std::fabs(min), std::fabs(max))) {
        // One value: a range about it, 10 % of its size on each side (or 0 to 1 about 0).
        const double half = min == 0.0 ? 1.0 : 0.1 * std::fabs(min);
        return {min - half, max + half};
    }
    const double margin = marginFactor * (max - min);
    const double low = min - margin;
    const double high = max + margin;
    // The margin does not carry the range across 0 when the data don't go there.
    return {min >= 0.0 && low < 0.0 ? 0.0 : low, max <= 0.0 && high > 0.0 ? 0.0 : high};
}

std::vector<double> AxisTicks(const TAxisRange& range, bool logarithmic, int maxTicks) {
    std::vector<double> ticks;
    if (!(range.Max > range.Min) || !std::isfinite(range.Min) || !std::isfinite(range.Max))
        return ticks;
    if (logarithmic) {
        if (range.Min <= 0.0)
            return ticks;
        const int first = static_cast<int>(std::ceil(std::log10(range.Min) - 1e-9));
        const int last = static_cast<int>(std::floor(std::log10(range.Max) + 1e-9));
        for (int exponent = first; exponent <= last; ++exponent)
            ticks.push_back(std::pow(10.0, exponent));
        return ticks;
    }
    maxTicks = std::max(maxTicks, 2);
    const double rough = range.Span() / maxTicks;
    const double power = std::pow(10.0, std::floor(std::log10(rough)));
    double step = 10.0 * power;
    for (double factor : {1.0, 2.0, 5.0})
        if (factor * power >= rough) {
            step = factor * power;
            break;
        }
    const double first = std::ceil(range.Min / step - 1e-9);
    const double last = std::floor(range.Max / step + 1e-9);
    for (double i = first; i <= last; i += 1.0) {
        double value = i * step;
        if (std::fabs(value) < 1e-6 * step)
            value = 0.0;
        ticks.push_back(value);
    }
    return ticks;
}

std::string FormatAxisLabel(double value) {
    if (!std::isfinite(value))
        return std::isnan(value) ? "NaN" : (value > 0 ? "INF" : "-INF");
    std::string text = Format("%.11f", value);
    const size_t point = text.find('.');
    if (point != std::string::npos) {
        size_t end = text.find_last_not_of('0');
        if (end == point)
            --end;
        text.erase(end + 1);
    }
    if (text == "-0")
        text = "0";
    return text;
}

double TAxisMapping::ToPixel(double value) const {
    if (!IsDrawable(value, Logarithmic))
        return std::nan("");
    double t;
    if (Logarithmic) {
        if (Range.Min <= 0.0)
            return std::nan("");
        const double low = std::log10(Range.Min);
        t = (std::log10(value) - low) / (std::log10(Range.Max) - low);
    } else {
        t = (value - Range.Min) / Range.Span();
    }
    if (Flipped)
        t = 1.0 - t;
    return PixelStart + t * (PixelEnd - PixelStart);
}

double TAxisMapping::FromPixel(double pixel) const {
    double t = (pixel - PixelStart) / (PixelEnd - PixelStart);
    if (Flipped)
        t = 1.0 - t;
    if (Logarithmic) {
        const double low = std::log10(Range.Min);
        return std::pow(10.0, low + t * (std::log10(Range.Max) - low));
    }
    return Range.Min + t * Range.Span();
}

bool TAxisMapping::ContainsPixel(double pixel) const {
    return pixel >= std::min(PixelStart, PixelEnd) && pixel <= std::max(PixelStart, PixelEnd);
}

namespace {
// Widens `range` to `span`, keeping a 0 end where it stands.
void Widen(TAxisRange& range, double span) {
    if (range.Min == 0.0)
        range.Max = span;
    else if (range.Max == 0.0)
        range.Min = -span;
    else {
        const double middle = 0.5 * (range.Min + range.Max);
        range.Min = middle - 0.5 * span;
        range.Max = middle + 0.5 * span;
    }
}
} // namespace

void EqualScaleRanges(TAxisRange& x, TAxisRange& y, double width, double height) {
    if (!(width > 0.0) || !(height > 0.0) || !(x.Span() > 0.0) || !(y.Span() > 0.0))
        return;
    const double xPerPixel = x.Span() / width;
    const double yPerPixel = y.Span() / height;
    if (xPerPixel > yPerPixel)
        Widen(y, xPerPixel * height);
    else if (yPerPixel > xPerPixel)
        Widen(x, yPerPixel * width);
}

} // namespace tw
