#include "labtest/QBRFile.h"

#include "commands/KovTaskController.h"
#include "labtest/QBTestBase.h"
#include "objects/ObjectManager.h"
#include "services/Localisation.h"
#include "services/Strings.h"

#include <charconv>
#include <fstream>
#include <sstream>

namespace tw {

TResultRowConversion::TResultRowConversion(const TSystemOfUnits* storageUnits) {
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
    int position = 0;
    size_t start = 0;
    while (start <= line.size()) {
        size_t end = line.find('\t', start);
        if (end == std::string_view::npos)
            end = line.size();
        std::string_view field = line.substr(start, end - start);
        while (!field.empty() && IsBlank(field.front()))
            field.remove_prefix(1);
        while (!field.empty() && IsBlank(field.back()))
            field.remove_suffix(1);
        const int index = position++;
        start = end + 1;
        if (field.empty())
            continue;
        if (field.front() == '=')
            break; // the label
        int column = index;
        if (fileVersion < 3) {
            if (column > 4)
                column += 2;
            if (column > 10)
                column += 2;
        }
        if (column >= QBFileIndexCount)
            continue;
        double value;
        const char* first = field.data();
        if (*first == '+')
            ++first;
        auto parsed = std::from_chars(first, field.data() + field.size(), value);
        if (parsed.ec != std::errc() || parsed.ptr != field.data() + field.size())
            throw EQBResultsException(
                Format("'%s' is not a valid floating point value", std::string(field)));
        const TQBResultType type = ResultTypeOfFileIndex(column);
        results.SetValueByType(row, type,
                               conversion.Factors[type] * (conversion.Offsets[type] + value));
    }
}

TQBRFile::TQBRFile(const TSystemOfUnits& units, std::string fileName)
    : FStorageSystemOfUnits(units), FFileName(std::move(fileName)) {}

void TQBRFile::ReadFile() {
    std::ifstream in(FFileName, std::ios::binary);
    if (!in)
        throw EQBResultsException("TQBBaseFile.OpenRead: File not found:\n  " + FFileName);
    std::ostringstream contents;
    contents << in.rdbuf();
    FContents = contents.str();
}

void TQBRFile::LoadTest(TQBTestBase& test) {
    test.BeginUpdate();
    try {
        ReadFile();
        try {
            LoadResults(test.Results());
            test.DoAfterLoadResults();
        } catch (...) {
            test.Results().ClearRows();
            throw;
        }
    } catch (...) {
        test.EndUpdate();
        throw;
    }
    test.EndUpdate();
}

void TQBRFile::LoadResults(TQBResults& results) {
    if (FContents.empty())
        ReadFile();
    TKovObjectManager* manager = results.ObjectManager();
    if (manager)
        manager->BeginHighPerformanceMode();
    results.BeginUpdate();
    struct TEnd {
        TQBResults& Results;
        TKovObjectManager* Manager;
        ~TEnd() {
            Results.EndUpdate();
            if (Manager)
                Manager->EndHighPerformanceMode();
        }
    } end{results, manager};

    int count = 0;
    TKovTaskController::ExecuteThreaded(
        Translate("Reading results..."),
        [&] {
            std::string_view text = FContents;
            if (text.substr(0, 3) == "\xEF\xBB\xBF")
                text.remove_prefix(3);
            // The section head stands alone on its line; compare trimmed, without case.
            size_t position = 0;
            bool found = false;
            while (position < text.size()) {
                size_t end = text.find('\n', position);
                if (end == std::string_view::npos)
                    end = text.size();
                std::string_view line = text.substr(position, end - position);
                position = end + 1;
                if (line.find('[') != std::string_view::npos &&
                    SameText(Trim(line), "[testresults]")) {
                    found = true;
                    break;
                }
            }
            if (!found)
                throw EQBResultsException(
                    "SetPosBySection: reached end of file before finding desired sectionname.");
            const TResultRowConversion conversion(&FStorageSystemOfUnits);
            while (position < text.size()) {
                size_t end = text.find('\n', position);
                if (end == std::string_view::npos)
                    end = text.size();
                std::string_view line = text.substr(position, end - position);
                position = end + 1;
                if (line.find_first_not_of(" \t\r") == std::string_view::npos)
                    continue;
                int row = count++;
                if (row >= results.RowCount())
                    row = results.AddNewRow();
                else
                    results.ResetRow(row);
                ReadResultRow(line, results, row, FVersionNumber, conversion);
            }
        },
        tppNormal);
    TKovTaskController::ExecuteThreaded(
        Translate("Cleanup..."), [&] { results.TruncateRows(count); }, tppNormal);
    TKovTaskController::ExecuteThreaded(
        Translate("Calculating derived results..."), [&] { results.CalculateDerivedResults(); },
        tppNormal);
}

} // namespace tw
