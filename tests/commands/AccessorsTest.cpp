#include "InterpreterTestSupport.h"

#include "commands/GlobalHelpers.h"
#include "commands/OAIntrinsicProperties.h"
#include "commands/ObjectFilters.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

using namespace tw;
using namespace tw::testing;

TEST_F(InterpreterFixture, RenameChecksTheNewName) {
    auto outcome = Run("rn Thing \"Box\"");
    ASSERT_TRUE(outcome.Success) << outcome.ErrorText;
    EXPECT_EQ(outcome.Info, "Thing renamed to Box");
    EXPECT_EQ(Thing.Name(), "Box");
    EXPECT_EQ(World.Manager.UndoCount(), 1);
    ASSERT_TRUE(Run("undo").Success);
    EXPECT_EQ(Thing.Name(), "Thing");

    const std::pair<const char*, const char*> cases[] = {
        {"rename Thing \"  \"", "Could not set the name because it is unspecified"},
        {"rename Thing \"1abc\"",
         "Could not set the name because it starts with an invalid character"},
        {"rename Thing \"a-b\"",
         "Could not set the name because it contains one or more invalid characters"},
        {"rename Thing \"\xC3\xA9t\xC3\xA9\"",
         "Could not set the name because it starts with an invalid character"},
        {"rename Thing \"While\"", "Could not set the name to a reserved word"},
        {"rename Thing \"other\"",
         "This name is already used by an object (CmdThing named \"Other\")"},
        {"set Thing.Name \"Other\"",
         "This name is already used by an object (CmdThing named \"Other\")"},
    };
    for (const auto& [line, message] : cases)
        EXPECT_EQ(RunFailing(line).ErrorText, message);
}

TEST_F(InterpreterFixture, InfoInspectCommandsAndEcho) {
    ASSERT_TRUE(Run("set Thing.Pressure -100").Success);
    ASSERT_TRUE(Run("smd Thing \"source\" \"lab 3\"").Success);
    auto outcome = Run("info Thing");
    ASSERT_TRUE(outcome.Success);
    EXPECT_EQ(outcome.Info.rfind("CmdThing\r\nCommands: echo, __dump, commands, rename, set, "
                                 "multiply, info, inspect, setproperties, getmetadata, "
                                 "setmetadata, __observers\r\nAttributes\r\n  Count: 0\r\n",
                                 0),
              0u)
        << outcome.Info;
    EXPECT_NE(outcome.Info.find("\r\n  Pressure: -100 kN/m²\r\n"), std::string::npos);
    EXPECT_NE(outcome.Info.find("\r\n  Choice: Alpha\r\n"), std::string::npos);
    EXPECT_NE(outcome.Info.find("\r\n  Ref: <not assigned>\r\n"), std::string::npos);
    EXPECT_EQ(outcome.Info.find("Hidden"), std::string::npos); // not published
    EXPECT_NE(outcome.Info.find("\r\nMetadata\r\n  source: lab 3"), std::string::npos);
    EXPECT_EQ(Run("gmd Thing \"source\"").Info, "lab 3");
    EXPECT_EQ(RunFailing("smd Thing \"a=b\" 1").ErrorText, "Invalid metadata key: \"a=b\"");

    outcome = Run("info List");
    ASSERT_TRUE(outcome.Success);
    EXPECT_NE(outcome.Info.find("Owns objects: False\r\nCount: 2\r\n1/2. CmdThing named "
                                "\"Thing\"\r\n2/2. CmdThing named \"Other\""),
              std::string::npos)
        << outcome.Info;

    outcome = Run("inspect Thing");
    ASSERT_TRUE(outcome.Success);
    EXPECT_NE(outcome.Info.find("  Cell pressure (NumberWithUnit): -100 kN/m²\r\n"),
              std::string::npos);
    EXPECT_NE(outcome.Info.find("  Locked (Integer): 0 [read-only]"), std::string::npos);

    EXPECT_EQ(Run("echo Thing").Info, "CmdThing named \"Thing\"");
    EXPECT_EQ(Run("echo Thing.Pressure").Info, "Pressure: -100 kN/m²");
    EXPECT_EQ(Run("echo Stress").Info,
              "KovValuesWithUnit named \"Stress\": [-100000, -50000, 0, 20000] Pressure");
    // The group "List" watches its members.
    EXPECT_EQ(Run("__obs Thing").Info, "Thing: 1 observers");
    EXPECT_NE(Run("__dump Thing").Info.find("  Hidden = 0 (Integer, not published)"),
              std::string::npos);

    outcome = Run("cms Thing \"sps\"");
    EXPECT_EQ(outcome.Info, "setproperties (<Text> <Any>){1,...}");
    outcome = Run("commands Thing.Choice");
    EXPECT_NE(outcome.Info.find("\r\nset"), std::string::npos);
    EXPECT_EQ(outcome.Info.find("rename"), std::string::npos); // a property has no own name
    EXPECT_EQ(RunFailing("commands Thing \"nope\"").ErrorText,
              "Command \"nope\" is not available for object CmdThing named \"Thing\"");
}

