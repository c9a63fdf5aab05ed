#pragma once
// A system of units as an intrinsic property: a material list or a file that carries its own
// presentation units holds them here, so they are copied, compared, saved and undone like any
// other value. The property owns its copy; writing copies the presentation texts in.

#include "objects/IntrinsicPropertyDeclarationList.h"
#include "objects/IntrinsicPropertyDerivedKinds.h"
#include "units/SystemOfUnits.h"

#include <memory>

namespace tw {

class TIPSystemOfUnits : public TKovIntrinsicProperty {
    TW_KOV_CLASS(TIPSystemOfUnits, TKovIntrinsicProperty)
public:
    using TKovIntrinsicProperty::TKovIntrinsicProperty;
    virtual const TSystemOfUnits& Value() const { return *_FValue; }
    // Takes the presentation units of `units`; equal units change nothing.
    virtual void SetValue(const TSystemOfUnits& units);

    bool HasSameValueAs(const TKovIntrinsicProperty& other) const override;
    // "kN, m, day": the force, length and time units.
    std::string ValueAsText() const override;

protected:
    // A fresh system: every unit in its base text.
    void SetDefault() override { _FValue = std::make_unique<TSystemOfUnits>(); }
    void AssignEssentialState(const TKovObject& source) override;

    std::unique_ptr<TSystemOfUnits> _FValue = std::make_unique<TSystemOfUnits>();
};

// The system of units of the owner, read and written through the declaration's accessors.
class TIPSystemOfUnits_DerivedExternal : public TIPSystemOfUnits {
    TW_KOV_CLASS(TIPSystemOfUnits_DerivedExternal, TIPSystemOfUnits)
public:
    using TIPSystemOfUnits::TIPSystemOfUnits;
    const TSystemOfUnits& Value() const override;
    void SetValue(const TSystemOfUnits& units) override;
    bool IsDerived() const override { return true; }
    bool HasSetter() const;
};

// Declares a system-of-units property; with accessors, the derived kind.
TKovIntrinsicPropertyDeclaration& AddSystemOfUnits(TKovIntrinsicPropertyDeclarationList& list,
                                                   const std::string& name,
                                                   TKovIntrinsicPropertyConfig config = 0,
                                                   const std::string& caption = "");
TKovIntrinsicPropertyDeclaration&
AddDerivedSystemOfUnits(TKovIntrinsicPropertyDeclarationList& list, const std::string& name,
                        TDerivedAccessors<const TSystemOfUnits*> accessors,
                        TKovIntrinsicPropertyConfig config = 0, const std::string& caption = "");

} // namespace tw
