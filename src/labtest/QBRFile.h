#pragma once
// Reading the kernel's result file into a test's results. The file's values are in the units of
// the kernel input (the project's units when it was written); they are converted to base units.
// Strains stay the kernel's fractions.

#include "labtest/QBResults.h"
#include "units/SystemOfUnits.h"

#include <string>
#include <string_view>

namespace tw {

class TQBTestBase;

// The current result file version; files below version 3 lack the yz and zx columns.
constexpr int QBResultFileVersion = 9;

class TQBRFile {
public:
    // `units` are copied: the file keeps the units it was asked for.
    TQBRFile(const TSystemOfUnits& units, std::string fileName);

    // Reads the file into the test's results and lets the test derive its own values; a fault
    // while reading clears all rows and is raised again. A missing file raises before anything
    // is touched.
    void LoadTest(TQBTestBase& test);
    // Reads the rows behind "[testresults]" (as three tasks: reading, cleanup of rows left from
    // before, derived results).
    void LoadResults(TQBResults& results);

    int VersionNumber() const { return FVersionNumber; }
    void SetVersionNumber(int version) { FVersionNumber = version; }

private:
    void ReadFile();

    TSystemOfUnits FStorageSystemOfUnits;
    std::string FFileName;
    std::string FContents;
    int FVersionNumber = QBResultFileVersion;
};

// Parses one result row into `row` of the results: fields separated by tabs, an empty field left
// unset, a field beginning with "=" (the label) ends the row. `factors` and `offsets` convert a
// file value of each column to base units (ToSI = factor * (offset + value)).
struct TResultRowConversion {
    TQBResultType Types[QBFileIndexCount]; // the column of each position
    double Factors[QBResultTypeCount];
    double Offsets[QBResultTypeCount];
    explicit TResultRowConversion(const TSystemOfUnits* storageUnits);
};
void ReadResultRow(std::string_view line, TQBResults& results, int row, int fileVersion,
                   const TResultRowConversion& conversion);

} // namespace tw
