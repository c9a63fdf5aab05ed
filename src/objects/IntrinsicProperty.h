#pragma once
// Intrinsic properties: typed, named, observable, undoable values owned by an observable object,
// and their per-class declarations. Every write goes the same way: check the owner, mark the
// property initialised, apply the limit, stop on an equal value, back the property up in an undo
// snapshot, store, tell the owner, close the snapshot.

#include "objects/ComparisonUtils.h"
#include "objects/KovBaseClasses.h"
#include "objects/QuantityType.h"
#include "objects/RadixTree.h"

#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace tw {

TW_DECLARE_EXCEPTION(EIntrinsicPropertyException, EKovException)
TW_DECLARE_EXCEPTION(EIntrinsicPropertyAssignError, EIntrinsicPropertyException)
TW_DECLARE_EXCEPTION(EIntrinsicPropertyDeclarationError, EIntrinsicPropertyException)

enum TKovIntrinsicPropertyKind : unsigned {
    ipkReadOnly = 1,
    ipkStaged = 2,
    ipkDebugOnly = 4,
    ipkNotPublished = 8,
    ipkAdvanced = 16,
    ipkAdvancedInStaged = 32,
};
using TKovIntrinsicPropertyConfig = unsigned;

// ---------------------------------------------------------------------------------------------
// Declarations

// Declarations of limited numbers: no limit when minimum and maximum are both 0, or when the
// minimum exceeds the maximum.
template <typename V> struct TLimits {
    V Min = 0;
    V Max = 0;
    bool Active() const { return !(Min == 0 && Max == 0) && !(Min > Max); }
    V Apply(V value) const {
        if (!Active())
            return value;
        return value < Min ? Min : value > Max ? Max : value;
    }
};

class TKovIntrinsicPropertyDeclaration {
public:
    using TCreate = TKovIntrinsicProperty* (*)(TKovObservableObject*,
                                               const TKovIntrinsicPropertyDeclaration*);

    // `create` may be nullptr: the property class's own factory makes the property then.
    TKovIntrinsicPropertyDeclaration(const std::string& name, const TKovClass& propertyClass,
                                     TCreate create, TKovIntrinsicPropertyConfig configuration = 0,
                                     const std::string& caption = "");
    TKovIntrinsicPropertyDeclaration(const TKovIntrinsicPropertyDeclaration&) = default;
    virtual ~TKovIntrinsicPropertyDeclaration() = default;

    virtual const char* DeclarationTypeName() const { return "Declaration"; }
    // The limits of the numbers this declaration declares, if any: asked on every write, so a
    // virtual call instead of a cast.
    virtual const TLimits<int32_t>* IntegerLimits() const { return nullptr; }
    virtual const TLimits<double>* DoubleLimits() const { return nullptr; }
    virtual std::unique_ptr<TKovIntrinsicPropertyDeclaration> Clone() const;
    // Same class of declaration, property class, associated class, configuration, caption and
    // subclass rule; names are deliberately not compared.
    virtual bool IsIdentical(const TKovIntrinsicPropertyDeclaration& other) const;
    // Copies another declaration of the same class.
    virtual void Assign(const TKovIntrinsicPropertyDeclaration& source);
    std::unique_ptr<TKovIntrinsicPropertyDeclaration>
    CreateDuplicate(const std::string& name, const std::string& caption) const;

    // Makes the property for `owner` (may be nullptr) with its default value.
    TKovIntrinsicProperty* CreateInstanceOfProperty(TKovObservableObject* owner) const;

    const std::string& CleanName() const { return FCleanName; }
    const std::string& OriginalName() const { return FOriginalName; }
    const TKovClass& PropertyClass() const { return *FClass; }
    // Changes the property class (and its factory) of this declaration.
    void SetPropertyClass(const TKovClass& propertyClass, TCreate create) {
        FClass = &propertyClass;
        FCreate = create;
    }
    const TKovClass* AssociatedClass() const { return FAssociatedClass; }
    void SetAssociatedClass(const TKovClass* cls, bool allowSubclass) {
        FAssociatedClass = cls;
        FAllowSubclass = allowSubclass;
    }
    bool AllowSubclass() const { return FAllowSubclass; }
    TKovIntrinsicPropertyConfig Configuration() const { return FConfiguration; }
    void SetConfiguration(TKovIntrinsicPropertyConfig configuration) {
        FConfiguration = configuration;
    }
    bool Has(TKovIntrinsicPropertyKind kind) const { return (FConfiguration & kind) != 0; }
    const std::string& Caption() const { return FCaption; }
    void SetCaption(const std::string& caption) { FCaption = caption; }
    // True for the declarations of derived properties, whose value lives in the owner.
    virtual bool IsDerivedDeclaration() const { return false; }

protected:
    void SetNames(const std::string& name);

