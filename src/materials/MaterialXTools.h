#pragma once
// Reading and writing material values by name, the property cache of the configuration update,
// the configurator itself, and the dependency order of a material's user properties.

#include "materials/KovMaterialX.h"

#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

namespace tw {

class IQuantityPresenter;

class TMaterialXTools {
public:
    // The material at the root of the tree of a collection, a property of one, or the material
    // itself; nullptr otherwise.
    static TKovMaterialX* GetRootMaterialXFrom(const TKovObject* object);

    // Look-ups by name (aliases followed); nullptr when absent.
    static TKovIntrinsicProperty* GetUserPropertyFrom(const TKovMaterialX& material,
                                                      const std::string& name);
    static TKovIntrinsicProperty* GetInternalPropertyFrom(const TKovMaterialX& material,
                                                          const std::string& name);
    static TKovIntrinsicProperty*
    GetUserPropertyFromPropertyCollection(const TMXPropertyCollection& collection,
                                          const std::string& name);

    // Values as numbers in base units: a number, an integer, a boolean (0 or 1) or an
    // enumeration ordinal. Raise EMaterialXTools ("Unable to find the user intrinsic property %s
    // for specified material", "Unable to find the internal intrinsic property %s for specified
    // material") for a missing name.
    static double GetUserPropertyValueFrom(const TKovMaterialX& material, const std::string& name);
    static double GetInternalPropertyValueFrom(const TKovMaterialX& material,
                                               const std::string& name);
    static bool GetUserBooleanFrom(const TKovMaterialX& material, const std::string& name);
    static bool GetInternalBooleanFrom(const TKovMaterialX& material, const std::string& name);
    static int GetUserOrdinalFrom(const TKovMaterialX& material, const std::string& name);
    static int GetInternalOrdinalFrom(const TKovMaterialX& material, const std::string& name);
    static std::vector<double> GetUserPropertyValuesFrom(const TKovMaterialX& material,
                                                         const std::vector<std::string>& names);
    static std::vector<double> GetInternalPropertyValuesFrom(const TKovMaterialX& material,
                                                             const std::vector<std::string>& names);

    // Presentation values; a property that is no number raises "Property \"%s\" is not of type
    // Double.".
    static double GetUserPropertyPresentationValueFrom(const TKovMaterialX& material,
                                                       const std::string& name,
                                                       const IQuantityPresenter& units);
    static double GetInternalPropertyPresentationValueFrom(const TKovMaterialX& material,
                                                           const std::string& name,
                                                           const IQuantityPresenter& units);
    static double GetPropertyPresentationValue(const TKovIntrinsicProperty& property,
                                               const IQuantityPresenter& units);
    static double
    GetPresentationValueWithPropertyQuantityType(const TKovIntrinsicProperty& property,
                                                 double baseValue, const IQuantityPresenter& units);

    // Writes a user value, in base units, as a user does: a read-only or unknown property
    // raises, a number out of its range is refused with "%s must be between %s and %s" and the
    // old value stays. The write, with everything its setter changes, is one undo step; a
    // failure inside it leaves the material as it was.
    static void SetUserPropertyValueFrom(TKovMaterialX& material, const std::string& name,
                                         double value);
    static void SetUserPropertyValueFrom(TKovMaterialX& material, const std::string& name,
                                         const TVarRec& value);
    // Writes a stored value; the setters of derived properties use it.
    static void SetInternalPropertyValueFrom(TKovMaterialX& material, const std::string& name,
                                             double value);
    static void SetInternalBooleanFrom(TKovMaterialX& material, const std::string& name,
                                       bool value);
    // Writes a boxed value into any property of the plain kinds; raises "Property \"%s\" cannot
    // set from a general TValue because the type kind is not supported (%d)." otherwise.
    static void SetPropertyFromVarRec(TKovIntrinsicProperty& property, const TVarRec& value);
    // As above; false (and nothing written) for a property the value doesn't fit.
    static bool TrySetPropertyFromVarRec(TKovIntrinsicProperty& property, const TVarRec& value);
    // Writes numbers row by row into a table (base units); a count that is not whole rows raises
    // "Invalid table, number of values not a multiple of the column count \"%d\"", a property
    // of another kind "Property \"%s\" cannot set from an array of this kind because the type
    // kind is not supported (%s).", and nothing is written.
    static void SetPropertyFromArray(TKovIntrinsicProperty& property,
                                     const std::vector<double>& values);
    // Writes the value of `source` into the property of the same name of `material` (user
    // first, then internal); raises "Unable to apply the intrinsic property of type %s to the
    // material" when there is none of a fitting kind.
    static void ApplyIntrinsicPropertyToMaterial(TKovMaterialX& material,
                                                 const TKovIntrinsicProperty& source);

    // The collection of a class in the material's trees, or nullptr.
    static TMXPropertyCollection*
    GetPropertyCollectionByType(const TKovMaterialX& material,
                                const TMXPropertyCollectionClass& cls);
    // The index of a property, or of a property known by one of its aliases, in a collection;
    // -1 for none.
    static int FindPositionOfIntrinsicPropertyOrAlias(const TMXPropertyCollection& collection,
                                                      const std::string& name);

