#pragma once
// Block binary files: a flat or nested sequence of named arrays (bytes, 32-bit integers, single or
// double floats, text lines, or containers of further blocks), the exchange format with the
// calculation side. A file is an 80-byte header (76 bytes of the application's text, "ZIP" at 76
// when the rest is zlib-compressed, 0x1A at 79), then the blocks, ended by the empty integer block
// "ENDOFFI". Each block is "$$", its name in 7 upper-case characters, its type letter, "##" and
// the byte count of its contents, little-endian. The same content has a text representation.
//
// Opening a file reads the blocks' heads (all at once, or as far as a requested name); a block's
// contents are read when first used, or at once, or at each use, by the cache mode. A container
// that is not opened is written back by copying its bytes.
//
// A TBinaryFile is used by one thread; readers and writers of one file name in the process are
// kept apart by a lock per file name.

#include "storage/ApplicationVersion.h"
#include "storage/StorageExceptions.h"
#include "storage/Streams.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <shared_mutex>
#include <string>
#include <vector>

namespace tw {

TW_DECLARE_EXCEPTION(EBinaryFileError, EStorageException)
TW_DECLARE_EXCEPTION(EReadApplicationBlock, EBinaryFileError)

enum TBlockType { btByte, btInteger, btFloat, btText, btContainer };
enum TStorageMode { smBinary, smText };
enum TCacheMode { cmInMemory, cmCacheOnDemand, cmNoCache, cmIndexOnDemand, cmFullIndex };
enum TIndexMode { imIndexOnDemand, imFullIndex };

class TBlocksContainer;
class TDataBlock;

// The bytes a file was read from, shared by the blocks that read their contents on demand.
struct TBlockSource {
    std::shared_ptr<TStream> Stream; // in memory or mapped
    std::string FileName;
    const uint8_t* Data() const { return Stream ? Stream->Memory() : nullptr; }
};

class TVirtualBlock {
public:
    TVirtualBlock(const std::string& name, TCacheMode cacheMode);
    TVirtualBlock(const TVirtualBlock&) = delete;
    TVirtualBlock& operator=(const TVirtualBlock&) = delete;
    virtual ~TVirtualBlock() = default;

    const std::string& Name() const { return FName; }
    // Upper case, at most 7 characters.
    void SetName(const std::string& name);
    virtual TBlockType BlockType() const = 0;
    // The letter of the type in files: B, I, S, R, T or H.
    virtual char BlockTypeSuffix() const = 0;
    // The name and the type letter: "NAME123R".
    std::string FullName() const { return FName + BlockTypeSuffix(); }
    // Values, lines or child blocks.
    virtual int Count() const = 0;
    virtual uint64_t SizeOfContentsInBytes() const = 0;
    bool Cached() const { return FCached; }
    // Whether the contents are held in memory (else they are read from the file when used).
    bool BlockIsInMemory() const { return FCached || !FSource.Stream; }
    bool ReadOnly() const { return FReadOnly; }
    void SetReadOnly(bool readOnly) { FReadOnly = readOnly; }

    // The head and the contents.
    void WriteToBinary(TStream& stream) const;
    virtual void WriteContents(TStream& stream) const = 0;
    virtual void WriteText(std::string& out) const = 0;
    // A copy with its own contents in memory.
    virtual std::unique_ptr<TVirtualBlock> Duplicate() const = 0;

    // Called after a rename, with the old name: the container's index follows.
    std::function<void(TVirtualBlock&, const std::string&)> FOnChangeName;

    // The contents lie at [offset, offset + size) of `source`; read by the cache mode.
    void SetSource(const TBlockSource& source, uint64_t offset, uint64_t size, int depth);

protected:
    // Parses contents from bytes; raises on contents that contradict the block's type.
    virtual void LoadContents(const uint8_t* data, uint64_t size) = 0;
    // Reads the contents into memory if they are not there yet.
    void EnsureCached() const;
    // Before a change: the contents in memory, and a writable block.
    void PrepareWrite();
    const uint8_t* SourceData() const { return FSource.Data() + FSourceOffset; }
    bool ReadsFromSource() const { return !FCached && FSource.Stream; }
    const std::string& SourceFileName() const { return FSource.FileName; }

