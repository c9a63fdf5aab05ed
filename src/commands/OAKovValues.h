#pragma once
// The commands of value arrays, the numbers a command hands out (a column of results, a slice of
// one): `index`, `slice`, `filter`, `count` and `delete`. A value array with a unit holds base
// values; the commands show and compare them in the presentation unit of its quantity.
//
// New arrays go into the array list of the manager (TKovValuesList), outside undo: they are
// results of commands, not changes of the model.

#include "commands/OAKovObject.h"
#include "objects/KovValues.h"

namespace tw {

class TOAKovValues : public TOAKovObservableObject {
public:
    explicit TOAKovValues(const TKovClass& servedClass = TKovValues::StaticClass());
    // The values: "[1, 2.5]".
    std::string ObjectToText(const TKovObject* object) const override;

    // The filter operations, by their words.
    enum TFilterOperation {
        foLess,
        foLessOrEqual,
        foEqual,
        foNotEqual,
        foGreaterOrEqual,
        foGreater
    };
    static const std::vector<std::string>& FilterOperationWords();

private:
    void ComIndex(TKovObject* object, const TCommandParameterList& parameters,
                  TCommandOutput& output, bool predict) const;
    void ComSlice(TKovObject* object, const TCommandParameterList& parameters,
                  TCommandOutput& output, bool predict) const;
    void ComFilter(TKovObject* object, const TCommandParameterList& parameters,
                   TCommandOutput& output, bool predict) const;
    void ComCount(TKovObject* object, const TCommandParameterList& parameters,
                  TCommandOutput& output, bool predict) const;
    void ComDelete(TKovObject* object, const TCommandParameterList& parameters,
                   TCommandOutput& output, bool predict) const;
};

class TOAKovValuesWithUnits : public TOAKovValues {
public:
    TOAKovValuesWithUnits();
};

void RegisterKovValuesAccessors(TObjectAccessors& registry);

} // namespace tw
