#include "materials/SimpleTestMaterial.h"

namespace tw {

std::optional<double> TSimpleTestMaterial::GetNumber(const std::string& name) const {
    auto it = FNumbers.find(name);
    return it == FNumbers.end() ? std::nullopt : std::optional<double>(it->second);
}

std::unique_ptr<ITestMaterial> TSimpleTestMaterial::CreateStaticCopy() const {
    auto copy = std::make_unique<TSimpleTestMaterial>(FIdentification, FModel, FDrainage);
    copy->FNumbers = FNumbers;
    return copy;
}

void TSimpleTestMaterial::SetSoilModel(TMXSoil_MaterialModel model) {
    FModel = model;
    FObservable.NotifyObservers();
}

void TSimpleTestMaterial::SetDrainageType(TMXSoil_DrainageType drainage) {
    FDrainage = drainage;
    FObservable.NotifyObservers();
}

void TSimpleTestMaterial::SetNumber(const std::string& name, double value) {
    FNumbers[name] = value;
    FObservable.NotifyObservers();
}

} // namespace tw
