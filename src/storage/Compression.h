#pragma once
// zlib streams for blobs (level 2) and block files (level 1). Inflating never trusts a size
// from a file: output beyond what the caller expects, or a stream that ends early, is an error.

#include "storage/StorageExceptions.h"
#include "storage/Streams.h"

#include <cstdint>
#include <memory>
#include <string>

namespace tw {

TW_DECLARE_EXCEPTION(ECompressionError, EStorageCorruptFile)

// A zlib stream (with header and checksum) of the bytes at `level` (0 to 9).
std::string ZlibCompress(const void* data, uint64_t size, int level);
// Inflates a zlib stream into exactly `size` bytes at `out`; raises ECompressionError when the
// stream is damaged, holds fewer bytes, or holds more.
void ZlibDecompress(const void* data, uint64_t dataSize, void* out, uint64_t size);
// Inflates a zlib stream of unknown length, up to `limit` bytes.
std::string ZlibDecompress(const void* data, uint64_t dataSize, uint64_t limit);

// Compresses what is written to it into one zlib stream on `target`, a chunk at a time; Finish
// ends the stream. Write-only.
class TZlibCompressStream : public TStream {
public:
    TZlibCompressStream(TStream& target, int level);
    TZlibCompressStream(const TZlibCompressStream&) = delete;
    TZlibCompressStream& operator=(const TZlibCompressStream&) = delete;
    ~TZlibCompressStream() override;

    size_t Read(void* buffer, size_t count) override;
    void Write(const void* buffer, size_t count) override;
    uint64_t Size() const override { return FWritten; }
    uint64_t Position() const override { return FWritten; }
    void SetPosition(uint64_t position) override;
    void Finish();

private:
    void Deflate(const void* data, size_t size, int flush);

    TStream& FTarget;
    struct TState;
    std::unique_ptr<TState> FState;
    uint64_t FWritten = 0;
    bool FFinished = false;
};

} // namespace tw
