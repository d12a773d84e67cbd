#include "usage/live_usage.h"

#include "base/agent_detection.h"
#include "usage/claude_usage_provider.h"
#include "usage/codex_usage_provider.h"
#include "usage/core/snapshot_store.h"

namespace ravo::usage {

std::set<Provider> installedProviders(const std::filesystem::path& home) {
    std::set<Provider> providers{Provider::claude};
    if (AgentDetection::isCodexInstalled(home))
        providers.insert(Provider::codex);
    return providers;
}

LiveUsage makeLiveUsage(QSettings* defaults, const std::filesystem::path& home) {
    LiveUsage live;
    live.probe = std::make_unique<ClaudeUsageProbe>(defaults, home);
    UsageRefresher::Providers providers{
        {Provider::claude, std::make_shared<ClaudeUsageProvider>(live.probe.get(), home)},
        {Provider::codex, std::make_shared<CodexUsageProvider>(CodexAppServer(home))}};
    live.refresher = std::make_unique<UsageRefresher>(
        std::move(providers), SnapshotStore::load,
        [](const UsageSnapshot& snapshot) { return SnapshotStore::save(snapshot); }, defaults);
    live.refresher->setEnabledProviders(installedProviders(home));
    return live;
}

} // namespace ravo::usage
