#pragma once
// Enumerations of soil materials. The soil model and the drainage type are read by other
// subsystems; their ordinals are those of the kernel files. The others are the choices of the
// soil parameter groups; each has its captions in the same order, which the enumeration
// properties of the materials show.

#include <string>
#include <vector>

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

// Every soil model in the order of its number, the user-defined one last.
const std::vector<TMXSoil_MaterialModel>& AllSoilMaterialModels();

enum TMXSoil_DrainageType : int {
    mxsdtDrained = 0,
    mxsdtUndrainedA = 1,
    mxsdtUndrainedB = 2,
    mxsdtUndrainedC = 3,
    mxsdtNonPorous = 4,
};

enum TMXSoil_AutoOrManualMethod : int { mxsamAutomatic, mxsamManual };
enum TMXSoil_IntrinsicsRelatedMethod : int {
    mxsirmFromSoilIntrinsics,
    mxsirmStandard,
    mxsirmAlternatives
};
enum TMXSoil_FromSoilIntrinsicsMethod : int { mxsfsimDirect, mxsfsimFromSoilIntrinsics };
enum TMXSoil_GammaInputMethod : int { mxsgimDirect, mxsgimDerived };
enum TMXSoil_UndrainedBehaviourMethod : int { mxsubNuUDefinition, mxsubBiotEffectiveStress };
enum TMXSoil_UndrainedNuDefinitionMethod : int { mxsundDirect, mxsundSkemptonBBased };
enum TMXSoil_HoekBrownParameterDetermination : int { mxshbpdDerived, mxshbpdDirect };
enum TMXSoil_POPOCRMethod : int { mxspomPOP, mxspomOCR };
enum TMXSoil_JRPlanes : int { mxsjrp1Plane, mxsjrp2Plane, mxsjrp3Plane };
enum TMXSoil_StrengthFunction : int { mxssfCEBFIP, mxssfClassJ1, mxssfClassJ2, mxssfClassJ3 };
enum TMXSoil_InterfacesStrengthMethod : int {
    mxsismRigid,
    mxsismManual,
    mxsismManualWithResidualStrength
};
enum TMXSoil_InterfacesStiffnessMethod : int { mxsistDerived, mxsistDirect, mxsistFromEoed };
// The groundwater choices: the hydraulic model (its ordinal is the code of place 116) and the
// data set of the soil classes (place 117).
enum TMXSoil_GroundwaterModel : int { mxsgmVanGenuchten, mxsgmApproxVanGenuchten, mxsgmSaturated };
enum TMXSoil_GroundwaterDataSet : int {
    mxsgdsStandard,
    mxsgdsHypres,
    mxsgdsUSDA,
    mxsgdsStaringsreeks,
    mxsgdsUserDefined
};

// The highest model value: the user-defined model.
constexpr int MaterialModelMaxValue = mxsmmUserDefined;

// The caption shown to users for a model value; "Unused %d" for an empty slot.
std::string MaterialModelCaption(int model);
// The captions of every model value from 0 to MaterialModelMaxValue, in order.
const std::vector<std::string>& MaterialModelCaptions();

// The models with a preconsolidation (a cap or a consolidation line): Hardening Soil, HS small,
// Soft Soil, Soft Soil Creep, Modified Cam-Clay and the two Sekiguchi-Ohta models. They take
// part in POP and OCR, and a test on them has a preconsolidation pressure.
bool HasPreconsolidation(int model);

// Captions of the other enumerations, in ordinal order.
const std::vector<std::string>& DrainageTypeCaptions();
const std::vector<std::string>& AutoOrManualMethodCaptions();
const std::vector<std::string>& IntrinsicsRelatedMethodCaptions();
const std::vector<std::string>& FromSoilIntrinsicsMethodCaptions();
const std::vector<std::string>& GammaInputMethodCaptions();
const std::vector<std::string>& UndrainedBehaviourMethodCaptions();
const std::vector<std::string>& UndrainedNuDefinitionMethodCaptions();
const std::vector<std::string>& HoekBrownParameterDeterminationCaptions();
const std::vector<std::string>& POPOCRMethodCaptions();
const std::vector<std::string>& JRPlanesCaptions();
const std::vector<std::string>& StrengthFunctionCaptions();
const std::vector<std::string>& InterfacesStrengthMethodCaptions();
const std::vector<std::string>& InterfacesStiffnessMethodCaptions();
const std::vector<std::string>& GroundwaterModelCaptions();
const std::vector<std::string>& GroundwaterDataSetCaptions();

} // namespace tw
