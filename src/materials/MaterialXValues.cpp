#include "materials/MaterialXValues.h"

#include "materials/MaterialXFactory.h"
#include "materials/MaterialXRegistries.h"
#include "materials/MaterialXTools.h"
#include "objects/NameTools.h"
#include "services/Format.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace tw {

namespace {

bool SameValue(const TVarRec& a, const TVarRec& b) {
    if (a.index() != b.index())
        return false;
    if (VarIsFloat(a))
        return std::fabs(std::get<double>(a) - std::get<double>(b)) <= 1e-12;
    return a == b;
}

// The value of a user property as its plain twin has it; empty when it can't be computed.
std::optional<TVarRec> ValueOf(const TKovIntrinsicProperty& property) {
    try {
        return property.GetStaticEquivalent()->GetValueRecord();
    } catch (const EMaterialXException&) {
        return std::nullopt;
    }
}

std::string ValueText(const TKovMaterialX* material, const TMaterialParameterValue& pair,
                      const IQuantityPresenter* units) {
    const TKovIntrinsicProperty* property =
        material ? TMaterialXTools::GetUserPropertyFrom(*material, pair.Name) : nullptr;
    if (const auto* enumeration = dynamic_cast<const TIPEnumeration*>(property))
        if (VarIsInteger(pair.Value)) {
            const int ordinal = std::get<int32_t>(pair.Value);
            if (ordinal >= 0 && ordinal < enumeration->Count())
                return "\"" + enumeration->EnumerationDeclaration().Strings()[ordinal] + "\"";
        }
    if (VarIsFloat(pair.Value)) {
        double value = std::get<double>(pair.Value);
        if (units)
            if (const auto* number = dynamic_cast<const TIPDoubleWithUnit*>(property))
                value = units->ToPresentation(number->QuantityType(), value);
        return FloatToStr(value);
    }
    if (VarIsBoolean(pair.Value))
        return std::get<bool>(pair.Value) ? "True" : "False";
    if (VarIsString(pair.Value))
        return "\"" + std::get<std::string>(pair.Value) + "\"";
    return VarRecToString(pair.Value);
}

std::string Arguments(const TMaterialXValues& values, const IQuantityPresenter* units,
                      const TKovMaterialX* material) {
    std::string text;
    for (const TMaterialParameterValue& pair : values.Values())
        text += " \"" + pair.Name + "\" " + ValueText(material, pair, units);
    return text;
}

// A throw-away material of the class and values, to name enumeration values and units.
std::unique_ptr<TKovMaterialX> MaterialOf(const TMaterialXValues& values) {
    if (!values.MaterialClass())
        return nullptr;
    const TMaterialParameterValue* model = values.Values().GetItemByName("SoilModel");
    const int value = model && VarIsInteger(model->Value) ? std::get<int32_t>(model->Value) : 0;
    const TMXAssociatedParameterGroup* root =
        TMaterialXRegistries::TryGetRootAPGFor(*values.MaterialClass(), value);
    if (!root)
        return nullptr;
    return TMaterialXFactory::CreateMaterialXOfClass(nullptr, "", *values.MaterialClass(), *root,
                                                     nullptr);
}

} // namespace

const TMaterialParameterValue*
TMaterialParameterValueList::GetItemByName(const std::string& name) const {
    const std::string clean = CleanName(name);
    for (const TMaterialParameterValue& pair : FItems)
        if (CleanName(pair.Name) == clean)
            return &pair;
    return nullptr;
}

std::vector<std::string> TMaterialXValues::Compare(const TMaterialXValues& other) const {
    if (FMaterialClass != other.FMaterialClass)
        throw EMaterialXValues("Could not compare MaterialXValues of different types");
    std::vector<std::string> differences;
    for (const TMaterialParameterValue& pair : FParameterValuePairList) {
        const TMaterialParameterValue* theirs = other.Values().GetItemByName(pair.Name);
        if (!theirs || !SameValue(pair.Value, theirs->Value))
            differences.push_back(pair.Name);
    }
    for (const TMaterialParameterValue& pair : other.Values())
        if (!FParameterValuePairList.GetItemByName(pair.Name))
            differences.push_back(pair.Name);
    return differences;
}

TMaterialXValues TMaterialXValuesConverter::IntersectMaterials(const TKovMaterialX& a,
                                                               const TKovMaterialX& b) {
    TMaterialXValues result(a.ClassType());
    std::vector<std::string> names;
    if (a.RootAPGClass())
        for (const std::string& name :
             TMaterialXRegistries::StructuralChangingPropertiesOf(*a.RootAPGClass()))
            if (a.FindUserProperty(name))
                names.push_back(name);
    for (const std::string& name :
         TMaterialXIPDependencyEvaluator::DependencyOrderedMaterialProperties(a))
        names.push_back(name);
    std::set<std::string> done;
    for (const std::string& name : names) {
        if (!done.insert(CleanName(name)).second)
            continue;
        // Hidden names are the other drainages' copies of a visible one.
        const TKovIntrinsicProperty* mine = a.FindUserProperty(name);
        if (!mine || mine->ReadOnly() || !mine->IsPublished())
            continue;
        const std::optional<TVarRec> value = ValueOf(*mine);
        if (!value)
            continue;
        const TKovIntrinsicProperty* theirs = b.FindUserProperty(name);
        const std::optional<TVarRec> other = theirs ? ValueOf(*theirs) : std::nullopt;
        if (!other || !SameValue(*value, *other))
            result.Values().Add(mine->Name(), *value);
    }
    return result;
}

