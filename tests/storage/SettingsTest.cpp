// The settings store: settings made on demand under case-insensitive keys, their files (every
// kind through a file, damaged files, a file another instance is still writing, a save the system
// refuses), stacks of recent values, the mappings to controls, and the user's registry file.

#include "StorageTestTools.h"
#include "objects/IntrinsicPropertyKinds.h"
#include "services/RuntimeSettings.h"
#include "storage/ApplicationVersion.h"
#include "storage/SettingsStack.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <thread>

using namespace tw;
using namespace tw::testing;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using ::testing::ThrowsMessage;

namespace {

// Counts the notifications of an observable.
struct TCounter {
    int Count = 0;
    TObserver Observer{[this](TNotifySender) { ++Count; }};
    explicit TCounter(TKovObservableObject& observed) { observed.AttachObserver(&Observer); }
};

// The smallest picture the image kind knows: a GIF header of 3 by 2 pixels.
std::vector<uint8_t> Gif() {
    return {'G', 'I', 'F', '8', '9', 'a', 3, 0, 2, 0, 0, 0, 0, 0x3B};
}

std::vector<uint8_t> AllBytes() {
    std::vector<uint8_t> bytes;
    for (int i = 0; i < 256; ++i)
        bytes.push_back(static_cast<uint8_t>(i));
    return bytes;
}

// Settings that give up after two quick attempts, so that failing cases don't wait.
template <typename T = TKovSettingsWithDefault> std::unique_ptr<T> Quick(bool report) {
    auto settings = Make<T>();
    settings->SetAttempts(2, std::chrono::milliseconds(1));
    settings->SetReportPersistenceErrors(report);
    return settings;
}

std::vector<std::string> Strings(const TKovSettingsStack& stack) {
    std::vector<std::string> values;
    for (int i = 0; i < stack.Count(); ++i)
        values.push_back(stack.GetString(i));
    return values;
}

} // namespace

TEST(Settings, GettingAnswersTheDefaultAndMakesNothing) {
    auto settings = Make<TKovSettings>();
    TCounter heard(*settings);
    EXPECT_TRUE(settings->GetBoolean("ShowGrid", true));
    EXPECT_EQ(settings->GetString("Folder", "/tmp"), "/tmp");
    EXPECT_TRUE(settings->GetNewBlob("Layout").empty());
    EXPECT_EQ(settings->GetInteger("not a name", 7), 7);
    EXPECT_EQ(settings->SettingsCount(), 0);
    EXPECT_EQ(heard.Count, 0);

    // Keys are names: cleaned and compared without regard to case.
    settings->SetInteger("Width", 640);
    EXPECT_EQ(settings->GetInteger("  WIDTH ", 0), 640);
    EXPECT_EQ(settings->GetIntrinsicPropertyByName("width"), settings->FindSetting("Width"));
    // A setting of another kind answers the default, and setting it changes its kind.
    EXPECT_EQ(settings->GetString("Width", "none"), "none");
    EXPECT_EQ(settings->GetDouble("Width", 1.5), 1.5);
    settings->SetString("width", "wide");
    EXPECT_EQ(settings->GetInteger("Width", -1), -1);
    EXPECT_EQ(settings->GetString("WIDTH"), "wide");
    EXPECT_EQ(settings->SettingsCount(), 1);

    // A new setting is news even with the kind's default value; an equal value is not.
    heard.Count = 0;
    settings->SetBoolean("Hidden", false);
    EXPECT_EQ(heard.Count, 1);
    settings->SetBoolean("hidden", false);
    EXPECT_EQ(heard.Count, 1);

    EXPECT_THAT([&] { settings->SetBoolean("2nd value", true); },
                ThrowsMessage<EKovSettingsException>("\"2nd value\" is not a valid setting name"));
    EXPECT_THROW(settings->SetGraphic("Logo", {1, 2, 3}), EIPImageException);
    EXPECT_FALSE(settings->HasSetting("Logo"));
    EXPECT_EQ(settings->SettingsCount(), 2);
}

