#include "storage/KovPersisters.h"

#include "objects/ClassObjectAssociations.h"
#include "objects/IntrinsicPropertyKinds.h"
#include "objects/KovObjectLists.h"
#include "services/Format.h"
#include "services/Strings.h"
#include "storage/ApplicationVersion.h"
#include "units/IPSystemOfUnits.h"

#include <cstring>
#include <limits>

namespace tw {

// ---------------------------------------------------------------------------------------------
// Old property names

THPPropertyNameMappings& THPPropertyNameMappings::Instance() {
    static THPPropertyNameMappings mappings;
    return mappings;
}

void THPPropertyNameMappings::Add(const TKovClass& cls, const std::string& oldName,
                                  const std::string& newName) {
    auto& pairs = FMappings[&cls];
    for (const auto& [old, renamed] : pairs)
        if (SameText(old, oldName))
            throw EHierarchicPersisterException(
                Format("Cannot add two mappings for the same OldName: %s", oldName));
    pairs.emplace_back(oldName, newName);
}

void THPPropertyNameMappings::Remove(const TKovClass& cls) {
    FMappings.erase(&cls);
}

std::vector<std::string> THPPropertyNameMappings::OldNamesOf(const TKovClass& cls,
                                                             const std::string& newName) const {
    std::vector<std::string> names;
    for (const TKovClass* c = &cls; c; c = c->Parent())
        if (auto it = FMappings.find(c); it != FMappings.end())
            for (const auto& [old, renamed] : it->second)
                if (SameText(renamed, newName))
                    names.push_back(old);
    return names;
}

// ---------------------------------------------------------------------------------------------
// THPKovObject

namespace {
std::string GuidText(const TUniqueID& id) {
    return id.IsEmpty() ? "" : id.ToString();
}

// Reads a GUID from text: empty (or "{}") is the empty GUID; false for anything else.
bool ReadGuid(const std::string& text, TUniqueID& id) {
    if (text.empty() || text == "{}") {
        id = TUniqueID::Empty();
        return true;
    }
    return TUniqueID::TryParse(text, id);
}

THPLoadSession& Session() {
    // Persisters only load inside a session: LoadObjectDirectlyFromStorage opens one if needed.
    return *THPLoadSession::Current();
}
} // namespace

const TKovClass& THPKovObject::SupportedClass() const {
    return TKovObject::StaticClass();
}

void THPKovObject::DoPersistObject(TKovObject& object, THierarchicStorage& storage) {
    storage.SetNamedValue(
        "ID", THierarchicPersisters::AnonymousMode() ? "{}" : object.UniqueID().ToString());
    storage.SetNamedValue("Name", object.Name());
    if (NeedsVersion(object))
        storage.SetNamedValue("Version", TApplicationVersion::Running().ToString());
}

void THPKovObject::DoLoadObject(TKovObject& object, THierarchicStorage& storage,
                                THPReadErrorList* errors) {
    const std::string idText = storage.GetNamedValue("ID");
    TUniqueID id;
    if (!ReadGuid(idText, id))
        ReportReadProblem(errors, hresWarning,
                          Format("Invalid identity \"%s\" of %s", idText, storage.Name()), &object);
    else if (!id.IsEmpty())
        Session().SetIdentity(object, id);
    if (LoadsName()) {
        const std::string name = storage.GetNamedValue("Name");
        if (!name.empty())
            Session().SetName(object, name);
    }
    // Only a read without earlier problems checks the version.
    if (!NeedsVersion(object) || (errors && !errors->Empty()))
        return;
    const std::string text = storage.GetNamedValue("Version");
    TApplicationVersion version; // empty: the oldest
    if (text.empty() || !TApplicationVersion::Parse(text, version))
        return;
    const TApplicationVersion running = TApplicationVersion::Running();
    if (version > running)
        ReportReadProblem(errors, hresError,
                          Format("%s's version (%s) is newer than the current (%s) and cannot be "
                                 "loaded. The project file is not compatible with this application "
                                 "version.",
                                 object.ClassType().Name(), version.ToString(), running.ToString()),
                          &object);
}

int THPKovFallbackPersister::GetSupportLevel(const TKovClass&) const {
    return std::numeric_limits<int>::max() / 2;
}

// ---------------------------------------------------------------------------------------------
// Lists

const TKovClass& THPKovObjectList::SupportedClass() const {
    return TKovObjectList::StaticClass();
}
const TKovClass& THPKovReferenceList::SupportedClass() const {
    return TKovReferenceList::StaticClass();
}
const TKovClass& THPKovUserFeatureList::SupportedClass() const {
    return TKovUserFeatureList::StaticClass();
}

void THPKovObjectList::DoPersistObject(TKovObject& object, THierarchicStorage& storage) {
    THPKovObject::DoPersistObject(object, storage);
    auto& list = static_cast<TKovObjectList&>(object);
    auto& persisters = THierarchicPersisters::Instance();
    for (int i = 0; i < list.Count(); ++i) {
        TKovObject* item = list.GetItemOrNull(i);
        if (!list.OwnsObjects()) {
            storage.AddChild("ItemID").SetValueAsString(
                GuidText(TKovObject::GetGUIDOrEmptyGUID(item)));
        } else if (!item) {
            storage.AddChild("__nil__");
        } else {
            THPObject* persister = persisters.GetPersisterFor(item);
            if (!persister)
                throw EHierarchicPersisterException(
                    Format("Unknown persister for object at %d", i));
            persister->PersistObjectInSubStorage(*item, storage);
        }
    }
}

void THPKovObjectList::DoLoadObject(TKovObject& object, THierarchicStorage& storage,
                                    THPReadErrorList* errors) {
    THPKovObject::DoLoadObject(object, storage, errors);
    auto& list = static_cast<TKovObjectList&>(object);
    list.Clear();
    if (!list.OwnsObjects()) {
        std::vector<TUniqueID> ids;
        for (int i = 0; i < storage.ChildCount(); ++i) {
            TUniqueID id;
            if (ReadGuid(storage.GetChildByIndex(i).GetValueAsString(), id) && !id.IsEmpty())
                ids.push_back(id);
        }
        Session().SetListItems(list, std::move(ids));
        return;
    }
    auto& classes = TKovObjectClassRegistry::Instance();
    auto& persisters = THierarchicPersisters::Instance();
    for (int i = 0; i < storage.ChildCount(); ++i) {
        THierarchicStorage& child = storage.GetChildByIndex(i);
        const std::string typeName = child.Name();
        if (SameText(typeName, "__nil__")) {
            list.Add(nullptr);
            continue;
        }
        const TKovClass* cls = classes.GetClassByTypeName(typeName);
        if (!cls || !cls->CanCreate()) {
            if (!errors)
                throw EHierarchicPersisterException(
                    Format("Unknown object type in %s: %s. Perhaps the class was not registered "
                           "or the appropriate unit was not included in the executable?",
                           storage.Name(), typeName));
            errors->AddError(hresWarning, Format("Encountered unknown object type: %s.", typeName),
                             list.Name(), &list);
            continue;
        }
        std::unique_ptr<TKovObject> item = cls->Create(list.ObjectManager());
        persisters.PersisterFor(*item).LoadObjectDirectlyFromStorage(*item, child, errors);
        list.Add(item.release());
    }
}

void THPKovObjectList::DoCommitLoadedObject(TKovObject& target, TKovObject& loaded) {
    auto& into = static_cast<TKovObjectList&>(target);
    auto& from = static_cast<TKovObjectList&>(loaded);
    if (!into.OwnsObjects() || !from.OwnsObjects())
        return; // the stored identities follow through the session
    into.Clear();
    const std::vector<TKovObject*> items = from.Items();
    for (TKovObject* item : items)
        if (item)
            from.Extract(item);
    from.Clear();
    for (TKovObject* item : items)
        into.Add(item);
}

// ---------------------------------------------------------------------------------------------
// Observable and parentable objects

const TKovClass& THPKovObservableObject::SupportedClass() const {
    return TKovObservableObject::StaticClass();
}

bool THPKovObservableObject::PersistThisProperty(const TKovIntrinsicProperty& property) const {
    return !property.IsDerived();
}

void THPKovObservableObject::AddAdditionalObjects(TKovObject& object,
                                                  TAdditionalPersistObjects& list) {
    auto& observable = static_cast<TKovObservableObject&>(object);
    auto& mappings = THPPropertyNameMappings::Instance();
    const int count = observable.IntrinsicPropertiesCount();
    for (int i = 0; i < count; ++i) {
        TKovIntrinsicProperty* property = observable.GetIntrinsicProperty(i);
        if (!property || !PersistThisProperty(*property))
            continue;
        TAdditionalPersister& entry =
            list.Add(property->CleanName(), property, false, property->IsEmpty());
        entry.FAlternativeStorageNames =
            mappings.OldNamesOf(object.ClassType(), property->CleanName());
    }
    TKovUserFeatureList& features = observable.UserFeatures();
    list.Add("UserFeatures", &features, false, features.Count() == 0);
}

void THPKovObservableObject::HandleNotFoundAdditionalObjectsSubStorageFor(
    TKovObject& object, TAdditionalPersister& entry, THierarchicStorage&,
    THPReadErrorList* errors) {
    auto* property = dynamic_cast<TKovIntrinsicProperty*>(entry.FObject);
    if (!errors || !property || entry.FIsEmptyAndShouldNotBeWritten)
        return;
    errors->AddError(hresInfo,
                     Format("Data for new property \"%s\" not found. The default value has been "
                            "set.",
                            property->Name()),
                     &object, property);
}

void THPKovObservableObject::DoCommitLoadedObject(TKovObject& target, TKovObject& loaded) {
    auto& observable = static_cast<TKovObservableObject&>(target);
    observable.BeginUpdate();
    try {
        target.Assign(loaded);
    } catch (...) {
        observable.EndUpdate();
        throw;
    }
    observable.EndUpdate();
}

void THPKovObservableObject::PostLoad(TKovObject& object, THPReadErrorList*) {
    auto& observable = static_cast<TKovObservableObject&>(object);
    if (!observable.HasUserFeatures())
        return;
    TKovUserFeatureList& features = observable.UserFeatures();
    for (int i = 0; i < features.Count(); ++i)
        if (auto* parentable = dynamic_cast<TKovParentableObject*>(features.GetItemOrNull(i)))
            parentable->SetParent(&object);
}

const TKovClass& THPKovParentableObject::SupportedClass() const {
    return TKovParentableObject::StaticClass();
}

void THPKovParentableObject::DoPersistObject(TKovObject& object, THierarchicStorage& storage) {
    THPKovObservableObject::DoPersistObject(object, storage);
    const TUniqueID& parent = static_cast<TKovParentableObject&>(object).ParentID();
    if (!parent.IsEmpty())
        storage.SetNamedValue("ParentId", parent.ToString());
}

void THPKovParentableObject::DoLoadObject(TKovObject& object, THierarchicStorage& storage,
                                          THPReadErrorList* errors) {
    THPKovObservableObject::DoLoadObject(object, storage, errors);
    const std::string text = storage.GetNamedValue("ParentId");
    TUniqueID parent;
    if (!ReadGuid(text, parent))
        ReportReadProblem(errors, hresWarning,
                          Format("Invalid parent \"%s\" of %s", text, object.Name()), &object);
    else
        Session().SetParent(static_cast<TKovParentableObject&>(object), parent);
}

// ---------------------------------------------------------------------------------------------
// Properties

const TKovClass& THPIntrinsicProperty::SupportedClass() const {
    return TKovIntrinsicProperty::StaticClass();
}

void THPIntrinsicProperty::Report(THPReadErrorList* errors, TKovIntrinsicProperty& property,
                                  const std::string& text) {
    ReportReadProblem(errors, hresWarning, text, property.Owner(), &property);
}

void THPIntrinsicProperty::DoPersistObject(TKovObject& object, THierarchicStorage& storage) {
    THPKovObject::DoPersistObject(object, storage);
    WriteValue(*static_cast<TKovIntrinsicProperty&>(object).GetStaticEquivalent(), storage);
}

void THPIntrinsicProperty::DoLoadObject(TKovObject& object, THierarchicStorage& storage,
                                        THPReadErrorList* errors) {
    THPKovObject::DoLoadObject(object, storage, errors);
    auto& property = static_cast<TKovIntrinsicProperty&>(object);
    try {
        ReadValue(property, storage, errors);
    } catch (const EIntrinsicPropertyException& e) {
        // The property refused the value (a limit, a disabled value): it keeps its own.
        Report(errors, property,
               Format("The value of %s could not be set: %s", property.Name(), e.what()));
    }
}

void THPIntrinsicProperty::DoCommitLoadedObject(TKovObject& target, TKovObject& loaded) {
    target.Assign(loaded);
}

void THPIntrinsicProperty::WriteValue(const TKovIntrinsicProperty& property,
                                      THierarchicStorage& storage) {
    TVarRec value;
    if (!property.SaveValue(value))
        return;
    std::visit(
        [&](const auto& v) {
            using V = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<V, int32_t>)
                storage.SetValueAsInt32(v);
            else if constexpr (std::is_same_v<V, bool>)
                storage.SetValueAsBoolean(v);
            else if constexpr (std::is_same_v<V, double>)
                storage.SetValueAsDouble(v);
            else if constexpr (std::is_same_v<V, std::string>)
                storage.SetValueAsString(v);
            else
                storage.SetValueAsString(GuidText(TKovObject::GetGUIDOrEmptyGUID(v)));
        },
        value);
}

