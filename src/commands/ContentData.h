#pragma once
// Content trees: what a command hands out besides its objects and numbers, and what the remote
// server sends and receives. A tree is made of simple values, objects (values by key, order not
// significant) and arrays; a serializer turns it into text. The one serializer is JSON.
//
// A simple value is held as text with its type, the way it travels: booleans "true" and "false",
// doubles as their shortest round-trip text (the words "NaN", "Infinity" and "-Infinity" for the
// values that have no number), bytes in base 64.

#include "services/KovException.h"

#include <cstdint>
#include <iosfwd>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace tw {

TW_DECLARE_EXCEPTION(EContentDataException, EKovException)

class TPASContentData {
public:
    virtual ~TPASContentData() = default;
    virtual std::unique_ptr<TPASContentData> Clone() const = 0;
};

class TCDSimpleValue : public TPASContentData {
public:
    // Inside the class: the storage's value types (HierarchicStorage.h) share these names.
    enum TSimpleValueType { svtUndefined, svtBoolean, svtInteger, svtDouble, svtString, svtBytes };

    TCDSimpleValue() = default;
    explicit TCDSimpleValue(bool value);
    explicit TCDSimpleValue(int64_t value);
    explicit TCDSimpleValue(int32_t value) : TCDSimpleValue(int64_t(value)) {}
    explicit TCDSimpleValue(double value);
    explicit TCDSimpleValue(std::string value);
    explicit TCDSimpleValue(const char* value) : TCDSimpleValue(std::string(value)) {}
    explicit TCDSimpleValue(const std::vector<uint8_t>& bytes);
    std::unique_ptr<TPASContentData> Clone() const override {
        return std::make_unique<TCDSimpleValue>(*this);
    }

    void SetValueUndefined();
    TSimpleValueType ValueType() const { return FValueType; }
    // Each raises EContentDataException for a value that can't be read as asked. A double reads
    // from an integer and from a text holding a number or one of the three words.
    bool BooleanValue() const;
    int64_t IntegerValue() const;
    double DoubleValue() const;
    std::vector<uint8_t> BytesValue() const;
    // The text the value is held as ("true", "1.5", the base 64 of bytes, ...); empty when
    // undefined.
    const std::string& StringValue() const { return FString; }

private:
    [[noreturn]] void WrongType(const char* asked) const;

    TSimpleValueType FValueType = svtUndefined;
    std::string FString;
};

class TCDArray;

class TCDObject : public TPASContentData {
public:
    TCDObject() = default;
    TCDObject(const TCDObject& other);
    std::unique_ptr<TPASContentData> Clone() const override {
        return std::make_unique<TCDObject>(*this);
    }

    // Adds under a key, replacing what stood there.
    TPASContentData& Add(const std::string& key, std::unique_ptr<TPASContentData> item);
    void AddBoolean(const std::string& key, bool value);
    void AddInteger(const std::string& key, int64_t value);
    void AddDouble(const std::string& key, double value);
    void AddString(const std::string& key, const std::string& value);
    TCDObject& AddCDObject(const std::string& key);
    TCDArray& AddCDArray(const std::string& key);

    // Each raises for a missing key ("Key named %s is not present in object %s.") or an item of
    // another kind.
    TPASContentData& GetItem(const std::string& key) const;
    TCDObject& GetCDObject(const std::string& key) const;
    TCDArray& GetCDArray(const std::string& key) const;
    bool GetBoolean(const std::string& key) const;
    int64_t GetInteger(const std::string& key) const;
    double GetDouble(const std::string& key) const;
    std::string GetString(const std::string& key) const;

    std::vector<std::string> GetKeys() const;
    bool HasKey(const std::string& key) const { return FItems.count(key) != 0; }
    bool RemoveKey(const std::string& key) { return FItems.erase(key) != 0; }
    int Count() const { return static_cast<int>(FItems.size()); }
    const std::map<std::string, std::unique_ptr<TPASContentData>>& Items() const { return FItems; }

private:
    const TCDSimpleValue& GetSimple(const std::string& key) const;

