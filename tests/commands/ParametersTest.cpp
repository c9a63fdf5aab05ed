#include "CommandTestModel.h"

#include "commands/KovCommands.h"
#include "commands/KovGroup.h"
#include "commands/KovTokenizer.h"
#include "commands/MultiObjectCommands.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace tw;
using namespace tw::testing;
using ::testing::StrEq;
using ::testing::ThrowsMessage;

namespace {

TCommandParameterList Params(std::initializer_list<TCommandParameterRef> items) {
    TCommandParameterList list;
    for (const auto& item : items)
        list.Add(item);
    return list;
}
TCommandParameterRef Int(int32_t v) {
    return std::make_shared<TComParInteger>(v);
}
TCommandParameterRef Dbl(double v) {
    return std::make_shared<TComParDouble>(v);
}
TCommandParameterRef Txt(const std::string& v) {
    return std::make_shared<TComParText>(v);
}
TCommandParameterRef Obj(TKovObject* o) {
    return std::make_shared<TComParObject>(o);
}
TCommandParameterRef Set(std::initializer_list<TCommandParameterRef> items) {
    return std::make_shared<TComParSetOfParameters_Input>(Params(items));
}

} // namespace

TEST(Patterns, OneCommandWithTwoPatternsChoosesByMatching) {
    TEasyCommandList list;
    std::string ran;
    auto& command = list.AddExternal(
        {"commands", "&Commands", "cms"}, {},
        [&](TKovObject*, const TCommandParameterList&, TCommandOutput&) { ran = "none"; });
    command.AddPattern({{TComParText::Class()}},
                       [&](TKovObject*, const TCommandParameterList& p, TCommandOutput& out) {
                           ran = static_cast<TComParText*>(p[0])->Value();
                           out.AddResultValue(1);
                       });
    EXPECT_EQ(list.GetByName(" CMS "), &command);
    TCommandOutput output;
    EXPECT_TRUE(command.Execute(nullptr, Params({}), output));
    EXPECT_EQ(ran, "none");
    EXPECT_TRUE(command.Execute(nullptr, Params({Txt("set")}), output));
    EXPECT_EQ(ran, "set");
    EXPECT_EQ(output.ResultValuesCount(), 1);
    EXPECT_FALSE(command.Execute(nullptr, Params({Int(1)}), output));
    EXPECT_EQ(output.ErrorCode(), cecZeroPatternMatches);
    EXPECT_FALSE(command.Execute(nullptr, Params({Txt("a"), Txt("b")}), output));
    EXPECT_EQ(output.ErrorCode(), cecZeroPatternMatches);
    EXPECT_EQ(command.GetSupportedPattern(0).AsText(), "no parameters");
    EXPECT_EQ(command.GetSupportedPattern(1).AsText(), "<Text>");

    // A pattern asked to run on parameters it doesn't match is a program fault.
    EXPECT_THAT([&] { command.GetSupportedPattern(1).Execute(nullptr, Params({Int(1)}), output); },
                ThrowsMessage<ECommandError>(
                    StrEq("Command Pattern Execute called for an unsupported parameter set!")));
}

TEST(Patterns, ANumberBesideAnIntegerIsAmbiguousForAnInteger) {
    TEasyCommandList list;
    auto& command =
        list.AddExternal({"scale", "", ""}, {{TComParNumber::Class()}},
                         [](TKovObject*, const TCommandParameterList&, TCommandOutput&) {});
    command.AddPattern({{TComParInteger::Class()}},
                       [](TKovObject*, const TCommandParameterList&, TCommandOutput&) {});
    TCommandOutput output;
    EXPECT_FALSE(command.Execute(nullptr, Params({Int(2)}), output));
    EXPECT_EQ(output.ErrorCode(), cecMultiplePatternMatches);
    EXPECT_TRUE(command.Execute(nullptr, Params({Dbl(2.5)}), output));
    EXPECT_TRUE(TKovCommand::HasPatternThatMatchesExactly(command, Params({Int(2)})));
    EXPECT_FALSE(TKovCommand::HasPatternThatMatchesExactly(command, Params({Dbl(2)})));
}

