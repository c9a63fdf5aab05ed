#include "commands/OAKovValues.h"

#include "objects/ObjectManager.h"
#include "services/Format.h"
#include "services/Localisation.h"

namespace tw {

namespace {

const TCommandNameRecord IndexCommand{"index", "&Index", ""};
const TCommandNameRecord SliceCommand{"slice", "&Slice", ""};
const TCommandNameRecord FilterCommand{"filter", "&Filter", "fi"};
const TCommandNameRecord CountCommand{"count", "&Count", ""};
const TCommandNameRecord DeleteCommand{"delete", "&Delete", "del"};

// The presenter and quantity of an array's values; no presenter for plain numbers.
struct TPresentation {
    const IQuantityPresenter* Presenter = nullptr;
    TQuantityType Quantity = qtDummy;

    explicit TPresentation(const TKovValues& values) {
        if (const auto* withUnit = dynamic_cast<const TKovValuesWithUnit*>(&values)) {
            Presenter = PresenterFor(&values);
            Quantity = withUnit->QuantityType();
        }
    }
    double Shown(double base) const {
        return Presenter ? Presenter->ToPresentation(Quantity, base) : base;
    }
    std::string Text(double base) const {
        const std::string number = FloatToStr(Shown(base));
        return Presenter ? number + " " + Presenter->PresentationUnitText(Quantity) : number;
    }
};

// A new array of the same kind in the manager's list, outside undo, with a free name made from
// `name`.
TKovValues& AddArray(const TKovValues& like, std::vector<double> values, const std::string& name) {
    TKovObjectManager* manager = like.ObjectManager();
    TRevertLock lock(manager);
    auto& list = TKovValuesList::GetInstance(manager);
    const auto* withUnit = dynamic_cast<const TKovValuesWithUnit*>(&like);
    TKovValues& created =
        withUnit ? list.CreateValuesWithUnit(withUnit->QuantityType(), std::move(values))
                 : list.CreateValues(std::move(values));
    created.SetName(manager ? manager->ObjectRegistry().GetUniqueName(name) : name);
    return created;
}

void InvalidIndex(const TKovValues& values, int index, TCommandOutput& output) {
    output.InitializeAsError(cecExecutionFailed,
                             Format(Translate("Invalid index for \"%s\": \"%s\""), values.Name(),
                                    std::to_string(index)));
}

} // namespace

TOAKovValues::TOAKovValues(const TKovClass& servedClass) : TOAKovObservableObject(servedClass) {
    AddCommand(IndexCommand, {{TComParInteger::Class()}}, &TOAKovValues::ComIndex);
    AddCommand(SliceCommand, {{TComParInteger::Class(), TComParInteger::Class()}},
               &TOAKovValues::ComSlice);
    AddCommand(FilterCommand,
               {{std::make_shared<TComParEnumeration>(FilterOperationWords()),
                 TComParOrIPNumber::Class()}},
               &TOAKovValues::ComFilter);
    AddCommand(CountCommand, {}, &TOAKovValues::ComCount);
    AddCommand(DeleteCommand, {}, &TOAKovValues::ComDelete);
}

const std::vector<std::string>& TOAKovValues::FilterOperationWords() {
    static const std::vector<std::string> words{"lt", "le", "eq", "ne", "ge", "gt"};
    return words;
}

std::string TOAKovValues::ObjectToText(const TKovObject* object) const {
    const auto* values = dynamic_cast<const TKovValues*>(object);
    return values ? Format("%s named \"%s\": %s", values->GetObjectTypeName(), values->Name(),
                           values->ToString())
                  : TOAKovObservableObject::ObjectToText(object);
}

void TOAKovValues::ComIndex(TKovObject* object, const TCommandParameterList& parameters,
                            TCommandOutput& output, bool) const {
    const auto& values = static_cast<const TKovValues&>(*object);
    const int index = static_cast<const TComParInteger&>(*parameters[0]).Value();
    if (!values.IsValidIndex(index))
        return InvalidIndex(values, index, output);
    const TPresentation presentation(values);
    output.AddResultValue(presentation.Shown(values.GetElement(index)));
    output.SetAdditionalInfo(presentation.Text(values.GetElement(index)));
}

void TOAKovValues::ComSlice(TKovObject* object, const TCommandParameterList& parameters,
                            TCommandOutput& output, bool predict) const {
    const auto& values = static_cast<const TKovValues&>(*object);
    const int first = static_cast<const TComParInteger&>(*parameters[0]).Value();
    const int last = static_cast<const TComParInteger&>(*parameters[1]).Value();
    if (!values.IsValidSliceIndex(first))
        return InvalidIndex(values, first, output);
    if (!values.IsValidSliceIndex(last))
        return InvalidIndex(values, last, output);
    if (first > last) {
        output.InitializeAsError(cecExecutionFailed,
                                 Translate("The slice starting index must be equal to, or lower "
                                           "than, the last index."));
        return;
    }
    if (predict)
        return;
    try {
        TKovValues& created = AddArray(values,
                                       std::vector<double>(values.Values().begin() + first,
                                                           values.Values().begin() + last + 1),
                                       Format("%s_%dto%d_1", values.Name(), first, last));
        output.SetAdditionalInfo(Format(Translate("Added %s"), created.Name()));
        output.AddResultObject(&created);
    } catch (const EKovValuesException& e) {
        output.InitializeAsError(cecExecutionFailed, e.what());
    }
}

void TOAKovValues::ComFilter(TKovObject* object, const TCommandParameterList& parameters,
                             TCommandOutput& output, bool predict) const {
    const auto& values = static_cast<const TKovValues&>(*object);
    const std::string& word = static_cast<const TComParText&>(*parameters[0]).Value();
    const TComParEnumeration operations(FilterOperationWords());
    const auto operation = static_cast<TFilterOperation>(operations.TextToEnumIndex(word));
    const double limit = TComParOrIPNumber::GetValue(*parameters[1]);
    const TPresentation presentation(values);
    std::vector<double> kept;
    for (double value : values.Values()) {
        const double shown = presentation.Shown(value);
        bool keep = false;
        switch (operation) {
        case foLess:
            keep = shown < limit;
            break;
        case foLessOrEqual:
            keep = shown <= limit;
            break;
        case foEqual:
            keep = shown == limit;
            break;
        case foNotEqual:
            keep = shown != limit;
            break;
        case foGreaterOrEqual:
            keep = shown >= limit;
            break;
        case foGreater:
            keep = shown > limit;
            break;
        }
        if (keep)
            kept.push_back(value);
    }
    if (kept.empty()) {
        output.InitializeAsError(cecExecutionFailed,
                                 Translate("The filter count must be higher than 0."));
        return;
    }
    if (predict)
        return;
    try {
        TKovValues& created =
            AddArray(values, std::move(kept),
                     Format("%s_%s_1", values.Name(), operations.EnumIndexToText(operation)));
        output.SetAdditionalInfo(Format(Translate("Added %s"), created.Name()));
        output.AddResultObject(&created);
    } catch (const EKovValuesException& e) {
        output.InitializeAsError(cecExecutionFailed, e.what());
    }
}

void TOAKovValues::ComCount(TKovObject* object, const TCommandParameterList&,
                            TCommandOutput& output, bool) const {
    const auto& values = static_cast<const TKovValues&>(*object);
    output.AddResultValue(values.Count());
    output.SetAdditionalInfo(std::to_string(values.Count()));
}

void TOAKovValues::ComDelete(TKovObject* object, const TCommandParameterList&,
                             TCommandOutput& output, bool predict) const {
    auto& values = static_cast<TKovValues&>(*object);
    if (predict)
        return;
    const std::string name = values.Name();
    try {
        TRevertLock lock(values.ObjectManager());
        TKovValuesList::GetInstance(values.ObjectManager()).DestroyValues(&values);
    } catch (const EKovValuesException& e) {
        output.InitializeAsError(cecExecutionFailed, e.what());
        return;
    }
    output.SetAdditionalInfo(Format(Translate("Deleted %s"), name));
}

TOAKovValuesWithUnits::TOAKovValuesWithUnits() : TOAKovValues(TKovValuesWithUnit::StaticClass()) {}

void RegisterKovValuesAccessors(TObjectAccessors& registry) {
    registry.RegisterAccessor(std::make_unique<TOAKovValues>());
    registry.RegisterAccessor(std::make_unique<TOAKovValuesWithUnits>());
}

} // namespace tw
