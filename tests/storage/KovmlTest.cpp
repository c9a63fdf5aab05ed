// The kovml format: the bytes it writes in both versions, the versions it reads, and files that
// are not what they claim.

#include "StorageTestTools.h"
#include "services/RuntimeSettings.h"
#include "storage/HSKovBinaryXML.h"

#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace tw;
using namespace tw::testing;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::StrEq;
using ::testing::ThrowsMessage;

namespace {

template <typename T> T At(const std::string& bytes, size_t offset) {
    T value;
    std::memcpy(&value, bytes.data() + offset, sizeof(T));
    return value;
}

std::string SmallFile(int version) {
    THSKovBinaryXML root("Root", version);
    root.SetNamedValue("Name", "Small");
    root.AddChild("Value").SetValueAsDouble(2.5);
    root.AddChild("Text").SetValueAsString("abc");
    std::vector<uint8_t> blob(400, 9);
    root.AddChild("Blob").SetValueAsBlobBuffer(blob.data(), blob.size());
    return SaveToBytes(root);
}

} // namespace

TEST(Kovml, TheBytesOfVersion1) {
    THSKovBinaryXML root("Root", 1);
    auto& none = root.AddChild("Name");
    auto& number = root.AddChild("Number");
    number.SetValueAsDouble(1.25);
    number.SetValueAsDouble(-3.5); // the same slot
    auto& changing = root.AddChild("Changing");
    changing.SetValueAsInt32(77);
    changing.SetValueAsString(""); // the integer's bytes stay behind
    root.AddChild("Flag").SetValueAsBoolean(true);
    root.SetNamedValue("Key", "v");
    const std::string bytes = SaveToBytes(root);

    EXPECT_EQ(bytes.substr(0, 27), "*** ORVANE BINARY XML ***\r\n");
    EXPECT_TRUE(Contains(bytes, "\r\nFileFormatVersion=1\r\nMinimumReaderVersion=1\r\n"));
    const auto sections = KovmlSections(bytes, 4);
    ASSERT_EQ(sections.size(), 9u);
    for (const auto& [name, section] : sections)
        EXPECT_EQ(bytes.substr(section.Offset + section.Size, 2), "\r\n") << name;
    // In the order of the format.
    EXPECT_LT(sections.at("Elements").Offset, sections.at("Names").Offset);
    EXPECT_LT(sections.at("DataBlob").Offset, sections.at("Attributes").Offset);
    EXPECT_LT(sections.at("Attributes").Offset, sections.at("ElementsHierarchy").Offset);

    // Records of 9 bytes: name offset, type, value field.
    const auto& elements = sections.at("Elements");
    EXPECT_EQ(elements.Size, 5u * 9);
    const size_t noneRecord = elements.Offset + 9;
    EXPECT_EQ(bytes[noneRecord + 4], char(svtNone));
    EXPECT_EQ(At<int32_t>(bytes, noneRecord + 5), 0);
    // A name written "Name" is kept lower case, once.
    const auto& names = sections.at("Names");
    EXPECT_EQ(bytes.substr(names.Offset + At<int32_t>(bytes, noneRecord) + 4, 4), "name");
    EXPECT_EQ(none.Name(), "name");
    // The double was overwritten in place.
    EXPECT_EQ(sections.at("DataDouble").Size, 8u);
    EXPECT_EQ(At<double>(bytes, sections.at("DataDouble").Offset), -3.5);
    // The integer stays unreferenced; the empty text is a 4-byte zero after the attribute's "v".
    EXPECT_EQ(sections.at("DataInt32").Size, 4u);
    const auto& strings = sections.at("DataString");
    EXPECT_EQ(strings.Size, 4u + 4u + 1u);
    EXPECT_EQ(At<int32_t>(bytes, strings.Offset), 0);
    const size_t flagRecord = elements.Offset + 4 * 9;
    EXPECT_EQ(bytes[flagRecord + 4], char(svtBoolean));
    EXPECT_EQ(bytes[flagRecord + 5], 1);
    // Attributes: per node a size, then 8-byte records; hierarchy: offset and child count.
    const auto& attributes = sections.at("Attributes");
    EXPECT_EQ(attributes.Size, (4u + 8u) + 4 * 4u);
    EXPECT_EQ(At<int32_t>(bytes, attributes.Offset), 8);
    const auto& hierarchy = sections.at("ElementsHierarchy");
    EXPECT_EQ(hierarchy.Size, 5u * 8);
    EXPECT_EQ(At<int32_t>(bytes, hierarchy.Offset), 0);
    EXPECT_EQ(At<int32_t>(bytes, hierarchy.Offset + 4), 4);
    EXPECT_EQ(At<int32_t>(bytes, hierarchy.Offset + 8), 9);
}

