#include "InterpreterTestSupport.h"

#include "commands/KovTaskController.h"
#include "services/RuntimeSettings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

using namespace tw;
using namespace tw::testing;
using ::testing::StrEq;
using ::testing::ThrowsMessage;

namespace {
constexpr const char* UnknownObject =
    "Unknown object. Check the spelling and ensure the object exists before trying to access it.";
constexpr const char* InvalidParameters =
    "Invalid parameters. Make sure that the specified parameters match the ones that are expected.";
} // namespace

TEST_F(InterpreterFixture, EachCommandIsOneUndoStepCaptionedWithItsLine) {
    ASSERT_TRUE(Run("set Thing.Number 2.5").Success);
    ASSERT_TRUE(Run("  setproperties Thing \"Count\" 3 \"Text\" 'abc'  ").Success);
    EXPECT_EQ(World.Manager.UndoCount(), 2);
    EXPECT_EQ(World.Manager.GetUndoName(0), "setproperties Thing \"Count\" 3 \"Text\" 'abc'");
    EXPECT_EQ(World.Manager.GetUndoName(1), "set Thing.Number 2.5");
    // Commands that change nothing leave no step.
    ASSERT_TRUE(Run("info Thing").Success);
    ASSERT_TRUE(Run("set Thing.Number 2.5").Success);
    EXPECT_EQ(World.Manager.UndoCount(), 2);

    // undo and redo walk the stacks and are no steps themselves.
    const auto undo = Run("undo");
    ASSERT_TRUE(undo.Success) << undo.ErrorText;
    EXPECT_EQ(undo.Info, "Undone: setproperties Thing \"Count\" 3 \"Text\" 'abc'");
    EXPECT_EQ(Thing.Count().Value(), 0);
    EXPECT_EQ(Thing.Text().Value(), "");
    EXPECT_EQ(Thing.Number().Value(), 2.5);
    ASSERT_TRUE(Run("u 5").Success); // as far as there are steps
    EXPECT_EQ(Thing.Number().Value(), 0.0);
    EXPECT_EQ(World.Manager.UndoCount(), 0);
    EXPECT_EQ(World.Manager.RedoCount(), 2);
    EXPECT_EQ(RunFailing("undo").ErrorText, "Nothing to undo");
    // A command that fails after it changed something is rolled back, and redo stays.
    EXPECT_EQ(RunFailing("touch Thing").ErrorText, "Touched and failed");
    EXPECT_EQ(RunFailing("apply List \"rename\" \"Same\"").ErrorText,
              "This name is already used by an object (CmdThing named \"Same\")");
    ASSERT_TRUE(Run("redo 2").Success);
    EXPECT_EQ(Thing.Count().Value(), 3);
    EXPECT_EQ(RunFailing("r").ErrorText, "Nothing to redo");
    EXPECT_EQ(RunFailing("undo 0").ErrorText, "Invalid number of steps: 0");
}

