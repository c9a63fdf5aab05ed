#pragma once
// The hierarchic storage: every structured file of the system is one tree of named nodes, each
// with an optional typed value and string attributes ("named values"). THierarchicStorage is the
// tree as an abstract class; THSNativeXML (".xml") and THSKovBinaryXML (".kovml") are its
// back-ends, found by file extension through THierarchicStorageRegistry.
//
// Names of nodes and of named values are looked up without regard to case. Blobs of 101 bytes or
// more are stored compressed with zlib, unless the environment variable
// BLOB_COMPRESSION_DISABLED is set; the named values "Node_Compression_Type" and
// "Node_Uncompressed_Size_Bytes" tell readers so.
//
// A tree is used by one thread at a time; several trees may be live at once.

#include "storage/StorageExceptions.h"
#include "storage/Streams.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tw {

// The numbering is that of the files.
enum TStorageValueType : uint8_t {
    svtNone = 0,
    svtBoolean = 1,
    svtInt32 = 2,
    svtInt64 = 3,
    svtDouble = 4,
    svtString = 5,
    svtBlob = 6,
};

class THierarchicStorage;
using THierarchicStorageList = std::vector<std::unique_ptr<THierarchicStorage>>;

// A back-end as the registry knows it: its class name, its extension with the dot, and a factory
// of a root node with a name.
struct THierarchicStorageClass {
    const char* ClassName;
    const char* Extension;
    std::unique_ptr<THierarchicStorage> (*Create)(const std::string& rootName);
};

class THierarchicStorage {
public:
    // The deepest nesting a file may have; deeper files are refused as corrupt, so that no walk
    // over a tree can exhaust the stack.
    static constexpr int MaxDepth = 1000;

    THierarchicStorage(const THierarchicStorage&) = delete;
    THierarchicStorage& operator=(const THierarchicStorage&) = delete;
    virtual ~THierarchicStorage();

    virtual const THierarchicStorageClass& StorageClass() const = 0;

    // The tree.
    int ChildCount() const { return _FChildren ? static_cast<int>(_FChildren->size()) : 0; }
    // Raises "Children do not exist for %s" on a node without children.
    THierarchicStorage& GetChildByIndex(int index) const;
    THierarchicStorage& operator[](int index) const { return GetChildByIndex(index); }
    THierarchicStorage* Parent() const { return FParent; }
    THierarchicStorage& HierarchyRoot();
    bool IsRoot() const { return FParent == nullptr; }
    // Adds a child; raises EEmptyName for an empty name and EInvalidName for a name that holds
    // the character 0 or that the back-end cannot store.
    THierarchicStorage& AddChild(const std::string& name);
    // The first child of that name, compared without regard to case; nullptr if none.
    virtual THierarchicStorage* GetChildByName(const std::string& name) const;

    virtual std::string Name() const = 0;
    // Renames the node; a back-end that cannot raises.
    virtual void SetName(const std::string& name) = 0;
    // Removes the first child of that name (any case) with its subtree; false if there is none.
    virtual bool RemoveChildByName(const std::string& name) = 0;
    virtual TStorageValueType ValueType() const = 0;

    // Named values. Names are normalised (trimmed, lower case) for look-up.
    virtual int NamedValuesCount() const = 0;
    virtual std::string GetNamedValueNameByNr(int index) const = 0;
    virtual std::string GetNamedValueByNr(int index) const = 0;
    virtual std::string NormalizedNamedValueName(const std::string& name) const;
    virtual std::string GetNamedValue(const std::string& name,
                                      const std::string& defaultValue = "") const = 0;
    // Raises EEmptyName for a name that is empty after trimming.
    virtual void SetNamedValue(const std::string& name, const std::string& value) = 0;
    bool HasNamedValue(const std::string& name) const;

    std::string DefaultExtension() const { return StorageClass().Extension; }
    // Whether the back-end stores binary values as they are (else as text).
    virtual bool LikesBlobs() const { return false; }

    // The value. A getter answers the default when the node holds no value it can convert.
    virtual bool GetValueAsBoolean(bool defaultValue = false) const = 0;
    virtual void SetValueAsBoolean(bool value) = 0;
    virtual int32_t GetValueAsInt32(int32_t defaultValue = 0) const = 0;
    virtual void SetValueAsInt32(int32_t value) = 0;
    virtual int64_t GetValueAsInt64(int64_t defaultValue = 0) const = 0;
    virtual void SetValueAsInt64(int64_t value) = 0;
    virtual double GetValueAsDouble(double defaultValue = 0) const = 0;
    virtual void SetValueAsDouble(double value) = 0;
    virtual std::string GetValueAsString(const std::string& defaultValue = "") const = 0;
    virtual void SetValueAsString(const std::string& value) = 0;
    int GetValueAsInteger(int defaultValue = 0) const { return GetValueAsInt32(defaultValue); }
    void SetValueAsInteger(int value) { SetValueAsInt32(value); }

