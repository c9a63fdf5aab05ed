#include "storage/MemoryMappedFileStream.h"

#include "services/Format.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tw {

TMemoryMappedFileStream::TMemoryMappedFileStream(const std::string& fileName, TMMFMode mode)
    : FFileName(fileName), FMode(mode) {
    const bool readOnly = mode == mmfmReadOnly;
    if (readOnly && !std::filesystem::exists(fileName))
        throw EFOpenError(Format("File \"%s\" does not exist", fileName));
    FFileHandle = ::open(fileName.c_str(),
                         readOnly ? O_RDONLY | O_CLOEXEC : O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (FFileHandle < 0)
        throw EFOpenError(Format("Failed to open file %s", fileName));
    struct stat info {};
    if (::fstat(FFileHandle, &info) != 0 || !S_ISREG(info.st_mode)) {
        ::close(FFileHandle);
        throw EFOpenError(Format("Failed to open file %s", fileName));
    }
    FSize = static_cast<uint64_t>(info.st_size);
    try {
        if (FSize > 0)
            Map(FSize);
    } catch (...) {
        ::close(FFileHandle);
        throw;
    }
}

std::string TMemoryMappedFileStream::SaveFolder() {
    const char* tmp = std::getenv("TMPDIR");
    std::filesystem::path folder = tmp && *tmp ? tmp : "/tmp";
    return (folder / "kov_mmf_cache").string();
}

TMemoryMappedFileStream::TMemoryMappedFileStream() : FMode(mmfmReadWriteWithTempBackingFile) {
    std::error_code error;
    std::filesystem::create_directories(SaveFolder(), error);
    std::string pattern = SaveFolder() + "/kovXXXXXX";
    FFileHandle = ::mkstemp(pattern.data());
    if (FFileHandle < 0)
        throw EFCreateError("Failed to create temp save file for saving.");
    ::unlink(pattern.c_str());
    FFileName = pattern;
}

TMemoryMappedFileStream::~TMemoryMappedFileStream() {
    if (FView)
        ::munmap(FView, FBackingFileSize);
    if (FMode == mmfmReadWrite && FBackingFileSize != FSize && FFileHandle >= 0) {
        // The mapping grew ahead of the data; the file keeps only what was written.
        [[maybe_unused]] int ignored = ::ftruncate(FFileHandle, static_cast<off_t>(FSize));
    }
    if (FFileHandle >= 0)
        ::close(FFileHandle);
}

void TMemoryMappedFileStream::Map(uint64_t capacity) {
    const bool readOnly = FMode == mmfmReadOnly;
    if (!readOnly && ::ftruncate(FFileHandle, static_cast<off_t>(capacity)) != 0)
        throw EStreamError(
            Format("Cannot grow %s to %d bytes: %s", FFileName, capacity, std::strerror(errno)));
    void* view;
    if (FView)
        view = ::mremap(FView, FBackingFileSize, capacity, MREMAP_MAYMOVE);
    else
        view = ::mmap(nullptr, capacity, readOnly ? PROT_READ : PROT_READ | PROT_WRITE,
                      readOnly ? MAP_PRIVATE : MAP_SHARED, FFileHandle, 0);
    if (view == MAP_FAILED)
        throw EFOpenError(Format("Failed to map file %s: %s", FFileName, std::strerror(errno)));
    FView = static_cast<uint8_t*>(view);
    FBackingFileSize = capacity;
}

size_t TMemoryMappedFileStream::Read(void* buffer, size_t count) {
    return ReadFromMemory(FView, FSize, FPosition, buffer, count);
}

void TMemoryMappedFileStream::Write(const void* buffer, size_t count) {
    if (FMode == mmfmReadOnly)
        throw EStreamError("Cannot write a read-only stream.");
    if (count == 0)
        return;
    const uint64_t end = FPosition + count;
    if (end > FBackingFileSize) {
        const uint64_t page = static_cast<uint64_t>(::sysconf(_SC_PAGESIZE));
        uint64_t capacity = std::max(end, 2 * FBackingFileSize);
        capacity = (capacity + page - 1) / page * page;
        Map(capacity);
    }
    if (FPosition > FSize)
        std::memset(FView + FSize, 0, static_cast<size_t>(FPosition - FSize));
    std::memcpy(FView + FPosition, buffer, count);
    FPosition = end;
    FSize = std::max(FSize, end);
}

} // namespace tw
