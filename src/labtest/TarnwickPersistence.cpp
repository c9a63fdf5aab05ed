#include "labtest/TarnwickPersistence.h"

#include "labtest/QBPersisters.h"
#include "materials/MaterialXFactory.h"
#include "materials/MaterialXRegistries.h"
#include "materials/MaterialXTools.h"
#include "materials/SoilMaterialXRegistration.h"
#include "objects/NameTools.h"
#include "objects/UpdateBracket.h"
#include "services/Format.h"
#include "services/Strings.h"

#include <cfloat>
#include <climits>
#include <set>

namespace tw {

namespace {
constexpr const char* GravityName = "Gravity";
constexpr const char* RhoWaterName = "RhoWater";
constexpr const char* IdentificationNumberName = "IdentificationNumber";

// The project's answers from fixed values: gravity in m/s2, water in kg/m3.
TPropertyQueryFunc FixedProjectValues(double gravity, double rhoWater, int32_t identification) {
    return [=](const std::string& name) -> std::optional<TVarRec> {
        if (name == "Gravity")
            return TVarRec(gravity);
        if (name == "WaterWeight")
            return TVarRec(rhoWater * gravity);
        if (name == "IdentificationNumber")
            return TVarRec(identification);
        return TVarRec(0.0);
    };
}

// A value of the material as its users see it; empty when it has none or it can't be computed.
std::optional<double> UserNumber(const TKovMaterialX& material, const std::string& name) {
    if (!material.FindUserProperty(name))
        return std::nullopt;
    try {
        return TMaterialXTools::GetUserPropertyValueFrom(material, name);
    } catch (const EKovException&) {
        return std::nullopt;
    }
}

THPObject& PersisterOf(const TKovObject& object) {
    return THierarchicPersisters::Instance().PersisterFor(object);
}
} // namespace

// ---------------------------------------------------------------------------------------------
// TTarnwickMaterialContainer

TW_KOV_CLASS_IMPL(TTarnwickMaterialContainer, TKovObservableObject,
                  &TTarnwickMaterialContainer::DeclareProperties)

void TTarnwickMaterialContainer::DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
    list.AddInteger(IdentificationNumberName, 0, "Identification number", INT_MIN, INT_MAX);
    list.AddDoubleWithUnit(GravityName, qtAcceleration, 0, "Gravity", DBL_MIN, DBL_MAX);
    list.AddDoubleWithUnit(RhoWaterName, qtMassDensity, 0, "Density of water", DBL_MIN, DBL_MAX);
}

TTarnwickMaterialContainer::TTarnwickMaterialContainer(TKovObjectManager* manager)
    : TKovObservableObject(manager) {}

TTarnwickMaterialContainer::~TTarnwickMaterialContainer() = default;

void TTarnwickMaterialContainer::Initialize() {
    Property<TIPInteger>(IdentificationNumberName).SetValue(FConstants->IdentificationNumber);
    Property<TIPDouble>(GravityName).SetValue(FConstants->Gravity);
    Property<TIPDouble>(RhoWaterName).SetValue(FConstants->RhoWater);
}

void TTarnwickMaterialContainer::PropertyChanged(TKovIntrinsicProperty& property) {
    if (SameText(property.Name(), GravityName))
        FConstants->Gravity = Property<TIPDouble>(GravityName).Value();
    else if (SameText(property.Name(), RhoWaterName))
        FConstants->RhoWater = Property<TIPDouble>(RhoWaterName).Value();
    else if (SameText(property.Name(), IdentificationNumberName))
        FConstants->IdentificationNumber = Property<TIPInteger>(IdentificationNumberName).Value();
}

void TTarnwickMaterialContainer::AssignEssentialState(const TKovObject& source) {
    TKovObservableObject::AssignEssentialState(source);
    if (CreatedForRevert())
        return;
    FConstants->Gravity = Property<TIPDouble>(GravityName).Value();
    FConstants->RhoWater = Property<TIPDouble>(RhoWaterName).Value();
    FConstants->IdentificationNumber = Property<TIPInteger>(IdentificationNumberName).Value();
}

TKovSoilMaterialX* TTarnwickMaterialContainer::SoilMaterialX() const {
    return dynamic_cast<TKovSoilMaterialX*>(FMaterialX.get());
}

