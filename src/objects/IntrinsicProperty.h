#pragma once
// The intrinsic property: one typed, named, observable, undoable value owned by an observable
// object. Every write goes the same way: check the owner, mark the property initialised, apply the
// limit, stop on an equal value, back the property up in an undo snapshot, store, tell the owner,
// close the snapshot. The kinds of value are in IntrinsicPropertyValueKinds.h and
// IntrinsicPropertyKinds.h, the derived kinds in IntrinsicPropertyDerivedKinds.h.

#include "objects/IntrinsicPropertyDeclaration.h"
#include "objects/PropertyName.h"
#include "objects/RevertStacks.h"

#include <memory>
#include <string>
#include <type_traits>

namespace tw {

class TAccessStrategyIP_Virtual;
// How the user-facing layers read and write a property: a factory of the strategy object.
using TAccessStrategyIPClass =
    std::unique_ptr<TAccessStrategyIP_Virtual> (*)(TKovIntrinsicProperty& property);

class TKovIntrinsicProperty : public TKovObject {
    TW_KOV_CLASS(TKovIntrinsicProperty, TKovObject)
public:
    TKovIntrinsicProperty(TKovObservableObject* owner,
                          const TKovIntrinsicPropertyDeclaration* declaration);

    std::string Name() const override;
    std::string CleanName() const;
    // Whether the property is declared under exactly this name; no copy, no cleaning.
    bool HasName(const char* name) const {
        return FDeclaration && FDeclaration->OriginalName() == name;
    }
    std::string Caption() const override { return FCaption; }
    void SetCaption(const std::string& caption) { FCaption = caption; }
    std::string OwnerName() const;
    std::string GetObjectTypeName() const override { return "Property"; }

    TKovObservableObject* Owner() const { return FOwner; }
    const TKovIntrinsicPropertyDeclaration* Declaration() const { return FDeclaration; }

    // Advice to editors and commands; writes are not refused here.
    bool ReadOnly() const { return FReadOnly || !AllowModification(); }
    bool ReadOnly_Internal() const { return FReadOnly; }
    void SetReadOnly(bool readOnly);
    bool IsPublished() const { return FPublished; }
    bool NotPublished() const { return !FPublished; }
    void SetPublished(bool published);
    // Published, and read-only exactly when not.
    void SetPublishedAndEditable(bool flag);
    TKovIntrinsicPropertyConfig Configuration() const;
    bool DebugOnly() const { return DeclarationHas(ipkDebugOnly); }
    bool SupportsStages() const { return DeclarationHas(ipkStaged); }
    bool IsAdvanced() const { return DeclarationHas(ipkAdvanced); }
    bool IsAdvancedInStaged() const { return DeclarationHas(ipkAdvancedInStaged); }
    bool Initialized() const { return FInitialized; }
    virtual bool IsDerived() const { return false; }
    virtual bool AlternativesArePossible() const { return false; }
    // A plain property answers itself. A derived one answers a plain property of its declaration's
    // multi-select form holding the current value; it stays owned by the derived property and is
    // refreshed by each call.
    virtual TKovIntrinsicProperty* GetStaticEquivalent() const {
        return const_cast<TKovIntrinsicProperty*>(this);
    }

    // Empty by default: then the default strategy serves.
    TAccessStrategyIPClass AccessStrategyClass() const { return FAccessStrategyClass; }
    void SetAccessStrategyClass(TAccessStrategyIPClass strategyClass) {
        FAccessStrategyClass = strategyClass;
    }
    // A strategy of the property's class, or the default one.
    std::unique_ptr<TAccessStrategyIP_Virtual> CreateAccessStrategy();

    bool AllowModification(std::string* reason = nullptr) const override;
    bool RevertEnabled() const override;

    // Values as tagged records.
    virtual bool SaveValue(TVarRec& value) const;
    virtual bool LoadValue(const TVarRec& value);
    TVarRec GetValueRecord() const {
        TVarRec value;
        SaveValue(value);
        return value;
    }
    // Compares two records: numbers equal within 1e-30 absolute or 1e-15 relative; else 1 when
    // b > a, -1 otherwise. Records that are not numbers compare 0.
    virtual int CompareValues(const TVarRec& a, const TVarRec& b) const;
    int CompareValue(const TVarRec& value) const { return CompareValues(GetValueRecord(), value); }
    // Same kind (or a descendant), same value (numbers within 1e-12, absolute).
    virtual bool HasSameValueAs(const TKovIntrinsicProperty& other) const;
    virtual bool IsEmpty() const { return false; }
    // The value as text, for captions and messages.
    virtual std::string ValueAsText() const { return ""; }

    void BeginUpdate() { ++FLockLevel; }
    void EndUpdate();
    void EndUpdateNoNotification();

    // Copies value and state without recording undo and without notifying.
    void AssignEssentialStateOnly_NoRevert(const TKovIntrinsicProperty& source);
    // Copies the non-value state: read-only, published, caption, access strategy and initialised
    // state.
    void CopyConfigurationFrom(const TKovIntrinsicProperty& source);

    TKovObject* CreateBlankForRevert() const override;

    // Sets the default value, as at construction: no notification, no undo.
    void ResetToDefault();

protected:
    // The kind's default; called with FLocked set, inside an update that drops notifications.
    virtual void SetDefault() {}
    bool AssignsName() const override { return false; }
    bool UsesNameRegistry() const override { return false; }
    bool DeclarationHas(TKovIntrinsicPropertyKind kind) const {
        return FDeclaration && FDeclaration->Has(kind);
    }

