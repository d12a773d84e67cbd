#pragma once

#include <QDBusVariant>
#include <QObject>
#include <QString>

namespace ravo::ui {

// Hears the desktop switch between light and dark while Ravo runs: the settings portal
// announces a new "color-scheme" (0 none, 1 dark, 2 light).
class ColorSchemeWatcher : public QObject {
    Q_OBJECT
public:
    explicit ColorSchemeWatcher(QObject* parent = nullptr);

signals:
    void changed(int colorScheme);

private slots:
    void settingChanged(const QString& group, const QString& key, const QDBusVariant& value);
};

} // namespace ravo::ui
