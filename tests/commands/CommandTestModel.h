#pragma once
// A small object model for the command language's tests: a thing with one property of each kind
// the commands set, a subclass, a project-like root that owns the presentation units of its
// manager, and a tool object that serves as a default target.

#include "objects/IntrinsicPropertyDeclarationList.h"
#include "objects/IntrinsicPropertyDerivedKinds.h"
#include "objects/IntrinsicPropertyKinds.h"
#include "objects/KovObjectLists.h"
#include "objects/ObjectManager.h"
#include "units/SystemOfUnits.h"

#include <memory>

namespace tw::testing {

class TCmdThing : public TKovObservableObject {
    TW_KOV_CLASS(TCmdThing, TKovObservableObject)
public:
    using TKovObservableObject::TKovObservableObject;
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list);

    TIPInteger& Count() const { return Property<TIPInteger>("Count"); }
    TIPDouble& Number() const { return Property<TIPDouble>("Number"); }
    TIPDouble& Bounded() const { return Property<TIPDouble>("Bounded"); }
    // A cell pressure in Pa, between -1 MPa and 0 (compression negative).
    TIPDoubleWithUnit& Pressure() const { return Property<TIPDoubleWithUnit>("Pressure"); }
    TIPText& Text() const { return Property<TIPText>("Text"); }
    TIPBoolean& Flag() const { return Property<TIPBoolean>("Flag"); }
    TIPEnumeration& Choice() const { return Property<TIPEnumeration>("Choice"); }
    TIPKovObject& Ref() const { return Property<TIPKovObject>("Ref"); }
    TIPColor& Colour() const { return Property<TIPColor>("Colour"); }
    TIPTable& Table() const { return Property<TIPTable>("Table"); }
    // True is disabled: writing true is refused by the property.
    TIPBoolean& Guarded() const { return Property<TIPBoolean>("Guarded"); }

    // The value behind the derived "Half", which has no setter.
    double HalfSource = 0;

protected:
    void Initialize() override;
    void AssignEssentialState(const TKovObject& source) override {
        TKovObservableObject::AssignEssentialState(source);
        HalfSource = static_cast<const TCmdThing&>(source).HalfSource;
    }
};

class TCmdSubThing : public TCmdThing {
    TW_KOV_CLASS(TCmdSubThing, TCmdThing)
public:
    using TCmdThing::TCmdThing;
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list);
};

// A helper that serves as a default object: the target of commands that name no object.
class TCmdTool : public TKovObservableObject {
    TW_KOV_CLASS(TCmdTool, TKovObservableObject)
public:
    using TKovObservableObject::TKovObservableObject;
};

// The root of the model, as a project is: the user's undo and redo work on it.
class TCmdRoot : public TKovObservableObject {
    TW_KOV_CLASS(TCmdRoot, TKovObservableObject)
public:
    using TKovObservableObject::TKovObservableObject;
};

// A manager with its presentation units (kN, m, day) and the query that finds them for its
// objects; construction work is no undo step.
class TCmdWorld {
public:
    TCmdWorld();
    ~TCmdWorld();
    TKovObjectManager Manager;
    TSystemOfUnits Units;

    // Makes an object outside undo, with a name.
    template <typename T, typename... Args> T& Add(const std::string& name, Args&&... args) {
        Manager.LockRevert();
        auto object = tw::Make<T>(&Manager, std::forward<Args>(args)...);
        object->SetName(name);
        Manager.UnlockRevert();
        T& result = *object;
        FObjects.push_back(std::move(object));
        return result;
    }

private:
    std::vector<std::unique_ptr<TKovObject>> FObjects;
    int FQuery = 0;
};

} // namespace tw::testing
