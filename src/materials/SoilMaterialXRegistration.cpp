#include "materials/SoilMaterialXRegistration.h"

#include "materials/MaterialXFactory.h"
#include "materials/SoilMaterialXGroups.h"
#include "materials/SoilUserDefinedModels.h"

#include <mutex>

namespace tw {

namespace {

struct TRoot {
    TMXSoil_MaterialModel Model;
    const char* Name;
    std::vector<std::string> Groups;
};

const std::vector<TRoot>& Roots() {
    static const std::vector<TRoot> roots{
        {mxsmmNone, "NoMaterialModel", {"AllSoilMaterials", "NoMaterialDummy"}},
        {mxsmmLinearElastic,
         "LinearElastic",
         {"Elastic_LE_MC_Stiffness", "Elastic_HB_LE_MC", "Elastic", "ElasticInc", "WaveVelocities",
          "RefLevel", "RefLevel_Stiffness", "AllSoilMaterials", "Interfaces_StrengthParameters",
          "LinearElastic"}},
        {mxsmmMohrCoulomb,
         "MohrCoulomb",
         {"Elastic_LE_MC_Stiffness", "Elastic_HB_LE_MC", "Elastic", "ElasticInc", "WaveVelocities",
          "RefLevel", "RefLevel_Stiffness", "AllSoilMaterials", "Interfaces_StrengthParameters",
          "Strength_HS_HSS_MC", "RefLevel_Strength", "MC", "MCFailureCriteria"}},
        {mxsmmHardeningSoil,
         "HardeningSoil",
         {"Strength_HS_HSS_MC", "RefLevel", "RefLevel_Strength", "AllSoilMaterials",
          "Interfaces_StrengthParameters", "HardeningSoil", "MCFailureCriteria", "Alias_Einit"}},
        {mxsmmHardeningSoilSmall,
         "HSSmall",
         {"Strength_HS_HSS_MC", "RefLevel", "RefLevel_Strength", "AllSoilMaterials",
          "Interfaces_StrengthParameters", "HardeningSoil", "MCFailureCriteria", "Alias_Einit",
          "HSSmall"}},
        {mxsmmSoftSoil,
         "SoftSoil",
         {"AllSoilMaterials", "Interfaces_StrengthParameters", "MCFailureCriteria", "SoftSoil",
          "SOI_SOV_SS_SSC", "SS_SSC", "SOI_SS", "Alias_Einit"}},
        {mxsmmSoftSoilCreep,
         "SoftSoilCreep",
         {"AllSoilMaterials", "Interfaces_StrengthParameters", "MCFailureCriteria",
          "SOI_SOV_SS_SSC", "SoftSoilCreep", "SOV_SSC", "SS_SSC", "Alias_Einit"}},
        {mxsmmJointedRock,
         "JointedRock",
         {"AllSoilMaterials", "Interfaces_StrengthParameters", "JointedRock"}},
        {mxsmmModifiedCamClay,
         "ModifiedCamClay",
         {"AllSoilMaterials", "ModifiedCamClay", "MCFailureCriteriaInterfaces"}},
        {mxsmmNGIADP,
         "NGIADP",
         {"RefLevel", "AllSoilMaterials", "Interfaces_StrengthParameters", "NGIADP"}},
        {mxsmmHoekBrown,
         "HoekBrown",
         {"AllSoilMaterials", "Interfaces_StrengthParameters", "HB_Stiffness", "Elastic_HB_LE_MC",
          "HoekBrown"}},
        {mxsmmSOInviscid,
         "SOInviscid",
         {"AllSoilMaterials", "MCFailureCriteriaInterfaces", "SOI_SOV_SS_SSC", "SOI_SOV", "SOI_SS",
          "SOInviscid", "Alias_Einit"}},
        {mxsmmSOViscid,
         "SOViscid",
         {"AllSoilMaterials", "MCFailureCriteriaInterfaces", "SOI_SOV_SS_SSC", "SOV_SSC", "SOI_SOV",
          "SOViscid", "Alias_Einit"}},
        {mxsmmConcrete,
         "Concrete",
         {"AllSoilMaterials", "Interfaces_StrengthParameters", "Concrete"}},
        {mxsmmUBC3DPLM,
         "UBC3DPLM",
         {"AllSoilMaterials", "Interfaces_StrengthParameters", "UBC3DPLM"}},
        {mxsmmUDCAMSimplified,
         "UDCAMS",
         {"UDCAMS", "RefLevel", "AllSoilMaterials", "Interfaces_StrengthParameters", "NGIADP"}},
        {mxsmmUserDefined,
         "UserDefined",
         {"AllSoilMaterials", "MCFailureCriteriaInterfaces", "Interfaces", "UserDefined"}}};
    return roots;
}

std::mutex RegistrationMutex;

void RegisterAll() {
    TMaterialXRegisters_Soil::RegisterMXPropertyCollections();
    TMaterialXRegisters_Soil::RegisterMaterialXFactoryFunctions();
    soil::RegisterGeneralGroups();
    soil::RegisterElasticAndMohrCoulombGroups();
    soil::RegisterHardeningSoilGroups();
    soil::RegisterSoftSoilGroups();
    soil::RegisterOtherModelGroups();
    soil::RegisterUserDefinedGroups();
    for (const TRoot& root : Roots()) {
        const TMXAssociatedParameterGroup& group = soil::RootGroup(root.Name);
        for (const std::string& name : root.Groups)
            const_cast<TMXAssociatedParameterGroup&>(group).AddDependency(soil::Group(name));
        // The root's own configuration: the drainage and the model choice are its groups'.
        soil::TGroupBuilder builder(group);
        TMaterialXRegisters_Soil::RegisterSoilToList(group, root.Model);
    }
    TMaterialXRegistries::TransferAliasesToIPRegistry();
}

} // namespace

void TMaterialXRegisters_Soil::EnsureRegistered() {
    std::lock_guard<std::mutex> lock(RegistrationMutex);
    if (TMaterialXRegistries::FindAPG("TSoilMX_RootAPG_MohrCoulomb") &&
        TMaterialXRegistries::TryGetRootAPGFor(TKovSoilMaterialX::StaticClass(), mxsmmMohrCoulomb))
        return;
    RegisterAll();
}

void TMaterialXRegisters_Soil::RegisterMaterialXFactoryFunctions() {
    TMaterialXRegistries::RegisterFactoryFunctions(TKovSoilMaterialX::StaticClass(),
                                                   soil::SoilFactoryFunctions());
}

void TMaterialXRegisters_Soil::RegisterMXPropertyCollections() {
    soil::RegisterCollections();
}

void TMaterialXRegisters_Soil::RegisterSoilToList(const TMXAssociatedParameterGroup& root,
                                                  int modelValue) {
    TMaterialXRegistries::RegisterMXRootParameterGroup(
        TKovSoilMaterialX::StaticClass(), [modelValue](int value) { return value == modelValue; },
        root);
}

bool TMaterialXRegisters_Soil::IsSoilMaterialModelEnabled(int modelValue) {
    if (modelValue < 0 || modelValue > 103)
        return false;
    return modelValue <= mxsmmUDCAMSimplified || modelValue == mxsmmUserDefined;
}

const TMXAssociatedParameterGroup& TMaterialXRegisters_Soil::RootOf(TMXSoil_MaterialModel model) {
    EnsureRegistered();
    return TMaterialXRegistries::GetRootAPGFor(TKovSoilMaterialX::StaticClass(), model);
}

void CompleteSoilMaterialAfterLoad(TKovMaterialX& material) {
    TMaterialXRegisters_Soil::EnsureRegistered();
    const TMaterialXFactoryFunctions& functions =
        TMaterialXRegistries::GetFactoryFunctionsFor(material.GetMaterialXClass());
    if (!material.RootAPGClass())
        return;
    functions.PopulateAllCollections(material, TMaterialXFactoryFunctions::ncrIgnore);
    if (material.AppliedModelValue() == mxsmmUserDefined)
        TMXSoilUDSMFunctions::CreateUserParameters(material);
    TMaterialXIPConfigurator::UpdateMaterialXIPConfigurations(material);
}

} // namespace tw
