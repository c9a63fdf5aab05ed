#pragma once
// A most-recent-first list of values kept as numbered settings: the entry at index i is the
// setting "<prefix><i>" ("Item0", "Item1", ...). Pushing puts a value at index 0 and moves the
// others one place down; the one at the last place drops off. Lists of recent files are made of
// TKovSettingsStackNoDuplicateStrings, which keeps each file name once.

#include "storage/Settings.h"

namespace tw {

class TKovSettingsStack : public TKovSettingsWithDefault {
    TW_KOV_CLASS(TKovSettingsStack, TKovSettingsWithDefault)
public:
    static constexpr int DefaultMaxStackSize = 10;

    explicit TKovSettingsStack(TKovObjectManager* manager = nullptr);

    // The setting of an entry: "%s%d" of prefix and index.
    std::string KeyOf(int index) const;

    using TKovSettings::GetBoolean;
    using TKovSettings::GetDouble;
    using TKovSettings::GetInteger;
    using TKovSettings::GetNewBlob;
    using TKovSettings::GetNewGraphic;
    using TKovSettings::GetString;
    // The entry at `index`, or the default for an index without an entry of that kind.
    std::string GetString(int index, const std::string& defaultValue = "") const {
        return GetString(KeyOf(index), defaultValue);
    }
    int32_t GetInteger(int index, int32_t defaultValue = 0) const {
        return GetInteger(KeyOf(index), defaultValue);
    }
    double GetDouble(int index, double defaultValue = 0) const {
        return GetDouble(KeyOf(index), defaultValue);
    }
    bool GetBoolean(int index, bool defaultValue = false) const {
        return GetBoolean(KeyOf(index), defaultValue);
    }
    std::vector<uint8_t> GetNewBlob(int index) const { return GetNewBlob(KeyOf(index)); }
    std::vector<uint8_t> GetNewGraphic(int index) const { return GetNewGraphic(KeyOf(index)); }

    // Each push is one update of this object: observers hear of it once.
    virtual void PushString(const std::string& value);
    void PushInteger(int32_t value);
    void PushDouble(double value);
    void PushBoolean(bool value);
    void PushBLOB(const std::vector<uint8_t>& value);
    void PushGraphic(const std::vector<uint8_t>& value);

    // Moves the entry at `from` to `to`; the entries between move one place to make room.
    // Raises "Stack index %d is out of range" for an index not below Count.
    void MoveTo(int from, int to);
    // The entries from index 0 up to the first missing one.
    int Count() const;

    int MaxStackSize() const { return FMaxStackSize; }
    // Raises "Cannot use a stack size of %d" for a negative size; a smaller size removes the
    // entries above it.
    void SetMaxStackSize(int size);
    const std::string& StackPropPrefix() const { return FStackPropPrefix; }
    // The trimmed prefix must be a valid name, else "\"%s\" is not a valid stack property prefix";
    // the entries take the new prefix.
    void SetStackPropPrefix(const std::string& prefix);

protected:
    // Shifts every entry one place down (the last one drops off) and writes `write` at index 0,
    // in one update.
    void Push(const std::function<void(const std::string& key)>& write);

private:
    std::vector<TSettingValue> Entries() const;
    // Replaces the entries by `entries`, under the current prefix.
    void SetEntries(const std::vector<TSettingValue>& entries, int oldCount);

    int FMaxStackSize = DefaultMaxStackSize;
    std::string FStackPropPrefix = "Item";
};

class TKovSettingsStackNoDuplicateStrings : public TKovSettingsStack {
    TW_KOV_CLASS(TKovSettingsStackNoDuplicateStrings, TKovSettingsStack)
public:
    explicit TKovSettingsStackNoDuplicateStrings(TKovObjectManager* manager = nullptr);

    // A value equal to the first entry changes nothing; one further down moves to the top;
    // any other is pushed.
    void PushString(const std::string& value) override;

    // On by default: the names of files differ by case on this system.
    bool CaseSensitive() const { return FCaseSensitive; }
    void SetCaseSensitive(bool caseSensitive) { FCaseSensitive = caseSensitive; }

private:
    bool FCaseSensitive = true;
};

} // namespace tw
