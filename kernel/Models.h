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

// Builds the model of the file; raises EKernelInput naming the place of a parameter that is out of
// its range. Warnings collect what is odd but computable.
std::unique_ptr<TSoilModel> CreateSoilModel(const TKernelInput& input,
                                            std::vector<std::string>& warnings);

} // namespace tw::kernel
