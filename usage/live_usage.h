#pragma once

#include "usage/claude_usage_probe.h"
#include "usage/usage_refresher.h"

#include <filesystem>
#include <memory>

class QSettings;

namespace ravo::usage {

// The production refresher: Claude always (it explains how to set it up), Codex when it is
// installed; the snapshot is loaded from and saved to the shared file.
struct LiveUsage {
    std::unique_ptr<ClaudeUsageProbe> probe;
    std::unique_ptr<UsageRefresher> refresher;
};

LiveUsage makeLiveUsage(QSettings* defaults, const std::filesystem::path& home);
std::set<Provider> installedProviders(const std::filesystem::path& home);

} // namespace ravo::usage
