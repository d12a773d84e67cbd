#pragma once

#include "metrics/core/system_metric.h"

#include <cstdint>

namespace ravo::metrics {

// Which parts of a reading to take; parts nobody shows are never read.
struct SampleRequest {
    std::uint16_t bits = 0;

    static constexpr std::uint16_t cpu = 1 << 0;
    static constexpr std::uint16_t gpu = 1 << 1;
    static constexpr std::uint16_t memory = 1 << 2;
    static constexpr std::uint16_t disk = 1 << 3;
    static constexpr std::uint16_t diskActivity = 1 << 4;
    static constexpr std::uint16_t network = 1 << 5;
    static constexpr std::uint16_t temperatures = 1 << 6;
    // Scans every process: only while a list of them is on show.
    static constexpr std::uint16_t processes = 1 << 7;
    static constexpr std::uint16_t swap = 1 << 8;

    constexpr bool contains(std::uint16_t part) const { return (bits & part) == part; }
    constexpr SampleRequest operator|(SampleRequest other) const {
        return {static_cast<std::uint16_t>(bits | other.bits)};
    }
    constexpr bool operator==(const SampleRequest&) const = default;

    static constexpr SampleRequest all() {
        return {cpu | gpu | memory | disk | diskActivity | network | temperatures | processes |
                swap};
    }
    // What a metric's menu-bar item needs.
    static constexpr SampleRequest forItem(SystemMetric metric) {
        switch (metric) {
        case SystemMetric::cpu:
            return {cpu};
        case SystemMetric::gpu:
            return {gpu};
        case SystemMetric::memory:
            return {memory};
        case SystemMetric::disk:
            return {disk};
        case SystemMetric::network:
            return {network};
        case SystemMetric::temperature:
            return {temperatures};
        case SystemMetric::swap:
            return {swap};
        }
        return {};
    }
    // What a metric's open detail shows beyond its item.
    static constexpr SampleRequest forDetail(SystemMetric metric) {
        switch (metric) {
        case SystemMetric::disk:
            return {disk | diskActivity};
        case SystemMetric::cpu:
            return {cpu | temperatures | processes};
        case SystemMetric::memory:
            return {memory | processes};
        case SystemMetric::gpu:
            return {gpu | temperatures};
        default:
            return forItem(metric);
        }
    }
};

} // namespace ravo::metrics
