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

#include "objects/IntrinsicPropertyKinds.h"

namespace tw::testing {

void TTestSubThing::DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
    list.AddDouble("Extra");
}
TW_KOV_CLASS_IMPL(TTestSubThing, TTestThing, &TTestSubThing::DeclareProperties)

void TTestFeature::DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
    list.AddDouble("Weight");
}
TW_KOV_CLASS_IMPL(TTestFeature, TKovUserFeature, &TTestFeature::DeclareProperties)

void TKindsThing::DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
    list.AddOfKind<TIPColor>("Colour");
    list.AddOfKind<TIPPassword>("Secret");
    list.AddOfKind<TIPIdentification>("Code");
    list.AddOfKind<TIPParent>("Parent");
    list.AddOfKind<TIPTable>("Table");
    list.AddOfKind<TIPXYList>("Curve");
    list.AddOfKind<TIPImage>("Picture");
    AddClassEnum(list, "Kind", TTestThing::StaticClass(),
                 {&TTestThing::StaticClass(), &TTestSubThing::StaticClass()});
    AddUserDefinedParameter(list, "UserParam", qtPressure, 0, "E_ref", 0, 1e9, 4);
    list.AddDerived<TIPLargeText_DerivedExternal, TIPLargeText, std::string>(
        "Notes",
        {[](const TKovIntrinsicProperty& p) { return static_cast<TKindsThing*>(p.Owner())->Notes; },
         [](TKovIntrinsicProperty& p, const std::string& v) {
             static_cast<TKindsThing*>(p.Owner())->Notes = v;
         }});
    list.AddDerived<TIPColor_DerivedExternal, TIPColor, int32_t, TIPIntegerDeclaration>(
        "Shade",
        {[](const TKovIntrinsicProperty& p) { return static_cast<TKindsThing*>(p.Owner())->Shade; },
         nullptr});
    AddDerivedUserDefinedParameter(list, "Stiffness", qtPressure,
                                   {[](const TKovIntrinsicProperty& p) {
                                        return static_cast<TKindsThing*>(p.Owner())->Stiffness;
                                    },
                                    [](TKovIntrinsicProperty& p, const double& v) {
                                        static_cast<TKindsThing*>(p.Owner())->Stiffness = v;
                                    }},
                                   0, "Stiffness", 0, 1e9);
}
TW_KOV_CLASS_IMPL(TKindsThing, TKovParentableObject, &TKindsThing::DeclareProperties)

} // namespace tw::testing
