#include "server/telemetry/histogram.h"

#include <algorithm>
#include <cmath>

namespace ravo::server {

Histogram::Histogram(std::vector<double> bounds)
    : bounds_(std::move(bounds)), counts_(bounds_.size(), 0) {}

void Histogram::observe(double value) {
    if (std::isnan(value))
        return;
    const auto bucket = static_cast<std::size_t>(
        std::lower_bound(bounds_.begin(), bounds_.end(), value) - bounds_.begin());
    std::lock_guard lock(mutex_);
    if (bucket < counts_.size())
        ++counts_[bucket];
    sum_ += value;
    ++count_;
}

Histogram::Snapshot Histogram::snapshot() const {
    std::lock_guard lock(mutex_);
    Snapshot snapshot{bounds_, {}, sum_, count_};
    std::uint64_t running = 0;
    for (const auto count : counts_)
        snapshot.cumulative.push_back(running += count);
    return snapshot;
}

} // namespace ravo::server
