#pragma once
// Saved test configurations: a test's setup (its properties, phases, cyclic phases and chart
// settings, no results) kept under a name and loaded again into the test of its type.
//
// TConfigurationStore keeps them in a folder per test type under its root, by default
// $XDG_DATA_HOME/tarnwick/configurations (else ~/.local/share/tarnwick/configurations), one file
// "<name>.tws.kovml" each (".qbs", the legacy text form, with USE_LEGACY_MATERIALS on). The
// default configuration of each type is kept in the lab's settings (TTarnwickSettings): those the
// store is given (the window's), else its own, read from the user's settings file for the default
// root and from "Tarnwick.settings.xml" at any other root, so a store of a folder of its own
// never touches the user's defaults. The index "defaults.xml" that older versions kept at the
// root is taken over into the settings once and then removed. A store may name a folder of
// templates as well, shipped configurations that show but are never changed.
//
// The rest is the logic of the window's selector and dialogs, as plain classes that a window
// drives: the selector's pop-up menu and its Save and Manage actions, the save dialog and the
// manage dialog. Messages and questions reach the user through UserMessages(); the selector asks
// for a name through a function the window gives it.

#include "labtest/QBTestBase.h"
#include "labtest/TarnwickSettings.h"
#include "storage/HPReadErrors.h"
#include "units/SystemOfUnits.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tw {

class TConfigurationStore {
public:
    // `root` empty: the default root. `templates` empty: no templates. `settings` (not owned,
    // outliving the store) empty: settings of the store's own, see above.
    explicit TConfigurationStore(std::string root = {}, std::string templates = {},
                                 TTarnwickSettings* settings = nullptr);
    static std::string DefaultRoot();

    const std::string& Root() const { return FRoot; }
    // ".tws.kovml", or ".qbs" with the legacy switch on.
    static std::string Extension();
    // The folder of a type's configurations (made on first save), and its templates' folder.
    std::string FolderOf(TQBTestType type) const;
    std::string TemplateFolderOf(TQBTestType type) const;
    std::string FileNameFor(TQBTestType type, const std::string& name) const;
    // The name of a configuration file: its file name without the extension.
    static std::string NameOf(const std::string& fileName);

    // The saved configurations of a type, then the templates, each sorted by name.
    std::vector<std::string> Configurations(TQBTestType type) const;
    std::vector<std::string> Templates(TQBTestType type) const;

    // The default configuration of a type; empty when none is set or its file is gone.
    std::string GetDefaultsFileName(TQBTestType type) const;
    // Empty clears it. The settings are saved at once; raises EKovSettingsException when they
    // can't be, and the file keeps what it held.
    void SetDefaultsFileName(TQBTestType type, const std::string& fileName);
    TTarnwickSettings& Settings() const { return *FSettings; }

    // Writes the setup of `test` (no results, no material) to `fileName`, by its extension,
    // through a temporary file beside it; `units` are those of the legacy text form.
    void Write(const TQBTestBase& test, const std::string& fileName,
               const TSystemOfUnits& units) const;

    struct TLoadReport {
        // Failed: the message and title to show; the test is as it was.
        std::string Message;
        std::string Title;
        // Loaded with options this test can't have: the warning to show.
        std::string Warning;
        // Failed, and the user was told already (by the command that loaded it).
        bool FailedAndTold = false;
        bool Loaded() const { return Message.empty() && !FailedAndTold; }
    };
    // Loads a configuration into `test` as one undo step; the test keeps its results and the
    // material it runs on. A file of another test type, or one that can't be read, leaves the
    // test as it was. Needs no store: any configuration file can be read.
    static TLoadReport Read(TQBTestBase& test, const std::string& fileName,
                            const TSystemOfUnits& units, THPReadErrorList* errors = nullptr);

private:
    // The index of older versions at the root.
    std::string IndexFileName() const;
    // Takes the defaults of an old index over into the settings (a type the settings have a
    // default for keeps it) and removes the index once the settings are saved; once, when the
    // store is made.
    void TakeOverOldIndex();
    std::string FRoot;
    std::string FTemplates;
    std::unique_ptr<TTarnwickSettings> FOwnedSettings;
    TTarnwickSettings* FSettings;
};

// The warning for advanced options a configuration has on but a test can't have:
// "This configuration has \"%s\" enabled." or "... \"%s\" and \"%s\" enabled." with the captions
// "Suction" and "Thermal". Raises "Unexpected number of invalid advanced options encountered: %d"
// for a count other than one or two.
std::string InvalidAdvancedOptionsWarning(const std::vector<std::string>& captions);

