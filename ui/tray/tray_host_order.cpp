#include "ui/tray/tray_host_order.h"

namespace ravo::ui {

TrayHostOrder trayHostOrderFor(std::string_view watcherCommandLine) {
    // The status tray runs in the panel's plugin wrapper, named after the plugin's library;
    // an older build has it inside xfce4-panel itself.
    for (std::string_view xfce : {"xfce4/panel/", "xfce4-panel", "libsystray.so"})
        if (watcherCommandLine.find(xfce) != std::string_view::npos)
            return TrayHostOrder::newestFirst;
    return TrayHostOrder::asRegistered;
}

} // namespace ravo::ui