// The node holds no type in XML: the kind of the property's own record says how to read it.
void THPIntrinsicProperty::ReadValue(TKovIntrinsicProperty& property, THierarchicStorage& storage,
                                     THPReadErrorList* errors) {
    TVarRec current;
    if (!property.SaveValue(current))
        return;
    TVarRec read = std::visit(
        [&](const auto& v) -> TVarRec {
            using V = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<V, int32_t>)
                return storage.GetValueAsInt32(v);
            else if constexpr (std::is_same_v<V, bool>)
                return storage.GetValueAsBoolean(v);
            else if constexpr (std::is_same_v<V, double>)
                return storage.GetValueAsDouble(v);
            else if constexpr (std::is_same_v<V, std::string>)
                return storage.GetValueAsString(v);
            else
                return v;
        },
        current);
    if (!property.LoadValue(read))
        Report(errors, property, Format("%s does not take the value read", property.Name()));
}

#define TW_PROPERTY_CLASS(Persister, Property)                                                     \
    const TKovClass& Persister::SupportedClass() const {                                           \
        return Property::StaticClass();                                                            \
    }

TW_PROPERTY_CLASS(THPIPBoolean, TIPBoolean)
TW_PROPERTY_CLASS(THPIPInteger, TIPInteger)
TW_PROPERTY_CLASS(THPIPDouble, TIPDouble)
TW_PROPERTY_CLASS(THPIPText, TIPText)
TW_PROPERTY_CLASS(THPIPKovObject, TIPKovObject)
TW_PROPERTY_CLASS(THPIPEnumeration, TIPEnumeration)
TW_PROPERTY_CLASS(THPIPTable, TIPTable)
TW_PROPERTY_CLASS(THPIPBlob, TIPBlob)
TW_PROPERTY_CLASS(THPSystemOfUnits, TIPSystemOfUnits)
TW_PROPERTY_CLASS(THPLegacyConversionIPDoubleWithUnit, TIPDoubleWithUnit)

