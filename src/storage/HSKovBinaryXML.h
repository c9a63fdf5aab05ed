#pragma once
// The binary-XML back-end (".kovml"): the tree of XML kept in flat sections that are addressed
// by offset, so that a file is mapped and read in place. Opening a file maps it and rebuilds one
// node per element from the hierarchy and attribute sections only; names and values are decoded
// when they are asked for, straight from the mapping.
//
// The file: a text header ended by the byte 0x1A, then sections, each its name (a sized string),
// a size and the bytes, followed by CR LF. Sizes and offsets are W bytes wide: 4 in version 1,
// 8 in version 2. "Elements" holds one fixed record per node (name offset, value type, value
// field), "Names" the lower-cased names once each, "DataInt32", "DataInt64", "DataDouble",
// "DataString" and "DataBlob" the values, "Attributes" each node's named values and
// "ElementsHierarchy" the tree, depth first.
//
// A tree read from a file writes into a copy of a section the first time that section changes;
// the mapping itself is never written. Removing and renaming nodes are not supported.

#include "storage/HierarchicStorage.h"

#include <functional>
#include <map>
#include <memory>

namespace tw {

class THSKovBinaryXML;

// How one version of the format reads and writes a tree. The root owns it; its children share it.
class TKovBinaryXMLStrategy_Abstract {
public:
    virtual ~TKovBinaryXMLStrategy_Abstract() = default;
    virtual int Version() const = 0;

    // Records the node's place in "Elements"; with a name, a new record.
    virtual void AddToElements(THSKovBinaryXML& storage, const std::string* name) = 0;
    virtual std::string GetName(const THSKovBinaryXML& storage) = 0;
    virtual int GetNamedValuesCount(const THSKovBinaryXML& storage) = 0;
    virtual TStorageValueType GetValueType(const THSKovBinaryXML& storage) = 0;
    // Reads the sections behind the header; `source` stays alive as long as the strategy.
    virtual void LoadFromStream(THSKovBinaryXML& root, std::unique_ptr<TStream> source,
                                uint64_t start, const std::string& fileName) = 0;
    virtual void SaveToStream(THSKovBinaryXML& root, TStream& stream) = 0;
    virtual std::string_view GetValueAsRawBlobBuffer(const THSKovBinaryXML& storage,
                                                     std::string& scratch) = 0;
    virtual void SetValueAsRawBlobBuffer(THSKovBinaryXML& storage, const void* buffer,
                                         uint64_t size) = 0;
    virtual std::string GetNamedValueNameByNr(const THSKovBinaryXML& storage, int index) = 0;
    virtual std::string GetNamedValueByNr(const THSKovBinaryXML& storage, int index) = 0;
    virtual std::string GetNamedValue(const THSKovBinaryXML& storage, const std::string& name,
                                      const std::string& defaultValue) = 0;
    virtual void SetNamedValue(THSKovBinaryXML& storage, const std::string& name,
                               const std::string& value) = 0;
    virtual bool GetValueAsBoolean(const THSKovBinaryXML& storage, bool defaultValue) = 0;
    virtual void SetValueAsBoolean(THSKovBinaryXML& storage, bool value) = 0;
    virtual int32_t GetValueAsInt32(const THSKovBinaryXML& storage, int32_t defaultValue) = 0;
    virtual void SetValueAsInt32(THSKovBinaryXML& storage, int32_t value) = 0;
    virtual int64_t GetValueAsInt64(const THSKovBinaryXML& storage, int64_t defaultValue) = 0;
    virtual void SetValueAsInt64(THSKovBinaryXML& storage, int64_t value) = 0;
    virtual double GetValueAsDouble(const THSKovBinaryXML& storage, double defaultValue) = 0;
    virtual void SetValueAsDouble(THSKovBinaryXML& storage, double value) = 0;
    virtual std::string GetValueAsString(const THSKovBinaryXML& storage,
                                         const std::string& defaultValue) = 0;
    virtual void SetValueAsString(THSKovBinaryXML& storage, const std::string& value) = 0;

    // A new strategy for a version; raises EStorageIncompatibleFile ("Reader/writer is not
    // implemented for this version of kovml: %d)") when there is none.
    static std::unique_ptr<TKovBinaryXMLStrategy_Abstract> GetStrategyForVersion(int version);
};

// The strategies by version: 1 and 2 are registered on first use.
class TBinaryXMLStrategyRegistry {
public:
    using TFactory = std::function<std::unique_ptr<TKovBinaryXMLStrategy_Abstract>()>;
    static TBinaryXMLStrategyRegistry& Instance();
    // Raises "A strategy class is already registered to handle version %d of kovml".
    void RegisterVersionStrategy(int version, TFactory factory);
    void UnregisterVersionStrategy(int version);
    // nullptr when no strategy handles the version.
    std::unique_ptr<TKovBinaryXMLStrategy_Abstract> GetStrategyFor(int version) const;

private:
    TBinaryXMLStrategyRegistry();
    std::map<int, TFactory> FFactories;
};

class THSKovBinaryXML : public THierarchicStorage {
public:
    // The newest version this program reads.
    static constexpr int SupportedVersion = 2;

