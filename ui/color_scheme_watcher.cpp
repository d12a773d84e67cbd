#include "ui/color_scheme_watcher.h"

#include <QDBusConnection>

namespace ravo::ui {

ColorSchemeWatcher::ColorSchemeWatcher(QObject* parent) : QObject(parent) {
    QDBusConnection::sessionBus().connect(QString(), "/org/freedesktop/portal/desktop",
                                          "org.freedesktop.portal.Settings", "SettingChanged", this,
                                          SLOT(settingChanged(QString, QString, QDBusVariant)));
}

void ColorSchemeWatcher::settingChanged(const QString& group, const QString& key,
                                        const QDBusVariant& value) {
    if (group != QLatin1String("org.freedesktop.appearance") ||
        key != QLatin1String("color-scheme"))
        return;
    QVariant scheme = value.variant();
    while (scheme.canConvert<QDBusVariant>())
        scheme = scheme.value<QDBusVariant>().variant();
    emit changed(scheme.toInt());
}

} // namespace ravo::ui
