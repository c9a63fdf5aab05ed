#include "commands/CommandParameters.h"

#include "commands/KovGroup.h"
#include "objects/IntrinsicPropertyDeclarationList.h"
#include "objects/IntrinsicPropertyDerivedKinds.h"
#include "objects/IntrinsicPropertyKinds.h"
#include "objects/NameTools.h"
#include "services/Format.h"
#include "services/Strings.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <cmath>

namespace tw {

std::string QuoteCommandText(const std::string& text) {
    if (text.find('"') == std::string::npos)
        return Format("\"%s\"", text);
    if (text.find('\'') == std::string::npos)
        return Format("'%s'", text);
    // A triple delimiter ends at the first triple behind it, so the text may hold neither the
    // triple nor end in the quote.
    for (const char* triple : {"\"\"\"", "'''"}) {
        if (text.find(triple) == std::string::npos && text.back() != triple[0])
            return triple + text + triple;
    }
    // Nothing can quote this text exactly; keep it readable as a text.
    return Format("\"%s\"", ReplaceAll(text, "\"", "'"));
}

std::string NumberToCommandText(double value) {
    if (!std::isfinite(value))
        return FloatToStr(value);
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

std::string CommandsCompatibleName(const std::string& name) {
    return MakeValidName(name);
}

// ---------------------------------------------------------------------------------------------

TComParClass::TComParClass(std::string className, const TComParClass* parent, std::string typeName)
    : FClassName(std::move(className)), FParent(parent), FTypeName(std::move(typeName)) {}

std::string TComParClass::AsText() const {
    return Format("<%s>", GetObjectTypeName());
}

bool TComParClass::InheritsFrom(const TComParClass& ancestor) const {
    for (const TComParClass* cls = this; cls; cls = cls->FParent)
        if (cls == &ancestor)
            return true;
    return false;
}

bool TComParClass::IsInstance(const TCommandParameter& parameter) const {
    return parameter.ParamClass().InheritsFrom(*this);
}

bool TComParClass::Matches(const TCommandParameterList& list, int& position) const {
    if (position < 0 || position >= list.Count() || !IsInstance(*list[position]))
        return false;
    ++position;
    return true;
}

bool TComParClass::GetMatchedParameters(const TCommandParameterList& list, int& position,
                                        TCommandParameterList& matched) const {
    int next = position;
    if (!Matches(list, next))
        return false;
    for (int i = position; i < next; ++i)
        matched.Add(list.GetRef(i));
    position = next;
    return true;
}

#define TW_COMPAR_CLASS(Type, Parent, TypeName)                                                    \
    const TComParClassRef& Type::Class() {                                                         \
        static const TComParClassRef cls =                                                         \
            std::make_shared<TComParClass>(#Type, Parent::Class().get(), TypeName);                \
        return cls;                                                                                \
    }

const TComParClassRef& TCommandParameter::Class() {
    static const TComParClassRef cls =
        std::make_shared<TComParClass>("TCommandParameter", nullptr, "Any");
    return cls;
}
TW_COMPAR_CLASS(TComParWithVarRec, TCommandParameter, "Value")
TW_COMPAR_CLASS(TComParSimpleValue, TComParWithVarRec, "SimpleValue")
TW_COMPAR_CLASS(TComParBoolean, TComParSimpleValue, "Boolean")
TW_COMPAR_CLASS(TComParNumber, TComParSimpleValue, "Number")
TW_COMPAR_CLASS(TComParDouble, TComParNumber, "Float")
TW_COMPAR_CLASS(TComParInteger, TComParNumber, "Integer")
TW_COMPAR_CLASS(TComParText, TComParSimpleValue, "Text")
TW_COMPAR_CLASS(TComParObject, TComParSimpleValue, "Object")
TW_COMPAR_CLASS(TComParSetOfParameters_Input, TComParWithVarRec, "SetOfParameters")

bool TCommandParameter::SameAs(const TCommandParameter& other) const {
    return &ParamClass() == &other.ParamClass() && AsText() == other.AsText();
}

std::string TComParObject::AsText() const {
    if (!FObject)
        return "<not assigned>";
    if (const auto* property = dynamic_cast<const TKovIntrinsicProperty*>(FObject))
        return property->Owner() ? property->Owner()->Name() + "." + property->Name()
                                 : property->Name();
    return FObject->Name();
}

// ---------------------------------------------------------------------------------------------

void TCommandParameterList::Insert(int index, TCommandParameterRef parameter) {
    if (index < 0 || index > Count())
        throw ECommandError(Format("List index out of bounds (%d)", index));
    FItems.insert(FItems.begin() + index, std::move(parameter));
}

void TCommandParameterList::Delete(int index) {
    Extract(index);
}

TCommandParameterRef TCommandParameterList::Extract(int index) {
    if (index < 0 || index >= Count())
        throw ECommandError(Format("List index out of bounds (%d)", index));
    auto parameter = std::move(FItems[index]);
    FItems.erase(FItems.begin() + index);
    return parameter;
}

bool TCommandParameterList::Remove(const TCommandParameter* parameter) {
    for (int i = 0; i < Count(); ++i)
        if (FItems[i].get() == parameter) {
            Delete(i);
            return true;
        }
    return false;
}

void TCommandParameterList::MoveRangeFrom(TCommandParameterList& source, int first, int count) {
    if (first < 0 || count < 0 || first + count > source.Count())
        throw ECommandError(Format("List index out of bounds (%d)", first + count));
    FItems.insert(FItems.end(), source.FItems.begin() + first,
                  source.FItems.begin() + first + count);
    source.FItems.erase(source.FItems.begin() + first, source.FItems.begin() + first + count);
}

void TCommandParameterList::Append(const TCommandParameterList& source) {
    FItems.insert(FItems.end(), source.FItems.begin(), source.FItems.end());
}

void TCommandParameterList::Truncate(int count) {
    if (count >= 0 && count < Count())
        FItems.resize(count);
}

bool TCommandParameterList::HasSameItem(const TCommandParameter& parameter) const {
    for (const auto& item : FItems)
        if (item->SameAs(parameter))
            return true;
    return false;
}

void TCommandParameterList::RemoveDuplicates() {
    std::vector<TCommandParameterRef> kept;
    for (auto& item : FItems) {
        bool duplicate = false;
        for (const auto& k : kept)
            duplicate = duplicate || k->SameAs(*item);
        if (!duplicate)
            kept.push_back(std::move(item));
    }
    FItems = std::move(kept);
}

std::string TCommandParameterList::AsText() const {
    std::string text;
    for (const auto& item : FItems) {
        if (!text.empty())
            text += " ";
        text += item->AsText();
    }
    return text;
}

// ---------------------------------------------------------------------------------------------

std::string TComParSetOfParameters_Input::AsText() const {
    return Format("(%s)", FItems.AsText());
}

TComParObjectOfClass::TComParObjectOfClass(std::string className, const TKovClass& objectClass,
                                           std::string typeName)
    : TComParClass(std::move(className), TComParObject::Class().get(), std::move(typeName)),
      FObjectClass(&objectClass) {}

bool TComParObjectOfClass::Matches(const TCommandParameterList& list, int& position) const {
    if (position < 0 || position >= list.Count())
        return false;
    const auto* object = dynamic_cast<const TComParObject*>(list[position]);
    if (!object || !object->Object() || !CanContainObjectOfClass(*object->Object()))
        return false;
    ++position;
    return true;
}

bool TComParObjectOfClass::CanContainObjectOfClass(const TKovObject& object) const {
    return object.InheritsFrom(*FObjectClass);
}

TComParClassRef TComParObjectOfClass::ForClass(const TKovClass& objectClass) {
    return std::make_shared<TComParObjectOfClass>("TComParObjectOfClass", objectClass,
                                                  objectClass.TypeName());
}

const TComParClassRef& TComParKovObject::Class() {
    static const TComParClassRef cls = std::make_shared<TComParObjectOfClass>(
        "TComParKovObject", TKovObject::StaticClass(), "KovObject");
    return cls;
}

// ---------------------------------------------------------------------------------------------

TComParValueOrIntrinsicProperty::TComParValueOrIntrinsicProperty(
    std::string className, std::string typeName, std::vector<const TComParClass*> valueClasses,
    std::vector<const TKovClass*> propertyClasses, bool allowInheritedPropertyClasses)
    : TComParClass(std::move(className), TCommandParameter::Class().get(), std::move(typeName)),
      FValueClasses(std::move(valueClasses)), FPropertyClasses(std::move(propertyClasses)),
      FAllowInherited(allowInheritedPropertyClasses) {}

bool TComParValueOrIntrinsicProperty::Matches(const TCommandParameterList& list,
                                              int& position) const {
    if (position < 0 || position >= list.Count())
        return false;
    const TCommandParameter& parameter = *list[position];
    for (const TComParClass* cls : FValueClasses)
        if (cls->IsInstance(parameter) && CheckValue(parameter)) {
            ++position;
            return true;
        }
    const TKovIntrinsicProperty* property = PropertyOf(parameter);
    if (property && AcceptsProperty(*property) && CheckProperty(*property)) {
        ++position;
        return true;
    }
    return false;
}

bool TComParValueOrIntrinsicProperty::AcceptsProperty(const TKovIntrinsicProperty& property) const {
    for (const TKovClass* cls : FPropertyClasses)
        if (FAllowInherited ? property.InheritsFrom(*cls) : &property.ClassType() == cls)
            return true;
    return false;
}

TKovIntrinsicProperty* TComParValueOrIntrinsicProperty::PropertyOf(const TCommandParameter& p) {
    const auto* object = dynamic_cast<const TComParObject*>(&p);
    return object ? dynamic_cast<TKovIntrinsicProperty*>(object->Object()) : nullptr;
}

TVarRec TComParValueOrIntrinsicProperty::GetValue(const TCommandParameter& parameter) {
    if (const TKovIntrinsicProperty* property = PropertyOf(parameter))
        return property->GetValueRecord();
    if (const auto* value = dynamic_cast<const TComParWithVarRec*>(&parameter))
        return value->AsVarRec();
    throw ECommandError(
        Format("Expected a value or a property, but found %s", parameter.GetObjectTypeName()));
}

namespace {

double RecordToDouble(const TVarRec& value) {
    if (VarIsFloat(value))
        return std::get<double>(value);
    if (VarIsInteger(value))
        return std::get<int32_t>(value);
    throw ECommandError("Expected a number");
}

// A value-or-property class with one value class and the given property classes.
TComParClassRef ValueOrIP(const char* className, const char* typeName,
                          std::vector<const TComParClass*> values,
                          std::vector<const TKovClass*> properties) {
    return std::make_shared<TComParValueOrIntrinsicProperty>(className, typeName, std::move(values),
                                                             std::move(properties));
}

class TComParArrayOfNumbersClass : public TComParValueOrIntrinsicProperty {
public:
    TComParArrayOfNumbersClass()
        : TComParValueOrIntrinsicProperty("TComParArrayOfNumbers", "ArrayOfNumbers",
                                          {TComParText::Class().get()}, {&TIPText::StaticClass()}) {
    }
    bool CheckValue(const TCommandParameter& parameter) const override {
        std::vector<double> values;
        return TComParArrayOfNumbers::TryConvert(static_cast<const TComParText&>(parameter).Value(),
                                                 values);
    }
    bool CheckProperty(const TKovIntrinsicProperty& property) const override {
        std::vector<double> values;
        return TComParArrayOfNumbers::TryConvert(property.ValueAsText(), values);
    }
};

} // namespace

const TComParClassRef& TComParOrIPBoolean::Class() {
    static const TComParClassRef cls =
        ValueOrIP("TComParOrIPBoolean", "Boolean", {TComParBoolean::Class().get()},
                  {&TIPBoolean::StaticClass()});
    return cls;
}
bool TComParOrIPBoolean::GetValue(const TCommandParameter& parameter) {
    const TVarRec value = TComParValueOrIntrinsicProperty::GetValue(parameter);
    if (!VarIsBoolean(value))
        throw ECommandError("Expected a boolean");
    return std::get<bool>(value);
}

const TComParClassRef& TComParOrIPNumber::Class() {
    static const TComParClassRef cls =
        ValueOrIP("TComParOrIPNumber", "Number", {TComParNumber::Class().get()},
                  {&TIPDouble::StaticClass(), &TIPInteger::StaticClass()});
    return cls;
}
double TComParOrIPNumber::GetValue(const TCommandParameter& parameter) {
    return RecordToDouble(TComParValueOrIntrinsicProperty::GetValue(parameter));
}

const TComParClassRef& TComParOrIPInteger::Class() {
    static const TComParClassRef cls =
        ValueOrIP("TComParOrIPInteger", "Integer", {TComParInteger::Class().get()},
                  {&TIPInteger::StaticClass()});
    return cls;
}
int32_t TComParOrIPInteger::GetValue(const TCommandParameter& parameter) {
    const TVarRec value = TComParValueOrIntrinsicProperty::GetValue(parameter);
    if (!VarIsInteger(value))
        throw ECommandError("Expected an integer");
    return std::get<int32_t>(value);
}

const TComParClassRef& TComParOrIPColour::Class() {
    static const TComParClassRef cls = ValueOrIP(
        "TComParOrIPColour", "Colour", {TComParInteger::Class().get()}, {&TIPColor::StaticClass()});
    return cls;
}
int32_t TComParOrIPColour::GetValue(const TCommandParameter& parameter) {
    return TComParOrIPInteger::GetValue(parameter);
}

const TComParClassRef& TComParOrIPText::Class() {
    static const TComParClassRef cls = ValueOrIP(
        "TComParOrIPText", "Text", {TComParText::Class().get()}, {&TIPText::StaticClass()});
    return cls;
}
std::string TComParOrIPText::GetValue(const TCommandParameter& parameter) {
    const TVarRec value = TComParValueOrIntrinsicProperty::GetValue(parameter);
    if (!VarIsString(value))
        throw ECommandError("Expected a text");
    return std::get<std::string>(value);
}

const TComParClassRef& TComParArrayOfNumbers::Class() {
    static const TComParClassRef cls = std::make_shared<TComParArrayOfNumbersClass>();
    return cls;
}

bool TComParArrayOfNumbers::TryConvert(const std::string& text, std::vector<double>& values) {
    values.clear();
    std::string cleaned = text;
    for (char& c : cleaned)
        if (c == ',' || c == ';' || c == '\t' || c == '\r' || c == '\n')
            c = ' ';
    for (const auto& part : Split(cleaned, ' ')) {
        if (part.empty())
            continue;
        double value = 0;
        if (!TryStrToFloat(part, value))
            return false;
        values.push_back(value);
    }
    return true;
}

std::vector<double> TComParArrayOfNumbers::GetValue(const TCommandParameter& parameter) {
    const std::string text = TComParOrIPText::GetValue(parameter);
    std::vector<double> values;
    if (!TryConvert(text, values))
        throw ECommandError(Format("Cannot convert \"%s\" to array", text));
    return values;
}

const TComParClassRef& TComParOrIPKovObject::Class() {
    static const TComParClassRef cls =
        ValueOrIP("TComParOrIPKovObject", "KovObject", {TComParObject::Class().get()}, {});
    return cls;
}
TKovObject* TComParOrIPKovObject::GetObject(const TCommandParameter& parameter) {
    const auto* object = dynamic_cast<const TComParObject*>(&parameter);
    if (!object)
        return nullptr;
    if (const auto* reference = dynamic_cast<const TIPKovObject*>(object->Object()))
        return reference->Value();
    return object->Object();
}

TComParDoubleWithUnit_Abstract::TComParDoubleWithUnit_Abstract(std::string className,
                                                               TQuantityType quantity,
                                                               bool acceptProperty)
    : TComParValueOrIntrinsicProperty(
          std::move(className), "NumberWithUnit", {TComParNumber::Class().get()},
          acceptProperty ? std::vector<const TKovClass*>{&TIPDoubleWithUnit::StaticClass()}
                         : std::vector<const TKovClass*>{}),
      FQuantity(quantity) {}

bool TComParDoubleWithUnit_Abstract::CheckProperty(const TKovIntrinsicProperty& property) const {
    const auto* number = dynamic_cast<const TIPDoubleWithUnit*>(&property);
    return number && number->QuantityType() == FQuantity;
}

double TComParDoubleWithUnit_Abstract::GetBaseValue(const TCommandParameter& parameter,
                                                    TQuantityType quantity,
                                                    const IQuantityPresenter* presenter) {
    if (PropertyOf(parameter))
        return RecordToDouble(GetValue(parameter));
    const auto* number = dynamic_cast<const TComParNumber*>(&parameter);
    if (!number)
        throw ECommandError("Expected a number");
    return presenter ? presenter->FromPresentation(quantity, number->AsDouble())
                     : number->AsDouble();
}

// ---------------------------------------------------------------------------------------------
// Special classes

bool TComParSpecial::Matches(const TCommandParameterList& list, int& position) const {
    TCommandParameterList matched;
    int next = position;
    if (!GetMatchedParameters(list, next, matched) || matched.Empty())
        return false;
    position = next;
    return true;
}

bool TCommandParameterClassList::Matches(const TCommandParameterList& list, int& position,
                                         int& matchedCount) const {
    matchedCount = 0;
    int next = position;
    for (const auto& cls : FClasses) {
        if (next >= list.Count())
            break;
        if (!cls->Matches(list, next))
            return false;
        ++matchedCount;
    }
    if (matchedCount != Count())
        return false;
    position = next;
    return true;
}

bool TCommandParameterClassList::Collect(const TCommandParameterList& list, int& position,
                                         std::vector<TCommandParameterList>& matched) const {
    std::vector<TCommandParameterList> groups(FClasses.size());
    int next = position;
    for (size_t i = 0; i < FClasses.size(); ++i) {
        if (next >= list.Count())
            return false;
        if (!FClasses[i]->GetMatchedParameters(list, next, groups[i]))
            return false;
        if (FClasses[i]->IsSpecial() && groups[i].Empty())
            return false;
    }
    position = next;
    matched = std::move(groups);
    return true;
}

std::string TCommandParameterClassList::AsText() const {
    std::string text;
    for (const auto& cls : FClasses) {
        if (!text.empty())
            text += " ";
        text += cls->AsText();
    }
    return text;
}

TComParMulti_Virtual::TComParMulti_Virtual(std::string className, std::string typeName,
                                           TCommandParameterClassList classes, bool allowBracketed)
    : TComParSpecial(std::move(className), TCommandParameter::Class().get(), std::move(typeName)),
      FClasses(std::move(classes)), FAllowBracketed(allowBracketed) {}

TComParCompound::TComParCompound(TCommandParameterClassList classes, bool allowBracketed,
                                 std::string className, std::string typeName)
    : TComParMulti_Virtual(std::move(className), std::move(typeName), std::move(classes),
                           allowBracketed) {}

std::string TComParCompound::AsText() const {
    return Format("(%s)", FClasses.AsText());
}

bool TComParCompound::GetMatchedParameters(const TCommandParameterList& list, int& position,
                                           TCommandParameterList& matched) const {
    std::vector<TCommandParameterList> groups;
    if (FAllowBracketed && position >= 0 && position < list.Count()) {
        if (const auto* set = dynamic_cast<const TComParSetOfParameters_Input*>(list[position])) {
            int inner = 0;
            if (FClasses.Collect(set->Items(), inner, groups) && inner == set->Count()) {
                for (const auto& group : groups)
                    matched.Append(group);
                ++position;
                return true;
            }
        }
    }
    int next = position;
    if (!FClasses.Collect(list, next, groups))
        return false;
    const int before = matched.Count();
    for (const auto& group : groups)
        matched.Append(group);
    if (matched.Count() > before)
        position = next;
    return true;
}

TComParSequence::TComParSequence(TCommandParameterClassList element, int minCount, bool hasMax,
                                 int maxCount, bool allowBracketed, bool expandGroups,
                                 std::string className, std::string typeName)
    : TComParMulti_Virtual(std::move(className), std::move(typeName), std::move(element),
                           allowBracketed),
      FMinCount(minCount), FMaxCount(hasMax ? maxCount : INT_MAX), FExpandGroups(expandGroups) {
    if (hasMax && (maxCount < 1 || maxCount < minCount || minCount < 1))
        throw ECommandError(Format("Peculiar maximum value (%d) for %s. Minimum value is %d",
                                   maxCount, ClassName(), minCount));
    if (FClasses.Count() == 0)
        throw ECommandError("Parameter sequences must be at least 1 item long!");
}

std::string TComParSequence::GetObjectTypeName() const {
    const std::string own = TComParMulti_Virtual::GetObjectTypeName();
    if (!own.empty())
        return own;
    std::string names;
    for (const auto& cls : FClasses.Items()) {
        if (!names.empty())
            names += ',';
        names += cls->GetObjectTypeName();
    }
    return names;
}

std::string TComParSequence::AsText() const {
    std::string counts = FMaxCount == INT_MAX     ? Format("%d,...", FMinCount)
                         : FMaxCount == FMinCount ? Format("%d", FMinCount)
                                                  : Format("%d,%d", FMinCount, FMaxCount);
    if (FClasses.Count() > 1)
        counts = Format("%s,+%d", counts, FClasses.Count());
    return FClasses.AsText() + "{" + counts + "}";
}

int TComParSequence::Loop(const TCommandParameterList& list, int& position,
                          TCommandParameterList& matched) const {
    // A copy, with the index in `list` that each item stands for: the members of an expanded
    // group all stand for the group.
    TCommandParameterList items(list);
    std::vector<int> origins(list.Count());
    for (int i = 0; i < list.Count(); ++i)
        origins[i] = i;

    // A group that holds itself, directly or through another, is expanded once.
    std::vector<const TKovGroup*> expanded;
    int next = position;
    int count = 0;
    while (count < FMaxCount && next < items.Count()) {
        if (FExpandGroups) {
            const auto* object = dynamic_cast<const TComParObject*>(items[next]);
            const auto* group = object ? dynamic_cast<const TKovGroup*>(object->Object()) : nullptr;
            if (group && std::find(expanded.begin(), expanded.end(), group) == expanded.end()) {
                expanded.push_back(group);
                const int origin = origins[next];
                items.Delete(next);
                origins.erase(origins.begin() + next);
                int at = next;
                for (TKovObject* member : group->Items()) {
                    items.Insert(at, std::make_shared<TComParObject>(member));
                    origins.insert(origins.begin() + at, origin);
                    ++at;
                }
                continue;
            }
        }
        const int start = next;
        const int matchedBefore = matched.Count();
        bool ok = true;
        for (const auto& cls : FClasses.Items()) {
            const int before = next;
            if (next >= items.Count() || !cls->GetMatchedParameters(items, next, matched) ||
                (cls->IsSpecial() && next == before)) {
                ok = false;
                break;
            }
        }
        if (!ok) {
            next = start;
            matched.Truncate(matchedBefore);
            break;
        }
        ++count;
    }
    position = next < items.Count() ? origins[next] : list.Count();
    return count;
}

bool TComParSequence::GetMatchedParameters(const TCommandParameterList& list, int& position,
                                           TCommandParameterList& matched) const {
    if (FAllowBracketed && position >= 0 && position < list.Count()) {
        if (const auto* set = dynamic_cast<const TComParSetOfParameters_Input*>(list[position])) {
            TCommandParameterList inner;
            int next = 0;
            const int count = Loop(set->Items(), next, inner);
            if (next == set->Count() && count >= FMinCount && !inner.Empty()) {
                matched.Append(inner);
                ++position;
                return true;
            }
        }
    }
    TCommandParameterList inner;
    int next = position;
    if (Loop(list, next, inner) < FMinCount)
        return false;
    matched.Append(inner);
    position = next;
    return true;
}

TComParGreedyMatchEverything::TComParGreedyMatchEverything()
    : TComParSpecial("TComParGreedyMatchEverything", TCommandParameter::Class().get(),
                     "Everything") {}

bool TComParGreedyMatchEverything::GetMatchedParameters(const TCommandParameterList& list,
                                                        int& position,
                                                        TCommandParameterList& matched) const {
    for (int i = std::max(position, 0); i < list.Count(); ++i)
        matched.Add(list.GetRef(i));
    position = list.Count();
    return true;
}

const TComParClassRef& TComParGreedyMatchEverything::Class() {
    static const TComParClassRef cls = std::make_shared<TComParGreedyMatchEverything>();
    return cls;
}

TComParEnumeration::TComParEnumeration(std::vector<std::string> values, std::string className)
    : TComParSpecial(std::move(className), TComParText::Class().get(), "Enumeration"),
      FValues(std::move(values)) {}

std::string TComParEnumeration::AsText() const {
    return Format("<%s>", Join(FValues, "|"));
}

bool TComParEnumeration::GetMatchedParameters(const TCommandParameterList& list, int& position,
                                              TCommandParameterList& matched) const {
    if (position < 0 || position >= list.Count())
        return false;
    const auto* text = dynamic_cast<const TComParText*>(list[position]);
    if (!text || TextToEnumIndex(text->Value()) < 0)
        return false;
    matched.Add(list.GetRef(position));
    ++position;
    return true;
}

int TComParEnumeration::TextToEnumIndex(const std::string& text) const {
    const std::string key = LowerCase(CommandsCompatibleName(text));
    for (size_t i = 0; i < FValues.size(); ++i)
        if (LowerCase(CommandsCompatibleName(FValues[i])) == key)
            return static_cast<int>(i);
    return -1;
}

const std::string& TComParEnumeration::EnumIndexToText(int index) const {
    if (index < 0)
        throw ECommandError(Format("%s cannot give an enum value %d (min 0)", ClassName(), index));
    if (index >= static_cast<int>(FValues.size()))
        throw ECommandError(Format("%s cannot give an enum value %d (max %d)", ClassName(), index,
                                   static_cast<int>(FValues.size()) - 1));
    return FValues[index];
}

TComParKeyValuePair::TComParKeyValuePair()
    : TComParCompound({{TComParText::Class(), TCommandParameter::Class()}}, true,
                      "TComParKeyValuePair", "KeyValuePair") {}

const TComParClassRef& TComParKeyValuePair::Class() {
    static const TComParClassRef cls = std::make_shared<TComParKeyValuePair>();
    return cls;
}

TComParKeyValuePairSequence::TComParKeyValuePairSequence()
    : TComParSequence({{TComParKeyValuePair::Class()}}, 1, false, 0, true, false,
                      "TComParKeyValuePairSequence", "KeyValuePairs") {}

const TComParClassRef& TComParKeyValuePairSequence::Class() {
    static const TComParClassRef cls = std::make_shared<TComParKeyValuePairSequence>();
    return cls;
}

TComParOrIPTextSequence::TComParOrIPTextSequence()
    : TComParSequence({{TComParOrIPText::Class()}}, 1, false, 0, true, false,
                      "TComParOrIPTextSequence", "Texts") {}

const TComParClassRef& TComParOrIPTextSequence::Class() {
    static const TComParClassRef cls = std::make_shared<TComParOrIPTextSequence>();
    return cls;
}

TKeyValuePairList KeyValuePairsOf(const TCommandParameterList& matched) {
    TKeyValuePairList pairs;
    for (int i = 0; i + 1 < matched.Count(); i += 2) {
        const auto* key = dynamic_cast<const TComParText*>(matched[i]);
        if (!key)
            throw ECommandError("Expected a key text in a key-value pair");
        pairs.push_back({key->Value(), matched.GetRef(i + 1)});
    }
    return pairs;
}

} // namespace tw
