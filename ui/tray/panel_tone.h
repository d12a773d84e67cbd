#pragma once

#include <string_view>

namespace ravo::ui {

// The colour of the panel the tray icons sit on, as far as the desktop tells it.
enum class PanelTone { unknown, light, dark };

// From RAVO_PANEL ("light", "dark" or "badge", for users and screenshots), the desktop's
// name (XDG_CURRENT_DESKTOP) and the desktop's colour preference (the settings portal's
// "color-scheme": 1 dark, 2 light, 0 none). GNOME's top bar is dark whatever the preference.
PanelTone decidePanelTone(std::string_view forced, std::string_view desktop, int colorScheme);

// The same, from this session.
PanelTone detectPanelTone();
// From this session, with the colour preference already known (it changed).
PanelTone detectPanelTone(int colorScheme);

} // namespace ravo::ui
