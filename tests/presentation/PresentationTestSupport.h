#pragma once
// A project on a material with a Mohr-Coulomb strength, and results written as the kernel would
// leave them, for the tests of charts and tables.

#include "labtest/LabTestSupport.h"
#include "labtest/QBProject.h"
#include "objects/ObjectManager.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>

namespace tw::testing {

// One result row in base units: stresses in pascal, strains as fractions, compression negative.
struct TStressPoint {
    double Sxx, Syy, Szz;
    double Exx = 0.0, Eyy = 0.0, Ezz = 0.0;
    double Time = 0.0;
};

// Writes the rows into the test's results, computes the derived columns and tells the test's
// observers that a run ended, as DoTest does.
inline void SetResults(TQBTestBase& test, int rows, const std::function<TStressPoint(int)>& row) {
    TQBResults& results = test.Results();
    results.ClearRows();
    for (int i = 0; i < rows; ++i) {
        const TStressPoint p = row(i);
        const int r = results.AddNewRow();
        const TQBResultType types[] = {rtT,     rtEpsXX, rtEpsYY, rtEpsZZ,   rtGamXY,
                                       rtGamYZ, rtGamZX, rtSigXX, rtSigYY,   rtSigZZ,
                                       rtTauXY, rtTauYZ, rtTauZX, rtPExcess, rtPw};
        const double values[] = {p.Time, p.Exx, p.Eyy, p.Ezz, 0, 0, 0, p.Sxx,
                                 p.Syy,  p.Szz, 0,     0,     0, 0, 0};
        for (size_t c = 0; c < std::size(types); ++c)
            results.SetValueByType(r, types[c], values[c]);
    }
    results.CalculateDerivedResults();
    test.EndCalculationObservable().NotifyObservers();
}

// Drained triaxial compression from 100 to 300 kPa axial stress under a cell pressure of
// 100 kPa: -10 % axial strain, +3 % in each lateral direction at the end.
inline void SetTriaxialResults(TQBTestBase& test, int rows = 11) {
    SetResults(test, rows, [rows](int i) {
        const double t = rows > 1 ? static_cast<double>(i) / (rows - 1) : 1.0;
        return TStressPoint{-100e3,   -100e3 - 200e3 * t, -100e3,    0.03 * t,
                            -0.1 * t, 0.03 * t,           3600.0 * i};
    });
}

struct PresentationFixture : ::testing::Test {
    TKovObjectManager Manager;
    TFakeMaterial* Material = nullptr; // owned by the project
    std::unique_ptr<TQBProject> Project;

    void SetUp() override {
        auto material = std::make_unique<TFakeMaterial>();
        material->Numbers["cRef"] = 10e3; // pascal
        material->Numbers["phi"] = 30.0;  // degrees
        Material = material.get();
        Manager.LockRevert();
        Project = Make<TQBProject>(&Manager, std::move(material), tm2D);
        Manager.UnlockRevert();
    }
    void TearDown() override { Project.reset(); }

    TQBTestBase& Triaxial() const { return *Project->TriaxialTest(); }
    // A copy of a main test loaded for comparison; answers the loaded test.
    TQBTestBase& LoadCopyOf(const TQBTestBase& test) {
        Project->AddLoadedTest(test.Clone());
        TQBTestList& loaded = Project->LoadedTests();
        return *loaded.GetItems(loaded.Count() - 1);
    }
};

} // namespace tw::testing
