// The two back-ends of the hierarchic storage: what each keeps of a tree, the rules they share
// (case-insensitive names, blobs compressed from 101 bytes, copying between them) and the files.

#include "StorageTestTools.h"
#include "storage/HSKovBinaryXML.h"
#include "storage/HSNativeXML.h"

#include <cmath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <numeric>

using namespace tw;
using namespace tw::testing;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::StrEq;
using ::testing::ThrowsMessage;

namespace {

std::vector<uint8_t> Bytes(size_t count, uint8_t seed) {
    std::vector<uint8_t> bytes(count);
    for (size_t i = 0; i < count; ++i)
        bytes[i] = static_cast<uint8_t>(seed + i * 7 + (i >> 5));
    return bytes;
}

// A tree with a value of each kind, named values, nesting and blobs.
void BuildSample(THierarchicStorage& root) {
    root.SetNamedValue("ID", "{0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0}");
    root.SetNamedValue("Name", "Sample");
    root.AddChild("Flag").SetValueAsBoolean(true);
    root.AddChild("Count").SetValueAsInt32(-42);
    root.AddChild("Big").SetValueAsInt64(int64_t(1) << 40);
    root.AddChild("Ratio").SetValueAsDouble(0.1);
    root.AddChild("Tiny").SetValueAsDouble(-1.5e-300);
    root.AddChild("Text").SetValueAsString("Dense sand, \"medium\" <grain> & more");
    root.AddChild("Empty");
    auto& list = root.AddChild("Items");
    for (int i = 0; i < 3; ++i) {
        auto& item = list.AddChild("Item");
        item.SetNamedValue("Index", std::to_string(i));
        item.AddChild("Value").SetValueAsDouble(i * 2.5);
    }
    const auto small = Bytes(100, 1), large = Bytes(5000, 2);
    root.AddChild("SmallBlob").SetValueAsBlobBuffer(small.data(), small.size());
    root.AddChild("LargeBlob").SetValueAsBlobBuffer(large.data(), large.size());
}

void ExpectSample(const THierarchicStorage& root) {
    EXPECT_EQ(root.GetNamedValue("id"), "{0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0}");
    EXPECT_EQ(root.GetNamedValue(" NAME "), "Sample");
    EXPECT_EQ(root.ChildCount(), 10);
    EXPECT_TRUE(root.GetChildByName("flag")->GetValueAsBoolean(false));
    EXPECT_EQ(root.GetChildByName("COUNT")->GetValueAsInt32(), -42);
    EXPECT_EQ(root.GetChildByName("Big")->GetValueAsInt64(), int64_t(1) << 40);
    EXPECT_EQ(root.GetChildByName("Ratio")->GetValueAsDouble(), 0.1);
    EXPECT_EQ(root.GetChildByName("Tiny")->GetValueAsDouble(), -1.5e-300);
    EXPECT_EQ(root.GetChildByName("Text")->GetValueAsString(),
              "Dense sand, \"medium\" <grain> & more");
    EXPECT_EQ(root.GetChildByName("Empty")->GetValueAsString("none"), "none");
    const auto* list = root.GetChildByName("Items");
    ASSERT_EQ(list->ChildCount(), 3);
    EXPECT_EQ(list->GetChildByIndex(2).GetNamedValue("index"), "2");
    EXPECT_EQ(list->GetChildByIndex(2).GetChildByName("value")->GetValueAsDouble(), 5.0);
    EXPECT_EQ(root.GetChildByName("SmallBlob")->GetValueAsBlobBuffer(), Bytes(100, 1));
    EXPECT_EQ(root.GetChildByName("LargeBlob")->GetValueAsBlobBuffer(), Bytes(5000, 2));
    EXPECT_EQ(root.GetChildByName("LargeBlob")->GetValueAsBlobSize(), 5000u);
}

template <typename Storage> std::unique_ptr<Storage> Sample() {
    auto root = std::make_unique<Storage>("Sample");
    BuildSample(*root);
    return root;
}

} // namespace

