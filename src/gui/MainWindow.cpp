#include "gui/MainWindow.h"

#include "gui/CommandLineFrame.h"
#include "gui/MaterialPanel.h"
#include "gui/ProgressWindow.h"
#include "gui/QtText.h"
#include "gui/TestPage.h"
#include "labtest/QBTestFileHandler.h"
#include "labtest/TarnwickSettings.h"
#include "labtest/TestConfigurationSelector.h"
#include "objects/ObjectManager.h"
#include "services/Format.h"
#include "services/Localisation.h"
#include "services/RuntimeSettings.h"
#include "services/UserMessages.h"
#include "storage/Settings.h"

#include <QActionGroup>
#include <QCloseEvent>
#include <QComboBox>
#include <QDesktopServices>
#include <QDialog>
#include <QDialogButtonBox>
#include <QDockWidget>
#include <QFileDialog>
#include <QFormLayout>
#include <QLabel>
#include <QMenuBar>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QStatusBar>
#include <QTabWidget>
#include <QToolBar>
#include <QUrl>
#include <QVBoxLayout>

#include <filesystem>

namespace tw {

namespace {

// The build shown with DISPLAY_BUILD_IN_CAPTION.
#ifndef TW_BUILD_NUMBER
#define TW_BUILD_NUMBER 0
#endif

} // namespace

const std::vector<std::pair<const char*, TQBTestType>>& TMainWindow::PageOrder() {
    static const std::vector<std::pair<const char*, TQBTestType>> order{
        {"Triaxial", ttTriaxial},
        {"CycTriaxial", ttCycTriaxial},
        {"Oedometer", ttOedometer},
        {"CRS", ttCRS},
        {"DSS", ttDSS},
        {"CDSS", ttCDSS},
        {"PMT", ttPressuremeter},
        {"General", ttGeneral}};
    return order;
}

TMainWindow::TMainWindow(TQBProject& project, const std::string& hostText, QWidget* parent)
    : QMainWindow(parent), FProject(project), FHostText(hostText),
      FCommands(std::make_unique<TGuiCommands>(project)), FSettings(TTarnwickSettings::Open()),
      FConfigurations(
          std::make_unique<TConfigurationStore>(std::string(), std::string(), FSettings.get())),
      FTabs(new QTabWidget(this)), FMaterialPanel(new TMaterialPanel(*FCommands, this)) {
    // The options read the selected test and are read-only when it can't have the condition;
    // setting one switches every main test that can. Making them is no step to undo.
    auto makeOption = [this](const char* name, void (TQBProject::*set)(bool),
                             bool (TQBTestBase::*isOn)() const,
                             bool (TQBTestBase::*canHave)() const) {
        TKovObjectManager* manager = FProject.ObjectManager();
        TRevertLock lock(manager);
        auto option = Make<TQBAdvancedOption>(manager);
        option->SetName(name);
        auto selected = [this]() -> TQBTestBase* {
            return FPages.empty() ? nullptr : CurrentPage().Test();
        };
        option->SetFunctions([this, set](bool value) { (FProject.*set)(value); },
                             [selected, isOn] {
                                 const TQBTestBase* test = selected();
                                 return test && (test->*isOn)();
                             },
                             [selected, canHave] {
                                 const TQBTestBase* test = selected();
                                 return !test || !(test->*canHave)();
                             });
        return option;
    };
    FSuction = makeOption("Suction", &TQBProject::SetIsSuctionEnabled,
                          &TQBTestBase::IsSuctionEnabled, &TQBTestBase::CanHaveSuctionEnabled);
    if (project.TestMethod() == tm2D)
        FThermal = makeOption("Thermal", &TQBProject::SetIsThermalEnabled,
                              &TQBTestBase::IsThermalEnabled, &TQBTestBase::CanHaveThermalEnabled);

    for (const auto& [caption, type] : PageOrder()) {
        auto* page = new TTestPage(*FCommands, type, *FConfigurations, FTabs);
        connect(page, &TTestPage::RunEnded, this, &TMainWindow::ShowRunOutcome);
        FPages.push_back(page);
        page->ChartsFrame().SetFailureLines(FSettings->Additional());
        FTabs->addTab(page, Tr(caption));
    }
    setCentralWidget(FTabs);
    auto* dock = new QDockWidget(Tr("Material"), this);
    dock->setObjectName("MaterialDock");
    dock->setFeatures(QDockWidget::DockWidgetMovable | QDockWidget::DockWidgetFloatable);
    dock->setWidget(FMaterialPanel);
    addDockWidget(Qt::LeftDockWidgetArea, dock);
    FMaterialPanel->SetMaterial(project.MainMaterialX());
    // The command line below the pages: what the window does by menus, typed.
    FCommandLineDock = new QDockWidget(Tr("Command line"), this);
    FCommandLineDock->setObjectName("CommandLineDock");
    FCommandLine = new TCommandLineFrame(*FCommands, FCommandLineDock);
    FCommandLineDock->setWidget(FCommandLine);
    addDockWidget(Qt::BottomDockWidgetArea, FCommandLineDock);
    resizeDocks({FCommandLineDock}, {140}, Qt::Vertical);

    SetFileDialogs(
        [this] {
            std::vector<std::string> files;
            for (const QString& name : QFileDialog::getOpenFileNames(
                     this, Tr("Open existing lab results"), QString(), FileFilter()))
                files.push_back(FromQ(name));
            return files;
        },
        [this](const std::string& proposal) {
            return FromQ(QFileDialog::getSaveFileName(this, Tr("Save current test results"),
                                                      ToQ(proposal), FileFilter()));
        });
    CreateActions();
    CreateMenus();
    connect(FTabs, &QTabWidget::currentChanged, this, [this] {
        UpdateOptions();
        UpdateUndoRedo();
    });

    FMaterialObserver.SetOnNotify([this](TNotifySender) { UpdateCaption(); });
    if (ITestMaterial* material = project.MainMaterial())
        material->MaterialObservable().AttachObserver(&FMaterialObserver);
    FCommandObserver.SetOnNotify([this](TNotifySender) {
        UpdateOptions();
        UpdateUndoRedo();
    });
    FCommands->Observable().AttachObserver(&FCommandObserver);
    FTestObserver.SetOnNotify([this](TNotifySender) { UpdateOptions(); });
    for (TTestPage* page : FPages)
        if (TQBTestBase* test = page->Test())
            test->AttachObserver(&FTestObserver);
    if (TKovObjectManager* manager = project.ObjectManager())
        manager->SetOnRevertStackChange([this] { UpdateUndoRedo(); });
    TTaskProgressWindow::Install(this);

    SelectPage(0);
    CheckKernels();
    UpdateCaption();
    UpdateOptions();
    UpdateUndoRedo();
    resize(1800, 1000);
}

TMainWindow::~TMainWindow() {
    TTaskProgressWindow::Uninstall();
    if (TKovObjectManager* manager = FProject.ObjectManager())
        manager->SetOnRevertStackChange(nullptr);
    FCommandObserver.DetachFromAll();
    FTestObserver.DetachFromAll();
    FMaterialObserver.DetachFromAll();
    // The pages and the panel hold observers of the project and of the commands: they go first.
    delete FTabs;
    delete FMaterialPanel;
    delete FCommandLineDock;
}

TTestPage& TMainWindow::CurrentPage() const {
    const int index = FTabs->currentIndex();
    return *FPages.at(index >= 0 ? index : 0);
}

void TMainWindow::SelectPage(int index) {
    FTabs->setCurrentIndex(index);
}

QAction* TMainWindow::MakeAction(const char* name, const char* caption, const char* hint,
                                 const QKeySequence& shortcut) {
    auto* action = new QAction(Tr(caption), this);
    action->setObjectName(name);
    if (*hint) {
        action->setToolTip(Tr(hint));
        action->setStatusTip(Tr(hint));
    }
    if (!shortcut.isEmpty())
        action->setShortcut(shortcut);
    FActions.push_back(action);
    return action;
}

QAction* TMainWindow::Action(const QString& name) const {
    for (QAction* action : FActions)
        if (action->objectName() == name)
            return action;
    return nullptr;
}

void TMainWindow::CreateActions() {
    QAction* open = MakeAction("actOpen", "Open", "Open file", QKeySequence::Open);
    connect(open, &QAction::triggered, this, [this] {
        const std::vector<std::string> files = FOpenDialog();
        if (!files.empty())
            OpenFiles(files);
    });
    QAction* save = MakeAction("actSave", "Save", "Save to file", QKeySequence::Save);
    connect(save, &QAction::triggered, this, &TMainWindow::SaveSelectedTest);
    QAction* run = MakeAction("actTERun", "Run", "Run test", QKeySequence(Qt::Key_F9));
    connect(run, &QAction::triggered, this, &TMainWindow::RunSelectedTest);
    connect(MakeAction("actResultSettings", "Settings", "Result settings configuration"),
            &QAction::triggered, this, &TMainWindow::ShowSettings);
    struct TPageAction {
        const char* Name;
        const char* Caption;
        const char* Hint;
        TQBTestType Type;
    };
    const TPageAction pageActions[] = {
        {"actTETriaxial", "Triaxial", "Triaxial test parameters", ttTriaxial},
        {"actTECycTriaxial", "Cyclic triaxial", "Cyclic triaxial test parameters", ttCycTriaxial},
        {"actTEOed", "Oedometer (1D)", "Oedometer test parameters", ttOedometer},
        {"actTECRS", "CRS", "CRS test parameters", ttCRS},
        {"actTEDSS", "DSS (Simple Shear)", "DSS test parameters", ttDSS},
        {"actTECDSS", "Cyclic DSS", "Cyclic DSS test parameters", ttCDSS},
        {"actTEPMT", "Pressuremeter", "Pressuremeter test parameters", ttPressuremeter},
        {"actTEGeneral", "General", "General test parameters", ttGeneral},
    };
    for (const TPageAction& page : pageActions) {
        QAction* action = MakeAction(page.Name, page.Caption, page.Hint);
        const TQBTestType type = page.Type;
        connect(action, &QAction::triggered, this, [this, type] {
            for (int i = 0; i < PageCount(); ++i)
                if (FPages[i]->TestType() == type)
                    SelectPage(i);
        });
    }
    connect(MakeAction("actHeAbout", "About...", "Show the about dialog"), &QAction::triggered,
            this, [this] {
                QMessageBox::about(this, Tr("About Tarnwick"),
                                   Tr("Tarnwick: a laboratory for soil models."));
            });
    connect(MakeAction("actExit", "Exit", "Close application"), &QAction::triggered, this,
            &QWidget::close);
    QAction* undo = MakeAction("actUndo", "Undo", "", QKeySequence(Qt::CTRL | Qt::Key_Z));
    connect(undo, &QAction::triggered, this, [this] { FCommands->Undo(); });
    QAction* redo = MakeAction("actRedo", "Redo", "", QKeySequence(Qt::CTRL | Qt::Key_Y));
    connect(redo, &QAction::triggered, this, [this] { FCommands->Redo(); });
    connect(MakeAction("actManuals", "&Manuals", "", QKeySequence(Qt::Key_F1)), &QAction::triggered,
            this, [this] { OpenHelpFile("contents.pdf"); });
    connect(MakeAction("actCommandReference", "&Command reference", ""), &QAction::triggered, this,
            [this] { OpenHelpFile("CommandsAndObjects/index.html"); });
    QAction* suction = MakeAction("actEnableSuction", "Suction", "");
    suction->setCheckable(true);
    connect(suction, &QAction::triggered, this, [this] { ToggleOption(*FSuction); });
    if (FThermal) {
        QAction* thermal = MakeAction("actEnableThermal", "Thermal", "");
        thermal->setCheckable(true);
        connect(thermal, &QAction::triggered, this, [this] { ToggleOption(*FThermal); });
    }
    // The command line's suggestions, on or off for this user from one start to the next; the
    // action is "actDisableAutocomplete" while they are on, "actEnableAutocomplete" while off.
    QAction* autocomplete = MakeAction("actEnableAutocomplete", "Enable autocomplete", "");
    autocomplete->setCheckable(true);
    connect(autocomplete, &QAction::toggled, this, [this, autocomplete](bool on) {
        autocomplete->setObjectName(on ? "actDisableAutocomplete" : "actEnableAutocomplete");
        FCommandLine->SetAutoCompleteEnabled(on);
        if (on != TOrvaneRegistry::IsAutocompleteEnabled())
            TOrvaneRegistry::SetIsAutocompleteEnabled(on);
    });
    autocomplete->setChecked(TOrvaneRegistry::IsAutocompleteEnabled());
    FCommandLine->SetAutoCompleteEnabled(autocomplete->isChecked());
    FKernelGroup = new QActionGroup(this);
    QAction* use2D = MakeAction("mnuUse2D", "Use 2D", "");
    QAction* use3D = MakeAction("mnuUse3D", "Use 3D", "");
    for (QAction* action : {use2D, use3D}) {
        action->setCheckable(true);
        FKernelGroup->addAction(action);
    }
    connect(use2D, &QAction::triggered, this, [this] { SelectKernel(tm2D); });
    connect(use3D, &QAction::triggered, this, [this] { SelectKernel(tm3D); });
    connect(MakeAction("actCommandHistory", "Command history...", "The commands of this session"),
            &QAction::triggered, this, &TMainWindow::ShowCommandHistory);
}

void TMainWindow::CreateMenus() {
    QMenu* file = menuBar()->addMenu(Tr("File"));
    file->addAction(Action("actOpen"));
    file->addAction(Action("actSave"));
    file->addSeparator();
    file->addAction(Action("actExit"));
    QMenu* test = menuBar()->addMenu(Tr("Test"));
    for (const char* name : {"actTETriaxial", "actTECycTriaxial", "actTEOed", "actTECRS",
                             "actTEDSS", "actTECDSS", "actTEPMT", "actTEGeneral"})
        test->addAction(Action(name));
    test->addSeparator();
    test->addAction(Action("actTERun"));
    test->addAction(Action("actUndo"));
    test->addAction(Action("actRedo"));
    menuBar()->addMenu(Tr("Results"))->addAction(Action("actResultSettings"));
    QMenu* kernel = menuBar()->addMenu(Tr("Kernel"));
    kernel->addAction(Action("mnuUse2D"));
    kernel->addAction(Action("mnuUse3D"));
    QMenu* options = menuBar()->addMenu(Tr("Options"));
    options->addAction(Action("actEnableSuction"));
    if (QAction* thermal = Action("actEnableThermal"))
        options->addAction(thermal);
    options->addSeparator();
    QAction* autocomplete = Action("actDisableAutocomplete");
    options->addAction(autocomplete ? autocomplete : Action("actEnableAutocomplete"));
    QMenu* expert = menuBar()->addMenu(Tr("Expert"));
    QAction* commandLine = FCommandLineDock->toggleViewAction();
    commandLine->setObjectName("actCommandLine");
    commandLine->setStatusTip(Tr("Show or hide the command line"));
    FActions.push_back(commandLine);
    expert->addAction(commandLine);
    expert->addAction(Action("actCommandHistory"));
    QMenu* help = menuBar()->addMenu(Tr("Help"));
    help->addAction(Action("actManuals"));
    help->addAction(Action("actCommandReference"));
    help->addSeparator();
    help->addAction(Action("actHeAbout"));

    QToolBar* tools = addToolBar(Tr("Tools"));
    tools->setObjectName("Tools");
    tools->setMovable(false);
    for (const char* name : {"actOpen", "actSave", "actTERun", "actUndo", "actRedo"})
        tools->addAction(Action(name));
    statusBar();
}

std::string TMainWindow::Caption() const {
    std::string base = Translate("ORVANE Tarnwick");
    if (!FHostText.empty())
        base += Format(" [%s]", FHostText + " version");
    std::string title = Format("%s - %s", base, FProject.MainMaterialIdentification());
    if (TRuntimeSettings::Get("DISPLAY_BUILD_IN_CAPTION"))
        title += Format(" - b%d", TW_BUILD_NUMBER);
    return title;
}

void TMainWindow::UpdateCaption() {
    setWindowTitle(ToQ(Caption()));
}

void TMainWindow::UpdateOptions() {
    auto show = [](QAction* action, const TQBAdvancedOption* option) {
        if (!action || !option)
            return;
        action->setChecked(option->Value());
        action->setEnabled(!option->IsReadOnly());
    };
    show(Action("actEnableSuction"), FSuction.get());
    show(Action("actEnableThermal"), FThermal.get());
    Action("actTERun")->setEnabled(FCanRun && CurrentPage().Test() != nullptr);
}

void TMainWindow::UpdateUndoRedo() {
    QAction* undo = Action("actUndo");
    QAction* redo = Action("actRedo");
    if (!undo || !redo)
        return;
    undo->setEnabled(FCommands->CanUndo());
    redo->setEnabled(FCommands->CanRedo());
    undo->setText(FCommands->CanUndo()
                      ? Tr("Undo") + QStringLiteral(" ") + ToQ(FCommands->UndoCaption())
                      : Tr("Undo"));
    redo->setText(FCommands->CanRedo()
                      ? Tr("Redo") + QStringLiteral(" ") + ToQ(FCommands->RedoCaption())
                      : Tr("Redo"));
}

void TMainWindow::ToggleOption(TQBAdvancedOption& option) {
    // The new value is the opposite of the option's state, whatever the menu shows.
    FCommands->Run(
        Format("set %s %s", FCommands->CommandText(option), option.Value() ? "False" : "True"));
    UpdateOptions();
}

bool TMainWindow::RunSelectedTest() {
    if (!FCanRun)
        return false;
    return CurrentPage().RunTest();
}

void TMainWindow::ShowRunOutcome(bool done) {
    UpdateUndoRedo();
    // A kernel that stopped part-way leaves the rows it computed; the status bar says so, with
    // its reason, where a finished run tells its row count.
    const TQBTestBase* test = CurrentPage().Test();
    if (done && test && !FProject.LastKernelMessage().empty())
        statusBar()->showMessage(Tr("The kernel stopped before the end of the test: ") +
                                 ToQ(FProject.LastKernelMessage()).simplified());
    else if (done && test)
        statusBar()->showMessage(ToQ(Format(Translate("Calculated %s: %d result rows"),
                                            test->Name(), test->Results().RowCount())));
    else
        statusBar()->clearMessage();
}

bool TMainWindow::CheckKernels() {
    const std::string folder = FProject.ApplicationDirectory();
    auto exists = [&](const char* name) {
        std::error_code ec;
        return std::filesystem::exists(folder + name, ec);
    };
    QAction* use2D = Action("mnuUse2D");
    QAction* use3D = Action("mnuUse3D");
    use2D->setEnabled(exists("qbabc_2d"));
    use3D->setEnabled(exists("qbabc_3d"));
    const bool is2D = FProject.TestMethod() == tm2D;
    QAction* chosen = is2D ? use2D : use3D;
    FCanRun = chosen->isEnabled();
    if (FCanRun)
        chosen->setChecked(true);
    else
        UserMessages().ShowMessage(
            Format(Translate("Kernel file is missing and tests can not be performed: %s"),
                   folder + FProject.KernelExecutableName()),
            MessageTitle);
    UpdateOptions();
    return FCanRun;
}

void TMainWindow::SelectKernel(TQBTestMethod method) {
    FProject.SetTestMethod(method);
    FCanRun = true;
    UpdateOptions();
}

const char* const TMainWindow::TestFileExtension = ".twt.kovml";

QString TMainWindow::FileFilter() const {
    // "Tarnwick results (*.twt.kovml)" and all files.
    return Tr("Tarnwick results") + QStringLiteral(" (*") + TestFileExtension +
           QStringLiteral(");;") + Tr("All files") + QStringLiteral(" (*)");
}

void TMainWindow::SetFileDialogs(TOpenDialog open, TSaveDialog save) {
    FOpenDialog = std::move(open);
    FSaveDialog = std::move(save);
}

int TMainWindow::OpenFiles(const std::vector<std::string>& fileNames) {
    TOpenTestFilesReport report;
    try {
        report = OpenTestResultFiles(FProject, fileNames);
    } catch (const std::exception& e) {
        UserMessages().ShowMessage(e.what(), MessageTitle);
        return 0;
    }
    for (const std::string& message : report.Messages)
        UserMessages().ShowMessage(message, MessageTitle);
    ShowReadErrors(report.ReadErrors);
    return report.Loaded;
}

void TMainWindow::ShowReadErrors(THPReadErrorList& errors) {
    if (errors.Count() == 0)
        return;
    errors.SortByDecreasingSeverity();
    std::string text;
    try {
        for (const std::string& line : ReadFeedbackLines(errors))
            text += (text.empty() ? "" : "\n") + line;
    } catch (const std::exception& e) {
        text = e.what();
    }
    UserMessages().ShowMessage(text, MessageTitle);
}

bool TMainWindow::SaveSelectedTest() {
    TQBTestBase* test = CurrentPage().Test();
    if (!test)
        return false;
    if (!test->HasResults()) {
        UserMessages().ShowMessage(Translate("There is no testdata to save."), MessageTitle);
        return false;
    }
    if (!test->MaterialInSyncWithTest() &&
        !UserMessages().AskQuestion(
            Translate("Test results are possibly out of sync with material data.") + "\n" +
                Translate("Continue saving?"),
            MessageTitle))
        return false;
    // The suffix has two dots, so the dialog gets the name without it and it is added after.
    std::string fileName = FSaveDialog(test->Name());
    if (fileName.empty())
        return false;
    if (!fileName.ends_with(TestFileExtension))
        fileName += TestFileExtension;
    return SaveTest(*test, fileName);
}

bool TMainWindow::SaveTest(TQBTestBase& test, const std::string& fileName) {
    // The save command, so that the save stands in the command history.
    return FCommands->Run("save", {&test, fileName});
}

void TMainWindow::ShowSettings() {
    QDialog dialog(this);
    dialog.setWindowTitle(Tr("Settings"));
    auto* layout = new QVBoxLayout(&dialog);
    auto* tabs = new QTabWidget(&dialog);
    auto* charts = new QWidget(tabs);
    auto* form = new QFormLayout(charts);
    auto* lines = new QComboBox(charts);
    lines->addItem(Tr("Current test"), static_cast<int>(adCurrent));
    lines->addItem(Tr("All tests"), static_cast<int>(adAll));
    lines->addItem(Tr("None"), static_cast<int>(adNone));
    lines->setCurrentIndex(
        lines->findData(static_cast<int>(CurrentPage().ChartsFrame().FailureLines())));
    form->addRow(Tr("Show failure envelope for"), lines);
    tabs->addTab(charts, Tr("Charts"));
    layout->addWidget(tabs);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &dialog);
    connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    layout->addWidget(buttons);
    if (dialog.exec() != QDialog::Accepted)
        return;
    SetFailureEnvelopes(static_cast<TQBAdditionalLines>(lines->currentData().toInt()));
}

