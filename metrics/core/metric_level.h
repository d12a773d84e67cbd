#pragma once

#include <string_view>

namespace ravo::metrics {

enum class MetricLevel { normal, warning, critical };

constexpr MetricLevel levelFor(double fraction) {
    if (fraction < 0.7)
        return MetricLevel::normal;
    if (fraction < 0.9)
        return MetricLevel::warning;
    return MetricLevel::critical;
}

constexpr std::string_view rawValue(MetricLevel level) {
    switch (level) {
    case MetricLevel::normal:
        return "normal";
    case MetricLevel::warning:
        return "warning";
    case MetricLevel::critical:
        return "critical";
    }
    return "normal";
}

} // namespace ravo::metrics
