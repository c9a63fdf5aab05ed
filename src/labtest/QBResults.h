#pragma once
// The results of a test: one row per calculation step, one column per result quantity. The kernel
// delivers the basic columns in its result file; the derived ones (principal values, invariants,
// total stresses, the Mohr circle) are computed here. Values are held in base units: stresses in
// pascal, compression negative; strains as the kernel's fractions; time in seconds.

#include "labtest/QBDatatypes.h"
#include "objects/IntrinsicPropertyDeclarationList.h"
#include "objects/IntrinsicPropertyDerivedKinds.h"

#include <array>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace tw {

TW_DECLARE_EXCEPTION(EQBResultsException, EKovException)

enum TQBResultType : int {
    rtEps1,
    rtSig1,
    rtSig2,
    rtSig3,
    rtSig1MinSig3,
    rtEpsV,
    rtPExcess,
    rtP,
    rtQ,
    rtT,
    rtSig,
    rtTau,
    rtEpsXX,
    rtEpsYY,
    rtEpsZZ,
    rtGamXY,
    rtGamYZ,
    rtGamZX,
    rtSigXX,
    rtSigYY,
    rtSigZZ,
    rtTauXY,
    rtTauYZ,
    rtTauZX,
    rtSig1PlusSig3Div2,
    rtSig1MinSig3Div2,
    rtEps2,
    rtEps3,
    rtSigYYMinSigXXDiv2,
    rtEpsQ,
    rtSigXXTotal,
    rtSigYYTotal,
    rtSigZZTotal,
    rtPTotal,
    rtSigYYPlusSigXXDiv2,
    rtPw,
    rtPActive,
    rtSaturation,
    rtSaturationEffective,
    rtSaturationUnfrozenWater,
    rtSuction,
    rtTemperature,
    rtNone,
};
constexpr int QBResultTypeCount = 43;
// The number of columns a result row of a file may have.
constexpr int QBFileIndexCount = 42;

struct TQBResultTypeInfo {
    const char* PropertyName; // also the column's name in files and commands
    const char* Caption;      // in the caption markup of the charts
    TQBAxisCategory Axis;
    bool HasQuantity; // false: no unit conversion (strains, saturations)
    TQuantityType Quantity;
};
const TQBResultTypeInfo& ResultTypeInfo(TQBResultType type);
// The column at a position of a result row.
TQBResultType ResultTypeOfFileIndex(int fileIndex);
// The position of a column in a result row, or -1 (rtNone).
int FileIndexOfResultType(TQBResultType type);
// The column of a property name, compared without case; QBResultTypeCount when none matches.
TQBResultType GetResultTypeFromIPName(const std::string& name);

class TQBResults;

// One row of a results table, read and written by column.
class TQBResults_RowView {
public:
    TQBResults_RowView(TQBResults& results, int row) : FQBResults(results), FRowIndex(row) {}
    double Get(TQBResultType type) const;
    void Set(TQBResultType type, double value);
    bool IsSet(TQBResultType type) const;
    double GetPresentationValue(TQBResultType type, const IQuantityPresenter* units) const;
    bool IsSelected() const;
    int Row() const { return FRowIndex; }

    double Time() const { return Get(rtT); }
    double EpsXX() const { return Get(rtEpsXX); }
    double EpsYY() const { return Get(rtEpsYY); }
    double EpsZZ() const { return Get(rtEpsZZ); }
    double SigXX() const { return Get(rtSigXX); }
    double SigYY() const { return Get(rtSigYY); }
    double SigZZ() const { return Get(rtSigZZ); }
    double Sig1() const { return Get(rtSig1); }
    double Sig3() const { return Get(rtSig3); }
    double P() const { return Get(rtP); }
    double Q() const { return Get(rtQ); }
    double EpsV() const { return Get(rtEpsV); }

private:
    TQBResults& FQBResults;
    int FRowIndex;
};

class TQBResults : public TKovObservableObject {
    TW_KOV_CLASS(TQBResults, TKovObservableObject)
public:
    explicit TQBResults(TKovObjectManager* manager);

    int RowCount() const { return FRowCount; }
    // All columns of the table, and the columns a result file can hold.
    int ColCount() const { return QBResultTypeCount; }
    int ResultColCount() const { return QBFileIndexCount; }

    // Rows.
    void ClearRows();
    int AddNewRow();
    // `count` rows with nothing set; answers the index of the first.
    int AddNewRows(int count);
    void DeleteRow(int row);
    // Makes every value of a row not set.
    void ResetRow(int row);
    // Deletes every row at and after `row`.
    void TruncateRows(int row);
    // One row of values; raises when the counts differ.
    void AddValuesInNewRow(std::span<const TQBResultType> types, std::span<const double> values);
    // Many rows of the given columns (measured data), then the derived results.
    void AddValuesAsResults(std::span<const TQBResultType> types,
                            const std::vector<std::vector<double>>& rows);
    void CopyFrom(const TQBResults& source);

