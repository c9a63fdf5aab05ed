#include "commands/KovTokenizer.h"

#include "services/Format.h"
#include "services/Localisation.h"
#include "services/Strings.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <typeinfo>

namespace tw {

// ---------------------------------------------------------------------------------------------
// UTF-8 and UTF-16

std::u16string Utf8ToUtf16(std::string_view text) {
    std::u16string result;
    result.reserve(text.size());
    const size_t n = text.size();
    for (size_t i = 0; i < n;) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        if (c < 0x80) {
            result.push_back(c);
            ++i;
            continue;
        }
        size_t length = 0;
        char32_t code = 0;
        char32_t minimum = 0;
        if ((c & 0xE0) == 0xC0) {
            length = 2;
            code = c & 0x1F;
            minimum = 0x80;
        } else if ((c & 0xF0) == 0xE0) {
            length = 3;
            code = c & 0x0F;
            minimum = 0x800;
        } else if ((c & 0xF8) == 0xF0) {
            length = 4;
            code = c & 0x07;
            minimum = 0x10000;
        }
        bool valid = length > 0 && i + length <= n;
        for (size_t k = 1; valid && k < length; ++k) {
            const unsigned char next = static_cast<unsigned char>(text[i + k]);
            valid = (next & 0xC0) == 0x80;
            code = (code << 6) | (next & 0x3F);
        }
        valid = valid && code >= minimum && code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF);
        if (!valid) {
            result.push_back(u'\uFFFD');
            ++i;
            continue;
        }
        if (code >= 0x10000) {
            code -= 0x10000;
            result.push_back(static_cast<char16_t>(0xD800 + (code >> 10)));
            result.push_back(static_cast<char16_t>(0xDC00 + (code & 0x3FF)));
        } else {
            result.push_back(static_cast<char16_t>(code));
        }
        i += length;
    }
    return result;
}

std::string Utf16ToUtf8(std::u16string_view text) {
    std::string result;
    result.reserve(text.size());
    const size_t n = text.size();
    for (size_t i = 0; i < n; ++i) {
        char32_t code = text[i];
        if (code < 0x80) {
            result.push_back(static_cast<char>(code));
            continue;
        }
        if (code >= 0xD800 && code <= 0xDBFF && i + 1 < n && text[i + 1] >= 0xDC00 &&
            text[i + 1] <= 0xDFFF) {
            code = 0x10000 + ((code - 0xD800) << 10) + (text[i + 1] - 0xDC00);
            ++i;
        } else if (code >= 0xD800 && code <= 0xDFFF) {
            code = 0xFFFD;
        }
        if (code < 0x800) {
            result.push_back(static_cast<char>(0xC0 | (code >> 6)));
        } else if (code < 0x10000) {
            result.push_back(static_cast<char>(0xE0 | (code >> 12)));
            result.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
        } else {
            result.push_back(static_cast<char>(0xF0 | (code >> 18)));
            result.push_back(static_cast<char>(0x80 | ((code >> 12) & 0x3F)));
            result.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
        }
        result.push_back(static_cast<char>(0x80 | (code & 0x3F)));
    }
    return result;
}

// ---------------------------------------------------------------------------------------------
// Token data

bool TTokenData::SameAs(const TTokenData& other) const {
    return typeid(*this) == typeid(other) && IsEqualTo(other);
}

void TTokenData::Assign(TTokenData& target, const TTokenData& source) {
    if (typeid(target) != typeid(source))
        throw EKovTokenizerException(
            Format("Cannot assign to a %s from a %s", target.TypeName(), source.TypeName()));
    target.AssignFrom(source);
}

void TTokenDataWideString_Virtual::AssignFrom(const TTokenData& source) {
    FValue = static_cast<const TTokenDataWideString_Virtual&>(source).FValue;
}

bool TTokenDataWideString_Virtual::IsEqualTo(const TTokenData& other) const {
    const auto* o = dynamic_cast<const TTokenDataWideString_Virtual*>(&other);
    return o && o->FValue == FValue;
}

void TTokenDataExternalInterpreter::AssignFrom(const TTokenData& source) {
    *this = static_cast<const TTokenDataExternalInterpreter&>(source);
}

bool TTokenDataExternalInterpreter::IsEqualTo(const TTokenData& other) const {
    const auto* o = dynamic_cast<const TTokenDataExternalInterpreter*>(&other);
    return o && o->FValue == FValue && o->FInterpreterName == FInterpreterName &&
           o->FExternalCommand == FExternalCommand;
}

