// The chart views as a user reads them: axes as the settings draw them (flips, logarithmic
// scales), the readout under the mouse, points picked with and without modifiers and what the
// tables beside the chart show of them, tangent and secant, zoom and pan, custom charts through
// the dialog, hiding charts, loaded tests, and the exports.

#include "GuiTestSupport.h"

#include "gui/ChartsArea.h"
#include "gui/QtText.h"
#include "gui/TableViews.h"
#include "gui/TestPage.h"

#include <QCategoryAxis>
#include <QComboBox>
#include <QImage>
#include <QLineSeries>
#include <QLogValueAxis>
#include <QTableView>
#include <QTest>

#include <fstream>
#include <sstream>

using namespace tw;
using namespace tw::testing;

namespace {

int IndexOfChart(const TChartsArea& area, TQBChartType type) {
    for (int i = 0; i < area.ViewCount(); ++i)
        if (area.View(i).Chart().ChartType() == type)
            return i;
    return -1;
}

const TChartSeries& MainCurve(const TChart& chart) {
    for (const TChartSeries& series : chart.Series())
        if (series.Kind == TChartSeriesKind::Data && series.TestIndex == 0)
            return series;
    throw std::runtime_error("no curve");
}

int IndexOfSeries(const TChart& chart, const TChartSeries& series) {
    return static_cast<int>(&series - chart.Series().data());
}

// The pixel of a curve's point in the chart's own coordinates.
QPointF PixelOf(const TChartView& view, const TChartSeries& series, int point) {
    TAxisMapping x, y;
    view.Mappings(x, y);
    return QPointF(x.ToPixel(series.X[point]), y.ToPixel(series.Y[point]));
}

// The view's pixel of a chart pixel, for mouse events.
QPoint ViewPixel(const TChartView& view, QPointF chartPixel) {
    return view.mapFromScene(view.chart()->mapToScene(chartPixel));
}

std::string ReadFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

class ChartViewFixture : public GuiFixture {
protected:
    void SetUp() override {
        GuiFixture::SetUp();
        OpenWindow();
        Page = &Window->Page(0);
        ASSERT_TRUE(Page->RunTest());
        QTest::qWait(20);
    }
    TChartsArea& Charts() const { return Page->Charts(); }
    TChartView& ViewOf(TQBChartType type) const {
        const int index = IndexOfChart(Charts(), type);
        EXPECT_GE(index, 0);
        return Charts().View(index);
    }
    TTestPage* Page = nullptr;
};

} // namespace

TEST_F(ChartViewFixture, AClickPicksTheNearestPointAndTheTablesShowIt) {
    TChartView& view = ViewOf(ctEyyDS);
    Charts().SetCurrentView(&view);
    const TChartSeries& curve = MainCurve(view.Chart());
    const int series = IndexOfSeries(view.Chart(), curve);

    // The readout names the values under the mouse; outside the plot area there is none.
    const QPointF at = PixelOf(view, curve, 40);
    const std::optional<std::string> readout = view.ReadoutAt(at);
    ASSERT_TRUE(readout);
    EXPECT_EQ(readout->rfind("|(", 0), 0u) << *readout;
    EXPECT_FALSE(view.ReadoutAt(QPointF(view.PlotArea().left() - 10, at.y())));

    // A plain click, by the mouse, a pixel below the point (the points stand about 2.5 pixels
    // apart).
    QTest::mouseClick(view.viewport(), Qt::LeftButton, Qt::NoModifier,
                      ViewPixel(view, at + QPointF(0, 1)));
    ASSERT_EQ(view.Chart().Selection().Points().size(), 1u);
    EXPECT_EQ(view.Chart().Selection().Points()[0], (TChartPointRef{series, 40}));
    TResultsPanel& panel = Page->ResultsPanel();
    EXPECT_EQ(panel.View(), &view);
    const QAbstractItemModel& table = *panel.ResultsTable().model();
    EXPECT_TRUE(table.data(table.index(40, 0), Qt::BackgroundRole).isValid());
    EXPECT_FALSE(table.data(table.index(39, 0), Qt::BackgroundRole).isValid());
    const QAbstractItemModel& derived = *panel.DerivedTable().model();
    EXPECT_EQ(derived.data(derived.index(0, 0), Qt::DisplayRole).toString(), "Tangent");
    EXPECT_EQ(derived.data(derived.index(1, 0), Qt::DisplayRole).toString(), "Secant");
    EXPECT_FALSE(derived.data(derived.index(1, 1), Qt::DisplayRole).toString().isEmpty());

    // With shift a second point makes a pair; a plain click starts again.
    QTest::mouseClick(view.viewport(), Qt::LeftButton, Qt::ShiftModifier,
                      ViewPixel(view, PixelOf(view, curve, 3)));
    EXPECT_EQ(view.Chart().Selection().Points().size(), 2u);
    EXPECT_TRUE(table.data(table.index(3, 0), Qt::BackgroundRole).isValid());
    EXPECT_TRUE(table.data(table.index(40, 0), Qt::BackgroundRole).isValid());
    QTest::mouseClick(view.viewport(), Qt::LeftButton, Qt::NoModifier,
                      ViewPixel(view, PixelOf(view, curve, 3)));
    EXPECT_EQ(view.Chart().Selection().Points().size(), 1u);

    // Tangent and secant at the point picked last are drawn as two further lines.
    const int lines = static_cast<int>(view.chart()->series().size());
    ASSERT_TRUE(view.ShowTangentAndSecant());
    EXPECT_EQ(view.chart()->series().size(), lines + 2);
    int tangents = 0;
    for (const TChartSeries& s : view.Chart().Series())
        tangents += s.Kind == TChartSeriesKind::Tangent || s.Kind == TChartSeriesKind::Secant;
    EXPECT_EQ(tangents, 2);
}

