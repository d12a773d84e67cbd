#include "usage/codex_usage_provider.h"

#include "usage/core/codex_rate_limits.h"

namespace ravo::usage {

CodexUsageProvider::CodexUsageProvider(CodexAppServer server) : server_(std::move(server)) {}

QCoro::Task<UsageOutcome> CodexUsageProvider::fetch(TimePoint now) {
    const auto answer = co_await server_.request("account/rateLimits/read", "{}", kTimeout);
    if (const auto* error = std::get_if<ProbeError>(&answer)) {
        UsageError failure{error->message, std::nullopt, std::nullopt};
        if (error->timedOut)
            failure.retryAfter =
                now + std::chrono::duration_cast<Clock::duration>(Seconds(kBackoffAfterTimeout));
        co_return failure;
    }
    co_return CodexRateLimitsParser::reading(std::get<std::string>(answer));
}

} // namespace ravo::usage
