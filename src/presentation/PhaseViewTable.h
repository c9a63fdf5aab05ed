#pragma once
// The phases of an oedometer or CRS test as an editable table: one row per phase, with the
// number of steps, the duration and the phase's driving increment in the vertical direction (the
// stress increment of the oedometer test, the strain increment of the CRS test).
//
// The table keeps a row count of its own and mirrors the test's phases: the table or the test can
// lead, and neither repeats what the other did. A row added, inserted or deleted in the table
// adds, inserts or deletes a phase when the counts then differ; a phase added or deleted in the
// test (or by undo) makes the rows follow. Main thread only; the test must outlive the table.

#include "labtest/QBTestWithPhaseView.h"
#include "presentation/TableModels.h"

#include <functional>
#include <memory>

namespace tw {

class TPhaseViewTable : public TPresentationTable {
public:
    // Writes a value typed into a cell. The default writes the phase's property directly, in
    // presentation units; the window program sends a command instead. Raises for a value the
    // property refuses.
    using TCellWriter = std::function<void(TKovIntrinsicProperty& property, double value)>;

    TPhaseViewTable(TQBTestWithPhaseView* test, const IQuantityPresenter* units);
    ~TPhaseViewTable() override;

    TQBTestWithPhaseView* Test() const { return FTest; }
    // Follows another test (or none), and synchronises.
    void SetTest(TQBTestWithPhaseView* test);
    void SetCellWriter(TCellWriter writer) { FCellWriter = std::move(writer); }

    // Rebuilds the rows when their number differs from the phases'; nothing otherwise, and
    // nothing without a test.
    void Synchronize();
    void AddRow();
    // Raises EKovException for an index outside 0 .. RowCount.
    void InsertRow(int index);
    // Raises EKovException for an index outside the rows.
    void DeleteRow(int index);

    int RowCount() const override { return FRowCount; }
    int ColumnCount() const override { return 3; }
    // The property names of the columns: "Steps", "Duration", then "Siginc" or "Epsinc".
    std::string ColumnName(int column) const;
    std::string HeaderCaption(int column) const override;
    std::string HeaderUnit(int column) const override;
    std::string CellText(int row, int column) const override;
    // Every cell of a phase, but the duration without a time-dependent material.
    bool IsCellEditable(int row, int column) const override;
    std::string SetCellText(int row, int column, const std::string& text) override;

    // The phase property behind a cell; nullptr for a row without phase.
    TKovIntrinsicProperty* CellProperty(int row, int column) const;

protected:
    // The table's own column: its name, caption and the phase property it shows.
    virtual const char* OwnColumnName() const = 0;
    virtual const char* OwnColumnCaption() const = 0;
    virtual std::string OwnPhaseProperty() const = 0;

private:
    void Attach();
    void Detach();

    TQBTestWithPhaseView* FTest;
    const IQuantityPresenter* FUnits;
    int FRowCount = 0;
    TCellWriter FCellWriter;
    TObserver FPhasesObserver;
};

// "Siginc" ("Stress inc."): the vertical stress increment of each phase.
class TPhaseViewTable_Oedometer : public TPhaseViewTable {
public:
    using TPhaseViewTable::TPhaseViewTable;

protected:
    const char* OwnColumnName() const override { return "Siginc"; }
    const char* OwnColumnCaption() const override { return "Stress inc."; }
    std::string OwnPhaseProperty() const override;
};

// "Epsinc" ("Strain inc."): the vertical strain increment of each phase.
class TPhaseViewTable_CRS : public TPhaseViewTable {
public:
    using TPhaseViewTable::TPhaseViewTable;

protected:
    const char* OwnColumnName() const override { return "Epsinc"; }
    const char* OwnColumnCaption() const override { return "Strain inc."; }
    std::string OwnPhaseProperty() const override;
};

// The table of a test's type: the oedometer and the CRS test have one; nullptr for any other.
std::unique_ptr<TPhaseViewTable> CreatePhaseViewTable(TQBTestBase& test,
                                                      const IQuantityPresenter* units);

} // namespace tw