    // Values in base units. Reading a value that isn't set answers 0.
    double GetValueByType(int row, TQBResultType type) const;
    void SetValueByType(int row, TQBResultType type, double value) {
        CheckRow(row);
        FValues[type][row] = value;
        FIsSet[type][row] = 1;
    }
    double GetValueByIndex(int row, int fileIndex) const;
    void SetValueByIndex(int row, int fileIndex, double value);
    bool GetIsSetByType(int row, TQBResultType type) const;
    bool GetIsSetByIndex(int row, int fileIndex) const;
    TQuantityType GetQuantityTypeByIndex(int fileIndex) const;
    // In the presentation unit of the column's quantity; the stored value without units.
    double GetPresentationValueByType(int row, TQBResultType type,
                                      const IQuantityPresenter* units) const;
    double GetPresentationValueByIndex(int row, int fileIndex,
                                       const IQuantityPresenter* units) const;
    // A whole column, one value per row (0 where not set).
    std::span<const double> Column(TQBResultType type) const { return FValues[type]; }

    // Whole columns for the readers and writers of stored results: the flags of a column and
    // the rows' choices, one byte a row (1: set, chosen).
    std::span<const uint8_t> IsSetColumn(TQBResultType type) const { return FIsSet[type]; }
    std::span<const uint8_t> SelectedRows() const { return FIsSelectedRow; }
    struct TColumns {
        std::array<std::vector<double>, QBResultTypeCount> Values;
        std::array<std::vector<uint8_t>, QBResultTypeCount> IsSet;
        std::vector<uint8_t> Selected;
    };
    // Replaces every row by `rowCount` rows taken over from `columns`, each vector of that
    // length; raises EQBResultsException, changing nothing, for one of another length. One
    // notification.
    void ReplaceRows(int rowCount, TColumns&& columns);
    // Hands every row over, leaving none; one notification.
    TColumns TakeRows();

    // The rows a user has chosen.
    void SetIsSelectedRow(int row, bool selected);
    bool GetIsSelectedRow(int row) const;
    bool HasSelectedRange() const;

    // Columns are described by declarations (name, caption, quantity) for tables and commands;
    // the suction and thermal groups are shown only when the test has them.
    const TKovIntrinsicPropertyDeclaration& GetColumnDeclaration(TQBResultType type) const;
    std::string GetColumnName(TQBResultType type) const;
    bool AreAvailableForType(TQBResultType type) const;
    // Available, and set in at least one row.
    bool IsDataValidFor(TQBResultType type) const;
    void UpdateAdvancedResultsVisibility(bool suction, bool thermal);

    TQBResults_RowView GetRowView(int row) { return TQBResults_RowView(*this, row); }

    // Principal values of a symmetric tensor with diagonal a, b, c and off-diagonal d (xy),
    // e (yz), f (zx), by the invariants: p1 <= p2 <= p3, the mean, and q = 3/sqrt(2) * the norm
    // of the deviator (sqrt(3 J2)). A hydrostatic tensor answers its diagonal unsorted.
    static void PrincipalEigenValues(double a, double b, double c, double d, double e, double f,
                                     double& p1, double& p2, double& p3, double& mean, double& q);
    // Derived columns of every row, then the Mohr circle of the last row.
    void CalculateDerivedResults();
    void SetOnAfterCalculateDerivedResults(std::function<void()> handler) {
        FOnAfterCalculateDerivedResults = std::move(handler);
    }

    // Reads rows of the old form, one object per row with a number property per column (named
    // as the columns) and a boolean for the row's choice.
    void LoadFromList(const std::vector<const TKovObservableObject*>& oldRows);

protected:
    void AssignEssentialState(const TKovObject& source) override;

private:
    void CheckRow(int row) const {
        if (row < 0 || row >= FRowCount)
            RowOutOfBounds(row);
    }
    [[noreturn]] static void RowOutOfBounds(int row);
    struct TColumnPointers;
    void CalculateDerivedRow(TColumnPointers& columns, int row);
    void CalculateMohrCircle();

    std::function<void()> FOnAfterCalculateDerivedResults;
    std::unique_ptr<TKovIntrinsicPropertyDeclarationList> FColumnDeclarations;
    std::array<std::vector<double>, QBResultTypeCount> FValues;
    std::array<std::vector<uint8_t>, QBResultTypeCount> FIsSet;
    std::vector<uint8_t> FIsSelectedRow;
    int FRowCount = 0;
};

} // namespace tw
