#include "commands/KovTokenExpressions.h"
#include "commands/KovTokenizer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace tw;
using ::testing::StrEq;
using ::testing::ThrowsMessage;

namespace {

// "Type:value@position+length" for each token, joined by blanks.
std::string Describe(const TKovTokenizer& tokenizer) {
    std::string text;
    for (int i = 0; i < tokenizer.TokenCount(); ++i) {
        const TKovToken& token = *tokenizer.GetToken(i);
        if (!text.empty())
            text += " ";
        text += token.Data().TypeName() + ":" + token.Data().ValueAsText() + "@" +
                std::to_string(token.OriginalPosition()) + "+" +
                std::to_string(token.OriginalLength());
    }
    return text;
}

struct TokenCase {
    const char* Text;
    const char* Tokens;
    int ErrorPos;
    const char* Message;
};

template <size_t N> void CheckTokenCases(const TokenCase (&cases)[N]) {
    for (const auto& c : cases) {
        SCOPED_TRACE(c.Text);
        TKovTokenizer t(c.Text);
        EXPECT_EQ(Describe(t), c.Tokens);
        EXPECT_EQ(t.ErrorPos(), c.ErrorPos);
        EXPECT_EQ(t.ErrorMessage(), c.Message);
    }
}

} // namespace

TEST(Tokenizer, SplitsALineIntoTokensWithPositions) {
    TKovTokenizer t("set Test_1.Sigma3 -100.5 \"a b\" $v (1, 2) # note");
    EXPECT_FALSE(t.HasError());
    EXPECT_EQ(Describe(t), "Identifier:set@1+3 Identifier:Test_1@5+6 Member:.@11+1 "
                           "Identifier:Sigma3@12+6 Float:-100.5@19+6 Text:a b@26+5 "
                           "UserVariable:v@32+2 Bracket:(@35+1 Integer:1@36+1 Comma:,@37+1 "
                           "Integer:2@39+1 Bracket:)@40+1 Comment: note@42+6");
    EXPECT_EQ(t.GetToken(0)->OriginalEnd(), 3);
    EXPECT_EQ(t.TokenNrToTextPos(1), 5);
    EXPECT_EQ(t.TokenNrToTextPos(99), -1);
    EXPECT_EQ(t.CaretPosToTokenNr(0), -1);
    EXPECT_EQ(t.CaretPosToTokenNr(4), 0);
    EXPECT_EQ(t.CaretPosToTokenNr(5), 1);
    EXPECT_EQ(t.CaretPosToTokenNr(1000), t.TokenCount() - 1);

    TKovTokenizer empty("");
    EXPECT_EQ(empty.TokenCount(), 0);
    EXPECT_FALSE(empty.HasError());
    TKovTokenizer blanks(" \t\r\n ");
    EXPECT_EQ(blanks.TokenCount(), 0);
    EXPECT_FALSE(blanks.HasError());
}

TEST(Tokenizer, CountsPositionsInSixteenBitCharacters) {
    // "é" is one UTF-16 unit in two bytes; the musical G clef is two units in four bytes.
    TKovTokenizer t("set \xC3\xA9t\xC3\xA9 \"\xF0\x9D\x84\x9E\" x");
    EXPECT_EQ(Describe(t), "Identifier:set@1+3 Identifier:\xC3\xA9t\xC3\xA9@5+3 "
                           "Text:\xF0\x9D\x84\x9E@9+4 Identifier:x@14+1");
    // A bad byte counts as one character and is kept as U+FFFD; an unbalanced quote behind it is
    // reported at its own place.
    TKovTokenizer bad("\xFF 'x");
    EXPECT_EQ(bad.TokenCount(), 1);
    EXPECT_EQ(bad.ErrorPos(), 3);
    EXPECT_EQ(bad.ErrorMessage(), "Unbalanced quotes");
    EXPECT_EQ(Utf16ToUtf8(Utf8ToUtf16("a\xC3\xA9\xF0\x9D\x84\x9E")), "a\xC3\xA9\xF0\x9D\x84\x9E");
}

