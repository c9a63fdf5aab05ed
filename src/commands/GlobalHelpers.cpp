#include "commands/GlobalHelpers.h"

#include "objects/ObjectManager.h"

#include <map>
#include <mutex>

namespace tw {

namespace {
std::mutex RegistryMutex;
std::map<int, TGlobalHelperRegistry::TFactory>& Registry() {
    static std::map<int, TGlobalHelperRegistry::TFactory> registry;
    return registry;
}
int NextHandle = 1;
} // namespace

int TGlobalHelperRegistry::Register(TFactory factory) {
    std::lock_guard lock(RegistryMutex);
    Registry().emplace(NextHandle, std::move(factory));
    return NextHandle++;
}

void TGlobalHelperRegistry::Unregister(int handle) {
    std::lock_guard lock(RegistryMutex);
    Registry().erase(handle);
}

std::vector<TGlobalHelperRegistry::TFactory> TGlobalHelperRegistry::Factories() {
    std::lock_guard lock(RegistryMutex);
    std::vector<TFactory> factories;
    for (const auto& [handle, factory] : Registry())
        factories.push_back(factory);
    return factories;
}

TGlobalHelpers::~TGlobalHelpers() {
    // The last made goes first, as the helpers may know the ones made before them.
    while (!FOwned.empty())
        FOwned.pop_back();
}

TKovObject& TGlobalHelpers::Add(std::unique_ptr<TKovObject> helper) {
    if (!FInitialized)
        throw EGlobalHelpersException("Global helpers not initialized.");
    TKovObject& added = *helper;
    const std::string name = added.GetObjectTypeName();
    added.SetName(
        added.ObjectManager() ? added.ObjectManager()->ObjectRegistry().GetUniqueName(name) : name);
    FItems.push_back(&added);
    FOwned.push_back(std::move(helper));
    return added;
}

void TGlobalHelpers::CreateRegistered(TKovObjectManager* manager) {
    TRevertLock lock(manager);
    for (const auto& factory : TGlobalHelperRegistry::Factories())
        Add(factory(manager));
}

} // namespace tw
