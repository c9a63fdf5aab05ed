// Block binary files: the bytes of blocks and heads, compression, the text form, reading heads on
// demand, the application block, and files that are not what they claim.

#include "storage/BinaryFile.h"
#include "StorageTestTools.h"
#include "services/UserMessages.h"

#include <cmath>
#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <mutex>

using namespace tw;
using namespace tw::testing;
using ::testing::HasSubstr;
using ::testing::StrEq;
using ::testing::ThrowsMessage;

namespace {

// A file with a block of each kind and a container holding two more.
std::unique_ptr<TBinaryFile> SampleFile() {
    auto file = std::make_unique<TBinaryFile>();
    file->SetHeader("Tarnwick material data");
    auto& bytes = file->AddByteBlock("flags");
    bytes.AddStringToValues("ab");
    auto& integers = file->AddIntegerBlock("name123");
    integers.Add(7);
    integers.Add(-1);
    auto& doubles = static_cast<TDoubleBlock&>(file->AddFloatBlock("params"));
    for (int i = 0; i < 5; ++i)
        doubles.Add(0.1 * i - 1);
    doubles.Add(-HUGE_VAL);
    file->AddFloatBlock("single", false).Add(2.5);
    auto& text = file->AddTextBlock("names");
    text.Add("Hardening Soil");
    text.Add("");
    auto& container = file->AddContainerBlock("model");
    container.Blocks().AddIntegerBlock("ids").Add(42);
    container.Blocks().AddTextBlock("units").Add("kN");
    file->AddIntegerBlock("empty");
    return file;
}

void ExpectSample(TBinaryFile& file) {
    EXPECT_EQ(file.Header(), "Tarnwick material data");
    EXPECT_EQ(static_cast<TByteBlock*>(file.GetByName("FLAGS"))->GetStringFromValues(), "ab");
    EXPECT_EQ(file.GetIntValue("name123", 1), -1);
    EXPECT_DOUBLE_EQ(file.GetFloatValue("params", 3), -0.7);
    EXPECT_EQ(file.GetFloatValue("params", 5), -HUGE_VAL);
    EXPECT_EQ(file.GetFloatValue("single", 0), 2.5);
    auto* text = dynamic_cast<TTextBlock*>(file.GetByName("names"));
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(text->Strings(), (std::vector<std::string>{"Hardening Soil", ""}));
    auto* container = dynamic_cast<TContainerBlock*>(file.GetByName("model"));
    ASSERT_NE(container, nullptr);
    EXPECT_EQ(static_cast<TIntegerBlock*>(container->Blocks().GetByName("ids"))->GetValue(0), 42);
    EXPECT_EQ(file.GetByName("empty")->Count(), 0);
}

std::string BinaryBytes(TBinaryFile& file, bool compress) {
    TMemoryStream stream;
    file.WriteBinary(stream, compress);
    return std::string(reinterpret_cast<const char*>(stream.Memory()), stream.Size());
}

// Answers every question with No, as a user who stops reading would.
struct TNoMessages : IUserMessages {
    void ShowMessage(const std::string&, const std::string&) override {}
    bool AskQuestion(const std::string&, const std::string&) override { return Answer; }
    bool Answer = false;
};

} // namespace

TEST(BinaryFile, TheBytesOfHeadsAndBlocks) {
    TBinaryFile file;
    file.SetHeader("head");
    auto& integers = file.AddIntegerBlock("name123");
    EXPECT_EQ(integers.Name(), "NAME123");
    EXPECT_EQ(integers.FullName(), "NAME123I");
    file.AddIntegerBlock("empty");
    integers.Add(5);
    const std::string bytes = BinaryBytes(file, false);
    // 80-byte header: text, blanks, 0x1A at 79.
    EXPECT_EQ(bytes.substr(0, 4), "head");
    EXPECT_EQ(bytes[78], ' ');
    EXPECT_EQ(bytes[79], '\x1A');
    // A block: "$$", the name in 7, the letter, "##", the byte count, the contents.
    EXPECT_EQ(bytes.substr(80, 12), "$$NAME123I##");
    int32_t count;
    std::memcpy(&count, bytes.data() + 92, 4);
    EXPECT_EQ(count, 4);
    // An empty integer block is its 16-byte head.
    EXPECT_EQ(bytes.substr(100, 12), "$$EMPTY  I##");
    std::memcpy(&count, bytes.data() + 112, 4);
    EXPECT_EQ(count, 0);
    // The end block, and nothing after it.
    EXPECT_EQ(bytes.substr(116, 12), "$$ENDOFFII##");
    EXPECT_EQ(bytes.size(), 132u);
    EXPECT_THROW(file.AddIntegerBlock("eightchr"), EBinaryFileError);

    // A container counts its children's heads; text is counts, lengths, then the bytes.
    TBinaryFile nested;
    auto& container = nested.AddContainerBlock("box");
    container.Blocks().AddTextBlock("lines").Add("abc");
    const std::string nestedBytes = BinaryBytes(nested, false);
    std::memcpy(&count, nestedBytes.data() + 92, 4);
    EXPECT_EQ(count, 16 + 4 + 4 + 3);
    EXPECT_EQ(nestedBytes.substr(96, 12), "$$LINES  T##");
}

