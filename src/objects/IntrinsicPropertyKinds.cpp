#include "objects/IntrinsicPropertyKinds.h"

#include "objects/NameTools.h"
#include "objects/ObjectManager.h"
#include "services/Strings.h"

#include <cmath>
#include <istream>
#include <iterator>
#include <ostream>

namespace tw {

// ---------------------------------------------------------------------------------------------
// Colours and texts

TW_KOV_CLASS_IMPL(TIPColor, TIPInteger, nullptr)
TW_KOV_CLASS_IMPL(TIPIdentification, TIPText, nullptr)
TW_KOV_CLASS_IMPL(TIPCaption, TIPText, nullptr)
TW_KOV_CLASS_IMPL(TIPFormattedText, TIPText, nullptr)
TW_KOV_CLASS_IMPL(TIPPassword, TIPText, nullptr)

void TIPPassword::AssignEssentialState(const TKovObject& source) {
    TIPText::AssignEssentialState(source);
    if (const auto* password = dynamic_cast<const TIPPassword*>(&source))
        FShown = password->FShown;
}

// ---------------------------------------------------------------------------------------------
// Class enumerations

namespace {
std::vector<std::string> TypeNamesOf(const std::vector<const TKovClass*>& classes) {
    std::vector<std::string> names;
    for (const TKovClass* cls : classes)
        names.push_back(cls->TypeName());
    return names;
}
} // namespace

TIPClassEnumDeclaration::TIPClassEnumDeclaration(const std::string& name,
                                                 const TKovClass& baseClass,
                                                 std::vector<const TKovClass*> classes,
                                                 TKovIntrinsicPropertyConfig configuration,
                                                 const std::string& caption,
                                                 std::vector<std::string> captions)
    : TIPEnumerationDeclaration(name, TIPClassEnum::StaticClass(), nullptr, configuration, caption,
                                TypeNamesOf(classes), std::move(captions)),
      FBaseClass(&baseClass), FEnumClasses(std::move(classes)) {
    for (const TKovClass* cls : FEnumClasses)
        if (!cls->InheritsFrom(baseClass))
            throw EIntrinsicPropertyDeclarationError(
                Format("Class %s of enumeration %s does not descend from %s", cls->Name(), name,
                       baseClass.Name()));
}

std::unique_ptr<TKovIntrinsicPropertyDeclaration> TIPClassEnumDeclaration::Clone() const {
    return std::make_unique<TIPClassEnumDeclaration>(*this);
}

bool TIPClassEnumDeclaration::IsIdentical(const TKovIntrinsicPropertyDeclaration& other) const {
    if (!TIPEnumerationDeclaration::IsIdentical(other))
        return false;
    const auto& o = static_cast<const TIPClassEnumDeclaration&>(other);
    return FBaseClass == o.FBaseClass && FEnumClasses == o.FEnumClasses;
}

int TIPClassEnumDeclaration::IndexOfClass(const TKovClass& cls) const {
    for (size_t i = 0; i < FEnumClasses.size(); ++i)
        if (FEnumClasses[i] == &cls)
            return static_cast<int>(i);
    return -1;
}

const TKovClass* TIPClassEnumDeclaration::StrEnumToClass(const std::string& value) const {
    const std::string compact = CompactName(value);
    for (int i = 0; i < Count(); ++i)
        if (CompactStrings()[i] == compact)
            return FEnumClasses[i];
    return nullptr;
}

std::string TIPClassEnumDeclaration::ClassToStrEnum(const TKovClass& cls) const {
    const int index = IndexOfClass(cls);
    return index < 0 ? std::string() : Strings()[index];
}

TW_KOV_CLASS_IMPL(TIPClassEnum, TIPEnumeration, nullptr)

const TIPClassEnumDeclaration& TIPClassEnum::ClassEnumDeclaration() const {
    const auto* declaration = dynamic_cast<const TIPClassEnumDeclaration*>(Declaration());
    if (!declaration)
        throw EIntrinsicPropertyException(
            Format("Class enumeration %s has no class enumeration declaration", Name()));
    return *declaration;
}

const TKovClass* TIPClassEnum::ClassValue() const {
    const auto& classes = ClassEnumDeclaration().EnumClasses();
    const int index = IntValue();
    return index >= 0 && index < static_cast<int>(classes.size()) ? classes[index] : nullptr;
}

int TIPClassEnum::IndexOrRaise(const TKovClass& cls) const {
    const int index = ClassEnumDeclaration().IndexOfClass(cls);
    if (index < 0)
        throw EIntrinsicPropertyAssignError(
            Format("Invalid value: \"%s\". Allowed values are: %s or ordinal value.",
                   cls.TypeName(), AllowedStringValues()));
    return index;
}

void TIPClassEnum::SetClassValue(const TKovClass& cls) {
    SetIntValue(IndexOrRaise(cls));
}

bool TIPClassEnum::IsEnabledClassValue(const TKovClass& cls) const {
    const int index = ClassEnumDeclaration().IndexOfClass(cls);
    return index >= 0 && !IsDisabled(index);
}

void TIPClassEnum::EnableValuesExclusively(const std::vector<const TKovClass*>& classes) {
    std::vector<int> indices;
    for (const TKovClass* cls : classes)
        indices.push_back(IndexOrRaise(*cls));
    TIPEnumeration::EnableValuesExclusively(indices);
}

void TIPClassEnum::EnableClassValue(const TKovClass& cls) {
    EnableIntValue(IndexOrRaise(cls));
}

void TIPClassEnum::DisableClassValue(const TKovClass& cls) {
    DisableIntValue(IndexOrRaise(cls));
}

TIPClassEnumDeclaration& AddClassEnum(TKovIntrinsicPropertyDeclarationList& list,
                                      const std::string& name, const TKovClass& baseClass,
                                      std::vector<const TKovClass*> classes,
                                      TKovIntrinsicPropertyConfig config,
                                      const std::string& caption) {
    return static_cast<TIPClassEnumDeclaration&>(list.Add(std::make_unique<TIPClassEnumDeclaration>(
        name, baseClass, std::move(classes), config, caption)));
}

// ---------------------------------------------------------------------------------------------
// Parent and user features

TW_KOV_CLASS_IMPL(TIPParent, TIPKovObject, nullptr)

TKovObject* TIPParent::Value() const {
    const auto* owner = dynamic_cast<const TKovParentableObject*>(Owner());
    return owner ? owner->Parent() : nullptr;
}

void TIPParent::SetValue(TKovObject* object) {
    auto* owner = dynamic_cast<TKovParentableObject*>(Owner());
    if (!owner)
        throw EIntrinsicPropertyAssignError(
            Format("%s of %s cannot be set: the owner has no parent", Name(), OwnerName()));
    CheckOwnerWritable();
    FInitialized = true;
    owner->SetParent(object);
}

TW_KOV_CLASS_IMPL(TIPKovObservableUserFeaturesList, TIPKovObject, nullptr)

TKovObject* TIPKovObservableUserFeaturesList::Value() const {
    return Owner() ? &Owner()->UserFeatures() : nullptr;
}

void TIPKovObservableUserFeaturesList::SetValue(TKovObject*) {
    throw EIntrinsicPropertyAssignError(
        Format("%s of %s is read-only: features are added to the list", Name(), OwnerName()));
}

bool TIPKovObservableUserFeaturesList::IsEmpty() const {
    return !Owner() || !Owner()->HasUserFeatures();
}

bool TIPKovObservableUserFeaturesList::HasSameValueAs(const TKovIntrinsicProperty& other) const {
    const auto* o = dynamic_cast<const TIPKovObservableUserFeaturesList*>(&other);
    if (!o)
        return false;
    const bool mineEmpty = IsEmpty(), theirsEmpty = o->IsEmpty();
    if (mineEmpty || theirsEmpty)
        return mineEmpty && theirsEmpty;
    const TKovUserFeatureList& mine = Owner()->UserFeatures();
    const TKovUserFeatureList& theirs = o->Owner()->UserFeatures();
    if (mine.Count() != theirs.Count())
        return false;
    for (int i = 0; i < mine.Count(); ++i) {
        auto* a = dynamic_cast<TKovObservableObject*>(mine.GetItemOrNull(i));
        auto* b = dynamic_cast<TKovObservableObject*>(theirs.GetItemOrNull(i));
        if (!a || !b ? a != b : !a->HasSameIntrinsicPropertyValues(*b))
            return false;
    }
    return true;
}

std::string TIPKovObservableUserFeaturesList::ValueAsText() const {
    return IsEmpty() ? std::string() : Owner()->UserFeatures().NamesAsCommaText();
}

// ---------------------------------------------------------------------------------------------
// Tables

TW_KOV_CLASS_IMPL(TIPTable, TKovIntrinsicProperty, nullptr)

void TIPTable::SetColCount(int count) {
    if (count < 1)
        throw EIntrinsicPropertyAssignError(
            Format("Invalid column count %d for %s, at least 1 expected", count, Name()));
    if (count == FColCount)
        return;
    CheckOwnerWritable();
    CommitChange([&] { return Format("%d columns", count); },
                 [&] {
                     FColCount = count;
                     FTable.reset();
                 });
}

const TIPTable::TRowValues& TIPTable::Row(int index) const {
    if (index < 0 || index >= RowCount())
        throw EIntrinsicPropertyException(Format("Row index out of range (%d)", index));
    return (*FTable)[index];
}

double TIPTable::GetValue(int row, int col) const {
    const TRowValues& values = Row(row);
    if (col < 0 || col >= static_cast<int>(values.size()))
        throw EIntrinsicPropertyException(Format("Column index out of range (%d)", col));
    return values[col];
}

std::vector<double> TIPTable::GetValues() const {
    std::vector<double> values;
    values.reserve(static_cast<size_t>(RowCount()) * FColCount);
    if (FTable)
        for (const auto& row : *FTable)
            values.insert(values.end(), row.begin(), row.end());
    return values;
}

namespace {
std::string ValuesText(const std::vector<double>& values) {
    constexpr size_t Shown = 8; // an undo caption stays short
    std::vector<std::string> parts;
    for (size_t i = 0; i < values.size() && i < Shown; ++i)
        parts.push_back(FloatToStr(values[i]));
    if (values.size() > Shown)
        parts.push_back("...");
    return Join(parts, "; ");
}
} // namespace

bool TIPTable::HoldsValues(const std::vector<double>& values) const {
    const size_t rows = values.size() / static_cast<size_t>(FColCount);
    if (rows != static_cast<size_t>(RowCount()))
        return false;
    if (rows == 0)
        return true;
    size_t k = 0;
    for (const auto& row : *FTable)
        for (double v : row)
            if (!(v == values[k++]))
                return false;
    return true;
}

void TIPTable::StoreValues(const std::vector<double>& values) {
    const size_t rows = values.size() / static_cast<size_t>(FColCount);
    if (rows == 0) {
        FTable.reset();
        return;
    }
    auto table = std::make_unique<std::vector<TRowValues>>(rows);
    for (size_t r = 0; r < rows; ++r)
        (*table)[r].assign(values.begin() + static_cast<long>(r * FColCount),
                           values.begin() + static_cast<long>((r + 1) * FColCount));
    FTable = std::move(table);
}

void TIPTable::SetValues(const std::vector<double>& values) {
    CheckOwnerWritable();
    FInitialized = true;
    if (HoldsValues(values))
        return;
    CommitChange([&] { return ValuesText(values); }, [&] { StoreValues(values); });
}

bool TIPTable::HasSameValueAs(const TKovIntrinsicProperty& other) const {
    const auto* o = dynamic_cast<const TIPTable*>(&other);
    if (!o || o->RowCount() != RowCount() || o->ColCount() != ColCount())
        return false;
    for (int r = 0; r < RowCount(); ++r)
        for (int c = 0; c < ColCount(); ++c)
            if (!((*FTable)[r][c] == (*o->FTable)[r][c])) // NaN is unequal to everything
                return false;
    return true;
}

std::string TIPTable::ValueAsText() const {
    return ValuesText(GetValues());
}

void TIPTable::AssignEssentialState(const TKovObject& source) {
    const auto& s = dynamic_cast<const TIPTable&>(source);
    FInitialized = s.FInitialized;
    const std::vector<double> values = s.GetValues();
    const bool sameShape = s.FColCount == FColCount;
    if (!sameShape) {
        FColCount = s.FColCount;
        FTable.reset();
    }
    if (!sameShape || !HoldsValues(values)) {
        StoreValues(values);
        Changed();
    }
}

TW_KOV_CLASS_IMPL(TIPXYList, TIPTable, nullptr)

TIPXYList::TIPXYList(TKovObservableObject* owner,
                     const TKovIntrinsicPropertyDeclaration* declaration)
    : TIPTable(owner, declaration) {
    SetColCountDirect(2);
}

double TIPXYList::GetX(int index) const {
    if (index < 0 || index >= Count())
        throw EIntrinsicPropertyException("GetX index out of range");
    return Row(index)[0];
}

double TIPXYList::GetY(int index) const {
    if (index < 0 || index >= Count())
        throw EIntrinsicPropertyException("GetY index out of range");
    return Row(index)[1];
}

void TIPXYList::SetPoints(const std::vector<double>& xs, const std::vector<double>& ys) {
    if (xs.size() != ys.size())
        throw EIntrinsicPropertyAssignError(Format("%s needs as many x as y values, got %d and %d",
                                                   Name(), static_cast<int>(xs.size()),
                                                   static_cast<int>(ys.size())));
    std::vector<double> values;
    values.reserve(2 * xs.size());
    for (size_t i = 0; i < xs.size(); ++i) {
        values.push_back(xs[i]);
        values.push_back(ys[i]);
    }
    SetValues(values);
}

// ---------------------------------------------------------------------------------------------
// Binary data and images

TW_KOV_CLASS_IMPL(TIPBlob, TKovIntrinsicProperty, nullptr)

void TIPBlob::SetValue(const std::vector<uint8_t>& value) {
    CheckOwnerWritable();
    FInitialized = true;
    if (value == FValue)
        return;
    CommitChange([&] { return Format("%d bytes", static_cast<int>(value.size())); },
                 [&] { FValue = value; });
}

void TIPBlob::LoadFromStream(std::istream& stream) {
    std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(stream),
                               std::istreambuf_iterator<char>()};
    SetValue(bytes);
}

