// Saved test configurations: where they are kept, saving and loading through the selector, the
// manage dialog, the legacy text form, and what a configuration may not bring along.

#include "TestFileSupport.h"

#include "labtest/TestConfigurationSelector.h"
#include "services/RuntimeSettings.h"

using namespace tw;
using namespace tw::testing;

namespace {

struct ConfigurationsFixture : ::testing::Test {
    TKovObjectManager Manager;
    TMessageRecorder Messages;
    std::unique_ptr<TQBProject> Project;
    TTemporaryFolder Folder;
    TConfigurationStore Store{(TTemporaryFolder().Path() / "unused").string()};

    void SetUp() override {
        Manager.LockRevert();
        Project = Make<TQBProject>(&Manager, HardeningSoilSand(), tm3D);
        Manager.UnlockRevert();
        Manager.ClearRevertStacks();
        Store = TConfigurationStore(Folder.File("configurations"), Folder.File("templates"));
    }
    TQBTestBase& Triaxial() const { return *Project->TriaxialTest(); }

    // A selector that saves under `name`, as the default when asked.
    std::unique_ptr<TdmTestConfigurationSelector>
    Selector(TQBTestBase& test, const std::string& name, bool asDefault = false) {
        auto selector =
            std::make_unique<TdmTestConfigurationSelector>(Store, &test, Project->SystemOfUnits());
        selector->AskConfigurationName = [=](TSaveConfigurationDialog& dialog) {
            dialog.Name = name;
            dialog.SaveAsDefault = asDefault;
            return true;
        };
        return selector;
    }
};

} // namespace

TEST(ConfigurationStore, KeepsConfigurationsUnderTheUsersDataFolder) {
    {
        TEnvironment data("XDG_DATA_HOME", "/data/of/user");
        EXPECT_EQ(TConfigurationStore::DefaultRoot(), "/data/of/user/tarnwick/configurations");
        EXPECT_EQ(TConfigurationStore().FileNameFor(ttOedometer, "Clay"),
                  "/data/of/user/tarnwick/configurations/Oedometer/Clay.tws.kovml");
    }
    TEnvironment data("XDG_DATA_HOME", "");
    TEnvironment home("HOME", "/home/engineer");
    EXPECT_EQ(TConfigurationStore::DefaultRoot(),
              "/home/engineer/.local/share/tarnwick/configurations");
    EXPECT_EQ(TConfigurationStore::NameOf("/x/Loose sand.tws.kovml"), "Loose sand");
    // The defaults of the default root are the user's settings.
    TEnvironment config("XDG_CONFIG_HOME", "/config/of/user");
    EXPECT_EQ(Make<TTarnwickSettings>()->FileName(),
              "/config/of/user/tarnwick/Tarnwick.settings.xml");
    EXPECT_EQ(TConfigurationStore().Settings().FileName(),
              "/config/of/user/tarnwick/Tarnwick.settings.xml");
    EXPECT_EQ(TConfigurationStore::NameOf("old.QBS"), "old");
}

