// The material framework: model switching, copies, configuration, registries, the dependency
// graph, undo and the refusals of bad input.

#include "MaterialTestSupport.h"

#include "materials/MaterialXValues.h"
#include "materials/SoilMaterialXGroups.h"

#include <gmock/gmock.h>

using namespace tw;
using namespace tw::testing;
using ::testing::StrEq;
using ::testing::ThrowsMessage;

namespace {

std::map<std::string, std::string> InternalValues(const TKovMaterialX& material) {
    std::map<std::string, std::string> values;
    for (TKovIntrinsicProperty* property : material.InternalProperties())
        values[property->Name()] = property->ValueAsText();
    return values;
}

} // namespace

TEST(MaterialFramework, SwitchingHardeningSoilToMohrCoulombAndBackKeepsSharedStoredValues) {
    auto material = MakeSoil(mxsmmHardeningSoil);
    ScrambleStoredNumbers(*material);
    SetUser(*material, "eInit", 0.73);
    const auto before = InternalValues(*material);

    SetUser(*material, "SoilModel", mxsmmMohrCoulomb);
    EXPECT_EQ(material->GetSoilModel(), mxsmmMohrCoulomb);
    EXPECT_EQ(material->RootAPGClass(), &TMaterialXRegisters_Soil::RootOf(mxsmmMohrCoulomb));
    EXPECT_DOUBLE_EQ(UserValue(*material, "eInit"), 0.73);
    EXPECT_EQ(material->FindUserProperty("E50Ref"), nullptr);
    ASSERT_NE(material->FindUserProperty("ERef"), nullptr);
    const auto inMohrCoulomb = InternalValues(*material);
    for (const auto& [name, value] : inMohrCoulomb) {
        if (before.count(name) && name != "SoilModel") {
            EXPECT_EQ(value, before.at(name)) << name << " changed in the switch to Mohr-Coulomb";
        }
    }

    SetUser(*material, "SoilModel", mxsmmHardeningSoil);
    const auto after = InternalValues(*material);
    for (const auto& [name, value] : before) {
        if (inMohrCoulomb.count(name)) {
            EXPECT_EQ(after.at(name), value) << name << " was not kept through the round trip";
        }
    }
    EXPECT_DOUBLE_EQ(UserValue(*material, "eInit"), 0.73);
    // What Mohr-Coulomb doesn't have comes back with the defaults of Hardening Soil.
    EXPECT_DOUBLE_EQ(UserValue(*material, "HSPRef"), 100000.0);
}

TEST(MaterialFramework, ApplyingTheRootInForceChangesNothing) {
    auto material = MakeSoil(mxsmmMohrCoulomb);
    TKovIntrinsicProperty* phi = material->FindUserProperty("phi");
    const uint64_t generation = TMXPropertyCollection::StructureGeneration();
    TMaterialXFactory::ApplyRootAPGTo(*material, *material->RootAPGClass());
    EXPECT_EQ(TMXPropertyCollection::StructureGeneration(), generation);
    EXPECT_EQ(material->FindUserProperty("phi"), phi);
}

TEST(MaterialFramework, ADerivedValueWithoutSetterIsReadOnly) {
    auto material = MakeSoil(mxsmmMohrCoulomb);
    TKovIntrinsicProperty* kRef = material->FindUserProperty("KRef");
    ASSERT_NE(kRef, nullptr);
    EXPECT_TRUE(kRef->ReadOnly());
    EXPECT_THROW(static_cast<TIPDouble*>(kRef)->SetValue(5.0), EIntrinsicPropertyAssignError);
    EXPECT_THROW(SetUser(*material, "KRef", 5.0), EMaterialXTools);
}

