#pragma once
// User-defined soil models: a model lives in a library the kernel loads, and the library
// declares the model's index and parameters. The libraries are closed programs for another
// platform; this program does not load them. What a library declares is registered here (from a
// description that ships with it, or by tests), and the material takes its parameters from that.

#include "materials/KovMaterialX.h"
#include "objects/QuantityType.h"

#include <string>
#include <vector>

namespace tw {

struct TUserModelParameter {
    std::string Name;
    std::string Caption;
    TQuantityType Quantity = qtDummy;
    double Default = 0.0;
    // The place of the value in the kernel's parameter record.
    int Place = -1;
};

struct TUserModel {
    std::string Name;
    // The index of the model in its library; the kernel number is 21 plus it.
    int Index = 0;
    std::vector<TUserModelParameter> Parameters;
};

class TUserDLLs {
public:
    // The standard libraries the user-model list knows.
    static const std::vector<std::string>& StandardLibraries();
    // What a library declares; a second registration of the same file replaces the first.
    static void RegisterLibrary(const std::string& fileName, std::vector<TUserModel> models);
    static void UnregisterLibrary(const std::string& fileName);
    static const TUserModel* FindModel(const std::string& fileName, const std::string& model);
    static std::vector<std::string> ModelNames(const std::string& fileName);
};

// Creates and removes the library parameters of a user-defined material: stored parameters in
// the internal collection "UserDefinedParameters", user parameters of the same names in the user
// one.
class TMXSoilUDSMFunctions {
public:
    // Makes the parameters of the library and model the material names, with their defaults;
    // nothing for a library or model that isn't known.
    static void CreateUserParameters(TKovMaterialX& material);
    static void ResetUserParameters(TKovMaterialX& material);
    // The user parameters of the stored ones that exist (after a load).
    static void PopulateUserDerivedParameters(TKovMaterialX& material);
    // Whether a property is a library parameter of a user-defined material's collection.
    static bool IsUserParameter(const TMXPropertyCollection& collection,
                                const TKovIntrinsicProperty& property);
    // The model of the material's library, or nullptr.
    static const TUserModel* ModelOf(const TKovMaterialX& material);
};

} // namespace tw
