#include "TestThing.h"

#include "objects/IntrinsicPropertyKinds.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

using namespace tw;
using namespace tw::testing;
using ::testing::StrEq;
using ::testing::ThrowsMessage;

namespace {
struct Kinds : ::testing::Test {
    TKovObjectManager Manager;
    std::unique_ptr<TKindsThing> Thing;
    void SetUp() override {
        Manager.LockRevert();
        Thing = Make<TKindsThing>(&Manager);
        Thing->SetName("Box");
        Manager.UnlockRevert();
    }
    template <typename P> P& Get(const std::string& name) { return Thing->Property<P>(name); }
};

std::vector<uint8_t> Bytes(std::initializer_list<int> values) {
    std::vector<uint8_t> bytes;
    for (int v : values)
        bytes.push_back(static_cast<uint8_t>(v));
    return bytes;
}
} // namespace

TEST_F(Kinds, ColoursKeepRedInTheLowByte) {
    auto& colour = Get<TIPColor>("Colour");
    EXPECT_EQ(TIPColor::RGBToColor(0x12, 0x34, 0x56), 0x563412);
    colour.SetRGB(0x12, 0x34, 0x56);
    EXPECT_EQ(colour.Value(), 0x563412);
    EXPECT_EQ(colour.AsBGRCodedInteger(), 0x563412);
    EXPECT_EQ(colour.AsRGBCodedInteger(), 0x123456);
    EXPECT_EQ(colour.Red(), 0x12);
    EXPECT_EQ(colour.Blue(), 0x56);
    EXPECT_EQ(colour.GetObjectTypeName(), "Colour");
}

TEST_F(Kinds, APasswordNeverShowsInTheUndoMenu) {
    auto& secret = Get<TIPPassword>("Secret");
    secret.SetValue("hunter2");
    EXPECT_EQ(Manager.GetUndoName(0), "Set Box.Secret to \"*******\"");
    EXPECT_EQ(secret.ValueAsText(), "*******");
    secret.SetShown(true);
    Manager.Undo();
    EXPECT_EQ(secret.Value(), "");
    EXPECT_EQ(Get<TIPIdentification>("Code").GetObjectTypeName(), "Text");
}

TEST_F(Kinds, ClassEnumerationsStandForClasses) {
    auto& kind = Get<TIPClassEnum>("Kind");
    EXPECT_EQ(kind.GetObjectTypeName(), "ClassEnumeration");
    EXPECT_EQ(&kind.EnumerationClass(), &TTestThing::StaticClass());
    EXPECT_EQ(kind.ClassValue(), &TTestThing::StaticClass());
    kind.SetStrValue("test sub thing");
    EXPECT_EQ(kind.ClassValue(), &TTestSubThing::StaticClass());
    EXPECT_EQ(kind.ClassEnumDeclaration().ClassToStrEnum(TTestThing::StaticClass()), "TestThing");
    EXPECT_EQ(kind.ClassEnumDeclaration().StrEnumToClass("TESTTHING"), &TTestThing::StaticClass());
    EXPECT_THROW(kind.SetClassValue(TKindsThing::StaticClass()), EIntrinsicPropertyAssignError);

    {
        TUndoSnapshot snapshot(*Thing, "Only things");
        kind.EnableValuesExclusively({&TTestThing::StaticClass()});
    }
    EXPECT_TRUE(kind.IsDisabledClassValue(TTestSubThing::StaticClass()));
    EXPECT_TRUE(kind.IsEnabledClassValue(TTestThing::StaticClass()));
    // The current value stays, but a user can't pick a disabled class.
    EXPECT_THROW(kind.SetClassValue(TTestSubThing::StaticClass()), EIntrinsicPropertyAssignError);
    Manager.Undo();
    EXPECT_TRUE(kind.IsEnabledClassValue(TTestSubThing::StaticClass()));

    TKovIntrinsicPropertyDeclarationList list;
    EXPECT_THROW(
        AddClassEnum(list, "Wrong", TTestThing::StaticClass(), {&TKindsThing::StaticClass()}),
        EIntrinsicPropertyDeclarationError);

    enum class TShape { Round, Square };
    TIPEnumeration& plain = kind;
    TIPEnumerationTypedUtils<TShape>::SetEnumerationValue(plain, TShape::Round);
    EXPECT_EQ(TIPEnumerationTypedUtils<TShape>::GetEnumerationValue(plain), TShape::Round);
}