TEST(Tokenizer, Numbers) {
    const TokenCase cases[] = {
        {"1e5", "Float:100000@1+3", -1, ""},
        {"2.5E-3", "Float:0.0025@1+6", -1, ""},
        // The exponent's error stays, its message was cleared when the token was accepted.
        {"1e", "Float:1@1+2", 3, ""},
        {"1.5.2", "", 4, "Number must be followed by space or operand"},
        {"2147483648", "Float:2147483648@1+10", -1, ""},
        {"-2147483648", "Integer:-2147483648@1+11", -1, ""},
        {"12345678901234567890123", "Float:1.23456789012346E22@1+23", -1, ""},
        {".5", "Float:0.5@1+2", -1, ""},
        {".", "Member:.@1+1", -1, ""},
        {"-.5", "Float:-0.5@1+3", -1, ""},
        {"-", "Minus:-@1+1", -1, ""},
        {"3 - 5", "Integer:3@1+1 Minus:-@3+1 Integer:5@5+1", -1, ""},
        {"3+5", "Integer:3@1+1 Plus:+@2+1 Integer:5@3+1", -1, ""},
        {"3 -5", "Integer:3@1+1 Integer:-5@3+2", -1, ""},
        {"3-5", "", 2, "Number must be followed by space or operand"},
        {"1#x", "Integer:1@1+1 Comment:x@2+2", -1, ""},
        {"2x", "", 2, "Number must be followed by space or operand"},
        {"1e999", "", 1, "Number is too long"},
        {"1)", "Integer:1@1+1 Bracket:)@2+1", -1, ""},
    };
    CheckTokenCases(cases);
}

TEST(Tokenizer, TextsWordsAndVariables) {
    const TokenCase cases[] = {
        {"'It''s'", "", 4, "Text must be followed by space or operand"},
        {"\"\"\"say \"hi\" now\"\"\"", "Text:say \"hi\" now@1+18", -1, ""},
        {"'a \"b\"'", "Text:a \"b\"@1+7", -1, ""},
        {"\"\"", "Text:@1+2", -1, ""},
        {"'abc", "", 1, "Unbalanced quotes"},
        {"x 'a'b", "Identifier:x@1+1", 5, "Text must be followed by space or operand"},
        {"'a'.b", "Text:a@1+3 Member:.@4+1 Identifier:b@5+1", -1, ""},
        {"while", "Operand:while@1+5", -1, ""},
        {"While", "Operand:While@1+5", -1, ""},
        {"whileX", "Identifier:whileX@1+6", -1, ""},
        {"True false", "Operand:True@1+4 Operand:false@6+5", -1, ""},
        {"_a1 b_2", "Identifier:_a1@1+3 Identifier:b_2@5+3", -1, ""},
        {"$", "", 1, "Unrecognized token"},
        {"$x1", "UserVariable:x1@1+3", -1, ""},
        {"a ? b", "Identifier:a@1+1", 3, "Unrecognized token"},
        {"a < b", "Identifier:a@1+1", 3, "Unrecognized token"},
        {"a=b,c*d/e{}[]",
         "Identifier:a@1+1 Assign:=@2+1 Identifier:b@3+1 Comma:,@4+1 "
         "Identifier:c@5+1 Multiplier:*@6+1 Identifier:d@7+1 Divider:/@8+1 "
         "Identifier:e@9+1 Bracket:{@10+1 Bracket:}@11+1 Bracket:[@12+1 "
         "Bracket:]@13+1",
         -1, ""},
    };
    CheckTokenCases(cases);

    // A custom list replaces the reserved words.
    const std::vector<std::string> words{"  Foo "};
    TKovTokenizer custom("foo while", false, &words);
    EXPECT_EQ(Describe(custom), "Operand:foo@1+3 Identifier:while@5+5");
    EXPECT_TRUE(IsReservedWord(" mod "));
    EXPECT_FALSE(IsReservedWord("modulo"));
}

TEST(Tokenizer, ExternalInterpreterOnlyAsFirstToken) {
    TKovTokenizer t("  /output  plot 1 ");
    ASSERT_EQ(t.TokenCount(), 1);
    const auto* external = t.GetToken(0)->DataAs<TTokenDataExternalInterpreter>();
    ASSERT_NE(external, nullptr);
    EXPECT_EQ(external->InterpreterName(), "output");
    EXPECT_EQ(external->ExternalCommand(), "plot 1");
    EXPECT_EQ(external->Content(), "/output  plot 1 ");
    EXPECT_EQ(t.GetToken(0)->OriginalPosition(), 3);
    EXPECT_EQ(t.GetToken(0)->OriginalLength(), 16);

    TKovTokenizer later("1 /output");
    EXPECT_EQ(Describe(later), "Integer:1@1+1 Divider:/@3+1 Identifier:output@4+6");
    TKovTokenizer slash("/");
    EXPECT_EQ(Describe(slash), "Divider:/@1+1");
    TKovTokenizer invalid("/ x");
    EXPECT_EQ(invalid.TokenCount(), 0);
    EXPECT_EQ(invalid.ErrorPos(), 2);
    EXPECT_EQ(invalid.ErrorMessage(), "Invalid external command");
}

