#pragma once
// A stream over a mapped view of a file. Opening costs the same whatever the size of the file:
// pages are read when they are first touched. The read-only form serves the kovml reader; the
// writable forms grow the file (or an anonymous temporary file, a scratch area for large data)
// as they are written.

#include "storage/Streams.h"

#include <string>

namespace tw {

enum TMMFMode { mmfmReadOnly, mmfmReadWrite, mmfmReadWriteWithTempBackingFile };

class TMemoryMappedFileStream : public TStream {
public:
    // mmfmReadOnly or mmfmReadWrite on a file: raises EFOpenError with "File \"%s\" does not
    // exist" when a file to read is absent, and "Failed to open file %s" when it can't be opened.
    // An empty file is not mapped.
    TMemoryMappedFileStream(const std::string& fileName, TMMFMode mode);
    // The scratch form: a temporary file in the folder "kov_mmf_cache" of the temporary folder,
    // removed from the folder at once, so nothing is left behind.
    TMemoryMappedFileStream();
    TMemoryMappedFileStream(const TMemoryMappedFileStream&) = delete;
    TMemoryMappedFileStream& operator=(const TMemoryMappedFileStream&) = delete;
    ~TMemoryMappedFileStream() override;

    size_t Read(void* buffer, size_t count) override;
    void Write(const void* buffer, size_t count) override;
    uint64_t Size() const override { return FSize; }
    uint64_t Position() const override { return FPosition; }
    void SetPosition(uint64_t position) override { FPosition = position; }
    const uint8_t* Memory() const override { return FView; }
    std::string Description() const override { return FFileName; }

    size_t ReadLarge(void* buffer, size_t count) { return Read(buffer, count); }
    void WriteLarge(const void* buffer, size_t count) { Write(buffer, count); }
    TMMFMode Mode() const { return FMode; }
    const std::string& FileName() const { return FFileName; }
    // The folder of the scratch files.
    static std::string SaveFolder();

private:
    void Map(uint64_t capacity);

    std::string FFileName;
    int FFileHandle = -1;
    uint8_t* FView = nullptr;
    uint64_t FSize = 0;
    uint64_t FPosition = 0;
    uint64_t FBackingFileSize = 0; // the mapped length
    TMMFMode FMode;
};

} // namespace tw
