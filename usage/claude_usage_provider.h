#pragma once

#include "usage/claude_usage_probe.h"
#include "usage/usage_provider.h"

#include <filesystem>

namespace ravo::usage {

// Claude's limits: the status line's capture, merged with `/usage` when the user turned
// that on; with neither, what the user has to do.
class ClaudeUsageProvider final : public UsageProvider {
public:
    ClaudeUsageProvider(ClaudeUsageProbe* probe, std::filesystem::path home);
    QCoro::Task<UsageOutcome> fetch(TimePoint now) override;

    static constexpr const char* kNoDataYet =
        "Limits appear after your next prompt in Claude Code.";

    // Missing Claude Code, signed out, or (nothing) installed and signed in.
    static std::optional<ProviderSetup> setupNeeded(const std::filesystem::path& home);

private:
    ClaudeUsageProbe* probe_;
    std::filesystem::path home_;
};

} // namespace ravo::usage
