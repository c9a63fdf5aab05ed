#pragma once
// The main window (TFrmMain): the eight test pages in their order, the material panel, the menus
// and actions with their captions, hints and shortcuts, the title with the host's text and the
// material, the kernel choice, the suction and thermal options of the selected test, undo and
// redo, and the progress window of runs. Every change it makes goes through the command language.

#include "gui/AdvancedOptions.h"
#include "gui/GuiCommands.h"

#include <QMainWindow>

#include <functional>
#include <memory>
#include <string>
#include <vector>

class QAction;
class QActionGroup;
class QTabWidget;

namespace tw {

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
    // How Open and Save carry out their work; set by the program once the files are wired.
    using TOpenFiles = std::function<void(const std::vector<std::string>& fileNames)>;
    using TSaveTest = std::function<void(TQBTestBase& test)>;
    void SetOpenHandler(TOpenFiles handler);
    void SetSaveHandler(TSaveTest handler);

public slots:
    void UpdateCaption();
    void UpdateOptions();
    void UpdateUndoRedo();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    QAction* MakeAction(const char* name, const char* caption, const char* hint,
                        const QKeySequence& shortcut = {});
    void CreateActions();
    void CreateMenus();
    void SelectKernel(TQBTestMethod method);
    void ToggleOption(TQBAdvancedOption& option);
    void ShowSettings();
    void ShowCommandHistory();
    void OpenHelpFile(const std::string& relativePath);

    TQBProject& FProject;
    std::string FHostText;
    std::unique_ptr<TGuiCommands> FCommands;
    std::unique_ptr<TQBAdvancedOption> FSuction;
    std::unique_ptr<TQBAdvancedOption> FThermal;
    QTabWidget* FTabs;
    TMaterialPanel* FMaterialPanel;
    std::vector<TTestPage*> FPages;
    std::vector<QAction*> FActions;
    QActionGroup* FKernelGroup = nullptr;
    TOpenFiles FOpenFiles;
    TSaveTest FSaveTest;
    bool FCanRun = true;
    TObserver FMaterialObserver;
    TObserver FCommandObserver;
    TObserver FTestObserver;
};

} // namespace tw