TEST(MaterialFramework, CopiesAssignTheModelFirstAndThenEveryValue) {
    auto source = MakeSoil(mxsmmHardeningSoil);
    SetUser(*source, "E50Ref", 25000.0);
    SetUser(*source, "phi", 33.0);
    SetUser(*source, "DrainageType", mxsdtUndrainedA);
    source->SetIdentification("Dense sand");

    auto target = MakeSoil(mxsmmMohrCoulomb);
    TMaterialXFactory::AssignMaterial(*target, *source);
    EXPECT_EQ(target->GetSoilModel(), mxsmmHardeningSoil);
    EXPECT_EQ(AllUserValues(*target), AllUserValues(*source));
    EXPECT_EQ(target->Identification(), "Dense sand");

    auto copy = TMaterialXFactory::CreateCopy(nullptr, *source);
    EXPECT_EQ(AllUserValues(*copy), AllUserValues(*source));
    SetUser(*copy, "E50Ref", 1000.0);
    EXPECT_DOUBLE_EQ(UserValue(*source, "E50Ref"), 25000.0); // the copy stands alone

    auto frozen = TMaterialXFactory::CreateStaticCopy(nullptr, *source);
    EXPECT_EQ(AllUserValues(*frozen), AllUserValues(*source));
    EXPECT_FALSE(frozen->FindUserProperty("E50Ref")->IsDerived());
    SetUser(*source, "phi", 20.0);
    EXPECT_DOUBLE_EQ(UserValue(*frozen, "phi"), 33.0);
}

TEST(MaterialFramework, ConfigurationFollowsDrainageModelAndMethod) {
    auto material = MakeSoil(mxsmmMohrCoulomb);
    auto published = [&](const char* name) {
        return material->FindUserProperty(name)->IsPublished();
    };
    EXPECT_TRUE(published("ERef"));
    EXPECT_FALSE(published("ERefUndrainedC"));
    EXPECT_TRUE(published("CRefDrainedUndrainedA"));
    EXPECT_FALSE(published("sURef"));
    SetUser(*material, "DrainageType", mxsdtUndrainedC);
    EXPECT_FALSE(published("ERef"));
    EXPECT_TRUE(published("ERefUndrainedC"));
    EXPECT_TRUE(published("sURef"));

    auto hs = MakeSoil(mxsmmHardeningSoil);
    auto& drainage = static_cast<TIPEnumeration&>(*hs->FindUserProperty("DrainageType"));
    EXPECT_TRUE(drainage.IsDisabled(mxsdtUndrainedC));
    EXPECT_FALSE(drainage.IsDisabled(mxsdtUndrainedB));
    EXPECT_THROW(SetUser(*hs, "DrainageType", mxsdtUndrainedC), EMaterialXValueOutOfRange);
    EXPECT_FALSE(hs->FindUserProperty("E50Ref")->ReadOnly());
    EXPECT_TRUE(hs->FindUserProperty("HSCc")->ReadOnly());
    SetUser(*hs, "UseAlternatives", 1);
    EXPECT_TRUE(hs->FindUserProperty("E50Ref")->ReadOnly());
    EXPECT_FALSE(hs->FindUserProperty("HSCc")->ReadOnly());
    // K0 is the user's only when its determination is manual; the dimension picks the name.
    EXPECT_TRUE(hs->FindUserProperty("K0Primary")->ReadOnly());
    EXPECT_TRUE(hs->FindUserProperty("K0Secondary3D")->IsPublished());
    EXPECT_FALSE(hs->FindUserProperty("K0Secondary2D")->IsPublished());
    SetUser(*hs, "K0Determination", mxsamManual);
    EXPECT_FALSE(hs->FindUserProperty("K0Primary")->ReadOnly());
}

TEST(MaterialFramework, AGroupIsEnabledOnlyInADimension) {
    const TMXAssociatedParameterGroup group("TTestAPG_Plain");
    const TMXAssociatedParameterGroup only2D("TTestAPG_2D", true, false);
    {
        TMaterialXClientScope scope(std::make_unique<TMaterialXClientTarnwick>(mxcgtNone));
        EXPECT_FALSE(group.IsEnabled());
    }
    {
        TMaterialXClientScope scope(std::make_unique<TMaterialXClientTarnwick>(mxcgt2D));
        EXPECT_TRUE(only2D.IsEnabled());
    }
    EXPECT_FALSE(only2D.IsEnabled()); // the binary's client is 3D
    {
        TMaterialXClientScope scope(nullptr);
        EXPECT_THROW(TMaterialXClient_Abstract::Instance(), EMaterialXClientException);
    }
}

