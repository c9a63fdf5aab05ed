#include "objects/IntrinsicProperty.h"

#include "objects/AccessStrategies.h"
#include "objects/NameTools.h"
#include "objects/ObjectManager.h"
#include "services/Strings.h"

#include <cmath>
#include <cstring>

namespace tw {

// ---------------------------------------------------------------------------------------------
// Declarations

TKovIntrinsicPropertyDeclaration::TKovIntrinsicPropertyDeclaration(
    const std::string& name, const TKovClass& propertyClass, TCreate create,
    TKovIntrinsicPropertyConfig configuration, const std::string& caption)
    : FClass(&propertyClass), FCreate(create), FConfiguration(configuration), FCaption(caption) {
    SetNames(name);
}

void TKovIntrinsicPropertyDeclaration::SetNames(const std::string& name) {
    FOriginalName = name;
    FCleanName = ::tw::CleanName(name);
}

std::unique_ptr<TKovIntrinsicPropertyDeclaration> TKovIntrinsicPropertyDeclaration::Clone() const {
    return std::make_unique<TKovIntrinsicPropertyDeclaration>(*this);
}

bool TKovIntrinsicPropertyDeclaration::IsIdentical(
    const TKovIntrinsicPropertyDeclaration& other) const {
    return typeid(*this) == typeid(other) && FClass == other.FClass &&
           FAssociatedClass == other.FAssociatedClass && FConfiguration == other.FConfiguration &&
           FCaption == other.FCaption && FAllowSubclass == other.FAllowSubclass;
}

void TKovIntrinsicPropertyDeclaration::Assign(const TKovIntrinsicPropertyDeclaration& source) {
    if (typeid(*this) != typeid(source))
        throw EIntrinsicPropertyDeclarationError(Format("Cannot assign from a %s to a %s",
                                                        source.DeclarationTypeName(),
                                                        DeclarationTypeName()));
    FCleanName = source.FCleanName;
    FOriginalName = source.FOriginalName;
    FClass = source.FClass;
    FCreate = source.FCreate;
    FAssociatedClass = source.FAssociatedClass;
    FConfiguration = source.FConfiguration;
    FCaption = source.FCaption;
    FAllowSubclass = source.FAllowSubclass;
}

std::unique_ptr<TKovIntrinsicPropertyDeclaration>
TKovIntrinsicPropertyDeclaration::CreateDuplicate(const std::string& name,
                                                  const std::string& caption) const {
    auto duplicate = Clone();
    duplicate->SetNames(name);
    duplicate->FCaption = caption;
    return duplicate;
}

TKovIntrinsicProperty*
TKovIntrinsicPropertyDeclaration::CreateInstanceOfProperty(TKovObservableObject* owner) const {
    TKovIntrinsicProperty* property =
        FCreate ? FCreate(owner, this) : FClass->CreateProperty(owner, this);
    property->ResetToDefault();
    return property;
}

#define TW_DECLARATION_COPY(Class, Base, ...)                                                      \
    std::unique_ptr<TKovIntrinsicPropertyDeclaration> Class::Clone() const {                       \
        return std::make_unique<Class>(*this);                                                     \
    }                                                                                              \
    void Class::Assign(const TKovIntrinsicPropertyDeclaration& source) {                           \
        Base::Assign(source);                                                                      \
        const auto& s = static_cast<const Class&>(source);                                         \
        (void)s;                                                                                   \
        __VA_ARGS__;                                                                               \
    }

TW_DECLARATION_COPY(TIPIntegerDeclaration, TKovIntrinsicPropertyDeclaration, Limits = s.Limits)
TW_DECLARATION_COPY(TIPDoubleDeclaration, TKovIntrinsicPropertyDeclaration, Limits = s.Limits;
                    NrAccurateDigits = s.NrAccurateDigits)
TW_DECLARATION_COPY(TIPDoubleWithUnitDeclaration, TIPDoubleDeclaration,
                    QuantityType = s.QuantityType)
TW_DECLARATION_COPY(TIPEnumerationDeclaration, TKovIntrinsicPropertyDeclaration,
                    FEnumerationStrings = s.FEnumerationStrings;
                    FEnumerationCompactStrings = s.FEnumerationCompactStrings;
                    FEnumerationCaptionStrings = s.FEnumerationCaptionStrings;
                    FLegacyStringsMappings = s.FLegacyStringsMappings;
                    VisualOrderStrings = s.VisualOrderStrings;
                    IsHiddenFromVisualization = s.IsHiddenFromVisualization;
                    IsValidChangeByUser = s.IsValidChangeByUser)
#undef TW_DECLARATION_COPY

bool TIPIntegerDeclaration::IsIdentical(const TKovIntrinsicPropertyDeclaration& other) const {
    if (!TKovIntrinsicPropertyDeclaration::IsIdentical(other))
        return false;
    const auto& o = static_cast<const TIPIntegerDeclaration&>(other);
    return Limits.Min == o.Limits.Min && Limits.Max == o.Limits.Max;
}

bool TIPDoubleDeclaration::IsIdentical(const TKovIntrinsicPropertyDeclaration& other) const {
    if (!TKovIntrinsicPropertyDeclaration::IsIdentical(other))
        return false;
    const auto& o = static_cast<const TIPDoubleDeclaration&>(other);
    return Limits.Min == o.Limits.Min && Limits.Max == o.Limits.Max &&
           NrAccurateDigits == o.NrAccurateDigits;
}

bool TIPDoubleWithUnitDeclaration::IsIdentical(
    const TKovIntrinsicPropertyDeclaration& other) const {
    return TIPDoubleDeclaration::IsIdentical(other) &&
           QuantityType == static_cast<const TIPDoubleWithUnitDeclaration&>(other).QuantityType;
}

TIPEnumerationDeclaration::TIPEnumerationDeclaration(const std::string& name,
                                                     const TKovClass& propertyClass, TCreate create,
                                                     TKovIntrinsicPropertyConfig configuration,
                                                     const std::string& caption,
                                                     std::vector<std::string> strings,
                                                     std::vector<std::string> captions)
    : TKovIntrinsicPropertyDeclaration(name, propertyClass, create, configuration, caption),
      FEnumerationStrings(std::move(strings)), FEnumerationCaptionStrings(std::move(captions)) {
    if (FEnumerationStrings.empty())
        throw EIntrinsicPropertyDeclarationError(
            Format("Declaration of enumeration \"%s\" is not initialized correctly (doesn't "
                   "specify its enumerated strings)",
                   name));
    for (size_t i = 0; i < FEnumerationStrings.size(); ++i) {
        int number;
        if (TryStrToInt(Trim(FEnumerationStrings[i]), number))
            throw EIntrinsicPropertyDeclarationError(
                Format("Enumeration %s is not allowed to have string values that look as "
                       "integer, but found value \"%s\" at position %d",
                       name, FEnumerationStrings[i], static_cast<int>(i)));
        std::string compact = CompactName(FEnumerationStrings[i]);
        for (const auto& earlier : FEnumerationCompactStrings)
            if (earlier == compact)
                throw EIntrinsicPropertyDeclarationError(
                    Format("Enumeration %s contains the string %s more than once", name, compact));
        FEnumerationCompactStrings.push_back(compact);
    }
    if (!FEnumerationCaptionStrings.empty() &&
        FEnumerationCaptionStrings.size() != FEnumerationStrings.size())
        throw EIntrinsicPropertyDeclarationError("The number of provided enumeration captions "
                                                 "does not match the number of enumeration "
                                                 "strings.");
}

bool TIPEnumerationDeclaration::IsIdentical(const TKovIntrinsicPropertyDeclaration& other) const {
    if (!TKovIntrinsicPropertyDeclaration::IsIdentical(other))
        return false;
    const auto& o = static_cast<const TIPEnumerationDeclaration&>(other);
    return FEnumerationStrings == o.FEnumerationStrings &&
           FEnumerationCaptionStrings == o.FEnumerationCaptionStrings;
}

std::string TIPEnumerationDeclaration::CaptionOf(int index) const {
    if (index < 0 || index >= Count())
        return "";
    return FEnumerationCaptionStrings.empty() ? FEnumerationStrings[index]
                                              : FEnumerationCaptionStrings[index];
}

void TIPEnumerationDeclaration::AddLegacyMapping(const std::string& oldValue,
                                                 const std::string& newValue) {
    FLegacyStringsMappings[::tw::CleanName(oldValue)] = newValue;
}

// ---------------------------------------------------------------------------------------------
// Declaration list

TKovIntrinsicPropertyDeclaration&
TKovIntrinsicPropertyDeclarationList::Add(std::unique_ptr<TKovIntrinsicPropertyDeclaration> item) {
    if (!FNameToIndexMappings.Contains(item->CleanName()))
        FNameToIndexMappings.AddOrSet(item->CleanName(), Count());
    FItems.push_back(std::move(item));
    return *FItems.back();
}

TKovIntrinsicPropertyDeclaration&
TKovIntrinsicPropertyDeclarationList::Add(const std::string& name, const TKovClass& propertyClass) {
    return Add(name, propertyClass, 0, "");
}

TKovIntrinsicPropertyDeclaration&
TKovIntrinsicPropertyDeclarationList::Add(const std::string& name, const TKovClass& propertyClass,
                                          TKovIntrinsicPropertyConfig config) {
    return Add(name, propertyClass, config, "");
}

TKovIntrinsicPropertyDeclaration&
TKovIntrinsicPropertyDeclarationList::Add(const std::string& name, const TKovClass& propertyClass,
                                          TKovIntrinsicPropertyConfig config,
                                          const std::string& caption) {
    if (!propertyClass.IsPropertyClass())
        throw EIntrinsicPropertyDeclarationError(Format(
            "Class %s of property %s is no intrinsic property class", propertyClass.Name(), name));
    return Add(std::make_unique<TKovIntrinsicPropertyDeclaration>(name, propertyClass, nullptr,
                                                                  config, caption));
}

TKovIntrinsicPropertyDeclaration&
TKovIntrinsicPropertyDeclarationList::Add(const std::string& name, const TKovClass& propertyClass,
                                          const std::string& caption) {
    return Add(name, propertyClass, 0, caption);
}

TKovIntrinsicPropertyDeclaration& TKovIntrinsicPropertyDeclarationList::Add(
    const std::string& name, const TKovClass& propertyClass, const TKovClass& associatedClass,
    TKovIntrinsicPropertyConfig config, const std::string& caption, bool allowSubclass) {
    auto& declaration = Add(name, propertyClass, config, caption);
    declaration.SetAssociatedClass(&associatedClass, allowSubclass);
    return declaration;
}

void TKovIntrinsicPropertyDeclarationList::Insert(
    int index, std::unique_ptr<TKovIntrinsicPropertyDeclaration> item) {
    if (index < 0 || index > Count())
        throw EIntrinsicPropertyDeclarationError(Format("List index out of bounds (%d)", index));
    FItems.insert(FItems.begin() + index, std::move(item));
    Reindex();
}

std::unique_ptr<TKovIntrinsicPropertyDeclaration>
TKovIntrinsicPropertyDeclarationList::Extract(const std::string& name) {
    int index = GetIndexOfDeclarationFor(name);
    if (index < 0)
        return nullptr;
    auto item = std::move(FItems[index]);
    FItems.erase(FItems.begin() + index);
    Reindex();
    return item;
}

bool TKovIntrinsicPropertyDeclarationList::Remove(const std::string& name) {
    return Extract(name) != nullptr;
}

bool TKovIntrinsicPropertyDeclarationList::Remove(
    const TKovIntrinsicPropertyDeclaration* declaration) {
    const int index = IndexOf(declaration);
    if (index < 0)
        return false;
    FItems.erase(FItems.begin() + index);
    Reindex();
    return true;
}

int TKovIntrinsicPropertyDeclarationList::IndexOf(
    const TKovIntrinsicPropertyDeclaration* declaration) const {
    for (int i = 0; i < Count(); ++i)
        if (FItems[i].get() == declaration)
            return i;
    return -1;
}

void TKovIntrinsicPropertyDeclarationList::Reindex() {
    FNameToIndexMappings.Clear();
    for (int i = 0; i < Count(); ++i)
        if (!FNameToIndexMappings.Contains(FItems[i]->CleanName()))
            FNameToIndexMappings.AddOrSet(FItems[i]->CleanName(), i);
}

TKovIntrinsicPropertyDeclaration*
TKovIntrinsicPropertyDeclarationList::GetDeclarationFor(const std::string& name) const {
    int index = GetIndexOfDeclarationFor(name);
    return index < 0 ? nullptr : FItems[index].get();
}

int TKovIntrinsicPropertyDeclarationList::GetIndexOfDeclarationFor(const std::string& name) const {
    const int* index = FNameToIndexMappings.Find(CleanName(name));
    return index ? *index : -1;
}

int TKovIntrinsicPropertyDeclarationList::GetIndexAndDeclarationFor(
    const std::string& name, TKovIntrinsicPropertyDeclaration*& declaration) const {
    const int index = GetIndexOfDeclarationFor(name);
    declaration = index < 0 ? nullptr : FItems[index].get();
    return index;
}

void TKovIntrinsicPropertyDeclarationList::SetDeclarationVisibleAndEditableFor(
    const std::string& name, bool flag) {
    if (auto* declaration = GetDeclarationFor(name)) {
        auto config = declaration->Configuration() & ~(ipkReadOnly | ipkNotPublished);
        if (!flag)
            config |= ipkReadOnly | ipkNotPublished;
        declaration->SetConfiguration(config);
    }
}

void TKovIntrinsicPropertyDeclarationList::CheckUnique() const {
    if (FNameToIndexMappings.Count() == FItems.size())
        return;
    for (int i = 0; i < Count(); ++i)
        if (*FNameToIndexMappings.Find(FItems[i]->CleanName()) != i)
            throw EIntrinsicPropertyDeclarationError(
                Format("Cannot declare the same property twice: %s", FItems[i]->OriginalName()));
}

namespace {
template <typename P>
TKovIntrinsicProperty* CreateProperty(TKovObservableObject* owner,
                                      const TKovIntrinsicPropertyDeclaration* declaration) {
    return new P(owner, declaration);
}
} // namespace

TKovIntrinsicPropertyDeclaration& TKovIntrinsicPropertyDeclarationList::AddBoolean(
    const std::string& name, TKovIntrinsicPropertyConfig config, const std::string& caption) {
    return AddOfKind<TIPBoolean>(name, config, caption);
}

TIPIntegerDeclaration& TKovIntrinsicPropertyDeclarationList::AddInteger(
    const std::string& name, TKovIntrinsicPropertyConfig config, const std::string& caption,
    int32_t min, int32_t max) {
    auto declaration = std::make_unique<TIPIntegerDeclaration>(
        name, TIPInteger::StaticClass(), &CreateProperty<TIPInteger>, config, caption);
    declaration->Limits = {min, max};
    return static_cast<TIPIntegerDeclaration&>(Add(std::move(declaration)));
}

TIPDoubleDeclaration& TKovIntrinsicPropertyDeclarationList::AddDouble(
    const std::string& name, TKovIntrinsicPropertyConfig config, const std::string& caption,
    double min, double max) {
    auto declaration = std::make_unique<TIPDoubleDeclaration>(
        name, TIPDouble::StaticClass(), &CreateProperty<TIPDouble>, config, caption);
    declaration->Limits = {min, max};
    return static_cast<TIPDoubleDeclaration&>(Add(std::move(declaration)));
}

TIPDoubleWithUnitDeclaration& TKovIntrinsicPropertyDeclarationList::AddDoubleWithUnit(
    const std::string& name, TQuantityType quantity, TKovIntrinsicPropertyConfig config,
    const std::string& caption, double min, double max) {
    auto declaration = std::make_unique<TIPDoubleWithUnitDeclaration>(
        name, TIPDoubleWithUnit::StaticClass(), &CreateProperty<TIPDoubleWithUnit>, config,
        caption);
    declaration->Limits = {min, max};
    declaration->QuantityType = quantity;
    return static_cast<TIPDoubleWithUnitDeclaration&>(Add(std::move(declaration)));
}

TKovIntrinsicPropertyDeclaration& TKovIntrinsicPropertyDeclarationList::AddText(
    const std::string& name, TKovIntrinsicPropertyConfig config, const std::string& caption) {
    return AddOfKind<TIPText>(name, config, caption);
}

TIPEnumerationDeclaration& TKovIntrinsicPropertyDeclarationList::AddEnumeration(
    const std::string& name, std::vector<std::string> strings, TKovIntrinsicPropertyConfig config,
    const std::string& caption, std::vector<std::string> captions) {
    auto declaration = std::make_unique<TIPEnumerationDeclaration>(
        name, TIPEnumeration::StaticClass(), &CreateProperty<TIPEnumeration>, config, caption,
        std::move(strings), std::move(captions));
    return static_cast<TIPEnumerationDeclaration&>(Add(std::move(declaration)));
}

TKovIntrinsicPropertyDeclaration& TKovIntrinsicPropertyDeclarationList::AddObject(
    const std::string& name, const TKovClass& associatedClass, TKovIntrinsicPropertyConfig config,
    const std::string& caption, bool allowSubclass) {
    auto& declaration = AddOfKind<TIPKovObject>(name, config, caption);
    declaration.SetAssociatedClass(&associatedClass, allowSubclass);
    return declaration;
}

TDerivedDeclaration<double, TIPDoubleWithUnitDeclaration>&
TKovIntrinsicPropertyDeclarationList::AddDerivedDoubleWithUnit(
    const std::string& name, TQuantityType quantity, TDerivedAccessors<double> accessors,
    TKovIntrinsicPropertyConfig config, const std::string& caption, double min, double max) {
    using D = TDerivedDeclaration<double, TIPDoubleWithUnitDeclaration>;
    auto declaration = std::make_unique<D>(
        TIPDoubleWithUnit::StaticClass(), name, TIPDoubleWithUnit_DerivedExternal::StaticClass(),
        &CreateProperty<TIPDoubleWithUnit_DerivedExternal>, config, caption);
    declaration->Limits = {min, max};
    declaration->QuantityType = quantity;
    declaration->SetAccessors(std::move(accessors));
    return static_cast<D&>(Add(std::move(declaration)));
}

TDerivedDeclaration<double, TIPDoubleDeclaration>&
TKovIntrinsicPropertyDeclarationList::AddDerivedDouble(const std::string& name,
                                                       TDerivedAccessors<double> accessors,
                                                       TKovIntrinsicPropertyConfig config,
                                                       const std::string& caption, double min,
                                                       double max) {
    using D = TDerivedDeclaration<double, TIPDoubleDeclaration>;
    auto declaration = std::make_unique<D>(
        TIPDouble::StaticClass(), name, TIPDouble_DerivedExternal::StaticClass(),
        &CreateProperty<TIPDouble_DerivedExternal>, config, caption);
    declaration->Limits = {min, max};
    declaration->SetAccessors(std::move(accessors));
    return static_cast<D&>(Add(std::move(declaration)));
}

TDerivedDeclaration<int32_t, TIPIntegerDeclaration>&
TKovIntrinsicPropertyDeclarationList::AddDerivedInteger(const std::string& name,
                                                        TDerivedAccessors<int32_t> accessors,
                                                        TKovIntrinsicPropertyConfig config,
                                                        const std::string& caption, int32_t min,
                                                        int32_t max) {
    using D = TDerivedDeclaration<int32_t, TIPIntegerDeclaration>;
    auto declaration = std::make_unique<D>(
        TIPInteger::StaticClass(), name, TIPInteger_DerivedExternal::StaticClass(),
        &CreateProperty<TIPInteger_DerivedExternal>, config, caption);
    declaration->Limits = {min, max};
    declaration->SetAccessors(std::move(accessors));
    return static_cast<D&>(Add(std::move(declaration)));
}

TDerivedDeclaration<bool, TKovIntrinsicPropertyDeclaration>&
TKovIntrinsicPropertyDeclarationList::AddDerivedBoolean(const std::string& name,
                                                        TDerivedAccessors<bool> accessors,
                                                        TKovIntrinsicPropertyConfig config,
                                                        const std::string& caption) {
    using D = TDerivedDeclaration<bool, TKovIntrinsicPropertyDeclaration>;
    auto declaration = std::make_unique<D>(
        TIPBoolean::StaticClass(), name, TIPBoolean_DerivedExternal::StaticClass(),
        &CreateProperty<TIPBoolean_DerivedExternal>, config, caption);
    declaration->SetAccessors(std::move(accessors));
    return static_cast<D&>(Add(std::move(declaration)));
}

TDerivedDeclaration<std::string, TKovIntrinsicPropertyDeclaration>&
TKovIntrinsicPropertyDeclarationList::AddDerivedText(const std::string& name,
                                                     TDerivedAccessors<std::string> accessors,
                                                     TKovIntrinsicPropertyConfig config,
                                                     const std::string& caption) {
    using D = TDerivedDeclaration<std::string, TKovIntrinsicPropertyDeclaration>;
    auto declaration =
        std::make_unique<D>(TIPText::StaticClass(), name, TIPText_DerivedExternal::StaticClass(),
                            &CreateProperty<TIPText_DerivedExternal>, config, caption);
    declaration->SetAccessors(std::move(accessors));
    return static_cast<D&>(Add(std::move(declaration)));
}

TDerivedDeclaration<int, TIPEnumerationDeclaration>&
TKovIntrinsicPropertyDeclarationList::AddDerivedEnumeration(const std::string& name,
                                                            std::vector<std::string> strings,
                                                            TDerivedAccessors<int> accessors,
                                                            TKovIntrinsicPropertyConfig config,
                                                            const std::string& caption,
                                                            std::vector<std::string> captions) {
    using D = TDerivedDeclaration<int, TIPEnumerationDeclaration>;
    auto declaration = std::make_unique<D>(TIPEnumeration::StaticClass(), name,
                                           TIPEnumeration_DerivedExternal::StaticClass(),
                                           &CreateProperty<TIPEnumeration_DerivedExternal>, config,
                                           caption, std::move(strings), std::move(captions));
    declaration->SetAccessors(std::move(accessors));
    return static_cast<D&>(Add(std::move(declaration)));
}

TDerivedDeclaration<TKovObject*, TKovIntrinsicPropertyDeclaration>&
TKovIntrinsicPropertyDeclarationList::AddDerivedObject(const std::string& name,
                                                       const TKovClass& associatedClass,
                                                       TDerivedAccessors<TKovObject*> accessors,
                                                       TKovIntrinsicPropertyConfig config,
                                                       const std::string& caption) {
    auto& declaration = AddDerived<TIPKovObject_DerivedExternal, TIPKovObject, TKovObject*>(
        name, std::move(accessors), config, caption);
    declaration.SetAssociatedClass(&associatedClass, true);
    return declaration;
}

// ---------------------------------------------------------------------------------------------
// The property base

TW_KOV_CLASS_IMPL(TKovIntrinsicProperty, TKovObject, nullptr)

namespace {
TKovObjectManager* ManagerOf(TKovObservableObject* owner) {
    return owner ? owner->ObjectManager() : nullptr;
}
TUniqueIDRegister& RegisterOf(TKovObservableObject* owner) {
    return owner ? owner->UIDRegister() : TUniqueIDRegister::Default();
}
} // namespace

TKovIntrinsicProperty::TKovIntrinsicProperty(TKovObservableObject* owner,
                                             const TKovIntrinsicPropertyDeclaration* declaration)
    : TKovObject(ManagerOf(owner), RegisterOf(owner), TUniqueID::Empty()), FOwner(owner),
      FDeclaration(declaration) {
    if (declaration) {
        FReadOnly = declaration->Has(ipkReadOnly);
        FPublished = !declaration->Has(ipkNotPublished);
        FCaption =
            declaration->Caption().empty() ? declaration->OriginalName() : declaration->Caption();
    }
    // A property takes no part in the name registry and its creation is no undo step: the
    // second phase of construction is only the default value (ResetToDefault).
    FLocked = false;
}

std::string TKovIntrinsicProperty::Name() const {
    return FDeclaration ? FDeclaration->OriginalName() : std::string();
}

std::string TKovIntrinsicProperty::CleanName() const {
    return FDeclaration ? FDeclaration->CleanName() : std::string();
}

std::string TKovIntrinsicProperty::OwnerName() const {
    return FOwner ? FOwner->Name() : "?";
}

void TKovIntrinsicProperty::SetReadOnly(bool readOnly) {
    if (FReadOnly == readOnly)
        return;
    CheckOwnerWritable();
    FReadOnly = readOnly;
}

void TKovIntrinsicProperty::SetPublished(bool published) {
    if (FPublished == published)
        return;
    CheckOwnerWritable();
    FPublished = published;
}

void TKovIntrinsicProperty::SetPublishedAndEditable(bool flag) {
    SetPublished(flag);
    SetReadOnly(!flag);
}

TKovIntrinsicPropertyConfig TKovIntrinsicProperty::Configuration() const {
    TKovIntrinsicPropertyConfig config =
        FDeclaration ? FDeclaration->Configuration() & ~(ipkReadOnly | ipkNotPublished) : 0;
    if (FReadOnly)
        config |= ipkReadOnly;
    if (!FPublished)
        config |= ipkNotPublished;
    return config;
}

bool TKovIntrinsicProperty::AllowModification(std::string* reason) const {
    if (!TKovObject::AllowModification(reason))
        return false;
    return !FOwner || FOwner->AllowModification(reason);
}

bool TKovIntrinsicProperty::RevertEnabled() const {
    return TKovObject::RevertEnabled() && (!FOwner || FOwner->RevertEnabled());
}

bool TKovIntrinsicProperty::SaveValue(TVarRec& value) const {
    value = int32_t(-1);
    return false;
}

bool TKovIntrinsicProperty::LoadValue(const TVarRec&) {
    return false;
}

int TKovIntrinsicProperty::CompareValues(const TVarRec& a, const TVarRec& b) const {
    auto number = [](const TVarRec& v, double& x) {
        if (VarIsFloat(v))
            x = std::get<double>(v);
        else if (VarIsInteger(v))
            x = std::get<int32_t>(v);
        else
            return false;
        return true;
    };
    double x, y;
    if (!number(a, x) || !number(b, y))
        return 0;
    const double difference = std::fabs(x - y);
    if (difference < 1e-30 || difference / (std::fabs(x) + std::fabs(y)) < 1e-15)
        return 0;
    return y > x ? 1 : -1;
}

bool TKovIntrinsicProperty::HasSameValueAs(const TKovIntrinsicProperty&) const {
    throw EIntrinsicPropertyException(
        Format("Intrinsic property %s must implement HasSameValueAs", Name()));
}

void TKovIntrinsicProperty::EndUpdate() {
    if (FLockLevel == 0)
        return;
    if (--FLockLevel == 0 && FNotificationsQueued) {
        FNotificationsQueued = false;
        if (FOwner)
            FOwner->IntrinsicPropertyChanged(*this);
    }
}

void TKovIntrinsicProperty::EndUpdateNoNotification() {
    if (FLockLevel > 0 && --FLockLevel == 0)
        FNotificationsQueued = false;
}

void TKovIntrinsicProperty::AssignEssentialStateOnly_NoRevert(const TKovIntrinsicProperty& source) {
    const bool wasLocked = FLocked;
    FLocked = true;
    BeginUpdate();
    AssignEssentialState(source);
    EndUpdateNoNotification();
    FLocked = wasLocked;
}

void TKovIntrinsicProperty::CopyConfigurationFrom(const TKovIntrinsicProperty& source) {
    SetReadOnly(source.FReadOnly);
    SetPublished(source.FPublished);
    FCaption = source.FCaption;
    FAccessStrategyClass = source.FAccessStrategyClass;
    FInitialized = source.FInitialized;
}

std::unique_ptr<TAccessStrategyIP_Virtual> TKovIntrinsicProperty::CreateAccessStrategy() {
    return FAccessStrategyClass ? FAccessStrategyClass(*this)
                                : std::make_unique<TASIP_Default>(*this);
}

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

// ---------------------------------------------------------------------------------------------
// Property list

void TKovIntrinsicPropertyList::Add(std::unique_ptr<TKovIntrinsicProperty> property) {
    FItems.push_back(std::move(property));
}

void TKovIntrinsicPropertyList::Insert(int index, std::unique_ptr<TKovIntrinsicProperty> property) {
    if (index < 0 || index > Count())
        throw EIntrinsicPropertyException(Format("List index out of bounds (%d)", index));
    FItems.insert(FItems.begin() + index, std::move(property));
}

int TKovIntrinsicPropertyList::IndexOf(const TKovIntrinsicProperty* property) const {
    for (int i = 0; i < Count(); ++i)
        if (FItems[i].get() == property)
            return i;
    return -1;
}

std::unique_ptr<TKovIntrinsicProperty>
TKovIntrinsicPropertyList::Extract(const TKovIntrinsicProperty* property) {
    const int index = IndexOf(property);
    if (index < 0)
        return nullptr;
    auto item = std::move(FItems[index]);
    FItems.erase(FItems.begin() + index);
    return item;
}

bool TKovIntrinsicPropertyList::Remove(const TKovIntrinsicProperty* property) {
    return Extract(property) != nullptr;
}

int TKovIntrinsicPropertyList::IndexOfName(const std::string& name) const {
    if (FOnGetIndexAndDeclarationByName) {
        // The declaration's index is the property's index while the lists run in step, which
        // they do unless someone inserted or removed properties by hand: check, else walk.
        TKovIntrinsicPropertyDeclaration* declaration = nullptr;
        const int index = FOnGetIndexAndDeclarationByName(name, declaration);
        if (index < 0)
            return -1;
        if (index < Count() && FItems[index]->Declaration() == declaration)
            return index;
    }
    const std::string clean = ::tw::CleanName(name);
    for (int i = 0; i < Count(); ++i)
        if (FItems[i]->CleanName() == clean)
            return i;
    return -1;
}

TKovIntrinsicProperty* TKovIntrinsicPropertyList::GetByName(const std::string& name) const {
    const int index = IndexOfName(name);
    return index < 0 ? nullptr : FItems[index].get();
}

bool TKovIntrinsicPropertyList::RemoveByName(const std::string& name) {
    const int index = IndexOfName(name);
    if (index < 0)
        return false;
    FItems.erase(FItems.begin() + index);
    return true;
}

void TKovIntrinsicPropertyList::SetPublishedIfExists(const std::string& name, bool published) {
    if (TKovIntrinsicProperty* property = GetByName(name))
        property->SetPublished(published);
}

TKovObject* TKovIntrinsicProperty::CreateBlankForRevert() const {
    auto* blank = static_cast<TKovIntrinsicProperty*>(ClassType().CreateBlank());
    blank->FDeclaration = FDeclaration;
    return blank;
}

void TKovIntrinsicProperty::ResetToDefault() {
    const bool wasLocked = FLocked;
    FLocked = true;
    BeginUpdate();
    SetDefault();
    EndUpdateNoNotification();
    FLocked = wasLocked;
}

void TKovIntrinsicProperty::CheckOwnerWritable() const {
    if (FOwner && FOwner->IsPermanentlyReadOnly())
        throw EIntrinsicPropertyAssignError(Format(
            "Cannot modify %s while owner %s is marked as read-only", Name(), FOwner->Name()));
}

std::string TKovIntrinsicProperty::WriteCaption(const std::string& valueText) const {
    return Format("Set %s.%s to \"%s\"", OwnerName(), Name(), valueText);
}

void TKovIntrinsicProperty::Changed() {
    if (!FOwner)
        return;
    if (FLockLevel < 1) {
        FNotificationsQueued = false;
        FOwner->IntrinsicPropertyChanged(*this);
    } else {
        FNotificationsQueued = true;
    }
}

// ---------------------------------------------------------------------------------------------
// Boolean

TW_KOV_CLASS_IMPL(TIPBoolean, TKovIntrinsicProperty, nullptr)

bool TIPBoolean::Value() const {
    if (FTrueDisabled)
        return false;
    if (FFalseDisabled)
        return true;
    return FValue;
}

void TIPBoolean::SetValue(bool value) {
    CheckOwnerWritable();
    FInitialized = true;
    if ((value && FTrueDisabled) || (!value && FFalseDisabled))
        return;
    if (value == FValue)
        return;
    CommitChange([&] { return std::string(value ? "True" : "False"); }, [&] { FValue = value; });
}

void TIPBoolean::SetTrueDisabled(bool disabled) {
    FTrueDisabled = disabled;
}
void TIPBoolean::SetFalseDisabled(bool disabled) {
    FFalseDisabled = disabled;
}

bool TIPBoolean::SaveValue(TVarRec& value) const {
    value = Value();
    return true;
}

bool TIPBoolean::LoadValue(const TVarRec& value) {
    if (!VarIsBoolean(value))
        return false;
    SetValue(std::get<bool>(value));
    return true;
}

bool TIPBoolean::HasSameValueAs(const TKovIntrinsicProperty& other) const {
    const auto* o = dynamic_cast<const TIPBoolean*>(&other);
    return o && o->Value() == Value();
}

void TIPBoolean::AssignEssentialState(const TKovObject& source) {
    const auto& s = dynamic_cast<const TIPBoolean&>(source);
    FInitialized = s.FInitialized;
    FTrueDisabled = s.FTrueDisabled;
    FFalseDisabled = s.FFalseDisabled;
    const bool value = s.IsDerived() ? s.Value() : s.FValue;
    if (value != FValue) {
        FValue = value;
        Changed();
    }
}

// ---------------------------------------------------------------------------------------------
// Integer

TW_KOV_CLASS_IMPL(TIPInteger, TKovIntrinsicProperty, nullptr)

int32_t TIPInteger::Limit(int32_t value) const {
    const TLimits<int32_t>* limits = FDeclaration ? FDeclaration->IntegerLimits() : nullptr;
    return limits ? limits->Apply(value) : value;
}

int32_t TIPInteger::MinValue() const {
    const TLimits<int32_t>* limits = FDeclaration ? FDeclaration->IntegerLimits() : nullptr;
    return limits ? limits->Min : 0;
}

int32_t TIPInteger::MaxValue() const {
    const TLimits<int32_t>* limits = FDeclaration ? FDeclaration->IntegerLimits() : nullptr;
    return limits ? limits->Max : 0;
}

void TIPInteger::SetValue(int32_t value) {
    CheckOwnerWritable();
    FInitialized = true;
    value = Limit(value);
    if (value == FValue)
        return;
    CommitChange([&] { return std::to_string(value); }, [&] { FValue = value; });
}

bool TIPInteger::SaveValue(TVarRec& value) const {
    value = Value();
    return true;
}

bool TIPInteger::LoadValue(const TVarRec& value) {
    if (!VarIsInteger(value))
        return false;
    SetValue(std::get<int32_t>(value));
    return true;
}

bool TIPInteger::HasSameValueAs(const TKovIntrinsicProperty& other) const {
    const auto* o = dynamic_cast<const TIPInteger*>(&other);
    return o && o->Value() == Value();
}

void TIPInteger::AssignEssentialState(const TKovObject& source) {
    const auto& s = dynamic_cast<const TIPInteger&>(source);
    FInitialized = s.FInitialized;
    const int32_t value = s.Value();
    if (value != FValue) {
        FValue = value;
        Changed();
    }
}

// ---------------------------------------------------------------------------------------------
// Double

TW_KOV_CLASS_IMPL(TIPDouble, TKovIntrinsicProperty, nullptr)

double TIPDouble::Limit(double value) const {
    const TLimits<double>* limits = FDeclaration ? FDeclaration->DoubleLimits() : nullptr;
    return limits ? limits->Apply(value) : value;
}

double TIPDouble::MinValue() const {
    const TLimits<double>* limits = FDeclaration ? FDeclaration->DoubleLimits() : nullptr;
    return limits ? limits->Min : 0;
}

double TIPDouble::MaxValue() const {
    const TLimits<double>* limits = FDeclaration ? FDeclaration->DoubleLimits() : nullptr;
    return limits ? limits->Max : 0;
}

namespace {
// Numbers are compared by their bytes: 0.0 and -0.0 differ.
bool SameBits(double a, double b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}
} // namespace

void TIPDouble::SetValue(double value) {
    CheckOwnerWritable();
    FInitialized = true;
    value = Limit(value);
    if (SameBits(value, _FValue))
        return;
    CommitChange([&] { return FloatToStr(value); }, [&] { _FValue = value; });
}

bool TIPDouble::SaveValue(TVarRec& value) const {
    value = Value();
    return true;
}

bool TIPDouble::LoadValue(const TVarRec& value) {
    if (VarIsFloat(value))
        SetValue(std::get<double>(value));
    else if (VarIsInteger(value))
        SetValue(std::get<int32_t>(value));
    else
        return false;
    return true;
}

bool TIPDouble::HasSameValueAs(const TKovIntrinsicProperty& other) const {
    const auto* o = dynamic_cast<const TIPDouble*>(&other);
    return o && std::fabs(o->Value() - Value()) <= 1e-12;
}

std::string TIPDouble::ValueAsText() const {
    return FloatToStr(Value());
}

void TIPDouble::AssignEssentialState(const TKovObject& source) {
    const auto& s = dynamic_cast<const TIPDouble&>(source);
    FInitialized = s.FInitialized;
    const double value = s.Value();
    if (!SameBits(value, _FValue)) {
        _FValue = value;
        Changed();
    }
}

TW_KOV_CLASS_IMPL(TIPDoubleWithUnit, TIPDouble, nullptr)

TQuantityType TIPDoubleWithUnit::QuantityType() const {
    const auto* declaration = dynamic_cast<const TIPDoubleWithUnitDeclaration*>(FDeclaration);
    return declaration ? declaration->QuantityType : qtDummy;
}

double TIPDoubleWithUnit::GetPresentationValue(const IQuantityPresenter* presenter) const {
    return presenter ? presenter->ToPresentation(QuantityType(), Value()) : Value();
}

void TIPDoubleWithUnit::SetPresentationValue(const IQuantityPresenter* presenter, double value) {
    SetValue(presenter ? presenter->FromPresentation(QuantityType(), value) : value);
}

// ---------------------------------------------------------------------------------------------
// Text

TW_KOV_CLASS_IMPL(TIPText, TKovIntrinsicProperty, nullptr)

std::string TIPText::CleanText(const std::string& text) const {
    std::string result = ReplaceAll(Trim(text), "\r\n", " ");
    for (char& c : result)
        if (static_cast<unsigned char>(c) < 32)
            c = ' ';
    return result;
}

void TIPText::SetValue(const std::string& text) {
    CheckOwnerWritable();
    FInitialized = true;
    std::string value = CleanText(text);
    if (value == FValue)
        return;
    CommitChange([&] { return CaptionText(value); }, [&] { FValue = std::move(value); });
}

bool TIPText::SaveValue(TVarRec& value) const {
    value = Value();
    return true;
}

bool TIPText::LoadValue(const TVarRec& value) {
    if (!VarIsString(value))
        throw EIntrinsicPropertyAssignError("Could not retrieve String from TVarRec");
    SetValue(std::get<std::string>(value));
    return true;
}

bool TIPText::HasSameValueAs(const TKovIntrinsicProperty& other) const {
    const auto* o = dynamic_cast<const TIPText*>(&other);
    return o && o->Value() == Value();
}

void TIPText::AssignEssentialState(const TKovObject& source) {
    const auto& s = dynamic_cast<const TIPText&>(source);
    FInitialized = s.FInitialized;
    std::string value = s.Value();
    if (value != FValue) {
        FValue = std::move(value);
        Changed();
    }
}

TW_KOV_CLASS_IMPL(TIPLargeText, TIPText, nullptr)
TW_KOV_CLASS_IMPL(TIPFreeText, TIPLargeText, nullptr)
TW_KOV_CLASS_IMPL(TIPName, TIPText, nullptr)

std::string TIPName::Value() const {
    return FOwner ? FOwner->Name() : FValue;
}

void TIPName::SetValue(const std::string& value) {
    CheckOwnerWritable();
    FInitialized = true;
    if (!FOwner) {
        FValue = CleanText(value);
        return;
    }
    const std::string old = FOwner->Name();
    FOwner->SetName(CleanText(value));
    if (FOwner->Name() != old)
        FOwner->NotifyObservers();
}

// ---------------------------------------------------------------------------------------------
// Enumeration

TW_KOV_CLASS_IMPL(TIPEnumeration, TKovIntrinsicProperty, nullptr)

const TIPEnumerationDeclaration& TIPEnumeration::EnumerationDeclaration() const {
    const auto* declaration = dynamic_cast<const TIPEnumerationDeclaration*>(FDeclaration);
    if (!declaration)
        throw EIntrinsicPropertyException(
            Format("Enumeration %s has no enumeration declaration", Name()));
    return *declaration;
}

bool TIPEnumeration::IsDisabled(int value) const {
    return FDisabledIntValues && value >= 0 &&
           value < static_cast<int>(FDisabledIntValues->size()) && (*FDisabledIntValues)[value];
}

void TIPEnumeration::SetIntValue(int value) {
    CheckOwnerWritable();
    const int count = Count();
    if (value < 0 || value >= count)
        throw EIntrinsicPropertyAssignError(Format(
            "Invalid value %d for %s, value from 0 to %d expected", value, Name(), count - 1));
    if (IsDisabled(value)) {
        TKovObjectManager* manager = ObjectManager();
        if (manager && !manager->IsRevertingOrLocked())
            throw EIntrinsicPropertyAssignError(
                Format("Invalid value %d for %s, value is disabled", value, Name()));
    }
    FInitialized = true;
    if (value == FIntValue)
        return;
    CommitChange([&] { return Format("%s(%d)", EnumerationDeclaration().Strings()[value], value); },
                 [&] { FIntValue = value; });
}

int TIPEnumeration::GetStrValueAsIndexIfValid(const std::string& text, bool forUser) const {
    const auto& declaration = EnumerationDeclaration();
    std::string value = text;
    const auto& legacy = declaration.LegacyMappings();
    if (auto it = legacy.find(::tw::CleanName(value)); it != legacy.end())
        value = it->second;
    int index = -1, number;
    if (TryStrToInt(Trim(value), number)) {
        if (number >= 0 && number < declaration.Count())
            index = number;
    } else {
        const std::string compact = CompactName(value);
        const auto& strings = declaration.CompactStrings();
        for (int i = 0; i < static_cast<int>(strings.size()); ++i)
            if (strings[i] == compact) {
                index = i;
                break;
            }
    }
    if (index >= 0 && forUser && IsDisabled(index))
        return -1;
    return index;
}

void TIPEnumeration::SetStrValue(const std::string& value) {
    const int index = GetStrValueAsIndexIfValid(value);
    if (index < 0)
        throw EIntrinsicPropertyAssignError(
            Format("Invalid value: \"%s\". Allowed values are: %s or ordinal value.", value,
                   AllowedStringValues()));
    SetIntValue(index);
}

std::string TIPEnumeration::AllowedStringValues() const {
    std::vector<std::string> values;
    const auto& strings = EnumerationDeclaration().CompactStrings();
    for (int i = 0; i < static_cast<int>(strings.size()); ++i)
        if (!IsDisabled(i))
            values.push_back("\"" + strings[i] + "\"");
    return Join(values, ", ");
}

std::string TIPEnumeration::StrValueCompact() const {
    return EnumerationDeclaration().CompactStrings().at(IntValue());
}

std::string TIPEnumeration::StrValueOriginal() const {
    return EnumerationDeclaration().Strings().at(IntValue());
}

std::string TIPEnumeration::ValueCaption() const {
    return EnumerationDeclaration().CaptionOf(IntValue());
}

std::string TIPEnumeration::ValueAsText() const {
    return StrValueOriginal();
}

void TIPEnumeration::SetValueWithoutNotification(int value) {
    TKovObservableObject* owner = FOwner;
    FOwner = nullptr;
    try {
        SetIntValue(value);
    } catch (...) {
        FOwner = owner;
        throw;
    }
    FOwner = owner;
}

void TIPEnumeration::ChangeDisabled(const std::function<void()>& change) {
    TKovObjectManager* manager = ObjectManager();
    if (manager && !manager->IsUndoRedoSnapshotOpened() && !manager->IsRevertingOrLocked())
        throw EIntrinsicPropertyException(
            "TIPEnumeration changes items visibility without a snapshot");
    TUndoSnapshot snapshot(*this, Format("Change the values of %s", Name()));
    if (!FDisabledIntValues)
        FDisabledIntValues = std::make_unique<std::vector<bool>>(Count(), false);
    change();
}

void TIPEnumeration::DisableIntValue(int value) {
    ChangeDisabled([&] { FDisabledIntValues->at(value) = true; });
}

void TIPEnumeration::EnableIntValue(int value) {
    ChangeDisabled([&] { FDisabledIntValues->at(value) = false; });
}

void TIPEnumeration::EnableAllValues() {
    ChangeDisabled([&] { FDisabledIntValues->assign(Count(), false); });
}

void TIPEnumeration::DisableAllValues() {
    ChangeDisabled([&] { FDisabledIntValues->assign(Count(), true); });
}

void TIPEnumeration::EnableValuesExclusively(const std::vector<int>& values) {
    ChangeDisabled([&] {
        FDisabledIntValues->assign(Count(), true);
        for (int v : values)
            FDisabledIntValues->at(v) = false;
    });
}

bool TIPEnumeration::SaveValue(TVarRec& value) const {
    value = int32_t(IntValue());
    return true;
}

bool TIPEnumeration::LoadValue(const TVarRec& value) {
    if (VarIsInteger(value))
        SetIntValue(std::get<int32_t>(value));
    else if (VarIsString(value))
        SetStrValue(std::get<std::string>(value));
    else
        return false;
    return true;
}

bool TIPEnumeration::HasSameValueAs(const TKovIntrinsicProperty& other) const {
    const auto* o = dynamic_cast<const TIPEnumeration*>(&other);
    return o && o->IntValue() == IntValue();
}

void TIPEnumeration::AssignEssentialState(const TKovObject& source) {
    const auto& s = dynamic_cast<const TIPEnumeration&>(source);
    FInitialized = s.FInitialized;
    if (s.FDisabledIntValues)
        FDisabledIntValues = std::make_unique<std::vector<bool>>(*s.FDisabledIntValues);
    else
        FDisabledIntValues.reset();
    const int value = s.IntValue();
    if (value != FIntValue) {
        FIntValue = value;
        Changed();
    }
}

// ---------------------------------------------------------------------------------------------
// Object reference

TW_KOV_CLASS_IMPL(TIPKovObject, TKovIntrinsicProperty, nullptr)

TKovObject* TIPKovObject::Value() const {
    TKovObject* object = UIDRegister().Get(FObjectID);
    return object && !object->IsFreedOrBeingDestroyed() ? object : nullptr;
}

bool TIPKovObject::IsCompatibleValue(const TKovObject* object) const {
    if (!FDeclaration || !object || !FDeclaration->AssociatedClass())
        return true;
    const TKovClass& associated = *FDeclaration->AssociatedClass();
    if (&object->ClassType() == &associated)
        return true;
    return FDeclaration->AllowSubclass() && object->InheritsFrom(associated);
}

void TIPKovObject::SetValue(TKovObject* object) {
    CheckOwnerWritable();
    FInitialized = true;
    const TUniqueID id = GetGUIDOrEmptyGUID(object);
    if (id == FObjectID)
        return;
    if (!FDeclaration || !FDeclaration->AssociatedClass())
        throw EIntrinsicPropertyAssignError(
            "TIPKovObject requires an associated class in its declaration.");
    if (!IsCompatibleValue(object))
        throw EIntrinsicPropertyAssignError(
            Format("Expected property of type %s, but got type %s",
                   TypeNameFromClassName(FDeclaration->AssociatedClass()->Name()),
                   object->ClassType().Name()));
    CommitChange([&] { return object ? object->Name() : std::string("nil"); },
                 [&] { FObjectID = id; });
}

void TIPKovObject::SetObjectID(const TUniqueID& id) {
    if (id == FObjectID)
        return;
    CommitChange([&] { return id.ToString(); }, [&] { FObjectID = id; });
}

bool TIPKovObject::SaveValue(TVarRec& value) const {
    value = Value();
    return true;
}

bool TIPKovObject::LoadValue(const TVarRec& value) {
    if (!VarIsObject(value))
        return false;
    SetValue(std::get<TKovObject*>(value));
    return true;
}

bool TIPKovObject::HasSameValueAs(const TKovIntrinsicProperty& other) const {
    const auto* o = dynamic_cast<const TIPKovObject*>(&other);
    return o && o->Value() == Value();
}

std::string TIPKovObject::ValueAsText() const {
    TKovObject* object = Value();
    return object ? object->Name() : "<not assigned>";
}

void TIPKovObject::AssignEssentialState(const TKovObject& source) {
    const auto& s = dynamic_cast<const TIPKovObject&>(source);
    FInitialized = s.FInitialized;
    const TUniqueID id = s.IsDerived() ? GetGUIDOrEmptyGUID(s.Value()) : s.FObjectID;
    if (id != FObjectID) {
        FObjectID = id;
        Changed();
    }
}

// ---------------------------------------------------------------------------------------------
// Derived kinds

#define TW_DERIVED_IMPL(Class, Base, V)                                                            \
    TW_KOV_CLASS_IMPL(Class, Base, nullptr)                                                        \
    bool Class::HasSetter() const {                                                                \
        return DerivedHasSetter<V>();                                                              \
    }

TW_DERIVED_IMPL(TIPBoolean_DerivedExternal, TIPBoolean, bool)
TW_DERIVED_IMPL(TIPInteger_DerivedExternal, TIPInteger, int32_t)
TW_DERIVED_IMPL(TIPDouble_DerivedExternal, TIPDouble, double)
TW_DERIVED_IMPL(TIPDoubleWithUnit_DerivedExternal, TIPDoubleWithUnit, double)
TW_DERIVED_IMPL(TIPText_DerivedExternal, TIPText, std::string)
TW_DERIVED_IMPL(TIPEnumeration_DerivedExternal, TIPEnumeration, int)
TW_DERIVED_IMPL(TIPKovObject_DerivedExternal, TIPKovObject, TKovObject*)
#undef TW_DERIVED_IMPL

bool TIPBoolean_DerivedExternal::Value() const {
    return DerivedValue<bool>();
}
void TIPBoolean_DerivedExternal::SetValue(bool value) {
    WriteDerived<bool>(value, [&] { return std::string(value ? "True" : "False"); });
}

int32_t TIPInteger_DerivedExternal::Value() const {
    return DerivedValue<int32_t>();
}
void TIPInteger_DerivedExternal::SetValue(int32_t value) {
    value = Limit(value);
    WriteDerived<int32_t>(value, [&] { return std::to_string(value); });
}

double TIPDouble_DerivedExternal::Value() const {
    return DerivedValue<double>();
}
void TIPDouble_DerivedExternal::SetValue(double value) {
    value = Limit(value);
    WriteDerived<double>(value, [&] { return FloatToStr(value); });
}

double TIPDoubleWithUnit_DerivedExternal::Value() const {
    return DerivedValue<double>();
}
void TIPDoubleWithUnit_DerivedExternal::SetValue(double value) {
    value = Limit(value);
    WriteDerived<double>(value, [&] { return FloatToStr(value); });
}

std::string TIPText_DerivedExternal::Value() const {
    return DerivedValue<std::string>();
}
void TIPText_DerivedExternal::SetValue(const std::string& value) {
    const std::string cleaned = CleanText(value);
    WriteDerived<std::string>(cleaned, [&] { return CaptionText(cleaned); });
}

int TIPEnumeration_DerivedExternal::IntValue() const {
    return DerivedValue<int>();
}
void TIPEnumeration_DerivedExternal::SetIntValue(int value) {
    const int count = Count();
    if (value < 0 || value >= count)
        throw EIntrinsicPropertyAssignError(Format(
            "Invalid value %d for %s, value from 0 to %d expected", value, Name(), count - 1));
    WriteDerived<int>(
        value, [&] { return Format("%s(%d)", EnumerationDeclaration().Strings()[value], value); });
}

TKovObject* TIPKovObject_DerivedExternal::Value() const {
    return DerivedValue<TKovObject*>();
}
void TIPKovObject_DerivedExternal::SetValue(TKovObject* value) {
    WriteDerived<TKovObject*>(value, [&] { return value ? value->Name() : std::string("nil"); });
}

// ---------------------------------------------------------------------------------------------

std::string VarRecToString(const TVarRec& v) {
    return std::visit(
        [](const auto& value) -> std::string {
            using T = std::decay_t<decltype(value)>;
            if constexpr (std::is_same_v<T, bool>)
                return value ? "True" : "False";
            else if constexpr (std::is_same_v<T, int32_t>)
                return std::to_string(value);
            else if constexpr (std::is_same_v<T, double>)
                return FloatToStr(value);
            else if constexpr (std::is_same_v<T, std::string>)
                return value;
            else
                return value ? value->Name() : std::string("nil");
        },
        v);
}

} // namespace tw
