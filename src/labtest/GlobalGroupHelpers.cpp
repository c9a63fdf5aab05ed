#include "labtest/GlobalGroupHelpers.h"

#include "commands/KovGroup.h"
#include "commands/MultiObjectCommands.h"
#include "commands/OAIntrinsicProperties.h"
#include "labtest/QBResults.h"
#include "objects/ObjectManager.h"
#include "services/Format.h"
#include "services/Localisation.h"
#include "services/Strings.h"

namespace tw {

TW_KOV_CLASS_IMPL(TGroupInfoGetter, TKovObject, nullptr)
TW_KOV_CLASS_IMPL(TTabulateHelper, TKovObject, nullptr)
TW_KOV_CLASS_IMPL(TListifier, TKovObject, nullptr)
TW_KOV_CLASS_IMPL(TGroupMetadataSetter, TKovObject, nullptr)
TW_KOV_CLASS_IMPL(TSimpleValueGroupSetter, TKovObject, nullptr)

TListifier::TListifier(TKovObjectManager* manager) : TKovObject(manager) {
    TRevertLock lock(manager);
    FGroups = Make<TKovObjectList>(manager, true);
}

TListifier::~TListifier() = default;

TKovGroup& TListifier::AddGroup(std::unique_ptr<TKovGroup> group) {
    TKovGroup& added = *group;
    FGroups->Add(group.release());
    return added;
}

namespace {

const TCommandNameRecord InfoCommand{"info", "&Info", ""};
const TCommandNameRecord TabulateCommand{"tabulate", "&Tabulate", "tbl"};
const TCommandNameRecord ListifyCommand{"listify", "&Listify", "lfy"};
const TCommandNameRecord SetMetadataCommand{"setmetadata", "Set &metadata", "smd"};
const TCommandNameRecord SetCommand{"set", "&Set", ""};

// One or more objects, in line or in brackets; a group stands for its members.
const TComParClassRef& ObjectSequence() {
    static const TComParClassRef cls = std::make_shared<TComParSequence>(
        TCommandParameterClassList{{TComParKovObject::Class()}}, 1, false, 0, true, true);
    return cls;
}

// One or more intrinsic properties, likewise.
const TComParClassRef& PropertySequence() {
    static const TComParClassRef cls = std::make_shared<TComParSequence>(
        TCommandParameterClassList{
            {TComParObjectOfClass::ForClass(TKovIntrinsicProperty::StaticClass())}},
        1, false, 0, true, true);
    return cls;
}

// The objects a sequence class takes from `parameters` at `position`; the position stands behind
// them afterwards.
std::vector<TKovObject*> ObjectsOf(const TComParClassRef& sequence,
                                   const TCommandParameterList& parameters, int& position) {
    TCommandParameterList matched;
    sequence->GetMatchedParameters(parameters, position, matched);
    std::vector<TKovObject*> objects;
    for (int i = 0; i < matched.Count(); ++i)
        if (const auto* object = dynamic_cast<const TComParObject*>(matched[i]))
            objects.push_back(object->Object());
    return objects;
}

// The texts from `first` on: in line, in brackets, or held by text properties.
std::vector<std::string> TextsOf(const TCommandParameterList& parameters, int first) {
    std::vector<std::string> texts;
    for (int i = first; i < parameters.Count(); ++i) {
        if (const auto* set = dynamic_cast<const TComParSetOfParameters_Input*>(parameters[i]))
            for (int k = 0; k < set->Count(); ++k)
                texts.push_back(TComParOrIPText::GetValue(*set->GetItem(k)));
        else
            texts.push_back(TComParOrIPText::GetValue(*parameters[i]));
    }
    return texts;
}

std::string Cell(double value) {
    return FloatToStr(value, 6);
}

// The header, rows and content tree of a table.
void PutTable(const std::vector<std::string>& header,
              const std::vector<std::vector<std::string>>& rows,
              const std::vector<std::vector<double>>& numbers, TCommandOutput& output) {
    output.AddAdditionalInfoLine(Join(header, "\t"));
    for (const auto& row : rows)
        output.AddAdditionalInfoLine(Join(row, "\t"));
    auto json = std::make_unique<TCDObject>();
    TCDArray& columns = json->AddCDArray("Columns");
    for (const auto& caption : header)
        columns.AddSimpleValue(caption);
    TCDArray& values = json->AddCDArray("Rows");
    for (size_t r = 0; r < rows.size(); ++r) {
        auto row = std::make_unique<TCDArray>();
        for (size_t c = 0; c < rows[r].size(); ++c)
            if (r < numbers.size() && c < numbers[r].size())
                row->AddSimpleValue(numbers[r][c]);
            else
                row->AddSimpleValue(rows[r][c]);
        values.Add(std::move(row));
    }
    output.SetJSONObject(std::move(json));
}

// Every `step`-th row from the first, and the last.
void TabulateResults(const TQBResults& results, const std::vector<std::string>& names, int step,
                     TCommandOutput& output, bool predict) {
    std::vector<TQBResultType> types;
    for (const auto& name : names) {
        const TQBResultType type = GetResultTypeFromIPName(name);
        if (type >= rtNone || !results.IsDataValidFor(type)) {
            output.InitializeAsError(
                cecExecutionFailed,
                Format(Translate("Required result type \"%s\" is not available"), name));
            return;
        }
        types.push_back(type);
    }
    if (predict)
        return;
    const IQuantityPresenter* units = PresenterFor(&results);
    std::vector<std::string> header{Translate("Row")};
    for (TQBResultType type : types) {
        const TQBResultTypeInfo& info = ResultTypeInfo(type);
        const std::string unit =
            units && info.HasQuantity ? units->PresentationUnitText(info.Quantity) : "";
        header.push_back(unit.empty() ? std::string(info.PropertyName)
                                      : Format("%s [%s]", info.PropertyName, unit));
    }
    std::vector<std::vector<std::string>> rows;
    std::vector<std::vector<double>> numbers;
    const int last = results.RowCount() - 1;
    for (int row = 0; row <= last; row = row < last && row + step > last ? last : row + step) {
        rows.push_back({std::to_string(row)});
        numbers.push_back({static_cast<double>(row)});
        for (TQBResultType type : types) {
            const double value = results.GetPresentationValueByType(row, type, units);
            rows.back().push_back(Cell(value));
            numbers.back().push_back(value);
        }
        if (row == last)
            break;
    }
    PutTable(header, rows, numbers, output);
}

void TabulateItems(const TKovObjectList& list, const std::vector<std::string>& names,
                   TCommandOutput& output, bool predict) {
    std::vector<std::vector<TKovIntrinsicProperty*>> cells;
    for (TKovObject* item : list.Items()) {
        const auto* accessor = TObjectAccessors::Instance().GetAccessorFor(item);
        std::vector<TKovIntrinsicProperty*> row;
        for (const auto& name : names) {
            auto* property =
                accessor ? dynamic_cast<TKovIntrinsicProperty*>(accessor->FindMember(*item, name))
                         : nullptr;
            if (!property) {
                output.InitializeAsError(cecExecutionFailed,
                                         Format(Translate("Unknown property: %s"), name));
                return;
            }
            row.push_back(property);
        }
        cells.push_back(std::move(row));
    }
    if (predict)
        return;
    std::vector<std::string> header{Translate("Item")};
    for (size_t c = 0; c < names.size(); ++c) {
        const auto* number =
            cells.empty() ? nullptr : dynamic_cast<const TIPDoubleWithUnit*>(cells[0][c]);
        const IQuantityPresenter* units = number ? PresenterFor(number) : nullptr;
        const std::string unit = units ? units->PresentationUnitText(number->QuantityType()) : "";
        header.push_back(unit.empty() ? names[c] : Format("%s [%s]", names[c], unit));
    }
    std::vector<std::vector<std::string>> rows;
    for (size_t r = 0; r < cells.size(); ++r) {
        std::vector<std::string> row{std::to_string(r)};
        for (const TKovIntrinsicProperty* property : cells[r])
            row.push_back(TOAKovIntrinsicProperty::ValueToCompactText(*property));
        rows.push_back(std::move(row));
    }
    PutTable(header, rows, {}, output);
}

} // namespace

// ---------------------------------------------------------------------------------------------

TOAGroupHelper::TOAGroupHelper(const TKovClass& servedClass) : TOAKovObject(servedClass) {
    RemoveCommand("set");
    RemoveCommand("rename");
}

TOAGroupInfoGetter::TOAGroupInfoGetter() : TOAGroupHelper(TGroupInfoGetter::StaticClass()) {
    AddCommand(InfoCommand, {{ObjectSequence()}}, &TOAGroupInfoGetter::ComInfo);
}

void TOAGroupInfoGetter::ComInfo(TKovObject*, const TCommandParameterList& parameters,
                                 TCommandOutput& output, bool predict) const {
    int position = 0;
    TMultiObjectParamCommandHandler::Execute(ObjectsOf(ObjectSequence(), parameters, position),
                                             "info", TCommandParameterList(), output, predict);
}

TOATabulateHelper::TOATabulateHelper() : TOAGroupHelper(TTabulateHelper::StaticClass()) {
    auto& tabulate = AddCommand(TabulateCommand,
                                {{TComParOrIPKovObject::Class(), TComParOrIPTextSequence::Class()}},
                                &TOATabulateHelper::ComTabulate);
    AddPattern(tabulate,
               {{TComParOrIPKovObject::Class(), TComParOrIPTextSequence::Class(),
                 TComParInteger::Class()}},
               &TOATabulateHelper::ComTabulate);
}

void TOATabulateHelper::ComTabulate(TKovObject*, const TCommandParameterList& parameters,
                                    TCommandOutput& output, bool predict) const {
    TKovObject* target = TComParOrIPKovObject::GetObject(*parameters[0]);
    int step = 1;
    TCommandParameterList texts(parameters);
    if (const auto* every = dynamic_cast<const TComParInteger*>(parameters.Last())) {
        step = every->Value();
        texts.Delete(texts.Count() - 1);
        if (step < 1) {
            output.InitializeAsError(
                cecExecutionFailed,
                Format(Translate("The row step must be a positive number, not %d"), step));
            return;
        }
    }
    const std::vector<std::string> names = TextsOf(texts, 1);
    if (const auto* results = dynamic_cast<const TQBResults*>(target))
        return TabulateResults(*results, names, step, output, predict);
    if (const auto* list = dynamic_cast<const TKovObjectList*>(target))
        return TabulateItems(*list, names, output, predict);
    output.InitializeAsError(
        cecExecutionFailed,
        Format(Translate("Cannot tabulate %s: give results or a list of objects"),
               target ? target->Name() : std::string("<not assigned>")));
}

TOAListifier::TOAListifier() : TOAGroupHelper(TListifier::StaticClass()) {
    AddCommand(ListifyCommand, {{TComParText::Class(), ObjectSequence()}},
               &TOAListifier::ComListify);
}

void TOAListifier::ComListify(TKovObject* object, const TCommandParameterList& parameters,
                              TCommandOutput& output, bool predict) const {
    auto& listifier = static_cast<TListifier&>(*object);
    const std::string name = Trim(static_cast<const TComParText&>(*parameters[0]).Value());
    TKovObjectManager* manager = listifier.ObjectManager();
    std::string problem = CheckNewObjectName(listifier, name);
    if (problem.empty() && manager)
        if (TKovObject* holder = manager->ObjectRegistry().GetObject(name)) {
            const auto* accessor = TObjectAccessors::Instance().GetAccessorFor(holder);
            problem = Format(Translate("This name is already used by an object (%s)"),
                             accessor ? accessor->ObjectToText(holder) : holder->Name());
        }
    if (!problem.empty()) {
        output.InitializeAsError(cecExecutionFailed, problem);
        return;
    }
    int position = 1;
    const std::vector<TKovObject*> items = ObjectsOf(ObjectSequence(), parameters, position);
    if (predict)
        return;
    TKovGroup& group = listifier.AddGroup(Make<TKovGroup>(manager));
    group.SetName(name);
    for (TKovObject* item : items)
        group.Add(item);
    output.SetAdditionalInfo(Format(Translate("Added %s"), group.Name()));
    output.AddResultObject(&group);
}

TOAGroupMetadataSetter::TOAGroupMetadataSetter()
    : TOAGroupHelper(TGroupMetadataSetter::StaticClass()) {
    AddCommand(SetMetadataCommand,
               {{ObjectSequence(), TComParOrIPText::Class(), TComParSimpleValue::Class()}},
               &TOAGroupMetadataSetter::ComSetMetadata);
}

void TOAGroupMetadataSetter::ComSetMetadata(TKovObject*, const TCommandParameterList& parameters,
                                            TCommandOutput& output, bool predict) const {
    int position = 0;
    const std::vector<TKovObject*> objects = ObjectsOf(ObjectSequence(), parameters, position);
    TCommandParameterList rest;
    for (int i = position; i < parameters.Count(); ++i)
        rest.Add(parameters.GetRef(i));
    TMultiObjectParamCommandHandler::Execute(objects, "setmetadata", rest, output, predict);
}

TOASimpleValueGroupSetter::TOASimpleValueGroupSetter()
    : TOAGroupHelper(TSimpleValueGroupSetter::StaticClass()) {
    AddCommand(SetCommand, {{PropertySequence(), TComParSimpleValue::Class()}},
               &TOASimpleValueGroupSetter::ComSet);
}

void TOASimpleValueGroupSetter::ComSet(TKovObject*, const TCommandParameterList& parameters,
                                       TCommandOutput& output, bool predict) const {
    int position = 0;
    const std::vector<TKovObject*> properties = ObjectsOf(PropertySequence(), parameters, position);
    TCommandParameterList value;
    value.Add(parameters.GetRef(parameters.Count() - 1));
    TMultiObjectParamCommandHandler::Execute(properties, "set", value, output, predict);
}

void RegisterGlobalGroupHelperAccessors(TObjectAccessors& registry) {
    registry.RegisterAccessor(std::make_unique<TOAGroupInfoGetter>());
    registry.RegisterAccessor(std::make_unique<TOATabulateHelper>());
    registry.RegisterAccessor(std::make_unique<TOAListifier>());
    registry.RegisterAccessor(std::make_unique<TOAGroupMetadataSetter>());
    registry.RegisterAccessor(std::make_unique<TOASimpleValueGroupSetter>());
}

} // namespace tw
