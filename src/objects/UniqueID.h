#pragma once
// Object identity: a 16-byte GUID, and the register from GUID to object that references resolve
// through. The register is the one structure of the model that worker threads may reach, so it
// is split into 256 buckets, each under its own reader-writer lock.

#include <array>
#include <cstdint>
#include <functional>
#include <shared_mutex>
#include <string>
#include <unordered_map>

namespace tw {

class TKovObject;

struct TUniqueID {
    std::array<uint8_t, 16> Bytes{};

    static TUniqueID Empty() { return {}; }
    // A random (version 4) GUID.
    static TUniqueID New();
    // Parses "{xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx}" (braces optional); false if malformed.
    static bool TryParse(const std::string& text, TUniqueID& id);

    bool IsEmpty() const;
    // "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}", upper case.
    std::string ToString() const;
    // The first 8 bytes as an integer: the bucket and hash key.
    uint64_t Low64() const;

    friend bool operator==(const TUniqueID&, const TUniqueID&) = default;
};

struct TUniqueIDHash {
    size_t operator()(const TUniqueID& id) const { return static_cast<size_t>(id.Low64()); }
};

class TUniqueIDRegister {
public:
    static constexpr size_t BucketCount = 256;

    // Makes a new GUID for `object` and enters it.
    TUniqueID Add(TKovObject* object);
    // Enters `object` under a given GUID (a loader giving an object its stored identity). An
    // existing entry under the same GUID is replaced.
    void Add(TKovObject* object, const TUniqueID& id);
    void Delete(const TUniqueID& id);
    // No object for the empty GUID or an unknown one.
    TKovObject* Get(const TUniqueID& id) const;
    bool HasID(const TUniqueID& id) const;
    bool HasID(const TUniqueID& id, const TKovObject* object) const;
    void Clear();
    size_t Count() const;
    std::string AsText() const;
    void SaveToFile(const std::string& fileName) const;
    bool DebugMode() const { return FDebugMode; }
    void SetDebugMode(bool debugMode) { FDebugMode = debugMode; }

    // The process-wide register used by objects without a manager.
    static TUniqueIDRegister& Default();

private:
    struct TBucket {
        mutable std::shared_mutex Lock;
        std::unordered_map<TUniqueID, TKovObject*, TUniqueIDHash> Map;
    };
    TBucket& BucketOf(const TUniqueID& id) { return FBuckets[id.Bytes[0]]; }
    const TBucket& BucketOf(const TUniqueID& id) const { return FBuckets[id.Bytes[0]]; }

    std::array<TBucket, BucketCount> FBuckets;
    bool FDebugMode = false;
};

} // namespace tw
