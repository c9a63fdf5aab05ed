#pragma once
// The rules the two cyclic tests share: which amplitude the user sees, how the cyclic phases are
// rebuilt from cycles, steps per quarter cycle, duration per cycle and the amplitudes, and the
// damping ratio of the last load cycle of the results.

#include "labtest/QBResults.h"
#include "labtest/QBTestHelper.h"

#include <string>

namespace tw {

class TQBTestBase;

class TQBCyclicTestHelper {
public:
    // A loop in the results: `x` the driven quantity (a strain), `y` the answer (a stress).
    TQBCyclicTestHelper(const TQBResults& results, TQBResultType x, TQBResultType y)
        : FResults(results), FXResultType(x), FYResultType(y) {}

    // The damping ratio of the last `n` rows (all rows when there are fewer): the area of the
    // loop by the trapezoid rule over consecutive rows, divided by pi times W, where W is half
    // the product of the ranges of x and y. 0 without rows or without a range. The sign of the
    // area follows the turning sense of the loop; a loop that lags behind its load is positive.
    double CalculateDampingRatio(int n) const;

    // Shows the amplitude of the current control and hides the other; both stored amplitudes
    // become 0.
    static void InitializeCyclicProperties(ICyclicTest& test);
    // Shows the amplitude of `controlType` and sets it to 0 (which rebuilds the phases), and
    // hides the other.
    static void HandleTestControlTypeChange(TTestControlType controlType, ICyclicTest& test);
    // Only the visibility part of the two above.
    static void UpdateAmplitudeVisibility(ICyclicTest& test);

    // The reading rules of the phase list: steps per quarter cycle are those of the first
    // phase; the duration per cycle is four times that of the second phase, 0 without a cycle.
    static int StepsPerQuarterCycle(const TQBTestBase& test);
    static double DurationPerCycle(const TQBTestBase& test);
    // Cycles from a phase count of 2 * cycles + 2: by integer division, or rounded half to even.
    // Never below 0.
    static int CyclesByDivision(int phaseCount);
    static int CyclesByRounding(int phaseCount);

    // Rebuilds the cyclic phases from the given values and the stored amplitudes, with the
    // boundary conditions of the current control.
    static void RebuildPhases(TQBTestBase& test, ICyclicTest& cyclic, int cycles,
                              int stepsPerQuarter, double durationPerCycle);
    // After phases were read: the stored amplitude of the current control is taken from the
    // first cyclic phase, which holds it with factor 1.
    static void TakeAmplitudeFromPhases(const TQBTestBase& test, ICyclicTest& cyclic);
    // The ratio of the last full cycle of the test's results, when it has rows and at least one
    // cycle; else 0.
    static double DampingRatioOfResults(const TQBTestBase& test, const ICyclicTest& cyclic,
                                        TQBResultType x, TQBResultType y);
    // The title of the test's first chart: with results, "title  [ Damping ratio: value ]".
    static std::string TitleWithDampingRatio(const TQBTestBase& test, const ICyclicTest& cyclic,
                                             const std::string& title);

private:
    const TQBResults& FResults;
    TQBResultType FXResultType;
    TQBResultType FYResultType;
};

} // namespace tw