TEST_F(ChartViewFixture, AxesFollowTheSettingsAndZoomAndPanMoveTheRanges) {
    TChartView& oedometerLike = ViewOf(ctS3S1);
    // S3S1 is flipped on both axes; E1Ev only on x.
    EXPECT_TRUE(oedometerLike.chart()->axes(Qt::Horizontal).front()->isReverse());
    EXPECT_TRUE(oedometerLike.chart()->axes(Qt::Vertical).front()->isReverse());
    // The labels are the chart logic's: "#0.###########", no exponent.
    auto* axis = qobject_cast<QCategoryAxis*>(oedometerLike.chart()->axes(Qt::Vertical).front());
    ASSERT_NE(axis, nullptr);
    EXPECT_TRUE(axis->categoriesLabels().contains("-100"))
        << axis->categoriesLabels().join(' ').toStdString();

    TChartView& view = ViewOf(ctEyyDS);
    const TAxisRange x = view.XRange(), y = view.YRange();
    const QPointF centre = view.PlotArea().center();
    view.ZoomAt(centre, 0.5);
    EXPECT_TRUE(view.IsZoomed());
    EXPECT_NEAR(view.XRange().Span(), 0.5 * x.Span(), 1e-9 * x.Span());
    EXPECT_NEAR(view.YRange().Span(), 0.5 * y.Span(), 1e-9 * y.Span());
    // Panning by 50 pixels moves the ranges by what 50 pixels are worth, in the right sense on a
    // flipped axis: the value under the start comes under the end.
    TAxisMapping before, unused;
    view.Mappings(before, unused);
    const double valueAtStart = before.FromPixel(centre.x());
    view.Pan(centre, centre + QPointF(50, 0));
    TAxisMapping after;
    view.Mappings(after, unused);
    EXPECT_NEAR(after.FromPixel(centre.x() + 50), valueAtStart, 1e-9 * x.Span());
    // The wheel zooms in about the mouse; a double click goes back to the automatic ranges.
    QTest::mouseDClick(view.viewport(), Qt::LeftButton, Qt::NoModifier, ViewPixel(view, centre));
    EXPECT_FALSE(view.IsZoomed());
    EXPECT_NEAR(view.XRange().Span(), x.Span(), 1e-9 * x.Span());

    // A custom chart through the dialog's model: log scale on y, q over time.
    TChartsFrame& frame = Page->ChartsFrame();
    const int count = Charts().ViewCount();
    std::unique_ptr<TChartDialogModel> model = frame.NewChartDialog();
    TChartDialog dialog(*model);
    EXPECT_EQ(dialog.TitleEdit().text(), "Custom");
    ASSERT_TRUE(model->XAxis().SelectType(rtT));
    ASSERT_TRUE(model->YAxis().SelectType(rtQ));
    model->YAxis().Logarithmic = true;
    frame.ApplyChartDialog(*model);
    ASSERT_EQ(Charts().ViewCount(), count + 1);
    TChartView& custom = ViewOf(ctCustom);
    EXPECT_NE(qobject_cast<QLogValueAxis*>(custom.chart()->axes(Qt::Vertical).front()), nullptr);
    // q is 0 at the start: the log axis breaks the curve there, the rest is drawn from the
    // second row to the last (Qt gets the points at least half a pixel apart).
    const TChartSeries& q = MainCurve(custom.Chart());
    std::vector<QLineSeries*> lines;
    for (QAbstractSeries* series : custom.chart()->series())
        if (auto* line = qobject_cast<QLineSeries*>(series); line && line->count() > 0)
            lines.push_back(line);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0]->at(0), QPointF(q.X[1], q.Y[1]));
    EXPECT_EQ(lines[0]->at(lines[0]->count() - 1), QPointF(q.X.back(), q.Y.back()));
    EXPECT_LE(lines[0]->count(), 100);
    // Only a custom chart can be deleted; any can be hidden.
    Charts().DeleteChart(ViewOf(ctEyyDS));
    EXPECT_EQ(Charts().ViewCount(), count + 1);
    Charts().DeleteChart(custom);
    EXPECT_EQ(Charts().ViewCount(), count);
    Charts().HideChart(ViewOf(ctMohr));
    EXPECT_EQ(Charts().ViewCount(), count - 1);
    EXPECT_EQ(IndexOfChart(Charts(), ctMohr), -1);
    // The charts menu lists the test's charts; its entry brings the chart back.
    QMenu& menu = Charts().ChartsMenu();
    emit menu.aboutToShow();
    QAction* mohr = nullptr;
    for (QAction* action : menu.actions())
        if (action->text() == "Mohr")
            mohr = action;
    ASSERT_NE(mohr, nullptr);
    EXPECT_FALSE(mohr->isChecked());
    mohr->trigger();
    EXPECT_EQ(Charts().ViewCount(), count);
}

