#pragma once
// Derived kinds: the value is computed by the owner through the declaration's accessors
// (TDerivedAccessors). A write runs the kind's own checks, backs up the owner (the state of a
// derived value lives there), calls the setter and notifies; a derived property without setter is
// read-only. One template serves every value kind; each derived class only names itself.

#include "objects/IntrinsicPropertyKinds.h"
#include "objects/IntrinsicPropertyValueKinds.h"

#include <memory>
#include <string>

namespace tw {

// Makes or refreshes the plain twin of a derived property with its current value.
TKovIntrinsicProperty* RefreshStaticEquivalent(const TKovIntrinsicProperty& derived,
                                               std::unique_ptr<TKovIntrinsicProperty>& twin);

// The derived form of the value kind `Plain`.
template <typename Plain> class TIPDerivedExternal : public Plain {
public:
    using V = typename Plain::TValue;
    using Plain::Plain;

    V Value() const override { return this->template DerivedValue<V>(); }
    void SetValue(typename Plain::TParam value) override {
        V accepted(value);
        if (!this->Accept(accepted))
            return;
        this->template WriteDerived<V>(accepted, [&] { return this->CaptionText(accepted); });
    }
    bool IsDerived() const override { return true; }
    bool HasSetter() const { return this->template DerivedHasSetter<V>(); }
    TKovIntrinsicProperty* GetStaticEquivalent() const override {
        return RefreshStaticEquivalent(*this, FStatic);
    }

private:
    mutable std::unique_ptr<TKovIntrinsicProperty> FStatic;
};

#define TW_DERIVED_KIND(Class, Plain)                                                              \
    class Class : public TIPDerivedExternal<Plain> {                                               \
        TW_KOV_CLASS(Class, TIPDerivedExternal<Plain>)                                             \
    public:                                                                                        \
        using TIPDerivedExternal<Plain>::TIPDerivedExternal;                                       \
    };

TW_DERIVED_KIND(TIPBoolean_DerivedExternal, TIPBoolean)
TW_DERIVED_KIND(TIPInteger_DerivedExternal, TIPInteger)
TW_DERIVED_KIND(TIPDouble_DerivedExternal, TIPDouble)
TW_DERIVED_KIND(TIPDoubleWithUnit_DerivedExternal, TIPDoubleWithUnit)
TW_DERIVED_KIND(TIPText_DerivedExternal, TIPText)
TW_DERIVED_KIND(TIPEnumeration_DerivedExternal, TIPEnumeration)
TW_DERIVED_KIND(TIPKovObject_DerivedExternal, TIPKovObject)
TW_DERIVED_KIND(TIPLargeText_DerivedExternal, TIPLargeText)
TW_DERIVED_KIND(TIPIdentification_DerivedExternal, TIPIdentification)
TW_DERIVED_KIND(TIPColor_DerivedExternal, TIPColor)
TW_DERIVED_KIND(TIPUserDefinedParameter_DerivedExternal, TIPUserDefinedParameter)
#undef TW_DERIVED_KIND

// The declarations of the derived kinds, by the names the rest of the system uses.
using TIPBoolean_DerivedExternalDeclaration =
    TDerivedDeclaration<bool, TKovIntrinsicPropertyDeclaration>;
using TIPInteger_DerivedExternalDeclaration = TDerivedDeclaration<int32_t, TIPIntegerDeclaration>;
using TIPDouble_DerivedExternalDeclaration = TDerivedDeclaration<double, TIPDoubleDeclaration>;
using TIPDoubleWithUnit_DerivedExternalDeclaration =
    TDerivedDeclaration<double, TIPDoubleWithUnitDeclaration>;
using TIPText_DerivedExternalDeclaration =
    TDerivedDeclaration<std::string, TKovIntrinsicPropertyDeclaration>;
using TIPEnumeration_DerivedExternalDeclaration =
    TDerivedDeclaration<int, TIPEnumerationDeclaration>;
using TIPKovObject_DerivedExternalDeclaration =
    TDerivedDeclaration<TKovObject*, TKovIntrinsicPropertyDeclaration>;
using TIPLargeText_DerivedExternalDeclaration =
    TDerivedDeclaration<std::string, TKovIntrinsicPropertyDeclaration>;
using TIPIdentification_DerivedExternalDeclaration =
    TDerivedDeclaration<std::string, TKovIntrinsicPropertyDeclaration>;
using TIPColor_DerivedExternalDeclaration = TDerivedDeclaration<int32_t, TIPIntegerDeclaration>;
using TIPUserDefinedParameter_DerivedExternalDeclaration =
    TDerivedDeclaration<double, TIPUserDefinedParameterDeclaration>;

TIPUserDefinedParameter_DerivedExternalDeclaration&
AddDerivedUserDefinedParameter(TKovIntrinsicPropertyDeclarationList& list, const std::string& name,
                               TQuantityType quantity, TDerivedAccessors<double> accessors,
                               TKovIntrinsicPropertyConfig config = 0,
                               const std::string& caption = "", double min = 0, double max = 0);

} // namespace tw
