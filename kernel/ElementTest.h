#pragma once
// One stress point driven phase by phase and step by step. In each step each of the six
// components follows its boundary condition: a prescribed strain increment, or a prescribed
// stress increment (a total stress where pore pressure builds), whose strain is then unknown.
// The unknown strains are found by Newton iteration on the model's tangent; a step that does not
// converge is split.

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
    // The total stress of an effective stress and an excess pore pressure.
    Vec6 TotalStress(const Vec6& effective, double pExcess) const;
};

struct TStressPointState : TModelPoint {
    double Time = 0.0;
    Vec6 Strain = Vec6::Zero();
    double PExcess = 0.0;
};

struct TIterationControl {
    double Tolerance = 0.01; // error of a stress-controlled component, relative to the step's
                             // stress change
    double Relaxation = 1.0;
    int MaxIterations = 50;
    int MaxSplits = 10; // a step is split down to 1 / 2^MaxSplits of itself
};

// Whether every number of a state is finite: a state that is not is never written.
bool IsFinite(const TStressPointState& state);

struct TOutcome {
    bool Completed = true;
    std::string Message; // why the run stopped
    long long Steps = 0;
    long long Iterations = 0;
    long long Splits = 0;
};

// Drives phases step by step: solve(phase, from, to) solves the part of a phase between two
// fractions of it; a part that does not converge is halved, down to 1 / 2^maxSplits of a step,
// before the run stops (with fault() as the reason, when there is one). endStep(phase, fraction)
// closes each step and answers why the run must stop there, or nullptr.
TOutcome DrivePhases(const std::vector<TPhaseInput>& phases, int maxSplits,
                     const std::function<void(const TPhaseInput&)>& beginPhase,
                     const std::function<bool(const TPhaseInput&, double, double)>& solve,
                     const std::function<const char*(const TPhaseInput&, double)>& endStep,
                     const std::function<const char*()>& fault);

extern const char* const NotFinite;

class TElementTest {
public:
    TElementTest(const TSoilModel& model, const TPoreFluid& fluid,
                 const TIterationControl& control);

    using TOutcome = tw::kernel::TOutcome;
    using TStepSink = std::function<void(const TStressPointState&)>;

    // Runs the phases from the given state, calling onStep after every step. Stops at the first
    // step that cannot be solved; the state then stays as the last step left it.
    TOutcome Run(TStressPointState& state, const std::vector<TPhaseInput>& phases,
                 const TStepSink& onStep);

    Vec6 TotalStress(const TStressPointState& state) const;

private:
    // The components of a phase by their boundary condition: those whose strain is prescribed,
    // and those whose stress is, so that their strain is unknown.
    struct TComponents {
        std::array<int, 6> Unknown{};
        int UnknownCount = 0;
        std::array<int, 6> Prescribed{};
        int PrescribedCount = 0;
        std::array<bool, 6> FixedStress{};
        explicit TComponents(const std::array<bool, 6>& fixedStress);
    };
    // What one increment asks: the prescribed strain increments, the total stresses that the
    // stress-controlled components must reach, and the time it takes.
    struct TIncrement {
        Vec6 PrescribedStrain;
        Vec6 TargetTotalStress;
        double Time;
    };

    bool SolveIncrement(TStressPointState& state, const TComponents& components,
                        const TIncrement& increment);
    // The first guess of the strain increment, from the tangent of the last increment: in steady
    // plastic flow it is already the answer. Also gives the stress scale of the increment.
    bool Predict(const TStressPointState& state, const TComponents& components,
                 const TIncrement& increment, Vec6& strainIncrement, double& stressScale);
    // Newton iteration of the unknown strains until the stress-controlled components reach
    // their targets.
    bool Correct(TStressPointState& state, const TComponents& components,
                 const TIncrement& increment, Vec6& strainIncrement, double tolerance,
                 double floor);

    const TSoilModel& FModel;
    TPoreFluid FFluid;
    TIterationControl FControl;
    Mat6 FTangent; // total stress tangent of the last converged increment
    // The last converged increment: what it asked and the strain it took. An increment that
    // asks the same (the next step of a phase) starts from that strain, which in steady flow is
    // already the answer, and a solve with the tangent is spared.
    struct TLastIncrement {
        bool Valid = false;
        std::array<bool, 6> FixedStress{};
        Vec6 Asked = Vec6::Zero(); // prescribed strains and stress changes by component
        Vec6 Strain = Vec6::Zero();
        double StressScale = 0.0;
    } FLast;
    const char* FFault = nullptr; // why the last increment failed, when the model said
    TOutcome FOutcome;
};

} // namespace tw::kernel
