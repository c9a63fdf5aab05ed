#include "objects/KovBaseClasses.h"
#include "objects/IntrinsicPropertyDerivedKinds.h"
#include "objects/IntrinsicPropertyList.h"
#include "objects/RevertStacks.h"
#include "objects/UpdateBracket.h"

#include "objects/IntrinsicProperty.h"
#include "objects/IntrinsicPropertyKinds.h"
#include "objects/IntrinsicPropertyRegistries.h"
#include "objects/KovObjectLists.h"
#include "objects/NameTools.h"
#include "objects/ObjectManager.h"
#include "services/Strings.h"

#include <algorithm>
#include <fstream>

namespace tw {

// ---------------------------------------------------------------------------------------------
// TKovClass

TKovClass::TKovClass(const char* name, const TKovClass* parent, TFactory factory, TDeclare declare,
                     TCreate create, TCreateProperty createProperty)
    : FName(name), FParent(parent), FFactory(factory), FDeclare(declare), FCreate(create),
      FCreateProperty(createProperty) {}

TKovClass::~TKovClass() {
    delete FDeclarations.load();
}

const std::string& TKovClass::TypeName() const {
    std::call_once(FTypeNameOnce, [this] {
        if (FFactory) {
            std::unique_ptr<TKovObject> blank(FFactory());
            FTypeName = blank->GetObjectTypeName();
        } else {
            FTypeName = TypeNameFromClassName(FName);
        }
    });
    return FTypeName;
}

int TKovClass::InheritanceDistance(const TKovClass& ancestor) const {
    int distance = 0;
    for (const TKovClass* c = this; c; c = c->FParent, ++distance)
        if (c == &ancestor)
            return distance;
    return -1;
}

TKovObject* TKovClass::CreateBlank() const {
    if (!FFactory)
        throw EKovObjectException(Format("Cannot create an instance of abstract class %s", FName));
    return FFactory();
}

std::unique_ptr<TKovObject> TKovClass::Create(TKovObjectManager* manager) const {
    if (!FCreate)
        throw EKovObjectException(Format("Cannot create an instance of class %s", FName));
    return std::unique_ptr<TKovObject>(FCreate(manager));
}

TKovIntrinsicProperty*
TKovClass::CreateProperty(TKovObservableObject* owner,
                          const TKovIntrinsicPropertyDeclaration* declaration) const {
    if (!FCreateProperty)
        throw EKovObjectException(Format("Class %s is no intrinsic property class", FName));
    return FCreateProperty(owner, declaration);
}

TKovIntrinsicPropertyDeclarationList& TKovClass::Declarations() const {
    if (TKovIntrinsicPropertyDeclarationList* built = FDeclarations.load(std::memory_order_acquire))
        return *built;
    // The parent's list is built first, under its own lock; no lock is held across classes in
    // the other direction, so two threads building related classes can't deadlock.
    const TKovIntrinsicPropertyDeclarationList* inherited =
        FParent ? &FParent->Declarations() : nullptr;
    std::lock_guard lock(FDeclarationsMutex);
    if (TKovIntrinsicPropertyDeclarationList* built = FDeclarations.load())
        return *built;
    auto list = std::make_unique<TKovIntrinsicPropertyDeclarationList>(this);
    if (inherited)
        for (int i = 0; i < inherited->Count(); ++i)
            list->Add((*inherited)[i].Clone());
    if (FDeclare)
        FDeclare(*list);
    if (TIntrPropDeclarationsModifier* modifier =
            TIntrPropDeclarationModifiers::Instance().GetModifierFor(*this))
        modifier->Modify(*list);
    list->CheckUnique();
    FDeclarations.store(list.release(), std::memory_order_release);
    return *FDeclarations.load();
}

void TKovClass::RegisterDeclarations(
    std::unique_ptr<TKovIntrinsicPropertyDeclarationList> list) const {
    std::lock_guard lock(FDeclarationsMutex);
    if (FDeclarations.load())
        throw EIntrinsicPropertyDeclarationError(
            Format("Intrinsic property declaration list for class %s already registered!", FName));
    list->CheckUnique();
    FDeclarations.store(list.release(), std::memory_order_release);
}

// ---------------------------------------------------------------------------------------------
// TKovObject

const TKovClass& TKovObject::StaticClass() {
    static const TKovClass cls("TKovObject", nullptr, nullptr, nullptr);
    return cls;
}

TKovObject::TKovObject(TKovObjectManager* manager) : FObjectManager(manager) {
    FLocked = true;
    AssignIdentity(manager ? &manager->UIDRegister() : &TUniqueIDRegister::Default(), nullptr);
}

TKovObject::TKovObject(TKovObjectManager* manager, TUniqueIDRegister& uidRegister,
                       const TUniqueID& id)
    : FObjectManager(manager) {
    FLocked = true;
    AssignIdentity(&uidRegister, &id);
}

TKovObject::TKovObject(TForRevert) {
    FCreatedForRevert = true;
}

void TKovObject::AssignIdentity(TUniqueIDRegister* uidRegister, const TUniqueID* id) {
    FUIDRegister = uidRegister;
    if (id && !id->IsEmpty()) {
        FUniqueID = *id;
        uidRegister->Add(this, *id);
    } else {
        FUniqueID = uidRegister->Add(this);
    }
}

void TKovObject::SetUniqueID(const TUniqueID& id) {
    if (id.IsEmpty() || id == FUniqueID)
        return;
    TUniqueIDRegister& uidRegister = UIDRegister();
    if (!FUniqueID.IsEmpty() && uidRegister.HasID(FUniqueID, this))
        uidRegister.Delete(FUniqueID);
    FUniqueID = id;
    FUIDRegister = &uidRegister;
    uidRegister.Add(this, id);
}

TKovObject::~TKovObject() {
    FIsBeingPermanentlyDestroyed = true;
    FLocked = true;
    if (FDestroyCallbacks) {
        // A callback may remove itself or others; walk a copy and skip removed ones.
        auto callbacks = *FDestroyCallbacks;
        for (const auto& entry : callbacks) {
            bool present =
                std::any_of(FDestroyCallbacks->begin(), FDestroyCallbacks->end(),
                            [&](const TCallback& c) { return c.Handle == entry.Handle; });
            if (present)
                entry.Callback(this);
        }
    }
    if (!FIsFreed && FRegistered)
        UnregisterFromManager();
    FName.clear();
    if (FUIDRegister && !FUniqueID.IsEmpty() && FUIDRegister->HasID(FUniqueID, this))
        FUIDRegister->Delete(FUniqueID);
}

void TKovObject::AfterConstruction() {
    FIsFreed = false;
    FIsBeingPermanentlyDestroyed = false;
    FLocked = true;
    if (FObjectManager && FObjectManager->RevertEnabled() && !FCreatedForRevert)
        FObjectManager->UndoAdd(this, nullptr, Format("Create %s", GetObjectTypeName()));
    SetName("");
    FLocked = false;
}

TUniqueIDRegister& TKovObject::UIDRegister() const {
    return FUIDRegister ? *FUIDRegister : TUniqueIDRegister::Default();
}

TUniqueID TKovObject::GetGUIDOrEmptyGUID(const TKovObject* object) {
    return object ? object->UniqueID() : TUniqueID::Empty();
}

std::string TKovObject::GetObjectTypeName() const {
    return TypeNameFromClassName(ClassType().Name());
}

std::string TKovObject::DefaultName() const {
    return MakeValidName(GetObjectTypeName()) + "_1";
}

void TKovObject::SetNameBasedOnString(const std::string& text) {
    SetName(MakeValidName(text));
}

void TKovObject::SetName(const std::string& requested) {
    const bool inRegistry = FObjectManager && UsesNameRegistry() && !FCreatedForRevert;
    if (!inRegistry && requested.empty() && FName.empty()) {
        FName = DefaultName();
        return;
    }
    std::string name = Trim(requested);
    if (!IsValidName(name)) {
        if (!FName.empty())
            return; // an invalid or empty name leaves a named object as it is
        name = DefaultName();
    }
    const std::string oldName = FName;
    if (CleanName(oldName) == CleanName(name)) {
        FName = name; // only case or blanks change: the registry entry stays
        return;
    }
    std::unique_ptr<TKovObject> memento;
    if (!oldName.empty() && WillRecordUndo())
        memento.reset(CreateMemento());
    if (inRegistry && !FIsFreed) {
        std::string unique = FObjectManager->ObjectRegistry().GetUniqueName(name);
        if (!oldName.empty() && unique != name)
            return; // the name belongs to another object
        if (FRegistered)
            UnregisterFromManager();
        FName = unique;
        RegisterInManager();
    } else {
        FName = name;
    }
    if (memento && FName != oldName)
        FObjectManager->UndoAdd(this, memento.release(), "Rename");
}

bool TKovObject::RegisterInManager() {
    if (!FObjectManager || !UsesNameRegistry() || FCreatedForRevert || FName.empty())
        return true;
    FRegistered = FObjectManager->ObjectRegistry().RegisterObject(this);
    return FRegistered;
}

void TKovObject::UnregisterFromManager() {
    if (FObjectManager && FRegistered)
        FObjectManager->ObjectRegistry().UnregisterObject(this);
    FRegistered = false;
}

bool TKovObject::AllowModification(std::string* reason) const {
    if (reason)
        reason->clear();
    return true;
}

bool TKovObject::IsCompatibleObject(const TKovClass* cls) const {
    if (!cls)
        return false;
    return ClassType().InheritsFrom(*cls) || cls->InheritsFrom(ClassType());
}

bool TKovObject::RevertEnabled() const {
    return !FLocked && !FCreatedForRevert && FObjectManager && FObjectManager->RevertEnabled();
}

bool TKovObject::RevertOperationInProgress() const {
    return FObjectManager && FObjectManager->IsReverting();
}

bool TKovObject::BeginUndoSnapshot(const std::string& caption) {
    if (!WillRecordUndo())
        return false;
    FObjectManager->UndoBeginSnapshot(caption);
    if (!FObjectManager->UndoSnapshotAlreadyContainsBackupOf(this))
        if (TKovObject* memento = CreateMemento())
            FObjectManager->UndoAdd(this, memento, caption);
    return true;
}

bool TKovObject::BeginUndoSnapshotLazy(const std::function<std::string()>& caption) {
    if (!WillRecordUndo())
        return false;
    const bool outermost = !FObjectManager->IsUndoRedoSnapshotOpened();
    return BeginUndoSnapshot(outermost ? caption() : std::string());
}

void TKovObject::EndUndoSnapshot() {
    if (FObjectManager)
        FObjectManager->UndoEndSnapshot();
}

void TKovObject::EndUndoSnapshotWithRollback() {
    if (FObjectManager)
        FObjectManager->UndoEndSnapshotWithRollback();
}

void TKovObject::Assign(const TKovObject& source) {
    TUndoSnapshot snapshot(*this, "");
    const bool wasLocked = FLocked;
    FLocked = true;
    try {
        if (AssignsName())
            SetName(source.Name());
        BeforeAssign(source);
        AssignEssentialState(source);
        AfterAssign(source);
    } catch (...) {
        FLocked = wasLocked;
        throw;
    }
    FLocked = wasLocked;
}

void TKovObject::AssignEssentialState(const TKovObject& /*source*/) {}

TKovObject* TKovObject::CreateMemento() const {
    if (!RevertEnabled())
        return nullptr;
    TKovObject* memento = CreateBlankForRevert();
    memento->Assign(*this);
    return memento;
}

void TKovObject::FreeWithUndo() {
    if (RevertEnabled()) {
        FIsBeingFreedWithUndo = true;
        FObjectManager->UndoBeginSnapshot("Delete");
        // The stack keeps the object unless it was made in this very snapshot: then nothing
        // can bring it back and it goes for good.
        const bool kept = FObjectManager->UndoAdd(nullptr, this, "Delete");
        if (kept)
            MarkAsFreed();
        FObjectManager->UndoEndSnapshot();
        FIsBeingFreedWithUndo = false;
        if (kept)
            return;
    }
    {
        FIsBeingPermanentlyDestroyed = true;
        BeforeDestroy();
        delete this;
    }
}

void TKovObject::MigrateToOtherManager(TKovObjectManager* manager, bool renameIfNeeded) {
    UnregisterFromManager();
    FObjectManager = manager;
    if (RegisterInManager())
        return;
    if (!renameIfNeeded || !manager)
        throw EKovObjectException(Format("Registration of object %s failed!", FName));
    const std::string unique = manager->ObjectRegistry().GetUniqueName(FName);
    FName = unique;
    if (!RegisterInManager())
        throw EKovObjectException(
            Format("Failed registering %s even after renaming to %s!", FName, unique));
}

int TKovObject::AddPermanentDestroyCallback(TDestroyCallback callback) {
    if (!FDestroyCallbacks)
        FDestroyCallbacks = std::make_unique<std::vector<TCallback>>();
    int handle = FNextCallbackHandle++;
    FDestroyCallbacks->push_back({handle, std::move(callback)});
    return handle;
}

void TKovObject::RemovePermanentDestroyCallback(int handle) {
    if (!FDestroyCallbacks)
        return;
    auto& list = *FDestroyCallbacks;
    list.erase(std::remove_if(list.begin(), list.end(),
                              [handle](const TCallback& c) { return c.Handle == handle; }),
               list.end());
}

void TKovObject::MarkAsFreed() {
    FIsFreed = true;
    UnregisterFromManager();
}

void TKovObject::MarkAsNotFreed() {
    FIsFreed = false;
    RegisterInManager();
}

void TKovObject::MarkResurrecting() {
    FIsBeingResurrectedFromUndo = true;
}

void TKovObject::EndResurrecting() {
    MarkAsNotFreed();
    FIsBeingResurrectedFromUndo = false;
}

// ---------------------------------------------------------------------------------------------
// TKovObservableObject

namespace {
constexpr char MetadataSeparator = '\x1F'; // between "key=value" entries of the metadata text
} // namespace

const TKovClass& TKovObservableObject::StaticClass() {
    static const TKovClass cls(
        "TKovObservableObject", &TKovObject::StaticClass(),
        []() -> TKovObject* { return new TKovObservableObject(TForRevert{}); },
        &TKovObservableObject::DeclareProperties, LiveFactoryOf<TKovObservableObject>());
    return cls;
}

TKovObservableObject::TKovObservableObject(TKovObjectManager* manager)
    : TKovObject(manager), FObservable(this) {}

TKovObservableObject::TKovObservableObject(TKovObjectManager* manager,
                                           TUniqueIDRegister& uidRegister, const TUniqueID& id)
    : TKovObject(manager, uidRegister, id), FObservable(this) {}

void TKovObservableObject::TPropertiesDeleter::operator()(TKovIntrinsicPropertyList* list) const {
    delete list;
}

void TKovObservableObject::TFeaturesDeleter::operator()(TKovUserFeatureList* list) const {
    delete list;
}

TKovObservableObject::~TKovObservableObject() {
    FObservable.NotifyObserversDestroy();
    FUserFeatures.reset();
    FProperties.reset();
}

void TKovObservableObject::DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
    list.AddOfKind<TIPName>("Name", ipkNotPublished, "Name");
    list.AddDerivedText("TypeName",
                        {[](const TKovIntrinsicProperty& p) {
                             return p.Owner() ? p.Owner()->GetObjectTypeName() : std::string();
                         },
                         nullptr},
                        ipkReadOnly | ipkNotPublished);
    list.AddOfKind<TIPLargeText>("Comments", ipkNotPublished, "Comments");
    list.AddOfKind<TIPKovObservableUserFeaturesList>("UserFeatures", ipkReadOnly | ipkNotPublished);
    // The metadata keeps its entry separator, a control character, so it is a free text.
    list.AddOfKind<TIPFreeText>("Metadata", ipkReadOnly | ipkNotPublished);
}

