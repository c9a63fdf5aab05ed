#include "presentation/ChartTools.h"

#include "services/Format.h"

#include <cmath>
#include <limits>

namespace tw {

std::string PointReadoutText(double x, double y) {
    return Format("|(%.3g; %.3g)", x, y);
}

std::optional<std::string> PointReadoutAt(double pixelX, double pixelY, const TAxisMapping& x,
                                          const TAxisMapping& y) {
    if (!x.ContainsPixel(pixelX) || !y.ContainsPixel(pixelY))
        return std::nullopt;
    return PointReadoutText(x.FromPixel(pixelX), y.FromPixel(pixelY));
}

// ---------------------------------------------------------------------------------------------
// TPointSelection

void TPointSelection::Click(const TChartPointRef& point, TSelectModifier modifier) {
    const unsigned long serial = ++FSerial;
    FSelectionMode = true;
    if (modifier == TSelectModifier::None || FCount == 0) {
        FSlots[0] = {point, serial};
        FCount = 1;
        return;
    }
    if (FCount == 1) {
        FSlots[1] = {point, serial};
        FCount = 2;
        return;
    }
    const int older = FSlots[0].Serial < FSlots[1].Serial ? 0 : 1;
    if (modifier == TSelectModifier::Shift) {
        FSlots[0] = FSlots[1 - older];
        FSlots[1] = {point, serial};
    } else {
        FSlots[older] = {point, serial};
    }
}

void TPointSelection::Clear() {
    FCount = 0;
    FSelectionMode = false;
}

std::vector<TChartPointRef> TPointSelection::Points() const {
    std::vector<TChartPointRef> points;
    for (int i = 0; i < FCount; ++i)
        points.push_back(FSlots[i].Point);
    return points;
}

std::optional<TChartPointRef> TPointSelection::Latest() const {
    if (FCount == 0)
        return std::nullopt;
    if (FCount == 1)
        return FSlots[0].Point;
    return FSlots[0].Serial > FSlots[1].Serial ? FSlots[0].Point : FSlots[1].Point;
}

} // namespace tw
