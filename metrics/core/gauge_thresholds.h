#pragma once

#include "base/number_format.h"
#include "base/result.h"
#include "base/setting.h"
#include "metrics/core/system_metric.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>

// The user's own limits for the gauges: a notification when one is passed. Off until set.
namespace ravo::metrics::GaugeThresholds {

// Every gauge but the network's, which has rates rather than a level.
inline constexpr std::array<SystemMetric, 6> kWatchable{
    SystemMetric::cpu,  SystemMetric::gpu,  SystemMetric::memory,
    SystemMetric::disk, SystemMetric::swap, SystemMetric::temperature};

// The temperatures a limit may take, in °C.
inline constexpr int kLowestDegrees = 30;
inline constexpr int kHighestDegrees = 120;
// Whole degrees typed in `unit`, in Celsius.
int celsiusOf(int degrees, TemperatureUnit unit);

// A percentage from 1 to 100 as it is stored, or what is wrong; empty is off.
Result<std::string> checkedPercent(std::string_view typed);
// Degrees from 30 to 120 °C, stored in Celsius: "85", "85C" or "185F". Empty is off.
Result<std::string> checkedDegrees(std::string_view typed);

// Off by default, kept on this computer: what is too hot or too full differs by machine.
constexpr Setting limitSetting(std::string_view key, std::string_view meaning,
                               Result<std::string> (*check)(std::string_view)) {
    return {key, Setting::Kind::text, meaning, false, false, "", Setting::Store::app, {}, check};
}

inline constexpr Setting kCPU = limitSetting(
    "cpuAlertAbove", "notify when the processor stays above this percent (empty: never)",
    &checkedPercent);
inline constexpr Setting kGPU = limitSetting(
    "gpuAlertAbove", "notify when the graphics processor stays above this percent (empty: never)",
    &checkedPercent);
inline constexpr Setting kMemory =
    limitSetting("memoryAlertAbove",
                 "notify when memory use stays above this percent (empty: never)", &checkedPercent);
inline constexpr Setting kDisk = limitSetting(
    "diskAlertAbove", "notify when the disk is fuller than this percent (empty: never)",
    &checkedPercent);
inline constexpr Setting kSwap =
    limitSetting("swapAlertAbove", "notify when swap use stays above this percent (empty: never)",
                 &checkedPercent);
inline constexpr Setting kTemperature =
    limitSetting("temperatureAlertAbove",
                 "notify when the temperature stays above this many °C (or 185F; empty: never)",
                 &checkedDegrees);

// The setting of a watchable gauge; nothing for the network.
const Setting* settingFor(SystemMetric metric);
// A stored limit: percent for the gauges, °C for the temperature; nothing when off or unreadable.
std::optional<double> limitOf(SystemMetric metric, std::string_view stored);

} // namespace ravo::metrics::GaugeThresholds
