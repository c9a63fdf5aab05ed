#include "storage/HSKovBinaryXML.h"

#include "services/Format.h"
#include "services/RuntimeSettings.h"
#include "services/Strings.h"
#include "storage/ApplicationVersion.h"
#include "storage/MemoryMappedFileStream.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>
#include <unordered_map>

namespace tw {

namespace {
const char* const HeaderFirstLine = "*** ORVANE BINARY XML ***";
// A file shorter than this cannot hold the header's first line and the mandatory keys.
constexpr uint64_t ShortestFile = 26;

const char* const SectionNames[] = {"Elements",  "Names",      "DataDouble",
                                    "DataInt32", "DataInt64",  "DataString",
                                    "DataBlob",  "Attributes", "ElementsHierarchy"};
enum TSection {
    sElements,
    sNames,
    sDouble,
    sInt32,
    sInt64,
    sString,
    sBlob,
    sAttributes,
    sHierarchy,
    SectionCount
};
} // namespace

// ---------------------------------------------------------------------------------------------
// TStreamWrapper: a view on a range of a stream

template <typename T> class TStreamWrapper {
public:
    TStreamWrapper() = default;
    TStreamWrapper(const TStreamWrapper&) = delete;
    TStreamWrapper& operator=(const TStreamWrapper&) = delete;

    // A view on [offset, offset + size) of `stream`; a size of -1 runs to the end of the stream
    // and grows with it.
    void SetStream(TStream* stream, bool canWrite, bool owns, uint64_t offset, int64_t size) {
        FOwned.reset(owns ? stream : nullptr);
        FStream = stream;
        FCanWrite = canWrite;
        FOffset = offset;
        FSize = size;
        FPosition = 0;
    }
    void SetStreamFrom(const TStreamWrapper& other, bool canWrite, uint64_t offset, int64_t size) {
        SetStream(other.FStream, canWrite, false, other.FOffset + offset, size);
    }
    // An empty stream of its own, writable.
    void SetOwnMemory() { SetStream(new TMemoryStream, true, true, 0, -1); }

    uint64_t Size() const {
        if (!FStream)
            return 0;
        if (FSize >= 0)
            return static_cast<uint64_t>(FSize);
        const uint64_t size = FStream->Size();
        return size > FOffset ? size - FOffset : 0;
    }
    bool CanWrite() const { return FCanWrite; }
    uint64_t Position() const { return FPosition; }
    void SetPosition(uint64_t position) { FPosition = position; }
    // The bytes of the view when the stream lives in memory, else nullptr.
    const uint8_t* Memory() const {
        const uint8_t* memory = FStream ? FStream->Memory() : nullptr;
        return memory ? memory + FOffset : nullptr;
    }
    // The largest size a section may have: offsets must fit in T.
    static constexpr uint64_t AllowedSize() {
        return static_cast<uint64_t>(std::numeric_limits<T>::max());
    }

    bool Contains(uint64_t position, uint64_t count) const {
        const uint64_t size = Size();
        return position <= size && count <= size - position;
    }
    void ReadAt(uint64_t position, void* buffer, uint64_t count) const {
        if (count == 0)
            return;
        if (const uint8_t* memory = Memory()) {
            std::memcpy(buffer, memory + position, count);
            return;
        }
        FStream->SetPosition(FOffset + position);
        FStream->ReadBuffer(buffer, count);
    }
    void WriteAt(uint64_t position, const void* buffer, uint64_t count) {
        if (!FCanWrite)
            throw EStreamError("Cannot write to a read-only stream!");
        const uint64_t limit = FSize >= 0 ? static_cast<uint64_t>(FSize) : AllowedSize();
        if (position > limit || count > limit - position)
            throw EStorageException(
                Format("Cannot write %d bytes from %d because stream would grow above the "
                       "allowed size (%d)",
                       count, position, limit));
        FStream->SetPosition(FOffset + position);
        FStream->Write(buffer, count);
    }
    // Appends and answers where the bytes start.
    uint64_t Append(const void* buffer, uint64_t count) {
        const uint64_t at = Size();
        WriteAt(at, buffer, count);
        return at;
    }
    // The whole view to a stream.
    void CopyTo(TStream& stream) const {
        const uint64_t size = Size();
        if (const uint8_t* memory = Memory()) {
            stream.Write(memory, size);
            return;
        }
        FStream->SetPosition(FOffset);
        stream.CopyFrom(*FStream, size);
    }

private:
    std::unique_ptr<TStream> FOwned;
    TStream* FStream = nullptr;
    bool FCanWrite = false;
    uint64_t FOffset = 0;
    int64_t FSize = -1;
    uint64_t FPosition = 0;
};

// ---------------------------------------------------------------------------------------------
// TStorageData: the seven pool sections and the name caches

template <typename T> class TStorageData {
public:
    static constexpr int W = sizeof(T);

    TStreamWrapper<T> FElementNames, FInt32Values, FInt64Values, FDoubleValues, FStringValues,
        FBlobValues, FElements;
    // Lower-case name to its offset in "Names": filled as names are written, and from the pool
    // itself before the first write into a pool read from a file.
    std::unordered_map<std::string, T> FCachedNames;
    bool FCachedNamesComplete = true;
    // Offset in "Names" to the lower-cased name.
    std::unordered_map<T, std::string> FReadCacheCaseInsensitive;

    TStreamWrapper<T>& Section(int index) {
        TStreamWrapper<T>* sections[] = {&FElements,    &FElementNames, &FDoubleValues,
                                         &FInt32Values, &FInt64Values,  &FStringValues,
                                         &FBlobValues};
        return *sections[index];
    }

    void SetOwnMemory() {
        for (int i = 0; i < 7; ++i)
            Section(i).SetOwnMemory();
    }

    // Before a section read from a file changes: its bytes move to memory of its own.
    TStreamWrapper<T>& Writable(TStreamWrapper<T>& section) {
        if (!section.CanWrite()) {
            auto* copy = new TMemoryStream;
            copy->Reserve(section.Size() + section.Size() / 4 + 64);
            section.CopyTo(*copy);
            section.SetStream(copy, true, true, 0, -1);
        }
        return section;
    }

    T ReadT(const TStreamWrapper<T>& section, uint64_t position, const char* sectionName) const {
        if (!section.Contains(position, W))
            throw EStorageCorruptFile(Format("Offset %d lies outside the section \"%s\" (%d bytes)",
                                             position, sectionName, section.Size()));
        T value;
        section.ReadAt(position, &value, W);
        return value;
    }

    // A sized string at `offset`.
    std::string ReadString(const TStreamWrapper<T>& section, int64_t offset,
                           const char* sectionName) const {
        if (offset < 0)
            throw EStorageCorruptFile(
                Format("Negative offset %d into the section \"%s\"", offset, sectionName));
        const T length = ReadT(section, static_cast<uint64_t>(offset), sectionName);
        const uint64_t start = static_cast<uint64_t>(offset) + W;
        if (length < 0 || !section.Contains(start, static_cast<uint64_t>(length)))
            throw EStorageCorruptFile(
                Format("The text at offset %d of the section \"%s\" (%d bytes) claims %d bytes",
                       offset, sectionName, section.Size(), static_cast<int64_t>(length)));
        std::string text(static_cast<size_t>(length), '\0');
        section.ReadAt(start, text.data(), text.size());
        return text;
    }

    uint64_t AppendString(TStreamWrapper<T>& section, const std::string& text) {
        auto& target = Writable(section);
        if (text.size() > TStreamWrapper<T>::AllowedSize())
            throw EStorageException(
                Format("A text of %d bytes does not fit in this kovml version", text.size()));
        const T length = static_cast<T>(text.size());
        std::string record(W + text.size(), '\0');
        std::memcpy(record.data(), &length, W);
        std::memcpy(record.data() + W, text.data(), text.size());
        return target.Append(record.data(), record.size());
    }

    std::string ReadNameCaseInsensitive(T offset, bool useCache) {
        if (useCache)
            if (auto it = FReadCacheCaseInsensitive.find(offset);
                it != FReadCacheCaseInsensitive.end())
                return it->second;
        std::string name = LowerCase(ReadString(FElementNames, offset, "Names"));
        if (useCache)
            FReadCacheCaseInsensitive.emplace(offset, name);
        return name;
    }

    T WriteNameCaseInsensitive(const std::string& name) {
        if (!FCachedNamesComplete)
            IndexNamePool();
        std::string lower = LowerCase(name);
        if (auto it = FCachedNames.find(lower); it != FCachedNames.end())
            return it->second;
        const T offset = static_cast<T>(AppendString(FElementNames, lower));
        FReadCacheCaseInsensitive.emplace(offset, lower);
        FCachedNames.emplace(std::move(lower), offset);
        return offset;
    }

private:
    // Learns the names of a pool read from a file, so that a name already there is not added
    // twice. A pool that does not parse to its end is learnt as far as it parses.
    void IndexNamePool() {
        FCachedNamesComplete = true;
        const uint64_t size = FElementNames.Size();
        uint64_t position = 0;
        while (FElementNames.Contains(position, W)) {
            T length;
            FElementNames.ReadAt(position, &length, W);
            if (length < 0 || !FElementNames.Contains(position + W, static_cast<uint64_t>(length)))
                break;
            std::string name(static_cast<size_t>(length), '\0');
            FElementNames.ReadAt(position + W, name.data(), name.size());
            if (name == LowerCase(name))
                FCachedNames.emplace(std::move(name), static_cast<T>(position));
            position += W + static_cast<uint64_t>(length);
        }
        (void)size;
    }
};

// ---------------------------------------------------------------------------------------------
// The strategy of one width

template <typename T>
class TKovBinaryXMLStreamBasedStrategy : public TKovBinaryXMLStrategy_Abstract {
public:
    static constexpr int W = sizeof(T);
    static constexpr uint64_t RecordSize = 2 * W + 1;
    static constexpr uint64_t AttributeSize = 2 * W;

