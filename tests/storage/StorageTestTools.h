#pragma once
// Helpers of the storage tests: temporary folders, whole files as bytes, and a reader of the
// sections of a kovml file that is independent of the back-end's own.

#include "TemporaryFiles.h"
#include "storage/HierarchicStorage.h"

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <stdexcept>
#include <string>
#include <unistd.h>

namespace tw::testing {

inline std::string ReadFileBytes(const std::string& fileName) {
    std::ifstream in(fileName, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void WriteFileBytes(const std::string& fileName, const std::string& bytes) {
    std::ofstream out(fileName, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

inline std::string SaveToBytes(THierarchicStorage& storage) {
    TMemoryStream stream;
    storage.SaveToStream(stream);
    return std::string(reinterpret_cast<const char*>(stream.Memory()), stream.Size());
}

template <typename Storage> std::unique_ptr<Storage> LoadFromBytes(const std::string& bytes) {
    auto storage = std::make_unique<Storage>("");
    TReadOnlyMemoryStream stream(bytes.data(), bytes.size());
    storage->LoadFromStream(stream, "memory");
    return storage;
}

inline bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// Where each section of a kovml file lies: the offset of its bytes and their count.
struct TKovmlSection {
    size_t Offset = 0;
    size_t Size = 0;
    // The offset of the size field, for tests that damage it.
    size_t SizeField = 0;
};

inline std::map<std::string, TKovmlSection> KovmlSections(const std::string& bytes, int width) {
    std::map<std::string, TKovmlSection> sections;
    auto readWide = [&](size_t at) {
        int64_t value = 0;
        if (width == 4) {
            int32_t v;
            std::memcpy(&v, bytes.data() + at, 4);
            value = v;
        } else {
            std::memcpy(&value, bytes.data() + at, 8);
        }
        return static_cast<size_t>(value);
    };
    size_t at = bytes.find('\x1A') + 1;
    while (at < bytes.size()) {
        const size_t nameLength = readWide(at);
        const std::string name = bytes.substr(at + width, nameLength);
        at += width + nameLength;
        TKovmlSection section;
        section.SizeField = at;
        section.Size = readWide(at);
        section.Offset = at + width;
        sections[name] = section;
        at = section.Offset + section.Size + 2;
    }
    return sections;
}

// The bytes of a kovml file after its header (whose last line is the time of saving).
inline std::string KovmlBody(const std::string& bytes) {
    return bytes.substr(bytes.find('\x1A'));
}

} // namespace tw::testing
