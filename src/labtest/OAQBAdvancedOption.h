#pragma once
// The advanced options of a program's shell, "Suction" and "Thermal": named switches that the
// interpreter sees as objects, so that switching one is a command (`set Suction True`) that stands
// in the history and in one undo step. The shell makes them (Thermal only for the 2D kernel) and
// gives each the functions that read, write and lock it; its accessor has nothing but `set`,
// with "True" or "False".

#include "commands/OAKovObject.h"
#include "objects/KovBaseClasses.h"

#include <functional>

namespace tw {

class TQBProject;

class TQBAdvancedOption : public TKovObject {
    TW_KOV_CLASS(TQBAdvancedOption, TKovObject)
public:
    using TKovObject::TKovObject;

    using TSetProcedure = std::function<void(bool value)>;
    using TGetFunction = std::function<bool()>;
    void SetFunctions(TSetProcedure set, TGetFunction get, TGetFunction isReadOnly);

    // False without functions.
    bool Value() const { return FGetFunction ? FGetFunction() : false; }
    void SetValue(bool value);
    bool IsReadOnly() const { return FGetIsReadOnlyFunction && FGetIsReadOnlyFunction(); }

private:
    TSetProcedure FSetProcedure;
    TGetFunction FGetFunction;
    TGetFunction FGetIsReadOnlyFunction;
};

// The options of a program without a window, named "Suction" and, in a 2D project, "Thermal":
// each switches the condition on the project's tests that can have it, reads whether any test
// has it on, and is read-only when no test could have it.
class TQBProjectOptions {
public:
    explicit TQBProjectOptions(TQBProject& project);
    TQBAdvancedOption& Suction() const { return *FSuction; }
    // nullptr in a 3D project.
    TQBAdvancedOption* Thermal() const { return FThermal.get(); }

private:
    std::unique_ptr<TQBAdvancedOption> FSuction;
    std::unique_ptr<TQBAdvancedOption> FThermal;
};

class TOAQBAdvancedOption : public TOAKovObject {
public:
    TOAQBAdvancedOption();
    // "%s: %s", the name and "True" or "False".
    std::string ObjectToText(const TKovObject* object) const override;

private:
    void ComSetValue(TKovObject* object, const TCommandParameterList& parameters,
                     TCommandOutput& output, bool predict) const;
};

} // namespace tw
