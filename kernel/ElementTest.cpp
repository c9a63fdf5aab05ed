#include "ElementTest.h"

#include <Eigen/LU>
#include <Eigen/QR>

#include <cmath>
#include <optional>

namespace tw::kernel {

namespace {

using MatN = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, 0, 6, 6>;
using VecN = Eigen::Matrix<double, Eigen::Dynamic, 1, 0, 6, 1>;

const Vec6 Unit = (Vec6() << 1, 1, 1, 0, 0, 0).finished();

// Solves the stress-controlled block. At an edge or apex of a yield surface the block is singular
// and the split of the plastic strain between equal directions is free; there the least-squares
// solution of smallest norm keeps it symmetric.
bool SolveBlock(const MatN& matrix, const VecN& rhs, VecN& solution) {
    const Eigen::PartialPivLU<MatN> lu(matrix);
    if (lu.rcond() > 1e-10) {
        solution = lu.solve(rhs);
        return solution.allFinite();
    }
    Eigen::CompleteOrthogonalDecomposition<MatN> decomposition;
    decomposition.setThreshold(1e-10);
    decomposition.compute(matrix);
    solution = decomposition.solve(rhs);
    return solution.allFinite();
}

} // namespace

const char* const NotFinite = "a number of the stress point overflowed (it is not finite)";

Vec6 TPoreFluid::TotalStress(const Vec6& effective, double pExcess) const {
    return Active ? Vec6(effective + (Alpha * pExcess) * Unit) : effective;
}

bool IsFinite(const TStressPointState& state) {
    if (!std::isfinite(state.Time) || !std::isfinite(state.PExcess) || !state.Strain.allFinite() ||
        !state.Stress.allFinite())
        return false;
    for (double value : state.History)
        if (!std::isfinite(value))
            return false;
    return true;
}

TElementTest::TComponents::TComponents(const std::array<bool, 6>& fixedStress)
    : FixedStress(fixedStress) {
    for (int i = 0; i < 6; ++i) {
        if (fixedStress[i])
            Unknown[UnknownCount++] = i;
        else
            Prescribed[PrescribedCount++] = i;
    }
}

TElementTest::TElementTest(const TSoilModel& model, const TPoreFluid& fluid,
                           const TIterationControl& control)
    : FModel(model), FFluid(fluid), FControl(control) {}

Vec6 TElementTest::TotalStress(const TStressPointState& state) const {
    return FFluid.TotalStress(state.Stress, state.PExcess);
}

bool TElementTest::Predict(const TStressPointState& state, const TComponents& c,
                           const TIncrement& increment, Vec6& strainIncrement,
                           double& stressScale) {
    const Vec6 startTotal = TotalStress(state);
    strainIncrement.setZero();
    Vec6 asked;
    for (int j = 0; j < c.PrescribedCount; ++j) {
        strainIncrement(c.Prescribed[j]) = increment.PrescribedStrain(c.Prescribed[j]);
        asked(c.Prescribed[j]) = increment.PrescribedStrain(c.Prescribed[j]);
    }
    for (int i = 0; i < c.UnknownCount; ++i)
        asked(c.Unknown[i]) = increment.TargetTotalStress(c.Unknown[i]) - startTotal(c.Unknown[i]);
    stressScale = 0.0;
    for (int i = 0; i < c.UnknownCount; ++i)
        stressScale = std::max(stressScale, std::abs(asked(c.Unknown[i])));
    // The same question: the same prescribed strains, and stress changes that differ by no more
    // than the last increment left over.
    bool same = FLast.Valid && FLast.FixedStress == c.FixedStress;
    double strains = 0.0;
    for (int j = 0; j < c.PrescribedCount; ++j)
        strains = std::max(strains, std::abs(asked(c.Prescribed[j])));
    for (int j = 0; same && j < c.PrescribedCount; ++j)
        same = std::abs(asked(c.Prescribed[j]) - FLast.Asked(c.Prescribed[j])) <= 1e-9 * strains;
    const double magnitude = startTotal.cwiseAbs().maxCoeff();
    const double noise =
        std::max(1e-12 * (magnitude + FModel.ShearModulus()), FModel.Accuracy() * magnitude);
    for (int i = 0; same && i < c.UnknownCount; ++i)
        same = std::abs(asked(c.Unknown[i]) - FLast.Asked(c.Unknown[i])) <=
               1e-6 * (stressScale + FLast.StressScale) + noise;
    FLast.FixedStress = c.FixedStress;
    FLast.Asked = asked;
    FLast.Valid = false; // until this increment converges
    if (same) {
        for (int i = 0; i < c.UnknownCount; ++i)
            strainIncrement(c.Unknown[i]) = FLast.Strain(c.Unknown[i]);
    } else if (c.UnknownCount > 0) {
        const int n = c.UnknownCount;
        VecN rhs(n);
        MatN block(n, n);
        for (int i = 0; i < n; ++i) {
            const int row = c.Unknown[i];
            const double change = increment.TargetTotalStress(row) - startTotal(row);
            stressScale = std::max(stressScale, std::abs(change));
            rhs(i) = change;
            for (int j = 0; j < c.PrescribedCount; ++j)
                rhs(i) -= FTangent(row, c.Prescribed[j]) * strainIncrement(c.Prescribed[j]);
            for (int j = 0; j < n; ++j)
                block(i, j) = FTangent(row, c.Unknown[j]);
        }
        VecN unknown(n);
        if (!SolveBlock(block, rhs, unknown))
            return false;
        for (int i = 0; i < n; ++i)
            strainIncrement(c.Unknown[i]) = unknown(i);
    }
    stressScale = std::max(stressScale, (FTangent * strainIncrement).cwiseAbs().maxCoeff());
    FLast.StressScale = stressScale;
    return std::isfinite(stressScale);
}

bool TElementTest::Correct(TStressPointState& state, const TComponents& c,
                           const TIncrement& increment, Vec6& strainIncrement, double tolerance,
                           double floor) {
    const int n = c.UnknownCount;
    VecN residual(n);
    MatN block(n, n);
    VecN correction(n);
    TModelPoint end;
    Mat6 tangent;
    // The relaxation applies while it helps: an iteration that does not bring the error down by
    // a quarter goes on with the plain Newton step, so that any factor the file gives converges
    // where Newton does (a factor of 2 alone would swing about the answer in plastic flow).
    double relaxation = FControl.Relaxation;
    double lastError = HUGE_VAL;
    for (int iteration = 0;; ++iteration) {
        if (!FModel.Integrate(state, strainIncrement, increment.Time, end, &tangent, &FFault))
            return false;
        const double volumetric = strainIncrement(0) + strainIncrement(1) + strainIncrement(2);
        const double pressure = state.PExcess + FFluid.PressurePerStrain() * volumetric;
        const Vec6 total = FFluid.TotalStress(end.Stress, pressure);
        double error = 0.0;
        for (int i = 0; i < n; ++i) {
            residual(i) = total(c.Unknown[i]) - increment.TargetTotalStress(c.Unknown[i]);
            error = std::max(error, std::abs(residual(i)));
        }
        // A NaN in the stress or the residual must not pass for convergence: max() drops it.
        if (!total.allFinite() || !std::isfinite(pressure) || !std::isfinite(error) ||
            !tangent.allFinite()) {
            FFault = NotFinite;
            return false;
        }
        // Below the model's own accuracy the error is the update's noise: once the iteration
        // no longer brings it down, it has converged.
        const bool stalled = error <= floor && iteration >= 2 && error > 0.5 * lastError;
        if (error <= tolerance || stalled) {
            state.Strain += strainIncrement;
            state.Stress = end.Stress;
            state.History = end.History;
            state.PExcess = pressure;
            FLast.Valid = true;
            FLast.Strain = strainIncrement;
            FTangent = tangent;
            if (FFluid.Active)
                FTangent += FFluid.BulkStiffness() * Unit * Unit.transpose();
            FOutcome.Iterations += iteration;
            return true;
        }
        if (iteration >= FControl.MaxIterations)
            return false;
        if (error > 0.75 * lastError)
            relaxation = 1.0;
        lastError = error;
        if (FFluid.Active)
            tangent += FFluid.BulkStiffness() * Unit * Unit.transpose();
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < n; ++j)
                block(i, j) = tangent(c.Unknown[i], c.Unknown[j]);
        if (!SolveBlock(block, residual, correction))
            return false;
        for (int i = 0; i < n; ++i)
            strainIncrement(c.Unknown[i]) -= relaxation * correction(i);
    }
}