TEST(Patterns, CommandListNamesCacheAndClashes) {
    TEasyCommandList list;
    auto nothing = [](TKovObject*, const TCommandParameterList&, TCommandOutput&) {};
    list.AddExternal({"setmetadata", "", "smd"}, {}, nothing);
    EXPECT_THAT(
        [&] {
            list.AddExternal({"smd", "", ""}, {}, nothing);
        },
        ThrowsMessage<ECommandError>(
            StrEq("Adding command \"smd\" to command list leads to clash with "
                  "already existing \"setmetadata\"")));
    TCommandErrorCode code;
    EXPECT_EQ(list.GetByName("nosuch", code), nullptr);
    EXPECT_EQ(code, cecZeroCommandMatches);
    EXPECT_EQ(list.CachedNameCount(), 1u);
    // A later command of that name is found: adding empties the cache.
    list.AddExternal({"nosuch", "", ""}, {}, nothing);
    EXPECT_EQ(list.CachedNameCount(), 0u);
    EXPECT_NE(list.GetByName("nosuch", code), nullptr);
    EXPECT_EQ(code, cecNoError);

    list.SetAllowDuplicateNames(true);
    list.AddExternal({"smd", "", ""}, {}, nothing);
    EXPECT_EQ(list.GetByName("SMD", code), nullptr);
    EXPECT_EQ(code, cecMultipleCommandMatches);
    EXPECT_TRUE(list.RemoveByName("smd"));
    EXPECT_EQ(list.GetIndexOfName("setmetadata"), -1);

    // The cache is bounded.
    for (int i = 0; i < 10005; ++i)
        list.GetByName("name" + std::to_string(i));
    EXPECT_LT(list.CachedNameCount(), 10001u);
}

TEST(Parameters, SequencesTakeWhatTheyCanAndRestoreWhatTheyCannot) {
    const TComParSequence atLeastTwo({{TComParInteger::Class()}}, 2);
    int position = 0;
    EXPECT_FALSE(atLeastTwo.Matches(Params({Int(1), Txt("x")}), position));
    EXPECT_EQ(position, 0);
    position = 0;
    EXPECT_TRUE(atLeastTwo.Matches(Params({Int(1), Int(2), Int(3), Txt("x")}), position));
    EXPECT_EQ(position, 3);
    EXPECT_EQ(atLeastTwo.AsText(), "<Integer>{2,...}");

    // The bracket form takes a set when the set is used up entirely.
    const TComParSequence numbers({{TComParInteger::Class()}}, 1);
    TCommandParameterList matched;
    position = 0;
    EXPECT_TRUE(
        numbers.GetMatchedParameters(Params({Set({Int(1), Int(2), Int(3)})}), position, matched));
    EXPECT_EQ(position, 1);
    EXPECT_EQ(matched.AsText(), "1 2 3");
    position = 0;
    EXPECT_FALSE(numbers.Matches(Params({Set({Int(1), Int(2), Txt("x")})}), position));
    EXPECT_EQ(position, 0);

    const TComParSequence bounded({{TComParText::Class(), TComParInteger::Class()}}, 1, true, 2);
    EXPECT_EQ(bounded.AsText(), "<Text> <Integer>{1,2,+2}");
    position = 0;
    EXPECT_TRUE(
        bounded.Matches(Params({Txt("a"), Int(1), Txt("b"), Int(2), Txt("c"), Int(3)}), position));
    EXPECT_EQ(position, 4); // two elements at most
    position = 0;
    EXPECT_TRUE(bounded.Matches(Params({Txt("a"), Int(1), Txt("b")}), position));
    EXPECT_EQ(position, 2); // the half element is given back

    EXPECT_THAT([&] { TComParSequence({{TComParInteger::Class()}}, 3, true, 2); },
                ThrowsMessage<ECommandError>(
                    StrEq("Peculiar maximum value (2) for TComParSequence. Minimum value is 3")));
    EXPECT_THROW(TComParSequence({}, 1), ECommandError);
}

TEST(Parameters, AGroupStandsForItsMembersAndCountsAsOneParameter) {
    TCmdWorld world;
    auto& a = world.Add<TCmdThing>("A");
    auto& b = world.Add<TCmdThing>("B");
    auto& c = world.Add<TCmdThing>("C");
    auto& d = world.Add<TCmdThing>("D");
    auto& group = world.Add<TKovGroup>("G");
    world.Manager.LockRevert();
    group.Add(&a);
    group.Add(&b);
    group.Add(&group); // a group that holds itself is expanded once
    world.Manager.UnlockRevert();

    const TComParSequence targets({{TComParKovObject::Class()}}, 1, false, 0, true, true);
    TCommandParameterList matched;
    int position = 0;
    const auto list = Params({Obj(&group), Obj(&c), Obj(&d), Int(5)});
    ASSERT_TRUE(targets.GetMatchedParameters(list, position, matched));
    EXPECT_EQ(position, 3);
    EXPECT_EQ(matched.AsText(), "A B G C D");

    // Without expansion the group is one object like any other.
    const TComParSequence plain({{TComParKovObject::Class()}}, 1);
    matched.Clear();
    position = 0;
    ASSERT_TRUE(plain.GetMatchedParameters(list, position, matched));
    EXPECT_EQ(matched.AsText(), "G C D");
}

