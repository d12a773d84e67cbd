#include "sync/core/settings_sync_policy.h"

namespace ravo::sync::SettingsSyncPolicy {

Action decide(const SyncedSettings& local, std::optional<TimePoint> localChangedAt,
              const std::optional<SyncedSettingsFile>& remote) {
    if (!remote)
        return localChangedAt ? Action::upload : Action::nothing;
    if (remote->settings == local)
        return Action::nothing;
    if (!localChangedAt || remote->updatedAt > *localChangedAt)
        return Action::apply;
    if (remote->updatedAt < *localChangedAt)
        return Action::upload;
    return Action::nothing; // the same moment on both sides: neither wins
}

} // namespace ravo::sync::SettingsSyncPolicy