    std::string FCleanName;
    std::string FOriginalName;
    const TKovClass* FClass;
    TCreate FCreate;
    const TKovClass* FAssociatedClass = nullptr;
    TKovIntrinsicPropertyConfig FConfiguration;
    std::string FCaption;
    bool FAllowSubclass = false;
};

class TIPIntegerDeclaration : public TKovIntrinsicPropertyDeclaration {
public:
    using TKovIntrinsicPropertyDeclaration::TKovIntrinsicPropertyDeclaration;
    const char* DeclarationTypeName() const override { return "DeclarationInteger"; }
    const TLimits<int32_t>* IntegerLimits() const override { return &Limits; }
    std::unique_ptr<TKovIntrinsicPropertyDeclaration> Clone() const override;
    bool IsIdentical(const TKovIntrinsicPropertyDeclaration& other) const override;
    void Assign(const TKovIntrinsicPropertyDeclaration& source) override;
    TLimits<int32_t> Limits;
};

class TIPDoubleDeclaration : public TKovIntrinsicPropertyDeclaration {
public:
    using TKovIntrinsicPropertyDeclaration::TKovIntrinsicPropertyDeclaration;
    const char* DeclarationTypeName() const override { return "DeclarationDouble"; }
    const TLimits<double>* DoubleLimits() const override { return &Limits; }
    std::unique_ptr<TKovIntrinsicPropertyDeclaration> Clone() const override;
    bool IsIdentical(const TKovIntrinsicPropertyDeclaration& other) const override;
    void Assign(const TKovIntrinsicPropertyDeclaration& source) override;
    TLimits<double> Limits;
    int NrAccurateDigits = 0;
};

class TIPDoubleWithUnitDeclaration : public TIPDoubleDeclaration {
public:
    using TIPDoubleDeclaration::TIPDoubleDeclaration;
    const char* DeclarationTypeName() const override { return "DeclarationDoubleWithUnit"; }
    std::unique_ptr<TKovIntrinsicPropertyDeclaration> Clone() const override;
    bool IsIdentical(const TKovIntrinsicPropertyDeclaration& other) const override;
    void Assign(const TKovIntrinsicPropertyDeclaration& source) override;
    TQuantityType QuantityType = qtDummy;
};

class TIPEnumerationDeclaration : public TKovIntrinsicPropertyDeclaration {
public:
    // Validates the strings and captions; raises on a declaration that can't work.
    TIPEnumerationDeclaration(const std::string& name, const TKovClass& propertyClass,
                              TCreate create, TKovIntrinsicPropertyConfig configuration,
                              const std::string& caption, std::vector<std::string> strings,
                              std::vector<std::string> captions = {});
    const char* DeclarationTypeName() const override { return "DeclarationEnumeration"; }
    std::unique_ptr<TKovIntrinsicPropertyDeclaration> Clone() const override;
    bool IsIdentical(const TKovIntrinsicPropertyDeclaration& other) const override;
    void Assign(const TKovIntrinsicPropertyDeclaration& source) override;

    int Count() const { return static_cast<int>(FEnumerationStrings.size()); }
    const std::vector<std::string>& Strings() const { return FEnumerationStrings; }
    const std::vector<std::string>& CompactStrings() const { return FEnumerationCompactStrings; }
    // The display caption of a value: its caption if given, else its string.
    std::string CaptionOf(int index) const;
    // Maps a cleaned old value to its new value on reading.
    void AddLegacyMapping(const std::string& oldValue, const std::string& newValue);
    const std::map<std::string, std::string>& LegacyMappings() const {
        return FLegacyStringsMappings;
    }

    std::vector<std::string> VisualOrderStrings;
    std::function<bool(int index)> IsHiddenFromVisualization;
    std::function<bool(int index)> IsValidChangeByUser;

private:
    std::vector<std::string> FEnumerationStrings;
    std::vector<std::string> FEnumerationCompactStrings;
    std::vector<std::string> FEnumerationCaptionStrings;
    std::map<std::string, std::string> FLegacyStringsMappings;
};

