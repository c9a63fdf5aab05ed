#pragma once
// The soil part of the material framework's registration: the collections, the factory
// functions, every parameter group and the root group of each soil model. It runs once, on
// first need, from the main thread; every entry point of the soil materials asks for it.

#include "materials/KovMaterialX.h"

namespace tw {

class TMaterialXRegisters_Soil {
public:
    // Registers everything once (again after the registries were cleared).
    static void EnsureRegistered();
    static void RegisterMaterialXFactoryFunctions();
    static void RegisterMXPropertyCollections();
    // Registers `root` as the root group of a model value.
    static void RegisterSoilToList(const TMXAssociatedParameterGroup& root, int modelValue);
    // The model values a user may choose: 0 to 15 and the user-defined 100; false above 103.
    static bool IsSoilMaterialModelEnabled(int modelValue);
    // The root group of a soil model.
    static const TMXAssociatedParameterGroup& RootOf(TMXSoil_MaterialModel model);
};

// Brings a soil material read from a file up to date: properties added since the file was
// written get their defaults, a user-defined model gets its library parameters, and the
// configuration is updated.
void CompleteSoilMaterialAfterLoad(TKovMaterialX& material);

} // namespace tw