void TIPBlob::SaveToStream(std::ostream& stream) const {
    stream.write(reinterpret_cast<const char*>(FValue.data()),
                 static_cast<std::streamsize>(FValue.size()));
}

bool TIPBlob::SaveValue(TVarRec& value) const {
    value = std::string(FValue.begin(), FValue.end());
    return true;
}

bool TIPBlob::LoadValue(const TVarRec& value) {
    if (!VarIsString(value))
        return false;
    const auto& text = std::get<std::string>(value);
    SetValue(std::vector<uint8_t>(text.begin(), text.end()));
    return true;
}

bool TIPBlob::HasSameValueAs(const TKovIntrinsicProperty& other) const {
    const auto* o = dynamic_cast<const TIPBlob*>(&other);
    return o && o->FValue == FValue;
}

std::string TIPBlob::ValueAsText() const {
    return Format("%d bytes", static_cast<int>(FValue.size()));
}

void TIPBlob::AssignEssentialState(const TKovObject& source) {
    const auto& s = dynamic_cast<const TIPBlob&>(source);
    FInitialized = s.FInitialized;
    if (s.FValue != FValue) {
        FValue = s.FValue;
        Changed();
    }
}

TW_KOV_CLASS_IMPL(TIPImage, TIPBlob, nullptr)