TEST(BinaryFile, FilesRoundTripCompressedOrNotAndAsText) {
    TTemporaryFolder folder;
    auto file = SampleFile();
    file->SaveAsBinary(folder.File("plain.bin"), false);
    file->SaveAsBinary(folder.File("packed.bin"), true);
    file->SaveAsText(folder.File("text.txt"));
    const std::string plain = ReadFileBytes(folder.File("plain.bin"));
    const std::string packed = ReadFileBytes(folder.File("packed.bin"));
    // Compressed: "ZIP" at 76, the header text otherwise unchanged.
    EXPECT_EQ(packed.substr(76, 3), "ZIP");
    EXPECT_EQ(packed.substr(0, 76), plain.substr(0, 76));
    EXPECT_NE(plain.substr(76, 3), "ZIP");

    for (const char* name : {"plain.bin", "packed.bin"}) {
        for (TIndexMode index : {imFullIndex, imIndexOnDemand})
            for (TCacheMode cache : {cmInMemory, cmCacheOnDemand, cmNoCache}) {
                TBinaryFile read(folder.File(name), true, cache, index);
                ExpectSample(read);
                // Byte for byte: a file read back writes the same bytes.
                EXPECT_EQ(BinaryBytes(read, false).substr(80), plain.substr(80));
            }
    }
    // "_APPINF" is added once, first, and not again on the next save.
    TBinaryFile read(folder.File("plain.bin"), false);
    EXPECT_EQ(read.Get(0).Name(), "_APPINF");
    read.SaveAsBinary(folder.File("again.bin"), false);
    TBinaryFile again(folder.File("again.bin"), true);
    int applicationBlocks = 0;
    for (int i = 0; i < again.Count(); ++i)
        applicationBlocks += again.Get(i).Name() == "_APPINF";
    EXPECT_EQ(applicationBlocks, 1);
    const TApplicationBlock info = again.ReadApplicationBlock();
    EXPECT_EQ(info.Version, TApplicationVersion::Running());

    TBinaryFile text(folder.File("text.txt"), true);
    EXPECT_EQ(text.StorageMode(), smText);
    EXPECT_EQ(text.GetIntValue("name123", 0), 7);
    EXPECT_EQ(text.GetFloatValue("params", 5), -HUGE_VAL);
    // The text form keeps 7 digits; the accurate form all of them.
    EXPECT_FLOAT_EQ(static_cast<float>(text.GetFloatValue("params", 1)), -0.9f);
    auto* params = static_cast<TFloatBlock*>(file->GetByName("params"));
    EXPECT_EQ(params->GetStringValue(1), "-0.9");
    EXPECT_EQ(params->GetAccurateStringValue(1), "-0.9");
    EXPECT_EQ(params->GetStringValue(5), "-INF");
    EXPECT_EQ(text.TextRepresentation(), ReadFileBytes(folder.File("text.txt")));
}