// Getter and setter of a derived property, whose value lives in the owner. The functions are
// shared by the copies of a declaration, so two declarations made by copying compare equal.
template <typename V> struct TDerivedAccessors {
    using TGetter = std::function<V(const TKovIntrinsicProperty&)>;
    using TSetter = std::function<void(TKovIntrinsicProperty&, const V&)>;

    TDerivedAccessors() = default;
    TDerivedAccessors(TGetter getter, TSetter setter = nullptr)
        : Getter(getter ? std::make_shared<const TGetter>(std::move(getter)) : nullptr),
          Setter(setter ? std::make_shared<const TSetter>(std::move(setter)) : nullptr) {}

    bool HasGetter() const { return Getter != nullptr; }
    bool HasSetter() const { return Setter != nullptr; }

    std::shared_ptr<const TGetter> Getter;
    std::shared_ptr<const TSetter> Setter;
};

// The part of a derived declaration that doesn't depend on the value type: the declaration of the
// plain kind that multi-select editors use, made on first request.
class TKovIntrinsicProperty_DerivedExternalDeclaration_Abstract {
public:
    virtual ~TKovIntrinsicProperty_DerivedExternalDeclaration_Abstract() = default;
    // The same name, configuration, caption, limits and quantity, of the plain class.
    virtual const TKovIntrinsicPropertyDeclaration& MultiselectDeclaration() const = 0;
    virtual bool HasSetterFunction() const = 0;
};

// A derived declaration on the plain declaration `BaseDeclaration`; `V` is the value type.
template <typename V, typename BaseDeclaration>
class TDerivedDeclaration : public BaseDeclaration,
                            public TDerivedAccessors<V>,
                            public TKovIntrinsicProperty_DerivedExternalDeclaration_Abstract {
public:
    using TAccessors = TDerivedAccessors<V>;
    using TPlainDeclaration = BaseDeclaration;

    // `plainClass` is the property class of the multi-select declaration.
    template <typename... Args>
    TDerivedDeclaration(const TKovClass& plainClass, Args&&... args)
        : BaseDeclaration(std::forward<Args>(args)...), FPlainClass(&plainClass) {}
    TDerivedDeclaration(const TDerivedDeclaration& other)
        : BaseDeclaration(other), TAccessors(other),
          TKovIntrinsicProperty_DerivedExternalDeclaration_Abstract(other),
          FPlainClass(other.FPlainClass),
          FMultiselectDeclaration(
              other.FMultiselectDeclaration ? other.FMultiselectDeclaration->Clone() : nullptr) {}

    std::unique_ptr<TKovIntrinsicPropertyDeclaration> Clone() const override {
        return std::make_unique<TDerivedDeclaration>(*this);
    }
    bool IsDerivedDeclaration() const override { return true; }
    bool HasSetterFunction() const override { return this->HasSetter(); }
    void SetAccessors(TAccessors accessors) { static_cast<TAccessors&>(*this) = accessors; }
    const TKovClass& PlainClass() const { return *FPlainClass; }

    // The plain part, then getter and setter, then the multi-select declaration by identity.
    bool IsIdentical(const TKovIntrinsicPropertyDeclaration& other) const override;

    const TKovIntrinsicPropertyDeclaration& MultiselectDeclaration() const override {
        if (!FMultiselectDeclaration) {
            auto plain =
                std::make_unique<BaseDeclaration>(static_cast<const BaseDeclaration&>(*this));
            plain->SetPropertyClass(*FPlainClass, nullptr);
            FMultiselectDeclaration = std::move(plain);
        }
        return *FMultiselectDeclaration;
    }

private:
    const TKovClass* FPlainClass;
    mutable std::unique_ptr<TKovIntrinsicPropertyDeclaration> FMultiselectDeclaration;
};

template <typename V, typename BaseDeclaration>
bool TDerivedDeclaration<V, BaseDeclaration>::IsIdentical(
    const TKovIntrinsicPropertyDeclaration& other) const {
    if (!BaseDeclaration::IsIdentical(other))
        return false;
    const auto& o = static_cast<const TDerivedDeclaration&>(other);
    return TAnonymousFunctionComparer::AreEqual(this->Getter, o.Getter) &&
           TAnonymousFunctionComparer::AreEqual(this->Setter, o.Setter) &&
           FMultiselectDeclaration == o.FMultiselectDeclaration;
}

// The declarations of one class, in declaration order. Look-up by clean name goes through a
// radix tree from the clean name to the index, so it doesn't depend on the number of properties.
class TKovIntrinsicPropertyDeclarationList {
public:
    explicit TKovIntrinsicPropertyDeclarationList(const TKovClass* ownerClass = nullptr)
        : FOwnerClass(ownerClass) {}
    TKovIntrinsicPropertyDeclarationList(const TKovIntrinsicPropertyDeclarationList&) = delete;
    TKovIntrinsicPropertyDeclarationList&
    operator=(const TKovIntrinsicPropertyDeclarationList&) = delete;

