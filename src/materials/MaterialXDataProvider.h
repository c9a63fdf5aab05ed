#pragma once
// What the kernels get of a framework material: arrays of numbers by place (the "Prolay"
// records), filled by data providers. A provider registers, per data type, a value function for
// each place it knows; the providers of one model form its provider collection, and the registry
// finds the collection of a material by its model. The text route writes the real record as the
// 200 lines of [soilparameters].

#include "materials/KovMaterialX.h"
#include "objects/QuantityType.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace tw {

class TSystemOfUnits;

// The places of the records: mxdpIndex1 is place 0, and so on up to place 199.
using TMX_DataProviderIndex = int;
constexpr TMX_DataProviderIndex mxdpIndex1 = 0;
constexpr int MXRealRecordLength = 200;

enum TMX_DataProviderDataType {
    mxdpdtProlaysR,
    mxdpdtProlaysI,
    mxdpdtProlayDI,
    mxdpdtDLLNAME_B,
    mxdpdtDLLNAME_T,
    mxdpdtSMODNAM_B,
    mxdpdtSMODNAM_T,
    mxdpdtPROLAYN_B,
    mxdpdtPROLAYN_T,
    mxdpdtPROLAYU_B,
    mxdpdtPROLAYU_T,
    mxdpdtXVL_R,
    mxdpdtXVL_I,
    // The structural kinds, which laboratory tests don't use.
    mxdpdtAnchor,
    mxdpdtBeam,
    mxdpdtGeogrid,
    mxdpdtEmbeddedBeam,
    mxdpdtCable,
    mxdpdtPlate,
    mxdpdtDiscontinuity,
};

// A value of a record: a number in base units with the quantity that converts it, or a text.
struct TMXDataValue {
    std::variant<double, std::string> Value;
    TQuantityType Quantity = qtDummy;
    double Number() const {
        return std::holds_alternative<double>(Value) ? std::get<double>(Value) : 0.0;
    }
    const std::string* Text() const { return std::get_if<std::string>(&Value); }
};

// A value function. The functions that read one property keep its name and how they read it,
// so that an array can be written back into a material.
struct TMXValueFunction {
    enum TKind {
        vfkComputed,
        vfkUser,
        vfkInternal,
        vfkSinOfUser,
        vfkSinOfInternal,
        vfkScaledUser,
        vfkScaledInternal
    };
    std::function<TMXDataValue(const TKovMaterialX&)> Evaluate;
    TKind Kind = vfkComputed;
    std::string Property;
    double Scale = 1.0;

    TMXDataValue operator()(const TKovMaterialX& material) const { return Evaluate(material); }
};

// One part of a record. Subclasses fill their table at construction through the three slots.
class TMaterialXDataProvider {
public:
    virtual ~TMaterialXDataProvider() = default;
    const std::string& Name() const { return FName; }

    void RegisterInternalData(TMX_DataProviderDataType type, TMX_DataProviderIndex index,
                              TMXValueFunction function);
    void ClearRegistry() { FTable.clear(); }
    bool ContainsIndexForDataType(TMX_DataProviderDataType type, TMX_DataProviderIndex index) const;
    const TMXValueFunction* TryGetFunctionForIndex(TMX_DataProviderDataType type,
                                                   TMX_DataProviderIndex index) const;
    TMXDataValue EvaluateValueForMaterial(TMX_DataProviderDataType type,
                                          TMX_DataProviderIndex index,
                                          const TKovMaterialX& material) const;
    void EnumerateDataEntriesOfType(
        TMX_DataProviderDataType type,
        const std::function<void(TMX_DataProviderIndex, const TMXValueFunction&)>& callback) const;
    void
    EnumerateDataIndicesOfType(TMX_DataProviderDataType type,
                               const std::function<void(TMX_DataProviderIndex)>& callback) const;

protected:
    explicit TMaterialXDataProvider(std::string name) : FName(std::move(name)) {}
    // Runs the three registration slots; called by the subclasses' constructors.
    void Initialize() {
        RegisterRealRecord();
        RegisterIntegerRecord();
        RegisterExtraValues();
    }
    virtual void RegisterRealRecord() {}
    virtual void RegisterIntegerRecord() {}
    virtual void RegisterExtraValues() {}

private:
    std::string FName;
    std::map<std::pair<int, int>, TMXValueFunction> FTable;
};

// A provider whose real record is given as a list of places and functions.
class TMaterialXDataProviderSoil : public TMaterialXDataProvider {
public:
    using TEntries = std::vector<std::pair<TMX_DataProviderIndex, TMXValueFunction>>;
    TMaterialXDataProviderSoil(std::string name, TEntries real, TEntries text = {},
                               TMX_DataProviderDataType textType = mxdpdtDLLNAME_T);

protected:
    void RegisterRealRecord() override;
    void RegisterExtraValues() override;

private:
    TEntries FReal, FText;
    TMX_DataProviderDataType FTextType;
};

