#pragma once
// The further kinds of intrinsic property: colours, the text kinds, passwords, class-valued
// enumerations, parents and user features, numeric tables and XY lists, binary data and images,
// user-defined parameters. Their derived variants are in IntrinsicPropertyDerivedKinds.h. The write
// path is the one of every property: check the owner, mark initialised, stop on an equal value,
// back the property up in an undo snapshot, store, tell the owner, close the snapshot.

#include "objects/IntrinsicPropertyDeclarationList.h"
#include "objects/IntrinsicPropertyValueKinds.h"
#include "objects/KovObjectLists.h"

#include <cstdint>
#include <iosfwd>
#include <vector>

namespace tw {

TW_DECLARE_EXCEPTION(EIPImageException, EIntrinsicPropertyException)

// A colour: red in the low byte, then green, then blue.
class TIPColor : public TIPInteger {
    TW_KOV_CLASS(TIPColor, TIPInteger)
public:
    using TIPInteger::TIPInteger;
    std::string GetObjectTypeName() const override { return "Colour"; }
    static int32_t RGBToColor(uint8_t r, uint8_t g, uint8_t b) {
        return static_cast<int32_t>((uint32_t(b) << 16) | (uint32_t(g) << 8) | uint32_t(r));
    }
    uint8_t Red() const { return static_cast<uint8_t>(Value() & 0xFF); }
    uint8_t Green() const { return static_cast<uint8_t>((Value() >> 8) & 0xFF); }
    uint8_t Blue() const { return static_cast<uint8_t>((Value() >> 16) & 0xFF); }
    void SetRGB(uint8_t r, uint8_t g, uint8_t b) { SetValue(RGBToColor(r, g, b)); }
    // Red in the high byte (0xRRGGBB), as web colours are written.
    int32_t AsRGBCodedInteger() const {
        return static_cast<int32_t>((uint32_t(Red()) << 16) | (uint32_t(Green()) << 8) | Blue());
    }
    // Blue in the high byte (0xBBGGRR): the stored form.
    int32_t AsBGRCodedInteger() const {
        return static_cast<int32_t>((uint32_t(Blue()) << 16) | (uint32_t(Green()) << 8) | Red());
    }
};

// Identifier text.
class TIPIdentification : public TIPText {
    TW_KOV_CLASS(TIPIdentification, TIPText)
public:
    using TIPText::TIPText;
};

// Caption text.
class TIPCaption : public TIPText {
    TW_KOV_CLASS(TIPCaption, TIPText)
public:
    using TIPText::TIPText;
};

// A text the renderers show formatted.
class TIPFormattedText : public TIPText {
    TW_KOV_CLASS(TIPFormattedText, TIPText)
public:
    using TIPText::TIPText;
};

// A password. Its value never shows in an undo caption; `Shown` tells an editor to show it in
// clear.
class TIPPassword : public TIPText {
    TW_KOV_CLASS(TIPPassword, TIPText)
public:
    using TIPText::TIPText;
    bool Shown() const { return FShown; }
    void SetShown(bool shown) { FShown = shown; }
    std::string ValueAsText() const override { return std::string(Value().size(), '*'); }

protected:
    std::string CaptionText(const std::string& value) const override {
        return std::string(value.size(), '*');
    }
    void AssignEssentialState(const TKovObject& source) override;

private:
    bool FShown = false;
};

// The declaration of a class-valued enumeration: each string stands for a class, in parallel.
class TIPClassEnumDeclaration : public TIPEnumerationDeclaration {
public:
    // The strings are the classes' type names. `baseClass` is the class all values descend from.
    TIPClassEnumDeclaration(const std::string& name, const TKovClass& baseClass,
                            std::vector<const TKovClass*> classes,
                            TKovIntrinsicPropertyConfig configuration = 0,
                            const std::string& caption = "",
                            std::vector<std::string> captions = {});
    const char* DeclarationTypeName() const override { return "DeclarationClassEnumeration"; }
    std::unique_ptr<TKovIntrinsicPropertyDeclaration> Clone() const override;
    bool IsIdentical(const TKovIntrinsicPropertyDeclaration& other) const override;