#undef TW_PROPERTY_CLASS

void THPIPBoolean::WriteValue(const TKovIntrinsicProperty& property, THierarchicStorage& storage) {
    storage.SetValueAsBoolean(static_cast<const TIPBoolean&>(property).Value());
}
void THPIPBoolean::ReadValue(TKovIntrinsicProperty& property, THierarchicStorage& storage,
                             THPReadErrorList*) {
    auto& p = static_cast<TIPBoolean&>(property);
    p.SetValue(storage.GetValueAsBoolean(p.Value()));
}

void THPIPInteger::WriteValue(const TKovIntrinsicProperty& property, THierarchicStorage& storage) {
    storage.SetValueAsInt32(static_cast<const TIPInteger&>(property).Value());
}
void THPIPInteger::ReadValue(TKovIntrinsicProperty& property, THierarchicStorage& storage,
                             THPReadErrorList*) {
    auto& p = static_cast<TIPInteger&>(property);
    p.SetValue(storage.GetValueAsInt32(p.Value()));
}

void THPIPDouble::WriteValue(const TKovIntrinsicProperty& property, THierarchicStorage& storage) {
    storage.SetValueAsDouble(static_cast<const TIPDouble&>(property).Value());
}
void THPIPDouble::ReadValue(TKovIntrinsicProperty& property, THierarchicStorage& storage,
                            THPReadErrorList*) {
    auto& p = static_cast<TIPDouble&>(property);
    p.SetValue(storage.GetValueAsDouble(p.Value()));
}

