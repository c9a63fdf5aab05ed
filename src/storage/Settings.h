#pragma once
// The settings store: observable objects whose intrinsic properties are made on demand, one per
// setting, under a string key; saved as ordinary storage files by the persister THPKovSettings.
//
// A key is a property name: it is compared in clean form (trimmed, without regard to case) and
// must be a valid name to be set. Getting never creates a setting; a setting of another kind
// than the one asked answers the default. Settings take no part in undo: they are the user's
// preferences, not the model.
//
// The user's settings files live in SettingsFolder(): $XDG_CONFIG_HOME/tarnwick, else
// ~/.config/tarnwick. Settings are used from the main thread. Several program instances may share
// a file, which is why reading and writing a file are retried.

#include "objects/IntrinsicPropertyDeclaration.h"
#include "objects/KovBaseClasses.h"
#include "storage/HPReadErrors.h"
#include "storage/KovPersisters.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tw {

TW_DECLARE_EXCEPTION(EKovSettingsException, EKovException)

// The folder of the user's settings files (not made here; a save makes it).
std::string SettingsFolder();

class TKovSettings : public TKovObservableObject {
    TW_KOV_CLASS(TKovSettings, TKovObservableObject)
public:
    explicit TKovSettings(TKovObjectManager* manager = nullptr);
    ~TKovSettings() override;

    // Creates the setting when absent, or replaces one of another kind; observers hear of the
    // change. Raise EKovSettingsException for a key that is no valid name.
    void SetString(const std::string& key, const std::string& value);
    void SetInteger(const std::string& key, int32_t value);
    void SetDouble(const std::string& key, double value);
    void SetBoolean(const std::string& key, bool value);
    void SetBLOB(const std::string& key, const std::vector<uint8_t>& value);
    // The bytes of a picture file; raises EIPImageException for bytes that are no picture.
    void SetGraphic(const std::string& key, const std::vector<uint8_t>& value);

    std::string GetString(const std::string& key, const std::string& defaultValue = "") const;
    int32_t GetInteger(const std::string& key, int32_t defaultValue = 0) const;
    double GetDouble(const std::string& key, double defaultValue = 0) const;
    bool GetBoolean(const std::string& key, bool defaultValue = false) const;
    // A copy of the bytes; empty when there is no such setting.
    std::vector<uint8_t> GetNewBlob(const std::string& key) const;
    std::vector<uint8_t> GetNewGraphic(const std::string& key) const;

    // The setting of a key, of any kind, or nullptr.
    TKovIntrinsicProperty* FindSetting(const std::string& key) const;
    bool HasSetting(const std::string& key) const { return FindSetting(key) != nullptr; }
    bool RemoveSetting(const std::string& key);
    // The settings in the order they were made.
    int SettingsCount() const { return static_cast<int>(FDeclarationsGarbageCollect.size()); }
    TKovIntrinsicProperty& Setting(int index) const;
    void ClearSettings();

    // Settings have no fixed declarations: this clears its own settings and makes those of
    // `source` anew, of the same kinds and values.
    void CopyIntrinsicPropertiesFrom(const TKovSettings& source);

    bool RevertEnabled() const override { return false; }

    // One setting as it can be moved between keys: its kind and its value.
    struct TSettingValue {
        const TKovClass* Kind = nullptr;
        TVarRec Value;
    };
    // Nothing (Kind nullptr) for an absent key.
    TSettingValue GetSettingValue(const std::string& key) const;
    void SetSettingValue(const std::string& key, const TSettingValue& value);

    // Whether `kind` is one of the kinds settings are made of (the persister asks).
    static bool IsSettingKind(const TKovClass& kind);

protected:
    // The setting of `key` of exactly `kind`, made (or remade from another kind) when needed.
    TKovIntrinsicProperty& Ensure(const std::string& key, const TKovClass& kind);
    template <typename P> P* Find(const std::string& key) const;

private:
    template <typename P, typename V> void Write(const std::string& key, const V& value);
    int IndexOfSetting(const std::string& key) const;
    // Position of the first run-time property in the property list: the declared ones come first.
    int FirstSettingIndex() const;

    // The declarations made at run time, owned here, in the order of the settings.
    std::vector<std::unique_ptr<TKovIntrinsicPropertyDeclaration>> FDeclarationsGarbageCollect;
};

