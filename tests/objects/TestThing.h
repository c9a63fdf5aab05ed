#pragma once
// A small observable class with one property of each kind, for the object framework's tests.

#include "objects/IntrinsicPropertyDeclarationList.h"
#include "objects/IntrinsicPropertyDerivedKinds.h"
#include "objects/KovObjectLists.h"
#include "objects/ObjectManager.h"

namespace tw::testing {

class TTestThing : public TKovObservableObject {
    TW_KOV_CLASS(TTestThing, TKovObservableObject)
public:
    using TKovObservableObject::TKovObservableObject;
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list);

    TIPDouble& Number() const { return Property<TIPDouble>("Number"); }
    TIPEnumeration& Choice() const { return Property<TIPEnumeration>("Choice"); }
    TIPKovObject& Ref() const { return Property<TIPKovObject>("Ref"); }

    // Counts notifications of the observers; reactions of the class are recorded by name.
    std::vector<std::string> Reactions;
    static int Destroyed;
    ~TTestThing() override { ++Destroyed; }

protected:
    void PropertyChanged(TKovIntrinsicProperty& property) override {
        Reactions.push_back(property.Name());
    }
};

// Counts the notifications an observable sends.
struct TCountingObserver : TObserver {
    int Count = 0;
    TCountingObserver() {
        SetOnNotify([this](TNotifySender) { ++Count; });
    }
};

} // namespace tw::testing

namespace tw::testing {

// A subclass with one more property: for the copy rules between related classes.
class TTestSubThing : public TTestThing {
    TW_KOV_CLASS(TTestSubThing, TTestThing)
public:
    using TTestThing::TTestThing;
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list);
};

// A feature with one number.
class TTestFeature : public TKovUserFeature {
    TW_KOV_CLASS(TTestFeature, TKovUserFeature)
public:
    using TKovUserFeature::TKovUserFeature;
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list);
};

// A parentable object with one property of each further kind, stored and derived.
class TKindsThing : public TKovParentableObject {
    TW_KOV_CLASS(TKindsThing, TKovParentableObject)
public:
    using TKovParentableObject::TKovParentableObject;
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list);

    // State behind the derived properties.
    std::string Notes;
    int32_t Shade = 0;
    double Stiffness = 0; // pascal

protected:
    // The derived values live in fields; a memento must carry them too.
    void AssignEssentialState(const TKovObject& source) override {
        TKovParentableObject::AssignEssentialState(source);
        const auto& s = static_cast<const TKindsThing&>(source);
        Notes = s.Notes;
        Shade = s.Shade;
        Stiffness = s.Stiffness;
    }
};

} // namespace tw::testing