bool TElementTest::SolveIncrement(TStressPointState& state, const TComponents& components,
                                  const TIncrement& increment) {
    FFault = nullptr;
    Vec6 strainIncrement;
    double stressScale = 0.0;
    if (!Predict(state, components, increment, strainIncrement, stressScale))
        return false;
    const double magnitude = TotalStress(state).cwiseAbs().maxCoeff();
    const double tolerance =
        std::max(FControl.Tolerance * stressScale, 1e-12 * (magnitude + FModel.ShearModulus()));
    const double floor = FModel.Accuracy() * (magnitude + std::abs(FFluid.Alpha * state.PExcess));
    return Correct(state, components, increment, strainIncrement, tolerance, floor);
}

TOutcome DrivePhases(const std::vector<TPhaseInput>& phases, int maxSplits,
                     const std::function<void(const TPhaseInput&)>& beginPhase,
                     const std::function<bool(const TPhaseInput&, double, double)>& solve,
                     const std::function<const char*(const TPhaseInput&, double)>& endStep,
                     const std::function<const char*()>& fault) {
    TOutcome outcome;
    auto stop = [&](const std::string& message) {
        outcome.Completed = false;
        outcome.Message = message;
        return outcome;
    };
    for (const TPhaseInput& phase : phases) {
        beginPhase(phase);
        const double steps = phase.Steps;
        for (int step = 1; step <= phase.Steps; ++step) {
            const double begin = (step - 1) / steps;
            const double end = step / steps;
            const double smallest = (end - begin) / std::ldexp(1.0, maxSplits);
            double done = begin;
            double size = end - begin;
            while (done < end) {
                size = std::min(size, end - done);
                const double reach = end - done - size <= 1e-3 * smallest ? end : done + size;
                if (solve(phase, done, reach)) {
                    done = reach;
                    size = std::min(2.0 * size, end - begin);
                    continue;
                }
                size *= 0.5;
                ++outcome.Splits;
                if (size < smallest * (1.0 - 1e-9)) {
                    std::string message =
                        "no convergence in " + phase.Name + ", step " + std::to_string(step) +
                        " of " + std::to_string(phase.Steps) + ", after splitting it into " +
                        std::to_string(1 << maxSplits) + " parts";
                    if (const char* why = fault())
                        message += ": " + std::string(why);
                    return stop(message);
                }
            }
            if (const char* why = endStep(phase, end))
                return stop("in " + phase.Name + ", step " + std::to_string(step) + ": " + why);
            ++outcome.Steps;
        }
    }
    return outcome;
}