// One entry of the selector's pop-up menu: a configuration file.
struct TConfigurationMenuItem {
    std::string FileName;
    std::string Caption; // the name, then " [Default]" or " [Template]" where that applies
    bool IsDefault = false;
    bool IsTemplate = false;
};

// "Saving test configuration": the name and whether it becomes the default.
class TSaveConfigurationDialog {
public:
    explicit TSaveConfigurationDialog(std::string proposedName = {})
        : Name(std::move(proposedName)) {}
    static std::string Title() { return "Saving test configuration"; }
    static std::string NameLabel() { return "Name of this configuration"; }
    static std::string DefaultLabel() { return "Save as default"; }
    static std::string OkCaption() { return "&OK"; }
    static std::string CancelCaption() { return "&Cancel"; }
    // OK is possible for a name that makes a file name: not empty, no "/" and no ".." alone.
    bool CanAccept() const;

    std::string Name;
    bool SaveAsDefault = false;
};

// "Manage %s configurations": the saved configurations of a type, to delete or to make the
// default. Nothing changes before OK.
class TManageConfigurationsDialog {
public:
    TManageConfigurationsDialog(TConfigurationStore& store, TQBTestType type);
    std::string Title() const;
    static std::string FileNameLabel() { return "Filename"; }
    static std::string PathLabel() { return "Path"; }
    static std::string DeleteCaption() { return "Delete"; }
    static std::string SetAsDefaultCaption() { return "Set as default"; }

    struct TEntry {
        std::string FileName; // without folder
        std::string Path;
        bool IsDefault = false;
    };
    const std::vector<TEntry>& Entries() const { return FEntries; }
    // Takes the entry off the list; its file goes at OK.
    void Delete(int index);
    void SetAsDefault(int index);
    // Deletes the files taken off and stores the default. A file that can't be deleted shows
    // "Could not delete file '%s'." with the title "Error"; answers whether all went.
    bool Accept();

private:
    TConfigurationStore& FStore;
    TQBTestType FType;
    std::vector<TEntry> FEntries;
    std::vector<std::string> FDeleted;
    std::string FDefault;
};

// The selector of a test page: its pop-up menu of configurations, Save and Manage.
class TdmTestConfigurationSelector {
public:
    // Raises "Unknown configuration onwer" without a test.
    TdmTestConfigurationSelector(TConfigurationStore& store, TQBTestBase* owner,
                                 const TSystemOfUnits& units);

    // The menu: "Save", then one item per configuration (see TConfigurationMenuItem).
    static std::string SaveCaption() { return "Save"; }
    std::vector<TConfigurationMenuItem> PopUp() const;
    // A click on an item: loads it into the test and makes it the active one. Answers the
    // report of the load; OnConfigurationSelection hears of a load that succeeded.
    TConfigurationStore::TLoadReport SelectConfiguration(const TConfigurationMenuItem& item);
    // How SelectConfiguration loads a file into the test when set: the window sends the
    // `loadconfiguration` command, which tells the user of its failure or warning itself, and
    // answers whether the test took the file. Unset, the store reads it and the report says.
    std::function<bool(const std::string& fileName)> LoadThroughCommand;

    // Save: asks the name (the active file's, or the default's, proposed), asks before an
    // existing file is overwritten, writes, and makes it the default when asked. Answers whether
    // it wrote.
    bool actSaveExecute();
    // Manage: the dialog, through the window's function; its OK is the dialog's Accept.
    void actManageExecute();

    const std::string& ActiveConfigurationFileName() const { return FActiveConfigurationFileName; }
    // Whether the frame lets the active file's name be proposed when saving.
    bool ProposeActiveFileName = true;

    // Set by the window: shows the save dialog and answers false for Cancel.
    std::function<bool(TSaveConfigurationDialog&)> AskConfigurationName;
    // Set by the window: shows the manage dialog and answers true for OK.
    std::function<bool(TManageConfigurationsDialog&)> ShowManageDialog;
    std::function<void(const std::string& fileName)> OnConfigurationSelection;
    std::function<void(const std::string& fileName)> OnSaveConfiguration;

private:
    TConfigurationStore& FStore;
    TQBTestBase* FTest;
    const TSystemOfUnits& FUnits;
    std::string FActiveConfigurationFileName;
};

} // namespace tw