TEST(Settings, EveryKindComesBackFromAFileAndALoadReplacesWhatWasHeld) {
    TTemporaryFolder folder;
    const std::string file = folder.File("Lab.settings.xml");
    auto settings = Quick(true);
    settings->SetString("LastFolder", "  /home/engineer/sand tests \n second line\t");
    settings->SetInteger("Count", -2147483647);
    settings->SetDouble("Ratio", 1.0 / 3.0);
    settings->SetDouble("Tiny", -4.9e-324);
    settings->SetBoolean("Enabled", true);
    settings->SetBLOB("Layout", AllBytes());
    settings->SetGraphic("Logo", Gif());
    settings->SaveToFile(file);
    EXPECT_EQ(settings->CachedFileName(), file);
    EXPECT_THAT(ReadFileBytes(file), HasSubstr("<settings"));

    auto read = Quick(true);
    read->SetString("OnlyBefore", "goes");
    read->LoadFromFile(file);
    EXPECT_FALSE(read->HasSetting("OnlyBefore"));
    EXPECT_EQ(read->GetString("lastfolder"), "  /home/engineer/sand tests \n second line\t");
    EXPECT_EQ(read->GetInteger("Count"), -2147483647);
    EXPECT_EQ(read->GetDouble("Ratio"), 1.0 / 3.0);
    EXPECT_EQ(read->GetDouble("Tiny"), -4.9e-324);
    EXPECT_TRUE(read->GetBoolean("Enabled"));
    EXPECT_EQ(read->GetNewBlob("Layout"), AllBytes());
    EXPECT_EQ(read->GetNewGraphic("Logo"), Gif());
    // The kinds came back too: a graphic is no plain blob.
    EXPECT_TRUE(read->GetNewBlob("Logo").empty());
    EXPECT_EQ(read->SettingsCount(), 7);
    EXPECT_EQ(read->Setting(0).Name(), "LastFolder");
    EXPECT_TRUE(read->ReadErrors().Empty());

    // An absent file changes nothing and is no error.
    read->LoadFromFile(folder.File("absent.settings.xml"));
    EXPECT_EQ(read->SettingsCount(), 7);
    EXPECT_EQ(read->LastError(), "");
}

TEST(Settings, ADamagedFileLeavesTheSettingsAndIsReportedOnlyWhenAsked) {
    TTemporaryFolder folder;
    const std::string file = folder.File("damaged.settings.xml");
    WriteFileBytes(file, "<settings><Width Type=\"Integer\">12</Wid");
    const std::string corrupt = "File \"" + file + "\" is corrupt, ";

    auto silent = Quick(false);
    silent->SetInteger("Width", 5);
    silent->LoadFromFile(file);
    EXPECT_EQ(silent->GetInteger("Width"), 5);
    EXPECT_THAT(silent->LastError(), StartsWith(corrupt));

    auto loud = Quick(true);
    loud->SetInteger("Width", 5);
    EXPECT_THAT([&] { loud->LoadFromFile(file); },
                ThrowsMessage<EKovSettingsException>(StartsWith(corrupt)));
    EXPECT_EQ(loud->GetInteger("Width"), 5);
    // A file of another root is no settings file.
    WriteFileBytes(file, "<project><Width Type=\"Integer\">12</Width></project>");
    EXPECT_THAT([&] { loud->LoadFromFile(file); },
                ThrowsMessage<EKovSettingsException>(StartsWith(corrupt)));

    // Settings of a kind this program doesn't know, or not named as keys, are skipped.
    WriteFileBytes(file, "<settings><Width Type=\"Integer\">12</Width><Pen Type=\"Colour\">3</Pen>"
                         "<Depth>4</Depth></settings>");
    loud->LoadFromFile(file);
    EXPECT_EQ(loud->GetInteger("Width"), 12);
    EXPECT_EQ(loud->SettingsCount(), 1);
    EXPECT_EQ(loud->ReadErrors().Count(), 2);

    // No back-end for the extension.
    const std::string ini = folder.File("lab.ini");
    EXPECT_THAT(
        [&] { loud->SaveToFile(ini); },
        ThrowsMessage<EKovSettingsException>("Did not find storage class for file type \".ini\""));
    silent->SaveToFile(ini);
    EXPECT_EQ(silent->LastError(), "Did not find storage class for file type \".ini\"");
    EXPECT_FALSE(std::filesystem::exists(ini));

    auto fresh = Make<TKovSettingsWithDefault>();
    EXPECT_THAT([&] { fresh->LoadFromCachedFileName(); },
                ThrowsMessage<EKovSettingsException>(
                    "Cannot load KovSettingsWithDefault from cached file name because it hasn't "
                    "been cached yet"));
    EXPECT_THAT([&] { fresh->SaveToCachedFileName(); },
                ThrowsMessage<EKovSettingsException>(
                    "Cannot persist KovSettingsWithDefault to cached file name because it hasn't "
                    "been cached yet"));
}

