#pragma once

#include <algorithm>
#include <string_view>
#include <vector>

namespace ravo::ui {

// Where a panel puts an item that registers, as measured with the hosts themselves (three
// solid-colour items registered one after the other, then a screenshot of the panel):
// - xfce4-panel 4.18, its status tray plugin: an Id it has not seen goes to the far left; one
//   it has seen keeps the place it remembers (the plugin's "known-items"), so only an item's
//   first showing can be placed from here.
// - waybar 0.9.17 under sway: left to right as registered; an item that registers again goes
//   to the right end. Its watcher lists the items newest first.
// - an embedded (XEmbed) tray such as trayer: the newest on the left.
// KDE Plasma was not measured (too heavy for this machine); items are registered for it in
// the order waybar wants.
enum class TrayHostOrder { asRegistered, newestFirst };

// The order of the panel that owns the StatusNotifierWatcher, from its command line.
TrayHostOrder trayHostOrderFor(std::string_view watcherCommandLine);

// The order to register a row in so that `host` draws it left to right as `row` is.
template <class Item>
std::vector<Item> inRegistrationOrder(std::vector<Item> row, TrayHostOrder host) {
    if (host == TrayHostOrder::newestFirst)
        std::reverse(row.begin(), row.end());
    return row;
}

} // namespace ravo::ui