    // Blobs: the bytes as the writer gave them (decompressed on reading).
    virtual void GetValueAsBlob(TStream& stream) const;
    // Stores the stream from its position to its end.
    virtual void SetValueAsBlob(TStream& stream);
    uint64_t GetValueAsBlobSize() const;
    std::vector<uint8_t> GetValueAsBlobBuffer() const;
    // Reads the blob into `buffer`, which holds exactly GetValueAsBlobSize() bytes.
    void GetValueAsBlobBuffer(void* buffer, uint64_t size) const;
    void SetValueAsBlobBuffer(const void* buffer, uint64_t size);

    // Whole files. Load works on a root only and replaces what the tree held; a failure is raised
    // as "Error reading \"%s\": %s". Save writes a temporary file beside the target and renames
    // it into place.
    virtual void LoadFromStream(TStream& stream, const std::string& fileName = "") = 0;
    virtual void SaveToStream(TStream& stream) = 0;
    void LoadFromFile(const std::string& fileName);
    void SaveToFile(const std::string& fileName, bool createFolders = true);

    // Copies `source` into this node, which must be empty: named values in order, the value by
    // its type, then the children. A text from a back-end that does not type its values becomes
    // an integer, a double or a boolean when it reads back the same as one.
    void CopyFrom(const THierarchicStorage& source);
    // Same names, values, named values and children, recursively; blobs by their bytes.
    virtual bool SameAs(const THierarchicStorage& other) const;
    // Converts a file between back-ends, chosen by the extensions.
    static void ConvertFromTo(const std::string& sourceName, const std::string& targetName);

    // Text forms of values, the same in every back-end.
    static bool StringAsBoolean(std::string_view text, bool defaultValue);
    static std::string BooleanAsString(bool flag) { return flag ? "true" : "false"; }
    // The shortest text that reads back as the same double, "." as decimal separator.
    static std::string DoubleToStorageString(double value);
    static double StorageStringToDouble(std::string_view text, double defaultValue);
    static bool StorageStringToInt64(std::string_view text, int64_t& value);

protected:
    explicit THierarchicStorage(THierarchicStorage* parent) : FParent(parent) {}

    // Makes a child node of this back-end; the base class adds it to the children.
    virtual std::unique_ptr<THierarchicStorage> CreateChild(const std::string& name) = 0;
    // The blob as stored (compressed or not). A back-end that holds the bytes in memory answers a
    // view on them; another fills `scratch` and answers a view on it.
    virtual std::string_view GetValueAsRawBlob(std::string& scratch) const = 0;
    virtual void SetValueAsRawBlobBuffer(const void* buffer, uint64_t size) = 0;
    // Opens a file for LoadFromFile; the kovml back-end maps it.
    virtual std::unique_ptr<TStream> OpenFileForLoading(const std::string& fileName);
    // Loads from a stream it may keep for the life of the tree.
    virtual void LoadFromOwnedStream(std::unique_ptr<TStream> stream, const std::string& fileName) {
        LoadFromStream(*stream, fileName);
    }

    THierarchicStorage& AdoptChild(std::unique_ptr<THierarchicStorage> child);
    // Takes the child out of the list; the caller owns it.
    std::unique_ptr<THierarchicStorage> ExtractChild(const THierarchicStorage* child);
    void ClearChildren() { _FChildren.reset(); }
    THierarchicStorageList* Children() const { return _FChildren.get(); }

private:
    static void CopyNode(const THierarchicStorage& source, THierarchicStorage& target);

    THierarchicStorage* FParent;
    std::unique_ptr<THierarchicStorageList> _FChildren; // made on the first child
};

// The back-ends by extension. The XML and kovml back-ends are registered on first use.
class THierarchicStorageRegistry {
public:
    static THierarchicStorageRegistry& Instance();

    // Raises on a second class with the same extension.
    void RegisterStorage(const THierarchicStorageClass& cls);
    void UnregisterStorage(const THierarchicStorageClass& cls);
    // The class for a file name or an extension: the longest registered extension that it ends
    // with, without regard to case; nullptr if none.
    const THierarchicStorageClass* GetStorageByExtension(const std::string& fileName) const;
    // As above, raising "Unkown file format: %s" when there is none.
    const THierarchicStorageClass& GetStorageForFile(const std::string& fileName) const;
    int Count() const { return static_cast<int>(FClasses.size()); }
    const THierarchicStorageClass& GetStorageClass(int index) const { return *FClasses.at(index); }
    std::vector<std::string> GetAllStorageExtensions() const;

private:
    THierarchicStorageRegistry();
    std::vector<const THierarchicStorageClass*> FClasses;
};

// A root of the back-end of a file, named `rootName`.
std::unique_ptr<THierarchicStorage> CreateStorageForFile(const std::string& fileName,
                                                         const std::string& rootName);
// Loads a file into a new root of the back-end of its extension; the root takes the name found
// in the file.
std::unique_ptr<THierarchicStorage> LoadStorageFromFile(const std::string& fileName);

} // namespace tw
