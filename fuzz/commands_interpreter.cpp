// Fuzzes the interpreter with scripts: each line of the input runs against a small object model
// made here (a root with undo, a default tool, two things with a property of each kind, a group
// of them and an array of values). A line that fails must change nothing: the properties of the
// model and the undo and redo stacks stay as they were, and no snapshot stays open. Exceptions
// are program faults and are not caught.

#include "commands/GlobalHelpers.h"
#include "commands/KovGroup.h"
#include "commands/KovInterpreter.h"
#include "commands/OAKovObject.h"
#include "objects/IntrinsicPropertyKinds.h"
#include "objects/KovValues.h"
#include "objects/ObjectManager.h"
#include "services/RuntimeSettings.h"
#include "services/Strings.h"
#include "units/SystemOfUnits.h"
#include "units/SystemOfUnitsQueryFunctionsRegistry.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace {

using namespace tw;

class TFuzzThing : public TKovObservableObject {
    TW_KOV_CLASS(TFuzzThing, TKovObservableObject)
public:
    using TKovObservableObject::TKovObservableObject;
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
        list.AddInteger("Count", 0, "", 0, 100);
        list.AddDouble("Number");
        list.AddDouble("Bounded", 0, "", 1, 10);
        list.AddDoubleWithUnit("Pressure", qtPressure, 0, "", -1e6, 0);
        list.AddDoubleWithUnit("Temperature", qtTemperature);
        list.AddText("Text");
        list.AddOfKind<TIPPassword>("Secret");
        list.AddBoolean("Flag");
        list.AddEnumeration("Choice", {"Alpha", "Beta", "Gamma Ray"});
        list.AddObject("Ref", TFuzzThing::StaticClass());
        list.AddOfKind<TIPColor>("Colour");
        list.AddOfKind<TIPXYList>("Curve");
        list.AddOfKind<TIPIdentification>("Code");
        list.AddInteger("Locked", ipkReadOnly);
        list.AddDerivedDouble("Twice",
                              {[](const TKovIntrinsicProperty& p) {
                                   return 2 * p.Owner()->Property<TIPDouble>("Number").Value();
                               },
                               [](TKovIntrinsicProperty& p, const double& v) {
                                   p.Owner()->Property<TIPDouble>("Number").SetValue(v / 2);
                               }});
    }
};
TW_KOV_CLASS_IMPL(TFuzzThing, TKovObservableObject, &TFuzzThing::DeclareProperties)

class TFuzzRoot : public TKovObservableObject {
    TW_KOV_CLASS(TFuzzRoot, TKovObservableObject)
public:
    using TKovObservableObject::TKovObservableObject;
};
TW_KOV_CLASS_IMPL(TFuzzRoot, TKovObservableObject, nullptr)

class TFuzzTool : public TKovObservableObject {
    TW_KOV_CLASS(TFuzzTool, TKovObservableObject)
public:
    using TKovObservableObject::TKovObservableObject;
};
TW_KOV_CLASS_IMPL(TFuzzTool, TKovObservableObject, nullptr)

class TOAFuzzTool : public TOAKovObservableObject {
public:
    TOAFuzzTool() : TOAKovObservableObject(TFuzzTool::StaticClass()) {
        RemoveCommand("set");
        RemoveCommand("rename");
        AddCommand({"greet", "", "gr"}, {{TComParGreedyMatchEverything::Class()}},
                   &TOAFuzzTool::ComGreet);
    }

private:
    void ComGreet(TKovObject*, const TCommandParameterList& parameters, TCommandOutput& output,
                  bool) const {
        output.SetAdditionalInfo(parameters.AsText());
    }
};

TKovObjectManager* CurrentManager = nullptr;
TSystemOfUnits* CurrentUnits = nullptr;

