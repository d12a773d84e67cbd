#pragma once

#include "base/time.h"

#include <chrono>
#include <list>
#include <mutex>
#include <string>
#include <unordered_map>

namespace ravo::server {

// What a limit says of one attempt; when refused, how long until the window opens again.
struct RateDecision {
    bool allowed = true;
    std::chrono::seconds retryAfter{0};
};

// At most `limit` attempts per key in each window; the clock is the caller's. The table keeps
// the `capacity` keys seen most recently, so memory and the cost of an attempt stay the same
// however many clients come by; a key pushed out starts afresh.
class RateLimiter {
public:
    RateLimiter(int limit, std::chrono::seconds window, std::size_t capacity = 100'000)
        : limit_(limit), window_(window), capacity_(capacity) {}

    // Counts the attempt.
    RateDecision take(const std::string& key, TimePoint now);
    bool allow(const std::string& key, TimePoint now) { return take(key, now).allowed; }
    std::size_t size() const;

private:
    struct Bucket {
        std::string key;
        TimePoint start;
        int count = 0;
    };
    using Order = std::list<Bucket>; // most recently used first
    int limit_;
    std::chrono::seconds window_;
    std::size_t capacity_;
    Order order_;
    std::unordered_map<std::string, Order::iterator> buckets_;
    mutable std::mutex mutex_;
};

} // namespace ravo::server