    std::string FName;
    TCacheMode FCacheMode;
    mutable bool FCached = true;
    TBlockSource FSource;
    uint64_t FSourceOffset = 0;
    uint64_t FSizeOfContentsRead = 0;
    int FDepth = 0;
    bool FReadOnly = false;
};

class TDataBlock : public TVirtualBlock {
public:
    using TVirtualBlock::TVirtualBlock;
    virtual void Add(const std::string& value);
    virtual void AddZero() = 0;
    virtual void Insert(int index, const std::string& value);
    virtual void InsertZero(int index) = 0;
    // Appends value `index` of a block of the same type.
    virtual void AddFromBlock(const TDataBlock& other, int index) = 0;
    virtual void Delete(int index) = 0;
    virtual void Clear() = 0;
    std::unique_ptr<TDataBlock> DuplicateBlockData() const;
    // The value as text: floats with 7 significant digits, "-INF" for minus infinity.
    virtual std::string GetStringValue(int index) const = 0;
    // Parses and sets; an index equal to Count appends.
    virtual void SetStringValue(int index, const std::string& value) = 0;
    // Full precision.
    virtual std::string GetAccurateStringValue(int index) const { return GetStringValue(index); }
    // Whether a text is a value of this block's type.
    virtual bool IsValid(const std::string& value) const = 0;
    virtual int Capacity() const = 0;
    void WriteText(std::string& out) const override;

protected:
    void CheckIndex(int index, int count) const;
};

class TTextBlock : public TDataBlock {
public:
    explicit TTextBlock(const std::string& name, TCacheMode cacheMode = cmInMemory)
        : TDataBlock(name, cacheMode) {}
    TBlockType BlockType() const override { return btText; }
    char BlockTypeSuffix() const override { return 'T'; }
    int Count() const override;
    uint64_t SizeOfContentsInBytes() const override;
    const std::vector<std::string>& Strings() const;
    void SetStrings(std::vector<std::string> strings);
    void AddZero() override;
    void InsertZero(int index) override;
    void Add(const std::string& value) override;
    void Insert(int index, const std::string& value) override;
    void AddFromBlock(const TDataBlock& other, int index) override;
    void Delete(int index) override;
    void Clear() override;
    std::string GetStringValue(int index) const override;
    void SetStringValue(int index, const std::string& value) override;
    bool IsValid(const std::string&) const override { return true; }
    int Capacity() const override;
    void WriteContents(TStream& stream) const override;
    std::unique_ptr<TVirtualBlock> Duplicate() const override;

protected:
    void LoadContents(const uint8_t* data, uint64_t size) override;

private:
    mutable std::vector<std::string> FStrings;
};

// Values of a fixed size, back to back.
class TNumericalBlock : public TDataBlock {
public:
    TNumericalBlock(const std::string& name, TCacheMode cacheMode, int itemSize)
        : TDataBlock(name, cacheMode), FItemSize(itemSize) {}
    int Count() const override;
    uint64_t SizeOfContentsInBytes() const override;
    int ItemSize() const { return FItemSize; }
    void CopyValuesToBuffer(void* buffer, int start, int count) const;
    // Overwrites values from `start`, growing the block when they run past its end.
    void CopyValuesFromBuffer(const void* buffer, int start, int count);
    void InsertValueFromBuffer(int index, const void* buffer);
    void ZeroOut();
    // Whether values can be written in place (the contents are in memory).
    bool SupportsDirectWrites() const { return FCached; }
    void AddZero() override;
    void InsertZero(int index) override;
    void AddFromBlock(const TDataBlock& other, int index) override;
    void Delete(int index) override;
    void Clear() override;
    void SetStringValue(int index, const std::string& value) override;
    int Capacity() const override;
    void WriteContents(TStream& stream) const override;

protected:
    void LoadContents(const uint8_t* data, uint64_t size) override;
    // The bytes of the values: in memory, or straight from the file without caching.
    const uint8_t* Values() const;
    uint8_t* MutableValues();
    // Parses a text to the bytes of one value; false when it is none.
    virtual bool ParseValue(const std::string& text, uint8_t* out) const = 0;
    template <typename V> V ValueAt(int index) const;
    template <typename V> void SetValueAt(int index, V value);
    void CopyFrom(const TNumericalBlock& other);