TEST_F(ConfigurationsFixture, ASavedConfigurationLoadsIntoTheTestOfAnotherProject) {
    SetUpTriaxial(Triaxial());
    FillResults(Triaxial().Results(), 20);
    auto selector = Selector(Triaxial(), "Loose sand", true);
    std::string saved;
    selector->OnSaveConfiguration = [&](const std::string& file) { saved = file; };
    ASSERT_TRUE(selector->actSaveExecute());
    const std::string file = Store.FileNameFor(ttTriaxial, "Loose sand");
    EXPECT_EQ(saved, file);
    EXPECT_EQ(selector->ActiveConfigurationFileName(), file);
    EXPECT_EQ(Store.GetDefaultsFileName(ttTriaxial), file);
    EXPECT_EQ(Store.GetDefaultsFileName(ttOedometer), "");

    // Another project, whose triaxial test has results and a material of its own: the
    // configuration brings the setup and leaves both, as one step to undo.
    TUniqueIDRegister identities;
    TKovObjectManager manager(&identities);
    manager.LockRevert();
    auto other = Make<TQBProject>(
        &manager,
        TMaterialXFactory::CreateSoilMaterialX(nullptr, "Clay", mxsmmMohrCoulomb, nullptr), tm3D);
    manager.UnlockRevert();
    manager.ClearRevertStacks();
    TQBTestBase& target = *other->TriaxialTest();
    FillResults(target.Results(), 7);
    const auto before = PropertyTexts(target);
    TdmTestConfigurationSelector otherSelector(Store, &target, other->SystemOfUnits());
    const std::vector<TConfigurationMenuItem> items = otherSelector.PopUp();
    ASSERT_EQ(items.size(), 1u);
    EXPECT_EQ(items[0].Caption, "Loose sand [Default]");
    std::string selected;
    otherSelector.OnConfigurationSelection = [&](const std::string& f) { selected = f; };
    const TConfigurationStore::TLoadReport report = otherSelector.SelectConfiguration(items[0]);
    ASSERT_TRUE(report.Loaded()) << report.Message;
    EXPECT_EQ(report.Warning, "");
    EXPECT_EQ(selected, file);
    EXPECT_EQ(PropertyTexts(target), PropertyTexts(Triaxial()));
    EXPECT_EQ(target.Phases().Count(), 3);
    EXPECT_EQ(target.CyclicPhases().GetItems(0)->FirstPhase(), &target.Phases()[1]);
    EXPECT_EQ(target.ChartSettings().Count(), Triaxial().ChartSettings().Count());
    EXPECT_EQ(target.Results().RowCount(), 7);
    EXPECT_EQ(target.Material(), other->MainMaterialX());
    EXPECT_EQ(manager.UndoCount(), 1);
    manager.Undo();
    EXPECT_EQ(PropertyTexts(target), before);
}

TEST_F(ConfigurationsFixture, SavingOverAnExistingConfigurationAsksFirst) {
    auto selector = Selector(Triaxial(), "Dense");
    ASSERT_TRUE(selector->actSaveExecute());
    const std::string file = Store.FileNameFor(ttTriaxial, "Dense");
    const std::string first = ReadBytes(file);
    Triaxial().Property(ip::CellPressure).SetValue(300e3);

    Messages.Answer = false;
    EXPECT_FALSE(selector->actSaveExecute());
    ASSERT_EQ(Messages.Messages.size(), 1u);
    EXPECT_EQ(Messages.Messages[0].Text,
              "Name already uses for a saved test configuration, overwrite?");
    EXPECT_EQ(ReadBytes(file), first);

    Messages.Answer = true;
    EXPECT_TRUE(selector->actSaveExecute());
    EXPECT_NE(ReadBytes(file), first);

    // The name proposed is the active file's; a cancelled dialog writes nothing.
    std::string proposed;
    selector->AskConfigurationName = [&](TSaveConfigurationDialog& dialog) {
        proposed = dialog.Name;
        return false;
    };
    EXPECT_FALSE(selector->actSaveExecute());
    EXPECT_EQ(proposed, "Dense");
    EXPECT_FALSE(TSaveConfigurationDialog("").CanAccept());
    EXPECT_FALSE(TSaveConfigurationDialog("a/b").CanAccept());
    EXPECT_TRUE(TSaveConfigurationDialog("Loose sand, 50 kPa").CanAccept());

    // A folder that can't be made: the message, and no file.
    WriteBytes(Folder.File("blocked"), "a file where the folder would be");
    TConfigurationStore blocked(Folder.File("blocked"));
    TdmTestConfigurationSelector nowhere(blocked, &Triaxial(), Project->SystemOfUnits());
    nowhere.AskConfigurationName = [](TSaveConfigurationDialog& dialog) {
        dialog.Name = "Dense";
        return true;
    };
    Messages.Messages.clear();
    EXPECT_FALSE(nowhere.actSaveExecute());
    ASSERT_EQ(Messages.Messages.size(), 1u);
    EXPECT_EQ(Messages.Messages[0].Text,
              "Could not write to: " + blocked.FileNameFor(ttTriaxial, "Dense") +
                  ".\nPlease make sure that the file name is correct and that the folder exists, "
                  "and you have write access to it.");
    EXPECT_EQ(Messages.Messages[0].Title, "Error");

    EXPECT_THROW(TdmTestConfigurationSelector(Store, nullptr, Project->SystemOfUnits()),
                 EQBTestException);
}

