#include "LabTestSupport.h"

#include "labtest/QBRFile.h"
#include "labtest/QBTestBase.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>

using namespace tw;
using namespace tw::testing;
using ::testing::StrEq;
using ::testing::ThrowsMessage;
namespace fs = std::filesystem;

namespace {

// A results table in base units, read from rows as a result file holds them (here without unit
// conversion).
std::unique_ptr<TQBResults> Read(std::initializer_list<std::string> lines, int version = 9) {
    auto results = Make<TQBResults>(nullptr);
    const TResultRowConversion identity(nullptr);
    for (const std::string& line : lines)
        ReadResultRow(line, *results, results->AddNewRow(), version, identity);
    results->CalculateDerivedResults();
    return results;
}

// A full kernel row: time, six strains, six stresses, excess pore pressure, pore pressure,
// effective saturation, saturation, temperature, unfrozen water saturation.
std::string Row(double sxx, double syy, double szz, double pexcess = 0, double pw = 0,
                double se = 1) {
    return Format("0\t-0.01\t0.02\t-0.01\t0\t0\t0\t%g\t%g\t%g\t0\t0\t0\t%g\t%g\t%g\t1\t293\t1", sxx,
                  syy, szz, pexcess, pw, se);
}

} // namespace

TEST(Results, PrincipalValuesAndInvariantsOfKnownStates) {
    auto results = Read({Row(-100, -200, -100), Row(-50, -50, -50)});
    // The triaxial state: the most compressive stress is sigma 1.
    EXPECT_NEAR(results->GetValueByType(0, rtSig1), -200, 1e-9);
    EXPECT_NEAR(results->GetValueByType(0, rtSig2), -100, 1e-9);
    EXPECT_NEAR(results->GetValueByType(0, rtSig3), -100, 1e-9);
    EXPECT_NEAR(results->GetValueByType(0, rtP), -133.333333333333, 1e-9);
    EXPECT_NEAR(results->GetValueByType(0, rtQ), 100, 1e-9);
    EXPECT_NEAR(results->GetValueByType(0, rtSig1MinSig3), 100, 1e-9);
    EXPECT_NEAR(results->GetValueByType(0, rtSigYYMinSigXXDiv2), -50, 1e-12);
    EXPECT_NEAR(results->GetValueByType(0, rtEpsV), 0.0, 1e-15);
    // Deviatoric strain of (-1, 2, -1) %: sqrt(2/3 * (1 + 4 + 1) * 1e-4).
    EXPECT_NEAR(results->GetValueByType(0, rtEpsQ), std::sqrt(2.0 / 3.0 * 6e-4), 1e-12);
    EXPECT_NEAR(results->GetValueByType(0, rtEps1), -0.01, 1e-12);
    EXPECT_NEAR(results->GetValueByType(0, rtEps3), 0.02, 1e-12);
    // All equal: no deviator, the diagonal as it stands.
    EXPECT_EQ(results->GetValueByType(1, rtQ), 0.0);
    EXPECT_EQ(results->GetValueByType(1, rtSig1), -50.0);

    // A rotated state: principal values of a shear-only tensor are -t, 0, t.
    double p1, p2, p3, mean, q;
    TQBResults::PrincipalEigenValues(0, 0, 0, 30, 0, 0, p1, p2, p3, mean, q);
    EXPECT_NEAR(p1, -30, 1e-9);
    EXPECT_NEAR(p2, 0, 1e-9);
    EXPECT_NEAR(p3, 30, 1e-9);
    EXPECT_NEAR(q, std::sqrt(3.0) * 30, 1e-9);
    TQBResults::PrincipalEigenValues(-10, -20, -30, 4, -5, 6, p1, p2, p3, mean, q);
    EXPECT_LE(p1, p2);
    EXPECT_LE(p2, p3);
    EXPECT_NEAR(p1 + p2 + p3, -60, 1e-9);
}

TEST(Results, PorePressureSuctionAndTotalStresses) {
    auto results = Read({Row(-100, -200, -100, -20, -20, 1), Row(-100, -200, -100, 0, 50, 0.5)});
    EXPECT_EQ(results->GetValueByType(0, rtSuction), 0.0); // a pore pressure below 0 is no suction
    EXPECT_NEAR(results->GetValueByType(0, rtPActive), -20, 1e-12);
    EXPECT_NEAR(results->GetValueByType(0, rtSigYYTotal), -220, 1e-12);
    EXPECT_NEAR(results->GetValueByType(0, rtPTotal), -153.333333333333, 1e-9);
    EXPECT_EQ(results->GetValueByType(1, rtSuction), 50.0);
    // The active pore pressure (Se * pw) makes the total stress where it is set.
    EXPECT_NEAR(results->GetValueByType(1, rtPActive), 25, 1e-12);
    EXPECT_NEAR(results->GetValueByType(1, rtSigXXTotal), -75, 1e-12);
}

