#include "ElementTest.h"

#include <Eigen/LU>
#include <Eigen/QR>

#include <cmath>

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

TElementTest::TElementTest(const TSoilModel& model, const TPoreFluid& fluid,
                           const TIterationControl& control)
    : FModel(model), FFluid(fluid), FControl(control) {
    FTangent = FModel.Elastic() + FFluid.BulkStiffness() * Unit * Unit.transpose();
}

Vec6 TElementTest::TotalStress(const TStressPointState& state) const {
    return state.Stress + (FFluid.Active ? FFluid.Alpha * state.PExcess : 0.0) * Unit;
}

bool TElementTest::SolveIncrement(TStressPointState& state, const Vec6& prescribedStrain,
                                  const std::array<bool, 6>& fixedStress,
                                  const Vec6& targetTotalStress) {
    int free[6];
    int fixed[6];
    int freeCount = 0;
    int fixedCount = 0;
    for (int i = 0; i < 6; ++i) {
        if (fixedStress[i])
            free[freeCount++] = i;
        else
            fixed[fixedCount++] = i;
    }
    const Vec6 startTotal = TotalStress(state);
    Vec6 strainIncrement = Vec6::Zero();
    for (int j = 0; j < fixedCount; ++j)
        strainIncrement(fixed[j]) = prescribedStrain(fixed[j]);

    VecN residual(freeCount);
    MatN block(freeCount, freeCount);
    VecN correction(freeCount);
    auto assemble = [&](const Mat6& tangent) {
        for (int i = 0; i < freeCount; ++i)
            for (int j = 0; j < freeCount; ++j)
                block(i, j) = tangent(free[i], free[j]);
    };
    double scale = 0.0;
    if (freeCount > 0) {
        // First guess from the tangent of the last increment: in steady plastic flow it is
        // already the answer.
        for (int i = 0; i < freeCount; ++i) {
            double rhs = targetTotalStress(free[i]) - startTotal(free[i]);
            scale = std::max(scale, std::abs(rhs));
            for (int j = 0; j < fixedCount; ++j)
                rhs -= FTangent(free[i], fixed[j]) * strainIncrement(fixed[j]);
            residual(i) = rhs;
        }
        assemble(FTangent);
        if (!SolveBlock(block, residual, correction))
            return false;
        for (int i = 0; i < freeCount; ++i)
            strainIncrement(free[i]) = correction(i);
    }
    scale = std::max(scale, (FTangent * strainIncrement).cwiseAbs().maxCoeff());
    const double tolerance =
        std::max(FControl.Tolerance * scale,
                 1e-12 * (startTotal.cwiseAbs().maxCoeff() + FModel.ShearModulus()));

    Vec6 stress;
    Mat6 tangent;
    for (int iteration = 0;; ++iteration) {
        if (!FModel.Update(state.Stress, strainIncrement, stress, &tangent))
            return false;
        const double volumetric = strainIncrement(0) + strainIncrement(1) + strainIncrement(2);
        const double pressure = state.PExcess + FFluid.PressurePerStrain() * volumetric;
        if (FFluid.Active)
            tangent += FFluid.BulkStiffness() * Unit * Unit.transpose();
        const Vec6 total = stress + (FFluid.Active ? FFluid.Alpha * pressure : 0.0) * Unit;
        double error = 0.0;
        for (int i = 0; i < freeCount; ++i) {
            residual(i) = total(free[i]) - targetTotalStress(free[i]);
            error = std::max(error, std::abs(residual(i)));
        }
        if (!std::isfinite(error))
            return false;
        if (error <= tolerance) {
            state.Strain += strainIncrement;
            state.Stress = stress;
            state.PExcess = pressure;
            FTangent = tangent;
            FOutcome.Iterations += iteration;
            return true;
        }
        if (iteration >= FControl.MaxIterations)
            return false;
        assemble(tangent);
        if (!SolveBlock(block, residual, correction))
            return false;
        for (int i = 0; i < freeCount; ++i)
            strainIncrement(free[i]) -= FControl.Relaxation * correction(i);
    }
}

TElementTest::TOutcome TElementTest::Run(TStressPointState& state,
                                         const std::vector<TPhaseInput>& phases,
                                         const TStepSink& onStep) {
    FOutcome = TOutcome();
    for (const TPhaseInput& phase : phases) {
        // Stress targets run from the total stress at the start of the phase, so that the error
        // allowed in one step does not add up over the phase.
        const Vec6 phaseStartTotal = TotalStress(state);
        const double phaseStartTime = state.Time;
        const double steps = phase.Steps;
        for (int step = 1; step <= phase.Steps; ++step) {
            const double begin = (step - 1) / steps;
            const double end = step / steps;
            const double smallest = (end - begin) / std::ldexp(1.0, FControl.MaxSplits);
            double done = begin;
            double size = end - begin;
            while (done < end) {
                size = std::min(size, end - done);
                const double reach = end - done - size <= 1e-3 * smallest ? end : done + size;
                const Vec6 strain = (reach - done) * phase.StrainIncrements;
                const Vec6 target = phaseStartTotal + reach * phase.StressIncrements;
                if (SolveIncrement(state, strain, phase.FixedStress, target)) {
                    done = reach;
                    size = std::min(2.0 * size, end - begin);
                    continue;
                }
                size *= 0.5;
                ++FOutcome.Splits;
                if (size < smallest * (1.0 - 1e-9)) {
                    FOutcome.Completed = false;
                    FOutcome.Message = "no convergence in " + phase.Name + ", step " +
                                       std::to_string(step) + " of " + std::to_string(phase.Steps) +
                                       ", after splitting it into " +
                                       std::to_string(1 << FControl.MaxSplits) + " parts";
                    return FOutcome;
                }
            }
            state.Time = phaseStartTime + end * phase.Duration;
            ++FOutcome.Steps;
            onStep(state);
        }
    }
    return FOutcome;
}

} // namespace tw::kernel
