#include "TestThing.h"

namespace tw::testing {

int TTestThing::Destroyed = 0;

void TTestThing::DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
    list.AddInteger("Unlimited00", 0, "", 0, 0);
    list.AddInteger("Unlimited51", 0, "", 5, 1);
    list.AddDouble("Bounded", 0, "", 1, 10);
    list.AddDouble("Number");
    list.AddText("Text");
    list.AddOfKind<TIPFreeText>("Free");
    list.AddBoolean("Flag");
    list.AddEnumeration("Choice", {"Alpha", "Beta", "Gamma Ray"}, 0, "", {"α", "β", "γ"});
    list.AddObject("Ref", TTestThing::StaticClass());
    list.AddDerivedDouble("Twice",
                          {[](const TKovIntrinsicProperty& p) {
                               return 2 * static_cast<TTestThing*>(p.Owner())->Number().Value();
                           },
                           [](TKovIntrinsicProperty& p, const double& v) {
                               static_cast<TTestThing*>(p.Owner())->Number().SetValue(v / 2);
                           }});
}

TW_KOV_CLASS_IMPL(TTestThing, TKovObservableObject, &TTestThing::DeclareProperties)

} // namespace tw::testing
