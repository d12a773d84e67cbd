#pragma once

#include "base/time.h"

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

namespace ravo::updates {

// A release as the service publishes it, inside a signed envelope.
struct ReleaseManifest {
    std::string version;
    long long build = 0;
    long long minimumBuild = 0; // the lowest build that may keep running
    TimePoint publishedAt;
    std::string downloadURL;
    std::string sha256; // hexadecimal
    std::optional<std::string> notes;
    bool operator==(const ReleaseManifest&) const = default;

    // Nothing when a required key is missing or of the wrong type.
    static std::optional<ReleaseManifest> fromJson(const nlohmann::json& json);
    nlohmann::json toJson() const;
};

} // namespace ravo::updates
