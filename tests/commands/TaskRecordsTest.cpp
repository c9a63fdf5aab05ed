#include "TaskTestSupport.h"

#include "services/Localisation.h"

#include <cstring>
#include <string>

using namespace tw;
using namespace tw::testing;

TEST(TaskInfo, TextsAreCutToTheArrayZeroFilledAndReadBackAsUtf8) {
    TKovTaskInfo info;
    info.SetNameText(std::string(3000, 'a'));
    EXPECT_EQ(info.NameText(), std::string(2001, 'a'));

    // A shorter text leaves nothing of the longer one behind.
    info.SetNameText("short");
    EXPECT_EQ(info.NameText(), "short");
    for (std::size_t i = 5; i < TKovTaskInfo::TextCapacity; ++i)
        ASSERT_EQ(info.Name[i], u'\0') << i;

    const std::string text = "σ₃ = 100 kPa – Prüfung 試験 😀";
    info.SetCurrentActivityText(text);
    EXPECT_EQ(info.CurrentActivityText(), text);
    EXPECT_EQ(info.CurrentActivity[0], u'σ');

    // A character of two code units that does not fit whole is left out, not cut in half.
    info.SetNameText(std::string(2000, 'b') + "😀");
    EXPECT_EQ(info.NameText(), std::string(2000, 'b'));
    EXPECT_EQ(info.Name[2000], u'\0');
    info.SetNameText(std::string(1999, 'b') + "😀");
    EXPECT_EQ(info.NameText(), std::string(1999, 'b') + "😀");

    // Broken UTF-8 becomes replacement characters instead of being dropped silently.
    info.SetNameText(std::string("a\xC3") + "b\xFF");
    EXPECT_EQ(info.NameText(), "a\uFFFDb\uFFFD");

    // Plain assignment copies everything, texts included.
    TKovTaskInfo copy;
    copy = info;
    EXPECT_EQ(std::memcmp(&copy, &info, sizeof info), 0);
    EXPECT_EQ(copy.CurrentActivityText(), text);
}

TEST(TaskInfo, TextFormOfRecordsAndLists) {
    TKovTaskInfo first;
    first.SetNameText("Calculating...");
    first.SetCurrentActivityText("Phase 2");
    first.State = tsPaused;
    first.HasProgress = true;
    first.CurrentProgress = 12.5;
    first.MaxProgress = 100;
    EXPECT_EQ(first.AsText(), "Name: \"Calculating...\"; CurrentActivity: \"Phase 2\"; State: 2; "
                              "HasProgress: True; CurrentProgress: 12.5; MaxProgress: 100");

    TKovTaskInfo second;
    second.SetNameText("Reading results...");
    second.CurrentProgress = 1.0 / 3.0;
    TTaskInfoList list{first, second};
    EXPECT_EQ(list.AsText(), first.AsText() + "\r\n" +
                                 "Name: \"Reading results...\"; CurrentActivity: \"\"; State: 0; "
                                 "HasProgress: False; CurrentProgress: 0.3333; MaxProgress: 0\r\n");
    EXPECT_EQ(TTaskInfoList().AsText(), "");
}

TEST(TaskInfo, ActivityFlagsProgressAndTheStopQuestion) {
    TPTProcedureRunner task("Running calculation...", {});
    EXPECT_EQ(task.TaskInfo().Task, &task);
    EXPECT_EQ(task.Name(), "Running calculation...");

    task.SetActivity("Phase 1", tafCanStop | tafHasProgress, 5, 20);
    const TKovTaskInfo& info = task.TaskInfo();
    EXPECT_EQ(info.CurrentActivityText(), "Phase 1");
    EXPECT_FALSE(info.CanPause);
    EXPECT_TRUE(info.CanStop);
    EXPECT_TRUE(info.HasProgress);
    EXPECT_FALSE(info.ConfirmStop);
    EXPECT_EQ(info.CurrentProgress, 5);
    EXPECT_EQ(info.MaxProgress, 20);

    // -1 keeps the stored progress; other values replace it.
    task.SetActivity("Phase 2", tafCanPause | tafHasProgress | tafConfirmStop, -1, 40);
    EXPECT_TRUE(info.CanPause);
    EXPECT_FALSE(info.CanStop);
    EXPECT_TRUE(info.ConfirmStop);
    EXPECT_EQ(info.CurrentProgress, 5);
    EXPECT_EQ(info.MaxProgress, 40);

    task.SetCurrentProgress(7);
    EXPECT_EQ(info.CurrentProgress, 7);

    EXPECT_EQ(task.GetConfirmStopString("Triaxial"), "Stop \"Triaxial\"?");
    EXPECT_EQ(task.GetConfirmStopString(), "Stop \"Running calculation...\"?");
    SetTranslator([](const std::string& text) {
        return text == "Stop \"%s\"?" ? std::string("Anhalten: \"%s\"?") : text;
    });
    EXPECT_EQ(task.GetConfirmStopString("Triaxial"), "Anhalten: \"Triaxial\"?");
    SetTranslator({});

    // Only HasProgress survives; the rest is cleared.
    task.SetActivityKeepingFlags("Phase 3", 8, -1);
    EXPECT_EQ(info.CurrentActivityText(), "Phase 3");
    EXPECT_TRUE(info.HasProgress);
    EXPECT_FALSE(info.CanPause);
    EXPECT_FALSE(info.CanStop);
    EXPECT_FALSE(info.ConfirmStop);
    EXPECT_EQ(info.CurrentProgress, 8);
    EXPECT_EQ(info.MaxProgress, 40);
    EXPECT_EQ(task.GetConfirmStopString("Triaxial"), "");
}