TEST_F(ConfigurationsFixture, AConfigurationOfAnotherTypeOrThatCannotBeReadChangesNothing) {
    ASSERT_TRUE(Selector(*Project->OedometerTest(), "Oedometer setup")->actSaveExecute());
    SetUpTriaxial(Triaxial());
    const auto before = PropertyTexts(Triaxial());
    const std::string oedometer = Store.FileNameFor(ttOedometer, "Oedometer setup");
    TConfigurationStore::TLoadReport report =
        Store.Read(Triaxial(), oedometer, Project->SystemOfUnits());
    EXPECT_FALSE(report.Loaded());
    EXPECT_EQ(report.Message.rfind(
                  "Error reading Triaxial test configuration from file " + oedometer + ".", 0),
              0u)
        << report.Message;
    EXPECT_EQ(report.Title, "Tarnwick");
    const std::string broken = Folder.File("broken.tws.kovml");
    WriteBytes(broken, ReadBytes(oedometer).substr(0, 100));
    EXPECT_FALSE(Store.Read(Triaxial(), broken, Project->SystemOfUnits()).Loaded());
    EXPECT_EQ(PropertyTexts(Triaxial()), before);
    EXPECT_EQ(Triaxial().Phases().Count(), 3);
}

TEST_F(ConfigurationsFixture, OptionsTheTestCannotHaveAreSwitchedOffWithAWarning) {
    // Thermal needs the 2D kernel: a 2D test's configuration with thermal on, into a 3D test.
    auto plane = CreateTest(ttTriaxial, nullptr, tm2D);
    plane->Property(ip::ThermalCondition).SetValue(true);
    const std::string file = Folder.File("thermal.tws.kovml");
    Store.Write(*plane, file, Project->SystemOfUnits());
    TConfigurationStore::TLoadReport report =
        Store.Read(Triaxial(), file, Project->SystemOfUnits());
    ASSERT_TRUE(report.Loaded()) << report.Message;
    EXPECT_EQ(report.Warning, "This configuration has \"Thermal\" enabled.");
    EXPECT_FALSE(Triaxial().IsThermalEnabled());

    EXPECT_EQ(InvalidAdvancedOptionsWarning({"Suction", "Thermal"}),
              "This configuration has \"Suction\" and \"Thermal\" enabled.");
    EXPECT_THROW(InvalidAdvancedOptionsWarning({}), EQBTestException);
    EXPECT_THROW(InvalidAdvancedOptionsWarning({"a", "b", "c"}), EQBTestException);
}

TEST_F(ConfigurationsFixture, TheManageDialogDeletesAndSetsTheDefaultOnlyAtOK) {
    for (const char* name : {"A", "B", "C"})
        ASSERT_TRUE(Selector(Triaxial(), name)->actSaveExecute());
    const std::string a = Store.FileNameFor(ttTriaxial, "A"),
                      b = Store.FileNameFor(ttTriaxial, "B"),
                      c = Store.FileNameFor(ttTriaxial, "C");
    Store.SetDefaultsFileName(ttTriaxial, a);
    // A template shows, marked, and is never listed to manage.
    std::filesystem::create_directories(Folder.File("templates/Triaxial"));
    WriteBytes(Folder.File("templates/Triaxial/Standard.tws.kovml"), ReadBytes(a));

    TdmTestConfigurationSelector selector(Store, &Triaxial(), Project->SystemOfUnits());
    std::vector<std::string> captions;
    for (const TConfigurationMenuItem& item : selector.PopUp())
        captions.push_back(item.Caption);
    EXPECT_EQ(captions, (std::vector<std::string>{"A [Default]", "B", "C", "Standard [Template]"}));

    bool accepted = false;
    selector.ShowManageDialog = [&](TManageConfigurationsDialog& dialog) {
        EXPECT_EQ(dialog.Title(), "Manage Triaxial configurations");
        EXPECT_EQ(dialog.Entries().size(), 3u);
        dialog.Delete(0);       // A, the default
        dialog.SetAsDefault(1); // C
        // Nothing has happened yet.
        EXPECT_TRUE(std::filesystem::exists(a));
        EXPECT_EQ(Store.GetDefaultsFileName(ttTriaxial), a);
        return accepted;
    };
    selector.actManageExecute(); // cancelled
    EXPECT_TRUE(std::filesystem::exists(a));
    EXPECT_EQ(Store.GetDefaultsFileName(ttTriaxial), a);
    accepted = true;
    selector.actManageExecute();
    EXPECT_FALSE(std::filesystem::exists(a));
    EXPECT_TRUE(std::filesystem::exists(b));
    EXPECT_EQ(Store.GetDefaultsFileName(ttTriaxial), c);

    // A file gone before OK can't be deleted: said so, the rest goes on.
    TManageConfigurationsDialog dialog(Store, ttTriaxial);
    dialog.Delete(0);
    std::filesystem::remove(b);
    EXPECT_FALSE(dialog.Accept());
    ASSERT_EQ(Messages.Messages.size(), 1u);
    EXPECT_EQ(Messages.Messages[0].Text, "Could not delete file '" + b + "'.");
    EXPECT_EQ(Messages.Messages[0].Title, "Error");
    EXPECT_EQ(Store.GetDefaultsFileName(ttTriaxial), c);
}