    TKovBinaryXMLStreamBasedStrategy() { FStorageData.SetOwnMemory(); }

    int Version() const override { return W == 4 ? 1 : 2; }

    void AddToElements(THSKovBinaryXML& storage, const std::string* name) override {
        if (!name) // the record is there already: a load gives the position
            return;
        auto& elements = FStorageData.Writable(FStorageData.FElements);
        const uint64_t position = elements.Size();
        uint8_t record[RecordSize] = {};
        const T nameOffset = FStorageData.WriteNameCaseInsensitive(*name);
        std::memcpy(record, &nameOffset, W);
        elements.Append(record, RecordSize);
        storage.SetElementPosition(static_cast<int64_t>(position));
    }

    std::string GetName(const THSKovBinaryXML& storage) override {
        return FStorageData.ReadNameCaseInsensitive(ReadRecord(storage).Name, true);
    }

    TStorageValueType GetValueType(const THSKovBinaryXML& storage) override {
        return ReadRecord(storage).Type;
    }

    // --- Named values

    int GetNamedValuesCount(const THSKovBinaryXML& storage) override {
        return storage.HasNamedValueRecords()
                   ? static_cast<int>(storage.NamedValues().Size() / AttributeSize)
                   : 0;
    }

    std::string GetNamedValueNameByNr(const THSKovBinaryXML& storage, int index) override {
        return FStorageData.ReadNameCaseInsensitive(Attribute(storage, index).Name, true);
    }