    // Step 1 of a write: a permanently read-only owner refuses it.
    void CheckOwnerWritable() const;
    // Steps 5 to 8 of a write: back up, store, notify, close. `text` gives the new value as text
    // for the undo caption; it is asked only when undo is recorded.
    template <typename Text, typename Store> void CommitChange(Text&& text, Store&& store) {
        if (WillRecordUndo()) {
            TUndoSnapshot snapshot(*this, [&] { return WriteCaption(text()); });
            store();
            Changed();
        } else {
            store();
            Changed();
        }
    }
    // As CommitChange, but the owner is backed up (the state of a derived value lives there).
    template <typename Text, typename Store> void CommitDerivedChange(Text&& text, Store&& store);
    // The derived kinds: the value through the declaration's getter (the zero value without a
    // getter or owner), whether it has a setter, and the write through the setter after the
    // owner's checks, backing the owner up.
    template <typename V> V DerivedValue() const;
    template <typename V> bool DerivedHasSetter() const;
    template <typename V, typename Text> void WriteDerived(const V& value, Text&& text);
    std::string WriteCaption(const std::string& valueText) const;
    // Step 7: tell the owner now, or queue the notification during an update.
    void Changed();

    TAccessStrategyIPClass FAccessStrategyClass = nullptr;
    bool FReadOnly = false;
    bool FPublished = true;
    std::string FCaption;
    int FLockLevel = 0;
    TKovObservableObject* FOwner = nullptr;
    const TKovIntrinsicPropertyDeclaration* FDeclaration = nullptr;
    bool FInitialized = false;
    bool FNotificationsQueued = false;

    friend class TKovIntrinsicPropertyDeclaration;
    friend class TKovObservableObject;
};

template <typename Text, typename Store>
void TKovIntrinsicProperty::CommitDerivedChange(Text&& text, Store&& store) {
    if (FOwner && FOwner->WillRecordUndo()) {
        TUndoSnapshot snapshot(*FOwner, [&] { return WriteCaption(text()); });
        store();
        Changed();
    } else {
        store();
        Changed();
    }
}

template <typename V> V TKovIntrinsicProperty::DerivedValue() const {
    const auto* accessors = dynamic_cast<const TDerivedAccessors<V>*>(FDeclaration);
    return accessors && accessors->HasGetter() && FOwner ? (*accessors->Getter)(*this) : V{};
}

template <typename V> bool TKovIntrinsicProperty::DerivedHasSetter() const {
    const auto* accessors = dynamic_cast<const TDerivedAccessors<V>*>(FDeclaration);
    return accessors && accessors->HasSetter();
}

template <typename V, typename Text>
void TKovIntrinsicProperty::WriteDerived(const V& value, Text&& text) {
    const auto* accessors = dynamic_cast<const TDerivedAccessors<V>*>(FDeclaration);
    if (!accessors || !accessors->HasSetter() || !FOwner)
        throw EIntrinsicPropertyAssignError(
            Format("Property %s is derived and has no setter", Name()));
    CheckOwnerWritable();
    FInitialized = true;
    CommitDerivedChange(std::forward<Text>(text), [&] { (*accessors->Setter)(*this, value); });
}

// The accessors of a derived property that reads (and writes) through member functions of its
// owner, for the declaring helpers:
//
//     list.AddDerivedDoubleWithUnit(ip::CellPressure.Name, qtPressure,
//         ByOwner(&TQBTestTriaxialBase::CellPressure, &TQBTestTriaxialBase::SetCellPressure));
//
// `Owner` is the class that declares the property, or an interface it implements (a property of
// an owner that doesn't raises on access). `V` is the value type of the property when it differs
// from what the getter answers (an enumerated type read as an index).
template <typename Owner> Owner& OwnerOf(const TKovIntrinsicProperty& property) {
    if constexpr (std::is_base_of_v<TKovObservableObject, Owner>) {
        return static_cast<Owner&>(*property.Owner());
    } else {
        auto* owner = dynamic_cast<Owner*>(property.Owner());
        if (!owner)
            throw EIntrinsicPropertyException(
                Format("The owner of %s doesn't serve this property", property.Name()));
        return *owner;
    }
}

template <typename V = void, typename Owner, typename R> auto ByOwner(R (Owner::*getter)() const) {
    using TValue = std::conditional_t<std::is_void_v<V>, std::decay_t<R>, V>;
    return TDerivedAccessors<TValue>([getter](const TKovIntrinsicProperty& p) {
        return static_cast<TValue>((OwnerOf<Owner>(p).*getter)());
    });
}

template <typename V = void, typename Owner, typename R, typename P>
auto ByOwner(R (Owner::*getter)() const, void (Owner::*setter)(P)) {
    using TValue = std::conditional_t<std::is_void_v<V>, std::decay_t<R>, V>;
    return TDerivedAccessors<TValue>(
        [getter](const TKovIntrinsicProperty& p) {
            return static_cast<TValue>((OwnerOf<Owner>(p).*getter)());
        },
        [setter](TKovIntrinsicProperty& p, const TValue& value) {
            (OwnerOf<Owner>(p).*setter)(static_cast<std::decay_t<P>>(value));
        });
}

template <typename P> P& TKovObservableObject::Property(const TPropertyName<P>& name) const {
    return Property<P>(std::string(name.Name));
}

template <typename P> P& TKovObservableObject::Property(const std::string& name) const {
    TKovIntrinsicProperty* property = GetIntrinsicPropertyByName(name);
    if (!property)
        throw EIntrinsicPropertyException(
            Format("%s has no property %s", GetObjectTypeName(), name));
    P* typed = dynamic_cast<P*>(property);
    if (!typed)
        throw EIntrinsicPropertyException(Format(
            "Property %s of %s is a %s", name, GetObjectTypeName(), property->GetObjectTypeName()));
    return *typed;
}

} // namespace tw