    std::string GetObjectTypeName() const { return "IPDeclarationList"; }

    // The six ways of declaring: an existing declaration; a property class with name only; with
    // configuration; with configuration and caption; with a caption only; and with an associated
    // class for references.
    TKovIntrinsicPropertyDeclaration& Add(std::unique_ptr<TKovIntrinsicPropertyDeclaration> item);
    TKovIntrinsicPropertyDeclaration& Add(const std::string& name, const TKovClass& propertyClass);
    TKovIntrinsicPropertyDeclaration& Add(const std::string& name, const TKovClass& propertyClass,
                                          TKovIntrinsicPropertyConfig config);
    TKovIntrinsicPropertyDeclaration& Add(const std::string& name, const TKovClass& propertyClass,
                                          TKovIntrinsicPropertyConfig config,
                                          const std::string& caption);
    TKovIntrinsicPropertyDeclaration& Add(const std::string& name, const TKovClass& propertyClass,
                                          const std::string& caption);
    TKovIntrinsicPropertyDeclaration& Add(const std::string& name, const TKovClass& propertyClass,
                                          const TKovClass& associatedClass,
                                          TKovIntrinsicPropertyConfig config = 0,
                                          const std::string& caption = "",
                                          bool allowSubclass = true);
    void Insert(int index, std::unique_ptr<TKovIntrinsicPropertyDeclaration> item);
    std::unique_ptr<TKovIntrinsicPropertyDeclaration> Extract(const std::string& name);
    bool Remove(const std::string& name);
    bool Remove(const TKovIntrinsicPropertyDeclaration* declaration);
    int IndexOf(const TKovIntrinsicPropertyDeclaration* declaration) const;

    // Declaring helpers for the kinds of the framework.
    TKovIntrinsicPropertyDeclaration& AddBoolean(const std::string& name,
                                                 TKovIntrinsicPropertyConfig config = 0,
                                                 const std::string& caption = "");
    TIPIntegerDeclaration& AddInteger(const std::string& name,
                                      TKovIntrinsicPropertyConfig config = 0,
                                      const std::string& caption = "", int32_t min = 0,
                                      int32_t max = 0);
    TIPDoubleDeclaration& AddDouble(const std::string& name, TKovIntrinsicPropertyConfig config = 0,
                                    const std::string& caption = "", double min = 0,
                                    double max = 0);
    TIPDoubleWithUnitDeclaration& AddDoubleWithUnit(const std::string& name, TQuantityType quantity,
                                                    TKovIntrinsicPropertyConfig config = 0,
                                                    const std::string& caption = "", double min = 0,
                                                    double max = 0);
    TKovIntrinsicPropertyDeclaration& AddText(const std::string& name,
                                              TKovIntrinsicPropertyConfig config = 0,
                                              const std::string& caption = "");
    // A property of a given kind with a plain declaration (large text, free text, colour, ...).
    template <typename P>
    TKovIntrinsicPropertyDeclaration& AddOfKind(const std::string& name,
                                                TKovIntrinsicPropertyConfig config = 0,
                                                const std::string& caption = "");
    TIPEnumerationDeclaration& AddEnumeration(const std::string& name,
                                              std::vector<std::string> strings,
                                              TKovIntrinsicPropertyConfig config = 0,
                                              const std::string& caption = "",
                                              std::vector<std::string> captions = {});
    // An enumeration whose property is a TIPEnumerationTyped<E>.
    template <typename E>
    TIPEnumerationDeclaration&
    AddTypedEnumeration(const std::string& name, std::vector<std::string> strings,
                        TKovIntrinsicPropertyConfig config = 0, const std::string& caption = "",
                        std::vector<std::string> captions = {});
    TKovIntrinsicPropertyDeclaration& AddObject(const std::string& name,
                                                const TKovClass& associatedClass,
                                                TKovIntrinsicPropertyConfig config = 0,
                                                const std::string& caption = "",
                                                bool allowSubclass = true);
    // Derived kinds: the value is read and written through the owner.
    TDerivedDeclaration<double, TIPDoubleWithUnitDeclaration>&
    AddDerivedDoubleWithUnit(const std::string& name, TQuantityType quantity,
                             TDerivedAccessors<double> accessors,
                             TKovIntrinsicPropertyConfig config = 0,
                             const std::string& caption = "", double min = 0, double max = 0);
    TDerivedDeclaration<double, TIPDoubleDeclaration>&
    AddDerivedDouble(const std::string& name, TDerivedAccessors<double> accessors,
                     TKovIntrinsicPropertyConfig config = 0, const std::string& caption = "",
                     double min = 0, double max = 0);
    TDerivedDeclaration<int32_t, TIPIntegerDeclaration>&
    AddDerivedInteger(const std::string& name, TDerivedAccessors<int32_t> accessors,
                      TKovIntrinsicPropertyConfig config = 0, const std::string& caption = "",
                      int32_t min = 0, int32_t max = 0);
    TDerivedDeclaration<bool, TKovIntrinsicPropertyDeclaration>&
    AddDerivedBoolean(const std::string& name, TDerivedAccessors<bool> accessors,
                      TKovIntrinsicPropertyConfig config = 0, const std::string& caption = "");
    TDerivedDeclaration<std::string, TKovIntrinsicPropertyDeclaration>&
    AddDerivedText(const std::string& name, TDerivedAccessors<std::string> accessors,
                   TKovIntrinsicPropertyConfig config = 0, const std::string& caption = "");
    TDerivedDeclaration<int, TIPEnumerationDeclaration>&
    AddDerivedEnumeration(const std::string& name, std::vector<std::string> strings,
                          TDerivedAccessors<int> accessors, TKovIntrinsicPropertyConfig config = 0,
                          const std::string& caption = "", std::vector<std::string> captions = {});
    TDerivedDeclaration<TKovObject*, TKovIntrinsicPropertyDeclaration>&
    AddDerivedObject(const std::string& name, const TKovClass& associatedClass,
                     TDerivedAccessors<TKovObject*> accessors,
                     TKovIntrinsicPropertyConfig config = 0, const std::string& caption = "");
    // A derived declaration of any kind: `PDerived` is the derived property class, `PPlain` the
    // plain one; the caller sets limits and the like on the answer.
    template <typename PDerived, typename PPlain, typename V,
              typename BaseDeclaration = TKovIntrinsicPropertyDeclaration>
    TDerivedDeclaration<V, BaseDeclaration>&
    AddDerived(const std::string& name, TDerivedAccessors<V> accessors,
               TKovIntrinsicPropertyConfig config = 0, const std::string& caption = "");

