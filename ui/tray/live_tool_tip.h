#pragma once

#include <QString>

class QSystemTrayIcon;

namespace ravo::ui {

// Gives a tray item a new tooltip only when the text changes (each change is a message to
// the panel), and refreshes the tooltip in place while the user is reading it.
void setLiveToolTip(QSystemTrayIcon& icon, const QString& text);

} // namespace ravo::ui
