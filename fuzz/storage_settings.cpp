// Reads arbitrary bytes as a settings file, as the program reads the user's settings: through a
// file named "*.settings.xml", with errors reported. What could be read must survive a save and a
// second read unchanged, and serve as a stack of recent files.

#include "FuzzFiles.h"

#include "objects/IntrinsicProperty.h"
#include "storage/SettingsStack.h"

#include <cmath>
#include <cstdlib>
#include <string>

namespace {

using namespace tw;

// Read errors are what bad input gives; one attempt, as nobody else writes these files.
template <typename T> std::unique_ptr<T> Reader() {
    auto settings = Make<T>();
    settings->SetAttempts(1, std::chrono::milliseconds(0));
    settings->SetReportPersistenceErrors(true);
    return settings;
}

bool SameValue(const TKovSettings::TSettingValue& a, const TKovSettings::TSettingValue& b) {
    if (a.Kind != b.Kind)
        return false;
    if (VarIsFloat(a.Value) && VarIsFloat(b.Value) && std::isnan(std::get<double>(a.Value)))
        return std::isnan(std::get<double>(b.Value));
    return a.Value == b.Value;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const fuzzing::TFuzzFile input(".settings.xml");
    static const fuzzing::TFuzzFile saved("_saved.settings.xml");
    input.Write(data, size);
    auto settings = Reader<TKovSettingsStackNoDuplicateStrings>();
    try {
        settings->LoadFromFile(input.Path);
    } catch (const EKovException&) {
        return 0;
    }
    // A file it could read, it writes and reads back as it was.
    settings->SaveToFile(saved.Path);
    auto again = Reader<TKovSettingsWithDefault>();
    again->LoadFromFile(saved.Path);
    if (again->SettingsCount() != settings->SettingsCount())
        std::abort();
    for (int i = 0; i < settings->SettingsCount(); ++i) {
        const std::string key = settings->Setting(i).Name();
        if (!SameValue(settings->GetSettingValue(key), again->GetSettingValue(key)))
            std::abort();
    }
    settings->PushString(settings->GetString(0, "recent.twt.kovml"));
    settings->PushString(settings->GetString(settings->Count() - 1));
    settings->SetMaxStackSize(2);
    settings->MoveTo(0, settings->Count() - 1);
    return 0;
}