TEST_F(InterpreterFixture, SetTakesEveryKindOfPropertyAsTheUserSeesIt) {
    struct Case {
        const char* Line;
        std::function<bool()> Holds;
    };
    const Case cases[] = {
        {"set Thing.Count 42", [&] { return Thing.Count().Value() == 42; }},
        {"set Thing.Number 3", [&] { return Thing.Number().Value() == 3.0; }},
        {"set Thing.Number -1.5e-3", [&] { return Thing.Number().Value() == -1.5e-3; }},
        // kN/m², the project's unit, into pascal.
        {"set Thing.Pressure -100.5", [&] { return Thing.Pressure().Value() == -100500.0; }},
        {"set Thing.Text \"a 'b'\"", [&] { return Thing.Text().Value() == "a 'b'"; }},
        {"set Thing.Flag True", [&] { return Thing.Flag().Value(); }},
        {"set Thing.Flag false", [&] { return !Thing.Flag().Value(); }},
        {"set Thing.Choice \"gamma ray\"", [&] { return Thing.Choice().IntValue() == 2; }},
        {"set Thing.Choice 1", [&] { return Thing.Choice().IntValue() == 1; }},
        {"set Thing.Ref Other", [&] { return Thing.Ref().Value() == &Other; }},
        {"set Thing.Colour 255", [&] { return Thing.Colour().Red() == 255; }},
        {"set Thing.Table (1 2 3 4)",
         [&] {
             return Thing.Table().GetValues() == std::vector<double>{1, 2, 3, 4};
         }},
        {"set Thing.Table 5 6", [&] { return Thing.Table().RowCount() == 1; }},
        {"set Thing.Table \"7, 8; 9 10\"", [&] { return Thing.Table().GetValue(1, 1) == 10; }},
        {"set Thing.Twice 10", [&] { return Thing.Number().Value() == 5.0; }},
        // A value copied from another property: the stored value, whatever the units.
        {"set Other.Pressure Thing.Pressure",
         [&] { return Other.Pressure().Value() == -100500.0; }},
        {"set Other.Number Thing.Count", [&] { return Other.Number().Value() == 42.0; }},
        {"set Other.Name \"Box\"", [&] { return Other.Name() == "Box"; }},
        // The first parameter may be an object-valued property: its value takes the command.
        {"rename Thing.Ref \"Crate\"", [&] { return Other.Name() == "Crate"; }},
        {"set Thing.Ref.Number 7", [&] { return Other.Number().Value() == 7.0; }},
        {"set Thing[\"Count\"] 1", [&] { return Thing.Count().Value() == 1; }},
        {"set List[1].Number 8", [&] { return Other.Number().Value() == 8.0; }},
        {"set List[-2].Number 9", [&] { return Thing.Number().Value() == 9.0; }},
    };
    for (const auto& c : cases) {
        const auto outcome = Run(c.Line);
        EXPECT_TRUE(outcome.Success) << c.Line << ": " << outcome.ErrorText;
        EXPECT_TRUE(c.Holds()) << c.Line;
    }
    EXPECT_EQ(Successful.Count(), static_cast<int>(std::size(cases)));
}