TEST_F(InterpreterFixture, SetFromASourceAndMultiply) {
    World.Manager.LockRevert();
    Other.Number().SetValue(4);
    Other.Choice().SetIntValue(2);
    Other.Pressure().SetValue(-3000);
    World.Manager.UnlockRevert();
    ASSERT_TRUE(Run("set Thing Other").Success);
    EXPECT_EQ(Thing.Number().Value(), 4.0);
    EXPECT_EQ(Thing.Choice().IntValue(), 2);
    EXPECT_EQ(Thing.Name(), "Thing");
    EXPECT_EQ(World.Manager.UndoCount(), 1);
    EXPECT_EQ(RunFailing("set Thing Tools").ErrorText,
              "Cannot apply the properties of a CmdTool to a CmdThing");
    EXPECT_EQ(RunFailing("set Thing Thing.Ref").ErrorText, "Expected source object as parameter");

    ASSERT_TRUE(Run("mul Thing 2").Success);
    EXPECT_EQ(Thing.Number().Value(), 8.0);
    EXPECT_EQ(Thing.Pressure().Value(), -6000.0);
    EXPECT_EQ(Thing.Count().Value(), 0); // integers keep their value
    ASSERT_TRUE(Run("multiply Thing \"Number\" \"Twice\" 0.5").Success);
    EXPECT_EQ(Thing.Number().Value(), 2.0); // 8 * 0.5, then twice of it * 0.5 again
    ASSERT_TRUE(Run("mul Thing.Pressure 10").Success);
    EXPECT_EQ(Thing.Pressure().Value(), -60000.0);
    EXPECT_EQ(RunFailing("mul Thing \"Nope\" 2").ErrorText, "Unknown property: Nope");
    EXPECT_EQ(RunFailing("mul Thing \"Text\" 2").ErrorText, "Cannot multiply this property.");
    EXPECT_EQ(RunFailing("mul Thing.Count 2").ErrorText, "Cannot multiply this property.");
    EXPECT_EQ(RunFailing("mul Thing.Half 2").ErrorText, "Cannot multiply this property.");
}

TEST_F(InterpreterFixture, ValueArraysInPresentationUnits) {
    auto outcome = Run("index Stress 1");
    ASSERT_TRUE(outcome.Success);
    EXPECT_EQ(outcome.Info, "-50 kN/m²");
    EXPECT_EQ(Interpreter->LastOutput()->GetResultValue(0), -50.0);
    EXPECT_EQ(Run("count Stress").Info, "4");
    EXPECT_EQ(RunFailing("index Stress 4").ErrorText, "Invalid index for \"Stress\": \"4\"");
    EXPECT_EQ(RunFailing("slice Stress 2 1").ErrorText,
              "The slice starting index must be equal to, or lower than, the last index.");
    EXPECT_EQ(RunFailing("slice Stress -1 1").ErrorText, "Invalid index for \"Stress\": \"-1\"");

    outcome = Run("slice Stress 0 2");
    ASSERT_TRUE(outcome.Success);
    EXPECT_EQ(outcome.Info, "Added Stress_0to2_1");
    outcome = Run("slice Stress 0 2");
    EXPECT_EQ(outcome.Info, "Added Stress_0to2_2");
    // Made outside undo: results of commands, not changes of the model.
    EXPECT_EQ(World.Manager.UndoCount(), 0);

    outcome = Run("fi Stress \"lt\" -20");
    ASSERT_TRUE(outcome.Success) << outcome.ErrorText;
    EXPECT_EQ(outcome.Info, "Added Stress_lt_1");
    EXPECT_EQ(Run("echo Stress_lt_1").Info,
              "KovValuesWithUnit named \"Stress_lt_1\": [-100000, -50000] Pressure");
    EXPECT_EQ(RunFailing("filter Stress \"gt\" 100").ErrorText,
              "The filter count must be higher than 0.");
    EXPECT_EQ(RunFailing("filter Stress \"about\" 100").ErrorText,
              "Invalid parameters. Make sure that the specified parameters match the ones that "
              "are expected.");

    const int arrays = TKovValuesList::GetInstance(&World.Manager).Count();
    outcome = Run("del Stress_lt_1");
    ASSERT_TRUE(outcome.Success);
    EXPECT_EQ(outcome.Info, "Deleted Stress_lt_1");
    EXPECT_EQ(TKovValuesList::GetInstance(&World.Manager).Count(), arrays - 1);
    EXPECT_FALSE(Run("echo Stress_lt_1").Success);
}

