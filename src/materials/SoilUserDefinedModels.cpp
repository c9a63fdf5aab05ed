#include "materials/SoilUserDefinedModels.h"

#include "materials/MaterialXTools.h"
#include "materials/SoilMaterialXGroups.h"
#include "objects/NameTools.h"

#include <map>
#include <memory>

namespace tw {

namespace {

// The declarations of one library parameter; they live as long as the program, since
// properties made from them may outlive a new registration of their library.
struct TParameterDeclarations {
    std::unique_ptr<TIPUserDefinedParameterDeclaration> Stored;
    std::unique_ptr<TIPUserDefinedParameter_DerivedExternalDeclaration> Derived;
};

struct TLibraries {
    std::map<std::string, std::vector<TUserModel>> Models; // clean file name -> models
    std::vector<std::unique_ptr<TParameterDeclarations>> Declarations;
    std::map<std::tuple<std::string, std::string, std::string>, TParameterDeclarations*> ByName;
};

TLibraries& Libraries() {
    static TLibraries libraries;
    return libraries;
}

const char* const ParametersCollection = "UserDefinedParameters";

TParameterDeclarations& DeclarationsOf(const std::string& library, const TUserModel& model,
                                       const TUserModelParameter& parameter) {
    auto key =
        std::make_tuple(CleanName(library), CleanName(model.Name), CleanName(parameter.Name));
    TLibraries& l = Libraries();
    if (auto it = l.ByName.find(key); it != l.ByName.end())
        return *it->second;
    auto declarations = std::make_unique<TParameterDeclarations>();
    TKovIntrinsicPropertyDeclarationList list;
    declarations->Stored.reset(static_cast<TIPUserDefinedParameterDeclaration*>(
        AddUserDefinedParameter(list, parameter.Name, parameter.Quantity, 0, parameter.Caption)
            .Clone()
            .release()));
    const std::string name = parameter.Name;
    TDerivedAccessors<double> accessors(
        [name](const TKovIntrinsicProperty& p) {
            const TKovMaterialX* m = MaterialOfProperty(p);
            return m ? TMaterialXTools::GetInternalPropertyValueFrom(*m, name) : 0.0;
        },
        [name](TKovIntrinsicProperty& p, const double& value) {
            if (TKovMaterialX* m = MaterialOfProperty(p))
                TMaterialXTools::SetInternalPropertyValueFrom(*m, name, value);
        });
    declarations->Derived.reset(static_cast<TIPUserDefinedParameter_DerivedExternalDeclaration*>(
        AddDerivedUserDefinedParameter(list, parameter.Name, parameter.Quantity, accessors, 0,
                                       parameter.Caption)
            .Clone()
            .release()));
    TParameterDeclarations* result = declarations.get();
    l.Declarations.push_back(std::move(declarations));
    l.ByName[key] = result;
    return *result;
}

TMXPropertyCollection* ParametersOf(const TKovMaterialX& material,
                                    TMXParameterConstructorType type) {
    TMXPropertyCollection* found = nullptr;
    TMaterialXTools::EnumeratePropertyCollections(material, [&](TMXPropertyCollection& c) {
        if (!found && c.CollectionClass().CollectionName() == ParametersCollection &&
            c.CollectionClass().ConstructorType() == type)
            found = &c;
    });
    return found;
}

std::string TextOf(const TKovMaterialX& material, const char* name) {
    const auto* text = dynamic_cast<const TIPText*>(material.FindInternalProperty(name));
    return text ? text->Value() : std::string();
}

} // namespace

const std::vector<std::string>& TUserDLLs::StandardLibraries() {
    static const std::vector<std::string> libraries{
        "bbm64.dll",         "creep-sclay1s64.dll", "eve_mc64.dll",  "example64.dll",
        "frozen_soil64.dll", "ghs64.dll",           "hbs64.dll",     "iso_jrmc64.dll",
        "masonry64.dll",     "n2pc_salt64.dll",     "ngiadps64.dll", "oc-clay64.dll",
        "pm4sand64.dll",     "shansep64.dll",       "swell64.dll",   "udsm_hps64.dll",
        "fluid64.dll",       "pm4silt64.dll",       "norsand64.dll", "sanisandms64.dll"};
    return libraries;
}

void TUserDLLs::RegisterLibrary(const std::string& fileName, std::vector<TUserModel> models) {
    Libraries().Models[CleanName(fileName)] = std::move(models);
}

void TUserDLLs::UnregisterLibrary(const std::string& fileName) {
    Libraries().Models.erase(CleanName(fileName));
}

const TUserModel* TUserDLLs::FindModel(const std::string& fileName, const std::string& model) {
    auto it = Libraries().Models.find(CleanName(fileName));
    if (it == Libraries().Models.end())
        return nullptr;
    for (const TUserModel& candidate : it->second)
        if (CleanName(candidate.Name) == CleanName(model))
            return &candidate;
    return nullptr;
}

std::vector<std::string> TUserDLLs::ModelNames(const std::string& fileName) {
    std::vector<std::string> names;
    auto it = Libraries().Models.find(CleanName(fileName));
    if (it != Libraries().Models.end())
        for (const TUserModel& model : it->second)
            names.push_back(model.Name);
    return names;
}

const TUserModel* TMXSoilUDSMFunctions::ModelOf(const TKovMaterialX& material) {
    return TUserDLLs::FindModel(TextOf(material, "DllFileDirect"),
                                TextOf(material, "ModelInDLLDirect"));
}

bool TMXSoilUDSMFunctions::IsUserParameter(const TMXPropertyCollection& collection,
                                           const TKovIntrinsicProperty& property) {
    return collection.CollectionClass().CollectionName() == ParametersCollection &&
           property.InheritsFrom(TIPUserDefinedParameter::StaticClass());
}

void TMXSoilUDSMFunctions::ResetUserParameters(TKovMaterialX& material) {
    for (auto type : {mxpctPersistent, mxpctDerived})
        if (TMXPropertyCollection* collection = ParametersOf(material, type)) {
            bool backedUp = false;
            for (TKovIntrinsicProperty* property : collection->GroupProperties())
                if (IsUserParameter(*collection, *property)) {
                    if (!backedUp)
                        collection->BackUpForStructureChange();
                    backedUp = true;
                    collection->RemoveIntrinsicProperty(property);
                }
        }
    TMaterialXIPCache::UpdateCacheFor(material);
}

void TMXSoilUDSMFunctions::CreateUserParameters(TKovMaterialX& material) {
    const TUserModel* model = ModelOf(material);
    TMXPropertyCollection* stored = ParametersOf(material, mxpctPersistent);
    if (!model || !stored)
        return;
    const std::string library = TextOf(material, "DllFileDirect");
    bool backedUp = false;
    for (const TUserModelParameter& parameter : model->Parameters) {
        if (stored->FindGroupProperty(parameter.Name))
            continue;
        if (!backedUp)
            stored->BackUpForStructureChange();
        backedUp = true;
        TParameterDeclarations& declarations = DeclarationsOf(library, *model, parameter);
        std::unique_ptr<TKovIntrinsicProperty> property =
            stored->CreateGroupProperty(*declarations.Stored);
        auto& number = static_cast<TIPDouble&>(*property);
        number.SetLocked(true);
        number.BeginUpdate();
        number.SetValue(parameter.Default);
        number.EndUpdateNoNotification();
        number.SetLocked(false);
        stored->AddIntrinsicProperty(std::move(property));
    }
    PopulateUserDerivedParameters(material);
}

void TMXSoilUDSMFunctions::PopulateUserDerivedParameters(TKovMaterialX& material) {
    const TUserModel* model = ModelOf(material);
    TMXPropertyCollection* user = ParametersOf(material, mxpctDerived);
    if (!model || !user)
        return;
    const std::string library = TextOf(material, "DllFileDirect");
    bool backedUp = false;
    for (const TUserModelParameter& parameter : model->Parameters) {
        if (user->FindGroupProperty(parameter.Name) ||
            !material.FindInternalPropertyExact(parameter.Name))
            continue;
        if (!backedUp)
            user->BackUpForStructureChange();
        backedUp = true;
        user->AddIntrinsicProperty(
            user->CreateGroupProperty(*DeclarationsOf(library, *model, parameter).Derived));
    }
    TMaterialXIPCache::UpdateCacheFor(material);
}

namespace soil {

void RegisterUserDefinedGroups() {
    TGroupBuilder g("UserDefined");
    g.Text("DllFileDirect", "User-defined DLL (direct)", "UserDefinedModel")
        .Text("ModelInDLLDirect", "Model in DLL (direct)", "UserDefinedModel")
        .Double("UDPRefInter", "p_ref,inter#", 0.0, Max, qtPressure, "InterfacesStiffness")
        .DerivedText(
            "DllFile", "User-defined DLL", "UserDefinedModel",
            [](TMaterial m) { return TextOf(m, "DllFileDirect"); },
            [](TKovMaterialX& m, const std::string& value) {
                TMaterialXTools::SetPropertyFromVarRec(*m.FindInternalProperty("DllFileDirect"),
                                                       value);
            })
        .DerivedText(
            "ModelInDll", "Model in DLL", "UserDefinedModel",
            [](TMaterial m) { return TextOf(m, "ModelInDLLDirect"); },
            [](TKovMaterialX& m, const std::string& value) {
                TMaterialXTools::SetPropertyFromVarRec(*m.FindInternalProperty("ModelInDLLDirect"),
                                                       value);
            })
        .Interface("UDPRefInter", "InterfacesStiffness")
        .Structural("DllFile")
        .Structural("ModelInDll")
        .DependsOn({"MCFailureCriteriaInterfaces"});
}

} // namespace soil

} // namespace tw
