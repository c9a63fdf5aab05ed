#include "storage/Streams.h"

#include "services/Format.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

namespace tw {

void TStream::ReadBuffer(void* buffer, size_t count) {
    const size_t read = Read(buffer, count);
    if (read != count)
        throw EStreamError(Format("Stream read error: %d bytes asked at position %d of %s, %d "
                                  "read",
                                  count, Position() - read, Description(), read));
}

void TStream::CopyFrom(TStream& source, uint64_t count) {
    if (const uint8_t* memory = source.Memory()) {
        const uint64_t position = source.Position();
        if (count > source.Size() - std::min(position, source.Size()))
            throw EStreamError(Format("Stream read error: cannot copy %d bytes from position %d "
                                      "of %s",
                                      count, position, source.Description()));
        Write(memory + position, count);
        source.SetPosition(position + count);
        return;
    }
    constexpr size_t chunk = 1 << 20;
    std::string buffer(std::min<uint64_t>(count, chunk), '\0');
    while (count > 0) {
        const size_t n = std::min<uint64_t>(count, chunk);
        source.ReadBuffer(buffer.data(), n);
        Write(buffer.data(), n);
        count -= n;
    }
}

std::string ReadRemainingBytes(TStream& stream) {
    std::string bytes(stream.Remaining(), '\0');
    stream.ReadBuffer(bytes.data(), bytes.size());
    return bytes;
}

// ---------------------------------------------------------------------------------------------

TMemoryStream::~TMemoryStream() {
    std::free(FData);
}

void TMemoryStream::Grow(uint64_t needed) {
    if (needed <= FCapacity)
        return;
    uint64_t capacity =
        FFrugal ? needed + needed / 8 + 16 : std::max<uint64_t>(needed, 2 * FCapacity);
    capacity = std::max<uint64_t>(capacity, 16);
    if (capacity > SIZE_MAX)
        throw std::bad_alloc();
    auto* data = static_cast<uint8_t*>(std::realloc(FData, static_cast<size_t>(capacity)));
    if (!data)
        throw std::bad_alloc();
    FData = data;
    FCapacity = capacity;
}

void TMemoryStream::Reserve(uint64_t capacity) {
    Grow(capacity);
}

size_t ReadFromMemory(const uint8_t* data, uint64_t size, uint64_t& position, void* buffer,
                      size_t count) {
    if (position >= size)
        return 0;
    const size_t n = static_cast<size_t>(std::min<uint64_t>(count, size - position));
    std::memcpy(buffer, data + position, n);
    position += n;
    return n;
}

size_t TMemoryStream::Read(void* buffer, size_t count) {
    return ReadFromMemory(FData, FSize, FPosition, buffer, count);
}

void TMemoryStream::Write(const void* buffer, size_t count) {
    if (count == 0)
        return;
    const uint64_t end = FPosition + count;
    if (end > FCapacity)
        Grow(end);
    if (FPosition > FSize)
        std::memset(FData + FSize, 0, static_cast<size_t>(FPosition - FSize));
    std::memcpy(FData + FPosition, buffer, count);
    FPosition = end;
    FSize = std::max(FSize, end);
}

void TMemoryStream::SetSize(uint64_t size) {
    if (size > FSize) {
        Grow(size);
        std::memset(FData + FSize, 0, static_cast<size_t>(size - FSize));
    }
    FSize = size;
}

void TMemoryStream::Clear() {
    std::free(FData);
    FData = nullptr;
    FSize = FCapacity = FPosition = 0;
}

// ---------------------------------------------------------------------------------------------

size_t TReadOnlyMemoryStream::Read(void* buffer, size_t count) {
    return ReadFromMemory(FData, FSize, FPosition, buffer, count);
}

void TReadOnlyMemoryStream::Write(const void*, size_t) {
    throw EStreamError("Cannot write a read-only stream.");
}

// ---------------------------------------------------------------------------------------------

namespace {
constexpr size_t FileBufferSize = 1 << 16;

std::string SystemError() {
    return std::strerror(errno);
}
} // namespace

TFileStream::TFileStream(const std::string& fileName, TMode mode) : FFileName(fileName) {
    switch (mode) {
    case fmOpenRead:
        FHandle = ::open(fileName.c_str(), O_RDONLY | O_CLOEXEC);
        if (FHandle < 0) {
            if (errno == ENOENT)
                throw EInOutError(Format("File not found: %s", fileName));
            throw EFOpenError(Format("Cannot open file \"%s\". %s", fileName, SystemError()));
        }
        break;
    case fmCreate:
    case fmCreateExclusive:
        FHandle =
            ::open(fileName.c_str(),
                   O_WRONLY | O_CREAT | O_CLOEXEC | (mode == fmCreate ? O_TRUNC : O_EXCL), 0666);
        if (FHandle < 0)
            throw EFCreateError(Format("Cannot create file \"%s\". %s", fileName, SystemError()));
        break;
    }
}

TFileStream::~TFileStream() {
    if (FHandle >= 0)
        ::close(FHandle);
}

size_t TFileStream::Read(void* buffer, size_t count) {
    Flush();
    size_t done = 0;
    auto* out = static_cast<uint8_t*>(buffer);
    while (done < count) {
        const ssize_t n = ::pread(FHandle, out + done, count - done, static_cast<off_t>(FPosition));
        if (n < 0) {
            if (errno == EINTR)
                continue;
            throw EStreamError(Format("Cannot read %s: %s", FFileName, SystemError()));
        }
        if (n == 0)
            break;
        done += static_cast<size_t>(n);
        FPosition += static_cast<uint64_t>(n);
    }
    return done;
}

void TFileStream::WriteThrough(const void* data, size_t count, uint64_t offset) {
    const auto* bytes = static_cast<const uint8_t*>(data);
    size_t done = 0;
    while (done < count) {
        const ssize_t n =
            ::pwrite(FHandle, bytes + done, count - done, static_cast<off_t>(offset + done));
        if (n < 0) {
            if (errno == EINTR)
                continue;
            throw EStreamError(Format("Cannot write to %s: %s", FFileName, SystemError()));
        }
        done += static_cast<size_t>(n);
    }
}

void TFileStream::Write(const void* buffer, size_t count) {
    if (FHandle < 0)
        throw EStreamError(Format("Cannot write to %s: the file is closed", FFileName));
    if (!FBuffer.empty() && FBufferOffset + FBuffer.size() != FPosition)
        Flush();
    if (FBuffer.size() + count <= FileBufferSize) {
        if (FBuffer.empty())
            FBufferOffset = FPosition;
        FBuffer.append(static_cast<const char*>(buffer), count);
    } else {
        Flush();
        if (count < FileBufferSize) {
            FBufferOffset = FPosition;
            FBuffer.assign(static_cast<const char*>(buffer), count);
        } else {
            WriteThrough(buffer, count, FPosition);
        }
    }
    FPosition += count;
}

void TFileStream::Flush() {
    if (FBuffer.empty())
        return;
    std::string pending;
    pending.swap(FBuffer);
    WriteThrough(pending.data(), pending.size(), FBufferOffset);
}

void TFileStream::Sync() {
    Flush();
    if (::fsync(FHandle) != 0)
        throw EStreamError(Format("Cannot flush %s to disk: %s", FFileName, SystemError()));
}

void TFileStream::Close() {
    if (FHandle < 0)
        return;
    Flush();
    const int handle = FHandle;
    FHandle = -1;
    if (::close(handle) != 0)
        throw EStreamError(Format("Cannot close %s: %s", FFileName, SystemError()));
}

uint64_t TFileStream::Size() const {
    struct stat info {};
    if (::fstat(FHandle, &info) != 0)
        throw EStreamError(Format("Cannot read the size of %s: %s", FFileName, SystemError()));
    return std::max<uint64_t>(static_cast<uint64_t>(info.st_size),
                              FBuffer.empty() ? 0 : FBufferOffset + FBuffer.size());
}

void TFileStream::SetPosition(uint64_t position) {
    FPosition = position;
}

// ---------------------------------------------------------------------------------------------

namespace {
std::string TemporaryNameFor(const std::string& fileName) {
    static std::atomic<unsigned> counter{0};
    return fileName + ".tmp-" + std::to_string(::getpid()) + "-" + std::to_string(++counter);
}

// Makes the rename itself durable; a failure here loses nothing, so it is not reported.
void SyncFolderOf(const std::filesystem::path& file) {
    std::filesystem::path folder = file.parent_path();
    if (folder.empty())
        folder = ".";
    const int handle = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (handle >= 0) {
        ::fsync(handle);
        ::close(handle);
    }
}
} // namespace

void WriteFileAtomically(const std::string& fileName, bool createFolders,
                         const std::function<void(TStream&)>& write) {
    const std::filesystem::path target(fileName);
    if (createFolders && target.has_parent_path()) {
        std::error_code error;
        std::filesystem::create_directories(target.parent_path(), error);
        if (error)
            throw EFCreateError(Format("Cannot create the folder \"%s\". %s",
                                       target.parent_path().string(), error.message()));
    }
    const std::string temporary = TemporaryNameFor(fileName);
    TFileStream out(temporary, TFileStream::fmCreateExclusive);
    try {
        write(out);
        out.Sync();
        out.Close();
        if (std::rename(temporary.c_str(), fileName.c_str()) != 0)
            throw EFCreateError(Format("Cannot put \"%s\" in place of \"%s\". %s", temporary,
                                       fileName, SystemError()));
    } catch (...) {
        std::error_code ignored;
        std::filesystem::remove(temporary, ignored);
        throw;
    }
    SyncFolderOf(target);
}

} // namespace tw
