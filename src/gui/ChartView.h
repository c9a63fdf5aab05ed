#pragma once
// One chart of a test page drawn with Qt Charts: the series of a TChart in their colours and pens,
// both axes with their titles, flips and logarithmic scales, tick labels as the chart logic writes
// them, and equal scales on an orthonormal chart (Mohr circles stay round whatever the size).
//
// The mouse: the point readout "|(x; y)" under the cursor inside the plot area; a click selects
// the nearest point of a test's curve (with shift or control a pair); a drag pans, the wheel zooms
// about the cursor, a double click goes back to the automatic ranges. The context menu has the
// tangent and secant at the selected point, the exports (PNG, SVG, CSV) and the chart's own
// actions, which the page carries out.

#include "presentation/Chart.h"
#include "presentation/TableModels.h"

#include <QChartView>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class QAbstractAxis;
class QGraphicsSimpleTextItem;
class QLineSeries;
class QScatterSeries;

namespace tw {

class TChartView : public QChartView {
    Q_OBJECT
public:
    // `chart` must outlive the view. `units` are those of the chart frame.
    TChartView(TChart& model, const IQuantityPresenter* units, QWidget* parent = nullptr);
    ~TChartView() override;

    TChart& Chart() const { return FChart; }
    // The numbers behind the chart: the results table, the derived values, the phase selector.
    TQBChartTablePanelExt& TablePanel() const { return *FPanel; }

    // Draws the chart's series anew (after the frame refilled them) at the automatic ranges.
    void Refill();

    // The ranges shown, and the maps between values and pixels of the chart's own coordinates.
    TAxisRange XRange() const { return FXRange; }
    TAxisRange YRange() const { return FYRange; }
    void Mappings(TAxisMapping& x, TAxisMapping& y) const;
    bool IsZoomed() const { return FZoomed; }
    // Back to the automatic ranges.
    void ResetZoom();
    // Scales both ranges by `factor` about the value under `pixel` (below 1 zooms in).
    void ZoomAt(QPointF pixel, double factor);
    // Moves the ranges so that the value under `from` comes under `to`.
    void Pan(QPointF from, QPointF to);

    // The readout at a pixel of the chart, or nothing outside the plot area.
    std::optional<std::string> ReadoutAt(QPointF pixel) const;
    // What a click does at a pixel of the chart.
    void ClickAt(QPointF pixel, TSelectModifier modifier);
    // Draws the tangent and secant at the latest selected point; false without one.
    bool ShowTangentAndSecant();

    // Exports; a failure is shown in a message box and answers false.
    bool ExportPng(const QString& fileName);
    bool ExportSvg(const QString& fileName);
    bool ExportCsv(const QString& fileName);

    // The plot area in pixels of this view.
    QRectF PlotArea() const;

signals:
    // The user picked points (or cleared them); the panel has taken the selection.
    void SelectionChanged(TChartView* view);
    // The user worked on this chart: it becomes the page's current chart.
    void Activated(TChartView* view);
    // The page's actions on this chart.
    void HideRequested(TChartView* view);
    void EditRequested(TChartView* view);
    void DeleteRequested(TChartView* view);
    void AddRequested(TChartView* view);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    void BuildSeries();
    // The points of every drawn run for the present ranges and plot area.
    void FillRuns();
    void UpdateSelectionMarkers();
    void ApplyRanges();
    void SetAxisRange(QAbstractAxis* axis, const TAxisRange& range);
    QAbstractAxis* MakeAxis(const TChartAxis& settings);
    QPointF ChartPoint(QPointF viewPixel) const;
    void ShowReadout(QPointF viewPixel);
    // An export by the chart logic; a failure is shown.
    bool ExportBy(const std::function<void(const std::string& fileName)>& save,
                  const QString& fileName);

    // A stretch of a series' points that the axes can show, drawn by one Qt line series.
    struct TDrawnRun {
        QLineSeries* Line;
        size_t Series;
        size_t First, End;
    };

    TChart& FChart;
    std::vector<TDrawnRun> FRuns;
    const IQuantityPresenter* FUnits;
    std::unique_ptr<TQBChartTablePanelExt> FPanel;
    QAbstractAxis* FXAxis = nullptr;
    QAbstractAxis* FYAxis = nullptr;
    QScatterSeries* FSelection = nullptr;
    QGraphicsSimpleTextItem* FReadout = nullptr;
    TAxisRange FXRange, FYRange;
    bool FZoomed = false;
    bool FApplyingRanges = false;
    std::optional<QPointF> FPressAt, FLastDragAt;
    bool FDragging = false;
};

} // namespace tw