TEST(MaterialFramework, RegistriesRefuseBadDeclarations) {
    const auto& group = soil::Group("HardeningSoil");
    EXPECT_THAT(
        [&] { TMaterialXRegistries::RegisterAPGParameterGetRelation(group, "E50Ref", {"e50ref"}); },
        ThrowsMessage<EMaterialXRegistries>(
            StrEq("Cannot add self relation for parameter \"E50Ref\". Self relation "
                  "is not allowed.")));
    EXPECT_THAT(
        [&] { TMaterialXRegistries::RegisterAPGParameterGetRelation(group, "E50Ref", {"HSPRef"}); },
        ThrowsMessage<EMaterialXRegistries>(
            StrEq("Cannot add relation between parameters \"E50Ref\" and \"HSPRef\", "
                  "is already defined.")));
    TMaterialXRegistries::RegisterAlias("TestMaster", "TestAlias");
    EXPECT_THROW(TMaterialXRegistries::RegisterAlias("TestAlias", "Other"), EMaterialXRegistries);
    EXPECT_THROW(TMaterialXRegistries::RegisterAlias("Other", "TestMaster"), EMaterialXRegistries);
    EXPECT_THAT([&] { TMaterialXRegistries::RegisterAlias("AnotherMaster", "TestAlias"); },
                ThrowsMessage<EMaterialXRegistries>(StrEq("NYI: Master/alias group merging")));
    EXPECT_THAT([&] { TMaterialXRegistries::GetRootAPGFor(TKovSoilMaterialX::StaticClass(), 42); },
                ThrowsMessage<EMaterialXRegistries>(StrEq(
                    "Cannot find the registered root associated parameter group for \"42\"")));
    // Name look-ups follow aliases: "nuUR" is the master of the models' own names.
    auto ss = MakeSoil(mxsmmSoftSoil);
    SetUser(*ss, "SSNuUr", 0.21);
    ASSERT_NE(ss->FindUserProperty("MCCNuUr"), nullptr);
    EXPECT_DOUBLE_EQ(UserValue(*ss, "MCCNuUr"), 0.21);
}

TEST(MaterialFramework, PopulatingACollectionHonoursTheConflictMode) {
    auto material = MakeSoil(mxsmmMohrCoulomb);
    const TMaterialXFactoryFunctions& functions = soil::SoilFactoryFunctions();
    TKovIntrinsicProperty* eInit = material->FindInternalProperty("eInit");
    auto& collection = static_cast<TMXPropertyCollection&>(*eInit->Owner());
    SetUser(*material, "eInit", 0.8);
    EXPECT_THAT(
        [&] {
            functions.PopulatePropertyCollection(collection,
                                                 TMaterialXFactoryFunctions::ncrRaiseError);
        },
        ThrowsMessage<EMaterialXFactoryFunctions>(
            StrEq("Cannot create property named \"eInit\" in \"VoidRatio\", because "
                  "it already exists!")));
    functions.PopulatePropertyCollection(collection, TMaterialXFactoryFunctions::ncrIgnore);
    EXPECT_DOUBLE_EQ(UserValue(*material, "eInit"), 0.8);
    functions.PopulatePropertyCollection(collection, TMaterialXFactoryFunctions::ncrOverwriteAll);
    EXPECT_DOUBLE_EQ(UserValue(*material, "eInit"), 0.5);
    EXPECT_THROW(functions.PopulatePropertyCollection(
                     collection, TMaterialXFactoryFunctions::TNameConflictResolution(7)),
                 EMaterialXFactoryFunctions);
}

TEST(MaterialFramework, AMaterialWithoutALaterPropertyGetsItsDefault) {
    // A file written before "HSPRef" existed: the property is missing until the material is
    // completed after the read, and then it has the organizer's default.
    auto material = MakeSoil(mxsmmHardeningSoil);
    TKovIntrinsicProperty* pRef = material->FindInternalPropertyExact("HSPRef");
    auto& collection = static_cast<TMXPropertyCollection&>(*pRef->Owner());
    collection.RemoveIntrinsicProperty(pRef);
    ASSERT_EQ(material->FindInternalPropertyExact("HSPRef"), nullptr);
    SetUser(*material, "E50Ref", 20000.0);
    CompleteSoilMaterialAfterLoad(*material);
    ASSERT_NE(material->FindInternalPropertyExact("HSPRef"), nullptr);
    EXPECT_DOUBLE_EQ(UserValue(*material, "HSPRef"), 100000.0);
    EXPECT_DOUBLE_EQ(UserValue(*material, "E50Ref"), 20000.0);
}