TEST_F(Kinds, TablesRebuildRowsAndUndoAsOneValue) {
    auto& table = Get<TIPTable>("Table");
    table.SetColCount(2);
    Manager.ClearRevertStacks();
    table.SetValues({1, 2, 3, 4, 5}); // the fifth value fills no row
    EXPECT_EQ(table.RowCount(), 2);
    EXPECT_EQ(table.GetValue(1, 0), 3);
    EXPECT_EQ(Manager.GetUndoName(0), "Set Box.Table to \"1; 2; 3; 4; 5\"");
    table.SetValues({1, 2, 3, 4}); // the same contents: no step
    EXPECT_EQ(Manager.UndoCount(), 1);
    table.SetValues({9, 9});
    Manager.Undo();
    EXPECT_EQ(table.GetValues(), (std::vector<double>{1, 2, 3, 4}));
    Manager.Undo();
    EXPECT_TRUE(table.IsEmpty());
    EXPECT_THROW(table.SetColCount(0), EIntrinsicPropertyAssignError);

    auto other = Make<TKindsThing>(nullptr);
    auto& copy = other->Property<TIPTable>("Table");
    copy.SetColCount(2);
    copy.SetValues({1, 2, 3, 4});
    Manager.Redo();
    EXPECT_TRUE(table.HasSameValueAs(copy));
    copy.SetValues({1, 2, 3, NAN});
    table.SetValues({1, 2, 3, NAN});
    EXPECT_FALSE(table.HasSameValueAs(copy)); // NaN is unequal to everything

    auto& curve = Get<TIPXYList>("Curve");
    EXPECT_EQ(curve.ColCount(), 2);
    curve.SetPoints({0, 1, 2}, {10, 11, 12});
    EXPECT_EQ(curve.GetY(2), 12);
    EXPECT_THAT([&] { curve.GetY(3); },
                ThrowsMessage<EIntrinsicPropertyException>(StrEq("GetY index out of range")));
    EXPECT_THROW(curve.GetX(-1), EIntrinsicPropertyException);
    EXPECT_THROW(curve.SetPoints({1}, {}), EIntrinsicPropertyAssignError);
}

TEST_F(Kinds, ImagesKnowTheirFormatAndRefuseOtherData) {
    auto& picture = Get<TIPImage>("Picture");
    auto expectInvalid = [&] {
        EXPECT_THAT(
            [&] { picture.GetNewGraphic(); },
            ThrowsMessage<EIPImageException>(
                StrEq("Image data cannot be converted to a graphic. The binary data is invalid.")))
            << "expected the data to be refused";
    };
    expectInvalid(); // empty
    picture.SetValue(Bytes({0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A, 0, 0, 0, 13,
                            'I',  'H', 'D', 'R', 0,    0,    1,    0x2C, 0, 0, 0, 0xC8}));
    auto graphic = picture.GetNewGraphic();
    EXPECT_EQ(graphic.Format, "PNG");
    EXPECT_EQ(graphic.Width, 300);
    EXPECT_EQ(graphic.Height, 200);
    // A JPEG: start of image, an application segment, then the frame header.
    picture.SetValue(
        Bytes({0xFF, 0xD8, 0xFF, 0xE0, 0, 4, 'J', 'F', 0xFF, 0xC0, 0, 11, 8, 0, 48, 0, 64, 3}));
    graphic = picture.GetNewGraphic();
    EXPECT_EQ(graphic.Format, "JPEG");
    EXPECT_EQ(graphic.Width, 64);
    EXPECT_EQ(graphic.Height, 48);
    picture.SetValue(Bytes({'G', 'I', 'F', '8', '9', 'a', 0, 0, 5, 0})); // zero width
    expectInvalid();
    picture.SetValue(Bytes({'h', 'e', 'l', 'l', 'o'}));
    expectInvalid();

    // Bytes survive streams and records unchanged, zeros included.
    const auto data = Bytes({0, 1, 0xFF, 0, 7});
    std::stringstream stream;
    picture.SetValue(data);
    picture.SaveToStream(stream);
    picture.SetValue({});
    picture.LoadFromStream(stream);
    EXPECT_EQ(picture.Value(), data);
    TVarRec record;
    ASSERT_TRUE(picture.SaveValue(record));
    picture.SetValue({});
    ASSERT_TRUE(picture.LoadValue(record));
    EXPECT_EQ(picture.Value(), data);
    EXPECT_EQ(picture.GetObjectTypeName(), "Image");
}

TEST_F(Kinds, TheParentPropertyIsTheOwnersParentAndSurvivesItsDeletion) {
    auto& parent = Get<TIPParent>("Parent");
    Manager.LockRevert();
    auto holder = Make<TTestThing>(&Manager);
    Manager.UnlockRevert();
    parent.SetValue(holder.get());
    EXPECT_EQ(Thing->Parent(), holder.get());
    EXPECT_EQ(Manager.GetUndoName(0), "Set parent");

    TTestThing* raw = holder.release();
    raw->FreeWithUndo();
    EXPECT_EQ(parent.Value(), nullptr);
    EXPECT_FALSE(Thing->ParentID().IsEmpty());
    Manager.Undo();
    EXPECT_EQ(parent.Value(), raw);
    Manager.Undo();
    EXPECT_EQ(Thing->Parent(), nullptr);
    holder.reset(raw);
}

