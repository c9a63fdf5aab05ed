#pragma once
// The golden files of the lab tests: kernel inputs whose every byte is known (test_labtest only,
// which knows where they are).

#include "LabTestSupport.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace tw::testing {

// Compares a written file byte for byte with its copy in tests/labtest/golden. On a difference
// the written file is kept in the temporary folder, for a human to diff.
inline void ExpectGolden(const std::filesystem::path& written, const std::string& goldenName) {
    namespace fs = std::filesystem;
    const fs::path golden = fs::path(TW_GOLDEN_DIR) / goldenName;
    const std::string actual = ReadBytes(written);
    if (fs::exists(golden) && ReadBytes(golden) == actual)
        return;
    const fs::path kept = fs::temp_directory_path() / "tarnwick-golden-failures" / goldenName;
    fs::create_directories(kept.parent_path());
    fs::copy_file(written, kept, fs::copy_options::overwrite_existing);
    ADD_FAILURE() << goldenName << " differs from its golden copy; compare with\n  diff " << golden
                  << " " << kept;
}

} // namespace tw::testing
