#pragma once
// The name of an intrinsic property together with its kind. Code that reaches a property by name
// does it through such a constant, declared once for the classes that declare the property and
// used by the declaration too, so that a misspelt name or a wrong kind fails to compile:
//
//     inline constexpr TPropertyName<TIPDouble> K0{"K0"};
//     list.AddDouble(ip::K0.Name, ...);
//     Property(ip::K0).SetValue(1.0);
//     if (ip::K0.Is(property)) ...

namespace tw {

template <typename P> struct TPropertyName {
    using TProperty = P;
    const char* Name;

    // Whether `property` is the property of this name (as declared, not cleaned: the declaration
    // uses this constant).
    template <typename Property> bool Is(const Property& property) const {
        return property.HasName(Name);
    }
};

} // namespace tw
