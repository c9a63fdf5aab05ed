#pragma once
// The project's global helpers that work on many objects at once. Like the tools, they take the
// commands which name no target, so a command given several objects in brackets (or a group of
// them) finds its way here:
//
//   info (Triaxial_1 Oedometer_1)                      the info of each (TGroupInfoGetter)
//   tabulate Triaxial_1.Results "Epsyy" "SigyyE"       a table of result columns (in the
//   tabulate Triaxial_1.Results ("Epsyy" "SigyyE") 10    project's units; every 10th row and
//   tabulate Triaxial_1.Phases "Steps" "Duration"        the last) or of the properties of a
//                                                        list's items (TTabulateHelper)
//   listify "Shearing" Triaxial_1 DSS_1                a new group of objects (TListifier)
//   setmetadata (Triaxial_1 DSS_1) "source" "lab 3"    metadata on each (TGroupMetadataSetter)
//   set (Triaxial_1.CellPressure DSS_1.AbsSigyyinit) 50   one value into each property
//                                                        (TSimpleValueGroupSetter)
//
// A command on many objects is one step: the first failure ends it and nothing stays.

#include "commands/KovGroup.h"
#include "commands/OAKovObject.h"
#include "objects/KovBaseClasses.h"

#include <memory>
#include <vector>

namespace tw {

class TGroupInfoGetter : public TKovObject {
    TW_KOV_CLASS(TGroupInfoGetter, TKovObject)
public:
    using TKovObject::TKovObject;
};

class TTabulateHelper : public TKovObject {
    TW_KOV_CLASS(TTabulateHelper, TKovObject)
public:
    using TKovObject::TKovObject;
};

// Keeps the groups it makes in an owning list of the model, so that undo takes a group out of
// the list (and its undo step holds it) and redo puts it back.
class TListifier : public TKovObject {
    TW_KOV_CLASS(TListifier, TKovObject)
public:
    explicit TListifier(TKovObjectManager* manager);
    ~TListifier() override;
    // Takes the group into the list, as a step of the open snapshot.
    TKovGroup& AddGroup(std::unique_ptr<TKovGroup> group);

private:
    std::unique_ptr<TKovObjectList> FGroups;
};

class TGroupMetadataSetter : public TKovObject {
    TW_KOV_CLASS(TGroupMetadataSetter, TKovObject)
public:
    using TKovObject::TKovObject;
};

class TSimpleValueGroupSetter : public TKovObject {
    TW_KOV_CLASS(TSimpleValueGroupSetter, TKovObject)
public:
    using TKovObject::TKovObject;
};

// The accessors of the helpers above: each has its one command, and neither `set` (but the
// setter's own) nor `rename`.
class TOAGroupHelper : public TOAKovObject {
public:
    explicit TOAGroupHelper(const TKovClass& servedClass);
};

class TOAGroupInfoGetter : public TOAGroupHelper {
public:
    TOAGroupInfoGetter();

private:
    void ComInfo(TKovObject* object, const TCommandParameterList& parameters,
                 TCommandOutput& output, bool predict) const;
};

class TOATabulateHelper : public TOAGroupHelper {
public:
    TOATabulateHelper();

private:
    void ComTabulate(TKovObject* object, const TCommandParameterList& parameters,
                     TCommandOutput& output, bool predict) const;
};

class TOAListifier : public TOAGroupHelper {
public:
    TOAListifier();

private:
    void ComListify(TKovObject* object, const TCommandParameterList& parameters,
                    TCommandOutput& output, bool predict) const;
};

class TOAGroupMetadataSetter : public TOAGroupHelper {
public:
    TOAGroupMetadataSetter();

private:
    void ComSetMetadata(TKovObject* object, const TCommandParameterList& parameters,
                        TCommandOutput& output, bool predict) const;
};

class TOASimpleValueGroupSetter : public TOAGroupHelper {
public:
    TOASimpleValueGroupSetter();

private:
    void ComSet(TKovObject* object, const TCommandParameterList& parameters, TCommandOutput& output,
                bool predict) const;
};

void RegisterGlobalGroupHelperAccessors(TObjectAccessors& registry);

} // namespace tw
