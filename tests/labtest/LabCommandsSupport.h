#pragma once
// A project on a Mohr-Coulomb sand driven through its own interpreter, for the tests of the lab's
// command surface: run a line, run a line that must fail and change nothing, and the state of
// every property of the project, its tests, phases, cyclic definitions and material.

#include "LabTestSupport.h"

#include "labtest/QBProject.h"
#include "materials/KovMaterialX.h"
#include "objects/ObjectManager.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace tw::testing {

// A medium dense sand as a user gives it (the program holds pascal): E' 30000 kN/m2, nu' 0.3,
// c' 1 kN/m2, phi' 32 degrees, psi 2 degrees.
std::unique_ptr<TKovSoilMaterialX> MohrCoulombSand();

// The values of every property of the project and of everything it holds, one line each, in
// stored units: what "changes nothing" compares, and what a fresh project is compared with.
std::string ProjectState(const TQBProject& project);

struct TLine {
    bool Success = false;
    int32_t ErrorPos = -1;
    std::string ErrorText;
    std::string Info;
};

class LabCommands : public ::testing::Test {
protected:
    LabCommands();
    ~LabCommands() override;

    TLine Run(const std::string& line);
    // Runs a line that must succeed, and answers its information.
    std::string Ok(const std::string& line);
    // Runs a line that must fail and checks that nothing changed: every property, the undo and
    // redo stacks, and that the interpreter still runs a good line afterwards.
    TLine RunFailing(const std::string& line);
    // The kernel beside the tests' binaries.
    void UseOurKernel();

    TKovInterpreter& Interpreter() const;
    TKovSoilMaterialX& Material() const { return *Project->MainMaterialX(); }

    TKovObjectManager Manager;
    TMessageRecorder Messages;
    std::unique_ptr<TQBProject> Project;
};

} // namespace tw::testing
