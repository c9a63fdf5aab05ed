#include "storage/HierarchicStorage.h"

#include "services/Format.h"
#include "services/Strings.h"
#include "storage/Compression.h"
#include "storage/HSKovBinaryXML.h"
#include "storage/HSNativeXML.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace tw {

namespace {
const char* const CompressionTypeName = "Node_Compression_Type";
const char* const UncompressedSizeName = "Node_Uncompressed_Size_Bytes";
constexpr uint64_t SmallestCompressedBlob = 101;
// deflate cannot shrink data by more than about 1032 to 1; a size beyond that is a lie.
constexpr uint64_t MaxDeflateRatio = 1040;
} // namespace

THierarchicStorage::~THierarchicStorage() = default;

THierarchicStorage& THierarchicStorage::GetChildByIndex(int index) const {
    if (!_FChildren || _FChildren->empty())
        throw EStorageException(Format("Children do not exist for %s", Name()));
    if (index < 0 || index >= ChildCount())
        throw EStorageException(Format("Child index %d out of bounds for %s (%d children)", index,
                                       Name(), ChildCount()));
    return *(*_FChildren)[index];
}

THierarchicStorage& THierarchicStorage::HierarchyRoot() {
    THierarchicStorage* node = this;
    while (node->FParent)
        node = node->FParent;
    return *node;
}

THierarchicStorage& THierarchicStorage::AddChild(const std::string& name) {
    if (name.empty())
        throw EEmptyName(Format("Cannot add a child without a name to %s", Name()));
    if (name.find('\0') != std::string::npos)
        throw EInvalidName("Cannot specify a name with a #0 in it!");
    return AdoptChild(CreateChild(name));
}

THierarchicStorage& THierarchicStorage::AdoptChild(std::unique_ptr<THierarchicStorage> child) {
    if (!_FChildren)
        _FChildren = std::make_unique<THierarchicStorageList>();
    _FChildren->push_back(std::move(child));
    return *_FChildren->back();
}

std::unique_ptr<THierarchicStorage>
THierarchicStorage::ExtractChild(const THierarchicStorage* child) {
    if (!_FChildren)
        return nullptr;
    for (auto it = _FChildren->begin(); it != _FChildren->end(); ++it)
        if (it->get() == child) {
            std::unique_ptr<THierarchicStorage> taken = std::move(*it);
            _FChildren->erase(it);
            return taken;
        }
    return nullptr;
}

THierarchicStorage* THierarchicStorage::GetChildByName(const std::string& name) const {
    if (!_FChildren)
        return nullptr;
    for (const auto& child : *_FChildren)
        if (SameText(child->Name(), name))
            return child.get();
    return nullptr;
}

std::string THierarchicStorage::NormalizedNamedValueName(const std::string& name) const {
    return LowerCase(Trim(name));
}

bool THierarchicStorage::HasNamedValue(const std::string& name) const {
    const std::string normalized = NormalizedNamedValueName(name);
    for (int i = 0; i < NamedValuesCount(); ++i)
        if (NormalizedNamedValueName(GetNamedValueNameByNr(i)) == normalized)
            return true;
    return false;
}

// ---------------------------------------------------------------------------------------------
// Blobs

uint64_t THierarchicStorage::GetValueAsBlobSize() const {
    const std::string size = GetNamedValue(UncompressedSizeName);
    std::string scratch;
    const uint64_t raw = GetValueAsRawBlob(scratch).size();
    if (size.empty())
        return raw;
    int64_t value;
    if (!StorageStringToInt64(size, value) || value < 0)
        throw EStorageCorruptFile(
            Format("Invalid %s \"%s\" in %s", UncompressedSizeName, size, Name()));
    // Readers allocate what this answers: a claim that the stored bytes cannot hold is refused
    // here, before anybody trusts it.
    const auto claimed = static_cast<uint64_t>(value);
    if (GetNamedValue(CompressionTypeName).empty() ? claimed != raw
                                                   : claimed / MaxDeflateRatio > raw + 64)
        throw EStorageCorruptFile(
            Format("The blob of %s claims %d bytes from %d stored", Name(), claimed, raw));
    return claimed;
}