void TMainWindow::SetFailureEnvelopes(TQBAdditionalLines lines) {
    for (TTestPage* page : FPages)
        page->ChartsFrame().SetFailureLines(lines);
    // A settings file that can't be written costs only the choice at the next start.
    FSettings->SetAdditional(lines);
    FSettings->Save();
}

void TMainWindow::ShowCommandHistory() {
    QDialog dialog(this);
    dialog.setWindowTitle(Tr("Command history"));
    auto* layout = new QVBoxLayout(&dialog);
    auto* text = new QPlainTextEdit(&dialog);
    text->setReadOnly(true);
    const TCommandHistory& history = FCommands->SuccessfulCommands();
    for (int i = 0; i < history.Count(); ++i)
        text->appendPlainText(ToQ(history.GetCommand(i)));
    layout->addWidget(text);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, &dialog);
    connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    layout->addWidget(buttons);
    dialog.resize(600, 400);
    dialog.exec();
}

void TMainWindow::OpenHelpFile(const std::string& relativePath) {
    // The help folder stands beside the program (the build writes it there).
    const std::string path = FProject.ApplicationDirectory() + "help/" + relativePath;
    std::error_code ec;
    if (!std::filesystem::exists(path, ec))
        UserMessages().ShowMessage(Format(Translate("File %s was not found."), path), MessageTitle);
    else if (!QDesktopServices::openUrl(QUrl::fromLocalFile(ToQ(path))))
        UserMessages().ShowMessage(
            Format(Translate("No program to show %s was found on this system."), path),
            MessageTitle);
}

void TMainWindow::closeEvent(QCloseEvent* event) {
    TTaskProgressWindow::Uninstall();
    QMainWindow::closeEvent(event);
}

} // namespace tw
