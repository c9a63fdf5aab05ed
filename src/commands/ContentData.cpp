#include "commands/ContentData.h"

#include "services/Base64.h"

#include "services/Format.h"
#include "services/Strings.h"

#include <nlohmann/json.hpp>

#include <charconv>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <mutex>
#include <sstream>

namespace tw {

namespace {

std::string DoubleText(double value) {
    if (std::isnan(value))
        return "NaN";
    if (std::isinf(value))
        return value > 0 ? "Infinity" : "-Infinity";
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

bool ParseDoubleText(const std::string& text, double& value) {
    if (text == "NaN") {
        value = std::numeric_limits<double>::quiet_NaN();
        return true;
    }
    if (text == "Infinity" || text == "-Infinity") {
        value = text[0] == '-' ? -std::numeric_limits<double>::infinity()
                               : std::numeric_limits<double>::infinity();
        return true;
    }
    return TryStrToFloat(text, value);
}

const char* TypeText(TCDSimpleValue::TSimpleValueType type) {
    switch (type) {
    case TCDSimpleValue::svtUndefined:
        return "undefined";
    case TCDSimpleValue::svtBoolean:
        return "boolean";
    case TCDSimpleValue::svtInteger:
        return "integer";
    case TCDSimpleValue::svtDouble:
        return "double";
    case TCDSimpleValue::svtString:
        return "string";
    case TCDSimpleValue::svtBytes:
        return "bytes";
    }
    return "?";
}

} // namespace

// ---------------------------------------------------------------------------------------------

std::string EncodeBase64(const std::vector<uint8_t>& bytes) {
    return EncodeBase64(
        std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
}

std::vector<uint8_t> DecodeBase64(const std::string& text) {
    const std::optional<std::string> bytes = DecodeBase64(std::string_view(text));
    if (!bytes)
        throw EContentDataException("Invalid base 64 text");
    return std::vector<uint8_t>(bytes->begin(), bytes->end());
}

// ---------------------------------------------------------------------------------------------
// Simple values

TCDSimpleValue::TCDSimpleValue(bool value)
    : FValueType(svtBoolean), FString(value ? "true" : "false") {}
TCDSimpleValue::TCDSimpleValue(int64_t value)
    : FValueType(svtInteger), FString(std::to_string(value)) {}
TCDSimpleValue::TCDSimpleValue(double value) : FValueType(svtDouble), FString(DoubleText(value)) {}
TCDSimpleValue::TCDSimpleValue(std::string value)
    : FValueType(svtString), FString(std::move(value)) {}
TCDSimpleValue::TCDSimpleValue(const std::vector<uint8_t>& bytes)
    : FValueType(svtBytes), FString(EncodeBase64(bytes)) {}

void TCDSimpleValue::SetValueUndefined() {
    FValueType = svtUndefined;
    FString.clear();
}

void TCDSimpleValue::WrongType(const char* asked) const {
    throw EContentDataException(
        Format("Cannot read a %s value as %s: \"%s\"", TypeText(FValueType), asked, FString));
}

bool TCDSimpleValue::BooleanValue() const {
    if (FValueType != svtBoolean)
        WrongType("boolean");
    return FString == "true";
}

int64_t TCDSimpleValue::IntegerValue() const {
    int64_t value = 0;
    if (FValueType != svtInteger)
        WrongType("integer");
    std::from_chars(FString.data(), FString.data() + FString.size(), value);
    return value;
}

double TCDSimpleValue::DoubleValue() const {
    double value = 0;
    if ((FValueType != svtDouble && FValueType != svtInteger && FValueType != svtString) ||
        !ParseDoubleText(FString, value))
        WrongType("double");
    return value;
}

std::vector<uint8_t> TCDSimpleValue::BytesValue() const {
    if (FValueType != svtBytes && FValueType != svtString)
        WrongType("bytes");
    return DecodeBase64(FString);
}

// ---------------------------------------------------------------------------------------------
// Objects and arrays

TCDObject::TCDObject(const TCDObject& other) : TPASContentData(other) {
    for (const auto& [key, item] : other.FItems)
        FItems.emplace(key, item->Clone());
}

TPASContentData& TCDObject::Add(const std::string& key, std::unique_ptr<TPASContentData> item) {
    auto& slot = FItems[key];
    slot = std::move(item);
    return *slot;
}

void TCDObject::AddBoolean(const std::string& key, bool value) {
    Add(key, std::make_unique<TCDSimpleValue>(value));
}
void TCDObject::AddInteger(const std::string& key, int64_t value) {
    Add(key, std::make_unique<TCDSimpleValue>(value));
}
void TCDObject::AddDouble(const std::string& key, double value) {
    Add(key, std::make_unique<TCDSimpleValue>(value));
}
void TCDObject::AddString(const std::string& key, const std::string& value) {
    Add(key, std::make_unique<TCDSimpleValue>(value));
}
TCDObject& TCDObject::AddCDObject(const std::string& key) {
    return static_cast<TCDObject&>(Add(key, std::make_unique<TCDObject>()));
}
TCDArray& TCDObject::AddCDArray(const std::string& key) {
    return static_cast<TCDArray&>(Add(key, std::make_unique<TCDArray>()));
}

TPASContentData& TCDObject::GetItem(const std::string& key) const {
    auto it = FItems.find(key);
    if (it == FItems.end())
        throw EContentDataException(Format("Key named %s is not present in object %s.", key,
                                           "{" + Join(GetKeys(), ", ") + "}"));
    return *it->second;
}

TCDObject& TCDObject::GetCDObject(const std::string& key) const {
    auto* object = dynamic_cast<TCDObject*>(&GetItem(key));
    if (!object)
        throw EContentDataException(Format("Item %s is no object", key));
    return *object;
}

TCDArray& TCDObject::GetCDArray(const std::string& key) const {
    auto* array = dynamic_cast<TCDArray*>(&GetItem(key));
    if (!array)
        throw EContentDataException(Format("Item %s is no array", key));
    return *array;
}

const TCDSimpleValue& TCDObject::GetSimple(const std::string& key) const {
    auto* value = dynamic_cast<TCDSimpleValue*>(&GetItem(key));
    if (!value)
        throw EContentDataException(Format("Item %s is no simple value", key));
    return *value;
}

bool TCDObject::GetBoolean(const std::string& key) const {
    return GetSimple(key).BooleanValue();
}
int64_t TCDObject::GetInteger(const std::string& key) const {
    return GetSimple(key).IntegerValue();
}
double TCDObject::GetDouble(const std::string& key) const {
    return GetSimple(key).DoubleValue();
}
std::string TCDObject::GetString(const std::string& key) const {
    return GetSimple(key).StringValue();
}

std::vector<std::string> TCDObject::GetKeys() const {
    std::vector<std::string> keys;
    for (const auto& [key, item] : FItems)
        keys.push_back(key);
    return keys;
}

TCDArray::TCDArray(const TCDArray& other) : TPASContentData(other) {
    for (const auto& item : other.FItems)
        FItems.push_back(item->Clone());
}

TPASContentData& TCDArray::Add(std::unique_ptr<TPASContentData> item) {
    FItems.push_back(std::move(item));
    return *FItems.back();
}

void TCDArray::AddObjects(const std::vector<const TPASContentData*>& items) {
    for (const auto* item : items)
        Add(item->Clone());
}

void TCDArray::AddSimpleValue(bool value) {
    Add(std::make_unique<TCDSimpleValue>(value));
}
void TCDArray::AddSimpleValue(int64_t value) {
    Add(std::make_unique<TCDSimpleValue>(value));
}
void TCDArray::AddSimpleValue(double value) {
    Add(std::make_unique<TCDSimpleValue>(value));
}
void TCDArray::AddSimpleValue(const std::string& value) {
    Add(std::make_unique<TCDSimpleValue>(value));
}

TPASContentData& TCDArray::GetItem(int index) const {
    if (index < 0 || index >= Count())
        throw EContentDataException(Format("List index out of bounds (%d)", index));
    return *FItems[index];
}

void TCDBinaryContent::SetBytesWithStream(std::istream& stream) {
    FBytes.assign(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
}

// ---------------------------------------------------------------------------------------------
// Serializers

std::string TPASContentSerializer::ContentDataToString(const TPASContentData& data) const {
    std::ostringstream stream;
    ContentDataToStream(data, stream);
    return stream.str();
}

void TPASContentSerializer::ContentDataToFile(const TPASContentData& data,
                                              const std::string& fileName) const {
    const std::string temporary = fileName + ".tmp";
    {
        std::ofstream file(temporary, std::ios::binary | std::ios::trunc);
        if (!file)
            throw EContentDataException(Format("Cannot write %s", fileName));
        ContentDataToStream(data, file);
        file.close();
        if (!file)
            throw EContentDataException(Format("Cannot write %s", fileName));
    }
    std::error_code error;
    std::filesystem::rename(temporary, fileName, error);
    if (error) {
        std::filesystem::remove(temporary, error);
        throw EContentDataException(Format("Cannot write %s", fileName));
    }
}

std::unique_ptr<TPASContentData>
TPASContentSerializer::CreateContentDataFromString(const std::string& text) const {
    std::istringstream stream(text);
    return CreateContentDataFromStream(stream);
}

std::unique_ptr<TPASContentData>
TPASContentSerializer::CreateContentDataFromFile(const std::string& fileName) const {
    std::ifstream file(fileName, std::ios::binary);
    if (!file)
        throw EContentDataException(Format("Cannot read %s", fileName));
    return CreateContentDataFromStream(file);
}

std::unique_ptr<TPASContentData> TPASContentSerializer::CreateContentDataFromStringList(
    const std::vector<std::string>& lines) const {
    return CreateContentDataFromString(Join(lines, "\n"));
}

namespace {

using TJson = nlohmann::json;

TJson ToJson(const TPASContentData& data) {
    if (const auto* value = dynamic_cast<const TCDSimpleValue*>(&data)) {
        switch (value->ValueType()) {
        case TCDSimpleValue::svtUndefined:
            return nullptr;
        case TCDSimpleValue::svtBoolean:
            return value->BooleanValue();
        case TCDSimpleValue::svtInteger:
            return value->IntegerValue();
        case TCDSimpleValue::svtDouble: {
            const double number = value->DoubleValue();
            if (std::isfinite(number))
                return number;
            return value->StringValue();
        }
        case TCDSimpleValue::svtString:
        case TCDSimpleValue::svtBytes:
            return value->StringValue();
        }
        throw EContentDataException(Format("Unsupported data type: %d", int(value->ValueType())));
    }
    if (const auto* object = dynamic_cast<const TCDObject*>(&data)) {
        TJson json = TJson::object();
        for (const auto& [key, item] : object->Items())
            json[key] = ToJson(*item);
        return json;
    }
    if (const auto* array = dynamic_cast<const TCDArray*>(&data)) {
        TJson json = TJson::array();
        for (int i = 0; i < array->Count(); ++i)
            json.push_back(ToJson(array->GetItem(i)));
        return json;
    }
    if (const auto* binary = dynamic_cast<const TCDBinaryContent*>(&data))
        return TJson{{"ContentType", binary->ContentType()},
                     {"data", EncodeBase64(binary->Bytes())}};
    throw EContentDataException(Format("Unexpected content type: %s", typeid(data).name()));
}

std::unique_ptr<TPASContentData> FromJson(const TJson& json, int depth) {
    if (depth > TCSJSON::MaxDepth)
        throw EContentDataException("Content is nested too deeply");
    switch (json.type()) {
    case TJson::value_t::null:
        return std::make_unique<TCDSimpleValue>();
    case TJson::value_t::boolean:
        return std::make_unique<TCDSimpleValue>(json.get<bool>());
    case TJson::value_t::number_integer:
        return std::make_unique<TCDSimpleValue>(json.get<int64_t>());
    case TJson::value_t::number_unsigned: {
        const uint64_t number = json.get<uint64_t>();
        if (number > uint64_t(std::numeric_limits<int64_t>::max()))
            return std::make_unique<TCDSimpleValue>(static_cast<double>(number));
        return std::make_unique<TCDSimpleValue>(static_cast<int64_t>(number));
    }
    case TJson::value_t::number_float:
        return std::make_unique<TCDSimpleValue>(json.get<double>());
    case TJson::value_t::string:
        return std::make_unique<TCDSimpleValue>(json.get<std::string>());
    case TJson::value_t::object: {
        auto object = std::make_unique<TCDObject>();
        for (const auto& [key, item] : json.items())
            object->Add(key, FromJson(item, depth + 1));
        return object;
    }
    case TJson::value_t::array: {
        auto array = std::make_unique<TCDArray>();
        for (const auto& item : json)
            array->Add(FromJson(item, depth + 1));
        return array;
    }
    default:
        throw EContentDataException(Format("Unexpected value type: %d", int(json.type())));
    }
}

} // namespace

void TCSJSON::ContentDataToStream(const TPASContentData& data, std::ostream& stream) const {
    // Invalid UTF-8 in a text is replaced rather than refused: a reply must always go out.
    stream << ToJson(data).dump(-1, ' ', false, TJson::error_handler_t::replace);
}

std::unique_ptr<TPASContentData> TCSJSON::CreateContentDataFromStream(std::istream& s) const {
    // The parser's own depth would be unbounded; a callback refuses what is nested too deeply
    // before the tree is built.
    int depth = 0;
    TJson::parser_callback_t limit = [&depth](int d, TJson::parse_event_t, TJson&) {
        depth = std::max(depth, d);
        if (d > MaxDepth)
            throw EContentDataException("Content is nested too deeply");
        return true;
    };
    TJson json;
    try {
        json = TJson::parse(s, limit);
    } catch (const TJson::exception& e) {
        throw EContentDataException(Format("Invalid JSON: %s", e.what()));
    }
    return FromJson(json, 0);
}

// ---------------------------------------------------------------------------------------------

namespace {
std::mutex SerializerMutex;
std::unique_ptr<TPASContentSerializer> DefaultSerializer;
} // namespace

const TPASContentSerializer& TPASContentSerializerRegistry::Default() {
    std::lock_guard lock(SerializerMutex);
    if (!DefaultSerializer)
        DefaultSerializer = std::make_unique<TCSJSON>();
    return *DefaultSerializer;
}

void TPASContentSerializerRegistry::SetDefault(std::unique_ptr<TPASContentSerializer> serializer) {
    std::lock_guard lock(SerializerMutex);
    if (DefaultSerializer)
        throw EContentDataException("Cannot reassign default serializer");
    DefaultSerializer = std::move(serializer);
}

} // namespace tw
