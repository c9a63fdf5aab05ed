#pragma once
// A named group of objects owned elsewhere. A command that takes a sequence of objects may be
// given a group instead, and then runs on each member (see TComParSequence).

#include "objects/KovObjectLists.h"

namespace tw {

class TKovGroup : public TKovReferenceList {
    TW_KOV_CLASS(TKovGroup, TKovReferenceList)
public:
    explicit TKovGroup(TKovObjectManager* manager) : TKovReferenceList(manager) {}
    std::string GetObjectTypeName() const override { return "Group"; }

protected:
    // Unlike plain lists, a group is named by the user and found by that name.
    bool UsesNameRegistry() const override { return true; }
};

} // namespace tw
