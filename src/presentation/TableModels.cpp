#include "presentation/TableModels.h"

#include "labtest/QBPhase.h"
#include "presentation/CaptionMarkup.h"
#include "presentation/ChartExport.h"
#include "services/Format.h"
#include "services/Localisation.h"

#include <algorithm>
#include <cmath>

namespace tw {

std::string TPresentationTable::HeaderText(int column) const {
    const std::string caption = CaptionToPlainText(HeaderCaption(column));
    const std::string unit = HeaderUnit(column);
    return unit.empty() ? caption : caption + " [" + unit + "]";
}

std::string TPresentationTable::SetCellText(int /*row*/, int /*column*/,
                                            const std::string& /*text*/) {
    return Translate("This cell can't be edited.");
}

std::string FormatCellValue(double value) {
    if (std::isnan(value))
        return "NaN";
    // A slope of a flat stretch of a falling curve is -0: it reads as 0.
    return Format("%.6g", value == 0.0 ? 0.0 : value);
}

// ---------------------------------------------------------------------------------------------
// TQBResultsTable

TQBResultsTable::TQBResultsTable(const TQBChartSettings& settings, const IQuantityPresenter* units)
    : FSettings(settings), FUnits(units),
      FObserver(TObserver::TOnNotify([this](TNotifySender) { NotifyReset(); })) {
    // The settings are observed only to be read: a change of axis rewrites the table.
    auto& observable = const_cast<TQBChartSettings&>(FSettings);
    observable.AttachObserver(&FObserver);
    observable.XAxis().AttachObserver(&FObserver);
    observable.YAxis().AttachObserver(&FObserver);
}

TQBResultsTable::~TQBResultsTable() = default;

void TQBResultsTable::SetTableData(const TQBResults* results) {
    if (results == FTableData)
        return;
    if (FTableData)
        const_cast<TQBResults*>(FTableData)->DetachObserver(&FObserver);
    FTableData = results;
    FSelectedRows.clear();
    if (FTableData)
        const_cast<TQBResults*>(FTableData)->AttachObserver(&FObserver);
    NotifyReset();
}

void TQBResultsTable::SetRowRange(int first, int count) {
    FFirstRow = std::max(first, 0);
    FRowLimit = std::max(count, 0);
    NotifyReset();
}

void TQBResultsTable::ClearRowRange() {
    FFirstRow = 0;
    FRowLimit = -1;
    NotifyReset();
}

int TQBResultsTable::RowCount() const {
    if (!FTableData)
        return 0;
    const int available = std::max(FTableData->RowCount() - FFirstRow, 0);
    return FRowLimit < 0 ? available : std::min(available, FRowLimit);
}

const TQBAxisSettings& TQBResultsTable::Axis(int column) const {
    return column == 0 ? FSettings.XAxis() : FSettings.YAxis();
}

std::string TQBResultsTable::HeaderCaption(int column) const {
    const TQBAxisSettings& axis = Axis(column);
    const std::string title = axis.Title();
    return Translate(title.empty() ? ResultTypeInfo(axis.ResultType()).Caption : title);
}

std::string TQBResultsTable::HeaderUnit(int column) const {
    const TQBResultTypeInfo& info = ResultTypeInfo(Axis(column).ResultType());
    return FUnits && info.HasQuantity ? FUnits->PresentationUnitText(info.Quantity) : "";
}

double TQBResultsTable::CellValue(int row, int column) const {
    const TQBAxisSettings& axis = Axis(column);
    return ChartValue(*FTableData, ResultRow(row), axis.ResultType(), FUnits, axis.InvertSign());
}

std::string TQBResultsTable::CellText(int row, int column) const {
    return FormatCellValue(CellValue(row, column));
}

void TQBResultsTable::SetSelectedRows(std::vector<int> rows) {
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    if (rows == FSelectedRows)
        return;
    FSelectedRows = std::move(rows);
    NotifyReset();
}

bool TQBResultsTable::IsObjectSelected(int resultRow) const {
    return std::binary_search(FSelectedRows.begin(), FSelectedRows.end(), resultRow);
}

// ---------------------------------------------------------------------------------------------
// TQBDerivedValuesTable

TQBDerivedValuesTable::TQBDerivedValuesTable() {
    FTangent.Caption = "Tangent";
    FSecant.Caption = "Secant";
}

void TQBDerivedValuesTable::SetValues(std::optional<double> tangent, std::optional<double> secant) {
    FTangent.IsAssigned = tangent.has_value();
    FTangent.Value = tangent.value_or(0.0);
    FSecant.IsAssigned = secant.has_value();
    FSecant.Value = secant.value_or(0.0);
    NotifyReset();
}

std::string TQBDerivedValuesTable::HeaderCaption(int column) const {
    return column == 0 ? "" : Translate("Value");
}

std::string TQBDerivedValuesTable::CellText(int row, int column) const {
    const TDerivedDouble& value = row == 0 ? FTangent : FSecant;
    if (column == 0)
        return Translate(value.Caption);
    return value.IsAssigned ? FormatCellValue(value.Value) : "";
}

// ---------------------------------------------------------------------------------------------
// TPhaseSelector

std::string TPhaseSelector::Caption() {
    return Translate("Selected phase");
}

void TPhaseSelector::SetPhasesCount(int count) {
    count = std::max(count, 0);
    FPhasesCount = count;
    if (FPhaseIndex >= count || FPhaseIndex < 0)
        FPhaseIndex = count > 0 ? 0 : -1;
    FObservable.NotifyObservers(this);
}

std::vector<std::string> TPhaseSelector::Entries() const {
    std::vector<std::string> entries;
    for (int i = 1; i <= FPhasesCount; ++i)
        entries.push_back(Format(Translate("Phase %d"), i));
    return entries;
}

void TPhaseSelector::SetPhaseIndex(int index) {
    if (index < 0 || index >= FPhasesCount)
        throw EKovException(Format("There is no phase %d to select", index + 1));
    if (index == FPhaseIndex)
        return;
    FPhaseIndex = index;
    FObservable.NotifyObservers(this);
}

std::optional<TRowRange> PhaseRows(const TQBTestBase& test, int writtenPhase) {
    if (writtenPhase < 0)
        return std::nullopt;
    const TQBPhaseList& phases = test.Phases();
    int phase = 0; // written phases so far
    int row = 0;   // the row each starts from
    auto visit = [&](const TQBPhase& p) -> std::optional<TRowRange> {
        const int steps = std::max(p.Steps(), 0);
        if (phase++ == writtenPhase)
            return TRowRange{row, steps + 1};
        row += steps;
        return std::nullopt;
    };
    // The walk of the kernel input: a phase that starts a cyclic definition comes with all its
    // cycles, and the walk goes on behind the definition's last phase.
    for (int i = 0; i < phases.Count(); ++i) {
        const std::optional<TQBCyclicPhases*> cyclic =
            test.GetCyclicPhasesForStartPhase(&phases[i]);
        const int last = cyclic ? phases.IndexOf((*cyclic)->LastPhase()) : -1;
        if (last > i) {
            for (int cycle = 0; cycle < (*cyclic)->Cycles(); ++cycle)
                for (int j = i; j <= last; ++j)
                    if (auto range = visit(phases[j]))
                        return range;
            i = last;
        } else if (auto range = visit(phases[i])) {
            return range;
        }
    }
    return std::nullopt;
}

// ---------------------------------------------------------------------------------------------
// TQBChartTablePanel

TQBChartTablePanel::TQBChartTablePanel(const TQBChartSettings& settings,
                                       const IQuantityPresenter* units)
    : FSettings(settings), FUnits(units), FTable(settings, units) {}

TQBResults& TQBChartTablePanel::AddContent(std::unique_ptr<TQBResults> content) {
    if (!content)
        throw EKovException("No content to add");
    FContentObjects.push_back(std::move(content));
    TQBResults& added = *FContentObjects.back();
    FTable.SetTableData(&added);
    return added;
}

TQBResults& TQBChartTablePanel::AddContent(std::span<const double> x, std::span<const double> y) {
    if (x.size() != y.size())
        throw EKovException("The number of x values should match the number of y values");
    auto content = Make<TQBResults>(nullptr);
    const TQBAxisSettings* axes[2] = {&FSettings.XAxis(), &FSettings.YAxis()};
    const TQBResultType types[2] = {axes[0]->ResultType(), axes[1]->ResultType()};
    for (size_t i = 0; i < x.size(); ++i) {
        const int row = content->AddNewRow();
        const double values[2] = {x[i], y[i]};
        for (int a = 0; a < 2; ++a) {
            const TQBResultTypeInfo& info = ResultTypeInfo(types[a]);
            double value = axes[a]->InvertSign() ? -values[a] : values[a];
            if (FUnits && info.HasQuantity)
                value = FUnits->FromPresentation(info.Quantity, value);
            content->SetValueByType(row, types[a], value);
        }
    }
    return AddContent(std::move(content));
}

TQBResults& TQBChartTablePanel::AddContentFrom(const TQBResults& results) {
    auto content = Make<TQBResults>(nullptr);
    content->CopyFrom(results);
    return AddContent(std::move(content));
}

TQBResults& TQBChartTablePanel::AddContentFrom(const TQBTestBase& test) {
    return AddContentFrom(test.Results());
}

std::vector<TChartSeries> TQBChartTablePanel::ContentSeries() const {
    std::vector<TChartSeries> series;
    for (size_t i = 0; i < FContentObjects.size(); ++i) {
        TChartSeries curve;
        curve.Caption = Format("%s %d", Translate("Content"), static_cast<int>(i) + 1);
        curve.Kind = TChartSeriesKind::Content;
        curve.Color = 0x000000;
        ChartColumn(*FContentObjects[i], FSettings.XAxis().ResultType(), FUnits,
                    FSettings.XAxis().InvertSign(), curve.X);
        ChartColumn(*FContentObjects[i], FSettings.YAxis().ResultType(), FUnits,
                    FSettings.YAxis().InvertSign(), curve.Y);
        series.push_back(std::move(curve));
    }
    return series;
}

void TQBChartTablePanel::ShowSelection(const TChart& chart,
                                       const IQuantityPresenter* derivedUnits) {
    const std::optional<TChartPointRef> latest = chart.Selection().Latest();
    const TChartSeries* curve =
        latest && latest->Series >= 0 && latest->Series < static_cast<int>(chart.Series().size())
            ? &chart.Series()[latest->Series]
            : nullptr;
    if (!curve || curve->Kind != TChartSeriesKind::Data || !curve->Test) {
        FTable.SetSelectedRows({});
        FDerivedParams.Clear();
        return;
    }
    FTable.SetTableData(&curve->Test->Results());
    std::vector<int> rows;
    for (const TChartPointRef& point : chart.Selection().Points())
        if (point.Series == latest->Series)
            rows.push_back(point.Point);
    FTable.SetSelectedRows(std::move(rows));
    const std::optional<TTangentAndSecant> values =
        TangentAndSecantAt(chart, *latest, derivedUnits);
    if (values)
        FDerivedParams.SetValues(values->Tangent, values->Secant);
    else
        FDerivedParams.Clear();
}

std::string TQBChartTablePanel::DumpContentValues() const {
    std::string text;
    const TQBAxisSettings& x = FSettings.XAxis();
    const TQBAxisSettings& y = FSettings.YAxis();
    for (const auto& content : FContentObjects)
        for (int row = 0; row < content->RowCount(); ++row)
            text += Format("%e\t%e\n",
                           ChartValue(*content, row, x.ResultType(), FUnits, x.InvertSign()),
                           ChartValue(*content, row, y.ResultType(), FUnits, y.InvertSign()));
    return text;
}

void TQBChartTablePanel::DumpContentValuesTo(const std::string& fileName) const {
    SaveTextFile(fileName, DumpContentValues());
}

TQBResults& TQBChartTablePanelExt::AddContent(std::unique_ptr<TQBResults> content) {
    TQBResults& added = TQBChartTablePanel::AddContent(std::move(content));
    FLastAddedContent = &added;
    return added;
}

} // namespace tw
