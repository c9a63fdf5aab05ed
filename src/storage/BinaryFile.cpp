#include "storage/BinaryFile.h"

#include "services/Format.h"
#include "services/RuntimeSettings.h"
#include "services/Strings.h"
#include "services/UserMessages.h"
#include "storage/Compression.h"
#include "storage/HierarchicStorage.h"
#include "storage/MemoryMappedFileStream.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <limits>
#include <mutex>
#include <unistd.h>

namespace tw {

namespace {
constexpr uint64_t HeaderSize = 80;
constexpr uint64_t HeadSize = 16; // "$$", name, type letter, "##", byte count
constexpr size_t NameLength = 7;
constexpr size_t HeaderTextLength = 76;
const char* const EndBlockName = "ENDOFFI";
constexpr int MaxNesting = 1000;
// deflate cannot shrink data by more than about 1032 to 1: a file inflating beyond that lies.
constexpr uint64_t MaxDeflateRatio = 1040;

std::unique_ptr<TVirtualBlock> CreateBlock(char letter, const std::string& name,
                                           TCacheMode cacheMode, TIndexMode indexMode) {
    switch (std::toupper(static_cast<unsigned char>(letter))) {
    case 'B':
        return std::make_unique<TByteBlock>(name, cacheMode);
    case 'I':
        return std::make_unique<TIntegerBlock>(name, cacheMode);
    case 'S':
        return std::make_unique<TSingleBlock>(name, cacheMode);
    case 'R':
        return std::make_unique<TDoubleBlock>(name, cacheMode);
    case 'T':
        return std::make_unique<TTextBlock>(name, cacheMode);
    case 'H':
        return std::make_unique<TContainerBlock>(name, cacheMode, indexMode);
    default:
        throw EBinaryFileError(Format("Unknown block type: %s", std::string(1, letter)));
    }
}

std::string FloatText(double value, bool accurate) {
    if (std::isinf(value))
        return value < 0 ? "-INF" : "INF";
    if (std::isnan(value))
        return "NAN";
    return accurate ? THierarchicStorage::DoubleToStorageString(value) : Format("%.7g", value);
}

bool ParseFloat(const std::string& text, double& value) {
    const std::string trimmed = Trim(text);
    if (trimmed == "-INF" || trimmed == "INF" || trimmed == "NAN") {
        value = trimmed == "-INF" ? -HUGE_VAL : trimmed == "INF" ? HUGE_VAL : std::nan("");
        return true;
    }
    return TryStrToFloat(trimmed, value);
}
} // namespace

// ---------------------------------------------------------------------------------------------
// TVirtualBlock

TVirtualBlock::TVirtualBlock(const std::string& name, TCacheMode cacheMode)
    : FCacheMode(cacheMode) {
    SetName(name);
}

void TVirtualBlock::SetName(const std::string& name) {
    const std::string upper = UpperCase(name);
    if (upper.size() > NameLength)
        throw EBinaryFileError(
            Format("The block name \"%s\" is longer than %d characters", name, NameLength));
    if (upper == FName)
        return;
    const std::string old = FName;
    FName = upper;
    if (FOnChangeName)
        FOnChangeName(*this, old);
}

void TVirtualBlock::SetSource(const TBlockSource& source, uint64_t offset, uint64_t size,
                              int depth) {
    FSource = source;
    FSourceOffset = offset;
    FSizeOfContentsRead = size;
    FDepth = depth;
    FCached = false;
    if (FCacheMode == cmInMemory)
        EnsureCached();
}

void TVirtualBlock::EnsureCached() const {
    if (FCached)
        return;
    const_cast<TVirtualBlock*>(this)->LoadContents(SourceData(), FSizeOfContentsRead);
    FCached = true;
}

void TVirtualBlock::PrepareWrite() {
    if (FReadOnly)
        throw EBinaryFileError(Format("Block \"%s\" can not be written to!", FName));
    EnsureCached();
}

void TVirtualBlock::WriteToBinary(TStream& stream) const {
    const uint64_t size = SizeOfContentsInBytes();
    if (size > static_cast<uint64_t>(std::numeric_limits<int32_t>::max()))
        throw EBinaryFileError(
            Format("Block \"%s\" holds %d bytes, more than a block file allows", FName, size));
    char head[HeadSize];
    head[0] = head[1] = '$';
    std::memset(head + 2, ' ', NameLength);
    std::memcpy(head + 2, FName.data(), FName.size());
    head[9] = BlockTypeSuffix();
    head[10] = head[11] = '#';
    const int32_t count = static_cast<int32_t>(size);
    std::memcpy(head + 12, &count, 4);
    stream.Write(head, HeadSize);
    WriteContents(stream);
}

// ---------------------------------------------------------------------------------------------
// TDataBlock

void TDataBlock::CheckIndex(int index, int count) const {
    if (index < 0 || index >= count)
        throw EBinaryFileError(Format("Block \"%s\": index out of bounds: %i", FName, index));
}

void TDataBlock::Add(const std::string& value) {
    SetStringValue(Count(), value);
}

void TDataBlock::Insert(int index, const std::string& value) {
    InsertZero(index);
    SetStringValue(index, value);
}

std::unique_ptr<TDataBlock> TDataBlock::DuplicateBlockData() const {
    return std::unique_ptr<TDataBlock>(static_cast<TDataBlock*>(Duplicate().release()));
}

void TDataBlock::WriteText(std::string& out) const {
    const int count = Count();
    out += FullName() + "\n" + std::to_string(count) + " values\n";
    for (int i = 0; i < count; ++i)
        out += GetStringValue(i) + "\n";
    out += "# End of " + FullName() + "\n";
}

// ---------------------------------------------------------------------------------------------
// TTextBlock

void TTextBlock::LoadContents(const uint8_t* data, uint64_t size) {
    auto fail = [&] {
        throw EBinaryFileError(
            Format("The text block \"%s\" in \"%s\" is damaged", FName, SourceFileName()));
    };
    if (size < 4)
        fail();
    int32_t count;
    std::memcpy(&count, data, 4);
    if (count < 0 || static_cast<uint64_t>(count) > (size - 4) / 4)
        fail();
    uint64_t position = 4 + 4 * static_cast<uint64_t>(count);
    std::vector<std::string> strings;
    strings.reserve(static_cast<size_t>(count));
    for (int32_t i = 0; i < count; ++i) {
        int32_t length;
        std::memcpy(&length, data + 4 + 4 * i, 4);
        if (length < 0 || static_cast<uint64_t>(length) > size - position)
            fail();
        strings.emplace_back(reinterpret_cast<const char*>(data + position), length);
        position += static_cast<uint64_t>(length);
    }
    if (position != size)
        fail();
    FStrings = std::move(strings);
}

const std::vector<std::string>& TTextBlock::Strings() const {
    EnsureCached();
    return FStrings;
}

void TTextBlock::SetStrings(std::vector<std::string> strings) {
    PrepareWrite();
    FStrings = std::move(strings);
}

int TTextBlock::Count() const {
    return static_cast<int>(Strings().size());
}

uint64_t TTextBlock::SizeOfContentsInBytes() const {
    if (!FCached && FSource.Stream)
        return FSizeOfContentsRead;
    uint64_t size = 4 + 4 * FStrings.size();
    for (const auto& s : FStrings)
        size += s.size();
    return size;
}

void TTextBlock::AddZero() {
    Add("");
}
void TTextBlock::InsertZero(int index) {
    Insert(index, "");
}
void TTextBlock::Add(const std::string& value) {
    PrepareWrite();
    FStrings.push_back(value);
}
void TTextBlock::Insert(int index, const std::string& value) {
    PrepareWrite();
    if (index != Count())
        CheckIndex(index, Count());
    FStrings.insert(FStrings.begin() + index, value);
}
void TTextBlock::AddFromBlock(const TDataBlock& other, int index) {
    Add(other.GetStringValue(index));
}
void TTextBlock::Delete(int index) {
    PrepareWrite();
    CheckIndex(index, Count());
    FStrings.erase(FStrings.begin() + index);
}
void TTextBlock::Clear() {
    PrepareWrite();
    FStrings.clear();
}
std::string TTextBlock::GetStringValue(int index) const {
    CheckIndex(index, Count());
    return FStrings[static_cast<size_t>(index)];
}
void TTextBlock::SetStringValue(int index, const std::string& value) {
    PrepareWrite();
    if (index == Count()) {
        FStrings.push_back(value);
        return;
    }
    CheckIndex(index, Count());
    FStrings[static_cast<size_t>(index)] = value;
}
int TTextBlock::Capacity() const {
    return static_cast<int>(Strings().capacity());
}

void TTextBlock::WriteContents(TStream& stream) const {
    if (!FCached && FSource.Stream) {
        stream.Write(SourceData(), FSizeOfContentsRead);
        return;
    }
    const int32_t count = static_cast<int32_t>(FStrings.size());
    stream.Write(&count, 4);
    for (const auto& s : FStrings) {
        const int32_t length = static_cast<int32_t>(s.size());
        stream.Write(&length, 4);
    }
    for (const auto& s : FStrings)
        stream.Write(s.data(), s.size());
}

std::unique_ptr<TVirtualBlock> TTextBlock::Duplicate() const {
    auto copy = std::make_unique<TTextBlock>(FName);
    copy->FStrings = Strings();
    return copy;
}

// ---------------------------------------------------------------------------------------------
// Numerical blocks

void TNumericalBlock::LoadContents(const uint8_t* data, uint64_t size) {
    FBytesArray.assign(data, data + size);
}

const uint8_t* TNumericalBlock::Values() const {
    if (!FCached && FSource.Stream && FCacheMode == cmNoCache)
        return SourceData();
    EnsureCached();
    return FBytesArray.data();
}

uint8_t* TNumericalBlock::MutableValues() {
    PrepareWrite();
    return FBytesArray.data();
}

int TNumericalBlock::Count() const {
    return static_cast<int>(SizeOfContentsInBytes() / static_cast<uint64_t>(FItemSize));
}

uint64_t TNumericalBlock::SizeOfContentsInBytes() const {
    return !FCached && FSource.Stream ? FSizeOfContentsRead : FBytesArray.size();
}

template <typename V> V TNumericalBlock::ValueAt(int index) const {
    CheckIndex(index, Count());
    V value;
    std::memcpy(&value, Values() + static_cast<size_t>(index) * sizeof(V), sizeof(V));
    return value;
}

template <typename V> void TNumericalBlock::SetValueAt(int index, V value) {
    PrepareWrite();
    if (index == Count())
        FBytesArray.resize(FBytesArray.size() + sizeof(V));
    else
        CheckIndex(index, Count());
    std::memcpy(FBytesArray.data() + static_cast<size_t>(index) * sizeof(V), &value, sizeof(V));
}

// The value types of the blocks; the inline accessors of the header use them.
template uint8_t TNumericalBlock::ValueAt<uint8_t>(int) const;
template int32_t TNumericalBlock::ValueAt<int32_t>(int) const;
template float TNumericalBlock::ValueAt<float>(int) const;
template double TNumericalBlock::ValueAt<double>(int) const;
template void TNumericalBlock::SetValueAt<uint8_t>(int, uint8_t);
template void TNumericalBlock::SetValueAt<int32_t>(int, int32_t);
template void TNumericalBlock::SetValueAt<float>(int, float);
template void TNumericalBlock::SetValueAt<double>(int, double);

void TNumericalBlock::CopyValuesToBuffer(void* buffer, int start, int count) const {
    if (count == 0)
        return;
    CheckIndex(start, Count());
    CheckIndex(start + count - 1, Count());
    std::memcpy(buffer, Values() + static_cast<size_t>(start) * FItemSize,
                static_cast<size_t>(count) * FItemSize);
}

void TNumericalBlock::CopyValuesFromBuffer(const void* buffer, int start, int count) {
    PrepareWrite();
    if (start < 0 || start > Count())
        throw EBinaryFileError(Format("Block \"%s\": index out of bounds: %i", FName, start));
    const size_t end = static_cast<size_t>(start + count) * FItemSize;
    if (end > FBytesArray.size())
        FBytesArray.resize(end);
    std::memcpy(FBytesArray.data() + static_cast<size_t>(start) * FItemSize, buffer,
                static_cast<size_t>(count) * FItemSize);
}

void TNumericalBlock::InsertValueFromBuffer(int index, const void* buffer) {
    InsertZero(index);
    std::memcpy(FBytesArray.data() + static_cast<size_t>(index) * FItemSize, buffer, FItemSize);
}

void TNumericalBlock::ZeroOut() {
    MutableValues();
    std::fill(FBytesArray.begin(), FBytesArray.end(), uint8_t(0));
}

void TNumericalBlock::AddZero() {
    PrepareWrite();
    FBytesArray.resize(FBytesArray.size() + FItemSize);
}

void TNumericalBlock::InsertZero(int index) {
    PrepareWrite();
    if (index != Count())
        CheckIndex(index, Count());
    FBytesArray.insert(FBytesArray.begin() + static_cast<std::ptrdiff_t>(index) * FItemSize,
                       FItemSize, uint8_t(0));
}

void TNumericalBlock::AddFromBlock(const TDataBlock& other, int index) {
    const auto* numeric = dynamic_cast<const TNumericalBlock*>(&other);
    if (!numeric || other.BlockTypeSuffix() != BlockTypeSuffix())
        throw EBinaryFileError(
            Format("Block \"%s\" cannot take values of block \"%s\"", FName, other.FullName()));
    std::vector<uint8_t> value(FItemSize);
    numeric->CopyValuesToBuffer(value.data(), index, 1);
    CopyValuesFromBuffer(value.data(), Count(), 1);
}

void TNumericalBlock::Delete(int index) {
    PrepareWrite();
    CheckIndex(index, Count());
    const auto at = FBytesArray.begin() + static_cast<std::ptrdiff_t>(index) * FItemSize;
    FBytesArray.erase(at, at + FItemSize);
}

void TNumericalBlock::Clear() {
    PrepareWrite();
    FBytesArray.clear();
}

void TNumericalBlock::SetStringValue(int index, const std::string& value) {
    if (index < 0 || index > Count())
        throw EBinaryFileError(Format("TNumericalBlock.SetStringValue: can not set at position "
                                      "%d for a block containing %d values",
                                      index, Count()));
    std::vector<uint8_t> bytes(FItemSize);
    if (!ParseValue(value, bytes.data()))
        throw EBinaryFileError(Format("Invalid value \"%s\" for block \"%s\"", value, FullName()));
    CopyValuesFromBuffer(bytes.data(), index, 1);
}

int TNumericalBlock::Capacity() const {
    EnsureCached();
    return static_cast<int>(FBytesArray.capacity() / FItemSize);
}

void TNumericalBlock::WriteContents(TStream& stream) const {
    const uint64_t size = SizeOfContentsInBytes();
    if (size > 0)
        stream.Write(Values(), size);
}

void TNumericalBlock::CopyFrom(const TNumericalBlock& other) {
    const uint64_t size = other.SizeOfContentsInBytes();
    const uint8_t* values = other.Values();
    FBytesArray.assign(values, values + size);
}

void TByteBlock::AddStringToValues(const std::string& text) {
    CopyValuesFromBuffer(text.data(), Count(), static_cast<int>(text.size()));
}
std::string TByteBlock::GetStringFromValues() const {
    return std::string(reinterpret_cast<const char*>(Values()), SizeOfContentsInBytes());
}
std::string TByteBlock::GetStringValue(int index) const {
    return std::to_string(GetValue(index));
}
bool TByteBlock::ParseValue(const std::string& text, uint8_t* out) const {
    int value;
    if (!TryStrToInt(Trim(text), value) || value < 0 || value > 255)
        return false;
    *out = static_cast<uint8_t>(value);
    return true;
}
bool TByteBlock::IsValid(const std::string& value) const {
    uint8_t out;
    return ParseValue(value, &out);
}
std::unique_ptr<TVirtualBlock> TByteBlock::Duplicate() const {
    auto copy = std::make_unique<TByteBlock>(FName);
    copy->CopyFrom(*this);
    return copy;
}

std::vector<int32_t> TIntegerBlock::ToArray() const {
    std::vector<int32_t> values(static_cast<size_t>(Count()));
    CopyValuesToBuffer(values.data(), 0, Count());
    return values;
}
std::string TIntegerBlock::GetStringValue(int index) const {
    return std::to_string(GetValue(index));
}
bool TIntegerBlock::ParseValue(const std::string& text, uint8_t* out) const {
    int value;
    if (!TryStrToInt(Trim(text), value))
        return false;
    const int32_t v = value;
    std::memcpy(out, &v, 4);
    return true;
}
bool TIntegerBlock::IsValid(const std::string& value) const {
    uint8_t out[4];
    return ParseValue(value, out);
}
std::unique_ptr<TVirtualBlock> TIntegerBlock::Duplicate() const {
    auto copy = std::make_unique<TIntegerBlock>(FName);
    copy->CopyFrom(*this);
    return copy;
}

std::vector<double> TFloatBlock::ToArray() const {
    std::vector<double> values(static_cast<size_t>(Count()));
    for (int i = 0; i < Count(); ++i)
        values[static_cast<size_t>(i)] = GetDoubleValue(i);
    return values;
}
std::string TFloatBlock::GetStringValue(int index) const {
    return FloatText(GetDoubleValue(index), false);
}
std::string TFloatBlock::GetAccurateStringValue(int index) const {
    return FloatText(GetDoubleValue(index), true);
}
bool TFloatBlock::ParseValue(const std::string& text, uint8_t* out) const {
    double value;
    if (!ParseFloat(text, value))
        return false;
    if (FItemSize == 4) {
        const float single = static_cast<float>(value);
        std::memcpy(out, &single, 4);
    } else {
        std::memcpy(out, &value, 8);
    }
    return true;
}
bool TFloatBlock::IsValid(const std::string& value) const {
    double out;
    return ParseFloat(value, out);
}
std::unique_ptr<TVirtualBlock> TSingleBlock::Duplicate() const {
    auto copy = std::make_unique<TSingleBlock>(FName);
    copy->CopyFrom(*this);
    return copy;
}
std::unique_ptr<TVirtualBlock> TDoubleBlock::Duplicate() const {
    auto copy = std::make_unique<TDoubleBlock>(FName);
    copy->CopyFrom(*this);
    return copy;
}
void TDoubleBlock::SetValues(const double* values, int count) {
    Clear();
    CopyValuesFromBuffer(values, 0, count);
}

// ---------------------------------------------------------------------------------------------
// TContainerBlock

TContainerBlock::TContainerBlock(const std::string& name, TCacheMode cacheMode,
                                 TIndexMode indexMode)
    : TVirtualBlock(name, cacheMode), FIndexMode(indexMode),
      FBlocksContainer(std::make_unique<TBlocksContainer>(cacheMode, indexMode)) {}

void TContainerBlock::LoadContents(const uint8_t*, uint64_t size) {
    if (FDepth >= MaxNesting)
        throw EBinaryFileError(Format("The containers of \"%s\" nest deeper than %d levels",
                                      SourceFileName(), MaxNesting));
    auto container = std::make_unique<TBlocksContainer>(FCacheMode, FIndexMode);
    container->SetReadOnly(FReadOnly);
    container->ReadContentsFromBinary(FSource, FSourceOffset, FSourceOffset + size, false,
                                      FDepth + 1);
    FBlocksContainer = std::move(container);
}

TBlocksContainer& TContainerBlock::Blocks() {
    EnsureCached();
    FBlocksContainer->SetReadOnly(FReadOnly);
    return *FBlocksContainer;
}

int TContainerBlock::Count() const {
    return const_cast<TContainerBlock*>(this)->Blocks().Count();
}

uint64_t TContainerBlock::SizeOfContentsInBytes() const {
    if (!FCached && FSource.Stream)
        return FSizeOfContentsRead;
    return FBlocksContainer->SizeOfContentsInBytes();
}

void TContainerBlock::WriteContents(TStream& stream) const {
    // A container nobody opened goes back as the bytes it was read from.
    if (!FCached && FSource.Stream) {
        stream.Write(SourceData(), FSizeOfContentsRead);
        return;
    }
    FBlocksContainer->WriteContentsToBinary(stream, false);
}

void TContainerBlock::WriteText(std::string& out) const {
    auto& blocks = const_cast<TContainerBlock*>(this)->Blocks();
    out += FullName() + "\n" + std::to_string(blocks.Count()) + " values\n";
    blocks.WriteContentsToText(out);
    out += "# End of " + FullName() + "\n";
}

std::unique_ptr<TVirtualBlock> TContainerBlock::Duplicate() const {
    auto copy = std::make_unique<TContainerBlock>(FName, cmInMemory, imFullIndex);
    auto& blocks = const_cast<TContainerBlock*>(this)->Blocks();
    for (int i = 0; i < blocks.Count(); ++i)
        copy->Blocks().AddBlock(blocks.Get(i).Duplicate());
    return copy;
}

// ---------------------------------------------------------------------------------------------
// TBlocksContainer

void TBlocksContainer::SetReadOnly(bool readOnly) {
    FReadOnly = readOnly;
    for (const auto& block : FBlocksList)
        block->SetReadOnly(readOnly);
}

void TBlocksContainer::CheckWritable() const {
    if (FReadOnly)
        throw EBinaryFileError("File can not be written to!");
}

void TBlocksContainer::Attach(TVirtualBlock& block) {
    block.SetReadOnly(FReadOnly);
    block.FOnChangeName = [this](TVirtualBlock&, const std::string&) {
        FRebuildOfNamedIndexRequired = true;
        if (FLockLevel == 0)
            RebuildNameIndex();
    };
}

void TBlocksContainer::ReadContentsFromBinary(const TBlockSource& source, uint64_t start,
                                              uint64_t end, bool topLevel, int depth) {
    FReadStream = source;
    FStreamStartPos = FStreamIndexingPos = start;
    FStreamEndPos = end;
    FTopLevel = topLevel;
    FDepth = depth;
    FIndexComplete = false;
    if (FIndexMode == imFullIndex)
        IndexAll();
}

bool TBlocksContainer::IndexNextBlock() {
    if (FIndexComplete)
        return false;
    const uint64_t position = FStreamIndexingPos;
    const std::string& fileName = FReadStream.FileName;
    if (position == FStreamEndPos) {
        FIndexComplete = true;
        if (FTopLevel)
            throw EBinaryFileError(
                Format("The file \"%s\" ends before its end block \"%s\"", fileName, EndBlockName));
        return false;
    }
    const uint8_t* head = FReadStream.Data() + position;
    if (FStreamEndPos - position < HeadSize || head[0] != '$' || head[1] != '$' ||
        head[10] != '#' || head[11] != '#')
        throw EBinaryFileError(Format("Invalid header found in binary file: \"%s\"", fileName));
    std::string name(reinterpret_cast<const char*>(head + 2), NameLength);
    name = TrimRight(name);
    const char letter = static_cast<char>(std::toupper(head[9]));
    int32_t count;
    std::memcpy(&count, head + 12, 4);
    if (FTopLevel && name == EndBlockName && letter == 'I') {
        FIndexComplete = true;
        return false;
    }
    const uint64_t contents = position + HeadSize;
    if (count < 0 || static_cast<uint64_t>(count) > FStreamEndPos - contents)
        throw EBinaryFileError(Format("Block \"%s\" in \"%s\" claims %d bytes, but only %d remain",
                                      name, fileName, count, FStreamEndPos - contents));
    auto block = CreateBlock(letter, name, FCacheMode, FIndexMode);
    if (auto* numeric = dynamic_cast<TNumericalBlock*>(block.get());
        numeric && count % numeric->ItemSize() != 0)
        throw EBinaryFileError(Format("Block \"%s\" in \"%s\" holds %d bytes, no whole number of "
                                      "values of %d bytes",
                                      name, fileName, count, numeric->ItemSize()));
    FStreamIndexingPos = contents + static_cast<uint64_t>(count);
    block->SetReadOnly(FReadOnly);
    block->SetSource(FReadStream, contents, static_cast<uint64_t>(count), FDepth);
    Attach(*block);
    FBlocksList.push_back(std::move(block));
    FBlocksListByName.emplace(FBlocksList.back()->Name(), static_cast<int>(FBlocksList.size()) - 1);
    if (!FTopLevel && FStreamIndexingPos == FStreamEndPos)
        FIndexComplete = true;
    return true;
}

void TBlocksContainer::IndexAll() {
    while (IndexNextBlock()) {
    }
}

void TBlocksContainer::RebuildNameIndex() {
    FBlocksListByName.clear();
    for (int i = 0; i < static_cast<int>(FBlocksList.size()); ++i)
        FBlocksListByName.emplace(FBlocksList[static_cast<size_t>(i)]->Name(), i);
    FRebuildOfNamedIndexRequired = false;
}

int TBlocksContainer::Count() {
    IndexAll();
    return static_cast<int>(FBlocksList.size());
}

TVirtualBlock& TBlocksContainer::Get(int index) {
    if (index < 0 || index >= Count())
        throw EBinaryFileError(Format("Block index %d out of bounds", index));
    return *FBlocksList[static_cast<size_t>(index)];
}

int TBlocksContainer::IndexOf(const std::string& name) {
    const std::string upper = UpperCase(name);
    for (;;) {
        if (FRebuildOfNamedIndexRequired) {
            if (FLockLevel > 0) {
                for (int i = 0; i < static_cast<int>(FBlocksList.size()); ++i)
                    if (FBlocksList[static_cast<size_t>(i)]->Name() == upper)
                        return i;
            } else {
                RebuildNameIndex();
            }
        }
        if (!FRebuildOfNamedIndexRequired)
            if (auto it = FBlocksListByName.find(upper); it != FBlocksListByName.end())
                return it->second;
        // Not read yet: the scan goes on from where it stopped.
        if (!IndexNextBlock())
            return -1;
    }
}

TVirtualBlock* TBlocksContainer::GetByName(const std::string& name) {
    const int index = IndexOf(name);
    return index < 0 ? nullptr : FBlocksList[static_cast<size_t>(index)].get();
}

TVirtualBlock& TBlocksContainer::InsertBlock(int index, std::unique_ptr<TVirtualBlock> block) {
    CheckWritable();
    IndexAll();
    if (index < 0 || index > static_cast<int>(FBlocksList.size()))
        throw EBinaryFileError(Format("Block index %d out of bounds", index));
    Attach(*block);
    FBlocksList.insert(FBlocksList.begin() + index, std::move(block));
    FRebuildOfNamedIndexRequired = true;
    if (FLockLevel == 0)
        RebuildNameIndex();
    return *FBlocksList[static_cast<size_t>(index)];
}

TVirtualBlock& TBlocksContainer::AddBlock(std::unique_ptr<TVirtualBlock> block) {
    return InsertBlock(Count(), std::move(block));
}

TByteBlock& TBlocksContainer::AddByteBlock(const std::string& name) {
    return static_cast<TByteBlock&>(AddBlock(std::make_unique<TByteBlock>(name)));
}
TIntegerBlock& TBlocksContainer::AddIntegerBlock(const std::string& name) {
    return static_cast<TIntegerBlock&>(AddBlock(std::make_unique<TIntegerBlock>(name)));
}
TFloatBlock& TBlocksContainer::AddFloatBlock(const std::string& name, bool doublePrecision) {
    if (doublePrecision)
        return static_cast<TFloatBlock&>(AddBlock(std::make_unique<TDoubleBlock>(name)));
    return static_cast<TFloatBlock&>(AddBlock(std::make_unique<TSingleBlock>(name)));
}
TTextBlock& TBlocksContainer::AddTextBlock(const std::string& name) {
    return static_cast<TTextBlock&>(AddBlock(std::make_unique<TTextBlock>(name)));
}
TContainerBlock& TBlocksContainer::AddContainerBlock(const std::string& name) {
    return static_cast<TContainerBlock&>(AddBlock(std::make_unique<TContainerBlock>(name)));
}

TDataBlock& TBlocksContainer::GetOrCreateDataBlock(const std::string& name, TBlockType type,
                                                   bool doublePrecision) {
    if (auto* existing = dynamic_cast<TDataBlock*>(GetByName(name)))
        if (existing->BlockType() == type)
            return *existing;
    switch (type) {
    case btByte:
        return AddByteBlock(name);
    case btInteger:
        return AddIntegerBlock(name);
    case btFloat:
        return AddFloatBlock(name, doublePrecision);
    case btText:
        return AddTextBlock(name);
    default:
        throw EBinaryFileError(Format("A container is no data block: %s", name));
    }
}

void TBlocksContainer::Move(int from, int to) {
    CheckWritable();
    const int count = Count();
    if (from < 0 || from >= count || to < 0 || to >= count)
        throw EBinaryFileError(Format("Cannot move block %d to %d of %d", from, to, count));
    auto block = std::move(FBlocksList[static_cast<size_t>(from)]);
    FBlocksList.erase(FBlocksList.begin() + from);
    FBlocksList.insert(FBlocksList.begin() + to, std::move(block));
    FRebuildOfNamedIndexRequired = true;
    if (FLockLevel == 0)
        RebuildNameIndex();
}

void TBlocksContainer::Delete(int index) {
    CheckWritable();
    if (index < 0 || index >= Count())
        throw EBinaryFileError(Format("Block index %d out of bounds", index));
    FBlocksList.erase(FBlocksList.begin() + index);
    FRebuildOfNamedIndexRequired = true;
    if (FLockLevel == 0)
        RebuildNameIndex();
}

void TBlocksContainer::Delete(const std::string& name) {
    const int index = IndexOf(name);
    if (index >= 0)
        Delete(index);
}

void TBlocksContainer::Replace(int index, std::unique_ptr<TVirtualBlock> block) {
    CheckWritable();
    Get(index);
    Attach(*block);
    FBlocksList[static_cast<size_t>(index)] = std::move(block);
    FRebuildOfNamedIndexRequired = true;
    if (FLockLevel == 0)
        RebuildNameIndex();
}

void TBlocksContainer::BeginBlocksUpdate() {
    ++FLockLevel;
}

void TBlocksContainer::EndBlocksUpdate() {
    if (FLockLevel == 0)
        throw EBinaryFileError("Lock level must not go < 0");
    if (--FLockLevel == 0 && FRebuildOfNamedIndexRequired)
        RebuildNameIndex();
}

void TBlocksContainer::WriteContentsToBinary(TStream& stream, bool topLevel) {
    IndexAll();
    for (const auto& block : FBlocksList)
        block->WriteToBinary(stream);
    if (topLevel) {
        TIntegerBlock end(EndBlockName);
        end.WriteToBinary(stream);
    }
}

uint64_t TBlocksContainer::SizeOfContentsInBytes() {
    IndexAll();
    uint64_t size = 0;
    for (const auto& block : FBlocksList)
        size += HeadSize + block->SizeOfContentsInBytes();
    return size;
}

void TBlocksContainer::WriteContentsToText(std::string& out) {
    IndexAll();
    for (const auto& block : FBlocksList)
        block->WriteText(out);
}

void TBlocksContainer::ConvertDoubleToSinglePrecision() {
    for (int i = 0; i < Count(); ++i) {
        TVirtualBlock& block = Get(i);
        if (auto* container = dynamic_cast<TContainerBlock*>(&block)) {
            container->Blocks().ConvertDoubleToSinglePrecision();
        } else if (auto* doubles = dynamic_cast<TDoubleBlock*>(&block)) {
            auto singles = std::make_unique<TSingleBlock>(doubles->Name());
            for (int k = 0; k < doubles->Count(); ++k)
                singles->SetDoubleValue(k, doubles->GetDoubleValue(k));
            Replace(i, std::move(singles));
        }
    }
}

void TBlocksContainer::ReadContentsFromText(const std::vector<std::string>& lines, size_t& position,
                                            const std::string& endName, int depth) {
    if (depth >= MaxNesting)
        throw EBinaryFileError(Format("The containers nest deeper than %d levels", MaxNesting));
    while (position < lines.size()) {
        const std::string line = Trim(lines[position]);
        ++position;
        if (line.empty())
            continue;
        if (!endName.empty() && line == "# End of " + endName)
            return;
        if (line.size() < 2)
            throw EBinaryFileError(Format("Found \"%s\" instead of a block name.", line));
        const std::string fullName = UpperCase(line);
        try {
            auto block = CreateBlock(fullName.back(), fullName.substr(0, fullName.size() - 1),
                                     cmInMemory, imFullIndex);
            const std::string sizeLine = position < lines.size() ? Trim(lines[position]) : "";
            ++position;
            const std::string suffix = " values";
            if (sizeLine.size() <= suffix.size() ||
                sizeLine.compare(sizeLine.size() - suffix.size(), suffix.size(), suffix) != 0)
                throw EBinaryFileError(
                    Format("Found \"%s\" instead of block size specification.", sizeLine));
            const std::string sizeText = sizeLine.substr(0, sizeLine.size() - suffix.size());
            int expected;
            if (!TryStrToInt(sizeText, expected) || expected < 0)
                throw EBinaryFileError(Format("Found invalid block size \"%s\".", sizeText));
            int actual = 0;
            if (auto* container = dynamic_cast<TContainerBlock*>(block.get())) {
                container->Blocks().ReadContentsFromText(lines, position, fullName, depth + 1);
                actual = container->Blocks().Count();
            } else {
                auto& data = static_cast<TDataBlock&>(*block);
                bool ended = false;
                while (position < lines.size()) {
                    const std::string value = lines[position];
                    ++position;
                    if (Trim(value) == "# End of " + fullName) {
                        ended = true;
                        break;
                    }
                    ++actual;
                    if (data.IsValid(value)) {
                        data.Add(value);
                    } else if (!UserMessages().AskQuestion(
                                   Format("Found invalid value \"%s\". Do you wish to skip it and "
                                          "continue reading?",
                                          value),
                                   "Tarnwick")) {
                        throw EBinaryFileError(Format("Found invalid value \"%s\".", value));
                    }
                }
                if (!ended)
                    throw EBinaryFileError(Format("The block %s has no end.", fullName));
            }
            if (actual != expected)
                throw EBinaryFileError(Format("The expected number of values (%d) is different "
                                              "from the actual number of values (%d).",
                                              expected, actual));
            AddBlock(std::move(block));
        } catch (const EBinaryFileError& e) {
            throw EBinaryFileError(
                Format("The following error occurred%s for block %s:", "", fullName) + "\n" +
                e.what());
        }
    }
    if (!endName.empty())
        throw EBinaryFileError(Format("The block %s has no end.", endName));
}

// ---------------------------------------------------------------------------------------------
// TBinaryFile

std::shared_ptr<std::shared_mutex> TBinaryFileMutexProvider::LockFor(const std::string& fileName) {
    static std::mutex guard;
    static std::map<std::string, std::weak_ptr<std::shared_mutex>> locks;
    std::error_code error;
    std::string key =
        std::filesystem::weakly_canonical(std::filesystem::absolute(fileName), error).string();
    if (error)
        key = fileName;
    std::lock_guard lock(guard);
    auto& weak = locks[key];
    auto mutex = weak.lock();
    if (!mutex) {
        mutex = std::make_shared<std::shared_mutex>();
        weak = mutex;
    }
    return mutex;
}

TBinaryFile::TBinaryFile()
    : FBlocksContainer(std::make_unique<TBlocksContainer>(cmInMemory, imFullIndex)) {}

TBinaryFile::TBinaryFile(const std::string& fileName, bool readOnly)
    : TBinaryFile(fileName, readOnly, cmCacheOnDemand, imFullIndex) {}

TBinaryFile::TBinaryFile(const std::string& fileName, bool readOnly, TCacheMode cacheMode,
                         TIndexMode indexMode)
    : FCacheMode(cacheMode), FIndexMode(indexMode), FReadOnly(readOnly) {
    if (!std::filesystem::exists(fileName))
        throw EInOutError(Format("File not found: %s", fileName));
    auto lock = TBinaryFileMutexProvider::LockFor(fileName);
    std::shared_lock reading(*lock);
    Open(std::make_shared<TMemoryMappedFileStream>(fileName, mmfmReadOnly), fileName);
}

std::unique_ptr<TBinaryFile> TBinaryFile::FromBytes(const void* data, uint64_t size,
                                                    const std::string& fileName,
                                                    TCacheMode cacheMode, TIndexMode indexMode) {
    std::unique_ptr<TBinaryFile> file(new TBinaryFile());
    file->FCacheMode = cacheMode;
    file->FIndexMode = indexMode;
    auto copy = std::make_shared<TMemoryStream>();
    copy->Write(data, size);
    file->Open(copy, fileName);
    return file;
}

TBinaryFile::~TBinaryFile() = default;

void TBinaryFile::SetHeader(const std::string& header) {
    if (header.size() > HeaderTextLength)
        throw EBinaryFileError(
            Format("A block file header holds at most %d characters", HeaderTextLength));
    FHeader = header;
}

void TBinaryFile::Open(std::shared_ptr<TStream> source, const std::string& fileName) {
    FFileName = fileName;
    FReadStream = source;
    FBlocksContainer = std::make_unique<TBlocksContainer>(FCacheMode, FIndexMode);
    const uint64_t size = source->Size();
    const uint8_t* bytes = source->Memory();
    const std::string textHeader = TextHeader;
    const bool text =
        size >= textHeader.size() && std::memcmp(bytes, textHeader.data(), textHeader.size()) == 0;
    if (!text && size < HeaderSize)
        throw EBinaryFileError(
            Format("File \"%s\" is not large enough to be a Orvane binary file.", fileName));
    try {
        if (text) {
            ReadText(source);
        } else {
            if (bytes[79] != 0x1A)
                throw EBinaryFileError("its header does not end in the byte 0x1A");
            ReadBinary(source, fileName);
        }
    } catch (const std::exception& e) {
        FBlocksContainer = std::make_unique<TBlocksContainer>(FCacheMode, FIndexMode);
        throw EBinaryFileError(Format("File \"%s\" is not a valid Orvane file.", fileName) + " " +
                               e.what());
    }
    FBlocksContainer->SetReadOnly(FReadOnly);
}

void TBinaryFile::ReadBinary(const std::shared_ptr<TStream>& source, const std::string& fileName) {
    const uint8_t* bytes = source->Memory();
    const bool compressed = std::memcmp(bytes + HeaderTextLength, "ZIP", 3) == 0;
    FHeader = TrimRight(std::string(reinterpret_cast<const char*>(bytes),
                                    compressed ? HeaderTextLength : HeaderSize - 1));
    FHeader.erase(std::find(FHeader.begin(), FHeader.end(), '\0'), FHeader.end());
    FStorageMode = smBinary;
    TBlockSource blocks;
    blocks.FileName = fileName;
    uint64_t start = HeaderSize, end = source->Size();
    if (compressed) {
        const uint64_t packed = source->Size() - HeaderSize;
        std::string bytesOut =
            ZlibDecompress(bytes + HeaderSize, packed, packed * MaxDeflateRatio + (1 << 20));
        auto inflated = std::make_shared<TMemoryStream>();
        inflated->Write(bytesOut.data(), bytesOut.size());
        FDecompressedStream = inflated;
        blocks.Stream = inflated;
        start = 0;
        end = inflated->Size();
    } else {
        blocks.Stream = source;
    }
    FBlocksContainer->ReadContentsFromBinary(blocks, start, end, true, 0);
}

void TBinaryFile::ReadText(const std::shared_ptr<TStream>& source) {
    const std::string text(reinterpret_cast<const char*>(source->Memory()), source->Size());
    std::vector<std::string> lines = Split(text, '\n');
    for (auto& line : lines)
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
    FStorageMode = smText;
    FHeader = lines.size() > 1 ? lines[1].substr(0, HeaderTextLength) : "";
    size_t position = 2;
    FBlocksContainer->ReadContentsFromText(lines, position, "", 0);
}

std::string TBinaryFile::TextRepresentation() {
    std::string out = std::string(TextHeader) + "\n" + FHeader + "\n";
    FBlocksContainer->WriteContentsToText(out);
    return out;
}

void TBinaryFile::WriteBinary(TStream& stream, bool compress) {
    char header[HeaderSize];
    std::memset(header, ' ', HeaderSize);
    std::memcpy(header, FHeader.data(), FHeader.size());
    if (compress)
        std::memcpy(header + HeaderTextLength, "ZIP", 3);
    header[79] = 0x1A;
    stream.Write(header, HeaderSize);
    if (!compress) {
        FBlocksContainer->WriteContentsToBinary(stream, true);
        return;
    }
    TZlibCompressStream packed(stream, 1);
    FBlocksContainer->WriteContentsToBinary(packed, true);
    packed.Finish();
}

void TBinaryFile::EnsureApplicationBlock() {
    if (FBlocksContainer->GetByName(ApplicationBlockName))
        return;
    auto block = std::make_unique<TTextBlock>(ApplicationBlockName);
    std::error_code error;
    const std::string current = std::filesystem::current_path(error).string();
    block->SetStrings({"DateTime=" + LocalDateTimeText(), "WrittenBy=" + ApplicationName(),
                       "Version=" + TApplicationVersion::Running().ToString(),
                       "AppLocation=" + ApplicationDirectory(), "CurrentDir=" + current});
    FBlocksContainer->InsertBlock(0, std::move(block));
}

void TBinaryFile::SaveAsBinary(const std::string& fileName, bool compress) {
    if (FReadOnly)
        throw EBinaryFileError("File can not be written to!");
    EnsureApplicationBlock();
    auto lock = TBinaryFileMutexProvider::LockFor(fileName);
    std::unique_lock writing(*lock, std::try_to_lock);
    if (!writing.owns_lock())
        throw EFCreateError(Format("The process cannot write to file %s because it is being used "
                                   "by another process.",
                                   fileName));
    WriteFileAtomically(fileName, true, [&](TStream& stream) { WriteBinary(stream, compress); });
    FFileName = fileName;
    FStorageMode = smBinary;
}

void TBinaryFile::SaveAsText(const std::string& fileName) {
    const std::string text = TextRepresentation();
    WriteFileAtomically(fileName, true,
                        [&](TStream& stream) { stream.Write(text.data(), text.size()); });
    FFileName = fileName;
    FStorageMode = smText;
}

void TBinaryFile::Save() {
    if (FFileName.empty())
        throw EBinaryFileError("TBinaryFile doesn't have a file name to save to.");
    if (FStorageMode == smText)
        SaveAsText(FFileName);
    else
        SaveAsBinary(FFileName, FDecompressedStream != nullptr);
}

TApplicationBlock TBinaryFile::ReadApplicationBlock() {
    constexpr int Lines = 5;
    auto* block = dynamic_cast<TTextBlock*>(FBlocksContainer->GetByName(ApplicationBlockName));
    if (!block)
        throw EReadApplicationBlock(
            Format("Application block '%s' not found in %s!", ApplicationBlockName, FFileName));
    const auto& strings = block->Strings();
    if (strings.size() < Lines)
        throw EReadApplicationBlock(
            Format("Invalid size of block '%s' in %s! (should be at least: %d)",
                   ApplicationBlockName, FFileName, Lines));
    TApplicationBlock result;
    std::map<std::string, std::string> values;
    for (const auto& line : strings) {
        const size_t equals = line.find('=');
        if (equals != std::string::npos)
            values[line.substr(0, equals)] = line.substr(equals + 1);
    }
    if (!TApplicationVersion::Parse(values["Version"], result.Version))
        throw EReadApplicationBlock(Format("Corrupt version-info in application block '%s' in %s!",
                                           ApplicationBlockName, FFileName));
    result.DateTime = values["DateTime"];
    result.WrittenBy = values["WrittenBy"];
    result.AppLocation = values["AppLocation"];
    result.CurrentDir = values["CurrentDir"];
    return result;
}

bool TBinaryFile::TryReadApplicationBlock(TApplicationBlock& block) {
    try {
        block = ReadApplicationBlock();
        return true;
    } catch (const EBinaryFileError&) {
        return false;
    }
}

int32_t TBinaryFile::GetIntValue(const std::string& name, int index) {
    auto* block = dynamic_cast<TIntegerBlock*>(GetByName(name));
    if (!block)
        throw EBinaryFileError(Format("Block \"%s\" not present in file", name));
    if (index < 0 || index >= block->Count())
        throw EBinaryFileError(Format("Block \"%s\": index out of bounds: %i", name, index));
    return block->GetValue(index);
}

double TBinaryFile::GetFloatValue(const std::string& name, int index) {
    auto* block = dynamic_cast<TFloatBlock*>(GetByName(name));
    if (!block)
        throw EBinaryFileError(Format("Block \"%s\" not present in file", name));
    if (index < 0 || index >= block->Count())
        throw EBinaryFileError(Format("Block \"%s\": index out of bounds: %i", name, index));
    return block->GetDoubleValue(index);
}

} // namespace tw
