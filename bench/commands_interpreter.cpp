// Interpreting `set` on a property, each command with its own undo step and its entries in both
// command histories, as the command line runs it; and predicting a command, as the editor does
// while the user types.

#include "commands/KovInterpreter.h"
#include "objects/IntrinsicPropertyDeclarationList.h"
#include "objects/IntrinsicPropertyDerivedKinds.h"
#include "objects/ObjectManager.h"
#include "services/RuntimeSettings.h"
#include "units/SystemOfUnits.h"
#include "units/SystemOfUnitsQueryFunctionsRegistry.h"

#include <benchmark/benchmark.h>

#include <string>

namespace tw {

class TBenchTest : public TKovObservableObject {
    TW_KOV_CLASS(TBenchTest, TKovObservableObject)
public:
    using TKovObservableObject::TKovObservableObject;
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
        list.AddDouble("Number");
        list.AddInteger("Steps", 0, "", 1, 100000);
        list.AddDoubleWithUnit("Sigma3", qtPressure, 0, "Cell pressure", -1e8, 0);
        list.AddText("Title");
        list.AddEnumeration("Drainage", {"Drained", "Undrained"});
    }
};
TW_KOV_CLASS_IMPL(TBenchTest, TKovObservableObject, &TBenchTest::DeclareProperties)

namespace {

// A manager with its units (kN, m, day), a test among other objects, and an interpreter with
// both histories.
struct TBenchModel {
    TKovObjectManager Manager;
    TSystemOfUnits Units;
    std::vector<std::unique_ptr<TKovObject>> Objects;
    TCommandHistory Successful, All;
    std::unique_ptr<TKovInterpreter> Interpreter;
    int Query = 0;

    TBenchModel() {
        TRuntimeSettings::Set("NO_LOG_VERSION_COMMENT", true);
        Units.SetUnitsOfNewProject();
        Query = TSystemOfUnitsQueryFunctionsRegistry::AddQueryFunctionWithHighestPriority(
            [this](const TKovObject* object) -> TSystemOfUnits* {
                return object && object->ObjectManager() == &Manager ? &Units : nullptr;
            });
        Manager.LockRevert();
        for (int i = 0; i < 100; ++i) {
            Objects.push_back(Make<TBenchTest>(&Manager));
            Objects.back()->SetName("Test_" + std::to_string(i));
        }
        Manager.UnlockRevert();
        Interpreter = std::make_unique<TKovInterpreter>(&Manager, std::vector<TKovObject*>{},
                                                        &Successful, &All);
    }
    ~TBenchModel() {
        Interpreter.reset();
        Manager.ClearRevertStacks();
        TSystemOfUnitsQueryFunctionsRegistry::RemoveQueryFunction(Query);
    }
};

// Arguments: 0 a plain number, 1 a pressure in kN/m² (converted to Pa on the way in).
void BM_InterpretSet(benchmark::State& state) {
    TBenchModel model;
    const std::string property = state.range(0) == 0 ? "Number" : "Sigma3";
    const std::string lines[2] = {"set Test_42." + property + " -100.5",
                                  "set Test_42." + property + " -200.25"};
    int64_t i = 0;
    for (auto _ : state) {
        if (!model.Interpreter->Interpret(lines[i++ & 1]))
            state.SkipWithError("the command failed");
    }
    state.SetItemsProcessed(state.iterations());
    state.counters["undo_steps"] = model.Manager.UndoCount();
}
BENCHMARK(BM_InterpretSet)->Arg(0)->Arg(1);

void BM_PredictSet(benchmark::State& state) {
    TBenchModel model;
    for (auto _ : state) {
        if (!model.Interpreter->PredictExecuteMaySucceed("set Test_42.Sigma3 -100.5"))
            state.SkipWithError("the prediction failed");
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_PredictSet);

// A longer line: five values of one test at once, one undo step.
void BM_InterpretSetProperties(benchmark::State& state) {
    TBenchModel model;
    const std::string lines[2] = {
        "sps Test_42 \"Number\" 1 \"Steps\" 200 \"Sigma3\" -100 \"Title\" 'a' \"Drainage\" 0",
        "sps Test_42 \"Number\" 2 \"Steps\" 300 \"Sigma3\" -200 \"Title\" 'b' \"Drainage\" 1"};
    int64_t i = 0;
    for (auto _ : state) {
        if (!model.Interpreter->Interpret(lines[i++ & 1]))
            state.SkipWithError("the command failed");
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_InterpretSetProperties);

} // namespace
} // namespace tw
