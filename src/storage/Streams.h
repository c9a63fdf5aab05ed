#pragma once
// Byte streams for the storage back-ends: a common interface, memory streams, a file stream over
// a POSIX descriptor, a read-only view on memory that belongs to someone else, and the one way
// files that hold a user's work are written (a temporary file beside the target, flushed to disk
// and renamed into place).
//
// A stream is used by one thread at a time.

#include "storage/StorageExceptions.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace tw {

class TStream {
public:
    virtual ~TStream() = default;

    // Reads up to `count` bytes at the position and moves on; answers how many were read.
    virtual size_t Read(void* buffer, size_t count) = 0;
    // Writes all `count` bytes at the position and moves on; raises EStreamError otherwise.
    virtual void Write(const void* buffer, size_t count) = 0;
    virtual uint64_t Size() const = 0;
    virtual uint64_t Position() const = 0;
    virtual void SetPosition(uint64_t position) = 0;
    // The bytes of the whole stream when it lives in memory (or in a mapping), else nullptr:
    // readers then decode in place instead of copying.
    virtual const uint8_t* Memory() const { return nullptr; }
    // What the stream reads from or writes to, for messages.
    virtual std::string Description() const { return "stream"; }

    // Reads exactly `count` bytes; raises EStreamError on a short read.
    void ReadBuffer(void* buffer, size_t count);
    // Copies `count` bytes from `source`, at its position, to this stream.
    void CopyFrom(TStream& source, uint64_t count);
    uint64_t Remaining() const {
        const uint64_t size = Size(), position = Position();
        return position < size ? size - position : 0;
    }
};

// A growing block of memory. The normal stream doubles its capacity; the frugal one grows in
// small steps, for the many small streams of one tree (one per node).
class TMemoryStream : public TStream {
public:
    TMemoryStream() = default;
    TMemoryStream(const TMemoryStream&) = delete;
    TMemoryStream& operator=(const TMemoryStream&) = delete;
    ~TMemoryStream() override;

    size_t Read(void* buffer, size_t count) override;
    void Write(const void* buffer, size_t count) override;
    uint64_t Size() const override { return FSize; }
    uint64_t Position() const override { return FPosition; }
    void SetPosition(uint64_t position) override { FPosition = position; }
    const uint8_t* Memory() const override { return FData; }
    uint8_t* Data() { return FData; }
    // Sets the size; new bytes are zero.
    void SetSize(uint64_t size);
    void Reserve(uint64_t capacity);
    void Clear();

protected:
    explicit TMemoryStream(bool frugal) : FFrugal(frugal) {}

private:
    void Grow(uint64_t needed);

    uint8_t* FData = nullptr;
    uint64_t FSize = 0;
    uint64_t FCapacity = 0;
    uint64_t FPosition = 0;
    bool FFrugal = false;
};

class TFrugalMemoryStream : public TMemoryStream {
public:
    TFrugalMemoryStream() : TMemoryStream(true) {}
};

// A read-only view on bytes owned elsewhere, which must outlive the stream.
class TReadOnlyMemoryStream : public TStream {
public:
    TReadOnlyMemoryStream(const void* data, uint64_t size)
        : FData(static_cast<const uint8_t*>(data)), FSize(size) {}
    size_t Read(void* buffer, size_t count) override;
    void Write(const void* buffer, size_t count) override;
    uint64_t Size() const override { return FSize; }
    uint64_t Position() const override { return FPosition; }
    void SetPosition(uint64_t position) override { FPosition = position; }
    const uint8_t* Memory() const override { return FData; }

private:
    const uint8_t* FData;
    uint64_t FSize;
    uint64_t FPosition = 0;
};

// A file through a POSIX descriptor. Writes are buffered; Flush hands them to the system and
// Sync makes the system put them on the disk.
class TFileStream : public TStream {
public:
    enum TMode {
        fmOpenRead,       // an existing file, read-only, shared with other readers
        fmCreate,         // a new or truncated file, write-only
        fmCreateExclusive // a new file that must not exist yet
    };
    // Raises EInOutError "File not found: %s" for a missing file to read, EFOpenError or
    // EFCreateError for other failures.
    TFileStream(const std::string& fileName, TMode mode);
    TFileStream(const TFileStream&) = delete;
    TFileStream& operator=(const TFileStream&) = delete;
    // Closes without raising; a caller that must know whether the data arrived calls Close.
    ~TFileStream() override;

    size_t Read(void* buffer, size_t count) override;
    void Write(const void* buffer, size_t count) override;
    uint64_t Size() const override;
    uint64_t Position() const override { return FPosition; }
    void SetPosition(uint64_t position) override;
    std::string Description() const override { return FFileName; }

    void Flush();
    void Sync();
    // Flushes and closes; raises when the system reports a failure.
    void Close();
    const std::string& FileName() const { return FFileName; }

private:
    void WriteThrough(const void* data, size_t count, uint64_t offset);

    std::string FFileName;
    int FHandle = -1;
    uint64_t FPosition = 0;
    std::string FBuffer; // pending writes, which start at FBufferOffset
    uint64_t FBufferOffset = 0;
};

// Writes a file safely: `write` fills a temporary file beside `fileName`, which is then flushed to
// disk and renamed over the target. When `write` raises, or anything else fails, the temporary
// file is removed, the old file stays as it was, and the failure is raised again.
void WriteFileAtomically(const std::string& fileName, bool createFolders,
                         const std::function<void(TStream&)>& write);

// Reads up to `count` bytes at `position` of a block of memory of `size` bytes and moves the
// position on; answers how many were read.
size_t ReadFromMemory(const uint8_t* data, uint64_t size, uint64_t& position, void* buffer,
                      size_t count);

// The whole contents of a stream from its position.
std::string ReadRemainingBytes(TStream& stream);

} // namespace tw
