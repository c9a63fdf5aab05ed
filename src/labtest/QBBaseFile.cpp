#include "labtest/QBBaseFile.h"

#include "services/Format.h"
#include "services/LineCursor.h"
#include "services/Localisation.h"
#include "services/Strings.h"
#include "services/TextFile.h"
#include "services/UserMessages.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <exception>
#include <filesystem>
#include <unistd.h>

namespace tw {

namespace {
constexpr std::string_view ByteOrderMark = "\xEF\xBB\xBF";
// The buffer of a file being written goes to the stream in pieces of this size.
constexpr size_t FlushSize = 1 << 16;

std::string ErrorText(int error) {
    return std::strerror(error);
}

// A unique name for the temporary file beside `fileName`.
std::string TemporaryNameFor(const std::string& fileName) {
    static std::atomic<unsigned> counter{0};
    return fileName + ".tmp-" + std::to_string(::getpid()) + "-" + std::to_string(++counter);
}
} // namespace

TQBBaseFile::TQBBaseFile(const TSystemOfUnits* units, const std::string& fileName) {
    SetFileName(fileName);
    if (units)
        FStorageSystemOfUnits = std::make_unique<TSystemOfUnits>(*units);
}

TQBBaseFile::~TQBBaseFile() {
    if ((FMode == fmWriting || FMode == fmAppending) &&
        std::uncaught_exceptions() > FExceptionsAtOpen)
        MarkWriteFailed();
    try {
        Close();
    } catch (...) { // a destructor can't report more; Close reports to those who call it
    }
}

void TQBBaseFile::SetFileName(const std::string& fileName) {
    if (fileName.empty())
        throw EQBFileException("TQBFile.SetName - Value parameter must not be empty!");
    if (fileName == FFileName)
        return;
    Close();
    FFileName = fileName;
}

const TSystemOfUnits& TQBBaseFile::StorageSystemOfUnits() const {
    if (!FStorageSystemOfUnits)
        throw EQBFileException("The data cannot be written without a valid system of units");
    return *FStorageSystemOfUnits;
}

TSystemOfUnits& TQBBaseFile::WritableStorageSystemOfUnits() {
    if (!FStorageSystemOfUnits)
        FStorageSystemOfUnits = std::make_unique<TSystemOfUnits>();
    return *FStorageSystemOfUnits;
}

// ---------------------------------------------------------------------------------------------
// Opening and closing

void TQBBaseFile::OpenRead() {
    Close();
    std::string text;
    if (!ReadWholeFile(FFileName, text))
        throw EQBFileException("TQBBaseFile.OpenRead: File not found:\n  " + FFileName);
    FText = std::move(text);
    FCursor = TLineCursor(FText);
    FPos = 0;
    FMode = fmReading;
}

void TQBBaseFile::OpenWrite() {
    Close();
    FWriteFailed = false;
    FExceptionsAtOpen = std::uncaught_exceptions();
    FMode = fmWriting;
    FPos = 0;
    FBuffer.clear();
    FTemporaryName = TemporaryNameFor(FFileName);
    // "x": the temporary name is ours alone.
    FOut = std::fopen(FTemporaryName.c_str(), "wbx");
    if (!FOut) {
        const int error = errno;
        FTemporaryName.clear();
        WriteFailure("OpenWrite", ErrorText(error));
        return;
    }
    FBuffer.append(ByteOrderMark);
}

void TQBBaseFile::OpenAppend() {
    Close();
    FWriteFailed = false;
    FExceptionsAtOpen = std::uncaught_exceptions();
    FMode = fmAppending;
    FBuffer.clear();
    FTemporaryName.clear();
    std::string existing;
    const bool exists = ReadWholeFile(FFileName, existing);
    for (TLineCursor lines(existing); !lines.AtEnd(); FPos = lines.LineNumber())
        lines.Next();
    FOut = std::fopen(FFileName.c_str(), "ab");
    if (!FOut) {
        WriteFailure("OpenWrite", ErrorText(errno));
        return;
    }
    if (!exists || existing.empty())
        FBuffer.append(ByteOrderMark);
    else if (existing.back() != '\n')
        FBuffer.push_back('\n'); // the last line of the file ends before ours begin
}

void TQBBaseFile::Close() {
    const TQBFileMode mode = FMode;
    FMode = fmClosed;
    FPos = 0;
    FCursor = TLineCursor();
    FText.clear();
    FText.shrink_to_fit();
    if (mode != fmWriting && mode != fmAppending)
        return;
    if (FWriteFailed) {
        DiscardWrite();
        return;
    }
    FlushBuffer();
    if (FWriteFailed)
        return; // reported and dropped by the flush
    int error = 0;
    if (FOut) {
        if (std::ferror(FOut))
            error = EIO;
        if (std::fclose(FOut) != 0 && error == 0)
            error = errno;
        FOut = nullptr;
    }
    if (error == 0 && !FTemporaryName.empty() &&
        std::rename(FTemporaryName.c_str(), FFileName.c_str()) != 0)
        error = errno;
    if (error != 0) {
        WriteFailure("Write", ErrorText(error));
        return;
    }
    FTemporaryName.clear();
}

void TQBBaseFile::MarkWriteFailed() {
    if (FMode == fmWriting || FMode == fmAppending)
        FWriteFailed = true;
}

void TQBBaseFile::DiscardWrite() {
    if (FOut) {
        std::fclose(FOut);
        FOut = nullptr;
    }
    FBuffer.clear();
    std::error_code ignored;
    if (!FTemporaryName.empty())
        std::filesystem::remove(FTemporaryName, ignored);
    FTemporaryName.clear();
    if (!FKeepsPreviousFileOnFailure)
        std::filesystem::remove(FFileName, ignored);
}

void TQBBaseFile::WriteFailure(const std::string& stage, const std::string& reason) {
    const bool alreadyFailed = FWriteFailed;
    FWriteFailed = true;
    DiscardWrite();
    if (alreadyFailed)
        return;
    if (FDisplayErrorBox) {
        UserMessages().ShowMessage(Translate("Could not write to:") + " " + FFileName,
                                   Translate("Error"));
        return;
    }
    throw EQBFileException("TQBBaseFile." + stage + ": " + reason + ": " + FFileName);
}

void TQBBaseFile::EnsureWriting() {
    if (FMode != fmWriting && FMode != fmAppending)
        OpenWrite();
}

void TQBBaseFile::EnsureReading() {
    if (FMode != fmReading)
        OpenRead();
}

// ---------------------------------------------------------------------------------------------
// Writing

void TQBBaseFile::FlushBuffer() {
    if (!FOut || FBuffer.empty()) {
        FBuffer.clear();
        return;
    }
    if (std::fwrite(FBuffer.data(), 1, FBuffer.size(), FOut) != FBuffer.size()) {
        const int error = errno;
        FBuffer.clear();
        WriteFailure("Write", ErrorText(error));
        return;
    }
    FBuffer.clear();
}

void TQBBaseFile::WriteRawLine(std::string_view line) {
    EnsureWriting();
    ++FPos;
    if (FWriteFailed)
        return; // the user has been told once; the rest of the file is dropped
    FBuffer.append(line);
    FBuffer.push_back('\n');
    if (FBuffer.size() >= FlushSize)
        FlushBuffer();
}

void TQBBaseFile::WriteLabelled(std::string& line, const std::string& label) {
    if (!label.empty()) {
        line += "\t=";
        line += label;
    }
    WriteRawLine(line);
}

void TQBBaseFile::WriteSection(const std::string& name) {
    WriteRawLine(name);
}

void TQBBaseFile::WriteString(const std::string& value, const std::string& label) {
    std::string line = value;
    for (char& c : line)
        if (static_cast<unsigned char>(c) < 32)
            c = ' ';
    WriteLabelled(line, label);
}

void TQBBaseFile::WriteInteger(int value, const std::string& label) {
    std::string line = std::to_string(value);
    WriteLabelled(line, label);
}

void TQBBaseFile::WriteDouble(double value, const std::string& label) {
    std::string line = FloatToStr(value);
    WriteLabelled(line, label);
}

void TQBBaseFile::WriteBlankLine() {
    WriteRawLine({});
}

void TQBBaseFile::WriteDoubles(const std::vector<double>& values, const std::string& label) {
    std::string line;
    for (size_t i = 0; i < values.size(); ++i) {
        if (i > 0)
            line += '\t';
        line += FloatToStr(values[i]);
    }
    WriteLabelled(line, label);
}

void TQBBaseFile::WriteDoubleList(const double* values, int count, const std::string& label) {
    std::string line;
    for (int i = 0; i < count; ++i) {
        line += FloatToStr(values[i]);
        line += '\t';
    }
    line += '=';
    line += label;
    WriteRawLine(line);
}

void TQBBaseFile::WriteIntegerList(const int* values, int count, const std::string& label) {
    std::string line;
    for (int i = 0; i < count; ++i) {
        line += std::to_string(values[i]);
        line += '\t';
    }
    line += '=';
    line += label;
    WriteRawLine(line);
}

// ---------------------------------------------------------------------------------------------
// Reading

std::string_view TQBBaseFile::NextLine() {
    EnsureReading();
    if (FCursor.AtEnd())
        throw EQBFileException(
            Format("Unexpected end of file %s: line %d is missing", FFileName, FPos + 1));
    const std::string_view line = FCursor.Next();
    FPos = FCursor.LineNumber();
    return line;
}

bool TQBBaseFile::EndOfFile() {
    EnsureReading();
    return FCursor.AtEnd();
}

std::string TQBBaseFile::ReadNextLine() {
    return std::string(NextLine());
}

std::string TQBBaseFile::ReadNextLineAsString() {
    const std::string_view line = NextLine();
    const size_t label = line.find("\t=");
    return std::string(label == std::string_view::npos ? line : line.substr(0, label));
}

std::string_view TQBBaseFile::NumberToken(std::string_view line) const {
    size_t start = 0;
    while (start < line.size() && line[start] == ' ')
        ++start;
    size_t stop = start;
    while (stop < line.size() && line[stop] != '\t' && line[stop] != ' ' && line[stop] != '=')
        ++stop;
    return line.substr(start, stop - start);
}

void TQBBaseFile::NotANumber(std::string_view token, const char* kind) const {
    throw EQBFileException(
        Format("\"%s\" is not %s in line %d of %s", std::string(token), kind, FPos, FFileName));
}

int TQBBaseFile::ReadNextLineAsInteger() {
    const std::string_view token = NumberToken(NextLine());
    int value = 0;
    if (!TryStrToInt(token, value))
        NotANumber(token, "an integer");
    return value;
}

double TQBBaseFile::ReadNextLineAsDouble() {
    const std::string_view token = NumberToken(NextLine());
    double value = 0.0;
    if (!TryStrToFloat(token, value))
        NotANumber(token, "a number");
    return value;
}

std::vector<double> TQBBaseFile::ReadNextLineAsDoubles(int count) {
    std::string_view line = NextLine();
    line = line.substr(0, line.find('='));
    std::vector<double> values;
    for (const std::string& field : Split(line, '\t')) {
        const std::string token = Trim(field);
        if (token.empty())
            continue;
        double value = 0.0;
        if (!TryStrToFloat(token, value))
            NotANumber(token, "a number");
        values.push_back(value);
    }
    if (static_cast<int>(values.size()) != count)
        throw EQBFileException(Format("Line %d of %s holds %d values where %d were expected", FPos,
                                      FFileName, static_cast<int>(values.size()), count));
    return values;
}

std::vector<int> TQBBaseFile::ReadNextLineAsIntegers(int count) {
    std::string_view line = NextLine();
    line = line.substr(0, line.find('='));
    std::vector<int> values;
    for (const std::string& field : Split(line, '\t')) {
        const std::string token = Trim(field);
        if (token.empty())
            continue;
        int value = 0;
        if (!TryStrToInt(token, value))
            NotANumber(token, "an integer");
        values.push_back(value);
    }
    if (static_cast<int>(values.size()) != count)
        throw EQBFileException(Format("Line %d of %s holds %d values where %d were expected", FPos,
                                      FFileName, static_cast<int>(values.size()), count));
    return values;
}

bool TQBBaseFile::SetPosBySection(const std::string& name, int offset, bool mustExist) {
    EnsureReading();
    const bool found = FCursor.FindSection(name);
    FPos = FCursor.LineNumber();
    if (found) {
        for (int i = 0; i < offset; ++i)
            NextLine();
        return true;
    }
    if (mustExist)
        throw EQBFileException(
            "SetPosBySection: reached end of file before finding desired sectionname.");
    return false;
}

void TQBBaseFile::SetPos(int line) {
    if (FMode == fmClosed)
        EnsureReading();
    if (line < FPos)
        throw EQBFileException(Format(
            "SetPos: Can not move file position backwards!\n  Pos = %d\n  Value = %d", FPos, line));
    if (FMode == fmWriting || FMode == fmAppending) {
        while (FPos < line)
            WriteBlankLine();
        return;
    }
    while (FPos < line) {
        if (FCursor.AtEnd())
            throw EQBFileException(
                "SetPos: reached end of file before reaching desired position.\n  File = " +
                FFileName);
        FCursor.Next();
        FPos = FCursor.LineNumber();
    }
}

// ---------------------------------------------------------------------------------------------
// Material sections

double TQBBaseFile::RequiredNumber(const ITestMaterial& material, const std::string& name) {
    const std::optional<double> value = material.GetNumber(name);
    if (!value)
        throw EQBFileException(
            Format("The material \"%s\" has no value \"%s\"", material.Identification(), name));
    return *value;
}

void TQBBaseFile::WriteMaterialX(const ITestMaterial* material) {
    Guarded([&] {
        if (!material)
            throw EQBFileException("Cannot write qb header for unassigned MaterialX");
        WriteHeader(material, FVersionNumber);
        if (IKernelMaterialWriter* writer = KernelMaterialWriter())
            writer->WriteMaterialBlocks(*this, *material);
    });
}

void TQBBaseFile::WriteHeader(const ITestMaterial* material, int versionNumber) {
    Guarded([&] {
        const TSystemOfUnits& units = StorageSystemOfUnits();
        if (versionNumber >= QBFileVersion && !material)
            throw EQBFileException(
                Format("MaterialX is required for writing QB header for QB file version %d or "
                       "higher",
                       QBFileVersion));
        // The water weight is computed before anything is written: a material without the
        // values leaves no header behind.
        double waterWeight = 0.0;
        if (versionNumber >= QBFileVersion)
            waterWeight = units.VolumetricWeight.ToPresentation(
                RequiredNumber(*material, "RhoWater") *
                RequiredNumber(*material, "GravityAcceleration"));
        FVersionNumber = versionNumber;
        WriteSection("[header]");
        WriteInteger(versionNumber, "file version number");
        WriteString(material ? material->Identification() : std::string(), "materialname");
        WriteString(units.Force.PresentationUnit(), "unit of force");
        WriteString(units.Length.PresentationUnit(), "unit of length");
        WriteString(units.Time.PresentationUnit(), "unit of time");
        if (versionNumber >= QBFileVersion) {
            WriteString(units.Temperature.PresentationUnit(), "unit of temperature");
            WriteDouble(waterWeight, "water weight");
        }
        const int blankLines = versionNumber >= QBFileVersion ? 2 : 4;
        for (int i = 0; i < blankLines; ++i)
            WriteBlankLine();
    });
}

void TQBBaseFile::ReadHeader() {
    SetPosBySection("[header]", 0, true);
    FVersionNumber = ReadNextLineAsInteger();
    if (FVersionNumber > QBFileVersion)
        UserMessages().ShowMessage(Translate("Warning: this software version is older than the "
                                             "one used to write the file. Results can be "
                                             "invalid."),
                                   Translate("Warning"));
    FMaterialName = Trim(ReadNextLineAsString());
    const std::string force = Trim(ReadNextLineAsString());
    const std::string length = Trim(ReadNextLineAsString());
    const std::string time = Trim(ReadNextLineAsString());
    TSystemOfUnits& units = WritableStorageSystemOfUnits();
    units.SetForcePresentationUnit(force);
    units.Length.SetPresentationUnit(length);
    units.Time.SetPresentationUnit(time);
    if (FVersionNumber >= QBFileVersion) {
        // The file has one temperature unit; its intervals are in the same degrees.
        const std::string temperature = Trim(ReadNextLineAsString());
        units.Temperature.SetPresentationUnit(temperature);
        units.TemperatureInterval.SetPresentationUnit(temperature);
        ReadNextLine(); // the water weight follows from the material
    }
}

bool TQBBaseFile::HasValidKeywords(const std::string& fileName) {
    std::string text;
    if (!ReadWholeFile(fileName, text))
        return false;
    TLineCursor lines(text);
    return lines.FindSection("[header]") && lines.FindSection("[soilmodeldata]") &&
           lines.FindSection("[soilparameters]");
}

} // namespace tw
