#include "labtest/QBTestList.h"

#include "objects/ObjectManager.h"

namespace tw {

TW_KOV_CLASS_IMPL(TQBTestList, TKovObservableObjectList, nullptr)

TQBTestBase* TQBTestList::ByTestType(TQBTestType type) const {
    for (int i = 0; i < Count(); ++i)
        if (GetItems(i)->TestType() == type)
            return GetItems(i);
    return nullptr;
}

TQBTestBase* TQBTestList::ByMaterial(const ITestMaterial* material) const {
    for (int i = 0; i < Count(); ++i)
        if (GetItems(i)->Material() == material)
            return GetItems(i);
    return nullptr;
}

void TQBTestList::DeleteItemsWithMaterial(const ITestMaterial* material) {
    for (int i = Count() - 1; i >= 0; --i)
        if (GetItems(i)->Material() == material)
            Delete(i);
}

std::unique_ptr<TQBTestList> TQBTestList::Clone() const {
    auto clone = Make<TQBTestList>(nullptr);
    for (int i = 0; i < Count(); ++i)
        clone->Add(GetItems(i)->Clone().release());
    return clone;
}

void TQBTestList::CopyFrom(const TQBTestList& source) {
    TKovObjectManager* manager = ObjectManager();
    if (manager)
        manager->BeginHighPerformanceMode();
    try {
        for (int i = 0; i < Count() && i < source.Count(); ++i)
            GetItems(i)->CopyFrom(*source.GetItems(i));
    } catch (...) {
        if (manager)
            manager->EndHighPerformanceMode();
        throw;
    }
    if (manager) {
        manager->EndHighPerformanceMode();
        manager->ClearRevertStacks();
    }
}

} // namespace tw
