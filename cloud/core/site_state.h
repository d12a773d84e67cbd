#pragma once

#include "wire/monitoring_records.h"
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
    // down: the server's open incident, else the check that found it down
    std::optional<TimePoint> downSince;
    bool operator==(const SiteState&) const = default;
};

// The server's verdict as the app reads it: "up", "slow", "down" (with the problem of its
// code) or anything else as unknown; the latency in seconds.
SiteState siteStateFrom(const wire::CloudSiteStatus& status);
SiteProblem siteProblemFrom(const wire::CloudSiteStatus& status);

// "up", "slow", "down", "unknown".
std::string healthWord(SiteState::Health health);

// A down site stays down since the moment it was first seen down; the server's open
// incident, when known, says better.
void keepDownSince(const std::map<std::string, SiteState>& before,
                   std::map<std::string, SiteState>& after);
std::optional<TimePoint> openIncidentStart(const wire::CloudSiteHistory& history);

// "just now", "5 min ago", "2 h ago", "3 d ago"; empty before the first check.
std::string checkedAge(const SiteState& state, TimePoint now);
// "checked " and that age; empty before the first check.
std::string checkedText(const SiteState& state, TimePoint now);
// "down since 14:05" the same day, "down since 3 Mar 14:05" before (local time); empty
// when the site is not down or the moment is not known.
std::string downSinceText(const SiteState& state, TimePoint now);

} // namespace ravo::cloud