double TTarnwickMaterialContainer::Gravity() const {
    return Property<TIPDouble>(GravityName).Value();
}

double TTarnwickMaterialContainer::RhoWater() const {
    return Property<TIPDouble>(RhoWaterName).Value();
}

void TTarnwickMaterialContainer::SetGravityAndRhoWater(double gravity, double rhoWater) {
    Property<TIPDouble>(GravityName).SetValue(gravity);
    Property<TIPDouble>(RhoWaterName).SetValue(rhoWater);
}

TPropertyQueryFunc TTarnwickMaterialContainer::MaterialQueryFunction() const {
    return [constants = FConstants](const std::string& name) -> std::optional<TVarRec> {
        if (name == "Gravity")
            return TVarRec(constants->Gravity);
        if (name == "WaterWeight")
            return TVarRec(constants->RhoWater * constants->Gravity);
        if (name == "IdentificationNumber")
            return TVarRec(constants->IdentificationNumber);
        return TVarRec(0.0);
    };
}

void TTarnwickMaterialContainer::SetMaterialXCopy(const TKovMaterialX& material) {
    const double gravity = UserNumber(material, "GravityAcceleration").value_or(Gravity());
    const double rhoWater = UserNumber(material, "RhoWater").value_or(RhoWater());
    if (gravity > 0 && rhoWater > 0)
        SetGravityAndRhoWater(gravity, rhoWater);
    FMaterialX = TMaterialXFactory::CreateCopy(ObjectManager(), material);
    FMaterialX->SetPropertyQueryFunc(MaterialQueryFunction());
}

void TTarnwickMaterialContainer::TakeMaterialX(std::unique_ptr<TKovMaterialX> material) {
    FMaterialX = std::move(material);
    if (FMaterialX)
        FMaterialX->SetPropertyQueryFunc(MaterialQueryFunction());
}

std::unique_ptr<TKovMaterialX> TTarnwickMaterialContainer::ExtractMaterialX() {
    if (FMaterialX)
        FMaterialX->SetPropertyQueryFunc(FixedProjectValues(
            FConstants->Gravity, FConstants->RhoWater, FConstants->IdentificationNumber));
    return std::move(FMaterialX);
}

TKovMaterialX& TTarnwickMaterialContainer::EnsureMaterialX() {
    if (!FMaterialX)
        FMaterialX = TMaterialXFactory::CreateSoilMaterialX(ObjectManager(), "", mxsmmNone,
                                                            MaterialQueryFunction());
    return *FMaterialX;
}

// ---------------------------------------------------------------------------------------------
// TTarnwickInput

namespace {
constexpr const char* IceName = "IceThermalExpansion";
constexpr const char* LiquidName = "LiquidThermalExpansion";
constexpr const char* UnitsName = "SystemOfUnits";
// Per kelvin: the volumetric expansion of ice and of water near room temperature, what a
// project has when its host gives nothing else.
constexpr double DefaultIceThermalExpansion = 5e-05;
constexpr double DefaultLiquidThermalExpansion = 0.00021;
} // namespace

TW_KOV_CLASS_IMPL(TTarnwickInput, TTarnwickMaterialContainer, &TTarnwickInput::DeclareProperties)

void TTarnwickInput::DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
    list.AddDouble(IceName, ipkReadOnly, "Ice thermal expansion", -DBL_MAX, DBL_MAX);
    list.AddDouble(LiquidName, ipkReadOnly, "Liquid thermal expansion", -DBL_MAX, DBL_MAX);
    AddSystemOfUnits(list, UnitsName, 0, "System of units");
}

void TTarnwickInput::Initialize() {
    TTarnwickMaterialContainer::Initialize();
    SetThermalExpansions(DefaultIceThermalExpansion, DefaultLiquidThermalExpansion);
}

const TSystemOfUnits& TTarnwickInput::SystemOfUnits() const {
    return Property<TIPSystemOfUnits>(UnitsName).Value();
}

void TTarnwickInput::SetSystemOfUnits(const TSystemOfUnits& units) {
    Property<TIPSystemOfUnits>(UnitsName).SetValue(units);
}

double TTarnwickInput::IceThermalExpansion() const {
    return Property<TIPDouble>(IceName).Value();
}

