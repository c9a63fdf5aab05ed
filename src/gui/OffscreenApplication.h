#pragma once
// The Qt application of a program that drives windows without a display of its own (the window
// tests, the window benchmarks): made once per process, on Qt's offscreen platform unless
// QT_QPA_PLATFORM names another (the screenshot test names xcb under Xvfb).

class QApplication;

namespace tw {

QApplication& OffscreenApplication();

} // namespace tw
