#pragma once

#include "metrics/core/counter_source.h"
#include "metrics/core/hardware_info.h"

#include <memory>

// Implemented once per operating system; the build picks the file.
namespace ravo::metrics {

std::unique_ptr<CounterSource> makePlatformCounterSource();
HardwareInfo readHardwareInfo();

} // namespace ravo::metrics