    std::map<std::string, std::unique_ptr<TPASContentData>> FItems;
};

class TCDArray : public TPASContentData {
public:
    TCDArray() = default;
    TCDArray(const TCDArray& other);
    std::unique_ptr<TPASContentData> Clone() const override {
        return std::make_unique<TCDArray>(*this);
    }

    TPASContentData& Add(std::unique_ptr<TPASContentData> item);
    // Copies each item of `items` in.
    void AddObjects(const std::vector<const TPASContentData*>& items);
    void AddSimpleValue(bool value);
    void AddSimpleValue(int64_t value);
    void AddSimpleValue(double value);
    void AddSimpleValue(const std::string& value);
    // Raises for an index outside the array.
    TPASContentData& GetItem(int index) const;
    int Count() const { return static_cast<int>(FItems.size()); }

private:
    std::vector<std::unique_ptr<TPASContentData>> FItems;
};

// Bytes of a given content type; travels as {"ContentType": ..., "data": base 64}.
class TCDBinaryContent : public TPASContentData {
public:
    TCDBinaryContent(std::vector<uint8_t> bytes, std::string contentType)
        : FBytes(std::move(bytes)), FContentType(std::move(contentType)) {}
    std::unique_ptr<TPASContentData> Clone() const override {
        return std::make_unique<TCDBinaryContent>(*this);
    }
    const std::vector<uint8_t>& Bytes() const { return FBytes; }
    const std::string& ContentType() const { return FContentType; }
    // Reads the stream to its end.
    void SetBytesWithStream(std::istream& stream);

private:
    std::vector<uint8_t> FBytes;
    std::string FContentType;
};

std::string EncodeBase64(const std::vector<uint8_t>& bytes);
// Raises EContentDataException for a text that is no base 64.
std::vector<uint8_t> DecodeBase64(const std::string& text);

class TPASContentSerializer {
public:
    virtual ~TPASContentSerializer() = default;
    std::string SupportedTypeCategory() const { return "application"; }
    virtual std::string SupportedTypeType() const = 0;
    // "application/json".
    std::string SupportedType() const {
        return SupportedTypeCategory() + "/" + SupportedTypeType();
    }

    virtual void ContentDataToStream(const TPASContentData& data, std::ostream& stream) const = 0;
    std::string ContentDataToString(const TPASContentData& data) const;
    // Written to a temporary file beside the target and put in place.
    void ContentDataToFile(const TPASContentData& data, const std::string& fileName) const;
    virtual std::unique_ptr<TPASContentData> CreateContentDataFromStream(std::istream& s) const = 0;
    std::unique_ptr<TPASContentData> CreateContentDataFromString(const std::string& text) const;
    std::unique_ptr<TPASContentData> CreateContentDataFromFile(const std::string& fileName) const;
    // The lines joined by line ends.
    std::unique_ptr<TPASContentData>
    CreateContentDataFromStringList(const std::vector<std::string>& lines) const;
};

// JSON through nlohmann/json. Reading raises EContentDataException for text that is no JSON or is
// nested deeper than MaxDepth.
class TCSJSON : public TPASContentSerializer {
public:
    static constexpr int MaxDepth = 512;
    std::string SupportedTypeType() const override { return "json"; }
    void ContentDataToStream(const TPASContentData& data, std::ostream& stream) const override;
    std::unique_ptr<TPASContentData> CreateContentDataFromStream(std::istream& s) const override;
};

class TPASContentSerializerRegistry {
public:
    // The default serializer; JSON unless another was set first.
    static const TPASContentSerializer& Default();
    // Raises "Cannot reassign default serializer" when one is set already.
    static void SetDefault(std::unique_ptr<TPASContentSerializer> serializer);
};

} // namespace tw
