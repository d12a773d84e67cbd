// /proc and /sys text as the kernel (or a damaged container) gives it. The first byte picks
// the parser, the rest is the file.
#include "connectivity/platform/linux/route_parsers.h"
#include "fuzz_check.h"
#include "metrics/platform/linux/cpuinfo.h"
#include "metrics/platform/linux/proc_parsers.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

using namespace ravo;
using namespace ravo::metrics;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
    switch (data[0] % 10) {
    case 0:
        kernel::parseProcStat(text);
        break;
    case 1:
        if (const auto info = kernel::parseMeminfo(text))
            kernel::memoryUsage(*info, std::nullopt);
        break;
    case 2:
        if (const auto stall = kernel::parsePressure(text))
            kernel::pressureLevel(stall);
        break;
    case 3:
        kernel::parseDiskstats(text, {"sda", "nvme0n1", "vda"});
        break;
    case 4:
        kernel::parseNetDev(text);
        break;
    case 5:
        connectivity::kernel::parseDefaultRoutes(text);
        break;
    case 6:
        connectivity::kernel::hasDefaultIPv6Route(text);
        break;
    case 7: {
        const auto info = kernel::parseCpuInfo(text);
        std::vector<std::optional<std::uint64_t>> clocks;
        for (std::size_t i = 0; i < info.cpus.size(); ++i)
            clocks.push_back(i % 2 ? std::optional<std::uint64_t>() : 3'400'000 + i);
        const auto hardware = kernel::describeHardware(info, clocks);
        FUZZ_CHECK(hardware.logicalCPUs == static_cast<int>(info.cpus.size()));
    } break;
    case 8:
        kernel::parseHighestClockMHz(text);
        break;
    case 9:
        for (const auto& volume : kernel::parseMounts(text))
            FUZZ_CHECK(volume.device.starts_with("/dev/") && volume.mountPoint.starts_with('/'));
        break;
    }
    return 0;
}
