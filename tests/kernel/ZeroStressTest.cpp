// The stress-dependent models from zero stress, as the oedometer, CRS and DSS tests start: below
// a floor of 1 kPa the stiffness and the initial cap take the floor, and above a few kPa the
// one-dimensional loading curve is the model's own closed form, as if the floor were not there:
// - Modified Cam-Clay and Soft Soil on the normal compression line, eps_v = lambda* ln(p1 / p0)
//   (Roscoe and Burland 1968; see Wood 1990, Soil Behaviour and Critical State Soil Mechanics);
// - Soft Soil Creep at a constant rate of stress: with the creep rate of Vermeer and Neher
//   (1999), mu* / tau (p_eq / p_p)^beta, beta = (lambda* - kappa*) / mu*, steady loading at a
//   constant stress ratio creeps at a rate proportional to (dp/dt) / p, so (p_eq / p_p)^beta
//   goes as 1 / p and p_p as p^(1 + 1 / beta): the creep volume (lambda* - kappa*) ln(p_p1 / p_p0)
//   is (lambda* - kappa* + mu*) ln(p1 / p0) and the whole eps_v = (lambda* + mu*) ln(p1 / p0);
// - Hardening Soil and HS small: Eoed = EOedRef (sigma1 / p_ref)^m on the fitted cap (Schanz,
//   Vermeer and Bonnier 1999), so eps1 = p_ref^m (s1^(1-m) - s0^(1-m)) / ((1 - m) EOedRef),
//   at K0nc.

#include "Kernel.h"
#include "KernelFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string>

using namespace tw::kernel;
using namespace tw::kernel::testing;

namespace {

double MeanStress(const TResultRow& r) {
    return -(r[rcSigXX] + r[rcSigXX + 1] + r[rcSigXX + 2]) / 3;
}

// One-dimensional loading from zero stress to 100 kPa in `steps` steps and back to 50 in as many,
// over a day each, in a file whose force unit is kN or MN (stresses of 0.1 and 0.05 MN/m2); the
// rows of a completed run with nothing but finite numbers in them.
std::vector<TResultRow> Oedometer(TKernelFile file, int steps, const std::string& name,
                                  bool meganewton = false) {
    file.TestType = 1;
    file.Error = 1e-9;
    file.InitialStress.setZero();
    const double scale = meganewton ? 1e-3 : 1.0;
    TPhaseEntry load;
    load.Steps = steps;
    load.Duration = 1;
    load.Stress(1) = -100 * scale;
    load.Conditions = OedometerConditions;
    TPhaseEntry unload = load;
    unload.Stress(1) = 50 * scale;
    file.Phases = {load, unload};
    std::string text = file.Text();
    if (meganewton)
        text.replace(text.find("kN\t=unit of force"), 2, "MN");
    const TComputedTest test = ComputeTest(ParseKernelInput("zero.qbc", text));
    EXPECT_TRUE(test.Outcome.Completed)
        << name << ", " << steps << " steps: " << test.Outcome.Message;
    EXPECT_EQ(test.Rows.size(), size_t(2 * steps + 1)) << name;
    for (const auto& r : test.Rows)
        for (double v : r)
            EXPECT_TRUE(std::isfinite(v)) << name << ", " << steps << " steps";
    return test.Rows;
}

struct TCase {
    std::string Name;
    TKernelFile File;
    // The vertical strain (compression positive) from the row at 20 kPa to that at 100 kPa of
    // the 1000-step run, by the closed form of the model.
    std::function<double(const TResultRow& at20, const TResultRow& at100)> Expected;
    // Hardening Soil: EOedRef, the tangent d sigma1 / d eps1 at sigma1 = p_ref = 100 kPa.
    double EOedRef = 0;
};

TKernelFile CamClay(int model, double cohesion = 0) {
    TKernelFile file;
    if (model != 5)
        file.MohrCoulomb(0, 0, cohesion, 25, 0);
    file.CamClay(model, 0.1, 0.02, 1.2, 0.2, 0.6, model == 8 ? 0.004 : 0, model == 8 ? 1e-3 : 0);
    return file;
}

THardeningSoilMaterial Soil(double cohesion, bool small) {
    THardeningSoilMaterial soil;
    soil.Cohesion = cohesion;
    if (small) {
        soil.G0 = 100000;
        soil.Gamma07 = 2e-4;
    }
    return soil;
}

// Eoed = EOedRef (s / p_ref)^m, for c' = 0.
double OedometerStrain(const THardeningSoilMaterial& soil, double s0, double s) {
    const double m = soil.PowerM;
    return std::pow(soil.PRef, m) * (std::pow(s, 1 - m) - std::pow(s0, 1 - m)) /
           ((1 - m) * soil.EOed);
}

std::vector<TCase> Cases() {
    auto lnP = [](double slope) {
        return [slope](const TResultRow& a, const TResultRow& b) {
            return slope * std::log(MeanStress(b) / MeanStress(a));
        };
    };
    std::vector<TCase> cases = {
        {"Modified Cam-Clay", CamClay(5), lnP(0.1)},
        {"Soft Soil", CamClay(4), lnP(0.1)},
        {"Soft Soil with c' = 5", CamClay(4, 5), nullptr},
        {"Soft Soil Creep", CamClay(8), lnP(0.1 + 0.004)},
    };
    // Hardening Soil without cohesion starts at the apex of its cone.
    for (bool small : {false, true}) {
        const std::string name = small ? "HS small" : "Hardening Soil";
        const THardeningSoilMaterial soil = Soil(0, small);
        TKernelFile file;
        file.HardeningSoil(soil);
        if (small)
            file.Model = 19, file.ModelCaption = "HS small";
        cases.push_back({name, file,
                         [soil](const TResultRow& a, const TResultRow& b) {
                             return OedometerStrain(soil, -a[rcSigXX + 1], -b[rcSigXX + 1]);
                         },
                         soil.EOed});
        TKernelFile cohesive;
        cohesive.HardeningSoil(Soil(10, small));
        cohesive.Model = file.Model, cohesive.ModelCaption = file.ModelCaption;
        cases.push_back({name + " with c' = 10", cohesive, nullptr});
    }
    return cases;
}

} // namespace