TEST_F(InterpreterFixture, NotificationsAroundEachCommand) {
    std::vector<std::string> heard;
    const int handle = Interpreter->SubscribeToNotifications(
        [&](TKovInterpreter&, TKovObject* object, const std::string& name,
            const TCommandParameterList& parameters, TKovInterpretState state,
            const std::string& error, const std::string&, bool success) {
            heard.push_back(Format("%s %s %s %s %s %s",
                                   state == pisBeforeExecution ? "before" : "after", name,
                                   object ? object->Name() : "-", parameters.AsText(),
                                   success ? "ok" : "failed", error));
        });
    Run("set Thing.Count 3");
    Run("set Thing.Count 300");
    EXPECT_TRUE(Interpreter->PredictExecuteMaySucceed("set Thing.Count 4"));
    Interpreter->UnsubscribeFromNotifications(handle);
    Run("set Thing.Count 5");
    ASSERT_EQ(heard.size(), 4u);
    EXPECT_EQ(heard[0], "before set Count 3 ok ");
    EXPECT_EQ(heard[1], "after set Count 3 ok ");
    EXPECT_EQ(heard[3], "after set Count 300 failed Thing.Count must be between 0 and 100");
}

TEST(ObjectAccessors, RegistryFindsTheMostSpecificAndTheLatest) {
    RegisterTestAccessors();
    auto& registry = TObjectAccessors::Instance();
    EXPECT_EQ(&registry.GetAccessorFor(TIPDoubleWithUnit::StaticClass())->ServedClass(),
              &TIPDoubleWithUnit::StaticClass());
    EXPECT_EQ(&registry.GetAccessorFor(TIPDouble_DerivedExternal::StaticClass())->ServedClass(),
              &TIPDouble::StaticClass());
    EXPECT_EQ(&registry.GetAccessorFor(TCmdThing::StaticClass())->ServedClass(),
              &TKovObservableObject::StaticClass());
    EXPECT_EQ(registry.GetAccessorFor(static_cast<const TKovObject*>(nullptr)), nullptr);

    // A later registration for the same class wins, until it goes.
    auto& mine = registry.RegisterAccessor(
        std::make_unique<TOAKovObservableObject>(TCmdSubThing::StaticClass()));
    EXPECT_EQ(registry.GetAccessorFor(TCmdSubThing::StaticClass()), &mine);
    EXPECT_EQ(registry.GetAccessor<TOAIPTable>()->ServedClass().Name(), "TIPTable");
    EXPECT_TRUE(registry.UnregisterAccessor(&mine));
    EXPECT_NE(registry.GetAccessorFor(TCmdSubThing::StaticClass()), nullptr);
    EXPECT_FALSE(registry.UnregisterAccessor(&mine));

    TCmdWorld world;
    auto& thing = world.Add<TCmdThing>("A");
    auto& other = world.Add<TCmdThing>("B");
    world.Manager.LockRevert();
    thing.Ref().SetValue(&other);
    world.Manager.UnlockRevert();
    // A reference served only by the generic reference accessor stands for what it refers to.
    EXPECT_EQ(registry.GetAccessorCoupling(&thing.Ref()).first, &other);
    EXPECT_EQ(registry.GetAccessorCoupling(&thing.Number()).first, &thing.Number());

    TCommandPatternMapper mapper;
    static_cast<const TCustomObjectAccessor*>(registry.GetAccessorFor(&thing))
        ->FillCommandPatternMapper(&thing, mapper, false);
    const int multiply = mapper.IndexOf("multiply");
    ASSERT_GE(multiply, 0);
    EXPECT_EQ(mapper.GetMapping(multiply).FCommandShortName, "mul");
    EXPECT_EQ(mapper.GetMapping(multiply).FPatterns,
              (std::vector<std::string>{"<Number>", "<Text>{1,...} <Number>"}));
    EXPECT_EQ(mapper.IndexOf("__dump"), -1);
    EXPECT_NE(registry.SaveCommands().find("  setproperties (sps) (<Text> <Any>){1,...}"),
              std::string::npos);
}

