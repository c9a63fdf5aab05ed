#include "units/IPSystemOfUnits.h"
#include "objects/ObjectManager.h"

#include <gtest/gtest.h>

using namespace tw;

namespace {
// An object with units of its own and a view on another system, as a material list has.
class TUnitsOwner : public TKovObservableObject {
    TW_KOV_CLASS(TUnitsOwner, TKovObservableObject)
public:
    using TKovObservableObject::TKovObservableObject;
    TSystemOfUnits Shared;
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
        AddSystemOfUnits(list, "Units");
        AddDerivedSystemOfUnits(list, "SharedUnits",
                                {[](const TKovIntrinsicProperty& p) {
                                     return &static_cast<TUnitsOwner*>(p.Owner())->Shared;
                                 },
                                 [](TKovIntrinsicProperty& p, const TSystemOfUnits* const& u) {
                                     static_cast<TUnitsOwner*>(p.Owner())->Shared.CopyUnitsFrom(*u);
                                 }});
    }

protected:
    // The shared system is state of this object: its mementos carry it, so undo restores it.
    void AssignEssentialState(const TKovObject& source) override {
        TKovObservableObject::AssignEssentialState(source);
        Shared.CopyUnitsFrom(static_cast<const TUnitsOwner&>(source).Shared);
    }
};
TW_KOV_CLASS_IMPL(TUnitsOwner, TKovObservableObject, &TUnitsOwner::DeclareProperties)
} // namespace

TEST(IPSystemOfUnits, HoldsACopyThatUndoesAndCompares) {
    TKovObjectManager manager;
    manager.LockRevert();
    auto owner = Make<TUnitsOwner>(&manager);
    manager.UnlockRevert();
    auto& units = owner->Property<TIPSystemOfUnits>("Units");
    EXPECT_EQ(units.ValueAsText(), "N, m, s");

    TSystemOfUnits project;
    project.SetUnitsOfNewProject();
    units.SetValue(project);
    project.Length.SetPresentationUnit("ft"); // the property holds its own copy
    EXPECT_EQ(units.Value().PresentationUnitText(qtPressure), "kN/m²");
    EXPECT_EQ(manager.GetUndoName(0), "Set UnitsOwner_1.Units to \"kN, m, day\"");
    units.SetValue(units.Value()); // equal: no step
    EXPECT_EQ(manager.UndoCount(), 1);
    manager.Undo();
    EXPECT_EQ(units.ValueAsText(), "N, m, s");

    auto other = Make<TUnitsOwner>(nullptr);
    EXPECT_TRUE(units.HasSameValueAs(other->Property<TIPSystemOfUnits>("Units")));
    manager.Redo();
    EXPECT_FALSE(units.HasSameValueAs(other->Property<TIPSystemOfUnits>("Units")));

    // The derived kind reads and writes the owner's system.
    auto& shared = owner->Property<TIPSystemOfUnits>("SharedUnits");
    EXPECT_TRUE(shared.IsDerived());
    shared.SetValue(project);
    EXPECT_EQ(owner->Shared.PresentationUnitText(qtPressure), "kN/ft²");
    EXPECT_EQ(shared.Value().PresentationUnitText(qtPressure), "kN/ft²");
    manager.Undo();
    EXPECT_EQ(owner->Shared.PresentationUnitText(qtPressure), "N/m²");
}
