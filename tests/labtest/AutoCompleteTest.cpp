// Suggestions for the token at the caret on a project of the lab: commands and objects at the
// start of a line, members after a dot along chains with indexes, a caret inside a token, the
// global command's "_", and names that follow a rename.

#include "LabCommandsSupport.h"

#include "commands/AutoComplete.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace tw;
using namespace tw::testing;
using ::testing::Contains;

namespace {

TAutoCompleteResults Search(const TKovInterpreter& interpreter, const std::string& line,
                            int caret = -1) {
    return TAutoCompleter(interpreter)
        .Search(line, caret < 0 ? static_cast<int>(line.size()) : caret);
}

} // namespace

TEST_F(LabCommands, AutoCompleteOffersWhatTheLineCanTakeAtTheCaret) {
    // First token: the commands that need no object and the objects, exact prefixes first.
    TAutoCompleteResults results = Search(Interpreter(), "calc");
    ASSERT_GT(results.Count(), 0);
    EXPECT_EQ(results.Matches[0], "calculate");
    EXPECT_EQ(results.Infos[0], "command");
    results = Search(Interpreter(), "Tri");
    ASSERT_GT(results.Count(), 0);
    EXPECT_EQ(results.Matches[0], "Triaxial_1");
    // Later in a line only objects, and a global command keeps its "_".
    results = Search(Interpreter(), "calculate Oed");
    ASSERT_GE(results.Count(), 1);
    EXPECT_EQ(results.Matches[0], "Oedometer_1");
    EXPECT_THAT(results.Infos, ::testing::Not(Contains("command")));
    EXPECT_EQ(results.LeftText, "calculate ");
    EXPECT_THAT(Search(Interpreter(), "_calc").Matches, Contains("_calculate"));

    // After a dot: the members of what the chain names, through list indexes too.
    results = Search(Interpreter(), "set Triaxial_1.Cell");
    ASSERT_GT(results.Count(), 0);
    EXPECT_EQ(results.Matches[0], "CellPressure");
    int caret = 0;
    EXPECT_EQ(results.Apply(0, caret), "set Triaxial_1.CellPressure");
    EXPECT_EQ(caret, 27);
    EXPECT_EQ(Search(Interpreter(), "set Oedometer_1.Phases[0].Ste").Matches.front(), "Steps");
    EXPECT_EQ(Search(Interpreter(), "Triaxial_1.addph").Matches.front(), "addphase");
    EXPECT_EQ(Search(Interpreter(), "set Nothing_1.Ce").Count(), 0);
    EXPECT_EQ(Search(Interpreter(), "set Oedometer_1.Phases[7].Ste").Count(), 0);
    // Letters in order find a name after the exact prefixes.
    results = Search(Interpreter(), "set Triaxial_1.cpres");
    EXPECT_THAT(results.Matches, Contains("CellPressure"));

    // The caret inside a token: the rest of the token is kept beside it and replaced by the
    // suggestion.
    const std::string line = "set Triaxial_1.CellPressure 100";
    results = Search(Interpreter(), line, 19);
    EXPECT_FALSE(results.IsCaretAtEndOfToken);
    EXPECT_EQ(results.FixedText, "Cell");
    EXPECT_EQ(results.RightText, "Pressure 100");
    ASSERT_GT(results.Count(), 0);
    EXPECT_EQ(results.Apply(0, caret), line);

    // After a rename the old name is no longer offered.
    Ok("rename Triaxial_1 \"Sample_A\"");
    EXPECT_THAT(Search(Interpreter(), "calculate Tri").Matches,
                ::testing::Not(Contains("Triaxial_1")));
    EXPECT_EQ(Search(Interpreter(), "calculate Sam").Matches.front(), "Sample_A");
}
