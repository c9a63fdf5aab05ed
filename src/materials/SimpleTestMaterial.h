#pragma once
// A material given by its soil model, its drainage type and a table of numbers: what the headless
// program and scripts use where no material from a host is at hand.

#include "materials/TestMaterial.h"

#include <map>

namespace tw {

class TSimpleTestMaterial : public ITestMaterial {
public:
    TSimpleTestMaterial(std::string identification, TMXSoil_MaterialModel model,
                        TMXSoil_DrainageType drainage)
        : FIdentification(std::move(identification)), FModel(model), FDrainage(drainage) {}

    TMXSoil_MaterialModel SoilModel() const override { return FModel; }
    TMXSoil_DrainageType DrainageType() const override { return FDrainage; }
    std::optional<double> GetNumber(const std::string& name) const override;
    std::string Identification() const override { return FIdentification; }
    TObservable& MaterialObservable() override { return FObservable; }
    std::unique_ptr<ITestMaterial> CreateStaticCopy() const override;

    // Each change tells the material's observers.
    void SetSoilModel(TMXSoil_MaterialModel model);
    void SetDrainageType(TMXSoil_DrainageType drainage);
    void SetNumber(const std::string& name, double value);

private:
    std::string FIdentification;
    TMXSoil_MaterialModel FModel;
    TMXSoil_DrainageType FDrainage;
    std::map<std::string, double> FNumbers;
    TObservable FObservable;
};

} // namespace tw