// Settings kept in a file, found by its extension ("Settings.xml" is XML, say).
class TKovSettingsWithDefault : public TKovSettings {
    TW_KOV_CLASS(TKovSettingsWithDefault, TKovSettings)
public:
    explicit TKovSettingsWithDefault(TKovObjectManager* manager = nullptr);
    // Saves to the cached file when FAutoSaveOnDestroy is set; a failure is logged.
    ~TKovSettingsWithDefault() override;

    // SettingsFolder() / GetDefaultSettingsFilename(DefaultSettingsName()).
    virtual std::string MakeDefaultSettingsFileName() const;
    // Writes the settings through a temporary file beside `fileName`, so a failed save leaves the
    // old file; up to the number of attempts, a pause apart.
    virtual void SaveToFile(const std::string& fileName);
    // Reads the settings of an existing file, replacing all settings held; an absent file changes
    // nothing. A file that can't be read in any attempt leaves the settings as they were.
    virtual void LoadFromFile(const std::string& fileName);

    // "%s.settings.xml" with the name.
    static std::string GetDefaultSettingsFilename(const std::string& name);
    void SaveToDefault() { SaveToFile(MakeDefaultSettingsFileName()); }
    void LoadFromDefault() { LoadFromFile(MakeDefaultSettingsFileName()); }
    // Raise "Cannot load %s from cached file name because it hasn't been cached yet" (and the
    // like for persist) before any file was named, whatever FReportPersistenceErrors says.
    void LoadFromCachedFileName();
    void SaveToCachedFileName();
    const std::string& CachedFileName() const { return FCachedFileName; }

    // Off: problems with files end the operation silently and defaults apply (the reason is kept
    // in LastError()). On: they raise EKovSettingsException.
    bool ReportPersistenceErrors() const { return FReportPersistenceErrors; }
    void SetReportPersistenceErrors(bool report) { FReportPersistenceErrors = report; }
    bool AutoSaveOnDestroy() const { return FAutoSaveOnDestroy; }
    void SetAutoSaveOnDestroy(bool autoSave) { FAutoSaveOnDestroy = autoSave; }
    // The message of the last failed load or save; empty after one that succeeded.
    const std::string& LastError() const { return FLastError; }
    // Hints and warnings of the last load (a setting of an unknown kind, say).
    const THPReadErrorList& ReadErrors() const { return FReadErrors; }

    // 10 attempts, 50 ms apart, by default.
    void SetAttempts(int attempts, std::chrono::milliseconds pause);
    static constexpr int DefaultAttempts = 10;
    static constexpr std::chrono::milliseconds DefaultPause{50};

protected:
    // The name of the default file; the class's type name unless a descendant says otherwise.
    virtual std::string DefaultSettingsName() const { return GetObjectTypeName(); }

private:
    // Ends the operation: raises when errors are reported, else keeps the text.
    void Fail(const std::string& message);
    // The back-end of the file's extension and the persister of this class; false (after Fail)
    // when either is missing. Caches the file name once the back-end is known.
    bool FindRoute(const std::string& fileName, const THierarchicStorageClass*& storageClass,
                   THPObject*& persister);

    std::string FCachedFileName;
    bool FReportPersistenceErrors = false;
    bool FAutoSaveOnDestroy = false;
    int FAttempts = DefaultAttempts;
    std::chrono::milliseconds FPause = DefaultPause;
    std::string FLastError;
    THPReadErrorList FReadErrors;
};

// Settings shown in a window: each mapping ties a key to a control through two callbacks, one
// that puts a value in the control and one that reads it back.
class TSettingMapping {
public:
    virtual ~TSettingMapping() = default;
    // Puts the setting (or the mapping's default) in the control.
    virtual void SettingToGUI(const TKovSettings& settings, const std::string& key) const = 0;
    // Stores what the control holds.
    virtual void GUIToSetting(TKovSettings& settings, const std::string& key) const = 0;
};

template <typename V> class TSettingMappingOf : public TSettingMapping {
public:
    using TSettingToGUI = std::function<void(const V&)>;
    using TGUIFromSetting = std::function<V()>;
    TSettingMappingOf(V defaultValue, TSettingToGUI settingToGUI, TGUIFromSetting guiFromSetting)
        : FDefault(std::move(defaultValue)), FSettingToGUI(std::move(settingToGUI)),
          FGUIFromSetting(std::move(guiFromSetting)) {}
    void SettingToGUI(const TKovSettings& settings, const std::string& key) const override;
    void GUIToSetting(TKovSettings& settings, const std::string& key) const override;

private:
    V FDefault;
    TSettingToGUI FSettingToGUI;
    TGUIFromSetting FGUIFromSetting;
};