    const TKovClass& BaseClass() const { return *FBaseClass; }
    const std::vector<const TKovClass*>& EnumClasses() const { return FEnumClasses; }
    // The class of a string (matched as any enumeration value), or nullptr.
    const TKovClass* StrEnumToClass(const std::string& value) const;
    // The string of a class, or "" for a class that isn't a value.
    std::string ClassToStrEnum(const TKovClass& cls) const;
    int IndexOfClass(const TKovClass& cls) const;

private:
    const TKovClass* FBaseClass;
    std::vector<const TKovClass*> FEnumClasses;
};

class TIPClassEnum : public TIPEnumeration {
    TW_KOV_CLASS(TIPClassEnum, TIPEnumeration)
public:
    using TIPEnumeration::TIPEnumeration;
    std::string GetObjectTypeName() const override { return "ClassEnumeration"; }
    const TIPClassEnumDeclaration& ClassEnumDeclaration() const;

    const TKovClass* ClassValue() const;
    // Raises for a class that is no value of the enumeration.
    void SetClassValue(const TKovClass& cls);
    // The class all values descend from.
    const TKovClass& EnumerationClass() const { return ClassEnumDeclaration().BaseClass(); }
    bool IsEnabledClassValue(const TKovClass& cls) const;
    bool IsDisabledClassValue(const TKovClass& cls) const { return !IsEnabledClassValue(cls); }
    // Visibility of values by class; like the integer forms, each must run inside a snapshot.
    void EnableValuesExclusively(const std::vector<const TKovClass*>& classes);
    void EnableClassValue(const TKovClass& cls);
    void DisableClassValue(const TKovClass& cls);

private:
    int IndexOrRaise(const TKovClass& cls) const;
};

// Casts between an enumerated type and the index of an enumeration property.
template <typename T> struct TIPEnumerationTypedUtils {
    static T GetEnumerationValue(const TIPEnumeration& property) {
        return static_cast<T>(property.IntValue());
    }
    static void SetEnumerationValue(TIPEnumeration& property, T value) {
        property.SetIntValue(static_cast<int>(value));
    }
};

// The owner's parent, for parentable owners; no object otherwise. The value lives in the owner.
class TIPParent : public TIPKovObject {
    TW_KOV_CLASS(TIPParent, TIPKovObject)
public:
    using TIPKovObject::TIPKovObject;
    TKovObject* Value() const override;
    // Sets the owner's parent (one undo step on the owner); raises for an owner without parent.
    void SetValue(TKovObject* object) override;
    bool IsDerived() const override { return true; }
    bool IsEmpty() const override { return Value() == nullptr; }
};

// The owner's list of user features. Read-only; two lists are equal when they hold features of
// the same classes with the same values.
class TIPKovObservableUserFeaturesList : public TIPKovObject {
    TW_KOV_CLASS(TIPKovObservableUserFeaturesList, TIPKovObject)
public:
    using TIPKovObject::TIPKovObject;
    TKovObject* Value() const override;
    void SetValue(TKovObject* object) override;
    bool IsDerived() const override { return true; }
    bool IsEmpty() const override;
    bool HasSameValueAs(const TKovIntrinsicProperty& other) const override;
    std::string ValueAsText() const override;
};

// A table of numbers in rows of ColCount values; the rows are made on first use.
class TIPTable : public TKovIntrinsicProperty {
    TW_KOV_CLASS(TIPTable, TKovIntrinsicProperty)
public:
    using TRowValues = std::vector<double>;

    using TKovIntrinsicProperty::TKovIntrinsicProperty;
    std::string GetObjectTypeName() const override { return "Table"; }

    int ColCount() const { return FColCount; }
    // Changes the number of columns; the rows are cleared when it changes. At least 1.
    void SetColCount(int count);
    int RowCount() const { return FTable ? static_cast<int>(FTable->size()) : 0; }
    const TRowValues& Row(int index) const;
    double GetValue(int row, int col) const;
    // The values row by row.
    std::vector<double> GetValues() const;
    // Takes a flat array, row by row; the row count is its length divided by ColCount (trailing
    // values that fill no row are dropped). Equal contents change nothing.
    void SetValues(const std::vector<double>& values);
    void Clear() { SetValues({}); }

    bool HasSameValueAs(const TKovIntrinsicProperty& other) const override;
    bool IsEmpty() const override { return RowCount() == 0; }
    std::string ValueAsText() const override;

protected:
    void SetDefault() override { FTable.reset(); }
    void AssignEssentialState(const TKovObject& source) override;
    void SetColCountDirect(int count) { FColCount = count; }

private:
    bool HoldsValues(const std::vector<double>& values) const;
    void StoreValues(const std::vector<double>& values);

