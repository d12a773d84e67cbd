#include "ui/tray/tray_host_order.h"

#include <gtest/gtest.h>

namespace ravo::ui {
namespace {

TEST(TrayHostOrder, XfcePanelsPutTheNewcomerFirst) {
    // The watcher's owner as xfce4-panel 4.18 runs it: the status tray in a plugin wrapper.
    EXPECT_EQ(trayHostOrderFor("/usr/lib/x86_64-linux-gnu/xfce4/panel/wrapper-2.0 "
                               "/usr/lib/x86_64-linux-gnu/xfce4/panel/plugins/libsystray.so 1 "
                               "6291463 systray Status Tray Plugin"),
              TrayHostOrder::newestFirst);
    EXPECT_EQ(trayHostOrderFor("xfce4-panel"), TrayHostOrder::newestFirst);
}

TEST(TrayHostOrder, OtherHostsAndUnknownOnesListAsRegistered) {
    for (const char* line : {"waybar", "/usr/bin/kded5", "/usr/bin/plasmashell", "",
                             "/usr/bin/python3 status_notifier_host.py"})
        EXPECT_EQ(trayHostOrderFor(line), TrayHostOrder::asRegistered) << line;
}

TEST(TrayHostOrder, ARowIsRegisteredSoTheHostDrawsItLeftToRight) {
    const std::vector<std::string> row{"ravo-memory", "ravo-cpu", "ravo-ai-usage"};
    EXPECT_EQ(inRegistrationOrder(row, TrayHostOrder::asRegistered), row);
    EXPECT_EQ(inRegistrationOrder(row, TrayHostOrder::newestFirst),
              (std::vector<std::string>{"ravo-ai-usage", "ravo-cpu", "ravo-memory"}));
    EXPECT_TRUE(inRegistrationOrder(std::vector<int>{}, TrayHostOrder::newestFirst).empty());
}

} // namespace
} // namespace ravo::ui
