#pragma once

#include "base/result.h"
#include "base/time.h"
#include "sync/core/synced_settings.h"

#include <string>
#include <string_view>

namespace ravo::sync {

// settings.json in the synced folder: the settings, when they changed and on which computer.
struct SyncedSettingsFile {
    static constexpr const char* kName = "settings.json";
    static constexpr std::string_view kNewerText =
        "The synced settings come from a newer Ravo and were left alone; update Ravo to use "
        "them.";

    TimePoint updatedAt;
    std::string deviceID;
    SyncedSettings settings;
    bool operator==(const SyncedSettingsFile&) const = default;

    // Pretty-printed with sorted keys and ISO 8601 dates. Keys of `kept` (the file as it was)
    // that this version does not know stay as they were, at either level: a newer Ravo's
    // settings survive an older one's change.
    std::string encode(const std::string_view kept = {}) const;
    // A file that is not JSON, has a wrong shape or a date more than a day ahead of `now`
    // is refused with the user's explanation.
    static Result<SyncedSettingsFile> decode(std::string_view text, TimePoint now);
};

} // namespace ravo::sync
