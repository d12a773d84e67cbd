#include "server/core/rate_limiter.h"

namespace ravo::server {

bool RateLimiter::allow(const std::string& key, TimePoint now) {
    std::lock_guard lock(mutex_);
    // Old buckets go now and then, so the map stays as small as the active clients.
    if (buckets_.size() > 10'000)
        std::erase_if(buckets_,
                      [&](const auto& entry) { return now - entry.second.start >= window_; });
    auto& bucket = buckets_[key];
    if (bucket.count == 0 || now - bucket.start >= window_) {
        bucket.start = now;
        bucket.count = 0;
    }
    return ++bucket.count <= limit_;
}

} // namespace ravo::server
