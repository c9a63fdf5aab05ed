#include "commands/KovTokenExpressions.h"

#include "services/Format.h"
#include "services/Localisation.h"

namespace tw {

namespace {

std::string Indent(int indent) {
    return std::string(static_cast<size_t>(indent) * 2, ' ');
}

const TTokenDataOperandBracket* BracketOf(const TKovTokenExpressionAtom* atom) {
    const auto* single = dynamic_cast<const TKovTokenExpressionSingle*>(atom);
    return single ? single->DataAs<TTokenDataOperandBracket>() : nullptr;
}

} // namespace

std::string TKovTokenExpressionSingle::AsText(int indent) const {
    return Indent(indent) +
           Format("+ Single: %s %s", FToken->Data().TypeName(), FToken->Data().ValueAsText());
}

// ---------------------------------------------------------------------------------------------

TKovTokenExpressionAtom*
TKovTokenExpressionMultiple::Add(std::unique_ptr<TKovTokenExpressionAtom> atom) {
    FSubAtoms.push_back(std::move(atom));
    return FSubAtoms.back().get();
}

void TKovTokenExpressionMultiple::Insert(int index, std::unique_ptr<TKovTokenExpressionAtom> atom) {
    if (index < 0 || index > AtomCount())
        throw EKovTokenizerException(Format("List index out of bounds (%d)", index));
    FSubAtoms.insert(FSubAtoms.begin() + index, std::move(atom));
}

std::unique_ptr<TKovTokenExpressionAtom> TKovTokenExpressionMultiple::ExtractAtomAtPos(int index) {
    if (index < 0 || index >= AtomCount())
        throw EKovTokenizerException(Format("List index out of bounds (%d)", index));
    auto atom = std::move(FSubAtoms[index]);
    FSubAtoms.erase(FSubAtoms.begin() + index);
    return atom;
}

int TKovTokenExpressionMultiple::CaretPosToAtomNr(int32_t position) const {
    int found = -1;
    for (int i = 0; i < AtomCount(); ++i) {
        const TKovToken* first = FSubAtoms[i]->FirstToken();
        if (!first)
            continue;
        if (first->OriginalPosition() > position)
            break;
        found = i;
    }
    return found;
}

bool TKovTokenExpressionMultiple::IsCommaSeparatedSequence() const {
    const int count = AtomCount();
    if (count < 3 || count % 2 == 0)
        return false;
    for (int i = 0; i < count; ++i) {
        const auto* single = dynamic_cast<const TKovTokenExpressionSingle*>(FSubAtoms[i].get());
        if (i % 2 == 1) {
            if (!single || !single->DataAs<TTokenDataOperandComma>())
                return false;
        } else if (single && single->DataAs<TTokenDataOperand>()) {
            return false;
        }
    }
    return true;
}

TKovToken* TKovTokenExpressionMultiple::FirstToken() const {
    for (const auto& atom : FSubAtoms)
        if (TKovToken* token = atom->FirstToken())
            return token;
    return nullptr;
}

TKovToken* TKovTokenExpressionMultiple::LastToken() const {
    for (auto it = FSubAtoms.rbegin(); it != FSubAtoms.rend(); ++it)
        if (TKovToken* token = (*it)->LastToken())
            return token;
    return nullptr;
}

void TKovTokenExpressionMultiple::GetAllTokens(std::vector<TKovToken*>& tokens) const {
    for (const auto& atom : FSubAtoms)
        atom->GetAllTokens(tokens);
}

std::string TKovTokenExpressionMultiple::AsText(int indent) const {
    std::string text = Indent(indent) + Format("+ %s: %d subs", KindName(), AtomCount());
    for (const auto& atom : FSubAtoms) {
        text += '\n';
        text += atom->AsText(indent + 1);
    }
    return text;
}

// ---------------------------------------------------------------------------------------------

bool TKovTokenExpressionMultiple_Brackets::StartsWithOpenBracket(TBracketType type) const {
    const auto* bracket = AtomCount() > 0 ? BracketOf(GetAtom(0)) : nullptr;
    return bracket && bracket->IsOpen() && bracket->BracketType() == type;
}

bool TKovTokenExpressionMultiple_Brackets::EndsWithClosedBracket(TBracketType type) const {
    const auto* bracket = AtomCount() > 1 ? BracketOf(Last()) : nullptr;
    return bracket && bracket->IsClosed() && bracket->BracketType() == type;
}

bool TKovTokenExpressionMultiple_Brackets::StartsWithAnyOpenBracket() const {
    const auto* bracket = AtomCount() > 0 ? BracketOf(GetAtom(0)) : nullptr;
    return bracket && bracket->IsOpen();
}

bool TKovTokenExpressionMultiple_Brackets::EndsWithAnyClosedBracket() const {
    const auto* bracket = AtomCount() > 1 ? BracketOf(Last()) : nullptr;
    return bracket && bracket->IsClosed();
}

int TKovTokenExpressionMultiple_Brackets::AtomCountExcludingAnyBrackets() const {
    return AtomCount() - (StartsWithAnyOpenBracket() ? 1 : 0) -
           (EndsWithAnyClosedBracket() ? 1 : 0);
}

TKovToken* TKovTokenExpressionMultiple_Brackets::FirstTokenExcludingAnyBrackets() const {
    return AtomCountExcludingAnyBrackets() > 0 ? GetAtomExcludingAnyBrackets(0)->FirstToken()
                                               : nullptr;
}

TKovTokenExpressionAtom*
TKovTokenExpressionMultiple_Brackets::GetAtomExcludingAnyBrackets(int index) const {
    const int shifted = index + (StartsWithAnyOpenBracket() ? 1 : 0);
    if (EndsWithAnyClosedBracket() && shifted == AtomCount() - 1)
        throw EKovTokenizerException("Invalid atom requested (cannot return closing parens)");
    return GetAtom(shifted);
}

TBracketType TKovTokenExpressionMultiple_Brackets::BracketType() const {
    const auto* bracket = AtomCount() > 0 ? BracketOf(GetAtom(0)) : nullptr;
    return bracket ? bracket->BracketType() : btRound;
}

// ---------------------------------------------------------------------------------------------

TKovTokenExpressionTool::TKovTokenExpressionTool(const TKovTokenizer& tokenizer)
    : FTokenizer(tokenizer), FRootExpression(std::make_unique<TKovTokenExpressionMultiple>()) {
    Fold(0, tokenizer.TokenCount() - 1, *FRootExpression, 0);
}

void TKovTokenExpressionTool::AddError(const std::string& text, int tokenNr) {
    FErrors.push_back({Translate(text), tokenNr});
}

int TKovTokenExpressionTool::FoldRun(int first, int last, TKovTokenExpressionMultiple& chain) {
    chain.Add(std::make_unique<TKovTokenExpressionSingle>(FTokenizer.GetToken(first)));
    int next = first + 1;
    while (next + 1 <= last && FTokenizer.GetToken(next)->Is<TTokenDataOperandClassifier>() &&
           FTokenizer.GetToken(next + 1)->Is<TTokenDataIdentifier>()) {
        chain.Add(std::make_unique<TKovTokenExpressionSingle>(FTokenizer.GetToken(next + 1)));
        next += 2;
    }
    return next;
}

void TKovTokenExpressionTool::Fold(int first, int last, TKovTokenExpressionMultiple& target,
                                   int depth) {
    int i = first;
    while (i <= last) {
        TKovToken* token = FTokenizer.GetToken(i);
        if (const auto* bracket = token->DataAs<TTokenDataOperandBracket>()) {
            if (bracket->IsClosed()) {
                AddError("Unbalanced parenthesis", i);
                ++i;
                continue;
            }
            if (depth >= MaxNesting) {
                AddError("Brackets are nested too deeply", i);
                return;
            }
            int next = i;
            auto group = FoldBracketGroup(i, last, next, depth + 1);
            if (bracket->BracketType() != btSquare) {
                target.Add(std::move(group));
            } else if (target.AtomCount() == 0) {
                AddError("Unexpected indexer", i);
                target.Add(std::move(group));
            } else if (group->AtomCountExcludingAnyBrackets() == 0) {
                AddError("Empty indexer", i);
                target.Add(std::move(group));
            } else {
                auto indexer = std::make_unique<TKovTokenExpressionMultiple_ArrayIndexer>();
                indexer->Add(target.ExtractAtomAtPos(target.AtomCount() - 1));
                indexer->Add(std::move(group));
                target.Add(std::move(indexer));
            }
            i = next;
        } else if (token->Is<TTokenDataIdentifier>() || token->Is<TTokenDataUserVar>()) {
            auto chain = std::make_unique<TKovTokenExpressionMultiple_ClassifierSeparated>();
            i = FoldRun(i, last, *chain);
            if (chain->AtomCount() == 1)
                target.Add(chain->ExtractAtomAtPos(0));
            else
                target.Add(std::move(chain));
        } else if (token->Is<TTokenDataOperandClassifier>()) {
            if (dynamic_cast<TKovTokenExpressionMultiple_ArrayIndexer*>(target.Last()) &&
                i + 1 <= last && FTokenizer.GetToken(i + 1)->Is<TTokenDataIdentifier>()) {
                auto chain = std::make_unique<TKovTokenExpressionMultiple_ClassifierSeparated>();
                chain->Add(target.ExtractAtomAtPos(target.AtomCount() - 1));
                i = FoldRun(i + 1, last, *chain);
                target.Add(std::move(chain));
            } else {
                AddError("Unexpected operand", i);
                ++i;
            }
        } else if (token->Is<TTokenDataComment>()) {
            ++i;
        } else {
            target.Add(std::make_unique<TKovTokenExpressionSingle>(token));
            ++i;
        }
    }
}

std::unique_ptr<TKovTokenExpressionMultiple_Brackets>
TKovTokenExpressionTool::FoldBracketGroup(int open, int last, int& next, int depth) {
    const auto* opening = FTokenizer.GetToken(open)->DataAs<TTokenDataOperandBracket>();
    if (!opening || !opening->IsOpen())
        throw EKovTokenizerException("Should start with open parens!");
    auto group = std::make_unique<TKovTokenExpressionMultiple_Brackets>();
    group->Add(std::make_unique<TKovTokenExpressionSingle>(FTokenizer.GetToken(open)));
    int count = 1;
    int j = open + 1;
    for (; j <= last; ++j) {
        const auto* bracket = FTokenizer.GetToken(j)->DataAs<TTokenDataOperandBracket>();
        if (!bracket || bracket->BracketType() != opening->BracketType())
            continue;
        if (bracket->IsOpen())
            ++count;
        else if (bracket->IsClosed())
            --count;
        else
            throw EKovTokenizerException("Expected bracket to be either closed or open");
        if (count == 0)
            break;
    }
    if (j <= last) {
        Fold(open + 1, j - 1, *group, depth);
        group->Add(std::make_unique<TKovTokenExpressionSingle>(FTokenizer.GetToken(j)));
        next = j + 1;
    } else {
        AddError("Unbalanced parenthesis", open);
        Fold(open + 1, last, *group, depth);
        next = last + 1;
    }
    return group;
}

std::string TKovTokenExpressionTool::AsText() const {
    std::string text = Format("TOKEN TOOL\nCommand: %s", FTokenizer.OriginalText());
    for (int i = 0; i < FTokenizer.TokenCount(); ++i) {
        const TTokenData& data = FTokenizer.GetToken(i)->Data();
        text += '\n';
        text += Format("  + Token %d: %s %s", i, data.TypeName(), data.ValueAsText());
    }
    text += '\n';
    text += Format("+ Errors: %d", ErrorCount());
    for (const auto& error : FErrors) {
        text += '\n';
        text += Format("  %s (token %d)", error.Text, error.TokenNr);
    }
    text += "\n+ Expressions:\n";
    text += FRootExpression->AsText(1);
    return text;
}

} // namespace tw