    static void
    EnumerateUserProperties(const TKovMaterialX& material,
                            const std::function<void(TKovIntrinsicProperty&)>& callback);
    static void
    EnumerateInternalProperties(const TKovMaterialX& material,
                                const std::function<void(TKovIntrinsicProperty&)>& callback);
    static void EnumerateUserPropertiesInCollection(
        const TMXPropertyCollection& collection,
        const std::function<void(TKovIntrinsicProperty&)>& callback);
    // Every collection of the trees, depth-first from the top collections.
    static void
    EnumeratePropertyCollections(const TKovMaterialX& material,
                                 const std::function<void(TMXPropertyCollection&)>& callback);
    // The groups of the material's model.
    static void
    EnumerateDependentAPGs(const TKovMaterialX& material,
                           const std::function<void(const TMXAssociatedParameterGroup&)>& callback);
    // True when neither the derived collection nor any below it holds a group property.
    static bool IsDerivedPropertyCollectionEmpty(const TMXPropertyCollection& collection);

    // A guarded division: "Calculation failed due to division by zero." for a divisor within
    // 1e-12 of 0.
    static double Divide(double numerator, double denominator);
};

// The property cache of the configuration update: while caching is on (a counted switch; the
// last disable clears), look-ups by name go through two maps per material (internal and user).
// Guarded by a lock: tests may evaluate materials off the main thread.
class TMaterialXIPCache {
public:
    static void EnableCaching();
    static void DisableCaching();
    static bool IsCaching();
    static TKovIntrinsicProperty* TryGetCachedProperty(const TKovMaterialX& material, bool user,
                                                       const std::string& name, bool& found);
    static void CacheProperty(const TKovMaterialX& material, bool user, const std::string& name,
                              TKovIntrinsicProperty* property);
    // Forgets what is cached for a material (its structure changed).
    static void UpdateCacheFor(const TKovMaterialX& material);
};

class TMaterialXIPConfigurator {
public:
    // Applies visibility, mutability and valid enumeration values of every configuration
    // function of the material's groups, as one update of the material. An enumeration whose
    // value is no longer valid takes the first valid one.
    static void UpdateMaterialXIPConfigurations(TKovMaterialX& material);

private:
    // One pass over the functions; true when an enumeration's value was replaced.
    static bool ConfigureOnce(TKovMaterialX& material);
};

// A directed graph of names with a deterministic flattening.
class TNameGraph {
public:
    struct TNode {
        std::string Name;
    };
    using TComparer = std::function<bool(const std::string&, const std::string&)>;

    TNameGraph() = default;
    TNameGraph(const TNameGraph&) = delete;
    TNameGraph& operator=(const TNameGraph&) = delete;

    TNode& AddNode(const std::string& name);
    // Adds both ends as nodes where needed; an edge already there changes nothing.
    void AddEdge(const std::string& from, const std::string& to);
    void RemoveEdge(const std::string& from, const std::string& to);
    bool HasNode(const std::string& name) const { return FNodes.count(name) != 0; }
    bool HasEdge(const std::string& from, const std::string& to) const;
    void CreateNodesFromSet(const std::set<std::string>& names);
    // The names of the nodes.
    std::set<std::string> CreateNodesToSet() const;
    size_t NodeCount() const { return FNodes.size(); }
    size_t EdgeCount() const { return FEdges.size(); }
    // The graph as DOT text.
    std::string SaveAsDOT() const;
    // Every name once, each after the names with edges to it: components in the order of their
    // first name, each in layers of sorted names. More than 250 layers in a component raise
    // EMaterialXIPDependencyEvaluatorException ("Cycle detected in MaterialX dependencies.").
    std::vector<std::string> Flattened(const TComparer& less = nullptr) const;

private:
    std::map<std::string, TNode> FNodes;
    std::set<std::pair<std::string, std::string>> FEdges;
    std::map<std::string, std::map<std::string, bool>> FEdgesFrom, FEdgesTo;
};

class TMaterialXIPDependencyEvaluator {
public:
    // The user property names of the material, each after the properties it reads; cached per
    // model shape (root class and structural values).
    static void
    EnumerateDependencyOrderedMaterialProperties(const TKovMaterialX& material,
                                                 const std::function<void(const std::string&)>& cb);
    static std::vector<std::string>
    DependencyOrderedMaterialProperties(const TKovMaterialX& material);
    // The key of the order cache.
    static std::string DependencyKeyOf(const TKovMaterialX& material);
    // Whether the order of that key is cached (tests).
    static bool IsDependencyOrderCached(const std::string& key);
    // The properties whose change can change `name`, by the Set and Get relations.
    static std::vector<std::string>
    GetIPModifierListForIntrinsicProperty(const TKovMaterialX& material, const std::string& name);
    // The property itself first if it is a user property, then the user properties of the list.
    static std::vector<std::string>
    GetUserIPModifierListForIntrinsicProperty(const TKovMaterialX& material,
                                              const std::string& name);
    static void ClearCaches();
};

} // namespace tw