TEST_F(InterpreterFixture, BadInputReturnsItsMessageAtItsPlaceAndChangesNothing) {
    // Something to undo, so that a failed line could wrongly take it.
    ASSERT_TRUE(Run("set Thing.Number 4").Success);
    struct Case {
        const char* Line;
        int ErrorPos;
        const char* Message;
    };
    const Case cases[] = {
        {"set Thing.Number 3-5", 19, "Number must be followed by space or operand"},
        {"set Thing.Text 'abc", 16, "Unbalanced quotes"},
        {"set Thing.Number (1", 18, "Unbalanced parenthesis"},
        {"set Thing. 1", 10, "Unexpected operand"},
        {"set x[] 1", 6, "Empty indexer"},
        {"frobnicate 1", 1,
         "Command \"frobnicate\" is not recognized as a global command. Check the spelling or try "
         "specifying a target object."},
        {"set Nothing.Number 1", 5, UnknownObject},
        {"set Thing.Nothing 1", 11, UnknownObject},
        {"set Thing.Number \"abc\"", 1, InvalidParameters},
        {"set Thing.Number 1 2", 1, InvalidParameters},
        {"set Tools 5", 1, "Command \"set\" is not available for object Tools"},
        {"set Thing.Count 101", 1, "Thing.Count must be between 0 and 100"},
        {"set Thing.Bounded 0.5", 1, "Thing.Bounded must be between 1 and 10"},
        {"set Thing.Pressure 1", 1, "Thing.Pressure must be between -1000 and 0 kN/m²"},
        {"set Thing.Locked 1", 1, "Cannot set read-only property Thing.Locked"},
        {"set Thing.Half 1", 1, "Cannot set read-only property Thing.Half"},
        {"set Thing.Choice \"Delta\"", 1,
         "Invalid value: \"Delta\". Allowed values are: \"alpha\", \"beta\", \"gammaray\" or "
         "ordinal value."},
        {"set Thing.Choice 3", 1,
         "Invalid value: \"3\". Allowed values are: \"alpha\", \"beta\", \"gammaray\" or ordinal "
         "value."},
        {"set Thing.Guarded True", 1, "Cannot change value from \"False\" to \"True\""},
        {"set Thing.Ref Tools", 1, "Cannot change value from \"<not assigned>\" to \"Tools\""},
        {"set Thing.Table 1 2 3", 1,
         "The number of values (3) is not a multiple of the 2 columns of Thing.Table"},
        {"set List[2].Number 1", 10, "Cannot access item 2 of \"List\" (valid indices are 0 to 1)"},
        {"set Thing[2] 1", 11, "Integer indexer only applicable to listable objects"},
        {"set Thing[\"Nope\"] 1", 11,
         "Invalid indexer \"Nope\" for object \"Thing\" (check spelling)"},
        {"set Thing[1.5] 1", 11, "Indexer must be either an integer or a string"},
        {"set Thing.Number $nope", 18,
         "Variable does not exist. Check the spelling and ensure the variable is assigned before "
         "referencing it."},
        {"set Thing.Number +", 18, "Invalid token. Check the spelling."},
        {"{set} Thing", 1, "Command name expected"},
        {"Thing.Number 1", 1, "Command name expected"},
        {"/ext go", 1, "No external application named \"ext\" was found."},
        {"touch Thing", 1, "Touched and failed"},
        {"setproperties Thing \"Count\" 5 \"Nope\" 1", 1, "Unknown property: Nope"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.Line);
        const auto outcome = RunFailing(c.Line);
        EXPECT_EQ(outcome.ErrorPos, c.ErrorPos);
        EXPECT_EQ(outcome.ErrorText, c.Message);
    }
}

TEST_F(InterpreterFixture, AProgramFaultPassesToTheCallerAfterTheRollback) {
    const std::string before = ModelState();
    EXPECT_THROW(Run("fail Thing"), ECommandError);
    EXPECT_EQ(ModelState(), before);
    EXPECT_EQ(World.Manager.UndoCount(), 0);
    EXPECT_FALSE(World.Manager.IsUndoRedoSnapshotOpened());
    EXPECT_FALSE(Interpreter->Interpreting());
    ASSERT_EQ(All.Count(), 1);
    EXPECT_FALSE(All.GetCommandResult(0)->FResult);
    EXPECT_EQ(All.GetCommandResult(0)->FAdditionalInfo, "A program fault");
    EXPECT_TRUE(Run("set Thing.Number 1").Success);
}

TEST_F(InterpreterFixture, SetPropertiesChecksAllPairsBeforeWritingAny) {
    const auto good = Run("sps Thing (\"Number\" 1.5 \"Choice\" \"Beta\" \"Pressure\" -20)");
    ASSERT_TRUE(good.Success) << good.ErrorText;
    EXPECT_EQ(Thing.Number().Value(), 1.5);
    EXPECT_EQ(Thing.Choice().IntValue(), 1);
    EXPECT_EQ(Thing.Pressure().Value(), -20000.0);
    EXPECT_EQ(World.Manager.UndoCount(), 1);

    const std::pair<const char*, const char*> failures[] = {
        {"sps Thing \"Number\" 2 \"Count\" 1000", "Incorrect new value for: Count"},
        {"sps Thing \"Number\" 2 \"Locked\" 1", "Cannot set a read-only property: Locked"},
        {"sps Thing \"Number\" 2 \"Count\" \"x\"", "Incorrect new value for: Count"},
        {"sps Thing \"Number\" 2 \"number\" 3", "Cannot set a property more than once: Number"},
    };
    for (const auto& [line, message] : failures)
        EXPECT_EQ(RunFailing(line).ErrorText, message);
    // A write the property refuses, after one that went through: both stay as they were.
    EXPECT_EQ(RunFailing("sps Thing \"Number\" 2 \"Guarded\" True").ErrorText,
              "Cannot set property: Guarded\r\nCannot change value from \"False\" to \"True\"");
}

