#include "services/TextFile.h"

#include <cstdio>
#include <sys/stat.h>
#include <utility>

namespace tw {

bool ReadWholeFile(const std::string& fileName, std::string& text) {
    std::FILE* file = std::fopen(fileName.c_str(), "rb");
    if (!file)
        return false;
    struct stat status;
    if (::fstat(::fileno(file), &status) != 0 || !S_ISREG(status.st_mode)) {
        std::fclose(file);
        return false;
    }
    // One read of the size the file has; a file that grows meanwhile is read on to its end.
    std::string contents(static_cast<size_t>(status.st_size), '\0');
    size_t length = std::fread(contents.data(), 1, contents.size(), file);
    if (length == contents.size()) {
        char chunk[4096];
        while (size_t more = std::fread(chunk, 1, sizeof chunk, file))
            contents.append(chunk, more), length += more;
    }
    const bool failed = std::ferror(file) != 0;
    std::fclose(file);
    if (failed)
        return false;
    contents.resize(length);
    text = std::move(contents);
    return true;
}

} // namespace tw