TEST(MaterialFramework, NameGraphFlattensInLayersAndRefusesCycles) {
    TNameGraph graph;
    graph.AddEdge("b", "a");
    graph.AddEdge("c", "a");
    graph.AddEdge("a", "d");
    graph.AddNode("z");
    graph.AddNode("e");
    // Components by their first name; layers sorted.
    EXPECT_EQ(graph.Flattened(), (std::vector<std::string>{"b", "c", "a", "d", "e", "z"}));
    EXPECT_NE(graph.SaveAsDOT().find("b -> a"), std::string::npos);

    TNameGraph cycle;
    cycle.AddEdge("x", "y");
    cycle.AddEdge("y", "x");
    EXPECT_THROW(cycle.Flattened(), EMaterialXIPDependencyEvaluatorException);

    // 250 layers pass; the 251st is refused even though the chain would end there.
    TNameGraph chain;
    for (int i = 1; i < 250; ++i)
        chain.AddEdge(Format("n%03d", i - 1), Format("n%03d", i));
    EXPECT_EQ(chain.Flattened().size(), 250u);
    chain.AddEdge("n249", "n250");
    EXPECT_THAT([&] { chain.Flattened(); },
                ThrowsMessage<EMaterialXIPDependencyEvaluatorException>(
                    StrEq("Cycle detected in MaterialX dependencies.")));
}

TEST(MaterialFramework, DependencyOrderPutsReadersAfterWhatTheyReadAndIsCached) {
    auto material = MakeSoil(mxsmmHardeningSoil);
    const std::string key = TMaterialXIPDependencyEvaluator::DependencyKeyOf(*material);
    EXPECT_EQ(key, "TSoilMX_RootAPG_HardeningSoil: SoilModel=Hardening Soil, ");
    const auto order =
        TMaterialXIPDependencyEvaluator::DependencyOrderedMaterialProperties(*material);
    EXPECT_TRUE(TMaterialXIPDependencyEvaluator::IsDependencyOrderCached(key));
    EXPECT_EQ(TMaterialXIPDependencyEvaluator::DependencyOrderedMaterialProperties(*material),
              order);
    auto position = [&](const std::string& name) {
        return std::find(order.begin(), order.end(), name) - order.begin();
    };
    EXPECT_LT(position("ModulusMethod"), position("E50Ref"));
    EXPECT_LT(position("eInit"), position("EOedRef"));
    EXPECT_LT(position("phi"), position("HSK0nc"));
    EXPECT_EQ(std::count(order.begin(), order.end(), "SoilModel"), 0); // structural
    EXPECT_EQ(std::count(order.begin(), order.end(), "RhoWater"), 0);
    const auto modifiers =
        TMaterialXIPDependencyEvaluator::GetUserIPModifierListForIntrinsicProperty(*material,
                                                                                   "HSK0nc");
    ASSERT_FALSE(modifiers.empty());
    EXPECT_EQ(modifiers.front(), "HSK0nc");
    EXPECT_NE(std::find(modifiers.begin(), modifiers.end(), "phi"), modifiers.end());

    // Every model's relations are free of cycles, and its order holds each user value once.
    for (int model : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 100}) {
        auto soil = MakeSoil(TMXSoil_MaterialModel(model));
        const auto names =
            TMaterialXIPDependencyEvaluator::DependencyOrderedMaterialProperties(*soil);
        EXPECT_EQ(std::set<std::string>(names.begin(), names.end()).size(), names.size());
        EXPECT_GT(names.size(), 20u) << model;
    }
}

TEST(MaterialFramework, ValuesThatDifferFromTheDefaultsMakeTheMaterialAgain) {
    auto material = MakeSoil(mxsmmHardeningSoil);
    SetUser(*material, "E50Ref", 40000.0);
    SetUser(*material, "phi", 35.0);
    const TMaterialXValues values = TMaterialXValuesConverter::ConvertMaterial(*material);
    EXPECT_NE(values.Values().GetItemByName("E50Ref"), nullptr);
    EXPECT_NE(values.Values().GetItemByName("SoilModel"), nullptr);
    EXPECT_EQ(values.Values().GetItemByName("HSPRef"), nullptr);
    const std::string command = TMaterialXValuesToCommandGenerator::GenerateCreateCommand(values);
    EXPECT_EQ(command.rfind("soilmat \"SoilModel\" \"Hardening Soil\"", 0), 0u) << command;
    EXPECT_NE(command.find("\"E50Ref\" 40000"), std::string::npos) << command;

    auto rebuilt = MakeSoil(mxsmmMohrCoulomb);
    TMaterialXMaterialCommandHandler::PopulateParameterArray(
        *rebuilt, TMaterialXMaterialCommandHandler::GenerateCommandParameters(*material));
    EXPECT_EQ(TMaterialXValuesConverter::ConvertMaterial(*rebuilt).Compare(values),
              std::vector<std::string>());
    auto other = MakeSoil(mxsmmHardeningSoil);
    EXPECT_EQ(TMaterialXValuesConverter::ConvertMaterial(*other).Compare(values).size(),
              size_t(values.Values().Count() - 1)); // all but the model
}