    int FItemSize;
    mutable std::vector<uint8_t> FBytesArray;
};

class TByteBlock : public TNumericalBlock {
public:
    explicit TByteBlock(const std::string& name, TCacheMode cacheMode = cmInMemory)
        : TNumericalBlock(name, cacheMode, 1) {}
    TBlockType BlockType() const override { return btByte; }
    char BlockTypeSuffix() const override { return 'B'; }
    uint8_t GetValue(int index) const { return ValueAt<uint8_t>(index); }
    void SetValue(int index, uint8_t value) { SetValueAt(index, value); }
    // The bytes of a text, appended; and all bytes as text.
    void AddStringToValues(const std::string& text);
    std::string GetStringFromValues() const;
    std::string GetStringValue(int index) const override;
    bool IsValid(const std::string& value) const override;
    std::unique_ptr<TVirtualBlock> Duplicate() const override;

protected:
    bool ParseValue(const std::string& text, uint8_t* out) const override;
};

class TIntegerBlock : public TNumericalBlock {
public:
    explicit TIntegerBlock(const std::string& name, TCacheMode cacheMode = cmInMemory)
        : TNumericalBlock(name, cacheMode, 4) {}
    TBlockType BlockType() const override { return btInteger; }
    char BlockTypeSuffix() const override { return 'I'; }
    int32_t GetValue(int index) const { return ValueAt<int32_t>(index); }
    void SetValue(int index, int32_t value) { SetValueAt(index, value); }
    using TDataBlock::Add;
    void Add(int32_t value) { SetValue(Count(), value); }
    std::vector<int32_t> ToArray() const;
    std::string GetStringValue(int index) const override;
    bool IsValid(const std::string& value) const override;
    std::unique_ptr<TVirtualBlock> Duplicate() const override;

protected:
    bool ParseValue(const std::string& text, uint8_t* out) const override;
};

// Floats of either precision, read and written as doubles.
class TFloatBlock : public TNumericalBlock {
public:
    using TNumericalBlock::TNumericalBlock;
    TBlockType BlockType() const override { return btFloat; }
    virtual double GetDoubleValue(int index) const = 0;
    virtual void SetDoubleValue(int index, double value) = 0;
    using TDataBlock::Add;
    void Add(double value) { SetDoubleValue(Count(), value); }
    std::vector<double> ToArray() const;
    std::string GetStringValue(int index) const override;
    std::string GetAccurateStringValue(int index) const override;
    bool IsValid(const std::string& value) const override;

protected:
    bool ParseValue(const std::string& text, uint8_t* out) const override;
};

class TSingleBlock : public TFloatBlock {
public:
    explicit TSingleBlock(const std::string& name, TCacheMode cacheMode = cmInMemory)
        : TFloatBlock(name, cacheMode, 4) {}
    char BlockTypeSuffix() const override { return 'S'; }
    float GetSingleValue(int index) const { return ValueAt<float>(index); }
    void SetSingleValue(int index, float value) { SetValueAt(index, value); }
    double GetDoubleValue(int index) const override { return GetSingleValue(index); }
    void SetDoubleValue(int index, double value) override {
        SetSingleValue(index, static_cast<float>(value));
    }
    std::unique_ptr<TVirtualBlock> Duplicate() const override;
};

class TDoubleBlock : public TFloatBlock {
public:
    explicit TDoubleBlock(const std::string& name, TCacheMode cacheMode = cmInMemory)
        : TFloatBlock(name, cacheMode, 8) {}
    char BlockTypeSuffix() const override { return 'R'; }
    double GetDoubleValue(int index) const override { return ValueAt<double>(index); }
    void SetDoubleValue(int index, double value) override { SetValueAt(index, value); }
    // Many values at once: the bytes of the doubles, without a value-by-value walk.
    void SetValues(const double* values, int count);
    std::unique_ptr<TVirtualBlock> Duplicate() const override;
};

// The blocks of a file or a container, in order, with an index by name.
class TBlocksContainer {
public:
    TBlocksContainer(TCacheMode cacheMode, TIndexMode indexMode)
        : FCacheMode(cacheMode), FIndexMode(indexMode) {}
    TBlocksContainer(const TBlocksContainer&) = delete;
    TBlocksContainer& operator=(const TBlocksContainer&) = delete;

