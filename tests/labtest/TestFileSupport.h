#pragma once
// What the tests of the lab's files share: a temporary folder, framework materials, tests with
// phases, cyclic phases, chart settings and results of every column, and comparisons of tests.

#include "LabTestSupport.h"
#include "TemporaryFiles.h"

#include "labtest/QBPersisters.h"
#include "labtest/QBProject.h"
#include "labtest/QBPropertyNames.h"
#include "labtest/QBTestTriaxial.h"
#include "labtest/TarnwickResults.h"
#include "materials/MaterialXClient.h"
#include "materials/MaterialXFactory.h"
#include "materials/MaterialXTools.h"
#include "materials/SoilMaterialXRegistration.h"
#include "objects/ObjectManager.h"
#include "storage/HierarchicStorage.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <unistd.h>

namespace tw::testing {

// The material client of a 3D project, once.
inline void SetUpMaterials() {
    static const bool done = [] {
        TMaterialXClient_Abstract::SetInstance(std::make_unique<TMaterialXClientTarnwick>(mxcgt3D));
        TMaterialXRegisters_Soil::EnsureRegistered();
        RegisterTarnwickPersistence();
        return true;
    }();
    (void)done;
}

inline void SetUser(TKovMaterialX& material, const char* name, double value) {
    TMaterialXTools::SetUserPropertyValueFrom(material, name, value);
}

// A medium dense sand in Hardening Soil, as a user gives it (kN/m2, stored in pascal).
inline std::unique_ptr<TKovSoilMaterialX> HardeningSoilSand(TKovObjectManager* manager = nullptr) {
    SetUpMaterials();
    auto sand =
        TMaterialXFactory::CreateSoilMaterialX(manager, "Dense sand", mxsmmHardeningSoil, nullptr);
    SetUser(*sand, "phi", 35.0);
    SetUser(*sand, "psi", 5.0);
    SetUser(*sand, "E50Ref", 40e6);
    SetUser(*sand, "EOedRef", 40e6);
    SetUser(*sand, "EURRef", 120e6);
    return sand;
}

// Every stored value of a material by name, as text.
inline std::map<std::string, std::string> StoredValues(const TKovMaterialX& material) {
    std::map<std::string, std::string> values;
    for (TKovIntrinsicProperty* property : material.InternalProperties())
        if (!property->IsDerived())
            values[property->Name()] = property->ValueAsText();
    return values;
}

// Rows of every column with values of their own: column c of row r holds a number no other
// cell holds, a fifth of the cells of column 7 are not set, and every third row is chosen.
inline void FillResults(TQBResults& results, int rows) {
    results.ClearRows();
    results.AddNewRows(rows);
    for (int c = 0; c < QBResultTypeCount; ++c)
        for (int r = 0; r < rows; ++r)
            if (c != 7 || r % 5 != 0)
                results.SetValueByType(r, static_cast<TQBResultType>(c),
                                       -1e3 * r - 0.001 * c + (c == 9 ? 1e-9 * r : 0.0));
    for (int r = 0; r < rows; r += 3)
        results.SetIsSelectedRow(r, true);
}

inline void ExpectSameResults(const TQBResults& a, const TQBResults& b) {
    ASSERT_EQ(a.RowCount(), b.RowCount());
    for (int c = 0; c < QBResultTypeCount; ++c) {
        const auto type = static_cast<TQBResultType>(c);
        const auto x = a.Column(type), y = b.Column(type);
        ASSERT_TRUE(std::equal(x.begin(), x.end(), y.begin(), y.end())) << "column " << c;
        const auto f = a.IsSetColumn(type), g = b.IsSetColumn(type);
        ASSERT_TRUE(std::equal(f.begin(), f.end(), g.begin(), g.end())) << "flags " << c;
    }
    const auto s = a.SelectedRows(), t = b.SelectedRows();
    EXPECT_TRUE(std::equal(s.begin(), s.end(), t.begin(), t.end()));
}

// The stored properties of two objects, by name and as text; derived ones and references left
// out.
inline std::map<std::string, std::string> PropertyTexts(const TKovObservableObject& object) {
    std::map<std::string, std::string> texts;
    for (int i = 0; i < object.IntrinsicPropertiesCount(); ++i) {
        const TKovIntrinsicProperty* property = object.GetIntrinsicProperty(i);
        if (property->IsDerived() || dynamic_cast<const TIPKovObject*>(property) ||
            property->Name() == "Name")
            continue;
        texts[property->Name()] = property->ValueAsText();
    }
    return texts;
}

// A triaxial test set up beyond its defaults: K0 consolidation (75 and 150 kN/m2), undrained, three
// phases (the second and third repeated four times), a chart of its own and a hidden default chart.
inline void SetUpTriaxial(TQBTestBase& test) {
    test.Property(ip::Behaviour).SetIntValue(qbbhUndrained);
    test.Property(ip::Consolidation).SetIntValue(qbcK0);
    test.Property(ip::K0).SetValue(0.5);
    test.Property(ip::CellPressure).SetValue(75e3);
    test.AddNewPhase();
    test.AddNewPhase();
    test.Phases()[1].SetSteps(40);
    test.Phases()[1].SetStrainIncrement(ldYY, -2.5);
    test.Phases()[2].SetSteps(20);
    test.Phases()[2].SetStressIncrement(ldXX, 12e3);
    test.Phases()[2].SetBoundaryCondition(ldXX, bcFixedStress);
    test.MarkPhasesCyclic(1, 2, 4);
    TQBChartSettings& own = test.ChartSettings().AddDefault(ctCustom);
    own.SetTitle("p' against time");
    own.XAxis().SetResultType(rtT);
    own.YAxis().SetResultType(rtP);
    own.YAxis().SetLogarithmic(true);
    test.ChartSettings().GetItems(0)->SetVisible(false);
}

inline void ExpectSameTest(const TQBTestBase& a, const TQBTestBase& b) {
    EXPECT_EQ(a.TestType(), b.TestType());
    EXPECT_EQ(a.TestMethod(), b.TestMethod());
    EXPECT_EQ(PropertyTexts(a), PropertyTexts(b));
    ASSERT_EQ(a.Phases().Count(), b.Phases().Count());
    for (int i = 0; i < a.Phases().Count(); ++i) {
        EXPECT_EQ(PropertyTexts(a.Phases()[i]), PropertyTexts(b.Phases()[i])) << "phase " << i;
        EXPECT_EQ(b.Phases()[i].Parent(), &b) << "phase " << i;
    }
    ASSERT_EQ(a.CyclicPhases().Count(), b.CyclicPhases().Count());
    for (int i = 0; i < a.CyclicPhases().Count(); ++i) {
        const TQBCyclicPhases& x = *a.CyclicPhases().GetItems(i);
        const TQBCyclicPhases& y = *b.CyclicPhases().GetItems(i);
        EXPECT_EQ(x.Cycles(), y.Cycles());
        // The references resolve to the phases of the test read, at the same places.
        EXPECT_EQ(b.Phases().IndexOf(y.FirstPhase()), a.Phases().IndexOf(x.FirstPhase()));
        EXPECT_EQ(b.Phases().IndexOf(y.LastPhase()), a.Phases().IndexOf(x.LastPhase()));
    }
    EXPECT_EQ(a.PhaseCountIncludingCycles(), b.PhaseCountIncludingCycles());
    ASSERT_EQ(a.ChartSettings().Count(), b.ChartSettings().Count());
    for (int i = 0; i < a.ChartSettings().Count(); ++i) {
        const TQBChartSettings& x = *a.ChartSettings().GetItems(i);
        const TQBChartSettings& y = *b.ChartSettings().GetItems(i);
        EXPECT_EQ(PropertyTexts(x), PropertyTexts(y)) << "chart " << i;
        EXPECT_EQ(PropertyTexts(x.XAxis()), PropertyTexts(y.XAxis())) << "chart " << i;
        EXPECT_EQ(PropertyTexts(x.YAxis()), PropertyTexts(y.YAxis())) << "chart " << i;
        EXPECT_EQ(x.SortIndex(), y.SortIndex()) << "chart " << i;
    }
    ExpectSameResults(a.Results(), b.Results());
}

} // namespace tw::testing