TEST_F(InterpreterFixture, TargetsAndDefaultObjects) {
    // No object named: the first default object with the command whose pattern fits.
    auto outcome = Run("greet \"you\"");
    ASSERT_TRUE(outcome.Success) << outcome.ErrorText;
    EXPECT_EQ(outcome.Info, "Hello \"you\"\r\ngreeted");
    // An object first that lacks the command is a parameter of a default object's command.
    outcome = Run("gr Thing");
    ASSERT_TRUE(outcome.Success) << outcome.ErrorText;
    EXPECT_EQ(outcome.Info, "Hello Thing\r\ngreeted");
    // A default object is found by its name, and the object may be named with the command.
    EXPECT_TRUE(Run("greet Tools 'x'").Success);
    EXPECT_TRUE(Run("_info Thing").Success);
    EXPECT_EQ(Run("__info Thing").ErrorText,
              "Command \"__info\" is not available for object Thing");
    EXPECT_EQ(Run("greet 1").ErrorText, InvalidParameters);

    // A variable holding an identifier stands first in a chain; one holding a number is a number.
    Interpreter->Environment().UserVariables().SetVarData("box", TTokenDataIdentifier("Thing"));
    Interpreter->Environment().UserVariables().SetVarData("n", TTokenDataInteger(12));
    ASSERT_TRUE(Run("set $box.Count $n").Success);
    EXPECT_EQ(Thing.Count().Value(), 12);
    EXPECT_EQ(Run("set $n.Count 1").ErrorText, "Identifier expected, but Integer found");
    TInterpreterEnvironment copy;
    EXPECT_THAT([&] { copy.Assign(Interpreter->Environment()); },
                ThrowsMessage<ECommandError>(
                    StrEq("Prediction failed because user variables are present!")));
}

TEST_F(InterpreterFixture, HistoriesLastOutputAndPrediction) {
    for (const char* line : {"", "   "}) {
        const auto outcome = Run(line);
        EXPECT_FALSE(outcome.Success);
        EXPECT_EQ(outcome.ErrorText, "");
        EXPECT_EQ(outcome.ErrorPos, -1);
    }
    EXPECT_EQ(Successful.Count(), 0);
    EXPECT_EQ(All.Count(), 2);

    EXPECT_TRUE(Run("# just a note").Success);
    EXPECT_EQ(Successful.Last(), "# just a note");
    EXPECT_TRUE(TKovInterpreter::IsSkippableCommentLine("  ##~ tarnwick running"));
    EXPECT_FALSE(TKovInterpreter::IsSkippableCommentLine("# note"));

    ASSERT_TRUE(Run("slice Stress 1 2").Success);
    const TCommandOutput* output = Interpreter->LastOutput();
    ASSERT_NE(output, nullptr);
    ASSERT_EQ(output->ResultObjectsCount(), 1);
    EXPECT_EQ(Interpreter->LastObjectName(), "Stress_1to2_1");
    // Another thread has an output of its own.
    const TCommandOutput* elsewhere = output;
    std::thread([&] { elsewhere = Interpreter->LastOutput(); }).join();
    EXPECT_EQ(elsewhere, nullptr);

    // Prediction runs the checks only: nothing changes, nothing is recorded.
    const std::string before = ModelState();
    const int successful = Successful.Count(), all = All.Count();
    EXPECT_TRUE(Interpreter->PredictExecuteMaySucceed("set Thing.Number 5"));
    EXPECT_TRUE(Interpreter->PredictExecuteMaySucceed("rename Thing \"Other2\""));
    EXPECT_TRUE(Interpreter->PredictExecuteMaySucceed("delete Stress_1to2_1"));
    int32_t position;
    std::string error, info;
    EXPECT_FALSE(
        Interpreter->PredictExecuteMaySucceed("set Thing.Count 500", position, error, info));
    EXPECT_EQ(error, "Thing.Count must be between 0 and 100");
    EXPECT_FALSE(Interpreter->PredictExecuteMaySucceed("undo"));
    EXPECT_EQ(ModelState(), before);
    EXPECT_EQ(Successful.Count(), successful);
    EXPECT_EQ(All.Count(), all);
    EXPECT_EQ(Interpreter->LastOutput(), output);
    EXPECT_EQ(World.Manager.UndoCount(), 0);

    // A failed line is in the history of all lines, with its outcome.
    Run("set Thing.Count 500");
    const TCommandResult* result = All.GetCommandResult(All.Count() - 1);
    ASSERT_NE(result, nullptr);
    EXPECT_FALSE(result->FResult);
    EXPECT_EQ(result->FErrorPos, 1);
    EXPECT_EQ(result->FAdditionalInfo, "Thing.Count must be between 0 and 100");
}

