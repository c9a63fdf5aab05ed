// The window drawn by a real X server (Xvfb, see screenshot.sh): the triaxial page after a run,
// whose chart area must hold the curve's colour. TW_SCREENSHOT=FILE keeps the picture. On any
// other platform the test is skipped.

#include "GuiTestSupport.h"

#include "gui/ChartsArea.h"
#include "gui/QtText.h"
#include "gui/TestPage.h"
#include "presentation/ChartColors.h"

#include <QGuiApplication>
#include <QImage>
#include <QScreen>
#include <QTest>

using namespace tw;
using namespace tw::testing;

namespace {

// The pixels of an image that have a colour, within a small tolerance of anti-aliasing.
int PixelsOf(const QImage& image, QColor color) {
    int count = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) {
            const QColor pixel = image.pixelColor(x, y);
            if (std::abs(pixel.red() - color.red()) <= 8 &&
                std::abs(pixel.green() - color.green()) <= 8 &&
                std::abs(pixel.blue() - color.blue()) <= 8)
                ++count;
        }
    return count;
}

} // namespace

class ScreenshotTest : public GuiFixture {};

TEST_F(ScreenshotTest, TheTriaxialPageAfterARunShowsItsCurves) {
    if (QGuiApplication::platformName() != "xcb")
        GTEST_SKIP() << "drawn only on an X server ("
                     << QGuiApplication::platformName().toStdString() << ")";
    TMainWindow& window = OpenWindow();
    window.resize(1800, 1000);
    window.showNormal();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    TTestPage& page = window.Page(0);
    ASSERT_TRUE(page.RunTest());
    // A point picked on the deviatoric stress curve, with its tangent and secant.
    TChartsArea& charts = page.Charts();
    TChartView& view = charts.View(0);
    charts.SetCurrentView(&view);
    QTest::qWait(200);
    TAxisMapping x, y;
    view.Mappings(x, y);
    for (const TChartSeries& series : view.Chart().Series())
        if (series.Kind == TChartSeriesKind::Data && series.PointCount() > 30) {
            view.ClickAt(QPointF(x.ToPixel(series.X[30]), y.ToPixel(series.Y[30])),
                         TSelectModifier::None);
            break;
        }
    view.ShowTangentAndSecant();
    QTest::qWait(300);

    const QImage picture = window.grab().toImage();
    ASSERT_FALSE(picture.isNull());
    const QRect area(charts.mapTo(&window, QPoint(0, 0)), charts.size());
    const QImage chartArea = picture.copy(area);
    EXPECT_GT(PixelsOf(chartArea, ToQColor(ChartColor(0))), 500)
        << "the main test's curves are drawn in the first chart colour";
    if (const QByteArray file = qgetenv("TW_SCREENSHOT"); !file.isEmpty()) {
        EXPECT_TRUE(picture.save(QString::fromLocal8Bit(file), "PNG"));
    }
}
