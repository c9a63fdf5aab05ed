#include "TestThing.h"

#include "objects/AccessStrategies.h"
#include "objects/IntrinsicPropertyKinds.h"
#include "objects/IntrinsicPropertyList.h"
#include "objects/IntrinsicPropertyRegistries.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace tw;
using namespace tw::testing;
using ::testing::StrEq;
using ::testing::ThrowsMessage;

namespace {
// A chain of classes used only by the modifier test, so that their declarations are built there.
class TModBase : public TTestThing {
    TW_KOV_CLASS(TModBase, TTestThing)
public:
    using TTestThing::TTestThing;
};
class TModMid : public TModBase {
    TW_KOV_CLASS(TModMid, TModBase)
public:
    using TModBase::TModBase;
};
class TModLeaf : public TModMid {
    TW_KOV_CLASS(TModLeaf, TModMid)
public:
    using TModMid::TModMid;
};
TW_KOV_CLASS_IMPL(TModBase, TTestThing, nullptr)
TW_KOV_CLASS_IMPL(TModMid, TModBase, nullptr)
TW_KOV_CLASS_IMPL(TModLeaf, TModMid, nullptr)

struct THidingModifier : TIntrPropDeclarationsModifier {
    THidingModifier(const TKovClass& cls, std::string name, int& calls)
        : TIntrPropDeclarationsModifier(cls), Name(std::move(name)), Calls(calls) {}
    void Modify(TKovIntrinsicPropertyDeclarationList& declarations) override {
        ++Calls;
        declarations.SetDeclarationVisibleAndEditableFor(Name, false);
    }
    std::string Name;
    int& Calls;
};
} // namespace

TEST(Declarations, ListsFindByCleanNameAfterEveryReshuffle) {
    TKovIntrinsicPropertyDeclarationList list;
    list.Add("Alpha", TIPDouble::StaticClass());
    list.Add("Alphabet", TIPText::StaticClass(), ipkReadOnly);
    list.Add("Al", TIPBoolean::StaticClass(), "Short");
    list.Add("Target", TIPKovObject::StaticClass(), TTestThing::StaticClass(), 0, "", false);
    // Keys sharing prefixes split tree nodes; every one must still be found.
    EXPECT_EQ(list.GetIndexOfDeclarationFor(" ALPHABET "), 1);
    EXPECT_EQ(list.GetIndexOfDeclarationFor("alpha"), 0);
    EXPECT_EQ(list.GetIndexOfDeclarationFor("al"), 2);
    EXPECT_EQ(list.GetIndexOfDeclarationFor("alp"), -1);
    EXPECT_EQ(list.GetDeclarationFor("al")->Caption(), "Short");
    EXPECT_FALSE(list.GetDeclarationFor("target")->AllowSubclass());

    list.Insert(0, list.Extract("Target"));
    EXPECT_EQ(list.GetIndexOfDeclarationFor("target"), 0);
    EXPECT_EQ(list.GetIndexOfDeclarationFor("al"), 3);
    EXPECT_TRUE(list.Remove(list.GetDeclarationFor("Alpha")));
    EXPECT_EQ(list.GetIndexOfDeclarationFor("alphabet"), 1);
    TKovIntrinsicPropertyDeclaration* found = nullptr;
    EXPECT_EQ(list.GetIndexAndDeclarationFor("AL", found), 2);
    EXPECT_EQ(found, list.Last());
    EXPECT_EQ(list.GetIndexAndDeclarationFor("nothing", found), -1);
    EXPECT_EQ(found, nullptr);
    int walked = 0;
    for (auto& declaration : list.Enumerate()) {
        (void)declaration;
        ++walked;
    }
    EXPECT_EQ(walked, 3);
    EXPECT_THROW(list.Add("NotAProperty", TTestThing::StaticClass()),
                 EIntrinsicPropertyDeclarationError);
    EXPECT_EQ(list.GetObjectTypeName(), "IPDeclarationList");

    // A class's list can be given only once.
    TTestThing::StaticClass().Declarations();
    auto replacement = std::make_unique<TKovIntrinsicPropertyDeclarationList>();
    EXPECT_THAT(
        [&] { TTestThing::StaticClass().RegisterDeclarations(std::move(replacement)); },
        ThrowsMessage<EIntrinsicPropertyDeclarationError>(
            StrEq("Intrinsic property declaration list for class TTestThing already registered!")));
}

