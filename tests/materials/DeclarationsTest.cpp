// The framework on a small model of its own (a material class "Test" with one box of values):
// what declarations may and may not do, and the texts of their faults.

#include "MaterialTestSupport.h"

#include "materials/MaterialXDataProvider.h"
#include "materials/MaterialXRegistries.h"

#include <gmock/gmock.h>

#include <thread>

using namespace tw;
using namespace tw::testing;

namespace tw::testing {

class TTestMaterialX : public TKovMaterialX {
    TW_KOV_CLASS(TTestMaterialX, TKovMaterialX)
public:
    using TKovMaterialX::TKovMaterialX;
    std::string GetMaterialXTypeName() const override { return "Test"; }
    std::string GetMaterialGroupName() const override { return "Tests"; }
};
TW_KOV_CLASS_IMPL(TTestMaterialX, TKovMaterialX, nullptr)

} // namespace tw::testing

namespace {

using ::testing::StrEq;
using ::testing::ThrowsMessage;
using TStep = TMXGenericParametersConstructor::TInitializer;

// The collections of the test material: a box under each top collection.
struct TTestModel {
    TMXPropertyCollectionClass Internal{
        "TMXPropertyCollection_Test_Internal", nullptr, "Internal", "", mxpctPersistent,
        &TTestMaterialX::StaticClass()};
    TMXPropertyCollectionClass User{
        "TMXPropertyCollection_Test_User", nullptr, "User", "", mxpctDerived,
        &TTestMaterialX::StaticClass()};
    TMXPropertyCollectionClass Global{
        "TMXPropertyCollection_Test_Global", nullptr, "Global", "", mxpctDerived,
        &TTestMaterialX::StaticClass()};
    TMXPropertyCollectionClass InternalBox{"TMXPropertyCollection_Test_Persistent_Box", &Internal,
                                           "Box", "A box"};
    TMXPropertyCollectionClass UserBox{"TMXPropertyCollection_Test_Derived_Box", &User, "Box",
                                       "A box"};
    TMaterialXFactoryFunctions Functions{User, Internal, Global};

    TTestModel() {
        for (auto* cls : {&InternalBox, &UserBox, &Global})
            TMaterialXRegistries::RegisterMXPropertyCollection(*cls);
        TMaterialXRegistries::RegisterFactoryFunctions(TTestMaterialX::StaticClass(), Functions);
    }
};

TTestModel& Model() {
    static TTestModel model;
    return model;
}

// A root of one group whose constructors and organizers are given, registered for model value
// `value` of the test material.
const TMXAssociatedParameterGroup&
Root(int value, const std::string& name, TStep persistent, TStep derived,
     std::vector<std::pair<std::string, TMXDefaultValueFunction>> stored,
     std::vector<std::string> shown) {
    Model();
    const auto& group = TMaterialXRegistries::RegisterAPG(
        std::make_unique<TMXAssociatedParameterGroup>("TTest_APG_" + name));
    auto constructor = std::make_unique<TMXGenericParametersConstructor>(
        "TTest_Constructor_" + name, group, mxpctPersistent, nullptr, std::move(persistent));
    const TMXParametersConstructor* reference = constructor.get();
    TMaterialXRegistries::RegisterMXParametersConstructor(group, mxpctPersistent,
                                                          std::move(constructor));
    TMaterialXRegistries::RegisterMXParametersConstructor(
        group, mxpctDerived,
        std::make_unique<TMXGenericParametersConstructor>("TTest_DerivedConstructor_" + name, group,
                                                          mxpctDerived, reference,
                                                          std::move(derived)));
    auto persistentOrganizer = std::make_unique<TMXAssociatedParameterGroupOrganizer>(
        "TTest_Organizer_" + name, group, mxpctPersistent);
    for (auto& [property, value] : stored)
        persistentOrganizer->Add("Box", property, value);
    auto derivedOrganizer = std::make_unique<TMXAssociatedParameterGroupOrganizer>(
        "TTest_DerivedOrganizer_" + name, group, mxpctDerived);
    for (const std::string& property : shown)
        derivedOrganizer->Add("Box", property);
    TMaterialXRegistries::RegisterMXParametersOrganizer(group, mxpctPersistent,
                                                        std::move(persistentOrganizer));
    TMaterialXRegistries::RegisterMXParametersOrganizer(group, mxpctDerived,
                                                        std::move(derivedOrganizer));
    const auto& root = TMaterialXRegistries::RegisterAPG(
        std::make_unique<TMXAssociatedParameterGroup>("TTest_Root_" + name));
    const_cast<TMXAssociatedParameterGroup&>(root).AddDependency(group);
    TMaterialXRegistries::RegisterMXRootParameterGroup(
        TTestMaterialX::StaticClass(), [value](int v) { return v == value; }, root);
    return root;
}

std::unique_ptr<TKovMaterialX> MakeTest(const TMXAssociatedParameterGroup& root) {
    return TMaterialXFactory::CreateMaterialXOfClass(nullptr, "Probe",
                                                     TTestMaterialX::StaticClass(), root, nullptr);
}

} // namespace