TEST(MaterialFramework, AModelSwitchIsOneUndoStep) {
    TKovObjectManager manager;
    auto material = MakeSoil(mxsmmHardeningSoil, &manager);
    manager.ClearRevertStacks();
    SetUser(*material, "E50Ref", 12345.0);
    SetUser(*material, "eInit", 0.6);
    const auto hardeningSoil = AllUserValues(*material);
    const int steps = manager.UndoCount();

    TMaterialXFactory::ApplyRootAPGTo(*material,
                                      TMaterialXRegisters_Soil::RootOf(mxsmmMohrCoulomb));
    EXPECT_EQ(manager.UndoCount(), steps + 1);
    EXPECT_EQ(manager.GetUndoName(0),
              "Switch root APG from TSoilMX_RootAPG_HardeningSoil to TSoilMX_RootAPG_MohrCoulomb");
    SetUser(*material, "phi", 31.0);
    const auto mohrCoulomb = AllUserValues(*material);

    manager.Undo();
    manager.Undo();
    EXPECT_EQ(material->GetSoilModel(), mxsmmHardeningSoil);
    EXPECT_EQ(AllUserValues(*material), hardeningSoil);
    manager.Redo();
    manager.Redo();
    EXPECT_EQ(material->GetSoilModel(), mxsmmMohrCoulomb);
    EXPECT_EQ(AllUserValues(*material), mohrCoulomb);
}

TEST(MaterialFramework, BadInputIsRefusedAndChangesNothing) {
    for (bool withManager : {false, true}) {
        TKovObjectManager manager;
        auto material = MakeSoil(mxsmmHardeningSoil, withManager ? &manager : nullptr);
        SetUser(*material, "E50Ref", 30000.0);
        const auto before = AllUserValues(*material);

        EXPECT_THAT(
            [&] { SetUser(*material, "HSNuUr", 0.7); },
            ThrowsMessage<EMaterialXValueOutOfRange>(StrEq("HSNuUr must be between 0 and 0.499")));
        EXPECT_THROW(SetUser(*material, "SoilModel", 16), EMaterialXValueOutOfRange);
        // A switch that fails inside (a model value without root) leaves the model as it was.
        auto& model = static_cast<TIPEnumeration&>(*material->FindInternalProperty("SoilModel"));
        EXPECT_THROW(model.SetIntValue(42), EMaterialXRegistries);
        EXPECT_EQ(AllUserValues(*material), before);
    }

    // A write whose setter can't compute its values raises before it stores any: Hardening
    // Soil leaving its alternatives with Cc = 0 has no oedometer stiffness to keep.
    for (bool withManager : {false, true}) {
        TKovObjectManager manager;
        auto hs = MakeSoil(mxsmmHardeningSoil, withManager ? &manager : nullptr);
        SetUser(*hs, "E50Ref", 30000.0);
        SetUser(*hs, "UseAlternatives", 1);
        SetUser(*hs, "HSCc", 0.0);
        const auto before = AllUserValues(*hs);
        EXPECT_THAT([&] { SetUser(*hs, "UseAlternatives", 0); },
                    ThrowsMessage<ESoilMaterialXDerivedParametersConstructor>(
                        StrEq("Cannot get E_oed#^ref# because of a division by zero.")));
        EXPECT_EQ(AllUserValues(*hs), before);
    }

    // Soft Soil's M divides by kappa*: with kappa* 0 the value raises its text.
    auto soft = MakeSoil(mxsmmSoftSoil);
    SetUser(*soft, "lambdaModified", 0.1);
    const auto before = AllUserValues(*soft);
    EXPECT_THAT([&] { UserValue(*soft, "SSM"); },
                ThrowsMessage<ESoilMaterialXDerivedParametersConstructor>(
                    StrEq("Cannot get M because of a division by zero.")));
    EXPECT_EQ(AllUserValues(*soft), before);
}

