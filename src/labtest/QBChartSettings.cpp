#include "labtest/QBChartSettings.h"
#include "labtest/QBPropertyNames.h"

#include <climits>

namespace tw {

namespace {
// Indexed by TQBChartType. Stresses and strains carry the kernel's sign (compression negative);
// a flipped axis shows compression growing to the right or upwards.
const TQBChartTypeInfo ChartTypes[QBChartTypeCount] = {
    {"Custom", rtEps1, rtEps1, false, false, 130},
    {"S3S1", rtSig3, rtSig1, true, true, 50},
    {"PQ", rtP, rtQ, true, false, 60},
    {"Mohr", rtSig, rtTau, true, false, 70},
    {"E1DS", rtEps1, rtSig1MinSig3, true, false, 10},
    {"E1Ev", rtEps1, rtEpsV, true, false, 20},
    {"E1PExcess", rtEps1, rtPExcess, true, true, 30},
    {"E1S1", rtEps1, rtSig1, true, false, 40},
    {"TE1", rtT, rtEps1, false, false, 80},
    {"TS1", rtT, rtSig1, false, false, 80},
    {"TxyGxy", rtGamXY, rtTauXY, false, false, 40},
    {"EyySyy", rtEpsYY, rtSigYY, true, true, 40},
    {"SxxSyy", rtSigXX, rtSigYY, true, true, 50},
    {"TEyy", rtT, rtEpsYY, false, false, 80},
    {"GxyPExcess", rtGamXY, rtPExcess, false, true, 90},
    {"σ3σ1", rtSig3, rtSig1, false, false, 100},
    {"EyyPExcess", rtEpsYY, rtPExcess, false, false, 110},
    {"EyyEv", rtEpsYY, rtEpsV, false, false, 110},
    {"Tσyy", rtT, rtSigYY, false, false, 80},
    {"p_PMT# u_x# / R_0#", rtEpsXX, rtSigXXTotal, false, false, 120},
    {"p_PMT# ΔV / V_0#", rtEpsV, rtSigXXTotal, false, false, 130},
    {"EyyDS", rtEpsYY, rtSig1MinSig3, true, false, 10},
    {"E1Suc", rtEps1, rtSuction, true, false, 140},
    {"E1Sat", rtEps1, rtSaturation, true, false, 150},
    {"EvTemp", rtEpsV, rtTemperature, true, false, 160},
};
} // namespace

const TQBChartTypeInfo& ChartTypeInfo(TQBChartType type) {
    return ChartTypes[static_cast<int>(type)];
}

const std::vector<std::string>& ChartTypeStrings() {
    static const std::vector<std::string> values{
        "ctCustom", "ctS3S1",  "ctPQ",    "ctMohr",   "ctE1DS",   "ctE1Ev",   "ctE1Pw",
        "ctE1S1",   "ctTE1",   "ctTS1",   "ctTxyGxy", "ctEyySyy", "ctSxxSyy", "ctTEyy",
        "ctGxyPw",  "ctQ3Q1",  "ctEyyPw", "ctEyyEv",  "ctTQyy",   "ctExxSxx", "ctEvSxx",
        "ctEyyDS",  "ctE1Suc", "ctE1Sat", "ctEvTemp"};
    return values;
}

const std::vector<std::string>& ResultTypeStrings() {
    static const std::vector<std::string> values{"rtEps1",
                                                 "rtSig1",
                                                 "rtSig2",
                                                 "rtSig3",
                                                 "rtSig1MinSig3",
                                                 "rtEpsV",
                                                 "rtPExcess",
                                                 "rtP",
                                                 "rtQ",
                                                 "rtT",
                                                 "rtSig",
                                                 "rtTau",
                                                 "rtEpsXX",
                                                 "rtEpsYY",
                                                 "rtEpsZZ",
                                                 "rtGamXY",
                                                 "rtGamYZ",
                                                 "rtGamZX",
                                                 "rtSigXX",
                                                 "rtSigYY",
                                                 "rtSigZZ",
                                                 "rtTauXY",
                                                 "rtTauYZ",
                                                 "rtTauZX",
                                                 "rtSig1PlusSig3Div2",
                                                 "rtSig1MinSig3Div2",
                                                 "rtEps2",
                                                 "rtEps3",
                                                 "rtSigYYMinSigXXDiv2",
                                                 "rtEpsQ",
                                                 "rtSigXXTotal",
                                                 "rtSigYYTotal",
                                                 "rtSigZZTotal",
                                                 "rtPTotal",
                                                 "rtSigYYPlusSigXXDiv2",
                                                 "rtPw",
                                                 "rtPActive",
                                                 "rtSaturation",
                                                 "rtSaturationEffective",
                                                 "rtSaturationUnfrozenWater",
                                                 "rtSuction",
                                                 "rtTemperature",
                                                 "rtNone"};
    return values;
}

// ---------------------------------------------------------------------------------------------
// TQBAxisSettings

TW_KOV_CLASS_IMPL(TQBAxisSettings, TKovObservableObject, &TQBAxisSettings::DeclareProperties)

void TQBAxisSettings::DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
    list.AddTypedEnumeration<TQBResultType>(ip::ResultType.Name, ResultTypeStrings());
    list.AddBoolean(ip::InvertedSign.Name, 0, "Inverse sign");
    list.AddBoolean(ip::Flipped.Name, 0, "Flip axis");
    list.AddBoolean(ip::Logarithmic.Name, 0, "Logarithmic");
    list.AddInteger(ip::StrainSelection.Name, ipkNotPublished, "", INT_MIN, INT_MAX);
    list.AddInteger(ip::StressSelection.Name, ipkNotPublished, "", INT_MIN, INT_MAX);
    list.AddText(ip::Title.Name, 0, "Title");
}