TEST(Declarations, PropertyListsFindByNameEvenWhenOutOfStepWithTheDeclarations) {
    auto thing = Make<TTestThing>(nullptr);
    auto& properties = thing->IntrinsicProperties();
    TKovIntrinsicProperty* text = properties.GetByName("text");
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(properties.IndexOf(text),
              thing->IntrinsicPropertyDeclarations().GetIndexOfDeclarationFor("Text"));
    // Removing one property shifts the others away from their declaration index.
    EXPECT_TRUE(properties.RemoveByName("Number"));
    EXPECT_EQ(properties.GetByName("Text"), text);
    EXPECT_EQ(properties.GetByName("Number"), nullptr);
    properties.SetPublishedIfExists("Text", false);
    EXPECT_FALSE(text->IsPublished());
    properties.SetPublishedIfExists("Nothing", false); // no such property: nothing happens
}

TEST(Declarations, RegistriesOfDeclarationClassesAndModelClasses) {
    auto& declarations = TKovIntrinsicPropertyDeclarationClassRegistry::Instance();
    EXPECT_EQ(declarations.GetClassByTypeName("declarationinteger"), &IPIntegerDeclarationClass);
    auto made = IPDoubleWithUnitDeclarationClass.Create("Made", TIPDoubleWithUnit::StaticClass());
    EXPECT_EQ(made->DeclarationTypeName(), std::string("DeclarationDoubleWithUnit"));
    static const TIPDeclarationClass other{"TOtherDeclaration", "DeclarationInteger", nullptr};
    EXPECT_THAT([&] { declarations.RegisterClass(&other); },
                ThrowsMessage<EClassRegistryException>(
                    StrEq("Cannot register two classes by the name DeclarationInteger. "
                          "Already registered: TIPIntegerDeclaration, new request to "
                          "register: TOtherDeclaration")));
    EXPECT_THAT([&] { declarations.RegisterClass(&other, "1st"); },
                ThrowsMessage<EClassRegistryException>(
                    StrEq("Invalid registration name \"1st\" for class TOtherDeclaration")));

    TKovObjectClassRegistry registry;
    registry.RegisterClass(&TTestThing::StaticClass());
    registry.RegisterClass(&TTestThing::StaticClass()); // again: nothing new
    registry.RegisterClass(&TIPDouble::StaticClass());
    EXPECT_EQ(registry.Count(), 2);
    EXPECT_EQ(registry.GetClassTypeNameByIndex(1), "Number"); // a property's own type name
    EXPECT_EQ(registry.EnumClassesInheritingFrom(TKovObservableObject::StaticClass()).size(), 1u);
    const TKovClass* cls = registry.GetClassByTypeName("testthing");
    ASSERT_EQ(cls, &TTestThing::StaticClass());
    TKovObjectManager manager;
    auto created = cls->Create(&manager);
    EXPECT_EQ(&created->ClassType(), &TTestThing::StaticClass());
    EXPECT_EQ(created->Name(), "TestThing_1");
    EXPECT_THROW(TIPDouble::StaticClass().Create(&manager), EKovObjectException);
    registry.UnregisterClass(&TTestThing::StaticClass());
    EXPECT_EQ(registry.GetClassByTypeName("testthing"), nullptr);
    EXPECT_EQ(registry.GetClassByTypeName("Number"), &TIPDouble::StaticClass());
}

