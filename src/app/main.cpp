// The headless Tarnwick program.

#include "services/CommandLine.h"

#include <iostream>

int main(int argc, char** argv) {
    tw::TCommandLine::SetProgram(tw::TCommandLine(argc, argv));
    std::cout << "Tarnwick: a laboratory for soil models\n";
    return 0;
}
