#pragma once

#include <cstdint>
#include <mutex>
#include <vector>

namespace ravo::server {

// Observations counted into fixed buckets, as Prometheus reads them: each bucket counts
// the observations at or below its bound, and +Inf all of them.
class Histogram {
public:
    explicit Histogram(std::vector<double> bounds);
    void observe(double value);

    struct Snapshot {
        std::vector<double> bounds;
        std::vector<std::uint64_t> cumulative; // one per bound
        double sum = 0;
        std::uint64_t count = 0;
        bool operator==(const Snapshot&) const = default;
    };
    Snapshot snapshot() const;

private:
    const std::vector<double> bounds_;
    mutable std::mutex mutex_;
    std::vector<std::uint64_t> counts_;
    double sum_ = 0;
    std::uint64_t count_ = 0;
};

} // namespace ravo::server
