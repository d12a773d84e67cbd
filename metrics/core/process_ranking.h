#pragma once

#include "metrics/core/counter_source.h"
#include "metrics/core/system_reading.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace ravo::metrics::ProcessRanking {

inline constexpr std::size_t kShown = 5;

// Ticks all CPUs spent between two reads of their counters; nothing when the CPUs changed.
std::optional<std::uint64_t> elapsedTicks(const std::vector<CPUTicks>& before,
                                          const std::vector<CPUTicks>& after);

// The busiest and the largest processes. Both lists must be sorted by pid. Without a
// baseline (`before` null or no ticks elapsed) the CPU list is empty and no share is known.
// A share is of one core: ticks over the elapsed ticks of one CPU, times 100.
TopProcesses top(const std::vector<ProcessCounters>& now,
                 const std::vector<ProcessCounters>* before, std::uint64_t elapsedTicks,
                 std::size_t cpuCount, std::size_t shown = kShown);

} // namespace ravo::metrics::ProcessRanking
