#pragma once

#include "base/time.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ravo::server {

// What one check saw.
struct CheckOutcome {
    TimePoint at;
    std::optional<std::int64_t> statusCode;
    std::optional<double> latencyMs;
    std::optional<TimePoint> certificateExpiry;
    std::optional<std::string> problemKind; // nothing when the check passed
    std::optional<std::string> problemDetail;
    bool passed() const { return !problemKind.has_value(); }
    bool operator==(const CheckOutcome&) const = default;
};

// What a site's status remembers from one check to the next.
struct SiteCondition {
    std::string health = "unknown";                // "up", "slow", "down", "unknown"
    int failures = 0;                              // failed checks in a row
    std::optional<TimePoint> failingSince;         // the first failed check of this run
    std::optional<TimePoint> certificateWarnedFor; // the expiry date already alerted
    bool operator==(const SiteCondition&) const = default;
};

struct CheckPolicy {
    int failuresForDown = 2;
    double slowAfterMs = 3000;
    int certificateWarningDays = 14;
};

struct SiteEvent {
    enum class Kind { down, recovered, certificateExpiring } kind;
    std::string problem;                  // down: the problem's sentence
    std::optional<double> downForSeconds; // recovered
    int certificateDaysLeft = 0;          // certificateExpiring; negative once expired
    bool operator==(const SiteEvent&) const = default;
};

struct Verdict {
    SiteCondition condition;
    std::vector<SiteEvent> events;
    bool operator==(const Verdict&) const = default;
};

// The next condition and the alerts one check raises. A site goes down after
// `failuresForDown` failures in a row, and a single failure keeps the health it had.
Verdict judge(const SiteCondition& before, const CheckOutcome& outcome, const CheckPolicy& policy);

// HTTP statuses that count as up: 2xx, and 401/403 (password-protected sites).
bool isAcceptedStatus(std::int64_t status);

} // namespace ravo::server
