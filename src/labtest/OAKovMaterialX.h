#pragma once
// The accessors of the framework material and its collections. A material's parameters stand in
// its collections; commands reach the user's ones directly: `set Material.phi 30`,
// `setproperties Material ("cRef" 2 "phi" 30)` (written in the order in which each parameter comes
// after those it reads), and the trees by their names: `Material.User`, `Material.Internal`,
// `Material.Global`, then the names of the collections below. Numbers with a unit are given and
// shown in the project's presentation units. The material also has `setcolour` and `validate`.

#include "commands/OAKovObject.h"

namespace tw {

class TOAKovMaterialX : public TOAKovObservableObject {
public:
    TOAKovMaterialX();

    // Its own property, else a user parameter (of the user or the global collection), else a top
    // collection by its name.
    TKovObject* FindMember(TKovObject& object, const std::string& name) const override;
    int SubgroupCount(const TKovObject& object) const override;
    TKovObject* Subgroup(const TKovObject& object, int index) const override;

protected:
    void AddInfo(const TKovObject& object, TCommandOutput& output) const override;
    int PropertyWriteOrder(const TKovObject& object,
                           const TKovIntrinsicProperty& property) const override;

private:
    void ComSetColour(TKovObject* object, const TCommandParameterList& parameters,
                      TCommandOutput& output, bool predict) const;
    void ComValidate(TKovObject* object, const TCommandParameterList& parameters,
                     TCommandOutput& output, bool predict) const;
};

class TOAMXPropertyCollection : public TOAKovObservableObject {
public:
    TOAMXPropertyCollection();

    // A property of the collection, else a collection below it by its name.
    TKovObject* FindMember(TKovObject& object, const std::string& name) const override;
    int SubgroupCount(const TKovObject& object) const override;
    TKovObject* Subgroup(const TKovObject& object, int index) const override;
    // The path from the material: "Material.User.Stiffness".
    std::string GetCommandsCompatibleObjectName(const TKovObject& object) const override;
    TKovObject* GetOwnerObject(const TKovObject& object) const override;
};

} // namespace tw
