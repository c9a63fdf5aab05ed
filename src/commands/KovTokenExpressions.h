#pragma once
// Folding a token list into a tree of atoms: bracket groups, array indexers (`a[1]`) and member
// chains (`Test_1.Phases[2].Duration`). The interpreter, the pattern matcher, the highlighter and
// the autocompleter all read this tree. Atoms refer to the tokens of their tokenizer without
// owning them, so the tokenizer must outlive the tool.
//
// Like the tokenizer, the tool never raises on bad input: problems are collected with the number
// of the token they concern, and folding goes on.

#include "commands/KovTokenizer.h"

#include <memory>
#include <string>
#include <vector>

namespace tw {

class TKovTokenExpressionAtom {
public:
    virtual ~TKovTokenExpressionAtom() = default;
    // nullptr for an atom without tokens.
    virtual TKovToken* FirstToken() const = 0;
    virtual TKovToken* LastToken() const = 0;
    virtual void GetAllTokens(std::vector<TKovToken*>& tokens) const = 0;
    // The diagnostic tree, each level indented two blanks more.
    virtual std::string AsText(int indent = 0) const = 0;
};

using TKovTokenExpressionAtomList = std::vector<std::unique_ptr<TKovTokenExpressionAtom>>;

class TKovTokenExpressionSingle : public TKovTokenExpressionAtom {
public:
    explicit TKovTokenExpressionSingle(TKovToken* token) : FToken(token) {}
    TKovToken* Token() const { return FToken; }
    TKovToken* FirstToken() const override { return FToken; }
    TKovToken* LastToken() const override { return FToken; }
    void GetAllTokens(std::vector<TKovToken*>& tokens) const override { tokens.push_back(FToken); }
    std::string AsText(int indent = 0) const override;
    template <typename T> const T* DataAs() const { return FToken->DataAs<T>(); }

private:
    TKovToken* FToken; // not owned
};

class TKovTokenExpressionMultiple : public TKovTokenExpressionAtom {
public:
    int AtomCount() const { return static_cast<int>(FSubAtoms.size()); }
    TKovTokenExpressionAtom* GetAtom(int index) const { return FSubAtoms.at(index).get(); }
    TKovTokenExpressionAtom* Add(std::unique_ptr<TKovTokenExpressionAtom> atom);
    void Insert(int index, std::unique_ptr<TKovTokenExpressionAtom> atom);
    TKovTokenExpressionAtom* Last() const {
        return FSubAtoms.empty() ? nullptr : FSubAtoms.back().get();
    }
    std::unique_ptr<TKovTokenExpressionAtom> ExtractAtomAtPos(int index);
    // The last atom whose first token lies at or before `position`; -1 before the first.
    int CaretPosToAtomNr(int32_t position) const;
    // Odd count of at least 3, commas at the odd places, no operand at the even ones.
    bool IsCommaSeparatedSequence() const;

    TKovToken* FirstToken() const override;
    TKovToken* LastToken() const override;
    void GetAllTokens(std::vector<TKovToken*>& tokens) const override;
    std::string AsText(int indent = 0) const override;
    virtual std::string KindName() const { return "Multiple"; }

protected:
    TKovTokenExpressionAtomList FSubAtoms;
};

// A bracket group: the first and last atoms are the bracket tokens (the last is missing when the
// group was never closed).
class TKovTokenExpressionMultiple_Brackets : public TKovTokenExpressionMultiple {
public:
    std::string KindName() const override { return "Brackets"; }
    bool StartsWithOpenBracket(TBracketType type) const;
    bool EndsWithClosedBracket(TBracketType type) const;
    bool StartsWithAnyOpenBracket() const;
    bool EndsWithAnyClosedBracket() const;
    int AtomCountExcludingAnyBrackets() const;
    TKovToken* FirstTokenExcludingAnyBrackets() const;
    // Raises for the closing bracket itself.
    TKovTokenExpressionAtom* GetAtomExcludingAnyBrackets(int index) const;
    // The type of the opening bracket.
    TBracketType BracketType() const;
};

// Atom 0 is what is indexed, atom 1 the square bracket group.
class TKovTokenExpressionMultiple_ArrayIndexer : public TKovTokenExpressionMultiple {
public:
    std::string KindName() const override { return "ArrayIndexer"; }
    TKovTokenExpressionAtom* Indexed() const { return GetAtom(0); }
    TKovTokenExpressionMultiple_Brackets* Brackets() const {
        return static_cast<TKovTokenExpressionMultiple_Brackets*>(GetAtom(1));
    }
};

// A member chain, without the dots. The first atom may be an indexer or a user variable.
class TKovTokenExpressionMultiple_ClassifierSeparated : public TKovTokenExpressionMultiple {
public:
    std::string KindName() const override { return "ClassifierSeparated"; }
};

class TKovTokenExpressionTool {
public:
    // Brackets nested deeper than this are reported and not folded further, so that a line of
    // a million "(" neither exhausts the stack nor takes quadratic time.
    static constexpr int MaxNesting = 256;

    explicit TKovTokenExpressionTool(const TKovTokenizer& tokenizer);

    const TKovTokenExpressionMultiple& RootExpression() const { return *FRootExpression; }
    int ErrorCount() const { return static_cast<int>(FErrors.size()); }
    const std::string& GetErrorString(int index) const { return FErrors.at(index).Text; }
    int GetErrorTokenNr(int index) const { return FErrors.at(index).TokenNr; }
    std::string AsText() const;

private:
    void Fold(int first, int last, TKovTokenExpressionMultiple& target, int depth);
    std::unique_ptr<TKovTokenExpressionMultiple_Brackets> FoldBracketGroup(int open, int last,
                                                                           int& next, int depth);
    // Folds identifier (classifier identifier)* from `first` into `chain`; answers the index
    // behind the run.
    int FoldRun(int first, int last, TKovTokenExpressionMultiple& chain);
    void AddError(const std::string& text, int tokenNr);

    const TKovTokenizer& FTokenizer;
    std::unique_ptr<TKovTokenExpressionMultiple> FRootExpression;
    struct TError {
        std::string Text;
        int TokenNr;
    };
    std::vector<TError> FErrors;
};

} // namespace tw
