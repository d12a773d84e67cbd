#include "app/settings_file_watcher.h"

#include "app/settings_keys.h"
#include "cloud/site_list_settings.h"
#include "common/settings_values.h"

#include <QDir>
#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QSettings>
#include <QTimer>

namespace ravo::app {

SettingsFileWatcher::SettingsFileWatcher(QSettings& settings,
                                         std::function<void(const std::string&)> changed,
                                         QObject* parent)
    : QObject(parent), settings_(settings), changed_(std::move(changed)),
      watcher_(new QFileSystemWatcher(this)), settle_(new QTimer(this)) {
    for (const Setting* setting : SettingKeys::all())
        seen_[std::string(setting->key)] = settings_.value(common::keyOf(*setting));
    // No setting, but `ravo sites` changes it: a running Ravo shows the list it saved.
    seen_[cloud::SiteListSettings::kSitesKey] = settings_.value(cloud::SiteListSettings::kSitesKey);
    // QSettings replaces the file by a rename: the folder is watched to see the new one.
    settle_->setSingleShot(true);
    settle_->setInterval(200);
    connect(settle_, &QTimer::timeout, this, &SettingsFileWatcher::look);
    connect(watcher_, &QFileSystemWatcher::fileChanged, settle_,
            static_cast<void (QTimer::*)()>(&QTimer::start));
    connect(watcher_, &QFileSystemWatcher::directoryChanged, settle_,
            static_cast<void (QTimer::*)()>(&QTimer::start));
    watch();
}

void SettingsFileWatcher::watch() {
    const QFileInfo file(settings_.fileName());
    if (!watcher_->directories().contains(file.absolutePath()) && file.dir().exists())
        watcher_->addPath(file.absolutePath());
    if (file.exists() && !watcher_->files().contains(file.absoluteFilePath()))
        watcher_->addPath(file.absoluteFilePath());
}

void SettingsFileWatcher::look() {
    watch();
    settings_.sync();
    for (auto& [name, value] : seen_) {
        const QVariant now = settings_.value(QString::fromStdString(name));
        if (now == value)
            continue;
        value = now;
        changed_(name);
    }
}

} // namespace ravo::app