void Once() {
    TRuntimeSettings::Set("NO_LOG_VERSION_COMMENT", true);
    auto& registry = TObjectAccessors::Instance();
    registry.RegisterAccessor(std::make_unique<TOAFuzzTool>());
    registry.RegisterAccessor(
        std::make_unique<TOAKovObservableObjectWithRevert>(TFuzzRoot::StaticClass()));
    TSystemOfUnitsQueryFunctionsRegistry::AddQueryFunctionWithHighestPriority(
        [](const TKovObject* object) -> TSystemOfUnits* {
            return object && object->ObjectManager() == CurrentManager ? CurrentUnits : nullptr;
        });
}

struct TModel {
    TKovObjectManager Manager;
    TSystemOfUnits Units;
    std::vector<std::unique_ptr<TKovObject>> Objects;
    TCommandHistory Successful, All;
    std::unique_ptr<TKovInterpreter> Interpreter;

    template <typename T, typename... Args> T& Add(const std::string& name, Args&&... args) {
        auto object = Make<T>(&Manager, std::forward<Args>(args)...);
        object->SetName(name);
        T& result = *object;
        Objects.push_back(std::move(object));
        return result;
    }

    TModel() {
        Units.SetUnitsOfNewProject();
        CurrentManager = &Manager;
        CurrentUnits = &Units;
        TKovValuesList::InitializeInstance(&Manager);
        Manager.LockRevert();
        auto& root = Add<TFuzzRoot>("Root");
        auto& tools = Add<TFuzzTool>("Tools");
        auto& a = Add<TFuzzThing>("A");
        auto& b = Add<TFuzzThing>("B");
        auto& group = Add<TKovGroup>("G");
        group.Add(&a);
        group.Add(&b);
        a.Property<TIPKovObject>("Ref").SetValue(&b);
        TKovValuesList::GetInstance(&Manager)
            .CreateValuesWithUnit(qtPressure, {-1e5, -5e4, 0, 2e4})
            .SetName("V");
        Manager.UnlockRevert();
        Interpreter = std::make_unique<TKovInterpreter>(
            &Manager, std::vector<TKovObject*>{&root, &tools}, &Successful, &All);
    }
    ~TModel() {
        Interpreter.reset();
        Manager.ClearRevertStacks();
        Objects.clear();
        TKovValuesList::UninitializeInstance(&Manager);
        CurrentManager = nullptr;
        CurrentUnits = nullptr;
    }

    std::string State() const {
        std::string state;
        for (const auto& object : Objects) {
            state += object->Name() + "\n";
            if (const auto* observable = dynamic_cast<const TKovObservableObject*>(object.get()))
                for (int i = 0; i < observable->IntrinsicPropertiesCount(); ++i)
                    state += observable->GetIntrinsicProperty(i)->ValueAsText() + "\n";
        }
        const auto& values = TKovValuesList::GetInstance(const_cast<TKovObjectManager*>(&Manager));
        for (int i = 0; i < values.Count(); ++i)
            state += values[i].Name() + values[i].ToString() + "\n";
        return state;
    }
};

void Check(bool condition) {
    if (!condition)
        __builtin_trap();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool once = (Once(), true);
    (void)once;
    TModel model;
    const std::string script(reinterpret_cast<const char*>(data), size);
    int lines = 0;
    for (const std::string& line : Split(script, '\n')) {
        if (++lines > 64)
            break;
        model.Interpreter->PredictExecuteMaySucceed(line);
        const std::string before = model.State();
        const int undo = model.Manager.UndoCount(), redo = model.Manager.RedoCount();
        int32_t errorPos;
        std::string errorText, info;
        const bool success = model.Interpreter->Interpret(line, errorPos, errorText, info);
        Check(!model.Manager.IsUndoRedoSnapshotOpened());
        Check(!model.Interpreter->Interpreting());
        if (!success) {
            Check(model.State() == before);
            Check(model.Manager.UndoCount() == undo && model.Manager.RedoCount() == redo);
            Check(errorPos >= -1);
        }
    }
    return 0;
}
