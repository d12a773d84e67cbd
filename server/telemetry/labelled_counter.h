#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace ravo::server {

// Counts per combination of label values, such as a route and a status.
class LabelledCounter {
public:
    using Labels = std::vector<std::string>;
    void add(const Labels& labels, std::uint64_t amount = 1) {
        std::lock_guard lock(mutex_);
        counts_[labels] += amount;
    }
    std::map<Labels, std::uint64_t> snapshot() const {
        std::lock_guard lock(mutex_);
        return counts_;
    }

private:
    mutable std::mutex mutex_;
    std::map<Labels, std::uint64_t> counts_;
};

} // namespace ravo::server
