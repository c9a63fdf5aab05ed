// What every model of the kernel shares: its tangent agrees with the derivative of its own
// stress update, the lab's default tests run on it, and its peak and final values do not depend
// on the number of steps.

#include "Models.h"
#include "Kernel.h"
#include "KernelFile.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace tw::kernel;
using namespace tw::kernel::testing;

namespace {

struct TNamedMaterial {
    const char* Name;
    TKernelFile File;
};

// A typical material of each model (kN, m, day).
std::vector<TNamedMaterial> Materials() {
    std::vector<TNamedMaterial> all;
    TKernelFile f;
    all.push_back({"Linear Elastic", TKernelFile(f).LinearElastic(5000, 0.3)});
    all.push_back({"Mohr-Coulomb", TKernelFile(f).MohrCoulomb(5000, 0.3, 5, 30, 5, true, 0)});
    THardeningSoilMaterial hs;
    hs.Psi = 5;
    hs.Cohesion = 2;
    all.push_back({"Hardening Soil", TKernelFile(f).HardeningSoil(hs)});
    hs.G0 = 100000;
    hs.Gamma07 = 1e-4;
    all.push_back({"HS small", TKernelFile(f).HardeningSoil(hs)});
    TKernelFile mcc = TKernelFile(f).CamClay(5, 0.1, 0.02, 1.2, 0.2, 0.6);
    mcc.Parameters[0] = 3000; // the reference shear modulus the writer gives, for the pore fluid
    all.push_back({"Modified Cam-Clay", mcc});
    TKernelFile ss = TKernelFile(f).MohrCoulomb(3000, 0.2, 2, 25, 0, true, 0);
    all.push_back({"Soft Soil", TKernelFile(ss).CamClay(4, 0.1, 0.02, 1.2, 0.15, 0.58)});
    all.push_back(
        {"Soft Soil Creep", TKernelFile(ss).CamClay(8, 0.1, 0.02, 1.2, 0.15, 0.58, 0.004, 1)});
    all.push_back({"Hoek-Brown",
                   TKernelFile(f).HoekBrown(1e6, 0.25, 50000, 2, 0.004, 0.51, 10, 5000, true, 0)});
    return all;
}

TPhaseEntry Phase(int steps, double duration, std::array<int, 6> conditions) {
    TPhaseEntry phase;
    phase.Steps = steps;
    phase.Duration = duration;
    phase.Conditions = conditions;
    return phase;
}

// The lab's default tests: test type, initial stresses and phases as it writes them by default.
std::vector<TKernelFile> DefaultTests(const TKernelFile& material) {
    std::vector<TKernelFile> tests;
    auto test = [&](int type, Vec6 stress, std::vector<TPhaseEntry> phases) {
        TKernelFile file = material;
        file.TestType = type;
        file.InitialStress = stress;
        file.Phases = std::move(phases);
        tests.push_back(file);
    };
    const Vec6 isotropic = (Vec6() << -100, -100, -100, 0, 0, 0).finished();
    const Vec6 k0 = (Vec6() << -50, -100, -50, 0, 0, 0).finished();
    test(0, isotropic, {TriaxialPhase(100, -0.1)});
    test(0, isotropic, {TriaxialPhase(100, -0.1)});
    tests.back().Phases[0].Duration = 1;
    test(1, k0, {Phase(100, 1, {0, 1, 0, 1, 0, 0})});
    test(2, k0, {Phase(100, 1, {0, 0, 0, 1, 0, 0})});
    test(3, k0, {Phase(100, 1, {0, 1, 0, 0, 0, 0})});
    test(4, k0, {Phase(100, 0, {0, 1, 0, 1, 0, 0})});
    test(5, k0, {Phase(100, 1, {0, 0, 0, 0, 0, 0})});
    TPhaseEntry pmt = Phase(100, 1, {0, 1, 1, 1, 0, 0});
    pmt.Strain(0) = 0.1; // 10 % of the radius 1
    test(6, k0, {pmt});
    tests.back().InnerRadius = 1;
    test(7, isotropic, {Phase(100, 0, {1, 1, 1, 1, 0, 0})});
    // And loaded ones: an oedometer to 400, a simple shear to 10 %, cycles of simple shear.
    TPhaseEntry oedometer = Phase(100, 1, {0, 1, 0, 1, 0, 0});
    oedometer.Stress(1) = -300;
    test(1, k0, {oedometer});
    TPhaseEntry shear = Phase(100, 1, {0, 1, 0, 0, 0, 0});
    shear.Strain(3) = 0.1;
    test(3, k0, {shear});
    TPhaseEntry quarter = Phase(10, 0.25, {0, 1, 0, 0, 0, 0});
    quarter.Strain(3) = 0.002;
    TPhaseEntry half = quarter;
    half.Strain(3) = -0.004;
    half.Steps = 20;
    TPhaseEntry back = half;
    back.Strain(3) = 0.004;
    test(4, k0, {quarter, half, back, half, back, quarter});
    return tests;
}

} // namespace

