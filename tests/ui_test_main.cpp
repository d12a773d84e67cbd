#include "ui/color_scheme.h"

#include <QApplication>

#include <gtest/gtest.h>

// Widgets need a QApplication; RAVO_COLOR_SCHEME=dark renders them as a dark desktop would.
int main(int argc, char** argv) {
    // Without a display (CI, and the test discovery at build time) the views render offscreen.
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") &&
        qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    ravo::ui::applyDesktopColorScheme(application);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
