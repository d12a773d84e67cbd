#include "metrics/platform/linux/proc_parsers.h"

#include "base/kernel_text.h"

#include <algorithm>

namespace ravo::metrics::kernel {

using namespace kernel_text;

std::vector<CPUTicks> parseProcStat(std::string_view text) {
    std::vector<CPUTicks> ticks;
    forEachLine(text, [&](std::string_view line) {
        if (!line.starts_with("cpu") || line.size() < 4 || line[3] < '0' || line[3] > '9')
            return;
        Fields fields(line);
        fields.next(); // "cpuN"
        std::uint64_t v[8] = {};
        int count = 0;
        while (count < 8) {
            auto value = fields.nextNumber();
            if (!value)
                break;
            v[count++] = *value;
        }
        if (count < 4)
            return;
        // user nice system idle iowait irq softirq steal; 32-bit wrap is handled by the maths.
        ticks.push_back(CPUTicks{
            static_cast<std::uint32_t>(v[0]), static_cast<std::uint32_t>(v[2] + v[5] + v[6] + v[7]),
            static_cast<std::uint32_t>(v[3] + v[4]), static_cast<std::uint32_t>(v[1])});
    });
    return ticks;
}

std::optional<MemInfo> parseMeminfo(std::string_view text) {
    MemInfo info;
    bool hasTotal = false, hasAvailable = false;
    forEachLine(text, [&](std::string_view line) {
        const auto colon = line.find(':');
        if (colon == std::string_view::npos)
            return;
        const std::string_view key = line.substr(0, colon);
        Fields fields(line.substr(colon + 1));
        const auto kib = fields.nextNumber();
        if (!kib)
            return;
        const std::uint64_t bytes = *kib * 1024;
        struct Target {
            std::string_view key;
            std::uint64_t MemInfo::*field;
        };
        static constexpr Target targets[] = {{"MemTotal", &MemInfo::total},
                                             {"MemAvailable", &MemInfo::available},
                                             {"Buffers", &MemInfo::buffers},
                                             {"Cached", &MemInfo::cached},
                                             {"SReclaimable", &MemInfo::sReclaimable},
                                             {"SUnreclaim", &MemInfo::sUnreclaim},
                                             {"Shmem", &MemInfo::shmem},
                                             {"KernelStack", &MemInfo::kernelStack},
                                             {"PageTables", &MemInfo::pageTables},
                                             {"Unevictable", &MemInfo::unevictable},
                                             {"Zswap", &MemInfo::zswap},
                                             {"SwapTotal", &MemInfo::swapTotal},
                                             {"SwapFree", &MemInfo::swapFree}};
        for (const auto& target : targets) {
            if (target.key == key) {
                info.*(target.field) = bytes;
                hasTotal |= key == "MemTotal";
                hasAvailable |= key == "MemAvailable";
                return;
            }
        }
    });
    if (!hasTotal || !hasAvailable)
        return std::nullopt;
    return info;
}

std::optional<MemoryPressureStall> parsePressure(std::string_view text) {
    MemoryPressureStall stall;
    bool hasSome = false;
    forEachLine(text, [&](std::string_view line) {
        Fields fields(line);
        const auto kind = fields.next();
        if (kind != "some" && kind != "full")
            return;
        for (auto field = fields.next(); !field.empty(); field = fields.next()) {
            if (!field.starts_with("avg10="))
                continue;
            const auto value = parseDouble(field.substr(6));
            if (!value)
                return;
            if (kind == "some") {
                stall.someAvg10 = *value;
                hasSome = true;
            } else {
                stall.fullAvg10 = *value;
            }
        }
    });
    if (!hasSome)
        return std::nullopt;
    return stall;
}

MemoryPressureLevel pressureLevel(const std::optional<MemoryPressureStall>& stall) {
    if (!stall)
        return MemoryPressureLevel::normal;
    // Share of the last ten seconds in which tasks waited for memory.
    if (stall->fullAvg10 >= 10.0 || stall->someAvg10 >= 40.0)
        return MemoryPressureLevel::critical;
    if (stall->someAvg10 >= 10.0)
        return MemoryPressureLevel::warning;
    return MemoryPressureLevel::normal;
}

SwapUsage swapUsage(const MemInfo& info) {
    return {info.swapTotal, info.swapTotal > info.swapFree ? info.swapTotal - info.swapFree : 0};
}

MemoryUsage memoryUsage(const MemInfo& info, const std::optional<MemoryPressureStall>& stall) {
    MemoryUsage usage;
    usage.total = info.total;
    const std::uint64_t used = info.total > info.available ? info.total - info.available : 0;
    // Kernel memory that cannot be reclaimed plays the part of wired memory.
    usage.wired =
        std::min(used, info.sUnreclaim + info.kernelStack + info.pageTables + info.unevictable);
    usage.compressed = std::min(used - usage.wired, info.zswap);
    usage.app = used - usage.wired - usage.compressed;
    const std::uint64_t pageCache = info.cached + info.buffers + info.sReclaimable;
    usage.cached = pageCache > info.shmem ? pageCache - info.shmem : 0;
    usage.swapUsed = swapUsage(info).used;
    usage.pressure =
        info.total > 0 ? static_cast<double>(used) / static_cast<double>(info.total) : 0;
    usage.pressureLevel = pressureLevel(stall);
    usage.pressureLevelKnown = stall.has_value();
    return usage;
}

DeviceCounters parseDiskstats(std::string_view text,
                              const std::set<std::string, std::less<>>& disks) {
    DeviceCounters counters;
    forEachLine(text, [&](std::string_view line) {
        Fields fields(line);
        fields.next(); // major
        fields.next(); // minor
        const auto name = fields.next();
        if (name.empty() || !disks.contains(name))
            return;
        std::uint64_t v[7] = {};
        for (auto& value : v) {
            auto number = fields.nextNumber();
            if (!number)
                return;
            value = *number;
        }
        // Sectors are always 512 bytes in this file, whatever the device's own size.
        counters.received.emplace(std::string(name), v[2] * 512);
        counters.sent.emplace(std::string(name), v[6] * 512);
    });
    return counters;
}

std::vector<std::pair<std::string, InterfaceBytes>> parseNetDev(std::string_view text) {
    std::vector<std::pair<std::string, InterfaceBytes>> interfaces;
    forEachLine(text, [&](std::string_view line) {
        const auto colon = line.find(':');
        if (colon == std::string_view::npos)
            return;
        const std::string_view name = trim(line.substr(0, colon));
        if (name.empty() || name.find('|') != std::string_view::npos)
            return;
        Fields fields(line.substr(colon + 1));
        std::uint64_t v[9] = {};
        for (auto& value : v) {
            auto number = fields.nextNumber();
            if (!number)
                return;
            value = *number;
        }
        interfaces.emplace_back(std::string(name), InterfaceBytes{v[0], v[8]});
    });
    return interfaces;
}

std::optional<ProcessStat> parseProcessStat(std::string_view text) {
    const auto open = text.find('(');
    const auto close = text.rfind(')');
    if (open == std::string_view::npos || close == std::string_view::npos || close < open)
        return std::nullopt;
    const auto pid = parseInteger<std::int32_t>(text.substr(0, open));
    if (!pid || *pid <= 0)
        return std::nullopt;
    ProcessStat stat;
    stat.pid = *pid;
    stat.name = text.substr(open + 1, close - open - 1);
    // Fields from the third (state) on; utime is the 14th, threads the 20th, rss the 24th.
    Fields fields(text.substr(close + 1));
    std::uint64_t utime = 0, stime = 0;
    for (int number = 3; number <= 24; ++number) {
        const auto field = fields.next();
        if (field.empty())
            return std::nullopt;
        switch (number) {
        case 14:
        case 15:
        case 20:
        case 22: {
            const auto value = parseUnsigned(field);
            if (!value)
                return std::nullopt;
            (number == 14   ? utime
             : number == 15 ? stime
             : number == 20 ? stat.threads
                            : stat.startTime) = *value;
        } break;
        case 24: {
            // Signed in the kernel; a process being torn down can show less than nothing.
            const auto value = parseSigned(field);
            if (!value)
                return std::nullopt;
            stat.residentPages = *value > 0 ? static_cast<std::uint64_t>(*value) : 0;
        } break;
        default:
            break;
        }
    }
    stat.cpuTicks = utime + stime;
    return stat;
}

void assignDisplayName(std::string& into, std::string_view name) {
    into.clear();
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(name[i]); };
    std::size_t i = 0;
    while (i < name.size()) {
        const unsigned char lead = byte(i);
        if (lead < 0x20 || lead == 0x7f) {
            into += '?';
            ++i;
            continue;
        }
        if (lead < 0x80) {
            into += static_cast<char>(lead);
            ++i;
            continue;
        }
        // The length a lead byte announces, and the lowest second byte that avoids an
        // overlong or surrogate form.
        std::size_t length = 0;
        unsigned char low = 0x80, high = 0xbf;
        if (lead >= 0xc2 && lead <= 0xdf)
            length = 2;
        else if (lead >= 0xe0 && lead <= 0xef) {
            length = 3;
            low = lead == 0xe0 ? 0xa0 : 0x80;
            high = lead == 0xed ? 0x9f : 0xbf;
        } else if (lead >= 0xf0 && lead <= 0xf4) {
            length = 4;
            low = lead == 0xf0 ? 0x90 : 0x80;
            high = lead == 0xf4 ? 0x8f : 0xbf;
        }
        bool valid = length > 0 && i + length <= name.size();
        for (std::size_t k = 1; valid && k < length; ++k) {
            const unsigned char next = byte(i + k);
            valid = k == 1 ? next >= low && next <= high : next >= 0x80 && next <= 0xbf;
        }
        // C1 controls (U+0080..U+009F) steer terminals as the C0 ones do.
        if (valid && lead == 0xc2 && byte(i + 1) < 0xa0)
            valid = false;
        if (!valid) {
            into += '?';
            ++i;
            continue;
        }
        into.append(name.substr(i, length));
        i += length;
    }
}

