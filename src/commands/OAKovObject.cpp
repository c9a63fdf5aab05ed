#include "commands/OAKovObject.h"

#include "commands/KovTokenizer.h"
#include "commands/MultiObjectCommands.h"
#include "commands/OAIntrinsicProperties.h"
#include "commands/ObjectFilters.h"
#include "objects/IntrinsicPropertyDeclarationList.h"
#include "objects/IntrinsicPropertyDerivedKinds.h"
#include "objects/IntrinsicPropertyRegistries.h"
#include "objects/NameTools.h"
#include "objects/ObjectManager.h"
#include "services/Format.h"
#include "services/Localisation.h"
#include "services/Strings.h"
#include "units/SystemOfUnits.h"
#include "units/SystemOfUnitsQueryFunctionsRegistry.h"

#include <algorithm>

namespace tw {

namespace {

const TCommandNameRecord EchoCommand{"echo", "&Echo", ""};
const TCommandNameRecord DumpCommand{"__dump", "", ""};
const TCommandNameRecord CommandsCommand{"commands", "&Commands", "cms"};
const TCommandNameRecord RenameCommand{"rename", "&Rename", "rn"};
const TCommandNameRecord SetCommand{"set", "&Set", ""};
const TCommandNameRecord MultiplyCommand{"multiply", "&Multiply", "mul"};
const TCommandNameRecord InfoCommand{"info", "&Info", ""};
const TCommandNameRecord InspectCommand{"inspect", "I&nspect", ""};
const TCommandNameRecord SetPropertiesCommand{"setproperties", "Set &properties", "sps"};
const TCommandNameRecord GetMetadataCommand{"getmetadata", "&Get metadata", "gmd"};
const TCommandNameRecord SetMetadataCommand{"setmetadata", "Set &metadata", "smd"};
const TCommandNameRecord ObserversCommand{"__observers", "", "__obs"};
const TCommandNameRecord UndoCommand{"undo", "&Undo", "u"};
const TCommandNameRecord RedoCommand{"redo", "&Redo", "r"};
const TCommandNameRecord FilterCommand{"filter", "&Filter", "fi"};
const TCommandNameRecord ApplyCommand{"apply", "&Apply", "map"};

constexpr const char* NotAssigned = "<not assigned>";

std::string ObjectText(const TKovObject* object) {
    if (!object)
        return NotAssigned;
    const auto* accessor = TObjectAccessors::Instance().GetAccessorFor(object);
    return accessor ? accessor->ObjectToText(object) : object->Name();
}

bool IsAsciiLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

// The property of that name or alias, or nullptr.
TKovIntrinsicProperty* FindProperty(const TKovObservableObject& object, const std::string& name) {
    if (TKovIntrinsicProperty* property = object.GetIntrinsicPropertyByName(name))
        return property;
    const std::string master = TIPAliases::GetMaster(object, name);
    return master.empty() ? nullptr : object.GetIntrinsicPropertyByName(master);
}

// The text of a value given as a parameter: a text as it stands, anything else as written.
std::string ParameterValueText(const TCommandParameter& parameter) {
    if (const auto* text = dynamic_cast<const TComParText*>(&parameter))
        return text->Value();
    return parameter.AsText();
}

} // namespace

const IQuantityPresenter* PresenterFor(const TKovObject* object) {
    return TSystemOfUnitsQueryFunctionsRegistry::GetUnsafeSystemOfUnits(object);
}

std::string CheckNewObjectName(const TKovObject& object, const std::string& requested) {
    const std::string name = Trim(requested);
    if (name.empty())
        return Translate("Could not set the name because it is unspecified");
    if (!IsAsciiLetter(name[0]))
        return Translate("Could not set the name because it starts with an invalid character");
    if (!std::all_of(name.begin(), name.end(),
                     [](char c) { return IsAsciiLetter(c) || (c >= '0' && c <= '9'); }))
        return Translate("Could not set the name because it contains one or more invalid "
                         "characters");
    if (IsReservedWord(name))
        return Translate("Could not set the name to a reserved word");
    if (!IsValidName(name))
        return Translate("Could not set the name because it is invalid");
    if (object.ObjectManager()) {
        TKovObject* holder = object.ObjectManager()->ObjectRegistry().GetObject(name);
        if (holder && holder != &object)
            return Format(Translate("This name is already used by an object (%s)"),
                          ObjectText(holder));
    }
    return "";
}

// ---------------------------------------------------------------------------------------------

TOAKovObject::TOAKovObject(const TKovClass& servedClass) : TCustomObjectAccessor(servedClass) {
    AddCommand(EchoCommand, {}, &TOAKovObject::ComEcho);
    AddCommand(DumpCommand, {}, &TOAKovObject::ComDump);
    auto& commands = AddCommand(CommandsCommand, {}, &TOAKovObject::ComCommands);
    AddPattern(commands, {{TComParText::Class()}}, &TOAKovObject::ComCommands);
    AddCommand(RenameCommand, {{TComParOrIPText::Class()}}, &TOAKovObject::ComRename);
    AddCommand(SetCommand, {{TComParOrIPKovObject::Class()}}, &TOAKovObject::ComSet);
    auto& multiply =
        AddCommand(MultiplyCommand, {{TComParOrIPNumber::Class()}}, &TOAKovObject::ComMultiply);
    AddPattern(multiply, {{TComParOrIPTextSequence::Class(), TComParOrIPNumber::Class()}},
               &TOAKovObject::ComMultiply);
    AddCommand(InfoCommand, {}, &TOAKovObject::ComInfo);
    AddCommand(InspectCommand, {}, &TOAKovObject::ComInspect);
}

std::string TOAKovObject::GetCommandsCompatibleObjectName(const TKovObject& object) const {
    return object.Name();
}

std::string TOAKovObject::GetCommandsCompatibleObjectCaption(const TKovObject& object) const {
    return CommandsCompatibleName(object.Caption());
}

std::string TOAKovObject::ObjectToText(const TKovObject* object) const {
    return TBaseObjectAccessor::ObjectToText(object);
}

std::string TOAKovObject::UniqueIDToText(const TKovObject& object) const {
    return Format("UID=%s", object.UniqueID().ToString());
}

void TOAKovObject::ComEcho(TKovObject* object, const TCommandParameterList&, TCommandOutput& output,
                           bool) const {
    output.SetAdditionalInfo(ObjectToText(object));
    output.AddResultObject(object);
}

void TOAKovObject::ComDump(TKovObject* object, const TCommandParameterList&, TCommandOutput& output,
                           bool) const {
    output.AddAdditionalInfoLine(Format("%s, %s, IsFreed=%s", ObjectToText(object),
                                        UniqueIDToText(*object),
                                        object->IsFreed() ? "True" : "False"));
    if (const auto* observable = dynamic_cast<const TKovObservableObject*>(object))
        for (int i = 0; i < observable->IntrinsicPropertiesCount(); ++i) {
            const TKovIntrinsicProperty& property = *observable->GetIntrinsicProperty(i);
            output.AddAdditionalInfoLine(Format(
                "  %s = %s (%s%s)", property.Name(), property.ValueAsText(),
                property.GetObjectTypeName(), property.IsPublished() ? "" : ", not published"));
        }
}

void TOAKovObject::ComCommands(TKovObject* object, const TCommandParameterList& parameters,
                               TCommandOutput& output, bool predict) const {
    if (parameters.Empty()) {
        for (int i = 0; i < CommandCount(); ++i) {
            const TKovCommand& command = GetCommand(i);
            output.AddAdditionalInfoLine(
                command.ShortName().empty()
                    ? command.Name()
                    : Format("%s (%s)", command.Name(), command.ShortName()));
        }
        return;
    }
    const std::string name = static_cast<const TComParText&>(*parameters[0]).Value();
    TCommandErrorCode code;
    const TKovCommand* command = GetCommandByName(name, code);
    if (!command) {
        output.InitializeAsError(code, CommandErrorCodeText(code, name, ObjectToText(object)));
        return;
    }
    if (predict)
        return;
    for (int i = 0; i < command->GetSupportedPatternCount(); ++i)
        output.AddAdditionalInfoLine(
            Format("%s %s", command->Name(), command->GetSupportedPattern(i).AsText()));
}

void TOAKovObject::ComRename(TKovObject* object, const TCommandParameterList& parameters,
                             TCommandOutput& output, bool predict) const {
    const std::string name = Trim(TComParOrIPText::GetValue(*parameters[0]));
    const std::string problem = CheckNewObjectName(*object, name);
    if (!problem.empty()) {
        output.InitializeAsError(cecExecutionFailed, problem);
        return;
    }
    if (predict)
        return;
    const std::string oldName = object->Name();
    object->SetName(name);
    if (object->Name() != name) {
        output.InitializeAsError(cecExecutionFailed,
                                 Translate("Could not set the name because it is invalid"));
        return;
    }
    output.SetAdditionalInfo(Format(Translate("%s renamed to %s"), oldName, name));
    output.AddResultObject(object);
}

void TOAKovObject::ComSet(TKovObject* object, const TCommandParameterList& parameters,
                          TCommandOutput& output, bool predict) const {
    TKovObject* source = TComParOrIPKovObject::GetObject(*parameters[0]);
    if (!source) {
        output.InitializeAsError(cecExecutionFailed,
                                 Translate("Expected source object as parameter"));
        return;
    }
    if (source->IsFreedOrBeingDestroyed()) {
        output.InitializeAsError(
            cecExecutionFailed,
            Format(Translate("Cannot copy properties of %s from unassigned source"),
                   object->Name()));
        return;
    }
    if (!object->InheritsFrom(source->ClassType())) {
        output.InitializeAsError(cecExecutionFailed,
                                 Format(Translate("Cannot apply the properties of a %s to a %s"),
                                        source->GetObjectTypeName(), object->GetObjectTypeName()));
        return;
    }
    if (predict || source == object)
        return;
    if (auto* observable = dynamic_cast<TKovObservableObject*>(object))
        observable->CopyIntrinsicPropertiesFrom(static_cast<const TKovObservableObject&>(*source));
    else
        object->Assign(*source);
    output.AddResultObject(object);
}

void TOAKovObject::ComMultiply(TKovObject* object, const TCommandParameterList& parameters,
                               TCommandOutput& output, bool predict) const {
    const double factor = TComParOrIPNumber::GetValue(*parameters.Last());
    std::vector<std::string> names;
    for (int i = 0; i + 1 < parameters.Count(); ++i) {
        if (const auto* set = dynamic_cast<const TComParSetOfParameters_Input*>(parameters[i]))
            for (int k = 0; k < set->Count(); ++k)
                names.push_back(TComParOrIPText::GetValue(*set->GetItem(k)));
        else
            names.push_back(TComParOrIPText::GetValue(*parameters[i]));
    }
    auto cannot = [&] {
        output.InitializeAsError(cecExecutionFailed, Translate("Cannot multiply this property."));
    };
    auto multipliable = [](const TKovIntrinsicProperty* property) {
        return dynamic_cast<const TIPDouble*>(property) && !IsReadOnlyForCommands(*property);
    };

    std::vector<TIPDouble*> targets;
    if (auto* property = dynamic_cast<TKovIntrinsicProperty*>(object)) {
        if (!names.empty() || !multipliable(property))
            return cannot();
        targets.push_back(static_cast<TIPDouble*>(property));
    } else if (auto* observable = dynamic_cast<TKovObservableObject*>(object)) {
        if (names.empty()) {
            for (int i = 0; i < observable->IntrinsicPropertiesCount(); ++i) {
                TKovIntrinsicProperty* property = observable->GetIntrinsicProperty(i);
                // Derived values follow the stored ones they come from.
                if (property->IsPublished() && !property->IsDerived() && multipliable(property) &&
                    !TIPNonMultipliableRegistry::Instance().Contains(*property))
                    targets.push_back(static_cast<TIPDouble*>(property));
            }
        }
        for (const auto& name : names) {
            TKovIntrinsicProperty* property = FindProperty(*observable, name);
            if (!property) {
                output.InitializeAsError(cecExecutionFailed,
                                         Format(Translate("Unknown property: %s"), name));
                return;
            }
            if (!multipliable(property))
                return cannot();
            targets.push_back(static_cast<TIPDouble*>(property));
        }
    } else {
        return cannot();
    }
    if (predict)
        return;
    for (TIPDouble* target : targets)
        target->SetValue(target->Value() * factor);
    output.AddResultObject(object);
}

void TOAKovObject::ComInfo(TKovObject* object, const TCommandParameterList&, TCommandOutput& output,
                           bool) const {
    output.AddAdditionalInfoLine(object->GetObjectTypeName());
    output.AddAdditionalInfoLine(Translate("Commands: ") + CommandNamesText());
    AddInfo(*object, output);
}

void TOAKovObject::AddInfo(const TKovObject&, TCommandOutput&) const {}

void TOAKovObject::ComInspect(TKovObject* object, const TCommandParameterList&,
                              TCommandOutput& output, bool predict) const {
    if (predict)
        return;
    AddInspection(*object, output);
    output.AddResultObject(object);
}

void TOAKovObject::AddInspection(const TKovObject& object, TCommandOutput& output) const {
    output.AddAdditionalInfoLine(ObjectToText(&object));
    output.AddAdditionalInfoLine(UniqueIDToText(object));
}

// ---------------------------------------------------------------------------------------------

TOAKovObservableObject::TOAKovObservableObject(const TKovClass& servedClass)
    : TOAKovObject(servedClass) {
    AddCommand(SetPropertiesCommand, {{TComParKeyValuePairSequence::Class()}},
               &TOAKovObservableObject::ComSetProperties);
    AddCommand(GetMetadataCommand, {{TComParOrIPText::Class()}},
               &TOAKovObservableObject::ComGetMetadata);
    AddCommand(SetMetadataCommand, {{TComParOrIPText::Class(), TComParSimpleValue::Class()}},
               &TOAKovObservableObject::ComSetMetadata);
    AddCommand(ObserversCommand, {}, &TOAKovObservableObject::ComObservers);
}

int TOAKovObservableObject::IntrinsicPropertyCount(const TKovObject& object) const {
    const auto& observable = static_cast<const TKovObservableObject&>(object);
    int count = 0;
    for (int i = 0; i < observable.IntrinsicPropertiesCount(); ++i)
        count += observable.GetIntrinsicProperty(i)->IsPublished() ? 1 : 0;
    return count;
}

TKovIntrinsicProperty* TOAKovObservableObject::IntrinsicProperty(const TKovObject& object,
                                                                 int index) const {
    const auto& observable = static_cast<const TKovObservableObject&>(object);
    for (int i = 0; i < observable.IntrinsicPropertiesCount(); ++i) {
        TKovIntrinsicProperty* property = observable.GetIntrinsicProperty(i);
        if (property->IsPublished() && index-- == 0)
            return property;
    }
    return nullptr;
}

TKovObject* TOAKovObservableObject::FindMember(TKovObject& object, const std::string& name) const {
    if (TKovIntrinsicProperty* property =
            FindProperty(static_cast<TKovObservableObject&>(object), name))
        return property;
    for (int i = 0; i < SubgroupCount(object); ++i) {
        TKovObject* child = Subgroup(object, i);
        if (child && SameText(child->Name(), name))
            return child;
    }
    return nullptr;
}

void TOAKovObservableObject::AddInfo(const TKovObject& object, TCommandOutput& output) const {
    const auto& observable = static_cast<const TKovObservableObject&>(object);
    output.AddAdditionalInfoLine(Translate("Attributes"));
    for (int i = 0; i < IntrinsicPropertyCount(object); ++i) {
        const auto [name, value] =
            TOAKovIntrinsicProperty::ValueToTextPairs(*IntrinsicProperty(object, i));
        output.AddAdditionalInfoLine(Format("  %s: %s", name, value));
    }
    const std::string metadata = observable.Property<TIPText>("Metadata").Value();
    if (!metadata.empty()) {
        output.AddAdditionalInfoLine(Translate("Metadata"));
        for (const auto& entry : Split(metadata, '\x1F')) {
            const size_t equals = entry.find('=');
            if (equals != std::string::npos)
                output.AddAdditionalInfoLine(
                    Format("  %s: %s", entry.substr(0, equals), entry.substr(equals + 1)));
        }
    }
    if (const auto* parentable = dynamic_cast<const TKovParentableObject*>(&object))
        output.AddAdditionalInfoLine(
            Format("%s: %s", Translate("Parent"), ObjectText(parentable->Parent())));
    if (observable.HasUserFeatures()) {
        output.AddAdditionalInfoLine(Translate("Features"));
        const auto& features = observable.UserFeatures();
        for (int i = 0; i < features.Count(); ++i) {
            const auto* feature = dynamic_cast<const TKovObservableObject*>(features.GetItem(i));
            output.AddAdditionalInfoLine(Format("%s%s: %d", "  ",
                                                features.GetItem(i)->GetObjectTypeName(),
                                                feature ? feature->IntrinsicPropertiesCount() : 0));
        }
    }
}

void TOAKovObservableObject::AddInspection(const TKovObject& object, TCommandOutput& output) const {
    TOAKovObject::AddInspection(object, output);
    for (int i = 0; i < IntrinsicPropertyCount(object); ++i) {
        const TKovIntrinsicProperty& property = *IntrinsicProperty(object, i);
        output.AddAdditionalInfoLine(
            Format("  %s (%s): %s%s", property.Caption(), property.GetObjectTypeName(),
                   TOAKovIntrinsicProperty::ValueToPrettyText(property),
                   IsReadOnlyForCommands(property) ? Format(" [%s]", Translate("read-only")) : ""));
    }
}

void TOAKovObservableObject::ComSetProperties(TKovObject* object,
                                              const TCommandParameterList& parameters,
                                              TCommandOutput& output, bool predict) const {
    auto& observable = static_cast<TKovObservableObject&>(*object);
    TCommandParameterList matched;
    int position = 0;
    TComParKeyValuePairSequence::Class()->GetMatchedParameters(parameters, position, matched);

    struct TWrite {
        TKovIntrinsicProperty* Property;
        TKovCommand* Set;
        TCommandParameterList Value;
    };
    std::vector<TWrite> writes;
    for (const auto& pair : KeyValuePairsOf(matched)) {
        auto* property = dynamic_cast<TKovIntrinsicProperty*>(FindMember(observable, pair.Key));
        if (!property) {
            output.InitializeAsError(cecExecutionFailed,
                                     Format(Translate("Unknown property: %s"), pair.Key));
            return;
        }
        if (IsReadOnlyForCommands(*property)) {
            output.InitializeAsError(
                cecExecutionFailed,
                Format(Translate("Cannot set a read-only property: %s"), pair.Key));
            return;
        }
        const auto* accessor = TObjectAccessors::Instance().GetAccessorFor(property);
        TKovCommand* set = accessor ? accessor->Commands().GetByName("set") : nullptr;
        TCommandParameterList value;
        value.Add(pair.Value);
        if (!set || !set->HasPatternThatMatches(value) ||
            !set->PredictExecuteMaySucceed(property, value)) {
            output.InitializeAsError(cecExecutionFailed,
                                     Format(Translate("Incorrect new value for: %s"), pair.Key));
            return;
        }
        writes.push_back({property, set, std::move(value)});
    }
    for (size_t i = 0; i < writes.size(); ++i)
        for (size_t k = 0; k < i; ++k)
            if (writes[k].Property == writes[i].Property) {
                output.InitializeAsError(
                    cecExecutionFailed,
                    Format(Translate("Cannot set a property more than once: %s"),
                           writes[i].Property->Name()));
                return;
            }
    if (predict)
        return;
    std::stable_sort(writes.begin(), writes.end(), [&](const TWrite& a, const TWrite& b) {
        return PropertyWriteOrder(observable, *a.Property) <
               PropertyWriteOrder(observable, *b.Property);
    });
    // One undo step for all: the interpreter's snapshot, or this one when called directly. A
    // write that fails takes the earlier ones back with it.
    const bool opened =
        observable.BeginUndoSnapshot(Format("Set properties of %s", observable.Name()));
    bool written = true;
    try {
        for (auto& write : writes) {
            TCommandOutput one;
            if (!write.Set->Execute(write.Property, write.Value, one)) {
                output.InitializeAsError(
                    cecExecutionFailed,
                    Format(Translate("Cannot set property: %s"), write.Property->Name()));
                if (!one.AdditionalInfo().empty())
                    output.AddAdditionalInfoLine(one.AdditionalInfo());
                written = false;
                break;
            }
        }
    } catch (...) {
        if (opened)
            observable.EndUndoSnapshotWithRollback();
        throw;
    }
    if (opened) {
        if (written)
            observable.EndUndoSnapshot();
        else
            observable.EndUndoSnapshotWithRollback();
    }
    if (written)
        output.AddResultObject(object);
}

void TOAKovObservableObject::ComGetMetadata(TKovObject* object,
                                            const TCommandParameterList& parameters,
                                            TCommandOutput& output, bool) const {
    const auto& observable = static_cast<const TKovObservableObject&>(*object);
    const std::string value = observable.GetMetadata(TComParOrIPText::GetValue(*parameters[0]));
    output.SetAdditionalInfo(value);
    output.SetJSONObject(std::make_unique<TCDSimpleValue>(value));
}

void TOAKovObservableObject::ComSetMetadata(TKovObject* object,
                                            const TCommandParameterList& parameters,
                                            TCommandOutput& output, bool predict) const {
    const std::string key = TComParOrIPText::GetValue(*parameters[0]);
    if (Trim(key).empty() || key.find('=') != std::string::npos ||
        key.find('\x1F') != std::string::npos) {
        output.InitializeAsError(cecExecutionFailed,
                                 Format(Translate("Invalid metadata key: \"%s\""), key));
        return;
    }
    if (predict)
        return;
    static_cast<TKovObservableObject&>(*object).SetMetadata(key,
                                                            ParameterValueText(*parameters[1]));
}

void TOAKovObservableObject::ComObservers(TKovObject* object, const TCommandParameterList&,
                                          TCommandOutput& output, bool) const {
    auto& observable = static_cast<TKovObservableObject&>(*object);
    output.SetAdditionalInfo(Format("%s: %d observers", observable.Name(),
                                    static_cast<int>(observable.Observable().ObserverCount())));
}

// ---------------------------------------------------------------------------------------------

TOAKovObservableObjectWithRevert::TOAKovObservableObjectWithRevert(const TKovClass& servedClass)
    : TOAKovObservableObject(servedClass) {
    auto& undo = AddCommand(UndoCommand, {}, &TOAKovObservableObjectWithRevert::ComUndo);
    AddPattern(undo, {{TComParInteger::Class()}}, &TOAKovObservableObjectWithRevert::ComUndo);
    undo.SetRunsOutsideUndoSnapshot(true);
    auto& redo = AddCommand(RedoCommand, {}, &TOAKovObservableObjectWithRevert::ComRedo);
    AddPattern(redo, {{TComParInteger::Class()}}, &TOAKovObservableObjectWithRevert::ComRedo);
    redo.SetRunsOutsideUndoSnapshot(true);
}

void TOAKovObservableObjectWithRevert::ComUndo(TKovObject* object,
                                               const TCommandParameterList& parameters,
                                               TCommandOutput& output, bool predict) const {
    Revert(object, parameters, output, predict, false);
}

void TOAKovObservableObjectWithRevert::ComRedo(TKovObject* object,
                                               const TCommandParameterList& parameters,
                                               TCommandOutput& output, bool predict) const {
    Revert(object, parameters, output, predict, true);
}

void TOAKovObservableObjectWithRevert::Revert(TKovObject* object,
                                              const TCommandParameterList& parameters,
                                              TCommandOutput& output, bool predict,
                                              bool redo) const {
    TKovObjectManager* manager = object->ObjectManager();
    const int count =
        parameters.Empty() ? 1 : static_cast<const TComParInteger&>(*parameters[0]).Value();
    if (!manager || count < 1) {
        output.InitializeAsError(cecExecutionFailed,
                                 Format(Translate("Invalid number of steps: %d"), count));
        return;
    }
    if (manager->IsUndoRedoSnapshotOpened()) {
        output.InitializeAsError(cecExecutionFailed,
                                 Translate("Cannot undo or redo while a change is being recorded"));
        return;
    }
    const int available = redo ? manager->RedoCount() : manager->UndoCount();
    if (available == 0) {
        output.InitializeAsError(cecExecutionFailed,
                                 Translate(redo ? "Nothing to redo" : "Nothing to undo"));
        return;
    }
    if (predict)
        return;
    for (int i = 0; i < count && (redo ? manager->RedoCount() : manager->UndoCount()) > 0; ++i) {
        const std::string caption = redo ? manager->GetRedoName(0) : manager->GetUndoName(0);
        if (redo)
            manager->Redo();
        else
            manager->Undo();
        output.AddAdditionalInfoLine(
            Format(Translate(redo ? "Redone: %s" : "Undone: %s"), caption));
    }
}

// ---------------------------------------------------------------------------------------------

TOAKovObjectList::TOAKovObjectList(const TKovClass& servedClass) : TOAKovObject(servedClass) {
    AddCommand(FilterCommand, {{TComParText::Class(), TComParGreedyMatchEverything::Class()}},
               &TOAKovObjectList::ComFilter);
    auto& apply = AddCommand(ApplyCommand, {{TComParText::Class()}}, &TOAKovObjectList::ComApply);
    AddPattern(apply, {{TComParText::Class(), TComParGreedyMatchEverything::Class()}},
               &TOAKovObjectList::ComApply);
}

void TOAKovObjectList::ComFilter(TKovObject* object, const TCommandParameterList& parameters,
                                 TCommandOutput& output, bool predict) const {
    const auto& list = static_cast<const TKovObjectList&>(*object);
    const std::string& name = static_cast<const TComParText&>(*parameters[0]).Value();
    const TKovObjectFilter_Virtual* filter = TKovObjectFilterRegistry::Instance().Find(name);
    if (!filter) {
        output.InitializeAsError(cecExecutionFailed, Format(Translate("Unknown filter: %s"), name));
        return;
    }
    TCommandParameterList arguments(parameters);
    arguments.Delete(0);
    const std::string problem = filter->Validate(arguments);
    if (!problem.empty()) {
        output.InitializeAsError(cecExecutionFailed, problem);
        return;
    }
    if (predict)
        return;
    std::vector<TKovObject*> passed;
    for (TKovObject* item : list.Items())
        if (item && filter->Matches(*item, arguments))
            passed.push_back(item);
    output.AddAdditionalInfoLine(
        Format("%s: %d", Translate("Count"), static_cast<int>(passed.size())));
    for (size_t i = 0; i < passed.size(); ++i) {
        output.AddResultObject(passed[i]);
        output.AddAdditionalInfoLine(Format("%d/%d. %s", static_cast<int>(i) + 1,
                                            static_cast<int>(passed.size()),
                                            ObjectText(passed[i])));
    }
}

void TOAKovObjectList::ComApply(TKovObject* object, const TCommandParameterList& parameters,
                                TCommandOutput& output, bool predict) const {
    const auto& list = static_cast<const TKovObjectList&>(*object);
    TCommandParameterList arguments(parameters);
    arguments.Delete(0);
    TMultiObjectParamCommandHandler::Execute(
        list.Items(), static_cast<const TComParText&>(*parameters[0]).Value(), arguments, output,
        predict);
}

void TOAKovObjectList::AddInfo(const TKovObject& object, TCommandOutput& output) const {
    const auto& list = static_cast<const TKovObjectList&>(object);
    output.AddAdditionalInfoLine(
        Format("%s: %s", Translate("Owns objects"), list.OwnsObjects() ? "True" : "False"));
    output.AddAdditionalInfoLine(Format("%s: %d", Translate("Count"), list.Count()));
    for (int i = 0; i < list.Count(); ++i)
        output.AddAdditionalInfoLine(
            Format("%d/%d. %s", i + 1, list.Count(), ObjectText(list.GetItemOrNull(i))));
}

TOAKovObservableObjectList::TOAKovObservableObjectList()
    : TOAKovObjectList(TKovObservableObjectList::StaticClass()) {}

void RegisterKovObjectAccessors(TObjectAccessors& registry) {
    registry.RegisterAccessor(std::make_unique<TOAKovObject>());
    registry.RegisterAccessor(std::make_unique<TOAKovObservableObject>());
    registry.RegisterAccessor(std::make_unique<TOAKovObjectList>());
    registry.RegisterAccessor(std::make_unique<TOAKovObservableObjectList>());
}

} // namespace tw
