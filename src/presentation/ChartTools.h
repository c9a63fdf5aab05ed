#pragma once
// What a user reads off a chart: the coordinates under the mouse, the nearest point of a curve,
// a selection of one point or a pair. The nearest point, tangent and secant of a curve are the
// results' own routines (labtest/QBResultsTools.h), which the commands use too.

#include "labtest/QBResultsTools.h"
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