    int Count() const { return static_cast<int>(FItems.size()); }
    TKovIntrinsicPropertyDeclaration& operator[](int index) const { return *FItems[index]; }
    TKovIntrinsicPropertyDeclaration* First() const {
        return FItems.empty() ? nullptr : FItems.front().get();
    }
    TKovIntrinsicPropertyDeclaration* Last() const {
        return FItems.empty() ? nullptr : FItems.back().get();
    }
    TKovIntrinsicPropertyDeclaration* GetDeclarationFor(const std::string& name) const;
    int GetIndexOfDeclarationFor(const std::string& name) const;
    // The index, -1 for an unknown name; `declaration` is set or cleared.
    int GetIndexAndDeclarationFor(const std::string& name,
                                  TKovIntrinsicPropertyDeclaration*& declaration) const;
    bool HasDeclarationFor(const std::string& name) const {
        return GetIndexOfDeclarationFor(name) >= 0;
    }
    // Publishes or hides a property, and makes it writable or read-only, for all later instances
    // of the class.
    void SetDeclarationVisibleAndEditableFor(const std::string& name, bool flag);
    // Raises on two declarations with the same clean name.
    void CheckUnique() const;
    const TKovClass* OwnerClass() const { return FOwnerClass; }

    // Walks the declarations in order.
    auto Enumerate() const {
        struct TRange {
            const TKovIntrinsicPropertyDeclarationList* List;
            struct TIterator {
                const TKovIntrinsicPropertyDeclarationList* List;
                int Index;
                TKovIntrinsicPropertyDeclaration& operator*() const { return (*List)[Index]; }
                TIterator& operator++() {
                    ++Index;
                    return *this;
                }
                bool operator!=(const TIterator& other) const { return Index != other.Index; }
            };
            TIterator begin() const { return {List, 0}; }
            TIterator end() const { return {List, List->Count()}; }
        };
        return TRange{this};
    }

private:
    void Reindex();

    const TKovClass* FOwnerClass;
    std::vector<std::unique_ptr<TKovIntrinsicPropertyDeclaration>> FItems;
    TRadixTree<int> FNameToIndexMappings; // clean name -> index; the first of equal names wins
};

// ---------------------------------------------------------------------------------------------
// The property base

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

// The properties of one object, in declaration order; owns them. A list linked to its
// declaration list finds a property by name through the declarations' radix tree; an unlinked one
// compares names.
class TKovIntrinsicPropertyList {
public:
    using TGetIndexAndDeclarationByName =
        std::function<int(const std::string& name, TKovIntrinsicPropertyDeclaration*&)>;

