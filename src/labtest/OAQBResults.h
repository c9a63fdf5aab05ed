#pragma once
// The accessor of a test's results: `tangent` (`tgt`) and `secant` (`sct`) of the curve of two
// columns at the point nearest to a given one, and the columns themselves as members, value arrays
// for the list commands: `count Triaxial_1.Results.DeviatoricStress`,
// `index Triaxial_1.Results.Epsyy -1`.
//
// Columns are named by their property names ("Epsyy", "SigyyE", "DeviatoricStress", ...).
// Tangents and secants are taken in the units of a new project (kN, m, day), whatever the
// project shows, and strains are the kernel's fractions. A results table has no `set`.

#include "commands/OAKovObject.h"

namespace tw {

class TKovValues;
class TQBResults;

class TOAQBResults : public TOAKovObservableObject {
public:
    TOAQBResults();

    // A column by its property name: a value array in the manager's list, in base units (with
    // the column's quantity; strains without one), named after the results and the column and
    // refreshed on every look-up; nullptr for a column that is not set in any row.
    TKovObject* FindMember(TKovObject& object, const std::string& name) const override;
    static TKovValues* ColumnValues(const TQBResults& results, const std::string& name);

protected:
    void AddInfo(const TKovObject& object, TCommandOutput& output) const override;

private:
    void ComTangent(TKovObject* object, const TCommandParameterList& parameters,
                    TCommandOutput& output, bool predict) const;
    void ComSecant(TKovObject* object, const TCommandParameterList& parameters,
                   TCommandOutput& output, bool predict) const;
    void TangentOrSecant(TKovObject* object, const TCommandParameterList& parameters,
                         TCommandOutput& output, bool predict, bool tangent) const;
};

} // namespace tw