TEST(Results, ShortRowsLabelsEmptyFieldsAndOldFiles) {
    auto results = Read({"0\t0\t0\t0\t0\t0\t0\t-100\t-200\t-100\t0\t0\t0\t0\t=step 1",
                         "1\t-0.1\t\t0", Row(-1, -2, -3) + "\t=label"});
    // Row 0 has everything but ends at its label.
    EXPECT_TRUE(results->GetIsSetByType(0, rtQ));
    EXPECT_FALSE(results->GetIsSetByType(0, rtPw));
    // Row 1 lacks stresses and one strain: nothing is derived for it, the rest goes on.
    EXPECT_FALSE(results->GetIsSetByType(1, rtEpsYY));
    EXPECT_FALSE(results->GetIsSetByType(1, rtQ));
    EXPECT_FALSE(results->GetIsSetByType(1, rtEpsV));
    EXPECT_TRUE(results->GetIsSetByType(2, rtQ));
    EXPECT_EQ(results->GetValueByType(2, rtTemperature), 293.0);

    // Below version 3 the yz and zx columns are missing: sigma xx stands at position 5.
    auto old = Read({"0\t0\t0\t0\t0\t-10\t-20\t-30\t0\t0"}, 2);
    EXPECT_EQ(old->GetValueByType(0, rtSigXX), -10.0);
    EXPECT_EQ(old->GetValueByType(0, rtTauXY), 0.0);
    EXPECT_TRUE(old->GetIsSetByType(0, rtTauYZ));
    EXPECT_TRUE(old->GetIsSetByType(0, rtQ));

    EXPECT_THROW(Read({"0\t1x"}), EQBResultsException);
}

TEST(Results, MohrCircleOfTheLastRow) {
    const std::string row = Row(-100, -300, -100);
    auto results = Read({row, row, row, row, row});
    // Five rows: the angle runs from one step (pi / 4) in steps; the first row is the largest
    // principal stress, the last the smallest, both on the axis.
    EXPECT_NEAR(results->GetValueByType(0, rtSig), -100, 1e-5);
    EXPECT_EQ(results->GetValueByType(0, rtTau), 0.0);
    EXPECT_NEAR(results->GetValueByType(1, rtSig), -200, 1e-5);
    EXPECT_NEAR(results->GetValueByType(1, rtTau), 100, 1e-5);
    EXPECT_NEAR(results->GetValueByType(3, rtSig), -300, 1e-5);
    EXPECT_NEAR(results->GetValueByType(3, rtTau), 0, 1e-5);
    EXPECT_NEAR(results->GetValueByType(4, rtSig), -300, 1e-5);
    EXPECT_EQ(results->GetValueByType(4, rtTau), 0.0);
    // One row: the step divides by zero, and the row ends as the smallest principal stress.
    auto single = Read({Row(-100, -300, -100)});
    EXPECT_NEAR(single->GetValueByType(0, rtSig), -300, 1e-5);
    EXPECT_EQ(single->GetValueByType(0, rtTau), 0.0);
}

TEST(Results, ExtremesUnitsAndVisibility) {
    auto test = CreateTest(ttTriaxial, nullptr, tm3D);
    TSystemOfUnits units;
    units.SetUnitsOfNewProject();
    EXPECT_EQ(test->ResultValueInProjectUnits(0, rtQ, &units), 0.0);
    TQBResults& results = test->Results();
    const TResultRowConversion kilo(&units);
    ReadResultRow(Row(-100, -200, -100), results, results.AddNewRow(), 9, kilo);
    ReadResultRow(Row(-150, -400, -150), results, results.AddNewRow(), 9, kilo);
    results.CalculateDerivedResults();
    // Held in pascal, shown in kN/m².
    EXPECT_NEAR(results.GetValueByType(1, rtSig1), -4e5, 1e-6);
    EXPECT_NEAR(test->ResultValueInProjectUnits(1, rtSig1, &units), -400, 1e-9);
    EXPECT_NEAR(test->GetSig1MinInPresentationUnit(&units), -400, 1e-9);
    // All compressive: the maximum stays at its positive floor.
    EXPECT_EQ(test->GetSig1MaxInPresentationUnit(&units), 2.2250738585072014e-308);
    EXPECT_NEAR(test->GetSig3MaxInPresentationUnit(nullptr), 2.2250738585072014e-308, 0);

    EXPECT_FALSE(results.AreAvailableForType(rtSuction));
    EXPECT_TRUE(results.AreAvailableForType(rtQ));
    // With results, switching suction on leaves them as they were calculated...
    test->Property<TIPBoolean>("SuctionCondition").SetValue(true);
    EXPECT_FALSE(results.AreAvailableForType(rtSuction));
    // ...until the next run updates them.
    test->UpdateAdvancedResultsVisibility();
    EXPECT_TRUE(results.AreAvailableForType(rtSuction));
    EXPECT_TRUE(results.AreAvailableForType(rtPActive));
    EXPECT_FALSE(results.AreAvailableForType(rtTemperature));
}