TEST_F(ChartViewFixture, LoadedTestsAreDrawnInTheirColoursAndCanBeHidden) {
    TQBTestBase& test = *Project->TriaxialTest();
    auto copy = test.Clone();
    Project->AddLoadedTest(std::move(copy));
    TLoadedTestsList& loaded = Page->LoadedTests();
    ASSERT_EQ(loaded.List().count(), 1);
    EXPECT_EQ(loaded.List().item(0)->checkState(), Qt::Checked);
    TChartView& view = ViewOf(ctEyyDS);
    auto curvesOf = [&](TChartView& v) {
        std::vector<QColor> colours;
        for (QAbstractSeries* series : v.chart()->series())
            if (auto* line = qobject_cast<QLineSeries*>(series); line && line->count() == 101)
                colours.push_back(line->pen().color());
        return colours;
    };
    std::vector<QColor> colours = curvesOf(view);
    ASSERT_EQ(colours.size(), 2u);
    EXPECT_EQ(colours[0], QColor(0x1f, 0x77, 0xb4));
    EXPECT_EQ(colours[1], QColor(0xd6, 0x27, 0x28));
    loaded.List().item(0)->setCheckState(Qt::Unchecked);
    EXPECT_EQ(curvesOf(ViewOf(ctEyyDS)).size(), 1u);
    // The other pages show only their own type.
    EXPECT_EQ(Window->Page(2).LoadedTests().List().count(), 0);
}

