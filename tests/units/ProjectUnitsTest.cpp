// The project's unit properties and how they keep in step with its system of units.

#include "UnitsThing.h"

#include <gtest/gtest.h>

using namespace tw;
using namespace tw::testing;

namespace {
const TProjectUnitKind AllKinds[] = {pukLength, pukForce, pukTime};
}

TEST(ProjectUnits, EveryListedUnitIsAcceptedAndTheDefaultsAreThoseOfANewProject) {
    TSystemOfUnits units;
    units.SetUnitsOfNewProject();
    for (TProjectUnitKind kind : AllKinds) {
        const TProjectUnitList& list = ProjectUnitList(kind);
        EXPECT_EQ(ProjectUnitOrdinal(units, kind), list.DefaultOrdinal) << list.PropertyName;
    }
    EXPECT_EQ(ProjectUnitList(pukLength).Strings[6], "m");
    EXPECT_EQ(ProjectUnitList(pukForce).Strings[4], "kN");
    EXPECT_EQ(ProjectUnitList(pukTime).Strings[3], "day");

    // Each value is a unit the system takes, found again at its ordinal; the visual order
    // offers the same values.
    for (TProjectUnitKind kind : AllKinds) {
        const TProjectUnitList& list = ProjectUnitList(kind);
        EXPECT_TRUE(std::is_permutation(list.Strings.begin(), list.Strings.end(),
                                        list.VisualOrder.begin(), list.VisualOrder.end()));
        for (int ordinal = 0; ordinal < static_cast<int>(list.Strings.size()); ++ordinal) {
            SetProjectUnit(units, kind, ordinal);
            EXPECT_EQ(ProjectUnitOrdinal(units, kind), ordinal) << list.Strings[ordinal];
            EXPECT_EQ(ProjectUnitOf(units, kind).PresentationUnit(), list.Strings[ordinal]);
        }
        EXPECT_THROW(SetProjectUnit(units, kind, -1), EUnitException);
        EXPECT_THROW(SetProjectUnit(units, kind, static_cast<int>(list.Strings.size())),
                     EUnitException);
    }
    // The force brings its mass.
    SetProjectUnit(units, pukForce, 2);
    EXPECT_EQ(units.Force.PresentationUnit(), "lbf");
    EXPECT_EQ(units.Mass.PresentationUnit(), "lb");
}

TEST(ProjectUnits, PropertiesAndSystemKeepInStepBothWays) {
    TKovObjectManager manager;
    TSystemOfUnits units;
    units.SetUnitsOfNewProject();
    auto project = Make<TUnitsThing>(&manager);
    project->Units = &units;

    // Declared after "Version", in the order length, force, time.
    const auto& declarations = project->IntrinsicPropertyDeclarations();
    const int version = declarations.GetIndexOfDeclarationFor("Version");
    EXPECT_EQ(declarations.GetIndexOfDeclarationFor("UnitLength"), version + 1);
    EXPECT_EQ(declarations.GetIndexOfDeclarationFor("UnitForce"), version + 2);
    EXPECT_EQ(declarations.GetIndexOfDeclarationFor("UnitTime"), version + 3);

    // After construction the project takes its properties from the system.
    ProjectUnitPropertiesFromSystem(units, *project);
    EXPECT_EQ(project->Unit(pukLength).StrValueOriginal(), "m");
    EXPECT_EQ(project->Unit(pukForce).StrValueOriginal(), "kN");
    EXPECT_EQ(project->Unit(pukTime).StrValueOriginal(), "day");

    // A user sets a property: the system follows, mass with force.
    manager.ClearRevertStacks();
    project->Unit(pukForce).SetStrValue("kip");
    EXPECT_EQ(units.Force.PresentationUnit(), "kip");
    EXPECT_EQ(units.Mass.PresentationUnit(), "klb");
    project->Unit(pukLength).SetStrValue("ft");
    EXPECT_EQ(units.Pressure.PresentationUnit(), "kip/ft²");

    // Undo restores the property, and through it the system.
    manager.Undo();
    EXPECT_EQ(project->Unit(pukLength).StrValueOriginal(), "m");
    EXPECT_EQ(units.Length.PresentationUnit(), "m");
    EXPECT_EQ(units.Pressure.PresentationUnit(), "kip/m²");

    // The system changes (a file's units are copied in): the properties follow.
    units.Time.SetPresentationUnit("h");
    units.Length.SetPresentationUnit("cm");
    ProjectUnitPropertiesFromSystem(units, *project);
    EXPECT_EQ(project->Unit(pukTime).StrValueOriginal(), "h");
    EXPECT_EQ(project->Unit(pukLength).StrValueOriginal(), "cm");

    // A unit outside its list leaves its property as it is.
    units.Length.SetPresentationUnit("kN");
    EXPECT_EQ(ProjectUnitOrdinal(units, pukLength), -1);
    ProjectUnitPropertiesFromSystem(units, *project);
    EXPECT_EQ(project->Unit(pukLength).StrValueOriginal(), "cm");

    // Other properties are not unit properties.
    EXPECT_FALSE(ApplyProjectUnitProperty(project->CellPressure(), units));
    EXPECT_FALSE(ApplyProjectUnitProperty(project->Property<TIPInteger>("Version"), units));
    EXPECT_TRUE(ApplyProjectUnitProperty(project->Unit(pukLength), units));
    EXPECT_EQ(units.Length.PresentationUnit(), "cm");
}
