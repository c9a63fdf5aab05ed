#pragma once
// What a user reads off a chart: the coordinates under the mouse, the nearest point of a curve,
// a selection of one point or a pair, and the tangent and secant of a curve at a point.

#include "presentation/ChartAxes.h"

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tw {

// "|(%.3g; %.3g)" of a point.
std::string PointReadoutText(double x, double y);
// The readout under a pixel of the plot area: nothing when the pixel is outside either axis's
// pixel range.
std::optional<std::string> PointReadoutAt(double pixelX, double pixelY, const TAxisMapping& x,
                                          const TAxisMapping& y);

// The index of the point of a curve nearest to (x, y), in the curve's own units; -1 for an empty
// curve. Points with a coordinate that isn't finite are passed over.
int ClosestPoint(std::span<const double> x, std::span<const double> y, double atX, double atY);

// The secant of the curve at point i: y / x, NaN when x is 0.
double SecantAt(std::span<const double> x, std::span<const double> y, int i);
// The tangent of the curve at point i: the slope from point i to point i + 1, or of the last pair
// at the last point; NaN when x doesn't change or the curve has fewer than two points.
double TangentAt(std::span<const double> x, std::span<const double> y, int i);
// The first of the two points the tangent at point i is taken between, or -1.
int TangentPairStart(int i, int count);

// Tangent or secant of a curve at a point given in its units: the value at the closest point.
struct TTangentOrSecant {
    int Point = -1; // -1 for an empty curve; then Value is NaN
    double X = 0.0, Y = 0.0;
    double Value = 0.0;
};
TTangentOrSecant TangentOfCurve(std::span<const double> x, std::span<const double> y, double atX,
                                double atY);
TTangentOrSecant SecantOfCurve(std::span<const double> x, std::span<const double> y, double atX,
                               double atY);

// A point of a chart: the series and the point in it (for a test's curve, the result row).
struct TChartPointRef {
    int Series = -1;
    int Point = -1;
    bool operator==(const TChartPointRef&) const = default;
};

enum class TSelectModifier { None, Shift, Control };

// The points a user has picked on a chart: one after a plain click, a pair with the shift or
// control key. With a pair at hand, shift drops the older point and appends the new one; control
// puts the new point in the older one's place. Either way the newer and the new point stand.
class TPointSelection {
public:
    void Click(const TChartPointRef& point, TSelectModifier modifier);
    void Clear();
    // In their places: after control the new point stands first.
    std::vector<TChartPointRef> Points() const;
    // The point picked last.
    std::optional<TChartPointRef> Latest() const;
    bool HasSelection() const { return FCount > 0; }
    // Set by the first click and kept until Clear: the chart is in its selection mode.
    bool SelectionMode() const { return FSelectionMode; }

private:
    struct TSlot {
        TChartPointRef Point;
        unsigned long Serial = 0; // order of picking
    };
    TSlot FSlots[2];
    int FCount = 0;
    unsigned long FSerial = 0;
    bool FSelectionMode = false;
};

} // namespace tw