void TKovObservableObject::AfterConstruction() {
    TKovObject::AfterConstruction();
    if (FCreatedForRevert)
        return;
    FLocked = true;
    try {
        Initialize();
    } catch (...) {
        FLocked = false;
        throw;
    }
    FLocked = false;
}

TKovIntrinsicPropertyDeclarationList& TKovObservableObject::IntrinsicPropertyDeclarations() const {
    return ClassType().Declarations();
}

void TKovObservableObject::BuildProperties() const {
    if (FProperties)
        return;
    auto& declarations = IntrinsicPropertyDeclarations();
    std::unique_ptr<TKovIntrinsicPropertyList, TPropertiesDeleter> list(
        new TKovIntrinsicPropertyList);
    list->SetOnGetIndexAndDeclarationByName(
        [&declarations](const std::string& name, TKovIntrinsicPropertyDeclaration*& declaration) {
            return declarations.GetIndexAndDeclarationFor(name, declaration);
        });
    auto* self = const_cast<TKovObservableObject*>(this);
    for (int i = 0; i < declarations.Count(); ++i)
        list->Add(
            std::unique_ptr<TKovIntrinsicProperty>(declarations[i].CreateInstanceOfProperty(self)));
    FProperties = std::move(list);
}

TKovIntrinsicPropertyList& TKovObservableObject::IntrinsicProperties() const {
    BuildProperties();
    return *FProperties;
}

