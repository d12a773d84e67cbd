#include "ui/color_scheme.h"

#include <QApplication>

#include <gtest/gtest.h>

// Widgets need a QApplication; RAVO_COLOR_SCHEME=dark renders them as a dark desktop would.
int main(int argc, char** argv) {
    QApplication application(argc, argv);
    ravo::ui::applyDesktopColorScheme(application);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
