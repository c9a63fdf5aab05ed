#include "objects/KovValues.h"
#include "objects/IntrinsicPropertyDerivedKinds.h"
#include "objects/RevertStacks.h"

#include "objects/IntrinsicProperty.h"

#include "services/Format.h"

#include <algorithm>
#include <map>
#include <mutex>

namespace tw {

// ---------------------------------------------------------------------------------------------
// TKovValues

TW_KOV_CLASS_IMPL(TKovValues, TKovObservableObject, nullptr)

TKovValues::TKovValues(TKovObjectManager* manager, std::vector<double> values)
    : TKovObservableObject(manager), FValues(std::move(values)) {}

void TKovValues::SetValues(std::vector<double> values) {
    if (values == FValues)
        return;
    TUndoSnapshot snapshot(*this, "Set values");
    FValues = std::move(values);
    NotifyObservers();
}

double TKovValues::GetElement(int index) const {
    if (!IsValidIndex(index))
        throw EKovValuesException(
            Format("Index %d is outside the values of %s (0 to %d)", index, Name(), Count() - 1));
    return FValues[index];
}

void TKovValues::CheckSlice(int first, int last) const {
    if (!IsValidSlice(first, last))
        throw EKovValuesException(Format("Invalid slice %d to %d of %s, which holds %d values",
                                         first, last, Name(), Count()));
}

std::unique_ptr<TKovValues> TKovValues::Slice(int first, int last) const {
    CheckSlice(first, last);
    return Make<TKovValues>(
        ObjectManager(), std::vector<double>(FValues.begin() + first, FValues.begin() + last + 1));
}

std::string TKovValues::ToString() const {
    std::string text = "[";
    for (size_t i = 0; i < FValues.size(); ++i) {
        if (i > 0)
            text += ", ";
        text += FloatToStr(FValues[i]);
    }
    return text + "]";
}

void TKovValues::AssignEssentialState(const TKovObject& source) {
    TKovObservableObject::AssignEssentialState(source);
    if (const auto* other = dynamic_cast<const TKovValues*>(&source))
        FValues = other->FValues;
}

// ---------------------------------------------------------------------------------------------
// TKovValuesWithUnit

TW_KOV_CLASS_IMPL(TKovValuesWithUnit, TKovValues, nullptr)

std::unique_ptr<TKovValues> TKovValuesWithUnit::Slice(int first, int last) const {
    CheckSlice(first, last);
    return Make<TKovValuesWithUnit>(
        ObjectManager(), FQuantityType,
        std::vector<double>(FValues.begin() + first, FValues.begin() + last + 1));
}

std::string TKovValuesWithUnit::ToString() const {
    return TKovValues::ToString() + " " + QuantityTypeName(FQuantityType);
}

void TKovValuesWithUnit::AssignEssentialState(const TKovObject& source) {
    TKovValues::AssignEssentialState(source);
    if (const auto* other = dynamic_cast<const TKovValuesWithUnit*>(&source))
        FQuantityType = other->FQuantityType;
}

// ---------------------------------------------------------------------------------------------
// TKovValuesList

namespace {
std::mutex& InstancesMutex() {
    static std::mutex mutex;
    return mutex;
}
std::map<TKovObjectManager*, std::unique_ptr<TKovValuesList>>& Instances() {
    static std::map<TKovObjectManager*, std::unique_ptr<TKovValuesList>> instances;
    return instances;
}
} // namespace

void TKovValuesList::InitializeInstance(TKovObjectManager* manager) {
    std::lock_guard lock(InstancesMutex());
    auto& slot = Instances()[manager];
    if (!slot)
        slot.reset(new TKovValuesList(manager));
}

void TKovValuesList::UninitializeInstance(TKovObjectManager* manager) {
    std::unique_ptr<TKovValuesList> list;
    {
        std::lock_guard lock(InstancesMutex());
        auto it = Instances().find(manager);
        if (it == Instances().end())
            return;
        list = std::move(it->second);
        Instances().erase(it);
    }
    // The arrays die outside the lock: their destruction may reach the manager's undo stacks.
    list.reset();
}

TKovValuesList& TKovValuesList::GetInstance(TKovObjectManager* manager) {
    std::lock_guard lock(InstancesMutex());
    auto it = Instances().find(manager);
    if (it == Instances().end())
        throw EKovValuesException(
            "Instance does not exist. Use InitializeInstance before GetInstance.");
    return *it->second;
}

TKovValues& TKovValuesList::CreateValues(std::vector<double> values) {
    return AddValues(Make<TKovValues>(FManager, std::move(values)));
}

TKovValuesWithUnit& TKovValuesList::CreateValuesWithUnit(TQuantityType quantityType,
                                                         std::vector<double> values) {
    return static_cast<TKovValuesWithUnit&>(
        AddValues(Make<TKovValuesWithUnit>(FManager, quantityType, std::move(values))));
}

TKovValues& TKovValuesList::AddValues(std::unique_ptr<TKovValues> values) {
    if (!values)
        throw EKovValuesException("Cannot add a missing value array to the list");
    if (values->ObjectManager() != FManager)
        throw EKovValuesException(
            Format("%s belongs to another object manager than this list", values->Name()));
    FValues.push_back(std::move(values));
    return *FValues.back();
}

void TKovValuesList::DestroyValues(TKovValues* values) {
    auto it = std::find_if(FValues.begin(), FValues.end(),
                           [values](const auto& held) { return held.get() == values; });
    // Not dereferenced: a pointer the list doesn't hold may point at an array already gone.
    if (it == FValues.end())
        throw EKovValuesException("The value array to destroy is not in the value list");
    FValues.erase(it);
}

} // namespace tw