TQBResultType TQBAxisSettings::ResultType() const {
    return static_cast<TQBResultType>(Property(ip::ResultType).IntValue());
}
void TQBAxisSettings::SetResultType(TQBResultType type) {
    Property(ip::ResultType).SetIntValue(type);
}
bool TQBAxisSettings::InvertSign() const {
    return Property(ip::InvertedSign).Value();
}
void TQBAxisSettings::SetInvertSign(bool invert) {
    Property(ip::InvertedSign).SetValue(invert);
}
bool TQBAxisSettings::FlipAxis() const {
    return Property(ip::Flipped).Value();
}
void TQBAxisSettings::SetFlipAxis(bool flip) {
    Property(ip::Flipped).SetValue(flip);
}
bool TQBAxisSettings::Logarithmic() const {
    return Property(ip::Logarithmic).Value();
}
void TQBAxisSettings::SetLogarithmic(bool logarithmic) {
    Property(ip::Logarithmic).SetValue(logarithmic);
}
int TQBAxisSettings::StrainSelection() const {
    return Property(ip::StrainSelection).Value();
}
void TQBAxisSettings::SetStrainSelection(int selection) {
    Property(ip::StrainSelection).SetValue(selection);
}
int TQBAxisSettings::StressSelection() const {
    return Property(ip::StressSelection).Value();
}
void TQBAxisSettings::SetStressSelection(int selection) {
    Property(ip::StressSelection).SetValue(selection);
}
std::string TQBAxisSettings::Title() const {
    return Property(ip::Title).Value();
}
void TQBAxisSettings::SetTitle(const std::string& title) {
    Property(ip::Title).SetValue(title);
}

// ---------------------------------------------------------------------------------------------
// TQBChartSettings

TW_KOV_CLASS_IMPL(TQBChartSettings, TKovObservableObject, &TQBChartSettings::DeclareProperties)

void TQBChartSettings::DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
    list.AddText(ip::Title.Name, 0, "Title");
    list.AddBoolean(ip::Orthonormal.Name, 0, "Orthonormal");
    list.AddBoolean(ip::IsVisible.Name, 0, "Visible");
    list.AddTypedEnumeration<TQBChartType>(ip::ChartType.Name, ChartTypeStrings(), ipkReadOnly);
    list.AddBoolean(ip::Selected.Name, ipkNotPublished);
}

