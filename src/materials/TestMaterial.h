#pragma once
// What a laboratory test asks of the material it runs on. The soil materials implement it; a
// test knows nothing else of them.

#include "materials/SoilMaterialXEnumeratedTypes.h"
#include "objects/Observer.h"
#include "objects/QuantityType.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tw {

// A table-valued property of a material: rows of numbers in base units, and the quantity of each
// column.
struct TTestMaterialTable {
    std::vector<TQuantityType> ColumnQuantities;
    std::vector<std::vector<double>> Rows;
};

class ITestMaterial {
public:
    virtual ~ITestMaterial() = default;
    virtual TMXSoil_MaterialModel SoilModel() const = 0;
    virtual TMXSoil_DrainageType DrainageType() const = 0;
    // A number of the material by its property name, in base units (pascal, metre, kilogram,
    // second); nullopt when the material has no such value.
    virtual std::optional<double> GetNumber(const std::string& name) const = 0;
    // A table of the material by its property name; nullopt when the material has no such
    // table, which is what a material without tables answers.
    virtual std::optional<TTestMaterialTable> GetTable(const std::string& /*name*/) const {
        return std::nullopt;
    }
    // The identification shown in titles of loaded tests.
    virtual std::string Identification() const = 0;
    // Fires when any value of the material changes.
    virtual TObservable& MaterialObservable() = 0;
    // A copy that stands alone, for tests that keep the material they were calculated with.
    virtual std::unique_ptr<ITestMaterial> CreateStaticCopy() const = 0;
};

} // namespace tw