TEST(MaterialDeclarations, ASmallModelOfItsOwn) {
    const auto& root = Root(
        1, "Length",
        [](TMXParametersConstructor& c) {
            c.DeclareDouble("Length", 0, 0.0, 100.0, qtLength, "L");
            c.DeclareEnumeration("Shape", 0, {"Round", "Square"}, "Shape");
        },
        [](TMXParametersConstructor& c) {
            c.AddInterfaceTo("Length");
            c.AddInterfaceToTypedEnumeration("Shape");
            c.DeclareDerivedDouble(
                "Twice", 0, 0.0, 200.0, qtLength,
                [](const TKovMaterialX& m) {
                    return 2 * TMaterialXTools::GetInternalPropertyValueFrom(m, "Length");
                },
                [](TKovMaterialX& m, double v) {
                    TMaterialXTools::SetInternalPropertyValueFrom(m, "Length", v / 2);
                },
                "2L");
            c.AddDerivedCopy("Twice", "Double", "2 L");
        },
        {{"Length", TMXAssociatedParameterGroupOrganizer::CreateDefaultValue(TVarRec(2.0))},
         {"Shape", TMXAssociatedParameterGroupOrganizer::CreateDefaultValue(
                       TVarRec(std::string("Square")))}},
        {"Length", "Shape", "Twice", "Double"});
    auto material = MakeTest(root);
    EXPECT_EQ(material->Identification(), "Probe");
    EXPECT_DOUBLE_EQ(UserValue(*material, "Twice"), 4.0);
    EXPECT_EQ(TMaterialXTools::GetUserOrdinalFrom(*material, "Shape"), 1);
    SetUser(*material, "Double", 10.0);
    EXPECT_DOUBLE_EQ(UserValue(*material, "Length"), 5.0);
    const auto* box =
        dynamic_cast<const TMXPropertyCollection*>(material->FindUserProperty("Twice")->Owner());
    ASSERT_NE(box, nullptr);
    EXPECT_EQ(box->GetObjectTypeName(), "Test_Derived_Box");
    EXPECT_EQ(box->Caption(), "A box");
    EXPECT_EQ(box->CollectionClass().FurtherName(), "Test_Derived_Box");
    EXPECT_FALSE(TMaterialXTools::IsDerivedPropertyCollectionEmpty(*box));
    // A value the user writes is held to its range; the property alone would clamp it.
    EXPECT_THAT(
        [&] { SetUser(*material, "Length", 150.0); },
        ThrowsMessage<EMaterialXValueOutOfRange>(StrEq("Length must be between 0 and 100")));
    EXPECT_DOUBLE_EQ(UserValue(*material, "Length"), 5.0);

    // A copy of the box's user values as plain properties, under another collection.
    TMXPropertyCollection& copy =
        TMaterialXFactory::MergeDerivedCollectionCopy(box, material->GlobalMXPropertyCollection());
    EXPECT_FALSE(copy.FindGroupProperty("Twice")->IsDerived());
    EXPECT_DOUBLE_EQ(static_cast<TIPDouble*>(copy.FindGroupProperty("Twice"))->Value(), 10.0);
}