// Every model runs the oedometer from zero stress; 10 and 1000 steps agree within 1 % at the
// peak and at the end, and above 20 kPa the loading is the closed form of the model.
TEST(ZeroStress, OedometerFromZeroStressFollowsTheClosedFormsAboveTheFloor) {
    for (const TCase& c : Cases()) {
        const auto coarse = Oedometer(c.File, 10, c.Name);
        const auto fine = Oedometer(c.File, 1000, c.Name);
        if (coarse.size() != 21 || fine.size() != 2001)
            continue;
        const double peak = -fine[1000][rcEpsXX + 1], end = -fine[2000][rcEpsXX + 1];
        EXPECT_GT(peak, 0) << c.Name;
        EXPECT_GT(peak, end) << c.Name;
        EXPECT_NEAR(-coarse[10][rcEpsXX + 1], peak, 0.01 * peak) << c.Name << " at the peak";
        EXPECT_NEAR(-coarse[20][rcEpsXX + 1], end, 0.01 * end) << c.Name << " at the end";
        if (!c.Expected)
            continue;
        const double expected = c.Expected(fine[200], fine[1000]);
        const double computed = fine[200][rcEpsXX + 1] - fine[1000][rcEpsXX + 1];
        EXPECT_NEAR(computed, expected, 0.01 * expected) << c.Name;
        if (c.EOedRef > 0) {
            // Central difference about the 99 kPa of row 990, where the tangent is EOedRef
            // (0.99)^m, m = 0.5.
            const double tangent = (fine[991][rcSigXX + 1] - fine[989][rcSigXX + 1]) /
                                   (fine[991][rcEpsXX + 1] - fine[989][rcEpsXX + 1]);
            EXPECT_NEAR(tangent, c.EOedRef * std::sqrt(0.99), 0.01 * c.EOedRef) << c.Name;
        }
    }
}

// The floor is 1 kPa in the file's own unit: the same test in MN/m2 gives the same strains, so
// neither 1 MN/m2 nor 1 N/m2 stands in for it. A tensile mean stress is refused where the model
// has no strength to carry it, and taken where the cohesion does (c' cot phi' = 10.7 kPa here).
TEST(ZeroStress, FloorFollowsTheStressUnitAndTensionIsRefusedBeyondTheCohesion) {
    for (int model : {5, 4}) {
        const auto kilo = Oedometer(CamClay(model), 10, "kN/m2");
        const auto mega = Oedometer(CamClay(model), 10, "MN/m2", true);
        ASSERT_EQ(kilo.size(), mega.size());
        for (size_t i = 0; i < kilo.size(); ++i) {
            EXPECT_NEAR(mega[i][rcEpsXX + 1], kilo[i][rcEpsXX + 1],
                        1e-6 * std::abs(kilo[i][rcEpsXX + 1]));
            EXPECT_NEAR(1000 * mega[i][rcSigXX], kilo[i][rcSigXX],
                        1e-6 * std::abs(kilo[i][rcSigXX]));
        }
    }

    // A force unit the lab does not write: the floor is taken as 1 of the file's unit, and said.
    TKernelFile unknown = CamClay(5);
    unknown.TestType = 1;
    unknown.Phases = {TPhaseEntry{}};
    unknown.Phases[0].Stress(1) = -100;
    unknown.Phases[0].Conditions = OedometerConditions;
    std::string text = unknown.Text();
    text.replace(text.find("kN\t=unit of force"), 2, "daN");
    const TComputedTest odd = ComputeTest(ParseKernelInput("daN.qbc", text));
    EXPECT_TRUE(odd.Outcome.Completed) << odd.Outcome.Message;
    EXPECT_THAT(odd.Warnings, ::testing::Contains(::testing::HasSubstr(
                                  "the pressure unit daN/m2 is not known: the smallest pressure "
                                  "of the stress-dependent stiffness is taken as 1 daN/m2")));

    auto start = [](TKernelFile file, double meanStress) {
        file.TestType = 1;
        file.Error = 1e-9;
        file.InitialStress << -meanStress, -meanStress, -meanStress, 0, 0, 0;
        TPhaseEntry load;
        load.Stress(1) = -100;
        load.Conditions = OedometerConditions;
        file.Phases = {load};
        return ComputeTest(ParseKernelInput("tension.qbc", file.Text()));
    };
    using ::testing::HasSubstr;
    EXPECT_THAT([&] { start(CamClay(5), -1); },
                ::testing::ThrowsMessage<EKernelInput>(HasSubstr("must not be tensile (below 0)")));
    EXPECT_THAT([&] { start(CamClay(4, 5), -12); },
                ::testing::ThrowsMessage<EKernelInput>(HasSubstr("tensile beyond c' cot(phi')")));
    const TComputedTest cohesive = start(CamClay(4, 5), -2);
    EXPECT_TRUE(cohesive.Outcome.Completed) << cohesive.Outcome.Message;
    EXPECT_NEAR(cohesive.Rows.back()[rcSigXX + 1], -98, 1e-6);
}
