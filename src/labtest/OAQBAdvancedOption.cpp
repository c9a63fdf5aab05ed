#include "labtest/OAQBAdvancedOption.h"

#include "labtest/QBProject.h"
#include "objects/ObjectManager.h"
#include "services/Format.h"
#include "services/Localisation.h"

namespace tw {

TW_KOV_CLASS_IMPL(TQBAdvancedOption, TKovObject, nullptr)

void TQBAdvancedOption::SetFunctions(TSetProcedure set, TGetFunction get, TGetFunction isReadOnly) {
    FSetProcedure = std::move(set);
    FGetFunction = std::move(get);
    FGetIsReadOnlyFunction = std::move(isReadOnly);
}

void TQBAdvancedOption::SetValue(bool value) {
    if (FSetProcedure)
        FSetProcedure(value);
}

namespace {

// Whether any main test of the project answers `ask`.
template <typename Ask> bool AnyTest(const TQBProject& project, Ask ask) {
    for (TKovObject* item : project.MainTests().Items())
        if (ask(static_cast<const TQBTestBase&>(*item)))
            return true;
    return false;
}

std::unique_ptr<TQBAdvancedOption> MakeOption(TQBProject& project, const char* name) {
    TRevertLock lock(project.ObjectManager());
    auto option = Make<TQBAdvancedOption>(project.ObjectManager());
    option->SetName(name);
    return option;
}

} // namespace

TQBProjectOptions::TQBProjectOptions(TQBProject& project) {
    FSuction = MakeOption(project, "Suction");
    FSuction->SetFunctions([&project](bool value) { project.SetIsSuctionEnabled(value); },
                           [&project] { return project.IsSuctionEnabled(); },
                           [&project] {
                               return !AnyTest(project, [](const TQBTestBase& t) {
                                   return t.CanHaveSuctionEnabled();
                               });
                           });
    if (project.Is3D())
        return;
    FThermal = MakeOption(project, "Thermal");
    FThermal->SetFunctions([&project](bool value) { project.SetIsThermalEnabled(value); },
                           [&project] { return project.IsThermalEnabled(); },
                           [&project] {
                               return !AnyTest(project, [](const TQBTestBase& t) {
                                   return t.CanHaveThermalEnabled();
                               });
                           });
}

// ---------------------------------------------------------------------------------------------

TOAQBAdvancedOption::TOAQBAdvancedOption() : TOAKovObject(TQBAdvancedOption::StaticClass()) {
    RemoveCommand("set");
    RemoveCommand("rename");
    RemoveCommand("multiply");
    AddCommand({"set", "&Set", ""}, {{TComParOrIPBoolean::Class()}},
               &TOAQBAdvancedOption::ComSetValue);
}

std::string TOAQBAdvancedOption::ObjectToText(const TKovObject* object) const {
    const auto* option = dynamic_cast<const TQBAdvancedOption*>(object);
    if (!option)
        return TOAKovObject::ObjectToText(object);
    return Format("%s: %s", option->Name(), option->Value() ? "True" : "False");
}

void TOAQBAdvancedOption::ComSetValue(TKovObject* object, const TCommandParameterList& parameters,
                                      TCommandOutput& output, bool predict) const {
    auto& option = static_cast<TQBAdvancedOption&>(*object);
    if (option.IsReadOnly()) {
        output.InitializeAsError(
            cecExecutionFailed, Format(Translate("Cannot set read-only option %s"), option.Name()));
        return;
    }
    const bool value = TComParOrIPBoolean::GetValue(*parameters[0]);
    if (predict)
        return;
    option.SetValue(value);
    output.SetAdditionalInfo(ObjectToText(&option));
    output.AddResultObject(&option);
}

} // namespace tw
