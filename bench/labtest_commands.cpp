// Interpreting `set` on a property of a lab test through the project's own interpreter, each
// command with its undo step and its entries in both command histories, as the command line and
// a script run it:
//   0  K0 of a triaxial test consolidated along K0, a stored number whose change moves the
//      initial vertical stress;
//   1  the cell pressure of the triaxial test, a pressure given in kN/m² and a derived property:
//      its setter writes the initial stresses, so its undo step backs up the whole test;
//   2  a phase's stress increment, reached by an indexer;
//   3  for comparison, a parameter of the material, whose change updates the material's
//      configuration and puts every test out of sync.
// And predicting a line as the command line editor does while the user types: parsed, matched
// and checked, nothing run or recorded:
//   0  `set` on the cell pressure; 1  `calculate`, which a prediction ends after its checks;
//   2  a line that names an unknown object.

#include "labtest/QBProject.h"
#include "materials/MaterialXFactory.h"
#include "materials/MaterialXTools.h"
#include "objects/ObjectManager.h"
#include "services/RuntimeSettings.h"

#include <benchmark/benchmark.h>

#include <string>

namespace tw {
namespace {

struct TBenchProject {
    TKovObjectManager Manager;
    std::unique_ptr<TQBProject> Project;

    TBenchProject() {
        TRuntimeSettings::Set("NO_LOG_VERSION_COMMENT", true);
        auto sand =
            TMaterialXFactory::CreateSoilMaterialX(nullptr, "Sand", mxsmmMohrCoulomb, nullptr);
        for (const auto& [name, value] : std::initializer_list<std::pair<const char*, double>>{
                 {"nu", 0.3}, {"ERef", 30000e3}, {"cRef", 1e3}, {"phi", 32.0}, {"psi", 2.0}})
            TMaterialXTools::SetUserPropertyValueFrom(*sand, name, value);
        Manager.LockRevert();
        Project = Make<TQBProject>(&Manager, std::move(sand), tm3D);
        Manager.UnlockRevert();
        Project->Commands().Interpreter().Interpret("set Triaxial_1.Consolidation \"K0\"");
        Manager.ClearRevertStacks();
    }
};

void BM_InterpretSet(benchmark::State& state) {
    TBenchProject bench;
    static const char* const lines[4][2] = {
        {"set Triaxial_1.K0 0.5", "set Triaxial_1.K0 0.6"},
        {"set Triaxial_1.CellPressure 100", "set Triaxial_1.CellPressure 200"},
        {"set Oedometer_1.Phases[0].Sigyyinc -100", "set Oedometer_1.Phases[0].Sigyyinc -200"},
        {"set Material.phi 30", "set Material.phi 31"}};
    const auto& pair = lines[state.range(0)];
    TKovInterpreter& interpreter = bench.Project->Commands().Interpreter();
    int64_t i = 0;
    for (auto _ : state) {
        if (!interpreter.Interpret(pair[i++ & 1]))
            state.SkipWithError("the command failed");
    }
    state.SetItemsProcessed(state.iterations());
    state.counters["undo_steps"] = bench.Manager.UndoCount();
}
BENCHMARK(BM_InterpretSet)->Arg(0)->Arg(1)->Arg(2)->Arg(3);

void BM_PredictLine(benchmark::State& state) {
    TBenchProject bench;
    static const char* const lines[3] = {"set Triaxial_1.CellPressure 150", "calculate Triaxial_1",
                                         "set Triaxial_9.CellPressure 150"};
    const char* line = lines[state.range(0)];
    const bool expected = state.range(0) != 2;
    TKovInterpreter& interpreter = bench.Project->Commands().Interpreter();
    for (auto _ : state) {
        if (interpreter.PredictExecuteMaySucceed(line) != expected)
            state.SkipWithError("unexpected prediction");
    }
    state.SetItemsProcessed(state.iterations());
    if (bench.Manager.UndoCount() != 0)
        state.SkipWithError("a prediction made an undo step");
}
BENCHMARK(BM_PredictLine)->Arg(0)->Arg(1)->Arg(2);

} // namespace
} // namespace tw