    // All blocks: reads the remaining heads first.
    int Count();
    TVirtualBlock& Get(int index);
    // The first block of that name (any case), reading heads as far as needed; nullptr if none.
    TVirtualBlock* GetByName(const std::string& name);
    int IndexOf(const std::string& name);
    TDataBlock& GetOrCreateDataBlock(const std::string& name, TBlockType type,
                                     bool doublePrecision = true);
    TVirtualBlock& AddBlock(std::unique_ptr<TVirtualBlock> block);
    TVirtualBlock& InsertBlock(int index, std::unique_ptr<TVirtualBlock> block);
    TByteBlock& AddByteBlock(const std::string& name);
    TIntegerBlock& AddIntegerBlock(const std::string& name);
    TFloatBlock& AddFloatBlock(const std::string& name, bool doublePrecision = true);
    TTextBlock& AddTextBlock(const std::string& name);
    class TContainerBlock& AddContainerBlock(const std::string& name);
    void Move(int from, int to);
    void Delete(int index);
    void Delete(const std::string& name);
    // Replaces a block by another at the same place.
    void Replace(int index, std::unique_ptr<TVirtualBlock> block);
    // The name index is rebuilt once, at the end of the outermost update.
    void BeginBlocksUpdate();
    void EndBlocksUpdate();

    // Reads heads from [start, end) of `source`; top level: up to the block "ENDOFFI".
    void ReadContentsFromBinary(const TBlockSource& source, uint64_t start, uint64_t end,
                                bool topLevel, int depth);
    void WriteContentsToBinary(TStream& stream, bool topLevel);
    // `lines` from `position`: blocks up to "# End of `endName`" (or the end for the top level).
    void ReadContentsFromText(const std::vector<std::string>& lines, size_t& position,
                              const std::string& endName, int depth);
    void WriteContentsToText(std::string& out);
    uint64_t SizeOfContentsInBytes();
    void SetReadOnly(bool readOnly);
    bool ReadOnly() const { return FReadOnly; }
    // Blocks of doubles become blocks of singles, in every container.
    void ConvertDoubleToSinglePrecision();

private:
    bool IndexNextBlock();
    void IndexAll();
    void RebuildNameIndex();
    void CheckWritable() const;
    void Attach(TVirtualBlock& block);

    std::vector<std::unique_ptr<TVirtualBlock>> FBlocksList;
    std::map<std::string, int> FBlocksListByName;
    TBlockSource FReadStream;
    uint64_t FStreamStartPos = 0;
    uint64_t FStreamIndexingPos = 0;
    uint64_t FStreamEndPos = 0;
    bool FIndexComplete = true;
    bool FTopLevel = false;
    int FDepth = 0;
    TCacheMode FCacheMode;
    TIndexMode FIndexMode;
    int FLockLevel = 0;
    bool FRebuildOfNamedIndexRequired = false;
    bool FReadOnly = false;
};

class TContainerBlock : public TVirtualBlock {
public:
    explicit TContainerBlock(const std::string& name, TCacheMode cacheMode = cmInMemory,
                             TIndexMode indexMode = imFullIndex);
    TBlockType BlockType() const override { return btContainer; }
    char BlockTypeSuffix() const override { return 'H'; }
    int Count() const override;
    uint64_t SizeOfContentsInBytes() const override;
    // The children; opening them reads their heads.
    TBlocksContainer& Blocks();
    const TBlocksContainer& Blocks() const { return const_cast<TContainerBlock*>(this)->Blocks(); }
    void WriteContents(TStream& stream) const override;
    void WriteText(std::string& out) const override;
    std::unique_ptr<TVirtualBlock> Duplicate() const override;

protected:
    void LoadContents(const uint8_t* data, uint64_t size) override;

private:
    TIndexMode FIndexMode;
    mutable std::unique_ptr<TBlocksContainer> FBlocksContainer;
};

// What "_APPINF" records of the program that wrote a file.
struct TApplicationBlock {
    std::string DateTime;
    std::string WrittenBy;
    TApplicationVersion Version;
    std::string AppLocation;
    std::string CurrentDir;
};

// The lock per file name between readers and writers of this process.
class TBinaryFileMutexProvider {
public:
    static std::shared_ptr<std::shared_mutex> LockFor(const std::string& fileName);
};

class TBinaryFile {
public:
    static constexpr const char* ApplicationBlockName = "_APPINF";
    static constexpr const char* TextHeader = "*** ORVANE BINARY FILE - HUMANE REPRESENTATION ***";

