#pragma once
// The main window (TFrmMain): the eight test pages in their order, the material panel, the menus
// and actions with their captions, hints and shortcuts, the title with the host's text and the
// material, the kernel choice, the suction and thermal options of the selected test, undo and
// redo, and the progress window of runs. Every change it makes goes through the command language.

#include "gui/GuiCommands.h"
#include "labtest/OAQBAdvancedOption.h"
#include "storage/HPReadErrors.h"

#include <QMainWindow>

#include <functional>
#include <memory>
#include <string>
#include <vector>

class QAction;
class QActionGroup;
class QDockWidget;
class QTabWidget;

namespace tw {

class TConfigurationStore;
class TTarnwickSettings;
class TCommandLineFrame;
class TMaterialPanel;
class TTestPage;

class TMainWindow : public QMainWindow {
    Q_OBJECT
public:
    // The pages' captions, in order, with the test type of each.
    static const std::vector<std::pair<const char*, TQBTestType>>& PageOrder();

    // A window on `project`, which must outlive it. `hostText` is the host's name and version
    // from the command line (may be empty).
    TMainWindow(TQBProject& project, const std::string& hostText = {}, QWidget* parent = nullptr);
    ~TMainWindow() override;

    TQBProject& Project() const { return FProject; }
    TGuiCommands& Commands() const { return *FCommands; }
    TMaterialPanel& MaterialPanel() const { return *FMaterialPanel; }
    TCommandLineFrame& CommandLine() const { return *FCommandLine; }
    int PageCount() const { return static_cast<int>(FPages.size()); }
    TTestPage& Page(int index) const { return *FPages.at(index); }
    TTestPage& CurrentPage() const;
    void SelectPage(int index);
    QTabWidget& Pages() const { return *FTabs; }
    // The action of an internal name ("actOpen", "actTERun", "mnuUse2D", ...), or nullptr.
    QAction* Action(const QString& name) const;
    TQBAdvancedOption& SuctionOption() const { return *FSuction; }
    // nullptr unless the project runs the 2D kernel's tests (thermal exists there only).
    TQBAdvancedOption* ThermalOption() const { return FThermal.get(); }

    // The title: "%s - %s" of the base and the material's identification.
    std::string Caption() const;

    // actTERun on the selected page.
    bool RunSelectedTest();
    // Enables "Use 2D" and "Use 3D" by the kernels in the program's folder; when the kernel of
    // the chosen method is missing, tells so ("Kernel file is missing and tests can not be
    // performed: %s") and the window can't run. Answers whether the chosen kernel is there.
    bool CheckKernels();
    // actOpen without its dialog: reads test files into the loaded tests, each file on its own;
    // a file that can't be read is reported ("Unexpected data format while loading file %s.")
    // and the next goes on. What didn't stop a read is listed after, most severe first. Answers
    // how many tests were loaded.
    int OpenFiles(const std::vector<std::string>& fileNames);
    // actSave on the selected page: refuses a test without results ("There is no testdata to
    // save.") before any dialog, asks when the results may be out of step with the material,
    // asks for the file and saves through the save command. Answers whether a file was written.
    bool SaveSelectedTest();
    // The file dialogs of Open and Save: the names chosen (none when cancelled), and the name to
    // save to ("" when cancelled) given a proposal without extension. Tests replace them.
    using TOpenDialog = std::function<std::vector<std::string>()>;
    using TSaveDialog = std::function<std::string(const std::string& proposal)>;
    void SetFileDialogs(TOpenDialog open, TSaveDialog save);
    // The extension of test files, with its leading dot.
    static const char* const TestFileExtension;

    // The user's settings (Tarnwick.settings.xml in the settings folder), read at start and
    // shared with the configuration store.
    TTarnwickSettings& Settings() const { return *FSettings; }
    // The Settings dialog's choice "Show failure envelope for": every page's charts follow it,
    // and it is kept in the user's settings for the next start.
    void SetFailureEnvelopes(TQBAdditionalLines lines);

public slots:
    void UpdateCaption();
    void UpdateOptions();
    void UpdateUndoRedo();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    QString FileFilter() const;
    void ShowReadErrors(THPReadErrorList& errors);
    // Writes a test with its results; a failure is shown and the old file stays.
    bool SaveTest(TQBTestBase& test, const std::string& fileName);
    QAction* MakeAction(const char* name, const char* caption, const char* hint,
                        const QKeySequence& shortcut = {});
    void CreateActions();
    void CreateMenus();
    void SelectKernel(TQBTestMethod method);
    void ToggleOption(TQBAdvancedOption& option);
    void ShowSettings();
    void ShowCommandHistory();
    // The status bar after a run: its row count, or why the kernel stopped early.
    void ShowRunOutcome(bool done);
    void OpenHelpFile(const std::string& relativePath);

    TQBProject& FProject;
    std::string FHostText;
    std::unique_ptr<TGuiCommands> FCommands;
    std::unique_ptr<TTarnwickSettings> FSettings;
    std::unique_ptr<TConfigurationStore> FConfigurations;
    std::unique_ptr<TQBAdvancedOption> FSuction;
    std::unique_ptr<TQBAdvancedOption> FThermal;
    QTabWidget* FTabs;
    TMaterialPanel* FMaterialPanel;
    QDockWidget* FCommandLineDock = nullptr;
    TCommandLineFrame* FCommandLine = nullptr;
    std::vector<TTestPage*> FPages;
    std::vector<QAction*> FActions;
    QActionGroup* FKernelGroup = nullptr;
    TOpenDialog FOpenDialog;
    TSaveDialog FSaveDialog;
    bool FCanRun = true;
    TObserver FMaterialObserver;
    TObserver FCommandObserver;
    TObserver FTestObserver;
};

} // namespace tw