TEST(Settings, AFileStillBeingWrittenIsReadThroughTheRetries) {
    TTemporaryFolder folder;
    const std::string file = folder.File("shared.settings.xml");
    auto writer = Make<TKovSettingsWithDefault>();
    writer->SetString("Recent", "clay.twt.kovml");
    writer->SaveToFile(folder.File("whole.settings.xml"));
    const std::string whole = ReadFileBytes(folder.File("whole.settings.xml"));
    // Another instance has written half of the file, and finishes it 100 ms later.
    WriteFileBytes(file, whole.substr(0, whole.size() / 2));

    auto once = Quick(false);
    once->SetAttempts(1, std::chrono::milliseconds(0));
    once->LoadFromFile(file);
    EXPECT_FALSE(once->HasSetting("Recent")) << "one attempt cannot read a half-written file";

    std::thread other([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        WriteFileBytes(file + ".part", whole);
        std::filesystem::rename(file + ".part", file);
    });
    auto reader = Make<TKovSettingsWithDefault>();
    reader->SetReportPersistenceErrors(true);
    reader->LoadFromFile(file); // 10 attempts, 50 ms apart
    other.join();
    EXPECT_EQ(reader->GetString("Recent"), "clay.twt.kovml");
}

TEST(Settings, ASaveTheSystemRefusesLeavesTheOldFile) {
    TTemporaryFolder folder;
    const std::string file = folder.File("lab.settings.xml");
    auto settings = Quick(true);
    settings->SetString("Name", "old");
    settings->SaveToFile(file);
    const std::string old = ReadFileBytes(file);

    settings->SetString("Name", "new");
    // Bytes that don't compress, so the file grows past the limit.
    std::vector<uint8_t> noise(200000);
    uint32_t state = 12345;
    for (uint8_t& byte : noise)
        byte = static_cast<uint8_t>((state = state * 1664525u + 1013904223u) >> 24);
    settings->SetBLOB("Big", noise);
    {
        TFileSizeLimit limit(4096);
        EXPECT_THAT([&] { settings->SaveToFile(file); },
                    ThrowsMessage<EKovSettingsException>(
                        StartsWith("Cannot write to file \"" + file + "\", ")));
        settings->SetReportPersistenceErrors(false);
        settings->SaveToFile(file);
        EXPECT_THAT(settings->LastError(), StartsWith("Cannot write to file"));
    }
    EXPECT_EQ(ReadFileBytes(file), old);
    EXPECT_EQ(folder.FileCount(), 1u);

    // Saved on destruction when asked, to the file it last used.
    settings->SetAutoSaveOnDestroy(true);
    settings.reset();
    auto read = Quick(true);
    read->LoadFromFile(file);
    EXPECT_EQ(read->GetString("Name"), "new");
    read->SetString("Name", "not saved");
    read.reset();
    auto again = Quick(true);
    again->LoadFromFile(file);
    EXPECT_EQ(again->GetString("Name"), "new");
}