TMaterialXValues TMaterialXValuesConverter::ConvertMaterial(const TKovMaterialX& material) {
    std::unique_ptr<TKovMaterialX> defaults =
        TMaterialXFactory::CreateTemplateMaterialX(nullptr, "", material);
    TMaterialXValues values = IntersectMaterials(material, *defaults);
    // The model always stands in the list: a create command needs it.
    const std::string selector = material.ModelSelectorName();
    if (!selector.empty() && !values.Values().GetItemByName(selector))
        if (const TKovIntrinsicProperty* model = material.FindUserProperty(selector)) {
            TMaterialXValues withModel(material.ClassType());
            withModel.Values().Add(model->Name(), model->GetValueRecord());
            for (const TMaterialParameterValue& pair : values.Values())
                withModel.Values().Add(pair.Name, pair.Value);
            return withModel;
        }
    return values;
}

std::string
TMaterialXValuesToCommandGenerator::GenerateCreateCommand(const TMaterialXValues& values,
                                                          const IQuantityPresenter* units) {
    std::unique_ptr<TKovMaterialX> material = MaterialOf(values);
    const std::string name =
        material ? TMaterialXMaterialCommandHandler::GetCreateCommandName(*material) : "material";
    return name + Arguments(values, units, material.get());
}

std::string
TMaterialXValuesToCommandGenerator::GenerateSetPropertiesCommand(const std::string& objectName,
                                                                 const TMaterialXValues& values,
                                                                 const IQuantityPresenter* units) {
    std::unique_ptr<TKovMaterialX> material = MaterialOf(values);
    return "setproperties " + objectName + Arguments(values, units, material.get());
}

std::string TMaterialXMaterialCommandHandler::GetCreateCommandName(const TKovMaterialX& material) {
    std::string name = material.GetObjectTypeName();
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char c) { return char(std::tolower(c)); });
    return name;
}

std::string
TMaterialXMaterialCommandHandler::GenerateCommandFromClipboard(const TKovMaterialX& material,
                                                               const IQuantityPresenter* units) {
    return TMaterialXValuesToCommandGenerator::GenerateCreateCommand(
        TMaterialXValuesConverter::ConvertMaterial(material), units);
}

std::vector<TVarRec>
TMaterialXMaterialCommandHandler::GenerateCommandParameters(const TKovMaterialX& material) {
    std::vector<TVarRec> parameters;
    const TMaterialXValues values = TMaterialXValuesConverter::ConvertMaterial(material);
    for (const TMaterialParameterValue& pair : values.Values()) {
        parameters.push_back(pair.Name);
        parameters.push_back(pair.Value);
    }
    return parameters;
}

void TMaterialXMaterialCommandHandler::SaveAsParameters(TKovMaterialX& material) {
    const TMaterialXValues values = TMaterialXValuesConverter::ConvertMaterial(material);
    std::vector<const TKovIntrinsicProperty*> properties;
    for (const TMaterialParameterValue& pair : values.Values())
        if (const TKovIntrinsicProperty* property = material.FindUserProperty(pair.Name))
            properties.push_back(property);
    TKovMaterialConstructionParameters& parameters = material.EnsureConstructionParametersExist();
    parameters.SetMaterialClass(GetCreateCommandName(material));
    parameters.SetFromProperties(properties);
}

void TMaterialXMaterialCommandHandler::PopulateParameterArray(
    TKovMaterialX& material, const std::vector<TVarRec>& parameters) {
    if (parameters.size() % 2 != 0)
        throw EMaterialXValues("Material parameters come in pairs of name and value");
    std::map<std::string, TVarRec> byName;
    std::vector<std::string> given;
    for (size_t i = 0; i < parameters.size(); i += 2) {
        if (!VarIsString(parameters[i]))
            throw EMaterialXValues(
                Format("Parameter %d of the material is no name", int(i / 2 + 1)));
        const std::string& name = std::get<std::string>(parameters[i]);
        byName[CleanName(name)] = parameters[i + 1];
        given.push_back(name);
    }
    // All or nothing: the values go into a copy first, and the material takes the copy's state
    // only once every value took. A bad value late in the list leaves no model switched and no
    // value of those before it behind.
    std::unique_ptr<TKovMaterialX> trial = TMaterialXFactory::CreateCopy(nullptr, material);
    auto apply = [&](const std::string& name) {
        auto it = byName.find(CleanName(name));
        if (it == byName.end())
            return;
        TMaterialXTools::SetUserPropertyValueFrom(*trial, name, it->second);
        byName.erase(it);
    };
    // The model first: the other names exist only once it stands.
    const std::string selector = material.ModelSelectorName();
    if (!selector.empty())
        apply(selector);
    for (const std::string& name : given)
        if (byName.count(CleanName(name)) && !trial->FindUserProperty(name))
            throw EMaterialXTools(Format(
                "Unable to find the user intrinsic property %s for specified material", name));
    if (trial->RootAPGClass())
        for (const std::string& name :
             TMaterialXRegistries::StructuralChangingPropertiesOf(*trial->RootAPGClass()))
            apply(name);
    for (const std::string& name :
         TMaterialXIPDependencyEvaluator::DependencyOrderedMaterialProperties(*trial))
        apply(name);
    for (const std::string& name : given)
        apply(name);
    TUndoSnapshot snapshot(material, "Set material parameters");
    TMaterialXFactory::AssignMaterial(material, *trial);
}

} // namespace tw
