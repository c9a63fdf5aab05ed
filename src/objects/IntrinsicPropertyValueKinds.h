#pragma once
// The value kinds of intrinsic property: boolean, integer, number, number with unit, text,
// enumeration and object reference. What they share is written once, in TIPValueKind; each kind
// states only what differs.

#include "objects/IntrinsicProperty.h"

#include <cstdint>
#include <memory>
#include <string>
#include <type_traits>
#include <variant>
#include <vector>

namespace tw {

// The behaviour every value kind shares: the write path, the value as a record, the comparison
// of two properties, and the copy that assignment and undo make. `Kind` is the kind itself, `V`
// the type of its value, `S` the type it stores (a reference stores a GUID, not the object).
//
// A kind states what differs by declaring any of these (the defaults below serve otherwise):
//   bool Accept(V& value)                   limits or cleans a value about to be written; false
//                                           ignores the write; raises for a value it refuses
//   S ToStored(const V& value)              what a written value is stored as
//   static bool Same(const S&, const S&)    equal values make a write no change
//   static bool Equivalent(const V&, const V&)  two properties hold the same value
//   std::string CaptionText(const V&)       the value in the caption of the undo step
//   bool FromRecord(const TVarRec&, V&)     a record as a value; false for a record of another type
//   TVarRec ToRecord(const V&)              the value as a record
//   S StoredValueOf(const Kind& source)     what an assignment copies from `source`
//   void AssignKindState(const Kind& source) further state of the kind that an assignment copies
//
// Value() and SetValue() are virtual: the derived kinds (IntrinsicPropertyDerivedKinds.h) and a
// few special kinds read and write elsewhere, and every shared operation goes through them.
template <typename Kind, typename V, typename S = V>
class TIPValueKind : public TKovIntrinsicProperty {
public:
    using TValue = V;
    using TParam = std::conditional_t<std::is_scalar_v<V>, V, const V&>;

    using TKovIntrinsicProperty::TKovIntrinsicProperty;
    explicit TIPValueKind(TForRevert tag) : TKovIntrinsicProperty(tag) {}

    // A kind that stores another type than it reads (a reference) overrides Value().
    virtual V Value() const {
        if constexpr (std::is_same_v<V, S>)
            return FValue;
        else
            return V{};
    }
    virtual void SetValue(TParam value) { Write(V(value)); }

    bool SaveValue(TVarRec& record) const override {
        record = Self().ToRecord(Self().Value());
        return true;
    }
    bool LoadValue(const TVarRec& record) override {
        V value{};
        if (!Self().FromRecord(record, value))
            return false;
        Self().SetValue(value);
        return true;
    }
    bool HasSameValueAs(const TKovIntrinsicProperty& other) const override {
        const auto* o = dynamic_cast<const Kind*>(&other);
        return o && Kind::Equivalent(o->Value(), Self().Value());
    }

protected:
    // The write path of the kind: steps 1 to 8 for a value as the user gives it.
    void Write(V value) {
        CheckOwnerWritable();
        FInitialized = true;
        if (!Self().Accept(value))
            return;
        S stored = Self().ToStored(value);
        if (Kind::Same(stored, FValue))
            return;
        CommitChange([&] { return Self().CaptionText(value); },
                     [&] { FValue = std::move(stored); });
    }

    void AssignEssentialState(const TKovObject& source) override {
        const auto& s = dynamic_cast<const Kind&>(source);
        FInitialized = s.FInitialized;
        Self().AssignKindState(s);
        S value = Self().StoredValueOf(s);
        if (!Kind::Same(value, FValue)) {
            FValue = std::move(value);
            Changed();
        }
    }
    void SetDefault() override {
        V value{};
        Self().Accept(value);
        FValue = Self().ToStored(value);
    }

    // The defaults of the hooks.
    bool Accept(V&) const { return true; }
    S ToStored(const V& value) const { return value; }
    static bool Same(const S& a, const S& b) { return a == b; }
    static bool Equivalent(const V& a, const V& b) { return a == b; }
    bool FromRecord(const TVarRec& record, V& value) const {
        if (const V* v = std::get_if<V>(&record)) {
            value = *v;
            return true;
        }
        return false;
    }
    TVarRec ToRecord(const V& value) const { return value; }
    S StoredValueOf(const Kind& source) const { return source.Value(); }
    void AssignKindState(const Kind&) {}