void TTokenDataOperandBracket::AssignFrom(const TTokenData& source) {
    *this = static_cast<const TTokenDataOperandBracket&>(source);
}

bool TTokenDataOperandBracket::IsEqualTo(const TTokenData& other) const {
    const auto* o = dynamic_cast<const TTokenDataOperandBracket*>(&other);
    return o && o->FValue == FValue && o->FBracketType == FBracketType &&
           o->FBracketState == FBracketState;
}

std::string TTokenDataOperandBracket::BracketTypeInText() const {
    switch (FBracketType) {
    case btRound:
        return "round";
    case btSquare:
        return "square";
    case btCurly:
        return "curly";
    }
    return "";
}

std::string TTokenDataOperandBracket::BracketStateInText() const {
    return FBracketState == bsOpen ? "open" : "close";
}

void TTokenDataInteger::AssignFrom(const TTokenData& source) {
    FValue = static_cast<const TTokenDataInteger&>(source).FValue;
}

bool TTokenDataInteger::IsEqualTo(const TTokenData& other) const {
    const auto* o = dynamic_cast<const TTokenDataInteger*>(&other);
    return o && o->FValue == FValue;
}

void TTokenDataDouble::AssignFrom(const TTokenData& source) {
    FValue = static_cast<const TTokenDataDouble&>(source).FValue;
}

bool TTokenDataDouble::IsEqualTo(const TTokenData& other) const {
    const auto* o = dynamic_cast<const TTokenDataDouble*>(&other);
    if (!o)
        return false;
    const double a = FValue, b = o->FValue;
    return std::fabs(a - b) < std::max(1e-14, (std::fabs(a) + std::fabs(b)) / 1000);
}

std::string TTokenDataDouble::ValueAsText() const {
    return FloatToStr(FValue);
}

// ---------------------------------------------------------------------------------------------
// Token list

TKovToken* TKovTokenList::Add(std::unique_ptr<TKovToken> token) {
    FItems.push_back(std::move(token));
    return FItems.back().get();
}

void TKovTokenList::Insert(int index, std::unique_ptr<TKovToken> token) {
    if (index < 0 || index > Count())
        throw EKovTokenizerException(Format("List index out of bounds (%d)", index));
    FItems.insert(FItems.begin() + index, std::move(token));
}

std::unique_ptr<TKovToken> TKovTokenList::Extract(const TKovToken* token) {
    const int index = IndexOf(token);
    if (index < 0)
        return nullptr;
    auto extracted = std::move(FItems[index]);
    FItems.erase(FItems.begin() + index);
    return extracted;
}

bool TKovTokenList::Remove(const TKovToken* token) {
    return Extract(token) != nullptr;
}

int TKovTokenList::IndexOf(const TKovToken* token) const {
    for (int i = 0; i < Count(); ++i)
        if (FItems[i].get() == token)
            return i;
    return -1;
}

// ---------------------------------------------------------------------------------------------
// Reserved words

