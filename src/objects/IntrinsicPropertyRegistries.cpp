#include "objects/IntrinsicPropertyRegistries.h"
#include "objects/IntrinsicPropertyDerivedKinds.h"

#include "objects/IntrinsicPropertyKinds.h"
#include "objects/NameTools.h"

#include <algorithm>

namespace tw {

// ---------------------------------------------------------------------------------------------
// Declaration classes

namespace {
template <typename D>
std::unique_ptr<TKovIntrinsicPropertyDeclaration> CreateDeclaration(const std::string& name,
                                                                    const TKovClass& cls) {
    return std::make_unique<D>(name, cls, nullptr);
}
} // namespace

const TIPDeclarationClass IPDeclarationClass{"TKovIntrinsicPropertyDeclaration", "Declaration",
                                             &CreateDeclaration<TKovIntrinsicPropertyDeclaration>};
const TIPDeclarationClass IPIntegerDeclarationClass{"TIPIntegerDeclaration", "DeclarationInteger",
                                                    &CreateDeclaration<TIPIntegerDeclaration>};
const TIPDeclarationClass IPDoubleDeclarationClass{"TIPDoubleDeclaration", "DeclarationDouble",
                                                   &CreateDeclaration<TIPDoubleDeclaration>};
const TIPDeclarationClass IPDoubleWithUnitDeclarationClass{
    "TIPDoubleWithUnitDeclaration", "DeclarationDoubleWithUnit",
    &CreateDeclaration<TIPDoubleWithUnitDeclaration>};
const TIPDeclarationClass IPEnumerationDeclarationClass{"TIPEnumerationDeclaration",
                                                        "DeclarationEnumeration", nullptr};
const TIPDeclarationClass IPUserDefinedParameterDeclarationClass{
    "TIPUserDefinedParameterDeclaration", "DeclarationUserDefinedParameter",
    &CreateDeclaration<TIPUserDefinedParameterDeclaration>};

TKovIntrinsicPropertyDeclarationClassRegistry&
TKovIntrinsicPropertyDeclarationClassRegistry::Instance() {
    static TKovIntrinsicPropertyDeclarationClassRegistry instance = [] {
        TKovIntrinsicPropertyDeclarationClassRegistry registry;
        for (const TIPDeclarationClass* cls :
             {&IPDeclarationClass, &IPIntegerDeclarationClass, &IPDoubleDeclarationClass,
              &IPDoubleWithUnitDeclarationClass, &IPEnumerationDeclarationClass,
              &IPUserDefinedParameterDeclarationClass})
            registry.RegisterClass(cls);
        return registry;
    }();
    return instance;
}

// ---------------------------------------------------------------------------------------------
// Modifiers

TIntrPropDeclarationModifiers& TIntrPropDeclarationModifiers::Instance() {
    static TIntrPropDeclarationModifiers instance;
    return instance;
}

// ---------------------------------------------------------------------------------------------
// Aliases

void TAliasesForContext::Register(const std::string& master, const std::string& alias) {
    const std::string cleanMaster = CleanName(master), cleanAlias = CleanName(alias);
    if (auto it = FMasterOf.find(cleanAlias); it != FMasterOf.end()) {
        auto& previous = FAliasesOf[it->second];
        std::erase(previous, cleanAlias);
        if (previous.empty())
            FAliasesOf.erase(it->second);
    }
    FMasterOf[cleanAlias] = cleanMaster;
    FAliasesOf[cleanMaster].push_back(cleanAlias);
}

const std::string* TAliasesForContext::MasterOf(const std::string& alias) const {
    auto it = FMasterOf.find(CleanName(alias));
    return it == FMasterOf.end() ? nullptr : &it->second;
}

const std::vector<std::string>* TAliasesForContext::AliasesOf(const std::string& master) const {
    auto it = FAliasesOf.find(CleanName(master));
    return it == FAliasesOf.end() ? nullptr : &it->second;
}

TIPAliasRegistry& TIPAliasRegistry::Instance() {
    static TIPAliasRegistry instance;
    return instance;
}

void TIPAliasRegistry::RegisterAlias(const TKovClass& ownerClass, const std::string& master,
                                     const std::string& alias) {
    FContexts[&ownerClass].Register(master, alias);
    InvalidateContext();
}

void TIPAliasRegistry::UnregisterAliases(const TKovClass& ownerClass) {
    FContexts.erase(&ownerClass);
    InvalidateContext();
}

void TIPAliasRegistry::InvalidateContext() {
    FChains.clear();
}

const std::vector<const TAliasesForContext*>&
TIPAliasRegistry::ChainOf(const TKovClass& ownerClass) const {
    auto it = FChains.find(&ownerClass);
    if (it != FChains.end())
        return it->second;
    std::vector<const TAliasesForContext*> chain;
    for (const TKovClass* c = &ownerClass; c; c = c->Parent())
        if (auto context = FContexts.find(c); context != FContexts.end())
            chain.push_back(&context->second);
    return FChains.emplace(&ownerClass, std::move(chain)).first->second;
}

const std::string* TIPAliasRegistry::FindMaster(const TKovClass& ownerClass,
                                                const std::string& alias) const {
    for (const TAliasesForContext* context : ChainOf(ownerClass))
        if (const std::string* master = context->MasterOf(alias))
            return master;
    return nullptr;
}

const std::vector<std::string>* TIPAliasRegistry::FindAliases(const TKovClass& ownerClass,
                                                              const std::string& master) const {
    for (const TAliasesForContext* context : ChainOf(ownerClass))
        if (const auto* aliases = context->AliasesOf(master))
            return aliases;
    return nullptr;
}

namespace {
const TKovClass* OwnerClassOf(const TKovIntrinsicProperty& property) {
    return property.Owner() ? &property.Owner()->ClassType() : nullptr;
}
} // namespace

bool TIPAliases::HasAliases(const TKovObject& object, const std::string& name) {
    return TIPAliasRegistry::Instance().FindAliases(object.ClassType(), name) != nullptr;
}

bool TIPAliases::HasAliases(const TKovIntrinsicProperty& property) {
    const TKovClass* cls = OwnerClassOf(property);
    return cls && TIPAliasRegistry::Instance().FindAliases(*cls, property.Name()) != nullptr;
}

std::vector<std::string> TIPAliases::GetAliases(const TKovObject& object, const std::string& name) {
    const auto* aliases = TIPAliasRegistry::Instance().FindAliases(object.ClassType(), name);
    return aliases ? *aliases : std::vector<std::string>{};
}

std::vector<std::string> TIPAliases::GetAliases(const TKovIntrinsicProperty& property) {
    const TKovClass* cls = OwnerClassOf(property);
    const auto* aliases =
        cls ? TIPAliasRegistry::Instance().FindAliases(*cls, property.Name()) : nullptr;
    return aliases ? *aliases : std::vector<std::string>{};
}

bool TIPAliases::HasMaster(const TKovObject& object, const std::string& name) {
    return TIPAliasRegistry::Instance().FindMaster(object.ClassType(), name) != nullptr;
}

bool TIPAliases::HasMaster(const TKovIntrinsicProperty& property) {
    const TKovClass* cls = OwnerClassOf(property);
    return cls && TIPAliasRegistry::Instance().FindMaster(*cls, property.Name()) != nullptr;
}

std::string TIPAliases::GetMaster(const TKovObject& object, const std::string& name) {
    const std::string* master = TIPAliasRegistry::Instance().FindMaster(object.ClassType(), name);
    return master ? *master : std::string();
}

std::string TIPAliases::GetMasterNameOf(const TKovIntrinsicProperty& property) {
    const TKovClass* cls = OwnerClassOf(property);
    const std::string* master =
        cls ? TIPAliasRegistry::Instance().FindMaster(*cls, property.Name()) : nullptr;
    if (!master)
        return property.Name();
    // The master's name as declared, when the owner has it.
    if (const TKovIntrinsicProperty* declared =
            property.Owner()->GetIntrinsicPropertyByName(*master))
        return declared->Name();
    return *master;
}

// ---------------------------------------------------------------------------------------------
// Non-multipliable properties

TIPNonMultipliableRegistry& TIPNonMultipliableRegistry::Instance() {
    static TIPNonMultipliableRegistry instance;
    return instance;
}

void TIPNonMultipliableRegistry::AddOrSetValue(const TKovClass& ownerClass,
                                               const std::string& propertyName,
                                               bool nonMultipliable) {
    FValues[{&ownerClass, CleanName(propertyName)}] = nonMultipliable;
}

bool TIPNonMultipliableRegistry::Contains(const TKovClass& ownerClass,
                                          const std::string& propertyName) const {
    const std::string clean = CleanName(propertyName);
    for (const TKovClass* c = &ownerClass; c; c = c->Parent())
        if (auto it = FValues.find({c, clean}); it != FValues.end())
            return it->second;
    return false;
}

bool TIPNonMultipliableRegistry::Contains(const TKovIntrinsicProperty& property) const {
    return property.Owner() && Contains(property.Owner()->ClassType(), property.Name());
}

} // namespace tw