void THierarchicStorage::GetValueAsBlobBuffer(void* buffer, uint64_t size) const {
    const std::string mode = GetNamedValue(CompressionTypeName);
    std::string scratch;
    const std::string_view raw = GetValueAsRawBlob(scratch);
    if (mode.empty()) {
        if (raw.size() != size)
            throw EStorageException(
                Format("The blob of %s holds %d bytes, not %d", Name(), raw.size(), size));
        if (size > 0)
            std::memcpy(buffer, raw.data(), raw.size());
        return;
    }
    if (mode != "zlib")
        throw EStorageIncompatibleFile(Format("Unsupported compression mode: \"%s\"", mode));
    if (size / MaxDeflateRatio > raw.size() + 64)
        throw EStorageCorruptFile(
            Format("The blob of %s claims %d bytes from %d compressed", Name(), size, raw.size()));
    try {
        ZlibDecompress(raw.data(), raw.size(), buffer, size);
    } catch (const ECompressionError& e) {
        throw EStorageCorruptFile(Format("The blob of %s: %s", Name(), e.what()));
    }
}

std::vector<uint8_t> THierarchicStorage::GetValueAsBlobBuffer() const {
    const uint64_t size = GetValueAsBlobSize();
    std::vector<uint8_t> buffer(static_cast<size_t>(size));
    GetValueAsBlobBuffer(buffer.data(), size);
    return buffer;
}

void THierarchicStorage::SetValueAsBlobBuffer(const void* buffer, uint64_t size) {
    if (size >= SmallestCompressedBlob && !std::getenv("BLOB_COMPRESSION_DISABLED")) {
        const std::string compressed = ZlibCompress(buffer, size, 2);
        SetNamedValue(CompressionTypeName, "zlib");
        SetNamedValue(UncompressedSizeName, std::to_string(size));
        SetValueAsRawBlobBuffer(compressed.data(), compressed.size());
        return;
    }
    // A node written before as a compressed blob must not claim it still is one.
    if (!GetNamedValue(CompressionTypeName).empty()) {
        SetNamedValue(CompressionTypeName, "");
        SetNamedValue(UncompressedSizeName, "");
    }
    SetValueAsRawBlobBuffer(buffer, size);
}

void THierarchicStorage::GetValueAsBlob(TStream& stream) const {
    const std::vector<uint8_t> bytes = GetValueAsBlobBuffer();
    stream.Write(bytes.data(), bytes.size());
}

void THierarchicStorage::SetValueAsBlob(TStream& stream) {
    if (const uint8_t* memory = stream.Memory()) {
        const uint64_t position = std::min(stream.Position(), stream.Size());
        SetValueAsBlobBuffer(memory + position, stream.Size() - position);
        stream.SetPosition(stream.Size());
        return;
    }
    const std::string bytes = ReadRemainingBytes(stream);
    SetValueAsBlobBuffer(bytes.data(), bytes.size());
}

// ---------------------------------------------------------------------------------------------
// Files

std::unique_ptr<TStream> THierarchicStorage::OpenFileForLoading(const std::string& fileName) {
    return std::make_unique<TFileStream>(fileName, TFileStream::fmOpenRead);
}

void THierarchicStorage::LoadFromFile(const std::string& fileName) {
    if (!IsRoot())
        throw EStorageException("Can only load root storage from file!");
    try {
        LoadFromOwnedStream(OpenFileForLoading(fileName), fileName);
    } catch (const EStorageIncompatibleFile& e) {
        throw EStorageIncompatibleFile(Format("Error reading \"%s\": %s", fileName, e.what()));
    } catch (const std::exception& e) {
        throw EStorageException(Format("Error reading \"%s\": %s", fileName, e.what()));
    }
}

void THierarchicStorage::SaveToFile(const std::string& fileName, bool createFolders) {
    WriteFileAtomically(fileName, createFolders, [this](TStream& stream) { SaveToStream(stream); });
}

// ---------------------------------------------------------------------------------------------
// Copy, compare, convert

namespace {
// A text value of a back-end that does not type its values, as the value it reads back as.
void CopyUntypedText(const std::string& text, THierarchicStorage& target) {
    int64_t integer;
    if (THierarchicStorage::StorageStringToInt64(text, integer) &&
        std::to_string(integer) == text) {
        if (integer >= std::numeric_limits<int32_t>::min() &&
            integer <= std::numeric_limits<int32_t>::max())
            target.SetValueAsInt32(static_cast<int32_t>(integer));
        else
            target.SetValueAsInt64(integer);
        return;
    }
    const double number = THierarchicStorage::StorageStringToDouble(text, std::nan(""));
    if (!std::isnan(number) && THierarchicStorage::DoubleToStorageString(number) == text) {
        target.SetValueAsDouble(number);
        return;
    }
    if (text == "true" || text == "false") {
        target.SetValueAsBoolean(text == "true");
        return;
    }
    target.SetValueAsString(text);
}

} // namespace

