#pragma once
// The results of a test: a table of result columns, one row per kernel step, filled from the
// kernel's result file after a run and cleared at the start of the next.

#include "objects/IntrinsicProperty.h"

#include <vector>

namespace tw {

class TQBResults : public TKovObservableObject {
    TW_KOV_CLASS(TQBResults, TKovObservableObject)
public:
    using TKovObservableObject::TKovObservableObject;

    int RowCount() const { return FRowCount; }
    // Removes every row; the columns stay.
    void ClearRows();
    // Appends one row of values, one per column (the table widens as needed).
    void AddRow(const std::vector<double>& values);
    int ColumnCount() const { return static_cast<int>(FColumns.size()); }
    double Value(int column, int row) const { return FColumns.at(column).at(row); }
    // The result columns of suction and of temperature are shown only when the test has them.
    void SetAdvancedColumnsVisible(bool suction, bool thermal) {
        FSuctionColumnsVisible = suction;
        FThermalColumnsVisible = thermal;
    }
    bool SuctionColumnsVisible() const { return FSuctionColumnsVisible; }
    bool ThermalColumnsVisible() const { return FThermalColumnsVisible; }
    // Copies the rows of another table.
    void CopyFrom(const TQBResults& source);

protected:
    void AssignEssentialState(const TKovObject& source) override;

private:
    std::vector<std::vector<double>> FColumns;
    int FRowCount = 0;
    bool FSuctionColumnsVisible = false;
    bool FThermalColumnsVisible = false;
};

} // namespace tw
