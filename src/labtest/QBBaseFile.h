#pragma once
// The line format shared by the kernel input file, the kernel result file and the lab's own text
// files (.qbt, .qbs), and the material sections at the head of such a file.
//
// The format: one value or one list of values a line, lines ending in "\n". A plain line is the
// value, then, when it has a label, a tab, "=" and the label, with no blank anywhere ("100\t=number
// of steps in phase 1"). A list line has a tab behind every value, then "=" and the label, so a
// list of six values holds six tabs. A section head stands alone ("[testparameters]"). Numbers
// have up to 15 significant digits and "." as decimal separator, whatever the locale; integers
// are plain decimals. A file being written starts with the UTF-8 byte order mark.
//
// All values in a file are in its storage units, a private copy of the project's units taken
// when the file object is made (or read from the file's header).
//
// Opening is implicit: every read makes sure the file is open for reading (closing it first if
// it was being written), every write that it is open for writing. A file is written to a
// temporary file beside it and put in place when it is closed; a failed write leaves no half
// file behind. Whether the previous file survives a failure is the kind's choice: the user's
// files keep it, the kernel input removes it so that a kernel never reads a stale one.
//
// A file object belongs to one thread at a time.

#include "materials/KernelMaterialWriter.h"
#include "services/KovException.h"
#include "services/LineCursor.h"
#include "units/SystemOfUnits.h"

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tw {

TW_DECLARE_EXCEPTION(EQBFileException, EKovException)

enum TQBFileMode { fmReading, fmWriting, fmAppending, fmClosed };

// The file version this program writes; files of a higher version are read with a warning.
constexpr int QBFileVersion = 9;

class TQBBaseFile : public IKernelFileLineWriter {
public:
    // Copies `units` (nullptr for none: such a file can be read, and its header brings units,
    // but nothing can be written). Raises EQBFileException for an empty file name.
    TQBBaseFile(const TSystemOfUnits* units, const std::string& fileName);
    // Closes the file. A file being written while an exception passes is discarded; one closed
    // here whose writing fails says so only by message (with DisplayErrorBox): call Close to
    // learn of it as an exception.
    ~TQBBaseFile() override;
    TQBBaseFile(const TQBBaseFile&) = delete;
    TQBBaseFile& operator=(const TQBBaseFile&) = delete;

    const std::string& FileName() const { return FFileName; }
    // Closes the file first. Raises "TQBFile.SetName - Value parameter must not be empty!".
    void SetFileName(const std::string& fileName);
    // True by default: a failed write shows "Could not write to:" with the file name, titled
    // "Error", and the rest of the writing is dropped. False: it raises EQBFileException.
    bool DisplayErrorBox() const { return FDisplayErrorBox; }
    void SetDisplayErrorBox(bool display) { FDisplayErrorBox = display; }
    TQBFileMode Mode() const { return FMode; }
    // The number of the current line, counted from 0: the lines read or written since the file
    // was opened.
    int Pos() const { return FPos; }
    // From the header, once read.
    const std::string& MaterialName() const { return FMaterialName; }
    // 9 for a file being written, unless a header of another version was written; the header's
    // version once one was read.
    int VersionNumber() const { return FVersionNumber; }
    void SetVersionNumber(int version) { FVersionNumber = version; }
    bool HasStorageSystemOfUnits() const { return FStorageSystemOfUnits != nullptr; }
    // Raises "The data cannot be written without a valid system of units" when there are none.
    const TSystemOfUnits& StorageSystemOfUnits() const override;
    // Whether the writing since the last open failed (and nothing will be put in place).
    bool WriteFailed() const { return FWriteFailed; }

    void OpenRead();
    void OpenWrite();
    // Appends to the file as it stands, in place; a new file gets the byte order mark.
    void OpenAppend();
    // Puts a written file in place, or drops a failed one; frees what a read holds.
    void Close();

    // Writing.
    void WriteSection(const std::string& name) override;
    // Line breaks and other control characters of the value become blanks.
    void WriteString(const std::string& value, const std::string& label = "") override;
    void WriteInteger(int value, const std::string& label = "") override;
    void WriteDouble(double value, const std::string& label = "") override;
    void WriteBlankLine() override;
    // The values joined by tabs, as a plain line.
    void WriteDoubles(const std::vector<double>& values, const std::string& label = "");
    // List lines: every value followed by a tab, then "=" and the label.
    void WriteDoubleList(const double* values, int count, const std::string& label);
    void WriteIntegerList(const int* values, int count, const std::string& label);

    // Reading. A number is the text at the line's start up to the first tab, blank or "="; the
    // rest of the line is ignored. Raises EQBFileException at the end of the file and for a
    // value that isn't a number.
    std::string ReadNextLine();
    // The line without its label and "=".
    std::string ReadNextLineAsString();
    int ReadNextLineAsInteger();
    double ReadNextLineAsDouble();
    // A list line of `count` values.
    std::vector<double> ReadNextLineAsDoubles(int count);
    std::vector<int> ReadNextLineAsIntegers(int count);
    // Whether a read would find no further line.
    bool EndOfFile();
    // Moves to `offset` lines behind the head "[name]" (found from the top of the file, after
    // trimming, without regard to case). At the end of the file: raises "SetPosBySection: reached
    // end of file before finding desired sectionname." when `mustExist`, else answers false.
    bool SetPosBySection(const std::string& name, int offset, bool mustExist);
    // Moves forward to line `line`: a file being written gets empty lines, a file being read
    // (or a closed one, which is opened for reading) skips lines. Raises when asked to move
    // backwards or when a read runs out of lines.
    void SetPos(int line);

    // The material sections. The base writes [header] and hands the open file to the registered
    // material writer for [soilmodeldata] and [soilparameters]. Raises "Cannot write qb header
    // for unassigned MaterialX" without material.
    virtual void WriteMaterialX(const ITestMaterial* material);
    // [header] of the given version, which becomes the file's version. Version 9 and above hold
    // the temperature unit and the water weight and need a material; older versions end in four
    // blank lines instead of two.
    void WriteHeader(const ITestMaterial* material, int versionNumber);
    // Reads [header]: the version (a newer one than this program's is read with a warning), the
    // material name, and the units into the storage units.
    void ReadHeader();

    // Whether the file holds all of "[header]", "[soilmodeldata]" and "[soilparameters]".
    static bool HasValidKeywords(const std::string& fileName);

protected:
    // Whether the file that stood under the name before survives a failed write; the kinds set
    // it in their constructors (a flag, not a virtual: the destructor closes the file too).
    void SetKeepsPreviousFileOnFailure(bool keeps) { FKeepsPreviousFileOnFailure = keeps; }
    // Runs one write operation of the file; an exception leaves the file marked as failed, so
    // that closing it puts nothing in place, and passes on.
    template <typename F> void Guarded(F&& write) {
        try {
            write();
        } catch (...) {
            MarkWriteFailed();
            throw;
        }
    }
    void MarkWriteFailed();
    // A number of the material, in base units; raises when the material has none.
    static double RequiredNumber(const ITestMaterial& material, const std::string& name);
    const TUnit_Abstract& Unit(TQuantityType quantity) const {
        return StorageSystemOfUnits().GetUnit(quantity);
    }
    TSystemOfUnits& WritableStorageSystemOfUnits();
    // Appends one line (without its end) to the file being written, as it stands: the caller
    // keeps the line format.
    void WriteRawLine(std::string_view line);

private:
    void EnsureWriting();
    void EnsureReading();
    void WriteLabelled(std::string& line, const std::string& label);
    void FlushBuffer();
    // Reports a failed write by message or exception, after dropping what was written.
    void WriteFailure(const std::string& stage, const std::string& reason);
    void DiscardWrite();
    std::string_view NextLine();
    std::string_view NumberToken(std::string_view line) const;
    [[noreturn]] void NotANumber(std::string_view token, const char* kind) const;

    std::string FFileName;
    bool FDisplayErrorBox = true;
    TQBFileMode FMode = fmClosed;
    int FPos = 0;
    std::string FMaterialName;
    std::unique_ptr<TSystemOfUnits> FStorageSystemOfUnits;
    int FVersionNumber = QBFileVersion;

    // Writing: the temporary file (empty when appending in place), its stream and a buffer.
    std::string FTemporaryName;
    std::FILE* FOut = nullptr;
    std::string FBuffer;
    bool FWriteFailed = false;
    bool FKeepsPreviousFileOnFailure = true;
    int FExceptionsAtOpen = 0;
    // Reading: the whole file, and the cursor on its next line.
    std::string FText;
    TLineCursor FCursor;
};

} // namespace tw
