#pragma once
// The declaration of an intrinsic property: its name, property class and configuration, once per
// class of owner, and the declarations of the kinds that carry more (limits, quantity,
// enumerated strings, the accessors of a derived value).

#include "objects/ComparisonUtils.h"
#include "objects/KovBaseClasses.h"
#include "objects/QuantityType.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
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

} // namespace tw
