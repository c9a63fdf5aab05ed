#include "gui/ChartView.h"

#include "gui/QtText.h"
#include "presentation/ChartExport.h"
#include "services/Format.h"
#include "services/Localisation.h"
#include "services/UserMessages.h"

#include <QCategoryAxis>
#include <QContextMenuEvent>
#include <QFileDialog>
#include <QGraphicsSimpleTextItem>
#include <QLegendMarker>
#include <QLineSeries>
#include <QLogValueAxis>
#include <QMenu>
#include <QMouseEvent>
#include <QSaveFile>
#include <QScatterSeries>
#include <QWheelEvent>

#include <cmath>

namespace tw {

namespace {

// A press and release closer than this many pixels is a click, farther a drag.
constexpr double ClickSlop = 4.0;

// Ranges in the axis's own scale: log10 of the values on a logarithmic axis.
double ToScale(double value, bool logarithmic) {
    return logarithmic ? std::log10(value) : value;
}
double FromScale(double value, bool logarithmic) {
    return logarithmic ? std::pow(10.0, value) : value;
}

bool SameRange(const TAxisRange& a, const TAxisRange& b) {
    const double tolerance = 1e-9 * std::max(std::fabs(a.Span()), std::fabs(b.Span()));
    return std::fabs(a.Min - b.Min) <= tolerance && std::fabs(a.Max - b.Max) <= tolerance;
}

} // namespace

TChartView::TChartView(TChart& model, const IQuantityPresenter* units, QWidget* parent)
    : QChartView(new QChart(), parent), FChart(model), FUnits(units),
      FPanel(std::make_unique<TQBChartTablePanelExt>(model.Settings(), units)) {
    setRenderHint(QPainter::Antialiasing, false);
    setMouseTracking(true);
    setMinimumSize(300, 290);
    chart()->legend()->setAlignment(Qt::AlignBottom);
    chart()->setMargins(QMargins(4, 4, 4, 4));
    FReadout = new QGraphicsSimpleTextItem(chart());
    FReadout->setZValue(100);
    connect(chart(), &QChart::plotAreaChanged, this, [this] {
        // Equal scales depend on the plot area's shape, the points drawn on its size.
        if (FApplyingRanges)
            return;
        if (!FZoomed && FChart.Orthonormal())
            ApplyRanges();
        else
            FillRuns();
    });
    Refill();
}

TChartView::~TChartView() = default;

void TChartView::Refill() {
    FZoomed = false;
    BuildSeries();
    // The table shows the main test's results until a point of another curve is picked.
    const TQBTestBase* mainTest = nullptr;
    for (const TChartSeries& series : FChart.Series())
        if (series.Test && series.TestIndex == 0) {
            mainTest = series.Test;
            break;
        }
    FPanel->Table().SetTableData(mainTest ? &mainTest->Results() : nullptr);
    FPanel->Table().ClearRowRange();
    FPanel->SetPhasesCount(mainTest ? mainTest->PhaseCountIncludingCycles() : 0);
    FPanel->ShowSelection(FChart);
}

QAbstractAxis* TChartView::MakeAxis(const TChartAxis& settings) {
    QAbstractAxis* axis = nullptr;
    if (settings.Logarithmic) {
        auto* log = new QLogValueAxis();
        log->setBase(10.0);
        log->setLabelFormat("%g");
        log->setMinorTickCount(8);
        axis = log;
    } else {
        auto* category = new QCategoryAxis();
        category->setLabelsPosition(QCategoryAxis::AxisLabelsPositionOnValue);
        axis = category;
    }
    axis->setReverse(settings.Flipped);
    axis->setTitleText(CaptionWithUnitHtml(settings.Title, settings.UnitText));
    return axis;
}

void TChartView::BuildSeries() {
    QChart* qchart = chart();
    qchart->removeAllSeries();
    for (QAbstractAxis* axis : qchart->axes()) {
        qchart->removeAxis(axis);
        delete axis;
    }
    FSelection = nullptr;
    qchart->setTitle(CaptionHtml(FChart.Title()));
    const TChartAxis& xAxis = FChart.XAxis();
    const TChartAxis& yAxis = FChart.YAxis();
    FXAxis = MakeAxis(xAxis);
    FYAxis = MakeAxis(yAxis);
    qchart->addAxis(FXAxis, Qt::AlignBottom);
    qchart->addAxis(FYAxis, Qt::AlignLeft);

    FRuns.clear();
    for (size_t s = 0; s < FChart.Series().size(); ++s) {
        const TChartSeries& series = FChart.Series()[s];
        // A point a logarithmic axis can't show breaks the curve into runs.
        size_t runFirst = 0, runEnd = 0;
        bool first = true;
        auto flush = [&] {
            if (runEnd == runFirst)
                return;
            auto* line = new QLineSeries();
            line->setName(ToQ(series.Caption));
            QPen pen(ToQColor(series.Color));
            pen.setWidthF(series.PenWidth);
            if (series.Kind == TChartSeriesKind::Tangent || series.Kind == TChartSeriesKind::Secant)
                pen.setStyle(Qt::DashLine);
            line->setPen(pen);
            qchart->addSeries(line);
            line->attachAxis(FXAxis);
            line->attachAxis(FYAxis);
            const bool inLegend = series.InLegend && first;
            for (QLegendMarker* marker : qchart->legend()->markers(line))
                marker->setVisible(inLegend);
            first = false;
            FRuns.push_back({line, s, runFirst, runEnd});
        };
        for (size_t i = 0; i < series.PointCount(); ++i) {
            const double x = series.X[i], y = series.Y[i];
            if (IsDrawable(x, xAxis.Logarithmic) && IsDrawable(y, yAxis.Logarithmic)) {
                if (runEnd == runFirst)
                    runFirst = i;
                runEnd = i + 1;
            } else {
                flush();
                runFirst = runEnd = i + 1;
            }
        }
        flush();
    }
    FSelection = new QScatterSeries();
    FSelection->setMarkerSize(9.0);
    FSelection->setColor(Qt::black);
    FSelection->setBorderColor(Qt::white);
    qchart->addSeries(FSelection);
    FSelection->attachAxis(FXAxis);
    FSelection->attachAxis(FYAxis);
    for (QLegendMarker* marker : qchart->legend()->markers(FSelection))
        marker->setVisible(false);
    UpdateSelectionMarkers();
    ApplyRanges();
}

void TChartView::UpdateSelectionMarkers() {
    if (!FSelection)
        return;
    QList<QPointF> points;
    for (const TChartPointRef& ref : FChart.Selection().Points()) {
        if (ref.Series < 0 || ref.Series >= static_cast<int>(FChart.Series().size()))
            continue;
        const TChartSeries& series = FChart.Series()[ref.Series];
        if (ref.Point >= 0 && ref.Point < static_cast<int>(series.PointCount()))
            points.push_back(QPointF(series.X[ref.Point], series.Y[ref.Point]));
    }
    FSelection->replace(points);
}

void TChartView::SetAxisRange(QAbstractAxis* axis, const TAxisRange& range) {
    if (auto* category = qobject_cast<QCategoryAxis*>(axis)) {
        // Ticks and labels as the chart logic writes them ("#0.###########"), as many as the
        // axis's length holds without labels running into each other (Qt would cut them).
        const bool horizontal = axis->orientation() == Qt::Horizontal;
        const QRectF plot = chart()->plotArea();
        const double length = horizontal ? plot.width() : plot.height();
        const QFontMetrics metrics(category->labelsFont());
        std::vector<double> ticks;
        QStringList labels;
        for (int most = 8; most >= 2; --most) {
            ticks = AxisTicks(range, false, most);
            labels.clear();
            double room = 0.0;
            for (double tick : ticks) {
                labels.push_back(ToQ(FormatAxisLabel(tick)));
                room += horizontal ? metrics.horizontalAdvance(labels.back()) + 10.0
                                   : metrics.height() + 4.0;
            }
            if (length <= 0 || room <= length)
                break;
        }
        for (const QString& label : category->categoriesLabels())
            category->remove(label);
        const double span = range.Span() > 0 ? range.Span() : 1.0;
        category->setStartValue(range.Min - span);
        for (size_t i = 0; i < ticks.size(); ++i)
            category->append(labels[static_cast<qsizetype>(i)], ticks[i]);
    }
    axis->setRange(range.Min, range.Max);
}

void TChartView::ApplyRanges() {
    FApplyingRanges = true;
    if (!FZoomed) {
        const QRectF plot = chart()->plotArea();
        FChart.PlotRanges(plot.width(), plot.height(), FXRange, FYRange);
    }
    SetAxisRange(FXAxis, FXRange);
    SetAxisRange(FYAxis, FYRange);
    FApplyingRanges = false;
    FillRuns();
    if (!FZoomed && FChart.Orthonormal()) {
        // The labels may have changed the plot area: once more, until the ranges settle.
        const QRectF plot = chart()->plotArea();
        TAxisRange x, y;
        FChart.PlotRanges(plot.width(), plot.height(), x, y);
        if (!SameRange(x, FXRange) || !SameRange(y, FYRange)) {
            FApplyingRanges = true;
            FXRange = x;
            FYRange = y;
            SetAxisRange(FXAxis, FXRange);
            SetAxisRange(FYAxis, FYRange);
            FApplyingRanges = false;
            FillRuns();
        }
    }
}

void TChartView::FillRuns() {
    TAxisMapping x, y;
    Mappings(x, y);
    // Before the first layout there is no plot area: a nominal one keeps the work bounded.
    if (!(std::fabs(x.PixelEnd - x.PixelStart) > 1 && std::fabs(y.PixelEnd - y.PixelStart) > 1)) {
        x.PixelStart = y.PixelEnd = 0;
        x.PixelEnd = y.PixelStart = 1000;
    }
    QList<QPointF> points;
    for (const TDrawnRun& run : FRuns) {
        const TChartSeries& series = FChart.Series()[run.Series];
        points.clear();
        // The model keeps every row; Qt draws a polyline through the points that lie at least
        // half a pixel from the last one drawn, and the run's last: the picture is the same
        // within half a pixel, and Qt's work follows the curve's length in pixels rather than
        // its row count (100,000 rows of a long run).
        double lastX = 0, lastY = 0;
        for (size_t i = run.First; i < run.End; ++i) {
            const double px = x.ToPixel(series.X[i]), py = y.ToPixel(series.Y[i]);
            const bool last = i + 1 == run.End;
            if (i == run.First || last || std::fabs(px - lastX) >= 0.5 ||
                std::fabs(py - lastY) >= 0.5 || !std::isfinite(px) || !std::isfinite(py)) {
                points.push_back(QPointF(series.X[i], series.Y[i]));
                lastX = px;
                lastY = py;
            }
        }
        run.Line->replace(points);
    }
}

QRectF TChartView::PlotArea() const {
    return chart()->plotArea();
}

void TChartView::Mappings(TAxisMapping& x, TAxisMapping& y) const {
    const QRectF plot = chart()->plotArea();
    x = {FXRange, plot.left(), plot.right(), FChart.XAxis().Flipped, FChart.XAxis().Logarithmic};
    y = {FYRange, plot.bottom(), plot.top(), FChart.YAxis().Flipped, FChart.YAxis().Logarithmic};
}

void TChartView::ResetZoom() {
    FZoomed = false;
    ApplyRanges();
}

void TChartView::ZoomAt(QPointF pixel, double factor) {
    TAxisMapping x, y;
    Mappings(x, y);
    auto zoom = [factor](const TAxisMapping& mapping, double at) {
        const bool log = mapping.Logarithmic;
        const double centre = ToScale(mapping.FromPixel(at), log);
        const double low = ToScale(mapping.Range.Min, log);
        const double high = ToScale(mapping.Range.Max, log);
        if (!std::isfinite(centre) || !std::isfinite(low) || !std::isfinite(high))
            return mapping.Range;
        return TAxisRange{FromScale(centre - (centre - low) * factor, log),
                          FromScale(centre + (high - centre) * factor, log)};
    };
    FXRange = zoom(x, pixel.x());
    FYRange = zoom(y, pixel.y());
    FZoomed = true;
    ApplyRanges();
}

void TChartView::Pan(QPointF from, QPointF to) {
    TAxisMapping x, y;
    Mappings(x, y);
    auto pan = [](const TAxisMapping& mapping, double a, double b) {
        const bool log = mapping.Logarithmic;
        const double shift =
            ToScale(mapping.FromPixel(a), log) - ToScale(mapping.FromPixel(b), log);
        if (!std::isfinite(shift))
            return mapping.Range;
        return TAxisRange{FromScale(ToScale(mapping.Range.Min, log) + shift, log),
                          FromScale(ToScale(mapping.Range.Max, log) + shift, log)};
    };
    FXRange = pan(x, from.x(), to.x());
    FYRange = pan(y, from.y(), to.y());
    FZoomed = true;
    ApplyRanges();
}

std::optional<std::string> TChartView::ReadoutAt(QPointF pixel) const {
    TAxisMapping x, y;
    Mappings(x, y);
    return PointReadoutAt(pixel.x(), pixel.y(), x, y);
}

void TChartView::ClickAt(QPointF pixel, TSelectModifier modifier) {
    TAxisMapping x, y;
    Mappings(x, y);
    FChart.ClickAt(pixel.x(), pixel.y(), modifier, x, y);
    UpdateSelectionMarkers();
    FPanel->ShowSelection(FChart);
    emit SelectionChanged(this);
}

bool TChartView::ShowTangentAndSecant() {
    if (!FChart.ShowTangentAndSecant())
        return false;
    const bool zoomed = FZoomed;
    const TAxisRange x = FXRange, y = FYRange;
    BuildSeries();
    if (zoomed) {
        FZoomed = true;
        FXRange = x;
        FYRange = y;
        ApplyRanges();
    }
    return true;
}

QPointF TChartView::ChartPoint(QPointF viewPixel) const {
    return chart()->mapFromScene(mapToScene(viewPixel.toPoint()));
}

void TChartView::ShowReadout(QPointF viewPixel) {
    const std::optional<std::string> text = ReadoutAt(ChartPoint(viewPixel));
    FReadout->setVisible(text.has_value());
    if (!text)
        return;
    FReadout->setText(ToQ(*text));
    const QRectF plot = chart()->plotArea();
    FReadout->setPos(plot.right() - FReadout->boundingRect().width() - 4, plot.top() + 4);
}

void TChartView::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        FPressAt = event->position();
        FLastDragAt = event->position();
        FDragging = false;
        emit Activated(this);
        event->accept();
        return;
    }
    QChartView::mousePressEvent(event);
}