void THierarchicStorage::CopyNode(const THierarchicStorage& source, THierarchicStorage& target) {
    for (int i = 0; i < source.NamedValuesCount(); ++i)
        target.SetNamedValue(source.GetNamedValueNameByNr(i), source.GetNamedValueByNr(i));
    switch (source.ValueType()) {
    case svtNone: {
        const std::string text = source.GetValueAsString();
        if (!text.empty())
            CopyUntypedText(text, target);
        break;
    }
    case svtBoolean:
        target.SetValueAsBoolean(source.GetValueAsBoolean());
        break;
    case svtInt32:
        target.SetValueAsInt32(source.GetValueAsInt32());
        break;
    case svtInt64:
        target.SetValueAsInt64(source.GetValueAsInt64());
        break;
    case svtDouble:
        target.SetValueAsDouble(source.GetValueAsDouble());
        break;
    case svtString:
        target.SetValueAsString(source.GetValueAsString());
        break;
    case svtBlob:
        // The stored bytes travel as they are: the named values copied above tell the target
        // whether they are compressed.
        {
            std::string scratch;
            const std::string_view raw = source.GetValueAsRawBlob(scratch);
            target.SetValueAsRawBlobBuffer(raw.data(), raw.size());
        }
        break;
    default:
        throw EStorageException(Format("Unexpected value type: %d", int(source.ValueType())));
    }
}

void THierarchicStorage::CopyFrom(const THierarchicStorage& source) {
    if (NamedValuesCount() > 0 || ChildCount() > 0 || ValueType() != svtNone)
        throw EStorageException(
            Format("Cannot copy to an already initialized storage: %s", Name()));
    // Depth first with an explicit stack: files may nest deeply.
    std::vector<std::pair<const THierarchicStorage*, THierarchicStorage*>> pending{{&source, this}};
    while (!pending.empty()) {
        auto [from, to] = pending.back();
        pending.pop_back();
        CopyNode(*from, *to);
        const size_t at = pending.size();
        for (int i = 0; i < from->ChildCount(); ++i) {
            const THierarchicStorage& child = from->GetChildByIndex(i);
            pending.emplace_back(&child, &to->AddChild(child.Name()));
        }
        std::reverse(pending.begin() + static_cast<std::ptrdiff_t>(at), pending.end());
    }
}

namespace {
bool SameNode(const THierarchicStorage& a, const THierarchicStorage& b) {
    if (!SameText(a.Name(), b.Name()) || a.ChildCount() != b.ChildCount() ||
        a.NamedValuesCount() != b.NamedValuesCount())
        return false;
    const bool blobs = a.ValueType() == svtBlob || b.ValueType() == svtBlob;
    if (blobs) {
        if (a.ValueType() != b.ValueType() || a.GetValueAsBlobSize() != b.GetValueAsBlobSize() ||
            a.GetValueAsBlobBuffer() != b.GetValueAsBlobBuffer())
            return false;
    } else if (a.GetValueAsString() != b.GetValueAsString()) {
        return false;
    }
    for (int i = 0; i < a.NamedValuesCount(); ++i) {
        const std::string name = a.GetNamedValueNameByNr(i);
        if (!b.HasNamedValue(name) || b.GetNamedValue(name) != a.GetNamedValueByNr(i))
            return false;
    }
    return true;
}
} // namespace

bool THierarchicStorage::SameAs(const THierarchicStorage& other) const {
    std::vector<std::pair<const THierarchicStorage*, const THierarchicStorage*>> pending{
        {this, &other}};
    while (!pending.empty()) {
        auto [a, b] = pending.back();
        pending.pop_back();
        if (!SameNode(*a, *b))
            return false;
        for (int i = a->ChildCount() - 1; i >= 0; --i)
            pending.emplace_back(&a->GetChildByIndex(i), &b->GetChildByIndex(i));
    }
    return true;
}

void THierarchicStorage::ConvertFromTo(const std::string& sourceName,
                                       const std::string& targetName) {
    if (sourceName == targetName)
        throw EStorageException(Format("Cannot convert files in-place: %s", sourceName));
    auto source = LoadStorageFromFile(sourceName);
    auto target = CreateStorageForFile(targetName, source->Name());
    target->CopyFrom(*source);
    target->SaveToFile(targetName);
}