double TTarnwickInput::LiquidThermalExpansion() const {
    return Property<TIPDouble>(LiquidName).Value();
}

void TTarnwickInput::SetThermalExpansions(double ice, double liquid) {
    Property<TIPDouble>(IceName).SetValue(ice);
    Property<TIPDouble>(LiquidName).SetValue(liquid);
}

// ---------------------------------------------------------------------------------------------
// THPKovMaterialX

namespace {
constexpr const char* RootName = "RootAPG";
constexpr const char* ConstructionName = "ConstructionParameters";
constexpr const char* ValuesName = "Values";
constexpr const char* InternalName = "Internal";

void LoadValue(TKovIntrinsicProperty& property, THierarchicStorage& node,
               THPReadErrorList* errors) {
    PersisterOf(property).LoadObjectDirectlyFromStorage(property, node, errors);
}

// The images of how the material was made: made from the user values of the names stored, then
// given the values stored, which are those of the time the material was made.
void LoadConstructionParameters(TKovMaterialX& material, THierarchicStorage& node,
                                THPReadErrorList* errors) {
    TKovMaterialConstructionParameters& parameters = material.EnsureConstructionParametersExist();
    PersisterOf(parameters).LoadObjectDirectlyFromStorage(parameters, node, errors);
    THierarchicStorage* values = node.GetChildByName(ValuesName);
    if (!values)
        return;
    std::vector<const TKovIntrinsicProperty*> sources;
    std::vector<THierarchicStorage*> nodes;
    for (int i = 0; i < values->ChildCount(); ++i) {
        THierarchicStorage& child = values->GetChildByIndex(i);
        if (const TKovIntrinsicProperty* source = material.FindUserProperty(child.Name())) {
            sources.push_back(source);
            nodes.push_back(&child);
        } else {
            ReportReadProblem(errors, hresWarning,
                              Format("The construction value \"%s\" of %s is no value of its "
                                     "model; it was skipped.",
                                     child.Name(), material.Name()),
                              &material);
        }
    }
    parameters.SetFromProperties(sources);
    const std::vector<const TKovIntrinsicProperty*> images = parameters.ValueProperties();
    for (size_t i = 0; i < images.size() && i < nodes.size(); ++i)
        // The images are the parameters' own; read-only is for users, not for the reader.
        LoadValue(const_cast<TKovIntrinsicProperty&>(*images[i]), *nodes[i], errors);
}
} // namespace

const TKovClass& THPKovMaterialX::SupportedClass() const {
    return TKovMaterialX::StaticClass();
}

void THPKovMaterialX::AddAdditionalObjects(TKovObject& object, TAdditionalPersistObjects& list) {
    THPKovObservableObject::AddAdditionalObjects(object, list);
    // The collections are the model's, built from "RootAPG"; their stored values go under
    // "Internal".
    list.RemoveByStorageName("UserFeatures");
}

void THPKovMaterialX::DoPersistObject(TKovObject& object, THierarchicStorage& storage) {
    THPKovObservableObject::DoPersistObject(object, storage);
    // The project values the material was made with, for a material stored without a container.
    const auto& material = static_cast<const TKovMaterialX&>(object);
    if (auto gravity = UserNumber(material, "GravityAcceleration"))
        storage.SetNamedValue(GravityName, THierarchicStorage::DoubleToStorageString(*gravity));
    if (auto rhoWater = UserNumber(material, "RhoWater"))
        storage.SetNamedValue(RhoWaterName, THierarchicStorage::DoubleToStorageString(*rhoWater));
}

void THPKovMaterialX::PersistAdditionalObjects(TKovObject& object, THierarchicStorage& storage) {
    THPKovObservableObject::PersistAdditionalObjects(object, storage);
    auto& material = static_cast<TKovMaterialX&>(object);
    if (!material.RootAPGClass())
        throw EHierarchicPersisterException(
            Format("The material %s has no model and cannot be written", material.Name()));
    storage.AddChild(RootName).SetValueAsString(material.RootAPGClass()->ClassName());
    if (TKovMaterialConstructionParameters* parameters = material.ConstructionParameters()) {
        THierarchicStorage& node = storage.AddChild(ConstructionName);
        PersisterOf(*parameters).PersistObjectDirectlyInStorage(*parameters, node);
        THierarchicStorage& values = node.AddChild(ValuesName);
        for (const TKovIntrinsicProperty* value : parameters->ValueProperties()) {
            auto& property = const_cast<TKovIntrinsicProperty&>(*value);
            PersisterOf(property).PersistObjectDirectlyInStorage(
                property, values.AddChild(property.CleanName()));
        }
    }
    THierarchicStorage& internal = storage.AddChild(InternalName);
    for (TKovIntrinsicProperty* property : material.InternalProperties())
        if (!property->IsDerived())
            PersisterOf(*property).PersistObjectDirectlyInStorage(
                *property, internal.AddChild(property->CleanName()));
}