namespace {

// Lower case, sorted: the table is searched by binary search.
constexpr std::array<std::string_view, 52> ReservedWords = [] {
    std::array<std::string_view, 52> words{
        "for",     "while", "repeat", "until",  "each",   "foreach",  "do",        "with",
        "begin",   "end",   "type",   "define", "var",    "const",    "eval",      "use",
        "require", "try",   "catch",  "raise",  "except", "on",       "finally",   "struct",
        "record",  "class", "object", "self",   "this",   "function", "procedure", "def",
        "return",  "if",    "then",   "else",   "elif",   "endif",    "unless",    "case",
        "switch",  "not",   "true",   "false",  "and",    "or",       "xor",       "shl",
        "shr",     "in",    "div",    "mod"};
    std::sort(words.begin(), words.end());
    return words;
}();

bool IsSpace(char16_t c) {
    return c == u'\t' || c == u'\n' || c == u'\r' || c == u' ';
}
bool IsDigit(char16_t c) {
    return c >= u'0' && c <= u'9';
}
bool IsLetter(char16_t c) {
    return (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z') || c >= 128;
}
bool IsIdentStart(char16_t c) {
    return IsLetter(c) || c == u'_';
}
bool IsIdentPart(char16_t c) {
    return IsLetter(c) || IsDigit(c) || c == u'_';
}
bool IsQuote(char16_t c) {
    return c == u'"' || c == u'\'';
}

// The ASCII text of a run of characters known to be ASCII (digits, signs, dots).
std::string Ascii(std::u16string_view text) {
    std::string result(text.size(), '\0');
    for (size_t i = 0; i < text.size(); ++i)
        result[i] = static_cast<char>(text[i]);
    return result;
}

bool IsBuiltInReserved(std::u16string_view word) {
    char lower[10];
    if (word.empty() || word.size() > sizeof lower)
        return false;
    for (size_t i = 0; i < word.size(); ++i) {
        const char16_t c = word[i];
        if (c >= 128)
            return false;
        lower[i] = static_cast<char>(c >= u'A' && c <= u'Z' ? c + 32 : c);
    }
    return std::binary_search(ReservedWords.begin(), ReservedWords.end(),
                              std::string_view(lower, word.size()));
}

} // namespace

bool IsReservedWord(std::string_view word) {
    const std::string clean = LowerCase(Trim(word));
    return !clean.empty() &&
           std::binary_search(ReservedWords.begin(), ReservedWords.end(), std::string_view(clean));
}

// ---------------------------------------------------------------------------------------------
// Tokenizer

TKovTokenizer::TKovTokenizer(std::string_view text, bool forceEnglishFeedback,
                             const std::vector<std::string>* customReservedWords)
    : FText(text), FChars(Utf8ToUtf16(text)), FForceEnglishFeedback(forceEnglishFeedback),
      FCustomReservedWords(customReservedWords) {
    Tokenize();
}

void TKovTokenizer::SetMessage(const std::string& message) {
    // The inverted sense is deliberate: the message catalogue is consulted only when forced.
    FErrorMessage = FForceEnglishFeedback ? Translate(message) : message;
}

void TKovTokenizer::SetError(size_t index, const std::string& message) {
    FErrorPos = static_cast<int32_t>(index + 1);
    SetMessage(message);
}

bool TKovTokenizer::IsReserved(std::u16string_view word) const {
    if (!FCustomReservedWords)
        return IsBuiltInReserved(word);
    const std::string text = Utf16ToUtf8(word);
    for (const auto& reserved : *FCustomReservedWords)
        if (SameText(Trim(reserved), Trim(text)))
            return true;
    return false;
}

bool TKovTokenizer::IsSymbolOperandAt(size_t index) const {
    if (index >= FChars.size())
        return false;
    switch (FChars[index]) {
    case u'(':
    case u')':
    case u'[':
    case u']':
    case u'{':
    case u'}':
    case u'=':
    case u'.':
    case u',':
    case u'+':
    case u'*':
    case u'/':
        return true;
    case u'-': {
        if (index + 1 >= FChars.size())
            return true;
        const char16_t next = FChars[index + 1];
        return !IsDigit(next) && next != u'.' && next != u'-';
    }
    default:
        return false;
    }
}

bool TKovTokenizer::MayFollowToken(size_t index, bool noDot) const {
    if (index >= FChars.size())
        return true;
    const char16_t c = FChars[index];
    if (IsSpace(c) || c == u'#')
        return true;
    if (noDot && c == u'.')
        return false;
    return IsSymbolOperandAt(index);
}

size_t TKovTokenizer::IdentifierEnd(size_t index) const {
    while (index < FChars.size() && IsIdentPart(FChars[index]))
        ++index;
    return index;
}

void TKovTokenizer::Tokenize() {
    const size_t n = FChars.size();
    FPos = 0;
    while (FPos < n) {
        if (IsSpace(FChars[FPos])) {
            ++FPos;
            continue;
        }
        std::unique_ptr<TTokenData> data;
        if (FTokens.Count() == 0) {
            bool stop = false;
            data = RecogniseExternal(stop);
            if (stop)
                return;
        }
        if (!data)
            data = RecogniseIdentifier();
        if (!data)
            data = RecogniseText();
        if (!data)
            data = RecogniseComment();
        if (!data)
            data = RecogniseInteger();
        if (!data)
            data = RecogniseFloat();
        if (!data)
            data = RecogniseSymbolOperand();
        if (!data)
            data = RecogniseWordOperand();
        if (!data)
            data = RecogniseUserVariable();
        if (!data) {
            if (FErrorPos == -1)
                FErrorPos = static_cast<int32_t>(FPos + 1);
            if (FErrorMessage.empty())
                SetMessage("Unrecognized token");
            return;
        }
        FTokens.Add(std::make_unique<TKovToken>(static_cast<int32_t>(FPos + 1),
                                                static_cast<int32_t>(FTokenEnd - FPos),
                                                std::move(data)));
        FErrorMessage.clear();
        FPos = FTokenEnd;
    }
}

std::unique_ptr<TTokenData> TKovTokenizer::RecogniseExternal(bool& stop) {
    const size_t n = FChars.size();
    if (FChars[FPos] != u'/' || FPos + 1 >= n)
        return nullptr;
    if (!IsIdentStart(FChars[FPos + 1])) {
        SetError(FPos + 1, "Invalid external command");
        stop = true;
        return nullptr;
    }
    const size_t nameEnd = IdentifierEnd(FPos + 1);
    std::u16string_view chars(FChars);
    std::string name = Utf16ToUtf8(chars.substr(FPos + 1, nameEnd - FPos - 1));
    std::string command = Trim(Utf16ToUtf8(chars.substr(nameEnd)));
    std::string content = Utf16ToUtf8(chars.substr(FPos));
    FTokenEnd = n;
    return std::make_unique<TTokenDataExternalInterpreter>(std::move(content), std::move(name),
                                                           std::move(command));
}

std::unique_ptr<TTokenData> TKovTokenizer::RecogniseIdentifier() {
    if (!IsIdentStart(FChars[FPos]))
        return nullptr;
    const size_t end = IdentifierEnd(FPos);
    std::u16string_view word = std::u16string_view(FChars).substr(FPos, end - FPos);
    if (IsReserved(word))
        return nullptr;
    FTokenEnd = end;
    return std::make_unique<TTokenDataIdentifier>(Utf16ToUtf8(word));
}

std::unique_ptr<TTokenData> TKovTokenizer::RecogniseText() {
    const char16_t quote = FChars[FPos];
    if (!IsQuote(quote))
        return nullptr;
    const size_t n = FChars.size();
    const size_t delimiterLength =
        FPos + 2 < n && FChars[FPos + 1] == quote && FChars[FPos + 2] == quote ? 3 : 1;
    std::u16string_view chars(FChars);
    const std::u16string_view delimiter = chars.substr(FPos, delimiterLength);
    const size_t closing = chars.find(delimiter, FPos + delimiterLength);
    if (closing == std::u16string_view::npos) {
        SetMessage("Unbalanced quotes");
        return nullptr;
    }
    const size_t end = closing + delimiterLength;
    if (!MayFollowToken(end, false)) {
        SetError(closing, "Text must be followed by space or operand");
        return nullptr;
    }
    FTokenEnd = end;
    return std::make_unique<TTokenDataText>(
        Utf16ToUtf8(chars.substr(FPos + delimiterLength, closing - FPos - delimiterLength)));
}

std::unique_ptr<TTokenData> TKovTokenizer::RecogniseComment() {
    if (FChars[FPos] != u'#')
        return nullptr;
    FTokenEnd = FChars.size();
    return std::make_unique<TTokenDataComment>(
        Utf16ToUtf8(std::u16string_view(FChars).substr(FPos + 1)));
}

std::unique_ptr<TTokenData> TKovTokenizer::RecogniseInteger() {
    const size_t n = FChars.size();
    size_t i = FPos;
    if (FChars[i] == u'-')
        ++i;
    while (i < n && IsDigit(FChars[i]))
        ++i;
    const std::string text = Ascii(std::u16string_view(FChars).substr(FPos, i - FPos));
    int value = 0;
    if (!TryStrToInt(text, value)) {
        int head = 0;
        if (TryStrToInt(text.substr(0, 7), head))
            SetMessage("Number is too long");
        return nullptr;
    }
    if (!MayFollowToken(i, true)) {
        SetMessage(i < n && IsDigit(FChars[i]) ? "Number is too long"
                                               : "Number must be followed by space or operand");
        return nullptr;
    }
    FTokenEnd = i;
    return std::make_unique<TTokenDataInteger>(value);
}

std::unique_ptr<TTokenData> TKovTokenizer::RecogniseFloat() {
    const size_t n = FChars.size();
    size_t i = FPos;
    std::string text;
    bool digitSeen = false;
    if (FChars[i] == u'-') {
        text = "-";
        ++i;
    }
    const size_t wholeStart = i;
    while (i < n && IsDigit(FChars[i]))
        ++i;
    if (i > wholeStart) {
        text += Ascii(std::u16string_view(FChars).substr(wholeStart, i - wholeStart));
        digitSeen = true;
    } else {
        text += "0";
    }
    if (!digitSeen && i >= n)
        return nullptr;
    if (i < n && FChars[i] == u'.') {
        ++i;
        const size_t fractionStart = i;
        while (i < n && IsDigit(FChars[i]))
            ++i;
        if (i > fractionStart) {
            text += '.';
            text += Ascii(std::u16string_view(FChars).substr(fractionStart, i - fractionStart));
            digitSeen = true;
        } else {
            text += ".0";
        }
    } else {
        text += ".0";
    }
    if (!digitSeen)
        return nullptr;
    if (i < n && (FChars[i] == u'e' || FChars[i] == u'E')) {
        ++i;
        std::string sign;
        if (i < n && (FChars[i] == u'-' || FChars[i] == u'+')) {
            sign = FChars[i] == u'-' ? "-" : "";
            ++i;
        }
        const size_t exponentStart = i;
        while (i < n && IsDigit(FChars[i]))
            ++i;
        if (i == exponentStart)
            SetError(i, "Exponent value is invalid");
        else {
            text += 'e';
            text += sign;
            text += Ascii(std::u16string_view(FChars).substr(exponentStart, i - exponentStart));
        }
    }
    double value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec != std::errc() || result.ptr != text.data() + text.size()) {
        SetMessage("Number is too long");
        return nullptr;
    }
    if (!MayFollowToken(i, true)) {
        SetError(i, "Number must be followed by space or operand");
        return nullptr;
    }
    FTokenEnd = i;
    return std::make_unique<TTokenDataDouble>(value);
}

