#pragma once

#include <chrono>
#include <mutex>
#include <optional>

namespace ravo::server {

// How long checking a password takes on this machine lately, so that a sign-in to an address
// without a password can answer after as long, without spending a core on it: guessing at
// unknown addresses tells nothing and costs the server nothing.
class PasswordTiming {
public:
    void record(std::chrono::nanoseconds took);
    // Nothing until a password has been checked once.
    std::optional<std::chrono::milliseconds> typical() const;

private:
    mutable std::mutex mutex_;
    std::optional<double> averageNs_;
};

} // namespace ravo::server