void THPKovMaterialX::LoadAdditionalObjects(TKovObject& object, THierarchicStorage& storage,
                                            THPReadErrorList* errors) {
    auto& material = static_cast<TKovMaterialX&>(object);
    TMaterialXRegisters_Soil::EnsureRegistered();
    // A material read on its own answers the project values it was stored with.
    if (!material.PropertyQueryFunc())
        material.SetPropertyQueryFunc(FixedProjectValues(
            THierarchicStorage::StorageStringToDouble(storage.GetNamedValue(GravityName), 9.81),
            THierarchicStorage::StorageStringToDouble(storage.GetNamedValue(RhoWaterName), 1000.0),
            12345));

    // The model first: it decides which values exist.
    const THierarchicStorage* rootNode = storage.GetChildByName(RootName);
    const std::string rootName = rootNode ? rootNode->GetValueAsString() : std::string();
    const TMXAssociatedParameterGroup* root = TMaterialXRegistries::FindAPG(rootName);
    if (!root || TMaterialXRegistries::ModelValueOfRoot(material.GetMaterialXClass(), *root) < 0) {
        ReportReadProblem(errors, hresError,
                          Format("Unknown model \"%s\" of the material %s", rootName,
                                 storage.GetNamedValue("Name")),
                          &material);
        return;
    }
    TMaterialXFactory::ApplyRootAPGTo(material, *root);

    TUpdateBracket update(material);
    THPKovObservableObject::LoadAdditionalObjects(object, storage, errors);
    // The stored values by name; the model's selector is the root's. Values the model makes
    // only once others are in place (a user-defined model's parameters) come in a second pass.
    const std::string selector = material.ModelSelectorName();
    std::set<std::string> read;
    std::vector<THierarchicStorage*> later;
    if (THierarchicStorage* internal = storage.GetChildByName(InternalName))
        for (int i = 0; i < internal->ChildCount(); ++i) {
            THierarchicStorage& child = internal->GetChildByIndex(i);
            if (!selector.empty() && SameText(child.Name(), selector)) {
                read.insert(CleanName(child.Name()));
                continue;
            }
            TKovIntrinsicProperty* property = material.FindInternalPropertyExact(child.Name());
            if (!property || property->IsDerived()) {
                later.push_back(&child);
                continue;
            }
            LoadValue(*property, child, errors);
            read.insert(CleanName(child.Name()));
        }
    CompleteSoilMaterialAfterLoad(material);
    for (THierarchicStorage* child : later) {
        TKovIntrinsicProperty* property = material.FindInternalPropertyExact(child->Name());
        if (!property || property->IsDerived()) {
            ReportReadProblem(errors, hresWarning,
                              Format("The material %s has no stored value \"%s\"; it was "
                                     "skipped.",
                                     material.Name(), child->Name()),
                              &material);
            continue;
        }
        LoadValue(*property, *child, errors);
        read.insert(CleanName(child->Name()));
    }

    // What the file lacks (a parameter added since it was written) takes its organizer default,
    // whatever the material held before.
    std::vector<TKovIntrinsicProperty*> missing;
    for (TKovIntrinsicProperty* property : material.InternalProperties())
        if (!property->IsDerived() && !read.count(property->CleanName()))
            missing.push_back(property);
    if (!missing.empty()) {
        std::unique_ptr<TKovMaterialX> defaults =
            TMaterialXFactory::CreateTemplateMaterialX(nullptr, "", material);
        for (TKovIntrinsicProperty* property : missing) {
            const TKovIntrinsicProperty* value =
                defaults->FindInternalPropertyExact(property->CleanName());
            if (value && value->GetValueRecord() != property->GetValueRecord())
                TMaterialXTools::SetPropertyFromVarRec(*property, value->GetValueRecord());
            if (errors)
                errors->AddError(hresInfo,
                                 Format("Data for new property \"%s\" not found. The default "
                                        "value has been set.",
                                        property->Name()),
                                 &material, property);
        }
    }
    if (THierarchicStorage* node = storage.GetChildByName(ConstructionName))
        LoadConstructionParameters(material, *node, errors);
    update.Close();
}

