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

int ClosestPoint(std::span<const double> x, std::span<const double> y, double atX, double atY) {
    const size_t count = std::min(x.size(), y.size());
    int best = -1;
    double bestDistance = std::numeric_limits<double>::max();
    for (size_t i = 0; i < count; ++i) {
        const double dx = x[i] - atX;
        const double dy = y[i] - atY;
        const double distance = dx * dx + dy * dy;
        if (std::isfinite(distance) && distance < bestDistance) {
            bestDistance = distance;
            best = static_cast<int>(i);
        }
    }
    return best;
}

double SecantAt(std::span<const double> x, std::span<const double> y, int i) {
    if (i < 0 || static_cast<size_t>(i) >= std::min(x.size(), y.size()) || x[i] == 0.0)
        return std::nan("");
    return y[i] / x[i];
}

int TangentPairStart(int i, int count) {
    if (count < 2 || i < 0 || i >= count)
        return -1;
    return i + 1 < count ? i : count - 2;
}

double TangentAt(std::span<const double> x, std::span<const double> y, int i) {
    const int j = TangentPairStart(i, static_cast<int>(std::min(x.size(), y.size())));
    if (j < 0)
        return std::nan("");
    const double dx = x[j + 1] - x[j];
    if (dx == 0.0)
        return std::nan("");
    return (y[j + 1] - y[j]) / dx;
}

namespace {
template <typename Value>
TTangentOrSecant AtClosest(std::span<const double> x, std::span<const double> y, double atX,
                           double atY, Value value) {
    TTangentOrSecant result;
    result.Point = ClosestPoint(x, y, atX, atY);
    if (result.Point < 0) {
        result.Value = std::nan("");
        return result;
    }
    result.X = x[result.Point];
    result.Y = y[result.Point];
    result.Value = value(x, y, result.Point);
    return result;
}
} // namespace

TTangentOrSecant TangentOfCurve(std::span<const double> x, std::span<const double> y, double atX,
                                double atY) {
    return AtClosest(x, y, atX, atY, TangentAt);
}

TTangentOrSecant SecantOfCurve(std::span<const double> x, std::span<const double> y, double atX,
                               double atY) {
    return AtClosest(x, y, atX, atY, SecantAt);
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