namespace {

// "\040" and its kind back to the byte; anything else stays as written.
std::string unescapedMountField(std::string_view field) {
    std::string text;
    text.reserve(field.size());
    for (std::size_t i = 0; i < field.size(); ++i) {
        const bool octal = field[i] == '\\' && i + 3 < field.size();
        if (octal) {
            const auto digit = [&](std::size_t at) { return field[at] >= '0' && field[at] <= '7'; };
            if (digit(i + 1) && digit(i + 2) && digit(i + 3)) {
                text += static_cast<char>(((field[i + 1] - '0') << 6) |
                                          ((field[i + 2] - '0') << 3) | (field[i + 3] - '0'));
                i += 3;
                continue;
            }
        }
        text += field[i];
    }
    return text;
}

} // namespace

std::vector<MountedVolume> parseMounts(std::string_view text) {
    std::vector<MountedVolume> volumes;
    while (!text.empty()) {
        const auto end = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        const auto firstSpace = line.find(' ');
        if (firstSpace == std::string_view::npos)
            continue;
        const auto secondSpace = line.find(' ', firstSpace + 1);
        const std::string_view device = line.substr(0, firstSpace);
        const std::string_view mountPoint = line.substr(
            firstSpace + 1, secondSpace == std::string_view::npos ? std::string_view::npos
                                                                  : secondSpace - firstSpace - 1);
        if (!device.starts_with("/dev/") || !mountPoint.starts_with('/'))
            continue;
        MountedVolume volume{unescapedMountField(device), unescapedMountField(mountPoint)};
        const bool seen = std::any_of(volumes.begin(), volumes.end(), [&](const auto& known) {
            return known.mountPoint == volume.mountPoint;
        });
        if (!seen)
            volumes.push_back(std::move(volume));
    }
    return volumes;
}

} // namespace ravo::metrics::kernel
