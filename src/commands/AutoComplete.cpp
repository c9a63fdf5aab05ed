#include "commands/AutoComplete.h"

#include "commands/KovCommands.h"
#include "commands/KovInterpreter.h"
#include "commands/ObjectAccessors.h"
#include "objects/IntrinsicProperty.h"
#include "objects/ObjectManager.h"
#include "services/Strings.h"

#include <algorithm>
#include <cctype>
#include <map>

namespace tw {

namespace {

bool IsNameChar(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) || c == '_';
}

bool IsChainChar(char c) {
    return IsNameChar(c) || c == '.' || c == '[' || c == ']';
}

struct TCaseInsensitiveLess {
    bool operator()(const std::string& a, const std::string& b) const {
        return std::lexicographical_compare(
            a.begin(), a.end(), b.begin(), b.end(),
            [](unsigned char x, unsigned char y) { return std::tolower(x) < std::tolower(y); });
    }
};

// A candidate with what it is; the map keeps one entry per name, any case, sorted.
using TCandidates = std::map<std::string, std::string, TCaseInsensitiveLess>;

void AddCommands(const TKovObject& object, TCandidates& candidates) {
    const TBaseObjectAccessor* accessor = TObjectAccessors::Instance().GetAccessorFor(&object);
    for (int i = 0; accessor && i < accessor->CommandCount(); ++i)
        if (const TKovCommand& command = accessor->GetCommand(i); !command.IsDiagnostic())
            candidates.emplace(command.Name(), "command");
}

void AddMembers(const TKovObject& object, TCandidates& candidates) {
    if (const auto* observable = dynamic_cast<const TKovObservableObject*>(&object))
        for (int i = 0; i < observable->IntrinsicPropertiesCount(); ++i)
            if (const TKovIntrinsicProperty* property = observable->GetIntrinsicProperty(i);
                property && property->IsPublished())
                candidates.emplace(property->Name(), property->Caption());
    AddCommands(object, candidates);
}

// What a chain such as "Triaxial_1.Phases[0]" names, or nullptr.
TKovObject* ResolveChain(const TKovInterpreter& interpreter, const std::string& chain) {
    TKovObject* object = nullptr;
    size_t start = 0;
    while (start <= chain.size()) {
        const size_t dot = chain.find('.', start);
        std::string part = chain.substr(start, dot == std::string::npos ? dot : dot - start);
        std::vector<int> indexes;
        for (size_t open = part.find('['); open != std::string::npos; open = part.find('[')) {
            const size_t close = part.find(']', open);
            int index = 0;
            if (close == std::string::npos ||
                !TryStrToInt(part.substr(open + 1, close - open - 1), index))
                return nullptr;
            indexes.push_back(index);
            part.erase(open, close - open + 1);
        }
        object = interpreter.ResolveObject(object, part);
        for (const int index : indexes) {
            const TObjectToListConverter* list =
                object ? TObjectToListConverters::Instance().GetConverterFor(*object) : nullptr;
            object = list ? list->GetItem(*object, index) : nullptr;
        }
        if (!object || dot == std::string::npos)
            return object;
        start = dot + 1;
    }
    return object;
}

// The letters of `typed` in order within `name`, case ignored.
bool HoldsInOrder(const std::string& name, const std::string& typed) {
    size_t at = 0;
    for (const char c : name)
        if (at < typed.size() && std::tolower(static_cast<unsigned char>(c)) ==
                                     std::tolower(static_cast<unsigned char>(typed[at])))
            ++at;
    return at == typed.size();
}

} // namespace

std::string TAutoCompleteResults::Apply(int index, int& caret) const {
    const std::string& match = Matches.at(static_cast<size_t>(index));
    // The rest of the token at the caret goes: the suggestion is the whole name.
    size_t rest = 0;
    while (rest < RightText.size() && IsNameChar(RightText[rest]))
        ++rest;
    caret = static_cast<int>(LeftText.size() + match.size());
    return LeftText + match + RightText.substr(rest);
}

TAutoCompleteResults TAutoCompleter::Search(const std::string& line, int caret) const {
    TAutoCompleteResults results;
    const size_t at = static_cast<size_t>(std::clamp(caret, 0, static_cast<int>(line.size())));
    // The chain before the caret, and the name being typed at its end.
    size_t chainStart = at;
    while (chainStart > 0 && IsChainChar(line[chainStart - 1]))
        --chainStart;
    size_t nameStart = at;
    while (nameStart > chainStart && IsNameChar(line[nameStart - 1]))
        --nameStart;
    results.LeftText = line.substr(0, nameStart);
    results.FixedText = line.substr(nameStart, at - nameStart);
    results.RightText = line.substr(at);
    results.IsCaretAtEndOfToken = at == line.size() || !IsNameChar(line[at]);

    TCandidates candidates;
    if (nameStart > chainStart && line[nameStart - 1] == '.') {
        if (const TKovObject* object =
                ResolveChain(FInterpreter, line.substr(chainStart, nameStart - 1 - chainStart)))
            AddMembers(*object, candidates);
    } else if (nameStart == chainStart) {
        if (Trim(results.LeftText).empty())
            for (const TKovObject* object : FInterpreter.Environment().DefaultObjects())
                AddCommands(*object, candidates);
        if (TKovObjectManager* manager = FInterpreter.Environment().NameSpace())
            for (const auto& [key, object] : manager->ObjectRegistry().Items()) {
                if (!object || object->Name().empty())
                    continue;
                const TBaseObjectAccessor* accessor =
                    TObjectAccessors::Instance().GetAccessorFor(object);
                candidates.emplace(object->Name(), accessor ? accessor->GetTypeName()
                                                            : object->ClassType().TypeName());
            }
    }

    // A global command may be written with a leading "_": it is searched without and kept.
    const bool underscore = results.FixedText.starts_with('_');
    const std::string typed = underscore ? results.FixedText.substr(1) : results.FixedText;
    std::vector<const TCandidates::value_type*> exact, fuzzy;
    for (const auto& candidate : candidates) {
        if (StartsText(typed, candidate.first))
            exact.push_back(&candidate);
        else if (HoldsInOrder(candidate.first, typed))
            fuzzy.push_back(&candidate);
    }
    for (const auto* list : {&exact, &fuzzy})
        for (const auto* candidate : *list) {
            if (results.Count() >= MaxMatches)
                break;
            results.Matches.push_back((underscore ? "_" : "") + candidate->first);
            results.Infos.push_back(candidate->second);
        }
    return results;
}

} // namespace tw