int TKovObservableObject::IntrinsicPropertiesCount() const {
    return IntrinsicProperties().Count();
}

TKovIntrinsicProperty* TKovObservableObject::GetIntrinsicProperty(int index) const {
    return IntrinsicProperties()[index];
}

TKovIntrinsicProperty*
TKovObservableObject::GetIntrinsicPropertyByName(const std::string& name) const {
    return IntrinsicProperties().GetByName(name);
}

void TKovObservableObject::GetIntrinsicProperties(std::vector<TKovIntrinsicProperty*>& list) const {
    auto& properties = IntrinsicProperties();
    for (int i = 0; i < properties.Count(); ++i)
        list.push_back(properties[i]);
}

TKovUserFeatureList& TKovObservableObject::UserFeatures() const {
    if (!FUserFeatures) {
        // The list is part of this object: its creation is no undo step of its own.
        TRevertLock lock(ObjectManager());
        FUserFeatures.reset(Make<TKovUserFeatureList>(ObjectManager()).release());
    }
    return *FUserFeatures;
}

bool TKovObservableObject::HasUserFeatures() const {
    return FUserFeatures && FUserFeatures->Count() > 0;
}

void TKovObservableObject::SetPublishedIfExists(const std::string& name, bool published) {
    IntrinsicProperties().SetPublishedIfExists(name, published);
}

