#pragma once
// The accessors of every object of the framework: the commands that any object answers (echo,
// commands, info, inspect, rename, set from a source, multiply), those of observable objects
// (setproperties, metadata, observers), of lists, and the undo and redo of a root object.

#include "commands/ObjectAccessors.h"
#include "objects/KovObjectLists.h"

namespace tw {

class TKovObservableObject;
class TKovIntrinsicProperty;
class IQuantityPresenter;

// The presentation units that apply to an object, or nullptr (values are then shown in base
// units).
const IQuantityPresenter* PresenterFor(const TKovObject* object);

// Why `name` can't be the new name of `object`, or "" when it can.
std::string CheckNewObjectName(const TKovObject& object, const std::string& name);

class TOAKovObject : public TCustomObjectAccessor {
public:
    explicit TOAKovObject(const TKovClass& servedClass = TKovObject::StaticClass());

    // `set Target Source`: copies the properties of a source of the same class.
    virtual void ComSet(TKovObject* object, const TCommandParameterList& parameters,
                        TCommandOutput& output, bool predict) const;
    virtual void ComInspect(TKovObject* object, const TCommandParameterList& parameters,
                            TCommandOutput& output, bool predict) const;
    virtual void ComRename(TKovObject* object, const TCommandParameterList& parameters,
                           TCommandOutput& output, bool predict) const;
    virtual void ComMultiply(TKovObject* object, const TCommandParameterList& parameters,
                             TCommandOutput& output, bool predict) const;

    std::string GetCommandsCompatibleObjectName(const TKovObject& object) const override;
    virtual std::string GetCommandsCompatibleObjectCaption(const TKovObject& object) const;
    std::string ObjectToText(const TKovObject* object) const override;
    // "UID=%s".
    std::string UniqueIDToText(const TKovObject& object) const;

protected:
    // The lines of `info` behind the commands.
    virtual void AddInfo(const TKovObject& object, TCommandOutput& output) const;
    // The lines of `inspect`.
    virtual void AddInspection(const TKovObject& object, TCommandOutput& output) const;

private:
    void ComEcho(TKovObject* object, const TCommandParameterList& parameters,
                 TCommandOutput& output, bool predict) const;
    void ComDump(TKovObject* object, const TCommandParameterList& parameters,
                 TCommandOutput& output, bool predict) const;
    void ComCommands(TKovObject* object, const TCommandParameterList& parameters,
                     TCommandOutput& output, bool predict) const;
    void ComInfo(TKovObject* object, const TCommandParameterList& parameters,
                 TCommandOutput& output, bool predict) const;
};

class TOAKovObservableObject : public TOAKovObject {
public:
    explicit TOAKovObservableObject(
        const TKovClass& servedClass = TKovObservableObject::StaticClass());

    // The published properties, in declaration order.
    int IntrinsicPropertyCount(const TKovObject& object) const;
    TKovIntrinsicProperty* IntrinsicProperty(const TKovObject& object, int index) const;
    // Child objects reachable by name; none here.
    virtual int SubgroupCount(const TKovObject& /*object*/) const { return 0; }
    virtual TKovObject* Subgroup(const TKovObject& /*object*/, int /*index*/) const {
        return nullptr;
    }
    // A property by name (or alias), else a subgroup by name.
    TKovObject* FindMember(TKovObject& object, const std::string& name) const override;

protected:
    void AddInfo(const TKovObject& object, TCommandOutput& output) const override;
    void AddInspection(const TKovObject& object, TCommandOutput& output) const override;
    // `setproperties` finds each property as a member (FindMember) and writes them in the order
    // of this key, the given order among equal keys: a class whose properties depend on each
    // other writes the ones others read first.
    virtual int PropertyWriteOrder(const TKovObject& /*object*/,
                                   const TKovIntrinsicProperty& /*property*/) const {
        return 0;
    }

private:
    void ComSetProperties(TKovObject* object, const TCommandParameterList& parameters,
                          TCommandOutput& output, bool predict) const;
    void ComGetMetadata(TKovObject* object, const TCommandParameterList& parameters,
                        TCommandOutput& output, bool predict) const;
    void ComSetMetadata(TKovObject* object, const TCommandParameterList& parameters,
                        TCommandOutput& output, bool predict) const;
    void ComObservers(TKovObject* object, const TCommandParameterList& parameters,
                      TCommandOutput& output, bool predict) const;
};

// A root object whose manager's undo and redo stacks the user walks: `undo [count]`,
// `redo [count]`. Register it (or a descendant) for the class of the root, the project.
class TOAKovObservableObjectWithRevert : public TOAKovObservableObject {
public:
    explicit TOAKovObservableObjectWithRevert(const TKovClass& servedClass);

private:
    void ComUndo(TKovObject* object, const TCommandParameterList& parameters,
                 TCommandOutput& output, bool predict) const;
    void ComRedo(TKovObject* object, const TCommandParameterList& parameters,
                 TCommandOutput& output, bool predict) const;
    void Revert(TKovObject* object, const TCommandParameterList& parameters, TCommandOutput& output,
                bool predict, bool redo) const;
};

// Lists: their items in `info`; `filter` by a named object filter (the items that pass are the
// result objects); `apply` a command, given by its name, to each item.
class TOAKovObjectList : public TOAKovObject {
public:
    explicit TOAKovObjectList(const TKovClass& servedClass = TKovObjectList::StaticClass());

protected:
    void AddInfo(const TKovObject& object, TCommandOutput& output) const override;

private:
    void ComFilter(TKovObject* object, const TCommandParameterList& parameters,
                   TCommandOutput& output, bool predict) const;
    void ComApply(TKovObject* object, const TCommandParameterList& parameters,
                  TCommandOutput& output, bool predict) const;
};

class TOAKovObservableObjectList : public TOAKovObjectList {
public:
    TOAKovObservableObjectList();
};

void RegisterKovObjectAccessors(TObjectAccessors& registry);

} // namespace tw
