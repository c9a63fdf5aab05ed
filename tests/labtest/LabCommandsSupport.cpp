#include "LabCommandsSupport.h"

#include "labtest/QBProjectCommands.h"
#include "materials/MaterialXFactory.h"
#include "materials/MaterialXTools.h"
#include "services/RuntimeSettings.h"

#include <filesystem>

namespace tw::testing {

std::unique_ptr<TKovSoilMaterialX> MohrCoulombSand() {
    auto sand = TMaterialXFactory::CreateSoilMaterialX(nullptr, "Sand", mxsmmMohrCoulomb, nullptr);
    auto set = [&](const char* name, double value) {
        TMaterialXTools::SetUserPropertyValueFrom(*sand, name, value);
    };
    set("nu", 0.3);
    set("ERef", 30000e3);
    set("cRef", 1e3);
    set("phi", 32.0);
    set("psi", 2.0);
    return sand;
}

namespace {

void AddProperties(const TKovObservableObject& object, const std::string& path,
                   std::string& state) {
    for (int i = 0; i < object.IntrinsicPropertiesCount(); ++i) {
        const TKovIntrinsicProperty& property = *object.GetIntrinsicProperty(i);
        std::string value;
        try {
            value = property.ValueAsText();
        } catch (const std::exception& e) {
            value = std::string("<") + e.what() + ">";
        }
        state += path + "." + property.Name() + "=" + value + "\n";
    }
}

} // namespace

std::string ProjectState(const TQBProject& project) {
    std::string state;
    AddProperties(project, "Project", state);
    for (TKovObject* item : project.MainTests().Items()) {
        const auto& test = static_cast<const TQBTestBase&>(*item);
        AddProperties(test, test.Name(), state);
        for (int i = 0; i < test.Phases().Count(); ++i)
            AddProperties(test.Phases()[i], test.Name() + ".Phases[" + std::to_string(i) + "]",
                          state);
        for (int i = 0; i < test.CyclicPhases().Count(); ++i)
            AddProperties(*test.CyclicPhases().GetItems(i),
                          test.Name() + ".CyclicPhases[" + std::to_string(i) + "]", state);
    }
    if (const TKovSoilMaterialX* material = project.MainMaterialX()) {
        AddProperties(*material, "Material", state);
        for (const TKovIntrinsicProperty* property : material->InternalProperties())
            state += "Material.Internal." + property->Name() + "=" + property->ValueAsText() + "\n";
        for (const TKovIntrinsicProperty* property : material->UserProperties()) {
            std::string value;
            try {
                value = property->ValueAsText();
            } catch (const std::exception& e) {
                value = std::string("<") + e.what() + ">";
            }
            state += "Material.User." + property->Name() + "=" + value + "\n";
        }
    }
    return state;
}

LabCommands::LabCommands() {
    TRuntimeSettings::Set("NO_LOG_VERSION_COMMENT", true);
    Manager.LockRevert();
    Project = Make<TQBProject>(&Manager, MohrCoulombSand(), tm3D);
    Manager.UnlockRevert();
    Manager.ClearRevertStacks();
}

LabCommands::~LabCommands() {
    Project.reset();
}

TKovInterpreter& LabCommands::Interpreter() const {
    return Project->Commands().Interpreter();
}

void LabCommands::UseOurKernel() {
    Project->SetApplicationDirectory(std::filesystem::path(TW_QBABC_3D).parent_path().string());
}

TLine LabCommands::Run(const std::string& line) {
    TLine outcome;
    outcome.Success =
        Interpreter().Interpret(line, outcome.ErrorPos, outcome.ErrorText, outcome.Info);
    return outcome;
}

std::string LabCommands::Ok(const std::string& line) {
    const TLine outcome = Run(line);
    EXPECT_TRUE(outcome.Success) << line << ": " << outcome.ErrorText;
    return outcome.Info;
}

TLine LabCommands::RunFailing(const std::string& line) {
    auto rows = [&] {
        std::string counts;
        for (TKovObject* item : Project->MainTests().Items())
            counts += std::to_string(static_cast<TQBTestBase*>(item)->Results().RowCount()) + " ";
        return counts;
    };
    const std::string before = ProjectState(*Project) + rows();
    const int undo = Manager.UndoCount(), redo = Manager.RedoCount();
    TCommandHistory& successful = Project->Commands().SuccessfulCommands();
    const int succeeded = successful.Count();
    const TLine outcome = Run(line);
    EXPECT_FALSE(outcome.Success) << line;
    EXPECT_FALSE(outcome.ErrorText.empty()) << line;
    EXPECT_GE(outcome.ErrorPos, 1) << line;
    EXPECT_EQ(ProjectState(*Project) + rows(), before) << line;
    EXPECT_EQ(Manager.UndoCount(), undo) << line;
    EXPECT_EQ(Manager.RedoCount(), redo) << line;
    EXPECT_FALSE(Manager.IsUndoRedoSnapshotOpened()) << line;
    EXPECT_FALSE(Interpreter().Interpreting()) << line;
    EXPECT_EQ(successful.Count(), succeeded) << line;
    EXPECT_TRUE(Interpreter().PredictExecuteMaySucceed("echo Triaxial_1")) << line;
    return outcome;
}

} // namespace tw::testing