namespace {
uint32_t BigEndian32(const std::vector<uint8_t>& d, size_t at) {
    return (uint32_t(d[at]) << 24) | (uint32_t(d[at + 1]) << 16) | (uint32_t(d[at + 2]) << 8) |
           d[at + 3];
}
uint32_t BigEndian16(const std::vector<uint8_t>& d, size_t at) {
    return (uint32_t(d[at]) << 8) | d[at + 1];
}
uint32_t LittleEndian16(const std::vector<uint8_t>& d, size_t at) {
    return uint32_t(d[at]) | (uint32_t(d[at + 1]) << 8);
}
int32_t LittleEndian32(const std::vector<uint8_t>& d, size_t at) {
    return static_cast<int32_t>(uint32_t(d[at]) | (uint32_t(d[at + 1]) << 8) |
                                (uint32_t(d[at + 2]) << 16) | (uint32_t(d[at + 3]) << 24));
}

// The size from the first frame header of a JPEG stream; false when there is none.
bool JpegSize(const std::vector<uint8_t>& d, int& width, int& height) {
    size_t pos = 2;
    while (pos + 4 <= d.size()) {
        if (d[pos] != 0xFF)
            return false;
        const uint8_t marker = d[pos + 1];
        if (marker == 0xFF) {
            ++pos;
            continue;
        }
        if (marker == 0x01 || (marker >= 0xD0 && marker <= 0xD9)) {
            pos += 2;
            continue;
        }
        const size_t length = BigEndian16(d, pos + 2);
        const bool frame =
            marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
        if (frame) {
            if (pos + 9 > d.size())
                return false;
            height = static_cast<int>(BigEndian16(d, pos + 5));
            width = static_cast<int>(BigEndian16(d, pos + 7));
            return true;
        }
        if (length < 2)
            return false;
        pos += 2 + length;
    }
    return false;
}
} // namespace

