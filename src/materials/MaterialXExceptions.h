#pragma once
// The exceptions of the material framework. Nearly all of them are faults of declarations
// (programming errors); the derived-value faults (a division by zero in a formula) are the ones a
// user can provoke with values.

#include "services/KovException.h"

namespace tw {

TW_DECLARE_EXCEPTION(EMaterialXException, EKovException)
TW_DECLARE_EXCEPTION(EMaterialXRegistries, EMaterialXException)
TW_DECLARE_EXCEPTION(EMaterialXFactory, EMaterialXException)
TW_DECLARE_EXCEPTION(EMaterialXFactoryFunctions, EMaterialXException)
TW_DECLARE_EXCEPTION(EMXParametersConstructor, EMaterialXException)
TW_DECLARE_EXCEPTION(EConfiguratorException, EMaterialXException)
TW_DECLARE_EXCEPTION(EMaterialXTools, EMaterialXException)
TW_DECLARE_EXCEPTION(EKovMaterialX, EMaterialXException)
TW_DECLARE_EXCEPTION(EMaterialXClientException, EMaterialXException)
TW_DECLARE_EXCEPTION(EMXWriterQueryFunctionsException, EMaterialXException)
TW_DECLARE_EXCEPTION(EMaterialXIPDependencyEvaluatorException, EMaterialXException)
TW_DECLARE_EXCEPTION(EMaterialXValues, EMaterialXException)
TW_DECLARE_EXCEPTION(EMaterialXDataProvider, EMaterialXException)
// A value out of a property's range, written by a user.
TW_DECLARE_EXCEPTION(EMaterialXValueOutOfRange, EMaterialXException)

// A formula divided by zero: "Calculation failed due to division by zero.".
TW_DECLARE_EXCEPTION(EMaterialXDivisionByZero, EMaterialXException)
// A named derived getter of the soil groups failed ("Cannot get %s because of a division by
// zero.", and the other texts of the soil formulas).
TW_DECLARE_EXCEPTION(ESoilMaterialXDerivedParametersConstructor, EMaterialXDivisionByZero)

} // namespace tw
