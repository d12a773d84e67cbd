#pragma once

#include "updates/core/release_manifest.h"

#include <optional>
#include <string_view>

namespace ravo::updates {

// What a verified manifest means for the running build.
struct UpdateDecision {
    enum class Kind { upToDate, available, required };
    Kind kind = Kind::upToDate;
    std::optional<ReleaseManifest> manifest; // with `available` and `required`
    bool operator==(const UpdateDecision&) const = default;

    static UpdateDecision decide(const std::optional<ReleaseManifest>& manifest,
                                 long long runningBuild);
};

constexpr std::string_view rawValue(UpdateDecision::Kind kind) {
    switch (kind) {
    case UpdateDecision::Kind::upToDate:
        return "upToDate";
    case UpdateDecision::Kind::available:
        return "available";
    case UpdateDecision::Kind::required:
        return "required";
    }
    return {};
}

} // namespace ravo::updates