    TKovIntrinsicPropertyList() = default;
    TKovIntrinsicPropertyList(const TKovIntrinsicPropertyList&) = delete;
    TKovIntrinsicPropertyList& operator=(const TKovIntrinsicPropertyList&) = delete;

    void SetOnGetIndexAndDeclarationByName(TGetIndexAndDeclarationByName handler) {
        FOnGetIndexAndDeclarationByName = std::move(handler);
    }

    int Count() const { return static_cast<int>(FItems.size()); }
    TKovIntrinsicProperty* operator[](int index) const {
        return index >= 0 && index < Count() ? FItems[index].get() : nullptr;
    }
    TKovIntrinsicProperty* First() const { return FItems.empty() ? nullptr : FItems[0].get(); }
    TKovIntrinsicProperty* Last() const { return FItems.empty() ? nullptr : FItems.back().get(); }
    void Add(std::unique_ptr<TKovIntrinsicProperty> property);
    void Insert(int index, std::unique_ptr<TKovIntrinsicProperty> property);
    std::unique_ptr<TKovIntrinsicProperty> Extract(const TKovIntrinsicProperty* property);
    bool Remove(const TKovIntrinsicProperty* property);
    bool RemoveByName(const std::string& name);
    int IndexOf(const TKovIntrinsicProperty* property) const;
    TKovIntrinsicProperty* GetByName(const std::string& name) const;
    void SetPublishedIfExists(const std::string& name, bool published);

private:
    int IndexOfName(const std::string& name) const;

    std::vector<std::unique_ptr<TKovIntrinsicProperty>> FItems;
    TGetIndexAndDeclarationByName FOnGetIndexAndDeclarationByName;
};

// ---------------------------------------------------------------------------------------------
// The plain kinds

class TIPBoolean : public TKovIntrinsicProperty {
    TW_KOV_CLASS(TIPBoolean, TKovIntrinsicProperty)
public:
    using TKovIntrinsicProperty::TKovIntrinsicProperty;
    std::string GetObjectTypeName() const override { return "Boolean"; }
    // With true disabled the value reads false; with false disabled (and true not), true.
    virtual bool Value() const;
    // A write of a disabled value is ignored.
    virtual void SetValue(bool value);
    bool TrueDisabled() const { return FTrueDisabled; }
    bool FalseDisabled() const { return FFalseDisabled; }
    void SetTrueDisabled(bool disabled);
    void SetFalseDisabled(bool disabled);
    bool IsEditable() const { return !FTrueDisabled && !FFalseDisabled; }

    bool SaveValue(TVarRec& value) const override;
    bool LoadValue(const TVarRec& value) override;
    bool HasSameValueAs(const TKovIntrinsicProperty& other) const override;
    std::string ValueAsText() const override { return Value() ? "True" : "False"; }

protected:
    void SetDefault() override { FValue = false; }
    void AssignEssentialState(const TKovObject& source) override;

private:
    bool FValue = false;
    bool FTrueDisabled = false;
    bool FFalseDisabled = false;
};

class TIPInteger : public TKovIntrinsicProperty {
    TW_KOV_CLASS(TIPInteger, TKovIntrinsicProperty)
public:
    using TKovIntrinsicProperty::TKovIntrinsicProperty;
    std::string GetObjectTypeName() const override { return "Integer"; }
    virtual int32_t Value() const { return FValue; }
    virtual void SetValue(int32_t value);
    int32_t MinValue() const;
    int32_t MaxValue() const;

    bool SaveValue(TVarRec& value) const override;
    bool LoadValue(const TVarRec& value) override;
    bool HasSameValueAs(const TKovIntrinsicProperty& other) const override;
    std::string ValueAsText() const override { return std::to_string(Value()); }

protected:
    int32_t Limit(int32_t value) const;
    void SetDefault() override { FValue = Limit(0); }
    void AssignEssentialState(const TKovObject& source) override;

private:
    int32_t FValue = 0;
};

class TIPDouble : public TKovIntrinsicProperty {
    TW_KOV_CLASS(TIPDouble, TKovIntrinsicProperty)
public:
    using TKovIntrinsicProperty::TKovIntrinsicProperty;
    std::string GetObjectTypeName() const override { return "Number"; }
    virtual double Value() const { return _FValue; }
    virtual void SetValue(double value);
    double MinValue() const;
    double MaxValue() const;
    double Limit(double value) const;