TEST(MaterialDeclarations, AProxiedNumberTakesTheLimitsAndUnitOfItsSourceWhenAsked) {
    auto persistent = [](TMXParametersConstructor& c) {
        c.DeclareDouble("Depth", 0, 0.0, 50.0, qtLength, "D");
    };
    auto shown = [](const std::string& source) {
        return [source](TMXParametersConstructor& c) {
            c.AddInterfaceTo("Depth");
            c.DeclareDerivedDoubleWithProxiedAttributes(
                "Shown", 0, source, TMXParametersConstructor::GetInternalParameterGetter("Depth"),
                TMXParametersConstructor::GetInternalParameterSetter("Depth"), "Shown depth");
        };
    };
    auto material = MakeTest(
        Root(7, "Proxy", persistent, shown("Depth"),
             {{"Depth", TMXAssociatedParameterGroupOrganizer::CreateDefaultValue(TVarRec(1.0))}},
             {"Depth", "Shown"}));
    auto& proxied = dynamic_cast<TIPDoubleWithUnit&>(*material->FindUserProperty("Shown"));
    EXPECT_EQ(proxied.QuantityType(), qtLength);
    EXPECT_EQ(proxied.MinValue(), 0.0);
    EXPECT_EQ(proxied.MaxValue(), 50.0);
    proxied.SetValue(80.0); // held to the source's limits, and written through to it
    EXPECT_DOUBLE_EQ(TMaterialXTools::GetInternalPropertyValueFrom(*material, "Depth"), 50.0);

    // A source that isn't there is a fault of the declaration: it shows when the material is made.
    const auto& lost =
        Root(8, "LostProxy", persistent, shown("Nowhere"),
             {{"Depth", TMXAssociatedParameterGroupOrganizer::CreateDefaultValue(TVarRec(1.0))}},
             {"Depth", "Shown"});
    EXPECT_THAT([&] { MakeTest(lost); }, ThrowsMessage<EIntrinsicPropertyException>(
                                             StrEq("Cannot find proxy source for \"Nowhere\"")));
}

