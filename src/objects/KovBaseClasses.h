#pragma once
// The root of every model object: name, identity, a home in an object manager, and a part in
// undo; and the observable object with its declared intrinsic properties.
//
// Objects are made in two phases: the constructor builds the C++ object, and AfterConstruction
// (called by Make<T>) gives it its default name, registers it and runs the initialisation hook,
// which may call virtual operations. Create every model object through Make<T>.
//
// Ownership follows the model: each object has one owner that deletes it. An object deleted with
// undo (FreeWithUndo) passes to the undo stack, which deletes it when the step falls off the
// stack. Objects refer to one another by GUID, never by pointer across undo or load.

#include "objects/Observer.h"
#include "objects/PropertyName.h"
#include "objects/UniqueID.h"
#include "objects/VarRec.h"
#include "services/Format.h"
#include "services/KovException.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <type_traits>
#include <vector>

namespace tw {

class TKovObject;
class TKovObservableObject;
class TKovObjectManager;
class TKovIntrinsicProperty;
class TKovIntrinsicPropertyDeclarationList;
class TKovIntrinsicPropertyDeclaration;
class TKovIntrinsicPropertyList;
class TKovUserFeatureList;

TW_DECLARE_EXCEPTION(EKovObjectException, EKovException)

// Tag of the constructor that makes a blank instance for a memento: no identity, no name, no
// manager, no initialisation.
struct TForRevert {};

// The class of a model object: its name, its parent, a factory of blank instances for mementos,
// factories of live instances (for loading and for class-valued properties) and, for observable
// classes, the declarations of its intrinsic properties, built once on first use and kept for the
// life of the program.
class TKovClass {
public:
    using TFactory = TKovObject* (*)();
    using TDeclare = void (*)(TKovIntrinsicPropertyDeclarationList&);
    // Makes a live instance in both phases of construction; the caller owns it.
    using TCreate = TKovObject* (*)(TKovObjectManager*);
    // Makes a property for an owner and its declaration.
    using TCreateProperty = TKovIntrinsicProperty* (*)(TKovObservableObject*,
                                                       const TKovIntrinsicPropertyDeclaration*);

    TKovClass(const char* name, const TKovClass* parent, TFactory factory, TDeclare declare,
              TCreate create = nullptr, TCreateProperty createProperty = nullptr);
    TKovClass(const TKovClass&) = delete;
    TKovClass& operator=(const TKovClass&) = delete;
    ~TKovClass();

    const std::string& Name() const { return FName; }
    // The type name that files and commands use: GetObjectTypeName of an instance.
    const std::string& TypeName() const;
    const TKovClass* Parent() const { return FParent; }
    bool InheritsFrom(const TKovClass& ancestor) const {
        return InheritanceDistance(ancestor) >= 0;
    }
    // Inheritance steps from this class up to `ancestor`, or -1 when it is no ancestor.
    int InheritanceDistance(const TKovClass& ancestor) const;
    bool IsAbstract() const { return FFactory == nullptr; }
    // A blank instance for a memento; raises for an abstract class.
    TKovObject* CreateBlank() const;
    // A live instance with a manager; raises for a class without such a constructor.
    std::unique_ptr<TKovObject> Create(TKovObjectManager* manager) const;
    bool CanCreate() const { return FCreate != nullptr; }
    // A property of this class; raises for a class that is no property kind.
    TKovIntrinsicProperty*
    CreateProperty(TKovObservableObject* owner,
                   const TKovIntrinsicPropertyDeclaration* declaration) const;
    bool IsPropertyClass() const { return FCreateProperty != nullptr; }

