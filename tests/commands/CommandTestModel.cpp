#include "CommandTestModel.h"

#include "units/SystemOfUnitsQueryFunctionsRegistry.h"

namespace tw::testing {

void TCmdThing::DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
    list.AddInteger("Count", 0, "", 0, 100);
    list.AddDouble("Number");
    list.AddDouble("Bounded", 0, "", 1, 10);
    list.AddDoubleWithUnit("Pressure", qtPressure, 0, "Cell pressure", -1e6, 0);
    list.AddText("Text");
    list.AddBoolean("Flag");
    list.AddEnumeration("Choice", {"Alpha", "Beta", "Gamma Ray"});
    list.AddObject("Ref", TCmdThing::StaticClass());
    list.AddOfKind<TIPColor>("Colour");
    list.AddOfKind<TIPTable>("Table");
    list.AddInteger("Locked", ipkReadOnly);
    list.AddBoolean("Guarded");
    list.AddInteger("Hidden", ipkNotPublished);
    list.AddOfKind<TIPImage>("Picture");
    list.AddDerivedDouble("Twice",
                          {[](const TKovIntrinsicProperty& p) {
                               return 2 * static_cast<TCmdThing*>(p.Owner())->Number().Value();
                           },
                           [](TKovIntrinsicProperty& p, const double& v) {
                               static_cast<TCmdThing*>(p.Owner())->Number().SetValue(v / 2);
                           }});
    list.AddDerivedDouble("Half", {[](const TKovIntrinsicProperty& p) {
                                       return static_cast<TCmdThing*>(p.Owner())->HalfSource / 2;
                                   },
                                   nullptr});
}

void TCmdThing::Initialize() {
    Table().SetColCount(2);
    Guarded().SetTrueDisabled(true);
}

TW_KOV_CLASS_IMPL(TCmdThing, TKovObservableObject, &TCmdThing::DeclareProperties)

void TCmdSubThing::DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
    list.AddDouble("Extra");
}
TW_KOV_CLASS_IMPL(TCmdSubThing, TCmdThing, &TCmdSubThing::DeclareProperties)

TW_KOV_CLASS_IMPL(TCmdTool, TKovObservableObject, nullptr)
TW_KOV_CLASS_IMPL(TCmdRoot, TKovObservableObject, nullptr)

TCmdWorld::TCmdWorld() {
    Units.SetUnitsOfNewProject();
    FQuery = TSystemOfUnitsQueryFunctionsRegistry::AddQueryFunctionWithHighestPriority(
        [this](const TKovObject* object) -> TSystemOfUnits* {
            return object && object->ObjectManager() == &Manager ? &Units : nullptr;
        });
}

TCmdWorld::~TCmdWorld() {
    TSystemOfUnitsQueryFunctionsRegistry::RemoveQueryFunction(FQuery);
    // Objects go before the manager's stacks are cleared by its destructor.
    Manager.ClearRevertStacks();
    FObjects.clear();
}

} // namespace tw::testing