TEST_F(Kinds, DerivedPropertiesBackUpTheirOwnerAndHaveAPlainTwin) {
    auto& stiffness = Get<TIPUserDefinedParameter>("Stiffness");
    stiffness.SetValue(2e9); // clamped to the declared maximum
    EXPECT_EQ(Thing->Stiffness, 1e9);
    EXPECT_EQ(Manager.GetUndoName(0), "Set Box.Stiffness to \"1000000000\"");
    Manager.Undo();
    EXPECT_EQ(Thing->Stiffness, 0);
    Manager.Redo();

    // The twin is the plain kind with the current value; editors and persisters see that.
    TKovIntrinsicProperty* twin = stiffness.GetStaticEquivalent();
    ASSERT_NE(twin, &stiffness);
    EXPECT_EQ(&twin->ClassType(), &TIPUserDefinedParameter::StaticClass());
    EXPECT_FALSE(twin->IsDerived());
    EXPECT_EQ(static_cast<TIPDouble*>(twin)->Value(), 1e9);
    EXPECT_EQ(twin->Declaration()->DeclarationTypeName(),
              std::string("DeclarationUserDefinedParameter"));
    Thing->Stiffness = 5;
    EXPECT_EQ(static_cast<TIPDouble*>(stiffness.GetStaticEquivalent())->Value(), 5);

    auto& shade = Get<TIPColor>("Shade");
    EXPECT_TRUE(shade.IsDerived());
    EXPECT_FALSE(static_cast<TIPColor_DerivedExternal&>(shade).HasSetter());
    EXPECT_THROW(shade.SetValue(3), EIntrinsicPropertyAssignError);

    Get<TIPLargeText>("Notes").SetValue("two\nlines");
    EXPECT_EQ(Thing->Notes, "two lines");

    // The copy reads a derived source as plain, and never writes a derived target.
    auto other = Make<TKindsThing>(nullptr);
    other->Stiffness = 7;
    other->Notes = "theirs";
    Thing->CopyIntrinsicPropertiesFrom(*other);
    EXPECT_EQ(Thing->Stiffness, 5);
    EXPECT_EQ(Thing->Notes, "two lines");
}

TEST(DerivedDeclarations, CompareByFunctionIdentityAndCopyTheirMultiselectForm) {
    TKovIntrinsicPropertyDeclarationList list;
    auto getter = [](const TKovIntrinsicProperty&) { return 1.0; };
    auto& a = list.AddDerivedDouble("A", {getter, nullptr}, 0, "", 0, 10);
    auto& b = list.AddDerivedDouble("B", {getter, nullptr}, 0, "", 0, 10);
    // Separately made closures can't be told apart: not identical. Copies share theirs.
    EXPECT_FALSE(a.IsIdentical(b));
    auto copy = a.Clone();
    EXPECT_TRUE(a.IsIdentical(*copy));
    auto duplicate = a.CreateDuplicate("C", "Another caption");
    EXPECT_FALSE(a.IsIdentical(*duplicate)); // the caption differs
    EXPECT_TRUE(a.IsIdentical(*a.CreateDuplicate("D", a.Caption())));

    const auto& multi = a.MultiselectDeclaration();
    EXPECT_EQ(&multi.PropertyClass(), &TIPDouble::StaticClass());
    EXPECT_FALSE(multi.IsDerivedDeclaration());
    EXPECT_EQ(static_cast<const TIPDoubleDeclaration&>(multi).Limits.Max, 10);
    EXPECT_EQ(&a.MultiselectDeclaration(), &multi); // made once
    auto later = a.Clone();
    auto* laterDerived = dynamic_cast<TIPDouble_DerivedExternalDeclaration*>(later.get());
    ASSERT_NE(laterDerived, nullptr);
    EXPECT_NE(&laterDerived->MultiselectDeclaration(), &multi); // deep copy
    // Plain declarations compare without their names.
    TKovIntrinsicPropertyDeclarationList plain;
    auto& x = plain.AddDouble("X", 0, "c", 1, 2);
    EXPECT_TRUE(x.IsIdentical(*x.CreateDuplicate("Y", "c")));
    auto& i = plain.AddInteger("I");
    EXPECT_THAT([&] { x.Assign(i); },
                ThrowsMessage<EIntrinsicPropertyDeclarationError>(
                    StrEq("Cannot assign from a DeclarationInteger to a DeclarationDouble")));
}
