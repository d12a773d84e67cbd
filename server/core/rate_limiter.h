#pragma once

#include "core/time.h"

#include <map>
#include <mutex>
#include <string>

namespace ravo::server {

// At most `limit` attempts per key in each window; the clock is the caller's.
class RateLimiter {
public:
    RateLimiter(int limit, std::chrono::seconds window) : limit_(limit), window_(window) {}

    // Counts the attempt; false when the key has used up its window.
    bool allow(const std::string& key, TimePoint now);

private:
    struct Bucket {
        TimePoint start;
        int count = 0;
    };
    int limit_;
    std::chrono::seconds window_;
    std::map<std::string, Bucket> buckets_;
    std::mutex mutex_;
};

} // namespace ravo::server
