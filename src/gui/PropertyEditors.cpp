#include "gui/PropertyEditors.h"

#include "commands/OAIntrinsicProperties.h"
#include "gui/QtText.h"
#include "objects/IntrinsicPropertyValueKinds.h"
#include "objects/KovBaseClasses.h"
#include "services/Format.h"
#include "services/Localisation.h"
#include "services/UserMessages.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>

#include <charconv>
#include <cmath>

namespace tw {

namespace {

// Ten significant digits: what a user typed reads back as typed, and no binary noise shows.
std::string NumberText(double value) {
    return FloatToStr(value, 10);
}

bool ParseDouble(const std::string& text, double& value) {
    const char* begin = text.data();
    const char* end = begin + text.size();
    while (begin < end && *begin == ' ')
        ++begin;
    while (end > begin && end[-1] == ' ')
        --end;
    if (begin < end && *begin == '+')
        ++begin;
    const auto result = std::from_chars(begin, end, value);
    return result.ec == std::errc() && result.ptr == end && std::isfinite(value);
}

} // namespace

std::string PropertyEditText(const TKovIntrinsicProperty& property,
                             const IQuantityPresenter* units) {
    if (const auto* number = dynamic_cast<const TIPDoubleWithUnit*>(&property))
        return NumberText(number->GetPresentationValue(units));
    if (const auto* number = dynamic_cast<const TIPDouble*>(&property))
        return NumberText(number->Value());
    if (const auto* integer = dynamic_cast<const TIPInteger*>(&property))
        return std::to_string(integer->Value());
    if (const auto* enumeration = dynamic_cast<const TIPEnumeration*>(&property))
        return enumeration->ValueCaption();
    return property.ValueAsText();
}

std::string PropertyUnitText(const TKovIntrinsicProperty& property,
                             const IQuantityPresenter* units) {
    const auto* number = dynamic_cast<const TIPDoubleWithUnit*>(&property);
    return number && units ? units->PresentationUnitText(number->QuantityType()) : std::string();
}

bool IsPropertyEditable(const TKovIntrinsicProperty& property) {
    return !IsReadOnlyForCommands(property);
}

std::optional<TVarRec> ParsePropertyText(const TKovIntrinsicProperty& property,
                                         const std::string& text, std::string& error) {
    if (dynamic_cast<const TIPDouble*>(&property)) {
        double value = 0.0;
        if (ParseDouble(text, value))
            return TVarRec(value);
    } else if (dynamic_cast<const TIPInteger*>(&property)) {
        double value = 0.0;
        if (ParseDouble(text, value) && value == std::trunc(value) && std::fabs(value) < 2.2e9)
            return TVarRec(static_cast<int32_t>(value));
    } else {
        return TVarRec(text);
    }
    error = Format(Translate("\"%s\" is not a valid number."), text);
    return std::nullopt;
}

std::vector<int> ChoosableValues(const TKovIntrinsicProperty& property) {
    std::vector<int> values;
    const auto* enumeration = dynamic_cast<const TIPEnumeration*>(&property);
    if (!enumeration)
        return values;
    const TIPEnumerationDeclaration& declaration = enumeration->EnumerationDeclaration();
    for (int i = 0; i < enumeration->Count(); ++i) {
        const bool hidden =
            declaration.IsHiddenFromVisualization && declaration.IsHiddenFromVisualization(i);
        if (!hidden && !enumeration->IsDisabled(i))
            values.push_back(i);
    }
    return values;
}

// ---------------------------------------------------------------------------------------------

TPropertyForm::TPropertyForm(TGuiCommands& commands, QWidget* parent)
    : QWidget(parent), FCommands(commands), FLayout(new QFormLayout(this)) {
    FLayout->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    FLayout->setLabelAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    FObserver.SetOnNotify([this](TNotifySender) { Refresh(); });
}

TPropertyForm::~TPropertyForm() = default;

void TPropertyForm::SetObject(TKovObservableObject* object, const TShows& shows) {
    FObserver.DetachFromAll();
    while (FLayout->rowCount() > 0)
        FLayout->removeRow(0);
    FRows.clear();
    FObject = object;
    if (!object)
        return;
    for (int i = 0; i < object->IntrinsicPropertiesCount(); ++i) {
        TKovIntrinsicProperty* property = object->GetIntrinsicProperty(i);
        if (!property || dynamic_cast<TIPKovObject*>(property) || (shows && !shows(*property)))
            continue;
        AddRow(*property);
    }
    object->AttachObserver(&FObserver);
    Refresh();
}

void TPropertyForm::AddRow(TKovIntrinsicProperty& property) {
    TRow row;
    row.Property = &property;
    row.Label = new QLabel(CaptionHtml(property.Caption()), this);
    row.Label->setTextFormat(Qt::RichText);
    row.Field = new QWidget(this);
    auto* fieldLayout = new QHBoxLayout(row.Field);
    fieldLayout->setContentsMargins(0, 0, 0, 0);
    const size_t index = FRows.size();
    if (dynamic_cast<TIPBoolean*>(&property)) {
        auto* box = new QCheckBox(row.Field);
        connect(box, &QCheckBox::clicked, this, [this, index](bool checked) {
            if (FRefreshing)
                return;
            TRow& r = FRows[index];
            if (!FCommands.Set(*r.Property, checked))
                RefreshRow(r);
        });
        row.Editor = box;
    } else if (dynamic_cast<TIPEnumeration*>(&property)) {
        auto* box = new QComboBox(row.Field);
        box->setSizeAdjustPolicy(QComboBox::AdjustToContents);
        connect(box, &QComboBox::activated, this, [this, index](int item) {
            if (FRefreshing)
                return;
            TRow& r = FRows[index];
            if (item < 0 || item >= static_cast<int>(r.Choices.size()))
                return;
            const int value = r.Choices[item];
            if (value == static_cast<TIPEnumeration*>(r.Property)->IntValue())
                return;
            if (!FCommands.Set(*r.Property, static_cast<int32_t>(value)))
                RefreshRow(r);
        });
        row.Editor = box;
    } else {
        auto* edit = new QLineEdit(row.Field);
        connect(edit, &QLineEdit::editingFinished, this, [this, index, edit] {
            if (!FRefreshing)
                CommitText(FRows[index], *edit);
        });
        row.Editor = edit;
    }
    row.Editor->setObjectName(ToQ(property.Name()));
    fieldLayout->addWidget(row.Editor, 1);
    const std::string unit = PropertyUnitText(property, &FCommands.Project().SystemOfUnits());
    row.Unit = new QLabel(ToQ(unit), row.Field);
    row.Unit->setMinimumWidth(48);
    fieldLayout->addWidget(row.Unit);
    FLayout->addRow(row.Label, row.Field);
    FRows.push_back(row);
}

void TPropertyForm::CommitText(TRow& row, QLineEdit& edit) {
    const IQuantityPresenter* units = &FCommands.Project().SystemOfUnits();
    const std::string text = FromQ(edit.text());
    if (text == PropertyEditText(*row.Property, units))
        return;
    std::string error;
    const std::optional<TVarRec> value = ParsePropertyText(*row.Property, text, error);
    if (!value) {
        RefreshRow(row);
        UserMessages().ShowMessage(error, MessageTitle);
        return;
    }
    if (!FCommands.Set(*row.Property, *value))
        RefreshRow(row);
}

void TPropertyForm::Refresh() {
    for (TRow& row : FRows)
        RefreshRow(row);
}

void TPropertyForm::RefreshRow(TRow& row) {
    FRefreshing = true;
    const TKovIntrinsicProperty& property = *row.Property;
    const IQuantityPresenter* units = &FCommands.Project().SystemOfUnits();
    FLayout->setRowVisible(row.Field, property.IsPublished());
    const bool editable = IsPropertyEditable(property);
    if (auto* box = qobject_cast<QCheckBox*>(row.Editor)) {
        box->setChecked(static_cast<const TIPBoolean&>(property).Value());
        box->setEnabled(editable);
    } else if (auto* combo = qobject_cast<QComboBox*>(row.Editor)) {
        const auto& enumeration = static_cast<const TIPEnumeration&>(property);
        std::vector<int> choices = ChoosableValues(property);
        // The current value stands in the list even when it can't be chosen.
        if (std::find(choices.begin(), choices.end(), enumeration.IntValue()) == choices.end())
            choices.insert(std::upper_bound(choices.begin(), choices.end(), enumeration.IntValue()),
                           enumeration.IntValue());
        if (choices != row.Choices) {
            combo->clear();
            for (int value : choices)
                combo->addItem(CaptionPlain(enumeration.EnumerationDeclaration().CaptionOf(value)));
            row.Choices = std::move(choices);
            combo->setMinimumWidth(combo->sizeHint().width()); // no choice is cut
        }
        const auto at = std::find(row.Choices.begin(), row.Choices.end(), enumeration.IntValue());
        combo->setCurrentIndex(static_cast<int>(at - row.Choices.begin()));
        combo->setEnabled(editable);
    } else if (auto* edit = qobject_cast<QLineEdit*>(row.Editor)) {
        edit->setText(ToQ(PropertyEditText(property, units)));
        edit->setCursorPosition(0);
        edit->setReadOnly(!editable);
        edit->setEnabled(editable);
    }
    row.Unit->setText(ToQ(PropertyUnitText(property, units)));
    FRefreshing = false;
}

const TPropertyForm::TRow* TPropertyForm::FindRow(const std::string& name) const {
    for (const TRow& row : FRows)
        if (row.Property->Name() == name)
            return &row;
    return nullptr;
}

QWidget* TPropertyForm::EditorOf(const std::string& name) const {
    const TRow* row = FindRow(name);
    return row ? row->Editor : nullptr;
}

bool TPropertyForm::IsRowShown(const std::string& name) const {
    const TRow* row = FindRow(name);
    return row && row->Property->IsPublished();
}

} // namespace tw
