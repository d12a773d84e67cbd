#include "server/auth/password_timing.h"

#include <cmath>

namespace ravo::server {

void PasswordTiming::record(std::chrono::nanoseconds took) {
    const auto ns = static_cast<double>(took.count());
    std::lock_guard lock(mutex_);
    // Follows the machine's load within a few sign-ins.
    averageNs_ = averageNs_ ? *averageNs_ * 0.75 + ns * 0.25 : ns;
}

std::optional<std::chrono::milliseconds> PasswordTiming::typical() const {
    std::lock_guard lock(mutex_);
    if (!averageNs_)
        return std::nullopt;
    return std::chrono::milliseconds(std::llround(*averageNs_ / 1e6));
}

} // namespace ravo::server