TIPImage::TGraphic TIPImage::GetNewGraphic() const {
    const std::vector<uint8_t>& d = Value();
    TGraphic graphic;
    static const uint8_t PngSignature[8] = {0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A};
    if (d.size() >= 24 && std::equal(PngSignature, PngSignature + 8, d.begin()) &&
        std::string(d.begin() + 12, d.begin() + 16) == "IHDR") {
        graphic = {"PNG", static_cast<int>(BigEndian32(d, 16)),
                   static_cast<int>(BigEndian32(d, 20))};
    } else if (d.size() >= 10 && (std::string(d.begin(), d.begin() + 6) == "GIF87a" ||
                                  std::string(d.begin(), d.begin() + 6) == "GIF89a")) {
        graphic = {"GIF", static_cast<int>(LittleEndian16(d, 6)),
                   static_cast<int>(LittleEndian16(d, 8))};
    } else if (d.size() >= 26 && d[0] == 'B' && d[1] == 'M') {
        graphic = {"BMP", LittleEndian32(d, 18), std::abs(LittleEndian32(d, 22))};
    } else if (d.size() >= 4 && d[0] == 0xFF && d[1] == 0xD8 && d[2] == 0xFF) {
        graphic.Format = "JPEG";
        if (!JpegSize(d, graphic.Width, graphic.Height))
            graphic.Width = graphic.Height = 0;
    }
    if (graphic.Format.empty() || graphic.Width <= 0 || graphic.Height <= 0)
        throw EIPImageException(
            "Image data cannot be converted to a graphic. The binary data is invalid.");
    return graphic;
}