TEST(Tokenizer, TokenDataEqualityCopyAndAssign) {
    TTokenDataDouble a(1000.0), b(1000.9), c(1002.1);
    EXPECT_TRUE(a.SameAs(b)); // within (|a| + |b|) / 1000
    EXPECT_FALSE(a.SameAs(c));
    EXPECT_TRUE(TTokenDataDouble(0).SameAs(TTokenDataDouble(5e-15)));
    EXPECT_FALSE(TTokenDataDouble(0).SameAs(TTokenDataDouble(5e-14)));
    // Same value, different class: not the same.
    EXPECT_FALSE(TTokenDataIdentifier("x").SameAs(TTokenDataText("x")));
    EXPECT_TRUE(
        TTokenDataIdentifier("x").SameAs(*TTokenData::CreateCopy(TTokenDataIdentifier("x"))));

    TTokenDataText target("old");
    TTokenData::Assign(target, TTokenDataText("new"));
    EXPECT_EQ(target.GetValue(), "new");
    EXPECT_THAT(
        [&] { TTokenData::Assign(target, TTokenDataInteger(1)); },
        ThrowsMessage<EKovTokenizerException>(StrEq("Cannot assign to a Text from a Integer")));
    TTokenDataOperandBracket bracket("[", btSquare, bsOpen);
    EXPECT_EQ(bracket.BracketTypeInText(), "square");
    EXPECT_EQ(bracket.BracketStateInText(), "open");
}

// ---------------------------------------------------------------------------------------------

namespace {

struct Folded {
    explicit Folded(const std::string& text) : Tokenizer(text), Tool(Tokenizer) {}
    TKovTokenizer Tokenizer;
    TKovTokenExpressionTool Tool;
    const TKovTokenExpressionMultiple& Root() const { return Tool.RootExpression(); }
};

} // namespace

TEST(TokenExpressions, FoldsChainsIndexersAndBrackets) {
    Folded f("set a.b[1].c (1 2) x");
    ASSERT_EQ(f.Tool.ErrorCount(), 0);
    ASSERT_EQ(f.Root().AtomCount(), 4);
    // a.b[1].c: one chain whose first atom is the indexer of a.b.
    auto* chain =
        dynamic_cast<TKovTokenExpressionMultiple_ClassifierSeparated*>(f.Root().GetAtom(1));
    ASSERT_NE(chain, nullptr);
    ASSERT_EQ(chain->AtomCount(), 2);
    auto* indexer = dynamic_cast<TKovTokenExpressionMultiple_ArrayIndexer*>(chain->GetAtom(0));
    ASSERT_NE(indexer, nullptr);
    auto* indexed =
        dynamic_cast<TKovTokenExpressionMultiple_ClassifierSeparated*>(indexer->Indexed());
    ASSERT_NE(indexed, nullptr);
    EXPECT_EQ(indexed->AtomCount(), 2);
    EXPECT_EQ(indexer->Brackets()->AtomCountExcludingAnyBrackets(), 1);
    EXPECT_EQ(chain->FirstToken()->OriginalPosition(), 5);
    EXPECT_EQ(chain->LastToken()->OriginalPosition(), 12);

    auto* group = dynamic_cast<TKovTokenExpressionMultiple_Brackets*>(f.Root().GetAtom(2));
    ASSERT_NE(group, nullptr);
    EXPECT_TRUE(group->StartsWithOpenBracket(btRound));
    EXPECT_TRUE(group->EndsWithClosedBracket(btRound));
    EXPECT_FALSE(group->EndsWithClosedBracket(btSquare));
    EXPECT_EQ(group->AtomCountExcludingAnyBrackets(), 2);
    EXPECT_EQ(group->FirstTokenExcludingAnyBrackets()->OriginalPosition(), 15);
    EXPECT_THROW(group->GetAtomExcludingAnyBrackets(2), EKovTokenizerException);
    EXPECT_EQ(f.Root().CaretPosToAtomNr(14), 2);
    EXPECT_EQ(f.Root().CaretPosToAtomNr(0), -1);

    // A trailing dot is no part of a chain, and is reported.
    Folded dot("a.b.");
    ASSERT_EQ(dot.Tool.ErrorCount(), 1);
    EXPECT_EQ(dot.Tool.GetErrorString(0), "Unexpected operand");
    EXPECT_EQ(dot.Tool.GetErrorTokenNr(0), 3);

    Folded variable("$v.x.y");
    auto* variableChain =
        dynamic_cast<TKovTokenExpressionMultiple_ClassifierSeparated*>(variable.Root().GetAtom(0));
    ASSERT_NE(variableChain, nullptr);
    EXPECT_EQ(variableChain->AtomCount(), 3);
}