    std::string GetNamedValueByNr(const THSKovBinaryXML& storage, int index) override {
        return FStorageData.ReadString(FStorageData.FStringValues, Attribute(storage, index).Value,
                                       "DataString");
    }

    std::string GetNamedValue(const THSKovBinaryXML& storage, const std::string& name,
                              const std::string& defaultValue) override {
        const int index = FindAttribute(storage, storage.NormalizedNamedValueName(name));
        return index < 0 ? defaultValue : GetNamedValueByNr(storage, index);
    }

    void SetNamedValue(THSKovBinaryXML& storage, const std::string& name,
                       const std::string& value) override {
        const std::string normalized = storage.NormalizedNamedValueName(name);
        if (normalized.empty())
            throw EEmptyName("Cannot set a named value without a name");
        const int index = FindAttribute(storage, normalized);
        if (index >= 0 && GetNamedValueByNr(storage, index) == value)
            return;
        TAttribute attribute;
        attribute.Name = FStorageData.WriteNameCaseInsensitive(normalized);
        attribute.Value =
            static_cast<T>(FStorageData.AppendString(FStorageData.FStringValues, value));
        TFrugalMemoryStream& records = storage.NamedValues();
        records.SetPosition(index >= 0 ? static_cast<uint64_t>(index) * AttributeSize
                                       : records.Size());
        records.Write(&attribute.Name, W);
        records.Write(&attribute.Value, W);
    }

    // --- Values

    bool GetValueAsBoolean(const THSKovBinaryXML& storage, bool defaultValue) override {
        const TRecord record = ReadRecord(storage);
        switch (record.Type) {
        case svtBoolean:
            return (record.Value & 0xFF) != 0;
        case svtString:
            return THierarchicStorage::StringAsBoolean(ReadStringValue(storage, record),
                                                       defaultValue);
        default:
            return defaultValue;
        }
    }

    int32_t GetValueAsInt32(const THSKovBinaryXML& storage, int32_t defaultValue) override {
        const TRecord record = ReadRecord(storage);
        switch (record.Type) {
        case svtInt32:
            return ReadValue<int32_t>(storage, record, FStorageData.FInt32Values, "DataInt32");
        case svtInt64:
        case svtDouble:
        case svtString: {
            const int64_t sentinel = std::numeric_limits<int64_t>::min();
            const int64_t wide = GetValueAsInt64(storage, sentinel);
            if (wide == sentinel || wide < std::numeric_limits<int32_t>::min() ||
                wide > std::numeric_limits<int32_t>::max())
                return defaultValue;
            return static_cast<int32_t>(wide);
        }
        default:
            return defaultValue;
        }
    }

    int64_t GetValueAsInt64(const THSKovBinaryXML& storage, int64_t defaultValue) override {
        const TRecord record = ReadRecord(storage);
        if (record.Type == svtString) {
            int64_t value;
            return THierarchicStorage::StorageStringToInt64(ReadStringValue(storage, record), value)
                       ? value
                       : defaultValue;
        }
        TNumber number;
        if (!ReadNumber(storage, record, number))
            return defaultValue;
        if (!number.IsReal)
            return number.Integer;
        const double whole = std::round(number.Real);
        // Whole within 1e-16 relative, and inside the range of int64.
        if (!std::isfinite(number.Real) ||
            std::fabs(number.Real - whole) > 1e-16 * std::fabs(number.Real) ||
            whole < -9.2233720368547758e18 || whole >= 9.2233720368547758e18)
            return defaultValue;
        return static_cast<int64_t>(whole);
    }

    double GetValueAsDouble(const THSKovBinaryXML& storage, double defaultValue) override {
        const TRecord record = ReadRecord(storage);
        if (record.Type == svtString)
            return THierarchicStorage::StorageStringToDouble(ReadStringValue(storage, record),
                                                             defaultValue);
        TNumber number;
        if (!ReadNumber(storage, record, number))
            return defaultValue;
        return number.IsReal ? number.Real : static_cast<double>(number.Integer);
    }