// ---------------------------------------------------------------------------------------------
// Markers, numbers

TW_KOV_CLASS_IMPL(TIPStaged, TKovIntrinsicProperty, nullptr)
TW_KOV_CLASS_IMPL(TIPDoubleWithUnitDerived, TIPDoubleWithUnit, nullptr)

void TIPDoubleWithUnitDerived::Assign(const TKovObject& source) {
    FIsAssigning = true;
    try {
        TIPDoubleWithUnit::Assign(source);
    } catch (...) {
        FIsAssigning = false;
        throw;
    }
    FIsAssigning = false;
}

TW_KOV_CLASS_IMPL(TIPUserDefinedParameter, TIPDoubleWithUnit, nullptr)

TIPUserDefinedParameterDeclaration&
AddUserDefinedParameter(TKovIntrinsicPropertyDeclarationList& list, const std::string& name,
                        TQuantityType quantity, TKovIntrinsicPropertyConfig config,
                        const std::string& caption, double min, double max, int digits) {
    auto declaration = std::make_unique<TIPUserDefinedParameterDeclaration>(
        name, TIPUserDefinedParameter::StaticClass(), nullptr, config, caption);
    declaration->Limits = {min, max};
    declaration->QuantityType = quantity;
    declaration->NrAccurateDigits = digits;
    return static_cast<TIPUserDefinedParameterDeclaration&>(list.Add(std::move(declaration)));
}

} // namespace tw
