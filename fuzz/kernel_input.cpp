// Fuzz target of the kernel's input file: parses a kernel input from memory and, when it parses,
// computes it with the work bounded (few steps, splits, iterations and substeps), as the kernel
// would. A fault of the file (EKernelInput, and EKernelNotSupported for what the kernel does not
// compute) is expected; anything else escaping, a row with a number that is not finite, or a
// line of [kernelinfo] that is not one clean UTF-8 line is a fault of the kernel.

#include "Kernel.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tw::kernel;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    try {
        const TKernelInput input = ParseKernelInput("fuzz.qbc", text);
        if (input.TotalSteps > 200)
            return 0; // the reader's part is done; such a run is only long, not different
        TComputeLimits limits;
        limits.MaxSplits = 3;
        limits.MaxIterations = 20;
        limits.MaxSubsteps = 2000;
        limits.CavityElements = 8;
        std::string row;
        const TComputedTest test = ComputeTest(
            input,
            [&](const TResultRow& r) {
                row.clear();
                for (double value : r) {
                    if (!std::isfinite(value))
                        std::abort();
                    AppendNumber(row, value);
                    row += '\t';
                }
            },
            limits);
        for (const std::string& line : KernelInfo(input, TKernelOptions(), test))
            if (CleanLine(line) != line)
                std::abort();
    } catch (const EKernelInput&) {
        // A fault of the file, with its line: what the kernel reports as bad input.
    }
    return 0;
}
