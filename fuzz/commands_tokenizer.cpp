// Fuzzes the tokenizer and the folding of tokens with one line of any bytes. Besides not
// crashing, the results must hold together: tokens lie inside the line in 16-bit characters, in
// order and without overlap; a caret finds the token it stands on; an error position lies inside
// the line or just behind it; and a text quoted for a command reads back as itself.

#include "commands/CommandParameters.h"
#include "commands/KovTokenExpressions.h"
#include "commands/KovTokenizer.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace {

void Check(bool condition) {
    if (!condition)
        __builtin_trap();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string line(reinterpret_cast<const char*>(data), size);
    const tw::TKovTokenizer tokenizer(line);
    const auto length = static_cast<int32_t>(tw::Utf8ToUtf16(line).size());

    int32_t end = 0;
    for (int i = 0; i < tokenizer.TokenCount(); ++i) {
        const tw::TKovToken& token = *tokenizer.GetToken(i);
        Check(token.OriginalLength() >= 1);
        Check(token.OriginalPosition() > end);
        Check(token.OriginalEnd() <= length);
        Check(tokenizer.CaretPosToTokenNr(token.OriginalPosition()) == i);
        Check(tokenizer.TokenNrToTextPos(i) == token.OriginalPosition());
        end = token.OriginalEnd();
        token.Data().ValueAsText();
        Check(token.Data().SameAs(*token.Data().Clone()));
    }
    if (tokenizer.HasError())
        Check(tokenizer.ErrorPos() >= 1 && tokenizer.ErrorPos() <= length + 1);

    const tw::TKovTokenExpressionTool tool(tokenizer);
    for (int i = 0; i < tool.ErrorCount(); ++i)
        Check(tool.GetErrorTokenNr(i) >= 0 && tool.GetErrorTokenNr(i) < tokenizer.TokenCount());
    tool.AsText();
    std::vector<tw::TKovToken*> folded;
    tool.RootExpression().GetAllTokens(folded);
    Check(static_cast<int>(folded.size()) <= tokenizer.TokenCount());

    // A valid UTF-8 text, quoted, is one text token holding it; only a text with both kinds of
    // quote in a form no delimiter can enclose is changed.
    if (tw::Utf16ToUtf8(tw::Utf8ToUtf16(line)) == line) {
        const tw::TKovTokenizer quoted(tw::QuoteCommandText(line));
        Check(quoted.TokenCount() == 1 && !quoted.HasError());
        const auto* text = quoted.GetToken(0)->DataAs<tw::TTokenDataText>();
        Check(text != nullptr);
        Check(text->GetValue() == line ||
              (line.find('"') != std::string::npos && line.find('\'') != std::string::npos));
    }
    return 0;
}
