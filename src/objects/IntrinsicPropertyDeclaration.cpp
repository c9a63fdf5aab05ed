#include "objects/IntrinsicPropertyDeclaration.h"

#include "objects/IntrinsicProperty.h"
#include "objects/NameTools.h"
#include "services/Format.h"
#include "services/Strings.h"

namespace tw {

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

} // namespace tw
