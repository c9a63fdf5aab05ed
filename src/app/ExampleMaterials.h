#pragma once
// The input files of examples/materials: materials as a host hands them over, each with the
// presentation units of its project and the thermal expansions of pore water and ice. The
// program writes them itself (make_example_materials), so that they are what it reads.

#include "labtest/TarnwickPersistence.h"

#include <memory>
#include <string>
#include <vector>

namespace tw {

struct TExampleMaterial {
    std::string FileName; // without folder, ".xml"
    std::unique_ptr<TTarnwickInput> Input;
};

// Medium dense sand (Hardening Soil), soft clay (Soft Soil Creep), stiff overconsolidated clay
// (HS small), sandstone rock mass (Mohr-Coulomb), and the medium dense sand of the main job in
// Mohr-Coulomb. The values and their sources stand in ExampleMaterials.cpp.
std::vector<TExampleMaterial> ExampleMaterials();

// Writes every example into `folder` as XML, with identities left out ("{}") so that a file
// changes only when its contents do; answers the paths written.
std::vector<std::string> WriteExampleMaterials(const std::string& folder);

} // namespace tw
