#pragma once
// A small model class for the units tests: the project's unit properties, driving a system of
// units the way a project does, and numbers with a unit, one of them bounded.

#include "objects/IntrinsicPropertyDeclarationList.h"
#include "objects/IntrinsicPropertyDerivedKinds.h"
#include "objects/ObjectManager.h"
#include "units/ProjectUnits.h"

namespace tw::testing {

class TUnitsThing : public TKovObservableObject {
    TW_KOV_CLASS(TUnitsThing, TKovObservableObject)
public:
    using TKovObservableObject::TKovObservableObject;
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list);

    // Compression is negative: a cell pressure lies between -1 MPa and 0, in Pa.
    TIPDoubleWithUnit& CellPressure() const { return Property<TIPDoubleWithUnit>("CellPressure"); }
    TIPDoubleWithUnit& Temperature() const { return Property<TIPDoubleWithUnit>("Temperature"); }
    TIPEnumeration& Unit(TProjectUnitKind kind) const {
        return Property<TIPEnumeration>(ProjectUnitList(kind).PropertyName);
    }

    TSystemOfUnits* Units = nullptr; // not owned; what the unit properties drive

protected:
    void PropertyChanged(TKovIntrinsicProperty& property) override {
        if (Units)
            ApplyProjectUnitProperty(property, *Units);
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
