#include "storage/SettingsStack.h"

#include "objects/IntrinsicPropertyValueKinds.h"
#include "objects/NameTools.h"
#include "objects/UpdateBracket.h"
#include "services/Format.h"
#include "services/Strings.h"

namespace tw {

TW_KOV_CLASS_IMPL(TKovSettingsStack, TKovSettingsWithDefault, nullptr)

TKovSettingsStack::TKovSettingsStack(TKovObjectManager* manager)
    : TKovSettingsWithDefault(manager) {}

std::string TKovSettingsStack::KeyOf(int index) const {
    return Format("%s%d", FStackPropPrefix, index);
}

int TKovSettingsStack::Count() const {
    int count = 0;
    while (count < FMaxStackSize && HasSetting(KeyOf(count)))
        ++count;
    return count;
}

std::vector<TKovSettings::TSettingValue> TKovSettingsStack::Entries() const {
    std::vector<TSettingValue> entries;
    const int count = Count();
    for (int i = 0; i < count; ++i)
        entries.push_back(GetSettingValue(KeyOf(i)));
    return entries;
}

void TKovSettingsStack::SetEntries(const std::vector<TSettingValue>& entries, int oldCount) {
    TUpdateBracket<TKovObservableObject> update(*this);
    for (int i = static_cast<int>(entries.size()); i < oldCount; ++i)
        RemoveSetting(KeyOf(i));
    for (size_t i = 0; i < entries.size(); ++i)
        SetSettingValue(KeyOf(static_cast<int>(i)), entries[i]);
    update.Close();
}

void TKovSettingsStack::Push(const std::function<void(const std::string& key)>& write) {
    if (FMaxStackSize == 0)
        return;
    TUpdateBracket<TKovObservableObject> update(*this);
    // From the end, so that no entry is overwritten before it moved.
    for (int i = std::min(Count(), FMaxStackSize - 1); i > 0; --i)
        SetSettingValue(KeyOf(i), GetSettingValue(KeyOf(i - 1)));
    write(KeyOf(0));
    update.Close();
}

void TKovSettingsStack::PushString(const std::string& value) {
    Push([&](const std::string& key) { SetString(key, value); });
}
void TKovSettingsStack::PushInteger(int32_t value) {
    Push([&](const std::string& key) { SetInteger(key, value); });
}
void TKovSettingsStack::PushDouble(double value) {
    Push([&](const std::string& key) { SetDouble(key, value); });
}
void TKovSettingsStack::PushBoolean(bool value) {
    Push([&](const std::string& key) { SetBoolean(key, value); });
}
void TKovSettingsStack::PushBLOB(const std::vector<uint8_t>& value) {
    Push([&](const std::string& key) { SetBLOB(key, value); });
}
void TKovSettingsStack::PushGraphic(const std::vector<uint8_t>& value) {
    Push([&](const std::string& key) { SetGraphic(key, value); });
}

void TKovSettingsStack::MoveTo(int from, int to) {
    std::vector<TSettingValue> entries = Entries();
    const int count = static_cast<int>(entries.size());
    for (int index : {from, to})
        if (index < 0 || index >= count)
            throw EKovSettingsException(Format("Stack index %d is out of range", index));
    if (from == to)
        return;
    TSettingValue moved = entries[from];
    entries.erase(entries.begin() + from);
    entries.insert(entries.begin() + to, moved);
    SetEntries(entries, count);
}

void TKovSettingsStack::SetMaxStackSize(int size) {
    if (size < 0)
        throw EKovSettingsException(Format("Cannot use a stack size of %d", size));
    TUpdateBracket<TKovObservableObject> update(*this);
    for (int i = size; HasSetting(KeyOf(i)); ++i)
        RemoveSetting(KeyOf(i));
    FMaxStackSize = size;
    update.Close();
}

void TKovSettingsStack::SetStackPropPrefix(const std::string& prefix) {
    const std::string cleaned = Trim(prefix);
    if (!IsValidName(cleaned))
        throw EKovSettingsException(Format("\"%s\" is not a valid stack property prefix", prefix));
    if (cleaned == FStackPropPrefix)
        return;
    // All entries are taken out before any is written: the old and the new keys may overlap
    // ("Item" and "item", or "Item" and "Item1").
    const std::vector<TSettingValue> entries = Entries();
    TUpdateBracket<TKovObservableObject> update(*this);
    for (size_t i = 0; i < entries.size(); ++i)
        RemoveSetting(KeyOf(static_cast<int>(i)));
    FStackPropPrefix = cleaned;
    SetEntries(entries, 0);
    update.Close();
}

// ---------------------------------------------------------------------------------------------

TW_KOV_CLASS_IMPL(TKovSettingsStackNoDuplicateStrings, TKovSettingsStack, nullptr)

TKovSettingsStackNoDuplicateStrings::TKovSettingsStackNoDuplicateStrings(TKovObjectManager* manager)
    : TKovSettingsStack(manager) {}

void TKovSettingsStackNoDuplicateStrings::PushString(const std::string& value) {
    const int count = Count();
    for (int i = 0; i < count; ++i) {
        const TKovIntrinsicProperty* entry = FindSetting(KeyOf(i));
        if (!entry || &entry->ClassType() != &TIPFreeText::StaticClass())
            continue;
        const std::string text = GetString(i);
        if (FCaseSensitive ? text == value : SameText(text, value)) {
            MoveTo(i, 0);
            return;
        }
    }
    TKovSettingsStack::PushString(value);
}

} // namespace tw