void TKovObservableObject::IntrinsicPropertyChanged(TKovIntrinsicProperty& property) {
    if (IsFreedOrBeingDestroyed() || FCreatedForRevert)
        return;
    PropertyChanged(property);
    NotifyObservers();
}

void TKovObservableObject::SetPermanentlyReadOnly(bool readOnly) {
    if (FIsPermanentlyReadOnly && !readOnly)
        throw EKovObjectException(
            Format("Object %s is marked as permanently read-only, cannot modify back to "
                   "non-readonly",
                   Name()));
    FIsPermanentlyReadOnly = readOnly;
}

std::string TKovObservableObject::Comments() const {
    return Property<TIPText>("Comments").Value();
}

std::string TKovObservableObject::GetMetadata(const std::string& key) const {
    for (const auto& entry : Split(Property<TIPText>("Metadata").Value(), MetadataSeparator)) {
        auto eq = entry.find('=');
        if (eq != std::string::npos && entry.compare(0, eq, key) == 0)
            return entry.substr(eq + 1);
    }
    return "";
}

bool TKovObservableObject::MetadataHasKey(const std::string& key) const {
    for (const auto& entry : Split(Property<TIPText>("Metadata").Value(), MetadataSeparator)) {
        auto eq = entry.find('=');
        if (eq != std::string::npos && entry.compare(0, eq, key) == 0)
            return true;
    }
    return false;
}