    bool SaveValue(TVarRec& value) const override;
    bool LoadValue(const TVarRec& value) override;
    bool HasSameValueAs(const TKovIntrinsicProperty& other) const override;
    std::string ValueAsText() const override;

protected:
    void SetDefault() override { _FValue = Limit(0.0); }
    void AssignEssentialState(const TKovObject& source) override;

    double _FValue = 0.0;
};

class TIPDoubleWithUnit : public TIPDouble {
    TW_KOV_CLASS(TIPDoubleWithUnit, TIPDouble)
public:
    using TIPDouble::TIPDouble;
    std::string GetObjectTypeName() const override { return "NumberWithUnit"; }
    TQuantityType QuantityType() const;
    // The value in the presentation unit of `presenter`; the stored value without one.
    double GetPresentationValue(const IQuantityPresenter* presenter) const;
    // Writes a value given in the presentation unit of `presenter`.
    void SetPresentationValue(const IQuantityPresenter* presenter, double value);
};

class TIPText : public TKovIntrinsicProperty {
    TW_KOV_CLASS(TIPText, TKovIntrinsicProperty)
public:
    using TKovIntrinsicProperty::TKovIntrinsicProperty;
    std::string GetObjectTypeName() const override { return "Text"; }
    virtual std::string Value() const { return FValue; }
    virtual void SetValue(const std::string& value);
    // Trims blanks at both ends, turns each CR LF into one blank and every other control
    // character into a blank.
    virtual std::string CleanText(const std::string& text) const;

    bool SaveValue(TVarRec& value) const override;
    bool LoadValue(const TVarRec& value) override;
    bool HasSameValueAs(const TKovIntrinsicProperty& other) const override;
    bool IsEmpty() const override { return Value().empty(); }
    std::string ValueAsText() const override { return Value(); }

protected:
    void SetDefault() override { FValue.clear(); }
    void AssignEssentialState(const TKovObject& source) override;
    // The value as the undo caption shows it.
    virtual std::string CaptionText(const std::string& value) const { return value; }

    std::string FValue;
};

class TIPEnumeration : public TKovIntrinsicProperty {
    TW_KOV_CLASS(TIPEnumeration, TKovIntrinsicProperty)
public:
    using TKovIntrinsicProperty::TKovIntrinsicProperty;
    std::string GetObjectTypeName() const override { return "Enumeration"; }
    const TIPEnumerationDeclaration& EnumerationDeclaration() const;

    virtual int IntValue() const { return FIntValue; }
    virtual void SetIntValue(int value);
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

    bool SaveValue(TVarRec& value) const override;
    bool LoadValue(const TVarRec& value) override;
    bool HasSameValueAs(const TKovIntrinsicProperty& other) const override;
    std::string ValueAsText() const override;

protected:
    void SetDefault() override { FIntValue = 0; }
    void AssignEssentialState(const TKovObject& source) override;

private:
    void ChangeDisabled(const std::function<void()>& change);

    int FIntValue = 0;
    std::unique_ptr<std::vector<bool>> FDisabledIntValues; // made on first use
};

// An enumeration whose value is of the C++ enumerated type E.
template <typename E> class TIPEnumerationTyped : public TIPEnumeration {
public:
    using TIPEnumeration::TIPEnumeration;
    E Value() const { return static_cast<E>(IntValue()); }
    void SetValue(E value) { SetIntValue(static_cast<int>(value)); }
};

// A reference to another object, stored as its GUID. Reading resolves the GUID through the
// owner's register and answers nothing for a target that is unknown, freed or being destroyed.
class TIPKovObject : public TKovIntrinsicProperty {
    TW_KOV_CLASS(TIPKovObject, TKovIntrinsicProperty)
public:
    using TKovIntrinsicProperty::TKovIntrinsicProperty;
    std::string GetObjectTypeName() const override { return "Object"; }
    virtual TKovObject* Value() const;
    virtual void SetValue(TKovObject* object);
    const TUniqueID& ObjectID() const { return FObjectID; }
    // Sets the GUID as read from a file; it resolves once its target is registered.
    void SetObjectID(const TUniqueID& id);
    virtual bool IsCompatibleValue(const TKovObject* object) const;

