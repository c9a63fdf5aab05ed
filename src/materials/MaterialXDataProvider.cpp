#include "materials/MaterialXDataProvider.h"

#include "materials/MaterialXTools.h"
#include "materials/SoilUserDefinedModels.h"
#include "services/Format.h"
#include "units/SystemOfUnits.h"

#include <algorithm>
#include <cmath>
#include <mutex>

namespace tw {

namespace {

constexpr double DegreesPerRadian = 57.29577951308232;

TQuantityType QuantityOf(const TKovIntrinsicProperty& property) {
    if (const auto* number = dynamic_cast<const TIPDoubleWithUnit*>(&property))
        return number->QuantityType();
    return qtDummy;
}

TKovIntrinsicProperty& Find(const TKovMaterialX& material, const std::string& name, bool user) {
    TKovIntrinsicProperty* property =
        user ? TMaterialXTools::GetUserPropertyFrom(material, name)
             : TMaterialXTools::GetInternalPropertyFrom(material, name);
    if (!property)
        throw EMaterialXDataProvider(
            Format("Unable to find the %s intrinsic property %s for specified material",
                   user ? "user" : "internal", name));
    return *property;
}

double Number(const TKovMaterialX& material, const std::string& name, bool user) {
    Find(material, name, user);
    return user ? TMaterialXTools::GetUserPropertyValueFrom(material, name)
                : TMaterialXTools::GetInternalPropertyValueFrom(material, name);
}

TMXValueFunction PropertyFunction(const std::string& name, bool user, double scale,
                                  TMXValueFunction::TKind kind) {
    TMXValueFunction function;
    function.Kind = kind;
    function.Property = name;
    function.Scale = scale;
    function.Evaluate = [name, user, scale](const TKovMaterialX& material) {
        TMXDataValue value;
        value.Quantity = QuantityOf(Find(material, name, user));
        value.Value = scale * Number(material, name, user);
        return value;
    };
    return function;
}

TMXValueFunction SinFunction(const std::string& name, bool user) {
    TMXValueFunction function;
    function.Kind = user ? TMXValueFunction::vfkSinOfUser : TMXValueFunction::vfkSinOfInternal;
    function.Property = name;
    function.Evaluate = [name, user](const TKovMaterialX& material) {
        return TMXDataValue{std::sin(Number(material, name, user) / DegreesPerRadian), qtDummy};
    };
    return function;
}

TMXDataValue EvaluateOrRaise(const TMXValueFunction* function, TMX_DataProviderIndex index,
                             const TKovMaterialX& material) {
    if (!function)
        throw EMaterialXDataProvider(Format(
            "Unable to find the requested data index %s from the type", std::to_string(index)));
    return (*function)(material);
}

struct TRegistryState {
    std::mutex Mutex;
    std::map<int, std::shared_ptr<const TMaterialXDataProviderCollection>> Collections;
};

TRegistryState& Registry() {
    static TRegistryState state;
    return state;
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Providers

void TMaterialXDataProvider::RegisterInternalData(TMX_DataProviderDataType type,
                                                  TMX_DataProviderIndex index,
                                                  TMXValueFunction function) {
    FTable[{int(type), index}] = std::move(function);
}

bool TMaterialXDataProvider::ContainsIndexForDataType(TMX_DataProviderDataType type,
                                                      TMX_DataProviderIndex index) const {
    return FTable.count({int(type), index}) != 0;
}

const TMXValueFunction*
TMaterialXDataProvider::TryGetFunctionForIndex(TMX_DataProviderDataType type,
                                               TMX_DataProviderIndex index) const {
    auto it = FTable.find({int(type), index});
    return it == FTable.end() ? nullptr : &it->second;
}

TMXDataValue TMaterialXDataProvider::EvaluateValueForMaterial(TMX_DataProviderDataType type,
                                                              TMX_DataProviderIndex index,
                                                              const TKovMaterialX& material) const {
    return EvaluateOrRaise(TryGetFunctionForIndex(type, index), index, material);
}

void TMaterialXDataProvider::EnumerateDataEntriesOfType(
    TMX_DataProviderDataType type,
    const std::function<void(TMX_DataProviderIndex, const TMXValueFunction&)>& callback) const {
    for (const auto& [key, function] : FTable)
        if (key.first == int(type))
            callback(key.second, function);
}

void TMaterialXDataProvider::EnumerateDataIndicesOfType(
    TMX_DataProviderDataType type,
    const std::function<void(TMX_DataProviderIndex)>& callback) const {
    EnumerateDataEntriesOfType(
        type, [&](TMX_DataProviderIndex index, const TMXValueFunction&) { callback(index); });
}

TMaterialXDataProviderSoil::TMaterialXDataProviderSoil(std::string name, TEntries real,
                                                       TEntries text,
                                                       TMX_DataProviderDataType textType)
    : TMaterialXDataProvider(std::move(name)), FReal(std::move(real)), FText(std::move(text)),
      FTextType(textType) {
    Initialize();
}

void TMaterialXDataProviderSoil::RegisterRealRecord() {
    for (const auto& [index, function] : FReal)
        RegisterInternalData(mxdpdtProlaysR, index, function);
}

void TMaterialXDataProviderSoil::RegisterExtraValues() {
    for (const auto& [index, function] : FText)
        RegisterInternalData(FTextType, index, function);
}

// ---------------------------------------------------------------------------------------------
// Collections and registry

void TMaterialXDataProviderCollection::EnumerateDataProviders(
    const std::function<void(const TMaterialXDataProvider&)>& callback) const {
    for (const auto& provider : FProviders)
        callback(*provider);
}

void TMaterialXDataProviderCollection::EnumerateDataEntriesOfType(
    TMX_DataProviderDataType type,
    const std::function<void(TMX_DataProviderIndex, const TMXValueFunction&)>& callback) const {
    std::map<TMX_DataProviderIndex, const TMXValueFunction*> entries;
    for (const auto& provider : FProviders)
        provider->EnumerateDataEntriesOfType(
            type, [&](TMX_DataProviderIndex index, const TMXValueFunction& function) {
                entries[index] = &function;
            });
    for (const auto& [index, function] : entries)
        callback(index, *function);
}

bool TMaterialXDataProviderCollection::ContainsIndexForDataType(TMX_DataProviderDataType type,
                                                                TMX_DataProviderIndex index) const {
    return TryGetFunctionForIndex(type, index) != nullptr;
}

const TMXValueFunction*
TMaterialXDataProviderCollection::TryGetFunctionForIndex(TMX_DataProviderDataType type,
                                                         TMX_DataProviderIndex index) const {
    for (auto it = FProviders.rbegin(); it != FProviders.rend(); ++it)
        if (const TMXValueFunction* function = (*it)->TryGetFunctionForIndex(type, index))
            return function;
    return nullptr;
}

TMXDataValue
TMaterialXDataProviderCollection::EvaluateValueForMaterial(TMX_DataProviderDataType type,
                                                           TMX_DataProviderIndex index,
                                                           const TKovMaterialX& material) const {
    return EvaluateOrRaise(TryGetFunctionForIndex(type, index), index, material);
}

void TMaterialXDataProviderRegistry::RegisterDataProviderCollection(
    int modelValue, std::shared_ptr<const TMaterialXDataProviderCollection> collection) {
    std::lock_guard<std::mutex> lock(Registry().Mutex);
    Registry().Collections[modelValue] = std::move(collection);
}

void TMaterialXDataProviderRegistry::UnregisterDataProviderCollection(int modelValue) {
    std::lock_guard<std::mutex> lock(Registry().Mutex);
    Registry().Collections.erase(modelValue);
}

std::shared_ptr<const TMaterialXDataProviderCollection>
TMaterialXDataProviderRegistry::GetDataProviderCollectionClassFor(const TKovMaterialX& material) {
    const auto* soil = dynamic_cast<const TKovSoilMaterialX*>(&material);
    if (!soil)
        throw EMaterialXDataProvider("Unable to find the data provider for this type!");
    const int model = soil->GetSoilModel();
    std::lock_guard<std::mutex> lock(Registry().Mutex);
    auto it = Registry().Collections.find(model);
    if (it == Registry().Collections.end())
        throw EMaterialXDataProvider("No data provider was registered for this material");
    return it->second;
}

std::shared_ptr<const TMaterialXDataProviderCollection>
TMaterialXDataProviderTools::GetDataProviderCollectionFor(const TKovMaterialX& material) {
    return TMaterialXDataProviderRegistry::GetDataProviderCollectionClassFor(material);
}

std::map<int, double> TMaterialXDataProviderTools::EvaluateRealRecord(const TKovMaterialX& material,
                                                                      const TSystemOfUnits& units) {
    std::map<int, double> record;
    GetDataProviderCollectionFor(material)->EnumerateDataEntriesOfType(
        mxdpdtProlaysR, [&](TMX_DataProviderIndex index, const TMXValueFunction& function) {
            const TMXDataValue value = function(material);
            record[index] = units.ToPresentation(value.Quantity, value.Number());
        });
    return record;
}

void TMaterialXDataProviderTools::ApplyProlaysRValuesToMaterialX(TKovMaterialX& material,
                                                                 const std::vector<double>& values,
                                                                 const TSystemOfUnits& units) {
    std::vector<std::pair<const TMXValueFunction*, double>> writes;
    GetDataProviderCollectionFor(material)->EnumerateDataEntriesOfType(
        mxdpdtProlaysR, [&](TMX_DataProviderIndex index, const TMXValueFunction& function) {
            if (index >= 0 && size_t(index) < values.size() &&
                function.Kind != TMXValueFunction::vfkComputed)
                writes.push_back({&function, values[size_t(index)]});
        });
    // A setter runs after the values it reads, so that a later write doesn't undo an earlier one
    // (a new Poisson's ratio keeps Young's modulus by changing G).
    const std::vector<std::string> order =
        TMaterialXIPDependencyEvaluator::DependencyOrderedMaterialProperties(material);
    auto rank = [&](const TMXValueFunction* function) {
        auto it = std::find(order.begin(), order.end(), function->Property);
        return it == order.end() ? order.size() : size_t(it - order.begin());
    };
    std::stable_sort(writes.begin(), writes.end(),
                     [&](const auto& a, const auto& b) { return rank(a.first) < rank(b.first); });
    TUndoSnapshot snapshot(material, "Apply kernel parameters");
    material.BeginUpdate();
    try {
        // A switch in the record may open a value that comes before it (a tension cut-off its
        // tensile strength): what was read-only waits, and once the configuration, held back by
        // the update, is brought up to date it gets another pass. Every pass but the last
        // writes something, so the passes end.
        auto pending = writes;
        while (!pending.empty()) {
            std::vector<std::pair<const TMXValueFunction*, double>> waiting;
            bool wrote = false;
            for (const auto& [function, fileValue] : pending) {
                const bool user = function->Kind == TMXValueFunction::vfkUser ||
                                  function->Kind == TMXValueFunction::vfkSinOfUser ||
                                  function->Kind == TMXValueFunction::vfkScaledUser;
                TKovIntrinsicProperty& property = Find(material, function->Property, user);
                if (property.ReadOnly()) {
                    waiting.push_back({function, fileValue});
                    continue;
                }
                double value = units.FromPresentation(QuantityOf(property), fileValue);
                switch (function->Kind) {
                case TMXValueFunction::vfkSinOfUser:
                case TMXValueFunction::vfkSinOfInternal:
                    value = std::asin(std::clamp(fileValue, -1.0, 1.0)) * DegreesPerRadian;
                    break;
                case TMXValueFunction::vfkScaledUser:
                case TMXValueFunction::vfkScaledInternal:
                    value = TMaterialXTools::Divide(value, function->Scale);
                    break;
                default:
                    break;
                }
                TMaterialXTools::SetPropertyFromVarRec(property, value);
                wrote = true;
            }
            if (!wrote || waiting.empty())
                break;
            TMaterialXIPConfigurator::UpdateMaterialXIPConfigurations(material);
            pending = std::move(waiting);
        }
    } catch (...) {
        material.EndUpdate();
        throw;
    }
    material.EndUpdate();
}

// ---------------------------------------------------------------------------------------------
// Value functions

TMXValueFunction
TMaterialXDataProviderFunctions::GetUserIntrinsicPropertyFunction(const std::string& name) {
    return PropertyFunction(name, true, 1.0, TMXValueFunction::vfkUser);
}

TMXValueFunction
TMaterialXDataProviderFunctions::GetInternalIntrinsicPropertyFunction(const std::string& name) {
    return PropertyFunction(name, false, 1.0, TMXValueFunction::vfkInternal);
}

TMXValueFunction
TMaterialXDataProviderFunctions::GetScaledUserIntrinsicValueFunction(const std::string& name,
                                                                     double factor) {
    return PropertyFunction(name, true, factor, TMXValueFunction::vfkScaledUser);
}

TMXValueFunction
TMaterialXDataProviderFunctions::GetScaledInternalIntrinsicValueFunction(const std::string& name,
                                                                         double factor) {
    return PropertyFunction(name, false, factor, TMXValueFunction::vfkScaledInternal);
}

TMXValueFunction
TMaterialXDataProviderFunctions::GetSinOfUserIntrinsicPropertyFunction(const std::string& name) {
    return SinFunction(name, true);
}

TMXValueFunction TMaterialXDataProviderFunctions::GetSinOfInternalIntrinsicPropertyFunction(
    const std::string& name) {
    return SinFunction(name, false);
}

TMXValueFunction TMaterialXDataProviderFunctions::GetTableValueFunction(const std::string& name,
                                                                        int row, int column) {
    return Computed([name, row, column](const TKovMaterialX& material) {
        const auto* table = dynamic_cast<const TIPTable*>(&Find(material, name, true));
        if (!table || row >= table->RowCount() || column >= table->ColCount())
            return 0.0;
        return table->GetValue(row, column);
    });
}

TMXValueFunction TMaterialXDataProviderFunctions::GetInternalTablePropRowCountValueFunction(
    const std::string& name) {
    return Computed([name](const TKovMaterialX& material) {
        const auto* table = dynamic_cast<const TIPTable*>(&Find(material, name, false));
        return table ? double(table->RowCount()) : 0.0;
    });
}

TMXValueFunction
TMaterialXDataProviderFunctions::Computed(std::function<double(const TKovMaterialX&)> function,
                                          TQuantityType quantity) {
    TMXValueFunction result;
    result.Evaluate = [function = std::move(function), quantity](const TKovMaterialX& material) {
        return TMXDataValue{function(material), quantity};
    };
    return result;
}

// ---------------------------------------------------------------------------------------------
// Writer queries

std::string TMXWriterQueryFunctions::GetMaterialNameQueryFunction(const TKovMaterialX& material) {
    return material.Identification();
}

int32_t TMXWriterQueryFunctions::GetMaterialColorQueryFunction(const TKovMaterialX& material) {
    return material.Property<TIPColor>("Colour").Value();
}

std::string
TMXWriterQueryFunctions::GetMaterialMetadataQueryFunction(const TKovMaterialX& material) {
    return material.Property<TIPText>("Metadata").Value();
}

std::string
TMXWriterQueryFunctions::GetMaterialCommentQueryFunction(const TKovMaterialX& material) {
    const auto* comments = dynamic_cast<const TIPText*>(material.FindUserProperty("MXComments"));
    return comments ? comments->Value() : std::string();
}

TMXSoil_MaterialModel
TMXWriterQueryFunctions::GetSoilTypeQueryFunction(const TKovMaterialX& material) {
    const auto* soil = dynamic_cast<const TKovSoilMaterialX*>(&material);
    if (!soil)
        throw EMXWriterQueryFunctionsException("Unable to find the data provider for this type!");
    return soil->GetSoilModel();
}

int TMXWriterQueryFunctions::GetSoilTypeIntegerValue(const TKovMaterialX& material) {
    const TMXSoil_MaterialModel model = GetSoilTypeQueryFunction(material);
    switch (model) {
    case mxsmmLinearElastic:
        return 1;
    case mxsmmMohrCoulomb:
        return 2;
    case mxsmmSoftSoil:
        return 4;
    case mxsmmModifiedCamClay:
        return 5;
    case mxsmmHardeningSoil:
        return 6;
    case mxsmmSoftSoilCreep:
        return 8;
    case mxsmmNGIADP:
        return 12;
    case mxsmmHoekBrown:
        return 15;
    case mxsmmJointedRock:
        return 18;
    case mxsmmHardeningSoilSmall:
        return 19;
    case mxsmmSOInviscid:
        return 31;
    case mxsmmSOViscid:
        return 32;
    case mxsmmConcrete:
        return 33;
    case mxsmmUBC3DPLM:
        return 34;
    case mxsmmUDCAMSimplified:
        return 35;
    case mxsmmUserDefined:
        if (const TUserModel* user = TMXSoilUDSMFunctions::ModelOf(material))
            return 21 + user->Index;
        break;
    default:
        break;
    }
    throw EMXWriterQueryFunctionsException(
        Format("Cannot convert unexpected soil model \"%s\" to integer value.",
               MaterialModelCaption(model)));
}

int TMXWriterQueryFunctions::GetSoilDrainageTypeQueryFunction(const TKovMaterialX& material) {
    return TMaterialXTools::GetUserOrdinalFrom(material, "DrainageType");
}

std::vector<std::vector<double>>
TMXWriterQueryFunctions::GetTableUserIPQueryFunction(const TKovMaterialX& material,
                                                     const std::string& name) {
    std::vector<std::vector<double>> rows;
    if (const auto* table = dynamic_cast<const TIPTable*>(material.FindUserProperty(name)))
        for (int row = 0; row < table->RowCount(); ++row)
            rows.push_back(table->Row(row));
    return rows;
}

} // namespace tw
