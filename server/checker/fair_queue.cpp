#include "server/checker/fair_queue.h"

#include <algorithm>

namespace ravo::server {

std::optional<DueCheck> FairQueue::push(DueCheck check) {
    auto& checks = waiting_[check.accountID];
    if (checks.empty())
        turns_.push_back(check.accountID);
    checks.push_back(std::move(check));
    ++size_;
    if (size_ <= capacity_)
        return std::nullopt;
    return dropOldestOfLongest();
}

std::optional<DueCheck> FairQueue::take(TimePoint now) {
    while (!turns_.empty()) {
        const std::string account = std::move(turns_.front());
        turns_.pop_front();
        auto found = waiting_.find(account);
        DueCheck check = std::move(found->second.front());
        found->second.pop_front();
        --size_;
        if (found->second.empty())
            waiting_.erase(found);
        else
            turns_.push_back(account);
        if (check.nextSlot != TimePoint{} && check.nextSlot <= now) {
            ++skipped_;
            continue;
        }
        return check;
    }
    return std::nullopt;
}

std::optional<TimePoint> FairQueue::oldestSlot() const {
    std::optional<TimePoint> oldest;
    for (const auto& [account, checks] : waiting_)
        if (!oldest || checks.front().slot < *oldest)
            oldest = checks.front().slot;
    return oldest;
}

DueCheck FairQueue::dropOldestOfLongest() {
    // Of equally long ones, the one that has waited longest.
    auto longest = std::max_element(waiting_.begin(), waiting_.end(), [](auto& a, auto& b) {
        if (a.second.size() != b.second.size())
            return a.second.size() < b.second.size();
        return a.second.front().slot > b.second.front().slot;
    });
    DueCheck dropped = std::move(longest->second.front());
    longest->second.pop_front();
    --size_;
    ++skipped_;
    if (longest->second.empty()) {
        waiting_.erase(longest);
        forget(dropped.accountID);
    }
    return dropped;
}

void FairQueue::forget(const std::string& account) {
    turns_.erase(std::find(turns_.begin(), turns_.end(), account));
}

} // namespace ravo::server
