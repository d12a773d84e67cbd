#pragma once

#include "common/platform/linux/desktop_entry_lookup.h"
#include "common/system_monitor_app.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ravo::common {

// GNOME's, KDE's or Xfce's system monitor, whichever has its desktop entry installed; the
// current desktop's own first when there are several.
class XdgSystemMonitorApp final : public SystemMonitorApp {
public:
    using PlacesSource = std::function<DesktopSearchPlaces()>;

    explicit XdgSystemMonitorApp(PlacesSource places = &DesktopSearchPlaces::fromEnvironment,
                                 std::string currentDesktops = currentDesktopsFromEnvironment());

    bool isInstalled() const override { return find().has_value(); }
    Status open() const override;

    std::optional<InstalledApplication> find() const;

    // The entry names to try, in order, for $XDG_CURRENT_DESKTOP (e.g. "ubuntu:GNOME").
    static std::vector<std::string_view> entryNamesFor(std::string_view currentDesktops);
    static std::string currentDesktopsFromEnvironment();

private:
    PlacesSource places_;
    std::string currentDesktops_;
};

} // namespace ravo::common