TQBChartSettings::TQBChartSettings(TKovObjectManager* manager)
    : TKovObservableObject(manager), FXAxis(Make<TQBAxisSettings>(manager)),
      FYAxis(Make<TQBAxisSettings>(manager)) {}

std::string TQBChartSettings::Title() const {
    return Property(ip::Title).Value();
}
void TQBChartSettings::SetTitle(const std::string& title) {
    Property(ip::Title).SetValue(title);
}
bool TQBChartSettings::Orthonormal() const {
    return Property(ip::Orthonormal).Value();
}
void TQBChartSettings::SetOrthonormal(bool orthonormal) {
    Property(ip::Orthonormal).SetValue(orthonormal);
}
bool TQBChartSettings::Visible() const {
    return Property(ip::IsVisible).Value();
}
void TQBChartSettings::SetVisible(bool visible) {
    Property(ip::IsVisible).SetValue(visible);
}
TQBChartType TQBChartSettings::ChartType() const {
    return static_cast<TQBChartType>(Property(ip::ChartType).IntValue());
}
void TQBChartSettings::SetChartType(TQBChartType type) {
    Property(ip::ChartType).SetIntValue(type);
}
bool TQBChartSettings::Selected() const {
    return Property(ip::Selected).Value();
}
void TQBChartSettings::SetSelected(bool selected) {
    Property(ip::Selected).SetValue(selected);
}

std::unique_ptr<TQBChartSettings> TQBChartSettings::Clone() const {
    auto clone = Make<TQBChartSettings>(ObjectManager());
    clone->CopyIntrinsicPropertiesFrom(*this, cipoIncludeReadonly);
    clone->FSortIndex = FSortIndex;
    if (FXAxis && FYAxis) {
        clone->FXAxis->CopyIntrinsicPropertiesFrom(*FXAxis, cipoIncludeReadonly);
        clone->FYAxis->CopyIntrinsicPropertiesFrom(*FYAxis, cipoIncludeReadonly);
    }
    return clone;
}

// ---------------------------------------------------------------------------------------------
// TQBChartSettingsList

TW_KOV_CLASS_IMPL(TQBChartSettingsList, TKovObservableObjectList, nullptr)

TQBChartSettings& TQBChartSettingsList::AddDefault(TQBChartType type) {
    const TQBChartTypeInfo& info = ChartTypeInfo(type);
    auto settings = Make<TQBChartSettings>(ObjectManager());
    settings->SetChartType(type);
    settings->SetTitle(info.StoredTitle);
    settings->SetOrthonormal(type == ctMohr);
    settings->SetVisible(true);
    settings->SetSortIndex(info.Order);
    settings->XAxis().SetResultType(info.X);
    settings->XAxis().SetFlipAxis(info.FlipX);
    settings->YAxis().SetResultType(info.Y);
    settings->YAxis().SetFlipAxis(info.FlipY);
    TQBChartSettings* added = settings.release();
    Add(added);
    return *added;
}

TQBChartSettings* TQBChartSettingsList::ByChartType(TQBChartType type) const {
    for (int i = 0; i < Count(); ++i)
        if (GetItems(i)->ChartType() == type)
            return GetItems(i);
    return nullptr;
}

bool TQBChartSettingsList::RemoveChartType(TQBChartType type) {
    bool removed = false;
    for (int i = Count() - 1; i >= 0; --i)
        if (GetItems(i)->ChartType() == type) {
            Delete(i);
            removed = true;
        }
    return removed;
}

void TQBChartSettingsList::EnsureChartType(TQBChartType type, bool wanted) {
    if (wanted) {
        if (!ByChartType(type))
            AddDefault(type);
    } else {
        RemoveChartType(type);
    }
}

void TQBChartSettingsList::CopyFrom(const TQBChartSettingsList& source) {
    Clear();
    for (int i = 0; i < source.Count(); ++i)
        Add(source.GetItems(i)->Clone().release());
}

} // namespace tw