    // A new, empty file.
    TBinaryFile();
    // Reads a file, binary or text. Raises EInOutError "File not found: %s" for a missing file.
    TBinaryFile(const std::string& fileName, bool readOnly);
    TBinaryFile(const std::string& fileName, bool readOnly, TCacheMode cacheMode,
                TIndexMode indexMode);
    // Reads bytes held in memory; `fileName` names them in messages.
    static std::unique_ptr<TBinaryFile> FromBytes(const void* data, uint64_t size,
                                                  const std::string& fileName,
                                                  TCacheMode cacheMode = cmCacheOnDemand,
                                                  TIndexMode indexMode = imIndexOnDemand);
    TBinaryFile(const TBinaryFile&) = delete;
    TBinaryFile& operator=(const TBinaryFile&) = delete;
    ~TBinaryFile();

    // The header text, up to 76 bytes.
    const std::string& Header() const { return FHeader; }
    void SetHeader(const std::string& header);
    const std::string& FileName() const { return FFileName; }
    TStorageMode StorageMode() const { return FStorageMode; }
    bool ReadOnly() const { return FReadOnly; }

    // Writes the file again in its own form ("TBinaryFile doesn't have a file name to save to."
    // without a name).
    void Save();
    void SaveAsText(const std::string& fileName);
    // Adds "_APPINF" if the file has none, takes the lock of the file name, and writes.
    void SaveAsBinary(const std::string& fileName, bool compress);
    // The bytes of a binary file, as SaveAsBinary writes them.
    void WriteBinary(TStream& stream, bool compress);
    std::string TextRepresentation();

    int Count() { return FBlocksContainer->Count(); }
    TVirtualBlock& Get(int index) { return FBlocksContainer->Get(index); }
    TVirtualBlock* GetByName(const std::string& name) { return FBlocksContainer->GetByName(name); }
    int IndexOf(const std::string& name) { return FBlocksContainer->IndexOf(name); }
    TDataBlock& GetOrCreateDataBlock(const std::string& name, TBlockType type) {
        return FBlocksContainer->GetOrCreateDataBlock(name, type);
    }
    TVirtualBlock& AddBlock(std::unique_ptr<TVirtualBlock> block) {
        return FBlocksContainer->AddBlock(std::move(block));
    }
    TByteBlock& AddByteBlock(const std::string& name) {
        return FBlocksContainer->AddByteBlock(name);
    }
    TIntegerBlock& AddIntegerBlock(const std::string& name) {
        return FBlocksContainer->AddIntegerBlock(name);
    }
    TFloatBlock& AddFloatBlock(const std::string& name, bool doublePrecision = true) {
        return FBlocksContainer->AddFloatBlock(name, doublePrecision);
    }
    TTextBlock& AddTextBlock(const std::string& name) {
        return FBlocksContainer->AddTextBlock(name);
    }
    TContainerBlock& AddContainerBlock(const std::string& name) {
        return FBlocksContainer->AddContainerBlock(name);
    }
    void Move(int from, int to) { FBlocksContainer->Move(from, to); }
    void Delete(int index) { FBlocksContainer->Delete(index); }
    void Delete(const std::string& name) { FBlocksContainer->Delete(name); }
    void BeginUpdate() { FBlocksContainer->BeginBlocksUpdate(); }
    void EndUpdate() { FBlocksContainer->EndBlocksUpdate(); }
    void ConvertDoubleToSinglePrecision() { FBlocksContainer->ConvertDoubleToSinglePrecision(); }
    TBlocksContainer& Blocks() { return *FBlocksContainer; }

    // "_APPINF": raises EReadApplicationBlock when it is missing or damaged.
    TApplicationBlock ReadApplicationBlock();
    bool TryReadApplicationBlock(TApplicationBlock& block);

    // Raise "Block \"%s\" not present in file" and "Block \"%s\": index out of bounds: %i".
    int32_t GetIntValue(const std::string& name, int index);
    double GetFloatValue(const std::string& name, int index);

private:
    void Open(std::shared_ptr<TStream> source, const std::string& fileName);
    void ReadBinary(const std::shared_ptr<TStream>& source, const std::string& fileName);
    void ReadText(const std::shared_ptr<TStream>& source);
    void EnsureApplicationBlock();

    std::string FHeader;
    TCacheMode FCacheMode = cmInMemory;
    TIndexMode FIndexMode = imFullIndex;
    std::shared_ptr<TStream> FReadStream;
    std::shared_ptr<TStream> FDecompressedStream;
    TStorageMode FStorageMode = smBinary;
    std::unique_ptr<TBlocksContainer> FBlocksContainer;
    std::string FFileName;
    bool FReadOnly = false;
};

} // namespace tw
