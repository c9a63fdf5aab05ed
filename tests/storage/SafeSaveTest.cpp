// Saving never destroys the old file: a write that fails half-way, through an exception of the
// writer or through the system refusing more bytes, leaves the old file and no temporary one.
// And the mapped stream that the kovml reader opens files with.

#include "StorageTestTools.h"
#include "storage/HSKovBinaryXML.h"
#include "storage/MemoryMappedFileStream.h"

#include <csignal>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

using namespace tw;
using namespace tw::testing;
using ::testing::HasSubstr;
using ::testing::StrEq;
using ::testing::ThrowsMessage;

namespace {} // namespace

TEST(SafeSave, AWriteThatFailsHalfWayLeavesTheOldFile) {
    TTemporaryFolder folder;
    const std::string file = folder.File("test.twt.kovml");
    WriteFileBytes(file, "the old contents");

    // The writer fails after 10,000 bytes.
    const std::string chunk(1000, 'x');
    EXPECT_THROW(WriteFileAtomically(file, false,
                                     [&](TStream& stream) {
                                         for (int i = 0; i < 10; ++i)
                                             stream.Write(chunk.data(), chunk.size());
                                         throw EStreamError("disk gone");
                                     }),
                 EStreamError);
    EXPECT_EQ(ReadFileBytes(file), "the old contents");
    EXPECT_EQ(folder.FileCount(), 1u);

    // The system refuses bytes past 64 KiB while a tree of about 1 MB is saved.
    THSKovBinaryXML root("Test");
    std::vector<double> values(131072);
    for (size_t i = 0; i < values.size(); ++i)
        values[i] = 1.0 / double(i + 1);
    {
        const TEnvironment uncompressed("BLOB_COMPRESSION_DISABLED", "1");
        root.AddChild("Values").SetValueAsBlobBuffer(values.data(), values.size() * sizeof(double));
    }
    {
        TFileSizeLimit limit(1 << 16);
        EXPECT_THAT([&] { root.SaveToFile(file); },
                    ThrowsMessage<EStreamError>(HasSubstr("Cannot write")))
            << "the save should have failed";
    }
    EXPECT_EQ(ReadFileBytes(file), "the old contents");
    EXPECT_EQ(folder.FileCount(), 1u);

    // Without the limit the same save replaces the file, and missing folders are made.
    root.SaveToFile(file);
    THSKovBinaryXML read("");
    read.LoadFromFile(file);
    EXPECT_EQ(read.GetChildByName("values")->GetValueAsBlobSize(), values.size() * sizeof(double));
    root.SaveToFile(folder.File("new/folder/test.kovml"));
    EXPECT_TRUE(std::filesystem::exists(folder.File("new/folder/test.kovml")));
    EXPECT_THROW(root.SaveToFile(folder.File("other/test.kovml"), false), EStreamError);
}

TEST(SafeSave, TheMappedStreamReadsWritesAndGrows) {
    TTemporaryFolder folder;
    EXPECT_THAT(
        [&] { TMemoryMappedFileStream missing(folder.File("missing.kovml"), mmfmReadOnly); },
        ThrowsMessage<EFOpenError>(
            StrEq("File \"" + folder.File("missing.kovml") + "\" does not exist")));
    WriteFileBytes(folder.File("empty"), "");
    TMemoryMappedFileStream empty(folder.File("empty"), mmfmReadOnly);
    EXPECT_EQ(empty.Size(), 0u);
    EXPECT_EQ(empty.Memory(), nullptr);
    EXPECT_THROW(empty.Write("x", 1), EStreamError);

    {
        TMemoryMappedFileStream file(folder.File("grown"), mmfmReadWrite);
        const std::string text(10000, 'a');
        for (int i = 0; i < 100; ++i)
            file.Write(text.data(), text.size());
        EXPECT_EQ(file.Size(), 1000000u);
    }
    EXPECT_EQ(std::filesystem::file_size(folder.File("grown")), 1000000u);
    TMemoryMappedFileStream read(folder.File("grown"), mmfmReadOnly);
    char bytes[3] = {};
    read.SetPosition(999998);
    EXPECT_EQ(read.Read(bytes, 3), 2u);
    EXPECT_EQ(std::string(bytes, 2), "aa");

    TMemoryMappedFileStream scratch;
    EXPECT_EQ(scratch.Mode(), mmfmReadWriteWithTempBackingFile);
    const std::string data = "scratch data";
    scratch.Write(data.data(), data.size());
    scratch.SetPosition(0);
    std::string back(data.size(), '\0');
    scratch.ReadBuffer(back.data(), back.size());
    EXPECT_EQ(back, data);
    EXPECT_THROW(scratch.ReadBuffer(back.data(), 1), EStreamError);
}