    std::string GetValueAsString(const THSKovBinaryXML& storage,
                                 const std::string& defaultValue) override {
        const TRecord record = ReadRecord(storage);
        switch (record.Type) {
        case svtBoolean:
            return THierarchicStorage::BooleanAsString((record.Value & 0xFF) != 0);
        case svtInt32:
        case svtInt64:
            return std::to_string(GetValueAsInt64(storage, 0));
        case svtDouble:
            return THierarchicStorage::DoubleToStorageString(GetValueAsDouble(storage, 0));
        case svtString:
            return ReadStringValue(storage, record);
        default:
            return defaultValue;
        }
    }

    void SetValueAsBoolean(THSKovBinaryXML& storage, bool value) override {
        TRecord record = ReadRecord(storage);
        record.Type = svtBoolean;
        record.Value = value ? 1 : 0;
        WriteRecord(storage, record);
    }

    void SetValueAsInt32(THSKovBinaryXML& storage, int32_t value) override {
        WriteFixedValue(storage, svtInt32, FStorageData.FInt32Values, value);
    }
    void SetValueAsInt64(THSKovBinaryXML& storage, int64_t value) override {
        WriteFixedValue(storage, svtInt64, FStorageData.FInt64Values, value);
    }
    void SetValueAsDouble(THSKovBinaryXML& storage, double value) override {
        WriteFixedValue(storage, svtDouble, FStorageData.FDoubleValues, value);
    }

    // A text's length may differ from the old one: it is always appended.
    void SetValueAsString(THSKovBinaryXML& storage, const std::string& value) override {
        TRecord record = ReadRecord(storage);
        record.Type = svtString;
        record.Value = static_cast<T>(FStorageData.AppendString(FStorageData.FStringValues, value));
        WriteRecord(storage, record);
    }

    std::string_view GetValueAsRawBlobBuffer(const THSKovBinaryXML& storage,
                                             std::string& scratch) override {
        const TRecord record = ReadRecord(storage);
        if (record.Type != svtBlob)
            return {};
        const auto& blobs = FStorageData.FBlobValues;
        const T size = FStorageData.ReadT(blobs, CheckedOffset(record, "DataBlob"), "DataBlob");
        const uint64_t start = static_cast<uint64_t>(record.Value) + W;
        if (size < 0 || !blobs.Contains(start, static_cast<uint64_t>(size)))
            throw EStorageCorruptFile(Format(
                "The blob of \"%s\" at offset %d claims %d bytes, beyond the section \"DataBlob\" "
                "(%d bytes)",
                GetName(storage), static_cast<int64_t>(record.Value), static_cast<int64_t>(size),
                blobs.Size()));
        if (const uint8_t* memory = blobs.Memory())
            return {reinterpret_cast<const char*>(memory + start), static_cast<size_t>(size)};
        scratch.resize(static_cast<size_t>(size));
        blobs.ReadAt(start, scratch.data(), scratch.size());
        return scratch;
    }

    void SetValueAsRawBlobBuffer(THSKovBinaryXML& storage, const void* buffer,
                                 uint64_t size) override {
        if (size > TStreamWrapper<T>::AllowedSize())
            throw EStorageException(
                Format("A blob of %d bytes does not fit in version %d of kovml", size, Version()));
        auto& blobs = FStorageData.Writable(FStorageData.FBlobValues);
        TRecord record = ReadRecord(storage);
        record.Type = svtBlob;
        const T length = static_cast<T>(size);
        record.Value = static_cast<T>(blobs.Append(&length, W));
        blobs.Append(buffer, size);
        WriteRecord(storage, record);
    }

    // --- Files

    void SaveToStream(THSKovBinaryXML& root, TStream& stream) override {
        const std::string header = Format(
            "%s\r\nFileFormatVersion=%d\r\nMinimumReaderVersion=%d\r\nApplicationName=%s\r\n"
            "ApplicationDirectory=%s\r\nApplicationVersion=%s\r\nDateTime=%s\r\n",
            HeaderFirstLine, root.FileFormatVersion(), root.MinReaderVersion(), ApplicationName(),
            ApplicationDirectory(), TApplicationVersion::Running().ToString(), LocalDateTimeText());
        stream.Write(header.data(), header.size());
        const uint8_t terminator = 0x1A;
        stream.Write(&terminator, 1);

        TMemoryStream attributes, hierarchy;
        std::vector<const THierarchicStorage*> pending{&root};
        while (!pending.empty()) {
            const auto* node = static_cast<const THSKovBinaryXML*>(pending.back());
            pending.pop_back();
            const uint64_t count = node->HasNamedValueRecords() ? node->NamedValues().Size() : 0;
            WriteT(attributes, static_cast<T>(count));
            if (count > 0)
                attributes.Write(node->NamedValues().Memory(), count);
            WriteT(hierarchy, static_cast<T>(node->ElementPosition()));
            const int32_t children = node->ChildCount();
            hierarchy.Write(&children, 4);
            for (int i = children - 1; i >= 0; --i)
                pending.push_back(&node->GetChildByIndex(i));
        }
        for (int i = 0; i < 7; ++i)
            WriteSection(stream, SectionNames[i], FStorageData.Section(i));
        TStreamWrapper<T> wrapper;
        wrapper.SetStream(&attributes, false, false, 0, -1);
        WriteSection(stream, SectionNames[sAttributes], wrapper);
        wrapper.SetStream(&hierarchy, false, false, 0, -1);
        WriteSection(stream, SectionNames[sHierarchy], wrapper);
    }

