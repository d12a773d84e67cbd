#pragma once

#include "base/time.h"
#include "usage/core/decimal.h"
#include "usage/core/provider.h"

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <variant>
#include <vector>

namespace ravo::usage {

// One rate-limit window of one provider.
struct UsageWindow {
    std::string id; // stable within its provider
    std::optional<std::int64_t> minutes;
    std::optional<std::string> model;
    double usedPercent = 0; // stored as received, even outside 0...100
    std::optional<TimePoint> resetsAt;
    std::optional<TimePoint> observedAt; // in memory only; not compared, never written

    bool operator==(const UsageWindow& other) const {
        return id == other.id && minutes == other.minutes && model == other.model &&
               usedPercent == other.usedPercent && resetsAt == other.resetsAt;
    }

    // "5 h", "Week", "Week · Fable".
    std::string label() const;
};

struct Credits {
    Decimal balance;
    bool unlimited = false;
    bool operator==(const Credits&) const = default;
};

// What the user must do before a provider can report anything.
enum class ProviderSetup { claudeCodeMissing, claudeCodeSignedOut };

std::string_view rawValue(ProviderSetup setup);
std::optional<ProviderSetup> setupFromRaw(std::string_view raw);
std::string_view message(ProviderSetup setup);

// A failed fetch as a value: the user's text, and what kind of failure it was.
struct UsageError {
    std::string message;
    std::optional<ProviderSetup> setup;  // set: a setup state, not an error
    std::optional<TimePoint> retryAfter; // set: do not ask again before this time
    bool operator==(const UsageError&) const = default;

    static UsageError setupRequired(ProviderSetup setup);
};

struct ProviderReading {
    std::optional<std::string> plan;
    std::optional<std::int64_t> planMultiplier;
    std::vector<UsageWindow> windows;
    std::optional<Credits> credits;
    std::int64_t resetCredits = 0;
    std::optional<TimePoint> fetchedAt; // absent: now
    bool operator==(const ProviderReading&) const = default;
};

using UsageOutcome = std::variant<ProviderReading, UsageError>;

struct ProviderUsage {
    Provider provider = Provider::claude;
    std::optional<std::string> plan;
    std::optional<std::int64_t> planMultiplier;
    std::vector<UsageWindow> windows;
    std::optional<Credits> credits;
    std::int64_t resetCredits = 0;
    std::optional<TimePoint> updatedAt;
    std::optional<std::string> error;
    std::optional<ProviderSetup> setup;
    bool operator==(const ProviderUsage&) const = default;
};

struct UsageSnapshot {
    std::vector<ProviderUsage> providers; // at most one per provider, in case order
    bool operator==(const UsageSnapshot&) const = default;

    const ProviderUsage* usage(Provider provider) const;
    void apply(const UsageOutcome& outcome, Provider provider, TimePoint now);
    void retain(const std::set<Provider>& providers);
    // The highest use of any window, 0...1; nothing without windows.
    std::optional<double> peakFraction() const;
    // A failure with no good data from the last 30 minutes.
    bool needsAttention(TimePoint now) const;
};

// Blank-separated words with the first letter upper case and the rest lower case.
std::string capitalizeWords(std::string_view text);

namespace WindowLabel {
std::string forMinutes(std::optional<std::int64_t> minutes);
}

namespace PlanName {
std::optional<std::int64_t> multiplier(const std::optional<std::string>& plan);
std::optional<std::string> display(const std::optional<std::string>& plan,
                                   std::optional<std::int64_t> multiplier);
} // namespace PlanName

} // namespace ravo::usage
