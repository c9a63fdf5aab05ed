// Fuzzes the command line's suggestions: the input's first byte places the caret, the rest is
// the line typed, on a lab project whose names and members are searched. Every suggestion, taken
// into the line, must give a line that holds it at a caret within the line; searching never
// runs anything and never changes the project.

#include "LabtestFuzzing.h"

#include "commands/AutoComplete.h"
#include "labtest/QBProject.h"
#include "materials/MaterialXFactory.h"
#include "objects/ObjectManager.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace {

using namespace tw;

void Check(bool condition) {
    if (!condition)
        __builtin_trap();
}

struct TModel {
    TKovObjectManager Manager;
    std::unique_ptr<TQBProject> Project;
    TModel() {
        Manager.LockRevert();
        Project = Make<TQBProject>(
            &Manager,
            TMaterialXFactory::CreateSoilMaterialX(nullptr, "Sand", mxsmmHardeningSoil, nullptr),
            tm2D);
        Manager.UnlockRevert();
        Manager.ClearRevertStacks();
    }
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    fuzzing::QuietSingleThreadedLab();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static TModel model; // searching changes nothing, so one project serves every input
    if (size == 0)
        return 0;
    const std::string line(reinterpret_cast<const char*>(data) + 1, size - 1);
    const int caret = data[0] % (static_cast<int>(line.size()) + 1);
    const TAutoCompleter completer(model.Project->Commands().Interpreter());
    const TAutoCompleteResults results = completer.Search(line, caret);
    Check(results.Count() <= TAutoCompleter::MaxMatches);
    Check(results.Matches.size() == results.Infos.size());
    Check(results.LeftText + results.FixedText + results.RightText == line);
    for (int i = 0; i < results.Count(); ++i) {
        int at = -1;
        const std::string taken = results.Apply(i, at);
        Check(at >= 0 && at <= static_cast<int>(taken.size()));
        Check(taken.compare(0, at, results.LeftText + results.Matches[static_cast<size_t>(i)]) ==
              0);
    }
    Check(model.Manager.UndoCount() == 0);
    return 0;
}
