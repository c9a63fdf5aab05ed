#pragma once
// What a laboratory test asks of the material it runs on. The soil materials implement it; a
// test knows nothing else of them.

#include "materials/SoilMaterialXEnumeratedTypes.h"
#include "objects/Observer.h"

#include <memory>
#include <optional>
#include <string>

namespace tw {

class ITestMaterial {
public:
    virtual ~ITestMaterial() = default;
    virtual TMXSoil_MaterialModel SoilModel() const = 0;
    virtual TMXSoil_DrainageType DrainageType() const = 0;
    // A number of the material by its property name, in base units (pascal, metre, kilogram,
    // second); nullopt when the material has no such value.
    virtual std::optional<double> GetNumber(const std::string& name) const = 0;
    // The identification shown in titles of loaded tests.
    virtual std::string Identification() const = 0;
    // Fires when any value of the material changes.
    virtual TObservable& MaterialObservable() = 0;
    // A copy that stands alone, for tests that keep the material they were calculated with.
    virtual std::unique_ptr<ITestMaterial> CreateStaticCopy() const = 0;
};

} // namespace tw
