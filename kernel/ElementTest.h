#pragma once
// One stress point driven phase by phase and step by step. In each step each of the six
// components follows its boundary condition: a prescribed strain increment, or a prescribed
// stress increment (a total stress where pore pressure builds). The unknown strains are found by
// Newton iteration on the consistent tangent; a step that does not converge is split.

#include "KernelInput.h"
#include "SoilModel.h"

#include <functional>
#include <string>
#include <vector>

namespace tw::kernel {

// The pore fluid of an undrained effective stress analysis, after Biot: the excess pore pressure
// follows the volumetric strain, u = alpha M eps_v, and the total stress is sigma' + alpha u.
// Pressures are negative in compression, like stresses.
struct TPoreFluid {
    bool Active = false;
    double Alpha = 1.0;   // Biot's coefficient
    double Modulus = 0.0; // Biot's modulus M, pressure unit

    double PressurePerStrain() const { return Active ? Alpha * Modulus : 0.0; }
    double BulkStiffness() const { return Active ? Alpha * Alpha * Modulus : 0.0; }
};

struct TStressPointState {
    double Time = 0.0;
    Vec6 Strain = Vec6::Zero();
    Vec6 Stress = Vec6::Zero(); // effective
    double PExcess = 0.0;
};

struct TIterationControl {
    double Tolerance = 0.01; // error of a stress-controlled component, relative to the step's
                             // stress change
    double Relaxation = 1.0;
    int MaxIterations = 50;
    int MaxSplits = 10; // a step is split down to 1 / 2^MaxSplits of itself
};

class TElementTest {
public:
    TElementTest(const TSoilModel& model, const TPoreFluid& fluid,
                 const TIterationControl& control);

    struct TOutcome {
        bool Completed = true;
        std::string Message; // why the run stopped
        long long Steps = 0;
        long long Iterations = 0;
        long long Splits = 0;
    };
    using TStepSink = std::function<void(const TStressPointState&)>;

    // Runs the phases from the given state, calling onStep after every step. Stops at the first
    // step that cannot be solved; the state then stays as the last step left it.
    TOutcome Run(TStressPointState& state, const std::vector<TPhaseInput>& phases,
                 const TStepSink& onStep);

    Vec6 TotalStress(const TStressPointState& state) const;

private:
    bool SolveIncrement(TStressPointState& state, const Vec6& strainIncrement,
                        const std::array<bool, 6>& fixedStress, const Vec6& targetTotalStress);

    const TSoilModel& FModel;
    TPoreFluid FFluid;
    TIterationControl FControl;
    Mat6 FTangent; // total stress tangent of the last converged increment
    TOutcome FOutcome;
};

} // namespace tw::kernel
