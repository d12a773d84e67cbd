#include "metrics/platform/linux/cpuinfo.h"
#include "metrics/platform/linux/linux_counter_source.h"
#include "metrics/platform/platform_counter_source.h"

namespace ravo::metrics {

std::unique_ptr<CounterSource> makePlatformCounterSource() {
    return std::make_unique<kernel::LinuxCounterSource>();
}

HardwareInfo readHardwareInfo() {
    return kernel::readHardwareInfo("/proc", "/sys");
}

} // namespace ravo::metrics
