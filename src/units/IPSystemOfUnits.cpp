#include "units/IPSystemOfUnits.h"

namespace tw {

TW_KOV_CLASS_IMPL(TIPSystemOfUnits, TKovIntrinsicProperty, nullptr)

namespace {
std::string UnitsText(const TSystemOfUnits& units) {
    return units.Force.PresentationUnit() + ", " + units.Length.PresentationUnit() + ", " +
           units.Time.PresentationUnit();
}
} // namespace

void TIPSystemOfUnits::SetValue(const TSystemOfUnits& units) {
    CheckOwnerWritable();
    FInitialized = true;
    if (_FValue->IsEqualTo(units))
        return;
    CommitChange([&] { return UnitsText(units); }, [&] { _FValue->CopyUnitsFrom(units); });
}

bool TIPSystemOfUnits::HasSameValueAs(const TKovIntrinsicProperty& other) const {
    const auto* o = dynamic_cast<const TIPSystemOfUnits*>(&other);
    return o && o->Value().IsEqualTo(Value());
}

std::string TIPSystemOfUnits::ValueAsText() const {
    return UnitsText(Value());
}

void TIPSystemOfUnits::AssignEssentialState(const TKovObject& source) {
    const auto& s = dynamic_cast<const TIPSystemOfUnits&>(source);
    FInitialized = s.FInitialized;
    if (!_FValue->IsEqualTo(s.Value())) {
        _FValue->CopyUnitsFrom(s.Value());
        Changed();
    }
}

TW_KOV_CLASS_IMPL(TIPSystemOfUnits_DerivedExternal, TIPSystemOfUnits, nullptr)

const TSystemOfUnits& TIPSystemOfUnits_DerivedExternal::Value() const {
    const TSystemOfUnits* units = DerivedValue<const TSystemOfUnits*>();
    return units ? *units : *_FValue; // no owner's system: a fresh one
}

bool TIPSystemOfUnits_DerivedExternal::HasSetter() const {
    return DerivedHasSetter<const TSystemOfUnits*>();
}

void TIPSystemOfUnits_DerivedExternal::SetValue(const TSystemOfUnits& units) {
    WriteDerived<const TSystemOfUnits*>(&units, [&] { return UnitsText(units); });
}

TKovIntrinsicPropertyDeclaration& AddSystemOfUnits(TKovIntrinsicPropertyDeclarationList& list,
                                                   const std::string& name,
                                                   TKovIntrinsicPropertyConfig config,
                                                   const std::string& caption) {
    return list.AddOfKind<TIPSystemOfUnits>(name, config, caption);
}

TKovIntrinsicPropertyDeclaration&
AddDerivedSystemOfUnits(TKovIntrinsicPropertyDeclarationList& list, const std::string& name,
                        TDerivedAccessors<const TSystemOfUnits*> accessors,
                        TKovIntrinsicPropertyConfig config, const std::string& caption) {
    return list.AddDerived<TIPSystemOfUnits_DerivedExternal, TIPSystemOfUnits>(
        name, std::move(accessors), config, caption);
}

} // namespace tw