void TChartView::mouseMoveEvent(QMouseEvent* event) {
    ShowReadout(event->position());
    if (FPressAt && (event->buttons() & Qt::LeftButton)) {
        const QPointF delta = event->position() - *FPressAt;
        if (FDragging || std::hypot(delta.x(), delta.y()) > ClickSlop) {
            FDragging = true;
            Pan(ChartPoint(*FLastDragAt), ChartPoint(event->position()));
            FLastDragAt = event->position();
        }
        event->accept();
        return;
    }
    QChartView::mouseMoveEvent(event);
}

void TChartView::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton && FPressAt) {
        if (!FDragging) {
            TSelectModifier modifier = TSelectModifier::None;
            if (event->modifiers() & Qt::ShiftModifier)
                modifier = TSelectModifier::Shift;
            else if (event->modifiers() & Qt::ControlModifier)
                modifier = TSelectModifier::Control;
            ClickAt(ChartPoint(event->position()), modifier);
        }
        FPressAt.reset();
        FLastDragAt.reset();
        FDragging = false;
        event->accept();
        return;
    }
    QChartView::mouseReleaseEvent(event);
}

void TChartView::mouseDoubleClickEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        ResetZoom();
        event->accept();
        return;
    }
    QChartView::mouseDoubleClickEvent(event);
}