TEST(Parameters, CompoundsGreedyAndEnumerations) {
    const TComParCompound pair({{TComParText::Class(), TComParNumber::Class()}});
    TCommandParameterList matched;
    int position = 0;
    EXPECT_TRUE(
        pair.GetMatchedParameters(Params({Set({Txt("a"), Int(1)}), Int(2)}), position, matched));
    EXPECT_EQ(position, 1);
    EXPECT_EQ(matched.AsText(), "\"a\" 1");
    position = 0;
    EXPECT_TRUE(pair.Matches(Params({Txt("a"), Dbl(1.5)}), position));
    EXPECT_EQ(position, 2);
    position = 0;
    EXPECT_FALSE(pair.Matches(Params({Set({Txt("a"), Int(1), Int(2)})}), position));

    // The greedy class takes the rest of the line, but at least one parameter.
    const auto& greedy = *TComParGreedyMatchEverything::Class();
    position = 1;
    EXPECT_TRUE(greedy.Matches(Params({Int(1), Txt("x"), Int(3)}), position));
    EXPECT_EQ(position, 3);
    position = 1;
    EXPECT_FALSE(greedy.Matches(Params({Int(1)}), position));
    EXPECT_EQ(greedy.AsText(), "<Everything>");

    const TComParEnumeration kinds({"Gamma Ray", "Beta"});
    position = 0;
    EXPECT_TRUE(kinds.Matches(Params({Txt("gamma_ray")}), position));
    EXPECT_EQ(kinds.TextToEnumIndex("BETA"), 1);
    EXPECT_EQ(kinds.TextToEnumIndex("Delta"), -1);
    EXPECT_THAT([&] { kinds.EnumIndexToText(2); },
                ThrowsMessage<ECommandError>(
                    StrEq("TComParEnumeration cannot give an enum value 2 (max 1)")));
    EXPECT_THAT([&] { kinds.EnumIndexToText(-1); },
                ThrowsMessage<ECommandError>(
                    StrEq("TComParEnumeration cannot give an enum value -1 (min 0)")));

    // Key-value pairs in line, as one set, and a pair as a set of its own in line.
    const auto& pairs = *TComParKeyValuePairSequence::Class();
    for (const auto& list : {Params({Txt("A"), Int(1), Txt("B"), Txt("x")}),
                             Params({Set({Txt("A"), Int(1), Txt("B"), Txt("x")})}),
                             Params({Txt("A"), Int(1), Set({Txt("B"), Txt("x")})})}) {
        matched.Clear();
        position = 0;
        ASSERT_TRUE(pairs.GetMatchedParameters(list, position, matched));
        EXPECT_EQ(position, list.Count());
        const auto kv = KeyValuePairsOf(matched);
        ASSERT_EQ(kv.size(), 2u);
        EXPECT_EQ(kv[1].Key, "B");
        EXPECT_EQ(kv[1].Value->AsText(), "\"x\"");
    }
}

