#include "ui/tray/live_tool_tip.h"

#include <QCursor>
#include <QSystemTrayIcon>
#include <QToolTip>

namespace ravo::ui {

void setLiveToolTip(QSystemTrayIcon& icon, const QString& text) {
    if (icon.toolTip() == text)
        return;
    // A panel that draws its own tooltips (StatusNotifierItem) follows the change by itself;
    // the one Qt draws for an embedded tray icon has to be shown again.
    const bool reading = QToolTip::isVisible() && QToolTip::text() == icon.toolTip();
    icon.setToolTip(text);
    if (reading)
        QToolTip::showText(QCursor::pos(), text);
}

} // namespace ravo::ui