TEST(StorageBackEnds, EachBackEndKeepsATreeThroughAFile) {
    TTemporaryFolder folder;
    auto xml = Sample<THSNativeXML>();
    auto kovml = Sample<THSKovBinaryXML>();
    ExpectSample(*xml);
    ExpectSample(*kovml);
    xml->SaveToFile(folder.File("sample.xml"));
    kovml->SaveToFile(folder.File("sample.kovml"));

    THSNativeXML xmlRead("sample");
    xmlRead.LoadFromFile(folder.File("sample.xml"));
    ExpectSample(xmlRead);
    THSKovBinaryXML kovmlRead("");
    kovmlRead.LoadFromFile(folder.File("sample.kovml"));
    ExpectSample(kovmlRead);
    EXPECT_TRUE(xmlRead.SameAs(*xml));
    EXPECT_TRUE(kovmlRead.SameAs(*kovml));
    // The back-ends agree on the tree, whatever the types they store.
    EXPECT_TRUE(xmlRead.SameAs(kovmlRead));

    // Names: XML keeps the case, kovml keeps lower case; the XML root is lower case.
    EXPECT_EQ(xmlRead.GetChildByIndex(0).Name(), "Flag");
    EXPECT_EQ(kovmlRead.GetChildByIndex(0).Name(), "flag");
    EXPECT_EQ(xmlRead.Name(), "sample");

    // Byte for byte: a tree read back writes the same file (kovml: after the header, whose last
    // line is the time of saving).
    EXPECT_EQ(SaveToBytes(xmlRead), ReadFileBytes(folder.File("sample.xml")));
    EXPECT_EQ(KovmlBody(SaveToBytes(kovmlRead)),
              KovmlBody(ReadFileBytes(folder.File("sample.kovml"))));
}

TEST(StorageBackEnds, BlobsAreCompressedFrom101BytesAndMarkedInXML) {
    for (auto make :
         {+[] { return std::unique_ptr<THierarchicStorage>(new THSNativeXML("r")); },
          +[] { return std::unique_ptr<THierarchicStorage>(new THSKovBinaryXML("r")); }}) {
        auto root = make();
        const auto hundred = Bytes(100, 3), hundredOne = Bytes(101, 3);
        auto& raw = root->AddChild("Raw");
        raw.SetValueAsBlobBuffer(hundred.data(), hundred.size());
        auto& packed = root->AddChild("Packed");
        packed.SetValueAsBlobBuffer(hundredOne.data(), hundredOne.size());
        EXPECT_EQ(raw.GetNamedValue("Node_Compression_Type"), "");
        EXPECT_EQ(raw.NamedValuesCount(), 0);
        EXPECT_EQ(packed.GetNamedValue("node_compression_type"), "zlib");
        EXPECT_EQ(packed.GetNamedValue("Node_Uncompressed_Size_Bytes"), "101");
        // The blob mark of XML is not a named value.
        EXPECT_EQ(packed.NamedValuesCount(), 2);
        EXPECT_EQ(raw.ValueType(), svtBlob);
        EXPECT_EQ(packed.GetValueAsBlobBuffer(), hundredOne);

        // Rewritten small, the node no longer claims compression.
        packed.SetValueAsBlobBuffer(hundred.data(), hundred.size());
        EXPECT_EQ(packed.GetValueAsBlobBuffer(), hundred);
        // A later value of another kind drops the XML blob mark.
        raw.SetValueAsInt32(5);
        EXPECT_NE(raw.ValueType(), svtBlob);
        EXPECT_EQ(raw.GetValueAsInt32(), 5);

        // An empty blob.
        auto& empty = root->AddChild("EmptyBlob");
        empty.SetValueAsBlobBuffer(nullptr, 0);
        EXPECT_TRUE(empty.GetValueAsBlobBuffer().empty());

        // A size that the stored bytes cannot hold is refused before anything is allocated:
        // raw bytes of another size, or more than deflate can give from what is stored.
        auto& lying = root->AddChild("Lying");
        lying.SetValueAsBlobBuffer(hundred.data(), hundred.size());
        lying.SetNamedValue("Node_Uncompressed_Size_Bytes", "1000000000000");
        EXPECT_THROW(lying.GetValueAsBlobSize(), EStorageCorruptFile);
        EXPECT_THROW(lying.GetValueAsBlobBuffer(), EStorageCorruptFile);
        packed.SetValueAsBlobBuffer(hundredOne.data(), hundredOne.size());
        packed.SetNamedValue("Node_Uncompressed_Size_Bytes", "100000000");
        EXPECT_THROW(packed.GetValueAsBlobBuffer(), EStorageCorruptFile);
        packed.SetNamedValue("Node_Uncompressed_Size_Bytes", "101");
        EXPECT_EQ(packed.GetValueAsBlobSize(), 101u);

        packed.SetNamedValue("Node_Compression_Type", "lzma");
        EXPECT_THAT([&] { packed.GetValueAsBlobBuffer(); },
                    ThrowsMessage<EStorageIncompatibleFile>(
                        StrEq("Unsupported compression mode: \"lzma\"")));
    }
    ::setenv("BLOB_COMPRESSION_DISABLED", "1", 1);
    THSKovBinaryXML root("r");
    const auto big = Bytes(1000, 4);
    root.AddChild("Blob").SetValueAsBlobBuffer(big.data(), big.size());
    ::unsetenv("BLOB_COMPRESSION_DISABLED");
    EXPECT_EQ(root.GetChildByIndex(0).NamedValuesCount(), 0);
    EXPECT_EQ(root.GetChildByIndex(0).GetValueAsBlobBuffer(), big);
}