// ---------------------------------------------------------------------------------------------
// Text forms

bool THierarchicStorage::StringAsBoolean(std::string_view text, bool defaultValue) {
    if (text.empty())
        return defaultValue;
    switch (text[0]) {
    case 'T':
    case 't':
    case 'Y':
    case 'y':
        return true;
    case 'F':
    case 'f':
    case 'N':
    case 'n':
        return false;
    default:
        return defaultValue;
    }
}

std::string THierarchicStorage::DoubleToStorageString(double value) {
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

double THierarchicStorage::StorageStringToDouble(std::string_view text, double defaultValue) {
    std::string trimmed = Trim(text);
    std::string_view view = trimmed;
    if (view.size() > 1 && view[0] == '+' && view[1] != '-')
        view.remove_prefix(1);
    if (view.empty())
        return defaultValue;
    double value;
    const auto result = std::from_chars(view.data(), view.data() + view.size(), value);
    if (result.ec != std::errc() || result.ptr != view.data() + view.size())
        return defaultValue;
    return value;
}

bool THierarchicStorage::StorageStringToInt64(std::string_view text, int64_t& value) {
    std::string trimmed = Trim(text);
    std::string_view view = trimmed;
    if (view.size() > 1 && view[0] == '+' && view[1] != '-')
        view.remove_prefix(1);
    if (view.empty())
        return false;
    const auto result = std::from_chars(view.data(), view.data() + view.size(), value);
    return result.ec == std::errc() && result.ptr == view.data() + view.size();
}

// ---------------------------------------------------------------------------------------------
// Registry

THierarchicStorageRegistry::THierarchicStorageRegistry() {
    FClasses.push_back(&THSNativeXML::StaticStorageClass());
    FClasses.push_back(&THSKovBinaryXML::StaticStorageClass());
}

THierarchicStorageRegistry& THierarchicStorageRegistry::Instance() {
    static THierarchicStorageRegistry registry;
    return registry;
}

void THierarchicStorageRegistry::RegisterStorage(const THierarchicStorageClass& cls) {
    for (const THierarchicStorageClass* known : FClasses) {
        if (known == &cls)
            return;
        if (SameText(known->Extension, cls.Extension))
            throw EStorageException(
                Format("Cannot register two classes with the same extension \"%s\". The classes "
                       "are: %s and %s",
                       cls.Extension, known->ClassName, cls.ClassName));
    }
    FClasses.push_back(&cls);
}

void THierarchicStorageRegistry::UnregisterStorage(const THierarchicStorageClass& cls) {
    std::erase(FClasses, &cls);
}

const THierarchicStorageClass*
THierarchicStorageRegistry::GetStorageByExtension(const std::string& fileName) const {
    const std::string lower = LowerCase(fileName);
    const THierarchicStorageClass* best = nullptr;
    for (const THierarchicStorageClass* cls : FClasses) {
        const std::string extension = LowerCase(cls->Extension);
        if (lower.size() >= extension.size() &&
            lower.compare(lower.size() - extension.size(), extension.size(), extension) == 0 &&
            (!best || extension.size() > std::strlen(best->Extension)))
            best = cls;
    }
    return best;
}

const THierarchicStorageClass&
THierarchicStorageRegistry::GetStorageForFile(const std::string& fileName) const {
    const THierarchicStorageClass* cls = GetStorageByExtension(fileName);
    if (!cls)
        throw EStorageException(Format("Unkown file format: %s", fileName));
    return *cls;
}

std::vector<std::string> THierarchicStorageRegistry::GetAllStorageExtensions() const {
    std::vector<std::string> extensions;
    for (const THierarchicStorageClass* cls : FClasses)
        extensions.push_back(cls->Extension);
    return extensions;
}

std::unique_ptr<THierarchicStorage> CreateStorageForFile(const std::string& fileName,
                                                         const std::string& rootName) {
    return THierarchicStorageRegistry::Instance().GetStorageForFile(fileName).Create(rootName);
}

std::unique_ptr<THierarchicStorage> LoadStorageFromFile(const std::string& fileName) {
    auto storage = CreateStorageForFile(fileName, "");
    storage->LoadFromFile(fileName);
    return storage;
}

} // namespace tw
