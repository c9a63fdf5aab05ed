#pragma once
// The old forms of stored results, kept only so that old test files still load: a row as an
// object with one number property per column (named as the columns are) and a boolean
// "IsSelected" for the user's choice of the row. The oldest files hold a list of such rows
// ("QBResult" nodes) under "Results"; files of 2023 hold them in a TQBResultsOld_2023_1. Either
// way TQBResults::LoadFromList takes them over.

#include "objects/IntrinsicPropertyDeclarationList.h"
#include "objects/KovObjectLists.h"

namespace tw {

class TQBResultOld : public TKovObservableObject {
    TW_KOV_CLASS(TQBResultOld, TKovObservableObject)
public:
    using TKovObservableObject::TKovObservableObject;
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list);
    std::string GetObjectTypeName() const override { return "QBResult"; }
};

class TQBResultOld_2023_1 : public TQBResultOld {
    TW_KOV_CLASS(TQBResultOld_2023_1, TQBResultOld)
public:
    using TQBResultOld::TQBResultOld;
    std::string GetObjectTypeName() const override { return "QBResultOld_2023_1"; }
};

// The rows of a 2023 file; owns them.
class TQBResultsOld_2023_1 : public TKovObservableObjectList {
    TW_KOV_CLASS(TQBResultsOld_2023_1, TKovObservableObjectList)
public:
    explicit TQBResultsOld_2023_1(TKovObjectManager* manager)
        : TKovObservableObjectList(manager, true) {}
    std::string GetObjectTypeName() const override { return "QBResultsOld_2023_1"; }
};

} // namespace tw
