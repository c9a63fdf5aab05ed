#pragma once
// The model of the chart dialog: the title, the orthonormal box, and per axis a choice of result
// column by category (strain, stress, time, temperature) with the boxes for inverse sign, flip and
// logarithmic scale. It works on a copy of the chart's setting, so Cancel is dropping the model;
// OK writes the copy into the setting (or adds it as a new chart).

#include "labtest/QBChartSettings.h"

#include <array>
#include <memory>
#include <string>
#include <vector>

namespace tw {

constexpr int QBAxisCategoryCount = 4;

// One axis of the dialog.
class TAxisDialogModel {
public:
    // Lists the result columns that `results` have (set in at least one row), and the axis's own
    // column whether or not they have it; without results only that one.
    TAxisDialogModel(const TQBAxisSettings& axis, const TQBResults* results);

    // The columns of a category that can be chosen, in the order of the result types.
    const std::vector<TQBResultType>& Items(TQBAxisCategory category) const {
        return FItems[category];
    }
    // Their captions as plain text.
    std::vector<std::string> ItemCaptions(TQBAxisCategory category) const;
    // The categories with at least one column.
    std::vector<TQBAxisCategory> Categories() const;

    TQBAxisCategory Category() const { return FCategory; }
    // The chosen entry of the category's list.
    int ItemIndex() const { return FItemIndex; }
    TQBResultType ResultType() const { return FItems[FCategory][FItemIndex]; }
    // Chooses an entry; raises EKovException for an index outside the category's list.
    void Select(TQBAxisCategory category, int index);
    // Chooses a column by its type; false when the list doesn't offer it.
    bool SelectType(TQBResultType type);

    bool InvertSign = false;
    bool FlipAxis = false;
    bool Logarithmic = false;
    std::string Title;

    // Writes the choice into an axis setting; the strain or stress selection keeps the entry of
    // its list.
    void ApplyTo(TQBAxisSettings& axis) const;

private:
    std::array<std::vector<TQBResultType>, QBAxisCategoryCount> FItems;
    TQBAxisCategory FCategory = acStrain;
    int FItemIndex = 0;
    int FStrainSelection = 0;
    int FStressSelection = 0;
};

class TChartDialogModel {
public:
    // Edits `settings` (target may be nullptr: a new chart, for which `settings` is the template).
    TChartDialogModel(const TQBChartSettings& settings, TQBChartSettings* target,
                      const TQBResults* results);

    std::string Title;
    bool Orthonormal = false;
    TAxisDialogModel& XAxis() { return FX; }
    TAxisDialogModel& YAxis() { return FY; }
    const TAxisDialogModel& XAxis() const { return FX; }
    const TAxisDialogModel& YAxis() const { return FY; }
    TQBChartType ChartType() const { return FChartType; }
    // The setting edited; nullptr for a new chart.
    TQBChartSettings* Target() const { return FTarget; }

    // Writes title, orthonormal and both axes into `settings`, in one update of each.
    void ApplyTo(TQBChartSettings& settings) const;

private:
    TQBChartType FChartType;
    TQBChartSettings* FTarget;
    TAxisDialogModel FX, FY;
};

} // namespace tw
