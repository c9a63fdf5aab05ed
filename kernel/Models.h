#pragma once
// The soil models of the kernel by their kernel numbers, and how each is built from the material
// array of the input file: the places it reads and what it refuses.

#include "KernelInput.h"
#include "SoilModel.h"

#include <memory>
#include <string>
#include <vector>

namespace tw::kernel {

enum TModelNumber {
    mnLinearElastic = 1,
    mnMohrCoulomb = 2,
    mnSoftSoil = 4,
    mnModifiedCamClay = 5,
    mnHardeningSoil = 6,
    mnSoftSoilCreep = 8,
    mnHoekBrown = 15,
    mnHSSmall = 19
};

bool IsSupportedModel(int modelNumber);
// "Linear Elastic (1), Mohr-Coulomb (2), ..." for messages.
std::string SupportedModels();

// A model whose plastic volume hardens a cap: the preconsolidation of the sample sets where the
// cap starts.
class TCapModel : public TSoilModel {
public:
    // The isotropic pressure at which the cap through this effective stress cuts the p axis
    // (positive in compression).
    virtual double CapPressure(const Vec6& stress) const = 0;
    // The cap of the sample's preconsolidation, the same measure; the sample's own stress may
    // push it further.
    void SetPreconsolidation(double capPressure) { FPreconsolidation = capPressure; }
    double Preconsolidation() const { return FPreconsolidation; }
    // K0nc of the model: the stress ratio of one-dimensional primary loading.
    virtual double K0nc() const = 0;

private:
    double FPreconsolidation = 0.0;
};

// Builds the model of the file; raises EKernelInput naming the place of a parameter that is out of
// its range. Warnings collect what is odd but computable.
std::unique_ptr<TSoilModel> CreateSoilModel(const TKernelInput& input,
                                            std::vector<std::string>& warnings);

} // namespace tw::kernel
