#pragma once

#include "server/store/store.h"

#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <unordered_map>

namespace ravo::server {

// Claimed checks waiting for a probing thread. Accounts take turns, one check each, so an
// account with a few sites is not kept waiting behind one with thousands: when checks
// outrun the threads, the big account's checks wait, and past `capacity` its oldest are
// skipped, not everyone's.
class FairQueue {
public:
    explicit FairQueue(std::size_t capacity) : capacity_(capacity) {}

    // Queues a check; past capacity the oldest check of the account with the most waiting
    // is dropped and handed back.
    std::optional<DueCheck> push(DueCheck check);
    // The next check to start at `now`, the next account's turn. Checks whose next slot
    // has come meanwhile are dropped on the way: that slot is claimed afresh.
    std::optional<DueCheck> take(TimePoint now);

    std::size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    // The slot of the check that has waited longest, if any waits.
    std::optional<TimePoint> oldestSlot() const;
    // Checks dropped so far, whether past capacity or past their next slot.
    std::size_t skipped() const { return skipped_; }

private:
    DueCheck dropOldestOfLongest();
    void forget(const std::string& account);

    std::size_t capacity_;
    std::unordered_map<std::string, std::deque<DueCheck>> waiting_;
    std::deque<std::string> turns_; // accounts with checks waiting, whose turn is next first
    std::size_t size_ = 0;
    std::size_t skipped_ = 0;
};

} // namespace ravo::server