TEST(MaterialFramework, ListsCachesAndConstructionParameters) {
    TKovObjectManager manager;
    manager.LockRevert();
    TKovMaterialXList list(&manager);
    auto first = MakeSoil(mxsmmMohrCoulomb, &manager, "First");
    auto second = MakeSoil(mxsmmHardeningSoil, &manager, "Second");
    TKovMaterialX* a = first.get();
    TKovMaterialX* b = second.get();
    list.Add(first.release());
    list.Add(second.release());
    EXPECT_EQ(list.GetMaterialByUniqueID(b->UniqueID()), b);
    EXPECT_EQ(list.IndexOfTypedMaterial(b), 1);
    auto stranger = MakeSoil(mxsmmMohrCoulomb, &manager, "Stranger");
    EXPECT_EQ(list.IndexOfTypedMaterial(stranger.get()), -1);
    EXPECT_EQ(list.GetObjectTypeName(), "Materials");
    EXPECT_EQ(a->IdentificationAndName(), "First [First]");

    // The cache answers while it is on and forgets when the last user turns it off.
    TMaterialXIPCache::EnableCaching();
    TMaterialXIPCache::EnableCaching();
    TKovIntrinsicProperty* phi = TMaterialXTools::GetUserPropertyFrom(*a, "phi");
    bool found = false;
    EXPECT_EQ(TMaterialXIPCache::TryGetCachedProperty(*a, true, "phi", found), phi);
    EXPECT_TRUE(found);
    TMaterialXIPCache::DisableCaching();
    TMaterialXIPCache::TryGetCachedProperty(*a, true, "phi", found);
    EXPECT_TRUE(found);
    TMaterialXIPCache::DisableCaching();
    TMaterialXIPCache::TryGetCachedProperty(*a, true, "phi", found);
    EXPECT_FALSE(found);

    // The construction parameters keep what makes the material differ from its defaults.
    SetUser(*b, "E50Ref", 45000.0);
    TMaterialXMaterialCommandHandler::SaveAsParameters(*b);
    const TKovMaterialConstructionParameters* parameters = b->ConstructionParameters();
    ASSERT_NE(parameters, nullptr);
    EXPECT_EQ(parameters->MaterialClass(), "soilmat");
    bool hasE50 = false;
    for (const TKovIntrinsicProperty* value : parameters->ValueProperties())
        if (value->Name() == "E50Ref") {
            hasE50 = true;
            EXPECT_TRUE(value->ReadOnly());
            EXPECT_DOUBLE_EQ(static_cast<const TIPDouble*>(value)->Value(), 45000.0);
        }
    EXPECT_TRUE(hasE50);
    auto copy = TMaterialXFactory::CreateCopy(nullptr, *b);
    ASSERT_NE(copy->ConstructionParameters(), nullptr);
    EXPECT_EQ(copy->ConstructionParameters()->ValueProperties().size(),
              parameters->ValueProperties().size());
}