std::unique_ptr<TTokenData> TKovTokenizer::RecogniseSymbolOperand() {
    if (!IsSymbolOperandAt(FPos))
        return nullptr;
    FTokenEnd = FPos + 1;
    switch (FChars[FPos]) {
    case u'(':
        return std::make_unique<TTokenDataOperandBracket>("(", btRound, bsOpen);
    case u')':
        return std::make_unique<TTokenDataOperandBracket>(")", btRound, bsClose);
    case u'[':
        return std::make_unique<TTokenDataOperandBracket>("[", btSquare, bsOpen);
    case u']':
        return std::make_unique<TTokenDataOperandBracket>("]", btSquare, bsClose);
    case u'{':
        return std::make_unique<TTokenDataOperandBracket>("{", btCurly, bsOpen);
    case u'}':
        return std::make_unique<TTokenDataOperandBracket>("}", btCurly, bsClose);
    case u'=':
        return std::make_unique<TTokenDataOperandAssign>("=");
    case u'.':
        return std::make_unique<TTokenDataOperandClassifier>(".");
    case u',':
        return std::make_unique<TTokenDataOperandComma>(",");
    case u'+':
        return std::make_unique<TTokenDataOperandPlus>("+");
    case u'*':
        return std::make_unique<TTokenDataOperandMultiplier>("*");
    case u'/':
        return std::make_unique<TTokenDataOperandDivider>("/");
    default:
        return std::make_unique<TTokenDataOperandMinus>("-");
    }
}

