#include "server/api/rate_limiter.h"

namespace ravo::server {

RateDecision RateLimiter::take(const std::string& key, TimePoint now) {
    std::lock_guard lock(mutex_);
    auto found = buckets_.find(key);
    if (found == buckets_.end()) {
        if (buckets_.size() >= capacity_) {
            buckets_.erase(order_.back().key);
            order_.pop_back();
        }
        order_.push_front(Bucket{key, now, 0});
        found = buckets_.emplace(key, order_.begin()).first;
    } else {
        order_.splice(order_.begin(), order_, found->second);
    }
    Bucket& bucket = *found->second;
    if (now - bucket.start >= window_ || now < bucket.start) {
        bucket.start = now;
        bucket.count = 0;
    }
    if (++bucket.count <= limit_)
        return {};
    const auto left = std::chrono::ceil<std::chrono::seconds>(bucket.start + window_ - now);
    return {false, std::max(left, std::chrono::seconds(1))};
}

std::size_t RateLimiter::size() const {
    std::lock_guard lock(mutex_);
    return buckets_.size();
}

} // namespace ravo::server