TEST(StorageBackEnds, NamedValuesIgnoreCaseAndNamesAreChecked) {
    for (auto make :
         {+[] { return std::unique_ptr<THierarchicStorage>(new THSNativeXML("r")); },
          +[] { return std::unique_ptr<THierarchicStorage>(new THSKovBinaryXML("r")); }}) {
        auto root = make();
        root->SetNamedValue("ID", "1");
        root->SetNamedValue("id", "2");
        EXPECT_EQ(root->NamedValuesCount(), 1);
        EXPECT_EQ(root->GetNamedValue("Id"), "2");
        EXPECT_EQ(root->GetNamedValue("missing", "default"), "default");
        EXPECT_THROW(root->SetNamedValue("  ", "x"), EEmptyName);
        EXPECT_THROW(root->AddChild(std::string("a\0b", 3)), EInvalidName);
        EXPECT_THROW(root->AddChild(""), EEmptyName);
        EXPECT_THAT([&] { root->GetChildByIndex(0); },
                    ThrowsMessage<EStorageException>(StrEq("Children do not exist for r")));
    }
    THSNativeXML xml("r");
    EXPECT_THROW(xml.AddChild("two words"), EInvalidName);
}

TEST(StorageBackEnds, TextFormsOfValues) {
    using S = THierarchicStorage;
    EXPECT_TRUE(S::StringAsBoolean("yes", false));
    EXPECT_TRUE(S::StringAsBoolean("True", false));
    EXPECT_FALSE(S::StringAsBoolean("no", true));
    EXPECT_FALSE(S::StringAsBoolean("F", true));
    EXPECT_TRUE(S::StringAsBoolean("", true));
    EXPECT_TRUE(S::StringAsBoolean("1", true));
    EXPECT_FALSE(S::StringAsBoolean("1", false));
    for (double value :
         {0.1, -2.5e-17, 1e300, 123456789.125, 5e-324, std::numeric_limits<double>::max(), -0.0}) {
        const std::string text = S::DoubleToStorageString(value);
        EXPECT_EQ(text.find(','), std::string::npos);
        EXPECT_EQ(S::StorageStringToDouble(text, 7), value) << text;
    }
    EXPECT_EQ(S::DoubleToStorageString(1.5), "1.5");
    EXPECT_EQ(S::StorageStringToDouble(" 2.5 ", 0), 2.5);
    EXPECT_EQ(S::StorageStringToDouble("2,5", 9), 9);
    EXPECT_EQ(S::StorageStringToDouble("2.5x", 9), 9);
    EXPECT_EQ(S::StorageStringToDouble("", 9), 9);
    EXPECT_TRUE(std::isinf(S::StorageStringToDouble(S::DoubleToStorageString(-INFINITY), 0)));
}

