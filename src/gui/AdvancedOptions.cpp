#include "gui/AdvancedOptions.h"

#include "commands/OAKovObject.h"
#include "objects/ObjectManager.h"
#include "services/Format.h"
#include "services/Localisation.h"

namespace tw {

TW_KOV_CLASS_IMPL(TQBAdvancedOption, TKovObject, nullptr)

TQBAdvancedOption::TQBAdvancedOption(TKovObjectManager* manager, TSetProcedure set,
                                     TGetFunction get, TGetFunction isReadOnly)
    : TKovObject(manager), FSetProcedure(std::move(set)), FGetFunction(std::move(get)),
      FGetIsReadOnlyFunction(std::move(isReadOnly)) {}

void TQBAdvancedOption::SetValue(bool value) {
    if (FSetProcedure)
        FSetProcedure(value);
}

std::unique_ptr<TQBAdvancedOption> TQBAdvancedOption::Create(TKovObjectManager* manager,
                                                             const std::string& name,
                                                             TSetProcedure set, TGetFunction get,
                                                             TGetFunction isReadOnly) {
    TRevertLock lock(manager);
    auto option =
        Make<TQBAdvancedOption>(manager, std::move(set), std::move(get), std::move(isReadOnly));
    option->SetName(name);
    return option;
}

namespace {

const TCommandNameRecord SetOptionCommand{"set", "&Set", ""};

class TOAQBAdvancedOption : public TOAKovObject {
public:
    TOAQBAdvancedOption() : TOAKovObject(TQBAdvancedOption::StaticClass()) {
        RemoveCommand("set");
        RemoveCommand("rename");
        RemoveCommand("multiply");
        AddCommand(SetOptionCommand, {{TComParOrIPBoolean::Class()}},
                   &TOAQBAdvancedOption::ComSetValue);
    }

    // "%s: %s" with the name and "True" or "False".
    std::string ObjectToText(const TKovObject* object) const override {
        const auto* option = static_cast<const TQBAdvancedOption*>(object);
        return Format("%s: %s", option->Name(), option->Value() ? "True" : "False");
    }

private:
    void ComSetValue(TKovObject* object, const TCommandParameterList& parameters,
                     TCommandOutput& output, bool predict) const {
        auto& option = static_cast<TQBAdvancedOption&>(*object);
        if (option.IsReadOnly()) {
            output.InitializeAsError(
                cecExecutionFailed,
                Format(Translate("Cannot set read-only property %s"), option.Name()));
            return;
        }
        if (predict)
            return;
        option.SetValue(TComParOrIPBoolean::GetValue(*parameters[0]));
        output.AddResultObject(&option);
    }
};

} // namespace

void RegisterAdvancedOptionAccessor() {
    TObjectAccessors& registry = TObjectAccessors::Instance();
    const TBaseObjectAccessor* accessor = registry.GetAccessorFor(TQBAdvancedOption::StaticClass());
    if (!accessor || &accessor->ServedClass() != &TQBAdvancedOption::StaticClass())
        registry.RegisterAccessor(std::make_unique<TOAQBAdvancedOption>());
}

} // namespace tw
