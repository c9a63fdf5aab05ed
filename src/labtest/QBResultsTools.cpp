#include "labtest/QBResultsTools.h"

#include "units/SystemOfUnits.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace tw {

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

// A column of the results in `units`, one value per row (0 where not set, as the results read).
std::vector<double> Column(const TQBResults& results, TQBResultType type,
                           const IQuantityPresenter* units) {
    std::vector<double> values(results.RowCount());
    for (int row = 0; row < results.RowCount(); ++row)
        values[row] = results.GetPresentationValueByType(row, type, units);
    return values;
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

const TSystemOfUnits& GetDefaultOASystemOfUnits() {
    struct TNewProjectUnits : TSystemOfUnits {
        TNewProjectUnits() { SetUnitsOfNewProject(); }
    };
    static const TNewProjectUnits units;
    return units;
}

TTangentOrSecant TangentOfResults(const TQBResults& results, TQBResultType x, TQBResultType y,
                                  double atX, double atY, const IQuantityPresenter* units) {
    return TangentOfCurve(Column(results, x, units), Column(results, y, units), atX, atY);
}

TTangentOrSecant SecantOfResults(const TQBResults& results, TQBResultType x, TQBResultType y,
                                 double atX, double atY, const IQuantityPresenter* units) {
    return SecantOfCurve(Column(results, x, units), Column(results, y, units), atX, atY);
}

} // namespace tw