TEST(MaterialDeclarations, AStoredTableHasItsDefaultRowsAndIsReadAndChangedByRow) {
    using C = TMXParametersConstructor;
    const auto& root = Root(
        9, "Table",
        [](TMXParametersConstructor& c) { c.DeclareTable("Curve", 0, 2, "Stress-strain curve"); },
        [](TMXParametersConstructor& c) {
            c.DeclareDerivedDouble("FirstStrain", 0, -1e9, 1e9, qtDummy,
                                   C::GetAdvancedTableRowGetter("Curve", 0, 0), nullptr, "e_1");
            c.DeclareDerivedDouble("SecondStress", 0, -1e9, 1e9, qtPressure,
                                   C::GetAdvancedTableRowGetter("Curve", 1, 1), nullptr, "s_2");
        },
        {{"Curve", TMXAssociatedParameterGroupOrganizer::CreateTableDefaultValue(
                       {{0.0, 10.0}, {0.01, 20.0}})}},
        {"FirstStrain", "SecondStress"});
    TKovObjectManager manager;
    auto material = TMaterialXFactory::CreateMaterialXOfClass(
        &manager, "Probe", TTestMaterialX::StaticClass(), root, nullptr);
    auto& curve = dynamic_cast<TIPTable&>(*material->FindInternalProperty("Curve"));
    EXPECT_EQ(curve.ColCount(), 2);
    ASSERT_EQ(curve.RowCount(), 2);
    EXPECT_EQ(UserValue(*material, "FirstStrain"), 0.0);
    EXPECT_EQ(UserValue(*material, "SecondStress"), 20.0);

    // A row before the second, then the first taken away: each is one step back.
    manager.ClearRevertStacks();
    C::GetAdvancedTableInsertRowFunc("Curve")(*material, 1, {0.005, 15.0});
    EXPECT_EQ(UserValue(*material, "SecondStress"), 15.0);
    C::GetAdvancedTableDeleteRowFunc("Curve")(*material, 0);
    EXPECT_EQ(UserValue(*material, "FirstStrain"), 0.005);
    EXPECT_EQ(UserValue(*material, "SecondStress"), 20.0);
    C::GetAdvancedTableInsertRowFunc("Curve")(*material, 99, {0.02, 25.0}); // appended
    EXPECT_EQ(curve.GetValue(2, 1), 25.0);
    EXPECT_EQ(manager.UndoCount(), 3);
    manager.Undo();
    manager.Undo();
    EXPECT_EQ(UserValue(*material, "FirstStrain"), 0.0);
    EXPECT_EQ(UserValue(*material, "SecondStress"), 15.0);

    // Rows that aren't there read as 0; writes that don't fit change nothing.
    EXPECT_EQ(C::GetAdvancedTableRowGetter("Curve", 5, 0)(*material), 0.0);
    const std::vector<double> before = curve.GetValues();
    EXPECT_THAT([&] { C::GetAdvancedTableDeleteRowFunc("Curve")(*material, 3); },
                ThrowsMessage<std::exception>(StrEq("The row was not found in the table.")));
    EXPECT_THAT(
        [&] {
            C::GetAdvancedTableInsertRowFunc("Curve")(*material, 0, {1.0, 2.0, 3.0});
        },
        ThrowsMessage<std::exception>(
            StrEq("Invalid table, number of values not a multiple of the column count \"2\"")));
    EXPECT_THAT(
        [&] { C::GetAdvancedTableRowGetter("Nowhere", 0, 0)(*material); },
        ThrowsMessage<std::exception>(StrEq(
            "Unable to find the internal intrinsic property Nowhere for specified material")));
    EXPECT_EQ(curve.GetValues(), before);

    // Whole tables are written as numbers row by row, and only whole rows.
    TMaterialXTools::SetPropertyFromArray(curve, {0.0, 5.0, 0.02, 30.0});
    EXPECT_EQ(UserValue(*material, "SecondStress"), 30.0);
    EXPECT_THAT(
        [&] {
            TMaterialXTools::SetPropertyFromArray(curve, {1.0, 2.0, 3.0});
        },
        ThrowsMessage<std::exception>(
            StrEq("Invalid table, number of values not a multiple of the column count \"2\"")));
    auto sand = MakeSoil(mxsmmMohrCoulomb);
    EXPECT_THAT(
        [&] { TMaterialXTools::SetPropertyFromArray(*sand->FindInternalProperty("eInit"), {1.0}); },
        ThrowsMessage<std::exception>(
            StrEq("Property \"eInit\" cannot set from an array of this kind because the type kind "
                  "is not supported (TIPDoubleWithUnit).")));
    TMaterialXTools::SetPropertyFromArray(curve, before);

    // The kernel's value functions count a table's rows, and name a table that isn't there.
    using P = TMaterialXDataProviderFunctions;
    EXPECT_EQ(P::GetInternalTablePropRowCountValueFunction("Curve")(*material).Number(), 3.0);
    EXPECT_THAT(
        [&] { P::GetInternalTablePropRowCountValueFunction("Nowhere")(*material); },
        ThrowsMessage<std::exception>(StrEq(
            "Unable to find the internal intrinsic property Nowhere for specified material")));

    // A copy has the rows and the columns.
    auto copy = TMaterialXFactory::CreateCopy(nullptr, *material);
    const auto& copied = dynamic_cast<const TIPTable&>(*copy->FindInternalProperty("Curve"));
    EXPECT_EQ(copied.ColCount(), 2);
    EXPECT_EQ(copied.GetValues(), before);

    // A table's default goes to tables only, and a number's default to numbers only.
    const auto& onNumber = Root(
        10, "TableDefaultOnNumber",
        [](TMXParametersConstructor& c) { c.DeclareDouble("Size", 0, 0, 1, qtDummy, "S"); },
        nullptr, {{"Size", TMXAssociatedParameterGroupOrganizer::CreateTableDefaultValue({{1.0}})}},
        {});
    EXPECT_THAT([&] { MakeTest(onNumber); },
                ThrowsMessage<std::exception>(
                    StrEq("Unable to add default values to Size. Expected Advanced Table")));
    const auto& onTable = Root(
        11, "NumberDefaultOnTable",
        [](TMXParametersConstructor& c) { c.DeclareTable("Curve", 0, 2, "Curve"); }, nullptr,
        {{"Curve", TMXAssociatedParameterGroupOrganizer::CreateDefaultValue(TVarRec(1.0))}}, {});
    EXPECT_THAT([&] { MakeTest(onTable); },
                ThrowsMessage<std::exception>(
                    StrEq("Unable to set the default value for the parameter for intrinsic "
                          "property Curve of type TIPMaterialTable!")));
    const auto& ragged = Root(
        12, "RaggedTableDefault",
        [](TMXParametersConstructor& c) { c.DeclareTable("Curve", 0, 2, "Curve"); }, nullptr,
        {{"Curve", TMXAssociatedParameterGroupOrganizer::CreateTableDefaultValue({{1.0}})}}, {});
    EXPECT_THAT([&] { MakeTest(ragged); },
                ThrowsMessage<std::exception>(StrEq(
                    "Invalid table, number of values not a multiple of the column count \"2\"")));
}