TEST(Kovml, Version2IsWideAndBothVersionsReadBack) {
    const std::string v1 = SmallFile(1), v2 = SmallFile(2);
    const auto sections = KovmlSections(v2, 8);
    EXPECT_EQ(sections.at("Elements").Size, 4u * 17);
    EXPECT_EQ(sections.at("ElementsHierarchy").Size, 4u * 12);
    EXPECT_TRUE(Contains(v2, "FileFormatVersion=2\r\nMinimumReaderVersion=2"));
    for (const std::string& bytes : {v1, v2}) {
        auto read = LoadFromBytes<THSKovBinaryXML>(bytes);
        EXPECT_EQ(read->GetNamedValue("name"), "Small");
        EXPECT_EQ(read->GetChildByName("Value")->GetValueAsDouble(), 2.5);
        EXPECT_EQ(read->GetChildByName("Text")->GetValueAsString(), "abc");
        EXPECT_EQ(read->GetChildByName("Blob")->GetValueAsBlobBuffer(),
                  std::vector<uint8_t>(400, 9));
        // A file keeps its version when written again.
        EXPECT_EQ(KovmlBody(SaveToBytes(*read)), KovmlBody(bytes));
    }
    EXPECT_EQ(LoadFromBytes<THSKovBinaryXML>(v1)->FileFormatVersion(), 1);
    EXPECT_EQ(LoadFromBytes<THSKovBinaryXML>(v2)->FileFormatVersion(), 2);

    // The switches choose the version of new roots.
    TRuntimeSettings::Set("FORCE_KOVML_VERSION_2", true);
    EXPECT_EQ(THSKovBinaryXML("r").FileFormatVersion(), 2);
    TRuntimeSettings::Set("FORCE_KOVML_VERSION_2", false);
    EXPECT_EQ(THSKovBinaryXML("r").FileFormatVersion(), 1);
}

TEST(Kovml, ValuesConvertBetweenTypesOrAnswerTheDefault) {
    THSKovBinaryXML root("r");
    auto& b = root.AddChild("b");
    b.SetValueAsBoolean(true);
    EXPECT_EQ(b.GetValueAsInt32(-1), -1);
    EXPECT_EQ(b.GetValueAsInt64(-1), 1);
    EXPECT_EQ(b.GetValueAsDouble(-1), 1.0);
    EXPECT_EQ(b.GetValueAsString(), "true");
    auto& i = root.AddChild("i");
    i.SetValueAsInt32(12);
    EXPECT_FALSE(i.GetValueAsBoolean(false));
    EXPECT_EQ(i.GetValueAsInt64(), 12);
    EXPECT_EQ(i.GetValueAsString(), "12");
    auto& big = root.AddChild("big");
    big.SetValueAsInt64(int64_t(1) << 40);
    EXPECT_EQ(big.GetValueAsInt32(-1), -1); // does not fit
    EXPECT_EQ(big.GetValueAsDouble(), 1099511627776.0);
    auto& d = root.AddChild("d");
    d.SetValueAsDouble(3.0);
    EXPECT_EQ(d.GetValueAsInt64(-1), 3);
    EXPECT_EQ(d.GetValueAsInt32(-1), 3);
    d.SetValueAsDouble(3.5);
    EXPECT_EQ(d.GetValueAsInt64(-1), -1);
    EXPECT_EQ(d.GetValueAsString(), "3.5");
    auto& s = root.AddChild("s");
    s.SetValueAsString("42");
    EXPECT_EQ(s.GetValueAsInt32(), 42);
    EXPECT_EQ(s.GetValueAsDouble(), 42.0);
    EXPECT_TRUE(s.GetValueAsBoolean(true)); // "4" is neither T, Y, F nor N
    s.SetValueAsString("Yes");
    EXPECT_TRUE(s.GetValueAsBoolean(false));
    EXPECT_EQ(s.GetValueAsInt32(-5), -5);
    auto& none = root.AddChild("none");
    EXPECT_EQ(none.ValueType(), svtNone);
    EXPECT_EQ(none.GetValueAsString("x"), "x");
    EXPECT_EQ(none.GetValueAsDouble(7), 7.0);
    EXPECT_TRUE(none.GetValueAsBlobBuffer().empty());
}