TEST(Settings, DefaultFilesLiveInTheUsersConfigurationFolder) {
    EXPECT_EQ(TKovSettingsWithDefault::GetDefaultSettingsFilename("Tarnwick"),
              "Tarnwick.settings.xml");
    {
        TEnvironment config("XDG_CONFIG_HOME", "/cfg");
        EXPECT_EQ(SettingsFolder(), "/cfg/tarnwick");
        EXPECT_EQ(Make<TKovSettingsStack>()->MakeDefaultSettingsFileName(),
                  "/cfg/tarnwick/KovSettingsStack.settings.xml");
    }
    TEnvironment config("XDG_CONFIG_HOME", "relative/is/ignored");
    TEnvironment home("HOME", "/home/engineer");
    EXPECT_EQ(SettingsFolder(), "/home/engineer/.config/tarnwick");

    // The registry file: defaults without it, and what was set with it.
    TTemporaryFolder folder;
    TEnvironment here("XDG_CONFIG_HOME", folder.Path().string());
    EXPECT_TRUE(TOrvaneRegistry::IsAutocompleteEnabled());
    EXPECT_FALSE(TOrvaneRegistry::IsNewsFeedEnabled());
    EXPECT_EQ(TOrvaneRegistry::GetProductName(), "Tarnwick");
    EXPECT_EQ(TOrvaneRegistry::GetDisplayedProductName(), "Tarnwick");
    EXPECT_EQ(TOrvaneRegistry::GetOrvaneProductInstallDir(), ApplicationDirectory());
    TOrvaneRegistry::SetIsAutocompleteEnabled(false);
    TOrvaneRegistry::SetIsNewsFeedEnabled(true);
    TOrvaneRegistry::SetBooleanSetting("ShowTips", true, true);
    EXPECT_EQ(TOrvaneRegistry::FileName(), folder.File("tarnwick/registry.settings.xml"));
    EXPECT_FALSE(TOrvaneRegistry::IsAutocompleteEnabled());
    EXPECT_TRUE(TOrvaneRegistry::IsNewsFeedEnabled());
    EXPECT_TRUE(TOrvaneRegistry::GetBooleanSetting("ShowTips", false, true));
    EXPECT_FALSE(TOrvaneRegistry::GetBooleanSetting("ShowTips", false, false));
    const TApplicationVersion running = TApplicationVersion::Running();
    TApplicationVersion::SetRunning({running.Major + 1, 0, 0, 0});
    EXPECT_FALSE(TOrvaneRegistry::GetBooleanSetting("ShowTips", false, true));
    TApplicationVersion::SetRunning(running);
    // A damaged registry file gives the defaults.
    WriteFileBytes(TOrvaneRegistry::FileName(), "garbage");
    EXPECT_TRUE(TOrvaneRegistry::IsAutocompleteEnabled());
}

TEST(SettingsStack, KeepsTheNewestEntriesFirstUpToItsSize) {
    auto stack = Make<TKovSettingsStack>();
    stack->SetMaxStackSize(3);
    TCounter heard(*stack);
    for (const char* value : {"a", "b", "c", "d"})
        stack->PushString(value);
    EXPECT_EQ(Strings(*stack), (std::vector<std::string>{"d", "c", "b"}));
    EXPECT_EQ(heard.Count, 4);
    EXPECT_FALSE(stack->HasSetting("Item3"));
    EXPECT_EQ(stack->GetString("Item0"), "d");

    // Entries of any kind move together.
    stack->PushInteger(42);
    stack->PushBLOB({1, 2});
    EXPECT_EQ(stack->GetNewBlob(0), (std::vector<uint8_t>{1, 2}));
    EXPECT_EQ(stack->GetInteger(1), 42);
    EXPECT_EQ(stack->GetString(2), "d");
    EXPECT_EQ(stack->GetString(0, "not a string"), "not a string");

    stack->MoveTo(2, 0);
    EXPECT_EQ(stack->GetString(0), "d");
    EXPECT_EQ(stack->GetNewBlob(1), (std::vector<uint8_t>{1, 2}));
    EXPECT_EQ(stack->GetInteger(2), 42);
    EXPECT_THAT([&] { stack->MoveTo(0, 3); },
                ThrowsMessage<EKovSettingsException>("Stack index 3 is out of range"));

    stack->SetMaxStackSize(2);
    EXPECT_EQ(stack->Count(), 2);
    EXPECT_FALSE(stack->HasSetting("Item2"));
    EXPECT_THAT([&] { stack->SetMaxStackSize(-1); },
                ThrowsMessage<EKovSettingsException>("Cannot use a stack size of -1"));

    // A new prefix renames the entries; one that differs only by case or by a digit too.
    stack->SetStackPropPrefix(" File ");
    EXPECT_EQ(stack->StackPropPrefix(), "File");
    EXPECT_EQ(stack->GetString("File0"), "d");
    EXPECT_FALSE(stack->HasSetting("Item0"));
    stack->SetStackPropPrefix("File1");
    stack->SetStackPropPrefix("file");
    EXPECT_EQ(stack->GetString(0), "d");
    EXPECT_EQ(stack->GetNewBlob(1), (std::vector<uint8_t>{1, 2}));
    EXPECT_EQ(stack->SettingsCount(), 2);
    EXPECT_THAT(
        [&] { stack->SetStackPropPrefix("1st"); },
        ThrowsMessage<EKovSettingsException>("\"1st\" is not a valid stack property prefix"));

    // Through a file.
    TTemporaryFolder folder;
    stack->SetReportPersistenceErrors(true);
    stack->SaveToFile(folder.File("stack.settings.xml"));
    auto read = Make<TKovSettingsStack>();
    read->SetStackPropPrefix("file");
    read->LoadFromFile(folder.File("stack.settings.xml"));
    EXPECT_EQ(read->Count(), 2);
    EXPECT_EQ(read->GetString(0), "d");
}