TEST(MaterialDeclarations, FaultsOfDeclarationsSayWhatIsWrong) {
    Model();
    const auto& group = TMaterialXRegistries::RegisterAPG(
        std::make_unique<TMXAssociatedParameterGroup>("TTest_APG_Faults"));
    TMXGenericParametersConstructor stored("TTest_Stored", group, mxpctPersistent, nullptr,
                                           [](TMXParametersConstructor& c) {
                                               c.DeclareEnumeration("Kind", 0, {"A", "B"}, "K");
                                           });
    EXPECT_THAT([&] { stored.GetIPDeclarationFor("Nothing"); },
                ThrowsMessage<std::exception>(
                    StrEq("\"TTest_Stored\" is not equipped to create property \"Nothing\"")));
    EXPECT_THAT(
        [&] { stored.DeclareDouble("Late", 0, 0, 1, qtDummy, "Late"); },
        ThrowsMessage<std::exception>(StrEq("Cannot add declarations to a non-existing list")));
    TMXGenericParametersConstructor enumeration(
        "TTest_Interface", group, mxpctDerived, &stored,
        [](TMXParametersConstructor& c) { c.AddInterfaceTo("Kind"); });
    EXPECT_THAT([&] { enumeration.Declarations(); },
                ThrowsMessage<std::exception>(
                    StrEq("Derived enum property Kind must be registered as typed using "
                          "AddInterfaceToTypedEnumeration or AddDerivedTypedEnumeration")));
    TMXGenericParametersConstructor copy(
        "TTest_Copy", group, mxpctDerived, &stored,
        [](TMXParametersConstructor& c) { c.AddDerivedCopy("Missing", "Other", "Other"); });
    EXPECT_THAT(
        [&] { copy.Declarations(); },
        ThrowsMessage<std::exception>(StrEq(
            "Tried to add a copy of a derived property to \"TTest_Copy\", but the declaration "
            "list does not contain it.")));

    EXPECT_THAT(
        [&] {
            TMaterialXRegistries::GetParametersConstructor(TTestMaterialX::StaticClass(), group,
                                                           mxpctPersistent);
        },
        ThrowsMessage<std::exception>(
            StrEq("Cannot find parameter constructor for material of class \"TTestMaterialX\", "
                  "parameter group \"TTest_APG_Faults\"")));
    EXPECT_THAT(
        [&] {
            TMaterialXRegistries::GetParametersOrganizer(TTestMaterialX::StaticClass(), group,
                                                         mxpctDerived);
        },
        ThrowsMessage<std::exception>(
            StrEq("Cannot find parameter organizer for material of class \"TTestMaterialX\", "
                  "parameter group \"TTest_APG_Faults\"")));
    EXPECT_THAT([&] { TMaterialXRegistries::GetAssociatedParameterGroupClassOf(stored); },
                ThrowsMessage<std::exception>(
                    StrEq("APG for constructor \"TTest_Stored\" could not be found.")));

    const TMXPropertyCollectionClass orphan("TMXPropertyCollection_Orphan", nullptr, "Orphan");
    EXPECT_THAT([&] { orphan.ConstructorType(); },
                ThrowsMessage<std::exception>(
                    StrEq("Cannot find constructor type for property collection of class "
                          "\"TMXPropertyCollection_Orphan\"")));
    EXPECT_THAT([] { TMaterialXFactory::MergeDerivedCollectionCopy(nullptr, nullptr); },
                ThrowsMessage<std::exception>(
                    StrEq("Cannot make a copy of unassigned reference collection!")));

    TKovMaterialX bare(nullptr);
    EXPECT_THAT(
        [&] { bare.GetMaterialXTypeName(); },
        ThrowsMessage<std::exception>(StrEq("Implement GetMaterialXTypeName for TKovMaterialX")));
    EXPECT_THAT(
        [&] { bare.GetMaterialGroupName(); },
        ThrowsMessage<std::exception>(StrEq("Implement DoGetMaterialGroupName for TKovMaterialX")));
}

