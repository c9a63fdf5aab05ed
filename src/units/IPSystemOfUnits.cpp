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

namespace {
const TDerivedAccessors<const TSystemOfUnits*>* AccessorsOf(const TKovIntrinsicProperty& p) {
    return dynamic_cast<const TDerivedAccessors<const TSystemOfUnits*>*>(p.Declaration());
}
} // namespace

const TSystemOfUnits& TIPSystemOfUnits_DerivedExternal::Value() const {
    const auto* accessors = AccessorsOf(*this);
    const TSystemOfUnits* units =
        accessors && accessors->HasGetter() && Owner() ? (*accessors->Getter)(*this) : nullptr;
    return units ? *units : *_FValue; // no owner's system: a fresh one
}

bool TIPSystemOfUnits_DerivedExternal::HasSetter() const {
    const auto* accessors = AccessorsOf(*this);
    return accessors && accessors->HasSetter();
}

void TIPSystemOfUnits_DerivedExternal::SetValue(const TSystemOfUnits& units) {
    const auto* accessors = AccessorsOf(*this);
    if (!accessors || !accessors->HasSetter() || !Owner())
        throw EIntrinsicPropertyAssignError(
            Format("Property %s is derived and has no setter", Name()));
    CheckOwnerWritable();
    FInitialized = true;
    CommitDerivedChange([&] { return UnitsText(units); },
                        [&] { (*accessors->Setter)(*this, &units); });
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
