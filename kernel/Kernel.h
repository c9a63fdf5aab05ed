#pragma once
// The calculation kernel as a whole: read the input file, check that this kernel can compute it,
// set up the soil model and pore fluid, drive the stress point and write the result file.

#include "ElementTest.h"
#include "KernelInput.h"
#include "ResultFile.h"
#include "SoilModel.h"

#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

namespace tw::kernel {

// Places of the material array that this kernel reads. 14 and 15 are the team's own places for
// the tension cut-off; the others are those of the material writer.
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
} // namespace place

constexpr int LinearElasticModel = 1;
constexpr int MohrCoulombModel = 2;
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

void CheckSupported(const TKernelInput& input);
std::unique_ptr<TSoilModel> CreateSoilModel(const TKernelInput& input,
                                            std::vector<std::string>& warnings);
// Whether pore pressure builds is the test's own behaviour; the drainage type decides whether it
// is an effective stress analysis (drained, undrained A and B) or not (undrained C, non-porous).
TPoreFluid CreatePoreFluid(const TKernelInput& input, const TSoilModel& model,
                           std::vector<std::string>& warnings);

struct TComputedTest {
    std::vector<TResultRow> Rows;
    TElementTest::TOutcome Outcome;
    std::vector<std::string> Warnings;
    bool PorePressure = false;
};
// Computes a test that has been read. Faults found before the first step raise EKernelInput or
// EKernelNotSupported.
TComputedTest ComputeTest(const TKernelInput& input);

struct TKernelOptions {
    std::string ProgramName = "qbabc_3d";
    bool Summary = false; // print peak deviatoric stress and final volumetric strain
};

// Runs the kernel on one input file: messages go to err, the summary to out. Never throws.
int RunKernel(const std::string& inputFileName, const TKernelOptions& options, std::ostream& out,
              std::ostream& err);

} // namespace tw::kernel
