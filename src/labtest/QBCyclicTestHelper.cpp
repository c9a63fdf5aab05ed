#include "labtest/QBCyclicTestHelper.h"

#include "labtest/QBTestBase.h"
#include "services/Localisation.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <numbers>

namespace tw {

namespace {
// Equality of two doubles within a tolerance relative to the smaller magnitude, and at least
// 1e-12 absolute.
bool SameValue(double a, double b) {
    const double epsilon = std::max(std::min(std::fabs(a), std::fabs(b)) * 1e-12, 1e-12);
    return std::fabs(a - b) <= epsilon;
}
bool IsGreater(double a, double b) {
    return !SameValue(a, b) && a > b;
}
bool IsLess(double a, double b) {
    return !SameValue(a, b) && a < b;
}
} // namespace

double TQBCyclicTestHelper::CalculateDampingRatio(int n) const {
    const int rows = FResults.RowCount();
    const int count = std::clamp(n, 0, rows);
    if (count == 0)
        return 0.0;
    const int first = rows - count;
    double area = 0.0;
    double xMin = DBL_MAX, xMax = -DBL_MAX, yMin = DBL_MAX, yMax = -DBL_MAX;
    for (int row = first; row < rows; ++row) {
        const double x = FResults.GetValueByType(row, FXResultType);
        const double y = FResults.GetValueByType(row, FYResultType);
        if (row + 1 < rows)
            area += (y + FResults.GetValueByType(row + 1, FYResultType)) * 0.5 *
                    (FResults.GetValueByType(row + 1, FXResultType) - x);
        if (IsLess(x, xMin))
            xMin = x;
        if (IsGreater(x, xMax))
            xMax = x;
        if (IsLess(y, yMin))
            yMin = y;
        if (IsGreater(y, yMax))
            yMax = y;
    }
    const double w = (yMax - yMin) * 0.5 * (xMax - xMin);
    if (w == 0.0)
        return 0.0;
    return area / (w * std::numbers::pi);
}

void TQBCyclicTestHelper::UpdateAmplitudeVisibility(ICyclicTest& test) {
    const bool strain = test.IsStrainTestControl();
    test.StrainAmplitudeIP().SetPublishedAndEditable(strain);
    test.StressAmplitudeIP().SetPublishedAndEditable(!strain);
}

void TQBCyclicTestHelper::InitializeCyclicProperties(ICyclicTest& test) {
    UpdateAmplitudeVisibility(test);
    test.SetStoredStrainAmplitude(0.0);
    test.SetStoredStressAmplitude(0.0);
}

void TQBCyclicTestHelper::HandleTestControlTypeChange(TTestControlType controlType,
                                                      ICyclicTest& test) {
    TIPDouble& shown =
        controlType == tctStress ? test.StressAmplitudeIP() : test.StrainAmplitudeIP();
    TIPDouble& hidden =
        controlType == tctStress ? test.StrainAmplitudeIP() : test.StressAmplitudeIP();
    shown.SetPublishedAndEditable(true);
    shown.SetValue(0.0);
    hidden.SetPublishedAndEditable(false);
}

int TQBCyclicTestHelper::StepsPerQuarterCycle(const TQBTestBase& test) {
    if (test.CreatedForRevert())
        return 0;
    const TQBPhase* first = test.Phases().GetItems(0);
    return first ? first->Steps() : 0;
}

double TQBCyclicTestHelper::DurationPerCycle(const TQBTestBase& test) {
    if (test.CreatedForRevert())
        return 0.0;
    const TQBPhase* second = test.Phases().GetItems(1);
    return second ? second->Duration() * 4.0 : 0.0;
}

int TQBCyclicTestHelper::CyclesByDivision(int phaseCount) {
    return std::max(0, (phaseCount - 2) / 2);
}

int TQBCyclicTestHelper::CyclesByRounding(int phaseCount) {
    // Half to even (the default rounding mode): one phase alone gives 0, not -1.
    return std::max(0, static_cast<int>(std::nearbyint((phaseCount - 2) / 2.0)));
}

void TQBCyclicTestHelper::RebuildPhases(TQBTestBase& test, ICyclicTest& cyclic, int cycles,
                                        int stepsPerQuarter, double durationPerCycle) {
    test.RebuildCyclicTestPhases(cycles, stepsPerQuarter, durationPerCycle,
                                 cyclic.StoredStressAmplitude(), cyclic.StoredStrainAmplitude(),
                                 cyclic.CyclicDirection(), cyclic.CyclicBoundaryConditions());
}

void TQBCyclicTestHelper::TakeAmplitudeFromPhases(const TQBTestBase& test, ICyclicTest& cyclic) {
    const TQBPhase* quarter = test.Phases().GetItems(1);
    if (!quarter)
        return;
    if (cyclic.IsStrainTestControl())
        cyclic.SetStoredStrainAmplitude(quarter->GetStrainIncrement(cyclic.CyclicDirection()));
    else
        cyclic.SetStoredStressAmplitude(quarter->GetStressIncrement(cyclic.CyclicDirection()));
}

double TQBCyclicTestHelper::DampingRatioOfResults(const TQBTestBase& test,
                                                  const ICyclicTest& cyclic, TQBResultType x,
                                                  TQBResultType y) {
    if (!test.HasResults() || cyclic.NumberOfCycles() < 1)
        return 0.0;
    return TQBCyclicTestHelper(test.Results(), x, y)
        .CalculateDampingRatio(4 * StepsPerQuarterCycle(test));
}

std::string TQBCyclicTestHelper::TitleWithDampingRatio(const TQBTestBase& test,
                                                       const ICyclicTest& cyclic,
                                                       const std::string& title) {
    if (!test.HasResults())
        return title;
    return Format("%s  [ %s: %f ]", title, Translate("Damping ratio"), cyclic.DampingRatio());
}

} // namespace tw