    std::unique_ptr<std::vector<TRowValues>> FTable;
    int FColCount = 1;
};

// Pairs of x and y.
class TIPXYList : public TIPTable {
    TW_KOV_CLASS(TIPXYList, TIPTable)
public:
    TIPXYList(TKovObservableObject* owner, const TKovIntrinsicPropertyDeclaration* declaration);
    std::string GetObjectTypeName() const override { return "XYList"; }
    int Count() const { return RowCount(); }
    // Raise "GetX index out of range" and "GetY index out of range" for an index not below Count.
    double GetX(int index) const;
    double GetY(int index) const;
    // Sets all points at once; raises when the two arrays differ in length.
    void SetPoints(const std::vector<double>& xs, const std::vector<double>& ys);
};

// Binary data.
class TIPBlob : public TKovIntrinsicProperty {
    TW_KOV_CLASS(TIPBlob, TKovIntrinsicProperty)
public:
    using TKovIntrinsicProperty::TKovIntrinsicProperty;
    std::string GetObjectTypeName() const override { return "BLOB"; }
    const std::vector<uint8_t>& Value() const { return FValue; }
    void SetValue(const std::vector<uint8_t>& value);
    size_t Size() const { return FValue.size(); }
    // Reads the stream to its end and stores what it read.
    void LoadFromStream(std::istream& stream);
    void SaveToStream(std::ostream& stream) const;

    // The bytes travel as a string record.
    bool SaveValue(TVarRec& value) const override;
    bool LoadValue(const TVarRec& value) override;
    bool HasSameValueAs(const TKovIntrinsicProperty& other) const override;
    bool IsEmpty() const override { return FValue.empty(); }
    std::string ValueAsText() const override;

protected:
    void SetDefault() override { FValue.clear(); }
    void AssignEssentialState(const TKovObject& source) override;

private:
    std::vector<uint8_t> FValue;
};

// A picture held as the bytes of its file (PNG, JPEG, GIF or BMP). Nothing here draws it; the
// window layer turns the graphic into pixels.
class TIPImage : public TIPBlob {
    TW_KOV_CLASS(TIPImage, TIPBlob)
public:
    using TIPBlob::TIPBlob;
    std::string GetObjectTypeName() const override { return "Image"; }

    struct TGraphic {
        std::string Format; // "PNG", "JPEG", "GIF" or "BMP"
        int Width = 0;      // pixels
        int Height = 0;
    };
    // The format and size of the picture; raises EIPImageException for data that is no picture.
    TGraphic GetNewGraphic() const;
};

// Marks properties whose value differs per calculation stage. Lab tests use none.
class TIPStaged : public TKovIntrinsicProperty {
    TW_KOV_CLASS(TIPStaged, TKovIntrinsicProperty)
public:
    using TKovIntrinsicProperty::TKovIntrinsicProperty;
};

// A number whose subclass computes related values while it is copied; IsAssigning tells them
// apart from a user's write.
class TIPDoubleWithUnitDerived : public TIPDoubleWithUnit {
    TW_KOV_CLASS(TIPDoubleWithUnitDerived, TIPDoubleWithUnit)
public:
    using TIPDoubleWithUnit::TIPDoubleWithUnit;
    void Assign(const TKovObject& source) override;
    bool IsAssigning() const { return FIsAssigning; }

private:
    bool FIsAssigning = false;
};

// A number that a user-defined soil model declares at run time, with name, caption, limits,
// quantity and digits as a number with unit.
class TIPUserDefinedParameterDeclaration : public TIPDoubleWithUnitDeclaration {
public:
    using TIPDoubleWithUnitDeclaration::TIPDoubleWithUnitDeclaration;
    const char* DeclarationTypeName() const override { return "DeclarationUserDefinedParameter"; }
    std::unique_ptr<TKovIntrinsicPropertyDeclaration> Clone() const override {
        return std::make_unique<TIPUserDefinedParameterDeclaration>(*this);
    }
};

class TIPUserDefinedParameter : public TIPDoubleWithUnit {
    TW_KOV_CLASS(TIPUserDefinedParameter, TIPDoubleWithUnit)
public:
    using TIPDoubleWithUnit::TIPDoubleWithUnit;
};

// Declaring helpers for these kinds.
TIPClassEnumDeclaration& AddClassEnum(TKovIntrinsicPropertyDeclarationList& list,
                                      const std::string& name, const TKovClass& baseClass,
                                      std::vector<const TKovClass*> classes,
                                      TKovIntrinsicPropertyConfig config = 0,
                                      const std::string& caption = "");
TIPUserDefinedParameterDeclaration&
AddUserDefinedParameter(TKovIntrinsicPropertyDeclarationList& list, const std::string& name,
                        TQuantityType quantity, TKovIntrinsicPropertyConfig config = 0,
                        const std::string& caption = "", double min = 0, double max = 0,
                        int digits = 0);

} // namespace tw
