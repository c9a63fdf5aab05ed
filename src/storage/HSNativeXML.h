#pragma once
// The XML back-end (".xml"): each node is an element, its named values are attributes and its
// value is the element's text. XML has no value types, so ValueType is svtNone except for blobs,
// which are written in base 64 and marked by the hidden attribute "Node_Type_BLOB". The document
// is pugixml's, shared by the whole tree and owned by the root.

#include "storage/HierarchicStorage.h"

#include <memory>

namespace pugi {
class xml_document;
struct xml_node_struct;
} // namespace pugi

namespace tw {

class THSNativeXML : public THierarchicStorage {
public:
    static const THierarchicStorageClass& StaticStorageClass();
    // A root whose element is the lower-cased `rootName`. Loading into a root with a name
    // requires the file to have that root element; an unnamed root takes any.
    explicit THSNativeXML(const std::string& rootName);
    ~THSNativeXML() override;

    const THierarchicStorageClass& StorageClass() const override { return StaticStorageClass(); }
    std::string Name() const override;
    void SetName(const std::string& name) override;
    bool RemoveChildByName(const std::string& name) override;
    TStorageValueType ValueType() const override;

    int NamedValuesCount() const override;
    std::string GetNamedValueNameByNr(int index) const override;
    std::string GetNamedValueByNr(int index) const override;
    std::string GetNamedValue(const std::string& name,
                              const std::string& defaultValue = "") const override;
    void SetNamedValue(const std::string& name, const std::string& value) override;

    bool GetValueAsBoolean(bool defaultValue = false) const override;
    void SetValueAsBoolean(bool value) override;
    int32_t GetValueAsInt32(int32_t defaultValue = 0) const override;
    void SetValueAsInt32(int32_t value) override;
    int64_t GetValueAsInt64(int64_t defaultValue = 0) const override;
    void SetValueAsInt64(int64_t value) override;
    double GetValueAsDouble(double defaultValue = 0) const override;
    void SetValueAsDouble(double value) override;
    std::string GetValueAsString(const std::string& defaultValue = "") const override;
    void SetValueAsString(const std::string& value) override;

    void LoadFromStream(TStream& stream, const std::string& fileName = "") override;
    void SaveToStream(TStream& stream) override;

protected:
    std::unique_ptr<THierarchicStorage> CreateChild(const std::string& name) override;
    std::string_view GetValueAsRawBlob(std::string& scratch) const override;
    void SetValueAsRawBlobBuffer(const void* buffer, uint64_t size) override;

private:
    THSNativeXML(THSNativeXML* parent, pugi::xml_node_struct* node);
    // Writes the element's text and drops the blob mark.
    void SetText(const std::string& text);
    void BuildChildren();

    std::unique_ptr<pugi::xml_document> FXMLDoc; // the root's only
    pugi::xml_node_struct* FNode = nullptr;
};

} // namespace tw
