#include "objects/IntrinsicPropertyDerivedKinds.h"

#include "objects/IntrinsicPropertyDeclarationList.h"

namespace tw {

TW_KOV_CLASS_IMPL(TIPBoolean_DerivedExternal, TIPDerivedExternal<TIPBoolean>, nullptr)
TW_KOV_CLASS_IMPL(TIPInteger_DerivedExternal, TIPDerivedExternal<TIPInteger>, nullptr)
TW_KOV_CLASS_IMPL(TIPDouble_DerivedExternal, TIPDerivedExternal<TIPDouble>, nullptr)
TW_KOV_CLASS_IMPL(TIPDoubleWithUnit_DerivedExternal, TIPDerivedExternal<TIPDoubleWithUnit>, nullptr)
TW_KOV_CLASS_IMPL(TIPText_DerivedExternal, TIPDerivedExternal<TIPText>, nullptr)
TW_KOV_CLASS_IMPL(TIPEnumeration_DerivedExternal, TIPDerivedExternal<TIPEnumeration>, nullptr)
TW_KOV_CLASS_IMPL(TIPKovObject_DerivedExternal, TIPDerivedExternal<TIPKovObject>, nullptr)
TW_KOV_CLASS_IMPL(TIPLargeText_DerivedExternal, TIPDerivedExternal<TIPLargeText>, nullptr)
TW_KOV_CLASS_IMPL(TIPIdentification_DerivedExternal, TIPDerivedExternal<TIPIdentification>, nullptr)
TW_KOV_CLASS_IMPL(TIPColor_DerivedExternal, TIPDerivedExternal<TIPColor>, nullptr)
TW_KOV_CLASS_IMPL(TIPUserDefinedParameter_DerivedExternal,
                  TIPDerivedExternal<TIPUserDefinedParameter>, nullptr)

TKovIntrinsicProperty* RefreshStaticEquivalent(const TKovIntrinsicProperty& derived,
                                               std::unique_ptr<TKovIntrinsicProperty>& twin) {
    const auto* declaration =
        dynamic_cast<const TKovIntrinsicProperty_DerivedExternalDeclaration_Abstract*>(
            derived.Declaration());
    if (!declaration)
        return const_cast<TKovIntrinsicProperty*>(&derived);
    if (!twin)
        twin.reset(declaration->MultiselectDeclaration().CreateInstanceOfProperty(nullptr));
    twin->AssignEssentialStateOnly_NoRevert(derived);
    twin->CopyConfigurationFrom(derived);
    return twin.get();
}

TIPUserDefinedParameter_DerivedExternalDeclaration&
AddDerivedUserDefinedParameter(TKovIntrinsicPropertyDeclarationList& list, const std::string& name,
                               TQuantityType quantity, TDerivedAccessors<double> accessors,
                               TKovIntrinsicPropertyConfig config, const std::string& caption,
                               double min, double max) {
    auto& declaration =
        list.AddDerived<TIPUserDefinedParameter_DerivedExternal, TIPUserDefinedParameter, double,
                        TIPUserDefinedParameterDeclaration>(name, std::move(accessors), config,
                                                            caption);
    declaration.Limits = {min, max};
    declaration.QuantityType = quantity;
    return declaration;
}

} // namespace tw
