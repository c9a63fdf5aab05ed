#include "labtest/OAQBProject.h"

#include "labtest/QBProject.h"
#include "labtest/QBProjectCommands.h"
#include "services/Localisation.h"
#include "services/Strings.h"

#include <mutex>

namespace tw {

namespace {

const TCommandNameRecord CloseCommand{"close", "&Close", ""};
const TCommandNameRecord KillCommand{"__kill", "", ""};

std::mutex KillMutex;
std::function<void()>& KillHandler() {
    static std::function<void()> handler;
    return handler;
}

} // namespace

TOAQBProject::TOAQBProject() : TOAKovObservableObjectWithRevert(TQBProject::StaticClass()) {
    AddCommand(CloseCommand, {}, &TOAQBProject::ComClose);
    AddCommand(KillCommand, {}, &TOAQBProject::ComKill);
}

void TOAQBProject::SetKillHandler(std::function<void()> handler) {
    std::lock_guard lock(KillMutex);
    KillHandler() = std::move(handler);
}

void TOAQBProject::FillCommandPatternMapper(const TKovObject* object, TCommandPatternMapper& mapper,
                                            bool includeHidden) const {
    TOAKovObservableObjectWithRevert::FillCommandPatternMapper(object, mapper, includeHidden);
    const auto* project = dynamic_cast<const TQBProject*>(object);
    if (!project)
        return;
    for (TKovObject* other : project->Commands().Interpreter().Environment().DefaultObjects()) {
        if (other == object)
            continue;
        if (const auto* accessor = dynamic_cast<const TCustomObjectAccessor*>(
                TObjectAccessors::Instance().GetAccessorFor(other)))
            accessor->FillCommandPatternMapper(other, mapper, includeHidden);
    }
}

int TOAQBProject::SubgroupCount(const TKovObject& object) const {
    return static_cast<const TQBProject&>(object).MainMaterialXList() ? 4 : 2;
}

TKovObject* TOAQBProject::Subgroup(const TKovObject& object, int index) const {
    const auto& project = static_cast<const TQBProject&>(object);
    switch (index) {
    case 0:
        return &project.MainTests();
    case 1:
        return &project.LoadedTests();
    case 2:
        return project.MainMaterialXList();
    case 3:
        return project.MainMaterialX();
    default:
        return nullptr;
    }
}

TKovObject* TOAQBProject::FindMember(TKovObject& object, const std::string& name) const {
    // The loaded tests have no name of their own: they are no part of the model's registry.
    if (SameText(name, "LoadedTests"))
        return &static_cast<TQBProject&>(object).LoadedTests();
    return TOAKovObservableObjectWithRevert::FindMember(object, name);
}

void TOAQBProject::ComClose(TKovObject* object, const TCommandParameterList&,
                            TCommandOutput& output, bool predict) const {
    if (predict)
        return;
    static_cast<TQBProject&>(*object).Close();
    output.AddResultObject(object);
}

void TOAQBProject::ComKill(TKovObject*, const TCommandParameterList&, TCommandOutput& output,
                           bool predict) const {
    std::function<void()> handler;
    {
        std::lock_guard lock(KillMutex);
        handler = KillHandler();
    }
    if (!handler) {
        output.InitializeAsError(cecExecutionFailed,
                                 Translate("There is no application to terminate"));
        return;
    }
    if (!predict)
        handler();
}

} // namespace tw