TElementTest::TOutcome TElementTest::Run(TStressPointState& state,
                                         const std::vector<TPhaseInput>& phases,
                                         const TStepSink& onStep) {
    FOutcome = TOutcome();
    FTangent = FModel.ElasticTangent(state) + FFluid.BulkStiffness() * Unit * Unit.transpose();
    Vec6 phaseStartTotal;
    double phaseStartTime = 0.0;
    std::optional<TComponents> components;
    const TOutcome outcome = DrivePhases(
        phases, FControl.MaxSplits,
        [&](const TPhaseInput& phase) {
            components.emplace(phase.FixedStress);
            // Stress targets run from the total stress at the start of the phase, so that the
            // error allowed in one step does not add up over the phase.
            phaseStartTotal = TotalStress(state);
            phaseStartTime = state.Time;
        },
        [&](const TPhaseInput& phase, double done, double reach) {
            const TIncrement increment{(reach - done) * phase.StrainIncrements,
                                       phaseStartTotal + reach * phase.StressIncrements,
                                       (reach - done) * phase.Duration};
            return SolveIncrement(state, *components, increment);
        },
        [&](const TPhaseInput& phase, double end) -> const char* {
            state.Time = phaseStartTime + end * phase.Duration;
            if (!IsFinite(state))
                return NotFinite;
            onStep(state);
            return nullptr;
        },
        [&] { return FFault; });
    const long long iterations = FOutcome.Iterations; // counted by the increments
    FOutcome = outcome;
    FOutcome.Iterations = iterations;
    return FOutcome;
}

} // namespace tw::kernel