void THPIPText::WriteValue(const TKovIntrinsicProperty& property, THierarchicStorage& storage) {
    storage.SetValueAsString(static_cast<const TIPText&>(property).Value());
}
void THPIPText::ReadValue(TKovIntrinsicProperty& property, THierarchicStorage& storage,
                          THPReadErrorList*) {
    auto& p = static_cast<TIPText&>(property);
    p.SetValue(storage.GetValueAsString(p.Value()));
}

void THPIPKovObject::WriteValue(const TKovIntrinsicProperty& property,
                                THierarchicStorage& storage) {
    storage.SetValueAsString(GuidText(static_cast<const TIPKovObject&>(property).ObjectID()));
}
void THPIPKovObject::ReadValue(TKovIntrinsicProperty& property, THierarchicStorage& storage,
                               THPReadErrorList* errors) {
    auto& p = static_cast<TIPKovObject&>(property);
    const std::string text = storage.GetValueAsString();
    TUniqueID id;
    if (!ReadGuid(text, id)) {
        Report(errors, p, Format("Invalid reference \"%s\" in %s", text, p.Name()));
        return;
    }
    p.SetObjectID(id);
}

void THPIPEnumeration::WriteValue(const TKovIntrinsicProperty& property,
                                  THierarchicStorage& storage) {
    const auto& p = static_cast<const TIPEnumeration&>(property);
    storage.AddChild("IntegerValue").SetValueAsInt32(p.IntValue());
    storage.AddChild("TextValue").SetValueAsString(p.StrValueOriginal());
}
void THPIPEnumeration::ReadValue(TKovIntrinsicProperty& property, THierarchicStorage& storage,
                                 THPReadErrorList* errors) {
    auto& p = static_cast<TIPEnumeration&>(property);
    const THierarchicStorage* integerNode = storage.GetChildByName("IntegerValue");
    const THierarchicStorage* textNode = storage.GetChildByName("TextValue");
    const int32_t number = integerNode ? integerNode->GetValueAsInt32(-1) : -1;
    const std::string text = textNode ? textNode->GetValueAsString() : "";
    if (!text.empty() && p.GetStrValueAsIndexIfValid(text) >= 0)
        p.SetStrValue(text);
    else if (number >= 0 && number < p.Count())
        p.SetIntValue(number);
    else if (integerNode || textNode)
        Report(errors, p, Format("Invalid value \"%s\" (%d) for %s", text, number, p.Name()));
}