void TKovObservableObject::SetMetadata(const std::string& key, const std::string& value) {
    auto& metadata = Property<TIPFreeText>("Metadata");
    std::vector<std::string> entries;
    bool found = false;
    for (auto& entry : Split(metadata.Value(), MetadataSeparator)) {
        if (entry.empty())
            continue;
        auto eq = entry.find('=');
        if (eq != std::string::npos && entry.compare(0, eq, key) == 0) {
            entry = key + "=" + value;
            found = true;
        }
        entries.push_back(entry);
    }
    if (!found)
        entries.push_back(key + "=" + value);
    metadata.SetValue(Join(entries, std::string(1, MetadataSeparator)));
}

void TKovObservableObject::AssignEssentialState(const TKovObject& source) {
    const auto* other = dynamic_cast<const TKovObservableObject*>(&source);
    if (!other)
        return;
    const bool sameClass = &other->ClassType() == &ClassType();
    auto& properties = IntrinsicProperties();
    for (int i = 0; i < properties.Count(); ++i) {
        TKovIntrinsicProperty& target = *properties[i];
        if (target.IsDerived())
            continue;
        TKovIntrinsicProperty* from = sameClass ? other->GetIntrinsicProperty(i)
                                                : other->GetIntrinsicPropertyByName(target.Name());
        if (from && from->InheritsFrom(target.ClassType()))
            target.Assign(*from);
    }
}