std::unique_ptr<TTokenData> TKovTokenizer::RecogniseWordOperand() {
    if (!IsIdentStart(FChars[FPos]))
        return nullptr;
    const size_t end = IdentifierEnd(FPos);
    std::u16string_view word = std::u16string_view(FChars).substr(FPos, end - FPos);
    if (!IsReserved(word))
        return nullptr;
    FTokenEnd = end;
    return std::make_unique<TTokenDataOperand>(Utf16ToUtf8(word));
}

std::unique_ptr<TTokenData> TKovTokenizer::RecogniseUserVariable() {
    if (FChars[FPos] != u'$' || FPos + 1 >= FChars.size() || !IsIdentStart(FChars[FPos + 1]))
        return nullptr;
    const size_t end = IdentifierEnd(FPos + 1);
    std::u16string_view word = std::u16string_view(FChars).substr(FPos + 1, end - FPos - 1);
    if (IsReserved(word))
        return nullptr;
    FTokenEnd = end;
    return std::make_unique<TTokenDataUserVar>(Utf16ToUtf8(word));
}

int32_t TKovTokenizer::TokenNrToTextPos(int n) const {
    return n >= 0 && n < TokenCount() ? GetToken(n)->OriginalPosition() : -1;
}

int TKovTokenizer::CaretPosToTokenNr(int32_t position) const {
    int found = -1;
    for (int i = 0; i < TokenCount(); ++i) {
        if (GetToken(i)->OriginalPosition() > position)
            break;
        found = i;
    }
    return found;
}

} // namespace tw
