#pragma once

#include "base/time.h"
#include "sync/core/synced_settings_file.h"

#include <optional>

namespace ravo::sync {

// Whether the local settings go up, the file's come down, or nothing happens.
namespace SettingsSyncPolicy {

enum class Action { nothing, upload, apply };

Action decide(const SyncedSettings& local, std::optional<TimePoint> localChangedAt,
              const std::optional<SyncedSettingsFile>& remote);

} // namespace SettingsSyncPolicy

} // namespace ravo::sync
