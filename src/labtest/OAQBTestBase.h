#pragma once
// The accessors of tests and phases. A test has the phase commands: `addphase` (`ap`),
// `insertphase` (`ip`) at an index, `deletephase` (`dp`), and on the general test
// `markphasescyclic` (`mpc`) and `deletecyclicphases` (`dcp`); and `undo` and `redo`, which walk
// the project's stacks (a test shares them). Indices count from 0, as `Test.Phases[0]` does. A
// phase is named in a command as `Test.Phases[i]`.

#include "commands/OAKovObject.h"

namespace tw {

class TOAQBTestBase : public TOAKovObservableObjectWithRevert {
public:
    TOAQBTestBase();

    // "Phases", "CyclicPhases" and "Results" are the objects the test owns, not the properties
    // that refer to them: `info Triaxial_1.Results` shows the results, and no command can make a
    // test refer to another's.
    TKovObject* FindMember(TKovObject& object, const std::string& name) const override;

protected:
    void AddInfo(const TKovObject& object, TCommandOutput& output) const override;

private:
    void ComAddPhase(TKovObject* object, const TCommandParameterList& parameters,
                     TCommandOutput& output, bool predict) const;
    void ComInsertPhase(TKovObject* object, const TCommandParameterList& parameters,
                        TCommandOutput& output, bool predict) const;
    void ComDeletePhase(TKovObject* object, const TCommandParameterList& parameters,
                        TCommandOutput& output, bool predict) const;
    void ComMarkPhasesCyclic(TKovObject* object, const TCommandParameterList& parameters,
                             TCommandOutput& output, bool predict) const;
    void ComDeleteCyclicPhases(TKovObject* object, const TCommandParameterList& parameters,
                               TCommandOutput& output, bool predict) const;
};

class TOAQBPhase : public TOAKovObservableObject {
public:
    TOAQBPhase();
    // "Test.Phases[i]" for a phase of a test's list, else its name.
    std::string GetCommandsCompatibleObjectName(const TKovObject& object) const override;
    TKovObject* GetOwnerObject(const TKovObject& object) const override;
};

} // namespace tw