    void LoadFromStream(THSKovBinaryXML& root, std::unique_ptr<TStream> source, uint64_t start,
                        const std::string& fileName) override {
        (void)fileName;
        FSourceFileStream = std::move(source);
        TStreamWrapper<T> file;
        file.SetStream(FSourceFileStream.get(), false, false, 0, -1);
        const uint64_t end = file.Size();

        bool found[SectionCount] = {};
        TStreamWrapper<T> attributes, hierarchy;
        uint64_t position = start;
        while (position < end) {
            const std::string name =
                FStorageData.ReadString(file, static_cast<int64_t>(position), "section names");
            position += W + name.size();
            const T size = FStorageData.ReadT(file, position, "section sizes");
            position += W;
            if (size < 0 || !file.Contains(position, static_cast<uint64_t>(size)))
                throw EStorageCorruptFile(
                    Format("The section \"%s\" at byte %d claims %d bytes, but the file ends %d "
                           "bytes later",
                           name, position, static_cast<int64_t>(size), end - position));
            int section = -1;
            for (int i = 0; i < SectionCount; ++i)
                if (SameText(name, SectionNames[i]))
                    section = i;
            if (section >= 0 && !found[section]) {
                found[section] = true;
                TStreamWrapper<T>& target = section == sAttributes  ? attributes
                                            : section == sHierarchy ? hierarchy
                                                                    : FStorageData.Section(section);
                target.SetStreamFrom(file, false, position, size);
            }
            position += static_cast<uint64_t>(size);
            position += std::min<uint64_t>(2, end - position); // CR LF
        }
        if (!found[sHierarchy])
            throw EStorageCorruptFile(
                "The data stream does not contain element hierarchy information.");
        if (!found[sAttributes])
            throw EStorageCorruptFile("The data stream does not contain attributes information.");
        // Names are learnt from the pool before the first new one is written.
        FStorageData.FCachedNamesComplete = FStorageData.FElementNames.Size() == 0;
        ReadHierarchy(root, attributes, hierarchy);
    }

private:
    struct TRecord {
        T Name = 0;
        TStorageValueType Type = svtNone;
        T Value = 0;
    };
    struct TAttribute {
        T Name = 0;
        T Value = 0;
    };

    static void WriteT(TStream& stream, T value) { stream.Write(&value, W); }

    // The value of a boolean (0 or 1), integer or double record.
    struct TNumber {
        bool IsReal = false;
        int64_t Integer = 0;
        double Real = 0;
    };
    bool ReadNumber(const THSKovBinaryXML& storage, const TRecord& record, TNumber& number) {
        switch (record.Type) {
        case svtBoolean:
            number.Integer = (record.Value & 0xFF) != 0 ? 1 : 0;
            return true;
        case svtInt32:
            number.Integer =
                ReadValue<int32_t>(storage, record, FStorageData.FInt32Values, "DataInt32");
            return true;
        case svtInt64:
            number.Integer =
                ReadValue<int64_t>(storage, record, FStorageData.FInt64Values, "DataInt64");
            return true;
        case svtDouble:
            number.IsReal = true;
            number.Real =
                ReadValue<double>(storage, record, FStorageData.FDoubleValues, "DataDouble");
            return true;
        default:
            return false;
        }
    }

    void WriteSection(TStream& stream, const char* name, const TStreamWrapper<T>& section) {
        const T nameLength = static_cast<T>(std::strlen(name));
        WriteT(stream, nameLength);
        stream.Write(name, static_cast<size_t>(nameLength));
        const uint64_t size = section.Size();
        if (size > TStreamWrapper<T>::AllowedSize())
            throw EStorageException(
                Format("The section \"%s\" holds %d bytes, more than version %d of kovml allows; "
                       "the switch FORCE_KOVML_VERSION_2 writes version 2",
                       name, size, Version()));
        WriteT(stream, static_cast<T>(size));
        section.CopyTo(stream);
        stream.Write("\r\n", 2);
    }

    uint64_t RecordPosition(const THSKovBinaryXML& storage) const {
        const int64_t position = storage.ElementPosition();
        if (position < 0)
            throw EStorageException("Element position is not found for storage");
        return static_cast<uint64_t>(position);
    }

    TRecord ReadRecord(const THSKovBinaryXML& storage) const {
        const uint64_t position = RecordPosition(storage);
        const auto& elements = FStorageData.FElements;
        if (!elements.Contains(position, RecordSize))
            throw EStorageCorruptFile(Format(
                "The element record at offset %d lies outside the section \"Elements\" (%d bytes)",
                position, elements.Size()));
        uint8_t bytes[RecordSize];
        elements.ReadAt(position, bytes, RecordSize);
        TRecord record;
        std::memcpy(&record.Name, bytes, W);
        if (bytes[W] > svtBlob)
            throw EStorageCorruptFile(
                Format("The element record at offset %d has the unknown value type %d", position,
                       int(bytes[W])));
        record.Type = static_cast<TStorageValueType>(bytes[W]);
        std::memcpy(&record.Value, bytes + W + 1, W);
        return record;
    }

