#include "usage/core/claude_reading_merge.h"

#include <algorithm>

namespace ravo::usage {

ProviderReading ClaudeReadingMerge::merge(const std::optional<ProviderReading>& official,
                                          const ProviderReading& live) {
    if (!official)
        return live;
    ProviderReading merged = *official;
    for (const auto& liveWindow : live.windows) {
        auto same = std::find_if(merged.windows.begin(), merged.windows.end(),
                                 [&](const UsageWindow& w) { return w.id == liveWindow.id; });
        if (same == merged.windows.end()) {
            merged.windows.push_back(liveWindow);
        } else if (liveWindow.observedAt && same->observedAt &&
                   *liveWindow.observedAt > *same->observedAt) {
            // The status line speaks after every prompt; /usage only every few minutes.
            same->usedPercent = liveWindow.usedPercent;
            same->resetsAt = liveWindow.resetsAt;
            same->observedAt = liveWindow.observedAt;
        }
    }
    if (live.fetchedAt && (!merged.fetchedAt || *live.fetchedAt > *merged.fetchedAt))
        merged.fetchedAt = live.fetchedAt;
    return merged;
}

} // namespace ravo::usage