// The providers of one model; a later provider's entry for a place replaces an earlier one's.
class TMaterialXDataProviderCollection {
public:
    explicit TMaterialXDataProviderCollection(std::string className)
        : FClassName(std::move(className)) {}
    const std::string& ClassName() const { return FClassName; }
    void Add(std::shared_ptr<const TMaterialXDataProvider> provider) {
        FProviders.push_back(std::move(provider));
    }

    void EnumerateDataProviders(
        const std::function<void(const TMaterialXDataProvider&)>& callback) const;
    // Each place once, with the function that wins.
    void EnumerateDataEntriesOfType(
        TMX_DataProviderDataType type,
        const std::function<void(TMX_DataProviderIndex, const TMXValueFunction&)>& callback) const;
    bool ContainsIndexForDataType(TMX_DataProviderDataType type, TMX_DataProviderIndex index) const;
    const TMXValueFunction* TryGetFunctionForIndex(TMX_DataProviderDataType type,
                                                   TMX_DataProviderIndex index) const;
    // Raises "Unable to find the requested data index %s from the type" for a place no provider
    // knows.
    TMXDataValue EvaluateValueForMaterial(TMX_DataProviderDataType type,
                                          TMX_DataProviderIndex index,
                                          const TKovMaterialX& material) const;

private:
    std::string FClassName;
    std::vector<std::shared_ptr<const TMaterialXDataProvider>> FProviders;
};

class TMaterialXDataProviderRegistry {
public:
    static void RegisterDataProviderCollection(
        int modelValue, std::shared_ptr<const TMaterialXDataProviderCollection> collection);
    static void UnregisterDataProviderCollection(int modelValue);
    // By the material's "SoilModel"; raises "No data provider was registered for this material"
    // for a model without collection and "Unable to find the data provider for this type!" for
    // a material that is no soil material.
    static std::shared_ptr<const TMaterialXDataProviderCollection>
    GetDataProviderCollectionClassFor(const TKovMaterialX& material);
};

class TMaterialXDataProviderTools {
public:
    static std::shared_ptr<const TMaterialXDataProviderCollection>
    GetDataProviderCollectionFor(const TKovMaterialX& material);
    // The real record in the units of `units`: place to value, for the places the providers
    // know.
    static std::map<int, double> EvaluateRealRecord(const TKovMaterialX& material,
                                                    const TSystemOfUnits& units);
    // Writes values of a real record (in the units of `units`) back into the material, through
    // the functions that read one property; the others are left alone.
    static void ApplyProlaysRValuesToMaterialX(TKovMaterialX& material,
                                               const std::vector<double>& values,
                                               const TSystemOfUnits& units);
};

// The usual value functions. A missing property raises "Unable to find the user intrinsic
// property %s for specified material" (or "internal").
class TMaterialXDataProviderFunctions {
public:
    static TMXValueFunction GetUserIntrinsicPropertyFunction(const std::string& name);
    static TMXValueFunction GetInternalIntrinsicPropertyFunction(const std::string& name);
    static TMXValueFunction GetScaledUserIntrinsicValueFunction(const std::string& name,
                                                                double factor);
    static TMXValueFunction GetScaledInternalIntrinsicValueFunction(const std::string& name,
                                                                    double factor);
    // The sine of an angle in degrees.
    static TMXValueFunction GetSinOfUserIntrinsicPropertyFunction(const std::string& name);
    static TMXValueFunction GetSinOfInternalIntrinsicPropertyFunction(const std::string& name);
    // A cell of a table-valued user property, and the row count of an internal one.
    static TMXValueFunction GetTableValueFunction(const std::string& name, int row, int column);
    static TMXValueFunction GetInternalTablePropRowCountValueFunction(const std::string& name);
    // A value computed from the material, in base units of `quantity`.
    static TMXValueFunction Computed(std::function<double(const TKovMaterialX&)> function,
                                     TQuantityType quantity = qtDummy);
};

// What the writer asks of a material besides its records.
class TMXWriterQueryFunctions {
public:
    static std::string GetMaterialNameQueryFunction(const TKovMaterialX& material);
    static int32_t GetMaterialColorQueryFunction(const TKovMaterialX& material);
    static std::string GetMaterialMetadataQueryFunction(const TKovMaterialX& material);
    static std::string GetMaterialCommentQueryFunction(const TKovMaterialX& material);
    static TMXSoil_MaterialModel GetSoilTypeQueryFunction(const TKovMaterialX& material);
    // The kernel's number of the model; raises EMXWriterQueryFunctionsException ("Cannot
    // convert unexpected soil model \"%s\" to integer value.") for a model it has none for.
    static int GetSoilTypeIntegerValue(const TKovMaterialX& material);
    static int GetSoilDrainageTypeQueryFunction(const TKovMaterialX& material);
    static std::vector<std::vector<double>>
    GetTableUserIPQueryFunction(const TKovMaterialX& material, const std::string& name);
};

} // namespace tw
