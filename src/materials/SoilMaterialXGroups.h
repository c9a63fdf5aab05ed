#pragma once
// The declarations of the soil parameter groups, written in one uniform shape: a builder per
// group that records its stored parameters (persistent constructor and organizer, with their
// defaults and collections), its user parameters (derived constructor and organizer), its
// configuration rules, relations and dependencies, and registers all of it with the registry.
// Used by the soil registration only.

#include "materials/KovMaterialX.h"
#include "materials/MaterialXRegistries.h"
#include "materials/MaterialXTools.h"

#include <cmath>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tw::soil {

using TMaterial = const TKovMaterialX&;
using TGetter = TMXParametersConstructor::TDoubleGetter;
using TSetter = TMXParametersConstructor::TDoubleSetter;
using TBoolGetter = TMXParametersConstructor::TBooleanGetter;
using TBoolSetter = TMXParametersConstructor::TBooleanSetter;
using TIntGetter = TMXParametersConstructor::TIntegerGetter;
using TIntSetter = TMXParametersConstructor::TIntegerSetter;

constexpr double Max = 1.7976931348623157e308; // the largest finite double
constexpr double Ln10 = 2.302585092994046;
constexpr double Tolerance = 1e-12;

// The group of a short name ("HardeningSoil" is "TSoilMX_APG_HardeningSoil"; a root is
// "TSoilMX_RootAPG_..."), made and registered on first use.
const TMXAssociatedParameterGroup& Group(const std::string& shortName);
const TMXAssociatedParameterGroup& RootGroup(const std::string& shortName);

class TGroupBuilder {
public:
    explicit TGroupBuilder(const TMXAssociatedParameterGroup& group);
    explicit TGroupBuilder(const std::string& shortName) : TGroupBuilder(Group(shortName)) {}
    ~TGroupBuilder();
    TGroupBuilder(const TGroupBuilder&) = delete;
    TGroupBuilder& operator=(const TGroupBuilder&) = delete;

    const TMXAssociatedParameterGroup& APG() const { return *FGroup; }

    // Stored parameters: declaration in the persistent constructor, placement and default in the
    // persistent organizer.
    TGroupBuilder& Double(const std::string& name, const std::string& caption, double min,
                          double max, TQuantityType quantity, const std::string& collection,
                          std::optional<double> defaultValue = std::nullopt,
                          TKovIntrinsicPropertyConfig flags = 0);
    TGroupBuilder& Boolean(const std::string& name, const std::string& caption,
                           const std::string& collection,
                           std::optional<bool> defaultValue = std::nullopt);
    TGroupBuilder& Enumeration(const std::string& name, const std::string& caption,
                               const std::vector<std::string>& values,
                               const std::string& collection,
                               std::optional<int> defaultValue = std::nullopt);
    TGroupBuilder& Text(const std::string& name, const std::string& caption,
                        const std::string& collection);

    // User parameters: declarations in the derived constructor, placement in the derived
    // organizer.
    // The stored parameter of the same name, read and written as it is.
    TGroupBuilder& Interface(const std::string& name, const std::string& collection,
                             TKovIntrinsicPropertyConfig extraFlags = 0);
    TGroupBuilder& Derived(const std::string& name, const std::string& caption, double min,
                           double max, TQuantityType quantity, const std::string& collection,
                           TGetter getter, TSetter setter = nullptr,
                           TKovIntrinsicPropertyConfig flags = 0);
    TGroupBuilder& DerivedBoolean(const std::string& name, const std::string& caption,
                                  const std::string& collection, TBoolGetter getter,
                                  TBoolSetter setter = nullptr,
                                  TKovIntrinsicPropertyConfig flags = 0);
    TGroupBuilder& DerivedEnumeration(const std::string& name, const std::string& caption,
                                      const std::vector<std::string>& values,
                                      const std::string& collection, TIntGetter getter,
                                      TIntSetter setter = nullptr);
    TGroupBuilder& DerivedText(const std::string& name, const std::string& caption,
                               const std::string& collection,
                               TMXParametersConstructor::TTextGetter getter,
                               TMXParametersConstructor::TTextSetter setter = nullptr);
    // A copy of a user parameter of this group under another name and caption.
    TGroupBuilder& Copy(const std::string& source, const std::string& name,
                        const std::string& caption, const std::string& collection,
                        TKovIntrinsicPropertyConfig flags = 0);
    // A user parameter that reads a chosen value (by a method enumeration) and whose writing
    // selects the direct method and stores the direct value.
    TGroupBuilder& MethodDerived(const std::string& name, const std::string& caption, double min,
                                 double max, TQuantityType quantity, const std::string& collection,
                                 TGetter getter, const std::string& methodName, int directValue,
                                 const std::string& directName);

