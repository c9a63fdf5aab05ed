#pragma once
// Finds the system of units that applies to an object. Whoever owns a system of units (the
// project, a material list) registers a function that recognises its objects; a caller that holds
// an object and needs units asks here. The functions run in priority order (lowest number first)
// and the first system found is the answer.
//
// Process-wide; registration and queries may come from any thread. The functions themselves run
// outside the registry's lock, so they may ask the registry again.

#include "units/UnitConversionDictionary.h"

#include <functional>

namespace tw {

class TKovObject;
class TSystemOfUnits;

// GetSystemOfUnits found no function that knows the object.
TW_DECLARE_EXCEPTION(ENoSystemOfUnits, EUnitException)

class TSystemOfUnitsQueryFunctionsRegistry {
public:
    // Answers the system of units of `object`, or nullptr when the function doesn't know it.
    using TQueryFunction = std::function<TSystemOfUnits*(const TKovObject* object)>;

    // Puts `function` before all others, with the number one below the current first (0 in an
    // empty list). Answers the number, which identifies the entry for RemoveQueryFunction.
    static int AddQueryFunctionWithHighestPriority(TQueryFunction function);
    // Puts `function` behind all others, with the number one above the current last (0 in an
    // empty list).
    static int AddQueryFunctionWithLowestPriority(TQueryFunction function);
    // Removes the entry of that number; an unknown number is ignored.
    static void RemoveQueryFunction(int number);

    // The first system that a function answers for `object`, or nullptr.
    static TSystemOfUnits* GetUnsafeSystemOfUnits(const TKovObject* object);
    // As above, but raises ENoSystemOfUnits instead of answering nullptr.
    static TSystemOfUnits& GetSystemOfUnits(const TKovObject* object);

    static size_t Count();
};

} // namespace tw
