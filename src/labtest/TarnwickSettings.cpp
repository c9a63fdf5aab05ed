#include "labtest/TarnwickSettings.h"

#include "services/Format.h"

namespace tw {

TW_KOV_CLASS_IMPL(TTarnwickSettings, TKovSettingsWithDefault, nullptr)

namespace {
constexpr const char* AdditionalKey = "Additional";

std::string DefaultsKey(TQBTestType type) {
    return Format("Defaults_%s", TestClassTypeName(type));
}
} // namespace

TTarnwickSettings::TTarnwickSettings(TKovObjectManager* manager)
    : TKovSettingsWithDefault(manager), FFileName(MakeDefaultSettingsFileName()) {}

std::unique_ptr<TTarnwickSettings> TTarnwickSettings::Open(const std::string& fileName) {
    auto settings = Make<TTarnwickSettings>();
    settings->SetFileName(fileName);
    settings->Load();
    return settings;
}

void TTarnwickSettings::SetFileName(const std::string& fileName) {
    FFileName = fileName.empty() ? MakeDefaultSettingsFileName() : fileName;
}

TQBAdditionalLines TTarnwickSettings::Additional() const {
    const int32_t value = GetInteger(AdditionalKey, adCurrent);
    return value == adAll || value == adNone ? static_cast<TQBAdditionalLines>(value) : adCurrent;
}

void TTarnwickSettings::SetAdditional(TQBAdditionalLines lines) {
    SetInteger(AdditionalKey, lines);
}

std::string TTarnwickSettings::GetDefaultsFileName(TQBTestType type) const {
    return GetString(DefaultsKey(type));
}

bool TTarnwickSettings::HasDefaultsFileName(TQBTestType type) const {
    return HasSetting(DefaultsKey(type));
}

void TTarnwickSettings::SetDefaultsFileName(TQBTestType type, const std::string& fileName) {
    if (fileName.empty())
        RemoveSetting(DefaultsKey(type));
    else
        SetString(DefaultsKey(type), fileName);
}

} // namespace tw
