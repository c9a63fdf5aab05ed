#include "gui/OffscreenApplication.h"

#include <QApplication>

namespace tw {

QApplication& OffscreenApplication() {
    // QApplication keeps argc and argv for its lifetime.
    static int argc = 1;
    static char name[] = "tarnwick";
    static char* argv[] = {name, nullptr};
    static QApplication* application = [] {
        if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
            qputenv("QT_QPA_PLATFORM", "offscreen");
        return new QApplication(argc, argv);
    }();
    return *application;
}

} // namespace tw
