#pragma once
// The tokenizer of the command language. One line of text is split into tokens, each holding the
// exact place in the line it came from. The line is never changed.
//
// Positions and lengths count 16-bit characters (UTF-16 code units), one-based, as the command
// line editor counts them; the text itself is UTF-8. A byte sequence that is no valid UTF-8
// counts as one character (U+FFFD) per bad byte.
//
// A tokenizer never raises on bad input: the first problem stands in ErrorPos and ErrorMessage,
// and the tokens found before it stay. Raised exceptions are internal checks.

#include "services/KovException.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tw {

TW_DECLARE_EXCEPTION(EKovTokenizerException, EKovException)

// UTF-8 to UTF-16 and back; invalid bytes become U+FFFD.
std::u16string Utf8ToUtf16(std::string_view text);
std::string Utf16ToUtf8(std::u16string_view text);

// ---------------------------------------------------------------------------------------------
// Token data

class TTokenData {
public:
    virtual ~TTokenData() = default;
    // Copies the value of a token data of the same class.
    virtual void AssignFrom(const TTokenData& source) = 0;
    virtual bool IsEqualTo(const TTokenData& other) const = 0;
    virtual std::string TypeName() const = 0;
    // Same class, and IsEqualTo.
    virtual bool SameAs(const TTokenData& other) const;
    // The value as text, for diagnostics and the remote tokenizer.
    virtual std::string ValueAsText() const = 0;
    virtual std::unique_ptr<TTokenData> Clone() const = 0;

    static std::unique_ptr<TTokenData> CreateCopy(const TTokenData& source) {
        return source.Clone();
    }
    // Raises "Cannot assign to a %s from a %s" for different classes.
    static void Assign(TTokenData& target, const TTokenData& source);
};

class TTokenDataWideString_Virtual : public TTokenData {
public:
    explicit TTokenDataWideString_Virtual(std::string value = {}) : FValue(std::move(value)) {}
    virtual const std::string& GetValue() const { return FValue; }
    void AssignFrom(const TTokenData& source) override;
    bool IsEqualTo(const TTokenData& other) const override;
    std::string ValueAsText() const override { return GetValue(); }

protected:
    std::string FValue;
};

#define TW_TOKEN_DATA_CLASS(Class, Base, Type)                                                     \
    class Class : public Base {                                                                    \
    public:                                                                                        \
        using Base::Base;                                                                          \
        std::string TypeName() const override { return Type; }                                     \
        std::unique_ptr<TTokenData> Clone() const override {                                       \
            return std::make_unique<Class>(*this);                                                 \
        }                                                                                          \
    };

TW_TOKEN_DATA_CLASS(TTokenDataIdentifier, TTokenDataWideString_Virtual, "Identifier")
TW_TOKEN_DATA_CLASS(TTokenDataComment, TTokenDataWideString_Virtual, "Comment")
TW_TOKEN_DATA_CLASS(TTokenDataText, TTokenDataWideString_Virtual, "Text")
TW_TOKEN_DATA_CLASS(TTokenDataOperand, TTokenDataWideString_Virtual, "Operand")
TW_TOKEN_DATA_CLASS(TTokenDataUserVar, TTokenDataWideString_Virtual, "UserVariable")
TW_TOKEN_DATA_CLASS(TTokenDataSymbolOperand, TTokenDataOperand, "Operand")
TW_TOKEN_DATA_CLASS(TTokenDataOperandAssign, TTokenDataSymbolOperand, "Assign")
TW_TOKEN_DATA_CLASS(TTokenDataOperandClassifier, TTokenDataSymbolOperand, "Member")
TW_TOKEN_DATA_CLASS(TTokenDataOperandComma, TTokenDataSymbolOperand, "Comma")
TW_TOKEN_DATA_CLASS(TTokenDataOperandPlus, TTokenDataSymbolOperand, "Plus")
TW_TOKEN_DATA_CLASS(TTokenDataOperandMinus, TTokenDataSymbolOperand, "Minus")
TW_TOKEN_DATA_CLASS(TTokenDataOperandMultiplier, TTokenDataSymbolOperand, "Multiplier")
TW_TOKEN_DATA_CLASS(TTokenDataOperandDivider, TTokenDataSymbolOperand, "Divider")