void TKovObservableObject::CopyIntrinsicPropertiesFrom(const TKovObservableObject& source,
                                                       unsigned options) {
    const TKovObservableObject* walked;
    if (options & cipoIgnoreInheritance)
        walked = this;
    else if (ClassType().InheritsFrom(source.ClassType()))
        walked = this;
    else if (source.ClassType().InheritsFrom(ClassType()))
        walked = &source;
    else
        return;
    TUndoSnapshot snapshot(*this, "Copy intrinsic properties");
    std::vector<TKovIntrinsicProperty*> marked;
    for (int i = 0; i < walked->IntrinsicPropertiesCount(); ++i) {
        const std::string name = walked->GetIntrinsicProperty(i)->Name();
        TKovIntrinsicProperty* from = source.GetIntrinsicPropertyByName(name);
        TKovIntrinsicProperty* target = GetIntrinsicPropertyByName(name);
        if (!from || !target)
            continue;
        // A derived source takes part as the plain property with its current value.
        from = from->GetStaticEquivalent();
        if ((options & cipoIgnoreStaged) && target->SupportsStages())
            continue;
        if (target->ReadOnly_Internal() && !(options & cipoIncludeReadonly))
            continue;
        if (!target->ClassType().InheritsFrom(from->ClassType()))
            continue;
        if (target->IsDerived()) {
            if (options & cipoForceIdenticalConfigurations)
                marked.push_back(target);
            continue;
        }
        TUpdateBracket update(*target);
        target->Assign(*from);
        update.Close();
        marked.push_back(target);
    }
    if (options & cipoForceIdenticalConfigurations)
        for (TKovIntrinsicProperty* target : marked)
            if (TKovIntrinsicProperty* from = source.GetIntrinsicPropertyByName(target->Name()))
                target->CopyConfigurationFrom(*from);
}