    void WriteRecord(THSKovBinaryXML& storage, const TRecord& record) {
        if (record.Type > svtBlob)
            throw EStorageException(Format("Cannot modify element type to %d", int(record.Type)));
        uint8_t bytes[RecordSize];
        std::memcpy(bytes, &record.Name, W);
        bytes[W] = record.Type;
        std::memcpy(bytes + W + 1, &record.Value, W);
        FStorageData.Writable(FStorageData.FElements)
            .WriteAt(RecordPosition(storage), bytes, RecordSize);
    }

    uint64_t CheckedOffset(const TRecord& record, const char* sectionName) const {
        if (record.Value < 0)
            throw EStorageCorruptFile(Format("Negative offset %d into the section \"%s\"",
                                             static_cast<int64_t>(record.Value), sectionName));
        return static_cast<uint64_t>(record.Value);
    }

    template <typename V>
    V ReadValue(const THSKovBinaryXML& storage, const TRecord& record,
                const TStreamWrapper<T>& section, const char* sectionName) {
        const uint64_t offset = CheckedOffset(record, sectionName);
        if (!section.Contains(offset, sizeof(V)))
            throw EStorageCorruptFile(
                Format("The value of \"%s\" at offset %d lies outside the section \"%s\" (%d "
                       "bytes)",
                       GetName(storage), offset, sectionName, section.Size()));
        V value;
        section.ReadAt(offset, &value, sizeof(V));
        return value;
    }

    std::string ReadStringValue(const THSKovBinaryXML&, const TRecord& record) const {
        return FStorageData.ReadString(FStorageData.FStringValues, record.Value, "DataString");
    }

    // Same type: the old slot takes the new value; another type: a new slot at the end of the
    // type's section, the old bytes left unreferenced.
    template <typename V>
    void WriteFixedValue(THSKovBinaryXML& storage, TStorageValueType type,
                         TStreamWrapper<T>& section, V value) {
        TRecord record = ReadRecord(storage);
        auto& target = FStorageData.Writable(section);
        if (record.Type == type && record.Value >= 0 &&
            target.Contains(static_cast<uint64_t>(record.Value), sizeof(V))) {
            target.WriteAt(static_cast<uint64_t>(record.Value), &value, sizeof(V));
            return;
        }
        record.Type = type;
        record.Value = static_cast<T>(target.Append(&value, sizeof(V)));
        WriteRecord(storage, record);
    }

    TAttribute Attribute(const THSKovBinaryXML& storage, int index) const {
        const uint64_t size = storage.HasNamedValueRecords() ? storage.NamedValues().Size() : 0;
        if (index < 0 || static_cast<uint64_t>(index + 1) * AttributeSize > size)
            throw EStorageException(Format(
                "Unabled to read named value at index %d for a stream of %d bytes", index, size));
        TAttribute attribute;
        const uint8_t* records = storage.NamedValues().Memory() + index * AttributeSize;
        std::memcpy(&attribute.Name, records, W);
        std::memcpy(&attribute.Value, records + W, W);
        return attribute;
    }

    // The index of the named value whose name is `normalized`, or -1.
    int FindAttribute(const THSKovBinaryXML& storage, const std::string& normalized) {
        const int count = GetNamedValuesCount(storage);
        for (int i = 0; i < count; ++i)
            if (FStorageData.ReadNameCaseInsensitive(Attribute(storage, i).Name, true) ==
                normalized)
                return i;
        return -1;
    }

    // One node per entry of the hierarchy, depth first, with its attribute block.
    void ReadHierarchy(THSKovBinaryXML& root, const TStreamWrapper<T>& attributes,
                       const TStreamWrapper<T>& hierarchy) {
        uint64_t hierarchyPosition = 0, attributesPosition = 0;
        auto readEntry = [&](THSKovBinaryXML& node) -> int32_t {
            const T element = FStorageData.ReadT(hierarchy, hierarchyPosition, "ElementsHierarchy");
            if (!hierarchy.Contains(hierarchyPosition + W, 4))
                throw EStorageCorruptFile("The section \"ElementsHierarchy\" ends in an entry");
            int32_t children;
            hierarchy.ReadAt(hierarchyPosition + W, &children, 4);
            hierarchyPosition += W + 4;
            if (element < 0 ||
                !FStorageData.FElements.Contains(static_cast<uint64_t>(element), RecordSize))
                throw EStorageCorruptFile(
                    Format("The hierarchy names the element record at offset %d, outside the "
                           "section \"Elements\" (%d bytes)",
                           static_cast<int64_t>(element), FStorageData.FElements.Size()));
            if (children < 0)
                throw EStorageCorruptFile(
                    Format("The hierarchy gives an element %d children", children));
            node.SetElementPosition(static_cast<int64_t>(element));

            const T count = FStorageData.ReadT(attributes, attributesPosition, "Attributes");
            attributesPosition += W;
            if (count < 0 || count % AttributeSize != 0 ||
                !attributes.Contains(attributesPosition, static_cast<uint64_t>(count)))
                throw EStorageCorruptFile(
                    Format("An attribute block of %d bytes at offset %d does not fit the section "
                           "\"Attributes\" (%d bytes)",
                           static_cast<int64_t>(count), attributesPosition, attributes.Size()));
            if (count > 0) {
                TFrugalMemoryStream& records = node.NamedValues();
                records.SetSize(static_cast<uint64_t>(count));
                attributes.ReadAt(attributesPosition, records.Data(), static_cast<uint64_t>(count));
            }
            attributesPosition += static_cast<uint64_t>(count);
            return children;
        };
        struct TPending {
            THSKovBinaryXML* Node;
            int32_t Remaining;
        };
        std::vector<TPending> pending;
        const int32_t rootChildren = readEntry(root);
        if (rootChildren > 0)
            pending.push_back({&root, rootChildren});
        while (!pending.empty()) {
            TPending& top = pending.back();
            if (top.Remaining == 0) {
                pending.pop_back();
                continue;
            }
            --top.Remaining;
            THSKovBinaryXML& child = top.Node->AddLoadedChild();
            const int32_t children = readEntry(child);
            if (children > 0) {
                if (static_cast<int>(pending.size()) >= THierarchicStorage::MaxDepth)
                    throw EStorageCorruptFile(Format("The elements nest deeper than %d levels",
                                                     THierarchicStorage::MaxDepth));
                pending.push_back({&child, children});
            }
        }
    }

