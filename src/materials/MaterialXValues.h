#pragma once
// A material as a list of named values: what makes it differ from the defaults of its model, so
// that commands can make it again (a create command with those values) and a clipboard can carry
// it.

#include "materials/KovMaterialX.h"

#include <string>
#include <vector>

namespace tw {

class IQuantityPresenter;

struct TMaterialParameterValue {
    std::string Name;
    TVarRec Value; // numbers in base units, enumerations as ordinals
};

class TMaterialParameterValueList {
public:
    void Add(std::string name, TVarRec value) { FItems.push_back({std::move(name), value}); }
    int Count() const { return static_cast<int>(FItems.size()); }
    const TMaterialParameterValue& operator[](int index) const { return FItems.at(index); }
    // The pair of that name (clean form), or nullptr.
    const TMaterialParameterValue* GetItemByName(const std::string& name) const;
    auto begin() const { return FItems.begin(); }
    auto end() const { return FItems.end(); }

private:
    std::vector<TMaterialParameterValue> FItems;
};

class TMaterialXValues {
public:
    TMaterialXValues() = default;
    explicit TMaterialXValues(const TKovClass& materialClass) : FMaterialClass(&materialClass) {}

    const TKovClass* MaterialClass() const { return FMaterialClass; }
    TMaterialParameterValueList& Values() & { return FParameterValuePairList; }
    const TMaterialParameterValueList& Values() const& { return FParameterValuePairList; }
    // The list of a temporary would dangle.
    const TMaterialParameterValueList& Values() const&& = delete;
    // The names whose values differ, or that one side lacks, in the order of this list and then
    // of the other. Values of different material classes raise EMaterialXValues ("Could not
    // compare MaterialXValues of different types").
    std::vector<std::string> Compare(const TMaterialXValues& other) const;

private:
    const TKovClass* FMaterialClass = nullptr;
    TMaterialParameterValueList FParameterValuePairList;
};

class TMaterialXValuesConverter {
public:
    // The user values of `material` that differ from a fresh material of the same model.
    static TMaterialXValues ConvertMaterial(const TKovMaterialX& material);
    // The writable user values of `a` that differ from those of `b`: the structural ones first,
    // then the others in dependency order.
    static TMaterialXValues IntersectMaterials(const TKovMaterialX& a, const TKovMaterialX& b);
};

class TMaterialXValuesToCommandGenerator {
public:
    // `soilmat "SoilModel" "Hardening Soil" "E50Ref" 30000 ...`: numbers in the presentation
    // units of `units` (base units without), enumerations by their value text.
    static std::string GenerateCreateCommand(const TMaterialXValues& values,
                                             const IQuantityPresenter* units = nullptr);
    // `setproperties Name "E50Ref" 30000 ...`.
    static std::string GenerateSetPropertiesCommand(const std::string& objectName,
                                                    const TMaterialXValues& values,
                                                    const IQuantityPresenter* units = nullptr);
};

class TMaterialXMaterialCommandHandler {
public:
    // The create command of a material's class: its object type name in lower case ("soilmat").
    static std::string GetCreateCommandName(const TKovMaterialX& material);
    // The create command for a material copied to the clipboard.
    static std::string GenerateCommandFromClipboard(const TKovMaterialX& material,
                                                    const IQuantityPresenter* units = nullptr);
    // Name and value, alternating, of every value that differs from the defaults.
    static std::vector<TVarRec> GenerateCommandParameters(const TKovMaterialX& material);
    // Keeps the values in the material's construction parameters.
    static void SaveAsParameters(TKovMaterialX& material);
    // Applies name-value pairs as a user would: structural values first, then the others in
    // dependency order. Raises on an unknown name or a value out of range.
    static void PopulateParameterArray(TKovMaterialX& material,
                                       const std::vector<TVarRec>& parameters);
};

} // namespace tw
