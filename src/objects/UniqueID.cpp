#include "objects/UniqueID.h"

#include "objects/KovBaseClasses.h"
#include "services/Format.h"

#include <cstring>
#include <fstream>
#include <mutex>
#include <random>

namespace tw {

TUniqueID TUniqueID::New() {
    thread_local std::mt19937_64 generator([] {
        std::random_device device;
        std::seed_seq seed{device(), device(), device(), device()};
        return std::mt19937_64(seed);
    }());
    TUniqueID id;
    uint64_t a = generator(), b = generator();
    std::memcpy(id.Bytes.data(), &a, 8);
    std::memcpy(id.Bytes.data() + 8, &b, 8);
    id.Bytes[7] = static_cast<uint8_t>((id.Bytes[7] & 0x0F) | 0x40); // version 4
    id.Bytes[8] = static_cast<uint8_t>((id.Bytes[8] & 0x3F) | 0x80); // variant 1
    if (id.IsEmpty())
        id.Bytes[15] = 1;
    return id;
}

bool TUniqueID::IsEmpty() const {
    for (uint8_t b : Bytes)
        if (b)
            return false;
    return true;
}

uint64_t TUniqueID::Low64() const {
    uint64_t value;
    std::memcpy(&value, Bytes.data(), 8);
    return value;
}

// The text form follows the usual GUID layout: the first three groups are little-endian
// integers, the last two are bytes in order.
std::string TUniqueID::ToString() const {
    const auto& b = Bytes;
    return Format("{%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X}", b[3],
                  b[2], b[1], b[0], b[5], b[4], b[7], b[6], b[8], b[9], b[10], b[11], b[12], b[13],
                  b[14], b[15]);
}

bool TUniqueID::TryParse(const std::string& text, TUniqueID& id) {
    std::string hex;
    std::string t = text;
    if (t.size() == 38 && t.front() == '{' && t.back() == '}')
        t = t.substr(1, 36);
    if (t.size() != 36 || t[8] != '-' || t[13] != '-' || t[18] != '-' || t[23] != '-')
        return false;
    for (char c : t)
        if (c != '-')
            hex += c;
    uint8_t raw[16];
    for (int i = 0; i < 16; ++i) {
        auto nibble = [](char c) -> int {
            if (c >= '0' && c <= '9')
                return c - '0';
            if (c >= 'a' && c <= 'f')
                return c - 'a' + 10;
            if (c >= 'A' && c <= 'F')
                return c - 'A' + 10;
            return -1;
        };
        int hi = nibble(hex[2 * i]), lo = nibble(hex[2 * i + 1]);
        if (hi < 0 || lo < 0)
            return false;
        raw[i] = static_cast<uint8_t>(hi * 16 + lo);
    }
    static const int order[16] = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
    for (int i = 0; i < 16; ++i)
        id.Bytes[order[i]] = raw[i];
    return true;
}

TUniqueID TUniqueIDRegister::Add(TKovObject* object) {
    TUniqueID id = TUniqueID::New();
    Add(object, id);
    return id;
}

void TUniqueIDRegister::Add(TKovObject* object, const TUniqueID& id) {
    auto& bucket = BucketOf(id);
    std::unique_lock lock(bucket.Lock);
    bucket.Map[id] = object;
}

void TUniqueIDRegister::Delete(const TUniqueID& id) {
    auto& bucket = BucketOf(id);
    std::unique_lock lock(bucket.Lock);
    bucket.Map.erase(id);
}

TKovObject* TUniqueIDRegister::Get(const TUniqueID& id) const {
    if (id.IsEmpty())
        return nullptr;
    const auto& bucket = BucketOf(id);
    std::shared_lock lock(bucket.Lock);
    auto it = bucket.Map.find(id);
    return it == bucket.Map.end() ? nullptr : it->second;
}

bool TUniqueIDRegister::HasID(const TUniqueID& id) const {
    const auto& bucket = BucketOf(id);
    std::shared_lock lock(bucket.Lock);
    return bucket.Map.count(id) != 0;
}

bool TUniqueIDRegister::HasID(const TUniqueID& id, const TKovObject* object) const {
    const auto& bucket = BucketOf(id);
    std::shared_lock lock(bucket.Lock);
    auto it = bucket.Map.find(id);
    return it != bucket.Map.end() && it->second == object;
}

void TUniqueIDRegister::Clear() {
    for (auto& bucket : FBuckets) {
        std::unique_lock lock(bucket.Lock);
        bucket.Map.clear();
    }
}

size_t TUniqueIDRegister::Count() const {
    size_t count = 0;
    for (const auto& bucket : FBuckets) {
        std::shared_lock lock(bucket.Lock);
        count += bucket.Map.size();
    }
    return count;
}

std::string TUniqueIDRegister::AsText() const {
    std::string text;
    for (const auto& bucket : FBuckets) {
        std::shared_lock lock(bucket.Lock);
        for (const auto& [id, object] : bucket.Map)
            text +=
                id.ToString() + "=" +
                (object ? object->GetObjectTypeName() + ":" + object->Name() : std::string("nil")) +
                "\n";
    }
    return text;
}

void TUniqueIDRegister::SaveToFile(const std::string& fileName) const {
    std::ofstream(fileName, std::ios::binary) << AsText();
}

TUniqueIDRegister& TUniqueIDRegister::Default() {
    static TUniqueIDRegister instance;
    return instance;
}

} // namespace tw