void THPIPTable::WriteValue(const TKovIntrinsicProperty& property, THierarchicStorage& storage) {
    const auto& p = static_cast<const TIPTable&>(property);
    storage.SetNamedValue("ColCount", std::to_string(p.ColCount()));
    const std::vector<double> values = p.GetValues();
    if (storage.LikesBlobs()) {
        storage.SetValueAsBlobBuffer(values.data(), values.size() * sizeof(double));
        return;
    }
    std::string text;
    for (double value : values) {
        if (!text.empty())
            text += ' ';
        text += THierarchicStorage::DoubleToStorageString(value);
    }
    storage.SetValueAsString(text);
}
void THPIPTable::ReadValue(TKovIntrinsicProperty& property, THierarchicStorage& storage,
                           THPReadErrorList* errors) {
    auto& p = static_cast<TIPTable&>(property);
    int columns;
    if (!TryStrToInt(storage.GetNamedValue("ColCount", "1"), columns) || columns < 1) {
        Report(errors, p, Format("Invalid column count of %s", p.Name()));
        return;
    }
    std::vector<double> values;
    if (storage.ValueType() == svtBlob) {
        const std::vector<uint8_t> bytes = storage.GetValueAsBlobBuffer();
        values.resize(bytes.size() / sizeof(double));
        if (!values.empty())
            std::memcpy(values.data(), bytes.data(), values.size() * sizeof(double));
    } else {
        for (const std::string& word : Split(storage.GetValueAsString(), ' ')) {
            if (word.empty())
                continue;
            double value;
            if (!TryStrToFloat(word, value)) {
                Report(errors, p, Format("Invalid number \"%s\" in %s", word, p.Name()));
                return;
            }
            values.push_back(value);
        }
    }
    p.SetColCount(columns);
    p.SetValues(values);
}