    // The declarations of the class: the parent's, then its own, then the changes of the most
    // fitting modifier. Built once, thread-safe.
    TKovIntrinsicPropertyDeclarationList& Declarations() const;
    // Gives a class its declaration list from outside (a class declared at run time); raises when
    // the class has one already.
    void RegisterDeclarations(std::unique_ptr<TKovIntrinsicPropertyDeclarationList> list) const;
    bool HasDeclarations() const { return FDeclarations.load() != nullptr; }

private:
    std::string FName;
    const TKovClass* FParent;
    TFactory FFactory;
    TDeclare FDeclare;
    TCreate FCreate;
    TCreateProperty FCreateProperty;
    mutable std::once_flag FTypeNameOnce;
    mutable std::string FTypeName;
    mutable std::mutex FDeclarationsMutex;
    mutable std::atomic<TKovIntrinsicPropertyDeclarationList*> FDeclarations{nullptr};
};

// The live and property factories of a class, where it has the constructor for them.
template <typename C> constexpr TKovClass::TCreate LiveFactoryOf();
template <typename C> constexpr TKovClass::TCreateProperty PropertyFactoryOf();

// In the body of each model class: its class object, and the blank constructor for mementos.
#define TW_KOV_CLASS(Class, Parent)                                                                \
public:                                                                                            \
    using Inherited = Parent;                                                                      \
    static const ::tw::TKovClass& StaticClass();                                                   \
    const ::tw::TKovClass& ClassType() const override {                                            \
        return StaticClass();                                                                      \
    }                                                                                              \
    explicit Class(::tw::TForRevert tag) : Parent(tag) {}                                          \
                                                                                                   \
private:

// In one .cpp file per class. `Declare` is the class's own declaring function or nullptr.
#define TW_KOV_CLASS_IMPL(Class, Parent, Declare)                                                  \
    const ::tw::TKovClass& Class::StaticClass() {                                                  \
        static const ::tw::TKovClass cls(                                                          \
            #Class, &Parent::StaticClass(),                                                        \
            []() -> ::tw::TKovObject* { return new Class(::tw::TForRevert{}); }, Declare,          \
            ::tw::LiveFactoryOf<Class>(), ::tw::PropertyFactoryOf<Class>());                       \
        return cls;                                                                                \
    }

// As above for a class with abstract operations: it has no blank instances.
#define TW_KOV_ABSTRACT_CLASS_IMPL(Class, Parent, Declare)                                         \
    const ::tw::TKovClass& Class::StaticClass() {                                                  \
        static const ::tw::TKovClass cls(#Class, &Parent::StaticClass(), nullptr, Declare);        \
        return cls;                                                                                \
    }

class TKovObject {
public:
    // Create(manager): the identity comes from the manager's register, or the default one.
    explicit TKovObject(TKovObjectManager* manager);
    // CreateWithUIDRegister: the object takes `id` (a stored identity) in `uidRegister`.
    TKovObject(TKovObjectManager* manager, TUniqueIDRegister& uidRegister, const TUniqueID& id);
    explicit TKovObject(TForRevert);
    TKovObject(const TKovObject&) = delete;
    TKovObject& operator=(const TKovObject&) = delete;
    virtual ~TKovObject();

    static const TKovClass& StaticClass();
    virtual const TKovClass& ClassType() const { return StaticClass(); }
    bool InheritsFrom(const TKovClass& ancestor) const {
        return ClassType().InheritsFrom(ancestor);
    }

    // The second phase of construction: undo record, default name and registration. Called once
    // by Make<T>; descendants extend it with their initialisation hook.
    virtual void AfterConstruction();

    // Identity and naming.
    const TUniqueID& UniqueID() const { return FUniqueID; }
    // Takes a stored identity (a loader's work): the register answers this object for `id` from
    // now on, replacing whatever it held under `id`, and the identity this object had is released.
    // The empty GUID changes nothing.
    void SetUniqueID(const TUniqueID& id);
    virtual std::string Name() const { return FName; }
    virtual void SetName(const std::string& name);
    // Sets a valid name made from any text.
    void SetNameBasedOnString(const std::string& text);
    virtual std::string Caption() const { return Name(); }
    virtual std::string DescriptiveCaption() const { return Caption(); }
    virtual std::string CaptionForRenderer() const { return Caption(); }
    virtual std::string GetObjectTypeName() const;
    static TUniqueID GetGUIDOrEmptyGUID(const TKovObject* object);

    TKovObjectManager* ObjectManager() const { return FObjectManager; }
    // The register that holds this object's identity.
    TUniqueIDRegister& UIDRegister() const;
    static TUniqueIDRegister& DefaultUIDRegister() { return TUniqueIDRegister::Default(); }

    // Modification and undo.
    virtual bool AllowModification(std::string* reason = nullptr) const;
    virtual bool IsCompatibleObject(const TKovClass* cls) const;
    virtual bool RevertEnabled() const;
    bool RevertOperationInProgress() const;
    bool CreatedForRevert() const { return FCreatedForRevert; }
    bool Locked() const { return FLocked; }

    // Opens a snapshot of the manager and backs this object up in it, once per snapshot. Does
    // nothing for a freed object or one that records no undo; answers whether it opened one, which
    // the matching end needs to know.
    bool BeginUndoSnapshot(const std::string& caption);
    template <typename... Args> bool BeginUndoSnapshot(const char* format, const Args&... args) {
        return WillRecordUndo() && BeginUndoSnapshot(Format(format, args...));
    }
    // As BeginUndoSnapshot, with the caption made only when it is used: inner captions are
    // dropped, so a write inside an open snapshot doesn't pay for formatting its text.
    bool BeginUndoSnapshotLazy(const std::function<std::string()>& caption);
    void EndUndoSnapshot();
    void EndUndoSnapshotWithRollback();
    // True when a snapshot opened now would record something.
    bool WillRecordUndo() const { return !FIsFreed && RevertEnabled(); }

    // Copies the state of `source` (same class or an ancestor) into this object, as one undo step.
    virtual void Assign(const TKovObject& source);
    // A blank instance of this class with this object's state, flagged CreatedForRevert; nullptr
    // when this object records no undo.
    TKovObject* CreateMemento() const;
    // A blank instance of this class for a memento, before the state is copied into it.
    virtual TKovObject* CreateBlankForRevert() const { return ClassType().CreateBlank(); }

    // Deletes this object, with undo when it records undo: then the object leaves the model but
    // stays in memory, owned by the undo stack, and a later undo brings the same instance back.
    // The caller gives up ownership in both cases.
    void FreeWithUndo();
    void MigrateToOtherManager(TKovObjectManager* manager, bool renameIfNeeded);

    // Called in registration order when the object is really destroyed. Answers a handle for
    // RemovePermanentDestroyCallback.
    using TDestroyCallback = std::function<void(TKovObject*)>;
    int AddPermanentDestroyCallback(TDestroyCallback callback);
    void RemovePermanentDestroyCallback(int handle);

    // Life-cycle phases.
    bool IsFreed() const { return FIsFreed; }
    bool IsBeingDestroyed() const { return FIsBeingPermanentlyDestroyed; }
    bool IsBeingResurrected() const { return FIsBeingResurrectedFromUndo; }
    bool IsBeingFreedWithUndo() const { return FIsBeingFreedWithUndo; }
    bool IsFreedOrBeingDestroyed() const { return FIsFreed || FIsBeingPermanentlyDestroyed; }

    // Used by the undo machinery.
    virtual void MarkAsFreed();
    virtual void MarkAsNotFreed();
    virtual void MarkResurrecting();
    virtual void EndResurrecting();
    void SetLocked(bool locked) { FLocked = locked; }
    // The serial of the last snapshot that holds this object as new; lets the open snapshot tell
    // "backed up already" by looking at the object alone, without touching a large table.
    uint64_t BackupSnapshotSerial() const { return FBackupSnapshotSerial; }
    void SetBackupSnapshotSerial(uint64_t serial) { FBackupSnapshotSerial = serial; }

protected:
    // The internal copy of essential state, called by Assign between the two hooks.
    virtual void AssignEssentialState(const TKovObject& source);
    virtual void BeforeAssign(const TKovObject& /*source*/) {}
    virtual void AfterAssign(const TKovObject& /*source*/) {}
    // Whether Assign copies the name; properties take theirs from the declaration.
    virtual bool AssignsName() const { return true; }
    virtual void BeforeDestroy() {}
    virtual bool RegisterInManager();
    virtual void UnregisterFromManager();
    // Whether the object lives in the manager's name registry.
    virtual bool UsesNameRegistry() const { return true; }
    void SetNameDirect(const std::string& name) { FName = name; }

    bool FLocked = false;
    bool FCreatedForRevert = false;

private:
    void AssignIdentity(TUniqueIDRegister* uidRegister, const TUniqueID* id);
    std::string DefaultName() const;

    std::string FName;
    TUniqueID FUniqueID;
    TKovObjectManager* FObjectManager = nullptr;
    TUniqueIDRegister* FUIDRegister = nullptr;
    struct TCallback {
        int Handle;
        TDestroyCallback Callback;
    };
    std::unique_ptr<std::vector<TCallback>> FDestroyCallbacks; // made on first use
    uint64_t FBackupSnapshotSerial = 0;
    int FNextCallbackHandle = 1;
    bool FIsFreed = false;
    bool FIsBeingPermanentlyDestroyed = false;
    bool FIsBeingFreedWithUndo = false;
    bool FIsBeingResurrectedFromUndo = false;
    bool FRegistered = false;
};

// Makes a model object in both phases of construction.
template <typename T, typename... Args> std::unique_ptr<T> Make(Args&&... args) {
    std::unique_ptr<T> object(new T(std::forward<Args>(args)...));
    object->AfterConstruction();
    return object;
}

template <typename C> constexpr TKovClass::TCreate LiveFactoryOf() {
    if constexpr (std::is_constructible_v<C, TKovObjectManager*>)
        return [](TKovObjectManager* manager) -> TKovObject* { return Make<C>(manager).release(); };
    else
        return nullptr;
}

template <typename C> constexpr TKovClass::TCreateProperty PropertyFactoryOf() {
    if constexpr (std::is_constructible_v<C, TKovObservableObject*,
                                          const TKovIntrinsicPropertyDeclaration*>)
        return [](TKovObservableObject* owner,
                  const TKovIntrinsicPropertyDeclaration* declaration) -> TKovIntrinsicProperty* {
            return new C(owner, declaration);
        };
    else
        return nullptr;
}

class TKovObservableObject : public TKovObject {
    TW_KOV_CLASS(TKovObservableObject, TKovObject)
public:
    explicit TKovObservableObject(TKovObjectManager* manager);
    TKovObservableObject(TKovObjectManager* manager, TUniqueIDRegister& uidRegister,
                         const TUniqueID& id);
    ~TKovObservableObject() override;

    void AfterConstruction() override;

    // Observation. Observers receive this object as sender.
    void AttachObserver(TObserver* observer) { FObservable.AttachObserver(observer); }
    void DetachObserver(TObserver* observer) { FObservable.DetachObserver(observer); }
    void NotifyObservers() { FObservable.NotifyObservers(this); }
    TObservable& Observable() { return FObservable; }
    virtual void BeginUpdate() { FObservable.BeginUpdate(); }
    virtual void EndUpdate() { FObservable.EndUpdate(); }

    // Intrinsic properties, in declaration order; made on first access.
    TKovIntrinsicPropertyDeclarationList& IntrinsicPropertyDeclarations() const;
    int IntrinsicPropertiesCount() const;
    TKovIntrinsicProperty* GetIntrinsicProperty(int index) const;
    // The property of that name (compared in clean form), or nullptr.
    TKovIntrinsicProperty* GetIntrinsicPropertyByName(const std::string& name) const;
    template <typename P>
    TKovIntrinsicProperty* GetIntrinsicPropertyByName(const TPropertyName<P>& name) const {
        return GetIntrinsicPropertyByName(std::string(name.Name));
    }
    // As above, raising when there is none; typed.
    template <typename P> P& Property(const std::string& name) const;
    // The property of a name constant (PropertyName.h), of the constant's kind.
    template <typename P> P& Property(const TPropertyName<P>& name) const;
    void GetIntrinsicProperties(std::vector<TKovIntrinsicProperty*>& list) const;
    // The owned list of the properties, in declaration order.
    TKovIntrinsicPropertyList& IntrinsicProperties() const;
    // Sets a property published or hidden, when the object has it.
    void SetPublishedIfExists(const std::string& name, bool published);

    // Called by a property of this object after its value changed: runs the reaction of the
    // class, then notifies the observers. Nothing happens while the object is freed or being
    // destroyed.
    void IntrinsicPropertyChanged(TKovIntrinsicProperty& property);

    bool IsPermanentlyReadOnly() const { return FIsPermanentlyReadOnly; }
    // May be set, never cleared.
    void SetPermanentlyReadOnly(bool readOnly);

    std::string Comments() const;
    std::string GetMetadata(const std::string& key) const;
    void SetMetadata(const std::string& key, const std::string& value);
    bool MetadataHasKey(const std::string& key) const;

    // Copy and compare of the whole set of properties.
    enum TCopyIPOption : unsigned {
        cipoIncludeReadonly = 1,
        cipoIgnoreInheritance = 2,
        cipoForceIdenticalConfigurations = 4,
        cipoIgnoreNewUserFeatures = 8,
        cipoIgnoreStaged = 16,
    };
    void CopyIntrinsicPropertiesFrom(const TKovObservableObject& source, unsigned options = 0);
    // As above, and the user features: each feature of the source is copied into the target's
    // feature of the same class, or into a new one (unless cipoIgnoreNewUserFeatures).
    void CopyIntrinsicPropertiesAndUserFeaturesFrom(const TKovObservableObject& source,
                                                    unsigned options = 0);
    bool HasSameIntrinsicPropertyValues(
        const TKovObservableObject& other, bool includeName = false,
        const std::function<bool(const TKovIntrinsicProperty&)>& exclude = nullptr) const;
    void MakeAllPropertiesWritable(bool keepDeclaredReadOnly);
    // Writes every object of the manager's registry and its properties to a text file.
    void SaveRegisteredObjectsAndProperties(const std::string& fileName) const;

    // The features attached to this object; the list is made on first use and owned here.
    TKovUserFeatureList& UserFeatures() const;
    bool HasUserFeatures() const;

    void MarkAsFreed() override;
    void MarkAsNotFreed() override;

    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list);

protected:
    // The initialisation hook, run once after construction with FLocked set (not for mementos).
    virtual void Initialize() {}
    // The class's reaction to a changed property, before observers are told.
    virtual void PropertyChanged(TKovIntrinsicProperty& /*property*/) {}
    // Copies the values of the stored (not derived) properties.
    void AssignEssentialState(const TKovObject& source) override;

private:
    void BuildProperties() const;

    TObservable FObservable;
    bool FIsPermanentlyReadOnly = false;
    // Deleters defined where the types are complete, so this header needn't include them.
    struct TPropertiesDeleter {
        void operator()(TKovIntrinsicPropertyList* list) const;
    };
    struct TFeaturesDeleter {
        void operator()(TKovUserFeatureList* list) const;
    };
    mutable std::unique_ptr<TKovIntrinsicPropertyList, TPropertiesDeleter> FProperties;
    mutable std::unique_ptr<TKovUserFeatureList, TFeaturesDeleter> FUserFeatures;
};

} // namespace tw
