#include "updates/core/release_manifest.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <limits>

namespace ravo::updates {

namespace {

const std::string* text(const nlohmann::json& json, const char* key) {
    const auto found = json.find(key);
    return found != json.end() && found->is_string() ? &found->get_ref<const std::string&>()
                                                     : nullptr;
}

// A build number: whole, not negative, and within what a long long holds (a larger one
// would wrap and compare as anything).
std::optional<long long> whole(const nlohmann::json& json, const char* key) {
    const auto found = json.find(key);
    if (found == json.end() || !found->is_number_integer())
        return std::nullopt;
    if (found->is_number_unsigned())
        return found->get<std::uint64_t>() <=
                       static_cast<std::uint64_t>(std::numeric_limits<long long>::max())
                   ? std::optional(static_cast<long long>(found->get<std::uint64_t>()))
                   : std::nullopt;
    const auto value = found->get<long long>();
    return value >= 0 ? std::optional(value) : std::nullopt;
}

} // namespace

std::optional<ReleaseManifest> ReleaseManifest::fromJson(const nlohmann::json& json) {
    if (!json.is_object())
        return std::nullopt;
    const auto* version = text(json, "version");
    const auto build = whole(json, "build");
    const auto minimumBuild = whole(json, "minimumBuild");
    const auto* published = text(json, "publishedAt");
    const auto* url = text(json, "downloadURL");
    const auto* sha256 = text(json, "sha256");
    if (!version || !build || !minimumBuild || !published || !url || !sha256)
        return std::nullopt;
    const auto publishedAt = parseIso8601(*published);
    if (!publishedAt)
        return std::nullopt;
    ReleaseManifest manifest{*version, *build, *minimumBuild, *publishedAt, *url, *sha256, {}};
    if (const auto notes = json.find("notes"); notes != json.end() && !notes->is_null()) {
        if (!notes->is_string())
            return std::nullopt;
        manifest.notes = notes->get<std::string>();
    }
    return manifest;
}

nlohmann::json ReleaseManifest::toJson() const {
    nlohmann::json json{{"version", version},           {"build", build},
                        {"minimumBuild", minimumBuild}, {"publishedAt", toIso8601(publishedAt)},
                        {"downloadURL", downloadURL},   {"sha256", sha256}};
    if (notes)
        json["notes"] = *notes;
    return json;
}

} // namespace ravo::updates
