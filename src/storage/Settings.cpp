#include "storage/Settings.h"

#include "objects/IntrinsicPropertyDeclarationList.h"
#include "objects/IntrinsicPropertyKinds.h"
#include "objects/IntrinsicPropertyList.h"
#include "objects/NameTools.h"
#include "objects/UpdateBracket.h"
#include "services/Format.h"
#include "services/Log.h"
#include "services/RuntimeSettings.h"
#include "services/Strings.h"
#include "storage/ApplicationVersion.h"

#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <thread>

namespace tw {

namespace fs = std::filesystem;

std::string SettingsFolder() {
    // The XDG base directory rules ignore a relative XDG_CONFIG_HOME.
    const char* config = std::getenv("XDG_CONFIG_HOME");
    if (config && *config == '/')
        return (fs::path(config) / "tarnwick").string();
    const char* home = std::getenv("HOME");
    return (fs::path(home && *home ? home : ".") / ".config" / "tarnwick").string();
}

// ---------------------------------------------------------------------------------------------
// TKovSettings

TW_KOV_CLASS_IMPL(TKovSettings, TKovObservableObject, nullptr)

namespace {
// The kinds of setting, with the names the files give them. A string is a free text: a setting
// keeps what it was given, blanks and line breaks included.
struct TSettingKind {
    const TKovClass& (*Class)();
    const char* TypeName;
};
const TSettingKind SettingKinds[] = {
    {&TIPBoolean::StaticClass, "Boolean"}, {&TIPInteger::StaticClass, "Integer"},
    {&TIPDouble::StaticClass, "Double"},   {&TIPFreeText::StaticClass, "String"},
    {&TIPBlob::StaticClass, "BLOB"},       {&TIPImage::StaticClass, "Graphic"},
};

const char* TypeNameOfKind(const TKovClass& kind) {
    for (const TSettingKind& k : SettingKinds)
        if (&k.Class() == &kind)
            return k.TypeName;
    return nullptr;
}

const TKovClass* KindOfTypeName(const std::string& typeName) {
    for (const TSettingKind& k : SettingKinds)
        if (SameText(k.TypeName, typeName))
            return &k.Class();
    return nullptr;
}

std::unique_ptr<TKovIntrinsicPropertyDeclaration> MakeDeclaration(const std::string& name,
                                                                  const TKovClass& kind) {
    // The numbers get the declarations that carry limits, which stay inactive (0 and 0).
    if (&kind == &TIPInteger::StaticClass())
        return std::make_unique<TIPIntegerDeclaration>(name, kind, nullptr);
    if (&kind == &TIPDouble::StaticClass())
        return std::make_unique<TIPDoubleDeclaration>(name, kind, nullptr);
    return std::make_unique<TKovIntrinsicPropertyDeclaration>(name, kind, nullptr);
}
} // namespace

TKovSettings::TKovSettings(TKovObjectManager* manager) : TKovObservableObject(manager) {
    RegisterSettingsPersister();
}

TKovSettings::~TKovSettings() {
    // The properties refer to the declarations owned here: they go first.
    ClearSettings();
}

bool TKovSettings::IsSettingKind(const TKovClass& kind) {
    return TypeNameOfKind(kind) != nullptr;
}

int TKovSettings::FirstSettingIndex() const {
    return IntrinsicPropertyDeclarations().Count();
}

int TKovSettings::IndexOfSetting(const std::string& key) const {
    const std::string clean = CleanName(key);
    for (size_t i = 0; i < FDeclarationsGarbageCollect.size(); ++i)
        if (FDeclarationsGarbageCollect[i]->CleanName() == clean)
            return static_cast<int>(i);
    return -1;
}

TKovIntrinsicProperty& TKovSettings::Setting(int index) const {
    if (index < 0 || index >= SettingsCount())
        throw EKovSettingsException(Format("Setting index %d out of range", index));
    return *IntrinsicProperties()[FirstSettingIndex() + index];
}

TKovIntrinsicProperty* TKovSettings::FindSetting(const std::string& key) const {
    const int index = IndexOfSetting(key);
    return index < 0 ? nullptr : &Setting(index);
}

template <typename P> P* TKovSettings::Find(const std::string& key) const {
    TKovIntrinsicProperty* property = FindSetting(key);
    return property && &property->ClassType() == &P::StaticClass() ? static_cast<P*>(property)
                                                                   : nullptr;
}

TKovIntrinsicProperty& TKovSettings::Ensure(const std::string& key, const TKovClass& kind) {
    const std::string name = Trim(key);
    if (!IsValidName(name))
        throw EKovSettingsException(Format("\"%s\" is not a valid setting name", key));
    auto& properties = IntrinsicProperties();
    if (FDeclarationsGarbageCollect.empty()) {
        // Look-ups by name (commands, editors) find the run-time properties after the declared
        // ones; their index in the list follows their declaration's here.
        const auto& declared = IntrinsicPropertyDeclarations();
        properties.SetOnGetIndexAndDeclarationByName(
            [this, &declared](const std::string& wanted,
                              TKovIntrinsicPropertyDeclaration*& declaration) {
                const int index = declared.GetIndexAndDeclarationFor(wanted, declaration);
                if (index >= 0)
                    return index;
                const int setting = IndexOfSetting(wanted);
                if (setting < 0)
                    return -1;
                declaration = FDeclarationsGarbageCollect[setting].get();
                return declared.Count() + setting;
            });
    }
    int index = IndexOfSetting(name);
    if (index >= 0) {
        TKovIntrinsicProperty& existing = Setting(index);
        if (&existing.ClassType() == &kind)
            return existing;
        properties.Remove(&existing);
        FDeclarationsGarbageCollect.erase(FDeclarationsGarbageCollect.begin() + index);
    } else {
        index = SettingsCount();
    }
    auto declaration = MakeDeclaration(name, kind);
    std::unique_ptr<TKovIntrinsicProperty> property(declaration->CreateInstanceOfProperty(this));
    TKovIntrinsicProperty& made = *property;
    properties.Insert(FirstSettingIndex() + index, std::move(property));
    FDeclarationsGarbageCollect.insert(FDeclarationsGarbageCollect.begin() + index,
                                       std::move(declaration));
    return made;
}

bool TKovSettings::RemoveSetting(const std::string& key) {
    const int index = IndexOfSetting(key);
    if (index < 0)
        return false;
    IntrinsicProperties().Remove(&Setting(index));
    FDeclarationsGarbageCollect.erase(FDeclarationsGarbageCollect.begin() + index);
    NotifyObservers();
    return true;
}

void TKovSettings::ClearSettings() {
    if (FDeclarationsGarbageCollect.empty())
        return;
    auto& properties = IntrinsicProperties();
    for (int i = SettingsCount() - 1; i >= 0; --i)
        properties.Remove(properties[FirstSettingIndex() + i]);
    FDeclarationsGarbageCollect.clear();
}

// A setting made anew is a change even when its value equals the kind's default: observers hear
// of it once, at the end of the update.
template <typename P, typename V> void TKovSettings::Write(const std::string& key, const V& value) {
    TUpdateBracket<TKovObservableObject> update(*this);
    const bool existed = Find<P>(key) != nullptr;
    static_cast<P&>(Ensure(key, P::StaticClass())).SetValue(value);
    if (!existed)
        NotifyObservers();
    update.Close();
}

void TKovSettings::SetString(const std::string& key, const std::string& value) {
    Write<TIPFreeText>(key, value);
}
void TKovSettings::SetInteger(const std::string& key, int32_t value) {
    Write<TIPInteger>(key, value);
}
void TKovSettings::SetDouble(const std::string& key, double value) {
    Write<TIPDouble>(key, value);
}
void TKovSettings::SetBoolean(const std::string& key, bool value) {
    Write<TIPBoolean>(key, value);
}
void TKovSettings::SetBLOB(const std::string& key, const std::vector<uint8_t>& value) {
    Write<TIPBlob>(key, value);
}
void TKovSettings::SetGraphic(const std::string& key, const std::vector<uint8_t>& value) {
    // Checked before anything changes: a picture that can't be read is refused whole.
    TIPImage probe(nullptr, nullptr);
    probe.SetValue(value);
    probe.GetNewGraphic();
    Write<TIPImage>(key, value);
}

std::string TKovSettings::GetString(const std::string& key, const std::string& defaultValue) const {
    const auto* p = Find<TIPFreeText>(key);
    return p ? p->Value() : defaultValue;
}
int32_t TKovSettings::GetInteger(const std::string& key, int32_t defaultValue) const {
    const auto* p = Find<TIPInteger>(key);
    return p ? p->Value() : defaultValue;
}
double TKovSettings::GetDouble(const std::string& key, double defaultValue) const {
    const auto* p = Find<TIPDouble>(key);
    return p ? p->Value() : defaultValue;
}
bool TKovSettings::GetBoolean(const std::string& key, bool defaultValue) const {
    const auto* p = Find<TIPBoolean>(key);
    return p ? p->Value() : defaultValue;
}
std::vector<uint8_t> TKovSettings::GetNewBlob(const std::string& key) const {
    const auto* p = Find<TIPBlob>(key);
    return p ? p->Value() : std::vector<uint8_t>();
}
std::vector<uint8_t> TKovSettings::GetNewGraphic(const std::string& key) const {
    const auto* p = Find<TIPImage>(key);
    return p ? p->Value() : std::vector<uint8_t>();
}

TKovSettings::TSettingValue TKovSettings::GetSettingValue(const std::string& key) const {
    TSettingValue value;
    if (const TKovIntrinsicProperty* property = FindSetting(key)) {
        value.Kind = &property->ClassType();
        property->SaveValue(value.Value);
    }
    return value;
}

void TKovSettings::SetSettingValue(const std::string& key, const TSettingValue& value) {
    if (!value.Kind) {
        RemoveSetting(key);
        return;
    }
    TUpdateBracket<TKovObservableObject> update(*this);
    Ensure(key, *value.Kind).LoadValue(value.Value);
    NotifyObservers();
    update.Close();
}

void TKovSettings::CopyIntrinsicPropertiesFrom(const TKovSettings& source) {
    if (&source == this)
        return;
    TUpdateBracket<TKovObservableObject> update(*this);
    ClearSettings();
    for (int i = 0; i < source.SettingsCount(); ++i) {
        const TKovIntrinsicProperty& from = source.Setting(i);
        Ensure(from.Declaration()->OriginalName(), from.ClassType())
            .AssignEssentialStateOnly_NoRevert(from);
    }
    NotifyObservers();
    update.Close();
}

// ---------------------------------------------------------------------------------------------
// TKovSettingsWithDefault

TW_KOV_CLASS_IMPL(TKovSettingsWithDefault, TKovSettings, nullptr)

TKovSettingsWithDefault::TKovSettingsWithDefault(TKovObjectManager* manager)
    : TKovSettings(manager) {}

TKovSettingsWithDefault::~TKovSettingsWithDefault() {
    if (!FAutoSaveOnDestroy || FCachedFileName.empty())
        return;
    try {
        TKovSettingsWithDefault::SaveToFile(FCachedFileName);
        if (!FLastError.empty())
            LogError(FLastError);
    } catch (const std::exception& e) {
        LogError(e.what());
    }
}

std::string TKovSettingsWithDefault::GetDefaultSettingsFilename(const std::string& name) {
    return Format("%s.settings.xml", name);
}

std::string TKovSettingsWithDefault::MakeDefaultSettingsFileName() const {
    return (fs::path(SettingsFolder()) / GetDefaultSettingsFilename(DefaultSettingsName()))
        .string();
}

void TKovSettingsWithDefault::SetAttempts(int attempts, std::chrono::milliseconds pause) {
    FAttempts = attempts < 1 ? 1 : attempts;
    FPause = pause;
}

void TKovSettingsWithDefault::Fail(const std::string& message) {
    FLastError = message;
    if (FReportPersistenceErrors)
        throw EKovSettingsException(message);
}

namespace {
std::string ExtensionOf(const std::string& fileName) {
    return fs::path(fileName).extension().string();
}

// Runs `attempt` until it succeeds or `attempts` have failed, `pause` apart; answers the reason
// of the last failure, empty on success.
std::string Retry(int attempts, std::chrono::milliseconds pause,
                  const std::function<void()>& attempt) {
    std::string reason;
    for (int i = 0; i < attempts; ++i) {
        if (i > 0)
            std::this_thread::sleep_for(pause);
        try {
            attempt();
            return {};
        } catch (const std::exception& e) {
            reason = e.what();
        }
    }
    return reason.empty() ? std::string("unknown error") : reason;
}
} // namespace

bool TKovSettingsWithDefault::FindRoute(const std::string& fileName,
                                        const THierarchicStorageClass*& storageClass,
                                        THPObject*& persister) {
    storageClass = THierarchicStorageRegistry::Instance().GetStorageByExtension(fileName);
    if (!storageClass) {
        Fail(Format("Did not find storage class for file type \"%s\"", ExtensionOf(fileName)));
        return false;
    }
    FCachedFileName = fileName;
    persister = THierarchicPersisters::Instance().GetPersisterFor(this);
    if (!persister) {
        Fail(Format("Did not find persister for class \"%s\"", ClassType().Name()));
        return false;
    }
    return true;
}

void TKovSettingsWithDefault::LoadFromFile(const std::string& fileName) {
    FLastError.clear();
    FReadErrors.Clear();
    const THierarchicStorageClass* storageClass = nullptr;
    THPObject* persister = nullptr;
    if (!FindRoute(fileName, storageClass, persister))
        return;
    std::error_code error;
    if (!fs::exists(fileName, error))
        return;
    std::unique_ptr<THierarchicStorage> storage;
    const std::string reason = Retry(FAttempts, FPause, [&] {
        // Another instance may be writing the file: a read that fails is tried again whole.
        storage = storageClass->Create("Settings");
        storage->LoadFromFile(fileName);
    });
    if (!reason.empty())
        return Fail(Format("File \"%s\" is corrupt, %s", fileName, reason));
    try {
        // Reads into a twin and takes its settings over only when the whole read succeeded.
        THPReadErrorList errors;
        THierarchicPersisters::Instance().LoadObject(*this, *storage, &errors);
        FReadErrors = std::move(errors);
    } catch (const std::exception& e) {
        return Fail(Format("File \"%s\" is corrupt, %s", fileName, e.what()));
    }
}

void TKovSettingsWithDefault::SaveToFile(const std::string& fileName) {
    FLastError.clear();
    const THierarchicStorageClass* storageClass = nullptr;
    THPObject* persister = nullptr;
    if (!FindRoute(fileName, storageClass, persister))
        return;
    std::unique_ptr<THierarchicStorage> storage = storageClass->Create("Settings");
    try {
        persister->PersistObjectDirectlyInStorage(*this, *storage);
    } catch (const std::exception& e) {
        return Fail(Format("Cannot write to file \"%s\", %s", fileName, e.what()));
    }
    // The storage writes a temporary file beside the target and renames it into place.
    const std::string reason =
        Retry(FAttempts, FPause, [&] { storage->SaveToFile(fileName, true); });
    if (!reason.empty())
        return Fail(Format("Cannot write to file \"%s\", %s", fileName, reason));
}

void TKovSettingsWithDefault::LoadFromCachedFileName() {
    if (FCachedFileName.empty())
        throw EKovSettingsException(
            Format("Cannot load %s from cached file name because it hasn't been cached yet",
                   GetObjectTypeName()));
    LoadFromFile(FCachedFileName);
}

void TKovSettingsWithDefault::SaveToCachedFileName() {
    if (FCachedFileName.empty())
        throw EKovSettingsException(
            Format("Cannot persist %s to cached file name because it hasn't been cached yet",
                   GetObjectTypeName()));
    SaveToFile(FCachedFileName);
}

// ---------------------------------------------------------------------------------------------
// TKovSettingsWithUIMappings

namespace {
template <typename V> V ReadSetting(const TKovSettings& settings, const std::string& key, V def) {
    if constexpr (std::is_same_v<V, bool>)
        return settings.GetBoolean(key, def);
    else if constexpr (std::is_same_v<V, int32_t>)
        return settings.GetInteger(key, def);
    else if constexpr (std::is_same_v<V, double>)
        return settings.GetDouble(key, def);
    else
        return settings.GetString(key, def);
}

template <typename V> void StoreSetting(TKovSettings& settings, const std::string& key, V value) {
    if constexpr (std::is_same_v<V, bool>)
        settings.SetBoolean(key, value);
    else if constexpr (std::is_same_v<V, int32_t>)
        settings.SetInteger(key, value);
    else if constexpr (std::is_same_v<V, double>)
        settings.SetDouble(key, value);
    else
        settings.SetString(key, value);
}
} // namespace

template <typename V>
void TSettingMappingOf<V>::SettingToGUI(const TKovSettings& settings,
                                        const std::string& key) const {
    if (FSettingToGUI)
        FSettingToGUI(ReadSetting<V>(settings, key, FDefault));
}

template <typename V>
void TSettingMappingOf<V>::GUIToSetting(TKovSettings& settings, const std::string& key) const {
    if (FGUIFromSetting)
        StoreSetting<V>(settings, key, FGUIFromSetting());
}

template class TSettingMappingOf<bool>;
template class TSettingMappingOf<int32_t>;
template class TSettingMappingOf<double>;
template class TSettingMappingOf<std::string>;

TW_KOV_CLASS_IMPL(TKovSettingsWithUIMappings, TKovSettingsWithDefault, nullptr)

TKovSettingsWithUIMappings::TKovSettingsWithUIMappings(TKovObjectManager* manager)
    : TKovSettingsWithDefault(manager) {}

TKovSettingsWithUIMappings::~TKovSettingsWithUIMappings() = default;

void TKovSettingsWithUIMappings::Add(const std::string& key,
                                     std::unique_ptr<TSettingMapping> mapping) {
    for (auto& [mapped, existing] : FMappings)
        if (CleanName(mapped) == CleanName(key)) {
            existing = std::move(mapping);
            return;
        }
    FMappings.emplace_back(key, std::move(mapping));
}

void TKovSettingsWithUIMappings::Add(const std::string& key, bool defaultValue,
                                     TSettingMappingBoolean::TSettingToGUI toGUI,
                                     TSettingMappingBoolean::TGUIFromSetting fromGUI) {
    Add(key, std::make_unique<TSettingMappingBoolean>(defaultValue, std::move(toGUI),
                                                      std::move(fromGUI)));
}

void TKovSettingsWithUIMappings::Add(const std::string& key, int32_t defaultValue,
                                     TSettingMappingInteger::TSettingToGUI toGUI,
                                     TSettingMappingInteger::TGUIFromSetting fromGUI) {
    Add(key, std::make_unique<TSettingMappingInteger>(defaultValue, std::move(toGUI),
                                                      std::move(fromGUI)));
}

void TKovSettingsWithUIMappings::Add(const std::string& key, double defaultValue,
                                     TSettingMappingDouble::TSettingToGUI toGUI,
                                     TSettingMappingDouble::TGUIFromSetting fromGUI) {
    Add(key, std::make_unique<TSettingMappingDouble>(defaultValue, std::move(toGUI),
                                                     std::move(fromGUI)));
}

void TKovSettingsWithUIMappings::Add(const std::string& key, const std::string& defaultValue,
                                     TSettingMappingString::TSettingToGUI toGUI,
                                     TSettingMappingString::TGUIFromSetting fromGUI) {
    Add(key, std::make_unique<TSettingMappingString>(defaultValue, std::move(toGUI),
                                                     std::move(fromGUI)));
}

void TKovSettingsWithUIMappings::SettingToGUI() const {
    for (const auto& [key, mapping] : FMappings)
        mapping->SettingToGUI(*this, key);
}

void TKovSettingsWithUIMappings::GUIToSetting() {
    TUpdateBracket<TKovObservableObject> update(*this);
    for (const auto& [key, mapping] : FMappings)
        mapping->GUIToSetting(*this, key);
    update.Close();
}

// ---------------------------------------------------------------------------------------------
// THPKovSettings

const TKovClass& THPKovSettings::SupportedClass() const {
    return TKovSettings::StaticClass();
}

std::string THPKovSettings::GetDefaultStorageName(const TKovObject*) const {
    return "Settings";
}

void THPKovSettings::DoPersistObject(TKovObject& object, THierarchicStorage& storage) {
    // No identity or name: a settings file belongs to a user, not to a model.
    const auto& settings = static_cast<const TKovSettings&>(object);
    for (int i = 0; i < settings.SettingsCount(); ++i) {
        const TKovIntrinsicProperty& setting = settings.Setting(i);
        const TKovClass& kind = setting.ClassType();
        THierarchicStorage& node = storage.AddChild(setting.Declaration()->OriginalName());
        node.SetNamedValue("Type", TypeNameOfKind(kind));
        if (&kind == &TIPBoolean::StaticClass())
            node.SetValueAsBoolean(static_cast<const TIPBoolean&>(setting).Value());
        else if (&kind == &TIPInteger::StaticClass())
            node.SetValueAsInt32(static_cast<const TIPInteger&>(setting).Value());
        else if (&kind == &TIPDouble::StaticClass())
            node.SetValueAsDouble(static_cast<const TIPDouble&>(setting).Value());
        else if (&kind == &TIPFreeText::StaticClass())
            node.SetValueAsString(static_cast<const TIPFreeText&>(setting).Value());
        else {
            const auto& bytes = static_cast<const TIPBlob&>(setting).Value();
            node.SetValueAsBlobBuffer(bytes.data(), bytes.size());
        }
    }
}

void THPKovSettings::DoLoadObject(TKovObject& object, THierarchicStorage& storage,
                                  THPReadErrorList* errors) {
    auto& settings = static_cast<TKovSettings&>(object);
    for (int i = 0; i < storage.ChildCount(); ++i) {
        const THierarchicStorage& node = storage.GetChildByIndex(i);
        const std::string name = node.Name();
        const std::string typeName = node.GetNamedValue("Type");
        const TKovClass* kind = KindOfTypeName(typeName);
        if (!kind || !IsValidName(name)) {
            ReportReadProblem(errors, hresWarning,
                              Format("Skipped setting \"%s\" of type \"%s\"", name, typeName),
                              &object);
            continue;
        }
        TKovSettings::TSettingValue value{kind, {}};
        if (kind == &TIPBoolean::StaticClass())
            value.Value = node.GetValueAsBoolean();
        else if (kind == &TIPInteger::StaticClass())
            value.Value = node.GetValueAsInt32();
        else if (kind == &TIPDouble::StaticClass())
            value.Value = node.GetValueAsDouble();
        else if (kind == &TIPFreeText::StaticClass())
            value.Value = node.GetValueAsString();
        else if (node.ValueType() == svtBlob) {
            const std::vector<uint8_t> bytes = node.GetValueAsBlobBuffer();
            value.Value = std::string(bytes.begin(), bytes.end());
        } else
            value.Value = std::string();
        settings.SetSettingValue(name, value);
    }
}

void THPKovSettings::DoCommitLoadedObject(TKovObject& target, TKovObject& loaded) {
    static_cast<TKovSettings&>(target).CopyIntrinsicPropertiesFrom(
        static_cast<const TKovSettings&>(loaded));
}

void RegisterSettingsPersister() {
    static std::once_flag once;
    std::call_once(once, [] {
        THierarchicPersisters::Instance().RegisterPersister(std::make_unique<THPKovSettings>());
    });
}

// ---------------------------------------------------------------------------------------------
// TOrvaneRegistry

namespace {
// The registry file's settings, read now; silent about problems.
std::unique_ptr<TKovSettingsWithDefault> ReadRegistry() {
    auto settings = Make<TKovSettingsWithDefault>();
    settings->LoadFromFile(TOrvaneRegistry::FileName());
    return settings;
}

std::string RegistryKey(const std::string& name, bool perVersion) {
    if (!perVersion)
        return name;
    const TApplicationVersion version = TApplicationVersion::Running();
    return Format("V%d_%d_%s", version.Major, version.Minor, name);
}
} // namespace

std::string TOrvaneRegistry::FileName() {
    return (fs::path(SettingsFolder()) / "registry.settings.xml").string();
}

bool TOrvaneRegistry::GetBooleanSetting(const std::string& name, bool defaultValue,
                                        bool perVersion) {
    return ReadRegistry()->GetBoolean(RegistryKey(name, perVersion), defaultValue);
}

void TOrvaneRegistry::SetBooleanSetting(const std::string& name, bool value, bool perVersion) {
    auto settings = ReadRegistry();
    settings->SetBoolean(RegistryKey(name, perVersion), value);
    settings->SaveToFile(FileName());
}

std::string TOrvaneRegistry::GetString(const std::string& key, const std::string& defaultValue) {
    return ReadRegistry()->GetString(key, defaultValue);
}

bool TOrvaneRegistry::IsNewsFeedEnabled() {
    return GetBooleanSetting("IsNewsFeedEnabled", false);
}
void TOrvaneRegistry::SetIsNewsFeedEnabled(bool enabled) {
    SetBooleanSetting("IsNewsFeedEnabled", enabled);
}
bool TOrvaneRegistry::IsAutocompleteEnabled() {
    return GetBooleanSetting("IsAutocompleteEnabled", true);
}
void TOrvaneRegistry::SetIsAutocompleteEnabled(bool enabled) {
    SetBooleanSetting("IsAutocompleteEnabled", enabled);
}

// The keys under "Install" stand in the flat file as "Install_<name>".
std::string TOrvaneRegistry::GetProductName() {
    return GetString("Install_ProductName", "Tarnwick");
}
std::string TOrvaneRegistry::GetDisplayedProductName() {
    const std::string displayed = GetString("DisplayProductName", "");
    return displayed.empty() ? GetProductName() : displayed;
}
std::string TOrvaneRegistry::GetOrvaneProductInstallDir() {
    const std::string folder = GetString("Install_InstallDir", "");
    return folder.empty() ? ApplicationDirectory() : folder;
}

} // namespace tw