TEST(MaterialDeclarations, FaultsOfModelsSayWhatIsWrong) {
    // A default for a derived value, a default of a kind the property can't take, two
    // visibility rules for one name, valid values for a number.
    const auto& derivedDefault = Root(
        2, "DerivedDefault",
        [](TMXParametersConstructor& c) {
            c.DeclareDerivedDouble(
                "Computed", 0, 0, 1, qtDummy, [](const TKovMaterialX&) { return 0.5; }, nullptr,
                "C");
        },
        nullptr,
        {{"Computed", TMXAssociatedParameterGroupOrganizer::CreateDefaultValue(TVarRec(1.0))}}, {});
    EXPECT_THAT([&] { MakeTest(derivedDefault); },
                ThrowsMessage<std::exception>(StrEq(
                    "Default initialization procedures are not allowed for derived properties")));

    const auto& textDefault = Root(
        3, "TextDefault", [](TMXParametersConstructor& c) { c.DeclareText("Note", 0, "Note"); },
        nullptr, {{"Note", TMXAssociatedParameterGroupOrganizer::CreateDefaultValue(TVarRec(1.0))}},
        {});
    EXPECT_THAT(
        [&] { MakeTest(textDefault); },
        ThrowsMessage<std::exception>(StrEq(
            "Unable to set the default value for the parameter for intrinsic property Note of "
            "type TIPText!")));

    const auto& rules = Root(
        4, "Rules",
        [](TMXParametersConstructor& c) { c.DeclareDouble("Size", 0, 0, 1, qtDummy, "S"); },
        [](TMXParametersConstructor& c) { c.AddInterfaceTo("Size"); }, {{"Size", nullptr}},
        {"Size"});
    auto numbers = std::make_unique<TMXIPConfigurationGroup>("TTest_Rules", rules);
    numbers->AddValidEnums("Size", [](const TKovMaterialX&) { return std::vector<int>{0}; });
    TMaterialXRegistries::RegisterMXIPConfigurationFunctions(rules, std::move(numbers));
    EXPECT_THAT([&] { MakeTest(rules); },
                ThrowsMessage<std::exception>(
                    StrEq("Cannot retrieve valid enumeration values for Size, because it is not a "
                          "TIPEnumeration.")));
    auto twice = std::make_unique<TMXIPConfigurationGroup>("TTest_Twice", rules);
    twice->AddVisibility("Size",
                         TMXIPConfigurationFunctions::GetConstantVisibilityGetter(mxvHidden));
    twice->AddVisibility("Size",
                         TMXIPConfigurationFunctions::GetConstantVisibilityGetter(mxvVisible));
    TMaterialXRegistries::RegisterMXIPConfigurationFunctions(rules, std::move(twice));
    EXPECT_THAT(
        [&] { MakeTest(rules); },
        ThrowsMessage<std::exception>(StrEq(
            "Cannot register visibility function for Size. Duplicate entries are not allowed in "
            "MaterialX IP Configuration Registry")));

    auto sand = MakeSoil(mxsmmMohrCoulomb);
    EXPECT_THAT(
        [&] {
            TMaterialXTools::GetPropertyPresentationValue(*sand->FindUserProperty("DrainageType"),
                                                          TSystemOfUnits());
        },
        ThrowsMessage<std::exception>(StrEq("Property \"DrainageType\" is not of type Double.")));
    EXPECT_THAT(
        [&] {
            TMaterialXTools::SetPropertyFromVarRec(*sand->FindUserProperty("phi"),
                                                   TVarRec(static_cast<TKovObject*>(nullptr)));
        },
        ThrowsMessage<std::exception>(
            StrEq("Property \"phi\" cannot set from a general TValue because the type kind is not "
                  "supported (4).")));
}

TEST(MaterialDeclarations, MaterialsAreReadFromOtherThreads) {
    // Look-ups go through an index that the first reader after a change rebuilds: readers on
    // two threads at once get the same values as one reader alone.
    auto hs = MakeSoil(mxsmmHardeningSoil);
    SetUser(*hs, "E50Ref", 30e6);
    SetUser(*hs, "phi", 31.0);
    std::vector<std::string> names;
    for (TKovIntrinsicProperty* property : hs->UserProperties())
        if (dynamic_cast<TIPDouble*>(property))
            names.push_back(property->Name());
    auto readAll = [&] {
        std::vector<double> values;
        for (const std::string& name : names)
            values.push_back(TMaterialXTools::GetUserPropertyValueFrom(*hs, name));
        return values;
    };
    const std::vector<double> expected = readAll();
    for (int round = 0; round < 20; ++round) {
        MakeSoil(mxsmmMohrCoulomb); // a structure change: every index is rebuilt on next use
        std::vector<double> a, b;
        std::thread first([&] { a = readAll(); });
        std::thread second([&] { b = readAll(); });
        first.join();
        second.join();
        EXPECT_EQ(a, expected);
        EXPECT_EQ(b, expected);
    }
}