void TKovObservableObject::CopyIntrinsicPropertiesAndUserFeaturesFrom(
    const TKovObservableObject& source, unsigned options) {
    TUndoSnapshot snapshot(*this, "Copy IPs and UFs");
    CopyIntrinsicPropertiesFrom(source, options);
    if (!source.HasUserFeatures())
        return;
    TKovUserFeatureList& mine = UserFeatures();
    const TKovUserFeatureList& theirs = source.UserFeatures();
    for (int i = 0; i < theirs.Count(); ++i) {
        auto* feature = dynamic_cast<TKovUserFeature*>(theirs.GetItem(i));
        if (!feature)
            continue;
        if (TKovUserFeature* existing = mine.FindByClass(feature->ClassType())) {
            existing->CopyIntrinsicPropertiesFrom(*feature, options);
        } else if (!(options & cipoIgnoreNewUserFeatures)) {
            std::unique_ptr<TKovObject> copy = feature->ClassType().Create(ObjectManager());
            auto& added = static_cast<TKovUserFeature&>(*copy);
            added.CopyIntrinsicPropertiesFrom(*feature, options);
            mine.Add(copy.release());
        }
    }
}

bool TKovObservableObject::HasSameIntrinsicPropertyValues(
    const TKovObservableObject& other, bool includeName,
    const std::function<bool(const TKovIntrinsicProperty&)>& exclude) const {
    if (&other.ClassType() != &ClassType() ||
        other.IntrinsicPropertiesCount() != IntrinsicPropertiesCount())
        return false;
    for (int i = 0; i < IntrinsicPropertiesCount(); ++i) {
        const TKovIntrinsicProperty& mine = *GetIntrinsicProperty(i);
        const std::string name = mine.Name();
        if (!includeName && SameText(name, "Name"))
            continue;
        if (StartsText("__", name)) // the reserved prefix of internal properties
            continue;
        if (exclude && exclude(mine))
            continue;
        const TKovIntrinsicProperty* theirs = other.GetIntrinsicPropertyByName(name);
        if (!theirs || !mine.HasSameValueAs(*theirs))
            return false;
    }
    return true;
}

void TKovObservableObject::MakeAllPropertiesWritable(bool keepDeclaredReadOnly) {
    for (int i = 0; i < IntrinsicPropertiesCount(); ++i) {
        TKovIntrinsicProperty& p = *GetIntrinsicProperty(i);
        const bool declaredReadOnly = p.Declaration() && p.Declaration()->Has(ipkReadOnly);
        if (!(keepDeclaredReadOnly && declaredReadOnly))
            p.SetReadOnly(false);
    }
}

void TKovObservableObject::SaveRegisteredObjectsAndProperties(const std::string& fileName) const {
    std::ofstream out(fileName, std::ios::binary);
    if (!ObjectManager())
        return;
    std::vector<std::pair<std::string, TKovObject*>> objects(
        ObjectManager()->ObjectRegistry().Items().begin(),
        ObjectManager()->ObjectRegistry().Items().end());
    std::sort(objects.begin(), objects.end());
    for (const auto& [name, object] : objects) {
        out << object->Name() << " (" << object->GetObjectTypeName() << ")\n";
        if (auto* observable = dynamic_cast<TKovObservableObject*>(object))
            for (int i = 0; i < observable->IntrinsicPropertiesCount(); ++i) {
                auto* p = observable->GetIntrinsicProperty(i);
                out << "  " << p->Name() << " = " << p->ValueAsText() << "\n";
            }
    }
}

void TKovObservableObject::MarkAsFreed() {
    if (FUserFeatures)
        for (int i = 0; i < FUserFeatures->Count(); ++i)
            if (TKovObject* feature = FUserFeatures->GetItemOrNull(i);
                feature && !feature->IsFreed())
                feature->MarkAsFreed();
    TKovObject::MarkAsFreed();
    NotifyObservers();
}

void TKovObservableObject::MarkAsNotFreed() {
    TKovObject::MarkAsNotFreed();
    if (FUserFeatures)
        for (int i = 0; i < FUserFeatures->Count(); ++i)
            if (TKovObject* feature = FUserFeatures->GetItemOrNull(i);
                feature && feature->IsFreed())
                feature->MarkAsNotFreed();
    NotifyObservers();
}

} // namespace tw
