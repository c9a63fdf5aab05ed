#pragma once
// Reading a whole file into memory, as the readers of the lab's text files do.

#include <string>

namespace tw {

// Reads the whole file as it stands (bytes, no conversion); false when it can't be read (missing,
// a folder, no permission, a read error).
bool ReadWholeFile(const std::string& fileName, std::string& text);

} // namespace tw
