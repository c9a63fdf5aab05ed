#include "UnitsThing.h"

namespace tw::testing {

void TUnitsThing::DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
    list.AddInteger("Version");
    DeclareProjectUnitProperties(list);
    list.AddDoubleWithUnit("CellPressure", qtPressure, 0, "", -1e6, 0);
    list.AddDoubleWithUnit("Temperature", qtTemperature);
}

TW_KOV_CLASS_IMPL(TUnitsThing, TKovObservableObject, &TUnitsThing::DeclareProperties)

} // namespace tw::testing