TEST(StorageBackEnds, CopyingTypesTheTextsOfXML) {
    THSNativeXML xml("root");
    xml.AddChild("Int").SetValueAsString("12");
    xml.AddChild("Wide").SetValueAsString("12345678901");
    xml.AddChild("Padded").SetValueAsString("007");
    xml.AddChild("Real").SetValueAsString("2.5");
    xml.AddChild("Unusual").SetValueAsString("2.50");
    xml.AddChild("Flag").SetValueAsString("true");
    xml.AddChild("Word").SetValueAsString("True");
    THSKovBinaryXML kovml("root");
    kovml.CopyFrom(xml);
    auto type = [&](const char* name) { return kovml.GetChildByName(name)->ValueType(); };
    EXPECT_EQ(type("Int"), svtInt32);
    EXPECT_EQ(type("Wide"), svtInt64);
    EXPECT_EQ(type("Padded"), svtString); // as an integer it would read back "7"
    EXPECT_EQ(type("Real"), svtDouble);
    EXPECT_EQ(type("Unusual"), svtString);
    EXPECT_EQ(type("Flag"), svtBoolean);
    EXPECT_EQ(type("Word"), svtString);
    EXPECT_TRUE(kovml.SameAs(xml));

    THSKovBinaryXML used("root");
    used.SetNamedValue("a", "b");
    EXPECT_THAT([&] { used.CopyFrom(xml); },
                ThrowsMessage<EStorageException>(
                    StrEq("Cannot copy to an already initialized storage: root")));
}

TEST(StorageBackEnds, AFileConvertedFromXMLToKovmlAndBackReadsAsTheSameTree) {
    TTemporaryFolder folder;
    Sample<THSNativeXML>()->SaveToFile(folder.File("a.qbo.xml"));
    THierarchicStorage::ConvertFromTo(folder.File("a.qbo.xml"), folder.File("b.twt.kovml"));
    THierarchicStorage::ConvertFromTo(folder.File("b.twt.kovml"), folder.File("c.xml"));
    auto original = LoadStorageFromFile(folder.File("a.qbo.xml"));
    auto binary = LoadStorageFromFile(folder.File("b.twt.kovml"));
    auto back = LoadStorageFromFile(folder.File("c.xml"));
    EXPECT_EQ(binary->StorageClass().ClassName, std::string("THSKovBinaryXML"));
    EXPECT_TRUE(original->SameAs(*binary));
    EXPECT_TRUE(original->SameAs(*back));
    EXPECT_TRUE(back->SameAs(*original));
    ExpectSample(*back);
    EXPECT_EQ(binary->GetChildByName("count")->ValueType(), svtInt32);

    EXPECT_THAT(
        [&] { THierarchicStorage::ConvertFromTo(folder.File("c.xml"), folder.File("c.xml")); },
        ThrowsMessage<EStorageException>(
            StrEq("Cannot convert files in-place: " + folder.File("c.xml"))));
    EXPECT_THROW(THierarchicStorage::ConvertFromTo(folder.File("c.xml"), folder.File("c.json")),
                 EStorageException);
    // A different tree is not the same.
    auto other = Sample<THSNativeXML>();
    other->GetChildByName("Items")->GetChildByIndex(1).SetNamedValue("Index", "9");
    EXPECT_FALSE(original->SameAs(*other));
}

TEST(StorageBackEnds, TheRegistryFindsBackEndsByTheirExtension) {
    auto& registry = THierarchicStorageRegistry::Instance();
    EXPECT_EQ(registry.GetStorageByExtension("test.TWT.KOVML"),
              &THSKovBinaryXML::StaticStorageClass());
    EXPECT_EQ(registry.GetStorageByExtension("project.qbo.xml"),
              &THSNativeXML::StaticStorageClass());
    EXPECT_EQ(registry.GetStorageByExtension("file.qbt"), nullptr);
    EXPECT_THAT([&] { registry.GetStorageForFile("file.qbt"); },
                ThrowsMessage<EStorageException>(StrEq("Unkown file format: file.qbt")));
    // Two back-ends with one extension.
    static const THierarchicStorageClass other{"THSOtherXML", ".XML", nullptr};
    EXPECT_THAT([&] { registry.RegisterStorage(other); },
                ThrowsMessage<EStorageException>(
                    StrEq("Cannot register two classes with the same extension \".XML\". "
                          "The classes are: THSNativeXML and THSOtherXML")));
    EXPECT_EQ(registry.Count(), 2);
    // A longer extension wins over a shorter one that the name also ends with.
    static const THierarchicStorageClass special{"THSSpecial", ".qbo.xml",
                                                 THSNativeXML::StaticStorageClass().Create};
    registry.RegisterStorage(special);
    EXPECT_EQ(registry.GetStorageByExtension("project.qbo.xml"), &special);
    EXPECT_EQ(registry.GetAllStorageExtensions(),
              (std::vector<std::string>{".xml", ".kovml", ".qbo.xml"}));
    registry.UnregisterStorage(special);
    EXPECT_EQ(registry.Count(), 2);
}