    S FValue{};

private:
    const Kind& Self() const { return static_cast<const Kind&>(*this); }
    Kind& Self() { return static_cast<Kind&>(*this); }
};

// ---------------------------------------------------------------------------------------------

class TIPBoolean;
using TIPBooleanKind = TIPValueKind<TIPBoolean, bool>;

class TIPBoolean : public TIPBooleanKind {
    TW_KOV_CLASS(TIPBoolean, TIPBooleanKind)
    friend TIPBooleanKind;

public:
    using TIPBooleanKind::TIPBooleanKind;
    std::string GetObjectTypeName() const override { return "Boolean"; }
    // With true disabled the value reads false; with false disabled (and true not), true.
    bool Value() const override;
    bool TrueDisabled() const { return FTrueDisabled; }
    bool FalseDisabled() const { return FFalseDisabled; }
    void SetTrueDisabled(bool disabled) { FTrueDisabled = disabled; }
    void SetFalseDisabled(bool disabled) { FFalseDisabled = disabled; }
    bool IsEditable() const { return !FTrueDisabled && !FFalseDisabled; }
    std::string ValueAsText() const override { return CaptionText(Value()); }

protected:
    // A write of a disabled value is ignored.
    bool Accept(bool& value) const {
        return !((value && FTrueDisabled) || (!value && FFalseDisabled));
    }
    std::string CaptionText(bool value) const { return value ? "True" : "False"; }
    // The stored value, not the one the disabled flags make of it.
    bool StoredValueOf(const TIPBoolean& source) const {
        return source.IsDerived() ? source.Value() : source.FValue;
    }
    void AssignKindState(const TIPBoolean& source) {
        FTrueDisabled = source.FTrueDisabled;
        FFalseDisabled = source.FFalseDisabled;
    }
    void SetDefault() override { FValue = false; }

private:
    bool FTrueDisabled = false;
    bool FFalseDisabled = false;
};

class TIPInteger;
using TIPIntegerKind = TIPValueKind<TIPInteger, int32_t>;

class TIPInteger : public TIPIntegerKind {
    TW_KOV_CLASS(TIPInteger, TIPIntegerKind)
    friend TIPIntegerKind;

public:
    using TIPIntegerKind::TIPIntegerKind;
    std::string GetObjectTypeName() const override { return "Integer"; }
    int32_t MinValue() const;
    int32_t MaxValue() const;
    std::string ValueAsText() const override { return std::to_string(Value()); }

protected:
    int32_t Limit(int32_t value) const;
    bool Accept(int32_t& value) const {
        value = Limit(value);
        return true;
    }
    std::string CaptionText(int32_t value) const { return std::to_string(value); }
};

class TIPDouble;
using TIPDoubleKind = TIPValueKind<TIPDouble, double>;

class TIPDouble : public TIPDoubleKind {
    TW_KOV_CLASS(TIPDouble, TIPDoubleKind)
    friend TIPDoubleKind;

public:
    using TIPDoubleKind::TIPDoubleKind;
    std::string GetObjectTypeName() const override { return "Number"; }
    double MinValue() const;
    double MaxValue() const;
    double Limit(double value) const;
    std::string ValueAsText() const override;
    // The limits of the value: the declaration's, unless a kind takes them from elsewhere (a
    // material's proxied attributes); nullptr for none.
    virtual const TLimits<double>* NumberLimits() const;

protected:
    bool Accept(double& value) const {
        value = Limit(value);
        return true;
    }
    // Numbers are compared by their bytes: 0.0 and -0.0 differ, and a NaN written over a NaN
    // changes nothing.
    static bool Same(double a, double b);
    // Within 1e-12, absolute.
    static bool Equivalent(double a, double b);
    // An integer record is read as a number too.
    bool FromRecord(const TVarRec& record, double& value) const;
    std::string CaptionText(double value) const;
};

class TIPDoubleWithUnit : public TIPDouble {
    TW_KOV_CLASS(TIPDoubleWithUnit, TIPDouble)
public:
    using TIPDouble::TIPDouble;
    std::string GetObjectTypeName() const override { return "NumberWithUnit"; }
    // The declaration's, unless a kind takes it from elsewhere.
    virtual TQuantityType QuantityType() const;
    // The value in the presentation unit of `presenter`; the stored value without one.
    double GetPresentationValue(const IQuantityPresenter* presenter) const;
    // Writes a value given in the presentation unit of `presenter`.
    void SetPresentationValue(const IQuantityPresenter* presenter, double value);
};

class TIPText;
using TIPTextKind = TIPValueKind<TIPText, std::string>;

class TIPText : public TIPTextKind {
    TW_KOV_CLASS(TIPText, TIPTextKind)
    friend TIPTextKind;

public:
    using TIPTextKind::TIPTextKind;
    std::string GetObjectTypeName() const override { return "Text"; }
    // Trims blanks at both ends, turns each CR LF into one blank and every other control
    // character into a blank.
    virtual std::string CleanText(const std::string& text) const;
    bool IsEmpty() const override { return Value().empty(); }
    std::string ValueAsText() const override { return Value(); }

protected:
    bool Accept(std::string& value) const {
        value = CleanText(value);
        return true;
    }
    // A record of another type is a fault of the caller, not a value to skip.
    bool FromRecord(const TVarRec& record, std::string& value) const;
    // The value as the undo caption shows it.
    virtual std::string CaptionText(const std::string& value) const { return value; }
};

// Text kinds with their own type names or cleaning.
class TIPLargeText : public TIPText {
    TW_KOV_CLASS(TIPLargeText, TIPText)
public:
    using TIPText::TIPText;
    std::string GetObjectTypeName() const override { return "LargeText"; }
};

class TIPFreeText : public TIPLargeText {
    TW_KOV_CLASS(TIPFreeText, TIPLargeText)
public:
    using TIPLargeText::TIPLargeText;
    std::string GetObjectTypeName() const override { return "FreeText"; }
    std::string CleanText(const std::string& text) const override { return text; }
};

// The object's name as a property: reads and writes the owner's name, and notifies the owner's
// observers when the name changed.
class TIPName : public TIPText {
    TW_KOV_CLASS(TIPName, TIPText)
public:
    using TIPText::TIPText;
    std::string Value() const override;
    void SetValue(const std::string& value) override;
    bool IsDerived() const override { return true; }
};

class TIPEnumeration;
using TIPEnumerationKind = TIPValueKind<TIPEnumeration, int>;

// The value is the index of one of the declaration's strings.
class TIPEnumeration : public TIPEnumerationKind {
    TW_KOV_CLASS(TIPEnumeration, TIPEnumerationKind)
    friend TIPEnumerationKind;

public:
    using TIPEnumerationKind::TIPEnumerationKind;
    std::string GetObjectTypeName() const override { return "Enumeration"; }
    const TIPEnumerationDeclaration& EnumerationDeclaration() const;

