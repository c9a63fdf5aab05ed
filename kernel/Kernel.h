#pragma once
// The calculation kernel as a whole: read the input file, check that this kernel can compute it,
// set up the soil model and pore fluid, drive the stress point (or the cavity of the
// pressuremeter) and write the result file as the rows come.

#include "ElementTest.h"
#include "KernelInput.h"
#include "ResultFile.h"
#include "SoilModel.h"

#include <functional>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

namespace tw::kernel {

// Places of the material array that every model reads. 14 and 15 are the team's own places for
// the tension cut-off; the others are those of the material writer. The models' own places
// stand in Models.h.
namespace place {
constexpr int ShearModulus = 0;
constexpr int PoissonRatio = 1;
constexpr int SinPhi = 2;
constexpr int Cohesion = 3;
constexpr int SinPsi = 4;
constexpr int TensionCutOff = 14;
constexpr int TensileStrength = 15;
constexpr int Porosity = 19;
constexpr int UndrainedPoissonRatio = 27;
constexpr int BiotAlpha = 98;
constexpr int WaterBulkModulus = 99;
constexpr int Ocr = 102;
constexpr int Pop = 103;
} // namespace place

// Newton iterations beyond this many per step are not taken, whatever the file asks: a step that
// needs more is split instead.
constexpr int MaxIterationsCap = 1000;

enum TExitCode {
    ecSuccess = 0,
    ecStopped = 1,      // no convergence: the rows so far are written
    ecBadInput = 2,     // nothing written
    ecNotSupported = 3, // nothing written
    ecFailure = 4       // the result file could not be written, or an internal fault
};

// Something the file asks for that this kernel does not compute.
class EKernelNotSupported : public EKernelInput {
public:
    using EKernelInput::EKernelInput;
};

[[noreturn]] void FailParameter(const TKernelInput& input, int placeIndex,
                                const std::string& reason);

void CheckSupported(const TKernelInput& input);
// Whether pore pressure builds is the test's own behaviour; the drainage type decides whether it
// is an effective stress analysis (drained, undrained A and B) or not (undrained C, non-porous).
// The skeleton's stiffness is that of places 0 and 1 (for stress-dependent models, their
// reference values).
TPoreFluid CreatePoreFluid(const TKernelInput& input, std::vector<std::string>& warnings);

struct TComputedTest {
    std::vector<TResultRow> Rows; // only when computed without a row sink
    TElementTest::TOutcome Outcome;
    std::vector<std::string> Warnings;
    bool PorePressure = false;
    long long RowCount = 0;
    double PeakDeviatoricStress = 0.0;
    TResultRow LastRow{};
};
using TRowSink = std::function<void(const TResultRow&)>;
// Bounds on the work of a run, for callers that must not wait long (the fuzz target); the
// defaults are the kernel's own.
struct TComputeLimits {
    int MaxSplits = 10;
    int MaxIterations = MaxIterationsCap;
    int MaxSubsteps = 200000; // of one stress-point update
    int CavityElements = 100;
};
// Computes a test that has been read, handing every row to the sink as it is computed (and
// keeping none), or, without a sink, keeping them all in Rows. Faults found before the first step
// raise EKernelInput or EKernelNotSupported.
TComputedTest ComputeTest(const TKernelInput& input, const TRowSink& sink = {},
                          const TComputeLimits& limits = {});

struct TKernelOptions {
    std::string ProgramName = "qbabc_3d";
    bool Summary = false; // print peak deviatoric stress and final volumetric strain
};

// The lines of "[kernelinfo]" for a computed test.
std::vector<std::string> KernelInfo(const TKernelInput& input, const TKernelOptions& options,
                                    const TComputedTest& test);

// Runs the kernel on one input file: messages go to err, the summary to out. Never throws.
int RunKernel(const std::string& inputFileName, const TKernelOptions& options, std::ostream& out,
              std::ostream& err);

} // namespace tw::kernel
