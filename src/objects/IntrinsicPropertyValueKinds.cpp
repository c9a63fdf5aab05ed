#include "objects/IntrinsicPropertyValueKinds.h"

#include "objects/NameTools.h"
#include "objects/ObjectManager.h"
#include "services/Format.h"
#include "services/Strings.h"

#include <cmath>
#include <cstring>

namespace tw {

TW_KOV_CLASS_IMPL(TIPBoolean, TIPBooleanKind, nullptr)

bool TIPBoolean::Value() const {
    if (FTrueDisabled)
        return false;
    if (FFalseDisabled)
        return true;
    return FValue;
}

// ---------------------------------------------------------------------------------------------

TW_KOV_CLASS_IMPL(TIPInteger, TIPIntegerKind, nullptr)

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

// ---------------------------------------------------------------------------------------------

TW_KOV_CLASS_IMPL(TIPDouble, TIPDoubleKind, nullptr)

const TLimits<double>* TIPDouble::NumberLimits() const {
    return FDeclaration ? FDeclaration->DoubleLimits() : nullptr;
}

double TIPDouble::Limit(double value) const {
    const TLimits<double>* limits = NumberLimits();
    return limits ? limits->Apply(value) : value;
}

double TIPDouble::MinValue() const {
    const TLimits<double>* limits = NumberLimits();
    return limits ? limits->Min : 0;
}

double TIPDouble::MaxValue() const {
    const TLimits<double>* limits = NumberLimits();
    return limits ? limits->Max : 0;
}

bool TIPDouble::Same(double a, double b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

bool TIPDouble::Equivalent(double a, double b) {
    return std::fabs(a - b) <= 1e-12;
}

bool TIPDouble::FromRecord(const TVarRec& record, double& value) const {
    if (VarIsFloat(record))
        value = std::get<double>(record);
    else if (VarIsInteger(record))
        value = std::get<int32_t>(record);
    else
        return false;
    return true;
}

std::string TIPDouble::CaptionText(double value) const {
    return FloatToStr(value);
}

std::string TIPDouble::ValueAsText() const {
    return FloatToStr(Value());
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

TW_KOV_CLASS_IMPL(TIPText, TIPTextKind, nullptr)

std::string TIPText::CleanText(const std::string& text) const {
    std::string result = ReplaceAll(Trim(text), "\r\n", " ");
    for (char& c : result)
        if (static_cast<unsigned char>(c) < 32)
            c = ' ';
    return result;
}

bool TIPText::FromRecord(const TVarRec& record, std::string& value) const {
    if (!VarIsString(record))
        throw EIntrinsicPropertyAssignError("Could not retrieve String from TVarRec");
    value = std::get<std::string>(record);
    return true;
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

TW_KOV_CLASS_IMPL(TIPEnumeration, TIPEnumerationKind, nullptr)

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

bool TIPEnumeration::Accept(int& value) const {
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
    return true;
}

std::string TIPEnumeration::CaptionText(int value) const {
    return Format("%s(%d)", EnumerationDeclaration().Strings()[value], value);
}

bool TIPEnumeration::FromRecord(const TVarRec& record, int& value) const {
    if (VarIsInteger(record)) {
        value = std::get<int32_t>(record);
        return true;
    }
    if (!VarIsString(record))
        return false;
    const std::string& text = std::get<std::string>(record);
    value = GetStrValueAsIndexIfValid(text);
    if (value < 0)
        throw EIntrinsicPropertyAssignError(
            Format("Invalid value: \"%s\". Allowed values are: %s or ordinal value.", text,
                   AllowedStringValues()));
    return true;
}

void TIPEnumeration::AssignKindState(const TIPEnumeration& source) {
    if (source.FDisabledIntValues)
        FDisabledIntValues = std::make_unique<std::vector<bool>>(*source.FDisabledIntValues);
    else
        FDisabledIntValues.reset();
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
    int index = 0;
    FromRecord(value, index);
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

// ---------------------------------------------------------------------------------------------

TW_KOV_CLASS_IMPL(TIPKovObject, TIPKovObjectKind, nullptr)

TKovObject* TIPKovObject::Value() const {
    TKovObject* object = UIDRegister().Get(FValue);
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

bool TIPKovObject::Accept(TKovObject*& object) const {
    if (ToStored(object) == FValue)
        return true; // no change, whatever the declaration
    if (!FDeclaration || !FDeclaration->AssociatedClass())
        throw EIntrinsicPropertyAssignError(
            "TIPKovObject requires an associated class in its declaration.");
    if (!IsCompatibleValue(object))
        throw EIntrinsicPropertyAssignError(
            Format("Expected property of type %s, but got type %s",
                   TypeNameFromClassName(FDeclaration->AssociatedClass()->Name()),
                   object ? object->ClassType().Name() : std::string("nil")));
    return true;
}

std::string TIPKovObject::CaptionText(TKovObject* object) const {
    return object ? object->Name() : std::string("nil");
}

void TIPKovObject::SetObjectID(const TUniqueID& id) {
    if (id == FValue)
        return;
    CommitChange([&] { return id.ToString(); }, [&] { FValue = id; });
}

std::string TIPKovObject::ValueAsText() const {
    TKovObject* object = Value();
    return object ? object->Name() : "<not assigned>";
}

} // namespace tw