TEST(Declarations, TheMostFittingModifierChangesAClassOnceWhenItIsBuilt) {
    int baseCalls = 0, midCalls = 0;
    auto& modifiers = TIntrPropDeclarationModifiers::Instance();
    auto& onBase = modifiers.Register(
        std::make_unique<THidingModifier>(TModBase::StaticClass(), "Number", baseCalls));
    auto& onMid = modifiers.Register(
        std::make_unique<THidingModifier>(TModMid::StaticClass(), "Text", midCalls));
    // The leaf is built first: its parents' lists are built on the way, each with its own best.
    const auto& leaf = TModLeaf::StaticClass().Declarations();
    EXPECT_EQ(baseCalls, 1); // TModBase's own list
    EXPECT_EQ(midCalls, 2);  // TModMid's and, as the nearest, TModLeaf's
    EXPECT_TRUE(leaf.GetDeclarationFor("Text")->Has(ipkReadOnly));
    EXPECT_TRUE(leaf.GetDeclarationFor("Number")->Has(ipkReadOnly)); // inherited from the base
    EXPECT_FALSE(
        TTestThing::StaticClass().Declarations().GetDeclarationFor("Text")->Has(ipkReadOnly));
    TModLeaf::StaticClass().Declarations();
    EXPECT_EQ(midCalls, 2);
    int level = -1;
    EXPECT_EQ(modifiers.GetBestFor(TModLeaf::StaticClass(), &level), &onMid);
    EXPECT_EQ(level, 1);
    EXPECT_EQ(modifiers.GetModifierFor(TTestThing::StaticClass()), nullptr);
    modifiers.Unregister(&onMid);
    modifiers.Unregister(&onBase);
}

TEST(Declarations, AliasesFollowTheOwnerClassUpward) {
    auto& aliases = TIPAliasRegistry::Instance();
    aliases.RegisterAlias(TTestThing::StaticClass(), "Number", "Num");
    aliases.RegisterAlias(TTestThing::StaticClass(), "Number", "N");
    auto sub = Make<TTestSubThing>(nullptr);
    EXPECT_TRUE(TIPAliases::HasMaster(*sub, "NUM"));
    EXPECT_EQ(TIPAliases::GetMaster(*sub, "num"), "number");
    EXPECT_EQ(TIPAliases::GetAliases(sub->Number()), (std::vector<std::string>{"num", "n"}));
    // A repeated alias moves to its new master.
    aliases.RegisterAlias(TTestThing::StaticClass(), "Text", "n");
    EXPECT_EQ(TIPAliases::GetAliases(sub->Number()), (std::vector<std::string>{"num"}));
    EXPECT_EQ(TIPAliases::GetMaster(*sub, "n"), "text");
    // A subclass's own entry wins over its parent's.
    aliases.RegisterAlias(TTestSubThing::StaticClass(), "Extra", "Num");
    EXPECT_EQ(TIPAliases::GetMaster(*sub, "num"), "extra");
    EXPECT_EQ(TIPAliases::GetMasterNameOf(sub->Number()), "Number");
    aliases.UnregisterAliases(TTestSubThing::StaticClass());
    EXPECT_EQ(TIPAliases::GetMaster(*sub, "num"), "number");
    aliases.UnregisterAliases(TTestThing::StaticClass());
    EXPECT_FALSE(TIPAliases::HasAliases(sub->Number()));

    auto& nonMultipliable = TIPNonMultipliableRegistry::Instance();
    nonMultipliable.AddOrSetValue(TTestThing::StaticClass(), "Number");
    EXPECT_TRUE(nonMultipliable.Contains(sub->Number()));
    nonMultipliable.AddOrSetValue(TTestSubThing::StaticClass(), "number", false);
    EXPECT_FALSE(nonMultipliable.Contains(sub->Number()));
    EXPECT_FALSE(nonMultipliable.Contains(sub->Choice()));
}

