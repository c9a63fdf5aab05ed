#include "labtest/QBProjectCommands.h"

#include "labtest/GlobalGroupHelpers.h"
#include "labtest/OAKovMaterialX.h"
#include "labtest/OAQBAdvancedOption.h"
#include "labtest/OAQBProject.h"
#include "labtest/OAQBResults.h"
#include "labtest/OAQBTestBase.h"
#include "labtest/OAQBTools.h"
#include "labtest/QBProject.h"
#include "labtest/QBProjectTools.h"
#include "objects/KovValues.h"

#include <mutex>

namespace tw {

void RegisterLabTestCommands() {
    static std::once_flag once;
    std::call_once(once, [] {
        auto& registry = TObjectAccessors::Instance();
        registry.RegisterAccessor(std::make_unique<TOAQBProject>());
        registry.RegisterAccessor(std::make_unique<TOAQBTestBase>());
        registry.RegisterAccessor(std::make_unique<TOAQBPhase>());
        registry.RegisterAccessor(std::make_unique<TOAQBResults>());
        registry.RegisterAccessor(std::make_unique<TOAQBCalculationTools>());
        registry.RegisterAccessor(std::make_unique<TOAQBSaveTools>());
        registry.RegisterAccessor(std::make_unique<TOAQBMaterialTools>());
        registry.RegisterAccessor(std::make_unique<TOAKovMaterialX>());
        registry.RegisterAccessor(std::make_unique<TOAMXPropertyCollection>());
        registry.RegisterAccessor(std::make_unique<TOAQBAdvancedOption>());
        RegisterGlobalGroupHelperAccessors(registry);
        // The helpers in the order in which a command that names no target asks them.
        TGlobalHelperRegistry::Register(
            [](TKovObjectManager* m) { return Make<TQBCalculationTools>(m); });
        TGlobalHelperRegistry::Register([](TKovObjectManager* m) { return Make<TQBSaveTools>(m); });
        TGlobalHelperRegistry::Register(
            [](TKovObjectManager* m) { return Make<TQBMaterialTools>(m); });
        TGlobalHelperRegistry::Register(
            [](TKovObjectManager* m) { return Make<TGroupInfoGetter>(m); });
        TGlobalHelperRegistry::Register(
            [](TKovObjectManager* m) { return Make<TTabulateHelper>(m); });
        TGlobalHelperRegistry::Register([](TKovObjectManager* m) { return Make<TListifier>(m); });
        TGlobalHelperRegistry::Register(
            [](TKovObjectManager* m) { return Make<TGroupMetadataSetter>(m); });
        TGlobalHelperRegistry::Register(
            [](TKovObjectManager* m) { return Make<TSimpleValueGroupSetter>(m); });
    });
}

TQBProjectCommands::TQBProjectCommands(TQBProject& project) : FProject(project) {
    RegisterLabTestCommands();
    TKovObjectManager* manager = project.ObjectManager();
    // The value arrays that commands hand out (columns of results, their slices) live in the
    // manager's list; a list that someone else made stays theirs.
    try {
        TKovValuesList::GetInstance(manager);
    } catch (const EKovValuesException&) {
        TKovValuesList::InitializeInstance(manager);
        FOwnsValuesList = true;
    }
    FGlobalHelpers.Initialize();
    FGlobalHelpers.CreateRegistered(manager);
    std::vector<TKovObject*> defaults{&project};
    for (TKovObject* helper : FGlobalHelpers.Items()) {
        if (auto* tools = dynamic_cast<TQBVirtualProjectTools*>(helper))
            tools->SetParentProject(&project);
        defaults.push_back(helper);
    }
    FInterpreter = std::make_unique<TKovInterpreter>(manager, std::move(defaults),
                                                     &FSuccessfulCommands, &FAllCommands);
}

TQBProjectCommands::~TQBProjectCommands() {
    FInterpreter.reset();
    if (FOwnsValuesList)
        TKovValuesList::UninitializeInstance(FProject.ObjectManager());
}

} // namespace tw