TEST_F(InterpreterFixture, OuterFrameActivityTimingAndNesting) {
    int notifications = 0;
    TObserver activity(TObserver::TOnNotify([&](TNotifySender) { ++notifications; }));
    Interpreter->AttachActivityObserver(&activity);
    // A command that runs a further line: the observers hear only the outermost begin and end.
    bool inner = false;
    int handle = Interpreter->SubscribeToNotifications(
        [&](TKovInterpreter& interpreter, TKovObject*, const std::string& name,
            const TCommandParameterList&, TKovInterpretState state, const std::string&,
            const std::string&, bool) {
            if (name == "greet" && state == pisBeforeExecution && !inner) {
                inner = true;
                EXPECT_TRUE(interpreter.Interpreting());
                EXPECT_TRUE(interpreter.Interpret("set Thing.Number 6"));
            }
        });
    ASSERT_TRUE(Run("greet 'x'").Success);
    EXPECT_EQ(notifications, 2);
    EXPECT_EQ(Thing.Number().Value(), 6.0);
    Interpreter->UnsubscribeFromNotifications(handle);
    Interpreter->DetachActivityObserver(&activity);

    // A clock that wraps during a line.
    uint32_t now = 0xFFFFFFF0u;
    TKovInterpreter_Virtual::SetTickCountFunction([&] {
        const uint32_t t = now;
        now += 0x20;
        return t;
    });
    ASSERT_TRUE(Run("echo Thing").Success);
    EXPECT_EQ(Interpreter->LastRunMilliSeconds(), 0x7FFFFFFFu);
    now = 100;
    ASSERT_TRUE(Run("echo Thing").Success);
    EXPECT_EQ(Interpreter->LastRunMilliSeconds(), 0x20u);
    TKovInterpreter_Virtual::SetTickCountFunction(nullptr);

    // The memory watch reports the peak of a line.
    TKovInterpreter_Virtual::SetMemoryMonitoring(true);
    ASSERT_TRUE(Run("echo Thing").Success);
    TKovInterpreter_Virtual::SetMemoryMonitoring(false);
    EXPECT_GT(Interpreter->LastRunMaxMemUseBytes(), 0);
    EXPECT_FALSE(TKovTaskController::IsRunningAsyncTasks());
}

TEST_F(InterpreterFixture, TheFirstLineOfARunNamesTheProgram) {
    TRuntimeSettings::Set("NO_LOG_VERSION_COMMENT", false);
    TCommandHistory all;
    TKovInterpreter fresh(&World.Manager, {}, nullptr, &all);
    ASSERT_TRUE(fresh.Interpret("echo Thing"));
    TRuntimeSettings::Set("NO_LOG_VERSION_COMMENT", true);
    ASSERT_EQ(all.Count(), 2);
    EXPECT_EQ(all.GetCommand(0), "##~ running test_commands 0.1.0");
    EXPECT_TRUE(all.GetCommandResult(0)->FResult);
    ASSERT_TRUE(fresh.Interpret("echo Thing"));
    EXPECT_EQ(all.Count(), 3);
}