TEST(Declarations, TheDefaultAccessStrategyReadsAndWritesEveryKind) {
    TKovObjectManager manager;
    auto thing = Make<TTestThing>(&manager);
    auto strategyOf = [&](const std::string& name) {
        return TASIP_Default(*thing->GetIntrinsicPropertyByName(name));
    };
    EXPECT_EQ(strategyOf("Flag").GetValueText(), "False");
    EXPECT_EQ(strategyOf("Ref").GetValueText(), "<not assigned>");
    EXPECT_EQ(strategyOf("Choice").GetValueText(), "Alpha");
    strategyOf("Number").SetValue(std::string(" 2.5 "));
    EXPECT_EQ(thing->Number().Value(), 2.5);
    strategyOf("Choice").SetValue(std::string("gamma ray"));
    EXPECT_EQ(strategyOf("Choice").GetAsCommandParam(), "\"gammaray\"");
    strategyOf("Text").SetValue(std::string("say \"hi\""));
    EXPECT_EQ(strategyOf("Text").GetAsCommandParam(), "\"say \"\"hi\"\"\"");
    EXPECT_EQ(strategyOf("Number").CompareValue(3.0), 1);
    EXPECT_THAT([&] { strategyOf("Flag").SetValue(int32_t(1)); },
                ThrowsMessage<EIntrinsicPropertyAssignError>(
                    StrEq("TASIP_Default.DoGetValue called with wrong var type")));
    EXPECT_THROW(strategyOf("Ref").SetValue(std::string("x")), EIntrinsicPropertyAssignError);
    strategyOf("Ref").SetValue(static_cast<TKovObject*>(thing.get()));
    EXPECT_EQ(strategyOf("Ref").GetValueText(), thing->Name());

    auto& text = *thing->GetIntrinsicPropertyByName("Text");
    EXPECT_TRUE(text.CreateAccessStrategy()->AllowEdit());
    text.SetReadOnly(true);
    EXPECT_FALSE(text.CreateAccessStrategy()->AllowEdit());
    text.SetPublished(false);
    EXPECT_FALSE(text.CreateAccessStrategy()->GetIsValidForReading());
    // A strategy class set on a property is what it creates, and it travels with the
    // configuration.
    struct TReadOnlyStrategy : TAccessStrategyIP_Base {
        using TAccessStrategyIP_Base::TAccessStrategyIP_Base;
        bool GetIsValidForWriting() const override { return false; }
    };
    thing->Number().SetAccessStrategyClass([](TKovIntrinsicProperty& p) {
        return std::unique_ptr<TAccessStrategyIP_Virtual>(new TReadOnlyStrategy(p));
    });
    EXPECT_FALSE(thing->Number().CreateAccessStrategy()->AllowEdit());
    auto other = Make<TTestThing>(nullptr);
    other->CopyIntrinsicPropertiesFrom(*thing,
                                       TKovObservableObject::cipoForceIdenticalConfigurations |
                                           TKovObservableObject::cipoIncludeReadonly);
    EXPECT_FALSE(other->Number().CreateAccessStrategy()->AllowEdit());
    EXPECT_TRUE(other->GetIntrinsicPropertyByName("Text")->ReadOnly_Internal());
    EXPECT_FALSE(other->GetIntrinsicPropertyByName("Text")->IsPublished());
}

