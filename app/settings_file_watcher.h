#pragma once

#include <QObject>
#include <QVariant>

#include <functional>
#include <map>
#include <string>

class QFileSystemWatcher;
class QSettings;
class QTimer;

namespace ravo::app {

// Notices when another process (`ravo settings set`, a second Ravo) changes the settings
// file, and names each setting whose value changed, so every running instance takes the
// change at once.
class SettingsFileWatcher : public QObject {
    Q_OBJECT
public:
    SettingsFileWatcher(QSettings& settings, std::function<void(const std::string& key)> changed,
                        QObject* parent = nullptr);

private:
    void look();
    void watch();

    QSettings& settings_;
    std::function<void(const std::string&)> changed_;
    std::map<std::string, QVariant> seen_;
    QFileSystemWatcher* watcher_;
    QTimer* settle_;
};

} // namespace ravo::app
