#include "sync/core/synced_settings_file.h"

#include "core/json_parse.h"

#include <nlohmann/json.hpp>

namespace ravo::sync {

std::string SyncedSettingsFile::encode() const {
    // nlohmann's objects keep their keys sorted.
    const nlohmann::json json{{"updatedAt", toIso8601(updatedAt)},
                              {"deviceID", deviceID},
                              {"settings", settings.toJson()}};
    return json.dump(2) + "\n";
}

Result<SyncedSettingsFile> SyncedSettingsFile::decode(std::string_view text, TimePoint now) {
    constexpr const char* kUnreadable =
        "The synced settings file is not Ravo's and was left alone.";
    const auto parsed = parseJson(text, {.maxDepth = 16});
    if (!parsed)
        return Failure{"The synced settings file is not valid JSON and was left alone."};
    const nlohmann::json& json = *parsed;
    if (!json.is_object())
        return Failure{kUnreadable};
    const auto updated = json.find("updatedAt");
    const auto device = json.find("deviceID");
    const auto settings = json.find("settings");
    if (updated == json.end() || !updated->is_string() || device == json.end() ||
        !device->is_string() || settings == json.end())
        return Failure{kUnreadable};
    const auto updatedAt = parseIso8601(updated->get_ref<const std::string&>());
    auto decoded = SyncedSettings::fromJson(*settings);
    if (!updatedAt || !decoded)
        return Failure{kUnreadable};
    if (decoded->version > SyncedSettings::kVersion)
        return Failure{"The synced settings come from a newer Ravo; update Ravo to use them."};
    // A clock far ahead would make that computer win every comparison from now on.
    if (*updatedAt > now + std::chrono::hours(24))
        return Failure{"The synced settings file is dated in the future and was left alone."};
    return SyncedSettingsFile{*updatedAt, device->get<std::string>(), std::move(*decoded)};
}

} // namespace ravo::sync