TEST(Kovml, ATreeReadFromAFileCanBeChangedAndTheFileStaysAsItWas) {
    TTemporaryFolder folder;
    const std::string file = folder.File("tree.kovml");
    const std::string before = SmallFile(1);
    WriteFileBytes(file, before);
    THSKovBinaryXML root("");
    root.LoadFromFile(file);
    root.GetChildByName("value")->SetValueAsDouble(9.75);
    root.GetChildByName("text")->SetValueAsString("changed");
    root.SetNamedValue("name", "Changed");
    auto& added = root.AddChild("Added");
    added.SetValueAsInt32(3);
    added.SetNamedValue("Value", "a name already in the pool");
    root.SaveToFile(folder.File("changed.kovml"));
    EXPECT_EQ(ReadFileBytes(file), before);

    THSKovBinaryXML again("");
    again.LoadFromFile(folder.File("changed.kovml"));
    EXPECT_EQ(again.GetChildByName("value")->GetValueAsDouble(), 9.75);
    EXPECT_EQ(again.GetChildByName("text")->GetValueAsString(), "changed");
    EXPECT_EQ(again.GetNamedValue("name"), "Changed");
    EXPECT_EQ(again.GetChildByName("added")->GetValueAsInt32(), 3);
    EXPECT_EQ(again.GetChildByName("blob")->GetValueAsBlobSize(), 400u);
    // "value" was in the name pool: it is not stored twice.
    const std::string bytes = ReadFileBytes(folder.File("changed.kovml"));
    const auto& names = KovmlSections(bytes, 4).at("Names");
    const std::string pool = bytes.substr(names.Offset, names.Size);
    EXPECT_EQ(pool.find("value"), pool.rfind("value"));
    // The original file is untouched.
    THSKovBinaryXML original("");
    original.LoadFromFile(file);
    EXPECT_EQ(original.GetChildByName("value")->GetValueAsDouble(), 2.5);
}

TEST(Kovml, HeadersThatThisProgramCannotRead) {
    auto withHeader = [](const std::string& from, const std::string& to) {
        const std::string bytes = SmallFile(1);
        const size_t at = bytes.find(from);
        return bytes.substr(0, at) + to + bytes.substr(at + from.size());
    };
    EXPECT_THAT(
        [&] {
            LoadFromBytes<THSKovBinaryXML>(
                withHeader("MinimumReaderVersion=1", "MinimumReaderVersion=3"));
        },
        ThrowsMessage<std::exception>(
            StrEq("Data storage is newer than this application supports.")));
    EXPECT_THAT(
        [&] {
            LoadFromBytes<THSKovBinaryXML>(
                withHeader("FileFormatVersion=1", "FileFormatVersion=3"));
        },
        ThrowsMessage<std::exception>(
            StrEq("Reader/writer is not implemented for this version of kovml: 3)")));
    EXPECT_THAT(
        [&] {
            LoadFromBytes<THSKovBinaryXML>(
                withHeader("MinimumReaderVersion=1", "MinimumReaderVerzion=1"));
        },
        ThrowsMessage<std::exception>(
            StrEq("Didn't find required attribute MinimumReaderVersion in the file header!")));
    // Keys are found without regard to case, in any order.
    EXPECT_NO_THROW(LoadFromBytes<THSKovBinaryXML>(
        withHeader("FileFormatVersion=1\r\nMinimumReaderVersion=1",
                   "minimumreaderversion=1\r\nFILEFORMATVERSION=1")));
    EXPECT_THAT(
        [&] {
            LoadFromBytes<THSKovBinaryXML>(
                withHeader("*** ORVANE BINARY XML ***", "<?xml version=\"1.0\"?>"));
        },
        ThrowsMessage<std::exception>(HasSubstr("Not a kovml file")));
    EXPECT_THAT([&] { LoadFromBytes<THSKovBinaryXML>("*** ORVANE"); },
                ThrowsMessage<std::exception>(HasSubstr("too short")));
    EXPECT_THAT([] { TBinaryXMLStrategyRegistry::Instance().RegisterVersionStrategy(2, nullptr); },
                ThrowsMessage<std::exception>(
                    StrEq("A strategy class is already registered to handle version 2 of kovml")));
}

