#pragma once
// A model and an interpreter for the tests of the command language: a root with undo and redo,
// a tool among the default objects (its `greet`, `touch` and `fail` commands; like the lab's
// tools it has neither `set` nor `rename`), two things, a list of them and a value array.

#include "CommandTestModel.h"

#include "commands/KovGroup.h"
#include "commands/KovInterpreter.h"
#include "commands/OAKovObject.h"
#include "objects/KovValues.h"

#include <gtest/gtest.h>

namespace tw::testing {

// Registers the accessors of the test classes once per process.
void RegisterTestAccessors();

// The values of every property of an object, one line each: what "changes nothing" compares.
std::string PropertyState(const TKovObservableObject& object);

struct TLineOutcome {
    bool Success;
    int32_t ErrorPos;
    std::string ErrorText;
    std::string Info;
};

class InterpreterFixture : public ::testing::Test {
protected:
    InterpreterFixture();
    ~InterpreterFixture() override;

    TLineOutcome Run(const std::string& line);
    // Runs a line that must fail, and checks that nothing changed: the undo and redo stacks and
    // every property of the model are as before, and a good command still runs afterwards.
    TLineOutcome RunFailing(const std::string& line);
    std::string ModelState() const;

    TCmdWorld World;
    TCommandHistory Successful;
    TCommandHistory All;
    TCmdRoot& Root;
    TCmdTool& Tools;
    TCmdThing& Thing;
    TCmdThing& Other;
    TKovGroup* List = nullptr;
    TKovValuesWithUnit* Values = nullptr;
    std::unique_ptr<TKovInterpreter> Interpreter;
};

} // namespace tw::testing