void TChartView::wheelEvent(QWheelEvent* event) {
    const double steps = event->angleDelta().y() / 120.0;
    if (steps != 0.0)
        ZoomAt(ChartPoint(event->position()), std::pow(0.8, steps));
    event->accept();
}

void TChartView::leaveEvent(QEvent* event) {
    FReadout->setVisible(false);
    QChartView::leaveEvent(event);
}

void TChartView::contextMenuEvent(QContextMenuEvent* event) {
    emit Activated(this);
    QMenu menu(this);
    QAction* tangent = menu.addAction(Tr("Tangent and secant"));
    tangent->setEnabled(FChart.Selection().HasSelection());
    connect(tangent, &QAction::triggered, this, [this] { ShowTangentAndSecant(); });
    QAction* reset = menu.addAction(Tr("Reset zoom"));
    reset->setEnabled(FZoomed);
    connect(reset, &QAction::triggered, this, &TChartView::ResetZoom);
    menu.addSeparator();
    auto exportAction = [&](const char* caption, const char* filter, const char* suffix,
                            bool (TChartView::*save)(const QString&)) {
        QAction* action = menu.addAction(Tr(caption));
        connect(action, &QAction::triggered, this, [this, filter, suffix, save] {
            QString name =
                QFileDialog::getSaveFileName(this, Tr("Export chart"), QString(), Tr(filter));
            if (name.isEmpty())
                return;
            if (!name.endsWith(suffix, Qt::CaseInsensitive))
                name += suffix;
            (this->*save)(name);
        });
    };
    exportAction("Export picture (PNG)...", "PNG pictures (*.png)", ".png", &TChartView::ExportPng);
    exportAction("Export picture (SVG)...", "SVG pictures (*.svg)", ".svg", &TChartView::ExportSvg);
    exportAction("Export data (CSV)...", "CSV files (*.csv)", ".csv", &TChartView::ExportCsv);
    menu.addSeparator();
    connect(menu.addAction(Tr("Add chart...")), &QAction::triggered, this,
            [this] { emit AddRequested(this); });
    connect(menu.addAction(Tr("Edit chart...")), &QAction::triggered, this,
            [this] { emit EditRequested(this); });
    QAction* remove = menu.addAction(Tr("Delete chart"));
    remove->setEnabled(FChart.ChartType() == ctCustom);
    connect(remove, &QAction::triggered, this, [this] { emit DeleteRequested(this); });
    connect(menu.addAction(Tr("Hide chart")), &QAction::triggered, this,
            [this] { emit HideRequested(this); });
    menu.exec(event->globalPos());
}

bool TChartView::ExportPng(const QString& fileName) {
    FReadout->setVisible(false);
    // Written beside the target and put in place when complete: a failure keeps an old file.
    QSaveFile file(fileName);
    if (file.open(QIODevice::WriteOnly) && grab().save(&file, "PNG") && file.commit())
        return true;
    UserMessages().ShowMessage(Translate("Could not write to:") + " " + FromQ(fileName),
                               MessageTitle);
    return false;
}

bool TChartView::ExportSvg(const QString& fileName) {
    return ExportBy([this](const std::string& file) { SaveChartSvg(FChart, file); }, fileName);
}

bool TChartView::ExportCsv(const QString& fileName) {
    return ExportBy([this](const std::string& file) { SaveChartCsv(FChart, file); }, fileName);
}

bool TChartView::ExportBy(const std::function<void(const std::string& fileName)>& save,
                          const QString& fileName) {
    try {
        save(FromQ(fileName));
        return true;
    } catch (const std::exception& e) {
        UserMessages().ShowMessage(e.what(), MessageTitle);
        return false;
    }
}

} // namespace tw