TEST(StorageBackEnds, XMLThatIsNotWellFormedOrHasAnotherRootIsRefusedWithTheFileName) {
    TTemporaryFolder folder;
    WriteFileBytes(folder.File("broken.xml"), "<root><a>1</a><b></root>");
    THSNativeXML root("root");
    EXPECT_THAT([&] { root.LoadFromFile(folder.File("broken.xml")); },
                ThrowsMessage<EStorageException>(
                    AllOf(HasSubstr("Error reading \"" + folder.File("broken.xml") + "\""),
                          HasSubstr("not well formed"))));
    WriteFileBytes(folder.File("other.xml"), "<other><a>1</a></other>");
    EXPECT_THAT([&] { root.LoadFromFile(folder.File("other.xml")); },
                ThrowsMessage<EStorageIncompatibleFile>(HasSubstr("Could not find node: root")));
    EXPECT_THAT([&] { root.LoadFromFile(folder.File("missing.xml")); },
                ThrowsMessage<EStorageException>(HasSubstr("File not found")));
    // Loading only works on a root, and a failed load keeps what the tree held.
    auto& child = root.AddChild("Child");
    EXPECT_THROW(child.LoadFromFile(folder.File("other.xml")), EStorageException);
    EXPECT_EQ(root.ChildCount(), 1);
    // Deep nesting is refused before any walk can run out of stack.
    std::string deep;
    for (int i = 0; i < 5000; ++i)
        deep += "<a>";
    for (int i = 0; i < 5000; ++i)
        deep += "</a>";
    WriteFileBytes(folder.File("deep.xml"), deep);
    THSNativeXML any("");
    EXPECT_THROW(any.LoadFromFile(folder.File("deep.xml")), EStorageException);
}

TEST(StorageBackEnds, RemovingAndRenamingNodes) {
    THSNativeXML xml("root");
    xml.AddChild("Keep").SetValueAsInt32(1);
    xml.AddChild("Drop").AddChild("Inner");
    EXPECT_TRUE(xml.RemoveChildByName("drop"));
    EXPECT_FALSE(xml.RemoveChildByName("drop"));
    xml.GetChildByIndex(0).SetName("Kept");
    auto read = LoadFromBytes<THSNativeXML>(SaveToBytes(xml));
    ASSERT_EQ(read->ChildCount(), 1);
    EXPECT_EQ(read->GetChildByIndex(0).Name(), "Kept");
    EXPECT_EQ(read->GetChildByIndex(0).GetValueAsInt32(), 1);

    THSKovBinaryXML kovml("root");
    kovml.AddChild("Keep");
    EXPECT_THAT([&] { kovml.RemoveChildByName("keep"); },
                ThrowsMessage<EStorageException>(
                    StrEq("This storage type does not support RemoveChildByName "
                          "functionality, Please convert this storage to NativeXML or JSON "
                          "to get access to this functionality")));
    EXPECT_THROW(kovml.GetChildByIndex(0).SetName("x"), EStorageException);
}

TEST(StorageBackEnds, XMLKeepsAValueBesideChildren) {
    THSNativeXML root("root");
    auto& node = root.AddChild("Node");
    node.AddChild("Child").SetValueAsString("inner");
    node.SetValueAsString("outer");
    node.AddChild("Second").SetValueAsString("  ");
    const std::string bytes = SaveToBytes(root);
    auto read = LoadFromBytes<THSNativeXML>(bytes);
    EXPECT_EQ(read->GetChildByIndex(0).GetValueAsString(), "outer");
    EXPECT_EQ(read->GetChildByIndex(0).GetChildByName("second")->GetValueAsString(), "  ");
    EXPECT_EQ(SaveToBytes(*read), bytes);
}
