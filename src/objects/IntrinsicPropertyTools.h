#pragma once
// Generic tools on property values: their place in the owner, the root of an object, values as a
// general value (which, unlike the tagged record, holds arrays, so tables fit), and comparisons.

#include "objects/IntrinsicProperty.h"

#include <cstdint>
#include <functional>
#include <variant>
#include <vector>

namespace tw {

// A general value: nothing, a boolean, an integer, a number, a text, an object or an array.
struct TValue {
    using TArray = std::vector<TValue>;
    std::variant<std::monostate, bool, int64_t, double, std::string, TKovObject*, TArray> Data;

    TValue() = default;
    template <typename T>
    requires(!std::is_same_v<std::decay_t<T>, TValue>) TValue(T value) : Data(std::move(value)) {}
    TValue(int32_t value) : Data(int64_t(value)) {}
    TValue(const char* value) : Data(std::string(value)) {}

    bool IsEmpty() const { return std::holds_alternative<std::monostate>(Data); }
    bool IsArray() const { return std::holds_alternative<TArray>(Data); }
    template <typename T> const T& As() const { return std::get<T>(Data); }
};

class TIntrinsicPropertyTools {
public:
    using TGetter = std::function<TValue(const TKovIntrinsicProperty&)>;

    // The index of the property in its owner's list, -1 without owner.
    static int GetIndexInOwner(const TKovIntrinsicProperty& property);
    // Walks up from an object: a property to its owner, a parentable object to its parent, a
    // referenceable one to its owner; answers the last object reached.
    static TKovObject* GetRootObject(TKovObject* object);
    // The value through the getter registered for the property's class or its nearest ancestor.
    static TValue GetValueAsTValue(const TKovIntrinsicProperty& property);
    // The value a fresh property of the same declaration has.
    static TValue GetDefaultValueAsTValue(const TKovIntrinsicProperty& property);
    // Registers `getter` for each class (replacing an earlier one). The framework's kinds are
    // registered on first use.
    static void RegisterTValueGetterFunctionForClasses(const std::vector<const TKovClass*>& classes,
                                                       TGetter getter);
    // Raises "Type mismatch between IP values" for different kinds; else compares the records.
    static int CompareIPValue(const TKovIntrinsicProperty& a, const TKovIntrinsicProperty& b);
    static void AppendIPValueToVarRecArray(const TKovIntrinsicProperty& property,
                                           std::vector<TVarRec>& array);
    // -1, 0 or 1. Numbers of either type compare as numbers; arrays element by element, then by
    // length; raises when an array meets a non-array. Values of different kinds order by kind.
    static int CompareTValues(const TValue& a, const TValue& b);
};

} // namespace tw
