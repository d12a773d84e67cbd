#include "app/commands.h"
#include "app/platform/single_instance.h"
#include "app/settings_keys.h"
#include "app/settings_values.h"
#include "sync/settings_sync.h"

#include <QSettings>

#include <iostream>

namespace ravo::app {

namespace {

int unknown(const std::string& name) {
    std::cerr << "Unknown setting " << name << ". `ravo settings list` shows them all.\n";
    return 2;
}

} // namespace

int runSettingsCommand(const SettingsRequest& request) {
    auto settings = openUserSettings();
    if (request.action == "list") {
        for (const auto& key : SettingKeys::all()) {
            std::string line = key.name;
            line.resize(28, ' ');
            line += SettingKeys::read(key, *settings);
            std::cout << line << "\n    " << key.meaning << (key.synced ? " (synced)" : "") << "\n";
        }
        return 0;
    }
    const SettingKey* key = SettingKeys::find(request.key);
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
    settings->sync();
    // A running Ravo applies the change at once, and syncs it like a change in its window.
    if (SingleInstance().forwardToRunning("settings-changed " + QString::fromUtf8(key->name)))
        return 0;
    if (key->synced) {
        settings->setValue(sync::SettingsSync::kChangedAtKey,
                           QString::fromStdString(
                               toIso8601(std::chrono::floor<std::chrono::seconds>(Clock::now()))));
        settings->sync();
    }
    return 0;
}

} // namespace ravo::app
