#include "materials/SoilMaterialXEnumeratedTypes.h"

#include "services/Format.h"

namespace tw {

namespace {
const char* const ModelCaptions[] = {"None",
                                     "Linear Elastic",
                                     "Mohr-Coulomb",
                                     "Hardening Soil",
                                     "HS small",
                                     "Soft Soil",
                                     "Soft Soil Creep",
                                     "Jointed Rock",
                                     "Modified Cam-Clay",
                                     "NGI-ADP",
                                     "Hoek-Brown",
                                     "Sekiguchi-Ohta Inviscid",
                                     "Sekiguchi-Ohta Viscid",
                                     "Concrete",
                                     "UBC3D-PLM",
                                     "UDCAM-S"};
} // namespace

const std::vector<TMXSoil_MaterialModel>& AllSoilMaterialModels() {
    static const std::vector<TMXSoil_MaterialModel> models = [] {
        std::vector<TMXSoil_MaterialModel> all;
        for (int model = mxsmmNone; model <= mxsmmUDCAMSimplified; ++model)
            all.push_back(static_cast<TMXSoil_MaterialModel>(model));
        all.push_back(mxsmmUserDefined);
        return all;
    }();
    return models;
}

std::string MaterialModelCaption(int model) {
    if (model >= 0 && model <= mxsmmUDCAMSimplified)
        return ModelCaptions[model];
    if (model == mxsmmUserDefined)
        return "User-defined";
    return Format("Unused %d", model);
}

const std::vector<std::string>& MaterialModelCaptions() {
    static const std::vector<std::string> captions = [] {
        std::vector<std::string> all;
        for (int model = 0; model <= MaterialModelMaxValue; ++model)
            all.push_back(MaterialModelCaption(model));
        return all;
    }();
    return captions;
}

bool HasPreconsolidation(int model) {
    switch (model) {
    case mxsmmHardeningSoil:
    case mxsmmHardeningSoilSmall:
    case mxsmmSoftSoil:
    case mxsmmSoftSoilCreep:
    case mxsmmModifiedCamClay:
    case mxsmmSOInviscid:
    case mxsmmSOViscid:
        return true;
    default:
        return false;
    }
}

const std::vector<std::string>& DrainageTypeCaptions() {
    static const std::vector<std::string> c{"Drained", "Undrained (A)", "Undrained (B)",
                                            "Undrained (C)", "Non-porous"};
    return c;
}
const std::vector<std::string>& AutoOrManualMethodCaptions() {
    static const std::vector<std::string> c{"Automatic", "Manual"};
    return c;
}
const std::vector<std::string>& IntrinsicsRelatedMethodCaptions() {
    static const std::vector<std::string> c{"From soil intrinsics", "Standard", "Alternatives"};
    return c;
}
const std::vector<std::string>& FromSoilIntrinsicsMethodCaptions() {
    static const std::vector<std::string> c{"Direct", "From soil intrinsics"};
    return c;
}
const std::vector<std::string>& GammaInputMethodCaptions() {
    static const std::vector<std::string> c{"Direct", "Derived"};
    return c;
}
const std::vector<std::string>& UndrainedBehaviourMethodCaptions() {
    static const std::vector<std::string> c{"Undrained nu definition", "Biot effective stress"};
    return c;
}
const std::vector<std::string>& UndrainedNuDefinitionMethodCaptions() {
    static const std::vector<std::string> c{"Direct", "Skempton B based"};
    return c;
}
const std::vector<std::string>& HoekBrownParameterDeterminationCaptions() {
    static const std::vector<std::string> c{"Derived", "Direct"};
    return c;
}
const std::vector<std::string>& POPOCRMethodCaptions() {
    static const std::vector<std::string> c{"POP", "OCR"};
    return c;
}
const std::vector<std::string>& JRPlanesCaptions() {
    static const std::vector<std::string> c{"1 plane", "2 planes", "3 planes"};
    return c;
}
const std::vector<std::string>& StrengthFunctionCaptions() {
    static const std::vector<std::string> c{"CEB-FIP", "Class J1", "Class J2", "Class J3"};
    return c;
}
const std::vector<std::string>& InterfacesStrengthMethodCaptions() {
    static const std::vector<std::string> c{"Rigid", "Manual", "Manual with residual strength"};
    return c;
}
const std::vector<std::string>& InterfacesStiffnessMethodCaptions() {
    static const std::vector<std::string> c{"Derived", "Direct", "From Eoed"};
    return c;
}
const std::vector<std::string>& GroundwaterModelCaptions() {
    static const std::vector<std::string> c{"Van Genuchten", "Approx. Van Genuchten", "Saturated"};
    return c;
}
const std::vector<std::string>& GroundwaterDataSetCaptions() {
    static const std::vector<std::string> c{"Standard", "Hypres", "USDA", "Staringsreeks",
                                            "User-defined"};
    return c;
}

} // namespace tw
