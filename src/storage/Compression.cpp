#include "storage/Compression.h"

#include "services/Format.h"

#include <algorithm>
#include <climits>
#include <zlib.h>

namespace tw {

namespace {
// zlib counts in 32-bit units; large buffers go through in slices.
constexpr uint64_t Slice = 1u << 30;

std::string ZlibMessage(const z_stream& stream, int code) {
    return stream.msg ? stream.msg : Format("zlib error %d", code);
}
} // namespace

std::string ZlibCompress(const void* data, uint64_t size, int level) {
    z_stream stream{};
    if (deflateInit(&stream, level) != Z_OK)
        throw ECompressionError("Cannot start zlib compression");
    std::string out;
    out.resize(static_cast<size_t>(
        deflateBound(&stream, static_cast<uLong>(std::min<uint64_t>(size, ULONG_MAX))) + 16));
    const auto* in = static_cast<const Bytef*>(data);
    uint64_t consumed = 0;
    int code;
    do {
        const uint64_t chunk = std::min(size - consumed, Slice);
        stream.next_in = const_cast<Bytef*>(in + consumed);
        stream.avail_in = static_cast<uInt>(chunk);
        consumed += chunk;
        const int flush = consumed == size ? Z_FINISH : Z_NO_FLUSH;
        do {
            if (stream.total_out + 64 > out.size())
                out.resize(out.size() * 2);
            stream.next_out = reinterpret_cast<Bytef*>(out.data()) + stream.total_out;
            stream.avail_out =
                static_cast<uInt>(std::min<uint64_t>(out.size() - stream.total_out, Slice));
            code = deflate(&stream, flush);
            if (code == Z_STREAM_ERROR) {
                deflateEnd(&stream);
                throw ECompressionError("zlib compression failed");
            }
        } while (stream.avail_out == 0 || (flush == Z_FINISH && code != Z_STREAM_END));
    } while (consumed < size);
    out.resize(stream.total_out);
    deflateEnd(&stream);
    return out;
}

void ZlibDecompress(const void* data, uint64_t dataSize, void* out, uint64_t size) {
    z_stream stream{};
    if (inflateInit(&stream) != Z_OK)
        throw ECompressionError("Cannot start zlib decompression");
    const auto* in = static_cast<const Bytef*>(data);
    auto* target = static_cast<Bytef*>(out);
    uint64_t consumed = 0, produced = 0;
    int code = Z_OK;
    while (code != Z_STREAM_END) {
        if (stream.avail_in == 0 && consumed < dataSize) {
            const uint64_t chunk = std::min(dataSize - consumed, Slice);
            stream.next_in = const_cast<Bytef*>(in + consumed);
            stream.avail_in = static_cast<uInt>(chunk);
            consumed += chunk;
        }
        // One byte of room past the end lets a stream that holds too much show itself.
        Bytef spare;
        if (produced < size) {
            stream.next_out = target + produced;
            stream.avail_out = static_cast<uInt>(std::min(size - produced, Slice));
        } else {
            stream.next_out = &spare;
            stream.avail_out = 1;
        }
        const uInt before = stream.avail_out;
        const uInt inputBefore = stream.avail_in;
        code = inflate(&stream, Z_NO_FLUSH);
        const uInt written = before - stream.avail_out;
        if (produced >= size && written > 0) {
            inflateEnd(&stream);
            throw ECompressionError(
                Format("The compressed data hold more than the %d bytes announced", size));
        }
        produced += written;
        if (code == Z_STREAM_END)
            break;
        if (code != Z_OK && code != Z_BUF_ERROR) {
            const std::string message = ZlibMessage(stream, code);
            inflateEnd(&stream);
            throw ECompressionError(Format("The compressed data do not inflate: %s", message));
        }
        if (written == 0 && inputBefore == stream.avail_in && consumed >= dataSize) {
            inflateEnd(&stream);
            throw ECompressionError(
                Format("The compressed data end early: %d of %d bytes inflated", produced, size));
        }
    }
    inflateEnd(&stream);
    if (produced != size)
        throw ECompressionError(Format(
            "The compressed data hold %d bytes instead of the %d announced", produced, size));
}

std::string ZlibDecompress(const void* data, uint64_t dataSize, uint64_t limit) {
    z_stream stream{};
    if (inflateInit(&stream) != Z_OK)
        throw ECompressionError("Cannot start zlib decompression");
    const auto* in = static_cast<const Bytef*>(data);
    std::string out;
    uint64_t consumed = 0;
    int code = Z_OK;
    while (code != Z_STREAM_END) {
        if (stream.avail_in == 0 && consumed < dataSize) {
            const uint64_t chunk = std::min(dataSize - consumed, Slice);
            stream.next_in = const_cast<Bytef*>(in + consumed);
            stream.avail_in = static_cast<uInt>(chunk);
            consumed += chunk;
        }
        if (out.size() == stream.total_out) {
            if (out.size() >= limit) {
                inflateEnd(&stream);
                throw ECompressionError(
                    Format("The compressed data hold more than %d bytes", limit));
            }
            out.resize(std::min<uint64_t>(std::max<size_t>(2 * out.size(), 1 << 16), limit));
        }
        stream.next_out = reinterpret_cast<Bytef*>(out.data()) + stream.total_out;
        stream.avail_out =
            static_cast<uInt>(std::min<uint64_t>(out.size() - stream.total_out, Slice));
        const uInt inputBefore = stream.avail_in, outputBefore = stream.avail_out;
        code = inflate(&stream, Z_NO_FLUSH);
        if (code == Z_STREAM_END)
            break;
        if (code != Z_OK && code != Z_BUF_ERROR) {
            const std::string message = ZlibMessage(stream, code);
            inflateEnd(&stream);
            throw ECompressionError(Format("The compressed data do not inflate: %s", message));
        }
        if (inputBefore == stream.avail_in && outputBefore == stream.avail_out &&
            consumed >= dataSize) {
            inflateEnd(&stream);
            throw ECompressionError("The compressed data end early");
        }
    }
    out.resize(stream.total_out);
    inflateEnd(&stream);
    return out;
}

// ---------------------------------------------------------------------------------------------

struct TZlibCompressStream::TState {
    z_stream Stream{};
    std::string Out = std::string(1 << 20, '\0'); // 1 MiB at a time
};

TZlibCompressStream::TZlibCompressStream(TStream& target, int level)
    : FTarget(target), FState(std::make_unique<TState>()) {
    if (deflateInit(&FState->Stream, level) != Z_OK)
        throw ECompressionError("Cannot start zlib compression");
}

TZlibCompressStream::~TZlibCompressStream() {
    deflateEnd(&FState->Stream);
}

size_t TZlibCompressStream::Read(void*, size_t) {
    throw EStreamError("Cannot read a compressing stream");
}

void TZlibCompressStream::SetPosition(uint64_t position) {
    if (position != FWritten)
        throw EStreamError("Cannot seek in a compressing stream");
}

void TZlibCompressStream::Deflate(const void* data, size_t size, int flush) {
    z_stream& stream = FState->Stream;
    stream.next_in = static_cast<Bytef*>(const_cast<void*>(data));
    stream.avail_in = static_cast<uInt>(size);
    int code;
    do {
        stream.next_out = reinterpret_cast<Bytef*>(FState->Out.data());
        stream.avail_out = static_cast<uInt>(FState->Out.size());
        code = deflate(&stream, flush);
        if (code == Z_STREAM_ERROR)
            throw ECompressionError("zlib compression failed");
        FTarget.Write(FState->Out.data(), FState->Out.size() - stream.avail_out);
    } while (stream.avail_out == 0 || (flush == Z_FINISH && code != Z_STREAM_END));
}

void TZlibCompressStream::Write(const void* buffer, size_t count) {
    if (FFinished)
        throw EStreamError("Cannot write to a finished compressing stream");
    const auto* bytes = static_cast<const uint8_t*>(buffer);
    while (count > 0) {
        const size_t chunk = std::min<size_t>(count, Slice);
        Deflate(bytes, chunk, Z_NO_FLUSH);
        bytes += chunk;
        count -= chunk;
        FWritten += chunk;
    }
}

void TZlibCompressStream::Finish() {
    if (FFinished)
        return;
    FFinished = true;
    Deflate(nullptr, 0, Z_FINISH);
}

} // namespace tw
