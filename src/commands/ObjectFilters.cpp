#include "commands/ObjectFilters.h"

#include "commands/OAKovObject.h"
#include "objects/ClassObjectAssociations.h"
#include "objects/IntrinsicPropertyDeclarationList.h"
#include "objects/IntrinsicPropertyDerivedKinds.h"
#include "objects/NameTools.h"
#include "services/Format.h"
#include "services/Localisation.h"
#include "services/Strings.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace tw {

namespace {

const std::array<const char*, 6> Operators{"=", "<>", "<", "<=", ">", ">="};

const std::string* TextAt(const TCommandParameterList& parameters, int index) {
    const auto* text =
        index < parameters.Count() ? dynamic_cast<const TComParText*>(parameters[index]) : nullptr;
    return text ? &text->Value() : nullptr;
}

// A property's value as a number (a number with a unit in presentation units), if it has one.
bool NumberOf(const TKovIntrinsicProperty& property, double& value) {
    if (const auto* withUnit = dynamic_cast<const TIPDoubleWithUnit*>(&property)) {
        value = withUnit->GetPresentationValue(PresenterFor(&property));
        return true;
    }
    const TVarRec record = property.GetValueRecord();
    if (VarIsFloat(record))
        value = std::get<double>(record);
    else if (VarIsInteger(record))
        value = std::get<int32_t>(record);
    else
        return false;
    return true;
}

} // namespace

std::string TOFByType::Validate(const TCommandParameterList& parameters) const {
    const std::string* type = TextAt(parameters, 0);
    if (!type || parameters.Count() != 1)
        return Translate("Invalid parameters. Make sure that the specified parameters match the "
                         "ones that are expected.");
    if (!IsValidName(*type))
        return Format(Translate("Invalid object type: \"%s\""), *type);
    if (!TKovObjectClassRegistry::Instance().GetClassByTypeName(*type))
        return Format(Translate("Unknown object type: \"%s\""), *type);
    return "";
}

bool TOFByType::Matches(const TKovObject& object, const TCommandParameterList& parameters) const {
    const TKovClass* cls =
        TKovObjectClassRegistry::Instance().GetClassByTypeName(*TextAt(parameters, 0));
    return cls && object.InheritsFrom(*cls);
}

std::string TOFByIntrProp::Validate(const TCommandParameterList& parameters) const {
    const std::string* name = TextAt(parameters, 0);
    if (!name || !IsValidName(*name))
        return Format(Translate("No correct identifier name specified: \"%s\""),
                      name                 ? *name
                      : parameters.Empty() ? ""
                                           : parameters[0]->AsText());
    const std::string* op = TextAt(parameters, 1);
    if (!op || std::find(Operators.begin(), Operators.end(), Trim(*op)) == Operators.end())
        return Translate("No correct boolean operator specified");
    if (parameters.Count() != 3 || !dynamic_cast<const TComParSimpleValue*>(parameters[2]))
        return Translate("Invalid parameters. Make sure that the specified parameters match the "
                         "ones that are expected.");
    return "";
}

bool TOFByIntrProp::Compare(int order, const std::string& op) {
    if (op == "=")
        return order == 0;
    if (op == "<>")
        return order != 0;
    if (op == "<")
        return order < 0;
    if (op == "<=")
        return order <= 0;
    if (op == ">")
        return order > 0;
    if (op == ">=")
        return order >= 0;
    throw ECommandError(Format("Unexpected comparison: %s", op));
}

bool TOFByIntrProp::Matches(const TKovObject& object,
                            const TCommandParameterList& parameters) const {
    const auto* observable = dynamic_cast<const TKovObservableObject*>(&object);
    const TKovIntrinsicProperty* property =
        observable ? observable->GetIntrinsicPropertyByName(*TextAt(parameters, 0)) : nullptr;
    if (!property)
        return false;
    const std::string op = Trim(*TextAt(parameters, 1));
    const TCommandParameter& given = *parameters[2];
    double value = 0;
    if (const auto* number = dynamic_cast<const TComParNumber*>(&given);
        number && NumberOf(*property, value)) {
        const double limit = number->AsDouble();
        return Compare(value < limit ? -1 : value > limit ? 1 : 0, op);
    }
    std::string text = property->ValueAsText();
    if (const auto* enumeration = dynamic_cast<const TIPEnumeration*>(property))
        text = enumeration->StrValueOriginal();
    const std::string wanted = dynamic_cast<const TComParText*>(&given)
                                   ? static_cast<const TComParText&>(given).Value()
                                   : given.AsText();
    const int order = SameText(text, wanted) ? 0 : LowerCase(text) < LowerCase(wanted) ? -1 : 1;
    return Compare(order, op);
}

std::string TOFByMetadata::Validate(const TCommandParameterList& parameters) const {
    if (parameters.Count() != 2 || !TextAt(parameters, 0) ||
        !dynamic_cast<const TComParSimpleValue*>(parameters[1]))
        return Translate("Invalid parameters. Make sure that the specified parameters match the "
                         "ones that are expected.");
    return "";
}

bool TOFByMetadata::Matches(const TKovObject& object,
                            const TCommandParameterList& parameters) const {
    const auto* observable = dynamic_cast<const TKovObservableObject*>(&object);
    if (!observable || !observable->MetadataHasKey(*TextAt(parameters, 0)))
        return false;
    const auto* text = dynamic_cast<const TComParText*>(parameters[1]);
    return observable->GetMetadata(*TextAt(parameters, 0)) ==
           (text ? text->Value() : parameters[1]->AsText());
}

TKovObjectFilterRegistry& TKovObjectFilterRegistry::Instance() {
    static TKovObjectFilterRegistry* instance = [] {
        auto* registry = new TKovObjectFilterRegistry();
        registry->Register(std::make_unique<TOFByType>());
        registry->Register(std::make_unique<TOFByIntrProp>());
        registry->Register(std::make_unique<TOFByMetadata>());
        return registry;
    }();
    return *instance;
}

void TKovObjectFilterRegistry::Register(std::unique_ptr<TKovObjectFilter_Virtual> filter) {
    std::lock_guard lock(FMutex);
    FFilters.push_back(std::move(filter));
}

const TKovObjectFilter_Virtual* TKovObjectFilterRegistry::Find(const std::string& name) const {
    std::lock_guard lock(FMutex);
    for (auto it = FFilters.rbegin(); it != FFilters.rend(); ++it)
        if (SameText((*it)->GetName(), Trim(name)))
            return it->get();
    return nullptr;
}

std::vector<std::string> TKovObjectFilterRegistry::Names() const {
    std::lock_guard lock(FMutex);
    std::vector<std::string> names;
    for (const auto& filter : FFilters)
        names.push_back(filter->GetName());
    return names;
}

} // namespace tw
