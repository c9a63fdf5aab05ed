#include "labtest/QBRFile.h"

#include "commands/KovTaskController.h"
#include "labtest/QBTestBase.h"
#include "objects/ObjectManager.h"
#include "objects/UpdateBracket.h"
#include "services/LineCursor.h"
#include "services/Localisation.h"
#include "services/TextFile.h"

#include <charconv>
#include <cstring>

namespace tw {

TResultRowConversion::TResultRowConversion(const TSystemOfUnits* storageUnits) {
    for (int i = 0; i < QBFileIndexCount; ++i)
        Types[i] = ResultTypeOfFileIndex(i);
    for (int i = 0; i < QBResultTypeCount; ++i) {
        const TQBResultTypeInfo& info = ResultTypeInfo(static_cast<TQBResultType>(i));
        Factors[i] = 1.0;
        Offsets[i] = 0.0;
        if (storageUnits && info.HasQuantity) {
            const TUnit_Abstract& unit = storageUnits->GetUnit(info.Quantity);
            // ToSI(v) = F * (O + v): two samples give both.
            Factors[i] = unit.ToSI(1.0) - unit.ToSI(0.0);
            Offsets[i] = Factors[i] != 0.0 ? unit.ToSI(0.0) / Factors[i] : 0.0;
        }
    }
}

namespace {
bool IsBlank(char c) {
    return c == ' ' || c == '\r' || c == '\n';
}
} // namespace

void ReadResultRow(std::string_view line, TQBResults& results, int row, int fileVersion,
                   const TResultRowConversion& conversion) {
    if (fileVersion < 3)
        for (TQBResultType type : {rtGamYZ, rtGamZX, rtTauYZ, rtTauZX})
            results.SetValueByType(row, type, 0.0);
    const char* p = line.data();
    const char* const end = p + line.size();
    auto skipBlanks = [&] {
        while (p < end && IsBlank(*p))
            ++p;
    };
    for (int index = 0;; ++index) {
        skipBlanks();
        if (p == end)
            break;
        if (*p == '\t') { // an empty field
            ++p;
            continue;
        }
        if (*p == '=')
            break; // the label
        // The number must fill its field: only blanks may follow it before the tab.
        const char* const field = p;
        double value;
        const auto parsed = std::from_chars(*p == '+' ? p + 1 : p, end, value);
        p = parsed.ptr;
        skipBlanks();
        if (parsed.ec != std::errc() || (p < end && *p != '\t')) {
            const char* tab =
                static_cast<const char*>(std::memchr(field, '\t', size_t(end - field)));
            std::string_view text(field, size_t((tab ? tab : end) - field));
            while (!text.empty() && IsBlank(text.back()))
                text.remove_suffix(1);
            throw EQBResultsException(
                Format("'%s' is not a valid floating point value", std::string(text)));
        }
        if (p < end)
            ++p; // the tab
        int column = index;
        if (fileVersion < 3) {
            if (column > 4)
                column += 2;
            if (column > 10)
                column += 2;
        }
        if (column >= QBFileIndexCount)
            continue;
        const TQBResultType type = conversion.Types[column];
        results.SetValueByType(row, type,
                               conversion.Factors[type] * (conversion.Offsets[type] + value));
    }
}

TQBRFile::TQBRFile(const TSystemOfUnits& units, std::string fileName)
    : FStorageSystemOfUnits(units), FFileName(std::move(fileName)) {}

void TQBRFile::ReadFile() {
    if (!ReadWholeFile(FFileName, FContents))
        throw EQBResultsException("TQBBaseFile.OpenRead: File not found:\n  " + FFileName);
}

void TQBRFile::LoadTest(TQBTestBase& test) {
    TUpdateBracket update(test);
    ReadFile();
    try {
        LoadResults(test.Results());
        test.DoAfterLoadResults();
    } catch (...) {
        test.Results().ClearRows();
        throw;
    }
    update.Close();
}

void TQBRFile::LoadResults(TQBResults& results) {
    if (FContents.empty())
        ReadFile();
    THighPerformanceMode highPerformance(results.ObjectManager());
    TUpdateBracket update(results);
    int count = 0;
    TKovTaskController::ExecuteThreaded(
        Translate("Reading results..."),
        [&] {
            TLineCursor lines(FContents);
            if (!lines.FindSection("[testresults]"))
                throw EQBResultsException(
                    "SetPosBySection: reached end of file before finding desired sectionname.");
            const TResultRowConversion conversion(&FStorageSystemOfUnits);
            // Room for a row per line left, made once; blank lines leave rows over.
            results.ClearRows();
            results.AddNewRows(static_cast<int>(lines.RemainingLineCount()));
            while (!lines.AtEnd()) {
                const std::string_view line = lines.Next();
                if (line.find_first_not_of(" \t\r") == std::string_view::npos)
                    continue;
                ReadResultRow(line, results, count++, FVersionNumber, conversion);
            }
        },
        tppNormal);
    TKovTaskController::ExecuteThreaded(
        Translate("Cleanup..."), [&] { results.TruncateRows(count); }, tppNormal);
    TKovTaskController::ExecuteThreaded(
        Translate("Calculating derived results..."), [&] { results.CalculateDerivedResults(); },
        tppNormal);
    update.Close();
}

} // namespace tw
