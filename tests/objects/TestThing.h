#pragma once
// A small observable class with one property of each kind, for the object framework's tests.

#include "objects/IntrinsicProperty.h"
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