TEST(SettingsStack, RecentFilesKeepEachNameOnce) {
    auto recent = Make<TKovSettingsStackNoDuplicateStrings>();
    for (const char* file : {"a.twt", "b.twt", "c.twt"})
        recent->PushString(file);
    TCounter heard(*recent);
    recent->PushString("c.twt");
    EXPECT_EQ(heard.Count, 0);
    recent->PushString("a.twt");
    EXPECT_EQ(Strings(*recent), (std::vector<std::string>{"a.twt", "c.twt", "b.twt"}));
    EXPECT_EQ(heard.Count, 1);
    // Names of files differ by case here, unless told otherwise.
    recent->PushString("B.twt");
    EXPECT_EQ(recent->Count(), 4);
    recent->SetCaseSensitive(false);
    recent->PushString("C.TWT");
    EXPECT_EQ(Strings(*recent), (std::vector<std::string>{"c.twt", "B.twt", "a.twt", "b.twt"}));
}

TEST(SettingsWithUIMappings, ControlsShowTheSettingsAndTheirDefaults) {
    auto settings = Make<TKovSettingsWithUIMappings>();
    bool grid = false;
    int32_t digits = 0;
    double scale = 0;
    std::string title;
    settings->Add(
        "ShowGrid", true, [&](const bool& v) { grid = v; }, [&] { return grid; });
    settings->Add(
        "Digits", 4, [&](const int32_t& v) { digits = v; }, [&] { return digits; });
    settings->Add(
        "Scale", 1.5, [&](const double& v) { scale = v; }, [&] { return scale; });
    settings->Add(
        "Title", std::string("Chart"), [&](const std::string& v) { title = v; },
        [&] { return title; });
    settings->SetInteger("Digits", 6);
    settings->SettingToGUI();
    EXPECT_TRUE(grid);
    EXPECT_EQ(digits, 6);
    EXPECT_EQ(scale, 1.5);
    EXPECT_EQ(title, "Chart");

    grid = false;
    title = "Stress path";
    TCounter heard(*settings);
    settings->GUIToSetting();
    EXPECT_EQ(heard.Count, 1);
    EXPECT_FALSE(settings->GetBoolean("ShowGrid", true));
    EXPECT_EQ(settings->GetString("Title"), "Stress path");
    EXPECT_EQ(settings->GetDouble("Scale"), 1.5);

    // A second mapping of a key replaces the first.
    settings->Add(
        "showgrid", false, [&](const bool& v) { grid = !v; }, [&] { return grid; });
    EXPECT_EQ(settings->MappingsCount(), 4);
    settings->SettingToGUI();
    EXPECT_TRUE(grid);
}
