#pragma once

#include "base/result.h"
#include "base/time.h"
#include "server/api/rate_limiter.h"

#include <cstdint>
#include <list>
#include <mutex>
#include <string>
#include <unordered_map>

namespace ravo::server {

// What one client may move through the speed test: a few transfers at once, and so many
// bytes in each window. Clients with nothing running are forgotten oldest first past
// `capacity`, so the table stays the same size however many come by.
class TransferBudget {
public:
    struct Limits {
        std::size_t transfersAtOnce = 20;
        std::uint64_t bytesPerWindow = 16ull << 30;
        std::chrono::seconds window = std::chrono::hours(1);
        std::size_t capacity = 100'000;
    };
    explicit TransferBudget(Limits limits) : limits_(limits) {}

    // Starts a transfer, or says when to come back; a started one is ended with `end`.
    RateDecision begin(const std::string& client, TimePoint now);
    void end(const std::string& client);
    // How many of `wanted` bytes may move now: fewer (down to none) once the window's
    // bytes are spent.
    std::uint64_t take(const std::string& client, std::uint64_t wanted, TimePoint now);

private:
    struct Entry {
        std::string client;
        TimePoint windowStart;
        std::uint64_t bytes = 0;
        std::size_t running = 0;
    };
    using Order = std::list<Entry>; // most recently used first
    Entry& entryFor(const std::string& client, TimePoint now);

    Limits limits_;
    Order order_;
    std::unordered_map<std::string, Order::iterator> entries_;
    std::mutex mutex_;
};

} // namespace ravo::server