TEST(Results, OldRowObjectsLoadByColumnName) {
    class TOldRow : public TKovObservableObject {
    public:
        explicit TOldRow(bool extraText) : TKovObservableObject(nullptr), FExtraText(extraText) {}
        const TKovClass& ClassType() const override { return FExtraText ? WithText() : Plain(); }
        static const TKovClass& Plain() {
            static const TKovClass cls("TOldRow", &TKovObservableObject::StaticClass(), nullptr,
                                       [](TKovIntrinsicPropertyDeclarationList& list) {
                                           list.AddDouble("Epsyy");
                                           list.AddDouble("SIGMAEFFECTIVE1");
                                           list.AddDouble("Unknown");
                                           list.AddBoolean("IsSelected");
                                       });
            return cls;
        }
        static const TKovClass& WithText() {
            static const TKovClass cls(
                "TOldRowText", &TKovObservableObject::StaticClass(), nullptr,
                [](TKovIntrinsicPropertyDeclarationList& list) { list.AddText("Epsyy"); });
            return cls;
        }

    private:
        bool FExtraText;
    };
    TOldRow a(false), b(false), bad(true);
    a.Property<TIPDouble>("Epsyy").SetValue(-0.5);
    b.Property<TIPDouble>("SigmaEffective1").SetValue(-300);
    b.Property<TIPBoolean>("IsSelected").SetValue(true);
    auto results = Make<TQBResults>(nullptr);
    results->LoadFromList({&a, &b});
    ASSERT_EQ(results->RowCount(), 2);
    EXPECT_EQ(results->GetValueByType(0, rtEpsYY), -0.5);
    EXPECT_EQ(results->GetValueByType(1, rtSig1), -300.0);
    EXPECT_TRUE(results->GetIsSelectedRow(1));
    EXPECT_FALSE(results->GetIsSelectedRow(0));
    EXPECT_TRUE(results->HasSelectedRange());
    EXPECT_THAT([&] { results->LoadFromList({&bad}); },
                ThrowsMessage<EQBResultsException>(StrEq("Unexpected legacy IP type encountered")));
}

TEST(Results, TheLabReadsWhatOurKernelWrites) {
    const fs::path dir =
        fs::temp_directory_path() / ("tw_kernel_run_" + std::to_string(::getpid()));
    fs::create_directories(dir);
    fs::copy_file(fs::path(TW_EXAMPLES) / "kernel" / "triaxial_drained_mc.qbc", dir / "run.qbc",
                  fs::copy_options::overwrite_existing);
    const std::string command =
        std::string("'") + TW_QBABC_3D + "' '" + (dir / "run.qbc").string() + "' >/dev/null";
    ASSERT_EQ(std::system(command.c_str()), 0);

    // The example's header says kN, m and day: the units of a new project.
    TSystemOfUnits units;
    units.SetUnitsOfNewProject();
    auto test = CreateTest(ttTriaxial, nullptr, tm3D);
    TQBRFile(units, (dir / "run.qbr").string()).LoadTest(*test);
    const TQBResults& results = test->Results();
    ASSERT_EQ(results.RowCount(), 201);
    const int last = results.RowCount() - 1;
    // Drained compression from an isotropic 100 kN/m²: sigma 3 stays at the cell pressure.
    EXPECT_NEAR(results.GetValueByType(0, rtP), -1e5, 1e-3);
    EXPECT_NEAR(results.GetValueByType(last, rtSig3), -1e5, 1.0);
    EXPECT_GT(results.GetValueByType(last, rtQ), 1e5);
    // The strain is the kernel's fraction, compression negative.
    EXPECT_LT(results.GetValueByType(last, rtEpsYY), -0.01);
    fs::remove_all(dir);
}
