// A whole session by command: a material value, phases added and changed, a test run through our
// kernel and its results read; then every step undone, which must leave the project as a fresh
// one, and redone, which must bring the session's state back.

#include "LabCommandsSupport.h"

#include <gtest/gtest.h>

using namespace tw;
using namespace tw::testing;

TEST_F(LabCommands, ASessionUndoneToItsStartIsAFreshProject) {
    UseOurKernel();
    const std::string fresh = ProjectState(*Project);
    {
        // The state compared is the project's own, not an accident of this one.
        TKovObjectManager other;
        other.LockRevert();
        auto again = Make<TQBProject>(&other, MohrCoulombSand(), tm3D);
        other.UnlockRevert();
        EXPECT_EQ(ProjectState(*again), fresh);
    }

    const char* const session[] = {
        "set Material.ERef 40000",
        "set Material.phi 30",
        "sps Oedometer_1.Phases[0] (\"Steps\" 50 \"Sigyyinc\" -200)",
        "addphase Oedometer_1",
        "set Oedometer_1.Phases[1].Steps 25",
        "set Oedometer_1.Phases[1].Sigyyinc 150",
        "insertphase General_1 1",
        "set General_1.Phases[1].Gamxyinc 2",
        "markphasescyclic General_1 0 1 2",
        "calculate Oedometer_1",
        "tangent Oedometer_1.Results \"Epsyy\" \"SigyyE\" 0 -100",
    };
    for (const char* line : session)
        Ok(line);
    // Loading far from failure is elastic: the constrained modulus
    // M = E' (1 - nu') / ((1 + nu') (1 - 2 nu')) (Hooke's law in one-dimensional compression).
    const double m = 40000 * 0.7 / (1.3 * 0.4);
    EXPECT_NEAR(Interpreter().LastOutput()->GetResultValue(0), m, 1e-6 * m);
    EXPECT_EQ(Project->OedometerTest()->Results().RowCount(), 1 + 50 + 25);
    // Unloading to 50 kN/m² returns along the same line.
    EXPECT_EQ(Ok("index Oedometer_1.Results.SigyyE 75"), "-50 kN/m²");
    const std::string changed = ProjectState(*Project);
    ASSERT_NE(changed, fresh);

    // The run and the readings made no steps: nine undo steps lead back.
    int steps = 0;
    while (Run("undo").Success)
        ++steps;
    EXPECT_EQ(steps, 9);
    EXPECT_EQ(ProjectState(*Project), fresh);
    Ok("redo 9");
    EXPECT_EQ(ProjectState(*Project), changed);
    EXPECT_EQ(Manager.RedoCount(), 0);
}
