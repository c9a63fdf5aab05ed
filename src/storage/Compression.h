#pragma once
// zlib streams for blobs (level 2) and block files (level 1). Inflating never trusts a size
// from a file: output beyond what the caller expects, or a stream that ends early, is an error.

#include "storage/StorageExceptions.h"

#include <cstdint>
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

} // namespace tw