using TSettingMappingBoolean = TSettingMappingOf<bool>;
using TSettingMappingInteger = TSettingMappingOf<int32_t>;
using TSettingMappingDouble = TSettingMappingOf<double>;
using TSettingMappingString = TSettingMappingOf<std::string>;

class TKovSettingsWithUIMappings : public TKovSettingsWithDefault {
    TW_KOV_CLASS(TKovSettingsWithUIMappings, TKovSettingsWithDefault)
public:
    explicit TKovSettingsWithUIMappings(TKovObjectManager* manager = nullptr);
    ~TKovSettingsWithUIMappings() override;

    // A second mapping of a key replaces the first.
    void Add(const std::string& key, std::unique_ptr<TSettingMapping> mapping);
    void Add(const std::string& key, bool defaultValue, TSettingMappingBoolean::TSettingToGUI toGUI,
             TSettingMappingBoolean::TGUIFromSetting fromGUI);
    void Add(const std::string& key, int32_t defaultValue,
             TSettingMappingInteger::TSettingToGUI toGUI,
             TSettingMappingInteger::TGUIFromSetting fromGUI);
    void Add(const std::string& key, double defaultValue,
             TSettingMappingDouble::TSettingToGUI toGUI,
             TSettingMappingDouble::TGUIFromSetting fromGUI);
    void Add(const std::string& key, const std::string& defaultValue,
             TSettingMappingString::TSettingToGUI toGUI,
             TSettingMappingString::TGUIFromSetting fromGUI);
    int MappingsCount() const { return static_cast<int>(FMappings.size()); }

    // Every mapped setting into its control, in the order of adding.
    void SettingToGUI() const;
    // Every control into its setting, as one update of this object.
    void GUIToSetting();

private:
    std::vector<std::pair<std::string, std::unique_ptr<TSettingMapping>>> FMappings;
};

// The persister of settings: the root "Settings", one child per setting named by its key, with
// the named value "Type" ("Boolean", "Integer", "Double", "String", "BLOB", "Graphic") and the
// value. A child of an unknown type or with a name that is no key is skipped with a warning.
class THPKovSettings : public THPKovObject {
public:
    const TKovClass& SupportedClass() const override;
    std::string GetDefaultStorageName(const TKovObject* object) const override;

protected:
    void DoLoadObject(TKovObject& object, THierarchicStorage& storage,
                      THPReadErrorList* errors) override;
    void DoPersistObject(TKovObject& object, THierarchicStorage& storage) override;
    void DoCommitLoadedObject(TKovObject& target, TKovObject& loaded) override;
};

// Registers THPKovSettings once; the settings classes call it before they touch a file.
void RegisterSettingsPersister();

// Program-wide switches of the user, kept in the settings file "registry.settings.xml" of the
// settings folder (read each time, so another instance's change is seen). Problems with the file
// never stop the program: the defaults apply.
class TOrvaneRegistry {
public:
    static std::string FileName();
    // `perVersion`: the value of this version of the program only ("V<major>_<minor>_<name>").
    static bool GetBooleanSetting(const std::string& name, bool defaultValue,
                                  bool perVersion = false);
    static void SetBooleanSetting(const std::string& name, bool value, bool perVersion = false);
    // "IsNewsFeedEnabled", false unless set.
    static bool IsNewsFeedEnabled();
    static void SetIsNewsFeedEnabled(bool enabled);
    // "IsAutocompleteEnabled", true unless set.
    static bool IsAutocompleteEnabled();
    static void SetIsAutocompleteEnabled(bool enabled);
    // "ProductName" under "Install", else "Tarnwick".
    static std::string GetProductName();
    // "DisplayProductName", else the product name.
    static std::string GetDisplayedProductName();
    // "InstallDir" under "Install", else the folder of the program (with a trailing "/").
    static std::string GetOrvaneProductInstallDir();

private:
    static std::string GetString(const std::string& key, const std::string& defaultValue);
};

} // namespace tw