TEST(GlobalHelpers, MadeInOrderAndNamedAfterTheirType) {
    TCmdWorld world;
    TGlobalHelpers helpers;
    {
        TRevertLock lock(&world.Manager);
        EXPECT_THROW(helpers.Add(Make<TCmdTool>(&world.Manager)), EGlobalHelpersException);
    }
    const int first = TGlobalHelperRegistry::Register(
        [](TKovObjectManager* m) -> std::unique_ptr<TKovObject> { return Make<TCmdTool>(m); });
    const int second = TGlobalHelperRegistry::Register(
        [](TKovObjectManager* m) -> std::unique_ptr<TKovObject> { return Make<TCmdRoot>(m); });
    helpers.Initialize();
    helpers.CreateRegistered(&world.Manager);
    TGlobalHelperRegistry::Unregister(first);
    TGlobalHelperRegistry::Unregister(second);
    ASSERT_EQ(helpers.Items().size(), 2u);
    EXPECT_EQ(helpers.Items()[0]->Name(), "CmdTool");
    EXPECT_EQ(helpers.Items()[1]->Name(), "CmdRoot");
    EXPECT_EQ(world.Manager.UndoCount(), 0);
    EXPECT_TRUE(TGlobalHelperRegistry::Factories().empty());
}

TEST(CommandHistory, VetoSubscribersExportAndTheLogger) {
    const auto folder =
        std::filesystem::temp_directory_path() / ("tw_history_" + std::to_string(::getpid()));
    std::filesystem::create_directories(folder);
    const std::string logName = (folder / "commands.log").string();

    TCommandHistory history;
    std::vector<int> added;
    const int handle =
        history.SubscribeToNotifications({[&](int i) { added.push_back(i); }, nullptr});
    history.SetOnBeforeCommandAdd([](const std::string& line) { return line != "secret"; });
    history.AddCommand("one");
    history.AddCommand("secret");
    EXPECT_EQ(history.Count(), 1);
    EXPECT_EQ(added, std::vector<int>{0});

    {
        TCommandHistoryLogger logger(history, logName);
        ASSERT_TRUE(logger.CanWrite());
        logger.Lock();
        history.AddCommand("two", true, -1, "", "");
        history.AddCommand("three");
        std::ifstream early(logName);
        std::string content((std::istreambuf_iterator<char>(early)), {});
        EXPECT_EQ(content, ""); // held back
        logger.Unlock();
        std::ifstream late(logName);
        EXPECT_EQ(std::string((std::istreambuf_iterator<char>(late)), {}), "two\nthree\n");
        logger.CloseLog();
        history.AddCommand("four");
        logger.ReopenLog();
        logger.ReinitializeFromHistory();
    }
    std::ifstream whole(logName);
    EXPECT_EQ(std::string((std::istreambuf_iterator<char>(whole)), {}), "one\ntwo\nthree\nfour\n");
    history.UnsubscribeFromNotifications(handle);

    const std::string exported = (folder / "export.txt").string();
    ASSERT_TRUE(history.ExportTo(exported));
    TCommandHistory again;
    ASSERT_TRUE(again.AddFromFile(exported));
    EXPECT_EQ(again.Count(), 4);
    EXPECT_EQ(again.Last(), "four");
    EXPECT_FALSE(history.ExportTo((folder / "missing" / "x.txt").string()));
    std::filesystem::remove_all(folder);
}

