#include "InterpreterTestSupport.h"

#include "commands/OAIntrinsicProperties.h"
#include "services/RuntimeSettings.h"

#include <mutex>

namespace tw::testing {

namespace {

class TOACmdTool : public TOAKovObservableObject {
public:
    TOACmdTool() : TOAKovObservableObject(TCmdTool::StaticClass()) {
        RemoveCommand("set");
        RemoveCommand("rename");
        auto& greet =
            AddCommand({"greet", "&Greet", "gr"}, {{TComParText::Class()}}, &TOACmdTool::ComGreet);
        AddPattern(greet, {{TComParKovObject::Class()}}, &TOACmdTool::ComGreet);
        AddCommand({"touch", "", ""}, {{TComParObjectOfClass::ForClass(TCmdThing::StaticClass())}},
                   &TOACmdTool::ComTouch);
        AddCommand({"fail", "", ""}, {{TComParObjectOfClass::ForClass(TCmdThing::StaticClass())}},
                   &TOACmdTool::ComFail);
    }

private:
    void ComGreet(TKovObject*, const TCommandParameterList& parameters, TCommandOutput& output,
                  bool) const {
        output.SetAdditionalInfo("Hello " + parameters[0]->AsText());
        output.AddAdditionalCommentLine("greeted");
    }
    // Changes a thing, then fails in words: the change must not stay.
    void ComTouch(TKovObject*, const TCommandParameterList& parameters, TCommandOutput& output,
                  bool predict) const {
        if (predict)
            return;
        auto& thing =
            static_cast<TCmdThing&>(*static_cast<TComParObject*>(parameters[0])->Object());
        thing.Number().SetValue(thing.Number().Value() + 1);
        output.InitializeAsError(cecExecutionFailed, "Touched and failed");
    }
    // Changes a thing, then meets a program fault.
    void ComFail(TKovObject*, const TCommandParameterList& parameters, TCommandOutput&,
                 bool predict) const {
        if (predict)
            return;
        auto& thing =
            static_cast<TCmdThing&>(*static_cast<TComParObject*>(parameters[0])->Object());
        thing.Number().SetValue(thing.Number().Value() + 1);
        throw ECommandError("A program fault");
    }
};

} // namespace

void RegisterTestAccessors() {
    static std::once_flag once;
    std::call_once(once, [] {
        auto& registry = TObjectAccessors::Instance();
        registry.RegisterAccessor(std::make_unique<TOACmdTool>());
        registry.RegisterAccessor(
            std::make_unique<TOAKovObservableObjectWithRevert>(TCmdRoot::StaticClass()));
    });
}

std::string PropertyState(const TKovObservableObject& object) {
    std::string state = object.Name() + "\n";
    for (int i = 0; i < object.IntrinsicPropertiesCount(); ++i) {
        const TKovIntrinsicProperty& property = *object.GetIntrinsicProperty(i);
        state += property.Name() + "=" + property.ValueAsText() + "\n";
    }
    return state;
}

InterpreterFixture::InterpreterFixture()
    : Root(World.Add<TCmdRoot>("Root")), Tools(World.Add<TCmdTool>("Tools")),
      Thing(World.Add<TCmdThing>("Thing")), Other(World.Add<TCmdThing>("Other")) {
    TRuntimeSettings::Set("NO_LOG_VERSION_COMMENT", true);
    RegisterTestAccessors();
    TKovValuesList::InitializeInstance(&World.Manager);
    World.Manager.LockRevert();
    List = &World.Add<TKovGroup>("List");
    List->Add(&Thing);
    List->Add(&Other);
    Values = &TKovValuesList::GetInstance(&World.Manager)
                  .CreateValuesWithUnit(qtPressure, {-100000, -50000, 0, 20000});
    Values->SetName("Stress");
    World.Manager.UnlockRevert();
    World.Manager.ClearRevertStacks();
    Interpreter = std::make_unique<TKovInterpreter>(
        &World.Manager, std::vector<TKovObject*>{&Root, &Tools}, &Successful, &All);
}

InterpreterFixture::~InterpreterFixture() {
    Interpreter.reset();
    World.Manager.ClearRevertStacks();
    TKovValuesList::UninitializeInstance(&World.Manager);
}

TLineOutcome InterpreterFixture::Run(const std::string& line) {
    TLineOutcome outcome;
    outcome.Success =
        Interpreter->Interpret(line, outcome.ErrorPos, outcome.ErrorText, outcome.Info);
    return outcome;
}

std::string InterpreterFixture::ModelState() const {
    return PropertyState(Thing) + PropertyState(Other) + PropertyState(Root) +
           PropertyState(Tools) + Values->ToString() + "\n" + List->NamesAsCommaText();
}

TLineOutcome InterpreterFixture::RunFailing(const std::string& line) {
    const std::string before = ModelState();
    const int undo = World.Manager.UndoCount(), redo = World.Manager.RedoCount();
    const int successful = Successful.Count(), all = All.Count();
    TLineOutcome outcome = Run(line);
    EXPECT_FALSE(outcome.Success) << line;
    EXPECT_EQ(ModelState(), before) << line;
    EXPECT_EQ(World.Manager.UndoCount(), undo) << line;
    EXPECT_EQ(World.Manager.RedoCount(), redo) << line;
    EXPECT_FALSE(World.Manager.IsUndoRedoSnapshotOpened()) << line;
    EXPECT_FALSE(Interpreter->Interpreting()) << line;
    EXPECT_EQ(Successful.Count(), successful) << line;
    EXPECT_EQ(All.Count(), all + 1) << line;
    // Ready for the next command.
    EXPECT_TRUE(Interpreter->PredictExecuteMaySucceed("echo Thing")) << line;
    return outcome;
}

} // namespace tw::testing
