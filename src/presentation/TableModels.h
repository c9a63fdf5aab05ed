#pragma once
// The tables beside a chart, as models a view wraps without logic of its own: rows, columns,
// headers with units in presentation units, cell texts, which cells can be edited, which rows are
// selected. A model tells its observers when its content changed (code tcReset: ask everything
// again). Main thread only.

#include "presentation/Chart.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tw {

class TPresentationTable {
public:
    enum TChange : int { tcReset = 1 };

    virtual ~TPresentationTable() = default;
    virtual int RowCount() const = 0;
    virtual int ColumnCount() const = 0;
    // The column's caption in caption markup, and its unit ("" for none).
    virtual std::string HeaderCaption(int column) const = 0;
    virtual std::string HeaderUnit(int /*column*/) const { return ""; }
    // "caption [unit]" as plain text.
    std::string HeaderText(int column) const;
    virtual std::string CellText(int row, int column) const = 0;
    virtual bool IsCellEditable(int /*row*/, int /*column*/) const { return false; }
    // Writes a cell typed as text. Answers an empty string, or the reason the value was refused;
    // a refused value changes nothing.
    virtual std::string SetCellText(int row, int column, const std::string& text);
    virtual bool IsRowSelected(int /*row*/) const { return false; }

    TObservable& Observable() { return FObservable; }

protected:
    void NotifyReset() { FObservable.NotifyObservers(this, tcReset); }

private:
    TObservable FObservable{this};
};

// A number as a cell shows it: six significant digits, "." as decimal separator, "NaN" for a
// value that is not a number.
std::string FormatCellValue(double value);

// The x and y values of a results table by the axes of a chart's settings, one row per result
// row (or per row of a range). A change of an axis rewrites the table from the same data.
class TQBResultsTable : public TPresentationTable {
public:
    // `settings` must outlive the table; `units` may be nullptr (stored values).
    TQBResultsTable(const TQBChartSettings& settings, const IQuantityPresenter* units);
    ~TQBResultsTable() override;

    // The results shown, not owned; nullptr for none. They must outlive the table or be replaced
    // first.
    const TQBResults* TableData() const { return FTableData; }
    void SetTableData(const TQBResults* results);
    // Shows only the rows from `first` on, `count` of them (clipped to the results); or all.
    void SetRowRange(int first, int count);
    void ClearRowRange();
    // The result row of a table row.
    int ResultRow(int tableRow) const { return FFirstRow + tableRow; }

    int RowCount() const override;
    int ColumnCount() const override { return 2; }
    std::string HeaderCaption(int column) const override;
    std::string HeaderUnit(int column) const override;
    std::string CellText(int row, int column) const override;
    // The value of a cell in chart coordinates.
    double CellValue(int row, int column) const;

    // The rows of the selected points (result rows).
    void SetSelectedRows(std::vector<int> rows);
    bool IsObjectSelected(int resultRow) const;
    bool HasSelection() const { return !FSelectedRows.empty(); }
    bool IsRowSelected(int row) const override { return IsObjectSelected(ResultRow(row)); }

private:
    const TQBAxisSettings& Axis(int column) const;

    const TQBChartSettings& FSettings;
    const IQuantityPresenter* FUnits;
    const TQBResults* FTableData = nullptr;
    int FFirstRow = 0;
    int FRowLimit = -1; // -1: all rows
    std::vector<int> FSelectedRows;
    TObserver FObserver;
};

// A value the derived table shows: empty until assigned.
struct TDerivedDouble {
    std::string Caption;
    double Value = 0.0;
    bool IsAssigned = false;
};

// "Tangent" and "Secant" of the selected point: a row each, with the caption and the value.
class TQBDerivedValuesTable : public TPresentationTable {
public:
    TQBDerivedValuesTable();

    const TDerivedDouble& Tangent() const { return FTangent; }
    const TDerivedDouble& Secant() const { return FSecant; }
    bool IsTangentAssigned() const { return FTangent.IsAssigned; }
    void SetValues(std::optional<double> tangent, std::optional<double> secant);
    void Clear() { SetValues(std::nullopt, std::nullopt); }

