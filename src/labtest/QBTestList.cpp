#include "labtest/QBTestList.h"

#include "labtest/QBTestCDSS.h"
#include "labtest/QBTestCRS.h"
#include "labtest/QBTestCycTriaxial.h"
#include "labtest/QBTestDSS.h"
#include "labtest/QBTestGeneral.h"
#include "labtest/QBTestOedometer.h"
#include "labtest/QBTestPressuremeter.h"
#include "labtest/QBTestTriaxial.h"

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
    {
        THighPerformanceMode highPerformance(manager);
        for (int i = 0; i < Count() && i < source.Count(); ++i)
            GetItems(i)->CopyFrom(*source.GetItems(i));
    }
    if (manager)
        manager->ClearRevertStacks();
}

std::unique_ptr<TQBTestBase> CreateTest(TQBTestType type, TKovObjectManager* manager,
                                        TQBTestMethod testMethod) {
    switch (type) {
    case ttTriaxial:
        return Make<TQBTestTriaxial>(manager, testMethod);
    case ttOedometer:
        return Make<TQBTestOedometer>(manager, testMethod);
    case ttCRS:
        return Make<TQBTestCRS>(manager, testMethod);
    case ttDSS:
        return Make<TQBTestDSS>(manager, testMethod);
    case ttCDSS:
        return Make<TQBTestCDSS>(manager, testMethod);
    case ttGeneral:
        return Make<TQBTestGeneral>(manager, testMethod);
    case ttPressuremeter:
        return Make<TQBTestPressuremeter>(manager, testMethod);
    case ttCycTriaxial:
        return Make<TQBTestCycTriaxial>(manager, testMethod);
    }
    throw EQBTestException(Format("Unknown test type: %d", static_cast<int>(type)));
}

} // namespace tw