TEST_F(InterpreterFixture, MakeCommandTextWritesWhatTheInterpreterReadsBack) {
    // The root is the only default object with undo: it is left out.
    EXPECT_EQ(Interpreter->MakeCommandText("undo", &Root, std::vector<TVarRec>{}), "_undo");
    EXPECT_EQ(Interpreter->MakeCommandText("_info", &Root, std::vector<TVarRec>{}), "_info Root");
    EXPECT_EQ(Interpreter->MakeCommandText("set", &Thing.Number(), {2.0}), "_set Thing.Number 2");
    EXPECT_EQ(Interpreter->MakeCommandText("set", &Thing.Number(), {0.1}), "_set Thing.Number 0.1");
    EXPECT_EQ(Interpreter->MakeCommandText("x", nullptr, {-1.0, int32_t(3), true, "it's \"x\""}),
              "_x -1 3 True '''it's \"x\"'''");
    TCommandParameterList list;
    list.AddNew<TComParText>("Count");
    auto& set = list.AddNew<TComParSetOfParameters_Input>();
    set.Items().AddNew<TComParInteger>(1);
    set.Items().AddNew<TComParObject>(&Other);
    EXPECT_EQ(Interpreter->MakeCommandText("sps", &Thing, list), "_sps Thing \"Count\" (1 Other)");

    // What it writes, it runs.
    ASSERT_TRUE(Interpreter->Interpret("set", &Thing.Text(), {"it's \"x\""}));
    EXPECT_EQ(Thing.Text().Value(), "it's \"x\"");
    ASSERT_TRUE(Interpreter->Interpret("set", &Thing.Number(), {1.25e-5}));
    EXPECT_EQ(Thing.Number().Value(), 1.25e-5);
    // Within 1e-12 of an integer, a number is written as that integer.
    EXPECT_EQ(Interpreter->MakeCommandText("x", {3.0000000000001, 1e-13}), "_x 3 0");
    ASSERT_TRUE(Interpreter->Interpret("undo", &Root, {int32_t(2)}));
    EXPECT_EQ(Thing.Text().Value(), "");
}

namespace {

class TEchoExternal : public TExternalInterpreter {
public:
    std::string GetName() const override { return "output"; }
    std::string GetShortName() const override { return "out"; }
    bool InterpretOrPredict(const std::string& command, int32_t& errorPos, std::string& errorText,
                            std::string& additionalText, bool predict) override {
        Received = command + (predict ? " (predicted)" : "");
        if (command == "bad") {
            errorPos = 2;
            errorText = "bad command";
            return false;
        }
        additionalText = "done";
        return true;
    }
    std::string Received;
};

} // namespace

TEST_F(InterpreterFixture, ExternalInterpretersTakeWholeLines) {
    auto external = std::make_unique<TEchoExternal>();
    TEchoExternal* echo = external.get();
    Interpreter->AddExternalInterpreter(std::move(external));
    auto outcome = Run("/OUT plot 1");
    EXPECT_TRUE(outcome.Success);
    EXPECT_EQ(outcome.Info, "done");
    EXPECT_EQ(echo->Received, "plot 1");
    EXPECT_TRUE(Interpreter->PredictExecuteMaySucceed("/output x"));
    EXPECT_EQ(echo->Received, "x (predicted)");
    outcome = Run("/output bad");
    EXPECT_FALSE(outcome.Success);
    EXPECT_EQ(outcome.ErrorText, "bad command");
    EXPECT_EQ(outcome.ErrorPos, 10); // 2 in "bad", behind "/output "
    Interpreter->RemoveExternalInterpreter(echo);
    EXPECT_FALSE(Run("/output x").Success);
}