TEST(Parameters, ValuesOrPropertiesAndNumbersWithUnits) {
    TCmdWorld world;
    auto& thing = world.Add<TCmdThing>("Thing");
    world.Manager.LockRevert();
    thing.Number().SetValue(2.5);
    thing.Pressure().SetValue(-50000); // Pa
    thing.Text().SetValue("1, 2;3");
    world.Manager.UnlockRevert();

    const auto& number = *TComParOrIPNumber::Class();
    int position = 0;
    const auto list = Params({Obj(&thing.Number()), Obj(&thing.Text()), Int(3)});
    EXPECT_TRUE(number.Matches(list, position));
    EXPECT_EQ(TComParOrIPNumber::GetValue(*list[0]), 2.5);
    EXPECT_FALSE(number.Matches(list, position)); // a text property is no number
    position = 2;
    EXPECT_TRUE(number.Matches(list, position));
    EXPECT_EQ(TComParOrIPNumber::GetValue(*list[2]), 3.0);
    EXPECT_EQ(TComParArrayOfNumbers::GetValue(*list[1]), (std::vector<double>{1, 2, 3}));
    EXPECT_THAT([&] { TComParArrayOfNumbers::GetValue(*Txt("1 x")); },
                ThrowsMessage<ECommandError>(StrEq("Cannot convert \"1 x\" to array")));

    // A plain number is in the presentation unit (kN/m²), a property in its base unit (Pa).
    using TPressure = TComParOrIPDoubleWithUnit<TQuantityTypeClass_Pressure>;
    EXPECT_DOUBLE_EQ(TPressure::GetBaseValue(*Int(-100), &world.Units), -100000);
    EXPECT_DOUBLE_EQ(TPressure::GetBaseValue(*Obj(&thing.Pressure()), &world.Units), -50000);
    position = 0;
    EXPECT_FALSE(TPressure::Class()->Matches(Params({Obj(&thing.Number())}), position));
    EXPECT_FALSE(TComParDoubleWithUnit<TQuantityTypeClass_Pressure>::Class()->Matches(
        Params({Obj(&thing.Pressure())}), position));
    EXPECT_EQ(TPressure::Class()->AsText(), "<NumberWithUnit>");

    // Objects of a class, and an object through an object-valued property.
    world.Manager.LockRevert();
    thing.Ref().SetValue(&thing);
    world.Manager.UnlockRevert();
    EXPECT_EQ(TComParOrIPKovObject::GetObject(*Obj(&thing.Ref())), &thing);
    const auto things = TComParObjectOfClass::ForClass(TCmdSubThing::StaticClass());
    position = 0;
    EXPECT_FALSE(things->Matches(Params({Obj(&thing)}), position));
}

TEST(Parameters, TextsAndNumbersReadBackAsTheyWereWritten) {
    for (const std::string text : {"", "plain", "with \"double\"", "it's", "both ' and \"",
                                   "ends in \"'", "é\xF0\x9D\x84\x9E"}) {
        SCOPED_TRACE(text);
        TKovTokenizer tokenizer(QuoteCommandText(text));
        ASSERT_EQ(tokenizer.TokenCount(), 1);
        ASSERT_FALSE(tokenizer.HasError());
        EXPECT_EQ(tokenizer.GetToken(0)->DataAs<TTokenDataText>()->GetValue(), text);
    }
    for (const double value : {0.1, -1.0, 1e20, 2.5e-300, 123456.789}) {
        TKovTokenizer tokenizer(NumberToCommandText(value));
        ASSERT_EQ(tokenizer.TokenCount(), 1);
        const auto* f = tokenizer.GetToken(0)->DataAs<TTokenDataDouble>();
        const auto* i = tokenizer.GetToken(0)->DataAs<TTokenDataInteger>();
        EXPECT_EQ(f ? f->Value() : i->Value(), value);
    }
}

namespace {
// A command whose patterns all go to its own run operation.
class TCountingCommand : public TCommandStandalone {
public:
    TCountingCommand() : TCommandStandalone("count", "cnt") {
        AddPattern({});
        AddPattern({{TComParInteger::Class()}});
    }
    int Runs = 0;
    int Predictions = 0;

protected:
    void Run(TKovObject*, const TCommandParameterList& parameters, TCommandOutput& output,
             bool predict) override {
        (predict ? Predictions : Runs) += parameters.Empty() ? 1 : parameters.Count() * 10;
        if (!parameters.Empty() && static_cast<TComParInteger*>(parameters[0])->Value() < 0)
            output.InitializeAsError(cecExecutionFailed, "negative");
    }
};
} // namespace

TEST(Patterns, StandaloneCommandsAndEventsAroundACommand) {
    TCountingCommand command;
    TCommandOutput output;
    EXPECT_TRUE(command.Execute(nullptr, Params({}), output));
    EXPECT_TRUE(command.PredictExecuteMaySucceed(nullptr, Params({Int(3)})));
    EXPECT_EQ(command.Runs, 1);
    EXPECT_EQ(command.Predictions, 10);

    std::vector<std::string> events;
    const TExecuteEventHelper helper(
        [&](TKovObject*, const TKovCommand& c) { events.push_back("before " + c.Name()); },
        [&](TKovObject*, const TKovCommand& c, bool ok) {
            events.push_back("after " + c.Name() + (ok ? " ok" : " failed"));
        });
    EXPECT_FALSE(helper.Execute(nullptr, command, Params({Int(-1)}), output, false));
    EXPECT_EQ(output.AdditionalInfo(), "negative");
    EXPECT_EQ(events, (std::vector<std::string>{"before count", "after count failed"}));
}
