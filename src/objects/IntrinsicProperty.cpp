#include "objects/IntrinsicProperty.h"

#include "objects/AccessStrategies.h"
#include "objects/ObjectManager.h"

#include <cmath>

namespace tw {

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

} // namespace tw