TEST_F(ConfigurationsFixture, DefaultsLiveInTheSettingsAndTheOldIndexIsTakenOverOnce) {
    for (const char* name : {"A", "B"})
        ASSERT_TRUE(Selector(Triaxial(), name)->actSaveExecute());
    ASSERT_TRUE(Selector(*Project->OedometerTest(), "C")->actSaveExecute());
    const std::string a = Store.FileNameFor(ttTriaxial, "A"),
                      b = Store.FileNameFor(ttTriaxial, "B"),
                      c = Store.FileNameFor(ttOedometer, "C");
    const std::string settingsFile = Folder.File("configurations/Tarnwick.settings.xml");

    // The index of an older version names A for the triaxial test and C for the oedometer; the
    // settings already hold B for the triaxial test, which stays.
    auto settings = TTarnwickSettings::Open(settingsFile);
    settings->SetDefaultsFileName(ttTriaxial, b);
    settings->Save();
    const std::string index = Folder.File("configurations/defaults.xml");
    auto old = CreateStorageForFile(index, "ConfigurationDefaults");
    old->AddChild("Triaxial").SetValueAsString(a);
    old->AddChild("Oedometer").SetValueAsString(c);
    old->SaveToFile(index);

    TConfigurationStore store(Folder.File("configurations"));
    EXPECT_EQ(store.GetDefaultsFileName(ttTriaxial), b);
    EXPECT_EQ(store.GetDefaultsFileName(ttOedometer), c);
    EXPECT_FALSE(std::filesystem::exists(index));
    EXPECT_EQ(TTarnwickSettings::Open(settingsFile)->GetDefaultsFileName(ttOedometer), c);

    // A store given the window's settings sets its defaults there, and saves them at once.
    TTemporaryFolder elsewhere;
    auto window = TTarnwickSettings::Open(elsewhere.File("Tarnwick.settings.xml"));
    window->SetAdditional(adAll);
    TConfigurationStore shared(Folder.File("configurations"), {}, window.get());
    EXPECT_EQ(shared.GetDefaultsFileName(ttTriaxial), "");
    shared.SetDefaultsFileName(ttTriaxial, a);
    EXPECT_EQ(window->GetDefaultsFileName(ttTriaxial), a);
    auto saved = TTarnwickSettings::Open(elsewhere.File("Tarnwick.settings.xml"));
    EXPECT_EQ(saved->GetDefaultsFileName(ttTriaxial), a);
    EXPECT_EQ(saved->Additional(), adAll);
    // A default whose file is gone names nothing.
    std::filesystem::remove(a);
    EXPECT_EQ(shared.GetDefaultsFileName(ttTriaxial), "");
}

TEST_F(ConfigurationsFixture, WithTheLegacySwitchConfigurationsAreTextFiles) {
    TRuntimeSettings::Set("USE_LEGACY_MATERIALS", true);
    SetUpTriaxial(Triaxial());
    const bool saved = Selector(Triaxial(), "Legacy")->actSaveExecute();
    const std::string file = Store.FileNameFor(ttTriaxial, "Legacy");
    TRuntimeSettings::Set("USE_LEGACY_MATERIALS", false);
    ASSERT_TRUE(saved);
    EXPECT_EQ(file.substr(file.size() - 4), ".qbs");
    EXPECT_NE(ReadBytes(file).find("[testparameters]"), std::string::npos);

    auto target = CreateTest(ttTriaxial, nullptr, tm3D);
    ASSERT_TRUE(Store.Read(*target, file, Project->SystemOfUnits()).Loaded());
    // The text form carries cyclic phases written out.
    EXPECT_EQ(target->Phases().Count(), Triaxial().PhaseCountIncludingCycles());
    EXPECT_DOUBLE_EQ(target->GetInitialEffectiveStress(ldYY), -150e3);
}
