#pragma once
// The files that describe a test: the kernel input file ("tokernel.qbc"), the legacy test file
// (.qbt, a test with its results) and the legacy test configuration (.qbs).
//
// The kernel input holds, in this order: [header], [soilmodeldata] and [soilparameters] (written
// by the registered material writer), [extraparameters] and [testparameters]. Test values are
// converted from base units to the file's units on writing and back on reading; strain
// increments, held in percent, stand in the file as fractions.
//
// The test files are written in version 8, whose [testparameters] lack the lines of suction and
// temperature; version 9 test parameters are not read back by this route.

#include "labtest/QBBaseFile.h"
#include "labtest/QBTestBase.h"

namespace tw {

// Reads and writes the lists of a phase and the rows of results.
class TQBExtendedFile : public TQBBaseFile {
public:
    using TQBBaseFile::TQBBaseFile;

    // List lines in direction order. Strains are given in percent and written as fractions,
    // stresses in pascal and written in the pressure unit.
    void WriteStrains(const TQBLoadDirectionDoubleArray& percent, const std::string& label);
    void WriteStresses(const TQBLoadDirectionDoubleArray& pascal, const std::string& label);
    void WriteBoundaryConditions(const TQBBoundaryConditions& conditions, const std::string& label);
    TQBLoadDirectionDoubleArray ReadStrains();
    TQBLoadDirectionDoubleArray ReadStresses();
    // Raises EQBFileException for an ordinal other than 0 (strain) and 1 (stress).
    TQBBoundaryConditions ReadBoundaryConditions();

    // "[testresults]", then one line a row: every column a result file holds, in presentation
    // units, joined by tabs, with an empty field for a value that isn't set; no label.
    void WriteResults(const TQBResults& results);
    // The rows behind "[testresults]" up to the end of the file, in base units, then the derived
    // results; the rows the results held are cleared first, and a fault leaves none.
    void ReadResults(TQBResults& results);

    // Reads what this kind of file holds for a test into it, inside one update bracket and one
    // undo step of the test ("Read test from file"). A failed read leaves the test as it was,
    // where the test records undo.
    void LoadTest(TQBTestBase& test);

protected:
    // What LoadTest reads.
    virtual void ReadTestData(TQBTestBase& test) = 0;
};

// The kernel input file. A failed write removes the file that stood under its name: a kernel
// must never read an input left from an earlier run.
class TQBCFile : public TQBExtendedFile {
public:
    TQBCFile(const TSystemOfUnits* units, const std::string& fileName);

    // The whole file: [header] and the material blocks, [extraparameters], [testparameters].
    // Thermal expansions are per kelvin.
    void WriteAll(const TQBTestBase& test, const ITestMaterial* material,
                  double iceThermalExpansion, double liquidThermalExpansion);
    // [extraparameters]: the two expansions, the mass unit in kilograms, and the unfrozen water
    // content method of the material with, for method 1, its table.
    void WriteExtraParameters(const ITestMaterial* material, double iceThermalExpansion,
                              double liquidThermalExpansion);
    // [testparameters], ended by a blank line.
    virtual void WriteTest(const TQBTestBase& test);

protected:
    // The "isotropic preconsolidation stress" line. The kernel gets the isotropic stress that
    // the user's vertical preconsolidation pressure stands for in the soil model.
    virtual void WriteInitialConditions(const TQBTestBase& test);
    void WritePhase(const TQBTestBase& test, const TQBPhase& phase, const std::string& name);
    // The header and [testparameters] of a file older than version 9.
    void ReadTestData(TQBTestBase& test) override;
    void ReadTestParameters(TQBTestBase& test);
};

// The isotropic preconsolidation stress, in the pressure unit of `units`, for a vertical
// preconsolidation pressure `verticalPascal` (a magnitude) and the material's soil model: 0 near
// a pressure of 0 and for models without preconsolidation. Raises EQBFileException ("Unexpected
// soil model: %s") for a model of that family this program can't convert (Hardening Soil until
// its cap iteration is registered).
double IsotropicPreconsolidationStress(const ITestMaterial* material, double verticalPascal,
                                       const TSystemOfUnits& units);

// The legacy test file: the kernel's test parameters, then the results. A failed write keeps the
// file that was there.
class TQBTFile : public TQBCFile {
public:
    TQBTFile(const TSystemOfUnits* units, const std::string& fileName);
    // [testparameters], then [testresults] with the rows.
    void WriteTest(const TQBTestBase& test) override;

protected:
    // The user's value, as it is read back.
    void WriteInitialConditions(const TQBTestBase& test) override;
    void ReadTestData(TQBTestBase& test) override;
};

// The legacy test configuration: a header without material, the test parameters and the chart
// settings. A failed write keeps the file that was there.
class TQBSFile : public TQBCFile {
public:
    TQBSFile(const TSystemOfUnits* units, const std::string& fileName);
    // [header] (version 8, no material), [testparameters], [chartsettings].
    void WriteTest(const TQBTestBase& test) override;

protected:
    void WriteInitialConditions(const TQBTestBase& test) override;
    // Resets the test to its defaults, then reads the header, the test parameters and, when the
    // file has them, the chart settings.
    void ReadTestData(TQBTestBase& test) override;
};

} // namespace tw
