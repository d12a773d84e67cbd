#pragma once

#include "metrics/core/system_reading.h"

#include <cstdint>
#include <optional>

// Swap on macOS: the kernel's "vm.swapusage" record, decoded apart from the sysctl call.
namespace ravo::metrics::macos {

// The record's total and used byte counts as the kernel gives them.
SwapUsage swapUsage(std::uint64_t total, std::uint64_t used);
// Nothing where the call fails.
std::optional<SwapUsage> readSwapUsage();

} // namespace ravo::metrics::macos
