#include "sync/core/synced_settings_file.h"

#include "base/json_parse.h"

#include <nlohmann/json.hpp>

#include <cstdint>

namespace ravo::sync {

std::string SyncedSettingsFile::encode(std::string_view kept) const {
    // nlohmann's objects keep their keys sorted.
    auto json = parseJson(kept, {.maxDepth = 16});
    nlohmann::json file =
        json && json->is_object() ? std::move(json).value() : nlohmann::json::object();
    if (!file["settings"].is_object())
        file["settings"] = nlohmann::json::object();
    file["updatedAt"] = toIso8601(updatedAt);
    file["deviceID"] = deviceID;
    const nlohmann::json ours = settings.toJson();
    for (const auto& [key, value] : ours.items())
        file["settings"][key] = value;
    return file.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
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
    // A newer format may have other keys: it is recognised by its version alone.
    if (const auto version = settings->is_object() ? settings->find("version") : settings->end();
        version != settings->end() && version->is_number_integer()) {
        const bool newer = version->is_number_unsigned()
                               ? version->get<std::uint64_t>() > SyncedSettings::kVersion
                               : version->get<long long>() > SyncedSettings::kVersion;
        if (newer)
            return Failure{std::string(kNewerText)};
    }
    const auto updatedAt = parseIso8601(updated->get_ref<const std::string&>());
    auto decoded = SyncedSettings::fromJson(*settings);
    if (!updatedAt || !decoded)
        return Failure{kUnreadable};
    // A clock far ahead would make that computer win every comparison from now on.
    if (*updatedAt > now + std::chrono::hours(24))
        return Failure{"The synced settings file is dated in the future and was left alone."};
    return SyncedSettingsFile{*updatedAt, device->get<std::string>(), std::move(*decoded)};
}

} // namespace ravo::sync
