#pragma once
// The soil materials' side of the kernel input: the data providers of every soil model, the text
// blocks [soilmodeldata] and [soilparameters], and the Hardening Soil cap values. Registering the
// writer connects it to the two seams the kernel input calls (KernelMaterialWriter.h).

#include "materials/KernelMaterialWriter.h"
#include "materials/MaterialXDataProvider.h"

namespace tw {

// The three cap values of the Hardening Soil models, places 30, 31 and 35.
enum THSCapIterParameterType { hscM, hscKsKc, hscG50Ref };

// The value function of a cap value: 1.0 for M and Ks/Kc when phi is not positive, otherwise the
// cap fitted to K0nc and EOedRef. An unknown type raises "Invalid HS CapIter parameter type: %s";
// a zero divisor raises "Unable to calculate %s due to division by 0 error.".
TMXValueFunction GetHSCapIterValueFunction(THSCapIterParameterType type);

// Writes [soilmodeldata] and [soilparameters] of a framework soil material. Every value is
// computed before the first line is written, so a material the kernel can't take leaves
// nothing of its blocks behind.
class TSoilKernelMaterialWriter : public IKernelMaterialWriter {
public:
    void WriteMaterialBlocks(IKernelFileLineWriter& file, const ITestMaterial& material) override;
};

// Registers the data provider collection of every soil model (once).
void RegisterSoilDataProviders();
// Registers the providers, this writer as the kernel input's material writer and the cap
// iteration as its Hardening Soil cap seam. From the main thread, at start-up.
void RegisterSoilKernelMaterialWriter();

} // namespace tw