void THPIPBlob::WriteValue(const TKovIntrinsicProperty& property, THierarchicStorage& storage) {
    const auto& bytes = static_cast<const TIPBlob&>(property).Value();
    storage.SetValueAsBlobBuffer(bytes.data(), bytes.size());
}
void THPIPBlob::ReadValue(TKovIntrinsicProperty& property, THierarchicStorage& storage,
                          THPReadErrorList*) {
    if (storage.ValueType() == svtBlob)
        static_cast<TIPBlob&>(property).SetValue(storage.GetValueAsBlobBuffer());
}

void THPSystemOfUnits::WriteValue(const TKovIntrinsicProperty& property,
                                  THierarchicStorage& storage) {
    for (const TSimpleUnit* unit :
         static_cast<const TIPSystemOfUnits&>(property).Value().SimpleUnits())
        storage.AddChild(unit->Name()).SetValueAsString(unit->PresentationUnit());
}
void THPSystemOfUnits::ReadValue(TKovIntrinsicProperty& property, THierarchicStorage& storage,
                                 THPReadErrorList* errors) {
    auto& p = static_cast<TIPSystemOfUnits&>(property);
    TSystemOfUnits units(p.Value());
    for (TSimpleUnit* unit : units.SimpleUnits()) {
        const THierarchicStorage* node = storage.GetChildByName(unit->Name());
        if (!node)
            continue;
        try {
            unit->SetPresentationUnit(node->GetValueAsString());
        } catch (const EKovException& e) {
            Report(errors, p, e.what());
        }
    }
    p.SetValue(units);
}

void THPLegacyConversionIPDoubleWithUnit::ReadValue(TKovIntrinsicProperty& property,
                                                    THierarchicStorage& storage,
                                                    THPReadErrorList*) {
    auto& p = static_cast<TIPDoubleWithUnit&>(property);
    const double current = p.GetPresentationValue(FSystemOfUnits);
    p.SetPresentationValue(FSystemOfUnits, storage.GetValueAsDouble(current));
}

// ---------------------------------------------------------------------------------------------

void RegisterKovPersisters(THierarchicPersisters& persisters) {
    persisters.RegisterPersister(std::make_unique<THPKovFallbackPersister>());
    persisters.RegisterPersister(std::make_unique<THPKovObject>());
    persisters.RegisterPersister(std::make_unique<THPKovObjectList>());
    persisters.RegisterPersister(std::make_unique<THPKovReferenceList>());
    persisters.RegisterPersister(std::make_unique<THPKovUserFeatureList>());
    persisters.RegisterPersister(std::make_unique<THPKovObservableObject>());
    persisters.RegisterPersister(std::make_unique<THPKovParentableObject>());
    persisters.RegisterPersister(std::make_unique<THPIntrinsicProperty>());
    persisters.RegisterPersister(std::make_unique<THPIPBoolean>());
    persisters.RegisterPersister(std::make_unique<THPIPInteger>());
    persisters.RegisterPersister(std::make_unique<THPIPDouble>());
    persisters.RegisterPersister(std::make_unique<THPIPText>());
    persisters.RegisterPersister(std::make_unique<THPIPKovObject>());
    persisters.RegisterPersister(std::make_unique<THPIPEnumeration>());
    persisters.RegisterPersister(std::make_unique<THPIPTable>());
    persisters.RegisterPersister(std::make_unique<THPIPBlob>());
    persisters.RegisterPersister(std::make_unique<THPSystemOfUnits>());
}

} // namespace tw
