#pragma once
// The kernel result file: "[kernelinfo]" with the kernel's own lines, then "[testresults]" with
// one row for the initial state and one for every step, tab-separated, columns 0 to 18 of the
// file index of the result columns, in the units of the input file.

#include <array>
#include <string>
#include <vector>

namespace tw::kernel {

constexpr int ResultColumnCount = 19;

// Column positions in a row.
enum TResultColumn {
    rcTime = 0,
    rcEpsXX = 1, // 1 to 6: strains xx, yy, zz, gamma xy, yz, zx; fractions
    rcSigXX = 7, // 7 to 12: effective stresses xx, yy, zz, tau xy, yz, zx
    rcPExcess = 13,
    rcPw = 14,
    rcSaturationEffective = 15,
    rcSaturation = 16,
    rcTemperature = 17,
    rcSaturationUnfrozenWater = 18
};

using TResultRow = std::array<double, ResultColumnCount>;

// A number as the files write it: up to 15 significant digits, "." as decimal separator, an
// exponent as "E-5", and 0 without sign.
std::string FormatNumber(double value, int significantDigits = 15);
void AppendNumber(std::string& text, double value, int significantDigits = 15);

// The result path of an input path: its extension changed to ".qbr".
std::string ResultFileName(const std::string& inputFileName);

// Writes the file beside a temporary one and renames it into place, so that a reader never sees
// half a file. Raises std::runtime_error when it cannot.
void WriteResultFile(const std::string& fileName, const std::vector<std::string>& kernelInfo,
                     const std::vector<TResultRow>& rows);

} // namespace tw::kernel
