#pragma once
// The arithmetic of chart axes, without drawing: the range an axis takes from its data, the
// ticks and their labels, the map between values and pixels (flipped and logarithmic axes), and
// the ranges that give both axes the same scale (Mohr circles stay round).
//
// A logarithmic axis can't show a value at or below 0: such values are left out of its range,
// and a curve is broken where it has one (the points before and after are not joined across it).

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tw {

struct TAxisRange {
    double Min = 0.0;
    double Max = 1.0;
    double Span() const { return Max - Min; }
    bool operator==(const TAxisRange&) const = default;
};

// Whether a value can be drawn on an axis: finite, and above 0 on a logarithmic one.
bool IsDrawable(double value, bool logarithmic);

// The smallest and largest drawable value, or nothing when none is.
class TAxisExtent {
public:
    void Add(double value, bool logarithmic) {
        if (!IsDrawable(value, logarithmic))
            return;
        if (!FHas || value < FMin)
            FMin = value;
        if (!FHas || value > FMax)
            FMax = value;
        FHas = true;
    }
    void Add(std::span<const double> values, bool logarithmic);
    bool Empty() const { return !FHas; }
    double Min() const { return FMin; }
    double Max() const { return FMax; }

private:
    bool FHas = false;
    double FMin = 0.0;
    double FMax = 0.0;
};

// The part of the span added on each side of the data.
inline constexpr double DefaultMarginFactor = 0.05;

// The automatic range of an axis over its data. Linear: the extent widened by the margin on
// each side, but not across 0 when the data stop at 0 or stay on one side of it (a range of
// q >= 0 starts at 0); a single value gets a range around it; no data gives 0 to 1. Logarithmic:
// whole decades around the extent; no data gives 1 to 10.
TAxisRange AutoRange(const TAxisExtent& extent, bool logarithmic,
                     double marginFactor = DefaultMarginFactor);

// Tick values inside the range: multiples of 1, 2 or 5 times a power of ten, at most about
// `maxTicks` of them, with values within a millionth of a step of 0 made exactly 0. A
// logarithmic axis ticks every power of ten in its range.
std::vector<double> AxisTicks(const TAxisRange& range, bool logarithmic, int maxTicks = 8);

// A tick label in the pattern "#0.###########": at least one digit before the point, up to
// eleven after it, no trailing zeros, no exponent; "." whatever the locale, and never "-0".
std::string FormatAxisLabel(double value);

// Maps values of one axis to pixels and back. `PixelStart` is where the range's minimum is drawn
// when the axis is not flipped (the left edge for x, the bottom edge for y), `PixelEnd` the
// other end; a flipped axis swaps them.
struct TAxisMapping {
    TAxisRange Range;
    double PixelStart = 0.0;
    double PixelEnd = 1.0;
    bool Flipped = false;
    bool Logarithmic = false;

    // NaN for a value that can't be drawn on the axis.
    double ToPixel(double value) const;
    double FromPixel(double pixel) const;
    // Whether the pixel lies between the two ends (both included).
    bool ContainsPixel(double pixel) const;
};

// The ranges that make a data unit as long on the x axis as on the y axis in a plot area of
// `width` by `height` pixels: the axis with the larger unit per pixel keeps its range, the other
// is widened about its middle, or from 0 when 0 is one of its ends. Both ranges contain the
// given ones. An empty plot area keeps the ranges. Equal scales mean nothing on a logarithmic
// axis: callers leave those alone.
void EqualScaleRanges(TAxisRange& x, TAxisRange& y, double width, double height);

} // namespace tw
