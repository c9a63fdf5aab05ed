#include "Cavity.h"

#include <cmath>

namespace tw::kernel {

namespace {

const Vec6 Unit = (Vec6() << 1, 1, 1, 0, 0, 0).finished();

// Solves the tridiagonal system (lower, diagonal, upper) x = rhs in place of rhs (Thomas).
bool SolveTridiagonal(std::vector<double> lower, std::vector<double> diagonal,
                      std::vector<double> upper, std::vector<double>& rhs) {
    const size_t n = diagonal.size();
    for (size_t i = 1; i < n; ++i) {
        if (diagonal[i - 1] == 0.0)
            return false;
        const double f = lower[i] / diagonal[i - 1];
        diagonal[i] -= f * upper[i - 1];
        rhs[i] -= f * rhs[i - 1];
    }
    if (diagonal[n - 1] == 0.0)
        return false;
    rhs[n - 1] /= diagonal[n - 1];
    for (size_t i = n - 1; i-- > 0;)
        rhs[i] = (rhs[i] - upper[i] * rhs[i + 1]) / diagonal[i];
    for (double x : rhs)
        if (!std::isfinite(x))
            return false;
    return true;
}

} // namespace

TCavityTest::TCavityTest(const TSoilModel& model, const TPoreFluid& fluid,
                         const TIterationControl& control, double innerRadius, int elements)
    : FModel(model), FFluid(fluid), FControl(control), FInnerRadius(innerRadius) {
    // Nodes spaced geometrically: the displacement falls off as 1/r.
    FRadius.resize(elements + 1);
    for (int i = 0; i <= elements; ++i)
        FRadius[i] = innerRadius * std::pow(OuterRadiusRatio, double(i) / elements);
    FDisplacement.assign(elements + 1, 0.0);
    FElements.resize(elements);
    for (int e = 0; e < elements; ++e) {
        TElement& el = FElements[e];
        el.Inner = FRadius[e];
        el.Outer = FRadius[e + 1];
        el.Middle = 0.5 * (el.Inner + el.Outer);
        el.Weight = (el.Outer - el.Inner) * el.Middle;
    }
}

Vec6 TCavityTest::Strain(const TElement& e, double a, double b) const {
    Vec6 strain = Vec6::Zero();
    strain(0) = (b - a) / (e.Outer - e.Inner); // radial
    strain(2) = 0.5 * (a + b) / e.Middle;      // hoop
    return strain;
}

TCavityTest::TWall TCavityTest::Start(const Vec6& initialStress) {
    FExternal.assign(FRadius.size(), 0.0);
    for (size_t e = 0; e < FElements.size(); ++e) {
        TElement& el = FElements[e];
        el.State = TStressPointState();
        el.State.Stress = initialStress;
        FModel.Initialise(el.State);
        el.Tangent =
            FModel.ElasticTangent(el.State) + FFluid.BulkStiffness() * Unit * Unit.transpose();
        // The nodal forces of the initial stresses: the loads that hold them, whether or not
        // they are in equilibrium by themselves (a radial stress that differs from the hoop).
        const double h = el.Outer - el.Inner;
        FExternal[e] += el.Weight * (-initialStress(0) / h + 0.5 * initialStress(2) / el.Middle);
        FExternal[e + 1] += el.Weight * (initialStress(0) / h + 0.5 * initialStress(2) / el.Middle);
    }
    FFarField = FModel.ElasticTangent(FElements.back().State)(3, 3);
    return Wall();
}

TCavityTest::TWall TCavityTest::Wall() const {
    const TElement& e = FElements.front();
    const Vec6 total = FFluid.TotalStress(e.State.Stress, e.State.PExcess);
    const double h = e.Outer - e.Inner;
    // The wall's reaction: the radial stress on the cavity, consistent with the elements.
    const double force = e.Weight * (-total(0) / h + 0.5 * total(2) / e.Middle);
    TWall wall;
    wall.Time = FTime;
    wall.Displacement = FDisplacement[0];
    wall.Stress = e.State.Stress;
    wall.Stress(0) = -force / FInnerRadius - (FFluid.Active ? FFluid.Alpha * e.State.PExcess : 0.0);
    wall.PExcess = e.State.PExcess;
    return wall;
}

bool TCavityTest::SolveIncrement(double wallIncrement, double timeIncrement) {
    FFault = nullptr;
    const size_t nodes = FRadius.size();
    const size_t n = nodes - 1; // unknowns: nodes 1 to the last
    std::vector<double> du(nodes, 0.0);
    du[0] = wallIncrement;
    std::vector<double> lower(n), diagonal(n), upper(n), rhs(n);

    // Assembles the stiffness of the given element tangents (and the elastic exterior) over the
    // unknown nodes; coupling of node 1 to the wall goes to `wall`.
    auto assemble = [&](const std::vector<Mat6>& tangents, double& wall) {
        std::fill(lower.begin(), lower.end(), 0.0);
        std::fill(diagonal.begin(), diagonal.end(), 0.0);
        std::fill(upper.begin(), upper.end(), 0.0);
        for (size_t e = 0; e < FElements.size(); ++e) {
            const TElement& el = FElements[e];
            const Mat6& t = tangents[e];
            const double h = el.Outer - el.Inner;
            const double br[2] = {-1.0 / h, 1.0 / h};
            const double bt[2] = {0.5 / el.Middle, 0.5 / el.Middle};
            double k[2][2];
            for (int i = 0; i < 2; ++i)
                for (int j = 0; j < 2; ++j)
                    k[i][j] = el.Weight * (br[i] * (t(0, 0) * br[j] + t(0, 2) * bt[j]) +
                                           bt[i] * (t(2, 0) * br[j] + t(2, 2) * bt[j]));
            // Node e + i is unknown number e + i - 1.
            if (e == 0) {
                wall = k[1][0];
                diagonal[0] += k[1][1];
            } else {
                diagonal[e - 1] += k[0][0];
                upper[e - 1] += k[0][1];
                lower[e] += k[1][0];
                diagonal[e] += k[1][1];
            }
        }
        diagonal[n - 1] += 2.0 * FFarField;
    };

    // Predictor: the last tangents carry the wall's increment into the soil.
    std::vector<Mat6> tangents(FElements.size());
    for (size_t e = 0; e < FElements.size(); ++e)
        tangents[e] = FElements[e].Tangent;
    double wall = 0.0;
    assemble(tangents, wall);
    std::fill(rhs.begin(), rhs.end(), 0.0);
    rhs[0] = -wall * wallIncrement;
    const double stepScale = std::abs(wall * wallIncrement);
    if (!SolveTridiagonal(lower, diagonal, upper, rhs))
        return false;
    for (size_t i = 0; i < n; ++i)
        du[i + 1] = rhs[i];
    const double forceScale = std::abs(FExternal.back()) + FFarField * FInnerRadius * FInnerRadius;
    const double tolerance =
        std::max({FControl.Tolerance * stepScale, 1e-12 * forceScale,
                  FModel.Accuracy() * std::abs(FExternal.back()) * FInnerRadius / FRadius.back()});

    std::vector<TStressPointState> trial(FElements.size());
    std::vector<double> residual(nodes);
    double relaxation = FControl.Relaxation;
    double lastError = HUGE_VAL;
    for (int iteration = 0;; ++iteration) {
        std::fill(residual.begin(), residual.end(), 0.0);
        for (size_t e = 0; e < FElements.size(); ++e) {
            const TElement& el = FElements[e];
            const Vec6 strain = Strain(el, du[e], du[e + 1]);
            TStressPointState& s = trial[e];
            s = el.State;
            if (!FModel.Integrate(el.State, strain, timeIncrement, s, &tangents[e], &FFault))
                return false;
            s.Strain = el.State.Strain + strain;
            s.PExcess = el.State.PExcess + FFluid.PressurePerStrain() * (strain(0) + strain(2));
            tangents[e] += FFluid.BulkStiffness() * Unit * Unit.transpose();
            const Vec6 total = FFluid.TotalStress(s.Stress, s.PExcess);
            const double h = el.Outer - el.Inner;
            residual[e] += el.Weight * (-total(0) / h + 0.5 * total(2) / el.Middle);
            residual[e + 1] += el.Weight * (total(0) / h + 0.5 * total(2) / el.Middle);
        }
        // The exterior: its radial stress grows by 2 G u / r as the boundary moves out.
        residual[nodes - 1] += 2.0 * FFarField * (FDisplacement[nodes - 1] + du[nodes - 1]);
        double error = 0.0;
        for (size_t i = 1; i < nodes; ++i) {
            residual[i] -= FExternal[i];
            error = std::max(error, std::abs(residual[i]));
        }
        if (!std::isfinite(error)) {
            FFault = NotFinite;
            return false;
        }
        if (error <= tolerance) {
            for (size_t e = 0; e < FElements.size(); ++e) {
                FElements[e].State = trial[e];
                FElements[e].Tangent = tangents[e];
            }
            for (size_t i = 0; i < nodes; ++i)
                FDisplacement[i] += du[i];
            FOutcome.Iterations += iteration;
            return true;
        }
        if (iteration >= FControl.MaxIterations)
            return false;
        if (error > 0.75 * lastError)
            relaxation = 1.0;
        lastError = error;
        assemble(tangents, wall);
        for (size_t i = 0; i < n; ++i)
            rhs[i] = residual[i + 1];
        if (!SolveTridiagonal(lower, diagonal, upper, rhs))
            return false;
        for (size_t i = 0; i < n; ++i)
            du[i + 1] -= relaxation * rhs[i];
    }
}

TElementTest::TOutcome TCavityTest::Run(const std::vector<TPhaseInput>& phases,
                                        const TStepSink& onStep) {
    FOutcome = TOutcome();
    double phaseStartTime = 0.0;
    const TOutcome outcome = DrivePhases(
        phases, FControl.MaxSplits, [&](const TPhaseInput&) { phaseStartTime = FTime; },
        [&](const TPhaseInput& phase, double done, double reach) {
            // The xx strain increment of a pressuremeter phase is the wall's displacement.
            return SolveIncrement((reach - done) * phase.StrainIncrements(0),
                                  (reach - done) * phase.Duration);
        },
        [&](const TPhaseInput& phase, double end) -> const char* {
            FTime = phaseStartTime + end * phase.Duration;
            const TWall wall = Wall();
            if (!std::isfinite(wall.Time) || !std::isfinite(wall.Displacement) ||
                !wall.Stress.allFinite() || !std::isfinite(wall.PExcess))
                return NotFinite;
            onStep(wall);
            return nullptr;
        },
        [&] { return FFault; });
    const long long iterations = FOutcome.Iterations; // counted by the increments
    FOutcome = outcome;
    FOutcome.Iterations = iterations;
    return FOutcome;
}

} // namespace tw::kernel
