#pragma once
// The accessor of the project: `undo` and `redo` of the project's steps (the tests, phases and
// material share its stacks), `close`, `__kill`, and as members its lists: `Project.Tests`,
// `Project.LoadedTests`, `Project.Materials`, `Project.Material`. Its command listing shows the
// commands of the other default objects too, as those are the commands a user types without a
// target.

#include "commands/OAKovObject.h"

#include <functional>

namespace tw {

class TOAQBProject : public TOAKovObservableObjectWithRevert {
public:
    TOAQBProject();

    void FillCommandPatternMapper(const TKovObject* object, TCommandPatternMapper& mapper,
                                  bool includeHidden) const override;
    TKovObject* FindMember(TKovObject& object, const std::string& name) const override;
    int SubgroupCount(const TKovObject& object) const override;
    TKovObject* Subgroup(const TKovObject& object, int index) const override;

    // What `__kill` does: asks the application to terminate. The program sets it; without it
    // the command fails.
    static void SetKillHandler(std::function<void()> handler);

private:
    void ComClose(TKovObject* object, const TCommandParameterList& parameters,
                  TCommandOutput& output, bool predict) const;
    void ComKill(TKovObject* object, const TCommandParameterList& parameters,
                 TCommandOutput& output, bool predict) const;
};

} // namespace tw
