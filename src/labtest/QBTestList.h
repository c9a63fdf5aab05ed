#pragma once
// A list of tests: one per type for the project's main tests, or the tests loaded for comparison.

#include "labtest/QBTestBase.h"
#include "objects/KovObjectLists.h"

namespace tw {

class TQBTestList : public TKovObservableObjectList {
    TW_KOV_CLASS(TQBTestList, TKovObservableObjectList)
public:
    explicit TQBTestList(TKovObjectManager* manager) : TKovObservableObjectList(manager, true) {}

    // nullptr for an index outside the list; never raises.
    TQBTestBase* GetItems(int index) const {
        return static_cast<TQBTestBase*>(GetItemOrNull(index));
    }
    // The first test of that type, or nullptr.
    TQBTestBase* ByTestType(TQBTestType type) const;
    // The first test that runs on that material, or nullptr.
    TQBTestBase* ByMaterial(const ITestMaterial* material) const;
    // Deletes, from the last to the first, every test that runs on that material.
    void DeleteItemsWithMaterial(const ITestMaterial* material);
    // A new list without manager holding a clone of every test.
    std::unique_ptr<TQBTestList> Clone() const;
    // Pairs the tests by index and copies each from its partner, without undo records.
    void CopyFrom(const TQBTestList& source);
};

} // namespace tw
