#include "usage/claude_usage_provider.h"

#include "base/agent_detection.h"
#include "usage/core/claude_account_plan.h"
#include "usage/core/claude_limits.h"
#include "usage/core/claude_reading_merge.h"

namespace ravo::usage {

ClaudeUsageProvider::ClaudeUsageProvider(ClaudeUsageProbe* probe, std::filesystem::path home)
    : probe_(probe), home_(std::move(home)) {}

std::optional<ProviderSetup> ClaudeUsageProvider::setupNeeded(const std::filesystem::path& home) {
    if (!AgentDetection::isClaudeInstalled(home))
        return ProviderSetup::claudeCodeMissing;
    std::error_code error;
    const bool signedIn = ClaudeAccountPlan::load(home).has_value() ||
                          std::filesystem::exists(home / ".claude" / ".credentials.json", error);
    if (!signedIn)
        return ProviderSetup::claudeCodeSignedOut;
    return std::nullopt;
}

QCoro::Task<UsageOutcome> ClaudeUsageProvider::fetch(TimePoint now) {
    std::optional<ProviderReading> live;
    if (const auto limits = ClaudeLimitsStore::load())
        live = ClaudeStatusLine::reading(*limits, now);
    std::optional<ProviderReading> official;
    if (probe_ && probe_->isEnabled())
        official = co_await probe_->reading(now);
    if (live)
        co_return ClaudeReadingMerge::merge(official, *live);
    if (official)
        co_return *official;
    if (const auto setup = setupNeeded(home_))
        co_return UsageError::setupRequired(*setup);
    co_return UsageError{kNoDataYet, std::nullopt, std::nullopt};
}

} // namespace ravo::usage