// "/name command": a line handed to another interpreter. The value is the whole line from the
// slash on.
class TTokenDataExternalInterpreter : public TTokenDataWideString_Virtual {
public:
    TTokenDataExternalInterpreter(std::string content, std::string interpreterName,
                                  std::string externalCommand)
        : TTokenDataWideString_Virtual(std::move(content)),
          FInterpreterName(std::move(interpreterName)),
          FExternalCommand(std::move(externalCommand)) {}
    std::string TypeName() const override { return "ExternalInterpreter"; }
    std::unique_ptr<TTokenData> Clone() const override {
        return std::make_unique<TTokenDataExternalInterpreter>(*this);
    }
    void AssignFrom(const TTokenData& source) override;
    bool IsEqualTo(const TTokenData& other) const override;
    const std::string& Content() const { return FValue; }
    const std::string& InterpreterName() const { return FInterpreterName; }
    const std::string& ExternalCommand() const { return FExternalCommand; }

private:
    std::string FInterpreterName;
    std::string FExternalCommand;
};

enum TBracketType { btRound, btSquare, btCurly };
enum TBracketState { bsOpen, bsClose };

class TTokenDataOperandBracket : public TTokenDataSymbolOperand {
public:
    TTokenDataOperandBracket(std::string text, TBracketType type, TBracketState state)
        : TTokenDataSymbolOperand(std::move(text)), FBracketType(type), FBracketState(state) {}
    std::string TypeName() const override { return "Bracket"; }
    std::unique_ptr<TTokenData> Clone() const override {
        return std::make_unique<TTokenDataOperandBracket>(*this);
    }
    void AssignFrom(const TTokenData& source) override;
    bool IsEqualTo(const TTokenData& other) const override;
    TBracketType BracketType() const { return FBracketType; }
    TBracketState BracketState() const { return FBracketState; }
    bool IsOpen() const { return FBracketState == bsOpen; }
    bool IsClosed() const { return FBracketState == bsClose; }
    // "round", "square", "curly"; "open", "close".
    std::string BracketTypeInText() const;
    std::string BracketStateInText() const;

private:
    TBracketType FBracketType;
    TBracketState FBracketState;
};

class TTokenDataInteger : public TTokenData {
public:
    explicit TTokenDataInteger(int32_t value = 0) : FValue(value) {}
    int32_t Value() const { return FValue; }
    void AssignFrom(const TTokenData& source) override;
    bool IsEqualTo(const TTokenData& other) const override;
    std::string TypeName() const override { return "Integer"; }
    std::string ValueAsText() const override { return std::to_string(FValue); }
    std::unique_ptr<TTokenData> Clone() const override {
        return std::make_unique<TTokenDataInteger>(*this);
    }

private:
    int32_t FValue;
};

class TTokenDataDouble : public TTokenData {
public:
    explicit TTokenDataDouble(double value = 0) : FValue(value) {}
    double Value() const { return FValue; }
    void AssignFrom(const TTokenData& source) override;
    // Same within the larger of 1e-14 and (|a| + |b|) / 1000.
    bool IsEqualTo(const TTokenData& other) const override;
    std::string TypeName() const override { return "Float"; }
    std::string ValueAsText() const override;
    std::unique_ptr<TTokenData> Clone() const override {
        return std::make_unique<TTokenDataDouble>(*this);
    }

private:
    double FValue;
};

// ---------------------------------------------------------------------------------------------
// Tokens

class TKovToken {
public:
    TKovToken(int32_t position, int32_t length, std::unique_ptr<TTokenData> data)
        : FOriginalPosition(position), FOriginalLength(length), FData(std::move(data)) {}