    bool SaveValue(TVarRec& value) const override;
    bool LoadValue(const TVarRec& value) override;
    bool HasSameValueAs(const TKovIntrinsicProperty& other) const override;
    bool IsEmpty() const override { return FObjectID.IsEmpty(); }
    std::string ValueAsText() const override;

protected:
    void SetDefault() override { FObjectID = TUniqueID::Empty(); }
    void AssignEssentialState(const TKovObject& source) override;

private:
    TUniqueID FObjectID;
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

// ---------------------------------------------------------------------------------------------
// Derived kinds: the value is computed by the owner through the declaration's accessors. A write
// backs up the owner, calls the setter and notifies; a derived property without setter is
// read-only.

// Makes or refreshes the plain twin of a derived property with its current value.
TKovIntrinsicProperty* RefreshStaticEquivalent(const TKovIntrinsicProperty& derived,
                                               std::unique_ptr<TKovIntrinsicProperty>& twin);

#define TW_DERIVED_PROPERTY(Class, Base, ValueType, ParamType, Getter, Setter)                     \
    class Class : public Base {                                                                    \
        TW_KOV_CLASS(Class, Base)                                                                  \
    public:                                                                                        \
        using Base::Base;                                                                          \
        ValueType Getter() const override;                                                         \
        void Setter(ParamType value) override;                                                     \
        bool IsDerived() const override { return true; }                                           \
        bool HasSetter() const;                                                                    \
        TKovIntrinsicProperty* GetStaticEquivalent() const override {                              \
            return RefreshStaticEquivalent(*this, FStatic);                                        \
        }                                                                                          \
                                                                                                   \
    private:                                                                                       \
        mutable std::unique_ptr<TKovIntrinsicProperty> FStatic;                                    \
    };

TW_DERIVED_PROPERTY(TIPBoolean_DerivedExternal, TIPBoolean, bool, bool, Value, SetValue)
TW_DERIVED_PROPERTY(TIPInteger_DerivedExternal, TIPInteger, int32_t, int32_t, Value, SetValue)
TW_DERIVED_PROPERTY(TIPDouble_DerivedExternal, TIPDouble, double, double, Value, SetValue)
TW_DERIVED_PROPERTY(TIPDoubleWithUnit_DerivedExternal, TIPDoubleWithUnit, double, double, Value,
                    SetValue)
TW_DERIVED_PROPERTY(TIPText_DerivedExternal, TIPText, std::string, const std::string&, Value,
                    SetValue)
TW_DERIVED_PROPERTY(TIPEnumeration_DerivedExternal, TIPEnumeration, int, int, IntValue, SetIntValue)
TW_DERIVED_PROPERTY(TIPKovObject_DerivedExternal, TIPKovObject, TKovObject*, TKovObject*, Value,
                    SetValue)

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

// ---------------------------------------------------------------------------------------------

template <typename P>
TKovIntrinsicPropertyDeclaration& TKovIntrinsicPropertyDeclarationList::AddOfKind(
    const std::string& name, TKovIntrinsicPropertyConfig config, const std::string& caption) {
    return Add(std::make_unique<TKovIntrinsicPropertyDeclaration>(
        name, P::StaticClass(),
        [](TKovObservableObject* owner, const TKovIntrinsicPropertyDeclaration* declaration)
            -> TKovIntrinsicProperty* { return new P(owner, declaration); },
        config, caption));
}

template <typename PDerived, typename PPlain, typename V, typename BaseDeclaration>
TDerivedDeclaration<V, BaseDeclaration>& TKovIntrinsicPropertyDeclarationList::AddDerived(
    const std::string& name, TDerivedAccessors<V> accessors, TKovIntrinsicPropertyConfig config,
    const std::string& caption) {
    using D = TDerivedDeclaration<V, BaseDeclaration>;
    auto declaration = std::make_unique<D>(
        PPlain::StaticClass(), name, PDerived::StaticClass(),
        [](TKovObservableObject* owner, const TKovIntrinsicPropertyDeclaration* d)
            -> TKovIntrinsicProperty* { return new PDerived(owner, d); },
        config, caption);
    declaration->SetAccessors(std::move(accessors));
    return static_cast<D&>(Add(std::move(declaration)));
}

template <typename E>
TIPEnumerationDeclaration& TKovIntrinsicPropertyDeclarationList::AddTypedEnumeration(
    const std::string& name, std::vector<std::string> strings, TKovIntrinsicPropertyConfig config,
    const std::string& caption, std::vector<std::string> captions) {
    auto declaration = std::make_unique<TIPEnumerationDeclaration>(
        name, TIPEnumeration::StaticClass(),
        [](TKovObservableObject* owner, const TKovIntrinsicPropertyDeclaration* d)
            -> TKovIntrinsicProperty* { return new TIPEnumerationTyped<E>(owner, d); },
        config, caption, std::move(strings), std::move(captions));
    return static_cast<TIPEnumerationDeclaration&>(Add(std::move(declaration)));
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