    std::unique_ptr<TStream> FSourceFileStream; // the mapped file, set on load
    TStorageData<T> FStorageData;
};

class TKovBinaryXMLStreamBasedStrategy_V1 : public TKovBinaryXMLStreamBasedStrategy<int32_t> {};
class TKovBinaryXMLStreamBasedStrategy_V2 : public TKovBinaryXMLStreamBasedStrategy<int64_t> {};

// ---------------------------------------------------------------------------------------------
// Registry

TBinaryXMLStrategyRegistry::TBinaryXMLStrategyRegistry() {
    FFactories[1] = [] { return std::make_unique<TKovBinaryXMLStreamBasedStrategy_V1>(); };
    FFactories[2] = [] { return std::make_unique<TKovBinaryXMLStreamBasedStrategy_V2>(); };
}

TBinaryXMLStrategyRegistry& TBinaryXMLStrategyRegistry::Instance() {
    static TBinaryXMLStrategyRegistry registry;
    return registry;
}

void TBinaryXMLStrategyRegistry::RegisterVersionStrategy(int version, TFactory factory) {
    if (FFactories.count(version))
        throw EStorageException(Format(
            "A strategy class is already registered to handle version %d of kovml", version));
    FFactories[version] = std::move(factory);
}

void TBinaryXMLStrategyRegistry::UnregisterVersionStrategy(int version) {
    FFactories.erase(version);
}

std::unique_ptr<TKovBinaryXMLStrategy_Abstract>
TBinaryXMLStrategyRegistry::GetStrategyFor(int version) const {
    auto it = FFactories.find(version);
    return it == FFactories.end() ? nullptr : it->second();
}

std::unique_ptr<TKovBinaryXMLStrategy_Abstract>
TKovBinaryXMLStrategy_Abstract::GetStrategyForVersion(int version) {
    auto strategy = TBinaryXMLStrategyRegistry::Instance().GetStrategyFor(version);
    if (!strategy)
        throw EStorageIncompatibleFile(
            Format("Reader/writer is not implemented for this version of kovml: %d)", version));
    return strategy;
}

// ---------------------------------------------------------------------------------------------
// THSKovBinaryXML

const THierarchicStorageClass& THSKovBinaryXML::StaticStorageClass() {
    static const THierarchicStorageClass cls{
        "THSKovBinaryXML", ".kovml",
        [](const std::string& rootName) -> std::unique_ptr<THierarchicStorage> {
            return std::make_unique<THSKovBinaryXML>(rootName);
        }};
    return cls;
}

namespace {
int DefaultVersion() {
    return TRuntimeSettings::Get("FORCE_KOVML_VERSION_2") ? 2 : 1;
}
} // namespace

THSKovBinaryXML::THSKovBinaryXML(const std::string& rootName)
    : THSKovBinaryXML(rootName, DefaultVersion()) {}

THSKovBinaryXML::THSKovBinaryXML(const std::string& rootName, int version)
    : THierarchicStorage(nullptr) {
    if (rootName.find('\0') != std::string::npos)
        throw EInvalidName("Cannot specify a name with a #0 in it!");
    ResetToEmpty(rootName, version);
}

THSKovBinaryXML::THSKovBinaryXML(THSKovBinaryXML* parent, TKovBinaryXMLStrategy_Abstract* strategy)
    : THierarchicStorage(parent), FStrategy(strategy) {}

THSKovBinaryXML::~THSKovBinaryXML() {
    // Children use the strategy in their destructors' reach no more, but free them first anyway.
    ClearChildren();
}

void THSKovBinaryXML::ResetToEmpty(const std::string& rootName, int version) {
    ClearChildren();
    FNamedValues.reset();
    FOwnedStrategy = TKovBinaryXMLStrategy_Abstract::GetStrategyForVersion(version);
    FStrategy = FOwnedStrategy.get();
    FFileFormatVersion = FMinReaderVersion = version;
    FStrategy->AddToElements(*this, &rootName);
}

void THSKovBinaryXML::SetName(const std::string&) {
    throw EStorageException("This storage type does not support SetName functionality, Please "
                            "convert this storage to NativeXML or JSON to get access to this "
                            "functionality");
}

bool THSKovBinaryXML::RemoveChildByName(const std::string&) {
    throw EStorageException("This storage type does not support RemoveChildByName functionality, "
                            "Please convert this storage to NativeXML or JSON to get access to "
                            "this functionality");
}

TFrugalMemoryStream& THSKovBinaryXML::NamedValues() const {
    if (!FNamedValues)
        FNamedValues = std::make_unique<TFrugalMemoryStream>();
    return *FNamedValues;
}

std::unique_ptr<THierarchicStorage> THSKovBinaryXML::CreateChild(const std::string& name) {
    std::unique_ptr<THSKovBinaryXML> child(new THSKovBinaryXML(this, FStrategy));
    FStrategy->AddToElements(*child, &name);
    return child;
}

THSKovBinaryXML& THSKovBinaryXML::AddLoadedChild() {
    return static_cast<THSKovBinaryXML&>(
        AdoptChild(std::unique_ptr<THierarchicStorage>(new THSKovBinaryXML(this, FStrategy))));
}

std::unique_ptr<TStream> THSKovBinaryXML::OpenFileForLoading(const std::string& fileName) {
    return std::make_unique<TMemoryMappedFileStream>(fileName, mmfmReadOnly);
}

void THSKovBinaryXML::LoadFromStream(TStream& stream, const std::string& fileName) {
    auto copy = std::make_unique<TMemoryStream>();
    copy->Reserve(stream.Remaining());
    copy->CopyFrom(stream, stream.Remaining());
    LoadFromOwnedStream(std::move(copy), fileName);
}

namespace {
// The value of "Name=" in the header, found without regard to case at the start of a line.
bool HeaderValue(const std::string& header, const std::string& key, std::string& value) {
    const std::string lower = LowerCase(header), wanted = LowerCase(key) + "=";
    size_t at = 0;
    while ((at = lower.find(wanted, at)) != std::string::npos) {
        if (at == 0 || lower[at - 1] == '\n') {
            const size_t start = at + wanted.size();
            size_t end = header.find('\n', start);
            if (end == std::string::npos)
                end = header.size();
            value = Trim(header.substr(start, end - start));
            return true;
        }
        at += wanted.size();
    }
    return false;
}

int RequiredHeaderNumber(const std::string& header, const std::string& key) {
    std::string text;
    if (!HeaderValue(header, key, text))
        throw EStorageIncompatibleFile(
            Format("Didn't find required attribute %s in the file header!", key));
    int value;
    if (!TryStrToInt(text, value))
        throw EStorageIncompatibleFile(
            Format("The attribute %s of the file header is no number: \"%s\"", key, text));
    return value;
}
} // namespace

void THSKovBinaryXML::LoadFromOwnedStream(std::unique_ptr<TStream> stream,
                                          const std::string& fileName) {
    if (!FOwnedStrategy)
        throw EStorageException("Load should be called only on HS that owns its strategy");
    if (!stream->Memory() && stream->Size() > 0) {
        auto copy = std::make_unique<TMemoryStream>();
        stream->SetPosition(0);
        copy->CopyFrom(*stream, stream->Size());
        stream = std::move(copy);
    }
    const uint64_t size = stream->Size();
    if (size < ShortestFile)
        throw EStorageCorruptFile(
            Format("The file is too short to be a kovml file (%d bytes)", size));
    const auto* bytes = stream->Memory();
    const auto* terminator = static_cast<const uint8_t*>(std::memchr(bytes, 0x1A, size));
    const std::string header(reinterpret_cast<const char*>(bytes),
                             terminator ? static_cast<size_t>(terminator - bytes)
                                        : static_cast<size_t>(std::min<uint64_t>(size, 64)));
    if (header.compare(0, std::strlen(HeaderFirstLine), HeaderFirstLine) != 0)
        throw EStorageIncompatibleFile(
            Format("Not a kovml file: it does not begin with \"%s\"", HeaderFirstLine));
    if (!terminator)
        throw EStorageCorruptFile("The kovml header has no end (the byte 0x1A)");
    const int minimumReader = RequiredHeaderNumber(header, "MinimumReaderVersion");
    const int version = RequiredHeaderNumber(header, "FileFormatVersion");
    if (minimumReader > SupportedVersion)
        throw EStorageIncompatibleFile("Data storage is newer than this application supports.");
    auto strategy = TKovBinaryXMLStrategy_Abstract::GetStrategyForVersion(version);

    const std::string rootName = FStrategy->GetName(*this);
    ClearChildren();
    FNamedValues.reset();
    FOwnedStrategy = std::move(strategy);
    FStrategy = FOwnedStrategy.get();
    FFileFormatVersion = version;
    FMinReaderVersion = minimumReader;
    try {
        FStrategy->LoadFromStream(*this, std::move(stream),
                                  static_cast<uint64_t>(terminator - bytes) + 1, fileName);
    } catch (...) {
        // A half-read tree is worth nothing: the root goes back to an empty one.
        ResetToEmpty(rootName, version);
        throw;
    }
}

void THSKovBinaryXML::SaveToStream(TStream& stream) {
    if (!FOwnedStrategy)
        throw EStorageException("Only the root of a kovml storage can be saved");
    FStrategy->SaveToStream(*this, stream);
}

} // namespace tw