    // One-based index of the first character, and the length in the text (quotes included).
    int32_t OriginalPosition() const { return FOriginalPosition; }
    int32_t OriginalLength() const { return FOriginalLength; }
    int32_t OriginalEnd() const { return FOriginalPosition + FOriginalLength - 1; }
    const TTokenData& Data() const { return *FData; }
    // The data as a T, or nullptr for data of another class.
    template <typename T> const T* DataAs() const { return dynamic_cast<const T*>(FData.get()); }
    template <typename T> bool Is() const { return DataAs<T>() != nullptr; }

private:
    int32_t FOriginalPosition;
    int32_t FOriginalLength;
    std::unique_ptr<TTokenData> FData;
};

class TKovTokenList {
public:
    int Count() const { return static_cast<int>(FItems.size()); }
    TKovToken* GetItem(int index) const { return FItems.at(index).get(); }
    void SetItem(int index, std::unique_ptr<TKovToken> token) {
        FItems.at(index) = std::move(token);
    }
    TKovToken* Add(std::unique_ptr<TKovToken> token);
    void Insert(int index, std::unique_ptr<TKovToken> token);
    std::unique_ptr<TKovToken> Extract(const TKovToken* token);
    bool Remove(const TKovToken* token);
    int IndexOf(const TKovToken* token) const;
    void Clear() { FItems.clear(); }

private:
    std::vector<std::unique_ptr<TKovToken>> FItems;
};

// The reserved words of the language, case-insensitive.
bool IsReservedWord(std::string_view word);

class TKovTokenizer {
public:
    // `customReservedWords` (not owned, may be nullptr) replaces the language's reserved words.
    explicit TKovTokenizer(std::string_view text, bool forceEnglishFeedback = false,
                           const std::vector<std::string>* customReservedWords = nullptr);

    int32_t ErrorPos() const { return FErrorPos; }
    const std::string& ErrorMessage() const { return FErrorMessage; }
    bool HasError() const { return FErrorPos != -1; }
    int TokenCount() const { return FTokens.Count(); }
    const std::string& OriginalText() const { return FText; }
    TKovToken* GetToken(int index) const { return FTokens.GetItem(index); }
    int IndexOf(const TKovToken* token) const { return FTokens.IndexOf(token); }
    const TKovTokenList& Tokens() const { return FTokens; }
    // The text position of token n, -1 for a number outside the list.
    int32_t TokenNrToTextPos(int n) const;
    // The last token whose position is at or before `position`; -1 before the first.
    int CaretPosToTokenNr(int32_t position) const;

private:
    // Each recogniser looks at FChars from FPos (zero-based) and, on success, answers the token's
    // data and sets FTokenEnd behind it.
    void Tokenize();
    std::unique_ptr<TTokenData> RecogniseExternal(bool& stop);
    std::unique_ptr<TTokenData> RecogniseIdentifier();
    std::unique_ptr<TTokenData> RecogniseText();
    std::unique_ptr<TTokenData> RecogniseComment();
    std::unique_ptr<TTokenData> RecogniseInteger();
    std::unique_ptr<TTokenData> RecogniseFloat();
    std::unique_ptr<TTokenData> RecogniseSymbolOperand();
    std::unique_ptr<TTokenData> RecogniseWordOperand();
    std::unique_ptr<TTokenData> RecogniseUserVariable();

    bool IsReserved(std::u16string_view word) const;
    // Whether a symbol operand starts at `index` (zero-based).
    bool IsSymbolOperandAt(size_t index) const;
    // End of text, a space, a comment start or a symbol operand (not "." when `noDot`).
    bool MayFollowToken(size_t index, bool noDot) const;
    size_t IdentifierEnd(size_t index) const;
    void SetError(size_t index, const std::string& message);
    void SetMessage(const std::string& message);

    std::string FText;
    std::u16string FChars;
    int32_t FErrorPos = -1;
    std::string FErrorMessage;
    TKovTokenList FTokens;
    bool FForceEnglishFeedback;
    const std::vector<std::string>* FCustomReservedWords;
    size_t FPos = 0;
    size_t FTokenEnd = 0;
};

} // namespace tw
