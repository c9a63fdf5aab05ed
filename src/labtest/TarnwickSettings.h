#pragma once
// The lab's own settings, kept in the user's settings file "Tarnwick.settings.xml" (see
// storage/Settings.h for the folder): whose failure envelope the charts draw, and the default
// configuration of each test type.
//
// The window gets the user's settings with TTarnwickSettings::Open() and writes them back with
// Save(); tests and tools name a file of their own. Problems with the file never stop the
// program: a file that can't be read gives the defaults, and LastError() says why.

#include "labtest/QBDatatypes.h"
#include "storage/Settings.h"

#include <memory>
#include <string>

namespace tw {

class TTarnwickSettings : public TKovSettingsWithDefault {
    TW_KOV_CLASS(TTarnwickSettings, TKovSettingsWithDefault)
public:
    explicit TTarnwickSettings(TKovObjectManager* manager = nullptr);

    // Settings read from `fileName`, by default the user's file.
    static std::unique_ptr<TTarnwickSettings> Open(const std::string& fileName = {});

    // The file Load and Save use: the user's file unless another is set.
    const std::string& FileName() const { return FFileName; }
    // Empty: the user's file.
    void SetFileName(const std::string& fileName);
    void Load() { LoadFromFile(FFileName); }
    void Save() { SaveToFile(FFileName); }

    // Whose failure envelope the charts draw ("Show failure envelope for"). A stored value that
    // is no choice reads as the default, adCurrent.
    TQBAdditionalLines Additional() const;
    void SetAdditional(TQBAdditionalLines lines);

    // The default configuration file of a test type; empty when none is set.
    std::string GetDefaultsFileName(TQBTestType type) const;
    // An empty name clears it.
    void SetDefaultsFileName(TQBTestType type, const std::string& fileName);
    // Whether a default is stored for the type, even one whose file is gone.
    bool HasDefaultsFileName(TQBTestType type) const;

protected:
    std::string DefaultSettingsName() const override { return "Tarnwick"; }

private:
    std::string FFileName;
};

} // namespace tw