    int IntValue() const { return Value(); }
    void SetIntValue(int value) { SetValue(value); }
    // Sets by text: an ordinal, or a value compared in compact form (legacy names mapped first).
    void SetStrValue(const std::string& value);
    std::string StrValueCompact() const;
    std::string StrValueOriginal() const;
    std::string ValueCaption() const;
    // The index a text stands for, or -1. With `forUser`, a disabled value counts as no match.
    int GetStrValueAsIndexIfValid(const std::string& value, bool forUser = false) const;
    // All enabled compact strings, each in double quotes, joined by ", ".
    std::string AllowedStringValues() const;
    int Count() const { return EnumerationDeclaration().Count(); }
    // Sets without telling the owner.
    void SetValueWithoutNotification(int value);

    // Visibility of values; each change is an undo step and must run inside a snapshot.
    bool IsDisabled(int value) const;
    void DisableIntValue(int value);
    void EnableIntValue(int value);
    void EnableAllValues();
    void DisableAllValues();
    void EnableValuesExclusively(const std::vector<int>& values);

    std::string ValueAsText() const override { return StrValueOriginal(); }

protected:
    // Raises for an index out of range, and for a disabled one unless undo or a load writes it.
    bool Accept(int& value) const;
    // An ordinal, or the text of a value.
    bool FromRecord(const TVarRec& record, int& value) const;
    std::string CaptionText(int value) const;
    void AssignKindState(const TIPEnumeration& source);

private:
    void ChangeDisabled(const std::function<void()>& change);

    std::unique_ptr<std::vector<bool>> FDisabledIntValues; // made on first use
};

// An enumeration whose value is of the C++ enumerated type E.
template <typename E> class TIPEnumerationTyped : public TIPEnumeration {
public:
    using TIPEnumeration::TIPEnumeration;
    E TypedValue() const { return static_cast<E>(IntValue()); }
    void SetTypedValue(E value) { SetIntValue(static_cast<int>(value)); }
};

class TIPKovObject;
using TIPKovObjectKind = TIPValueKind<TIPKovObject, TKovObject*, TUniqueID>;

// A reference to another object, stored as its GUID. Reading resolves the GUID through the
// owner's register and answers nothing for a target that is unknown, freed or being destroyed.
class TIPKovObject : public TIPKovObjectKind {
    TW_KOV_CLASS(TIPKovObject, TIPKovObjectKind)
    friend TIPKovObjectKind;

public:
    using TIPKovObjectKind::TIPKovObjectKind;
    std::string GetObjectTypeName() const override { return "Object"; }
    TKovObject* Value() const override;
    const TUniqueID& ObjectID() const { return FValue; }
    // Sets the GUID as read from a file; it resolves once its target is registered.
    void SetObjectID(const TUniqueID& id);
    virtual bool IsCompatibleValue(const TKovObject* object) const;

    bool IsEmpty() const override { return FValue.IsEmpty(); }
    std::string ValueAsText() const override;

protected:
    // Raises for an object of a class the declaration doesn't take.
    bool Accept(TKovObject*& object) const;
    TUniqueID ToStored(TKovObject* object) const { return GetGUIDOrEmptyGUID(object); }
    std::string CaptionText(TKovObject* object) const;
    TUniqueID StoredValueOf(const TIPKovObject& source) const {
        return source.IsDerived() ? GetGUIDOrEmptyGUID(source.Value()) : source.FValue;
    }
    void SetDefault() override { FValue = TUniqueID::Empty(); }
};

} // namespace tw
