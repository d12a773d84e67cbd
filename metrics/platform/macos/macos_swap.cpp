#include "metrics/platform/macos/macos_swap.h"

#if defined(__APPLE__)
#include <sys/sysctl.h>
#endif

namespace ravo::metrics::macos {

SwapUsage swapUsage(std::uint64_t total, std::uint64_t used) {
    // Dynamic swap files grow and shrink between the kernel's two figures.
    return {total, used < total ? used : total};
}

std::optional<SwapUsage> readSwapUsage() {
#if defined(__APPLE__)
    xsw_usage usage{};
    std::size_t size = sizeof usage;
    if (::sysctlbyname("vm.swapusage", &usage, &size, nullptr, 0) != 0 || size != sizeof usage)
        return std::nullopt;
    return swapUsage(usage.xsu_total, usage.xsu_used);
#else
    return std::nullopt;
#endif
}

} // namespace ravo::metrics::macos
