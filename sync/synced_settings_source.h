#pragma once

#include "sync/core/synced_settings.h"

namespace ravo::sync {

// Where the synced settings live in the running app: the controller reads them from and
// hands them to the coordinators that own them.
class SyncedSettingsSource {
public:
    virtual ~SyncedSettingsSource() = default;
    virtual SyncedSettings syncedSettings() const = 0;
    virtual void applySyncedSettings(const SyncedSettings& settings) = 0;
};

} // namespace ravo::sync
