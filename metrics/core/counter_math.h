#pragma once

#include "metrics/core/system_reading.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Loads, rates and temperatures from raw counters, computed once for every platform.
namespace ravo::metrics {

namespace CPUMath {
// Absent unless both lists are non-empty and of equal length; counters wrap at 32 bits.
std::optional<CPULoad> load(const std::vector<CPUTicks>& previous,
                            const std::vector<CPUTicks>& current);
} // namespace CPUMath

using ByteCounters = std::map<std::string, std::uint64_t, std::less<>>;

namespace RateMath {
// Bytes per second over the keys present in both maps; a counter that fell adds nothing.
double rate(const ByteCounters& previous, const ByteCounters& current, double interval);
} // namespace RateMath

struct NamedTemperature {
    std::string name;
    double celsius = 0;
    bool operator==(const NamedTemperature&) const = default;
};

namespace TemperatureMath {
// `smc` keys: "Tp..." processor, "Tg..." graphics. `hid` names: "...tdie..." processor
// fallback, "NAND..." storage, "...battery..." (any case) battery. Only 1...130 °C counts.
Temperatures temperatures(const std::vector<NamedTemperature>& smc,
                          const std::vector<NamedTemperature>& hid);
bool isPlausible(double celsius);
} // namespace TemperatureMath

namespace MetricOrder {
// Each metric once, at its first place; missing ones appended in default order.
std::vector<SystemMetric> normalized(const std::vector<SystemMetric>& order);
} // namespace MetricOrder

} // namespace ravo::metrics
