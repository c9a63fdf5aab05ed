// The window program: `tarnwick-window INPUT [2] [HOST]` starts as the host starts the lab, on
// the input file it hands over; without one it refuses, in a message box.
//
// Two named parameters serve the documentation and the figures of README:
// -Screenshot=FILE runs the triaxial test (or the test of page -Page=N, counted from 0), picks a
// point on its first chart, saves a picture of the window as PNG and ends; -QuitWhenShown prints
// the time from the process's start (the loading of Qt and the program included) to the window's
// first paint and ends.

#include "app/WindowStart.h"
#include "gui/ChartsArea.h"
#include "gui/MessageBoxes.h"
#include "gui/QtText.h"
#include "gui/TestPage.h"
#include "services/Format.h"
#include "services/Strings.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTimer>

#include <chrono>
#include <cmath>
#include <ctime>
#include <fstream>
#include <iostream>
#include <sstream>
#include <unistd.h>

using namespace tw;

namespace {

// Lets the window settle: layouts, ranges and paints that wait for the event loop, and the
// chart items that Qt deletes later (the axes of a chart drawn anew), which a nested loop
// would otherwise keep.
void Settle(int milliseconds) {
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < milliseconds) {
        QApplication::processEvents(QEventLoop::AllEvents, 20);
        QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}

bool Screenshot(TMainWindow& window, const std::string& fileName, int pageIndex) {
    window.SelectPage(pageIndex);
    Settle(200);
    if (!window.RunSelectedTest())
        return false;
    TTestPage& page = window.CurrentPage();
    TChartsArea& charts = page.Charts();
    if (charts.ViewCount() > 0) {
        // A point a third along the first curve, with its tangent and secant.
        TChartView& view = charts.View(0);
        charts.SetCurrentView(&view);
        Settle(200);
        TAxisMapping x, y;
        view.Mappings(x, y);
        for (const TChartSeries& series : view.Chart().Series())
            if (series.Kind == TChartSeriesKind::Data && series.PointCount() > 3) {
                const size_t point = series.PointCount() / 3;
                view.ClickAt(QPointF(x.ToPixel(series.X[point]), y.ToPixel(series.Y[point])),
                             TSelectModifier::None);
                break;
            }
        view.ShowTangentAndSecant();
    }
    Settle(500);
    return window.grab().save(ToQ(fileName), "PNG");
}

// Milliseconds since this process began: its start time in clock ticks since boot (field 22 of
// /proc/self/stat, after the command's name in brackets) against the boot clock. NaN where
// that can't be read.
double MillisecondsSinceProcessStart() {
    std::ifstream stat("/proc/self/stat");
    std::string text((std::istreambuf_iterator<char>(stat)), {});
    const size_t end = text.rfind(')');
    if (end == std::string::npos)
        return std::nan("");
    std::istringstream fields(text.substr(end + 2));
    std::string field;
    for (int i = 3; i <= 22 && fields >> field; ++i) {
    }
    timespec now{};
    if (field.empty() || ::clock_gettime(CLOCK_BOOTTIME, &now) != 0)
        return std::nan("");
    const double started = std::stod(field) / static_cast<double>(::sysconf(_SC_CLK_TCK));
    return 1000.0 * (now.tv_sec + now.tv_nsec * 1e-9 - started);
}

} // namespace

int main(int argc, char** argv) {
    const auto started = std::chrono::steady_clock::now();
    TCommandLine::SetProgram(TCommandLine(argc, argv));
    QApplication application(argc, argv);
    application.setApplicationName("Tarnwick");
    // The picture and the timing run unattended: their messages go to standard error, where a
    // box would wait for a click that never comes.
    const bool unattended = TCommandLine::Program().HasNamed("Screenshot") ||
                            TCommandLine::Program().HasNamed("QuitWhenShown");
    TMessageBoxes boxes;
    if (!unattended)
        SetUserMessages(&boxes);

    TWindowStart start(TCommandLine::Program());
    if (!start.Started())
        return 2;
    TMainWindow& window = *start.Window();
    const std::optional<std::string> screenshot = TCommandLine::Program().Named("Screenshot");
    if (screenshot)
        window.resize(1800, 1000);
    window.show();

    if (TCommandLine::Program().HasNamed("QuitWhenShown")) {
        // The first paint has happened once the event loop has drawn the exposed window.
        QTimer::singleShot(0, &application, [&] {
            window.repaint();
            const auto shown = std::chrono::steady_clock::now();
            std::cout << Format(
                "window shown %.0f ms after the process started (%.0f ms after main)\n",
                MillisecondsSinceProcessStart(),
                std::chrono::duration<double, std::milli>(shown - started).count());
            application.quit();
        });
    } else if (screenshot) {
        int result = 1;
        QTimer::singleShot(0, &application, [&] {
            int page = 0;
            const std::string pageText = TCommandLine::Program().Named("Page").value_or("0");
            if (!TryStrToInt(pageText, page) || page < 0 || page >= window.PageCount())
                std::cerr << Format("No page %s: the window has pages 0 to %d\n", pageText,
                                    window.PageCount() - 1);
            else if (Screenshot(window, *screenshot, page))
                result = 0;
            application.quit();
        });
        application.exec();
        return result;
    }
    return application.exec();
}
