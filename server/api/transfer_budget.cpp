#include "server/api/transfer_budget.h"

#include <algorithm>

namespace ravo::server {

TransferBudget::Entry& TransferBudget::entryFor(const std::string& client, TimePoint now) {
    auto found = entries_.find(client);
    if (found != entries_.end()) {
        order_.splice(order_.begin(), order_, found->second);
    } else {
        // Only idle clients are forgotten; running ones are at most the open connections.
        for (auto oldest = order_.end();
             entries_.size() >= limits_.capacity && oldest != order_.begin();) {
            if ((--oldest)->running != 0)
                continue;
            entries_.erase(oldest->client);
            oldest = order_.erase(oldest);
        }
        order_.push_front(Entry{client, now});
        found = entries_.emplace(client, order_.begin()).first;
    }
    Entry& entry = *found->second;
    if (now - entry.windowStart >= limits_.window || now < entry.windowStart) {
        entry.windowStart = now;
        entry.bytes = 0;
    }
    return entry;
}

RateDecision TransferBudget::begin(const std::string& client, TimePoint now) {
    std::lock_guard lock(mutex_);
    Entry& entry = entryFor(client, now);
    if (entry.running < limits_.transfersAtOnce && entry.bytes < limits_.bytesPerWindow) {
        ++entry.running;
        return {};
    }
    const auto retry =
        entry.bytes < limits_.bytesPerWindow
            ? std::chrono::seconds(5) // a running transfer will end soon
            : std::chrono::ceil<std::chrono::seconds>(entry.windowStart + limits_.window - now);
    return {false, std::max(retry, std::chrono::seconds(1))};
}

void TransferBudget::end(const std::string& client) {
    std::lock_guard lock(mutex_);
    if (const auto found = entries_.find(client);
        found != entries_.end() && found->second->running > 0)
        --found->second->running;
}

std::uint64_t TransferBudget::take(const std::string& client, std::uint64_t wanted, TimePoint now) {
    std::lock_guard lock(mutex_);
    Entry& entry = entryFor(client, now);
    const std::uint64_t granted =
        std::min(wanted, limits_.bytesPerWindow - std::min(entry.bytes, limits_.bytesPerWindow));
    entry.bytes += granted;
    return granted;
}

} // namespace ravo::server