TEST(Declarations, CopyOptionsDecideWhatIsCopied) {
    using O = TKovObservableObject;
    TKovObjectManager manager;
    auto base = Make<TTestThing>(&manager);
    auto sub = Make<TTestSubThing>(&manager);
    auto kinds = Make<TKindsThing>(&manager);
    sub->Number().SetValue(5);
    sub->Property<TIPDouble>("Extra").SetValue(6);
    sub->Property<TIPText>("Comments").SetValue("sub's");

    // A base target takes what it declares from a subclass source.
    base->CopyIntrinsicPropertiesFrom(*sub);
    EXPECT_EQ(base->Number().Value(), 5);
    EXPECT_EQ(base->Comments(), "sub's");
    EXPECT_EQ(manager.GetUndoName(0), "Copy intrinsic properties");
    // Unrelated classes copy nothing, unless the target's own list is walked.
    kinds->CopyIntrinsicPropertiesFrom(*sub);
    EXPECT_EQ(kinds->Comments(), "");
    kinds->CopyIntrinsicPropertiesFrom(*sub, O::cipoIgnoreInheritance);
    EXPECT_EQ(kinds->Comments(), "sub's");

    // Read-only targets are copied only when asked.
    base->Number().SetReadOnly(true);
    sub->Number().SetValue(8);
    base->CopyIntrinsicPropertiesFrom(*sub);
    EXPECT_EQ(base->Number().Value(), 5);
    base->CopyIntrinsicPropertiesFrom(*sub, O::cipoIncludeReadonly);
    EXPECT_EQ(base->Number().Value(), 8);

    // Features: copied into the same class, added when new unless that is excluded.
    auto made = Make<TTestFeature>(&manager);
    made->Property<TIPDouble>("Weight").SetValue(3);
    TTestFeature& feature = *made;
    sub->UserFeatures().Add(made.release());
    auto plain = Make<TTestThing>(&manager);
    plain->CopyIntrinsicPropertiesAndUserFeaturesFrom(*sub, O::cipoIgnoreNewUserFeatures);
    EXPECT_FALSE(plain->HasUserFeatures());
    EXPECT_EQ(manager.GetUndoName(0), "Copy IPs and UFs");
    plain->CopyIntrinsicPropertiesAndUserFeaturesFrom(*sub);
    ASSERT_TRUE(plain->HasUserFeatures());
    auto* copied = plain->UserFeatures().GetItemAs<TTestFeature>(0);
    ASSERT_NE(copied, nullptr);
    EXPECT_NE(copied, &feature);
    EXPECT_EQ(copied->Property<TIPDouble>("Weight").Value(), 3);
    feature.Property<TIPDouble>("Weight").SetValue(4);
    plain->CopyIntrinsicPropertiesAndUserFeaturesFrom(*sub, O::cipoIgnoreNewUserFeatures);
    EXPECT_EQ(plain->UserFeatures().Count(), 1);
    EXPECT_EQ(copied->Property<TIPDouble>("Weight").Value(), 4);
    manager.Undo(); // the feature's value comes back with the step
    EXPECT_EQ(copied->Property<TIPDouble>("Weight").Value(), 3);
}

TEST(Declarations, SameValuesIncludeTheFeaturesAndTheNameOnlyWhenAsked) {
    using O = TKovObservableObject;
    TKovObjectManager manager;
    auto sub = Make<TTestSubThing>(&manager);
    sub->Number().SetValue(8);
    sub->Property<TIPDouble>("Extra").SetValue(6);
    sub->Property<TIPText>("Comments").SetValue("sub's");
    auto feature = Make<TTestFeature>(&manager);
    feature->Property<TIPDouble>("Weight").SetValue(4);
    sub->UserFeatures().Add(feature.release());

    auto twin = Make<TTestSubThing>(nullptr);
    twin->CopyIntrinsicPropertiesFrom(*sub, O::cipoIncludeReadonly);
    EXPECT_FALSE(twin->HasSameIntrinsicPropertyValues(*sub)); // sub has a feature
    auto lone = Make<TTestSubThing>(nullptr);
    lone->CopyIntrinsicPropertiesFrom(*twin, O::cipoIncludeReadonly);
    EXPECT_TRUE(lone->HasSameIntrinsicPropertyValues(*twin));
    EXPECT_TRUE(lone->HasSameIntrinsicPropertyValues(*twin, true)); // both "TestSubThing_1"
    lone->SetName("Lone");
    EXPECT_FALSE(lone->HasSameIntrinsicPropertyValues(*twin, true));
    EXPECT_TRUE(lone->HasSameIntrinsicPropertyValues(
        *sub, false, [](const TKovIntrinsicProperty& p) { return p.Name() == "UserFeatures"; }));
}

TEST(Declarations, AllPropertiesBecomeWritableWithOrWithoutTheDeclaredReadOnlyOnes) {
    TKovObjectManager manager;
    auto base = Make<TTestThing>(&manager);
    base->Number().SetReadOnly(true);
    base->MakeAllPropertiesWritable(true);
    EXPECT_FALSE(base->Number().ReadOnly());
    EXPECT_TRUE(base->GetIntrinsicPropertyByName("TypeName")->ReadOnly_Internal());
    base->MakeAllPropertiesWritable(false);
    EXPECT_FALSE(base->GetIntrinsicPropertyByName("TypeName")->ReadOnly_Internal());
}