    int RowCount() const override { return 2; }
    int ColumnCount() const override { return 2; }
    std::string HeaderCaption(int column) const override;
    std::string CellText(int row, int column) const override;

private:
    TDerivedDouble FTangent, FSecant;
};

// The choice of a phase beside a chart: entries "Phase 1" to "Phase n" under "Selected phase".
class TPhaseSelector {
public:
    static std::string Caption();
    int PhasesCount() const { return FPhasesCount; }
    // Keeps the chosen phase when it still exists, else chooses the first.
    void SetPhasesCount(int count);
    std::vector<std::string> Entries() const;
    // -1 without phases.
    int PhaseIndex() const { return FPhaseIndex; }
    // Raises EKovException for an index outside the entries.
    void SetPhaseIndex(int index);
    TObservable& Observable() { return FObservable; }

private:
    int FPhasesCount = 0;
    int FPhaseIndex = -1;
    TObservable FObservable{this};
};

// The result rows of a test's phase, as the kernel writes them: one row for the initial state,
// then one per step of every phase in turn, a cyclic stretch with all its cycles. The rows of a
// phase start with the row it starts from (the last of the phase before, or the initial row).
// Phases are counted as written, cycles expanded. Nothing for an index outside them.
struct TRowRange {
    int First = 0;
    int Count = 0;
};
std::optional<TRowRange> PhaseRows(const TQBTestBase& test, int writtenPhase);

// The panel beside a chart: further curves for it (content), the results table of one of them
// or of a shown test, and the derived values of the selected point.
class TQBChartTablePanel {
public:
    TQBChartTablePanel(const TQBChartSettings& settings, const IQuantityPresenter* units);
    virtual ~TQBChartTablePanel() = default;

    const TQBChartSettings& ChartSettings() const { return FSettings; }
    TQBResultsTable& Table() { return FTable; }
    TQBDerivedValuesTable& DerivedParams() { return FDerivedParams; }

    // Further curves, owned by the panel; the table shows the one added last.
    virtual TQBResults& AddContent(std::unique_ptr<TQBResults> content);
    // A curve of points in chart coordinates of the panel's axes.
    TQBResults& AddContent(std::span<const double> x, std::span<const double> y);
    TQBResults& AddContentFrom(const TQBResults& results);
    TQBResults& AddContentFrom(const TQBTestBase& test);
    int ContentCount() const { return static_cast<int>(FContentObjects.size()); }
    TQBResults& Content(int index) const { return *FContentObjects.at(index); }
    // The content as series of a chart (kind Content, not in the legend order of tests).
    std::vector<TChartSeries> ContentSeries() const;

    // Takes the chart's selection: the table shows the results of the selected curve's test
    // with the selected rows marked, and the derived table the tangent and secant at the point
    // picked last, in `derivedUnits`. Without a selection of a test's curve both are cleared.
    void ShowSelection(const TChart& chart,
                       const IQuantityPresenter* derivedUnits = &DefaultResultUnits());

    // Each point of every content as a line "%e\t%e", x then y, in chart coordinates.
    std::string DumpContentValues() const;
    void DumpContentValuesTo(const std::string& fileName) const;

private:
    const TQBChartSettings& FSettings;
    const IQuantityPresenter* FUnits;
    std::vector<std::unique_ptr<TQBResults>> FContentObjects;
    TQBResultsTable FTable;
    TQBDerivedValuesTable FDerivedParams;
};

// The panel with a phase selector: the content added last is kept apart.
class TQBChartTablePanelExt : public TQBChartTablePanel {
public:
    using TQBChartTablePanel::AddContent;
    using TQBChartTablePanel::TQBChartTablePanel;
    TQBResults& AddContent(std::unique_ptr<TQBResults> content) override;
    TQBResults* LastAddedContent() const { return FLastAddedContent; }
    TPhaseSelector& PhaseSelector() { return FPhaseSelector; }
    void SetPhasesCount(int count) { FPhaseSelector.SetPhasesCount(count); }
    int PhaseIndex() const { return FPhaseSelector.PhaseIndex(); }

private:
    TQBResults* FLastAddedContent = nullptr;
    TPhaseSelector FPhaseSelector;
};

} // namespace tw
