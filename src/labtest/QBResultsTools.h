#pragma once
// What a user reads off a result curve: the point of a curve nearest to a given point, and the
// tangent and secant of the curve there. The charts (a click on a curve) and the commands
// `tangent` and `secant` use these same routines, so a value read off a chart is the value a
// command gives.
//
// Secant at point i: y[i] / x[i], NaN when x[i] is 0. Tangent at point i: the slope from point i to
// point i + 1, (y[i+1] - y[i]) / (x[i+1] - x[i]); at the last point the slope of the last pair;
// NaN when x doesn't change or the curve has fewer than two points.

#include "labtest/QBResults.h"

#include <span>

namespace tw {

class TSystemOfUnits;

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

// The units in which tangents and secants are handed to the user: those of a new project (kN, m,
// day), whatever the project shows, so that results read by command don't change with the units
// on screen.
const TSystemOfUnits& GetDefaultOASystemOfUnits();

// The tangent or secant of the curve of two result columns at the point nearest (atX, atY), all
// in `units` (nullptr: base units; strains are the kernel's fractions either way). The point is a
// row of the results.
TTangentOrSecant TangentOfResults(const TQBResults& results, TQBResultType x, TQBResultType y,
                                  double atX, double atY, const IQuantityPresenter* units);
TTangentOrSecant SecantOfResults(const TQBResults& results, TQBResultType x, TQBResultType y,
                                 double atX, double atY, const IQuantityPresenter* units);

} // namespace tw
