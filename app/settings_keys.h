#pragma once

#include "base/result.h"

#include <QString>

#include <optional>
#include <string>
#include <vector>

class QSettings;

namespace ravo::app {

// The settings `ravo settings` reads and changes: their names, what they take and how a
// typed value is checked and stored.
struct SettingKey {
    enum class Kind { flag, metrics, text };
    const char* name;
    Kind kind;
    const char* meaning;
    bool synced; // follows the user to other computers
    bool operator==(const SettingKey&) const = default;
};

namespace SettingKeys {

const std::vector<SettingKey>& all();
const SettingKey* find(const std::string& name);

// The value as `ravo settings get` prints it; defaults included.
std::string read(const SettingKey& key, const QSettings& settings);
// Checks and stores a typed value; the text says what is wrong.
Status write(const SettingKey& key, const std::string& value, QSettings& settings);

} // namespace SettingKeys

} // namespace ravo::app
