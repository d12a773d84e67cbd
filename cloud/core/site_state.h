#pragma once

#include "wire/wire_records.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace ravo::cloud {

struct SiteProblem {
    enum class Kind { unreachable, httpStatus, timeout, certificateInvalid, keywordMissing };
    Kind kind = Kind::unreachable;
    std::optional<std::string> detail; // unreachable
    std::int64_t statusCode = 0;       // httpStatus
    std::string text() const;
    bool operator==(const SiteProblem&) const = default;
};

struct SiteProbeResult {
    std::optional<TimePoint> date;
    std::optional<std::int64_t> statusCode;
    std::optional<double> latency; // seconds
    std::optional<TimePoint> certificateExpiry;
    bool operator==(const SiteProbeResult&) const = default;
};

struct SiteState {
    enum class Health { up, slow, down, unknown };
    Health health = Health::unknown;
    std::optional<SiteProblem> problem; // down
    SiteProbeResult lastResult;
    bool operator==(const SiteState&) const = default;
};

// The server's verdict as the app reads it: "up", "slow", "down" (with the problem of its
// code) or anything else as unknown; the latency in seconds.
SiteState siteStateFrom(const wire::CloudSiteStatus& status);
SiteProblem siteProblemFrom(const wire::CloudSiteStatus& status);

// "up", "slow", "down", "unknown".
std::string healthWord(SiteState::Health health);

} // namespace ravo::cloud
