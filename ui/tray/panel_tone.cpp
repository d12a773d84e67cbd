#include "ui/tray/panel_tone.h"

#include "ui/color_scheme.h"

#include <QByteArray>
#include <QtGlobal>

namespace ravo::ui {

PanelTone decidePanelTone(std::string_view forced, std::string_view desktop, int colorScheme) {
    if (forced == "light")
        return PanelTone::light;
    if (forced == "dark")
        return PanelTone::dark;
    if (forced == "badge")
        return PanelTone::unknown;
    // "ubuntu:GNOME", "GNOME-Classic:GNOME": any part naming GNOME.
    if (desktop.find("GNOME") != std::string_view::npos)
        return PanelTone::dark;
    if (colorScheme == 1)
        return PanelTone::dark;
    if (colorScheme == 2)
        return PanelTone::light;
    return PanelTone::unknown;
}

PanelTone detectPanelTone() {
    return detectPanelTone(desktopColorScheme());
}

PanelTone detectPanelTone(int colorScheme) {
    const QByteArray forced = qgetenv("RAVO_PANEL").toLower();
    const QByteArray desktop = qgetenv("XDG_CURRENT_DESKTOP").toUpper();
    return decidePanelTone(forced.toStdString(), desktop.toStdString(), colorScheme);
}

} // namespace ravo::ui
