#include "storage/HSNativeXML.h"

#include "services/Base64.h"

#include "services/Format.h"
#include "services/Strings.h"

#include <charconv>
#include <cstring>
#include <limits>
#include <pugixml.hpp>

namespace tw {

namespace {
const char* const BlobMark = "Node_Type_BLOB";

bool IsBlobMark(const pugi::xml_attribute& attribute) {
    return SameText(attribute.name(), BlobMark);
}

// The blob mark in any case, as a file converted from lower-case names has it.
pugi::xml_attribute BlobMarkOf(const pugi::xml_node& node) {
    for (pugi::xml_attribute attribute : node.attributes())
        if (IsBlobMark(attribute))
            return attribute;
    return {};
}

// XML 1.0 names, with every byte from 0x80 up allowed as part of a UTF-8 letter.
bool IsXMLName(std::string_view name) {
    if (name.empty())
        return false;
    auto start = [](unsigned char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':' ||
               c >= 0x80;
    };
    if (!start(static_cast<unsigned char>(name[0])))
        return false;
    for (unsigned char c : name)
        if (!start(c) && !(c >= '0' && c <= '9') && c != '-' && c != '.')
            return false;
    return true;
}

class TStreamXMLWriter : public pugi::xml_writer {
public:
    explicit TStreamXMLWriter(TStream& stream) : FStream(stream) {}
    void write(const void* data, size_t size) override { FStream.Write(data, size); }

private:
    TStream& FStream;
};

pugi::xml_attribute FindAttribute(const pugi::xml_node& node, const std::string& normalized) {
    for (pugi::xml_attribute attribute : node.attributes())
        if (SameText(Trim(attribute.name()), normalized))
            return attribute;
    return {};
}

// The attribute that is named value number `index`, skipping the blob mark.
pugi::xml_attribute AttributeByNr(const pugi::xml_node& node, int index) {
    int i = 0;
    for (pugi::xml_attribute attribute : node.attributes()) {
        if (IsBlobMark(attribute))
            continue;
        if (i++ == index)
            return attribute;
    }
    throw EStorageException(
        Format("Named value index %d out of bounds for %s", index, node.name()));
}

template <typename T> bool ParseInteger(std::string_view text, T& value) {
    int64_t wide;
    if (!THierarchicStorage::StorageStringToInt64(text, wide) ||
        wide < std::numeric_limits<T>::min() || wide > std::numeric_limits<T>::max())
        return false;
    value = static_cast<T>(wide);
    return true;
}
} // namespace

const THierarchicStorageClass& THSNativeXML::StaticStorageClass() {
    static const THierarchicStorageClass cls{
        "THSNativeXML", ".xml",
        [](const std::string& rootName) -> std::unique_ptr<THierarchicStorage> {
            return std::make_unique<THSNativeXML>(rootName);
        }};
    return cls;
}

THSNativeXML::THSNativeXML(const std::string& rootName)
    : THierarchicStorage(nullptr), FXMLDoc(std::make_unique<pugi::xml_document>()) {
    if (rootName.find('\0') != std::string::npos)
        throw EInvalidName("Cannot specify a name with a #0 in it!");
    if (!rootName.empty()) {
        const std::string name = LowerCase(rootName);
        if (!IsXMLName(name))
            throw EInvalidName(Format("\"%s\" cannot be the name of an XML element", rootName));
        FNode = FXMLDoc->append_child(name.c_str()).internal_object();
    }
}

THSNativeXML::THSNativeXML(THSNativeXML* parent, pugi::xml_node_struct* node)
    : THierarchicStorage(parent), FNode(node) {}

THSNativeXML::~THSNativeXML() = default;

std::unique_ptr<THierarchicStorage> THSNativeXML::CreateChild(const std::string& name) {
    if (!IsXMLName(name))
        throw EInvalidName(Format("\"%s\" cannot be the name of an XML element", name));
    if (!FNode)
        throw EStorageException("An XML root without a name cannot have children");
    pugi::xml_node child = pugi::xml_node(FNode).append_child(name.c_str());
    return std::unique_ptr<THierarchicStorage>(new THSNativeXML(this, child.internal_object()));
}

std::string THSNativeXML::Name() const {
    return FNode ? pugi::xml_node(FNode).name() : "";
}

void THSNativeXML::SetName(const std::string& name) {
    const std::string checked = IsRoot() ? LowerCase(name) : name;
    if (!IsXMLName(checked))
        throw EInvalidName(Format("\"%s\" cannot be the name of an XML element", name));
    pugi::xml_node(FNode).set_name(checked.c_str());
}

bool THSNativeXML::RemoveChildByName(const std::string& name) {
    auto* child = static_cast<THSNativeXML*>(GetChildByName(name));
    if (!child)
        return false;
    pugi::xml_node(FNode).remove_child(pugi::xml_node(child->FNode));
    ExtractChild(child);
    return true;
}

TStorageValueType THSNativeXML::ValueType() const {
    return FNode && BlobMarkOf(pugi::xml_node(FNode)) ? svtBlob : svtNone;
}

// ---------------------------------------------------------------------------------------------
// Named values

int THSNativeXML::NamedValuesCount() const {
    int count = 0;
    if (FNode)
        for (pugi::xml_attribute attribute : pugi::xml_node(FNode).attributes())
            count += IsBlobMark(attribute) ? 0 : 1;
    return count;
}

std::string THSNativeXML::GetNamedValueNameByNr(int index) const {
    return AttributeByNr(pugi::xml_node(FNode), index).name();
}

std::string THSNativeXML::GetNamedValueByNr(int index) const {
    return AttributeByNr(pugi::xml_node(FNode), index).value();
}

std::string THSNativeXML::GetNamedValue(const std::string& name,
                                        const std::string& defaultValue) const {
    if (!FNode)
        return defaultValue;
    pugi::xml_attribute attribute =
        FindAttribute(pugi::xml_node(FNode), NormalizedNamedValueName(name));
    return attribute ? attribute.value() : defaultValue;
}

void THSNativeXML::SetNamedValue(const std::string& name, const std::string& value) {
    const std::string trimmed = Trim(name);
    if (trimmed.empty())
        throw EEmptyName("Cannot set a named value without a name");
    if (!IsXMLName(trimmed))
        throw EInvalidName(Format("\"%s\" cannot be the name of an XML attribute", trimmed));
    pugi::xml_node node(FNode);
    pugi::xml_attribute attribute = FindAttribute(node, NormalizedNamedValueName(trimmed));
    if (!attribute)
        attribute = node.append_attribute(trimmed.c_str());
    attribute.set_value(value.c_str());
}

// ---------------------------------------------------------------------------------------------
// Values

void THSNativeXML::SetText(const std::string& text) {
    pugi::xml_node node(FNode);
    node.remove_attribute(BlobMarkOf(node));
    node.text().set(text.c_str());
}

std::string THSNativeXML::GetValueAsString(const std::string& defaultValue) const {
    if (!FNode)
        return defaultValue;
    pugi::xml_text text = pugi::xml_node(FNode).text();
    return text ? text.get() : defaultValue;
}

void THSNativeXML::SetValueAsString(const std::string& value) {
    SetText(value);
}

bool THSNativeXML::GetValueAsBoolean(bool defaultValue) const {
    return StringAsBoolean(GetValueAsString(), defaultValue);
}

void THSNativeXML::SetValueAsBoolean(bool value) {
    SetText(BooleanAsString(value));
}

int32_t THSNativeXML::GetValueAsInt32(int32_t defaultValue) const {
    int32_t value;
    return ParseInteger(GetValueAsString(), value) ? value : defaultValue;
}

void THSNativeXML::SetValueAsInt32(int32_t value) {
    SetText(std::to_string(value));
}

int64_t THSNativeXML::GetValueAsInt64(int64_t defaultValue) const {
    int64_t value;
    return ParseInteger(GetValueAsString(), value) ? value : defaultValue;
}

void THSNativeXML::SetValueAsInt64(int64_t value) {
    SetText(std::to_string(value));
}

double THSNativeXML::GetValueAsDouble(double defaultValue) const {
    return StorageStringToDouble(GetValueAsString(), defaultValue);
}

void THSNativeXML::SetValueAsDouble(double value) {
    SetText(DoubleToStorageString(value));
}

std::string_view THSNativeXML::GetValueAsRawBlob(std::string& scratch) const {
    std::optional<std::string> bytes = DecodeBase64(GetValueAsString());
    if (!bytes)
        throw EStorageCorruptFile(Format("The blob of %s: invalid base 64 text", Name()));
    scratch = std::move(*bytes);
    return scratch;
}

void THSNativeXML::SetValueAsRawBlobBuffer(const void* buffer, uint64_t size) {
    pugi::xml_node node(FNode);
    node.text().set(EncodeBase64(std::string_view(static_cast<const char*>(buffer), size)).c_str());
    if (!BlobMarkOf(node))
        node.append_attribute(BlobMark).set_value("true");
}

// ---------------------------------------------------------------------------------------------
// Files

void THSNativeXML::LoadFromStream(TStream& stream, const std::string& fileName) {
    if (!IsRoot())
        throw EStorageException("Can only load root storage from file!");
    const std::string requested = FNode ? Name() : "";
    const std::string bytes = ReadRemainingBytes(stream);
    auto document = std::make_unique<pugi::xml_document>();
    const pugi::xml_parse_result result = document->load_buffer(
        bytes.data(), bytes.size(), pugi::parse_default | pugi::parse_ws_pcdata_single,
        pugi::encoding_auto);
    if (!result)
        throw EStorageCorruptFile(Format("The XML is not well formed: %s at byte %d",
                                         result.description(),
                                         static_cast<int64_t>(result.offset)));
    pugi::xml_node root = document->document_element();
    if (!root)
        throw EStorageCorruptFile("The XML holds no element");
    if (!requested.empty() && !SameText(root.name(), requested))
        throw EStorageIncompatibleFile(Format("Could not find node: %s", requested));
    (void)fileName;
    ClearChildren();
    FXMLDoc = std::move(document);
    FNode = root.internal_object();
    BuildChildren();
}

// One storage node per element, depth first without recursion.
void THSNativeXML::BuildChildren() {
    std::vector<std::pair<THSNativeXML*, int>> pending{{this, 0}};
    while (!pending.empty()) {
        auto [storage, depth] = pending.back();
        pending.pop_back();
        if (depth >= MaxDepth)
            throw EStorageCorruptFile(Format("The elements nest deeper than %d levels", MaxDepth));
        std::vector<THSNativeXML*> added;
        for (pugi::xml_node child : pugi::xml_node(storage->FNode).children())
            if (child.type() == pugi::node_element)
                added.push_back(static_cast<THSNativeXML*>(
                    &storage->AdoptChild(std::unique_ptr<THierarchicStorage>(
                        new THSNativeXML(storage, child.internal_object())))));
        for (auto it = added.rbegin(); it != added.rend(); ++it)
            pending.emplace_back(*it, depth + 1);
    }
}

void THSNativeXML::SaveToStream(TStream& stream) {
    TStreamXMLWriter writer(stream);
    HierarchyRoot();
    const pugi::xml_document* document = FXMLDoc.get();
    if (!document)
        throw EStorageException("Only the root of an XML storage can be saved");
    document->save(writer, "  ", pugi::format_indent, pugi::encoding_utf8);
}

} // namespace tw
