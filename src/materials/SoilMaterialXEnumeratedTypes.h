#pragma once
// Enumerations of soil materials that other subsystems read: the soil model and the drainage
// type. Their ordinals are those of the kernel files.

#include <string>

namespace tw {

enum TMXSoil_MaterialModel : int {
    mxsmmNone = 0,
    mxsmmLinearElastic = 1,
    mxsmmMohrCoulomb = 2,
    mxsmmHardeningSoil = 3,
    mxsmmHardeningSoilSmall = 4,
    mxsmmSoftSoil = 5,
    mxsmmSoftSoilCreep = 6,
    mxsmmJointedRock = 7,
    mxsmmModifiedCamClay = 8,
    mxsmmNGIADP = 9,
    mxsmmHoekBrown = 10,
    mxsmmSOInviscid = 11,
    mxsmmSOViscid = 12,
    mxsmmConcrete = 13,
    mxsmmUBC3DPLM = 14,
    mxsmmUDCAMSimplified = 15,
    mxsmmUserDefined = 100,
};

enum TMXSoil_DrainageType : int {
    mxsdtDrained = 0,
    mxsdtUndrainedA = 1,
    mxsdtUndrainedB = 2,
    mxsdtUndrainedC = 3,
    mxsdtNonPorous = 4,
};

// The caption shown to users for a model value; "Unused %d" for an empty slot.
std::string MaterialModelCaption(int model);

} // namespace tw
