#include "labtest/OAQBTestBase.h"

#include "labtest/QBPropertyNames.h"
#include "labtest/QBTestBase.h"
#include "services/Format.h"
#include "services/Localisation.h"
#include "services/Strings.h"

namespace tw {

namespace {

const TCommandNameRecord AddPhaseCommand{"addphase", "&Add phase", "ap"};
const TCommandNameRecord InsertPhaseCommand{"insertphase", "&Insert phase", "ip"};
const TCommandNameRecord DeletePhaseCommand{"deletephase", "&Delete phase", "dp"};
const TCommandNameRecord MarkPhasesCyclicCommand{"markphasescyclic", "&Mark phases cyclic", "mpc"};
const TCommandNameRecord DeleteCyclicPhasesCommand{"deletecyclicphases", "Delete &cyclic phases",
                                                   "dcp"};

std::string PhaseText(const TQBPhase& phase) {
    const auto* accessor = TObjectAccessors::Instance().GetAccessorFor(&phase);
    return accessor ? accessor->GetCommandsCompatibleObjectName(phase) : phase.Name();
}

// An index outside [first, last]: the message and the line with the valid range.
void InvalidIndex(TCommandOutput& output, const std::string& message, int index,
                  const std::string& range, int first, int last) {
    output.InitializeAsError(cecExecutionFailed, Format(Translate(message), index));
    output.AddAdditionalInfoLine(Format(Translate(range), first, last));
}

} // namespace

TOAQBTestBase::TOAQBTestBase() : TOAKovObservableObjectWithRevert(TQBTestBase::StaticClass()) {
    AddCommand(AddPhaseCommand, {}, &TOAQBTestBase::ComAddPhase);
    AddCommand(InsertPhaseCommand, {{TComParOrIPInteger::Class()}}, &TOAQBTestBase::ComInsertPhase);
    AddCommand(DeletePhaseCommand, {{TComParOrIPInteger::Class()}}, &TOAQBTestBase::ComDeletePhase);
    AddCommand(
        MarkPhasesCyclicCommand,
        {{TComParOrIPInteger::Class(), TComParOrIPInteger::Class(), TComParOrIPInteger::Class()}},
        &TOAQBTestBase::ComMarkPhasesCyclic);
    AddCommand(DeleteCyclicPhasesCommand, {{TComParOrIPInteger::Class()}},
               &TOAQBTestBase::ComDeleteCyclicPhases);
}

TKovObject* TOAQBTestBase::FindMember(TKovObject& object, const std::string& name) const {
    auto& test = static_cast<TQBTestBase&>(object);
    if (SameText(name, ip::Phases.Name))
        return &test.Phases();
    if (SameText(name, ip::CyclicPhases.Name))
        return &test.CyclicPhases();
    if (SameText(name, ip::Results.Name))
        return &test.Results();
    return TOAKovObservableObjectWithRevert::FindMember(object, name);
}

void TOAQBTestBase::AddInfo(const TKovObject& object, TCommandOutput& output) const {
    TOAKovObservableObjectWithRevert::AddInfo(object, output);
    const auto& test = static_cast<const TQBTestBase&>(object);
    output.AddAdditionalInfoLine(Format("%s: %d", Translate("Phases"), test.Phases().Count()));
    output.AddAdditionalInfoLine(
        Format("%s: %d", Translate("Result rows"), test.Results().RowCount()));
    output.AddAdditionalInfoLine(Format("%s: %s", Translate("Results in sync with the material"),
                                        test.MaterialInSyncWithTest() ? "True" : "False"));
}

void TOAQBTestBase::ComAddPhase(TKovObject* object, const TCommandParameterList&,
                                TCommandOutput& output, bool predict) const {
    if (predict)
        return;
    auto& test = static_cast<TQBTestBase&>(*object);
    test.AddNewPhase();
    TQBPhase& phase = test.Phases()[test.Phases().Count() - 1];
    output.SetAdditionalInfo(Format(Translate("Added %s"), PhaseText(phase)));
    output.AddResultObject(&phase);
}

void TOAQBTestBase::ComInsertPhase(TKovObject* object, const TCommandParameterList& parameters,
                                   TCommandOutput& output, bool predict) const {
    auto& test = static_cast<TQBTestBase&>(*object);
    const int index = TComParOrIPInteger::GetValue(*parameters[0]);
    const int count = test.Phases().Count();
    if (index < 0 || index > count)
        return InvalidIndex(output, "Specified insert index %d is invalid", index,
                            "Valid insert range is from %d to %d", 0, count);
    if (predict)
        return;
    test.InsertPhase(index);
    TQBPhase& phase = test.Phases()[index];
    output.SetAdditionalInfo(Format(Translate("Added %s"), PhaseText(phase)));
    output.AddResultObject(&phase);
}

void TOAQBTestBase::ComDeletePhase(TKovObject* object, const TCommandParameterList& parameters,
                                   TCommandOutput& output, bool predict) const {
    auto& test = static_cast<TQBTestBase&>(*object);
    const int index = TComParOrIPInteger::GetValue(*parameters[0]);
    const int count = test.Phases().Count();
    if (index < 0 || index >= count)
        return InvalidIndex(output, "Specified delete index %d is invalid", index,
                            "Valid delete range is from %d to %d", 0, count - 1);
    // The kernel runs a test phase by phase: one must stay.
    if (count == 1) {
        output.InitializeAsError(cecExecutionFailed,
                                 Format(Translate("%s must keep at least one phase"), test.Name()));
        return;
    }
    if (predict)
        return;
    const std::string deleted = PhaseText(test.Phases()[index]);
    test.DeletePhase(index);
    output.SetAdditionalInfo(Format(Translate("Deleted %s"), deleted));
    output.AddResultObject(object);
}

void TOAQBTestBase::ComMarkPhasesCyclic(TKovObject* object, const TCommandParameterList& parameters,
                                        TCommandOutput& output, bool predict) const {
    auto& test = static_cast<TQBTestBase&>(*object);
    if (test.TestType() != ttGeneral) {
        output.InitializeAsError(
            cecExecutionFailed,
            Translate("Phases can only be marked as cyclic for the general test"));
        return;
    }
    const int first = TComParOrIPInteger::GetValue(*parameters[0]);
    const int last = TComParOrIPInteger::GetValue(*parameters[1]);
    const int cycles = TComParOrIPInteger::GetValue(*parameters[2]);
    const TQBPhaseList& phases = test.Phases();
    const int count = phases.Count();
    if (first < 0 || first >= count)
        return InvalidIndex(output, "Specified first cyclic phase index %d is invalid", first,
                            "Valid insert range is from %d to %d", 0, count - 1);
    if (last < 0 || last >= count)
        return InvalidIndex(output, "Specified last cyclic phase index %d is invalid", last,
                            "Valid last cyclic phase range is from %d to %d", 0, count - 1);
    if (last < first) {
        output.InitializeAsError(cecExecutionFailed,
                                 Format(Translate("The last cyclic phase index cannot be lower "
                                                  "than the first cyclic phase index %d"),
                                        first));
        return;
    }
    for (int i = 0; i < test.CyclicPhases().Count(); ++i) {
        const TQBCyclicPhases& other = *test.CyclicPhases().GetItems(i);
        const int otherFirst = phases.IndexOf(other.FirstPhase());
        const int otherLast = phases.IndexOf(other.LastPhase());
        if (otherFirst >= 0 && otherLast >= 0 && first <= otherLast && otherFirst <= last) {
            output.InitializeAsError(
                cecExecutionFailed,
                Format(Translate("The specified cyclic phases would overlap with existing cyclic "
                                 "phases \"%s\", with first phase index %d and last phase index "
                                 "%d"),
                       other.Name(), otherFirst, otherLast));
            return;
        }
    }
    if (cycles < 1) {
        output.InitializeAsError(
            cecExecutionFailed,
            Format(Translate("Specified number of cycles %d is invalid"), cycles));
        output.AddAdditionalInfoLine(Translate("Number of cycles must be a positive number"));
        return;
    }
    if (predict)
        return;
    test.MarkPhasesCyclic(first, last, cycles);
    TQBCyclicPhases* added = test.CyclicPhases().GetItems(test.CyclicPhases().Count() - 1);
    output.SetAdditionalInfo(Format(Translate("Phases %d to %d of %s repeat %d times"), first, last,
                                    test.Name(), cycles));
    output.AddResultObject(added);
}

void TOAQBTestBase::ComDeleteCyclicPhases(TKovObject* object,
                                          const TCommandParameterList& parameters,
                                          TCommandOutput& output, bool predict) const {
    auto& test = static_cast<TQBTestBase&>(*object);
    const int count = test.CyclicPhases().Count();
    if (count == 0) {
        output.InitializeAsError(cecExecutionFailed,
                                 Format(Translate("%s test does not have cyclic phase definitions"),
                                        test.GetObjectTypeName()));
        return;
    }
    const int index = TComParOrIPInteger::GetValue(*parameters[0]);
    if (index < 0 || index >= count)
        return InvalidIndex(output, "Specified delete index %d is invalid", index,
                            "Valid delete range is from %d to %d", 0, count - 1);
    if (predict)
        return;
    const std::string name = test.CyclicPhases().GetItems(index)->Name();
    test.DeleteCyclicPhasesDefinition(index);
    output.SetAdditionalInfo(Format(Translate("Deleted %s"), name));
    output.AddResultObject(object);
}

// ---------------------------------------------------------------------------------------------

TOAQBPhase::TOAQBPhase() : TOAKovObservableObject(TQBPhase::StaticClass()) {}

std::string TOAQBPhase::GetCommandsCompatibleObjectName(const TKovObject& object) const {
    const auto& phase = static_cast<const TQBPhase&>(object);
    const auto* test = dynamic_cast<const TQBTestBase*>(phase.Parent());
    const int index = test ? test->Phases().IndexOf(&phase) : -1;
    if (index < 0)
        return phase.Name();
    return Format("%s%s%d%s", test->Name() + ".", "Phases[", index, "]");
}

TKovObject* TOAQBPhase::GetOwnerObject(const TKovObject& object) const {
    return static_cast<const TQBPhase&>(object).Parent();
}

} // namespace tw