TEST(BinaryFile, HeadsAreReadOnDemandAndUnopenedContainersAreCopied) {
    TTemporaryFolder folder;
    auto file = SampleFile();
    file->SaveAsBinary(folder.File("f.bin"), false);
    TBinaryFile read(folder.File("f.bin"), false, cmCacheOnDemand, imIndexOnDemand);
    // Asking for one block reads no head beyond it; asking for an unknown name scans to the end.
    auto* integers = read.GetByName("name123");
    ASSERT_NE(integers, nullptr);
    EXPECT_FALSE(integers->Cached());
    EXPECT_FALSE(integers->BlockIsInMemory());
    EXPECT_EQ(read.GetIntValue("name123", 0), 7);
    EXPECT_TRUE(integers->Cached());
    EXPECT_EQ(read.GetByName("missing"), nullptr);
    EXPECT_EQ(read.Count(), 8); // with "_APPINF"
    // A container not opened is written as its bytes; opened and changed, it is rewritten.
    const std::string before = BinaryBytes(read, false);
    auto& model = static_cast<TContainerBlock&>(*read.GetByName("model"));
    static_cast<TIntegerBlock*>(model.Blocks().GetByName("ids"))->SetValue(0, 43);
    TMemoryStream stream;
    read.WriteBinary(stream, false);
    auto changed = TBinaryFile::FromBytes(stream.Memory(), stream.Size(), "changed");
    auto& changedModel = static_cast<TContainerBlock&>(*changed->GetByName("model"));
    EXPECT_EQ(static_cast<TIntegerBlock*>(changedModel.Blocks().GetByName("ids"))->GetValue(0), 43);
    EXPECT_EQ(before.size(), stream.Size());

    // Editing: move, delete, rename and the index by name follow.
    read.Move(read.IndexOf("empty"), 0);
    EXPECT_EQ(read.Get(0).Name(), "EMPTY");
    read.Delete("flags");
    EXPECT_EQ(read.GetByName("flags"), nullptr);
    read.BeginUpdate();
    read.Get(0).SetName("nothing");
    read.EndUpdate();
    EXPECT_EQ(read.IndexOf("NOTHING"), 0);
    EXPECT_THAT([&] { read.EndUpdate(); },
                ThrowsMessage<std::exception>(StrEq("Lock level must not go < 0")));
    read.ConvertDoubleToSinglePrecision();
    EXPECT_EQ(read.GetByName("params")->BlockTypeSuffix(), 'S');
    EXPECT_FLOAT_EQ(static_cast<float>(read.GetFloatValue("params", 1)), -0.9f);
}

TEST(BinaryFile, ReadOnlyFilesAndTheLockOfAFileName) {
    TTemporaryFolder folder;
    SampleFile()->SaveAsBinary(folder.File("f.bin"), true);
    TBinaryFile read(folder.File("f.bin"), true);
    EXPECT_THAT([&] { read.AddIntegerBlock("x"); },
                ThrowsMessage<std::exception>(StrEq("File can not be written to!")));
    EXPECT_THAT([&] { static_cast<TIntegerBlock*>(read.GetByName("name123"))->Add(1); },
                ThrowsMessage<std::exception>(StrEq("Block \"NAME123\" can not be written to!")));
    EXPECT_THAT([&] { read.SaveAsBinary(folder.File("g.bin"), false); },
                ThrowsMessage<std::exception>(StrEq("File can not be written to!")));
    EXPECT_THAT(
        [&] { TBinaryFile().Save(); },
        ThrowsMessage<std::exception>(StrEq("TBinaryFile doesn't have a file name to save to.")));
    EXPECT_THAT([&] { read.GetIntValue("nothing", 0); },
                ThrowsMessage<std::exception>(StrEq("Block \"nothing\" not present in file")));
    EXPECT_THAT([&] { read.GetIntValue("name123", 2); },
                ThrowsMessage<std::exception>(StrEq("Block \"name123\": index out of bounds: 2")));
    EXPECT_THAT(
        [&] {
            static_cast<TIntegerBlock*>(SampleFile()->GetByName("name123"))->SetStringValue(5, "1");
        },
        ThrowsMessage<std::exception>(StrEq(
            "TNumericalBlock.SetStringValue: can not set at position 5 for a block containing 2 "
            "values")));

    // A reader of the same name, elsewhere in the process, keeps a writer out.
    auto lock = TBinaryFileMutexProvider::LockFor(folder.File("./f.bin"));
    std::shared_lock reading(*lock);
    auto file = SampleFile();
    EXPECT_THAT([&] { file->SaveAsBinary(folder.File("f.bin"), false); },
                ThrowsMessage<std::exception>(
                    StrEq("The process cannot write to file " + folder.File("f.bin") +
                          " because it is being used by another process.")));
    reading.unlock();
    file->SaveAsBinary(folder.File("f.bin"), false);
}

TEST(BinaryFile, TheApplicationBlockAndItsFaults) {
    TBinaryFile file;
    TApplicationBlock info;
    EXPECT_FALSE(file.TryReadApplicationBlock(info));
    EXPECT_THAT([&] { file.ReadApplicationBlock(); },
                ThrowsMessage<std::exception>(StrEq("Application block '_APPINF' not found in !")));
    auto& block = file.AddTextBlock("_appinf");
    block.Add("DateTime=now");
    EXPECT_THAT([&] { file.ReadApplicationBlock(); },
                ThrowsMessage<std::exception>(
                    StrEq("Invalid size of block '_APPINF' in ! (should be at least: 5)")));
    for (const char* line : {"WrittenBy=x", "Version=1.2.x.4", "AppLocation=/", "CurrentDir=/"})
        block.Add(line);
    EXPECT_THAT([&] { file.ReadApplicationBlock(); },
                ThrowsMessage<std::exception>(
                    StrEq("Corrupt version-info in application block '_APPINF' in !")));
    block.SetStringValue(2, "Version=1.2.3.4");
    EXPECT_TRUE(file.TryReadApplicationBlock(info));
    EXPECT_EQ(info.Version, (TApplicationVersion{1, 2, 3, 4}));
    EXPECT_EQ(info.WrittenBy, "x");
}

