#pragma once

#include "base/setting.h"

#include <QSettings>
#include <QString>

#include <memory>
#include <optional>
#include <string>
#include <vector>

// Typed reads of the user's settings file. The file is text, so a value may come back as a
// string where a list or a boolean was written, or as garbage someone typed by hand.
namespace ravo::common {

// The user's settings file, $XDG_CONFIG_HOME/ravo/ravo.conf.
QString userSettingsPath();
std::unique_ptr<QSettings> openUserSettings();

// Absent key: nothing. A stored empty list reads as an empty list.
std::optional<std::vector<std::string>> readStringList(const QSettings& settings,
                                                       const QString& key);
void writeStringList(QSettings& settings, const QString& key,
                     const std::vector<std::string>& values);

// Anything but a boolean (or its text) reads as `fallback`.
bool readBool(const QSettings& settings, const QString& key, bool fallback);

QString keyOf(const Setting& setting);
// A flag as stored where it lives, its declared default when absent or garbage.
bool readFlag(const QSettings& settings, const Setting& setting);
// A text setting as stored, its declared default when absent or empty.
std::string readText(const QSettings& settings, const Setting& setting);

} // namespace ravo::common
