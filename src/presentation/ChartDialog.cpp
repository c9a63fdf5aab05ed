#include "presentation/ChartDialog.h"

#include "objects/UpdateBracket.h"
#include "presentation/CaptionMarkup.h"
#include "services/Format.h"
#include "services/Localisation.h"

#include <algorithm>

namespace tw {

namespace {
bool ResultsHave(const TQBResults& results, TQBResultType type) {
    for (int row = 0; row < results.RowCount(); ++row)
        if (results.GetIsSetByType(row, type))
            return true;
    return false;
}
} // namespace

TAxisDialogModel::TAxisDialogModel(const TQBAxisSettings& axis, const TQBResults* results)
    : InvertSign(axis.InvertSign()), FlipAxis(axis.FlipAxis()), Logarithmic(axis.Logarithmic()),
      Title(axis.Title()), FStrainSelection(axis.StrainSelection()),
      FStressSelection(axis.StressSelection()) {
    const TQBResultType own = axis.ResultType();
    for (int t = 0; t < QBResultTypeCount; ++t) {
        const auto type = static_cast<TQBResultType>(t);
        if (type == rtNone && type != own)
            continue;
        if (type == own || (results && ResultsHave(*results, type)))
            FItems[ResultTypeInfo(type).Axis].push_back(type);
    }
    SelectType(own);
}

std::vector<std::string> TAxisDialogModel::ItemCaptions(TQBAxisCategory category) const {
    std::vector<std::string> captions;
    for (TQBResultType type : FItems[category])
        captions.push_back(CaptionToPlainText(Translate(ResultTypeInfo(type).Caption)));
    return captions;
}

std::vector<TQBAxisCategory> TAxisDialogModel::Categories() const {
    std::vector<TQBAxisCategory> categories;
    for (int c = 0; c < QBAxisCategoryCount; ++c)
        if (!FItems[c].empty())
            categories.push_back(static_cast<TQBAxisCategory>(c));
    return categories;
}

void TAxisDialogModel::Select(TQBAxisCategory category, int index) {
    if (category < 0 || category >= QBAxisCategoryCount || index < 0 ||
        index >= static_cast<int>(FItems[category].size()))
        throw EKovException(Format("No entry %d in the list of axis category %d", index,
                                   static_cast<int>(category)));
    FCategory = category;
    FItemIndex = index;
    if (category == acStrain)
        FStrainSelection = index;
    else if (category == acStress)
        FStressSelection = index;
}

bool TAxisDialogModel::SelectType(TQBResultType type) {
    const TQBAxisCategory category = ResultTypeInfo(type).Axis;
    const auto& items = FItems[category];
    const auto it = std::find(items.begin(), items.end(), type);
    if (it == items.end())
        return false;
    Select(category, static_cast<int>(it - items.begin()));
    return true;
}

void TAxisDialogModel::ApplyTo(TQBAxisSettings& axis) const {
    TUpdateBracket<TQBAxisSettings> bracket(axis);
    axis.SetResultType(ResultType());
    axis.SetInvertSign(InvertSign);
    axis.SetFlipAxis(FlipAxis);
    axis.SetLogarithmic(Logarithmic);
    axis.SetTitle(Title);
    axis.SetStrainSelection(FStrainSelection);
    axis.SetStressSelection(FStressSelection);
    bracket.Close();
}

TChartDialogModel::TChartDialogModel(const TQBChartSettings& settings, TQBChartSettings* target,
                                     const TQBResults* results)
    : Title(settings.Title()), Orthonormal(settings.Orthonormal()),
      FChartType(settings.ChartType()), FTarget(target), FX(settings.XAxis(), results),
      FY(settings.YAxis(), results) {}

void TChartDialogModel::ApplyTo(TQBChartSettings& settings) const {
    TUpdateBracket<TQBChartSettings> bracket(settings);
    settings.SetTitle(Title);
    settings.SetOrthonormal(Orthonormal);
    FX.ApplyTo(settings.XAxis());
    FY.ApplyTo(settings.YAxis());
    bracket.Close();
}

} // namespace tw
