#pragma once
// What fuzz targets of file readers share, whatever their subsystem: files of this process in the
// temporary folder (the readers read files by name), written with each input.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>

namespace tw::fuzzing {

// A file of this process in the temporary folder, named by its ending, removed at exit.
struct TFuzzFile {
    std::string Path;
    explicit TFuzzFile(const char* ending)
        : Path((std::filesystem::temp_directory_path() /
                ("tw_fuzz_" + std::to_string(::getpid()) + ending))
                   .string()) {}
    ~TFuzzFile() { std::remove(Path.c_str()); }
    TFuzzFile(const TFuzzFile&) = delete;
    TFuzzFile& operator=(const TFuzzFile&) = delete;

    // Replaces the file's contents by the input.
    void Write(const std::uint8_t* data, std::size_t size) const {
        std::FILE* file = std::fopen(Path.c_str(), "wb");
        if (!file)
            std::abort();
        std::fwrite(data, 1, size, file);
        std::fclose(file);
    }
};

} // namespace tw::fuzzing
