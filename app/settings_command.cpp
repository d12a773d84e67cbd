#include "app/commands.h"
#include "app/settings_keys.h"
#include "common/settings_values.h"
#include "sync/core/synced_folder.h"
#include "sync/core/synced_settings_file.h"
#include "sync/settings_sync.h"

#include <QSettings>

#include <iostream>

namespace ravo::app {

namespace {

// What stands in the way of syncing, as the Sync tab would say it; nothing when all is well.
std::optional<std::string> syncProblem(const QSettings& settings) {
    if (!settings.value(sync::SettingsSync::kEnabledKey, false).toBool())
        return std::nullopt;
    const std::filesystem::path folder =
        settings.value(sync::SettingsSync::kFolderKey).toString().toStdString();
    if (folder.empty())
        return "Choose the folder your sync client keeps (settingsSyncFolder).";
    const auto text = sync::SyncedFolder::read(folder);
    if (!text)
        return text.error();
    if (!*text)
        return std::nullopt;
    const auto file = sync::SyncedSettingsFile::decode(**text, Clock::now());
    return file ? std::nullopt : std::optional(file.error());
}

int unknown(const std::string& name) {
    std::cerr << "Unknown setting " << name << ". `ravo settings list` shows them all.\n";
    return 2;
}

} // namespace

int runSettingsCommand(const SettingsRequest& request) {
    auto settings = common::openUserSettings();
    if (request.action == "list") {
        for (const Setting* setting : SettingKeys::all()) {
            std::string line(setting->key);
            line.resize(28, ' ');
            line += SettingKeys::read(*setting, *settings);
            std::cout << line << "\n    " << setting->meaning
                      << (setting->synced ? " (synced)" : "") << "\n";
        }
        if (const auto problem = syncProblem(*settings))
            std::cout << "\nSettings sync: " << *problem << "\n";
        return 0;
    }
    const Setting* key = SettingKeys::find(request.key);
    if (!key)
        return unknown(request.key);
    if (request.action == "get") {
        std::cout << SettingKeys::read(*key, *settings) << "\n";
        return 0;
    }
    if (const Status written = SettingKeys::write(*key, request.value, *settings); !written) {
        std::cerr << written.error() << "\n";
        return 1;
    }
    // Every running Ravo sees the file change and applies it; the date is for a Ravo that
    // starts later and syncs it then.
    if (key->synced)
        settings->setValue(sync::SettingsSync::kChangedAtKey,
                           QString::fromStdString(
                               toIso8601(std::chrono::floor<std::chrono::seconds>(Clock::now()))));
    settings->sync();
    return 0;
}

} // namespace ravo::app
