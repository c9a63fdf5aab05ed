#include "materials/SoilMaterialXEnumeratedTypes.h"

#include "services/Format.h"

namespace tw {

std::string MaterialModelCaption(int model) {
    static const char* const captions[] = {"None",
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
    if (model >= 0 && model <= 15)
        return captions[model];
    if (model == mxsmmUserDefined)
        return "User-defined";
    return Format("Unused %d", model);
}

} // namespace tw
