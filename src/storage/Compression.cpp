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

namespace {
// One inflation: feeds the input in slices and asks `room` for the next place to write, given
// how much was written so far. Raises on damaged data and on data that end early.
class TInflater {
public:
    TInflater() {
        if (inflateInit(&FStream) != Z_OK)
            throw ECompressionError("Cannot start zlib decompression");
    }
    ~TInflater() { inflateEnd(&FStream); }
    TInflater(const TInflater&) = delete;
    TInflater& operator=(const TInflater&) = delete;

    template <typename Room> uint64_t Run(const void* data, uint64_t dataSize, Room room) {
        const auto* in = static_cast<const Bytef*>(data);
        uint64_t consumed = 0;
        for (;;) {
            if (FStream.avail_in == 0 && consumed < dataSize) {
                const uint64_t chunk = std::min(dataSize - consumed, Slice);
                FStream.next_in = const_cast<Bytef*>(in + consumed);
                FStream.avail_in = static_cast<uInt>(chunk);
                consumed += chunk;
            }
            const auto [out, space] = room(uint64_t(FStream.total_out));
            FStream.next_out = out;
            FStream.avail_out = static_cast<uInt>(std::min(space, Slice));
            const uInt inputBefore = FStream.avail_in, outputBefore = FStream.avail_out;
            const int code = inflate(&FStream, Z_NO_FLUSH);
            if (code == Z_STREAM_END)
                return FStream.total_out;
            if (code != Z_OK && code != Z_BUF_ERROR)
                throw ECompressionError(
                    Format("The compressed data do not inflate: %s", ZlibMessage(FStream, code)));
            if (inputBefore == FStream.avail_in && outputBefore == FStream.avail_out &&
                consumed >= dataSize)
                throw ECompressionError(Format("The compressed data end early, after %d bytes",
                                               uint64_t(FStream.total_out)));
        }
    }

private:
    z_stream FStream{};
};
} // namespace

void ZlibDecompress(const void* data, uint64_t dataSize, void* out, uint64_t size) {
    auto* target = static_cast<Bytef*>(out);
    // One byte of room past the end lets a stream that holds too much show itself.
    Bytef spare;
    TInflater inflater;
    const uint64_t produced =
        inflater.Run(data, dataSize, [&](uint64_t written) -> std::pair<Bytef*, uint64_t> {
            if (written > size)
                throw ECompressionError(
                    Format("The compressed data hold more than the %d bytes announced", size));
            if (written == size)
                return {&spare, 1};
            return {target + written, size - written};
        });
    if (produced != size)
        throw ECompressionError(Format(
            "The compressed data hold %d bytes instead of the %d announced", produced, size));
}

std::string ZlibDecompress(const void* data, uint64_t dataSize, uint64_t limit) {
    std::string out;
    TInflater inflater;
    const uint64_t produced =
        inflater.Run(data, dataSize, [&](uint64_t written) -> std::pair<Bytef*, uint64_t> {
            if (written == out.size()) {
                if (out.size() >= limit)
                    throw ECompressionError(
                        Format("The compressed data hold more than %d bytes", limit));
                out.resize(std::min<uint64_t>(std::max<size_t>(2 * out.size(), 1 << 16), limit));
            }
            return {reinterpret_cast<Bytef*>(out.data()) + written, out.size() - written};
        });
    out.resize(produced);
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