TEST(Kovml, SectionsAreFoundByNameInAnyOrder) {
    const std::string bytes = SmallFile(1);
    const auto sections = KovmlSections(bytes, 4);
    auto sectionBytes = [&](const std::string& name, const std::string& as) {
        const auto& s = sections.at(name);
        std::string out;
        const int32_t length = static_cast<int32_t>(as.size());
        out.append(reinterpret_cast<const char*>(&length), 4);
        out += as;
        out += bytes.substr(s.SizeField, 4 + s.Size + 2);
        return out;
    };
    const std::string header = bytes.substr(0, bytes.find('\x1A') + 1);
    // Reversed, names in other cases, and an unknown section in between.
    std::string reordered = header + sectionBytes("ElementsHierarchy", "elementshierarchy") +
                            sectionBytes("Attributes", "ATTRIBUTES");
    const int32_t unknownLength = 7, unknownSize = 3;
    reordered.append(reinterpret_cast<const char*>(&unknownLength), 4);
    reordered += "Comment";
    reordered.append(reinterpret_cast<const char*>(&unknownSize), 4);
    reordered += "xyz\r\n";
    for (const char* name :
         {"DataBlob", "DataString", "DataInt64", "DataInt32", "DataDouble", "Names", "Elements"})
        reordered += sectionBytes(name, name);
    auto read = LoadFromBytes<THSKovBinaryXML>(reordered);
    EXPECT_TRUE(read->SameAs(*LoadFromBytes<THSKovBinaryXML>(bytes)));

    // Without hierarchy or attributes there is no tree.
    std::string noHierarchy = header + sectionBytes("Attributes", "Attributes");
    EXPECT_THAT([&] { LoadFromBytes<THSKovBinaryXML>(noHierarchy); },
                ThrowsMessage<std::exception>(
                    StrEq("The data stream does not contain element hierarchy information.")));
    std::string noAttributes = header + sectionBytes("ElementsHierarchy", "ElementsHierarchy");
    EXPECT_THAT([&] { LoadFromBytes<THSKovBinaryXML>(noAttributes); },
                ThrowsMessage<std::exception>(
                    StrEq("The data stream does not contain attributes information.")));
}

TEST(Kovml, DamagedFilesGiveAClearMessageNamingTheFile) {
    TTemporaryFolder folder;
    const std::string good = SmallFile(1);
    const auto sections = KovmlSections(good, 4);
    // The action that writes `bytes` as a file, reads it and decodes every value.
    auto load = [&](std::string bytes) {
        return [&, bytes = std::move(bytes)] {
            const std::string file = folder.File("damaged.twt.kovml");
            WriteFileBytes(file, bytes);
            THSKovBinaryXML root("");
            root.LoadFromFile(file);
            // Values are decoded when asked for: ask for all of them.
            std::vector<const THierarchicStorage*> pending{&root};
            while (!pending.empty()) {
                const THierarchicStorage* node = pending.back();
                pending.pop_back();
                node->Name();
                node->GetValueAsString();
                for (int i = 0; i < node->NamedValuesCount(); ++i)
                    node->GetNamedValueNameByNr(i), node->GetNamedValueByNr(i);
                if (node->ValueType() == svtBlob)
                    node->GetValueAsBlobBuffer();
                for (int i = 0; i < node->ChildCount(); ++i)
                    pending.push_back(&node->GetChildByIndex(i));
            }
        };
    };
    EXPECT_NO_THROW(load(good)());
    auto patched = [&](size_t offset, int32_t value) {
        std::string bytes = good;
        std::memcpy(bytes.data() + offset, &value, 4);
        return bytes;
    };
    std::string fileText = "\"";
    fileText += folder.File("damaged.twt.kovml");
    fileText += "\"";

    EXPECT_THAT(load(good.substr(0, sections.at("DataString").Offset + 2)),
                ThrowsMessage<std::exception>(
                    AllOf(HasSubstr("Error reading " + fileText), HasSubstr("DataString"))));

    EXPECT_THAT(load(patched(sections.at("DataDouble").SizeField, 1 << 20)),
                ThrowsMessage<std::exception>(HasSubstr("claims 1048576 bytes")));

    // The first record's name offset points outside "Names".
    EXPECT_THAT(load(patched(sections.at("Elements").Offset, 5000)),
                ThrowsMessage<std::exception>(HasSubstr("outside the section \"Names\"")));

    // The blob's compressed bytes are damaged.
    std::string badBlob = good;
    const auto& blobs = sections.at("DataBlob");
    for (size_t i = blobs.Offset + 6; i < blobs.Offset + blobs.Size; ++i)
        badBlob[i] = char(0x55);
    EXPECT_THAT(load(badBlob), ThrowsMessage<std::exception>(HasSubstr("do not inflate")));

    // A value type outside the table, and a hierarchy that points past the records.
    std::string badType = good;
    badType[sections.at("Elements").Offset + 9 + 4] = 42;
    EXPECT_THAT(load(badType), ThrowsMessage<std::exception>(HasSubstr("unknown value type 42")));
    EXPECT_THAT(load(patched(sections.at("ElementsHierarchy").Offset + 8, 999)),
                ThrowsMessage<std::exception>(HasSubstr("outside the section \"Elements\"")));
    EXPECT_THAT(load(patched(sections.at("ElementsHierarchy").Offset + 4, 1000)),
                ThrowsMessage<std::exception>(HasSubstr("ElementsHierarchy")));

    EXPECT_THAT(load(""), ThrowsMessage<std::exception>(HasSubstr("too short")));
    EXPECT_THAT(load(std::string(100, 'x')),
                ThrowsMessage<std::exception>(HasSubstr("Not a kovml file")));
}