void THPKovMaterialX::DoCommitLoadedObject(TKovObject& target, TKovObject& loaded) {
    auto& material = static_cast<TKovMaterialX&>(target);
    TPropertyQueryFunc query = material.PropertyQueryFunc();
    TSystemOfUnitsQueryFunc units = material.SystemOfUnitsQueryFunc();
    THPKovObservableObject::DoCommitLoadedObject(target, loaded);
    if (query)
        material.SetPropertyQueryFunc(std::move(query));
    if (units)
        material.SetSystemOfUnitsQueryFunc(std::move(units));
}

// ---------------------------------------------------------------------------------------------
// THPTarnwickMaterialContainer

namespace {
constexpr const char* MaterialXName = "MaterialX";
constexpr const char* OldWaterWeightName = "WaterWeight";
} // namespace

const TKovClass& THPTarnwickMaterialContainer::SupportedClass() const {
    return TTarnwickMaterialContainer::StaticClass();
}

void THPTarnwickMaterialContainer::AddAdditionalObjects(TKovObject& object,
                                                        TAdditionalPersistObjects& list) {
    THPKovObservableObject::AddAdditionalObjects(object, list);
    if (TKovMaterialX* material = static_cast<TTarnwickMaterialContainer&>(object).MaterialX())
        list.Add(MaterialXName, material);
}

void THPTarnwickMaterialContainer::BeforeLoad(TKovObject& object, THierarchicStorage& storage,
                                              THPReadErrorList* errors) {
    THPKovObservableObject::BeforeLoad(object, storage, errors);
    static_cast<TTarnwickMaterialContainer&>(object).EnsureMaterialX();
}

void THPTarnwickMaterialContainer::HandleNotFoundAdditionalObjectsSubStorageFor(
    TKovObject& object, TAdditionalPersister& entry, THierarchicStorage& storage,
    THPReadErrorList* errors) {
    auto& container = static_cast<TTarnwickMaterialContainer&>(object);
    if (SameText(entry.FStorageName, MaterialXName)) {
        ReportReadProblem(errors, hresError,
                          Format("The file holds no material (no \"%s\" in \"%s\")", MaterialXName,
                                 storage.Name()),
                          &object);
        return;
    }
    if (SameText(entry.FStorageName, RhoWaterName))
        if (const THierarchicStorage* old = storage.GetChildByName(OldWaterWeightName)) {
            // Older files held the unit weight of water, N/m3.
            const double weight = old->GetValueAsDouble(0.0);
            if (weight > 0 && container.Gravity() > 0) {
                container.SetGravityAndRhoWater(container.Gravity(), weight / container.Gravity());
                return;
            }
        }
    THPKovObservableObject::HandleNotFoundAdditionalObjectsSubStorageFor(object, entry, storage,
                                                                         errors);
}

void THPTarnwickMaterialContainer::CommitLoadedObject(TKovObject& target, TKovObject& loaded) {
    if (THPLoadSession* session = THPLoadSession::Current())
        session->Retarget(loaded, target);
    auto& into = static_cast<TTarnwickMaterialContainer&>(target);
    auto& from = static_cast<TTarnwickMaterialContainer&>(loaded);
    into.Assign(from);
    into.TakeMaterialX(from.ExtractMaterialX());
}

// ---------------------------------------------------------------------------------------------

std::unique_ptr<TTarnwickInput> ReadTarnwickInput(const std::string& fileName,
                                                  THPReadErrorList* errors) {
    RegisterTarnwickPersistence();
    return THierarchicPersisters::Instance().LoadNew<TTarnwickInput>(nullptr, fileName, errors);
}

void WriteTarnwickInput(TTarnwickInput& input, const std::string& fileName) {
    RegisterTarnwickPersistence();
    THierarchicPersisters::Instance().PersistObject(input, fileName);
}

} // namespace tw