    static const THierarchicStorageClass& StaticStorageClass();
    // A root in version 1, or 2 when the switch FORCE_KOVML_VERSION_2 is on.
    explicit THSKovBinaryXML(const std::string& rootName);
    // A root in a given version.
    THSKovBinaryXML(const std::string& rootName, int version);
    ~THSKovBinaryXML() override;

    const THierarchicStorageClass& StorageClass() const override { return StaticStorageClass(); }
    std::string Name() const override { return FStrategy->GetName(*this); }
    // Not supported: the records of a file are not rewritten in place.
    void SetName(const std::string& name) override;
    bool RemoveChildByName(const std::string& name) override;
    TStorageValueType ValueType() const override { return FStrategy->GetValueType(*this); }
    bool LikesBlobs() const override { return true; }
    int FileFormatVersion() const { return FFileFormatVersion; }
    int MinReaderVersion() const { return FMinReaderVersion; }

    int NamedValuesCount() const override { return FStrategy->GetNamedValuesCount(*this); }
    std::string GetNamedValueNameByNr(int index) const override {
        return FStrategy->GetNamedValueNameByNr(*this, index);
    }
    std::string GetNamedValueByNr(int index) const override {
        return FStrategy->GetNamedValueByNr(*this, index);
    }
    std::string GetNamedValue(const std::string& name,
                              const std::string& defaultValue = "") const override {
        return FStrategy->GetNamedValue(*this, name, defaultValue);
    }
    void SetNamedValue(const std::string& name, const std::string& value) override {
        FStrategy->SetNamedValue(*this, name, value);
    }

    bool GetValueAsBoolean(bool defaultValue = false) const override {
        return FStrategy->GetValueAsBoolean(*this, defaultValue);
    }
    void SetValueAsBoolean(bool value) override { FStrategy->SetValueAsBoolean(*this, value); }
    int32_t GetValueAsInt32(int32_t defaultValue = 0) const override {
        return FStrategy->GetValueAsInt32(*this, defaultValue);
    }
    void SetValueAsInt32(int32_t value) override { FStrategy->SetValueAsInt32(*this, value); }
    int64_t GetValueAsInt64(int64_t defaultValue = 0) const override {
        return FStrategy->GetValueAsInt64(*this, defaultValue);
    }
    void SetValueAsInt64(int64_t value) override { FStrategy->SetValueAsInt64(*this, value); }
    double GetValueAsDouble(double defaultValue = 0) const override {
        return FStrategy->GetValueAsDouble(*this, defaultValue);
    }
    void SetValueAsDouble(double value) override { FStrategy->SetValueAsDouble(*this, value); }
    std::string GetValueAsString(const std::string& defaultValue = "") const override {
        return FStrategy->GetValueAsString(*this, defaultValue);
    }
    void SetValueAsString(const std::string& value) override {
        FStrategy->SetValueAsString(*this, value);
    }

    void LoadFromStream(TStream& stream, const std::string& fileName = "") override;
    void SaveToStream(TStream& stream) override;

    // The node's place in "Elements" and its attribute records: the strategy's bookkeeping.
    int64_t ElementPosition() const { return FElementPos; }
    void SetElementPosition(int64_t position) { FElementPos = position; }
    TFrugalMemoryStream& NamedValues() const;
    bool HasNamedValueRecords() const { return FNamedValues != nullptr; }

protected:
    std::unique_ptr<THierarchicStorage> CreateChild(const std::string& name) override;
    std::string_view GetValueAsRawBlob(std::string& scratch) const override {
        return FStrategy->GetValueAsRawBlobBuffer(*this, scratch);
    }
    void SetValueAsRawBlobBuffer(const void* buffer, uint64_t size) override {
        FStrategy->SetValueAsRawBlobBuffer(*this, buffer, size);
    }
    std::unique_ptr<TStream> OpenFileForLoading(const std::string& fileName) override;
    void LoadFromOwnedStream(std::unique_ptr<TStream> stream, const std::string& fileName) override;

private:
    // A child sharing the parent's strategy; the loader fills in its place.
    THSKovBinaryXML(THSKovBinaryXML* parent, TKovBinaryXMLStrategy_Abstract* strategy);
    void ResetToEmpty(const std::string& rootName, int version);

    std::unique_ptr<TKovBinaryXMLStrategy_Abstract> FOwnedStrategy; // the root's only
    TKovBinaryXMLStrategy_Abstract* FStrategy = nullptr;
    int FFileFormatVersion = 1;
    int FMinReaderVersion = 1;
    int64_t FElementPos = -1;
    mutable std::unique_ptr<TFrugalMemoryStream> FNamedValues; // made on first use

public:
    // Makes an empty child for the loader, which gives it its record position.
    THSKovBinaryXML& AddLoadedChild();
};

} // namespace tw
