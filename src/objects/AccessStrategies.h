#pragma once
// How the user-facing layers (editors, commands, the application server) read and write a
// property. A strategy is made for one property; the default one works through the property's
// tagged records and typed setters, and is what every lab test uses.

#include "objects/IntrinsicProperty.h"

namespace tw {

class TAccessStrategyIP_Virtual {
public:
    explicit TAccessStrategyIP_Virtual(TKovIntrinsicProperty& property) : FProperty(property) {}
    virtual ~TAccessStrategyIP_Virtual() = default;

    TKovIntrinsicProperty& Property() const { return FProperty; }
    virtual bool GetIsValidForReading() const = 0;
    virtual bool GetIsValidForWriting() const = 0;
    virtual bool GetChildrenArePublished() const = 0;
    // The value as a command would write it: texts quoted, numbers with ".".
    virtual std::string GetAsCommandParam() const = 0;
    // True when the strategy stands for several objects whose values differ.
    virtual bool HasVariousValues() const { return false; }
    virtual bool IsInStagedMode() const { return false; }
    // Readable, writable, and not a mix of values.
    bool AllowEdit() const {
        return GetIsValidForReading() && GetIsValidForWriting() && !HasVariousValues();
    }

private:
    TKovIntrinsicProperty& FProperty;
};

// The answers for a single object: readable when published, writable unless read-only (which
// includes the owner refusing modification), children published with the property.
class TAccessStrategyIP_Base : public TAccessStrategyIP_Virtual {
public:
    using TAccessStrategyIP_Virtual::TAccessStrategyIP_Virtual;
    bool GetIsValidForReading() const override;
    bool GetIsValidForWriting() const override;
    bool GetChildrenArePublished() const override;
    std::string GetAsCommandParam() const override;
};

class TASIP_Default : public TAccessStrategyIP_Base {
public:
    using TAccessStrategyIP_Base::TAccessStrategyIP_Base;
    static std::unique_ptr<TAccessStrategyIP_Virtual> Create(TKovIntrinsicProperty& property) {
        return std::make_unique<TASIP_Default>(property);
    }

    // -1, 0 or 1 as the property's value compares to `value`.
    int CompareValue(const TVarRec& value) const;
    TVarRec GetValue() const;
    // "True"/"False" for a boolean, the name or "<not assigned>" for an object, the declared
    // string for an enumeration, numbers with ".".
    std::string GetValueText() const;
    // Writes through the typed setter of the property's kind: a boolean, an integer or an index,
    // a number, a text (an enumeration takes its string, a number parses it), or an object.
    void SetValue(const TVarRec& value);

protected:
    // Raises "<class>.DoGetValue called with wrong var type" for a record the kind can't take.
    [[noreturn]] void WrongVarType() const;
};

} // namespace tw
