// Fuzzes the lab's command surface: each line of the input runs through the interpreter of a lab
// project on a Mohr-Coulomb sand, whose triaxial and oedometer tests hold results. A line that
// fails must change nothing: every property of the project, its tests, phases and material, the
// results, the value arrays and the undo and redo stacks stay as they were, and no snapshot stays
// open. Exceptions are program faults and are not caught.
//
// `calculate` and `save` are refused here (a line that names them, also as a text for `apply`,
// is passed over): they start the kernel's process and write files. The project has no kernel
// either, so a way round this refusal ends in "Test kernel not available.".

#include "LabtestFuzzing.h"

#include "commands/KovTokenizer.h"
#include "labtest/QBProject.h"
#include "materials/MaterialXFactory.h"
#include "materials/MaterialXTools.h"
#include "objects/KovValues.h"
#include "objects/ObjectManager.h"
#include "services/RuntimeSettings.h"
#include "services/Strings.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace {

using namespace tw;

// Whether a line names a command that runs the kernel or writes a file.
bool IsRefused(const std::string& line) {
    TKovTokenizer tokenizer(line);
    for (int i = 0; i < tokenizer.TokenCount(); ++i) {
        const TTokenData& data = tokenizer.GetToken(i)->Data();
        std::string word;
        if (const auto* identifier = dynamic_cast<const TTokenDataIdentifier*>(&data))
            word = identifier->GetValue();
        else if (const auto* text = dynamic_cast<const TTokenDataText*>(&data))
            word = Trim(text->GetValue());
        else
            continue;
        while (!word.empty() && word[0] == '_')
            word.erase(0, 1);
        word = LowerCase(word);
        if (word == "calculate" || word == "ca" || word == "save" || word == "sv")
            return true;
    }
    return false;
}

void Check(bool condition) {
    if (!condition)
        __builtin_trap();
}

std::string Value(const TKovIntrinsicProperty& property) {
    try {
        return property.ValueAsText();
    } catch (const EKovException& e) {
        return std::string("<") + e.what() + ">";
    }
}

void AddState(const TKovObservableObject& object, std::string& state) {
    state += object.Name() + "\n";
    for (int i = 0; i < object.IntrinsicPropertiesCount(); ++i)
        state += Value(*object.GetIntrinsicProperty(i)) + "\n";
}

struct TModel {
    TKovObjectManager Manager;
    std::unique_ptr<TQBProject> Project;

    TModel() {
        auto sand =
            TMaterialXFactory::CreateSoilMaterialX(nullptr, "Sand", mxsmmMohrCoulomb, nullptr);
        for (const auto& [name, value] : std::initializer_list<std::pair<const char*, double>>{
                 {"nu", 0.3}, {"ERef", 30000e3}, {"cRef", 1e3}, {"phi", 32.0}, {"psi", 2.0}})
            TMaterialXTools::SetUserPropertyValueFrom(*sand, name, value);
        Manager.LockRevert();
        Project = Make<TQBProject>(&Manager, std::move(sand), tm3D);
        Project->SetApplicationDirectory("/nonexistent/tarnwick-fuzz");
        // Results to read: a straight line of stress against strain.
        const TQBResultType types[] = {rtEpsYY, rtSigYY, rtQ};
        for (TQBTestBase* test : {Project->TriaxialTest(), Project->OedometerTest()})
            for (int row = 0; row < 8; ++row) {
                const double values[] = {-0.001 * row, -10e3 * row, 5e3 * row};
                test->Results().AddValuesInNewRow(types, values);
            }
        Manager.UnlockRevert();
        Manager.ClearRevertStacks();
    }
    ~TModel() { Project.reset(); }

    std::string State() const {
        std::string state;
        AddState(*Project, state);
        for (TKovObject* item : Project->MainTests().Items()) {
            const auto& test = static_cast<const TQBTestBase&>(*item);
            AddState(test, state);
            state += std::to_string(test.Results().RowCount()) + " rows\n";
            for (int i = 0; i < test.Phases().Count(); ++i)
                AddState(test.Phases()[i], state);
            for (int i = 0; i < test.CyclicPhases().Count(); ++i)
                AddState(*test.CyclicPhases().GetItems(i), state);
        }
        const TKovSoilMaterialX& material = *Project->MainMaterialX();
        AddState(material, state);
        for (const TKovIntrinsicProperty* property : material.InternalProperties())
            state += property->Name() + "=" + Value(*property) + "\n";
        for (const TKovIntrinsicProperty* property : material.UserProperties())
            state += property->Name() + "=" + Value(*property) + "\n";
        auto& values = TKovValuesList::GetInstance(Project->ObjectManager());
        for (int i = 0; i < values.Count(); ++i)
            state += values[i].Name() + values[i].ToString() + "\n";
        return state;
    }
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    fuzzing::QuietSingleThreadedLab();
    TRuntimeSettings::Set("NO_LOG_VERSION_COMMENT", true);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    TModel model;
    TKovInterpreter& interpreter = model.Project->Commands().Interpreter();
    const std::string script(reinterpret_cast<const char*>(data), size);
    int lines = 0;
    for (const std::string& line : Split(script, '\n')) {
        if (++lines > 32)
            break;
        if (IsRefused(line))
            continue;
        interpreter.PredictExecuteMaySucceed(line);
        const std::string before = model.State();
        const int undo = model.Manager.UndoCount(), redo = model.Manager.RedoCount();
        int32_t errorPos;
        std::string errorText, info;
        const bool success = interpreter.Interpret(line, errorPos, errorText, info);
        Check(!model.Manager.IsUndoRedoSnapshotOpened());
        Check(!interpreter.Interpreting());
        if (!success) {
            Check(model.State() == before);
            Check(model.Manager.UndoCount() == undo && model.Manager.RedoCount() == redo);
            Check(errorPos >= -1);
        }
    }
    return 0;
}