TEST_F(InterpreterFixture, ListsFilterTheirItemsAndApplyCommandsToEach) {
    TKovObjectClassRegistry::Instance().RegisterClass(&TCmdThing::StaticClass());
    World.Manager.LockRevert();
    Thing.Count().SetValue(5);
    Other.Count().SetValue(2);
    Other.Pressure().SetValue(-300000);
    Thing.SetMetadata("source", "lab 3");
    World.Manager.UnlockRevert();

    auto outcome = Run("filter List \"FilterByProperty\" \"Count\" \">=\" 3");
    ASSERT_TRUE(outcome.Success) << outcome.ErrorText;
    EXPECT_EQ(outcome.Info, "Count: 1\r\n1/1. CmdThing named \"Thing\"");
    EXPECT_EQ(Interpreter->LastOutput()->GetResultObject(0), &Thing);
    // A number with a unit compares in its presentation unit (kN/m²).
    outcome = Run("fi List \"FilterByProperty\" \"Pressure\" \"<\" -200");
    EXPECT_EQ(outcome.Info, "Count: 1\r\n1/1. CmdThing named \"Other\"");
    outcome = Run("fi List \"FilterByProperty\" \"Choice\" \"=\" \"alpha\"");
    EXPECT_EQ(outcome.Info.substr(0, 8), "Count: 2");
    EXPECT_EQ(Run("fi List \"FilterByType\" \"CmdThing\"").Info.substr(0, 8), "Count: 2");
    EXPECT_EQ(Run("fi List \"FilterByMetadata\" \"source\" \"lab 3\"").Info,
              "Count: 1\r\n1/1. CmdThing named \"Thing\"");

    const std::pair<const char*, const char*> failures[] = {
        {"fi List \"FilterByColour\" 1", "Unknown filter: FilterByColour"},
        {"fi List \"FilterByType\" \"NoSuchType\"", "Unknown object type: \"NoSuchType\""},
        {"fi List \"FilterByType\" \"a b\"", "Invalid object type: \"a b\""},
        {"fi List \"FilterByProperty\" \"1x\" \"=\" 1",
         "No correct identifier name specified: \"1x\""},
        {"fi List \"FilterByProperty\" \"Count\" \"~\" 1", "No correct boolean operator specified"},
    };
    for (const auto& [line, message] : failures)
        EXPECT_EQ(RunFailing(line).ErrorText, message);
    EXPECT_THROW(TOFByIntrProp::Compare(0, "~"), ECommandError);

    // One command on each item, as one undo step; the first failure takes back the others.
    EXPECT_EQ(RunFailing("apply List \"rename\" \"Same\"").ErrorText,
              "This name is already used by an object (CmdThing named \"Same\")");
    EXPECT_EQ(Thing.Name(), "Thing");
    outcome = Run("map List \"sps\" \"Count\" 50 \"Number\" 1");
    ASSERT_TRUE(outcome.Success) << outcome.ErrorText;
    EXPECT_EQ(Thing.Count().Value(), 50);
    EXPECT_EQ(Other.Count().Value(), 50);
    EXPECT_EQ(World.Manager.UndoCount(), 1);
    EXPECT_EQ(RunFailing("map List \"nope\"").ErrorText,
              "Command \"nope\" is not available for object CmdThing named \"Thing\"");
}

TEST_F(InterpreterFixture, APictureIsSetFromAFileAndMustBeOne) {
    const auto folder =
        std::filesystem::temp_directory_path() / ("tw_picture_" + std::to_string(::getpid()));
    std::filesystem::create_directories(folder);
    const std::string gif = (folder / "a.gif").string(), text = (folder / "a.txt").string();
    std::ofstream(gif, std::ios::binary) << std::string("GIF87a\x02\x00\x03\x00", 10);
    std::ofstream(text) << "not a picture";

    const auto outcome = Run("set Thing.Picture \"" + gif + "\"");
    ASSERT_TRUE(outcome.Success) << outcome.ErrorText;
    EXPECT_EQ(Thing.Property<TIPImage>("Picture").GetNewGraphic().Height, 3);
    EXPECT_EQ(RunFailing("set Thing.Picture \"" + text + "\"")
                  .ErrorText.rfind("Cannot change value from ", 0),
              0u);
    EXPECT_EQ(RunFailing("set Thing.Picture \"" + (folder / "none.png").string() + "\"").ErrorText,
              "Cannot read the file \"" + (folder / "none.png").string() + "\"");
    std::filesystem::remove_all(folder);
}
