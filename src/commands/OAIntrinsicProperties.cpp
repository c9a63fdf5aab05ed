#include "commands/OAIntrinsicProperties.h"

#include "objects/IntrinsicPropertyDeclarationList.h"
#include "objects/IntrinsicPropertyDerivedKinds.h"
#include "objects/IntrinsicPropertyKinds.h"
#include "services/Format.h"
#include "services/Localisation.h"
#include "services/Strings.h"

#include <algorithm>
#include <cmath>
#include <fstream>

namespace tw {

namespace {

const TCommandNameRecord SetCommand{"set", "&Set", ""};

// Whether `value` lies within [min, max], allowing for the rounding of a unit conversion.
bool WithinLimits(double value, double min, double max) {
    auto slack = [](double bound) { return 1e-12 * std::max(1.0, std::fabs(bound)); };
    return value >= min - slack(min) && value <= max + slack(max);
}

// " kN/m²" behind a number; nothing for a quantity without unit text.
std::string UnitSuffix(const IQuantityPresenter* presenter, TQuantityType quantity) {
    const std::string unit = presenter ? presenter->PresentationUnitText(quantity) : "";
    return unit.empty() ? unit : " " + unit;
}

bool SameDouble(double a, double b) {
    return a == b || std::fabs(a - b) <= 1e-12 * std::max(std::fabs(a), std::fabs(b));
}

} // namespace

std::string PropertyPath(const TKovIntrinsicProperty& property) {
    if (!property.Owner())
        return property.Name();
    const auto* accessor = TObjectAccessors::Instance().GetAccessorFor(property.Owner());
    const std::string owner = accessor
                                  ? accessor->GetCommandsCompatibleObjectName(*property.Owner())
                                  : property.Owner()->Name();
    return owner + "." + property.Name();
}

bool IsReadOnlyForCommands(const TKovIntrinsicProperty& property) {
    if (property.ReadOnly())
        return true;
    const auto* derived =
        dynamic_cast<const TKovIntrinsicProperty_DerivedExternalDeclaration_Abstract*>(
            property.Declaration());
    return derived && !derived->HasSetterFunction();
}

// ---------------------------------------------------------------------------------------------

TOAKovIntrinsicProperty::TOAKovIntrinsicProperty(const TKovClass& servedClass)
    : TOAKovObject(servedClass) {
    // A property takes its name from its declaration, and is copied by `set` with a value.
    RemoveCommand("rename");
    RemoveCommand("set");
}

std::string TOAKovIntrinsicProperty::_ValueToText(const TKovIntrinsicProperty& property) {
    return property.ValueAsText();
}

std::string TOAKovIntrinsicProperty::ValueToPrettyText(const TKovIntrinsicProperty& property) {
    if (const auto* number = dynamic_cast<const TIPDoubleWithUnit*>(&property)) {
        const IQuantityPresenter* presenter = PresenterFor(&property);
        const std::string value = FloatToStr(number->GetPresentationValue(presenter));
        const std::string unit =
            presenter ? presenter->PresentationUnitText(number->QuantityType()) : "";
        return unit.empty() ? value : value + " " + unit;
    }
    if (const auto* enumeration = dynamic_cast<const TIPEnumeration*>(&property))
        return enumeration->ValueCaption();
    return property.ValueAsText();
}

std::string TOAKovIntrinsicProperty::ValueToCompactText(const TKovIntrinsicProperty& property) {
    return ValueToCompactText(property, PresenterFor(&property));
}

std::string TOAKovIntrinsicProperty::ValueToCompactText(const TKovIntrinsicProperty& property,
                                                        const IQuantityPresenter* presenter) {
    if (const auto* number = dynamic_cast<const TIPDoubleWithUnit*>(&property))
        return NumberToCommandText(number->GetPresentationValue(presenter));
    if (const auto* number = dynamic_cast<const TIPDouble*>(&property))
        return NumberToCommandText(number->Value());
    if (const auto* number = dynamic_cast<const TIPInteger*>(&property))
        return std::to_string(number->Value());
    if (const auto* flag = dynamic_cast<const TIPBoolean*>(&property))
        return flag->Value() ? "True" : "False";
    if (const auto* enumeration = dynamic_cast<const TIPEnumeration*>(&property))
        return QuoteCommandText(enumeration->StrValueOriginal());
    if (const auto* reference = dynamic_cast<const TIPKovObject*>(&property))
        return reference->Value() ? reference->Value()->Name() : QuoteCommandText("");
    return QuoteCommandText(property.ValueAsText());
}

std::pair<std::string, std::string>
TOAKovIntrinsicProperty::ValueToTextPairs(const TKovIntrinsicProperty& property) {
    return {property.Name(), ValueToPrettyText(property)};
}

std::string TOAKovIntrinsicProperty::ObjectToText(const TKovObject* object) const {
    const auto* property = dynamic_cast<const TKovIntrinsicProperty*>(object);
    if (!property)
        return TOAKovObject::ObjectToText(object);
    return Format("%s: %s", property->Name(), ValueToPrettyText(*property));
}

std::string
TOAKovIntrinsicProperty::GetCommandsCompatibleObjectName(const TKovObject& object) const {
    const auto* property = dynamic_cast<const TKovIntrinsicProperty*>(&object);
    return property ? PropertyPath(*property) : object.Name();
}

TKovObject* TOAKovIntrinsicProperty::GetOwnerObject(const TKovObject& object) const {
    const auto* property = dynamic_cast<const TKovIntrinsicProperty*>(&object);
    return property ? property->Owner() : nullptr;
}

bool TOAKovIntrinsicProperty::CheckWritable(const TKovIntrinsicProperty& property,
                                            TCommandOutput& output) {
    if (!IsReadOnlyForCommands(property))
        return true;
    output.InitializeAsError(
        cecExecutionFailed,
        Format(Translate("Cannot set read-only property %s"), PropertyPath(property)));
    return false;
}

void TOAKovIntrinsicProperty::Apply(TKovIntrinsicProperty& property, TCommandOutput& output,
                                    bool predict, const std::string& newText,
                                    const std::function<void()>& write,
                                    const std::function<bool()>& took) {
    if (predict)
        return;
    const std::string oldText = ValueToPrettyText(property);
    auto refused = [&] {
        output.InitializeAsError(
            cecExecutionFailed,
            Format(Translate("Cannot change value from \"%s\" to \"%s\""), oldText, newText));
    };
    try {
        write();
    } catch (const EKovException& e) {
        refused();
        output.AddAdditionalInfoLine(e.what());
        return;
    }
    if (!took())
        refused();
    else
        output.AddResultObject(&property);
}

// ---------------------------------------------------------------------------------------------

TOAIPBoolean::TOAIPBoolean() : TOAKovIntrinsicProperty(TIPBoolean::StaticClass()) {
    AddCommand(SetCommand, {{TComParOrIPBoolean::Class()}}, &TOAIPBoolean::ComSetValue);
}

void TOAIPBoolean::ComSetValue(TKovObject* object, const TCommandParameterList& parameters,
                               TCommandOutput& output, bool predict) const {
    auto& property = static_cast<TIPBoolean&>(*object);
    if (!CheckWritable(property, output))
        return;
    const bool value = TComParOrIPBoolean::GetValue(*parameters[0]);
    Apply(
        property, output, predict, value ? "True" : "False", [&] { property.SetValue(value); },
        [&] { return property.Value() == value; });
}

TOAIPInteger::TOAIPInteger() : TOAKovIntrinsicProperty(TIPInteger::StaticClass()) {
    AddCommand(SetCommand, {{TComParOrIPInteger::Class()}}, &TOAIPInteger::ComSetValue);
}

void TOAIPInteger::ComSetValue(TKovObject* object, const TCommandParameterList& parameters,
                               TCommandOutput& output, bool predict) const {
    auto& property = static_cast<TIPInteger&>(*object);
    if (!CheckWritable(property, output))
        return;
    const int32_t value = TComParOrIPInteger::GetValue(*parameters[0]);
    const auto* limits = property.Declaration() ? property.Declaration()->IntegerLimits() : nullptr;
    if (limits && limits->Active() && (value < limits->Min || value > limits->Max)) {
        output.InitializeAsError(cecExecutionFailed,
                                 Format(Translate("%s must be between %s and %s"),
                                        PropertyPath(property), std::to_string(limits->Min),
                                        std::to_string(limits->Max)));
        return;
    }
    Apply(
        property, output, predict, std::to_string(value), [&] { property.SetValue(value); },
        [&] { return property.Value() == value; });
}

TOAIPDouble::TOAIPDouble(const TKovClass& servedClass) : TOAKovIntrinsicProperty(servedClass) {
    AddCommand(SetCommand, {{TComParOrIPNumber::Class()}}, &TOAIPDouble::ComSetValue);
}

void TOAIPDouble::ComSetValue(TKovObject* object, const TCommandParameterList& parameters,
                              TCommandOutput& output, bool predict) const {
    auto& property = static_cast<TIPDouble&>(*object);
    if (!CheckWritable(property, output))
        return;
    // A number with a unit is given as the user sees it; a property is copied as it stands.
    const auto* withUnit = dynamic_cast<const TIPDoubleWithUnit*>(&property);
    const IQuantityPresenter* presenter = withUnit ? PresenterFor(&property) : nullptr;
    const TQuantityType quantity = withUnit ? withUnit->QuantityType() : qtDummy;
    const double value =
        TComParDoubleWithUnit_Abstract::GetBaseValue(*parameters[0], quantity, presenter);
    auto shown = [&](double base) {
        return FloatToStr(presenter ? presenter->ToPresentation(quantity, base) : base);
    };
    const auto* limits = property.Declaration() ? property.Declaration()->DoubleLimits() : nullptr;
    if (!std::isfinite(value) ||
        (limits && limits->Active() && !WithinLimits(value, limits->Min, limits->Max))) {
        const std::string unit = UnitSuffix(presenter, quantity);
        if (limits && limits->Active())
            output.InitializeAsError(cecExecutionFailed,
                                     Format(Translate("%s must be between %s and %s"),
                                            PropertyPath(property), shown(limits->Min),
                                            shown(limits->Max) + unit));
        else
            output.InitializeAsError(
                cecExecutionFailed,
                Format(Translate("%s must be a finite number"), PropertyPath(property)));
        return;
    }
    const std::string unit = UnitSuffix(presenter, quantity);
    Apply(
        property, output, predict, shown(value) + unit, [&] { property.SetValue(value); },
        [&] { return SameDouble(property.Value(), value); });
}

TOAIPDoubleWithUnit::TOAIPDoubleWithUnit() : TOAIPDouble(TIPDoubleWithUnit::StaticClass()) {}

TOAIPText::TOAIPText(const TKovClass& servedClass) : TOAKovIntrinsicProperty(servedClass) {
    AddCommand(SetCommand, {{TComParOrIPText::Class()}}, &TOAIPText::ComSetValue);
}

void TOAIPText::ComSetValue(TKovObject* object, const TCommandParameterList& parameters,
                            TCommandOutput& output, bool predict) const {
    auto& property = static_cast<TIPText&>(*object);
    if (!CheckWritable(property, output))
        return;
    const std::string value = TComParOrIPText::GetValue(*parameters[0]);
    const std::string expected = property.CleanText(value);
    Apply(
        property, output, predict, value, [&] { property.SetValue(value); },
        [&] { return property.Value() == expected; });
}

TOAIPIdentification::TOAIPIdentification() : TOAIPText(TIPIdentification::StaticClass()) {}

TOAIPName::TOAIPName() : TOAIPText(TIPName::StaticClass()) {}

void TOAIPName::ComSetValue(TKovObject* object, const TCommandParameterList& parameters,
                            TCommandOutput& output, bool predict) const {
    auto& property = static_cast<TIPName&>(*object);
    if (!CheckWritable(property, output))
        return;
    const std::string value = Trim(TComParOrIPText::GetValue(*parameters[0]));
    if (property.Owner()) {
        const std::string problem = CheckNewObjectName(*property.Owner(), value);
        if (!problem.empty()) {
            output.InitializeAsError(cecExecutionFailed, problem);
            return;
        }
    }
    Apply(
        property, output, predict, value, [&] { property.SetValue(value); },
        [&] { return property.Value() == value; });
}

TOAIPEnumeration::TOAIPEnumeration() : TOAKovIntrinsicProperty(TIPEnumeration::StaticClass()) {
    auto& set = AddCommand(SetCommand, {{TComParText::Class()}}, &TOAIPEnumeration::ComSetText);
    AddPattern(set, {{TComParInteger::Class()}}, &TOAIPEnumeration::ComSetOrdinal);
}

void TOAIPEnumeration::ComSetText(TKovObject* object, const TCommandParameterList& parameters,
                                  TCommandOutput& output, bool predict) const {
    auto& property = static_cast<TIPEnumeration&>(*object);
    const std::string text = static_cast<const TComParText&>(*parameters[0]).Value();
    int index = property.GetStrValueAsIndexIfValid(text, true);
    if (index < 0) {
        // The caption a user reads is as good as the value's string.
        const auto& declaration = property.EnumerationDeclaration();
        for (int i = 0; i < declaration.Count() && index < 0; ++i)
            if (SameText(Trim(declaration.CaptionOf(i)), Trim(text)) && !property.IsDisabled(i))
                index = i;
    }
    SetIndex(object, index, text, output, predict);
}

void TOAIPEnumeration::ComSetOrdinal(TKovObject* object, const TCommandParameterList& parameters,
                                     TCommandOutput& output, bool predict) const {
    auto& property = static_cast<TIPEnumeration&>(*object);
    const int32_t ordinal = static_cast<const TComParInteger&>(*parameters[0]).Value();
    const bool valid = ordinal >= 0 && ordinal < property.Count() && !property.IsDisabled(ordinal);
    SetIndex(object, valid ? ordinal : -1, std::to_string(ordinal), output, predict);
}

void TOAIPEnumeration::SetIndex(TKovObject* object, int index, const std::string& given,
                                TCommandOutput& output, bool predict) const {
    auto& property = static_cast<TIPEnumeration&>(*object);
    if (!CheckWritable(property, output))
        return;
    if (index < 0) {
        output.InitializeAsError(
            cecExecutionFailed,
            Format(Translate("Invalid value: \"%s\". Allowed values are: %s or ordinal value."),
                   given, property.AllowedStringValues()));
        return;
    }
    Apply(
        property, output, predict, property.EnumerationDeclaration().CaptionOf(index),
        [&] { property.SetIntValue(index); }, [&] { return property.IntValue() == index; });
}

TOAIPTable::TOAIPTable() : TOAKovIntrinsicProperty(TIPTable::StaticClass()) {
    auto numbers = std::make_shared<TComParSequence>(
        TCommandParameterClassList{{TComParOrIPNumber::Class()}}, 1);
    auto& set = AddCommand(SetCommand, {{numbers}}, &TOAIPTable::ComSetNumbers);
    AddPattern(set, {{TComParArrayOfNumbers::Class()}}, &TOAIPTable::ComSetText);
}

void TOAIPTable::ComSetNumbers(TKovObject* object, const TCommandParameterList& parameters,
                               TCommandOutput& output, bool predict) const {
    std::vector<double> values;
    for (int i = 0; i < parameters.Count(); ++i) {
        // A bracket set arrives as one parameter holding the numbers.
        if (const auto* set = dynamic_cast<const TComParSetOfParameters_Input*>(parameters[i])) {
            for (int k = 0; k < set->Count(); ++k)
                values.push_back(TComParOrIPNumber::GetValue(*set->GetItem(k)));
        } else {
            values.push_back(TComParOrIPNumber::GetValue(*parameters[i]));
        }
    }
    SetValues(object, values, output, predict);
}

void TOAIPTable::ComSetText(TKovObject* object, const TCommandParameterList& parameters,
                            TCommandOutput& output, bool predict) const {
    SetValues(object, TComParArrayOfNumbers::GetValue(*parameters[0]), output, predict);
}

void TOAIPTable::SetValues(TKovObject* object, const std::vector<double>& values,
                           TCommandOutput& output, bool predict) const {
    auto& property = static_cast<TIPTable&>(*object);
    if (!CheckWritable(property, output))
        return;
    if (values.size() % static_cast<size_t>(property.ColCount()) != 0) {
        output.InitializeAsError(
            cecExecutionFailed,
            Format(Translate("The number of values (%d) is not a multiple of the %d columns of %s"),
                   static_cast<int>(values.size()), property.ColCount(), PropertyPath(property)));
        return;
    }
    std::string text;
    for (double value : values) {
        if (!text.empty())
            text += ' ';
        text += FloatToStr(value);
    }
    Apply(
        property, output, predict, text, [&] { property.SetValues(values); },
        [&] { return property.GetValues() == values; });
}

TOAIPKovObject::TOAIPKovObject() : TOAKovIntrinsicProperty(TIPKovObject::StaticClass()) {
    AddCommand(SetCommand, {{TComParOrIPKovObject::Class()}}, &TOAIPKovObject::ComSetValue);
}

void TOAIPKovObject::ComSetValue(TKovObject* object, const TCommandParameterList& parameters,
                                 TCommandOutput& output, bool predict) const {
    auto& property = static_cast<TIPKovObject&>(*object);
    if (!CheckWritable(property, output))
        return;
    TKovObject* value = TComParOrIPKovObject::GetObject(*parameters[0]);
    const std::string newText = value ? value->Name() : "<not assigned>";
    if (value && !property.IsCompatibleValue(value)) {
        output.InitializeAsError(cecExecutionFailed,
                                 Format(Translate("Cannot change value from \"%s\" to \"%s\""),
                                        ValueToPrettyText(property), newText));
        return;
    }
    Apply(
        property, output, predict, newText, [&] { property.SetValue(value); },
        [&] { return property.Value() == value; });
}

TOAIPBlob::TOAIPBlob() : TOAKovIntrinsicProperty(TIPBlob::StaticClass()) {
    AddCommand(SetCommand, {{TComParOrIPText::Class()}}, &TOAIPBlob::ComSetFromFile);
}

void TOAIPBlob::ComSetFromFile(TKovObject* object, const TCommandParameterList& parameters,
                               TCommandOutput& output, bool predict) const {
    auto& property = static_cast<TIPBlob&>(*object);
    if (!CheckWritable(property, output))
        return;
    const std::string fileName = TComParOrIPText::GetValue(*parameters[0]);
    std::ifstream file(fileName, std::ios::binary);
    if (!file) {
        output.InitializeAsError(cecExecutionFailed,
                                 Format(Translate("Cannot read the file \"%s\""), fileName));
        return;
    }
    Apply(
        property, output, predict, fileName, [&] { property.LoadFromStream(file); },
        [&] {
            const auto* image = dynamic_cast<const TIPImage*>(&property);
            if (!image)
                return true;
            try {
                image->GetNewGraphic();
                return true;
            } catch (const EIPImageException&) {
                return false;
            }
        });
}

void RegisterIntrinsicPropertyAccessors(TObjectAccessors& registry) {
    registry.RegisterAccessor(std::make_unique<TOAKovIntrinsicProperty>());
    registry.RegisterAccessor(std::make_unique<TOAIPBoolean>());
    registry.RegisterAccessor(std::make_unique<TOAIPInteger>());
    registry.RegisterAccessor(std::make_unique<TOAIPDouble>());
    registry.RegisterAccessor(std::make_unique<TOAIPDoubleWithUnit>());
    registry.RegisterAccessor(std::make_unique<TOAIPText>());
    registry.RegisterAccessor(std::make_unique<TOAIPIdentification>());
    registry.RegisterAccessor(std::make_unique<TOAIPName>());
    registry.RegisterAccessor(std::make_unique<TOAIPEnumeration>());
    registry.RegisterAccessor(std::make_unique<TOAIPTable>());
    registry.RegisterAccessor(std::make_unique<TOAIPKovObject>());
    registry.RegisterAccessor(std::make_unique<TOAIPBlob>());
}

} // namespace tw
