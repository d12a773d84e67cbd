#pragma once

#include "base/result.h"
#include "base/setting.h"

#include <string>
#include <string_view>
#include <vector>

class QSettings;

namespace ravo::app {

// Every setting a user can change, gathered from the subsystems that declare them, in the
// order `ravo settings list` shows them; and how a typed value is read back and stored.
namespace SettingKeys {

const std::vector<const Setting*>& all();
const Setting* find(std::string_view key);

// The value as `ravo settings get` prints it; defaults included.
std::string read(const Setting& setting, const QSettings& settings);
// Checks and stores a typed value; the text says what is wrong.
Status write(const Setting& setting, const std::string& value, QSettings& settings);

} // namespace SettingKeys

} // namespace ravo::app