TEST(BinaryFile, FilesThatAreNotWhatTheyClaimGiveAClearMessage) {
    TTemporaryFolder folder;
    auto file = SampleFile();
    const std::string plain = BinaryBytes(*file, false), packed = BinaryBytes(*file, true);
    // The action that reads `bytes` as a file and decodes every value.
    auto load = [](std::string bytes) {
        return [bytes = std::move(bytes)] {
            auto read = TBinaryFile::FromBytes(bytes.data(), bytes.size(), "f.bin", cmInMemory,
                                               imFullIndex);
            read->TextRepresentation();
        };
    };
    EXPECT_NO_THROW(load(plain)());
    EXPECT_NO_THROW(load(packed)());
    EXPECT_THAT(load(plain.substr(0, 50)),
                ThrowsMessage<std::exception>(
                    StrEq("File \"f.bin\" is not large enough to be a Orvane binary file.")));
    EXPECT_THAT(load(std::string(100, 'x')), ThrowsMessage<std::exception>(HasSubstr(
                                                 "File \"f.bin\" is not a valid Orvane file.")));
    // Cut short: a block claims more than there is, or the end block is missing.
    EXPECT_THAT(load(plain.substr(0, plain.size() - 40)),
                ThrowsMessage<std::exception>(HasSubstr("claims")));
    EXPECT_THAT(load(plain.substr(0, plain.size() - 16)),
                ThrowsMessage<std::exception>(HasSubstr("ends before its end block")));
    EXPECT_THAT(load(packed.substr(0, packed.size() - 10)),
                ThrowsMessage<std::exception>(HasSubstr("compressed data")));
    std::string badTag = plain;
    badTag[81] = 'x';
    EXPECT_THAT(load(badTag), ThrowsMessage<std::exception>(
                                  HasSubstr("Invalid header found in binary file: \"f.bin\"")));
    std::string badType = plain;
    badType[89] = 'Q';
    EXPECT_THAT(load(badType), ThrowsMessage<std::exception>(HasSubstr("Unknown block type: Q")));
    std::string badCount = plain;
    const int32_t odd = 3;
    ASSERT_EQ(badCount.substr(98, 12), "$$NAME123I##");
    std::memcpy(badCount.data() + 110, &odd, 4); // the block of integers: 3 bytes
    EXPECT_THAT(load(badCount),
                ThrowsMessage<std::exception>(HasSubstr("no whole number of values")));
    EXPECT_THAT(
        [&] { TBinaryFile(folder.File("missing.bin"), true); },
        ThrowsMessage<std::exception>(StrEq("File not found: " + folder.File("missing.bin"))));

    // The text form: its checks, and a value the user refuses to skip.
    const std::string text = file->TextRepresentation();
    auto loadText = [&](const std::string& from, const std::string& to) {
        std::string changed = text;
        changed.replace(changed.find(from), from.size(), to);
        return load(changed);
    };
    EXPECT_THAT(loadText("2 values\n7", "2 valuez\n7"),
                ThrowsMessage<std::exception>(
                    HasSubstr("Found \"2 valuez\" instead of block size specification.")));
    EXPECT_THAT(loadText("2 values\n7", "two values\n7"),
                ThrowsMessage<std::exception>(HasSubstr("Found invalid block size \"two\".")));
    EXPECT_THAT(loadText("2 values\n7", "3 values\n7"),
                ThrowsMessage<std::exception>(HasSubstr(
                    "The expected number of values (3) is different from the actual number "
                    "of values (2).")));
    TNoMessages messages;
    IUserMessages* old = SetUserMessages(&messages);
    EXPECT_THAT(loadText("\n7\n", "\nseven\n"),
                ThrowsMessage<std::exception>(
                    HasSubstr("The following error occurred for block NAME123I:")));
    messages.Answer = true;
    // Skipped, the value leaves the count of lines read as it was.
    EXPECT_NO_THROW(loadText("\n7\n", "\nseven\n")());
    SetUserMessages(old);
}