// The tangent of a model's update is the derivative of the update: for the explicit models the
// continuum tangent, which a small increment's update approaches, at states in plastic loading.
TEST(Models, TangentIsTheDerivativeOfTheUpdate) {
    struct TCase {
        const char* Name;
        Vec6 Stress;
        Vec6 Direction; // of plastic loading
    };
    const Vec6 shear = (Vec6() << 0.5, -1, 0.5, 0.3, 0.1, -0.2).finished();
    const Vec6 compression = (Vec6() << -0.3, -1, -0.4, 0.05, 0, 0).finished();
    for (const auto& material : Materials()) {
        // Mohr-Coulomb's return and its consistent tangent have their own test, on every feature
        // of the surface.
        if (std::string(material.Name) == "Linear Elastic" ||
            std::string(material.Name) == "Mohr-Coulomb")
            continue;
        const TKernelFile& file = material.File;
        const TKernelInput input = ParseKernelInput("m.qbc", TKernelFile(file).Text());
        std::vector<std::string> warnings;
        const auto model = CreateSoilModel(input, warnings);
        const bool rock = std::string(material.Name) == "Hoek-Brown";
        const double scale = rock ? 10000 : 100;
        // A state near failure, reached by loading from a normally consolidated one.
        TModelPoint start;
        start.Stress << -0.6 * scale, -1.2 * scale, -0.8 * scale, 0.1 * scale, 0, 0;
        model->Initialise(start);
        // Soft Soil Creep has no cap: without time only its failure surface yields.
        const bool creep = std::string(material.Name) == "Soft Soil Creep";
        for (const Vec6& direction : {shear, compression}) {
            if (creep && direction == compression)
                continue;
            // Load until the update leaves the elastic one.
            TModelPoint point = start;
            const Vec6 increment = 1e-7 * direction;
            TModelPoint end;
            Mat6 tangent;
            for (int i = 0;; ++i) {
                ASSERT_TRUE(model->Integrate(point, increment, 0.0, end, &tangent));
                const Vec6 elastic = model->ElasticTangent(point) * increment;
                if ((end.Stress - point.Stress - elastic).norm() > 1e-2 * elastic.norm())
                    break;
                ASSERT_LT(i, 1000) << material.Name << ": no plastic loading";
                TModelPoint next;
                ASSERT_TRUE(model->Integrate(point, 2e-4 * direction, 0.0, next, nullptr));
                point = next;
            }
            Mat6 numeric;
            const double h = 1e-10;
            for (int j = 0; j < 6; ++j) {
                Vec6 plus = increment, minus = increment;
                plus(j) += h;
                minus(j) -= h;
                TModelPoint a, b;
                ASSERT_TRUE(model->Integrate(point, plus, 0.0, a, nullptr));
                ASSERT_TRUE(model->Integrate(point, minus, 0.0, b, nullptr));
                numeric.col(j) = (a.Stress - b.Stress) / (2 * h);
            }
            EXPECT_LT((tangent - numeric).norm(), 1e-3 * numeric.norm()) << material.Name << "\n"
                                                                         << tangent << "\n\n"
                                                                         << numeric;
        }
    }
}

TEST(Models, EveryModelRunsTheLabsDefaultTests) {
    for (const auto& material : Materials())
        for (const auto& test : DefaultTests(material.File)) {
            const std::string where =
                std::string(material.Name) + ", test type " + std::to_string(test.TestType);
            const TComputedTest result = ComputeTest(ParseKernelInput("d.qbc", test.Text()));
            EXPECT_TRUE(result.Outcome.Completed) << where << ": " << result.Outcome.Message;
            for (const auto& row : result.Rows)
                for (double value : row)
                    ASSERT_TRUE(std::isfinite(value)) << where;
        }
}

// A drained and an undrained triaxial test with 10 and with 1000 steps: the peak deviatoric
// stress and the final volumetric strain (the final pore pressure) agree within 1 %.
TEST(Models, TenAndAThousandStepsGiveTheSamePeakAndFinalValues) {
    for (const auto& material : Materials()) {
        const bool rock = std::string(material.Name) == "Hoek-Brown";
        for (bool undrained : {false, true}) {
            auto run = [&](int steps) {
                TKernelFile file = material.File;
                const double cell = rock ? 5000 : 100;
                file.InitialStress << -cell, -cell, -cell, 0, 0, 0;
                file.Phases = {TriaxialPhase(steps, rock ? -0.02 : -0.1)};
                file.Phases[0].Duration = 1;
                if (undrained)
                    file.Undrained(0, 2e6, 0.4);
                return ComputeTest(ParseKernelInput("s.qbc", file.Text()));
            };
            const auto coarse = run(10), fine = run(1000);
            const std::string where =
                std::string(material.Name) + (undrained ? ", undrained" : ", drained");
            ASSERT_TRUE(coarse.Outcome.Completed) << where << ": " << coarse.Outcome.Message;
            ASSERT_TRUE(fine.Outcome.Completed) << where << ": " << fine.Outcome.Message;
            EXPECT_NEAR(coarse.PeakDeviatoricStress, fine.PeakDeviatoricStress,
                        0.01 * fine.PeakDeviatoricStress)
                << where;
            const auto& a = coarse.LastRow;
            const auto& b = fine.LastRow;
            const double va =
                undrained ? a[rcPExcess] : a[rcEpsXX] + a[rcEpsXX + 1] + a[rcEpsXX + 2];
            const double vb =
                undrained ? b[rcPExcess] : b[rcEpsXX] + b[rcEpsXX + 1] + b[rcEpsXX + 2];
            EXPECT_NEAR(va, vb, 0.01 * std::abs(vb) + 1e-12) << where;
        }
    }
}