TEST(MaterialFramework, ParametersThatFailLeaveTheMaterialAsItWas) {
    // A command's values are all or nothing: a bad one late in the list takes back the model and
    // the values applied before it.
    for (bool withManager : {false, true}) {
        TKovObjectManager manager;
        auto material = MakeSoil(mxsmmHardeningSoil, withManager ? &manager : nullptr);
        SetUser(*material, "E50Ref", 30000.0);
        manager.ClearRevertStacks();
        const auto before = AllUserValues(*material);
        EXPECT_THAT(
            [&] {
                TMaterialXMaterialCommandHandler::PopulateParameterArray(
                    *material, {TVarRec(std::string("E50Ref")), TVarRec(20000.0),
                                TVarRec(std::string("HSNuUr")), TVarRec(0.7)});
            },
            ThrowsMessage<EMaterialXValueOutOfRange>(StrEq("HSNuUr must be between 0 and 0.499")));
        EXPECT_EQ(AllUserValues(*material), before);
        EXPECT_THAT(
            [&] {
                TMaterialXMaterialCommandHandler::PopulateParameterArray(
                    *material, {TVarRec(std::string("SoilModel")),
                                TVarRec(int32_t(mxsmmMohrCoulomb)), TVarRec(std::string("phi")),
                                TVarRec(33.0), TVarRec(std::string("Nonsense")), TVarRec(1.0)});
            },
            ThrowsMessage<EMaterialXTools>(StrEq(
                "Unable to find the user intrinsic property Nonsense for specified material")));
        EXPECT_EQ(material->GetSoilModel(), mxsmmHardeningSoil);
        EXPECT_EQ(AllUserValues(*material), before);
        // Whichever of two values comes first in the order of application.
        for (bool badFirst : {false, true}) {
            std::vector<TVarRec> parameters{TVarRec(std::string("E50Ref")), TVarRec(20000.0),
                                            TVarRec(std::string("EURRef")), TVarRec(-1.0)};
            if (badFirst)
                std::swap(parameters[1], parameters[3]);
            EXPECT_THROW(
                TMaterialXMaterialCommandHandler::PopulateParameterArray(*material, parameters),
                EMaterialXValueOutOfRange);
            EXPECT_EQ(AllUserValues(*material), before);
        }
        if (withManager) {
            EXPECT_EQ(manager.UndoCount(), 0);
            // Values that all take are one step back.
            TMaterialXMaterialCommandHandler::PopulateParameterArray(
                *material, {TVarRec(std::string("SoilModel")), TVarRec(int32_t(mxsmmMohrCoulomb)),
                            TVarRec(std::string("phi")), TVarRec(33.0)});
            EXPECT_EQ(material->GetSoilModel(), mxsmmMohrCoulomb);
            EXPECT_DOUBLE_EQ(UserValue(*material, "phi"), 33.0);
            EXPECT_EQ(manager.UndoCount(), 1);
            manager.Undo();
            EXPECT_EQ(AllUserValues(*material), before);
        }
    }
}

TEST(MaterialFramework, ValuesTravelAsCommandsInTheUnitsShown) {
    auto material = MakeSoil(mxsmmHardeningSoil);
    SetUser(*material, "E50Ref", 40000e3);
    SetUser(*material, "DrainageType", mxsdtUndrainedA);
    const TMaterialXValues values = TMaterialXValuesConverter::ConvertMaterial(*material);
    // Numbers in the units a user sees (kN/m2 in a new project), enumerations by their text.
    TSystemOfUnits units;
    units.SetUnitsOfNewProject();
    const std::string command =
        TMaterialXValuesToCommandGenerator::GenerateSetPropertiesCommand("Sand", values, &units);
    EXPECT_EQ(command.rfind("setproperties Sand \"SoilModel\" \"Hardening Soil\"", 0), 0u)
        << command;
    EXPECT_NE(command.find("\"E50Ref\" 40000 "), std::string::npos) << command;
    EXPECT_NE(command.find("\"DrainageType\" \"Undrained (A)\""), std::string::npos) << command;
    EXPECT_NE(TMaterialXValuesToCommandGenerator::GenerateCreateCommand(values).find(
                  "\"E50Ref\" 40000000"),
              std::string::npos); // base units without a system of units

    // What one material has that another lacks: the model comes first, as a command needs it.
    auto other = MakeSoil(mxsmmMohrCoulomb);
    const TMaterialXValues difference =
        TMaterialXValuesConverter::IntersectMaterials(*material, *other);
    ASSERT_GT(difference.Values().Count(), 1);
    EXPECT_EQ(difference.Values()[0].Name, "SoilModel");
    EXPECT_NE(difference.Values().GetItemByName("E50Ref"), nullptr);
    EXPECT_EQ(difference.Values().GetItemByName("eInit"), nullptr); // the same in both

    // Lists of different material classes don't compare; parameters come in pairs of a name and
    // a value.
    const TMaterialXValues plain(TKovMaterialX::StaticClass());
    EXPECT_THAT([&] { values.Compare(plain); },
                ThrowsMessage<EMaterialXValues>(
                    StrEq("Could not compare MaterialXValues of different types")));
    EXPECT_THAT(
        [&] {
            TMaterialXMaterialCommandHandler::PopulateParameterArray(
                *material, {TVarRec(std::string("E50Ref"))});
        },
        ThrowsMessage<EMaterialXValues>(
            StrEq("Material parameters come in pairs of name and value")));
    EXPECT_THAT(
        [&] {
            TMaterialXMaterialCommandHandler::PopulateParameterArray(*material,
                                                                     {TVarRec(1.0), TVarRec(2.0)});
        },
        ThrowsMessage<EMaterialXValues>(StrEq("Parameter 1 of the material is no name")));
    EXPECT_EQ(UserValue(*material, "E50Ref"), 40000e3);
}
