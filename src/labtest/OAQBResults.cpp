#include "labtest/OAQBResults.h"

#include "commands/OAKovObject.h"
#include "labtest/QBResults.h"
#include "labtest/QBResultsTools.h"
#include "objects/KovValues.h"
#include "objects/ObjectManager.h"
#include "services/Format.h"
#include "services/Localisation.h"
#include "units/SystemOfUnits.h"

#include <cmath>

namespace tw {

namespace {

const TCommandNameRecord TangentCommand{"tangent", "&Tangent", "tgt"};
const TCommandNameRecord SecantCommand{"secant", "&Secant", "sct"};

// The column of a name, when the results have values in it.
bool ColumnOf(const TQBResults& results, const std::string& name, TQBResultType& type) {
    type = GetResultTypeFromIPName(name);
    return type < rtNone && results.IsDataValidFor(type);
}

} // namespace

TOAQBResults::TOAQBResults() : TOAKovObservableObject(TQBResults::StaticClass()) {
    RemoveCommand("set");
    const TCommandParameterClassList pattern{{TComParOrIPText::Class(), TComParOrIPText::Class(),
                                              TComParOrIPNumber::Class(),
                                              TComParOrIPNumber::Class()}};
    AddCommand(TangentCommand, pattern, &TOAQBResults::ComTangent);
    AddCommand(SecantCommand, pattern, &TOAQBResults::ComSecant);
}

TKovValues* TOAQBResults::ColumnValues(const TQBResults& results, const std::string& name) {
    TQBResultType type;
    if (!ColumnOf(results, name, type))
        return nullptr;
    TKovObjectManager* manager = results.ObjectManager();
    TKovValuesList* list = nullptr;
    try {
        list = &TKovValuesList::GetInstance(manager);
    } catch (const EKovValuesException&) {
        return nullptr; // no command language in this manager
    }
    const TQBResultTypeInfo& info = ResultTypeInfo(type);
    const std::span<const double> column = results.Column(type);
    std::vector<double> values(column.begin(), column.end());
    values.resize(results.RowCount(), 0.0);
    // Arrays are results of commands, not changes of the model: outside undo.
    TRevertLock lock(manager);
    const std::string arrayName = Format("%s_%s", results.Name(), info.PropertyName);
    for (int i = 0; i < list->Count(); ++i)
        if (TKovValues& existing = (*list)[i]; existing.Name() == arrayName) {
            if (existing.Values() != values)
                existing.SetValues(std::move(values));
            return &existing;
        }
    TKovValues& created = info.HasQuantity
                              ? list->CreateValuesWithUnit(info.Quantity, std::move(values))
                              : list->CreateValues(std::move(values));
    created.SetName(manager ? manager->ObjectRegistry().GetUniqueName(arrayName) : arrayName);
    return &created;
}

TKovObject* TOAQBResults::FindMember(TKovObject& object, const std::string& name) const {
    if (TKovObject* member = TOAKovObservableObject::FindMember(object, name))
        return member;
    return ColumnValues(static_cast<const TQBResults&>(object), name);
}

void TOAQBResults::AddInfo(const TKovObject& object, TCommandOutput& output) const {
    TOAKovObservableObject::AddInfo(object, output);
    const auto& results = static_cast<const TQBResults&>(object);
    output.AddAdditionalInfoLine(Format("%s: %d", Translate("Rows"), results.RowCount()));
    std::string columns;
    for (int i = 0; i < rtNone; ++i)
        if (results.IsDataValidFor(static_cast<TQBResultType>(i)))
            columns += (columns.empty() ? "" : ", ") +
                       std::string(ResultTypeInfo(static_cast<TQBResultType>(i)).PropertyName);
    output.AddAdditionalInfoLine(Format("%s: %s", Translate("Columns"), columns));
}

void TOAQBResults::ComTangent(TKovObject* object, const TCommandParameterList& parameters,
                              TCommandOutput& output, bool predict) const {
    TangentOrSecant(object, parameters, output, predict, true);
}

void TOAQBResults::ComSecant(TKovObject* object, const TCommandParameterList& parameters,
                             TCommandOutput& output, bool predict) const {
    TangentOrSecant(object, parameters, output, predict, false);
}

void TOAQBResults::TangentOrSecant(TKovObject* object, const TCommandParameterList& parameters,
                                   TCommandOutput& output, bool predict, bool tangent) const {
    const auto& results = static_cast<const TQBResults&>(*object);
    if (results.RowCount() == 0) {
        output.InitializeAsError(cecExecutionFailed,
                                 Translate("There are no results for this test."));
        return;
    }
    TQBResultType types[2];
    for (int i = 0; i < 2; ++i) {
        const std::string name = TComParOrIPText::GetValue(*parameters[i]);
        if (!ColumnOf(results, name, types[i])) {
            output.InitializeAsError(
                cecExecutionFailed,
                Format(Translate("Required result type \"%s\" is not available"), name));
            return;
        }
    }
    const double atX = TComParOrIPNumber::GetValue(*parameters[2]);
    const double atY = TComParOrIPNumber::GetValue(*parameters[3]);
    if (!std::isfinite(atX) || !std::isfinite(atY)) {
        output.InitializeAsError(cecExecutionFailed,
                                 Translate("The point must have finite coordinates"));
        return;
    }
    if (predict)
        return;
    const IQuantityPresenter* units = &GetDefaultOASystemOfUnits();
    const TTangentOrSecant value =
        tangent ? TangentOfResults(results, types[0], types[1], atX, atY, units)
                : SecantOfResults(results, types[0], types[1], atX, atY, units);
    output.AddResultValue(value.Value);
    output.AddAdditionalInfoLine(
        Format(Translate("Closest point found on curve: (%g ; %g)"), value.X, value.Y));
    output.AddAdditionalInfoLine(
        Format(Translate(tangent ? "Tangent : %g" : "Secant: %g"), value.Value));
    auto json = std::make_unique<TCDObject>();
    json->AddDouble(tangent ? "Tangent" : "Secant", value.Value);
    json->AddInteger("Row", value.Point);
    json->AddDouble("X", value.X);
    json->AddDouble("Y", value.Y);
    output.SetJSONObject(std::move(json));
}

} // namespace tw
