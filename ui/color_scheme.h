#pragma once

class QApplication;

namespace ravo::ui {

// Follows the desktop's light or dark preference (the freedesktop appearance setting, as
// GNOME and KDE publish it through the settings portal). RAVO_COLOR_SCHEME=light|dark
// overrides it.
void applyDesktopColorScheme(QApplication& application);
// The same for a preference already known (0 none, 1 dark, 2 light), as when it changes.
void applyColorScheme(QApplication& application, int colorScheme);

// The desktop's preference as the settings portal gives it: 0 none, 1 dark, 2 light.
int desktopColorScheme();

} // namespace ravo::ui
