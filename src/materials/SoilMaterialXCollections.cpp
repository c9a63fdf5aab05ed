// The tree of property collections of the soil material: under "Internal" (stored values) and
// under "User" (what users see) the same named nodes, one class each; "Global" holds the
// project's parameters.

#include "materials/MaterialXFactory.h"
#include "materials/SoilMaterialXGroups.h"
#include "materials/SoilUserDefinedModels.h"

namespace tw::soil {

namespace {

struct TNode {
    const char* Name;
    const char* Caption;
    std::vector<TNode> Children;
};

// The nodes below "Internal" and "User". Depth-dependent and stress-dependent parts of the
// stiffness sit under "Stiffness", the kinds of strength under "Strength"; the planes of the
// jointed rock under "PlaneStrength".
const std::vector<TNode>& Tree() {
    static const std::vector<TNode> tree{
        {"General",
         "",
         {{"MaterialSet", "Material set", {}},
          {"UnitWeights", "Unit weights", {}},
          {"VoidRatio", "Void ratio", {}},
          {"RayleighDamping", "Rayleigh damping", {}},
          {"SoilIntrinsicParameters", "Soil intrinsic parameters", {}}}},
        {"Mechanical",
         "",
         {{"Stiffness",
           "",
           {{"Alternatives", "", {}},
            {"StiffnessDepthDependency", "Depth-dependency", {}},
            {"StressDependency", "Stress-dependency", {}},
            {"WaveVelocities", "Wave velocities", {}},
            {"StrainDependencySmallStrain", "Small-strain", {}}}},
          {"Strength",
           "",
           {{"Shear", "", {}},
            {"Compression", "", {}},
            {"UniaxialCompressiveStrengthOfIntactRock", "", {}},
            {"HoekBrownParameters", "Hoek-Brown parameters", {}},
            {"RockMassParameters", "Rock mass parameters", {}},
            {"Tension", "", {}},
            {"ActiveUndrainedShear", "Active undrained shear", {}},
            {"ActiveUndrainedShearDepthDependency", "Depth-dependency", {}},
            {"StrengthRatio", "Strength ratio", {}},
            {"FailurePlasticStrains", "Failure plastic strains", {}},
            {"Dilatancy", "", {}},
            {"DilatancyCutoff", "Dilatancy cut-off", {}},
            {"ShearStrengthDepthDependency", "Depth-dependency", {}},
            {"FieldData", "Field data", {}}}},
          {"Ductility", "", {}},
          {"UserDefinedModel",
           "User-defined model",
           {{"UserDefinedParameters", "User-defined parameters", {}}}},
          {"CreepDeformation", "Creep deformation", {}},
          {"Miscellaneous", "", {}},
          {"ExcessPorePressureCalculation", "Excess pore pressure calculation", {}},
          {"AdvancedMechanical",
           "Advanced",
           {{"AdvancedMechanicalStiffness", "", {}}, {"AdvancedMechanicalStrength", "", {}}}},
          {"TimeDependency",
           "Time dependency",
           {{"TimeDependencyStiffness", "", {}},
            {"TimeDependencyStrength", "", {}},
            {"TimeDependencyDuctility", "", {}},
            {"TimeDependencyShrinkage", "", {}},
            {"TimeDependencyCreep", "", {}}}},
          {"PlaneStrength",
           "Plane strength",
           {{"Plane1",
             "",
             {{"Plane1ShearStrength", "Shear strength parameters", {}},
              {"Plane1Orientation", "Orientation", {}},
              {"Plane1TensileStrength", "Tensile strength parameters", {}}}},
            {"Plane2",
             "",
             {{"Plane2ShearStrength", "Shear strength parameters", {}},
              {"Plane2Orientation", "Orientation", {}},
              {"Plane2TensileStrength", "Tensile strength parameters", {}}}},
            {"Plane3",
             "",
             {{"Plane3ShearStrength", "Shear strength parameters", {}},
              {"Plane3Orientation", "Orientation", {}},
              {"Plane3TensileStrength", "Tensile strength parameters", {}}}}}}}},
        {"Groundwater",
         "",
         {{"Model", "", {}},
          {"ModelParameters", "Model parameters", {}},
          {"Soil", "", {}},
          {"FlowParameters", "Flow parameters", {{"Permeabilities", "", {}}}},
          {"Porosity", "", {}},
          {"UnsaturatedZone", "Unsaturated zone", {}}}},
        {"Thermal",
         "",
         {{"ThermalDiffusion", "Thermal diffusion", {}},
          {"ThermalStrain", "Thermal strain", {}},
          {"FreezingThawing", "Freezing thawing", {}},
          {"VapourDiffusion", "Vapour diffusion", {}}}},
        {"Interfaces",
         "",
         {{"InterfacesStiffness", "", {}},
          {"InterfacesStrength", "", {}},
          {"InterfacesThickness", "Real interface thickness", {}},
          {"InterfacesGroundwater", "", {}},
          {"InterfacesThermal", "", {}},
          {"InterfacesContactProperties", "Contact properties", {}}}},
        {"InitialProperties",
         "Initial properties",
         {{"K0Settings", "K0 settings", {}}, {"Overconsolidation", "", {}}}}};
    return tree;
}

struct TClasses {
    std::vector<std::unique_ptr<TMXPropertyCollectionClass>> All;
    const TMXPropertyCollectionClass* User = nullptr;
    const TMXPropertyCollectionClass* Internal = nullptr;
    const TMXPropertyCollectionClass* Global = nullptr;
};

const TMXPropertyCollectionClass& Make(TClasses& classes, std::string className,
                                       const TMXPropertyCollectionClass* parent, std::string name,
                                       std::string caption,
                                       std::optional<TMXParameterConstructorType> type = {},
                                       const TKovClass* materialClass = nullptr) {
    classes.All.push_back(std::make_unique<TMXPropertyCollectionClass>(
        std::move(className), parent, std::move(name), std::move(caption), type, materialClass));
    return *classes.All.back();
}

void AddNodes(TClasses& classes, const std::vector<TNode>& nodes,
              const TMXPropertyCollectionClass& parent, const char* kind) {
    for (const TNode& node : nodes) {
        const TMXPropertyCollectionClass& cls =
            Make(classes, std::string("TMXPropertyCollection_Soil_") + kind + "_" + node.Name,
                 &parent, node.Name, node.Caption);
        AddNodes(classes, node.Children, cls, kind);
    }
}

const TClasses& Classes() {
    static const TClasses classes = [] {
        TClasses c;
        const TKovClass* soil = &TKovSoilMaterialX::StaticClass();
        c.Internal = &Make(c, "TMXPropertyCollection_Soil_Internal", nullptr, "Internal", "",
                           mxpctPersistent, soil);
        c.User =
            &Make(c, "TMXPropertyCollection_Soil_User", nullptr, "User", "", mxpctDerived, soil);
        c.Global = &Make(c, "TMXPropertyCollection_Soil_Global", nullptr, "Global", "",
                         mxpctDerived, soil);
        AddNodes(c, Tree(), *c.Internal, "Persistent");
        AddNodes(c, Tree(), *c.User, "Derived");
        Make(c, "TMXPropertyCollection_Soil_Derived_ProjectParameters", c.Global,
             "ProjectParameters", "Project parameters");
        return c;
    }();
    return classes;
}

// The soil's factory functions: the library parameters of a user-defined model stay where
// they are although no organizer places them.
class TMaterialXFactoryFunctions_Soil : public TMaterialXFactoryFunctions {
public:
    using TMaterialXFactoryFunctions::TMaterialXFactoryFunctions;
    bool KeepsUnplacedProperty(const TMXPropertyCollection& collection,
                               const TKovIntrinsicProperty& property) const override {
        const TKovMaterialX* material = collection.RootMaterial();
        return material && material->RootAPGClass() == &RootGroup("UserDefined") &&
               TMXSoilUDSMFunctions::IsUserParameter(collection, property);
    }
};

} // namespace

void RegisterCollections() {
    for (const auto& cls : Classes().All)
        TMaterialXRegistries::RegisterMXPropertyCollection(*cls);
    TMaterialXRegistries::RegisterFactoryFunctions(TKovSoilMaterialX::StaticClass(),
                                                   SoilFactoryFunctions());
}

const TMaterialXFactoryFunctions& SoilFactoryFunctions() {
    static const TMaterialXFactoryFunctions_Soil functions(*Classes().User, *Classes().Internal,
                                                           *Classes().Global);
    return functions;
}

} // namespace tw::soil