TEST(TokenExpressions, ReportsBadBracketsWithTheirTokens) {
    struct Case {
        const char* Text;
        const char* Error;
        int TokenNr;
    };
    const Case cases[] = {
        {"a[]", "Empty indexer", 1},
        {"[1]", "Unexpected indexer", 0},
        {"(1", "Unbalanced parenthesis", 0},
        {")", "Unbalanced parenthesis", 0},
        {"x (a [1)", "Unbalanced parenthesis", 3},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.Text);
        Folded f(c.Text);
        ASSERT_GE(f.Tool.ErrorCount(), 1);
        EXPECT_EQ(f.Tool.GetErrorString(0), c.Error);
        EXPECT_EQ(f.Tool.GetErrorTokenNr(0), c.TokenNr);
    }
    // An unclosed group takes the rest of the line and has no closing atom.
    Folded open("(1 2");
    auto* group = dynamic_cast<TKovTokenExpressionMultiple_Brackets*>(open.Root().GetAtom(0));
    ASSERT_NE(group, nullptr);
    EXPECT_FALSE(group->EndsWithAnyClosedBracket());
    EXPECT_EQ(group->AtomCountExcludingAnyBrackets(), 2);

    // Nesting beyond the limit is reported, not recursed into.
    Folded deep(std::string(100000, '(') + "1");
    bool tooDeep = false;
    for (int i = 0; i < deep.Tool.ErrorCount(); ++i)
        tooDeep = tooDeep || deep.Tool.GetErrorString(i) == "Brackets are nested too deeply";
    EXPECT_TRUE(tooDeep);
}

TEST(TokenExpressions, CommaSeparatedSequencesAndText) {
    auto inner = [](const Folded& f) {
        // The group's own atoms without the brackets, as a plain multiple.
        auto* group = dynamic_cast<TKovTokenExpressionMultiple_Brackets*>(f.Root().GetAtom(0));
        auto copy = std::make_unique<TKovTokenExpressionMultiple>();
        for (int i = 0; i < group->AtomCountExcludingAnyBrackets(); ++i)
            copy->Add(std::make_unique<TKovTokenExpressionSingle>(
                group->GetAtomExcludingAnyBrackets(i)->FirstToken()));
        return copy;
    };
    EXPECT_TRUE(inner(Folded("(1, 'a', b)"))->IsCommaSeparatedSequence());
    EXPECT_FALSE(inner(Folded("(1, 2,)"))->IsCommaSeparatedSequence());
    EXPECT_FALSE(inner(Folded("(1 2 3)"))->IsCommaSeparatedSequence());
    EXPECT_FALSE(inner(Folded("(1, +, 3)"))->IsCommaSeparatedSequence());
    EXPECT_FALSE(inner(Folded("(1)"))->IsCommaSeparatedSequence());

    Folded f("set x # c");
    const std::string text = f.Tool.AsText();
    EXPECT_NE(text.find("TOKEN TOOL"), std::string::npos);
    EXPECT_NE(text.find("Command: set x # c"), std::string::npos);
    EXPECT_NE(text.find("  + Token 2: Comment  c"), std::string::npos);
    EXPECT_NE(text.find("+ Errors: 0"), std::string::npos);
    EXPECT_NE(text.find("  + Multiple: 2 subs\n    + Single: Identifier set"), std::string::npos);
}
