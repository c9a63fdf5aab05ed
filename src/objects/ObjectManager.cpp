#include "objects/ObjectManager.h"
#include "objects/IntrinsicPropertyDerivedKinds.h"

#include "objects/NameTools.h"
#include "services/Strings.h"

#include <algorithm>

namespace tw {

// ---------------------------------------------------------------------------------------------
// Names

void TObjectNamesContainer::AddObject(const std::string& cleanName, TKovObject* object) {
    FDictionary[cleanName] = object;
}

void TObjectNamesContainer::DeleteObjectByName(const std::string& cleanName) {
    FDictionary.erase(cleanName);
}

TKovObject* TObjectNamesContainer::GetObjectByName(const std::string& cleanName) const {
    auto it = FDictionary.find(cleanName);
    return it == FDictionary.end() ? nullptr : it->second;
}

bool TObjectNamesContainer::HasObjectByName(const std::string& cleanName) const {
    return FDictionary.count(cleanName) != 0;
}

std::string TObjectNamesContainer::ReportContents() const {
    std::vector<std::string> lines;
    for (const auto& [name, object] : FDictionary)
        lines.push_back(name + ": " + object->GetObjectTypeName());
    std::sort(lines.begin(), lines.end());
    return Join(lines, "\n");
}

// ---------------------------------------------------------------------------------------------
// Registry

TKovObject* TKovObjectRegistry::GetObject(const std::string& name) const {
    return FObjectNames.GetObjectByName(CleanName(name));
}

std::string TKovObjectRegistry::GetUniqueName(const std::string& name, int startIndex) {
    if (startIndex == -1 && !FObjectNames.HasObjectByName(CleanName(name)))
        return name;
    int number = 0;
    std::string root;
    const bool hasIndex = SplitInRootAndIndex(name, number, root);
    if (!hasIndex)
        root = name;
    int index;
    if (startIndex == -1)
        index = hasIndex ? number + 1 : 1;
    else
        index = hasIndex ? number : startIndex;
    while (!root.empty() && (root.back() == ' ' || root.back() == '_'))
        root.pop_back();
    root += '_';
    int probe;
    std::string probeRoot;
    if (SplitInRootAndIndex(root, probe, probeRoot))
        throw EKovObjectRegistryException("Did not expect a base name ending in a number!");
    if (index == 0 && !FObjectNames.HasObjectByName(CleanName(root + "0")))
        return root + "0";
    const std::string cleanRoot = CleanName(root);
    auto known = FLastKnownUnusedRootIndices.try_emplace(cleanRoot, 1).first;
    const int start = std::max(known->second, index);
    int candidate = start;
    while (FObjectNames.HasObjectByName(cleanRoot + std::to_string(candidate)))
        ++candidate;
    if (known->second == start)
        known->second = candidate;
    return root + std::to_string(candidate);
}

bool TKovObjectRegistry::RegisterObject(TKovObject* object) {
    const std::string clean = CleanName(object->Name());
    if (TKovObject* holder = FObjectNames.GetObjectByName(clean))
        return holder == object;
    FObjectNames.AddObject(clean, object);
    int index;
    std::string root;
    if (SplitInRootAndIndex(clean, index, root)) {
        auto it = FLastKnownUnusedRootIndices.find(root);
        if (it != FLastKnownUnusedRootIndices.end()) {
            if (it->second == index)
                ++it->second;
        } else if (index == 1) {
            FLastKnownUnusedRootIndices.emplace(root, 2);
        }
    }
    Notify(object, true);
    return true;
}

void TKovObjectRegistry::UnregisterObject(TKovObject* object) {
    if (!object)
        return;
    const std::string clean = CleanName(object->Name());
    TKovObject* found = FObjectNames.GetObjectByName(clean);
    if (!found)
        return;
    if (found != object)
        throw EKovObjectRegistryException(
            Format("Expected to find \"%s\" of type \"%s\" at position \"%d\" but found one of "
                   "type \"%s\"",
                   object->Name(), object->GetObjectTypeName(), 0, found->GetObjectTypeName()));
    int index;
    std::string root;
    if (SplitInRootAndIndex(clean, index, root)) {
        auto it = FLastKnownUnusedRootIndices.find(root);
        if (it != FLastKnownUnusedRootIndices.end() && it->second > index)
            it->second = index;
    }
    FObjectNames.DeleteObjectByName(clean);
    Notify(object, false);
}

void TKovObjectRegistry::Notify(TKovObject* object, bool registered) {
    // A subscriber may subscribe or unsubscribe from inside its event: walk the handles as they
    // are now, and skip those that left meanwhile.
    std::vector<int> handles;
    handles.reserve(FObservers.size());
    for (const auto& entry : FObservers)
        handles.push_back(entry.first);
    for (int handle : handles) {
        auto it = FObservers.find(handle);
        if (it == FObservers.end())
            continue;
        auto event = registered ? it->second.OnRegister : it->second.OnUnregister;
        if (event)
            event(object);
    }
}

int TKovObjectRegistry::SubscribeToNotifications(TObserver observer) {
    int handle = FNextObserverHandle++;
    FObservers.emplace(handle, std::move(observer));
    return handle;
}

void TKovObjectRegistry::UnsubscribeFromNotifications(int handle) {
    FObservers.erase(handle);
}

// ---------------------------------------------------------------------------------------------
// Manager

TKovObjectManager::TKovObjectManager(TUniqueIDRegister* uidRegister)
    : FUIDRegister(uidRegister ? uidRegister : &TUniqueIDRegister::Default()) {}

TKovObjectManager::~TKovObjectManager() {
    if (!FRevertStacks.IsSnapshotOpened())
        FRevertStacks.ClearRevertStacks();
}

void TKovObjectManager::BeginHighPerformanceMode() {
    FMutex.lock();
    FRevertStacks.LockRevert();
}

void TKovObjectManager::EndHighPerformanceMode() {
    FRevertStacks.UnlockRevert();
    FMutex.unlock();
}

void TKovObjectManager::AddGlobalState(TKovObject* object) {
    for (TKovObject* state : FGlobalStates)
        if (&state->ClassType() == &object->ClassType())
            throw EKovObjectRegistryException(
                Format("Cannot add two global state objects of the same class: %s",
                       object->ClassType().Name()));
    FGlobalStates.push_back(object);
}

void TKovObjectManager::CopyGlobalStatesFrom(const TKovObjectManager& other) {
    FGlobalStates = other.FGlobalStates;
}

TKovObject* TKovObjectManager::GetGlobalState(const TKovClass& cls) const {
    for (TKovObject* state : FGlobalStates)
        if (&state->ClassType() == &cls)
            return state;
    return nullptr;
}

TKovObject* TKovObjectManager::ExtractGlobalState(const TKovClass& cls) {
    for (auto it = FGlobalStates.begin(); it != FGlobalStates.end(); ++it)
        if (&(*it)->ClassType() == &cls) {
            TKovObject* state = *it;
            FGlobalStates.erase(it);
            return state;
        }
    return nullptr;
}

} // namespace tw