    // `alias` becomes a further name of `master` in look-ups.
    TGroupBuilder& Alias(const std::string& master, const std::string& alias);
    TGroupBuilder& Structural(const std::string& name);
    TGroupBuilder& Visibility(const std::string& name, TMXVisibilityFunction function);
    TGroupBuilder& Mutability(const std::string& name, TMXMutabilityFunction function);
    TGroupBuilder& ValidEnums(const std::string& name, TMXValidEnumsFunction function);
    TGroupBuilder& Gets(const std::string& name, const std::vector<std::string>& others);
    TGroupBuilder& Sets(const std::string& name, const std::vector<std::string>& others);
    TGroupBuilder& ConfiguredBy(const std::string& name, const std::vector<std::string>& others);
    TGroupBuilder& DependsOn(const std::vector<std::string>& shortNames);

private:
    using TStep = std::function<void(TMXParametersConstructor&)>;
    const TMXAssociatedParameterGroup* FGroup;
    std::vector<TStep> FPersistent, FDerived;
    std::unique_ptr<TMXAssociatedParameterGroupOrganizer> FPersistentOrganizer, FDerivedOrganizer;
    std::unique_ptr<TMXIPConfigurationGroup> FConfiguration;
};

// ---------------------------------------------------------------------------------------------
// Reading and writing values by name, in base units.

inline double U(TMaterial m, const std::string& name) {
    return TMaterialXTools::GetUserPropertyValueFrom(m, name);
}
inline double I(TMaterial m, const std::string& name) {
    return TMaterialXTools::GetInternalPropertyValueFrom(m, name);
}
inline bool UB(TMaterial m, const std::string& name) {
    return TMaterialXTools::GetUserBooleanFrom(m, name);
}
inline bool IB(TMaterial m, const std::string& name) {
    return TMaterialXTools::GetInternalBooleanFrom(m, name);
}
inline int UO(TMaterial m, const std::string& name) {
    return TMaterialXTools::GetUserOrdinalFrom(m, name);
}
inline int IO(TMaterial m, const std::string& name) {
    return TMaterialXTools::GetInternalOrdinalFrom(m, name);
}
inline void SetI(TKovMaterialX& m, const std::string& name, double value) {
    TMaterialXTools::SetInternalPropertyValueFrom(m, name, value);
}
// Writes a user value through its own setter.
inline void SetU(TKovMaterialX& m, const std::string& name, double value) {
    if (TKovIntrinsicProperty* property = TMaterialXTools::GetUserPropertyFrom(m, name))
        TMaterialXTools::SetPropertyFromVarRec(*property, value);
}
inline bool HasUser(TMaterial m, const std::string& name) {
    return TMaterialXTools::GetUserPropertyFrom(m, name) != nullptr;
}
inline bool IsZero(double value) {
    return std::fabs(value) < Tolerance;
}
inline double SinDegrees(double degrees) {
    return std::sin(degrees * 3.14159265358979323846 / 180.0);
}
// A division whose divisor may not be 0: "Cannot get %s because of a division by zero." with
// the caption of the value.
double NamedDivide(double numerator, double denominator, const std::string& caption);
// A getter of a stored value and a setter of it.
TGetter Stored(const std::string& name);
TSetter Store(const std::string& name);

// ---------------------------------------------------------------------------------------------
// Model-dependent values (SoilMaterialXFunctions.cpp).

TMXSoil_MaterialModel ModelOf(TMaterial m);
TMXSoil_DrainageType DrainageOf(TMaterial m);
// The effective Poisson's ratio of the model.
double ModelNu(TMaterial m);
// The shear modulus at reference of the model.
double ModelGRef(TMaterial m);
// The bulk modulus from G and nu: 2 G (1 + nu) / (3 (1 - 2 nu)).
double BulkModulus(double g, double nu, const std::string& caption);
// The initial void ratio and porosity.
double VoidRatio(TMaterial m);
double Porosity(TMaterial m);
// Origin of the compression indices of a method property: 0 from moduli or starred values,
// 1 from the direct index, 2 from the soil intrinsics.
int DetermineCsCcOrigin(TMaterial m, const std::string& methodName);
bool UseCsCcRelatedValuesFromDirect(TMaterial m, const std::string& methodName);
// The automatic K0 of the model (the K0 determination "Automatic").
double DefaultK0Primary(TMaterial m);
bool ShouldCalculateK0FromPOP(TMaterial m);
// M of the critical state line from a friction angle in degrees: 6 sin phi / (3 - sin phi).
double MFromPhi(double phiDegrees);
// The normally consolidated K0 on a critical state line of slope M: 1 - 3 M / (M + 6)
// (Jaky's 1 - sin phi with sin phi from M), without a floor.
double K0ncFromCsl(double m);
// The model values whose groups take part in POP and OCR.
bool SupportsPOPAndOCR(int model);

// Hardening Soil's void ratio limits (1e-9 and 999 without dilatancy cut-off).
double HardeningSoilEMin(TMaterial m);
double HardeningSoilEMax(TMaterial m);

// The registration of each family of groups.
void RegisterGeneralGroups();
void RegisterElasticAndMohrCoulombGroups();
void RegisterHardeningSoilGroups();
void RegisterSoftSoilGroups();
void RegisterOtherModelGroups();
void RegisterUserDefinedGroups();
void RegisterCollections();
const TMaterialXFactoryFunctions& SoilFactoryFunctions();

} // namespace tw::soil
