#pragma once
// The kernel result file: "[kernelinfo]" with the kernel's own lines, then "[testresults]" with
// one row for the initial state and one for every step, tab-separated, columns 0 to 18 of the
// file index of the result columns, in the units of the input file.

#include <array>
#include <cstdio>
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
// exponent as "E-5" where the general format takes one (below 1E-4 and from 1E15), and 0
// without sign.
std::string FormatNumber(double value, int significantDigits = 15);
void AppendNumber(std::string& text, double value, int significantDigits = 15);

// The result path of an input path: its extension changed to ".qbr".
std::string ResultFileName(const std::string& inputFileName);

// A line for "[kernelinfo]": valid UTF-8 on one line. Line breaks and other control characters
// but the tab (which parts value and label) become blanks, and bytes that are not UTF-8 become
// U+FFFD.
std::string CleanLine(const std::string& text);

// Writes the result file as the rows come, so that memory stays flat whatever their number:
// rows collect in a buffer that spills to a temporary file beside the result; at the end the
// kernel's lines and the rows go to a second temporary file that is renamed into place, so that
// a reader never sees half a file. Raises std::runtime_error when it cannot write.
class TResultWriter {
public:
    explicit TResultWriter(std::string fileName, size_t bufferLimit = 4 << 20);
    ~TResultWriter(); // removes the temporary files unless Finish put the result in place
    TResultWriter(const TResultWriter&) = delete;
    TResultWriter& operator=(const TResultWriter&) = delete;

    void AddRow(const TResultRow& row);
    void Finish(const std::vector<std::string>& kernelInfo);

private:
    void Spill();

    std::string FFileName;
    std::string FSpillName;
    size_t FBufferLimit;
    std::string FBuffer;
    std::FILE* FSpill = nullptr;
    bool FSpillFailed = false;
    TResultRow FLast{}; // the previous row: repeated values are copied, not formatted again
    std::string FLastText[ResultColumnCount];
    bool FHasLast = false;
};

// Writes a whole result at once (through TResultWriter).
void WriteResultFile(const std::string& fileName, const std::vector<std::string>& kernelInfo,
                     const std::vector<TResultRow>& rows);

} // namespace tw::kernel
