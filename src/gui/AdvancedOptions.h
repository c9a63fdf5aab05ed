#pragma once
// The two advanced options of the window, "Suction" and "Thermal": named switches that the
// interpreter sees as objects (`set Suction True`), so that the menu's toggles go through the
// command language. An option reads the state of the selected test and is read-only when that
// test can't have the condition; setting it switches every main test that can.

#include "objects/KovBaseClasses.h"

#include <functional>
#include <memory>
#include <string>

namespace tw {

class TKovObjectManager;

class TQBAdvancedOption : public TKovObject {
    TW_KOV_CLASS(TQBAdvancedOption, TKovObject)
public:
    using TSetProcedure = std::function<void(bool value)>;
    using TGetFunction = std::function<bool()>;

    TQBAdvancedOption(TKovObjectManager* manager, TSetProcedure set, TGetFunction get,
                      TGetFunction isReadOnly);
    std::string GetObjectTypeName() const override { return "AdvancedOption"; }

    bool Value() const { return FGetFunction ? FGetFunction() : false; }
    void SetValue(bool value);
    bool IsReadOnly() const { return FGetIsReadOnlyFunction ? FGetIsReadOnlyFunction() : true; }

    // An option named `name` in the manager; its creation is no step to undo.
    static std::unique_ptr<TQBAdvancedOption> Create(TKovObjectManager* manager,
                                                     const std::string& name, TSetProcedure set,
                                                     TGetFunction get, TGetFunction isReadOnly);

private:
    TSetProcedure FSetProcedure;
    TGetFunction FGetFunction;
    TGetFunction FGetIsReadOnlyFunction;
};

// The accessor of the options: `set` with "True" or "False", and none of the inherited `set`,
// `rename` and `multiply`. Registered by RegisterWindowAccessors.
void RegisterAdvancedOptionAccessor();

} // namespace tw
