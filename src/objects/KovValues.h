#pragma once
// Arrays of numbers as model objects: what the command language hands out when it reads a column
// of results or slices one. A value array with unit holds base values of one quantity.
//
// TKovValuesList is the home of the arrays of one object manager: commands create and destroy
// them there, so that an array outlives the command that made it. Each manager's list exists
// between InitializeInstance and UninitializeInstance; the lists are used from the main thread,
// and the table of lists is guarded for the odd worker that asks for one.

#include "objects/KovBaseClasses.h"
#include "objects/QuantityType.h"

#include <memory>
#include <string>
#include <vector>

namespace tw {

TW_DECLARE_EXCEPTION(EKovValuesException, EKovException)

class TKovValues : public TKovObservableObject {
    TW_KOV_CLASS(TKovValues, TKovObservableObject)
public:
    explicit TKovValues(TKovObjectManager* manager, std::vector<double> values = {});

    int Count() const { return static_cast<int>(FValues.size()); }
    const std::vector<double>& Values() const { return FValues; }
    // Replaces all values, as one undo step.
    void SetValues(std::vector<double> values);

    // Raises EKovValuesException for an index outside 0 .. Count - 1.
    double GetElement(int index) const;
    bool IsValidIndex(int index) const { return index >= 0 && index < Count(); }
    // A bound of a slice: slices include both bounds, so a bound is an index of an element.
    bool IsValidSliceIndex(int index) const { return IsValidIndex(index); }
    // Both bounds valid, and the first not behind the last.
    bool IsValidSlice(int first, int last) const {
        return IsValidSliceIndex(first) && IsValidSliceIndex(last) && first <= last;
    }
    // The elements from `first` to `last`, both included, as a new array of the same kind in the
    // same manager. Raises EKovValuesException for an invalid slice.
    virtual std::unique_ptr<TKovValues> Slice(int first, int last) const;

    // "[1, 2.5, -3]", numbers as the files write them.
    virtual std::string ToString() const;

protected:
    void AssignEssentialState(const TKovObject& source) override;
    void CheckSlice(int first, int last) const;

    std::vector<double> FValues;
};

class TKovValuesWithUnit : public TKovValues {
    TW_KOV_CLASS(TKovValuesWithUnit, TKovValues)
public:
    TKovValuesWithUnit(TKovObjectManager* manager, TQuantityType quantityType,
                       std::vector<double> values = {})
        : TKovValues(manager, std::move(values)), FQuantityType(quantityType) {}

    TQuantityType QuantityType() const { return FQuantityType; }
    std::unique_ptr<TKovValues> Slice(int first, int last) const override;
    // As the plain array, followed by the quantity's name: "[1, 2] Pressure".
    std::string ToString() const override;

protected:
    void AssignEssentialState(const TKovObject& source) override;

private:
    TQuantityType FQuantityType = qtDummy;
};

class TKovValuesList {
public:
    // Makes the list of `manager` (which may be nullptr for arrays without manager); a second
    // call for the same manager keeps the list it has.
    static void InitializeInstance(TKovObjectManager* manager);
    // Destroys the list of `manager` and every array in it.
    static void UninitializeInstance(TKovObjectManager* manager);
    // Raises EKovValuesException ("Instance does not exist. Use InitializeInstance before
    // GetInstance.") when the manager has no list.
    static TKovValuesList& GetInstance(TKovObjectManager* manager);

    TKovObjectManager* Manager() const { return FManager; }
    int Count() const { return static_cast<int>(FValues.size()); }
    TKovValues& operator[](int index) const { return *FValues.at(index); }

    // A new array in the list's manager, owned by the list.
    TKovValues& CreateValues(std::vector<double> values = {});
    TKovValuesWithUnit& CreateValuesWithUnit(TQuantityType quantityType,
                                             std::vector<double> values = {});
    // Takes an array made elsewhere (a slice) into the list.
    TKovValues& AddValues(std::unique_ptr<TKovValues> values);
    // Destroys an array of the list; an array the list doesn't hold raises EKovValuesException.
    void DestroyValues(TKovValues* values);

private:
    explicit TKovValuesList(TKovObjectManager* manager) : FManager(manager) {}

    TKovObjectManager* FManager;
    std::vector<std::unique_ptr<TKovValues>> FValues;
};

} // namespace tw