TEST_F(ChartViewFixture, ExportsWriteThePictureAndTheData) {
    TTempFolder folder;
    TChartView& view = ViewOf(ctEyyDS);
    const std::filesystem::path png = folder.Path() / "chart.png";
    const std::filesystem::path svg = folder.Path() / "chart.svg";
    const std::filesystem::path csv = folder.Path() / "chart.csv";
    ASSERT_TRUE(view.ExportPng(QString::fromStdString(png.string())));
    ASSERT_TRUE(view.ExportSvg(QString::fromStdString(svg.string())));
    ASSERT_TRUE(view.ExportCsv(QString::fromStdString(csv.string())));
    QImage picture(QString::fromStdString(png.string()));
    EXPECT_EQ(picture.size(), view.size());
    EXPECT_NE(ReadFile(svg).find("<svg"), std::string::npos);
    const std::string data = ReadFile(csv);
    EXPECT_EQ(std::count(data.begin(), data.end(), '\n'), 102); // a header and 101 rows
    // A file that can't be written is reported, and an old file stays as it was.
    EXPECT_FALSE(
        view.ExportPng(QString::fromStdString((folder.Path() / "no/such/x.png").string())));
    ASSERT_EQ(Messages.Messages.size(), 1u);
    EXPECT_NE(Messages.Messages[0].find("Could not write to:"), std::string::npos);
}

TEST_F(ChartViewFixture, QtDrawsALongCurveThroughPointsHalfAPixelApart) {
    // A run of 20,000 rows: a loading and unloading loop in eps_yy and the deviatoric stress.
    TQBTestBase& test = *Project->TriaxialTest();
    TQBResults& results = test.Results();
    results.ClearRows();
    constexpr int Rows = 20'000;
    const int first = results.AddNewRows(Rows);
    for (int i = 0; i < Rows; ++i) {
        const double t = static_cast<double>(i) / (Rows - 1);
        const double strain = -0.05 * std::sin(3.14159 * t);
        const double values[] = {1.0 * i,
                                 0.015 * -strain,
                                 strain,
                                 0.015 * -strain,
                                 0,
                                 0,
                                 0,
                                 -100e3,
                                 -100e3 - 2e6 * -strain * (1 - t),
                                 -100e3};
        for (int c = 0; c < 10; ++c)
            results.SetValueByIndex(first + i, c, values[c]);
    }
    results.CalculateDerivedResults();
    test.EndCalculationObservable().NotifyObservers(&test);
    QTest::qWait(20);

    TChartView& view = ViewOf(ctEyyDS);
    const TChartSeries& curve = MainCurve(view.Chart());
    ASSERT_EQ(curve.PointCount(), static_cast<size_t>(Rows)); // the model keeps every row
    auto drawnLine = [&] {
        for (QAbstractSeries* series : view.chart()->series())
            if (auto* line = qobject_cast<QLineSeries*>(series);
                line && line->pen().color() == ToQColor(curve.Color) && line->count() > 0)
                return line;
        return static_cast<QLineSeries*>(nullptr);
    };
    // Every row lies within half a pixel of the last point drawn at or before it, and the
    // ends are drawn.
    auto checkDrawing = [&](QLineSeries& line) {
        TAxisMapping x, y;
        view.Mappings(x, y);
        const QList<QPointF> points = line.points();
        EXPECT_EQ(points.front(), QPointF(curve.X.front(), curve.Y.front()));
        EXPECT_EQ(points.back(), QPointF(curve.X.back(), curve.Y.back()));
        qsizetype drawn = 0;
        for (size_t i = 0; i < curve.PointCount(); ++i) {
            if (drawn + 1 < points.size() && points[drawn + 1] == QPointF(curve.X[i], curve.Y[i]))
                ++drawn;
            const QPointF& at = points[drawn];
            ASSERT_LE(std::fabs(x.ToPixel(curve.X[i]) - x.ToPixel(at.x())), 0.5) << i;
            ASSERT_LE(std::fabs(y.ToPixel(curve.Y[i]) - y.ToPixel(at.y())), 0.5) << i;
        }
        EXPECT_EQ(drawn, points.size() - 1);
    };
    QLineSeries* line = drawnLine();
    ASSERT_NE(line, nullptr);
    const qsizetype whole = line->count();
    // The loop's length in pixels, not its rows.
    EXPECT_LT(whole, 4 * (view.PlotArea().width() + view.PlotArea().height()));
    checkDrawing(*line);
    // Zoomed in, the points are chosen anew for the new scale.
    view.ZoomAt(view.PlotArea().center(), 0.1);
    line = drawnLine();
    ASSERT_NE(line, nullptr);
    EXPECT_GT(line->count(), 2 * whole);
    checkDrawing(*line);
}
