#include "labtest/TestConfigurationSelector.h"

#include "labtest/QBExtendedFile.h"
#include "labtest/QBPersisters.h"
#include "services/Format.h"
#include "services/Localisation.h"
#include "services/RuntimeSettings.h"
#include "services/Strings.h"
#include "services/UserMessages.h"
#include "storage/HierarchicPersisters.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

namespace tw {

namespace fs = std::filesystem;

namespace {
constexpr const char* XmlExtension = ".tws.kovml";
constexpr const char* LegacyExtension = ".qbs";
constexpr const char* IndexName = "defaults.xml";

// Whether `text` ends with `suffix`, without regard to case.
bool EndsText(std::string_view suffix, std::string_view text) {
    return text.size() >= suffix.size() &&
           SameText(text.substr(text.size() - suffix.size()), suffix);
}

bool IsLegacy(const std::string& fileName) {
    return EndsText(LegacyExtension, fileName);
}

// The configuration files of a folder, sorted by name; none for a folder that isn't there.
std::vector<std::string> FilesIn(const std::string& folder) {
    std::vector<std::string> files;
    std::error_code error;
    if (folder.empty() || !fs::is_directory(folder, error))
        return files;
    for (const auto& entry : fs::directory_iterator(folder, error)) {
        const std::string name = entry.path().filename().string();
        if (entry.is_regular_file(error) &&
            (EndsText(XmlExtension, name) || EndsText(LegacyExtension, name)))
            files.push_back(entry.path().string());
    }
    std::sort(files.begin(), files.end());
    return files;
}
} // namespace

// ---------------------------------------------------------------------------------------------
// TConfigurationStore

TConfigurationStore::TConfigurationStore(std::string root, std::string templates,
                                         TTarnwickSettings* settings)
    : FRoot(root.empty() ? DefaultRoot() : root), FTemplates(std::move(templates)),
      FSettings(settings) {
    if (!FSettings) {
        FOwnedSettings = TTarnwickSettings::Open(
            root.empty()
                ? std::string()
                : (fs::path(FRoot) / TTarnwickSettings::GetDefaultSettingsFilename("Tarnwick"))
                      .string());
        FSettings = FOwnedSettings.get();
    }
    TakeOverOldIndex();
}

std::string TConfigurationStore::DefaultRoot() {
    const char* data = std::getenv("XDG_DATA_HOME");
    if (data && *data)
        return (fs::path(data) / "tarnwick" / "configurations").string();
    const char* home = std::getenv("HOME");
    return (fs::path(home && *home ? home : ".") / ".local" / "share" / "tarnwick" /
            "configurations")
        .string();
}

std::string TConfigurationStore::Extension() {
    return TRuntimeSettings::Get("USE_LEGACY_MATERIALS") ? LegacyExtension : XmlExtension;
}

std::string TConfigurationStore::FolderOf(TQBTestType type) const {
    return (fs::path(FRoot) / TestClassTypeName(type)).string();
}

std::string TConfigurationStore::TemplateFolderOf(TQBTestType type) const {
    return FTemplates.empty() ? std::string()
                              : (fs::path(FTemplates) / TestClassTypeName(type)).string();
}

std::string TConfigurationStore::FileNameFor(TQBTestType type, const std::string& name) const {
    return (fs::path(FolderOf(type)) / (name + Extension())).string();
}

std::string TConfigurationStore::NameOf(const std::string& fileName) {
    std::string name = fs::path(fileName).filename().string();
    for (const char* extension : {XmlExtension, LegacyExtension})
        if (EndsText(extension, name))
            return name.substr(0, name.size() - std::string(extension).size());
    return name;
}

std::vector<std::string> TConfigurationStore::Configurations(TQBTestType type) const {
    return FilesIn(FolderOf(type));
}

std::vector<std::string> TConfigurationStore::Templates(TQBTestType type) const {
    return FilesIn(TemplateFolderOf(type));
}

std::string TConfigurationStore::IndexFileName() const {
    return (fs::path(FRoot) / IndexName).string();
}

namespace {
// Saves the settings, raising a failure or not whatever the settings' own choice is, which
// stays as it was.
void SaveSettings(TTarnwickSettings& settings, bool report) {
    const bool before = settings.ReportPersistenceErrors();
    settings.SetReportPersistenceErrors(report);
    try {
        settings.Save();
    } catch (...) {
        settings.SetReportPersistenceErrors(before);
        throw;
    }
    settings.SetReportPersistenceErrors(before);
}
} // namespace

void TConfigurationStore::TakeOverOldIndex() {
    std::error_code error;
    if (!fs::exists(IndexFileName(), error))
        return;
    try {
        auto index = LoadStorageFromFile(IndexFileName());
        for (int i = 0; i < QBTestTypeCount; ++i) {
            const auto type = static_cast<TQBTestType>(i);
            const THierarchicStorage* node = index->GetChildByName(TestClassTypeName(type));
            if (node && !FSettings->HasDefaultsFileName(type))
                FSettings->SetDefaultsFileName(type, node->GetValueAsString());
        }
    } catch (const EKovException&) {
        // An index that can't be read names no defaults; it goes all the same.
    }
    SaveSettings(*FSettings, false);
    if (FSettings->LastError().empty())
        fs::remove(IndexFileName(), error);
}

std::string TConfigurationStore::GetDefaultsFileName(TQBTestType type) const {
    const std::string fileName = FSettings->GetDefaultsFileName(type);
    std::error_code error;
    return !fileName.empty() && fs::is_regular_file(fileName, error) ? fileName : std::string();
}

void TConfigurationStore::SetDefaultsFileName(TQBTestType type, const std::string& fileName) {
    FSettings->SetDefaultsFileName(type, fileName);
    SaveSettings(*FSettings, true);
}

void TConfigurationStore::Write(const TQBTestBase& test, const std::string& fileName,
                                const TSystemOfUnits& units) const {
    fs::create_directories(fs::path(fileName).parent_path());
    if (IsLegacy(fileName)) {
        TQBSFile file(&units, fileName);
        file.SetDisplayErrorBox(false);
        file.WriteTest(test);
        file.Close();
        return;
    }
    RegisterTarnwickPersistence();
    // The setup only: a clone without results, and without the material it runs on.
    std::unique_ptr<TQBTestBase> setup = test.Clone();
    setup->SetName(test.Name());
    setup->SetOwnedMaterial(nullptr);
    setup->SetOnGetMaterial(nullptr);
    setup->Results().ClearRows();
    THierarchicPersisters::Instance().PersistObject(*setup, fileName);
}

std::string InvalidAdvancedOptionsWarning(const std::vector<std::string>& captions) {
    switch (captions.size()) {
    case 1:
        return Format(Translate("This configuration has \"%s\" enabled."), captions[0]);
    case 2:
        return Format(Translate("This configuration has \"%s\" and \"%s\" enabled."), captions[0],
                      captions[1]);
    default:
        throw EQBTestException(
            Format("Unexpected number of invalid advanced options encountered: %d",
                   static_cast<int>(captions.size())));
    }
}

namespace {
// The advanced options `from` has on that `test` can't have: their captions, and they are
// switched off in `from`.
std::vector<std::string> DropInvalidOptions(TQBTestBase& from, const TQBTestBase& test) {
    std::vector<std::string> captions;
    if (from.IsSuctionEnabled() && !test.CanHaveSuctionEnabled()) {
        captions.push_back(Translate("Suction"));
        from.Property(ip::SuctionCondition).SetValue(false);
    }
    if (from.IsThermalEnabled() && !test.CanHaveThermalEnabled()) {
        captions.push_back(Translate("Thermal"));
        from.Property(ip::ThermalCondition).SetValue(false);
    }
    return captions;
}
} // namespace

TConfigurationStore::TLoadReport TConfigurationStore::Read(TQBTestBase& test,
                                                           const std::string& fileName,
                                                           const TSystemOfUnits& units,
                                                           THPReadErrorList* errors) {
    TLoadReport report;
    try {
        if (IsLegacy(fileName)) {
            TQBSFile file(&units, fileName);
            file.SetDisplayErrorBox(false);
            file.LoadTest(test);
            const std::vector<std::string> captions = DropInvalidOptions(test, test);
            if (!captions.empty())
                report.Warning = InvalidAdvancedOptionsWarning(captions);
            return report;
        }
        RegisterTarnwickPersistence();
        std::unique_ptr<TKovObject> object = THierarchicPersisters::Instance().LoadNewObject(
            test.ClassType(), nullptr, fileName, errors);
        auto& loaded = static_cast<TQBTestBase&>(*object);
        const std::vector<std::string> captions = DropInvalidOptions(loaded, test);
        // The test keeps its results and the material it runs on.
        const TQBTestBase::TGetMaterial onGetMaterial = test.OnGetMaterial();
        test.CopyFrom(loaded);
        test.SetOnGetMaterial(onGetMaterial);
        test.DoAfterLoadFromStorage();
        if (!captions.empty())
            report.Warning = InvalidAdvancedOptionsWarning(captions);
    } catch (const EKovException& e) {
        report.Message = Format(Translate("Error reading %s test configuration from file %s."),
                                TestClassTypeName(test.TestType()), fileName) +
                         "\n" + e.what();
        report.Title = "Tarnwick";
    }
    return report;
}

// ---------------------------------------------------------------------------------------------
// Dialogs

bool TSaveConfigurationDialog::CanAccept() const {
    const std::string name = Trim(Name);
    return !name.empty() && name.find('/') == std::string::npos && name != "." && name != "..";
}

TManageConfigurationsDialog::TManageConfigurationsDialog(TConfigurationStore& store,
                                                         TQBTestType type)
    : FStore(store), FType(type), FDefault(store.GetDefaultsFileName(type)) {
    for (const std::string& path : store.Configurations(type))
        FEntries.push_back({fs::path(path).filename().string(), path, path == FDefault});
}

std::string TManageConfigurationsDialog::Title() const {
    return Format(Translate("Manage %s configurations"), TestClassTypeName(FType));
}

void TManageConfigurationsDialog::Delete(int index) {
    const TEntry& entry = FEntries.at(static_cast<size_t>(index));
    if (entry.IsDefault)
        FDefault.clear();
    FDeleted.push_back(entry.Path);
    FEntries.erase(FEntries.begin() + index);
}

void TManageConfigurationsDialog::SetAsDefault(int index) {
    TEntry& chosen = FEntries.at(static_cast<size_t>(index));
    for (TEntry& entry : FEntries)
        entry.IsDefault = false;
    chosen.IsDefault = true;
    FDefault = chosen.Path;
}

bool TManageConfigurationsDialog::Accept() {
    bool all = true;
    for (const std::string& path : FDeleted) {
        std::error_code error;
        if (!fs::remove(path, error) || error) {
            UserMessages().ShowMessage(Format(Translate("Could not delete file '%s'."), path),
                                       Translate("Error"));
            all = false;
        }
    }
    FDeleted.clear();
    if (FDefault != FStore.GetDefaultsFileName(FType))
        FStore.SetDefaultsFileName(FType, FDefault);
    return all;
}

// ---------------------------------------------------------------------------------------------
// TdmTestConfigurationSelector

TdmTestConfigurationSelector::TdmTestConfigurationSelector(TConfigurationStore& store,
                                                           TQBTestBase* owner,
                                                           const TSystemOfUnits& units)
    : FStore(store), FTest(owner), FUnits(units) {
    if (!FTest)
        throw EQBTestException("Unknown configuration onwer");
}

std::vector<TConfigurationMenuItem> TdmTestConfigurationSelector::PopUp() const {
    std::vector<TConfigurationMenuItem> items;
    const std::string defaultFile = FStore.GetDefaultsFileName(FTest->TestType());
    for (const std::string& file : FStore.Configurations(FTest->TestType())) {
        TConfigurationMenuItem item{file, TConfigurationStore::NameOf(file), file == defaultFile,
                                    false};
        if (item.IsDefault)
            item.Caption += Format(" [%s]", Translate("Default"));
        items.push_back(item);
    }
    for (const std::string& file : FStore.Templates(FTest->TestType()))
        items.push_back({file,
                         TConfigurationStore::NameOf(file) + Format(" [%s]", Translate("Template")),
                         false, true});
    return items;
}

TConfigurationStore::TLoadReport
TdmTestConfigurationSelector::SelectConfiguration(const TConfigurationMenuItem& item) {
    TConfigurationStore::TLoadReport report;
    if (LoadThroughCommand) {
        report.FailedAndTold = !LoadThroughCommand(item.FileName);
    } else {
        report = TConfigurationStore::Read(*FTest, item.FileName, FUnits);
    }
    if (report.Loaded()) {
        FActiveConfigurationFileName = item.FileName;
        if (OnConfigurationSelection)
            OnConfigurationSelection(item.FileName);
    }
    return report;
}

bool TdmTestConfigurationSelector::actSaveExecute() {
    const TQBTestType type = FTest->TestType();
    const std::string proposed = ProposeActiveFileName && !FActiveConfigurationFileName.empty()
                                     ? FActiveConfigurationFileName
                                     : FStore.GetDefaultsFileName(type);
    TSaveConfigurationDialog dialog(proposed.empty() ? std::string()
                                                     : TConfigurationStore::NameOf(proposed));
    if (!AskConfigurationName || !AskConfigurationName(dialog) || !dialog.CanAccept())
        return false;
    const std::string fileName = FStore.FileNameFor(type, Trim(dialog.Name));
    std::error_code error;
    if (fs::exists(fileName, error) &&
        !UserMessages().AskQuestion(
            Translate("Name already uses for a saved test configuration, overwrite?"), "Tarnwick"))
        return false;
    try {
        FStore.Write(*FTest, fileName, FUnits);
    } catch (const std::exception&) { // the store's and the file system's
        UserMessages().ShowMessage(
            Translate("Could not write to: ") + fileName +
                Translate(".\nPlease make sure that the file name is correct and that the folder "
                          "exists, and you have write access to it."),
            Translate("Error"));
        return false;
    }
    if (dialog.SaveAsDefault)
        FStore.SetDefaultsFileName(type, fileName);
    FActiveConfigurationFileName = fileName;
    if (OnSaveConfiguration)
        OnSaveConfiguration(fileName);
    return true;
}

void TdmTestConfigurationSelector::actManageExecute() {
    TManageConfigurationsDialog dialog(FStore, FTest->TestType());
    if (ShowManageDialog && ShowManageDialog(dialog))
        dialog.Accept();
}

} // namespace tw
