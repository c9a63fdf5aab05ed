// The calculation kernel's program. Built twice, as qbabc_2d and qbabc_3d, which compute element
// tests alike; the lab calls one or the other by its test method.

#include "Kernel.h"

#include <iostream>
#include <string>

#ifndef TW_KERNEL_PROGRAM
#define TW_KERNEL_PROGRAM "qbabc_3d"
#endif

namespace {

void PrintUsage(std::ostream& out) {
    out << "usage: " TW_KERNEL_PROGRAM " [--summary] <input file>\n"
           "Computes the element test of a kernel input file (.qbc) and writes the result file\n"
           "beside it, with the extension .qbr. --summary also prints the peak deviatoric stress\n"
           "and the final volumetric strain.\n"
           "Exit codes: 0 done, 1 stopped without convergence (rows so far written), 2 bad\n"
           "input, 3 not supported by this kernel, 4 result not written.\n";
}

} // namespace

int main(int argc, char** argv) {
    tw::kernel::TKernelOptions options;
    options.ProgramName = TW_KERNEL_PROGRAM;
    std::string input;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument == "--summary") {
            options.Summary = true;
        } else if (argument == "--help" || argument == "-h") {
            PrintUsage(std::cout);
            return tw::kernel::ecSuccess;
        } else if (input.empty() && !argument.empty()) {
            input = argument;
        } else {
            PrintUsage(std::cerr);
            return tw::kernel::ecBadInput;
        }
    }
    if (input.empty()) {
        PrintUsage(std::cerr);
        return tw::kernel::ecBadInput;
    }
    return tw::kernel::RunKernel(input, options, std::cout, std::cerr);
}
