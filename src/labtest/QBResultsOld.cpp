#include "labtest/QBResultsOld.h"

#include "labtest/QBResults.h"

#include <cfloat>

namespace tw {

TW_KOV_CLASS_IMPL(TQBResultOld, TKovObservableObject, &TQBResultOld::DeclareProperties)
TW_KOV_CLASS_IMPL(TQBResultOld_2023_1, TQBResultOld, nullptr)
TW_KOV_CLASS_IMPL(TQBResultsOld_2023_1, TKovObservableObjectList, nullptr)

void TQBResultOld::DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
    for (int i = 0; i < QBResultTypeCount; ++i)
        if (i != rtNone)
            list.AddDouble(ResultTypeInfo(static_cast<TQBResultType>(i)).PropertyName, 0, "",
                           -DBL_MAX, DBL_MAX);
    list.AddBoolean("IsSelected");
}

} // namespace tw
